// The handlers of the NAS indications. They run on the modem's QMI thread:
// they update the cached registration state and queue events, and never
// send a synchronous request.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vornpal/m2m.h>

#include "foundation/log_site.h"
#include "network/state.h"

namespace vorn::network {
namespace {

constexpr uint8_t kLastRejectCause = 113;
constexpr uint32_t kRejected = 3;
constexpr int kOpenListener = 0x11;

bool reject_cause_counts(uint8_t cause) { return cause >= 1 && cause <= kLastRejectCause; }

// ---- serving system ----------------------------------------------------------------

struct RadioRow {
  uint32_t radio_if;
  uint32_t radio;         // radio family of the report
  uint32_t rat;           // g_rat
  uint32_t nas_net_type;  // 0: unchanged
  uint32_t cell_code;     // first word of the cell record
};

constexpr RadioRow kRadios[] = {
    {NAS_RADIO_IF_UMTS_V01, VORN_NETWORK_RADIO_WCDMA, 6, 2, 2},
    {NAS_RADIO_IF_LTE_V01, VORN_NETWORK_RADIO_LTE, 7, 4, 3},
    {NAS_RADIO_IF_GSM_V01, VORN_NETWORK_RADIO_GSM, 0, 1, 0},
};

// The first radio interface decides; an empty list changes nothing.
uint32_t take_radio(const nas_serving_system_type_v01 &serving) {
  if (serving.radio_if_len == 0) return 0;
  State &s = state();
  for (const RadioRow &row : kRadios) {
    if (row.radio_if != serving.radio_if[0]) continue;
    s.radio.store(row.radio);
    s.rat.store(row.rat);
    s.nas_net_type.store(row.nas_net_type);
    return row.cell_code;
  }
  s.radio.store(VORN_NETWORK_RADIO_NONE);
  s.rat.store(0);
  return 0;
}

uint32_t registered_as(uint32_t attach, uint32_t state_when_attached) {
  return attach == NAS_ATTACHED_V01 ? state_when_attached : 0;
}

// The registration state and the domains' states once registered. Without
// an indicator the last one received counts, which is "roaming" until the
// first one arrives.
void state_roaming(const nas_serving_system_info_v01 &info, vorn_network_net_record &record,
                   uint32_t &cs, uint32_t &ps) {
  State &s = state();
  bool roaming;
  if (!info.roaming_indicator_valid) {
    roaming = s.roam_status.load() == 0;
  } else {
    roaming = info.roaming_indicator == 0;
    s.roam_status.store(roaming ? 0 : 1);
  }
  if (roaming) {
    s.re_state.store(VORN_NETWORK_REGISTERED_ROAMING);
    if (!info.roaming_indicator_valid || ps == NAS_ATTACHED_V01) record.home = 0;
    ps = registered_as(ps, VORN_NETWORK_REGISTERED_ROAMING);
    cs = registered_as(cs, VORN_NETWORK_REGISTERED_ROAMING);
  } else {
    s.re_state.store(VORN_NETWORK_REGISTERED_HOME);
    ps = registered_as(ps, VORN_NETWORK_REGISTERED_HOME);
    cs = registered_as(cs, VORN_NETWORK_REGISTERED_HOME);
  }
}

void forget_cells() {
  State &s = state();
  std::lock_guard<std::mutex> lock(s.cell_mutex);
  s.scell = {};
  s.cell = {};
}

}  // namespace

void on_serving_system(const nas_serving_system_ind_msg_v01 &ind) {
  State &s = state();
  const nas_serving_system_info_v01 &info = ind.info;
  vorn_network_net_record record{};
  vorn_network_cell_record cell{};
  record.home = 1;
  uint32_t cs = info.serving_system.cs_attach_state;
  uint32_t ps = info.serving_system.ps_attach_state;

  if (info.current_plmn_valid) {
    std::lock_guard<std::mutex> lock(s.operator_mutex);
    record.mcc = info.current_plmn.mobile_country_code;
    record.mnc = info.current_plmn.mobile_network_code;
    size_t len = strnlen(info.current_plmn.network_description,
                         sizeof info.current_plmn.network_description);
    if (len > 0) {
      std::memset(s.op.short_name, 0, sizeof s.op.short_name);
      std::memcpy(s.op.short_name, info.current_plmn.network_description,
                  len < sizeof s.op.short_name ? len : sizeof s.op.short_name);
    }
  }
  if (info.lac_valid) cell.lac = info.lac;
  if (info.tac_valid) cell.tac = info.tac;
  if (info.cell_id_valid) record.cell_id = info.cell_id;
  if (s.attach_requested.load() == 0) s.attach_state.store(static_cast<uint8_t>(ps));
  uint32_t cell_code = take_radio(info.serving_system);
  record.radio = s.radio.load();

  if (info.serving_system.registration_state == NAS_REGISTERED_V01) {
    uint8_t listener[64] = {};
    if (vorn_m2m_pal_common_request(kOpenListener, nullptr, 0, listener) == 0)
      VORN_LOG(VORN_DBUG, "open listener success\n");
    state_roaming(info, record, cs, ps);
  } else {
    forget_cells();
    s.re_state.store(VORN_NETWORK_NOT_REGISTERED);
    cs = ps = 0;
  }
  record.reg_state = ps;
  record.ps_info = {1, ps};
  record.cs_info = {1, cs};
  Operator op = cached_operator();
  record.mnc = op.mnc;
  record.mcc = op.mcc;
  record.plmn = static_cast<int32_t>(op.plmn);
  std::memcpy(record.short_name, op.short_name, sizeof record.short_name);
  std::memcpy(record.long_name, op.long_name, sizeof record.long_name);

  uint8_t reached = s.re_state.load();
  if (s.manual_wait.load() != 0 &&
      (reached == VORN_NETWORK_REGISTERED_HOME || reached == VORN_NETWORK_REGISTERED_ROAMING) &&
      op.plmn == s.manual_target_plmn.load() && s.rat.load() == s.manual_target_rat.load())
    post_manual_wait();

  std::snprintf(record.plmn_id, sizeof record.plmn_id, "%d", record.plmn);
  std::snprintf(record.plmn_name, sizeof record.plmn_name, "%d", record.plmn);
  post_copy(VORN_NETWORK_EVENT_NET_INFO, record);
  post_copy(VORN_NETWORK_EVENT_SERVING_SYSTEM, record);

  cell.radio = cell_code;
  cell.cell_id = record.cell_id;
  {
    std::lock_guard<std::mutex> lock(s.cell_mutex);
    s.cell = cell;
  }
  post_copy(VORN_NETWORK_EVENT_CELL_INFO, cell);
}

// ---- system information ---------------------------------------------------------

namespace {

// mcc and mnc of a part's digit texts. The MCC text is read on into the MNC
// digits up to the filler of a 2-digit MNC, so a 3-digit MNC gives a mcc of
// four digits here: callers of this path have always seen it so.
void take_plmn(const nas_3gpp_sys_info_type_v01 &part, uint16_t &mcc, uint16_t &mnc) {
  char digits[sizeof part.mcc + sizeof part.mnc + 1] = {};
  std::memcpy(digits, part.mcc, sizeof part.mcc);
  std::memcpy(digits + sizeof part.mcc, part.mnc, sizeof part.mnc);
  char mnc_text[sizeof part.mnc + 1] = {};
  std::memcpy(mnc_text, part.mnc, sizeof part.mnc);
  mcc = static_cast<uint16_t>(std::strtol(digits, nullptr, 10) / 100);
  mnc = static_cast<uint16_t>(std::strtol(mnc_text, nullptr, 10));
}

void report_reject(uint32_t event, const nas_3gpp_sys_info_type_v01 &part) {
  vorn_network_reject_report report{};
  report.reject_valid = part.reg_reject_info_valid;
  report.reject_cause = part.reg_reject_info_valid ? part.rej_cause : 0;
  state().ps_reject_cause.store(report.reject_cause);
  post_copy(event, report);
}

}  // namespace

void on_sys_info(const nas_sys_info_ind_msg_v01 &ind) {
  State &s = state();
  const nas_sys_info_v01 &info = ind.info;
  uint16_t mcc = 0, mnc = 0;
  if (info.wcdma_sys_info_valid) {
    take_plmn(info.wcdma_sys_info, mcc, mnc);
  } else if (info.lte_sys_info_valid) {
    take_plmn(info.lte_sys_info, mcc, mnc);
    report_reject(VORN_NETWORK_EVENT_LTE_REJECT, info.lte_sys_info);
  } else if (info.nr5g_sys_info_valid) {
    take_plmn(info.nr5g_sys_info, mcc, mnc);
    report_reject(VORN_NETWORK_EVENT_NR_REJECT, info.nr5g_sys_info);
  }
  if (reject_cause_counts(s.ps_reject_cause.load()))
    s.ps_reject_state.store(kRejected);
  else if (reject_cause_counts(s.cs_reject_cause.load()))
    s.cs_reject_state.store(kRejected);
  std::lock_guard<std::mutex> lock(s.operator_mutex);
  s.op.plmn = static_cast<uint32_t>(mcc) * 100 + mnc;
  s.op.mcc = mcc;
  s.op.mnc = mnc;
}

// ---- signal, band, carrier aggregation ------------------------------------------

void on_sig_info(const nas_sig_info_ind_msg_v01 &ind) {
  const nas_sig_info_v01 &info = ind.info;
  vorn_network_signal_report report{};
  if (info.gsm_sig_info_valid) {
    report.gsm_valid = 1;
    report.gsm_rssi = info.gsm_sig_info;
  }
  if (info.wcdma_sig_info_valid) {
    report.umts_valid = 1;
    report.umts_rssi = info.wcdma_sig_info.rssi;
    report.umts_rscp = info.wcdma_sig_info.rscp;
    report.umts_ecio = static_cast<int16_t>(-(info.wcdma_sig_info.ecio / 2));
  }
  if (info.lte_sig_info_valid) {
    report.lte_valid = 1;
    report.lte_rssi = info.lte_sig_info.rssi;
    report.lte_rsrq = info.lte_sig_info.rsrq;
    report.lte_rsrp = info.lte_sig_info.rsrp;
    report.lte_snr = static_cast<int16_t>(info.lte_sig_info.snr / 10);
  }
  if (info.nr5g_sig_info_valid) {
    report.nr_rsrp = info.nr5g_rsrp;
    report.nr_snr = info.nr5g_snr / 10;
  }
  post_copy(VORN_NETWORK_EVENT_SIGNAL, report);
}

void on_rf_band_info(qmi::Decoded &decoded) {
  post(VORN_NETWORK_EVENT_RF_BAND, decoded.release(), sizeof(vorn_network_rf_band_report));
}

void mark_scan_failed() {
  State &s = state();
  std::lock_guard<std::mutex> lock(s.scan_mutex);
  s.scan.status = VORN_NETWORK_SCAN_FAILED;
}

// A secondary cell deconfigured before and now is no news.
void on_cphy_ca(const nas_lte_cphy_ca_ind_msg_v01 &ind) {
  State &s = state();
  vorn_network_cell_record cell;
  {
    std::lock_guard<std::mutex> lock(s.cell_mutex);
    if (ind.cphy_ca_valid) s.scell.extra = ind.cphy_ca;
    if (!ind.cphy_scell_info_valid) return;
    const nas_lte_cphy_scell_info_type_v01 &scell = ind.cphy_scell_info;
    VORN_LOG(VORN_DBUG, "pci=[%d],freq=[%d],scell_state=[%d].\n", scell.pci, scell.freq,
             static_cast<int>(scell.scell_state));
    bool quiet = s.scell.state == 0 && scell.scell_state == 0;
    if (quiet) {
      VORN_LOG(VORN_DBUG, "Ignore report ind with both state deconfigured.\n");
      s.scell.extra = 0;
    }
    s.scell.pci = scell.pci;
    s.scell.freq = scell.freq;
    if (ind.scell_dl_bandwidth_valid) s.scell.bandwidth = ind.scell_dl_bandwidth;
    if (ind.scell_band_valid) s.scell.band = ind.scell_band;
    s.scell.state = scell.scell_state;
    if (quiet) return;
    cell = s.cell;
  }
  post_copy(VORN_NETWORK_EVENT_CELL_INFO, cell);
}

}  // namespace vorn::network

extern "C" VORNPAL_API int oem_pal_ind_reject(vorn_network_reject_info *out) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "get cereg_reject error\n");
    return VORN_FAILURE;
  }
  vorn::network::State &s = vorn::network::state();
  uint8_t ps_cause = s.ps_reject_cause.exchange(0);
  uint8_t cs_cause = s.cs_reject_cause.exchange(0);
  out->ps_cause = ps_cause;
  out->cs_cause = cs_cause;
  if (vorn::network::reject_cause_counts(ps_cause)) out->ps_state = s.ps_reject_state.load();
  if (vorn::network::reject_cause_counts(cs_cause)) out->cs_state = s.cs_reject_state.load();
  return VORN_OK;
}
