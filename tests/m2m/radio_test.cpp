// Radio reports of the vendor service into the Network records, and the NR
// cell lock through it.
#include <cstring>
#include <vector>

#include <vornpal/network.h>

#include "m2m_test.h"

namespace {

using namespace m2mt;

class M2mRadio : public M2mTest {
 protected:
  void SetUp() override {
    M2mTest::SetUp();
    start_family();
  }
};

// A record the way the Network family hands it over: cleared, serving radio set.
vorn_network_info record_on(uint8_t access_tech) {
  vorn_network_info info;
  std::memset(&info, 0, sizeof info);
  info.access_tech = access_tech;
  return info;
}

void refuse_next(unsigned msg_id) {
  vornsim::refuse_next(kM2m, msg_id, QMI_ERR_INVALID_ARG_V01);
}

TEST_F(M2mRadio, CarrierAggregationCopiesTheCarriersWhole) {
  vorn_m2m_pal_deinit();  // the query starts the client itself
  vorn_network_info info = record_on(VORN_NETWORK_ACT_LTE);
  ASSERT_EQ(vorn_m2m_pal_get_cainfo(&info), 0);
  EXPECT_EQ(vornsim::requests(kM2m, QMI_VORN_M2M_GET_CA_INFO_REQ_V01).size(), 1u);
  EXPECT_EQ(info.pcc.band, 3u);
  ASSERT_EQ(info.scc_count, 2);
  EXPECT_EQ(info.scc[0].band, 107u);
  EXPECT_EQ(info.scc[0].scell_state, 2);
  EXPECT_EQ(info.scc[0].ul_configerd, 1);
  EXPECT_EQ(info.scc[1].band, 120u);
  EXPECT_EQ(info.scc[1].ul_configerd, 0);
  EXPECT_EQ(info.access_tech, VORN_NETWORK_ACT_LTE) << "the rest of the record stays";

  // More secondary carriers than the record holds: the first ten, each whole.
  vt::answer<m2m::GetCaInfo>(kM2m, [](auto &resp) {
    resp.ca_scc_list_len = 12;
    for (unsigned i = 0; i < VORN_M2M_CA_SCC_MAX_V01; ++i) {
      resp.scc[i].band = 101 + i;
      resp.scc[i].info[41] = static_cast<uint8_t>(0xA0 + i);
    }
  });
  ASSERT_EQ(vorn_m2m_pal_get_cainfo(&info), 0);
  EXPECT_EQ(info.scc_count, VORN_NETWORK_SCC_MAX);
  EXPECT_EQ(info.scc[9].band, 110u);
  EXPECT_EQ(info.scc[9].reserved[15], 0xA9);

  vorn_network_info before = info;
  refuse_next(QMI_VORN_M2M_GET_CA_INFO_REQ_V01);
  EXPECT_EQ(vorn_m2m_pal_get_cainfo(&info), -1);
  EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
  EXPECT_EQ(vorn_m2m_pal_get_cainfo(nullptr), -1);
  EXPECT_TRUE(vt::logged("Parameter is error!\n"));
}

// Distinct values for every byte of the answer.
void distinct_link_values(uint8_t nr_valid) {
  vt::answer<m2m::GetSigInfo>(kM2m, [nr_valid](auto &resp) {
    resp.sig_info_valid = 1;
    resp.lte_cqi = 1, resp.lte_ri = 2, resp.lte_dlrank = 3, resp.lte_dlmcs = 4, resp.lte_ulmcs = 5;
    resp.nr_valid = nr_valid;
    resp.nr_cqi = 11, resp.nr_ri = 12, resp.nr_dlrank = 13, resp.nr_dlmcs = 14, resp.nr_ulmcs = 15;
  });
}

std::vector<int> lte(const vorn_network_info &i) {
  return {i.lte_cqi, i.lte_ri, i.lte_dlrank, i.lte_dlmcs, i.lte_ulmcs};
}
std::vector<int> nsa(const vorn_network_info &i) {
  return {i.nsa_nr_cqi, i.nsa_nr_ri, i.nsa_nr_dlrank, i.nsa_nr_dlmcs, i.nsa_nr_ulmcs};
}
std::vector<int> sa(const vorn_network_info &i) {
  return {i.nr_cqi, i.nr_ri, i.nr_dlrank, i.nr_dlmcs, i.nr_ulmcs};
}
const std::vector<int> kNone = {0, 0, 0, 0, 0};
const std::vector<int> kLte = {1, 2, 3, 4, 5};
const std::vector<int> kNr = {11, 12, 13, 14, 15};

TEST_F(M2mRadio, LinkQualityGoesWhereTheServingRadioSays) {
  distinct_link_values(1);
  vorn_network_info info = record_on(VORN_NETWORK_ACT_LTE);
  ASSERT_EQ(vorn_m2m_pal_get_cell_sig_info(0, &info), 0);
  EXPECT_EQ(lte(info), kLte);
  EXPECT_EQ(nsa(info), kNone);
  EXPECT_EQ(sa(info), kNone);
  EXPECT_TRUE(vt::logged("lte_cqi is :1\n"));

  info = record_on(VORN_NETWORK_ACT_ENDC);
  ASSERT_EQ(vorn_m2m_pal_get_cell_sig_info(0, &info), 0);
  EXPECT_EQ(lte(info), kLte);
  EXPECT_EQ(nsa(info), kNr);
  EXPECT_EQ(sa(info), kNone);
  EXPECT_TRUE(vt::logged("nsa nr_cqi is  :11\n"));

  info = record_on(VORN_NETWORK_ACT_NR);
  ASSERT_EQ(vorn_m2m_pal_get_cell_sig_info(0, &info), 0);
  EXPECT_EQ(lte(info), kNone);
  EXPECT_EQ(sa(info), kNr);
  EXPECT_TRUE(vt::logged("nr_cqi is  :11\n"));

  for (uint8_t older : {VORN_NETWORK_ACT_GSM, VORN_NETWORK_ACT_WCDMA_CELL}) {
    info = record_on(older);
    ASSERT_EQ(vorn_m2m_pal_get_cell_sig_info(0, &info), 0);
    EXPECT_EQ(lte(info), kNone);
    EXPECT_EQ(sa(info), kNone);
  }

  // NR values that the modem does not vouch for stay out; LTE ones still come.
  distinct_link_values(0);
  info = record_on(VORN_NETWORK_ACT_ENDC);
  ASSERT_EQ(vorn_m2m_pal_get_cell_sig_info(0, &info), 0);
  EXPECT_EQ(lte(info), kLte);
  EXPECT_EQ(nsa(info), kNone);
}

TEST_F(M2mRadio, LinkQualityWithoutValuesOrWithARefusal) {
  vt::answer<m2m::GetSigInfo>(kM2m, [](auto &resp) { resp.lte_cqi = 9; });
  vorn_network_info info = record_on(VORN_NETWORK_ACT_LTE);
  info.lte_cqi = 77;
  EXPECT_EQ(vorn_m2m_pal_get_cell_sig_info(0, &info), 0);
  EXPECT_EQ(info.lte_cqi, 77) << "validity byte 0 leaves the record";

  refuse_next(QMI_VORN_M2M_GET_SIG_INFO_REQ_V01);
  EXPECT_EQ(vorn_m2m_pal_get_cell_sig_info(0, &info), -1);
  EXPECT_TRUE(vt::logged("error : QMI_OEM_M2M_GET_SIG_INFO_REQ_V01 is fail : result 1 , error 17\n"));
  EXPECT_EQ(info.lte_cqi, 77);

  EXPECT_EQ(vorn_m2m_pal_get_cell_sig_info(0, nullptr), -1);
  EXPECT_TRUE(vt::logged("error : sig_info is null\n"));
}

TEST_F(M2mRadio, GsmDetailsOnlyWhenTheModemHasThem) {
  vorn_network_info info = record_on(VORN_NETWORK_ACT_LTE);
  std::memset(info.cell_info_ext, 0x5A, sizeof info.cell_info_ext);
  ASSERT_EQ(vorn_m2m_pal_get_cell_info_ext(&info), 0) << "on LTE the simulated modem has none";
  EXPECT_EQ(info.cell_info_ext_valid, 0);
  EXPECT_EQ(info.cell_info_ext[0], 0x5A);

  vt::answer<m2m::GetCellInfoExt>(kM2m, [](auto &resp) {
    resp.cell_info_ext_valid = 1;
    for (size_t i = 0; i < sizeof resp.info; ++i) resp.info[i] = static_cast<uint8_t>(i);
  });
  ASSERT_EQ(vorn_m2m_pal_get_cell_info_ext(&info), 0);
  EXPECT_EQ(info.cell_info_ext_valid, 1);
  EXPECT_EQ(info.cell_info_ext[0], 0);
  EXPECT_EQ(info.cell_info_ext[VORN_NETWORK_CELL_INFO_EXT_SIZE - 1], 74);

  // No lazy start here: without a client nothing reaches the modem.
  vorn_m2m_pal_deinit();
  vornsim::clear_requests();
  EXPECT_EQ(vorn_m2m_pal_get_cell_info_ext(&info), -1);
  EXPECT_TRUE(vornsim::requests(kM2m, QMI_VORN_M2M_GET_CELL_INFO_EXT_REQ_V01).empty());
}

vorn_network_freqlock_info nr_lock(uint8_t rat, uint8_t enable, uint8_t count) {
  vorn_network_freqlock_info info;
  std::memset(&info, 0, sizeof info);
  info.rat = rat;
  info.enable = enable;
  info.nr_count = count;
  for (unsigned i = 0; i < VORN_NETWORK_LOCK_NR_MAX; ++i)
    info.nr_cell[i] = {78, 627264u + 100 * i, 1, static_cast<uint16_t>(300 + i)};
  return info;
}

vorn_cell_lock_ext_list_v01 last_lock_sent() {
  auto sent = vornsim::requests(kM2m, QMI_VORN_SET_CELL_LOCK_EXT_REQ_V01);
  return sent.empty() ? vorn_cell_lock_ext_list_v01{} : sent.back().as<vorn_set_cell_lock_ext_req_msg_v01>().lock;
}

TEST_F(M2mRadio, NrCellLockGoesToTheModemAndComesBack) {
  vorn_network_freqlock_info lock = nr_lock(VORN_NETWORK_LOCK_RAT_NR, 1, 2);
  ASSERT_EQ(vorn_m2m_pal_set_cell_lock_ext_info(&lock), 0);
  vorn_cell_lock_ext_list_v01 sent = last_lock_sent();
  EXPECT_EQ(sent.lock_valid, 1);
  EXPECT_EQ(sent.lock_count, 2);
  EXPECT_EQ(sent.list_valid, 1);
  EXPECT_EQ(sent.entry[1].freq_valid, 1);
  EXPECT_EQ(sent.entry[1].pci_valid, 1);
  EXPECT_EQ(sent.entry[1].freq, 627364u);
  EXPECT_EQ(sent.entry[1].pci, 301u);
  EXPECT_EQ(sent.entry[2].freq_valid, 0) << "only the cells counted";

  vorn_network_freqlock_info read = nr_lock(0, 0, 0);
  std::memset(read.nr_cell, 0, sizeof read.nr_cell);
  ASSERT_EQ(vorn_m2m_pal_get_cell_lock_ext_info(&read), 0);
  EXPECT_EQ(read.nr_count, 2);
  EXPECT_EQ(read.nr_cell[0].earfcn, 627264u);
  EXPECT_EQ(read.nr_cell[1].pci, 301);

  // A lock of nine cells: eight fit the record.
  lock = nr_lock(VORN_NETWORK_LOCK_RAT_NR, 1, 9);
  ASSERT_EQ(vorn_m2m_pal_set_cell_lock_ext_info(&lock), 0);
  EXPECT_EQ(last_lock_sent().lock_count, VORN_NETWORK_LOCK_NR_MAX);

  // Anything other than an NR lock sends the empty list, which unlocks.
  for (auto other : {nr_lock(VORN_NETWORK_LOCK_RAT_NR, 0, 2), nr_lock(VORN_NETWORK_LOCK_RAT_BOTH, 1, 2)}) {
    ASSERT_EQ(vorn_m2m_pal_set_cell_lock_ext_info(&other), 0);
    vorn_cell_lock_ext_list_v01 empty{};
    sent = last_lock_sent();
    EXPECT_EQ(std::memcmp(&sent, &empty, sizeof sent), 0);
  }
  read.nr_count = 5;
  ASSERT_EQ(vorn_m2m_pal_get_cell_lock_ext_info(&read), 0);
  EXPECT_EQ(read.nr_count, 0) << "no lock held";

  refuse_next(QMI_VORN_SET_CELL_LOCK_EXT_REQ_V01);
  EXPECT_EQ(vorn_m2m_pal_set_cell_lock_ext_info(&lock), -1);
  EXPECT_EQ(vorn_m2m_pal_set_cell_lock_ext_info(nullptr), -1);
  EXPECT_EQ(vorn_m2m_pal_get_cell_lock_ext_info(nullptr), -1);
}

TEST_F(M2mRadio, LockListsFromTheModemThatTheRecordCannotTakeWhole) {
  vt::answer<m2m::GetCellLockExt>(kM2m, [](auto &resp) {
    resp.lock.lock_valid = 1;
    resp.lock.lock_count = VORN_M2M_CELL_LOCK_EXT_MAX_V01;
    for (unsigned i = 0; i < VORN_M2M_CELL_LOCK_EXT_MAX_V01; ++i) resp.lock.entry[i].pci = 500 + i;
  });
  vorn_network_freqlock_info read = nr_lock(0, 0, 0);
  ASSERT_EQ(vorn_m2m_pal_get_cell_lock_ext_info(&read), 0);
  EXPECT_EQ(read.nr_count, VORN_NETWORK_LOCK_NR_MAX);
  EXPECT_EQ(read.nr_cell[7].pci, 507);
  EXPECT_EQ(read.nr_cell[7].band, 78u) << "band and scs are not the service's";

  // A list that the modem does not mark valid counts as no lock.
  vt::answer<m2m::GetCellLockExt>(kM2m, [](auto &resp) {
    resp.lock.lock_valid = 2;
    resp.lock.lock_count = 3;
  });
  ASSERT_EQ(vorn_m2m_pal_get_cell_lock_ext_info(&read), 0);
  EXPECT_EQ(read.nr_count, 0);
  EXPECT_EQ(read.nr_cell[0].pci, 500) << "the cells stay as they were";
}

}  // namespace
