// The messages of the vendor (M2M) service: id, published name, structures
// with the sizes the service's decoder expects, time-out and how the outcome
// of each is judged (src/qmi/message.h). Shared with the simulated modem and
// the tests.
#pragma once

#include <cstddef>

#include <vornpal/platform/vorn_m2m_service_v01.h>

#include "qmi/message.h"

namespace vorn::m2m {

using qmi::NoRequest;

// clang-format off
VORN_QMI_MESSAGE(GetUimSelect, QMI_VORN_M2M_GET_UIM_SELECT_REQ_V01, NoRequest, vorn_m2m_get_uim_select_resp_msg_v01, 0, 12, 3000, Check);
VORN_QMI_MESSAGE(GetIp, QMI_VORN_M2M_GET_IP_REQ_V01, vorn_m2m_get_ip_req_msg_v01, vorn_m2m_get_ip_resp_msg_v01, 1, 252, 3000, Check);
VORN_QMI_MESSAGE(GetProfileActive, QMI_VORN_M2M_GET_PROFILE_ACTIVE_REQ_V01, vorn_m2m_get_profile_active_req_msg_v01, vorn_m2m_get_profile_active_resp_msg_v01, 1, 12, 3000, Check);
VORN_QMI_MESSAGE(SetEventReport, QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01, vorn_m2m_set_event_report_req_msg_v01, vorn_m2m_set_event_report_resp_msg_v01, 22, 8, 3000, Check);
VORN_QMI_MESSAGE(GetRmnetActive, QMI_VORN_M2M_GET_RMNET_ACTIVE_REQ_V01, NoRequest, vorn_m2m_get_rmnet_active_resp_msg_v01, 0, 12, 3000, Check);
VORN_QMI_MESSAGE(GetUeMode, QMI_VORN_M2M_GET_UE_MODE_REQ_V01, vorn_m2m_get_ue_mode_req_msg_v01, vorn_m2m_get_ue_mode_resp_msg_v01, 1, 12, 10000, TransportCode);
VORN_QMI_MESSAGE(GetCurrentAct, QMI_VORN_M2M_GET_CURRENT_ACT_REQ_V01, vorn_m2m_get_current_act_req_msg_v01, vorn_m2m_get_current_act_resp_msg_v01, 1, 12, 3000, Check);
VORN_QMI_MESSAGE(RmnetAction, QMI_VORN_M2M_RMNET_ACTION_REQ_V01, vorn_m2m_rmnet_action_req_msg_v01, vorn_m2m_rmnet_action_resp_msg_v01, 8, 8, 3000, Check);
VORN_QMI_MESSAGE(WdsCreateProfile, QMI_VORN_M2M_WDS_CREATE_PROFILE_REQ_V01, vorn_m2m_wds_create_profile_req_msg_v01, vorn_m2m_wds_create_profile_resp_msg_v01, 2, 8, 3000, Check);
VORN_QMI_MESSAGE(ReadNvItem, QMI_VORN_M2M_READ_NV_ITEM_REQ_V01, vorn_m2m_read_nv_item_req_msg_v01, vorn_m2m_read_nv_item_resp_msg_v01, 128, 512, 10000, Check);
VORN_QMI_MESSAGE(WriteNvItem, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, vorn_m2m_write_nv_item_req_msg_v01, vorn_m2m_write_nv_item_resp_msg_v01, 632, 8, 10000, Check);
VORN_QMI_MESSAGE(GetDnscfg, QMI_VORN_M2M_GET_DNSCFG_REQ_V01, NoRequest, vorn_m2m_get_dnscfg_resp_msg_v01, 0, 24, 3000, Check);
VORN_QMI_MESSAGE(SetDhcpGw, QMI_VORN_M2M_SET_DHCP_GW_REQ_V01, vorn_m2m_set_dhcp_gw_req_msg_v01, vorn_m2m_set_dhcp_gw_resp_msg_v01, 1, 8, 3000, Check);
VORN_QMI_MESSAGE(GetCclkTime, QMI_VORN_M2M_GET_CCLK_TIME_REQ_V01, vorn_m2m_get_cclk_time_req_msg_v01, vorn_m2m_get_cclk_time_resp_msg_v01, 1, 16, 10000, Check);
VORN_QMI_MESSAGE(GetCfun, QMI_VORN_M2M_GET_CFUN_REQ_V01, NoRequest, vorn_m2m_get_cfun_resp_msg_v01, 0, 12, 3000, Check);
VORN_QMI_MESSAGE(GetSubver, QMI_VORN_M2M_GET_SUBVER_RESP_V01, vorn_m2m_get_subver_req_msg_v01, vorn_m2m_get_subver_resp_msg_v01, 1, 136, 3000, Check);
VORN_QMI_MESSAGE(SetDhcpNetmask, QMI_VORN_M2M_SET_DHCP_NETMASK_REQ_V01, vorn_m2m_set_dhcp_netmask_req_msg_v01, vorn_m2m_set_dhcp_netmask_resp_msg_v01, 8, 8, 3000, Check);
VORN_QMI_MESSAGE(GetDhcpNetmask, QMI_VORN_M2M_GET_DHCP_NETMASK_REQ_V01, NoRequest, vorn_m2m_get_dhcp_netmask_resp_msg_v01, 0, 16, 3000, Check);
VORN_QMI_MESSAGE(Nvrw, QMI_VORN_M2M_NVRW_REQ_V01, vorn_m2m_nvrw_req_msg_v01, vorn_m2m_nvrw_resp_msg_v01, 136, 144, 10000, Check);
VORN_QMI_MESSAGE(Sn, QMI_VORN_M2M_SN_REQ_V01, vorn_m2m_sn_req_msg_v01, vorn_m2m_sn_resp_msg_v01, 1, 28, 10000, Check);
VORN_QMI_MESSAGE(SmsPduAck, QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01, vorn_m2m_sms_pdu_ack_req_msg_v01, vorn_m2m_sms_pdu_ack_resp_msg_v01, 276, 8, 3000, TransportAndResult);
VORN_QMI_MESSAGE(WDisable, QMI_VORN_M2M_W_DISABLE_REQ_V01, vorn_m2m_w_disable_req_msg_v01, vorn_m2m_w_disable_resp_msg_v01, 1, 8, 10000, Check);
VORN_QMI_MESSAGE(Imei, QMI_VORN_M2M_IMEI_REQ_V01, vorn_m2m_imei_req_msg_v01, vorn_m2m_imei_resp_msg_v01, 65, 76, 10000, Check);
VORN_QMI_MESSAGE(Manufacturer, QMI_VORN_M2M_MANUFACTURER_REQ_V01, NoRequest, vorn_m2m_manufacturer_resp_msg_v01, 0, 140, 10000, Check);
VORN_QMI_MESSAGE(HwVersion, QMI_VORN_M2M_HW_VERSION_REQ_V01, vorn_m2m_hw_version_req_msg_v01, vorn_m2m_hw_version_resp_msg_v01, 1, 76, 10000, Check);
VORN_QMI_MESSAGE(ModelName, QMI_VORN_M2M_MODEL_NAME_REQ_V01, NoRequest, vorn_m2m_model_name_resp_msg_v01, 0, 44, 10000, Check);
VORN_QMI_MESSAGE(GetSn, QMI_VORN_M2M_GET_SN_REQ_V01, NoRequest, vorn_m2m_get_sn_resp_msg_v01, 0, 48, 10000, Check);
VORN_QMI_MESSAGE(SetSn, QMI_VORN_M2M_SET_SN_REQ_V01, vorn_m2m_set_sn_req_msg_v01, vorn_m2m_set_sn_resp_msg_v01, 40, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(SetUeMode, QMI_VORN_M2M_SET_UE_MODE_REQ_V01, vorn_m2m_set_ue_mode_req_msg_v01, vorn_m2m_set_ue_mode_resp_msg_v01, 1, 8, 10000, TransportCode);
VORN_QMI_MESSAGE(GetPacketReportEvent, QMI_VORN_M2M_GET_PACKET_REPORT_EVENT_REQ_V01, vorn_m2m_get_packet_report_event_req_msg_v01, vorn_m2m_get_packet_report_event_resp_msg_v01, 1, 16, 10000, TransportCode);
VORN_QMI_MESSAGE(SetPacketReportEvent, QMI_VORN_M2M_SET_PACKET_REPORT_EVENT_REQ_V01, vorn_m2m_set_packet_report_event_req_msg_v01, vorn_m2m_set_packet_report_event_resp_msg_v01, 8, 8, 10000, TransportCode);
VORN_QMI_MESSAGE(EfsRename, QMI_VORN_M2M_EFS_RENAME_REQ_V01, vorn_m2m_efs_rename_req_msg_v01, vorn_m2m_efs_rename_resp_msg_v01, 256, 8, 10000, TransportCode);
VORN_QMI_MESSAGE(OtalogRm, QMI_VORN_M2M_OTALOG_RM_REQ_V01, vorn_m2m_otalog_rm_req_msg_v01, vorn_m2m_otalog_rm_resp_msg_v01, 1, 8, 10000, Check);
VORN_QMI_MESSAGE(GetIpv6Format, QMI_VORN_M2M_GET_IPV6_FORMAT_REQ_V01, vorn_m2m_get_ipv6_format_req_msg_v01, vorn_m2m_get_ipv6_format_resp_msg_v01, 1, 24, 10000, TransportCode);
VORN_QMI_MESSAGE(SetIpv6Format, QMI_VORN_M2M_SET_IPV6_FORMAT_REQ_V01, vorn_m2m_set_ipv6_format_req_msg_v01, vorn_m2m_set_ipv6_format_resp_msg_v01, 16, 8, 10000, TransportCode);
VORN_QMI_MESSAGE(GetCaInfo, QMI_VORN_M2M_GET_CA_INFO_REQ_V01, vorn_m2m_get_ca_info_req_msg_v01, vorn_m2m_get_ca_info_resp_msg_v01, 1, 532, 3000, Check);
VORN_QMI_MESSAGE(BackupDeviceData, QMI_VORN_M2M_BACKUP_DEVICE_DATA_REQ_V01, vorn_m2m_backup_device_data_req_msg_v01, vorn_m2m_backup_device_data_resp_msg_v01, 1, 8, 10000, Check);
VORN_QMI_MESSAGE(CopyNvItem, QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01, vorn_m2m_copy_nv_item_req_msg_v01, vorn_m2m_copy_nv_item_resp_msg_v01, 256, 8, 10000, Check);
VORN_QMI_MESSAGE(GetSigInfo, QMI_VORN_M2M_GET_SIG_INFO_REQ_V01, vorn_m2m_get_sig_info_req_msg_v01, vorn_m2m_get_sig_info_resp_msg_v01, 1, 20, 3000, Check);
VORN_QMI_MESSAGE(GetAuthenticationMode, QMI_VORN_M2M_GET_AUTHENTICATION_MODE_REQ_V01, vorn_m2m_get_authentication_mode_req_msg_v01, vorn_m2m_get_authentication_mode_resp_msg_v01, 1, 136, 3000, Check);
VORN_QMI_MESSAGE(ScanCell, QMI_VORN_M2M_SCAN_CELL_REQ_V01, vorn_m2m_scan_cell_req_msg_v01, vorn_m2m_scan_cell_resp_msg_v01, 1, 8, 10000, TransportCode);
VORN_QMI_MESSAGE(SetCfunMode, QMI_VORN_M2M_SET_CFUN_MODE_REQ_V01, vorn_m2m_set_cfun_mode_req_msg_v01, vorn_m2m_set_cfun_mode_resp_msg_v01, 1, 8, 10000, Check);
VORN_QMI_MESSAGE(GetStatis, QMI_VORN_M2M_GET_STATIS_REQ_V01, NoRequest, vorn_m2m_get_statis_resp_msg_v01, 0, 56, 3000, Check);
VORN_QMI_MESSAGE(ProjectName, QMI_VORN_M2M_PROJECT_NAME_REQ_V01, NoRequest, vorn_m2m_project_name_resp_msg_v01, 0, 76, 10000, Check);
VORN_QMI_MESSAGE(SetCellLockExt, QMI_VORN_SET_CELL_LOCK_EXT_REQ_V01, vorn_set_cell_lock_ext_req_msg_v01, vorn_set_cell_lock_ext_resp_msg_v01, 404, 8, 3000, Check);
VORN_QMI_MESSAGE(GetCellLockExt, QMI_VORN_GET_CELL_LOCK_EXT_REQ_V01, vorn_get_cell_lock_ext_req_msg_v01, vorn_get_cell_lock_ext_resp_msg_v01, 1, 412, 3000, Check);
VORN_QMI_MESSAGE(GetCellInfoExt, QMI_VORN_M2M_GET_CELL_INFO_EXT_REQ_V01, vorn_m2m_get_cell_info_ext_req_msg_v01, vorn_m2m_get_cell_info_ext_resp_msg_v01, 1, 84, 3000, Check);
VORN_QMI_MESSAGE(SetPrfmod, QMI_VORN_M2M_SET_PRFMOD_REQ_V01, vorn_m2m_set_prfmod_req_msg_v01, vorn_m2m_set_prfmod_resp_msg_v01, 36, 8, 3000, Check);
VORN_QMI_MESSAGE(GetAntSinr, QMI_VORN_M2M_GET_ANT_SINR_REQ_V01, vorn_m2m_get_ant_sinr_req_msg_v01, vorn_m2m_get_ant_sinr_resp_msg_v01, 1, 12, 3000, Check);
// The indications, decoded as the service's object decodes them; a failed
// decoding names them as the service's own tools do.
VORN_QMI_INDICATION(EventReportInd, QMI_VORN_M2M_EVENT_REPORT_IND_V01, vorn_m2m_event_report_ind_msg_v01, 168, "QMI_oem_M2M_EVENT_REPORT_IND_V01");
VORN_QMI_INDICATION(NvCfgReportInd, QMI_VORN_M2M_NV_CFG_REPORT_IND_V01, vorn_m2m_nv_cfg_report_ind_msg_v01, 42324, "QMI_oem_M2M_NV_CFG_REPORT_IND_V01");
VORN_QMI_INDICATION(ScanCellInfoInd, QMI_VORN_M2M_SCAN_CELL_INFO_IND_V01, vorn_m2m_scan_cell_info_ind_msg_v01, 2172, "QMI_oem_M2M_SCAN_CELL_INFO_IND_V01");
// clang-format on

static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, report6_valid) == 0x46);
static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, report1) == 0x54);
static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, unsol_atcmd) == 0x61);
static_assert(offsetof(vorn_m2m_event_report_ind_msg_v01, datacall_status) == 0xA4);
static_assert(sizeof(vorn_m2m_scan_cell_entry_v01) == 36, "decoded scan entry");
static_assert(offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv4_second) == 76);
static_assert(offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv6_second) == 218);
static_assert(offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv6_third) == 235);
static_assert(offsetof(vorn_m2m_get_statis_resp_msg_v01, dl_bytes) == 16);
static_assert(offsetof(vorn_m2m_get_statis_resp_msg_v01, dl_max_speed) == 40);

}  // namespace vorn::m2m
