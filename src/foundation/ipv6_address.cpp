// The first global IPv6 address of an interface, as the kernel announces it.
#include <net/if.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <vornpal/ipv6.h>

#include <algorithm>
#include <cerrno>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "foundation/netlink_messages.h"
#include "foundation/rtnetlink.h"
#include "foundation/unique_fd.h"

namespace {

// The kernel's IPv6 address and prefix messages.
constexpr uint32_t kAddressGroups = RTMGRP_IPV6_IFADDR | RTMGRP_IPV6_PREFIX;
static_assert(kAddressGroups == 0x20100, "the groups of the address messages");
constexpr int kMaxEvents = 32;
constexpr int kQuietMs = 2000;
constexpr size_t kReceiveSize = 4096;

// Drains the edge-triggered socket; true once a global address came.
bool vorn_nl_netlink_handle(int fd, unsigned index, char *out) {
  alignas(nlmsghdr) uint8_t buffer[kReceiveSize];
  for (;;) {
    ssize_t length = recv(fd, buffer, sizeof buffer, 0);
    if (length < 0) {
      // An overrun loses messages but not the socket: read on.
      if (errno == EINTR || errno == ENOBUFS) continue;
      return false;
    }
    VORN_LOG(VORN_DBUG, "rx len:%d \n", static_cast<int>(length));
    if (length < static_cast<ssize_t>(sizeof(nlmsghdr))) continue;
    if (vorn::net::scan_address_messages(buffer, static_cast<size_t>(length), index, out))
      return true;
  }
}

void vorn_epoll_event_handle(int epoll_fd, int fd, unsigned index, char *out) {
  const int timeout = std::max(1, kQuietMs / static_cast<int>(vorn::clk::scale()));
  epoll_event events[kMaxEvents];
  for (;;) {
    int count = epoll_wait(epoll_fd, events, kMaxEvents, timeout);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      VORN_LOG(VORN_INFO, "Timeout to wait for IPv6 event\n");
      return;
    }
    VORN_LOG(VORN_DBUG, "Process fd count:%d\n", count);
    for (int i = 0; i < count; ++i) {
      if (events[i].data.fd != fd || (events[i].events & EPOLLIN) == 0) continue;
      if (vorn_nl_netlink_handle(fd, index, out)) {
        VORN_LOG(VORN_INFO, "Get IPv6 address\n");
        return;
      }
    }
  }
}

}  // namespace


extern "C" {

VORNPAL_API int vorn_check_global_ipv6_addr(const char *ifname, char *out) {
  unsigned index = ifname != nullptr ? if_nametoindex(ifname) : 0;
  if (index == 0 || out == nullptr) {
    VORN_LOG(VORN_ERR, "if_nametoindex failed:%s\n", ifname != nullptr ? ifname : "(null)");
    return -1;
  }
  vorn::UniqueFd epoll_fd(epoll_create1(EPOLL_CLOEXEC));
  if (!epoll_fd.open()) {
    VORN_LOG(VORN_ERR, "epoll create failure:%d\n", errno);
    return -1;
  }
  // Non-blocking: draining the edge-triggered socket must not hold the wait
  // beyond its 2 s after the last message.
  vorn::UniqueFd fd(vorn::net::open_route_socket(kAddressGroups, SOCK_NONBLOCK));
  if (!fd.open()) return -1;
  epoll_event event{};
  event.events = EPOLLIN | EPOLLET;
  event.data.fd = fd.get();
  if (epoll_ctl(epoll_fd.get(), EPOLL_CTL_ADD, fd.get(), &event) != 0) {
    VORN_LOG(VORN_ERR, "epoll add sock_fd error\n");
    return -1;
  }
  vorn_epoll_event_handle(epoll_fd.get(), fd.get(), index, out);
  return 0;
}

}  // extern "C"
