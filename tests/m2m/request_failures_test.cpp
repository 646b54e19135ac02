// Every exported function of the family that sends a request, with each of
// its requests failing in turn: the documented result, no client left
// behind, the modem's store and the identity files as they were, and a
// family that works again once the modem does.
#include <vornpal/network.h>

#include "m2m_test.h"
#include "request_failures.h"

namespace {

using namespace m2mt;
using vt::FailureCase;

// Results of the three judgements of the family's messages.
constexpr int kFailed = VORN_FAILURE;
constexpr int kTimeout = vornsim::kTimeoutRc;  // a transport's code passed on as it stands
constexpr int kUnseen = VORN_OK;               // a refusal the function does not look at

char text[1024];
uint8_t bytes[512];
uint8_t byte_out;
uint32_t words[4];
uint32_t length;
int number;
m2m_ip_info ip;
vorn_m2m_statis statis;
vorn_network_info network;
vorn_network_freqlock_info lock;
const vorn_m2m_sms_ack kAck{};

const char *const kIdentityFiles[] = {"/tmp/cfsn",  "/data/imei",     "/data/imei_bak",
                                      "/data/imei01", "/data/imei01_bak", "/data/cfsn",
                                      "/data/cfsn_bak"};

vt::FailureFamily family() {
  vt::FailureFamily family;
  family.fresh = [] {
    vorn_m2m_pal_deinit();
    vornsim::reset();
    for (const char *file : kIdentityFiles) std::remove(file);
    ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  };
  family.files.assign(std::begin(kIdentityFiles), std::end(kIdentityFiles));
  return family;
}

void without_client() { vorn_m2m_pal_deinit(); }
void connected() { ASSERT_EQ(vorn_m2m_pal_connect(5, 0), 0); }
void switched() { ASSERT_EQ(vorn_m2m_pal_set_switchmode(1), 0); }

const FailureCase kCases[] = {
    {"vorn_m2m_pal_early_init", [] { return vorn_m2m_pal_early_init(); }, VORN_OK, VORN_OK, true, {}, without_client},
    // The identity restore goes on past a failed query; reading the serial
    // number leaves its /tmp copy.
    {"vorn_m2m_pal_init", [] { return vorn_m2m_pal_init(); }, VORN_OK, VORN_OK, false, {}, without_client},
    {"vorn_m2m_event_report_register", [] { return vorn_m2m_event_report_register(); }, kFailed, kFailed},
    {"vorn_m2m_pal_read_nv_by_path", [] { return vorn_m2m_pal_read_nv_by_path("/nv/item_files/odm/config0.ini", text, &length, 0); }, kFailed, kFailed},
    {"vorn_m2m_pal_write_nv_by_path", [] { return vorn_m2m_pal_write_nv_by_path("/nv/item_files/odm/x", "v", 1); }, kFailed, kFailed},
    {"vorn_m2m_pal_efs_rename", [] { return vorn_m2m_pal_efs_rename("/nv/item_files/odm/config0.ini", "/nv/item_files/odm/y"); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_read_nv_by_nvid", [] { return vorn_m2m_pal_read_nv_by_nvid(1, 0, bytes); }, kFailed, kFailed},
    {"vorn_m2m_pal_read_nvstr_by_nvid", [] { return vorn_m2m_pal_read_nvstr_by_nvid(1, 0, text); }, kFailed, kFailed},
    {"vorn_m2m_pal_write_nv_by_nvid", [] { return vorn_m2m_pal_write_nv_by_nvid(1, 1, bytes, 1); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_manufacturer", [] { return vorn_m2m_pal_get_manufacturer(text); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_hw_version", [] { return vorn_m2m_pal_get_hw_version(text); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_model", [] { return vorn_m2m_pal_get_model(text); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_project_name", [] { return vorn_m2m_pal_get_project_name(text); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_sub_ver", [] { return vorn_m2m_pal_get_sub_ver(text, 64, text + 64, 64); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_cclk_time", [] { return vorn_m2m_pal_get_cclk_time(text, 32); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_cfun_mode", [] { return vorn_m2m_pal_get_cfun_mode(&byte_out); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_cfun_mode", [] { return vorn_m2m_pal_set_cfun_mode(4); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_fsn", [] { return vorn_m2m_pal_get_fsn(text, 36); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_fsn", [] { return vorn_m2m_pal_set_fsn("SN1", 3); }, kFailed, kFailed},
    {"vorn_m2m_pal_read_imei", [] { return vorn_m2m_pal_read_imei(text, text + 64); }, kFailed, kFailed},
    {"vorn_m2m_pal_write_imei", [] { return vorn_m2m_pal_write_imei("356938035643809", nullptr); }, kFailed, kFailed},
    {"vorn_qmi_m2m_pal_get_sn", [] { return vorn_qmi_m2m_pal_get_sn(bytes, &length); }, kFailed, kFailed},
    {"vorn_m2m_pal_backup_device_data", [] { return vorn_m2m_pal_backup_device_data(); }, kFailed, kFailed},
    // The worker backs up what it could read: each value stands alone.
    {"vorn_thread_func_rfnv", [] { return vorn_thread_func_rfnv(nullptr) == nullptr ? VORN_OK : kFailed; }, VORN_OK, VORN_OK, false},
    {"vorn_m2m_pal_set_ue_mode", [] { return vorn_m2m_pal_set_ue_mode(1); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_get_ue_mode", [] { return vorn_m2m_pal_get_ue_mode(&byte_out); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_set_packet_report_event", [] { return vorn_m2m_pal_set_packet_report_event(1, 2); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_get_packet_report_event", [] { return vorn_m2m_pal_get_packet_report_event(words, words + 1); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_set_ipv6_format", [] { return vorn_m2m_pal_set_ipv6_format(words); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_get_ipv6_format", [] { return vorn_m2m_pal_get_ipv6_format(words); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_scan_cell", [] { return vorn_m2m_pal_scan_cell(); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_scan_celllock", [] { return vorn_m2m_pal_scan_celllock(); }, kTimeout, kUnseen},
    {"vorn_m2m_pal_otalog_rm", [] { return vorn_m2m_pal_otalog_rm(); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_w_disable", [] { return vorn_m2m_pal_set_w_disable(1); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_dhcpgw", [] { return vorn_m2m_pal_set_dhcpgw(1); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_auth_mode", [] { return vorn_m2m_pal_get_auth_mode(text); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_apn", [] { return vorn_m2m_pal_set_apn(1, "internet"); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_ant_sinr", [] { return vorn_m2m_pal_get_ant_sinr(words); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_wan_netmask", [] { return vorn_m2m_pal_set_wan_netmask(1, 2); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_wan_netmask", [] { return vorn_m2m_pal_get_wan_netmask(words, words + 1); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_profile_active", [] { return vorn_m2m_pal_get_profile_active(1, &byte_out); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_rmnet_active", [] { return vorn_m2m_pal_get_rmnet_active(words); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_uim_select", [] { return vorn_m2m_pal_get_uim_select(&byte_out); }, kFailed, kFailed},
    {"vorn_m2m_pal_create_wds_profile", [] { return vorn_m2m_pal_create_wds_profile(0, 2); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_current_act", [] { return vorn_m2m_pal_get_current_act(&byte_out); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_thermal_mode", [] { return vorn_m2m_pal_set_thermal_mode(1); }, kFailed, kFailed},
    {"vorn_m2m_rmnet_action", [] { return vorn_m2m_rmnet_action(1, 1, 3, 1, 2, 0); }, kFailed, kFailed},
    // A state query that fails reads as "not connected": the first lets the
    // connection go ahead, the last makes a connection that came up count as failed.
    {"vorn_m2m_pal_connect", [] { return vorn_m2m_pal_connect(5, 0); }, kFailed, kFailed, false,
     {{kM2m, QMI_VORN_M2M_GET_RMNET_ACTIVE_REQ_V01, VORN_OK, VORN_OK, 0}}},
    {"vorn_m2m_pal_disconnect", [] { return vorn_m2m_pal_disconnect(5); }, kFailed, kFailed, true, {}, connected},
    {"vorn_m2m_pal_get_ip", [] { return vorn_m2m_pal_get_ip(1, &ip); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_dnscfg", [] { return vorn_m2m_pal_get_dnscfg(text, text + 64); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_statis_cfg", [] { return vorn_m2m_pal_get_statis_cfg(&statis); }, kFailed, kFailed},
    // Moving an item aside may fail (a first switch has none) and the flag
    // is written last, unchecked; only a copy that fails counts.
    {"vorn_m2m_pal_set_switchmode", [] { return vorn_m2m_pal_set_switchmode(1); }, VORN_OK, VORN_OK, false,
     {{kM2m, QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01, kFailed, kFailed}}},
    {"vorn_m2m_pal_get_switchmode", [] { return vorn_m2m_pal_get_switchmode(&number); }, kFailed, kFailed, true, {}, switched},
    {"vorn_m2m_send_sms_pdu_ack", [] { return vorn_m2m_send_sms_pdu_ack(&kAck); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_cainfo", [] { return vorn_m2m_pal_get_cainfo(&network); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_cell_sig_info", [] { return vorn_m2m_pal_get_cell_sig_info(0, &network); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_cell_info_ext", [] { return vorn_m2m_pal_get_cell_info_ext(&network); }, kFailed, kFailed},
    {"vorn_m2m_pal_set_cell_lock_ext_info", [] { return vorn_m2m_pal_set_cell_lock_ext_info(&lock); }, kFailed, kFailed},
    {"vorn_m2m_pal_get_cell_lock_ext_info", [] { return vorn_m2m_pal_get_cell_lock_ext_info(&lock); }, kFailed, kFailed},
};

class M2mRequestFailures : public M2mTest {};

TEST_F(M2mRequestFailures, EachRequestOfEachCallFailsInTurn) {
  const vt::FailureFamily m2m_family = family();
  for (const FailureCase &c : kCases) vt::expect_request_failures(c, m2m_family);
}

}  // namespace
