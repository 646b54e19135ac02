// vornpalctl's sim and esim commands: runs share one modem, so a PIN
// entered, a channel opened or a profile downloaded in one run is there in
// the next.
#include <cstdio>
#include <cstdlib>

#include "usim_test.h"

namespace {

using namespace usimt;

struct CtlRun {
  int status;
  std::string output;
};

class UsimCtl : public UsimTest {
 protected:
  void SetUp() override {
    UsimTest::SetUp();
    const char *dir = std::getenv("VORNPAL_BINARY_DIR");
    if (dir == nullptr) GTEST_SKIP() << "run through ctest to find vornpalctl";
    if (vt::emulated()) GTEST_SKIP() << "vornpalctl is a host tool";
    tool_ = std::string(dir) + "/tools/vornpalctl";
    vt::remove_tree("/vornsim/uim");
  }
  CtlRun ctl(const std::string &args) {
    CtlRun run{-1, ""};
    FILE *pipe = popen((tool_ + " " + args + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return run;
    char chunk[512];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) run.output.append(chunk, got);
    int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
  }
  bool has(const CtlRun &run, const std::string &text) { return run.output.find(text) != std::string::npos; }

  std::string tool_;
};

TEST_F(UsimCtl, PinAcrossRuns) {
  EXPECT_EQ(ctl("modem sim pin-required 0 on").status, 0);
  CtlRun wrong = ctl("sim pin verify 1111");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_TRUE(has(wrong, "pin_attempts: 2\n")) << wrong.output;
  CtlRun status = ctl("--json sim status");
  EXPECT_TRUE(has(status, "\"card_state\": \"PIN required\"")) << status.output;
  EXPECT_EQ(ctl("sim pin verify 1234").output,
            "result: 0\npin_state: enabled, verified\npin_attempts: 3\npuk_attempts: 10\n");
  CtlRun letters = ctl("sim pin verify 12a4");
  EXPECT_EQ(letters.status, 1);
  EXPECT_TRUE(has(letters, "result: 3\n")) << letters.output;
  CtlRun disable = ctl("sim pin disable 1234");
  EXPECT_EQ(disable.status, 0) << disable.output;
  EXPECT_TRUE(has(ctl("sim status"), "pin_state: disabled\n"));
}

TEST_F(UsimCtl, ChannelsAndProfilesAcrossRuns) {
  EXPECT_EQ(ctl("sim apdu open F0564F524E0001").output, "channel: 1\n");
  EXPECT_EQ(ctl("sim apdu send 1 00A4040007F0564F524E0001").output,
            "response: 6F0B8407F0564F524E0001A5009000\nsw: 9000\n");
  CtlRun odd = ctl("sim apdu send 1 00A");
  EXPECT_EQ(odd.status, 1);
  EXPECT_TRUE(has(odd, "not an even number of hexadecimal digits: 00A")) << odd.output;
  EXPECT_EQ(ctl("sim apdu close 1").output, "closed: 1\n");
  EXPECT_EQ(ctl("sim apdu close 1").status, 1);

  CtlRun download = ctl("esim download '1$smdp.vorn.example$ABC-1'");
  EXPECT_EQ(download.status, 0) << download.output;
  EXPECT_TRUE(has(download, "downloaded: true\n"));
  CtlRun list = ctl("esim list");
  EXPECT_TRUE(has(list, "profiles: 3\n")) << list.output;
  EXPECT_EQ(ctl("esim nickname 3 Holiday").status, 0);
  EXPECT_TRUE(has(ctl("esim list"), " disabled \"Holiday\"\n"));
  EXPECT_EQ(ctl("--json esim eid").output, "{\"eid\": \"89049032123451234512345678901235\"}\n");
  EXPECT_EQ(ctl("esim download '1$smdp.vorn.example$UNKNOWN'").status, 1);
  EXPECT_EQ(ctl("sim slot set 1").output, "active_slot: 1\n+GTSLOTSTATUS: 0,0,2\n+GTSLOTSTATUS: 1,1,2\n");
  CtlRun info = ctl("sim info");
  EXPECT_TRUE(has(info, "imsi: 234150123456789\nplmn: 23415\n")) << info.output;
}

}  // namespace
