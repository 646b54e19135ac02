// USSD strings to UTF-8 by their data coding scheme (3GPP TS 23.038 clause 5,
// as the network sends them for USSD).
#include <vornpal/text_conversion.h>

#include <cstdlib>
#include <cstring>

#include "foundation/log_site.h"

namespace {

enum class Reading { kNone, kSevenBit, kEightBit, kUcs2, kUcs2WithLanguage };

// How a coding group (the DCS's high nibble) says what its text is.
enum class Group {
  kSevenBit,   // language groups: always the default alphabet
  kLanguage,   // 0001: 7-bit, or UCS-2 behind a language, by the low nibble
  kByAlphabet, // general and message-class groups: the alphabet in bits 2-3
  kDataClass,  // 1111: bit 2 picks 7-bit or 8-bit
  kReserved,
};

constexpr Group kGroups[16] = {
    Group::kSevenBit,   Group::kLanguage,   Group::kSevenBit,   Group::kSevenBit,
    Group::kByAlphabet, Group::kByAlphabet, Group::kByAlphabet, Group::kByAlphabet,
    Group::kReserved,   Group::kByAlphabet, Group::kReserved,   Group::kReserved,
    Group::kByAlphabet, Group::kByAlphabet, Group::kByAlphabet, Group::kDataClass,
};

constexpr Reading kAlphabets[4] = {Reading::kSevenBit, Reading::kEightBit, Reading::kUcs2,
                                   Reading::kNone};

Reading reading_of(uint8_t dcs) {
  const unsigned lo = dcs & 0x0F;
  switch (kGroups[dcs >> 4]) {
    case Group::kSevenBit: return Reading::kSevenBit;
    case Group::kLanguage:
      return lo == 0 ? Reading::kSevenBit : lo == 1 ? Reading::kUcs2WithLanguage : Reading::kNone;
    case Group::kByAlphabet: return kAlphabets[(dcs & 0x0C) >> 2];
    case Group::kDataClass: return (dcs & 0x04) != 0 ? Reading::kEightBit : Reading::kSevenBit;
    case Group::kReserved: return Reading::kNone;
  }
  return Reading::kNone;
}

size_t seven_bit(const uint8_t *text, size_t length, char *utf8, size_t size) {
  // USSD strings are at most 160 octets; the length is read as one octet.
  int written = vorn_util_convert_gsm_def_alpha_string_to_utf8(text, static_cast<uint8_t>(length),
                                                              utf8, size);
  return static_cast<size_t>(written);
}

size_t eight_bit(const uint8_t *text, size_t length, char *utf8, size_t size) {
  // One byte beyond the terminator is asked for.
  if (size < 2 || size - 1 <= length) {
    VORN_LOG(VORN_ERR, "Destination buffer (sz %zu) less than required %zu\n", size, length + 2);
    return 0;
  }
  std::memcpy(utf8, text, length);
  utf8[length] = '\0';
  return length;
}

// The text is big-endian; the converter reads the machine's order. With a
// language the first two octets are taken over as they stand and so read as
// one more character.
size_t ucs2(const uint8_t *text, size_t length, char *utf8, size_t size, bool with_language) {
  if (with_language) {
    VORN_LOG(VORN_DBUG, "ussd string size preceded by language = %d\n", static_cast<int>(length));
  } else {
    VORN_LOG(VORN_DBUG, "ussd string size = %d\n", static_cast<int>(length));
  }
  auto *units = static_cast<uint16_t *>(std::calloc(length / 2 + 1, sizeof(uint16_t)));
  if (units == nullptr) {
    VORN_LOG(VORN_ERR, "USC2 to UTF8 conversion failed due to lack of memory\n");
    return 0;
  }
  auto *bytes = reinterpret_cast<uint8_t *>(units);
  size_t kept = with_language ? (length < 2 ? length : 2) : 0;
  std::memcpy(bytes, text, kept);
  for (size_t i = kept; i + 1 < length; i += 2) {
    uint16_t unit = static_cast<uint16_t>(text[i] << 8 | text[i + 1]);
    std::memcpy(bytes + i, &unit, sizeof unit);
  }
  size_t written = vorn_util_convert_ucs2_to_utf8(units, length, utf8, size);
  std::free(units);
  return written;
}

// The log line of each reading, by Reading.
constexpr const char *kReadingLogs[] = {
    "",
    "USSD DCS 7-bit str, hi %d lo %d: %s\n",
    "USSD DCS 8-bit str, hi %d lo %d: %s\n",
    "USSD DCS UCS2 str, hi %d lo %d: %s\n",
    "USSD DCS UCS2 str, hi %d lo %d: %s\n",
};

}  // namespace

extern "C" {

VORNPAL_API int vorn_util_UssdStringIsAscii(const char *text) {
  if (text == nullptr) return 0;
  for (; *text != '\0'; ++text)
    if (static_cast<uint8_t>(*text) >= 0x80) return 0;
  return 1;
}

VORNPAL_API size_t vorn_util_convert_ussd_string_to_utf8(uint8_t dcs, const uint8_t *text,
                                                         size_t length, char *utf8, size_t size) {
  if (text == nullptr || utf8 == nullptr) {
    VORN_LOG(VORN_CRIT, "FATAL : CHECK FAILED\n");
    return 0;
  }
  const Reading reading = reading_of(dcs);
  size_t written = 0;
  switch (reading) {
    case Reading::kNone: return 0;
    case Reading::kSevenBit: written = seven_bit(text, length, utf8, size); break;
    case Reading::kEightBit: written = eight_bit(text, length, utf8, size); break;
    case Reading::kUcs2: written = ucs2(text, length, utf8, size, false); break;
    case Reading::kUcs2WithLanguage: written = ucs2(text, length, utf8, size, true); break;
  }
  // Every reading terminates what it wrote; a failed one may have written
  // nothing.
  VORN_LOG(VORN_DBUG, kReadingLogs[static_cast<int>(reading)], dcs >> 4, dcs & 0x0F,
           written > 0 ? utf8 : "");
  return written;
}

}  // extern "C"
