// SMS PDUs without a modem: text to submit PDUs, one per part, and PDUs to
// every field of the decoded record.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <vornpal/sms_codec.h>

#include "ctl.h"
#include "sms/unicode.h"

namespace {

using Bytes = std::vector<uint8_t>;

// --- text ----------------------------------------------------------------------

bool unhex(const std::string &text, Bytes &out) {
  if (text.size() % 2 != 0) return false;
  out.clear();
  for (size_t i = 0; i < text.size(); i += 2) {
    long long value = 0;
    if (!ctl::parse_number("0x" + text.substr(i, 2), value)) return false;
    out.push_back(static_cast<uint8_t>(value));
  }
  return true;
}

// Septets as the library turns them into text (UCS-2 hex, then UTF-8).
std::string septets_to_utf8(const uint8_t *septets, size_t count) {
  std::vector<uint8_t> buffer(septets, septets + count);
  buffer.push_back(0);
  std::vector<char> ucs2(count * 4 + 1);
  if (DecodeData(buffer.data(), static_cast<uint16_t>(count), 1, ucs2.data(), SMS_CHSET_UCS2) ==
      nullptr)
    return "";
  Bytes octets;
  unhex(ucs2.data(), octets);
  return vorn::sms::utf16be_to_utf8(octets.data(), octets.size());
}

// --- encoding ----------------------------------------------------------------------

enum class Alphabet { kGsm7, kUcs2, kOctets };

// One character of the message, as the text argument of vorn_sms_encode_data
// takes it, with what it costs in the user data.
struct Unit {
  std::string text;  // UCS-2 hex for 7-bit and UCS-2 text, hex for octets
  unsigned cost;     // septets or octets
};

// Septets the library writes for one character; 0 when it has none.
unsigned septet_cost(const std::string &ucs2_hex) {
  sms_user_data_record ud{};
  if (vorn_sms_encode_data(&ud, ucs2_hex.c_str(), static_cast<uint32_t>(ucs2_hex.size()), -1, 0x00,
                           SMS_CHSET_UCS2) != 1)
    return 0;
  return ud.sm_len;
}

std::vector<Unit> units_of(const std::string &text, Alphabet &alphabet) {
  std::vector<Unit> units;
  if (alphabet == Alphabet::kOctets) {
    for (size_t i = 0; i + 1 < text.size(); i += 2) units.push_back({text.substr(i, 2), 1});
    return units;
  }
  for (uint32_t c : vorn::sms::code_points(text)) {
    std::string hex;
    for (uint16_t u : vorn::sms::utf16_units(c)) {
      char unit[5];
      std::snprintf(unit, sizeof unit, "%04X", u);
      hex += unit;
    }
    units.push_back({hex, static_cast<unsigned>(hex.size() / 2)});
  }
  if (alphabet == Alphabet::kUcs2) return units;
  std::vector<Unit> septets = units;
  for (Unit &unit : septets) {
    unit.cost = septet_cost(unit.text);
    if (unit.cost == 0) {  // not in the GSM alphabet: the whole message goes in UCS-2
      alphabet = Alphabet::kUcs2;
      return units;
    }
  }
  return septets;
}

struct EncodeOptions {
  std::string number, text, smsc, validity = "167";
  Alphabet alphabet = Alphabet::kGsm7;
  int message_class = -1;
  bool status_report = false, ref16 = false;
  long long ref = -1;
  std::vector<sms_udh_element> headers;  // ports
};

uint8_t dcs_of(const EncodeOptions &o) {
  static constexpr uint8_t kAlphabetBits[] = {0x00, 0x08, 0x04};
  uint8_t dcs = kAlphabetBits[static_cast<int>(o.alphabet)];
  return o.message_class < 0 ? dcs : static_cast<uint8_t>(0x10 | dcs | o.message_class);
}

int first_octet_of(const EncodeOptions &o) {
  int validity_format = o.validity.empty() ? 0 : o.validity.find('/') != std::string::npos ? 3 : 2;
  return 0x01 | validity_format << 3 | (o.status_report ? 0x20 : 0);
}

// User data capacity of a part with these headers.
unsigned capacity(const EncodeOptions &o, const std::vector<sms_udh_element> &headers) {
  unsigned header =
      ComputeUserDataHeaderLength(static_cast<uint8_t>(headers.size()), headers.data());
  if (o.alphabet != Alphabet::kGsm7) return SMS_USER_DATA_MAX_OCTETS - header;
  return 160 - (header * 8 + 6) / 7;
}

std::vector<std::vector<Unit>> split(const std::vector<Unit> &units, unsigned room) {
  std::vector<std::vector<Unit>> parts(1);
  unsigned used = 0;
  for (const Unit &unit : units) {
    if (used + unit.cost > room) {
      parts.emplace_back();
      used = 0;
    }
    parts.back().push_back(unit);
    used += unit.cost;
  }
  return parts;
}

sms_udh_element concat(const EncodeOptions &o, uint16_t ref, size_t total, size_t seq) {
  sms_udh_element e{};
  e.header_id = o.ref16 ? SMS_UDH_CONCAT_16 : SMS_UDH_CONCAT_8;
  if (o.ref16)
    e.body.concat_16 = {ref, static_cast<uint8_t>(total), static_cast<uint8_t>(seq)};
  else
    e.body.concat_8 = {static_cast<uint8_t>(ref), static_cast<uint8_t>(total),
                       static_cast<uint8_t>(seq)};
  return e;
}

// The submit PDU of one part as hex: a service centre address, or "00" for
// the default one.
int encode_part(const EncodeOptions &o, const std::vector<Unit> &part,
                const std::vector<sms_udh_element> &headers, std::string &hex) {
  sms_message_record record{};
  record.kind = SMS_KIND_SUBMIT;
  sms_submit_record &submit = record.body.submit;
  int fo = first_octet_of(o);
  if (vorn_sms_fill_pdu_fields(&record, fo, 0, dcs_of(o), o.validity.c_str()) != 0) return -1;
  if (!vorn_sms_str_to_addr(&submit.destination_address, o.number.c_str(), nullptr, 1)) return -2;
  std::string text;
  for (const Unit &unit : part) text += unit.text;
  int chset = o.alphabet == Alphabet::kGsm7 ? SMS_CHSET_UCS2 : SMS_CHSET_HEX;
  if (!vorn_sms_encode_data(&submit.user_data, text.c_str(), static_cast<uint32_t>(text.size()), -1,
                            dcs_of(o), static_cast<uint32_t>(chset)))
    return -3;
  for (const sms_udh_element &e : headers)
    submit.user_data.headers[submit.user_data.num_headers++] = e;
  if (!headers.empty()) submit.flags |= SMS_SUBMIT_UDHI;
  uint8_t pdu[SMS_PDU_BUFFER_SIZE + 12];
  uint32_t length = 0;
  if (o.smsc.empty()) {
    int tpdu = EncodeSubmit(&submit, pdu + 1);
    if (tpdu < 0) return tpdu;
    pdu[0] = 0;
    length = static_cast<uint32_t>(tpdu) + 1;
  } else {
    if (!vorn_sms_str_to_addr(&record.sc_address, o.smsc.c_str(), nullptr, 1)) return -2;
    if (int rc = vorn_sms_encode(SMS_PROTOCOL_GW_PP, pdu, sizeof pdu, &record, &length); rc != 0)
      return rc;
  }
  hex = ctl::hex(pdu, length);
  return 0;
}

bool parse_encode_options(const ctl::Args &args, EncodeOptions &o, std::string &error) {
  std::vector<std::string> positional;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string &a = args[i];
    auto value = [&](std::string &out) {
      if (i + 1 >= args.size()) return false;
      out = args[++i];
      return true;
    };
    auto number = [&](long long &out) {
      std::string text;
      return value(text) && ctl::parse_number(text, out);
    };
    long long n = 0;
    std::string text;
    if (a == "--smsc" && value(o.smsc)) continue;
    if (a == "--validity" && value(o.validity)) {
      if (o.validity == "none") o.validity.clear();
      continue;
    }
    if (a == "--ucs2") {
      o.alphabet = Alphabet::kUcs2;
      continue;
    }
    if (a == "--8bit") {
      o.alphabet = Alphabet::kOctets;
      continue;
    }
    if (a == "--srr") {
      o.status_report = true;
      continue;
    }
    if (a == "--ref16") {
      o.ref16 = true;
      continue;
    }
    if (a == "--ref" && number(o.ref)) continue;
    if (a == "--class" && number(n) && n >= 0 && n <= 3) {
      o.message_class = static_cast<int>(n);
      continue;
    }
    if (a == "--port" && value(text)) {
      sms_udh_element e{};
      e.header_id = SMS_UDH_PORT_16;
      long long dest = 0, orig = 0;
      size_t colon = text.find(':');
      if (!ctl::parse_number(text.substr(0, colon), dest) ||
          (colon != std::string::npos && !ctl::parse_number(text.substr(colon + 1), orig))) {
        error = "not a port: " + text;
        return false;
      }
      e.body.port_16 = {static_cast<uint16_t>(dest), static_cast<uint16_t>(orig)};
      o.headers.push_back(e);
      continue;
    }
    if (a.rfind("--", 0) == 0) {
      error = "bad option: " + a;
      return false;
    }
    positional.push_back(a);
  }
  if (positional.size() != 2) {
    error = "usage: sms encode NUMBER TEXT [options]";
    return false;
  }
  o.number = positional[0];
  o.text = positional[1];
  return true;
}

int sms_encode(const ctl::Args &args, ctl::Output &out) {
  EncodeOptions o;
  std::string error;
  if (!parse_encode_options(args, o, error)) return ctl::fail(out, error, 2);
  Bytes octets;
  if (o.alphabet == Alphabet::kOctets && !unhex(o.text, octets))
    return ctl::fail(out, "--8bit takes the data as hex", 2);
  std::vector<Unit> units = units_of(o.text, o.alphabet);
  std::vector<std::vector<Unit>> parts = split(units, capacity(o, o.headers));
  if (parts.size() > 1) {
    std::vector<sms_udh_element> with_concat = o.headers;
    with_concat.push_back(concat(o, 0, 2, 1));
    parts = split(units, capacity(o, with_concat));
  }
  if (parts.size() > 255) return ctl::fail(out, "text too long", 2);
  // A reference of the text's own when none is given, so that the same
  // text gives the same PDUs.
  uint32_t ref = 0;
  for (char c : o.text) ref = ref * 31 + static_cast<uint8_t>(c);
  ref = o.ref >= 0 ? static_cast<uint32_t>(o.ref) : ref;
  for (size_t i = 0; i < parts.size(); ++i) {
    std::vector<sms_udh_element> headers = o.headers;
    if (parts.size() > 1)
      headers.push_back(concat(o, static_cast<uint16_t>(ref), parts.size(), i + 1));
    std::string hex;
    if (int rc = encode_part(o, parts[i], headers, hex); rc != 0)
      return ctl::fail(out, "cannot encode part " + std::to_string(i + 1), rc);
    out.line(hex);
  }
  return 0;
}

// --- decoding -------------------------------------------------------------------

std::string hex_octet(unsigned value) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02X", value);
  return text;
}

std::string address(const sms_address_record &a) {
  if (a.number_of_digits == 0) return "";
  if (a.digit_mode == 1) return septets_to_utf8(a.digits, a.number_of_digits);
  char text[SMS_ADDRESS_TEXT_SIZE];
  uint8_t type = 0;
  DecodeAddrToStr(a, text, &type);
  return std::string(text) + " (type " + hex_octet(type) + ")";
}

std::string dcs_text(const sms_dcs_record &d) {
  static const char *kAlphabets[] = {"7-bit", "8-bit", "UCS-2"};
  std::string text = hex_octet(d.raw_dcs) + " " + (d.alphabet < 3 ? kAlphabets[d.alphabet] : "?");
  if (d.msg_class != 4) text += ", class " + std::to_string(d.msg_class);
  if (d.is_compressed) text += ", compressed";
  if (d.msg_waiting) {
    text += ", message waiting " + std::to_string(d.msg_waiting) + " kind " +
            std::to_string(d.msg_waiting_kind) + (d.msg_waiting_active ? " active" : " inactive");
  }
  return text;
}

std::string flags_text(uint8_t flags, std::initializer_list<const char *> names) {
  std::string text;
  int bit = 0;
  for (const char *name : names) {
    if (flags & (1 << bit++)) text += (text.empty() ? "" : " ") + std::string(name);
  }
  return text.empty() ? "-" : text;
}

std::string header_text(const sms_udh_element &e) {
  const auto &b = e.body;
  char text[128];
  switch (e.header_id) {
    case SMS_UDH_CONCAT_8:
      std::snprintf(text, sizeof text, "concat8 ref=%u part=%u/%u", b.concat_8.msg_ref,
                    b.concat_8.seq_num, b.concat_8.total_sm);
      break;
    case SMS_UDH_CONCAT_16:
      std::snprintf(text, sizeof text, "concat16 ref=%u part=%u/%u", b.concat_16.msg_ref,
                    b.concat_16.seq_num, b.concat_16.total_sm);
      break;
    case SMS_UDH_PORT_8:
      std::snprintf(text, sizeof text, "port8 dest=%u orig=%u", b.port_8.dest_port,
                    b.port_8.orig_port);
      break;
    case SMS_UDH_PORT_16:
      std::snprintf(text, sizeof text, "port16 dest=%u orig=%u", b.port_16.dest_port,
                    b.port_16.orig_port);
      break;
    case SMS_UDH_SPECIAL_SM:
      std::snprintf(text, sizeof text, "special-sm %s kind=%u count=%u",
                    b.special_sm.msg_waiting == 2 ? "store" : "discard",
                    b.special_sm.msg_waiting_kind, b.special_sm.message_count);
      break;
    default:
      std::snprintf(text, sizeof text, "element %u, %u octets", e.header_id,
                    sms_ts_get_udh_length(&e));
  }
  return text;
}

std::string user_text(const sms_dcs_record &dcs, const sms_user_data_record &ud) {
  if (dcs.alphabet == SMS_ALPHABET_7BIT) return septets_to_utf8(ud.sm_data, ud.sm_len);
  if (dcs.alphabet == SMS_ALPHABET_UCS2) return vorn::sms::utf16be_to_utf8(ud.sm_data, ud.sm_len);
  return ctl::hex(ud.sm_data, ud.sm_len);
}

// Parts of concatenated messages, for the joined text.
struct Concatenated {
  unsigned total = 0;
  std::map<unsigned, std::string> parts;
};

void put_user_data(ctl::Output &out, const std::string &p, const sms_dcs_record &dcs,
                   const sms_user_data_record &ud, std::map<unsigned, Concatenated> &messages) {
  out.field(p + "dcs", dcs_text(dcs));
  std::string text = user_text(dcs, ud);
  for (int i = 0; i < ud.num_headers; ++i) {
    const sms_udh_element &e = ud.headers[i];
    out.field(p + "header" + std::to_string(i + 1), header_text(e));
    bool c8 = e.header_id == SMS_UDH_CONCAT_8, c16 = e.header_id == SMS_UDH_CONCAT_16;
    if (c8 || c16) {
      unsigned key = c8 ? e.body.concat_8.msg_ref : 0x10000u | e.body.concat_16.msg_ref;
      messages[key].total = c8 ? e.body.concat_8.total_sm : e.body.concat_16.total_sm;
      messages[key].parts[c8 ? e.body.concat_8.seq_num : e.body.concat_16.seq_num] = text;
    }
  }
  out.field(p + "sm_len", static_cast<int>(ud.sm_len));
  out.field(p + "sm_data", ctl::hex(ud.sm_data, ud.sm_len));
  out.field(p + "text", text);
}

void put_record(ctl::Output &out, const std::string &p, const sms_message_record &r,
                std::map<unsigned, Concatenated> &messages) {
  static const char *kKinds[] = {"deliver", "submit",         "status-report",
                                 "?",       "cell-broadcast", "reserved (read as deliver)",
                                 "command", "undecodable"};
  out.field(p + "kind", r.kind < 8 ? kKinds[r.kind] : "?");
  out.field(p + "sc_address", address(r.sc_address));
  out.field(p + "tpdu_length", static_cast<int>(r.tpdu_length));
  out.field(p + "first_octet", hex_octet(r.first_octet));
  const auto &b = r.body;
  switch (r.kind) {
    case SMS_KIND_DELIVER:
    case SMS_KIND_RESERVED:
      out.field(p + "flags", flags_text(b.deliver.flags,
                                        {"mms", "reply-path", "udhi", "status-report-indication"}));
      out.field(p + "originating_address", address(b.deliver.originating_address));
      out.field(p + "pid", hex_octet(b.deliver.pid));
      out.field(p + "scts", b.deliver.scts_text);
      put_user_data(out, p, b.deliver.dcs, b.deliver.user_data, messages);
      break;
    case SMS_KIND_SUBMIT: {
      static const char *kFormats[] = {"none", "enhanced", "relative", "absolute"};
      out.field(p + "flags",
                flags_text(b.submit.flags,
                           {"reject-duplicates", "status-report-request", "udhi", "reply-path"}));
      out.field(p + "message_reference", static_cast<int>(b.submit.message_reference));
      out.field(p + "destination_address", address(b.submit.destination_address));
      out.field(p + "pid", hex_octet(b.submit.pid));
      out.field(p + "validity",
                std::string(kFormats[b.submit.validity.format & 3]) +
                    (b.submit.validity.format ? " " + hex_octet(b.submit.raw_validity_octet) + " " +
                                                    b.submit.validity_text
                                              : ""));
      put_user_data(out, p, b.submit.dcs, b.submit.user_data, messages);
      break;
    }
    case SMS_KIND_STATUS_REPORT:
      out.field(p + "flags", flags_text(b.status_report.flags,
                                        {"udhi", "no-more-messages", "status-report-qualifier"}));
      out.field(p + "message_reference", static_cast<int>(b.status_report.message_reference));
      out.field(p + "recipient_address", address(b.status_report.recipient_address));
      out.field(p + "scts", b.status_report.scts_text);
      out.field(p + "discharge_time", b.status_report.discharge_text);
      out.field(p + "status", hex_octet(b.status_report.status));
      out.field(p + "parameter_indicator", hex_octet(b.status_report.parameter_indicator));
      // The optional fields are shown as the parameter indicator announces them.
      if (b.status_report.parameter_indicator & 0x01)
        out.field(p + "pid", hex_octet(b.status_report.pid));
      if (b.status_report.parameter_indicator & 0x06)
        put_user_data(out, p, b.status_report.dcs, b.status_report.user_data, messages);
      break;
    case SMS_KIND_COMMAND:
      out.field(p + "flags", flags_text(b.command.flags, {"udhi", "status-report-request"}));
      out.field(p + "message_reference", static_cast<int>(b.command.message_reference));
      out.field(p + "pid", hex_octet(b.command.pid));
      out.field(p + "command_type", hex_octet(b.command.command_type));
      out.field(p + "message_number", static_cast<int>(b.command.message_number));
      out.field(p + "destination_address", address(b.command.destination_address));
      out.field(p + "command_data",
                ctl::hex(b.command.command_data, b.command.command_data_length));
      break;
    default: break;
  }
}

int sms_decode(const ctl::Args &args, ctl::Output &out) {
  uint32_t direction = SMS_DIRECTION_MT;
  std::vector<Bytes> pdus;
  for (const std::string &a : args) {
    if (a == "--command") {
      direction = SMS_DIRECTION_MO;
      continue;
    }
    Bytes pdu;
    if (!unhex(a, pdu) || pdu.empty()) return ctl::fail(out, "not a hex PDU: " + a, 2);
    pdus.push_back(pdu);
  }
  if (pdus.empty()) return ctl::fail(out, "usage: sms decode HEX [HEX]... [--command]", 2);
  std::map<unsigned, Concatenated> messages;
  for (size_t i = 0; i < pdus.size(); ++i) {
    std::string p = pdus.size() > 1 ? "part" + std::to_string(i + 1) + "." : "";
    sms_message_record record;
    int rc = vorn_sms_decode(direction, SMS_PROTOCOL_GW_PP, pdus[i].data(),
                             static_cast<uint32_t>(pdus[i].size()), &record);
    if (rc != 0) return ctl::fail(out, "cannot decode " + (p.empty() ? "the PDU" : p), rc);
    put_record(out, p, record, messages);
  }
  for (const auto &[key, message] : messages) {
    if (message.parts.size() != message.total) continue;
    std::string joined;
    for (const auto &[seq, text] : message.parts) joined += text;
    out.field("message", joined);
  }
  return 0;
}

ctl::Registrar reg({
    {"sms encode",
     "NUMBER TEXT [--smsc N] [--ucs2|--8bit] [--class N] [--validity VP|none] "
     "[--srr] [--ref N] [--ref16] [--port DEST[:ORIG]]",
     "submit PDUs in hex, one line per part", sms_encode},
    {"sms decode", "HEX [HEX]... [--command]",
     "every field of decoded PDUs; the joined text of complete concatenated messages", sms_decode},
});

}  // namespace
