// Internal side of the QMI client frame.
#pragma once

#include <vornpal/platform/qmi_client.h>

namespace vorn::qmi {

enum class Service { Wds, Nas, Wms, Uim, Dms, Voice, Imss, Imsa, M2m };

// The service object of a service, from its accessor with the library's
// fixed versions and tool version 6. Null when the platform has none.
qmi_idl_service_object_type service_object(Service service);

}  // namespace vorn::qmi

// Indication callback of WDS clients, defined by the data family.
extern "C" void vorn_data_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id,
                                     void *ind_buf, unsigned int ind_buf_len,
                                     void *ind_cb_data);
