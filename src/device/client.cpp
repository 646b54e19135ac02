// The device family's DMS client (dms_qmi_info), its two lists and its
// start and stop. Decoded DMS indications go to the message handler list,
// whose one handler turns an operating-mode report into event 1 of the
// family's event list; both run on the QMI library's thread.
#include <cstdlib>
#include <mutex>

#include <vornpal/device.h>
#include <vornpal/m2m.h>

#include "device/dms.h"
#include "foundation/log_site.h"
#include "qmi/frame.h"

extern "C" void vorn_qmi_dms_ind_handler(qmi_client_type user_handle, unsigned int msg_id,
                                         void *ind_buf, unsigned int ind_buf_len,
                                         void *ind_cb_data);

namespace {

using vorn::device::SetEventReport;

constexpr int kDecodedReportSize = sizeof(dms_event_report_ind_msg_v01);

// Opening and releasing the client are serialised; once it exists the
// queries use its handle without a lock.
std::mutex dms_mutex;
vorn_qmi_client *dms_qmi_info = nullptr;  // under dms_mutex

// Both lists work while still zeroed, so callbacks registered before
// vorn_device_pal_init are kept.
list_type device_event_list;
list_type device_msg_list;

// Only the operating-mode report is wanted; its failure leaves the client
// usable, so it is logged and nothing more.
void switch_on_operating_mode_report(qmi_client_type handle) {
  dms_set_event_report_req_msg_v01 req{};
  req.report_oprt_mode_state_valid = 1;
  req.report_oprt_mode_state = 1;
  dms_set_event_report_resp_msg_v01 resp;
  int rc = vorn::qmi::send_sync(handle, SetEventReport::id, req, resp, SetEventReport::timeout_ms);
  if (rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "send qmi message False\n");
  } else if (resp.resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG(VORN_ERR, "DMS set event report fail, erorr:%d\n", static_cast<int>(resp.resp.error));
  } else {
    VORN_LOG(VORN_INFO, "DMS set event report successful\r\n");
  }
}

int open_locked() {
  if (dms_qmi_info != nullptr && dms_qmi_info->registered == 1) return 0;
  std::free(dms_qmi_info);
  dms_qmi_info = static_cast<vorn_qmi_client *>(std::calloc(1, sizeof(vorn_qmi_client)));
  if (dms_qmi_info == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC dms qmi info failed\n");
    return -1;
  }
  dms_qmi_info->ind_cb = vorn_qmi_dms_ind_handler;
  dms_qmi_info->ind_cb_data = nullptr;
  dms_qmi_info->service_object = vorn::qmi::service_object(vorn::qmi::Service::Dms);
  const char *failure = nullptr;
  if (dms_qmi_info->service_object == nullptr) {
    failure = "Error, get dms serivce object failed\n";
  } else if (vorn_odm_qmi_register(dms_qmi_info) != 0) {
    failure = "Error, register dms qmi client failed\n";
  }
  if (failure != nullptr) {
    VORN_LOG(VORN_ERR, "%s", failure);
    vorn_qmi_unregister(dms_qmi_info);
    std::free(dms_qmi_info);
    dms_qmi_info = nullptr;
    return -1;
  }
  dms_qmi_info->registered = 1;
  switch_on_operating_mode_report(dms_qmi_info->handle);
  return 0;
}

// Adds a handler of decoded indications once, however often init runs.
int vorn_qmi_dms_msg_register(vorn_pal_event_callback handler) {
  for (list_link_type *link = list_peek_front(&device_msg_list); link != nullptr;
       link = list_peek_next(&device_msg_list, link)) {
    if (reinterpret_cast<vorn_pal_event_node *>(link)->callback == handler) return 0;
  }
  auto *node = static_cast<vorn_pal_event_node *>(std::calloc(1, sizeof(vorn_pal_event_node)));
  if (node == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC new msg node\n");
    return -1;
  }
  node->callback = handler;
  list_push_back(&device_msg_list, &node->link);
  return 0;
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
    vorn_pal_post_event(&device_event_list, VORN_DEVICE_EVENT_OPERATING_MODE, nullptr, 0);
    return;
  }
  auto *mode = static_cast<uint32_t *>(std::malloc(sizeof(uint32_t)));
  if (mode == nullptr) return;
  *mode = static_cast<uint32_t>(report->operating_mode);
  vorn_pal_post_event(&device_event_list, VORN_DEVICE_EVENT_OPERATING_MODE, mode,
                      sizeof(uint32_t));
}

}  // namespace

namespace vorn::device {

int dms_init() {
  std::lock_guard<std::mutex> lock(dms_mutex);
  return open_locked();
}

void dms_exit() {
  std::lock_guard<std::mutex> lock(dms_mutex);
  if (dms_qmi_info == nullptr) {
    VORN_LOG(VORN_INFO, "Info, not need exit\n");
    return;
  }
  vorn_qmi_unregister(dms_qmi_info);
  std::free(dms_qmi_info);
  dms_qmi_info = nullptr;
}

std::optional<qmi_client_type> dms_handle() {
  std::lock_guard<std::mutex> lock(dms_mutex);
  if (open_locked() != 0) return std::nullopt;
  return dms_qmi_info->handle;
}

list_type *event_list() { return &device_event_list; }
list_type *msg_handler_list() { return &device_msg_list; }

}  // namespace vorn::device

extern "C" {

// Runs on the QMI library's thread: decodes the one indication the family
// asked for and hands a heap copy to the message handlers, which free it.
void vorn_qmi_dms_ind_handler(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                              unsigned int ind_buf_len, void *) {
  if (msg_id != QMI_DMS_EVENT_REPORT_IND_V01) {
    VORN_LOG(VORN_INFO, "qmi_dms receive can not recognize indication\r\n");
    return;
  }
  void *decoded = std::calloc(1, kDecodedReportSize);
  if (decoded == nullptr) return;
  int rc = qmi_client_message_decode(user_handle, QMI_IDL_INDICATION, msg_id, ind_buf,
                                     ind_buf_len, decoded, kDecodedReportSize);
  if (rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "Error in decoding dms_event_report_ind_msg_v01, error = %i\n", rc);
    std::free(decoded);
    return;
  }
  vorn_pal_post_event(&device_msg_list, QMI_DMS_EVENT_REPORT_IND_V01, decoded,
                      kDecodedReportSize);
}

VORNPAL_API int vorn_device_pal_init(void) {
  if (vorn::device::dms_init() != 0) {
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
  vorn::device::dms_exit();
  vorn_pal_clean_event_list(&device_event_list);
  return 0;
}

VORNPAL_API int vorn_device_pal_exit(void) { return vorn_device_pal_deinit(); }

VORNPAL_API int vorn_device_pal_event_register(vorn_pal_event_callback handler, void *context) {
  if (handler == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL\n");
    return -1;
  }
  auto *node = static_cast<vorn_pal_event_node *>(std::calloc(1, sizeof(vorn_pal_event_node)));
  if (node == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC new event node\n");
    return -1;
  }
  node->callback = handler;
  node->user_data = context;
  list_push_back(&device_event_list, &node->link);
  return 0;
}

VORNPAL_API int vorn_device_pal_event_unregister(vorn_pal_event_callback handler) {
  if (handler == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL\n");
    return -1;
  }
  return vorn_pal_event_unregister(&device_event_list, handler) == 0 ? 0 : -1;
}

}  // extern "C"
