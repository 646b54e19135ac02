/*
 * USIM family: the SIM card and its slots, the card's files, PIN and PUK,
 * logical channels with APDUs, dual SIM, and the profiles of an eUICC.
 *
 * The family owns one client of the modem's UIM service. Nothing about the
 * card is cached: every query asks the modem, and the modem's reports reach
 * the registered callbacks as events. Queries block the calling thread for
 * up to 3 s (5 s for the eUICC, 10 s for an APDU).
 *
 * Results (include/vornpal/defs.h): VORN_OK (0) for success, VORN_FAILURE
 * (-1) for failure, VORN_INVALID_PARAM (3) for a null pointer or a value of
 * the wrong form, unless stated otherwise. Buffers stay the caller's.
 */
#ifndef VORNPAL_USIM_H
#define VORNPAL_USIM_H

#include <vornpal/defs.h>
#include <vornpal/event.h>

VORNPAL_BEGIN_DECLS

/* ---- records ----------------------------------------------------------------- */

/* One physical slot (72 bytes): the modem's slot state (0 inactive, 1
 * active), card status (0 unknown, 1 absent, 2 present) and the card's
 * ICCID as text, the digits in reading order, a filler nibble as "F". */
typedef struct {
  int32_t physical_slot_state;
  int32_t physical_card_status;
  char iccid[64];
} usim_physical_slot;

/* The physical slots (216 bytes, the data of E_oem_USIM_EVENT_SLOT_STATUS_CHANGE).
 * slot_num: slots reported, at most 2. active_slot_idx: the active slot;
 * when every reported slot claims to be active, slot 1 if its card is
 * present, otherwise 0. slot_urc: the two "+GTSLOTSTATUS: n,state,status"
 * lines for the AT layer, always both slots. */
typedef struct {
  int32_t slot_num;
  int32_t active_slot_idx;
  usim_physical_slot slots[2];
  char slot_urc[64];
} usim_slot_record;

/* PIN1 of the card's USIM application (20 bytes). pin_state: 0 unknown, 1
 * enabled and not verified, 2 enabled and verified, 3 disabled, 4 blocked
 * (PUK needed), 5 permanently blocked. */
typedef struct {
  int32_t pin_state;
  int32_t pin_remain_times;
  int32_t puk_remain_times;
  int32_t pin2_remain_times;
  int32_t puk2_remain_times;
} usim_pinlock_info;

/* Card states, in usim_state_record.card_state and in the status event. */
enum {
  E_oem_USIM_APP_STATE_ABSENT = 0,   /* no card, or a card in error */
  E_oem_USIM_APP_STATE_DETECTED = 1,
  E_oem_USIM_APP_STATE_PIN = 2,      /* PIN required */
  E_oem_USIM_APP_STATE_PUK = 3,      /* PUK required */
  E_oem_USIM_APP_STATE_BLOCKED = 5,  /* PIN permanently blocked */
  E_oem_USIM_APP_STATE_READY = 7
};

/* What vorn_usim_pal_get_usim_state reports (244 bytes). card_type: the
 * application type (1 SIM, 2 USIM, up to 5), -1 when unknown; without a
 * card it has no meaning: look at card_state first. */
typedef struct {
  usim_slot_record slot_info;
  int32_t card_type;
  int32_t card_state;
  usim_pinlock_info pinlock;
} usim_state_record;

/* The data of E_oem_USIM_EVENT_USIM_STATUS_CHANGE (12 bytes): the
 * application's state as the modem reports it (so 6 stays 6 here, where a
 * query says 7), and the first card's state and error code. */
typedef struct {
  uint32_t usim_state;
  uint32_t card_state;
  uint32_t error_code;
} usim_status_payload;

/* ---- events ------------------------------------------------------------------ */

/*
 * Callbacks run on the QMI library's thread, one after another, with a data
 * block that is valid only during the call; registering while the card is
 * ready also raises event 1 at once on the registering thread, to every
 * callback.
 *   1 card status: usim_status_payload, 12 bytes
 *   2 slot status: usim_slot_record, 216 bytes
 *   3 eSIM download: a uint32_t, 1 when a download finished without an
 *     error cause, 0 for progress and failure alike (4 bytes)
 *   4 APDU piece: no data (size 1036); a waiting vorn_usim_pal_send_apdu
 *     picks the response up itself
 */
enum {
  E_oem_USIM_EVENT_USIM_STATUS_CHANGE = 1,
  E_oem_USIM_EVENT_SLOT_STATUS_CHANGE = 2,
  E_oem_USIM_EVENT_ADD_PROFILE = 3,
  E_oem_USIM_EVENT_SEND_APDU = 4
};

typedef vorn_pal_event_callback usim_event_callback;

/* ---- start, state, events ------------------------------------------------------ */

/* Connects to the UIM service (10 tries, 1 s apart), reads the dual-SIM
 * setting and asks for card and slot reports. 0 or -1. */
VORNPAL_API int vorn_usim_pal_init(void);
/* 0; the client stays (a later init finds it). */
VORNPAL_API int vorn_usim_pal_deinit(void);
/* 0; 3 for a null callback; 1 when out of memory. */
VORNPAL_API int vorn_usim_pal_event_register(usim_event_callback callback, void *user_data);
/* 0, also for a callback that was not registered; -1 for null. */
VORNPAL_API int vorn_usim_pal_event_unregister(usim_event_callback callback);
/* Slots, card type and state of the active slot, then its PIN record. A
 * failure of the card part still fills the PIN part when it can; the
 * result is then that of the last failing step. */
VORNPAL_API int vorn_usim_pal_get_usim_state(usim_state_record *out);
/* The "+GTSLOTSTATUS" lines: len bytes of usim_slot_record.slot_urc. */
VORNPAL_API int vorn_get_slot_status(char *out, uint32_t len);

/* ---- files ----------------------------------------------------------------------- */

/* What vorn_usim_pal_get_usim_info reads. */
enum {
  E_OEM_USIM_SIMINFO_TYPE_ICCID = 1,
  E_OEM_USIM_SIMINFO_TYPE_IMSI = 2,
  E_OEM_USIM_SIMINFO_TYPE_PLMN = 3,
  E_OEM_USIM_SIMINFO_TYPE_MSISDN = 4,
  E_OEM_USIM_SIMINFO_TYPE_SPN = 5,
  E_OEM_USIM_SIMINFO_TYPE_LANGUAGE = 6,
  E_OEM_USIM_SIMINFO_TYPE_AD = 7,
  E_OEM_USIM_SIMINFO_TYPE_UST = 8,
  E_OEM_USIM_SIMINFO_TYPE_GID1 = 9,
  E_OEM_USIM_SIMINFO_TYPE_GID2 = 10,
  E_OEM_USIM_SIMINFO_TYPE_PNN = 11,
  E_OEM_USIM_SIMINFO_TYPE_ALL = 17
};

/* The card's files as the framework shows them (432 bytes). */
typedef struct {
  char plmn[16];     /* first 5 IMSI digits, 6 when ad[3] is 3 */
  char imsi[32];
  char iccid[32];    /* digits in reading order, filler as "F" */
  char msisdn[128];
  char spn[64];      /* the card's bytes, not converted; 0xFF becomes 0 */
  uint8_t ad[64];    /* administrative data as read; ad[3] the MNC length */
  uint8_t ust[16];   /* ust[0] the file's length, then the file */
  char language[16]; /* bytes 0x20 to 0x5E raised by 0x20 */
  char gid1[16];
  char gid2[16];
  char pnn[32];      /* full network name in GSM septets, one a byte */
} usim_info_record;

/*
 * Reads one file of the card (or all of them with type 17) into its field.
 * The administrative data is read first, whatever the type. Type 4 asks the
 * device family for the number instead of the card. Type 17 fills every
 * field it can and, as no file stands behind types 12 to 16, normally ends
 * with -1 at type 12; a missing MSISDN or SPN file is skipped. The ust and
 * language files are not held to their fields: a long one runs on into the
 * fields after it, never past the record.
 */
VORNPAL_API int vorn_usim_pal_get_usim_info(int type, usim_info_record *out);
/* The IMSI digits (from EF IMSI of the USIM, or of the SIM when the
 * transport fails), at most len characters, zero-filled behind the text and
 * without a terminator when it fills len: 0; -1 for
 * null or a refused read. A transport failure of both tries gives 0 with
 * nothing written. */
VORNPAL_API int vorn_usim_pal_get_imsi(char *out, uint32_t len);
/* The AT+CNUM answer, e.g. "\"Vorn\",\"+15551230042\",145", into dst of at
 * least 64 bytes; when no source knows a number, 0 and dst untouched. -1
 * for null. */
VORNPAL_API int oem_usim_pal_cnum_get(char *dst);

/* ---- PIN and PUK ------------------------------------------------------------------ */

/* PIN of 4 to 8 digits. 0; 3 for null or a bad form (nothing sent); -1
 * when the card refused it. The card's new state comes as event 1. */
VORNPAL_API int vorn_usim_pal_unlock_pin(const char *pin);
/* PUK of at most 8 digits, new PIN of 4 to 8 digits. */
VORNPAL_API int vorn_usim_pal_unlock_puk(const char *puk, const char *new_pin);
/* operation 1 switches the PIN request on, any other value off. The card
 * judges the PIN's form; a PIN of 24 characters or more aborts the process. */
VORNPAL_API int vorn_usim_pal_pinlock_change(int operation, const char *pin);
/* The card judges both values. An old value of 36 characters or more, or a
 * new one of 16 or more, aborts the process. */
VORNPAL_API int vorn_usim_pal_modify_pin_code(const char *old_pin, const char *new_pin);
VORNPAL_API int vorn_usim_pal_get_pinlock_info(usim_pinlock_info *out);

/* ---- logical channels and APDUs ------------------------------------------------------ */

/* Opens a channel to the application of aid_hex (hexadecimal, at most 64
 * bytes; a longer one asks for a channel without AID): 0 and *channel_id,
 * 3 for null, -1 when no channel was given. */
VORNPAL_API int vorn_usim_pal_open_channel(const char *aid_hex, uint32_t *channel_id);
/* -1 also when the card does not know the channel. */
VORNPAL_API int vorn_usim_pal_close_channel(uint32_t channel_id);
/*
 * Sends one command APDU, req_hex of req_hex_len hexadecimal characters (an
 * odd last digit is a high nibble), and writes the response as uppercase
 * hexadecimal text without a terminator. A response that announces more
 * data (first byte 0x61) is fetched with GET RESPONSE on the same channel. A
 * long response arrives in pieces and is waited for up to 2.1 s; one that
 * does not complete by then aborts the process, as does a response of more
 * than 5120 bytes. resp_hex must hold the whole response: a resp_hex_max
 * below it leaves the tail zeros. Only one long response at a time. 0 or -1.
 */
VORNPAL_API int vorn_usim_pal_send_apdu(int channel_id, const char *req_hex, uint32_t req_hex_len,
                                        char *resp_hex, uint32_t resp_hex_max);

/* ---- slots and dual SIM --------------------------------------------------------------- */

/* Slot 0 or 1: the next answers of the family name it at once, also when
 * the modem refuses the switch. 0 or -1. */
VORNPAL_API int vorn_usim_pal_switch_slot(uint32_t slot);
/* 0; the dual-SIM setting read at init (1 on, 0 off, other values as read). */
VORNPAL_API int vorn_usim_pal_get_dualsim_en(int *enabled);
/* Card power of slot 1 only; -1 for any other slot or a failed request. */
VORNPAL_API int vorn_usim_pal_power_down_ctrl(uint32_t slot);
VORNPAL_API int vorn_usim_pal_power_on_ctrl(uint32_t slot);
/* One byte of the UIM configuration: function 0 SIM swap, 1 hot swap, 2
 * extended recovery. 0; -1 for a function above 3; 3 when the item cannot
 * be read (always for function 3). */
VORNPAL_API int vorn_usim_pal_diag_read_nv(uint32_t function, uint8_t *out);
/* Byte `index` of the EFS item at path: 0, or 3 when it cannot be read. */
VORNPAL_API int vorn_usim_pal_convert_nv_to_binary(const char *path, uint32_t index, uint8_t *out);

/* ---- kept for the interface: each returns 0 and does nothing ----------------------------- */

VORNPAL_API int oem_get_sim_status(void);
VORNPAL_API int oem_usim_pal_eid_get(void);
VORNPAL_API int oem_sende_at_cmd(void);

/* ---- eUICC profiles --------------------------------------------------------------------- */

/* slot: 1 to 5; profile ids: 1 to 8. Results 0 or -1 unless stated. */

typedef struct {
  uint32_t profile_id;
  uint32_t profile_type;
} esim_profile_entry;

typedef struct {
  uint8_t iccid[10];
  char nickname[64];
  uint32_t profile_state; /* 0 disabled, 1 enabled */
} esim_profile_info;

/* Starts a download; its end comes as event 3. 0, -1 for a bad slot or
 * argument, the transport's code when it failed, or the modem's error
 * code when it refused. The code is cut at 255 bytes; a confirmation code
 * of more than 260 bytes aborts the process. */
VORNPAL_API int vorn_esim_pal_add_profile(uint32_t slot, const char *activation_code,
                                          const char *confirmation_code);
VORNPAL_API int vorn_esim_pal_enable_profile(uint32_t slot, uint32_t profile_id);
VORNPAL_API int vorn_esim_pal_disable_profile(uint32_t slot, uint32_t profile_id);
VORNPAL_API int vorn_esim_pal_delete_profile(uint32_t slot, uint32_t profile_id);
/* capacity at least 8; *count profiles in out. */
VORNPAL_API int vorn_esim_pal_get_profile_list(uint32_t slot, uint32_t capacity,
                                               esim_profile_entry *out, int *count);
/* -1 also for a profile without nickname, with the other fields filled. */
VORNPAL_API int vorn_esim_pal_get_profile_info(uint32_t slot, uint32_t profile_id,
                                               esim_profile_info *out);
/* A nickname of at most 63 characters. */
VORNPAL_API int vorn_esim_pal_update_profile_nickname(uint32_t slot, uint32_t profile_id,
                                                      const char *nickname);
/* Appends the EID's 32 lowercase hexadecimal characters to the text in
 * out: pass an empty, zeroed buffer of at least 33 bytes (capacity >= 32). */
VORNPAL_API int vorn_esim_pal_get_eid(char *out, uint32_t capacity, uint32_t slot);
VORNPAL_API int vorn_esim_pal_euicc_memory_reset(uint32_t slot);
/* An address of at most 254 characters. */
VORNPAL_API int vorn_esim_pal_set_euicc_default_server_address(uint32_t slot, const char *address);
/* out zeroed over capacity, then at most capacity bytes of the address. */
VORNPAL_API int vorn_esim_pal_get_euicc_default_server_address(uint32_t slot, char *out,
                                                               uint32_t capacity);

VORNPAL_END_DECLS

#endif
