// The USIM family's paths that daemons call often or wait on: the card
// state (10 KB card reports and slot reports) and a file read beside the raw
// round trips of the very requests they make (paired.h); every file, a short
// APDU, and a long APDU response assembled from pieces.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=Usim
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/platform/user_identity_module_v01.h>
#include <vornpal/usim.h>
#include <vornsim/sim.h>
#include <vornsim/uim.h>

#include "paired.h"
#include "quiet_modem.h"
#include "usim/messages.h"

namespace {

namespace vu = vorn::usim;

// A fresh modem that keeps no record of requests, the family started and
// its first card report taken, quiet logging.
void fresh_modem() {
  bench::quiet_modem();
  vorn_usim_pal_init();
  usim_state_record state{};
  vorn_usim_pal_get_usim_state(&state);
}

// The reassembly of long responses back to idle, as a stray empty piece
// leaves it.
void idle_reassembly() {
  uim_send_apdu_ind_msg_v01 stray{};
  stray.offset = 1;
  vornsim::indicate(vornsim::Svc::UIM, QMI_UIM_SEND_APDU_IND_V01, stray);
  vornsim::drain();
}

// One library call beside the raw round trips of the requests it makes, on
// one UIM client of their own.
template <class Call>
void usim_vs_raw(benchmark::State &state, Call call) {
  fresh_modem();
  bench::RawReplay raw(bench::requests_of(call),
                       {{vornsim::Svc::UIM, uim_get_service_object_internal_v01(1, 97, 6)}});
  raw.sized<vu::GetCardStatus, vu::GetSlotsStatus, vu::ReadTransparent, vu::ReadRecord>(vornsim::Svc::UIM);
  if (std::string why = raw.incomplete(); !why.empty()) state.SkipWithError(why.c_str());
  bench::paired(state, CLOCK_THREAD_CPUTIME_ID, 16, call, [&] { raw(); });
  state.counters["requests"] = static_cast<double>(raw.size());
}

void BM_UsimGetStateVsRaw(benchmark::State &state) {
  usim_vs_raw(state, [] {
    usim_state_record record{};
    benchmark::DoNotOptimize(vorn_usim_pal_get_usim_state(&record));
  });
}
BENCHMARK(BM_UsimGetStateVsRaw);

void BM_UsimReadIccidVsRaw(benchmark::State &state) {
  usim_vs_raw(state, [] {
    usim_info_record info{};
    benchmark::DoNotOptimize(vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_ICCID, &info));
  });
}
BENCHMARK(BM_UsimReadIccidVsRaw);

void BM_UsimReadEveryFile(benchmark::State &state) {
  fresh_modem();
  for (auto _ : state) {
    usim_info_record info{};
    benchmark::DoNotOptimize(vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_ALL, &info));
  }
}
BENCHMARK(BM_UsimReadEveryFile);

void BM_UsimShortApdu(benchmark::State &state) {
  fresh_modem();
  uint32_t channel = 0;
  vorn_usim_pal_open_channel(vornsim::uim::kTestAppletAid, &channel);
  std::vector<char> out(64);
  for (auto _ : state)
    benchmark::DoNotOptimize(vorn_usim_pal_send_apdu(static_cast<int>(channel), "80F20000", 8, out.data(), 60));
}
BENCHMARK(BM_UsimShortApdu);

// 3000 bytes in three pieces: the caller polls every 100 ms for the whole,
// so a piece that lands after the first look costs a full poll.
void BM_UsimLongApdu3000(benchmark::State &state) {
  fresh_modem();
  uint32_t channel = 0;
  vorn_usim_pal_open_channel(vornsim::uim::kTestAppletAid, &channel);
  std::vector<char> out(10241);
  for (auto _ : state) {
    benchmark::DoNotOptimize(vorn_usim_pal_send_apdu(static_cast<int>(channel), "00CA0BB8", 8, out.data(), 10240));
    state.PauseTiming();
    idle_reassembly();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_UsimLongApdu3000)->Unit(benchmark::kMillisecond);

}  // namespace
