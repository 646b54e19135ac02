// The GSM default alphabet against libgammu's reading of the same septets in
// an SMS deliver, and the unpacking rules of USSD data.
#include <vornpal/sms_user_data.h>
#include <vornpal/text_conversion.h>

#include <vector>

#include "gammu_ref.h"
#include "text_test.h"

namespace {

using namespace textt;
using Bytes = std::vector<uint8_t>;

constexpr uint8_t kCr = 0x0D, kEscape = 0x1B;

// Septets packed as USSD sends them: a last group of seven is filled with a
// carriage return rather than zero bits, which would read as '@'.
Bytes packed(const Bytes &septets) {
  Bytes padded = septets;
  if (padded.size() % 8 == 7) padded.push_back(kCr);
  Bytes out(padded.size(), 0);
  uint16_t octets = sms_ts_pack_gw_7_bit_chars(padded.data(), static_cast<uint16_t>(padded.size()),
                                               0, static_cast<uint16_t>(out.size()), out.data());
  out.resize(octets);
  return out;
}

// gammu's text of the septets as the user data of a deliver with DCS 0.
std::string gammu_text(const Bytes &septets) {
  Bytes pdu = {0x00, 0x04, 0x04, 0x81, 0x21, 0x43, 0x00, 0x00,
               0x52, 0x10, 0x10, 0x12, 0x00, 0x00, 0x00, static_cast<uint8_t>(septets.size())};
  Bytes user_data(septets.size(), 0);
  user_data.resize(sms_ts_pack_gw_7_bit_chars(septets.data(), static_cast<uint16_t>(septets.size()),
                                              0, static_cast<uint16_t>(user_data.size()),
                                              user_data.data()));
  pdu.insert(pdu.end(), user_data.begin(), user_data.end());
  gref::Message message = gref::decode(pdu);
  EXPECT_TRUE(message.ok);
  return gref::utf8(message.text);
}

std::string from_packed(const Bytes &octets, size_t size = 1024) {
  std::string out(size, '\xAA');
  int written = vorn_util_convert_gsm_def_alpha_string_to_utf8(
      octets.data(), static_cast<int>(octets.size()), out.data(), out.size());
  EXPECT_EQ(out[static_cast<size_t>(written)], '\0');
  return out.substr(0, static_cast<size_t>(written));
}

std::string from_septets(const Bytes &septets, size_t size = 1024) {
  std::string out(size, '\xAA');
  int written = vorn_util_convert_gsm8bit_alpha_string_to_utf8(
      septets.data(), static_cast<int>(septets.size()), out.data(), out.size());
  EXPECT_EQ(out[static_cast<size_t>(written)], '\0');
  return out.substr(0, static_cast<size_t>(written));
}

TEST_F(TextTest, GsmAlphabetReadsAsGammuReadsIt) {
  // The whole alphabet but the escape and the carriage return, in one text.
  Bytes alphabet;
  for (uint8_t septet = 0; septet < 128; ++septet)
    if (septet != kCr && septet != kEscape) alphabet.push_back(septet);
  const std::string expected = gammu_text(alphabet);
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(from_packed(packed(alphabet)), expected);
  EXPECT_EQ(from_septets(alphabet), expected);

  std::mt19937 rng(338);
  for (int round = 0; round < 300; ++round) {
    Bytes septets(1 + round % 150);
    for (uint8_t &septet : septets) {
      do septet = static_cast<uint8_t>(rng() % 128);
      while (septet == kCr || septet == kEscape);
    }
    EXPECT_EQ(from_packed(packed(septets)), gammu_text(septets)) << "round " << round;
  }
}

TEST_F(TextTest, GsmEscapesAndCarriageReturns) {
  // gammu reads the extension table; here an escape is a blank and the
  // septet behind it reads from the default table.
  const Bytes escaped = {'A', kEscape, 0x28, 'B'};
  EXPECT_EQ(gammu_text(escaped), "A{B");
  EXPECT_EQ(from_packed(packed(escaped)), "A (B");
  EXPECT_EQ(from_packed(packed({'A', 'B', kEscape})), "AB ");  // escape at the end

  EXPECT_EQ(from_packed(packed({'o', 'k', kCr, '\n', 'x'})), "ok\nx");
  EXPECT_TRUE(vt::logged("ignored CR charecter at index = 2\n"));

  // Septets one a byte: values above 127 pass as they are; a two-byte
  // character that no longer fits is dropped, one-byte ones still go in.
  EXPECT_EQ(from_septets({'a', 0xE9, 'b'}), "a\xE9" "b");
  EXPECT_EQ(from_septets({'A', 0x10, 'B', 'C'}, 4), "A\xCE\x94");
  EXPECT_EQ(from_septets({'A', 0x10, 'B', 'C'}, 3), "AB");
  EXPECT_EQ(from_septets({'A'}, 1), "");
  char out[4] = "xyz";
  EXPECT_EQ(vorn_util_convert_gsm8bit_alpha_string_to_utf8(nullptr, 3, out, sizeof out), 0);
  EXPECT_TRUE(
      vt::logged("Invalid parameters for GSM alphabet to UTF8 conversion, input len = 3\n"));
  EXPECT_EQ(vorn_util_convert_gsm_def_alpha_string_to_utf8(Bytes{1}.data(), 0, out, sizeof out), 0);
  EXPECT_TRUE(
      vt::logged("Invalid parameters for GSM alphabet to UTF8 conversion, input len = 0\n"));
}

TEST_F(TextTest, UssdUnpacking) {
  uint8_t septets[300];
  // Seven octets carry eight septets; a carriage return as the eighth is the
  // padding of a seven-septet text.
  const Bytes seven = packed({'H', 'e', 'l', 'l', 'o', '!', '?'});
  ASSERT_EQ(seven.size(), 7u);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 100, seven.data(), 7), 7);
  EXPECT_EQ(Bytes(septets, septets + 7), Bytes({'H', 'e', 'l', 'l', 'o', '!', '?'}));
  const Bytes eight = packed({'H', 'e', 'l', 'l', 'o', '!', '?', '.'});
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 100, eight.data(), 7), 8);
  EXPECT_EQ(septets[7], '.');
  // Only the last group's: a carriage return inside the text stays.
  const Bytes inner = packed({'a', 'b', 'c', 'd', 'e', 'f', 'g', kCr, 'h'});
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 100, inner.data(), static_cast<int>(inner.size())), 9);
  EXPECT_EQ(septets[7], kCr);

  // The capacity caps the septets; beyond 254 or below 0 it is 255.
  Bytes many(300, 0x41);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 3, many.data(), 300), 3);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 254, many.data(), 300), 254);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 1000, many.data(), 300), 255);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, -1, many.data(), 300), 255);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 0, many.data(), 300), 0);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 100, many.data(), 0), 0);
  EXPECT_EQ(vorn_util_ussd_unpack(septets, 100, nullptr, 5), 0);

  // Long packed text: the septets past the 255th are not read.
  Bytes long_text(250, 'x');
  EXPECT_EQ(from_packed(packed(long_text)).size(), 250u);
  long_text.resize(300, 'y');
  EXPECT_EQ(from_packed(packed(long_text)), std::string(250, 'x') + std::string(5, 'y'));
}

}  // namespace
