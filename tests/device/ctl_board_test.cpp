// vornpalctl's AT and board commands, and the at_responder program, run as
// a user would inside the sandbox.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ctl_run.h"
#include "device_test.h"

namespace {

using namespace devt;

class DeviceCtl : public DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    VT_NEEDS_TOOLS();
    vt::remove_tree("/vornsim/m2m");
  }

  static std::string ctl(const std::string &args) { return vt::ctl(args).output; }
};

// True when a socket of the sandbox is bound to UDP 127.0.0.1:5555. Looked up
// in /proc rather than tried: a vornpalctl that finds the port free serves it
// itself for a while, and then the responder cannot start.
bool at_port_bound() {
  std::string table = vt::read_file("/proc/net/udp");
  return table.find(" 0100007F:15B3 ") != std::string::npos;
}

TEST_F(DeviceCtl, AtServedByTheToolOrByTheResponder) {
  EXPECT_EQ(ctl("at at+cgmm"),
            "server: vornpalctl (simulated modem)\nsent: AT+CGMM\\r\n"
            "reply: \\r\\nVN5G-FWA100\\r\\n\\r\\nOK\\r\\n\n");

  pid_t responder = fork();
  if (responder == 0) {
    std::string program = vt::tool_path("at_responder");
    execl(program.c_str(), "at_responder", "--numeric", "--echo", static_cast<char *>(nullptr));
    _exit(127);
  }
  ASSERT_GT(responder, 0);
  ASSERT_TRUE(vt::eventually(at_port_bound, 30000)) << "the responder serves";
  EXPECT_EQ(ctl("at AT+CFUN?"), "server: already running\nreply: +CFUN: 1\\r\\n0\\r\n");
  EXPECT_EQ(ctl("--json at AT+NOSUCH"),
            "{\"server\": \"already running\", \"reply\": \"4\\r\"}\n");
  kill(responder, SIGTERM);
  int status = 0;
  waitpid(responder, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST_F(DeviceCtl, MimoClatAndMacAcrossRuns) {
  EXPECT_EQ(ctl("device mimo clear lte"),
            "lte_mimo: full\nnr_mimo: limited\nlte_item: (none)\nnr_item: 02\n");
  EXPECT_EQ(ctl("device mimo set lte"),
            "lte_mimo: limited\nnr_mimo: limited\nlte_item: 010000000200\nnr_item: 02\n");
  EXPECT_EQ(ctl("device mimo set wifi"), "error: usage: device mimo set lte|nr\nrc: 2\n");
  EXPECT_EQ(ctl("device clat on"), "clat: on\n");
  EXPECT_EQ(ctl("device clat on"), "clat: on\nalready on\n");
  EXPECT_EQ(ctl("device mac bt --set 00:A0:C6:44:55:66"), "bt_mac: 00:a0:c6:44:55:66\n");
  EXPECT_EQ(ctl("device mac"), "eth_mac: (not stored)\nbt_mac: 00:a0:c6:44:55:66\n");
  EXPECT_EQ(ctl("device mac eth --set 00:A0:C6:44:55"),
            "error: not a MAC address: 00:A0:C6:44:55\nrc: 2\n");
}

}  // namespace
