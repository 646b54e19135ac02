// Operations this platform does not have. Daemons call them all the same,
// so each answers with the fixed word they expect and touches nothing:
// 0 where "nothing to do" is an answer, -1 where the caller must not go
// on, VORN_NOT_SUPPORTED where it should say so to its own client.
#include <vornpal/network.h>

#define VORN_FIXED(name, result) \
  VORNPAL_API int name(void) { return result; }

extern "C" {

VORN_FIXED(vorn_network_pal_plmn_list, VORN_OK)
VORN_FIXED(vorn_network_5gnr_time_start, VORN_OK)
VORN_FIXED(vorn_network_5gnr_time_stop, VORN_OK)
VORN_FIXED(vorn_network_pal_get_network_basic_msg, VORN_OK)
VORN_FIXED(oem_network_pal_get_NrRssi, VORN_OK)
VORN_FIXED(vorn_network_pal_set_cdrx, VORN_OK)
VORN_FIXED(vorn_network_pal_get_cdrx, VORN_OK)
VORN_FIXED(vorn_network_pal_scan_dedicated, VORN_OK)
VORN_FIXED(vorn_network_pal_get_lte_cinr, VORN_OK)
VORN_FIXED(oem_network_pal_get_attach_info, VORN_OK)
VORN_FIXED(oem_network_pal_get_lte_cellinfo_extra, VORN_OK)
VORN_FIXED(oem_network_pal_get_nr_cellinfo_extra, VORN_OK)
VORN_FIXED(vorn_network_pal_get_nr_reg_info, VORN_OK)
VORN_FIXED(vorn_network_pal_rrc_conn_reason, VORN_OK)
VORN_FIXED(vorn_network_pal_get_currentupTime, VORN_OK)
VORN_FIXED(vorn_network_pal_set_radio_state, VORN_OK)
VORN_FIXED(oem_network_pal_thermal_cc_control_get, VORN_OK)
VORN_FIXED(oem_network_pal_thermal_cc_control_set, VORN_OK)

VORN_FIXED(vorn_network_pal_set_multi_cell_lock, -1)
VORN_FIXED(oem_get_pci_if_endc, -1)

VORN_FIXED(oem_network_pal_gtcelllockex_unlock, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_gtcelllockex_lock_del, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_get_celllockex, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_exec_cellscanex, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_get_gtcellscanex, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_set_gtcellscanex, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_exec_cellscan, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_set_gt5gnssai_fun, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_clear_gt5gnssai_fun, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_get_gt5gnssai_fun, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_set_nr_deprioritize, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_set_endc_en, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_network_pal_get_rejcause, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_gttasstate_pal, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_cusd_set_pal, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_cssn_set_pal, VORN_NOT_SUPPORTED)
VORN_FIXED(oem_cssn_get_pal, VORN_NOT_SUPPORTED)

}  // extern "C"
