// The IMSA service of the simulated modem: the device's IMS registration,
// which follows the conditions that IMSS keeps and whether the network
// accepts the device; each change is reported to every client. Clients
// bind to a subscription that has IMS active.
#include <vornsim/ims.h>
#include <vornsim/sim.h>

#include "ims_link.h"
#include "service_module.h"
#include "voice/messages.h"

namespace vornsim {
namespace {

namespace vv = vorn::voice;

constexpr auto kNotActive = static_cast<qmi_error_type_v01>(0x0052);
// The network's answer to a registration it refuses (SIP 403).
constexpr uint16_t kForbidden = 403;

struct State {
  uint32_t status = IMSA_STATUS_REGISTERED_V01;
  uint32_t network_accepts = 1;
  int32_t bound = -1;

  template <class Visit>
  void values(Visit &&visit) {
    visit("status", status);
    visit("network_accepts", network_accepts);
    visit("bound", bound);
  }
};

bool any(const std::array<bool, 3> &active) { return active[0] || active[1] || active[2]; }

void reevaluate(State &s) {
  ims_link::Conditions now = ims_link::conditions();
  uint32_t status = now.ims_on && any(now.active) && s.network_accepts != 0
                        ? IMSA_STATUS_REGISTERED_V01
                        : IMSA_STATUS_NOT_REGISTERED_V01;
  if (status == s.status) return;
  s.status = status;
  imsa_registration_status_ind_msg_v01 ind{};
  ind.ims_registered = status == IMSA_STATUS_REGISTERED_V01;
  ind.ims_reg_status_valid = 1;
  ind.ims_reg_status = static_cast<imsa_ims_registration_status_enum_v01>(status);
  ind.registration_network_valid = 1;
  ind.registration_network = IMSA_WWAN_V01;
  if (now.ims_on && s.network_accepts == 0) {
    ind.ims_registration_failure_error_code_valid = 1;
    ind.ims_registration_failure_error_code = kForbidden;
  }
  indicate(Svc::IMSA, QMI_IMSA_REGISTRATION_STATUS_IND_V01, ind);
}

void install(ServiceModule<State> &m) {
  m.serve<vv::ImsaGetRegistrationStatus>([](State &s, const auto &, auto &resp) {
    // A change of the settings that the modem's thread has not carried over
    // yet is already in force.
    reevaluate(s);
    resp.ims_registered_valid = 1;
    resp.ims_registered = s.status == IMSA_STATUS_REGISTERED_V01;
    resp.ims_reg_status_valid = 1;
    resp.ims_reg_status = static_cast<imsa_ims_registration_status_enum_v01>(s.status);
    resp.registration_network_valid = 1;
    resp.registration_network = IMSA_WWAN_V01;
    if (s.bound >= 0) {
      resp.subscription_type_valid = 1;
      resp.subscription_type = static_cast<imsa_bind_subscription_type_enum_v01>(s.bound);
    }
  });
  m.serve<vv::ImsaGetActiveSubscriptionStatus>([](State &, const auto &, auto &resp) {
    ims_link::Conditions now = ims_link::conditions();
    resp.active_on_primary_subscription_valid = 1;
    resp.active_on_primary_subscription = now.active[0];
    resp.active_on_secondary_subscription_valid = 1;
    resp.active_on_secondary_subscription = now.active[1];
    resp.active_on_tertiary_subscription_valid = 1;
    resp.active_on_tertiary_subscription = now.active[2];
  });
  m.serve<vv::ImsaSetBindSubscription>([](State &s, const auto &req, auto &resp) {
    auto type = static_cast<uint32_t>(req.bind_subs);
    if (type > 2) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
    if (!ims_link::conditions().active[type]) return refuse_with(resp, kNotActive);
    s.bound = static_cast<int32_t>(type);
  });
}

ServiceModule<State> imsa_module("imsa", Svc::IMSA, [] { return State{}; }, install);

}  // namespace

void ims_link::conditions_changed() { imsa_module.with_state(reevaluate); }

void ims::set_network_accepts(bool accepts) {
  imsa_module.with_state([accepts](State &s) {
    s.network_accepts = accepts ? 1 : 0;
    reevaluate(s);
  });
}

int ims::imsa_bound_subscription() {
  return imsa_module.with_state([](State &s) { return static_cast<int>(s.bound); });
}

ims::Registration ims::registration() {
  return imsa_module.with_state([](State &s) {
    return Registration{s.status == IMSA_STATUS_REGISTERED_V01, s.status};
  });
}

}  // namespace vornsim
