// NV items of 500 bytes through the library against the simulated modem's
// raw round trip of the same messages, side by side (paired.h).
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=M2m
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/qmi.h>
#include <vornsim/sim.h>

#include "paired.h"
#include "quiet_modem.h"

namespace {

constexpr const char kPath[] = "/nv/item_files/bench/item500";
const std::string kItem(500, '\x5A');

// A fresh modem holding the item and keeping no record of requests, a
// started client, quiet logging.
void fresh_modem() {
  vorn_m2m_pal_deinit();
  bench::quiet_modem();
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

  template <class Req, class Resp>
  void send(unsigned msg_id, Req &req) {
    Resp resp;
    benchmark::DoNotOptimize(
        qmi_client_send_msg_sync(client.handle, msg_id, &req, sizeof req, &resp, sizeof resp, 10000));
  }
};

// Reads of the item by path, as raw data or as hex text, against the raw
// read message.
void BM_M2mReadByPath500VsRaw(benchmark::State &state) {
  fresh_modem();
  RawClient raw;
  vorn_m2m_read_nv_item_req_msg_v01 req{};
  std::strcpy(req.item_file_path, kPath);
  const int hex_text = static_cast<int>(state.range(0));
  char out[1000];
  uint32_t len = 0;
  bench::paired(
      state, CLOCK_THREAD_CPUTIME_ID, 64,
      [&] { benchmark::DoNotOptimize(vorn_m2m_pal_read_nv_by_path(kPath, out, &len, hex_text)); },
      [&] {
        raw.send<vorn_m2m_read_nv_item_req_msg_v01, vorn_m2m_read_nv_item_resp_msg_v01>(
            QMI_VORN_M2M_READ_NV_ITEM_REQ_V01, req);
      });
  vorn_m2m_pal_deinit();
}
BENCHMARK(BM_M2mReadByPath500VsRaw)->ArgName("hex")->Arg(0)->Arg(1);

void BM_M2mWriteByPath500VsRaw(benchmark::State &state) {
  fresh_modem();
  RawClient raw;
  vorn_m2m_write_nv_item_req_msg_v01 req{};
  std::strcpy(req.item_file_path, kPath);
  req.data_len = 500;
  std::memcpy(req.data, kItem.data(), 500);
  bench::paired(
      state, CLOCK_THREAD_CPUTIME_ID, 64,
      [&] { benchmark::DoNotOptimize(vorn_m2m_pal_write_nv_by_path(kPath, kItem.data(), 500)); },
      [&] {
        raw.send<vorn_m2m_write_nv_item_req_msg_v01, vorn_m2m_write_nv_item_resp_msg_v01>(
            QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, req);
      });
  vorn_m2m_pal_deinit();
}
BENCHMARK(BM_M2mWriteByPath500VsRaw);

}  // namespace
