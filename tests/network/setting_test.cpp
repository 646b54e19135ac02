// The settings pair: each group set and read back, what reaches the modem
// for the groups asked and only for them, the PLMN lock item, the marker of
// the automatic mode, and where the simulated device camps by the selection.
#include <vornpal/device.h>
#include <vornpal/m2m.h>
#include <vornsim/m2m.h>

#include "m2m/messages.h"
#include "network_test.h"

namespace {

using namespace nett;
namespace m2m = vorn::m2m;
constexpr vornsim::Svc kM2m = vornsim::Svc::M2M;
constexpr char kMarker[] = "/data/q27_set_rat_auto.txt";

class NetworkSetting : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    start_family();
  }
  // The capabilities and the radio cycle open the device family's client,
  // the EFS items the M2M client: neither outlives the test.
  void TearDown() override {
    vorn_device_pal_deinit();
    vorn_m2m_pal_deinit();
    // The M2M start leaves its milestone in the kernel log.
    vt::write_file("/dev/kmsg", "");
    NetworkTest::TearDown();
  }
  static vorn_network_setting get(void (*flags)(vorn_network_setting &)) {
    vorn_network_setting setting{};
    flags(setting);
    EXPECT_EQ(vorn_network_pal_get_network_setting(0, &setting), 0);
    return setting;
  }
  static std::string serving_cell() {
    vornsim::drain();
    return vornsim::nas::registration().cell;
  }
  static std::vector<std::string> item_paths(unsigned msg_id) {
    std::vector<std::string> paths;
    for (const vornsim::Request &req : vornsim::requests(kM2m, msg_id))
      paths.push_back(req.as<vorn_m2m_read_nv_item_req_msg_v01>().item_file_path);
    return paths;
  }
};

TEST_F(NetworkSetting, RatModesRoundTripAndTheMarker) {
  struct Row {
    uint32_t rat_mode;
    uint16_t mode_pref;
  };
  const Row rows[] = {{0, 92}, {1, 8}, {2, 16}, {4, 24}, {8, 4}, {9, 12}, {10, 20}, {11, 28}};
  for (const Row &row : rows) {
    vorn_network_setting set{};
    set.rat_info_valid = 1;
    set.rat_mode = row.rat_mode;
    vornsim::clear_requests();
    ASSERT_EQ(vorn_network_pal_set_network_setting(0, &set), 0);
    auto sent = vornsim::requests(kNas, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].timeout_ms, 3000u);
    auto req = sent[0].as<nas_set_system_selection_preference_req_msg_v01>();
    EXPECT_EQ(req.mode_pref, row.mode_pref) << row.rat_mode;
    EXPECT_FALSE(req.band_pref_valid);
    EXPECT_FALSE(req.net_sel_pref_valid);
    EXPECT_EQ(vt::read_file(kMarker), row.rat_mode == 0 ? "1" : "0");
    vorn_network_setting got = get([](vorn_network_setting &s) { s.rat_info_valid = 1; });
    EXPECT_EQ(got.rat_mode, row.rat_mode);
  }
  // The word 32 reads as WCDMA, which writes 8.
  const uint8_t umts_tdd[4] = {32, 0, 0, 0};
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/modem/mmode/mode_pref", umts_tdd, 4), 0);
  EXPECT_EQ(get([](vorn_network_setting &s) { s.rat_info_valid = 1; }).rat_mode, 1u);
  // A marker that says automatic wins over the modem's word.
  vt::write_file(kMarker, "1");
  EXPECT_EQ(get([](vorn_network_setting &s) { s.rat_info_valid = 1; }).rat_mode, 0u);
  EXPECT_TRUE(vt::logged("q27 set_rat_auto 1\n"));
  // Without the rat group the mode reads -1.
  EXPECT_EQ(get([](vorn_network_setting &s) { s.band_info_valid = 1; }).rat_mode, 0xFFFFFFFFu);

  // The order of radios, as the modem keeps it.
  vorn_network_setting order{};
  order.rat_info_valid = 1;
  order.rat_mode = 0;
  order.rat_order_valid = 1;
  order.primary_rat = 3;
  order.secondary_rat = 2;
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &order), 0);
  auto req = vornsim::requests(kNas, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01)
                 .back()
                 .as<nas_set_system_selection_preference_req_msg_v01>();
  ASSERT_EQ(req.acq_order_len, 2u);
  EXPECT_EQ(req.acq_order[0], 8u);
  EXPECT_EQ(req.acq_order[1], 5u);
  vorn_network_setting got = get([](vorn_network_setting &s) { s.rat_info_valid = 1; });
  EXPECT_EQ(got.primary_rat, 3);
  EXPECT_EQ(got.secondary_rat, 2);
  // The current radio is the family's, as the events of the new selection
  // left it: LTE serves again.
  EXPECT_TRUE(vt::eventually([] { return get([](vorn_network_setting &s) { s.rat_info_valid = 1; }).current_rat == 7u; }));
}

TEST_F(NetworkSetting, BandsRoundTripAndTheDeviceCampsByThem) {
  vorn_network_setting set{};
  set.rat_info_valid = 1;
  set.rat_mode = 0;
  set.band_info_valid = 1;
  set.band_mode = 1;
  set.gsm_valid = 1;
  set.gsm_mask = VORN_NETWORK_GSM_900;
  set.umts_valid = 1;
  set.umts_mask = 0x01 | VORN_NETWORK_UMTS_VIII;
  set.lte_valid = 1;
  set.lte_mask[0] = 1u << 6;  // band 7
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &set), 0);
  EXPECT_EQ(g_band_mode, 1u);
  auto req = vornsim::requests(kNas, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01)
                 .back()
                 .as<nas_set_system_selection_preference_req_msg_v01>();
  EXPECT_EQ(req.band_pref, (1ull << 9) | (1ull << 22) | (1ull << 49));
  EXPECT_EQ(req.lte_band_pref_ext.bits_1_64, 1ull << 6);
  // LTE band 3 is no longer allowed: the band 7 cell serves.
  EXPECT_EQ(serving_cell(), "home-endc-b7-n78");

  vorn_network_setting got = get([](vorn_network_setting &s) {
    s.rat_info_valid = 1;
    s.band_info_valid = 1;
  });
  EXPECT_EQ(got.gsm_valid, 1);
  EXPECT_EQ(got.gsm_mask, static_cast<uint32_t>(VORN_NETWORK_GSM_900));
  EXPECT_EQ(got.umts_mask, 0x01u | VORN_NETWORK_UMTS_VIII);
  EXPECT_EQ(got.lte_mask[0], 1u << 6);
  EXPECT_EQ(got.lte_mask[1], 0u);
  ASSERT_EQ(got.band_list_len, 4);
  EXPECT_EQ(std::vector<uint32_t>(got.band_list, got.band_list + 4), (std::vector<uint32_t>{900, 1, 8, 107}));
  EXPECT_EQ(got.band, 1u) << "g_band_mode while several bands are listed";

  // LTE band 20 only, with LTE only: one band listed, and the device goes
  // to the partner's band 20 cell.
  vorn_network_setting one{};
  one.rat_info_valid = 1;
  one.rat_mode = 2;
  one.band_info_valid = 1;
  one.band_mode = 1;
  one.lte_valid = 1;
  one.lte_mask[0] = 1u << 19;
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &one), 0);
  auto fill = vornsim::requests(kNas, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01)
                  .back()
                  .as<nas_set_system_selection_preference_req_msg_v01>();
  // GSM and UMTS not given: filled from what the modem has (no band XIX).
  EXPECT_EQ(fill.band_pref, (1ull << 9) | (1ull << 7) | (1ull << 22) | (1ull << 49));
  EXPECT_EQ(serving_cell(), "partner-lte-b20");
  got = get([](vorn_network_setting &s) {
    s.rat_info_valid = 1;
    s.band_info_valid = 1;
  });
  EXPECT_EQ(got.band_list_len, 1);
  EXPECT_EQ(got.band, 120u);
  EXPECT_FALSE(got.gsm_valid) << "LTE only reports no GSM";

  // Automatic bands ignore the masks given.
  one.band_mode = 0;
  one.rat_mode = 0;
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &one), 0);
  EXPECT_TRUE(vt::logged("auto band\n"));
  EXPECT_EQ(serving_cell(), "home-lte-b3");

  // WCDMA only: the device leaves LTE.
  vorn_network_setting wcdma{};
  wcdma.rat_info_valid = 1;
  wcdma.rat_mode = 1;
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &wcdma), 0);
  EXPECT_EQ(serving_cell(), "home-wcdma-b1");
}

TEST_F(NetworkSetting, RegistrationAndPlmnLock) {
  vorn_network_setting set{};
  set.regist_info_valid = 1;
  set.regist_mode = 1;
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &set), 0);
  auto req = vornsim::requests(kNas, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01)
                 .back()
                 .as<nas_set_system_selection_preference_req_msg_v01>();
  EXPECT_EQ(req.net_sel_pref.net_sel_pref, 1u);
  EXPECT_EQ(req.net_sel_pref.mcc, 262);
  EXPECT_EQ(req.net_sel_pref.mnc, 1);
  EXPECT_FALSE(req.mode_pref_valid);
  EXPECT_EQ(get([](vorn_network_setting &s) { s.regist_info_valid = 1; }).regist_mode, 1u);

  // Only the PLMN group: no selection request, the item, a radio cycle.
  for (const char *plmn : {"26201", "310410"}) {
    vornsim::clear_requests();
    vorn_network_setting lock{};
    lock.plmn_lock_info_valid = 1;
    lock.plmn_lock_enable = 1;
    std::strcpy(lock.plmn_lock, plmn);
    ASSERT_EQ(vorn_network_pal_set_network_setting(0, &lock), 0);
    EXPECT_EQ(count(QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01), 0u);
    EXPECT_EQ(vt::count(vornsim::Svc::DMS, 0x2E), 2u) << "operating modes 1 then 0";
    vorn_network_setting got = get([](vorn_network_setting &s) { s.plmn_lock_info_valid = 1; });
    EXPECT_EQ(got.plmn_lock_enable, 1);
    EXPECT_STREQ(got.plmn_lock, plmn);
  }
  auto item = vornsim::m2m::efs_item("/nv/item_files/odm/plmnlock_string");
  ASSERT_TRUE(item);
  ASSERT_EQ(item->size(), 388u);
  EXPECT_EQ(std::vector<uint8_t>(item->begin(), item->begin() + 7), (std::vector<uint8_t>{1, 0, 0, 0, 0x13, 0x00, 0x14}));
  vorn_network_setting five{};
  five.plmn_lock_info_valid = 1;
  five.plmn_lock_enable = 1;
  std::strcpy(five.plmn_lock, "26201");
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &five), 0);
  EXPECT_EQ((*vornsim::m2m::efs_item("/nv/item_files/odm/plmnlock_string"))[5], 0xF2) << "0xF for no third MNC digit";
  five.plmn_lock_enable = 0;
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &five), 0);
  EXPECT_EQ(get([](vorn_network_setting &s) { s.plmn_lock_info_valid = 1; }).plmn_lock_enable, 0);
}

TEST_F(NetworkSetting, GroupsNotAskedForStayAlone) {
  // A get of the rat group reads no EFS item of the locks.
  vornsim::clear_requests();
  get([](vorn_network_setting &s) { s.rat_info_valid = 1; });
  for (const std::string &path : item_paths(m2m::ReadNvItem::id))
    EXPECT_TRUE(path.find("celllock") == std::string::npos && path.find("plmnlock") == std::string::npos) << path;
  // A get of the lock groups reads them, and the selection once.
  vornsim::clear_requests();
  vorn_network_setting both = get([](vorn_network_setting &s) {
    s.cell_lock_info_valid = 1;
    s.plmn_lock_info_valid = 1;
  });
  EXPECT_EQ(both.rat_mode, 0xFFFFFFFFu);
  EXPECT_EQ(count(QMI_NAS_GET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01), 1u);
  auto paths = item_paths(m2m::ReadNvItem::id);
  EXPECT_NE(std::find(paths.begin(), paths.end(), "/nv/item_files/odm/plmnlock_string"), paths.end());
  EXPECT_NE(std::find(paths.begin(), paths.end(), "/nv/item_files/odm/celllock_string"), paths.end());
  // A set of the lock groups only sends no selection request.
  vornsim::clear_requests();
  vorn_network_setting lock{};
  lock.cell_lock_info_valid = 1;
  lock.cell_lock_info = {0, 0, 0, 0, 0, 0, 0, 2};  // action 2 does nothing
  ASSERT_EQ(vorn_network_pal_set_network_setting(0, &lock), 0);
  EXPECT_EQ(vornsim::requests(kNas).size(), 0u);
  EXPECT_EQ(vt::count(kM2m, m2m::WriteNvItem::id), 0u);
  // NR is refused before anything is sent.
  vorn_network_setting nr{};
  nr.nr_info_valid = 1;
  nr.rat_info_valid = 1;
  nr.rat_mode = 2;
  EXPECT_EQ(vorn_network_pal_set_network_setting(0, &nr), -1);
  EXPECT_TRUE(vt::logged("nr info valid,Q27 don't support 5G\n"));
  EXPECT_EQ(count(QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01), 0u);
  // The selection query failing fails the get; its refusal, the set.
  vornsim::refuse_next(kNas, QMI_NAS_GET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01);
  vorn_network_setting any{};
  EXPECT_EQ(vorn_network_pal_get_network_setting(0, &any), -1);
  vornsim::refuse_next(kNas, QMI_NAS_SET_SYSTEM_SELECTION_PREFERENCE_REQ_MSG_V01);
  any.regist_info_valid = 1;
  EXPECT_EQ(vorn_network_pal_set_network_setting(0, &any), -1);
  EXPECT_EQ(vorn_network_pal_set_network_setting(0, nullptr), -1);
}

}  // namespace
