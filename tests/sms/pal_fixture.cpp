// The fixture of the family's tests and the daemon-side reading of what the
// family hands out.
#include <cstdio>
#include <cstring>
#include <map>

#include "sms_test.h"

namespace smst {

void SmsPalTest::SetUp() {
  vorn_sms_pal_deinit();
  vornsim::reset();
  vorn_set_log_level(0);
  // The words a previous test set, back to what a fresh process has.
  vorn_sms_pal_set_msg_service_config(0, 0, 0, 0);
  vorn_sms_pal_store_full(1);
  vorn_sms_pal_set_receive_msg_storage(SMS_STORAGE_AP);
  vorn_sms_pal_event_unregister(vt::Events::record);
  ASSERT_EQ(vorn_sms_pal_event_register(vt::Events::record, &events), 0);
  forget_traffic();
}

void SmsPalTest::TearDown() {
  vornsim::drain();
  vorn_sms_pal_event_unregister(vt::Events::record);
  vorn_sms_pal_deinit();
  vorn_set_log_level(1);
}

void SmsPalTest::start_family() {
  ASSERT_EQ(vorn_sms_pal_init(), 0);
  vornsim::drain();
  forget_traffic();
}

void SmsPalTest::fresh_ap_store() {
  if (sms_store_handle *h = ap_handle()) vorn_sms_store_deinit(h);
  std::remove("/data/sms_msg.db");
  std::remove("/data/sms_msg.db-journal");
  ASSERT_EQ(vorn_sms_pal_ap_init(), 0);
}

RouteMessage route_message(const vt::Events::Event &event) {
  RouteMessage message{};
  EXPECT_GE(event.data.size(), sizeof message.head);
  if (event.data.size() < sizeof message.head) return message;
  std::memcpy(&message.head, event.data.data(), sizeof message.head);
  message.bytes.assign(event.data.begin() + sizeof message.head, event.data.end());
  EXPECT_EQ(message.bytes.size(), message.head.pdu_data_len);
  EXPECT_EQ(static_cast<size_t>(event.size), event.data.size());
  return message;
}

namespace {

// 3GPP TS 23.038, A.2.2: the Spanish single shift table, the septets behind
// an escape that differ from the default extension table.
const std::map<uint8_t, char16_t> kSpanishShift = {
    {0x09, u'\u00E7'}, {0x41, u'\u00C1'}, {0x49, u'\u00CD'}, {0x4F, u'\u00D3'}, {0x55, u'\u00DA'},
    {0x61, u'\u00E1'}, {0x65, u'\u20AC'}, {0x69, u'\u00ED'}, {0x6F, u'\u00F3'}, {0x75, u'\u00FA'},
};
constexpr uint8_t kSpanish = 2;

std::u16string text_of(const sms_dcs_record &dcs, const sms_user_data_record &ud) {
  if (dcs.alphabet == SMS_ALPHABET_UCS2) {
    std::u16string text;
    for (size_t i = 0; i + 1 < ud.sm_len; i += 2)
      text += static_cast<char16_t>(ud.sm_data[i] << 8 | ud.sm_data[i + 1]);
    return text;
  }
  bool spanish = false;
  for (int i = 0; i < ud.num_headers; ++i)
    spanish |= ud.headers[i].header_id == SMS_UDH_NAT_LANG_SS &&
               ud.headers[i].body.nat_lang_ss.language == kSpanish;
  std::u16string text;
  for (size_t i = 0; i < ud.sm_len; ++i) {
    if (spanish && ud.sm_data[i] == 27 && i + 1 < ud.sm_len && kSpanishShift.count(ud.sm_data[i + 1])) {
      text += kSpanishShift.at(ud.sm_data[++i]);
      continue;
    }
    size_t width = ud.sm_data[i] == 27 && i + 1 < ud.sm_len ? 2 : 1;
    text += septets_text(ud.sm_data + i, width);
    i += width - 1;
  }
  return text;
}

}  // namespace

std::u16string joined_text(const std::vector<sms_message_record> &parts) {
  std::map<unsigned, std::u16string> by_sequence;
  for (const sms_message_record &record : parts) {
    const sms_deliver_record &d = record.body.deliver;
    unsigned sequence = 0;
    for (int i = 0; i < d.user_data.num_headers; ++i)
      if (d.user_data.headers[i].header_id == SMS_UDH_CONCAT_8)
        sequence = d.user_data.headers[i].body.concat_8.seq_num;
    EXPECT_EQ(by_sequence.count(sequence), 0u) << "part " << sequence << " twice";
    by_sequence[sequence] = text_of(d.dcs, d.user_data);
  }
  std::u16string text;
  for (const auto &[sequence, part] : by_sequence) text += part;
  return text;
}

}  // namespace smst
