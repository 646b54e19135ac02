// The simulated modem of a host build: its services, and the items of its
// store. Built with VORNPAL_CTL_HOST_MODEM only.
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <vornsim/daemon.h>
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

// The modem daemon in the foreground, on the sandbox's store.
int modem_serve(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) return ctl::fail(out, "modem serve takes no arguments", 2);
  vornsim::DaemonOptions options;
  options.dir = ctl::host::kModemStore;
  options.run_command = ctl::host::run_modem_command;
  return vornsim::serve(options);
}

int modem_stop(const ctl::Args &, ctl::Output &out) {
  if (!vornsim::using_daemon()) return ctl::fail(out, "no modem daemon runs", 1);
  vornsim::stop_daemon();
  out.field("daemon", "stopped");
  return 0;
}

// A program of the developer's (their own daemon) in the modem's sandbox,
// as a client of the daemon: VORNSIM_SOCKET is set for it.
int modem_run(const ctl::Args &args, ctl::Output &out) {
  if (args.empty()) return ctl::fail(out, "give a PROGRAM to run", 2);
  out.flush();
  std::vector<char *> argv;
  for (const auto &arg : args) argv.push_back(const_cast<char *>(arg.c_str()));
  argv.push_back(nullptr);
  execvp(argv[0], argv.data());
  return ctl::fail(out, "cannot run " + args[0], 127);
}

ctl::Registrar daemon_reg({
    {"modem serve", "", "run the modem daemon in the foreground (it stops on Ctrl-C, its state saved)",
     modem_serve, "modem serve"},
    {"modem stop", "", "end the modem daemon of the state directory (its state saved)", modem_stop,
     "modem stop"},
    {"modem run", "-- PROGRAM [ARG]...",
     "run a program (a daemon linked with libvornpal) against the same modem, in its sandbox", modem_run,
     "modem run -- ./build/my_daemon --verbose"},
});

ctl::ModemRegistrar reg({
    {"modem status", "", "the simulated modem's services", modem_status, "modem status"},
    {"modem up", "SERVICE...", "bring services up (WDS NAS WMS UIM DMS VOICE IMSS IMSA M2M)",
     modem_up, "modem up NAS WMS"},
    {"modem down", "SERVICE...", "take services down", modem_down, "modem down M2M"},
    {"nv list", "", "the items of the simulated modem's store", nv_list, "nv list"},
});

}  // namespace
