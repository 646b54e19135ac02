// What the simulated IMSA service needs of IMSS: the conditions of
// registration that IMSS keeps. IMSA may ask IMSS while it holds its own
// state; IMSS tells IMSA of a change only from the modem's thread, so that
// the two never wait for each other.
#pragma once

#include <array>

namespace vornsim::ims_link {

struct Conditions {
  bool ims_on;                  // IMS and VoLTE enabled
  std::array<bool, 3> active;  // subscriptions with IMS active
};

// Under IMSS's state.
Conditions conditions();
// IMSA looks at the conditions again (on the modem's thread).
void conditions_changed();

}  // namespace vornsim::ims_link
