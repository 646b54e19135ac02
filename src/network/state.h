// The family's module-wide state and what its files share: the NAS client,
// the cached registration state, the event path to the callbacks, the scan
// result. Words are atomics because the indication thread, the event thread,
// the manual registration waiter and callers' threads all touch them; the
// texts of the cache and the scan result are copied under short locks that
// are never held across a request.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include <vornpal/network.h>

#include "network/messages.h"
#include "qmi/service_client.h"

namespace vorn::network {

using qmi::Guard;
using qmi::Sent;

qmi::ServiceClient &client();

// Requests of the family go out on whatever the client has: a family that
// was never started fails each request as one to an unknown client.
template <class Msg>
Sent send(typename Msg::Req &req, typename Msg::Resp &resp) {
  return client().send<Msg>(Guard::None, req, resp);
}
template <class Msg>
Sent send(typename Msg::Resp &resp) {
  return client().send<Msg>(Guard::None, resp);
}
// The result of a function that reports "the QMI code": 0, or -6.
inline int qmi_code(const Sent &sent) { return sent.verdict == 0 ? VORN_OK : VORN_QMI_FAILURE; }

// ---- cached registration state ----------------------------------------------

// Operator of the current network: PLMN and names.
struct Operator {
  uint16_t mnc = 0;
  uint16_t mcc = 0;
  uint32_t plmn = 0;  // mcc * 100 + mnc on the indication paths
  char short_name[VORN_NETWORK_NAME_LEN] = {};
  char long_name[VORN_NETWORK_NAME_LEN] = {};
};

struct State {
  std::atomic<uint8_t> re_state{0};          // g_re_state: 0, 1 home, 5 roaming
  std::atomic<uint8_t> pre_state{0};         // g_pre_state, under name_mutex
  std::atomic<uint32_t> radio{0};            // 0 none, 1 GSM, 2 WCDMA, 3 LTE
  std::atomic<uint32_t> rat{0};              // g_rat: 0 GSM, 6 WCDMA, 7 LTE, 13 ENDC
  std::atomic<uint32_t> nas_net_type{0};     // g_currt_nas_net_type: 1 GSM, 2 WCDMA, 4 LTE
  std::atomic<uint32_t> roam_status{0};      // 0 roaming, else home
  std::atomic<uint8_t> attach_requested{0};
  std::atomic<uint8_t> attach_state{0};
  std::atomic<uint32_t> ps_reject_state{0};
  std::atomic<uint32_t> cs_reject_state{0};
  std::atomic<uint8_t> ps_reject_cause{0};
  std::atomic<uint8_t> cs_reject_cause{0};  // no handler sets it
  std::atomic<uint32_t> registration_mode{0};
  std::atomic<int32_t> csq_nr_en{0};
  std::atomic<uint32_t> setting_rat_mode{0xFFFFFFFF};
  // The scan's snapshot and mask.
  std::atomic<uint32_t> scan_rat{0};
  std::atomic<uint16_t> scan_mnc{0};
  std::atomic<uint16_t> scan_mcc{0};
  std::atomic<uint32_t> current_scan_rat{0};
  std::atomic<int> last_scan_error{-1};
  // Manual registration.
  std::atomic<uint8_t> manual_wait{0};
  std::atomic<uint32_t> manual_target_plmn{0};
  std::atomic<uint32_t> manual_target_rat{0};

  std::mutex operator_mutex;  // guards op
  Operator op;
  std::mutex name_mutex;  // the event thread's comparison of states and name filling

  std::mutex cell_mutex;  // guards the two cell records
  vorn_network_cell_record cell{};
  struct SecondaryCell {
    uint16_t pci;
    uint16_t freq;
    uint32_t bandwidth;
    uint32_t band;
    uint32_t state;
    uint32_t extra;
  } scell{};

  std::mutex scan_mutex;  // guards scan
  vorn_network_scan_result scan{};
};

State &state();

inline Operator cached_operator() {
  State &s = state();
  std::lock_guard<std::mutex> lock(s.operator_mutex);
  return s.op;
}

// ---- events ------------------------------------------------------------------

// Walks the callbacks under the notify mutex on the calling thread and frees
// the payload (vorn_network_pal_notify_ind_msg).
void notify(uint32_t event, void *payload, uint32_t length);

// A heap copy of `value`, as every payload is.
template <class T>
T *heap_copy(const T &value) {
  T *copy = static_cast<T *>(std::malloc(sizeof(T)));
  if (copy != nullptr) std::memcpy(copy, &value, sizeof(T));
  return copy;
}

// Hands an event to the event thread, which notifies it there; a
// registration report (VORN_NETWORK_EVENT_NET_INFO) is completed with the
// operator's names first. Without an event thread the payload is dropped.
void post(uint32_t event, void *payload, uint32_t length);
template <class T>
void post_copy(uint32_t event, const T &value) {
  // A copy that could not be made is no event: a callback must never get a
  // length without its record.
  if (T *copy = heap_copy(value)) post(event, copy, sizeof(T));
}

// ---- indication handlers (run on the modem's indication thread) ---------------

void on_serving_system(const nas_serving_system_ind_msg_v01 &ind);
void on_sys_info(const nas_sys_info_ind_msg_v01 &ind);
void on_sig_info(const nas_sig_info_ind_msg_v01 &ind);
void on_rf_band_info(qmi::Decoded &decoded);
void on_cphy_ca(const nas_lte_cphy_ca_ind_msg_v01 &ind);
void on_scan(const nas_perform_incremental_network_scan_ind_msg_v01 &ind);
// A decoding failure of the band report marks the scan failed.
void mark_scan_failed();
// The manual registration waiter is posted when the wanted network is reached.
void post_manual_wait();

// ---- shared steps ---------------------------------------------------------------

// Operator names of a PLMN at the message's time-out: 0 when the modem
// answered with names.
template <class Msg>
int plmn_names(uint16_t mcc, uint16_t mnc, uint32_t radio_if, char (&long_name)[VORN_NETWORK_NAME_LEN],
               char (&short_name)[VORN_NETWORK_NAME_LEN]);

}  // namespace vorn::network
