// Field codecs: time stamps, validity periods, data coding scheme, addresses.
#include <cstring>

#include "sms_test.h"
#include "vornpal_test.h"

namespace {

using namespace smst;

bool operator==(const sms_timestamp &a, const sms_timestamp &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

std::string text0(const sms_timestamp &ts) {
  char text[SMS_TIMESTAMP_TEXT_SIZE];
  dsatetsismsi_timestamp(ts, text);
  return text;
}

TEST(SmsFields, TimestampsAreRepairedOnDecodingAndRefusedOnEncoding) {
  struct Case {
    const char *wire;
    sms_timestamp decoded;
    const char *log;
  };
  const Case cases[] = {
      {"42211332958580", {0x24, 0x12, 0x31, 0x23, 0x59, 0x58, 8}, nullptr},
      {"42211332958588", {0x24, 0x12, 0x31, 0x23, 0x59, 0x58, -8}, nullptr},
      {"4221133295858C", {0x24, 0x12, 0x31, 0x23, 0x59, 0x58, -48}, nullptr},
      {"42211332958577", {0x24, 0x12, 0x31, 0x23, 0x59, 0x58, 0}, "Timezone is out of bound: 77"},
      {"42311332958500", {0x24, 0x01, 0x31, 0x23, 0x59, 0x58, 0}, "Month is invalid: 13"},
      {"42210032958500", {0x24, 0x12, 0x01, 0x23, 0x59, 0x58, 0}, "Day is invalid: 0"},
      {"42211352958500", {0x24, 0x12, 0x31, 0x00, 0x59, 0x58, 0}, "Hour is too large: 25"},
      {"42211332068500", {0x24, 0x12, 0x31, 0x23, 0x00, 0x58, 0}, "Minute is too large: 60"},
      {"AF211332958500",
       {0x00, 0x12, 0x31, 0x23, 0x59, 0x58, 0},
       "Invalid BCD Digits in Encoded Timestamp Year : 250"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.wire);
    sms_timestamp ts;
    EXPECT_EQ(7, DecodeTimestamp(unhex(c.wire).data(), &ts));
    EXPECT_TRUE(ts == c.decoded) << text0(ts);
    if (c.log != nullptr) {
      EXPECT_TRUE(vt::logged(c.log));
    }
    uint8_t out[7];
    if (c.log == nullptr) {
      EXPECT_EQ(7, EncodeTimestamp(&ts, out));
      EXPECT_EQ(c.wire, hex(out, 7));
    }
  }
  EXPECT_EQ(0, DecodeTimestamp(nullptr, nullptr));

  sms_timestamp ts{0x24, 0x13, 0x31, 0x23, 0x59, 0x58, 0};
  uint8_t out[7];
  EXPECT_EQ(0, EncodeTimestamp(&ts, out));
  EXPECT_TRUE(vt::logged("Month is invalid: 13"));
  ts = {0x24, 0x12, 0x31, 0x24, 0x59, 0x58, 0};
  EXPECT_EQ(0, EncodeTimestamp(&ts, out));
  EXPECT_TRUE(vt::logged("Hour is invalid: 24"));
  ts = {0x24, 0x12, 0x31, 0x23, 0x59, 0x58, 57};
  EXPECT_EQ(0, EncodeTimestamp(&ts, out));
  EXPECT_TRUE(vt::logged("Timezone is out of bound: 57"));

  ts = {0x24, 0x12, 0x31, 0x23, 0x59, 0x58, -20};
  EXPECT_EQ("24/12/31,23:59:58-20", text0(ts));
  char text[SMS_TIMESTAMP_TEXT_SIZE];
  char *end = dsatsmsi_timestamp(ts, text, 1);
  EXPECT_STREQ("2024,12,31,23,59,58", text);
  EXPECT_EQ(19, end - text);
  // Bytes that are no BCD still give the 20 characters of the field.
  ts = {0xFF, 0x12, 0x31, 0x23, 0x59, 0x58, -128};
  EXPECT_EQ("FF/12/31,23:59:58-99", text0(ts));
}

TEST(SmsFields, RelativeValidityOctets) {
  struct Case {
    uint8_t octet;
    sms_timestamp period;
  };
  const Case cases[] = {
      {0, {0, 0, 0, 0x00, 0x05, 0, 0}},   {143, {0, 0, 0, 0x12, 0x00, 0, 0}},
      {144, {0, 0, 0, 0x12, 0x30, 0, 0}}, {166, {0, 0, 0, 0x23, 0x30, 0, 0}},
      {167, {0, 0, 0x01, 0, 0, 0, 0}},    {196, {0, 0x01, 0x00, 0, 0, 0, 0}},
      {197, {0, 0x01, 0x05, 0, 0, 0, 0}}, {255, {0x01, 0x02, 0x16, 0, 0, 0, 0}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(static_cast<int>(c.octet));
    sms_timestamp period{1, 1, 1, 1, 1, 1, 1};
    DecodeRelativeTime(c.octet, &period);
    EXPECT_TRUE(period == c.period);
    EXPECT_EQ(c.octet, EncodeRelativeTime(&period));
  }
  sms_timestamp minutes_720{0, 0, 0, 0x12, 0x00, 0, 0}, minutes_721{0, 0, 0, 0x12, 0x01, 0, 0};
  sms_timestamp days_31{0, 0, 0x31, 0, 0, 0, 0}, nothing{};
  EXPECT_EQ(143, EncodeRelativeTime(&minutes_720));
  EXPECT_EQ(144, EncodeRelativeTime(&minutes_721));
  EXPECT_EQ(197, EncodeRelativeTime(&days_31));
  EXPECT_EQ(255, EncodeRelativeTime(&nothing));
  DecodeRelativeTime(0, nullptr);
  EXPECT_TRUE(vt::logged("null pointer in sms_ts_decode_relative_time"));
}

TEST(SmsFields, ValidityByFormat) {
  struct Case {
    uint32_t format;
    const char *wire;
    uint8_t octets;
  };
  const Case cases[] = {
      {SMS_VALIDITY_RELATIVE, "A7", 1},
      {SMS_VALIDITY_ABSOLUTE, "42211332958580", 7},
      {SMS_VALIDITY_ENHANCED, "423C0000000000", 7},    // single shot, 60 s
      {SMS_VALIDITY_ENHANCED, "81A7000000000000", 7},  // extension octet, relative
      {SMS_VALIDITY_ENHANCED, "03214365000000", 7},    // semi-octets 12:34:56
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.wire);
    sms_validity_record validity{};
    validity.format = c.format;
    Bytes wire = unhex(c.wire);
    EXPECT_EQ(c.octets, DecodeGwValidity(wire.data(), &validity));
    uint8_t out[8] = {};
    EXPECT_EQ(c.octets, EncodeGwValidity(&validity, out));
    EXPECT_EQ(hex(Bytes(wire.begin(), wire.begin() + c.octets)), hex(out, c.octets));
  }
  sms_enhanced_validity enhanced;
  EXPECT_EQ(7, DecodeEnhancedVp(unhex("423C0000000000").data(), &enhanced));
  EXPECT_EQ(1, enhanced.single_shot);
  EXPECT_EQ(0x01, enhanced.time.minute);
  EXPECT_EQ(7, DecodeEnhancedVp(unhex("03324465000000").data(), &enhanced));
  EXPECT_EQ(0x23, enhanced.time.hour);  // 23:44:56
  sms_timestamp bad_hour{0, 0, 0, 0x24, 0, 0, 0};
  uint8_t out[3];
  EXPECT_EQ(0, EncodeEvpRelTime(&bad_hour, out));

  sms_validity_record validity{};
  validity.format = 4;
  EXPECT_EQ(0, DecodeGwValidity(unhex("00").data(), &validity));
  EXPECT_TRUE(vt::logged("Invalid TP-VPF"));
  validity.format = SMS_VALIDITY_ABSOLUTE;
  validity.period.timestamp = {0x24, 0x13, 0x01, 0, 0, 0, 0};
  EXPECT_EQ(0, EncodeGwValidity(&validity, out));
}

TEST(SmsFields, DataCodingScheme) {
  struct Case {
    uint8_t octet;
    sms_dcs_record dcs;  // raw_dcs left out
    uint8_t encoded;
  };
  const Case cases[] = {
      {0x00, {4, 0, 0, 0, 0, 0, 0}, 0x00}, {0x08, {4, 0, 2, 0, 0, 0, 0}, 0x08},
      {0x0C, {4, 0, 0, 0, 0, 0, 0}, 0x00}, {0x36, {2, 1, 1, 0, 0, 0, 0}, 0x36},
      {0xF5, {1, 0, 1, 3, 0, 0, 0}, 0xF5}, {0xC8, {4, 0, 0, 1, 1, 0, 0}, 0xC8},
      {0xEB, {4, 0, 2, 2, 1, 3, 0}, 0xEB}, {0x80, {4, 0, 0, 0, 0, 0, 0}, 0x00},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(static_cast<int>(c.octet));
    sms_dcs_record dcs;
    EXPECT_EQ(1, DecodeDcs(&c.octet, &dcs));
    EXPECT_EQ(c.octet, dcs.raw_dcs);
    EXPECT_EQ(c.dcs.msg_class, dcs.msg_class);
    EXPECT_EQ(c.dcs.is_compressed, dcs.is_compressed);
    EXPECT_EQ(c.dcs.alphabet, dcs.alphabet);
    EXPECT_EQ(c.dcs.msg_waiting, dcs.msg_waiting);
    EXPECT_EQ(c.dcs.msg_waiting_active, dcs.msg_waiting_active);
    EXPECT_EQ(c.dcs.msg_waiting_kind, dcs.msg_waiting_kind);
    uint8_t out = 0;
    EXPECT_EQ(1, EncodeDcs(&dcs, &out));
    EXPECT_EQ(c.encoded, out);
  }
  EXPECT_TRUE(vt::logged("Invalid DCS: 80"));
  EXPECT_EQ(0, DecodeDcs(nullptr, nullptr));

  // The AT reading keeps the reserved alphabet at 7-bit and reads group
  // 1111 without message waiting.
  sms_dcs_record at{};
  DecodeSmsDcs(0xF6, &at);
  EXPECT_EQ(SMS_ALPHABET_8BIT, at.alphabet);
  EXPECT_EQ(SMS_MSG_WAITING_NONE, at.msg_waiting);
  EXPECT_EQ(2u, at.msg_class);
  DecodeSmsDcs(0xE1, &at);
  EXPECT_EQ(SMS_ALPHABET_UCS2, at.alphabet);
  EXPECT_EQ(SMS_MSG_WAITING_STORE, at.msg_waiting);
}

TEST(SmsFields, Addresses) {
  struct Case {
    const char *wire;
    uint8_t octets;
    const char *text;
  };
  const Case cases[] = {
      {"0B915121551532F4", 8, "+15125551234"},
      {"0A8160214365870000", 7, "0612345678"},
      {"00910000", 2, "+"},
      {"04A1BADC", 4, "*#AB"},                        // national, with dial signs
      {"0ED0D637396C7EBBCB", 9, "566F6461666F6E65"},  // "Vodafone", as septets
      {"149121436587092143658709", 12, "+12345678901234567890"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.wire);
    Bytes wire = unhex(c.wire);
    sms_address_record address{};
    EXPECT_EQ(c.octets, DecodeAddress(wire.data(), &address));
    char text[SMS_ADDRESS_TEXT_SIZE];
    uint8_t type = 0;
    EXPECT_EQ(0, DecodeAddrToStr(address, text, &type));
    EXPECT_STREQ(c.text, text);
    EXPECT_EQ(wire[1], type);
    uint8_t out[24];
    EXPECT_EQ(c.octets, EncodeAddress(&address, out));
    EXPECT_EQ(hex(Bytes(wire.begin(), wire.begin() + c.octets)), hex(out, c.octets));
  }
  // An odd number keeps the filler as a digit behind the count.
  sms_address_record address{};
  DecodeAddress(unhex("0B915121551532F4").data(), &address);
  EXPECT_EQ(0x0F, address.digits[11]);

  EXPECT_EQ(0, DecodeAddress(unhex("15911111111111111111111111").data(), &address));
  EXPECT_TRUE(vt::logged("Addr len too long: 21"));
  EXPECT_EQ(0, DecodeAddress(unhex("0B115121551532F4").data(), &address));
  EXPECT_TRUE(vt::logged("The most significant bit in Type-of-Address field is not 1"));
  address.number_of_digits = 21;
  uint8_t out[24];
  EXPECT_EQ(0, EncodeAddress(&address, out));
}

}  // namespace
