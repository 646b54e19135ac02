// Internal side of the QMI client frame.
#pragma once

#include <vornpal/platform/qmi_client.h>

namespace vorn::qmi {

enum class Service { Wds, Nas, Wms, Uim, Dms, Voice, Imss, Imsa, M2m };

// The service object of a service, from its accessor with the library's
// fixed versions and tool version 6. Null when the platform has none.
qmi_idl_service_object_type service_object(Service service);

// One attempt of the connection loop of the families that connect with
// qmi_client_init_instance (NAS, UIM, WMS, VOICE, IMSS, IMSA): the service
// object, then the connection to any instance (65535) waiting at most
// timeout_ms. A handle that a failing connection left behind is released and
// `handle` cleared. The family keeps its own loop around this (its tries,
// the second between them and the texts of each try), because those differ.
struct InstanceAttemptTexts {
  const char *function;           // the family's function, as its log lines name it
  const char *no_service_object;  // logged at level 3 when the accessor gives null
  const char *failed;             // logged at level 3 with the error code (one %d)
};
// QMI_NO_ERR, the connection's error code, or QMI_INTERNAL_ERR when the
// service object is missing.
int try_init_instance(Service service, qmi_client_ind_cb ind_cb, void *ind_cb_data,
                      unsigned timeout_ms, qmi_client_type &handle,
                      const InstanceAttemptTexts &texts);

}  // namespace vorn::qmi

// Indication callback of WDS clients, defined by the data family.
extern "C" void vorn_data_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id,
                                     void *ind_buf, unsigned int ind_buf_len,
                                     void *ind_cb_data);
