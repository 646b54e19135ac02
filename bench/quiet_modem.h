// A fresh simulated modem that keeps no record of requests or diag lines,
// with the library logging quietly: what a benchmark measures is then the
// path itself, not the recording of it.
#pragma once

#include <vornpal/log.h>
#include <vornsim/sim.h>

namespace bench {

inline void quiet_modem() {
  vornsim::reset();
  vornsim::set_diag_record(false);
  vornsim::set_request_record(0);
  vorn_set_log_level(1);
}

}  // namespace bench
