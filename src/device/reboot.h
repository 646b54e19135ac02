// The reboot of the whole device, in one place for its two callers: the
// family's own reset, and the M2M family when the modem reports "+CFUN".
#pragma once

namespace vorn::device {

enum class RebootBy {
  Reset,        // vorn_device_pal_reset: low power first, then "sys_reboot"
  ModemReport,  // "+CFUN" from the modem: low power in the worker, then the rebooter device
};

// Stops autosleep, puts the modem in low power, syncs and takes the USB port
// down and reboots from a detached worker, so that the caller returns before
// the port goes. Whether the worker started goes to the kernel log.
void reboot(RebootBy by);

}  // namespace vorn::device
