// IPv6 look-ups of a network device. In the sandbox they see its network
// namespace: the links a test or a script made there.
#include <strings.h>

#include <cstring>
#include <string>

#include <vornpal/ipv6.h>

#include "ctl.h"

namespace {

bool one_interface(const ctl::Args &args) { return args.size() == 1 && !args[0].empty(); }

int ipv6_gateway(const ctl::Args &args, ctl::Output &out) {
  if (!one_interface(args)) return ctl::fail(out, "usage: net ipv6 gateway IFACE", 2);
  char gateway[VORN_IPV6_TEXT_SIZE] = {};
  int rc = vorn_get_ipv6_default_gw(args[0].c_str(), gateway);
  if (rc != 0) return ctl::fail(out, "IPv6 gateway look-up failed on " + args[0], rc);
  out.field("interface", args[0]);
  out.field("found", gateway[0] != '\0');
  if (gateway[0] != '\0') out.field("gateway", gateway);
  return 0;
}

int ipv6_address(const ctl::Args &args, ctl::Output &out) {
  if (!one_interface(args)) return ctl::fail(out, "usage: net ipv6 address IFACE", 2);
  char address[VORN_IPV6_TEXT_SIZE] = {};
  int rc = vorn_check_global_ipv6_addr(args[0].c_str(), address);
  if (rc != 0) return ctl::fail(out, "IPv6 address look-up failed on " + args[0], rc);
  // With no global address, what came is the last link-local one.
  bool global = address[0] != '\0' && strncasecmp(address, "fe80", 4) != 0;
  out.field("interface", args[0]);
  out.field("found", global);
  if (address[0] != '\0') out.field(global ? "address" : "link_local", address);
  return 0;
}

ctl::Registrar reg({
    {"net ipv6 gateway", "IFACE", "IPv6 gateway of the routes through IFACE", ipv6_gateway,
     "net ipv6 gateway rmnet_data0"},
    {"net ipv6 address", "IFACE",
     "wait (2 s after the last message) for a global IPv6 address of IFACE", ipv6_address,
     "net ipv6 address bridge0"},
});

}  // namespace
