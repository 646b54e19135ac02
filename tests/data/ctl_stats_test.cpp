// vornpalctl's traffic, duration, bearer, VLAN and IPA commands against the
// shared simulated modem: traffic queued by one run is carried by the call
// of the next, and the driver's requests of one run are shown by another.
#include "ctl_run.h"
#include "data_test.h"

namespace datat {
namespace {

class StatsCtl : public DataTest {
 protected:
  void SetUp() override {
    DataTest::SetUp();
    VT_NEEDS_TOOLS();
    vt::remove_tree("/vornsim/wds_stats");
    vt::remove_tree("/vornsim/ipa");
  }
  void TearDown() override {
    DataTest::TearDown();
    vt::sh("ip link del rmnet_data0 2>/dev/null; ip link del br-ctl 2>/dev/null");
  }
  static std::string run_ctl(const std::string &args, int *status = nullptr) {
    vt::CtlRun run = vt::ctl(args);
    if (status != nullptr) *status = run.status;
    return run.output;
  }
};

bool shows(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

TEST_F(StatsCtl, TrafficDurationAndBearerAcrossRuns) {
  EXPECT_TRUE(shows(run_ctl("modem wds traffic 4 5000 120000"), "queued_tx_bytes: 5000\n"));
  const std::string first = run_ctl("data stats 1");
  EXPECT_TRUE(shows(first, "ipv4_tx_bytes: 5000\nipv4_rx_bytes: 120000\n")) << first;
  EXPECT_TRUE(shows(first, "\ntx_bytes: 5000\nrx_bytes: 120000\n")) << first;
  // The counters are the modem's: the next call starts from them.
  EXPECT_TRUE(shows(run_ctl("modem wds traffic 4 1000 0"), "queued_tx_bytes: 1000\n"));
  const std::string json = run_ctl("--json data stats 1 --follow 2");
  EXPECT_TRUE(shows(json, "\"tx_bytes\": 6000")) << json;
  EXPECT_TRUE(shows(json, "\"reports\": 1")) << json;

  const std::string duration = run_ctl("data duration 1");
  EXPECT_TRUE(shows(duration, "duration_s: 0\n")) << duration;
  const std::string bearer = run_ctl("data bearer 1");
  EXPECT_TRUE(shows(bearer, "so_mask: 0x")) << bearer;
  EXPECT_TRUE(shows(bearer, "pdu_session_id: 1\n")) << bearer;
  int status = 0;
  EXPECT_TRUE(shows(run_ctl("data stats 0", &status), "PROFILE is 1 to 42"));
  EXPECT_EQ(status, 1);
}

TEST_F(StatsCtl, VlanBridgeAndTheDriversRequests) {
  ASSERT_EQ(vt::sh("brctl addbr br-ctl"), 0);
  const std::string mapped = run_ctl("data bridge-vlan add br-ctl 30 192.0.2.1 255.255.255.0");
  EXPECT_TRUE(shows(mapped, "ipa: done\n")) << mapped;
  int status = 0;
  const std::string missing = run_ctl("data bridge-vlan add br-none 30 192.0.2.1 255.255.255.0", &status);
  EXPECT_TRUE(shows(missing, "ipa: refused\n")) << missing;
  EXPECT_EQ(status, 1);
  EXPECT_TRUE(shows(run_ctl("data vlan add eth0 5000", &status), "usage: data vlan"));
  EXPECT_EQ(status, 1);

  const std::string shown = run_ctl("data ipa show");
  EXPECT_TRUE(shows(shown, "0xC02CCF3B add-bridge-vlan-mapping 62722D63746C")) << shown;
  EXPECT_TRUE(shows(shown, "requests: 2\n")) << shown;
  EXPECT_TRUE(shows(shown, "bridge_mapping: br-ctl:30\n")) << shown;
}

}  // namespace
}  // namespace datat
