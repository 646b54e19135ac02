// Data calls against the simulated modem: from the connect to the daemon's
// event 0, and from a packet-service indication to the callback, the
// event path apart from the interface work it waits for; beside them the
// eventfd hop alone, the way the family passes an event from the
// QMI thread to its event thread.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=Data
#include <benchmark/benchmark.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include <vornpal/data.h>
#include <vornpal/log.h>
#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornsim/sim.h>
#include <vornsim/wds.h>

#include "data/event_word.h"
#include "quiet_modem.h"

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<uint64_t> up_events{0};
std::atomic<uint64_t> down_events{0};
std::atomic<int64_t> arrived_ns{0};

void on_event(int id, void *data, int, void *) {
  if (id != VORN_DATA_EVENT_CALL_STATUS) return;
  arrived_ns.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
  const auto *e = static_cast<const data_status_event *>(data);
  (e->data_state == VORN_DATA_STATE_UP ? up_events : down_events).fetch_add(1, std::memory_order_release);
}

void wait_past(const std::atomic<uint64_t> &counter, uint64_t before) {
  while (counter.load(std::memory_order_acquire) == before) std::this_thread::yield();
}

void fresh_family() {
  vorn_data_pal_deinit();
  bench::quiet_modem();
  vorn_data_pal_init();
  vorn_data_pal_event_register(on_event, nullptr);
  data_profile_settings s{};
  std::snprintf(s.apn, sizeof s.apn, "%s", "internet");
  s.pdp_type = VORN_DATA_PDP_IPV4;
  vorn_data_pal_write_connect_setting(3, &s);
}

// vorn_data_pal_connect until event 0 says the call is up; the tear-down
// between rounds is not timed.
void BM_DataConnectToEvent(benchmark::State &state) {
  fresh_family();
  std::vector<double> ms;
  for (auto _ : state) {
    const uint64_t before = up_events.load();
    auto start = Clock::now();
    benchmark::DoNotOptimize(vorn_data_pal_connect(3));
    wait_past(up_events, before);
    ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    state.PauseTiming();
    const uint64_t down = down_events.load();
    vorn_data_pal_disconnect(3);
    wait_past(down_events, down);
    state.ResumeTiming();
  }
  std::sort(ms.begin(), ms.end());
  state.counters["p50_ms"] = ms[ms.size() / 2];
  state.counters["max_ms"] = ms.back();
  vorn_data_pal_deinit();
}
BENCHMARK(BM_DataConnectToEvent)->Iterations(20)->Unit(benchmark::kMillisecond);

// When the sink got the family's lines for the last indication: the event
// thread's read of the word, and the end of its wait for the interface.
struct Marks {
  int64_t taken_ns = 0;
  int64_t waited_ns = 0;
};

Marks marks() {
  Marks m;
  for (const vornsim::DiagLine &line : vornsim::diag_lines()) {
    if (line.text.rfind("high_bits:0x", 0) == 0) m.taken_ns = line.steady_ns;
    if (line.text.rfind("line_buf=", 0) == 0) m.waited_ns = line.steady_ns;
  }
  return m;
}

double percentile(std::vector<double> &values, int p) {
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1, values.size() * static_cast<size_t>(p) / 100)];
}

// A connected report for the call that is up, one at a time: the QMI
// callback, the word, the event thread (the run-time settings and the probe
// of the interface) and the daemon's callback. The event path is the time
// of all that but the interface work, which the family's own log lines
// bound: from the indication to the event thread's read of the word, and
// from the end of the wait for the interface to the callback. The interface
// work (a request to the modem and a shell probe) is given apart, and so is
// the whole.
void BM_DataIndicationToCallback(benchmark::State &state) {
  fresh_family();
  const uint64_t before_up = up_events.load();
  vorn_data_pal_connect(3);
  wait_past(up_events, before_up);
  vornsim::wds::settle_links();
  // The lines that bound the interface work are debug lines.
  vorn_set_log_level(0);
  vornsim::set_diag_record(true);
  wds_pkt_srvc_status_ind_msg_v01 ind{};
  ind.status.connection_status = WDS_CONNECTION_STATUS_CONNECTED_V01;
  ind.ip_family_valid = 1;
  ind.ip_family = WDS_IP_FAMILY_IPV4_V01;
  const int indications = static_cast<int>(state.range(0));
  std::vector<double> event_us, interface_ms, whole_ms;
  for (auto _ : state) {
    for (int i = 0; i < indications; ++i) {
      vornsim::clear_diag();
      const uint64_t before = up_events.load(std::memory_order_acquire);
      const int64_t sent_ns = Clock::now().time_since_epoch().count();
      vornsim::indicate(vornsim::Svc::WDS, QMI_WDS_PKT_SRVC_STATUS_IND_V01, ind);
      wait_past(up_events, before);
      const int64_t arrived = arrived_ns.load(std::memory_order_relaxed);
      const Marks m = marks();
      if (m.taken_ns == 0 || m.waited_ns == 0) {
        state.SkipWithError("the family's lines are missing");
        return;
      }
      event_us.push_back(static_cast<double>((m.taken_ns - sent_ns) + (arrived - m.waited_ns)) / 1e3);
      interface_ms.push_back(static_cast<double>(m.waited_ns - m.taken_ns) / 1e6);
      whole_ms.push_back(static_cast<double>(arrived - sent_ns) / 1e6);
    }
  }
  state.counters["event_p50_us"] = percentile(event_us, 50);
  state.counters["event_p99_us"] = percentile(event_us, 99);
  state.counters["interface_p50_ms"] = percentile(interface_ms, 50);
  state.counters["interface_p99_ms"] = percentile(interface_ms, 99);
  state.counters["whole_p50_ms"] = percentile(whole_ms, 50);
  state.counters["whole_p99_ms"] = percentile(whole_ms, 99);
  vorn_set_log_level(1);
  vornsim::set_diag_record(false);
  vorn_data_pal_disconnect(3);
  vorn_data_pal_deinit();
}
BENCHMARK(BM_DataIndicationToCallback)->Arg(1000)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);

// The hop alone: a record named by a word, written to a blocking eventfd
// and taken back by a thread in read().
void BM_DataEventWordHop(benchmark::State &state) {
  namespace data = vorn::data;
  const int fd = eventfd(0, 0);
  std::atomic<bool> stop{false};
  std::atomic<int64_t> taken_ns{0};
  std::atomic<uint64_t> taken{0};
  std::thread reader([&] {
    for (;;) {
      uint64_t word = 0;
      if (read(fd, &word, sizeof word) != sizeof word) return;
      if (data::high_of(word) == data::EVENT_EXIT) return;
      std::free(data::RecordHalf::record(data::low_of(word)));
      taken_ns.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
      taken.fetch_add(1, std::memory_order_release);
    }
  });
  std::vector<double> latencies_us;
  for (auto _ : state) {
    auto *record = static_cast<data_status_event *>(std::calloc(1, sizeof(data_status_event)));
    const uint64_t before = taken.load(std::memory_order_acquire);
    auto sent = Clock::now();
    uint64_t word = data::word_of(data::EVENT_IPV4_CONNECTED, data::RecordHalf::of(record));
    benchmark::DoNotOptimize(write(fd, &word, sizeof word));
    while (taken.load(std::memory_order_acquire) == before) std::this_thread::yield();
    latencies_us.push_back(
        static_cast<double>(taken_ns.load(std::memory_order_relaxed) - sent.time_since_epoch().count()) / 1000.0);
  }
  uint64_t exit_word = data::word_of(data::EVENT_EXIT, 0);
  benchmark::DoNotOptimize(write(fd, &exit_word, sizeof exit_word));
  reader.join();
  close(fd);
  std::sort(latencies_us.begin(), latencies_us.end());
  state.counters["p50_us"] = latencies_us[latencies_us.size() / 2];
  state.counters["p99_us"] = latencies_us[latencies_us.size() * 99 / 100];
}
BENCHMARK(BM_DataEventWordHop)->Iterations(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
