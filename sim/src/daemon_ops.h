// The control calls vornsimd runs for its clients' processes, by name: the
// names VORNSIM_REMOTE gives them (remote.h).
#pragma once

#include <string>

#include "codec.h"

namespace vornsim::daemon_ops {

// The call's name and then its arguments; false with `error` set when the
// name is unknown or the arguments do not fit.
bool run(codec::Reader &in, codec::Writer &out, std::string &error);
// Calls of the daemon itself (stop, the modem's commands) join the table.
void add(const std::string &name, codec::Invoke invoke);

}  // namespace vornsim::daemon_ops
