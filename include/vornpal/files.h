/*
 * File access with the library's result codes, and small system helpers.
 *
 * Result codes of the file functions: 0 success, 4 the file could not be
 * opened, 6 the read failed, 7 the write failed.
 */
#ifndef VORNPAL_FILES_H
#define VORNPAL_FILES_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/*
 * One read of at most length bytes. A newline as the last byte read becomes
 * a zero byte; nothing else terminates the text, so the caller clears the
 * buffer first. 0, 4 or 6.
 */
VORNPAL_API int vorn_read_file(const char *path, void *buffer, unsigned int length);

/* As vorn_read_file, but returns the number of bytes read (a trailing
 * newline, turned into a zero byte, does not count), or -1 when the file
 * cannot be opened. */
VORNPAL_API int vorn_read_file_with_reading_length_returned(const char *path, void *buffer,
                                                            int length);

/*
 * Writes length bytes at the start of an existing file, with no creation and
 * no truncation: a longer old content keeps its tail. 0, 4 or 7.
 * The _sync form writes with O_DSYNC; _sync_create also creates the file
 * (mode 0777).
 */
VORNPAL_API int vorn_write_file(const char *path, const void *data, unsigned int length);
VORNPAL_API int vorn_write_file_sync(const char *path, const void *data, unsigned int length);
VORNPAL_API int vorn_write_file_sync_create(const char *path, const void *data,
                                            unsigned int length);

/* Opens path read-write and issues the request. 0, 4, or -1 when the ioctl
 * fails. */
VORNPAL_API int vorn_ioctl_file(const char *path, unsigned long request, void *argument);

/* Configures the IRIG-B driver through /dev/vorn_irig_b_config: the ioctl's
 * result, or -1. config is the driver's record. */
VORNPAL_API int vorn_irig_b_ioctl(void *config);

/* Makes path and its parents (like mkdir -p); existing directories are no
 * failure. 0, or -1 (also for a path of 512 bytes or more). */
VORNPAL_API int dir_make_path(const char *path, unsigned int mode);

/* 1 when MTD partitions exist, 0 when none do, 4 when the probe could not
 * run. */
VORNPAL_API int get_flash_type(void);

/* The number of lines of "ps" naming name (matched by grep, so name is a
 * pattern); 0 when ps could not run, -1 when nothing came back. */
VORNPAL_API int vorn_check_process_exist(const char *name);

VORNPAL_END_DECLS

#endif
