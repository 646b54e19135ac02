/*
 * SMS user data: the user data header and its elements, septet packing, and
 * the tables between the GSM 7-bit default alphabet and Latin-1.
 *
 * Buffers without a size argument must be large enough for what the
 * arguments ask: the callers inside the codec check lengths first.
 */
#ifndef VORNPAL_SMS_USER_DATA_H
#define VORNPAL_SMS_USER_DATA_H

#include <vornpal/defs.h>
#include <vornpal/sms_records.h>

VORNPAL_BEGIN_DECLS

/* --- character tables ------------------------------------------------------ */

/* GSM 7-bit default alphabet to Latin-1; septets with no Latin-1 form give
 * '?' (63), the escape 27 stays 27. */
VORNPAL_API extern const uint8_t Ascii7to8[128];
/* Ascii7to8 with 255 for the septets that have no Latin-1 form. */
VORNPAL_API extern const uint8_t gsm7_to_ira[128];
/* The septet behind an escape to Latin-1; 255 for none. */
VORNPAL_API extern const uint8_t gsm7_to_ira_ext[128];
/* Latin-1 to septet; 255 (or above 127) where only the escape table helps.
 * '@' gives a blank. */
VORNPAL_API extern const uint8_t ira_to_gsm7[256];
/* Latin-1 to the septet behind an escape; above 127 as ira_to_gsm7. */
VORNPAL_API extern const uint8_t ira_to_gsm7_ext[256];
/* ira_to_gsm7 and its escape table with the ASCII that a terminal shows as it
 * stands: the tables of the GSM character set of AT commands. */
VORNPAL_API extern const uint8_t show_gsm7_to_ira[256];
VORNPAL_API extern const uint8_t show_gsm7_to_ira_ext[256];
/* Windows-1252 and Latin-1 folded to the nearest septet for smsPdu_Encode;
 * bit 7 set asks for an escape before the septet in bits 0..6. */
VORNPAL_API extern const uint8_t Ascii8to7[256];

/* Dollar signs met by DecodeData so far; never reset by the codec. */
VORNPAL_API extern uint16_t vorn_charater_flag;

/* --- septets ------------------------------------------------------------------ */

/*
 * Packs count septets into out, the first at bit `shift` (taken modulo 7) of
 * out[0], whose lower bits are kept. Stops at capacity octets. Returns the
 * octets written.
 */
VORNPAL_API uint16_t sms_ts_pack_gw_7_bit_chars(const uint8_t *septets, uint16_t count,
                                                uint16_t shift, uint16_t capacity, uint8_t *out);

/*
 * Unpacks count septets into out (one per byte, at most capacity). With a
 * shift s of 1..7 the first septet starts at bit 8 - s of packed[0]. Returns
 * the octets consumed.
 */
VORNPAL_API uint8_t unpack_gw_7_bit_chars(const uint8_t *packed, uint8_t count, uint8_t capacity,
                                          uint16_t shift, uint8_t *out);

/* --- user data header ---------------------------------------------------------- */

/*
 * Reads the header at data (data[0] is the UDHL) from `length` octets of user
 * data. Returns the UDHL, 255 when the UDHL exceeds the data, 0 when the
 * header cannot be decoded (num_headers is then 0).
 */
VORNPAL_API uint8_t DecodeUserDataHeader(uint8_t length, const uint8_t *data, uint8_t *num_headers,
                                         sms_udh_element *headers);

/* Writes UDHL and elements to out; returns the UDHL, 0 for no headers. out
 * must hold ComputeUserDataHeaderLength octets. */
VORNPAL_API uint8_t sms_ts_encode_user_data_header(uint8_t num_headers,
                                                   const sms_udh_element *headers, uint8_t *out);

/* Wire octets of an element, identifier and length octet included. */
VORNPAL_API uint32_t sms_ts_get_udh_length(const sms_udh_element *element);
/* 1 + the elements' octets, 0 without headers. */
VORNPAL_API uint32_t ComputeUserDataHeaderLength(uint8_t num_headers,
                                                 const sms_udh_element *headers);

/* Element writers, one per element type: octets written, 0 when refused. */
VORNPAL_API uint8_t sms_ts_encode_udh_special_sm(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_text_formatting(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_pre_def_sound(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_user_def_sound(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_pre_def_anim(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_large_anim(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_small_anim(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_large_picture(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_small_picture(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_var_picture(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_user_prompt(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_eo(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_rfc822(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_nat_lang_ss(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_nat_lang_ls(const sms_udh_element *element, uint8_t *out);
VORNPAL_API uint8_t sms_ts_encode_udh_other(const sms_udh_element *element, uint8_t *out);

/* --- user data ------------------------------------------------------------------ */

/*
 * Decodes TP-UD (data, behind the UDL octet) into user_data, which is
 * cleared first. Returns the octets decoded (below 141 is success), 255 for a
 * header that overruns the data, 0 for a null argument or an oversized UDL.
 */
VORNPAL_API uint8_t DecodeGwUserData(const sms_dcs_record *dcs, uint8_t udl, const uint8_t *data,
                                     uint8_t header_flag, sms_user_data_record *user_data);

/* Writes UDL, header and data to out; returns the octets written, 0 when
 * sm_len exceeds 255. */
VORNPAL_API uint16_t EncodeUserData(const sms_dcs_record *dcs,
                                    const sms_user_data_record *user_data, uint8_t *out);

/* Octets the user data takes on the wire (one septet too many for 7-bit
 * text, so that 160 septets pass a test against 140 and 161 fail). */
VORNPAL_API uint32_t ComputeUserDataLength(const sms_dcs_record *dcs,
                                           const sms_user_data_record *user_data);

/*
 * Text out of decoded user data. With alphabet_flag set, buffer holds
 * `length` septets (and room for one byte more) and is rewritten in place
 * as Latin-1, escapes resolved, septets without a Latin-1 form as blanks;
 * that text is then converted to the character set `target` (0 IRA, 1 GSM,
 * 2 UCS-2 hex, 3 hex). With the flag clear the octets become hex text.
 * output needs length * 4 + 1 bytes for UCS-2, length * 2 + 1 otherwise.
 * Returns the end of the output text, NULL on failure.
 */
VORNPAL_API char *DecodeData(uint8_t *buffer, uint16_t length, uint8_t alphabet_flag, char *output,
                             uint8_t target);

VORNPAL_END_DECLS

#endif
