// The smaller queries of the family: each one request (or none) and one
// record, independent of the network information.
#include <cstdio>
#include <cstring>
#include <iterator>

#include <vornpal/m2m.h>
#include <vornpal/platform/dm_cache.h>

#include "foundation/log_site.h"
#include "network/bands.h"
#include "network/state.h"

namespace vorn::network {
namespace {

constexpr uint32_t kDrxMs[] = {320, 640, 1280, 2560};
constexpr int kNotProvisioned = 16;

// Texts of the spectral-efficiency refusals, by the modem's error.
struct SpeffError {
  int error;
  const char *text;
};
constexpr SpeffError kSpeffErrors[] = {
    {3, " Other internal errors. For example, SPEFF computation failed. \n"},
    {25, " Device does not support this operation. For example, non-CPE device. \n"},
    {52, " Previous request is still in progress. \n"},
    {70, " Invalid operation due to insufficient CDRX on_durationconfigured. \n"},
    {90, " Operation rejected due to RRC IDLE state. \n"},
    {94, " Operation not supported in current configuration. For example, ARD enabled. \n"},
};

template <class Msg>
int speff(uint32_t *out, uint8_t mode) {
  if (out == nullptr) return VORN_INVALID_PARAM;
  nas_get_speff_req_msg_v01 req{};
  req.speff_mode_valid = 1;
  req.speff_mode = mode;
  nas_get_speff_resp_msg_v01 resp;
  Sent sent = send<Msg>(req, resp);
  if (sent.verdict == 0) {
    *out = resp.speff;
    return VORN_OK;
  }
  const char *text = " Some unknown errors \n";
  for (const SpeffError &row : kSpeffErrors)
    if (row.error == static_cast<int>(resp.resp.error)) text = row.text;
  VORN_LOG(VORN_ERR, "%s", text);
  return VORN_FAILURE;
}

// ---- TX and RX chains ------------------------------------------------------------

using RxPart = uint8_t nas_get_tx_rx_info_resp_msg_v01::*;
using RxChain = nas_rx_chain_info_type_v01 nas_get_tx_rx_info_resp_msg_v01::*;
struct ChainRow {
  RxPart valid;
  RxChain chain;
  int32_t rsrp_max;
};
constexpr ChainRow kChains[] = {
    {&nas_get_tx_rx_info_resp_msg_v01::rx_chain_0_valid, &nas_get_tx_rx_info_resp_msg_v01::rx_chain_0, 96},
    {&nas_get_tx_rx_info_resp_msg_v01::rx_chain_1_valid, &nas_get_tx_rx_info_resp_msg_v01::rx_chain_1, 96},
    {&nas_get_tx_rx_info_resp_msg_v01::rx_chain_2_valid, &nas_get_tx_rx_info_resp_msg_v01::rx_chain_2, 96},
    {&nas_get_tx_rx_info_resp_msg_v01::rx_chain_3_valid, &nas_get_tx_rx_info_resp_msg_v01::rx_chain_3, 121},
};

uint8_t mode_of(uint32_t raw) { return raw <= 5 ? static_cast<uint8_t>(raw + 1) : 0; }

}  // namespace
}  // namespace vorn::network

namespace net = vorn::network;
using net::send;
using net::Sent;

extern "C" {

VORNPAL_API int vorn_network_pal_get_network_mccmnc(uint16_t *mcc, uint16_t *mnc,
                                                   uint8_t *three_digit) {
  if (mcc == nullptr || mnc == nullptr) return VORN_FAILURE;
  nas_get_home_network_resp_msg_v01 resp;
  Sent sent = send<net::GetHomeNetwork>(resp);
  if (sent.verdict != 0) {
    if (resp.resp.result == 1 && resp.resp.error == net::kNotProvisioned)
      VORN_LOG(VORN_ERR, "Home Network has not been provisioned\n");
    return VORN_FAILURE;
  }
  *mcc = resp.home_network.mobile_country_code;
  *mnc = resp.home_network.mobile_network_code;
  if (three_digit != nullptr && resp.nas_3gpp_mcc_mnc_valid)
    *three_digit = resp.nas_3gpp_mcc_mnc.mnc_includes_pcs_digit;
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_get_mnc_mcc(uint16_t *mnc, uint16_t *mcc) {
  if (mnc == nullptr || mcc == nullptr) return VORN_INVALID_PARAM;
  net::Operator op = net::cached_operator();
  *mnc = op.mnc;
  *mcc = op.mcc;
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_set_mnc_mcc(uint16_t *mnc, uint16_t *mcc) {
  if (mnc == nullptr || mcc == nullptr) return VORN_INVALID_PARAM;
  net::State &s = net::state();
  std::lock_guard<std::mutex> lock(s.operator_mutex);
  s.op.mnc = *mnc;
  s.op.mcc = *mcc;
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_get_band_info(vorn_network_band_info *info) {
  if (info == nullptr) {
    VORN_LOG(VORN_ERR, "param pointer is NULL! \n");
    return VORN_FAILURE;
  }
  nas_get_rf_band_info_resp_msg_v01 resp;
  Sent sent = send<net::GetRfBandInfo>(resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "qmi get band info error! \n");
    return net::qmi_code(sent);
  }
  info->band = resp.info.rf_band_info_list[0].active_band;
  info->radio = resp.info.rf_band_info_list[0].radio_if;
  info->bandwidth = resp.info.rf_bandwidth_info_list[0].bandwidth;
  return VORN_OK;
}

VORNPAL_API int vorn_network_get_drx(uint32_t slot, vorn_network_info *info) {
  (void)slot;
  if (info == nullptr) return VORN_OK;
  nas_get_drx_resp_msg_v01 resp;
  if (send<net::GetDrx>(resp).verdict != 0 || !resp.drx_valid) return VORN_OK;
  uint32_t ms = resp.drx < std::size(net::kDrxMs) ? net::kDrxMs[resp.drx] : 0;
  uint32_t rat = net::state().rat.load();
  if (rat == 7) {
    info->signal.lte_drx = ms;
  } else if (rat == 13) {
    info->signal.lte_drx = ms;
    info->signal.nr_drx = ms;
  } else if (rat == 6) {
    info->signal.wcdma_drx = ms;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_network_get_tx_rx_info(uint32_t slot, vorn_network_info *info) {
  (void)slot;
  if (info == nullptr) return VORN_FAILURE;
  bool wcdma = net::state().rat.load() == 6;
  nas_get_tx_rx_info_req_msg_v01 req{};
  req.radio_if = wcdma ? NAS_RADIO_IF_UMTS_V01 : NAS_RADIO_IF_LTE_V01;
  nas_get_tx_rx_info_resp_msg_v01 resp;
  Sent sent = send<net::GetTxRxInfo>(req, resp);
  if (sent.verdict != 0) return net::qmi_code(sent);
  vorn_network_tx_rx_info &out = info->tx_rx;
  out.radio = wcdma ? 2 : 3;
  for (size_t i = 0; i < std::size(net::kChains); ++i) {
    const net::ChainRow &row = net::kChains[i];
    if (!(resp.*row.valid)) continue;
    const nas_rx_chain_info_type_v01 &chain = resp.*row.chain;
    vorn_network_rx_chain &to = out.rx[i];
    to.valid = 1;
    to.tuned = chain.is_radio_tuned;
    to.rsrp_level = net::sig_transfer(chain.rscp / 10, row.rsrp_max, 121);
    to.rsrq_level = net::sig_transfer(chain.rsrp / 10, 97, 141);
    to.rssi_csq = chain.rx_pwr != 0 ? net::csq_of(-(chain.rx_pwr / 10), 31, 0) : 0;
    to.phase = static_cast<int32_t>(chain.phase);
  }
  if (resp.tx_valid) {
    out.tx_valid = 1;
    out.tx_power = resp.tx.tx_pwr;
  }
  for (int list = 0; list < NAS_MODE_LIST_MAX_V01; ++list) {
    if (!resp.mode_list_valid[list]) continue;
    uint32_t len = resp.mode_list_len[list] < 2 ? resp.mode_list_len[list] : 2;
    out.mode_count[list] = static_cast<uint8_t>(len);
    for (uint32_t i = 0; i < len; ++i) out.mode[list][i] = net::mode_of(resp.mode_list[list][i]);
  }
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_get_timing_advance(uint32_t *timing_advance) {
  if (timing_advance == nullptr) return VORN_FAILURE;
  nas_get_cell_location_info_resp_msg_v01 resp;
  if (send<net::GetCellLocationInfo>(resp).verdict != 0 || !resp.timing_advance_valid)
    return VORN_FAILURE;
  *timing_advance = resp.timing_advance;
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_get_network_time(vorn_network_time *time) {
  if (time == nullptr) return VORN_FAILURE;
  nas_get_network_time_resp_msg_v01 resp;
  Sent sent = send<net::GetNetworkTime>(resp);
  if (sent.verdict != 0) return net::qmi_code(sent);
  if (!resp.nas_3gpp_time_valid) {
    VORN_LOG(VORN_ERR, "nas_3gpp_time_valid invalid\n");
    return VORN_FAILURE;
  }
  const nas_3gpp_time_type_v01 &t = resp.nas_3gpp_time;
  time->year = t.universal_time.year;
  time->month = t.universal_time.month;
  time->day = t.universal_time.day;
  time->hour = t.universal_time.hour;
  time->minute = t.universal_time.minute;
  time->second = t.universal_time.second;
  time->day_of_week = t.universal_time.day_of_week;
  time->time_zone_offset_minutes = t.time_zone * 15;
  time->daylight_saving_offset_minutes = t.daylight_saving_adj * 60;
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_nas_get_arfcn_list(vorn_network_arfcn_list *list) {
  if (list == nullptr) return VORN_INVALID_PARAM;
  nas_get_arfcn_list_resp_msg_v01 resp;
  if (send<net::GetArfcnList>(resp).verdict != 0) return VORN_FAILURE;
  list->lte_rrc_state_valid = resp.lte_rrc_state_valid;
  list->lte_rrc_state = resp.lte_rrc_state;
  if (resp.dl_earfcn_valid) {
    list->dl_earfcn_valid = 1;
    list->dl_earfcn = resp.dl_earfcn;
  }
  if (resp.ul_earfcn_valid) {
    list->ul_earfcn_valid = 1;
    list->ul_earfcn = resp.ul_earfcn;
  }
  list->nr_rrc_state_valid = resp.nr5g_rrc_state_valid;
  list->nr_rrc_state = resp.nr5g_rrc_state;
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_nas_get_speff(uint32_t *speff, uint8_t mode) {
  return net::speff<net::GetSpeff>(speff, mode);
}

VORNPAL_API int vorn_network_pal_nas_get_nr5g_speff(uint32_t *speff, uint8_t mode) {
  return net::speff<net::GetNr5gSpeff>(speff, mode);
}

// The vendor's carrier rows: seven LTE rows, then a count and NR rows.
VORNPAL_API int vorn_network_pal_get_cc_rf_info(char *out) {
  constexpr size_t kOut = 1024;
  constexpr int kLteRows = 22, kNrRows = 23, kRows = 7, kNrSinrless = 5;
  if (out == nullptr) return VORN_FAILURE;
  struct Row {
    int32_t pci, signal, rsrq, sinr, dlmcs;
  };
  Row lte[kRows] = {};
  int ret = vorn_m2m_pal_common_request(kLteRows, nullptr, 0, lte);
  if (ret != 0) {
    VORN_LOG(VORN_ERR, "oem_m2m_pal_common_request lte fail ret = %d\n", ret);
    return VORN_FAILURE;
  }
  size_t used = static_cast<size_t>(std::snprintf(out, kOut, "\nLTE:\n"));
  for (const Row &row : lte)
    used += static_cast<size_t>(std::snprintf(out + used, kOut - used,
                                              "pci:%d, rssi:%d, rsrq:%d, sinr:%d, dlmcs:%d\n",
                                              row.pci, row.signal, row.rsrq, row.sinr, row.dlmcs));
  struct {
    int32_t count;
    Row rows[kRows];
  } nr = {};
  ret = vorn_m2m_pal_common_request(kNrRows, nullptr, 0, &nr);
  if (ret != 0) {
    VORN_LOG(VORN_ERR, "oem_m2m_pal_common_request nr fail ret = %d\n", ret);
    return VORN_FAILURE;
  }
  used += static_cast<size_t>(std::snprintf(out + used, kOut - used, "\nNR:\n"));
  int rows = nr.count < 0 ? 0 : nr.count > kRows ? kRows : nr.count;
  for (int i = 0; i < rows && used < kOut; ++i) {
    const Row &row = nr.rows[i];
    used += static_cast<size_t>(std::snprintf(out + used, kOut - used,
                                              "pci:%d, rsrp:%d, rsrq:%d, sinr:%d, dlmcs:%d\n",
                                              row.pci, row.signal, row.rsrq,
                                              i == kNrSinrless ? 0 : row.sinr, row.dlmcs));
  }
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_set_gtcsqnren(int32_t enable) {
  net::state().csq_nr_en.store(enable);
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_get_gtcsqnren(int32_t *enable) {
  if (enable == nullptr) return VORN_INVALID_PARAM;
  *enable = net::state().csq_nr_en.load();
  return VORN_OK;
}

VORNPAL_API uint8_t vorn_network_pal_get_usim_card_slot(void) {
  uint32_t slot = 0;
  vorn_dm_cache_read(VORN_DM_CACHE_ACTIVE_SIM_SLOT, &slot, sizeof slot);
  VORN_LOG(VORN_DBUG, "slot is %d\n", static_cast<int>(slot));
  return static_cast<uint8_t>(slot & 0xFF);
}

}  // extern "C"
