// Calls on their own threads, calls from several threads at once, and
// indications that the family has to sort out.
#include <atomic>
#include <cstdio>
#include <memory>
#include <set>
#include <thread>

#include <vornpal/network.h>
#include <vornsim/nas.h>

#include "data_test.h"

namespace datat {
namespace {

// A daemon starts the network family too: the asynchronous connect asks it
// whether the device is registered.
class Async : public DataTest {
 protected:
  void SetUp() override {
    DataTest::SetUp();
    ASSERT_EQ(vorn_network_pal_init(), 0);
    forget();
  }
  void TearDown() override {
    DataTest::TearDown();
    vorn_network_pal_deinit();
  }
};

void write_profile(int cid, uint32_t pdp_type) {
  data_profile_settings s = profile("internet", pdp_type);
  ASSERT_EQ(vorn_data_pal_write_connect_setting(cid, &s), 0);
}

size_t starts_of_family(unsigned family) {
  size_t n = 0;
  for (const auto &req : vornsim::requests(kWds, QMI_WDS_START_NETWORK_INTERFACE_REQ_V01))
    n += req.as<wds_start_network_interface_req_msg_v01>().ip_family_preference == family;
  return n;
}

TEST_F(Async, ConnectAndDisconnectOnTheirThreads) {
  write_profile(3, VORN_DATA_PDP_IPV4V6);
  // This path starts both families whatever the IPv6-only marker says.
  vt::write_file("/tmp/ipv6_only", "");
  forget();
  ASSERT_EQ(vorn_data_pal_async_connect(3), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CONNECT_DONE));
  Event done = Collector::instance().of(VORN_DATA_EVENT_CONNECT_DONE).at(0);
  EXPECT_EQ(done.thread, "async_connect");
  EXPECT_EQ(done.data.size(), 4u);
  EXPECT_EQ(done.word(), 3u);
  EXPECT_EQ(starts_of_family(4), 1u);
  EXPECT_EQ(starts_of_family(6), 1u);
  EXPECT_TRUE(vt::logged("reg_state:1!\n"));
  ASSERT_TRUE(wait_call(3, 0, VORN_DATA_STATE_UP));
  ASSERT_TRUE(wait_call(3, 1, VORN_DATA_STATE_UP));

  forget();
  ASSERT_EQ(vorn_data_pal_async_disconnect(3), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_DISCONNECT_DONE));
  Event gone = Collector::instance().of(VORN_DATA_EVENT_DISCONNECT_DONE).at(0);
  EXPECT_EQ(gone.thread, "async_disconnec");  // the kernel keeps 15 characters
  EXPECT_EQ(gone.word(), 3u);
  EXPECT_TRUE(vt::logged("cid is 3 and interfaceNameStr:rmnet_data0\n !\n"));
  EXPECT_TRUE(vt::logged("excute ifconfig rmnet_data0 down successfully!"));
  // The interface is down and has no address left.
  const std::string link = ip_json("addr show dev rmnet_data0");
  EXPECT_EQ(link.find("\"UP\""), std::string::npos) << link;
  EXPECT_EQ(link.find("10.100.3.2"), std::string::npos) << link;

  // Nothing to disconnect: event 5.
  forget();
  ASSERT_EQ(vorn_data_pal_async_disconnect(3), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_DISCONNECT_FAILED));
  // A start that fails: event 0 with the reasons, then event 3.
  vornsim::wds::fail_next_start(1004, 0, 0, 4);
  forget();
  ASSERT_EQ(vorn_data_pal_async_connect(3), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CONNECT_FAILED));
  auto events = Collector::instance().events();
  ASSERT_GE(events.size(), 3u);
  EXPECT_EQ(events.back().id, VORN_DATA_EVENT_CONNECT_FAILED);
  EXPECT_EQ(events[0].id, VORN_DATA_EVENT_CALL_STATUS);
  EXPECT_EQ(events[0].status().failureType, 3);
}

TEST_F(Async, ConnectNeedsARegisteredNetwork) {
  write_profile(4, VORN_DATA_PDP_IPV4);
  vornsim::nas::set_coverage(false);
  forget();
  EXPECT_EQ(vorn_data_pal_async_connect(4), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("network is not ready!\n"));
  EXPECT_EQ(count(QMI_WDS_START_NETWORK_INTERFACE_REQ_V01), 0u);
  vornsim::nas::set_coverage(true);
  ASSERT_TRUE(vt::eventually([] {
    vorn_network_info info{};
    info.sys_info.valid = 1;
    vorn_network_pal_get_network_info(0, &info);
    return info.sys_info.reg_state == 1;
  }));
  EXPECT_EQ(vorn_data_pal_async_connect(4), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CONNECT_DONE));
  ASSERT_EQ(vorn_data_pal_disconnect(4), 0);
}

TEST_F(Async, ADisconnectWhileAnAsynchronousConnectRuns) {
  write_profile(5, VORN_DATA_PDP_IPV4V6);
  const int clients = vornsim::counters().clients_live;
  ASSERT_EQ(vorn_data_pal_async_connect(5), 0);
  // Whichever takes the session first: a disconnect before the start
  // finds no call (-1); one after it stops what came up (0). The event
  // thread's work on the start never holds a stop's report back.
  int rc = vorn_data_pal_disconnect(5);
  EXPECT_TRUE(rc == 0 || rc == VORN_FAILURE) << rc;
  ASSERT_TRUE(vt::eventually([] {
    return !Collector::instance().of(VORN_DATA_EVENT_CONNECT_DONE).empty() ||
           !Collector::instance().of(VORN_DATA_EVENT_CONNECT_FAILED).empty();
  }));
  settle();
  vorn_data_pal_disconnect(5);  // whatever is still up
  settle();
  EXPECT_TRUE(vornsim::wds::sessions().empty());
  // The family works on: a call comes up and goes, and takes with it any
  // client the race left mapped.
  forget();
  ASSERT_EQ(vorn_data_pal_connect(5), 0);
  ASSERT_TRUE(wait_call(5, 0, VORN_DATA_STATE_UP));
  ASSERT_TRUE(wait_call(5, 1, VORN_DATA_STATE_UP));
  settle();
  ASSERT_EQ(vorn_data_pal_disconnect(5), 0);
  settle();
  EXPECT_TRUE(vornsim::wds::sessions().empty());
  EXPECT_EQ(vornsim::counters().clients_live, clients);
}

TEST_F(Async, ConnectsOnSeveralProfilesFromSeveralThreads) {
  const std::vector<int> cids = {3, 4, 5, 6};
  for (int cid : cids) write_profile(cid, cid % 2 ? VORN_DATA_PDP_IPV4V6 : VORN_DATA_PDP_IPV4);
  const int clients = vornsim::counters().clients_live;
  forget();
  std::vector<std::thread> threads;
  std::vector<int> results(cids.size(), -99);
  for (size_t i = 0; i < cids.size(); ++i)
    threads.emplace_back([&, i] { results[i] = vorn_data_pal_connect(cids[i]); });
  for (auto &t : threads) t.join();
  EXPECT_EQ(results, std::vector<int>(cids.size(), 0));
  for (int cid : cids) {
    EXPECT_TRUE(wait_call(cid, 0, VORN_DATA_STATE_UP)) << cid;
    if (cid % 2) {
      EXPECT_TRUE(wait_call(cid, 1, VORN_DATA_STATE_UP)) << cid;
    }
  }
  // Each profile on a link of its own.
  std::set<std::string> names;
  for (int cid : cids) {
    connect_info info{};
    ASSERT_EQ(vorn_data_pal_get_runtime_connect_info(cid, VORN_DATA_INFO_INTERFACE | VORN_DATA_INFO_ADDRESS, 0, &info), 0);
    names.insert(info.interfaceName);
    const std::string addr = ip_json(std::string("addr show dev ") + info.interfaceName);
    unsigned link = 99;
    ASSERT_EQ(std::sscanf(info.interfaceName, "rmnet_data%u", &link), 1);
    char expected[32];
    std::snprintf(expected, sizeof expected, "\"10.%u.%d.2\"", 100 + link, cid);
    EXPECT_NE(addr.find(expected), std::string::npos) << addr;
    EXPECT_EQ(info.ipv4_address, (10u << 24) | ((100u + link) << 16) | (unsigned(cid) << 8) | 2u);
  }
  EXPECT_EQ(names.size(), cids.size());
  // Stops right after one another, while the event thread still works on
  // the earlier reports: each stop has its own report all the same.
  for (int cid : cids) EXPECT_EQ(vorn_data_pal_disconnect(cid), 0) << cid;
  EXPECT_FALSE(vt::logged("Semaphore timeout\n"));
  for (int cid : cids) EXPECT_TRUE(wait_call(cid, 0, VORN_DATA_STATE_DOWN)) << cid;
  settle();
  EXPECT_TRUE(vornsim::wds::sessions().empty());
  EXPECT_EQ(vornsim::counters().clients_live, clients);
}

TEST_F(Async, IndicationsTheFamilyDrops) {
  write_profile(7, VORN_DATA_PDP_IPV4);
  ASSERT_EQ(vorn_data_pal_connect(7), 0);
  ASSERT_TRUE(wait_call(7, 0, VORN_DATA_STATE_UP));
  forget();
  // Another message, an undecodable report, a report for no profile.
  wds_pkt_srvc_status_ind_msg_v01 ind{};
  ind.status.connection_status = WDS_CONNECTION_STATUS_CONNECTED_V01;
  vornsim::indicate(kWds, 0x0001, ind);
  vornsim::drain();
  EXPECT_TRUE(vt::logged("It is not QMI_WDS_PKT_SRVC_STATUS_IND_V01 indication\n"));
  vornsim::set_decode_fault(kWds, QMI_WDS_PKT_SRVC_STATUS_IND_V01, -5);
  vornsim::indicate(kWds, QMI_WDS_PKT_SRVC_STATUS_IND_V01, ind);
  vornsim::drain();
  vornsim::set_decode_fault(kWds, QMI_WDS_PKT_SRVC_STATUS_IND_V01, 0);
  EXPECT_TRUE(vt::logged("Error in decoding QMI_WDS_PKT_SRVC_STATUS_IND_V01, rc=-5\n"));
  settle();
  EXPECT_TRUE(Collector::instance().events().empty());

  // A report to every client: the call's client takes it for its profile
  // (in the family the report names), the default client's is dropped, as
  // the default profile knows no bridge here.
  ind.status.connection_status = WDS_CONNECTION_STATUS_SUSPENDED_V01;
  ind.ip_family_valid = 1;
  ind.ip_family = WDS_IP_FAMILY_IPV6_V01;
  vornsim::indicate(kWds, QMI_WDS_PKT_SRVC_STATUS_IND_V01, ind);
  settle();
  ASSERT_EQ(statuses().size(), 1u);
  EXPECT_EQ(statuses()[0].data_state, VORN_DATA_STATE_CHANGING);
  EXPECT_EQ(statuses()[0].profileIndex, 7);
  EXPECT_EQ(statuses()[0].ip_call_type, 1);
  ASSERT_EQ(vorn_data_pal_disconnect(7), 0);
}

TEST_F(Async, ReportsWaitForABusyEventThreadWithoutHoldingTheModem) {
  write_profile(8, VORN_DATA_PDP_IPV4);
  ASSERT_EQ(vorn_data_pal_connect(8), 0);
  ASSERT_TRUE(wait_call(8, 0, VORN_DATA_STATE_UP));
  forget();
  // The event thread is held in a callback; the modem reports three times
  // more, and the call is stopped meanwhile.
  // The hold ends when the test does, also on a failed assertion.
  auto held = std::make_shared<std::atomic<bool>>(true);
  struct Release {
    std::shared_ptr<std::atomic<bool>> held;
    ~Release() {
      *held = false;
      Collector::instance().set_hook(nullptr);
    }
  } release{held};
  Collector::instance().set_hook([held](const Event &) { vt::eventually([&] { return !*held; }, 60000); });
  // Reports of the family the call does not have: the event thread's wait
  // for the family's address to go ends at once.
  wds_pkt_srvc_status_ind_msg_v01 ind{};
  ind.status.connection_status = WDS_CONNECTION_STATUS_AUTHENTICATING_V01;
  ind.ip_family_valid = 1;
  ind.ip_family = WDS_IP_FAMILY_IPV6_V01;
  for (int i = 0; i < 3; ++i) vornsim::indicate(kWds, QMI_WDS_PKT_SRVC_STATUS_IND_V01, ind);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 1));
  // The modem's thread handed its words over and is free: every report is
  // taken, and the stop's own report reaches the stop.
  vornsim::drain();
  EXPECT_FALSE(event_thread_idle());
  EXPECT_EQ(vorn_data_pal_disconnect(8), 0);
  EXPECT_FALSE(vt::logged("Semaphore timeout\n"));
  EXPECT_EQ(Collector::instance().of(VORN_DATA_EVENT_CALL_STATUS).size(), 1u);
  *held = false;
  // One word, one event, in the modem's order.
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, 4));
  settle();
  const auto all = statuses();
  ASSERT_EQ(all.size(), 4u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(all[i].data_state, VORN_DATA_STATE_CHANGING) << i;
  EXPECT_EQ(all[3].data_state, VORN_DATA_STATE_DOWN);
  EXPECT_EQ(all[3].failureCode, 2);  // the client ended it
}

TEST_F(Async, CallbacksComeAndGo) {
  write_profile(9, VORN_DATA_PDP_IPV4);
  static std::atomic<int> calls{0};
  auto counting = [](int, void *, int, void *) { ++calls; };
  ASSERT_EQ(vorn_data_pal_event_register(counting, nullptr), 0);
  ASSERT_EQ(vorn_data_pal_event_unregister(counting), 0);
  ASSERT_EQ(vorn_data_pal_event_unregister(counting), 0);  // none left: still 0
  ASSERT_EQ(vorn_data_pal_connect(9), 0);
  ASSERT_TRUE(wait_call(9, 0, VORN_DATA_STATE_UP));
  EXPECT_EQ(calls.load(), 0);
  ASSERT_EQ(vorn_data_pal_disconnect(9), 0);
  settle();
  // After deinit no callback is left and no client; init again works.
  vorn_data_pal_deinit();
  EXPECT_EQ(vorn_data_pal_init(), 0);
  forget();
  ASSERT_EQ(vorn_data_pal_connect(9), 0);
  settle();
  EXPECT_TRUE(Collector::instance().events().empty());
  ASSERT_EQ(vorn_data_pal_disconnect(9), 0);
}

}  // namespace
}  // namespace datat
