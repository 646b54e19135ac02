/*
 * The IPA driver's device "/dev/ipa": the requests libvornpal makes and their
 * argument records. The request numbers are the driver's as built for the
 * 32-bit target: some encode the size of a pointer, so they are spelled out
 * rather than formed with _IOWR on the build host.
 */
#ifndef VORNPAL_PLATFORM_IPA_H
#define VORNPAL_PLATFORM_IPA_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define IPA_DEVICE_PATH "/dev/ipa"

#define IPA_IOC_SET_LAN_CONFIG 0xC040CF50u
#define IPA_IOC_ADD_BRIDGE_VLAN_MAPPING 0xC02CCF3Bu
#define IPA_IOC_DEL_BRIDGE_VLAN_MAPPING 0xC02CCF3Cu
#define IPA_IOC_ADD_VLAN_IFACE 0xC004CF2Fu
#define IPA_IOC_DEL_VLAN_IFACE 0xC004CF30u

#define IPA_RESOURCE_NAME_MAX 32
#define IPA_LAN_IFACE_NAME_MAX 64
/* record_type of the LAN configuration. */
#define IPA_LAN_CONFIG_RECORD 44

/* lan_type of the LAN configuration. */
enum ipa_lan_type {
  IPA_LAN_TYPE_NONE = 0, /* no LAN mapping */
  IPA_LAN_TYPE_1 = 1,
  IPA_LAN_TYPE_2 = 2
};

/* The LAN configuration of one interface (92 bytes). */
struct ipa_ioc_lan_config {
  char iface_name[IPA_LAN_IFACE_NAME_MAX];
  uint32_t record_type; /* IPA_LAN_CONFIG_RECORD */
  uint32_t enable;
  uint32_t value;
  uint8_t no_offload; /* the client's flag_a, inverted */
  uint8_t flag_b;
  uint16_t vlan_id;
  uint32_t lan_type; /* enum ipa_lan_type */
  uint8_t mac_addr[6];
  uint8_t reserved[2];
};

/* A bridge's VLAN mapping (44 bytes). */
struct ipa_ioc_bridge_vlan_mapping_info {
  char bridge_name[IPA_RESOURCE_NAME_MAX];
  uint16_t vlan_id;
  uint32_t bridge_ipv4; /* network order */
  uint32_t subnet_mask; /* network order */
};

/* A VLAN interface (36 bytes). */
struct ipa_ioc_vlan_iface_info {
  char name[IPA_RESOURCE_NAME_MAX];
  uint16_t vlan_id;
};

/* The Ethernet controller's private request (SIOCDEVPRIVATE + 1) on "eth0",
 * and the block ifr_data points to for a VLAN's priority. */
#define NEUTRINO_IOCTL 0x89F1
#define NEUTRINO_CMD_VLAN_PRIORITY 2
struct neutrino_ioctl_vlan {
  uint32_t cmd; /* NEUTRINO_CMD_VLAN_PRIORITY */
  uint32_t priority;
  uint32_t vlan_id;
};

#ifdef __cplusplus
}
#endif

#endif
