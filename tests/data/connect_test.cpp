// Calls brought up and down against the simulated modem: the requests in
// their order, the indication's way to the callbacks, and what lands on the
// data interface in the sandbox.
#include <unistd.h>

#include "data_test.h"

namespace datat {
namespace {

constexpr unsigned kBind = QMI_WDS_BIND_MUX_DATA_PORT_REQ_V01;
constexpr unsigned kFamily = QMI_WDS_SET_CLIENT_IP_FAMILY_PREF_REQ_V01;
constexpr unsigned kStart = QMI_WDS_START_NETWORK_INTERFACE_REQ_V01;
constexpr unsigned kStop = QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01;
constexpr unsigned kRuntime = QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01;

bool contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

void write_profile(int cid, const char *apn, uint32_t pdp_type, bool clat = false) {
  data_profile_settings s = profile(apn, pdp_type, clat);
  ASSERT_EQ(vorn_data_pal_write_connect_setting(cid, &s), 0);
}

using Connect = DataTest;

TEST_F(Connect, RoadOfOneRequest) {
  write_profile(3, "internet", VORN_DATA_PDP_IPV4);
  const int clients = vornsim::counters().clients_live;
  // A second callback: every callback gets the same block.
  ASSERT_EQ(vorn_data_pal_event_register(&Collector::callback, nullptr), 0);
  forget();

  ASSERT_EQ(vorn_data_pal_connect(3), 0);
  // The caller's requests, in order: port, family, start, then the
  // settings of the session that came up.
  const std::vector<unsigned> sync_part = {kBind, kFamily, kStart, kRuntime};
  std::vector<unsigned> ids = request_ids();
  ASSERT_GE(ids.size(), 4u);
  EXPECT_EQ(std::vector<unsigned>(ids.begin(), ids.begin() + 4), sync_part);
  const auto start = vornsim::requests(kWds, kStart).at(0);
  EXPECT_EQ(start.timeout_ms, 60000u);
  auto req = start.as<wds_start_network_interface_req_msg_v01>();
  EXPECT_EQ(req.profile_index, 3);
  EXPECT_EQ(req.ip_family_preference, 4u);
  EXPECT_EQ(req.technology_preference, 1);
  EXPECT_TRUE(req.enable_autoconnect_valid);
  EXPECT_EQ(req.enable_autoconnect, 0);
  auto bind = vornsim::requests(kWds, kBind).at(0).as<wds_bind_mux_data_port_req_msg_v01>();
  EXPECT_EQ(bind.mux_id, 1);  // rmnet_data0

  // Event 0 reaches both callbacks on the event thread, once the address
  // is on the interface; the event thread read the settings once more.
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 2));
  auto events = Collector::instance().of(VORN_DATA_EVENT_CALL_STATUS);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].pointer, events[1].pointer);
  EXPECT_EQ(events[0].user, &Collector::instance());
  EXPECT_EQ(events[1].user, nullptr);
  for (const Event &e : events) {
    EXPECT_EQ(e.thread, "event_data_rx");
    EXPECT_EQ(e.data.size(), 28u);
    data_status_event s = e.status();
    EXPECT_EQ(s.profileIndex, 3);
    EXPECT_EQ(s.ip_call_type, 0);
    EXPECT_EQ(s.data_state, VORN_DATA_STATE_UP);
    EXPECT_EQ(s.failureType, 45);
  }
  EXPECT_EQ(count(kRuntime), 2u);
  // The word: IPv4 connected in the high half.
  bool word_logged = false;
  for (const std::string &line : vt::diag_texts())
    word_logged = word_logged || line.rfind("high_bits:0xffffeeea, low_bits:0x", 0) == 0;
  EXPECT_TRUE(word_logged);

  // The address and route of the session are on the real interface.
  const std::string addr = ip_json("addr show dev rmnet_data0");
  EXPECT_TRUE(contains(addr, "\"local\":\"10.100.3.2\"")) << addr;
  EXPECT_TRUE(contains(addr, "\"prefixlen\":30")) << addr;
  const std::string routes = ip_json("route show dev rmnet_data0");
  EXPECT_TRUE(contains(routes, "\"dst\":\"default\",\"gateway\":\"10.100.3.1\"")) << routes;
  EXPECT_EQ(first_line("/tmp/netmgr_link0_ok"), "1");

  connect_info info{};
  ASSERT_EQ(vorn_data_pal_get_runtime_connect_info(
                3, VORN_DATA_INFO_ADDRESS | VORN_DATA_INFO_GATEWAY | VORN_DATA_INFO_DNS |
                       VORN_DATA_INFO_MTU | VORN_DATA_INFO_INTERFACE,
                0, &info),
            0);
  EXPECT_EQ(info.ipv4_address_valid, 1);
  EXPECT_EQ(info.ipv4_address, 0x0A640302u);
  EXPECT_EQ(info.ipv4_gateway, 0x0A640301u);
  EXPECT_EQ(info.ipv4_dns_primary, 0xC0000235u);
  EXPECT_EQ(info.ipv4_dns_secondary, 0xC0000236u);
  EXPECT_EQ(info.mtu, 1500u);
  EXPECT_STREQ(info.interfaceName, "rmnet_data0");

  // Down again: the stop, event 0 with the modem's reason, and nothing
  // left on the interface.
  forget();
  ASSERT_EQ(vorn_data_pal_disconnect(3), 0);
  EXPECT_EQ(request_ids(), std::vector<unsigned>{kStop});
  data_status_event down = wait_status(1);
  EXPECT_EQ(down.data_state, VORN_DATA_STATE_DOWN);
  EXPECT_EQ(down.failureCode, 2);
  EXPECT_EQ(down.failureType, 14);
  EXPECT_EQ(down.verboseType, WDS_VCER_TYPE_INTERNAL_V01);
  vornsim::wds::settle_links();
  EXPECT_FALSE(contains(ip_json("addr show dev rmnet_data0"), "10.100.3.2"));
  EXPECT_EQ(vornsim::counters().clients_live, clients);
}

}  // namespace
}  // namespace datat
