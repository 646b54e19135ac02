// The one UIM client of the process (uim_client_handle), the family's
// shared state and the steps its files share. Requests go out on whatever
// handle there is: without a client they fail as to an unknown client, and
// nothing starts one lazily, since only vorn_usim_pal_init connects.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <vornpal/usim.h>

#include "qmi/service_client.h"
#include "usim/messages.h"

namespace vorn::usim {

qmi::ServiceClient &client();

// send<Msg>(req, resp), or send<Msg>(resp) for a message without request.
template <class Msg, class... Parts>
qmi::Sent send(Parts &...parts) {
  return client().send<Msg>(qmi::Guard::None, parts...);
}

// The modem's refusal that announces a long APDU response.
constexpr uint32_t kErrInsufficientResources = 68;
constexpr uint32_t kErrInternal = 3;
constexpr uint32_t kErrFileNotFound = 82;

// dual_sim_enabled, chosen_slot and usim_card_type: single words, written
// whole, read from any thread.
extern std::atomic<int32_t> dual_sim_enabled;
extern std::atomic<uint32_t> chosen_slot;
extern std::atomic<int32_t> usim_card_type;

// Hands a heap block (or null) to every registered callback and frees it.
void notify(int event_id, void *data, int size);

// ---- card and slots ----------------------------------------------------------

// The card status report (message 47): 0, or -1 for any failure.
int get_card_status(uim_card_status_type_v01 &out);
// The slot report of `count` entries into `record` (zeroed by the caller):
// 0, or 3 for no entries.
int proc_slot_info(const uim_physical_slot_status_type_v01 *entries, uint32_t count,
                   usim_slot_record &record);
// Message 71 and the slot report: 0 or -1.
int get_slot_info(usim_slot_record &out);
// Card type and state of card `slot`, then the slots: 0 or -1.
int get_card_info(usim_state_record &out, uint32_t slot);
// The active slot, 0 or 1: 0 or -1 (and *slot 0).
int active_slot(uint32_t *slot);
// The session of a PIN request on `slot`.
uint32_t session_type(uint32_t slot);
// Reads the dual-SIM setting of the modem's UIM configuration.
void dualsim_init();

// ---- indications ----------------------------------------------------------------

void on_status_change(const uim_status_change_ind_msg_v01 &ind);
void on_slot_status_change(const uim_slot_status_change_ind_msg_v01 &ind);
void on_add_profile(const uim_add_profile_ind_msg_v01 &ind);
void on_send_apdu_piece(const uim_send_apdu_ind_msg_v01 &ind);

}  // namespace vorn::usim

// The indication callback of the client; runs on the QMI library's thread.
extern "C" void vorn_uim_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id,
                                    void *ind_buf, unsigned int ind_buf_len, void *ind_cb_data);
