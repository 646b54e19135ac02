// The simulated IPA driver's requests, and traffic for the simulated
// modem's data sessions. Built with VORNPAL_CTL_HOST_MODEM only.
#include <cstdio>
#include <string>

#include <vornsim/ipa.h>
#include <vornsim/wds_stats.h>

#include "ctl.h"

namespace {

const char *request_name(uint32_t code) {
  switch (code) {
    case 0xC040CF50u: return "lan-config";
    case 0xC02CCF3Bu: return "add-bridge-vlan-mapping";
    case 0xC02CCF3Cu: return "del-bridge-vlan-mapping";
    case 0xC004CF2Fu: return "add-vlan-iface";
    case 0xC004CF30u: return "del-vlan-iface";
    case 0x89F1u: return "eth0-vlan-priority";
    default: return "unknown";
  }
}

int ipa_show(const ctl::Args &args, ctl::Output &out) {
  const auto requests = vornsim::ipa::requests();
  size_t index = 0;
  for (const auto &r : requests) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", r.code);
    const std::string prefix = "request" + std::to_string(index++) + "_";
    if (out.json()) {
      out.field(prefix + "code", code);
      out.field(prefix + "argument", ctl::hex(r.argument.data(), r.argument.size()));
      continue;
    }
    out.line(std::string(code) + " " + request_name(r.code) + " " +
             ctl::hex(r.argument.data(), r.argument.size()));
  }
  out.field("requests", static_cast<long long>(requests.size()));
  for (const std::string &name : vornsim::ipa::vlan_ifaces()) out.field("vlan_iface", name);
  for (const std::string &name : vornsim::ipa::bridge_mappings()) out.field("bridge_mapping", name);
  if (!args.empty() && args[0] == "--clear") vornsim::ipa::clear_requests();
  return 0;
}

int traffic(const ctl::Args &args, ctl::Output &out) {
  long long family = 0, tx = 0, rx = 0;
  if (args.size() != 3 || !ctl::parse_number(args[0], family) || (family != 4 && family != 6) ||
      !ctl::parse_number(args[1], tx) || tx < 0 || !ctl::parse_number(args[2], rx) || rx < 0)
    return ctl::fail(out, "usage: modem wds traffic 4|6 TX_BYTES RX_BYTES", 2);
  vornsim::wds::queue_traffic(static_cast<int>(family), static_cast<uint64_t>(tx), static_cast<uint64_t>(rx));
  out.field("queued_tx_bytes", tx);
  out.field("queued_rx_bytes", rx);
  return 0;
}

ctl::ModemRegistrar reg({
    {"data ipa show", "[--clear]", "the requests the simulated IPA driver received, and what it holds", ipa_show,
     "data ipa show"},
    {"modem wds traffic", "4|6 TX_BYTES RX_BYTES",
     "bytes the next call of the family carries (counted once it is up)", traffic,
     "modem wds traffic 4 150000 2400000"},
});

}  // namespace
