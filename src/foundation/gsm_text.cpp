// GSM default alphabet to UTF-8 for USSD texts: unpacking with the padding
// rule of 3GPP TS 23.038, and the alphabet as UTF-8 without the extension
// table.
#include <vornpal/sms_user_data.h>
#include <vornpal/text_conversion.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "foundation/log_site.h"
#include "sms/alphabet.h"

namespace {

constexpr int kMaxSeptets = 255;
constexpr uint8_t kCarriageReturn = 13;

// Septet to UTF-8: below 256 one byte, otherwise two, the high byte first.
// Built from the SMS codec's alphabet so that both read septets alike; only
// the escape differs: with no extension table here it shows as a blank.
constexpr uint16_t utf8_of_latin1(uint8_t c) {
  return c < 0x80 ? c : static_cast<uint16_t>((0xC0 | c >> 6) << 8 | (0x80 | (c & 0x3F)));
}

constexpr uint16_t utf8_of_bmp(uint16_t unit) {
  return static_cast<uint16_t>((0xC0 | unit >> 6) << 8 | (0x80 | (unit & 0x3F)));
}

constexpr std::array<uint16_t, 128> make_gsm_utf8() {
  std::array<uint16_t, 128> table{};
  for (int septet = 0; septet < 128; ++septet)
    table[septet] = utf8_of_latin1(vorn::sms::kGsmLatin1[septet]);
  for (const vorn::sms::UnicodeSeptet &beyond : vorn::sms::kBeyondLatin1)
    if (!beyond.escaped) table[beyond.septet] = utf8_of_bmp(beyond.unit);
  table[vorn::sms::kEscape] = ' ';
  return table;
}

constexpr std::array<uint16_t, 128> kGsmUtf8 = make_gsm_utf8();
static_assert(kGsmUtf8[0x00] == 0x40 && kGsmUtf8[0x10] == 0xCE94 && kGsmUtf8[0x1B] == 0x20 &&
                  kGsmUtf8[0x0A] == 0x0A && kGsmUtf8[0x0D] == 0x0D && kGsmUtf8[0x01] == 0xC2A3,
              "the alphabet as UTF-8");

}  // namespace

extern "C" {

// The SMS codec's unpacker is told the septet count by the PDU; USSD data has
// none, so the count is what the octets hold, less the padding carriage
// return that fills a last octet group of seven.
VORNPAL_API int vorn_util_ussd_unpack(uint8_t *septets, int capacity, const uint8_t *packed,
                                      int length) {
  if (septets == nullptr || packed == nullptr || capacity == 0 || length <= 0) return 0;
  if (capacity < 0 || capacity > kMaxSeptets - 1) capacity = kMaxSeptets;
  const int64_t held = static_cast<int64_t>(length) + length / 7;
  const auto count = static_cast<uint8_t>(std::min<int64_t>(held, capacity));
  unpack_gw_7_bit_chars(packed, count, count, 0, septets);
  if (count == held && length % 7 == 0 && septets[count - 1] == kCarriageReturn) return count - 1;
  return count;
}

VORNPAL_API int vorn_util_convert_gsm8bit_alpha_string_to_utf8(const uint8_t *gsm, int length,
                                                               char *utf8, size_t size) {
  if (gsm == nullptr || length <= 0 || utf8 == nullptr || size == 0) {
    VORN_LOG(VORN_ERR, "Invalid parameters for GSM alphabet to UTF8 conversion, input len = %d\n",
             length);
    return 0;
  }
  const size_t room = size - 1;  // for the terminator
  size_t written = 0;
  for (int i = 0; i < length && written < room; ++i) {
    const uint8_t c = gsm[i];
    if (c == kCarriageReturn) {
      VORN_LOG(VORN_DBUG, "ignored CR charecter at index = %d\n", i);
      continue;
    }
    const uint16_t code = c > 127 ? c : kGsmUtf8[c];
    if (code < 256) {
      utf8[written++] = static_cast<char>(code);
    } else if (written + 2 <= room) {
      utf8[written++] = static_cast<char>(code >> 8);
      utf8[written++] = static_cast<char>(code & 0xFF);
    }
  }
  utf8[written] = '\0';
  return static_cast<int>(written);
}

VORNPAL_API int vorn_util_convert_gsm_def_alpha_string_to_utf8(const uint8_t *packed, int length,
                                                               char *utf8, size_t size) {
  // The unpacker writes at most 255 septets whatever the length, so they fit
  // on the stack.
  uint8_t septets[kMaxSeptets];
  const int capacity = length > 0 && length < kMaxSeptets ? 2 * length : kMaxSeptets;
  const int count = vorn_util_ussd_unpack(septets, capacity, packed, length);
  return vorn_util_convert_gsm8bit_alpha_string_to_utf8(septets, count, utf8, size);
}

}  // extern "C"
