/*
 * Device family: what the device is (revision, serial numbers, model,
 * maker, phone number, band capabilities, product name) and what the whole
 * device does (operating mode, reboot, download modes, factory restore and
 * the small switches beside them).
 *
 * The family owns one client of the DMS service; identity texts that the
 * modem keeps in the vendor service come through the M2M family, which
 * vorn_device_pal_init starts. Several answers leave a copy under /tmp for
 * the other programs of the device: /tmp/imei, /tmp/imei_svn, /tmp/revid,
 * /tmp/cfsn and /tmp/vorn_project_name.
 *
 * Queries open DMS again when the client is missing, and block the calling
 * thread for up to 5 s. Results (include/vornpal/defs.h): VORN_OK (0) for
 * success, VORN_FAILURE (-1) for failure, VORN_INVALID_PARAM for an invalid
 * parameter, unless stated otherwise. Buffers stay the caller's.
 */
#ifndef VORNPAL_DEVICE_H
#define VORNPAL_DEVICE_H

#include <vornpal/defs.h>
#include <vornpal/event.h>

VORNPAL_BEGIN_DECLS

#define VORN_DEVICE_IMEI_SIZE 33
#define VORN_DEVICE_SVN_SIZE 3
#define VORN_DEVICE_PRODUCT_NAME_SIZE 64

/* Event of the family: the modem's operating mode changed. The data is a
 * uint32_t with the new mode (size 4), or null (size 0) when the report
 * came without one. */
#define VORN_DEVICE_EVENT_OPERATING_MODE 1

/* Bands the modem supports (104 bytes). Bit n-1 of lte_band_mask, taken as
 * one 256-bit array, is LTE band n (bands 128, 192 and 256 have no bit). */
typedef struct {
  uint64_t umts_band_mask;
  uint64_t lte_band_mask[4];
  uint64_t reserved[8]; /* zero */
} vorn_device_band_capabilities;

/* Everything vorn_device_pal_data_get collects; the gaps are not written. */
typedef struct {
  char revid[33];
  char gap0[33];
  char fsn[33];
  char mfr[65];
  char model[33];
  char gap1[33];
  char imei[VORN_DEVICE_IMEI_SIZE];
  char imei_svn[VORN_DEVICE_SVN_SIZE];
  uint32_t operating_mode;
  uint32_t valid; /* 1 after vorn_device_pal_data_get */
} device_data;

/* ---- start, stop and events ---------------------------------------------- */

/* Opens DMS (waiting for the service without limit), starts the M2M family
 * and hooks the operating-mode indications. 0, or -1 when DMS cannot be
 * opened. */
VORNPAL_API int vorn_device_pal_init(void);
/* Releases the client and every registered callback; 0. */
VORNPAL_API int vorn_device_pal_deinit(void);
VORNPAL_API int vorn_device_pal_exit(void);
/* Callbacks run on the QMI library's thread. register: -1 for a null
 * handler; unregister removes the oldest registration of handler, 0 also
 * when there is none, -1 for null. */
VORNPAL_API int vorn_device_pal_event_register(vorn_pal_event_callback handler, void *context);
VORNPAL_API int vorn_device_pal_event_unregister(vorn_pal_event_callback handler);

/* ---- identity ------------------------------------------------------------ */

/* IMEI (33 bytes) followed by its software version number (3 bytes, two
 * decimal digits): 36 bytes. Without an SVN from the modem the last two
 * characters of the revision after its last "." stand in. Writes /tmp/imei
 * and /tmp/imei_svn. */
VORNPAL_API int vorn_device_pal_get_dev_ser_num(char *imei_and_svn);
/* Stores the IMEI (both of the modem's IMEIs, through M2M): the write's
 * result, VORN_FILE_WRITE_FAILED when it failed, -1 for null. */
VORNPAL_API int vorn_device_pal_set_dev_ser_num(const char *imei);
/* Firmware revision, at most size - 1 characters; writes /tmp/revid. */
VORNPAL_API int vorn_device_pal_get_revid(char *revid, uint32_t size);
/* Factory serial number (through M2M), at most size bytes; writes
 * /tmp/cfsn. */
VORNPAL_API int vorn_device_pal_get_fsn(char *fsn, uint32_t size);
/* Stores the factory serial number over DMS: at most 36 bytes of text go to
 * the modem. VORN_INVALID_PARAM for null or an empty text. */
VORNPAL_API int vorn_device_pal_set_fsn(const char *fsn, uint32_t length);
/* Maker and model (through M2M), at most size bytes. */
VORNPAL_API int vorn_device_pal_get_mfr(char *mfr, uint32_t size);
VORNPAL_API int vorn_device_pal_get_model(char *model, uint32_t size);
/* Phone number, at most size - 1 characters (the name is the interface's). */
VORNPAL_API int vorn_deivce_pal_get_msisdn(char *msisdn, uint32_t size);
/* Hardware version through M2M (at least 64 bytes) or over DMS (the text
 * with the length the modem gives, at most 64 bytes). */
VORNPAL_API int vorn_device_pal_get_hw_version(char *hw_version);
VORNPAL_API int vorn_qmi_dms_get_hw_version(char *hw_version);
/* Refreshes the cached capabilities from the modem (a failure keeps the
 * last ones) and copies them; always 0. */
VORNPAL_API int vorn_device_pal_get_band_capabilities(vorn_device_band_capabilities *caps);
/* Product name "A-B-C-D" from /tmp/vorn_project_name or from M2M, at most
 * size bytes: an empty third part stays an empty field, a last part "00"
 * is dropped. */
VORNPAL_API int vorn_device_pal_get_product_description(char *description, uint32_t size);
/* The first part of the product name (buffer of 64 bytes). */
VORNPAL_API int vorn_device_pal_get_product_prefix_description(char *prefix);
/* MAC address of "eth1" as "xx:xx:xx:xx:xx:xx" (18 bytes); the ioctl's
 * result when there is no such interface. */
VORNPAL_API int vorn_device_pal_get_wan_hw_addr(char *address);
/* Only logs; VORN_INVALID_PARAM for null. */
VORNPAL_API int vorn_device_pal_set_factory_num(int type, const char *info);
/* Fills every field it can; a failing query only logs. Always 0. */
VORNPAL_API int vorn_device_pal_data_get(device_data *data);

/* ---- operation ----------------------------------------------------------- */

/* Operating mode of the modem, 0 to 9 (their meaning is the DMS service's).
 * set: -1 for a mode above 9 or a failed request; a mode that the modem
 * refuses still gives 0. get: a refusal leaves *mode as it was, with 0. */
VORNPAL_API int vorn_device_pal_set_operating_mode(uint32_t mode);
VORNPAL_API int vorn_device_pal_get_operating_mode(uint32_t *mode);
/* Functionality level (CFUN) through M2M; setting the level in force sends
 * nothing. */
VORNPAL_API int vorn_device_pal_set_device_oprt_state(uint32_t cfun);
VORNPAL_API int vorn_device_pal_get_device_oprt_state(uint8_t *cfun);
/* Reboots: low-power mode, USB port down, then "sys_reboot" from a thread
 * after 0.5 s. Returns 0 at once. */
VORNPAL_API int vorn_device_pal_reset(void);
/* Restores the modem's file system with odm_upgrader when it is installed;
 * always 0. */
VORNPAL_API int vorn_device_pal_restore_factory_setting(void);
/* Restarts into "edl", "recovery" or "fastboot"; a leading part of a name
 * selects it. VORN_INVALID_PARAM for a name that matches none. */
VORNPAL_API int vorn_device_pal_set_gtdlmode(const char *mode);
/* Download mode on panic; the result of the sysfs write. */
VORNPAL_API int vorn_device_pal_set_dumpen(int value);
/* Diag port switch, written into the FIFO /tmp/diagen.fifo (made when
 * missing); blocks until the reader of the FIFO opens it. */
VORNPAL_API int vorn_device_pal_set_diagen(int value);
/* adb lock: null removes /data/adbdlock, any other pointer makes it. 0. */
VORNPAL_API int vorn_device_pal_set_adben(const int *enable);
/* RF clock 3 on (non-zero) or off; its state as 1 or 0. */
VORNPAL_API int vorn_device_pal_set_rfclk3(uint32_t on);
VORNPAL_API int vorn_device_pal_get_rfclk_value(uint32_t *on);
/* Asks the modem to back up its device data (through M2M). */
VORNPAL_API int vorn_device_pal_backup_device_data(void);
/* Hardware revision of the RF board, up to 128 bytes. */
VORNPAL_API int vorn_read_gtrfhwver_func(char *out);
/* Writes text to path (created, truncated, synchronous) when length is its
 * length. */
VORNPAL_API void vorn_device_pal_ftestmode_clear_writen(const char *path, const char *text,
                                                        uint32_t length);
/* 0 when /dev/mmcblk0 exists, 1 otherwise; sets nothing. */
VORNPAL_API int vorn_device_pal_set_gtsd(void);
/* Unbinds and binds the SD host controller again; 0. */
VORNPAL_API int vorn_device_pal_rebind_mmc(void);
/* The modem keeps the time from the network itself: VORN_NOT_SUPPORTED. */
VORNPAL_API int vorn_device_pal_set_nitz_update(void);
VORNPAL_API int vorn_device_pal_get_nitz_update(void);

/* ---- MIMO and CLAT ------------------------------------------------------- */

/*
 * MIMO: an EFS item, present, limits the modem's layers; absent, the modem
 * uses all four. Switching moves the item to and from a backup name
 * ("..._bk"). kind "LTE" (any case) selects the LTE item, any other text
 * the NR item. The modem takes a changed item into use when it sees fit.
 */
#define VORN_DEVICE_MIMO_TEXT_SIZE 512

/* 1 (full MIMO: no item, or it could not be read) or 0 (limited) for LTE
 * and for NR; a null pointer is skipped. Always 0. */
VORNPAL_API int vorn_device_pal_get_mimo_nv(uint32_t *lte, uint32_t *sa);
/* The kind's item as upper-case hexadecimal text (VORN_DEVICE_MIMO_TEXT_SIZE
 * bytes, terminated; a longer item is cut). 0, or 3 when it cannot be read
 * or an argument is null. */
VORNPAL_API int vorn_device_pal_read_mimo_nv(const char *kind, char *out);
/* Limits MIMO: writes the kind's item from its backup, which stays. -1 when
 * the item is already there, 3 when the backup cannot be read or the write
 * fails (nothing changed then). */
VORNPAL_API int vorn_device_pal_set_2mimo(const char *kind);
/* Lifts the limit: renames the kind's item to its backup name, replacing an
 * older backup. -1 when there is no item or the rename could not be sent. A
 * rename that the modem refused still gives 0 (the item stays). */
VORNPAL_API int vorn_device_pal_rename_4mimo(const char *kind);

/* CLAT (464XLAT): the byte at index 1 of the modem's CLAT configuration
 * item. read: 0, 3 when the item cannot be read or enable is null. write:
 * a value equal to the byte in force gives -1 with nothing written;
 * otherwise the byte is flipped (0 becomes 1, anything else 0), whatever
 * the value given, and the item written back: 0, or 3 when the read or the
 * write fails. The other bytes of the item stay as they are. */
VORNPAL_API int vorn_device_pal_xlat_read(uint8_t *enable);
VORNPAL_API int vorn_device_pal_xlat_write(uint32_t enable);

/* ---- battery, charger and MAC addresses ------------------------------------ */

/*
 * The raw text of a power-supply node of sysfs (e.g. "3800000\n"), one read
 * of at most size bytes, not terminated: clear the buffer first. 0; -1 for
 * a null buffer or a failed read; 4 when the node cannot be opened.
 *   battery voltage (uV), temperature (0.1 degC), charge (%),
 *   charger online (0/1), charge status ("Charging", ...), charger model,
 *   charger present (0/1)
 */
VORNPAL_API int vorn_pal_get_battery_vol(uint8_t *buffer, uint32_t size);
VORNPAL_API int vorn_pal_get_battery_temp(uint8_t *buffer, uint32_t size);
VORNPAL_API int vorn_pal_get_battery_vol_percent(uint8_t *buffer, uint32_t size);
VORNPAL_API int vorn_pal_get_charger_online(uint8_t *buffer, uint32_t size);
VORNPAL_API int vorn_pal_get_charge_status(uint8_t *buffer, uint32_t size);
VORNPAL_API int vorn_pal_get_charger_model_name(uint8_t *buffer, uint32_t size);
VORNPAL_API int vorn_pal_ftm_charge_state(uint8_t *buffer, uint32_t size);

/*
 * MAC addresses kept by the modem as raw bytes (usually 6): Ethernet and
 * Bluetooth. get copies the smaller of size and the item's length; set
 * stores length bytes (at most 500). 0; -1 for a null pointer; 7 when the
 * modem could not be read or written.
 */
VORNPAL_API int vorn_device_pal_get_mac_addr(uint8_t *out, uint32_t size);
VORNPAL_API int vorn_device_pal_set_mac_addr(const uint8_t *data, uint32_t length);
VORNPAL_API int vorn_device_pal_get_bt_mac_addr(uint8_t *out, uint32_t size);
VORNPAL_API int vorn_device_pal_set_bt_mac_addr(const uint8_t *data, uint32_t length);

/*
 * Wi-Fi MAC addresses: mac0 and mac1 are 12 hexadecimal digits each
 * ("00A0C6112233"). They are written to /persist/wlan_mac.bin for the Wi-Fi
 * driver and read back from its firmware copy: each text then holds the
 * first two characters read back (4 bytes are rewritten). mix (12 bytes)
 * gets, for each digit position, (mac0 digit << 4) + mac1 digit + 1.
 * 0; -1 for one text, -2 for both, holding a character that is no
 * hexadecimal digit (nothing is written then); -1 for a null pointer.
 */
VORNPAL_API int vorn_device_pal_analysis_wifi_mac(char *mac0, char *mac1, uint8_t *mix);

/* ---- fixed results ------------------------------------------------------- */

/* Present so that callers link on every platform; they do nothing. */
VORNPAL_API int vorn_device_pal_get_changeip(void);
VORNPAL_API int vorn_device_pal_set_changeip(void);
VORNPAL_API int vorn_device_pal_get_ftm_mode(void);
VORNPAL_API int vorn_device_pal_set_ftm_mode(void);
VORNPAL_API int vorn_device_pal_get_gtchecknvback(void);
VORNPAL_API int vorn_device_pal_get_support_commands(void);
VORNPAL_API int vorn_device_pal_switch_port(void);
VORNPAL_API int vorn_get_pcba(void);
VORNPAL_API int oem_device_pal_get_basever(void);
VORNPAL_API int oem_device_pal_get_disppwm(void);
VORNPAL_API int oem_device_pal_set_disppwm(void);
VORNPAL_API int oem_device_pal_get_nvback_times(void);
VORNPAL_API int oem_device_pal_get_restore_times(void);
VORNPAL_API int oem_device_pal_get_sdkver(void);
VORNPAL_API int oem_device_pal_gtnvback_set(void);
VORNPAL_API int oem_device_pal_set_clkm_param(void);
VORNPAL_API int oem_gtappled_handle(void);
VORNPAL_API int oem_gtboardendc_get_handle(void);
VORNPAL_API int oem_gtboardendc_set_handle(void);
VORNPAL_API int oem_gtecc_get_handle(void);
VORNPAL_API int oem_gtecc_set_handle(void);
VORNPAL_API int oem_gtgdbon_pal_set_handle(void);
VORNPAL_API int oem_gtmdrxnum_get_handle(void);
VORNPAL_API int oem_gtphychip_get_handle(void);
VORNPAL_API int oem_gtprjname_get_handle(void);
VORNPAL_API int oem_gtprjname_set_handle(void);

/* Not supported on this platform: VORN_NOT_SUPPORTED. */
VORNPAL_API int vorn_device_pal_get_cclk_time_info(void);
VORNPAL_API int vorn_device_pal_set_cclk_time_info(void);
VORNPAL_API int vorn_device_pal_get_hwid_func(void);
VORNPAL_API int vorn_device_pal_get_manfid_func(void);
VORNPAL_API int vorn_device_pal_get_memtype_func(void);
VORNPAL_API int vorn_device_pal_get_timezone_report(void);
VORNPAL_API int vorn_device_pal_set_timezone_report(void);
VORNPAL_API int vorn_device_pal_hex_nvdata_dump(void);
VORNPAL_API int vorn_device_pal_set_ltesar(void);
VORNPAL_API int vorn_device_pal_set_sar_scenario(void);
VORNPAL_API int vorn_device_pal_set_sar_txpower(void);
VORNPAL_API int vorn_device_pal_tas_nvram_read(void);
VORNPAL_API int vorn_device_pal_tas_nvram_sync_write(void);
VORNPAL_API int oem_device_pal_get_rftx_fun(void);
VORNPAL_API int oem_device_pal_set_rftx_fun(void);

VORNPAL_END_DECLS

#endif
