// SMS from the command line: PDUs without a modem (encode, decode), and
// messages through the modem (send, list, read, delete) with the tool
// acting as the daemon that receives them; SMS events for `watch`.
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <vornpal/device.h>
#include <vornpal/sms.h>
#include <vornpal/sms_codec.h>

#include "ctl.h"
#include "sms_receiver.h"
#include "sms_text.h"

namespace {

using Bytes = std::vector<uint8_t>;
using ctl::sms::Alphabet;
using ctl::sms::EncodeOptions;

// --- options ---------------------------------------------------------------------

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
    error = "give NUMBER and TEXT";
    return false;
  }
  o.number = positional[0];
  o.text = positional[1];
  if (o.alphabet == Alphabet::kOctets) {
    std::string octets;
    if (!ctl::parse_hex(o.text, octets)) {
      error = "--8bit takes the data as hex";
      return false;
    }
  }
  return true;
}

int sms_encode(const ctl::Args &args, ctl::Output &out) {
  EncodeOptions o;
  std::vector<Bytes> pdus;
  std::string error;
  if (!parse_encode_options(args, o, error) || !ctl::sms::encode_parts(o, pdus, error))
    return ctl::fail(out, error, 2);
  for (const Bytes &pdu : pdus) out.line(ctl::hex(pdu.data(), pdu.size()));
  return 0;
}

// --- through the modem --------------------------------------------------------------

constexpr int kLoopWaitMs = 5000;

std::string digits_of(const std::string &number) {
  std::string digits;
  for (char c : number)
    if (c >= '0' && c <= '9') digits += c;
  return digits;
}

// The family started as a daemon starts it, with the AP store open.
bool start_family(ctl::Output &out) {
  if (vorn_sms_pal_ap_init() != 0) {
    ctl::fail(out, "cannot open the AP store", 1);
    return false;
  }
  if (vorn_sms_pal_init() != 0) {
    ctl::fail(out, "the SMS service does not answer", 1);
    return false;
  }
  return true;
}

int sms_send(const ctl::Args &args, ctl::Output &out) {
  EncodeOptions o;
  std::vector<Bytes> pdus;
  std::string error;
  if (!parse_encode_options(args, o, error) || !ctl::sms::encode_parts(o, pdus, error))
    return ctl::fail(out, error, 2);
  // The receiver first: what waited at the centre arrives during the start.
  std::vector<std::string> received;
  std::mutex received_mutex;
  ctl::sms::Receiver receiver([&](const std::string &line) {
    std::lock_guard<std::mutex> lock(received_mutex);
    received.push_back(line);
  });
  if (!start_family(out)) return 1;
  for (size_t i = 0; i < pdus.size(); ++i) {
    uint32_t reference = 0;
    int rc = vorn_sms_pal_send_msg(pdus[i].data(), static_cast<int32_t>(pdus[i].size()), E_SMS_PAL_SEND_ONLY, &reference);
    if (rc != 0) return ctl::fail(out, "part " + std::to_string(i + 1) + " not sent", rc);
    out.field(pdus.size() > 1 ? "reference" + std::to_string(i + 1) : "reference", static_cast<int>(reference));
  }
  // To the device's own number, the parts come back through the network.
  char own[64] = {};
  if (vorn_deivce_pal_get_msisdn(own, sizeof own) == 0 && !digits_of(own).empty() &&
      digits_of(own) == digits_of(o.number)) {
    receiver.wait_for(pdus.size(), kLoopWaitMs);
    std::lock_guard<std::mutex> lock(received_mutex);
    for (const std::string &line : received) out.line("received: " + line);
  }
  return 0;
}

struct Store {
  const char *name;
  uint32_t storage;
};
constexpr Store kStores[] = {{"sim", SMS_STORAGE_UIM}, {"nv", SMS_STORAGE_NV}, {"ap", SMS_STORAGE_AP}};
constexpr const char *kStatusNames[] = {"unread", "read", "not-sent", "sent"};

const Store *store_named(const std::string &name) {
  for (const Store &s : kStores)
    if (name == s.name) return &s;
  return nullptr;
}

bool read_message(uint32_t storage, uint32_t index, sms_store_message &record) {
  if (storage == SMS_STORAGE_AP) return vorn_sms_pal_ap_read_msg(static_cast<int32_t>(index), &record, 1) == 1;
  return vorn_sms_pal_read_msg(storage, static_cast<int32_t>(index), &record) == 1;
}

std::vector<sms_index_status> indexes(uint32_t storage) {
  std::vector<sms_index_status> pairs(255);
  int n = storage == SMS_STORAGE_AP
              ? vorn_sms_pal_ap_get_valid_index(SMS_LIST_ALL, pairs.data(), static_cast<uint32_t>(pairs.size()))
              : vorn_sms_pal_get_valid_index(storage, SMS_LIST_ALL, pairs.data(), static_cast<uint32_t>(pairs.size()));
  pairs.resize(static_cast<size_t>(n > 0 ? n : 0));
  return pairs;
}

std::string status_name(uint32_t status) { return status < 4 ? kStatusNames[status] : "?"; }

int sms_list(const ctl::Args &args, ctl::Output &out) {
  std::vector<const Store *> stores;
  if (args.size() == 2 && args[0] == "--store") {
    if (const Store *s = store_named(args[1])) stores.push_back(s);
    else return ctl::fail(out, "no store " + args[1] + " (sim, nv, ap)", 2);
  } else if (!args.empty()) {
    return ctl::fail(out, "usage: sms list [--store sim|nv|ap]", 2);
  } else {
    for (const Store &s : kStores) stores.push_back(&s);
  }
  if (!start_family(out)) return 1;
  for (const Store *s : stores) {
    for (const sms_index_status &pair : indexes(s->storage)) {
      sms_store_message record{};
      std::string text = read_message(s->storage, pair.index, record)
                             ? ctl::sms::describe(record.sms_pdu_data, record.sms_pdu_len)
                             : "cannot be read";
      out.line(std::string(s->name) + " " + std::to_string(pair.index) + " " + status_name(pair.status) + " " + text);
    }
  }
  return 0;
}

// The store and index of the arguments, with the family started: 0, or the
// exit status of the failure.
int store_and_index(const ctl::Args &args, const Store *&store, uint32_t &index, ctl::Output &out) {
  long long n = 0;
  store = args.size() == 2 ? store_named(args[0]) : nullptr;
  if (store == nullptr || !ctl::parse_number(args[1], n) || n < 0)
    return ctl::fail(out, "give STORE (sim, nv, ap) and INDEX", 2);
  index = static_cast<uint32_t>(n);
  return start_family(out) ? 0 : 1;
}

int sms_read(const ctl::Args &args, ctl::Output &out) {
  const Store *store = nullptr;
  uint32_t index = 0;
  if (int rc = store_and_index(args, store, index, out); rc != 0) return rc;
  sms_store_message record{};
  if (!read_message(store->storage, index, record))
    return ctl::fail(out, std::string("no message ") + store->name + " " + std::to_string(index), 1);
  out.field("status", status_name(record.sms_status));
  out.field("pdu", ctl::hex(record.sms_pdu_data, record.sms_pdu_len));
  out.field("message", ctl::sms::describe(record.sms_pdu_data, record.sms_pdu_len));
  return 0;
}

int sms_delete(const ctl::Args &args, ctl::Output &out) {
  const Store *store = nullptr;
  uint32_t index = 0;
  if (int rc = store_and_index(args, store, index, out); rc != 0) return rc;
  int rc = store->storage == SMS_STORAGE_AP ? vorn_sms_pal_ap_delete_msg(index, 0)
                                            : vorn_sms_pal_delete_msg(store->storage, index, 0);
  if (rc != 0) return ctl::fail(out, std::string("cannot delete ") + store->name + " " + std::to_string(index), rc);
  out.field("deleted", std::string(store->name) + " " + std::to_string(index));
  return 0;
}

// --- decoding -------------------------------------------------------------------

std::string hex_octet(unsigned value) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02X", value);
  return text;
}

std::string address(const sms_address_record &a) {
  if (a.number_of_digits == 0 || a.digit_mode == 1) return ctl::sms::address_text(a);
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

// Parts of concatenated messages, for the joined text.
struct Concatenated {
  unsigned total = 0;
  std::map<unsigned, std::string> parts;
};

void put_user_data(ctl::Output &out, const std::string &p, const sms_dcs_record &dcs,
                   const sms_user_data_record &ud, std::map<unsigned, Concatenated> &messages) {
  out.field(p + "dcs", dcs_text(dcs));
  std::string text = ctl::sms::user_text(dcs, ud);
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
    std::string pdu;
    if (!ctl::parse_hex(a, pdu) || pdu.empty()) return ctl::fail(out, "not a hex PDU: " + a, 2);
    pdus.push_back(Bytes(pdu.begin(), pdu.end()));
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
     "submit PDUs in hex, one line per part", sms_encode,
     "sms encode +4915112345678 'Hello from vornpalctl'\nsms encode +4915112345678 'Hi' --ucs2 --srr"},
    {"sms decode", "HEX [HEX]... [--command]",
     "every field of decoded PDUs; the joined text of complete concatenated messages", sms_decode,
     "sms decode 0011000C919451214365870000AA05E8329BFD06"},
    {"sms send", "NUMBER TEXT [encode options]",
     "split, encode and send; the message references (and, to the own number, where the parts came back)",
     sms_send, "sms send +15551230042 'the own number: it comes back'"},
    {"sms list", "[--store sim|nv|ap]", "the stored messages with their text", sms_list,
     "sms list --store ap"},
    {"sms read", "STORE INDEX", "one stored message (STORE: sim, nv, ap)", sms_read,
     "sms read ap 0"},
    {"sms delete", "STORE INDEX", "delete one stored message", sms_delete, "sms delete ap 0"},
});

// watch: the family's events, with the messages received as the daemon
// would keep them.
std::unique_ptr<ctl::sms::Receiver> watch_receiver;

void start_watch(const ctl::Emit &emit) {
  watch_receiver = std::make_unique<ctl::sms::Receiver>([emit](const std::string &line) { emit("sms", line); });
  if (vorn_sms_pal_ap_init() != 0 || vorn_sms_pal_init() != 0) emit("sms", "the SMS service does not answer");
}

ctl::WatchRegistrar watch_source({"sms", start_watch});

}  // namespace
