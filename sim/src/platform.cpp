// The platform's QMI client library and the generated accessors of the
// service objects, as the simulated modem provides them on a host: what
// libvornpal imports from libqmi_cci, libqmi_client_qmux and libqmiservices.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <thread>
#include <tuple>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/ip_multimedia_subsystem_application_v01.h>
#include <vornpal/platform/ip_multimedia_subsystem_settings_v01.h>
#include <vornpal/platform/network_access_service_v01.h>
#include <vornpal/platform/qmi_client.h>
#include <vornpal/platform/user_identity_module_v01.h>
#include <vornpal/platform/voice_service_v02.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornpal/platform/wireless_messaging_service_v01.h>

#include "backend.h"
#include "engine.h"
#include "service_module.h"

using namespace vornsim;

namespace {

// The mandatory part of indications, by service and message; under the
// modem's mutex.
std::map<Key, size_t> &indication_minimum() {
  static std::map<Key, size_t> sizes;
  return sizes;
}

}  // namespace

void vornsim::require_indication_bytes(Svc svc, unsigned msg_id, size_t bytes) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  indication_minimum()[key(svc, msg_id)] = bytes;
}

namespace vornsim {
namespace {

qmi_idl_service_object g_objects[kServiceCount] = {
    {Svc::WDS, 0x01},  {Svc::NAS, 0x03},   {Svc::WMS, 0x05},  {Svc::UIM, 0x0B}, {Svc::DMS, 0x02},
    {Svc::VOICE, 0x09}, {Svc::IMSS, 0x12}, {Svc::IMSA, 0x21}, {Svc::M2M, 0xE6}};

// The modem of this process: the engine.
class LocalBackend : public Backend {
 public:
  void xport_register(int xport_id) override {
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    m.xports.push(xport_id);
  }

  bool service_object(Svc svc, int32_t major, int32_t minor, int32_t tool) override {
    return record_accessor(svc, major, minor, tool);
  }

  bool service_up(Svc svc) override { return vornsim::service_up(svc); }

  qmi_client_error_type notifier_init(Svc svc, qmi_client_os_params *os_params,
                                      qmi_client_type *user_handle) override {
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    std::memset(os_params, 0, sizeof *os_params);
    *user_handle = new_client_locked(m, svc, true, false, nullptr, nullptr, os_params);
    // A notifier of a service that is already up is signalled at once.
    if (m.up[static_cast<int>(svc)]) __atomic_store_n(&os_params->sig_set, 1u, __ATOMIC_SEQ_CST);
    return QMI_NO_ERR;
  }

  void signal_wait(qmi_client_os_params *os_params, unsigned timeout_ms) override {
    Modem &m = modem();
    std::unique_lock<std::mutex> lock(m.mutex);
    m.signal_waits.push(timeout_ms);
    if (os_params == nullptr) return;
    auto signalled = [&] { return __atomic_load_n(&os_params->sig_set, __ATOMIC_SEQ_CST) != 0; };
    if (timeout_ms == 0) {
      m.changed.wait(lock, signalled);
    } else if (!m.changed.wait_for(lock, scaled_ms(timeout_ms), signalled)) {
      os_params->timed_out = 1;
    }
  }

  qmi_client_error_type init(Svc svc, bool wait, unsigned timeout_ms, qmi_client_ind_cb ind_cb,
                             void *ind_cb_data, qmi_client_os_params *os_params,
                             qmi_client_type *user_handle) override {
    Modem &m = modem();
    std::unique_lock<std::mutex> lock(m.mutex);
    const int index = static_cast<int>(svc);
    if (!wait) {
      if (!m.up[index]) return QMI_SERVICE_ERR;
      *user_handle = new_client_locked(m, svc, false, true, ind_cb, ind_cb_data, os_params);
      return QMI_NO_ERR;
    }
    bool up = m.changed.wait_for(lock, scaled_ms(timeout_ms), [&] { return m.up[index]; });
    // Like the platform's library, a failed connection still leaves a handle
    // that the caller has to release.
    *user_handle = new_client_locked(m, svc, false, up, ind_cb, ind_cb_data, os_params);
    return up ? QMI_NO_ERR : QMI_TIMEOUT_ERR;
  }

  qmi_client_error_type release(qmi_client_type user_handle) override {
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    if (m.clients.erase(user_handle) == 0) {
      ++m.releases_failed;
      return QMI_CLIENT_INVALID_CLNT;
    }
    delete user_handle;
    return QMI_NO_ERR;
  }

  qmi_client_error_type send_sync(qmi_client_type user_handle, unsigned msg_id, const void *req_c_struct,
                                  unsigned req_c_struct_len, void *resp_c_struct,
                                  unsigned resp_c_struct_len, unsigned timeout_msecs) override {
    Modem &m = modem();
    Handler handler;
    Fault fault;
    Request req;
    {
      std::lock_guard<std::mutex> lock(m.mutex);
      if (!live_client_locked(m, user_handle)) return QMI_CLIENT_INVALID_CLNT;
      if (!user_handle->connected) return QMI_CLIENT_FW_NOT_UP;
      req = Request{user_handle->svc, msg_id, request_bytes(req_c_struct, req_c_struct_len),
                    timeout_msecs, false, user_handle};
      record_locked(m, req);
      if (!m.up[static_cast<int>(req.svc)]) return QMI_SERVICE_ERR;
      std::tie(handler, fault) = take_answer_locked(m, req);
    }
    const auto timeout = scaled_ms(timeout_msecs);
    const auto delay = scaled_ms(fault.delay_ms);
    if (fault.delay_ms > 0 && delay >= timeout) {
      // The modem still acts on the request; its answer comes too late and is dropped.
      {
        std::lock_guard<std::mutex> lock(m.mutex);
        m.late_answers.emplace_back([handler, fault, req, delay, len = resp_c_struct_len] {
          std::this_thread::sleep_for(delay);
          std::vector<uint8_t> dropped(len);
          if (fault.transport_rc == 0) answer(handler, fault, req, dropped.data(), dropped.size());
        });
      }
      std::this_thread::sleep_for(timeout);
      return QMI_TIMEOUT_ERR;
    }
    if (fault.delay_ms > 0) std::this_thread::sleep_for(delay);
    if (fault.transport_rc != 0) return fault.transport_rc;

    // The handler answers into a buffer of its own, which reaches the caller
    // only with a transport success. How long the handler runs on the host is
    // no modem time: a late answer is the fault's delay above, so a busy host
    // (a sanitizer, a loaded machine) never turns an answer into a time-out.
    std::vector<uint8_t> answer_buf(resp_c_struct_len);
    int rc = answer(handler, fault, req, answer_buf.data(), answer_buf.size());
    if (rc == QMI_NO_ERR && resp_c_struct != nullptr)
      std::memcpy(resp_c_struct, answer_buf.data(), answer_buf.size());
    return rc;
  }

  qmi_client_error_type send_async(qmi_client_type user_handle, unsigned msg_id, const void *req_c_struct,
                                   unsigned req_c_struct_len, void *resp_c_struct,
                                   unsigned resp_c_struct_len, qmi_client_recv_msg_async_cb resp_cb,
                                   void *resp_cb_data, qmi_txn_handle *txn_handle) override {
    static std::atomic<uintptr_t> next_txn{1};
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    if (!live_client_locked(m, user_handle)) return QMI_CLIENT_INVALID_CLNT;
    if (!user_handle->connected) return QMI_CLIENT_FW_NOT_UP;
    Request req{user_handle->svc, msg_id, request_bytes(req_c_struct, req_c_struct_len), 0, true,
                user_handle};
    record_locked(m, req);
    if (!m.up[static_cast<int>(req.svc)]) return QMI_SERVICE_ERR;
    Handler handler;
    Fault fault;
    std::tie(handler, fault) = take_answer_locked(m, req);
    if (txn_handle != nullptr)
      *txn_handle = reinterpret_cast<qmi_txn_handle>(next_txn.fetch_add(1));
    schedule_locked(m, scaled_ms(fault.delay_ms), true, [=] {
      int rc = fault.transport_rc;
      if (rc == 0) rc = answer(handler, fault, req, resp_c_struct, resp_c_struct_len);
      if (resp_cb != nullptr)
        resp_cb(user_handle, msg_id, resp_c_struct, resp_c_struct_len, resp_cb_data, rc);
    });
    return QMI_NO_ERR;
  }

  qmi_client_error_type decode_check(qmi_client_type user_handle, int req_resp_ind, unsigned message_id,
                                     unsigned msg_buf_len) override {
    {
      Modem &m = modem();
      std::lock_guard<std::mutex> lock(m.mutex);
      if (user_handle == nullptr || m.clients.count(user_handle) == 0) return QMI_CLIENT_INVALID_CLNT;
    }
    return decode_verdict(user_handle->svc, req_resp_ind, message_id, msg_buf_len);
  }

 private:
  static std::vector<uint8_t> request_bytes(const void *data, unsigned len) {
    const auto *bytes = static_cast<const uint8_t *>(data);
    return bytes != nullptr ? std::vector<uint8_t>(bytes, bytes + len) : std::vector<uint8_t>{};
  }
};

}  // namespace

Backend &local_backend() {
  static LocalBackend instance;
  return instance;
}

Backend &backend() {
  static Backend *const chosen = [] {
    Backend *remote = remote_backend();
    return remote != nullptr ? remote : &local_backend();
  }();
  return *chosen;
}

qmi_client_error_type decode_verdict(Svc svc, int kind, unsigned msg_id, size_t len) {
  if (kind != QMI_IDL_INDICATION && kind != QMI_IDL_RESPONSE && kind != QMI_IDL_REQUEST)
    return QMI_CLIENT_PARAM_ERR;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  auto fault = m.decode_faults.find(key(svc, msg_id));
  if (fault != m.decode_faults.end()) return fault->second;
  auto minimum = indication_minimum().find(key(svc, msg_id));
  if (kind == QMI_IDL_INDICATION && minimum != indication_minimum().end() && len < minimum->second)
    return QMI_IDL_LIB_MISSING_TLV;
  return QMI_NO_ERR;
}

qmi_idl_service_object_type service_object(Svc svc, int32_t major, int32_t minor, int32_t tool) {
  return backend().service_object(svc, major, minor, tool) ? &g_objects[static_cast<int>(svc)] : nullptr;
}

}  // namespace vornsim

extern "C" {

__attribute__((visibility("default"))) void qmi_cci_qmux_xport_register(int xport_id) {
  backend().xport_register(xport_id);
}

__attribute__((visibility("default"))) int32_t qmi_idl_get_service_id(
    const qmi_idl_service_object_type service_object, uint32_t *service_id) {
  if (service_object == nullptr || service_id == nullptr) return QMI_CLIENT_PARAM_ERR;
  *service_id = service_object->service_id;
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_notifier_init(
    qmi_idl_service_object_type service_obj, qmi_client_os_params *os_params,
    qmi_client_type *user_handle) {
  if (service_obj == nullptr || os_params == nullptr || user_handle == nullptr)
    return QMI_CLIENT_PARAM_ERR;
  return backend().notifier_init(service_obj->svc, os_params, user_handle);
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_get_service_list(
    qmi_idl_service_object_type service_obj, qmi_service_info *service_info_array,
    unsigned int *num_entries, unsigned int *num_services) {
  if (service_obj == nullptr || num_services == nullptr) return QMI_CLIENT_PARAM_ERR;
  if (service_info_array != nullptr && num_entries == nullptr) return QMI_CLIENT_PARAM_ERR;
  if (!backend().service_up(service_obj->svc)) {
    *num_services = 0;
    if (num_entries != nullptr) *num_entries = 0;
    return QMI_SERVICE_ERR;
  }
  *num_services = 1;
  if (service_info_array != nullptr) {
    unsigned filled = *num_entries < 1 ? *num_entries : 1;
    for (unsigned i = 0; i < filled; ++i)
      service_info_array[i] = qmi_service_info{{service_obj->service_id, i, 0, 0}};
    *num_entries = filled;
  }
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) void qmi_cci_os_signal_wait(qmi_client_os_params *os_params,
                                                                   unsigned int timeout_ms) {
  backend().signal_wait(os_params, timeout_ms);
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_init(
    qmi_service_info *service_info, qmi_idl_service_object_type service_obj,
    qmi_client_ind_cb ind_cb, void *ind_cb_data, qmi_client_os_params *os_params,
    qmi_client_type *user_handle) {
  if (service_info == nullptr || service_obj == nullptr || user_handle == nullptr)
    return QMI_CLIENT_PARAM_ERR;
  return backend().init(service_obj->svc, false, 0, ind_cb, ind_cb_data, os_params, user_handle);
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_init_instance(
    qmi_idl_service_object_type service_obj, unsigned int instance_id, qmi_client_ind_cb ind_cb,
    void *ind_cb_data, qmi_client_os_params *os_params, unsigned int timeout_ms,
    qmi_client_type *user_handle) {
  (void)instance_id;
  if (service_obj == nullptr || user_handle == nullptr) return QMI_CLIENT_PARAM_ERR;
  return backend().init(service_obj->svc, true, timeout_ms, ind_cb, ind_cb_data, os_params, user_handle);
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_release(
    qmi_client_type user_handle) {
  if (user_handle == nullptr) return QMI_CLIENT_PARAM_ERR;
  return backend().release(user_handle);
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_send_msg_sync(
    qmi_client_type user_handle, unsigned int msg_id, void *req_c_struct,
    unsigned int req_c_struct_len, void *resp_c_struct, unsigned int resp_c_struct_len,
    unsigned int timeout_msecs) {
  return backend().send_sync(user_handle, msg_id, req_c_struct, req_c_struct_len, resp_c_struct,
                             resp_c_struct_len, timeout_msecs);
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_send_msg_async(
    qmi_client_type user_handle, unsigned int msg_id, void *req_c_struct,
    unsigned int req_c_struct_len, void *resp_c_struct, unsigned int resp_c_struct_len,
    qmi_client_recv_msg_async_cb resp_cb, void *resp_cb_data, qmi_txn_handle *txn_handle) {
  return backend().send_async(user_handle, msg_id, req_c_struct, req_c_struct_len, resp_c_struct,
                              resp_c_struct_len, resp_cb, resp_cb_data, txn_handle);
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_message_decode(
    qmi_client_type user_handle, int req_resp_ind, unsigned int message_id, const void *msg_buf,
    unsigned int msg_buf_len, void *c_struct, unsigned int c_struct_len) {
  if (msg_buf == nullptr || c_struct == nullptr) return QMI_CLIENT_PARAM_ERR;
  int rc = backend().decode_check(user_handle, req_resp_ind, message_id, msg_buf_len);
  if (rc != QMI_NO_ERR) return rc;
  std::memset(c_struct, 0, c_struct_len);
  std::memcpy(c_struct, msg_buf, std::min(msg_buf_len, c_struct_len));
  return QMI_NO_ERR;
}

}  // extern "C"

#define VORNSIM_ACCESSOR(fn, svc)                                                         \
  extern "C" __attribute__((visibility("default"))) qmi_idl_service_object_type fn(       \
      int32_t idl_maj_version, int32_t idl_min_version, int32_t library_version) {       \
    return vornsim::service_object(vornsim::Svc::svc, idl_maj_version, idl_min_version,   \
                                   library_version);                                      \
  }

VORNSIM_ACCESSOR(wds_get_service_object_internal_v01, WDS)
VORNSIM_ACCESSOR(nas_get_service_object_internal_v01, NAS)
VORNSIM_ACCESSOR(wms_get_service_object_internal_v01, WMS)
VORNSIM_ACCESSOR(uim_get_service_object_internal_v01, UIM)
VORNSIM_ACCESSOR(dms_get_service_object_internal_v01, DMS)
VORNSIM_ACCESSOR(voice_get_service_object_internal_v02, VOICE)
VORNSIM_ACCESSOR(imss_get_service_object_internal_v01, IMSS)
VORNSIM_ACCESSOR(imsa_get_service_object_internal_v01, IMSA)
VORNSIM_ACCESSOR(vorn_m2m_get_service_object_internal_v01, M2M)
