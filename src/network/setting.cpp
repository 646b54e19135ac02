// The network settings pair: the record's groups to and from the modem's
// system selection preference, the PLMN lock item and the marker of the
// automatic rat mode. Each group is read or written only when its flag is
// set.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iterator>

#include <vornpal/device.h>
#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/log_site.h"
#include "network/efs.h"
#include "network/locks.h"
#include "network/state.h"

uint32_t g_band_mode = 0;

namespace vorn::network {
namespace {

constexpr char kAutoMarker[] = "/data/q27_set_rat_auto.txt";
constexpr char kOrlMaker[] = "ORL Communication Ltd";
constexpr uint32_t kNoRatMode = 0xFFFFFFFF;
constexpr uint32_t kNoRatModeAlt = 0xFFFFFFFE;
constexpr uint32_t kGsmUmtsNoReport = 0xFFFF;

// rat_mode against the mode preference word; the word 32 also reads as 1.
struct ModeRow {
  uint32_t rat_mode;
  uint16_t mode_pref;
};
constexpr ModeRow kModes[] = {{0, 92}, {1, 8}, {2, 16}, {4, 24}, {8, 4}, {9, 12}, {10, 20}, {11, 28}, {1, 32}};
constexpr size_t kSetModes = 8;  // the rows a set writes by

// Classes a get reports, by rat_mode.
constexpr uint32_t kGsmModes[] = {0, 8, 9, 10, 11};
constexpr uint32_t kUmtsModes[] = {0, 1, 4, 6, 7, 9, 11};
constexpr uint32_t kLteModes[] = {0, 2, 4, 5, 7, 10, 11};

template <size_t N>
bool listed(const uint32_t (&modes)[N], int64_t mode) {
  for (uint32_t m : modes)
    if (m == mode) return true;
  return false;
}

// A band of the family's masks against its bit in the modem's GSM/UMTS
// band preference.
struct BandBit {
  uint32_t family_bit;
  unsigned modem_bit;
  uint32_t band;  // in the list; 0: not listed
};
constexpr BandBit kGsmBits[] = {{0x02, 9, 900}, {0x08, 7, 1800}, {0x10, 21, 1900}, {0x80, 19, 850}};
constexpr BandBit kUmtsBits[] = {{0x01, 22, 1},  {0x02, 23, 2},  {0x04, 24, 3},      {0x08, 25, 4},
                                 {0x10, 26, 5},  {0x20, 27, 0},  {0x80, 49, 8},      {0x80000, 60, 19}};
constexpr unsigned kUmtsBitWithGsmOnly = 59;

constexpr uint64_t bit(unsigned n) { return uint64_t{1} << n; }

template <size_t N>
uint64_t modem_bits(const BandBit (&table)[N], uint32_t family_mask) {
  uint64_t out = 0;
  for (const BandBit &row : table)
    if (family_mask & row.family_bit) out |= bit(row.modem_bit);
  return out;
}
template <size_t N>
uint64_t all_bits(const BandBit (&table)[N]) {
  uint64_t out = 0;
  for (const BandBit &row : table) out |= bit(row.modem_bit);
  return out;
}

struct BandList {
  vorn_network_setting &setting;
  void add(uint32_t band) {
    if (band != 0 && setting.band_list_len < VORN_NETWORK_BAND_LIST_MAX)
      setting.band_list[setting.band_list_len++] = band;
  }
};

// Fills a class's family mask from the modem's bits and lists its bands.
template <size_t N>
uint32_t report_class(const BandBit (&table)[N], uint64_t modem_mask, BandList &list) {
  uint32_t mask = 0;
  for (const BandBit &row : table) {
    if (!(modem_mask & bit(row.modem_bit))) continue;
    mask |= row.family_bit;
    list.add(row.band);
  }
  return mask;
}

void list_lte(uint64_t mask, uint32_t first_band, BandList &list) {
  for (unsigned n = 0; n < 64; ++n)
    if (mask & bit(n)) list.add(first_band + n);
}

// ---- the marker of the automatic mode ----------------------------------------

void write_auto_marker(uint32_t rat_mode) {
  FILE *file = std::fopen(kAutoMarker, "w");
  if (file == nullptr) return;
  std::fprintf(file, "%d", rat_mode == 0 ? 1 : 0);
  std::fclose(file);
}

// The mode the marker forces: 0 when it says automatic.
void apply_auto_marker(uint32_t &rat_mode) {
  if (access(kAutoMarker, F_OK) != 0) return;
  FILE *file = std::fopen(kAutoMarker, "r");
  if (file == nullptr) return;
  int automatic = 0;
  if (std::fscanf(file, "%d", &automatic) != 1) automatic = 0;
  std::fclose(file);
  VORN_LOG(VORN_DBUG, "q27 auto_setting %d\n", automatic);
  if (automatic == 0) return;
  rat_mode = 0;
  VORN_LOG(VORN_DBUG, "q27 set_rat_auto %d\n", automatic);
}

// ---- the PLMN lock item -------------------------------------------------------

bool plmn_digits(const char *text, size_t &len) {
  len = strnlen(text, sizeof(vorn_network_setting::plmn_lock));
  if (len != 5 && len != 6) return false;
  for (size_t i = 0; i < len; ++i)
    if (text[i] < '0' || text[i] > '9') return false;
  return true;
}

void get_plmnlock(vorn_network_setting &setting) {
  uint8_t item[efs::kPlmnLockLen] = {};
  if (!efs::read(efs::kPlmnLock, item, sizeof item)) {
    VORN_LOG(VORN_ERR, "read plmnlock efs failed\n");
    return;
  }
  uint32_t count = item[0];
  setting.plmn_lock_enable = count == 0 ? 0 : 1;
  // Every entry is printed over the one before: the last one stays.
  for (uint32_t i = 0; i < count && i < 128; ++i) {
    const uint8_t *entry = item + 4 + 3 * i;
    int mcc1 = entry[0] & 15, mcc2 = entry[0] >> 4, mcc3 = entry[1] & 15, mnc3 = entry[1] >> 4;
    int mnc1 = entry[2] & 15, mnc2 = entry[2] >> 4;
    char text[32];
    if (entry[1] > 239)
      std::snprintf(text, sizeof text, "%d%d%d%d%d", mcc1, mcc2, mcc3, mnc1, mnc2);
    else
      std::snprintf(text, sizeof text, "%d%d%d%d%d%d", mcc1, mcc2, mcc3, mnc1, mnc2, mnc3);
    vorn_string_memcpy(setting.plmn_lock, text, sizeof setting.plmn_lock);
  }
}

// The lock is re-read by the modem on a radio cycle.
int set_plmnlock(const vorn_network_setting &setting) {
  uint8_t item[efs::kPlmnLockLen] = {};
  if (setting.plmn_lock_enable) {
    size_t len = 0;
    if (!plmn_digits(setting.plmn_lock, len)) {
      VORN_LOG(VORN_ERR, "plmn lock text is invalid\n");
      return -1;
    }
    auto digit = [&](size_t i) { return static_cast<uint8_t>(setting.plmn_lock[i] - '0'); };
    uint8_t mnc3 = len == 6 ? digit(5) : 0xF;
    item[0] = 1;
    item[4] = static_cast<uint8_t>(digit(0) | digit(1) << 4);
    item[5] = static_cast<uint8_t>(digit(2) | mnc3 << 4);
    item[6] = static_cast<uint8_t>(digit(3) | digit(4) << 4);
  }
  efs::write(efs::kPlmnLock, item, sizeof item);
  if (vorn_device_pal_set_operating_mode(1) == 0) vorn_device_pal_set_operating_mode(0);
  return 0;
}

// ---- get ---------------------------------------------------------------------------

int64_t report_rat(vorn_network_setting &setting, const nas_get_system_selection_preference_resp_msg_v01 &resp,
                   int &result) {
  if (!setting.rat_info_valid || !resp.mode_pref_valid) return -1;
  for (const ModeRow &row : kModes)
    if (row.mode_pref == resp.mode_pref) {
      setting.rat_mode = row.rat_mode;
      break;
    }
  apply_auto_marker(setting.rat_mode);
  int64_t report = setting.rat_mode;
  setting.current_rat = state().rat.load();
  char maker[128] = {};
  result = vorn_m2m_pal_get_manufacturer(maker);
  uint32_t wanted = state().setting_rat_mode.load();
  if (result == 0 && std::strncmp(maker, kOrlMaker, 21) == 0 && wanted != kNoRatMode && wanted != kNoRatModeAlt)
    setting.rat_mode = wanted;
  uint32_t mode = setting.rat_mode;
  if (resp.acq_order_valid && mode != 1 && mode != 2 && mode != 3 && mode != 8) {
    auto rat_of = [](uint32_t radio_if, uint8_t &out) {
      if (radio_if == NAS_RADIO_IF_UMTS_V01) out = 2;
      else if (radio_if == NAS_RADIO_IF_LTE_V01) out = 3;
      else if (radio_if == NAS_RADIO_IF_GSM_V01) out = 0;
    };
    if (resp.acq_order_len > 0) rat_of(resp.acq_order[0], setting.primary_rat);
    if (resp.acq_order_len > 1) rat_of(resp.acq_order[1], setting.secondary_rat);
  }
  return report;
}

void report_bands(vorn_network_setting &setting, const nas_get_system_selection_preference_resp_msg_v01 &resp,
                  const vorn_device_band_capabilities &caps, int64_t report) {
  setting.band = g_band_mode;
  BandList list{setting};
  setting.band_list_len = 0;
  if (resp.band_pref_valid) {
    uint64_t mask = resp.band_pref & caps.umts_band_mask;
    if (mask != kGsmUmtsNoReport) {
      if (listed(kGsmModes, report)) {
        setting.gsm_valid = 1;
        setting.gsm_mask = report_class(kGsmBits, mask, list);
      }
      if (listed(kUmtsModes, report)) {
        setting.umts_valid = 1;
        setting.umts_mask = report_class(kUmtsBits, mask, list);
      }
    }
  }
  if (resp.lte_band_pref_ext_valid && listed(kLteModes, report)) {
    setting.lte_valid = 1;
    uint64_t first = resp.lte_band_pref_ext.bits_1_64 & caps.lte_band_mask[0];
    uint64_t second = resp.lte_band_pref_ext.bits_65_128 & caps.lte_band_mask[1];
    oem_network_pal_band_mask_extract(static_cast<uint32_t>(first), static_cast<uint32_t>(first >> 32),
                                      &setting.lte_mask[1], &setting.lte_mask[0]);
    oem_network_pal_band_mask_extract(static_cast<uint32_t>(second), static_cast<uint32_t>(second >> 32),
                                      &setting.lte_mask[3], &setting.lte_mask[2]);
    list_lte(first, 101, list);
    list_lte(second, 165, list);
  }
  if (setting.band_list_len == 1) setting.band = setting.band_list[0];
}

// ---- set ------------------------------------------------------------------------------

void request_rat(const vorn_network_setting &setting, nas_set_system_selection_preference_req_msg_v01 &req) {
  state().setting_rat_mode.store(setting.rat_mode);
  req.mode_pref_valid = 1;
  for (size_t i = 0; i < kSetModes; ++i)
    if (kModes[i].rat_mode == setting.rat_mode) req.mode_pref = kModes[i].mode_pref;
  write_auto_marker(setting.rat_mode);
  if (!setting.rat_order_valid) return;
  req.acq_order_valid = 1;
  for (uint8_t rat : {setting.primary_rat, setting.secondary_rat}) {
    uint32_t radio_if = rat == 2 ? NAS_RADIO_IF_UMTS_V01 : rat == 3 ? NAS_RADIO_IF_LTE_V01 : rat == 0 ? NAS_RADIO_IF_GSM_V01 : 0;
    if (radio_if != 0 && req.acq_order_len < 2) req.acq_order[req.acq_order_len++] = radio_if;
  }
}

void request_registration(const vorn_network_setting &setting, nas_set_system_selection_preference_req_msg_v01 &req) {
  req.net_sel_pref_valid = 1;
  req.net_sel_pref.net_sel_pref = setting.regist_mode;
  state().registration_mode.store(setting.regist_mode);
  if (setting.regist_mode != 1) return;
  Operator op = cached_operator();
  req.net_sel_pref.mcc = op.mcc;
  req.net_sel_pref.mnc = op.mnc;
}

void lte_masks_of(const uint32_t (&words)[8], nas_lte_band_pref_mask_ext_type_v01 &ext) {
  uint64_t masks[4];
  for (size_t i = 0; i < 4; ++i) vorn_network_pal_band_mask_build(&masks[i], words[2 * i + 1], words[2 * i]);
  ext = {masks[0], masks[1], masks[2], masks[3]};
}

void request_bands(const vorn_network_setting &setting, nas_set_system_selection_preference_req_msg_v01 &req) {
  g_band_mode = setting.band_mode;
  vorn_device_band_capabilities caps{};
  vorn_device_pal_get_band_capabilities(&caps);
  const nas_lte_band_pref_mask_ext_type_v01 all_lte = {caps.lte_band_mask[0], caps.lte_band_mask[1],
                                                       caps.lte_band_mask[2], caps.lte_band_mask[3]};
  if (setting.band_mode == 0) {
    VORN_LOG(VORN_DBUG, "auto band\n");
    req.band_pref_valid = 1;
    req.band_pref = caps.umts_band_mask;
    req.lte_band_pref_ext_valid = 1;
    req.lte_band_pref_ext = all_lte;
    return;
  }
  const bool gsm = setting.gsm_valid, umts = setting.umts_valid, lte = setting.lte_valid;
  if (!gsm && !umts && !lte) return;
  uint64_t pref = 0;
  pref |= gsm ? modem_bits(kGsmBits, setting.gsm_mask) : all_bits(kGsmBits) & caps.umts_band_mask;
  if (umts) {
    pref |= modem_bits(kUmtsBits, setting.umts_mask);
  } else {
    // Band XIX comes along only with an LTE class; GSM alone brings bit 59.
    uint64_t fill = all_bits(kUmtsBits) & ~bit(60);
    if (lte)
      fill |= bit(60);
    else if (gsm)
      fill |= bit(kUmtsBitWithGsmOnly);
    pref |= fill & caps.umts_band_mask;
  }
  req.band_pref_valid = 1;
  req.band_pref = pref;
  req.lte_band_pref_ext_valid = 1;
  if (lte)
    lte_masks_of(setting.lte_mask, req.lte_band_pref_ext);
  else
    req.lte_band_pref_ext = all_lte;
}

}  // namespace
}  // namespace vorn::network

namespace net = vorn::network;

extern "C" {

VORNPAL_API void vorn_network_pal_band_mask_build(uint64_t *dest, uint32_t left, uint32_t right) {
  if (dest != nullptr) *dest = static_cast<uint64_t>(left) << 32 | right;
}

VORNPAL_API void oem_network_pal_band_mask_extract(uint32_t low, uint32_t high, uint32_t *left, uint32_t *right) {
  if (left != nullptr) *left = high;
  if (right != nullptr) *right = low;
}

VORNPAL_API int vorn_network_pal_get_network_setting(uint32_t slot, vorn_network_setting *setting) {
  (void)slot;
  if (setting == nullptr) {
    VORN_LOG(VORN_ERR, "Error:Parameter is invalid!!!\n");
    return -1;
  }
  VORN_LOG(VORN_DBUG, "regist %d band %d rat %d nr %d roaming %d celllock %d plmnlock %d\n",
           setting->regist_info_valid, setting->band_info_valid, setting->rat_info_valid, setting->nr_info_valid,
           setting->roaming_info_valid, setting->cell_lock_info_valid, setting->plmn_lock_info_valid);
  vorn_device_band_capabilities caps{};
  vorn_device_pal_get_band_capabilities(&caps);
  nas_get_system_selection_preference_resp_msg_v01 resp;
  if (net::send<net::GetSystemSelectionPreference>(resp).verdict != 0) return -1;

  int result = 0;
  int64_t report = net::report_rat(*setting, resp, result);
  if (setting->nr_info_valid) {
    VORN_LOG(VORN_DBUG, "getting nr_info Q27 don't support 5G\n");
    std::memset(&setting->nr_info, 0, sizeof setting->nr_info);
  }
  if (setting->regist_info_valid && resp.net_sel_pref_valid) setting->regist_mode = resp.net_sel_pref;
  if (setting->band_info_valid) net::report_bands(*setting, resp, caps, report);
  if (setting->plmn_lock_info_valid) net::get_plmnlock(*setting);
  if (setting->cell_lock_info_valid) net::get_celllock(*setting);
  setting->rat_mode = static_cast<uint32_t>(report);
  VORN_LOG(VORN_DBUG, "end :rat_mode is %d %d\n", static_cast<int>(report),
           static_cast<int>(net::state().setting_rat_mode.load()));
  return result;
}

VORNPAL_API int vorn_network_pal_set_network_setting(uint32_t slot, vorn_network_setting *setting) {
  (void)slot;
  if (setting == nullptr) {
    VORN_LOG(VORN_ERR, "Error:Parameter is invalid!!!\n");
    return -1;
  }
  nas_set_system_selection_preference_req_msg_v01 req{};
  if (setting->rat_info_valid) net::request_rat(*setting, req);
  if (setting->nr_info_valid) {
    VORN_LOG(VORN_ERR, "nr info valid,Q27 don't support 5G\n");
    return -1;
  }
  if (setting->regist_info_valid) net::request_registration(*setting, req);
  if (setting->band_info_valid) net::request_bands(*setting, req);
  if (setting->channl_lock_info_valid) VORN_LOG(VORN_DBUG, "channel lock info valid\n");
  if (setting->rat_info_valid || setting->regist_info_valid || setting->band_info_valid) {
    nas_set_system_selection_preference_resp_msg_v01 resp;
    if (net::send<net::SetSystemSelectionPreference>(req, resp).verdict != 0) return -1;
  }
  if (setting->cell_lock_info_valid && net::set_celllock(&setting->cell_lock_info, nullptr) != 0) {
    VORN_LOG(VORN_ERR, "ERROR: oem_network_set_celllock fail !!!\n");
    return -1;
  }
  if (setting->cell_multi_lock_info_valid && net::set_celllock(nullptr, &setting->cell_multi_lock_info) != 0) {
    VORN_LOG(VORN_ERR, "ERROR: cell_multi_lock_info fail !!!\n");
    return -1;
  }
  if (setting->plmn_lock_info_valid && net::set_plmnlock(*setting) != 0) return -1;
  VORN_LOG(VORN_DBUG, "exit oem_network_pal_set_network_setting\n");
  return 0;
}

}  // extern "C"
