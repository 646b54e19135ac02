// Network selection: registration in its two forms, PS attach and detach,
// and the data-roaming switch.
//
// The first form asks the modem to register and reports the modem's answer
// (VORN_NETWORK_EVENT_REGIST_RESP). The second changes the selection
// preference and has a waiter thread report the state reached
// (VORN_NETWORK_EVENT_MANUAL_REGIST_DONE) once the serving-system handler
// sees the wanted network, or after 30 seconds.
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "network/state.h"

extern "C" void vorn_network_pal_regist_cb(qmi_client_type user_handle, unsigned int msg_id,
                                           void *resp_c_struct, unsigned int resp_c_struct_len,
                                           void *resp_cb_data, qmi_client_error_type transp_err);

namespace vorn::network {
namespace {

constexpr uint64_t kManualWaitMs = 30000;
constexpr size_t kStackSize = 0x10000;
constexpr int kTransportBusy = -11;
constexpr uint32_t kNone = 0xFFFFFFFF;

// By the registration rat 1 to 8: radio interface, mode preference, g_rat.
struct RegRatRow {
  uint32_t radio_if;
  uint32_t mode_pref;
  uint32_t rat;
};
constexpr RegRatRow kRegRats[8] = {
    {NAS_RADIO_IF_UMTS_V01, 8, 6},  {NAS_RADIO_IF_LTE_V01, 16, 7}, {NAS_RADIO_IF_NR5G_V01, 0xFFFF, kNone},
    {kNone, 0xFFFF, kNone},         {kNone, 0xFFFF, kNone},        {kNone, 0xFFFF, kNone},
    {kNone, 0xFFFF, kNone},         {NAS_RADIO_IF_GSM_V01, 4, 0},
};
constexpr RegRatRow kNoRat = {kNone, 0xFFFF, kNone};

const RegRatRow &reg_rat(uint32_t rat) { return rat >= 1 && rat <= 8 ? kRegRats[rat - 1] : kNoRat; }

// A PLMN text of 5 or 6 digits as mcc and mnc; 0 and 0 for any other length.
struct Plmn {
  uint32_t numeric;
  uint16_t mcc;
  uint16_t mnc;
  bool three_digit;
};
Plmn parse_plmn(const char (&text)[VORN_NETWORK_REG_PLMN_LEN]) {
  size_t len = strnlen(text, sizeof text);
  char digits[VORN_NETWORK_REG_PLMN_LEN + 1] = {};
  std::memcpy(digits, text, len);
  uint32_t value = static_cast<uint32_t>(std::strtoul(digits, nullptr, 10));
  if (len == 5) return {value, static_cast<uint16_t>(value / 100), static_cast<uint16_t>(value % 100), false};
  if (len == 6) return {value, static_cast<uint16_t>(value / 1000), static_cast<uint16_t>(value % 1000), true};
  return {value, 0, 0, false};
}

// Sends a request whose answer comes to vorn_network_pal_regist_cb; the
// response buffer is the callback's to free. The transport's code.
template <class Msg>
int send_async(typename Msg::Req &req) {
  qmi_client_type handle = client().handle();
  if (handle == nullptr) return QMI_CLIENT_INVALID_CLNT;
  auto *resp = static_cast<typename Msg::Resp *>(std::calloc(1, sizeof(typename Msg::Resp)));
  if (resp == nullptr) return QMI_INTERNAL_ERR;
  qmi_txn_handle txn = nullptr;
  int rc = qmi_client_send_msg_async(handle, Msg::id, &req, sizeof req, resp, sizeof *resp,
                                     vorn_network_pal_regist_cb, resp, &txn);
  if (rc != QMI_NO_ERR) std::free(resp);
  return rc;
}

// ---- the manual registration waiter ------------------------------------------------

std::mutex waiter_mutex;
std::condition_variable waiter_posted;
bool posted = false;                        // under waiter_mutex
std::atomic<bool> waiter_running{false};    // g_manual_regist_thread

void *manual_regist_thread(void *) {
  State &s = state();
  if (s.manual_wait.load() != 0) {
    std::unique_lock<std::mutex> lock(waiter_mutex);
    auto wait = std::chrono::microseconds(clk::scaled_us(kManualWaitMs * 1000));
    if (waiter_posted.wait_for(lock, wait, [] { return posted; }))
      VORN_LOG(VORN_INFO, "Sync regist OK!!!!!!\n");
    else
      VORN_LOG(VORN_WARN, "Timeout when registering\r\n");
    posted = false;
  }
  s.manual_wait.store(0);
  auto *reached = static_cast<uint8_t *>(std::malloc(1));
  if (reached != nullptr) *reached = s.re_state.load();
  notify(VORN_NETWORK_EVENT_MANUAL_REGIST_DONE, reached, 1);
  waiter_running.store(false);
  return nullptr;
}

// 0, or 3 when the thread's attributes cannot be set up.
int start_waiter() {
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) {
    VORN_LOG(VORN_ERR, "init thread attribute failed\n");
    return VORN_INVALID_PARAM;
  }
  int result = VORN_OK;
  if (pthread_attr_setstacksize(&attr, kStackSize) != 0) {
    VORN_LOG(VORN_ERR, "set stack size failed\n");
    result = VORN_INVALID_PARAM;
  } else if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) != 0) {
    VORN_LOG(VORN_ERR, "set setdetachstate failed\n");
    result = VORN_INVALID_PARAM;
  } else {
    {
      std::lock_guard<std::mutex> lock(waiter_mutex);
      posted = false;
    }
    waiter_running.store(true);
    pthread_t thread;
    int rc = pthread_create(&thread, &attr, manual_regist_thread, nullptr);
    if (rc != 0) {
      waiter_running.store(false);
      VORN_LOG(VORN_ERR, "unable to create g_manual_regist_thread return reason: %d\n", rc);
    }
  }
  pthread_attr_destroy(&attr);
  return result;
}

bool registered(uint8_t reg_state) {
  return reg_state == VORN_NETWORK_REGISTERED_HOME || reg_state == VORN_NETWORK_REGISTERED_ROAMING;
}

// The sync form checks the PLMN against a complete scan.
bool in_scanned_list(const char (&plmn)[VORN_NETWORK_REG_PLMN_LEN]) {
  State &s = state();
  std::lock_guard<std::mutex> lock(s.scan_mutex);
  if (s.scan.status != VORN_NETWORK_SCAN_COMPLETE) {
    VORN_LOG(VORN_INFO, "not scanned, skip check plmn\n");
    return true;
  }
  for (uint8_t i = 0; i < s.scan.count && i < VORN_NETWORK_SCAN_MAX; ++i) {
    const vorn_network_scan_entry &entry = s.scan.entry[i];
    if (strncmp(entry.plmn_text, plmn, sizeof entry.plmn_text) == 0 &&
        entry.cell_state != VORN_NETWORK_CELL_FORBIDDEN) {
      VORN_LOG(VORN_INFO, "Find plmn in scanned list\n");
      return true;
    }
  }
  VORN_LOG(VORN_ERR, "Plmn is not in Scanned-Network!\n");
  return false;
}

int attach_action(uint32_t action, uint8_t resulting_state) {
  nas_initiate_attach_req_msg_v01 req{};
  req.ps_attach_action_valid = 1;
  req.ps_attach_action = action;
  nas_initiate_attach_resp_msg_v01 resp;
  Sent sent = send<InitiateAttach>(req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "attach or detach failed! qmi_err:%d\n", static_cast<int>(resp.resp.error));
    return qmi_code(sent);
  }
  State &s = state();
  s.attach_state.store(resulting_state);
  s.attach_requested.store(1);
  return VORN_OK;
}

}  // namespace

void post_manual_wait() {
  std::lock_guard<std::mutex> lock(waiter_mutex);
  posted = true;
  waiter_posted.notify_all();
}

}  // namespace vorn::network

namespace net = vorn::network;

extern "C" {

void vorn_network_pal_regist_cb(qmi_client_type, unsigned int msg_id, void *, unsigned int,
                                void *resp_cb_data, qmi_client_error_type transp_err) {
  std::free(resp_cb_data);
  if (transp_err != QMI_NO_ERR && transp_err != net::kTransportBusy) {
    VORN_LOG(VORN_ERR, "Transport ERROR CODE:%d\n", transp_err);
    return;
  }
  if (msg_id != QMI_NAS_INITIATE_NETWORK_REGISTER_REQ_MSG_V01) return;
  auto *reached = static_cast<uint8_t *>(std::malloc(1));
  if (reached != nullptr) *reached = net::state().re_state.load();
  net::post(VORN_NETWORK_EVENT_REGIST_RESP, reached, 1);
}

VORNPAL_API int vorn_network_pal_register(uint32_t slot, const vorn_network_reg_info *reg_info) {
  (void)slot;
  if (reg_info == nullptr) {
    VORN_LOG(VORN_ERR, "reg_info is NULL!\n");
    return VORN_INVALID_PARAM;
  }
  if (!net::in_scanned_list(reg_info->plmn)) return VORN_INVALID_PARAM;
  nas_initiate_network_register_req_msg_v01 req{};
  if (reg_info->rat == VORN_NETWORK_REG_RAT_AUTO) {
    req.register_action = 1;
  } else {
    net::Plmn plmn = net::parse_plmn(reg_info->plmn);
    req.register_action = 2;
    req.manual_network_register_info_valid = 1;
    req.manual_network_register_info.mobile_country_code = plmn.mcc;
    req.manual_network_register_info.mobile_network_code = plmn.mnc;
    req.manual_network_register_info.radio_access_tech = net::reg_rat(reg_info->rat).radio_if;
  }
  int rc = net::send_async<net::InitiateNetworkRegister>(req);
  if (vornQmi_CheckResponseCode(net::InitiateNetworkRegister::name, rc, 0, 0) != 0)
    VORN_LOG(VORN_ERR, "send search network qmi msg failed, qmi_err is %d \n", rc);
  return rc;
}

VORNPAL_API int vorn_network_pal_async_register(uint32_t slot, const vorn_network_reg_info *reg_info) {
  (void)slot;
  if (reg_info == nullptr) {
    VORN_LOG(VORN_ERR, "reg_info is NULL!\n");
    return VORN_INVALID_PARAM;
  }
  net::State &s = net::state();
  nas_set_system_selection_preference_req_msg_v01 req{};
  uint32_t target_plmn = 0;
  switch (s.registration_mode.load()) {
    case 0:
      req.net_sel_pref_valid = 1;
      req.net_sel_pref.net_sel_pref = 0;
      break;
    case 1: {
      net::Plmn plmn = net::parse_plmn(reg_info->plmn);
      req.net_sel_pref_valid = 1;
      req.net_sel_pref.net_sel_pref = 1;
      req.net_sel_pref.mcc = plmn.mcc;
      req.net_sel_pref.mnc = plmn.mnc;
      if (plmn.three_digit) {
        req.mnc_includes_pcs_digit_valid = 1;
        req.mnc_includes_pcs_digit = 1;
      }
      req.mode_pref_valid = 1;
      req.mode_pref = static_cast<uint16_t>(net::reg_rat(reg_info->rat).mode_pref);
      target_plmn = plmn.numeric;
      break;
    }
    default:
      VORN_LOG(VORN_ERR, "reg_info mode UNKOW!\n");
      return VORN_INVALID_PARAM;
  }
  if (reg_info->mode != VORN_NETWORK_REG_MODE_GO) return VORN_OK;
  uint32_t target_rat = net::reg_rat(reg_info->rat).rat;
  uint8_t wait = 1;
  if (net::registered(s.re_state.load()) && target_plmn == net::cached_operator().plmn)
    wait = s.rat.load() != target_rat ? 1 : 0;
  // A waiter already waiting keeps its target and its flag; of two callers
  // at once, one claims the waiter.
  bool idle = false;
  if (!net::waiter_running.compare_exchange_strong(idle, true)) return VORN_OK;
  s.manual_wait.store(wait);
  s.manual_target_plmn.store(target_plmn);
  s.manual_target_rat.store(target_rat);
  int started = net::start_waiter();
  if (started != VORN_OK) {
    net::waiter_running.store(false);
    return started;
  }
  if (wait == 0) return VORN_OK;
  int rc = net::send_async<net::SetSystemSelectionPreference>(req);
  if (rc != QMI_NO_ERR) VORN_LOG(VORN_ERR, "send regist network2 qmi msg failed, qmi_err is %d \n", rc);
  return rc;
}

VORNPAL_API int vorn_network_pal_set_registration_mode(uint32_t mode) {
  net::state().registration_mode.store(mode);
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_attach(void) { return net::attach_action(1, 1); }

VORNPAL_API int vorn_network_pal_dettach(void) { return net::attach_action(2, 0); }

VORNPAL_API int vorn_network_pal_get_attach_state(uint32_t slot, uint32_t *state) {
  (void)slot;
  if (state == nullptr) return VORN_INVALID_PARAM;
  *state = net::state().attach_state.load() == 1 ? 1 : 0;
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_set_data_roaming_status(uint32_t enable) {
  if (!net::client().ready()) return VORN_OK;
  nas_set_data_roaming_req_msg_v01 req{};
  req.data_roam_status = enable;
  nas_set_data_roaming_resp_msg_v01 resp;
  net::Sent sent = net::send<net::SetDataRoaming>(req, resp);
  if (sent.verdict != 0) {
    vornQmi_CheckResponseCode("QMI_NAS_GET_DATA_ROAMING_REQ_MSG_V01", sent.rc, resp.resp.result,
                              resp.resp.error);
    VORN_LOG(VORN_ERR, "Failed to set to data_roam %d\n", static_cast<int>(resp.resp.error));
    return VORN_QMI_FAILURE;
  }
  VORN_LOG(VORN_INFO, "set to data_roam success\n");
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_get_data_roaming_status(uint32_t *enable) {
  if (!net::client().ready()) return VORN_OK;
  if (enable == nullptr) return VORN_INVALID_PARAM;
  nas_get_data_roaming_resp_msg_v01 resp;
  net::Sent sent = net::send<net::GetDataRoaming>(resp);
  if (sent.verdict != 0) {
    vornQmi_CheckResponseCode("QMI_NAS_GET_DATA_ROAMING_REQ_MSG_V01", sent.rc, resp.resp.result,
                              resp.resp.error);
    VORN_LOG(VORN_ERR, "Failed to get to data_roaming %d\n", static_cast<int>(resp.resp.error));
    return VORN_QMI_FAILURE;
  }
  *enable = resp.data_roam_status;
  VORN_LOG(VORN_INFO, "get to data_roaming success %d\n", static_cast<int>(resp.data_roam_status));
  return VORN_OK;
}

}  // extern "C"
