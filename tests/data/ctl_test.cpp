// vornpalctl's data commands: runs share one simulated modem, so a profile
// written by one run is what the next lists, and a fault set by one meets
// the next run's call.
#include "ctl_run.h"
#include "data_test.h"

namespace datat {
namespace {

class DataCtl : public DataTest {
 protected:
  void SetUp() override {
    DataTest::SetUp();
    VT_NEEDS_TOOLS();
    vt::remove_tree("/vornsim/wds");
  }
  void TearDown() override {
    DataTest::TearDown();
    vt::sh("ip link del rmnet_data0 2>/dev/null");  // made by the tool's runs
  }
  static std::string ctl(const std::string &args, int *status = nullptr) {
    vt::CtlRun run = vt::ctl(args);
    if (status != nullptr) *status = run.status;
    return run.output;
  }
};

bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

TEST_F(DataCtl, ProfilesCallsAndFaultsAcrossRuns) {
  std::string set = ctl("data profile set 4 web.example --type ipv4 --auth chap --user u1 --password p1");
  EXPECT_TRUE(has(set, "apn: web.example\n")) << set;
  EXPECT_TRUE(has(set, "auth: chap\n")) << set;
  std::string list = ctl("--json data profile list");
  EXPECT_TRUE(has(list, "\"profile4_apn\": \"web.example\"")) << list;
  EXPECT_TRUE(has(list, "\"profile1_type\": \"ipv4v6\"")) << list;

  std::string up = ctl("data connect 4");
  EXPECT_TRUE(has(up, "interface: rmnet_data0\n")) << up;
  EXPECT_TRUE(has(up, "ipv4_address: 10.100.4.2\n")) << up;
  EXPECT_TRUE(has(up, "ipv4_dns: 192.0.2.53 192.0.2.54\n")) << up;
  EXPECT_TRUE(has(up, "profile 4 IPv4 up")) << up;
  EXPECT_TRUE(has(up, "profile 4 IPv4 down")) << up;

  // Two failing starts: the one retry fails too.
  EXPECT_TRUE(has(ctl("modem wds fail-start 1014 6 33 2"), "failing_starts: 2\n"));
  int status = 0;
  std::string failed = ctl("data connect 4", &status);
  EXPECT_EQ(status, 1);
  EXPECT_TRUE(has(failed, "rc: -6\n")) << failed;
  EXPECT_TRUE(has(failed, "profile 4 IPv4 down (failure type 21, code 1014, verbose 6/33)")) << failed;

  EXPECT_TRUE(has(ctl("data disconnect 4", &status), "no call of profile 4 to end in this run"));
  EXPECT_EQ(status, 1);
  EXPECT_TRUE(has(ctl("data profile delete 4"), "deleted: 4\n"));
  EXPECT_FALSE(has(ctl("data profile list"), "web.example"));
}

}  // namespace
}  // namespace datat
