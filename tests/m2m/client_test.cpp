// The process-wide client: its start, lazy start from many threads, the
// wait for a service that is late or never comes, init and deinit, and the
// four guards and three judgements of the request pattern.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <chrono>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

#include "m2m_test.h"

namespace {

using namespace m2mt;
using namespace std::chrono_literals;

class M2mClient : public M2mTest {};

int m2m_accessor_calls() {
  int calls = 0;
  for (const auto &call : vornsim::counters().accessor_calls) calls += call == "M2M 1.1.6";
  return calls;
}

TEST_F(M2mClient, EarlyInitMakesOneClientAndSwitchesOnEveryReport) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  EXPECT_EQ(vornsim::counters().clients_live, 1);
  EXPECT_EQ(vornsim::counters().notifiers_live, 0);
  EXPECT_EQ(m2m_accessor_calls(), 1);
  EXPECT_EQ(vornsim::counters().signal_waits, std::vector<unsigned>{}) << "the service was up";
  EXPECT_TRUE(vt::logged("!!!oem_m2m_get_service_object_v01 OK.!!!\n"));
  auto reports = vornsim::requests(kM2m, QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].bytes, std::vector<uint8_t>(22, 1));
  EXPECT_EQ(reports[0].timeout_ms, 3000u);

  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  EXPECT_TRUE(vt::logged("oem m2m qmi already init.\n"));
  EXPECT_EQ(vornsim::counters().clients_live, 1);
  EXPECT_EQ(vorn_m2m_event_report_register(), 0);

  vornsim::refuse_next(kM2m, QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01, 1, vornsim::kAll);
  EXPECT_EQ(vorn_m2m_event_report_register(), -1);
  EXPECT_TRUE(vt::logged("qmi_m2m_event_report_register fail\r\n"));
}

TEST_F(M2mClient, IndicationsReachTheHandlerOnceReportsAreOn) {
  vorn_qmi_client probe{};
  probe.service_object = vorn_m2m_get_service_object_internal_v01(1, 1, 6);
  ASSERT_EQ(vorn_qmi_register(&probe, 1), 0);
  vorn_m2m_rmnet_action_req_msg_v01 start{1, 1, 1, 3, 1, 3, 1, 2};
  vorn_m2m_rmnet_action_resp_msg_v01 resp{};
  ASSERT_EQ(qmi_client_send_msg_sync(probe.handle, QMI_VORN_M2M_RMNET_ACTION_REQ_V01, &start,
                                     sizeof start, &resp, sizeof resp, 3000), 0);
  vornsim::drain();
  EXPECT_FALSE(vt::logged("receive msg_id=6, size=168\n")) << "no client, no reports yet";

  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  ASSERT_EQ(qmi_client_send_msg_sync(probe.handle, QMI_VORN_M2M_RMNET_ACTION_REQ_V01, &start,
                                     sizeof start, &resp, sizeof resp, 3000), 0);
  vornsim::drain();
  EXPECT_TRUE(vt::logged("receive msg_id=6, size=168\n"));
  uint32_t active = 0;
  ASSERT_EQ(vorn_m2m_pal_get_rmnet_active(&active), 0);
  EXPECT_EQ(active, 1u);
  uint8_t profile_active = 0;
  ASSERT_EQ(vorn_m2m_pal_get_profile_active(3, &profile_active), 0);
  EXPECT_EQ(profile_active, 1);
  vorn_qmi_unregister(&probe);
}

TEST_F(M2mClient, FailedStartsLeaveNoClient) {
  EXPECT_EQ(vorn_m2m_event_report_register(), -1) << "no client";
  vornsim::set_service_object_missing(kM2m, true);
  EXPECT_EQ(vorn_m2m_pal_early_init(), -1);
  EXPECT_TRUE(vt::logged("Error, get oem serivce object failed2.\n"));
  EXPECT_EQ(vorn_m2m_pal_deinit(), -1) << "the record was freed";
  EXPECT_EQ(vornsim::counters().clients_live, 0);
  vornsim::set_service_object_missing(kM2m, false);
  EXPECT_EQ(vorn_m2m_pal_early_init(), 0) << "the next call starts afresh";
}

// The init-done flag lives as long as the process and is never cleared, so
// the scenario runs in a process of its own, whatever ran before.
void init_scenario() {
  std::string failures;
  auto check = [&](bool ok, const char *what) {
    if (!ok) failures += std::string(what) + "\n";
  };
  check(vorn_m2m_pal_init() == 0, "first init gives 0");
  check(vornsim::counters().clients_live == 1, "first init starts the client");
  vornsim::clear_requests();
  check(vorn_m2m_pal_init() == 0, "second init gives 0");
  bool only_restore = true;
  for (const auto &req : vornsim::requests())
    only_restore &= req.msg_id == QMI_VORN_M2M_IMEI_REQ_V01 || req.msg_id == QMI_VORN_M2M_GET_SN_REQ_V01;
  check(only_restore && vornsim::counters().clients_live == 1,
        "the second init starts nothing, it only runs the identity restore");

  check(vorn_m2m_pal_deinit() == 0, "deinit gives 0");
  check(vornsim::counters().clients_live == 0, "deinit releases the client");
  check(vorn_m2m_pal_deinit() == -1, "a second deinit gives -1");

  check(vorn_m2m_pal_init() == 0, "init after deinit gives 0");
  check(vornsim::counters().clients_live == 1,
        "init after deinit starts nothing itself, the restore's lazy start brings the client back");
  uint8_t cfun = 0;
  check(vorn_m2m_pal_get_cfun_mode(&cfun) == 0, "the client works");
  check(vornsim::counters().clients_live == 1, "one client again");
  std::fputs(failures.c_str(), stderr);
  std::fflush(stderr);
  std::_Exit(failures.empty() ? 0 : 1);
}

TEST_F(M2mClient, InitStartsOnceAndDeinitKeepsTheFlag) {
  VT_NEEDS_FRESH_PROCESS();
  EXPECT_EXIT(init_scenario(), ::testing::ExitedWithCode(0), "");
}

void count_event(int, void *, int, void *user_data) { ++*static_cast<int *>(user_data); }

TEST_F(M2mClient, EventCallbacksGoThroughTheRegistry) {
  int calls = 0;
  EXPECT_EQ(vorn_m2m_pal_event_register(nullptr, &calls), 3);
  EXPECT_EQ(vorn_m2m_pal_event_unregister(nullptr), 3);
  EXPECT_EQ(vorn_m2m_pal_event_register(count_event, &calls), 0);
  EXPECT_EQ(vorn_m2m_pal_event_unregister(count_event), 0);
  EXPECT_EQ(vorn_m2m_pal_event_unregister(count_event), 0);
}

TEST_F(M2mClient, ConcurrentLazyStartsMakeOneClient) {
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/shared", "abc", 3), 0);
  ASSERT_EQ(vorn_m2m_pal_deinit(), 0);
  vornsim::clear_requests();
  int accessor_calls_before = m2m_accessor_calls();
  vornsim::service_up_after(kM2m, 20000);  // 200 ms at the tests' time scale

  constexpr int kThreads = 8;
  std::atomic<int> started{0};
  std::vector<std::future<std::pair<int, std::string>>> calls;
  for (int i = 0; i < kThreads; ++i) {
    calls.push_back(std::async(std::launch::async, [&] {
      ++started;
      while (started < kThreads) std::this_thread::yield();
      char out[8] = {};
      uint32_t len = 0;
      int rc = vorn_m2m_pal_read_nv_by_path("/nv/item_files/shared", out, &len, 0);
      return std::make_pair(rc, std::string(out, len));
    }));
  }
  for (auto &call : calls) EXPECT_EQ(call.get(), std::make_pair(0, std::string("abc")));
  EXPECT_EQ(vornsim::counters().clients_live, 1);
  EXPECT_EQ(m2m_accessor_calls() - accessor_calls_before, 1);
  EXPECT_EQ(count(QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01), 1u);
  EXPECT_EQ(count(QMI_VORN_M2M_READ_NV_ITEM_REQ_V01), static_cast<size_t>(kThreads));
}

TEST_F(M2mClient, AServiceThatNeverComesBlocksEveryStarter) {
  vornsim::set_service_up(kM2m, false);
  auto start = std::async(std::launch::async, [] { return vorn_m2m_pal_early_init(); });
  auto lazy = std::async(std::launch::async, [] {
    uint8_t cfun = 0;
    return vorn_m2m_pal_get_cfun_mode(&cfun);
  });
  // Thirty seconds at the tests' time scale.
  EXPECT_EQ(start.wait_for(300ms), std::future_status::timeout);
  EXPECT_EQ(lazy.wait_for(0s), std::future_status::timeout);
  auto waits = vornsim::counters().signal_waits;
  ASSERT_FALSE(waits.empty());
  for (unsigned timeout : waits) EXPECT_EQ(timeout, 0u) << "waits without a limit";

  vornsim::set_service_up(kM2m, true);
  EXPECT_EQ(start.get(), 0);
  EXPECT_EQ(lazy.get(), 0);
  EXPECT_EQ(vornsim::counters().clients_live, 1);
}

// With a start that fails, each guard shows itself: what starts, what is
// sent, what comes back.
TEST_F(M2mClient, GuardsWhenTheClientCannotStart) {
  vornsim::set_service_object_missing(kM2m, true);
  char path_out[8];
  uint32_t len = 0;
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_path("/a", path_out, &len, 0), -1) << "lazy start";
  EXPECT_EQ(m2m_accessor_calls(), 1);
  EXPECT_FALSE(vt::logged(
      "Sending QMI_VORN_M2M_READ_NV_ITEM_REQ_V01 failed: rc=-18 (x), resp.result=0.[0x00], "
      "resp.error=0.[0x00]\n"))
      << "nothing was sent";

  char model[32];
  EXPECT_EQ(vorn_m2m_pal_get_model(model), -1) << "lazy start without a second look";
  EXPECT_EQ(m2m_accessor_calls(), 2);
  EXPECT_TRUE(vt::logged(
      "Sending QMI_VORN_M2M_MODEL_NAME_REQ_V01 failed: rc=-18 (x), resp.result=0.[0x00], "
      "resp.error=0.[0x00]\n"))
      << "sent on the empty handle regardless";

  uint32_t sinr[4];
  EXPECT_EQ(vorn_m2m_pal_get_ant_sinr(sinr), -1) << "fail at once";
  EXPECT_TRUE(vt::logged("QMI handle invalid\n"));
  const uint8_t byte = 1;
  EXPECT_EQ(vorn_m2m_pal_write_nv_by_nvid(1, 1, &byte, 1), -1);
  EXPECT_EQ(m2m_accessor_calls(), 2) << "no start tried";

  EXPECT_EQ(vorn_m2m_pal_efs_rename("/a", "/b"), QMI_CLIENT_INVALID_CLNT) << "no guard";
  EXPECT_TRUE(vt::logged("EFS file rename failed! qmi_err:-18\n"));
  EXPECT_EQ(m2m_accessor_calls(), 2);
  EXPECT_EQ(vorn_m2m_pal_scan_celllock(), -1) << "starts the client itself";
  EXPECT_EQ(m2m_accessor_calls(), 3);
}

TEST_F(M2mClient, ThreeJudgementsOfARefusal) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);

  vornsim::refuse_next(kM2m, QMI_VORN_M2M_GET_CFUN_REQ_V01, QMI_ERR_INTERNAL_V01);
  uint8_t cfun = 9;
  EXPECT_EQ(vorn_m2m_pal_get_cfun_mode(&cfun), -1) << "checked";
  EXPECT_EQ(cfun, 9);

  vornsim::refuse_next(kM2m, QMI_VORN_M2M_SET_UE_MODE_REQ_V01, QMI_ERR_INTERNAL_V01);
  EXPECT_EQ(vorn_m2m_pal_set_ue_mode(2), 0) << "transport only: a refusal is success";
  vornsim::fail_next(kM2m, QMI_VORN_M2M_SET_UE_MODE_REQ_V01, QMI_TIMEOUT_ERR);
  EXPECT_EQ(vorn_m2m_pal_set_ue_mode(2), QMI_TIMEOUT_ERR);
  uint8_t mode = 0xEE;
  EXPECT_EQ(vorn_m2m_pal_set_ue_mode(1), 0);
  EXPECT_EQ(vorn_m2m_pal_set_ue_mode(7), 0) << "refused by the modem, unseen";
  EXPECT_EQ(vorn_m2m_pal_get_ue_mode(&mode), 0);
  EXPECT_EQ(mode, 1);

  vornsim::refuse_next(kM2m, QMI_VORN_M2M_SET_SN_REQ_V01, QMI_ERR_INTERNAL_V01);
  EXPECT_EQ(vorn_m2m_pal_set_fsn("SN1", 3), -1) << "transport and result";
  vornsim::fail_next(kM2m, QMI_VORN_M2M_SET_SN_REQ_V01, QMI_TIMEOUT_ERR);
  EXPECT_EQ(vorn_m2m_pal_set_fsn("SN1", 3), -1);
  EXPECT_TRUE(vt::logged("qmi send message fail rc = -3, error:0\r\n"));
  EXPECT_EQ(vorn_m2m_pal_set_fsn("SN1", 3), 0);
}

}  // namespace
