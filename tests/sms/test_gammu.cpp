// The codec against libgammu: the same PDUs read alike, and what we encode
// reads back in gammu as it was meant.
#include "gammu_ref.h"
#include "sms_test.h"

namespace {

using namespace smst;

int bcd(uint8_t value) { return (value >> 4) * 10 + (value & 15); }

void expect_time(const sms_timestamp &ours, const gref::Time &theirs) {
  EXPECT_EQ(bcd(ours.year), theirs.year % 100);
  EXPECT_EQ(bcd(ours.month), theirs.month);
  EXPECT_EQ(bcd(ours.day), theirs.day);
  EXPECT_EQ(bcd(ours.hour), theirs.hour);
  EXPECT_EQ(bcd(ours.minute), theirs.minute);
  EXPECT_EQ(bcd(ours.second), theirs.second);
  EXPECT_EQ(ours.zone * 15 * 60, theirs.zone_seconds);
}

gref::Coding coding(const sms_dcs_record &dcs) {
  switch (dcs.alphabet) {
    case SMS_ALPHABET_7BIT: return gref::Coding::kDefault;
    case SMS_ALPHABET_8BIT: return gref::Coding::kEightBit;
    default: return gref::Coding::kUcs2;
  }
}

std::u16string text(const sms_dcs_record &dcs, const sms_user_data_record &ud) {
  if (dcs.alphabet == SMS_ALPHABET_7BIT) return septets_text(ud.sm_data, ud.sm_len);
  if (dcs.alphabet == SMS_ALPHABET_8BIT) return std::u16string(ud.sm_data, ud.sm_data + ud.sm_len);
  std::u16string units;
  for (size_t i = 0; i + 1 < ud.sm_len; i += 2)
    units += static_cast<char16_t>(ud.sm_data[i] << 8 | ud.sm_data[i + 1]);
  return units;
}

// Data coding, text and header as both codecs expose them.
void expect_user_data(const sms_dcs_record &dcs, const sms_user_data_record &ud,
                      const gref::Message &g) {
  EXPECT_EQ(coding(dcs), g.coding);
  EXPECT_EQ(dcs.msg_class == 4 ? -1 : static_cast<int>(dcs.msg_class), g.message_class);
  EXPECT_EQ(gref::utf8(text(dcs, ud)), gref::utf8(g.text));
  uint8_t header[200] = {};
  uint8_t udhl = sms_ts_encode_user_data_header(ud.num_headers, ud.headers, header);
  EXPECT_EQ(hex(g.udh), ud.num_headers ? hex(header, udhl + 1u) : "");
  // gammu names the parts only of headers that it knows as a whole.
  for (int i = 0; i < ud.num_headers && g.part != -1; ++i) {
    const sms_udh_element &e = ud.headers[i];
    if (e.header_id == SMS_UDH_CONCAT_8) {
      EXPECT_EQ(e.body.concat_8.msg_ref, g.id8);
      EXPECT_EQ(e.body.concat_8.seq_num, g.part);
      EXPECT_EQ(e.body.concat_8.total_sm, g.all_parts);
    } else if (e.header_id == SMS_UDH_CONCAT_16) {
      EXPECT_EQ(e.body.concat_16.msg_ref, g.id16);
      EXPECT_EQ(e.body.concat_16.seq_num, g.part);
      EXPECT_EQ(e.body.concat_16.total_sm, g.all_parts);
    }
  }
}

void expect_alike(const sms_message_record &r, const gref::Message &g) {
  EXPECT_EQ(address_text(r.sc_address), g.smsc);
  switch (r.kind) {
    case SMS_KIND_DELIVER: {
      const sms_deliver_record &d = r.body.deliver;
      EXPECT_EQ(g.type, gref::Type::kDeliver);
      EXPECT_EQ(address_text(d.originating_address), g.number);
      expect_time(d.scts, g.time);
      expect_user_data(d.dcs, d.user_data, g);
      break;
    }
    case SMS_KIND_SUBMIT: {
      const sms_submit_record &s = r.body.submit;
      EXPECT_EQ(g.type, gref::Type::kSubmit);
      EXPECT_EQ(address_text(s.destination_address), g.number);
      EXPECT_EQ(static_cast<int>(s.message_reference), g.message_reference);
      // A decoded period keeps its octet: the decoder's change to the first
      // byte of the period loses whole years.
      if (s.validity.format == SMS_VALIDITY_RELATIVE) {
        int octet = s.raw_validity_octet ? s.raw_validity_octet
                                         : EncodeRelativeTime(&s.validity.period.timestamp);
        EXPECT_EQ(octet, g.relative_validity);
      }
      expect_user_data(s.dcs, s.user_data, g);
      break;
    }
    case SMS_KIND_STATUS_REPORT: {
      const sms_status_report_record &s = r.body.status_report;
      EXPECT_EQ(g.type, gref::Type::kStatusReport);
      EXPECT_EQ(address_text(s.recipient_address), g.number);
      EXPECT_EQ(static_cast<int>(s.message_reference), g.message_reference);
      EXPECT_EQ(static_cast<int>(s.status), g.delivery_status);
      expect_time(s.scts, g.time);
      expect_time(s.discharge_time, g.smsc_time);
      break;
    }
    default: ADD_FAILURE() << "kind " << r.kind;
  }
}

TEST(SmsAgainstGammu, CorpusReadsAlike) {
  int compared = 0;
  for (const char *file : {"handsets.txt", "generated.txt"}) {
    for (const CorpusEntry &entry : corpus(file)) {
      SCOPED_TRACE(entry.where + entry.note);
      sms_message_record record = decoded(entry.pdu, entry.decode_direction());
      gref::Message g = gref::decode(entry.pdu);
      if (entry.has("gammu-refuses")) {
        EXPECT_FALSE(g.ok);
        continue;
      }
      ASSERT_TRUE(g.ok);
      expect_alike(record, g);
      ++compared;
    }
  }
  EXPECT_GE(compared, 40);
}

// Our deliver and submit PDUs, built through the assembly functions, read
// back in gammu with the same number, text and header.
TEST(SmsAgainstGammu, OurPdusReadBackInGammu) {
  struct Case {
    const char *what;
    uint32_t kind;
    int fo;
    uint8_t dcs;
    const char *number;
    std::string text;  // UTF-8 for 7-bit and UCS-2, raw octets for 8-bit
    std::vector<sms_udh_element> headers;
  };
  sms_udh_element ports{};
  ports.header_id = SMS_UDH_PORT_16;
  ports.body.port_16 = {2948, 9200};
  const Case cases[] = {
      {"7-bit escapes, concat 8",
       SMS_KIND_SUBMIT,
       0x11,
       0x00,
       "+4915112345678",
       "Price: 5€ {net} [x] ~ ^ | \\ @home $",
       {concat8(7, 3, 2)}},
      {"UCS-2 beyond the BMP, concat 16 and ports",
       SMS_KIND_SUBMIT,
       0x31,
       0x08,
       "0612345678",
       "Grüße 😀 aus Köln 🎉",
       {concat16(0xBEEF, 2, 1), ports}},
      {"8-bit, class 1",
       SMS_KIND_SUBMIT,
       0x01,
       0xF5,
       "+12025550143",
       std::string("\x00\x01\xFE\xFF", 4),
       {}},
      {"deliver, Greek capitals", SMS_KIND_DELIVER, 0x04, 0x00, "+306912345678", "ΔΦΓΛΩΠΨΣΘΞ", {}},
      {"deliver, UCS-2, concat 8",
       SMS_KIND_DELIVER,
       0x00,
       0x08,
       "+81312345678",
       "日本語 テスト",
       {concat8(200, 2, 2)}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    sms_message_record record = message(c.kind, c.fo, c.dcs, c.number);
    if (c.kind == SMS_KIND_DELIVER)
      record.body.deliver.scts = {0x24, 0x12, 0x31, 0x23, 0x59, 0x58, -20};
    for (const sms_udh_element &e : c.headers) add_header(record, e);
    std::u16string units = utf16(c.text);
    std::string hex_text;
    for (char16_t u : units)
      hex_text += hex(Bytes{static_cast<uint8_t>(u >> 8), static_cast<uint8_t>(u)});
    if (c.dcs == 0xF5) hex_text = hex(Bytes(c.text.begin(), c.text.end()));
    int chset = c.dcs == 0x00 ? SMS_CHSET_UCS2 : SMS_CHSET_HEX;
    ASSERT_EQ(1, vorn_sms_encode_data(&user_data(record), hex_text.c_str(),
                                      static_cast<uint32_t>(hex_text.size()), -1, c.dcs, chset));
    gref::Message g = gref::decode(encoded(record));
    ASSERT_TRUE(g.ok);
    expect_alike(record, g);
    if (c.dcs != 0xF5) {
      EXPECT_EQ(gref::utf8(g.text), c.text);
    }
  }
}

// Where the codec reads or writes differently from the standard on purpose,
// gammu shows the standard's side.
TEST(SmsAgainstGammu, DeliberateDifferences) {
  // A decoded deliver re-encoded as it stands has TP-MMS flipped.
  Bytes pdu = unhex("0791447758100650040B915155214365F700005230031095958A00");
  Bytes again = encoded(decoded(pdu));
  EXPECT_EQ(pdu[8] ^ 0x04, again[8]);

  // The submit decoder takes one off the first byte of the validity union:
  // 4 days (AA) become year 255, which re-encodes as the same octet.
  sms_message_record submit = decoded(unhex("0011000B916407281553F80000AA0AE8329BFD4697D9EC37"), 1);
  EXPECT_EQ(255, submit.body.submit.validity.period.timestamp.year);
  EXPECT_EQ(0xAA, EncodeRelativeTime(&submit.body.submit.validity.period.timestamp));
  // An absolute validity (24/12/24) comes out a year early.
  sms_message_record absolute =
      decoded(unhex("079144775810065019050D91945111325476F80000422142810000880161"), 1);
  EXPECT_EQ(0x23, absolute.body.submit.validity.period.timestamp.year);

  // Special SM: kinds other than voicemail read as 4 and go back out as 7.
  Bytes fax = unhex("0791447758100650440C9194710167000000003211504120904006040102010300");
  sms_message_record record = decoded(fax);
  EXPECT_EQ(4u, record.body.deliver.user_data.headers[0].body.special_sm.msg_waiting_kind);
  gref::Message g = gref::decode(encoded(record));
  EXPECT_EQ("0401020703", hex(g.udh));

  // The flat layer's 16-bit reference is the 8-bit one shifted both ways.
  sms_pdu_buffer flat;
  ASSERT_EQ(0, smsPdu_Encode(1, reinterpret_cast<const uint8_t *>("part"), 4, "+4915112345678", 0,
                             1, "+447785016005", &flat, 0x01A70102));
  g = gref::decode(Bytes(flat.pdu, flat.pdu + flat.length));
  ASSERT_TRUE(g.ok);
  EXPECT_EQ((0xA7 >> 2) << 8 | (0xA7 << 2 & 0xFF), g.id16);
  EXPECT_EQ(1, g.part);
  EXPECT_EQ("part", gref::utf8(g.text));

  // The flat layer reads the DCS by the rule of cell broadcast, where 0x08
  // is 7-bit text, and keeps half of an alphanumeric sender.
  Bytes ucs2 = unhex("0791947101670000000B919761214365F7000832211332958500060041D83DDE00");
  EXPECT_EQ(gref::Coding::kUcs2, gref::decode(ucs2).coding);
  sms_message_record view;
  ASSERT_EQ(0, smsPdu_Decode(1, ucs2.data(), static_cast<uint32_t>(ucs2.size()), &view));
  EXPECT_EQ(SMS_FLAT_TEXT, view.body.flat.format);
  Bytes alphanumeric = unhex("0791447758100650040ED0D637396C7EBBCB00004250718003004001C1");
  EXPECT_EQ("Vodafone", gref::decode(alphanumeric).number);
  ASSERT_EQ(
      0, smsPdu_Decode(1, alphanumeric.data(), static_cast<uint32_t>(alphanumeric.size()), &view));
  EXPECT_STREQ("Voda", view.body.flat.address);
}

}  // namespace
