// Message assembly: records from AT-style parameters (first octet, PID, DCS,
// validity, character set) and plain text fields from a received PDU.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include <vornpal/sms_codec.h>
#include <vornpal/strings.h>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"
#include "sms/chset.h"
#include "sms/pdu.h"

uint16_t g_ext_char;

namespace {

using namespace vorn::sms;

constexpr uint32_t kDefaultMessageReference = 100;
constexpr int32_t kDefaultFirstOctet = 17;          // submit, relative validity
constexpr uint32_t kDefaultRelativeValidity = 167;  // one day
constexpr uint32_t kMaxTextChars = 160;
constexpr uint32_t kMaxHexLength = 2 * SMS_USER_DATA_MAX_OCTETS;
constexpr uint32_t kNumberModeDefault = 0x10000000;
constexpr uint8_t kInternationalType = 145;

bool validity_given(const char *validity) {
  return validity != nullptr && validity[0] != '\0' && validity[0] != '-';
}

// "yy/MM/dd,hh:mm:ss+zz": the six fields become BCD, the zone a signed
// count of quarter hours.
bool read_absolute_validity(const char *text, sms_validity_record *record) {
  struct Field {
    uint8_t sms_timestamp::*field;
    uint32_t max;
  };
  static constexpr Field kFields[] = {
      {&sms_timestamp::year, 99}, {&sms_timestamp::month, 12},  {&sms_timestamp::day, 31},
      {&sms_timestamp::hour, 23}, {&sms_timestamp::minute, 59}, {&sms_timestamp::second, 59},
  };
  static constexpr char kSeparators[] = "//,::";
  static constexpr uint32_t kMaxZone = 79;
  if (std::strlen(text) != 20 || text[2] != '/') return false;
  sms_timestamp &time = record->period.timestamp;
  for (size_t i = 0; i < 7; ++i) {
    const char *at = text + 3 * i;
    if (i < 5 && at[2] != kSeparators[i]) return false;
    if (i == 5 && at[2] != '+' && at[2] != '-') return false;
    uint32_t value = 0;
    if (!dsatutil_atoi(at, 2, 10, value) || value > (i < 6 ? kFields[i].max : kMaxZone))
      return false;
    if (i < 6) {
      time.*kFields[i].field = sms_ts_int_to_bcd(static_cast<uint8_t>(value));
    } else {
      time.zone = static_cast<int8_t>(text[17] == '-' ? -static_cast<int>(value) : value);
    }
  }
  record->format = SMS_VALIDITY_ABSOLUTE;
  return true;
}

// Digit value of one dial character; `marked` is set for characters that
// are not dial digits in this mode. False for "+", which has no place inside
// a number.
bool dial_digit(char c, int mode, uint8_t &value, bool &marked) {
  int upper = std::toupper(static_cast<unsigned char>(c));
  auto keep = [&] {
    value = static_cast<uint8_t>(c);
    marked = true;
  };
  switch (dsatutil_validate_dial_char(c)) {
    case kDialDigit: value = static_cast<uint8_t>(c - '0'); break;
    case kDialAbc: value = static_cast<uint8_t>(upper - (mode == 1 ? 0x35 : 0x37)); break;
    case kDialD:
    case kDialE:
      if (mode == 1)
        keep();
      else
        value = static_cast<uint8_t>(upper - 0x37);
      break;
    case kDialStar:
      if (mode == 1)
        value = 10;
      else
        keep();
      break;
    case kDialHash:
      if (mode == 1)
        value = 11;
      else
        keep();
      break;
    case kDialPlus: return false;
    default: keep(); break;
  }
  return true;
}

// Bounded text output of DecodeAddrToStr.
class TextOut {
 public:
  TextOut(char *out, size_t size) : out_(out), size_(size) { out_[0] = '\0'; }
  void put(const char *text) {
    int n = std::snprintf(out_ + length_, size_ - length_, "%s", text);
    if (n > 0) length_ = std::min(size_ - 1, length_ + static_cast<size_t>(n));
  }

 private:
  char *out_;
  size_t size_;
  size_t length_ = 0;
};

}  // namespace

extern "C" {

VORNPAL_API int vorn_sms_encode_pdu(uint8_t *output, uint32_t output_size,
                                    const sms_address_record *sc_address, const char *hex,
                                    uint32_t tpdu_length, uint32_t *output_length) {
  if (output == nullptr || sc_address == nullptr || hex == nullptr || output_length == nullptr)
    return -3;
  int sc_length = put_service_centre(output, output_size, sc_address);
  if (sc_length < 0) return sc_length;
  size_t chars = std::min<size_t>(2u * tpdu_length, std::strlen(hex));
  size_t pos = static_cast<size_t>(sc_length);
  for (size_t i = 0; i < chars; i += 2) {
    uint32_t value = 0;
    if (!dsatutil_atoi(hex + i, std::min<size_t>(2, chars - i), 16, value)) return -3;
    if (pos >= output_size) {
      VORN_LOG(VORN_ERR, "overflow:%d,%d", static_cast<int>(pos), output_size);
      return SMS_ERR_OVERFLOW;
    }
    output[pos++] = static_cast<uint8_t>(value);
  }
  // The octet count is kept in one byte, as the callers expect.
  *output_length = static_cast<uint32_t>(sc_length) + static_cast<uint8_t>(pos - sc_length);
  return 0;
}

VORNPAL_API int vorn_sms_encode_data(sms_user_data_record *user_data, const char *text,
                                     uint32_t length, int32_t first_octet, uint8_t dcs,
                                     uint32_t chset) {
  if (user_data == nullptr || text == nullptr) return 0;
  sms_dcs_record coding{};
  DecodeSmsDcs(dcs, &coding);
  const auto *in = reinterpret_cast<const uint8_t *>(text);
  if (coding.alphabet != SMS_ALPHABET_7BIT || (first_octet >= 0 && (first_octet & kFoUdhi))) {
    if (length % 2 != 0 || length > kMaxHexLength) {
      VORN_LOG(VORN_ERR, "invalid len:%d", length);
      return 0;
    }
    user_data->sm_len = static_cast<uint16_t>(length / 2);
    if (dsatutil_convert_chset(in, length, kHex, user_data->sm_data, kOctets,
                               user_data->sm_len + 1u, false) == nullptr) {
      VORN_LOG(VORN_ERR, "Inconvertible character in SMS text");
      return 0;
    }
    return 1;
  }
  static constexpr uint32_t kCharsPerUnit[] = {1, 1, 4, 2};  // IRA, GSM, UCS-2, hex
  if (chset > SMS_CHSET_HEX) {
    VORN_LOG(VORN_ERR, "wrong cscs value:%d", chset);
    return 0;
  }
  uint32_t chars = length / kCharsPerUnit[chset];
  if (chars > kMaxTextChars) {
    VORN_LOG(VORN_ERR, "data too long:%d", chars);
    return 0;
  }
  // Escapes make the septets longer than the text; the encoders' length test
  // refuses what no longer fits one message.
  bool converted = dsatutil_convert_chset(in, length, static_cast<Chset>(chset), user_data->sm_data,
                                          kSeptets, sizeof user_data->sm_data, false) != nullptr;
  user_data->sm_len = static_cast<uint16_t>(chars + g_ext_char);
  g_ext_char = 0;
  if (!converted) {
    VORN_LOG(VORN_ERR, "Inconvertible character in SMS text");
    return 0;
  }
  return 1;
}

VORNPAL_API int string_to_timestamp(int32_t first_octet, const char *validity,
                                    sms_validity_record *record) {
  if (record == nullptr) return 0;
  switch ((first_octet >> 3) & 0x03) {
    case SMS_VALIDITY_NONE:
      if (validity_given(validity)) return 0;
      record->format = SMS_VALIDITY_NONE;
      return 1;
    case SMS_VALIDITY_RELATIVE: {
      uint32_t octet = kDefaultRelativeValidity;
      if (validity_given(validity) &&
          (!dsatutil_atoi(validity, std::strlen(validity), 10, octet) || octet > 255))
        return 0;
      record->format = SMS_VALIDITY_RELATIVE;
      DecodeRelativeTime(static_cast<uint8_t>(octet), &record->period.timestamp);
      return 1;
    }
    case SMS_VALIDITY_ABSOLUTE:
      return validity_given(validity) && read_absolute_validity(validity, record) ? 1 : 0;
    default: return 0;  // enhanced validity is not taken here
  }
}

VORNPAL_API int vorn_sms_fill_pdu_fields(sms_message_record *record, int32_t first_octet,
                                         uint32_t pid, uint8_t dcs, const char *validity) {
  if (record == nullptr) return SMS_ERR_UNSUPPORTED;
  switch (record->kind) {
    case SMS_KIND_SUBMIT: {
      sms_submit_record &submit = record->body.submit;
      submit.flags &= ~0x0F;
      if (first_octet >= 0) {
        submit.flags |= flags_of(static_cast<uint8_t>(first_octet), kSubmitBits);
      } else {
        first_octet = kDefaultFirstOctet;
      }
      submit.pid = pid;
      submit.message_reference = kDefaultMessageReference;
      DecodeSmsDcs(dcs, &submit.dcs);
      string_to_timestamp(first_octet, validity, &submit.validity);
      return 0;
    }
    case SMS_KIND_DELIVER: {
      sms_deliver_record &deliver = record->body.deliver;
      uint8_t octet = first_octet < 0 ? 0 : static_cast<uint8_t>(first_octet);
      // The record's flag is "more messages", the inverse of TP-MMS.
      deliver.flags = flags_of(octet ^ kFoMms, kDeliverBits);
      deliver.pid = pid;
      DecodeSmsDcs(dcs, &deliver.dcs);
      return 0;
    }
    default: return SMS_ERR_UNSUPPORTED;
  }
}

VORNPAL_API int vorn_sms_str_to_addr(sms_address_record *address, const char *number,
                                     const char *type, int mode) {
  if (address == nullptr || number == nullptr) return 0;
  *address = sms_address_record{};
  const char *digits = number;
  if (type != nullptr && type[0] != '\0') {
    uint32_t type_of_address = 0;
    if (!dsatutil_atoi(type, std::strlen(type), mode == 1 ? 10 : 16, type_of_address) ||
        type_of_address > 255)
      return 0;
    address->number_type = (type_of_address >> 4) & 0x07;
    address->number_plan = type_of_address & 0x0F;
  } else {
    address->number_plan = 1;
    address->number_type = 0;
  }
  if (digits[0] == '+') {
    ++digits;
    address->number_type = SMS_NUMBER_INTERNATIONAL;
  }
  address->digit_mode = 0;
  address->number_mode = kNumberModeDefault;
  bool marked = false;
  uint8_t count = 0;
  for (; *digits != '\0'; ++digits) {
    if (count == SMS_ADDRESS_MAX_DIGITS) return 0;
    if (!dial_digit(*digits, mode, address->digits[count], marked)) return 0;
    address->number_of_digits = ++count;
  }
  if (count == 0) {
    VORN_LOG(VORN_ERR, "No Number available");
    return 0;
  }
  return marked ? 0 : 1;
}

VORNPAL_API int vorn_sms_convert_format(uint32_t index) {
  static constexpr int kFormats[] = {2, 1, 3, 4};
  return index < 4 ? kFormats[index] : 0;
}

VORNPAL_API int SMS_SendEncode2Pdu(const char *address, const uint8_t *data, uint32_t length,
                                   int text_flag, const char *smsc, uint8_t *output,
                                   uint32_t *output_length, uint32_t concat) {
  sms_pdu_buffer pdu;
  if (output == nullptr || output_length == nullptr ||
      smsPdu_Encode(SMS_PROTOCOL_GW_PP, data, length, address, text_flag ? 0 : 2, 1, smsc, &pdu,
                    concat) != 0 ||
      pdu.length > *output_length)
    return 1;
  std::memcpy(output, pdu.pdu, pdu.length);
  *output_length = pdu.length;
  return 0;
}

VORNPAL_API int SMS_Decode(sms_decode_context *context) {
  if (context == nullptr || context->pdu == nullptr) return 1;
  sms_message_record record;
  if (vorn_sms_decode(SMS_DIRECTION_MO, SMS_PROTOCOL_GW_PP, context->pdu, context->pdu_length,
                      &record) != 0) {
    VORN_LOG(VORN_ERR, "=====sms decode fail ========\n");
    return 1;
  }
  const sms_address_record *address;
  const sms_dcs_record *dcs;
  const sms_user_data_record *user_data;
  if (record.kind == SMS_KIND_DELIVER) {
    const sms_deliver_record &deliver = record.body.deliver;
    address = &deliver.originating_address;
    dcs = &deliver.dcs;
    user_data = &deliver.user_data;
    vorn_string_memcpy(context->timestamp, deliver.scts_text, sizeof context->timestamp);
  } else if (record.kind == SMS_KIND_SUBMIT) {
    const sms_submit_record &submit = record.body.submit;
    address = &submit.destination_address;
    dcs = &submit.dcs;
    user_data = &submit.user_data;
  } else {
    return 0;
  }
  context->is_deliver = record.kind == SMS_KIND_DELIVER;
  context->not_7bit = dcs->alphabet != SMS_ALPHABET_7BIT;
  char sender[SMS_ADDRESS_TEXT_SIZE];
  uint8_t type = 0;
  if (DecodeAddrToStr(*address, sender, &type) == 0)
    vorn_string_memcpy(context->sender, sender, sizeof context->sender);
  // The decoders leave at most 160 septets or 140 octets.
  vorn::checked_memcpy(context->text, sizeof context->text, user_data->sm_data, user_data->sm_len);
  context->text_length = user_data->sm_len;
  return 0;
}

VORNPAL_API int DecodeAddrToStr(sms_address_record address, char *output, uint8_t *type) {
  if (output == nullptr || address.number_of_digits > SMS_ADDRESS_DIGITS_SIZE) return -1;
  uint8_t type_of_address =
      static_cast<uint8_t>(0x80 | (address.number_type & 0x07) << 4 | (address.number_plan & 0x07));
  if (type != nullptr) *type = type_of_address;
  TextOut out(output, SMS_ADDRESS_TEXT_SIZE);
  if (type_of_address == kInternationalType) out.put("+");
  static constexpr const char *kDialSigns[] = {"*", "#", "A", "B", "C"};
  for (unsigned i = 0; i < address.number_of_digits; ++i) {
    uint8_t digit = address.digits[i];
    char text[4];
    if (address.digit_mode != 0) {
      std::snprintf(text, sizeof text, "%02X", digit);
    } else if (digit >= 10 && digit <= 14) {
      std::snprintf(text, sizeof text, "%s", kDialSigns[digit - 10]);
    } else {
      std::snprintf(text, sizeof text, "%d", digit);
    }
    out.put(text);
  }
  return 0;
}

VORNPAL_API void HexToAscii(const uint8_t *bytes, char *output, int length) {
  if (bytes == nullptr || output == nullptr) {
    VORN_LOG(VORN_ERR, "src or dest is NULL\n");
    return;
  }
  if (length < 1) {
    VORN_LOG(VORN_ERR, "length is NULL\n");
    return;
  }
  dsatutil_convert_chset(bytes, static_cast<size_t>(length), kOctets,
                         reinterpret_cast<uint8_t *>(output), kHex, 2u * length + 1, false);
}

}  // extern "C"
