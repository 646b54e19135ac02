// Settings files with sections and keys.
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vornpal/ini.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Bytes of a line that are looked at; the rest of a longer line is carried
// along by writes and ignored by reads.
constexpr size_t kLineBytes = INI_BUFFERSIZE;

[[noreturn]] void assertion_failed(const char *expression) {
  std::fprintf(stderr, "vorn-app-utils/minini/minIni: Assertion `%s' failed.\n", expression);
  std::abort();
}

struct FileCloser {
  void operator()(FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

File open_file(const char *path, const char *mode) {
  return File(path != nullptr ? std::fopen(path, mode) : nullptr);
}

// ---- line syntax ---------------------------------------------------------------

bool is_blank(char c) {
  auto byte = static_cast<unsigned char>(c);
  return byte >= 1 && byte <= 32;
}

std::string_view skip_leading(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view skip_trailing(std::string_view text) {
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view trim(std::string_view text) { return skip_trailing(skip_leading(text)); }

bool same_name(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool is_comment_mark(char c) { return c == ';' || c == '#'; }

struct Parsed {
  enum Kind { kOther, kSection, kKey } kind = kOther;
  std::string_view name;
  std::string_view raw_value;  // after the separator, leading blanks skipped
};

// Reads the syntax of one line (its first kLineBytes - 1 bytes).
Parsed parse_line(std::string_view line) {
  Parsed parsed;
  std::string_view text = trim(line);
  if (text.empty() || is_comment_mark(text.front())) return parsed;
  if (text.front() == '[') {
    text.remove_prefix(1);
    parsed.kind = Parsed::kSection;
    parsed.name = trim(text.substr(0, text.find(']')));
    return parsed;
  }
  size_t separator = text.find_first_of("=:");
  if (separator == std::string_view::npos) return parsed;
  parsed.kind = Parsed::kKey;
  parsed.name = skip_trailing(text.substr(0, separator));
  parsed.raw_value = skip_leading(text.substr(separator + 1));
  return parsed;
}

// A value as stored: the inside of its quotes (with \" read as a quote), or
// the text up to a comment mark without trailing blanks.
std::string clean_value(std::string_view raw) {
  if (!raw.empty() && raw.front() == '"') {
    std::string value;
    for (size_t i = 1; i < raw.size() && raw[i] != '"'; ++i) {
      if (raw[i] == '\\' && i + 1 < raw.size() && raw[i + 1] == '"') ++i;
      value += raw[i];
    }
    return value;
  }
  size_t mark = raw.find_first_of(";#");
  return std::string(skip_trailing(raw.substr(0, mark)));
}

bool needs_quotes(std::string_view value) {
  if (value.find_first_of("\";#") != std::string_view::npos) return true;
  return !value.empty() && (value.back() == ' ' || value.back() == '\t');
}

// "key=value\n", quoting the value when needed, cut to fit one line.
std::string key_line(std::string_view key, std::string_view value) {
  constexpr size_t kMaxText = kLineBytes - 2;  // room for the newline and a terminator
  std::string line(key.substr(0, kMaxText - 1));
  line += '=';
  if (!needs_quotes(value)) {
    line += value.substr(0, kMaxText - line.size());
  } else {
    line += '"';
    for (char c : value) {
      size_t width = c == '"' ? 2 : 1;
      if (line.size() + width + 1 > kMaxText) break;  // keep room for the closing quote
      if (c == '"') line += '\\';
      line += c;
    }
    line += '"';
  }
  return line + '\n';
}

std::string section_line(std::string_view section) {
  return "[" + std::string(section.substr(0, kLineBytes - 4)) + "]\n";
}

// ---- reading -------------------------------------------------------------------

// Reads a file line by line, byte for byte. Parsing looks at the first
// kLineBytes - 1 bytes of a line up to a zero byte; the whole line (`raw`) is
// kept only when a rewrite has to carry it along.
class LineReader {
 public:
  explicit LineReader(FILE *file) : file_(file) {}

  bool next(bool keep_tail) {
    offset_ = std::ftell(file_);
    head_.clear();
    raw_.clear();
    bool any = false;
    for (int c = std::getc(file_); c != EOF; c = std::getc(file_)) {
      any = true;
      char byte = static_cast<char>(c);
      if (head_.size() < kLineBytes - 1) head_ += byte;
      if (keep_tail) raw_ += byte;
      if (byte == '\n') break;
    }
    return any;
  }

  std::string_view head() const { return std::string_view(head_.c_str()); }
  const std::string &raw() const { return raw_; }
  long offset() const { return offset_; }

 private:
  FILE *file_;
  std::string head_;
  std::string raw_;
  long offset_ = 0;
};

// Walks the keys of a file with their sections. visit(section, parsed)
// returns false to stop. False when the file cannot be read.
template <class Visit>
bool walk_keys(const char *path, Visit visit) {
  File file = open_file(path, "rb");
  if (!file) return false;
  LineReader reader(file.get());
  std::string section;
  while (reader.next(false)) {
    Parsed parsed = parse_line(reader.head());
    if (parsed.kind == Parsed::kSection) {
      section.assign(parsed.name);
    } else if (parsed.kind == Parsed::kKey && !visit(section, parsed)) {
      break;
    }
  }
  return true;
}

bool is_target(std::string_view section, const char *target) {
  return same_name(section, target != nullptr ? target : "");
}

// The first section of that name: keys of later sections of the same name
// are not seen. Calls visit(parsed) for its keys until it returns false.
template <class Visit>
void walk_section(const char *path, const char *target, Visit visit) {
  bool seen = false;
  bool left = false;
  std::string current;
  walk_keys(path, [&](const std::string &section, const Parsed &parsed) {
    if (seen && section != current) left = true;
    if (left || !is_target(section, target)) return !left;
    seen = true;
    current = section;
    return visit(parsed);
  });
}

bool find_value(const char *path, const char *section, const char *key, std::string &value) {
  if (key == nullptr) return false;
  bool found = false;
  walk_section(path, section, [&](const Parsed &parsed) {
    if (!same_name(parsed.name, key)) return true;
    value = clean_value(parsed.raw_value);
    found = true;
    return false;
  });
  return found;
}

int copy_out(char *buffer, int size, std::string_view text) {
  size_t length = std::min(text.size(), static_cast<size_t>(size - 1));
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return static_cast<int>(std::strlen(buffer));
}

// ---- writing -------------------------------------------------------------------

struct Change {
  const char *section;  // null or "" for the keys before the first section
  const char *key;      // null: remove the section
  const char *value;    // null: remove the key
  bool removes_section() const { return key == nullptr; }
  bool removes_key() const { return key != nullptr && value == nullptr; }
  bool sets() const { return key != nullptr && value != nullptr; }
};

// Where the change lands in the file as it stands.
struct Finding {
  bool section_found = false;
  bool key_found = false;
  std::string value;
  long line_offset = 0;
  size_t line_bytes = 0;
};

bool empty_section(const char *section) { return section == nullptr || section[0] == '\0'; }

Finding find_target(FILE *file, const Change &change) {
  Finding finding;
  LineReader reader(file);
  bool inside = empty_section(change.section);
  finding.section_found = inside;
  while (reader.next(true)) {
    Parsed parsed = parse_line(reader.head());
    if (parsed.kind == Parsed::kSection) {
      if (inside) break;
      inside = !empty_section(change.section) && same_name(parsed.name, change.section);
      finding.section_found = finding.section_found || inside;
    } else if (inside && parsed.kind == Parsed::kKey && change.key != nullptr &&
               same_name(parsed.name, change.key)) {
      finding.key_found = true;
      finding.value = clean_value(parsed.raw_value);
      finding.line_offset = reader.offset();
      finding.line_bytes = reader.raw().size();
      break;
    }
  }
  return finding;
}

bool overwrite_line(const char *path, long offset, const std::string &line) {
  File file = open_file(path, "r+b");
  if (!file || std::fseek(file.get(), offset, SEEK_SET) != 0) return false;
  return std::fwrite(line.data(), 1, line.size(), file.get()) == line.size() &&
         std::fflush(file.get()) == 0;
}

// Copies the file into `out` with the change applied.
class Rewriter {
 public:
  Rewriter(const Change &change, FILE *out) : change_(change), out_(out) {}

  void copy(FILE *in) {
    LineReader reader(in);
    inside_ = empty_section(change_.section);
    while (reader.next(true)) take(parse_line(reader.head()), reader.raw());
    if (inside_) leave_section();
    if (!done_ && change_.sets()) append_section();
  }

  bool ok() const { return ok_; }

 private:
  void take(const Parsed &parsed, const std::string &raw) {
    if (parsed.kind == Parsed::kSection) {
      if (inside_) leave_section();
      if (!left_ && !empty_section(change_.section) && same_name(parsed.name, change_.section)) {
        inside_ = true;
        if (change_.removes_section()) return;
      }
      emit(raw);
      return;
    }
    if (!inside_) {
      emit(raw);
      return;
    }
    if (change_.removes_section()) return;
    if (!done_ && parsed.kind == Parsed::kKey && same_name(parsed.name, change_.key)) {
      done_ = true;
      if (change_.removes_key()) return;
      flush_blanks();
      emit(key_line(change_.key, change_.value));
      return;
    }
    // Blank lines at a section's end stay behind a key added to it.
    if (trim(raw).empty()) {
      held_blanks_.push_back(raw);
      return;
    }
    flush_blanks();
    emit(raw);
  }

  void leave_section() {
    if (!done_ && change_.sets()) {
      emit(key_line(change_.key, change_.value));
      done_ = true;
    }
    flush_blanks();
    inside_ = false;
    left_ = true;
  }

  void append_section() {
    if (wrote_any_ && !last_blank_) emit("\n");
    if (!empty_section(change_.section)) emit(section_line(change_.section));
    emit(key_line(change_.key, change_.value));
    done_ = true;
  }

  void flush_blanks() {
    for (const std::string &blank : held_blanks_) emit(blank);
    held_blanks_.clear();
  }

  void emit(const std::string &text) {
    if (text.empty()) return;
    if (wrote_any_ && !ended_line_) put("\n");
    put(text);
    ended_line_ = text.back() == '\n';
    last_blank_ = trim(text).empty();
    wrote_any_ = true;
  }

  void put(const std::string &text) {
    ok_ = ok_ && std::fwrite(text.data(), 1, text.size(), out_) == text.size();
  }

  const Change &change_;
  FILE *out_;
  bool inside_ = false;
  bool left_ = false;
  bool done_ = false;
  bool ok_ = true;
  bool wrote_any_ = false;
  bool ended_line_ = true;
  bool last_blank_ = false;
  std::vector<std::string> held_blanks_;
};

// Writes the changed file beside the original and renames it over it, so a
// reader sees the old or the new file, never a half-written one.
bool rewrite(const char *path, FILE *in, const Change &change) {
  std::string temp_path = std::string(path) + ".XXXXXX";
  int fd = mkstemp(temp_path.data());
  if (fd < 0) return false;
  struct stat original {};
  if (fstat(fileno(in), &original) == 0) fchmod(fd, original.st_mode & 07777);
  File out(fdopen(fd, "wb"));
  if (!out) {
    close(fd);
    unlink(temp_path.c_str());
    return false;
  }
  std::rewind(in);
  Rewriter rewriter(change, out.get());
  rewriter.copy(in);
  bool written = rewriter.ok() && std::fflush(out.get()) == 0;
  out.reset();
  if (!written || std::rename(temp_path.c_str(), path) != 0) {
    unlink(temp_path.c_str());
    return false;
  }
  return true;
}

bool create_file(const char *path, const Change &change) {
  File out = open_file(path, "wb");
  if (!out) return false;
  std::string text;
  if (!empty_section(change.section)) text = section_line(change.section);
  text += key_line(change.key, change.value);
  return std::fwrite(text.data(), 1, text.size(), out.get()) == text.size();
}

}  // namespace

extern "C" {

VORNPAL_API int ini_gets(const char *section, const char *key, const char *default_value,
                         char *buffer, int size, const char *path) {
  if (buffer == nullptr || size < 1) return 0;
  std::string value;
  if (find_value(path, section, key, value)) return copy_out(buffer, size, value);
  return copy_out(buffer, size, default_value != nullptr ? default_value : "");
}

VORNPAL_API long ini_getl(const char *section, const char *key, long default_value,
                          const char *path) {
  char text[64];
  if (ini_gets(section, key, "", text, sizeof text, path) == 0) return default_value;
  int base = (text[1] == 'x' || text[1] == 'X') ? 16 : 10;
  return std::strtol(text, nullptr, base);
}

VORNPAL_API float ini_getf(const char *section, const char *key, float default_value,
                           const char *path) {
  char text[64];
  if (ini_gets(section, key, "", text, sizeof text, path) == 0) return default_value;
  return static_cast<float>(std::strtod(text, nullptr));
}

VORNPAL_API int ini_getbool(const char *section, const char *key, int default_value,
                            const char *path) {
  char text[2];
  ini_gets(section, key, "", text, sizeof text, path);
  switch (std::toupper(static_cast<unsigned char>(text[0]))) {
    case 'Y':
    case '1':
    case 'T':
      return 1;
    case 'N':
    case '0':
    case 'F':
      return 0;
    default:
      return default_value;
  }
}

VORNPAL_API int ini_getsection(int index, char *buffer, int size, const char *path) {
  if (buffer == nullptr || size < 1) return 0;
  buffer[0] = '\0';
  File file = open_file(path, "rb");
  if (!file || index < 0) return 0;
  LineReader reader(file.get());
  for (int seen = 0; reader.next(false);) {
    Parsed parsed = parse_line(reader.head());
    if (parsed.kind == Parsed::kSection && seen++ == index) {
      return copy_out(buffer, size, parsed.name);
    }
  }
  return 0;
}

VORNPAL_API int ini_getkey(const char *section, int index, char *buffer, int size,
                           const char *path) {
  if (buffer == nullptr || size < 1) return 0;
  buffer[0] = '\0';
  if (index < 0) return 0;
  int seen = 0;
  int length = 0;
  walk_section(path, section, [&](const Parsed &parsed) {
    if (seen++ != index) return true;
    length = copy_out(buffer, size, parsed.name);
    return false;
  });
  return length;
}

VORNPAL_API int ini_browse(ini_browse_callback callback, void *user_data, const char *path) {
  if (callback == nullptr) return 0;
  return walk_keys(path,
                   [&](const std::string &section, const Parsed &parsed) {
                     std::string key(parsed.name);
                     std::string value = clean_value(parsed.raw_value);
                     return callback(section.c_str(), key.c_str(), value.c_str(), user_data) != 0;
                   })
             ? 1
             : 0;
}

VORNPAL_API int ini_puts(const char *section, const char *key, const char *value,
                         const char *path) {
  if (path == nullptr) assertion_failed("Filename != NULL");
  Change change{section, key, value};
  File in = open_file(path, "rb");
  if (!in) {
    if (!change.sets()) return 1;  // nothing to remove
    return create_file(path, change) ? 1 : 0;
  }
  Finding finding = find_target(in.get(), change);
  if (change.removes_section() && !finding.section_found) return 1;
  if (change.removes_key() && !finding.key_found) return 1;
  if (change.sets() && finding.key_found) {
    if (finding.value == value) return 1;
    std::string line = key_line(key, value);
    if (line.size() == finding.line_bytes) {
      in.reset();
      return overwrite_line(path, finding.line_offset, line) ? 1 : 0;
    }
  }
  return rewrite(path, in.get(), change) ? 1 : 0;
}

VORNPAL_API int ini_putl(const char *section, const char *key, long value, const char *path) {
  char text[32];
  std::snprintf(text, sizeof text, "%ld", value);
  return ini_puts(section, key, text, path);
}

VORNPAL_API int ini_putf(const char *section, const char *key, float value, const char *path) {
  char text[64];
  std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
  return ini_puts(section, key, text, path);
}

}  // extern "C"
