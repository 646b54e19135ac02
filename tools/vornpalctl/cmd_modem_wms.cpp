// The simulated network's side of SMS: an MT message from FROM to the
// device, in one part or several, received by this run as the daemon would
// receive it, or left waiting at the SMS centre for the next run that
// starts the family (`watch`, for one). Built with VORNPAL_CTL_HOST_MODEM
// only.
#include <mutex>
#include <string>
#include <vector>

#include <vornpal/sms.h>
#include <vornsim/wms.h>

#include "ctl.h"
#include "sms_receiver.h"
#include "sms_text.h"

namespace {

constexpr int kDeliveryWaitMs = 5000;

int sms_deliver(const ctl::Args &args, ctl::Output &out) {
  ctl::sms::EncodeOptions o;
  o.deliver = true;
  bool reverse = false, queue = false;
  std::vector<std::string> positional;
  for (size_t i = 0; i < args.size(); ++i) {
    long long n = 0;
    if (args[i] == "--ucs2") {
      o.alphabet = ctl::sms::Alphabet::kUcs2;
    } else if (args[i] == "--reverse") {
      reverse = true;
    } else if (args[i] == "--queue") {
      queue = true;
    } else if (args[i] == "--class" && i + 1 < args.size() && ctl::parse_number(args[i + 1], n) && n >= 0 && n <= 3) {
      o.message_class = static_cast<int>(n);
      ++i;
    } else if (args[i].rfind("--", 0) == 0) {
      return ctl::fail(out, "bad option: " + args[i], 2);
    } else {
      positional.push_back(args[i]);
    }
  }
  if (positional.size() != 2) return ctl::fail(out, "give FROM and TEXT", 2);
  o.number = positional[0];
  o.text = positional[1];
  std::vector<ctl::sms::Bytes> pdus;
  std::string error;
  if (!ctl::sms::encode_parts(o, pdus, error)) return ctl::fail(out, error, 2);

  if (queue) {
    for (const ctl::sms::Bytes &pdu : pdus) vornsim::wms::deliver(ctl::sms::Bytes(pdu.begin() + 1, pdu.end()));
    out.field("waiting", static_cast<int>(vornsim::wms::waiting()));
    return 0;
  }
  std::vector<std::string> received;
  std::mutex received_mutex;
  ctl::sms::Receiver receiver([&](const std::string &line) {
    std::lock_guard<std::mutex> lock(received_mutex);
    received.push_back(line);
  });
  if (vorn_sms_pal_ap_init() != 0 || vorn_sms_pal_init() != 0) return ctl::fail(out, "the SMS service does not answer", 1);
  vornsim::wms::hold(true);
  for (const ctl::sms::Bytes &pdu : pdus) vornsim::wms::deliver(ctl::sms::Bytes(pdu.begin() + 1, pdu.end()));
  std::vector<size_t> order;
  for (size_t i = 0; i < pdus.size(); ++i) order.push_back(reverse ? pdus.size() - 1 - i : i);
  vornsim::wms::release(order);
  receiver.wait_for(pdus.size(), kDeliveryWaitMs);
  std::lock_guard<std::mutex> lock(received_mutex);
  for (const std::string &line : received) out.line(line);
  return 0;
}

ctl::Registrar reg({
    {"sms deliver", "FROM TEXT [--ucs2] [--class N] [--reverse] [--queue]",
     "the simulated network sends an MT message (parts last first with --reverse; left at the "
     "SMS centre with --queue)",
     sms_deliver,
     "sms deliver +4915112345678 'from the network' --reverse\nsms deliver +4915112345678 'later' --queue"},
});

}  // namespace
