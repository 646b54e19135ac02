// Shared by the device tests: each test starts without a DMS or M2M client
// and with every log line recorded. Kernel and sysfs nodes, and the tools
// outside the library, are stand-ins inside the sandbox.
#pragma once

#include <sys/mount.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <vornpal/device.h>
#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>

#include "vornpal_test.h"

namespace devt {

constexpr vornsim::Svc kDms = vornsim::Svc::DMS;
constexpr vornsim::Svc kM2m = vornsim::Svc::M2M;

// Callbacks of a family's event list, kept for the test.
struct Events {
  struct Event {
    int id;
    std::vector<uint8_t> data;
    int size;
    bool had_data;
    bool on_modem_thread;
  };
  static void record(int id, void *data, int size, void *user) {
    auto *self = static_cast<Events *>(user);
    std::lock_guard<std::mutex> lock(self->mutex);
    auto *bytes = static_cast<const uint8_t *>(data);
    self->list.push_back({id,
                          data != nullptr ? std::vector<uint8_t>(bytes, bytes + size)
                                          : std::vector<uint8_t>(),
                          size, data != nullptr, vornsim::on_modem_thread()});
  }
  std::vector<Event> taken() {
    vornsim::drain();
    std::lock_guard<std::mutex> lock(mutex);
    return list;
  }
  std::mutex mutex;
  std::vector<Event> list;
};

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

inline size_t count(vornsim::Svc svc, unsigned msg_id) {
  return vornsim::requests(svc, msg_id).size();
}

// Answers a message with a response filled by `fill` (the request is ignored).
template <class Resp>
void answer(vornsim::Svc svc, unsigned id, std::function<void(Resp &)> fill) {
  vornsim::on(svc, id, [fill](const vornsim::Request &, void *resp, size_t len) {
    Resp typed{};
    fill(typed);
    std::memcpy(resp, &typed, std::min(len, sizeof typed));
    return 0;
  });
}

// Waits (real time) until `done` holds; false after `ms`.
inline bool eventually(const std::function<bool()> &done, int ms = 5000) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

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
