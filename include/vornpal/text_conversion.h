/*
 * Text conversion between the forms met on the modem side (packed GSM 7-bit,
 * GSM septets one a byte, UCS-2, Latin-1) and UTF-8. Mostly for USSD texts.
 * The functions keep no state and may be called from any thread.
 *
 * Output texts are always terminated when the output has room for a
 * terminator; the byte counts returned leave the terminator out.
 */
#ifndef VORNPAL_TEXT_CONVERSION_H
#define VORNPAL_TEXT_CONVERSION_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* ---- UTF-8 and UTF-16 ------------------------------------------------------ */

/* Outcome of the two UTF converters below. */
typedef enum {
  VORN_CONVERSION_OK = 0,
  /* The source ended inside a character: more input may complete it. */
  VORN_CONVERSION_SOURCE_EXHAUSTED = 1,
  /* The next character does not fit in the target. */
  VORN_CONVERSION_TARGET_EXHAUSTED = 2,
  /* The source holds a sequence that no encoder produces. */
  VORN_CONVERSION_SOURCE_ILLEGAL = 3
} vorn_conversion_result;

/* How unpaired surrogates in UTF-16 are met: refused
 * (VORN_CONVERSION_SOURCE_ILLEGAL), or replaced by U+FFFD. Surrogates encoded
 * in UTF-8 are illegal either way. */
typedef enum {
  VORN_CONVERSION_STRICT = 0,
  VORN_CONVERSION_LENIENT = 1
} vorn_conversion_flags;

/*
 * Converts UTF-8 in [*source_start, source_end) into UTF-16 units of the
 * machine's byte order in [*target_start, target_end). Lead bytes 0x80..0xC1
 * and above 0xF4, overlong forms and continuation bytes out of range are
 * illegal; code points above U+FFFF become surrogate pairs. Both pointers are
 * advanced past what was converted; on TARGET_EXHAUSTED and SOURCE_ILLEGAL
 * *source_start is left at the start of the character that failed, on
 * SOURCE_EXHAUSTED at the start of the incomplete one.
 */
VORNPAL_API vorn_conversion_result vorn_util_ConvertUTF8toUTF16(const uint8_t **source_start,
                                                                const uint8_t *source_end,
                                                                uint16_t **target_start,
                                                                uint16_t *target_end,
                                                                vorn_conversion_flags flags);

/* The other way; a high surrogate at the end of the source is
 * SOURCE_EXHAUSTED. */
VORNPAL_API vorn_conversion_result vorn_util_ConvertUTF16toUTF8(const uint16_t **source_start,
                                                                const uint16_t *source_end,
                                                                uint8_t **target_start,
                                                                uint8_t *target_end,
                                                                vorn_conversion_flags flags);

/* ---- UCS-2 ----------------------------------------------------------------- */

/*
 * Strict UTF-8 to UCS-2 (UTF-16 units in the machine's byte order): length
 * bytes of utf8 into ucs2, which holds size bytes and ends with two zero
 * bytes. What converted before a failure or truncation is kept. Returns the
 * bytes written without the terminator; 0 for null arguments.
 */
VORNPAL_API size_t vorn_util_convert_utf8_to_ucs2(const char *utf8, size_t length, uint16_t *ucs2,
                                                  size_t size);

/*
 * Lenient UCS-2 (machine byte order, length in bytes; an odd last byte is
 * ignored) to UTF-8 in size bytes with a terminator. What converted before a
 * failure or truncation is kept. Returns the bytes written; 0 on failure.
 */
VORNPAL_API size_t vorn_util_convert_ucs2_to_utf8(const uint16_t *ucs2, size_t length, char *utf8,
                                                  size_t size);

/* ---- GSM 7-bit and Latin-1 --------------------------------------------------- */

/*
 * Unpacks 7-bit packed data (first septet in the lowest bits) into one septet
 * a byte. capacity is the most septets written; below 0 or above 254 it is
 * 255. Seven octets carry eight septets, except that a carriage return in the
 * last septet of the last group is padding and is left out. Returns the
 * septets written; 0 for null arguments or a length of 0.
 */
VORNPAL_API int vorn_util_ussd_unpack(uint8_t *septets, int capacity, const uint8_t *packed,
                                      int length);

/*
 * GSM default alphabet, one septet a byte, to UTF-8 in size bytes with a
 * terminator. Carriage returns are dropped, the escape septet shows as a
 * blank (the extension table is not read), and bytes above 127 are copied as
 * they are. A character that no longer fits is left out. Returns the bytes
 * written; 0 for null or empty arguments.
 */
VORNPAL_API int vorn_util_convert_gsm8bit_alpha_string_to_utf8(const uint8_t *gsm, int length,
                                                               char *utf8, size_t size);

/* The same for length octets of packed 7-bit data; at most 255 septets are
 * read. */
VORNPAL_API int vorn_util_convert_gsm_def_alpha_string_to_utf8(const uint8_t *packed, int length,
                                                               char *utf8, size_t size);

/*
 * Latin-1 to UTF-8. size must be at least twice length, otherwise nothing is
 * written and the result is 0. Carriage returns are dropped; a last
 * character that lacks room beside the terminator is left out. Returns the
 * bytes written.
 */
VORNPAL_API int vorn_util_ss_ascii_to_utf8(const char *latin1, int length, char *utf8,
                                           size_t size);

/* ---- USSD ------------------------------------------------------------------ */

/* 1 when every byte of text is below 128 (also for ""), otherwise 0. */
VORNPAL_API int vorn_util_UssdStringIsAscii(const char *text);

/*
 * A USSD string in the coding its data coding scheme gives (3GPP TS 23.038)
 * to UTF-8 in size bytes:
 *   - 7-bit: packed septets, of which the first 255 octets are read (the
 *     length is taken modulo 256);
 *   - 8-bit: copied as it is; needs size > length + 1;
 *   - UCS-2: big-endian units;
 *   - UCS-2 preceded by language (DCS 0x11): the two language octets are
 *     kept, in the machine's byte order, as the first character.
 * Returns the bytes written; 0 for a coding that cannot be read, for null
 * arguments, and when the output is too small.
 */
VORNPAL_API size_t vorn_util_convert_ussd_string_to_utf8(uint8_t dcs, const uint8_t *text,
                                                         size_t length, char *utf8, size_t size);

VORNPAL_END_DECLS

#endif
