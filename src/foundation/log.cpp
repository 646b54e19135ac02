// Trace and watch channels of the log manager.
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

#include "foundation/log_site.h"

char str_t[128];
char log_msg[4096];

namespace {

constexpr const char *kLevelTags[] = {" DBUG", " INFO", "-WRN-", "=ERR=", "*CRT*"};

constexpr const char kLogEnableFile[] = "/data/log_enable";
constexpr const char kWatchOptionFile[] = "/vornnv/data/fwawatch_option";
constexpr const char kWatchFileA[] = "/data/oem/logs/fwawatchA.log";
constexpr const char kWatchFileB[] = "/data/oem/logs/fwawatchB.log";
constexpr off_t kWatchFileFull = 1048577;

std::atomic<int> log_level{1};
std::atomic<int> log_tool_enable{1};
int diag_inited = 0;  // guarded by trace_mutex
std::atomic<void (*)(const char *)> print_interface{nullptr};
std::mutex trace_mutex;

const char *level_tag(int level) {
  return (level >= 0 && level <= 4) ? kLevelTags[level] : nullptr;
}

// Brings diag up once; a failure is retried with the next message.
void init_diag_locked() {
  if (diag_inited != 0) return;
  if (log_tool_enable.load() == 1 && !Diag_LSM_Init(nullptr)) return;
  diag_inited = 1;
}

void write_log_enable(char value) {
  FILE *file = std::fopen(kLogEnableFile, "w+");
  if (file == nullptr) return;
  std::fputc(value, file);
  std::fclose(file);
  sync();
}

// The thread id that console lines carry, asked of the kernel once per
// thread: a child of fork() asks again.
thread_local int thread_id_cache = 0;

int thread_id() {
  if (thread_id_cache == 0) thread_id_cache = get_tid();
  return thread_id_cache;
}

const int thread_id_forgotten_in_children =
    pthread_atfork(nullptr, nullptr, [] { thread_id_cache = 0; });

// The calling thread's name, as /proc/<pid>/task/<tid>/comm shows it, read
// from the kernel without opening that file; "NULL" when it can't be had.
void thread_name(char (&name)[16]) {
  if (prctl(PR_GET_NAME, name) != 0) {
    std::strcpy(name, "NULL");
    return;
  }
  name[sizeof name - 1] = '\0';
}

// Bytes of log_msg that the last line left nonzero: clearing up to there
// clears the whole buffer.
size_t log_msg_used = 0;  // guarded by trace_mutex

// Clears log_msg and writes the line into it.
void fill_log_msg(const char *format, ...) VORNPAL_PRINTF(1, 2);
void fill_log_msg(const char *format, ...) {
  va_list args;
  va_start(args, format);
  int written = std::vsnprintf(log_msg, sizeof log_msg, format, args);
  va_end(args);
  size_t length = written < 0 ? 0 : std::min(static_cast<size_t>(written), sizeof log_msg - 1);
  if (written < 0) log_msg[0] = '\0';
  if (log_msg_used > length) std::memset(log_msg + length, 0, log_msg_used - length);
  log_msg_used = length;
}

void print_console_line(int level, const char *func, int line, const char *text) {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  time_t now = time(nullptr);
  tm utc{};
  gmtime_r(&now, &utc);
  std::memset(str_t, 0, sizeof str_t);
  std::snprintf(str_t, sizeof str_t, "%04d-%02d-%02d %02d:%02d:%02d.%03d", utc.tm_year + 1900,
                utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                static_cast<int>(tv.tv_usec / 1000));
  char name[16];
  thread_name(name);
  // Function names fit on the stack; a longer one is masked on the heap.
  char masked[256];
  char *long_masked = nullptr;
  const char *shown = func;
  if (func != nullptr) {
    shown = masked;
    if (vorn::log::mask_name_into(func, masked, sizeof masked) >= sizeof masked) {
      long_masked = vorn::log::mask_name(func);
      shown = long_masked != nullptr ? long_masked : func;
    }
  }
  const char *tag = level_tag(level);
  fill_log_msg("%s : %s | [%d | %d-%s] | %s %d | %s", str_t, tag != nullptr ? tag : "(null)",
               vorn::log::process_id(), thread_id(), name, shown != nullptr ? shown : "(null)", line,
               text != nullptr ? text : "");
  std::free(long_masked);
  if (auto print = print_interface.load()) {
    print(log_msg);
  } else {
    std::printf("%s", log_msg);
  }
}

// Knuth-Morris-Pratt failure table of the pattern.
template <size_t N>
constexpr std::array<int, N> failure_table(const char (&pattern)[N + 1]) {
  std::array<int, N> fail{};
  int k = 0;
  for (size_t i = 1; i < N; ++i) {
    while (k > 0 && pattern[i] != pattern[k]) k = fail[k - 1];
    if (pattern[i] == pattern[k]) ++k;
    fail[i] = k;
  }
  return fail;
}

// Calls on_match(end_index) for each non-overlapping occurrence of "vorn".
template <class OnMatch>
void scan_vorn(const char *text, OnMatch on_match) {
  static constexpr char kPattern[] = "vorn";
  static constexpr size_t kLen = sizeof kPattern - 1;
  static constexpr auto kFail = failure_table<kLen>(kPattern);
  size_t k = 0;
  for (size_t i = 0; text[i] != '\0'; ++i) {
    while (k > 0 && text[i] != kPattern[k]) k = kFail[k - 1];
    if (text[i] == kPattern[k]) ++k;
    if (k == kLen) {
      on_match(i);
      k = 0;  // occurrences do not overlap
    }
  }
}

}  // namespace

namespace vorn::log {

size_t mask_name_into(const char *name, char *out, size_t size) {
  size_t length = 0;  // of the whole masked name
  auto append = [&](const char *piece, size_t count) {
    if (length + 1 < size) std::memcpy(out + length, piece, std::min(count, size - 1 - length));
    length += count;
  };
  size_t copied = 0;  // bytes of name already handled
  scan_vorn(name, [&](size_t end) {
    size_t start = end + 1 - 4;
    append(name + copied, start - copied);
    append("oem", 3);
    copied = end + 1;
  });
  append(name + copied, std::strlen(name + copied));
  if (size > 0) out[std::min(length, size - 1)] = '\0';
  return length;
}

char *mask_name(const char *name) {
  if (name == nullptr) return nullptr;
  size_t length = mask_name_into(name, nullptr, 0);
  char *masked = static_cast<char *>(std::malloc(length + 1));
  if (masked == nullptr) return nullptr;
  mask_name_into(name, masked, length + 1);
  return masked;
}

void milestone(const char *func, int line, const char *text) {
  oem_watch(func, line, "%s", text);
  char command[256];
  std::snprintf(command, sizeof command, "echo oem:%s > /dev/kmsg", text);
  if (std::system(command) != 0) {
    // The kernel log is best effort: the watch files already hold the milestone.
  }
}

}  // namespace vorn::log

extern "C" {

VORNPAL_API void vorn_set_log_level(int level) {
  std::lock_guard<std::mutex> lock(trace_mutex);
  init_diag_locked();
  log_level = (level >= 1 && level <= 4) ? level : 0;
}

VORNPAL_API int vorn_get_log_level(void) { return log_level.load(); }

VORNPAL_API void vorn_set_log_tool_enable(int enable) {
  {
    std::lock_guard<std::mutex> lock(trace_mutex);
    log_tool_enable = enable;
    if (diag_inited == 0) {
      if (enable == 1 && !Diag_LSM_Init(nullptr)) {
        write_log_enable('0');
        return;
      }
      diag_inited = 1;
    }
  }
  write_log_enable(enable == 0 ? '1' : '0');
}

VORNPAL_API int vorn_get_log_tool_enable(void) { return log_tool_enable.load(); }

VORNPAL_API int get_tid(void) { return static_cast<int>(syscall(SYS_gettid)); }

VORNPAL_API void set_print_interface(void (*print)(const char *line)) { print_interface = print; }

VORNPAL_API int vorn_log_printf(int level, char *buffer, const char *func, int line,
                                const char *format, ...) {
  std::lock_guard<std::mutex> lock(trace_mutex);
  if (level != -1 && level < log_level.load()) return 0;
  init_diag_locked();
  if (buffer != nullptr && format != nullptr) {
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, VORN_LOG_MSG_BUF_SIZE, format, args);
    va_end(args);
  }
  if (log_tool_enable.load() != 0) return 1;
  print_console_line(level, func, line, buffer);
  return 0;
}

VORNPAL_API int oem_watch(const char *func, int line, const char *format, ...) {
  if (FILE *option = std::fopen(kWatchOptionFile, "r")) {
    char text[129] = {};
    size_t got = std::fread(text, 1, 128, option);
    std::fclose(option);
    if (got > 0 && std::strtol(text, nullptr, 10) == 0) return 0;
  }
  double uptime = 0;
  FILE *proc = std::fopen("/proc/uptime", "r");
  if (proc == nullptr) return 0;
  int parsed = std::fscanf(proc, "%lf", &uptime);
  std::fclose(proc);
  if (parsed != 1) return 0;

  auto full = [](const char *path) {
    struct stat st {};
    return stat(path, &st) == 0 && st.st_size >= kWatchFileFull;
  };
  static std::atomic<int> toggle{0};  // no lock on this channel; atomic only for the toggle word
  const char *chosen = kWatchFileA;
  if (full(kWatchFileA)) {
    if (!full(kWatchFileB)) {
      chosen = kWatchFileB;
    } else {
      chosen = toggle == 0 ? kWatchFileA : kWatchFileB;
      toggle = toggle == 0 ? 1 : 0;
      if (FILE *truncated = std::fopen(chosen, "w")) {
        std::fclose(truncated);
      } else {
        std::printf("trunk %s file failed!!!\n", chosen);
      }
    }
  }
  FILE *file = std::fopen(chosen, "a");
  if (file == nullptr) return 0;
  std::fprintf(file, "[%.2f] ", uptime);
  std::fprintf(file, "%s:%d ", func != nullptr ? func : "(null)", line);
  va_list args;
  va_start(args, format);
  if (format != nullptr) std::vfprintf(file, format, args);
  va_end(args);
  std::fputc('\n', file);
  std::fclose(file);
  return 0;
}

}  // extern "C"
