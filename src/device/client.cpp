// The device family's DMS client (dms_qmi_info), its indication table and
// its two lists. Decoded DMS indications go to the message handler list,
// whose one handler turns an operating-mode report into event 1 of the
// family's event list; both run on the QMI library's thread.
#include <cstdlib>
#include <iterator>

#include <vornpal/device.h>
#include <vornpal/m2m.h>

#include "device/client.h"
#include "foundation/log_site.h"

extern "C" void vorn_qmi_dms_ind_handler(qmi_client_type user_handle, unsigned int msg_id,
                                         void *ind_buf, unsigned int ind_buf_len,
                                         void *ind_cb_data);

namespace {

namespace dev = vorn::device;
namespace qmi = vorn::qmi;

constexpr int kDecodedReportSize = sizeof(dms_event_report_ind_msg_v01);

// The handlers of decoded indications (vorn_qmi_dms_msg_register). Works
// while still zeroed.
list_type device_msg_list;

// Only the operating-mode report is wanted; its failure leaves the client
// usable, so it is logged and nothing more.
void switch_on_operating_mode_report() {
  dms_set_event_report_req_msg_v01 req{};
  req.report_oprt_mode_state_valid = 1;
  req.report_oprt_mode_state = 1;
  dms_set_event_report_resp_msg_v01 resp;
  qmi::Sent sent = dev::dms().send<dev::SetEventReport>(qmi::Guard::None, req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "send qmi message False\n");
  } else if (resp.resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG(VORN_ERR, "DMS set event report fail, erorr:%d\n", static_cast<int>(resp.resp.error));
  } else {
    VORN_LOG(VORN_INFO, "DMS set event report successful\r\n");
  }
}

// The decoded report goes to the message handlers, which free it.
void post_to_msg_handlers(qmi::Decoded &decoded) {
  vorn_pal_post_event(&device_msg_list, QMI_DMS_EVENT_REPORT_IND_V01, decoded.release(),
                      kDecodedReportSize);
}

constexpr qmi::IndicationEntry kIndications[] = {
    qmi::owned<dev::EventReportInd, post_to_msg_handlers>(),
};

// Waits for the service without limit, with the family's own texts.
constexpr qmi::ClientSetup kSetup = {
    qmi::Service::Dms, vorn_odm_qmi_register, vorn_qmi_dms_ind_handler,
    switch_on_operating_mode_report, kIndications, std::size(kIndications),
    {
        "vorn_qmi_dms_init", "vorn_qmi_dms_exit", "vorn_qmi_dms_ind_handler",
        {VORN_INFO, nullptr},
        "Error, oem_MALLOC dms qmi info failed\n",
        "Error, get dms serivce object failed\n",
        {VORN_INFO, nullptr},
        "Error, register dms qmi client failed\n",
        {VORN_INFO, "Info, not need exit\n"},
        {VORN_DBUG, nullptr},
        {VORN_INFO, "qmi_dms receive can not recognize indication\r\n"},
        {VORN_ERR, nullptr},
    },
};

// dms_qmi_info. Its callback list is the family's event list, which keeps
// registrations made before vorn_device_pal_init.
qmi::ServiceClient dms_client{kSetup};

// Adds a handler of decoded indications once, however often init runs.
int vorn_qmi_dms_msg_register(vorn_pal_event_callback handler) {
  for (list_link_type *link = list_peek_front(&device_msg_list); link != nullptr;
       link = list_peek_next(&device_msg_list, link)) {
    if (reinterpret_cast<vorn_pal_event_node *>(link)->callback == handler) return 0;
  }
  return vorn_pal_event_register(&device_msg_list, handler, nullptr) == 0 ? 0 : -1;
}

// The one handler of decoded indications: an operating-mode report becomes
// event 1 with the mode, or with no data when the report lacks it.
void vorn_device_pal_msg_cb(int msg_id, void *payload, int size, void *) {
  VORN_LOG(VORN_INFO, "Info, dms qmi indication msg_id:%d\n", msg_id);
  if (msg_id != QMI_DMS_EVENT_REPORT_IND_V01 || payload == nullptr ||
      size < kDecodedReportSize) {
    VORN_LOG(VORN_INFO, "Info, unknown the indication msg_id: %d\n", msg_id);
    return;
  }
  const auto *report = static_cast<const dms_event_report_ind_msg_v01 *>(payload);
  if (report->operating_mode_valid == 0) {
    dms_client.post(VORN_DEVICE_EVENT_OPERATING_MODE, nullptr, 0);
    return;
  }
  auto *mode = static_cast<uint32_t *>(std::malloc(sizeof(uint32_t)));
  if (mode == nullptr) return;
  *mode = static_cast<uint32_t>(report->operating_mode);
  dms_client.post(VORN_DEVICE_EVENT_OPERATING_MODE, mode, sizeof(uint32_t));
}

}  // namespace

qmi::ServiceClient &dev::dms() { return dms_client; }

extern "C" {

void vorn_qmi_dms_ind_handler(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                              unsigned int ind_buf_len, void *) {
  dms_client.dispatch(user_handle, msg_id, ind_buf, ind_buf_len);
}

VORNPAL_API int vorn_device_pal_init(void) {
  if (dms_client.start() != 0) {
    VORN_LOG(VORN_ERR, "Error, oem_qmi_dms_init failed\n");
    return -1;
  }
  int rc = vorn_m2m_pal_init();
  if (rc != 0) VORN_LOG(VORN_ERR, "oem_m2m_pal_init falid:ret=%d\n", rc);
  if (vorn_qmi_dms_msg_register(vorn_device_pal_msg_cb) != 0) {
    VORN_LOG(VORN_ERR, "Error, register qmi device msg\n");
    return -1;
  }
  vorn::log::milestone(__func__, __LINE__, "device qmi inited OK");
  VORN_LOG(VORN_INFO, "device_pal_init OK\r\n");
  return 0;
}

VORNPAL_API int vorn_device_pal_deinit(void) {
  dms_client.release();
  vorn_pal_clean_event_list(dms_client.callbacks());
  return 0;
}

VORNPAL_API int vorn_device_pal_exit(void) { return vorn_device_pal_deinit(); }

VORNPAL_API int vorn_device_pal_event_register(vorn_pal_event_callback handler, void *context) {
  if (handler == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL\n");
    return -1;
  }
  return vorn_pal_event_register(dms_client.callbacks(), handler, context);
}

VORNPAL_API int vorn_device_pal_event_unregister(vorn_pal_event_callback handler) {
  if (handler == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL\n");
    return -1;
  }
  return vorn_pal_event_unregister(dms_client.callbacks(), handler) == 0 ? 0 : -1;
}

}  // extern "C"
