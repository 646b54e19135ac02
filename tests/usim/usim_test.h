// The USIM family's fixture. The family's client lives for the process, as
// on the device: each test runs vorn_usim_pal_init on a fresh modem (which
// finds the client and asks again for the card's reports), starts with the
// APDU reassembly idle, and leaves no callback registered.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/usim.h>
#include <vornsim/uim.h>

#include "usim/messages.h"
#include "vornpal_test.h"

namespace usimt {

namespace usim = vorn::usim;
namespace card = vornsim::uim;
using vt::eventually;
using vt::Events;

constexpr vornsim::Svc kUim = vornsim::Svc::UIM;
// What the calls of the table-driven tests fill and no test reads back.
inline char scratch_text[128];
constexpr char kHwConfig[] = "/nv/item_files/modem/uim/uimdrv/uim_hw_config";
constexpr char kSlotMapping[] = "/nv/item_files/modem/uim/uimdrv/uim_extended_slot_mapping_config";

inline size_t count(unsigned msg_id) { return vt::count(kUim, msg_id); }

class UsimTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vornsim::reset();  // also in the child of a death test
    vorn_set_log_level(0);
    ASSERT_EQ(vorn_usim_pal_init(), 0);
    // The family reads files by the card type of its last state query.
    usim_state_record state{};
    ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
    idle_reassembly();
    vornsim::clear_requests();
    vornsim::clear_diag();
  }
  void TearDown() override {
    vornsim::drain();
    for (; registrations_ > 0; --registrations_) vorn_usim_pal_event_unregister(Events::record);
    vorn_set_log_level(1);
  }
  // Registers the fixture's collector; what the registration itself
  // raised and asked is forgotten.
  void listen() {
    ASSERT_EQ(vorn_usim_pal_event_register(Events::record, &events), 0);
    ++registrations_;
    forget_events();
    vornsim::clear_requests();
  }
  // Drops what the collector received so far.
  void forget_events() {
    vornsim::drain();
    std::lock_guard<std::mutex> lock(events.mutex);
    events.list.clear();
  }
  // Event ids received so far.
  std::vector<int> event_ids() {
    std::vector<int> ids;
    for (const auto &event : events.taken()) ids.push_back(event.id);
    return ids;
  }
  // A stray empty piece puts the reassembly of long responses back to idle,
  // whatever an earlier test left there.
  static void idle_reassembly() {
    uim_send_apdu_ind_msg_v01 stray{};
    stray.offset = 1;
    vornsim::indicate(kUim, QMI_UIM_SEND_APDU_IND_V01, stray);
    vornsim::drain();
  }

  Events events;
  int registrations_ = 0;
};

inline std::vector<uint8_t> bytes(std::initializer_list<int> list) {
  std::vector<uint8_t> out;
  for (int b : list) out.push_back(static_cast<uint8_t>(b));
  return out;
}

// A field's text, which need not be terminated.
template <size_t N>
std::string text(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

inline usim_status_payload status_of(const Events::Event &event) {
  usim_status_payload payload{};
  if (event.data.size() == sizeof payload) std::memcpy(&payload, event.data.data(), sizeof payload);
  return payload;
}

}  // namespace usimt
