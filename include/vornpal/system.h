/*
 * Probes of the system around the library: the project name on the kernel
 * command line, integers in files, clocks and dates, reachability, process
 * and bridge look-ups, and the product's feature predicates.
 *
 * Results: 0 for success, -1 for failure, unless stated otherwise.
 */
#ifndef VORNPAL_SYSTEM_H
#define VORNPAL_SYSTEM_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* ---- project name ---------------------------------------------------------- */

/* Buffer size that get_project_para fills at most, terminator included. */
#define VORN_PROJECT_PARA_SIZE 64

/*
 * The value of key on the kernel command line (the first 2047 bytes of
 * /proc/cmdline): what follows the key, "=" and any blanks, up to the next
 * blank. At most size bytes are copied; a value of size bytes or more is
 * left without a terminator. -1 for a null value or key, a key that is not
 * there, or an empty value.
 */
VORNPAL_API int odm_get_value_from_string(const char *key, char *value, uint32_t size);
/*
 * The project name from the line holding "project" in /tmp/non_signal_info
 * ("...project...=NAME"), into value (VORN_PROJECT_PARA_SIZE bytes,
 * terminated). -1 when the file cannot be read or has no such line.
 */
VORNPAL_API int get_project_para(char *value);
/*
 * The project name from "vorn.project" (or, for the _oem_version form,
 * "oem.project") on the kernel command line, as odm_get_value_from_string
 * gives it; without that key, from get_project_para (value then needs
 * VORN_PROJECT_PARA_SIZE bytes, or size when that is less).
 */
VORNPAL_API int vorn_get_project_name_cmdline(char *value, uint32_t size);
VORNPAL_API int vorn_get_project_name_cmdline_oem_version(char *value, uint32_t size);

/* ---- integers in files --------------------------------------------------- */

/* The decimal number at the start of the file; 0 when the file cannot be
 * read (or holds no number). */
VORNPAL_API int vorn_util_get_file_int_value(const char *path);
/* Replaces the file's content with value in decimal: 0, or 7 for every
 * failure. */
VORNPAL_API int vorn_util_set_file_int_value(const char *path, int value);

/* ---- network and processes ------------------------------------------------- */

/*
 * The IPv4 address of the main bridge, the first of "bridge0", "br-lan" and
 * "brlan0" that has one, in network byte order (as in struct in_addr).
 */
VORNPAL_API int vorn_util_get_main_bridge_addr(uint32_t *if_addr);
/*
 * Pings host (two echo requests, 3 s for an answer) up to three times:
 * 0 at the first answer, -1 after the third failure, 3 for a null host.
 * Blocks for up to about 15 s. host reaches the shell as it is: pass an
 * address or a host name, never text from outside.
 */
VORNPAL_API int vorn_ping_state(const char *host);
/* The id of the first process that "ps -e" lists with name in its line
 * (name is a grep pattern); -1 when there is none. */
VORNPAL_API int oem_get_pid_by_name(const char *name);
/* Makes the directory and its parents (mode 0777, less the umask) when
 * nothing exists at path. */
VORNPAL_API void oem_create_and_check_directory(const char *path);

/* ---- clocks and dates --------------------------------------------------------- */

typedef struct {
  int64_t sec;
  int64_t usec; /* 0 to 999999 */
} vorn_clk_time;

/* CLOCK_MONOTONIC and CLOCK_REALTIME; zero when the clock cannot be read. */
VORNPAL_API vorn_clk_time vorn_clk_GetRelativeTime(void);
VORNPAL_API vorn_clk_time vorn_clk_GetAbsoluteTime(void);
/* The sum, microseconds carried into seconds once. */
VORNPAL_API vorn_clk_time vorn_clk_Add(vorn_clk_time first, vorn_clk_time second);
/* Seconds since boot. */
VORNPAL_API long get_linuxuptime(void);
/* Days from the date first to the date second, each "YYYY-MM-DD" in local
 * time; negative when second comes first, 0 when either is null. */
VORNPAL_API int get_days(const char *first, const char *second);

/* ---- feature predicates ------------------------------------------------------- */

/* Product variants that this platform has none of: each gives 0. */
VORNPAL_API int vorn_support_730K(void);
VORNPAL_API int vorn_support_SK730_GL(void);
VORNPAL_API int vorn_support_SG730C(void);
VORNPAL_API int vorn_support_RUD_LED(void);
VORNPAL_API int vorn_support_PRIMARY_INTERFACE(void);
VORNPAL_API int vorn_support_SECONDARY_INTERFACE(void);
VORNPAL_API int vorn_support_USB_DETECT(void);
VORNPAL_API int vorn_support_RUD_FAN(void);

VORNPAL_END_DECLS

#endif
