// The UIM service of the simulated modem, shared by its files: the state of
// the two physical slots (a USIM card and an eUICC), the module, and the
// reports every change of a card sends.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <vornpal/platform/user_identity_module_v01.h>
#include <vornsim/uim.h>

#include "service_module.h"

namespace vornsim::uim {

// Refusals of the service.
constexpr auto kErrInternal = static_cast<qmi_error_type_v01>(0x0003);
constexpr auto kErrIncorrectPin = static_cast<qmi_error_type_v01>(0x000C);
constexpr auto kErrInvalidArg = static_cast<qmi_error_type_v01>(0x0011);
constexpr auto kErrDeviceInUse = static_cast<qmi_error_type_v01>(0x0017);
constexpr auto kErrNoEffect = static_cast<qmi_error_type_v01>(0x001A);
constexpr auto kErrPinBlocked = static_cast<qmi_error_type_v01>(0x0023);
constexpr auto kErrPinPermBlocked = static_cast<qmi_error_type_v01>(0x0024);
constexpr auto kErrAccessDenied = static_cast<qmi_error_type_v01>(0x0029);
constexpr auto kErrDeviceNotReady = static_cast<qmi_error_type_v01>(0x0034);
constexpr auto kErrInsufficientResources = static_cast<qmi_error_type_v01>(0x0044);
constexpr auto kErrFileNotFound = static_cast<qmi_error_type_v01>(0x0052);
constexpr auto kErrNotSupported = static_cast<qmi_error_type_v01>(0x005E);

constexpr uint32_t kPowerDownCause = 1;

struct Card {
  uint32_t present = 1;
  uint32_t error_code = 0;  // non-zero: the card does not answer
  uint32_t powered = 1;
  uint32_t app_type = UIM_APP_TYPE_USIM_V01;
  uint32_t pin_enabled = 0;
  uint32_t pin_verified = 0;
  uint32_t pin_tries = kPinTries;
  uint32_t puk_tries = kPukTries;
  uint32_t pin2_tries = 3;
  uint32_t puk2_tries = 10;
  std::string pin = kPin;
  std::string puk = kPuk;
  std::map<uint32_t, Bytes> files;    // transparent files by id
  std::map<uint32_t, Bytes> records;  // (file id << 8) | record number
};

struct State {
  Card cards[2];
  uint32_t active = kUsimSlot;  // physical slot of logical slot 1
  uint32_t dual = 0;
  uint32_t event_mask = 0;
  // The eUICC's profiles by id.
  std::map<uint32_t, std::string> profile_iccid;  // digits
  std::map<uint32_t, std::string> profile_nickname;
  std::map<uint32_t, uint32_t> profile_enabled;
  Bytes eid;
  std::string smdp_address;
  uint32_t next_token = 1;
  // Open logical channels: the AID each selected, and the answer its
  // applet keeps for GET RESPONSE (of this process only).
  std::map<uint32_t, Bytes> channel_aid;
  std::map<uint32_t, Bytes> channel_pending;
  size_t piece_size = kApduFieldMax;
  unsigned piece_delay_ms = 0;
  bool lose_last_piece = false;

  template <class Visit>
  void values(Visit &&visit) {
    for (int i = 0; i < 2; ++i) card_values(visit, "card" + std::to_string(i) + "_", cards[i]);
    visit("active", active);
    visit("dual", dual);
    visit("event_mask", event_mask);
    visit("profile_iccid", profile_iccid);
    visit("profile_nickname", profile_nickname);
    visit("profile_enabled", profile_enabled);
    visit("eid", eid);
    visit("smdp_address", smdp_address);
    visit("next_token", next_token);
    visit("channel_aid", channel_aid);
  }

 private:
  template <class Visit>
  static void card_values(Visit &visit, const std::string &prefix, Card &card) {
    auto name = [&prefix](const char *field) { return prefix + field; };
    visit(name("present").c_str(), card.present);
    visit(name("error_code").c_str(), card.error_code);
    visit(name("powered").c_str(), card.powered);
    visit(name("app_type").c_str(), card.app_type);
    visit(name("pin_enabled").c_str(), card.pin_enabled);
    visit(name("pin_verified").c_str(), card.pin_verified);
    visit(name("pin_tries").c_str(), card.pin_tries);
    visit(name("puk_tries").c_str(), card.puk_tries);
    visit(name("pin").c_str(), card.pin);
    visit(name("puk").c_str(), card.puk);
    visit(name("files").c_str(), card.files);
    visit(name("records").c_str(), card.records);
  }
};

using Module = ServiceModule<State>;
Module &module();

// The factory cards, with the files of the test card and of the eUICC.
Card usim_card();
Card euicc_card();
void factory_profiles(State &s);

// The card a session of the primary (0) or secondary (2) provisioning
// application reaches, or null.
Card *session_card(State &s, uint32_t session_type);
// Physical slot of a card of the state.
int slot_of(const State &s, const Card &card);
// The card answers: present, powered, without error.
bool answering(const Card &card);
// Its application: none for an eUICC without an enabled profile.
uint32_t app_type(const State &s, int slot);
uint32_t pin1_state(const Card &card);
uint32_t app_state(const Card &card);
// EF ICCID of a slot: for the eUICC that of its enabled profile.
Bytes iccid_of(const State &s, int slot);
Bytes swapped_bcd(const std::string &digits);

// Reports the card (and the slots) to the clients that asked for them.
void report(const State &s, bool slots);

void install_files(Module &m);
void install_channels(Module &m);
void install_esim(Module &m);

}  // namespace vornsim::uim
