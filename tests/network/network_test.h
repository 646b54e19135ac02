// The network family's fixture: each test starts on a fresh modem (the
// simulated radio environment at its factory state) with the family
// stopped, every log line recorded, and the family's events collected with
// the name of the thread each callback ran on. The family's callbacks
// cannot be removed, so one collector is registered once for the process.
#pragma once

#include <sys/prctl.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <vornpal/device.h>
#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/network.h>
#include <vornpal/platform/network_access_service_v01.h>
#include <vornsim/dm_cache.h>
#include <vornsim/nas.h>

#include "network/messages.h"
#include "event_log.h"
#include "vornpal_test.h"

namespace nett {

namespace net = vorn::network;
constexpr vornsim::Svc kNas = vornsim::Svc::NAS;
constexpr vornsim::Svc kM2m = vornsim::Svc::M2M;

struct Event {
  uint32_t id;
  std::vector<uint8_t> data;
  std::string thread;
  bool on_modem_thread;

  template <class T>
  T as() const {
    T value{};
    std::memcpy(&value, data.data(), std::min(sizeof value, data.size()));
    return value;
  }
};

// Everything the family's callbacks received, in order.
// The family's events; a hook runs inside the callback, on the thread that
// delivers.
class Collector : public vt::EventLog<Event> {
 public:
  static Collector &instance();

 private:
  static void callback(uint32_t id, void *payload, uint32_t length, uint32_t user);
};

class NetworkTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vorn_network_pal_deinit();
    vornsim::reset();
    vorn_set_log_level(0);
    Collector::instance().clear();
    Collector::instance().set_hook(nullptr);
  }
  void TearDown() override {
    vornsim::drain();
    vorn_network_pal_deinit();
    Collector::instance().set_hook(nullptr);
    vorn_set_log_level(1);
  }
  // vorn_network_pal_init, with the requests, log lines and events of the
  // start forgotten.
  // The family's cached state outlives a test, so the modem reports its
  // registration afresh: coverage drops and comes back.
  static void start_family() {
    ASSERT_EQ(vorn_network_pal_init(), 0);
    vornsim::nas::set_coverage(false);
    vornsim::nas::set_coverage(true);
    settle();
    forget();
  }
  // Waits until the modem delivered what it queued and the event thread
  // passed it on.
  static void settle();
  static void forget() {
    vornsim::clear_requests();
    vornsim::clear_diag();
    Collector::instance().clear();
  }
  static vorn_network_info info_of(bool all_groups = true);
};

// A started family whose settings also open the device family's client and
// the M2M client (capabilities, the radio cycle, EFS items): neither
// outlives the test.
class StartedNetworkTest : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    start_family();
  }
  void TearDown() override {
    vorn_device_pal_deinit();
    vorn_m2m_pal_deinit();
    // The M2M start leaves its milestone in the kernel log.
    vt::write_file("/dev/kmsg", "");
    NetworkTest::TearDown();
  }
};

inline size_t count(unsigned msg_id) { return vt::count(kNas, msg_id); }

// The system-info indication of one technology's part, as the modem sends it.
nas_sys_info_ind_msg_v01 sys_info_ind(const char *mcc, const char *mnc);
// A registered serving-system indication on one radio interface.
nas_serving_system_ind_msg_v01 serving_ind(uint32_t radio_if, bool with_indicator, uint32_t indicator);

}  // namespace nett
