// libFuzzer: any datagram as the kernel's answer to the IPv6 look-ups: a
// route dump (each route also through vorn_dump_route alone) and address
// messages, read for the loopback interface. Cut and lying lengths must not
// take a read outside the datagram.
#include <net/if.h>

#include <vector>

#include "foundation/netlink_messages.h"
#include "exact_buffers.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  quiet_full_logging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // A copy of exactly the input's size (heap blocks are aligned).
  Block datagram(size);
  std::memcpy(datagram.bytes.data(), data, size);
  char out[VORN_IPV6_TEXT_SIZE] = {};
  vorn::net::walk_route_dump(datagram.as<uint8_t>(), size, "lo", out);
  if (size >= sizeof(nlmsghdr)) {
    // The single-message call trusts nlmsg_len; give it a message that holds it.
    uint32_t claimed = datagram.as<nlmsghdr>()->nlmsg_len;
    if (claimed <= size) {
      Block message(claimed < sizeof(nlmsghdr) ? sizeof(nlmsghdr) : claimed);
      std::memcpy(message.bytes.data(), data, message.size);
      vorn_dump_route(message.as<nlmsghdr>(), "lo", out);
    }
  }
  if (std::memchr(out, 0, sizeof out) == nullptr) std::abort();
  char address[VORN_IPV6_TEXT_SIZE] = {};
  vorn::net::scan_address_messages(datagram.as<uint8_t>(), size, if_nametoindex("lo"), address);
  if (std::memchr(address, 0, vorn::net::kAddressTextSize) == nullptr) std::abort();
  return 0;
}
