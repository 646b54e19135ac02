// The network information, the settings and a cell lock, each beside the
// raw round trips of the very requests it makes (paired.h), and the latency
// from an indication to the family's callback.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=Network
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/network.h>
#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/network_access_service_v01.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornsim/sim.h>

#include "device/messages.h"
#include "m2m/messages.h"
#include "network/info_groups.h"
#include "network/messages.h"
#include "paired.h"
#include "quiet_modem.h"

namespace {

using Clock = std::chrono::steady_clock;
namespace vd = vorn::device;
namespace vm = vorn::m2m;
namespace vn = vorn::network;

void fresh_family() {
  vorn_network_pal_deinit();
  bench::quiet_modem();
  vorn_network_pal_init();
  vornsim::drain();
}

// `op` beside the raw replay of the requests it made, over NAS, DMS and M2M.
template <class Op>
void replay_paired(benchmark::State &state, Op op) {
  bench::RawReplay raw(bench::requests_of(op),
                       {{vornsim::Svc::NAS, nas_get_service_object_internal_v01(1, 303, 6)},
                        {vornsim::Svc::DMS, dms_get_service_object_internal_v01(1, 77, 6)},
                        {vornsim::Svc::M2M, vorn_m2m_get_service_object_internal_v01(1, 1, 6)}});
  raw.sized<vn::GetSystemSelectionPreference, vn::SetSystemSelectionPreference>(vornsim::Svc::NAS);
  raw.sized<vd::GetBandCapability, vd::GetOperatingMode, vd::SetOperatingMode>(vornsim::Svc::DMS);
  raw.sized<vm::ReadNvItem, vm::WriteNvItem, vm::EfsRename, vm::Manufacturer>(vornsim::Svc::M2M);
  if (std::string why = raw.incomplete(); !why.empty()) state.SkipWithError(why.c_str());
  bench::paired(state, CLOCK_THREAD_CPUTIME_ID, 4, op, [&] { raw(); });
  state.counters["requests"] = static_cast<double>(raw.size());
}

void BM_NetworkGetInfoVsRaw(benchmark::State &state) {
  fresh_family();
  auto get_info = [] {
    vorn_network_info info = vn::every_group();
    benchmark::DoNotOptimize(vorn_network_pal_get_network_info(0, &info));
  };
  bench::RawReplay raw(bench::requests_of(get_info),
                       {{vornsim::Svc::NAS, nas_get_service_object_internal_v01(1, 303, 6)},
                        {vornsim::Svc::M2M, vorn_m2m_get_service_object_internal_v01(1, 1, 6)}});
  raw.sized<vn::GetServingSystem, vn::GetSysInfo, vn::GetSigInfo, vn::GetRfBandInfo, vn::GetPlmnName,
            vn::GetHomeNetwork, vn::GetCellLocationInfo, vn::GetErrRate, vn::GetTxRxInfo, vn::GetLteCphyCaInfo,
            vn::GetArfcnList, vn::GetSpeff, vn::GetNr5gSpeff, vn::GetSystemSelectionPreference, vn::GetDrx,
            vn::GetNetworkTime, vn::GetDataRoaming>(vornsim::Svc::NAS);
  raw.sized<vm::ReadNvItem, vm::GetCurrentAct, vm::GetUimSelect, vm::GetUeMode, vm::GetCfun, vm::GetSigInfo,
            vm::GetCaInfo>(vornsim::Svc::M2M);
  if (std::string why = raw.incomplete(); !why.empty()) state.SkipWithError(why.c_str());
  bench::paired(state, CLOCK_THREAD_CPUTIME_ID, 4, get_info, [&] { raw(); });
  state.counters["requests"] = static_cast<double>(raw.size());
  vorn_network_pal_deinit();
}
BENCHMARK(BM_NetworkGetInfoVsRaw)->Unit(benchmark::kMicrosecond);

// The RAT and band groups set and read back: the selection preference, the
// band capabilities it is checked against, the EFS items beside it.
void BM_NetworkSettingVsRaw(benchmark::State &state) {
  fresh_family();
  auto set_and_get = [] {
    vorn_network_setting set{};
    set.band_info_valid = 1;
    set.band_mode = 1;
    set.lte_mask[0] = (1u << 2) | (1u << 6);  // bands 3 and 7
    benchmark::DoNotOptimize(vorn_network_pal_set_network_setting(0, &set));
    vorn_network_setting got{};
    got.rat_info_valid = 1;
    got.band_info_valid = 1;
    benchmark::DoNotOptimize(vorn_network_pal_get_network_setting(0, &got));
  };
  replay_paired(state, set_and_get);
}
BENCHMARK(BM_NetworkSettingVsRaw)->Unit(benchmark::kMicrosecond);

// A single-cell LTE lock written and taken off again: the odm string, the
// parameter items and the mode preference, each one EFS request.
void BM_NetworkCellLockVsRaw(benchmark::State &state) {
  fresh_family();
  vorn_m2m_pal_init();
  auto lock_and_clear = [] {
    vorn_network_setting setting{};
    setting.cell_lock_info_valid = 1;
    setting.cell_lock_info = {1, 0, 0, 1300, 101, 0, 0, VORN_CELL_LOCK_ACTION_NEW};
    benchmark::DoNotOptimize(vorn_network_pal_set_network_setting(0, &setting));
    setting.cell_lock_info = {0, 0, 0, 0, 0, 0, 0, VORN_CELL_LOCK_ACTION_TOGGLE};
    benchmark::DoNotOptimize(vorn_network_pal_set_network_setting(0, &setting));
  };
  replay_paired(state, lock_and_clear);
  vorn_m2m_pal_deinit();
}
BENCHMARK(BM_NetworkCellLockVsRaw)->Unit(benchmark::kMicrosecond);

std::atomic<uint64_t> delivered{0};
std::atomic<int64_t> arrived_ns{0};

void on_signal(uint32_t id, void *, uint32_t, uint32_t) {
  if (id != VORN_NETWORK_EVENT_SIGNAL) return;
  arrived_ns.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
  delivered.fetch_add(1, std::memory_order_release);
}

// One signal indication at a time, from the modem's thread through the QMI
// callback and the event thread to the daemon's callback.
void BM_NetworkIndicationToCallback(benchmark::State &state) {
  static bool registered = vorn_network_pal_event_register(on_signal, 0) == 0;
  benchmark::DoNotOptimize(registered);
  fresh_family();
  nas_sig_info_ind_msg_v01 ind{};
  ind.info.lte_sig_info_valid = 1;
  ind.info.lte_sig_info = {-60, -9, -88, 140};
  constexpr int kIndications = 10000;
  std::vector<double> latencies_us;
  latencies_us.reserve(kIndications);
  for (auto _ : state) {
    latencies_us.clear();
    for (int i = 0; i < kIndications; ++i) {
      uint64_t before = delivered.load(std::memory_order_acquire);
      auto sent = Clock::now();
      vornsim::indicate(vornsim::Svc::NAS, QMI_NAS_SIG_INFO_IND_MSG_V01, ind);
      while (delivered.load(std::memory_order_acquire) == before) std::this_thread::yield();
      latencies_us.push_back(static_cast<double>(arrived_ns.load(std::memory_order_relaxed) -
                                                 sent.time_since_epoch().count()) / 1000.0);
    }
  }
  std::sort(latencies_us.begin(), latencies_us.end());
  state.counters["p50_us"] = latencies_us[latencies_us.size() / 2];
  state.counters["p99_us"] = latencies_us[latencies_us.size() * 99 / 100];
  state.counters["max_us"] = latencies_us.back();
  vorn_network_pal_deinit();
}
BENCHMARK(BM_NetworkIndicationToCallback)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
