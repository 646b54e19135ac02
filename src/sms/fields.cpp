// Field codecs of the TPDU: addresses, data coding scheme, timestamps and
// validity periods, and the text form of a timestamp.
#include <cstdlib>
#include <cstring>

#include <vornpal/sms_codec.h>

#include "foundation/log_site.h"

namespace {

constexpr uint8_t kAlphanumeric = 5;
constexpr uint8_t kNoClass = 4;

constexpr uint8_t swap_nibbles(uint8_t octet) {
  return static_cast<uint8_t>((octet >> 4) | (octet << 4));
}

// The six BCD fields of a timestamp, in wire order, with their bounds, the
// decoder's repair value and the texts of both directions.
struct FieldRule {
  uint8_t sms_timestamp::*field;
  uint8_t min;
  uint8_t max;
  uint8_t repair;
  const char *decode_text;
  const char *encode_text;
};

constexpr FieldRule kFieldRules[] = {
    {&sms_timestamp::year, 0, 99, 0, "Invalid BCD Digits in Encoded Timestamp Year : %d",
     "Invalid BCD Digits in Encoded Timestamp Year : %d"},
    {&sms_timestamp::month, 1, 12, 1, "Month is invalid: %d", "Month is invalid: %d"},
    {&sms_timestamp::day, 1, 31, 1, "Day is invalid: %d", "Day is invalid: %d"},
    {&sms_timestamp::hour, 0, 23, 0, "Hour is too large: %d", "Hour is invalid: %d"},
    {&sms_timestamp::minute, 0, 59, 0, "Minute is too large: %d", "Minute is invalid: %d"},
    {&sms_timestamp::second, 0, 59, 0, "Second is too large: %d", "Second is invalid: %d"},
};
constexpr size_t kHourRule = 3;

// The value shown in a log line: decimal when the byte is BCD.
int shown(uint8_t bcd) {
  uint8_t value = 0;
  return sms_ts_bcd_to_int(bcd, &value) ? value : bcd;
}

bool in_rule(const FieldRule &rule, uint8_t bcd) {
  uint8_t value = 0;
  return sms_ts_bcd_to_int(bcd, &value) && value >= rule.min && value <= rule.max;
}

// Wire fields (nibbles swapped) into the timestamp, bad ones repaired.
void decode_fields(const uint8_t *wire, size_t first, size_t last, sms_timestamp *ts) {
  for (size_t i = first; i < last; ++i) {
    const FieldRule &rule = kFieldRules[i];
    uint8_t bcd = swap_nibbles(wire[i - first]);
    if (!in_rule(rule, bcd)) {
      VORN_LOG(VORN_ERR, rule.decode_text, shown(bcd));
      bcd = sms_ts_int_to_bcd(rule.repair);
    }
    ts->*rule.field = bcd;
  }
}

// Timestamp fields to the wire; false at the first bad one, with nothing
// written.
bool encode_fields(const sms_timestamp *ts, size_t first, size_t last, uint8_t *out) {
  for (size_t i = first; i < last; ++i) {
    const FieldRule &rule = kFieldRules[i];
    if (!in_rule(rule, ts->*rule.field)) {
      VORN_LOG(VORN_ERR, rule.encode_text, shown(ts->*rule.field));
      return false;
    }
  }
  for (size_t i = first; i < last; ++i) out[i - first] = swap_nibbles(ts->*kFieldRules[i].field);
  return true;
}

// Zone octet: sign in bit 3, tens in bits 0..2, units in the high nibble.
// The accepted range is -48..+56 quarter hours in both directions.
bool zone_in_range(int zone) { return zone >= -48 && zone <= 56; }

int decode_zone(uint8_t octet) {
  int value = (octet & 0x07) * 10 + (octet >> 4);
  return (octet & 0x08) ? -value : value;
}

uint8_t encode_zone(int zone) {
  int magnitude = std::abs(zone);
  return static_cast<uint8_t>(magnitude / 10 | (magnitude % 10) << 4 | (zone < 0 ? 0x08 : 0));
}

// BCD value of a validity field, 0 (and a log line) for a non-BCD byte.
unsigned period_value(uint8_t bcd) {
  uint8_t value = 0;
  if (!sms_ts_bcd_to_int(bcd, &value))
    VORN_LOG(VORN_ERR, "Invalid BCD digit in validity period: %d", bcd);
  return value;
}

char *put_two(char *out, uint8_t bcd) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  *out++ = kDigits[bcd >> 4];
  *out++ = kDigits[bcd & 15];
  return out;
}

}  // namespace

extern "C" {

VORNPAL_API uint8_t sms_ts_int_to_bcd(uint8_t value) {
  return static_cast<uint8_t>(value % 10 | (value / 10) << 4);
}

VORNPAL_API uint8_t sms_ts_bcd_to_int(uint8_t bcd, uint8_t *value) {
  bool valid = (bcd & 0x0F) <= 9 && (bcd >> 4) <= 9;
  if (value != nullptr) *value = valid ? static_cast<uint8_t>((bcd >> 4) * 10 + (bcd & 0x0F)) : 0;
  return valid ? 1 : 0;
}

// --- address -------------------------------------------------------------------

VORNPAL_API uint8_t DecodeAddress(const uint8_t *wire, sms_address_record *address) {
  if (wire == nullptr || address == nullptr) return 0;
  uint8_t digits = wire[0];
  if (digits > SMS_ADDRESS_MAX_DIGITS) {
    VORN_LOG(VORN_ERR, "Addr len too long: %d", digits);
    return 0;
  }
  uint8_t type = wire[1];
  if ((type & 0x80) == 0) {
    VORN_LOG(VORN_ERR, "The most significant bit in Type-of-Address field is not 1");
    return 0;
  }
  address->number_type = (type >> 4) & 0x07;
  address->number_plan = type & 0x0F;
  if (address->number_type == kAlphanumeric) {
    // The length counts semi-octets of packed septets.
    address->digit_mode = 1;
    address->number_of_digits = static_cast<uint8_t>(digits * 4 / 7);
    unpack_gw_7_bit_chars(wire + 2, address->number_of_digits, SMS_ADDRESS_MAX_DIGITS, 0,
                          address->digits);
    return static_cast<uint8_t>((digits + 1) / 2 + 2);
  }
  address->digit_mode = 0;
  address->number_of_digits = digits;
  // Whole octets: the filler of an odd number lands behind the last digit.
  for (unsigned i = 0; i < (digits + 1u) / 2; ++i) {
    address->digits[2 * i] = wire[2 + i] & 0x0F;
    address->digits[2 * i + 1] = wire[2 + i] >> 4;
  }
  return static_cast<uint8_t>(digits == 0 ? 2 : (digits - 1) / 2 + 3);
}

VORNPAL_API uint8_t EncodeAddress(const sms_address_record *address, uint8_t *out) {
  if (address == nullptr || out == nullptr) return 0;
  uint8_t digits = address->number_of_digits;
  if (digits > SMS_ADDRESS_MAX_DIGITS) {
    VORN_LOG(VORN_ERR, "Addr len too long: %d", digits);
    return 0;
  }
  out[1] = static_cast<uint8_t>(0x80 | (address->number_type & 0x07) << 4 |
                                (address->number_plan & 0x0F));
  if (address->number_type == kAlphanumeric) {
    out[0] = static_cast<uint8_t>((3 + digits * 7) / 4);
    return static_cast<uint8_t>(2 + sms_ts_pack_gw_7_bit_chars(address->digits, digits, 0,
                                                               SMS_ADDRESS_MAX_DIGITS, out + 2));
  }
  out[0] = digits;
  for (unsigned i = 0; i < digits; i += 2) {
    unsigned high = i + 1 < digits ? address->digits[i + 1] & 0x0F : 0x0F;
    out[2 + i / 2] = static_cast<uint8_t>((address->digits[i] & 0x0F) | high << 4);
  }
  return static_cast<uint8_t>(2 + (digits + 1) / 2);
}

// --- data coding scheme ----------------------------------------------------------

VORNPAL_API uint8_t DecodeDcs(const uint8_t *wire, sms_dcs_record *dcs) {
  if (wire == nullptr || dcs == nullptr) return 0;
  uint8_t octet = *wire;
  *dcs = sms_dcs_record{};
  dcs->msg_class = kNoClass;
  if (octet < 0x40) {
    dcs->is_compressed = (octet >> 5) & 1;
    if (octet & 0x10) dcs->msg_class = octet & 0x03;
    dcs->alphabet = (octet >> 2) & 0x03;
    if (dcs->alphabet == 3) dcs->alphabet = SMS_ALPHABET_7BIT;  // reserved
  } else if (octet >= 0xF0) {
    dcs->alphabet = (octet >> 2) & 1;
    dcs->msg_waiting = SMS_MSG_WAITING_GROUP_1111;
    dcs->msg_class = octet & 0x03;
  } else if (octet >= 0xC0) {
    dcs->msg_waiting = octet < 0xD0 ? SMS_MSG_WAITING_DISCARD : SMS_MSG_WAITING_STORE;
    dcs->alphabet = octet >= 0xE0 ? SMS_ALPHABET_UCS2 : SMS_ALPHABET_7BIT;
    dcs->msg_waiting_active = (octet >> 3) & 1;
    dcs->msg_waiting_kind = octet & 0x03;
  } else {
    VORN_LOG(VORN_ERR, "Invalid DCS: %x", octet);
  }
  dcs->raw_dcs = octet;
  return 1;
}

VORNPAL_API void DecodeSmsDcs(uint8_t octet, sms_dcs_record *dcs) {
  if (dcs == nullptr) return;
  uint8_t raw = dcs->raw_dcs;
  *dcs = sms_dcs_record{};
  dcs->raw_dcs = raw;
  dcs->msg_class = kNoClass;
  if (octet < 0x40) {
    dcs->is_compressed = (octet >> 5) & 1;
    if (octet & 0x10) dcs->msg_class = octet & 0x03;
    if (((octet >> 2) & 0x03) != 3) dcs->alphabet = (octet >> 2) & 0x03;
  } else if (octet >= 0xF0) {
    dcs->msg_class = octet & 0x03;
    if (octet & 0x04) dcs->alphabet = SMS_ALPHABET_8BIT;
  } else if (octet >= 0xC0) {
    dcs->msg_waiting = octet < 0xD0 ? SMS_MSG_WAITING_DISCARD : SMS_MSG_WAITING_STORE;
    if (octet & 0x20) dcs->alphabet = SMS_ALPHABET_UCS2;
    dcs->msg_waiting_active = (octet >> 3) & 1;
    dcs->msg_waiting_kind = octet & 0x03;
  }
}

VORNPAL_API uint8_t EncodeDcs(const sms_dcs_record *dcs, uint8_t *out) {
  if (dcs == nullptr || out == nullptr) return 0;
  uint8_t indication =
      static_cast<uint8_t>((dcs->msg_waiting_active ? 0x08 : 0) | (dcs->msg_waiting_kind & 0x03));
  switch (dcs->msg_waiting) {
    case SMS_MSG_WAITING_NONE:
      *out = static_cast<uint8_t>((dcs->is_compressed ? 0x20 : 0) |
                                  (dcs->msg_class != kNoClass ? 0x10 : 0) |
                                  (dcs->alphabet & 0x03) << 2 | (dcs->msg_class & 0x03));
      break;
    case SMS_MSG_WAITING_GROUP_1111:
      *out = static_cast<uint8_t>(0xF0 | (dcs->alphabet == SMS_ALPHABET_8BIT ? 0x04 : 0) |
                                  (dcs->msg_class & 0x03));
      break;
    case SMS_MSG_WAITING_DISCARD: *out = 0xC0 | indication; break;
    case SMS_MSG_WAITING_STORE:
      if (dcs->alphabet == SMS_ALPHABET_7BIT) {
        *out = 0xD0 | indication;
        break;
      }
      [[fallthrough]];
    default: *out = 0xE0 | indication; break;
  }
  return 1;
}

// --- timestamps --------------------------------------------------------------------

VORNPAL_API uint8_t DecodeTimestamp(const uint8_t *wire, sms_timestamp *timestamp) {
  if (wire == nullptr || timestamp == nullptr) return 0;
  decode_fields(wire, 0, 6, timestamp);
  int zone = decode_zone(wire[6]);
  if (!zone_in_range(zone)) {
    VORN_LOG(VORN_ERR, "Timezone is out of bound: %d", zone);
    zone = 0;
  }
  timestamp->zone = static_cast<int8_t>(zone);
  return 7;
}

VORNPAL_API uint8_t EncodeTimestamp(const sms_timestamp *timestamp, uint8_t *out) {
  if (timestamp == nullptr || out == nullptr) return 0;
  if (!zone_in_range(timestamp->zone)) {
    VORN_LOG(VORN_ERR, "Timezone is out of bound: %d", timestamp->zone);
    return 0;
  }
  if (!encode_fields(timestamp, 0, 6, out)) return 0;
  out[6] = encode_zone(timestamp->zone);
  return 7;
}

// --- validity periods ----------------------------------------------------------------

VORNPAL_API void DecodeRelativeTime(uint8_t octet, sms_timestamp *period) {
  if (period == nullptr) {
    VORN_LOG(VORN_ERR, "null pointer in sms_ts_decode_relative_time");
    return;
  }
  *period = sms_timestamp{};
  unsigned hour = 0, minute = 0, year = 0, month = 0, day = 0;
  if (octet <= 143) {  // 5-minute steps up to 12 hours
    unsigned minutes = (octet + 1u) * 5;
    hour = minutes / 60;
    minute = minutes % 60;
  } else if (octet <= 166) {  // 30-minute steps up to 24 hours
    unsigned minutes = (octet - 143u) * 30;
    hour = 12 + minutes / 60;
    minute = minutes % 60;
  } else if (octet <= 196) {  // days up to 30
    unsigned days = octet - 166u;
    month = days / 30;
    day = days % 30;
  } else {  // weeks
    unsigned days = (octet - 192u) * 7;
    year = days / 365;
    month = days % 365 / 30;
    day = days % 365 % 30;
  }
  period->year = sms_ts_int_to_bcd(static_cast<uint8_t>(year));
  period->month = sms_ts_int_to_bcd(static_cast<uint8_t>(month));
  period->day = sms_ts_int_to_bcd(static_cast<uint8_t>(day));
  period->hour = sms_ts_int_to_bcd(static_cast<uint8_t>(hour));
  period->minute = sms_ts_int_to_bcd(static_cast<uint8_t>(minute));
}

VORNPAL_API uint8_t EncodeRelativeTime(const sms_timestamp *period) {
  if (period == nullptr) return 0;
  unsigned days = 365 * period_value(period->year) + 30 * period_value(period->month) +
                  period_value(period->day);
  int octet;
  if (days > 30) {
    octet = 192 + static_cast<int>((days + 6) / 7);
  } else if (days > 0) {
    octet = 166 + static_cast<int>(days);
  } else {
    int minutes = static_cast<int>(60 * period_value(period->hour) + period_value(period->minute));
    // A null period gives (0 + 4) / 5 - 1, which is 255 as an octet.
    octet = minutes <= 720 ? (minutes + 4) / 5 - 1 : 143 + (minutes - 691) / 30;
  }
  return static_cast<uint8_t>(octet);
}

VORNPAL_API uint8_t DecodeEvpRelTime(const uint8_t *wire, sms_timestamp *period) {
  if (wire == nullptr || period == nullptr) return 0;
  *period = sms_timestamp{};
  decode_fields(wire, kHourRule, kHourRule + 3, period);
  return 3;
}

VORNPAL_API uint8_t EncodeEvpRelTime(const sms_timestamp *period, uint8_t *out) {
  if (period == nullptr || out == nullptr) return 0;
  return encode_fields(period, kHourRule, kHourRule + 3, out) ? 3 : 0;
}

VORNPAL_API uint8_t DecodeEnhancedVp(const uint8_t *wire, sms_enhanced_validity *validity) {
  if (wire == nullptr || validity == nullptr) return 0;
  *validity = sms_enhanced_validity{};
  validity->extension = wire[0] >> 7;
  validity->single_shot = (wire[0] >> 6) & 1;
  validity->relative_format = wire[0] & 0x07;
  const uint8_t *value = wire + 1;
  if (validity->extension) {
    validity->extension_octet = wire[1];
    value = wire + 2;
  }
  switch (validity->relative_format) {
    case 1: DecodeRelativeTime(value[0], &validity->time); break;
    case 2:
      validity->time.minute = sms_ts_int_to_bcd(value[0] / 60);
      validity->time.second = sms_ts_int_to_bcd(value[0] % 60);
      break;
    case 3:
      if (DecodeEvpRelTime(value, &validity->time) != 3)
        VORN_LOG(VORN_ERR, "Error while Decoding Enhanced VP relative time");
      break;
    default: break;
  }
  return 7;
}

VORNPAL_API uint8_t EncodeEnhancedVp(const sms_enhanced_validity *validity, uint8_t *out) {
  if (validity == nullptr || out == nullptr) return 0;
  std::memset(out, 0, 7);
  out[0] =
      static_cast<uint8_t>((validity->extension ? 0x80 : 0) | (validity->single_shot ? 0x40 : 0) |
                           (validity->relative_format & 0x07));
  uint8_t *value = out + 1;
  if (validity->extension == 1) {
    out[1] = validity->extension_octet;
    value = out + 2;
  }
  switch (validity->relative_format) {
    case 1: value[0] = EncodeRelativeTime(&validity->time); break;
    case 2: {
      uint8_t minute = 0, second = 0;
      if (!sms_ts_bcd_to_int(validity->time.minute, &minute))
        VORN_LOG(VORN_ERR, "Minute is invalid");
      if (!sms_ts_bcd_to_int(validity->time.second, &second))
        VORN_LOG(VORN_ERR, "Second is invalid");
      value[0] = static_cast<uint8_t>(minute * 60 + second);
      break;
    }
    case 3:
      if (EncodeEvpRelTime(&validity->time, value) != 3)
        VORN_LOG(VORN_ERR, "Error while encoding Enhanced VP relative time");
      break;
    default: break;
  }
  return 7;
}

VORNPAL_API uint8_t DecodeGwValidity(const uint8_t *wire, sms_validity_record *validity) {
  if (wire == nullptr || validity == nullptr) return 0;
  switch (validity->format) {
    case SMS_VALIDITY_NONE: *validity = sms_validity_record{}; return 0;
    case SMS_VALIDITY_ENHANCED:
      if (DecodeEnhancedVp(wire, &validity->period.enhanced) == 7) return 7;
      VORN_LOG(VORN_ERR, "Error while Decoding Enhanced Validity Period");
      return 0;
    case SMS_VALIDITY_RELATIVE: DecodeRelativeTime(wire[0], &validity->period.timestamp); return 1;
    case SMS_VALIDITY_ABSOLUTE:
      if (DecodeTimestamp(wire, &validity->period.timestamp) == 7) return 7;
      VORN_LOG(VORN_ERR, "Error while Decoding Absolute Validity Timestamp");
      return 0;
    default: VORN_LOG(VORN_ERR, "Invalid TP-VPF"); return 0;
  }
}

VORNPAL_API uint8_t EncodeGwValidity(const sms_validity_record *validity, uint8_t *out) {
  if (validity == nullptr || out == nullptr) return 0;
  switch (validity->format) {
    case SMS_VALIDITY_ENHANCED:
      if (EncodeEnhancedVp(&validity->period.enhanced, out) == 7) return 7;
      VORN_LOG(VORN_ERR, "Error while Encoding Enhanced Validity Period");
      return 0;
    case SMS_VALIDITY_RELATIVE: out[0] = EncodeRelativeTime(&validity->period.timestamp); return 1;
    case SMS_VALIDITY_ABSOLUTE: return EncodeTimestamp(&validity->period.timestamp, out);
    default: return 0;
  }
}

// --- text form ---------------------------------------------------------------------------

VORNPAL_API char *dsatsmsi_timestamp(sms_timestamp timestamp, char *output, int format) {
  if (output == nullptr) return nullptr;
  const uint8_t fields[] = {timestamp.year, timestamp.month,  timestamp.day,
                            timestamp.hour, timestamp.minute, timestamp.second};
  char *out = output;
  if (format == 0) {
    static constexpr char kSeparators[] = "//,::";
    for (size_t i = 0; i < 6; ++i) {
      out = put_two(out, fields[i]);
      if (i < 5) *out++ = kSeparators[i];
    }
    int magnitude = std::abs(timestamp.zone);
    *out++ = timestamp.zone < 0 ? '-' : '+';
    out = put_two(out, sms_ts_int_to_bcd(static_cast<uint8_t>(magnitude > 99 ? 99 : magnitude)));
  } else {
    *out++ = '2';
    *out++ = '0';
    for (size_t i = 0; i < 6; ++i) {
      if (i > 0) *out++ = ',';
      out = put_two(out, fields[i]);
    }
  }
  *out = '\0';
  return out;
}

VORNPAL_API char *dsatetsismsi_timestamp(sms_timestamp timestamp, char *output) {
  return dsatsmsi_timestamp(timestamp, output, 0);
}

}  // extern "C"
