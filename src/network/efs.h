// The EFS items of the network family's locks and settings, and the small
// reads and writes they all go through (the M2M service's item access).
// An item is written with its exact length; a read says how many bytes came.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <vornpal/m2m.h>

namespace vorn::network::efs {

// odm bookkeeping: which lock is on.
constexpr char kCellLock[] = "/nv/item_files/odm/celllock_string";
constexpr char kUmtsCellLock[] = "/nv/item_files/odm/umts_celllock_string";
constexpr char kNrCellLock[] = "/nv/item_files/odm/5g_celllock_string";
constexpr char kPlmnLock[] = "/nv/item_files/odm/plmnlock_string";
constexpr char kLastPci[] = "/nv/item_files/odm/last_celllock_pci_string";
constexpr char kLastNrPci[] = "/nv/item_files/odm/5g_last_celllock_pci_string";
constexpr char kLastRat[] = "/nv/item_files/odm/last_rat_string";
// The modem software's own items.
constexpr char kLtePciLock[] = "/nv/item_files/modem/lte/rrc/csp/pci_lock";
constexpr char kLteEarfcnLock[] = "/nv/item_files/modem/lte/rrc/csp/earfcn_lock";
constexpr char kWcdmaFreqLock[] = "/nv/item_files/wcdma/rrc/wcdma_rrc_freq_lock_item";
constexpr char kLteCellList[] = "/nv/item_files/modem/lte/rrc/efs/cell_lock_list";
constexpr char kCellRestrictSim2[] = "/nv/item_files/modem/lte/rrc/efs/cell_restrict_opt_params_Subscription01";
constexpr char kNrEarfcnLock[] = "/nv/item_files/modem/nr5g/RRC/earfcn_lock";
constexpr char kNrPciLock[] = "/nv/item_files/modem/nr5g/RRC/pci_lock_info";
constexpr char kModePref[] = "/nv/item_files/modem/mmode/mode_pref";

// The forms of a path: SIM2 of odm and LTE items, per SIM of NR items, and
// the name an item is deleted to.
constexpr char kSim2Suffix[] = "_Subscription01";
inline std::string sim2(const char *path) { return std::string(path) + kSim2Suffix; }
inline std::string per_sim(const char *path, uint32_t slot) {
  return std::string(path) + (slot == 0 ? "_sim1" : "_sim2");
}
inline std::string deleted(const std::string &path) { return path + "_del"; }

// Mode preference words of the locks.
constexpr uint32_t kModeWcdma = 8, kModeLte = 16, kModeWcdmaLte = 24, kModeNr = 64, kModeAll = 88;

// Sizes of the items.
constexpr uint32_t kOdmLen = 3;
constexpr uint32_t kCellListLen = 244;
constexpr uint32_t kCellListUsed = 20;
constexpr uint32_t kNrListLen = 448;
constexpr uint32_t kNrListEntries = 16;
constexpr uint32_t kNrEntryLen = 28;
constexpr uint32_t kPlmnLockLen = 388;

inline bool write(const std::string &path, const void *data, uint32_t len) {
  return vorn_m2m_pal_write_nv_by_path(path.c_str(), data, len) == 0;
}
inline bool write_word(const std::string &path, uint32_t value) { return write(path, &value, sizeof value); }

// Reads at most `len` bytes (an item holds at most 500); false when the
// read failed. `got` is what came.
inline bool read(const std::string &path, void *out, uint32_t len, uint32_t *got = nullptr) {
  uint8_t buffer[512] = {};
  uint32_t n = 0;
  if (vorn_m2m_pal_read_nv_by_path(path.c_str(), buffer, &n, 0) != 0) return false;
  if (n > len) n = len;
  std::memcpy(out, buffer, n);
  if (got != nullptr) *got = n;
  return true;
}

// The rename that deletes; its result is not looked at by any caller.
inline void remove(const std::string &path) { vorn_m2m_pal_efs_rename(path.c_str(), deleted(path).c_str()); }

// Little-endian fields of the items.
inline void put16(uint8_t *at, uint32_t value) {
  at[0] = static_cast<uint8_t>(value);
  at[1] = static_cast<uint8_t>(value >> 8);
}
inline void put32(uint8_t *at, uint32_t value) {
  put16(at, value);
  put16(at + 2, value >> 16);
}
inline uint32_t get16(const uint8_t *at) { return at[0] | static_cast<uint32_t>(at[1]) << 8; }
inline uint32_t get32(const uint8_t *at) { return get16(at) | get16(at + 2) << 16; }

}  // namespace vorn::network::efs
