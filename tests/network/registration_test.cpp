// Scans, both registration forms, attach and detach, data roaming, against
// the simulated radio environment.
#include <dirent.h>

#include <thread>

#include "network_test.h"

namespace {

using namespace nett;

class NetworkRegistration : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    start_family();
    vorn_network_pal_set_registration_mode(0);
  }
  void TearDown() override {
    // A waiter still waiting would report into the next test.
    EXPECT_TRUE(vt::eventually([] { return threads() <= baseline_threads(); }));
    NetworkTest::TearDown();
  }
  // Runs a scan of `rat_code` to its end; the last result event.
  static vorn_network_scan_result scan(uint32_t rat_code) {
    vorn_network_scan_result request{};
    request.request[0] = rat_code;
    size_t before = Collector::instance().of(VORN_NETWORK_EVENT_SCAN_RESULT).size();
    EXPECT_EQ(vorn_network_pal_scan(0, &request), 0);
    EXPECT_TRUE(Collector::instance().wait_for(VORN_NETWORK_EVENT_SCAN_RESULT, before + 3));
    vornsim::drain();
    return Collector::instance().of(VORN_NETWORK_EVENT_SCAN_RESULT).back().as<vorn_network_scan_result>();
  }
  static int threads() {
    int n = 0;
    if (DIR *dir = opendir("/proc/self/task")) {
      while (dirent *entry = readdir(dir)) n += entry->d_name[0] != '.';
      closedir(dir);
    }
    return n;
  }
  static int &baseline_threads() {
    static int baseline = 0;
    return baseline;
  }
  static void note_threads() { baseline_threads() = threads(); }
};

const vorn_network_scan_entry *find(const vorn_network_scan_result &r, uint32_t plmn, uint32_t rat) {
  for (int i = 0; i < r.count; ++i)
    if (r.entry[i].plmn == plmn && r.entry[i].rat == rat) return &r.entry[i];
  return nullptr;
}

TEST_F(NetworkRegistration, ScanReportsIncrementally) {
  note_threads();
  vorn_network_scan_result result = scan(VORN_NETWORK_SCAN_RAT_ALL);
  auto reports = Collector::instance().of(VORN_NETWORK_EVENT_SCAN_RESULT);
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_LT(reports[0].as<vorn_network_scan_result>().count, reports[1].as<vorn_network_scan_result>().count);
  EXPECT_LT(reports[1].as<vorn_network_scan_result>().count, reports[2].as<vorn_network_scan_result>().count);
  for (const Event &report : reports) EXPECT_EQ(report.thread, std::string("event_network_rx").substr(0, 15));
  EXPECT_EQ(result.status, 2u);
  EXPECT_EQ(result.request[0], 0u);
  const vorn_network_scan_entry *home = find(result, 26201, 5);
  ASSERT_NE(home, nullptr);
  EXPECT_EQ(home->cell_state, 2u);
  EXPECT_EQ(home->roaming, 0);
  EXPECT_EQ(home->signal, -88);
  EXPECT_STREQ(home->plmn_text, "26201");
  EXPECT_STREQ(home->short_name, "Vorn");
  const vorn_network_scan_entry *blocked = find(result, 26203, 5);
  ASSERT_NE(blocked, nullptr);
  EXPECT_EQ(blocked->cell_state, 3u);
  const vorn_network_scan_entry *partner = find(result, 23205, 3);
  ASSERT_NE(partner, nullptr);
  EXPECT_EQ(partner->roaming, 1);
  EXPECT_EQ(partner->signal, -120) << "the modem gives no UMTS signal";
  EXPECT_NE(find(result, 26201, 6), nullptr) << "NR standalone";
  EXPECT_NE(find(result, 26201, 1), nullptr) << "GSM";

  auto sent = vornsim::requests(kNas, QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_REQ_MSG_V01);
  ASSERT_EQ(sent.size(), 1u);
  auto req = sent[0].as<nas_perform_incremental_network_scan_req_msg_v01>();
  EXPECT_EQ(req.network_type, 31u);
  EXPECT_EQ(sent[0].bytes[134], 1) << "the search timer";
  EXPECT_EQ(req.search_timer, 120);
  EXPECT_EQ(sent[0].timeout_ms, 3000u);

  vorn_network_scan_result out{};
  EXPECT_EQ(vorn_network_pal_get_scan_result(0, &out), 0);
  EXPECT_EQ(out.count, result.count);
  const vorn_network_scan_entry *named = find(out, 23205, 5);
  ASSERT_NE(named, nullptr);
  EXPECT_STREQ(named->long_name, "Alpen Mobil Roaming") << "names asked for each entry";
  EXPECT_EQ(vorn_network_pal_get_scan_result(2, &out), VORN_INVALID_PARAM);

  char text[50 * 160] = {};
  EXPECT_EQ(vorn_network_pal_get_scan_result_build(text), 0);
  EXPECT_NE(std::string(text).find("(2,Vorn Mobile,Vorn,26201,7)"), std::string::npos) << text;
  EXPECT_NE(std::string(text).find("(3,Blocked Networks,Blocked,26203,7)"), std::string::npos) << text;
  EXPECT_NE(std::string(text).back(), ',');
}

TEST_F(NetworkRegistration, ScanRequestsThatCannotRun) {
  vorn_network_scan_result request{};
  request.request[0] = 2;
  EXPECT_EQ(vorn_network_pal_scan(0, &request), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("Invalid parameter\n"));
  EXPECT_EQ(count(QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_REQ_MSG_V01), 0u);
  EXPECT_EQ(vorn_network_pal_scan(0, nullptr), VORN_INVALID_PARAM);

  // A scan while one runs: the modem is busy, three tries two seconds apart.
  request.request[0] = VORN_NETWORK_SCAN_RAT_LTE;
  ASSERT_EQ(vorn_network_pal_scan(0, &request), 0);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(vorn_network_pal_scan(0, &request), -1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3 * 2000 / 100));
  EXPECT_EQ(count(QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_REQ_MSG_V01), 4u);
  EXPECT_TRUE(Collector::instance().wait_for(VORN_NETWORK_EVENT_SCAN_RESULT, 3));

  char text[64] = "untouched";
  vorn_network_scan_result empty{};
  vornsim::indicate(kNas, QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_IND_MSG_V01, nas_perform_incremental_network_scan_ind_msg_v01{});
  settle();
  EXPECT_EQ(vorn_network_pal_get_scan_result(0, &empty), 0);
  EXPECT_EQ(empty.status, 2u) << "no list: the registration is the result";
  EXPECT_EQ(empty.count, 1);
  EXPECT_EQ(empty.entry[0].cell_state, 2u);

  nas_perform_incremental_network_scan_ind_msg_v01 aborted{};
  aborted.scan_status = 3;
  vornsim::indicate(kNas, QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_IND_MSG_V01, aborted);
  settle();
  EXPECT_EQ(vorn_network_pal_get_scan_result(0, &empty), 0);
  EXPECT_EQ(empty.status, 4u);
  EXPECT_EQ(vorn_network_pal_get_scan_result_build(text), 0);
  EXPECT_STREQ(text, "untouched");
}

// Camped on WCDMA, an LTE-only scan still lists the camped network.
TEST_F(NetworkRegistration, LteScanWhileOnWcdmaAddsTheCampedNetwork) {
  ASSERT_TRUE(vornsim::nas::move_to("home-wcdma-b1"));
  settle();
  vorn_network_scan_result result = scan(VORN_NETWORK_SCAN_RAT_LTE);
  EXPECT_TRUE(vt::logged("cheat!!!!!! .\n"));
  const vorn_network_scan_entry *camped = find(result, 26201, 3);
  ASSERT_NE(camped, nullptr);
  EXPECT_EQ(camped->cell_state, 1u);
  EXPECT_STREQ(camped->short_name, "Vorn");
}

TEST_F(NetworkRegistration, ManualRegistrationAnsweredByTheModem) {
  scan(VORN_NETWORK_SCAN_RAT_ALL);
  vorn_network_reg_info reg{0, VORN_NETWORK_REG_RAT_LTE, "26203"};
  EXPECT_EQ(vorn_network_pal_register(0, &reg), VORN_INVALID_PARAM) << "forbidden though listed";
  EXPECT_TRUE(vt::logged("Plmn is not in Scanned-Network!\n"));
  vorn_network_reg_info absent{0, VORN_NETWORK_REG_RAT_AUTO, "99999"};
  EXPECT_EQ(vorn_network_pal_register(0, &absent), VORN_INVALID_PARAM) << "automatic needs a listed PLMN too";
  EXPECT_EQ(vorn_network_pal_register(0, nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(count(QMI_NAS_INITIATE_NETWORK_REGISTER_REQ_MSG_V01), 0u);

  Collector::instance().clear();
  vorn_network_reg_info partner{0, VORN_NETWORK_REG_RAT_LTE, "23205"};
  ASSERT_EQ(vorn_network_pal_register(0, &partner), 0);
  EXPECT_TRUE(vt::logged("Find plmn in scanned list\n"));
  ASSERT_TRUE(Collector::instance().wait_for(VORN_NETWORK_EVENT_REGIST_RESP));
  auto sent = vornsim::requests(kNas, QMI_NAS_INITIATE_NETWORK_REGISTER_REQ_MSG_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_TRUE(sent[0].async);
  auto req = sent[0].as<nas_initiate_network_register_req_msg_v01>();
  EXPECT_EQ(req.register_action, 2u);
  EXPECT_EQ(req.manual_network_register_info.mobile_country_code, 232);
  EXPECT_EQ(req.manual_network_register_info.mobile_network_code, 5);
  EXPECT_EQ(req.manual_network_register_info.radio_access_tech, 8u);
  EXPECT_TRUE(vt::eventually([] {
    auto reports = Collector::instance().of(VORN_NETWORK_EVENT_NET_INFO);
    return !reports.empty() && reports.back().as<vorn_network_net_record>().reg_state == 5;
  }));
  EXPECT_EQ(vornsim::nas::registration().plmn, "23205");
  EXPECT_EQ(vornsim::nas::registration().rat, "LTE");

  // Back to automatic selection: the home network again.
  vorn_network_reg_info automatic{0, VORN_NETWORK_REG_RAT_AUTO, "26201"};
  ASSERT_EQ(vorn_network_pal_register(0, &automatic), 0);
  EXPECT_TRUE(vt::eventually([] { return vornsim::nas::registration().plmn == "26201"; }));
  EXPECT_EQ(vornsim::requests(kNas, QMI_NAS_INITIATE_NETWORK_REGISTER_REQ_MSG_V01)[1]
                .as<nas_initiate_network_register_req_msg_v01>()
                .register_action,
            1u);
}

TEST_F(NetworkRegistration, WaiterPostedWhenTheNetworkIsReached) {
  note_threads();
  vorn_network_pal_set_registration_mode(1);
  vorn_network_reg_info reg{VORN_NETWORK_REG_MODE_GO, VORN_NETWORK_REG_RAT_LTE, "23205"};
  auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(vorn_network_pal_async_register(0, &reg), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_NETWORK_EVENT_MANUAL_REGIST_DONE));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30000 / 100));
  auto done = Collector::instance().of(VORN_NETWORK_EVENT_MANUAL_REGIST_DONE);
  ASSERT_EQ(done[0].data.size(), 1u);
  EXPECT_EQ(done[0].data[0], 5) << "registered, roaming";
  EXPECT_NE(done[0].thread, "event_network_rx") << "the waiter reports itself";
  EXPECT_TRUE(vt::logged("Sync regist OK!!!!!!\n"));
  auto sent = vornsim::requests(kNas, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01);
  ASSERT_EQ(sent.size(), 1u);
  auto req = sent[0].as<nas_set_system_selection_preference_req_msg_v01>();
  EXPECT_EQ(req.net_sel_pref.net_sel_pref, 1u);
  EXPECT_EQ(req.net_sel_pref.mcc, 232);
  EXPECT_EQ(req.mode_pref, 16);
  EXPECT_TRUE(vt::eventually([] { return threads() <= baseline_threads(); })) << "no waiter left";

  // Already there: no request, the report at once.
  Collector::instance().clear();
  vornsim::clear_requests();
  ASSERT_EQ(vorn_network_pal_async_register(0, &reg), 0);
  ASSERT_TRUE(Collector::instance().wait_for(VORN_NETWORK_EVENT_MANUAL_REGIST_DONE));
  EXPECT_EQ(count(QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01), 0u);

  // Not asked to go on: nothing.
  Collector::instance().clear();
  reg.mode = 0;
  EXPECT_EQ(vorn_network_pal_async_register(0, &reg), 0);
  vorn_network_pal_set_registration_mode(7);
  EXPECT_EQ(vorn_network_pal_async_register(0, &reg), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("reg_info mode UNKOW!\n"));
  EXPECT_EQ(vorn_network_pal_async_register(0, nullptr), VORN_INVALID_PARAM);
  vornsim::drain();
  EXPECT_TRUE(Collector::instance().of(VORN_NETWORK_EVENT_MANUAL_REGIST_DONE).empty());
  EXPECT_EQ(count(QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01), 0u);
}

// A network that is not there: the waiter gives up after 30 seconds of the
// test clock; a second request meanwhile does not replace the first target.
TEST_F(NetworkRegistration, WaiterTimesOutWhenNoRegistrationComes) {
  note_threads();
  vorn_network_pal_set_registration_mode(1);
  vorn_network_reg_info absent{VORN_NETWORK_REG_MODE_GO, VORN_NETWORK_REG_RAT_LTE, "99999"};
  auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(vorn_network_pal_async_register(0, &absent), 0);
  vorn_network_reg_info home{VORN_NETWORK_REG_MODE_GO, VORN_NETWORK_REG_RAT_LTE, "26201"};
  EXPECT_EQ(vorn_network_pal_async_register(0, &home), 0) << "while the first waits";
  ASSERT_TRUE(Collector::instance().wait_for(VORN_NETWORK_EVENT_MANUAL_REGIST_DONE, 1, 20000));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30000 / 100));
  EXPECT_TRUE(vt::logged("Timeout when registering\r\n"));
  EXPECT_EQ(Collector::instance().of(VORN_NETWORK_EVENT_MANUAL_REGIST_DONE).size(), 1u);
  EXPECT_EQ(count(QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01), 1u);
  EXPECT_EQ(vornsim::nas::registration().state, 2u) << "searching for the absent network";
}

TEST_F(NetworkRegistration, RejectedByTheNetwork) {
  vornsim::nas::set_reject(15);
  settle();
  auto rejects = Collector::instance().of(VORN_NETWORK_EVENT_LTE_REJECT);
  ASSERT_FALSE(rejects.empty());
  EXPECT_EQ(rejects.back().as<vorn_network_reject_report>().reject_cause, 15);
  auto serving = Collector::instance().of(VORN_NETWORK_EVENT_SERVING_SYSTEM);
  ASSERT_FALSE(serving.empty());
  EXPECT_EQ(serving.back().as<vorn_network_net_record>().reg_state, 0u);
  vornsim::nas::set_reject(0);
  settle();
  EXPECT_EQ(Collector::instance().of(VORN_NETWORK_EVENT_SERVING_SYSTEM).back().as<vorn_network_net_record>().reg_state,
            1u);

  // Manual selection of the forbidden network: rejected with cause 11.
  nas_perform_incremental_network_scan_ind_msg_v01 aborted{};
  aborted.scan_status = 3;
  vornsim::indicate(kNas, QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_IND_MSG_V01, aborted);
  settle();
  vorn_network_reg_info blocked{0, VORN_NETWORK_REG_RAT_LTE, "26203"};
  ASSERT_EQ(vorn_network_pal_register(0, &blocked), 0) << "not scanned: no check";
  EXPECT_TRUE(vt::logged("not scanned, skip check plmn\n"));
  EXPECT_TRUE(vt::eventually([] { return vornsim::nas::registration().reject_cause == 11; }));
}

TEST_F(NetworkRegistration, AttachDetachAndDataRoaming) {
  uint32_t state = 9;
  ASSERT_EQ(vorn_network_pal_dettach(), 0);
  EXPECT_EQ(vorn_network_pal_get_attach_state(0, &state), 0);
  EXPECT_EQ(state, 0u);
  EXPECT_EQ(vornsim::requests(kNas, QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01)[0].as<nas_initiate_attach_req_msg_v01>().ps_attach_action, 2u);
  EXPECT_TRUE(vt::eventually([] { return !vornsim::nas::registration().ps_attached; }));
  settle();
  EXPECT_EQ(vorn_network_pal_get_attach_state(0, &state), 0);
  EXPECT_EQ(state, 0u) << "after attach or detach the reports no longer set the state";
  ASSERT_EQ(vorn_network_pal_attach(), 0);
  EXPECT_EQ(vorn_network_pal_get_attach_state(0, &state), 0);
  EXPECT_EQ(state, 1u);
  EXPECT_TRUE(vt::eventually([] { return vornsim::nas::registration().ps_attached; }));
  vornsim::refuse_next(kNas, QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01, 3);
  EXPECT_EQ(vorn_network_pal_dettach(), VORN_QMI_FAILURE);
  EXPECT_TRUE(vt::logged("attach or detach failed! qmi_err:3\n"));
  EXPECT_EQ(vorn_network_pal_get_attach_state(0, &state), 0);
  EXPECT_EQ(state, 1u);

  uint32_t roaming = 9;
  ASSERT_EQ(vorn_network_pal_set_data_roaming_status(0), 0);
  EXPECT_TRUE(vt::logged("set to data_roam success\n"));
  ASSERT_EQ(vorn_network_pal_get_data_roaming_status(&roaming), 0);
  EXPECT_EQ(roaming, 0u);
  EXPECT_EQ(vornsim::nas::registration().data_roaming, 0u);
  vornsim::refuse_next(kNas, QMI_NAS_SET_DATA_ROAMING_REQ_MSG_V01, 3);
  EXPECT_EQ(vorn_network_pal_set_data_roaming_status(1), VORN_QMI_FAILURE);
  EXPECT_TRUE(vt::logged("Failed to set to data_roam 3\n"));

  vorn_network_pal_deinit();
  vornsim::clear_requests();
  EXPECT_EQ(vorn_network_pal_set_data_roaming_status(1), 0) << "no client: nothing to do";
  EXPECT_EQ(vorn_network_pal_get_data_roaming_status(&roaming), 0);
  EXPECT_TRUE(vornsim::requests().empty());
}

}  // namespace
