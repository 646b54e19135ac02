// The AT layer's character-set conversion and number reading, as far as the
// SMS codec needs them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorn::sms {

// Character sets by the numbers the AT layer uses.
enum Chset : uint8_t {
  kIra = 0,      // Latin-1 text
  kGsm = 1,      // the GSM alphabet as a terminal shows it
  kUcs2 = 2,     // four hex digits per UTF-16 unit
  kHex = 3,      // two hex digits per octet
  kOctets = 4,   // raw octets
  kSeptets = 6,  // one septet per byte, escapes included
};

// Converts in_len units of `in` from one set to another into out, at most
// capacity - 1 bytes and a terminator when there is room. Escape septets
// written for kSeptets are added to g_ext_char. An unmappable character
// fails the conversion unless drop_inconvertible is set. Returns the end of
// the output, nullptr on failure or when the output does not fit.
uint8_t *dsatutil_convert_chset(const uint8_t *in, size_t in_len, Chset from, uint8_t *out,
                                Chset to, size_t capacity, bool drop_inconvertible);

// Reads the whole of text[0..len) as an unsigned number in base 10 or 16.
bool dsatutil_atoi(const char *text, size_t len, unsigned base, uint32_t &value);

// Classes of dial characters.
enum DialClass {
  kDialOther = 0,
  kDialDigit = 1,
  kDialPause = 2,  // ',', 'p', 'P', 'w', 'W'
  kDialAbc = 3,    // A, B, C in either case
  kDialD = 4,
  kDialE = 5,
  kDialStar = 8,
  kDialHash = 9,
  kDialPlus = 10,
};
DialClass dsatutil_validate_dial_char(char c);

}  // namespace vorn::sms
