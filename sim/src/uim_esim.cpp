// The eUICC of slot 1 (QMI slot 2): its profiles, EID and default SM-DP+
// address, and profile downloads by activation code, whose progress comes
// by indication: downloading, installing, then installed or failed.
#include <algorithm>
#include <cstring>
#include <memory>

#include <vornsim/sim.h>
#include <vornsim/uim.h>

#include "uim_card.h"
#include "usim/messages.h"

namespace vornsim::uim {
namespace {

namespace usim = vorn::usim;

constexpr uint32_t kEuiccQmiSlot = UIM_SLOT_2_V01;
constexpr uint32_t kMaxProfiles = QMI_UIM_PROFILES_MAX_V01;
constexpr uint32_t kOperational = 1;
// Download statuses as the service reports them.
constexpr uint32_t kDownloading = 1;
constexpr uint32_t kInstalling = 2;
constexpr uint32_t kFailed = 3;
constexpr uint32_t kInstalled = 4;
constexpr uint32_t kCauseMatchingId = 7;
constexpr uint32_t kCauseNoMemory = 9;
// Memory reset options.
constexpr uint32_t kResetOperational = 1;
constexpr uint32_t kResetTest = 2;
constexpr uint32_t kResetDefaultAddress = 4;

// The eUICC's slot answers; any other slot has none.
template <class Resp>
bool euicc(State &s, uint32_t slot, Resp &resp) {
  if (slot < 1 || slot > 5) {
    refuse_with(resp, kErrInvalidArg);
    return false;
  }
  if (slot != kEuiccQmiSlot) {
    refuse_with(resp, kErrNotSupported);
    return false;
  }
  if (!answering(s.cards[kEuiccSlot])) {
    refuse_with(resp, kErrDeviceNotReady);
    return false;
  }
  return true;
}

template <class Resp>
bool known_profile(State &s, uint32_t id, Resp &resp) {
  if (s.profile_iccid.count(id) != 0) return true;
  refuse_with(resp, kErrInvalidArg);
  return false;
}

void list(State &s, const usim::GetSimProfile::Req &req, usim::GetSimProfile::Resp &resp) {
  if (!euicc(s, req.slot, resp)) return;
  resp.profile_info_valid = 1;
  for (const auto &[id, iccid] : s.profile_iccid) {
    if (resp.profile_info_len == kMaxProfiles) break;
    resp.profile_info[resp.profile_info_len++] = {id, kOperational};
    if (s.profile_enabled[id]) {
      resp.active_profile_info_valid = 1;
      resp.active_profile_info = {id, kOperational};
    }
  }
}

// Enabling one disables the others; the card then restarts with the new
// profile, as its reports show.
void set_profile(State &s, const usim::SetSimProfile::Req &req, usim::SetSimProfile::Resp &resp) {
  if (!euicc(s, req.slot, resp) || !known_profile(s, req.profile_id, resp)) return;
  const bool enable = !req.enable_profile_valid || req.enable_profile != 0;
  if ((s.profile_enabled[req.profile_id] != 0) == enable) return refuse_with(resp, kErrNoEffect);
  for (auto &[id, enabled] : s.profile_enabled) enabled = enable && id == req.profile_id;
  s.cards[kEuiccSlot].pin_verified = 0;
  report(s, true);
}

void info(State &s, const usim::GetProfileInfo::Req &req, usim::GetProfileInfo::Resp &resp) {
  if (!euicc(s, req.slot, resp) || !known_profile(s, req.profile_id, resp)) return;
  Bytes iccid = swapped_bcd(s.profile_iccid[req.profile_id]);
  resp.profile_iccid_valid = 1;
  resp.profile_iccid_len = static_cast<uint32_t>(std::min(iccid.size(), sizeof resp.profile_iccid));
  std::memcpy(resp.profile_iccid, iccid.data(), resp.profile_iccid_len);
  resp.profile_state_valid = 1;
  resp.profile_state = s.profile_enabled[req.profile_id] ? UIM_PROFILE_STATE_ACTIVE_V01 : UIM_PROFILE_STATE_INACTIVE_V01;
  const std::string &nickname = s.profile_nickname[req.profile_id];
  if (nickname.empty()) return;
  resp.profile_nickname_valid = 1;
  resp.profile_nickname_len = static_cast<uint32_t>(std::min(nickname.size(), sizeof resp.profile_nickname));
  std::memcpy(resp.profile_nickname, nickname.data(), resp.profile_nickname_len);
}

void erase(State &s, const usim::DeleteProfile::Req &req, usim::DeleteProfile::Resp &resp) {
  if (!euicc(s, req.slot, resp) || !known_profile(s, req.profile_id, resp)) return;
  if (s.profile_enabled[req.profile_id]) return refuse_with(resp, kErrDeviceInUse);
  s.profile_iccid.erase(req.profile_id);
  s.profile_nickname.erase(req.profile_id);
  s.profile_enabled.erase(req.profile_id);
}

void memory_reset(State &s, const usim::EuiccMemoryReset::Req &req, usim::EuiccMemoryReset::Resp &resp) {
  if (!euicc(s, req.slot, resp)) return;
  if (!req.euicc_memory_reset_options_valid) return refuse_with(resp, kErrInvalidArg);
  const uint32_t options = req.euicc_memory_reset_options.options;
  if (options & (kResetOperational | kResetTest)) {
    s.profile_iccid.clear();
    s.profile_nickname.clear();
    s.profile_enabled.clear();
    report(s, true);
  }
  if (options & kResetDefaultAddress) s.smdp_address.clear();
}

void progress(uint32_t status, uint8_t percentage, bool cause_valid = false, uint32_t cause = 0) {
  uim_add_profile_ind_msg_v01 ind{};
  ind.slot = kEuiccQmiSlot;
  ind.profile_download_status.download_status = status;
  ind.profile_download_status.error_cause_valid = cause_valid;
  ind.profile_download_status.error_cause = cause;
  ind.percentage_valid = 1;
  ind.percentage = percentage;
  indicate(Svc::UIM, QMI_UIM_ADD_PROFILE_IND_V01, ind);
}

// "1$SM-DP+ address$matching id": anything else is refused at once. A
// matching id the server does not know fails the download.
void add(State &s, const usim::AddProfile::Req &req, usim::AddProfile::Resp &resp) {
  if (!euicc(s, req.slot, resp)) return;
  const std::string code(req.activation_code, strnlen(req.activation_code, std::min<size_t>(req.activation_code_len, sizeof req.activation_code)));
  const size_t first = code.find('$');
  const size_t second = first == std::string::npos ? first : code.find('$', first + 1);
  if (code.rfind("1$", 0) != 0 || second == std::string::npos || second == first + 1 || second + 1 >= code.size())
    return refuse_with(resp, kErrInvalidArg);
  const std::string matching_id = code.substr(second + 1);
  progress(kDownloading, 30);
  if (matching_id.rfind("UNKNOWN", 0) == 0) return progress(kFailed, 30, true, kCauseMatchingId);
  uint32_t id = 1;
  while (id <= kMaxProfiles && s.profile_iccid.count(id) != 0) ++id;
  if (id > kMaxProfiles) return progress(kFailed, 30, true, kCauseNoMemory);
  progress(kDownloading, 70);
  progress(kInstalling, 100);
  std::string iccid = "89445003" + std::to_string(10000000000ULL + id * 7919ULL).substr(0, 11);
  s.profile_iccid[id] = iccid;
  s.profile_nickname[id] = "";
  s.profile_enabled[id] = 0;
  progress(kInstalled, 100);
}

void nickname(State &s, const usim::UpdateProfileNickname::Req &req, usim::UpdateProfileNickname::Resp &resp) {
  if (!euicc(s, req.slot, resp) || !known_profile(s, req.profile_id, resp)) return;
  if (!req.nickname_valid || req.nickname_len > sizeof req.nickname) return refuse_with(resp, kErrInvalidArg);
  s.profile_nickname[req.profile_id] = std::string(req.nickname, req.nickname_len);
}

void server_address(State &s, const usim::EuiccDefaultServerAddress::Req &req,
                    usim::EuiccDefaultServerAddress::Resp &resp) {
  if (!euicc(s, req.slot, resp)) return;
  if (req.default_smdp_address_valid) {
    if (req.default_smdp_address_len >= sizeof req.default_smdp_address) return refuse_with(resp, kErrInvalidArg);
    s.smdp_address.assign(req.default_smdp_address, req.default_smdp_address_len);
  }
  resp.default_smdp_address_valid = 1;
  resp.default_smdp_address_len = static_cast<uint32_t>(s.smdp_address.size());
  put_text(resp.default_smdp_address, s.smdp_address);
}

}  // namespace

void install_esim(Module &m) {
  m.serve<usim::GetSimProfile>(list);
  m.serve<usim::SetSimProfile>(set_profile);
  m.serve<usim::GetProfileInfo>(info);
  m.serve<usim::GetEid>([](State &s, const auto &req, auto &resp) {
    if (!euicc(s, req.slot, resp)) return;
    resp.eid_value_valid = 1;
    resp.eid_value_len = static_cast<uint32_t>(std::min(s.eid.size(), sizeof resp.eid_value));
    std::memcpy(resp.eid_value, s.eid.data(), resp.eid_value_len);
  });
  m.serve<usim::DeleteProfile>(erase);
  m.serve<usim::EuiccMemoryReset>(memory_reset);
  m.serve<usim::AddProfile>(add);
  m.serve<usim::UpdateProfileNickname>(nickname);
  m.serve<usim::EuiccDefaultServerAddress>(server_address);
}

std::vector<Profile> profiles() {
  return module().with_state([](State &s) {
    std::vector<Profile> out;
    for (const auto &[id, iccid] : s.profile_iccid)
      out.push_back({id, iccid, s.profile_nickname[id], s.profile_enabled[id] != 0});
    return out;
  });
}

std::string eid() {
  return module().with_state([](State &s) { return saved::hex(s.eid.data(), s.eid.size()); });
}

}  // namespace vornsim::uim
