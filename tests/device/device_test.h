// Shared by the device tests: each test starts without a DMS or M2M client
// and with every log line recorded. Kernel and sysfs nodes, and the tools
// outside the library, are stand-ins inside the sandbox.
#pragma once

#include <sys/mount.h>

#include <cstring>
#include <set>
#include <string>

#include <vornpal/device.h>
#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>

#include "device/messages.h"
#include "m2m/messages.h"
#include "vornpal_test.h"

namespace devt {

namespace dev = vorn::device;
namespace m2m = vorn::m2m;

// What the calls of the table-driven tests fill and no test reads back.
inline char scratch_text[540];
inline uint32_t scratch_mode;
inline vorn_device_band_capabilities scratch_caps;
using vt::count;
using vt::eventually;
using vt::Events;
using vt::kDms;
using vt::kM2m;

class DeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vorn_device_pal_deinit();
    vorn_m2m_pal_deinit();
    vorn_set_log_level(0);
    for (const char *cache : {"/tmp/imei", "/tmp/imei_svn", "/tmp/revid", "/tmp/cfsn",
                              "/tmp/vorn_project_name"})
      std::remove(cache);
    vornsim::clear_requests();
    vornsim::clear_diag();
  }
  void TearDown() override {
    // Indications still queued would outlive the modem's reset.
    vornsim::drain();
    vorn_device_pal_deinit();
    vorn_m2m_pal_deinit();
    vorn_set_log_level(1);
  }
  // Outlives TearDown, which releases the registrations.
  Events events;
};

// A writable, empty tmpfs over a directory of /sys, once per process.
inline void scratch_over(const std::string &dir) {
  static std::set<std::string> mounted;
  if (mounted.count(dir) != 0) return;
  ASSERT_EQ(mount("tmpfs", dir.c_str(), "tmpfs", 0, nullptr), 0) << "tmpfs over " << dir;
  mounted.insert(dir);
}

// A stand-in for a tool outside the library: it appends its arguments, one
// call a line, to /tmp/<name>.calls.
inline void stand_in(const std::string &name, const std::string &dir = "/usr/local/sbin") {
  vt::write_file(dir + "/" + name,
                 "#!/bin/sh\necho \"$*\" >> /tmp/" + name + ".calls\n");
  ASSERT_EQ(vt::sh("chmod 755 " + dir + "/" + name), 0);
  std::remove(("/tmp/" + name + ".calls").c_str());
}

inline std::string calls_of(const std::string &name) {
  return vt::read_file("/tmp/" + name + ".calls");
}

}  // namespace devt
