// The flat text layer: plain single messages straight from and to bytes,
// and cell broadcast pages.
#include "sms/pdu.h"

#include <sys/types.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <vornpal/sms_codec.h>

#include "foundation/log_site.h"
#include "sms/septets.h"

namespace vorn::sms {
namespace {

constexpr uint8_t kInternational = 145;
constexpr uint8_t kUnknownType = 129;
constexpr size_t kMaxTextLength = 160;
constexpr size_t kMaxAddressText = 18;
constexpr unsigned kMaxFlatDigits = 17;  // more, rounded up to even, are left unread
constexpr size_t kMaxScDigits = 2 * (SMS_SC_ADDRESS_MAX_OCTETS - 1);
constexpr int kLongHeaderSeptets = 8;  // 06 08 04 ref ref total seq: 56 bits
constexpr size_t kCbHeader = 6;
constexpr size_t kCbContent = 82;

// Encodings of the flat layer.
enum Encoding { kText7 = 0, kBinary = 1, kUcs2Text = 2 };

// Input of the flat layer: positions are one octet wide and wrap at 256;
// every read is checked against the input.
class FlatReader {
 public:
  FlatReader(const uint8_t *pdu, uint32_t length, uint8_t start)
      : pdu_(pdu), length_(length), pos_(start) {}

  bool next(uint8_t &octet) {
    if (pos_ >= length_) return false;
    octet = pdu_[pos_++];
    return true;
  }

  // n contiguous octets at the position, which moves behind them.
  const uint8_t *take(size_t n) {
    if (pos_ + n > length_ || pos_ + n > 256) return nullptr;
    const uint8_t *at = pdu_ + pos_;
    pos_ = static_cast<uint8_t>(pos_ + n);
    return at;
  }

  void step_back() { --pos_; }

 private:
  const uint8_t *pdu_;
  uint32_t length_;
  uint8_t pos_;
};

int truncated() {
  VORN_LOG(VORN_ERR, "PDU is truncated");
  return SMS_ERR_TRUNCATED;
}

// The encoding that the flat layer reads from a DCS octet, or -1.
int flat_encoding(uint8_t dcs) {
  switch (dcs >> 4) {
    case 0x0: return kText7;
    case 0x1: return (dcs & 0x0F) == 0 ? kText7 : (dcs & 0x0F) == 1 ? kBinary : 3;
    case 0x4:
    case 0x5:
    case 0x6:
    case 0x7: return (dcs >> 4) & 0x03;
    case 0x9: return (dcs >> 2) & 0x03;
    case 0xF: return (dcs >> 2) & 0x01;
    default: return -1;
  }
}

int read_encoding(uint8_t dcs) {
  int encoding = flat_encoding(dcs);
  if (encoding < 0) {
    VORN_LOG(VORN_ERR, "this encoding is not supported (tpDcs %u)", dcs);
    return SMS_ERR_FAULT;
  }
  if (encoding > kUcs2Text) {
    VORN_LOG(VORN_ERR, "Message format not supported.");
    return SMS_ERR_UNSUPPORTED;
  }
  return encoding;
}

char hex_digit(unsigned nibble) { return "0123456789ABCDEF"[nibble & 15]; }

int read_address(FlatReader &in, sms_flat_message &flat) {
  uint8_t digits = 0, type = 0;
  if (!in.next(digits) || !in.next(type)) return truncated();
  size_t octets = (digits + 1u) / 2;
  if ((type & 0xF0) == 0xD0) {
    int septets = digits / 2 * 4 / 7;
    if (septets < 1) {
      VORN_LOG(VORN_ERR, "Address length %d is <= 0 ", septets);
      return SMS_ERR_UNSUPPORTED;
    }
    const uint8_t *packed = in.take(octets);
    if (packed == nullptr) return truncated();
    return septets_to_latin1(packed, static_cast<size_t>(septets), flat.address,
                             sizeof flat.address) < 0
               ? SMS_ERR_OVERFLOW
               : 0;
  }
  if (((digits + 1u) & ~1u) > kMaxFlatDigits) {
    // An oversize number is no error for this layer: the address stays
    // empty and reading goes on one octet back, where daemons expect it.
    in.step_back();
    return 0;
  }
  const uint8_t *bcd = in.take(octets);
  if (bcd == nullptr) return truncated();
  char *out = flat.address;
  if (type == kInternational) *out++ = '+';
  for (size_t i = 0; i < 2 * octets; ++i) {
    unsigned nibble = (i % 2 == 0) ? bcd[i / 2] & 0x0F : bcd[i / 2] >> 4;
    if (nibble == 0x0F) break;
    *out++ = hex_digit(nibble);
  }
  return 0;
}

int read_scts(FlatReader &in, sms_flat_message &flat) {
  const uint8_t *s = in.take(7);
  if (s == nullptr) return truncated();
  auto lo = [](uint8_t octet) { return octet & 0x0Fu; };
  auto hi = [](uint8_t octet) { return static_cast<unsigned>(octet >> 4); };
  // Nibbles above 9 print as two digits; the text is cut to its field.
  char text[64];
  int n =
      std::snprintf(text, sizeof text, "%u%u/%u%u/%u%u,%u%u:%u%u:%u%u%c%u%u", lo(s[0]), hi(s[0]),
                    lo(s[1]), hi(s[1]), lo(s[2]), hi(s[2]), lo(s[3]), hi(s[3]), lo(s[4]), hi(s[4]),
                    lo(s[5]), hi(s[5]), (s[6] & 0x08) ? '-' : '+', s[6] & 0x07u, hi(s[6]));
  std::memcpy(flat.timestamp, text,
              std::min<size_t>(static_cast<size_t>(n), sizeof flat.timestamp - 1));
  return 0;
}

// Octets of a submit's validity period by TP-VPF.
size_t validity_octets(uint8_t first_octet) {
  static constexpr size_t kOctets[] = {0, 7, 1, 7};
  return kOctets[(first_octet >> 3) & 0x03];
}

int read_text(FlatReader &in, uint8_t udl, int encoding, sms_flat_message &flat) {
  if (encoding == kText7) {
    if (udl == 0) {
      VORN_LOG(VORN_ERR, "the message length %d is <0 ", udl);
      return SMS_ERR_FAULT;
    }
    const uint8_t *packed = in.take(packed_octets(udl));
    if (packed == nullptr) return truncated();
    int written = septets_to_latin1(packed, udl, flat.text, sizeof flat.text);
    if (written < 0) {
      VORN_LOG(VORN_ERR, "Overflow occurs when converting 7bits to 8bits ");
      return SMS_ERR_OVERFLOW;
    }
    flat.format = SMS_FLAT_TEXT;
    flat.text_length = static_cast<uint32_t>(written);
    return 0;
  }
  if (udl >= sizeof flat.text) {
    VORN_LOG(VORN_ERR,
             encoding == kBinary ? "Overflow occurs when converting 8bits to 8bits %d>%zd"
                                 : "Overflow occurs when copying UCS2 to UCS2 %d > %zd",
             udl, static_cast<ssize_t>(sizeof flat.text));
    return SMS_ERR_OVERFLOW;
  }
  const uint8_t *octets = in.take(udl);
  if (octets == nullptr) return truncated();
  std::memcpy(flat.text, octets, udl);
  flat.format = encoding == kBinary ? SMS_FLAT_BINARY : SMS_FLAT_UCS2;
  flat.text_length = udl;
  return 0;
}

int DecodeMessageGsm(FlatReader &in, sms_message_record *record) {
  sms_flat_message &flat = record->body.flat;
  uint8_t first_octet = 0;
  if (!in.next(first_octet)) return truncated();
  record->first_octet = first_octet;
  uint8_t mti = first_octet & 0x03;
  if (mti > 1) {
    VORN_LOG(VORN_ERR, "Decoding this message is not supported TP-MTI %d.", mti);
    return SMS_ERR_UNSUPPORTED;
  }
  bool deliver = mti == 0;
  flat.option_mask = deliver ? SMS_FLAT_DELIVER_MASK : SMS_FLAT_SUBMIT_MASK;
  uint8_t octet = 0;
  if (!deliver && !in.next(octet)) return truncated();  // message reference
  if (int rc = read_address(in, flat); rc != 0) return rc;
  uint8_t dcs = 0;
  if (!in.next(octet) || !in.next(dcs)) return truncated();  // PID, DCS
  int encoding = read_encoding(dcs);
  if (encoding < 0) return encoding;
  if (deliver) {
    if (int rc = read_scts(in, flat); rc != 0) return rc;
  } else if (in.take(validity_octets(first_octet)) == nullptr) {
    return truncated();
  }
  uint8_t udl = 0;
  if (!in.next(udl)) return truncated();
  if (first_octet & kFoUdhi) {
    uint8_t udhl = 0;
    in.next(udhl);
    VORN_LOG(VORN_ERR, "Multi part SMS are not available yet");
    return SMS_ERR_UNSUPPORTED;
  }
  if (int rc = read_text(in, udl, encoding, flat); rc != 0) return rc;
  record->kind = deliver ? SMS_KIND_DELIVER : SMS_KIND_SUBMIT;
  return 0;
}

int DecodeGsmPdu(int32_t protocol, const uint8_t *pdu, uint32_t length,
                 sms_message_record *record) {
  std::memset(record, 0, sizeof *record);
  switch (protocol) {
    case SMS_PROTOCOL_GW_PP: break;
    case SMS_PROTOCOL_GW_CB: return decode_cell_broadcast(pdu, length, record);
    case SMS_PROTOCOL_CDMA: return refuse_cdma(record);
    default:
      VORN_LOG(VORN_ERR, "Protocol %d not supported", protocol);
      record->kind = SMS_KIND_UNDECODABLE;
      return SMS_ERR_UNSUPPORTED;
  }
  if (length == 0) {
    record->kind = SMS_KIND_UNDECODABLE;
    return truncated();
  }
  FlatReader in(pdu, length, static_cast<uint8_t>(pdu[0] + 1));
  int rc = DecodeMessageGsm(in, record);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "Could not decode GSM PDU message");
    record->kind = SMS_KIND_UNDECODABLE;
  }
  return rc;
}

// --- encoding ------------------------------------------------------------------

// The PDU buffer of smsPdu_Encode. Lengths are checked before anything is
// written, so a full buffer means a fault in those checks.
class PduWriter {
 public:
  explicit PduWriter(sms_pdu_buffer &out) : out_(out) {
    std::memset(out_.pdu, 0, sizeof out_.pdu);
    out_.length = 0;
  }

  void put(uint8_t octet) {
    if (out_.length < sizeof out_.pdu) out_.pdu[out_.length++] = octet;
  }

  void put(const uint8_t *octets, size_t n) {
    for (size_t i = 0; i < n; ++i) put(octets[i]);
  }

  // Dial digits in swapped pairs, each character by its low nibble, an odd
  // one closed with the filler F.
  void put_semi_octets(const char *digits, size_t n) {
    for (size_t i = 0; i < n; i += 2) {
      unsigned high = i + 1 < n ? digits[i + 1] & 0x0F : 0x0F;
      put(static_cast<uint8_t>((digits[i] & 0x0F) | high << 4));
    }
  }

  uint8_t *at(size_t pos) { return out_.pdu + pos; }
  size_t length() const { return out_.length; }
  size_t room() const { return sizeof out_.pdu - out_.length; }

 private:
  sms_pdu_buffer &out_;
};

// The absolute validity of a submit: now, in local time. The year comes out
// one too high, and the zone from the hour difference alone, written as BCD
// hours times four; zones that make that more than 56 are refused by
// EncodeTimestamp.
sms_timestamp validity_now() {
  time_t now = time(nullptr);
  tm utc{}, local{};
  gmtime_r(&now, &utc);
  localtime_r(&now, &local);
  int zone_hours = local.tm_hour - utc.tm_hour;
  if (zone_hours > 12) zone_hours -= 24;
  if (zone_hours < -12) zone_hours += 24;
  int zone = sms_ts_int_to_bcd(static_cast<uint8_t>(zone_hours < 0 ? -zone_hours : zone_hours)) * 4;
  sms_timestamp ts{};
  ts.year = sms_ts_int_to_bcd(static_cast<uint8_t>(local.tm_year - 99));
  ts.month = sms_ts_int_to_bcd(static_cast<uint8_t>(local.tm_mon + 1));
  ts.day = sms_ts_int_to_bcd(static_cast<uint8_t>(local.tm_mday));
  ts.hour = sms_ts_int_to_bcd(static_cast<uint8_t>(local.tm_hour));
  ts.minute = sms_ts_int_to_bcd(static_cast<uint8_t>(local.tm_min));
  ts.second = sms_ts_int_to_bcd(static_cast<uint8_t>(local.tm_sec));
  ts.zone = static_cast<int8_t>(zone_hours < 0 ? -zone : zone);
  return ts;
}

// The concatenation word of smsPdu_Encode.
struct Concat {
  explicit Concat(uint32_t word)
      : total(word & 0xFF),
        seq((word >> 8) & 0xFF),
        ref((word >> 16) & 0xFF),
        is_long(word >> 24 != 0) {}
  uint8_t total, seq, ref;
  bool is_long;
};

// The header of a part: 8-bit reference for octets, for 7-bit text the
// 16-bit form whose seven octets fill exactly eight septets.
size_t long_header(const Concat &concat, int encoding, uint8_t *out) {
  if (encoding != kText7) {
    const uint8_t header[] = {5, SMS_UDH_CONCAT_8, 3, concat.ref, concat.total, concat.seq};
    std::memcpy(out, header, sizeof header);
    return sizeof header;
  }
  const uint8_t header[] = {6,
                            SMS_UDH_CONCAT_16,
                            4,
                            static_cast<uint8_t>(concat.ref >> 2),
                            static_cast<uint8_t>(concat.ref << 2),
                            concat.total,
                            concat.seq};
  std::memcpy(out, header, sizeof header);
  return sizeof header;
}

int put_septets(PduWriter &out, const uint8_t *data, uint32_t length, const uint8_t *header,
                size_t header_octets, size_t udl_pos) {
  uint8_t septets[2 * kMaxTextLength];
  size_t count = 0;
  for (uint32_t i = 0; i < length; ++i) {
    uint8_t septet = Ascii8to7[data[i]];
    if (septet & 0x80) septets[count++] = 27;  // escape first
    septets[count++] = septet & 0x7F;
  }
  if (header_octets + packed_octets(count) > SMS_USER_DATA_MAX_OCTETS) {
    VORN_LOG(VORN_ERR, "Overflow occurs when converting 8bits to 7bits");
    return SMS_ERR_OVERFLOW;
  }
  out.put(header, header_octets);
  size_t start = out.length();
  for (size_t i = 0; i < packed_octets(count); ++i) out.put(0);
  sms_ts_pack_gw_7_bit_chars(septets, static_cast<uint16_t>(count), 0,
                             static_cast<uint16_t>(out.length() - start), out.at(start));
  *out.at(udl_pos) = static_cast<uint8_t>(count + (header_octets ? kLongHeaderSeptets : 0));
  return 0;
}

int EncodeMessageGsm(const uint8_t *data, uint32_t length, const char *address, uint32_t encoding,
                     uint32_t message_type, const char *smsc, sms_pdu_buffer &output,
                     uint32_t concat_word) {
  PduWriter out(output);
  if (length > kMaxTextLength) {
    VORN_LOG(VORN_ERR, "Message cannot be encoded, message with length > %d are not supported yet",
             static_cast<int>(kMaxTextLength));
    return SMS_ERR_FAULT;
  }
  Concat concat(concat_word);
  if (concat.is_long) {
    VORN_LOG(VORN_INFO, "==EncodeGsmPdu sms is long ==\n");
  } else {
    VORN_LOG(VORN_ERR, "Udhi not supported");
  }
  bool submit = message_type == 1;
  if (message_type > 1) {
    VORN_LOG(VORN_ERR, "Message Type not supported");
    return SMS_ERR_UNSUPPORTED;
  }
  // Submit: TP-MTI 1 with absolute validity.
  uint8_t first_octet =
      static_cast<uint8_t>((submit ? 0x19 : 0x00) | (concat.is_long ? kFoUdhi : 0));
  size_t address_length = std::strlen(address);
  if (address_length > kMaxAddressText) {
    VORN_LOG(VORN_ERR, "Address is too long %d. should be at max %d",
             static_cast<int>(address_length), static_cast<int>(kMaxAddressText - 1));
    return SMS_ERR_FAULT;
  }
  if (encoding > kUcs2Text) {
    VORN_LOG(VORN_ERR, "Invalid encoding %d.", encoding);
    return SMS_ERR_FAULT;
  }
  const char *sc = smsc[0] == '+' ? smsc + 1 : smsc;
  size_t sc_digits = std::strlen(sc);
  if (sc_digits > kMaxScDigits) {
    VORN_LOG(VORN_ERR, "Service centre address is too long %d", static_cast<int>(sc_digits));
    return SMS_ERR_FAULT;
  }
  out.put(static_cast<uint8_t>((sc_digits + 1) / 2 + 1));
  out.put(0x91);
  out.put_semi_octets(sc, sc_digits);

  out.put(first_octet);
  if (submit) out.put(0);  // message reference
  const char *digits = address[0] == '+' ? address + 1 : address;
  out.put(static_cast<uint8_t>(std::strlen(digits)));
  out.put(address[0] == '+' ? kInternational : kUnknownType);
  out.put_semi_octets(digits, std::strlen(digits));
  uint8_t dcs = static_cast<uint8_t>(encoding << 2);
  if (submit) {
    out.put(0);  // PID
    out.put(dcs);
    uint8_t validity[7];
    sms_timestamp now = validity_now();
    if (EncodeTimestamp(&now, validity) == 7) out.put(validity, sizeof validity);
  } else {
    // The zero time stamp goes before PID and DCS in this layer.
    for (int i = 0; i < 7; ++i) out.put(0);
    out.put(0);
    out.put(dcs);
  }

  size_t udl_pos = out.length();
  out.put(static_cast<uint8_t>(length));
  uint8_t header[7];
  size_t header_octets =
      concat.is_long ? long_header(concat, static_cast<int>(encoding), header) : 0;
  if (encoding == kText7) return put_septets(out, data, length, header, header_octets, udl_pos);
  if (header_octets + length > SMS_USER_DATA_MAX_OCTETS) {
    VORN_LOG(VORN_ERR, encoding == kBinary ? "Overflow occurs when copying 8bits PDU"
                                           : "Overflow occurs when copying UCS2 PDU");
    return SMS_ERR_OVERFLOW;
  }
  *out.at(udl_pos) = static_cast<uint8_t>(length + header_octets);
  out.put(header, header_octets);
  out.put(data, length);
  return 0;
}

int EncodeGsmPdu(int32_t protocol, const uint8_t *data, uint32_t length, const char *address,
                 uint32_t encoding, uint32_t message_type, const char *smsc, sms_pdu_buffer *output,
                 uint32_t concat) {
  int rc;
  if (protocol != SMS_PROTOCOL_GW_PP) {
    VORN_LOG(VORN_ERR, "Protocol %d not supported", protocol);
    rc = SMS_ERR_UNSUPPORTED;
  } else if (output == nullptr || address == nullptr || (data == nullptr && length > 0)) {
    VORN_LOG(VORN_ERR, "NULL param");
    rc = SMS_ERR_INVALID;
  } else {
    rc = EncodeMessageGsm(data, length, address, encoding, message_type,
                          smsc != nullptr ? smsc : "", *output, concat);
  }
  if (rc != 0) VORN_LOG(VORN_ERR, "Could not encode GSM PDU message");
  return rc;
}

}  // namespace

int decode_cell_broadcast(const uint8_t *page, uint32_t length, sms_message_record *record) {
  std::memset(record, 0, sizeof *record);
  record->kind = SMS_KIND_UNDECODABLE;
  if (length < kCbHeader) return truncated();
  sms_cb_message &cb = record->body.broadcast;
  cb.serial_number = static_cast<uint16_t>(page[0] << 8 | page[1]);
  cb.message_id = static_cast<uint16_t>(page[2] << 8 | page[3]);
  cb.dcs = page[4];
  cb.page = page[5];
  int encoding = read_encoding(cb.dcs);
  if (encoding < 0) return encoding;
  const uint8_t *content = page + kCbHeader;
  size_t octets = std::min<size_t>(length - kCbHeader, kCbContent);
  if (encoding == kText7) {
    int written = septets_to_latin1(content, octets * 8 / 7, cb.text, sizeof cb.text);
    if (written < 0) return SMS_ERR_OVERFLOW;
    // Pages are padded with carriage returns.
    while (written > 0 && cb.text[written - 1] == '\r') cb.text[--written] = '\0';
    cb.format = SMS_FLAT_TEXT;
    cb.text_length = static_cast<uint32_t>(written);
  } else {
    std::memcpy(cb.text, content, octets);
    cb.format = encoding == kBinary ? SMS_FLAT_BINARY : SMS_FLAT_UCS2;
    cb.text_length = static_cast<uint32_t>(octets);
  }
  record->kind = SMS_KIND_CELL_BROADCAST;
  return 0;
}

int refuse_cdma(sms_message_record *record) {
  std::memset(record, 0, sizeof *record);
  record->kind = SMS_KIND_UNDECODABLE;
  VORN_LOG(VORN_ERR, "Protocol %d not supported", SMS_PROTOCOL_CDMA);
  return SMS_ERR_UNSUPPORTED;
}

}  // namespace vorn::sms

extern "C" {

VORNPAL_API int smsPdu_Decode(int32_t protocol, const uint8_t *pdu, uint32_t length,
                              sms_message_record *record) {
  if (pdu == nullptr || record == nullptr) {
    VORN_LOG(VORN_ERR, "NULL param");
    return SMS_ERR_INVALID;
  }
  return vorn::sms::DecodeGsmPdu(protocol, pdu, length, record);
}

VORNPAL_API int smsPdu_Encode(int32_t protocol, const uint8_t *data, uint32_t data_length,
                              const char *address, uint32_t encoding, uint32_t message_type,
                              const char *smsc, sms_pdu_buffer *output, uint32_t concat) {
  return vorn::sms::EncodeGsmPdu(protocol, data, data_length, address, encoding, message_type, smsc,
                                 output, concat);
}

VORNPAL_API int test_sms_gsm_decode(const uint8_t *pdu, uint32_t length) {
  sms_message_record record;
  return smsPdu_Decode(SMS_PROTOCOL_GW_PP, pdu, length, &record);
}

}  // extern "C"
