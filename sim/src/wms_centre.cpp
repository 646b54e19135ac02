// The SMS centre behind the simulated WMS service: MO messages get a
// message reference (and a status report when they ask for one), a submit
// to the device's own number comes back as a deliver, and MT messages go
// out by the routes the library set, stored in the modem or transferred to
// the client, waiting at the centre while no client takes them.
#include <algorithm>
#include <cstring>
#include <ctime>
#include <optional>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornsim/sim.h>
#include <vornsim/wms.h>

#include "engine.h"
#include "remote.h"
#include "sms/messages.h"
#include "wms_state.h"

namespace vornsim::wms_sim {
namespace {

namespace sms = vorn::sms;

constexpr uint32_t kNoClass = 4;
constexpr uint8_t kInternational = 0x91;
constexpr auto kNetworkRefused = static_cast<qmi_error_type_v01>(0x0038);
constexpr auto kInvalidTransaction = static_cast<qmi_error_type_v01>(0x0041);
constexpr auto kInvalidIndex = static_cast<qmi_error_type_v01>(0x0020);

// ---- addresses and TPDU fields -------------------------------------------------

std::string digits_only(const std::string &number) {
  std::string out;
  for (char c : number)
    if (c >= '0' && c <= '9') out += c;
  return out;
}

// Address as length (digits), type, BCD octets.
Bytes address_field(const std::string &number) {
  std::string digits = digits_only(number);
  Bytes out = {static_cast<uint8_t>(digits.size()), kInternational};
  for (size_t i = 0; i < digits.size(); i += 2) {
    uint8_t low = static_cast<uint8_t>(digits[i] - '0');
    uint8_t high = i + 1 < digits.size() ? static_cast<uint8_t>(digits[i + 1] - '0') : 0xF;
    out.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  return out;
}

std::string address_digits(const uint8_t *octets, size_t digits) {
  std::string out;
  for (size_t i = 0; i < digits; ++i) {
    uint8_t nibble = (i % 2 == 0) ? octets[i / 2] & 0xF : octets[i / 2] >> 4;
    if (nibble > 9) break;
    out += static_cast<char>('0' + nibble);
  }
  return out;
}

Bytes timestamp_now() {
  std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  const int fields[] = {utc.tm_year % 100, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, 0};
  Bytes out;
  for (int v : fields) out.push_back(static_cast<uint8_t>((v % 10) << 4 | v / 10));
  return out;
}

// The class of an MT deliver by its DCS; a TPDU too short to say has none.
uint32_t message_class(const Bytes &tpdu) {
  if (tpdu.size() < 2 || (tpdu[0] & 3) != 0) return kNoClass;
  size_t dcs_at = 2 + 1 + (tpdu[1] + 1u) / 2 + 1;
  if (dcs_at >= tpdu.size()) return kNoClass;
  uint8_t dcs = tpdu[dcs_at];
  if ((dcs & 0xC0) == 0 && (dcs & 0x10) != 0) return dcs & 3;
  if ((dcs & 0xF0) == 0xF0) return dcs & 3;
  return kNoClass;
}

bool status_report(const Bytes &tpdu) { return !tpdu.empty() && (tpdu[0] & 3) == 2; }

// A submit as the centre reads it.
struct Submit {
  uint8_t first_octet;
  std::string destination;
  Bytes destination_field;
  uint8_t pid;
  uint8_t dcs;
  Bytes user_data;  // UDL and UD
};

std::optional<Submit> parse_submit(const uint8_t *pdu, size_t len) {
  if (len < 1 || pdu[0] + 1u >= len) return std::nullopt;
  const uint8_t *t = pdu + 1 + pdu[0];
  const size_t n = len - 1 - pdu[0];
  if (n < 4 || (t[0] & 3) != 1) return std::nullopt;
  Submit s;
  s.first_octet = t[0];
  const size_t da_octets = (t[2] + 1u) / 2;
  size_t at = 4 + da_octets;
  if (at + 2 > n) return std::nullopt;
  s.destination = address_digits(t + 4, t[2]);
  s.destination_field.assign(t + 2, t + at);
  s.pid = t[at++];
  s.dcs = t[at++];
  static constexpr size_t kValidityOctets[] = {0, 7, 1, 7};
  at += kValidityOctets[(s.first_octet >> 3) & 3];
  if (at >= n) return std::nullopt;
  s.user_data.assign(t + at, t + n);
  return s;
}

// The device's own number, as its DMS service answers it.
std::string own_number() {
  Handler handler;
  {
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    auto it = m.handlers.find(key(Svc::DMS, QMI_DMS_GET_MSISDN_REQ_V01));
    if (it != m.handlers.end()) handler = it->second;
  }
  if (!handler) return "";
  dms_get_msisdn_resp_msg_v01 resp{};
  handler(Request{Svc::DMS, QMI_DMS_GET_MSISDN_REQ_V01, {}, 0, false}, &resp, sizeof resp);
  return field_text(resp.voice_number);
}

Bytes deliver_of(const Submit &submit, const std::string &from) {
  Bytes tpdu = {static_cast<uint8_t>(0x04 | (submit.first_octet & 0x40))};
  Bytes oa = address_field(from);
  tpdu.insert(tpdu.end(), oa.begin(), oa.end());
  tpdu.push_back(submit.pid);
  tpdu.push_back(submit.dcs);
  Bytes scts = timestamp_now();
  tpdu.insert(tpdu.end(), scts.begin(), scts.end());
  tpdu.insert(tpdu.end(), submit.user_data.begin(), submit.user_data.end());
  return tpdu;
}

Bytes status_report_of(const Submit &submit, uint8_t reference) {
  Bytes now = timestamp_now();
  Bytes tpdu;
  tpdu.reserve(3 + submit.destination_field.size() + 2 * now.size());
  tpdu.push_back(0x06);
  tpdu.push_back(reference);
  tpdu.insert(tpdu.end(), submit.destination_field.begin(), submit.destination_field.end());
  tpdu.insert(tpdu.end(), now.begin(), now.end());  // service centre time stamp
  tpdu.insert(tpdu.end(), now.begin(), now.end());  // discharge time
  tpdu.push_back(0x00);                             // received by the recipient
  return tpdu;
}

// ---- MT ------------------------------------------------------------------------------

void indicate_report(const wms_event_report_ind_msg_v01 &ind) {
  indicate(Svc::WMS, QMI_WMS_EVENT_REPORT_IND_V01, ind);
}

wms_event_report_ind_msg_v01 report() {
  wms_event_report_ind_msg_v01 ind{};
  ind.message_mode_valid = 1;
  ind.message_mode = WMS_MESSAGE_MODE_GW_V01;
  return ind;
}

bool modem_memory(uint32_t memory) {
  return memory == WMS_STORAGE_TYPE_UIM_V01 || memory == WMS_STORAGE_TYPE_NV_V01;
}

// Stores and announces; false when the store cannot take it.
bool store_and_notify(State &s, uint32_t memory, const Bytes &tpdu) {
  std::map<uint32_t, Bytes> &store = *s.store(memory);
  uint32_t index = 0;
  while (index < s.capacity[memory] && store.count(index) != 0) ++index;
  if (index >= s.capacity[memory] || s.failing[memory] != 0) {
    wms_memory_full_ind_msg_v01 full{{memory, WMS_MESSAGE_MODE_GW_V01}};
    indicate(Svc::WMS, QMI_WMS_MEMORY_FULL_IND_V01, full);
    return false;
  }
  Bytes pdu = address_field(s.smsc);
  pdu[0] = static_cast<uint8_t>(pdu.size() - 1);  // the service centre part counts octets
  pdu.insert(pdu.end(), tpdu.begin(), tpdu.end());
  store[index] = stored_bytes(WMS_TAG_TYPE_MT_NOT_READ_V01, WMS_MESSAGE_FORMAT_GW_PP_V01, pdu.data(), pdu.size());
  wms_event_report_ind_msg_v01 ind = report();
  ind.mt_message_valid = 1;
  ind.mt_message = {memory, index};
  indicate_report(ind);
  return true;
}

void transfer(State &s, uint32_t memory, const Bytes &tpdu, bool client_acks) {
  wms_event_report_ind_msg_v01 ind = report();
  // No modem memory: the message is for the AP's store.
  ind.mt_message.storage_type = modem_memory(memory) ? memory : 2;
  ind.transfer_route_mt_message_valid = 1;
  wms_transfer_route_mt_message_type_v01 &mt = ind.transfer_route_mt_message;
  mt.ack_indicator = client_acks ? 0 : 1;
  mt.transaction_id = s.next_transaction++;
  mt.format = WMS_MESSAGE_FORMAT_GW_PP_V01;
  mt.data_len = static_cast<uint32_t>(std::min(tpdu.size(), sizeof mt.data));
  std::memcpy(mt.data, tpdu.data(), mt.data_len);
  Bytes sc = address_field(s.smsc);
  ind.mt_message_smsc_address_valid = 1;
  ind.mt_message_smsc_address.data_len = static_cast<uint32_t>(sc.size() - 1);
  std::memcpy(ind.mt_message_smsc_address.data, sc.data() + 1, sc.size() - 1);
  if (client_acks) s.unacked[mt.transaction_id] = tpdu;
  indicate_report(ind);
}

void wait(State &s, const Bytes &tpdu) { s.waiting[s.next_waiting++] = tpdu; }

// One MT message by its class's route.
void deliver_now(State &s, const Bytes &tpdu) {
  const uint32_t cls = status_report(tpdu) ? kNoClass : message_class(tpdu);
  const uint32_t memory = s.routes[cls * 2];
  const uint32_t value = s.routes[cls * 2 + 1];
  switch (value) {
    case WMS_ROUTE_DISCARD_V01: return;
    case WMS_ROUTE_STORE_AND_NOTIFY_V01:
      // Status reports and messages for no modem memory are handed over,
      // the modem acknowledging them itself.
      if (!modem_memory(memory) || status_report(tpdu)) return transfer(s, memory, tpdu, false);
      if (!store_and_notify(s, memory, tpdu)) wait(s, tpdu);
      return;
    case WMS_ROUTE_TRANSFER_AND_ACK_V01: return transfer(s, memory, tpdu, false);
    default: return transfer(s, memory, tpdu, true);
  }
}

// ---- MO ------------------------------------------------------------------------------

// Takes one MO PDU; the reference, or nullopt when refused (resp filled).
template <class Resp>
std::optional<uint16_t> take_mo(State &s, const uint8_t *pdu, size_t len, bool on_ims, Resp &resp) {
  std::optional<Submit> submit = parse_submit(pdu, len);
  if (!submit) {
    refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
    return std::nullopt;
  }
  if (s.reject_mo) {
    s.reject_mo = false;
    refuse_with(resp, kNetworkRefused);
    resp.gw_cause_info_valid = 1;
    resp.gw_cause_info = s.rejection;
    return std::nullopt;
  }
  const auto reference = static_cast<uint16_t>(s.next_reference++ & 0xFF);
  Bytes tpdu(pdu + 1 + pdu[0], pdu + len);
  tpdu[1] = static_cast<uint8_t>(reference);  // the modem numbers what it sends
  s.mo.push_back({reference, tpdu, on_ims});
  std::string own = own_number();
  if (!own.empty() && digits_only(own) == submit->destination)
    deliver_or_wait(s, deliver_of(*submit, own));
  if (submit->first_octet & 0x20) deliver_or_wait(s, status_report_of(*submit, static_cast<uint8_t>(reference)));
  return reference;
}

void raw_send(State &s, const sms::RawSend::Req &req, sms::RawSend::Resp &resp) {
  const wms_send_raw_message_data_type_v01 &data = req.raw_message_data;
  if (data.format != WMS_MESSAGE_FORMAT_GW_PP_V01 || data.raw_message_len > sizeof data.raw_message)
    return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  if (auto reference = take_mo(s, data.raw_message, data.raw_message_len,
                               req.sms_on_ims_valid && req.sms_on_ims, resp))
    resp.message_id = *reference;
}

void send_from_store(State &s, const sms::SendFromMemStore::Req &req, sms::SendFromMemStore::Resp &resp) {
  const wms_send_from_mem_store_data_type_v01 &from = req.send_from_mem_store_data;
  std::map<uint32_t, Bytes> *store = s.store(from.storage_type);
  auto it = store != nullptr ? store->find(from.storage_index) : decltype(store->end()){};
  if (store == nullptr || it == store->end()) return refuse_with(resp, kInvalidIndex);
  Bytes &message = it->second;
  if (auto reference = take_mo(s, message.data() + 2, message.size() - 2, false, resp)) {
    resp.message_id_valid = 1;
    resp.message_id = *reference;
    if (message[0] == WMS_TAG_TYPE_MO_NOT_SENT_V01) message[0] = WMS_TAG_TYPE_MO_SENT_V01;
  }
}

void acknowledge(State &s, const sms::SendAck::Req &req, sms::SendAck::Resp &resp) {
  const wms_ack_information_type_v01 &ack = req.ack_information;
  const wms_gw_cause_info_type_v01 &cause = req.wms_3gpp_failure_information;
  s.acks.push_back({ack.transaction_id, ack.success != 0,
                    req.wms_3gpp_failure_information_valid ? cause.rp_cause : 0,
                    req.wms_3gpp_failure_information_valid ? cause.tp_cause : 0});
  auto it = s.unacked.find(ack.transaction_id);
  if (it == s.unacked.end()) return refuse_with(resp, kInvalidTransaction);
  // A refusal leaves the message at the centre, which tries again later.
  if (ack.success == 0) wait(s, it->second);
  s.unacked.erase(it);
}

// A client that switches the MT reports on starts a new session: what the
// last one never acknowledged is sent again.
void event_report(State &s, const sms::SetEventReport::Req &req, sms::SetEventReport::Resp &) {
  if (!req.report_mt_message_valid) return;
  s.mt_reports = req.report_mt_message;
  for (auto &[txn, tpdu] : s.unacked) wait(s, tpdu);
  s.unacked.clear();
}

}  // namespace

void deliver_or_wait(State &s, const Bytes &tpdu) {
  if (s.mt_reports == 0 || s.hold) return wait(s, tpdu);
  deliver_now(s, tpdu);
}

void deliver_waiting(State &s, const std::vector<size_t> &order) {
  std::vector<Bytes> waiting;
  for (auto &[seq, tpdu] : s.waiting) waiting.push_back(tpdu);
  s.waiting.clear();
  std::vector<size_t> positions = order;
  for (size_t i = 0; i < waiting.size(); ++i)
    if (std::find(positions.begin(), positions.end(), i) == positions.end()) positions.push_back(i);
  for (size_t at : positions)
    if (at < waiting.size()) deliver_now(s, waiting[at]);
}

void install_centre(ServiceModule<State> &m) {
  m.serve<sms::RawSend>(raw_send);
  m.serve<sms::SendFromMemStore>(send_from_store);
  m.serve<sms::SendAck>(acknowledge);
  m.serve<sms::SetEventReport>(event_report);
}

}  // namespace vornsim::wms_sim

namespace vornsim::wms {

using wms_sim::State;

void deliver(const Bytes &tpdu) {
  VORNSIM_REMOTE(wms::deliver, tpdu);
  wms_sim::module().with_state([&](State &s) { wms_sim::deliver_or_wait(s, tpdu); });
}

void hold(bool on) {
  VORNSIM_REMOTE(wms::hold, on);
  wms_sim::module().with_state([on](State &s) { s.hold = on; });
}

size_t waiting() {
  VORNSIM_REMOTE(wms::waiting);
  return wms_sim::module().with_state([](State &s) { return s.waiting.size(); });
}

void release(const std::vector<size_t> &order) {
  VORNSIM_REMOTE(wms::release, order);
  wms_sim::module().with_state([&](State &s) {
    s.hold = false;
    if (s.mt_reports != 0) wms_sim::deliver_waiting(s, order);
  });
}

std::vector<Mo> mo_messages() {
  return wms_sim::module().with_state([](State &s) { return s.mo; });
}

void reject_next_mo(uint32_t rp_cause, uint32_t tp_cause) {
  wms_sim::module().with_state([=](State &s) {
    s.reject_mo = true;
    s.rejection = {rp_cause, tp_cause};
  });
}

std::vector<Ack> acks() {
  return wms_sim::module().with_state([](State &s) { return s.acks; });
}

size_t unacknowledged() {
  return wms_sim::module().with_state([](State &s) { return s.unacked.size(); });
}

std::string own_number() { return wms_sim::own_number(); }

std::string centre_address() {
  return wms_sim::module().with_state([](State &s) { return s.smsc; });
}

}  // namespace vornsim::wms
