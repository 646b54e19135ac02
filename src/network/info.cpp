// vorn_network_pal_get_network_info: the family's one large query. Each
// step is a request of its own whose failure leaves its group at the
// defaults, so the query as a whole never fails once it has a record.
#include <cstdio>
#include <cstring>

#include <vornpal/m2m.h>

#include "foundation/log_site.h"
#include "network/bands.h"
#include "network/state.h"

namespace vorn::network {
namespace {

constexpr uint16_t kModePrefNoNr = 0x10;
constexpr uint32_t kNoCellId = 0xFFFFFFFF;
constexpr uint32_t kNoLac = 0xFFFF;

// What the registration pass carries from one step to the next.
struct Pass {
  uint16_t mode_pref = 0;
  bool serving_ok = false;
  uint32_t registration_state = 0;
  uint32_t cs_attach = 0;
  uint32_t ps_attach = 0;
  uint32_t srv_capability = 0;
  bool roaming_known = false;
  uint32_t roaming_indicator = 0;
  uint32_t first_radio_if = 0;
  bool has_radio_if = false;
  uint32_t lac = kNoLac;
  uint32_t name_radio_if = 0;  // radio of the name request; 0 none
  uint32_t reject_domain = 0;
  uint32_t reject_type = 0;
  bool reject_registration = false;
  uint8_t reject_cause = 0;
  bool sys_info_ok = false;
  nas_sys_info_v01 sys{};
};

void copy_name(char (&to)[VORN_NETWORK_NAME_LEN], const char *from, uint32_t len) {
  std::memset(to, 0, sizeof to);
  std::memcpy(to, from, len < sizeof to ? len : sizeof to);
}

// ---- step 2: mode preference --------------------------------------------------

void read_mode_preference(Pass &pass) {
  nas_get_system_selection_preference_resp_msg_v01 resp;
  if (send<GetSystemSelectionPreference>(resp).verdict == 0 && resp.mode_pref_valid)
    pass.mode_pref = resp.mode_pref;
}

// ---- step 4: serving system ---------------------------------------------------------

void read_serving_system(Pass &pass, vorn_network_info &info) {
  State &s = state();
  nas_get_serving_system_resp_msg_v01 resp;
  if (send<GetServingSystem>(resp).verdict != 0) return;
  const nas_serving_system_info_v01 &sys = resp.info;
  pass.serving_ok = true;
  pass.registration_state = sys.serving_system.registration_state;
  pass.cs_attach = sys.serving_system.cs_attach_state;
  pass.ps_attach = sys.serving_system.ps_attach_state;
  if (s.attach_requested.load() == 0) s.attach_state.store(static_cast<uint8_t>(pass.ps_attach));
  if (sys.detailed_service_info_valid) {
    info.srv_status = sys.detailed_service_info.srv_status;
    pass.srv_capability = sys.detailed_service_info.srv_capability;
  }
  if (sys.roaming_indicator_valid) {
    pass.roaming_known = true;
    pass.roaming_indicator = sys.roaming_indicator;
    s.roam_status.store(sys.roaming_indicator);
    if (sys.roaming_indicator != 0) info.sys_info.roaming = 1;
  }
  uint64_t cell_id = sys.cell_id_valid ? sys.cell_id : kNoCellId;
  info.cell_id = sys.cell_id_valid ? sys.cell_id : 0;
  info.ps_info.cell_id = cell_id;
  info.cs_info.cell_id = cell_id;
  pass.lac = sys.lac_valid ? sys.lac : kNoLac;
  info.ps_info.lac = pass.lac;
  info.cs_info.lac = pass.lac;
  if (sys.serving_system.radio_if_len > 0) {
    pass.has_radio_if = true;
    pass.first_radio_if = sys.serving_system.radio_if[0];
  }
  if (sys.current_plmn_valid) {
    info.mcc = sys.current_plmn.mobile_country_code;
    info.mnc = sys.current_plmn.mobile_network_code;
    std::lock_guard<std::mutex> lock(s.operator_mutex);
    s.op.mcc = info.mcc;
    s.op.mnc = info.mnc;
  }
  if (sys.mnc_includes_pcs_digit_valid)
    info.mnc_includes_pcs_digit = sys.mnc_includes_pcs_digit.mnc_includes_pcs_digit;
}

// ---- step 5: system information ------------------------------------------------------

struct SysPart {
  uint8_t nas_sys_info_v01::*valid;
  nas_3gpp_sys_info_type_v01 nas_sys_info_v01::*part;
  uint32_t rat;
  uint8_t access_tech;
  uint32_t name_radio_if;
  uint32_t nas_net_type;
};

// Later parts override earlier ones.
constexpr SysPart kSysParts[] = {
    {&nas_sys_info_v01::gsm_sys_info_valid, &nas_sys_info_v01::gsm_sys_info, VORN_NETWORK_RAT_GSM,
     VORN_NETWORK_ACT_GSM, NAS_RADIO_IF_GSM_V01, 1},
    {&nas_sys_info_v01::wcdma_sys_info_valid, &nas_sys_info_v01::wcdma_sys_info,
     VORN_NETWORK_RAT_WCDMA, VORN_NETWORK_ACT_WCDMA, NAS_RADIO_IF_UMTS_V01, 2},
    {&nas_sys_info_v01::lte_sys_info_valid, &nas_sys_info_v01::lte_sys_info, VORN_NETWORK_RAT_LTE,
     VORN_NETWORK_ACT_LTE, NAS_RADIO_IF_LTE_V01, 4},
};

void read_sys_info(Pass &pass, vorn_network_info &info) {
  nas_get_sys_info_resp_msg_v01 resp;
  if (send<GetSysInfo>(resp).verdict != 0) {
    info.srv_status = 0;
    info.access_tech = 0;
    return;
  }
  pass.sys_info_ok = true;
  pass.sys = resp.info;
  for (const SysPart &part : kSysParts) {
    if (!(resp.info.*part.valid)) continue;
    info.rat = part.rat;
    info.access_tech = part.access_tech;
    pass.name_radio_if = part.name_radio_if;
    state().nas_net_type.store(part.nas_net_type);
    if (part.rat == VORN_NETWORK_RAT_LTE && resp.info.lte_sys_info.tac_valid)
      info.tac = resp.info.lte_sys_info.tac;
  }
  info.lac = pass.lac;
  if (resp.info.endc_available_valid) info.is_endc_available = resp.info.endc_available;
  if (resp.info.restrict_dcnr_valid) info.is_dcnr_restricted = resp.info.restrict_dcnr;
}

// ---- step 6: the radio interface decides -------------------------------------------

void take_reject(Pass &pass, const nas_3gpp_sys_info_type_v01 &part) {
  pass.reject_registration = part.reg_reject_info_valid != 0;
  if (!part.reg_reject_info_valid) return;
  pass.reject_domain = part.reject_srv_domain;
  pass.reject_type = part.reject_type;
  pass.reject_cause = part.rej_cause;
}

void decide_radio(Pass &pass, vorn_network_info &info) {
  State &s = state();
  if (!pass.has_radio_if) return;
  const nas_sys_info_v01 &sys = pass.sys;
  switch (pass.first_radio_if) {
    case NAS_RADIO_IF_UMTS_V01:
      info.sys_info.rat = 2;
      s.rat.store(6);
      if (pass.sys_info_ok) take_reject(pass, sys.wcdma_sys_info);
      break;
    case NAS_RADIO_IF_LTE_V01:
      if ((info.is_endc_available && pass.mode_pref != kModePrefNoNr) || sys.restrict_dcnr_valid) {
        info.sys_info.rat = 8;
        s.rat.store(13);
        info.access_tech = VORN_NETWORK_ACT_ENDC;
      } else {
        info.sys_info.rat = 3;
        s.rat.store(7);
      }
      if (pass.sys_info_ok) take_reject(pass, sys.lte_sys_info);
      break;
    case NAS_RADIO_IF_GSM_V01:
      info.sys_info.rat = 1;
      s.rat.store(0);
      if (pass.sys_info_ok) take_reject(pass, sys.gsm_sys_info);
      break;
    default:
      break;
  }
}

// ---- steps 7 to 9: registration states -----------------------------------------------

struct Domains {
  uint32_t cs;
  uint32_t ps;
};

Domains when_not_serving(const Pass &pass) {
  if (pass.registration_state == NAS_REGISTRATION_DENIED_V01) {
    uint32_t d = pass.reject_domain;
    return {(d == 1 || d == 3) ? 3u : 0u, (d == 2 || d == 3) ? 3u : 0u};
  }
  if (pass.registration_state == NAS_NOT_REGISTERED_SEARCHING_V01) return {2, 2};
  return {0, 0};
}

Domains map_states(const Pass &pass, vorn_network_info &info) {
  uint32_t roam = (pass.roaming_known && pass.roaming_indicator == 0) ? 5 : 1;
  bool cs_attached = pass.cs_attach == NAS_ATTACHED_V01;
  bool ps_attached = pass.ps_attach == NAS_ATTACHED_V01;
  Domains d{pass.registration_state, pass.registration_state};
  switch (info.srv_status) {
    case NAS_SYS_SRV_STATUS_SRV_V01:
      if (cs_attached && !ps_attached) {
        d.cs = roam;
        if (pass.reject_domain == 2 || pass.srv_capability != 3)
          d.ps = pass.reject_domain == 2 ? 3 : 0;
        else
          d.ps = (pass.reject_registration && pass.reject_type != 3) ? 2 : 0;
        info.reg_domain = 1;
      } else if (ps_attached && !cs_attached) {
        d.ps = roam;
        if (pass.reject_domain == 1 || pass.srv_capability != 3 || pass.reject_type == 2)
          d.cs = pass.reject_domain == 2 ? 3 : 0;
        else
          d.cs = 2;
        info.reg_domain = 2;
      } else if (ps_attached && cs_attached) {
        d.ps = d.cs = roam;
        info.reg_domain = 2;
      } else {
        d = {0, 0};
      }
      break;
    case NAS_SYS_SRV_STATUS_NO_SRV_V01:
    case NAS_SYS_SRV_STATUS_LIMITED_V01:
    case NAS_SYS_SRV_STATUS_LIMITED_REGIONAL_V01:
      d = when_not_serving(pass);
      break;
    case NAS_SYS_SRV_STATUS_PWR_SAVE_V01:
      d = pass.registration_state == NAS_REGISTRATION_DENIED_V01 ? when_not_serving(pass) : Domains{0, 0};
      break;
    default:
      d = {0, 0};
      break;
  }
  // A cause of 255 is none.
  if (pass.reject_cause >= 1 && pass.reject_cause <= 254) return {3, 3};
  static constexpr uint32_t kReported[] = {0, 1, 2, 3, 0, 5};
  auto reported = [](uint32_t v) { return v < 6 ? kReported[v] : 0u; };
  return {reported(d.cs), reported(d.ps)};
}

void store_states(const Pass &pass, Domains d, vorn_network_info &info) {
  uint32_t act = info.access_tech;
  info.cs_info.reg_state = d.cs;
  info.ps_info.reg_state = d.ps;
  info.sys_info.reg_state = d.ps;
  info.cs_info.access_tech = act;
  info.ps_info.access_tech = act;
  info.sys_info.access_tech = act;
  if (d.cs == 3) {
    if (pass.reject_cause == 0) {
      info.cs_info.reg_state = 0;
    } else {
      info.cs_info.reject_type = 0;
      info.cs_info.reject_cause = pass.reject_cause;
    }
  } else if ((d.ps == 1 || d.ps == 5) && (act == 7 || act == 11) && d.cs == 0) {
    info.cs_info.reg_state = 1;
  }
  if (d.ps == 3) {
    if (pass.reject_cause == 0) {
      info.ps_info.reg_state = 0;
      info.sys_info.reg_state = 0;
    } else {
      info.ps_info.reject_type = 0;
      info.ps_info.reject_cause = pass.reject_cause;
    }
  }
  if (!pass.sys_info_ok) return;
  const nas_sys_info_v01 &sys = pass.sys;
  if (sys.lte_sys_info_valid && sys.lte_sys_info.srv_domain_valid) {
    info.srv_domain = sys.lte_sys_info.srv_domain;
    if (info.srv_domain == 2) info.cs_info.reg_state = 0;
  } else if (sys.nr5g_sys_info_valid && sys.nr5g_sys_info.srv_domain_valid) {
    info.srv_domain = sys.nr5g_sys_info.srv_domain;
  } else {
    VORN_LOG(VORN_DBUG, "not NR or LTE\n");
  }
  if (sys.lte_voice_support_valid) info.lte_voice_status = sys.lte_voice_support == 1;
}

// ---- step 10: operator names ----------------------------------------------------------

void read_names(const Pass &pass, vorn_network_info &info) {
  if (plmn_names<GetPlmnName>(info.mcc, info.mnc, pass.name_radio_if, info.long_name,
                              info.short_name) == 0) {
    State &s = state();
    std::lock_guard<std::mutex> lock(s.operator_mutex);
    std::memcpy(s.op.long_name, info.long_name, sizeof info.long_name);
    std::memcpy(s.op.short_name, info.short_name, sizeof info.short_name);
  }
  bool three = info.mnc_includes_pcs_digit != 0;
  std::snprintf(info.plmn_text, sizeof info.plmn_text, three ? "%03d%03d" : "%03d%02d",
                info.mcc % 1000, info.mnc % 1000);
  info.sys_info.plmn = three ? info.mcc * 1000u + info.mnc : info.mcc * 100u + info.mnc;
}

// ---- step 11: cells and bands -------------------------------------------------------------

// A PLMN of three BCD bytes after 3GPP TS 24.008.
void bcd_plmn(const uint8_t (&plmn)[3], uint16_t &mcc, uint16_t &mnc) {
  unsigned d1 = plmn[0] & 0xF, d2 = plmn[0] >> 4, d3 = plmn[1] & 0xF, d4 = plmn[1] >> 4;
  unsigned d5 = plmn[2] & 0xF, d6 = plmn[2] >> 4;
  mcc = static_cast<uint16_t>(d1 * 100 + d2 * 10 + d3);
  mnc = static_cast<uint16_t>(d4 == 0xF ? d5 * 10 + d6 : d5 * 100 + d6 * 10 + d4);
}

vorn_network_neighbour *next_neighbour(vorn_network_info &info) {
  if (info.neighbour_count >= VORN_NETWORK_NEIGHBOUR_MAX) return nullptr;
  return &info.neighbour[info.neighbour_count++];
}

void lte_neighbour(vorn_network_info &info, uint32_t earfcn, const nas_lte_ngbr_cell_type_v01 &c) {
  vorn_network_neighbour *n = next_neighbour(info);
  if (n == nullptr) return;
  n->access_tech = VORN_NETWORK_ACT_LTE;
  n->channel = earfcn;
  n->pci = c.pci;
  n->rsrp = c.rsrp / 10;
  n->rsrq = c.rsrq / 10;
  n->srxlev = c.srxlev;
}

void take_lte_cells(const nas_get_cell_location_info_resp_msg_v01 &resp, vorn_network_info &info) {
  const nas_lte_intra_freq_type_v01 &intra = resp.lte_intra;
  info.rat = VORN_NETWORK_RAT_LTE;
  if (info.access_tech != VORN_NETWORK_ACT_LTE && info.access_tech != VORN_NETWORK_ACT_ENDC)
    info.access_tech = VORN_NETWORK_ACT_LTE;
  info.channel = intra.earfcn;
  info.pci = intra.serving_cell_id;
  info.tac = intra.tac;
  info.cell_id = intra.global_cell_id;
  uint32_t cells = intra.cells_len < NAS_MAX_LTE_NGBR_CELLS_V01 ? intra.cells_len : NAS_MAX_LTE_NGBR_CELLS_V01;
  if (cells > 0) {
    info.lte_rsrp = intra.cells[0].rsrp / 10;
    info.lte_rsrq = intra.cells[0].rsrq / 10;
    info.lte_rssi = intra.cells[0].rssi;
    info.serving_signal = intra.cells[0].rsrp / 10;
  }
  for (uint32_t i = 1; i < cells; ++i) lte_neighbour(info, intra.earfcn, intra.cells[i]);
  if (!resp.lte_inter_valid) return;
  uint32_t freqs = resp.lte_inter.freqs_len < NAS_MAX_LTE_NGBR_FREQS_V01 ? resp.lte_inter.freqs_len
                                                                          : NAS_MAX_LTE_NGBR_FREQS_V01;
  for (uint32_t f = 0; f < freqs; ++f) {
    const nas_lte_inter_freq_freqs_type_v01 &freq = resp.lte_inter.freqs[f];
    uint32_t n = freq.cells_len < NAS_MAX_LTE_NGBR_CELLS_V01 ? freq.cells_len : NAS_MAX_LTE_NGBR_CELLS_V01;
    for (uint32_t i = 0; i < n; ++i) lte_neighbour(info, freq.earfcn, freq.cells[i]);
  }
}

void take_nr_cell(const nas_get_cell_location_info_resp_msg_v01 &resp, vorn_network_info &info) {
  const nas_nr5g_serving_cell_info_type_v01 &nr = resp.nr5g_serving_cell_info;
  info.rat = VORN_NETWORK_RAT_NR;
  if (info.access_tech < VORN_NETWORK_ACT_NR || info.access_tech > VORN_NETWORK_ACT_ENDC)
    info.access_tech = VORN_NETWORK_ACT_NR;
  info.cell_id = nr.global_cell_id;
  if (resp.nr5g_arfcn_valid) info.channel = resp.nr5g_arfcn;
  info.pci = nr.physical_cell_id;
  info.nr_rsrp = nr.rsrp / 10;
  info.nr_rsrq = nr.rsrq / 10;
  info.nr_snr = nr.snr / 10;
  info.tac = nr.tac[0] * 65536u + nr.tac[1] * 256u + nr.tac[2];
}

void take_gsm_cells(const nas_get_cell_location_info_resp_msg_v01 &resp, vorn_network_info &info) {
  const nas_geran_cell_info_type_v01 &gsm = resp.geran_info;
  vorn_m2m_pal_get_cell_info_ext(&info);
  info.access_tech = VORN_NETWORK_ACT_GSM;
  info.cell_id = gsm.cell_id;
  info.channel = gsm.arfcn;
  info.lac = gsm.lac;
  info.pci = gsm.bsic;
  info.gsm_bsic = gsm.bsic;
  uint32_t cells = gsm.nmr_cell_info_len < NAS_MAX_NMR_CELLS_V01 ? gsm.nmr_cell_info_len : NAS_MAX_NMR_CELLS_V01;
  for (uint32_t i = 0; i < cells; ++i) {
    const nas_nmr_cell_info_type_v01 &c = gsm.nmr_cell_info[i];
    vorn_network_neighbour *n = next_neighbour(info);
    if (n == nullptr) return;
    n->access_tech = VORN_NETWORK_ACT_GSM;
    n->cell_id = c.cell_id;
    n->channel = c.arfcn;
    n->lac = c.lac;
    n->pci = c.bsic;
    n->bsic = c.bsic;
    n->timing = c.timing;
    bcd_plmn(c.plmn, n->mcc, n->mnc);
    // The vendor's block: a count, then 16 bytes for each of the first four cells.
    if (info.cell_info_ext_valid && i < 4)
      std::memcpy(n->gsm_rx_level, info.cell_info_ext + 1 + 16 * i, sizeof n->gsm_rx_level);
  }
}

void read_cells(vorn_network_info &info) {
  nas_get_cell_location_info_resp_msg_v01 resp;
  if (send<GetCellLocationInfo>(resp).verdict != 0) return;
  if (resp.umts_info_valid) {
    info.rat = VORN_NETWORK_RAT_WCDMA;
    info.access_tech = VORN_NETWORK_ACT_WCDMA_CELL;
    if (resp.umts_cell_id_valid) info.cell_id = resp.umts_cell_id;
    info.channel = resp.umts_info.uarfcn;
    info.psc = resp.umts_info.psc;
    info.wcdma_psc = resp.umts_info.psc;
    info.wcdma_rssi = resp.umts_info.rssi;
    info.wcdma_rscp = resp.umts_info.rscp;
    info.serving_signal = resp.umts_info.rscp;
  }
  if (resp.lte_intra_valid) take_lte_cells(resp, info);
  if (resp.nr5g_serving_cell_info_valid) take_nr_cell(resp, info);
  if (resp.geran_info_valid) take_gsm_cells(resp, info);
}

uint32_t band_of(uint32_t code) {
  if (auto number = band_number(code, true)) return *number;
  VORN_LOG(VORN_ERR, "current active band is unknown %d \n", static_cast<int>(code));
  return 0;
}

uint32_t width_of(uint32_t code) {
  if (auto mhz = bandwidth_mhz(code)) return *mhz;
  VORN_LOG(VORN_ERR, "current bandwith is unknown %d \n", static_cast<int>(code));
  return 0;
}

void read_bands(vorn_network_info &info) {
  nas_get_rf_band_info_resp_msg_v01 resp;
  Sent sent = send<GetRfBandInfo>(resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI_NAS_GET_CELL_LOCATION_INFO_REQ_MSG_V01 failed, qmi_err is %d\n",
             static_cast<int>(resp.resp.error));
    return;
  }
  const nas_rf_band_info_v01 &bands = resp.info;
  uint32_t *band[] = {&info.band, &info.band1};
  uint32_t *width[] = {&info.bandwidth, &info.bandwidth1};
  for (uint32_t i = 0; i < bands.rf_band_info_list_len && i < 2; ++i)
    *band[i] = band_of(bands.rf_band_info_list[i].active_band);
  if (!bands.rf_bandwidth_info_list_valid) return;
  for (uint32_t i = 0; i < bands.rf_bandwidth_info_list_len && i < 2; ++i)
    *width[i] = width_of(bands.rf_bandwidth_info_list[i].bandwidth);
}

// ---- step 13: signal -----------------------------------------------------------------------

void signal_defaults(vorn_network_signal_info &signal) {
  signal.rssi = 99;
  signal.ber = 99;
  signal.rscp_bake = 0xFF;
  signal.ecno_bake = 0xFF;
  signal.gsm.rssi = 0xFF;
  signal.gsm.ber = 99;
  signal.lte.rsrp = 0xFF;
}

void wcdma_scales(vorn_network_signal_info &signal) {
  int ecio = signal.wcdma.ecio;
  signal.ecno_bake = ecio < -24 ? 0 : ecio <= 0 ? static_cast<uint32_t>(ecio * 2 + 49) : 49;
  int rscp = signal.wcdma.rscp;
  if (rscp < -122) {
    signal.rscp_bake = 0;
    signal.wcdma.rscp = -121;
  } else if (rscp <= -26) {
    signal.rscp_bake = static_cast<uint32_t>(rscp + 121);
  } else {
    signal.rscp_bake = 96;
    signal.wcdma.rscp = -25;
  }
}

void read_signal(vorn_network_info &info) {
  vorn_network_signal_info &signal = info.signal;
  signal_defaults(signal);
  nas_get_sig_info_resp_msg_v01 resp;
  Sent sent = send<GetSigInfo>(resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "queries the signal strength information failed, qmi_err is %d \n",
             static_cast<int>(resp.resp.error));
  } else {
    const nas_sig_info_v01 &sig = resp.info;
    bool any = false;
    int last_rssi = 0;
    if (sig.cdma_sig_info_valid) {
      signal.cdma = {1, sig.cdma_sig_info.rssi, sig.cdma_sig_info.ecio};
      signal.rat = 0;
    }
    if (sig.hdr_sig_info_valid) {
      signal.hdr = {1, sig.hdr_sig_info.rssi, sig.hdr_sig_info.ecio, sig.hdr_sig_info.sinr};
      signal.rat = 0;
    }
    if (sig.gsm_sig_info_valid) {
      signal.gsm.valid = 1;
      signal.gsm.rssi = sig.gsm_sig_info;
      signal.rat = 0;
      any = true;
      last_rssi = sig.gsm_sig_info;
    }
    if (sig.wcdma_sig_info_valid) {
      signal.wcdma = {1, sig.wcdma_sig_info.rssi, sig.wcdma_sig_info.ecio, sig.wcdma_sig_info.rscp};
      signal.rat = 6;
      wcdma_scales(signal);
      any = true;
      last_rssi = sig.wcdma_sig_info.rssi;
    }
    if (sig.lte_sig_info_valid) {
      const nas_lte_sig_info_type_v01 &lte = sig.lte_sig_info;
      signal.lte = {1, lte.rssi, lte.rsrq, lte.rsrp, static_cast<int16_t>(lte.snr / 10)};
      signal.rat = 7;
      info.lte_rssi = lte.snr / 10;
      any = true;
      last_rssi = lte.rssi;
    }
    if (sig.tdscdma_sig_info_valid) {
      const nas_tdscdma_sig_info_type_v01 &td = sig.tdscdma_sig_info;
      signal.tdscdma = {1, static_cast<int16_t>(td.rssi), static_cast<int16_t>(td.rscp),
                        static_cast<int16_t>(td.sinr)};
      signal.rat = 6;
      signal.rssi = csq_of(-static_cast<int>(td.rssi), 191, 1);
    } else if (any) {
      signal.rssi = csq_of(-last_rssi, 31, 0);
    }
  }
  int32_t csq_nr = 0;
  vorn_network_pal_get_gtcsqnren(&csq_nr);
  if (csq_nr == 1 && (info.sys_info.rat == 7 || info.sys_info.rat == 8)) {
    int rsrp = info.nr_rsrp;
    signal.rssi = static_cast<uint16_t>(rsrp < -156 ? 0 : rsrp < -30 ? rsrp + 157 : 126);
  }
  nas_get_err_rate_resp_msg_v01 ber;
  Sent rate = send<GetErrRate>(ber);
  if (rate.verdict != 0) {
    VORN_LOG(VORN_ERR, "queries the gsm ber fail, qmi_err is %d \n", static_cast<int>(ber.resp.error));
  } else if (ber.gsm_bit_err_rate_valid && ber.gsm_bit_err_rate < 8) {
    signal.ber = ber.gsm_bit_err_rate;
    signal.gsm.ber = ber.gsm_bit_err_rate;
  }
}

// ---- step 14: carriers ---------------------------------------------------------------------

void read_carriers(vorn_network_info &info) {
  nas_get_lte_cphy_ca_info_resp_msg_v01 resp;
  Sent sent = send<GetLteCphyCaInfo>(resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "check respone faild\n");
    vorn_m2m_pal_get_cainfo(&info);
    return;
  }
  if (resp.pcell_info_valid) {
    info.pcc_valid = 1;
    info.pcc.band = resp.pcell_info.band;
    info.pcc.pci = resp.pcell_info.pci;
    info.pcc.channel = resp.pcell_info.freq;
    info.pcc.bandwidth = width_of(resp.pcell_info.dl_bandwidth);
  }
  uint32_t count = resp.scell_info_list_valid ? resp.scell_info_list_len : 0;
  if (count > NAS_MAX_SCELL_LIST_LEN_V01) count = NAS_MAX_SCELL_LIST_LEN_V01;
  for (uint32_t i = 0; i < count; ++i) {
    const nas_lte_cphy_scell_entry_type_v01 &from = resp.scell_info_list[i];
    vorn_network_scc_record &to = info.scc[i];
    to.band = band_number(from.band, false).value_or(from.band);
    to.pci = from.pci;
    to.channel = from.freq;
    to.bandwidth = width_of(from.dl_bandwidth);
    to.scell_state = static_cast<uint8_t>(from.scell_state);
  }
  info.scc_count = static_cast<uint8_t>(count);
  // The vendor service's blocks, where it has them, are the fuller ones.
  vorn_m2m_pal_get_cainfo(&info);
  if (info.pcc_valid) {
    if (info.rat == VORN_NETWORK_RAT_LTE) {
      info.lte_cc_num += 1;
      info.cc_rsrp_bake = info.lte_rsrp + 141;
    } else if (info.rat == VORN_NETWORK_RAT_NR) {
      info.pcc.band = nr_band_number(info.pcc.band);
      info.cc_rsrp_bake = info.nr_rsrp + 156;
    }
  }
  if (resp.scell_info_list_valid || info.scc_count > 0) {
    info.scc_valid = 1;
    for (uint8_t i = 0; i < info.scc_count && i < VORN_NETWORK_SCC_MAX; ++i)
      if (info.scc[i].band >= 101 && info.scc[i].band <= 199) info.lte_cc_num += 1;
  }
}

}  // namespace

template <class Msg>
int plmn_names(uint16_t mcc, uint16_t mnc, uint32_t radio_if, char (&long_name)[VORN_NETWORK_NAME_LEN],
               char (&short_name)[VORN_NETWORK_NAME_LEN]) {
  nas_get_plmn_name_req_msg_v01 req{};
  req.plmn.mcc = mcc;
  req.plmn.mnc = mnc;
  req.suppress_sim_error_valid = 1;
  req.suppress_sim_error = 1;
  req.always_send_plmn_name_valid = 1;
  req.always_send_plmn_name = 1;
  if (radio_if != 0) {
    req.rat_valid = 1;
    req.rat = radio_if;
  }
  nas_get_plmn_name_resp_msg_v01 resp;
  const qmi::Sent sent = send<Msg>(req, resp);
  // The transport's code when the request failed there, for the caller's line.
  if (sent.verdict != 0) return sent.rc != QMI_NO_ERR ? sent.rc : VORN_FAILURE;
  if (!resp.eons_plmn_name_3gpp_valid) return VORN_FAILURE;
  const nas_3gpp_eons_plmn_name_type_v01 &names = resp.eons_plmn_name_3gpp;
  copy_name(long_name, names.plmn_long_name,
            strnlen(names.plmn_long_name, names.plmn_long_name_len < NAS_PLMN_NAME_MAX_V01
                                              ? names.plmn_long_name_len
                                              : NAS_PLMN_NAME_MAX_V01));
  copy_name(short_name, names.plmn_short_name,
            strnlen(names.plmn_short_name, names.plmn_short_name_len < NAS_PLMN_NAME_MAX_V01
                                               ? names.plmn_short_name_len
                                               : NAS_PLMN_NAME_MAX_V01));
  return VORN_OK;
}

template int plmn_names<GetPlmnName>(uint16_t, uint16_t, uint32_t, char (&)[VORN_NETWORK_NAME_LEN],
                                     char (&)[VORN_NETWORK_NAME_LEN]);
template int plmn_names<GetHomePlmnName>(uint16_t, uint16_t, uint32_t,
                                         char (&)[VORN_NETWORK_NAME_LEN],
                                         char (&)[VORN_NETWORK_NAME_LEN]);

}  // namespace vorn::network

namespace net = vorn::network;

extern "C" VORNPAL_API int vorn_network_pal_get_network_info(uint32_t slot, vorn_network_info *info) {
  if (info == nullptr) {
    VORN_LOG(VORN_ERR, "signal_info is NULL!\n");
    return VORN_INVALID_PARAM;
  }
  net::Pass pass;
  net::read_mode_preference(pass);
  if (info->sys_info.valid || info->cell_valid) {
    net::read_serving_system(pass, *info);
    net::read_sys_info(pass, *info);
    net::decide_radio(pass, *info);
    net::Domains domains = net::map_states(pass, *info);
    net::store_states(pass, domains, *info);
    net::read_names(pass, *info);
    net::read_cells(*info);
    net::read_bands(*info);
  }
  info->sys_info.cell_id = info->cell_id;
  info->sys_info.mnc = info->mnc;
  info->sys_info.mcc = info->mcc;
  vorn_network_get_drx(slot, info);
  vorn_m2m_pal_get_cell_sig_info(0, info);
  if (info->signal.valid) net::read_signal(*info);
  if (info->carrier_valid) net::read_carriers(*info);
  if (info->tx_rx.valid) vorn_network_get_tx_rx_info(slot, info);
  return VORN_OK;
}
