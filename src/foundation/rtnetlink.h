// The NETLINK_ROUTE sockets of the IPv6 look-ups and their whole-datagram
// receives.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace vorn::net {

// A NETLINK_ROUTE socket bound to the multicast groups (none for a dump);
// logs and gives -1 when it cannot be had.
int open_route_socket(uint32_t groups, int type_flags);

// recv that repeats on EAGAIN and EINTR; logs other failures and the end of
// the link. The length received, or -1.
ssize_t vorn_rtnl_receive(int fd, void *buffer, size_t size, int flags);

// One whole datagram in a heap buffer of its size, which the caller frees.
// Its length, -1 on a failed receive or EOF, -12 with no memory.
ssize_t vorn_rtnl_recvmsg(int fd, uint8_t **buffer);

// Receives and walks the datagrams of the dump to its end: 0, or a negative
// result of the receive or of a dump the kernel refused.
int vorn_get_route_dump_response(int fd, const char *ifname, char *out);

}  // namespace vorn::net
