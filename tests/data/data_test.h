// The data family's fixture: each test starts on a fresh modem (factory
// profiles, no sessions, no data links in the sandbox) with the family
// started, every log line recorded, and the family's events collected with
// the thread each callback ran on. The test ends with deinit.
#pragma once

#include <sys/prctl.h>

#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <vornpal/data.h>
#include <vornpal/log.h>
#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornsim/wds.h>

#include "data/messages.h"
#include "event_log.h"
#include "vornpal_test.h"

namespace datat {

namespace data = vorn::data;
constexpr vornsim::Svc kWds = vornsim::Svc::WDS;

struct Event {
  int id;
  std::vector<uint8_t> data;
  const void *pointer;  // the block the callback was handed
  std::string thread;
  void *user;

  data_status_event status() const {
    data_status_event record{};
    std::memcpy(&record, data.data(), std::min(sizeof record, data.size()));
    return record;
  }
  uint32_t word() const {
    uint32_t value = 0;
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
  static void callback(int id, void *data, int size, void *user);
  bool wait_for(int id, size_t n = 1, int ms = 10000) { return EventLog::wait_for(id, n, ms); }
};

class DataTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // Waits until the modem delivered what it queued, the network manager
  // is done and the event thread has passed every event on.
  static void settle();
  // Settles, then forgets the requests, log lines and events so far.
  static void forget() {
    settle();
    vornsim::clear_requests();
    vornsim::clear_diag();
    Collector::instance().clear();
  }
  // A started family on a fresh modem, for each case of a request-failure
  // run. The M2M family's one client, which a profile write may start, is
  // there from the start as in a daemon.
  static void fresh_family();
  // The call-status events (event 0) so far.
  static std::vector<data_status_event> statuses();
  // Waits for the n-th event 0 and returns it.
  static data_status_event wait_status(size_t n = 1);
  // Waits for an event 0 of the profile's family in that state.
  static bool wait_call(int profile, int family, int state, int ms = 20000);
};

// A profile record with the usual fields of a write.
data_profile_settings profile(const char *apn, uint32_t pdp_type, bool clat = false);

// JSON of `ip -j <what>` in the sandbox, and whether it mentions `text`.
std::string ip_json(const std::string &what);
// A file's first line; "" when it cannot be read.
std::string first_line(const std::string &path);

// The event thread waits for its next word (and none is pending).
bool event_thread_idle();

inline size_t count(unsigned msg_id) { return vt::count(kWds, msg_id); }
// The message ids of the WDS requests that reached the modem, in order.
std::vector<unsigned> request_ids();

}  // namespace datat
