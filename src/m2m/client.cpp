// Start and stop of the vendor service's client. The client starts on the
// first call that needs it, from any thread; the early-init mutex makes
// every concurrent starter wait for the one start in progress, for as long
// as the modem takes to offer the service.
#include <atomic>
#include <cstdlib>
#include <mutex>

#include <vornpal/m2m.h>

#include "foundation/log_site.h"
#include "m2m/client.h"
#include "qmi/frame.h"

namespace {

// The record lives on the heap and is published here as soon as it exists;
// `registered` is the initialised flag. Both are read without a lock by
// every function of the family, so they are accessed atomically.
std::atomic<vorn_qmi_client *> m2m_client{nullptr};

std::mutex early_init_mutex;
std::mutex init_mutex;
bool init_done = false;  // under init_mutex; never cleared

bool is_registered(const vorn_qmi_client *client) {
  return client != nullptr && __atomic_load_n(&client->registered, __ATOMIC_ACQUIRE) == 1;
}

// Makes and registers the record under the early-init mutex; the record on
// failure, for the caller to free once the mutex is released.
vorn_qmi_client *start_locked(int &result) {
  result = -1;
  auto *client = static_cast<vorn_qmi_client *>(std::calloc(1, sizeof(vorn_qmi_client)));
  if (client == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC oem qmi info failed.\n");
    return nullptr;
  }
  m2m_client.store(client, std::memory_order_release);
  client->ind_cb = vorn_qmi_m2m_ind_handler;
  client->ind_cb_data = nullptr;
  client->service_object = vorn::qmi::service_object(vorn::qmi::Service::M2m);
  if (client->service_object == nullptr) {
    VORN_LOG(VORN_ERR, "Error, get oem serivce object failed2.\n");
    return client;
  }
  VORN_LOG(VORN_INFO, "!!!oem_m2m_get_service_object_v01 OK.!!!\n");
  client->handle = nullptr;
  // No limit: a modem that never offers the service keeps us here.
  if (vorn_qmi_register(client, 0) != 0) {
    VORN_LOG(VORN_ERR, "Error, register oem qmi client failed.\n");
    return client;
  }
  __atomic_store_n(&client->registered, 1u, __ATOMIC_RELEASE);
  vorn_m2m_event_report_register();
  result = 0;
  return nullptr;
}

}  // namespace

namespace vorn::m2m {

qmi_client_type registered_handle() {
  vorn_qmi_client *client = m2m_client.load(std::memory_order_acquire);
  return is_registered(client) ? client->handle : nullptr;
}

bool ready() { return is_registered(m2m_client.load(std::memory_order_acquire)); }

std::optional<qmi_client_type> pass_guard(Guard guard) {
  switch (guard) {
    case Guard::LazyStart:
      if (!ready()) {
        vorn_m2m_pal_early_init();
        if (!ready()) return std::nullopt;
      }
      break;
    case Guard::LazyStartNoSecondLook:
      if (!ready()) vorn_m2m_pal_early_init();
      break;
    case Guard::FailAtOnce:
      if (!ready()) return std::nullopt;
      break;
    case Guard::None:
      break;
  }
  // Without a registered client this is null, and the send fails in the
  // transport.
  return registered_handle();
}

}  // namespace vorn::m2m

extern "C" {

VORNPAL_API int vorn_m2m_pal_early_init(void) {
  vorn_qmi_client *failed = nullptr;
  int result = 0;
  {
    std::lock_guard<std::mutex> lock(early_init_mutex);
    if (vorn::m2m::ready()) {
      VORN_LOG(VORN_INFO, "oem m2m qmi already init.\n");
      return 0;
    }
    failed = start_locked(result);
    // A failed record leaves the global pointer before the next starter
    // can get the mutex, so that it never frees that starter's record.
    if (failed != nullptr) m2m_client.store(nullptr, std::memory_order_release);
  }
  std::free(failed);
  return result;
}

VORNPAL_API int vorn_m2m_pal_init(void) {
  {
    std::lock_guard<std::mutex> lock(init_mutex);
    if (!init_done) {
      int ret = vorn_m2m_pal_early_init();
      if (ret != 0) VORN_LOG(VORN_ERR, "oem_m2m_pal_early_init falid:ret=%d\n", ret);
      vorn::m2m::init_event_list();
      init_done = true;
    }
  }
  vorn::m2m::restore_identity();
  return 0;
}

VORNPAL_API int vorn_m2m_pal_deinit(void) {
  vorn_qmi_client *client = m2m_client.load(std::memory_order_acquire);
  if (client == nullptr) return -1;
  vorn_qmi_unregister(client);
  m2m_client.store(nullptr, std::memory_order_release);
  std::free(client);
  vorn::m2m::clean_event_list();
  return 0;
}

VORNPAL_API int vorn_m2m_event_report_register(void) {
  if (!vorn::m2m::ready()) return -1;
  vorn_m2m_set_event_report_req_msg_v01 req{};
  for (auto &report : req.report) report = {1, 1};
  vorn_m2m_set_event_report_resp_msg_v01 resp;
  if (vorn::m2m::send<vorn::m2m::SetEventReport>(vorn::m2m::Guard::None, req, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "qmi_m2m_event_report_register fail\r\n");
    return -1;
  }
  return 0;
}

}  // extern "C"
