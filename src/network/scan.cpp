// The incremental PLMN scan: the request, its indication (which replaces
// the module-wide result, g_cur_network_scan_result, each time it comes)
// and the readers of the result.
#include <cstdio>
#include <cstring>
#include <iterator>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "network/state.h"

namespace vorn::network {
namespace {

constexpr int kScanTries = 3;
constexpr int kBusy = 23;  // the modem is still busy with an earlier search
constexpr uint16_t kSearchTimerS = 120;

struct ScanRatRow {
  uint32_t code;
  uint32_t mask;  // 1 GSM, 2 UMTS, 4 LTE, 16 NR5G
  uint32_t setting_rat_mode;
};
constexpr ScanRatRow kScanRats[] = {
    {0, 31, 0}, {1, 1, 8}, {3, 2, 1}, {5, 4, 2}, {6, 16, 3}, {7, 3, 9},
    {8, 5, 10}, {9, 6, 4}, {10, 7, 11}, {11, 22, 7}, {12, 20, 5},
};

const ScanRatRow *scan_rat_row(uint32_t code) {
  for (const ScanRatRow &row : kScanRats)
    if (row.code == code) return &row;
  return nullptr;
}

// ---- the indication -------------------------------------------------------------

struct EntryRadio {
  uint32_t radio_if;
  uint32_t rat;
  uint32_t family;
  int32_t strongest;  // the signal is limited to [-strongest_limit, -weakest]
  int32_t weakest;
};
constexpr EntryRadio kEntryRadios[] = {
    {NAS_RADIO_IF_GSM_V01, 1, 0, 25, 128},
    {NAS_RADIO_IF_UMTS_V01, 3, 2, 0, 0},
    {NAS_RADIO_IF_LTE_V01, 5, 3, 44, 140},
    {NAS_RADIO_IF_NR5G_V01, 6, 4, 44, 140},
};

int32_t signal_of(const EntryRadio &radio, uint32_t v) {
  if (radio.rat == 3) return -120;  // the modem gives no UMTS value
  if (v > static_cast<uint32_t>(radio.weakest)) return -radio.weakest;
  if (v < static_cast<uint32_t>(radio.strongest)) return -radio.strongest;
  return -static_cast<int32_t>(v);
}

uint32_t cell_state_of(uint8_t status) {
  if (status & NAS_NETWORK_STATUS_FORBIDDEN_V01) return VORN_NETWORK_CELL_FORBIDDEN;
  if (status & NAS_NETWORK_STATUS_CURRENT_SERVING_V01) return VORN_NETWORK_CELL_CURRENT;
  if (status & NAS_NETWORK_STATUS_AVAILABLE_V01) return VORN_NETWORK_CELL_AVAILABLE;
  return VORN_NETWORK_CELL_UNKNOWN;
}

void set_plmn(vorn_network_scan_entry &entry, uint16_t mcc, uint16_t mnc) {
  entry.mcc = mcc;
  entry.mnc = mnc;
  entry.plmn = mcc * 100u + mnc;
  std::snprintf(entry.plmn_text, sizeof entry.plmn_text, "%u", entry.plmn % 1000000u);
}

void copy_name(char (&to)[VORN_NETWORK_NAME_LEN], const char *from, size_t max) {
  size_t len = strnlen(from, max);
  std::memset(to, 0, sizeof to);
  std::memcpy(to, from, len < sizeof to ? len : sizeof to);
}

// Returns true for a UMTS entry.
bool fill_entry(vorn_network_scan_entry &entry, const nas_perform_incremental_network_scan_ind_msg_v01 &ind,
                uint32_t i) {
  const nas_3gpp_network_info_type_v01 &net = ind.nas_3gpp_network_info[i];
  bool umts = false;
  uint32_t radio_if = ind.nas_network_radio_access_technology_valid &&
                              i < ind.nas_network_radio_access_technology_len
                          ? ind.nas_network_radio_access_technology[i].rat
                          : 0;
  uint32_t v = ind.signal_strength_valid && i < ind.signal_strength_len ? ind.signal_strength[i].signal : 0;
  for (const EntryRadio &radio : kEntryRadios) {
    if (radio.radio_if != radio_if) continue;
    entry.rat = radio.rat;
    entry.radio = radio.family;
    entry.signal = signal_of(radio, v);
    umts = radio.rat == 3;
  }
  set_plmn(entry, net.mobile_country_code, net.mobile_network_code);
  entry.index = static_cast<uint8_t>(i + 1);
  if (net.network_status & NAS_NETWORK_STATUS_ROAM_V01) entry.roaming = 1;
  if (net.network_status & NAS_NETWORK_STATUS_HOME_V01) entry.roaming = 0;
  entry.cell_state = cell_state_of(net.network_status);
  copy_name(entry.short_name, net.network_description, sizeof net.network_description);
  return umts;
}

// A modem that leaves the serving WCDMA network out of a scan gets it back
// from the camped network.
void add_camped_umts(vorn_network_scan_result &result) {
  State &s = state();
  if (result.count >= VORN_NETWORK_SCAN_MAX) return;
  VORN_LOG(VORN_DBUG, "cheat!!!!!! .\n");
  vorn_network_scan_entry &entry = result.entry[result.count];
  Operator op = cached_operator();
  std::memcpy(entry.short_name, op.short_name, sizeof entry.short_name);
  std::memcpy(entry.long_name, op.short_name, sizeof entry.long_name);
  set_plmn(entry, s.scan_mcc.load(), s.scan_mnc.load());
  entry.rat = 3;
  entry.radio = 2;
  entry.cell_state = VORN_NETWORK_CELL_AVAILABLE;
  entry.index = static_cast<uint8_t>(result.count + 1);
  result.count += 1;
  result.status = VORN_NETWORK_SCAN_COMPLETE;
}

// An empty answer on the radio the device is camped on: the registration
// is the result.
void add_registration(vorn_network_scan_result &result) {
  State &s = state();
  VORN_LOG(VORN_DBUG, "qmi return no result,try to get current regist info %d!\n",
           static_cast<int>(s.re_state.load()));
  uint8_t reg = s.re_state.load();
  if (reg == VORN_NETWORK_REGISTERED_HOME || reg == VORN_NETWORK_REGISTERED_ROAMING) {
    static constexpr uint32_t kRatOfRadio[] = {0, 1, 3, 5};
    vorn_network_scan_entry &entry = result.entry[0];
    uint32_t radio = s.radio.load();
    entry.cell_state = VORN_NETWORK_CELL_CURRENT;
    entry.rat = radio < std::size(kRatOfRadio) ? kRatOfRadio[radio] : 0;
    Operator op = cached_operator();
    set_plmn(entry, op.mcc, op.mnc);
    std::memcpy(entry.long_name, op.short_name, sizeof entry.long_name);
    result.count += 1;
  }
  result.status = result.count != 0 ? VORN_NETWORK_SCAN_COMPLETE : VORN_NETWORK_SCAN_FAILED;
}

void fill_result(const nas_perform_incremental_network_scan_ind_msg_v01 &ind,
                 vorn_network_scan_result &result) {
  State &s = state();
  if (ind.scan_status == 3) {
    result.status = VORN_NETWORK_SCAN_ABORTED;
    return;
  }
  if (ind.scan_status != 0) {
    result.status = VORN_NETWORK_SCAN_FAILED;
    return;
  }
  if (!ind.nas_3gpp_network_info_valid) {
    if ((s.nas_net_type.load() & ~s.current_scan_rat.load()) == 0) add_registration(result);
    return;
  }
  bool umts_seen = false;
  uint32_t count = ind.nas_3gpp_network_info_len;
  if (count > NAS_3GPP_NETWORK_INFO_LIST_MAX_V01) count = NAS_3GPP_NETWORK_INFO_LIST_MAX_V01;
  for (uint32_t i = 0; i < count; ++i) {
    umts_seen |= fill_entry(result.entry[result.count], ind, i);
    result.count += 1;
    result.status = VORN_NETWORK_SCAN_COMPLETE;
  }
  if (s.scan_rat.load() == 6 && !umts_seen) add_camped_umts(result);
}

}  // namespace

void on_scan(const nas_perform_incremental_network_scan_ind_msg_v01 &ind) {
  State &s = state();
  vorn_network_scan_result result;
  {
    std::lock_guard<std::mutex> lock(s.scan_mutex);
    std::memcpy(result.request, s.scan.request, sizeof result.request);
  }
  std::memset(result.entry, 0, sizeof result.entry);
  result.status = VORN_NETWORK_SCAN_NONE;
  result.count = 0;
  fill_result(ind, result);
  {
    std::lock_guard<std::mutex> lock(s.scan_mutex);
    s.scan = result;
  }
  vorn_network_scan_result *copy = heap_copy(result);
  if (copy == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC uim status change indication message.\n");
    return;
  }
  post(VORN_NETWORK_EVENT_SCAN_RESULT, copy, sizeof *copy);
}

}  // namespace vorn::network

namespace net = vorn::network;

namespace {

vorn_network_scan_result scan_snapshot() {
  net::State &s = net::state();
  std::lock_guard<std::mutex> lock(s.scan_mutex);
  return s.scan;
}

// Names of each entry of the module-wide result, after a clean scan.
void complete_names() {
  net::State &s = net::state();
  if (s.last_scan_error.load() != 0) return;
  vorn_network_scan_result snapshot = scan_snapshot();
  for (uint8_t i = 0; i < snapshot.count && i < VORN_NETWORK_SCAN_MAX; ++i) {
    vorn_network_scan_entry &entry = snapshot.entry[i];
    int rc = net::plmn_names<net::GetPlmnName>(entry.mcc, entry.mnc, 0, entry.long_name,
                                               entry.short_name);
    if (rc != 0) {
      VORN_LOG(VORN_ERR, "ERROR:QMI_NAS_GET_PLMN_NAME_REQ_MSG_V01 FAIL %d !\n", rc);
      continue;
    }
    std::lock_guard<std::mutex> lock(s.scan_mutex);
    if (s.scan.count > i && s.scan.entry[i].plmn == entry.plmn) s.scan.entry[i] = entry;
  }
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_network_pal_scan(uint32_t slot, vorn_network_scan_result *request) {
  (void)slot;
  if (request == nullptr) return VORN_INVALID_PARAM;
  // One scan at a time: a new request starts from a cleared result.
  net::State &s = net::state();
  {
    std::lock_guard<std::mutex> lock(s.scan_mutex);
    std::memset(&s.scan, 0, sizeof s.scan);
    std::memcpy(s.scan.request, request->request, sizeof s.scan.request);
  }
  s.scan_rat.store(s.rat.load());
  net::Operator op = net::cached_operator();
  s.scan_mnc.store(op.mnc);
  s.scan_mcc.store(op.mcc);
  const net::ScanRatRow *row = net::scan_rat_row(request->request[0]);
  if (row == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid parameter\n");
    return VORN_INVALID_PARAM;
  }
  s.setting_rat_mode.store(row->setting_rat_mode);
  nas_perform_incremental_network_scan_req_msg_v01 req{};
  req.network_type_valid = 1;
  req.network_type = row->mask;
  req.scan_type_valid = 1;
  req.scan_type = 0;
  req.search_timer_valid = 1;
  req.search_timer = net::kSearchTimerS;
  for (int attempt = 1; attempt <= net::kScanTries; ++attempt) {
    nas_perform_incremental_network_scan_resp_msg_v01 resp;
    net::Sent sent = net::send<net::PerformIncrementalScan>(req, resp);
    if (resp.resp.error == net::kBusy) vorn::clk::sleep_s(2);
    if (sent.verdict != 0) continue;
    s.last_scan_error.store(0);
    s.current_scan_rat.store(row->mask);
    std::lock_guard<std::mutex> lock(s.scan_mutex);
    // An answer that came before this line already ended the scan.
    if (s.scan.status == VORN_NETWORK_SCAN_NONE) s.scan.status = VORN_NETWORK_SCAN_RUNNING;
    return VORN_OK;
  }
  return VORN_FAILURE;
}

VORNPAL_API int vorn_network_pal_get_scan_result(uint32_t slot, vorn_network_scan_result *out) {
  if (out == nullptr) return VORN_INVALID_PARAM;
  vorn_network_scan_result snapshot = scan_snapshot();
  out->status = snapshot.status;
  out->count = snapshot.count;
  if (slot > 1) return VORN_INVALID_PARAM;
  if (snapshot.status != VORN_NETWORK_SCAN_COMPLETE) return VORN_OK;
  complete_names();
  snapshot = scan_snapshot();
  std::memcpy(out->entry, snapshot.entry, sizeof out->entry);
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_get_scan_result_build(char *out) {
  if (out == nullptr) return VORN_INVALID_PARAM;
  vorn_network_scan_result local = scan_snapshot();
  if (local.status != VORN_NETWORK_SCAN_COMPLETE) return VORN_OK;
  uint32_t text_rat = 0;
  for (uint8_t i = 0; i < local.count && i < VORN_NETWORK_SCAN_MAX; ++i) {
    vorn_network_scan_entry &entry = local.entry[i];
    char long_name[VORN_NETWORK_NAME_LEN] = {};
    char short_name[VORN_NETWORK_NAME_LEN] = {};
    if (entry.short_name[0] == '\0') {
      if (net::plmn_names<net::GetHomePlmnName>(entry.mcc, entry.mnc, 0, long_name, short_name) != 0 ||
          long_name[0] == '\0') {
        VORN_LOG(VORN_WARN, "Skip invalid network entry at index %d (no name)\n", i);
        continue;
      }
      std::memcpy(entry.short_name, short_name, sizeof short_name);
      std::memcpy(entry.long_name, long_name, sizeof long_name);
    } else if (entry.long_name[0] == '\0') {
      if (net::plmn_names<net::GetHomePlmnName>(entry.mcc, entry.mnc, 0, long_name, short_name) == 0 &&
          long_name[0] != '\0')
        std::memcpy(entry.long_name, long_name, sizeof long_name);
    }
    static constexpr uint32_t kTextRat[] = {0, 0, 0xFF, 2, 0xFF, 7, 12};
    if (entry.rat < std::size(kTextRat) && kTextRat[entry.rat] != 0xFF) text_rat = kTextRat[entry.rat];
    char text[2 * VORN_NETWORK_NAME_LEN + 48];
    std::snprintf(text, sizeof text, i + 1 == local.count ? "(%d,%.60s,%.60s,%u,%u)" : "(%d,%.60s,%.60s,%u,%u),",
                  static_cast<int>(entry.cell_state), entry.long_name, entry.short_name, entry.plmn,
                  text_rat);
    std::strcat(out, text);
  }
  complete_names();
  return VORN_OK;
}

}  // extern "C"
