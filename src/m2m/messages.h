// The messages of the vendor service: id, published name, structures,
// time-out and how the outcome of each is judged. The sizes are what the
// service's decoder expects; a layout change breaks the build here, on the
// host as on the target.
#pragma once

#include <cstddef>
#include <type_traits>

#include <vornpal/platform/vorn_m2m_service_v01.h>

#include "qmi/request.h"

namespace vorn::m2m {

// How a request's outcome becomes the function's result.
enum class Judge {
  Check,               // vornQmi_CheckResponseCode: 0, or -1 on any failure
  Transport,           // the transport's code as it stands; a refusal counts as success
  TransportAndResult,  // -1 when the transport's code or `result` is non-zero
};

using qmi::NoRequest;

// Bytes of a request as it goes on the wire: none for NoRequest.
template <class T>
constexpr size_t wire_size() {
  if constexpr (std::is_same_v<T, NoRequest>) {
    return 0;
  } else {
    return sizeof(T);
  }
}

template <unsigned Id, class ReqT, class RespT, unsigned TimeoutMs, Judge J>
struct Message {
  using Req = ReqT;
  using Resp = RespT;
  static constexpr unsigned id = Id;
  static constexpr unsigned timeout_ms = TimeoutMs;
  static constexpr Judge judge = J;
};

#define VORN_M2M_MESSAGE(tag, id, req, resp, req_size, resp_size, timeout, judgement)    \
  struct tag : Message<id, req, resp, timeout, Judge::judgement> {                      \
    static constexpr char name[] = #id;                                                 \
  };                                                                                    \
  static_assert(wire_size<req>() == (req_size), #id ": request size");                 \
  static_assert(sizeof(resp) == (resp_size), #id ": response size")

// clang-format off
VORN_M2M_MESSAGE(GetUimSelect, QMI_VORN_M2M_GET_UIM_SELECT_REQ_V01, NoRequest, vorn_m2m_get_uim_select_resp_msg_v01, 0, 12, 3000, Check);
VORN_M2M_MESSAGE(GetIp, QMI_VORN_M2M_GET_IP_REQ_V01, vorn_m2m_get_ip_req_msg_v01, vorn_m2m_get_ip_resp_msg_v01, 1, 252, 3000, Check);
VORN_M2M_MESSAGE(GetProfileActive, QMI_VORN_M2M_GET_PROFILE_ACTIVE_REQ_V01, vorn_m2m_get_profile_active_req_msg_v01, vorn_m2m_get_profile_active_resp_msg_v01, 1, 12, 3000, Check);
VORN_M2M_MESSAGE(SetEventReport, QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01, vorn_m2m_set_event_report_req_msg_v01, vorn_m2m_set_event_report_resp_msg_v01, 22, 8, 3000, Check);
VORN_M2M_MESSAGE(GetRmnetActive, QMI_VORN_M2M_GET_RMNET_ACTIVE_REQ_V01, NoRequest, vorn_m2m_get_rmnet_active_resp_msg_v01, 0, 12, 3000, Check);
VORN_M2M_MESSAGE(GetUeMode, QMI_VORN_M2M_GET_UE_MODE_REQ_V01, vorn_m2m_get_ue_mode_req_msg_v01, vorn_m2m_get_ue_mode_resp_msg_v01, 1, 12, 10000, Transport);
VORN_M2M_MESSAGE(GetCurrentAct, QMI_VORN_M2M_GET_CURRENT_ACT_REQ_V01, vorn_m2m_get_current_act_req_msg_v01, vorn_m2m_get_current_act_resp_msg_v01, 1, 12, 3000, Check);
VORN_M2M_MESSAGE(RmnetAction, QMI_VORN_M2M_RMNET_ACTION_REQ_V01, vorn_m2m_rmnet_action_req_msg_v01, vorn_m2m_rmnet_action_resp_msg_v01, 8, 8, 3000, Check);
VORN_M2M_MESSAGE(WdsCreateProfile, QMI_VORN_M2M_WDS_CREATE_PROFILE_REQ_V01, vorn_m2m_wds_create_profile_req_msg_v01, vorn_m2m_wds_create_profile_resp_msg_v01, 2, 8, 3000, Check);
VORN_M2M_MESSAGE(ReadNvItem, QMI_VORN_M2M_READ_NV_ITEM_REQ_V01, vorn_m2m_read_nv_item_req_msg_v01, vorn_m2m_read_nv_item_resp_msg_v01, 128, 512, 10000, Check);
VORN_M2M_MESSAGE(WriteNvItem, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, vorn_m2m_write_nv_item_req_msg_v01, vorn_m2m_write_nv_item_resp_msg_v01, 632, 8, 10000, Check);
VORN_M2M_MESSAGE(GetDnscfg, QMI_VORN_M2M_GET_DNSCFG_REQ_V01, NoRequest, vorn_m2m_get_dnscfg_resp_msg_v01, 0, 24, 3000, Check);
VORN_M2M_MESSAGE(SetDhcpGw, QMI_VORN_M2M_SET_DHCP_GW_REQ_V01, vorn_m2m_set_dhcp_gw_req_msg_v01, vorn_m2m_set_dhcp_gw_resp_msg_v01, 1, 8, 3000, Check);
VORN_M2M_MESSAGE(GetCclkTime, QMI_VORN_M2M_GET_CCLK_TIME_REQ_V01, vorn_m2m_get_cclk_time_req_msg_v01, vorn_m2m_get_cclk_time_resp_msg_v01, 1, 16, 10000, Check);
VORN_M2M_MESSAGE(GetCfun, QMI_VORN_M2M_GET_CFUN_REQ_V01, NoRequest, vorn_m2m_get_cfun_resp_msg_v01, 0, 12, 3000, Check);
VORN_M2M_MESSAGE(GetSubver, QMI_VORN_M2M_GET_SUBVER_RESP_V01, vorn_m2m_get_subver_req_msg_v01, vorn_m2m_get_subver_resp_msg_v01, 1, 136, 3000, Check);
VORN_M2M_MESSAGE(SetDhcpNetmask, QMI_VORN_M2M_SET_DHCP_NETMASK_REQ_V01, vorn_m2m_set_dhcp_netmask_req_msg_v01, vorn_m2m_set_dhcp_netmask_resp_msg_v01, 8, 8, 3000, Check);
VORN_M2M_MESSAGE(GetDhcpNetmask, QMI_VORN_M2M_GET_DHCP_NETMASK_REQ_V01, NoRequest, vorn_m2m_get_dhcp_netmask_resp_msg_v01, 0, 16, 3000, Check);
VORN_M2M_MESSAGE(Nvrw, QMI_VORN_M2M_NVRW_REQ_V01, vorn_m2m_nvrw_req_msg_v01, vorn_m2m_nvrw_resp_msg_v01, 136, 144, 10000, Check);
VORN_M2M_MESSAGE(Sn, QMI_VORN_M2M_SN_REQ_V01, vorn_m2m_sn_req_msg_v01, vorn_m2m_sn_resp_msg_v01, 1, 28, 10000, Check);
VORN_M2M_MESSAGE(SmsPduAck, QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01, vorn_m2m_sms_pdu_ack_req_msg_v01, vorn_m2m_sms_pdu_ack_resp_msg_v01, 276, 8, 3000, TransportAndResult);
VORN_M2M_MESSAGE(WDisable, QMI_VORN_M2M_W_DISABLE_REQ_V01, vorn_m2m_w_disable_req_msg_v01, vorn_m2m_w_disable_resp_msg_v01, 1, 8, 10000, Check);
VORN_M2M_MESSAGE(Imei, QMI_VORN_M2M_IMEI_REQ_V01, vorn_m2m_imei_req_msg_v01, vorn_m2m_imei_resp_msg_v01, 65, 76, 10000, Check);
VORN_M2M_MESSAGE(Manufacturer, QMI_VORN_M2M_MANUFACTURER_REQ_V01, NoRequest, vorn_m2m_manufacturer_resp_msg_v01, 0, 140, 10000, Check);
VORN_M2M_MESSAGE(HwVersion, QMI_VORN_M2M_HW_VERSION_REQ_V01, vorn_m2m_hw_version_req_msg_v01, vorn_m2m_hw_version_resp_msg_v01, 1, 76, 10000, Check);
VORN_M2M_MESSAGE(ModelName, QMI_VORN_M2M_MODEL_NAME_REQ_V01, NoRequest, vorn_m2m_model_name_resp_msg_v01, 0, 44, 10000, Check);
VORN_M2M_MESSAGE(GetSn, QMI_VORN_M2M_GET_SN_REQ_V01, NoRequest, vorn_m2m_get_sn_resp_msg_v01, 0, 48, 10000, Check);
VORN_M2M_MESSAGE(SetSn, QMI_VORN_M2M_SET_SN_REQ_V01, vorn_m2m_set_sn_req_msg_v01, vorn_m2m_set_sn_resp_msg_v01, 40, 8, 10000, TransportAndResult);
VORN_M2M_MESSAGE(SetUeMode, QMI_VORN_M2M_SET_UE_MODE_REQ_V01, vorn_m2m_set_ue_mode_req_msg_v01, vorn_m2m_set_ue_mode_resp_msg_v01, 1, 8, 10000, Transport);
VORN_M2M_MESSAGE(GetPacketReportEvent, QMI_VORN_M2M_GET_PACKET_REPORT_EVENT_REQ_V01, vorn_m2m_get_packet_report_event_req_msg_v01, vorn_m2m_get_packet_report_event_resp_msg_v01, 1, 16, 10000, Transport);
VORN_M2M_MESSAGE(SetPacketReportEvent, QMI_VORN_M2M_SET_PACKET_REPORT_EVENT_REQ_V01, vorn_m2m_set_packet_report_event_req_msg_v01, vorn_m2m_set_packet_report_event_resp_msg_v01, 8, 8, 10000, Transport);
VORN_M2M_MESSAGE(EfsRename, QMI_VORN_M2M_EFS_RENAME_REQ_V01, vorn_m2m_efs_rename_req_msg_v01, vorn_m2m_efs_rename_resp_msg_v01, 256, 8, 10000, Transport);
VORN_M2M_MESSAGE(OtalogRm, QMI_VORN_M2M_OTALOG_RM_REQ_V01, vorn_m2m_otalog_rm_req_msg_v01, vorn_m2m_otalog_rm_resp_msg_v01, 1, 8, 10000, Check);
VORN_M2M_MESSAGE(GetIpv6Format, QMI_VORN_M2M_GET_IPV6_FORMAT_REQ_V01, vorn_m2m_get_ipv6_format_req_msg_v01, vorn_m2m_get_ipv6_format_resp_msg_v01, 1, 24, 10000, Transport);
VORN_M2M_MESSAGE(SetIpv6Format, QMI_VORN_M2M_SET_IPV6_FORMAT_REQ_V01, vorn_m2m_set_ipv6_format_req_msg_v01, vorn_m2m_set_ipv6_format_resp_msg_v01, 16, 8, 10000, Transport);
VORN_M2M_MESSAGE(GetCaInfo, QMI_VORN_M2M_GET_CA_INFO_REQ_V01, vorn_m2m_get_ca_info_req_msg_v01, vorn_m2m_get_ca_info_resp_msg_v01, 1, 532, 3000, Check);
VORN_M2M_MESSAGE(BackupDeviceData, QMI_VORN_M2M_BACKUP_DEVICE_DATA_REQ_V01, vorn_m2m_backup_device_data_req_msg_v01, vorn_m2m_backup_device_data_resp_msg_v01, 1, 8, 10000, Check);
VORN_M2M_MESSAGE(CopyNvItem, QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01, vorn_m2m_copy_nv_item_req_msg_v01, vorn_m2m_copy_nv_item_resp_msg_v01, 256, 8, 10000, Check);
VORN_M2M_MESSAGE(GetSigInfo, QMI_VORN_M2M_GET_SIG_INFO_REQ_V01, vorn_m2m_get_sig_info_req_msg_v01, vorn_m2m_get_sig_info_resp_msg_v01, 1, 20, 3000, Check);
VORN_M2M_MESSAGE(GetAuthenticationMode, QMI_VORN_M2M_GET_AUTHENTICATION_MODE_REQ_V01, vorn_m2m_get_authentication_mode_req_msg_v01, vorn_m2m_get_authentication_mode_resp_msg_v01, 1, 136, 3000, Check);
VORN_M2M_MESSAGE(ScanCell, QMI_VORN_M2M_SCAN_CELL_REQ_V01, vorn_m2m_scan_cell_req_msg_v01, vorn_m2m_scan_cell_resp_msg_v01, 1, 8, 10000, Transport);
VORN_M2M_MESSAGE(SetCfunMode, QMI_VORN_M2M_SET_CFUN_MODE_REQ_V01, vorn_m2m_set_cfun_mode_req_msg_v01, vorn_m2m_set_cfun_mode_resp_msg_v01, 1, 8, 10000, Check);
VORN_M2M_MESSAGE(GetStatis, QMI_VORN_M2M_GET_STATIS_REQ_V01, NoRequest, vorn_m2m_get_statis_resp_msg_v01, 0, 56, 3000, Check);
VORN_M2M_MESSAGE(ProjectName, QMI_VORN_M2M_PROJECT_NAME_REQ_V01, NoRequest, vorn_m2m_project_name_resp_msg_v01, 0, 76, 10000, Check);
VORN_M2M_MESSAGE(SetCellLockExt, QMI_VORN_SET_CELL_LOCK_EXT_REQ_V01, vorn_set_cell_lock_ext_req_msg_v01, vorn_set_cell_lock_ext_resp_msg_v01, 404, 8, 3000, Check);
VORN_M2M_MESSAGE(GetCellLockExt, QMI_VORN_GET_CELL_LOCK_EXT_REQ_V01, vorn_get_cell_lock_ext_req_msg_v01, vorn_get_cell_lock_ext_resp_msg_v01, 1, 412, 3000, Check);
VORN_M2M_MESSAGE(GetCellInfoExt, QMI_VORN_M2M_GET_CELL_INFO_EXT_REQ_V01, vorn_m2m_get_cell_info_ext_req_msg_v01, vorn_m2m_get_cell_info_ext_resp_msg_v01, 1, 84, 3000, Check);
VORN_M2M_MESSAGE(SetPrfmod, QMI_VORN_M2M_SET_PRFMOD_REQ_V01, vorn_m2m_set_prfmod_req_msg_v01, vorn_m2m_set_prfmod_resp_msg_v01, 36, 8, 3000, Check);
VORN_M2M_MESSAGE(GetAntSinr, QMI_VORN_M2M_GET_ANT_SINR_REQ_V01, vorn_m2m_get_ant_sinr_req_msg_v01, vorn_m2m_get_ant_sinr_resp_msg_v01, 1, 12, 3000, Check);
// clang-format on

#undef VORN_M2M_MESSAGE

// Indications, decoded.
static_assert(sizeof(vorn_m2m_event_report_ind_msg_v01) == 168, "event report indication");
static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, report6_valid) == 0x46);
static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, report1) == 0x54);
static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, unsol_atcmd) == 0x61);
static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, datacall_status) == 0xA4);
static_assert(sizeof(vorn_m2m_nv_cfg_report_ind_msg_v01) == 42324, "NV report indication");
static_assert(offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv4_second) == 76);
static_assert(offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv6_second) == 218);
static_assert(offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv6_third) == 235);
static_assert(offsetof(vorn_m2m_get_statis_resp_msg_v01, dl_bytes) == 16);
static_assert(offsetof(vorn_m2m_get_statis_resp_msg_v01, dl_max_speed) == 40);

}  // namespace vorn::m2m
