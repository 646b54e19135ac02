// The network information on each radio of the simulated environment, and
// the smaller queries.
#include "network_test.h"

namespace {

using namespace nett;

class NetworkInfo : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    start_family();
  }
  static vorn_network_info on(const char *cell) {
    EXPECT_TRUE(vornsim::nas::move_to(cell));
    settle();
    return info_of();
  }
};

// The AT+CSQ scale of 3GPP TS 27.007: (dBm + 113) / 2, 0 to 31; the
// library rounds where this truncates, hence the comparisons within 1.
int csq(int dbm) { return std::max(0, std::min(31, (dbm + 113) / 2)); }

TEST_F(NetworkInfo, LteCellOfTheHomeNetwork) {
  vorn_network_info info = on("home-lte-b3");
  EXPECT_EQ(info.rat, 3u);
  EXPECT_EQ(info.access_tech, VORN_NETWORK_ACT_LTE);
  EXPECT_EQ(info.band, 103u);
  EXPECT_EQ(info.bandwidth, 100u) << "the resource-block code of 20 MHz";
  EXPECT_EQ(info.channel, 1300u);
  EXPECT_EQ(info.pci, 101u);
  EXPECT_EQ(info.cell_id, 0x01A2D01u);
  EXPECT_EQ(info.tac, 0x2001u);
  EXPECT_EQ(info.lac, 0xFFFFu) << "LTE has no LAC";
  EXPECT_EQ(info.mcc, 262);
  EXPECT_EQ(info.mnc, 1);
  EXPECT_STREQ(info.plmn_text, "26201");
  EXPECT_STREQ(info.short_name, "Vorn");
  EXPECT_STREQ(info.long_name, "Vorn Mobile");
  EXPECT_EQ(info.sys_info.rat, 3u);
  EXPECT_EQ(info.sys_info.reg_state, 1u);
  EXPECT_EQ(info.sys_info.plmn, 26201u);
  EXPECT_EQ(info.sys_info.roaming, 1) << "the indicator says home";
  EXPECT_EQ(info.ps_info.reg_state, 1u);
  EXPECT_EQ(info.cs_info.reg_state, 1u);
  EXPECT_EQ(info.reg_domain, 2u);
  EXPECT_EQ(info.srv_status, 2u);
  EXPECT_EQ(info.lte_voice_status, 1u);
  EXPECT_EQ(info.lte_rsrp, -70);
  EXPECT_EQ(info.lte_rsrq, -9);
  EXPECT_EQ(info.signal.lte.valid, 1);
  EXPECT_EQ(info.signal.lte.rsrp, -70);
  EXPECT_EQ(info.signal.lte.snr, 14);
  EXPECT_EQ(info.signal.rat, 7u);
  EXPECT_NEAR(info.signal.rssi, csq(-70 + 25), 1);
  EXPECT_EQ(info.signal.ber, 99) << "no GSM bit error rate on LTE";
  EXPECT_EQ(info.signal.lte_drx, 1280u);
  // Neighbours: the other LTE cells heard, each on its own frequency.
  ASSERT_GE(info.neighbour_count, 3);
  bool endc_seen = false;
  for (int i = 0; i < info.neighbour_count; ++i)
    if (info.neighbour[i].channel == 3100 && info.neighbour[i].pci == 102) endc_seen = true;
  EXPECT_TRUE(endc_seen);
  // The carrier group: B3 primary, B7 secondary from the home network.
  EXPECT_EQ(info.pcc_valid, 1);
  EXPECT_EQ(info.scc_valid, 1);
  EXPECT_GE(info.lte_cc_num, 2u);
  EXPECT_EQ(info.cc_rsrp_bake, -70 + 141);
  // Link values of the vendor service and the receive chains.
  EXPECT_NE(info.lte_cqi, 0);
  EXPECT_EQ(info.tx_rx.radio, 3u);
  EXPECT_EQ(info.tx_rx.rx[0].valid, 1);
  EXPECT_EQ(info.tx_rx.rx[0].rsrq_level, -70 + 141);
  EXPECT_NEAR(info.tx_rx.rx[0].rssi_csq, csq(-70 + 25), 1);
  EXPECT_EQ(info.tx_rx.tx_power, 180);
  EXPECT_EQ(info.tx_rx.mode[0][0], 3);
}

TEST_F(NetworkInfo, EndcNrAndOlderRadios) {
  vorn_network_info endc = on("home-endc-b7-n78");
  EXPECT_EQ(endc.access_tech, VORN_NETWORK_ACT_ENDC);
  EXPECT_EQ(endc.sys_info.rat, 8u);
  EXPECT_EQ(endc.band, 107u);
  EXPECT_EQ(endc.band1, 5078u);
  EXPECT_EQ(endc.bandwidth1, 100u);
  EXPECT_EQ(endc.nr_rsrp, -73);
  EXPECT_EQ(endc.channel, 636666u) << "the NR leg's channel";
  EXPECT_EQ(endc.pcc.band, 503u) << "the vendor's primary block (band 3), numbered as an NR band";

  vorn_network_info nr = on("home-nr-n41");
  EXPECT_EQ(nr.rat, 4u);
  EXPECT_EQ(nr.access_tech, VORN_NETWORK_ACT_NR);
  EXPECT_EQ(nr.band, 5041u);
  EXPECT_EQ(nr.bandwidth, 40u);
  EXPECT_EQ(nr.cell_id, 0x123456789u);
  EXPECT_EQ(nr.tac, 0x3001u);
  EXPECT_EQ(nr.nr_snr, 9);

  vorn_network_info wcdma = on("home-wcdma-b1");
  EXPECT_EQ(wcdma.rat, 2u);
  EXPECT_EQ(wcdma.access_tech, VORN_NETWORK_ACT_WCDMA_CELL);
  EXPECT_EQ(wcdma.sys_info.rat, 2u);
  EXPECT_EQ(wcdma.band, 1u);
  EXPECT_EQ(wcdma.psc, 301u);
  EXPECT_EQ(wcdma.lac, 0x1002u);
  EXPECT_EQ(wcdma.signal.rat, 6u);
  EXPECT_EQ(wcdma.signal.rscp_bake, static_cast<uint32_t>(-70 + 121));
  EXPECT_EQ(wcdma.signal.ecno_bake, 49u) << "the modem's Ec/Io comes in positive half-dB steps";

  vorn_network_info gsm = on("home-gsm-900");
  EXPECT_EQ(gsm.access_tech, VORN_NETWORK_ACT_GSM);
  EXPECT_EQ(gsm.sys_info.rat, 1u);
  EXPECT_EQ(gsm.band, 900u);
  EXPECT_EQ(gsm.channel, 62u);
  EXPECT_EQ(gsm.gsm_bsic, 35);
  EXPECT_EQ(gsm.signal.ber, 0);
  EXPECT_NEAR(gsm.signal.rssi, csq(-70), 1);

  vorn_network_info partner = on("partner-lte-b20");
  EXPECT_EQ(partner.sys_info.reg_state, 5u);
  EXPECT_EQ(partner.ps_info.reg_state, 5u);
  EXPECT_EQ(partner.sys_info.roaming, 0);
  EXPECT_STREQ(partner.plmn_text, "23205");
  EXPECT_STREQ(partner.long_name, "Alpen Mobil Roaming");

  vorn_network_info across = on("across-lte-b25");
  EXPECT_EQ(across.mnc_includes_pcs_digit, 1);
  EXPECT_STREQ(across.plmn_text, "310410");
  EXPECT_EQ(across.sys_info.plmn, 310410u);
}

TEST_F(NetworkInfo, RejectedAndOutOfCoverage) {
  vornsim::nas::set_reject(13);
  settle();
  vorn_network_info denied = info_of(false);
  EXPECT_EQ(denied.ps_info.reg_state, 3u);
  EXPECT_EQ(denied.ps_info.reject_cause, 13u);
  EXPECT_EQ(denied.cs_info.reject_cause, 13u);

  vornsim::nas::set_reject(0);
  vornsim::nas::set_coverage(false);
  settle();
  vorn_network_info none = info_of();
  EXPECT_EQ(none.sys_info.reg_state, 2u) << "searching";
  EXPECT_EQ(none.signal.rssi, 99);
  EXPECT_EQ(none.cell_id, 0u);
  EXPECT_EQ(none.ps_info.cell_id, 0xFFFFFFFFu);
}

TEST_F(NetworkInfo, CsqFromNrWhenSwitchedOn) {
  vornsim::nas::move_to("home-endc-b7-n78");
  ASSERT_EQ(vorn_network_pal_set_gtcsqnren(1), 0);
  int32_t on = 0;
  EXPECT_EQ(vorn_network_pal_get_gtcsqnren(&on), 0);
  EXPECT_EQ(on, 1);
  EXPECT_EQ(vorn_network_pal_get_gtcsqnren(nullptr), VORN_INVALID_PARAM);
  struct Case {
    int anchor;
    uint16_t csq;
  };
  // The NR leg is 3 dB below the anchor.
  for (Case c : {Case{-27, 126}, Case{-28, 126}, Case{-100, 54}, Case{-110, 44}}) {
    SCOPED_TRACE(c.anchor);
    vornsim::nas::set_signal("home-endc-b7-n78", c.anchor, -10, 10);
    settle();
    // A loaded machine can stretch a request past its (scaled) time-out:
    // ask again rather than fail on that.
    uint16_t rssi = 0;
    EXPECT_TRUE(vt::eventually([&] { return (rssi = info_of().signal.rssi) == c.csq; }, 2000)) << rssi;
  }
  vorn_network_pal_set_gtcsqnren(0);
}

// The modem stops answering in the middle: each group keeps its defaults,
// the rest is filled, the query answers 0 and in its time-outs.
TEST_F(NetworkInfo, ModemThatStopsAnsweringMidway) {
  vornsim::fail_next(kNas, QMI_NAS_GET_CELL_LOCATION_INFO_REQ_MSG_V01, vornsim::kTimeoutRc, vornsim::kAll);
  vornsim::fail_next(kNas, QMI_NAS_GET_SIG_INFO_REQ_MSG_V01, vornsim::kTimeoutRc, vornsim::kAll);
  vorn_network_info info = info_of();
  EXPECT_EQ(info.channel, 0u);
  EXPECT_EQ(info.pci, 0u);
  EXPECT_EQ(info.band, 103u) << "the band step answered";
  EXPECT_STREQ(info.long_name, "Vorn Mobile");
  EXPECT_EQ(info.signal.rssi, 99);
  EXPECT_EQ(info.signal.lte.rsrp, 0xFF);
  EXPECT_TRUE(vt::logged("queries the signal strength information failed, qmi_err is 0 \n"));

  vornsim::set_service_up(vornsim::Svc::NAS, false);
  auto start = std::chrono::steady_clock::now();
  vorn_network_info nothing = info_of();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(nothing.sys_info.reg_state, 0u);
  EXPECT_EQ(nothing.signal.rssi, 99);
  vornsim::set_service_up(vornsim::Svc::NAS, true);

  EXPECT_EQ(vorn_network_pal_get_network_info(0, nullptr), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("signal_info is NULL!\n"));
}

TEST_F(NetworkInfo, BandNumbers) {
  struct Row {
    uint32_t code, band;
  };
  // WCDMA as is, LTE 100 + band, NR 500 + band below 10 and 5000 + band above.
  for (Row r : {Row{80, 1}, Row{91, 19}, Row{120, 101}, Row{134, 117}, Row{175, 186}, Row{250, 501},
                Row{255, 508}, Row{256, 5020}, Row{269, 5078}, Row{290, 5014}}) {
    SCOPED_TRACE(r.code);
    EXPECT_EQ(vorn_antennae_get_active_band_bandwith_info(r.code), r.band);
  }
  vornsim::clear_diag();
  EXPECT_EQ(vorn_antennae_get_active_band_bandwith_info(44), 3u) << "no GSM codes here";
  EXPECT_TRUE(vt::logged("Error, unknown antennae band:44.\n"));
  EXPECT_EQ(vorn_antennae_get_active_band_bandwith_info(157), 3u);
}

TEST_F(NetworkInfo, SmallerQueries) {
  uint16_t mcc = 0, mnc = 0;
  uint8_t three = 9;
  EXPECT_EQ(vorn_network_pal_get_network_mccmnc(&mcc, &mnc, &three), 0);
  EXPECT_EQ(mcc, 262);
  EXPECT_EQ(mnc, 1);
  EXPECT_EQ(three, 0);
  vornsim::refuse_next(kNas, QMI_NAS_GET_HOME_NETWORK_REQ_MSG_V01, 16);
  EXPECT_EQ(vorn_network_pal_get_network_mccmnc(&mcc, &mnc, &three), -1);
  EXPECT_TRUE(vt::logged("Home Network has not been provisioned\n"));

  vorn_network_band_info band{};
  EXPECT_EQ(vorn_network_pal_get_band_info(&band), 0);
  EXPECT_EQ(band.band, 122u);
  EXPECT_EQ(band.radio, 8u);
  EXPECT_EQ(vorn_network_pal_get_band_info(nullptr), -1);
  EXPECT_TRUE(vt::logged("param pointer is NULL! \n"));

  uint32_t ta = 0;
  EXPECT_EQ(vorn_network_pal_get_timing_advance(&ta), 0);
  EXPECT_EQ(ta, 12u);

  vorn_network_time time{};
  EXPECT_EQ(vorn_network_pal_get_network_time(&time), 0);
  EXPECT_GE(time.year, 2024);
  EXPECT_EQ(time.time_zone_offset_minutes, 60);

  vorn_network_arfcn_list arfcn{};
  EXPECT_EQ(vorn_network_pal_nas_get_arfcn_list(&arfcn), 0);
  EXPECT_EQ(arfcn.dl_earfcn, 1300u);
  EXPECT_EQ(arfcn.ul_earfcn, 19300u);
  EXPECT_EQ(arfcn.lte_rrc_state, 1u);

  uint32_t speff = 0;
  EXPECT_EQ(vorn_network_pal_nas_get_speff(&speff, 1), 0);
  EXPECT_EQ(speff, 14u * 35);
  EXPECT_EQ(vorn_network_pal_nas_get_nr5g_speff(&speff, 1), -1);
  EXPECT_TRUE(vt::logged(" Device does not support this operation. For example, non-CPE device. \n"));
  EXPECT_EQ(vorn_network_pal_nas_get_speff(nullptr, 1), VORN_INVALID_PARAM);

  char rows[1024] = {};
  EXPECT_EQ(vorn_network_pal_get_cc_rf_info(rows), 0);
  EXPECT_EQ(std::string(rows).rfind("\nLTE:\npci:0, rssi:0", 0), 0u);
  EXPECT_NE(std::string(rows).find("\nNR:\n"), std::string::npos);

  vornsim::set_dm_cache_word(vornsim::kActiveSimSlotKey, 1);
  EXPECT_EQ(vorn_network_pal_get_usim_card_slot(), 1);
  EXPECT_TRUE(vt::logged("slot is 1\n"));
  vornsim::set_dm_cache_word(vornsim::kActiveSimSlotKey, 0);
  EXPECT_EQ(vorn_network_pal_get_usim_card_slot(), 0);

  // Off LTE: no timing advance, no spectral efficiency.
  vornsim::nas::move_to("home-wcdma-b1");
  settle();
  EXPECT_EQ(vorn_network_pal_get_timing_advance(&ta), -1);
  EXPECT_EQ(vorn_network_pal_nas_get_speff(&speff, 1), -1);
  EXPECT_TRUE(vt::logged(" Operation rejected due to RRC IDLE state. \n"));
  vornsim::nas::set_coverage(false);
  settle();
  EXPECT_EQ(vorn_network_pal_get_network_time(&time), -1);
  EXPECT_TRUE(vt::logged("nas_3gpp_time_valid invalid\n"));
}

}  // namespace
