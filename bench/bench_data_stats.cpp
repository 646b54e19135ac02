// The statistics path against the simulated modem: one read of both
// families' counters (two requests on the default profile's clients) while
// a dual-stack call is up, and a start and stop of the report thread.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=DataStats
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include <vornpal/data.h>
#include <vornpal/log.h>
#include <vornsim/sim.h>
#include <vornsim/wds.h>
#include <vornsim/wds_stats.h>

#include "quiet_modem.h"

namespace {

std::atomic<int> families_up{0};

void on_stats_bench_event(int id, void *data, int, void *) {
  if (id == VORN_DATA_EVENT_CALL_STATUS &&
      static_cast<const data_status_event *>(data)->data_state == VORN_DATA_STATE_UP)
    families_up.fetch_add(1);
}

bool dual_stack_call() {
  vorn_data_pal_deinit();
  bench::quiet_modem();
  families_up = 0;
  vorn_data_pal_init();
  vorn_data_pal_event_register(on_stats_bench_event, nullptr);
  data_profile_settings s{};
  std::snprintf(s.apn, sizeof s.apn, "%s", "internet");
  s.pdp_type = VORN_DATA_PDP_IPV4V6;
  vorn_data_pal_write_connect_setting(1, &s);
  if (vorn_data_pal_connect(1) != 0) return false;
  for (int i = 0; i < 30000 && families_up.load() < 2; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return families_up.load() == 2 && vornsim::wds::push_traffic(4, 1000, 2000) &&
         vornsim::wds::push_traffic(6, 10, 20);
}

void BM_DataStatsRead(benchmark::State &state) {
  if (!dual_stack_call()) return state.SkipWithError("no dual-stack call");
  uint64_t tx = 0, rx = 0;
  for (auto _ : state) {
    if (vorn_data_pal_oper_statistics(VORN_DATA_STATS_READ, 0, &tx, &rx) != 0 || tx != 1010)
      return state.SkipWithError("the counters were not read");
  }
  vorn_data_pal_disconnect(1);
  vorn_data_pal_deinit();
}
BENCHMARK(BM_DataStatsRead)->Iterations(2000)->Unit(benchmark::kMicrosecond);

void BM_DataStatsStartStop(benchmark::State &state) {
  for (auto _ : state) {
    vorn_data_pal_oper_statistics(VORN_DATA_STATS_START, 0, nullptr, nullptr);
    vorn_data_pal_oper_statistics(VORN_DATA_STATS_STOP, 0, nullptr, nullptr);
  }
}
BENCHMARK(BM_DataStatsStartStop)->Iterations(1000)->Unit(benchmark::kMicrosecond);

}  // namespace
