// The IMSS service of the simulated modem: the IMS settings (each service's
// switch), which subscriptions have IMS active, and the binding of clients
// to one. A change of the settings is reported to every client and makes
// IMSA look at its registration again.
#include <map>
#include <string>

#include <vornsim/ims.h>
#include <vornsim/sim.h>

#include "engine.h"
#include "ims_link.h"
#include "service_module.h"
#include "voice/messages.h"

namespace vornsim {
namespace {

namespace vv = vorn::voice;

constexpr auto kNotActive = static_cast<qmi_error_type_v01>(0x0052);

struct State {
  // Values by the settings' names; what a device leaves the factory with.
  std::map<std::string, uint64_t> settings = {
      {"volte_enabled", 1},       {"videotelephony_enabled", 0}, {"mobile_data_enabled", 1},
      {"service_mask_by_network_enabled", 0}, {"wifi_calling_enabled", 0},
      {"call_mode_preference", 1}, {"wifi_calling_in_roaming_enabled", 0},
      {"wifi_provisioning_id", 0}, {"ims_service_enabled", 1}, {"ut_enabled", 1},
      {"sms_enabled", 1},          {"dan_enabled", 0},         {"ussd_enabled", 1},
      {"mwi_enabled", 1},          {"presence_enabled", 0},    {"autoconfig_enabled", 0},
      {"xdm_client_enabled", 0},   {"rcs_messaging_enabled", 0},
      {"call_mode_pref_roam_enabled", 0}, {"rtt_enabled", 0}, {"call_mode_roam_preference", 1},
      {"carrier_config_enabled", 1}, {"call_mode_preference_ext", 1},
      {"call_mode_roam_preference_ext", 1}, {"mmtel_call_composer_config_enabled", 0},
      {"options_config_enabled", 0}};
  std::array<uint32_t, 3> active = {1, 0, 0};
  int32_t bound = -1;

  template <class Visit>
  void values(Visit &&visit) {
    visit("settings", settings);
    visit("active", active);
    visit("bound", bound);
  }
};

// The settings into the fields of a response or indication, all valid.
template <class Fields>
void put_settings(const State &s, Fields &f) {
#define VORNSIM_PUT(name)                                                   \
  f.name##_valid = 1;                                                       \
  f.name = static_cast<decltype(f.name)>(s.settings.at(#name));
  VORN_IMS_SERVICE_SETTINGS(VORNSIM_PUT)
#undef VORNSIM_PUT
}

// The valid fields of a request into the settings; true when one changed.
template <class Fields>
bool take_settings(State &s, const Fields &f) {
  bool changed = false;
#define VORNSIM_TAKE(name)                                                  \
  if (f.name##_valid != 0 && s.settings[#name] != static_cast<uint64_t>(f.name)) { \
    s.settings[#name] = static_cast<uint64_t>(f.name);                      \
    changed = true;                                                         \
  }
  VORN_IMS_SERVICE_SETTINGS(VORNSIM_TAKE)
#undef VORNSIM_TAKE
  return changed;
}

// Clients hear of the change, and IMSA looks at its registration again, on
// the modem's thread.
void settings_changed(const State &s) {
  ims_settings_ims_service_enable_config_ind_msg_v01 ind{};
  put_settings(s, ind);
  indicate(Svc::IMSS, QMI_IMS_SETTINGS_IMS_SERVICE_ENABLE_CONFIG_IND_V01, ind);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  schedule_locked(m, Clock::duration::zero(), true, [] { ims_link::conditions_changed(); });
}

void install(ServiceModule<State> &m) {
  m.serve<vv::GetImsServiceEnableConfig>([](State &s, const auto &, auto &resp) {
    resp.settings_resp_valid = 1;
    resp.settings_resp = IMS_SETTINGS_MSG_NO_ERR_V01;
    put_settings(s, resp);
  });
  m.serve<vv::SetImsServiceEnableConfig>([](State &s, const auto &req, auto &resp) {
    resp.settings_resp_valid = 1;
    resp.settings_resp = IMS_SETTINGS_MSG_NO_ERR_V01;
    if (take_settings(s, req)) settings_changed(s);
  });
  m.serve<vv::ImsGetActiveSubscriptionStatus>([](State &s, const auto &, auto &resp) {
    resp.common_resp_valid = 1;
    resp.common_resp = IMS_SETTINGS_MSG_NO_ERR_V01;
    resp.active_on_primary_subscription_valid = 1;
    resp.active_on_primary_subscription = static_cast<uint8_t>(s.active[0]);
    resp.active_on_secondary_subscription_valid = 1;
    resp.active_on_secondary_subscription = static_cast<uint8_t>(s.active[1]);
    resp.active_on_tertiary_subscription_valid = 1;
    resp.active_on_tertiary_subscription = static_cast<uint8_t>(s.active[2]);
  });
  m.serve<vv::ImsBindSubscription>([](State &s, const auto &req, auto &resp) {
    auto type = static_cast<uint32_t>(req.subscription_type);
    if (type > 2) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
    if (s.active[type] == 0) return refuse_with(resp, kNotActive);
    s.bound = static_cast<int32_t>(type);
    resp.common_resp_valid = 1;
    resp.common_resp = IMS_SETTINGS_MSG_NO_ERR_V01;
  });
}

ServiceModule<State> imss_module("imss", Svc::IMSS, [] { return State{}; }, install);

}  // namespace

ims_link::Conditions ims_link::conditions() {
  return imss_module.with_state([](State &s) {
    return Conditions{s.settings["ims_service_enabled"] != 0 && s.settings["volte_enabled"] != 0,
                      {s.active[0] != 0, s.active[1] != 0, s.active[2] != 0}};
  });
}

void ims::set_active_subscriptions(bool primary, bool secondary, bool tertiary) {
  imss_module.with_state([&](State &s) {
    s.active = {primary, secondary, tertiary};
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    schedule_locked(m, Clock::duration::zero(), true, [] { ims_link::conditions_changed(); });
  });
}

int ims::imss_bound_subscription() {
  return imss_module.with_state([](State &s) { return static_cast<int>(s.bound); });
}

bool ims::volte_enabled() {
  return imss_module.with_state([](State &s) { return s.settings["volte_enabled"] != 0; });
}

}  // namespace vornsim
