// The log macro of every log site in the library. It allocates the message
// buffer, lets vorn_log_printf filter and format, and hands diag-mode lines to
// the platform's diag sink with a constant record of the site.
#pragma once

#include <cstdlib>
#include <unistd.h>

#include <vornpal/log.h>
#include <vornpal/platform/diag.h>

namespace vorn::log {

// Diag message mask of a level: one bit per level 0 to 4, none otherwise.
constexpr uint32_t diag_mask(int level) {
  return (level >= 0 && level <= 4) ? (1u << level) : 0u;
}

constexpr const char kDiagFormat[] = "VORN-FWA[%d] %s(): %s";

}  // namespace vorn::log

// A message below the threshold is dropped before the buffer is allocated;
// vorn_log_printf filters again under its lock for callers that come in
// directly. The line carries the function it is logged in.
#define VORN_LOG(level, ...) VORN_LOG_AS(__func__, level, __VA_ARGS__)

// The same with the function's name given: for lines of shared code that
// speak for a family's function (the QMI service client), so that helpers
// can be renamed or moved without changing what the log shows.
#define VORN_LOG_AS(name, level, ...)                                                   \
  do {                                                                                 \
    const int vorn_log_level_ = (level);                                               \
    if (vorn_log_level_ != -1 && vorn_log_level_ < vorn_get_log_level()) break;        \
    const msg_const_type vorn_log_site_ = {                                           \
        {static_cast<uint16_t>(__LINE__), VORN_DIAG_SSID,                              \
         vorn::log::diag_mask(vorn_log_level_)},                                        \
        vorn::log::kDiagFormat, __FILE__};                                             \
    const char *vorn_log_name_ = (name);                                               \
    char *vorn_log_buf_ = static_cast<char *>(calloc(1, VORN_LOG_MSG_BUF_SIZE));       \
    if (vorn_log_printf(vorn_log_level_, vorn_log_buf_, vorn_log_name_, __LINE__, __VA_ARGS__)) \
      msg_sprintf(&vorn_log_site_, static_cast<int>(getpid()), vorn_log_name_, vorn_log_buf_); \
    free(vorn_log_buf_);                                                               \
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

}  // namespace vorn::log
