// vornpalctl's sms commands, one run after another on one modem: a message
// to the device's own number comes back, is kept in the AP store and reads
// back; the network's messages arrive at once or wait for the next run.
#include <cstdio>

#include "ctl_run.h"
#include "sms_test.h"

namespace {

using namespace smst;

using vt::ctl;
using vt::CtlRun;

class SmsCtl : public SmsPalTest {
 protected:
  void SetUp() override {
    SmsPalTest::SetUp();
    VT_NEEDS_TOOLS();
    vt::remove_tree("/vornsim/wms");
    std::remove("/data/sms_msg.db");
  }
};

TEST_F(SmsCtl, MessagesToTheOwnNumberComeBackAndReadBack) {
  const std::string text = "Canci\xC3\xB3n de ma\xC3\xB1""ana: \xC3\xA1 \xC3\xAD \xE2\x82\xAC{}";
  CtlRun sent = ctl("sms send +15551230042 '" + text + "'");
  EXPECT_EQ(sent.status, 0);
  EXPECT_EQ(sent.output, "reference: 1\nreceived: stored ap 0, from +15551230042: " + text + "\n");
  EXPECT_EQ(ctl("sms list --store ap").output, "ap 0 unread from +15551230042: " + text + "\n");
  CtlRun read = ctl("--json sms read ap 0");
  EXPECT_NE(read.output.find("\"message\": \"from +15551230042: " + text + "\""), std::string::npos) << read.output;

  // Three UCS-2 parts, last first.
  std::string long_text;
  for (int i = 0; i < 20; ++i) long_text += "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 \xF0\x9F\x98\x80 ";
  CtlRun delivered = ctl("sms deliver +4915112345678 '" + long_text + "' --reverse");
  EXPECT_EQ(delivered.status, 0);
  EXPECT_NE(delivered.output.find("stored ap 1, from +4915112345678 (part 3/3)"), std::string::npos) << delivered.output;
  std::string joined;
  for (int index : {3, 2, 1}) {
    CtlRun part = ctl("sms read ap " + std::to_string(index));
    size_t at = part.output.find("): ");
    ASSERT_NE(at, std::string::npos) << part.output;
    joined += part.output.substr(at + 3, part.output.rfind('\n') - at - 3);
  }
  EXPECT_EQ(joined, long_text);

  // A message left at the centre arrives in the next run that starts the family.
  EXPECT_EQ(ctl("sms deliver +4915112345678 later --queue").output, "waiting: 1\n");
  CtlRun watched = ctl("watch 1");
  EXPECT_NE(watched.output.find("event: stored ap 4, from +4915112345678: later"), std::string::npos) << watched.output;
  EXPECT_EQ(ctl("sms delete ap 4").output, "deleted: ap 4\n");
  EXPECT_EQ(ctl("sms read ap 4").status, 1);
  EXPECT_EQ(ctl("sms read card 1").status, 1);
}

}  // namespace
