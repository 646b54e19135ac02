// A library path beside the raw path it stands on, measured like with like:
// the same modem, state and recording for both, in alternating rounds of
// `batch` operations each with the order swapped every round, so that neither
// the order nor what one path leaves behind decides the figure. Reports the
// time of one operation of each (lib_ns, raw_ns) and their ratio.
#pragma once

#include <time.h>

#include <benchmark/benchmark.h>

#include <cstdint>

namespace bench {

// CLOCK_THREAD_CPUTIME_ID where both paths run on the calling thread (the
// simulated modem answers there), so that other load on the machine does not
// count; CLOCK_MONOTONIC where a server thread does part of the work.
inline int64_t now_ns(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

template <class Lib, class Raw>
void paired(benchmark::State &state, clockid_t clock, int batch, Lib lib, Raw raw) {
  int64_t lib_ns = 0, raw_ns = 0, rounds = 0;
  auto timed = [&](auto &op, int64_t &total) {
    int64_t start = now_ns(clock);
    for (int i = 0; i < batch; ++i) op();
    total += now_ns(clock) - start;
  };
  for (auto _ : state) {
    if (rounds++ % 2 == 0) {
      timed(lib, lib_ns);
      timed(raw, raw_ns);
    } else {
      timed(raw, raw_ns);
      timed(lib, lib_ns);
    }
  }
  const double ops = static_cast<double>(rounds) * batch;
  state.counters["lib_ns"] = static_cast<double>(lib_ns) / ops;
  state.counters["raw_ns"] = static_cast<double>(raw_ns) / ops;
  state.counters["ratio"] = raw_ns > 0 ? static_cast<double>(lib_ns) / static_cast<double>(raw_ns) : 0;
}

}  // namespace bench
