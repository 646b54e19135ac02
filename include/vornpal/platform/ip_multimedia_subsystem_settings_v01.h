/* IMSS service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_IP_MULTIMEDIA_SUBSYSTEM_SETTINGS_V01_H
#define VORNPAL_PLATFORM_IP_MULTIMEDIA_SUBSYSTEM_SETTINGS_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define IMSS_SERVICE_ID_V01 0x12

#define QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 0x008F
#define QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_RESP_V01 0x008F
#define QMI_IMS_SETTINGS_GET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 0x0090
#define QMI_IMS_SETTINGS_GET_IMS_SERVICE_ENABLE_CONFIG_RESP_V01 0x0090
#define QMI_IMS_SETTINGS_IMS_SERVICE_ENABLE_CONFIG_IND_V01 0x0091
#define QMI_IMS_BIND_SUBSCRIPTION_REQ_V01 0x0098
#define QMI_IMS_BIND_SUBSCRIPTION_RESP_V01 0x0098
#define QMI_IMS_GET_ACTIVE_SUBSCRIPTION_STATUS_REQ_V01 0x009A
#define QMI_IMS_GET_ACTIVE_SUBSCRIPTION_STATUS_RESP_V01 0x009A

typedef enum {
  IMS_SUBSCRIPTION_TYPE_PRIMARY_V01 = 0x00,
  IMS_SUBSCRIPTION_TYPE_SECONDARY_V01 = 0x01,
  IMS_SUBSCRIPTION_TYPE_TERTIARY_V01 = 0x02,
  IMS_SUBSCRIPTION_TYPE_ENUM_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} ims_subscription_type_enum_v01;

/* The outcome of a settings request as the IMS stack gives it. */
typedef enum {
  IMS_SETTINGS_MSG_NO_ERR_V01 = 0,
  IMS_SETTINGS_MSG_IMS_NOT_READY_V01 = 1,
  IMS_SETTINGS_MSG_FILE_NOT_AVAILABLE_V01 = 2,
  IMS_SETTINGS_MSG_READ_FAILED_V01 = 3,
  IMS_SETTINGS_MSG_WRITE_FAILED_V01 = 4,
  IMS_SETTINGS_MSG_OTHER_INTERNAL_ERR_V01 = 5,
  IMS_SETTINGS_RSP_ENUM_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} ims_settings_rsp_enum_v01;

/* The IMS services, each a valid flag and a value, in the order of the
 * service's messages. The set request, the get response and the indication
 * carry them alike. */
#define IMS_SERVICE_ENABLE_CONFIG_FIELDS_V01          \
  uint8_t volte_enabled_valid;                         \
  uint8_t volte_enabled;                               \
  uint8_t videotelephony_enabled_valid;                \
  uint8_t videotelephony_enabled;                      \
  uint8_t mobile_data_enabled_valid;                   \
  uint8_t mobile_data_enabled;                         \
  uint8_t service_mask_by_network_enabled_valid;       \
  uint8_t service_mask_by_network_enabled;             \
  uint8_t wifi_calling_enabled_valid;                  \
  uint8_t wifi_calling_enabled;                        \
  uint8_t call_mode_preference_valid;                  \
  uint32_t call_mode_preference;                       \
  uint8_t wifi_calling_in_roaming_enabled_valid;       \
  uint8_t wifi_calling_in_roaming_enabled;             \
  uint8_t wifi_provisioning_id_valid;                  \
  uint32_t wifi_provisioning_id;                       \
  uint8_t ims_service_enabled_valid;                   \
  uint8_t ims_service_enabled;                         \
  uint8_t ut_enabled_valid;                            \
  uint8_t ut_enabled;                                  \
  uint8_t sms_enabled_valid;                           \
  uint8_t sms_enabled;                                 \
  uint8_t dan_enabled_valid;                           \
  uint8_t dan_enabled;                                 \
  uint8_t ussd_enabled_valid;                          \
  uint8_t ussd_enabled;                                \
  uint8_t mwi_enabled_valid;                           \
  uint8_t mwi_enabled;                                 \
  uint8_t presence_enabled_valid;                      \
  uint8_t presence_enabled;                            \
  uint8_t autoconfig_enabled_valid;                    \
  uint8_t autoconfig_enabled;                          \
  uint8_t xdm_client_enabled_valid;                    \
  uint8_t xdm_client_enabled;                          \
  uint8_t rcs_messaging_enabled_valid;                 \
  uint8_t rcs_messaging_enabled;                       \
  uint8_t call_mode_pref_roam_enabled_valid;           \
  uint8_t call_mode_pref_roam_enabled;                 \
  uint8_t rtt_enabled_valid;                           \
  uint8_t rtt_enabled;                                 \
  uint8_t call_mode_roam_preference_valid;             \
  uint32_t call_mode_roam_preference;                  \
  uint8_t carrier_config_enabled_valid;                \
  uint8_t carrier_config_enabled;                      \
  uint8_t call_mode_preference_ext_valid;              \
  uint64_t call_mode_preference_ext;                   \
  uint8_t call_mode_roam_preference_ext_valid;         \
  uint64_t call_mode_roam_preference_ext;              \
  uint8_t mmtel_call_composer_config_enabled_valid;    \
  uint8_t mmtel_call_composer_config_enabled;          \
  uint8_t options_config_enabled_valid;                \
  uint8_t options_config_enabled;

typedef struct {
  IMS_SERVICE_ENABLE_CONFIG_FIELDS_V01
} ims_settings_set_ims_service_enable_config_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t settings_resp_valid;
  ims_settings_rsp_enum_v01 settings_resp;
} ims_settings_set_ims_service_enable_config_rsp_msg_v01;

typedef struct {
  char __placeholder;
} ims_settings_get_ims_service_enable_config_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t settings_resp_valid;
  ims_settings_rsp_enum_v01 settings_resp;
  IMS_SERVICE_ENABLE_CONFIG_FIELDS_V01
} ims_settings_get_ims_service_enable_config_rsp_msg_v01;

/* Sent to every client when a setting changed. */
typedef struct {
  IMS_SERVICE_ENABLE_CONFIG_FIELDS_V01
} ims_settings_ims_service_enable_config_ind_msg_v01;

typedef struct {
  ims_subscription_type_enum_v01 subscription_type;
} ims_bind_subscription_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t common_resp_valid;
  ims_settings_rsp_enum_v01 common_resp;
} ims_bind_subscription_rsp_msg_v01;

typedef struct {
  char __placeholder;
} ims_get_active_subscription_status_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t common_resp_valid;
  ims_settings_rsp_enum_v01 common_resp;
  uint8_t active_on_primary_subscription_valid;
  uint8_t active_on_primary_subscription;
  uint8_t active_on_secondary_subscription_valid;
  uint8_t active_on_secondary_subscription;
  uint8_t active_on_tertiary_subscription_valid;
  uint8_t active_on_tertiary_subscription;
} ims_get_active_subscription_status_rsp_msg_v01;

qmi_idl_service_object_type imss_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

#ifdef __cplusplus
}
#endif

#endif
