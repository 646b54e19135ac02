// The simulated modem of a host build: its services, and the items of its
// store. Built with VORNPAL_CTL_HOST_MODEM only.
#include <fstream>
#include <sstream>
#include <string>

#include <vornsim/sim.h>

#include "ctl.h"
#include "host_modem.h"

namespace {

int modem_status(const ctl::Args &, ctl::Output &out) {
  for (int i = 0; i < vornsim::kServiceCount; ++i) {
    auto svc = static_cast<vornsim::Svc>(i);
    out.field(vornsim::name(svc), vornsim::service_up(svc) ? "up" : "down");
  }
  return 0;
}

int set_service(const ctl::Args &args, ctl::Output &out, bool up) {
  if (args.empty()) return ctl::fail(out, "name a service", 2);
  for (const auto &word : args) {
    auto svc = vornsim::svc_from_name(word);
    if (!svc) return ctl::fail(out, "unknown service: " + word, 2);
    vornsim::set_service_up(*svc, up);
    out.field(vornsim::name(*svc), up ? "up" : "down");
  }
  return 0;
}

// The store is the modem's own: it is read from the state that the
// simulated modem saves, one "efs HEXPATH HEXDATA" line an item.
int nv_list(const ctl::Args &, ctl::Output &out) {
  vornsim::save_state(ctl::host::kModemStore);
  std::ifstream in(std::string(ctl::host::kModemStore) + "/m2m");
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    std::string kind, path_hex, data_hex, path, data;
    fields >> kind >> path_hex >> data_hex;
    if (kind != "efs" || !ctl::parse_hex(path_hex, path)) continue;
    if (data_hex == "-") data_hex.clear();
    out.line(path + "  (" + std::to_string(data_hex.size() / 2) + " bytes)");
  }
  return 0;
}

int modem_up(const ctl::Args &args, ctl::Output &out) { return set_service(args, out, true); }
int modem_down(const ctl::Args &args, ctl::Output &out) { return set_service(args, out, false); }

ctl::Registrar reg({
    {"modem status", "", "the simulated modem's services", modem_status, "modem status"},
    {"modem up", "SERVICE...", "bring services up (WDS NAS WMS UIM DMS VOICE IMSS IMSA M2M)",
     modem_up, "modem up NAS WMS"},
    {"modem down", "SERVICE...", "take services down", modem_down, "modem down M2M"},
    {"nv list", "", "the items of the simulated modem's store", nv_list, "nv list"},
});

}  // namespace
