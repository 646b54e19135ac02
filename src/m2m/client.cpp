// Start and stop of the vendor service's client, its indication table and
// the family's callbacks. The client starts on the first call that needs it,
// from any thread; concurrent starters wait for the one start in progress,
// for as long as the modem takes to offer the service.
#include <iterator>
#include <mutex>

#include <vornpal/m2m.h>

#include "foundation/log_site.h"
#include "m2m/client.h"
#include "m2m/indications.h"

namespace {

namespace m2m = vorn::m2m;
namespace qmi = vorn::qmi;

// No limit: a modem that never offers the service keeps the starter here.
int register_without_limit(vorn_qmi_client *client) { return vorn_qmi_register(client, 0); }

void switch_on_reports() { vorn_m2m_event_report_register(); }

constexpr qmi::IndicationEntry kIndications[] = {
    qmi::decoded<m2m::EventReportInd, m2m::on_event_report>(),
    qmi::decoded<m2m::NvCfgReportInd, m2m::on_nv_report>(),
    qmi::decoded<m2m::ScanCellInfoInd, m2m::on_scan_cells>("QMI_oem_M2M_SCAN_CELL_INFO_IND_V01.\n"),
};

constexpr qmi::ClientSetup kSetup = {
    qmi::Service::M2m, register_without_limit, vorn_qmi_m2m_ind_handler, switch_on_reports,
    kIndications, std::size(kIndications),
    {
        "vorn_m2m_pal_early_init", "vorn_m2m_pal_deinit", "vorn_qmi_m2m_ind_handler",
        {VORN_INFO, "oem m2m qmi already init.\n"},
        "Error, oem_MALLOC oem qmi info failed.\n",
        "Error, get oem serivce object failed2.\n",
        {VORN_INFO, "!!!oem_m2m_get_service_object_v01 OK.!!!\n"},
        "Error, register oem qmi client failed.\n",
        {VORN_INFO, nullptr},
        {VORN_DBUG, "receive msg_id=%d, size=%d\n"},
        {VORN_DBUG, nullptr},
        {VORN_ERR, "Indication message empty.\n"},
    },
};

// m2m_client. Its callback list is m2m_event_list: initialised by the first
// vorn_m2m_pal_init, cleaned by vorn_m2m_pal_deinit, usable before either.
qmi::ServiceClient m2m_client{kSetup};

std::mutex init_mutex;
bool init_done = false;  // under init_mutex; never cleared

}  // namespace

qmi::ServiceClient &m2m::client() { return m2m_client; }

extern "C" {

VORNPAL_API int vorn_m2m_pal_early_init(void) { return m2m_client.start(); }

VORNPAL_API int vorn_m2m_pal_init(void) {
  {
    std::lock_guard<std::mutex> lock(init_mutex);
    if (!init_done) {
      int ret = vorn_m2m_pal_early_init();
      if (ret != 0) VORN_LOG(VORN_ERR, "oem_m2m_pal_early_init falid:ret=%d\n", ret);
      list_init(m2m_client.callbacks());
      init_done = true;
    }
  }
  m2m::restore_identity();
  return 0;
}

VORNPAL_API int vorn_m2m_pal_deinit(void) {
  if (m2m_client.release() != 0) return -1;
  vorn_pal_clean_event_list(m2m_client.callbacks());
  return 0;
}

void vorn_qmi_m2m_ind_handler(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                              unsigned int ind_buf_len, void *) {
  m2m_client.dispatch(user_handle, msg_id, ind_buf, ind_buf_len);
}

VORNPAL_API int vorn_m2m_event_report_register(void) {
  if (!m2m_client.ready()) return -1;
  vorn_m2m_set_event_report_req_msg_v01 req{};
  for (auto &report : req.report) report = {1, 1};
  vorn_m2m_set_event_report_resp_msg_v01 resp;
  if (m2m::send<m2m::SetEventReport>(m2m::Guard::None, req, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "qmi_m2m_event_report_register fail\r\n");
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_m2m_pal_event_register(vorn_pal_event_callback callback, void *user_data) {
  return vorn_pal_event_register(m2m_client.callbacks(), callback, user_data);
}

VORNPAL_API int vorn_m2m_pal_event_unregister(vorn_pal_event_callback callback) {
  return vorn_pal_event_unregister(m2m_client.callbacks(), callback);
}

}  // extern "C"
