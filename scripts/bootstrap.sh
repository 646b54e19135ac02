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
# A tour: the modem, the device's identity, a data call up and down, an NV
# item there and back, an SMS.
"$ctl" modem status
"$ctl" device info
"$ctl" data connect 1 --hold 1
"$ctl" nv write /nv/item_files/odm/bootstrap --hex 48656C6C6F
"$ctl" nv read /nv/item_files/odm/bootstrap --hex
"$ctl" sms encode +4915112345678 "Hello from vornpalctl"
"$ctl" watchfile show
