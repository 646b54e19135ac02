// Reading and writing the frames of wire.h.
#include "wire.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <vornsim/sim.h>

namespace vornsim::wire {
namespace {

// Reads exactly len bytes: 1 when read, 0 at the end of the stream before
// the first byte, -1 on an error or an end in the middle.
int read_exact(int fd, void *data, size_t len) {
  auto *p = static_cast<uint8_t *>(data);
  size_t got = 0;
  while (got < len) {
    ssize_t n = read(fd, p + got, len - got);
    if (n < 0 && errno == EINTR) continue;
    // A peer that closed with our frames unread resets the connection: at a
    // frame's start that is an end like any other.
    const bool ended = n == 0 || errno == ECONNRESET;
    if (n <= 0) return got == 0 && ended ? 0 : -1;
    got += static_cast<size_t>(n);
  }
  return 1;
}

bool takes_service(Type type) {
  return type == Type::kInitClient || type == Type::kInitNotifier;
}

}  // namespace

std::string check(const Header &h) {
  if (h.magic != kMagic) return "not a frame of the modem (bad magic)";
  if (h.type < kFirstType || h.type > kLastType) return "unknown frame type " + std::to_string(h.type);
  if (h.length > kMaxPayload) return "frame of " + std::to_string(h.length) + " bytes exceeds the limit";
  if (takes_service(static_cast<Type>(h.type)) && h.svc >= kServiceCount)
    return "unknown service " + std::to_string(h.svc);
  return "";
}

bool read_frame(int fd, Frame &frame, std::string &error) {
  error.clear();
  int rc = read_exact(fd, &frame.header, sizeof frame.header);
  if (rc == 0) return false;
  if (rc < 0) {
    error = "truncated frame header";
    return false;
  }
  error = check(frame.header);
  if (!error.empty()) return false;
  frame.payload.resize(frame.header.length);
  if (frame.header.length != 0 && read_exact(fd, frame.payload.data(), frame.payload.size()) != 1) {
    error = "truncated frame (" + std::to_string(frame.header.length) + " payload bytes announced)";
    return false;
  }
  return true;
}

bool write_frame(int fd, const Header &h, const void *payload, size_t len) {
  Header out = h;
  out.magic = kMagic;
  out.length = static_cast<uint32_t>(len);
  iovec parts[2] = {{&out, sizeof out}, {const_cast<void *>(payload), len}};
  msghdr msg{};
  msg.msg_iov = parts;
  msg.msg_iovlen = len != 0 ? 2 : 1;
  size_t left = sizeof out + len;
  while (left > 0) {
    ssize_t n = sendmsg(fd, &msg, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    left -= static_cast<size_t>(n);
    // Skip what went out.
    size_t sent = static_cast<size_t>(n);
    while (sent > 0 && msg.msg_iovlen > 0) {
      if (sent >= msg.msg_iov[0].iov_len) {
        sent -= msg.msg_iov[0].iov_len;
        ++msg.msg_iov;
        --msg.msg_iovlen;
      } else {
        msg.msg_iov[0].iov_base = static_cast<uint8_t *>(msg.msg_iov[0].iov_base) + sent;
        msg.msg_iov[0].iov_len -= sent;
        sent = 0;
      }
    }
  }
  return true;
}

}  // namespace vornsim::wire
