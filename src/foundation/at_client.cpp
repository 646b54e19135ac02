// The AT exchange with the AT server of the same machine: one datagram out,
// the answer collected over up to three waits until a final result stands
// at the start of a line.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vornpal/at.h>

#include "foundation/clock.h"
#include "foundation/abort_at.h"
#include "foundation/log_site.h"
#include "foundation/unique_fd.h"

namespace {

constexpr const char kServerAddress[] = "127.0.0.1";
constexpr uint16_t kServerPort = 5555;
constexpr int kPasses = 3;
constexpr uint64_t kPassWaitUs = 20ull * 1000000;
constexpr const char kFailureReply[] = "\r\nERROR\r\n";
// One byte stays for the terminator, so the reply is always a text.
constexpr size_t kReplyRoom = VORN_AT_REPLY_SIZE - 1;

// Final results in the order they are looked for. "0", "3" and "4" are
// those of a server in numeric mode; "3" also stands alone because such a
// server may end a reply without its carriage return.
constexpr const char *kFinalResults[] = {"ERROR", "OK\r\n", "0\r", "3\r",
                                         "3",     "4\r",    "NO CARRIER", "+CME ERROR:"};

char *allocate_text(size_t bytes, int line) {
  auto *block = static_cast<char *>(std::calloc(1, bytes));
  if (block == nullptr) vorn::abort_at(__FILE__, line);  // a daemon cannot go on without it
  return block;
}

// Upper case, a trailing "\n" and then a trailing "\r" dropped, and one
// "\r" to end it: what the server's command line expects.
char *normalised(const char *command) {
  size_t len = std::strlen(command);
  char *copy = allocate_text(len + 2, __LINE__);
  std::memcpy(copy, command, len);
  if (len > 0 && copy[len - 1] == '\n') --len;
  if (len > 0 && copy[len - 1] == '\r') --len;
  copy[len++] = '\r';
  copy[len] = '\0';
  // Not toupper: the daemon's locale must not change what the server sees.
  for (char *c = copy; *c != '\0'; ++c) {
    if (*c >= 'a' && *c <= 'z') *c = static_cast<char>(*c - 'a' + 'A');
  }
  return copy;
}

// A server with echo on repeats the command before its answer: drop it,
// with the blanks and line breaks that follow it.
void remove_echo(char *reply, const char *command) {
  char *echo = std::strstr(reply, command);
  if (echo == nullptr) return;
  char *rest = echo + std::strlen(command);
  while (*rest == ' ') ++rest;
  while (*rest == '\r') ++rest;
  while (*rest == '\n') ++rest;
  std::memmove(reply, rest, std::strlen(rest) + 1);
}

// A final result counts only at the start of a line: "OK\r\n" at the end
// of some other text is part of that text.
bool starts_line(const char *text, const char *at) {
  return at == text || at[-1] == '\0' || at[-1] == '\n' || at[-1] == '\r';
}

bool has_final_result(const char *reply) {
  for (const char *final : kFinalResults) {
    const size_t len = std::strlen(final);
    for (const char *at = std::strstr(reply, final); at != nullptr; at = std::strstr(at + len, final)) {
      if (starts_line(reply, at)) return true;
      VORN_LOG(VORN_DBUG, "no correct end:<%s>,<%s>,<%d>\r\n", reply, final,
               static_cast<int>(at - reply));
    }
  }
  return false;
}

// One datagram of the answer, appended behind what came before.
void receive_more(int fd, char *reply) {
  size_t kept = std::strlen(reply);
  ssize_t got = recvfrom(fd, reply + kept, kReplyRoom - kept, MSG_DONTWAIT, nullptr, nullptr);
  if (got > 0) reply[kept + static_cast<size_t>(got)] = '\0';
}

bool wait_readable(int fd) {
  pollfd readable{fd, POLLIN, 0};
  int ret = poll(&readable, 1, static_cast<int>(vorn::clk::scaled_us(kPassWaitUs) / 1000));
  if (ret < 1) {
    VORN_LOG(VORN_ERR, "select fail:ret=%d\n", ret);
    return false;
  }
  return true;
}

// Sends the normalised command and collects the answer into reply; false
// when no final result came.
bool exchange(const char *command, char *reply) {
  vorn::UniqueFd fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!fd.open()) {
    int error = errno;
    VORN_LOG(VORN_ERR, "socket error [%s]%d\n", std::strerror(error), error);
    return false;
  }
  sockaddr_in server{};
  server.sin_family = AF_INET;
  server.sin_port = htons(kServerPort);
  inet_pton(AF_INET, kServerAddress, &server.sin_addr);
  const size_t len = std::strlen(command);
  ssize_t sent = sendto(fd.get(), command, len, 0, reinterpret_cast<const sockaddr *>(&server),
                        sizeof server);
  VORN_LOG(VORN_INFO, "send at cmd:[%d,%s]\n", static_cast<int>(len), command);
  if (sent != static_cast<ssize_t>(len)) return false;

  for (int pass = 0; pass < kPasses; ++pass) {
    if (!wait_readable(fd.get())) continue;
    receive_more(fd.get(), reply);
    if (pass == 0) remove_echo(reply, command);
    if (has_final_result(reply)) return true;
  }
  return false;
}

}  // namespace

extern "C" {

VORNPAL_API char *vorn_util_send_at(const char *command) {
  char *reply = allocate_text(VORN_AT_REPLY_SIZE, __LINE__);
  if (command == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid string parameter.\n");
  } else {
    char *copy = normalised(command);
    bool answered = exchange(copy, reply);
    std::free(copy);
    if (answered) return reply;
  }
  std::memset(reply, 0, VORN_AT_REPLY_SIZE);
  std::memcpy(reply, kFailureReply, sizeof kFailureReply);
  return reply;
}

VORNPAL_API char *vorn_at_param_strip(char *text, const char *characters) {
  if (text == nullptr || characters == nullptr) return text;
  text += std::strspn(text, characters);
  for (size_t len = std::strlen(text); len > 0 && std::strchr(characters, text[len - 1]) != nullptr;
       --len)
    text[len - 1] = '\0';
  return text;
}

}  // extern "C"
