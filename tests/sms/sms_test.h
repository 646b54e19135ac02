// Helpers of the SMS tests: hex, the corpus files, the GSM alphabet as the
// standard defines it (to compare septets with libgammu's text), records
// built through the assembly functions, and the fixture of the tests that
// drive the family against the simulated modem.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/sms.h>
#include <vornpal/sms_codec.h>
#include <vornsim/sim.h>
#include <vornsim/wms.h>

#include "sms/messages.h"
#include "vornpal_test.h"

namespace smst {

using Bytes = std::vector<uint8_t>;

Bytes unhex(const std::string &hex);

// A submit PDU with its SMSC, and a deliver TPDU from +4915112345678 with
// the GSM text "Hi".
inline const Bytes kSubmit = unhex("07915155000001F001000B919471214365F7000004D4F29C0E");
inline const Bytes kDeliver = unhex("040C9194511132547600006211221000000002C834");
std::string hex(const uint8_t *data, size_t length);
inline std::string hex(const Bytes &data) { return hex(data.data(), data.size()); }

// One PDU of a corpus file: "DIR HEX [FLAG...] # note".
struct CorpusEntry {
  std::string where;      // file:line
  std::string direction;  // MT, SR or MO
  Bytes pdu;
  std::vector<std::string> flags;
  std::string note;
  bool has(const std::string &flag) const;
  uint32_t decode_direction() const {
    return direction == "MO" ? SMS_DIRECTION_MO : SMS_DIRECTION_MT;
  }
};
std::vector<CorpusEntry> corpus(const std::string &file);

// Septets (escapes included) as UTF-16 by GSM 03.38, and back; false when a
// character is not in the alphabet.
std::u16string septets_text(const uint8_t *septets, size_t count);
bool text_septets(const std::u16string &text, Bytes &septets);
std::u16string utf16(const std::string &utf8);

// Decoding that must succeed.
sms_message_record decoded(const Bytes &pdu, uint32_t direction = SMS_DIRECTION_MT);
Bytes encoded(const sms_message_record &record);

// An address as gammu shows it: "+" and digits, or the alphanumeric text.
std::string address_text(const sms_address_record &address);

// A submit or deliver record filled through the assembly functions: first
// octet fo, DCS, number, service centre.
sms_message_record message(uint32_t kind, int fo, uint8_t dcs, const char *number,
                           const char *smsc = "+447785016005", const char *validity = nullptr);
// User data of the record's body.
sms_user_data_record &user_data(sms_message_record &record);
void add_header(sms_message_record &record, const sms_udh_element &element);
sms_udh_element concat8(uint8_t ref, uint8_t total, uint8_t seq);
sms_udh_element concat16(uint16_t ref, uint8_t total, uint8_t seq);

// ---- the family against the simulated modem ----------------------------------

constexpr vornsim::Svc kWms = vornsim::Svc::WMS;
inline size_t count(unsigned msg_id) { return vt::count(kWms, msg_id); }

// Each test starts on a fresh modem with the family stopped, its
// configuration words at their defaults, no AP database and every log line
// recorded; the events of the family go to `events`.
class SmsPalTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // vorn_sms_pal_init, with the requests and log lines of the start forgotten.
  void start_family();
  // A fresh AP store on a new /data/sms_msg.db.
  static void fresh_ap_store();
  static void forget_traffic() {
    vornsim::clear_requests();
    vornsim::clear_diag();
  }
  // The events so far, once the modem delivered what it had queued; then
  // forgotten.
  std::vector<vt::Events::Event> take_events() {
    std::vector<vt::Events::Event> taken = events.taken();
    std::lock_guard<std::mutex> lock(events.mutex);
    events.list.clear();
    return taken;
  }
  vt::Events events;
};

// The AP store's handle, as the store layer gives it back.
inline sms_store_handle *ap_handle() { return vorn_sms_store_init(SMS_STORE_KIND_SQLITE, 100); }

// A route message of event 4 or 5: the head and the bytes behind it.
struct RouteMessage {
  sms_route_message head;
  Bytes bytes;
};
RouteMessage route_message(const vt::Events::Event &event);

// The text of a message's parts, joined by their concatenation headers (in
// any order), with the GSM default alphabet, the Spanish national single
// shift table when the header names it, or UCS-2.
std::u16string joined_text(const std::vector<sms_message_record> &parts);

}  // namespace smst
