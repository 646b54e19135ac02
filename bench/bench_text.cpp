// Text conversions against glibc's iconv on the same texts, in bytes of input
// per second: UTF-8 and UTF-16 both ways, Latin-1 and big-endian UCS-2 (as
// USSD strings bring them) to UTF-8. Packed GSM 7-bit has no iconv
// counterpart and runs alone. Texts of 160 characters (a USSD string) and
// of 4096.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench
//   --benchmark_filter=Text
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/sms_user_data.h>
#include <vornpal/text_conversion.h>

namespace {

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr const char kUtf16[] = "UTF-16LE";
#else
constexpr const char kUtf16[] = "UTF-16BE";
#endif

// A text of `count` characters, mostly ASCII with Latin-1, Greek and CJK
// among them; beyond the BMP too unless bmp_only.
std::u32string sample(size_t count, bool bmp_only) {
  std::mt19937 rng(2024);
  std::u32string text;
  for (size_t i = 0; i < count; ++i) {
    unsigned pick = rng() % 16;
    char32_t c = pick < 10   ? U'a' + rng() % 26
                 : pick < 12 ? U'\u00C0' + rng() % 64
                 : pick < 14 ? U'\u0391' + rng() % 24
                 : pick < 15 || bmp_only ? U'\u4E00' + rng() % 512
                                         : U'\U0001F600' + rng() % 64;
    text += c;
  }
  return text;
}

// The same text in another encoding, by iconv.
std::string recode(const char *to, const char *from, const std::string &in) {
  iconv_t cd = iconv_open(to, from);
  std::string input = in, output(4 * in.size() + 4, '\0');
  char *inp = input.data(), *outp = output.data();
  size_t inleft = input.size(), outleft = output.size();
  iconv(cd, &inp, &inleft, &outp, &outleft);
  iconv_close(cd);
  output.resize(output.size() - outleft);
  return output;
}

std::string utf32_bytes(const std::u32string &text) {
  return std::string(reinterpret_cast<const char *>(text.data()), 4 * text.size());
}

std::string sample_in(const char *encoding, size_t count, bool bmp_only = false) {
  return recode(encoding, "UTF-32LE", utf32_bytes(sample(count, bmp_only)));
}

// iconv over the whole input, with its state reset first, as a caller that
// converts one text at a time would.
class IconvRun {
 public:
  IconvRun(const char *to, const char *from) : cd_(iconv_open(to, from)) {}
  ~IconvRun() { iconv_close(cd_); }
  size_t operator()(const std::string &in, std::vector<char> &out) {
    iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    char *inp = const_cast<char *>(in.data()), *outp = out.data();
    size_t inleft = in.size(), outleft = out.size();
    iconv(cd_, &inp, &inleft, &outp, &outleft);
    return out.size() - outleft;
  }

 private:
  iconv_t cd_;
};

enum Side { kVornpal = 0, kIconv = 1 };

template <class Convert>
void run(benchmark::State &state, const std::string &input, Convert convert) {
  vorn_set_log_level(4);
  for (auto _ : state) benchmark::DoNotOptimize(convert());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}

void BM_TextUtf8ToUtf16(benchmark::State &state) {
  const std::string utf8 = sample_in("UTF-8", static_cast<size_t>(state.range(1)));
  std::vector<uint16_t> units(utf8.size() + 1);
  std::vector<char> out(2 * utf8.size() + 2);
  IconvRun reference(kUtf16, "UTF-8");
  if (state.range(0) == kIconv) return run(state, utf8, [&] { return reference(utf8, out); });
  run(state, utf8, [&] {
    const auto *source = reinterpret_cast<const uint8_t *>(utf8.data());
    uint16_t *target = units.data();
    vorn_util_ConvertUTF8toUTF16(&source, source + utf8.size(), &target,
                                 units.data() + units.size(), VORN_CONVERSION_STRICT);
    return target;
  });
}

void BM_TextUtf16ToUtf8(benchmark::State &state) {
  const std::string bytes = sample_in(kUtf16, static_cast<size_t>(state.range(1)));
  std::vector<uint16_t> units(bytes.size() / 2);
  std::memcpy(units.data(), bytes.data(), 2 * units.size());
  std::vector<char> out(2 * bytes.size() + 1);
  IconvRun reference("UTF-8", kUtf16);
  if (state.range(0) == kIconv) return run(state, bytes, [&] { return reference(bytes, out); });
  run(state, bytes, [&] {
    const uint16_t *source = units.data();
    auto *target = reinterpret_cast<uint8_t *>(out.data());
    vorn_util_ConvertUTF16toUTF8(&source, source + units.size(), &target, target + out.size(),
                                 VORN_CONVERSION_LENIENT);
    return target;
  });
}

void BM_TextLatin1ToUtf8(benchmark::State &state) {
  std::string latin1;
  for (char32_t c : sample(static_cast<size_t>(state.range(1)), true))
    latin1 += static_cast<char>(c < 0x100 ? c : c & 0xFF);
  std::vector<char> out(2 * latin1.size() + 1);
  IconvRun reference("UTF-8", "ISO-8859-1");
  if (state.range(0) == kIconv) return run(state, latin1, [&] { return reference(latin1, out); });
  run(state, latin1, [&] {
    return vorn_util_ss_ascii_to_utf8(latin1.data(), static_cast<int>(latin1.size()), out.data(),
                                      out.size());
  });
}

// A USSD string in UCS-2 (DCS 0x48), big-endian as it comes from the network.
void BM_TextUssdUcs2ToUtf8(benchmark::State &state) {
  const std::string ucs2 = sample_in("UCS-2BE", static_cast<size_t>(state.range(1)), true);
  std::vector<char> out(2 * ucs2.size() + 1);
  IconvRun reference("UTF-8", "UCS-2BE");
  if (state.range(0) == kIconv) return run(state, ucs2, [&] { return reference(ucs2, out); });
  run(state, ucs2, [&] {
    return vorn_util_convert_ussd_string_to_utf8(
        0x48, reinterpret_cast<const uint8_t *>(ucs2.data()), ucs2.size(), out.data(), out.size());
  });
}

// Packed GSM 7-bit of at most 255 septets, the most a USSD string carries.
void BM_TextGsm7ToUtf8(benchmark::State &state) {
  std::vector<uint8_t> septets;
  for (char32_t c : sample(static_cast<size_t>(state.range(0)), true)) septets.push_back(c % 128);
  for (uint8_t &septet : septets)
    if (septet == 0x0D || septet == 0x1B) septet = ' ';
  std::string packed(septets.size(), '\0');
  packed.resize(sms_ts_pack_gw_7_bit_chars(septets.data(), static_cast<uint16_t>(septets.size()), 0,
                                           static_cast<uint16_t>(packed.size()),
                                           reinterpret_cast<uint8_t *>(packed.data())));
  std::vector<char> out(2 * septets.size() + 1);
  run(state, packed, [&] {
    return vorn_util_convert_gsm_def_alpha_string_to_utf8(
        reinterpret_cast<const uint8_t *>(packed.data()), static_cast<int>(packed.size()),
        out.data(), out.size());
  });
}

void sides(benchmark::internal::Benchmark *b) {
  b->ArgNames({"iconv", "chars"});
  for (int64_t chars : {160, 4096})
    for (int64_t side : {kVornpal, kIconv}) b->Args({side, chars});
}

BENCHMARK(BM_TextUtf8ToUtf16)->Apply(sides);
BENCHMARK(BM_TextUtf16ToUtf8)->Apply(sides);
BENCHMARK(BM_TextLatin1ToUtf8)->Apply(sides);
BENCHMARK(BM_TextUssdUcs2ToUtf8)->Apply(sides);
BENCHMARK(BM_TextGsm7ToUtf8)->Arg(160)->Arg(255)->ArgName("septets");

}  // namespace
