// Start of the family: the UIM client with its own loop of tries, the
// reports it asks for, the indication table and the family's callbacks.
#include <cstdlib>
#include <iterator>

#include <vornpal/usim.h>

#include "foundation/clock.h"
#include "foundation/containers.h"
#include "foundation/log_site.h"
#include "usim/client.h"

namespace {

namespace usim = vorn::usim;
namespace qmi = vorn::qmi;

constexpr int kInitRounds = 10;
constexpr unsigned kConnectTimeoutMs = 3000;
constexpr uint32_t kEventMask =
    QMI_UIM_EVENT_CARD_STATUS_BIT_V01 | QMI_UIM_EVENT_PHYSICAL_SLOT_STATUS_BIT_V01;

constexpr qmi::InstanceAttemptTexts kAttemptTexts = {
    "vorn_qmi_uim_client_init",
    "UIM service object(uim) not available.\n",
    "Failed to init UIM qmi client, error code: %d.\n",
};

// The modem may still be booting: ten rounds, a second apart.
int connect_with_rounds(vorn_qmi_client *record) {
  for (int round = 0; round < kInitRounds; ++round) {
    if (qmi::try_init_instance(qmi::Service::Uim, vorn_uim_qmi_ind_cb, nullptr, kConnectTimeoutMs,
                               record->handle, kAttemptTexts) == QMI_NO_ERR)
      return 0;
    VORN_LOG_AS("vorn_usim_pal_init", VORN_ERR, "UIM qmi client init failed, error code: %d.\n", -1);
    vorn::clk::sleep_us(1000000);
  }
  return -1;
}

constexpr qmi::IndicationEntry kIndications[] = {
    qmi::decoded<usim::StatusChangeInd, usim::on_status_change>(
        nullptr, "UIM status change ind decode failed err :%d\n"),
    qmi::decoded<usim::SlotStatusChangeInd, usim::on_slot_status_change>(nullptr, ""),
    qmi::decoded<usim::AddProfileInd, usim::on_add_profile>(
        nullptr, "Error, decode QMI_UIM_ADD_PROFILE_IND_V01 indication message failed.\n"),
    qmi::decoded<usim::SendApduInd, usim::on_send_apdu_piece>(
        nullptr, "Error, decode QMI_UIM_SEND_APDU_IND_V01 indication message failed.\n"),
};

constexpr qmi::ClientSetup kSetup = {
    qmi::Service::Uim, connect_with_rounds, vorn_uim_qmi_ind_cb, nullptr,
    kIndications, std::size(kIndications),
    {
        "vorn_qmi_uim_client_init", "vorn_usim_pal_deinit", "vorn_uim_qmi_ind_cb",
        {VORN_INFO, nullptr},
        "Error, oem_MALLOC uim qmi info failed.\n",
        "UIM service object(uim) not available.\n",
        {VORN_INFO, nullptr},
        "UIM qmi client init failed in every round.\n",
        {VORN_INFO, nullptr},
        {VORN_DBUG, nullptr},
        {VORN_INFO, nullptr},
        {VORN_ERR, nullptr},
    },
};

// uim_client_handle; its callback list is usim_event_list, usable while
// still zeroed, so registrations made before init are kept.
qmi::ServiceClient uim_client{kSetup};

bool known_indication(unsigned msg_id) {
  for (const qmi::IndicationEntry &entry : kIndications)
    if (entry.msg_id == msg_id) return true;
  return false;
}

// Only the transport's code counts; the modem's refusal is logged.
int event_register() {
  uim_event_reg_req_msg_v01 req{};
  req.event_mask = kEventMask;
  uim_event_reg_resp_msg_v01 resp;
  qmi::Sent sent = usim::send<usim::EventReg>(req, resp);
  if (sent.rc == QMI_NO_ERR) {
    VORN_LOG(VORN_INFO, "UIM event register success, event mask: %d\n", static_cast<int>(kEventMask));
    return 0;
  }
  VORN_LOG(VORN_ERR, "UIM event register failed, event mask: %d, result: %d, error: %d.\n",
           static_cast<int>(kEventMask), static_cast<int>(resp.resp.result),
           static_cast<int>(resp.resp.error));
  VORN_LOG(VORN_ERR, "UIM qmi event register failed, error code: %d.\n", sent.rc);
  return -1;
}

void milestone(const char *text) { vorn::log::milestone("vorn_usim_pal_init", __LINE__, text); }

}  // namespace

std::atomic<int32_t> usim::dual_sim_enabled{0};
std::atomic<uint32_t> usim::chosen_slot{0};
std::atomic<int32_t> usim::usim_card_type{0};

qmi::ServiceClient &usim::client() { return uim_client; }

void usim::notify(int event_id, void *data, int size) {
  if (list_size(uim_client.callbacks()) == 0) {
    VORN_LOG_AS("vorn_usim_pal_notify_ind_msg", VORN_ERR,
                "get list_node_link from oem_usim_event_list failed.\n");
    std::free(data);
    return;
  }
  uim_client.post(event_id, data, static_cast<size_t>(size));
}

extern "C" {

void vorn_uim_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                         unsigned int ind_buf_len, void *) {
  VORN_LOG(VORN_INFO, "UIM indcation coming, ind msg id :0x%x\n", msg_id);
  if (!known_indication(msg_id)) {
    VORN_LOG(VORN_INFO, "Info, unknown the indication msg_id: %d.\n", static_cast<int>(msg_id));
    return;
  }
  uim_client.dispatch(user_handle, msg_id, ind_buf, ind_buf_len);
}

VORNPAL_API int vorn_usim_pal_init(void) {
  VORN_LOG(VORN_INFO, "UIM pal init start...\n");
  if (uim_client.ready())
    VORN_LOG_AS("vorn_qmi_uim_client_init", VORN_INFO, "UIM client already initialized. Handle %d.\n",
                static_cast<int>(reinterpret_cast<intptr_t>(uim_client.handle())));
  const bool connected = uim_client.start() == 0;
  if (connected) milestone("usim qmi inited OK");
  usim::dualsim_init();
  if (!connected) {
    VORN_LOG(VORN_ERR, "Error, oem_qmi_uim_client_init\n");
    milestone("usim qmi inited ERROR");
    return -1;
  }
  // Made ready once, never wiped: a later init, or registrations made
  // before the first, keep their callbacks.
  vorn::containers::ensure_ready(uim_client.callbacks());
  if (event_register() != 0) return -1;
  VORN_LOG(VORN_INFO, "UIM pal init success...\n");
  return 0;
}

// The client stays for the process: a later init finds it.
VORNPAL_API int vorn_usim_pal_deinit(void) { return 0; }

VORNPAL_API int vorn_usim_pal_event_register(usim_event_callback callback, void *user_data) {
  if (callback == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL.\n");
    return VORN_INVALID_PARAM;
  }
  if (vorn_pal_event_register(uim_client.callbacks(), callback, user_data) != 0) return 1;
  VORN_LOG(VORN_INFO, "push new_event_node to oem_usim_event_list sucessfully.\n");
  // A client that registers while the card is ready is told so at once;
  // the ones already registered hear it again.
  usim_state_record state{};
  vorn_usim_pal_get_usim_state(&state);
  VORN_LOG(VORN_INFO, "usim_state:%d.\n", static_cast<int>(state.card_state));
  if (state.card_state == E_oem_USIM_APP_STATE_READY) {
    VORN_LOG(VORN_INFO, "INIT E_oem_USIM_EVENT_USIM_STATUS_CHANGE.\n");
    auto *payload = static_cast<usim_status_payload *>(std::calloc(1, sizeof(usim_status_payload)));
    if (payload == nullptr) return 0;
    payload->usim_state = E_oem_USIM_APP_STATE_READY;
    usim::notify(E_oem_USIM_EVENT_USIM_STATUS_CHANGE, payload, sizeof *payload);
  }
  return 0;
}

VORNPAL_API int vorn_usim_pal_event_unregister(usim_event_callback callback) {
  if (callback == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL.\n");
    return -1;
  }
  vorn_pal_event_unregister(uim_client.callbacks(), callback);
  return 0;
}

}  // extern "C"
