/*
 * M2M family: the client of the module maker's own QMI service, the only
 * way to the modem's NV items and EFS files, and its identity, product and
 * setting queries.
 *
 * There is one client for the process. vorn_m2m_pal_init starts it (and
 * vorn_device_pal_init calls that), but no caller has to: the functions
 * marked "starts the client" below start it on first need, from any thread,
 * and wait for the modem to offer the service for as long as that takes.
 * Functions marked "needs the client" fail when it does not exist yet.
 *
 * Results (include/vornpal/defs.h): VORN_OK (0) for success, VORN_FAILURE
 * (-1) for failure, unless stated otherwise. Buffers
 * stay the caller's; texts are copied as by vorn_string_memcpy (a text that
 * fills its buffer has no terminator).
 */
#ifndef VORNPAL_M2M_H
#define VORNPAL_M2M_H

#include <vornpal/defs.h>
#include <vornpal/event.h>
#include <vornpal/network.h>

VORNPAL_BEGIN_DECLS

/* Largest path of an NV item or EFS file, in characters. */
#define VORN_M2M_PATH_MAX 128
/* Largest NV item or EFS file that one read or write carries, in bytes. */
#define VORN_M2M_ITEM_MAX 500
/* Largest NV item by number, in bytes. */
#define VORN_M2M_NVID_ITEM_MAX 128

/* ---- events --------------------------------------------------------------
 *
 * Posted to the callbacks of vorn_m2m_pal_event_register, on the QMI
 * library's thread; the data belongs to the library and is freed after the
 * last callback.
 */
enum {
  VORN_M2M_EVENT_RMNET = 0,       /* 2 bytes: rmnet instance (or 0), state */
  VORN_M2M_EVENT_REPORT1 = 1,     /* 12 bytes: the service's report, as it came */
  VORN_M2M_EVENT_WDS_PROFILE = 2, /* 1 byte: profile index */
  VORN_M2M_EVENT_NV_CHANGED = 3,  /* vorn_m2m_nv_cfg_report (42324 bytes) */
  VORN_M2M_EVENT_REPORT4 = 4,     /* 1 byte */
  VORN_M2M_EVENT_ATTACH = 5,      /* 1 byte: attach status */
  VORN_M2M_EVENT_REPORT6 = 6,     /* 1 byte */
  VORN_M2M_EVENT_DATACALL = 7,    /* 1 byte: data call status */
  VORN_M2M_EVENT_SCAN_CELLS = 8   /* vorn_m2m_scan_cell_record (2408 bytes) */
};

/* One changed NV item of event 3 (4232 bytes), and the whole report. */
typedef struct {
  uint32_t item_id;
  char item_file_path[128]; /* no terminator when it fills the field */
  uint32_t data_len;
  uint8_t data[4096];
} vorn_m2m_nv_cfg_item;

typedef struct {
  uint8_t item_count; /* at most 10 */
  vorn_m2m_nv_cfg_item item[10];
} vorn_m2m_nv_cfg_report;

/* One cell of event 8 (40 bytes), and the whole scan (2408 bytes). The
 * further fields are the service's, passed on unchanged. */
typedef struct {
  uint32_t rat;
  uint32_t cell_id;
  uint16_t pci;
  uint16_t mcc;
  uint16_t mnc;
  uint16_t further16[4];
  uint32_t further32[4];
} vorn_m2m_scan_cell_entry;

typedef struct {
  uint8_t cell_count; /* at most 60 */
  vorn_m2m_scan_cell_entry cell[60];
  uint32_t reserved;
} vorn_m2m_scan_cell_record;

/* ---- start and stop ------------------------------------------------------ */

/* Makes the client exist, waiting without limit for the service. 0 when it
 * exists on return, -1 otherwise. Concurrent callers wait for one start. */
VORNPAL_API int vorn_m2m_pal_early_init(void);
/* Starts the family; always 0 (a failed start is only logged). */
VORNPAL_API int vorn_m2m_pal_init(void);
/* Releases the client: 0, or -1 when there was none. Must not run beside
 * other calls of the family. A later call that starts the client brings it
 * back. */
VORNPAL_API int vorn_m2m_pal_deinit(void);
/* Asks the service for all its event reports; -1 without a client. */
VORNPAL_API int vorn_m2m_event_report_register(void);

/* Callbacks for the family's events; results of vorn_pal_event_register and
 * vorn_pal_event_unregister. */
VORNPAL_API int vorn_m2m_pal_event_register(vorn_pal_event_callback callback, void *user_data);
VORNPAL_API int vorn_m2m_pal_event_unregister(vorn_pal_event_callback callback);

/* ---- NV items and EFS files ---------------------------------------------- */

/*
 * Reads one item (starts the client). hex_text 1: `out` gets two uppercase
 * hexadecimal characters a byte (up to 1000), otherwise the raw bytes (up to
 * 500); no terminator either way, *out_len says how many. An item that
 * exists but is empty gives 0 with *out_len 0 and `out` untouched. -1 for a
 * NULL output, a path over 128 characters or a failed request.
 */
VORNPAL_API int vorn_m2m_pal_read_nv_by_path(const char *item_file_path, void *out,
                                             uint32_t *out_len, int hex_text);
/*
 * Writes one item of raw bytes (starts the client); len 0 writes an empty
 * item. A len over 500 is a programming error that aborts the process.
 */
VORNPAL_API int vorn_m2m_pal_write_nv_by_path(const char *item_file_path, const void *data,
                                              uint32_t len);
/*
 * Renames an EFS file (needs the client); a NULL path leaves its field
 * empty, a path of 128 characters or more aborts the process. Returns the
 * transport's code: a rename that the modem refused still gives 0.
 */
VORNPAL_API int vorn_m2m_pal_efs_rename(const char *old_path, const char *new_path);

/*
 * NV items by number. The two words go to the service as given. Reads (need
 * the client) give 0 also when the item holds nothing, with nothing written:
 * zero the buffer first. out_hex gets two characters a byte without a
 * terminator (up to 256); out gets the item as text (up to 128 bytes). The
 * write needs the client, refuses len 0, and aborts on a len over 128.
 */
VORNPAL_API int vorn_m2m_pal_read_nv_by_nvid(uint32_t word0, uint32_t word1, uint8_t *out_hex);
VORNPAL_API int vorn_m2m_pal_read_nvstr_by_nvid(uint32_t word0, uint32_t word1, char *out);
VORNPAL_API int vorn_m2m_pal_write_nv_by_nvid(uint32_t word0, uint32_t word1, const uint8_t *data,
                                              uint32_t len);

/* ---- identity and product ------------------------------------------------ */

/* Texts of the module (start the client). Buffers of at least 128 (maker),
 * 64 (hardware version, project name) and 32 (model) bytes. A NULL buffer
 * gives VORN_INVALID_PARAM for the first two, -1 for the others. */
VORNPAL_API int vorn_m2m_pal_get_manufacturer(char *manufacturer);
VORNPAL_API int vorn_m2m_pal_get_hw_version(char *hw_version);
VORNPAL_API int vorn_m2m_pal_get_model(char *model);
VORNPAL_API int vorn_m2m_pal_get_project_name(char *project_name);
/* Modem and EFS sub-versions, each at most 64 bytes (starts the client). */
VORNPAL_API int vorn_m2m_pal_get_sub_ver(char *modem, uint32_t modem_size, char *cefs,
                                         uint32_t cefs_size);
/* The modem's clock as "YYYY.MM.DD-hh:mm:ss" (starts the client);
 * VORN_INVALID_PARAM for NULL. */
VORNPAL_API int vorn_m2m_pal_get_cclk_time(char *text, uint32_t size);
/* Functionality level (start the client). */
VORNPAL_API int vorn_m2m_pal_get_cfun_mode(uint8_t *cfun);
VORNPAL_API int vorn_m2m_pal_set_cfun_mode(uint8_t cfun_mode);
/*
 * Factory serial number (start the client). get: copies at most `size`
 * bytes (the serial has at most 36) and keeps a copy in /tmp/cfsn;
 * VORN_INVALID_PARAM for NULL. set: VORN_INVALID_PARAM for NULL or len 0; a
 * len over 36 aborts the process.
 */
VORNPAL_API int vorn_m2m_pal_get_fsn(char *out, uint32_t size);
VORNPAL_API int vorn_m2m_pal_set_fsn(const char *text, uint32_t len);

/* ---- IMEI and serial storage --------------------------------------------- */

/*
 * The two IMEIs (start the client), buffers of 32 bytes. read: 0 also when
 * the modem holds none, with nothing written; an empty IMEI leaves its
 * buffer as it was. write: either text may be NULL, not both; a single
 * text fills both IMEIs, an empty one leaves its IMEI alone. A first IMEI
 * of 64 characters or more, or a second of 32 or more, aborts the process.
 */
VORNPAL_API int vorn_m2m_pal_read_imei(char *imei1, char *imei2);
VORNPAL_API int vorn_m2m_pal_write_imei(const char *imei1, const char *imei2);
/* The board's serial number (needs the client), at most 12 bytes; 0 with
 * nothing written when the modem holds none. */
VORNPAL_API int vorn_qmi_m2m_pal_get_sn(uint8_t *out, uint32_t *out_len);
/* Asks the modem to back up its device data (starts the client). */
VORNPAL_API int vorn_m2m_pal_backup_device_data(void);
/*
 * Copies the IMEIs and the serial number into /data/imei, /data/imei01 and
 * /data/cfsn, each with a second copy ending in "_bak", which
 * vorn_m2m_pal_init restores from when the modem lost a value (the first 32
 * bytes of a file; 31 of /data/imei01). Each file then holds exactly the new
 * value: it is written beside the file, flushed and renamed over it, so a
 * power cut leaves the old value or the new one whole. Runs as a thread when
 * the modem asks for a backup; returns NULL.
 */
VORNPAL_API void *vorn_thread_func_rfnv(void *arg);

/* ---- settings ------------------------------------------------------------ */

/* These need the client and return the transport's code: a setting that the
 * modem refused still gives 0. get_ue_mode stores only modes 0 to 3. */
VORNPAL_API int vorn_m2m_pal_set_ue_mode(uint8_t mode);
VORNPAL_API int vorn_m2m_pal_get_ue_mode(uint8_t *mode);
VORNPAL_API int vorn_m2m_pal_set_packet_report_event(uint32_t modem_val, uint32_t option_val);
VORNPAL_API int vorn_m2m_pal_get_packet_report_event(uint32_t *modem_val, uint32_t *option_val);
VORNPAL_API int vorn_m2m_pal_set_ipv6_format(const uint32_t format[4]);
VORNPAL_API int vorn_m2m_pal_get_ipv6_format(uint32_t format[4]);
/* Starts a cell scan; the cells come as an event. */
VORNPAL_API int vorn_m2m_pal_scan_cell(void);
/* As vorn_m2m_pal_scan_cell, starting the client first; -1 if that fails. */
VORNPAL_API int vorn_m2m_pal_scan_celllock(void);

/* These need the client. */
VORNPAL_API int vorn_m2m_pal_otalog_rm(void);
VORNPAL_API int vorn_m2m_pal_set_w_disable(uint8_t w_disable);
VORNPAL_API int vorn_m2m_pal_set_dhcpgw(uint8_t value);
/* Authentication mode text, buffer of at least 128 bytes. */
VORNPAL_API int vorn_m2m_pal_get_auth_mode(char *mode);
/* APN of a profile: VORN_INVALID_PARAM for a NULL apn or a negative
 * profile; an apn of 32 characters or more aborts the process. */
VORNPAL_API int vorn_m2m_pal_set_apn(int32_t profile_index, const char *apn);
/* SINR of the four antennas; a value over 250 reads as 0. VORN_INVALID_PARAM
 * for NULL. */
VORNPAL_API int vorn_m2m_pal_get_ant_sinr(uint32_t sinr[4]);

/* These start the client. */
VORNPAL_API int vorn_m2m_pal_set_wan_netmask(uint32_t first, uint32_t second);
VORNPAL_API int vorn_m2m_pal_get_wan_netmask(uint32_t *first, uint32_t *second);
VORNPAL_API int vorn_m2m_pal_get_profile_active(uint8_t profile_index, uint8_t *active);
VORNPAL_API int vorn_m2m_pal_get_rmnet_active(uint32_t *active);
VORNPAL_API int vorn_m2m_pal_get_uim_select(uint8_t *slot);
VORNPAL_API int vorn_m2m_pal_create_wds_profile(uint8_t profile_type, uint8_t profile_index);
VORNPAL_API int vorn_m2m_pal_get_current_act(uint8_t *act);
/* Thermal configuration 0, 1 or 2 copied into place; VORN_INVALID_PARAM for
 * another mode. */
VORNPAL_API int vorn_m2m_pal_set_thermal_mode(int mode);

/* ---- connection ---------------------------------------------------------- */

/*
 * Starts (action 1) or stops (0) the rmnet connection of a profile, 1 to
 * 42, and waits up to 5 s for the modem's report of the new state; without
 * one, the state the modem gives decides (a start that left another state
 * is stopped again). family and third are passed on when not 0. One caller
 * at a time: a concurrent action can take the other's report, which then
 * falls back to the state. 0 or -1.
 */
VORNPAL_API int vorn_m2m_rmnet_action(uint8_t action, uint8_t instance, int profile,
                                      uint8_t family, uint8_t third, int unused);
/* Connects a profile (pdp_type 0 IPv4, 1 IPv6, 2 both, IPv6 alone when
 * /tmp/ipv6_only exists): -1 when already connected or when the connection
 * is not up afterwards. Disconnect: -1 when not connected. */
VORNPAL_API int vorn_m2m_pal_connect(int profile, int pdp_type);
VORNPAL_API int vorn_m2m_pal_disconnect(int profile);

typedef struct {
  uint8_t valid;
  char text[65];
} m2m_ip_text_v4;

typedef struct {
  uint8_t valid;
  char text[129];
} m2m_ip_text_v6;

/* Addresses of an rmnet instance (592 bytes): the addresses as the modem
 * gives them, and two further values of each family as text. */
typedef struct {
  uint8_t ipv4_valid;
  char ipv4_addr[65];
  m2m_ip_text_v4 ipv4_second;
  m2m_ip_text_v4 ipv4_third;
  uint8_t ipv6_valid;
  char ipv6_addr[129];
  m2m_ip_text_v6 ipv6_second;
  m2m_ip_text_v6 ipv6_third;
  uint32_t instance;
} m2m_ip_info;

/* Fills the whole record (starts the client). */
VORNPAL_API int vorn_m2m_pal_get_ip(uint8_t instance, m2m_ip_info *out);

#define VORN_M2M_DNS_TEXT_SIZE 64
/* DNS servers as text, buffers of 64 bytes (starts the client); -1 also
 * when the modem has none. */
VORNPAL_API int vorn_m2m_pal_get_dnscfg(char *primary, char *secondary);

/* Traffic counters of the connection. */
typedef struct {
  uint32_t dl_rate;
  uint32_t ul_rate;
  uint64_t dl_bytes;
  uint64_t ul_bytes;
  uint32_t dl_state;
  uint32_t ul_state;
  uint64_t dl_max_speed;
  uint64_t ul_max_speed;
} vorn_m2m_statis;

VORNPAL_API int vorn_m2m_pal_get_statis_cfg(vorn_m2m_statis *statis);

/*
 * Regional RF calibration and band filter: mode 1 the "IC" set, any other
 * the "FCC" set. Both items are moved aside and replaced; the result is the
 * negative count of failed copies. get: the mode last switched to, -1 when
 * none was.
 */
VORNPAL_API int vorn_m2m_pal_set_switchmode(int mode);
VORNPAL_API int vorn_m2m_pal_get_switchmode(int *mode);

/* Routing behind the device (source address on QoS filters): on or off,
 * kept in /data across restarts. */
VORNPAL_API int vorn_m2m_pal_enable_routing_behind(int enable);
VORNPAL_API int vorn_m2m_pal_read_routing_behind(int *value);

/* Acknowledgement of a received SMS, with an optional PDU. */
#define VORN_M2M_SMS_ACK_PDU_MAX 255
typedef struct {
  uint32_t transaction_id;
  uint32_t message_protocol;
  uint32_t failure_cause;
  uint8_t success;
  uint8_t sms_on_ims;
  uint8_t pdu_valid;     /* the PDU goes out only when both flags are set */
  uint8_t pdu_len_valid;
  uint32_t pdu_len;      /* above 255 gives VORN_INVALID_PARAM */
  uint8_t pdu[VORN_M2M_SMS_ACK_PDU_MAX];
} vorn_m2m_sms_ack;

/* Needs the client. 0; VORN_INVALID_PARAM for a PDU too long; -1 when the
 * modem refused or could not be reached, or for NULL. */
VORNPAL_API int vorn_m2m_send_sms_pdu_ack(const vorn_m2m_sms_ack *ack);

/* ---- radio ----------------------------------------------------------------
 *
 * These fill the vendor service's part of the Network family's records; the
 * rest of each record is left as it was. A NULL record gives -1.
 */

/* Carrier aggregation (starts the client): the primary carrier, and up to
 * ten secondary carriers with scc_count. */
VORNPAL_API int vorn_m2m_pal_get_cainfo(vorn_network_info *info);
/* Link quality (starts the client), by info->access_tech: LTE the lte_
 * values, ENDC the lte_ and the nsa_nr_ values, NR the nr_ values, any other
 * radio none. 0 with nothing filled when the modem has no values. The first
 * argument is not used. */
VORNPAL_API int vorn_m2m_pal_get_cell_sig_info(int unused, vorn_network_info *info);
/* GSM neighbour details (needs the client); 0 with nothing filled when the
 * modem has none. */
VORNPAL_API int vorn_m2m_pal_get_cell_info_ext(vorn_network_info *info);
/* NR cell lock through the vendor service (needs the client). set: with rat
 * VORN_NETWORK_LOCK_RAT_NR and enable 1 the modem locks to the nr_count
 * cells (earfcn and pci); any other record unlocks. get: nr_count and each
 * cell's earfcn and pci, nr_count 0 when the modem holds no lock. */
VORNPAL_API int vorn_m2m_pal_set_cell_lock_ext_info(const vorn_network_freqlock_info *info);
VORNPAL_API int vorn_m2m_pal_get_cell_lock_ext_info(vorn_network_freqlock_info *info);

/* ---- fixed results ------------------------------------------------------- */

/* Always 0; no argument is touched. */
VORNPAL_API int vorn_m2m_pal_common_request(int request_code, const void *input,
                                            uint32_t input_len, void *output);
VORNPAL_API int vorn_m2m_pal_sn_imei_sync(void);
VORNPAL_API int vorn_m2m_pal_write2raw(void);

VORNPAL_END_DECLS

#endif
