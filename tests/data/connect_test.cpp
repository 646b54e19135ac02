// Calls brought up and down against the simulated modem: the requests in
// their order, the indication's way to the callbacks, and what lands on the
// data interface in the sandbox.
#include <unistd.h>

#include <algorithm>
#include <chrono>

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

TEST_F(Connect, DualStackPutsBothFamiliesOnOneLink) {
  write_profile(4, "dual", VORN_DATA_PDP_IPV4V6);
  vornsim::wds::set_mtu(1428);
  forget();
  ASSERT_EQ(vorn_data_pal_connect(4), 0);
  // IPv4 first, then IPv6, each with its own client on the same port.
  std::vector<unsigned> starts;
  for (const auto &req : vornsim::requests(kWds, kStart))
    starts.push_back(req.as<wds_start_network_interface_req_msg_v01>().ip_family_preference);
  EXPECT_EQ(starts, (std::vector<unsigned>{4, 6}));
  for (const auto &req : vornsim::requests(kWds, kBind))
    EXPECT_EQ(req.as<wds_bind_mux_data_port_req_msg_v01>().mux_id, 1);
  EXPECT_NE(vornsim::requests(kWds, kStart)[0].client, vornsim::requests(kWds, kStart)[1].client);

  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 2));
  std::vector<int> families;
  for (const data_status_event &e : statuses()) {
    families.push_back(e.ip_call_type);
    EXPECT_EQ(e.data_state, VORN_DATA_STATE_UP);
  }
  std::sort(families.begin(), families.end());
  EXPECT_EQ(families, (std::vector<int>{0, 1}));

  const std::string addr = ip_json("addr show dev rmnet_data0");
  EXPECT_TRUE(contains(addr, "\"local\":\"10.100.4.2\"")) << addr;
  EXPECT_TRUE(contains(addr, "\"local\":\"2001:db8:64:4::2\",\"prefixlen\":64")) << addr;
  EXPECT_TRUE(contains(addr, "\"mtu\":1428")) << addr;
  EXPECT_TRUE(contains(ip_json("-6 route show dev rmnet_data0"),
                       "\"dst\":\"default\",\"gateway\":\"2001:db8:64:4::1\""));
  // Router advertisements may not set the route or the MTU.
  EXPECT_EQ(first_line("/proc/sys/net/ipv6/conf/rmnet_data0/accept_ra_defrtr"), "0");
  EXPECT_EQ(first_line("/proc/sys/net/ipv6/conf/rmnet_data0/accept_ra_mtu"), "0");
  EXPECT_TRUE(vt::logged("set path /proc/sys/net/ipv6/conf/rmnet_data0/accept_ra_defrtr to 0\n"));

  connect_info info{};
  ASSERT_EQ(vorn_data_pal_get_runtime_connect_info(
                4, VORN_DATA_INFO_ADDRESS | VORN_DATA_INFO_GATEWAY | VORN_DATA_INFO_DNS | VORN_DATA_INFO_MTU,
                1, &info),
            0);
  const uint8_t address[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0x64, 0, 4, 0, 0, 0, 0, 0, 0, 0, 2};
  EXPECT_EQ(std::memcmp(info.ipv6_address, address, 16), 0);
  EXPECT_EQ(info.ipv6_prefix_length, 64);
  EXPECT_EQ(info.ipv6_gateway[15], 1);
  EXPECT_EQ(info.ipv6_gateway_prefix_length, 64);
  EXPECT_EQ(info.ipv6_dns_primary_valid, 1);
  EXPECT_EQ(info.ipv6_dns_primary[15], 0x53);
  EXPECT_EQ(info.mtu, 1428u);
  EXPECT_EQ(info.ipv4_address_valid, 0);

  EXPECT_EQ(vorn_data_pal_connect(4), VORN_DATA_ALREADY_CONNECTED);
  EXPECT_TRUE(vt::logged("Data session is already connected\n"));

  forget();
  ASSERT_EQ(vorn_data_pal_disconnect(4), 0);
  EXPECT_EQ(count(kStop), 2u);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 2));
  vornsim::wds::settle_links();
  const std::string after = ip_json("addr show dev rmnet_data0");
  EXPECT_FALSE(contains(after, "10.100.4.2")) << after;
  EXPECT_FALSE(contains(after, "2001:db8:64:4::2")) << after;
  EXPECT_TRUE(vornsim::wds::sessions().empty());
}

TEST_F(Connect, StartFailuresReachTheCallerTwice) {
  write_profile(5, "bad", VORN_DATA_PDP_IPV4);
  const int clients = vornsim::counters().clients_live;
  // Refused at once, twice: the one retry, then -6 with the reasons.
  vornsim::wds::fail_next_start(1014, WDS_VCER_TYPE_3GPP_SPEC_DEFINED_V01, 33, 2);
  forget();
  EXPECT_EQ(vorn_data_pal_connect(5), VORN_QMI_FAILURE);
  EXPECT_EQ(count(kStart), 2u);
  auto events = Collector::instance().of(VORN_DATA_EVENT_CALL_STATUS);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_NE(events[0].thread, "event_data_rx");  // the caller's own thread
  data_status_event e = events[0].status();
  EXPECT_EQ(e.profileIndex, 5);
  EXPECT_EQ(e.data_state, VORN_DATA_STATE_DOWN);
  EXPECT_EQ(e.failureCode, 1014);
  EXPECT_EQ(e.failureType, 21);
  EXPECT_EQ(e.verboseType, 6);
  EXPECT_EQ(e.verboseCode, 33);
  EXPECT_TRUE(vt::logged("Data connection failure Call End provided 21, Code 1014\n"));
  EXPECT_TRUE(vt::logged("Data connection failure Verbose Call End provided Type 6, Verbose 33\n"));
  EXPECT_EQ(vornsim::counters().clients_live, clients);

  // Refused once: the retry succeeds.
  vornsim::wds::fail_next_start(1014, 0, 0, 1);
  forget();
  EXPECT_EQ(vorn_data_pal_connect(5), 0);
  EXPECT_EQ(count(kStart), 2u);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 1));
  EXPECT_EQ(statuses()[0].data_state, VORN_DATA_STATE_UP);
  ASSERT_EQ(vorn_data_pal_disconnect(5), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 2));

  // A refusal that took the modem more than a second is not tried again.
  vornsim::Fault slow;
  slow.refuse = true;
  slow.error = 3;
  slow.delay_ms = 1500;
  slow.count = 1;
  vornsim::set_fault(kWds, kStart, slow);
  forget();
  EXPECT_EQ(vorn_data_pal_connect(5), VORN_QMI_FAILURE);
  EXPECT_EQ(count(kStart), 1u);
  EXPECT_TRUE(vt::logged("Data connection failure reason not available\n"));
  EXPECT_EQ(vornsim::counters().clients_live, clients);
}

TEST_F(Connect, NoEffectKeepsTheClient) {
  write_profile(6, "again", VORN_DATA_PDP_IPV4);
  const int clients = vornsim::counters().clients_live;
  vornsim::refuse_next(kWds, kStart, QMI_ERR_NO_EFFECT_V01, 2);
  forget();
  EXPECT_EQ(vorn_data_pal_connect(6), VORN_DATA_NO_EFFECT);
  EXPECT_EQ(vornsim::counters().clients_live, clients + 1);
  ASSERT_EQ(Collector::instance().of(VORN_DATA_EVENT_CALL_STATUS).size(), 1u);
  // The next start reuses the mapped client.
  forget();
  EXPECT_EQ(vorn_data_pal_connect(6), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 1));
  EXPECT_EQ(vorn_data_pal_disconnect(6), 0);
  EXPECT_EQ(vornsim::counters().clients_live, clients);
}

TEST_F(Connect, AStartNeverAnsweredTimesOutAndLeavesNothingLocked) {
  write_profile(7, "silent", VORN_DATA_PDP_IPV4);
  const int clients = vornsim::counters().clients_live;
  vornsim::delay_next(kWds, kStart, 70000);
  forget();
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_EQ(vorn_data_pal_connect(7), VORN_QMI_FAILURE);
  const auto took = std::chrono::steady_clock::now() - begun;
  // 60 s of the code's time, and no second try after so long a wait.
  EXPECT_GE(took, std::chrono::milliseconds(600));
  EXPECT_EQ(count(kStart), 1u);
  EXPECT_TRUE(vt::logged("Sending QMI_WDS_START_NETWORK_INTERFACE_REQ_V01 failed: rc=-3 (Timeout), "
                         "resp.result=0.[0x00], resp.error=0.[0x00]\n"));
  EXPECT_EQ(vornsim::counters().clients_live, clients);
  ASSERT_EQ(statuses().size(), 1u);
  EXPECT_EQ(statuses()[0].failureType, 45);
  // Nothing stays locked: the next call comes up.
  forget();
  EXPECT_EQ(vorn_data_pal_connect(7), 0);
  EXPECT_EQ(wait_status().data_state, VORN_DATA_STATE_UP);
  EXPECT_EQ(vorn_data_pal_disconnect(7), 0);
}

TEST_F(Connect, AReportBeforeTheAnswerStillConnects) {
  write_profile(8, "quick", VORN_DATA_PDP_IPV4);
  forget();
  EXPECT_EQ(vorn_data_pal_connect(8), 0);
  // The report was handled before the start's answer came back.
  auto texts = vt::diag_texts();
  auto reported = std::find(texts.begin(), texts.end(), "profile index: 8, newState:2, ip_family:ipv4\n");
  auto answered = std::find(texts.begin(), texts.end(), "QMI_WDS_START_NETWORK_INTERFACE_REQ_V01 sent to Modem\n");
  ASSERT_NE(reported, texts.end());
  ASSERT_NE(answered, texts.end());
  EXPECT_LT(reported - texts.begin(), answered - texts.begin());
  EXPECT_EQ(wait_status().data_state, VORN_DATA_STATE_UP);
  EXPECT_EQ(vorn_data_pal_disconnect(8), 0);
}

TEST_F(Connect, BadProfilesAndCallsThatAreNotUp) {
  for (int cid : {0, 43, -1}) {
    EXPECT_EQ(vorn_data_pal_connect(cid), VORN_FAILURE);
    EXPECT_TRUE(vt::logged("INVALID cid=" + std::to_string(cid) + "!\n"));
    EXPECT_EQ(vorn_data_pal_disconnect(cid), VORN_FAILURE);
    EXPECT_EQ(vorn_data_pal_async_connect(cid), VORN_FAILURE);
    EXPECT_TRUE(vt::logged("INVALID profileindex=" + std::to_string(cid) + "!\n"));
  }
  EXPECT_EQ(vorn_data_pal_connect_with_apn(43, nullptr), VORN_FAILURE);
  EXPECT_EQ(vorn_data_pal_connect_with_apn(3, nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Write profile failed: -1\n"));
  EXPECT_EQ(count(kStart), 0u);
  EXPECT_EQ(vorn_data_pal_disconnect(3), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Check profile 3 callContext invalid\n"));
  EXPECT_EQ(count(kStop), 0u);
  EXPECT_EQ(vorn_data_pal_data_call_get(), 0);
  EXPECT_EQ(vorn_data_pal_data_call_cid_get(), 0);
  EXPECT_TRUE(Collector::instance().events().empty());
}

TEST_F(Connect, TheNetworkDropsTheCall) {
  write_profile(9, "dropped", VORN_DATA_PDP_IPV4);
  const int clients = vornsim::counters().clients_live;
  ASSERT_EQ(vorn_data_pal_connect(9), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 1));
  forget();
  ASSERT_TRUE(vornsim::wds::drop(9, 4, 1012, WDS_VCER_TYPE_3GPP_SPEC_DEFINED_V01, 36));
  settle();
  data_status_event e = wait_status();
  EXPECT_EQ(e.data_state, VORN_DATA_STATE_DOWN);
  EXPECT_EQ(e.failureCode, 1012);
  EXPECT_EQ(e.failureType, 1);
  EXPECT_EQ(e.verboseCode, 36);
  vornsim::wds::settle_links();
  EXPECT_FALSE(contains(ip_json("addr show dev rmnet_data0"), "10.100.9.2"));
  connect_info info{};
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(9, VORN_DATA_INFO_ADDRESS, 0, &info), VORN_FAILURE);
  // The call is down: nothing to stop; a new connect brings it up again on
  // the client the call kept.
  EXPECT_EQ(vorn_data_pal_disconnect(9), VORN_FAILURE);
  forget();
  EXPECT_EQ(vorn_data_pal_connect(9), 0);
  EXPECT_EQ(wait_status().data_state, VORN_DATA_STATE_UP);
  EXPECT_EQ(count(kStart), 1u);
  EXPECT_EQ(vorn_data_pal_disconnect(9), 0);
  EXPECT_EQ(vornsim::counters().clients_live, clients);
}

TEST_F(Connect, MarkerFilesChooseAndNote) {
  write_profile(10, "vzwadmin.example", VORN_DATA_PDP_IPV4V6);
  vt::write_file("/tmp/ipv6_only", "");
  vt::write_file("/tmp/ipa_not_cfg", "");
  forget();
  ASSERT_EQ(vorn_data_pal_connect(10), 0);
  // IPv6 alone; the administrative APN needs no offload.
  ASSERT_EQ(count(kStart), 1u);
  EXPECT_EQ(vornsim::requests(kWds, kStart)[0].as<wds_start_network_interface_req_msg_v01>().ip_family_preference, 6u);
  EXPECT_TRUE(vt::file_exists("/tmp/ipa_not_cfg"));
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 1));
  ASSERT_EQ(vorn_data_pal_disconnect(10), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 2));

  // Another APN: the marker goes at the connect.
  write_profile(10, "internet", VORN_DATA_PDP_IPV4);
  ASSERT_EQ(vorn_data_pal_connect(10), 0);
  EXPECT_FALSE(vt::file_exists("/tmp/ipa_not_cfg"));
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 3));
  ASSERT_EQ(vorn_data_pal_disconnect(10), 0);
}

TEST_F(Connect, PortsAndFixedLinks) {
  write_profile(11, "a", VORN_DATA_PDP_IPV4);
  write_profile(12, "b", VORN_DATA_PDP_IPV4V6);
  // A port without a mux id is used as it is.
  vornsim::wds::set_port(0, 0);
  forget();
  ASSERT_EQ(vorn_data_pal_connect(11), 0);
  EXPECT_EQ(count(kBind), 0u);
  EXPECT_EQ(count(kStart), 1u);
  // The other profile's two families share a link, not the first one's.
  ASSERT_EQ(vorn_data_pal_connect(12), 0);
  connect_info v4{}, v6{};
  ASSERT_EQ(vorn_data_pal_get_runtime_connect_info(12, VORN_DATA_INFO_INTERFACE, 0, &v4), 0);
  ASSERT_EQ(vorn_data_pal_get_runtime_connect_info(12, VORN_DATA_INFO_INTERFACE, 1, &v6), 0);
  EXPECT_STREQ(v4.interfaceName, "rmnet_data1");
  EXPECT_STREQ(v6.interfaceName, "rmnet_data1");
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 3));
  ASSERT_EQ(vorn_data_pal_disconnect(11), 0);
  ASSERT_EQ(vorn_data_pal_disconnect(12), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 6));

  // A profile tied to rmnet_data5 comes up there; 6 is past the mapping.
  EXPECT_EQ(vorn_data_MapProfileOnNetworkInterface(11, "rmnet_data5"), 0);
  EXPECT_TRUE(vt::logged("mapped RmnetId: 5\n"));
  forget();
  ASSERT_EQ(vorn_data_pal_connect(11), 0);
  EXPECT_EQ(vornsim::requests(kWds, kBind).at(0).as<wds_bind_mux_data_port_req_msg_v01>().mux_id, 6);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 1));
  EXPECT_TRUE(contains(ip_json("addr show dev rmnet_data5"), "10.105.11.2"));
  ASSERT_EQ(vorn_data_pal_disconnect(11), 0);
  // Taken by another profile, the link leaves the first.
  EXPECT_EQ(vorn_data_MapProfileOnNetworkInterface(12, "rmnet_data6"), 0);
  // Neither family starts: the dual-stack start fails as a whole.
  EXPECT_EQ(vorn_data_pal_connect(12), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Bad mapping mappedRmnetId=6\n"));
  EXPECT_EQ(vorn_data_MapProfileOnNetworkInterface(12, "eth0"), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Unknown rmnet interface eth0 rmnet_data 12\n"));
  EXPECT_EQ(vorn_data_MapProfileOnNetworkInterface(12, "rmnet_data255"), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Bad rmnet index 255\n"));
  vorn_data_ClearProfileNetIntf(6);
  vornsim::wds::set_port_missing(true);
  forget();
  EXPECT_EQ(vorn_data_pal_connect(11), VORN_QMI_FAILURE);
  EXPECT_EQ(count(kStart), 0u);
}

}  // namespace
}  // namespace datat
