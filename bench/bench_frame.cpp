// Cost of the frame and of logging against the simulated modem.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench
#include <benchmark/benchmark.h>

#include <vornpal/log.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/qmi.h>
#include <vornsim/sim.h>

#include "foundation/log_site.h"
#include "m2m/messages.h"
#include "paired.h"

namespace {

using GetCfun = vorn::m2m::GetCfun;
using Resp = GetCfun::Resp;

constexpr unsigned kMsg = GetCfun::id;

// A client of the vendor service on a fresh modem that keeps no record of
// requests, as a long-running one would not.
qmi_client_type connect_m2m() {
  vornsim::reset();
  vornsim::set_diag_record(false);
  vornsim::set_request_record(0);
  vornsim::on(vornsim::Svc::M2M, kMsg, vornsim::typed<vorn::qmi::NoRequest, Resp>(
                                           [](const vorn::qmi::NoRequest &, Resp &r) { r.cfun = 1; }));
  vorn_qmi_client client{};
  client.service_object = vorn_m2m_get_service_object_internal_v01(1, 1, 6);
  vorn_qmi_register(&client, 1);
  return client.handle;
}

// One request through the frame against the raw round trip of the same
// message on the same handle.
void BM_FrameRequestVsRaw(benchmark::State &state) {
  qmi_client_type handle = connect_m2m();
  vorn::qmi::NoRequest req;
  auto lib = [&] {
    Resp resp;
    benchmark::DoNotOptimize(vorn::qmi::send_on<GetCfun>(handle, req, resp));
  };
  auto raw = [&] {
    Resp resp{};
    benchmark::DoNotOptimize(qmi_client_send_msg_sync(handle, kMsg, nullptr, 0, &resp, sizeof resp, 3000));
  };
  bench::paired(state, CLOCK_THREAD_CPUTIME_ID, 512, lib, raw);
  qmi_client_release(handle);
}
BENCHMARK(BM_FrameRequestVsRaw);

void BM_LogBelowThreshold(benchmark::State &state) {
  vorn_set_log_level(1);
  for (auto _ : state) VORN_LOG(VORN_DBUG, "suppressed %d\n", 1);
}
BENCHMARK(BM_LogBelowThreshold);

void BM_LogDiag(benchmark::State &state) {
  vornsim::set_diag_record(false);
  vorn_set_log_tool_enable(1);
  for (auto _ : state) VORN_LOG(VORN_ERR, "to diag %d\n", 1);
}
BENCHMARK(BM_LogDiag);

void discard(const char *) {}

void BM_LogConsole(benchmark::State &state) {
  vorn_set_log_tool_enable(0);
  set_print_interface(discard);
  for (auto _ : state) VORN_LOG(VORN_ERR, "to console %d\n", 1);
  set_print_interface(nullptr);
  vorn_set_log_tool_enable(1);
}
BENCHMARK(BM_LogConsole);

}  // namespace

BENCHMARK_MAIN();
