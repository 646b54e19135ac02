// The simulated modem honours what the library relies on from the platform:
// per-request time-outs, foreign-thread callbacks, concurrent senders,
// services that go away and come back.
#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include <vornpal/platform/qmi_client.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/qmi.h>

#include "memory.h"
#include "vornpal_test.h"

namespace {

using vornsim::Svc;

struct Resp {
  uint32_t result;
  uint32_t error;
  uint32_t value;
};

class ModemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vorn_qmi_client client{};
    client.service_object = vorn_m2m_get_service_object_internal_v01(1, 1, 6);
    client.ind_cb = &ModemTest::on_indication;
    ASSERT_EQ(vorn_qmi_register(&client, 1), 0);
    handle = client.handle;
    indications = 0;
    indication_on_modem_thread = false;
  }
  void TearDown() override { qmi_client_release(handle); }

  static void on_indication(qmi_client_type h, unsigned id, void *buf, unsigned len, void *) {
    Resp decoded{};
    if (qmi_client_message_decode(h, QMI_IDL_INDICATION, id, buf, len, &decoded, sizeof decoded) == 0)
      last_value = decoded.value;
    indication_on_modem_thread = vornsim::on_modem_thread();
    ++indications;
  }

  // A handler that counts its calls and answers with the request's first word.
  void echo_handler(unsigned id) {
    vornsim::on(Svc::M2M, id, [this](const vornsim::Request &req, void *resp, size_t len) {
      ++handled;
      Resp r{0, 0, req.as<uint32_t>()};
      std::memcpy(resp, &r, std::min(len, sizeof r));
      return 0;
    });
  }

  qmi_client_type handle = nullptr;
  std::atomic<int> handled{0};
  static inline std::atomic<int> indications{0};
  static inline std::atomic<uint32_t> last_value{0};
  static inline std::atomic<bool> indication_on_modem_thread{false};
};

TEST_F(ModemTest, LateAnswerTimesOutAndIsDropped) {
  echo_handler(19);
  vornsim::delay_next(Svc::M2M, 19, 5000);
  uint32_t request = 77;
  Resp resp{9, 9, 9};
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 19, &request, sizeof request, &resp, sizeof resp, 3000),
            QMI_TIMEOUT_ERR);
  EXPECT_EQ(resp.value, 9u);  // untouched
  // The fault was for one request: the next one answers in time.
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 19, &request, sizeof request, &resp, sizeof resp, 3000), 0);
  EXPECT_EQ(resp.value, 77u);
  vornsim::reset();  // joins the late answer
  EXPECT_EQ(handled, 2);
}

// Only the modem's own delay makes an answer late: a handler that runs long
// on a busy host (a sanitizer, a loaded machine) still answers in time.
TEST_F(ModemTest, AHandlerSlowOnTheHostIsNoTimeOut) {
  vornsim::on(Svc::M2M, 21, [](const vornsim::Request &, void *resp, size_t len) {
    std::this_thread::sleep_for(std::chrono::milliseconds(60));  // twice the scaled time-out
    Resp r{0, 0, 5};
    std::memcpy(resp, &r, std::min(len, sizeof r));
    return 0;
  });
  Resp resp{};
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 21, nullptr, 0, &resp, sizeof resp, 3000), 0);
  EXPECT_EQ(resp.value, 5u);
}

TEST_F(ModemTest, FaultsGiveTransportCodesAndRefusals) {
  echo_handler(20);
  Resp resp{};
  uint32_t request = 5;
  vornsim::fail_next(Svc::M2M, 20, QMI_SERVICE_ERR);
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 20, &request, 4, &resp, sizeof resp, 3000), QMI_SERVICE_ERR);
  vornsim::refuse_next(Svc::M2M, 20, 0x1A);
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 20, &request, 4, &resp, sizeof resp, 3000), 0);
  EXPECT_EQ(resp.result, 1u);
  EXPECT_EQ(resp.error, 0x1Au);
  EXPECT_EQ(handled, 0);
  // A message without a handler is refused as an invalid command.
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 999, nullptr, 0, &resp, sizeof resp, 3000), 0);
  EXPECT_EQ(resp.result, 1u);
  EXPECT_EQ(resp.error, 0x47u);
  // Every request was recorded with its bytes.
  auto sent = vornsim::requests(Svc::M2M, 20u);
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].as<uint32_t>(), 5u);
  EXPECT_EQ(sent[0].timeout_ms, 3000u);
}

TEST_F(ModemTest, ManyThreadsSendOnOneHandle) {
  echo_handler(33);
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (uint32_t t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (uint32_t i = 0; i < 100; ++i) {
        uint32_t request = t * 1000 + i;
        Resp resp{};
        if (qmi_client_send_msg_sync(handle, 33, &request, 4, &resp, sizeof resp, 3000) != 0 ||
            resp.value != request)
          ++wrong;
      }
    });
  }
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(handled, 800);
  EXPECT_EQ(vornsim::requests(Svc::M2M, 33u).size(), 800u);
}

TEST_F(ModemTest, AsyncAnswersAndIndicationsArriveOnTheModemThread) {
  echo_handler(40);
  struct Result {
    std::atomic<bool> done{false};
    std::atomic<bool> on_modem{false};
    int rc = -99;
  } result;
  Resp resp{};
  uint32_t request = 123;
  qmi_txn_handle txn = nullptr;
  auto cb = [](qmi_client_type, unsigned, void *, unsigned, void *data, qmi_client_error_type rc) {
    auto *r = static_cast<Result *>(data);
    r->rc = rc;
    r->on_modem = vornsim::on_modem_thread();
    r->done = true;
  };
  ASSERT_EQ(qmi_client_send_msg_async(handle, 40, &request, 4, &resp, sizeof resp, cb, &result, &txn), 0);
  vornsim::drain();
  EXPECT_TRUE(result.done);
  EXPECT_TRUE(result.on_modem);
  EXPECT_EQ(result.rc, 0);
  EXPECT_EQ(resp.value, 123u);

  Resp ind{0, 0, 4242};
  vornsim::indicate(Svc::M2M, 47, ind);
  vornsim::drain();
  EXPECT_EQ(indications, 1);
  EXPECT_TRUE(indication_on_modem_thread);
  EXPECT_EQ(last_value, 4242u);

  // A decode failure reaches the callback's decode call.
  vornsim::set_decode_fault(Svc::M2M, 47, QMI_CLIENT_PARAM_ERR);
  ind.value = 1;
  vornsim::indicate(Svc::M2M, 47, ind);
  vornsim::drain();
  EXPECT_EQ(indications, 2);
  EXPECT_EQ(last_value, 4242u);
}

TEST_F(ModemTest, ServiceGoesDownAndComesBack) {
  echo_handler(24);
  Resp resp{};
  vornsim::set_service_up(Svc::M2M, false);
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 24, nullptr, 0, &resp, sizeof resp, 3000), QMI_SERVICE_ERR);
  unsigned entries = 1, services = 0;
  qmi_service_info info[1];
  auto object = vorn_m2m_get_service_object_internal_v01(1, 1, 6);
  EXPECT_NE(qmi_client_get_service_list(object, nullptr, nullptr, &services), 0);
  vornsim::set_service_up(Svc::M2M, true);
  EXPECT_EQ(qmi_client_get_service_list(object, info, &entries, &services), 0);
  EXPECT_EQ(services, 1u);
  EXPECT_EQ(entries, 1u);
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 24, nullptr, 0, &resp, sizeof resp, 3000), 0);
  // A released handle is refused, and releasing it again is reported.
  qmi_client_type other = nullptr;
  ASSERT_EQ(qmi_client_init(&info[0], object, nullptr, nullptr, nullptr, &other), 0);
  EXPECT_EQ(qmi_client_release(other), 0);
  EXPECT_LT(qmi_client_release(other), 0);
  EXPECT_EQ(vornsim::counters().releases_failed, 1);
}

TEST_F(ModemTest, RecordKeepsTheLastRequestsAndCountsTheRest) {
  echo_handler(50);
  auto send = [this](uint32_t value) {
    Resp resp{};
    EXPECT_EQ(qmi_client_send_msg_sync(handle, 50, &value, 4, &resp, sizeof resp, 3000), 0);
    EXPECT_EQ(resp.value, value);  // answered whether kept or not
  };
  auto kept = [] {
    std::vector<uint32_t> values;
    for (const auto &req : vornsim::requests(Svc::M2M, 50u)) values.push_back(req.as<uint32_t>());
    return values;
  };
  vornsim::set_request_record(3);
  for (uint32_t value = 1; value <= 5; ++value) send(value);
  EXPECT_EQ(kept(), (std::vector<uint32_t>{3, 4, 5}));
  EXPECT_EQ(vornsim::requests_dropped(), 2u);
  // A short request over a longer one keeps only its own bytes.
  uint8_t one = 9;
  Resp resp{};
  ASSERT_EQ(qmi_client_send_msg_sync(handle, 50, &one, 1, &resp, sizeof resp, 3000), 0);
  EXPECT_EQ(vornsim::requests().back().bytes, std::vector<uint8_t>{9});

  vornsim::clear_requests();
  EXPECT_TRUE(vornsim::requests().empty());
  EXPECT_EQ(vornsim::requests_dropped(), 0u);

  // Off, as benchmarks run: nothing is kept, everything counted.
  vornsim::set_request_record(0);
  send(6);
  send(7);
  EXPECT_TRUE(vornsim::requests().empty());
  EXPECT_EQ(vornsim::requests_dropped(), 2u);
  EXPECT_EQ(handled, 8);

  vornsim::reset();
  echo_handler(50);
  send(8);
  EXPECT_EQ(kept(), std::vector<uint32_t>{8});
  EXPECT_EQ(vornsim::requests_dropped(), 0u);
}

// Sends `count` requests of 64 bytes after a warm-up that fills the record;
// the memory the process holds must not grow with them.
void expect_flat_memory(qmi_client_type handle, size_t count) {
  vornsim::on(Svc::M2M, 51, [](const vornsim::Request &, void *, size_t) { return 0; });
  uint8_t request[64] = {1};
  Resp resp{};
  auto send = [&](size_t n) {
    for (size_t i = 0; i < n; ++i)
      if (qmi_client_send_msg_sync(handle, 51, request, sizeof request, &resp, sizeof resp, 3000) != 0)
        FAIL() << "request " << i;
  };
  send(2 * vornsim::kRequestRecordDefault);
  const size_t before = vt::memory_held();
  send(count);
  const size_t after = vt::memory_held();
  EXPECT_LT(after, before + (1u << 20)) << "from " << before << " to " << after << " bytes";
  EXPECT_EQ(vornsim::requests().size(), vornsim::kRequestRecordDefault);
  EXPECT_EQ(vornsim::requests_dropped(), count + vornsim::kRequestRecordDefault);
}

TEST_F(ModemTest, ManyRequestsRunInConstantMemory) { expect_flat_memory(handle, 200000); }

// Ten million requests: outside the regular suite (ctest -L soak).
class ModemSoak : public ModemTest {};
TEST_F(ModemSoak, DISABLED_TenMillionRequestsRunInConstantMemory) {
  expect_flat_memory(handle, 10000000);
}

}  // namespace
