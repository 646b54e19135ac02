/*
 * Log manager: the trace channel (diag sink or console) and the watch channel.
 *
 * Levels: 0 " DBUG", 1 " INFO" (the default threshold), 2 "-WRN-", 3 "=ERR=",
 * 4 "*CRT*"; level -1 passes every threshold.
 */
#ifndef VORNPAL_LOG_H
#define VORNPAL_LOG_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* Size of the message buffer handed to vorn_log_printf. */
#define VORN_LOG_MSG_BUF_SIZE 4220

/* Console mode: time stamp of the last line and the last line itself. */
VORNPAL_API extern char str_t[128];
VORNPAL_API extern char log_msg[4096];

/* Threshold: 1 to 4 are stored as given, anything else stores 0. */
VORNPAL_API void vorn_set_log_level(int level);
VORNPAL_API int vorn_get_log_level(void);

/* Nonzero: lines go to the diag sink; 0: to the console. Also writes
 * /data/log_enable, which holds the inverse of the flag. */
VORNPAL_API void vorn_set_log_tool_enable(int enable);
VORNPAL_API int vorn_get_log_tool_enable(void);

/* Kernel thread id of the caller. */
VORNPAL_API int get_tid(void);

/* Replaces standard output for console-mode lines; NULL restores it. */
VORNPAL_API void set_print_interface(void (*print)(const char *line));

/*
 * Formats one trace message into buffer (at least VORN_LOG_MSG_BUF_SIZE
 * bytes). Returns 1 when the caller must hand the buffer to the diag sink,
 * 0 when the line was filtered out or printed on the console.
 */
VORNPAL_API int vorn_log_printf(int level, char *buffer, const char *func, int line,
                                const char *format, ...) VORNPAL_PRINTF(5, 6);

/* One milestone line to /data/oem/logs/fwawatchA.log or fwawatchB.log. */
VORNPAL_API int oem_watch(const char *func, int line, const char *format, ...)
    VORNPAL_PRINTF(3, 4);

VORNPAL_END_DECLS

#endif
