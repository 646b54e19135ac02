/* DMS service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_DEVICE_MANAGEMENT_SERVICE_V01_H
#define VORNPAL_PLATFORM_DEVICE_MANAGEMENT_SERVICE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define DMS_SERVICE_ID_V01 0x02

qmi_idl_service_object_type dms_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

/* ---- message ids (requests and their responses share the id) ---------- */

#define QMI_DMS_SET_EVENT_REPORT_REQ_V01 0x0001
#define QMI_DMS_EVENT_REPORT_IND_V01 0x0001
#define QMI_DMS_GET_DEVICE_REV_ID_REQ_V01 0x0023
#define QMI_DMS_GET_MSISDN_REQ_V01 0x0024
#define QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01 0x0025
#define QMI_DMS_GET_OPERATING_MODE_REQ_V01 0x002D
#define QMI_DMS_SET_OPERATING_MODE_REQ_V01 0x002E
#define QMI_DMS_GET_BAND_CAPABILITY_REQ_V01 0x0045
#define QMI_DMS_GET_HW_VERSION_REQ_V01 0x0078
#define QMI_DMS_SET_FACTORY_SERIAL_NUMBER_REQ_V01 0x007B

/* ---- field capacities ------------------------------------------------- */

#define QMI_DMS_DEVICE_REV_ID_MAX_V01 256
#define QMI_DMS_SERIAL_NUMBER_MAX_V01 32
#define QMI_DMS_VOICE_NUMBER_MAX_V01 82
#define QMI_DMS_MOBILE_ID_MAX_V01 15
#define QMI_DMS_IMSI_MAX_V01 15
#define QMI_DMS_LTE_BAND_LIST_MAX_V01 256
#define QMI_DMS_NR5G_BAND_LIST_MAX_V01 512
#define QMI_DMS_HW_VERSION_MAX_V01 64
#define QMI_DMS_FACTORY_SERIAL_NUMBER_MAX_V01 36

/* Operating modes (the number passes through the library unchanged). */
typedef enum {
  DMS_OP_MODE_ONLINE_V01 = 0,
  DMS_OP_MODE_LOW_POWER_V01 = 1,
  DMS_OP_MODE_FACTORY_TEST_MODE_V01 = 2,
  DMS_OP_MODE_OFFLINE_V01 = 3,
  DMS_OP_MODE_RESETTING_V01 = 4,
  DMS_OP_MODE_SHUTTING_DOWN_V01 = 5,
  DMS_OP_MODE_PERSISTENT_LOW_POWER_V01 = 6,
  DMS_OP_MODE_MODE_ONLY_LOW_POWER_V01 = 7,
  DMS_OP_MODE_NET_TEST_GW_V01 = 8,
  DMS_OP_MODE_CAMP_ONLY_V01 = 9,
  DMS_OPERATING_MODE_ENUM_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} dms_operating_mode_enum_v01;

/* A response that holds only the `resp` pair (8 bytes). */
typedef struct {
  qmi_response_type_v01 resp;
} dms_result_resp_msg_v01;

/* A request of no content: one byte whose value means nothing. */
typedef struct {
  uint8_t placeholder;
} dms_placeholder_req_msg_v01;

/* ---- 1: event reports ------------------------------------------------- */

/* Each report is a pair of a valid byte and a switch (21 bytes). */
typedef struct {
  uint8_t report_power_state_valid;
  uint8_t report_power_state;
  uint8_t lvl_limits_valid;
  uint8_t lvl_limits_low;
  uint8_t lvl_limits_high;
  uint8_t report_pin_state_valid;
  uint8_t report_pin_state;
  uint8_t report_activation_state_valid;
  uint8_t report_activation_state;
  uint8_t report_oprt_mode_state_valid;
  uint8_t report_oprt_mode_state;
  uint8_t report_uim_state_valid;
  uint8_t report_uim_state;
  uint8_t report_wireless_disable_state_valid;
  uint8_t report_wireless_disable_state;
  uint8_t report_prl_init_valid;
  uint8_t report_prl_init;
  uint8_t report_cdma_lock_mode_valid;
  uint8_t report_cdma_lock_mode;
  uint8_t report_device_multisim_info_valid;
  uint8_t report_device_multisim_info;
} dms_set_event_report_req_msg_v01;

typedef dms_result_resp_msg_v01 dms_set_event_report_resp_msg_v01;

/* The decoded indication (3824 bytes); the parts the library reads lead. */
typedef struct {
  uint8_t power_state_valid;
  uint8_t power_status;
  uint8_t battery_lvl;
  uint8_t activation_state_valid;
  uint32_t activation_state;
  uint8_t operating_mode_valid;
  dms_operating_mode_enum_v01 operating_mode;
  uint8_t uim_state_valid;
  uint32_t uim_state;
  uint8_t wireless_disable_state_valid;
  uint32_t wireless_disable_state;
  uint8_t further_reports[3792];
} dms_event_report_ind_msg_v01;

/* ---- 35: revision ----------------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  char device_rev_id[QMI_DMS_DEVICE_REV_ID_MAX_V01 + 1];
  uint8_t boot_code_rev_valid;
  char boot_code_rev[QMI_DMS_DEVICE_REV_ID_MAX_V01 + 1];
  uint8_t pri_rev_valid;
  char pri_rev[16];
} dms_get_device_rev_id_resp_msg_v01;

/* ---- 36: phone number ------------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  char voice_number[QMI_DMS_VOICE_NUMBER_MAX_V01 + 1];
  uint8_t mobile_id_number_valid;
  char mobile_id_number[QMI_DMS_MOBILE_ID_MAX_V01 + 1];
  uint8_t imsi_valid;
  char imsi[QMI_DMS_IMSI_MAX_V01 + 1];
} dms_get_msisdn_resp_msg_v01;

/* ---- 37: serial numbers (368 bytes) ----------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t esn_valid;
  char esn[QMI_DMS_SERIAL_NUMBER_MAX_V01 + 1];
  uint8_t imei_valid;
  char imei[QMI_DMS_SERIAL_NUMBER_MAX_V01 + 1];
  uint8_t meid_valid;
  char meid[QMI_DMS_SERIAL_NUMBER_MAX_V01 + 1];
  uint8_t imeisv_svn_valid;
  char imeisv_svn[QMI_DMS_SERIAL_NUMBER_MAX_V01 + 1];
  uint8_t further_numbers[224];
} dms_get_device_serial_numbers_resp_msg_v01;

/* ---- 45, 46: operating mode ------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  dms_operating_mode_enum_v01 operating_mode;
  uint8_t offline_reason_valid;
  uint16_t offline_reason;
  uint8_t hardware_controlled_mode_valid;
  uint8_t hardware_controlled_mode;
} dms_get_operating_mode_resp_msg_v01;

typedef struct {
  dms_operating_mode_enum_v01 operating_mode;
  uint8_t reserved[12];
} dms_set_operating_mode_req_msg_v01;

typedef dms_result_resp_msg_v01 dms_set_operating_mode_resp_msg_v01;

/* ---- 69: band capability (1600 bytes) --------------------------------- */

typedef dms_placeholder_req_msg_v01 dms_get_band_capability_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint64_t band_capability;
  uint8_t lte_band_capability_valid;
  uint64_t lte_band_capability;
  uint8_t tds_band_capability_valid;
  uint64_t tds_band_capability;
  uint8_t supported_lte_bands_valid;
  uint32_t supported_lte_bands_len;
  uint16_t supported_lte_bands[QMI_DMS_LTE_BAND_LIST_MAX_V01];
  uint8_t supported_nr5g_bands_valid;
  uint32_t supported_nr5g_bands_len;
  uint16_t supported_nr5g_bands[QMI_DMS_NR5G_BAND_LIST_MAX_V01];
} dms_get_band_capability_resp_msg_v01;

/* ---- 120: hardware version -------------------------------------------- */

typedef dms_placeholder_req_msg_v01 dms_get_hw_version_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t hw_version_len;
  char hw_version[QMI_DMS_HW_VERSION_MAX_V01];
} dms_get_hw_version_resp_msg_v01;

/* ---- 123: factory serial number --------------------------------------- */

typedef struct {
  uint32_t fsn_len;
  char fsn[QMI_DMS_FACTORY_SERIAL_NUMBER_MAX_V01];
} dms_set_factory_serial_number_req_msg_v01;

typedef dms_result_resp_msg_v01 dms_set_factory_serial_number_resp_msg_v01;

#ifdef __cplusplus
}
#endif

#endif
