// Settings that live only in the modem's EFS or behind the vendor commands:
// the 3GPP release the modem announces, the receive chains, antenna
// diversity, the active MBN file and the registration counters.
#include <cstdio>
#include <cstring>

#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/log_site.h"
#include "network/efs.h"
#include "network/messages.h"

namespace vorn::network {
namespace {

constexpr char kLteRelease[] = "/nv/item_files/modem/lte/rrc/efs/lte_3gpp_release_ver";
constexpr char kNrRelease[] = "/nv/item_files/modem/nr5g/RRC/nr5g_3gpp_release_ver";
constexpr char kRxConfig[] = "/nv/item_files/modem/nr5g/RRC/num_rx_cfg";
constexpr char kRxConfigParked[] = "/nv/item_files/modem/nr5g/RRC/num_rx_cfg_bk";
constexpr char kFeature8Rx[] = "/nv/item_files/modem/nr5g/RRC/cap_control_8rx_feature";
// The modem software names the parked copies under an upper-case LTE.
constexpr char kArdConfig[] = "/nv/item_files/modem/lte/ML1/ard_config";
constexpr char kArdParked2Rx[] = "/nv/item_files/modem/LTE/ML1/ard_config_2rx_bk";
constexpr char kArdParked4Rx[] = "/nv/item_files/modem/LTE/ML1/ard_config_4rx_bk";
constexpr char kAntennaDiversity[] = "/nv/item_files/mcs/trm/ant_div_switch_master";
constexpr char kDiversityOn[] = "0202020202020102010102010000";
constexpr char kDiversityOff[] = "0202020202020202020202010000";
constexpr uint32_t kBlankDiversityLen = 60;  // hex characters written to an empty item

constexpr int kMbnCommand = 19, kRegTypeCommand = 10, kTxPowerCommand = 20, kActiveMbnCommand = 21;

// The release bytes by value, as the items' hex text.
constexpr const char *kLteReleaseText[] = {"C0", "D0"};
constexpr const char *kNrReleaseText[] = {"01", "02"};

// An item as hex text (two characters a byte, terminated); false when the
// read failed. `len` is the number of characters.
struct HexText {
  char text[1001] = {};
  uint32_t len = 0;
  bool read(const char *path) { return vorn_m2m_pal_read_nv_by_path(path, text, &len, 1) == 0; }
  bool is(const char *wanted) const { return len != 0 && std::strncmp(text, wanted, len) == 0; }
};

// The text of `value` in `texts`, or the empty text for another value.
template <size_t N>
const char *release_text(const char *const (&texts)[N], uint32_t value) {
  return value < N ? texts[value] : "";
}

template <size_t N>
void read_release(const HexText &item, const char *const (&texts)[N], uint32_t *out) {
  for (uint32_t value = 0; value < N; ++value)
    if (out != nullptr && item.len != 0 && item.is(texts[value])) *out = value;
}

int set_rel_version_to_nv(const char *path, const char *text) {
  size_t len = std::strlen(text);
  if (len == 0 || len % 2 != 0) {
    VORN_LOG(VORN_ERR, "Get RELVER content failed.\r\n");
    return -1;
  }
  uint8_t bytes[8] = {};
  if (vorn_change_hexstr_to_str(text, bytes) != 0) {
    VORN_LOG(VORN_ERR, "Can't change hex string to string.\r\n");
    return -1;
  }
  if (!efs::write(path, bytes, static_cast<uint32_t>(len / 2))) {
    VORN_LOG(VORN_ERR, "Can't write efs value.");
    return -1;
  }
  return 0;
}

// Reads a raw item of `len` bytes; logs the failure the chain functions
// share.
bool read_chain_item(const char *path, uint8_t *out, uint32_t len) {
  if (efs::read(path, out, len)) return true;
  VORN_LOG(VORN_ERR, "read efs:%s fail.\n", path);
  return false;
}

// The result word of a rename or write: 0 done.
int renamed(const char *from, const char *to) { return vorn_m2m_pal_efs_rename(from, to); }
int written(const char *path, const uint8_t *bytes, uint32_t len) {
  return vorn_m2m_pal_write_nv_by_path(path, bytes, len);
}

// Parks what the chains of `previous` use. The result is that of the last
// step taken; a failed one is logged and the others still run.
int disable_umode(uint32_t previous) {
  uint32_t ant_num = 0, rx_config = 0, feature_8rx = 0;
  vorn_network_pal_get_umode(&ant_num, &rx_config, &feature_8rx);
  int rc = 0;
  if (previous == 2) rc = renamed(kArdConfig, kArdParked2Rx);
  else if (previous == 4) rc = renamed(kArdConfig, kArdParked4Rx);
  if (rx_config) rc = renamed(kRxConfig, kRxConfigParked);
  if (feature_8rx) {
    const uint8_t off[1] = {0};
    rc = written(kFeature8Rx, off, sizeof off);
  }
  if (rc != 0) VORN_LOG(VORN_ERR, "rename/write efs fail!!! \r\n");
  return rc;
}

// Puts the items of 2 or 4 chains in place: the chain count, then the ARD
// configuration parked for it.
int enable_chains(uint8_t chains, const char *parked) {
  const uint8_t config[2] = {1, chains};
  written(kRxConfig, config, sizeof config);
  return renamed(parked, kArdConfig);
}

}  // namespace
}  // namespace vorn::network

namespace net = vorn::network;
namespace efs = vorn::network::efs;

extern "C" {

VORNPAL_API int vorn_network_pal_get_release_version(uint32_t *lte, uint32_t *nr) {
  net::HexText item;
  if (!item.read(net::kLteRelease)) {
    VORN_LOG(VORN_ERR, "read lte relese version nv fail.");
    return -1;
  }
  net::read_release(item, net::kLteReleaseText, lte);
  item = {};
  if (!item.read(net::kNrRelease)) {
    VORN_LOG(VORN_ERR, "read nr5g relese version nv fail.");
    return -1;
  }
  net::read_release(item, net::kNrReleaseText, nr);
  return 0;
}

VORNPAL_API int vorn_network_pal_set_release_version(const char *rat, uint32_t value) {
  const bool nr = rat != nullptr && std::strcmp(rat, "NR") == 0;
  const bool lte = rat != nullptr && std::strcmp(rat, "LTE") == 0;
  if (!nr && !lte) {
    VORN_LOG(VORN_ERR, " RAT is invalid: %s.\r\n", rat != nullptr ? rat : "(null)");
    return 3;
  }
  if (nr && net::set_rel_version_to_nv(net::kNrRelease, net::release_text(net::kNrReleaseText, value)) != 0) {
    VORN_LOG(VORN_ERR, "set nr rel to nv fail.");
    return -1;
  }
  if (lte && net::set_rel_version_to_nv(net::kLteRelease, net::release_text(net::kLteReleaseText, value)) != 0) {
    VORN_LOG(VORN_ERR, "set lte rel to nv fail.");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_network_pal_get_umode(uint32_t *ant_num, uint32_t *rx_num_cfg_flag,
                                           uint32_t *feature_8rx_out_flag) {
  uint8_t config[2] = {};  // rx_en, rx_num
  uint8_t feature[1] = {};
  if (net::read_chain_item(net::kRxConfig, config, sizeof config) && rx_num_cfg_flag != nullptr)
    *rx_num_cfg_flag = 1;
  if (net::read_chain_item(net::kFeature8Rx, feature, sizeof feature) && feature_8rx_out_flag != nullptr)
    *feature_8rx_out_flag = 1;
  if (ant_num == nullptr) return 0;
  if (config[0] == 1 && (config[1] == 2 || config[1] == 4))
    *ant_num = config[1];
  else if (feature[0] == 1)
    *ant_num = 8;
  return 0;
}

VORNPAL_API int vorn_network_pal_swicth_umode(uint32_t ant_num, uint32_t previous) {
  int rc = net::disable_umode(previous);
  switch (ant_num) {
    case 0: VORN_LOG(VORN_DBUG, "ant_num ==0 ,disale all rx,exit directly!\r\n"); break;
    case 2: rc = net::enable_chains(2, net::kArdParked2Rx); break;
    case 4: rc = net::enable_chains(4, net::kArdParked4Rx); break;
    case 8: {
      const uint8_t on[1] = {1};
      rc = net::written(net::kFeature8Rx, on, sizeof on);
      break;
    }
    default: break;
  }
  return rc;
}

VORNPAL_API int vorn_network_pal_get_asdiv(uint32_t *status) {
  net::HexText item;
  if (!item.read(net::kAntennaDiversity)) {
    VORN_LOG(VORN_ERR, "can't read nv.");
    return -1;
  }
  if (item.len != 0 && status != nullptr) *status = item.is(net::kDiversityOn) ? 1 : 0;
  return 0;
}

// The wanted text over the length the item had: a longer item keeps its
// length and gets zeros after the text; an empty or unreadable one gets
// 30 zero bytes, as the modem software does.
VORNPAL_API int vorn_network_pal_set_asdiv(uint8_t on) {
  const char *wanted = on ? net::kDiversityOn : net::kDiversityOff;
  net::HexText item;
  uint32_t len = net::kBlankDiversityLen;
  char text[sizeof item.text] = {};
  if (item.read(net::kAntennaDiversity) && item.len != 0) {
    if (item.is(wanted)) return 0;
    std::snprintf(text, sizeof text, "%s", wanted);
    len = item.len;
  }
  uint8_t bytes[sizeof item.text / 2] = {};
  vorn_change_hexstr_to_str(text, bytes);
  return vorn_m2m_pal_write_nv_by_path(net::kAntennaDiversity, bytes, len / 2);
}

VORNPAL_API int vorn_network_pal_set_mbn_file(uint32_t act, const char *oper_name) {
  if (act != 0 && oper_name == nullptr) {
    VORN_LOG(VORN_ERR, "oper_name is NULL but act != 0");
    return -1;
  }
  vorn_network_mbn_request request{};
  request.act = act;
  if (oper_name != nullptr) std::snprintf(request.oper_name, sizeof request.oper_name, "%s", oper_name);
  uint8_t out[10] = {};
  int ret = vorn_m2m_pal_common_request(net::kMbnCommand, &request, sizeof request, out);
  if (ret != 0) {
    VORN_LOG(VORN_ERR, "Request failed: ret = %d", ret);
    return -1;
  }
  return 0;
}

VORNPAL_API int oem_network_get_reg_type(vorn_network_reg_type *out) {
  vorn_network_reg_type record{};
  int ret = vorn_m2m_pal_common_request(net::kRegTypeCommand, nullptr, 0, &record);
  if (ret != 0) VORN_LOG(VORN_ERR, "oem_m2m_pal_common_request fail ret = %d\n", ret);
  if (out != nullptr) *out = record;
  return ret;
}

VORNPAL_API int oem_network_get_tx_power(vorn_network_tx_power *out) {
  if (out == nullptr) return -1;
  vorn_m2m_pal_common_request(net::kTxPowerCommand, nullptr, 0, &out->nr_tx_pwr);
  return out->nr_tx_pwr;
}

VORNPAL_API int oem_network_get_active_mbn(vorn_network_mbn_request *out) {
  if (out == nullptr) return -1;
  int ret = vorn_m2m_pal_common_request(net::kActiveMbnCommand, nullptr, 0, out);
  VORN_LOG(VORN_DBUG, "act= %d, oper_name = %s\n", static_cast<int>(out->act),
           std::string(out->oper_name, strnlen(out->oper_name, sizeof out->oper_name)).c_str());
  return ret;
}

}  // extern "C"
