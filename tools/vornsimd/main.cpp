// vornsimd: the simulated modem as a process of its own, shared by every
// process whose environment names its socket (VORNSIM_SOCKET), e.g. the AT
// server and the web UI side by side on a development host. It runs the
// modem commands of vornpalctl (`modem ...`) for its clients.
//
//   vornsimd [--dir DIR] [--max-queued-indications N]
#include <cstdio>
#include <cstdlib>
#include <string>

#include <vornsim/daemon.h>

#include "host_modem.h"

namespace {

int usage() {
  std::fprintf(stderr,
               "usage: vornsimd [--dir DIR] [--max-queued-indications N]\n"
               "Serves the simulated modem on DIR/%s (DIR: its saved state, default /vornsim);\n"
               "ends, its state saved, on SIGTERM or SIGINT.\n",
               vornsim::kDaemonSocket);
  return 2;
}

}  // namespace

int main(int argc, char **argv) {
  vornsim::DaemonOptions options;
  options.run_command = ctl::host::run_modem_command;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--dir" && i + 1 < argc) {
      options.dir = argv[++i];
    } else if (arg == "--max-queued-indications" && i + 1 < argc) {
      char *end = nullptr;
      unsigned long n = std::strtoul(argv[++i], &end, 10);
      if (end == nullptr || *end != '\0' || n == 0) return usage();
      options.max_queued_indications = n;
    } else {
      return usage();
    }
  }
  return vornsim::serve(options);
}
