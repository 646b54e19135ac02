// What the network family's command files share.
#pragma once

#include "ctl.h"

namespace netctl {

// Starts the family once for the command, with the collector of its events
// (the `watch` source and the waits of scan and register); false, with the
// failure printed, when it did not start.
bool start_family(ctl::Output &out);

}  // namespace netctl
