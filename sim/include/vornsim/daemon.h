// vornsimd: the simulated modem as a process of its own, which several
// processes use at the same time, as the daemons of a device share its
// modem. It holds every service's state and handlers, the faults and the
// recordings, and serves clients over a Unix socket in its state
// directory. A process whose environment names that socket
// (VORNSIM_SOCKET) uses the daemon's modem: its QMI clients, indications,
// IPA requests, data cache reads and the control calls of <vornsim/sim.h>
// go to the daemon. Handlers installed with vornsim::on() stay in their
// own process and cannot be used that way.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace vornsim {

// The socket's name in the state directory.
constexpr const char kDaemonSocket[] = "vornsimd.sock";
// The lock that keeps a second daemon off the same state directory.
constexpr const char kDaemonLock[] = "vornsimd.lock";

// What a modem command run in the daemon gave: its exit status and what it
// printed (standard output, then standard error).
struct CommandResult {
  int status = 0;
  std::string out;
  std::string err;
};

struct DaemonOptions {
  // The modem's saved state, loaded at the start and saved while the
  // daemon runs and when it ends; the socket and the lock live here too.
  std::string dir = "/vornsim";
  // Runs one of the modem tool's commands (vornpalctl's `modem ...`) on
  // the daemon's modem; null: the daemon runs none.
  std::function<CommandResult(const std::vector<std::string> &words, bool json)> run_command;
  // How often the state is saved while something changes (milliseconds).
  unsigned save_interval_ms = 1000;
  // Indications queued for a process that does not read them; more are
  // dropped (and counted in the daemon's log).
  size_t max_queued_indications = 4096;
};

// Runs the daemon until SIGTERM or SIGINT, or a client's stop_daemon();
// the exit status (1 when another daemon serves the directory or the
// socket cannot be made).
int serve(const DaemonOptions &options);

// In a process that uses a daemon: true when VORNSIM_SOCKET is set.
bool using_daemon();
// Runs a modem command in the daemon.
CommandResult run_in_daemon(const std::vector<std::string> &words, bool json);
// Asks the daemon to save its state and end.
void stop_daemon();

}  // namespace vornsim
