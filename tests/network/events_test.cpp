// Indications become events: on the event thread, completed with names,
// with the cached registration state, reject causes and secondary cells
// kept as the family keeps them.
#include <atomic>
#include <thread>

#include "network_test.h"

namespace {

using namespace nett;

class NetworkEvents : public NetworkTest {};

Collector &events() { return Collector::instance(); }

// The kernel keeps 15 characters of a thread's name.
const std::string kEventThread = std::string("event_network_rx").substr(0, 15);

TEST_F(NetworkEvents, IndicationsReachCallbacksOnTheEventThread) {
  start_family();
  ASSERT_TRUE(vornsim::nas::move_to("home-endc-b7-n78"));
  settle();
  for (uint32_t id : {VORN_NETWORK_EVENT_SERVING_SYSTEM, VORN_NETWORK_EVENT_CELL_INFO,
                      VORN_NETWORK_EVENT_NET_INFO, VORN_NETWORK_EVENT_SIGNAL, VORN_NETWORK_EVENT_RF_BAND}) {
    SCOPED_TRACE(id);
    auto got = events().of(id);
    ASSERT_FALSE(got.empty());
    for (const Event &event : got) {
      EXPECT_EQ(event.thread, kEventThread);
      EXPECT_FALSE(event.on_modem_thread);
    }
  }
  auto net_info = events().of(VORN_NETWORK_EVENT_NET_INFO).back().as<vorn_network_net_record>();
  EXPECT_EQ(net_info.reg_state, 1u);
  EXPECT_EQ(net_info.radio, 3u);
  EXPECT_EQ(net_info.mcc, 262);
  EXPECT_EQ(net_info.mnc, 1);
  EXPECT_EQ(net_info.plmn, 26201);
  EXPECT_STREQ(net_info.plmn_id, "26201");
  EXPECT_STREQ(net_info.short_name, "Vorn");
  EXPECT_EQ(net_info.ps_info.valid, 1u);
  EXPECT_EQ(net_info.cell_id, 0x01A2D02u);
  auto cell = events().of(VORN_NETWORK_EVENT_CELL_INFO).back().as<vorn_network_cell_record>();
  EXPECT_EQ(cell.radio, 3u);
  EXPECT_EQ(cell.tac, 0x2001);
  auto signal = events().of(VORN_NETWORK_EVENT_SIGNAL).back().as<vorn_network_signal_report>();
  EXPECT_EQ(signal.lte_valid, 1u);
  EXPECT_EQ(signal.lte_rsrp, -70);
  EXPECT_EQ(signal.nr_rsrp, -73);
  auto band = events().of(VORN_NETWORK_EVENT_RF_BAND).front().as<vorn_network_rf_band_report>();
  EXPECT_EQ(band.words[0], 2u) << "the LTE anchor and the NR leg";
  EXPECT_EQ(band.words[2], 126u);
}

// A callback that queries the family from inside the registration report
// holds the notify mutex for the whole query; the modem's thread must not
// wait for it.
TEST_F(NetworkEvents, CallbackQueryingTheFamilyBlocksNeitherItselfNorTheModem) {
  start_family();
  std::atomic<bool> inside{false}, release{false};
  std::atomic<int> query_result{-99};
  events().set_hook([&](const Event &event) {
    if (event.id != VORN_NETWORK_EVENT_NET_INFO || inside.exchange(true)) return;
    vorn_network_info info{};
    info.sys_info.valid = 1;
    query_result = vorn_network_pal_get_network_info(0, &info);
    vt::eventually([&] { return release.load(); });
  });
  ASSERT_TRUE(vornsim::nas::move_to("partner-lte-b20"));
  ASSERT_TRUE(vt::eventually([&] { return inside.load(); }));
  ASSERT_TRUE(vt::eventually([&] { return query_result.load() != -99; }));
  EXPECT_EQ(query_result.load(), 0);
  // Indications go on being handled while the callback runs.
  nas_sig_info_ind_msg_v01 sig{};
  sig.info.gsm_sig_info_valid = 1;
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 20; ++i) vornsim::indicate(kNas, QMI_NAS_SIG_INFO_IND_MSG_V01, sig);
  vornsim::drain();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_FALSE(release.load()) << "the callback still runs";
  release = true;
  EXPECT_TRUE(events().wait_for(VORN_NETWORK_EVENT_SIGNAL, 20));
}

// The same report twice: events 11 and 3 each time, and the names are
// looked up only when the state changed.
TEST_F(NetworkEvents, RepeatedStateKeepsTheNamesItHas) {
  start_family();
  vornsim::indicate(kNas, QMI_NAS_SYS_INFO_IND_MSG_V01, nas_sys_info_ind_msg_v01{});  // no PLMN cached
  auto leave = serving_ind(0, true, 1);
  leave.info.serving_system.registration_state = NAS_NOT_REGISTERED_V01;
  vornsim::indicate(kNas, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, leave);
  settle();
  forget();
  auto ind = serving_ind(NAS_RADIO_IF_LTE_V01, true, 1);
  vornsim::indicate(kNas, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, ind);
  settle();
  EXPECT_EQ(count(QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01), 1u) << "the state changed: names asked for";
  auto first = events().of(VORN_NETWORK_EVENT_NET_INFO);
  ASSERT_EQ(first.size(), 1u);
  EXPECT_STREQ(first[0].as<vorn_network_net_record>().long_name, "Vorn Mobile");
  vornsim::indicate(kNas, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, ind);
  settle();
  EXPECT_EQ(count(QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01), 1u) << "no new query for the same state";
  EXPECT_EQ(events().of(VORN_NETWORK_EVENT_NET_INFO).size(), 2u);
  EXPECT_EQ(events().of(VORN_NETWORK_EVENT_SERVING_SYSTEM).size(), 2u);
  EXPECT_EQ(events().of(VORN_NETWORK_EVENT_CELL_INFO).size(), 2u);

  // Registered with no radio interface: the radio of the report stays.
  auto no_radio = serving_ind(0, true, 1);
  vornsim::indicate(kNas, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, no_radio);
  settle();
  auto serving = events().of(VORN_NETWORK_EVENT_SERVING_SYSTEM);
  EXPECT_EQ(serving.back().as<vorn_network_net_record>().radio, 3u);
  EXPECT_EQ(events().of(VORN_NETWORK_EVENT_CELL_INFO).back().as<vorn_network_cell_record>().radio, 0u);

  // Roaming indicator 0: roaming, and the home flag clears with PS attached.
  vornsim::indicate(kNas, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, serving_ind(NAS_RADIO_IF_UMTS_V01, true, 0));
  settle();
  auto roaming = events().of(VORN_NETWORK_EVENT_SERVING_SYSTEM).back().as<vorn_network_net_record>();
  EXPECT_EQ(roaming.reg_state, 5u);
  EXPECT_EQ(roaming.cs_info.state, 5u);
  EXPECT_EQ(roaming.home, 0u);
  EXPECT_EQ(roaming.radio, 2u);
}

// A fresh process: no roaming indicator has come yet, so the first
// registration without one is a roaming one.
TEST_F(NetworkEvents, FirstRegistrationWithoutIndicatorReportsRoaming) {
  VT_NEEDS_FRESH_PROCESS();
  EXPECT_EXIT(
      {
        vornsim::reset();
        if (vorn_network_pal_init() != 0) std::_Exit(2);
        vornsim::indicate(kNas, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, serving_ind(NAS_RADIO_IF_LTE_V01, false, 0));
        settle();
        auto got = events().of(VORN_NETWORK_EVENT_SERVING_SYSTEM);
        bool ok = got.size() == 1 && got[0].as<vorn_network_net_record>().reg_state == 5 &&
                  got[0].as<vorn_network_net_record>().home == 0;
        vorn_network_pal_deinit();
        std::_Exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(NetworkEvents, RejectCausesOnlyOneTo113) {
  start_family();
  vorn_network_reject_info reject{};
  oem_pal_ind_reject(&reject);  // what earlier tests left
  vornsim::nas::set_reject(15);
  settle();
  auto lte = events().of(VORN_NETWORK_EVENT_LTE_REJECT);
  ASSERT_FALSE(lte.empty());
  EXPECT_EQ(lte.back().as<vorn_network_reject_report>().reject_valid, 1);
  EXPECT_EQ(lte.back().as<vorn_network_reject_report>().reject_cause, 15);
  EXPECT_EQ(oem_pal_ind_reject(&reject), 0);
  EXPECT_EQ(reject.ps_cause, 15);
  EXPECT_EQ(reject.ps_state, 3u);
  vorn_network_reject_info again{};
  again.ps_state = 0xAA;
  EXPECT_EQ(oem_pal_ind_reject(&again), 0);
  EXPECT_EQ(again.ps_cause, 0) << "causes clear on reading";
  EXPECT_EQ(again.ps_state, 0xAAu) << "without a cause the caller's word stays";

  for (uint8_t cause : {0, 114, 113, 1}) {
    SCOPED_TRACE(static_cast<int>(cause));
    auto ind = sys_info_ind("262", "01");
    ind.info.lte_sys_info_valid = 0;
    ind.info.nr5g_sys_info_valid = 1;
    ind.info.nr5g_sys_info = sys_info_ind("262", "01").info.lte_sys_info;
    ind.info.nr5g_sys_info.reg_reject_info_valid = 1;
    ind.info.nr5g_sys_info.rej_cause = cause;
    events().clear();
    vornsim::indicate(kNas, QMI_NAS_SYS_INFO_IND_MSG_V01, ind);
    ASSERT_TRUE(events().wait_for(VORN_NETWORK_EVENT_NR_REJECT));
    EXPECT_EQ(events().of(VORN_NETWORK_EVENT_NR_REJECT)[0].as<vorn_network_reject_report>().reject_cause, cause);
    vorn_network_reject_info out{};
    out.ps_state = 0x55;
    oem_pal_ind_reject(&out);
    EXPECT_EQ(out.ps_cause, cause);
    EXPECT_EQ(out.ps_state, cause >= 1 && cause <= 113 ? 3u : 0x55u);
  }
  EXPECT_EQ(oem_pal_ind_reject(nullptr), -1);
  EXPECT_TRUE(vt::logged("get cereg_reject error\n"));
}

TEST_F(NetworkEvents, SystemInfoTakesTheFirstPartPresent) {
  start_family();
  // WCDMA and LTE parts: the WCDMA branch only, so no reject event.
  auto ind = sys_info_ind("232", "05");
  ind.info.lte_sys_info.reg_reject_info_valid = 1;
  ind.info.lte_sys_info.rej_cause = 9;
  ind.info.wcdma_sys_info_valid = 1;
  ind.info.wcdma_sys_info = sys_info_ind("262", "03").info.lte_sys_info;
  vornsim::indicate(kNas, QMI_NAS_SYS_INFO_IND_MSG_V01, ind);
  settle();
  EXPECT_TRUE(events().of(VORN_NETWORK_EVENT_LTE_REJECT).empty());
  uint16_t mcc = 0, mnc = 0;
  EXPECT_EQ(vorn_network_pal_get_mnc_mcc(&mnc, &mcc), 0);
  EXPECT_EQ(mcc, 262);
  EXPECT_EQ(mnc, 3);

  // A 3-digit MNC runs into the MCC's parse: four digits of MCC.
  vornsim::indicate(kNas, QMI_NAS_SYS_INFO_IND_MSG_V01, sys_info_ind("310", "410"));
  settle();
  EXPECT_EQ(vorn_network_pal_get_mnc_mcc(&mnc, &mcc), 0);
  EXPECT_EQ(mcc, 3104);
  EXPECT_EQ(mnc, 410);

  // No part at all: no PLMN.
  vornsim::indicate(kNas, QMI_NAS_SYS_INFO_IND_MSG_V01, nas_sys_info_ind_msg_v01{});
  settle();
  EXPECT_EQ(vorn_network_pal_get_mnc_mcc(&mnc, &mcc), 0);
  EXPECT_EQ(mcc, 0);
  EXPECT_EQ(mnc, 0);
}

TEST_F(NetworkEvents, SecondaryCellReportsAndBadIndications) {
  start_family();
  nas_lte_cphy_ca_ind_msg_v01 ca{};
  ca.cphy_scell_info_valid = 1;
  ca.cphy_scell_info = {201, 6300, 0};
  vornsim::indicate(kNas, QMI_NAS_LTE_CPHY_CA_IND_V01, ca);
  settle();
  EXPECT_TRUE(events().of(VORN_NETWORK_EVENT_CELL_INFO).empty()) << "deconfigured before and now";
  EXPECT_TRUE(vt::logged("Ignore report ind with both state deconfigured.\n"));
  ca.cphy_scell_info.scell_state = 2;
  vornsim::indicate(kNas, QMI_NAS_LTE_CPHY_CA_IND_V01, ca);
  settle();
  EXPECT_EQ(events().of(VORN_NETWORK_EVENT_CELL_INFO).size(), 1u);

  // A band report that cannot be decoded fails the scan.
  vornsim::set_decode_fault(kNas, QMI_NAS_RF_BAND_INFO_IND_V01, -1);
  vornsim::indicate(kNas, QMI_NAS_RF_BAND_INFO_IND_V01, nas_rf_band_info_ind_msg_v01{});
  vornsim::drain();
  vornsim::set_decode_fault(kNas, QMI_NAS_RF_BAND_INFO_IND_V01, 0);
  EXPECT_TRUE(vt::logged("Error, decode indication message failed.\n"));
  vorn_network_scan_result result{};
  EXPECT_EQ(vorn_network_pal_get_scan_result(0, &result), 0);
  EXPECT_EQ(result.status, 3u);

  // Indications shorter than their message: the missing parts are absent.
  uint8_t few[3] = {1, 1, 1};
  vornsim::indicate(kNas, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, few, sizeof few);
  vornsim::indicate(kNas, QMI_NAS_SIG_INFO_IND_MSG_V01, few, 1);
  vornsim::indicate(kNas, 0x77, few, sizeof few);
  settle();
  EXPECT_TRUE(vt::logged("Network default\n"));
  auto serving = events().of(VORN_NETWORK_EVENT_SERVING_SYSTEM);
  ASSERT_EQ(serving.size(), 1u);
  EXPECT_EQ(serving[0].as<vorn_network_net_record>().reg_state, 0u);
  auto signal = events().of(VORN_NETWORK_EVENT_SIGNAL);
  ASSERT_EQ(signal.size(), 1u);
  EXPECT_EQ(signal[0].as<vorn_network_signal_report>().gsm_valid, 0u);
}

TEST_F(NetworkEvents, Registrations) {
  EXPECT_EQ(vorn_network_pal_event_register(nullptr, 0), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_network_al_event_register(nullptr, 0), VORN_INVALID_PARAM);
  static std::atomic<int> calls{0};
  auto counting = [](uint32_t, void *, uint32_t, uint32_t user) { calls += static_cast<int>(user); };
  EXPECT_EQ(vorn_network_al_event_register(counting, 1), -1) << "its answer to a success";
  EXPECT_EQ(vorn_network_pal_event_unregister(counting), 0);
  start_family();
  vornsim::indicate(kNas, QMI_NAS_SIG_INFO_IND_MSG_V01, nas_sig_info_ind_msg_v01{});
  settle();
  EXPECT_GE(calls.load(), 2) << "still registered: there is no removal";
}

// Without its event thread the family drops events rather than keep them.
TEST_F(NetworkEvents, AfterDeinitNothingIsDelivered) {
  start_family();
  vorn_network_pal_deinit();
  vornsim::indicate(kNas, QMI_NAS_SIG_INFO_IND_MSG_V01, nas_sig_info_ind_msg_v01{});
  vornsim::drain();
  EXPECT_TRUE(events().events().empty());
}

}  // namespace

namespace {

using namespace nett;

class NetworkStart : public NetworkTest {};

// Ten tries a second apart for a modem that is not up, the milestones in
// the kernel log, and a refused indication registration.
TEST_F(NetworkStart, TriesMilestonesAndRefusals) {
  vornsim::set_service_up(kNas, false);
  vt::write_file("/dev/kmsg", "");  // the sandbox's stand-in keeps only the last line written
  EXPECT_EQ(vorn_network_pal_init(), -1);
  EXPECT_TRUE(vt::logged("waiting for modem up:10.\n"));
  EXPECT_TRUE(vt::logged("Network qmi client init failed, error code: -1.\n"));
  EXPECT_NE(vt::read_file("/dev/kmsg").find("oem:network qmi inited ERROR"), std::string::npos);

  vornsim::clear_diag();
  // Up during the second try (each waits 3 s for the service).
  vornsim::service_up_after(kNas, 5000);
  EXPECT_EQ(vorn_network_pal_init(), 0);
  EXPECT_TRUE(vt::logged("waiting for modem up:1.\n"));
  EXPECT_FALSE(vt::logged("waiting for modem up:3.\n"));
  EXPECT_TRUE(vt::logged("Network pal init success...\n"));
  EXPECT_NE(vt::read_file("/dev/kmsg").find("oem:network qmi inited OK"), std::string::npos);

  // A second start with the client up: the tries run out.
  vornsim::clear_diag();
  EXPECT_EQ(vorn_network_pal_init(), -1);
  EXPECT_EQ(vt::count_logged("waiting for modem up:10.\n"), 1);
  bool already = false;
  for (const std::string &text : vt::diag_texts()) already |= text.rfind("Network client already initialized. Handle ", 0) == 0;
  EXPECT_TRUE(already);

  vorn_network_pal_deinit();
  const int clients_before = vornsim::counters().clients_live;
  vornsim::refuse_next(kNas, QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01, 3);
  EXPECT_EQ(vorn_network_pal_init(), -1);
  EXPECT_TRUE(vt::logged("Network qmi event register failed, error code: 0.\n"));
  EXPECT_EQ(vornsim::counters().clients_live, clients_before + 1) << "the family's client stays open";
}

}  // namespace
