#include "responder.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>

#include <vornpal/m2m.h>

namespace atr {
namespace {

constexpr size_t kDatagramMax = 65536;
constexpr int kStopCheckMs = 20;

unsigned time_scale() {
  const char *text = std::getenv("VORNPAL_TIME_SCALE");
  long value = text != nullptr ? std::strtol(text, nullptr, 10) : 1;
  return value >= 1 ? static_cast<unsigned>(value) : 1;
}

sockaddr_in server_address() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(kPort);
  inet_pton(AF_INET, kAddress, &address.sin_addr);
  return address;
}

std::string without_line_end(std::string command) {
  while (!command.empty() && (command.back() == '\r' || command.back() == '\n')) command.pop_back();
  return command;
}

Answer error() { return {{}, false, std::nullopt}; }

Answer text_answer(int rc, const char *text) {
  if (rc != 0) return error();
  return {{text}, true, std::nullopt};
}

Answer manufacturer() {
  char text[129] = {};
  return text_answer(vorn_m2m_pal_get_manufacturer(text), text);
}

Answer model() {
  char text[33] = {};
  return text_answer(vorn_m2m_pal_get_model(text), text);
}

Answer revision() {
  char modem[65] = {}, cefs[65] = {};
  return text_answer(vorn_m2m_pal_get_sub_ver(modem, 64, cefs, 64), modem);
}

Answer imei() {
  char first[33] = {}, second[33] = {};
  return text_answer(vorn_m2m_pal_read_imei(first, second), first);
}

Answer cfun_query() {
  uint8_t cfun = 0;
  if (vorn_m2m_pal_get_cfun_mode(&cfun) != 0) return error();
  return {{"+CFUN: " + std::to_string(cfun)}, true, std::nullopt};
}

Answer signal() {
  uint32_t sinr[4] = {};
  // The SINR query needs the client that the other queries start themselves.
  if (vorn_m2m_pal_early_init() != 0 || vorn_m2m_pal_get_ant_sinr(sinr) != 0) return error();
  uint32_t best = std::min<uint32_t>(*std::max_element(sinr, sinr + 4), 31);
  return {{"+CSQ: " + std::to_string(best) + ",99"}, true, std::nullopt};
}

Answer plain_ok() { return {}; }

const std::map<std::string, Answer (*)()> &queries() {
  static const std::map<std::string, Answer (*)()> table = {
      {"AT", plain_ok},       {"AT+CGMI", manufacturer}, {"AT+CGMM", model},
      {"AT+CGMR", revision},  {"AT+CGSN", imei},         {"AT+CFUN?", cfun_query},
      {"AT+CSQ", signal},
  };
  return table;
}

Answer set_cfun(const std::string &value) {
  char *end = nullptr;
  long level = std::strtol(value.c_str(), &end, 10);
  if (value.empty() || *end != '\0' || level < 0 || level > 255) return error();
  return vorn_m2m_pal_set_cfun_mode(static_cast<uint8_t>(level)) == 0 ? plain_ok() : error();
}

}  // namespace

Answer modem_answer(const std::string &received) {
  std::string command = without_line_end(received);
  auto query = queries().find(command);
  if (query != queries().end()) return query->second();
  const std::string set_cfun_prefix = "AT+CFUN=";
  if (command.rfind(set_cfun_prefix, 0) == 0) return set_cfun(command.substr(set_cfun_prefix.size()));
  return error();
}

namespace {

// args[i + 1] as a number from 0 to max, stepping i over it.
bool take_value(const std::vector<std::string> &args, size_t &i, long long max, long long &value) {
  if (i + 1 >= args.size()) return false;
  const std::string &text = args[++i];
  char *end = nullptr;
  value = std::strtoll(text.c_str(), &end, 10);
  return !text.empty() && *end == '\0' && value >= 0 && value <= max;
}

}  // namespace

std::optional<bool> take_mode_option(const std::vector<std::string> &args, size_t &i, Mode &mode) {
  const std::string &arg = args[i];
  long long value = 0;
  if (arg == "--echo") {
    mode.echo = true;
  } else if (arg == "--numeric") {
    mode.numeric = true;
  } else if (arg == "--silent") {
    mode.silent = true;
  } else if (arg == "--pieces") {
    if (!take_value(args, i, 64, value) || value < 1) return false;
    mode.pieces = static_cast<int>(value);
  } else if (arg == "--delay") {
    if (!take_value(args, i, 600000, value)) return false;
    mode.delay_ms = static_cast<unsigned>(value);
  } else {
    return std::nullopt;
  }
  return true;
}

std::string render(const std::string &received, const Answer &answer, const Mode &mode) {
  std::string reply = mode.echo ? received : "";
  if (answer.raw) return reply + *answer.raw;
  for (const std::string &line : answer.lines)
    reply += mode.numeric ? line + "\r\n" : "\r\n" + line + "\r\n";
  if (mode.numeric) return reply + (answer.ok ? "0\r" : "4\r");
  return reply + (answer.ok ? "\r\nOK\r\n" : "\r\nERROR\r\n");
}

std::vector<std::string> split(const std::string &reply, int pieces) {
  size_t count = std::max<size_t>(1, std::min<size_t>(static_cast<size_t>(std::max(pieces, 1)),
                                                      reply.size()));
  std::vector<std::string> parts;
  size_t base = reply.size() / count, extra = reply.size() % count, at = 0;
  for (size_t i = 0; i < count; ++i) {
    size_t len = base + (i < extra ? 1 : 0);
    parts.push_back(reply.substr(at, len));
    at += len;
  }
  return parts;
}

bool port_taken() {
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  sockaddr_in address = server_address();
  bool taken = bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0;
  close(fd);
  return taken;
}

Responder::Responder(Mode mode, Answerer answerer) : mode_(mode), answerer_(std::move(answerer)) {}

Responder::~Responder() { stop(); }

bool Responder::start() {
  if (fd_ >= 0) return true;
  fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = server_address();
  if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
    return false;
  }
  stopping_ = false;
  thread_ = std::thread([this] { serve(); });
  return true;
}

void Responder::stop() {
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

void Responder::set_mode(const Mode &mode) {
  std::lock_guard<std::mutex> lock(mutex_);
  mode_ = mode;
}

void Responder::set_answerer(Answerer answerer) {
  std::lock_guard<std::mutex> lock(mutex_);
  answerer_ = std::move(answerer);
}

void Responder::on_served(std::function<void(const std::string &)> served) {
  std::lock_guard<std::mutex> lock(mutex_);
  served_ = std::move(served);
}

std::vector<std::string> Responder::received() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return received_;
}

void Responder::serve() {
  std::string buffer(kDatagramMax, '\0');
  while (!stopping_) {
    pollfd readable{fd_, POLLIN, 0};
    if (poll(&readable, 1, kStopCheckMs) < 1) continue;
    sockaddr_storage from{};
    socklen_t from_len = sizeof from;
    ssize_t got = recvfrom(fd_, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr *>(&from),
                           &from_len);
    if (got < 0) continue;
    std::string command(buffer.data(), static_cast<size_t>(got));
    {
      std::lock_guard<std::mutex> lock(mutex_);
      received_.push_back(command);
    }
    answer(command, from, from_len);
  }
}

void Responder::answer(const std::string &command, const sockaddr_storage &from, unsigned from_len) {
  Mode mode;
  Answerer answerer;
  std::function<void(const std::string &)> served;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    mode = mode_;
    answerer = answerer_;
    served = served_;
  }
  if (!mode.silent) {
    std::string reply = render(command, answerer(command), mode);
    auto due = std::chrono::steady_clock::now() + std::chrono::microseconds(
                                                      uint64_t{mode.delay_ms} * 1000 / time_scale());
    while (!stopping_ && std::chrono::steady_clock::now() < due)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    for (const std::string &part : split(reply, mode.pieces))
      sendto(fd_, part.data(), part.size(), 0, reinterpret_cast<const sockaddr *>(&from), from_len);
  }
  if (served) served(command);
}

}  // namespace atr
