// Messages through the simulated network and back: a submit to the
// device's own number returns as a deliver, goes where the routes say (the
// AP through the daemon, the SIM or NV through the modem), is acknowledged,
// posted as events on the QMI thread and reads back with the text it was
// sent with, in one part or several delivered out of order.
#include <algorithm>
#include <map>

#include "sms_test.h"

namespace {

using namespace smst;
namespace wms = vornsim::wms;

enum class Alphabet { kGsm7, kSpanish, kUcs2 };

constexpr uint8_t kConcatRef = 42;

// 3GPP TS 23.038, A.2.2, the Spanish single shift characters used below.
const std::map<char16_t, uint8_t> kSpanishSeptet = {
    {u'\u00E1', 0x61}, {u'\u00ED', 0x69}, {u'\u00F3', 0x6F}, {u'\u00FA', 0x75}, {u'\u00E7', 0x09},
    {u'\u00C1', 0x41}, {u'\u20AC', 0x65}};

// The user data of a text: septets (an escape pair stays one unit) or UCS-2 octets.
std::vector<Bytes> units_of(const std::u16string &text, Alphabet alphabet) {
  std::vector<Bytes> units;
  for (char16_t c : text) {
    if (alphabet == Alphabet::kUcs2) {
      units.push_back({static_cast<uint8_t>(c >> 8), static_cast<uint8_t>(c & 0xFF)});
      continue;
    }
    Bytes septets;
    if (text_septets(std::u16string(1, c), septets)) {
      units.push_back(septets);
    } else {
      EXPECT_TRUE(alphabet == Alphabet::kSpanish && kSpanishSeptet.count(c)) << "character " << int(c);
      units.push_back({27, kSpanishSeptet.at(c)});
    }
  }
  return units;
}

// Submit PDUs of a text to `number`: one part when it fits, else parts with
// an 8-bit concatenation header.
std::vector<Bytes> submits(const std::u16string &text, Alphabet alphabet, const std::string &number) {
  const std::vector<Bytes> units = units_of(text, alphabet);
  const bool seven_bit = alphabet != Alphabet::kUcs2;
  const unsigned national_octets = alphabet == Alphabet::kSpanish ? 3 : 0;
  auto room = [&](unsigned header_octets) {
    unsigned udh = header_octets == 0 ? 0 : header_octets + 1;
    return seven_bit ? 160 - (udh * 8 + 6) / 7 : 140 - udh;
  };
  size_t total = 0;
  for (const Bytes &u : units) total += u.size();
  const bool long_text = total > room(national_octets);
  const unsigned capacity = room(national_octets + (long_text ? 5 : 0));
  std::vector<std::vector<Bytes>> parts(1);
  size_t used = 0;
  for (const Bytes &u : units) {
    if (used + u.size() > capacity) {
      parts.emplace_back();
      used = 0;
    }
    parts.back().push_back(u);
    used += u.size();
  }
  std::vector<Bytes> pdus;
  const uint8_t dcs = seven_bit ? 0x00 : 0x08;
  for (size_t i = 0; i < parts.size(); ++i) {
    sms_message_record record = message(SMS_KIND_SUBMIT, 0x01, dcs, number.c_str(), "+15550000100");
    sms_user_data_record &ud = user_data(record);
    for (const Bytes &u : parts[i])
      for (uint8_t b : u) ud.sm_data[ud.sm_len++] = b;
    if (alphabet == Alphabet::kSpanish) {
      sms_udh_element national{};
      national.header_id = SMS_UDH_NAT_LANG_SS;
      national.body.nat_lang_ss.language = 2;
      add_header(record, national);
    }
    if (parts.size() > 1)
      add_header(record, concat8(kConcatRef, static_cast<uint8_t>(parts.size()), static_cast<uint8_t>(i + 1)));
    pdus.push_back(encoded(record));
  }
  return pdus;
}

sms_message_record decoded_pdu(const uint8_t *pdu, size_t length) {
  sms_message_record record;
  EXPECT_EQ(vorn_sms_decode(SMS_DIRECTION_MT, SMS_PROTOCOL_GW_PP, pdu, static_cast<uint32_t>(length), &record), 0);
  EXPECT_EQ(record.kind, SMS_KIND_DELIVER);
  return record;
}

struct LoopCase {
  const char *name;
  Alphabet alphabet;
  std::u16string text;
};

std::u16string repeat(const std::u16string &piece, size_t times) {
  std::u16string out;
  while (times-- > 0) out += piece;
  return out;
}

const LoopCase kCases[] = {
    {"GSM 7-bit, one part", Alphabet::kGsm7, u"Hola @ \u00A3$\u00A5 \u00E8\u00E9 {}[]~| \u20AC \u0394\u03A6 ok"},
    {"GSM 7-bit, three parts", Alphabet::kGsm7, repeat(u"The quick {brown} fox \u20AC@ jumps; ", 12)},
    {"Spanish shift, one part", Alphabet::kSpanish, u"Canci\u00F3n de ni\u00F1os: \u00E1 \u00ED \u00FA \u00E7 \u00C1"},
    {"Spanish shift, two parts", Alphabet::kSpanish, repeat(u"coraz\u00F3n, ma\u00F1ana, caf\u00E9 y \u00E1guila; ", 7)},
    {"UCS-2, one part", Alphabet::kUcs2, u"\u041F\u0440\u0438\u0432\u0435\u0442 \u4F60\u597D"},
    {"UCS-2, three parts", Alphabet::kUcs2, repeat(u"\u041F\u0440\u0438\u0432\u0435\u0442, \u043C\u0438\u0440! ", 12)},
};

// Sends the parts, lets the centre hold what comes back and releases it
// last part first; the message references.
std::vector<uint32_t> send_and_release_reversed(const std::vector<Bytes> &pdus) {
  wms::hold(true);
  std::vector<uint32_t> references;
  for (const Bytes &pdu : pdus) {
    uint32_t reference = 0xFFFF;
    EXPECT_EQ(vorn_sms_pal_send_msg(pdu.data(), static_cast<int32_t>(pdu.size()), E_SMS_PAL_SEND_ONLY, &reference), 0);
    references.push_back(reference);
  }
  EXPECT_EQ(wms::waiting(), pdus.size());
  std::vector<size_t> order;
  for (size_t i = pdus.size(); i-- > 0;) order.push_back(i);
  wms::release(order);
  return references;
}

TEST_F(SmsPalTest, LoopThroughTheNetworkToTheApStore) {
  start_family();
  fresh_ap_store();
  for (const LoopCase &c : kCases) {
    SCOPED_TRACE(c.name);
    const std::vector<Bytes> pdus = submits(c.text, c.alphabet, wms::own_number());
    const size_t sent_before = wms::mo_messages().size();
    std::vector<uint32_t> references = send_and_release_reversed(pdus);
    std::sort(references.begin(), references.end());
    EXPECT_EQ(std::adjacent_find(references.begin(), references.end()), references.end()) << "references repeat";
    EXPECT_EQ(wms::mo_messages().size(), sent_before + pdus.size());

    // The daemon: acknowledges each message and keeps it in the AP store.
    ASSERT_TRUE(vt::eventually([&] { return events.taken().size() >= pdus.size(); }));
    std::vector<vt::Events::Event> got = take_events();
    ASSERT_EQ(got.size(), pdus.size());
    std::vector<sms_message_record> arrived;
    for (const vt::Events::Event &event : got) {
      EXPECT_EQ(event.id, E_oem_SMS_EVENT_NEW_AP_MSG);
      EXPECT_TRUE(event.on_modem_thread);
      RouteMessage message = route_message(event);
      EXPECT_EQ(message.head.route_format, static_cast<uint32_t>(SMS_FORMAT_GW_PP));
      EXPECT_EQ(message.head.ack_indicator, 0u);
      EXPECT_EQ(vorn_sms_pal_send_ack(0, message.head.transaction_id), 0);
      uint32_t index = 0;
      EXPECT_EQ(vorn_sms_pal_ap_write_msg(message.bytes.data(), static_cast<uint32_t>(message.bytes.size()),
                                          SMS_STATUS_UNREAD, &index), 0);
      arrived.push_back(decoded_pdu(message.bytes.data(), message.bytes.size()));
    }
    EXPECT_EQ(wms::unacknowledged(), 0u);
    // Out of order: the last part came first.
    if (pdus.size() > 1) {
      const sms_user_data_record &first = arrived.front().body.deliver.user_data;
      EXPECT_EQ(first.headers[first.num_headers - 1].body.concat_8.seq_num, pdus.size());
    }

    std::vector<sms_store_message> stored(pdus.size() + 1);
    ASSERT_EQ(vorn_sms_pal_ap_read_msg(SMS_PAL_INDEX_ALL, stored.data(), static_cast<uint32_t>(stored.size())),
              static_cast<int>(pdus.size()));
    std::vector<sms_message_record> read_back;
    for (size_t i = 0; i < pdus.size(); ++i)
      read_back.push_back(decoded_pdu(stored[i].sms_pdu_data, stored[i].sms_pdu_len));
    EXPECT_EQ(joined_text(read_back), c.text);
    EXPECT_EQ(joined_text(arrived), c.text);
    EXPECT_EQ(address_text(read_back[0].body.deliver.originating_address), wms::own_number());
    for (size_t i = 0; i < pdus.size(); ++i) EXPECT_EQ(vorn_sms_pal_ap_delete_msg(static_cast<uint32_t>(i), 0), 0);
  }
  for (const wms::Ack &ack : wms::acks()) EXPECT_TRUE(ack.success);
}

// Routed to the SIM or to NV, the modem stores and announces the messages
// itself; the daemon reads them from where the event says.
TEST_F(SmsPalTest, LoopThroughTheNetworkToModemStorage) {
  start_family();
  const LoopCase &c = kCases[3];
  for (uint32_t storage : {SMS_STORAGE_UIM, SMS_STORAGE_NV}) {
    SCOPED_TRACE(storage == SMS_STORAGE_UIM ? "SIM" : "NV");
    ASSERT_EQ(vorn_sms_pal_set_receive_msg_storage(storage), 0);
    for (const wms::Route &route : wms::routes()) EXPECT_EQ(route.memory, storage);
    const std::vector<Bytes> pdus = submits(c.text, c.alphabet, wms::own_number());
    send_and_release_reversed(pdus);
    ASSERT_TRUE(vt::eventually([&] { return events.taken().size() >= pdus.size(); }));
    std::vector<sms_message_record> parts;
    for (const vt::Events::Event &event : events.taken()) {
      ASSERT_EQ(event.id, E_oem_SMS_EVENT_NEW_STORED_MSG);
      sms_stored_event stored{};
      ASSERT_EQ(event.data.size(), sizeof stored);
      std::memcpy(&stored, event.data.data(), sizeof stored);
      EXPECT_EQ(stored.storage, static_cast<int32_t>(storage));
      sms_store_message record{};
      ASSERT_EQ(vorn_sms_pal_read_msg(storage, static_cast<int32_t>(stored.index), &record), 1);
      EXPECT_EQ(record.sms_status, static_cast<uint32_t>(SMS_STATUS_UNREAD));
      EXPECT_EQ(record.sms_format, static_cast<uint32_t>(SMS_FORMAT_GW_PP));
      parts.push_back(decoded_pdu(record.sms_pdu_data, record.sms_pdu_len));
    }
    take_events();
    EXPECT_EQ(joined_text(parts), c.text);
    EXPECT_EQ(wms::stored(storage).size(), pdus.size());
    EXPECT_TRUE(wms::acks().empty()) << "the modem acknowledged stored messages itself";
    sms_index_status pairs[8];
    EXPECT_EQ(vorn_sms_pal_get_valid_index(storage, SMS_LIST_UNREAD, pairs, 8), static_cast<int>(pdus.size()));
    EXPECT_EQ(vorn_sms_pal_delete_msg(storage, 0, 2), 0);  // every unread one
    EXPECT_TRUE(wms::stored(storage).empty());
  }
}

// A submit that asks for a status report gets one, as a route message.
TEST_F(SmsPalTest, StatusReportsComeAsRouteMessages) {
  start_family();
  sms_message_record record = message(SMS_KIND_SUBMIT, 0x21, 0x00, "+4915112345678", "+15550000100");
  Bytes septets;
  ASSERT_TRUE(text_septets(u"report please", septets));
  sms_user_data_record &ud = user_data(record);
  std::copy(septets.begin(), septets.end(), ud.sm_data);
  ud.sm_len = static_cast<uint16_t>(septets.size());
  const Bytes pdu = encoded(record);
  uint32_t reference = 0;
  ASSERT_EQ(vorn_sms_pal_send_msg(pdu.data(), static_cast<int32_t>(pdu.size()), 0, &reference), 0);
  ASSERT_TRUE(vt::eventually([&] { return !events.taken().empty(); }));
  const vt::Events::Event event = events.taken().at(0);
  EXPECT_EQ(event.id, E_oem_SMS_EVENT_NEW_ROUTE_MSG);
  RouteMessage report = route_message(event);
  sms_message_record decoded;
  ASSERT_EQ(vorn_sms_decode(SMS_DIRECTION_MT, SMS_PROTOCOL_GW_PP, report.bytes.data(),
                            static_cast<uint32_t>(report.bytes.size()), &decoded), 0);
  EXPECT_EQ(decoded.kind, SMS_KIND_STATUS_REPORT);
  EXPECT_EQ(decoded.body.status_report.message_reference, reference & 0xFF);
  EXPECT_EQ(address_text(decoded.body.status_report.recipient_address), "+4915112345678");
  EXPECT_EQ(vorn_sms_pal_send_ack(0, report.head.transaction_id), 0);
  EXPECT_EQ(wms::unacknowledged(), 0u);
}

}  // namespace
