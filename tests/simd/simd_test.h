// The modem daemon's fixture: the suite's process is a client of a vornsimd
// started before the first test (VORNSIM_SOCKET names it), so every control
// call of a test goes through the daemon, and the test starts further
// processes (simd_peer) that share that modem, or daemons of their own on
// scratch directories.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <vornsim/daemon.h>

#include "ctl_run.h"
#include "vornpal_test.h"

namespace simdt {

// A vornsimd process on a state directory, its standard error in DIR/log.
struct Daemon {
  pid_t pid = 0;
  std::string dir;

  // Starts one and waits until it listens; pid 0 when it did not.
  static Daemon start(const std::string &dir, const std::vector<std::string> &options = {});
  // Runs one to its end (a daemon that refuses to start): its exit status.
  static int run_to_end(const std::string &dir);
  // Sends the signal and waits for the end: the exit status, or -signal.
  int stop(int signal);
  std::string socket() const { return dir + "/" + vornsim::kDaemonSocket; }
  std::string log() const;
};

// The daemon of the suite's process.
const Daemon &suite_daemon();

// A simd_peer process on a daemon's socket.
class Peer {
 public:
  explicit Peer(const std::string &socket = suite_daemon().socket());
  ~Peer();
  Peer(const Peer &) = delete;
  Peer &operator=(const Peer &) = delete;

  // Sends a command and gives its result ("ok <result>"); "timeout" when
  // none came within 10 s.
  std::string ask(const std::string &command);
  // Sends a command without waiting for its result.
  void send(const std::string &command);
  // Waits until the peer printed a line that starts with `line`.
  bool printed(const std::string &line, int ms = 5000);
  void kill_hard();

 private:
  void read_lines();
  pid_t pid_ = 0;
  int to_ = -1;
  int from_ = -1;
  std::thread reader_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  size_t answered_ = 0;  // lines up to here were looked at by ask()
};

class DaemonTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char *why = vt::tools_unavailable()) GTEST_SKIP() << why;
    ASSERT_NE(suite_daemon().pid, 0) << "the suite's daemon did not start";
    vornsim::reset();
  }
  void TearDown() override { vornsim::drain(); }
};

}  // namespace simdt
