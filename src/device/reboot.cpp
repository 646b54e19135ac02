#include "device/reboot.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include <vornpal/device.h>

#include "foundation/clock.h"
#include "foundation/run.h"

namespace vorn::device {
namespace {

constexpr uint32_t kLowPowerMode = 1;
constexpr uint64_t kUsbDownDelayUs = 500000;
constexpr const char kStopAutosleep[] = "echo off > /sys/power/autosleep";
constexpr const char kUsbDown[] = "echo none > /sys/devices/platform/8a00000.ssusb/mode";

struct RebootPath {
  bool low_power_first;  // before the worker starts, else as the worker's first step
  const char *reboot_command;
  size_t worker_stack;   // 0: the default
};

constexpr RebootPath kReset{true, "sys_reboot", 0};
constexpr RebootPath kModemReport{false, "echo SYS-REBOOT > /dev/rebooterdev", 65536};

void *reboot_worker(void *arg) {
  const auto &path = *static_cast<const RebootPath *>(arg);
  if (!path.low_power_first) vorn_device_pal_set_operating_mode(kLowPowerMode);
  clk::sleep_us(kUsbDownDelayUs);
  run(kUsbDown);
  run(path.reboot_command);
  return nullptr;
}

}  // namespace

void reboot(RebootBy by) {
  const RebootPath &path = by == RebootBy::Reset ? kReset : kModemReport;
  run(kStopAutosleep);
  if (path.low_power_first) vorn_device_pal_set_operating_mode(kLowPowerMode);
  sync();
  bool started = start_worker(reboot_worker, const_cast<RebootPath *>(&path), path.worker_stack);
  run(started ? "echo \"cread cfun thread ok\" > /dev/kmsg"
              : "echo \"cread cfun thread err\" > /dev/kmsg");
}

}  // namespace vorn::device
