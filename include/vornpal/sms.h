/*
 * SMS family: sending, receiving and acknowledging messages over the modem's
 * WMS service, the events of new messages, and message storage on the SIM,
 * in the modem's NV and on the application processor (AP).
 *
 * The daemon calls vorn_sms_pal_init once, registers its callback with
 * vorn_sms_pal_event_register and, for the AP store, vorn_sms_pal_ap_init.
 * Events are posted from the QMI library's thread (see E_oem_SMS_EVENT_*);
 * a callback must not block it with a request of this family.
 *
 * Results: 0, or VORN_FAILURE (-1) for a null argument or a failed request,
 * VORN_INVALID_PARAM (3) for a value out of range, VORN_UNAVAILABLE (2) for
 * a store that cannot serve the call, and the family codes below where a
 * function says so.
 *
 * Storage types in every function: 0 SIM (UIM), 1 modem NV, 2 AP.
 * Message status: 0 unread, 1 read, 2 not sent, 3 sent.
 *
 * Configuration words (vorn_sms_pal_set_msg_service_config,
 * vorn_sms_pal_store_full) are read by the QMI thread without a lock: a
 * change that races with a new message costs at most that message's
 * acknowledgement, which the network then repeats.
 */
#ifndef VORNPAL_SMS_H
#define VORNPAL_SMS_H

#include <vornpal/defs.h>
#include <vornpal/event.h>

VORNPAL_BEGIN_DECLS

/* --- codes of this family ------------------------------------------------- */

#define VORN_SMS_AP_STORE_FULL 20              /* vorn_sms_pal_ap_write_msg */
#define VORN_SMS_SEND_FROM_STORE_FAILED 1308   /* vorn_sms_pal_send_sms_storage_msg */
#define VORN_SMS_DOMAIN_PREF_SET_FAILED 1311   /* vorn_sms_pal_set_domain_pref */
#define VORN_SMS_DOMAIN_PREF_GET_FAILED 1312   /* vorn_sms_pal_get_domain_pref */
#define VORN_SMS_IMS_SETTINGS_FAILED 1500      /* IMS settings of the SMS transport */

/* Codes of the store layer (vorn_sms_store_*), as the AP functions pass
 * them on unless they say otherwise. */
enum {
  SMS_STORE_OK = 0,
  SMS_STORE_NOT_ALLOWED = 1,  /* a status change that is not allowed */
  SMS_STORE_DB_FAILED = 3,    /* the database failed */
  SMS_STORE_BAD_HANDLE = 4,
  SMS_STORE_BAD_STATUS = 5,   /* a stored row has a status above 3 */
  SMS_STORE_BAD_PDU_SIZE = 6, /* a stored row's length disagrees with its PDU */
  SMS_STORE_NO_MESSAGE = 9,
  SMS_STORE_FULL = 10
};

/* --- values ------------------------------------------------------------------ */

enum { SMS_STORAGE_UIM = 0, SMS_STORAGE_NV = 1, SMS_STORAGE_AP = 2 };

enum { SMS_STATUS_UNREAD = 0, SMS_STATUS_READ = 1, SMS_STATUS_NOT_SENT = 2, SMS_STATUS_SENT = 3 };

/* List flags of the get_valid_index functions. */
enum {
  SMS_LIST_READ = 0,
  SMS_LIST_UNREAD = 1,
  SMS_LIST_SENT = 2,
  SMS_LIST_NOT_SENT = 3,
  SMS_LIST_ALL = 4
};

/* Stored message formats. */
enum { SMS_FORMAT_CDMA = 0, SMS_FORMAT_GW_PP = 1, SMS_FORMAT_GW_BC = 2, SMS_FORMAT_MWI = 3 };

/* vorn_sms_pal_send_msg modes: send-and-save is not offered by this layer. */
enum { E_SMS_PAL_SEND_ONLY = 0, E_SMS_PAL_SEND_AND_SAVE = 1 };

/* Index of vorn_sms_pal_read_msg and vorn_sms_pal_ap_read_msg for "all". */
#define SMS_PAL_INDEX_ALL (-1)

/* --- events --------------------------------------------------------------------- */

enum {
  E_oem_SMS_EVENT_STORAGE_FULL_OTHER = -1, /* memory full on a storage other than 0, 1; no data */
  E_oem_SMS_EVENT_SERVICE_STATE = 1,       /* transport or readiness changed; no data */
  E_oem_SMS_EVENT_MEMORY_FULL = 2,         /* uint32_t storage (0 or 1) */
  E_oem_SMS_EVENT_NEW_STORED_MSG = 3,      /* sms_stored_event */
  E_oem_SMS_EVENT_NEW_ROUTE_MSG = 4,       /* sms_route_message and its bytes */
  E_oem_SMS_EVENT_NEW_AP_MSG = 5,          /* sms_route_message and its bytes, for the AP store */
  E_oem_SMS_EVENT_ETWS = 6                 /* sms_etws_event */
};

/* A message the modem stored: storage 0 SIM, 1 NV, -1 another; its index. */
typedef struct {
  int32_t storage;
  uint32_t index;
} sms_stored_event;

/*
 * A message handed to the application (events 4 and 5): this head, then
 * pdu_data_len bytes. For format 2 (broadcast) the bytes are the TPDU; for
 * the others a service centre length octet, that many address octets (at
 * most 11) and the TPDU, so that the bytes go to vorn_sms_decode as they
 * stand. When ack_indicator is 0 the application acknowledges with
 * transaction_id (vorn_sms_pal_send_ack), unless the library did.
 */
typedef struct {
  uint32_t route_format; /* 0 CDMA, 1 GW point to point, 2 GW broadcast, 3 MWI */
  uint32_t ack_indicator;
  uint32_t transaction_id;
  uint32_t pdu_data_len;
} sms_route_message;

#define SMS_ETWS_DATA_MAX 1252
typedef struct {
  uint32_t notification_type;
  uint32_t data_len;
  uint8_t data[SMS_ETWS_DATA_MAX];
} sms_etws_event;

/* --- records of the stores -------------------------------------------------------- */

#define SMS_STORE_PDU_MAX 256
#define SMS_STORE_EXTRA_DA_SIZE 300
#define SMS_STORE_EXTRA_TIME_SIZE 40

/* A stored message (608 bytes). */
typedef struct {
  uint32_t sms_format; /* SMS_FORMAT_*; the AP write paths always set 1 */
  uint32_t sms_status; /* SMS_STATUS_* */
  uint32_t sms_pdu_len;
  uint8_t sms_pdu_data[SMS_STORE_PDU_MAX];
  char sms_extra_da[SMS_STORE_EXTRA_DA_SIZE];     /* terminated text */
  char sms_extra_time[SMS_STORE_EXTRA_TIME_SIZE]; /* terminated text */
} sms_store_message;

typedef struct {
  uint32_t used;
  uint32_t total;
} sms_storage_info;

/* One entry of a listing. */
typedef struct {
  uint32_t index;
  uint32_t status; /* SMS_STATUS_*, or 0xFFFFFFFF for a tag the library does not know */
} sms_index_status;

/* --- the family: client, events, sending ---------------------------------------- */

/* Opens the WMS client (ten tries a second apart), switches the reports on
 * and sets the receive routes for the storage in force (AP by default, NV on
 * the "Z715k" models). */
VORNPAL_API int vorn_sms_pal_init(void);
VORNPAL_API int vorn_sms_pal_deinit(void);
VORNPAL_API int vorn_sms_pal_event_register(vorn_pal_event_callback callback, void *user_data);
VORNPAL_API int vorn_sms_pal_event_unregister(vorn_pal_event_callback callback);
/* One attempt to open the client: 0, or -1 (also when it is open already). */
VORNPAL_API int vorn_qmi_sms_client_init(void);
/* Makes this client the primary WMS client: up to four tries, 3 s after each. */
VORNPAL_API int vorn_sms_primary_client_init(void);
/* Switches the MT, MWI and service indications on: 0 or -1. */
VORNPAL_API int vorn_sms_event_register(void);

/* Sends a raw GW PDU (service centre part first) of 1..255 bytes; mode 1 is
 * refused with 3. Up to two tries. The network's message reference goes to
 * *message_id when given. */
VORNPAL_API int vorn_sms_pal_send_msg(const uint8_t *pdu, int32_t length, uint32_t mode,
                                      uint32_t *message_id);
/* One try, on IMS (is_ims 1) or not (0); the fifth argument is not read. */
VORNPAL_API int vorn_sms_pal_send_msg_ZNRD(const uint8_t *pdu, int32_t length, uint32_t mode,
                                           uint32_t *message_id, uint32_t unused,
                                           uint32_t is_ims);

/* Acknowledges a received message: act_flag 0 success, 1 memory capacity
 * exceeded (the network retries later); others 3. */
VORNPAL_API int vorn_sms_pal_send_ack(uint32_t act_flag, uint32_t transaction_id);
/* The same without waiting for the answer; failures are only logged. */
VORNPAL_API void vorn_sms_pal_send_ack_async(uint32_t act_flag, uint32_t transaction_id);

/* The AT layer's +CNMI mode, mt, ds and +CSMS service: with mode set, mt 2
 * or ds 1, and service 1 the application acknowledges (AT+CNMA) and the
 * library does not. Routes take them into account at the next storage set. */
VORNPAL_API int vorn_sms_pal_set_msg_service_config(uint32_t cnmi_mode, uint32_t cnmi_mt,
                                                    uint32_t cnmi_ds, uint32_t csms_service);
VORNPAL_API int vorn_sms_pal_set_msg_storage_ack(void);
/* room_available 0: refuse every new message with memory exceeded; other:
 * let the application acknowledge. Re-applies the routes; their result. */
VORNPAL_API int vorn_sms_pal_store_full(uint32_t room_available);

/* Service centre: address (21 bytes of room) and type (4 bytes of room). */
VORNPAL_API int vorn_sms_pal_get_center_address(char *address, char *type);
VORNPAL_API int vorn_sms_pal_set_center_address(const char *address, const char *type);
/* *status 1 when the SMS service is ready (or the modem does not say); always 0. */
VORNPAL_API int vorn_sms_pal_get_service_status(uint32_t *status);
/* Domain preference 0..3; VORN_SMS_DOMAIN_PREF_GET_FAILED and
 * VORN_SMS_DOMAIN_PREF_SET_FAILED when the modem does not tell or take it. */
VORNPAL_API int vorn_sms_pal_get_domain_pref(uint32_t *pref);
VORNPAL_API int vorn_sms_pal_set_domain_pref(uint32_t pref);
/* Logs the first 1252 bytes of bytes as hex (length is not used). */
VORNPAL_API void vorn_print_hex_array(const uint8_t *bytes, int length);

/* --- modem storage (SIM and NV) ---------------------------------------------------- */

/* Routes new messages to storage 0, 1 or 2 (>2: 3). */
VORNPAL_API int vorn_sms_pal_set_receive_msg_storage(uint32_t storage);
/* The storage the modem's routes name into *storage (-1 when none), and
 * re-applies the library's storage when they differ. Returns the route count. */
VORNPAL_API int vorn_sms_pal_get_receive_msg_storage(int32_t *storage, uint32_t unused);
VORNPAL_API int vorn_sms_pal_get_storage_info(uint32_t storage, sms_storage_info *info);
/* Pairs of index and status into pairs (at most capacity); the count. With
 * pairs null or capacity 0 only the count. Storage 2 gives 0. */
VORNPAL_API int vorn_sms_pal_get_valid_index(uint32_t storage, uint32_t list_flag,
                                             sms_index_status *pairs, uint32_t capacity);
/* flag 0 the index; 1..4 every message of status read, unread, sent, not sent. */
VORNPAL_API int vorn_sms_pal_delete_msg(uint32_t storage, uint32_t index, uint32_t flag);
/* Sets the status of one message (flag: the new SMS_STATUS_*). */
VORNPAL_API int vorn_sms_pal_modify_msg(uint32_t storage, uint32_t index, uint32_t flag);
VORNPAL_API int vorn_sms_pal_modify(uint32_t storage, uint32_t index,
                                    const sms_store_message *record);
/* 1 when the message was read into *record, 0 otherwise. */
VORNPAL_API int vorn_sms_pal_read_msg(uint32_t storage, int32_t index, sms_store_message *record);
VORNPAL_API int vorn_sms_pal_write_msg(uint32_t storage, const uint8_t *pdu, int32_t length,
                                       uint32_t status, uint32_t *index);
VORNPAL_API int vorn_sms_pal_write(uint32_t storage, const sms_store_message *record,
                                   uint32_t *index);
/* Sends a stored message: 0, -1, or VORN_SMS_SEND_FROM_STORE_FAILED. */
VORNPAL_API int vorn_sms_pal_send_sms_storage_msg(uint32_t storage, uint32_t index,
                                                  uint32_t *message_id);

/* --- the AP store ------------------------------------------------------------------- */

/*
 * Messages in the sqlite database /data/sms_msg.db (table sms_db), 100 of
 * them at most. Each operation opens and closes the database under the
 * store's mutex, so a write that returned 0 is on disk. Without
 * vorn_sms_pal_ap_init the functions give VORN_UNAVAILABLE, or a count of 0.
 */
VORNPAL_API int vorn_sms_pal_ap_init(void);
VORNPAL_API int vorn_sms_pal_ap_get_storage_info(sms_storage_info *info);
/* index -1: every message, in index order, up to capacity; otherwise one.
 * The number read, or 3 when a read fails. */
VORNPAL_API int vorn_sms_pal_ap_read_msg(int32_t index, sms_store_message *records,
                                         uint32_t capacity);
VORNPAL_API int vorn_sms_pal_ap_delete_msg(uint32_t index, uint32_t flag);
/* New status: unread and read swap, not sent and sent swap; others 1. */
VORNPAL_API int vorn_sms_pal_ap_modify_msg(uint32_t index, uint32_t status);
/* Replaces an outgoing message (status 2 or 3). */
VORNPAL_API int vorn_sms_pal_ap_modify(uint32_t index, const sms_store_message *record);
VORNPAL_API int vorn_sms_pal_ap_write(const sms_store_message *record, uint32_t *index);
/* VORN_SMS_AP_STORE_FULL when the store holds 100 messages. */
VORNPAL_API int vorn_sms_pal_ap_write_msg(const uint8_t *pdu, uint32_t length, uint32_t status,
                                          uint32_t *index);
VORNPAL_API int vorn_sms_pal_ap_get_valid_index(uint32_t list_flag, sms_index_status *pairs,
                                                uint32_t capacity);

/* --- the store layer ---------------------------------------------------------------- */

/* Bit 0 of bytes[i] says that index i is in use; size is capacity + 1. */
typedef struct {
  uint8_t *bytes;
  int32_t size;
} sms_store_used_info;

#define SMS_STORE_KIND_SQLITE 3

typedef struct {
  uint32_t store_kind;
  int32_t capacity;
  sms_store_used_info *used_info;
} sms_store_handle;

/* The store of a kind (only SMS_STORE_KIND_SQLITE has one): the same handle
 * for every call until vorn_sms_store_deinit; NULL for a kind without one. */
VORNPAL_API sms_store_handle *vorn_sms_store_init(uint32_t kind, int32_t capacity);
VORNPAL_API int vorn_sms_store_deinit(sms_store_handle *handle);
VORNPAL_API int vorn_sms_store_info(sms_store_handle *handle, sms_storage_info *info);
VORNPAL_API int vorn_sms_store_read(sms_store_handle *handle, uint32_t index,
                                    sms_store_message *record);
VORNPAL_API int vorn_sms_store_delete(sms_store_handle *handle, uint32_t index, uint32_t flag);
VORNPAL_API int vorn_sms_store_modify_msg(sms_store_handle *handle, uint32_t index,
                                          const sms_store_message *record);
VORNPAL_API int vorn_sms_store_write(sms_store_handle *handle, const sms_store_message *record,
                                     uint32_t *index);
VORNPAL_API int vorn_sms_store_modify(sms_store_handle *handle, uint32_t index, uint32_t status);
VORNPAL_API int vorn_sms_store_list(sms_store_handle *handle, uint32_t list_flag,
                                    sms_index_status *pairs, uint32_t capacity);

VORNPAL_END_DECLS

#endif
