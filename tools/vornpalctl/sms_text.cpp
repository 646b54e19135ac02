// Text to parts and back for the sms commands (see sms_text.h).
#include "sms_text.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>

#include <vornpal/text_conversion.h>

#include "ctl.h"

namespace ctl::sms {
namespace {

constexpr uint8_t kEscape = 27;
constexpr uint32_t kSpanish = 2;

// 3GPP TS 23.038, A.2.2: the Spanish single shift characters beyond the
// default extension table, by the septet behind the escape.
const std::map<uint8_t, uint16_t> kSpanishShift = {
    {0x09, 0x00E7}, {0x41, 0x00C1}, {0x49, 0x00CD}, {0x4F, 0x00D3}, {0x55, 0x00DA},
    {0x61, 0x00E1}, {0x65, 0x20AC}, {0x69, 0x00ED}, {0x6F, 0x00F3}, {0x75, 0x00FA},
};

std::vector<uint16_t> utf16_of(const std::string &utf8) {
  std::vector<uint16_t> units(utf8.size() + 1);
  const auto *source = reinterpret_cast<const uint8_t *>(utf8.data());
  uint16_t *target = units.data();
  vorn_util_ConvertUTF8toUTF16(&source, source + utf8.size(), &target, units.data() + units.size(),
                               VORN_CONVERSION_LENIENT);
  units.resize(static_cast<size_t>(target - units.data()));
  return units;
}

std::string utf8_of(const std::vector<uint16_t> &units) {
  std::string out(units.size() * 3 + 1, '\0');
  const uint16_t *source = units.data();
  auto *target = reinterpret_cast<uint8_t *>(&out[0]);
  vorn_util_ConvertUTF16toUTF8(&source, source + units.size(), &target,
                               reinterpret_cast<uint8_t *>(&out[0]) + out.size(), VORN_CONVERSION_LENIENT);
  out.resize(static_cast<size_t>(target - reinterpret_cast<uint8_t *>(&out[0])));
  return out;
}

std::string septets_utf8(const uint8_t *septets, size_t count) {
  if (count == 0) return "";
  std::vector<char> out(count * 4 + 1);
  vorn_util_convert_gsm8bit_alpha_string_to_utf8(septets, static_cast<int>(count), out.data(), out.size());
  return out.data();
}

// One character of the message: its septets (an escape pair stays whole)
// or its octets.
struct Unit {
  Bytes bytes;
  bool national = false;
};

// The septets of one UTF-16 unit in the default alphabet, as the library
// reads text; empty when it has none.
Bytes default_septets(uint16_t unit) {
  char hex[5];
  std::snprintf(hex, sizeof hex, "%04X", unit);
  sms_user_data_record ud{};
  if (vorn_sms_encode_data(&ud, hex, 4, -1, 0x00, SMS_CHSET_UCS2) != 1 || ud.sm_len == 0) return {};
  return Bytes(ud.sm_data, ud.sm_data + ud.sm_len);
}

std::vector<Unit> units_of(const EncodeOptions &o, Alphabet &alphabet) {
  std::vector<Unit> units;
  if (alphabet == Alphabet::kOctets) {
    std::string octets;
    ctl::parse_hex(o.text, octets);
    for (unsigned char c : octets) units.push_back({{c}});
    return units;
  }
  const std::vector<uint16_t> text = utf16_of(o.text);
  if (alphabet == Alphabet::kGsm7) {
    for (uint16_t c : text) {
      Bytes septets = default_septets(c);
      bool national = false;
      if (septets.empty()) {
        for (const auto &[septet, unit] : kSpanishShift)
          if (unit == c) septets = {kEscape, septet};
        national = !septets.empty();
      }
      if (septets.empty()) {  // not in the GSM alphabets: the whole text goes in UCS-2
        alphabet = Alphabet::kUcs2;
        units.clear();
        break;
      }
      units.push_back({septets, national});
    }
    if (alphabet == Alphabet::kGsm7) return units;
  }
  // A surrogate pair is one character: the parts never split it.
  for (size_t i = 0; i < text.size(); ++i) {
    Unit unit;
    const bool pair = text[i] >= 0xD800 && text[i] < 0xDC00 && i + 1 < text.size();
    for (size_t k = i; k <= i + (pair ? 1 : 0); ++k) {
      unit.bytes.push_back(static_cast<uint8_t>(text[k] >> 8));
      unit.bytes.push_back(static_cast<uint8_t>(text[k] & 0xFF));
    }
    i += pair ? 1 : 0;
    units.push_back(unit);
  }
  return units;
}

uint8_t dcs_of(const EncodeOptions &o, Alphabet alphabet) {
  static constexpr uint8_t kAlphabetBits[] = {0x00, 0x08, 0x04};
  uint8_t dcs = kAlphabetBits[static_cast<int>(alphabet)];
  return o.message_class < 0 ? dcs : static_cast<uint8_t>(0x10 | dcs | o.message_class);
}

unsigned capacity(Alphabet alphabet, const std::vector<sms_udh_element> &headers) {
  unsigned header = ComputeUserDataHeaderLength(static_cast<uint8_t>(headers.size()), headers.data());
  if (alphabet != Alphabet::kGsm7) return SMS_USER_DATA_MAX_OCTETS - header;
  return 160 - (header * 8 + 6) / 7;
}

std::vector<std::vector<Unit>> split(const std::vector<Unit> &units, unsigned room) {
  std::vector<std::vector<Unit>> parts(1);
  unsigned used = 0;
  for (const Unit &unit : units) {
    if (used + unit.bytes.size() > room) {
      parts.emplace_back();
      used = 0;
    }
    parts.back().push_back(unit);
    used += static_cast<unsigned>(unit.bytes.size());
  }
  return parts;
}

sms_udh_element concat(const EncodeOptions &o, uint16_t ref, size_t total, size_t seq) {
  sms_udh_element e{};
  e.header_id = o.ref16 ? SMS_UDH_CONCAT_16 : SMS_UDH_CONCAT_8;
  if (o.ref16)
    e.body.concat_16 = {ref, static_cast<uint8_t>(total), static_cast<uint8_t>(seq)};
  else
    e.body.concat_8 = {static_cast<uint8_t>(ref), static_cast<uint8_t>(total), static_cast<uint8_t>(seq)};
  return e;
}

sms_udh_element national_shift() {
  sms_udh_element e{};
  e.header_id = SMS_UDH_NAT_LANG_SS;
  e.body.nat_lang_ss.language = kSpanish;
  return e;
}

// The centre's time stamp of a deliver: now, in UTC.
sms_timestamp timestamp_now() {
  std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  auto bcd = [](int v) { return sms_ts_int_to_bcd(static_cast<uint8_t>(v)); };
  return {bcd(utc.tm_year % 100), bcd(utc.tm_mon + 1), bcd(utc.tm_mday), bcd(utc.tm_hour),
          bcd(utc.tm_min),       bcd(utc.tm_sec),     0};
}

// The PDU of one part: submit, or deliver from o.number for the network's side.
int encode_part(const EncodeOptions &o, Alphabet alphabet, const std::vector<Unit> &part,
                const std::vector<sms_udh_element> &headers, Bytes &pdu) {
  sms_message_record record{};
  record.kind = o.deliver ? SMS_KIND_DELIVER : SMS_KIND_SUBMIT;
  const int fo = o.deliver ? 0x04 : 0x01 | (o.validity.empty() ? 0 : o.validity.find('/') != std::string::npos ? 3 : 2) << 3 |
                                         (o.status_report ? 0x20 : 0);
  if (vorn_sms_fill_pdu_fields(&record, fo, 0, dcs_of(o, alphabet), o.deliver ? nullptr : o.validity.c_str()) != 0)
    return -1;
  if (o.deliver) record.body.deliver.scts = timestamp_now();
  sms_address_record &address =
      o.deliver ? record.body.deliver.originating_address : record.body.submit.destination_address;
  if (!vorn_sms_str_to_addr(&address, o.number.c_str(), nullptr, 1)) return -2;
  sms_user_data_record &ud = o.deliver ? record.body.deliver.user_data : record.body.submit.user_data;
  for (const Unit &unit : part)
    for (uint8_t b : unit.bytes) ud.sm_data[ud.sm_len++] = b;
  for (const sms_udh_element &e : headers) ud.headers[ud.num_headers++] = e;
  if (!headers.empty()) (o.deliver ? record.body.deliver.flags : record.body.submit.flags) |= SMS_SUBMIT_UDHI;
  uint8_t out[SMS_PDU_BUFFER_SIZE + 12];
  uint32_t length = 0;
  if (o.smsc.empty()) {
    int tpdu = o.deliver ? EncodeDeliver(&record.body.deliver, out + 1) : EncodeSubmit(&record.body.submit, out + 1);
    if (tpdu < 0) return tpdu;
    out[0] = 0;
    length = static_cast<uint32_t>(tpdu) + 1;
  } else {
    if (!vorn_sms_str_to_addr(&record.sc_address, o.smsc.c_str(), nullptr, 1)) return -2;
    if (int rc = vorn_sms_encode(SMS_PROTOCOL_GW_PP, out, sizeof out, &record, &length); rc != 0) return rc;
  }
  pdu.assign(out, out + length);
  return 0;
}

}  // namespace

bool encode_parts(const EncodeOptions &o, std::vector<Bytes> &pdus, std::string &error) {
  Alphabet alphabet = o.alphabet;
  const std::vector<Unit> units = units_of(o, alphabet);
  std::vector<sms_udh_element> headers = o.headers;
  for (const Unit &unit : units)
    if (unit.national) {
      headers.push_back(national_shift());
      break;
    }
  std::vector<std::vector<Unit>> parts = split(units, capacity(alphabet, headers));
  if (parts.size() > 1) {
    std::vector<sms_udh_element> with_concat = headers;
    with_concat.push_back(concat(o, 0, 2, 1));
    parts = split(units, capacity(alphabet, with_concat));
  }
  if (parts.size() > 255) {
    error = "text too long";
    return false;
  }
  // A reference of the text's own when none is given, so that the same
  // text gives the same PDUs.
  uint32_t ref = 0;
  for (char c : o.text) ref = ref * 31 + static_cast<uint8_t>(c);
  ref = o.ref >= 0 ? static_cast<uint32_t>(o.ref) : ref;
  pdus.clear();
  for (size_t i = 0; i < parts.size(); ++i) {
    std::vector<sms_udh_element> part_headers = headers;
    if (parts.size() > 1) part_headers.push_back(concat(o, static_cast<uint16_t>(ref), parts.size(), i + 1));
    Bytes pdu;
    if (encode_part(o, alphabet, parts[i], part_headers, pdu) != 0) {
      error = "cannot encode part " + std::to_string(i + 1);
      return false;
    }
    pdus.push_back(pdu);
  }
  return true;
}

std::string user_text(const sms_dcs_record &dcs, const sms_user_data_record &ud) {
  if (dcs.alphabet == SMS_ALPHABET_UCS2) {
    std::vector<uint16_t> units;
    for (size_t i = 0; i + 1 < ud.sm_len; i += 2) units.push_back(static_cast<uint16_t>(ud.sm_data[i] << 8 | ud.sm_data[i + 1]));
    return utf8_of(units);
  }
  if (dcs.alphabet != SMS_ALPHABET_7BIT) return ctl::hex(ud.sm_data, ud.sm_len);
  bool spanish = false;
  for (int i = 0; i < ud.num_headers; ++i)
    spanish |= ud.headers[i].header_id == SMS_UDH_NAT_LANG_SS && ud.headers[i].body.nat_lang_ss.language == kSpanish;
  // Runs of plain septets through the library; the escape pairs here.
  std::string text;
  size_t run = 0;
  for (size_t i = 0; i <= ud.sm_len; ++i) {
    if (i < ud.sm_len && ud.sm_data[i] != kEscape) continue;
    text += septets_utf8(ud.sm_data + run, i - run);
    if (i + 1 < ud.sm_len) {
      const uint8_t septet = ud.sm_data[++i];
      auto national = kSpanishShift.find(septet);
      if (spanish && national != kSpanishShift.end()) {
        text += utf8_of({national->second});
      } else if (septet == 0x65) {
        text += utf8_of({0x20AC});
      } else if (gsm7_to_ira_ext[septet] != 255) {
        text += utf8_of({gsm7_to_ira_ext[septet]});
      }
    }
    run = i + 1;
  }
  return text;
}

std::string address_text(const sms_address_record &address) {
  if (address.number_of_digits == 0) return "";
  if (address.digit_mode == 1) return septets_utf8(address.digits, address.number_of_digits);
  char text[SMS_ADDRESS_TEXT_SIZE];
  uint8_t type = 0;
  DecodeAddrToStr(address, text, &type);
  return text;
}

std::string describe(const uint8_t *pdu, size_t length) {
  sms_message_record r;
  if (vorn_sms_decode(SMS_DIRECTION_MT, SMS_PROTOCOL_GW_PP, pdu, static_cast<uint32_t>(length), &r) != 0)
    return "undecodable " + ctl::hex(pdu, length);
  const sms_user_data_record *ud = nullptr;
  const sms_dcs_record *dcs = nullptr;
  std::string head;
  switch (r.kind) {
    case SMS_KIND_DELIVER:
      head = "from " + address_text(r.body.deliver.originating_address);
      ud = &r.body.deliver.user_data;
      dcs = &r.body.deliver.dcs;
      break;
    case SMS_KIND_SUBMIT:
      head = "to " + address_text(r.body.submit.destination_address);
      ud = &r.body.submit.user_data;
      dcs = &r.body.submit.dcs;
      break;
    case SMS_KIND_STATUS_REPORT:
      return "status report of message " + std::to_string(r.body.status_report.message_reference) + " to " +
             address_text(r.body.status_report.recipient_address) + ": status " +
             std::to_string(r.body.status_report.status);
    default: return "message of kind " + std::to_string(r.kind);
  }
  for (int i = 0; i < ud->num_headers; ++i) {
    const sms_udh_element &e = ud->headers[i];
    if (e.header_id == SMS_UDH_CONCAT_8)
      head += " (part " + std::to_string(e.body.concat_8.seq_num) + "/" + std::to_string(e.body.concat_8.total_sm) + ")";
    if (e.header_id == SMS_UDH_CONCAT_16)
      head += " (part " + std::to_string(e.body.concat_16.seq_num) + "/" + std::to_string(e.body.concat_16.total_sm) + ")";
  }
  return head + ": " + user_text(*dcs, *ud);
}

}  // namespace ctl::sms
