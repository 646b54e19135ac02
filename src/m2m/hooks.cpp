// The family's event list and its registration functions.
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


}  // namespace vorn::m2m

extern "C" {

VORNPAL_API int vorn_m2m_pal_event_register(vorn_pal_event_callback callback, void *user_data) {
  return vorn_pal_event_register(&m2m_event_list, callback, user_data);
}

VORNPAL_API int vorn_m2m_pal_event_unregister(vorn_pal_event_callback callback) {
  return vorn_pal_event_unregister(&m2m_event_list, callback);
}

}  // extern "C"
