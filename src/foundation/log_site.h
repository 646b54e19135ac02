// The log macro of every log site in the library (and of the tools and tests
// that log like it). A line below the threshold costs one compare; an emitted
// one is formatted into a buffer on the stack of vorn::log::emit, so the
// frame of a function with many log sites stays small, and a diag-mode line
// goes to the platform's diag sink with the record of its site.
#pragma once

#include <pthread.h>
#include <unistd.h>

#include <atomic>

#include <vornpal/log.h>
#include <vornpal/platform/diag.h>

namespace vorn::log {

// Diag message mask of a level: one bit per level 0 to 4, none otherwise.
constexpr uint32_t diag_mask(int level) {
  return (level >= 0 && level <= 4) ? (1u << level) : 0u;
}

constexpr const char kDiagFormat[] = "VORN-FWA[%d] %s(): %s";

// The process id that lines carry, asked of the kernel once per process: a
// child of fork() asks again.
inline int process_id() {
  static std::atomic<int> cached{0};
  static const int forgotten_in_children =
      pthread_atfork(nullptr, nullptr, [] { cached.store(0, std::memory_order_relaxed); });
  (void)forgotten_in_children;
  int pid = cached.load(std::memory_order_relaxed);
  if (pid == 0) {
    pid = static_cast<int>(getpid());
    cached.store(pid, std::memory_order_relaxed);
  }
  return pid;
}

// Formats one line with `format(buffer, context)` (vorn_log_printf at the
// site, which filters and formats, and prints console-mode lines) and hands a
// diag-mode line to the sink.
[[gnu::noinline]] inline void emit(const msg_const_type &site, const char *func,
                                   int (*format)(char *buffer, const void *context),
                                   const void *context) {
  char buffer[VORN_LOG_MSG_BUF_SIZE];
  buffer[0] = '\0';
  if (format(buffer, context) != 0) msg_sprintf(&site, process_id(), func, buffer);
}

}  // namespace vorn::log

// The line carries the function it is logged in.
#define VORN_LOG(level, ...) VORN_LOG_AS(__func__, level, __VA_ARGS__)

// The same with the function's name given: for lines of shared code that
// speak for a family's function (the QMI service client), so that helpers
// can be renamed or moved without changing what the log shows.
#define VORN_LOG_AS(name, level, ...)                                                      \
  do {                                                                                    \
    const int vorn_log_level_ = (level);                                                  \
    if (vorn_log_level_ != -1 && vorn_log_level_ < vorn_get_log_level()) break;           \
    const char *const vorn_log_name_ = (name);                                            \
    const msg_const_type vorn_log_site_ = {                                               \
        {static_cast<uint16_t>(__LINE__), VORN_DIAG_SSID,                                  \
         vorn::log::diag_mask(vorn_log_level_)},                                            \
        vorn::log::kDiagFormat, __FILE__};                                                 \
    auto vorn_log_format_ = [&](char *vorn_log_buffer_) {                                 \
      return vorn_log_printf(vorn_log_level_, vorn_log_buffer_, vorn_log_name_, __LINE__, \
                             __VA_ARGS__);                                                \
    };                                                                                    \
    vorn::log::emit(                                                                      \
        vorn_log_site_, vorn_log_name_,                                                   \
        [](char *vorn_log_buffer_, const void *vorn_log_context_) {                      \
          return (*static_cast<const decltype(vorn_log_format_) *>(vorn_log_context_))(  \
              vorn_log_buffer_);                                                          \
        },                                                                                \
        &vorn_log_format_);                                                               \
  } while (0)

// Log levels by name, for the log sites.
#define VORN_DBUG 0
#define VORN_INFO 1
#define VORN_WARN 2
#define VORN_ERR 3
#define VORN_CRIT 4

namespace vorn::log {

// A start-up milestone: the text goes to the watch files and, through the
// shell, to the kernel log ("echo oem:<text> > /dev/kmsg").
void milestone(const char *func, int line, const char *text);

// Copy of a function name with every "vorn" shown as "oem"; null for null.
// The caller frees the result.
char *mask_name(const char *name);
// The same into `out` (`size` bytes, cut to fit and terminated when size is
// not 0); returns the length of the whole masked name.
size_t mask_name_into(const char *name, char *out, size_t size);

}  // namespace vorn::log
