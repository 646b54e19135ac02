// Every request of the family reaches the modem as the family's message
// table describes it: the message's id, and the request and response sizes
// and time-out that the service documents.
#include <cstring>
#include <vector>

#include <vornpal/network.h>

#include "m2m_test.h"
#include "message_rows.h"

namespace {

using namespace m2mt;

using vt::row;

char text[256];
uint8_t byte_out;
uint32_t words[4];
const uint8_t kOneByte[1] = {1};
m2m_ip_info ip;
vorn_m2m_statis statis;
vorn_network_info network;
vorn_network_freqlock_info lock;
const vorn_m2m_sms_ack kAck{};

const std::vector<vt::MessageRow> kRows = {
    row<m2m::GetUimSelect>("get_uim_select", [] { return vorn_m2m_pal_get_uim_select(&byte_out); }, 0, 12, 3000),
    row<m2m::GetProfileActive>("get_profile_active", [] { return vorn_m2m_pal_get_profile_active(1, &byte_out); }, 1, 12, 3000),
    row<m2m::SetEventReport>("event_report_register", [] { return vorn_m2m_event_report_register(); }, 22, 8, 3000),
    row<m2m::GetRmnetActive>("get_rmnet_active", [] { return vorn_m2m_pal_get_rmnet_active(words); }, 0, 12, 3000),
    row<m2m::GetUeMode>("get_ue_mode", [] { return vorn_m2m_pal_get_ue_mode(&byte_out); }, 1, 12, 10000),
    row<m2m::GetCurrentAct>("get_current_act", [] { return vorn_m2m_pal_get_current_act(&byte_out); }, 1, 12, 3000),
    row<m2m::WdsCreateProfile>("create_wds_profile", [] { return vorn_m2m_pal_create_wds_profile(0, 2); }, 2, 8, 3000),
    row<m2m::ReadNvItem>("read_nv_by_path", [] { uint32_t n; return vorn_m2m_pal_read_nv_by_path("/nv/item_files/odm/config0.ini", text, &n, 0); }, 128, 512, 10000),
    row<m2m::WriteNvItem>("write_nv_by_path", [] { return vorn_m2m_pal_write_nv_by_path("/x", "v", 1); }, 632, 8, 10000),
    row<m2m::SetDhcpGw>("set_dhcpgw", [] { return vorn_m2m_pal_set_dhcpgw(1); }, 1, 8, 3000),
    row<m2m::GetCclkTime>("get_cclk_time", [] { return vorn_m2m_pal_get_cclk_time(text, sizeof text); }, 1, 16, 10000),
    row<m2m::GetCfun>("get_cfun_mode", [] { return vorn_m2m_pal_get_cfun_mode(&byte_out); }, 0, 12, 3000),
    row<m2m::GetSubver>("get_sub_ver", [] { return vorn_m2m_pal_get_sub_ver(text, 64, text + 64, 64); }, 1, 136, 3000),
    row<m2m::SetDhcpNetmask>("set_wan_netmask", [] { return vorn_m2m_pal_set_wan_netmask(1, 2); }, 8, 8, 3000),
    row<m2m::GetDhcpNetmask>("get_wan_netmask", [] { return vorn_m2m_pal_get_wan_netmask(words, words + 1); }, 0, 16, 3000),
    row<m2m::Nvrw>("read_nv_by_nvid", [] { return vorn_m2m_pal_read_nv_by_nvid(1, 0, reinterpret_cast<uint8_t *>(text)); }, 136, 144, 10000),
    row<m2m::Nvrw>("read_nvstr_by_nvid", [] { return vorn_m2m_pal_read_nvstr_by_nvid(1, 0, text); }, 136, 144, 10000),
    row<m2m::Nvrw>("write_nv_by_nvid", [] { return vorn_m2m_pal_write_nv_by_nvid(1, 1, kOneByte, 1); }, 136, 144, 10000),
    row<m2m::WDisable>("set_w_disable", [] { return vorn_m2m_pal_set_w_disable(0); }, 1, 8, 10000),
    row<m2m::Manufacturer>("get_manufacturer", [] { return vorn_m2m_pal_get_manufacturer(text); }, 0, 140, 10000),
    row<m2m::HwVersion>("get_hw_version", [] { return vorn_m2m_pal_get_hw_version(text); }, 1, 76, 10000),
    row<m2m::ModelName>("get_model", [] { return vorn_m2m_pal_get_model(text); }, 0, 44, 10000),
    row<m2m::GetSn>("get_fsn", [] { return vorn_m2m_pal_get_fsn(text, 36); }, 0, 48, 10000),
    row<m2m::SetSn>("set_fsn", [] { return vorn_m2m_pal_set_fsn("SN", 2); }, 40, 8, 10000),
    row<m2m::SetUeMode>("set_ue_mode", [] { return vorn_m2m_pal_set_ue_mode(2); }, 1, 8, 10000),
    row<m2m::GetPacketReportEvent>("get_packet_report_event", [] { return vorn_m2m_pal_get_packet_report_event(words, words + 1); }, 1, 16, 10000),
    row<m2m::SetPacketReportEvent>("set_packet_report_event", [] { return vorn_m2m_pal_set_packet_report_event(1, 2); }, 8, 8, 10000),
    row<m2m::EfsRename>("efs_rename", [] { return vorn_m2m_pal_efs_rename("/nv/item_files/odm/config0.ini", "/y"); }, 256, 8, 10000),
    row<m2m::OtalogRm>("otalog_rm", [] { return vorn_m2m_pal_otalog_rm(); }, 1, 8, 10000),
    row<m2m::GetIpv6Format>("get_ipv6_format", [] { return vorn_m2m_pal_get_ipv6_format(words); }, 1, 24, 10000),
    row<m2m::SetIpv6Format>("set_ipv6_format", [] { return vorn_m2m_pal_set_ipv6_format(words); }, 16, 8, 10000),
    row<m2m::CopyNvItem>("set_thermal_mode", [] { return vorn_m2m_pal_set_thermal_mode(1); }, 256, 8, 10000),
    row<m2m::GetAuthenticationMode>("get_auth_mode", [] { return vorn_m2m_pal_get_auth_mode(text); }, 1, 136, 3000),
    row<m2m::ScanCell>("scan_cell", [] { return vorn_m2m_pal_scan_cell(); }, 1, 8, 10000),
    row<m2m::SetCfunMode>("set_cfun_mode", [] { return vorn_m2m_pal_set_cfun_mode(1); }, 1, 8, 10000),
    row<m2m::ProjectName>("get_project_name", [] { return vorn_m2m_pal_get_project_name(text); }, 0, 76, 10000),
    row<m2m::SetPrfmod>("set_apn", [] { return vorn_m2m_pal_set_apn(1, "internet"); }, 36, 8, 3000),
    row<m2m::GetAntSinr>("get_ant_sinr", [] { return vorn_m2m_pal_get_ant_sinr(words); }, 1, 12, 3000),
    row<m2m::GetIp>("get_ip", [] { return vorn_m2m_pal_get_ip(1, &ip); }, 1, 252, 3000),
    row<m2m::Sn>("get_sn", [] { return vorn_qmi_m2m_pal_get_sn(reinterpret_cast<uint8_t *>(text), words); }, 1, 28, 10000),
    row<m2m::SmsPduAck>("send_sms_pdu_ack", [] { return vorn_m2m_send_sms_pdu_ack(&kAck); }, 276, 8, 3000),
    row<m2m::Imei>("read_imei", [] { return vorn_m2m_pal_read_imei(text, text + 64); }, 65, 76, 10000),
    row<m2m::BackupDeviceData>("backup_device_data", [] { return vorn_m2m_pal_backup_device_data(); }, 1, 8, 10000),
    row<m2m::GetCaInfo>("get_cainfo", [] { return vorn_m2m_pal_get_cainfo(&network); }, 1, 532, 3000),
    row<m2m::GetSigInfo>("get_cell_sig_info", [] { return vorn_m2m_pal_get_cell_sig_info(0, &network); }, 1, 20, 3000),
    row<m2m::GetStatis>("get_statis_cfg", [] { return vorn_m2m_pal_get_statis_cfg(&statis); }, 0, 56, 3000),
    row<m2m::SetCellLockExt>("set_cell_lock_ext_info", [] { return vorn_m2m_pal_set_cell_lock_ext_info(&lock); }, 404, 8, 3000),
    row<m2m::GetCellLockExt>("get_cell_lock_ext_info", [] { return vorn_m2m_pal_get_cell_lock_ext_info(&lock); }, 1, 412, 3000),
    row<m2m::GetCellInfoExt>("get_cell_info_ext", [] { return vorn_m2m_pal_get_cell_info_ext(&network); }, 1, 84, 3000),
};

class M2mMessages : public M2mTest {};

TEST_F(M2mMessages, EachRequestHasItsIdSizesAndTimeout) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  vt::expect_messages(kM2m, kRows);
}

TEST_F(M2mMessages, FixedResultFunctionsTouchNothing) {
  uint8_t output[64];
  std::memset(output, 0x5A, sizeof output);
  for (int code : {10, 16, 17, 19, 20, 21, 22, 23, -1}) {
    EXPECT_EQ(vorn_m2m_pal_common_request(code, "in", 2, output), 0);
  }
  EXPECT_EQ(vorn_m2m_pal_common_request(0, nullptr, 0, nullptr), 0);
  EXPECT_EQ(std::vector<uint8_t>(output, output + 64), std::vector<uint8_t>(64, 0x5A));
  EXPECT_EQ(vorn_m2m_pal_sn_imei_sync(), 0);
  EXPECT_EQ(vorn_m2m_pal_write2raw(), 0);
  EXPECT_TRUE(vornsim::requests().empty());
  EXPECT_EQ(vornsim::counters().clients_live, 0);
}

}  // namespace
