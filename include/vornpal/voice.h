/*
 * Voice family: USSD sessions over the modem's VOICE service, and the IMS
 * state (VoLTE switch, registration) over its IMSS and IMSA services. Calls
 * and DTMF are not served on this platform: their functions return fixed
 * results.
 *
 * vorn_voice_pal_init makes the family's clients; while they are missing,
 * the USSD functions return VORN_UNAVAILABLE and the IMS functions
 * VORN_FAILURE. The NV item "/nv/item_files/ims/IMS_enable" (one byte, 0
 * disables) switches the whole of IMS: with it off no IMS client is made.
 *
 * Requests block the calling thread for up to 10 s (USSD, IMS) or 3 s
 * (ending a call). USSD texts arrive by event: a callback registered with
 * vorn_voice_pal_event_register runs on the QMI library's thread and must
 * not wait for another request of the family there.
 *
 * Results (include/vornpal/defs.h): VORN_OK (0) for success, VORN_FAILURE
 * (-1) for a failed request or a null pointer, unless stated otherwise.
 */
#ifndef VORNPAL_VOICE_H
#define VORNPAL_VOICE_H

#include <vornpal/defs.h>
#include <vornpal/event.h>

VORNPAL_BEGIN_DECLS

/* ---- USSD records ---------------------------------------------------------- */

/* Bytes of an outgoing USSD text, at most. */
#define VORN_VOICE_USSD_MAX_TEXT 182
/* The UTF-8 form of a network text, terminator included. */
#define VORN_VOICE_USSD_UTF8_SIZE 366

/* What the application last asked for (ussd_info.action_type). */
enum {
  VORN_USSD_ACTION_NONE = 0, /* or the session finished */
  VORN_USSD_ACTION_ORIGINATE = 1,
  VORN_USSD_ACTION_ANSWER = 2,
  VORN_USSD_ACTION_CANCEL = 3
};

/* Where the session stands (ussd_info.ussd_state). */
enum {
  VORN_USSD_STATE_IDLE = 0,
  VORN_USSD_STATE_REQUEST_SENT = 1,
  VORN_USSD_STATE_RECEIVED = 2, /* a text came, or the session was released */
  VORN_USSD_STATE_NO_WAIT_DONE = 3 /* the origination's outcome came while waiting */
};

/* The session's last news (ussd_info.ussd_status). */
enum {
  VORN_USSD_STATUS_NONE = 0,
  VORN_USSD_STATUS_NO_FURTHER_ACTION = 1,
  VORN_USSD_STATUS_ANSWER_EXPECTED = 2,
  VORN_USSD_STATUS_RELEASED_AFTER_ANSWER = 3, /* or after a cancel */
  VORN_USSD_STATUS_RELEASED_AFTER_ORIGINATE = 5
};

/*
 * The one USSD session record of the process (200 bytes), as
 * vorn_voice_pal_get_ussd_info copies it out. Requests write it on the
 * caller's thread and indications on the QMI library's thread, without a
 * lock: a copy taken while a text arrives may mix the old and the new.
 */
typedef struct {
  int32_t action_type;
  int32_t ussd_state;
  int32_t ussd_status;
  char ussd_text[184];     /* the last network text in UTF-8, at most 181 bytes and a terminator */
  uint32_t ussd_text_size; /* 366 once a text was stored: the size of the conversion buffer */
} ussd_info;

/* Events of the family; each carries a heap block that is freed after the
 * last callback. */
#define VORN_VOICE_EVENT_USSD 2          /* ussd_event */
#define VORN_VOICE_EVENT_USSD_NO_WAIT 3  /* ussd_no_wait_event */
#define VORN_VOICE_EVENT_USSD_RELEASE 4  /* ussd_release_event */

/*
 * A network text (1276 bytes): a question to answer (notification_type 2),
 * a notification (1), or the outcome of vorn_voice_pal_originate_ussd_async
 * (1). text is UTF-8 with a terminator, text_length bytes without it; a text
 * that the modem gave as ASCII is not repeated here (text_valid 0) and is
 * found in ussd_info instead. The fields after text are the indication's
 * own, each copied as it stands when its valid flag is set.
 */
typedef struct {
  uint32_t notification_type;
  uint8_t text_valid;
  uint32_t text_length;
  char text[VORN_VOICE_USSD_UTF8_SIZE];
  uint8_t network_data_valid;
  uint32_t network_data_len;
  uint8_t network_data[516];
  uint8_t failure_cause_valid;
  uint16_t failure_cause;
  uint8_t alpha_id_valid;
  uint8_t alpha_id[366];
  uint8_t sip_error_code_valid;
  uint32_t sip_error_code;
} ussd_event;

/* The outcome of vorn_voice_pal_originate_ussd_async (1108 bytes); every
 * field of the indication with its valid flag, and the text as in
 * ussd_event. */
typedef struct {
  uint8_t error_valid;
  uint32_t error;
  uint8_t cc_result_type_valid;
  uint32_t cc_result_type;
  uint8_t alpha_id_valid;
  uint32_t alpha_id_len;
  uint8_t alpha_id[182];
  uint8_t failure_cause_valid;
  uint16_t failure_cause;
  uint8_t sip_error_code_valid;
  uint32_t sip_error_code;
  uint8_t network_data_valid;
  uint32_t network_data_dcs;
  uint32_t network_data_len;
  uint8_t network_data[504];
  uint8_t text_valid;
  uint32_t text_length;
  char text[VORN_VOICE_USSD_UTF8_SIZE];
} ussd_no_wait_event;

/* The network released the session: its cause, and the failure cause or 0. */
typedef struct {
  uint32_t release_cause;
  uint32_t failure_cause;
} ussd_release_event;

/* What the SIM's call control made of a synchronous origination (208
 * bytes). modification 0: the request went out as it was, and only the
 * alpha fields (cleared when the modem gave none) are written besides.
 * Otherwise call_id (255 when unknown), is_alpha_relayed and is_ims_request
 * are written, and the service type and reason when the modem gave them. */
typedef struct {
  uint32_t modification;
  uint32_t ss_service_type;
  uint32_t ss_reason;
  uint8_t call_id;
  uint8_t is_alpha_relayed;
  uint32_t alpha_dcs;
  uint32_t alpha_length;
  uint8_t alpha_text[182];
  uint8_t is_ims_request;
} ussd_originate_result;

/* ---- start and events ---------------------------------------------------------- */

/*
 * Makes the VOICE client and switches its USSD reports on, then, unless IMS
 * is disabled in NV, the IMSS and IMSA clients bound to the active
 * subscription. Each client is tried ten times, a second apart, waiting up
 * to 10 s a try for a modem that is still booting. Always 0: what came up
 * shows in the results of the other functions. Clients that exist stay, so
 * calling it again only adds what is missing.
 */
VORNPAL_API int vorn_voice_pal_init(void);

/* Callbacks for the family's events; results of vorn_pal_event_register and
 * vorn_pal_event_unregister. */
VORNPAL_API int vorn_voice_pal_event_register(vorn_pal_event_callback callback, void *user_data);
VORNPAL_API int vorn_voice_pal_event_unregister(vorn_pal_event_callback callback);

/* ---- USSD ----------------------------------------------------------------------- */

/*
 * The texts go out as ASCII when every byte is below 128, otherwise as
 * UCS-2 converted from UTF-8. length is in bytes and must be below 183.
 * Results: 0; VORN_UNAVAILABLE without a VOICE client; VORN_INVALID_PARAM
 * for a null text, a length over 182 or a text that is not UTF-8 (or whose
 * UCS-2 form exceeds 182 bytes); VORN_FAILURE when the modem refused or did
 * not answer.
 *
 * domain_pref: 2 circuit-switched only, 3 IMS only; anything else lets the
 * modem choose (1).
 */

/* Waits for the network's acceptance; the reply text comes by event 2. The
 * session record is not touched. result tells whether call control changed
 * the request. */
VORNPAL_API int vorn_voice_pal_originate_ussd(const char *text, uint32_t length,
                                              uint32_t domain_pref,
                                              ussd_originate_result *result);
/* Returns once the modem took the request; the outcome comes by events 3
 * and 2, questions of the network by event 2, the end by event 4. */
VORNPAL_API int vorn_voice_pal_originate_ussd_async(const char *text, uint32_t length,
                                                    uint32_t domain_pref);
/* Answers the network's question of the session. */
VORNPAL_API int vorn_voice_pal_answer_ussd(const char *text, uint32_t length);
/* Ends the session; the release follows by event 4. 0, VORN_UNAVAILABLE or
 * VORN_FAILURE. */
VORNPAL_API int vorn_voice_pal_cancel_ussd(void);

/* Moves the session record as an indication would (message 61, 62 or 67
 * of the VOICE service, with the notification type of message 62). Always 0. */
VORNPAL_API int vorn_voice_pal_update_ussd_info(uint32_t msg_id, uint32_t notification_type);
/* Copies the session record; VORN_FAILURE for a null output. */
VORNPAL_API int vorn_voice_pal_get_ussd_info(ussd_info *info);

/* ---- IMS ------------------------------------------------------------------------ */

/* Family codes of a failed IMS settings request. */
#define VORN_VOICE_IMS_SET_FAILED 1500
#define VORN_VOICE_IMS_GET_FAILED 1501

/*
 * VoLTE switched on (1) or off (0). With IMS disabled in NV: 0 and state 0,
 * without asking the modem. VORN_FAILURE for a null state or when no IMSS
 * client can be made; VORN_VOICE_IMS_GET_FAILED when the request fails or
 * the modem does not report VoLTE.
 */
VORNPAL_API int vorn_voice_pal_get_ims_state(uint32_t *state);
/*
 * Switches VoLTE on (enable nonzero) or off. Enables IMS in NV first when it
 * was disabled there, and makes the IMS clients. VORN_FAILURE when no IMSS
 * client can be made; VORN_VOICE_IMS_SET_FAILED when the request fails.
 */
VORNPAL_API int vorn_voice_pal_set_ims_state(uint32_t enable);
/*
 * IMS registration: ims_registered 1 when registered, ims_reg_status the
 * modem's status (0 not registered, 1 registering, 2 registered, 3 limited).
 * Each is written only when the modem reports it. VORN_FAILURE for a null
 * pointer and when the request fails, also for a missing IMSA client.
 */
VORNPAL_API int vorn_voice_pal_get_imsa_state(uint32_t *ims_registered, uint32_t *ims_reg_status);

/* ---- calls -------------------------------------------------------------------- */

/* Ends a call; 0, VORN_QMI_FAILURE when the request fails, VORN_UNAVAILABLE
 * without a VOICE client. */
VORNPAL_API int vorn_voice_pal_end_call(uint8_t call_id);

/* Not served on this platform; they read nothing and return 0. */
VORNPAL_API int vorn_voice_pal_originate_ussd_v2(void);
VORNPAL_API int vorn_voice_pal_answer_ussd_v2(void);
VORNPAL_API int vorn_voice_pal_set_ims_ue_usage_setting(void);
VORNPAL_API int vorn_voice_pal_get_ims_ue_usage_setting(void);
VORNPAL_API int oem_voice_pal_ecc_list_get(void);
VORNPAL_API int oem_voice_pal_ecc_list_set(void);
VORNPAL_API int oem_voice_pal_clir_nv_set(void);
VORNPAL_API int oem_voice_pal_clir_nv_get(void);

/* Not served on this platform; they read nothing and return VORN_UNAVAILABLE. */
VORNPAL_API int vorn_voice_pal_start_call(void);
VORNPAL_API int vorn_voice_pal_start_dtmf(void);
VORNPAL_API int vorn_voice_pal_end_dtmf(void);
VORNPAL_API int vorn_voice_pal_set_call_forward(void);
VORNPAL_API int vorn_voice_pal_hold_call(void);
VORNPAL_API int vorn_voice_pal_resume_call(void);
VORNPAL_API int vorn_voice_pal_exec_sups_action(void);
VORNPAL_API int vorn_voice_pal_answer_call(void);

/* Not supported on this platform; they read nothing and return
 * VORN_NOT_SUPPORTED. */
VORNPAL_API int oem_voice_pal_colp_nv_set(void);
VORNPAL_API int oem_voice_pal_colp_nv_get(void);
VORNPAL_API int oem_voice_pal_clip_nv_set(void);
VORNPAL_API int oem_voice_pal_clip_nv_get(void);

VORNPAL_END_DECLS

#endif
