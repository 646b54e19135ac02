// The USIM family: the card and its slots, its files, PIN and PUK, APDUs on
// logical channels, and the eUICC's profiles; USIM events in `watch`.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <vornpal/text_conversion.h>
#include <vornpal/usim.h>

#include "ctl.h"

namespace {

constexpr uint32_t kEuiccSlot = 2;

const char *card_state_name(int state) {
  switch (state) {
    case E_oem_USIM_APP_STATE_ABSENT: return "absent";
    case E_oem_USIM_APP_STATE_DETECTED: return "detected";
    case E_oem_USIM_APP_STATE_PIN: return "PIN required";
    case E_oem_USIM_APP_STATE_PUK: return "PUK required";
    case E_oem_USIM_APP_STATE_BLOCKED: return "permanently blocked";
    case E_oem_USIM_APP_STATE_READY: return "ready";
    default: return "unknown";
  }
}

const char *pin_state_name(int state) {
  static const char *const kNames[] = {"unknown", "enabled, not verified", "enabled, verified",
                                       "disabled", "blocked", "permanently blocked"};
  return state >= 0 && state <= 5 ? kNames[state] : "unknown";
}

template <size_t N>
std::string field(const char (&text)[N]) {
  return std::string(text, strnlen(text, N));
}

// The card's texts in its own alphabets: a UCS-2 name (0x80 form) or GSM
// default letters, one a byte.
std::string gsm_text(const char *bytes, size_t size) {
  const size_t len = strnlen(bytes, size);
  if (len == 0) return "";
  // The library keeps a UCS-2 name's mark and stops at its first zero byte.
  if (static_cast<uint8_t>(bytes[0]) >= 0x80) return "(UCS-2 name, mark " + ctl::hex(bytes, 1) + ")";
  char utf8[256] = {};
  vorn_util_convert_gsm8bit_alpha_string_to_utf8(reinterpret_cast<const uint8_t *>(bytes),
                                                 static_cast<int>(len), utf8, sizeof utf8);
  return utf8;
}

void print_pin(ctl::Output &out, const usim_pinlock_info &pin) {
  out.field("pin_state", pin_state_name(pin.pin_state));
  out.field("pin_attempts", pin.pin_remain_times);
  out.field("puk_attempts", pin.puk_remain_times);
}

int status(const ctl::Args &, ctl::Output &out) {
  vorn_usim_pal_init();
  usim_state_record state{};
  int rc = vorn_usim_pal_get_usim_state(&state);
  out.field("card_state", card_state_name(state.card_state));
  out.field("card_type", state.card_type == 1 ? "SIM" : state.card_type == 2 ? "USIM" : std::to_string(state.card_type));
  out.field("active_slot", state.slot_info.active_slot_idx);
  for (int i = 0; i < state.slot_info.slot_num && i < 2; ++i) {
    const usim_physical_slot &slot = state.slot_info.slots[i];
    const std::string name = "slot" + std::to_string(i);
    out.field(name + "_state", slot.physical_slot_state == 1 ? "active" : "inactive");
    out.field(name + "_card", slot.physical_card_status == 2 ? "present" : slot.physical_card_status == 1 ? "absent" : "unknown");
    out.field(name + "_iccid", field(slot.iccid));
  }
  print_pin(out, state.pinlock);
  int dual = 0;
  vorn_usim_pal_get_dualsim_en(&dual);
  out.field("dual_sim", dual);
  out.field("result", rc);
  return rc == 0 ? 0 : 1;
}

std::string hex_bytes(const uint8_t *bytes, size_t len) { return ctl::hex(bytes, len); }

int info(const ctl::Args &, ctl::Output &out) {
  vorn_usim_pal_init();
  usim_state_record state{};
  vorn_usim_pal_get_usim_state(&state);
  usim_info_record info{};
  vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_ALL, &info);
  out.field("iccid", field(info.iccid));
  out.field("imsi", field(info.imsi));
  out.field("plmn", field(info.plmn));
  char cnum[64] = {};
  oem_usim_pal_cnum_get(cnum);
  out.field("msisdn", field(cnum));
  out.field("spn", gsm_text(info.spn, sizeof info.spn));
  out.field("network_name", gsm_text(info.pnn, sizeof info.pnn));
  out.field("language", field(info.language));
  out.field("mnc_length", info.ad[3]);
  out.field("ust", hex_bytes(info.ust + 1, info.ust[0] < sizeof info.ust ? info.ust[0] : sizeof info.ust - 1));
  out.field("gid1", hex_bytes(reinterpret_cast<const uint8_t *>(info.gid1), strnlen(info.gid1, 8)));
  out.field("gid2", hex_bytes(reinterpret_cast<const uint8_t *>(info.gid2), strnlen(info.gid2, 8)));
  return 0;
}

// ---- PIN ------------------------------------------------------------------------

int pin_result(ctl::Output &out, int rc, const char *what) {
  usim_pinlock_info pin{};
  vorn_usim_pal_get_pinlock_info(&pin);
  out.field("result", rc);
  print_pin(out, pin);
  if (rc == VORN_INVALID_PARAM) out.field("error", std::string(what) + ": 4 to 8 digits (PUK: at most 8)");
  return rc == 0 ? 0 : 1;
}

int pin_verify(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 1) return ctl::fail(out, "usage: sim pin verify PIN", 2);
  vorn_usim_pal_init();
  return pin_result(out, vorn_usim_pal_unlock_pin(args[0].c_str()), "PIN");
}

int pin_change(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 2) return ctl::fail(out, "usage: sim pin change OLD NEW", 2);
  if (args[0].size() >= 16 || args[1].size() >= 16) return ctl::fail(out, "a PIN has at most 15 characters", 2);
  vorn_usim_pal_init();
  return pin_result(out, vorn_usim_pal_modify_pin_code(args[0].c_str(), args[1].c_str()), "PIN");
}

int pin_protection(const ctl::Args &args, ctl::Output &out, int operation) {
  if (args.size() != 1) return ctl::fail(out, "usage: sim pin enable|disable PIN", 2);
  // Longer values would end the process in the library.
  if (args[0].size() >= 16) return ctl::fail(out, "a PIN has at most 15 characters", 2);
  vorn_usim_pal_init();
  return pin_result(out, vorn_usim_pal_pinlock_change(operation, args[0].c_str()), "PIN");
}

int pin_enable(const ctl::Args &args, ctl::Output &out) { return pin_protection(args, out, 1); }
int pin_disable(const ctl::Args &args, ctl::Output &out) { return pin_protection(args, out, 0); }

int pin_unblock(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 2) return ctl::fail(out, "usage: sim pin unblock PUK NEWPIN", 2);
  vorn_usim_pal_init();
  return pin_result(out, vorn_usim_pal_unlock_puk(args[0].c_str(), args[1].c_str()), "PUK or PIN");
}

// ---- APDUs -------------------------------------------------------------------------

bool channel_arg(const std::string &text, uint32_t &channel) {
  long long value = 0;
  if (!ctl::parse_number(text, value) || value < 0 || value > 255) return false;
  channel = static_cast<uint32_t>(value);
  return true;
}

int apdu_open(const ctl::Args &args, ctl::Output &out) {
  std::string bytes;
  if (args.size() != 1 || !ctl::parse_hex(args[0], bytes)) return ctl::fail(out, "usage: sim apdu open AID (hexadecimal)", 2);
  vorn_usim_pal_init();
  uint32_t channel = 0;
  int rc = vorn_usim_pal_open_channel(args[0].c_str(), &channel);
  if (rc != 0) return ctl::fail(out, "no channel for " + args[0], rc);
  out.field("channel", channel);
  return 0;
}

int apdu_send(const ctl::Args &args, ctl::Output &out) {
  uint32_t channel = 0;
  std::string bytes;
  if (args.size() != 2 || !channel_arg(args[0], channel))
    return ctl::fail(out, "usage: sim apdu send CHANNEL HEX", 2);
  if (!ctl::parse_hex(args[1], bytes)) return ctl::fail(out, "not an even number of hexadecimal digits: " + args[1], 2);
  if (bytes.size() > 255 + 5) return ctl::fail(out, "a command APDU has at most 260 bytes", 2);
  vorn_usim_pal_init();
  // The whole response, however long (the library writes no terminator).
  std::vector<char> response(10241, '\0');
  int rc = vorn_usim_pal_send_apdu(static_cast<int>(channel), args[1].c_str(), static_cast<uint32_t>(args[1].size()),
                                   response.data(), static_cast<uint32_t>(response.size() - 1));
  if (rc != 0) return ctl::fail(out, "the card did not answer on channel " + args[0], rc);
  std::string text(response.data());
  out.field("response", text);
  out.field("sw", text.size() >= 4 ? text.substr(text.size() - 4) : text);
  return 0;
}

int apdu_close(const ctl::Args &args, ctl::Output &out) {
  uint32_t channel = 0;
  if (args.size() != 1 || !channel_arg(args[0], channel)) return ctl::fail(out, "usage: sim apdu close CHANNEL", 2);
  vorn_usim_pal_init();
  int rc = vorn_usim_pal_close_channel(channel);
  if (rc != 0) return ctl::fail(out, "cannot close channel " + args[0], rc);
  out.field("closed", channel);
  return 0;
}

// ---- slots -------------------------------------------------------------------------

int slot_get(const ctl::Args &, ctl::Output &out) {
  vorn_usim_pal_init();
  char line[65] = {};
  int rc = vorn_get_slot_status(line, 64);
  if (rc != 0) return ctl::fail(out, "cannot read the slots", rc);
  usim_state_record state{};
  vorn_usim_pal_get_usim_state(&state);
  out.field("active_slot", state.slot_info.active_slot_idx);
  std::string lines(line);
  for (size_t at = 0; at != std::string::npos;) {
    size_t end = lines.find("\r\n", at);
    out.line(lines.substr(at, end == std::string::npos ? end : end - at));
    at = end == std::string::npos ? end : end + 2;
  }
  return 0;
}

int slot_set(const ctl::Args &args, ctl::Output &out) {
  long long slot = 0;
  if (args.size() != 1 || !ctl::parse_number(args[0], slot) || slot < 0 || slot > 1)
    return ctl::fail(out, "usage: sim slot set 0|1", 2);
  vorn_usim_pal_init();
  int rc = vorn_usim_pal_switch_slot(static_cast<uint32_t>(slot));
  if (rc != 0) return ctl::fail(out, "cannot switch to slot " + args[0], rc);
  return slot_get({}, out);
}

// ---- eSIM --------------------------------------------------------------------------

// "--slot N" anywhere among the arguments; the rest stays in order.
uint32_t take_slot(ctl::Args &args) {
  uint32_t slot = kEuiccSlot;
  for (size_t i = 0; i + 1 < args.size(); ++i) {
    long long value = 0;
    if (args[i] == "--slot" && ctl::parse_number(args[i + 1], value) && value >= 0) {
      slot = static_cast<uint32_t>(value);
      args.erase(args.begin() + static_cast<long>(i), args.begin() + static_cast<long>(i) + 2);
      break;
    }
  }
  return slot;
}

bool profile_arg(const std::string &text, uint32_t &id) {
  long long value = 0;
  if (!ctl::parse_number(text, value) || value < 0 || value > 255) return false;
  id = static_cast<uint32_t>(value);
  return true;
}

std::string iccid_text(const uint8_t (&iccid)[10]) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (uint8_t byte : iccid) {
    text += kDigits[byte & 0x0F];
    text += kDigits[byte >> 4];
  }
  return text;
}

int esim_list(const ctl::Args &given, ctl::Output &out) {
  ctl::Args args = given;
  const uint32_t slot = take_slot(args);
  vorn_usim_pal_init();
  esim_profile_entry list[8] = {};
  int count = 0;
  int rc = vorn_esim_pal_get_profile_list(slot, 8, list, &count);
  if (rc != 0) return ctl::fail(out, "cannot list the profiles", rc);
  out.field("profiles", count);
  for (int i = 0; i < count; ++i) {
    esim_profile_info info{};
    int got = vorn_esim_pal_get_profile_info(slot, list[i].profile_id, &info);
    std::string line = std::to_string(list[i].profile_id) + " " + iccid_text(info.iccid) + " " +
                       (info.profile_state == 1 ? "enabled" : "disabled");
    if (got == 0) line += " \"" + field(info.nickname) + "\"";
    out.line(line);
  }
  return 0;
}

std::mutex download_mutex;
std::condition_variable download_changed;
std::vector<uint32_t> download_reports;

void on_download(int id, void *data, int size, void *) {
  if (id != E_oem_USIM_EVENT_ADD_PROFILE || data == nullptr || size != 4) return;
  std::lock_guard<std::mutex> lock(download_mutex);
  // Copied straight into its place: the armhf compiler takes a local word
  // pushed here for a dangling pointer.
  download_reports.emplace_back();
  std::memcpy(&download_reports.back(), data, sizeof(uint32_t));
  download_changed.notify_all();
}

// Waits for the download's end: a report of 1, or quiet for two seconds.
int esim_download(const ctl::Args &given, ctl::Output &out) {
  ctl::Args args = given;
  const uint32_t slot = take_slot(args);
  if (args.empty() || args.size() > 2) return ctl::fail(out, "usage: esim download CODE [CONFIRMATION]", 2);
  if (args.size() == 2 && args[1].size() > 255) return ctl::fail(out, "a confirmation code has at most 255 characters", 2);
  vorn_usim_pal_init();
  vorn_usim_pal_event_register(on_download, nullptr);
  int rc = vorn_esim_pal_add_profile(slot, args[0].c_str(), args.size() == 2 ? args[1].c_str() : nullptr);
  bool done = false;
  if (rc == 0) {
    std::unique_lock<std::mutex> lock(download_mutex);
    size_t seen = 0;
    while (!done && download_changed.wait_for(lock, std::chrono::seconds(2), [&] { return download_reports.size() > seen; })) {
      seen = download_reports.size();
      done = download_reports.back() == 1;
    }
    out.field("reports", static_cast<int>(seen));
  }
  vorn_usim_pal_event_unregister(on_download);
  out.field("result", rc);
  out.field("downloaded", done);
  return done ? 0 : 1;
}

int esim_profile_op(const ctl::Args &given, ctl::Output &out, const char *usage,
                    int (*op)(uint32_t, uint32_t)) {
  ctl::Args args = given;
  const uint32_t slot = take_slot(args);
  uint32_t id = 0;
  if (args.size() != 1 || !profile_arg(args[0], id)) return ctl::fail(out, usage, 2);
  vorn_usim_pal_init();
  int rc = op(slot, id);
  out.field("profile", id);
  out.field("result", rc);
  return rc == 0 ? 0 : 1;
}

int esim_enable(const ctl::Args &args, ctl::Output &out) {
  return esim_profile_op(args, out, "usage: esim enable ID", vorn_esim_pal_enable_profile);
}
int esim_disable(const ctl::Args &args, ctl::Output &out) {
  return esim_profile_op(args, out, "usage: esim disable ID", vorn_esim_pal_disable_profile);
}
int esim_delete(const ctl::Args &args, ctl::Output &out) {
  return esim_profile_op(args, out, "usage: esim delete ID", vorn_esim_pal_delete_profile);
}

int esim_nickname(const ctl::Args &given, ctl::Output &out) {
  ctl::Args args = given;
  const uint32_t slot = take_slot(args);
  uint32_t id = 0;
  if (args.size() != 2 || !profile_arg(args[0], id)) return ctl::fail(out, "usage: esim nickname ID NAME", 2);
  vorn_usim_pal_init();
  int rc = vorn_esim_pal_update_profile_nickname(slot, id, args[1].c_str());
  out.field("profile", id);
  out.field("result", rc);
  return rc == 0 ? 0 : 1;
}

int esim_eid(const ctl::Args &given, ctl::Output &out) {
  ctl::Args args = given;
  const uint32_t slot = take_slot(args);
  vorn_usim_pal_init();
  char eid[33] = {};
  int rc = vorn_esim_pal_get_eid(eid, 32, slot);
  if (rc != 0) return ctl::fail(out, "cannot read the EID", rc);
  out.field("eid", eid);
  return 0;
}

int esim_address(const ctl::Args &given, ctl::Output &out) {
  ctl::Args args = given;
  const uint32_t slot = take_slot(args);
  vorn_usim_pal_init();
  if (args.size() == 1) {
    int rc = vorn_esim_pal_set_euicc_default_server_address(slot, args[0].c_str());
    if (rc != 0) return ctl::fail(out, "cannot set the address", rc);
  }
  char address[257] = {};
  int rc = vorn_esim_pal_get_euicc_default_server_address(slot, address, 256);
  if (rc != 0) return ctl::fail(out, "cannot read the address", rc);
  out.field("default_server_address", address);
  return 0;
}

int esim_reset(const ctl::Args &given, ctl::Output &out) {
  ctl::Args args = given;
  const uint32_t slot = take_slot(args);
  vorn_usim_pal_init();
  int rc = vorn_esim_pal_euicc_memory_reset(slot);
  out.field("result", rc);
  return rc == 0 ? 0 : 1;
}

// ---- events of `watch` ---------------------------------------------------------------

ctl::Emit usim_emit;

void on_usim_event(int id, void *data, int size, void *) {
  std::string text = "event " + std::to_string(id);
  if (id == E_oem_USIM_EVENT_USIM_STATUS_CHANGE && data != nullptr && size == sizeof(usim_status_payload)) {
    usim_status_payload status{};
    std::memcpy(&status, data, sizeof status);
    text = "card status: application state " + std::to_string(status.usim_state) + ", card state " +
           std::to_string(status.card_state) + ", error " + std::to_string(status.error_code);
  } else if (id == E_oem_USIM_EVENT_SLOT_STATUS_CHANGE && data != nullptr && size == sizeof(usim_slot_record)) {
    usim_slot_record slots{};
    std::memcpy(&slots, data, sizeof slots);
    std::string urc = field(slots.slot_urc);
    for (size_t at = urc.find("\r\n"); at != std::string::npos; at = urc.find("\r\n")) urc.replace(at, 2, " | ");
    text = "slot status: active " + std::to_string(slots.active_slot_idx) + ", " + urc;
  } else if (id == E_oem_USIM_EVENT_ADD_PROFILE && data != nullptr && size == 4) {
    uint32_t done = 0;
    std::memcpy(&done, data, sizeof done);
    text = done ? "profile download finished" : "profile download in progress or failed";
  } else if (id == E_oem_USIM_EVENT_SEND_APDU) {
    text = "APDU response piece";
  }
  usim_emit("usim", text);
}

void start_watch(const ctl::Emit &emit) {
  usim_emit = emit;
  vorn_usim_pal_init();
  vorn_usim_pal_event_register(on_usim_event, nullptr);
}

ctl::Registrar reg({
    {"sim status", "", "card state, slots and PIN of the active card", status},
    {"sim info", "", "ICCID, IMSI, PLMN, MSISDN, SPN and the card's other files", info},
    {"sim pin verify", "PIN", "enter the PIN", pin_verify},
    {"sim pin change", "OLD NEW", "change the PIN", pin_change},
    {"sim pin enable", "PIN", "ask for the PIN at start-up", pin_enable},
    {"sim pin disable", "PIN", "stop asking for the PIN", pin_disable},
    {"sim pin unblock", "PUK NEWPIN", "unblock the PIN with the PUK", pin_unblock},
    {"sim apdu open", "AID", "open a logical channel to an application", apdu_open},
    {"sim apdu send", "CHANNEL HEX", "send a command APDU, show the response", apdu_send},
    {"sim apdu close", "CHANNEL", "close a logical channel", apdu_close},
    {"sim slot get", "", "the active slot and the slot status lines", slot_get},
    {"sim slot set", "0|1", "switch the active slot", slot_set},
    {"esim list", "[--slot N]", "the eUICC's profiles (slot 2 unless given)", esim_list},
    {"esim download", "CODE [CONFIRMATION]", "download a profile by activation code and wait for it", esim_download},
    {"esim enable", "ID", "enable a profile", esim_enable},
    {"esim disable", "ID", "disable a profile", esim_disable},
    {"esim delete", "ID", "delete a disabled profile", esim_delete},
    {"esim nickname", "ID NAME", "name a profile (at most 63 characters)", esim_nickname},
    {"esim eid", "", "the eUICC's EID", esim_eid},
    {"esim address", "[ADDRESS]", "show or set the default SM-DP+ address", esim_address},
    {"esim reset", "", "reset the eUICC's default SM-DP+ address", esim_reset},
});

ctl::WatchRegistrar watch_source({"usim", start_watch});

}  // namespace
