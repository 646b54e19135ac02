// vornpalctl's AT and board commands, and the at_responder program, run as
// a user would inside the sandbox.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "device_test.h"

namespace {

using namespace devt;

class DeviceCtl : public DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    const char *dir = std::getenv("VORNPAL_BINARY_DIR");
    if (dir == nullptr) GTEST_SKIP() << "run through ctest to find vornpalctl";
    if (vt::emulated()) GTEST_SKIP() << "vornpalctl is a host tool";
    tools_ = std::string(dir) + "/tools/";
    vt::remove_tree("/vornsim/m2m");
  }

  std::string run(const std::string &command) {
    std::string output;
    FILE *pipe = popen((tools_ + command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return output;
    char chunk[512];
    while (size_t got = std::fread(chunk, 1, sizeof chunk, pipe)) output.append(chunk, got);
    pclose(pipe);
    return output;
  }

  std::string tools_;
};

// True when a socket of the sandbox is bound to UDP 127.0.0.1:5555. Looked up
// in /proc rather than tried: a vornpalctl that finds the port free serves it
// itself for a while, and then the responder cannot start.
bool at_port_bound() {
  std::string table = vt::read_file("/proc/net/udp");
  return table.find(" 0100007F:15B3 ") != std::string::npos;
}

TEST_F(DeviceCtl, AtServedByTheToolOrByTheResponder) {
  EXPECT_EQ(run("vornpalctl at at+cgmm"),
            "server: vornpalctl (simulated modem)\nsent: AT+CGMM\\r\n"
            "reply: \\r\\nVN5G-FWA100\\r\\n\\r\\nOK\\r\\n\n");

  pid_t responder = fork();
  if (responder == 0) {
    std::string program = tools_ + "at_responder";
    execl(program.c_str(), "at_responder", "--numeric", "--echo", static_cast<char *>(nullptr));
    _exit(127);
  }
  ASSERT_GT(responder, 0);
  ASSERT_TRUE(vt::eventually(at_port_bound, 30000)) << "the responder serves";
  EXPECT_EQ(run("vornpalctl at AT+CFUN?"), "server: already running\nreply: +CFUN: 1\\r\\n0\\r\n");
  EXPECT_EQ(run("vornpalctl --json at AT+NOSUCH"),
            "{\"server\": \"already running\", \"reply\": \"4\\r\"}\n");
  kill(responder, SIGTERM);
  int status = 0;
  waitpid(responder, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST_F(DeviceCtl, MimoClatAndMacAcrossRuns) {
  EXPECT_EQ(run("vornpalctl device mimo clear lte"),
            "lte_mimo: full\nnr_mimo: limited\nlte_item: (none)\nnr_item: 02\n");
  EXPECT_EQ(run("vornpalctl device mimo set lte"),
            "lte_mimo: limited\nnr_mimo: limited\nlte_item: 010000000200\nnr_item: 02\n");
  EXPECT_EQ(run("vornpalctl device mimo set wifi"), "error: usage: device mimo set lte|nr\nrc: 2\n");
  EXPECT_EQ(run("vornpalctl device clat on"), "clat: on\n");
  EXPECT_EQ(run("vornpalctl device clat on"), "clat: on\nalready on\n");
  EXPECT_EQ(run("vornpalctl device mac bt --set 00:A0:C6:44:55:66"), "bt_mac: 00:a0:c6:44:55:66\n");
  EXPECT_EQ(run("vornpalctl device mac"), "eth_mac: (not stored)\nbt_mac: 00:a0:c6:44:55:66\n");
  EXPECT_EQ(run("vornpalctl device mac eth --set 00:A0:C6:44:55"),
            "error: not a MAC address: 00:A0:C6:44:55\nrc: 2\n");
}

}  // namespace
