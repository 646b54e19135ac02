// String, hexadecimal, UTF-8 and validator helpers.
#include <vornpal/strings.h>
#include <vornpal/validators.h>

#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include "vornpal_test.h"

namespace {

TEST(Strings, BoundedCopiesAndEdits) {
  char eight[10];
  std::memset(eight, 'z', sizeof eight);
  vorn_string_memcpy(eight, "abcdefgh", 8);
  EXPECT_EQ(std::string(eight, 10), std::string("abcdefgh") + "zz");
  vorn_string_memcpy(nullptr, "x", 1);
  EXPECT_TRUE(vt::logged("Invalid string parameter.\n"));

  char small[4];
  EXPECT_EQ(vorn_strlcpy(small, "abcdef", sizeof small), 6u);
  EXPECT_STREQ(small, "abc");
  char joined[8] = "ab";
  EXPECT_EQ(vorn_strlcat(joined, "cdefghij", sizeof joined), 10u);
  EXPECT_STREQ(joined, "abcdefg");
  EXPECT_EQ(vorn_strlcpy(nullptr, "x", 4), 0u);
  EXPECT_EQ(vorn_strlcat(joined, nullptr, 4), 0u);

  // Only the new text's bytes are written: a shorter result leaves the old
  // tail behind it.
  char text[32] = "eth0 up now";
  EXPECT_EQ(replace_str(text, "up", "down"), 0);
  EXPECT_STREQ(text, "eth0 down now");
  EXPECT_EQ(replace_str(text, "down", "up"), 0);
  EXPECT_STREQ(text, "eth0 up nowow");
  EXPECT_EQ(replace_str(text, "absent", "x"), -1);
  EXPECT_EQ(replace_str(text, nullptr, "x"), -1);

  char csv[] = ",a,,b";
  char *tokens[8];
  EXPECT_EQ(split_string_to_array(csv, ",", tokens, 0), 4);
  EXPECT_STREQ(tokens[1], "a");
  EXPECT_STREQ(tokens[2], "");
  char csv2[] = ",a,,b";
  EXPECT_EQ(split_string_to_array(csv2, ",", tokens, 1), 2);
  EXPECT_STREQ(tokens[0], "a");
  EXPECT_STREQ(tokens[1], "b");
  EXPECT_EQ(split_string_to_array(nullptr, ",", tokens, 0), -1);

  char quoted[16];
  EXPECT_EQ(vorn_strip_quotes_out("\"apn.net\"", quoted, sizeof quoted), 1);
  EXPECT_STREQ(quoted, "apn.net");
  EXPECT_EQ(vorn_strip_quotes_out("apn", quoted, sizeof quoted), 0);
  EXPECT_TRUE(vt::logged("The in_str must be quoted\n"));
  EXPECT_EQ(vorn_strip_quotes_out("\"apn\"x", quoted, sizeof quoted), 0);
  EXPECT_TRUE(vt::logged("String is not terminated after end quote found\n"));
  EXPECT_EQ(vorn_strip_quotes_out("\"a long name\"", quoted, 4), 0);
  EXPECT_TRUE(vt::logged("The in_str has opened quotes, or out_str is small: 4\n"));

  char padded[] = " \t value x \r\n";
  EXPECT_STREQ(vorn_trim_string(padded), "value x");
  EXPECT_EQ(vorn_trim_string(nullptr), nullptr);
  EXPECT_EQ(starts_with("RMNET_DATA0", "rmnet", 1), 1);
  EXPECT_EQ(starts_with("RMNET_DATA0", "rmnet", 0), 0);
  EXPECT_EQ(ends_with("bridge0", "E0", 1), 1);
  EXPECT_EQ(ends_with("e0", "bridge0", 1), 0);
  EXPECT_EQ(ends_with(nullptr, "x", 0), 0);
  EXPECT_EQ(tolowercase('Q'), 'q');
  EXPECT_EQ(tolowercase(0xC4), 0xC4);
  char upper[] = "imei: 35x";
  EXPECT_STREQ(vorn_string_toupper(upper), "IMEI: 35X");
}

TEST(Strings, HexadecimalConversions) {
  EXPECT_EQ(DecToHex(11), 'B');
  EXPECT_EQ(DecToHex(16), 0);
  const uint8_t bytes[] = {0x0A, 0xFF, 0x10};
  char text[7];
  EXPECT_EQ(hex_BinaryToString(bytes, 3, text, sizeof text), 6);
  EXPECT_STREQ(text, "0AFF10");
  EXPECT_EQ(vorn_hex_BinaryToString(bytes, 3, text, 6), -1);
  EXPECT_TRUE(vt::logged("Hex string array (6) is too small to convert (3) bytes\n"));

  uint8_t out[4] = {};
  EXPECT_EQ(vorn_hex_StringToBinary("0aFf10", 6, out, sizeof out), 3);
  EXPECT_EQ(std::vector<uint8_t>(out, out + 3), (std::vector<uint8_t>{0x0A, 0xFF, 0x10}));
  EXPECT_EQ(vorn_hex_StringToBinary("0aF", 3, out, sizeof out), -1);
  EXPECT_EQ(vorn_hex_StringToBinary("0011223344", 10, out, sizeof out), -1);
  EXPECT_EQ(vorn_hex_StringToBinary("zz", 2, out, sizeof out), -1);

  uint8_t ored[2] = {0x01, 0x00};
  EXPECT_EQ(vorn_change_hexstr_to_str("a0b1", ored), 0);
  EXPECT_EQ(ored[0], 0xA1);
  EXPECT_EQ(ored[1], 0xB1);
  EXPECT_EQ(vorn_change_hexstr_to_str("abc", ored), -1);
  EXPECT_EQ(vorn_change_hexstr_to_str("", ored), 0);

  EXPECT_EQ(vorn_hex_HexaToInteger("7FFFFFFF"), 0x7FFFFFFF);
  EXPECT_EQ(vorn_hex_HexaToInteger("FFFFFFF"), 0xFFFFFFF);
  EXPECT_EQ(vorn_hex_HexaToInteger("FFFFFFFF"), -1);
  EXPECT_EQ(vorn_hex_HexaToInteger("1g"), -1);
  EXPECT_EQ(vorn_hex_HexaToInteger(""), 0);
  EXPECT_EQ(htoi("0x1F"), 31);
  EXPECT_EQ(htoi("g"), 16);
  EXPECT_EQ(htoi("1A-rest"), 26);
}

TEST(Strings, Utf8CopyKeepsWholeCharacters) {
  EXPECT_EQ(vorn_utf8_NumBytesInChar('a'), 1);
  EXPECT_EQ(vorn_utf8_NumBytesInChar(0xC3), 2);
  EXPECT_EQ(vorn_utf8_NumBytesInChar(0xE2), 3);
  EXPECT_EQ(vorn_utf8_NumBytesInChar(0xF0), 4);
  EXPECT_EQ(vorn_utf8_NumBytesInChar(0x80), 0);

  char dest[6];
  size_t count = 99;
  EXPECT_EQ(vorn_utf8_Copy(dest, "a\xC3\xA9", sizeof dest, &count), 0);
  EXPECT_STREQ(dest, "a\xC3\xA9");
  EXPECT_EQ(count, 3u);
  // "€" needs three bytes: after "ab€" only the terminator would fit.
  EXPECT_EQ(vorn_utf8_Copy(dest, "ab\xE2\x82\xAC\xE2\x82\xAC", sizeof dest, &count), -1);
  EXPECT_STREQ(dest, "ab\xE2\x82\xAC");
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(vorn_utf8_Copy(dest, "ab\x80z", sizeof dest, &count), 0);
  EXPECT_STREQ(dest, "");
  EXPECT_EQ(count, 0u);
  EXPECT_EXIT(vorn_utf8_Copy(nullptr, "a", 4, nullptr), ::testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(vorn_utf8_Copy(dest, "a", 0, nullptr), ::testing::KilledBySignal(SIGABRT), "");
}

TEST(Validators, AddressesMasksAndMacs) {
  char text[46];
  const uint8_t v4[] = {192, 168, 1, 254};
  EXPECT_EQ(ConvertIPv4ArrayToStr(v4, text, 16), 0);
  EXPECT_STREQ(text, "192.168.1.254");
  EXPECT_EQ(ConvertIPv4ArrayToStr(v4, text, 15), -1);
  EXPECT_TRUE(vt::logged("ipStr size is 15; must be at least 16\n"));
  EXPECT_EQ(ConvertIPv4ArrayToStr(nullptr, text, 16), -1);
  EXPECT_TRUE(vt::logged("input ipNum is NULL now !!!\n"));
  EXPECT_EQ(ConvertIPv4NumToStr(0x0A000001, text, 16), 0);
  EXPECT_STREQ(text, "10.0.0.1");
  const uint8_t v6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  EXPECT_EQ(ConvertIPv6NumToStr(v6, text, 46), 0);
  EXPECT_STREQ(text, "2001:db8::1");
  EXPECT_EQ(ConvertIPv6NumToStr(v6, text, 45), -1);

  EXPECT_EQ(vorn_check_v4_ip("10.1.2.3"), 1);
  EXPECT_EQ(vorn_check_v4_ip("10.1.2"), 0);
  EXPECT_EQ(vorn_check_v4_ip(nullptr), 0);
  EXPECT_EQ(is_valid_ip(""), 0);
  EXPECT_EQ(is_valid_ipv6("fe80::1"), 1);
  EXPECT_EQ(is_valid_ipv6("10.1.2.3"), 0);

  EXPECT_EQ(Is_valid_SubnetMask("255.255.255.0"), 1);
  EXPECT_EQ(Is_valid_SubnetMask("0.0.0.0"), 1);
  EXPECT_EQ(Is_valid_SubnetMask("255.255.255.255"), 1);
  EXPECT_EQ(Is_valid_SubnetMask("255.0.255.0"), 0);
  EXPECT_EQ(Is_valid_SubnetMask("255.255.256.0"), 0);

  EXPECT_EQ(ereg("^rmnet_data[0-9]+$", "rmnet_data12"), 0);
  EXPECT_EQ(ereg("^rmnet_data[0-9]+$", "rmnet_data"), 1);
  EXPECT_EQ(ereg("(", "x"), 1);
  EXPECT_EQ(Is_valid_Mac("00:11:22:33:44:55"), 1);
  EXPECT_EQ(Is_valid_Mac("00-11-22-33-44-55"), 0);
  EXPECT_EQ(Is_valid_Mac("00:11:22:33:44"), 0);
  EXPECT_TRUE(vt::logged("No Match!!! \n"));
}

}  // namespace
