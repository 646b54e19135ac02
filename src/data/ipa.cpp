// The IPA driver's LAN, VLAN and bridge configuration, the Ethernet
// controller's VLAN priority, and the file the IPA manager reads.
#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <vornpal/data.h>
#include <vornpal/platform/ipa.h>
#include <vornpal/strings.h>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "foundation/unique_fd.h"

static_assert(sizeof(ipa_ioc_lan_config) == 92);
static_assert(offsetof(ipa_ioc_lan_config, record_type) == 64);
static_assert(offsetof(ipa_ioc_lan_config, vlan_id) == 78);
static_assert(offsetof(ipa_ioc_lan_config, lan_type) == 80);
static_assert(offsetof(ipa_ioc_lan_config, mac_addr) == 84);
static_assert(sizeof(ipa_ioc_bridge_vlan_mapping_info) == 44);
static_assert(offsetof(ipa_ioc_bridge_vlan_mapping_info, vlan_id) == 32);
static_assert(offsetof(ipa_ioc_bridge_vlan_mapping_info, bridge_ipv4) == 36);
static_assert(offsetof(ipa_ioc_bridge_vlan_mapping_info, subnet_mask) == 40);
static_assert(sizeof(ipa_ioc_vlan_iface_info) == 34);
static_assert(sizeof(neutrino_ioctl_vlan) == 12);
static_assert(sizeof(ipa_lan_config) == 56);
static_assert(offsetof(ipa_lan_config, mode) == 12);
static_assert(offsetof(ipa_lan_config, dev_name) == 16);
static_assert(offsetof(ipa_lan_config, mac_addr) == 48);
static_assert(offsetof(ipa_lan_config, flag_a) == 54);

namespace vorn::data {
namespace {

constexpr char kIpaConfigFile[] = "/etc/data/ipa_config.txt";
constexpr int kNeutrinoTries = 3;
constexpr unsigned kNeutrinoWaitSeconds = 3;

int open_ipa() { return open(IPA_DEVICE_PATH, O_RDWR | O_CLOEXEC); }

// The driver's LAN type and VLAN id for a client's mode.
void apply_mode(uint32_t mode, uint16_t vlan_id, ipa_ioc_lan_config &req) {
  switch (mode) {
    case VORN_DATA_IPA_MODE_TYPE2:
      req.lan_type = IPA_LAN_TYPE_2;
      req.vlan_id = vlan_id;
      break;
    case VORN_DATA_IPA_MODE_TYPE1:
      req.lan_type = IPA_LAN_TYPE_1;
      req.vlan_id = 0;
      break;
    case VORN_DATA_IPA_MODE_NONE:
    case VORN_DATA_IPA_MODE_NONE_ALT:
      req.lan_type = IPA_LAN_TYPE_NONE;
      req.vlan_id = vlan_id;
      break;
    default:
      req.vlan_id = vlan_id;
      break;
  }
}

bool lan_mapped(uint32_t mode) {
  return mode != VORN_DATA_IPA_MODE_NONE && mode != VORN_DATA_IPA_MODE_NONE_ALT;
}

void write_config_file(const char *words, const char *will, const char *finished) {
  VORN_LOG(VORN_DBUG, will, words);
  FILE *file = std::fopen(kIpaConfigFile, "w");
  if (file == nullptr) {
    VORN_LOG(VORN_ERR, "Error opening %s for writing: %s\n", kIpaConfigFile, std::strerror(errno));
    return;
  }
  if (words[0] != '\0') std::fprintf(file, "vlan:%s", words);
  if (std::fclose(file) != 0) {
    VORN_LOG(VORN_ERR, "Error closing %s for writing: %s\n", kIpaConfigFile, std::strerror(errno));
    return;
  }
  VORN_LOG(VORN_DBUG, finished, words);
}

bool valid_vlan(uint16_t vlan_id) { return vlan_id != 0 && vlan_id <= VORN_DATA_VLAN_ID_MAX; }

}  // namespace
}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API int vorn_data_pal_set_ipa_cfg(const ipa_lan_config *lan_obj) {
  if (lan_obj == nullptr) {
    VORN_LOG(VORN_ERR, "lan_obj is NULL\n");
    return VORN_FAILURE;
  }
  vorn::UniqueFd fd(data::open_ipa());
  if (fd.get() < 0) {
    VORN_LOG(VORN_ERR, "Cannot open file for ioctl\n");
    return VORN_FAILURE;
  }
  const size_t name_len = strnlen(lan_obj->dev_name, sizeof lan_obj->dev_name);
  VORN_LOG(VORN_INFO, "set IPA cfg for dev_name %.*s and enable %d\n", static_cast<int>(name_len),
           lan_obj->dev_name, static_cast<int>(lan_obj->enable));
  ipa_ioc_lan_config req{};
  std::memcpy(req.iface_name, lan_obj->dev_name, name_len);
  req.record_type = IPA_LAN_CONFIG_RECORD;
  req.enable = lan_obj->enable;
  req.value = lan_obj->value;
  req.no_offload = lan_obj->flag_a == 0 ? 1 : 0;
  req.flag_b = lan_obj->flag_b;
  data::apply_mode(lan_obj->mode, lan_obj->vlan_id, req);
  if (data::lan_mapped(lan_obj->mode) && lan_obj->enable != 0) {
    if (lan_obj->mac_addr[0] != 0) {
      std::memcpy(req.mac_addr, lan_obj->mac_addr, sizeof req.mac_addr);
    } else {
      VORN_LOG(VORN_WARN, "mac addr is NULL\n");
    }
  }
  const int rc = ioctl(fd.get(), IPA_IOC_SET_LAN_CONFIG, &req);
  if (rc != 0) {
    const int err = errno;
    VORN_LOG(VORN_ERR, "IOCTL to IPA failed with err %d, errno %s\n", rc, std::strerror(err));
    return VORN_FAILURE;
  }
  fd.reset();
  // The driver applies the configuration behind the answer.
  vorn::clk::sleep_s(1);
  return VORN_OK;
}

VORNPAL_API void vorn_data_pal_SetIPACfgFile(void) {
  char words[15];
  std::snprintf(words, sizeof words, "%s%s%s", " ecm", " rndis", " eth");
  data::write_config_file(words, "Will Set IPA Cfg file: %s\n", "Finished setting IPA Cfg file: %s\n");
}

VORNPAL_API void vorn_data_pal_ClearIPACfgFile(void) {
  data::write_config_file("", "Will clear IPA Cfg file: %s\n", "Finished clearing IPA Cfg file: %s\n");
}

VORNPAL_API int vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL(const char *bridge, uint16_t vlan_id,
                                                           uint32_t address, uint32_t mask,
                                                           uint8_t add) {
  VORN_LOG(VORN_DBUG, "Add config in IPACM_cfg vlan_id=%d\n", vlan_id);
  if (bridge == nullptr || !data::valid_vlan(vlan_id)) {
    VORN_LOG(VORN_ERR, "IOCTL to IPA failed\n");
    return 0;
  }
  vorn::UniqueFd fd(data::open_ipa());
  if (fd.get() < 0) {
    VORN_LOG(VORN_ERR, "Cannot open file for ioctl\n");
    return 0;
  }
  ipa_ioc_bridge_vlan_mapping_info info{};
  vorn_strlcpy(info.bridge_name, bridge, sizeof info.bridge_name);
  info.vlan_id = vlan_id;
  info.bridge_ipv4 = address;
  info.subnet_mask = mask;
  unsigned long request = IPA_IOC_DEL_BRIDGE_VLAN_MAPPING;
  if (add) {
    request = IPA_IOC_ADD_BRIDGE_VLAN_MAPPING;
    VORN_LOG(VORN_DBUG,
             "Calling IPA_IOC_ADD_BRIDGE_VLAN_MAPPING for bridge_name=%s, vlan_id=%d, bridge_ip4=0x%x\n",
             info.bridge_name, vlan_id, address);
  } else {
    VORN_LOG(VORN_DBUG,
             "Calling IPA_IOC_DEL_BRIDGE_VLAN_MAPPING for bridge_name=%s, vlan_id=%d, bridge_ip4=0x%x\n",
             info.bridge_name, vlan_id, address);
  }
  if (ioctl(fd.get(), request, &info) != 0) {
    VORN_LOG(VORN_ERR, "IOCTL to IPA failed\n");
    return 0;
  }
  return 1;
}

VORNPAL_API int vorn_data_pal_UpdateIPAWithVlanIOCTL(const char *iface, uint16_t vlan_id, int add) {
  if (iface == nullptr || !data::valid_vlan(vlan_id)) {
    VORN_LOG(VORN_ERR, "UpdateIPAWithIOCTL() Invalid parameters received\n");
    return 0;
  }
  vorn::UniqueFd fd(data::open_ipa());
  if (fd.get() < 0) {
    VORN_LOG(VORN_ERR, "UpdateIPAWithIOCTL() Cannot open file for ioctl\n");
    return 0;
  }
  ipa_ioc_vlan_iface_info info{};
  std::snprintf(info.name, sizeof info.name, "%s.%d", iface, vlan_id);
  info.vlan_id = vlan_id;
  const unsigned long request = add ? IPA_IOC_ADD_VLAN_IFACE : IPA_IOC_DEL_VLAN_IFACE;
  VORN_LOG(VORN_DBUG,
           add ? "IOCTL to IPA (IPA_IOC_ADD_VLAN_IFACE) for iface=%s, vlan_id=%d\n"
               : "IOCTL to IPA (IPA_IOC_DEL_VLAN_IFACE) for iface=%s, vlan_id=%d\n",
           info.name, vlan_id);
  const int rc = ioctl(fd.get(), request, &info);
  if (rc != 0) {
    const int err = errno;
    VORN_LOG(VORN_ERR, "IOCTL to IPA failed with err %d, errno %s\n", rc, std::strerror(err));
    return 0;
  }
  return 1;
}

VORNPAL_API int vorn_data_pal_UpdateNeutrinoWithVlanIoctl(uint16_t vlan_id, uint32_t priority) {
  if (!data::valid_vlan(vlan_id)) {
    VORN_LOG(VORN_ERR, "UpdateNeutrinoWithIoctl() Invalid parameters received\n");
    return 0;
  }
  vorn::UniqueFd sock(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (sock.get() < 0) {
    VORN_LOG(VORN_ERR, "UpdateNeutrinoWithIoctl() Cannot open file for ioctl to neutrnio\n");
    return 0;
  }
  neutrino_ioctl_vlan block{NEUTRINO_CMD_VLAN_PRIORITY, priority, vlan_id};
  ifreq request{};
  std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", "eth0");
  request.ifr_data = reinterpret_cast<char *>(&block);
  auto attempt = [&](int &err) {
    const int result = ioctl(sock.get(), NEUTRINO_IOCTL, &request);
    err = result == 0 ? 0 : errno;
    return result;
  };
  int err = 0;
  int rc = attempt(err);
  // A busy controller: wait and try again; after the last wait the busy
  // answer stands.
  for (int waited = 0; rc != 0 && err == EAGAIN && waited < data::kNeutrinoTries; ++waited) {
    VORN_LOG(VORN_ERR, "UpdateNeutrinoWithIoctl() failed with errno %d, sleep\n", data::kNeutrinoTries);
    vorn::clk::sleep_s(data::kNeutrinoWaitSeconds);
    if (waited + 1 < data::kNeutrinoTries) rc = attempt(err);
  }
  VORN_LOG(VORN_DBUG, "UpdateNeutrinoWithIoctl() IOCTL ret val %d, errno %d\n", rc, err);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "UpdateNeutrinoWithIoctl() IOCTL to Neutrino failed\n");
    return 0;
  }
  return 1;
}

}  // extern "C"
