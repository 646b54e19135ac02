// The settings kept in the modem's EFS (release, receive chains, antenna
// diversity), the MBN and counter commands, and the operations this
// platform answers with a fixed word.
#include <vornpal/m2m.h>
#include <vornsim/m2m.h>

#include "m2m/messages.h"
#include "network_test.h"

namespace {

using namespace nett;
using Bytes = std::vector<uint8_t>;
constexpr vornsim::Svc kM2m = vornsim::Svc::M2M;

constexpr char kLteRelease[] = "/nv/item_files/modem/lte/rrc/efs/lte_3gpp_release_ver";
constexpr char kNrRelease[] = "/nv/item_files/modem/nr5g/RRC/nr5g_3gpp_release_ver";
constexpr char kRxConfig[] = "/nv/item_files/modem/nr5g/RRC/num_rx_cfg";
constexpr char kFeature8Rx[] = "/nv/item_files/modem/nr5g/RRC/cap_control_8rx_feature";
constexpr char kArd[] = "/nv/item_files/modem/lte/ML1/ard_config";
constexpr char kArd2[] = "/nv/item_files/modem/LTE/ML1/ard_config_2rx_bk";
constexpr char kArd4[] = "/nv/item_files/modem/LTE/ML1/ard_config_4rx_bk";
constexpr char kDiversity[] = "/nv/item_files/mcs/trm/ant_div_switch_master";

class EfsSets : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    ASSERT_EQ(vorn_m2m_pal_init(), 0);
  }
  void TearDown() override {
    vorn_m2m_pal_deinit();
    vt::write_file("/dev/kmsg", "");
    NetworkTest::TearDown();
  }
  static void put(const char *path, const Bytes &bytes) {
    ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(path, bytes.data(), static_cast<uint32_t>(bytes.size())), 0) << path;
  }
  static Bytes item(const char *path) { return vornsim::m2m::efs_item(path).value_or(Bytes{0xEE, 0xEE}); }
  static bool gone(const char *path) { return !vornsim::m2m::efs_item(path).has_value(); }
  struct Umode {
    uint32_t ant, rx_config, feature_8rx;
  };
  static Umode umode(uint32_t given = 99) {
    Umode u{given, 0, 0};
    EXPECT_EQ(vorn_network_pal_get_umode(&u.ant, &u.rx_config, &u.feature_8rx), 0);
    return u;
  }
};

TEST_F(EfsSets, ReleaseVersionsRoundTripThroughTheirBytes) {
  uint32_t lte = 7, nr = 7;
  EXPECT_EQ(vorn_network_pal_get_release_version(&lte, &nr), -1);
  EXPECT_TRUE(vt::logged("read lte relese version nv fail."));

  ASSERT_EQ(vorn_network_pal_set_release_version("LTE", 1), 0);
  ASSERT_EQ(vorn_network_pal_set_release_version("NR", 0), 0);
  EXPECT_EQ(item(kLteRelease), Bytes{0xD0});
  EXPECT_EQ(item(kNrRelease), Bytes{0x01});
  ASSERT_EQ(vorn_network_pal_get_release_version(&lte, &nr), 0);
  EXPECT_EQ(lte, 1u);
  EXPECT_EQ(nr, 0u);
  ASSERT_EQ(vorn_network_pal_set_release_version("LTE", 0), 0);
  ASSERT_EQ(vorn_network_pal_set_release_version("NR", 1), 0);
  ASSERT_EQ(vorn_network_pal_get_release_version(&lte, &nr), 0);
  EXPECT_EQ(lte, 0u);
  EXPECT_EQ(nr, 1u);

  // A byte the two values do not name leaves the output alone.
  put(kLteRelease, {0xE0});
  lte = 7;
  ASSERT_EQ(vorn_network_pal_get_release_version(&lte, &nr), 0);
  EXPECT_EQ(lte, 7u);

  EXPECT_EQ(vorn_network_pal_set_release_version("NR", 2), -1);
  EXPECT_TRUE(vt::logged("Get RELVER content failed.\r\n"));
  EXPECT_TRUE(vt::logged("set nr rel to nv fail."));
  EXPECT_EQ(item(kNrRelease), Bytes{0x02}) << "untouched";
  EXPECT_EQ(vorn_network_pal_set_release_version("5G", 0), 3);
  EXPECT_TRUE(vt::logged(" RAT is invalid: 5G.\r\n"));
  vornsim::fail_next(kM2m, vorn::m2m::WriteNvItem::id);
  EXPECT_EQ(vorn_network_pal_set_release_version("LTE", 1), -1);
  EXPECT_TRUE(vt::logged("Can't write efs value."));
  EXPECT_TRUE(vt::logged("set lte rel to nv fail."));
}

TEST_F(EfsSets, ReceiveChainsParkAndRestoreTheirItems) {
  put(kArd, {0xA2});
  put(kArd4, {0xA4});
  put(kRxConfig, {1, 2});
  Umode now = umode();
  EXPECT_EQ(now.ant, 2u);
  EXPECT_EQ(now.rx_config, 1u);
  EXPECT_EQ(now.feature_8rx, 0u);
  EXPECT_TRUE(vt::logged(std::string("read efs:") + kFeature8Rx + " fail.\n"));

  // Two chains to four: the 2-chain ARD is parked, the 4-chain one restored.
  EXPECT_EQ(vorn_network_pal_swicth_umode(4, 2), 0);
  EXPECT_EQ(item(kArd2), Bytes{0xA2});
  EXPECT_EQ(item(kArd), Bytes{0xA4});
  EXPECT_TRUE(gone(kArd4));
  EXPECT_EQ(item(kRxConfig), (Bytes{1, 4}));
  EXPECT_EQ(item("/nv/item_files/modem/nr5g/RRC/num_rx_cfg_bk"), (Bytes{1, 2}));
  EXPECT_EQ(umode().ant, 4u);

  // Four to eight: only the feature byte says so.
  EXPECT_EQ(vorn_network_pal_swicth_umode(8, 4), 0);
  EXPECT_EQ(item(kArd4), Bytes{0xA4});
  EXPECT_TRUE(gone(kArd));
  EXPECT_TRUE(gone(kRxConfig));
  EXPECT_EQ(item(kFeature8Rx), Bytes{1});
  now = umode();
  EXPECT_EQ(now.ant, 8u);
  EXPECT_EQ(now.rx_config, 0u);
  EXPECT_EQ(now.feature_8rx, 1u);

  // rx_en 1 with 3 chains falls to the feature byte.
  put(kRxConfig, {1, 3});
  EXPECT_EQ(umode().ant, 8u);

  // Eight to none: the feature goes off and nothing is restored.
  EXPECT_EQ(vorn_network_pal_swicth_umode(0, 8), 0);
  EXPECT_TRUE(vt::logged("ant_num ==0 ,disale all rx,exit directly!\r\n"));
  EXPECT_EQ(item(kFeature8Rx), Bytes{0});
  EXPECT_EQ(umode(99).ant, 99u);

  // Back to two chains: the ARD parked at the first switch returns.
  EXPECT_EQ(vorn_network_pal_swicth_umode(2, 0), 0);
  EXPECT_EQ(item(kArd), Bytes{0xA2});
  EXPECT_EQ(item(kRxConfig), (Bytes{1, 2}));
  EXPECT_EQ(umode().ant, 2u);
  // Parking steps the transport loses: each one after it still runs, and
  // the last one's failure is logged and kept as the result.
  vt::write_file("/dev/kmsg", "");
  vornsim::fail_next(kM2m, vorn::m2m::EfsRename::id, vornsim::kTimeoutRc, 2);
  vornsim::fail_next(kM2m, vorn::m2m::WriteNvItem::id);
  EXPECT_NE(vorn_network_pal_swicth_umode(9, 2), 0);
  EXPECT_EQ(item(kArd), Bytes{0xA2}) << "lost on the way";
  EXPECT_EQ(item(kRxConfig), (Bytes{1, 2}));
  EXPECT_TRUE(vt::logged("rename/write efs fail!!! \r\n"));
}

TEST_F(EfsSets, AntennaDiversityKeepsTheItemsLength) {
  const Bytes on = {2, 2, 2, 2, 2, 2, 1, 2, 1, 1, 2, 1, 0, 0};
  const Bytes off = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 1, 0, 0};
  uint32_t status = 7;
  EXPECT_EQ(vorn_network_pal_get_asdiv(&status), -1);
  EXPECT_TRUE(vt::logged("can't read nv."));
  // An item the modem never had: 30 zero bytes.
  EXPECT_EQ(vorn_network_pal_set_asdiv(1), 0);
  EXPECT_EQ(item(kDiversity), Bytes(30, 0));

  put(kDiversity, off);
  ASSERT_EQ(vorn_network_pal_get_asdiv(&status), 0);
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(vorn_network_pal_set_asdiv(1), 0);
  EXPECT_EQ(item(kDiversity), on);
  ASSERT_EQ(vorn_network_pal_get_asdiv(&status), 0);
  EXPECT_EQ(status, 1u);
  // Already on: nothing written.
  vornsim::clear_requests();
  EXPECT_EQ(vorn_network_pal_set_asdiv(1), 0);
  EXPECT_TRUE(vornsim::requests(kM2m, vorn::m2m::WriteNvItem::id).empty());
  EXPECT_EQ(vorn_network_pal_set_asdiv(0), 0);
  EXPECT_EQ(item(kDiversity), off);
  // A longer item keeps its length, zeros after the text.
  put(kDiversity, Bytes(20, 9));
  EXPECT_EQ(vorn_network_pal_set_asdiv(1), 0);
  Bytes longer = on;
  longer.resize(20, 0);
  EXPECT_EQ(item(kDiversity), longer);
}

TEST_F(EfsSets, MbnAndCountersAndTheFixedResults) {
  vornsim::clear_requests();
  EXPECT_EQ(vorn_network_pal_set_mbn_file(1, nullptr), -1);
  EXPECT_TRUE(vt::logged("oper_name is NULL but act != 0"));
  EXPECT_EQ(vorn_network_pal_set_mbn_file(1, "Operator-name-of-forty-characters-long!!"), 0);
  EXPECT_EQ(vorn_network_pal_set_mbn_file(0, nullptr), 0);
  vorn_network_reg_type reg;
  std::memset(&reg, 0x5A, sizeof reg);
  EXPECT_EQ(oem_network_get_reg_type(&reg), 0);
  EXPECT_EQ(reg.registration_num, 0) << "the record the command filled, not the caller's bytes";
  vorn_network_tx_power power{-23};
  EXPECT_EQ(oem_network_get_tx_power(&power), -23);
  vorn_network_mbn_request active{3, "Vorn"};
  EXPECT_EQ(oem_network_get_active_mbn(&active), 0);
  EXPECT_TRUE(vt::logged("act= 3, oper_name = Vorn\n"));

  struct Fixed {
    const char *name;
    int (*call)(void);
    int result;
  };
  const Fixed kFixed[] = {
      {"vorn_network_pal_plmn_list", vorn_network_pal_plmn_list, 0},
      {"vorn_network_5gnr_time_start", vorn_network_5gnr_time_start, 0},
      {"vorn_network_5gnr_time_stop", vorn_network_5gnr_time_stop, 0},
      {"vorn_network_pal_get_network_basic_msg", vorn_network_pal_get_network_basic_msg, 0},
      {"oem_network_pal_get_NrRssi", oem_network_pal_get_NrRssi, 0},
      {"vorn_network_pal_set_cdrx", vorn_network_pal_set_cdrx, 0},
      {"vorn_network_pal_get_cdrx", vorn_network_pal_get_cdrx, 0},
      {"vorn_network_pal_scan_dedicated", vorn_network_pal_scan_dedicated, 0},
      {"vorn_network_pal_get_lte_cinr", vorn_network_pal_get_lte_cinr, 0},
      {"oem_network_pal_get_attach_info", oem_network_pal_get_attach_info, 0},
      {"oem_network_pal_get_lte_cellinfo_extra", oem_network_pal_get_lte_cellinfo_extra, 0},
      {"oem_network_pal_get_nr_cellinfo_extra", oem_network_pal_get_nr_cellinfo_extra, 0},
      {"vorn_network_pal_get_nr_reg_info", vorn_network_pal_get_nr_reg_info, 0},
      {"vorn_network_pal_rrc_conn_reason", vorn_network_pal_rrc_conn_reason, 0},
      {"vorn_network_pal_get_currentupTime", vorn_network_pal_get_currentupTime, 0},
      {"vorn_network_pal_set_radio_state", vorn_network_pal_set_radio_state, 0},
      {"oem_network_pal_thermal_cc_control_get", oem_network_pal_thermal_cc_control_get, 0},
      {"oem_network_pal_thermal_cc_control_set", oem_network_pal_thermal_cc_control_set, 0},
      {"vorn_network_pal_set_multi_cell_lock", vorn_network_pal_set_multi_cell_lock, -1},
      {"oem_get_pci_if_endc", oem_get_pci_if_endc, -1},
      {"oem_network_pal_gtcelllockex_unlock", oem_network_pal_gtcelllockex_unlock, 302},
      {"oem_network_pal_gtcelllockex_lock_del", oem_network_pal_gtcelllockex_lock_del, 302},
      {"oem_network_pal_get_celllockex", oem_network_pal_get_celllockex, 302},
      {"oem_network_pal_exec_cellscanex", oem_network_pal_exec_cellscanex, 302},
      {"oem_network_pal_get_gtcellscanex", oem_network_pal_get_gtcellscanex, 302},
      {"oem_network_pal_set_gtcellscanex", oem_network_pal_set_gtcellscanex, 302},
      {"oem_network_pal_exec_cellscan", oem_network_pal_exec_cellscan, 302},
      {"oem_network_pal_set_gt5gnssai_fun", oem_network_pal_set_gt5gnssai_fun, 302},
      {"oem_network_pal_clear_gt5gnssai_fun", oem_network_pal_clear_gt5gnssai_fun, 302},
      {"oem_network_pal_get_gt5gnssai_fun", oem_network_pal_get_gt5gnssai_fun, 302},
      {"oem_network_pal_set_nr_deprioritize", oem_network_pal_set_nr_deprioritize, 302},
      {"oem_network_pal_set_endc_en", oem_network_pal_set_endc_en, 302},
      {"oem_network_pal_get_rejcause", oem_network_pal_get_rejcause, 302},
      {"oem_gttasstate_pal", oem_gttasstate_pal, 302},
      {"oem_cusd_set_pal", oem_cusd_set_pal, 302},
      {"oem_cssn_set_pal", oem_cssn_set_pal, 302},
      {"oem_cssn_get_pal", oem_cssn_get_pal, 302},
  };
  for (const Fixed &f : kFixed) EXPECT_EQ(f.call(), f.result) << f.name;
  EXPECT_EQ(vorn_network_pal_event_unregister(nullptr), 0);
  // None of them, nor the vendor commands, reached the modem.
  EXPECT_TRUE(vornsim::requests().empty()) << vornsim::requests().size() << " requests";
}

}  // namespace
