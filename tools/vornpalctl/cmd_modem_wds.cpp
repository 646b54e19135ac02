// The simulated modem's WDS service and the platform's network manager:
// the profile store, the sessions of this run, and the faults of the next
// starts. Built with VORNPAL_CTL_HOST_MODEM only.
#include <cstdio>
#include <string>

#include <vornsim/wds.h>

#include "ctl.h"

namespace {

namespace wds = vornsim::wds;

int profiles(const ctl::Args &, ctl::Output &out) {
  static constexpr const char *kTypes[] = {"ipv4", "ppp", "ipv6", "ipv4v6"};
  for (const wds::ProfileView &p : wds::profiles()) {
    const std::string type = p.pdp_type < 4 ? kTypes[p.pdp_type] : std::to_string(p.pdp_type);
    if (out.json()) {
      out.field("profile" + std::to_string(p.index), p.name + " " + p.apn + " " + type);
      continue;
    }
    char line[200];
    std::snprintf(line, sizeof line, "%2u %-16s %-24s %-7s auth %u%s", p.index, p.name.c_str(), p.apn.c_str(),
                  type.c_str(), p.auth, p.clat_valid && p.clat ? " clat" : "");
    out.line(line);
  }
  return 0;
}

int sessions(const ctl::Args &, ctl::Output &out) {
  for (const wds::SessionView &s : wds::sessions()) {
    char line[200];
    std::snprintf(line, sizeof line, "handle 0x%08x profile %u IPv%d rmnet_data%u %s via %s mtu %u", s.handle,
                  s.profile, s.family, s.link, s.address.c_str(), s.gateway.c_str(), s.mtu);
    out.line(line);
  }
  return 0;
}

int fail_start(const ctl::Args &args, ctl::Output &out) {
  long long reason = 0, type = 0, verbose = 0, count = 1;
  if (args.empty() || args.size() > 4 || !ctl::parse_number(args[0], reason) ||
      (args.size() > 1 && !ctl::parse_number(args[1], type)) ||
      (args.size() > 2 && !ctl::parse_number(args[2], verbose)) ||
      (args.size() > 3 && (!ctl::parse_number(args[3], count) || count < 1)))
    return ctl::fail(out, "usage: modem wds fail-start REASON [VERBOSE_TYPE VERBOSE_REASON [COUNT]]", 2);
  wds::fail_next_start(static_cast<uint32_t>(reason), static_cast<uint32_t>(type), static_cast<uint32_t>(verbose),
                       static_cast<int>(count));
  out.field("failing_starts", static_cast<long long>(count));
  return 0;
}

int mtu(const ctl::Args &args, ctl::Output &out) {
  long long value = 0;
  if (!ctl::number_arg(args, 0, 576, 9000, value) || args.size() != 1)
    return ctl::fail(out, "usage: modem wds mtu BYTES (576 to 9000)", 2);
  wds::set_mtu(static_cast<uint32_t>(value));
  out.field("mtu", value);
  return 0;
}

int link_local(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 1 || (args[0] != "on" && args[0] != "off"))
    return ctl::fail(out, "usage: modem wds link-local on|off", 2);
  wds::report_link_local(args[0] == "on");
  out.field("ipv6_reported", args[0] == "on" ? "link-local" : "global");
  return 0;
}

int restore(const ctl::Args &, ctl::Output &out) {
  wds::restore_profiles();
  return profiles({}, out);
}

ctl::ModemRegistrar reg({
    {"modem wds profiles", "", "the simulated modem's profile store", profiles, "modem wds profiles"},
    {"modem wds sessions", "", "the data sessions of this run", sessions, "modem wds sessions"},
    {"modem wds fail-start", "REASON [VTYPE VREASON [COUNT]]",
     "the next starts fail with a call end reason (and a verbose one)", fail_start,
     "modem wds fail-start 14 3 33 2"},
    {"modem wds mtu", "BYTES", "the MTU of new sessions", mtu, "modem wds mtu 1400"},
    {"modem wds link-local", "on|off", "IPv6 sessions report a link-local address", link_local, "modem wds link-local on"},
    {"modem wds restore", "", "the factory profiles", restore, "modem wds restore"},
});

}  // namespace
