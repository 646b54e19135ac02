// UTF-8, UTF-16, UCS-2 and Latin-1 conversions, against glibc's iconv and on
// the edges of their rules.
#include <vornpal/text_conversion.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "text_test.h"

namespace {

using namespace textt;

struct Utf16Run {
  vorn_conversion_result rc;
  size_t consumed;
  std::u16string units;
};

Utf16Run to_utf16(const std::string &utf8, size_t capacity,
                  vorn_conversion_flags flags = VORN_CONVERSION_STRICT) {
  std::vector<uint16_t> target(capacity + 1, 0xAAAA);
  const auto *begin = reinterpret_cast<const uint8_t *>(utf8.data());
  const uint8_t *source = begin;
  uint16_t *out = target.data();
  auto rc = vorn_util_ConvertUTF8toUTF16(&source, begin + utf8.size(), &out,
                                         target.data() + capacity, flags);
  EXPECT_EQ(target[capacity], 0xAAAA) << "wrote past the target's end";
  return {rc, static_cast<size_t>(source - begin), std::u16string(target.data(), out)};
}

struct Utf8Run {
  vorn_conversion_result rc;
  size_t consumed;
  std::string bytes;
};

Utf8Run to_utf8(const std::u16string &units, size_t capacity,
                vorn_conversion_flags flags = VORN_CONVERSION_STRICT) {
  std::vector<uint8_t> target(capacity + 1, 0xAA);
  const auto *begin = reinterpret_cast<const uint16_t *>(units.data());
  const uint16_t *source = begin;
  uint8_t *out = target.data();
  auto rc = vorn_util_ConvertUTF16toUTF8(&source, begin + units.size(), &out,
                                         target.data() + capacity, flags);
  EXPECT_EQ(target[capacity], 0xAA) << "wrote past the target's end";
  return {rc, static_cast<size_t>(source - begin), std::string(target.data(), out)};
}

vorn_conversion_result code_of(int iconv_error) {
  switch (iconv_error) {
    case 0: return VORN_CONVERSION_OK;
    case EINVAL: return VORN_CONVERSION_SOURCE_EXHAUSTED;
    default: return VORN_CONVERSION_SOURCE_ILLEGAL;
  }
}

// iconv calls a cut sequence incomplete even when no continuation could make
// it legal (E0 86, F5); the converter calls that illegal at once. Whether
// some continuation completes the tail is asked of iconv too.
bool completable(const std::string &tail) {
  static constexpr char kContinuations[] = {'\x80', '\x8F', '\x90', '\x9F', '\xA0', '\xBF'};
  if (tail.size() >= 4) return false;
  for (char c : kContinuations) {
    std::string longer = tail + c;
    if (iconv_convert(kUtf16, "UTF-8", longer).error == 0 || completable(longer)) return true;
  }
  return false;
}

std::string hex(const std::string &bytes) {
  std::string out;
  char two[3];
  for (unsigned char c : bytes) {
    std::snprintf(two, sizeof two, "%02X", c);
    out += two;
  }
  return out;
}

TEST_F(TextTest, Utf8AndUtf16ReadAsIconvReadsThem) {
  TEXTT_NEED_ICONV(kUtf16, "UTF-8");
  TEXTT_NEED_ICONV("UTF-8", kUtf16);
  std::mt19937 rng(1507);
  for (int round = 0; round < 500; ++round) {
    std::string text = random_utf8(rng, 1 + round % 40);
    Iconv ref = iconv_convert(kUtf16, "UTF-8", text);
    ASSERT_EQ(ref.error, 0);
    Utf16Run forth = to_utf16(text, text.size());
    ASSERT_EQ(forth.rc, VORN_CONVERSION_OK) << hex(text);
    EXPECT_EQ(bytes_of(forth.units), ref.out) << hex(text);
    Utf8Run back = to_utf8(forth.units, text.size());
    EXPECT_EQ(back.rc, VORN_CONVERSION_OK);
    EXPECT_EQ(back.bytes, text);
  }

  // Random bytes: the same verdict and the same stopping point as iconv
  // (EILSEQ illegal, EINVAL a character cut by the end, if one could be).
  for (int round = 0; round < 4000; ++round) {
    std::string bytes(1 + round % 9, '\0');
    for (char &c : bytes) c = static_cast<char>(rng() % 3 == 0 ? 0x80 | rng() % 0x80 : rng());
    if (round % 2) bytes[0] = static_cast<char>(0xC0 | rng() % 0x40);
    Iconv ref = iconv_convert(kUtf16, "UTF-8", bytes);
    Utf16Run ours = to_utf16(bytes, 2 * bytes.size());
    vorn_conversion_result expected = code_of(ref.error);
    if (ref.error == EINVAL && !completable(bytes.substr(ref.consumed)))
      expected = VORN_CONVERSION_SOURCE_ILLEGAL;
    EXPECT_EQ(ours.rc, expected) << hex(bytes);
    EXPECT_EQ(ours.consumed, ref.consumed) << hex(bytes);
    EXPECT_EQ(bytes_of(ours.units), ref.out) << hex(bytes);
  }

  // Random units with surrogates among them, read strictly: the same
  // verdict and stopping point as iconv's.
  for (int round = 0; round < 2000; ++round) {
    std::u16string units(1 + round % 6, u'\0');
    for (char16_t &unit : units)
      unit = static_cast<char16_t>(rng() % 2 ? 0xD800 + rng() % 0x800 : 0x20 + rng() % 0x7000);
    Iconv ref = iconv_convert("UTF-8", kUtf16, bytes_of(units));
    Utf8Run ours = to_utf8(units, 4 * units.size());
    EXPECT_EQ(ours.rc, code_of(ref.error)) << round;
    EXPECT_EQ(2 * ours.consumed, ref.consumed) << round;
    EXPECT_EQ(ours.bytes, ref.out) << round;
  }
}

TEST_F(TextTest, BuffersReadAsIconvReadsThem) {
  TEXTT_NEED_ICONV(kUtf16, "UTF-8");
  TEXTT_NEED_ICONV("UTF-8", "ISO-8859-1");
  std::mt19937 rng(58);
  for (int round = 0; round < 200; ++round) {
    std::string text = random_utf8(rng, round % 30);
    Iconv ref = iconv_convert(kUtf16, "UTF-8", text);
    std::vector<uint16_t> ucs2(ref.out.size() / 2 + 2, 0xAAAA);
    size_t written = vorn_util_convert_utf8_to_ucs2(text.data(), text.size(), ucs2.data(),
                                                    2 * ucs2.size());
    ASSERT_EQ(written, ref.out.size());
    EXPECT_EQ(std::string(reinterpret_cast<char *>(ucs2.data()), written), ref.out);
    EXPECT_EQ(ucs2[written / 2], 0);
    // And back: lossless for any valid text.
    std::string back(text.size() + 1, '\xAA');
    EXPECT_EQ(vorn_util_convert_ucs2_to_utf8(ucs2.data(), written, back.data(), back.size()),
              text.size());
    EXPECT_EQ(back, text + '\0');
  }

  // Latin-1: every byte but the terminator and the carriage return.
  std::string latin1;
  for (int c = 1; c < 256; ++c)
    if (c != '\r') latin1 += static_cast<char>(c);
  Iconv ref = iconv_convert("UTF-8", "ISO-8859-1", latin1);
  ASSERT_EQ(ref.error, 0);
  std::string out(2 * latin1.size() + 1, '\xAA');
  auto length = static_cast<int>(latin1.size());
  EXPECT_EQ(vorn_util_ss_ascii_to_utf8(latin1.data(), length, out.data(), out.size()),
            static_cast<int>(ref.out.size()));
  EXPECT_EQ(std::string(out.c_str()), ref.out);
  EXPECT_EQ(iconv_convert("ISO-8859-1", "UTF-8", out.c_str()).out, latin1);  // round trip
}

TEST_F(TextTest, BrokenUtf8StopsOnTheCharacterThatFailed) {
  struct Case {
    const char *bytes;
    vorn_conversion_result rc;
    size_t consumed;
  } cases[] = {
      {"a\x80", VORN_CONVERSION_SOURCE_ILLEGAL, 1},        // a continuation byte as lead
      {"a\xC1\xBF", VORN_CONVERSION_SOURCE_ILLEGAL, 1},    // overlong two-byte form
      {"a\xF5\x80\x80\x80", VORN_CONVERSION_SOURCE_ILLEGAL, 1},
      {"\xE0\x9F\xBF", VORN_CONVERSION_SOURCE_ILLEGAL, 0},  // overlong three bytes
      {"\xED\xA0\x80", VORN_CONVERSION_SOURCE_ILLEGAL, 0},  // an encoded surrogate
      {"\xF0\x8F\xBF\xBF", VORN_CONVERSION_SOURCE_ILLEGAL, 0},
      {"\xF4\x90\x80\x80", VORN_CONVERSION_SOURCE_ILLEGAL, 0},  // beyond U+10FFFF
      {"\xC3\xA9\xE2\x82", VORN_CONVERSION_SOURCE_EXHAUSTED, 2},
      {"\xF0\x9F\x98", VORN_CONVERSION_SOURCE_EXHAUSTED, 0},
      {"\xE2\x28\xA1", VORN_CONVERSION_SOURCE_ILLEGAL, 0},
  };
  for (const Case &c : cases) {
    for (vorn_conversion_flags flags : {VORN_CONVERSION_STRICT, VORN_CONVERSION_LENIENT}) {
      Utf16Run run = to_utf16(c.bytes, 8, flags);
      EXPECT_EQ(run.rc, c.rc) << hex(c.bytes);
      EXPECT_EQ(run.consumed, c.consumed) << hex(c.bytes);
      EXPECT_EQ(run.units.size(), c.consumed == 2 ? 1u : c.consumed) << hex(c.bytes);
    }
  }

  // A target one unit short takes what fits and stops before the rest; a
  // character beyond the BMP needs both units of its pair.
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";  // a é € 😀
  const size_t starts[] = {0, 1, 3, 6, 6, 10};
  for (size_t capacity = 0; capacity < 5; ++capacity) {
    Utf16Run run = to_utf16(text, capacity);
    EXPECT_EQ(run.rc, VORN_CONVERSION_TARGET_EXHAUSTED) << capacity;
    EXPECT_EQ(run.consumed, starts[capacity]) << capacity;
    EXPECT_EQ(run.units.size(), capacity == 4 ? 3u : capacity);
  }
  EXPECT_EQ(to_utf16(text, 5).rc, VORN_CONVERSION_OK);
}

TEST_F(TextTest, UnpairedSurrogatesAreRefusedOrReplaced) {
  const std::u16string lone_low = u"a\xDC00z";
  const std::u16string high_then_letter = {u'a', 0xD83D, u'z'};
  for (const std::u16string &units : {lone_low, high_then_letter}) {
    Utf8Run strict = to_utf8(units, 16);
    EXPECT_EQ(strict.rc, VORN_CONVERSION_SOURCE_ILLEGAL);
    EXPECT_EQ(strict.consumed, 1u);
    EXPECT_EQ(strict.bytes, "a");
    Utf8Run lenient = to_utf8(units, 16, VORN_CONVERSION_LENIENT);
    EXPECT_EQ(lenient.rc, VORN_CONVERSION_OK);
    EXPECT_EQ(lenient.bytes, "a\xEF\xBF\xBDz");
  }
  // A high surrogate that ends the source waits for its partner.
  const std::u16string cut = {u'a', 0xD83D};
  Utf8Run run = to_utf8(cut, 16, VORN_CONVERSION_LENIENT);
  EXPECT_EQ(run.rc, VORN_CONVERSION_SOURCE_EXHAUSTED);
  EXPECT_EQ(run.consumed, 1u);
  // A pair that does not fit is left whole.
  run = to_utf8(u"a\U0001F600", 4);
  EXPECT_EQ(run.rc, VORN_CONVERSION_TARGET_EXHAUSTED);
  EXPECT_EQ(run.consumed, 1u);
  EXPECT_EQ(run.bytes, "a");
}

TEST_F(TextTest, Utf8ToUcs2Buffers) {
  // A carriage return is text like any other here.
  uint16_t out[8];
  EXPECT_EQ(vorn_util_convert_utf8_to_ucs2("a\rb", 3, out, sizeof out), 6u);
  EXPECT_EQ(out[1], u'\r');

  // One byte too small: the last character goes, the terminator stays.
  const char *text = "h\xC3\xA9llo";  // 5 units, 10 bytes and 2 for the end
  uint16_t small[6] = {0xAAAA, 0xAAAA, 0xAAAA, 0xAAAA, 0xAAAA, 0xAAAA};
  EXPECT_EQ(vorn_util_convert_utf8_to_ucs2(text, 6, small, 11), 8u);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(small)), u"h\u00E9ll");
  EXPECT_TRUE(vt::logged("String has been truncated. Buffer size of 11 not large enough\n"));
  EXPECT_EQ(vorn_util_convert_utf8_to_ucs2(text, 6, small, 1), 0u);

  // Broken UTF-8 keeps what came before it.
  EXPECT_EQ(vorn_util_convert_utf8_to_ucs2("ok\xFFno", 5, small, sizeof small), 4u);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(small)), u"ok");
  EXPECT_TRUE(vt::logged("Error in converting utf8 string to ucs2\n"));
  EXPECT_EQ(vorn_util_convert_utf8_to_ucs2("ab\xE2\x82", 4, small, sizeof small), 4u);
  EXPECT_EQ(vt::count_logged("Error in converting utf8 string to ucs2\n"), 2);

  EXPECT_EQ(vorn_util_convert_utf8_to_ucs2(nullptr, 3, small, sizeof small), 0u);
  EXPECT_TRUE(logged_prefix("Invalid parameters. utf8str: (nil), ucs2str: 0x"));
}

TEST_F(TextTest, Ucs2ToUtf8Buffers) {
  const std::u16string units = u"Gr\u00FC\u00DF \u03A9 \u4E2D \U0001F600";
  const std::string expected = "Gr\xC3\xBC\xC3\x9F \xCE\xA9 \xE4\xB8\xAD \xF0\x9F\x98\x80";
  std::string out(expected.size() + 1, '\xAA');
  auto *source = reinterpret_cast<const uint16_t *>(units.data());
  EXPECT_EQ(vorn_util_convert_ucs2_to_utf8(source, 2 * units.size(), out.data(), out.size()),
            expected.size());
  EXPECT_EQ(out, expected + '\0');

  // An odd length: the lone byte is no unit and is not read.
  EXPECT_EQ(vorn_util_convert_ucs2_to_utf8(source, 3, out.data(), out.size()), 1u);
  EXPECT_STREQ(out.c_str(), "G");

  // One byte too small: the emoji's four bytes do not fit beside the end.
  std::string small(expected.size(), '\xAA');
  EXPECT_EQ(vorn_util_convert_ucs2_to_utf8(source, 2 * units.size(), small.data(), small.size()),
            expected.size() - 4);
  EXPECT_EQ(std::string(small.c_str()), expected.substr(0, expected.size() - 4));
  EXPECT_TRUE(vt::logged("String has been truncated. Buffer size of " +
                         std::to_string(small.size()) + " not large enough\n"));

  // Lenient: a lone surrogate reads as U+FFFD, a cut pair ends the text.
  const uint16_t broken[] = {u'a', 0xDC00, u'b', 0xD800};
  EXPECT_EQ(vorn_util_convert_ucs2_to_utf8(broken, sizeof broken, out.data(), out.size()), 5u);
  EXPECT_STREQ(out.c_str(), "a\xEF\xBF\xBD" "b");
  EXPECT_TRUE(vt::logged("Error in converting ucs2 string to utf8\n"));

  EXPECT_EQ(vorn_util_convert_ucs2_to_utf8(source, 2, nullptr, 8), 0u);
  EXPECT_TRUE(vt::logged("utf8str or utf8Start is NULL\n"));
  char one[1] = {'x'};
  EXPECT_EQ(vorn_util_convert_ucs2_to_utf8(source, 2, one, 1), 0u);
  EXPECT_EQ(one[0], '\0');
}

TEST_F(TextTest, Latin1ToUtf8) {
  std::string out(16, '\xAA');
  // Carriage returns are dropped.
  EXPECT_EQ(vorn_util_ss_ascii_to_utf8("a\r\nb", 4, out.data(), out.size()), 3);
  EXPECT_STREQ(out.c_str(), "a\nb");
  EXPECT_TRUE(vt::logged("ignored charecter at index = 1 \n"));

  // Twice the length is the least size; a last extended character then
  // lacks the byte for the terminator and is left out.
  char four[4];
  EXPECT_EQ(vorn_util_ss_ascii_to_utf8("\xE9\xE8", 2, four, 3), 0);
  EXPECT_TRUE(vt::logged("the utf8 str buffer length is not enough\n"));
  EXPECT_EQ(vorn_util_ss_ascii_to_utf8("\xE9\xE8", 2, four, 4), 2);
  EXPECT_STREQ(four, "\xC3\xA9");
  EXPECT_TRUE(
      vt::logged("ignored extended character at index = 1 not enough bytes. al: 2ui: 2 us: 4\n"));

  EXPECT_EQ(vorn_util_ss_ascii_to_utf8(nullptr, 2, four, 4), 0);
  EXPECT_TRUE(logged_prefix("Invalid parameters; ascii_str = (nil), utf8_str = 0x"));
}

}  // namespace
