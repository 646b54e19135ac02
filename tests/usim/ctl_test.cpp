// vornpalctl's sim and esim commands: runs share one modem, so a PIN
// entered, a channel opened or a profile downloaded in one run is there in
// the next.
#include "ctl_run.h"
#include "usim_test.h"

namespace {

using namespace usimt;

using vt::ctl;
using vt::CtlRun;

class UsimCtl : public UsimTest {
 protected:
  void SetUp() override {
    UsimTest::SetUp();
    VT_NEEDS_TOOLS();
    vt::remove_tree("/vornsim/uim");
  }
};

TEST_F(UsimCtl, PinAcrossRuns) {
  EXPECT_EQ(ctl("modem sim pin-required 0 on").status, 0);
  CtlRun wrong = ctl("sim pin verify 1111");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_TRUE(wrong.has("pin_attempts: 2\n")) << wrong.output;
  CtlRun status = ctl("--json sim status");
  EXPECT_TRUE(status.has("\"card_state\": \"PIN required\"")) << status.output;
  EXPECT_EQ(ctl("sim pin verify 1234").output,
            "result: 0\npin_state: enabled, verified\npin_attempts: 3\npuk_attempts: 10\n");
  CtlRun letters = ctl("sim pin verify 12a4");
  EXPECT_EQ(letters.status, 1);
  EXPECT_TRUE(letters.has("result: 3\n")) << letters.output;
  CtlRun disable = ctl("sim pin disable 1234");
  EXPECT_EQ(disable.status, 0) << disable.output;
  EXPECT_TRUE(ctl("sim status").has("pin_state: disabled\n"));
}

TEST_F(UsimCtl, ChannelsAndProfilesAcrossRuns) {
  EXPECT_EQ(ctl("sim apdu open F0564F524E0001").output, "channel: 1\n");
  EXPECT_EQ(ctl("sim apdu send 1 00A4040007F0564F524E0001").output,
            "response: 6F0B8407F0564F524E0001A5009000\nsw: 9000\n");
  CtlRun odd = ctl("sim apdu send 1 00A");
  EXPECT_EQ(odd.status, 1);
  EXPECT_TRUE(odd.has("not an even number of hexadecimal digits: 00A")) << odd.output;
  EXPECT_EQ(ctl("sim apdu close 1").output, "closed: 1\n");
  EXPECT_EQ(ctl("sim apdu close 1").status, 1);

  CtlRun download = ctl("esim download '1$smdp.vorn.example$ABC-1'");
  EXPECT_EQ(download.status, 0) << download.output;
  EXPECT_TRUE(download.has("downloaded: true\n"));
  CtlRun list = ctl("esim list");
  EXPECT_TRUE(list.has("profiles: 3\n")) << list.output;
  EXPECT_EQ(ctl("esim nickname 3 Holiday").status, 0);
  EXPECT_TRUE(ctl("esim list").has(" disabled \"Holiday\"\n"));
  EXPECT_EQ(ctl("--json esim eid").output, "{\"eid\": \"89049032123451234512345678901235\"}\n");
  EXPECT_EQ(ctl("esim download '1$smdp.vorn.example$UNKNOWN'").status, 1);
  EXPECT_EQ(ctl("sim slot set 1").output, "active_slot: 1\n+GTSLOTSTATUS: 0,0,2\n+GTSLOTSTATUS: 1,1,2\n");
  CtlRun info = ctl("sim info");
  EXPECT_TRUE(info.has("imsi: 234150123456789\nplmn: 23415\n")) << info.output;
}

}  // namespace
