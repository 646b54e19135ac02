/*
 * Small settings files with sections and keys, read and written through the
 * file on each call (nothing is kept between calls, nothing is locked).
 *
 *   ; comment              # comment
 *   key_before_sections=1  (the empty section)
 *   [section]
 *   key=value              key: value
 *   quoted="a;b \"c\""
 *
 * A line, a key with its value and a section name are limited to
 * INI_BUFFERSIZE bytes; the rest of a longer line is ignored. Section and
 * key names compare without regard to case. A ';' or '#' ends a value
 * outside quotes, and trailing white space goes. Writing uses "=", and
 * quotes a value that holds a quote or a comment mark or ends in a blank.
 */
#ifndef VORNPAL_INI_H
#define VORNPAL_INI_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

#define INI_BUFFERSIZE 512

/* Called by ini_browse for every key; return nonzero to go on. */
typedef int (*ini_browse_callback)(const char *section, const char *key, const char *value,
                                   void *user_data);

/* The value, or default_value when the file or the key is missing, copied
 * into buffer (size bytes, terminated). The length of the text; 0 for a
 * null buffer or a size under 1. */
VORNPAL_API int ini_gets(const char *section, const char *key, const char *default_value,
                         char *buffer, int size, const char *path);
/* Decimal, or hexadecimal with a "0x" prefix; default_value when empty. */
VORNPAL_API long ini_getl(const char *section, const char *key, long default_value,
                          const char *path);
VORNPAL_API float ini_getf(const char *section, const char *key, float default_value,
                           const char *path);
/* 1 for a value beginning with Y, T or 1; 0 for N, F or 0 (either case);
 * default_value otherwise. */
VORNPAL_API int ini_getbool(const char *section, const char *key, int default_value,
                            const char *path);
/* Name of the section number index (from 0), "" past the last. Its length. */
VORNPAL_API int ini_getsection(int index, char *buffer, int size, const char *path);
/* Name of the key number index (from 0) of section. Its length. */
VORNPAL_API int ini_getkey(const char *section, int index, char *buffer, int size,
                           const char *path);
/* Calls callback for every key of the file, in order. 1, or 0 when the file
 * cannot be read. */
VORNPAL_API int ini_browse(ini_browse_callback callback, void *user_data, const char *path);

/*
 * Sets key of section to value, adding the section or the key as needed. A
 * null value removes the key, a null key the whole section. An unchanged
 * value writes nothing. Other changes go through a temporary file in the
 * same directory that replaces the file. 1, or 0 when the file cannot be
 * written. A null path aborts the process.
 */
VORNPAL_API int ini_puts(const char *section, const char *key, const char *value,
                         const char *path);
/* Writes "%ld". */
VORNPAL_API int ini_putl(const char *section, const char *key, long value, const char *path);
/* Writes "%f". */
VORNPAL_API int ini_putf(const char *section, const char *key, float value, const char *path);

VORNPAL_END_DECLS

#endif
