// The frames between vornsimd and the processes that use its modem: what the
// real stack carries (service, message id, transaction id and the message
// bytes), plus the calls of the control API. Every frame is a fixed header
// and `length` payload bytes; both ends are on one host, so the fields are
// in the host's byte order.
//
//   client → daemon                     daemon → client
//   kInitClient   svc, rc = time-out    kReply        txn, rc, handle
//   kInitNotifier svc                   kReply        txn, rc, handle
//   kRelease      handle                kReply        txn, rc
//   kSync         handle, msg, rc =     kReply        txn, rc, payload = response
//                 time-out, extra =
//                 response length
//   kAsync        (as kSync)            kReply        txn, rc (accepted or not)
//                                       kAsyncAnswer  txn, rc, payload = response
//   kControl      payload = call        kReply        txn, rc, payload = result
//                                       kIndication   handle, msg, extra = decode
//                                                     verdict, payload = message
//                                       kServices     extra = mask of services up
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace vornsim::wire {

constexpr uint32_t kMagic = 0x44534e56;  // "VNSD"

enum class Type : uint16_t {
  kInitClient = 1,
  kInitNotifier,
  kRelease,
  kSync,
  kAsync,
  kControl,
  kReply,
  kAsyncAnswer,
  kIndication,
  kServices,
};
constexpr uint16_t kFirstType = static_cast<uint16_t>(Type::kInitClient);
constexpr uint16_t kLastType = static_cast<uint16_t>(Type::kServices);

struct Header {
  uint32_t magic;
  uint16_t type;
  uint16_t svc;
  uint32_t msg_id;
  uint32_t txn;
  uint32_t handle;  // the daemon's number of a client, 0 for none
  int32_t rc;       // transport result; the time-out (modem ms) of a request
  uint32_t extra;   // response length of a request; decode verdict; service mask
  uint32_t length;  // payload bytes that follow
};
static_assert(sizeof(Header) == 32, "the header is 32 bytes on every ABI");
static_assert(std::is_trivially_copyable_v<Header>);
static_assert(offsetof(Header, length) == 28);

// The largest message structure of the service headers is well below this;
// a frame that claims more is damaged.
constexpr uint32_t kMaxPayload = 4u << 20;

using Bytes = std::vector<uint8_t>;

struct Frame {
  Header header{};
  Bytes payload;
};

inline Header header(Type type, uint32_t txn = 0) {
  Header h{};
  h.magic = kMagic;
  h.type = static_cast<uint16_t>(type);
  h.txn = txn;
  return h;
}

// Why a header cannot be taken, or "" when it can.
std::string check(const Header &h);

// Reads one whole frame. False at the end of the stream or on a damaged
// frame, with `error` saying which ("" for a clean end).
bool read_frame(int fd, Frame &frame, std::string &error);
// Writes one frame whole; false when the peer is gone.
bool write_frame(int fd, const Header &h, const void *payload, size_t len);

}  // namespace vornsim::wire
