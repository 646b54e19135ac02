// The messages of one NETLINK_ROUTE datagram, as the IPv6 look-ups read
// them: inline, so that the tests walk crafted datagrams with the same code.
#pragma once

#include <linux/if_addr.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <strings.h>
#include <vornpal/ipv6.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "foundation/log_site.h"

namespace vorn::net {

// Eight groups of four hex digits, seven colons and the terminator.
constexpr size_t kAddressTextSize = 40;

enum class DumpWalk { kMore, kDone, kFailed };

// Calls visit(message) for each whole message of a datagram; stops when
// visit returns false. True when the walk went to the datagram's end, false
// when it met a message that is cut or claims less than its header.
template <class Visit>
bool for_each_message(const uint8_t *data, size_t length, Visit visit) {
  size_t offset = 0;
  while (offset < length) {
    if (length - offset < sizeof(nlmsghdr)) return false;
    const auto *message = reinterpret_cast<const nlmsghdr *>(data + offset);
    if (message->nlmsg_len < sizeof(nlmsghdr) || message->nlmsg_len > length - offset)
      return false;
    if (!visit(message)) return true;
    offset += NLMSG_ALIGN(message->nlmsg_len);
  }
  return true;
}

// Calls visit(attribute) for each whole route attribute of block[0..length);
// an attribute that is cut or claims less than its header ends the walk.
template <class Attribute, class Visit>
void for_each_attribute(Attribute *block, size_t length, Visit visit) {
  auto *bytes = reinterpret_cast<unsigned char *>(const_cast<rtattr *>(block));
  size_t offset = 0;
  while (offset < length && length - offset >= sizeof(rtattr)) {
    auto *attribute = reinterpret_cast<Attribute *>(bytes + offset);
    if (attribute->rta_len < sizeof(rtattr) || attribute->rta_len > length - offset) return;
    visit(attribute);
    offset += RTA_ALIGN(attribute->rta_len);
  }
}

// The messages of one datagram of a route dump, each route to
// vorn_dump_route. kMore when the dump goes on in a next datagram.
inline DumpWalk walk_route_dump(const uint8_t *data, size_t length, const char *ifname, char *out) {
  VORN_LOG(VORN_DBUG, "Dump IPv6 default gateway:%d\n", static_cast<int>(length));
  DumpWalk end = DumpWalk::kMore;
  bool whole = for_each_message(data, length, [&](const nlmsghdr *message) {
    if ((message->nlmsg_flags & NLM_F_DUMP_INTR) != 0)
      VORN_LOG(VORN_WARN, "Dump was interrupted\n");
    if (message->nlmsg_type == NLMSG_ERROR) {
      VORN_LOG(VORN_ERR, "netlink reported error\n");
      end = DumpWalk::kFailed;
      return false;
    }
    if (message->nlmsg_type == NLMSG_DONE) {
      end = DumpWalk::kDone;
      return false;
    }
    vorn_dump_route(message, ifname, out);
    return true;
  });
  // A datagram read to its end leaves the rest of the dump to the next one;
  // a message that is cut ends it.
  return whole ? end : DumpWalk::kDone;
}

inline void write_address(const in6_addr &address, char *out) {
  const uint8_t *b = address.s6_addr;
  std::snprintf(out, kAddressTextSize,
                "%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x", b[0],
                b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                b[14], b[15]);
}

// The address of one new-address message of the interface, into out; true
// when it is global.
inline bool take_address(const nlmsghdr *message, unsigned index, char *out) {
  if (message->nlmsg_len < NLMSG_LENGTH(sizeof(ifaddrmsg))) return false;
  const auto *header = static_cast<const ifaddrmsg *>(NLMSG_DATA(message));
  if (header->ifa_index != index) return false;
  bool global = false;
  for_each_attribute(IFA_RTA(header), message->nlmsg_len - NLMSG_LENGTH(sizeof(ifaddrmsg)),
                     [&](const rtattr *attribute) {
                       if (global || attribute->rta_type != IFA_ADDRESS ||
                           RTA_PAYLOAD(attribute) < sizeof(in6_addr))
                         return;
                       write_address(*static_cast<const in6_addr *>(RTA_DATA(attribute)), out);
                       global = strncasecmp(out, "FE80", 4) != 0;
                     });
  if (global) VORN_LOG(VORN_INFO, "Return IPv6 addr:%s scope:%d\n", out, header->ifa_scope);
  return global;
}

// The new-address messages of one datagram for the interface `index`: each
// address goes into out (kAddressTextSize bytes); true at the first one that
// is not link-local.
inline bool scan_address_messages(const uint8_t *data, size_t length, unsigned index, char *out) {
  bool global = false;
  for_each_message(data, length, [&](const nlmsghdr *message) {
    if (message->nlmsg_type == NLMSG_DONE) return false;
    global = message->nlmsg_type == RTM_NEWADDR && take_address(message, index, out);
    return !global;
  });
  return global;
}

}  // namespace vorn::net
