#include "text_test.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

namespace textt {

Iconv iconv_convert(const char *to, const char *from, const std::string &in) {
  Iconv result;
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    ADD_FAILURE() << "iconv has no " << from << " to " << to;
    result.error = -1;
    return result;
  }
  std::string input = in;
  std::string output(4 * in.size() + 16, '\0');
  char *inp = input.data(), *outp = output.data();
  size_t inleft = input.size(), outleft = output.size();
  if (iconv(cd, &inp, &inleft, &outp, &outleft) == static_cast<size_t>(-1)) result.error = errno;
  iconv_close(cd);
  result.out.assign(output.data(), static_cast<size_t>(outp - output.data()));
  result.consumed = input.size() - inleft;
  return result;
}

bool iconv_has(const char *to, const char *from) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  iconv_close(cd);
  return true;
}

std::string bytes_of(const std::u16string &units) {
  return std::string(reinterpret_cast<const char *>(units.data()), 2 * units.size());
}

std::u16string units_of(const std::string &bytes) {
  std::u16string units(bytes.size() / 2, u'\0');
  std::memcpy(units.data(), bytes.data(), 2 * units.size());
  return units;
}

std::string random_utf8(std::mt19937 &rng, size_t count, bool bmp_only) {
  struct Range {
    uint32_t first, last;
  };
  static constexpr Range kRanges[] = {{0x01, 0x7F},       {0x80, 0xFF},      {0x370, 0x3FF},
                                      {0x4E00, 0x9FFF},   {0xE000, 0xFFFD},  {0x800, 0xD7FF},
                                      {0x10000, 0x1FFFF}, {0x100000, 0x10FFFF}};
  std::uniform_int_distribution<size_t> pick(0, bmp_only ? 5 : 7);
  std::u32string points;
  for (size_t i = 0; i < count; ++i) {
    const Range &range = kRanges[pick(rng)];
    points += std::uniform_int_distribution<uint32_t>(range.first, range.last)(rng);
  }
  const std::string ucs4(reinterpret_cast<const char *>(points.data()), 4 * points.size());
  return iconv_convert("UTF-8", "UCS-4LE", ucs4).out;
}

bool logged_prefix(const std::string &prefix) {
  for (const std::string &text : vt::diag_texts())
    if (text.compare(0, prefix.size(), prefix) == 0) return true;
  return false;
}

}  // namespace textt
