// Several processes on one modem: what one does, the others see.
#include <ifaddrs.h>
#include <netinet/in.h>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornsim/dm_cache.h>
#include <vornsim/wms.h>

#include "raw_client.h"
#include "simd_test.h"

namespace simdt {
namespace {

using vornsim::Svc;

// True while the link carries the IPv4 address of a call.
bool call_address_on(const std::string &link) {
  ifaddrs *all = nullptr;
  if (getifaddrs(&all) != 0) return false;
  bool found = false;
  for (ifaddrs *a = all; a != nullptr; a = a->ifa_next)
    found |= a->ifa_addr != nullptr && a->ifa_addr->sa_family == AF_INET && link == a->ifa_name;
  freeifaddrs(all);
  return found;
}

// The data call of one process is the other's too: the second start joins
// it (the Data event and the status say up), and the link lives until the
// last of them ends it.
TEST_F(DaemonTest, DataCallOfOneProcessIsSeenByAnother) {
  Peer first, second;
  ASSERT_EQ(first.ask("data-init"), "0");
  ASSERT_EQ(second.ask("data-init"), "0");
  ASSERT_EQ(first.ask("connect 1"), "0");
  ASSERT_TRUE(vt::eventually([] { return call_address_on("rmnet_data0"); }));
  EXPECT_EQ(second.ask("connected 1"), "0");

  ASSERT_EQ(second.ask("connect 1"), "0");
  EXPECT_TRUE(second.printed("event data 0 1 2")) << "the second process got no Data event of the call";
  EXPECT_EQ(second.ask("connected 1"), "1");
  EXPECT_EQ(vornsim::requests(Svc::WDS).empty(), false);

  ASSERT_EQ(first.ask("disconnect 1"), "0");
  EXPECT_EQ(first.ask("connected 1"), "0");
  EXPECT_EQ(second.ask("connected 1"), "1");
  EXPECT_TRUE(call_address_on("rmnet_data0")) << "the link went with the first process's end of the call";
  ASSERT_EQ(second.ask("disconnect 1"), "0");
  EXPECT_TRUE(vt::eventually([] { return !call_address_on("rmnet_data0"); }))
      << "the link outlived the call's last client";
}

// An MT message from the network reaches the callbacks of every process
// that started the SMS family.
TEST_F(DaemonTest, NetworkSmsReachesEveryProcess) {
  Peer first, second;
  ASSERT_EQ(first.ask("sms-init"), "0");
  ASSERT_EQ(second.ask("sms-init"), "0");
  // A class 1 deliver from +4915112345678, "Hi", for the AP store.
  vornsim::wms::deliver({0x04, 0x0C, 0x91, 0x94, 0x51, 0x11, 0x32, 0x54, 0x76, 0x00, 0x00, 0x62,
                         0x11, 0x22, 0x10, 0x00, 0x00, 0x00, 0x02, 0xC8, 0x34});
  // Handed to the AP (event 5) or routed to the application (event 4).
  auto got_one = [&](Peer &peer) {
    return vt::eventually([&] { return peer.printed("event sms 5 ", 0) || peer.printed("event sms 4 ", 0); });
  };
  EXPECT_TRUE(got_one(first)) << "the first process got no SMS event";
  EXPECT_TRUE(got_one(second)) << "the second process got no SMS event";
  EXPECT_EQ(vornsim::wms::waiting(), 0u);
}

// A process killed in the middle of a request: the daemon and the other
// processes go on, and its clients are released.
TEST_F(DaemonTest, ClientKilledMidRequestLosesOnlyItsClients) {
  const int before = vornsim::counters().clients_live;
  Peer doomed, other;
  ASSERT_EQ(doomed.ask("raw-init DMS"), "0");
  ASSERT_EQ(other.ask("dm-set 7 41"), "0");
  EXPECT_EQ(vornsim::counters().clients_live, before + 1);
  // The answer would come after 20 s of the modem's time, 200 ms here.
  vornsim::delay_next(Svc::DMS, QMI_DMS_GET_MSISDN_REQ_V01, 20000);
  doomed.send("raw-send " + std::to_string(QMI_DMS_GET_MSISDN_REQ_V01) + " 60000");
  ASSERT_TRUE(vt::eventually([] { return !vornsim::requests(Svc::DMS, QMI_DMS_GET_MSISDN_REQ_V01).empty(); }));
  doomed.kill_hard();

  EXPECT_TRUE(vt::eventually([&] { return vornsim::counters().clients_live == before; }))
      << "the killed process's client is still live";
  EXPECT_EQ(other.ask("dm-get 7"), "41");
  RawClient mine;
  std::string number;
  EXPECT_EQ(mine.msisdn(number), QMI_NO_ERR);
  EXPECT_EQ(number, "+15551230042");
  EXPECT_NE(suite_daemon().log().find("released 1 clients"), std::string::npos) << suite_daemon().log();
}

// The daemon's state survives its restart, after a stop and after a kill
// (saved while it runs); a second daemon on the same directory is refused.
TEST_F(DaemonTest, StateSurvivesRestartAndSecondDaemonIsRefused) {
  const std::string dir = "/tmp/simd-restart";
  vt::remove_tree(dir);
  Daemon daemon = Daemon::start(dir);
  ASSERT_NE(daemon.pid, 0);
  {
    Peer peer(daemon.socket());
    ASSERT_EQ(peer.ask("dm-set 5 1234"), "0");
  }
  EXPECT_EQ(Daemon::run_to_end(dir), 1);
  EXPECT_NE(daemon.log().find("another daemon serves " + dir), std::string::npos) << daemon.log();
  {
    Peer peer(daemon.socket());
    EXPECT_EQ(peer.ask("dm-get 5"), "1234") << "the refused daemon disturbed the running one";
  }
  EXPECT_EQ(daemon.stop(SIGTERM), 0);

  daemon = Daemon::start(dir);
  ASSERT_NE(daemon.pid, 0);
  {
    Peer peer(daemon.socket());
    EXPECT_EQ(peer.ask("dm-get 5"), "1234");
    ASSERT_EQ(peer.ask("dm-set 5 99"), "0");
  }
  // Saved within a second while it runs: a kill loses no more.
  EXPECT_TRUE(vt::eventually([&] { return vt::read_file(dir + "/dm_cache").find(" 99") != std::string::npos; }));
  EXPECT_EQ(daemon.stop(SIGKILL), -SIGKILL);
  daemon = Daemon::start(dir);
  ASSERT_NE(daemon.pid, 0);
  Peer peer(daemon.socket());
  EXPECT_EQ(peer.ask("dm-get 5"), "99");
  EXPECT_EQ(daemon.stop(SIGTERM), 0);
}

}  // namespace
}  // namespace simdt
