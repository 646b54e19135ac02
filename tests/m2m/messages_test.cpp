// Every request of the family reaches the modem with its message id, the
// request and response sizes of the service and its time-out.
#include <functional>
#include <cstring>
#include <map>
#include <vector>

#include "m2m_test.h"

namespace {

using namespace m2mt;

struct Row {
  const char *function;
  std::function<int()> call;
  unsigned id;
  size_t request_size;  // 0: no request structure
  size_t response_size;
  unsigned timeout_ms;
};

char text[256];
uint8_t byte_out;
uint32_t words[4];
const uint8_t kOneByte[1] = {1};

const Row kRows[] = {
    {"get_uim_select", [] { return vorn_m2m_pal_get_uim_select(&byte_out); }, 3, 0, 12, 3000},
    {"get_profile_active", [] { return vorn_m2m_pal_get_profile_active(1, &byte_out); }, 5, 1, 12, 3000},
    {"event_report_register", [] { return vorn_m2m_event_report_register(); }, 6, 22, 8, 3000},
    {"get_rmnet_active", [] { return vorn_m2m_pal_get_rmnet_active(words); }, 8, 0, 12, 3000},
    {"get_ue_mode", [] { return vorn_m2m_pal_get_ue_mode(&byte_out); }, 10, 1, 12, 10000},
    {"get_current_act", [] { return vorn_m2m_pal_get_current_act(&byte_out); }, 11, 1, 12, 3000},
    {"create_wds_profile", [] { return vorn_m2m_pal_create_wds_profile(0, 2); }, 17, 2, 8, 3000},
    {"read_nv_by_path", [] { uint32_t n; return vorn_m2m_pal_read_nv_by_path("/nv/item_files/odm/config0.ini", text, &n, 0); }, 19, 128, 512, 10000},
    {"write_nv_by_path", [] { return vorn_m2m_pal_write_nv_by_path("/x", "v", 1); }, 20, 632, 8, 10000},
    {"set_dhcpgw", [] { return vorn_m2m_pal_set_dhcpgw(1); }, 22, 1, 8, 3000},
    {"get_cclk_time", [] { return vorn_m2m_pal_get_cclk_time(text, sizeof text); }, 23, 1, 16, 10000},
    {"get_cfun_mode", [] { return vorn_m2m_pal_get_cfun_mode(&byte_out); }, 24, 0, 12, 3000},
    {"get_sub_ver", [] { return vorn_m2m_pal_get_sub_ver(text, 64, text + 64, 64); }, 25, 1, 136, 3000},
    {"set_wan_netmask", [] { return vorn_m2m_pal_set_wan_netmask(1, 2); }, 26, 8, 8, 3000},
    {"get_wan_netmask", [] { return vorn_m2m_pal_get_wan_netmask(words, words + 1); }, 27, 0, 16, 3000},
    {"read_nv_by_nvid", [] { return vorn_m2m_pal_read_nv_by_nvid(1, 0, reinterpret_cast<uint8_t *>(text)); }, 28, 136, 144, 10000},
    {"read_nvstr_by_nvid", [] { return vorn_m2m_pal_read_nvstr_by_nvid(1, 0, text); }, 28, 136, 144, 10000},
    {"write_nv_by_nvid", [] { return vorn_m2m_pal_write_nv_by_nvid(1, 1, kOneByte, 1); }, 28, 136, 144, 10000},
    {"set_w_disable", [] { return vorn_m2m_pal_set_w_disable(0); }, 31, 1, 8, 10000},
    {"get_manufacturer", [] { return vorn_m2m_pal_get_manufacturer(text); }, 33, 0, 140, 10000},
    {"get_hw_version", [] { return vorn_m2m_pal_get_hw_version(text); }, 34, 1, 76, 10000},
    {"get_model", [] { return vorn_m2m_pal_get_model(text); }, 35, 0, 44, 10000},
    {"get_fsn", [] { return vorn_m2m_pal_get_fsn(text, 36); }, 36, 0, 48, 10000},
    {"set_fsn", [] { return vorn_m2m_pal_set_fsn("SN", 2); }, 37, 40, 8, 10000},
    {"set_ue_mode", [] { return vorn_m2m_pal_set_ue_mode(2); }, 38, 1, 8, 10000},
    {"get_packet_report_event", [] { return vorn_m2m_pal_get_packet_report_event(words, words + 1); }, 39, 1, 16, 10000},
    {"set_packet_report_event", [] { return vorn_m2m_pal_set_packet_report_event(1, 2); }, 40, 8, 8, 10000},
    {"efs_rename", [] { return vorn_m2m_pal_efs_rename("/nv/item_files/odm/config0.ini", "/y"); }, 41, 256, 8, 10000},
    {"otalog_rm", [] { return vorn_m2m_pal_otalog_rm(); }, 42, 1, 8, 10000},
    {"get_ipv6_format", [] { return vorn_m2m_pal_get_ipv6_format(words); }, 43, 1, 24, 10000},
    {"set_ipv6_format", [] { return vorn_m2m_pal_set_ipv6_format(words); }, 44, 16, 8, 10000},
    {"set_thermal_mode", [] { return vorn_m2m_pal_set_thermal_mode(1); }, 54, 256, 8, 10000},
    {"get_auth_mode", [] { return vorn_m2m_pal_get_auth_mode(text); }, 57, 1, 136, 3000},
    {"scan_cell", [] { return vorn_m2m_pal_scan_cell(); }, 58, 1, 8, 10000},
    {"set_cfun_mode", [] { return vorn_m2m_pal_set_cfun_mode(1); }, 59, 1, 8, 10000},
    {"get_project_name", [] { return vorn_m2m_pal_get_project_name(text); }, 61, 0, 76, 10000},
    {"set_apn", [] { return vorn_m2m_pal_set_apn(1, "internet"); }, 65, 36, 8, 3000},
    {"get_ant_sinr", [] { return vorn_m2m_pal_get_ant_sinr(words); }, 66, 1, 12, 3000},
};

class M2mMessages : public M2mTest {};

TEST_F(M2mMessages, EachRequestHasItsIdSizesAndTimeout) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  for (const Row &row : kRows) {
    SCOPED_TRACE(row.function);
    vornsim::clear_requests();
    size_t response_size = 0;
    vornsim::on(kM2m, row.id, [&](const vornsim::Request &, void *, size_t resp_len) {
      response_size = resp_len;
      return 0;
    });
    EXPECT_EQ(row.call(), 0);
    auto sent = vornsim::requests();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].msg_id, row.id);
    EXPECT_EQ(sent[0].bytes.size(), row.request_size);
    EXPECT_EQ(response_size, row.response_size);
    EXPECT_EQ(sent[0].timeout_ms, row.timeout_ms);
  }
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
