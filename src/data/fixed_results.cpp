// Functions that daemons call on every platform but that this one has no
// use for: each answers as the daemons expect and touches no argument.
#include <vornpal/data.h>

extern "C" {

VORNPAL_API int vorn_data_pal_set_data_loopback(int) { return VORN_FAILURE; }
VORNPAL_API int vorn_data_pal_get_data_loopback(int *) { return VORN_FAILURE; }
VORNPAL_API int vorn_data_pal_get_pdu_detail_info(int, void *) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_set_ippass_mode(int) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_get_ippass_mode(int *) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_set_odhcpd_relay(int) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_set_odhcpd_server(int) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_add_v6_brlan_prefix(const char *) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_del_v6_brlan_prefix(const char *) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_restart_rdnis(void) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_update_odhcpd_setting(void) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_oper_traffic_info(int, void *) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_get_traffic_info_by_profile(int, void *) { return VORN_OK; }
VORNPAL_API int vorn_data_pal_support_odhcpd(void) { return VORN_OK; }
// The modem is always reported up: the daemons' own checks follow the calls.
VORNPAL_API int vorn_data_pal_get_modem_state(void) { return 1; }

}  // extern "C"
