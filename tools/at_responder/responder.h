// An AT server for the host: it answers the library's AT client on UDP
// 127.0.0.1:5555 inside the sandbox (each sandbox has a network namespace of
// its own), from the simulated modem where it can and with OK or ERROR
// otherwise. It can misbehave as real servers do: echo the command, answer
// in numeric mode, in several datagrams, late, or not at all.
//
// The at_responder program serves with it; tests and vornpalctl run one in
// a thread of their own.
#pragma once

#include <sys/socket.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace atr {

constexpr const char kAddress[] = "127.0.0.1";
constexpr unsigned short kPort = 5555;

struct Mode {
  bool echo = false;      // the command as received, before the answer
  bool numeric = false;   // ATV0: result codes "0\r" and "4\r", text lines end in "\r\n"
  int pieces = 1;         // datagrams the reply is cut into
  unsigned delay_ms = 0;  // before answering, in modem milliseconds (divided by VORNPAL_TIME_SCALE)
  bool silent = false;    // nothing is answered
};

// What a command gets: information lines and a verdict, or raw bytes that
// go out as they are (echo and pieces still apply).
struct Answer {
  std::vector<std::string> lines;
  bool ok = true;
  std::optional<std::string> raw;
};

using Answerer = std::function<Answer(const std::string &command)>;

// Answers from the library's own queries against the modem: "AT"; AT+CGMI,
// AT+CGMM, AT+CGMR, AT+CGSN (identity); AT+CFUN? and AT+CFUN=<n>; AT+CSQ
// (the best antenna's SINR in dB, 0 to 31, stands in for the RSSI index).
// Anything else is ERROR. The command may end in "\r".
Answer modem_answer(const std::string &command);

// Takes the mode option at args[i] (--echo, --numeric, --silent, --pieces N
// of 1 to 64, --delay MS of 0 to 600000) into `mode`, stepping i over its
// value: nullopt when args[i] is no mode option, false when its value is
// missing or out of range.
std::optional<bool> take_mode_option(const std::vector<std::string> &args, size_t &i, Mode &mode);

// The reply to `received` before it is cut into datagrams.
std::string render(const std::string &received, const Answer &answer, const Mode &mode);
// `reply` in `pieces` parts of about equal size (fewer when it is shorter).
std::vector<std::string> split(const std::string &reply, int pieces);

// True when something already listens on 127.0.0.1:5555.
bool port_taken();

class Responder {
 public:
  explicit Responder(Mode mode = {}, Answerer answerer = modem_answer);
  ~Responder();
  Responder(const Responder &) = delete;
  Responder &operator=(const Responder &) = delete;

  // Binds the port and serves from a thread; false when it is taken.
  bool start();
  void stop();
  void set_mode(const Mode &mode);
  void set_answerer(Answerer answerer);
  // Every datagram received, as its bytes came.
  std::vector<std::string> received() const;
  // Called with each command after its answer went out (on the thread).
  void on_served(std::function<void(const std::string &)> served);

 private:
  void serve();
  void answer(const std::string &command, const sockaddr_storage &from, unsigned from_len);

  int fd_ = -1;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
  mutable std::mutex mutex_;
  Mode mode_;
  Answerer answerer_;
  std::vector<std::string> received_;
  std::function<void(const std::string &)> served_;
};

}  // namespace atr
