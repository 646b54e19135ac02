/* Bounded string copies and string helpers. */
#ifndef VORNPAL_STRINGS_H
#define VORNPAL_STRINGS_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/*
 * Clears size bytes of dest and copies at most size bytes of src, up to its
 * terminator: a text of size bytes or more is left without one.
 */
VORNPAL_API void vorn_string_memcpy(char *dest, const char *src, size_t size);

/* ---- copies and edits ------------------------------------------------------ */

/* strlcpy and strlcat; a null argument gives 0 with nothing done. */
VORNPAL_API size_t vorn_strlcpy(char *dest, const char *src, size_t size);
VORNPAL_API size_t vorn_strlcat(char *dest, const char *src, size_t size);

/*
 * Replaces the first occurrence of old_text in text (the result is cut at
 * 1023 bytes). Only the new text's own bytes are written back, with no
 * terminator: when it is shorter than before, the caller terminates it.
 * 0, or -1 for a null argument or old_text not found.
 */
VORNPAL_API int replace_str(char *text, const char *old_text, const char *new_text);

/*
 * Splits text in place at any of delimiters, storing a pointer to each token
 * in array (which the caller makes large enough). Bit 0 of skip_empty drops
 * empty tokens. The number of tokens, or -1 for a null text or array.
 */
VORNPAL_API int split_string_to_array(char *text, const char *delimiters, char **array,
                                      int skip_empty);

/* The library exports its own strsep, with the C library's meaning (C++
 * has it from <cstring>). */
#ifndef __cplusplus
VORNPAL_API char *strsep(char **stringp, const char *delim);
#endif

/*
 * Copies the text between the quote that in_str must begin with and its
 * closing quote, which must end in_str, into out_str (size bytes with the
 * terminator). 1 on success, 0 otherwise.
 */
VORNPAL_API int vorn_strip_quotes_out(const char *in_str, char *out_str, size_t size);

/* Removes white space at both ends in place. Returns text. */
VORNPAL_API char *vorn_trim_string(char *text);

/* 1 or 0; 0 for a null argument (and for a suffix longer than the text). */
VORNPAL_API int starts_with(const char *text, const char *prefix, int ignore_case);
VORNPAL_API int ends_with(const char *text, const char *suffix, int ignore_case);

/* Only 'A' to 'Z' change. */
VORNPAL_API int tolowercase(int c);
/* In place; returns text. */
VORNPAL_API char *vorn_string_toupper(char *text);

/* ---- hexadecimal ----------------------------------------------------------- */

/* 0-15 to '0'-'9', 'A'-'F'; anything else to 0. */
VORNPAL_API char DecToHex(int digit);

/* Upper-case text of count bytes, terminated: needs 2 * count + 1 bytes.
 * 2 * count, or -1. The vorn_ form logs a too small text. */
VORNPAL_API int hex_BinaryToString(const uint8_t *bytes, unsigned int count, char *text,
                                   unsigned int size);
VORNPAL_API int vorn_hex_BinaryToString(const uint8_t *bytes, unsigned int count, char *text,
                                        unsigned int size);

/* Bytes of a hexadecimal text of length characters (either case): the
 * number of bytes, or -1 for an odd length, a too long text or a bad digit. */
VORNPAL_API int vorn_hex_StringToBinary(const char *text, unsigned int length, uint8_t *bytes,
                                        unsigned int size);

/* ORs the bytes of a terminated hexadecimal text into bytes, which the caller
 * clears. 0, or -1 for null, an odd length or a bad digit. */
VORNPAL_API int vorn_change_hexstr_to_str(const char *text, uint8_t *bytes);

/* Value of a hexadecimal text. Once the value passes 0x7FFFFFF with digits
 * still to come the result is -1 (so "FFFFFFFF" gives -1), as it is for a
 * bad digit. An empty text gives 0. */
VORNPAL_API int vorn_hex_HexaToInteger(const char *text);

/* Lenient hexadecimal: optional "0x"; letters count as their offset from 'a'
 * plus 10 (so 'g' is 16); any other character ends the number. */
VORNPAL_API int htoi(const char *text);

/* ---- UTF-8 ----------------------------------------------------------------- */

/* 1 to 4 by the lead byte, 0 for a byte that cannot lead a character. */
VORNPAL_API int vorn_utf8_NumBytesInChar(uint8_t lead);

/*
 * Copies whole characters of src into dest (dest_size bytes, terminated) and
 * stores the bytes copied in *count (count may be null). 0 when all of src
 * was copied; -1 when it was cut at the last whole character that fits.
 * A byte that cannot lead a character empties dest: 0 with *count 0.
 * A null dest or src or a dest_size of 0 aborts the process.
 */
VORNPAL_API int vorn_utf8_Copy(char *dest, const char *src, size_t dest_size, size_t *count);

VORNPAL_END_DECLS

#endif
