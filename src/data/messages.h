// The messages of the WDS service that the data family uses: id, published
// name, structures with the sizes the service's decoder expects, time-out
// (10000 ms as a rule, 60000 ms to start and stop a session) and how the
// outcome of each is judged (src/qmi/message.h). Shared with the simulated
// modem and the tests.
#pragma once

#include <cstddef>

#include <vornpal/data.h>
#include <vornpal/platform/wireless_data_service_v01.h>

#include "qmi/message.h"

namespace vorn::data {

using qmi::NoRequest;

// The profile list and the queries of its walk wait longer than the other
// profile requests: the modem reads its whole store for them.
// clang-format off
VORN_QMI_MESSAGE(SetEventReport, QMI_WDS_SET_EVENT_REPORT_REQ_V01, wds_set_event_report_req_msg_v01, wds_set_event_report_resp_msg_v01, 40, 8, 100000, Transport);
VORN_QMI_MESSAGE(StartNetworkInterface, QMI_WDS_START_NETWORK_INTERFACE_REQ_V01, wds_start_network_interface_req_msg_v01, wds_start_network_interface_resp_msg_v01, 720, 48, 60000, Check);
VORN_QMI_MESSAGE(StopNetworkInterface, QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01, wds_stop_network_interface_req_msg_v01, wds_stop_network_interface_resp_msg_v01, 8, 8, 60000, Check);
VORN_QMI_MESSAGE(ModifyProfileSettings, QMI_WDS_MODIFY_PROFILE_SETTINGS_REQ_V01, wds_modify_profile_settings_req_msg_v01, wds_modify_profile_settings_resp_msg_v01, 3120, 16, 10000, Check);
VORN_QMI_MESSAGE(DeleteProfile, QMI_WDS_DELETE_PROFILE_REQ_V01, wds_delete_profile_req_msg_v01, wds_delete_profile_resp_msg_v01, 8, 16, 5000, Check);
VORN_QMI_MESSAGE(GetProfileList, QMI_WDS_GET_PROFILE_LIST_REQ_V01, wds_get_profile_list_req_msg_v01, wds_get_profile_list_resp_msg_v01, 184, 14300, 30000, Check);
VORN_QMI_MESSAGE(GetProfileSettings, QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01, wds_get_profile_settings_req_msg_v01, wds_get_profile_settings_resp_msg_v01, 8, 3136, 10000, Check);
VORN_QMI_MESSAGE(ListProfileSettings, QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01, wds_get_profile_settings_req_msg_v01, wds_get_profile_settings_resp_msg_v01, 8, 3136, 30000, Check);
VORN_QMI_MESSAGE(RuntimeSettings, QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01, wds_get_runtime_settings_req_msg_v01, wds_get_runtime_settings_resp_msg_v01, 8, 11996, 10000, Check);
VORN_QMI_MESSAGE(SetClientIpFamilyPref, QMI_WDS_SET_CLIENT_IP_FAMILY_PREF_REQ_V01, wds_set_client_ip_family_pref_req_msg_v01, wds_set_client_ip_family_pref_resp_msg_v01, 4, 8, 3000, Check);
VORN_QMI_MESSAGE(GetLteAttachParams, QMI_WDS_GET_LTE_ATTACH_PARAMS_REQ_V01, NoRequest, wds_get_lte_attach_params_resp_msg_v01, 0, 228, 10000, Check);
VORN_QMI_MESSAGE(BindMuxDataPort, QMI_WDS_BIND_MUX_DATA_PORT_REQ_V01, wds_bind_mux_data_port_req_msg_v01, wds_bind_mux_data_port_resp_msg_v01, 24, 8, 3000, Check);
VORN_QMI_MESSAGE(SetAttachProfileInfo, QMI_WDS_SET_ATTACH_PROFILE_INFO_REQ_V01, wds_set_attach_profile_info_req_msg_v01, wds_set_attach_profile_info_resp_msg_v01, 1232, 16, 10000, Check);

VORN_QMI_INDICATION(PktSrvcStatusInd, QMI_WDS_PKT_SRVC_STATUS_IND_V01, wds_pkt_srvc_status_ind_msg_v01, 444, "QMI_WDS_PKT_SRVC_STATUS_IND_V01");
VORN_QMI_MESSAGE(GetPktStatistics, QMI_WDS_GET_PKT_STATISTICS_REQ_V01, wds_get_pkt_statistics_req_msg_v01, wds_get_pkt_statistics_resp_msg_v01, 4, 136, 10000, Check);
VORN_QMI_MESSAGE(GetBearerTechEx, QMI_WDS_GET_DATA_BEARER_TECHNOLOGY_EX_REQ_V01, wds_get_data_bearer_technology_ex_req_msg_v01, wds_get_data_bearer_technology_ex_resp_msg_v01, 1, 56, 5000, TransportAndResult);
VORN_QMI_MESSAGE(AllocatePduSessionId, QMI_WDS_ALLOCATE_PDU_SESSION_ID_REQ_V01, wds_allocate_pdu_session_id_req_msg_v01, wds_allocate_pdu_session_id_resp_msg_v01, 1, 12, 5000, TransportAndResult);
VORN_QMI_MESSAGE(GetApnMsisdn, QMI_WDS_GET_APN_MSISDN_INFO_REQ_V01, wds_get_apn_msisdn_info_req_msg_v01, wds_get_apn_msisdn_info_resp_msg_v01, 152, 272, 10000, Check);
// clang-format on

// The fields whose place the service fixes.
static_assert(offsetof(wds_set_event_report_req_msg_v01, data_call_status_change_valid) == 20);
static_assert(offsetof(wds_set_event_report_req_msg_v01, data_call_status_change) == 21);
static_assert(offsetof(wds_modify_profile_settings_req_msg_v01, im_cn_flag_valid) == 954);
static_assert(offsetof(wds_modify_profile_settings_req_msg_v01, im_cn_flag) == 956);
static_assert(offsetof(wds_modify_profile_settings_req_msg_v01, apn_disabled_flag_valid) == 1008);
static_assert(offsetof(wds_modify_profile_settings_req_msg_v01, apn_disabled_flag) == 1009);
static_assert(offsetof(wds_modify_profile_settings_req_msg_v01, persistent_valid) == 1142);
static_assert(offsetof(wds_modify_profile_settings_req_msg_v01, persistent) == 1143);

// The records at the family's interface.
static_assert(sizeof(data_status_event) == 28);
static_assert(sizeof(data_profile_settings) == 364);
static_assert(offsetof(data_profile_settings, apn) == 52);
static_assert(offsetof(data_profile_settings, authentication_preference) == 152);
static_assert(offsetof(data_profile_settings, username) == 156);
static_assert(offsetof(data_profile_settings, password) == 221);
static_assert(offsetof(data_profile_settings, auth_valid) == 286);
static_assert(offsetof(data_profile_settings, pdp_type) == 292);
static_assert(offsetof(data_profile_settings, ip_support_type) == 296);
static_assert(offsetof(data_profile_settings, pdp_text) == 300);
static_assert(offsetof(data_profile_settings, pdp_type_valid) == 307);
static_assert(offsetof(data_profile_settings, ipv4_address_preference) == 312);
static_assert(offsetof(data_profile_settings, pdp_data_compression) == 320);
static_assert(offsetof(data_profile_settings, pdp_hdr_compression) == 328);
static_assert(offsetof(data_profile_settings, option_d) == 336);
static_assert(offsetof(data_profile_settings, option_e_valid) == 340);
static_assert(offsetof(data_profile_settings, option_e) == 341);
static_assert(offsetof(data_profile_settings, clat_valid) == 362);
static_assert(offsetof(data_profile_settings, clat_enabled) == 363);
static_assert(sizeof(data_profile_list) == 4 + 42 * 364);
static_assert(offsetof(connect_info, interfaceName) == 17);
static_assert(offsetof(connect_info, ipv4_dns_primary_valid) == 271);
static_assert(offsetof(connect_info, ipv4_dns_primary) == 272);
static_assert(offsetof(connect_info, ipv4_dns_secondary_valid) == 276);
static_assert(offsetof(connect_info, ipv4_dns_secondary) == 280);
static_assert(offsetof(connect_info, ipv4_address_valid) == 292);
static_assert(offsetof(connect_info, ipv4_address) == 296);
static_assert(offsetof(connect_info, ipv4_gateway_valid) == 300);
static_assert(offsetof(connect_info, ipv4_gateway) == 304);
static_assert(offsetof(connect_info, ipv6_address_valid) == 308);
static_assert(offsetof(connect_info, ipv6_address) == 309);
static_assert(offsetof(connect_info, ipv6_prefix_length) == 325);
static_assert(offsetof(connect_info, ipv6_gateway_valid) == 326);
static_assert(offsetof(connect_info, ipv6_gateway) == 327);
static_assert(offsetof(connect_info, ipv6_gateway_prefix_length) == 343);
static_assert(offsetof(connect_info, ipv6_dns_primary_valid) == 344);
static_assert(offsetof(connect_info, ipv6_dns_primary) == 345);
static_assert(offsetof(connect_info, ipv6_dns_secondary_valid) == 361);
static_assert(offsetof(connect_info, ipv6_dns_secondary) == 362);
static_assert(offsetof(connect_info, mtu_valid) == 378);
static_assert(offsetof(connect_info, mtu) == 380);
static_assert(sizeof(connect_info) == 384);

// The mask of every run-time settings request.
constexpr uint32_t kRuntimeMask = QMI_WDS_MASK_REQ_SETTINGS_OP_RES_PCO_V01 |
                                  QMI_WDS_MASK_REQ_SETTINGS_MTU_V01 |
                                  QMI_WDS_MASK_REQ_SETTINGS_GATEWAY_INFO_V01 |
                                  QMI_WDS_MASK_REQ_SETTINGS_IP_ADDR_V01 |
                                  QMI_WDS_MASK_REQ_SETTINGS_DNS_ADDR_V01;
static_assert(kRuntimeMask == 0x80002310u);

// The counters the statistics read.
constexpr uint32_t kStatsMask = QMI_WDS_MASK_STATS_TX_PACKETS_OK_V01 | QMI_WDS_MASK_STATS_RX_PACKETS_OK_V01 |
                                QMI_WDS_MASK_STATS_TX_BYTES_OK_V01 | QMI_WDS_MASK_STATS_RX_BYTES_OK_V01 |
                                QMI_WDS_MASK_STATS_TX_PKTS_DROPPED_V01 |
                                QMI_WDS_MASK_STATS_RX_PKTS_DROPPED_V01;
static_assert(kStatsMask == 963);
static_assert(offsetof(wds_get_pkt_statistics_resp_msg_v01, tx_ok_bytes_count_valid) == 56);
static_assert(offsetof(wds_get_pkt_statistics_resp_msg_v01, tx_ok_bytes_count) == 64);
static_assert(offsetof(wds_get_pkt_statistics_resp_msg_v01, rx_ok_bytes_count) == 80);
static_assert(offsetof(wds_get_data_bearer_technology_ex_resp_msg_v01, bearer_tech) == 16);
static_assert(offsetof(wds_get_data_bearer_technology_ex_resp_msg_v01, last_bearer_tech) == 40);
static_assert(offsetof(wds_get_apn_msisdn_info_resp_msg_v01, msisdn) == 16);

}  // namespace vorn::data
