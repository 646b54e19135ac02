// What the network family's command files share.
#pragma once

#include "ctl.h"

namespace netctl {

// Starts the family once for the command, with the collector of its events
// (the `watch` source and the waits of scan and register); false, with the
// failure printed, when it did not start.
bool start_family(ctl::Output &out);
// Starts the M2M family once, as a daemon has before it touches the EFS
// items the settings live in (a deletion goes out only on a started
// client); stopped again at exit like the network family.
bool start_m2m(ctl::Output &out);

}  // namespace netctl
