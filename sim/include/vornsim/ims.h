// Control API of the simulated modem's IMS services: IMSS keeps the IMS
// settings, IMSA the registration, which follows them: the device is
// registered while IMS and VoLTE are on, some subscription has IMS active
// and the network accepts it. Each change is reported to the services'
// clients by indication.
#pragma once

#include <cstdint>

namespace vornsim::ims {

// Which subscriptions have IMS active.
void set_active_subscriptions(bool primary, bool secondary, bool tertiary);
// Whether the network accepts the device's registration.
void set_network_accepts(bool accepts);

// The subscription each service's last binding named, or -1.
int imss_bound_subscription();
int imsa_bound_subscription();

bool volte_enabled();

struct Registration {
  bool registered;
  uint32_t status;  // imsa_ims_registration_status_enum_v01
};
Registration registration();

}  // namespace vornsim::ims
