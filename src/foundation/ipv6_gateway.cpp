// The IPv6 gateway of an interface, from a dump of the routing table.
#include <arpa/inet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <vornpal/ipv6.h>

#include <cerrno>
#include <cstdlib>

#include "foundation/log_site.h"
#include "foundation/netlink_messages.h"
#include "foundation/rtnetlink.h"
#include "foundation/unique_fd.h"

namespace {

constexpr uint32_t kDumpSequence = 4657;
// The highest route attribute type indexed; the gateway and output
// interface are well below it.
constexpr int kRouteAttributes = 29;

struct RouteDumpRequest {
  nlmsghdr header;
  rtmsg route;
};
static_assert(sizeof(RouteDumpRequest) == 28, "the request the kernel expects");

// Interface index of a name, 0 (logged) for none.
unsigned interface_index(const char *ifname) {
  unsigned index = ifname != nullptr ? if_nametoindex(ifname) : 0;
  if (index == 0)
    VORN_LOG(VORN_ERR, "Can't map iface name(%s) to index\n",
             ifname != nullptr ? ifname : "(null)");
  return index;
}

template <class T>
const T *attribute_as(const rtattr *attribute) {
  if (attribute == nullptr || RTA_PAYLOAD(attribute) < sizeof(T)) return nullptr;
  return static_cast<const T *>(RTA_DATA(attribute));
}

int send_dump_request(int fd) {
  RouteDumpRequest request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = RTM_GETROUTE;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.header.nlmsg_seq = kDumpSequence;
  request.route.rtm_family = AF_INET6;
  // Asks for cached routes as well; a socket without strict checking gets
  // the whole table either way.
  request.route.rtm_flags = RTM_F_CLONED;
  if (send(fd, &request, sizeof request, 0) != static_cast<ssize_t>(sizeof request)) {
    VORN_LOG(VORN_ERR, "Failed to perfom request\n");
    return -1;
  }
  return 0;
}

}  // namespace

namespace vorn::net {

// A large table comes in several datagrams; the walk goes on to the one that
// ends the dump.
int vorn_get_route_dump_response(int fd, const char *ifname, char *out) {
  for (;;) {
    uint8_t *datagram = nullptr;
    ssize_t length = vorn_rtnl_recvmsg(fd, &datagram);
    if (length < 0) return static_cast<int>(length);
    DumpWalk walk = walk_route_dump(datagram, static_cast<size_t>(length), ifname, out);
    std::free(datagram);
    if (walk == DumpWalk::kDone) return 0;
    if (walk == DumpWalk::kFailed) return -1;
  }
}

}  // namespace vorn::net

extern "C" {

VORNPAL_API int vorn_dump_route(const struct nlmsghdr *message, const char *ifname, char *out) {
  if (message == nullptr || out == nullptr) return -1;
  // Signed on every target: a message shorter than a route's header is
  // negative here.
  const long length =
      static_cast<long>(message->nlmsg_len) - static_cast<long>(NLMSG_LENGTH(sizeof(rtmsg)));
  if (length < 0) {
    VORN_LOG(VORN_ERR, "Wrong message length:%d:%d:%ld\n", static_cast<int>(message->nlmsg_len),
             message->nlmsg_type, length);
    return -1;
  }
  unsigned index = interface_index(ifname);
  if (index == 0) return -1;
  auto *route = static_cast<rtmsg *>(NLMSG_DATA(message));
  rtattr *attributes[kRouteAttributes + 1];
  vorn_parse_rtattr(attributes, kRouteAttributes, RTM_RTA(route), static_cast<int>(length));
  if (route->rtm_family != AF_INET6) return -1;
  if (attributes[RTA_OIF] != nullptr) {
    const auto *oif = attribute_as<uint32_t>(attributes[RTA_OIF]);
    if (oif == nullptr || *oif != index) return -1;
  }
  const auto *gateway = attribute_as<in6_addr>(attributes[RTA_GATEWAY]);
  if (gateway == nullptr) return -1;
  inet_ntop(AF_INET6, gateway, out, VORN_IPV6_TEXT_SIZE);
  VORN_LOG(VORN_DBUG, "IPv6 gateway via %s\n", out);
  return 0;
}

VORNPAL_API int vorn_get_ipv6_default_gw(const char *ifname, char *out) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "No room for the IPv6 gateway\n");
    return -1;
  }
  // An interface that does not exist fails here, before the dump.
  if (interface_index(ifname) == 0) return -1;
  vorn::UniqueFd fd(vorn::net::open_route_socket(0, 0));
  if (!fd.open() || send_dump_request(fd.get()) != 0) return -1;
  return vorn::net::vorn_get_route_dump_response(fd.get(), ifname, out);
}

}  // extern "C"
