// The UIM service of the simulated modem: card and slot reports, PIN and
// PUK with their counters, card power, the slot switch, and the control
// API that inserts, removes and breaks cards. Files, channels and the
// eUICC's profiles are in uim_files.cpp, uim_channels.cpp and uim_esim.cpp.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include <vornsim/sim.h>
#include <vornsim/uim.h>

#include "uim_card.h"
#include "usim/messages.h"

namespace vornsim::uim {
namespace {

namespace usim = vorn::usim;

constexpr char kUsimAid[] = "\xA0\x00\x00\x00\x87\x10\x02\xFF\x49\xFF\x05\x89";
constexpr size_t kUsimAidLen = 12;

State factory_state() {
  State s;
  s.cards[kUsimSlot] = usim_card();
  s.cards[kEuiccSlot] = euicc_card();
  factory_profiles(s);
  return s;
}

void fill_app(const State &s, int slot, uim_card_info_type_v01 &out) {
  const Card &card = s.cards[slot];
  const uint32_t type = app_type(s, slot);
  if (type == UIM_APP_TYPE_UNKNOWN_V01) return;
  out.app_info_len = 1;
  uim_app_info_type_v01 &app = out.app_info[0];
  app.app_type = type;
  app.app_state = app_state(card);
  if (type == UIM_APP_TYPE_USIM_V01) {
    app.aid_value_len = kUsimAidLen;
    std::memcpy(app.aid_value, kUsimAid, kUsimAidLen);
  }
  app.pin1_state = pin1_state(card);
  app.pin1_retries = static_cast<uint8_t>(card.pin_tries);
  app.puk1_retries = static_cast<uint8_t>(card.puk_tries);
  app.pin2_state = UIM_PIN_STATE_ENABLED_NOT_VERIFIED_V01;
  app.pin2_retries = static_cast<uint8_t>(card.pin2_tries);
  app.puk2_retries = static_cast<uint8_t>(card.puk2_tries);
}

void fill_card(const State &s, int slot, uim_card_info_type_v01 &out) {
  const Card &card = s.cards[slot];
  if (!card.present) {
    out.card_state = UIM_CARD_STATE_ABSENT_V01;
    return;
  }
  if (!card.powered || card.error_code != 0) {
    out.card_state = UIM_CARD_STATE_ERROR_V01;
    out.error_code = card.powered ? card.error_code : kPowerDownCause;
    return;
  }
  out.card_state = UIM_CARD_STATE_PRESENT_V01;
  fill_app(s, slot, out);
}

// One card a logical slot: the active slot's, or both in dual SIM.
void card_status(const State &s, uim_card_status_type_v01 &out) {
  out.index_gw_pri = 0;
  out.index_1x_pri = 0xFFFF;
  out.index_gw_sec = s.dual ? 0x0100 : 0xFFFF;
  out.index_1x_sec = 0xFFFF;
  if (s.dual) {
    out.card_info_len = 2;
    fill_card(s, 0, out.card_info[0]);
    fill_card(s, 1, out.card_info[1]);
  } else {
    out.card_info_len = 1;
    fill_card(s, static_cast<int>(s.active), out.card_info[0]);
  }
}

template <class Report>
void slot_status(const State &s, Report &out) {
  out.slot_status_valid = 1;
  out.slot_status_len = 2;
  out.slot_info_valid = 1;
  out.slot_info_len = 2;
  for (int slot = 0; slot < 2; ++slot) {
    const Card &card = s.cards[slot];
    uim_physical_slot_status_type_v01 &entry = out.slot_status[slot];
    const bool active = s.dual || static_cast<int>(s.active) == slot;
    entry.physical_card_status = card.present ? UIM_PHYSICAL_CARD_STATE_PRESENT_V01 : UIM_PHYSICAL_CARD_STATE_ABSENT_V01;
    entry.physical_slot_state = active ? UIM_PHYSICAL_SLOT_STATE_ACTIVE_V01 : UIM_PHYSICAL_SLOT_STATE_INACTIVE_V01;
    entry.logical_slot = active ? (s.dual ? static_cast<uint32_t>(slot) + 1 : 1) : 0;
    if (card.present) {
      Bytes iccid = iccid_of(s, slot);
      entry.iccid_len = static_cast<uint32_t>(std::min(iccid.size(), sizeof entry.iccid));
      if (entry.iccid_len > 0) std::memcpy(entry.iccid, iccid.data(), entry.iccid_len);
    }
    out.slot_info[slot].is_euicc = slot == kEuiccSlot ? 1 : 0;
    out.slot_info[slot].num_app = app_type(s, slot) == UIM_APP_TYPE_UNKNOWN_V01 ? 0 : 1;
  }
}

// A card that goes or restarts takes its channels with it.
void close_channels(State &s) {
  s.channel_aid.clear();
  s.channel_pending.clear();
}

// ---- PIN -----------------------------------------------------------------------

std::string value_of(const char *value, uint32_t len) {
  return std::string(value, strnlen(value, std::min<size_t>(len, QMI_UIM_PIN_MAX_V01)));
}

bool good_pin_form(const std::string &pin) {
  return pin.size() >= 4 && pin.size() <= 8 &&
         std::all_of(pin.begin(), pin.end(), [](char c) { return c >= '0' && c <= '9'; });
}

void retries(const Card &card, uim_pin_resp_msg_v01 &resp) {
  resp.retries_left_valid = 1;
  resp.retries_left.verify_left = static_cast<uint8_t>(card.pin_tries);
  resp.retries_left.unblock_left = static_cast<uint8_t>(card.puk_tries);
}

// A card that can take a PIN command, or the refusal.
Card *pin_card(State &s, uint32_t session_type, uim_pin_resp_msg_v01 &resp) {
  Card *card = session_card(s, session_type);
  if (card == nullptr || !answering(*card) || app_type(s, slot_of(s, *card)) == UIM_APP_TYPE_UNKNOWN_V01) {
    refuse_with(resp, kErrDeviceNotReady);
    return nullptr;
  }
  if (card->puk_tries == 0) {
    refuse_with(resp, kErrPinPermBlocked);
    return nullptr;
  }
  return card;
}

// A wrong PIN counts down; at 0 the PUK is needed.
void wrong_pin(Card &card, uim_pin_resp_msg_v01 &resp) {
  if (card.pin_tries > 0) --card.pin_tries;
  if (card.pin_tries == 0) card.pin_verified = 0;
  refuse_with(resp, kErrIncorrectPin);
}

bool pin_matches(Card &card, const std::string &pin, uim_pin_resp_msg_v01 &resp) {
  if (card.pin_tries == 0) {
    refuse_with(resp, kErrPinBlocked);
    return false;
  }
  if (pin != card.pin) {
    wrong_pin(card, resp);
    return false;
  }
  card.pin_tries = kPinTries;
  return true;
}

void verify(State &s, const usim::VerifyPin::Req &req, usim::VerifyPin::Resp &resp) {
  Card *card = pin_card(s, req.session_information.session_type, resp);
  if (card == nullptr) return;
  if (pin_matches(*card, value_of(req.verify_pin.pin_value, req.verify_pin.pin_value_len), resp))
    card->pin_verified = 1;
  retries(*card, resp);
  report(s, false);
}

void unblock(State &s, const usim::UnblockPin::Req &req, usim::UnblockPin::Resp &resp) {
  Card *card = pin_card(s, req.session_information.session_type, resp);
  if (card == nullptr) return;
  const std::string new_pin = value_of(req.unblock_pin.new_pin_value, req.unblock_pin.new_pin_value_len);
  if (!good_pin_form(new_pin)) return refuse_with(resp, kErrInvalidArg);
  if (value_of(req.unblock_pin.puk_value, req.unblock_pin.puk_value_len) != card->puk) {
    --card->puk_tries;
    refuse_with(resp, kErrIncorrectPin);
  } else {
    card->pin = new_pin;
    card->pin_tries = kPinTries;
    card->puk_tries = kPukTries;
    card->pin_verified = 1;
  }
  retries(*card, resp);
  report(s, false);
}

void change(State &s, const usim::ChangePin::Req &req, usim::ChangePin::Resp &resp) {
  Card *card = pin_card(s, req.session_information.session_type, resp);
  if (card == nullptr) return;
  if (!card->pin_enabled) return refuse_with(resp, kErrNoEffect);
  const std::string new_pin = value_of(req.change_pin.new_pin_value, req.change_pin.new_pin_value_len);
  if (req.change_pin.new_pin_value_len > QMI_UIM_PIN_MAX_V01 || !good_pin_form(new_pin))
    return refuse_with(resp, kErrInvalidArg);
  if (pin_matches(*card, value_of(req.change_pin.old_pin_value, req.change_pin.old_pin_value_len), resp)) {
    card->pin = new_pin;
    card->pin_verified = 1;
  }
  retries(*card, resp);
  report(s, false);
}

void protect(State &s, const usim::SetPinProtection::Req &req, usim::SetPinProtection::Resp &resp) {
  Card *card = pin_card(s, req.session_information.session_type, resp);
  if (card == nullptr) return;
  const auto &op = req.set_pin_protection;
  if (op.pin_value_len > QMI_UIM_PIN_MAX_V01) return refuse_with(resp, kErrInvalidArg);
  if (pin_matches(*card, value_of(op.pin_value, op.pin_value_len), resp)) {
    if ((op.pin_operation != 0) == (card->pin_enabled != 0)) {
      refuse_with(resp, kErrNoEffect);
    } else {
      card->pin_enabled = op.pin_operation != 0;
      card->pin_verified = 1;
    }
  }
  retries(*card, resp);
  report(s, false);
}

// ---- power and slots ----------------------------------------------------------------

template <class Req>
Card *powered_slot(State &s, const Req &req, uim_result_resp_msg_v01 &resp) {
  if (req.slot < UIM_SLOT_1_V01 || req.slot > UIM_SLOT_2_V01) {
    refuse_with(resp, kErrInvalidArg);
    return nullptr;
  }
  Card &card = s.cards[req.slot - 1];
  if (!card.present) {
    refuse_with(resp, kErrDeviceNotReady);
    return nullptr;
  }
  return &card;
}

void power(State &s, Card *card, bool on, uim_result_resp_msg_v01 &resp) {
  if (card == nullptr) return;
  if ((card->powered != 0) == on) return refuse_with(resp, kErrNoEffect);
  card->powered = on;
  // A card that comes up asks for its PIN again.
  card->pin_verified = 0;
  close_channels(s);
  report(s, true);
}

void switch_slot(State &s, const usim::SwitchSlot::Req &req, usim::SwitchSlot::Resp &resp) {
  if (req.logical_slot != UIM_SLOT_1_V01 || req.physical_slot < UIM_SLOT_1_V01 ||
      req.physical_slot > UIM_SLOT_2_V01)
    return refuse_with(resp, kErrInvalidArg);
  const uint32_t target = req.physical_slot - 1;
  if (target == s.active) return refuse_with(resp, kErrNoEffect);
  s.active = target;
  close_channels(s);
  report(s, true);
}

void install(Module &m) {
  m.serve<usim::EventReg>([](State &s, const auto &req, auto &resp) {
    s.event_mask = req.event_mask;
    resp.event_mask_valid = 1;
    resp.event_mask = req.event_mask;
  });
  m.serve<usim::GetCardStatus>([](State &s, const auto &, auto &resp) {
    resp.card_status_valid = 1;
    card_status(s, resp.card_status);
  });
  m.serve<usim::GetSlotsStatus>([](State &s, const auto &, auto &resp) { slot_status(s, resp); });
  m.serve<usim::VerifyPin>(verify);
  m.serve<usim::UnblockPin>(unblock);
  m.serve<usim::ChangePin>(change);
  m.serve<usim::SetPinProtection>(protect);
  m.serve<usim::PowerDown>([](State &s, const auto &req, auto &resp) { power(s, powered_slot(s, req, resp), false, resp); });
  m.serve<usim::PowerUp>([](State &s, const auto &req, auto &resp) { power(s, powered_slot(s, req, resp), true, resp); });
  m.serve<usim::SwitchSlot>(switch_slot);
  install_files(m);
  install_channels(m);
  install_esim(m);
}

Module uim_module("uim", Svc::UIM, factory_state, install);

void change_card(int slot, void (*fn)(Card &)) {
  if (slot < 0 || slot > 1) return;
  uim_module.with_state([&](State &s) {
    fn(s.cards[slot]);
    close_channels(s);
    report(s, true);
  });
}

}  // namespace

Module &module() { return uim_module; }

Card *session_card(State &s, uint32_t session_type) {
  if (session_type == UIM_SESSION_TYPE_PRIMARY_GW_V01) return &s.cards[s.dual ? 0 : s.active];
  if (session_type == UIM_SESSION_TYPE_SECONDARY_GW_V01 && s.dual) return &s.cards[1];
  return nullptr;
}

int slot_of(const State &s, const Card &card) { return &card == &s.cards[0] ? 0 : 1; }

bool answering(const Card &card) { return card.present && card.powered && card.error_code == 0; }

uint32_t app_type(const State &s, int slot) {
  if (slot == kEuiccSlot) {
    bool any = std::any_of(s.profile_enabled.begin(), s.profile_enabled.end(),
                           [](const auto &entry) { return entry.second != 0; });
    if (!any) return UIM_APP_TYPE_UNKNOWN_V01;
  }
  return s.cards[slot].app_type;
}

uint32_t pin1_state(const Card &card) {
  if (card.puk_tries == 0) return UIM_PIN_STATE_PERMANENTLY_BLOCKED_V01;
  if (card.pin_tries == 0) return UIM_PIN_STATE_BLOCKED_V01;
  if (!card.pin_enabled) return UIM_PIN_STATE_DISABLED_V01;
  return card.pin_verified ? UIM_PIN_STATE_ENABLED_VERIFIED_V01 : UIM_PIN_STATE_ENABLED_NOT_VERIFIED_V01;
}

uint32_t app_state(const Card &card) {
  switch (pin1_state(card)) {
    case UIM_PIN_STATE_PERMANENTLY_BLOCKED_V01: return UIM_APP_STATE_PIN1_PERM_BLOCKED_V01;
    case UIM_PIN_STATE_BLOCKED_V01: return UIM_APP_STATE_PUK1_OR_PUK_REQ_V01;
    case UIM_PIN_STATE_ENABLED_NOT_VERIFIED_V01: return UIM_APP_STATE_PIN1_OR_UPIN_REQ_V01;
    default: return UIM_APP_STATE_READY_V01;
  }
}

Bytes iccid_of(const State &s, int slot) {
  if (slot == kEuiccSlot) {
    for (const auto &[id, enabled] : s.profile_enabled)
      if (enabled) return swapped_bcd(s.profile_iccid.at(id));
  }
  auto file = s.cards[slot].files.find(0x2FE2);
  return file == s.cards[slot].files.end() ? Bytes{} : file->second;
}

Bytes swapped_bcd(const std::string &digits) {
  Bytes out;
  auto nibble = [](char c) -> uint8_t { return c >= '0' && c <= '9' ? static_cast<uint8_t>(c - '0') : 0x0F; };
  for (size_t i = 0; i < digits.size(); i += 2) {
    uint8_t low = nibble(digits[i]);
    uint8_t high = i + 1 < digits.size() ? nibble(digits[i + 1]) : 0x0F;
    out.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  return out;
}

void report(const State &s, bool slots) {
  if (s.event_mask & QMI_UIM_EVENT_CARD_STATUS_BIT_V01) {
    auto ind = std::make_unique<uim_status_change_ind_msg_v01>();
    ind->card_status_valid = 1;
    card_status(s, ind->card_status);
    indicate(Svc::UIM, QMI_UIM_STATUS_CHANGE_IND_V01, *ind);
  }
  if (slots && (s.event_mask & QMI_UIM_EVENT_PHYSICAL_SLOT_STATUS_BIT_V01)) {
    auto ind = std::make_unique<uim_slot_status_change_ind_msg_v01>();
    slot_status(s, *ind);
    indicate(Svc::UIM, QMI_UIM_SLOT_STATUS_CHANGE_IND_V01, *ind);
  }
}

// ---- control API ------------------------------------------------------------------------

void remove_card(int slot) {
  change_card(slot, [](Card &card) {
    card.present = 0;
    card.pin_verified = 0;
  });
}

void insert_card(int slot) {
  change_card(slot, [](Card &card) {
    card.present = 1;
    card.error_code = 0;
    card.powered = 1;
    card.pin_verified = 0;
  });
}

void card_error(int slot, uint32_t error_code) {
  if (slot < 0 || slot > 1) return;
  uim_module.with_state([&](State &s) {
    s.cards[slot].error_code = error_code == 0 ? 1 : error_code;
    close_channels(s);
    report(s, false);
  });
}

int active_slot() {
  return uim_module.with_state([](State &s) { return static_cast<int>(s.active); });
}

void set_dual_sim(bool on) {
  uim_module.with_state([&](State &s) {
    s.dual = on;
    report(s, true);
  });
}

void set_app_type(int slot, uint32_t type) {
  if (slot < 0 || slot > 1) return;
  uim_module.with_state([&](State &s) { s.cards[slot].app_type = type; });
}

void set_file(int slot, uint16_t file_id, const std::vector<uint8_t> &content) {
  if (slot < 0 || slot > 1) return;
  uim_module.with_state([&](State &s) { s.cards[slot].files[file_id] = content; });
}

void set_records(int slot, uint16_t file_id, const std::vector<std::vector<uint8_t>> &records) {
  if (slot < 0 || slot > 1) return;
  uim_module.with_state([&](State &s) {
    auto &all = s.cards[slot].records;
    for (auto it = all.begin(); it != all.end();) it = (it->first >> 8) == file_id ? all.erase(it) : std::next(it);
    for (size_t i = 0; i < records.size(); ++i) all[static_cast<uint32_t>(file_id) << 8 | (i + 1)] = records[i];
  });
}

void remove_file(int slot, uint16_t file_id) {
  if (slot < 0 || slot > 1) return;
  set_records(slot, file_id, {});
  uim_module.with_state([&](State &s) { s.cards[slot].files.erase(file_id); });
}

std::vector<uint8_t> file(int slot, uint16_t file_id) {
  if (slot < 0 || slot > 1) return {};
  return uim_module.with_state([&](State &s) {
    auto it = s.cards[slot].files.find(file_id);
    return it == s.cards[slot].files.end() ? Bytes{} : it->second;
  });
}

Pin pin(int slot) {
  return uim_module.with_state([&](State &s) {
    const Card &card = s.cards[slot == 1 ? 1 : 0];
    return Pin{card.pin_enabled != 0, card.pin_verified != 0, static_cast<int>(card.pin_tries),
               static_cast<int>(card.puk_tries), card.pin, card.puk};
  });
}

void set_pin_required(int slot, bool required) {
  if (slot < 0 || slot > 1) return;
  uim_module.with_state([&](State &s) {
    Card &card = s.cards[slot];
    card.pin_enabled = required;
    card.pin_verified = 0;
    card.pin_tries = kPinTries;
    card.puk_tries = kPukTries;
    report(s, false);
  });
}

}  // namespace vornsim::uim
