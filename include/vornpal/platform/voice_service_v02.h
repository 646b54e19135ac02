/* VOICE service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_VOICE_SERVICE_V02_H
#define VORNPAL_PLATFORM_VOICE_SERVICE_V02_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VOICE_SERVICE_ID_V02 0x09

#define QMI_VOICE_USS_DATA_MAX_V02 182
#define QMI_VOICE_ALPHA_TEXT_MAX_V02 182
/* Fields that the service reports beside the USSD text, as it reports them. */
#define QMI_VOICE_USS_NETWORK_DATA_MAX_V02 516
#define QMI_VOICE_USS_NO_WAIT_NETWORK_DATA_MAX_V02 504
#define QMI_VOICE_USS_ALPHA_BLOCK_V02 366

#define QMI_VOICE_INDICATION_REGISTER_REQ_V02 0x0003
#define QMI_VOICE_INDICATION_REGISTER_RESP_V02 0x0003
#define QMI_VOICE_END_CALL_REQ_V02 0x0021
#define QMI_VOICE_END_CALL_RESP_V02 0x0021
#define QMI_VOICE_ORIG_USSD_REQ_V02 0x003A
#define QMI_VOICE_ORIG_USSD_RESP_V02 0x003A
#define QMI_VOICE_ANSWER_USSD_REQ_V02 0x003B
#define QMI_VOICE_ANSWER_USSD_RESP_V02 0x003B
#define QMI_VOICE_CANCEL_USSD_REQ_V02 0x003C
#define QMI_VOICE_CANCEL_USSD_RESP_V02 0x003C
#define QMI_VOICE_USSD_RELEASE_IND_V02 0x003D
#define QMI_VOICE_USSD_IND_V02 0x003E
#define QMI_VOICE_SUPS_IND_V02 0x0042
#define QMI_VOICE_ORIG_USSD_NO_WAIT_REQ_V02 0x0043
#define QMI_VOICE_ORIG_USSD_NO_WAIT_RESP_V02 0x0043
#define QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02 0x0043

/* ---- types ------------------------------------------------------------------ */

typedef enum {
  USS_DCS_ASCII_V02 = 0x01,
  USS_DCS_8BIT_V02 = 0x02,
  USS_DCS_UCS2_V02 = 0x03,
  USS_DCS_ENUM_MAX_ENUM_VAL_V02 = 0x7FFFFFFF
} uss_dcs_enum_v02;

/* A USSD string: ASCII and 8-bit one character a byte, UCS-2 big-endian. */
typedef struct {
  uss_dcs_enum_v02 uss_dcs;
  uint32_t uss_data_len;
  uint8_t uss_data[QMI_VOICE_USS_DATA_MAX_V02];
} uss_info_type_v02;

typedef enum {
  FURTHER_USER_ACTION_NOT_REQUIRED_V02 = 0x01,
  FURTHER_USER_ACTION_REQUIRED_V02 = 0x02,
  FURTHER_USER_ACTION_ENUM_MAX_ENUM_VAL_V02 = 0x7FFFFFFF
} further_user_action_enum_v02;

typedef enum {
  VOICE_USSD_DOMAIN_PREF_AUTOMATIC_V02 = 0x01,
  VOICE_USSD_DOMAIN_PREF_CS_ONLY_V02 = 0x02,
  VOICE_USSD_DOMAIN_PREF_PS_ONLY_V02 = 0x03,
  VOICE_USSD_DOMAIN_PREF_ENUM_MAX_ENUM_VAL_V02 = 0x7FFFFFFF
} voice_ussd_domain_pref_enum_v02;

typedef enum {
  ALPHA_DCS_GSM_V02 = 0x01,
  ALPHA_DCS_UCS2_V02 = 0x02,
  ALPHA_DCS_ENUM_MAX_ENUM_VAL_V02 = 0x7FFFFFFF
} alpha_dcs_enum_v02;

typedef struct {
  alpha_dcs_enum_v02 alpha_dcs;
  uint32_t alpha_text_len;
  uint8_t alpha_text[QMI_VOICE_ALPHA_TEXT_MAX_V02];
} voice_alpha_ident_type_v02;

/* What the SIM's call control made of an origination. */
typedef enum {
  VOICE_CC_RESULT_TYPE_VOICE_V02 = 0x00,
  VOICE_CC_RESULT_TYPE_SUPS_V02 = 0x01,
  VOICE_CC_RESULT_TYPE_USSD_V02 = 0x02,
  VOICE_CC_RESULT_TYPE_SMS_V02 = 0x03,
  VOICE_CC_RESULT_TYPE_ENUM_MAX_ENUM_VAL_V02 = 0x7FFFFFFF
} voice_cc_result_type_enum_v02;

typedef struct {
  uint32_t reason;
  uint32_t service_type;
} voice_cc_sups_result_type_v02;

/* Supplementary service types of a SUPS indication. */
#define VOICE_SUPS_SERVICE_TYPE_USSD_V02 0x07

/* ---- requests and responses ---------------------------------------------------- */

/* Each switch is a valid flag and a value; the library sets call, USSD and
 * supplementary-service reports. */
typedef struct {
  uint8_t reg_dtmf_events_valid;
  uint8_t reg_dtmf_events;
  uint8_t reg_voice_privacy_events_valid;
  uint8_t reg_voice_privacy_events;
  uint8_t supps_notification_events_valid;
  uint8_t supps_notification_events;
  uint8_t call_events_valid;
  uint8_t call_events;
  uint8_t handover_events_valid;
  uint8_t handover_events;
  uint8_t speech_events_valid;
  uint8_t speech_events;
  uint8_t ussd_notification_events_valid;
  uint8_t ussd_notification_events;
  uint8_t sups_events_valid;
  uint8_t sups_events;
  /* The later switches of the service, 22 pairs, which the library leaves off. */
  uint8_t further_events[44];
} voice_indication_register_req_msg_v02;

typedef struct {
  qmi_response_type_v01 resp;
} voice_indication_register_resp_msg_v02;

typedef struct {
  uint8_t call_id;
} voice_end_call_req_msg_v02;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t call_id_valid;
  uint8_t call_id;
} voice_end_call_resp_msg_v02;

typedef struct {
  uss_info_type_v02 uss_info;
  uint8_t ussd_domain_pref_valid;
  voice_ussd_domain_pref_enum_v02 ussd_domain_pref;
} voice_orig_ussd_req_msg_v02;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t failure_cause_valid;
  uint32_t failure_cause;
  uint8_t alpha_id_valid;
  voice_alpha_ident_type_v02 alpha_id;
  uint8_t uss_info_valid;
  uss_info_type_v02 uss_info;
  uint8_t call_id_valid;
  uint8_t call_id;
  uint8_t cc_sups_result_valid;
  voice_cc_sups_result_type_v02 cc_sups_result;
  uint8_t cc_result_type_valid;
  voice_cc_result_type_enum_v02 cc_result_type;
  uint8_t uss_info_utf16_valid;
  uint32_t uss_info_utf16_len; /* in UTF-16 units, machine byte order */
  uint16_t uss_info_utf16[QMI_VOICE_USS_DATA_MAX_V02];
} voice_orig_ussd_resp_msg_v02;

typedef struct {
  uss_info_type_v02 uss_info;
} voice_answer_ussd_req_msg_v02;

typedef struct {
  qmi_response_type_v01 resp;
} voice_answer_ussd_resp_msg_v02;

typedef struct {
  qmi_response_type_v01 resp;
} voice_cancel_ussd_resp_msg_v02;

typedef struct {
  uss_info_type_v02 uss_info;
  uint8_t ussd_domain_pref_valid;
  voice_ussd_domain_pref_enum_v02 ussd_domain_pref;
} voice_orig_ussd_no_wait_req_msg_v02;

typedef struct {
  qmi_response_type_v01 resp;
} voice_orig_ussd_no_wait_resp_msg_v02;

/* ---- indications ------------------------------------------------------------- */

/* The network released the USSD transaction. */
typedef struct {
  uint16_t release_cause;
  uint8_t failure_cause_valid;
  uint32_t failure_cause;
} voice_ussd_release_ind_msg_v02;

/* The network's USSD string: a notification, or a question to answer. */
typedef struct {
  further_user_action_enum_v02 notification_type;
  uint8_t uss_info_valid;
  uss_info_type_v02 uss_info;
  uint8_t uss_info_utf16_valid;
  uint32_t uss_info_utf16_len; /* in UTF-16 units, machine byte order */
  uint16_t uss_info_utf16[QMI_VOICE_USS_DATA_MAX_V02];
  uint8_t network_data_valid;
  uint32_t network_data_len;
  uint8_t network_data[QMI_VOICE_USS_NETWORK_DATA_MAX_V02];
  uint8_t failure_cause_valid;
  uint16_t failure_cause;
  uint8_t alpha_id_valid;
  uint8_t alpha_id[QMI_VOICE_USS_ALPHA_BLOCK_V02];
  uint8_t sip_error_code_valid;
  uint32_t sip_error_code;
} voice_ussd_ind_msg_v02;

/* The outcome of an origination that did not wait for it. */
typedef struct {
  uint8_t error_valid;
  qmi_error_type_v01 error;
  uint8_t failure_cause_valid;
  uint16_t failure_cause;
  uint8_t uss_info_valid;
  uss_info_type_v02 uss_info;
  uint8_t alpha_id_valid;
  voice_alpha_ident_type_v02 alpha_id;
  uint8_t cc_result_type_valid;
  voice_cc_result_type_enum_v02 cc_result_type;
  uint8_t uss_info_utf16_valid;
  uint32_t uss_info_utf16_len; /* in UTF-16 units, machine byte order */
  uint16_t uss_info_utf16[QMI_VOICE_USS_DATA_MAX_V02];
  uint8_t sip_error_code_valid;
  uint32_t sip_error_code;
  uint8_t network_data_valid;
  uint32_t network_data_dcs;
  uint32_t network_data_len;
  uint8_t network_data[QMI_VOICE_USS_NO_WAIT_NETWORK_DATA_MAX_V02];
} voice_orig_ussd_no_wait_ind_msg_v02;

typedef struct {
  uint32_t service_type; /* VOICE_SUPS_SERVICE_TYPE_* */
  uint8_t is_modified_by_call_control;
} voice_sups_info_type_v02;

/* A supplementary service operation, e.g. one that call control changed. */
typedef struct {
  voice_sups_info_type_v02 supplementary_service_info;
  uint8_t uss_info_valid;
  uss_info_type_v02 uss_info;
  uint8_t uss_info_utf16_valid;
  uint32_t uss_info_utf16_len; /* in UTF-16 units, machine byte order */
  uint16_t uss_info_utf16[QMI_VOICE_USS_DATA_MAX_V02];
} voice_sups_ind_msg_v02;

qmi_idl_service_object_type voice_get_service_object_internal_v02(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

#ifdef __cplusplus
}
#endif

#endif
