// Functions of the family that exist so that daemons link against one
// interface on every platform; they do nothing and return a constant.
#include <vornpal/device.h>

extern "C" {
VORNPAL_API int vorn_device_pal_get_changeip(void) { return VORN_OK; }
VORNPAL_API int vorn_device_pal_set_changeip(void) { return VORN_OK; }
VORNPAL_API int vorn_device_pal_get_ftm_mode(void) { return VORN_OK; }
VORNPAL_API int vorn_device_pal_set_ftm_mode(void) { return VORN_OK; }
VORNPAL_API int vorn_device_pal_get_gtchecknvback(void) { return VORN_OK; }
VORNPAL_API int vorn_device_pal_get_support_commands(void) { return VORN_OK; }
VORNPAL_API int vorn_device_pal_switch_port(void) { return VORN_OK; }
VORNPAL_API int vorn_get_pcba(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_get_basever(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_get_disppwm(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_set_disppwm(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_get_nvback_times(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_get_restore_times(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_get_sdkver(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_gtnvback_set(void) { return VORN_OK; }
VORNPAL_API int oem_device_pal_set_clkm_param(void) { return VORN_OK; }
VORNPAL_API int oem_gtappled_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtboardendc_get_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtboardendc_set_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtecc_get_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtecc_set_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtgdbon_pal_set_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtmdrxnum_get_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtphychip_get_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtprjname_get_handle(void) { return VORN_OK; }
VORNPAL_API int oem_gtprjname_set_handle(void) { return VORN_OK; }

VORNPAL_API int vorn_device_pal_get_cclk_time_info(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_set_cclk_time_info(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_get_hwid_func(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_get_manfid_func(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_get_memtype_func(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_get_timezone_report(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_set_timezone_report(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_hex_nvdata_dump(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_set_ltesar(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_set_sar_scenario(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_set_sar_txpower(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_tas_nvram_read(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int vorn_device_pal_tas_nvram_sync_write(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int oem_device_pal_get_rftx_fun(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int oem_device_pal_set_rftx_fun(void) { return VORN_NOT_SUPPORTED; }

}  // extern "C"
