// A daemon's deinit, or its delete of a profile, while the event thread is in
// the middle of that profile's event: the thread still reads and writes the
// profile's context, which must outlive it (the sanitizer stages watch).
#include <condition_variable>

#include "data_test.h"

namespace datat {
namespace {

// The modem holds its answer to the run-time settings until the test lets
// it go, so the event thread is known to be inside the request.
class HeldSettings {
 public:
  HeldSettings() {
    vornsim::on(kWds, QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01,
                [this](const vornsim::Request &, void *resp, size_t len) {
                  std::unique_lock<std::mutex> lock(mutex_);
                  entered_ = true;
                  changed_.notify_all();
                  changed_.wait(lock, [this] { return released_; });
                  wds_get_runtime_settings_resp_msg_v01 answer{};
                  answer.ipv4_address_valid = 1;
                  answer.ipv4_address = 0x0A640502;
                  answer.mtu_valid = 1;
                  answer.mtu = 1400;
                  std::memcpy(resp, &answer, std::min(len, sizeof answer));
                  return 0;
                });
  }
  ~HeldSettings() { release(); }
  bool entered() {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [this] { return entered_; });
  }
  bool released() {
    std::lock_guard<std::mutex> lock(mutex_);
    return released_;
  }
  void release() {
    std::lock_guard<std::mutex> lock(mutex_);
    released_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool entered_ = false;
  bool released_ = false;
};

class Lifetime : public DataTest {
 protected:
  // Profile `cid` (IPv4) with a call up; the client its reports come on.
  static const void *call_up(int cid) {
    data_profile_settings s = profile("internet", VORN_DATA_PDP_IPV4);
    EXPECT_EQ(vorn_data_pal_write_connect_setting(cid, &s), 0);
    EXPECT_EQ(vorn_data_pal_connect(cid), 0);
    EXPECT_TRUE(wait_call(cid, 0, VORN_DATA_STATE_UP));
    auto starts = vornsim::requests(kWds, QMI_WDS_START_NETWORK_INTERFACE_REQ_V01);
    forget();
    return starts.empty() ? nullptr : starts.back().client;
  }
  // The modem reports the call connected (again) on its client; the event
  // thread asks for the settings and is held there.
  static void report_connected(const void *client, HeldSettings &held) {
    wds_pkt_srvc_status_ind_msg_v01 ind{};
    ind.status.connection_status = WDS_CONNECTION_STATUS_CONNECTED_V01;
    ind.ip_family_valid = 1;
    ind.ip_family = WDS_IP_FAMILY_IPV4_V01;
    vornsim::indicate_to(client, QMI_WDS_PKT_SRVC_STATUS_IND_V01, &ind, sizeof ind);
    ASSERT_TRUE(held.entered());
  }
};

TEST_F(Lifetime, DeinitWhileTheEventThreadHandlesTheProfile) {
  const void *client = call_up(5);
  ASSERT_NE(client, nullptr);
  HeldSettings held;
  report_connected(client, held);
  // Deinit does not wait for the event thread.
  EXPECT_EQ(vorn_data_pal_deinit(), 0);
  EXPECT_FALSE(held.released());
  held.release();
  // The thread finishes its word on the context it holds; with no callback
  // left the event reaches nobody.
  ASSERT_TRUE(vt::eventually(event_thread_idle));
  EXPECT_TRUE(vt::logged("GetRuntimeSettings return 0!\n"));
  EXPECT_TRUE(Collector::instance().events().empty());
  // The family starts again with fresh contexts: the profile knows no call.
  vornsim::reset();
  ASSERT_EQ(vorn_data_pal_init(), 0);
  ASSERT_EQ(vorn_data_pal_event_register(&Collector::callback, nullptr), 0);
  EXPECT_EQ(vorn_data_pal_disconnect(5), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Check profile 5 callContext invalid\n"));
}

TEST_F(Lifetime, DeleteWhileTheEventThreadHandlesTheProfile) {
  const void *client = call_up(6);
  ASSERT_NE(client, nullptr);
  ASSERT_TRUE(vornsim::wds::drop(6, 4, 1012));
  ASSERT_TRUE(wait_call(6, 0, VORN_DATA_STATE_DOWN));
  settle();
  // The address is back on the link, as when the network restores the
  // call, so the event thread's wait for it ends at once.
  vt::sh("ip addr add 10.100.6.2/30 dev rmnet_data0");
  HeldSettings held;
  report_connected(client, held);
  // The call is down, so the delete goes through, context and all.
  EXPECT_EQ(vorn_data_pal_delete_profile(6), 0);
  EXPECT_TRUE(vt::logged("Remove PROFILE SETTING request successfully!\r\n"));
  held.release();
  ASSERT_TRUE(wait_call(6, 0, VORN_DATA_STATE_UP));
  settle();
  // The settings went to the context of the event, not to a new one of the
  // deleted profile.
  connect_info info{};
  EXPECT_EQ(vorn_data_pal_get_runtime_connect_info(6, VORN_DATA_INFO_ADDRESS, 0, &info),
            VORN_FAILURE);
}

}  // namespace
}  // namespace datat
