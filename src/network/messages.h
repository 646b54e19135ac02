// The messages of the NAS service that the network family uses: id,
// published name, structures with the sizes the service's decoder expects,
// time-out (3000 ms, 5000 ms for the few the family waits longer for) and
// how the outcome of each is judged (src/qmi/message.h). Shared with the
// simulated modem and the tests.
#pragma once

#include <cstddef>

#include <vornpal/network.h>
#include <vornpal/platform/network_access_service_v01.h>

#include "qmi/message.h"

namespace vorn::network {

using qmi::NoRequest;

// The operator-name request goes out at two time-outs: 5000 ms from the
// network information and the scan, 3000 ms from the home-network look-up.
// clang-format off
VORN_QMI_MESSAGE(IndicationRegister, QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01, nas_indication_register_req_msg_v01, nas_indication_register_resp_msg_v01, 49, 8, 5000, Check);
VORN_QMI_MESSAGE(ConfigSigInfo2, QMI_NAS_CONFIG_SIG_INFO2_REQ_MSG_V01, nas_config_sig_info2_req_msg_v01, nas_config_sig_info2_resp_msg_v01, 1824, 8, 5000, TransportAndResult);
VORN_QMI_MESSAGE(GetServingSystem, QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01, NoRequest, nas_get_serving_system_resp_msg_v01, 0, 464, 3000, Check);
VORN_QMI_MESSAGE(GetSysInfo, QMI_NAS_GET_SYS_INFO_REQ_MSG_V01, NoRequest, nas_get_sys_info_resp_msg_v01, 0, 432, 3000, Check);
VORN_QMI_MESSAGE(GetSigInfo, QMI_NAS_GET_SIG_INFO_REQ_MSG_V01, NoRequest, nas_get_sig_info_resp_msg_v01, 0, 68, 3000, TransportAndResult);
VORN_QMI_MESSAGE(GetRfBandInfo, QMI_NAS_GET_RF_BAND_INFO_REQ_MSG_V01, NoRequest, nas_get_rf_band_info_resp_msg_v01, 0, 68, 3000, TransportAndResult);
VORN_QMI_MESSAGE(GetSystemSelectionPreference, QMI_NAS_GET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01, NoRequest, nas_get_system_selection_preference_resp_msg_v01, 0, 120, 3000, Check);
VORN_QMI_MESSAGE(SetSystemSelectionPreference, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01, nas_set_system_selection_preference_req_msg_v01, nas_set_system_selection_preference_resp_msg_v01, 112, 8, 3000, Check);
VORN_QMI_MESSAGE(InitiateNetworkRegister, QMI_NAS_INITIATE_NETWORK_REGISTER_REQ_MSG_V01, nas_initiate_network_register_req_msg_v01, nas_initiate_network_register_resp_msg_v01, 20, 8, 3000, Check);
VORN_QMI_MESSAGE(InitiateAttach, QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01, nas_initiate_attach_req_msg_v01, nas_initiate_attach_resp_msg_v01, 8, 8, 3000, Check);
VORN_QMI_MESSAGE(GetHomeNetwork, QMI_NAS_GET_HOME_NETWORK_REQ_MSG_V01, NoRequest, nas_get_home_network_resp_msg_v01, 0, 276, 3000, TransportAndResult);
VORN_QMI_MESSAGE(GetPlmnName, QMI_NAS_GET_PLMN_NAME_REQ_MSG_V01, nas_get_plmn_name_req_msg_v01, nas_get_plmn_name_resp_msg_v01, 16, 532, 5000, Check);
VORN_QMI_MESSAGE(GetHomePlmnName, QMI_NAS_GET_PLMN_NAME_REQ_MSG_V01, nas_get_plmn_name_req_msg_v01, nas_get_plmn_name_resp_msg_v01, 16, 532, 3000, Check);
VORN_QMI_MESSAGE(GetCellLocationInfo, QMI_NAS_GET_CELL_LOCATION_INFO_REQ_MSG_V01, NoRequest, nas_get_cell_location_info_resp_msg_v01, 0, 704, 3000, Check);
VORN_QMI_MESSAGE(GetErrRate, QMI_NAS_GET_ERR_RATE_REQ_MSG_V01, NoRequest, nas_get_err_rate_resp_msg_v01, 0, 12, 3000, TransportAndResult);
VORN_QMI_MESSAGE(GetTxRxInfo, QMI_NAS_GET_TX_RX_INFO_REQ_MSG_V01, nas_get_tx_rx_info_req_msg_v01, nas_get_tx_rx_info_resp_msg_v01, 4, 160, 3000, Check);
VORN_QMI_MESSAGE(GetNetworkTime, QMI_NAS_GET_NETWORK_TIME_REQ_MSG_V01, NoRequest, nas_get_network_time_resp_msg_v01, 0, 20, 3000, Check);
VORN_QMI_MESSAGE(GetDrx, QMI_NAS_GET_DRX_REQ_MSG_V01, NoRequest, nas_get_drx_resp_msg_v01, 0, 16, 3000, Check);
VORN_QMI_MESSAGE(SetDataRoaming, QMI_NAS_SET_DATA_ROAMING_REQ_MSG_V01, nas_set_data_roaming_req_msg_v01, nas_set_data_roaming_resp_msg_v01, 4, 8, 5000, TransportAndResult);
VORN_QMI_MESSAGE(GetDataRoaming, QMI_NAS_GET_DATA_ROAMING_REQ_MSG_V01, NoRequest, nas_get_data_roaming_resp_msg_v01, 0, 16, 5000, TransportAndResult);
VORN_QMI_MESSAGE(GetLteCphyCaInfo, QMI_NAS_GET_LTE_CPHY_CA_INFO_REQ_MSG_V01, NoRequest, nas_get_lte_cphy_ca_info_resp_msg_v01, 0, 112, 3000, TransportAndResult);
VORN_QMI_MESSAGE(GetArfcnList, QMI_NAS_GET_ARFCN_LIST_REQ_MSG_V01, NoRequest, nas_get_arfcn_list_resp_msg_v01, 0, 40, 3000, Check);
VORN_QMI_MESSAGE(GetSpeff, QMI_NAS_GET_SPEFF_REQ_MSG_V01, nas_get_speff_req_msg_v01, nas_get_speff_resp_msg_v01, 2, 16, 3000, TransportAndResult);
VORN_QMI_MESSAGE(GetNr5gSpeff, QMI_NAS_GET_NR5G_SPEFF_REQ_MSG_V01, nas_get_speff_req_msg_v01, nas_get_speff_resp_msg_v01, 2, 16, 3000, TransportAndResult);
VORN_QMI_MESSAGE(SetCellConfig, QMI_NAS_SET_CELL_CONFIG_REQ_MSG_V01, nas_set_cell_config_req_msg_v01, nas_set_cell_config_resp_msg_v01, 488, 8, 3000, TransportAndResult);
VORN_QMI_MESSAGE(GetCellLockConfig, QMI_NAS_GET_CELL_LOCK_CONFIG_REQ_MSG_V01, NoRequest, nas_get_cell_lock_config_resp_msg_v01, 0, 496, 3000, TransportAndResult);
VORN_QMI_MESSAGE(PerformIncrementalScan, QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_REQ_MSG_V01, nas_perform_incremental_network_scan_req_msg_v01, nas_perform_incremental_network_scan_resp_msg_v01, 140, 8, 3000, Check);

VORN_QMI_INDICATION(ServingSystemInd, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, nas_serving_system_ind_msg_v01, 456, "nas_serving_system_ind_msg_v01");
VORN_QMI_INDICATION(SysInfoInd, QMI_NAS_SYS_INFO_IND_MSG_V01, nas_sys_info_ind_msg_v01, 424, "nas_sys_info_ind_msg_v01");
VORN_QMI_INDICATION(SigInfoInd, QMI_NAS_SIG_INFO_IND_MSG_V01, nas_sig_info_ind_msg_v01, 60, "nas_sig_info_ind_msg_v01");
VORN_QMI_INDICATION(RfBandInfoInd, QMI_NAS_RF_BAND_INFO_IND_V01, nas_rf_band_info_ind_msg_v01, 60, "nas_rf_band_info_ind_msg_v01");
VORN_QMI_INDICATION(LteCphyCaInd, QMI_NAS_LTE_CPHY_CA_IND_V01, nas_lte_cphy_ca_ind_msg_v01, 60, "nas_lte_cphy_ca_ind_msg_v01");
VORN_QMI_INDICATION(IncrementalScanInd, QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_IND_MSG_V01, nas_perform_incremental_network_scan_ind_msg_v01, 10988, "nas_perform_incremental_network_scan_ind_msg_v01");
// clang-format on

// Request bytes that the modem reads at fixed places.
static_assert(offsetof(nas_indication_register_req_msg_v01, req_serving_system_valid) == 4);
static_assert(offsetof(nas_indication_register_req_msg_v01, sys_info_valid) == 12);
static_assert(offsetof(nas_indication_register_req_msg_v01, sig_info_valid) == 14);
static_assert(offsetof(nas_indication_register_req_msg_v01, reg_rf_band_info_valid) == 28);
static_assert(offsetof(nas_indication_register_req_msg_v01, reg_lte_cphy_ca_valid) == 45);
static_assert(offsetof(nas_config_sig_info2_req_msg_v01, nr5g_rsrp_delta_valid) == 1820);
static_assert(offsetof(nas_perform_incremental_network_scan_req_msg_v01, search_timer_valid) == 134);
static_assert(offsetof(nas_set_cell_config_req_msg_v01, apply_valid) == 484);
static_assert(offsetof(nas_set_system_selection_preference_req_msg_v01, lte_band_pref_ext) == 80);
static_assert(sizeof(vorn_network_rf_band_report) == sizeof(nas_rf_band_info_v01),
              "the band report is the indication as it comes");

// The family's records, as a daemon on the target compiles them.
static_assert(sizeof(vorn_network_signal_report) == 40);
static_assert(sizeof(vorn_network_mbn_request) == 36);
static_assert(sizeof(vorn_network_ca_scell) == 24);
static_assert(offsetof(vorn_network_cainfo, scell) == 8);
static_assert(sizeof(vorn_network_reg_type) == 64);
static_assert(sizeof(vorn_network_net_record) == 232);
static_assert(offsetof(vorn_network_net_record, cell_id) == 16);
static_assert(offsetof(vorn_network_net_record, plmn_id) == 44);
static_assert(offsetof(vorn_network_net_record, short_name) == 111);

static_assert(sizeof(vorn_network_cell_record) == 256);
static_assert(sizeof(vorn_network_reject_report) == 2);
static_assert(sizeof(vorn_network_neighbour) == 64);
static_assert(sizeof(vorn_network_pcc_record) == 40);
static_assert(sizeof(vorn_network_scc_record) == 48);
static_assert(sizeof(vorn_network_info) == 2232);
static_assert(offsetof(vorn_network_info, neighbour) == 120);
static_assert(offsetof(vorn_network_info, pcc) == 1596);

static_assert(offsetof(vorn_network_info, cell_info_ext) == 1160);
static_assert(offsetof(vorn_network_info, signal) == 1236);
static_assert(offsetof(vorn_network_info, sys_info) == 1320);
static_assert(offsetof(vorn_network_info, short_name) == 1447);

static_assert(offsetof(vorn_network_info, scc) == 1644);
static_assert(offsetof(vorn_network_info, tx_rx) == 2124);
static_assert(sizeof(vorn_network_scan_entry) == 156);
static_assert(offsetof(vorn_network_scan_entry, plmn_text) == 28);
static_assert(sizeof(vorn_network_scan_result) == 7832);
static_assert(offsetof(vorn_network_scan_result, request) == 7800);
static_assert(offsetof(vorn_network_scan_result, status) == 7824);
static_assert(sizeof(vorn_network_reg_info) == 16);
static_assert(sizeof(vorn_network_reject_info) == 12);

}  // namespace vorn::network
