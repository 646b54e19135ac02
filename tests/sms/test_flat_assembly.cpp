// The flat text layer and the assembly of messages from AT-style arguments.
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "gammu_ref.h"
#include "sms_test.h"
#include "vornpal_test.h"

namespace {

using namespace smst;

sms_flat_message flat(const std::string &pdu, int expected = 0) {
  sms_message_record record;
  Bytes bytes = unhex(pdu);
  EXPECT_EQ(expected, smsPdu_Decode(1, bytes.data(), static_cast<uint32_t>(bytes.size()), &record))
      << pdu;
  EXPECT_EQ(expected, test_sms_gsm_decode(bytes.data(), static_cast<uint32_t>(bytes.size())));
  EXPECT_EQ(expected == 0 ? record.first_octet & 1 : SMS_KIND_UNDECODABLE, record.kind);
  return record.body.flat;
}

sms_pdu_buffer flat_pdu(const std::string &data, uint32_t encoding, uint32_t type = 1,
                        uint32_t concat = 0, int expected = 0,
                        const char *address = "+46708251358") {
  sms_pdu_buffer out;
  EXPECT_EQ(expected, smsPdu_Encode(1, reinterpret_cast<const uint8_t *>(data.data()),
                                    static_cast<uint32_t>(data.size()), address, encoding, type,
                                    "+447785016005", &out, concat));
  return out;
}

TEST(SmsFlat, DecodesPlainMessages) {
  sms_flat_message m =
      flat("07911326040000F0040B911346610089F60000208062917314080CC8F71D14969741F977FD07");
  EXPECT_EQ(SMS_FLAT_DELIVER_MASK, m.option_mask);
  EXPECT_STREQ("+31641600986", m.address);
  EXPECT_STREQ("02/08/26,19:37:41-00", m.timestamp);
  EXPECT_EQ(SMS_FLAT_TEXT, m.format);
  EXPECT_STREQ("How are you?", m.text);
  EXPECT_EQ(12u, m.text_length);

  m = flat("0011000B916407281553F80000AA0AE8329BFD4697D9EC37");
  EXPECT_EQ(SMS_FLAT_SUBMIT_MASK, m.option_mask);
  EXPECT_STREQ("hellohello", m.text);
  EXPECT_STREQ("", m.timestamp);

  // The layer's own count of septets in an alphanumeric address keeps half.
  m = flat(
      "0791447758100650040ED0D637396C7EBBCB00004250718003004034D9775D0E12A7D96CD0DB0C92CD5C34D8A60C"
      "4ACF41F272989C7781926EF35B07DAA0EC6F72D8FC76975DE4F22605");
  EXPECT_STREQ("Voda", m.address);
  EXPECT_STREQ("Your bill of 23.40? is ready. Info: {vodafone.de}", m.text);  // no euro here

  // The DCS is read by the rule of cell broadcast: 0x08 is 7-bit text,
  // 0x98 UCS-2, 0x4X to 0x7X take bits 4..5.
  m = flat("0791947101670000000B919761214365F7000832211332958500060041D83DDE00");
  EXPECT_EQ(SMS_FLAT_TEXT, m.format);
  m = flat("0791947101670000000B919761214365F7009832211332958500060041D83DDE00");
  EXPECT_EQ(SMS_FLAT_UCS2, m.format);
  EXPECT_EQ(6u, m.text_length);
  EXPECT_EQ(0, std::memcmp("\x00\x41\xD8\x3D\xDE\x00", m.text, 6));
  // The DCS reading of this layer: 01xx takes bits 4..5, so 0x48 is text.
  EXPECT_EQ(SMS_FLAT_TEXT, flat("0011000B916407281553F80048AA0AE8329BFD4697D9EC37").format);
  // A number of 17 digits or more is left empty, the reading one octet back.
  m = flat("000412910000000000000000050000217021510000000141");
  EXPECT_STREQ("", m.address);

  flat("0791447758100650440C9194710167000000003211504120904006040102010300", SMS_ERR_UNSUPPORTED);
  EXPECT_TRUE(vt::logged("Multi part SMS are not available yet"));
  flat("0791447758100650062A0D91945111325476F8425071800300804250718003508000", SMS_ERR_UNSUPPORTED);
  EXPECT_TRUE(vt::logged("Decoding this message is not supported TP-MTI 2."));
  flat("0011000B916407281553F80080AA0AE8329BFD4697D9EC37", SMS_ERR_FAULT);
  EXPECT_TRUE(vt::logged("this encoding is not supported (tpDcs 128)"));
  flat("0011000B916407281553F8001FAA0AE8329BFD4697D9EC37", SMS_ERR_UNSUPPORTED);
  EXPECT_TRUE(vt::logged("Message format not supported."));
  flat("0011000B916407281553F800F4AAA1E8329BFD4697D9EC37", SMS_ERR_OVERFLOW);
  EXPECT_TRUE(vt::logged("Overflow occurs when converting 8bits to 8bits 161>161"));
  flat("0011000B916407281553F80000AA00", SMS_ERR_FAULT);
  EXPECT_TRUE(vt::logged("the message length 0 is <0 "));
  EXPECT_TRUE(vt::logged("Could not decode GSM PDU message"));
}

TEST(SmsFlat, EncodesSubmitsWithTodayAsValidity) {
  setenv("TZ", "CST-8", 1);
  tzset();
  sms_pdu_buffer out = flat_pdu("hellohello", 0);
  EXPECT_TRUE(vt::logged("Udhi not supported"));
  Bytes pdu(out.pdu, out.pdu + out.length);
  sms_message_record r = decoded(pdu, SMS_DIRECTION_MO);
  const sms_submit_record &s = r.body.submit;
  EXPECT_EQ(SMS_VALIDITY_ABSOLUTE, s.validity.format);
  EXPECT_EQ(32, s.validity.period.timestamp.zone);  // +8 hours
  time_t now = time(nullptr);
  tm local{};
  localtime_r(&now, &local);
  // The year comes out one too high, and the submit decoder takes one off
  // the byte.
  EXPECT_EQ(sms_ts_int_to_bcd(static_cast<uint8_t>(local.tm_year - 99)) - 1,
            s.validity.period.timestamp.year);
  EXPECT_EQ("hellohello", gref::utf8(septets_text(s.user_data.sm_data, s.user_data.sm_len)));
  gref::Message g = gref::decode(pdu);
  EXPECT_EQ("+46708251358", g.number);
  EXPECT_EQ("hellohello", gref::utf8(g.text));

  // A zone of ten hours is 0x10 times 4: the validity is left out.
  setenv("TZ", "<+10>-10", 1);
  tzset();
  EXPECT_EQ(out.length - 7, flat_pdu("hellohello", 0).length);
  EXPECT_TRUE(vt::logged("Timezone is out of bound: 64"));
  unsetenv("TZ");
  tzset();
}

TEST(SmsFlat, EncodesTextPartsAndRefusals) {
  // A deliver has its zero time stamp before PID and DCS.
  sms_pdu_buffer out = flat_pdu("Hi", 0, 0);
  EXPECT_EQ(
      "0791447758100650"
      "00"
      "0B916407281553F8"
      "000000000000000000"
      "02C834",
      hex(out.pdu, out.length));

  // 160 characters fill the message; an escape among them does not fit.
  sms_pdu_buffer full = flat_pdu(std::string(160, 'a'), 0);
  EXPECT_EQ(0xA0, full.pdu[full.length - 141]);
  flat_pdu(std::string(159, 'a') + "[", 0, 1, 0, SMS_ERR_OVERFLOW);
  EXPECT_TRUE(vt::logged("Overflow occurs when converting 8bits to 7bits"));
  flat_pdu(std::string(161, 'a'), 0, 1, 0, SMS_ERR_FAULT);
  EXPECT_TRUE(
      vt::logged("Message cannot be encoded, message with length > 160 are not supported yet"));

  // Latin-1 folded to septets: é, and Œ as an escape and "V".
  out = flat_pdu("\xE9\x8C", 0, 0);
  Bytes udl_and_data(out.pdu + out.length - 4, out.pdu + out.length);
  EXPECT_EQ("03858D15", hex(udl_and_data));

  // Parts of a long message: 8-bit reference for UCS-2, the 16-bit form for
  // 7-bit text.
  out = flat_pdu(std::string("\x00\x41", 2), 2, 1, 0x01420203);
  EXPECT_TRUE(vt::logged("==EncodeGsmPdu sms is long ==\n"));
  EXPECT_EQ(
      "08050003420302"
      "0041",
      hex(out.pdu + out.length - 9, 9));
  out = flat_pdu("AB", 0, 1, 0x01420203);
  EXPECT_EQ(
      "0A06080410080302"
      "4121",
      hex(out.pdu + out.length - 10, 10));

  flat_pdu("x", 0, 1, 0, SMS_ERR_FAULT, "+1234567890123456789");
  EXPECT_TRUE(vt::logged("Address is too long 20. should be at max 17"));
  flat_pdu("x", 3, 1, 0, SMS_ERR_FAULT);
  EXPECT_TRUE(vt::logged("Invalid encoding 3."));
  flat_pdu("x", 0, 2, 0, SMS_ERR_UNSUPPORTED);
  EXPECT_TRUE(vt::logged("Message Type not supported"));
  flat_pdu(std::string(137, 'x'), 1, 1, 0x01420203, SMS_ERR_OVERFLOW);
  EXPECT_TRUE(vt::logged("Overflow occurs when copying 8bits PDU"));
  EXPECT_TRUE(vt::logged("Could not encode GSM PDU message"));

  uint8_t pdu[200];
  uint32_t length = sizeof pdu;
  EXPECT_EQ(0, SMS_SendEncode2Pdu("+46708251358", reinterpret_cast<const uint8_t *>("Hi"), 2, 1, "",
                                  pdu, &length, 0));
  EXPECT_EQ(0x01, pdu[0]);  // an empty service centre is a length octet 1
  uint32_t small = 10;
  EXPECT_EQ(1, SMS_SendEncode2Pdu("+46708251358", reinterpret_cast<const uint8_t *>("Hi"), 2, 1, "",
                                  pdu, &small, 0));
}

TEST(SmsAssembly, AddressesFromDialText) {
  struct Case {
    const char *number;
    const char *type;
    int mode;
    int result;
    uint32_t number_type, number_plan;
    std::vector<uint8_t> digits;
  };
  const Case cases[] = {
      {"+4930123", nullptr, 1, 1, 1, 1, {4, 9, 3, 0, 1, 2, 3}},
      {"*100#", nullptr, 1, 1, 0, 1, {10, 1, 0, 0, 11}},
      {"*100#", nullptr, 0, 0, 0, 1, {'*', 1, 0, 0, '#'}},
      {"abc", nullptr, 1, 1, 0, 1, {12, 13, 14}},
      {"12d", nullptr, 1, 0, 0, 1, {1, 2, 'd'}},
      {"12D", nullptr, 0, 1, 0, 1, {1, 2, 13}},
      {"+123", "129", 1, 1, 1, 1, {1, 2, 3}},
      {"123", "A1", 0, 1, 2, 1, {1, 2, 3}},
      {"123", "300", 1, 0, 0, 0, {}},
      {"12+3", nullptr, 1, 0, 0, 1, {1, 2}},
      {"123456789012345678901", nullptr, 1, 0, 0, 1, {}},
      {"", nullptr, 1, 0, 0, 1, {}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.number);
    sms_address_record a;
    EXPECT_EQ(c.result, vorn_sms_str_to_addr(&a, c.number, c.type, c.mode));
    EXPECT_EQ(c.number_type, a.number_type);
    EXPECT_EQ(c.number_plan, a.number_plan);
    if (!c.digits.empty()) {
      EXPECT_EQ(0x10000000u, a.number_mode);
      EXPECT_EQ(hex(c.digits), hex(a.digits, a.number_of_digits));
    }
  }
  EXPECT_TRUE(vt::logged("No Number available"));
  const int formats[] = {2, 1, 3, 4, 0};
  for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(formats[i], vorn_sms_convert_format(i));

  sms_address_record a{};
  a.number_of_digits = 49;
  char text[SMS_ADDRESS_TEXT_SIZE];
  EXPECT_EQ(-1, DecodeAddrToStr(a, text, nullptr));
}

TEST(SmsAssembly, FieldsFromAtParameters) {
  sms_validity_record v{};
  EXPECT_EQ(1, string_to_timestamp(17, nullptr, &v));
  EXPECT_EQ(SMS_VALIDITY_RELATIVE, v.format);
  EXPECT_EQ(0x01, v.period.timestamp.day);  // 167: one day
  EXPECT_EQ(1, string_to_timestamp(17, "11", &v));
  EXPECT_EQ(0x01, v.period.timestamp.hour);
  EXPECT_EQ(1, string_to_timestamp(1, "-1", &v));
  EXPECT_EQ(SMS_VALIDITY_NONE, v.format);
  EXPECT_EQ(0, string_to_timestamp(1, "167", &v));
  EXPECT_EQ(0, string_to_timestamp(9, nullptr, &v));
  EXPECT_EQ(1, string_to_timestamp(25, "24/12/31,23:59:58-20", &v));
  EXPECT_EQ(SMS_VALIDITY_ABSOLUTE, v.format);
  EXPECT_EQ(0x31, v.period.timestamp.day);
  EXPECT_EQ(-20, v.period.timestamp.zone);
  for (const char *bad : {"24/13/31,23:59:58+00", "24/12/31,23:59:58+80", "2412/31,23:59:58+00",
                          "24/12/31 23:59:58+00", "24/12/31,23:59:58*00"}) {
    EXPECT_EQ(0, string_to_timestamp(25, bad, &v)) << bad;
  }

  sms_message_record r{};
  r.kind = SMS_KIND_SUBMIT;
  r.body.submit.flags = 0xF0;
  EXPECT_EQ(0, vorn_sms_fill_pdu_fields(&r, 0xE5, 0x41, 0x08, nullptr));
  EXPECT_EQ(0xFF, r.body.submit.flags);
  EXPECT_EQ(100u, r.body.submit.message_reference);
  EXPECT_EQ(0x41u, r.body.submit.pid);
  EXPECT_EQ(SMS_ALPHABET_UCS2, r.body.submit.dcs.alphabet);
  EXPECT_EQ(0, vorn_sms_fill_pdu_fields(&r, -1, 0, 0x00, "11"));
  EXPECT_EQ(0xF0, r.body.submit.flags);
  EXPECT_EQ(SMS_VALIDITY_RELATIVE, r.body.submit.validity.format);     // 17 for none
  EXPECT_EQ(0, vorn_sms_fill_pdu_fields(&r, 0x09, 0, 0x00, nullptr));  // enhanced: not taken
  r.kind = SMS_KIND_DELIVER;
  EXPECT_EQ(0, vorn_sms_fill_pdu_fields(&r, 0x00, 0, 0x00, nullptr));
  EXPECT_EQ(SMS_DELIVER_MMS, r.body.deliver.flags);
  EXPECT_EQ(0, vorn_sms_fill_pdu_fields(&r, 0xE4, 0, 0x00, nullptr));
  EXPECT_EQ(SMS_DELIVER_RP | SMS_DELIVER_UDHI | SMS_DELIVER_SRI, r.body.deliver.flags);
  r.kind = SMS_KIND_COMMAND;
  EXPECT_EQ(SMS_ERR_UNSUPPORTED, vorn_sms_fill_pdu_fields(&r, 0, 0, 0, nullptr));
}

TEST(SmsAssembly, UserDataFromText) {
  struct Case {
    std::string text;
    int32_t fo;
    uint8_t dcs;
    uint32_t chset;
    int result;
    std::string sm_data;  // hex
    const char *log;
  };
  const Case cases[] = {
      {"Hi @home [1]", -1, 0x00, SMS_CHSET_IRA, 1, "48692000686F6D65201B3C311B3E", nullptr},
      {"0048004903A3", -1, 0x00, SMS_CHSET_UCS2, 1, "484918", nullptr},
      {"20AC", -1, 0x00, SMS_CHSET_UCS2, 1, "1B65", nullptr},
      {std::string("\x48\x00", 2), -1, 0x00, SMS_CHSET_GSM, 1, "4800", nullptr},
      {"00480069", -1, 0x08, SMS_CHSET_IRA, 1, "00480069", nullptr},
      {"0A0B", 0x51, 0x00, SMS_CHSET_IRA, 1, "0A0B", nullptr},
      {"ABC", -1, 0x04, SMS_CHSET_IRA, 0, "", "invalid len:3"},
      {"Hi", -1, 0x00, 4, 0, "", "wrong cscs value:4"},
      {std::string(161, 'a'), -1, 0x00, SMS_CHSET_IRA, 0, "", "data too long:161"},
      {"\xE1", -1, 0x00, SMS_CHSET_IRA, 0, "", "Inconvertible character in SMS text"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.text);
    sms_user_data_record ud{};
    EXPECT_EQ(c.result,
              vorn_sms_encode_data(&ud, c.text.c_str(), static_cast<uint32_t>(c.text.size()), c.fo,
                                   c.dcs, c.chset));
    if (c.result == 1) {
      EXPECT_EQ(c.sm_data, hex(ud.sm_data, ud.sm_len));
    }
    if (c.log != nullptr) {
      EXPECT_TRUE(vt::logged(c.log));
    }
    EXPECT_EQ(0, g_ext_char);
  }
  // '@' is septet 0, the brackets are escapes: 12 characters, 14 septets.
  sms_user_data_record ud{};
  ASSERT_EQ(1, vorn_sms_encode_data(&ud, "Hi @home [1]", 12, -1, 0x00, SMS_CHSET_IRA));
  EXPECT_EQ(14, ud.sm_len);
  EXPECT_EQ(u"Hi @home [1]", septets_text(ud.sm_data, ud.sm_len));

  // 160 characters with three escapes are 163 septets: the encoder refuses.
  sms_message_record r = message(SMS_KIND_SUBMIT, 0x11, 0x00, "+4915112345678");
  std::string text = std::string(157, 'a') + "{|}";
  ASSERT_EQ(1, vorn_sms_encode_data(&user_data(r), text.c_str(), 160, -1, 0x00, SMS_CHSET_IRA));
  EXPECT_EQ(163, user_data(r).sm_len);
  uint8_t out[200];
  uint32_t length = 0;
  EXPECT_EQ(SMS_ERR_FAULT, vorn_sms_encode(1, out, sizeof out, &r, &length));

  // A TPDU given as hex behind the service centre of the record.
  EXPECT_EQ(0, vorn_sms_encode_pdu(out, sizeof out, &r.sc_address, "11000B916407281553F80000AA0161",
                                   15, &length));
  EXPECT_EQ("07914477581006501100", hex(out, 10));
  EXPECT_EQ(23u, length);
  EXPECT_EQ(-3, vorn_sms_encode_pdu(out, sizeof out, &r.sc_address, "11XX", 2, &length));
  EXPECT_EQ(SMS_ERR_OVERFLOW, vorn_sms_encode_pdu(out, 10, &r.sc_address, "110011", 3, &length));
}

TEST(SmsAssembly, DecodesForApplications) {
  Bytes pdu = unhex("07911326040000F0040B911346610089F60000208062917314080CC8F71D14969741F977FD07");
  sms_decode_context c{};
  c.pdu = pdu.data();
  c.pdu_length = static_cast<uint32_t>(pdu.size());
  ASSERT_EQ(0, SMS_Decode(&c));
  EXPECT_EQ(1u, c.is_deliver);
  EXPECT_EQ(0u, c.not_7bit);
  EXPECT_STREQ("+31641600986", c.sender);
  EXPECT_STREQ("02/08/26,19:37:41+00", c.timestamp);
  EXPECT_EQ(12u, c.text_length);
  EXPECT_EQ(0, std::memcmp("How are you?", c.text, 12));  // septets of ASCII letters

  pdu = unhex("0011000B916407281553F80008AA0400480069");
  c = {};
  c.pdu = pdu.data();
  c.pdu_length = static_cast<uint32_t>(pdu.size());
  ASSERT_EQ(0, SMS_Decode(&c));
  EXPECT_EQ(0u, c.is_deliver);
  EXPECT_EQ(1u, c.not_7bit);
  EXPECT_STREQ("+46708251358", c.sender);
  EXPECT_EQ(4u, c.text_length);

  pdu = unhex("0791447758100650");
  c = {};
  c.pdu = pdu.data();
  c.pdu_length = static_cast<uint32_t>(pdu.size());
  EXPECT_EQ(1, SMS_Decode(&c));
  EXPECT_TRUE(vt::logged("=====sms decode fail ========\n"));

  char hex_text[8];
  const uint8_t bytes[] = {0x00, 0xAB, 0x5C};
  HexToAscii(bytes, hex_text, 3);
  EXPECT_STREQ("00AB5C", hex_text);
  HexToAscii(nullptr, hex_text, 3);
  EXPECT_TRUE(vt::logged("src or dest is NULL\n"));
  HexToAscii(bytes, hex_text, 0);
  EXPECT_TRUE(vt::logged("length is NULL\n"));
}

}  // namespace
