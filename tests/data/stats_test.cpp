// Traffic counters of a call that carries bytes on the simulated modem, and
// the report thread "stats_cb" that a daemon starts and stops.
#include <dirent.h>

#include <fstream>

#include <vornsim/wds_stats.h>

#include "data_test.h"
#include "message_rows.h"

namespace datat {
namespace {

constexpr unsigned kStatsMsg = QMI_WDS_GET_PKT_STATISTICS_REQ_V01;

// Threads of this process that carry the name.
int threads_named(const std::string &name) {
  DIR *tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return -1;
  int found = 0;
  while (dirent *entry = readdir(tasks)) {
    if (entry->d_name[0] == '.') continue;
    std::ifstream comm(std::string("/proc/self/task/") + entry->d_name + "/comm");
    std::string text;
    std::getline(comm, text);
    if (text == name) ++found;
  }
  closedir(tasks);
  return found;
}

class Statistics : public DataTest {
 protected:
  static void connect_both_families() {
    data_profile_settings dual = profile("internet", VORN_DATA_PDP_IPV4V6);
    ASSERT_EQ(vorn_data_pal_write_connect_setting(1, &dual), 0);
    ASSERT_EQ(vorn_data_pal_connect(1), 0);
    ASSERT_TRUE(wait_call(1, 0, VORN_DATA_STATE_UP));
    ASSERT_TRUE(wait_call(1, 1, VORN_DATA_STATE_UP));
  }
};

TEST_F(Statistics, CountersOfEachFamilyAndBoth) {
  // No session: the modem counts nothing it is handed.
  EXPECT_FALSE(vornsim::wds::push_traffic(4, 1000, 1000));
  connect_both_families();
  ASSERT_TRUE(vornsim::wds::push_traffic(4, 3000, 700000));
  ASSERT_TRUE(vornsim::wds::push_traffic(6, 500, 90000));
  forget();

  uint64_t tx = 1, rx = 1;
  ASSERT_EQ(vorn_data_pal_oper_statistics_by_pdptype(0, 60, &tx, &rx, VORN_DATA_PDP_IPV4), 0);
  EXPECT_EQ(tx, 3000u);
  EXPECT_EQ(rx, 700000u);
  auto reqs = vornsim::requests(kWds, kStatsMsg);
  ASSERT_EQ(reqs.size(), 1u);
  EXPECT_EQ(reqs[0].as<wds_get_pkt_statistics_req_msg_v01>().stats_mask, 963u);
  EXPECT_EQ(reqs[0].bytes.size(), 4u);
  EXPECT_EQ(reqs[0].timeout_ms, 10000u);
  EXPECT_TRUE(vt::logged("v4 ip tx:3000, ip rx:700000, period:60\n"));

  ASSERT_EQ(vorn_data_pal_oper_statistics_by_pdptype(0, 0, &tx, &rx, VORN_DATA_PDP_IPV6), 0);
  EXPECT_EQ(tx, 500u);
  EXPECT_EQ(rx, 90000u);

  // Both families added up, IPv4 asked first.
  forget();
  ASSERT_EQ(vorn_data_pal_oper_statistics(0, 86400, &tx, &rx), 0);
  EXPECT_EQ(tx, 3500u);
  EXPECT_EQ(rx, 790000u);
  EXPECT_EQ(count(kStatsMsg), 2u);
  EXPECT_TRUE(vt::logged("get usage data for ipv4v6\n"));
  EXPECT_TRUE(vt::logged("ip tx:3500, ip rx:790000, period:86400\n"));

  // A failed IPv6 read leaves the IPv4 numbers; a failed IPv4 read fails.
  vornsim::refuse_next(kWds, kStatsMsg, vornsim::kInternalError, 1);
  ASSERT_EQ(vorn_data_pal_oper_statistics(0, 0, &tx, &rx), -1);
  vornsim::clear_requests();
  ASSERT_EQ(vorn_data_pal_oper_statistics(0, 0, &tx, &rx), 0);
  EXPECT_EQ(count(kStatsMsg), 2u);
  vornsim::clear_requests();
  vornsim::fail_next(kWds, kStatsMsg);
  ASSERT_EQ(vorn_data_pal_oper_statistics(0, 0, &tx, &rx), -1);
  EXPECT_EQ(count(kStatsMsg), 1u);  // the IPv6 read is not tried

  // Bad arguments are refused before anything is asked, and clear nothing
  // they may not touch.
  vornsim::clear_requests();
  tx = rx = 7;
  EXPECT_EQ(vorn_data_pal_oper_statistics(0, 86401, &tx, &rx), -1);
  EXPECT_EQ(tx, 7u);
  EXPECT_EQ(vorn_data_pal_oper_statistics(0, 0, nullptr, &rx), -1);
  EXPECT_EQ(vorn_data_pal_oper_statistics(0, 0, &tx, nullptr), -1);
  EXPECT_EQ(vorn_data_pal_oper_statistics(7, 0, nullptr, nullptr), 0);
  // A PDP type the modem does not count: zero, nothing asked.
  EXPECT_EQ(vorn_data_pal_oper_statistics_by_pdptype(0, 0, &tx, &rx, VORN_DATA_PDP_PPP), 0);
  EXPECT_EQ(tx, 0u);
  EXPECT_EQ(rx, 0u);
  EXPECT_EQ(count(kStatsMsg), 0u);
}

TEST_F(Statistics, ReadSendsItsMessage) {
  uint64_t tx = 0, rx = 0;
  vt::expect_messages(kWds, {vt::row<data::GetPktStatistics>(
                                "vorn_data_pal_oper_statistics_by_pdptype",
                                [&] { return vorn_data_pal_oper_statistics_by_pdptype(0, 0, &tx, &rx, 0); },
                                4, 136, 10000)});
}

TEST_F(Statistics, ReportsChangesOnItsOwnThread) {
  connect_both_families();
  ASSERT_TRUE(vornsim::wds::push_traffic(4, 1200, 34000));
  forget();

  ASSERT_EQ(vorn_data_pal_oper_statistics(1, 0, nullptr, nullptr), 0);
  // A second start keeps the one thread.
  ASSERT_EQ(vorn_data_pal_oper_statistics(1, 0, nullptr, nullptr), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_STATISTICS, 1));
  EXPECT_EQ(threads_named("stats_cb"), 1);
  Event first = Collector::instance().of(VORN_DATA_EVENT_STATISTICS).at(0);
  EXPECT_EQ(first.thread, "stats_cb");
  ASSERT_EQ(first.data.size(), sizeof(vorn_data_statistics));
  vorn_data_statistics counters{};
  std::memcpy(&counters, first.data.data(), sizeof counters);
  EXPECT_EQ(counters.tx, 1200u);
  EXPECT_EQ(counters.rx, 34000u);

  // Counters that stay put make no event: let the thread read them twice
  // more, then look.
  const size_t reads = count(kStatsMsg);
  ASSERT_TRUE(vt::eventually([&] { return count(kStatsMsg) >= reads + 4; }));
  EXPECT_EQ(Collector::instance().of(VORN_DATA_EVENT_STATISTICS).size(), 1u);

  // A change is reported with both families.
  ASSERT_TRUE(vornsim::wds::push_traffic(6, 100, 200));
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_STATISTICS, 2));
  std::memcpy(&counters, Collector::instance().of(VORN_DATA_EVENT_STATISTICS).at(1).data.data(),
              sizeof counters);
  EXPECT_EQ(counters.tx, 1300u);
  EXPECT_EQ(counters.rx, 34200u);

  // A failed read is logged and the thread goes on.
  vornsim::refuse_next(kWds, kStatsMsg, vornsim::kInternalError, 1);
  ASSERT_TRUE(vt::eventually([] { return vt::logged("read statistics failed ret:-1\n"); }));
  ASSERT_TRUE(vornsim::wds::push_traffic(4, 1, 1));
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_STATISTICS, 3));

  // Stopped, the thread is gone within a period (100 ms on the test clock).
  ASSERT_EQ(vorn_data_pal_oper_statistics(2, 0, nullptr, nullptr), 0);
  ASSERT_TRUE(vt::eventually([] { return threads_named("stats_cb") == 0; }));
}

TEST_F(Statistics, StartStopCyclesLeaveNoThread) {
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(vorn_data_pal_oper_statistics(1, 0, nullptr, nullptr), 0);
    EXPECT_LE(threads_named("stats_cb"), 1);
    ASSERT_EQ(vorn_data_pal_oper_statistics(2, 0, nullptr, nullptr), 0);
  }
  ASSERT_TRUE(vt::eventually([] { return threads_named("stats_cb") == 0; }));
  // A start after the stop made the old thread end still gets a report.
  ASSERT_EQ(vorn_data_pal_oper_statistics(2, 0, nullptr, nullptr), 0);
  ASSERT_EQ(vorn_data_pal_oper_statistics(1, 0, nullptr, nullptr), 0);
  connect_both_families();
  ASSERT_TRUE(vornsim::wds::push_traffic(4, 10, 10));
  ASSERT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_STATISTICS, 1));
  ASSERT_EQ(vorn_data_pal_oper_statistics(2, 0, nullptr, nullptr), 0);
  ASSERT_TRUE(vt::eventually([] { return threads_named("stats_cb") == 0; }));
}

}  // namespace
}  // namespace datat
