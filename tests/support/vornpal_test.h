// Helpers shared by the test executables. Every test process runs inside the
// sandbox (its own /data, /tmp, /dev/kmsg, ...), with a fresh simulated modem
// before each test and the library's waits shortened by VORNPAL_TIME_SCALE.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vornsim/sim.h>

namespace vt {

// Whole file, or "" when it cannot be read.
std::string read_file(const std::string &path);
bool file_exists(const std::string &path);
// Writes (creating parent directories); fails the test when it cannot.
void write_file(const std::string &path, const std::string &content);
void make_dirs(const std::string &path);
void remove_tree(const std::string &path);

// The texts of the diag lines logged so far (see vornsim::diag_lines).
std::vector<std::string> diag_texts();
// True when some diag line's text equals `text`.
bool logged(const std::string &text);
// Number of diag lines whose text equals `text`.
int count_logged(const std::string &text);

// Binds a file holding `content` over `target` (e.g. /proc/cmdline) in a
// mount namespace of the calling process's own, so the bind ends with it. Call
// it in a single-threaded process, such as the child of a death test.
void bind_over(const std::string &target, const std::string &content);

// Console lines of the log manager while an instance lives (console mode).
class ConsoleCapture {
 public:
  ConsoleCapture();
  ~ConsoleCapture();
  std::vector<std::string> lines() const;
};

// Runs a shell command inside the sandbox; its exit status.
int sh(const std::string &command);

// True under the emulator of a cross build (qemu-arm), where a test process
// cannot re-execute itself.
bool emulated();

}  // namespace vt

// For death tests whose child must be a fresh process (no state left by
// earlier tests): natively the child re-executes the test binary; under the
// emulator, where it can only fork, such a test is skipped.
#define VT_NEEDS_FRESH_PROCESS()                                                  \
  do {                                                                           \
    if (vt::emulated()) GTEST_SKIP() << "needs to re-execute the test binary";    \
  } while (0)
