// UTF-8 and UTF-16 converters with the Unicode reference rules: illegal leads,
// overlong forms and surrogates in UTF-8 refused, unpaired surrogates refused
// or replaced, and the source pointer left on the character that failed.
#include <vornpal/text_conversion.h>

#include <cstddef>
#include <cstdint>

namespace {

constexpr uint32_t kReplacement = 0xFFFD;
constexpr uint32_t kMaxBmp = 0xFFFF;
constexpr uint32_t kHighFirst = 0xD800, kHighLast = 0xDBFF;
constexpr uint32_t kLowFirst = 0xDC00, kLowLast = 0xDFFF;

bool is_high(uint32_t c) { return c >= kHighFirst && c <= kHighLast; }
bool is_low(uint32_t c) { return c >= kLowFirst && c <= kLowLast; }
bool is_surrogate(uint32_t c) { return c >= kHighFirst && c <= kLowLast; }

// Bytes of the sequence a lead byte starts; 0 for a byte that cannot lead.
size_t sequence_length(uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2) return 0;  // continuation bytes and the overlong C0, C1
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  if (lead <= 0xF4) return 4;
  return 0;
}

// Range of the second byte: the leads E0, ED, F0 and F4 narrow it, which is
// what refuses overlong forms, encoded surrogates and code points beyond
// U+10FFFF.
bool second_byte_ok(uint8_t lead, uint8_t second) {
  switch (lead) {
    case 0xE0: return second >= 0xA0 && second <= 0xBF;
    case 0xED: return second >= 0x80 && second <= 0x9F;
    case 0xF0: return second >= 0x90 && second <= 0xBF;
    case 0xF4: return second >= 0x80 && second <= 0x8F;
    default: return second >= 0x80 && second <= 0xBF;
  }
}

// Checks the `available` bytes of a sequence of `length` that are present,
// so that a cut sequence whose start is already wrong counts as illegal, not
// as incomplete.
bool legal_prefix(const uint8_t *seq, size_t length, size_t available) {
  if (length == 0) return false;
  size_t n = available < length ? available : length;
  if (n >= 2 && !second_byte_ok(seq[0], seq[1])) return false;
  for (size_t i = 2; i < n; ++i)
    if (seq[i] < 0x80 || seq[i] > 0xBF) return false;
  return true;
}

uint32_t decode_utf8(const uint8_t *seq, size_t length) {
  static constexpr uint8_t kLeadMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  uint32_t c = seq[0] & kLeadMask[length];
  for (size_t i = 1; i < length; ++i) c = c << 6 | (seq[i] & 0x3F);
  return c;
}

size_t utf8_width(uint32_t c) {
  if (c < 0x80) return 1;
  if (c < 0x800) return 2;
  if (c < 0x10000) return 3;
  return 4;
}

void encode_utf8(uint32_t c, size_t width, uint8_t *out) {
  static constexpr uint8_t kLeadMark[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
  for (size_t i = width - 1; i > 0; --i) {
    out[i] = static_cast<uint8_t>(0x80 | (c & 0x3F));
    c >>= 6;
  }
  out[0] = static_cast<uint8_t>(kLeadMark[width] | c);
}

template <class Unit>
size_t room(const Unit *target, const Unit *target_end) {
  return target < target_end ? static_cast<size_t>(target_end - target) : 0;
}

}  // namespace

extern "C" {

VORNPAL_API vorn_conversion_result vorn_util_ConvertUTF8toUTF16(const uint8_t **source_start,
                                                                const uint8_t *source_end,
                                                                uint16_t **target_start,
                                                                uint16_t *target_end,
                                                                vorn_conversion_flags) {
  if (source_start == nullptr || target_start == nullptr) return VORN_CONVERSION_SOURCE_ILLEGAL;
  const uint8_t *source = *source_start;
  uint16_t *target = *target_start;
  vorn_conversion_result result = VORN_CONVERSION_OK;
  while (source < source_end) {
    size_t length = sequence_length(*source);
    auto available = static_cast<size_t>(source_end - source);
    if (!legal_prefix(source, length, available)) {
      result = VORN_CONVERSION_SOURCE_ILLEGAL;
      break;
    }
    if (length > available) {
      result = VORN_CONVERSION_SOURCE_EXHAUSTED;
      break;
    }
    // The second-byte limits already refused encoded surrogates and values
    // beyond U+10FFFF, in either mode.
    uint32_t c = decode_utf8(source, length);
    size_t units = c > kMaxBmp ? 2 : 1;
    if (room(target, target_end) < units) {
      result = VORN_CONVERSION_TARGET_EXHAUSTED;
      break;
    }
    if (units == 2) {
      c -= 0x10000;
      *target++ = static_cast<uint16_t>(kHighFirst + (c >> 10));
      *target++ = static_cast<uint16_t>(kLowFirst + (c & 0x3FF));
    } else {
      *target++ = static_cast<uint16_t>(c);
    }
    source += length;
  }
  *source_start = source;
  *target_start = target;
  return result;
}

VORNPAL_API vorn_conversion_result vorn_util_ConvertUTF16toUTF8(const uint16_t **source_start,
                                                                const uint16_t *source_end,
                                                                uint8_t **target_start,
                                                                uint8_t *target_end,
                                                                vorn_conversion_flags flags) {
  if (source_start == nullptr || target_start == nullptr) return VORN_CONVERSION_SOURCE_ILLEGAL;
  const uint16_t *source = *source_start;
  uint8_t *target = *target_start;
  vorn_conversion_result result = VORN_CONVERSION_OK;
  while (source < source_end) {
    uint32_t c = source[0];
    size_t units = 1;
    if (is_high(c)) {
      if (source + 1 == source_end) {
        result = VORN_CONVERSION_SOURCE_EXHAUSTED;
        break;
      }
      if (is_low(source[1])) {
        c = 0x10000 + ((c - kHighFirst) << 10) + (source[1] - kLowFirst);
        units = 2;
      }
    }
    if (is_surrogate(c)) {
      if (flags == VORN_CONVERSION_STRICT) {
        result = VORN_CONVERSION_SOURCE_ILLEGAL;
        break;
      }
      c = kReplacement;
    }
    size_t width = utf8_width(c);
    if (room(target, target_end) < width) {
      result = VORN_CONVERSION_TARGET_EXHAUSTED;
      break;
    }
    encode_utf8(c, width, target);
    target += width;
    source += units;
  }
  *source_start = source;
  *target_start = target;
  return result;
}

}  // extern "C"
