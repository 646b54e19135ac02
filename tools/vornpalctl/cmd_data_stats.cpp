// The data family's read-only side: traffic counters (once, or followed
// through the report thread), call duration and the bearer. A call lives
// with the run that made it, so each command brings the profile's call up
// first, answers for it and takes it down at the end, as a daemon would.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <vornpal/data.h>

#include "ctl.h"

namespace {

using Clock = std::chrono::steady_clock;

std::mutex stats_mutex;
std::condition_variable stats_changed;
std::vector<vorn_data_statistics> reports;
int calls_up = 0;

void on_stats_event(int id, void *data, int size, void *) {
  std::lock_guard<std::mutex> lock(stats_mutex);
  if (id == VORN_DATA_EVENT_STATISTICS && data != nullptr &&
      size >= static_cast<int>(sizeof(vorn_data_statistics)))
    reports.push_back(*static_cast<const vorn_data_statistics *>(data));
  if (id == VORN_DATA_EVENT_CALL_STATUS && data != nullptr &&
      static_cast<const data_status_event *>(data)->data_state == VORN_DATA_STATE_UP)
    ++calls_up;
  stats_changed.notify_all();
}

// Starts the family and brings the profile's call up; false (with the
// failure shown) when it does not come up.
bool bring_up(const ctl::Args &args, ctl::Output &out, int &cid) {
  long long value = 0;
  if (!ctl::number_arg(args, 0, 1, VORN_DATA_PROFILE_MAX, value)) {
    ctl::fail(out, "PROFILE is 1 to " + std::to_string(VORN_DATA_PROFILE_MAX), 2);
    return false;
  }
  cid = static_cast<int>(value);
  int rc = vorn_data_pal_init();
  if (rc != 0) {
    ctl::fail(out, "the data family did not start", rc);
    return false;
  }
  vorn_data_pal_event_register(on_stats_event, nullptr);
  rc = vorn_data_pal_connect(cid);
  if (rc != 0 && rc != VORN_DATA_ALREADY_CONNECTED) {
    ctl::fail(out, "profile " + std::to_string(cid) + " did not connect", rc);
    return false;
  }
  std::unique_lock<std::mutex> lock(stats_mutex);
  stats_changed.wait_for(lock, std::chrono::seconds(30), [] { return calls_up > 0; });
  return true;
}

int take_down(int cid, int status) {
  vorn_data_pal_disconnect(cid);
  return status;
}

void show_counters(ctl::Output &out, const std::string &prefix, uint64_t tx, uint64_t rx) {
  out.field(prefix + "tx_bytes", static_cast<long long>(tx));
  out.field(prefix + "rx_bytes", static_cast<long long>(rx));
}

int stats(const ctl::Args &args, ctl::Output &out) {
  long long follow = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] != "--follow" || i + 1 >= args.size() || !ctl::parse_number(args[i + 1], follow) || follow < 0)
      return ctl::fail(out, "usage: data stats PROFILE [--follow SECONDS]", 2);
    ++i;
  }
  int cid = 0;
  if (!bring_up(args, out, cid)) return 1;
  static constexpr const char *kFamilies[] = {"ipv4_", "ipv6_"};
  for (int pdp = VORN_DATA_PDP_IPV4; pdp <= VORN_DATA_PDP_IPV6; ++pdp) {
    uint64_t tx = 0, rx = 0;
    if (vorn_data_pal_oper_statistics_by_pdptype(VORN_DATA_STATS_READ, 0, &tx, &rx, pdp) == 0)
      show_counters(out, kFamilies[pdp], tx, rx);
  }
  uint64_t tx = 0, rx = 0;
  const int rc = vorn_data_pal_oper_statistics(VORN_DATA_STATS_READ, 0, &tx, &rx);
  if (rc != 0) return take_down(cid, ctl::fail(out, "the counters could not be read", rc));
  show_counters(out, "", tx, rx);
  if (follow == 0) return take_down(cid, 0);
  // Reports come every 10 s while the counters change.
  out.flush();
  vorn_data_pal_oper_statistics(VORN_DATA_STATS_START, 0, nullptr, nullptr);
  const auto deadline = Clock::now() + std::chrono::seconds(follow);
  size_t shown = 0;
  std::unique_lock<std::mutex> lock(stats_mutex);
  while (stats_changed.wait_until(lock, deadline, [&] { return reports.size() > shown; })) {
    for (; shown < reports.size(); ++shown) {
      char line[96];
      std::snprintf(line, sizeof line, "report tx %llu rx %llu",
                    static_cast<unsigned long long>(reports[shown].tx),
                    static_cast<unsigned long long>(reports[shown].rx));
      out.line(line);
    }
    lock.unlock();
    out.flush();
    lock.lock();
  }
  lock.unlock();
  vorn_data_pal_oper_statistics(VORN_DATA_STATS_STOP, 0, nullptr, nullptr);
  out.field("reports", static_cast<long long>(shown));
  return take_down(cid, 0);
}

int duration(const ctl::Args &args, ctl::Output &out) {
  long long hold = 0;
  if (args.size() == 3 && (args[1] != "--hold" || !ctl::parse_number(args[2], hold) || hold < 0))
    return ctl::fail(out, "usage: data duration PROFILE [--hold SECONDS]", 2);
  int cid = 0;
  if (!bring_up(args, out, cid)) return 1;
  if (hold > 0) std::this_thread::sleep_for(std::chrono::seconds(hold));
  uint64_t seconds = 0;
  const int rc = vorn_data_pal_get_call_duration(cid, &seconds);
  if (rc != 0) return take_down(cid, ctl::fail(out, "no duration", rc));
  out.field("duration_s", static_cast<long long>(seconds));
  out.field("ip_type", vorn_data_pal_is_connected(cid, 0) + 2 * vorn_data_pal_is_connected(cid, 1) - 1);
  return take_down(cid, 0);
}

int bearer(const ctl::Args &args, ctl::Output &out) {
  int cid = 0;
  if (!bring_up(args, out, cid)) return 1;
  uint64_t mask = 0;
  const int rc = vorn_data_pal_get_data_bearer_technology_ex(&mask);
  if (rc != 0) return take_down(cid, ctl::fail(out, "no bearer", rc));
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(mask));
  out.field("so_mask", text);
  uint8_t pdu_id = 0;
  if (vorn_data_pal_get_pdu_connection_session_id(&pdu_id) == 0) out.field("pdu_session_id", pdu_id);
  return take_down(cid, 0);
}

ctl::Registrar reg({
    {"data stats", "PROFILE [--follow SECONDS]",
     "bring a call up and read its traffic counters; follow the 10 s reports for SECONDS", stats,
     "data stats 1 --follow 30"},
    {"data duration", "PROFILE [--hold SECONDS]", "bring a call up and tell how long it has been up", duration,
     "data duration 1 --hold 3"},
    {"data bearer", "PROFILE", "bring a call up and show the bearer's service options and a PDU session id",
     bearer, "data bearer 1"},
});

}  // namespace
