#!/bin/bash
# From a fresh Debian 12 machine: install what is needed, build, and run the
# main job, vornpalctl against the simulated modem.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build" -G Ninja
cmake --build "$root/build"
ctl="$root/build/tools/vornpalctl"
export VORNPALCTL_STATE=${VORNPALCTL_STATE:-$root/build/vornpalctl-state}
"$ctl" modem status
"$ctl" log level
"$ctl" watchfile add "vornpalctl bootstrap"
"$ctl" watchfile show
