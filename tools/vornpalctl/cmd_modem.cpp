// The simulated modem's services.
#include <vornsim/sim.h>

#include "ctl.h"

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

int modem_up(const ctl::Args &args, ctl::Output &out) { return set_service(args, out, true); }
int modem_down(const ctl::Args &args, ctl::Output &out) { return set_service(args, out, false); }

ctl::Registrar reg({
    {"modem status", "", "the simulated modem's services", modem_status},
    {"modem up", "SERVICE...", "bring services up (WDS NAS WMS UIM DMS VOICE IMSS IMSA M2M)",
     modem_up},
    {"modem down", "SERVICE...", "take services down", modem_down},
});

}  // namespace
