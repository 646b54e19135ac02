// The cell lock: no NAS message, only EFS items. The odm string says which
// kind of lock is on, the item beside it holds its parameters, the mode
// preference keeps the modem on the lock's technology, and deleting an item
// renames it to its path with "_del" appended. SIM2 has its own odm strings
// and LTE list; the NR items have a copy per SIM beside the common one that
// the modem reads.
#include <cstring>
#include <string>

#include "foundation/log_site.h"
#include "network/efs.h"
#include "network/locks.h"
#include "network/state.h"

namespace vorn::network {
namespace {

// Highest values the lock items and the radio allow.
constexpr uint32_t kU16Max = 0xFFFF;
constexpr uint32_t kLtePciMax = 503;
constexpr uint32_t kNrPciMax = 1007;
constexpr uint32_t kNrArfcnMax = 3279165;

// The slot form of an odm string: none for a slot without a SIM index.
bool odm_path(const char *path, uint32_t slot, std::string &out) {
  if (slot > 1) return false;
  out = slot == 0 ? std::string(path) : efs::sim2(path);
  return true;
}

bool write_odm(const char *path, uint32_t slot, uint8_t kind, uint8_t type, uint8_t rat) {
  std::string at;
  if (!odm_path(path, slot, at)) return true;
  const uint8_t bytes[efs::kOdmLen] = {kind, type, rat};
  return efs::write(at, bytes, sizeof bytes);
}

// The plain item, or its SIM2 form when the plain one fails.
bool write_cell_list(const uint8_t (&list)[efs::kCellListLen]) {
  return efs::write(efs::kLteCellList, list, sizeof list) ||
         efs::write(efs::sim2(efs::kLteCellList), list, sizeof list);
}

// The common NR item, then the active SIM's copy: the copy's write decides.
bool write_nr_item(const char *path, const void *data, uint32_t len) {
  bool ok = efs::write(path, data, len);
  uint8_t slot = vorn_network_pal_get_usim_card_slot();
  if (slot <= 1) ok = efs::write(efs::per_sim(path, slot), data, len);
  return ok;
}

bool single_lock_in_range(const vorn_network_cell_lock_info &lock) {
  switch (lock.rat) {
    case VORN_CELL_LOCK_LTE:
      return lock.arfcn <= kU16Max && (lock.type != VORN_CELL_LOCK_PCI || lock.pci <= kLtePciMax);
    case VORN_CELL_LOCK_NR:
      return lock.arfcn <= kNrArfcnMax && lock.scs <= kU16Max && lock.band <= kU16Max &&
             (lock.type != VORN_CELL_LOCK_PCI || lock.pci <= kNrPciMax);
    case VORN_CELL_LOCK_WCDMA:
      return lock.arfcn <= kU16Max;
  }
  return true;
}

bool multi_lock_in_range(const vorn_network_multi_cell_lock_info &multi) {
  uint64_t cells = static_cast<uint64_t>(multi.lte_count) + (multi.nr_count != 0 ? 1 : 0);
  if (cells > VORN_NETWORK_MULTI_CELL_MAX) return false;
  uint32_t lte = multi.lte_count < efs::kCellListUsed ? multi.lte_count : efs::kCellListUsed;
  for (uint32_t i = 0; i < lte; ++i)
    if (multi.cell[i].pci > kLtePciMax) return false;
  if (multi.nr_count == 0) return true;
  const vorn_network_multi_cell &nr = multi.cell[multi.lte_count];
  return nr.pci <= kNrPciMax && nr.freq <= kNrArfcnMax;
}

// ---- the single lock --------------------------------------------------------

// Lock on again with the last LTE cell the modem recorded.
int relock_last(uint32_t slot) {
  const uint8_t on[efs::kOdmLen] = {1, 0, 0};
  if (!efs::write(efs::kCellLock, on, sizeof on)) {
    VORN_LOG(VORN_ERR, "Writing EFS failed");
    return -1;
  }
  uint8_t last[8] = {};
  if (!efs::read(efs::kLastPci, last, sizeof last)) {
    VORN_LOG(VORN_ERR, "reading EFS failed");
    return -1;
  }
  if (vorn_user_lock_cellcfg_exec(0, 0, efs::get32(last), efs::get32(last + 4), slot) != 1) {
    VORN_LOG(VORN_ERR, "oem_user_lock_cellcfg_exec executed failed\n");
    return -1;
  }
  efs::write_word(efs::kModePref, efs::kModeLte);
  return 0;
}

// Lock off: each SIM's items are renamed aside, then every technology is
// allowed again.
int unlock(uint32_t slot) {
  static const std::string kSim1[] = {efs::kWcdmaFreqLock, efs::kUmtsCellLock, efs::kCellLock, efs::kLtePciLock};
  static const std::string kSim2[] = {efs::sim2(efs::kLteCellList), efs::sim2(efs::kUmtsCellLock),
                                      efs::sim2(efs::kCellLock), efs::kCellRestrictSim2};
  if (slot == 0) {
    VORN_LOG(VORN_DBUG, "SIM1:delete cell_res efs\n");
    for (const std::string &path : kSim1) efs::remove(path);
  } else if (slot == 1) {
    VORN_LOG(VORN_DBUG, "SIM2:delete cell_res efs");
    for (const std::string &path : kSim2) efs::remove(path);
  }
  if (!efs::write_word(efs::kModePref, efs::kModeAll)) return -1;
  VORN_LOG(VORN_DBUG, " close celllock");
  return 0;
}

int lock_wcdma(const vorn_network_cell_lock_info &lock, uint32_t slot) {
  VORN_LOG(VORN_DBUG, "Enter WCDMA mode");
  if (lock.type == VORN_CELL_LOCK_FREQ && slot <= 1) {
    uint8_t uarfcn[2];
    efs::put16(uarfcn, lock.arfcn);
    std::string item = slot == 0 ? std::string(efs::kWcdmaFreqLock) : efs::sim2(efs::kWcdmaFreqLock);
    if (!efs::write(item, uarfcn, sizeof uarfcn)) {
      VORN_LOG(VORN_ERR, "writing wcdma uarfcn failed");
      return -1;
    }
    if (!write_odm(efs::kUmtsCellLock, slot, 1, 1, 2)) {
      VORN_LOG(VORN_ERR, "Writing EFS failed");
      return -1;
    }
  }
  efs::write_word(efs::kModePref, efs::kModeWcdma);
  return 0;
}

int lock_lte(const vorn_network_cell_lock_info &lock, uint32_t slot) {
  VORN_LOG(VORN_DBUG, "Enter LTE mode");
  if (lock.enable == 2) {
    VORN_LOG(VORN_ERR, lock.type != 0 ? "ERROR: not support lock two freq" : "ERROR: not support lock two pci");
    return -1;
  }
  int done;
  if (lock.type != 0) {
    done = vorn_user_lock_cellcfg_exec(0, 1, lock.arfcn, lock.arfcn, slot);
  } else {
    VORN_LOG(VORN_DBUG, "Celllock type is 0：PCI");
    done = vorn_user_lock_cellcfg_exec(0, 0, lock.arfcn, lock.pci, slot);
  }
  if (done != 1) return -1;
  return efs::write_word(efs::kModePref, efs::kModeLte) ? 0 : -1;
}

int lock_nr(const vorn_network_cell_lock_info &lock, uint32_t slot) {
  int done = lock.type == 0 ? vorn_5glock_pci_exec(lock.arfcn, lock.pci, lock.scs, lock.band, slot)
                            : vorn_5glock_freq_exec(lock.arfcn, lock.scs, slot);
  if (done != 1) {
    VORN_LOG(VORN_ERR, "odm_user_lock_5gcellcfg_exec executed failed");
    return -1;
  }
  return efs::write_word(efs::kModePref, efs::kModeNr) ? 0 : -1;
}

// A new lock replaces the old one, which is cleared first. When the new one
// fails half way its odm string is put back to "none": the parameters
// written so far stay, but no lock is left half on.
int new_lock(const vorn_network_cell_lock_info &lock, uint32_t slot) {
  const uint8_t off[efs::kOdmLen] = {0, 0, 0};
  if (!efs::write(efs::kUmtsCellLock, off, sizeof off)) {
    VORN_LOG(VORN_ERR, " write oem_EFS_UMTS_CELLOCK_PATH failed");
    return -1;
  }
  if (!efs::write(efs::kCellLock, off, sizeof off)) {
    VORN_LOG(VORN_ERR, " write oem_EFS_CELLOCK_PATH failed");
    return -1;
  }
  if (!efs::write_word(efs::kModePref, efs::kModeWcdmaLte)) return -1;
  VORN_LOG(VORN_DBUG, " clean old celllock");
  int rc = 0;
  const char *odm = nullptr;
  switch (lock.rat) {
    case VORN_CELL_LOCK_WCDMA: rc = lock_wcdma(lock, slot), odm = efs::kUmtsCellLock; break;
    case VORN_CELL_LOCK_LTE: rc = lock_lte(lock, slot), odm = efs::kCellLock; break;
    case VORN_CELL_LOCK_NR: rc = lock_nr(lock, slot), odm = efs::kNrCellLock; break;
    default: break;
  }
  if (rc != 0 && odm != nullptr) write_odm(odm, slot, 0, 0, 0);
  return rc;
}

int set_single(const vorn_network_cell_lock_info &lock) {
  uint32_t slot = vorn_network_pal_get_usim_card_slot();
  if (lock.action == VORN_CELL_LOCK_ACTION_TOGGLE) return lock.enable != 0 ? relock_last(slot) : unlock(slot);
  if (lock.action < VORN_CELL_LOCK_ACTION_NEW) return 0;
  return new_lock(lock, slot);
}

int set_multi(const vorn_network_multi_cell_lock_info &multi) {
  if (multi.enable == 0) return 0;
  const uint8_t empty[efs::kCellListLen] = {};
  if (!write_cell_list(empty)) {
    VORN_LOG(VORN_ERR, " write lte_cell_lock failed");
    return -1;
  }
  if (multi.lte_count != 0 && vorn_user_lock_multi_lte_cellcfg_exec(&multi) != 1) {
    VORN_LOG(VORN_ERR, "odm_user_lock_5gcellcfg_exec executed failed");
    return -1;
  }
  if (multi.nr_count != 0) {
    const vorn_network_multi_cell &nr = multi.cell[multi.lte_count];
    if (vorn_5glock_pci_exec(nr.freq, nr.pci, nr.scs, nr.band, vorn_network_pal_get_usim_card_slot()) != 1)
      return -1;
    if (!efs::write_word(efs::kModePref, efs::kModeNr)) return -1;
  }
  VORN_LOG(VORN_DBUG, "cellinfos finish ");
  return 0;
}

}  // namespace

int set_celllock(const vorn_network_cell_lock_info *single, const vorn_network_multi_cell_lock_info *multi) {
  bool in_range = multi != nullptr ? multi_lock_in_range(*multi) : single != nullptr && single_lock_in_range(*single);
  if ((single == nullptr && multi == nullptr) || !in_range) {
    VORN_LOG(VORN_ERR, "Error:Parameter is invalid!!!");
    return -1;
  }
  return multi != nullptr ? set_multi(*multi) : set_single(*single);
}

void get_celllock(vorn_network_setting &setting) {
  VORN_LOG(VORN_DBUG, "enter q27 get cellock ");
  vorn_network_cell_lock_info &out = setting.cell_lock_info;
  uint8_t umts[efs::kOdmLen] = {}, lte[efs::kOdmLen] = {};
  bool umts_read = efs::read(efs::kUmtsCellLock, umts, sizeof umts);
  bool lte_read = efs::read(efs::kCellLock, lte, sizeof lte);
  if (!umts_read && !lte_read) {
    VORN_LOG(VORN_ERR, "UE read ODM cell lock efs failed");
    out.enable = out.rat = out.type = out.arfcn = out.pci = 0;
    return;
  }
  auto take = [&out](const uint8_t (&odm)[efs::kOdmLen]) {
    out.enable = odm[0];
    out.type = odm[1];
    out.rat = odm[2];
  };
  uint8_t mode[4] = {};
  if (umts_read && umts[0] == 1 && efs::read(efs::kModePref, mode, sizeof mode) && efs::get32(mode) == efs::kModeWcdma) {
    uint8_t uarfcn[2] = {};
    if (!efs::read(efs::kWcdmaFreqLock, uarfcn, sizeof uarfcn)) {
      out.enable = lte[0];
    } else {
      take(umts);
      out.arfcn = efs::get16(uarfcn);
    }
  } else if (lte_read && lte[0] == 1) {
    uint8_t item[4] = {};
    if (lte[1] != 0 && efs::read(efs::kLteEarfcnLock, item, sizeof item)) {
      take(lte);
      out.arfcn = efs::get16(item);
    } else if (lte[1] == 0 && efs::read(efs::kLtePciLock, item, sizeof item)) {
      take(lte);
      out.arfcn = efs::get16(item);
      out.pci = efs::get16(item + 2);
    }
  }
  VORN_LOG(VORN_DBUG, "get celllock return success.\n");
}

}  // namespace vorn::network

namespace net = vorn::network;
namespace efs = vorn::network::efs;

extern "C" {

// clang-format off
const vorn_network_lock_code vorn_sa_celllock_band_map[26] = {
    {501, 0}, {502, 1}, {503, 2}, {505, 4}, {507, 6}, {508, 7}, {5012, 11}, {5014, 13}, {5020, 19},
    {5025, 24}, {5028, 27}, {5038, 37}, {5040, 39}, {5041, 40}, {5048, 47}, {5050, 49}, {5066, 65},
    {5071, 70}, {5077, 76}, {5078, 77}, {5079, 78}, {5257, 256}, {5258, 257}, {5259, 258}, {5260, 259},
    {5261, 260}};
const vorn_network_lock_code vorn_bwlock_scs_map[5] = {{15, 0}, {30, 1}, {60, 2}, {120, 3}, {240, 4}};
const vorn_network_lock_code vorn_sa_bandwidth_scs_map[15] = {
    {0, 0x1}, {10, 0x2}, {15, 0x4}, {20, 0x8}, {25, 0x1000}, {30, 0x2000}, {40, 0x4000}, {50, 0x8000},
    {60, 0x100}, {70, 0x40000000}, {80, 0x200}, {90, 0x400}, {100, 0x800}, {200, 0x10000000},
    {400, 0x20000000}};
// clang-format on

VORNPAL_API int vorn_disable_celllock_erafcn_only_fun(uint32_t earfcn, uint32_t pci) {
  uint8_t item[4];
  efs::put16(item, earfcn);
  efs::put16(item + 2, pci);
  return efs::write(efs::kLtePciLock, item, sizeof item) ? 1 : 0;
}

VORNPAL_API int vorn_disable_celllock_pci_only_fun(uint32_t earfcn) {
  uint8_t item[4];
  efs::put16(item, earfcn);
  efs::put16(item + 2, earfcn);
  return efs::write(efs::kLteEarfcnLock, item, sizeof item) ? 1 : 0;
}

VORNPAL_API int vorn_disable_celllock_5gpci_only_fun(uint32_t earfcn, uint32_t scs) {
  uint8_t item[8];
  efs::put32(item, earfcn);
  efs::put32(item + 4, scs);
  if (net::write_nr_item(efs::kNrEarfcnLock, item, sizeof item)) return 1;
  VORN_LOG(VORN_ERR, "In disable both pci & earfcn, Writing 5gearcfn EFS failed");
  return 0;
}

VORNPAL_API int vorn_disable_celllock_5gerafcn_only_fun(uint32_t earfcn, uint32_t pci, uint32_t scs, uint32_t band) {
  uint8_t item[12];
  efs::put32(item, pci);
  efs::put32(item + 4, earfcn);
  efs::put16(item + 8, scs);
  efs::put16(item + 10, band);
  if (net::write_nr_item(efs::kNrPciLock, item, sizeof item)) return 1;
  VORN_LOG(VORN_ERR, "In disable both pci & earfcn, Writing 5g PCI EFS failed");
  return 0;
}

VORNPAL_API int vorn_disable_celllock_5gerafcn_only_new_baseline(uint32_t earfcn, uint32_t pci, uint32_t scs,
                                                                 uint32_t band) {
  uint8_t list[efs::kNrListLen] = {};
  list[0] = 1;
  efs::put16(list + 2, pci);
  efs::put32(list + 20, earfcn);
  efs::put16(list + 24, scs + 1);
  efs::put16(list + 26, band);
  if (net::write_nr_item(efs::kNrPciLock, list, sizeof list)) return 1;
  VORN_LOG(VORN_ERR, "In disable both pci & earfcn, Writing 5g PCI EFS failed");
  return 0;
}

VORNPAL_API int vorn_user_lock_cellcfg_exec(uint32_t rat, uint32_t type, uint32_t earfcn, uint32_t pci, uint32_t slot) {
  if (rat == VORN_CELL_LOCK_NR) {
    VORN_LOG(VORN_DBUG, "Enter NR Mode");
    return 1;
  }
  if (rat > VORN_CELL_LOCK_NR) {
    VORN_LOG(VORN_DBUG, "Enter invalid Mode");
    return 1;
  }
  VORN_LOG(VORN_DBUG, "Enter LTE Mode");
  if (!net::write_odm(efs::kCellLock, slot, 1, static_cast<uint8_t>(type), 0)) {
    VORN_LOG(VORN_ERR, "Writing EFS failed");
    return 0;
  }
  if (type == VORN_CELL_LOCK_FREQ) {
    if (vorn_disable_celllock_pci_only_fun(earfcn) != 1) {
      VORN_LOG(VORN_ERR, "lock arfcn failed");
      return 0;
    }
  } else if (vorn_disable_celllock_erafcn_only_fun(earfcn, pci) != 1) {
    VORN_LOG(VORN_ERR, "lock PCI failed");
    return 0;
  }
  return 1;
}

VORNPAL_API int vorn_5glock_pci_exec(uint32_t earfcn, uint32_t pci, uint32_t scs, uint32_t band, uint32_t slot) {
  if (!net::write_odm(efs::kNrCellLock, slot, 1, 0, 1)) {
    VORN_LOG(VORN_ERR, "Writing 5G CELLLOCK EFS failed,PCI");
    return 0;
  }
  // Modem software of this baseline reads the single form.
  VORN_LOG(VORN_DBUG, " get baseline info MPSS.DE [%d].\n", 0);
  if (vorn_disable_celllock_5gerafcn_only_fun(earfcn, pci, scs, band) != 1) {
    VORN_LOG(VORN_ERR, "lock 5G PCI failed");
    return 0;
  }
  return 1;
}

VORNPAL_API int vorn_5glock_freq_exec(uint32_t earfcn, uint32_t scs, uint32_t slot) {
  if (!net::write_odm(efs::kNrCellLock, slot, 1, 1, 1)) {
    VORN_LOG(VORN_ERR, "Writing 5G CELLLOCK EFS failed,frequency");
    return 0;
  }
  if (vorn_disable_celllock_5gpci_only_fun(earfcn, scs) != 1) {
    VORN_LOG(VORN_ERR, "lock 5G earfcn failed");
    return 0;
  }
  return 1;
}

VORNPAL_API int vorn_user_lock_multi_lte_cellcfg_exec(const vorn_network_multi_cell_lock_info *multi) {
  if (multi == nullptr) return 0;
  if (!net::write_odm(efs::kCellLock, vorn_network_pal_get_usim_card_slot(), 2, 0, 0)) return 0;
  uint8_t list[efs::kCellListLen] = {};
  uint32_t cells = multi->lte_count < efs::kCellListUsed ? multi->lte_count : efs::kCellListUsed;
  for (uint32_t n = 1; n <= cells; ++n) {
    if (!efs::read(efs::kLteCellList, list, sizeof list) && !efs::read(efs::sim2(efs::kLteCellList), list, sizeof list))
      VORN_LOG(VORN_ERR, " cell_lock_list failed, need to create cell_lock_list file");
    const vorn_network_multi_cell &cell = multi->cell[n - 1];
    uint8_t held = list[0];
    if (held < efs::kCellListUsed) {
      // The first cell starts the list; each further one goes to its own
      // position and the count follows the loop.
      uint8_t *entry = list + 4 + 8 * (held == 0 ? 0 : n - 1);
      efs::put32(entry, cell.pci);
      efs::put32(entry + 4, cell.freq);
      list[0] = static_cast<uint8_t>(held == 0 ? 1 : n);
    }
    if (!net::write_cell_list(list)) {
      VORN_LOG(VORN_ERR, " write lte_cell_lock failed");
      return 0;
    }
  }
  if (!efs::write_word(efs::kModePref, efs::kModeLte)) {
    VORN_LOG(VORN_ERR, " write oem_EFS_NV_MODE_PREF failed");
    return 0;
  }
  return 1;
}

VORNPAL_API int vorn_network_switch_sim_efs_del(uint32_t slot) {
  VORN_LOG(VORN_DBUG, "Enter vorn_network_switch_sim_efs_del\n");
  const std::string earfcn_del = efs::deleted(efs::kNrEarfcnLock), pci_del = efs::deleted(efs::kNrPciLock);
  vorn_m2m_pal_efs_rename(efs::kNrEarfcnLock, earfcn_del.c_str());
  vorn_m2m_pal_efs_rename(efs::kNrPciLock, pci_del.c_str());
  if (slot > 1) return 0;
  VORN_LOG(VORN_DBUG, slot == 0 ? "delete sim1\n" : "delete sim2\n");
  vorn_m2m_pal_efs_rename(efs::per_sim(efs::kNrEarfcnLock, slot).c_str(), earfcn_del.c_str());
  vorn_m2m_pal_efs_rename(efs::per_sim(efs::kNrPciLock, slot).c_str(), pci_del.c_str());
  return 0;
}

VORNPAL_API int vorn_network_switch_sim_efs_copy(const char *dst, const char *src, int mode) {
  if (dst == nullptr || src == nullptr) return -1;
  uint8_t item[12] = {};
  uint32_t len = mode == 1 ? 8 : mode == 0 ? 12 : 0;
  if (len == 0) return 0;
  if (!efs::read(src, item, len)) return 0;
  // Only an item that holds a lock is copied in.
  bool holds = mode == 1 ? efs::get32(item) != 0 : efs::get32(item) != 0 && efs::get32(item + 4) != 0;
  if (!holds) return 0;
  vorn_m2m_pal_write_nv_by_path(dst, item, len);
  return 0;
}

VORNPAL_API int vorn_network_switch_sim_efs_change(uint32_t slot) {
  VORN_LOG(VORN_DBUG, "Enter vorn_network_switch_sim_efs_change\n");
  if (slot > 1) return 0;
  struct Item {
    const char *path;
    int mode;
    uint32_t len;
    const char *text;
  };
  const Item items[] = {{efs::kNrEarfcnLock, 1, 8, slot == 0 ? "cp CELLOCK_EARFCN sim1\n" : "cp CELLOCK_EARFCN sim2\n"},
                        {efs::kNrPciLock, 0, 12, slot == 0 ? "cp CELLOCK_PCI sim1\n" : "cp CELLOCK_PCI sim2\n"}};
  for (const Item &item : items) {
    std::string copy = efs::per_sim(item.path, slot);
    uint8_t probe[12];
    if (!efs::read(copy, probe, item.len)) continue;
    VORN_LOG(VORN_DBUG, "%s", item.text);
    efs::remove(item.path);
    vorn_network_switch_sim_efs_copy(item.path, copy.c_str(), item.mode);
  }
  return 0;
}

}  // extern "C"
