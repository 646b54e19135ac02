/*
 * Network family: the records of the network queries.
 *
 * The records below hold, so far, the fields that the vendor (M2M) service
 * fills: carrier aggregation, link quality and the GSM details of
 * vorn_network_info, and the NR part of vorn_network_freqlock_info. The
 * Network family completes them with the fields that its own queries fill.
 * Records are owned by the caller, who clears them before a query.
 */
#ifndef VORNPAL_NETWORK_H
#define VORNPAL_NETWORK_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* Serving radio, the access technology of vorn_network_info. */
enum {
  VORN_NETWORK_ACT_GSM = 0,
  VORN_NETWORK_ACT_WCDMA = 2,
  VORN_NETWORK_ACT_WCDMA_CELL = 6,
  VORN_NETWORK_ACT_LTE = 7,
  VORN_NETWORK_ACT_NR = 11, /* standalone */
  VORN_NETWORK_ACT_ENDC = 13 /* LTE anchor with NR (non-standalone) */
};

/* Carriers of the aggregation, blocks of the vendor service kept whole. */
#define VORN_NETWORK_SCC_MAX 10

typedef struct {
  uint32_t band; /* as the modem gives it, the plain band number */
  uint8_t info[36];
} vorn_network_pcc_record; /* 40 bytes */

typedef struct {
  uint32_t band;         /* LTE 100 + band, NR 500 + band below 10, else 5000 + band */
  uint8_t scell_state;  /* 0 deconfigured, 1 configured but inactive, 2 active */
  uint8_t ul_configerd; /* 1 when the carrier carries uplink too */
  uint8_t info[42];
} vorn_network_scc_record; /* 48 bytes */

/* GSM details that only the vendor service reports, as it gives them. */
#define VORN_NETWORK_CELL_INFO_EXT_SIZE 75

/*
 * The answer of vorn_network_pal_get_network_info. Link-quality values are
 * the modem's own: CQI 0 to 15, rank indicator, downlink rank, downlink and
 * uplink MCS index.
 */
typedef struct {
  /* serving radio, VORN_NETWORK_ACT_*: decides which link values are filled */
  uint8_t access_tech;

  /* GSM neighbour details, filled when the modem reports them */
  uint8_t cell_info_ext_valid;
  uint8_t cell_info_ext[VORN_NETWORK_CELL_INFO_EXT_SIZE];

  /* LTE link, also the anchor of ENDC */
  uint8_t lte_cqi;
  uint8_t lte_ri;
  uint8_t lte_dlrank;
  uint8_t lte_dlmcs;
  uint8_t lte_ulmcs;
  /* NR link under an LTE anchor (ENDC) */
  uint8_t nsa_nr_cqi;
  uint8_t nsa_nr_ri;
  uint8_t nsa_nr_dlrank;
  uint8_t nsa_nr_dlmcs;
  uint8_t nsa_nr_ulmcs;
  /* NR link, standalone */
  uint8_t nr_cqi;
  uint8_t nr_ri;
  uint8_t nr_dlrank;
  uint8_t nr_dlmcs;
  uint8_t nr_ulmcs;

  /* carrier group */
  vorn_network_pcc_record pcc;
  uint8_t scc_count; /* at most VORN_NETWORK_SCC_MAX */
  vorn_network_scc_record scc[VORN_NETWORK_SCC_MAX];
} vorn_network_info;

/* Frequency and cell lock: the request and answer of the lock functions
 * (344 bytes). */
#define VORN_NETWORK_LOCK_LTE_MAX 30
#define VORN_NETWORK_LOCK_NR_MAX 8

enum {
  VORN_NETWORK_LOCK_RAT_LTE = 0,
  VORN_NETWORK_LOCK_RAT_NR = 1,
  VORN_NETWORK_LOCK_RAT_BOTH = 3
};

typedef struct {
  uint32_t band;
  uint32_t earfcn;
  uint16_t scs;
  uint16_t pci;
} vorn_network_nr_lock_cell; /* 12 bytes */

typedef struct {
  uint8_t rat;    /* VORN_NETWORK_LOCK_RAT_* */
  uint8_t enable; /* 1 lock, other unlock */
  uint8_t reserved_lte_head[2];
  uint8_t nr_count;
  uint8_t reserved_pad[3];
  uint32_t reserved_lte_cells[2 * VORN_NETWORK_LOCK_LTE_MAX];
  vorn_network_nr_lock_cell nr_cell[VORN_NETWORK_LOCK_NR_MAX];
} vorn_network_freqlock_info;

VORNPAL_END_DECLS

#endif
