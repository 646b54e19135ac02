// NETLINK_ROUTE sockets and datagrams for the IPv6 look-ups, and the route
// attribute index.
#include "foundation/rtnetlink.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vornpal/ipv6.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "foundation/log_site.h"
#include "foundation/netlink_messages.h"

namespace vorn::net {

int open_route_socket(uint32_t groups, int type_flags) {
  int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | type_flags, NETLINK_ROUTE);
  if (fd < 0) {
    VORN_LOG(VORN_ERR, "couldn't open NETLINK_ROUTE socket:%d\n", errno);
    return -1;
  }
  // Port id 0: the kernel picks one, the process id when it is free, so two
  // look-ups at once in one process do not collide.
  sockaddr_nl local{};
  local.nl_family = AF_NETLINK;
  local.nl_groups = groups;
  if (bind(fd, reinterpret_cast<sockaddr *>(&local), sizeof local) < 0) {
    VORN_LOG(VORN_ERR, "couldn't bind:%d\n", errno);
    close(fd);
    return -1;
  }
  return fd;
}

ssize_t vorn_rtnl_receive(int fd, void *buffer, size_t size, int flags) {
  for (;;) {
    ssize_t length = recv(fd, buffer, size, flags);
    if (length > 0) return length;
    if (length == 0) {
      VORN_LOG(VORN_ERR, "EOF in the link\n");
      return -1;
    }
    if (errno == EAGAIN || errno == EINTR) continue;
    VORN_LOG(VORN_ERR, "Can't receive from socket:%d\n", errno);
    return -1;
  }
}

ssize_t vorn_rtnl_recvmsg(int fd, uint8_t **buffer) {
  // A peek with MSG_TRUNC tells the datagram's full length.
  ssize_t length = vorn_rtnl_receive(fd, nullptr, 0, MSG_PEEK | MSG_TRUNC);
  if (length < 0) return length;
  *buffer = static_cast<uint8_t *>(std::malloc(static_cast<size_t>(length)));
  if (*buffer == nullptr) {
    VORN_LOG(VORN_ERR, "oem_MALLOC failed\n");
    return -ENOMEM;
  }
  length = vorn_rtnl_receive(fd, *buffer, static_cast<size_t>(length), 0);
  if (length < 0) {
    std::free(*buffer);
    *buffer = nullptr;
  }
  return length;
}

}  // namespace vorn::net

extern "C" {

VORNPAL_API void vorn_parse_rtattr(struct rtattr **table, int max, struct rtattr *block,
                                   int length) {
  if (table == nullptr || max < 0) return;
  std::memset(table, 0, sizeof *table * (static_cast<size_t>(max) + 1));
  if (block == nullptr || length <= 0) return;
  vorn::net::for_each_attribute(block, static_cast<size_t>(length), [&](rtattr *attribute) {
    if (attribute->rta_type <= max) table[attribute->rta_type] = attribute;
  });
}

}  // extern "C"
