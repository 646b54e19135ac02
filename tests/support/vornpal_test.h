// Helpers shared by the test executables. Every test process runs inside the
// sandbox (its own /data, /tmp, /dev/kmsg, ...), with a fresh simulated modem
// before each test and the library's waits shortened by VORNPAL_TIME_SCALE.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <vornsim/sim.h>

namespace vt {

// ---- the modem -----------------------------------------------------------------

constexpr vornsim::Svc kM2m = vornsim::Svc::M2M;
constexpr vornsim::Svc kDms = vornsim::Svc::DMS;

// Requests of one message that reached the modem.
inline size_t count(vornsim::Svc svc, unsigned msg_id) {
  return vornsim::requests(svc, msg_id).size();
}

// Answers message Msg of a library table (src/<family>/messages.h) with
// fn(request, response); the response starts zeroed.
template <class Msg>
void serve(vornsim::Svc svc, std::function<void(const typename Msg::Req &, typename Msg::Resp &)> fn) {
  vornsim::on(svc, Msg::id, vornsim::typed<typename Msg::Req, typename Msg::Resp>(std::move(fn)));
}

// Answers message Msg with a response filled by `fill`, whatever the request.
template <class Msg>
void answer(vornsim::Svc svc, std::function<void(typename Msg::Resp &)> fill) {
  serve<Msg>(svc, [fill](const typename Msg::Req &, typename Msg::Resp &resp) { fill(resp); });
}

// Waits (real time) until `done` holds; false after `ms`.
bool eventually(const std::function<bool()> &done, int ms = 5000);

// The events a family's callback received, with the thread each ran on.
struct Events {
  struct Event {
    int id;
    std::vector<uint8_t> data;
    int size;
    bool had_data;
    bool on_modem_thread;
    std::thread::id thread;
  };
  // The callback: register it with `this` as the user data.
  static void record(int id, void *data, int size, void *user);
  // Everything so far, once the modem delivered what it had queued.
  std::vector<Event> taken();

  std::mutex mutex;
  std::vector<Event> list;
};

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
