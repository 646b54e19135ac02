/*
 * Records of the GSM SMS codec: the message record that the decoders fill and
 * the encoders read, its addresses, data coding scheme, timestamps, validity
 * periods and user data with its header elements.
 *
 * The records hold no pointers (sms_decode_context excepted) and have the same
 * layout on 32-bit ARM and on 64-bit hosts.
 */
#ifndef VORNPAL_SMS_RECORDS_H
#define VORNPAL_SMS_RECORDS_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

#define SMS_MESSAGE_RECORD_SIZE 2496   /* bytes a decoder clears */
#define SMS_USER_DATA_RECORD_SIZE 1916 /* bytes DecodeGwUserData clears */
#define SMS_MAX_UD_HEADERS 7           /* header elements kept per message */
#define SMS_ADDRESS_MAX_DIGITS 20      /* digits the address codecs take */
#define SMS_ADDRESS_DIGITS_SIZE 48     /* room in sms_address_record.digits */
#define SMS_SC_ADDRESS_MAX_OCTETS 11   /* service centre octets behind its length */
#define SMS_USER_DATA_MAX_OCTETS 140   /* user data octets of one TPDU */
#define SMS_TPDU_MAX_LENGTH 176        /* room for any TPDU the encoders write */
#define SMS_TIMESTAMP_TEXT_SIZE 21     /* "yy/MM/dd,hh:mm:ss+zz" and terminator */
#define SMS_COMMAND_DATA_MAX 157
#define SMS_FLAT_ADDRESS_SIZE 73
#define SMS_FLAT_TEXT_SIZE 161
#define SMS_ADDRESS_TEXT_SIZE \
  146 /* room for DecodeAddrToStr: "+" and 48 digits of up to 3 characters */

/* Protocol selector of the entry points. */
enum {
  SMS_PROTOCOL_GW_PP = 1, /* GSM/WCDMA point to point */
  SMS_PROTOCOL_CDMA = 2,
  SMS_PROTOCOL_GW_CB = 3 /* GSM/WCDMA cell broadcast */
};

/* Direction of vorn_sms_decode: a TP-MTI 2 TPDU is a status report when it
 * comes from the network (SMS_DIRECTION_MT), a command otherwise. */
enum { SMS_DIRECTION_MO = 1, SMS_DIRECTION_MT = 2 };

/* sms_message_record.kind */
typedef enum {
  SMS_KIND_DELIVER = 0,
  SMS_KIND_SUBMIT = 1,
  SMS_KIND_STATUS_REPORT = 2,
  SMS_KIND_CELL_BROADCAST = 4,
  SMS_KIND_RESERVED = 5, /* TP-MTI 3, read as a deliver */
  SMS_KIND_COMMAND = 6,
  SMS_KIND_UNDECODABLE = 7
} sms_message_kind;

/* sms_dcs_record.alphabet */
enum { SMS_ALPHABET_7BIT = 0, SMS_ALPHABET_8BIT = 1, SMS_ALPHABET_UCS2 = 2 };

/* sms_dcs_record.msg_waiting */
enum {
  SMS_MSG_WAITING_NONE = 0,
  SMS_MSG_WAITING_DISCARD = 1,
  SMS_MSG_WAITING_STORE = 2,
  SMS_MSG_WAITING_GROUP_1111 = 3
};

/* sms_validity_record.format: the TP-VPF value */
enum {
  SMS_VALIDITY_NONE = 0,
  SMS_VALIDITY_ENHANCED = 1,
  SMS_VALIDITY_RELATIVE = 2,
  SMS_VALIDITY_ABSOLUTE = 3
};

/* sms_address_record.number_type */
enum { SMS_NUMBER_INTERNATIONAL = 1, SMS_NUMBER_NATIONAL = 2, SMS_NUMBER_ALPHANUMERIC = 5 };

typedef struct {
  uint32_t digit_mode;  /* 0: one semi-octet value per digit; 1: one character (septet) each */
  uint32_t number_mode; /* not read by the codec */
  uint32_t number_type; /* 0..7 */
  uint32_t number_plan; /* 0..15 */
  uint8_t number_of_digits;
  /* Values 0..15 as on the wire (10 "*", 11 "#", 12..14 "A".."C"), or GSM
   * septets when digit_mode is 1. */
  uint8_t digits[SMS_ADDRESS_DIGITS_SIZE];
} sms_address_record;

typedef struct {
  uint32_t msg_class; /* 0..3, 4 = none */
  uint32_t is_compressed;
  uint32_t alphabet;    /* SMS_ALPHABET_* */
  uint32_t msg_waiting; /* SMS_MSG_WAITING_* */
  uint8_t msg_waiting_active;
  uint32_t msg_waiting_kind; /* 0 voicemail, 1 fax, 2 e-mail, 3 other */
  uint8_t raw_dcs;           /* written by DecodeDcs only */
} sms_dcs_record;

/* Packed BCD, tens in the high nibble (0x24 is 24), in readable order; zone
 * is a signed count of quarter hours, not BCD. */
typedef struct {
  uint8_t year;
  uint8_t month;
  uint8_t day;
  uint8_t hour;
  uint8_t minute;
  uint8_t second;
  int8_t zone;
} sms_timestamp;

typedef struct {
  uint8_t extension;
  uint8_t single_shot;
  uint8_t extension_octet;
  uint32_t relative_format; /* 0 none, 1 relative octet, 2 seconds, 3 semi-octets */
  sms_timestamp time;
} sms_enhanced_validity;

typedef struct {
  uint32_t format; /* SMS_VALIDITY_* */
  union {
    sms_timestamp timestamp; /* relative (as a period) and absolute */
    sms_enhanced_validity enhanced;
  } period;
} sms_validity_record;

/* --- user data header elements, by header_id ------------------------------ */

enum {
  SMS_UDH_CONCAT_8 = 0,
  SMS_UDH_SPECIAL_SM = 1,
  SMS_UDH_PORT_8 = 4,
  SMS_UDH_PORT_16 = 5,
  SMS_UDH_CONCAT_16 = 8,
  SMS_UDH_TEXT_FORMATTING = 10,
  SMS_UDH_PRE_DEF_SOUND = 11,
  SMS_UDH_USER_DEF_SOUND = 12,
  SMS_UDH_PRE_DEF_ANIM = 13,
  SMS_UDH_LARGE_ANIM = 14,
  SMS_UDH_SMALL_ANIM = 15,
  SMS_UDH_LARGE_PICTURE = 16,
  SMS_UDH_SMALL_PICTURE = 17,
  SMS_UDH_VAR_PICTURE = 18,
  SMS_UDH_USER_PROMPT = 19,
  SMS_UDH_EXTENDED_OBJECT = 20,
  SMS_UDH_RFC822 = 32,
  SMS_UDH_NAT_LANG_SS = 36,
  SMS_UDH_NAT_LANG_LS = 37
};

typedef struct {
  uint8_t msg_ref;
  uint8_t total_sm;
  uint8_t seq_num;
} sms_udh_concat_8;

typedef struct {
  uint16_t msg_ref;
  uint8_t total_sm;
  uint8_t seq_num;
} sms_udh_concat_16;

typedef struct {
  uint32_t msg_waiting;      /* 1 discard, 2 store */
  uint32_t msg_waiting_kind; /* 0 voicemail, 4 any other on decoding */
  uint8_t message_count;
} sms_udh_special_sm;

typedef struct {
  uint8_t dest_port;
  uint8_t orig_port;
} sms_udh_port_8;

typedef struct {
  uint16_t dest_port;
  uint16_t orig_port;
} sms_udh_port_16;

typedef struct {
  uint8_t start_position;
  uint8_t text_formatting_length;
  uint32_t alignment; /* bits 0..1 of the format octet */
  uint32_t font_size; /* bits 2..3 */
  uint8_t style_bold;
  uint8_t style_italic;
  uint8_t style_underlined;
  uint8_t style_strikethrough;
  uint8_t is_color_present;
  uint32_t foreground; /* low nibble of the colour octet */
  uint32_t background; /* high nibble */
} sms_udh_text_formatting;

typedef struct {
  uint8_t position;
  uint8_t sound_number;
} sms_udh_pre_def_sound;

typedef struct {
  uint8_t data_length;
  uint8_t position;
  uint8_t sound_data[128]; /* 0xFF beyond data_length */
} sms_udh_user_def_sound;

typedef struct {
  uint8_t position;
  uint8_t animation_number;
} sms_udh_pre_def_anim;

typedef struct {
  uint8_t position;
  uint8_t data[4][32];
} sms_udh_large_anim;

typedef struct {
  uint8_t position;
  uint8_t data[4][8];
} sms_udh_small_anim;

typedef struct {
  uint8_t position;
  uint8_t data[128];
} sms_udh_large_picture;

typedef struct {
  uint8_t position;
  uint8_t data[32];
} sms_udh_small_picture;

typedef struct {
  uint8_t position;
  uint8_t width; /* pixels: octets on the wire times 8 */
  uint8_t height;
  uint8_t data[134];
} sms_udh_var_picture;

typedef struct {
  uint8_t number_of_objects;
} sms_udh_user_prompt;

typedef struct {
  uint8_t content_length;
  uint8_t content[131];
  uint8_t first_segment; /* the seven octets below are on the wire only here */
  uint8_t reference;
  uint16_t length;
  uint8_t control;
  uint32_t type;
  uint16_t position;
} sms_udh_eo;

typedef struct {
  uint8_t header_length;
} sms_udh_rfc822;

typedef struct {
  uint32_t language; /* 1..3 */
} sms_udh_nat_lang;

typedef struct {
  uint8_t data_length;
  uint8_t data[226];
} sms_udh_other;

typedef struct {
  uint32_t header_id; /* SMS_UDH_*, or the identifier of an unknown element */
  union {
    sms_udh_concat_8 concat_8;
    sms_udh_special_sm special_sm;
    sms_udh_port_8 port_8;
    sms_udh_port_16 port_16;
    sms_udh_concat_16 concat_16;
    sms_udh_text_formatting text_formatting;
    sms_udh_pre_def_sound pre_def_sound;
    sms_udh_user_def_sound user_def_sound;
    sms_udh_pre_def_anim pre_def_anim;
    sms_udh_large_anim large_anim;
    sms_udh_small_anim small_anim;
    sms_udh_large_picture large_picture;
    sms_udh_small_picture small_picture;
    sms_udh_var_picture var_picture;
    sms_udh_user_prompt user_prompt;
    sms_udh_eo eo;
    sms_udh_rfc822 rfc822;
    sms_udh_nat_lang nat_lang_ss;
    sms_udh_nat_lang nat_lang_ls;
    sms_udh_other other;
  } body;
} sms_udh_element;

#define SMS_USER_DATA_SIZE 286 /* room in sm_data */

typedef struct {
  uint8_t num_headers;
  sms_udh_element headers[SMS_MAX_UD_HEADERS];
  uint16_t sm_len; /* septets (one per byte of sm_data) or octets */
  uint8_t sm_data[SMS_USER_DATA_SIZE];
} sms_user_data_record;

/* --- message bodies ---------------------------------------------------------- */

/* SMS-DELIVER flags */
#define SMS_DELIVER_MMS 0x01 /* TP-MMS as on the wire; EncodeDeliver reads it inverted */
#define SMS_DELIVER_RP 0x02
#define SMS_DELIVER_UDHI 0x04
#define SMS_DELIVER_SRI 0x08

typedef struct {
  uint8_t flags;
  sms_address_record originating_address;
  uint32_t pid;
  uint8_t raw_dcs;
  sms_dcs_record dcs;
  sms_timestamp scts;
  char scts_text[SMS_TIMESTAMP_TEXT_SIZE];
  sms_user_data_record user_data;
} sms_deliver_record;

/* SMS-SUBMIT flags */
#define SMS_SUBMIT_RD 0x01
#define SMS_SUBMIT_SRR 0x02
#define SMS_SUBMIT_UDHI 0x04
#define SMS_SUBMIT_RP 0x08

typedef struct {
  uint8_t flags;
  sms_validity_record validity;
  uint32_t message_reference;
  sms_address_record destination_address;
  uint32_t pid;
  uint8_t raw_dcs;
  uint8_t raw_validity_octet;
  sms_dcs_record dcs;
  char validity_text[SMS_TIMESTAMP_TEXT_SIZE];
  sms_user_data_record user_data;
} sms_submit_record;

/* SMS-STATUS-REPORT flags */
#define SMS_STATUS_REPORT_UDHI 0x01
#define SMS_STATUS_REPORT_NO_MMS 0x02 /* the inverse of TP-MMS */
#define SMS_STATUS_REPORT_SRQ 0x04

typedef struct {
  uint8_t flags;
  uint32_t message_reference;
  sms_address_record recipient_address;
  sms_timestamp scts;
  sms_timestamp discharge_time;
  char scts_text[SMS_TIMESTAMP_TEXT_SIZE];
  char discharge_text[SMS_TIMESTAMP_TEXT_SIZE];
  uint32_t status; /* TP-ST */
  uint32_t parameter_indicator;
  uint32_t pid;
  sms_dcs_record dcs;
  sms_user_data_record user_data;
} sms_status_report_record;

/* SMS-COMMAND flags */
#define SMS_COMMAND_UDHI 0x01
#define SMS_COMMAND_SRR 0x02

typedef struct {
  uint8_t flags;
  uint32_t message_reference;
  uint32_t pid;
  uint32_t command_type;
  uint32_t message_number;
  sms_address_record destination_address;
  uint8_t command_data_length;
  uint8_t command_data[SMS_COMMAND_DATA_MAX];
} sms_command_record;

/* The flat view of smsPdu_Decode. */
enum { SMS_FLAT_TEXT = 1, SMS_FLAT_BINARY = 2, SMS_FLAT_UCS2 = 3 };
#define SMS_FLAT_DELIVER_MASK 0x03
#define SMS_FLAT_SUBMIT_MASK 0x04

typedef struct {
  uint32_t option_mask;
  char address[SMS_FLAT_ADDRESS_SIZE];
  char timestamp[SMS_TIMESTAMP_TEXT_SIZE]; /* empty for a submit */
  uint32_t format;                         /* SMS_FLAT_* */
  char text[SMS_FLAT_TEXT_SIZE];           /* terminated; bytes for binary and UCS-2 */
  uint32_t text_length;
} sms_flat_message;

/* A GSM cell broadcast page (protocol 3). */
typedef struct {
  uint32_t format; /* SMS_FLAT_* */
  char text[SMS_FLAT_TEXT_SIZE];
  uint32_t text_length;
  uint16_t serial_number;
  uint16_t message_id;
  uint8_t dcs;
  uint8_t page; /* page number in the high nibble, pages in the low one */
} sms_cb_message;

#define SMS_MESSAGE_BODY_SIZE 2416

typedef struct {
  uint32_t kind;       /* sms_message_kind */
  uint8_t tpdu_length; /* TPDU octets behind the service centre address */
  sms_address_record sc_address;
  uint8_t first_octet;
  union {
    sms_deliver_record deliver; /* SMS_KIND_DELIVER and SMS_KIND_RESERVED */
    sms_submit_record submit;
    sms_status_report_record status_report;
    sms_command_record command;
    sms_flat_message flat; /* smsPdu_Decode */
    sms_cb_message broadcast;
    uint8_t bytes[SMS_MESSAGE_BODY_SIZE];
  } body;
} sms_message_record;

/* The PDU that smsPdu_Encode writes: service centre address, then the TPDU. */
#define SMS_PDU_BUFFER_SIZE 176

typedef struct {
  uint8_t pdu[SMS_PDU_BUFFER_SIZE];
  uint32_t length;
} sms_pdu_buffer;

/* In and out record of SMS_Decode. */
typedef struct {
  char text[212];     /* sm_data: septets, octets or UCS-2 as decoded */
  char sender[24];    /* originating or destination address as text */
  char timestamp[24]; /* deliver only */
  const uint8_t *pdu; /* in: the PDU with its service centre address */
  uint32_t pdu_length;
  uint32_t text_length;
  uint32_t not_7bit;
  uint32_t is_deliver;
} sms_decode_context;

VORNPAL_END_DECLS

#endif
