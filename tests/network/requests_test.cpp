// Every exported function of the family that sends a request: its message
// as the service documents it, and each of its requests failing in turn.
#include <vornpal/m2m.h>
#include <vornpal/platform/device_management_service_v01.h>

#include "m2m/messages.h"
#include "message_rows.h"
#include "network_test.h"
#include "request_failures.h"

namespace {

using namespace nett;
using vt::FailureCase;
using vt::MessageResult;
using vt::row;

class NetworkRequests : public NetworkTest {};

vorn_network_info info;
vorn_network_band_info band;
vorn_network_time net_time;
vorn_network_arfcn_list arfcn;
uint32_t word;
uint16_t mcc, mnc;
vorn_network_scan_result scan_request;
const vorn_network_reg_info kToPartner = {0, VORN_NETWORK_REG_RAT_LTE, "23205"};
vorn_network_setting setting;
vorn_network_freqlock_info freqlock;
vorn_network_cainfo cainfo;

// The selection groups alone: no lock items, no radio cycle.
int get_selection() {
  setting = {};
  setting.regist_info_valid = 1;
  setting.band_info_valid = 1;
  return vorn_network_pal_get_network_setting(0, &setting);
}
int set_selection() {
  setting = {};
  setting.rat_info_valid = 1;
  setting.rat_mode = 2;
  setting.regist_info_valid = 1;
  return vorn_network_pal_set_network_setting(0, &setting);
}
// The NR half comes from the M2M service, whose client a daemon has
// started; the list form reads the NR PCI lock item, here an empty list.
int read_freqlock() {
  vorn_m2m_pal_init();
  freqlock = {};
  return vorn_network_pal_get_freqlock(&freqlock);
}
int read_freqlock_ext() {
  vorn_m2m_pal_init();
  freqlock = {};
  freqlock.rat = VORN_NETWORK_LOCK_RAT_NR;
  oem_network_pal_set_freqlock_ext(&freqlock);
  return oem_network_pal_get_freqlock_ext(&freqlock);
}
int lock_lte_cell() {
  freqlock = {};
  freqlock.rat = VORN_NETWORK_LOCK_RAT_LTE;
  freqlock.enable = 1;
  freqlock.lte_count = 1;
  freqlock.lte_cell[0] = {6300, 201};
  return vorn_network_pal_set_freqlock(&freqlock);
}

TEST_F(NetworkRequests, MessagesAsTheServiceDocumentsThem) {
  start_family();
  vt::expect_messages(kNas, {
      row<net::GetHomeNetwork>("vorn_network_pal_get_network_mccmnc", [] { return vorn_network_pal_get_network_mccmnc(&mcc, &mnc, nullptr); }, 0, 276, 3000),
      row<net::GetRfBandInfo>("vorn_network_pal_get_band_info", [] { return vorn_network_pal_get_band_info(&band); }, 0, 68, 3000),
      row<net::GetDrx>("vorn_network_get_drx", [] { return vorn_network_get_drx(0, &info); }, 0, 16, 3000),
      row<net::GetTxRxInfo>("vorn_network_get_tx_rx_info", [] { return vorn_network_get_tx_rx_info(0, &info); }, 4, 160, 3000),
      row<net::GetArfcnList>("vorn_network_pal_nas_get_arfcn_list", [] { return vorn_network_pal_nas_get_arfcn_list(&arfcn); }, 0, 40, 3000),
      row<net::GetSpeff>("vorn_network_pal_nas_get_speff", [] { return vorn_network_pal_nas_get_speff(&word, 1); }, 2, 16, 3000),
      row<net::GetNr5gSpeff>("vorn_network_pal_nas_get_nr5g_speff", [] { return vorn_network_pal_nas_get_nr5g_speff(&word, 2); }, 2, 16, 3000),
      row<net::InitiateAttach>("vorn_network_pal_attach", [] { return vorn_network_pal_attach(); }, 8, 8, 3000),
      row<net::InitiateAttach>("vorn_network_pal_dettach", [] { return vorn_network_pal_dettach(); }, 8, 8, 3000),
      row<net::SetDataRoaming>("vorn_network_pal_set_data_roaming_status", [] { return vorn_network_pal_set_data_roaming_status(1); }, 4, 8, 5000),
      row<net::GetDataRoaming>("vorn_network_pal_get_data_roaming_status", [] { return vorn_network_pal_get_data_roaming_status(&word); }, 0, 16, 5000),
      row<net::PerformIncrementalScan>("vorn_network_pal_scan", [] { return vorn_network_pal_scan(0, &scan_request); }, 140, 8, 3000),
      row<net::GetSystemSelectionPreference>("vorn_network_pal_get_network_setting", get_selection, 0, 120, 3000, false),
      row<net::SetSystemSelectionPreference>("vorn_network_pal_set_network_setting", set_selection, 112, 8, 3000),
      row<net::GetLteCphyCaInfo>("vorn_network_pal_get_lte_cainfo", [] { return vorn_network_pal_get_lte_cainfo(&cainfo); }, 0, 112, 3000),
      row<net::SetCellConfig>("vorn_network_pal_set_freqlock", lock_lte_cell, 488, 8, 3000),
      row<net::GetCellLockConfig>("vorn_network_pal_get_freqlock", read_freqlock, 0, 496, 3000, false),
      row<net::GetCellLockConfig>("oem_network_pal_get_freqlock_ext", read_freqlock_ext, 0, 496, 3000, false),
  });
  // The start: its two requests at 5000 ms, with the bytes the modem reads.
  vorn_network_pal_deinit();
  vornsim::clear_requests();
  ASSERT_EQ(vorn_network_pal_init(), 0);
  auto reg = vornsim::requests(kNas, QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01);
  ASSERT_EQ(reg.size(), 1u);
  EXPECT_EQ(reg[0].timeout_ms, 5000u);
  std::vector<uint8_t> wanted(49, 0);
  for (int on : {4, 5, 12, 13, 14, 28, 29, 45, 46}) wanted[on] = 1;
  EXPECT_EQ(reg[0].bytes, wanted);
  auto sig = vornsim::requests(kNas, QMI_NAS_CONFIG_SIG_INFO2_REQ_MSG_V01);
  ASSERT_EQ(sig.size(), 1u);
  EXPECT_EQ(sig[0].timeout_ms, 5000u);
  EXPECT_EQ(sig[0].bytes[1820], 1);
  EXPECT_EQ(sig[0].as<nas_config_sig_info2_req_msg_v01>().nr5g_rsrp_delta, 10);
  EXPECT_EQ(sig[0].as<nas_config_sig_info2_req_msg_v01>().lte_sig_rpt_config.rpt_rate, 5);
  // Names at 5000 ms from the network information.
  vornsim::clear_requests();
  info_of(false);
  auto names = vornsim::requests(kNas, QMI_NAS_GET_PLMN_NAME_REQ_MSG_V01);
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names[0].timeout_ms, 5000u);
  EXPECT_EQ(names[0].as<nas_get_plmn_name_req_msg_v01>().rat, 8u);
}

TEST_F(NetworkRequests, EachRequestFailingInTurn) {
  vt::FailureFamily family;
  family.fresh = [] {
    vorn_network_pal_deinit();
    vornsim::reset();
    ASSERT_EQ(vorn_network_pal_init(), 0);
  };
  constexpr int kQmi = VORN_QMI_FAILURE;
  auto started_again = [] { vorn_network_pal_deinit(); };
  const FailureCase cases[] = {
      // Only the indication registration fails the start.
      {"vorn_network_pal_init", [] { return vorn_network_pal_init(); }, -1, -1, false,
       {MessageResult{vornsim::Svc::DMS, 0x45, 0, 0}, MessageResult{kNas, QMI_NAS_CONFIG_SIG_INFO2_REQ_MSG_V01, 0, 0}},
       started_again},
      {"vorn_network_pal_get_network_info", [] { info = {}; info.cell_valid = 1; info.sys_info.valid = 1; info.signal.valid = 1; info.carrier_valid = 1; info.tx_rx.valid = 1; return vorn_network_pal_get_network_info(0, &info); }, 0, 0, false},
      {"vorn_network_pal_get_network_mccmnc", [] { return vorn_network_pal_get_network_mccmnc(&mcc, &mnc, nullptr); }, -1, -1},
      {"vorn_network_pal_get_band_info", [] { return vorn_network_pal_get_band_info(&band); }, kQmi, kQmi},
      {"vorn_network_get_drx", [] { return vorn_network_get_drx(0, &info); }, 0, 0},
      {"vorn_network_get_tx_rx_info", [] { return vorn_network_get_tx_rx_info(0, &info); }, kQmi, kQmi},
      {"vorn_network_pal_get_timing_advance", [] { return vorn_network_pal_get_timing_advance(&word); }, -1, -1},
      {"vorn_network_pal_get_network_time", [] { return vorn_network_pal_get_network_time(&net_time); }, kQmi, kQmi},
      {"vorn_network_pal_nas_get_arfcn_list", [] { return vorn_network_pal_nas_get_arfcn_list(&arfcn); }, -1, -1},
      {"vorn_network_pal_nas_get_speff", [] { return vorn_network_pal_nas_get_speff(&word, 1); }, -1, -1},
      {"vorn_network_pal_attach", [] { return vorn_network_pal_attach(); }, kQmi, kQmi},
      {"vorn_network_pal_dettach", [] { return vorn_network_pal_dettach(); }, kQmi, kQmi},
      {"vorn_network_pal_set_data_roaming_status", [] { return vorn_network_pal_set_data_roaming_status(0); }, kQmi, kQmi},
      {"vorn_network_pal_get_data_roaming_status", [] { return vorn_network_pal_get_data_roaming_status(&word); }, kQmi, kQmi},
      // One failed try of three: the next one goes through.
      {"vorn_network_pal_scan", [] { return vorn_network_pal_scan(0, &scan_request); }, 0, 0, false},
      // The answer comes to the callback: the call itself only sends.
      {"vorn_network_pal_register", [] { return vorn_network_pal_register(0, &kToPartner); }, 0, 0, false},
      // Without the modem's band capabilities the bands are reported empty.
      {"vorn_network_pal_get_network_setting", get_selection, -1, -1, true,
       {MessageResult{vornsim::Svc::DMS, QMI_DMS_GET_BAND_CAPABILITY_REQ_V01, 0, 0}}},
      {"vorn_network_pal_set_network_setting", set_selection, -1, -1, false},
      {"vorn_network_pal_get_lte_cainfo", [] { return vorn_network_pal_get_lte_cainfo(&cainfo); }, -1, -1},
      // The modem's refusal of the cell configuration is only logged.
      {"vorn_network_pal_set_freqlock", lock_lte_cell, 0, 0},
      {"vorn_network_pal_get_freqlock", read_freqlock, 0, 0, true,
       {MessageResult{vornsim::Svc::M2M, vorn::m2m::GetCellLockExt::id, -1, -1}}},
  };
  for (const FailureCase &c : cases) vt::expect_request_failures(c, family);
}

// The records as a daemon on the target sees them (the build for the target
// also checks them at compile time).
TEST_F(NetworkRequests, RecordLayouts) {
  EXPECT_EQ(sizeof(vorn_network_info), 2232u);
  EXPECT_EQ(offsetof(vorn_network_info, sys_info), 1320u);
  EXPECT_EQ(offsetof(vorn_network_info, scc), 1644u);
  EXPECT_EQ(sizeof(vorn_network_scc_record), 48u);
  EXPECT_EQ(sizeof(vorn_network_scan_entry), 156u);
  EXPECT_EQ(offsetof(vorn_network_scan_entry, short_name), 35u);
  EXPECT_EQ(sizeof(vorn_network_scan_result), 7832u);
  EXPECT_EQ(offsetof(vorn_network_scan_result, count), 7828u);
  EXPECT_EQ(sizeof(vorn_network_net_record), 232u);
  EXPECT_EQ(sizeof(vorn_network_signal_report), 40u);
  EXPECT_EQ(sizeof(nas_perform_incremental_network_scan_ind_msg_v01), 10988u);
}

}  // namespace
