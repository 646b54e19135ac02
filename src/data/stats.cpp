// Traffic counters of the default profile's calls, read from the modem on
// each request (no sum is kept here), and the thread "stats_cb" that
// reports them as event 1 while they change.
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/select.h>

#include <cstdlib>
#include <mutex>

#include <vornpal/data.h>

#include "data/state.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"

namespace vorn::data {
namespace {

constexpr uint64_t kReportPeriodUs = 10ull * 1000 * 1000;
constexpr size_t kStatsStack = 0x20000;

struct Counters {
  uint64_t tx = 0;
  uint64_t rx = 0;
};

// One request on the client of the family; the client is released behind
// it, as the report thread would otherwise hold it for the life of the call.
bool read_family(uint32_t pdp_type, Counters &out) {
  qmi_client_type client = mdc_qmi_GetWdsClientByPdptype(pdp_type);
  if (client == nullptr) {
    VORN_LOG(VORN_ERR, "wdsClient is invalid\r\n");
    return false;
  }
  wds_get_pkt_statistics_req_msg_v01 req{kStatsMask};
  wds_get_pkt_statistics_resp_msg_v01 resp{};
  const bool ok = qmi::send_on<GetPktStatistics>(client, req, resp).verdict == 0;
  mdc_qmi_ReleaseWdsClient(client);
  if (!ok) return false;
  if (resp.tx_ok_bytes_count_valid == 1) out.tx = resp.tx_ok_bytes_count;
  if (resp.rx_ok_bytes_count_valid == 1) out.rx = resp.rx_ok_bytes_count;
  return true;
}

int read_counters(int pdp_type, uint32_t period, Counters &total) {
  if (pdp_type < VORN_DATA_PDP_IPV4 || pdp_type > VORN_DATA_PDP_IPV4V6) {
    // Counters of a PPP call are not kept by the modem: nothing to ask.
    DefaultClient client;
    if (!client.usable()) return VORN_FAILURE;
    return VORN_OK;
  }
  if (pdp_type == VORN_DATA_PDP_IPV4V6) VORN_LOG(VORN_DBUG, "get usage data for ipv4v6\n");
  const uint32_t first = pdp_type == VORN_DATA_PDP_IPV6 ? 1 : 0;
  if (!read_family(first, total)) return VORN_FAILURE;
  const char *first_name = first == 0 ? "v4" : "v6";
  VORN_LOG(VORN_INFO, "read statis_%s ok.\n", first_name);
  VORN_LOG(VORN_INFO, "%s ip tx:%d, ip rx:%d, period:%d\n", first_name,
           static_cast<int>(total.tx), static_cast<int>(total.rx), static_cast<int>(period));
  if (pdp_type == VORN_DATA_PDP_IPV4V6) {
    Counters v6;
    // A failed IPv6 read leaves the IPv4 numbers as the answer.
    if (read_family(1, v6)) {
      VORN_LOG(VORN_INFO, "read statis_v6 ok.\n");
      VORN_LOG(VORN_INFO, "v6 ip tx:%d, ip rx:%d, period:%d\n", static_cast<int>(v6.tx),
               static_cast<int>(v6.rx), static_cast<int>(period));
      total.tx += v6.tx;
      total.rx += v6.rx;
    }
  }
  VORN_LOG(VORN_INFO, "ip tx:%d, ip rx:%d, period:%d\n", static_cast<int>(total.tx),
           static_cast<int>(total.rx), static_cast<int>(period));
  return VORN_OK;
}

// ---- the report thread -------------------------------------------------------

std::mutex stats_mutex;
bool stats_run = false;       // guarded by stats_mutex
bool stats_running = false;   // a thread exists; guarded by stats_mutex

// The thread decides to end under the mutex, so that a start that comes
// while it sleeps its last period keeps it rather than being lost.
bool keep_running() {
  std::lock_guard<std::mutex> lock(stats_mutex);
  if (stats_run) return true;
  stats_running = false;
  return false;
}

void wait_one_period() {
  const uint64_t us = clk::scaled_us(kReportPeriodUs);
  timeval tv{static_cast<time_t>(us / 1000000), static_cast<suseconds_t>(us % 1000000)};
  select(0, nullptr, nullptr, nullptr, &tv);
}

void report(const Counters &now) {
  auto *block = static_cast<vorn_data_statistics *>(std::malloc(sizeof(vorn_data_statistics)));
  if (block != nullptr) *block = {now.tx, now.rx};
  vorn_data_pal_ind_notify(VORN_DATA_EVENT_STATISTICS, block, sizeof(vorn_data_statistics));
}

void *vorn_statistics_cb_hander(void *) {
  prctl(PR_SET_NAME, "stats_cb", 0, 0, 0);
  Counters last;
  for (;;) {
    wait_one_period();
    if (!keep_running()) return nullptr;
    Counters now;
    const int ret = vorn_data_pal_oper_statistics(VORN_DATA_STATS_READ, 0, &now.tx, &now.rx);
    if (ret != 0) {
      VORN_LOG(VORN_ERR, "read statistics failed ret:%d\n", ret);
      continue;
    }
    if (now.tx == last.tx && now.rx == last.rx) continue;
    report(now);
    last = now;
  }
}

void vorn_statistics_thread_create() {
  std::lock_guard<std::mutex> lock(stats_mutex);
  stats_run = true;
  if (stats_running) return;
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) {
    VORN_LOG(VORN_ERR, "stats thread attribute init failed\n");
    stats_run = false;
    return;
  }
  if (pthread_attr_setstacksize(&attr, kStatsStack) != 0)
    VORN_LOG(VORN_ERR, "stats thread set stack size failed\n");
  if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) != 0)
    VORN_LOG(VORN_ERR, "stats thread set detach state failed\n");
  pthread_t thread;
  const int rc = pthread_create(&thread, &attr, vorn_statistics_cb_hander, nullptr);
  pthread_attr_destroy(&attr);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "create stats thread failed:%d\n", rc);
    stats_run = false;
    return;
  }
  stats_running = true;
}

void stop_statistics() {
  std::lock_guard<std::mutex> lock(stats_mutex);
  stats_run = false;
}

}  // namespace
}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API int vorn_data_pal_oper_statistics_by_pdptype(int oper_type, uint32_t period,
                                                         uint64_t *tx, uint64_t *rx,
                                                         int pdp_type) {
  VORN_LOG(VORN_DBUG, "Enter oem_data_pal_oper_statistics_by_pdptype\n");
  if ((oper_type == VORN_DATA_STATS_READ && (tx == nullptr || rx == nullptr)) ||
      period > VORN_DATA_STATS_PERIOD_MAX)
    return VORN_FAILURE;
  if (tx != nullptr) *tx = 0;
  if (rx != nullptr) *rx = 0;
  VORN_LOG(VORN_DBUG, "oper_type: %d, pdp type: %d\n", oper_type, pdp_type);
  switch (oper_type) {
    case VORN_DATA_STATS_READ: {
      data::Counters total;
      const int rc = data::read_counters(pdp_type, period, total);
      if (rc != VORN_OK) return rc;
      *tx = total.tx;
      *rx = total.rx;
      return VORN_OK;
    }
    case VORN_DATA_STATS_START:
      data::vorn_statistics_thread_create();
      return VORN_OK;
    case VORN_DATA_STATS_STOP:
      data::stop_statistics();
      return VORN_OK;
    default:
      return VORN_OK;
  }
}

VORNPAL_API int vorn_data_pal_oper_statistics(int oper_type, uint32_t period, uint64_t *tx,
                                              uint64_t *rx) {
  return vorn_data_pal_oper_statistics_by_pdptype(oper_type, period, tx, rx,
                                                  VORN_DATA_PDP_IPV4V6);
}

}  // extern "C"
