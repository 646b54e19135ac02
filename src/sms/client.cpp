// Start and stop of the WMS client, the family's callbacks and the
// registration of the indications it handles.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>

#include <vornpal/m2m.h>
#include <vornpal/sms.h>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "qmi/frame.h"
#include "sms/client.h"

namespace {

namespace sms = vorn::sms;
namespace qmi = vorn::qmi;

constexpr int kInitTries = 10;
constexpr unsigned kInitTimeoutMs = 10000;
constexpr size_t kModelSize = 64;
// Models that keep received messages in the modem's NV rather than on the AP.
constexpr char kNvStorageModel[] = "Z715k";

// The code of the last failed connection, for the init loop's lines.
std::atomic<int> last_error{0};

int connect_once(vorn_qmi_client *record) {
  static constexpr qmi::InstanceAttemptTexts kTexts = {
      "vorn_qmi_sms_client_init", "WMS service object(uim) not available.\n",
      "Failed to init WMS qmi client, error code: %d.\n"};
  int rc = qmi::try_init_instance(qmi::Service::Wms, vorn_sms_qmi_ind_cb, nullptr, kInitTimeoutMs,
                                  record->handle, kTexts);
  last_error.store(rc, std::memory_order_relaxed);
  if (rc != QMI_NO_ERR) vorn::log::milestone("vorn_qmi_sms_client_init", __LINE__, "sms qmi error");
  return rc;
}

constexpr qmi::IndicationEntry kIndications[] = {
    qmi::decoded<sms::EventReportInd, sms::on_event_report>(),
    qmi::decoded<sms::MemoryFullInd, sms::on_memory_full>(),
    qmi::decoded<sms::TransportLayerInd, sms::on_transport_layer>(),
    qmi::decoded<sms::TransportNwRegInd, sms::on_transport_nw_reg>(),
    qmi::decoded<sms::ServiceReadyInd, sms::on_service_ready>(),
};

constexpr qmi::ClientSetup kSetup = {
    qmi::Service::Wms, connect_once, vorn_sms_qmi_ind_cb, nullptr,
    kIndications, std::size(kIndications),
    {
        "vorn_qmi_sms_client_init", "vorn_sms_pal_deinit", "vorn_sms_qmi_ind_cb",
        {VORN_INFO, nullptr},
        "Failed to allocate the WMS client.\n",
        "WMS service object(uim) not available.\n",
        {VORN_DBUG, nullptr},
        "WMS qmi client not connected.\n",
        {VORN_INFO, nullptr},
        {VORN_DBUG, "receive msg_id=%d, size=%d\n"},
        {VORN_INFO, nullptr},
        {VORN_INFO, nullptr},
    },
};

qmi::ServiceClient wms_client{kSetup};

bool known_indication(unsigned msg_id) {
  for (const qmi::IndicationEntry &entry : kIndications)
    if (entry.msg_id == msg_id) return true;
  return false;
}

}  // namespace

namespace vorn::sms {

qmi::ServiceClient &client() { return wms_client; }

Config &config() {
  static Config words;
  return words;
}

ServiceCache &cache() {
  static ServiceCache words;
  return words;
}

void post(int event, void *data, size_t size) { wms_client.post(event, data, size); }

void *event_block(size_t size, const char *file, int line) {
  void *block = std::calloc(1, size);
  if (block == nullptr) {
    std::printf("%s, line: %d\n", file, line);
    std::fflush(stdout);
    std::abort();
  }
  return block;
}

}  // namespace vorn::sms

extern "C" {

void vorn_sms_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                         unsigned int ind_buf_len, void *) {
  if (!known_indication(msg_id)) {
    VORN_LOG(VORN_INFO, "Info, unknown the indication msg_id: %d.\n", static_cast<int>(msg_id));
    return;
  }
  wms_client.dispatch(user_handle, msg_id, ind_buf, ind_buf_len);
}

VORNPAL_API int vorn_qmi_sms_client_init(void) {
  if (wms_client.ready()) {
    VORN_LOG(VORN_INFO, "WMS client already initialized. Handle %p.\n",
             static_cast<void *>(wms_client.handle()));
    return VORN_FAILURE;
  }
  return wms_client.start() == 0 ? VORN_OK : VORN_FAILURE;
}

VORNPAL_API int vorn_sms_pal_init(void) {
  VORN_LOG(VORN_INFO, "SMS pal init start...\n");
  bool connected = false;
  for (int attempt = 1; attempt <= kInitTries && !connected; ++attempt) {
    int rc = vorn_qmi_sms_client_init();
    if (rc == VORN_OK) {
      connected = true;
      break;
    }
    VORN_LOG(VORN_ERR, "WMS qmi client init failed, error code: %d,%d.\n", rc,
             last_error.load(std::memory_order_relaxed));
    VORN_LOG(VORN_INFO, "waiting for modem up:%d.\n", attempt);
    vorn::clk::sleep_us(1000000);
  }
  if (connected) vorn::log::milestone(__func__, __LINE__, "SMS qmi inited OK");

  char model[kModelSize] = {};
  int model_result = vorn_m2m_pal_get_model(model);
  model[kModelSize - 1] = '\0';
  VORN_LOG(VORN_INFO, "result:%d, Project Name:%s\n", model_result, model);
  if (std::strncmp(model, kNvStorageModel, sizeof kNvStorageModel - 1) == 0)
    vorn::sms::config().storage_type.set(SMS_STORAGE_NV);

  if (!connected) {
    VORN_LOG(VORN_ERR, "WMS qmi client init failed, error code: %d.\n",
             last_error.load(std::memory_order_relaxed));
    vorn::log::milestone(__func__, __LINE__, "SMS qmi inited ERROR");
    return model_result;
  }
  // The callback list is ready while still zeroed: initialising it here
  // would drop the callbacks a daemon registered before this init.
  if (vorn_sms_event_register() != VORN_OK) return VORN_FAILURE;
  VORN_LOG(VORN_INFO, "SMS pal init success...\n");
  int rc = vorn_sms_pal_set_receive_msg_storage(vorn::sms::config().storage_type.get());
  if (rc != VORN_OK) VORN_LOG(VORN_ERR, "pal_set_recv_msg_storage failed:%d\r\n", rc);
  return rc;
}

VORNPAL_API int vorn_sms_pal_deinit(void) {
  wms_client.release();
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_event_register(vorn_pal_event_callback callback, void *user_data) {
  return vorn_pal_event_register(wms_client.callbacks(), callback, user_data);
}

VORNPAL_API int vorn_sms_pal_event_unregister(vorn_pal_event_callback callback) {
  return vorn_pal_event_unregister(wms_client.callbacks(), callback);
}

// MT and MWI reports, then the transport, registration, call status and
// readiness indications with the four after them.
VORNPAL_API int vorn_sms_event_register(void) {
  wms_set_event_report_req_msg_v01 report{};
  report.report_mt_message_valid = 1;
  report.report_mt_message = 1;
  report.report_mwi_message_valid = 1;
  report.report_mwi_message = 1;
  wms_result_resp_msg_v01 resp;
  vorn::qmi::Sent sent = vorn::sms::send<vorn::sms::SetEventReport>(report, resp);
  if (sent.verdict == 0) {
    wms_indication_register_req_msg_v01 reg{};
    auto *bytes = reinterpret_cast<uint8_t *>(&reg);
    std::memset(bytes, 1, 16);
    sent = vorn::sms::send<vorn::sms::IndicationRegister>(reg, resp);
  }
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "SMS qmi event register failed, error code: %d.\n", sent.rc);
    return VORN_FAILURE;
  }
  VORN_LOG(VORN_INFO, "SMS QMI_WMS_INDICATION_REGISTER_REQ_V01 register success\n");
  return VORN_OK;
}

// Up to four tries with three seconds after each, as the modem may still be
// handing the primary role around after its start.
VORNPAL_API int vorn_sms_primary_client_init(void) {
  constexpr int kTries = 4;
  wms_set_primary_client_req_msg_v01 req{};
  req.primary_client = 1;
  wms_result_resp_msg_v01 resp;
  vorn::qmi::Sent sent{};
  for (int attempt = 1; attempt <= kTries; ++attempt) {
    sent = vorn::sms::send<vorn::sms::SetPrimaryClient>(req, resp);
    if (sent.verdict != 0)
      VORN_LOG(VORN_ERR,
               "SMS QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01 register failed, result: %d, error: %d, "
               "retry cnt: %d.\n",
               static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error), attempt);
    vorn::clk::sleep_s(3);
    if (sent.verdict == 0) break;
  }
  if (sent.verdict != 0) return VORN_FAILURE;
  VORN_LOG(VORN_INFO, "SMS QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01 register success\n");
  return VORN_OK;
}

}  // extern "C"
