// Character-set conversion between the AT command sets, Latin-1 and GSM
// septets, through the exported tables.
#include "sms/chset.h"

#include <cctype>

#include <vornpal/sms_codec.h>

#include "sms/alphabet.h"

namespace vorn::sms {
namespace {

enum class Put { kOk, kInconvertible, kFull };

// Output that keeps one byte for the terminator.
class Sink {
 public:
  Sink(uint8_t *out, size_t capacity) : out_(out), capacity_(capacity) {}

  Put put(uint8_t byte) {
    if (length_ + 1 >= capacity_) return Put::kFull;
    out_[length_++] = byte;
    return Put::kOk;
  }

  Put put_hex(unsigned value, int digits) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
      if (put(static_cast<uint8_t>(kDigits[(value >> shift) & 15])) == Put::kFull)
        return Put::kFull;
    return Put::kOk;
  }

  uint8_t *finish() {
    if (length_ < capacity_) out_[length_] = 0;
    return out_ + length_;
  }

 private:
  uint8_t *out_;
  size_t capacity_;
  size_t length_ = 0;
};

int hex_digit(uint8_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<uint8_t>(std::toupper(c));
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads `digits` hex digits at text; -1 when one is not a hex digit.
long read_hex(const uint8_t *text, int digits) {
  long value = 0;
  for (int i = 0; i < digits; ++i) {
    int d = hex_digit(text[i]);
    if (d < 0) return -1;
    value = value * 16 + d;
  }
  return value;
}

// Input characters per unit of each set.
size_t unit_width(Chset set) {
  switch (set) {
    case kUcs2: return 4;
    case kHex: return 2;
    default: return 1;
  }
}

Put put_septets(Sink &sink, unsigned unit) {
  // Septets are counted by length, not terminated, so '@' can be septet 0.
  if (unit == '@') return sink.put(0);
  if (unit < 256) {
    if (ira_to_gsm7[unit] < 128) return sink.put(ira_to_gsm7[unit]);
    if (ira_to_gsm7_ext[unit] < 128) {
      ++g_ext_char;
      return sink.put(kEscape) == Put::kOk ? sink.put(ira_to_gsm7_ext[unit]) : Put::kFull;
    }
    return Put::kInconvertible;
  }
  for (const UnicodeSeptet &beyond : kBeyondLatin1) {
    if (beyond.unit != unit) continue;
    if (!beyond.escaped) return sink.put(beyond.septet);
    ++g_ext_char;
    return sink.put(kEscape) == Put::kOk ? sink.put(beyond.septet) : Put::kFull;
  }
  return Put::kInconvertible;
}

Put put_gsm_display(Sink &sink, unsigned unit) {
  if (unit > 255) return Put::kInconvertible;
  if (show_gsm7_to_ira[unit] < 128) return sink.put(show_gsm7_to_ira[unit]);
  if (show_gsm7_to_ira_ext[unit] < 128) return sink.put(show_gsm7_to_ira_ext[unit]);
  return Put::kInconvertible;
}

Put put_unit(Sink &sink, Chset to, unsigned unit) {
  switch (to) {
    case kIra:
    case kOctets: return unit < 256 ? sink.put(static_cast<uint8_t>(unit)) : Put::kInconvertible;
    case kHex: return unit < 256 ? sink.put_hex(unit, 2) : Put::kInconvertible;
    case kUcs2: return sink.put_hex(unit, 4);
    case kGsm: return put_gsm_display(sink, unit);
    case kSeptets: return put_septets(sink, unit);
  }
  return Put::kInconvertible;
}

bool known(Chset set) {
  switch (set) {
    case kIra:
    case kGsm:
    case kUcs2:
    case kHex:
    case kOctets:
    case kSeptets: return true;
  }
  return false;
}

// Septets are only ever written; the GSM set is read only as septets.
bool supported(Chset from, Chset to) {
  if (!known(from) || !known(to) || from == kSeptets) return false;
  return from != kGsm || to == kSeptets;
}

}  // namespace

uint8_t *dsatutil_convert_chset(const uint8_t *in, size_t in_len, Chset from, uint8_t *out,
                                Chset to, size_t capacity, bool drop_inconvertible) {
  if (in == nullptr || out == nullptr || !supported(from, to)) return nullptr;
  Sink sink(out, capacity);
  size_t width = unit_width(from);
  if (in_len % width != 0) return nullptr;
  for (size_t i = 0; i < in_len; i += width) {
    long unit = width == 1 ? in[i] : read_hex(in + i, static_cast<int>(width));
    if (unit < 0) return nullptr;
    Put put = from == kGsm
                  ? (unit < 128 ? sink.put(static_cast<uint8_t>(unit)) : Put::kInconvertible)
                  : put_unit(sink, to, static_cast<unsigned>(unit));
    if (put == Put::kFull || (put == Put::kInconvertible && !drop_inconvertible)) return nullptr;
  }
  return sink.finish();
}

bool dsatutil_atoi(const char *text, size_t len, unsigned base, uint32_t &value) {
  if (text == nullptr || len == 0) return false;
  uint64_t result = 0;
  for (size_t i = 0; i < len; ++i) {
    int digit = hex_digit(static_cast<uint8_t>(text[i]));
    if (digit < 0 || static_cast<unsigned>(digit) >= base) return false;
    result = result * base + static_cast<unsigned>(digit);
    if (result > UINT32_MAX) return false;
  }
  value = static_cast<uint32_t>(result);
  return true;
}

DialClass dsatutil_validate_dial_char(char c) {
  switch (std::toupper(static_cast<unsigned char>(c))) {
    case 'A':
    case 'B':
    case 'C': return kDialAbc;
    case 'D': return kDialD;
    case 'E': return kDialE;
    case '*': return kDialStar;
    case '#': return kDialHash;
    case '+': return kDialPlus;
    case ',':
    case 'P':
    case 'W': return kDialPause;
    default: return std::isdigit(static_cast<unsigned char>(c)) ? kDialDigit : kDialOther;
  }
}

}  // namespace vorn::sms
