/* IMSA service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_IP_MULTIMEDIA_SUBSYSTEM_APPLICATION_V01_H
#define VORNPAL_PLATFORM_IP_MULTIMEDIA_SUBSYSTEM_APPLICATION_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define IMSA_SERVICE_ID_V01 0x21

#define IMSA_REG_ERROR_STRING_LEN_V01 256
#define IMSA_MAX_NUM_URI_V01 30
#define IMSA_URI_LEN_V01 256

#define QMI_IMSA_GET_REGISTRATION_STATUS_REQ_V01 0x0020
#define QMI_IMSA_GET_REGISTRATION_STATUS_RESP_V01 0x0020
#define QMI_IMSA_REGISTRATION_STATUS_IND_V01 0x0022
#define QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01 0x0033
#define QMI_IMSA_SET_BIND_SUBSCRIPTION_RESP_V01 0x0033
#define QMI_IMSA_GET_ACTIVE_SUBSCRIPTION_STATUS_REQ_V01 0x0036
#define QMI_IMSA_GET_ACTIVE_SUBSCRIPTION_STATUS_RESP_V01 0x0036

typedef enum {
  IMSA_STATUS_NOT_REGISTERED_V01 = 0x00,
  IMSA_STATUS_REGISTERING_V01 = 0x01,
  IMSA_STATUS_REGISTERED_V01 = 0x02,
  IMSA_STATUS_LIMITED_REGISTERED_V01 = 0x03,
  IMSA_REGISTRATION_STATUS_ENUM_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} imsa_ims_registration_status_enum_v01;

typedef enum {
  IMSA_WLAN_V01 = 0x00,
  IMSA_WWAN_V01 = 0x01,
  IMSA_IWLAN_V01 = 0x02,
  IMSA_REGISTRATION_NETWORK_ENUM_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} imsa_registration_network_enum_v01;

typedef enum {
  IMSA_BIND_SUBSCRIPTION_TYPE_PRIMARY_V01 = 0x00,
  IMSA_BIND_SUBSCRIPTION_TYPE_SECONDARY_V01 = 0x01,
  IMSA_BIND_SUBSCRIPTION_TYPE_TERTIARY_V01 = 0x02,
  IMSA_BIND_SUBSCRIPTION_TYPE_ENUM_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} imsa_bind_subscription_type_enum_v01;

typedef struct {
  char uri[IMSA_URI_LEN_V01];
} imsa_uri_type_v01;

typedef struct {
  char __placeholder;
} imsa_get_registration_status_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t ims_registered_valid;
  uint8_t ims_registered;
  uint8_t ims_registration_failure_error_code_valid;
  uint16_t ims_registration_failure_error_code;
  uint8_t ims_reg_status_valid;
  imsa_ims_registration_status_enum_v01 ims_reg_status;
  uint8_t registration_error_string_valid;
  char registration_error_string[IMSA_REG_ERROR_STRING_LEN_V01 + 1];
  uint8_t registration_network_valid;
  imsa_registration_network_enum_v01 registration_network;
  uint8_t uri_list_valid;
  uint32_t uri_list_len;
  imsa_uri_type_v01 uri_list[IMSA_MAX_NUM_URI_V01];
  uint8_t subscription_type_valid;
  imsa_bind_subscription_type_enum_v01 subscription_type;
} imsa_get_registration_status_resp_msg_v01;

/* Sent to every client when the registration changes. */
typedef struct {
  uint8_t ims_registered;
  uint8_t ims_registration_failure_error_code_valid;
  uint16_t ims_registration_failure_error_code;
  uint8_t ims_reg_status_valid;
  imsa_ims_registration_status_enum_v01 ims_reg_status;
  uint8_t registration_network_valid;
  imsa_registration_network_enum_v01 registration_network;
} imsa_registration_status_ind_msg_v01;

typedef struct {
  imsa_bind_subscription_type_enum_v01 bind_subs;
  /* A later optional field of the service, left clear. */
  uint8_t bind_subs_ext_valid;
} imsa_set_bind_subscription_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
} imsa_set_bind_subscription_resp_msg_v01;

typedef struct {
  char __placeholder;
} imsa_get_active_subscription_status_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t active_on_primary_subscription_valid;
  uint8_t active_on_primary_subscription;
  uint8_t active_on_secondary_subscription_valid;
  uint8_t active_on_secondary_subscription;
  uint8_t active_on_tertiary_subscription_valid;
  uint8_t active_on_tertiary_subscription;
} imsa_get_active_subscription_status_resp_msg_v01;

qmi_idl_service_object_type imsa_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

#ifdef __cplusplus
}
#endif

#endif
