// Septet conversions shared inside the codec.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorn::sms {

// Octets that `septets` septets take when the first starts at bit `start`.
constexpr size_t packed_octets(size_t septets, unsigned start = 0) {
  return (start + septets * 7 + 7) / 8;
}

// The flat layer's reading of 7-bit text: packed septets to Latin-1 through
// Ascii7to8, escapes resolved (unknown ones as '?'). Writes at most
// capacity - 1 bytes and a terminator. Returns the bytes written, or -9 when
// the text does not fit. packed must hold packed_octets(septets) octets.
int septets_to_latin1(const uint8_t *packed, size_t septets, char *out, size_t capacity);

}  // namespace vorn::sms
