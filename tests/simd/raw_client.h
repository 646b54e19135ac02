// A QMI client of the test process itself, made with the platform's
// functions as libvornpal makes its own: the test's requests and
// indications then cross the daemon's socket.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/qmi_client.h>
#include <vornsim/sim.h>

extern "C" qmi_idl_service_object_type dms_get_service_object_internal_v01(int32_t, int32_t, int32_t);

namespace simdt {

inline qmi_idl_service_object_type dms_object() { return dms_get_service_object_internal_v01(1, 1, 6); }

// A DMS client whose indications are counted, with the thread each ran on
// and the decode result it gave.
struct RawClient {
  qmi_client_type handle = nullptr;
  qmi_client_os_params os{};
  int init_rc = 0;
  std::mutex mutex;
  std::vector<int> decoded;  // rc of qmi_client_message_decode per indication
  std::atomic<int> on_modem_thread{0};

  explicit RawClient(unsigned timeout_ms = 5000) {
    init_rc = qmi_client_init_instance(dms_object(), QMI_CLIENT_INSTANCE_ANY, on_indication, this, &os,
                                       timeout_ms, &handle);
  }
  ~RawClient() {
    if (handle != nullptr) qmi_client_release(handle);
  }

  // GetMsisdn: the transport result and the number.
  int msisdn(std::string &number, unsigned timeout_ms = 5000) {
    dms_get_msisdn_resp_msg_v01 resp{};
    int rc = qmi_client_send_msg_sync(handle, QMI_DMS_GET_MSISDN_REQ_V01, nullptr, 0, &resp, sizeof resp,
                                      timeout_ms);
    number = resp.voice_number;
    return rc;
  }

  static void on_indication(qmi_client_type h, unsigned msg_id, void *buf, unsigned len, void *data) {
    auto *self = static_cast<RawClient *>(data);
    dms_event_report_ind_msg_v01 ind{};
    int rc = qmi_client_message_decode(h, QMI_IDL_INDICATION, msg_id, buf, len, &ind, sizeof ind);
    if (vornsim::on_modem_thread()) ++self->on_modem_thread;
    std::lock_guard<std::mutex> lock(self->mutex);
    self->decoded.push_back(rc);
  }
  size_t indications() {
    std::lock_guard<std::mutex> lock(mutex);
    return decoded.size();
  }
};

}  // namespace simdt
