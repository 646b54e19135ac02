// vornpalctl's voice commands: one USSD session carried across runs (the
// modem's store keeps it), the network's messages in `watch`, and the IMS
// switch.
#include "ctl_run.h"
#include "voice_test.h"

namespace {

using namespace voicet;

using vt::CtlRun;

class VoiceCtl : public VoiceFreshTest {
 protected:
  void SetUp() override {
    VoiceFreshTest::SetUp();
    VT_NEEDS_TOOLS();
    for (const char *module : {"voice", "imss", "imsa", "m2m"}) vt::remove_tree(std::string("/vornsim/") + module);
  }

  // The tool waits for the network in real time, as on a device: a loaded
  // machine does not make its requests time out.
  static CtlRun ctl(const std::string &args) { return vt::ctl(args, "VORNPAL_TIME_SCALE=1"); }
};

TEST_F(VoiceCtl, MenuAcrossRuns) {
  CtlRun menu = ctl("ussd send '*123#'");
  EXPECT_EQ(menu.status, 0);
  EXPECT_EQ(menu.output,
            "session: waiting for an answer\nVorn Mobile\n1 Balance\n2 Data bundles\n3 Language\n");
  EXPECT_EQ(ctl("ussd answer 2").output,
            "session: waiting for an answer\nData bundles:\n1 1 GB \u2013 5 \u20ac\n2 5 GB \u2013 15 \u20ac\n0 Back\n");
  EXPECT_EQ(ctl("--json ussd answer 1").output,
            "{\"session\": \"released\", \"lines\": [\"1 GB bundle activated \U0001F389 Enjoy!\", "
            "\"(released, cause 3)\"]}\n");
  CtlRun late = ctl("ussd answer 1");
  EXPECT_EQ(late.status, 1);
  EXPECT_EQ(late.output, "error: cannot answer: no question of the network is open\nrc: -1\n");
  EXPECT_EQ(ctl("ussd send").status, 1);
  EXPECT_EQ(ctl("modem ussd session").output,
            "open: false\nreceived: *123#\nreceived: 2\nreceived: 1\n");
}

TEST_F(VoiceCtl, NetworkMessagesReachTheNextRun) {
  EXPECT_EQ(ctl("modem ussd notify 'Your bundle ends tomorrow.'").status, 0);
  CtlRun watch = ctl("watch 1");
  EXPECT_NE(watch.output.find("family: voice\nevent: ussd: Your bundle ends tomorrow.\n"), std::string::npos)
      << watch.output;
  EXPECT_NE(watch.output.find("event: ussd (released, cause 3)\n"), std::string::npos) << watch.output;

  EXPECT_EQ(ctl("modem ussd request '\u041e\u0446\u0435\u043d\u0438\u0442\u0435 1-5' --ucs2").status, 0);
  EXPECT_EQ(ctl("ussd answer 5").output,
            "session: released\n\u041e\u0446\u0435\u043d\u0438\u0442\u0435 1-5\n"
            "Thank you, your answer was received.\n(released, cause 3)\n");
}

TEST_F(VoiceCtl, ImsSwitch) {
  EXPECT_EQ(ctl("ims status").output, "ims: enabled\nvolte: on\nregistered: true\nregistration_status: 2\n");
  EXPECT_EQ(ctl("nv write /nv/item_files/ims/IMS_enable --hex 00").status, 0);
  EXPECT_EQ(ctl("ims status").output,
            "ims: disabled in NV\nvolte: off\nregistered: (no IMSA client)\n");
  EXPECT_EQ(ctl("ims disable").output, "ims: enabled\nvolte: off\nregistered: false\nregistration_status: 0\n");
  EXPECT_EQ(ctl("--json ims enable").output,
            "{\"ims\": \"enabled\", \"volte\": \"on\", \"registered\": true, \"registration_status\": 2}\n");
}

}  // namespace
