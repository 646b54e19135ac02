// Helpers of the text conversion tests: glibc's iconv as the reference for
// the Unicode forms and Latin-1, random texts, and a fixture that lets the
// debug lines through.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include <vornpal/log.h>

#include "vornpal_test.h"

namespace textt {

// UTF-16 in the machine's byte order, as iconv names it.
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr const char kUtf16[] = "UTF-16LE";
#else
constexpr const char kUtf16[] = "UTF-16BE";
#endif

// What iconv makes of `in`: the output so far, the input bytes it consumed,
// and errno of a stop (0 when all converted; EILSEQ illegal, EINVAL cut).
struct Iconv {
  std::string out;
  size_t consumed = 0;
  int error = 0;
};
Iconv iconv_convert(const char *to, const char *from, const std::string &in);
bool iconv_has(const char *to, const char *from);

// Bytes of UTF-16 units in the machine's order, and back.
std::string bytes_of(const std::u16string &units);
std::u16string units_of(const std::string &bytes);

// A random text of `count` code points from a mix of ranges (ASCII, Latin-1,
// Greek, CJK, beyond the BMP unless bmp_only), as UTF-8 by iconv.
std::string random_utf8(std::mt19937 &rng, size_t count, bool bmp_only = false);

// True when some diag line starts with `prefix` (for lines with pointers).
bool logged_prefix(const std::string &prefix);

class TextTest : public ::testing::Test {
 protected:
  void SetUp() override { vorn_set_log_level(0); }
  void TearDown() override { vorn_set_log_level(1); }
};

}  // namespace textt

// The emulated target's C library comes without iconv's modules: there the
// comparisons are left to the host's stages.
#define TEXTT_NEED_ICONV(to, from)                                                     \
  do {                                                                                 \
    if (!textt::iconv_has(to, from)) {                                                 \
      if (vt::emulated()) GTEST_SKIP() << "no iconv from " << (from) << " to " << (to); \
      FAIL() << "iconv has no " << (from) << " to " << (to);                           \
    }                                                                                  \
  } while (0)
