// Runs the build's command-line tools from a test, as a user would inside the
// sandbox: vornpalctl against the same simulated modem the test drives.
//
//   void SetUp() override {
//     M2mTest::SetUp();
//     VT_NEEDS_TOOLS();
//   }
//   EXPECT_EQ(vt::ctl("m2m cfun").output, "cfun: 1\n");
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace vt {

// One run of a tool: its exit status (-1 when it did not exit normally) and
// its standard output and error, interleaved as they came.
struct CtlRun {
  int status;
  std::string output;

  bool has(const std::string &text) const { return output.find(text) != std::string::npos; }
};

// Why the build's tools cannot run in this test process, or nullptr when
// they can: ctest says where the build is, and the tools are host programs
// that the emulator of a cross build does not run.
const char *tools_unavailable();

// The path of a program of the build's tools directory.
std::string tool_path(const std::string &name);

// Runs `vornpalctl <args>` through the shell; `environment` (assignments
// such as "VORNPAL_TIME_SCALE=1") goes in front of it.
CtlRun ctl(const std::string &args, const std::string &environment = "");

}  // namespace vt

// Skips the test where the build's tools cannot run (see tools_unavailable).
#define VT_NEEDS_TOOLS()                                                   \
  do {                                                                     \
    if (const char *why = vt::tools_unavailable()) GTEST_SKIP() << why;    \
  } while (0)
