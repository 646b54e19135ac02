// Functions kept so that daemons link against one interface on every
// platform: each returns its fixed result and does nothing else.
#include <vornpal/usim.h>

extern "C" {

VORNPAL_API int oem_get_sim_status(void) { return 0; }
VORNPAL_API int oem_usim_pal_eid_get(void) { return 0; }
VORNPAL_API int oem_sende_at_cmd(void) { return 0; }

}  // extern "C"
