/*
 * WDS service: service object and the message structures libvornpal uses.
 *
 * Only the fields the library reads or writes carry names; the rest of each
 * structure is kept as reserved bytes, so that every structure has the size
 * the service's decoder expects. Enumerated fields are 32-bit words.
 */
#ifndef VORNPAL_PLATFORM_WIRELESS_DATA_SERVICE_V01_H
#define VORNPAL_PLATFORM_WIRELESS_DATA_SERVICE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define WDS_SERVICE_ID_V01 0x01

#define QMI_WDS_SET_EVENT_REPORT_REQ_V01 0x0001
#define QMI_WDS_START_NETWORK_INTERFACE_REQ_V01 0x0020
#define QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01 0x0021
#define QMI_WDS_PKT_SRVC_STATUS_IND_V01 0x0022
#define QMI_WDS_MODIFY_PROFILE_SETTINGS_REQ_V01 0x0028
#define QMI_WDS_DELETE_PROFILE_REQ_V01 0x0029
#define QMI_WDS_GET_PROFILE_LIST_REQ_V01 0x002A
#define QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01 0x002B
#define QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01 0x002D
#define QMI_WDS_SET_CLIENT_IP_FAMILY_PREF_REQ_V01 0x004D
#define QMI_WDS_GET_LTE_ATTACH_PARAMS_REQ_V01 0x0085
#define QMI_WDS_BIND_MUX_DATA_PORT_REQ_V01 0x00A2
#define QMI_WDS_SET_ATTACH_PROFILE_INFO_REQ_V01 0x00C8

#define QMI_WDS_APN_NAME_MAX_V01 150
#define QMI_WDS_USER_NAME_MAX_V01 127
#define QMI_WDS_PASSWORD_MAX_V01 127
#define QMI_WDS_PROFILE_NAME_MAX_V01 50
#define QMI_WDS_PROFILE_LIST_MAX_V01 255
#define QMI_WDS_IPV6_ADDR_LEN_V01 16

/* Values of the enumerated words. */
#define WDS_CONNECTION_STATUS_DISCONNECTED_V01 1
#define WDS_CONNECTION_STATUS_CONNECTED_V01 2
#define WDS_CONNECTION_STATUS_SUSPENDED_V01 3
#define WDS_CONNECTION_STATUS_AUTHENTICATING_V01 4
#define WDS_IP_FAMILY_IPV4_V01 4
#define WDS_IP_FAMILY_IPV6_V01 6
#define WDS_PROFILE_TYPE_3GPP_V01 0
#define WDS_PDP_TYPE_PDP_IPV4_V01 0
#define WDS_PDP_TYPE_PDP_PPP_V01 1
#define WDS_PDP_TYPE_PDP_IPV6_V01 2
#define WDS_PDP_TYPE_PDP_IPV4V6_V01 3
#define WDS_VCER_TYPE_MOBILE_IP_V01 1
#define WDS_VCER_TYPE_INTERNAL_V01 2
#define WDS_VCER_TYPE_CALL_MANAGER_DEFINED_V01 3
#define WDS_VCER_TYPE_3GPP_SPEC_DEFINED_V01 6
#define WDS_CALL_TYPE_EMBEDDED_CALL_V01 1
#define DATA_EP_TYPE_BAM_DMUX_V01 4
/* Bits of requested_settings in QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01. */
#define QMI_WDS_MASK_REQ_SETTINGS_DNS_ADDR_V01 0x00000010u
#define QMI_WDS_MASK_REQ_SETTINGS_IP_ADDR_V01 0x00000100u
#define QMI_WDS_MASK_REQ_SETTINGS_GATEWAY_INFO_V01 0x00000200u
#define QMI_WDS_MASK_REQ_SETTINGS_MTU_V01 0x00002000u
#define QMI_WDS_MASK_REQ_SETTINGS_OP_RES_PCO_V01 0x80000000u

typedef struct {
  uint32_t profile_type;
  uint8_t profile_index;
} wds_profile_identifier_type_v01;

typedef struct {
  uint32_t call_end_reason_type;
  uint32_t call_end_reason;
} wds_verbose_call_end_reason_type_v01;

typedef struct {
  uint32_t connection_status;
  uint8_t reconfiguration_required;
} wds_packet_service_status_type_v01;

typedef struct {
  uint8_t ipv6_addr[QMI_WDS_IPV6_ADDR_LEN_V01];
  uint8_t ipv6_prefix_length;
} wds_runtime_ipv6_addr_type_v01;

typedef struct {
  uint32_t ep_type;
  uint32_t iface_id;
} data_ep_id_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
} wds_result_resp_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t extended_error_code_valid;
  uint32_t extended_error_code;
} wds_profile_resp_msg_v01;

/* ---- QMI_WDS_SET_EVENT_REPORT_REQ_V01 ---------------------------------------- */
typedef struct {
  uint8_t reserved_0[20];
  uint8_t data_call_status_change_valid; /* byte 20 */
  uint8_t data_call_status_change;       /* byte 21 */
  uint8_t reserved_22[18];
} wds_set_event_report_req_msg_v01;
typedef wds_result_resp_msg_v01 wds_set_event_report_resp_msg_v01;

/* ---- QMI_WDS_START_NETWORK_INTERFACE_REQ_V01 --------------------------------- */
typedef struct {
  uint8_t technology_preference_valid;
  uint8_t technology_preference;
  uint8_t profile_index_valid;
  uint8_t profile_index;
  uint8_t ip_family_preference_valid;
  uint32_t ip_family_preference;
  uint8_t enable_autoconnect_valid;
  uint8_t enable_autoconnect;
  uint8_t call_type_valid;
  uint32_t call_type;
  uint8_t apn_name_valid;
  char apn_name[QMI_WDS_APN_NAME_MAX_V01 + 1];
  uint8_t reserved[548];
} wds_start_network_interface_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t pkt_data_handle;
  uint8_t call_end_reason_valid;
  uint32_t call_end_reason;
  uint8_t verbose_call_end_reason_valid;
  wds_verbose_call_end_reason_type_v01 verbose_call_end_reason;
  uint8_t reserved[16];
} wds_start_network_interface_resp_msg_v01;

/* ---- QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01 ---------------------------------- */
typedef struct {
  uint32_t pkt_data_handle;
  uint8_t disable_autoconnect_valid;
  uint8_t disable_autoconnect;
} wds_stop_network_interface_req_msg_v01;
typedef wds_result_resp_msg_v01 wds_stop_network_interface_resp_msg_v01;

/* ---- QMI_WDS_PKT_SRVC_STATUS_IND_V01 ----------------------------------------- */
typedef struct {
  wds_packet_service_status_type_v01 status;
  uint8_t call_end_reason_valid;
  uint32_t call_end_reason;
  uint8_t verbose_call_end_reason_valid;
  wds_verbose_call_end_reason_type_v01 verbose_call_end_reason;
  uint8_t ip_family_valid;
  uint32_t ip_family;
  uint8_t tech_name_valid;
  uint32_t tech_name;
  uint8_t reserved[400];
} wds_pkt_srvc_status_ind_msg_v01;

/* ---- profiles ---------------------------------------------------------------- */
typedef struct {
  wds_profile_identifier_type_v01 profile;
  uint8_t profile_name_valid;
  char profile_name[QMI_WDS_PROFILE_NAME_MAX_V01 + 1];
  uint8_t pdp_type_valid;
  uint32_t pdp_type;
  uint8_t pdp_hdr_compression_type_valid;
  uint32_t pdp_hdr_compression_type;
  uint8_t pdp_data_compression_type_valid;
  uint32_t pdp_data_compression_type;
  uint8_t apn_name_valid;
  char apn_name[QMI_WDS_APN_NAME_MAX_V01 + 1];
  uint8_t username_valid;
  char username[QMI_WDS_USER_NAME_MAX_V01 + 1];
  uint8_t password_valid;
  char password[QMI_WDS_PASSWORD_MAX_V01 + 1];
  uint8_t authentication_preference_valid;
  uint8_t authentication_preference;
  uint8_t ipv4_address_preference_valid;
  uint32_t ipv4_address_preference;
  uint8_t reserved_504[450];
  uint8_t im_cn_flag_valid;    /* byte 954 */
  uint32_t im_cn_flag;         /* byte 956 */
  uint8_t reserved_960[48];
  uint8_t apn_disabled_flag_valid; /* byte 1008 */
  uint8_t apn_disabled_flag;       /* byte 1009 */
  uint8_t reserved_1010[132];
  uint8_t persistent_valid;    /* byte 1142 */
  uint8_t persistent;          /* byte 1143 */
  uint8_t clat_enabled_valid;
  uint8_t clat_enabled;
  uint8_t reserved_1146[1974];
} wds_modify_profile_settings_req_msg_v01;
typedef wds_profile_resp_msg_v01 wds_modify_profile_settings_resp_msg_v01;

typedef struct {
  wds_profile_identifier_type_v01 profile;
} wds_delete_profile_req_msg_v01;
typedef wds_profile_resp_msg_v01 wds_delete_profile_resp_msg_v01;

typedef struct {
  wds_profile_identifier_type_v01 profile;
} wds_get_profile_settings_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t profile_name_valid;
  char profile_name[QMI_WDS_PROFILE_NAME_MAX_V01 + 1];
  uint8_t pdp_type_valid;
  uint32_t pdp_type;
  uint8_t pdp_hdr_compression_type_valid;
  uint32_t pdp_hdr_compression_type;
  uint8_t pdp_data_compression_type_valid;
  uint32_t pdp_data_compression_type;
  uint8_t apn_name_valid;
  char apn_name[QMI_WDS_APN_NAME_MAX_V01 + 1];
  uint8_t username_valid;
  char username[QMI_WDS_USER_NAME_MAX_V01 + 1];
  uint8_t password_valid;
  char password[QMI_WDS_PASSWORD_MAX_V01 + 1];
  uint8_t authentication_preference_valid;
  uint8_t authentication_preference;
  uint8_t ipv4_address_preference_valid;
  uint32_t ipv4_address_preference;
  uint8_t im_cn_flag_valid;
  uint32_t im_cn_flag;
  uint8_t apn_disabled_flag_valid;
  uint8_t apn_disabled_flag;
  uint8_t persistent_valid;
  uint8_t persistent;
  uint8_t clat_enabled_valid;
  uint8_t clat_enabled;
  uint8_t extended_error_code_valid;
  uint32_t extended_error_code;
  uint8_t reserved[2612];
} wds_get_profile_settings_resp_msg_v01;

typedef struct {
  uint8_t profile_type_valid;
  uint32_t profile_type;
  uint8_t reserved[176];
} wds_get_profile_list_req_msg_v01;

typedef struct {
  uint32_t profile_type;
  uint8_t profile_index;
  char profile_name[QMI_WDS_PROFILE_NAME_MAX_V01 + 1];
} wds_profile_info_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t profile_list_len;
  wds_profile_info_type_v01 profile_list[QMI_WDS_PROFILE_LIST_MAX_V01];
  uint8_t extended_error_code_valid;
  uint32_t extended_error_code;
} wds_get_profile_list_resp_msg_v01;

/* ---- run-time settings ------------------------------------------------------- */
typedef struct {
  uint8_t requested_settings_valid;
  uint32_t requested_settings;
} wds_get_runtime_settings_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t profile_name_valid;
  char profile_name[QMI_WDS_PROFILE_NAME_MAX_V01 + 1];
  uint8_t apn_name_valid;
  char apn_name[QMI_WDS_APN_NAME_MAX_V01 + 1];
  uint8_t primary_DNS_IPv4_address_valid;
  uint32_t primary_DNS_IPv4_address;
  uint8_t secondary_DNS_IPv4_address_valid;
  uint32_t secondary_DNS_IPv4_address;
  uint8_t ipv4_address_valid;
  uint32_t ipv4_address;
  uint8_t ipv4_gateway_addr_valid;
  uint32_t ipv4_gateway_addr;
  uint8_t ipv4_subnet_mask_valid;
  uint32_t ipv4_subnet_mask;
  uint8_t ipv6_addr_valid;
  wds_runtime_ipv6_addr_type_v01 ipv6_addr;
  uint8_t ipv6_gateway_addr_valid;
  wds_runtime_ipv6_addr_type_v01 ipv6_gateway_addr;
  uint8_t primary_dns_IPv6_address_valid;
  uint8_t primary_dns_IPv6_address[QMI_WDS_IPV6_ADDR_LEN_V01];
  uint8_t secondary_dns_IPv6_address_valid;
  uint8_t secondary_dns_IPv6_address[QMI_WDS_IPV6_ADDR_LEN_V01];
  uint8_t mtu_valid;
  uint32_t mtu;
  uint8_t reserved[11668];
} wds_get_runtime_settings_resp_msg_v01;

/* ---- IP family, mux port ----------------------------------------------------- */
typedef struct {
  uint32_t ip_preference;
} wds_set_client_ip_family_pref_req_msg_v01;
typedef wds_result_resp_msg_v01 wds_set_client_ip_family_pref_resp_msg_v01;

typedef struct {
  uint8_t ep_id_valid;
  data_ep_id_type_v01 ep_id;
  uint8_t mux_id_valid;
  uint8_t mux_id;
  uint8_t reversed_valid;
  uint8_t reversed;
  uint8_t client_type_valid;
  uint32_t client_type;
} wds_bind_mux_data_port_req_msg_v01;
typedef wds_result_resp_msg_v01 wds_bind_mux_data_port_resp_msg_v01;

/* ---- LTE attach -------------------------------------------------------------- */
typedef struct {
  qmi_response_type_v01 resp;
  uint8_t apn_string_valid;
  char apn_string[QMI_WDS_APN_NAME_MAX_V01 + 1];
  uint8_t ip_type_valid;
  uint32_t ip_type;
  uint8_t ota_attach_performed_valid;
  uint8_t ota_attach_performed;
  uint8_t reserved[58];
} wds_get_lte_attach_params_resp_msg_v01;

typedef struct {
  uint8_t pdp_type_valid;
  uint32_t pdp_type;
  uint8_t ip_support_type_valid;
  uint32_t ip_support_type;
  uint8_t apn_name_valid;
  char apn_name[QMI_WDS_APN_NAME_MAX_V01 + 1];
  uint8_t authentication_preference_valid;
  uint8_t authentication_preference;
  uint8_t username_valid;
  char username[QMI_WDS_USER_NAME_MAX_V01 + 1];
  uint8_t password_valid;
  char password[QMI_WDS_PASSWORD_MAX_V01 + 1];
  uint8_t reserved[802];
} wds_set_attach_profile_info_req_msg_v01;
typedef wds_profile_resp_msg_v01 wds_set_attach_profile_info_resp_msg_v01;

/* ---- statistics and status ------------------------------------------------ */

#define QMI_WDS_GET_PKT_STATISTICS_REQ_V01 0x0024
#define QMI_WDS_GET_DATA_BEARER_TECHNOLOGY_EX_REQ_V01 0x0091
#define QMI_WDS_GET_APN_MSISDN_INFO_REQ_V01 0x00CB
#define QMI_WDS_ALLOCATE_PDU_SESSION_ID_REQ_V01 0x0106

/* Bits of stats_mask. */
#define QMI_WDS_MASK_STATS_TX_PACKETS_OK_V01 0x00000001u
#define QMI_WDS_MASK_STATS_RX_PACKETS_OK_V01 0x00000002u
#define QMI_WDS_MASK_STATS_TX_BYTES_OK_V01 0x00000040u
#define QMI_WDS_MASK_STATS_RX_BYTES_OK_V01 0x00000080u
#define QMI_WDS_MASK_STATS_TX_PKTS_DROPPED_V01 0x00000100u
#define QMI_WDS_MASK_STATS_RX_PKTS_DROPPED_V01 0x00000200u

typedef struct {
  uint32_t stats_mask;
} wds_get_pkt_statistics_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t tx_ok_packet_count_valid;
  uint32_t tx_ok_packet_count;
  uint8_t rx_ok_packet_count_valid;
  uint32_t rx_ok_packet_count;
  uint8_t reserved_16[32];
  uint8_t tx_ok_bytes_count_valid;
  uint64_t tx_ok_bytes_count;
  uint8_t rx_ok_bytes_count_valid;
  uint64_t rx_ok_bytes_count;
  uint8_t reserved_88[32];
  uint8_t tx_dropped_count_valid;
  uint32_t tx_dropped_count;
  uint8_t rx_dropped_count_valid;
  uint32_t rx_dropped_count;
} wds_get_pkt_statistics_resp_msg_v01;

/* The request has no fields; one byte keeps it addressable. */
typedef struct {
  uint8_t reserved;
} wds_get_data_bearer_technology_ex_req_msg_v01;

typedef struct {
  uint32_t technology; /* 1 3GPP, 2 3GPP2 */
  uint32_t rat_value;  /* WDS_BEARER_TECH_RAT_EX_* */
  uint64_t so_mask;
} wds_bearer_tech_info_type_v01;

#define WDS_BEARER_TECH_RAT_EX_3GPP_WCDMA_V01 0x01
#define WDS_BEARER_TECH_RAT_EX_3GPP_GERAN_V01 0x02
#define WDS_BEARER_TECH_RAT_EX_3GPP_LTE_V01 0x03
#define WDS_BEARER_TECH_RAT_EX_3GPP_5G_V01 0x0C

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t bearer_tech_valid;
  wds_bearer_tech_info_type_v01 bearer_tech;
  uint8_t last_bearer_tech_valid;
  wds_bearer_tech_info_type_v01 last_bearer_tech;
} wds_get_data_bearer_technology_ex_resp_msg_v01;

typedef struct {
  uint8_t reserved;
} wds_allocate_pdu_session_id_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t pdu_session_id_valid;
  uint8_t pdu_session_id;
} wds_allocate_pdu_session_id_resp_msg_v01;

typedef struct {
  char apn_name[QMI_WDS_APN_NAME_MAX_V01 + 1];
  uint8_t reserved_151;
} wds_get_apn_msisdn_info_req_msg_v01;

#define QMI_WDS_MSISDN_MAX_V01 255

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t msisdn_valid;
  uint32_t msisdn_len;
  uint8_t msisdn[QMI_WDS_MSISDN_MAX_V01];
} wds_get_apn_msisdn_info_resp_msg_v01;

qmi_idl_service_object_type wds_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

#ifdef __cplusplus
}
#endif

#endif
