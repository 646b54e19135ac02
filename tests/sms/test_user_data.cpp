// User data: header elements, septet packing with fill bits, the tables.
#include <algorithm>
#include <cstring>

#include "sms_test.h"
#include "vornpal_test.h"

namespace {

using namespace smst;

Bytes header_wire(const std::vector<sms_udh_element> &elements) {
  uint8_t out[300] = {};
  uint8_t udhl =
      sms_ts_encode_user_data_header(static_cast<uint8_t>(elements.size()), elements.data(), out);
  return Bytes(out, out + udhl + 1);
}

struct DecodedHeader {
  uint8_t result;
  uint8_t count;
  sms_udh_element headers[SMS_MAX_UD_HEADERS];
};

DecodedHeader read_header(const Bytes &wire, uint8_t length = 140) {
  DecodedHeader h{};
  h.count = 99;
  h.result = DecodeUserDataHeader(length, wire.data(), &h.count, h.headers);
  return h;
}

sms_udh_element element(uint32_t id) {
  sms_udh_element e{};
  e.header_id = id;
  return e;
}

TEST(SmsUserData, EveryElementTypeRoundTrips) {
  std::vector<std::pair<sms_udh_element, std::string>> cases;  // element, wire ("" = not checked)
  auto add = [&](const sms_udh_element &e, const char *wire) { cases.emplace_back(e, wire); };
  add(concat8(7, 3, 2), "0003070302");
  sms_udh_element e = element(SMS_UDH_SPECIAL_SM);
  e.body.special_sm = {2, 0, 5};
  add(e, "01028005");
  e = element(SMS_UDH_PORT_8);
  e.body.port_8 = {226, 226};
  add(e, "0402E2E2");
  e = element(SMS_UDH_PORT_16);
  e.body.port_16 = {2948, 9200};
  add(e, "05040B8423F0");
  add(concat16(0x2345, 2, 1), "080423450201");
  e = element(SMS_UDH_TEXT_FORMATTING);
  e.body.text_formatting = {3, 10, 2, 1, 1, 0, 1, 1, 1, 5, 10};
  add(e, "0A04030AD6A5");
  e = element(SMS_UDH_PRE_DEF_SOUND);
  e.body.pre_def_sound = {4, 7};
  add(e, "0B020407");
  e = element(SMS_UDH_USER_DEF_SOUND);
  e.body.user_def_sound.data_length = 3;
  e.body.user_def_sound.position = 1;
  std::memset(e.body.user_def_sound.sound_data, 0xFF, 128);
  std::memcpy(e.body.user_def_sound.sound_data, "\x11\x22\x33", 3);
  add(e, "0C0401112233");
  e = element(SMS_UDH_PRE_DEF_ANIM);
  e.body.pre_def_anim = {2, 9};
  add(e, "0D020209");
  for (uint32_t id :
       {SMS_UDH_LARGE_ANIM, SMS_UDH_SMALL_ANIM, SMS_UDH_LARGE_PICTURE, SMS_UDH_SMALL_PICTURE}) {
    e = element(id);
    std::memset(&e.body, 0x5A, sizeof e.body.large_anim);
    add(e, "");
  }
  e = element(SMS_UDH_VAR_PICTURE);
  e.body.var_picture.position = 1;
  e.body.var_picture.width = 16;
  e.body.var_picture.height = 2;
  std::memcpy(e.body.var_picture.data, "\xF0\x0F\xAA\x55", 4);
  add(e, "12070102 02F00FAA55");
  e = element(SMS_UDH_USER_PROMPT);
  e.body.user_prompt.number_of_objects = 3;
  add(e, "130103");
  e = element(SMS_UDH_EXTENDED_OBJECT);
  e.body.eo = {5, {1, 2, 3, 4, 5}, 1, 9, 300, 1, 2, 10};
  add(e, "140C09012C0102000A0102030405");
  e = element(SMS_UDH_RFC822);
  e.body.rfc822.header_length = 12;
  add(e, "20010C");
  e = element(SMS_UDH_NAT_LANG_SS);
  e.body.nat_lang_ss.language = 1;
  add(e, "240101");
  e = element(SMS_UDH_NAT_LANG_LS);
  e.body.nat_lang_ls.language = 3;
  add(e, "250103");
  e = element(2);  // no known type: kept as it stands
  e.body.other.data_length = 3;
  std::memcpy(e.body.other.data, "abc", 3);
  add(e, "0203616263");

  for (const auto &[original, wire] : cases) {
    SCOPED_TRACE(original.header_id);
    Bytes bytes = header_wire({original});
    EXPECT_EQ(sms_ts_get_udh_length(&original) + 1, bytes.size());
    EXPECT_EQ(ComputeUserDataHeaderLength(1, &original), bytes.size());
    std::string expected = wire;
    expected.erase(std::remove(expected.begin(), expected.end(), ' '), expected.end());
    if (!expected.empty()) {
      EXPECT_EQ(expected, hex(bytes).substr(2));
    }
    DecodedHeader h = read_header(bytes);
    ASSERT_EQ(bytes[0], h.result);
    ASSERT_EQ(1, h.count);
    EXPECT_EQ(original.header_id, h.headers[0].header_id);
    EXPECT_EQ(hex(bytes), hex(header_wire({h.headers[0]})));
  }
  // Unwritten sound data reads 0xFF.
  DecodedHeader sound = read_header(unhex("050C03011122"));
  EXPECT_EQ(0xFF, sound.headers[0].body.user_def_sound.sound_data[2]);
  EXPECT_EQ(0x2345, read_header(unhex("06080423450201")).headers[0].body.concat_16.msg_ref);
}

TEST(SmsUserData, HeadersThatCannotBeRead) {
  struct Case {
    const char *wire;
    uint8_t length;
    uint8_t result;
    bool bad_element;  // an element's reader refused: no headers at all
    const char *log;   // nullptr: nothing of its own
  };
  const Case cases[] = {
      {"050003070203", 140, 0, true, "UDH Header Contact 8 with out of bound max messages"},
      {"0400020702", 140, 0, true, "UDH Header Concat 8 Present with invalid data length = 2"},
      {"03820400", 140, 0, false, nullptr},  // the element runs past the header
      {"0A00", 10, 255, false, "Invalid UDHL 10 (exceeds UD length 10)"},
      {"0100", 140, 0, false, "SMS UDH could not be decoded"},
      {"00", 140, 0, false, "null pointer in sms_ts_decode_user_data_header"},
      {"03240100", 140, 0, true, "SMS UDH National Lang Single Shift Present with invalid id = 0"},
      {"03250104", 140, 0, true, "SMS UDH National Lang Locking Shift Present with invalid id = 4"},
      {"0712050100020000", 140, 0, true,
       "SMS UDH Header Var Picture, pic size value mismatch with heigt and weight"},
      {"0A1403AABBCC0005", 140, 0, true, "Invalid IEDL: pos(6) + iedl(5) + 2 > UDHL(10) + 1"},
      {"021400", 140, 0, true, "SMS UDH Extended Object present with no Data"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.wire);
    Bytes wire = unhex(c.wire);
    wire.resize(16, 0);
    DecodedHeader h = read_header(wire, c.length);
    EXPECT_EQ(c.result, h.result);
    EXPECT_EQ(c.bad_element ? 0 : 99, h.count);
    if (c.log != nullptr) {
      EXPECT_TRUE(vt::logged(c.log));
    }
  }
  EXPECT_TRUE(vt::logged("Bad UDH: pos=1, data[pos]=0"));
  EXPECT_TRUE(vt::logged("sms_ts_udh_decode_first_seg_check failed"));

  // A user defined sound of 129 octets is read, of 130 not.
  Bytes sound = unhex("830C81");
  sound.resize(0x84, 0x33);
  EXPECT_EQ(0x83, read_header(sound).result);
  sound = unhex("840C82");
  sound.resize(0x85, 0x33);
  EXPECT_EQ(0, read_header(sound).result);
  EXPECT_TRUE(vt::logged("Max Size Exceed Header id 12 "));

  // An eighth element is dropped, not an error.
  Bytes prompts = {24};
  for (int i = 0; i < 8; ++i)
    prompts.insert(prompts.end(), {SMS_UDH_USER_PROMPT, 1, static_cast<uint8_t>(i)});
  DecodedHeader h = read_header(prompts);
  EXPECT_EQ(24, h.result);
  EXPECT_EQ(7, h.count);
  EXPECT_EQ(6, h.headers[6].body.user_prompt.number_of_objects);

  // In a later segment of a 16-bit concatenation an extended object is all
  // content.
  h = read_header(unhex("0B0804000102021403AABBCC"));
  ASSERT_EQ(2, h.count);
  EXPECT_EQ(0, h.headers[1].body.eo.first_segment);
  EXPECT_EQ(3, h.headers[1].body.eo.content_length);

  // Concatenation elements that no message can carry are left out on writing.
  EXPECT_EQ("050003010101", hex(header_wire({concat8(1, 0, 1), concat8(1, 1, 1)})));
  EXPECT_TRUE(vt::logged("SMS UDH Header id 0 Present with no Data"));
}

TEST(SmsUserData, SeptetsFollowTheHeaderAfterFillBits) {
  sms_dcs_record seven{};
  sms_user_data_record ud{};
  ud.sm_len = 1;
  ud.sm_data[0] = 'A';
  uint8_t out[200];
  // A six-octet header (UDHL 5) is 48 bits: one fill bit before the text.
  ud.num_headers = 1;
  ud.headers[0] = concat8(7, 2, 1);
  EXPECT_EQ(8, EncodeUserData(&seven, &ud, out));
  EXPECT_EQ(
      "08050003070201"
      "82",
      hex(out, 8));
  // A seven-octet header (UDHL 6) is 56 bits: no fill.
  ud.headers[0] = concat16(7, 2, 1);
  EXPECT_EQ(9, EncodeUserData(&seven, &ud, out));
  EXPECT_EQ(
      "0906080400070201"
      "41",
      hex(out, 9));
  sms_user_data_record back;
  EXPECT_EQ(8, DecodeGwUserData(&seven, 9, out + 1, 1, &back));
  EXPECT_EQ(1, back.sm_len);
  EXPECT_EQ('A', back.sm_data[0]);

  // 160 septets behind a six-octet header would need 147 octets.
  ud.headers[0] = concat8(7, 2, 1);
  ud.sm_len = 160;
  EXPECT_EQ(147u, ComputeUserDataLength(&seven, &ud));
  ud.num_headers = 0;
  EXPECT_EQ(140u, ComputeUserDataLength(&seven, &ud));
  ud.sm_len = 161;
  EXPECT_EQ(141u, ComputeUserDataLength(&seven, &ud));
  ud.sm_len = 256;
  EXPECT_EQ(0, EncodeUserData(&seven, &ud, out));
  EXPECT_TRUE(vt::logged("Invalid user data"));

  // Packing and unpacking with each fill.
  Bytes text = {'h', 'e', 'l', 'l', 'o', 'h', 'e', 'l', 'l', 'o'};
  uint8_t packed[16] = {};
  EXPECT_EQ(9, sms_ts_pack_gw_7_bit_chars(text.data(), 10, 0, 16, packed));
  EXPECT_EQ("E8329BFD4697D9EC37", hex(packed, 9));
  for (uint16_t fill = 1; fill < 7; ++fill) {
    SCOPED_TRACE(fill);
    uint8_t bits[16] = {};
    uint16_t written = sms_ts_pack_gw_7_bit_chars(text.data(), 10, fill, 16, bits);
    EXPECT_EQ((fill + 70 + 7) / 8, written);
    uint8_t septets[10] = {};
    EXPECT_EQ(written,
              unpack_gw_7_bit_chars(bits, 10, 10, static_cast<uint16_t>(8 - fill), septets));
    EXPECT_EQ(hex(text), hex(septets, 10));
  }
  EXPECT_EQ(3, sms_ts_pack_gw_7_bit_chars(text.data(), 10, 0, 3, packed));
  uint8_t few[4];
  EXPECT_EQ(4, unpack_gw_7_bit_chars(unhex("E8329BFD4697D9EC37").data(), 10, 4, 0, few));
  EXPECT_TRUE(vt::logged("Not enough output buffer for unpacking"));
}

TEST(SmsUserData, TablesAndTextOfSeptets) {
  // Where the tables depart from the alphabet.
  EXPECT_EQ('?', Ascii7to8[16]);
  EXPECT_EQ(255, gsm7_to_ira[20]);
  EXPECT_EQ('(', gsm7_to_ira_ext[27]);
  EXPECT_EQ(255, gsm7_to_ira_ext[101]);  // no euro sign
  EXPECT_EQ(32, ira_to_gsm7['@']);
  EXPECT_EQ(196, ira_to_gsm7['[']);
  EXPECT_EQ(ira_to_gsm7[0xE9], ira_to_gsm7_ext[0xE9]);
  EXPECT_EQ('$', show_gsm7_to_ira['$']);
  EXPECT_EQ(2, show_gsm7_to_ira_ext['$']);
  const std::pair<int, int> ascii[] = {{12, 138},    {96, 217},    {0x8C, 0xD6}, {0xE7, 0x09},
                                       {0xF6, 0x18}, {0xFE, 0x3F}, {31, 63}};
  for (auto [from, to] : ascii) EXPECT_EQ(to, Ascii8to7[from]) << from;
  // Latin-1 back to septets is the inverse wherever both have the character.
  for (int septet = 1; septet < 128; ++septet) {
    if (gsm7_to_ira[septet] != 255 && septet != 27) {
      EXPECT_EQ(septet, ira_to_gsm7[gsm7_to_ira[septet]]) << septet;
    }
  }

  // DecodeData: escapes resolved, Greek capitals as blanks, dollars counted.
  Bytes septets;
  ASSERT_TRUE(text_septets(u"Σ $5 {x} €", septets));
  septets.push_back(0);
  char out[64];
  uint16_t before = vorn_charater_flag;
  char *end =
      DecodeData(septets.data(), static_cast<uint16_t>(septets.size() - 1), 1, out, SMS_CHSET_IRA);
  EXPECT_STREQ("  $5 {x}  ", out);
  EXPECT_EQ(out + 10, end);
  EXPECT_EQ(before + 1, vorn_charater_flag);
  Bytes octets = {0x00, 0xAB};
  DecodeData(octets.data(), 2, 0, out, 0);
  EXPECT_STREQ("00AB", out);
  Bytes umlaut = {0x7B, 0x00};  // "ä"
  DecodeData(umlaut.data(), 1, 1, out, SMS_CHSET_UCS2);
  EXPECT_STREQ("00E4", out);
}

}  // namespace
