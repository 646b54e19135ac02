// The simulated modem's cards: insert, remove, break, ask for the PIN,
// dual SIM. Built with VORNPAL_CTL_HOST_MODEM only.
#include <string>

#include <vornsim/uim.h>

#include "ctl.h"

namespace {

bool slot_arg(const ctl::Args &args, int &slot) {
  long long value = 0;
  if (args.empty() || !ctl::parse_number(args[0], value) || value < 0 || value > 1) return false;
  slot = static_cast<int>(value);
  return true;
}

int card_change(const ctl::Args &args, ctl::Output &out, const char *what, void (*change)(int)) {
  int slot = 0;
  if (!slot_arg(args, slot)) return ctl::fail(out, std::string("usage: modem sim ") + what + " 0|1", 2);
  change(slot);
  out.field("slot", slot);
  out.field("card", what);
  return 0;
}

int remove(const ctl::Args &args, ctl::Output &out) {
  return card_change(args, out, "removed", vornsim::uim::remove_card);
}
int insert(const ctl::Args &args, ctl::Output &out) {
  return card_change(args, out, "inserted", vornsim::uim::insert_card);
}
int error(const ctl::Args &args, ctl::Output &out) {
  return card_change(args, out, "error", [](int slot) { vornsim::uim::card_error(slot); });
}

int pin_required(const ctl::Args &args, ctl::Output &out) {
  int slot = 0;
  if (!slot_arg(args, slot) || args.size() != 2 || (args[1] != "on" && args[1] != "off"))
    return ctl::fail(out, "usage: modem sim pin-required 0|1 on|off", 2);
  vornsim::uim::set_pin_required(slot, args[1] == "on");
  out.field("slot", slot);
  out.field("pin_required", args[1] == "on");
  return 0;
}

int dual(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 1 || (args[0] != "on" && args[0] != "off")) return ctl::fail(out, "usage: modem sim dual on|off", 2);
  vornsim::uim::set_dual_sim(args[0] == "on");
  out.field("dual_sim", args[0] == "on");
  return 0;
}

int cards(const ctl::Args &, ctl::Output &out) {
  out.field("active_slot", vornsim::uim::active_slot());
  for (int slot = 0; slot < 2; ++slot) {
    vornsim::uim::Pin pin = vornsim::uim::pin(slot);
    out.line("slot " + std::to_string(slot) + ": PIN " + (pin.enabled ? "on" : "off") + ", " +
             std::to_string(pin.pin_tries) + " PIN and " + std::to_string(pin.puk_tries) + " PUK attempts left");
  }
  for (const auto &profile : vornsim::uim::profiles())
    out.line("profile " + std::to_string(profile.id) + " " + profile.iccid + (profile.enabled ? " enabled" : ""));
  for (const auto &[id, aid] : vornsim::uim::channels()) out.line("channel " + std::to_string(id) + " " + aid);
  return 0;
}

ctl::ModemRegistrar reg({
    {"modem sim", "", "the simulated modem's cards, profiles and channels", cards, "modem sim"},
    {"modem sim remove", "SLOT", "take the card out of a slot (0 USIM, 1 eUICC)", remove,
     "modem sim remove 0"},
    {"modem sim insert", "SLOT", "put the card back", insert, "modem sim insert 0"},
    {"modem sim error", "SLOT", "the card stops answering", error, "modem sim error 0"},
    {"modem sim pin-required", "SLOT on|off", "the card asks for its PIN (counters full)", pin_required,
     "modem sim pin-required 0 on"},
    {"modem sim dual", "on|off", "both slots in use at once", dual, "modem sim dual on"},
});

}  // namespace
