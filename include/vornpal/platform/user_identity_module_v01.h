/* UIM service: service object and the message structures libvornpal uses.
 * Fields the library does not read stand as opaque bytes that keep each
 * structure at the size the service's decoder expects. */
#ifndef VORNPAL_PLATFORM_USER_IDENTITY_MODULE_V01_H
#define VORNPAL_PLATFORM_USER_IDENTITY_MODULE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define UIM_SERVICE_ID_V01 0x0B

qmi_idl_service_object_type uim_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

/* ---- message ids (requests and their responses share the id) ---------- */

#define QMI_UIM_READ_TRANSPARENT_REQ_V01 0x0020
#define QMI_UIM_READ_RECORD_REQ_V01 0x0021
#define QMI_UIM_SET_PIN_PROTECTION_REQ_V01 0x0025
#define QMI_UIM_VERIFY_PIN_REQ_V01 0x0026
#define QMI_UIM_UNBLOCK_PIN_REQ_V01 0x0027
#define QMI_UIM_CHANGE_PIN_REQ_V01 0x0028
#define QMI_UIM_EVENT_REG_REQ_V01 0x002E
#define QMI_UIM_GET_CARD_STATUS_REQ_V01 0x002F
#define QMI_UIM_POWER_DOWN_REQ_V01 0x0030
#define QMI_UIM_POWER_UP_REQ_V01 0x0031
#define QMI_UIM_STATUS_CHANGE_IND_V01 0x0032
#define QMI_UIM_SEND_APDU_REQ_V01 0x003B
#define QMI_UIM_SEND_APDU_IND_V01 0x003B
#define QMI_UIM_LOGICAL_CHANNEL_REQ_V01 0x003F
#define QMI_UIM_OPEN_LOGICAL_CHANNEL_REQ_V01 0x0042
#define QMI_UIM_SWITCH_SLOT_REQ_V01 0x0046
#define QMI_UIM_GET_SLOTS_STATUS_REQ_V01 0x0047
#define QMI_UIM_SLOT_STATUS_CHANGE_IND_V01 0x0048
#define QMI_UIM_GET_SIM_PROFILE_REQ_V01 0x0052
#define QMI_UIM_SET_SIM_PROFILE_REQ_V01 0x0053
#define QMI_UIM_GET_PROFILE_INFO_REQ_V01 0x0064
#define QMI_UIM_GET_EID_REQ_V01 0x0065
#define QMI_UIM_DELETE_PROFILE_REQ_V01 0x0066
#define QMI_UIM_EUICC_MEMORY_RESET_REQ_V01 0x0067
#define QMI_UIM_ADD_PROFILE_REQ_V01 0x0068
#define QMI_UIM_ADD_PROFILE_IND_V01 0x0068
#define QMI_UIM_UPDATE_PROFILE_NICKNAME_REQ_V01 0x0069
#define QMI_UIM_EUICC_DEFAULT_SERVER_ADDRESS_REQ_V01 0x006D

/* ---- field capacities ------------------------------------------------- */

#define QMI_UIM_AID_MAX_V01 32
#define QMI_UIM_PATH_MAX_V01 10
#define QMI_UIM_CONTENT_TRANSPARENT_MAX_V01 4096
#define QMI_UIM_CONTENT_RECORD_MAX_V01 4096
#define QMI_UIM_PIN_MAX_V01 16
#define QMI_UIM_CARDS_MAX_V01 2
#define QMI_UIM_APPS_MAX_V01 8
#define QMI_UIM_PHYSICAL_SLOTS_MAX_V01 5
#define QMI_UIM_ICCID_LEN_MAX_V01 10
#define QMI_UIM_APDU_DATA_MAX_V01 1024
#define QMI_UIM_PROFILES_MAX_V01 8
#define QMI_UIM_EID_LEN_V01 16
#define QMI_UIM_EUICC_NICKNAME_MAX_V01 64
#define QMI_UIM_EUICC_DOWNLOAD_CODE_MAX_V01 255
#define QMI_UIM_FQDN_MAX_V01 255

/* Event registration mask bits. */
#define QMI_UIM_EVENT_CARD_STATUS_BIT_V01 (1u << 0)
#define QMI_UIM_EVENT_PHYSICAL_SLOT_STATUS_BIT_V01 (1u << 4)

/* Card states, application types and states, PIN states. */
#define UIM_CARD_STATE_ABSENT_V01 0
#define UIM_CARD_STATE_PRESENT_V01 1
#define UIM_CARD_STATE_ERROR_V01 2
#define UIM_APP_TYPE_UNKNOWN_V01 0
#define UIM_APP_TYPE_SIM_V01 1
#define UIM_APP_TYPE_USIM_V01 2
#define UIM_APP_TYPE_ISIM_V01 5
#define UIM_APP_STATE_UNKNOWN_V01 0
#define UIM_APP_STATE_DETECTED_V01 1
#define UIM_APP_STATE_PIN1_OR_UPIN_REQ_V01 2
#define UIM_APP_STATE_PUK1_OR_PUK_REQ_V01 3
#define UIM_APP_STATE_PERSON_CHECK_REQ_V01 4
#define UIM_APP_STATE_PIN1_PERM_BLOCKED_V01 5
#define UIM_APP_STATE_ILLEGAL_V01 6
#define UIM_APP_STATE_READY_V01 7
#define UIM_PIN_STATE_UNKNOWN_V01 0
#define UIM_PIN_STATE_ENABLED_NOT_VERIFIED_V01 1
#define UIM_PIN_STATE_ENABLED_VERIFIED_V01 2
#define UIM_PIN_STATE_DISABLED_V01 3
#define UIM_PIN_STATE_BLOCKED_V01 4
#define UIM_PIN_STATE_PERMANENTLY_BLOCKED_V01 5
#define UIM_PHYSICAL_CARD_STATE_UNKNOWN_V01 0
#define UIM_PHYSICAL_CARD_STATE_ABSENT_V01 1
#define UIM_PHYSICAL_CARD_STATE_PRESENT_V01 2
#define UIM_PHYSICAL_SLOT_STATE_INACTIVE_V01 0
#define UIM_PHYSICAL_SLOT_STATE_ACTIVE_V01 1
#define UIM_SESSION_TYPE_PRIMARY_GW_V01 0
#define UIM_SESSION_TYPE_SECONDARY_GW_V01 2
#define UIM_SLOT_1_V01 1
#define UIM_SLOT_2_V01 2
#define UIM_PROFILE_STATE_INACTIVE_V01 0
#define UIM_PROFILE_STATE_ACTIVE_V01 1

/* ---- shared parts ------------------------------------------------------ */

/* A response that holds only the `resp` pair (8 bytes). */
typedef struct {
  qmi_response_type_v01 resp;
} uim_result_resp_msg_v01;

/* A request of no content: one byte whose value means nothing. */
typedef struct {
  uint8_t placeholder;
} uim_placeholder_req_msg_v01;

/* 40 bytes. */
typedef struct {
  uint32_t session_type;
  uint32_t aid_len;
  uint8_t aid[QMI_UIM_AID_MAX_V01];
} uim_session_information_type_v01;

/* 20 bytes; each 16-bit path element low byte first. */
typedef struct {
  uint16_t file_id;
  uint32_t path_len;
  uint8_t path[QMI_UIM_PATH_MAX_V01];
} uim_file_id_type_v01;

typedef struct {
  uint8_t sw1;
  uint8_t sw2;
} uim_card_result_type_v01;

/* ---- 46: event registration ------------------------------------------- */

typedef struct {
  uint32_t event_mask;
} uim_event_reg_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t event_mask_valid;
  uint32_t event_mask;
} uim_event_reg_resp_msg_v01;

/* ---- 47 and 50: card status -------------------------------------------- */

/* 76 bytes. */
typedef struct {
  uint32_t app_type;
  uint32_t app_state;
  uint32_t perso_state;
  uint32_t perso_feature;
  uint8_t perso_retries;
  uint8_t perso_unblock_retries;
  uint32_t aid_value_len;
  uint8_t aid_value[QMI_UIM_AID_MAX_V01];
  uint32_t univ_pin;
  uint32_t pin1_state;
  uint8_t pin1_retries;
  uint8_t puk1_retries;
  uint32_t pin2_state;
  uint8_t pin2_retries;
  uint8_t puk2_retries;
} uim_app_info_type_v01;

/* 628 bytes. */
typedef struct {
  uint32_t card_state;
  uint32_t upin_state;
  uint8_t upin_retries;
  uint8_t upuk_retries;
  uint32_t error_code;
  uint32_t app_info_len;
  uim_app_info_type_v01 app_info[QMI_UIM_APPS_MAX_V01];
} uim_card_info_type_v01;

/* 1268 bytes. */
typedef struct {
  uint16_t index_gw_pri;
  uint16_t index_1x_pri;
  uint16_t index_gw_sec;
  uint16_t index_1x_sec;
  uint32_t card_info_len;
  uim_card_info_type_v01 card_info[QMI_UIM_CARDS_MAX_V01];
} uim_card_status_type_v01;

/* 10616 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t card_status_valid;
  uim_card_status_type_v01 card_status;
  uint8_t extended_card_status_valid;
  uint8_t extended_card_status[9335];
} uim_get_card_status_resp_msg_v01;

/* The decoded indication (1272 bytes). */
typedef struct {
  uint8_t card_status_valid;
  uim_card_status_type_v01 card_status;
} uim_status_change_ind_msg_v01;

/* ---- 71 and 72: physical slots ----------------------------------------- */

/* 28 bytes. */
typedef struct {
  uint32_t physical_card_status;
  uint32_t physical_slot_state;
  uint32_t logical_slot;
  uint32_t iccid_len;
  uint8_t iccid[QMI_UIM_ICCID_LEN_MAX_V01];
} uim_physical_slot_status_type_v01;

/* 48 bytes. */
typedef struct {
  uint32_t card_protocol;
  uint32_t num_app;
  uint32_t atr_value_len;
  uint8_t atr_value[32];
  uint8_t is_euicc;
} uim_physical_slot_info_type_v01;

/* 560 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t slot_status_valid;
  uint32_t slot_status_len;
  uim_physical_slot_status_type_v01 slot_status[QMI_UIM_PHYSICAL_SLOTS_MAX_V01];
  uint8_t slot_info_valid;
  uint32_t slot_info_len;
  uim_physical_slot_info_type_v01 slot_info[QMI_UIM_PHYSICAL_SLOTS_MAX_V01];
  uint8_t further_slot_reports[156];
} uim_get_slots_status_resp_msg_v01;

/* The decoded indication (552 bytes). */
typedef struct {
  uint8_t slot_status_valid;
  uint32_t slot_status_len;
  uim_physical_slot_status_type_v01 slot_status[QMI_UIM_PHYSICAL_SLOTS_MAX_V01];
  uint8_t slot_info_valid;
  uint32_t slot_info_len;
  uim_physical_slot_info_type_v01 slot_info[QMI_UIM_PHYSICAL_SLOTS_MAX_V01];
  uint8_t further_slot_reports[148];
} uim_slot_status_change_ind_msg_v01;

/* ---- 32 and 33: reading files ------------------------------------------ */

/* 76 bytes. */
typedef struct {
  uim_session_information_type_v01 session_information;
  uim_file_id_type_v01 file_id;
  struct {
    uint16_t offset;
    uint16_t length;
  } read_transparent;
  uint8_t indication_token_valid;
  uint32_t indication_token;
  uint8_t encrypt_data_valid;
  uint8_t encrypt_data;
} uim_read_transparent_req_msg_v01;

typedef struct {
  uint32_t content_len;
  uint8_t content[QMI_UIM_CONTENT_TRANSPARENT_MAX_V01];
} uim_read_transparent_result_type_v01;

/* 6224 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t card_result_valid;
  uim_card_result_type_v01 card_result;
  uint8_t read_result_valid;
  uim_read_transparent_result_type_v01 read_result;
  uint8_t indication_token_valid;
  uint32_t indication_token;
  uint8_t further_results[2104];
} uim_read_transparent_resp_msg_v01;

/* 76 bytes. */
typedef struct {
  uim_session_information_type_v01 session_information;
  uim_file_id_type_v01 file_id;
  struct {
    uint16_t record;
    uint16_t length;
  } read_record;
  uint8_t indication_token_valid;
  uint32_t indication_token;
  uint8_t further_options[2];
} uim_read_record_req_msg_v01;

/* 4384 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t card_result_valid;
  uim_card_result_type_v01 card_result;
  uint8_t read_result_valid;
  struct {
    uint32_t content_len;
    uint8_t content[QMI_UIM_CONTENT_RECORD_MAX_V01];
  } read_result;
  uint8_t further_results[272];
} uim_read_record_resp_msg_v01;

/* ---- 37 to 40: PIN ------------------------------------------------------ */

/* 284 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t retries_left_valid;
  struct {
    uint8_t verify_left;
    uint8_t unblock_left;
  } retries_left;
  uint8_t encrypted_pin1_valid;
  struct {
    uint32_t enc_pin1_value_len;
    uint8_t enc_pin1_value[255];
  } encrypted_pin1;
  uint8_t indication_token_valid;
  uint32_t indication_token;
  uint8_t further_results[4];
} uim_pin_resp_msg_v01;

/* 76 bytes. */
typedef struct {
  uim_session_information_type_v01 session_information;
  struct {
    uint32_t pin_id;
    uint32_t pin_operation;
    uint32_t pin_value_len;
    char pin_value[QMI_UIM_PIN_MAX_V01];
  } set_pin_protection;
  uint8_t key_ref_id_valid;
  uint32_t key_ref_id;
} uim_set_pin_protection_req_msg_v01;

/* 336 bytes. */
typedef struct {
  uim_session_information_type_v01 session_information;
  struct {
    uint32_t pin_id;
    uint32_t pin_value_len;
    char pin_value[QMI_UIM_PIN_MAX_V01];
  } verify_pin;
  uint8_t encrypted_pin1_valid;
  struct {
    uint32_t enc_pin1_value_len;
    uint8_t enc_pin1_value[255];
  } encrypted_pin1;
  uint8_t key_ref_id_valid;
  uint32_t key_ref_id;
} uim_verify_pin_req_msg_v01;

/* 84 bytes. */
typedef struct {
  uim_session_information_type_v01 session_information;
  struct {
    uint32_t pin_id;
    uint32_t puk_value_len;
    char puk_value[QMI_UIM_PIN_MAX_V01];
    uint32_t new_pin_value_len;
    char new_pin_value[QMI_UIM_PIN_MAX_V01];
  } unblock_pin;
} uim_unblock_pin_req_msg_v01;

/* 84 bytes. */
typedef struct {
  uim_session_information_type_v01 session_information;
  struct {
    uint32_t pin_id;
    uint32_t old_pin_value_len;
    char old_pin_value[QMI_UIM_PIN_MAX_V01];
    uint32_t new_pin_value_len;
    char new_pin_value[QMI_UIM_PIN_MAX_V01];
  } change_pin;
} uim_change_pin_req_msg_v01;

/* ---- 66, 63, 59: logical channels and APDUs ----------------------------- */

/* 52 bytes. */
typedef struct {
  uint32_t slot;
  uint8_t aid_valid;
  uint32_t aid_len;
  uint8_t aid[QMI_UIM_AID_MAX_V01];
  uint8_t file_control_information_valid;
  uint32_t file_control_information;
} uim_open_logical_channel_req_msg_v01;

/* 1304 bytes; also the response of message 63. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t channel_id_valid;
  uint8_t channel_id;
  uint8_t card_result_valid;
  uim_card_result_type_v01 card_result;
  uint8_t select_response_valid;
  uint32_t select_response_len;
  uint8_t select_response[1284];
} uim_open_logical_channel_resp_msg_v01;

/* 56 bytes. */
typedef struct {
  uint32_t slot;
  uint8_t aid_valid;
  uint32_t aid_len;
  uint8_t aid[QMI_UIM_AID_MAX_V01];
  uint8_t channel_id_valid;
  uint8_t channel_id;
  uint8_t terminate_application_valid;
  uint8_t terminate_application;
  uint8_t file_control_information_valid;
  uint32_t file_control_information;
} uim_logical_channel_req_msg_v01;

typedef uim_open_logical_channel_resp_msg_v01 uim_logical_channel_resp_msg_v01;

/* 1056 bytes. */
typedef struct {
  uint32_t slot;
  uint32_t apdu_len;
  uint8_t apdu[QMI_UIM_APDU_DATA_MAX_V01];
  uint8_t channel_id_valid;
  uint8_t channel_id;
  uint8_t procedure_bytes_valid;
  uint32_t procedure_bytes;
  uint8_t further_options[16];
} uim_send_apdu_req_msg_v01;

/* 1052 bytes. `result` 1 with error 68 (QMI_ERR_INSUFFICIENT_RESOURCES):
 * the answer follows in pieces by indication 59 under `long_response`'s
 * token. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t apdu_valid;
  uint32_t apdu_len;
  uint8_t apdu[QMI_UIM_APDU_DATA_MAX_V01];
  uint8_t long_response_valid;
  struct {
    uint32_t token;
    uint16_t total_length;
  } long_response;
} uim_send_apdu_resp_msg_v01;

/* The decoded indication (1036 bytes): one piece of a long answer. */
typedef struct {
  uint32_t token;
  uint16_t total_length;
  uint16_t offset;
  uint32_t apdu_len;
  uint8_t apdu[QMI_UIM_APDU_DATA_MAX_V01];
} uim_send_apdu_ind_msg_v01;

/* ---- 70, 48, 49: slots and power ----------------------------------------- */

/* 8 bytes. */
typedef struct {
  uint32_t logical_slot;
  uint32_t physical_slot;
} uim_switch_slot_req_msg_v01;

/* 4 bytes. */
typedef struct {
  uint32_t slot;
} uim_power_down_req_msg_v01;

/* 12 bytes. */
typedef struct {
  uint32_t slot;
  uint8_t ignore_hotswap_switch_valid;
  uint8_t ignore_hotswap_switch;
  uint8_t further_options[6];
} uim_power_up_req_msg_v01;

/* ---- 82 to 109: eUICC profiles ------------------------------------------ */

/* 4 bytes: GET_SIM_PROFILE, GET_EID. */
typedef struct {
  uint32_t slot;
} uim_slot_req_msg_v01;

/* 8 bytes: GET_PROFILE_INFO, DELETE_PROFILE. */
typedef struct {
  uint32_t slot;
  uint32_t profile_id;
} uim_profile_req_msg_v01;

typedef struct {
  uint32_t profile_id;
  uint32_t profile_type;
} uim_profile_info_type_v01;

/* 92 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t profile_info_valid;
  uint32_t profile_info_len;
  uim_profile_info_type_v01 profile_info[QMI_UIM_PROFILES_MAX_V01];
  uint8_t active_profile_info_valid;
  uim_profile_info_type_v01 active_profile_info;
} uim_get_sim_profile_resp_msg_v01;

/* 12 bytes. */
typedef struct {
  uint32_t slot;
  uint32_t profile_id;
  uint8_t enable_profile_valid;
  uint8_t enable_profile;
} uim_set_sim_profile_req_msg_v01;

/* 1280 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t profile_iccid_valid;
  uint32_t profile_iccid_len;
  uint8_t profile_iccid[QMI_UIM_ICCID_LEN_MAX_V01];
  uint8_t profile_state_valid;
  uint32_t profile_state;
  uint8_t profile_nickname_valid;
  uint32_t profile_nickname_len;
  char profile_nickname[QMI_UIM_EUICC_NICKNAME_MAX_V01];
  uint8_t further_info[1176];
} uim_get_profile_info_resp_msg_v01;

/* 32 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t eid_value_valid;
  uint32_t eid_value_len;
  uint8_t eid_value[QMI_UIM_EID_LEN_V01];
} uim_get_eid_resp_msg_v01;

/* 16 bytes. */
typedef struct {
  uint32_t slot;
  uint8_t euicc_memory_reset_options_valid;
  struct {
    uint32_t options;
    uint32_t reserved;
  } euicc_memory_reset_options;
} uim_euicc_memory_reset_req_msg_v01;

/* 532 bytes. */
typedef struct {
  uint32_t slot;
  uint32_t activation_code_len;
  char activation_code[QMI_UIM_EUICC_DOWNLOAD_CODE_MAX_V01 + 1];
  uint8_t confirmation_code_valid;
  uint32_t confirmation_code_len;
  char confirmation_code[QMI_UIM_EUICC_DOWNLOAD_CODE_MAX_V01 + 1];
  uint8_t further_options[4];
} uim_add_profile_req_msg_v01;

/* The decoded indication (112 bytes): download progress of a profile. */
typedef struct {
  uint32_t slot;
  struct {
    uint32_t download_status;
    uint8_t error_cause_valid;
    uint32_t error_cause;
  } profile_download_status;
  uint8_t percentage_valid;
  uint8_t percentage;
  uint8_t further_reports[94];
} uim_add_profile_ind_msg_v01;

/* 80 bytes. */
typedef struct {
  uint32_t slot;
  uint32_t profile_id;
  uint8_t nickname_valid;
  uint32_t nickname_len;
  char nickname[QMI_UIM_EUICC_NICKNAME_MAX_V01];
} uim_update_profile_nickname_req_msg_v01;

/* 268 bytes. */
typedef struct {
  uint32_t slot;
  uint8_t default_smdp_address_valid;
  uint32_t default_smdp_address_len;
  char default_smdp_address[QMI_UIM_FQDN_MAX_V01 + 1];
} uim_euicc_default_server_address_req_msg_v01;

/* 532 bytes. */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t default_smdp_address_valid;
  uint32_t default_smdp_address_len;
  char default_smdp_address[QMI_UIM_FQDN_MAX_V01 + 1];
  uint8_t further_addresses[260];
} uim_euicc_default_server_address_resp_msg_v01;

#ifdef __cplusplus
}
#endif

#endif
