// The cell and frequency locks: the EFS items each lock leaves in the modem
// (compared with the golden files under golden/), where the simulated device
// camps with a lock and without, and the refusals.
#include <fstream>
#include <map>
#include <sstream>

#include <vornpal/device.h>
#include <vornpal/m2m.h>
#include <vornsim/m2m.h>

#include "m2m/messages.h"
#include "network_test.h"

namespace {

using namespace nett;
namespace m2m = vorn::m2m;
using Items = std::map<std::string, std::vector<uint8_t>>;
constexpr vornsim::Svc kM2m = vornsim::Svc::M2M;
constexpr char kCellLockString[] = "/nv/item_files/odm/celllock_string";

std::string hex(const std::vector<uint8_t> &bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (uint8_t b : bytes) (out += kDigits[b >> 4]) += kDigits[b & 15];
  return out.empty() ? "(empty)" : out;
}

// The items that differ from `base`: "path bytes", "path (gone)".
std::string changes_since(const Items &base) {
  Items now = vornsim::m2m::efs_items();
  std::ostringstream out;
  for (const auto &[path, bytes] : now) {
    auto it = base.find(path);
    if (it == base.end() || it->second != bytes) out << path << ' ' << hex(bytes) << '\n';
  }
  for (const auto &[path, bytes] : base)
    if (now.count(path) == 0) out << path << " (gone)\n";
  return out.str();
}

std::string golden_path(const std::string &name) {
  std::string here = __FILE__;
  return here.substr(0, here.rfind('/')) + "/golden/" + name + ".txt";
}

// Compares with the golden file; VORNPAL_UPDATE_GOLDEN=1 writes it instead.
void expect_golden(const std::string &name, const std::string &text) {
  const std::string path = golden_path(name);
  if (const char *update = std::getenv("VORNPAL_UPDATE_GOLDEN"); update != nullptr && update[0] == '1') {
    std::ofstream(path, std::ios::trunc) << text;
    return;
  }
  std::ifstream in(path);
  ASSERT_TRUE(in.good()) << "no golden file " << path;
  std::stringstream wanted;
  wanted << in.rdbuf();
  EXPECT_EQ(text, wanted.str()) << "EFS items differ from " << path;
}

vorn_network_cell_lock_info lock_of(uint32_t rat, uint32_t type, uint32_t arfcn, uint32_t pci, uint32_t scs = 0,
                                    uint32_t band = 0) {
  return {1, rat, type, arfcn, pci, scs, band, VORN_CELL_LOCK_ACTION_NEW};
}
const vorn_network_cell_lock_info kOff = {0, 0, 0, 0, 0, 0, 0, VORN_CELL_LOCK_ACTION_TOGGLE};

int set_lock(const vorn_network_cell_lock_info &lock) {
  vorn_network_setting setting{};
  setting.cell_lock_info_valid = 1;
  setting.cell_lock_info = lock;
  return vorn_network_pal_set_network_setting(0, &setting);
}

vorn_network_multi_cell_lock_info list_of(uint32_t lte_count, uint32_t nr_count = 0) {
  vorn_network_multi_cell_lock_info multi{};
  multi.enable = 1;
  multi.lte_count = lte_count;
  multi.nr_count = nr_count;
  for (uint32_t i = 0; i < lte_count; ++i) multi.cell[i] = {1300u + i, 100u + i, 0, 0, 0, 0, 0};
  if (nr_count != 0) multi.cell[lte_count] = {504990, 601, 40, 0, 1, 0, 0};
  return multi;
}

int set_list(const vorn_network_multi_cell_lock_info &multi) {
  vorn_network_setting setting{};
  setting.cell_multi_lock_info_valid = 1;
  setting.cell_multi_lock_info = multi;
  return vorn_network_pal_set_network_setting(0, &setting);
}

class CellLock : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    start_family();
  }
  void TearDown() override {
    vorn_device_pal_deinit();
    vorn_m2m_pal_deinit();
    // The M2M start leaves its milestone in the kernel log.
    vt::write_file("/dev/kmsg", "");
    NetworkTest::TearDown();
  }
  static void use_slot(uint32_t slot) { vornsim::set_dm_cache_word(vornsim::kActiveSimSlotKey, slot); }
  // A lock's three steps, each a section of its golden file.
  static void expect_steps(const std::string &name, const std::function<int()> &first,
                           const std::function<int()> &second, const std::function<int()> &clear) {
    Items base = vornsim::m2m::efs_items();
    std::string text;
    const std::pair<const char *, const std::function<int()> *> steps[] = {
        {"after set", &first}, {"after a second set", &second}, {"after clear", &clear}};
    for (const auto &[title, step] : steps) {
      EXPECT_EQ((*step)(), 0) << name << ": " << title;
      text += std::string("# ") + title + "\n" + changes_since(base);
    }
    expect_golden(name, text);
  }
  // The serving cell as the family reports it, once the modem has camped.
  static std::pair<uint32_t, uint32_t> serving() {
    vornsim::drain();
    vorn_network_info info = info_of(false);
    return {info.channel, info.pci};
  }
  static std::string serving_cell() {
    vornsim::drain();
    return vornsim::nas::registration().cell;
  }
};

TEST_F(CellLock, EachLockKindLeavesItsItemsForEitherSim) {
  for (uint32_t slot : {0u, 1u}) {
    vornsim::reset();
    use_slot(slot);
    const std::string sim = slot == 0 ? "_sim1" : "_sim2";
    expect_steps("lte_pci" + sim, [] { return set_lock(lock_of(0, 0, 3100, 102)); },
                 [] { return set_lock(lock_of(0, 0, 1300, 101)); }, [] { return set_lock(kOff); });
    vornsim::reset();
    use_slot(slot);
    // The earfcn lock holds the channel twice.
    expect_steps("lte_freq" + sim, [] { return set_lock(lock_of(0, 1, 3100, 0)); },
                 [] { return set_lock(lock_of(0, 1, 1300, 0)); }, [] { return set_lock(kOff); });
    vornsim::reset();
    use_slot(slot);
    expect_steps("wcdma_freq" + sim, [] { return set_lock(lock_of(2, 1, 10700, 0)); },
                 [] { return set_lock(lock_of(2, 1, 3011, 0)); }, [] { return set_lock(kOff); });
    vornsim::reset();
    use_slot(slot);
    expect_steps("nr_pci" + sim, [] { return set_lock(lock_of(1, 0, 504990, 601, 1, 40)); },
                 [] { return set_lock(lock_of(1, 0, 636666, 501, 1, 77)); }, [] { return set_lock(kOff); });
    vornsim::reset();
    use_slot(slot);
    expect_steps("nr_freq" + sim, [] { return set_lock(lock_of(1, 1, 504990, 0, 1)); },
                 [] { return set_lock(lock_of(1, 1, 636666, 0, 1)); }, [] { return vorn_network_switch_sim_efs_del(0); });
    vornsim::reset();
    use_slot(slot);
    // 3 cells, then 25 of which 20 are kept, with one NR cell after them.
    expect_steps("lte_list" + sim, [] { return set_list(list_of(3)); }, [] { return set_list(list_of(25, 1)); },
                 [] { return set_lock(kOff); });
    vornsim::reset();
    use_slot(slot);
    vorn_network_freqlock_info nr{};
    nr.rat = VORN_NETWORK_LOCK_RAT_NR;
    nr.enable = 1;
    nr.nr_count = 2;
    nr.nr_cell[0] = {78, 636666, 1, 501};
    nr.nr_cell[1] = {41, 504990, 1, 601};
    expect_steps("nr_freqlock_list" + sim, [&] { return oem_network_pal_set_freqlock_ext(&nr); },
                 [&] { nr.nr_count = 1; return oem_network_pal_set_freqlock_ext(&nr); },
                 [&] { nr.enable = 0; return oem_network_pal_set_freqlock_ext(&nr); });
  }
}

TEST_F(CellLock, GetReportsTheSingleLockInForce) {
  vorn_network_setting setting{};
  setting.cell_lock_info_valid = 1;
  ASSERT_EQ(vorn_network_pal_get_network_setting(0, &setting), 0);
  EXPECT_TRUE(vt::logged("UE read ODM cell lock efs failed"));
  EXPECT_EQ(setting.cell_lock_info.enable, 0u);

  ASSERT_EQ(set_lock(lock_of(0, 0, 3100, 102)), 0);
  setting = {};
  setting.cell_lock_info_valid = 1;
  ASSERT_EQ(vorn_network_pal_get_network_setting(0, &setting), 0);
  EXPECT_EQ(setting.cell_lock_info.enable, 1u);
  EXPECT_EQ(setting.cell_lock_info.rat, 0u);
  EXPECT_EQ(setting.cell_lock_info.type, 0u);
  EXPECT_EQ(setting.cell_lock_info.arfcn, 3100u);
  EXPECT_EQ(setting.cell_lock_info.pci, 102u);

  ASSERT_EQ(set_lock(lock_of(2, 1, 3011, 0)), 0);
  setting = {};
  setting.cell_lock_info_valid = 1;
  ASSERT_EQ(vorn_network_pal_get_network_setting(0, &setting), 0);
  EXPECT_EQ(setting.cell_lock_info.rat, 2u);
  EXPECT_EQ(setting.cell_lock_info.type, 1u);
  EXPECT_EQ(setting.cell_lock_info.arfcn, 3011u);

  // Off: the strings are renamed away, which is what the get goes by.
  ASSERT_EQ(set_lock(kOff), 0);
  setting = {};
  setting.cell_lock_info_valid = 1;
  ASSERT_EQ(vorn_network_pal_get_network_setting(0, &setting), 0);
  EXPECT_EQ(setting.cell_lock_info.enable, 0u);
  EXPECT_TRUE(vt::logged("get celllock return success.\n"));
}

TEST_F(CellLock, TheDeviceCampsWhereTheLockSays) {
  EXPECT_EQ(serving_cell(), "home-lte-b3");
  ASSERT_EQ(set_lock(lock_of(0, 0, 3100, 102)), 0);
  EXPECT_EQ(serving_cell(), "home-endc-b7-n78");
  ASSERT_EQ(set_lock(lock_of(0, 0, 6300, 201)), 0);
  EXPECT_EQ(serving(), std::make_pair(6300u, 201u));
  // No such cell: no service.
  ASSERT_EQ(set_lock(lock_of(0, 0, 3100, 99)), 0);
  EXPECT_EQ(serving_cell(), "");
  EXPECT_EQ(info_of(false).srv_status, 0u);
  ASSERT_EQ(set_lock(kOff), 0);
  EXPECT_EQ(serving_cell(), "home-lte-b3");

  // A frequency lock, and the WCDMA lock (its mode preference is WCDMA only).
  ASSERT_EQ(set_lock(lock_of(0, 1, 3100, 0)), 0);
  EXPECT_EQ(serving_cell(), "home-endc-b7-n78");
  ASSERT_EQ(set_lock(lock_of(2, 1, 3011, 0)), 0);
  EXPECT_EQ(serving_cell(), "partner-wcdma-b8");
  ASSERT_EQ(set_lock(kOff), 0);
  EXPECT_EQ(serving_cell(), "home-lte-b3");

  // The NAS cell configuration lock, and its unlock.
  vorn_network_freqlock_info freq{};
  freq.rat = VORN_NETWORK_LOCK_RAT_LTE;
  freq.enable = 1;
  freq.lte_count = 1;
  freq.lte_cell[0] = {6300, 201};
  ASSERT_EQ(vorn_network_pal_set_freqlock(&freq), 0);
  EXPECT_EQ(serving_cell(), "partner-lte-b20");
  vorn_network_freqlock_info got{};
  ASSERT_EQ(vorn_network_pal_get_freqlock(&got), 0);
  EXPECT_EQ(got.lte_count, 1);
  EXPECT_EQ(got.lte_cell[0].arfcn, 6300u);
  EXPECT_EQ(got.lte_cell[0].pci, 201u);
  freq.enable = 0;
  ASSERT_EQ(vorn_network_pal_set_freqlock(&freq), 0);
  EXPECT_EQ(serving_cell(), "home-lte-b3");
  auto unlock = vornsim::requests(kNas, QMI_NAS_SET_CELL_CONFIG_REQ_MSG_V01).back();
  EXPECT_EQ(unlock.as<nas_set_cell_config_req_msg_v01>().lte_cell_list_len, 0u);
  EXPECT_EQ(unlock.bytes[484], 1);
  EXPECT_EQ(unlock.bytes[485], 1);

  // An NR lock on the only NR cell, with NR the only mode: the device
  // camps on it though it is weak.
  ASSERT_EQ(set_lock(lock_of(1, 0, 504990, 601, 1, 40)), 0);
  EXPECT_EQ(serving_cell(), "home-nr-n41");
  // The registration events of the move reached the daemon.
  EXPECT_TRUE(Collector::instance().wait_for(VORN_NETWORK_EVENT_SERVING_SYSTEM));
}

TEST_F(CellLock, RefusalsAndFailures) {
  // Out of range: nothing is written.
  vornsim::clear_requests();
  EXPECT_EQ(set_lock(lock_of(0, 0, 3100, 504)), -1);
  EXPECT_EQ(set_lock(lock_of(0, 0, 70000, 1)), -1);
  EXPECT_EQ(set_lock(lock_of(1, 0, 504990, 1008, 1, 40)), -1);
  // A full list of LTE cells with an NR cell after it: one cell too many.
  vorn_network_multi_cell_lock_info too_long = list_of(VORN_NETWORK_MULTI_CELL_MAX);
  too_long.nr_count = 1;
  EXPECT_EQ(set_list(too_long), -1);
  EXPECT_TRUE(vt::logged("ERROR: oem_network_set_celllock fail !!!\n"));
  EXPECT_TRUE(vt::logged("ERROR: cell_multi_lock_info fail !!!\n"));
  EXPECT_EQ(vt::count(kM2m, m2m::WriteNvItem::id), 0u);

  // Two locks at once: refused after the old lock was cleared.
  ASSERT_EQ(set_lock(lock_of(0, 0, 3100, 102)), 0);
  vorn_network_cell_lock_info two = lock_of(0, 1, 3100, 0);
  two.enable = 2;
  EXPECT_EQ(set_lock(two), -1);
  EXPECT_TRUE(vt::logged("ERROR: not support lock two freq"));
  EXPECT_EQ(vornsim::m2m::efs_item(kCellLockString), (std::vector<uint8_t>{0, 0, 0}));
  EXPECT_EQ(serving_cell(), "home-lte-b3");

  // Slot 2 has no SIM index: no odm string, the lock item still.
  vornsim::reset();
  use_slot(2);
  ASSERT_EQ(set_lock(lock_of(0, 0, 1300, 101)), 0);
  EXPECT_EQ(vornsim::m2m::efs_item(kCellLockString), (std::vector<uint8_t>{0, 0, 0}));
  EXPECT_EQ(vornsim::m2m::efs_item("/nv/item_files/modem/lte/rrc/csp/pci_lock"),
            (std::vector<uint8_t>{0x14, 0x05, 101, 0}));

  // A write that fails half way (the lock item, after the odm string):
  // the lock is not left on.
  vornsim::reset();
  use_slot(0);
  vornsim::Fault fault;
  fault.refuse = true;
  fault.error = vornsim::kInternalError;
  fault.count = 1;
  fault.after = 4;  // umts string, string, mode, odm string of the lock
  vornsim::set_fault(kM2m, m2m::WriteNvItem::id, fault);
  EXPECT_EQ(set_lock(lock_of(0, 0, 3100, 102)), -1);
  EXPECT_TRUE(vt::logged("lock PCI failed"));
  EXPECT_EQ(vornsim::m2m::efs_item(kCellLockString), (std::vector<uint8_t>{0, 0, 0}));
  EXPECT_FALSE(vornsim::m2m::efs_item("/nv/item_files/modem/lte/rrc/csp/pci_lock"));
  EXPECT_EQ(serving_cell(), "home-lte-b3");

  // Lock on again needs the last lock the modem recorded.
  vorn_network_cell_lock_info again = kOff;
  again.enable = 1;
  EXPECT_EQ(set_lock(again), -1);
  EXPECT_TRUE(vt::logged("reading EFS failed"));
  vorn_network_setting last{};
  EXPECT_EQ(vorn_network_pal_get_celllock_last_cfg(&last), -1);
  EXPECT_TRUE(vt::logged("Failed to created EFS file"));
  const uint8_t lte[1] = {0}, pci[8] = {0x1c, 0x0c, 0, 0, 102, 0, 0, 0};
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/odm/last_rat_string", lte, 1), 0);
  EXPECT_EQ(vorn_network_pal_get_celllock_last_cfg(&last), -1) << "no last PCI item";
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/odm/last_celllock_pci_string", pci, 8), 0);
  ASSERT_EQ(vorn_network_pal_get_celllock_last_cfg(&last), 0);
  EXPECT_EQ(last.cell_lock_info.arfcn, 3100u);
  EXPECT_EQ(last.cell_lock_info.pci, 102u);
  EXPECT_EQ(set_lock(again), 0);
  EXPECT_EQ(serving_cell(), "home-endc-b7-n78");

  // The frequency lock's refusals.
  vorn_network_freqlock_info freq{};
  freq.enable = 1;
  EXPECT_EQ(vorn_network_pal_set_freqlock(&freq), -1);
  EXPECT_EQ(oem_network_pal_set_freqlock_ext(&freq), -1);
  EXPECT_TRUE(vt::logged("Error:lte lock Parameter is invalid!!!"));
  EXPECT_EQ(vorn_network_pal_set_freqlock(nullptr), -1);
  freq.rat = 2;
  EXPECT_EQ(vorn_network_pal_set_freqlock(&freq), 0) << "rat 2 does nothing";
  // The modem's refusal of the cell configuration shows in the log only.
  freq.rat = 0;
  freq.lte_count = 1;
  freq.lte_cell[0] = {6300, 201};
  vornsim::refuse_next(kNas, QMI_NAS_SET_CELL_CONFIG_REQ_MSG_V01);
  EXPECT_EQ(vorn_network_pal_set_freqlock(&freq), 0);
  EXPECT_TRUE(vt::logged("QMI_NAS_SET_CELL_CONFIG_REQ_MSG_V01 failed! qmi_err:3\n"));
}

TEST_F(CellLock, NrListReadsBackWithItsShifts) {
  vorn_network_freqlock_info nr{};
  nr.rat = VORN_NETWORK_LOCK_RAT_NR;
  nr.enable = 1;
  nr.nr_count = 2;
  nr.nr_cell[0] = {78, 636666, 1, 501};
  nr.nr_cell[1] = {41, 504990, 1, 601};
  ASSERT_EQ(oem_network_pal_set_freqlock_ext(&nr), 0);
  auto item = vornsim::m2m::efs_item("/nv/item_files/modem/nr5g/RRC/pci_lock_info");
  ASSERT_TRUE(item);
  ASSERT_EQ(item->size(), 448u);
  EXPECT_EQ((*item)[24], 2) << "scs 1 is stored as 2";
  EXPECT_EQ((*item)[26], 77) << "band 78 is stored as 77";
  vorn_network_freqlock_info got{};
  ASSERT_EQ(oem_network_pal_get_freqlock_ext(&got), 0);
  ASSERT_EQ(got.nr_count, 2);
  EXPECT_EQ(got.nr_cell[0].band, 78u);
  EXPECT_EQ(got.nr_cell[0].scs, 1);
  EXPECT_EQ(got.nr_cell[1].earfcn, 504990u);
  EXPECT_EQ(got.nr_cell[1].pci, 601);
  EXPECT_TRUE(vt::logged("nr celllock get pal num 2"));
  // The NR lock holds the device on the NR cell when NR is all it may use.
  const uint8_t nr_only[4] = {64, 0, 0, 0};
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/modem/mmode/mode_pref", nr_only, 4), 0);
  EXPECT_EQ(serving_cell(), "home-nr-n41");
  nr.enable = 0;
  ASSERT_EQ(oem_network_pal_set_freqlock_ext(&nr), 0);
  got = {};
  ASSERT_EQ(oem_network_pal_get_freqlock_ext(&got), 0);
  EXPECT_EQ(got.nr_count, 0);
}

}  // namespace
