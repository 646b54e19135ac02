// The run-time settings of a call: what the modem gives, what a daemon
// asks for, and the interface's own IPv6 address when the modem's is
// link-local.
#include "data_test.h"

namespace datat {
namespace {

using Runtime = DataTest;

void write_profile(int cid, uint32_t pdp_type) {
  data_profile_settings s = profile("internet", pdp_type);
  ASSERT_EQ(vorn_data_pal_write_connect_setting(cid, &s), 0);
}

constexpr uint32_t kAll = VORN_DATA_INFO_ADDRESS | VORN_DATA_INFO_GATEWAY | VORN_DATA_INFO_DNS |
                          VORN_DATA_INFO_MTU | VORN_DATA_INFO_INTERFACE;

TEST_F(Runtime, AskedBeforeAndAfterTheCall) {
  write_profile(3, VORN_DATA_PDP_IPV4V6);
  connect_info info{};
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(3, VORN_DATA_INFO_ADDRESS, 1, &info), VORN_FAILURE);
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(3, VORN_DATA_INFO_ADDRESS, 0, &info), VORN_FAILURE);
  // What needs no address is answered, with nothing set.
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(3, VORN_DATA_INFO_GATEWAY | VORN_DATA_INFO_DNS, 0, &info), 0);
  EXPECT_EQ(info.ipv4_gateway_valid, 0);
  EXPECT_EQ(info.ipv4_dns_primary_valid, 0);
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(3, kAll, 0, nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Invalid parameter!\n"));

  ASSERT_EQ(vorn_data_pal_connect(3), 0);
  ASSERT_TRUE(wait_call(3, 1, VORN_DATA_STATE_UP));
  // A family that is neither asks for nothing.
  connect_info other{};
  std::memset(&other, 0, sizeof other);
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(3, 0x90, 2, &other), 0);
  connect_info zero{};
  EXPECT_EQ(std::memcmp(&other, &zero, sizeof other), 0);

  const auto mask = vornsim::requests(kWds, QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01)
                        .at(0)
                        .as<wds_get_runtime_settings_req_msg_v01>();
  EXPECT_EQ(mask.requested_settings, 0x80002310u);

  ASSERT_EQ(vorn_data_pal_disconnect(3), 0);
  settle();
  std::memset(&info, 0, sizeof info);
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(3, VORN_DATA_INFO_ADDRESS, 0, &info), VORN_FAILURE);
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(3, VORN_DATA_INFO_MTU, 0, &info), 0);
  EXPECT_EQ(info.mtu, 0u);  // cleared with the call
}

TEST_F(Runtime, SettingsWithoutAnAddressOrGateway) {
  write_profile(4, VORN_DATA_PDP_IPV4);
  vt::serve<data::RuntimeSettings>(kWds, [](const auto &, auto &resp) {
    resp.mtu_valid = 1;
    resp.mtu = 1400;
    resp.primary_DNS_IPv4_address_valid = 1;
    resp.primary_DNS_IPv4_address = 0x08080808;
  });
  ASSERT_EQ(vorn_data_pal_connect(4), 0);
  ASSERT_TRUE(wait_call(4, 0, VORN_DATA_STATE_UP));
  connect_info info{};
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(4, VORN_DATA_INFO_ADDRESS, 0, &info), VORN_FAILURE);
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(4, VORN_DATA_INFO_GATEWAY | VORN_DATA_INFO_DNS | VORN_DATA_INFO_MTU, 0, &info), 0);
  EXPECT_EQ(info.ipv4_gateway_valid, 0);
  EXPECT_EQ(info.ipv4_dns_primary, 0x08080808u);
  EXPECT_EQ(info.ipv4_dns_secondary_valid, 0);
  EXPECT_EQ(info.mtu, 1400u);
  ASSERT_EQ(vorn_data_pal_disconnect(4), 0);
}

TEST_F(Runtime, ALinkLocalAddressGivesWayToTheInterfacesGlobalOne) {
  write_profile(5, VORN_DATA_PDP_IPV6);
  vornsim::wds::report_link_local(true);
  ASSERT_EQ(vorn_data_pal_connect(5), 0);
  ASSERT_TRUE(wait_call(5, 1, VORN_DATA_STATE_UP));
  connect_info info{};
  ASSERT_EQ(vorn_data_pal_get_runtime_connect_info(5, VORN_DATA_INFO_ADDRESS, 1, &info), 0);
  const uint8_t global[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0x64, 0, 5, 0, 0, 0, 0, 0, 0, 0, 2};
  EXPECT_EQ(std::memcmp(info.ipv6_address, global, 16), 0);
  EXPECT_TRUE(vt::logged("Iface :rmnet_data0 ---global addr 2001:db8:64:5::2----\n"));
  // Kept: the next answer needs no look at the interface.
  vornsim::clear_diag();
  std::memset(&info, 0, sizeof info);
  ASSERT_EQ(vorn_data_pal_get_runtime_connect_info(5, VORN_DATA_INFO_ADDRESS, 1, &info), 0);
  EXPECT_EQ(std::memcmp(info.ipv6_address, global, 16), 0);
  EXPECT_FALSE(vt::logged("Iface :rmnet_data0 ---global addr 2001:db8:64:5::2----\n"));
  ASSERT_EQ(vorn_data_pal_disconnect(5), 0);
}

TEST_F(Runtime, AnInterfaceThatNeverAppears) {
  write_profile(6, VORN_DATA_PDP_IPV4);
  vornsim::wds::set_network_manager(false);
  ASSERT_EQ(vorn_data_pal_connect(6), 0);
  // The event comes once the wait ran out (10 s of probes), with the call
  // up.
  ASSERT_TRUE(wait_call(6, 0, VORN_DATA_STATE_UP, 120000));
  EXPECT_TRUE(vt::logged("line_buf=\n"));
  EXPECT_EQ(ip_json("link show dev rmnet_data0"), "");
  // What the call knows comes from the modem all the same.
  connect_info info{};
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(6, kAll, 0, &info), 0);
  EXPECT_EQ(info.ipv4_address_valid, 1);
  EXPECT_STREQ(info.interfaceName, "rmnet_data0");
  EXPECT_TRUE(vt::logged("Failed to open /proc/sys/net/ipv6/conf/rmnet_data0/accept_ra_defrtr: "
                         "No such file or directory\n"));
  ASSERT_EQ(vorn_data_pal_disconnect(6), 0);
  settle();
  EXPECT_EQ(ip_json("link show dev rmnet_data0"), "");
  EXPECT_TRUE(vornsim::wds::sessions().empty());
}

}  // namespace
}  // namespace datat
