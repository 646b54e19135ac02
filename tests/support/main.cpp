// Entry point of every test executable.
#include <cstdio>
#include <cstdlib>

#include "vornpal_test.h"

namespace {

// A fresh modem before each test: default state, no faults, no recordings.
// (The child of a death test gets no listener events: a fixture that needs a
// fresh modem there resets it itself.)
class FreshModem : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo &) override { vornsim::reset(); }
};

}  // namespace

int main(int argc, char **argv) {
  // The library writes /data, /tmp and /dev/kmsg: never outside the sandbox.
  const char *sandboxed = std::getenv("VORNPAL_SANDBOX");
  if (sandboxed == nullptr || std::string(sandboxed) != "1") {
    std::fprintf(stderr, "%s: run tests inside tools/sandbox/vornpal-sandbox (or through ctest)\n",
                 argv[0]);
    return 2;
  }
  // Seconds of the code become tens of milliseconds.
  setenv("VORNPAL_TIME_SCALE", "100", 0);
  ::testing::InitGoogleTest(&argc, argv);
  // Death tests re-execute the test binary (safe beside the modem's threads)
  // natively, and only fork under the emulator, which cannot re-execute.
  ::testing::FLAGS_gtest_death_test_style = vt::emulated() ? "fast" : "threadsafe";
  ::testing::UnitTest::GetInstance()->listeners().Append(new FreshModem);
  return RUN_ALL_TESTS();
}
