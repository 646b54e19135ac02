// Packing and unpacking of GSM 7-bit septets, first septet in the least
// significant bits, with the fill bits that follow a user data header.
#include "sms/septets.h"

#include <vornpal/sms_user_data.h>

#include "foundation/log_site.h"
#include "sms/alphabet.h"

namespace vorn::sms {
namespace {

// Septet `index` of a stream whose first septet starts at bit `start` of
// packed[0]. Reads the following octet only when the septet reaches into it.
uint8_t septet_at(const uint8_t *packed, size_t index, unsigned start) {
  size_t bit = start + index * 7;
  const uint8_t *octet = packed + bit / 8;
  unsigned offset = bit % 8;
  unsigned value = octet[0] >> offset;
  if (offset > 1) value |= static_cast<unsigned>(octet[1]) << (8 - offset);
  return static_cast<uint8_t>(value & 0x7F);
}

// The flat layer's escape table: form feed is known here, a second escape
// is not.
constexpr EscapePair kFlatEscapes[] = {
    {10, 12},   {20, 0x5E}, {40, 0x7B}, {41, 0x7D}, {47, 0x5C},
    {60, 0x5B}, {61, 0x7E}, {62, 0x5D}, {64, 0x7C},
};

uint8_t flat_escape(uint8_t septet) {
  for (const EscapePair &pair : kFlatEscapes)
    if (pair.septet == septet) return pair.latin1;
  return '?';
}

}  // namespace

int septets_to_latin1(const uint8_t *packed, size_t septets, char *out, size_t capacity) {
  size_t written = 0;
  for (size_t i = 0; i < septets; ++i) {
    if (written + 1 >= capacity) return -9;
    uint8_t septet = septet_at(packed, i, 0);
    if (septet == kEscape && i + 1 < septets) {
      out[written++] = static_cast<char>(flat_escape(septet_at(packed, ++i, 0)));
    } else {
      out[written++] = static_cast<char>(Ascii7to8[septet]);
    }
  }
  if (capacity > 0) out[written] = '\0';
  return static_cast<int>(written);
}

}  // namespace vorn::sms

using vorn::sms::septet_at;

extern "C" {

VORNPAL_API uint16_t sms_ts_pack_gw_7_bit_chars(const uint8_t *septets, uint16_t count,
                                                uint16_t shift, uint16_t capacity, uint8_t *out) {
  if (septets == nullptr || out == nullptr) {
    VORN_LOG(VORN_ERR, "null pointer in sms_ts_pack_gw_7_bit_chars");
    return 0;
  }
  unsigned fill = shift % 7;
  // Bits waiting for their octet; the fill bits come from out[0].
  unsigned pending = fill != 0 && capacity > 0 ? out[0] & ((1u << fill) - 1) : 0;
  unsigned pending_bits = fill;
  uint16_t written = 0;
  for (uint16_t i = 0; i < count; ++i) {
    pending |= static_cast<unsigned>(septets[i] & 0x7F) << pending_bits;
    pending_bits += 7;
    if (pending_bits >= 8) {
      if (written == capacity) return written;
      out[written++] = static_cast<uint8_t>(pending);
      pending >>= 8;
      pending_bits -= 8;
    }
  }
  if (pending_bits > 0 && written < capacity) out[written++] = static_cast<uint8_t>(pending);
  return written;
}

VORNPAL_API uint8_t unpack_gw_7_bit_chars(const uint8_t *packed, uint8_t count, uint8_t capacity,
                                          uint16_t shift, uint8_t *out) {
  if (packed == nullptr || out == nullptr) {
    VORN_LOG(VORN_ERR, "null pointer in unpack_gw_7_bit_chars");
    return 0;
  }
  // A shift s puts the first septet in the top s bits of the first octet.
  unsigned start = (shift % 8) == 0 ? 0 : 8 - shift % 8;
  size_t septets = count;
  if (septets > capacity) {
    VORN_LOG(VORN_ERR, "Not enough output buffer for unpacking");
    septets = capacity;
  }
  for (size_t i = 0; i < septets; ++i) out[i] = septet_at(packed, i, start);
  return static_cast<uint8_t>(vorn::sms::packed_octets(septets, start));
}

}  // extern "C"
