// Indication callback of the data family's WDS clients. It runs on the QMI
// library's thread; the data family's event thread takes the work from here.
#include "foundation/log_site.h"
#include "qmi/frame.h"

extern "C" void vorn_data_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id,
                                     void *ind_buf, unsigned int ind_buf_len,
                                     void *ind_cb_data) {
  (void)ind_buf;
  (void)ind_cb_data;
  VORN_LOG(VORN_DBUG, "wds indication 0x%04x len %u on %p\n", msg_id, ind_buf_len,
           static_cast<void *>(user_handle));
}
