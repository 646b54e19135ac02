// The voice family's start: its three clients, each connected by the
// family's own loop of ten tries a second apart (the modem may still be
// booting when the daemons start), the VOICE indication table and the
// family's callbacks.
#include <atomic>
#include <iterator>

#include <vornpal/log.h>
#include <vornpal/voice.h>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "qmi/frame.h"
#include "voice/client.h"
#include "voice/ussd.h"

namespace {

namespace voice = vorn::voice;
namespace qmi = vorn::qmi;

constexpr int kTries = 10;
constexpr unsigned kConnectTimeoutMs = 10000;
constexpr uint64_t kBetweenTriesUs = 1000000;

// The error of each client's last connection attempt, for the loop's lines.
std::atomic<int> voice_error{0};
std::atomic<int> imss_error{0};
std::atomic<int> imsa_error{0};

int connect(vorn_qmi_client *client, qmi::Service service, std::atomic<int> &error,
            const qmi::InstanceAttemptTexts &texts) {
  int rc = qmi::try_init_instance(service, client->ind_cb, nullptr, kConnectTimeoutMs,
                                  client->handle, texts);
  error.store(rc);
  return rc;
}

int connect_voice(vorn_qmi_client *client) {
  return connect(client, qmi::Service::Voice, voice_error,
                 {"vorn_qmi_voice_client_init", "Voice service object not available.\n",
                  "qmi_client_init_instance error:%d \n"});
}

int connect_imss(vorn_qmi_client *client) {
  return connect(client, qmi::Service::Imss, imss_error,
                 {"vorn_qmi_ims_client_init", "IMS service object(uim) not available.\n",
                  "Failed to init IMS qmi client, error code: %d.\n"});
}

int connect_imsa(vorn_qmi_client *client) {
  return connect(client, qmi::Service::Imsa, imsa_error,
                 {"vorn_qmi_imsa_client_init", "IMSA service object(uim) not available.\n",
                  "Failed to init IMSA qmi client, error code: %d.\n"});
}

void bind_imss();
void bind_imsa();

constexpr qmi::IndicationEntry kIndications[] = {
    qmi::decoded<voice::UssdReleaseInd, voice::on_ussd_release>(
        nullptr, "USSD No wait status change ind decode failed err :%d\n"),
    qmi::decoded<voice::UssdInd, voice::on_ussd>(nullptr,
                                                  "UIM status change ind decode failed err :%d\n"),
    qmi::decoded<voice::SupsInd, voice::on_sups>(nullptr,
                                                  "SUPS status change ind decode failed err :%d\n"),
    qmi::decoded<voice::OrigUssdNoWaitInd, voice::on_orig_no_wait>(
        nullptr, "USSD No wait status change ind decode failed err :%d\n"),
};

// Texts of a client whose family never releases it and logs its own
// "already initialized" lines (they show the handle).
constexpr qmi::ClientTexts texts_of(const char *start_name, const char *no_service_object) {
  return {start_name,
          start_name,
          "vorn_unsolicited_voice_ind",
          {VORN_INFO, nullptr},
          "Error, oem_MALLOC voice qmi info failed.\n",
          no_service_object,
          {VORN_INFO, nullptr},
          nullptr,
          {VORN_INFO, nullptr},
          {VORN_INFO, "unsolicited_voice_ind msg id: %d\n"},
          {VORN_DBUG, nullptr},
          {VORN_ERR, nullptr}};
}

constexpr qmi::ClientSetup kVoiceSetup = {
    qmi::Service::Voice, connect_voice, vorn_unsolicited_voice_ind, nullptr,
    kIndications,        std::size(kIndications),
    texts_of("vorn_qmi_voice_client_init", "Voice service object not available.\n")};

// The IMS clients take no indications.
constexpr qmi::ClientSetup kImssSetup = {
    qmi::Service::Imss, connect_imss, nullptr, bind_imss, nullptr, 0,
    texts_of("vorn_qmi_ims_client_init", "IMS service object(uim) not available.\n")};

constexpr qmi::ClientSetup kImsaSetup = {
    qmi::Service::Imsa, connect_imsa, nullptr, bind_imsa, nullptr, 0,
    texts_of("vorn_qmi_imsa_client_init", "IMSA service object(uim) not available.\n")};

// The VOICE handle; its callback list is the family's event list, usable
// before the client exists. oem_qmi_ims_handle; the IMSA handle.
qmi::ServiceClient voice_handle{kVoiceSetup};
qmi::ServiceClient ims_handle{kImssSetup};
qmi::ServiceClient imsa_handle{kImsaSetup};

// A new client is bound before it is announced: the IMS stack serves the
// subscription a client is bound to.
void bind_imss() {
  voice::vorn_voice_pal_bind_subscription();
  VORN_LOG_AS("vorn_qmi_ims_client_init", VORN_INFO, "IMS client inited success, handle %d\n",
              voice::handle_number(ims_handle.handle()));
}

void bind_imsa() {
  voice::vorn_voice_pal_imsa_bind_subscription();
  VORN_LOG_AS("vorn_qmi_imsa_client_init", VORN_INFO, "IMSA client inited success, handle %d\n",
              voice::handle_number(imsa_handle.handle()));
}

// One try of a client: 0, or the error of its connection (QMI_INTERNAL_ERR
// when it got no further than the service object).
int start(qmi::ServiceClient &client, std::atomic<int> &error) {
  error.store(QMI_INTERNAL_ERR);
  return client.start() == 0 ? 0 : error.load();
}

int vorn_qmi_voice_client_init() { return start(voice_handle, voice_error); }

int vorn_qmi_ims_client_init() {
  if (ims_handle.ready()) {
    VORN_LOG(VORN_INFO, "IMS client already initialized. Handle %p.\n",
             static_cast<void *>(ims_handle.handle()));
    return 0;
  }
  return start(ims_handle, imss_error);
}

int vorn_qmi_imsa_client_init() {
  if (imsa_handle.ready()) {
    VORN_LOG(VORN_INFO, "IMSA client already initialized. Handle %p.\n",
             static_cast<void *>(imsa_handle.handle()));
    return 0;
  }
  return start(imsa_handle, imsa_error);
}

// A family loop: `attempt` up to ten times, a second apart. `failed_try`
// (error and try number) may be null. 0, or the last try's error.
int keep_trying(int (*attempt)(), const char *failed_try) {
  int rc = 0;
  for (int n = 1; n <= kTries; ++n) {
    rc = attempt();
    if (rc == 0) return 0;
    if (failed_try != nullptr) VORN_LOG(VORN_INFO, failed_try, rc, n);
    VORN_LOG(VORN_INFO, "waiting for modem up:%d.\n", n);
    vorn::clk::sleep_us(kBetweenTriesUs);
  }
  return rc;
}

// USSD and supplementary-service reports, and call events.
int vorn_qmi_voice_register_ind() {
  voice_indication_register_req_msg_v02 req{};
  req.call_events_valid = 1;
  req.call_events = 1;
  req.ussd_notification_events_valid = 1;
  req.ussd_notification_events = 1;
  req.sups_events_valid = 1;
  req.sups_events = 1;
  voice_indication_register_resp_msg_v02 resp;
  voice::Sent sent = voice_handle.send<voice::IndicationRegister>(voice::Guard::None, req, resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "Voice: send_msg_sync error: %d\n", sent.rc);
    return VORN_FAILURE;
  }
  VORN_LOG(VORN_INFO, "Error code:%d, result:%d\n", static_cast<int>(resp.resp.error),
           static_cast<int>(resp.resp.result));
  return VORN_OK;
}

// IMSS, then IMSA: 0, or the error of the client that failed ten times.
int start_ims_clients() {
  int rc = keep_trying(vorn_qmi_ims_client_init, "IMS qmi client init failed, error code: %d,%d.\n");
  if (rc != 0) return rc;
  vorn::log::milestone(__func__, __LINE__, "voice qmi inited OK");
  rc = keep_trying(vorn_qmi_imsa_client_init, "IMSA qmi client init failed, error code: %d,%d.\n");
  if (rc != 0) return rc;
  oem_watch(__func__, __LINE__, "%s", "voice qmi imas inited OK");
  return 0;
}

}  // namespace

qmi::ServiceClient &voice::voice_client() { return voice_handle; }
qmi::ServiceClient &voice::imss_client() { return ims_handle; }
qmi::ServiceClient &voice::imsa_client() { return imsa_handle; }

void voice::log_failed_request(const char *caller, const char *name, const Sent &sent,
                               const qmi_response_type_v01 &resp) {
  VORN_LOG_AS(caller, VORN_ERR, "%s failed, result: %d,%d, error: %d.\n", name, sent.rc,
              static_cast<int>(resp.result), static_cast<int>(resp.error));
}

extern "C" {

void vorn_unsolicited_voice_ind(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                                unsigned int ind_buf_len, void *) {
  // The outcome of an origination moves the session even when it cannot be
  // read.
  if (msg_id == QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02)
    vorn_voice_pal_update_ussd_info(msg_id, 0);
  voice_handle.dispatch(user_handle, msg_id, ind_buf, ind_buf_len);
}

VORNPAL_API int vorn_voice_pal_init(void) {
  VORN_LOG(VORN_INFO, "VOICE pal init start...\n");
  if (voice_handle.ready()) {
    VORN_LOG(VORN_ERR, "Voice client already initialized. Handle %p.\n",
             static_cast<void *>(voice_handle.handle()));
  } else if (keep_trying(vorn_qmi_voice_client_init, nullptr) != 0) {
    vorn::log::milestone(__func__, __LINE__, "voice qmi inited ERROR");
    VORN_LOG(VORN_INFO, "VOICE pal init success...\n");
    return VORN_OK;
  } else {
    vorn::log::milestone(__func__, __LINE__, "voice qmi inited OK");
  }
  vorn_qmi_voice_register_ind();

  if (voice::vorn_voice_pal_is_ims_disable() == 1) {
    VORN_LOG(VORN_INFO, "ims not enabled...\n");
    return VORN_OK;
  }
  int rc = start_ims_clients();
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "IMS qmi client init failed, error code: %d.\n", rc);
    vorn::log::milestone(__func__, __LINE__, "voice qmi inited ERROR");
  }
  VORN_LOG(VORN_INFO, "VOICE pal init success...\n");
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_event_register(vorn_pal_event_callback callback, void *user_data) {
  return vorn_pal_event_register(voice_handle.callbacks(), callback, user_data);
}

VORNPAL_API int vorn_voice_pal_event_unregister(vorn_pal_event_callback callback) {
  return vorn_pal_event_unregister(voice_handle.callbacks(), callback);
}

}  // extern "C"
