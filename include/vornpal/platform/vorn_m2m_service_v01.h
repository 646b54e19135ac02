/*
 * VORN_M2M service: the module maker's own QMI service, the only way to the
 * modem's NV items and EFS files. Service object, message ids and the
 * decoded message structures that libvornpal passes to and from the QMI
 * client library.
 *
 * Every response begins with the standard `resp` pair. A request that
 * carries nothing still has a one-byte structure where the service defines
 * one (`placeholder`, its value means nothing); messages without any request
 * structure are sent with NULL and length 0.
 */
#ifndef VORNPAL_PLATFORM_VORN_M2M_SERVICE_V01_H
#define VORNPAL_PLATFORM_VORN_M2M_SERVICE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VORN_M2M_SERVICE_ID_V01 0xE6

qmi_idl_service_object_type vorn_m2m_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

/* ---- message ids (requests and their responses share the id) ---------- */

#define QMI_VORN_M2M_GET_UIM_SELECT_REQ_V01 0x0003
#define QMI_VORN_M2M_GET_IP_REQ_V01 0x0004
#define QMI_VORN_M2M_GET_PROFILE_ACTIVE_REQ_V01 0x0005
#define QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01 0x0006
#define QMI_VORN_M2M_GET_RMNET_ACTIVE_REQ_V01 0x0008
#define QMI_VORN_M2M_GET_UE_MODE_REQ_V01 0x000A
#define QMI_VORN_M2M_GET_CURRENT_ACT_REQ_V01 0x000B
#define QMI_VORN_M2M_RMNET_ACTION_REQ_V01 0x000C
#define QMI_VORN_M2M_WDS_CREATE_PROFILE_REQ_V01 0x0011
#define QMI_VORN_M2M_READ_NV_ITEM_REQ_V01 0x0013
#define QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01 0x0014
#define QMI_VORN_M2M_GET_DNSCFG_REQ_V01 0x0015
#define QMI_VORN_M2M_SET_DHCP_GW_REQ_V01 0x0016
#define QMI_VORN_M2M_GET_CCLK_TIME_REQ_V01 0x0017
#define QMI_VORN_M2M_GET_CFUN_REQ_V01 0x0018
#define QMI_VORN_M2M_GET_SUBVER_RESP_V01 0x0019
#define QMI_VORN_M2M_SET_DHCP_NETMASK_REQ_V01 0x001A
#define QMI_VORN_M2M_GET_DHCP_NETMASK_REQ_V01 0x001B
#define QMI_VORN_M2M_NVRW_REQ_V01 0x001C
#define QMI_VORN_M2M_SN_REQ_V01 0x001D
#define QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01 0x001E
#define QMI_VORN_M2M_W_DISABLE_REQ_V01 0x001F
#define QMI_VORN_M2M_IMEI_REQ_V01 0x0020
#define QMI_VORN_M2M_MANUFACTURER_REQ_V01 0x0021
#define QMI_VORN_M2M_HW_VERSION_REQ_V01 0x0022
#define QMI_VORN_M2M_MODEL_NAME_REQ_V01 0x0023
#define QMI_VORN_M2M_GET_SN_REQ_V01 0x0024
#define QMI_VORN_M2M_SET_SN_REQ_V01 0x0025
#define QMI_VORN_M2M_SET_UE_MODE_REQ_V01 0x0026
#define QMI_VORN_M2M_GET_PACKET_REPORT_EVENT_REQ_V01 0x0027
#define QMI_VORN_M2M_SET_PACKET_REPORT_EVENT_REQ_V01 0x0028
#define QMI_VORN_M2M_EFS_RENAME_REQ_V01 0x0029
#define QMI_VORN_M2M_OTALOG_RM_REQ_V01 0x002A
#define QMI_VORN_M2M_GET_IPV6_FORMAT_REQ_V01 0x002B
#define QMI_VORN_M2M_SET_IPV6_FORMAT_REQ_V01 0x002C
#define QMI_VORN_M2M_GET_CA_INFO_REQ_V01 0x0030
#define QMI_VORN_M2M_BACKUP_DEVICE_DATA_REQ_V01 0x0032
#define QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01 0x0036
#define QMI_VORN_M2M_GET_SIG_INFO_REQ_V01 0x0038
#define QMI_VORN_M2M_GET_AUTHENTICATION_MODE_REQ_V01 0x0039
#define QMI_VORN_M2M_SCAN_CELL_REQ_V01 0x003A
#define QMI_VORN_M2M_SET_CFUN_MODE_REQ_V01 0x003B
#define QMI_VORN_M2M_GET_STATIS_REQ_V01 0x003C
#define QMI_VORN_M2M_PROJECT_NAME_REQ_V01 0x003D
#define QMI_VORN_SET_CELL_LOCK_EXT_REQ_V01 0x003E
#define QMI_VORN_GET_CELL_LOCK_EXT_REQ_V01 0x003F
#define QMI_VORN_M2M_GET_CELL_INFO_EXT_REQ_V01 0x0040
#define QMI_VORN_M2M_SET_PRFMOD_REQ_V01 0x0041
#define QMI_VORN_M2M_GET_ANT_SINR_REQ_V01 0x0042

/* Indications share the id space. */
#define QMI_VORN_M2M_EVENT_REPORT_IND_V01 0x0006
#define QMI_VORN_M2M_NV_CFG_REPORT_IND_V01 0x002F
#define QMI_VORN_M2M_SCAN_CELL_INFO_IND_V01 0x003A

/* ---- field capacities ------------------------------------------------- */

#define VORN_M2M_NV_PATH_MAX_V01 128    /* item_file_path and the EFS paths */
#define VORN_M2M_NV_DATA_MAX_V01 500    /* one NV item or EFS file by path */
#define VORN_M2M_NVRW_DATA_MAX_V01 128  /* one NV item by number */
#define VORN_M2M_EVENT_REPORT_COUNT_V01 11
#define VORN_M2M_CA_SCC_MAX_V01 10
#define VORN_M2M_CELL_LOCK_EXT_MAX_V01 20
#define VORN_M2M_NV_CFG_REPORT_MAX_V01 10
#define VORN_M2M_NV_CFG_DATA_MAX_V01 4096

/* ---- shared shapes ---------------------------------------------------- */

/* A request of no content: one byte whose value means nothing. */
typedef struct {
  uint8_t placeholder;
} vorn_m2m_placeholder_req_msg_v01;

/* A response that holds only the `resp` pair (8 bytes). */
typedef struct {
  qmi_response_type_v01 resp;
} vorn_m2m_result_resp_msg_v01;

/* A text answer: its length and the NUL-terminated text. */
#define VORN_M2M_TEXT_RESP(name, capacity) \
  typedef struct {                         \
    qmi_response_type_v01 resp;            \
    uint32_t len;                          \
    char text[capacity];                   \
  } name

/* ---- requests and responses, in id order ------------------------------ */

/* 3: the active SIM slot (low byte of slot). */
typedef struct {
  qmi_response_type_v01 resp;
  uint32_t slot;
} vorn_m2m_get_uim_select_resp_msg_v01;

/* 4: addresses of an rmnet instance. */
typedef struct {
  uint8_t instance;
} vorn_m2m_get_ip_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t ipv4_valid;
  char ipv4_addr[64];
  uint8_t ipv4_second_valid;
  uint32_t ipv4_second;
  uint8_t ipv4_third_valid;
  uint32_t ipv4_third;
  uint8_t ipv6_valid;
  char ipv6_addr[128];
  uint8_t ipv6_second_valid;
  uint8_t ipv6_second[16];
  uint8_t ipv6_third_valid;
  uint8_t ipv6_third[16];
} vorn_m2m_get_ip_resp_msg_v01;

/* 5: whether a profile has an active call (low byte of active). */
typedef struct {
  uint8_t profile_index;
} vorn_m2m_get_profile_active_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t active;
} vorn_m2m_get_profile_active_resp_msg_v01;

/* 6: switches for the service's event reports. */
typedef struct {
  uint8_t valid;
  uint8_t enable;
} vorn_m2m_report_switch_v01;

typedef struct {
  vorn_m2m_report_switch_v01 report[VORN_M2M_EVENT_REPORT_COUNT_V01];
} vorn_m2m_set_event_report_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_event_report_resp_msg_v01;

/* 8: whether the rmnet connection is up. */
typedef struct {
  qmi_response_type_v01 resp;
  uint32_t active;
} vorn_m2m_get_rmnet_active_resp_msg_v01;

/* 10: UE mode of operation (CEMODE). */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_ue_mode_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t cemode;
} vorn_m2m_get_ue_mode_resp_msg_v01;

/* 11: current access technology (low byte of act). */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_current_act_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t act;
} vorn_m2m_get_current_act_resp_msg_v01;

/* 12: start (action 1) or stop (0) the rmnet connection. */
typedef struct {
  uint8_t action;
  uint8_t instance;
  uint8_t profile_valid;
  uint8_t profile;
  uint8_t family_valid;
  uint8_t family;
  uint8_t third_valid;
  uint8_t third;
} vorn_m2m_rmnet_action_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_rmnet_action_resp_msg_v01;

/* 17: create a WDS profile. */
typedef struct {
  uint8_t profile_type;
  uint8_t profile_index;
} vorn_m2m_wds_create_profile_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_wds_create_profile_resp_msg_v01;

/* 19: read one NV item or EFS file by path. */
typedef struct {
  char item_file_path[VORN_M2M_NV_PATH_MAX_V01];
} vorn_m2m_read_nv_item_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t data_len;
  uint8_t data[VORN_M2M_NV_DATA_MAX_V01];
} vorn_m2m_read_nv_item_resp_msg_v01;

/* 20: write one NV item or EFS file by path; data_len 0 is an empty item. */
typedef struct {
  char item_file_path[VORN_M2M_NV_PATH_MAX_V01];
  uint32_t data_len;
  uint8_t data[VORN_M2M_NV_DATA_MAX_V01];
} vorn_m2m_write_nv_item_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_write_nv_item_resp_msg_v01;

/* 21: DNS servers, IPv4 in host order. */
typedef struct {
  qmi_response_type_v01 resp;
  uint32_t primary_valid;
  uint32_t primary;
  uint32_t secondary_valid;
  uint32_t secondary;
} vorn_m2m_get_dnscfg_resp_msg_v01;

/* 22: DHCP gateway setting. */
typedef struct {
  uint8_t value;
} vorn_m2m_set_dhcp_gw_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_dhcp_gw_resp_msg_v01;

/* 23: the modem's clock. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_cclk_time_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint16_t year;
  uint8_t month;
  uint8_t day;
  uint8_t hour;
  uint8_t minute;
  uint8_t second;
} vorn_m2m_get_cclk_time_resp_msg_v01;

/* 24: functionality level (low byte of cfun). */
typedef struct {
  qmi_response_type_v01 resp;
  uint32_t cfun;
} vorn_m2m_get_cfun_resp_msg_v01;

/* 25: modem and EFS sub-versions. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_subver_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  char modem[64];
  char cefs[64];
} vorn_m2m_get_subver_resp_msg_v01;

/* 26, 27: WAN netmask pair. */
typedef struct {
  uint32_t netmask[2];
} vorn_m2m_set_dhcp_netmask_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_dhcp_netmask_resp_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t netmask[2];
} vorn_m2m_get_dhcp_netmask_resp_msg_v01;

/* 28: one NV item by number; the two words are the service's to interpret. */
typedef struct {
  uint32_t word0;
  uint32_t word1;
  uint8_t data[VORN_M2M_NVRW_DATA_MAX_V01];
} vorn_m2m_nvrw_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t data_valid;
  uint32_t data_len;
  uint8_t data[VORN_M2M_NVRW_DATA_MAX_V01];
} vorn_m2m_nvrw_resp_msg_v01;

/* 29: the board serial number. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_sn_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t sn_valid;
  uint32_t sn_len;
  uint8_t sn[12];
} vorn_m2m_sn_resp_msg_v01;

/* 30: acknowledgement of a received SMS, with an optional PDU. */
typedef struct {
  uint32_t transaction_id;
  uint32_t message_protocol;
  uint32_t failure_cause;
  uint8_t success;
  uint8_t sms_on_ims;
  uint8_t pdu_valid;
  uint8_t pdu_len_valid;
  uint32_t pdu_len;
  uint8_t pdu[255];
} vorn_m2m_sms_pdu_ack_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_sms_pdu_ack_resp_msg_v01;

/* 31: the W_DISABLE line. */
typedef struct {
  uint8_t w_disable;
} vorn_m2m_w_disable_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_w_disable_resp_msg_v01;

/* 32: read (operation 0) or write (1) the IMEIs. */
typedef struct {
  uint8_t operation;
  char imei1[32];
  char imei2[32];
} vorn_m2m_imei_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t imei_valid;
  char imei1[32];
  char imei2[32];
} vorn_m2m_imei_resp_msg_v01;

/* 33, 34, 35, 36, 61: identity texts. */
VORN_M2M_TEXT_RESP(vorn_m2m_manufacturer_resp_msg_v01, 128);
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_hw_version_req_msg_v01;
VORN_M2M_TEXT_RESP(vorn_m2m_hw_version_resp_msg_v01, 64);
VORN_M2M_TEXT_RESP(vorn_m2m_model_name_resp_msg_v01, 32);
VORN_M2M_TEXT_RESP(vorn_m2m_get_sn_resp_msg_v01, 36);
VORN_M2M_TEXT_RESP(vorn_m2m_project_name_resp_msg_v01, 64);

/* 37: the factory serial number. */
typedef struct {
  uint32_t len;
  char text[36];
} vorn_m2m_set_sn_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_sn_resp_msg_v01;

/* 38: UE mode of operation. */
typedef struct {
  uint8_t mode;
} vorn_m2m_set_ue_mode_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_ue_mode_resp_msg_v01;

/* 39, 40: packet report words. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_packet_report_event_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t modem_val;
  uint32_t option_val;
} vorn_m2m_get_packet_report_event_resp_msg_v01;

typedef struct {
  uint32_t modem_val;
  uint32_t option_val;
} vorn_m2m_set_packet_report_event_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_packet_report_event_resp_msg_v01;

/* 41: rename an EFS file. */
typedef struct {
  char old_path[VORN_M2M_NV_PATH_MAX_V01];
  char new_path[VORN_M2M_NV_PATH_MAX_V01];
} vorn_m2m_efs_rename_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_efs_rename_resp_msg_v01;

/* 42: remove the OTA logs. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_otalog_rm_req_msg_v01;
typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_otalog_rm_resp_msg_v01;

/* 43, 44: IPv6 address format words. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_ipv6_format_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint32_t format[4];
} vorn_m2m_get_ipv6_format_resp_msg_v01;

typedef struct {
  uint32_t format[4];
} vorn_m2m_set_ipv6_format_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_ipv6_format_resp_msg_v01;

/* 48: carrier aggregation: the primary cell and up to ten secondary cells. */
typedef struct {
  uint32_t band;
  uint8_t info[36];
} vorn_m2m_ca_pcell_info_v01;

typedef struct {
  uint32_t band;
  uint8_t scell_state;
  uint8_t ul_configerd;
  uint8_t info[42];
} vorn_m2m_ca_scell_info_v01;

typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_ca_info_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  vorn_m2m_ca_pcell_info_v01 pcell;
  uint8_t ca_scc_list_len;
  vorn_m2m_ca_scell_info_v01 scc[VORN_M2M_CA_SCC_MAX_V01];
} vorn_m2m_get_ca_info_resp_msg_v01;

/* 50: ask the modem to back up its device data. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_backup_device_data_req_msg_v01;
typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_backup_device_data_resp_msg_v01;

/* 54: copy an EFS file. */
typedef struct {
  char source_path[VORN_M2M_NV_PATH_MAX_V01];
  char destination_path[VORN_M2M_NV_PATH_MAX_V01];
} vorn_m2m_copy_nv_item_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_copy_nv_item_resp_msg_v01;

/* 56: LTE and NR signal details. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_sig_info_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t sig_info_valid;
  uint8_t lte_cqi;
  uint8_t lte_ri;
  uint8_t lte_dlrank;
  uint8_t lte_dlmcs;
  uint8_t lte_ulmcs;
  uint8_t nr_valid;
  uint8_t nr_cqi;
  uint8_t nr_ri;
  uint8_t nr_dlrank;
  uint8_t nr_dlmcs;
  uint8_t nr_ulmcs;
} vorn_m2m_get_sig_info_resp_msg_v01;

/* 57: authentication mode text. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_authentication_mode_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  char mode[128];
} vorn_m2m_get_authentication_mode_resp_msg_v01;

/* 58: start a cell scan; the cells come as an indication. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_scan_cell_req_msg_v01;
typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_scan_cell_resp_msg_v01;

/* 59: set the functionality level. */
typedef struct {
  uint8_t cfun_mode;
} vorn_m2m_set_cfun_mode_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_cfun_mode_resp_msg_v01;

/* 60: traffic statistics. */
typedef struct {
  qmi_response_type_v01 resp;
  uint32_t dl_rate;
  uint32_t ul_rate;
  uint64_t dl_bytes;
  uint64_t ul_bytes;
  uint32_t dl_state;
  uint32_t ul_state;
  uint64_t dl_max_speed;
  uint64_t ul_max_speed;
} vorn_m2m_get_statis_resp_msg_v01;

/* 62, 63: extended cell lock list. */
typedef struct {
  uint8_t freq_valid;
  uint8_t pci_valid;
  uint8_t reserved[2];
  uint32_t freq;
  uint32_t pci;
  uint8_t info[8];
} vorn_cell_lock_ext_entry_v01;

typedef struct {
  uint8_t lock_valid;
  uint8_t lock_count;
  uint8_t list_valid;
  uint8_t reserved;
  vorn_cell_lock_ext_entry_v01 entry[VORN_M2M_CELL_LOCK_EXT_MAX_V01];
} vorn_cell_lock_ext_list_v01;

typedef struct {
  vorn_cell_lock_ext_list_v01 lock;
} vorn_set_cell_lock_ext_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_set_cell_lock_ext_resp_msg_v01;

typedef vorn_m2m_placeholder_req_msg_v01 vorn_get_cell_lock_ext_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  vorn_cell_lock_ext_list_v01 lock;
} vorn_get_cell_lock_ext_resp_msg_v01;

/* 64: extended serving-cell fields. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_cell_info_ext_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t cell_info_ext_valid;
  uint8_t info[75];
} vorn_m2m_get_cell_info_ext_resp_msg_v01;

/* 65: APN of a profile. */
typedef struct {
  int32_t profile_index;
  char apn[32];
} vorn_m2m_set_prfmod_req_msg_v01;

typedef vorn_m2m_result_resp_msg_v01 vorn_m2m_set_prfmod_resp_msg_v01;

/* 66: SINR of each of the four antennas. */
typedef vorn_m2m_placeholder_req_msg_v01 vorn_m2m_get_ant_sinr_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t ant_sinr[4];
} vorn_m2m_get_ant_sinr_resp_msg_v01;

/* ---- indications ------------------------------------------------------ */

/* 6: event report; the parts each have a valid byte. */
typedef struct {
  uint8_t uim_select_valid;
  uint8_t uim_select;
  uint8_t rmnet_act_valid;
  uint8_t rmnet_act;
  uint8_t reserved0[66];
  uint8_t report6_valid;
  uint8_t report6;
  uint8_t wds_profile_idx_valid;
  uint8_t wds_profile_idx;
  uint8_t rmnet_act_index_valid;
  uint8_t rmnet_act_index;
  uint8_t attach_status_valid;
  uint8_t attach_status;
  uint8_t reserved1[4];
  uint8_t report1_valid;
  uint8_t reserved2;
  uint8_t report1[8];
  uint8_t report1_tail;
  uint8_t reserved3[3];
  uint8_t unsol_atcmd_valid;
  char unsol_atcmd[64];
  uint8_t report4_valid;
  uint8_t report4;
  uint8_t datacall_status_valid;
  uint8_t datacall_status;
  uint8_t reserved4[3];
} vorn_m2m_event_report_ind_msg_v01;

/* 47: NV items that the modem changed. */
typedef struct {
  uint32_t item_id;
  char item_file_path[VORN_M2M_NV_PATH_MAX_V01];
  uint32_t data_len;
  uint8_t data[VORN_M2M_NV_CFG_DATA_MAX_V01];
} vorn_m2m_nv_cfg_item_v01;

typedef struct {
  uint8_t item_count;
  vorn_m2m_nv_cfg_item_v01 item[VORN_M2M_NV_CFG_REPORT_MAX_V01];
} vorn_m2m_nv_cfg_report_ind_msg_v01;

/* 58: cells found by a scan (2172 bytes decoded). The fields after mnc
 * carry no name in the service's definition and are passed on as they are. */
#define VORN_M2M_SCAN_CELL_MAX_V01 60

typedef struct {
  uint8_t rat;
  uint16_t pci;
  uint32_t cell_id;
  uint16_t mcc;
  uint16_t mnc;
  uint16_t further16[4];
  uint32_t further32[4];
} vorn_m2m_scan_cell_entry_v01;

typedef struct {
  uint8_t cell_count;
  vorn_m2m_scan_cell_entry_v01 cell[VORN_M2M_SCAN_CELL_MAX_V01];
  uint8_t reserved[8];
} vorn_m2m_scan_cell_info_ind_msg_v01;

#undef VORN_M2M_TEXT_RESP

#ifdef __cplusplus
}
#endif

#endif
