// Shared between the parts of the simulated modem.
#pragma once

#include <cstdint>

#include <vornpal/platform/qmi_idl_lib.h>
#include <vornsim/sim.h>

namespace vornsim {

// The divisor of VORNPAL_TIME_SCALE, as the library uses it.
uint32_t time_scale();

// Records the accessor call and gives the service's object (null when a
// test made it missing).
qmi_idl_service_object_type service_object(Svc svc, int32_t major, int32_t minor, int32_t tool);

}  // namespace vornsim
