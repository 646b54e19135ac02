// vornpalctl on a development host (VORNPAL_CTL_HOST_MODEM): the device is
// the simulated modem, and the tool runs in the sandbox with a state
// directory bound as the device's /data, /tmp, /vornnv and as the modem's
// store, so that state survives between invocations and nothing is written
// outside it. On the target none of this is built: the tool runs on the
// device itself, against the platform's libraries.
#pragma once

#include <functional>
#include <string>

namespace ctl::host {

// Where the simulated modem keeps its saved state inside the sandbox.
constexpr const char kModemStore[] = "/vornsim";

constexpr const char kAbout[] =
    "Drives libvornpal against the simulated modem. State (the device's /data and\n"
    "/tmp, the modem's store) lives in DIR, by default $VORNPALCTL_STATE or\n"
    "~/.local/state/vornpalctl.\n";

// Runs `command` on the simulated device: outside the sandbox this re-runs
// vornpalctl in it with the state directory (state_dir, or the default when
// empty) and gives its exit status; inside, the modem is loaded from its
// store before the command and saved after.
int run(char **argv, const std::string &state_dir, const std::function<int()> &command);

}  // namespace ctl::host
