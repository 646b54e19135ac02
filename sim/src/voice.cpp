// The VOICE service of the simulated modem: USSD sessions with the
// simulated operator (voice_network.cpp). The network answers a little
// after each request, by indication to the clients that switched USSD
// reports on: questions and notifications as USSD indications, the outcome
// of an origination that did not wait as its own indication, and the end
// of every transaction as a release. The open session is saved, with the
// wall-clock time at which the network gives up waiting, so that
// vornpalctl runs can carry one session between them.
#include <chrono>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <vornsim/sim.h>
#include <vornsim/voice.h>

#include "engine.h"
#include "service_module.h"
#include "voice/messages.h"
#include "voice_network.h"

namespace vornsim {
namespace {

namespace vv = vorn::voice;
using voice::Coding;

// Refusals of the service.
constexpr auto kInvalidOperation = static_cast<qmi_error_type_v01>(0x0052);
constexpr auto kInvalidId = static_cast<qmi_error_type_v01>(0x0029);
constexpr auto kNetworkRefused = static_cast<qmi_error_type_v01>(0x0049);
// The network's cause for a code it does not serve ("unknown application").
constexpr uint16_t kUnknownApplication = 0x22;

// How long the network takes to answer, and to give up on a question.
constexpr unsigned kNetworkDelayMs = 800;
constexpr unsigned kDefaultSessionTimeoutMs = 180000;

enum SessionKind : uint32_t { kIdle = 0, kOriginated = 1, kOriginatedNoWait = 2, kNetworkInitiated = 3 };

struct State {
  uint32_t session = kIdle;
  std::string question;          // the question that waits for an answer
  std::string question_text;     // its text
  uint64_t give_up_at_ms = 0;    // wall clock
  uint32_t step = 0;             // a time-out acts only on the step it was set for
  uint32_t timeout_ms = kDefaultSessionTimeoutMs;
  std::map<uint32_t, std::string> received;
  // Network events that came while no client listened: a kind ('n'otify,
  // 'r'equest, 'x' release), a coding ('g'sm, 'u'cs2) and the text.
  std::map<uint32_t, std::string> pending;
  uint32_t reports = 0;          // of this modem's clients: not saved

  template <class Visit>
  void values(Visit &&visit) {
    visit("session", session);
    visit("question", question);
    visit("question_text", question_text);
    visit("give_up_at_ms", give_up_at_ms);
    visit("step", step);
    visit("timeout_ms", timeout_ms);
    visit("received", received);
    visit("pending", pending);
  }
};

void on_timeout(uint32_t step);

uint64_t wall_ms() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                   std::chrono::system_clock::now().time_since_epoch())
                                   .count());
}

// ---- indications -----------------------------------------------------------------

using Indications = std::vector<std::pair<unsigned, Bytes>>;

template <class Ind>
void add(Indications &out, unsigned msg_id, const Ind &ind) {
  const auto *bytes = reinterpret_cast<const uint8_t *>(&ind);
  out.emplace_back(msg_id, Bytes(bytes, bytes + sizeof ind));
}

// The network's indications of one event, in order, after its delay; only
// for clients that asked for USSD reports.
void deliver(const State &s, Indications inds, unsigned delay_ms = kNetworkDelayMs) {
  if (s.reports == 0 || inds.empty()) return;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  schedule_locked(m, scaled_ms(delay_ms), true, [inds = std::move(inds)] {
    for (const auto &[msg_id, bytes] : inds) indicate(Svc::VOICE, msg_id, bytes.data(), bytes.size());
  });
}

// The modem's forms of a network text: ASCII (one byte a character) for
// GSM 7-bit texts; UCS-2 big-endian, or the UTF-16 form when UCS-2 cannot
// carry the text.
template <class Ind>
void put_text(Ind &ind, const std::string &text, Coding coding) {
  if (coding == Coding::Gsm7) {
    std::string bytes = ussd::latin1(text);
    ind.uss_info_valid = 1;
    ind.uss_info.uss_dcs = USS_DCS_ASCII_V02;
    ind.uss_info.uss_data_len = static_cast<uint32_t>(std::min(bytes.size(), sizeof ind.uss_info.uss_data));
    std::memcpy(ind.uss_info.uss_data, bytes.data(), ind.uss_info.uss_data_len);
    return;
  }
  std::u16string units = ussd::utf16(text);
  bool beyond_plane = ussd::code_points(text).size() != units.size();
  if (!beyond_plane && units.size() * 2 <= sizeof ind.uss_info.uss_data) {
    std::vector<uint8_t> be = voice::network_form(text, Coding::Ucs2);
    ind.uss_info_valid = 1;
    ind.uss_info.uss_dcs = USS_DCS_UCS2_V02;
    ind.uss_info.uss_data_len = static_cast<uint32_t>(be.size());
    std::memcpy(ind.uss_info.uss_data, be.data(), be.size());
    return;
  }
  ind.uss_info_utf16_valid = 1;
  ind.uss_info_utf16_len = static_cast<uint32_t>(std::min<size_t>(units.size(), QMI_VOICE_USS_DATA_MAX_V02));
  std::memcpy(ind.uss_info_utf16, units.data(), ind.uss_info_utf16_len * 2);
}

template <class Field>
uint32_t put_network_form(Field &field, const std::string &text, Coding coding) {
  std::vector<uint8_t> form = voice::network_form(text, coding);
  size_t len = std::min(form.size(), sizeof field);
  std::memcpy(field, form.data(), len);
  return static_cast<uint32_t>(len);
}

voice_ussd_ind_msg_v02 ussd_ind(const ussd::Reply &reply, further_user_action_enum_v02 type) {
  voice_ussd_ind_msg_v02 ind{};
  ind.notification_type = type;
  put_text(ind, reply.text, reply.coding);
  ind.network_data_valid = 1;
  ind.network_data_len = put_network_form(ind.network_data, reply.text, reply.coding);
  return ind;
}

voice_orig_ussd_no_wait_ind_msg_v02 outcome_ind(const ussd::Reply &reply) {
  voice_orig_ussd_no_wait_ind_msg_v02 ind{};
  put_text(ind, reply.text, reply.coding);
  ind.network_data_valid = 1;
  ind.network_data_dcs = reply.coding == Coding::Gsm7 ? voice::kDcsGsm7 : voice::kDcsUcs2;
  ind.network_data_len = put_network_form(ind.network_data, reply.text, reply.coding);
  return ind;
}

voice_ussd_release_ind_msg_v02 release_ind(uint16_t cause, std::optional<uint32_t> failure = {}) {
  voice_ussd_release_ind_msg_v02 ind{};
  ind.release_cause = cause;
  ind.failure_cause_valid = failure ? 1 : 0;
  ind.failure_cause = failure.value_or(0);
  return ind;
}

// ---- the session -------------------------------------------------------------------

void close(State &s) {
  s.session = kIdle;
  s.question.clear();
  s.question_text.clear();
  ++s.step;
}

// A session that the network gave up on while no process of the modem was
// there to see it ends quietly.
void expire(State &s) {
  if (s.session != kIdle && wall_ms() >= s.give_up_at_ms) close(s);
}

// The network asks and waits for the answer, for the session time-out.
void ask(State &s, uint32_t session, const ussd::Reply &reply) {
  s.session = session;
  s.question = reply.question;
  s.question_text = reply.text;
  s.give_up_at_ms = wall_ms() + s.timeout_ms / time_scale();
  uint32_t step = ++s.step;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  schedule_locked(m, scaled_ms(s.timeout_ms), false, [step] { on_timeout(step); });
}

void receive(State &s, const uss_info_type_v02 &info) {
  uint32_t len = std::min<uint32_t>(info.uss_data_len, sizeof info.uss_data);
  std::string text = info.uss_dcs == USS_DCS_UCS2_V02
                         ? ussd::from_ucs2_machine(info.uss_data, len)
                         : std::string(reinterpret_cast<const char *>(info.uss_data), len);
  // The last texts only: the state is saved between runs and must not grow
  // with every one.
  constexpr size_t kReceivedKept = 64;
  const uint32_t next = s.received.empty() ? 0 : s.received.rbegin()->first + 1;
  s.received[next] = text;
  if (s.received.size() > kReceivedKept) s.received.erase(s.received.begin());
}

// The network's reply to an origination or an answer.
void reply_to(State &s, uint32_t session, const ussd::Reply &reply) {
  Indications inds;
  if (!reply.question.empty()) {
    ask(s, session, reply);
    add(inds, QMI_VOICE_USSD_IND_V02, ussd_ind(reply, FURTHER_USER_ACTION_REQUIRED_V02));
  } else {
    // The final text: the outcome of an origination that did not wait, a
    // notification otherwise; then the end of the transaction.
    if (session == kOriginatedNoWait) {
      add(inds, QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02, outcome_ind(reply));
    } else {
      add(inds, QMI_VOICE_USSD_IND_V02, ussd_ind(reply, FURTHER_USER_ACTION_NOT_REQUIRED_V02));
    }
    add(inds, QMI_VOICE_USSD_RELEASE_IND_V02, release_ind(voice::kCompleted));
    close(s);
  }
  deliver(s, std::move(inds));
}

// ---- events of the network ------------------------------------------------------------

// Each acts at once while a client listens (`delay_ms` after), and waits
// for the next client that switches reports on otherwise. False when the
// session does not allow it.
bool notify(State &s, const std::string &text, Coding coding, unsigned delay_ms = kNetworkDelayMs) {
  expire(s);
  if (s.session != kIdle) return false;
  Indications inds;
  add(inds, QMI_VOICE_USSD_IND_V02, ussd_ind({text, coding, ""}, FURTHER_USER_ACTION_NOT_REQUIRED_V02));
  add(inds, QMI_VOICE_USSD_RELEASE_IND_V02, release_ind(voice::kCompleted));
  deliver(s, std::move(inds), delay_ms);
  return true;
}

bool request(State &s, const std::string &text, Coding coding, unsigned delay_ms = kNetworkDelayMs) {
  expire(s);
  if (s.session != kIdle) return false;
  ussd::Reply question = ussd::request(text, coding);
  ask(s, kNetworkInitiated, question);
  Indications inds;
  add(inds, QMI_VOICE_USSD_IND_V02, ussd_ind(question, FURTHER_USER_ACTION_REQUIRED_V02));
  deliver(s, std::move(inds), delay_ms);
  return true;
}

bool release(State &s, unsigned delay_ms = kNetworkDelayMs) {
  expire(s);
  if (s.session == kIdle) return false;
  close(s);
  Indications inds;
  add(inds, QMI_VOICE_USSD_RELEASE_IND_V02, release_ind(voice::kReleasedByNetwork));
  deliver(s, std::move(inds), delay_ms);
  return true;
}

bool network_event(State &s, char kind, Coding coding, const std::string &text) {
  if (s.reports == 0) {
    char head[2] = {kind, coding == Coding::Gsm7 ? 'g' : 'u'};
    s.pending[static_cast<uint32_t>(s.pending.size())] = std::string(head, 2) + text;
    return true;
  }
  switch (kind) {
    case 'n': return notify(s, text, coding);
    case 'r': return request(s, text, coding);
    default: return release(s);
  }
}

// What the network sent while no one listened arrives at once.
void deliver_pending(State &s) {
  std::map<uint32_t, std::string> waiting;
  waiting.swap(s.pending);
  for (const auto &[index, event] : waiting) {
    if (event.size() < 2) continue;
    Coding coding = event[1] == 'g' ? Coding::Gsm7 : Coding::Ucs2;
    std::string text = event.substr(2);
    if (event[0] == 'n') notify(s, text, coding, 0);
    if (event[0] == 'r') request(s, text, coding, 0);
    if (event[0] == 'x') release(s, 0);
  }
}

// ---- requests ------------------------------------------------------------------------

template <class Resp>
bool refuse_when_busy(State &s, Resp &resp) {
  expire(s);
  if (s.session == kIdle) return false;
  refuse_with(resp, kInvalidOperation);
  return true;
}

void originate(State &s, const vv::OrigUssd::Req &req, vv::OrigUssd::Resp &resp) {
  if (refuse_when_busy(s, resp)) return;
  receive(s, req.uss_info);
  std::optional<ussd::Reply> reply = ussd::dial(s.received.rbegin()->second);
  if (!reply) {
    resp.failure_cause_valid = 1;
    resp.failure_cause = kUnknownApplication;
    return refuse_with(resp, kNetworkRefused);
  }
  // The reply is in the response too; the application is told by indication.
  put_text(resp, reply->text, reply->coding);
  reply_to(s, kOriginated, *reply);
}

void originate_no_wait(State &s, const vv::OrigUssdNoWait::Req &req, vv::OrigUssdNoWait::Resp &resp) {
  if (refuse_when_busy(s, resp)) return;
  receive(s, req.uss_info);
  std::optional<ussd::Reply> reply = ussd::dial(s.received.rbegin()->second);
  if (reply) return reply_to(s, kOriginatedNoWait, *reply);
  voice_orig_ussd_no_wait_ind_msg_v02 refused{};
  refused.error_valid = 1;
  refused.error = kNetworkRefused;
  refused.failure_cause_valid = 1;
  refused.failure_cause = kUnknownApplication;
  Indications inds;
  add(inds, QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02, refused);
  add(inds, QMI_VOICE_USSD_RELEASE_IND_V02, release_ind(voice::kReleasedByNetwork, kUnknownApplication));
  deliver(s, std::move(inds));
}

void answer(State &s, const vv::AnswerUssd::Req &req, vv::AnswerUssd::Resp &resp) {
  expire(s);
  if (s.session == kIdle) return refuse_with(resp, kInvalidOperation);
  receive(s, req.uss_info);
  reply_to(s, s.session, ussd::answer(s.question, s.received.rbegin()->second));
}

void cancel(State &s, const vorn::qmi::NoRequest &, vv::CancelUssd::Resp &resp) {
  expire(s);
  if (s.session == kIdle) return refuse_with(resp, kInvalidOperation);
  close(s);
  Indications inds;
  add(inds, QMI_VOICE_USSD_RELEASE_IND_V02, release_ind(voice::kCancelled));
  deliver(s, std::move(inds));
}

void install(ServiceModule<State> &m) {
  m.serve<vv::IndicationRegister>([](State &s, const auto &req, auto &) {
    s.reports = req.ussd_notification_events_valid != 0 && req.ussd_notification_events != 0;
    if (s.reports != 0) deliver_pending(s);
  });
  m.serve<vv::OrigUssd>(originate);
  m.serve<vv::OrigUssdNoWait>(originate_no_wait);
  m.serve<vv::AnswerUssd>(answer);
  m.serve<vv::CancelUssd>(cancel);
  // No calls are ever up on the simulated modem.
  m.serve<vv::EndCall>([](State &, const auto &, auto &resp) { refuse_with(resp, kInvalidId); });
  // The mandatory fields of the indications.
  require_indication_bytes(Svc::VOICE, QMI_VOICE_USSD_IND_V02, sizeof(further_user_action_enum_v02));
  require_indication_bytes(Svc::VOICE, QMI_VOICE_USSD_RELEASE_IND_V02, sizeof(uint16_t));
  require_indication_bytes(Svc::VOICE, QMI_VOICE_SUPS_IND_V02, sizeof(voice_sups_info_type_v02));
}

ServiceModule<State> voice_module("voice", Svc::VOICE, [] { return State{}; }, install);

void on_timeout(uint32_t step) {
  voice_module.with_state([step](State &s) {
    if (s.step != step || s.session == kIdle) return;
    close(s);
    Indications inds;
    add(inds, QMI_VOICE_USSD_RELEASE_IND_V02, release_ind(voice::kTimedOut, voice::kNoResponseCause));
    // The time-out is the network's own event: no further delay.
    if (s.reports == 0) return;
    for (const auto &[msg_id, bytes] : inds) indicate(Svc::VOICE, msg_id, bytes.data(), bytes.size());
  });
}

}  // namespace

namespace voice {

bool network_notify(const std::string &text, Coding coding) {
  return voice_module.with_state([&](State &s) { return network_event(s, 'n', coding, text); });
}

bool network_request(const std::string &text, Coding coding) {
  return voice_module.with_state([&](State &s) { return network_event(s, 'r', coding, text); });
}

bool network_release() {
  return voice_module.with_state([](State &s) { return network_event(s, 'x', Coding::Gsm7, ""); });
}

void set_session_timeout(unsigned ms) {
  voice_module.with_state([ms](State &s) { s.timeout_ms = ms; });
}

Session session() {
  return voice_module.with_state([](State &s) {
    expire(s);
    Session now{s.session != kIdle, s.question_text, {}};
    for (const auto &[index, text] : s.received) now.received.push_back(text);
    return now;
  });
}

}  // namespace voice
}  // namespace vornsim
