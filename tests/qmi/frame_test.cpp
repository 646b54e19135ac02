// The QMI client frame against the simulated modem: classification of
// outcomes, registering with and without a limit, the WDS client loop.
#include <cstring>
#include <future>
#include <thread>

#include <vornpal/log.h>
#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornpal/qmi.h>

#include "vornpal_test.h"

namespace {

using vornsim::Svc;

class FrameTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vorn_set_log_tool_enable(1);
    vorn_set_log_level(0);
    vornsim::clear_diag();
  }
  void TearDown() override { vorn_set_log_level(1); }

  static vorn_qmi_client m2m_client() {
    vorn_qmi_client client{};
    client.service_object = vorn_m2m_get_service_object_internal_v01(1, 1, 6);
    return client;
  }
};

TEST_F(FrameTest, ClassifiesOutcomes) {
  struct Case {
    int rc, result, error;
    int expected;
    const char *logged;
    bool incompatible;
  };
  const Case cases[] = {
      {0, 0, 0, 0, "X sent to Modem\n", false},
      {0, 0, 46, 0, "X sent to Modem\n", false},  // the error word alone is no failure
      {0, 1, 46,
       -6, "Sending X failed: rc=0 (), resp.result=1.[0x01], resp.error=46.[0x2e]\n", false},
      {-3, 0, 0, -6, "Sending X failed: rc=-3 (Timeout), resp.result=0.[0x00], resp.error=0.[0x00]\n",
       false},
      {-2, 0, 0, -6, "Sending X failed: rc=-2 (Service), resp.result=0.[0x00], resp.error=0.[0x00]\n",
       false},
      {-1, 0, 0, -6, "Sending X failed: rc=-1 (Internal), resp.result=0.[0x00], resp.error=0.[0x00]\n",
       false},
      {-48, 0, 0, -6, "Sending X failed: rc=-48 (x), resp.result=0.[0x00], resp.error=0.[0x00]\n", true},
      {-50, 0, 0, -6, "Sending X failed: rc=-50 (x), resp.result=0.[0x00], resp.error=0.[0x00]\n", true},
      {-43, 0, 0, -6, "Sending X failed: rc=-43 (x), resp.result=0.[0x00], resp.error=0.[0x00]\n", true},
      {-7, 0, 0, -6, "Sending X failed: rc=-7 (x), resp.result=0.[0x00], resp.error=0.[0x00]\n", false},
  };
  for (const Case &c : cases) {
    vornsim::clear_diag();
    EXPECT_EQ(vornQmi_CheckResponseCode("X", c.rc, c.result, c.error), c.expected) << c.rc;
    auto lines = vornsim::diag_lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0].text, c.logged);
    EXPECT_EQ(lines[0].mask, c.expected == 0 ? 1u : 16u);  // debug, or critical
    EXPECT_EQ(vt::logged("Modem is running an incompatible version of client library!\n"),
              c.incompatible)
        << c.rc;
  }
}

TEST_F(FrameTest, RegisterConnectsAndUnregisterReleasesOnce) {
  vorn_qmi_client client = m2m_client();
  ASSERT_EQ(vorn_qmi_register(&client, 3), 0);
  ASSERT_NE(client.handle, nullptr);
  auto c = vornsim::counters();
  EXPECT_EQ(c.clients_live, 1);
  EXPECT_EQ(c.notifiers_live, 0);  // the notifier is released in every case
  EXPECT_TRUE(c.signal_waits.empty());

  vornsim::on(Svc::M2M, 24, [](const vornsim::Request &, void *resp, size_t len) {
    uint32_t words[3] = {0, 0, 4};
    std::memcpy(resp, words, std::min(len, sizeof words));
    return 0;
  });
  uint32_t resp[3] = {};
  EXPECT_EQ(qmi_client_send_msg_sync(client.handle, 24, nullptr, 0, resp, sizeof resp, 3000), 0);
  EXPECT_EQ(resp[2], 4u);

  EXPECT_EQ(vorn_qmi_unregister(&client), 0);
  EXPECT_EQ(client.handle, nullptr);
  EXPECT_EQ(vorn_qmi_unregister(&client), 0);
  EXPECT_EQ(vorn_qmi_unregister(nullptr), 0);
  c = vornsim::counters();
  EXPECT_EQ(c.clients_live, 0);
  EXPECT_EQ(c.releases_failed, 0);
}

TEST_F(FrameTest, RegisterGivesUpAfterTheLimit) {
  vornsim::set_service_up(Svc::M2M, false);
  vorn_qmi_client client = m2m_client();
  EXPECT_EQ(vorn_qmi_register(&client, 3), -6);
  EXPECT_EQ(client.handle, nullptr);
  auto c = vornsim::counters();
  EXPECT_EQ(c.signal_waits, (std::vector<unsigned>{1000, 1000, 1000}));
  EXPECT_EQ(c.notifiers_live, 0);
  EXPECT_EQ(c.clients_live, 0);
  EXPECT_TRUE(vt::logged("qmi_client_get_service_list time limit exceeded\n"));
}

TEST_F(FrameTest, RegisterWithoutLimitWaitsForALateService) {
  vornsim::service_up_after(Svc::M2M, 3500);
  vorn_qmi_client client = m2m_client();
  EXPECT_EQ(vorn_qmi_register(&client, 0), 0);
  EXPECT_NE(client.handle, nullptr);
  auto waits = vornsim::counters().signal_waits;
  ASSERT_FALSE(waits.empty());
  for (unsigned wait : waits) EXPECT_EQ(wait, 0u);  // no limit on each wait
  vorn_qmi_unregister(&client);

  // The device family's entry waits the same way, with its own texts.
  vornsim::service_up_after(Svc::DMS, 1500);
  vorn_qmi_client dms{};
  dms.service_object = dms_get_service_object_internal_v01(1, 77, 6);
  EXPECT_EQ(vorn_odm_qmi_register(&dms), 0);
  EXPECT_NE(dms.handle, nullptr);
  vorn_qmi_unregister(&dms);
}

TEST_F(FrameTest, RegisterRefusesMissingArguments) {
  vorn_qmi_client empty{};
  EXPECT_EQ(vorn_qmi_register(nullptr, 1), -1);
  EXPECT_EQ(vorn_qmi_register(&empty, 1), -1);
  EXPECT_EQ(vt::count_logged("Error, param pointer is NULL.!\r\n"), 2);
  EXPECT_EQ(vornsim::diag_lines()[0].mask, 1u);
  vornsim::clear_diag();
  EXPECT_EQ(vorn_odm_qmi_register(nullptr), -1);
  ASSERT_TRUE(vt::logged("Error, param pointer is NULL\r\n"));
  EXPECT_EQ(vornsim::diag_lines()[0].mask, 8u);
}

class WdsTest : public FrameTest {
 protected:
  wds_client_info slot{};
  wds_service_info service{};
};

TEST_F(WdsTest, FirstClientMakesTheServiceListThenConnects) {
  ASSERT_EQ(vornQmi_InitQmiService(&slot, &service), 0);
  EXPECT_NE(slot.handle, nullptr);
  EXPECT_NE(service.service_object, nullptr);
  EXPECT_EQ(service.num_services, 1u);
  auto c = vornsim::counters();
  EXPECT_EQ(c.xports, (std::vector<int>{129, 130, 131}));
  EXPECT_EQ(c.notifiers_live, 0);
  EXPECT_EQ(c.accessor_calls, (std::vector<std::string>{"WDS 1.187.6"}));
  EXPECT_TRUE(vt::logged("Release notifier\n"));
  EXPECT_TRUE(vt::logged("qmi_client_get_service_list num_entries 1 num_services=1\n"));

  // A second client of the family reuses the list; transports register once
  // per process.
  wds_client_info second{};
  ASSERT_EQ(vornQmi_InitQmiService(&second, &service), 0);
  EXPECT_NE(second.handle, nullptr);
  c = vornsim::counters();
  EXPECT_EQ(c.xports.size(), 3u);
  EXPECT_EQ(c.accessor_calls.size(), 1u);
  EXPECT_EQ(c.clients_live, 2);
  vornQmi_ReleaseService(slot.handle);
  vornQmi_ReleaseService(second.handle);
  EXPECT_EQ(vornsim::counters().clients_live, 0);
}

TEST_F(WdsTest, ServiceThatNeverAppearsGivesMinusOneAfterTwentyPolls) {
  vornsim::set_service_up(Svc::WDS, false);
  EXPECT_EQ(vornQmi_InitQmiService(&slot, &service), -1);
  auto c = vornsim::counters();
  EXPECT_EQ(c.signal_waits, std::vector<unsigned>(20, 1000));
  EXPECT_EQ(c.notifiers_live, 0);
  EXPECT_EQ(vt::count_logged("qmi_client_get_service_list returned(-2) num_services=0\n"), 20);
  EXPECT_TRUE(vt::logged("qmi_client_get_service_list time limit exceeded\n"));
  EXPECT_EQ(slot.handle, nullptr);
}

TEST_F(WdsTest, TenFailedConnectionsLeaveTheHandleEmptyAndAMilestone) {
  vt::make_dirs("/data/oem/logs");
  vt::write_file("/dev/kmsg", "");
  ASSERT_EQ(vornQmi_InitQmiService(&slot, &service), 0);  // the family's list exists
  vornQmi_ReleaseService(slot.handle);
  slot = wds_client_info{};
  vornsim::clear_diag();
  vornsim::set_service_up(Svc::WDS, false);

  EXPECT_EQ(vornQmi_InitQmiService(&slot, &service), 0);
  EXPECT_EQ(slot.handle, nullptr);
  EXPECT_EQ(vt::count_logged("Error: connection not Initialized...Error Code:-3\n"), 10);
  EXPECT_EQ(vt::count_logged("Qmi client release successful\n"), 10);
  EXPECT_TRUE(vt::logged("data qmi client init failed, error code: -3.\n"));
  auto c = vornsim::counters();
  EXPECT_EQ(c.clients_live, 0);  // every half-made handle was released
  EXPECT_NE(vt::read_file("/data/oem/logs/fwawatchA.log").find("data qmi inited ERROR"),
            std::string::npos);
  EXPECT_EQ(vt::read_file("/dev/kmsg"), "oem:data qmi inited ERROR\n");
}

TEST_F(WdsTest, MissingServiceObject) {
  vornsim::set_service_object_missing(Svc::WDS, true);
  EXPECT_EQ(vornQmi_InitQmiService(&slot, &service), -1);
  EXPECT_TRUE(vt::logged("wds_service_obj failed\n"));
  EXPECT_EQ(vornsim::counters().notifiers_live, 0);
}

TEST_F(FrameTest, PrintsBuffersEightBytesALine) {
  const uint8_t bytes[10] = {0, 1, 2, 3, 4, 5, 6, 0xab, 0xfe, 0xff};
  vorn_debug_print_buf(bytes, 10);
  EXPECT_EQ(vt::diag_texts(),
            (std::vector<std::string>{"print_buf:len=10\r\n",
                                      " 0x00  0x01  0x02  0x03  0x04  0x05  0x06  0xab \r\n",
                                      " 0xfe  0xff \r\n"}));
  vornsim::clear_diag();
  vorn_debug_print_buf(bytes, 0);
  vorn_debug_print_buf(nullptr, 3);
  EXPECT_EQ(vt::diag_texts(),
            (std::vector<std::string>{"print_buf:len=0\r\n", "print_buf:len=3\r\n"}));
}

}  // namespace
