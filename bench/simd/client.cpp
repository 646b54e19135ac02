// simd_bench_client THREADS REQUESTS: round trips of a cheap request (DMS
// GetMsisdn) on one client shared by THREADS threads, REQUESTS each, on the
// modem of this process, or on vornsimd's when VORNSIM_SOCKET names it.
// Prints "<p50 ns> <p99 ns> <requests per second>".
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/qmi_client.h>
#include <vornsim/sim.h>

extern "C" qmi_idl_service_object_type dms_get_service_object_internal_v01(int32_t, int32_t, int32_t);

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  const int threads = std::atoi(argv[1]);
  const int each = std::atoi(argv[2]);
  if (threads < 1 || each < 1) return 2;
  vornsim::reset();
  vornsim::set_request_record(0);
  qmi_client_type client = nullptr;
  qmi_client_os_params os{};
  if (qmi_client_init_instance(dms_get_service_object_internal_v01(1, 1, 6), QMI_CLIENT_INSTANCE_ANY, nullptr,
                               nullptr, &os, 5000, &client) != QMI_NO_ERR)
    return 1;
  std::vector<std::vector<int64_t>> latencies(static_cast<size_t>(threads));
  std::vector<std::thread> workers;
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  for (int t = 0; t < threads; ++t)
    workers.emplace_back([&, t] {
      auto &mine = latencies[static_cast<size_t>(t)];
      mine.reserve(static_cast<size_t>(each));
      for (int i = 0; i < each; ++i) {
        dms_get_msisdn_resp_msg_v01 resp;
        const auto sent = Clock::now();
        if (qmi_client_send_msg_sync(client, QMI_DMS_GET_MSISDN_REQ_V01, nullptr, 0, &resp, sizeof resp,
                                     5000) != QMI_NO_ERR)
          std::abort();
        mine.push_back(std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - sent).count());
      }
    });
  for (auto &w : workers) w.join();
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::vector<int64_t> all;
  for (auto &l : latencies) all.insert(all.end(), l.begin(), l.end());
  std::sort(all.begin(), all.end());
  qmi_client_release(client);
  std::printf("%lld %lld %.0f\n", static_cast<long long>(all[all.size() / 2]),
              static_cast<long long>(all[all.size() * 99 / 100]), static_cast<double>(all.size()) / seconds);
  return 0;
}
