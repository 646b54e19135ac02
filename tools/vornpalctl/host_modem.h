// vornpalctl on a development host (VORNPAL_CTL_HOST_MODEM): the device is
// the simulated modem, and the tool runs in the sandbox with a state
// directory bound as the device's /data, /tmp, /vornnv and as the modem's
// store, so that state survives between invocations and nothing is written
// outside it. On the target none of this is built: the tool runs on the
// device itself, against the platform's libraries.
//
// The modem is a daemon (vornsimd's code, `modem serve`) in a sandbox of
// its own per state directory, started by the first command that needs it
// and shared by every later one: each command runs inside that sandbox
// (same mounts, network and IPC) as a client of the daemon, so that
// several commands, or a developer's own daemon (`modem run`), use one
// modem at the same time. The sandbox's process id is kept beside the
// daemon's socket (vornsimd.ns).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <vornsim/daemon.h>

namespace ctl {
struct Command;
}

namespace ctl::host {

// Where the simulated modem keeps its saved state inside the sandbox, and
// the daemon its socket.
constexpr const char kModemStore[] = "/vornsim";

constexpr const char kAbout[] =
    "Drives libvornpal against the simulated modem. State (the device's /data and\n"
    "/tmp, the modem's store) lives in DIR, by default $VORNPALCTL_STATE or\n"
    "~/.local/state/vornpalctl. The modem runs as a daemon (vornsimd) for DIR,\n"
    "started by the first command; `modem stop` ends it.\n";

// Runs a command on the simulated device. Outside the sandbox this starts
// the modem daemon for the state directory (state_dir, or the default when
// empty) when none runs, and re-runs vornpalctl inside the daemon's
// sandbox, giving its exit status. Inside, `local` runs the command in this
// process (against the daemon's modem when VORNSIM_SOCKET is set, else
// against a modem loaded from the store and saved after), and `in_daemon`
// runs a control of the modem itself in the daemon.
int run(char **argv, const std::string &state_dir, const Command &command,
        const std::function<int()> &local, const std::function<int()> &in_daemon);

// Runs the modem command `words` in the daemon and prints what it printed.
int run_in_daemon(const std::vector<std::string> &words, bool json);

// The daemon's side: runs a modem command of the table into a result.
vornsim::CommandResult run_modem_command(const std::vector<std::string> &words, bool json);

}  // namespace ctl::host
