// IPv6 gateway and address look-ups on veth links of the test's own network
// namespace, checked against iproute2's view; the message walks on crafted
// datagrams; vornpalctl's net commands.
#include <arpa/inet.h>
#include <linux/if_addr.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vornpal/ipv6.h>
#include <vornpal/log.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/netlink_messages.h"
#include "vornpal_test.h"

namespace {

using Clock = std::chrono::steady_clock;

// The kernel's in6_ifreq, for adding an address without a child process.
struct In6Ifreq {
  in6_addr address;
  uint32_t prefix_length;
  int index;
};

std::string run_output(const std::string &command) {
  std::string output;
  if (FILE *pipe = popen(command.c_str(), "r")) {
    char chunk[512];
    for (size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) output.append(chunk, got);
    pclose(pipe);
  }
  return output;
}

// The word after `key` in iproute2's output, "" when there is none.
std::string word_after(const std::string &text, const std::string &key) {
  std::istringstream words(text);
  for (std::string word; words >> word;)
    if (word == key && words >> word) return word;
  return "";
}

// The full form the address look-up writes.
std::string full_form(const char *address) {
  in6_addr bytes{};
  EXPECT_EQ(inet_pton(AF_INET6, address, &bytes), 1) << address;
  char text[40];
  const uint8_t *b = bytes.s6_addr;
  std::snprintf(text, sizeof text, "%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x",
                b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12],
                b[13], b[14], b[15]);
  return text;
}

class Ipv6Lookup : public ::testing::Test {
 protected:
  void SetUp() override { vorn_set_log_level(0); }
  void TearDown() override {
    vorn_set_log_level(1);
    for (const std::string &link : links_) vt::sh("ip link del " + link + " 2>/dev/null");
  }

  // A veth pair, up, without the addresses the kernel would make itself.
  void make_pair(const std::string &name, const std::string &peer) {
    ASSERT_EQ(vt::sh("ip link add " + name + " type veth peer name " + peer), 0);
    links_.push_back(name);
    for (const std::string &link : {name, peer})
      ASSERT_EQ(vt::sh("ip link set " + link + " addrgenmode none && ip link set " + link + " up"), 0);
  }

  // Adds (or with SIOCDIFADDR removes) an address at once, from this process.
  static void change_address(unsigned long request, const char *ifname, const char *address) {
    In6Ifreq change{};
    ASSERT_EQ(inet_pton(AF_INET6, address, &change.address), 1);
    change.prefix_length = 64;
    change.index = static_cast<int>(if_nametoindex(ifname));
    int fd = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ioctl(fd, request, &change), 0) << address << ": " << std::strerror(errno);
    close(fd);
  }

  // True once a NETLINK_ROUTE socket listens to the address messages, that
  // is, the address look-up waits.
  static bool address_watch_open() {
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (Clock::now() < deadline) {
      std::ifstream table("/proc/net/netlink");
      std::string line;
      while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string sk, protocol, port, groups;
        if (fields >> sk >> protocol >> port >> groups && protocol == "0" && groups == "00020100")
          return true;
      }
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return false;
  }

  struct Wait {
    int rc;
    std::string out;
    Clock::duration took;
  };

  // The address look-up on ifname, with `during` run once it waits.
  template <class During>
  Wait wait_for_address(const char *ifname, During during) {
    Wait wait{-2, "unchanged", {}};
    char out[VORN_IPV6_TEXT_SIZE] = "unchanged";
    std::thread waiter([&] {
      const Clock::time_point start = Clock::now();
      wait.rc = vorn_check_global_ipv6_addr(ifname, out);
      wait.took = Clock::now() - start;
    });
    EXPECT_TRUE(address_watch_open());
    during();
    waiter.join();
    wait.out = out;
    return wait;
  }

  std::vector<std::string> links_;
};

TEST_F(Ipv6Lookup, GatewayOfTheRoutesThroughTheInterface) {
  make_pair("gw0", "gw0p");
  char out[VORN_IPV6_TEXT_SIZE] = "unchanged";
  // No route yet: the dump is read, out stays.
  EXPECT_EQ(vorn_get_ipv6_default_gw("gw0", out), 0);
  EXPECT_STREQ(out, "unchanged");

  ASSERT_EQ(vt::sh("ip -6 addr add 2001:db8:1::2/64 dev gw0 nodad && "
                   "ip -6 route add default via 2001:db8:1::1 dev gw0 && "
                   "ip -6 route add default via fe80::9 dev gw0p metric 2000"), 0);
  const std::string seen_by_ip = word_after(run_output("ip -6 route show default dev gw0"), "via");
  EXPECT_EQ(seen_by_ip, "2001:db8:1::1");
  // The connected route has no gateway and the other link's route another
  // interface: only the default route through gw0 counts.
  EXPECT_EQ(vorn_get_ipv6_default_gw("gw0", out), 0);
  EXPECT_EQ(out, seen_by_ip);
  EXPECT_TRUE(vt::logged("IPv6 gateway via 2001:db8:1::1\n"));
  EXPECT_EQ(vorn_get_ipv6_default_gw("gw0p", out), 0);
  EXPECT_STREQ(out, "fe80::9");

  // A table of several datagrams is read to its end: every route through
  // gw0p with a gateway is seen.
  std::string batch;
  for (int i = 0; i < 400; ++i)
    batch += "route add 2001:db8:100:" + std::to_string(i) + "::/64 via fe80::9 dev gw0p\n";
  vt::write_file("/tmp/routes.batch", batch);
  ASSERT_EQ(vt::sh("ip -6 -batch /tmp/routes.batch"), 0);
  vornsim::clear_diag();
  EXPECT_EQ(vorn_get_ipv6_default_gw("gw0p", out), 0);
  EXPECT_EQ(vt::count_logged("IPv6 gateway via fe80::9\n"), 401);
  int datagrams = 0;
  for (const std::string &text : vt::diag_texts()) datagrams += text.rfind("Dump IPv6 default gateway:", 0) == 0;
  EXPECT_GT(datagrams, 1);

  // Names that name no interface fail before any dump.
  for (const char *name : {"nope0", "an_interface_name_too_long"}) {
    EXPECT_EQ(vorn_get_ipv6_default_gw(name, out), -1);
    EXPECT_TRUE(vt::logged(std::string("Can't map iface name(") + name + ") to index\n"));
  }
  EXPECT_EQ(vorn_get_ipv6_default_gw(nullptr, out), -1);
  EXPECT_EQ(vorn_get_ipv6_default_gw("gw0", nullptr), -1);
}

TEST_F(Ipv6Lookup, GlobalAddressAnnouncedDuringTheWait) {
  make_pair("ad0", "ad0p");
  // Another interface's address, a link-local one, then the global one. Up
  // to three tries: one could lose its 20 ms window to a busy machine.
  const std::pair<const char *, const char *> announced[] = {
      {"ad0p", "2001:db8:9::9"}, {"ad0", "fe80::77"}, {"ad0", "2001:db8:2::5"}};
  Wait wait{};
  for (int attempt = 0; attempt < 3 && wait.out != full_form("2001:db8:2::5"); ++attempt) {
    if (attempt > 0)
      for (const auto &[link, address] : announced) change_address(SIOCDIFADDR, link, address);
    vornsim::clear_diag();
    wait = wait_for_address("ad0", [&] {
      for (const auto &[link, address] : announced) change_address(SIOCSIFADDR, link, address);
    });
  }
  EXPECT_EQ(wait.rc, 0);
  EXPECT_EQ(wait.out, full_form("2001:db8:2::5"));
  EXPECT_TRUE(vt::logged("Return IPv6 addr:" + full_form("2001:db8:2::5") + " scope:0\n"));
  EXPECT_TRUE(vt::logged("Get IPv6 address\n"));
  EXPECT_FALSE(vt::logged("Timeout to wait for IPv6 event\n"));
  // iproute2 sees the address the look-up reported.
  EXPECT_EQ(word_after(run_output("ip -6 addr show dev ad0 scope global"), "inet6"), "2001:db8:2::5/64");
}

TEST_F(Ipv6Lookup, WaitEndsQuietlyWithoutAGlobalAddress) {
  make_pair("ll0", "ll0p");
  // Only a link-local address comes: it is left in out after the wait.
  Wait wait = wait_for_address("ll0", [&] { change_address(SIOCSIFADDR, "ll0", "fe80::1234"); });
  EXPECT_EQ(wait.rc, 0);
  EXPECT_EQ(wait.out, full_form("fe80::1234"));
  EXPECT_TRUE(vt::logged("Timeout to wait for IPv6 event\n"));
  EXPECT_FALSE(vt::logged("Get IPv6 address\n"));

  // Nothing at all: out stays, and the wait ends after its quiet time
  // (2 s, divided by the test time scale).
  wait = wait_for_address("ll0p", [] {});
  EXPECT_EQ(wait.rc, 0);
  EXPECT_EQ(wait.out, "unchanged");
  EXPECT_GE(wait.took, std::chrono::milliseconds(19));
  EXPECT_LT(wait.took, std::chrono::milliseconds(2000));

  char out[VORN_IPV6_TEXT_SIZE] = "unchanged";
  const Clock::time_point start = Clock::now();
  EXPECT_EQ(vorn_check_global_ipv6_addr("nope0", out), -1);
  EXPECT_EQ(vorn_check_global_ipv6_addr("an_interface_name_too_long", out), -1);
  EXPECT_EQ(vorn_check_global_ipv6_addr(nullptr, out), -1);
  EXPECT_EQ(vorn_check_global_ipv6_addr("ll0", nullptr), -1);
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(19));
  EXPECT_TRUE(vt::logged("if_nametoindex failed:nope0\n"));
  EXPECT_STREQ(out, "unchanged");
}

// ---- crafted datagrams -------------------------------------------------------

// A datagram built message by message.
class Datagram {
 public:
  // Starts a message with its fixed header (rtmsg, ifaddrmsg, ...).
  template <class Header>
  Datagram &message(uint16_t type, const Header &header, uint16_t flags = 0) {
    start_ = bytes_.size();
    nlmsghdr nl{};
    nl.nlmsg_type = type;
    nl.nlmsg_flags = flags;
    append(&nl, sizeof nl);
    append(&header, sizeof header);
    return close_message();
  }
  Datagram &attribute(uint16_t type, const void *data, size_t size) {
    rtattr rta{static_cast<unsigned short>(RTA_LENGTH(size)), type};
    append(&rta, sizeof rta);
    append(data, size);
    return close_message();
  }
  Datagram &attribute(uint16_t type, const char *address) {
    in6_addr bytes{};
    inet_pton(AF_INET6, address, &bytes);
    return attribute(type, &bytes, sizeof bytes);
  }
  Datagram &done() { return message(NLMSG_DONE, 0); }
  // Claims `extra` bytes more than the message has.
  Datagram &cut(uint32_t extra) {
    header()->nlmsg_len += extra;
    return *this;
  }
  nlmsghdr *header() { return reinterpret_cast<nlmsghdr *>(bytes_.data() + start_); }
  const uint8_t *data() const { return bytes_.data(); }
  size_t size() const { return bytes_.size(); }

 private:
  void append(const void *data, size_t size) {
    const auto *b = static_cast<const uint8_t *>(data);
    bytes_.insert(bytes_.end(), b, b + size);
    bytes_.resize(NLMSG_ALIGN(bytes_.size()), 0);
  }
  Datagram &close_message() {
    header()->nlmsg_len = static_cast<uint32_t>(bytes_.size() - start_);
    return *this;
  }
  std::vector<uint8_t> bytes_;
  size_t start_ = 0;
};

rtmsg route_header(uint8_t family = AF_INET6) {
  rtmsg route{};
  route.rtm_family = family;
  return route;
}

ifaddrmsg address_header(unsigned index) {
  ifaddrmsg header{};
  header.ifa_family = AF_INET6;
  header.ifa_index = index;
  return header;
}

TEST_F(Ipv6Lookup, CraftedMessages) {
  make_pair("cr0", "cr0p");
  const uint32_t index = if_nametoindex("cr0"), other = if_nametoindex("cr0p");
  char out[VORN_IPV6_TEXT_SIZE] = "unchanged";

  // Route messages, one at a time.
  Datagram good;
  good.message(RTM_NEWROUTE, route_header()).attribute(RTA_OIF, &index, 4).attribute(RTA_GATEWAY, "fe80::1");
  EXPECT_EQ(vorn_dump_route(good.header(), "cr0", out), 0);
  EXPECT_STREQ(out, "fe80::1");
  EXPECT_EQ(vorn_dump_route(good.header(), "cr0p", out), -1);
  EXPECT_EQ(vorn_dump_route(good.header(), nullptr, out), -1);
  Datagram ipv4, elsewhere, no_gateway, short_gateway, short_message;
  ipv4.message(RTM_NEWROUTE, route_header(AF_INET)).attribute(RTA_GATEWAY, "fe80::2");
  elsewhere.message(RTM_NEWROUTE, route_header()).attribute(RTA_OIF, &other, 4).attribute(RTA_GATEWAY, "fe80::3");
  no_gateway.message(RTM_NEWROUTE, route_header()).attribute(RTA_OIF, &index, 4);
  const uint8_t eight[8] = {0xfe, 0x80};
  short_gateway.message(RTM_NEWROUTE, route_header()).attribute(RTA_GATEWAY, eight, sizeof eight);
  short_message.message(RTM_NEWROUTE, 0);  // a header of four bytes, not a route's
  for (Datagram *d : {&ipv4, &elsewhere, &no_gateway, &short_gateway, &short_message})
    EXPECT_EQ(vorn_dump_route(d->header(), "cr0", out), -1);
  EXPECT_STREQ(out, "fe80::1");
  EXPECT_TRUE(vt::logged("Wrong message length:20:24:-8\n"));

  // The attribute index: the last of a type stays, types beyond the
  // maximum are skipped, an attribute running past the block ends the walk.
  Datagram attrs;
  const uint32_t one = 1, two = 2, three = 3;
  attrs.message(RTM_NEWROUTE, route_header())
      .attribute(RTA_OIF, &one, 4).attribute(RTA_TABLE, &two, 4).attribute(RTA_OIF, &two, 4)
      .attribute(RTA_GATEWAY, &three, 4);
  auto *block = RTM_RTA(static_cast<rtmsg *>(NLMSG_DATA(attrs.header())));
  int length = static_cast<int>(RTM_PAYLOAD(attrs.header()));
  reinterpret_cast<rtattr *>(reinterpret_cast<uint8_t *>(block) + 24)->rta_len = 200;
  rtattr *table[RTA_GATEWAY + 1];
  std::memset(table, 0xFF, sizeof table);
  vorn_parse_rtattr(table, RTA_GATEWAY, block, length);
  ASSERT_NE(table[RTA_OIF], nullptr);
  EXPECT_EQ(*static_cast<uint32_t *>(RTA_DATA(table[RTA_OIF])), 2u);
  for (int type : {RTA_UNSPEC, RTA_DST, RTA_SRC, RTA_IIF, RTA_GATEWAY})
    EXPECT_EQ(table[type], nullptr) << type;

  // Walks over datagrams of a dump.
  using vorn::net::DumpWalk;
  using vorn::net::walk_route_dump;
  Datagram ended = good;
  ended.done();
  EXPECT_EQ(walk_route_dump(ended.data(), ended.size(), "cr0", out), DumpWalk::kDone);
  EXPECT_EQ(walk_route_dump(good.data(), good.size(), "cr0", out), DumpWalk::kMore);
  Datagram cut = good;
  cut.message(RTM_NEWROUTE, route_header()).cut(64);
  EXPECT_EQ(walk_route_dump(cut.data(), cut.size(), "cr0", out), DumpWalk::kDone);
  EXPECT_EQ(walk_route_dump(good.data(), 12, "cr0", out), DumpWalk::kDone);
  Datagram refused;
  refused.message(NLMSG_ERROR, nlmsgerr{-EINVAL, {}}, NLM_F_DUMP_INTR);
  EXPECT_EQ(walk_route_dump(refused.data(), refused.size(), "cr0", out), DumpWalk::kFailed);
  EXPECT_TRUE(vt::logged("netlink reported error\n"));
  EXPECT_TRUE(vt::logged("Dump was interrupted\n"));

  // Address messages: other interfaces and short addresses are passed
  // over, link-local ones noted, the first global one ends the scan.
  Datagram announced;
  announced.message(RTM_NEWADDR, address_header(other)).attribute(IFA_ADDRESS, "2001:db8::1")
      .message(RTM_NEWADDR, address_header(index)).attribute(IFA_ADDRESS, "fe80::5")
      .message(RTM_NEWADDR, address_header(index)).attribute(IFA_ADDRESS, eight, sizeof eight)
      .message(RTM_DELADDR, address_header(index)).attribute(IFA_ADDRESS, "2001:db8::6");
  size_t link_local_only = announced.size();
  announced.message(RTM_NEWADDR, address_header(index)).attribute(IFA_ADDRESS, "2001:db8::7");
  EXPECT_FALSE(vorn::net::scan_address_messages(announced.data(), link_local_only, index, out));
  EXPECT_EQ(out, full_form("fe80::5"));
  EXPECT_TRUE(vorn::net::scan_address_messages(announced.data(), announced.size(), index, out));
  EXPECT_EQ(out, full_form("2001:db8::7"));
  EXPECT_FALSE(vorn::net::scan_address_messages(announced.data(), announced.size() - 4, index, out));
  EXPECT_EQ(out, full_form("fe80::5"));
}

// ---- vornpalctl ----------------------------------------------------------------

TEST_F(Ipv6Lookup, VornpalctlNetCommands) {
  const char *dir = std::getenv("VORNPAL_BINARY_DIR");
  if (dir == nullptr) GTEST_SKIP() << "run through ctest to find vornpalctl";
  if (vt::emulated()) GTEST_SKIP() << "vornpalctl is a host tool";
  const std::string tool = std::string(dir) + "/tools/vornpalctl ";
  make_pair("ct0", "ct0p");
  ASSERT_EQ(vt::sh("ip -6 addr add 2001:db8:3::2/64 dev ct0 nodad && "
                   "ip -6 route add default via 2001:db8:3::1 dev ct0"), 0);
  EXPECT_EQ(run_output(tool + "net ipv6 gateway ct0"),
            "interface: ct0\nfound: true\ngateway: 2001:db8:3::1\n");
  EXPECT_EQ(run_output(tool + "--json net ipv6 gateway ct0p"),
            "{\"interface\": \"ct0p\", \"found\": false}\n");
  EXPECT_EQ(run_output(tool + "--json net ipv6 address ct0p"),
            "{\"interface\": \"ct0p\", \"found\": false}\n");
  EXPECT_EQ(run_output(tool + "net ipv6 gateway nope0"), "error: IPv6 gateway look-up failed on nope0\nrc: -1\n");
  EXPECT_EQ(run_output(tool + "net ipv6 address"), "error: usage: net ipv6 address IFACE\nrc: 2\n");
  EXPECT_NE(run_output(tool + "--help").find("net ipv6 gateway"), std::string::npos);
}

}  // namespace
