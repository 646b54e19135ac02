// NV items of 500 bytes through the library against the simulated modem's
// raw round trip of the same messages.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=M2m
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/qmi.h>
#include <vornsim/sim.h>

namespace {

constexpr const char kPath[] = "/nv/item_files/bench/item500";
const std::string kItem(500, '\x5A');

// A fresh modem holding the item, a started client, quiet logging.
void fresh_modem() {
  vorn_m2m_pal_deinit();
  vornsim::reset();
  vornsim::set_diag_record(false);
  vorn_set_log_level(1);
  vorn_m2m_pal_write_nv_by_path(kPath, kItem.data(), 500);
}

// A client of the vendor service of its own, for the raw round trips.
struct RawClient {
  vorn_qmi_client client{};
  RawClient() {
    client.service_object = vorn_m2m_get_service_object_internal_v01(1, 1, 6);
    vorn_qmi_register(&client, 1);
  }
  ~RawClient() { vorn_qmi_unregister(&client); }
};

void BM_M2mRawRead500(benchmark::State &state) {
  fresh_modem();
  RawClient raw;
  vorn_m2m_read_nv_item_req_msg_v01 req{};
  std::strcpy(req.item_file_path, kPath);
  for (auto _ : state) {
    vorn_m2m_read_nv_item_resp_msg_v01 resp;
    benchmark::DoNotOptimize(qmi_client_send_msg_sync(raw.client.handle,
                                                      QMI_VORN_M2M_READ_NV_ITEM_REQ_V01, &req,
                                                      sizeof req, &resp, sizeof resp, 10000));
  }
}
BENCHMARK(BM_M2mRawRead500);

void BM_M2mRawWrite500(benchmark::State &state) {
  fresh_modem();
  RawClient raw;
  vorn_m2m_write_nv_item_req_msg_v01 req{};
  std::strcpy(req.item_file_path, kPath);
  req.data_len = 500;
  std::memcpy(req.data, kItem.data(), 500);
  for (auto _ : state) {
    vorn_m2m_write_nv_item_resp_msg_v01 resp;
    benchmark::DoNotOptimize(qmi_client_send_msg_sync(raw.client.handle,
                                                      QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, &req,
                                                      sizeof req, &resp, sizeof resp, 10000));
  }
}
BENCHMARK(BM_M2mRawWrite500);

void BM_M2mReadByPath500(benchmark::State &state) {
  fresh_modem();
  const int hex_text = static_cast<int>(state.range(0));
  char out[1000];
  uint32_t len = 0;
  for (auto _ : state) benchmark::DoNotOptimize(vorn_m2m_pal_read_nv_by_path(kPath, out, &len, hex_text));
  vorn_m2m_pal_deinit();
}
BENCHMARK(BM_M2mReadByPath500)->ArgName("hex")->Arg(0)->Arg(1);

void BM_M2mWriteByPath500(benchmark::State &state) {
  fresh_modem();
  for (auto _ : state) benchmark::DoNotOptimize(vorn_m2m_pal_write_nv_by_path(kPath, kItem.data(), 500));
  vorn_m2m_pal_deinit();
}
BENCHMARK(BM_M2mWriteByPath500);

}  // namespace
