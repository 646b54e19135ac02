// The USIM family's paths that daemons call often or wait on: the card
// state (10 KB card report and two slot reports), a file read, every file,
// a short APDU, and a long APDU response assembled from pieces, against the
// simulated modem's raw round trip of the card report.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=Usim
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/platform/qmi_client.h>
#include <vornpal/platform/user_identity_module_v01.h>
#include <vornpal/qmi.h>
#include <vornpal/usim.h>
#include <vornsim/sim.h>
#include <vornsim/uim.h>

namespace {

void fresh_modem() {
  vornsim::reset();
  vornsim::set_diag_record(false);
  vorn_set_log_level(1);
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

void BM_UsimRawCardStatus(benchmark::State &state) {
  fresh_modem();
  vorn_qmi_client client{};
  client.service_object = uim_get_service_object_internal_v01(1, 97, 6);
  qmi_client_os_params os{};
  qmi_client_type handle = nullptr;
  qmi_client_init_instance(client.service_object, 65535, nullptr, nullptr, &os, 3000, &handle);
  auto resp = std::make_unique<uim_get_card_status_resp_msg_v01>();
  for (auto _ : state)
    benchmark::DoNotOptimize(qmi_client_send_msg_sync(handle, QMI_UIM_GET_CARD_STATUS_REQ_V01, nullptr, 0,
                                                      resp.get(), sizeof *resp, 3000));
  qmi_client_release(handle);
}
BENCHMARK(BM_UsimRawCardStatus);

void BM_UsimGetState(benchmark::State &state) {
  fresh_modem();
  for (auto _ : state) {
    usim_state_record record{};
    benchmark::DoNotOptimize(vorn_usim_pal_get_usim_state(&record));
  }
}
BENCHMARK(BM_UsimGetState);

void BM_UsimReadIccid(benchmark::State &state) {
  fresh_modem();
  for (auto _ : state) {
    usim_info_record info{};
    benchmark::DoNotOptimize(vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_ICCID, &info));
  }
}
BENCHMARK(BM_UsimReadIccid);

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
