// Identity, product and setting queries as a daemon sees them.
#include <cstring>

#include "m2m_test.h"

namespace {

using namespace m2mt;

class M2mIdentity : public M2mTest {};

TEST_F(M2mIdentity, TextsArriveWhole) {
  vt::answer<m2m::ModelName>(kM2m, [](auto &resp) {
    std::memset(resp.text, 'M', sizeof resp.text);  // fills the field, no terminator
    resp.len = sizeof resp.text;
  });
  vt::answer<m2m::Manufacturer>(kM2m, [](auto &resp) {
    std::strcpy(resp.text, "Acme Modems");
    resp.len = 11;
  });
  vt::answer<m2m::GetSubver>(kM2m, [](auto &resp) {
    std::strcpy(resp.modem, "MODEM-R01A02");
    std::strcpy(resp.cefs, "CEFS-07");
  });
  char model[40];
  std::memset(model, '#', sizeof model);
  ASSERT_EQ(vorn_m2m_pal_get_model(model), 0);
  EXPECT_EQ(std::string(model, 33), std::string(32, 'M') + "#");

  char maker[128];
  ASSERT_EQ(vorn_m2m_pal_get_manufacturer(maker), 0);
  EXPECT_STREQ(maker, "Acme Modems");

  char modem[64], cefs[5];
  ASSERT_EQ(vorn_m2m_pal_get_sub_ver(modem, sizeof modem, cefs, sizeof cefs), 0);
  EXPECT_STREQ(modem, "MODEM-R01A02");
  EXPECT_EQ(std::string(cefs, 5), "CEFS-") << "cut to the caller's size";

  EXPECT_EQ(vorn_m2m_pal_get_manufacturer(nullptr), 3);
  EXPECT_EQ(vorn_m2m_pal_get_hw_version(nullptr), 3);
  EXPECT_EQ(vorn_m2m_pal_get_model(nullptr), -1);
  EXPECT_EQ(vorn_m2m_pal_get_project_name(nullptr), -1);
  EXPECT_EQ(vorn_m2m_pal_get_sub_ver(nullptr, 1, cefs, 1), -1);
}

TEST_F(M2mIdentity, ClockAndFunctionalityLevel) {
  vt::answer<m2m::GetCclkTime>(kM2m, [](auto &resp) {
    resp.year = 2024;
    resp.month = 2;
    resp.day = 29;
    resp.hour = 23;
    resp.minute = 5;
    resp.second = 8;
  });
  char clock[32];
  ASSERT_EQ(vorn_m2m_pal_get_cclk_time(clock, sizeof clock), 0);
  EXPECT_STREQ(clock, "2024.02.29-23:05:08");
  char small[8];
  ASSERT_EQ(vorn_m2m_pal_get_cclk_time(small, sizeof small), 0);
  EXPECT_STREQ(small, "2024.02");
  EXPECT_EQ(vorn_m2m_pal_get_cclk_time(nullptr, 8), 3);

  uint8_t cfun = 0;
  ASSERT_EQ(vorn_m2m_pal_set_cfun_mode(4), 0);
  ASSERT_EQ(vorn_m2m_pal_get_cfun_mode(&cfun), 0);
  EXPECT_EQ(cfun, 4);
  EXPECT_EQ(vorn_m2m_pal_set_cfun_mode(9), -1) << "the modem refuses";
  EXPECT_EQ(vorn_m2m_pal_get_cfun_mode(nullptr), -1);
}

TEST_F(M2mIdentity, SerialNumberIsCachedInTmp) {
  ASSERT_EQ(vorn_m2m_pal_set_fsn("VN5G-TEST-0042", 14), 0);
  char serial[20];
  std::memset(serial, 0, sizeof serial);
  ASSERT_EQ(vorn_m2m_pal_get_fsn(serial, sizeof serial), 0);
  EXPECT_STREQ(serial, "VN5G-TEST-0042");
  EXPECT_EQ(vt::read_file("/tmp/cfsn"), std::string(serial, sizeof serial)) << "with its padding";

  EXPECT_EQ(vorn_m2m_pal_get_fsn(nullptr, 4), 3);
  EXPECT_EQ(vorn_m2m_pal_set_fsn(nullptr, 4), 3);
  EXPECT_EQ(vorn_m2m_pal_set_fsn("x", 0), 3);
  EXPECT_EQ(vt::count_logged("Error, param pointer is NULL\n"), 3);
  EXPECT_DEATH(vorn_m2m_pal_set_fsn(std::string(37, 'S').c_str(), 37), "buffer overflow detected");
}

TEST_F(M2mIdentity, SettingsTravelBothWays) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  uint32_t modem_val = 0, option_val = 0;
  ASSERT_EQ(vorn_m2m_pal_set_packet_report_event(5, 9), 0);
  ASSERT_EQ(vorn_m2m_pal_get_packet_report_event(&modem_val, &option_val), 0);
  EXPECT_EQ(modem_val, 5u);
  EXPECT_EQ(option_val, 9u);

  const uint32_t format[4] = {1, 0, 1, 64};
  uint32_t back[4] = {};
  ASSERT_EQ(vorn_m2m_pal_set_ipv6_format(format), 0);
  ASSERT_EQ(vorn_m2m_pal_get_ipv6_format(back), 0);
  EXPECT_EQ(std::memcmp(format, back, sizeof back), 0);

  uint32_t mask[2] = {};
  ASSERT_EQ(vorn_m2m_pal_set_wan_netmask(0xFFFF0000, 0xFFFFFFF0), 0);
  ASSERT_EQ(vorn_m2m_pal_get_wan_netmask(&mask[0], &mask[1]), 0);
  EXPECT_EQ(mask[0], 0xFFFF0000u);
  EXPECT_EQ(mask[1], 0xFFFFFFF0u);

  EXPECT_EQ(vorn_m2m_pal_set_apn(-1, "internet"), 3);
  EXPECT_EQ(vorn_m2m_pal_set_apn(1, nullptr), 3);
  EXPECT_TRUE(vt::logged("oem_m2m_pal_set_apn failed: invalid param\n"));
  ASSERT_EQ(vorn_m2m_pal_set_apn(2, "ims"), 0);
  auto apn = vornsim::requests(kM2m, QMI_VORN_M2M_SET_PRFMOD_REQ_V01).back().as<vorn_m2m_set_prfmod_req_msg_v01>();
  EXPECT_EQ(apn.profile_index, 2);
  EXPECT_STREQ(apn.apn, "ims");

  EXPECT_EQ(vorn_m2m_pal_set_thermal_mode(3), 3);
  EXPECT_TRUE(vt::logged("thermal_mode:3\n"));
  EXPECT_EQ(count(QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01), 0u);
  ASSERT_EQ(vorn_m2m_pal_set_thermal_mode(2), 0);
  char source[64] = {}, target[64] = {};
  uint32_t source_len = 0, target_len = 0;
  ASSERT_EQ(vorn_m2m_pal_read_nv_by_path("/nv/item_files/odm/config2.ini", source, &source_len, 0), 0);
  ASSERT_EQ(vorn_m2m_pal_read_nv_by_path("/nv/item_files/therm_monitor/config.ini", target, &target_len, 0), 0);
  EXPECT_EQ(std::string(target, target_len), std::string(source, source_len));
}

TEST_F(M2mIdentity, AntennaSinrAboveTheScaleReadsAsZero) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  vt::answer<m2m::GetAntSinr>(kM2m, [](auto &resp) {
    const uint8_t values[4] = {250, 251, 0, 255};
    std::memcpy(resp.ant_sinr, values, 4);
  });
  uint32_t sinr[4] = {9, 9, 9, 9};
  ASSERT_EQ(vorn_m2m_pal_get_ant_sinr(sinr), 0);
  EXPECT_EQ(std::vector<uint32_t>(sinr, sinr + 4), (std::vector<uint32_t>{250, 0, 0, 0}));
  EXPECT_TRUE(vt::logged("vorn_m2m_pal_get_ant_sinr:ant_sinr[1]:251 !!!\n"));
  EXPECT_TRUE(vt::logged("vorn_m2m_pal_get_ant_sinr:ant_sinr[3]:255 !!!\n"));
  EXPECT_EQ(vorn_m2m_pal_get_ant_sinr(nullptr), 3);
}

}  // namespace
