// The M2M family's fixture: each test starts without a client, on a fresh
// modem, with every log line recorded, and leaves no client behind. Tests
// that need the family started as a daemon starts it call start_family().
#pragma once

#include <cstdio>
#include <string>

#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/qmi.h>

#include "m2m/messages.h"
#include "vornpal_test.h"

namespace m2mt {

namespace m2m = vorn::m2m;
using vt::kM2m;

class M2mTest : public ::testing::Test {
 protected:
  // The runner resets the modem before each test, but not in the child
  // process of a death test, which needs the modem's handlers too.
  void SetUp() override {
    vorn_m2m_pal_deinit();
    vornsim::reset();
    vorn_set_log_level(0);
  }
  void TearDown() override {
    // Indications still queued would outlive the modem's reset.
    vornsim::drain();
    vorn_m2m_pal_deinit();
    vorn_set_log_level(1);
  }
  // vorn_m2m_pal_init, with the requests and log lines of the start forgotten.
  static void start_family() {
    ASSERT_EQ(vorn_m2m_pal_init(), 0);
    forget_traffic();
  }
  static void forget_traffic() {
    vornsim::clear_requests();
    vornsim::clear_diag();
  }
};

// A path of exactly `len` characters under /nv/item_files.
inline std::string path_of_len(size_t len) {
  std::string path = "/nv/item_files/";
  path.resize(len, 'p');
  return path;
}

inline size_t count(unsigned msg_id) { return vt::count(kM2m, msg_id); }

inline std::string hex_of(const std::string &bytes) {
  std::string out;
  char pair[3];
  for (unsigned char c : bytes) {
    std::snprintf(pair, sizeof pair, "%02X", c);
    out += pair;
  }
  return out;
}

}  // namespace m2mt
