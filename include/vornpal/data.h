/*
 * Data family: data calls on numbered profiles, the profiles stored on the
 * modem, and the addresses of a call once it is up.
 *
 * Profiles are numbered 1 to 42 (VORN_DATA_PROFILE_MAX). A call on a profile
 * is one WDS session for each IP family it uses, IPv4 and IPv6; each session
 * has its own WDS client, and the two of one profile share one data
 * interface, "rmnet_data<N>".
 *
 * Call vorn_data_pal_init once before anything else. It starts the family's
 * event thread ("event_data_rx"), which runs for the life of the process;
 * vorn_data_pal_deinit releases the clients and forgets the callbacks and
 * profiles, but leaves the thread.
 *
 * Results (include/vornpal/defs.h): VORN_OK (0) for success, VORN_FAILURE
 * (-1) for failure, unless stated otherwise; VORN_QMI_FAILURE (-6) for a
 * session the modem would not start. Records stay the caller's.
 */
#ifndef VORNPAL_DATA_H
#define VORNPAL_DATA_H

#include <vornpal/defs.h>
#include <vornpal/event.h>

VORNPAL_BEGIN_DECLS

#define VORN_DATA_PROFILE_MAX 42

/* A start that the modem answered with "no effect" and no connected report
 * came: the session exists on the modem already. */
#define VORN_DATA_NO_EFFECT (-14)
/* The profile's call is connected already. */
#define VORN_DATA_ALREADY_CONNECTED 10

/* ---- events ----------------------------------------------------------------
 *
 * Callbacks registered with vorn_data_pal_event_register get
 * (event_id, data, size, user_data). The data belongs to the library and is
 * freed after the last callback: copy what you keep.
 *
 * Event 0 comes on the event thread "event_data_rx" once the data interface
 * has settled (its address is there, or gone, or the wait ran out), and on
 * the caller's thread when a synchronous start fails. Events 2 to 5 come on
 * the threads "async_connect" and "async_disconnect".
 */
enum {
  VORN_DATA_EVENT_CALL_STATUS = 0,        /* vorn_data_status_event, 28 bytes */
  VORN_DATA_EVENT_STATISTICS = 1,
  VORN_DATA_EVENT_CONNECT_DONE = 2,       /* the profile index, 4 bytes */
  VORN_DATA_EVENT_CONNECT_FAILED = 3,     /* the profile index, 4 bytes */
  VORN_DATA_EVENT_DISCONNECT_DONE = 4,    /* the profile index, 4 bytes */
  VORN_DATA_EVENT_DISCONNECT_FAILED = 5   /* the profile index, 4 bytes */
};

/* data_state of event 0. */
enum {
  VORN_DATA_STATE_DOWN = 0,
  VORN_DATA_STATE_CHANGING = 1, /* suspended or authenticating */
  VORN_DATA_STATE_UP = 2
};

/* Event 0: a call of one IP family changed state, or its start failed. */
typedef struct {
  int32_t profileIndex;
  int32_t ip_call_type; /* 0 IPv4, 1 IPv6 */
  int32_t data_state;   /* VORN_DATA_STATE_* */
  int32_t failureType;  /* the end reason as the family numbers it; 45 none */
  int32_t failureCode;  /* the modem's call end reason */
  int32_t verboseType;  /* the verbose end reason's type */
  int32_t verboseCode;  /* the verbose end reason */
} data_status_event;

/* ---- profiles --------------------------------------------------------------- */

/* pdp_type of a profile. */
enum {
  VORN_DATA_PDP_IPV4 = 0,
  VORN_DATA_PDP_IPV6 = 1,
  VORN_DATA_PDP_IPV4V6 = 2,
  VORN_DATA_PDP_PPP = 3
};

/* Bits of authentication_preference. */
#define VORN_DATA_AUTH_PAP 0x1
#define VORN_DATA_AUTH_CHAP 0x2

/* A profile's connection settings (364 bytes). On a write, the fields with
 * a _valid byte are sent only when it is set; APN, PDP type, authentication,
 * user name and password always go. The APN goes with at most 62 bytes. */
typedef struct {
  uint8_t cid;
  char profile_name[51];
  char apn[100];
  uint32_t authentication_preference; /* VORN_DATA_AUTH_* */
  char username[65];
  char password[65];
  uint8_t auth_valid;
  uint8_t username_valid;
  uint8_t password_valid;
  uint32_t pdp_type; /* VORN_DATA_PDP_* */
  uint32_t ip_support_type; /* vorn_data_pal_set_attach_params only */
  char pdp_text[7];
  uint8_t pdp_type_valid;
  uint8_t apn_valid;
  uint8_t ipv4_address_preference_valid;
  uint32_t ipv4_address_preference;
  uint8_t pdp_data_compression_valid;
  uint32_t pdp_data_compression;
  uint8_t pdp_hdr_compression_valid;
  uint32_t pdp_hdr_compression;
  uint8_t option_d_valid;
  uint32_t option_d;
  uint8_t option_e_valid;
  uint8_t option_e;
  uint8_t reserved[20];
  uint8_t clat_valid;
  uint8_t clat_enabled;
} data_profile_settings;

typedef struct {
  uint32_t count;
  data_profile_settings profiles[VORN_DATA_PROFILE_MAX];
} data_profile_list;

/* ---- run-time settings -------------------------------------------------------- */

/* Bits of the mask of vorn_data_pal_get_runtime_connect_info. */
#define VORN_DATA_INFO_DNS 0x10
#define VORN_DATA_INFO_ADDRESS 0x80
#define VORN_DATA_INFO_GATEWAY 0x100
#define VORN_DATA_INFO_MTU 0x200
#define VORN_DATA_INFO_INTERFACE 0x1000

/* What a call of one family has (384 bytes). A flag of 1 says the value
 * behind it is set. IPv4 addresses are numbers in host order (10.0.0.1 is
 * 0x0A000001), IPv6 addresses 16 bytes in network order. */
typedef struct {
  uint8_t reserved_0[17];
  char interfaceName[21];
  uint8_t reserved_38[233];
  uint8_t ipv4_dns_primary_valid;
  uint32_t ipv4_dns_primary;
  uint8_t ipv4_dns_secondary_valid;
  uint32_t ipv4_dns_secondary;
  uint8_t reserved_284[8];
  uint8_t ipv4_address_valid;
  uint32_t ipv4_address;
  uint8_t ipv4_gateway_valid;
  uint32_t ipv4_gateway;
  uint8_t ipv6_address_valid;
  uint8_t ipv6_address[16];
  uint8_t ipv6_prefix_length; /* 64 */
  uint8_t ipv6_gateway_valid;
  uint8_t ipv6_gateway[16];
  uint8_t ipv6_gateway_prefix_length; /* 64 */
  uint8_t ipv6_dns_primary_valid;
  uint8_t ipv6_dns_primary[16];
  uint8_t ipv6_dns_secondary_valid;
  uint8_t ipv6_dns_secondary[16];
  uint8_t mtu_valid;
  uint32_t mtu;
} connect_info;

/* ---- the family ------------------------------------------------------------------ */

/* 0, or -1 when the modem's call reports cannot be switched on. */
VORNPAL_API int vorn_data_pal_init(void);
/* Releases the WDS clients, forgets callbacks and profiles; 0. */
VORNPAL_API int vorn_data_pal_deinit(void);
/* Appends a callback (the same one twice is called twice); -1 for null. */
VORNPAL_API int vorn_data_pal_event_register(vorn_pal_event_callback callback, void *user_data);
/* Removes the first registration of callback; 0 also when there is none. */
VORNPAL_API int vorn_data_pal_event_unregister(vorn_pal_event_callback callback);
/* Switches the modem's call reports on (any nonzero mask). */
VORNPAL_API int vorn_data_event_register(uint32_t mask);
/* Hands data (a heap block the caller gives up; null does nothing) to every
 * callback, then frees it. */
VORNPAL_API void vorn_data_pal_ind_notify(int event_id, void *data, int size);

/* ---- calls -------------------------------------------------------------------------
 *
 * A synchronous connect returns once the modem has started the session
 * (each family it uses, IPv4 first); event 0 follows when the interface is
 * up. It gives VORN_DATA_ALREADY_CONNECTED for a call that is up,
 * VORN_QMI_FAILURE or VORN_DATA_NO_EFFECT when the start failed, and then
 * also posts event 0 with the failure. A profile of type IPv4v6 counts as
 * connected when either family came up.
 *
 * Starts and stops of all profiles take turns (they share one wait for the
 * modem's report, 2 s). A report reaches the library only after the event
 * thread has taken the one before it, so wait for a call's event 0 before
 * stopping it: a stop right behind a start can miss its report and give -1.
 */
VORNPAL_API int vorn_data_pal_connect(int cid);
/* Writes the profile first (vorn_data_pal_write_connect_setting). */
VORNPAL_API int vorn_data_pal_connect_with_apn(int cid, const data_profile_settings *settings);
/* Connects on the thread "async_connect"; the outcome is event 2 (up, with
 * an address) or 3. -1 for a bad profile or a network that is not
 * registered. A call while one runs only changes the profile it serves. */
VORNPAL_API int vorn_data_pal_async_connect(int cid);
VORNPAL_API int vorn_data_pal_disconnect(int cid);
/* Disconnects on the thread "async_disconnect"; event 4 or 5. */
VORNPAL_API int vorn_data_pal_async_disconnect(int cid);
/* Marks the profile as kept on the modem. */
VORNPAL_API int vorn_data_pal_activate_context(int cid);
/* Fixed results: 0. */
VORNPAL_API int vorn_data_pal_data_call_cid_get(void);
VORNPAL_API int vorn_data_pal_data_call_get(void);

/* ---- profiles ----------------------------------------------------------------------- */

VORNPAL_API int vorn_data_pal_write_connect_setting(int cid, const data_profile_settings *settings);
VORNPAL_API int vorn_data_pal_read_connect_setting(int cid, data_profile_settings *settings);
/* -1 while a call of the profile is up. */
VORNPAL_API int vorn_data_pal_delete_profile(int cid);
/* -1 when the modem holds more than 42 profiles. */
VORNPAL_API int vorn_data_pal_get_profile_list(data_profile_list *list);
/* 1 when the modem holds the profile, else 0. */
VORNPAL_API int vorn_data_pal_is_profile_defined(int cid);
/* Fills pdp_type (IPv4 0, IPv6 1, IPv4v6 2) and the APN only. */
VORNPAL_API int vorn_data_pal_get_attach_params(data_profile_settings *settings);
VORNPAL_API int vorn_data_pal_set_attach_params(const data_profile_settings *settings);
/* Fixed result: does nothing. */
VORNPAL_API void vorn_data_pal_check_ia_apn_profile(void);
/* Ties the profile to the interface "rmnet_data<N>" from its next call on,
 * taking N from any profile that had it. */
VORNPAL_API int vorn_data_MapProfileOnNetworkInterface(int cid, const char *name);
/* Unties the first profile tied to link number `link`. */
VORNPAL_API void vorn_data_ClearProfileNetIntf(uint8_t link);

/* ---- run-time settings ------------------------------------------------------------------ */

/* Fills what `mask` (VORN_DATA_INFO_*) asks for the family ip_family (0 IPv4,
 * 1 IPv6). -1 when the address is asked and the call has none. An IPv6
 * address that is link-local is replaced by the interface's global one. */
VORNPAL_API int vorn_data_pal_get_runtime_connect_info(int cid, uint32_t mask, int ip_family,
                                                       connect_info *info);
/* Copies "rmnet_data" into text (size bytes). */
VORNPAL_API int vorn_data_pal_get_interface_prefix(char *text, size_t size);
/* Keep the kernel from taking a default route or an MTU from router
 * advertisements on the interface. */
VORNPAL_API void vorn_set_ipv6_default_route(const char *name);
VORNPAL_API void vorn_set_ipv6_default_mtu(const char *name);

/* ---- statistics and status -------------------------------------------------------
 *
 * Event 1 (VORN_DATA_EVENT_STATISTICS) carries vorn_data_statistics: the
 * modem's counters of both families, sent by the thread "stats_cb" every
 * 10 s while they change, from vorn_data_pal_oper_statistics(1, ...) until
 * vorn_data_pal_oper_statistics(2, ...).
 */

/* oper_type of the statistics calls. */
enum {
  VORN_DATA_STATS_READ = 0,
  VORN_DATA_STATS_START = 1,
  VORN_DATA_STATS_STOP = 2
};

/* The longest period the statistics calls accept, in seconds. */
#define VORN_DATA_STATS_PERIOD_MAX 86400

/* Event 1 (16 bytes). */
typedef struct {
  uint64_t tx;
  uint64_t rx;
} vorn_data_statistics;

/* One EPS bearer of vorn_data_pal_get_eps_bearer_details (7 bytes). */
#define VORN_DATA_EPS_BEARERS 8
typedef struct {
  uint8_t bearer_id; /* 0: the record is empty */
  uint8_t bearer_type;
  uint8_t qci;
  uint8_t ul_ambr;
  uint8_t dl_ambr;
  uint8_t ul_gbr;
  uint8_t dl_gbr;
} eps_bearer_info;

/* Why a family's last call ended, or its start failed. */
typedef struct {
  uint32_t failureType;
  uint32_t failureCode;
  uint32_t verboseType;
  uint32_t verboseCode;
} data_call_failure;

/* The text of vorn_data_pal_get_error_messages. */
#define VORN_DATA_ERROR_TEXT_SIZE 256
/* vorn_data_pal_get_msisdn: the attach APN is empty, or the modem knows no
 * MSISDN for it. */
#define VORN_DATA_NO_MSISDN 11

/* Reads (oper_type 0) the counters of the default profile's clients:
 * pdp_type 0 IPv4, 1 IPv6, 2 both added up. 0, or -1 for a bad argument
 * (period above VORN_DATA_STATS_PERIOD_MAX, null counters on a read) or a
 * failed IPv4 read. oper_type 1 starts the report thread, 2 stops it. */
VORNPAL_API int vorn_data_pal_oper_statistics_by_pdptype(int oper_type, uint32_t period,
                                                         uint64_t *tx, uint64_t *rx,
                                                         int pdp_type);
VORNPAL_API int vorn_data_pal_oper_statistics(int oper_type, uint32_t period, uint64_t *tx,
                                              uint64_t *rx);
/* Seconds since the profile's call came up, to its end or to now. */
VORNPAL_API int vorn_data_pal_get_call_duration(int cid, uint64_t *duration);
/* ip_type 0 IPv4, 1 IPv6, 2 either: 1 when that call is enabled, else 0. */
VORNPAL_API int vorn_data_pal_is_connected(int cid, int ip_type);
/* A heap array (the caller frees it) of one record per connected profile,
 * data_state 2 and ip_call_type 0 IPv4, 1 IPv6, 2 both. */
VORNPAL_API int vorn_data_pal_get_active_status(data_status_event **list, int *count);
/* ip_version 0 IPv4, 1 IPv6. */
VORNPAL_API void vorn_data_pal_get_connection_failure_reason(int cid, int ip_version,
                                                             data_call_failure *failure);
/* The service-option mask of the current (or else the last) data bearer. */
VORNPAL_API int vorn_data_pal_get_data_bearer_technology_ex(uint64_t *so_mask);
/* Fills VORN_DATA_EPS_BEARERS records; count gets the used ones. */
VORNPAL_API int vorn_data_pal_get_eps_bearer_details(eps_bearer_info *info, int *count);
/* "DATA_ERROR_CODE:" and the verbose end reasons of every profile, in
 * VORN_DATA_ERROR_TEXT_SIZE bytes. */
VORNPAL_API int vorn_data_pal_get_error_messages(char *text);
VORNPAL_API int vorn_data_pal_get_pdu_connection_session_id(uint8_t *id);
/* The MSISDN the network gave the attach APN, as digits (at least 511
 * bytes). 0, -1, VORN_DATA_NO_MSISDN, or the code of the failed step. */
VORNPAL_API int vorn_data_pal_get_msisdn(char *text);
/* Writes the 12 bytes of config as the private DNS setting. */
VORNPAL_API int vorn_data_pal_set_prdnscfg(const uint8_t *config);

/* Fixed results: -1 for the loopback pair, 1 for the modem state, 0 for the
 * others; no argument is read or written. */
VORNPAL_API int vorn_data_pal_set_data_loopback(int mode);
VORNPAL_API int vorn_data_pal_get_data_loopback(int *mode);
VORNPAL_API int vorn_data_pal_get_pdu_detail_info(int cid, void *info);
VORNPAL_API int vorn_data_pal_set_ippass_mode(int mode);
VORNPAL_API int vorn_data_pal_get_ippass_mode(int *mode);
VORNPAL_API int vorn_data_pal_set_odhcpd_relay(int enable);
VORNPAL_API int vorn_data_pal_set_odhcpd_server(int enable);
VORNPAL_API int vorn_data_pal_add_v6_brlan_prefix(const char *prefix);
VORNPAL_API int vorn_data_pal_del_v6_brlan_prefix(const char *prefix);
VORNPAL_API int vorn_data_pal_restart_rdnis(void);
VORNPAL_API int vorn_data_pal_update_odhcpd_setting(void);
VORNPAL_API int vorn_data_pal_oper_traffic_info(int oper_type, void *info);
VORNPAL_API int vorn_data_pal_get_traffic_info_by_profile(int cid, void *info);
VORNPAL_API int vorn_data_pal_support_odhcpd(void);
VORNPAL_API int vorn_data_pal_get_modem_state(void);

/* ---- IPA, VLAN and bridge configuration ---------------------------------------------
 *
 * The requests go to the IPA driver ("/dev/ipa"); the VLAN links and
 * bridges they name are made by the caller (ip, brctl). The three
 * Update*Ioctl functions give 1 for success and 0 for a failure.
 */

#define VORN_DATA_IPA_NAME_SIZE 32
#define VORN_DATA_VLAN_ID_MAX 4094

/* mode of ipa_lan_config. */
enum {
  VORN_DATA_IPA_MODE_NONE = 3,  /* no LAN mapping; 9 too */
  VORN_DATA_IPA_MODE_TYPE2 = 4,
  VORN_DATA_IPA_MODE_TYPE1 = 8,
  VORN_DATA_IPA_MODE_NONE_ALT = 9
};

typedef struct {
  uint32_t enable; /* 0 or 1 */
  uint32_t value;  /* passed to the driver */
  uint16_t vlan_id;
  uint32_t mode;   /* VORN_DATA_IPA_MODE_*; other values keep the driver's type */
  char dev_name[VORN_DATA_IPA_NAME_SIZE];
  uint8_t mac_addr[6]; /* a first byte of 0: none */
  uint8_t flag_a;      /* inverted into the request */
  uint8_t flag_b;
} ipa_lan_config;

/* 0, or -1 for null, a device that cannot be opened or refuses. */
VORNPAL_API int vorn_data_pal_set_ipa_cfg(const ipa_lan_config *lan_obj);
/* "/etc/data/ipa_config.txt": "vlan: ecm rndis eth", or empty. */
VORNPAL_API void vorn_data_pal_SetIPACfgFile(void);
VORNPAL_API void vorn_data_pal_ClearIPACfgFile(void);
/* address and mask in network order; add 1 adds, 0 removes. */
VORNPAL_API int vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL(const char *bridge, uint16_t vlan_id,
                                                           uint32_t address, uint32_t mask,
                                                           uint8_t add);
/* The VLAN interface "<iface>.<vlan_id>". */
VORNPAL_API int vorn_data_pal_UpdateIPAWithVlanIOCTL(const char *iface, uint16_t vlan_id, int add);
/* The VLAN's priority on the Ethernet controller behind "eth0"; a busy
 * controller is tried again after 3 s, up to 3 times. */
VORNPAL_API int vorn_data_pal_UpdateNeutrinoWithVlanIoctl(uint16_t vlan_id, uint32_t priority);

/* NV-backed settings. 0, or 3 for an MTU of 0x10000 or more or a failed
 * NV access. */
VORNPAL_API int vorn_data_pal_set_mtu_cfg(uint32_t mtu);
/* 0 when the item holds the value already, else the NV write's result. */
VORNPAL_API int vorn_data_pal_set_roamcfg(int enable);
VORNPAL_API int vorn_data_pal_set_dataconnen(int enable);
/* The NV read's result; enable gets 1 or 0. */
VORNPAL_API int vorn_data_pal_get_dataconnen(int *enable);

VORNPAL_END_DECLS

#endif
