// vornpalctl's network commands: runs share one simulated network, so a
// move made by one run is what the next run's query reports.
#include <cstdio>
#include <cstdlib>

#include "network_test.h"

namespace {

using namespace nett;

class NetworkCtl : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    const char *dir = std::getenv("VORNPAL_BINARY_DIR");
    if (dir == nullptr) GTEST_SKIP() << "run through ctest to find vornpalctl";
    if (vt::emulated()) GTEST_SKIP() << "vornpalctl is a host tool";
    tool_ = std::string(dir) + "/tools/vornpalctl";
    vt::remove_tree("/vornsim/nas");
  }
  std::string ctl(const std::string &args, int *status = nullptr) {
    std::string output;
    FILE *pipe = popen((tool_ + " " + args + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return output;
    char chunk[512];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) output.append(chunk, got);
    int rc = pclose(pipe);
    if (status != nullptr) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return output;
  }
  std::string tool_;
};

TEST_F(NetworkCtl, MovesAndQueriesShareTheNetwork) {
  std::string info = ctl("network info");
  EXPECT_NE(info.find("operator: Vorn Mobile\n"), std::string::npos) << info;
  EXPECT_NE(info.find("rat: LTE\n"), std::string::npos) << info;
  EXPECT_NE(info.find("band: 103\n"), std::string::npos) << info;

  EXPECT_NE(ctl("modem move partner-wcdma-b8").find("plmn: 23205\n"), std::string::npos);
  std::string json = ctl("--json network info");
  EXPECT_NE(json.find("\"registration\": \"registered, roaming\""), std::string::npos) << json;
  EXPECT_NE(json.find("\"rat\": \"WCDMA\""), std::string::npos) << json;
  EXPECT_NE(json.find("\"band\": 8,"), std::string::npos) << json;

  ctl("modem coverage off");
  EXPECT_NE(ctl("network info").find("registration: searching\n"), std::string::npos);
  ctl("modem restore");
  EXPECT_NE(ctl("network roaming off").find("data_roaming: false\n"), std::string::npos);
  EXPECT_NE(ctl("network roaming").find("data_roaming: false\n"), std::string::npos) << "kept between runs";
  int status = 0;
  EXPECT_NE(ctl("network register 2620 lte", &status).find("usage: network register"), std::string::npos);
  EXPECT_EQ(status, 1);
  EXPECT_NE(ctl("modem move nowhere", &status).find("unknown cell: nowhere"), std::string::npos);
  EXPECT_EQ(status, 1);
}

}  // namespace
