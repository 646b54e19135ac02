// Time seam of the library. Every wait the library makes goes through here,
// so that a test run can shrink seconds into milliseconds without changing
// the durations written in the code. VORNPAL_TIME_SCALE=N divides all waits
// by N; unset, waits are real.
#pragma once

#include <cstdint>
#include <ctime>

namespace vorn::clk {

// The divisor in force (1 when VORNPAL_TIME_SCALE is unset or invalid).
uint32_t scale();

// A duration of the code, shortened by the scale, for waits that a system
// call takes as an argument (select, poll).
uint64_t scaled_us(uint64_t us);

// Waits of the code's own durations, shortened by the scale.
void sleep_us(uint64_t us);
inline void sleep_ms(uint64_t ms) { sleep_us(ms * 1000); }
inline void sleep_s(uint64_t s) { sleep_us(s * 1000000); }

// Absolute deadline `ms` (scaled) from now on `clock`, for timed waits.
timespec deadline_after_ms(clockid_t clock, uint64_t ms);

}  // namespace vorn::clk
