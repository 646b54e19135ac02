// The NAS service of the simulated modem. Its answers and indications follow
// from the radio environment (nas_cells.cpp) and the selection: the device
// registers on the serving cell that pick_serving() gives, is denied when
// the network rejects or the chosen network is forbidden, and searches when
// nothing can be heard. Every change that moves the registration sends the
// serving-system, system-info and band indications; a scan reports its
// networks in three indications, each with the networks found so far.
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <vornsim/dm_cache.h>
#include <vornsim/nas.h>
#include <vornsim/sim.h>

#include "engine.h"
#include "m2m_efs.h"
#include "nas_cells.h"
#include "network/messages.h"
#include "service_module.h"

namespace vornsim {
namespace {

namespace net = vorn::network;
using nas::kCells;
using nas::kNetworks;
using nas::Rat;

constexpr auto kBusy = static_cast<qmi_error_type_v01>(23);
constexpr auto kRrcIdle = static_cast<qmi_error_type_v01>(90);
constexpr auto kNotSupported = static_cast<qmi_error_type_v01>(25);
constexpr uint8_t kPlmnNotAllowed = 11;
constexpr uint32_t kNoRat = 0xFF;
// Modem milliseconds for a registration to take effect and between the
// scan's reports (a full scan takes half a minute).
constexpr unsigned kRegistrationMs = 300;
constexpr unsigned kScanStepMs = 10000;

struct Snapshot {
  uint32_t reg_state = NAS_NOT_REGISTERED_SEARCHING_V01;
  std::optional<size_t> cell;
  uint8_t reject = 0;
  bool roaming = false;
  bool ps_attached = false;
  int level = 0;
  int quality = 0;
  int sinr = 0;
  bool same_place(const Snapshot &o) const {
    return reg_state == o.reg_state && cell == o.cell && reject == o.reject &&
           roaming == o.roaming && ps_attached == o.ps_attached;
  }
};

struct State {
  uint32_t coverage = 1;
  std::array<int32_t, nas::kCellCount> level{};
  std::array<int32_t, nas::kCellCount> quality{};
  std::array<int32_t, nas::kCellCount> sinr{};
  uint32_t reject_cause = 0;
  uint32_t manual = 0;
  uint32_t manual_mcc = 0;
  uint32_t manual_mnc = 0;
  uint32_t manual_rat = kNoRat;
  // The selection's bands and order; its mode preference is the EFS item.
  uint64_t band_pref = ~uint64_t{0};
  std::array<uint64_t, 4> lte_band_pref = {~uint64_t{0}, ~uint64_t{0}, ~uint64_t{0}, ~uint64_t{0}};
  uint32_t acq_order_len = 0;
  std::array<uint32_t, NAS_ACQ_ORDER_LIST_MAX_V01> acq_order{};
  // The LTE cells of the cell configuration's lock: earfcn, pci pairs.
  uint32_t cell_config_len = 0;
  std::array<uint32_t, 2 * NAS_CELL_CONFIG_LIST_MAX_V01> cell_config{};
  uint32_t ps_detached = 0;
  uint32_t data_roaming = 1;
  uint32_t scanning = 0;  // not saved: a scan ends with the process that asked
  std::optional<Snapshot> announced;  // not saved: the registration last indicated

  template <class Visit>
  void values(Visit &&visit) {
    visit("coverage", coverage);
    visit("level", level);
    visit("quality", quality);
    visit("sinr", sinr);
    visit("reject_cause", reject_cause);
    visit("manual", manual);
    visit("manual_mcc", manual_mcc);
    visit("manual_mnc", manual_mnc);
    visit("manual_rat", manual_rat);
    visit("band_pref", band_pref);
    visit("lte_band_pref", lte_band_pref);
    visit("acq_order_len", acq_order_len);
    visit("acq_order", acq_order);
    visit("cell_config_len", cell_config_len);
    visit("cell_config", cell_config);
    visit("ps_detached", ps_detached);
    visit("data_roaming", data_roaming);
  }
};

void set_radio(State &s, const nas::Radio &radio) {
  s.coverage = radio.coverage ? 1 : 0;
  s.level = radio.level;
  s.quality = radio.quality;
  s.sinr = radio.sinr;
}

nas::Radio radio_of(const State &s) {
  nas::Radio radio;
  radio.coverage = s.coverage != 0;
  radio.level = s.level;
  radio.quality = s.quality;
  radio.sinr = s.sinr;
  return radio;
}

State factory_state() {
  State fresh;
  set_radio(fresh, nas::factory_radio());
  return fresh;
}

// ---- what the modem's EFS items say -----------------------------------------------

constexpr char kModePrefItem[] = "/nv/item_files/modem/mmode/mode_pref";
constexpr uint32_t kAnyMode = 0xFFFF;

uint32_t le(const Bytes &bytes, size_t at, size_t len) {
  uint32_t value = 0;
  for (size_t i = 0; i < len && at + i < bytes.size(); ++i) value |= uint32_t{bytes[at + i]} << (8 * i);
  return value;
}

uint32_t mode_pref_item() {
  auto item = m2m_efs::item(kModePrefItem);
  return item && item->size() >= 2 ? le(*item, 0, 4) : kAnyMode;
}

// The item of the active SIM: its SIM2 form on SIM2 when there is one.
std::optional<Bytes> sim_item(const std::string &path, uint32_t slot) {
  if (slot == 1)
    if (auto item = m2m_efs::item(path + "_Subscription01")) return item;
  return m2m_efs::item(path);
}

// The module's modem software switches the LTE and WCDMA locks by its odm
// strings (kind 1 single, 2 list; type 0 PCI, 1 frequency); the lock's
// values are in the RRC items. NR reads the common NR items.
void efs_locks(nas::Constraints &c) {
  uint32_t slot = dm_cache_word(kActiveSimSlotKey).value_or(0);
  if (auto odm = sim_item("/nv/item_files/odm/celllock_string", slot); odm && odm->size() >= 2) {
    nas::Lock lock;
    if ((*odm)[0] == 1 && (*odm)[1] == 0) {
      if (auto item = m2m_efs::item("/nv/item_files/modem/lte/rrc/csp/pci_lock"); item && item->size() >= 4)
        lock.push_back({le(*item, 0, 2), le(*item, 2, 2)});
    } else if ((*odm)[0] == 1) {
      if (auto item = m2m_efs::item("/nv/item_files/modem/lte/rrc/csp/earfcn_lock"); item && item->size() >= 2)
        lock.push_back({le(*item, 0, 2), std::nullopt});
    } else if ((*odm)[0] == 2) {
      if (auto item = sim_item("/nv/item_files/modem/lte/rrc/efs/cell_lock_list", slot); item && !item->empty())
        for (size_t i = 0; i < (*item)[0] && 4 + 8 * i + 8 <= item->size(); ++i)
          lock.push_back({le(*item, 8 + 8 * i, 4), le(*item, 4 + 8 * i, 4)});
    }
    // A lock whose values are missing allows no cell.
    if ((*odm)[0] == 1 || (*odm)[0] == 2) c.lte_locks.push_back(lock);
  }
  if (auto odm = sim_item("/nv/item_files/odm/umts_celllock_string", slot); odm && !odm->empty() && (*odm)[0] == 1) {
    nas::Lock lock;
    if (auto item = sim_item("/nv/item_files/wcdma/rrc/wcdma_rrc_freq_lock_item", slot); item && item->size() >= 2)
      lock.push_back({le(*item, 0, 2), std::nullopt});
    c.wcdma_locks.push_back(lock);
  }
  auto odm_nr = sim_item("/nv/item_files/odm/5g_celllock_string", slot);
  bool nr_by_freq = odm_nr && odm_nr->size() >= 2 && (*odm_nr)[0] == 1 && (*odm_nr)[1] == 1;
  nas::Lock nr;
  if (nr_by_freq) {
    if (auto item = m2m_efs::item("/nv/item_files/modem/nr5g/RRC/earfcn_lock"); item && le(*item, 0, 4) != 0)
      nr.push_back({le(*item, 0, 4), std::nullopt});
  } else if (auto item = m2m_efs::item("/nv/item_files/modem/nr5g/RRC/pci_lock_info")) {
    if (item->size() == 12 && (le(*item, 0, 4) != 0 || le(*item, 4, 4) != 0)) {
      nr.push_back({le(*item, 4, 4), le(*item, 0, 4)});
    } else if (item->size() >= 28) {
      for (size_t at = 0; at + 28 <= item->size() && (*item)[at] >= 1 && (*item)[at] <= 8; at += 28)
        nr.push_back({le(*item, at + 20, 4), le(*item, at + 2, 2)});
    }
  }
  if (!nr.empty()) c.nr_locks.push_back(nr);
  nas::Lock ext;
  for (const auto &[freq, pci] : m2m_efs::nr_lock_cells()) ext.push_back({freq, pci});
  if (!ext.empty()) c.nr_locks.push_back(ext);
}

nas::Constraints constraints_of(const State &s) {
  nas::Constraints c;
  c.mode_pref = mode_pref_item();
  c.band_pref = s.band_pref;
  c.lte_band_pref = s.lte_band_pref;
  efs_locks(c);
  if (s.cell_config_len > 0) {
    nas::Lock lock;
    for (uint32_t i = 0; i < s.cell_config_len; ++i) lock.push_back({s.cell_config[2 * i], s.cell_config[2 * i + 1]});
    c.lte_locks.push_back(lock);
  }
  c.manual = s.manual != 0;
  c.mcc = static_cast<uint16_t>(s.manual_mcc);
  c.mnc = static_cast<uint16_t>(s.manual_mnc);
  if (s.manual_rat != kNoRat) c.manual_rat = static_cast<Rat>(s.manual_rat);
  return c;
}

// ---- the registration ------------------------------------------------------------

Snapshot snapshot(const State &s) {
  Snapshot snap;
  nas::Radio radio = radio_of(s);
  nas::Constraints c = constraints_of(s);
  std::optional<size_t> serving = nas::pick_serving(radio, c);
  std::optional<size_t> wanted = c.manual ? nas::network_of(c.mcc, c.mnc) : std::nullopt;
  if (wanted && kNetworks[*wanted].kind == nas::Kind::Forbidden && serving) {
    snap.reg_state = NAS_REGISTRATION_DENIED_V01;
    snap.reject = kPlmnNotAllowed;
    snap.cell = serving;
  } else if (serving && s.reject_cause != 0) {
    snap.reg_state = NAS_REGISTRATION_DENIED_V01;
    snap.reject = static_cast<uint8_t>(s.reject_cause);
    snap.cell = serving;
  } else if (serving) {
    snap.reg_state = NAS_REGISTERED_V01;
    snap.cell = serving;
    snap.roaming = kNetworks[kCells[*serving].network].kind != nas::Kind::Home;
    snap.ps_attached = s.ps_detached == 0;
  }
  if (snap.cell) {
    snap.level = s.level[*snap.cell];
    snap.quality = s.quality[*snap.cell];
    snap.sinr = s.sinr[*snap.cell];
  }
  return snap;
}

uint32_t radio_if_of(Rat rat) {
  switch (rat) {
    case Rat::Gsm: return NAS_RADIO_IF_GSM_V01;
    case Rat::Wcdma: return NAS_RADIO_IF_UMTS_V01;
    case Rat::Lte:
    case Rat::Endc: return NAS_RADIO_IF_LTE_V01;
    case Rat::NrSa: return NAS_RADIO_IF_NR5G_V01;
  }
  return NAS_RADIO_IF_NO_SVC_V01;
}

std::optional<Rat> rat_of_radio_if(uint32_t radio_if) {
  switch (radio_if) {
    case NAS_RADIO_IF_GSM_V01: return Rat::Gsm;
    case NAS_RADIO_IF_UMTS_V01: return Rat::Wcdma;
    case NAS_RADIO_IF_LTE_V01: return Rat::Lte;
    case NAS_RADIO_IF_NR5G_V01: return Rat::NrSa;
    default: return std::nullopt;
  }
}

// ---- the structures of the answers and indications ----------------------------------

template <size_t N>
void put_digits(char (&field)[N], unsigned value, int digits) {
  char text[8];
  std::snprintf(text, sizeof text, "%0*u", digits, value % 1000);
  std::memset(field, 0xFF, N);
  std::memcpy(field, text, std::min<size_t>(N, static_cast<size_t>(digits)));
}

void fill_serving(const Snapshot &snap, nas_serving_system_info_v01 &info) {
  nas_serving_system_type_v01 &sys = info.serving_system;
  sys.registration_state = snap.reg_state;
  bool registered = snap.reg_state == NAS_REGISTERED_V01;
  sys.cs_attach_state = registered ? NAS_ATTACHED_V01 : NAS_DETACHED_V01;
  sys.ps_attach_state = snap.ps_attached ? NAS_ATTACHED_V01 : NAS_DETACHED_V01;
  info.detailed_service_info_valid = 1;
  info.detailed_service_info.srv_capability = 3;
  info.detailed_service_info.srv_status =
      registered ? NAS_SYS_SRV_STATUS_SRV_V01 : snap.cell ? NAS_SYS_SRV_STATUS_LIMITED_V01 : NAS_SYS_SRV_STATUS_NO_SRV_V01;
  if (!snap.cell) return;
  const nas::Cell &cell = kCells[*snap.cell];
  const nas::Network &network = kNetworks[cell.network];
  sys.radio_if[sys.radio_if_len++] = radio_if_of(cell.rat);
  if (cell.rat == Rat::Endc) sys.radio_if[sys.radio_if_len++] = NAS_RADIO_IF_NR5G_V01;
  info.roaming_indicator_valid = 1;
  info.roaming_indicator = snap.roaming ? 0 : 1;
  info.current_plmn_valid = 1;
  info.current_plmn.mobile_country_code = network.mcc;
  info.current_plmn.mobile_network_code = network.mnc;
  put_text(info.current_plmn.network_description, network.short_name);
  bool lte = cell.rat == Rat::Lte || cell.rat == Rat::Endc || cell.rat == Rat::NrSa;
  if (lte) {
    info.tac_valid = 1;
    info.tac = static_cast<uint16_t>(cell.area);
  } else {
    info.lac_valid = 1;
    info.lac = static_cast<uint16_t>(cell.area);
  }
  info.cell_id_valid = 1;
  info.cell_id = static_cast<uint32_t>(cell.cell_id);
  info.mnc_includes_pcs_digit_valid = 1;
  info.mnc_includes_pcs_digit = {network.mcc, network.mnc, network.three_digit ? uint8_t{1} : uint8_t{0}};
}

void fill_sys_part(const Snapshot &snap, const nas::Cell &cell, nas_3gpp_sys_info_type_v01 &part) {
  const nas::Network &network = kNetworks[cell.network];
  part.srv_domain_valid = 1;
  part.srv_domain = snap.ps_attached ? 3 : 1;
  part.srv_capability_valid = 1;
  part.srv_capability = 3;
  part.roam_status_valid = 1;
  part.roam_status = snap.roaming ? 1 : 0;
  part.is_sys_forbidden_valid = 1;
  part.is_sys_forbidden = network.kind == nas::Kind::Forbidden;
  part.cell_id_valid = 1;
  part.cell_id = static_cast<uint32_t>(cell.cell_id);
  part.network_id_valid = 1;
  put_digits(part.mcc, network.mcc, 3);
  put_digits(part.mnc, network.mnc, network.three_digit ? 3 : 2);
  if (cell.rat == Rat::Gsm || cell.rat == Rat::Wcdma) {
    part.lac_valid = 1;
    part.lac = static_cast<uint16_t>(cell.area);
  } else {
    part.tac_valid = 1;
    part.tac = static_cast<uint16_t>(cell.area);
  }
  if (snap.reject != 0) {
    part.reg_reject_info_valid = 1;
    part.reject_srv_domain = 3;
    part.rej_cause = snap.reject;
  }
}

void fill_sys_info(const Snapshot &snap, nas_sys_info_v01 &info) {
  if (!snap.cell) return;
  const nas::Cell &cell = kCells[*snap.cell];
  nas_3gpp_srv_status_info_type_v01 status{};
  status.srv_status = snap.reg_state == NAS_REGISTERED_V01 ? NAS_SYS_SRV_STATUS_SRV_V01 : NAS_SYS_SRV_STATUS_LIMITED_V01;
  status.true_srv_status = status.srv_status;
  status.is_pref_data_path = 1;
  switch (cell.rat) {
    case Rat::Gsm:
      info.gsm_srv_status_info_valid = 1;
      info.gsm_srv_status_info = status;
      info.gsm_sys_info_valid = 1;
      fill_sys_part(snap, cell, info.gsm_sys_info);
      break;
    case Rat::Wcdma:
      info.wcdma_srv_status_info_valid = 1;
      info.wcdma_srv_status_info = status;
      info.wcdma_sys_info_valid = 1;
      fill_sys_part(snap, cell, info.wcdma_sys_info);
      break;
    case Rat::Endc:
      info.endc_available_valid = 1;
      info.endc_available = 1;
      [[fallthrough]];
    case Rat::Lte:
      info.lte_srv_status_info_valid = 1;
      info.lte_srv_status_info = status;
      info.lte_sys_info_valid = 1;
      fill_sys_part(snap, cell, info.lte_sys_info);
      info.lte_voice_support_valid = 1;
      info.lte_voice_support = 1;
      break;
    case Rat::NrSa:
      info.nr5g_srv_status_info_valid = 1;
      info.nr5g_srv_status_info = status;
      info.nr5g_sys_info_valid = 1;
      fill_sys_part(snap, cell, info.nr5g_sys_info);
      break;
  }
}

void fill_sig(const Snapshot &snap, nas_sig_info_v01 &info) {
  if (!snap.cell) return;
  const nas::Cell &cell = kCells[*snap.cell];
  switch (cell.rat) {
    case Rat::Gsm:
      info.gsm_sig_info_valid = 1;
      info.gsm_sig_info = static_cast<int8_t>(snap.level);
      break;
    case Rat::Wcdma:
      info.wcdma_sig_info_valid = 1;
      info.wcdma_sig_info = {static_cast<int8_t>(snap.level + 20), static_cast<int16_t>(-2 * snap.quality),
                             static_cast<int16_t>(snap.level)};
      break;
    case Rat::Endc:
      info.nr5g_sig_info_valid = 1;
      info.nr5g_rsrp = static_cast<int16_t>(snap.level - 3);
      info.nr5g_snr = static_cast<int16_t>(snap.sinr * 10 - 20);
      info.nr5g_rsrq = static_cast<int16_t>(snap.quality);
      [[fallthrough]];
    case Rat::Lte:
      info.lte_sig_info_valid = 1;
      info.lte_sig_info = {static_cast<int8_t>(snap.level + 25), static_cast<int8_t>(snap.quality),
                           static_cast<int16_t>(snap.level), static_cast<int16_t>(snap.sinr * 10)};
      break;
    case Rat::NrSa:
      info.nr5g_sig_info_valid = 1;
      info.nr5g_rsrp = static_cast<int16_t>(snap.level);
      info.nr5g_snr = static_cast<int16_t>(snap.sinr * 10);
      info.nr5g_rsrq = static_cast<int16_t>(snap.quality);
      break;
  }
}

// LTE and NR bandwidth codes: 20 MHz, and 100 MHz for n78, 40 MHz for n41.
constexpr uint32_t kLte20 = 5, kNr100 = 17, kNr40 = 12, kGsmWidth = 0;
// A secondary cell heard well enough is activated; a weaker one the modem
// reports deconfigured.
constexpr int kScellActiveDbm = -105;
uint32_t scell_state(int32_t level_dbm) { return level_dbm >= kScellActiveDbm ? 2 : 0; }

void fill_bands(const Snapshot &snap, nas_rf_band_info_v01 &info) {
  if (!snap.cell) return;
  const nas::Cell &cell = kCells[*snap.cell];
  info.rf_band_info_list[info.rf_band_info_list_len++] = {radio_if_of(cell.rat), cell.band_code, cell.channel};
  info.rf_bandwidth_info_list_valid = 1;
  uint32_t width = cell.rat == Rat::NrSa ? kNr40 : cell.rat == Rat::Gsm || cell.rat == Rat::Wcdma ? kGsmWidth : kLte20;
  info.rf_bandwidth_info_list[info.rf_bandwidth_info_list_len++] = {radio_if_of(cell.rat), width};
  if (cell.rat != Rat::Endc) return;
  info.rf_band_info_list[info.rf_band_info_list_len++] = {NAS_RADIO_IF_NR5G_V01, cell.nr_band_code, cell.nr_channel};
  info.rf_bandwidth_info_list[info.rf_bandwidth_info_list_len++] = {NAS_RADIO_IF_NR5G_V01, kNr100};
}

// A PLMN in BCD after TS 24.008.
void put_bcd(uint8_t (&plmn)[3], const nas::Network &network) {
  unsigned mcc = network.mcc, mnc = network.mnc;
  plmn[0] = static_cast<uint8_t>((mcc / 100) | ((mcc / 10 % 10) << 4));
  unsigned third = network.three_digit ? mnc / 100 : 0xF;
  plmn[1] = static_cast<uint8_t>((mcc % 10) | (third << 4));
  unsigned tens = network.three_digit ? mnc / 10 % 10 : mnc / 10;
  plmn[2] = static_cast<uint8_t>(tens | ((mnc % 10) << 4));
}

void fill_cell_location(const State &s, const Snapshot &snap, nas_get_cell_location_info_resp_msg_v01 &resp) {
  if (!snap.cell) return;
  const nas::Cell &cell = kCells[*snap.cell];
  nas::Radio radio = radio_of(s);
  switch (cell.rat) {
    case Rat::Gsm: {
      resp.geran_info_valid = 1;
      nas_geran_cell_info_type_v01 &gsm = resp.geran_info;
      gsm.cell_id = static_cast<uint32_t>(cell.cell_id);
      put_bcd(gsm.plmn, kNetworks[cell.network]);
      gsm.lac = static_cast<uint16_t>(cell.area);
      gsm.arfcn = static_cast<uint16_t>(cell.channel);
      gsm.bsic = static_cast<uint8_t>(cell.pci);
      gsm.timing_advance = 3;
      gsm.rx_lev = static_cast<uint16_t>(snap.level + 110);
      // The other GSM and WCDMA cells heard are measured as neighbours.
      for (size_t i = 0; i < nas::kCellCount && gsm.nmr_cell_info_len < NAS_MAX_NMR_CELLS_V01; ++i) {
        if (i == *snap.cell || kCells[i].rat != Rat::Gsm || !nas::audible(radio, i)) continue;
        nas_nmr_cell_info_type_v01 &n = gsm.nmr_cell_info[gsm.nmr_cell_info_len++];
        n.cell_id = static_cast<uint32_t>(kCells[i].cell_id);
        put_bcd(n.plmn, kNetworks[kCells[i].network]);
        n.lac = static_cast<uint16_t>(kCells[i].area);
        n.arfcn = static_cast<uint16_t>(kCells[i].channel);
        n.bsic = static_cast<uint8_t>(kCells[i].pci);
        n.rx_lev = static_cast<uint16_t>(s.level[i] + 110);
      }
      break;
    }
    case Rat::Wcdma:
      resp.umts_info_valid = 1;
      resp.umts_info.cell_id = static_cast<uint16_t>(cell.cell_id);
      put_bcd(resp.umts_info.plmn, kNetworks[cell.network]);
      resp.umts_info.lac = static_cast<uint16_t>(cell.area);
      resp.umts_info.uarfcn = static_cast<uint16_t>(cell.channel);
      resp.umts_info.psc = static_cast<uint16_t>(cell.pci);
      resp.umts_info.rscp = static_cast<int16_t>(snap.level);
      resp.umts_info.ecio = static_cast<int16_t>(snap.quality);
      resp.umts_info.rssi = static_cast<int16_t>(snap.level + 20);
      resp.umts_cell_id_valid = 1;
      resp.umts_cell_id = static_cast<uint32_t>(cell.cell_id);
      break;
    case Rat::Lte:
    case Rat::Endc: {
      resp.lte_intra_valid = 1;
      nas_lte_intra_freq_type_v01 &intra = resp.lte_intra;
      put_bcd(intra.plmn, kNetworks[cell.network]);
      intra.tac = static_cast<uint16_t>(cell.area);
      intra.global_cell_id = static_cast<uint32_t>(cell.cell_id);
      intra.earfcn = static_cast<uint16_t>(cell.channel);
      intra.serving_cell_id = static_cast<uint16_t>(cell.pci);
      intra.cells[intra.cells_len++] = {static_cast<uint16_t>(cell.pci), static_cast<int16_t>(snap.quality * 10),
                                        static_cast<int16_t>(snap.level * 10),
                                        static_cast<int16_t>((snap.level + 25) * 10), 40};
      // Other LTE cells heard, on their own frequencies.
      for (size_t i = 0; i < nas::kCellCount; ++i) {
        const nas::Cell &other = kCells[i];
        bool lte = other.rat == Rat::Lte || other.rat == Rat::Endc;
        if (i == *snap.cell || !lte || !nas::audible(radio, i) || resp.lte_inter.freqs_len >= NAS_MAX_LTE_NGBR_FREQS_V01)
          continue;
        resp.lte_inter_valid = 1;
        nas_lte_inter_freq_freqs_type_v01 &freq = resp.lte_inter.freqs[resp.lte_inter.freqs_len++];
        freq.earfcn = static_cast<uint16_t>(other.channel);
        freq.cells[freq.cells_len++] = {static_cast<uint16_t>(other.pci), static_cast<int16_t>(s.quality[i] * 10),
                                        static_cast<int16_t>(s.level[i] * 10),
                                        static_cast<int16_t>((s.level[i] + 25) * 10), 10};
      }
      resp.timing_advance_valid = 1;
      resp.timing_advance = 12;
      if (cell.rat == Rat::Endc) {
        // The NR leg, 3 dB below the anchor.
        resp.nr5g_serving_cell_info_valid = 1;
        nas_nr5g_serving_cell_info_type_v01 &nr = resp.nr5g_serving_cell_info;
        put_bcd(nr.plmn, kNetworks[cell.network]);
        nr.tac[0] = static_cast<uint8_t>(cell.area >> 16);
        nr.tac[1] = static_cast<uint8_t>(cell.area >> 8);
        nr.tac[2] = static_cast<uint8_t>(cell.area);
        nr.global_cell_id = cell.cell_id;
        nr.physical_cell_id = static_cast<uint16_t>(cell.nr_pci);
        nr.rsrp = static_cast<int16_t>((snap.level - 3) * 10);
        nr.rsrq = static_cast<int16_t>(snap.quality * 10);
        nr.snr = static_cast<int16_t>((snap.sinr - 2) * 10);
        resp.nr5g_arfcn_valid = 1;
        resp.nr5g_arfcn = cell.nr_channel;
      }
      break;
    }
    case Rat::NrSa: {
      resp.nr5g_serving_cell_info_valid = 1;
      nas_nr5g_serving_cell_info_type_v01 &nr = resp.nr5g_serving_cell_info;
      put_bcd(nr.plmn, kNetworks[cell.network]);
      nr.tac[0] = static_cast<uint8_t>(cell.area >> 16);
      nr.tac[1] = static_cast<uint8_t>(cell.area >> 8);
      nr.tac[2] = static_cast<uint8_t>(cell.area);
      nr.global_cell_id = cell.cell_id;
      nr.physical_cell_id = static_cast<uint16_t>(cell.pci);
      nr.rsrp = static_cast<int16_t>(snap.level * 10);
      nr.rsrq = static_cast<int16_t>(snap.quality * 10);
      nr.snr = static_cast<int16_t>(snap.sinr * 10);
      resp.nr5g_arfcn_valid = 1;
      resp.nr5g_arfcn = cell.channel;
      break;
    }
  }
}

// ---- scans ------------------------------------------------------------------------------

// The networks heard on the radios of `mask` (1 GSM, 2 UMTS, 4 LTE, 16 NR):
// one entry per network and radio, with the strongest cell's signal.
nas_perform_incremental_network_scan_ind_msg_v01 scan_report(const State &s, uint32_t mask, size_t steps_done) {
  static constexpr uint32_t kStepMasks[] = {1 | 2, 4, 16};
  nas_perform_incremental_network_scan_ind_msg_v01 ind{};
  Snapshot snap = snapshot(s);
  nas::Radio radio = radio_of(s);
  uint32_t found_mask = 0;
  for (size_t step = 0; step < steps_done; ++step) found_mask |= kStepMasks[step];
  struct Found {
    size_t network;
    uint32_t radio_if;
    int level;
    bool serving;
  };
  std::vector<Found> found;
  for (size_t i = 0; i < nas::kCellCount; ++i) {
    const nas::Cell &cell = kCells[i];
    uint32_t bit = cell.rat == Rat::Gsm ? 1 : cell.rat == Rat::Wcdma ? 2 : cell.rat == Rat::NrSa ? 16 : 4;
    if (!(mask & bit) || !(found_mask & bit) || !nas::audible(radio, i)) continue;
    uint32_t radio_if = radio_if_of(cell.rat);
    bool serving = snap.cell == i && snap.reg_state == NAS_REGISTERED_V01;
    bool merged = false;
    for (Found &f : found) {
      if (f.network != cell.network || f.radio_if != radio_if) continue;
      f.level = std::max(f.level, s.level[i]);
      f.serving |= serving;
      merged = true;
    }
    if (!merged) found.push_back({cell.network, radio_if, s.level[i], serving});
  }
  for (const Found &f : found) {
    if (ind.nas_3gpp_network_info_len >= NAS_3GPP_NETWORK_INFO_LIST_MAX_V01) break;
    const nas::Network &network = kNetworks[f.network];
    uint32_t n = ind.nas_3gpp_network_info_len++;
    nas_3gpp_network_info_type_v01 &entry = ind.nas_3gpp_network_info[n];
    entry.mobile_country_code = network.mcc;
    entry.mobile_network_code = network.mnc;
    entry.network_status = f.serving ? NAS_NETWORK_STATUS_CURRENT_SERVING_V01 : NAS_NETWORK_STATUS_AVAILABLE_V01;
    entry.network_status |= network.kind == nas::Kind::Home ? NAS_NETWORK_STATUS_HOME_V01 : NAS_NETWORK_STATUS_ROAM_V01;
    if (network.kind == nas::Kind::Forbidden) entry.network_status |= NAS_NETWORK_STATUS_FORBIDDEN_V01;
    put_text(entry.network_description, network.short_name);
    ind.nas_network_radio_access_technology[n] = {network.mcc, network.mnc, static_cast<uint8_t>(f.radio_if)};
    ind.signal_strength[n] = {network.mcc, network.mnc, static_cast<uint16_t>(-f.level)};
  }
  ind.nas_3gpp_network_info_valid = 1;
  ind.nas_network_radio_access_technology_valid = 1;
  ind.nas_network_radio_access_technology_len = ind.nas_3gpp_network_info_len;
  ind.signal_strength_valid = 1;
  ind.signal_strength_len = ind.nas_3gpp_network_info_len;
  ind.scan_status = 0;
  return ind;
}

// ---- the module ---------------------------------------------------------------------------

void install(ServiceModule<State> &m);
ServiceModule<State> module("nas", Svc::NAS, factory_state, install);

// Work for the modem's thread `ms` modem milliseconds from now.
void later(unsigned ms, std::function<void()> run) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  schedule_locked(m, scaled_ms(ms), true, std::move(run));
}

// The indications of a change from `before` to the state as it is now.
void announce(const Snapshot &before, const Snapshot &now) {
  if (!before.same_place(now)) {
    nas_sys_info_ind_msg_v01 sys{};
    fill_sys_info(now, sys.info);
    indicate(Svc::NAS, QMI_NAS_SYS_INFO_IND_MSG_V01, sys);
    nas_serving_system_ind_msg_v01 serving{};
    fill_serving(now, serving.info);
    indicate(Svc::NAS, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, serving);
  }
  if (before.cell != now.cell) {
    nas_rf_band_info_ind_msg_v01 bands{};
    fill_bands(now, bands.info);
    indicate(Svc::NAS, QMI_NAS_RF_BAND_INFO_IND_V01, bands);
  }
  if (now.cell && (before.cell != now.cell || before.level != now.level || before.quality != now.quality ||
                   before.sinr != now.sinr)) {
    nas_sig_info_ind_msg_v01 sig{};
    fill_sig(now, sig.info);
    indicate(Svc::NAS, QMI_NAS_SIG_INFO_IND_MSG_V01, sig);
  }
}

// Changes the state and sends what the change means, now or once the
// network has taken it (`delay_ms`).
template <class Fn>
auto change(Fn fn, unsigned delay_ms = 0) {
  Snapshot before, now;
  auto result = module.with_state([&](State &s) {
    before = snapshot(s);
    auto r = fn(s);
    now = snapshot(s);
    s.announced = now;
    return r;
  });
  if (delay_ms == 0)
    announce(before, now);
  else
    later(delay_ms, [before, now] { announce(before, now); });
  return result;
}

// An EFS item changed: the device camps again by the items as they are now.
void reselect() {
  Snapshot before, now;
  module.with_state([&](State &s) {
    before = s.announced.value_or(Snapshot{});
    now = snapshot(s);
    s.announced = now;
    return 0;
  });
  announce(before, now);
}

void scan_step(uint32_t mask, size_t step) {
  constexpr size_t kSteps = 3;
  auto ind = std::make_shared<nas_perform_incremental_network_scan_ind_msg_v01>();
  module.with_state([&](State &s) {
    *ind = scan_report(s, mask, step);
    if (step == kSteps) s.scanning = 0;
    return 0;
  });
  indicate(Svc::NAS, QMI_NAS_PERFORM_INCREMENTAL_NETWORK_SCAN_IND_MSG_V01, ind.get(), sizeof *ind);
  if (step < kSteps) later(kScanStepMs, [mask, step] { scan_step(mask, step + 1); });
}

void install(ServiceModule<State> &m) {
  m.serve<net::IndicationRegister>([](State &, const auto &, auto &) {});
  m.serve<net::ConfigSigInfo2>([](State &, const auto &, auto &) {});
  m.serve<net::GetServingSystem>([](State &s, const auto &, auto &resp) { fill_serving(snapshot(s), resp.info); });
  m.serve<net::GetSysInfo>([](State &s, const auto &, auto &resp) { fill_sys_info(snapshot(s), resp.info); });
  m.serve<net::GetSigInfo>([](State &s, const auto &, auto &resp) { fill_sig(snapshot(s), resp.info); });
  m.serve<net::GetRfBandInfo>([](State &s, const auto &, auto &resp) { fill_bands(snapshot(s), resp.info); });
  m.serve<net::GetCellLocationInfo>(
      [](State &s, const auto &, auto &resp) { fill_cell_location(s, snapshot(s), resp); });
  m.serve<net::GetSystemSelectionPreference>([](State &s, const auto &, auto &resp) {
    resp.mode_pref_valid = 1;
    resp.mode_pref = static_cast<uint16_t>(mode_pref_item());
    resp.band_pref_valid = 1;
    resp.band_pref = s.band_pref;
    resp.net_sel_pref_valid = 1;
    resp.net_sel_pref = s.manual;
    resp.acq_order_valid = s.acq_order_len > 0;
    resp.acq_order_len = s.acq_order_len;
    std::copy(s.acq_order.begin(), s.acq_order.end(), resp.acq_order);
    resp.lte_band_pref_ext_valid = 1;
    resp.lte_band_pref_ext = {s.lte_band_pref[0], s.lte_band_pref[1], s.lte_band_pref[2], s.lte_band_pref[3]};
  });
  m.serve<net::GetCellLockConfig>([](State &s, const auto &, auto &resp) {
    resp.lte_cell_list_valid = 1;
    resp.lte_cell_list_len = s.cell_config_len;
    for (uint32_t i = 0; i < s.cell_config_len; ++i)
      resp.lte_cell_list[i] = {s.cell_config[2 * i], s.cell_config[2 * i + 1]};
  });
  m2m_efs::on_change([] { later(0, reselect); });
  m.serve<net::GetHomeNetwork>([](State &, const auto &, auto &resp) {
    const nas::Network &home = kNetworks[nas::kHome];
    resp.home_network.mobile_country_code = home.mcc;
    resp.home_network.mobile_network_code = home.mnc;
    put_text(resp.home_network.network_description, home.long_name);
    resp.nas_3gpp_mcc_mnc_valid = 1;
    resp.nas_3gpp_mcc_mnc = {home.mcc, home.mnc, 0};
  });
  auto names = [](State &, const nas_get_plmn_name_req_msg_v01 &req, nas_get_plmn_name_resp_msg_v01 &resp) {
    std::optional<size_t> network = nas::network_of(req.plmn.mcc, req.plmn.mnc);
    if (!network) return;  // no names known: the valid flag stays 0
    resp.eons_plmn_name_3gpp_valid = 1;
    nas_3gpp_eons_plmn_name_type_v01 &eons = resp.eons_plmn_name_3gpp;
    eons.plmn_short_name_len = static_cast<uint32_t>(std::strlen(kNetworks[*network].short_name));
    std::memcpy(eons.plmn_short_name, kNetworks[*network].short_name, eons.plmn_short_name_len);
    eons.plmn_long_name_len = static_cast<uint32_t>(std::strlen(kNetworks[*network].long_name));
    std::memcpy(eons.plmn_long_name, kNetworks[*network].long_name, eons.plmn_long_name_len);
  };
  m.serve<net::GetPlmnName>(names);
  m.serve<net::GetErrRate>([](State &s, const auto &, auto &resp) {
    Snapshot snap = snapshot(s);
    resp.gsm_bit_err_rate_valid = 1;
    resp.gsm_bit_err_rate = snap.cell && kCells[*snap.cell].rat == Rat::Gsm ? 0 : 0xFF;
  });
  m.serve<net::GetDrx>([](State &s, const auto &, auto &resp) {
    if (!snapshot(s).cell) return;
    resp.drx_valid = 1;
    resp.drx = 2;  // 1280 ms
  });
  m.serve<net::GetTxRxInfo>([](State &s, const auto &, auto &resp) {
    Snapshot snap = snapshot(s);
    if (!snap.cell) return;
    nas_rx_chain_info_type_v01 chain{1, (snap.level + 25) * 10, snap.quality * 10, snap.level * 10,
                                     snap.level * 10, 0};
    resp.rx_chain_0_valid = 1;
    resp.rx_chain_0 = chain;
    chain.rx_pwr -= 30;
    chain.rsrp -= 30;
    resp.rx_chain_1_valid = 1;
    resp.rx_chain_1 = chain;
    resp.tx_valid = 1;
    resp.tx = {1, 180};
    resp.mode_list_valid[0] = 1;
    resp.mode_list_len[0] = 1;
    resp.mode_list[0][0] = 2;
  });
  m.serve<net::GetNetworkTime>([](State &s, const auto &, auto &resp) {
    if (snapshot(s).reg_state != NAS_REGISTERED_V01) return;
    std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    resp.nas_3gpp_time_valid = 1;
    resp.nas_3gpp_time.universal_time = {static_cast<uint16_t>(utc.tm_year + 1900), static_cast<uint8_t>(utc.tm_mon + 1),
                                         static_cast<uint8_t>(utc.tm_mday), static_cast<uint8_t>(utc.tm_hour),
                                         static_cast<uint8_t>(utc.tm_min), static_cast<uint8_t>(utc.tm_sec),
                                         static_cast<uint8_t>((utc.tm_wday + 6) % 7)};
    resp.nas_3gpp_time.time_zone = 4;
    resp.nas_3gpp_time.daylight_saving_adj = 0;
  });
  m.serve<net::GetArfcnList>([](State &s, const auto &, auto &resp) {
    Snapshot snap = snapshot(s);
    if (!snap.cell) return;
    const nas::Cell &cell = kCells[*snap.cell];
    bool lte = cell.rat == Rat::Lte || cell.rat == Rat::Endc;
    resp.lte_rrc_state_valid = 1;
    resp.lte_rrc_state = lte ? 1 : 0;
    if (lte) {
      resp.dl_earfcn_valid = 1;
      resp.dl_earfcn = cell.channel;
      resp.ul_earfcn_valid = 1;
      resp.ul_earfcn = cell.channel + 18000;
    }
    resp.nr5g_rrc_state_valid = 1;
    resp.nr5g_rrc_state = cell.rat == Rat::NrSa || cell.rat == Rat::Endc ? 1 : 0;
  });
  // Spectral efficiency needs a connected LTE (or NR) radio.
  auto speff = [](bool nr) {
    return [nr](State &s, const nas_get_speff_req_msg_v01 &, nas_get_speff_resp_msg_v01 &resp) {
      Snapshot snap = snapshot(s);
      if (!snap.cell) return refuse_with(resp, kRrcIdle);
      Rat rat = kCells[*snap.cell].rat;
      bool ok = nr ? (rat == Rat::NrSa || rat == Rat::Endc) : (rat == Rat::Lte || rat == Rat::Endc);
      if (!ok) return refuse_with(resp, nr ? kNotSupported : kRrcIdle);
      resp.speff_valid = 1;
      resp.speff = static_cast<uint32_t>(std::max(0, snap.sinr) * 35);
    };
  };
  m.serve<net::GetSpeff>(speff(false));
  m.serve<net::GetNr5gSpeff>(speff(true));
  m.serve<net::GetLteCphyCaInfo>([](State &s, const auto &, auto &resp) {
    Snapshot snap = snapshot(s);
    if (!snap.cell) return;
    const nas::Cell &cell = kCells[*snap.cell];
    if (cell.rat != Rat::Lte && cell.rat != Rat::Endc) return;
    resp.pcell_info_valid = 1;
    resp.pcell_info = {static_cast<uint16_t>(cell.pci), static_cast<uint16_t>(cell.channel), kLte20,
                       nas::band_number(cell.band_code) - 100};
    // The home LTE cells aggregate with each other when both are heard.
    nas::Radio radio = radio_of(s);
    for (size_t i = 0; i < nas::kCellCount; ++i) {
      const nas::Cell &other = kCells[i];
      bool lte = other.rat == Rat::Lte || other.rat == Rat::Endc;
      if (i == *snap.cell || other.network != cell.network || !lte || !nas::audible(radio, i))
        continue;
      if (other.band_code == cell.band_code || resp.scell_info_list_len >= NAS_MAX_SCELL_LIST_LEN_V01) continue;
      resp.scell_info_list_valid = 1;
      resp.scell_info_list[resp.scell_info_list_len++] = {static_cast<uint16_t>(other.pci),
                                                          static_cast<uint16_t>(other.channel), kLte20,
                                                          other.band_code, scell_state(radio.level[i]), 0};
    }
  });
  m.serve<net::SetDataRoaming>([](State &s, const auto &req, auto &) { s.data_roaming = req.data_roam_status; });
  m.serve<net::GetDataRoaming>([](State &s, const auto &, auto &resp) {
    resp.data_roam_status_valid = 1;
    resp.data_roam_status = s.data_roaming;
  });
  // Changes of the registration go through change(), outside the
  // handlers' lock: these handlers only answer.
  on(Svc::NAS, net::InitiateAttach::id, [](const Request &req, void *resp, size_t len) {
    auto attach = req.as<nas_initiate_attach_req_msg_v01>();
    if (!attach.ps_attach_action_valid || (attach.ps_attach_action != 1 && attach.ps_attach_action != 2)) {
      refuse(resp, len, QMI_ERR_INVALID_ARG_V01);
      return 0;
    }
    change([&](State &s) { return s.ps_detached = attach.ps_attach_action == 2 ? 1 : 0; }, kRegistrationMs);
    return 0;
  });
  on(Svc::NAS, net::InitiateNetworkRegister::id, [](const Request &req, void *resp, size_t len) {
    auto reg = req.as<nas_initiate_network_register_req_msg_v01>();
    if (reg.register_action != 1 && reg.register_action != 2) {
      refuse(resp, len, QMI_ERR_INVALID_ARG_V01);
      return 0;
    }
    change(
        [&](State &s) {
          s.manual = reg.register_action == 2 ? 1 : 0;
          if (s.manual) {
            s.manual_mcc = reg.manual_network_register_info.mobile_country_code;
            s.manual_mnc = reg.manual_network_register_info.mobile_network_code;
            auto rat = rat_of_radio_if(reg.manual_network_register_info.radio_access_tech);
            s.manual_rat = rat ? static_cast<uint32_t>(*rat) : kNoRat;
          }
          return 0;
        },
        kRegistrationMs);
    return 0;
  });
  on(Svc::NAS, net::SetSystemSelectionPreference::id, [](const Request &req, void *, size_t) {
    auto pref = req.as<nas_set_system_selection_preference_req_msg_v01>();
    change(
        [&](State &s) {
          if (pref.mode_pref_valid) {
            uint32_t mode = pref.mode_pref;
            m2m_efs::write(kModePrefItem, Bytes{static_cast<uint8_t>(mode), static_cast<uint8_t>(mode >> 8), 0, 0});
          }
          if (pref.band_pref_valid) s.band_pref = pref.band_pref;
          if (pref.lte_band_pref_ext_valid) {
            const auto &ext = pref.lte_band_pref_ext;
            s.lte_band_pref = {ext.bits_1_64, ext.bits_65_128, ext.bits_129_192, ext.bits_193_256};
          }
          if (pref.acq_order_valid) {
            s.acq_order_len = std::min<uint32_t>(pref.acq_order_len, NAS_ACQ_ORDER_LIST_MAX_V01);
            std::copy(pref.acq_order, pref.acq_order + NAS_ACQ_ORDER_LIST_MAX_V01, s.acq_order.begin());
          }
          if (pref.net_sel_pref_valid) {
            s.manual = pref.net_sel_pref.net_sel_pref == 1 ? 1 : 0;
            s.manual_mcc = pref.net_sel_pref.mcc;
            s.manual_mnc = pref.net_sel_pref.mnc;
            s.manual_rat = kNoRat;
          }
          return 0;
        },
        kRegistrationMs);
    return 0;
  });
  on(Svc::NAS, net::SetCellConfig::id, [](const Request &req, void *resp, size_t len) {
    auto config = req.as<nas_set_cell_config_req_msg_v01>();
    if (config.lte_cell_list_len > NAS_CELL_CONFIG_LIST_MAX_V01 || !config.apply_valid) {
      refuse(resp, len, QMI_ERR_INVALID_ARG_V01);
      return 0;
    }
    change([&](State &s) {
      s.cell_config_len = config.lte_cell_list_len;
      s.cell_config.fill(0);
      for (uint32_t i = 0; i < config.lte_cell_list_len; ++i) {
        s.cell_config[2 * i] = config.lte_cell_list[i].earfcn;
        s.cell_config[2 * i + 1] = config.lte_cell_list[i].pci;
      }
      return 0;
    });
    return 0;
  });
  on(Svc::NAS, net::PerformIncrementalScan::id, [](const Request &req, void *resp, size_t len) {
    auto scan = req.as<nas_perform_incremental_network_scan_req_msg_v01>();
    bool busy = module.with_state([](State &s) {
      if (s.scanning) return true;
      s.scanning = 1;
      return false;
    });
    if (busy) {
      refuse(resp, len, kBusy);
      return 0;
    }
    uint32_t mask = scan.network_type_valid ? scan.network_type : 31;
    later(kScanStepMs, [mask] { scan_step(mask, 1); });
    return 0;
  });
}

}  // namespace

// ---- control ----------------------------------------------------------------------------------

namespace nas {

std::vector<CellView> cells() {
  return module.with_state([](State &s) {
    Snapshot snap = snapshot(s);
    nas::Radio radio = radio_of(s);
    std::vector<CellView> views;
    for (size_t i = 0; i < kCellCount; ++i) {
      const Cell &cell = kCells[i];
      const Network &network = kNetworks[cell.network];
      char plmn[8];
      std::snprintf(plmn, sizeof plmn, network.three_digit ? "%03u%03u" : "%03u%02u", network.mcc % 1000u,
                    network.mnc % 1000u);
      views.push_back({cell.name, plmn, network.long_name, rat_name(cell.rat), band_number(cell.band_code),
                       cell.channel, cell.pci, cell.cell_id, cell.area, s.level[i], s.quality[i], s.sinr[i],
                       audible(radio, i), snap.cell == i, network.kind == Kind::Forbidden});
    }
    return views;
  });
}

bool move_to(const std::string &name) {
  std::optional<size_t> target = cell_by_name(name.c_str());
  if (!target) return false;
  change([&](State &s) {
    for (size_t i = 0; i < kCellCount; ++i) s.level[i] = i == *target ? -70 : std::min(s.level[i], kSuitable - 3);
    s.coverage = 1;
    return 0;
  });
  return true;
}

bool set_signal(const std::string &name, int level_dbm, int quality_db, int sinr_db) {
  std::optional<size_t> target = cell_by_name(name.c_str());
  if (!target) return false;
  change([&](State &s) {
    s.level[*target] = level_dbm;
    s.quality[*target] = quality_db;
    s.sinr[*target] = sinr_db;
    return 0;
  });
  return true;
}

void set_coverage(bool on) {
  change([on](State &s) { return s.coverage = on ? 1 : 0; });
}

void set_reject(uint8_t cause) {
  change([cause](State &s) { return s.reject_cause = cause; });
}

void restore() {
  change([](State &s) {
    uint32_t roaming = s.data_roaming;
    s = factory_state();
    s.data_roaming = roaming;
    return 0;
  });
}

Registration registration() {
  return module.with_state([](State &s) {
    Snapshot snap = snapshot(s);
    Registration reg{snap.reg_state, "", "", "", snap.roaming, snap.ps_attached, snap.reject, s.manual != 0,
                     s.data_roaming};
    if (snap.cell) {
      const Cell &cell = kCells[*snap.cell];
      const Network &network = kNetworks[cell.network];
      char plmn[8];
      std::snprintf(plmn, sizeof plmn, network.three_digit ? "%03u%03u" : "%03u%02u", network.mcc % 1000u,
                    network.mnc % 1000u);
      reg.plmn = plmn;
      reg.rat = rat_name(cell.rat);
      reg.cell = cell.name;
    }
    return reg;
  });
}

}  // namespace nas
}  // namespace vornsim
