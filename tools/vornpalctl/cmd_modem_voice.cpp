// The simulated network's USSD side and IMS conditions, for a host build
// (VORNPAL_CTL_HOST_MODEM). What the network sends while no vornpalctl run
// listens reaches the next run that starts the voice family (`ussd answer`,
// `watch`).
#include <string>

#include <vornsim/ims.h>
#include <vornsim/voice.h>

#include "ctl.h"

namespace {

using vornsim::voice::Coding;

// TEXT [--ucs2]: GSM 7-bit unless asked otherwise.
bool text_and_coding(const ctl::Args &args, std::string &text, Coding &coding) {
  coding = Coding::Gsm7;
  for (const std::string &arg : args) {
    if (arg == "--ucs2") {
      coding = Coding::Ucs2;
    } else if (text.empty()) {
      text = arg;
    } else {
      return false;
    }
  }
  return !text.empty();
}

int network_sends(const ctl::Args &args, ctl::Output &out, bool question) {
  std::string text;
  Coding coding;
  if (!text_and_coding(args, text, coding)) return ctl::fail(out, "name the text (and --ucs2)", 2);
  bool sent = question ? vornsim::voice::network_request(text, coding)
                       : vornsim::voice::network_notify(text, coding);
  if (!sent) return ctl::fail(out, "a USSD session is open", 1);
  out.field(question ? "request" : "notification", text);
  return 0;
}

int ussd_notify(const ctl::Args &args, ctl::Output &out) { return network_sends(args, out, false); }
int ussd_request(const ctl::Args &args, ctl::Output &out) { return network_sends(args, out, true); }

int ussd_release(const ctl::Args &, ctl::Output &out) {
  if (!vornsim::voice::network_release()) return ctl::fail(out, "no USSD session is open", 1);
  out.field("released", true);
  return 0;
}

int ussd_timeout(const ctl::Args &args, ctl::Output &out) {
  long long ms = 0;
  if (args.empty() || !ctl::parse_number(args[0], ms) || ms <= 0 || ms > 86400000)
    return ctl::fail(out, "usage: modem ussd timeout MILLISECONDS", 2);
  vornsim::voice::set_session_timeout(static_cast<unsigned>(ms));
  out.field("session_timeout_ms", ms);
  return 0;
}

int ussd_session(const ctl::Args &, ctl::Output &out) {
  vornsim::voice::Session now = vornsim::voice::session();
  out.field("open", now.open);
  if (now.open) out.field("question", now.question);
  for (const std::string &text : now.received) out.line("received: " + text);
  return 0;
}

int ims_network(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 1 || (args[0] != "accept" && args[0] != "refuse"))
    return ctl::fail(out, "usage: modem ims network accept|refuse", 2);
  vornsim::ims::set_network_accepts(args[0] == "accept");
  vornsim::ims::Registration now = vornsim::ims::registration();
  out.field("registered", now.registered);
  return 0;
}

int ims_subscriptions(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 3) return ctl::fail(out, "usage: modem ims subscriptions PRIMARY SECONDARY TERTIARY (0 or 1)", 2);
  bool active[3];
  for (int i = 0; i < 3; ++i) {
    if (args[i] != "0" && args[i] != "1") return ctl::fail(out, "each is 0 or 1", 2);
    active[i] = args[i] == "1";
  }
  vornsim::ims::set_active_subscriptions(active[0], active[1], active[2]);
  out.field("primary", active[0]);
  out.field("secondary", active[1]);
  out.field("tertiary", active[2]);
  return 0;
}

ctl::ModemRegistrar reg({
    {"modem ussd notify", "TEXT [--ucs2]", "the network sends a USSD notification", ussd_notify,
     "modem ussd notify 'Bundle ends tomorrow'"},
    {"modem ussd request", "TEXT [--ucs2]", "the network asks a USSD question", ussd_request,
     "modem ussd request '1 Balance 2 Offers'"},
    {"modem ussd release", "", "the network ends the USSD session", ussd_release,
     "modem ussd release"},
    {"modem ussd timeout", "MILLISECONDS", "how long the network waits for an answer", ussd_timeout,
     "modem ussd timeout 30000"},
    {"modem ussd session", "", "the network's side of the USSD session", ussd_session,
     "modem ussd session"},
    {"modem ims network", "accept|refuse", "whether the network accepts IMS registration", ims_network,
     "modem ims network refuse"},
    {"modem ims subscriptions", "P S T", "subscriptions with IMS active (0 or 1 each)", ims_subscriptions,
     "modem ims subscriptions 1 0 0"},
});

}  // namespace
