// VLAN interfaces and bridge mappings for the IPA: the kernel link is made
// (or removed) with ip as a daemon does, and the IPA driver is told of it
// through the library.
#include <arpa/inet.h>

#include <cstdlib>
#include <string>

#include <vornpal/data.h>

#include "ctl.h"

namespace {

bool vlan_arg(const ctl::Args &args, size_t index, uint16_t &vlan_id) {
  long long value = 0;
  if (!ctl::number_arg(args, index, 1, VORN_DATA_VLAN_ID_MAX, value)) return false;
  vlan_id = static_cast<uint16_t>(value);
  return true;
}

bool add_or_del(const std::string &word, bool &add) {
  add = word == "add";
  return add || word == "del";
}

// The kernel's side, by the shell as a daemon runs it; the outcome is shown,
// and the driver is told either way (it refuses a link that is missing).
void kernel_link(ctl::Output &out, const std::string &command) {
  const int status = std::system((command + " 2>/dev/null").c_str());
  out.field("kernel", status == 0 ? "done" : "failed: " + command);
}

int vlan(const ctl::Args &args, ctl::Output &out) {
  bool add = false;
  uint16_t vlan_id = 0;
  if (args.size() != 3 || !add_or_del(args[0], add) || !vlan_arg(args, 2, vlan_id))
    return ctl::fail(out, "usage: data vlan add|del IFACE VLAN (VLAN 1 to 4094)", 2);
  const std::string &iface = args[1];
  const std::string name = iface + "." + std::to_string(vlan_id);
  if (add)
    kernel_link(out, "ip link add link " + iface + " name " + name + " type vlan id " + std::to_string(vlan_id));
  const int ok = vorn_data_pal_UpdateIPAWithVlanIOCTL(iface.c_str(), vlan_id, add ? 1 : 0);
  if (!add) kernel_link(out, "ip link del " + name);
  out.field("vlan_iface", name);
  out.field("ipa", ok == 1 ? "done" : "refused");
  return ok == 1 ? 0 : 1;
}

int bridge_vlan(const ctl::Args &args, ctl::Output &out) {
  static const char *kUsage = "usage: data bridge-vlan add|del BRIDGE VLAN ADDRESS MASK";
  bool add = false;
  uint16_t vlan_id = 0;
  in_addr address{}, mask{};
  if (args.size() != 5 || !add_or_del(args[0], add) || !vlan_arg(args, 2, vlan_id) ||
      inet_pton(AF_INET, args[3].c_str(), &address) != 1 || inet_pton(AF_INET, args[4].c_str(), &mask) != 1)
    return ctl::fail(out, kUsage, 2);
  const int ok = vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL(args[1].c_str(), vlan_id, address.s_addr,
                                                           mask.s_addr, add ? 1 : 0);
  out.field("bridge", args[1]);
  out.field("vlan_id", vlan_id);
  out.field("ipa", ok == 1 ? "done" : "refused");
  return ok == 1 ? 0 : 1;
}

ctl::Registrar reg({
    {"data vlan", "add|del IFACE VLAN", "make or remove the VLAN link IFACE.VLAN and tell the IPA of it", vlan,
     "data vlan add eth1 100"},
    {"data bridge-vlan", "add|del BRIDGE VLAN ADDRESS MASK",
     "map a bridge (made with brctl) to a VLAN in the IPA, or remove the mapping", bridge_vlan,
     "data bridge-vlan add br0 100 192.168.100.1 255.255.255.0"},
});

}  // namespace
