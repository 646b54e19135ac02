/* NAS service: service object and the message structures libvornpal uses.
 * Fields are named as the service names them; parts that the library does
 * not read are kept as reserved bytes so that the sizes stay the service's. */
#ifndef VORNPAL_PLATFORM_NETWORK_ACCESS_SERVICE_V01_H
#define VORNPAL_PLATFORM_NETWORK_ACCESS_SERVICE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define NAS_SERVICE_ID_V01 0x03

qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

/* ---- message ids (requests and their responses share the id) ---------- */

#define QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01 0x0003
#define QMI_NAS_INITIATE_NETWORK_REGISTER_REQ_MSG_V01 0x0022
#define QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01 0x0023
#define QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01 0x0024
#define QMI_NAS_SERVING_SYSTEM_IND_MSG_V01 0x0024
#define QMI_NAS_GET_HOME_NETWORK_REQ_MSG_V01 0x0025
#define QMI_NAS_GET_RF_BAND_INFO_REQ_MSG_V01 0x0031
#define QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01 0x0033
#define QMI_NAS_GET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01 0x0034
#define QMI_NAS_GET_CELL_LOCATION_INFO_REQ_MSG_V01 0x0043
#define QMI_NAS_GET_PLMN_NAME_REQ_MSG_V01 0x0044
#define QMI_NAS_GET_SYS_INFO_REQ_MSG_V01 0x004D
#define QMI_NAS_SYS_INFO_IND_MSG_V01 0x004E
#define QMI_NAS_GET_SIG_INFO_REQ_MSG_V01 0x004F
#define QMI_NAS_SIG_INFO_IND_MSG_V01 0x0051
#define QMI_NAS_GET_ERR_RATE_REQ_MSG_V01 0x0052
#define QMI_NAS_GET_TX_RX_INFO_REQ_MSG_V01 0x005A
#define QMI_NAS_RF_BAND_INFO_IND_V01 0x0066
#define QMI_NAS_CONFIG_SIG_INFO2_REQ_MSG_V01 0x006C
#define QMI_NAS_GET_NETWORK_TIME_REQ_MSG_V01 0x007D
#define QMI_NAS_LTE_CPHY_CA_IND_V01 0x0082
#define QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_REQ_MSG_V01 0x0085
#define QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_IND_MSG_V01 0x0085
#define QMI_NAS_GET_DRX_REQ_MSG_V01 0x0089
#define QMI_NAS_SET_DATA_ROAMING_REQ_MSG_V01 0x009A
#define QMI_NAS_GET_DATA_ROAMING_REQ_MSG_V01 0x009B
#define QMI_NAS_GET_LTE_CPHY_CA_INFO_REQ_MSG_V01 0x00AC
#define QMI_NAS_GET_ARFCN_LIST_REQ_MSG_V01 0x00D2
#define QMI_NAS_GET_CELL_LOCK_CONFIG_REQ_MSG_V01 0x00D7
#define QMI_NAS_SET_CELL_CONFIG_REQ_MSG_V01 0x00D8
#define QMI_NAS_GET_SPEFF_REQ_MSG_V01 0x0101
#define QMI_NAS_GET_NR5G_SPEFF_REQ_MSG_V01 0x0107

/* ---- capacities and codes --------------------------------------------- */

#define NAS_RADIO_IF_LIST_MAX_V01 16
#define NAS_NETWORK_DESCRIPTION_MAX_V01 255
#define NAS_PLMN_NAME_MAX_V01 255
#define NAS_3GPP_NETWORK_INFO_LIST_MAX_V01 40
#define NAS_RF_BAND_INFO_LIST_MAX_V01 2
#define NAS_MAX_NMR_CELLS_V01 6
#define NAS_MAX_LTE_NGBR_CELLS_V01 8
#define NAS_MAX_LTE_NGBR_FREQS_V01 4
#define NAS_MAX_SCELL_LIST_LEN_V01 4
#define NAS_MODE_LIST_MAX_V01 2
#define NAS_ACQ_ORDER_LIST_MAX_V01 10
#define NAS_CELL_CONFIG_LIST_MAX_V01 60

/* Radio interfaces. */
#define NAS_RADIO_IF_NO_SVC_V01 0x00
#define NAS_RADIO_IF_GSM_V01 0x04
#define NAS_RADIO_IF_UMTS_V01 0x05
#define NAS_RADIO_IF_LTE_V01 0x08
#define NAS_RADIO_IF_NR5G_V01 0x0C

/* Registration states of the serving system. */
#define NAS_NOT_REGISTERED_V01 0x00
#define NAS_REGISTERED_V01 0x01
#define NAS_NOT_REGISTERED_SEARCHING_V01 0x02
#define NAS_REGISTRATION_DENIED_V01 0x03
#define NAS_REGISTRATION_UNKNOWN_V01 0x04

/* Attach states. */
#define NAS_CS_PS_ATTACH_UNKNOWN_V01 0x00
#define NAS_ATTACHED_V01 0x01
#define NAS_DETACHED_V01 0x02

/* Service status. */
#define NAS_SYS_SRV_STATUS_NO_SRV_V01 0x00
#define NAS_SYS_SRV_STATUS_LIMITED_V01 0x01
#define NAS_SYS_SRV_STATUS_SRV_V01 0x02
#define NAS_SYS_SRV_STATUS_LIMITED_REGIONAL_V01 0x03
#define NAS_SYS_SRV_STATUS_PWR_SAVE_V01 0x04

/* Network status bits of a scan entry. */
#define NAS_NETWORK_STATUS_CURRENT_SERVING_V01 0x01
#define NAS_NETWORK_STATUS_AVAILABLE_V01 0x02
#define NAS_NETWORK_STATUS_HOME_V01 0x04
#define NAS_NETWORK_STATUS_ROAM_V01 0x08
#define NAS_NETWORK_STATUS_FORBIDDEN_V01 0x10

/* A response that holds only the `resp` pair (8 bytes). */
typedef struct {
  qmi_response_type_v01 resp;
} nas_result_resp_msg_v01;

/* ---- 3: indication registration (49 bytes) --------------------------- */

typedef struct {
  uint8_t reg_sys_sel_pref_valid;
  uint8_t reg_sys_sel_pref;
  uint8_t reg_ddtm_events_valid;
  uint8_t reg_ddtm_events;
  uint8_t req_serving_system_valid;
  uint8_t req_serving_system;
  uint8_t dual_standby_pref_valid;
  uint8_t dual_standby_pref;
  uint8_t subscription_info_valid;
  uint8_t subscription_info;
  uint8_t reg_network_time_valid;
  uint8_t reg_network_time;
  uint8_t sys_info_valid;
  uint8_t sys_info;
  uint8_t sig_info_valid;
  uint8_t sig_info;
  uint8_t err_rate_valid;
  uint8_t err_rate;
  uint8_t reg_hdr_uati_valid;
  uint8_t reg_hdr_uati;
  uint8_t reg_hdr_session_close_valid;
  uint8_t reg_hdr_session_close;
  uint8_t reg_managed_roaming_valid;
  uint8_t reg_managed_roaming;
  uint8_t reg_current_plmn_name_valid;
  uint8_t reg_current_plmn_name;
  uint8_t reg_embms_status_valid;
  uint8_t reg_embms_status;
  uint8_t reg_rf_band_info_valid;
  uint8_t reg_rf_band_info;
  uint8_t network_reject_valid;
  uint8_t reg_network_reject;
  uint8_t suppress_sys_info;
  uint8_t reg_operator_name_data_valid;
  uint8_t reg_operator_name_data;
  uint8_t reg_csp_plmn_mode_bit_valid;
  uint8_t reg_csp_plmn_mode_bit;
  uint8_t reg_rtre_cfg_valid;
  uint8_t reg_rtre_cfg;
  uint8_t reg_ims_pref_status_valid;
  uint8_t reg_ims_pref_status;
  uint8_t reg_e911_state_ready_status_valid;
  uint8_t reg_e911_state_ready_status;
  uint8_t reg_lte_sib16_network_time_valid;
  uint8_t reg_lte_sib16_network_time;
  uint8_t reg_lte_cphy_ca_valid;
  uint8_t reg_lte_cphy_ca;
  uint8_t reg_subscription_change_valid;
  uint8_t reg_subscription_change;
} nas_indication_register_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_indication_register_resp_msg_v01;

/* ---- 108: signal report thresholds (1824 bytes) ----------------------- */

typedef struct {
  uint8_t rpt_rate;
  uint8_t avg_period;
} nas_lte_sig_rpt_config_type_v01;

typedef struct {
  uint8_t gsm_rssi_delta_valid;
  uint16_t gsm_rssi_delta; /* tenths of a dB */
  uint8_t wcdma_rssi_delta_valid;
  uint16_t wcdma_rssi_delta;
  uint8_t lte_rssi_delta_valid;
  uint16_t lte_rssi_delta;
  uint8_t lte_rsrp_delta_valid;
  uint16_t lte_rsrp_delta;
  uint8_t lte_sig_rpt_config_valid;
  nas_lte_sig_rpt_config_type_v01 lte_sig_rpt_config;
  uint8_t threshold_lists[1801]; /* threshold lists of the other values */
  uint8_t nr5g_rsrp_delta_valid;
  uint8_t reserved;
  uint16_t nr5g_rsrp_delta;
} nas_config_sig_info2_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_config_sig_info2_resp_msg_v01;

/* ---- 36: serving system, its indication (0x24) ----------------------- */

typedef struct {
  uint32_t registration_state; /* NAS_REGISTERED_V01 ... */
  uint32_t cs_attach_state;    /* NAS_ATTACHED_V01 ... */
  uint32_t ps_attach_state;
  uint32_t selected_network;
  uint32_t radio_if_len;
  uint32_t radio_if[NAS_RADIO_IF_LIST_MAX_V01];
} nas_serving_system_type_v01;

typedef struct {
  uint16_t mobile_country_code;
  uint16_t mobile_network_code;
  char network_description[NAS_NETWORK_DESCRIPTION_MAX_V01 + 1];
} nas_plmn_type_v01;

typedef struct {
  uint16_t mcc;
  uint16_t mnc;
  uint8_t mnc_includes_pcs_digit;
} nas_mnc_pcs_digit_include_status_type_v01;

typedef struct {
  uint32_t srv_status;     /* NAS_SYS_SRV_STATUS_* */
  uint32_t srv_capability; /* 1 CS, 2 PS, 3 CS and PS */
  uint8_t is_sys_forbidden;
} nas_detailed_service_info_type_v01;

/* The body of the answer and of the indication. */
typedef struct {
  nas_serving_system_type_v01 serving_system;
  uint8_t roaming_indicator_valid;
  uint32_t roaming_indicator; /* 0 roaming, 1 home */
  uint8_t current_plmn_valid;
  nas_plmn_type_v01 current_plmn;
  uint8_t lac_valid;
  uint16_t lac;
  uint8_t cell_id_valid;
  uint32_t cell_id;
  uint8_t tac_valid;
  uint16_t tac;
  uint8_t detailed_service_info_valid;
  nas_detailed_service_info_type_v01 detailed_service_info;
  uint8_t mnc_includes_pcs_digit_valid;
  nas_mnc_pcs_digit_include_status_type_v01 mnc_includes_pcs_digit;
  uint8_t reserved[64];
} nas_serving_system_info_v01;

typedef struct {
  qmi_response_type_v01 resp;
  nas_serving_system_info_v01 info;
} nas_get_serving_system_resp_msg_v01;

typedef struct {
  nas_serving_system_info_v01 info;
} nas_serving_system_ind_msg_v01;

/* ---- 77: system information, its indication (0x4E) ------------------- */

typedef struct {
  uint32_t srv_status;
  uint32_t true_srv_status;
  uint8_t is_pref_data_path;
} nas_3gpp_srv_status_info_type_v01;

/* One technology's part. mcc and mnc are digit texts without terminator;
 * a 2-digit MNC ends with the filler 0xFF. */
typedef struct {
  uint8_t srv_domain_valid;
  uint32_t srv_domain; /* 1 CS, 2 PS, 3 CS and PS */
  uint8_t srv_capability_valid;
  uint32_t srv_capability;
  uint8_t roam_status_valid;
  uint32_t roam_status;
  uint8_t is_sys_forbidden_valid;
  uint8_t is_sys_forbidden;
  uint8_t lac_valid;
  uint16_t lac;
  uint8_t cell_id_valid;
  uint32_t cell_id;
  uint8_t reg_reject_info_valid;
  uint32_t reject_srv_domain;
  uint8_t rej_cause;
  uint8_t network_id_valid;
  char mcc[3];
  char mnc[3];
  uint8_t tac_valid;
  uint16_t tac;
  uint32_t reject_type;
} nas_3gpp_sys_info_type_v01;

typedef struct {
  uint8_t gsm_srv_status_info_valid;
  nas_3gpp_srv_status_info_type_v01 gsm_srv_status_info;
  uint8_t wcdma_srv_status_info_valid;
  nas_3gpp_srv_status_info_type_v01 wcdma_srv_status_info;
  uint8_t lte_srv_status_info_valid;
  nas_3gpp_srv_status_info_type_v01 lte_srv_status_info;
  uint8_t nr5g_srv_status_info_valid;
  nas_3gpp_srv_status_info_type_v01 nr5g_srv_status_info;
  uint8_t gsm_sys_info_valid;
  nas_3gpp_sys_info_type_v01 gsm_sys_info;
  uint8_t wcdma_sys_info_valid;
  nas_3gpp_sys_info_type_v01 wcdma_sys_info;
  uint8_t lte_sys_info_valid;
  nas_3gpp_sys_info_type_v01 lte_sys_info;
  uint8_t nr5g_sys_info_valid;
  nas_3gpp_sys_info_type_v01 nr5g_sys_info;
  uint8_t lte_voice_support_valid;
  uint8_t lte_voice_support;
  uint8_t endc_available_valid;
  uint8_t endc_available;
  uint8_t restrict_dcnr_valid;
  uint8_t restrict_dcnr;
  uint8_t reserved[96];
} nas_sys_info_v01;

typedef struct {
  qmi_response_type_v01 resp;
  nas_sys_info_v01 info;
} nas_get_sys_info_resp_msg_v01;

typedef struct {
  nas_sys_info_v01 info;
} nas_sys_info_ind_msg_v01;

/* ---- 79: signal information, its indication (0x51) ------------------- */

typedef struct {
  int8_t rssi;
  int16_t ecio;
} nas_cdma_sig_info_type_v01;

typedef struct {
  int8_t rssi;
  int16_t ecio;
  uint8_t sinr;
  int32_t io;
} nas_hdr_sig_info_type_v01;

typedef struct {
  int8_t rssi;
  int16_t ecio; /* units of -0.5 dB */
  int16_t rscp;
} nas_wcdma_sig_info_type_v01;

typedef struct {
  int8_t rssi;
  int8_t rsrq;
  int16_t rsrp;
  int16_t snr; /* tenths of a dB */
} nas_lte_sig_info_type_v01;

typedef struct {
  float rssi;
  float rscp;
  float sinr;
} nas_tdscdma_sig_info_type_v01;

typedef struct {
  uint8_t cdma_sig_info_valid;
  nas_cdma_sig_info_type_v01 cdma_sig_info;
  uint8_t hdr_sig_info_valid;
  nas_hdr_sig_info_type_v01 hdr_sig_info;
  uint8_t gsm_sig_info_valid;
  int8_t gsm_sig_info;
  uint8_t wcdma_sig_info_valid;
  nas_wcdma_sig_info_type_v01 wcdma_sig_info;
  uint8_t lte_sig_info_valid;
  nas_lte_sig_info_type_v01 lte_sig_info;
  uint8_t tdscdma_sig_info_valid;
  nas_tdscdma_sig_info_type_v01 tdscdma_sig_info;
  uint8_t nr5g_sig_info_valid;
  int16_t nr5g_rsrp;
  int16_t nr5g_snr; /* tenths of a dB */
  int16_t nr5g_rsrq;
} nas_sig_info_v01;

typedef struct {
  qmi_response_type_v01 resp;
  nas_sig_info_v01 info;
} nas_get_sig_info_resp_msg_v01;

typedef struct {
  nas_sig_info_v01 info;
} nas_sig_info_ind_msg_v01;

/* ---- 49: RF band, its indication (0x66) ------------------------------ */

typedef struct {
  uint32_t radio_if;
  uint32_t active_band;
  uint32_t active_channel;
} nas_active_band_info_type_v01;

typedef struct {
  uint32_t radio_if;
  uint32_t bandwidth; /* bandwidth code */
} nas_rf_bandwidth_info_type_v01;

/* 15 words. */
typedef struct {
  uint32_t rf_band_info_list_len;
  nas_active_band_info_type_v01 rf_band_info_list[NAS_RF_BAND_INFO_LIST_MAX_V01];
  uint32_t rf_bandwidth_info_list_valid;
  uint32_t rf_bandwidth_info_list_len;
  nas_rf_bandwidth_info_type_v01 rf_bandwidth_info_list[NAS_RF_BAND_INFO_LIST_MAX_V01];
  uint32_t reserved[2];
} nas_rf_band_info_v01;

typedef struct {
  qmi_response_type_v01 resp;
  nas_rf_band_info_v01 info;
} nas_get_rf_band_info_resp_msg_v01;

typedef struct {
  nas_rf_band_info_v01 info;
} nas_rf_band_info_ind_msg_v01;

/* ---- 0x82: carrier aggregation --------------------------------------- */

typedef struct {
  uint16_t pci;
  uint16_t freq;
  uint32_t scell_state; /* 0 deconfigured, 1 configured, 2 activated */
} nas_lte_cphy_scell_info_type_v01;

typedef struct {
  uint8_t cphy_ca_valid;
  uint8_t cphy_ca; /* number of configured cells */
  uint8_t cphy_scell_info_valid;
  nas_lte_cphy_scell_info_type_v01 cphy_scell_info;
  uint8_t scell_dl_bandwidth_valid;
  uint32_t scell_dl_bandwidth;
  uint8_t scell_band_valid;
  uint32_t scell_band;
  uint8_t reserved[32];
} nas_lte_cphy_ca_ind_msg_v01;

/* ---- 133: incremental scan, its indication (0x85) -------------------- */

typedef struct {
  uint8_t network_type_valid;
  uint32_t network_type; /* mask: 1 GSM, 2 UMTS, 4 LTE, 16 NR5G */
  uint8_t scan_type_valid;
  uint32_t scan_type;
  uint8_t reserved[118];
  uint8_t search_timer_valid;
  uint16_t search_timer; /* seconds */
} nas_perform_incremental_network_scan_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_perform_incremental_network_scan_resp_msg_v01;

typedef struct {
  uint16_t mobile_country_code;
  uint16_t mobile_network_code;
  uint8_t network_status; /* NAS_NETWORK_STATUS_* bits */
  char network_description[NAS_NETWORK_DESCRIPTION_MAX_V01 + 1];
} nas_3gpp_network_info_type_v01;

typedef struct {
  uint16_t mcc;
  uint16_t mnc;
  uint8_t rat; /* radio interface */
} nas_network_radio_access_technology_type_v01;

typedef struct {
  uint16_t mcc;
  uint16_t mnc;
  uint16_t signal; /* magnitude of the dBm value */
} nas_network_signal_strength_type_v01;

typedef struct {
  uint8_t nas_3gpp_network_info_valid;
  uint32_t nas_3gpp_network_info_len;
  nas_3gpp_network_info_type_v01 nas_3gpp_network_info[NAS_3GPP_NETWORK_INFO_LIST_MAX_V01];
  uint8_t nas_network_radio_access_technology_valid;
  uint32_t nas_network_radio_access_technology_len;
  nas_network_radio_access_technology_type_v01
      nas_network_radio_access_technology[NAS_3GPP_NETWORK_INFO_LIST_MAX_V01];
  uint8_t signal_strength_valid;
  uint32_t signal_strength_len;
  nas_network_signal_strength_type_v01 signal_strength[NAS_3GPP_NETWORK_INFO_LIST_MAX_V01];
  uint32_t scan_status; /* 0 complete, 3 aborted, other failed */
} nas_perform_incremental_network_scan_ind_msg_v01;

/* ---- 52, 51: system selection preference ----------------------------- */

/* LTE bands 1 to 256, band n at bit (n - 1) % 64 of word (n - 1) / 64. */
typedef struct {
  uint64_t bits_1_64;
  uint64_t bits_65_128;
  uint64_t bits_129_192;
  uint64_t bits_193_256;
} nas_lte_band_pref_mask_ext_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t mode_pref_valid;
  uint16_t mode_pref; /* mask: 4 GSM, 8 UMTS, 16 LTE, 64 NR5G */
  uint8_t band_pref_valid;
  uint64_t band_pref; /* GSM and UMTS band bits */
  uint8_t net_sel_pref_valid;
  uint32_t net_sel_pref; /* 0 automatic, 1 manual */
  uint8_t acq_order_valid;
  uint32_t acq_order_len;
  uint32_t acq_order[NAS_ACQ_ORDER_LIST_MAX_V01]; /* radio interfaces, first tried first */
  uint8_t lte_band_pref_ext_valid;
  nas_lte_band_pref_mask_ext_type_v01 lte_band_pref_ext;
} nas_get_system_selection_preference_resp_msg_v01;

typedef struct {
  uint32_t net_sel_pref;
  uint16_t mcc;
  uint16_t mnc;
} nas_net_sel_pref_type_v01;

typedef struct {
  uint8_t mode_pref_valid;
  uint16_t mode_pref;
  uint8_t band_pref_valid;
  uint64_t band_pref;
  uint8_t net_sel_pref_valid;
  nas_net_sel_pref_type_v01 net_sel_pref;
  uint8_t mnc_includes_pcs_digit_valid;
  uint8_t mnc_includes_pcs_digit;
  uint8_t acq_order_valid;
  uint32_t acq_order_len;
  uint32_t acq_order[NAS_ACQ_ORDER_LIST_MAX_V01];
  uint8_t lte_band_pref_ext_valid;
  nas_lte_band_pref_mask_ext_type_v01 lte_band_pref_ext;
} nas_set_system_selection_preference_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_set_system_selection_preference_resp_msg_v01;

/* ---- 34: network registration ---------------------------------------- */

typedef struct {
  uint16_t mobile_country_code;
  uint16_t mobile_network_code;
  uint32_t radio_access_tech; /* radio interface */
} nas_manual_network_register_info_type_v01;

typedef struct {
  uint32_t register_action; /* 1 automatic, 2 manual */
  uint8_t manual_network_register_info_valid;
  nas_manual_network_register_info_type_v01 manual_network_register_info;
  uint8_t mnc_includes_pcs_digit_valid;
  uint8_t mnc_includes_pcs_digit;
} nas_initiate_network_register_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_initiate_network_register_resp_msg_v01;

/* ---- 35: PS attach and detach ---------------------------------------- */

typedef struct {
  uint8_t ps_attach_action_valid;
  uint32_t ps_attach_action; /* 1 attach, 2 detach */
} nas_initiate_attach_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_initiate_attach_resp_msg_v01;

/* ---- 37: home network ------------------------------------------------ */

typedef struct {
  qmi_response_type_v01 resp;
  nas_plmn_type_v01 home_network;
  uint8_t nas_3gpp_mcc_mnc_valid;
  nas_mnc_pcs_digit_include_status_type_v01 nas_3gpp_mcc_mnc;
} nas_get_home_network_resp_msg_v01;

/* ---- 68: operator names ---------------------------------------------- */

typedef struct {
  uint16_t mcc;
  uint16_t mnc;
} nas_plmn_id_type_v01;

typedef struct {
  nas_plmn_id_type_v01 plmn;
  uint8_t suppress_sim_error_valid;
  uint8_t suppress_sim_error;
  uint8_t always_send_plmn_name_valid;
  uint8_t always_send_plmn_name;
  uint8_t rat_valid;
  uint32_t rat; /* radio interface */
} nas_get_plmn_name_req_msg_v01;

typedef struct {
  uint32_t plmn_short_name_len;
  char plmn_short_name[NAS_PLMN_NAME_MAX_V01];
  uint32_t plmn_long_name_len;
  char plmn_long_name[NAS_PLMN_NAME_MAX_V01];
} nas_3gpp_eons_plmn_name_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t eons_plmn_name_3gpp_valid;
  nas_3gpp_eons_plmn_name_type_v01 eons_plmn_name_3gpp;
} nas_get_plmn_name_resp_msg_v01;

/* ---- 67: cell location ----------------------------------------------- */

typedef struct {
  uint32_t cell_id;
  uint8_t plmn[3]; /* BCD after 3GPP TS 24.008 */
  uint16_t lac;
  uint16_t arfcn;
  uint8_t bsic;
  uint16_t rx_lev;
  uint16_t timing;
} nas_nmr_cell_info_type_v01;

typedef struct {
  uint32_t cell_id;
  uint8_t plmn[3];
  uint16_t lac;
  uint16_t arfcn;
  uint8_t bsic;
  uint32_t timing_advance;
  uint16_t rx_lev;
  uint32_t nmr_cell_info_len;
  nas_nmr_cell_info_type_v01 nmr_cell_info[NAS_MAX_NMR_CELLS_V01];
} nas_geran_cell_info_type_v01;

typedef struct {
  uint16_t cell_id;
  uint8_t plmn[3];
  uint16_t lac;
  uint16_t uarfcn;
  uint16_t psc;
  int16_t rscp;
  int16_t ecio;
  int16_t rssi;
} nas_umts_cell_info_type_v01;

typedef struct {
  uint16_t pci;
  int16_t rsrq; /* tenths of a dB */
  int16_t rsrp;
  int16_t rssi;
  int16_t srxlev;
} nas_lte_ngbr_cell_type_v01;

typedef struct {
  uint8_t ue_in_idle;
  uint8_t plmn[3];
  uint16_t tac;
  uint32_t global_cell_id;
  uint16_t earfcn;
  uint16_t serving_cell_id;
  uint32_t cells_len;
  nas_lte_ngbr_cell_type_v01 cells[NAS_MAX_LTE_NGBR_CELLS_V01];
} nas_lte_intra_freq_type_v01;

typedef struct {
  uint16_t earfcn;
  uint32_t cells_len;
  nas_lte_ngbr_cell_type_v01 cells[NAS_MAX_LTE_NGBR_CELLS_V01];
} nas_lte_inter_freq_freqs_type_v01;

typedef struct {
  uint8_t ue_in_idle;
  uint32_t freqs_len;
  nas_lte_inter_freq_freqs_type_v01 freqs[NAS_MAX_LTE_NGBR_FREQS_V01];
} nas_lte_inter_freq_type_v01;

typedef struct {
  uint8_t plmn[3];
  uint8_t tac[3];
  uint64_t global_cell_id;
  uint16_t physical_cell_id;
  int16_t rsrp; /* tenths */
  int16_t rsrq;
  int16_t snr;
} nas_nr5g_serving_cell_info_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t geran_info_valid;
  nas_geran_cell_info_type_v01 geran_info;
  uint8_t umts_info_valid;
  nas_umts_cell_info_type_v01 umts_info;
  uint8_t umts_cell_id_valid;
  uint32_t umts_cell_id;
  uint8_t lte_intra_valid;
  nas_lte_intra_freq_type_v01 lte_intra;
  uint8_t lte_inter_valid;
  nas_lte_inter_freq_type_v01 lte_inter;
  uint8_t timing_advance_valid;
  uint32_t timing_advance;
  uint8_t nr5g_serving_cell_info_valid;
  nas_nr5g_serving_cell_info_type_v01 nr5g_serving_cell_info;
  uint8_t nr5g_arfcn_valid;
  uint32_t nr5g_arfcn;
} nas_get_cell_location_info_resp_msg_v01;

/* ---- 82: error rate -------------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t gsm_bit_err_rate_valid;
  uint8_t gsm_bit_err_rate; /* 0 to 7, 0xFF unknown */
} nas_get_err_rate_resp_msg_v01;

/* ---- 90: TX and RX chains -------------------------------------------- */

typedef struct {
  uint8_t is_radio_tuned;
  int32_t rx_pwr; /* tenths of a dBm */
  int32_t ecio;
  int32_t rscp;
  int32_t rsrp;
  uint32_t phase;
} nas_rx_chain_info_type_v01;

typedef struct {
  uint8_t is_in_traffic;
  int32_t tx_pwr;
} nas_tx_info_type_v01;

typedef struct {
  uint32_t radio_if;
} nas_get_tx_rx_info_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t rx_chain_0_valid;
  nas_rx_chain_info_type_v01 rx_chain_0;
  uint8_t rx_chain_1_valid;
  nas_rx_chain_info_type_v01 rx_chain_1;
  uint8_t rx_chain_2_valid;
  nas_rx_chain_info_type_v01 rx_chain_2;
  uint8_t rx_chain_3_valid;
  nas_rx_chain_info_type_v01 rx_chain_3;
  uint8_t tx_valid;
  nas_tx_info_type_v01 tx;
  uint8_t mode_list_valid[NAS_MODE_LIST_MAX_V01];
  uint32_t mode_list_len[NAS_MODE_LIST_MAX_V01];
  uint32_t mode_list[NAS_MODE_LIST_MAX_V01][NAS_MODE_LIST_MAX_V01];
} nas_get_tx_rx_info_resp_msg_v01;

/* ---- 125: network time ----------------------------------------------- */

typedef struct {
  uint16_t year;
  uint8_t month;
  uint8_t day;
  uint8_t hour;
  uint8_t minute;
  uint8_t second;
  uint8_t day_of_week;
} nas_julian_time_type_v01;

typedef struct {
  nas_julian_time_type_v01 universal_time;
  int8_t time_zone;           /* quarters of an hour */
  uint8_t daylight_saving_adj; /* hours */
} nas_3gpp_time_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t nas_3gpp_time_valid;
  nas_3gpp_time_type_v01 nas_3gpp_time;
} nas_get_network_time_resp_msg_v01;

/* ---- 137: DRX -------------------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t drx_valid;
  uint32_t drx; /* 0 to 3: 320, 640, 1280, 2560 ms */
} nas_get_drx_resp_msg_v01;

/* ---- 154, 155: data roaming ------------------------------------------ */

typedef struct {
  uint32_t data_roam_status;
} nas_set_data_roaming_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_set_data_roaming_resp_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t data_roam_status_valid;
  uint32_t data_roam_status;
} nas_get_data_roaming_resp_msg_v01;

/* ---- 172: LTE carrier aggregation ------------------------------------ */

typedef struct {
  uint16_t pci;
  uint16_t freq;
  uint32_t dl_bandwidth; /* bandwidth code */
  uint32_t band;         /* plain band number */
} nas_lte_cphy_pcell_info_type_v01;

typedef struct {
  uint16_t pci;
  uint16_t freq;
  uint32_t dl_bandwidth;
  uint32_t band; /* active band code */
  uint32_t scell_state;
  uint8_t ul_configured;
} nas_lte_cphy_scell_entry_type_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t pcell_info_valid;
  nas_lte_cphy_pcell_info_type_v01 pcell_info;
  uint8_t scell_info_list_valid;
  uint32_t scell_info_list_len;
  nas_lte_cphy_scell_entry_type_v01 scell_info_list[NAS_MAX_SCELL_LIST_LEN_V01];
} nas_get_lte_cphy_ca_info_resp_msg_v01;

/* ---- 210: ARFCN list ------------------------------------------------- */

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t lte_rrc_state_valid;
  uint32_t lte_rrc_state;
  uint8_t dl_earfcn_valid;
  uint32_t dl_earfcn;
  uint8_t ul_earfcn_valid;
  uint32_t ul_earfcn;
  uint8_t nr5g_rrc_state_valid;
  uint32_t nr5g_rrc_state;
} nas_get_arfcn_list_resp_msg_v01;

/* ---- 215, 216: LTE cell lock ----------------------------------------- */

typedef struct {
  uint32_t earfcn;
  uint32_t pci;
} nas_lte_cell_config_type_v01;

/* An empty list with the apply pair set unlocks. */
typedef struct {
  uint32_t lte_cell_list_len;
  nas_lte_cell_config_type_v01 lte_cell_list[NAS_CELL_CONFIG_LIST_MAX_V01];
  uint8_t apply_valid;
  uint8_t apply;
} nas_set_cell_config_req_msg_v01;

typedef nas_result_resp_msg_v01 nas_set_cell_config_resp_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t lte_cell_list_valid;
  uint32_t lte_cell_list_len;
  nas_lte_cell_config_type_v01 lte_cell_list[NAS_CELL_CONFIG_LIST_MAX_V01];
} nas_get_cell_lock_config_resp_msg_v01;

/* ---- 257, 263: spectral efficiency ----------------------------------- */

typedef struct {
  uint8_t speff_mode_valid;
  uint8_t speff_mode;
} nas_get_speff_req_msg_v01;

typedef struct {
  qmi_response_type_v01 resp;
  uint8_t speff_valid;
  uint32_t speff;
} nas_get_speff_resp_msg_v01;

#ifdef __cplusplus
}
#endif

#endif
