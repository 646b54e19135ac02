// TP-User-Data: header and data behind the UDL octet, in septets or octets,
// and the text form of decoded septets.
#include <cstring>

#include <vornpal/sms_user_data.h>

#include "foundation/log_site.h"
#include "sms/alphabet.h"
#include "sms/chset.h"
#include "sms/septets.h"

uint16_t vorn_charater_flag;

namespace {

constexpr unsigned kMaxOctets = SMS_USER_DATA_MAX_OCTETS;
constexpr unsigned kMaxSeptets = 160;
constexpr uint8_t kBadHeader = 255;
constexpr uint8_t kUnpackCapacity = 255;

// Bits of a header of `octets` octets rounded up to whole septets: the text
// that follows starts on a septet boundary behind fill bits.
constexpr unsigned header_septet_bits(unsigned octets) { return (octets * 8 + 6) / 7 * 7; }

uint8_t decode_octets(uint8_t udl, const uint8_t *data, bool header_flag,
                      sms_user_data_record *ud) {
  if (udl > kMaxOctets) {
    VORN_LOG(VORN_ERR, "user data length > max value for 8-bit chararacters");
    return 0;
  }
  unsigned udhl = 0;
  if (header_flag) {
    if (data[0] >= udl) {
      VORN_LOG(VORN_ERR, "user data header length >= total length");
      return kBadHeader;
    }
    udhl = DecodeUserDataHeader(udl, data, &ud->num_headers, ud->headers);
    if (udhl >= udl) {
      VORN_LOG(VORN_ERR, "user data header length >= total length");
      return kBadHeader;
    }
    ++udhl;  // the UDHL octet itself, also when the elements could not be read
  }
  ud->sm_len = static_cast<uint16_t>(udl - udhl);
  std::memcpy(ud->sm_data, data + udhl, ud->sm_len);
  return udl;
}

uint8_t decode_septets(uint8_t udl, const uint8_t *data, bool header_flag,
                       sms_user_data_record *ud) {
  if (udl > kMaxSeptets) {
    VORN_LOG(VORN_ERR, "user data length > max value for gw 7-bit alphabet");
    return 0;
  }
  if (header_flag) {
    if (data[0] >= udl) {
      VORN_LOG(VORN_ERR, "user data header length >= total length");
      return kBadHeader;
    }
    unsigned udhl = DecodeUserDataHeader(static_cast<uint8_t>(vorn::sms::packed_octets(udl)), data,
                                         &ud->num_headers, ud->headers);
    if (udhl >= udl * 7u / 8) return kBadHeader;
    if (udhl != 0) {
      unsigned skip = udhl + 1;
      unsigned bits = udl * 7u - skip * 8;
      unsigned septets = bits / 7;
      unsigned shift = bits % 7 == 0 ? 0 : 8 - bits % 7;
      uint8_t consumed =
          unpack_gw_7_bit_chars(data + skip, static_cast<uint8_t>(septets), kUnpackCapacity,
                                static_cast<uint16_t>(shift), ud->sm_data);
      ud->sm_len = static_cast<uint16_t>(septets);
      return static_cast<uint8_t>(consumed + skip);
    }
  }
  // No header, or one that could not be read: everything is text.
  ud->sm_len = udl;
  return unpack_gw_7_bit_chars(data, udl, kUnpackCapacity, 0, ud->sm_data);
}

}  // namespace

extern "C" {

VORNPAL_API uint8_t DecodeGwUserData(const sms_dcs_record *dcs, uint8_t udl, const uint8_t *data,
                                     uint8_t header_flag, sms_user_data_record *user_data) {
  if (dcs == nullptr || data == nullptr || user_data == nullptr) {
    VORN_LOG(VORN_ERR, "null pointer in sms_ts_decode_gw_user_data");
    return 0;
  }
  std::memset(user_data, 0, sizeof *user_data);
  if (udl == 0) return 0;
  return dcs->alphabet != SMS_ALPHABET_7BIT
             ? decode_octets(udl, data, header_flag != 0, user_data)
             : decode_septets(udl, data, header_flag != 0, user_data);
}

VORNPAL_API uint32_t ComputeUserDataLength(const sms_dcs_record *dcs,
                                           const sms_user_data_record *user_data) {
  if (dcs == nullptr || user_data == nullptr) return 0;
  uint32_t header = ComputeUserDataHeaderLength(user_data->num_headers, user_data->headers);
  if (dcs->alphabet != SMS_ALPHABET_7BIT) return header + user_data->sm_len;
  // Counted with one septet to spare: 160 septets give 140 octets, 161 give
  // 141.
  uint32_t fill = header_septet_bits(header) - header * 8;
  return header + ((user_data->sm_len + 1u) * 7 + fill) / 8;
}

VORNPAL_API uint16_t EncodeUserData(const sms_dcs_record *dcs,
                                    const sms_user_data_record *user_data, uint8_t *out) {
  if (dcs == nullptr || user_data == nullptr || out == nullptr) return 0;
  uint16_t sm_len = user_data->sm_len;
  if (sm_len > 255) {
    VORN_LOG(VORN_ERR, "Invalid user data");
    return 0;
  }
  out[0] = static_cast<uint8_t>(sm_len);
  unsigned header = 0;
  if (user_data->num_headers > 0) {
    if (ComputeUserDataHeaderLength(user_data->num_headers, user_data->headers) > kMaxOctets) {
      VORN_LOG(VORN_ERR, "Encode User Data Header Exceeds Capacity - Skipping UDH");
    } else {
      header =
          sms_ts_encode_user_data_header(user_data->num_headers, user_data->headers, out + 1) + 1u;
    }
  }
  uint8_t *body = out + 1 + header;
  if (dcs->alphabet != SMS_ALPHABET_7BIT) {
    if (header > 0) out[0] = static_cast<uint8_t>(sm_len + header);
    std::memcpy(body, user_data->sm_data, sm_len);
    return static_cast<uint16_t>(1 + header + sm_len);
  }
  if (header == 0)
    return static_cast<uint16_t>(
        1 + sms_ts_pack_gw_7_bit_chars(user_data->sm_data, sm_len, 0, 254, body));
  unsigned header_bits = header_septet_bits(header);
  unsigned fill = header_bits - header * 8;
  out[0] = static_cast<uint8_t>((sm_len * 7 + header_bits) / 7);
  *body = 0;  // the fill bits
  uint16_t packed =
      sms_ts_pack_gw_7_bit_chars(user_data->sm_data, sm_len, static_cast<uint16_t>(fill),
                                 static_cast<uint16_t>(254 - header), body);
  return static_cast<uint16_t>(1 + header + packed);
}

VORNPAL_API char *DecodeData(uint8_t *buffer, uint16_t length, uint8_t alphabet_flag, char *output,
                             uint8_t target) {
  using namespace vorn::sms;
  if (buffer == nullptr || output == nullptr) return nullptr;
  auto *out = reinterpret_cast<uint8_t *>(output);
  if (alphabet_flag == 0)
    return reinterpret_cast<char *>(
        dsatutil_convert_chset(buffer, length, kOctets, out, kHex, length * 2u + 1, false));
  size_t text = 0;
  for (size_t i = 0; i < length; ++i) {
    uint8_t septet = buffer[i] & 0x7F;
    uint8_t latin1 = gsm7_to_ira[septet];
    if (septet == kEscape)
      latin1 = i + 1 < length ? gsm7_to_ira_ext[buffer[++i] & 0x7F] : kNoLatin1;
    if (latin1 == kNoLatin1) latin1 = ' ';
    // The next stage must know that "$" stands for the GSM currency sign.
    if (latin1 == '$') ++vorn_charater_flag;
    buffer[text++] = latin1;
  }
  buffer[text] = '\0';
  size_t capacity = target == kGsm    ? length + 1u
                    : target == kUcs2 ? length * 4u + 1
                                      : length * 2u + 1;
  return reinterpret_cast<char *>(
      dsatutil_convert_chset(buffer, text, kIra, out, static_cast<Chset>(target), capacity, false));
}

}  // extern "C"
