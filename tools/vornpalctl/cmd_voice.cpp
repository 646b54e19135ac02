// The voice family: USSD sessions (send a code, answer the network's
// question, cancel) and the IMS state; its events in `watch`, with the
// network's texts decoded.
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include <vornpal/m2m.h>
#include <vornpal/text_conversion.h>
#include <vornpal/voice.h>

#include "ctl.h"

namespace {

// ---- the family's events as text --------------------------------------------------

struct Described {
  int event = 0;
  std::string text;       // the network's text, or what happened
  bool question = false;  // the network waits for an answer
  bool end = false;       // the session is over
};

// The network's own form of a text (the outcome event carries its coding).
std::string decoded_network_form(const ussd_no_wait_event &outcome) {
  char utf8[VORN_VOICE_USSD_UTF8_SIZE] = {};
  size_t len = vorn_util_convert_ussd_string_to_utf8(static_cast<uint8_t>(outcome.network_data_dcs),
                                                     outcome.network_data, outcome.network_data_len,
                                                     utf8, sizeof utf8);
  return std::string(utf8, len);
}

// What an event tells; nothing for an event whose text another event
// carries. ASCII texts are not in the events: the session record has them
// when a question or notification arrives.
std::optional<Described> describe(int id, const void *data, int size) {
  if (id == VORN_VOICE_EVENT_USSD && size == static_cast<int>(sizeof(ussd_event))) {
    ussd_event event;
    std::memcpy(&event, data, sizeof event);
    Described d;
    d.question = event.notification_type == 2;
    if (event.text_valid != 0) {
      d.text = std::string(event.text, strnlen(event.text, event.text_length));
      return d;
    }
    ussd_info record{};
    vorn_voice_pal_get_ussd_info(&record);
    if (record.ussd_state != VORN_USSD_STATE_RECEIVED) return std::nullopt;
    d.text = record.ussd_text;
    return d;
  }
  if (id == VORN_VOICE_EVENT_USSD_NO_WAIT && size == static_cast<int>(sizeof(ussd_no_wait_event))) {
    ussd_no_wait_event outcome;
    std::memcpy(&outcome, data, sizeof outcome);
    Described d;
    if (outcome.error_valid != 0) {
      d.text = "(refused by the network: error " + std::to_string(outcome.error) + ", cause " +
               std::to_string(outcome.failure_cause) + ")";
    } else if (outcome.text_valid != 0) {
      d.text = std::string(outcome.text, strnlen(outcome.text, outcome.text_length));
    } else if (outcome.network_data_valid != 0) {
      d.text = decoded_network_form(outcome);
    } else {
      return std::nullopt;
    }
    return d;
  }
  if (id == VORN_VOICE_EVENT_USSD_RELEASE && size == static_cast<int>(sizeof(ussd_release_event))) {
    ussd_release_event release;
    std::memcpy(&release, data, sizeof release);
    Described d;
    d.end = true;
    d.text = "(released, cause " + std::to_string(release.release_cause) + ")";
    return d;
  }
  return Described{id, "(event " + std::to_string(id) + ", " + std::to_string(size) + " bytes)"};
}

// ---- a USSD exchange: the request, then the network's news until it asks or ends --

struct Exchange {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Described> news;
};
Exchange exchange;

void collect(int id, void *data, int size, void *) {
  std::optional<Described> d = describe(id, data, size);
  if (!d) return;
  d->event = id;
  std::lock_guard<std::mutex> lock(exchange.mutex);
  // The outcome of a request repeats the text its event 2 already gave.
  if (id == VORN_VOICE_EVENT_USSD_NO_WAIT && !d->end && !exchange.news.empty() &&
      exchange.news.back().event == VORN_VOICE_EVENT_USSD && exchange.news.back().text == d->text)
    return;
  exchange.news.push_back(*d);
  exchange.changed.notify_all();
}

void start_family() {
  vorn_voice_pal_event_register(collect, nullptr);
  vorn_voice_pal_init();
}

size_t news_so_far() {
  std::lock_guard<std::mutex> lock(exchange.mutex);
  return exchange.news.size();
}

// Waits for the network's reply to the request: a question, the end of the
// session, or the time limit. News from before the request (what the
// network sent while no one listened) is shown too.
int await_network(ctl::Output &out, int seconds, size_t before_request) {
  std::unique_lock<std::mutex> lock(exchange.mutex);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  size_t shown = 0;
  std::string session = "no answer yet";
  while (true) {
    for (; shown < exchange.news.size(); ++shown) {
      const Described &d = exchange.news[shown];
      out.line(d.text);
      if (shown < before_request) continue;
      if (d.question) session = "waiting for an answer";
      if (d.end) session = "released";
    }
    if (session != "no answer yet") break;
    if (exchange.changed.wait_until(lock, deadline) == std::cv_status::timeout &&
        shown == exchange.news.size())
      break;
  }
  out.field("session", session);
  return 0;
}

// The text argument, and an optional "--wait SECONDS".
bool text_and_wait(const ctl::Args &args, std::string &text, int &seconds) {
  seconds = 10;
  for (size_t i = 0; i < args.size(); ++i) {
    long long value = 0;
    if (args[i] == "--wait" && i + 1 < args.size() && ctl::parse_number(args[i + 1], value) && value >= 0) {
      seconds = static_cast<int>(value);
      ++i;
    } else if (text.empty()) {
      text = args[i];
    } else {
      return false;
    }
  }
  return !text.empty();
}

int ussd_send(const ctl::Args &args, ctl::Output &out) {
  std::string code;
  int seconds = 10;
  if (!text_and_wait(args, code, seconds)) return ctl::fail(out, "usage: ussd send CODE [--wait SECONDS]", 2);
  start_family();
  size_t before = news_so_far();
  int rc = vorn_voice_pal_originate_ussd_async(code.c_str(), static_cast<uint32_t>(code.size()), 1);
  if (rc != 0) return ctl::fail(out, "cannot send " + code, rc);
  return await_network(out, seconds, before);
}

int ussd_answer(const ctl::Args &args, ctl::Output &out) {
  std::string text;
  int seconds = 10;
  if (!text_and_wait(args, text, seconds)) return ctl::fail(out, "usage: ussd answer TEXT [--wait SECONDS]", 2);
  start_family();
  size_t before = news_so_far();
  int rc = vorn_voice_pal_answer_ussd(text.c_str(), static_cast<uint32_t>(text.size()));
  if (rc != 0) return ctl::fail(out, "cannot answer: no question of the network is open", rc);
  return await_network(out, seconds, before);
}

int ussd_cancel(const ctl::Args &, ctl::Output &out) {
  start_family();
  size_t before = news_so_far();
  int rc = vorn_voice_pal_cancel_ussd();
  if (rc != 0) return ctl::fail(out, "cannot cancel: no session is open", rc);
  return await_network(out, 10, before);
}

// ---- IMS ------------------------------------------------------------------------------

int ims_status(const ctl::Args &, ctl::Output &out) {
  start_family();
  char text[1024] = {};
  uint32_t len = 0;
  bool switched_off = vorn_m2m_pal_read_nv_by_path("/nv/item_files/ims/IMS_enable", text, &len, 1) == 0 &&
                      len == 2 && std::string(text, 2) == "00";
  out.field("ims", switched_off ? "disabled in NV" : "enabled");
  uint32_t volte = 0;
  int rc = vorn_voice_pal_get_ims_state(&volte);
  out.field("volte", rc == 0 ? (volte != 0 ? "on" : "off") : "(failed: " + std::to_string(rc) + ")");
  uint32_t registered = 0, status = 0;
  rc = vorn_voice_pal_get_imsa_state(&registered, &status);
  if (rc == 0) {
    out.field("registered", registered != 0);
    out.field("registration_status", static_cast<unsigned>(status));
  } else {
    out.field("registered", "(no IMSA client)");
  }
  return 0;
}

int ims_set(ctl::Output &out, uint32_t enable) {
  start_family();
  int rc = vorn_voice_pal_set_ims_state(enable);
  if (rc != 0) return ctl::fail(out, "cannot switch VoLTE", rc);
  return ims_status({}, out);
}

int ims_enable(const ctl::Args &, ctl::Output &out) { return ims_set(out, 1); }
int ims_disable(const ctl::Args &, ctl::Output &out) { return ims_set(out, 0); }

// ---- events of `watch` -----------------------------------------------------------------

ctl::Emit voice_emit;

void on_voice_event(int id, void *data, int size, void *) {
  std::optional<Described> d = describe(id, data, size);
  if (!d) return;
  std::string kind = id == VORN_VOICE_EVENT_USSD ? (d->question ? "ussd question: " : "ussd: ")
                     : id == VORN_VOICE_EVENT_USSD_NO_WAIT ? "ussd outcome: "
                                                           : "ussd ";
  voice_emit("voice", kind + d->text);
}

void start_watch(const ctl::Emit &emit) {
  voice_emit = emit;
  vorn_voice_pal_event_register(on_voice_event, nullptr);
  vorn_voice_pal_init();
}

ctl::Registrar reg({
    {"ussd send", "CODE [--wait SECONDS]", "send a USSD code and show the network's reply", ussd_send},
    {"ussd answer", "TEXT [--wait SECONDS]", "answer the network's USSD question", ussd_answer},
    {"ussd cancel", "", "end the USSD session", ussd_cancel},
    {"ims status", "", "IMS switch, VoLTE and registration", ims_status},
    {"ims enable", "", "switch VoLTE on (and IMS in NV)", ims_enable},
    {"ims disable", "", "switch VoLTE off (IMS stays on in NV)", ims_disable},
});

ctl::WatchRegistrar watch_source({"voice", start_watch});

}  // namespace
