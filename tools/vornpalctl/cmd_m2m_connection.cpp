// The connection through the vendor service, its addresses, and the M2M
// events for `watch`.
#include <cstdio>
#include <cstring>
#include <string>

#include <vornpal/m2m.h>

#include "ctl.h"

namespace {

bool profile_of(const ctl::Args &args, long long &profile) {
  return ctl::number_arg(args, 0, 1, 42, profile);
}

int connect(const ctl::Args &args, ctl::Output &out) {
  long long profile = 0, pdp_type = 0;
  if (!profile_of(args, profile) || (args.size() > 1 && !ctl::parse_number(args[1], pdp_type)))
    return ctl::fail(out, "usage: m2m connect PROFILE [PDP_TYPE: 0 IPv4, 1 IPv6, 2 both]", 2);
  int rc = vorn_m2m_pal_connect(static_cast<int>(profile), static_cast<int>(pdp_type));
  if (rc != 0) return ctl::fail(out, "cannot connect profile " + args[0], rc);
  out.field("connected", true);
  return 0;
}

int disconnect(const ctl::Args &args, ctl::Output &out) {
  long long profile = 0;
  if (!profile_of(args, profile)) return ctl::fail(out, "usage: m2m disconnect PROFILE", 2);
  int rc = vorn_m2m_pal_disconnect(static_cast<int>(profile));
  if (rc != 0) return ctl::fail(out, "cannot disconnect profile " + args[0], rc);
  out.field("connected", false);
  return 0;
}

int ip(const ctl::Args &args, ctl::Output &out) {
  long long instance = 1;
  if (!args.empty() && !ctl::parse_number(args[0], instance))
    return ctl::fail(out, "usage: m2m ip [INSTANCE]", 2);
  m2m_ip_info info{};
  int rc = vorn_m2m_pal_get_ip(static_cast<uint8_t>(instance), &info);
  if (rc != 0) return ctl::fail(out, "cannot read the addresses", rc);
  auto text = [](const char *field, size_t size) { return std::string(field, strnlen(field, size)); };
  if (info.ipv4_valid) out.field("ipv4", text(info.ipv4_addr, sizeof info.ipv4_addr - 1));
  for (const auto *v4 : {&info.ipv4_second, &info.ipv4_third})
    if (v4->valid) out.field(v4 == &info.ipv4_second ? "ipv4_second" : "ipv4_third", text(v4->text, sizeof v4->text));
  if (info.ipv6_valid) out.field("ipv6", text(info.ipv6_addr, sizeof info.ipv6_addr - 1));
  for (const auto *v6 : {&info.ipv6_second, &info.ipv6_third})
    if (v6->valid) out.field(v6 == &info.ipv6_second ? "ipv6_second" : "ipv6_third", text(v6->text, sizeof v6->text));
  char primary[VORN_M2M_DNS_TEXT_SIZE] = {}, secondary[VORN_M2M_DNS_TEXT_SIZE] = {};
  if (vorn_m2m_pal_get_dnscfg(primary, secondary) == 0) {
    out.field("dns_primary", std::string(primary));
    out.field("dns_secondary", std::string(secondary));
  }
  return 0;
}

// ---- events of `watch` -------------------------------------------------------

ctl::Emit m2m_emit;

std::string describe(int id, const uint8_t *data, int size) {
  char text[96];
  switch (id) {
    case VORN_M2M_EVENT_RMNET:
      if (size < 2) break;
      std::snprintf(text, sizeof text, "rmnet instance %d state %d", data[0], data[1]);
      return text;
    case VORN_M2M_EVENT_SCAN_CELLS: {
      if (size < static_cast<int>(sizeof(vorn_m2m_scan_cell_record))) break;
      vorn_m2m_scan_cell_record scan;
      std::memcpy(&scan, data, sizeof scan);
      std::string cells = "scan: " + std::to_string(scan.cell_count) + " cells";
      for (unsigned i = 0; i < scan.cell_count; ++i)
        cells += " [rat " + std::to_string(scan.cell[i].rat) + " pci " + std::to_string(scan.cell[i].pci) +
                 " " + std::to_string(scan.cell[i].mcc) + "-" + std::to_string(scan.cell[i].mnc) + "]";
      return cells;
    }
    case VORN_M2M_EVENT_NV_CHANGED:
      if (size < 1) break;
      return "nv changed: " + std::to_string(data[0]) + " items";
    default:
      if (size == 1) return "event " + std::to_string(id) + " value " + std::to_string(data[0]);
  }
  return "event " + std::to_string(id) + " (" + std::to_string(size) + " bytes)";
}

void on_m2m_event(int id, void *data, int size, void *) {
  m2m_emit("m2m", describe(id, static_cast<const uint8_t *>(data), size));
}

void start_watch(const ctl::Emit &emit) {
  m2m_emit = emit;
  vorn_m2m_pal_init();
  vorn_m2m_pal_event_register(on_m2m_event, nullptr);
}

ctl::Registrar reg({
    {"m2m connect", "PROFILE [PDP_TYPE]", "start the rmnet connection of a profile", connect,
     "m2m connect 1 2"},
    {"m2m disconnect", "PROFILE", "stop the rmnet connection", disconnect, "m2m disconnect 1"},
    {"m2m ip", "[INSTANCE]", "addresses and DNS servers of the connection", ip, "m2m ip"},
});

ctl::WatchRegistrar watch_source({"m2m", start_watch});

}  // namespace
