// The family's event list and the hooks that later parts of the family fill
// in: the decoding of indications and the restore of the device's identity
// at the end of every vorn_m2m_pal_init. Until then the family works without
// indications and restores nothing.
#include <vornpal/event.h>
#include <vornpal/m2m.h>

#include "foundation/log_site.h"
#include "m2m/client.h"

namespace {

// Usable while still zeroed: an indication may post before the first
// vorn_m2m_pal_init, which initialises it.
list_type m2m_event_list;

}  // namespace

namespace vorn::m2m {

list_type *event_list() { return &m2m_event_list; }
void init_event_list() { list_init(&m2m_event_list); }
void clean_event_list() { vorn_pal_clean_event_list(&m2m_event_list); }

void restore_identity() {}

}  // namespace vorn::m2m

extern "C" {

VORNPAL_API int vorn_m2m_pal_event_register(vorn_pal_event_callback callback, void *user_data) {
  return vorn_pal_event_register(&m2m_event_list, callback, user_data);
}

VORNPAL_API int vorn_m2m_pal_event_unregister(vorn_pal_event_callback callback) {
  return vorn_pal_event_unregister(&m2m_event_list, callback);
}

void vorn_qmi_m2m_ind_handler(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                              unsigned int ind_buf_len, void *ind_cb_data) {
  (void)user_handle;
  (void)ind_buf;
  (void)ind_cb_data;
  VORN_LOG(VORN_DBUG, "receive msg_id=%d, size=%d\n", static_cast<int>(msg_id),
           static_cast<int>(ind_buf_len));
}

}  // extern "C"
