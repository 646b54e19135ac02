/*
 * GSM SMS PDU codec (3GPP TS 23.040) and message assembly.
 *
 * Two layers:
 *  - the record layer, vorn_sms_decode and vorn_sms_encode with their TPDU
 *    and field codecs, on sms_message_record;
 *  - the flat text layer, smsPdu_Decode and smsPdu_Encode, for plain single
 *    messages.
 * The assembly functions fill records from AT-style parameters and turn a
 * received PDU into plain text fields.
 *
 * Results: 0 or a negative code unless a function says otherwise.
 *   -6 fault, -9 overflow, -10 empty input or a timestamp that cannot be
 *   encoded, -13 malformed address or length, -15 null argument or invalid
 *   field, -18 unsupported, -23 truncated TPDU, -24 wrong type for this
 *   decoder, -25 bad user data in a submit.
 * Field codecs return the octets they read or wrote, 0 on failure.
 *
 * Nothing here is thread-safe beyond the two counters vorn_charater_flag and
 * g_ext_char, which are shared and unguarded.
 */
#ifndef VORNPAL_SMS_CODEC_H
#define VORNPAL_SMS_CODEC_H

#include <vornpal/defs.h>
#include <vornpal/sms_records.h>
#include <vornpal/sms_user_data.h>

VORNPAL_BEGIN_DECLS

enum {
  SMS_ERR_FAULT = -6,
  SMS_ERR_OVERFLOW = -9,
  SMS_ERR_EMPTY = -10,
  SMS_ERR_MALFORMED = -13,
  SMS_ERR_INVALID = -15,
  SMS_ERR_UNSUPPORTED = -18,
  SMS_ERR_TRUNCATED = -23,
  SMS_ERR_WRONG_TYPE = -24,
  SMS_ERR_BAD_SUBMIT_DATA = -25
};

/* --- record layer ----------------------------------------------------------------- */

/*
 * Decodes a PDU that starts with its service centre address (length octet
 * first) into record, which is cleared first. direction SMS_DIRECTION_MT
 * reads TP-MTI 2 as a status report, any other as a command. Protocol 3
 * takes a cell broadcast page; protocol 2 (CDMA) is not supported here.
 */
VORNPAL_API int vorn_sms_decode(uint32_t direction, int32_t protocol, const uint8_t *pdu,
                                uint32_t length, sms_message_record *record);

/*
 * Encodes a deliver or submit record with its service centre address (which
 * must be present) into output; fills output with 0xFF first. The PDU length
 * goes to *output_length.
 */
VORNPAL_API int vorn_sms_encode(int32_t protocol, uint8_t *output, uint32_t output_size,
                                const sms_message_record *record, uint32_t *output_length);

/* TPDU decoders: 0 or a negative code. */
VORNPAL_API int DecodeDeliver(const uint8_t *tpdu, uint32_t length, sms_deliver_record *deliver);
VORNPAL_API int DecodeSummit(const uint8_t *tpdu, uint32_t length, sms_submit_record *submit);
VORNPAL_API int DecodeStatusReport(const uint8_t *tpdu, uint32_t length,
                                   sms_status_report_record *report);
VORNPAL_API int DecodeCommand(const uint8_t *tpdu, uint32_t length, sms_command_record *command);

/*
 * TPDU encoders: the TPDU length (out holds SMS_TPDU_MAX_LENGTH octets) or a
 * negative code. EncodeDeliver writes TP-MMS when SMS_DELIVER_MMS is clear:
 * a decoded deliver re-encoded as it stands has TP-MMS flipped.
 */
VORNPAL_API int EncodeDeliver(const sms_deliver_record *deliver, uint8_t *out);
VORNPAL_API int EncodeSubmit(const sms_submit_record *submit, uint8_t *out);

/* Address: octets written or read (length octet and type included), 0 on
 * failure. At most 20 digits. */
VORNPAL_API uint8_t EncodeAddress(const sms_address_record *address, uint8_t *out);
VORNPAL_API uint8_t DecodeAddress(const uint8_t *wire, sms_address_record *address);

/* DCS: EncodeDcs always writes 1 octet; DecodeDcs returns 1, or 0 for a null
 * argument. DecodeSmsDcs is the reading of AT parameters and does not set
 * raw_dcs. */
VORNPAL_API uint8_t EncodeDcs(const sms_dcs_record *dcs, uint8_t *out);
VORNPAL_API uint8_t DecodeDcs(const uint8_t *wire, sms_dcs_record *dcs);
VORNPAL_API void DecodeSmsDcs(uint8_t octet, sms_dcs_record *dcs);

/* Timestamps: 7 octets. The decoder repairs bad fields (and logs them), the
 * encoder refuses them with 0. */
VORNPAL_API uint8_t EncodeTimestamp(const sms_timestamp *timestamp, uint8_t *out);
VORNPAL_API uint8_t DecodeTimestamp(const uint8_t *wire, sms_timestamp *timestamp);

/* Validity periods. */
VORNPAL_API uint8_t EncodeRelativeTime(const sms_timestamp *period);
VORNPAL_API void DecodeRelativeTime(uint8_t octet, sms_timestamp *period);
VORNPAL_API uint8_t EncodeEvpRelTime(const sms_timestamp *period, uint8_t *out);
VORNPAL_API uint8_t DecodeEvpRelTime(const uint8_t *wire, sms_timestamp *period);
VORNPAL_API uint8_t EncodeEnhancedVp(const sms_enhanced_validity *validity, uint8_t *out);
VORNPAL_API uint8_t DecodeEnhancedVp(const uint8_t *wire, sms_enhanced_validity *validity);
/* By validity->format; the decoder reads the format from the record. */
VORNPAL_API uint8_t EncodeGwValidity(const sms_validity_record *validity, uint8_t *out);
VORNPAL_API uint8_t DecodeGwValidity(const uint8_t *wire, sms_validity_record *validity);

/* (value mod 10) | (value / 10) << 4 */
VORNPAL_API uint8_t sms_ts_int_to_bcd(uint8_t value);
/* 1 and the value, or 0 and *value 0 when a nibble exceeds 9. */
VORNPAL_API uint8_t sms_ts_bcd_to_int(uint8_t bcd, uint8_t *value);

/*
 * Timestamp as text into output (SMS_TIMESTAMP_TEXT_SIZE bytes): format 0
 * "yy/MM/dd,hh:mm:ss+zz" (zone in quarter hours), any other format
 * "20yy,MM,dd,hh,mm,ss". Returns the end of the text.
 */
VORNPAL_API char *dsatsmsi_timestamp(sms_timestamp timestamp, char *output, int format);
VORNPAL_API char *dsatetsismsi_timestamp(sms_timestamp timestamp, char *output);

/* --- flat text layer ------------------------------------------------------------ */

/*
 * Decodes a plain single deliver or submit into record->body.flat; kind is
 * SMS_KIND_UNDECODABLE on any failure. Messages with a user data header are
 * refused with -18.
 */
VORNPAL_API int smsPdu_Decode(int32_t protocol, const uint8_t *pdu, uint32_t length,
                              sms_message_record *record);

/*
 * Encodes one message (or one part of a long one) into output:
 *  data, data_length   at most 160 bytes of Latin-1 text (encoding 0) or
 *                      octets (1: 8-bit, 2: UCS-2)
 *  address             destination or originator, at most 18 characters
 *  message_type        1 submit, 0 deliver
 *  smsc                service centre digits, "" for none
 *  concat              bits 0..7 total, 8..15 sequence, 16..23 reference,
 *                      24..31 nonzero for a part of a long message
 */
VORNPAL_API int smsPdu_Encode(int32_t protocol, const uint8_t *data, uint32_t data_length,
                              const char *address, uint32_t encoding, uint32_t message_type,
                              const char *smsc, sms_pdu_buffer *output, uint32_t concat);

/* smsPdu_Decode with protocol 1 into a record of its own. */
VORNPAL_API int test_sms_gsm_decode(const uint8_t *pdu, uint32_t length);

/* --- message assembly -------------------------------------------------------------- */

/* Service centre address from the record, then a TPDU given as hex text of
 * tpdu_length octets: 0, -3 (not hex), -9, -13. */
VORNPAL_API int vorn_sms_encode_pdu(uint8_t *output, uint32_t output_size,
                                    const sms_address_record *sc_address, const char *hex,
                                    uint32_t tpdu_length, uint32_t *output_length);

/* Character sets of the text arguments (AT+CSCS). */
enum {
  SMS_CHSET_IRA = 0,
  SMS_CHSET_GSM = 1,
  SMS_CHSET_UCS2 = 2, /* four hex digits per UTF-16 unit */
  SMS_CHSET_HEX = 3
};

/* Escape septets added by the last text conversion; vorn_sms_encode_data
 * takes them over and clears the counter. */
VORNPAL_API extern uint16_t g_ext_char;

/*
 * Fills sm_len and sm_data from an AT-style text. When the DCS has an
 * alphabet other than 7-bit, or first_octet (negative: none) has TP-UDHI,
 * text is the hex form of the octets. Otherwise it is text in the character
 * set chset, at most 160 characters, turned into septets. Returns 1 on
 * success, 0 on failure.
 */
VORNPAL_API int vorn_sms_encode_data(sms_user_data_record *user_data, const char *text,
                                     uint32_t length, int32_t first_octet, uint8_t dcs,
                                     uint32_t chset);

/*
 * Fills flags, PID, DCS (and for a submit the message reference 100 and the
 * validity) of a record whose kind is set. first_octet negative: none (a
 * submit then uses relative validity). validity: NULL, "" or a negative
 * number for none; a decimal TP-VP octet for relative validity; the text
 * "yy/MM/dd,hh:mm:ss+zz" for absolute validity. Returns 0 or -18.
 */
VORNPAL_API int vorn_sms_fill_pdu_fields(sms_message_record *record, int32_t first_octet,
                                         uint32_t pid, uint8_t dcs, const char *validity);

/* The validity of a submit with this first octet: 1, or 0 when the text
 * does not fit the format (enhanced validity is not taken). */
VORNPAL_API int string_to_timestamp(int32_t first_octet, const char *validity,
                                    sms_validity_record *record);

/*
 * Address from dial text and an optional type of address text (decimal for
 * mode 1, hex otherwise). Returns 1, or 0 on failure or when a character was
 * not a dial digit (the fields are filled all the same).
 */
VORNPAL_API int vorn_sms_str_to_addr(sms_address_record *address, const char *number,
                                     const char *type, int mode);

/* 0, 1, 2, 3 give 2, 1, 3, 4; others 0. */
VORNPAL_API int vorn_sms_convert_format(uint32_t index);

/*
 * One submit PDU through smsPdu_Encode: 7-bit text when text_flag is set,
 * UCS-2 otherwise. *output_length is the room in output on entry and the
 * PDU length on return. Returns 0, or 1 on failure.
 */
VORNPAL_API int SMS_SendEncode2Pdu(const char *address, const uint8_t *data, uint32_t length,
                                   int text_flag, const char *smsc, uint8_t *output,
                                   uint32_t *output_length, uint32_t concat);

/* Decodes context->pdu into the text fields. Returns 0, or 1 on failure. */
VORNPAL_API int SMS_Decode(sms_decode_context *context);

/*
 * Address as text into output (SMS_ADDRESS_TEXT_SIZE bytes): "+" for type
 * 145, dial digits, or hex pairs for an alphanumeric address. The type of
 * address octet goes to *type. Returns 0, or -1 for more than 48 digits.
 */
VORNPAL_API int DecodeAddrToStr(sms_address_record address, char *output, uint8_t *type);

/* Upper-case hex of length bytes, terminated. */
VORNPAL_API void HexToAscii(const uint8_t *bytes, char *output, int length);

VORNPAL_END_DECLS

#endif
