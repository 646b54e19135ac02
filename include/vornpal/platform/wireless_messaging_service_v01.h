/* WMS service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_WIRELESS_MESSAGING_SERVICE_V01_H
#define VORNPAL_PLATFORM_WIRELESS_MESSAGING_SERVICE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define WMS_SERVICE_ID_V01 0x05

qmi_idl_service_object_type wms_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

/* ---- message ids (requests and their responses share the id) ---------- */

#define QMI_WMS_SET_EVENT_REPORT_REQ_V01 0x0001
#define QMI_WMS_EVENT_REPORT_IND_V01 0x0001
#define QMI_WMS_RAW_SEND_REQ_V01 0x0020
#define QMI_WMS_RAW_WRITE_REQ_V01 0x0021
#define QMI_WMS_RAW_READ_REQ_V01 0x0022
#define QMI_WMS_MODIFY_TAG_REQ_V01 0x0023
#define QMI_WMS_DELETE_REQ_V01 0x0024
#define QMI_WMS_LIST_MESSAGES_REQ_V01 0x0031
#define QMI_WMS_SET_ROUTES_REQ_V01 0x0032
#define QMI_WMS_GET_ROUTES_REQ_V01 0x0033
#define QMI_WMS_GET_SMSC_ADDRESS_REQ_V01 0x0034
#define QMI_WMS_SET_SMSC_ADDRESS_REQ_V01 0x0035
#define QMI_WMS_GET_STORE_MAX_SIZE_REQ_V01 0x0036
#define QMI_WMS_SEND_ACK_REQ_V01 0x0037
#define QMI_WMS_MEMORY_FULL_IND_V01 0x003F
#define QMI_WMS_SEND_FROM_MEM_STORE_REQ_V01 0x0042
#define QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01 0x0045
#define QMI_WMS_INDICATION_REGISTER_REQ_V01 0x0047
#define QMI_WMS_GET_TRANSPORT_LAYER_INFO_REQ_V01 0x0048
#define QMI_WMS_TRANSPORT_LAYER_INFO_IND_V01 0x0049
#define QMI_WMS_GET_TRANSPORT_NW_REG_INFO_REQ_V01 0x004A
#define QMI_WMS_TRANSPORT_NW_REG_INFO_IND_V01 0x004B
#define QMI_WMS_GET_DOMAIN_PREF_CONFIG_REQ_V01 0x0051
#define QMI_WMS_SET_DOMAIN_PREF_CONFIG_REQ_V01 0x0052
#define QMI_WMS_GET_SERVICE_READY_STATUS_REQ_V01 0x005C
#define QMI_WMS_SERVICE_READY_IND_V01 0x005D

/* ---- field capacities ------------------------------------------------- */

#define WMS_MESSAGE_LENGTH_MAX_V01 308
#define WMS_MESSAGE_TUPLE_MAX_V01 255
#define WMS_ROUTE_TUPLE_MAX_V01 10
#define WMS_ADDRESS_DIGIT_MAX_V01 20
#define WMS_ADDRESS_TYPE_MAX_V01 3
#define WMS_SMSC_ADDRESS_DATA_MAX_V01 20
#define WMS_ETWS_MESSAGE_LENGTH_MAX_V01 1252

/* ---- enumerations (carried as 32-bit words) --------------------------- */

/* storage_type */
#define WMS_STORAGE_TYPE_UIM_V01 0x00
#define WMS_STORAGE_TYPE_NV_V01 0x01
#define WMS_STORAGE_TYPE_NONE_V01 0xFFFFFFFFu

/* format of a raw message */
#define WMS_MESSAGE_FORMAT_CDMA_V01 0x00
#define WMS_MESSAGE_FORMAT_GW_PP_V01 0x06
#define WMS_MESSAGE_FORMAT_GW_BC_V01 0x07
#define WMS_MESSAGE_FORMAT_MWI_V01 0x08

/* tag_type */
#define WMS_TAG_TYPE_MT_READ_V01 0x00
#define WMS_TAG_TYPE_MT_NOT_READ_V01 0x01
#define WMS_TAG_TYPE_MO_SENT_V01 0x02
#define WMS_TAG_TYPE_MO_NOT_SENT_V01 0x03

/* message_mode */
#define WMS_MESSAGE_MODE_CDMA_V01 0x00
#define WMS_MESSAGE_MODE_GW_V01 0x01

/* route_value: what the modem does with a new message of a class */
#define WMS_ROUTE_DISCARD_V01 0x00
#define WMS_ROUTE_STORE_AND_NOTIFY_V01 0x01
#define WMS_ROUTE_TRANSFER_ONLY_V01 0x02
#define WMS_ROUTE_TRANSFER_AND_ACK_V01 0x03
#define WMS_ROUTE_TRANSFER_TO_CLIENT_V01 0x04

/* message_protocol of an acknowledgement */
#define WMS_MESSAGE_PROTOCOL_CDMA_V01 0x00
#define WMS_MESSAGE_PROTOCOL_WCDMA_V01 0x01

/* ---- shared parts ------------------------------------------------------ */

typedef struct {
  uint32_t storage_type;
  uint32_t storage_index;
} wms_message_memory_storage_identification_type_v01;

typedef struct {
  uint32_t rp_cause;
  uint32_t tp_cause;
} wms_gw_cause_info_type_v01;

typedef struct {
  uint32_t route_type;
  uint32_t route_class;
  uint32_t route_memory;
  uint32_t route_value;
} wms_set_route_list_tuple_type_v01;

/* A response that holds only the `resp` pair (8 bytes). */
typedef struct {
  qmi_response_type_v01 resp;
} wms_result_resp_msg_v01;

/* ---- QMI_WMS_SET_EVENT_REPORT_REQ_V01 --------------------------------- */

typedef struct {
  uint8_t report_mt_message_valid;
  uint8_t report_mt_message;
  uint8_t report_mwi_message_valid;
  uint8_t report_mwi_message;
  uint8_t report_call_control_info_valid;
  uint8_t report_call_control_info;
} wms_set_event_report_req_msg_v01;

/* ---- QMI_WMS_EVENT_REPORT_IND_V01 ------------------------------------- */

typedef struct {
  uint32_t ack_indicator; /* 0: the client must acknowledge */
  uint32_t transaction_id;
  uint32_t format;
  uint32_t data_len;
  uint8_t data[WMS_MESSAGE_LENGTH_MAX_V01];
} wms_transfer_route_mt_message_type_v01;

typedef struct {
  uint32_t notification_type;
  uint32_t data_len;
  uint8_t data[WMS_ETWS_MESSAGE_LENGTH_MAX_V01];
} wms_etws_message_type_v01;

typedef struct {
  uint32_t data_len;
  uint8_t data[WMS_SMSC_ADDRESS_DATA_MAX_V01];
} wms_mt_message_smsc_address_type_v01;

typedef struct {
  uint8_t mt_message_valid;
  wms_message_memory_storage_identification_type_v01 mt_message;
  uint8_t transfer_route_mt_message_valid;
  wms_transfer_route_mt_message_type_v01 transfer_route_mt_message;
  uint8_t message_mode_valid;
  uint32_t message_mode;
  uint8_t etws_message_valid;
  wms_etws_message_type_v01 etws_message;
  uint8_t mt_message_smsc_address_valid;
  wms_mt_message_smsc_address_type_v01 mt_message_smsc_address;
  uint8_t sms_on_ims_valid;
  uint8_t sms_on_ims;
} wms_event_report_ind_msg_v01;

/* ---- QMI_WMS_RAW_SEND_REQ_V01 ------------------------------------------ */

typedef struct {
  uint32_t format;
  uint32_t raw_message_len;
  uint8_t raw_message[WMS_MESSAGE_LENGTH_MAX_V01];
} wms_send_raw_message_data_type_v01;

typedef struct {
  wms_send_raw_message_data_type_v01 raw_message_data;
  uint8_t link_timer_valid;
  uint8_t link_timer;
  uint8_t sms_on_ims_valid;
  uint8_t sms_on_ims;
} wms_raw_send_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint16_t message_id;
  uint8_t cause_code_valid;
  uint32_t cause_code;
  uint8_t error_class_valid;
  uint32_t error_class;
  uint8_t gw_cause_info_valid;
  wms_gw_cause_info_type_v01 gw_cause_info;
  uint8_t message_delivery_failure_type_valid;
  uint32_t message_delivery_failure_type;
  uint8_t message_delivery_failure_cause_valid;
  uint32_t message_delivery_failure_cause;
} wms_raw_send_resp_msg_v01;

/* ---- QMI_WMS_RAW_WRITE_REQ_V01 ----------------------------------------- */

typedef struct {
  uint32_t storage_type;
  uint32_t format;
  uint32_t raw_message_len;
  uint8_t raw_message[WMS_MESSAGE_LENGTH_MAX_V01];
} wms_raw_message_write_data_type_v01;

typedef struct {
  wms_raw_message_write_data_type_v01 raw_message_write_data;
  uint8_t tag_type_valid;
  uint32_t tag_type;
} wms_raw_write_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t storage_index;
} wms_raw_write_resp_msg_v01;

/* ---- QMI_WMS_RAW_READ_REQ_V01 ------------------------------------------ */

typedef struct {
  wms_message_memory_storage_identification_type_v01 message_memory_storage_identification;
  uint8_t message_mode_valid;
  uint32_t message_mode;
} wms_raw_read_req_msg_v01;

typedef struct {
  uint32_t tag_type;
  uint32_t format;
  uint32_t data_len;
  uint8_t data[WMS_MESSAGE_LENGTH_MAX_V01];
} wms_read_raw_message_data_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  wms_read_raw_message_data_type_v01 raw_message_data;
} wms_raw_read_resp_msg_v01;

/* ---- QMI_WMS_MODIFY_TAG_REQ_V01 ---------------------------------------- */

typedef struct {
  uint32_t storage_type;
  uint32_t storage_index;
  uint32_t tag_type;
} wms_message_tag_type_v01;

typedef struct {
  wms_message_tag_type_v01 wms_message_tag;
  uint8_t message_mode_valid;
  uint32_t message_mode;
} wms_modify_tag_req_msg_v01;

/* ---- QMI_WMS_DELETE_REQ_V01 -------------------------------------------- */

typedef struct {
  uint32_t storage_type;
  uint8_t index_valid;
  uint32_t index;
  uint8_t tag_type_valid;
  uint32_t tag_type;
  uint8_t message_mode_valid;
  uint32_t message_mode;
} wms_delete_req_msg_v01;

/* ---- QMI_WMS_LIST_MESSAGES_REQ_V01 ------------------------------------- */

typedef struct {
  uint32_t storage_type;
  uint8_t tag_type_valid;
  uint32_t tag_type;
  uint8_t message_mode_valid;
  uint32_t message_mode;
} wms_list_messages_req_msg_v01;

typedef struct {
  uint32_t message_index;
  uint32_t tag_type;
} wms_message_tuple_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t message_tuple_len;
  wms_message_tuple_type_v01 message_tuple[WMS_MESSAGE_TUPLE_MAX_V01];
} wms_list_messages_resp_msg_v01;

/* ---- QMI_WMS_SET_ROUTES_REQ_V01, QMI_WMS_GET_ROUTES_REQ_V01 ------------ */

typedef struct {
  uint32_t route_list_tuple_len;
  wms_set_route_list_tuple_type_v01 route_list_tuple[WMS_ROUTE_TUPLE_MAX_V01];
  uint8_t transfer_ind_valid;
  uint32_t transfer_ind;
} wms_set_routes_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t route_list_len;
  wms_set_route_list_tuple_type_v01 route_list[WMS_ROUTE_TUPLE_MAX_V01];
  uint8_t transfer_ind_valid;
  uint32_t transfer_ind;
} wms_get_routes_resp_msg_v01;

/* ---- QMI_WMS_GET_SMSC_ADDRESS_REQ_V01, QMI_WMS_SET_SMSC_ADDRESS_REQ_V01 - */

typedef struct {
  char smsc_address_type[WMS_ADDRESS_TYPE_MAX_V01];
  uint32_t smsc_address_digits_len;
  char smsc_address_digits[WMS_ADDRESS_DIGIT_MAX_V01];
} wms_smsc_address_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  wms_smsc_address_type_v01 smsc_address;
} wms_get_smsc_address_resp_msg_v01;

typedef struct {
  char smsc_address_digits[WMS_ADDRESS_DIGIT_MAX_V01 + 1 + 1];
  uint8_t smsc_address_type_valid;
  char smsc_address_type[WMS_ADDRESS_TYPE_MAX_V01 + 1];
} wms_set_smsc_address_req_msg_v01;

/* ---- QMI_WMS_GET_STORE_MAX_SIZE_REQ_V01 -------------------------------- */

typedef struct {
  uint32_t storage_type;
  uint8_t message_mode_valid;
  uint32_t message_mode;
} wms_get_store_max_size_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t mem_store_max_size;
  uint8_t free_slots_valid;
  uint32_t free_slots;
} wms_get_store_max_size_resp_msg_v01;

/* ---- QMI_WMS_SEND_ACK_REQ_V01 ------------------------------------------ */

typedef struct {
  uint32_t transaction_id;
  uint32_t message_protocol;
  uint8_t success;
} wms_ack_information_type_v01;

typedef struct {
  wms_ack_information_type_v01 ack_information;
  uint8_t wms_3gpp_failure_information_valid;
  wms_gw_cause_info_type_v01 wms_3gpp_failure_information;
  uint8_t sms_on_ims_valid;
  uint8_t sms_on_ims;
} wms_send_ack_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t failure_cause_valid;
  uint32_t failure_cause;
} wms_send_ack_resp_msg_v01;

/* ---- QMI_WMS_MEMORY_FULL_IND_V01 --------------------------------------- */

typedef struct {
  uint32_t storage_type;
  uint32_t message_mode;
} wms_memory_full_info_type_v01;

typedef struct {
  wms_memory_full_info_type_v01 memory_full_info;
} wms_memory_full_ind_msg_v01;

/* ---- QMI_WMS_SEND_FROM_MEM_STORE_REQ_V01 ------------------------------- */

typedef struct {
  uint32_t storage_type;
  uint32_t storage_index;
  uint32_t message_mode;
} wms_send_from_mem_store_data_type_v01;

typedef struct {
  wms_send_from_mem_store_data_type_v01 send_from_mem_store_data;
} wms_send_from_mem_store_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t message_id_valid;
  uint16_t message_id;
  uint8_t cause_code_valid;
  uint32_t cause_code;
  uint8_t error_class_valid;
  uint32_t error_class;
  uint8_t gw_cause_info_valid;
  wms_gw_cause_info_type_v01 gw_cause_info;
  uint8_t message_delivery_failure_type_valid;
  uint32_t message_delivery_failure_type;
} wms_send_from_mem_store_resp_msg_v01;

/* ---- QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01 -------------------------------- */

typedef struct {
  uint8_t primary_client;
} wms_set_primary_client_req_msg_v01;

/* ---- QMI_WMS_INDICATION_REGISTER_REQ_V01 ------------------------------- */

typedef struct {
  uint8_t reg_transport_layer_info_events_valid;
  uint8_t reg_transport_layer_info_events;
  uint8_t reg_transport_nw_reg_info_events_valid;
  uint8_t reg_transport_nw_reg_info_events;
  uint8_t reg_call_status_info_events_valid;
  uint8_t reg_call_status_info_events;
  uint8_t reg_service_ready_events_valid;
  uint8_t reg_service_ready_events;
  uint8_t reg_broadcast_config_events_valid;
  uint8_t reg_broadcast_config_events;
  uint8_t reg_transport_layer_mwi_info_events_valid;
  uint8_t reg_transport_layer_mwi_info_events;
  uint8_t reg_sim_ready_events_valid;
  uint8_t reg_sim_ready_events;
  uint8_t reg_message_waiting_events_valid;
  uint8_t reg_message_waiting_events;
  uint8_t reg_ims_pref_events_valid;
  uint8_t reg_ims_pref_events;
} wms_indication_register_req_msg_v01;

/* ---- transport layer and network registration ------------------------- */

typedef struct {
  uint32_t transport_type;
  uint32_t transport_cap;
} wms_transport_layer_info_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t registered_ind_valid;
  uint8_t registered_ind;
  uint8_t transport_layer_info_valid;
  wms_transport_layer_info_type_v01 transport_layer_info;
} wms_get_transport_layer_resp_msg_v01;

typedef struct {
  uint8_t registered_ind;
  uint8_t transport_layer_info_valid;
  wms_transport_layer_info_type_v01 transport_layer_info;
} wms_transport_layer_info_ind_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t transport_nw_reg_status_valid;
  uint32_t transport_nw_reg_status;
} wms_get_transport_nw_reg_resp_msg_v01;

typedef struct {
  uint32_t transport_nw_reg_status;
} wms_transport_nw_reg_info_ind_msg_v01;

/* ---- service ready ----------------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t ready_status_valid;
  uint32_t ready_status;
} wms_get_service_ready_status_resp_msg_v01;

typedef struct {
  uint32_t ready_status;
  uint8_t subscription_valid;
  uint32_t subscription;
} wms_service_ready_ind_msg_v01;

/* ---- domain preference ------------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t lte_domain_pref_valid;
  uint32_t lte_domain_pref;
  uint8_t gw_domain_pref_valid;
  uint32_t gw_domain_pref;
} wms_get_domain_pref_config_resp_msg_v01;

typedef struct {
  uint8_t lte_domain_pref_valid;
  uint32_t lte_domain_pref;
  uint8_t gw_domain_pref_valid;
  uint32_t gw_domain_pref;
} wms_set_domain_pref_config_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t lte_domain_pref_outcome_valid;
  uint32_t lte_domain_pref_outcome;
  uint8_t gw_domain_pref_outcome_valid;
  uint32_t gw_domain_pref_outcome;
} wms_set_domain_pref_config_resp_msg_v01;

#ifdef __cplusplus
}
#endif

#endif
