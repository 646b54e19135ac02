/*
 * Key log: rotated files of important events, and time-stamped lines
 * appended to any file through the shell.
 *
 * Two log clients keep their files under /data/oem/logs: 0 "fwa_client"
 * (the key log, base file /data/oem/logs/fwa) and 1 "panic_client" (the
 * modem's panic log, /data/oem/logs/panic). The base file is always the
 * newest; rotated files carry a number right behind the base path (fwa1,
 * fwa2, ...), 1 being the oldest. Each client's limits live in the INI file
 * /data/log_client_setting, sections "fwa_client" and "panic_client", keys
 * "log_size" (MiB per file, default 1) and "log_number" (files including
 * the base file, default 2). A client of the library calls
 * vorn_log_get_logsetting once at start: until then nothing is written.
 *
 * A key-log line reads "<time> | <module> | <event> | <text>\r\n".
 */
#ifndef VORNPAL_KEYLOG_H
#define VORNPAL_KEYLOG_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

#define VORN_LOG_CLIENT_FWA 0
#define VORN_LOG_CLIENT_PANIC 1

/* Size vorn_write_msg2file_ex formats its text into. */
#define VORN_MSG2FILE_BUF_SIZE 4220

/* Modules of a key-log line. */
#define VORN_KEYLOG_MODULE_DATA 1    /* "MODULE_DATA" */
#define VORN_KEYLOG_MODULE_FOTA 2    /* "MOUDLE_FOTA" */
#define VORN_KEYLOG_MODULE_GNSS 3    /* "MOUDLE_GNSS" */
#define VORN_KEYLOG_MODULE_NETWORK 4 /* "MOUDLE_NETWORK" */
#define VORN_KEYLOG_MODULE_SMS 5     /* "MOUDLE_SMS" */
#define VORN_KEYLOG_MODULE_USIM 6    /* "MOUDLE_USIM" */

/* Events of a key-log line; each is written as its name, e.g.
 * "EVENT_DATA_STATUS_CHANGE" (spelling as in the files, "FIAL" and all). */
#define VORN_KEYLOG_EVENT_DATA_DEFAULT_ROUTE 101
#define VORN_KEYLOG_EVENT_DATA_DNSMASQ_STATUS 102
#define VORN_KEYLOG_EVENT_DATA_STATUS_CHANGE 103
#define VORN_KEYLOG_EVENT_DATA_REQUEST_FAIL_CODE 104
#define VORN_KEYLOG_EVENT_FOTA_DOWNLOAD_FAIL 201
#define VORN_KEYLOG_EVENT_FOTA_FW_INVALID 202
#define VORN_KEYLOG_EVENT_FOTA_VERSION_MISMATCH 203
#define VORN_KEYLOG_EVENT_FOTA_NO_ENOUGH_SPACE 204
#define VORN_KEYLOG_EVENT_FOTA_NETWORK_FAIL 205
#define VORN_KEYLOG_EVENT_FOTA_PACKAGE_CHECK_FAIL 206
#define VORN_KEYLOG_EVENT_GNSS_STATUS_CHANGE 301
#define VORN_KEYLOG_EVENT_NETWORK_REG_CHANGE 401
#define VORN_KEYLOG_EVENT_NETWORK_RAT_CHANGE 402
#define VORN_KEYLOG_EVENT_NETWORK_REG_REJECT_CODE 403
#define VORN_KEYLOG_EVENT_SMS_CENTER_ADDRESS 501
#define VORN_KEYLOG_EVENT_SMS_SMMFULL 502
#define VORN_KEYLOG_EVENT_USIM_REMOVED 601
#define VORN_KEYLOG_EVENT_USIM_INSERTED 602
#define VORN_KEYLOG_EVENT_USIM_LOCKED 603
#define VORN_KEYLOG_EVENT_USIM_RECOVERY_FAIL 604

/* Appends "[<local time>]<message>" to path with the shell's echo; the text
 * is not escaped. The result of vorn_system_call. */
VORNPAL_API int vorn_write_msg2file(const char *path, const char *message);

/* Formats the message into buffer (VORN_MSG2FILE_BUF_SIZE bytes) and appends
 * "[<local time>]<func>: <message>" to path through the shell, with "vorn"
 * shown as "oem" in the function name. */
VORNPAL_API void vorn_write_msg2file_ex(char *buffer, const char *path, const char *func,
                                        const char *format, ...) VORNPAL_PRINTF(4, 5);

/* Stores a client's limits (MiB per file, number of files) in memory and,
 * for clients 0 and 1, in config_file. Returns 0. */
VORNPAL_API int vorn_set_log_client_setting(int log_client, int32_t log_size, int32_t log_number,
                                            const char *config_file);

/*
 * Loads both clients' limits from /data/log_client_setting; a missing file,
 * section or key takes the default. A value is read as strtol reads it in
 * base 10 and used as it stands: text with no digits is 0, negative and
 * large values are kept. The byte limit of a file is log_size << 20 in 32
 * bits, so a log_size of 0, or of 4096, rotates at every line, and negative
 * sizes give limits of up to 4 GiB. A log_number of 0 or 1 (or less) keeps
 * no numbered file: each rotation deletes the base file, and with a log_size
 * of 0 the base file holds the last line alone. vorn_keylog_filter looks for
 * every numbered file below log_number, so a large count makes it slow.
 * Returns 0.
 */
VORNPAL_API int vorn_log_get_logsetting(void);

/* Writes one key-log line (module 1-6 and event ids as above; others show
 * "(null)" and an empty event). Threads may write at once. Returns 0. */
VORNPAL_API int vorn_keylog_write_file(int module_id, int event_id, const char *format, ...)
    VORNPAL_PRINTF(3, 4);

/*
 * Appends to buffer (terminated by the caller, buffer_size bytes) the lines
 * of the log that match filter_id: 0 every panic-log line, 1-6 the lines of
 * a module, 101-604 the lines of an event (a number without an event: every
 * key-log line). The base file comes first, then the rotated files from the
 * newest. Collection stops at the first line that does not fit. Returns 0.
 */
VORNPAL_API int vorn_keylog_filter(unsigned int filter_id, char *buffer, unsigned int buffer_size);

/* Copies the modem's panic log ("odm_upgrader panic_log", lines with '[')
 * into the panic client's file, unless the same text already starts it.
 * Returns 0. */
VORNPAL_API int vorn_paniclog_write_file(void);

VORNPAL_END_DECLS

#endif
