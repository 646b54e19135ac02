#include <cstdio>
#include <cstdlib>

#include "ctl.h"

namespace ctl {

std::string json_string(const std::string &text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char esc[8];
          std::snprintf(esc, sizeof esc, "\\u%04x", c);
          out += esc;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

bool parse_hex(const std::string &text, std::string &bytes) {
  if (text.size() % 2 != 0) return false;
  bytes.clear();
  for (size_t i = 0; i < text.size(); i += 2) {
    char pair[3] = {text[i], text[i + 1], '\0'};
    char *end = nullptr;
    unsigned long value = std::strtoul(pair, &end, 16);
    if (end != pair + 2) return false;
    bytes += static_cast<char>(value);
  }
  return true;
}

std::string hex(const void *data, size_t len) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  const auto *bytes = static_cast<const unsigned char *>(data);
  for (size_t i = 0; i < len; ++i) {
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 15];
  }
  return out;
}

namespace {
// Where a command's output goes while a Capture lives on this thread.
thread_local Capture *t_capture = nullptr;
}  // namespace

Capture::Capture() : previous_(t_capture) { t_capture = this; }
Capture::~Capture() { t_capture = previous_; }

void print_out(const std::string &text) {
  if (t_capture != nullptr) {
    t_capture->out += text;
  } else {
    std::fputs(text.c_str(), stdout);
  }
}

void print_err(const std::string &text) {
  if (t_capture != nullptr) {
    t_capture->err += text;
  } else {
    std::fputs(text.c_str(), stderr);
  }
}

Output::~Output() { flush(); }

void Output::field(const std::string &name, const std::string &value) {
  fields_.emplace_back(name, json_ ? json_string(value) : value);
}

void Output::field(const std::string &name, long long value) {
  fields_.emplace_back(name, std::to_string(value));
}

void Output::field(const std::string &name, bool value) {
  fields_.emplace_back(name, value ? "true" : "false");
}

void Output::line(const std::string &text) { lines_.push_back(text); }

void Output::flush() {
  if (fields_.empty() && lines_.empty()) return;
  if (json_) {
    std::string object = "{";
    for (size_t i = 0; i < fields_.size(); ++i)
      object += (i ? ", " : "") + json_string(fields_[i].first) + ": " + fields_[i].second;
    if (!lines_.empty()) {
      object += std::string(fields_.empty() ? "" : ", ") + "\"lines\": [";
      for (size_t i = 0; i < lines_.size(); ++i) object += (i ? ", " : "") + json_string(lines_[i]);
      object += "]";
    }
    print_out(object + "}\n");
  } else {
    for (const auto &[name, value] : fields_) print_out(name + ": " + value + "\n");
    for (const auto &text : lines_) print_out(text + "\n");
  }
  if (t_capture == nullptr) std::fflush(stdout);
  fields_.clear();
  lines_.clear();
}

int usage_error(const Command &command) {
  print_err(std::string("usage: vornpalctl ") + command.path + " " + command.usage + "\n");
  return 2;
}

int fail(Output &out, const std::string &what, int rc) {
  out.field("error", what);
  out.field("rc", rc);
  return 1;
}

bool parse_number(const std::string &text, long long &value) {
  if (text.empty()) return false;
  char *end = nullptr;
  value = std::strtoll(text.c_str(), &end, 0);
  return end != nullptr && *end == '\0';
}

bool number_arg(const Args &args, size_t index, long long min, long long max, long long &value) {
  return index < args.size() && parse_number(args[index], value) && value >= min && value <= max;
}

std::string joined(const Args &args, size_t from) {
  std::string text;
  for (size_t i = from; i < args.size(); ++i) text += (i > from ? " " : "") + args[i];
  return text;
}

}  // namespace ctl
