// The QMI client frame: registering clients, the WDS client loop and the
// classification of synchronous requests.
#include <cstdio>
#include <cstring>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/ip_multimedia_subsystem_application_v01.h>
#include <vornpal/platform/ip_multimedia_subsystem_settings_v01.h>
#include <vornpal/platform/network_access_service_v01.h>
#include <vornpal/platform/user_identity_module_v01.h>
#include <vornpal/platform/voice_service_v02.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornpal/platform/wireless_messaging_service_v01.h>
#include <vornpal/qmi.h>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "qmi/frame.h"

namespace {

constexpr int kPollMs = 1000;
constexpr int kWdsListTries = 20;
constexpr int kWdsInitTries = 10;
constexpr unsigned kWdsInitTimeoutMs = 10000;
constexpr int kTransports[] = {QMI_CLIENT_QMUX_RMNET_INSTANCE_0,
                               QMI_CLIENT_QMUX_RMNET_USB_INSTANCE_0,
                               QMI_CLIENT_QMUX_RMNET_SMUX_INSTANCE_0};

bool transports_registered = false;  // under the data family's client mutex

const char *rc_word(int rc) {
  switch (rc) {
    case QMI_TIMEOUT_ERR: return "Timeout";
    case QMI_SERVICE_ERR: return "Service";
    case QMI_INTERNAL_ERR: return "Internal";
    case QMI_NO_ERR: return "";
    default: return "x";
  }
}

bool incompatible_version(int rc) {
  return rc == QMI_IDL_LIB_MISSING_TLV || rc == QMI_IDL_LIB_INCOMPATIBLE_SERVICE_VERSION ||
         rc == QMI_IDL_LIB_UNRECOGNIZED_SERVICE_VERSION;
}

// Log texts of the two registering entries, which differ only in wording.
struct RegisterTexts {
  int level;
  const char *null_param;
  const char *notifier_failed;
  const char *list_failed;
};
constexpr RegisterTexts kM2mTexts{VORN_DBUG, "Error, param pointer is NULL.!\r\n",
                                  "Error, client notifier qmi.!\r\n",
                                  "Error, client get service list.!\r\n"};
constexpr RegisterTexts kOdmTexts{VORN_ERR, "Error, param pointer is NULL\r\n",
                                  "Error, client notifier qmi\r\n",
                                  "Error, client get service list.!\r\n"};

// Polls the service list until the service is up: without limit when
// wait_limit is 0, else at most wait_limit tries of 1 s. True when it is up.
bool wait_for_service(qmi_idl_service_object_type object, qmi_client_os_params &os_params,
                      unsigned wait_limit, unsigned &num_services) {
  for (unsigned tries = 0; wait_limit == 0 || tries < wait_limit; ++tries) {
    QMI_CCI_OS_SIGNAL_CLEAR(&os_params);
    if (qmi_client_get_service_list(object, nullptr, nullptr, &num_services) == QMI_NO_ERR)
      return true;
    qmi_cci_os_signal_wait(&os_params, wait_limit == 0 ? 0 : kPollMs);
  }
  return false;
}

int register_client(vorn_qmi_client *client, unsigned wait_limit, const RegisterTexts &texts) {
  if (client == nullptr || client->service_object == nullptr) {
    VORN_LOG(texts.level, "%s", texts.null_param);
    return -1;
  }
  qmi_client_os_params os_params{};
  qmi_client_type notifier = nullptr;
  int rc = qmi_client_notifier_init(client->service_object, &os_params, &notifier);
  if (rc != QMI_NO_ERR) {
    VORN_LOG(texts.level, "%s", texts.notifier_failed);
    return rc;
  }
  unsigned num_services = 0;
  if (!wait_for_service(client->service_object, os_params, wait_limit, num_services)) {
    VORN_LOG(VORN_ERR, "qmi_client_get_service_list time limit exceeded\n");
    qmi_client_release(notifier);
    return VORN_QMI_FAILURE;
  }
  qmi_service_info info[VORN_WDS_SERVICE_LIST_MAX] = {};
  unsigned num_entries = num_services < VORN_WDS_SERVICE_LIST_MAX ? num_services
                                                                   : VORN_WDS_SERVICE_LIST_MAX;
  rc = qmi_client_get_service_list(client->service_object, info, &num_entries, &num_services);
  if (rc != QMI_NO_ERR) {
    VORN_LOG(texts.level, "%s", texts.list_failed);
  } else {
    rc = qmi_client_init(&info[0], client->service_object, client->ind_cb, client->ind_cb_data,
                         &os_params, &client->handle);
  }
  qmi_client_release(notifier);
  return rc;
}

// First client of a WDS family: the service object and the service list.
int make_wds_service_list(wds_client_info *slot, wds_service_info *service) {
  std::memset(service->service_list, 0, sizeof service->service_list);
  service->num_services = 0;
  slot->handle = nullptr;
  unsigned num_entries = VORN_WDS_SERVICE_LIST_MAX;
  service->service_object = vorn::qmi::service_object(vorn::qmi::Service::Wds);
  uint32_t service_id = 0;
  if (service->service_object == nullptr) {
    VORN_LOG(VORN_ERR, "wds_service_obj failed\n");
    return -1;
  }
  qmi_idl_get_service_id(service->service_object, &service_id);
  int rc = qmi_client_notifier_init(service->service_object, &slot->os_params, &slot->notifier);
  if (rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "client notifier init failed(%d)\n", rc);
    return -1;
  }
  unsigned num_services = 0;
  for (int tries = 0;; ++tries) {
    if (tries == kWdsListTries) {
      VORN_LOG(VORN_ERR, "qmi_client_get_service_list time limit exceeded\n");
      qmi_client_release(slot->notifier);
      slot->notifier = nullptr;
      return -1;
    }
    QMI_CCI_OS_SIGNAL_CLEAR(&slot->os_params);
    rc = qmi_client_get_service_list(service->service_object, nullptr, nullptr, &num_services);
    VORN_LOG(VORN_DBUG, "qmi_client_get_service_list returned(%d) num_services=%d\n", rc,
             static_cast<int>(num_services));
    if (rc == QMI_NO_ERR) break;
    qmi_cci_os_signal_wait(&slot->os_params, kPollMs);
  }
  VORN_LOG(VORN_DBUG, "Release notifier\n");
  qmi_client_release(slot->notifier);
  slot->notifier = nullptr;
  rc = qmi_client_get_service_list(service->service_object, service->service_list,
                                   &num_entries, &num_services);
  service->num_services = num_services;
  VORN_LOG(VORN_DBUG, "qmi_client_get_service_list num_entries %d num_services=%d\n",
           static_cast<int>(num_entries), static_cast<int>(num_services));
  if (rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "qmi_client_get_service_list failed(%d)\n", rc);
    return -1;
  }
  return 0;
}

}  // namespace

namespace vorn::qmi {

struct ServiceVersion {
  qmi_idl_service_object_type (*accessor)(int32_t, int32_t, int32_t);
  int32_t major;
  int32_t minor;
};

qmi_idl_service_object_type service_object(Service service) {
  static constexpr ServiceVersion kVersions[] = {
      {wds_get_service_object_internal_v01, 1, 187},
      {nas_get_service_object_internal_v01, 1, 303},
      {wms_get_service_object_internal_v01, 1, 35},
      {uim_get_service_object_internal_v01, 1, 97},
      {dms_get_service_object_internal_v01, 1, 77},
      {voice_get_service_object_internal_v02, 2, 125},
      {imss_get_service_object_internal_v01, 1, 91},
      {imsa_get_service_object_internal_v01, 1, 44},
      {vorn_m2m_get_service_object_internal_v01, 1, 1},
  };
  const ServiceVersion &v = kVersions[static_cast<int>(service)];
  return v.accessor(v.major, v.minor, QMI_IDL_LIB_VERSION);
}

int try_init_instance(Service service, qmi_client_ind_cb ind_cb, void *ind_cb_data,
                      unsigned timeout_ms, qmi_client_type &handle,
                      const InstanceAttemptTexts &texts) {
  qmi_idl_service_object_type object = service_object(service);
  if (object == nullptr) {
    VORN_LOG_AS(texts.function, VORN_ERR, "%s", texts.no_service_object);
    return QMI_INTERNAL_ERR;
  }
  qmi_client_os_params os_params{};
  int rc = qmi_client_init_instance(object, VORN_QMI_ANY_INSTANCE, ind_cb, ind_cb_data,
                                    &os_params, timeout_ms, &handle);
  if (rc == QMI_NO_ERR) return rc;
  VORN_LOG_AS(texts.function, VORN_ERR, texts.failed, rc);
  // The library sets the handle for some failures: it is ours to release.
  if (handle != nullptr) {
    qmi_client_release(handle);
    handle = nullptr;
  }
  return rc;
}

}  // namespace vorn::qmi

extern "C" {

VORNPAL_API int vornQmi_CheckResponseCode(const char *name, int rc, int result, int error) {
  if (rc == QMI_NO_ERR && result == 0) {
    VORN_LOG(VORN_DBUG, "%s sent to Modem\n", name);
    return 0;
  }
  VORN_LOG(VORN_CRIT,
           "Sending %s failed: rc=%i (%s), resp.result=%i.[0x%02x], resp.error=%i.[0x%02x]\n",
           name, rc, rc_word(rc), result, result, error, error);
  if (incompatible_version(rc))
    VORN_LOG(VORN_CRIT, "Modem is running an incompatible version of client library!\n");
  return VORN_QMI_FAILURE;
}

VORNPAL_API int vorn_qmi_register(vorn_qmi_client *client, unsigned int wait_limit) {
  return register_client(client, wait_limit, kM2mTexts);
}

VORNPAL_API int vorn_odm_qmi_register(vorn_qmi_client *client) {
  return register_client(client, 0, kOdmTexts);
}

VORNPAL_API int vorn_qmi_unregister(vorn_qmi_client *client) {
  if (client == nullptr || client->handle == nullptr) return 0;
  qmi_client_release(client->handle);
  client->handle = nullptr;
  return 0;
}

VORNPAL_API int vornQmi_InitQmiService(wds_client_info *client_slot, wds_service_info *service) {
  if (client_slot == nullptr || service == nullptr) return -1;
  if (!transports_registered) {
    for (int transport : kTransports) qmi_cci_qmux_xport_register(transport);
    transports_registered = true;
  }
  if (service->service_object == nullptr && make_wds_service_list(client_slot, service) != 0)
    return -1;

  int rc = QMI_NO_ERR;
  for (int tries = 0; tries < kWdsInitTries; ++tries) {
    rc = qmi_client_init_instance(service->service_object, VORN_QMI_ANY_INSTANCE,
                                  vorn_data_qmi_ind_cb, nullptr, nullptr, kWdsInitTimeoutMs,
                                  &client_slot->handle);
    if (rc == QMI_NO_ERR) {
      VORN_LOG(VORN_DBUG, "Connection Initialized....User Handle:%p\n",
               static_cast<void *>(client_slot->handle));
      return 0;
    }
    VORN_LOG(VORN_ERR, "Error: connection not Initialized...Error Code:%d\n", rc);
    if (qmi_client_release(client_slot->handle) < 0) {
      VORN_LOG(VORN_ERR, "Release not successful\n");
    } else {
      VORN_LOG(VORN_DBUG, "Qmi client release successful\n");
    }
    client_slot->handle = nullptr;
    vorn::clk::sleep_us(1000000);
  }
  VORN_LOG(VORN_ERR, "data qmi client init failed, error code: %d.\n", rc);
  vorn::log::milestone(__func__, __LINE__, "data qmi inited ERROR");
  return 0;
}

VORNPAL_API void vornQmi_ReleaseService(qmi_client_type handle) {
  if (qmi_client_release(handle) < 0) VORN_LOG(VORN_ERR, "Release not successful\n");
}

VORNPAL_API void vorn_debug_print_buf(const uint8_t *buf, int len) {
  VORN_LOG(VORN_DBUG, "print_buf:len=%d\r\n", len);
  if (buf == nullptr || len < 1) return;
  char line[80];
  size_t used = 0;
  for (int i = 0; i < len; ++i) {
    used += std::snprintf(line + used, sizeof line - used, " 0x%02x ", buf[i]);
    if (i % 8 == 7 || i == len - 1) {
      VORN_LOG(VORN_DBUG, "%s\r\n", line);
      used = 0;
      line[0] = '\0';
    }
  }
}

}  // extern "C"
