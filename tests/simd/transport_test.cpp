// What works in one process works through the daemon: threads on one
// handle, time-outs with late answers dropped, services that come late or
// not at all, asynchronous answers, faults and indications.
#include <vornpal/platform/device_management_service_v01.h>

#include "raw_client.h"
#include "simd_test.h"

namespace simdt {
namespace {

using vornsim::Svc;
constexpr unsigned kMsisdn = QMI_DMS_GET_MSISDN_REQ_V01;

TEST_F(DaemonTest, ManyThreadsShareOneHandle) {
  RawClient client;
  ASSERT_EQ(client.init_rc, QMI_NO_ERR);
  vornsim::clear_requests();
  constexpr int kThreads = 8, kEach = 100;
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < kEach; ++i) {
        std::string number;
        if (client.msisdn(number) == QMI_NO_ERR && number == "+15551230042") ++right;
      }
    });
  for (auto &t : threads) t.join();
  EXPECT_EQ(right.load(), kThreads * kEach);
  const auto seen = vornsim::requests(Svc::DMS, kMsisdn);
  ASSERT_EQ(seen.size(), static_cast<size_t>(kThreads * kEach));
  EXPECT_EQ(seen.front().timeout_ms, 5000u);
  EXPECT_TRUE(vornsim::client_live(seen.front().client));
}

TEST_F(DaemonTest, TimedOutAnswerIsDroppedAndFaultsApply) {
  RawClient client;
  ASSERT_EQ(client.init_rc, QMI_NO_ERR);
  std::string number;
  vornsim::delay_next(Svc::DMS, kMsisdn, 3000);
  EXPECT_EQ(client.msisdn(number, 1000), QMI_TIMEOUT_ERR);
  // The late answer of the first does not stand in for the next one's.
  vornsim::refuse_next(Svc::DMS, kMsisdn, 0x1A);
  dms_get_msisdn_resp_msg_v01 resp{};
  ASSERT_EQ(qmi_client_send_msg_sync(client.handle, kMsisdn, nullptr, 0, &resp, sizeof resp, 5000), QMI_NO_ERR);
  EXPECT_EQ(resp.resp.result, 1u);
  EXPECT_EQ(resp.resp.error, 0x1Au);
  vornsim::fail_next(Svc::DMS, kMsisdn, QMI_CLIENT_TRANSPORT_ERR);
  EXPECT_EQ(client.msisdn(number), QMI_CLIENT_TRANSPORT_ERR);
  EXPECT_EQ(client.msisdn(number), QMI_NO_ERR);
  EXPECT_EQ(number, "+15551230042");
  // A message the modem does not know: refused as an invalid command.
  std::memset(&resp, 0, sizeof resp);
  ASSERT_EQ(qmi_client_send_msg_sync(client.handle, 0x7777, nullptr, 0, &resp, sizeof resp, 5000), QMI_NO_ERR);
  EXPECT_EQ(resp.resp.error, 0x47u);
}

TEST_F(DaemonTest, LateAndAbsentServices) {
  vornsim::set_service_up(Svc::DMS, false);
  qmi_service_info info[1];
  unsigned entries = 1, services = 9;
  EXPECT_EQ(qmi_client_get_service_list(dms_object(), info, &entries, &services), QMI_SERVICE_ERR);
  EXPECT_EQ(services, 0u);
  {
    RawClient absent(500);
    EXPECT_EQ(absent.init_rc, QMI_TIMEOUT_ERR);
    std::string number;
    EXPECT_EQ(absent.msisdn(number), QMI_CLIENT_FW_NOT_UP);
  }
  qmi_client_type notifier = nullptr;
  qmi_client_os_params os{};
  ASSERT_EQ(qmi_client_notifier_init(dms_object(), &os, &notifier), QMI_NO_ERR);
  EXPECT_EQ(os.sig_set, 0u);
  EXPECT_EQ(vornsim::counters().notifiers_live, 1);
  vornsim::service_up_after(Svc::DMS, 3000);
  qmi_cci_os_signal_wait(&os, 10000);
  EXPECT_EQ(os.sig_set, 1u);
  EXPECT_EQ(os.timed_out, 0u);
  EXPECT_EQ(qmi_client_get_service_list(dms_object(), info, &entries, &services), QMI_NO_ERR);
  EXPECT_EQ(qmi_client_release(notifier), QMI_NO_ERR);
  EXPECT_EQ(qmi_client_release(notifier), QMI_CLIENT_INVALID_CLNT);
  const auto counters = vornsim::counters();
  EXPECT_EQ(counters.releases_failed, 1);
  EXPECT_EQ(counters.signal_waits.back(), 10000u);

  vornsim::set_service_object_missing(Svc::DMS, true);
  EXPECT_EQ(dms_object(), nullptr);
  vornsim::set_service_object_missing(Svc::DMS, false);
  EXPECT_NE(dms_object(), nullptr);
}

void on_async(qmi_client_type, unsigned msg_id, void *resp, unsigned, void *data, int rc) {
  auto *got = static_cast<std::pair<std::atomic<int>, std::string> *>(data);
  got->second = static_cast<dms_get_msisdn_resp_msg_v01 *>(resp)->voice_number;
  got->first = rc == QMI_NO_ERR && msg_id == kMsisdn && vornsim::on_modem_thread() ? 1 : -1;
}

TEST_F(DaemonTest, AsyncAnswersAndIndicationsComeOnTheDeliveryThread) {
  RawClient client;
  ASSERT_EQ(client.init_rc, QMI_NO_ERR);
  std::pair<std::atomic<int>, std::string> got{0, ""};
  dms_get_msisdn_resp_msg_v01 resp{};
  qmi_txn_handle txn = nullptr;
  vornsim::delay_next(Svc::DMS, kMsisdn, 2000);
  ASSERT_EQ(qmi_client_send_msg_async(client.handle, kMsisdn, nullptr, 0, &resp, sizeof resp, on_async, &got, &txn),
            QMI_NO_ERR);
  EXPECT_NE(txn, nullptr);
  EXPECT_TRUE(vt::eventually([&] { return got.first != 0; }));
  EXPECT_EQ(got.first.load(), 1);
  EXPECT_EQ(got.second, "+15551230042");

  dms_event_report_ind_msg_v01 ind{};
  ind.operating_mode_valid = 1;
  vornsim::indicate(Svc::DMS, QMI_DMS_EVENT_REPORT_IND_V01, ind);
  vornsim::set_decode_fault(Svc::DMS, QMI_DMS_EVENT_REPORT_IND_V01, QMI_IDL_LIB_MISSING_TLV);
  vornsim::indicate(Svc::DMS, QMI_DMS_EVENT_REPORT_IND_V01, ind);
  vornsim::drain();
  std::lock_guard<std::mutex> lock(client.mutex);
  EXPECT_EQ(client.decoded, (std::vector<int>{QMI_NO_ERR, QMI_IDL_LIB_MISSING_TLV}));
  EXPECT_EQ(client.on_modem_thread.load(), 2);
}

}  // namespace
}  // namespace simdt
