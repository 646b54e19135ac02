// The carrier-aggregation report merged with the secondary cell the modem
// indicated, and the band capabilities as lists and as settings masks.
#include <vornpal/device.h>
#include <vornpal/m2m.h>

#include "network_test.h"

namespace {

using namespace nett;

class CaReport : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    start_family();
  }
  void TearDown() override {
    vorn_device_pal_deinit();
    vt::write_file("/dev/kmsg", "");
    NetworkTest::TearDown();
  }
  // The secondary cell as the modem indicates it.
  static void indicate_scell(uint16_t pci, uint16_t freq, uint32_t state) {
    nas_lte_cphy_ca_ind_msg_v01 ind{};
    ind.cphy_ca_valid = 1;
    ind.cphy_ca = 2;
    ind.cphy_scell_info_valid = 1;
    ind.cphy_scell_info = {pci, freq, state};
    ind.scell_dl_bandwidth_valid = 1;
    ind.scell_dl_bandwidth = 5;
    ind.scell_band_valid = 1;
    ind.scell_band = 7;
    vornsim::indicate(kNas, QMI_NAS_LTE_CPHY_CA_IND_V01, ind);
    settle();
  }
  static vorn_network_cainfo cainfo() {
    vorn_network_cainfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(vorn_network_pal_get_lte_cainfo(&info), 0);
    return info;
  }
};

TEST_F(CaReport, SecondaryCellsMergeWithTheIndicatedOne) {
  // On the band 3 cell the band 7 cell aggregates, activated.
  vorn_network_cainfo info = cainfo();
  EXPECT_EQ(info.pcell_pci, 101);
  EXPECT_EQ(info.pcell_freq, 1300);
  ASSERT_EQ(info.count, 1u);
  EXPECT_EQ(info.scell[0].pci, 102);
  EXPECT_EQ(info.scell[0].freq, 3100u);
  EXPECT_EQ(info.scell[0].band, 107u);
  EXPECT_EQ(info.scell[0].scell_state, 2u);

  // Weak, the modem answers it deconfigured: the state indicated for that
  // cell stands, for another cell it does not.
  ASSERT_TRUE(vornsim::nas::set_signal("home-endc-b7-n78", -112, -14, 2));
  settle();
  indicate_scell(102, 3100, 1);
  EXPECT_EQ(cainfo().scell[0].scell_state, 1u);
  EXPECT_TRUE(vt::logged("update scell_state = [1].\n"));
  indicate_scell(77, 3100, 1);
  EXPECT_EQ(cainfo().scell[0].scell_state, 0u);

  // No secondary cell in the answer: the indicated one is reported.
  ASSERT_TRUE(vornsim::nas::set_signal("home-endc-b7-n78", -130, -20, 0));
  settle();
  indicate_scell(102, 3100, 2);
  info = cainfo();
  ASSERT_EQ(info.count, 1u);
  EXPECT_EQ(info.pcell_freq, 1) << "a secondary cell is present";
  EXPECT_EQ(info.scell[0].pci, 102);
  EXPECT_EQ(info.scell[0].freq, 3100u);
  EXPECT_EQ(info.scell[0].bandwidth, 5u);
  EXPECT_EQ(info.scell[0].band, 7u);
  EXPECT_EQ(info.scell[0].scell_state, 2u);
  EXPECT_EQ(info.scell[0].ul_configured, 2) << "the configured count the indication carried";
  // Deconfigured since: nothing to report.
  indicate_scell(102, 3100, 0);
  EXPECT_EQ(cainfo().count, 0u);

  EXPECT_EQ(vorn_network_pal_get_lte_cainfo(nullptr), 3);
  EXPECT_TRUE(vt::logged("pointer is empty.\n"));
  vornsim::fail_next(kNas, QMI_NAS_GET_LTE_CPHY_CA_INFO_REQ_MSG_V01);
  vorn_network_cainfo untouched{};
  EXPECT_EQ(vorn_network_pal_get_lte_cainfo(&untouched), -1);
  EXPECT_TRUE(vt::logged("GET LTE CHPY fail.\n"));
}

TEST_F(CaReport, CapabilitiesListEveryBandOfTheModemsMasks) {
  vorn_device_band_capabilities caps{};
  ASSERT_EQ(vorn_device_pal_get_band_capabilities(&caps), 0);
  // What the family's numbering makes of the masks, bit by bit: GSM by MHz,
  // WCDMA by band, LTE 100 + band with the second mask's count running on
  // from the first (its bit n is band 164 + n).
  std::vector<uint32_t> wanted;
  const std::pair<unsigned, uint32_t> gsm_umts[] = {{9, 900}, {7, 1800}, {21, 1900}, {19, 850}, {22, 1}, {23, 2},
                                                    {24, 3},  {25, 4},   {26, 5},    {49, 8},   {60, 19}};
  for (const auto &[bit, band] : gsm_umts)
    if (caps.umts_band_mask >> bit & 1) wanted.push_back(band);
  for (unsigned n = 0; n < 64; ++n)
    if (caps.lte_band_mask[0] >> n & 1) wanted.push_back(101 + n);
  for (unsigned n = 0; n < 64; ++n)
    if (caps.lte_band_mask[1] >> n & 1) wanted.push_back(164 + n);
  // The simulated modem: GSM 900 and 1800, WCDMA I and VIII, LTE 1 to 71.
  ASSERT_EQ(wanted.size(), 30u);
  EXPECT_EQ(wanted[0], 900u);
  EXPECT_EQ(wanted[3], 8u);
  EXPECT_EQ(wanted[4], 101u);

  vorn_network_capabilities_info info{};
  info.band_request = 1;
  ASSERT_EQ(vorn_network_pal_get_capabilities_info(0, &info), 0);
  EXPECT_EQ(std::vector<uint32_t>(info.band_list, info.band_list + info.band_list_len), wanted);
  EXPECT_EQ(info.umts_mask, static_cast<uint32_t>(caps.umts_band_mask));
  EXPECT_EQ(info.data_capabilities_len, 0u);

  // The settings' masks of the classes not given; the given ones stay.
  vorn_network_setting setting{};
  setting.gsm_valid = 1;
  setting.umts_valid = 0;
  setting.lte_valid = 1;
  setting.lte_mask[0] = 0x40;
  ASSERT_EQ(oem_nw_pal_fill_band_capabilities(&setting), 0);
  EXPECT_EQ(setting.umts_mask, 0x01u | VORN_NETWORK_UMTS_VIII);
  EXPECT_EQ(setting.umts_valid, 0);
  EXPECT_EQ(setting.lte_mask[0], 0x40u) << "the given LTE class stays";
  setting.lte_valid = 0;
  ASSERT_EQ(oem_nw_pal_fill_band_capabilities(&setting), 0);
  EXPECT_EQ(setting.lte_mask[0], static_cast<uint32_t>(caps.lte_band_mask[0]));
  EXPECT_EQ(setting.lte_mask[1], static_cast<uint32_t>(caps.lte_band_mask[0] >> 32));
  EXPECT_EQ(setting.lte_mask[2], static_cast<uint32_t>(caps.lte_band_mask[1]));
  EXPECT_EQ(setting.lte_mask[3], static_cast<uint32_t>(caps.lte_band_mask[1] >> 32));
  EXPECT_EQ(setting.nr_info.nr_mask[0], 0u) << "the modem has no NR bands";

  EXPECT_EQ(vorn_network_pal_get_capabilities_info(0, nullptr), -1);
}

}  // namespace
