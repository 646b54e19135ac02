// USSD strings by their data coding scheme.
#include <vornpal/sms_user_data.h>
#include <vornpal/text_conversion.h>

#include <algorithm>
#include <vector>

#include "text_test.h"

namespace {

using namespace textt;
using Bytes = std::vector<uint8_t>;

struct Result {
  size_t written;
  std::string text;
};

Result ussd(uint8_t dcs, const Bytes &data, size_t size = 256) {
  std::string out(size, '\xAA');
  size_t written = vorn_util_convert_ussd_string_to_utf8(dcs, data.data(), data.size(),
                                                         out.data(), out.size());
  return {written, out.substr(0, written)};
}

TEST_F(TextTest, UssdReadingByDataCodingScheme) {
  // Two octets that read differently in each coding: packed septets 00 41
  // are "@" and "$"; UCS-2 00 41 is "A"; behind a language the pair keeps
  // the machine's order and reads as U+4100.
  const Bytes data = {0x00, 0x41};
  const std::string seven = "@$", eight = std::string("\0A", 2), ucs2 = "A",
                    language = "\xE4\x84\x80", none;
  struct Case {
    uint8_t dcs;
    const std::string &text;
  } cases[] = {
      {0x00, seven}, {0x0F, seven}, {0x2F, seven}, {0x3A, seven}, {0x10, seven},
      {0x11, language}, {0x12, none}, {0x1F, none}, {0x40, seven}, {0x44, eight},
      {0x48, ucs2}, {0x4C, none}, {0x7C, none}, {0x95, eight}, {0xC8, ucs2},
      {0xE0, seven}, {0x80, none}, {0xA4, none}, {0xB8, none}, {0xF0, seven},
      {0xF3, seven}, {0xF4, eight}, {0xF7, eight},
  };
  for (const Case &c : cases) {
    Result result = ussd(c.dcs, data);
    EXPECT_EQ(result.text, c.text) << "DCS " << int(c.dcs);
    EXPECT_EQ(result.written, c.text.size()) << "DCS " << int(c.dcs);
  }
  // The line logged for each reading.
  EXPECT_TRUE(vt::logged("USSD DCS 7-bit str, hi 0 lo 15: @$\n"));
  EXPECT_TRUE(vt::logged("USSD DCS UCS2 str, hi 4 lo 8: A\n"));
  EXPECT_TRUE(vt::logged("ussd string size = 2\n"));
  EXPECT_TRUE(vt::logged("ussd string size preceded by language = 2\n"));
  EXPECT_TRUE(vt::logged("USSD DCS UCS2 str, hi 1 lo 1: \xE4\x84\x80\n"));

  // The language example of a network: 00 65 00 41 reads as U+6500 "A".
  EXPECT_EQ(ussd(0x11, {0x00, 0x65, 0x00, 0x41}).text, "\xE6\x94\x80" "A");
}

TEST_F(TextTest, UssdCodingsAgainstReferences) {
  // UCS-2 is big-endian on the air: iconv's UCS-2BE reads the same.
  TEXTT_NEED_ICONV("UCS-2BE", "UTF-8");
  std::mt19937 rng(1105);
  for (int round = 0; round < 100; ++round) {
    std::string text = random_utf8(rng, 1 + round % 60, true);
    Iconv air = iconv_convert("UCS-2BE", "UTF-8", text);
    ASSERT_EQ(air.error, 0);
    Result result = ussd(0x48, Bytes(air.out.begin(), air.out.end()), text.size() + 1);
    EXPECT_EQ(result.text, text);
  }
  // An odd octet at the end is no character.
  EXPECT_EQ(ussd(0x48, {0x00, 0x48, 0x00, 0x69, 0x00}).text, "Hi");

  // A network's 7-bit answer: the padding carriage return is not text.
  const Bytes balance = {0xC2, 0x30, 0x3B, 0xEC, 0x1E, 0x97, 0x1B};  // "Balance" and CR
  EXPECT_EQ(ussd(0x0F, balance).text, "Balance");
  // The length is read as one octet: of 300 octets, 44 are read, which hold
  // 50 septets.
  Bytes long_text(300, 0x41);
  long_text[0] = 0x42;
  std::fill(long_text.begin() + 1, long_text.begin() + 44, 0);
  EXPECT_EQ(ussd(0x0F, long_text).text, "B" + std::string(49, '@'));

  // 8-bit needs a byte more than the text and its terminator.
  EXPECT_EQ(ussd(0x44, {'1', '2', '3', '4', '5'}, 7).text, "12345");
  Result small = ussd(0x44, {'1', '2', '3', '4', '5'}, 6);
  EXPECT_EQ(small.written, 0u);
  EXPECT_TRUE(vt::logged("Destination buffer (sz 6) less than required 7\n"));

  char out[8];
  EXPECT_EQ(vorn_util_convert_ussd_string_to_utf8(0x0F, nullptr, 3, out, sizeof out), 0u);
  EXPECT_EQ(vorn_util_convert_ussd_string_to_utf8(0x0F, Bytes{1}.data(), 1, nullptr, 8), 0u);
  EXPECT_EQ(vt::count_logged("FATAL : CHECK FAILED\n"), 2);

  EXPECT_EQ(vorn_util_UssdStringIsAscii("*100#"), 1);
  EXPECT_EQ(vorn_util_UssdStringIsAscii(""), 1);
  EXPECT_EQ(vorn_util_UssdStringIsAscii("*100\xC3\xA9#"), 0);
  EXPECT_EQ(vorn_util_UssdStringIsAscii(nullptr), 0);
}

}  // namespace
