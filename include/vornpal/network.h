/*
 * Network family: registration, network information, scans and the events
 * of the serving network.
 *
 * vorn_network_pal_init brings up the family's NAS client and its event
 * thread "event_network_rx". Events reach the callbacks registered with
 * vorn_network_pal_event_register one at a time, under the family's notify
 * mutex: the events of the modem's reports and answers on the event thread,
 * VORN_NETWORK_EVENT_MANUAL_REGIST_DONE on the manual registration waiter.
 * Neither is the modem's own thread, so a callback may call the family's
 * functions (the query of a registration report included) and may take its
 * time; the next events wait for it. A callback copies what it keeps: the
 * payload is freed when the last callback returns.
 *
 * Records are owned by the caller, who clears them before a query and sets
 * the request flags of the groups wanted.
 */
#ifndef VORNPAL_NETWORK_H
#define VORNPAL_NETWORK_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* ---- events ------------------------------------------------------------ */

/* Event ids and their payloads. */
enum {
  VORN_NETWORK_EVENT_SIGNAL = 0,              /* vorn_network_signal_report */
  VORN_NETWORK_EVENT_NET_INFO = 1,            /* vorn_network_net_record, with names */
  VORN_NETWORK_EVENT_CELL_INFO = 3,           /* vorn_network_cell_record */
  VORN_NETWORK_EVENT_RF_BAND = 4,             /* vorn_network_rf_band_report */
  VORN_NETWORK_EVENT_SCAN_RESULT = 6,         /* vorn_network_scan_result */
  VORN_NETWORK_EVENT_SERVING_SYSTEM = 11,     /* vorn_network_net_record, as reported */
  VORN_NETWORK_EVENT_REGIST_RESP = 12,        /* one byte: registration state */
  VORN_NETWORK_EVENT_MANUAL_REGIST_DONE = 13, /* one byte: registration state */
  VORN_NETWORK_EVENT_LTE_REJECT = 17,         /* vorn_network_reject_report */
  VORN_NETWORK_EVENT_NR_REJECT = 18           /* vorn_network_reject_report */
};

/* Registration states: the family's g_re_state and the states of a report. */
enum {
  VORN_NETWORK_NOT_REGISTERED = 0,
  VORN_NETWORK_REGISTERED_HOME = 1,
  VORN_NETWORK_SEARCHING = 2,
  VORN_NETWORK_DENIED = 3,
  VORN_NETWORK_REGISTERED_ROAMING = 5
};

/* Radio family of a report: 0 none, 1 GSM, 2 WCDMA, 3 LTE. */
enum {
  VORN_NETWORK_RADIO_NONE = 0,
  VORN_NETWORK_RADIO_GSM = 1,
  VORN_NETWORK_RADIO_WCDMA = 2,
  VORN_NETWORK_RADIO_LTE = 3
};

/* (event id, payload, payload length, user word given at registration) */
typedef void (*vorn_network_event_cb)(uint32_t event_id, void *payload, uint32_t length,
                                      uint32_t user);

/* Fields of a technology stay zero when the modem did not report it; NR has
 * no valid flag: test its values. (40 bytes) */
typedef struct {
  uint32_t gsm_valid;
  int16_t gsm_rssi;
  uint32_t umts_valid;
  int16_t umts_rssi;
  int16_t umts_ecio; /* dB */
  int16_t umts_rscp;
  uint32_t lte_valid;
  int16_t lte_rssi;
  int16_t lte_rsrq;
  int16_t lte_rsrp;
  int16_t lte_snr; /* dB */
  int16_t nr_rsrp;
  int32_t nr_snr; /* dB */
} vorn_network_signal_report;

typedef struct {
  uint32_t valid; /* always 1 */
  uint32_t state; /* VORN_NETWORK_NOT_REGISTERED, _HOME or _ROAMING */
} vorn_network_domain_state;

#define VORN_NETWORK_NAME_LEN 60
#define VORN_NETWORK_PLMN_TEXT_LEN 7

/* A registration report. Names need not be terminated when full. */
typedef struct {
  uint32_t reg_state;    /* the PS state: 0, 1 or 5 */
  uint32_t radio;        /* VORN_NETWORK_RADIO_* */
  uint32_t home;         /* 0 roaming; else the PS attach value (1 before any) */
  uint16_t mnc;
  uint16_t mcc;
  uint64_t cell_id;
  int32_t plmn;          /* mcc * 100 + mnc */
  vorn_network_domain_state ps_info;
  vorn_network_domain_state cs_info;
  char plmn_id[VORN_NETWORK_PLMN_TEXT_LEN];
  char plmn_name[VORN_NETWORK_NAME_LEN];
  char short_name[VORN_NETWORK_NAME_LEN];
  char long_name[VORN_NETWORK_NAME_LEN];
} vorn_network_net_record;

/* The serving cell as the events give it: only the leading fields are set.
 * (256 bytes) */
typedef struct {
  uint32_t radio; /* 2 WCDMA, 3 LTE, else 0 */
  uint64_t cell_id;
  int32_t lac;
  int32_t tac;
  uint8_t reserved[232];
} vorn_network_cell_record;

/* The modem's RF band report as it comes: radio interface, active band and
 * channel of the serving cell and its bandwidth. (60 bytes) */
typedef struct {
  uint32_t words[15];
} vorn_network_rf_band_report;

typedef struct {
  uint8_t reject_valid;
  uint8_t reject_cause; /* 3GPP cause, 1 to 255 */
} vorn_network_reject_report;

/* ---- network information ----------------------------------------------- */

/* Access technology of the serving cell (access_tech). */
enum {
  VORN_NETWORK_ACT_GSM = 0,
  VORN_NETWORK_ACT_WCDMA = 2,
  VORN_NETWORK_ACT_WCDMA_CELL = 6,
  VORN_NETWORK_ACT_LTE = 7,
  VORN_NETWORK_ACT_NR = 11, /* standalone */
  VORN_NETWORK_ACT_ENDC = 13 /* LTE anchor with NR (non-standalone) */
};

/* Carrier of the cell group: rat. */
enum {
  VORN_NETWORK_RAT_GSM = 0,
  VORN_NETWORK_RAT_WCDMA = 2,
  VORN_NETWORK_RAT_LTE = 3,
  VORN_NETWORK_RAT_NR = 4
};

/* Carriers of the aggregation. The blocks are the vendor service's, kept
 * whole; bands are numbered as everywhere in the family: LTE 100 + band, NR
 * 500 + band below 10, else 5000 + band. */
#define VORN_NETWORK_SCC_MAX 10

typedef struct {
  uint32_t band;
  uint32_t channel;
  uint16_t pci;
  uint16_t reserved_pad;
  uint32_t bandwidth; /* MHz */
  int32_t rsrp;
  int32_t rsrq;
  int32_t rssi;
  int32_t sinr;
  uint8_t reserved[8];
} vorn_network_pcc_record; /* 40 bytes */

typedef struct {
  uint32_t band;
  uint8_t scell_state;  /* 0 deconfigured, 1 configured but inactive, 2 active */
  uint8_t ul_configerd; /* 1 when the carrier carries uplink too */
  uint16_t pci;
  uint32_t channel;
  uint32_t bandwidth; /* MHz */
  int32_t rsrp;
  int32_t rsrq;
  int32_t rssi;
  int32_t sinr;
  uint8_t reserved[16];
} vorn_network_scc_record; /* 48 bytes */

/* GSM details that only the vendor service reports, as it gives them. */
#define VORN_NETWORK_CELL_INFO_EXT_SIZE 75
#define VORN_NETWORK_NEIGHBOUR_MAX 16

typedef struct {
  uint8_t access_tech; /* VORN_NETWORK_ACT_* */
  uint32_t channel;
  uint32_t pci; /* BSIC for GSM */
  uint64_t cell_id;
  uint16_t mnc;
  uint16_t mcc;
  uint32_t lac;
  int32_t rsrp; /* dBm */
  int32_t rsrq; /* dB */
  int32_t srxlev;
  uint8_t gsm_rx_level[16];
  uint8_t bsic;
  uint16_t timing;
} vorn_network_neighbour; /* 64 bytes */

/* Signal group: CSQ-style values and the modem's per-technology values. */
typedef struct {
  uint8_t valid; /* request flag */
  uint16_t rssi; /* CSQ 0 to 31 (TD-SCDMA 0 to 191), 99 unknown */
  uint16_t ber;  /* 0 to 7, 99 unknown */
  uint32_t rscp_bake; /* 0 to 96, 0xFF unknown */
  uint32_t ecno_bake; /* 0 to 49, 0xFF unknown */
  uint32_t rat;       /* 0, 6 WCDMA or 7 LTE */
  struct { uint8_t valid; int16_t rssi; uint16_t ber; } gsm;
  struct { uint8_t valid; int16_t rssi; int16_t ecio; int16_t rscp; } wcdma;
  struct { uint8_t valid; int16_t rssi; int16_t rscp; int16_t sinr; } tdscdma;
  struct { uint8_t valid; int16_t rssi; int16_t rsrq; int16_t rsrp; int16_t snr; } lte;
  struct { uint8_t valid; int16_t rssi; int16_t ecio; } cdma;
  struct { uint8_t valid; int16_t rssi; int16_t ecio; int16_t sinr; } hdr;
  /* discontinuous reception cycle, ms */
  uint32_t lte_drx;
  uint32_t nr_drx;
  uint32_t wcdma_drx;
} vorn_network_signal_info;

/* sys_info group: registration and the serving PLMN. */
typedef struct {
  uint8_t valid;        /* request flag */
  uint32_t reg_state;   /* VORN_NETWORK_* state of PS */
  uint32_t rat;         /* 1 GSM, 2 WCDMA, 3 LTE, 8 ENDC */
  uint32_t access_tech; /* VORN_NETWORK_ACT_* */
  uint8_t roaming;
  uint16_t mnc;
  uint16_t mcc;
  uint64_t cell_id;
  uint32_t plmn; /* mcc * 100 + mnc, or mcc * 1000 + mnc for 3-digit MNCs */
} vorn_network_sys_info;

typedef struct {
  uint8_t valid; /* request flag */
  uint32_t access_tech;
  uint32_t reg_state;
  uint32_t rac;
  uint32_t lac;
  uint64_t cell_id;
  uint32_t tac;
  uint32_t reject_type; /* 0 */
  uint32_t reject_cause;
} vorn_network_ps_info;

typedef struct {
  uint8_t valid; /* request flag */
  uint32_t access_tech;
  uint32_t reg_state;
  uint32_t lac;
  uint64_t cell_id;
  uint32_t reject_type;
  uint32_t reject_cause;
} vorn_network_cs_info;

typedef struct {
  uint8_t valid;
  uint8_t tuned;
  int32_t rsrp_level; /* 0 to 96 */
  int32_t rsrq_level; /* 0 to 97 */
  int32_t rssi_csq;   /* 0 to 31 */
  int32_t phase;
} vorn_network_rx_chain;

/* TX/RX group: receive chains 0 to 3 and the transmitter. */
typedef struct {
  uint8_t valid;  /* request flag */
  uint32_t radio; /* 2 WCDMA, 3 LTE */
  vorn_network_rx_chain rx[4];
  uint8_t tx_valid;
  int32_t tx_power;
  uint8_t mode_count[2];
  uint8_t mode[2][2]; /* 1 to 6, 0 unknown */
} vorn_network_tx_rx_info;

/*
 * The answer of vorn_network_pal_get_network_info. Set the request flag of
 * each group wanted: cell_valid (the cell group, which also brings the
 * registration pass), signal.valid, sys_info.valid, ps_info.valid,
 * cs_info.valid, carrier_valid, tx_rx.valid.
 */
typedef struct {
  /* cell group */
  uint8_t cell_valid;
  uint32_t rat;        /* VORN_NETWORK_RAT_* */
  uint8_t access_tech; /* VORN_NETWORK_ACT_* */
  uint32_t reg_domain; /* 1 CS only, 2 PS or both */
  uint32_t channel;    /* ARFCN, UARFCN, EARFCN or NR-ARFCN */
  uint32_t band;       /* active band, numbered as in the family */
  uint32_t pci;        /* BSIC for GSM */
  uint32_t bandwidth;  /* MHz */
  int32_t serving_signal;
  uint32_t psc;
  uint64_t cell_id;
  uint16_t mnc;
  uint16_t mcc;
  uint32_t lac; /* 0xFFFF when the network gave none */
  uint32_t tac;
  uint32_t rac;
  uint8_t mnc_includes_pcs_digit;
  uint32_t wcdma_psc;
  int32_t wcdma_rssi;
  int32_t wcdma_rscp;
  int32_t lte_rsrp; /* dBm */
  int32_t lte_rsrq; /* dB */
  int32_t lte_rssi;
  int32_t nr_rsrp; /* dBm */
  int32_t nr_rsrq; /* dB */
  int32_t nr_snr;  /* dB */
  uint8_t gsm_bsic;
  uint16_t gsm_timing;
  uint32_t band1; /* second radio interface (ENDC: the NR leg) */
  uint32_t bandwidth1;
  uint8_t neighbour_count;
  vorn_network_neighbour neighbour[VORN_NETWORK_NEIGHBOUR_MAX];
  /* link quality of the vendor service: CQI 0 to 15, rank indicator,
   * downlink rank, downlink and uplink MCS index */
  uint8_t lte_cqi;
  uint8_t lte_ri;
  uint8_t lte_dlrank;
  uint8_t lte_dlmcs;
  uint8_t lte_ulmcs;
  uint8_t nsa_nr_cqi; /* NR under an LTE anchor (ENDC) */
  uint8_t nsa_nr_ri;
  uint8_t nsa_nr_dlrank;
  uint8_t nsa_nr_dlmcs;
  uint8_t nsa_nr_ulmcs;
  uint8_t nr_cqi; /* NR standalone */
  uint8_t nr_ri;
  uint8_t nr_dlrank;
  uint8_t nr_dlmcs;
  uint8_t nr_ulmcs;
  /* GSM neighbour details, filled when the vendor service reports them */
  uint8_t cell_info_ext_valid;
  uint8_t cell_info_ext[VORN_NETWORK_CELL_INFO_EXT_SIZE];

  vorn_network_signal_info signal;
  vorn_network_sys_info sys_info;
  vorn_network_ps_info ps_info;
  vorn_network_cs_info cs_info;

  char plmn_text[VORN_NETWORK_PLMN_TEXT_LEN]; /* "%03d%02d" or "%03d%03d" */
  char short_name[VORN_NETWORK_NAME_LEN];     /* need not be terminated when full */
  char long_name[VORN_NETWORK_NAME_LEN];

  uint8_t is_endc_available;
  uint8_t is_dcnr_restricted;
  uint32_t lte_voice_status; /* 1 when the LTE network carries voice */
  uint32_t srv_status;       /* 0 none, 1 limited, 2 service, 3 limited regional, 4 power save */
  uint32_t srv_domain;

  /* carrier group */
  uint8_t carrier_valid;
  uint32_t lte_cc_num;
  uint8_t pcc_valid;
  vorn_network_pcc_record pcc;
  int32_t cc_rsrp_bake;
  uint8_t scc_valid;
  uint8_t scc_count; /* at most VORN_NETWORK_SCC_MAX */
  vorn_network_scc_record scc[VORN_NETWORK_SCC_MAX];

  vorn_network_tx_rx_info tx_rx;
} vorn_network_info;

/* ---- registration and scans ------------------------------------------- */

#define VORN_NETWORK_SCAN_MAX 50

/* Scan status. */
enum {
  VORN_NETWORK_SCAN_NONE = 0,
  VORN_NETWORK_SCAN_RUNNING = 1,
  VORN_NETWORK_SCAN_COMPLETE = 2,
  VORN_NETWORK_SCAN_FAILED = 3,
  VORN_NETWORK_SCAN_ABORTED = 4
};

/* cell_state of a scan entry. */
enum {
  VORN_NETWORK_CELL_UNKNOWN = 0,
  VORN_NETWORK_CELL_AVAILABLE = 1,
  VORN_NETWORK_CELL_CURRENT = 2,
  VORN_NETWORK_CELL_FORBIDDEN = 3
};

typedef struct {
  uint32_t rat;        /* 1 GSM, 3 UMTS, 5 LTE, 6 NR5G */
  uint32_t cell_state; /* VORN_NETWORK_CELL_* */
  uint32_t radio;      /* 0 GSM, 2 UMTS, 3 LTE, 4 NR5G */
  uint8_t roaming;
  uint8_t index; /* from 1 */
  uint16_t mnc;
  uint16_t mcc;
  int32_t signal; /* dBm */
  uint32_t plmn;  /* mcc * 100 + mnc */
  char plmn_text[VORN_NETWORK_PLMN_TEXT_LEN];
  char short_name[VORN_NETWORK_NAME_LEN];
  char long_name[VORN_NETWORK_NAME_LEN];
} vorn_network_scan_entry; /* 156 bytes */

/* Scan rat codes (request[0] of a scan). */
enum {
  VORN_NETWORK_SCAN_RAT_ALL = 0,
  VORN_NETWORK_SCAN_RAT_GSM = 1,
  VORN_NETWORK_SCAN_RAT_UMTS = 3,
  VORN_NETWORK_SCAN_RAT_LTE = 5,
  VORN_NETWORK_SCAN_RAT_NR = 6,
  VORN_NETWORK_SCAN_RAT_GSM_UMTS = 7,
  VORN_NETWORK_SCAN_RAT_GSM_LTE = 8,
  VORN_NETWORK_SCAN_RAT_UMTS_LTE = 9,
  VORN_NETWORK_SCAN_RAT_GSM_UMTS_LTE = 10,
  VORN_NETWORK_SCAN_RAT_UMTS_LTE_NR = 11,
  VORN_NETWORK_SCAN_RAT_LTE_NR = 12
};

typedef struct {
  vorn_network_scan_entry entry[VORN_NETWORK_SCAN_MAX];
  uint32_t request[6]; /* request[0]: the scan rat code; the rest pass unread */
  uint32_t status;     /* VORN_NETWORK_SCAN_* */
  uint8_t count;
} vorn_network_scan_result;

/* Registration rat. */
enum {
  VORN_NETWORK_REG_RAT_AUTO = 0,
  VORN_NETWORK_REG_RAT_WCDMA = 1,
  VORN_NETWORK_REG_RAT_LTE = 2,
  VORN_NETWORK_REG_RAT_NR = 3,
  VORN_NETWORK_REG_RAT_GSM = 8
};

#define VORN_NETWORK_REG_MODE_GO 5
#define VORN_NETWORK_REG_PLMN_LEN 8

typedef struct {
  uint32_t mode; /* vorn_network_pal_async_register sends only when 5 */
  uint32_t rat;  /* VORN_NETWORK_REG_RAT_* */
  char plmn[VORN_NETWORK_REG_PLMN_LEN]; /* 5 or 6 digits */
} vorn_network_reg_info;

/* ---- smaller queries ---------------------------------------------------- */

typedef struct {
  uint32_t band;      /* the modem's active band code */
  uint32_t radio;     /* radio interface */
  uint32_t bandwidth; /* the modem's bandwidth code */
} vorn_network_band_info;

typedef struct {
  uint16_t year;
  uint8_t month;
  uint8_t day;
  uint8_t hour;
  uint8_t minute;
  uint8_t second;
  uint8_t day_of_week;
  int32_t time_zone_offset_minutes;
  int32_t daylight_saving_offset_minutes;
} vorn_network_time;

typedef struct {
  uint8_t lte_rrc_state_valid;
  uint32_t lte_rrc_state;
  uint8_t dl_earfcn_valid;
  uint32_t dl_earfcn;
  uint8_t ul_earfcn_valid;
  uint32_t ul_earfcn;
  uint8_t nr_rrc_state_valid;
  uint32_t nr_rrc_state;
} vorn_network_arfcn_list;

/* ---- the family ------------------------------------------------------- */

/* 0; also when the event thread could not be started. -1 when the modem's
 * NAS service did not come up (10 tries a second apart) or refused the
 * indication registration. A second init while the client lives waits the
 * 10 seconds and fails. */
VORNPAL_API int vorn_network_pal_init(void);
VORNPAL_API int vorn_network_pal_deinit(void);
/* 0; VORN_INVALID_PARAM for a null callback; 1 no memory. There is no
 * removal: vorn_network_pal_event_unregister does nothing. */
VORNPAL_API int vorn_network_pal_event_register(vorn_network_event_cb callback, uint32_t user);
/* As above, but -1 after a successful registration too. */
VORNPAL_API int vorn_network_al_event_register(vorn_network_event_cb callback, uint32_t user);
VORNPAL_API int vorn_network_pal_event_unregister(vorn_network_event_cb callback);

/* Reject states and causes recorded since the last call; the causes are
 * cleared by reading. */
typedef struct {
  uint32_t ps_state; /* 3 when a PS cause 1 to 113 was recorded */
  uint32_t cs_state;
  uint8_t cs_cause;
  uint8_t ps_cause;
} vorn_network_reject_info;
VORNPAL_API int oem_pal_ind_reject(vorn_network_reject_info *out);

/* The whole query (about thirteen modem requests). 0; VORN_INVALID_PARAM
 * for a null record. Each group that the modem does not answer keeps its
 * defaults. */
VORNPAL_API int vorn_network_pal_get_network_info(uint32_t slot, vorn_network_info *info);
VORNPAL_API int vorn_network_pal_get_network_mccmnc(uint16_t *mcc, uint16_t *mnc,
                                                   uint8_t *three_digit);
VORNPAL_API int vorn_network_pal_get_mnc_mcc(uint16_t *mnc, uint16_t *mcc);
VORNPAL_API int vorn_network_pal_set_mnc_mcc(uint16_t *mnc, uint16_t *mcc);
VORNPAL_API int vorn_network_pal_get_band_info(vorn_network_band_info *info);
VORNPAL_API int vorn_network_get_drx(uint32_t slot, vorn_network_info *info);
VORNPAL_API int vorn_network_get_tx_rx_info(uint32_t slot, vorn_network_info *info);
VORNPAL_API int vorn_network_pal_get_timing_advance(uint32_t *timing_advance);
VORNPAL_API int vorn_network_pal_get_network_time(vorn_network_time *time);
VORNPAL_API int vorn_network_pal_nas_get_arfcn_list(vorn_network_arfcn_list *list);
VORNPAL_API int vorn_network_pal_nas_get_speff(uint32_t *speff, uint8_t mode);
VORNPAL_API int vorn_network_pal_nas_get_nr5g_speff(uint32_t *speff, uint8_t mode);
/* Text of the carrier rows; `out` holds at least 1024 bytes. */
VORNPAL_API int vorn_network_pal_get_cc_rf_info(char *out);
VORNPAL_API int vorn_network_pal_set_gtcsqnren(int32_t enable);
VORNPAL_API int vorn_network_pal_get_gtcsqnren(int32_t *enable);
/* The active SIM slot: 0 SIM1, 1 SIM2. */
VORNPAL_API uint8_t vorn_network_pal_get_usim_card_slot(void);
/* Band number of a NAS band code (WCDMA 1 to 19, LTE 100 + band, NR 500 +
 * band below 10, 5000 + band from 10); 3 for an unknown code. */
VORNPAL_API uint32_t vorn_antennae_get_active_band_bandwith_info(uint32_t band_code);

/* The scan answers by event VORN_NETWORK_EVENT_SCAN_RESULT. 0 requested;
 * VORN_INVALID_PARAM for a null record or an unknown rat code; -1 when the
 * modem refused three times. */
VORNPAL_API int vorn_network_pal_scan(uint32_t slot, vorn_network_scan_result *request);
VORNPAL_API int vorn_network_pal_get_scan_result(uint32_t slot, vorn_network_scan_result *out);
/* "(state,long,short,plmn,rat)," per entry; `out` is the caller's to size
 * for 50 entries. */
VORNPAL_API int vorn_network_pal_get_scan_result_build(char *out);
VORNPAL_API int vorn_network_pal_plmn_list(void);
VORNPAL_API int vorn_network_pal_scan_dedicated(void);
/* Answered by event VORN_NETWORK_EVENT_REGIST_RESP. */
VORNPAL_API int vorn_network_pal_register(uint32_t slot, const vorn_network_reg_info *reg_info);
/* Answered by event VORN_NETWORK_EVENT_MANUAL_REGIST_DONE, once the wanted
 * network is reached or after 30 seconds. */
VORNPAL_API int vorn_network_pal_async_register(uint32_t slot,
                                                const vorn_network_reg_info *reg_info);
/* Selection mode of the asynchronous registration: 0 automatic, 1 manual. */
VORNPAL_API int vorn_network_pal_set_registration_mode(uint32_t mode);
VORNPAL_API int vorn_network_pal_attach(void);
VORNPAL_API int vorn_network_pal_dettach(void);
VORNPAL_API int vorn_network_pal_get_attach_state(uint32_t slot, uint32_t *state);
VORNPAL_API int vorn_network_pal_set_data_roaming_status(uint32_t enable);
VORNPAL_API int vorn_network_pal_get_data_roaming_status(uint32_t *enable);

/* ---- network settings ---------------------------------------------------- */

/* Band mode and rat mode of the settings. rat_mode: 0 automatic, 1 WCDMA,
 * 2 LTE, 4 WCDMA and LTE, 8 GSM, 9 GSM and WCDMA, 10 GSM and LTE, 11 GSM,
 * WCDMA and LTE. Rat codes of the order: 0 GSM, 2 UMTS, 3 LTE. */
#define VORN_NETWORK_BAND_LIST_MAX 140
#define VORN_NETWORK_MULTI_CELL_MAX 38

/* GSM mask bits. */
#define VORN_NETWORK_GSM_900 0x02
#define VORN_NETWORK_GSM_1800 0x08
#define VORN_NETWORK_GSM_1900 0x10
#define VORN_NETWORK_GSM_850 0x80
/* UMTS mask bits: 1, 2, 4, 8, 16, 32 bands I to VI, then: */
#define VORN_NETWORK_UMTS_VIII 0x80
#define VORN_NETWORK_UMTS_XIX 0x80000

/* Lock rat and type of a cell lock. */
enum { VORN_CELL_LOCK_LTE = 0, VORN_CELL_LOCK_NR = 1, VORN_CELL_LOCK_WCDMA = 2 };
enum { VORN_CELL_LOCK_PCI = 0, VORN_CELL_LOCK_FREQ = 1 };
/* action: 1 turns the lock off (enable 0) or on again from the last lock;
 * 4 and above set a new lock; 2 and 3 do nothing. */
#define VORN_CELL_LOCK_ACTION_TOGGLE 1
#define VORN_CELL_LOCK_ACTION_NEW 4

/* One cell, one frequency. A get fills enable, rat, type, arfcn and pci. */
typedef struct {
  uint32_t enable; /* 2 (two locks) is refused for LTE */
  uint32_t rat;    /* VORN_CELL_LOCK_* rat */
  uint32_t type;   /* VORN_CELL_LOCK_PCI or _FREQ */
  uint32_t arfcn;  /* EARFCN, NR-ARFCN or UARFCN */
  uint32_t pci;
  uint32_t scs;  /* NR subcarrier spacing code (vorn_bwlock_scs_map) */
  uint32_t band; /* NR band index (vorn_sa_celllock_band_map) */
  uint32_t action;
} vorn_network_cell_lock_info; /* 32 bytes */

typedef struct {
  uint32_t freq;
  uint32_t pci;
  uint16_t band; /* NR */
  uint16_t reserved_band;
  uint16_t scs; /* NR */
  uint16_t reserved_scs;
  uint32_t spare;
} vorn_network_multi_cell; /* 20 bytes */

/* A list of cells, the LTE cells first (at most 20 are used), then NR cells
 * of which the first is locked. */
typedef struct {
  uint32_t enable; /* 0 does nothing */
  uint32_t lte_count;
  uint32_t nr_count;
  uint32_t spare;
  vorn_network_multi_cell cell[VORN_NETWORK_MULTI_CELL_MAX];
} vorn_network_multi_cell_lock_info;

/* NR band masks: three 64-bit masks, each as its low word then its high
 * word. */
typedef struct {
  uint8_t nr_valid;
  uint32_t nr_mask[6];
} vorn_network_nr_band_info; /* 28 bytes */

/*
 * The record of vorn_network_pal_get_network_setting and _set_: set the
 * flag of each group to read or write; the others are neither read from
 * nor written to the modem.
 */
typedef struct {
  uint8_t regist_info_valid;
  uint32_t regist_mode; /* 0 automatic, 1 manual */

  uint8_t band_info_valid;
  uint32_t band_mode; /* 0 automatic: every band the modem has */
  uint32_t band;      /* get: g_band_mode, or the only band listed */
  uint8_t gsm_valid;
  uint32_t gsm_mask; /* VORN_NETWORK_GSM_* */
  uint8_t umts_valid;
  uint32_t umts_mask; /* 1 << (band - 1) for I to VI, VORN_NETWORK_UMTS_* */
  uint8_t lte_valid;
  /* four 64-bit masks (bit n: band 101 + n), each as its low word then its
   * high word; a get fills the first two */
  uint32_t lte_mask[8];
  uint8_t band_list_len;
  uint32_t band_list[VORN_NETWORK_BAND_LIST_MAX]; /* 900, 1800, 1900, 850; 1 to 19; 101 to 228 */

  uint8_t rat_info_valid;
  uint32_t current_rat; /* get: 0 GSM, 6 WCDMA, 7 LTE, 13 ENDC */
  uint32_t rat_mode;    /* -1 on a get that found no mode */
  uint8_t rat_order_valid;
  uint8_t primary_rat;
  uint8_t secondary_rat;

  uint8_t nr_info_valid; /* refused by set, cleared by get */
  vorn_network_nr_band_info nr_info;

  uint8_t roaming_info_valid; /* not acted on */

  uint8_t cell_lock_info_valid;
  vorn_network_cell_lock_info cell_lock_info;
  uint8_t cell_multi_lock_info_valid; /* set only */
  vorn_network_multi_cell_lock_info cell_multi_lock_info;

  uint8_t plmn_lock_info_valid;
  uint8_t plmn_lock_enable;
  char plmn_lock[7]; /* 5 or 6 digits */

  uint8_t channl_lock_info_valid; /* logged only */
} vorn_network_setting;

/* The last band mode set. */
VORNPAL_API extern uint32_t g_band_mode;

/* 0 or the manufacturer query's result; -1 when the modem did not answer
 * the selection query. */
VORNPAL_API int vorn_network_pal_get_network_setting(uint32_t slot, vorn_network_setting *setting);
/* 0; -1 when the modem refused the selection, for nr_info_valid (nothing is
 * sent then), or when a cell lock could not be written (what went before
 * stays). The PLMN lock cycles the radio (operating modes 1, then 0). */
VORNPAL_API int vorn_network_pal_set_network_setting(uint32_t slot, vorn_network_setting *setting);
/* dest := left << 32 | right */
VORNPAL_API void vorn_network_pal_band_mask_build(uint64_t *dest, uint32_t left, uint32_t right);
/* left := high, right := low */
VORNPAL_API void oem_network_pal_band_mask_extract(uint32_t low, uint32_t high, uint32_t *left,
                                                   uint32_t *right);

/* ---- cell lock (EFS items through the M2M service) ---------------------- */

typedef struct {
  uint32_t value;
  uint32_t code;
} vorn_network_lock_code;

/* Codes for clients: NR band number to band index (26 rows), subcarrier
 * spacing in kHz to code (5 rows), bandwidth in MHz to mask (15 rows). */
VORNPAL_API extern const vorn_network_lock_code vorn_sa_celllock_band_map[26];
VORNPAL_API extern const vorn_network_lock_code vorn_bwlock_scs_map[5];
VORNPAL_API extern const vorn_network_lock_code vorn_sa_bandwidth_scs_map[15];

/* 1 done, 0 failed. slot 0 SIM1, 1 SIM2; other slots write no odm string. */
VORNPAL_API int vorn_user_lock_cellcfg_exec(uint32_t rat, uint32_t type, uint32_t earfcn, uint32_t pci,
                                            uint32_t slot);
VORNPAL_API int vorn_user_lock_multi_lte_cellcfg_exec(const vorn_network_multi_cell_lock_info *multi);
VORNPAL_API int vorn_5glock_pci_exec(uint32_t earfcn, uint32_t pci, uint32_t scs, uint32_t band,
                                     uint32_t slot);
VORNPAL_API int vorn_5glock_freq_exec(uint32_t earfcn, uint32_t scs, uint32_t slot);
/* Each names the mode it turns off: the earfcn-only lock writes pci_lock,
 * the pci-only lock the earfcn lock. 1 done, 0 failed. */
VORNPAL_API int vorn_disable_celllock_erafcn_only_fun(uint32_t earfcn, uint32_t pci);
VORNPAL_API int vorn_disable_celllock_pci_only_fun(uint32_t earfcn);
VORNPAL_API int vorn_disable_celllock_5gpci_only_fun(uint32_t earfcn, uint32_t scs);
VORNPAL_API int vorn_disable_celllock_5gerafcn_only_fun(uint32_t earfcn, uint32_t pci, uint32_t scs,
                                                        uint32_t band);
/* The list form of the NR lock, for modem software that reads it. */
VORNPAL_API int vorn_disable_celllock_5gerafcn_only_new_baseline(uint32_t earfcn, uint32_t pci,
                                                                 uint32_t scs, uint32_t band);
/* The NR lock items of a SIM (_sim1, _sim2) in and out of the common ones
 * that the modem reads. */
VORNPAL_API int vorn_network_switch_sim_efs_del(uint32_t slot);
/* mode 1: the 8-byte earfcn lock, mode 0: the 12-byte PCI lock; copied
 * when it holds a lock. The read's result when copied, else 0; -1 for null. */
VORNPAL_API int vorn_network_switch_sim_efs_copy(const char *dst, const char *src, int mode);
VORNPAL_API int vorn_network_switch_sim_efs_change(uint32_t slot);
VORNPAL_API int oem_network_pal_gtcelllockex_unlock(void);
VORNPAL_API int oem_network_pal_gtcelllockex_lock_del(void);
VORNPAL_API int oem_network_pal_get_celllockex(void);
VORNPAL_API int vorn_network_pal_set_multi_cell_lock(void);

/* ---- frequency lock ------------------------------------------------------ */

/* The request and answer of the frequency lock functions (344 bytes). */
#define VORN_NETWORK_LOCK_LTE_MAX 30
#define VORN_NETWORK_LOCK_NR_MAX 8

enum {
  VORN_NETWORK_LOCK_RAT_LTE = 0,
  VORN_NETWORK_LOCK_RAT_NR = 1,
  VORN_NETWORK_LOCK_RAT_BOTH = 3
};

typedef struct {
  uint32_t arfcn;
  uint32_t pci; /* low 16 bits */
} vorn_network_lte_lock_cell; /* 8 bytes */

typedef struct {
  uint32_t band;
  uint32_t earfcn;
  uint16_t scs;
  uint16_t pci;
} vorn_network_nr_lock_cell; /* 12 bytes */

typedef struct {
  uint8_t rat;    /* VORN_NETWORK_LOCK_RAT_* */
  uint8_t enable; /* 1 lock, other unlock */
  uint8_t spare;
  uint8_t lte_count;
  uint8_t nr_count;
  uint8_t reserved_pad[3];
  vorn_network_lte_lock_cell lte_cell[VORN_NETWORK_LOCK_LTE_MAX];
  vorn_network_nr_lock_cell nr_cell[VORN_NETWORK_LOCK_NR_MAX];
} vorn_network_freqlock_info;

/* LTE through the modem's cell configuration (its failure only logged); NR
 * (rat 1 or 3) through the vendor service. 0; -1. */
VORNPAL_API int vorn_network_pal_set_freqlock(const vorn_network_freqlock_info *info);
VORNPAL_API int vorn_network_pal_get_freqlock(vorn_network_freqlock_info *info);
/* As above, with NR in the list form of the NR PCI lock item. */
VORNPAL_API int oem_network_pal_set_freqlock_ext(const vorn_network_freqlock_info *info);
VORNPAL_API int oem_network_pal_get_freqlock_ext(vorn_network_freqlock_info *info);
/* The last lock as the modem recorded it, into cell_lock_info. 0; -1. */
VORNPAL_API int vorn_network_pal_get_celllock_last_cfg(vorn_network_setting *setting);

/* ---- carrier aggregation and capabilities -------------------------------- */

#define VORN_NETWORK_CA_SCELL_MAX 4

typedef struct {
  uint16_t pci;
  uint32_t freq;
  uint32_t bandwidth; /* the modem's bandwidth code */
  uint32_t band;      /* as the family numbers bands: LTE 100 + band */
  uint32_t scell_state; /* 0 deconfigured, 1 configured, 2 activated */
  uint8_t ul_configured;
  uint8_t spare;
} vorn_network_ca_scell; /* 24 bytes */

/* The primary cell's pci and channel as the modem reported them; with no
 * secondary cell in the answer but one the modem indicated, that cell is
 * the only entry and pcell_freq reads 1 (a secondary cell is present). */
typedef struct {
  uint16_t pcell_pci;
  uint16_t pcell_freq;
  uint32_t count;
  vorn_network_ca_scell scell[VORN_NETWORK_CA_SCELL_MAX];
} vorn_network_cainfo;

/* 0; 3 for a null record; -1 when the modem did not answer. A secondary
 * cell the answer calls deconfigured keeps the state last indicated for
 * it. */
VORNPAL_API int vorn_network_pal_get_lte_cainfo(vorn_network_cainfo *info);

#define VORN_NETWORK_CAP_DATA_MAX 32
#define VORN_NETWORK_CAP_BAND_MAX 512

typedef struct {
  uint32_t band_request; /* not 0: the band list; 0: the data capabilities */
  uint32_t umts_mask;    /* low word of the modem's GSM/UMTS mask */
  uint8_t data_capabilities_valid;
  uint32_t data_capabilities_len;
  uint32_t data_capabilities[VORN_NETWORK_CAP_DATA_MAX];
  uint32_t band_list_len;
  uint32_t band_list[VORN_NETWORK_CAP_BAND_MAX]; /* GSM 900/1800/1900/850, WCDMA 1 to 19, LTE 100 + band, NR 500/5000 + band */
} vorn_network_capabilities_info;

/* Bands: 0 (empty lists when the modem reported none). Data capabilities:
 * one value per service option of the current (or else the last) data
 * bearer, 0; -1 when there is no bearer. -1 for a null record. */
VORNPAL_API int vorn_network_pal_get_capabilities_info(uint32_t slot, vorn_network_capabilities_info *info);
/* Fills the UMTS, LTE and NR masks of each class whose valid flag is clear
 * with every band the modem has; the flags stay as they were. 0. */
VORNPAL_API int oem_nw_pal_fill_band_capabilities(vorn_network_setting *setting);

/* ---- release version, receive chains, antenna diversity, MBN ------------ */

/* LTE: 0 release C0, 1 D0; NR: 0 release 01, 1 02 (the modem's EFS bytes).
 * A value the item does not hold leaves its output as it was. 0; -1 when an
 * item cannot be read. */
VORNPAL_API int vorn_network_pal_get_release_version(uint32_t *lte, uint32_t *nr);
/* rat "LTE" or "NR", value 0 or 1. 0; -1 when the item was not written (a
 * value other than 0 and 1 among them); 3 for another rat text. */
VORNPAL_API int vorn_network_pal_set_release_version(const char *rat, uint32_t value);
/* Receive chains in use: 2 or 4 from the chain item, 8 from the 8-receiver
 * feature, else *ant_num as given. Each flag becomes 1 when its item exists
 * and is otherwise left. Always 0. */
VORNPAL_API int vorn_network_pal_get_umode(uint32_t *ant_num, uint32_t *rx_num_cfg_flag,
                                           uint32_t *feature_8rx_out_flag);
/* Parks the items of `previous` chains, then puts those of `ant_num` (0, 2,
 * 4 or 8) in place; goes on after a failed step. The result of the last
 * rename or write, 0 when there was none. */
VORNPAL_API int vorn_network_pal_swicth_umode(uint32_t ant_num, uint32_t previous);
/* Antenna diversity: 1 on. set: the write's result, 0 without a write when
 * the item already says so. get: 0; -1 when the item cannot be read. */
VORNPAL_API int vorn_network_pal_set_asdiv(uint8_t on);
VORNPAL_API int vorn_network_pal_get_asdiv(uint32_t *status);

/* The MBN file request: act 0 automatic selection, else the operator's file
 * (at most 31 characters of oper_name are taken). 36 bytes. */
typedef struct {
  uint32_t act;
  char oper_name[32];
} vorn_network_mbn_request;

/* Registration counters (64 bytes; the rest is the modem's). */
typedef struct {
  uint8_t registration_type;
  uint8_t registration_num;
  uint8_t deregistration_num;
  uint8_t registration_failure;
  uint8_t reserved[60];
} vorn_network_reg_type;

typedef struct {
  int32_t nr_tx_pwr;
} vorn_network_tx_power;

/* 0; -1 for act not 0 without a name, or when the modem refused. */
VORNPAL_API int vorn_network_pal_set_mbn_file(uint32_t act, const char *oper_name);
/* The vendor command's result; the record as the modem filled it. */
VORNPAL_API int oem_network_get_reg_type(vorn_network_reg_type *out);
/* nr_tx_pwr as the modem left it in the record. */
VORNPAL_API int oem_network_get_tx_power(vorn_network_tx_power *out);
VORNPAL_API int oem_network_get_active_mbn(vorn_network_mbn_request *out);

/* ---- operations this platform does not have ------------------------------ */

/* Fixed results, nothing done: 0 for these, */
VORNPAL_API int vorn_network_5gnr_time_start(void);
VORNPAL_API int vorn_network_5gnr_time_stop(void);
VORNPAL_API int vorn_network_pal_get_network_basic_msg(void);
VORNPAL_API int oem_network_pal_get_NrRssi(void);
VORNPAL_API int vorn_network_pal_set_cdrx(void);
VORNPAL_API int vorn_network_pal_get_cdrx(void);
VORNPAL_API int vorn_network_pal_get_lte_cinr(void);
VORNPAL_API int oem_network_pal_get_attach_info(void);
VORNPAL_API int oem_network_pal_get_lte_cellinfo_extra(void);
VORNPAL_API int oem_network_pal_get_nr_cellinfo_extra(void);
VORNPAL_API int vorn_network_pal_get_nr_reg_info(void);
VORNPAL_API int vorn_network_pal_rrc_conn_reason(void);
VORNPAL_API int vorn_network_pal_get_currentupTime(void);
VORNPAL_API int vorn_network_pal_set_radio_state(void);
VORNPAL_API int oem_network_pal_thermal_cc_control_get(void);
VORNPAL_API int oem_network_pal_thermal_cc_control_set(void);
/* -1 for this one (and vorn_network_pal_set_multi_cell_lock), */
VORNPAL_API int oem_get_pci_if_endc(void);
/* and VORN_NOT_SUPPORTED for these (and the gtcelllockex three). */
VORNPAL_API int oem_network_pal_exec_cellscanex(void);
VORNPAL_API int oem_network_pal_get_gtcellscanex(void);
VORNPAL_API int oem_network_pal_set_gtcellscanex(void);
VORNPAL_API int oem_network_pal_exec_cellscan(void);
VORNPAL_API int oem_network_pal_set_gt5gnssai_fun(void);
VORNPAL_API int oem_network_pal_clear_gt5gnssai_fun(void);
VORNPAL_API int oem_network_pal_get_gt5gnssai_fun(void);
VORNPAL_API int oem_network_pal_set_nr_deprioritize(void);
VORNPAL_API int oem_network_pal_set_endc_en(void);
VORNPAL_API int oem_network_pal_get_rejcause(void);
VORNPAL_API int oem_gttasstate_pal(void);
VORNPAL_API int oem_cusd_set_pal(void);
VORNPAL_API int oem_cssn_set_pal(void);
VORNPAL_API int oem_cssn_get_pal(void);

VORNPAL_END_DECLS

#endif
