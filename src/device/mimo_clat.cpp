// MIMO and CLAT settings of the modem, both EFS items reached through the
// vendor service. MIMO is limited by the presence of an item, so switching
// moves it to and from a backup name; CLAT is one byte inside its item.
#include <strings.h>

#include <algorithm>
#include <cstring>

#include <vornpal/device.h>
#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/log_site.h"

namespace {

struct MimoItem {
  const char *item;
  const char *backup;
  const char *backup_unreadable;
};

constexpr MimoItem kLteMimo = {"/nv/item_files/modem/lte/rrc/efs/disable_4l_per_band",
                               "/nv/item_files/modem/lte/rrc/efs/disable_4l_per_band_bk",
                               "read lte nv fail."};
constexpr MimoItem kNrMimo = {"/nv/item_files/modem/nr5g/RRC/cap_limit_rf_mimo",
                              "/nv/item_files/modem/nr5g/RRC/cap_limit_rf_mimo_bk",
                              "read sa nv fail."};
constexpr const char kClatItem[] = "/nv/item_files/datamodem/protocols/clat_config_info";
constexpr size_t kClatFlag = 1;

const MimoItem &mimo_item(const char *kind) {
  return strcasecmp(kind, "LTE") == 0 ? kLteMimo : kNrMimo;
}

// An item as the hexadecimal text the vendor service gives, terminated.
struct HexItem {
  char text[2 * VORN_M2M_ITEM_MAX + 1] = {};
  uint32_t len = 0;

  bool read(const char *path) {
    if (vorn_m2m_pal_read_nv_by_path(path, text, &len, 1) != 0) return false;
    text[len] = '\0';
    return true;
  }
};

// The item's bytes, turned back from the text: the length written is the
// text's length shifted right by one.
struct ItemBytes {
  uint8_t data[VORN_M2M_ITEM_MAX] = {};
  uint32_t len = 0;

  explicit ItemBytes(const HexItem &hex) : len(hex.len >> 1) {
    vorn_hex_StringToBinary(hex.text, hex.len, data, sizeof data);
  }
};

bool item_exists(const char *path) {
  HexItem hex;
  return hex.read(path);
}

// 1 for the full MIMO: the limiting item is absent (or unreadable).
uint32_t full_mimo(const MimoItem &mimo, const char *open_text, const char *closed_text) {
  if (item_exists(mimo.item)) {
    VORN_LOG(VORN_INFO, "%s", closed_text);
    return 0;
  }
  VORN_LOG(VORN_INFO, "%s", open_text);
  return 1;
}

bool kind_given(const char *kind) {
  if (kind != nullptr) return true;
  VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
  return false;
}

bool read_clat(HexItem &hex) {
  if (hex.read(kClatItem)) return true;
  VORN_LOG(VORN_ERR, "read nv fail.");
  return false;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_device_pal_get_mimo_nv(uint32_t *lte, uint32_t *sa) {
  uint32_t lte_full = full_mimo(kLteMimo, "mimo file doesn't exist,LTE MIMO OPEN.\n",
                                "mimo file exist,LTE MIMO CLOSE.\n");
  uint32_t sa_full = full_mimo(kNrMimo, "mimo file doesn't exist, SA MIMO OPEN.\n",
                               "mimo file exist, SA MIMO CLOSE.\n");
  if (lte != nullptr) *lte = lte_full;
  if (sa != nullptr) *sa = sa_full;
  return 0;
}

VORNPAL_API int vorn_device_pal_read_mimo_nv(const char *kind, char *out) {
  HexItem hex;
  if (!kind_given(kind) || out == nullptr || !hex.read(mimo_item(kind).item)) {
    VORN_LOG(VORN_ERR, "read nv fail.\n");
    return VORN_INVALID_PARAM;
  }
  vorn_string_memcpy(out, hex.text, VORN_DEVICE_MIMO_TEXT_SIZE - 1);
  out[VORN_DEVICE_MIMO_TEXT_SIZE - 1] = '\0';
  return 0;
}

VORNPAL_API int vorn_device_pal_set_2mimo(const char *kind) {
  VORN_LOG(VORN_INFO, "set 2MIMO NV.\n");
  if (!kind_given(kind)) return VORN_INVALID_PARAM;
  const MimoItem &mimo = mimo_item(kind);
  HexItem backup;
  if (!backup.read(mimo.backup)) {
    VORN_LOG(VORN_ERR, "%s", mimo.backup_unreadable);
    return VORN_INVALID_PARAM;
  }
  ItemBytes bytes(backup);
  if (item_exists(mimo.item)) {
    VORN_LOG(VORN_ERR, "4MIMO NV already exist.\n");
    return -1;
  }
  if (vorn_m2m_pal_write_nv_by_path(mimo.item, bytes.data, bytes.len) != 0) {
    VORN_LOG(VORN_ERR, "Write 4MIMO NV fail.\n");
    return VORN_INVALID_PARAM;
  }
  return 0;
}

VORNPAL_API int vorn_device_pal_rename_4mimo(const char *kind) {
  VORN_LOG(VORN_INFO, "MIMO rename.\n");
  if (!kind_given(kind)) return -1;
  const MimoItem &mimo = mimo_item(kind);
  if (!item_exists(mimo.item)) {
    VORN_LOG(VORN_ERR, "MIMO file does't exist.\n");
    return -1;
  }
  if (vorn_m2m_pal_efs_rename(mimo.item, mimo.backup) != 0) return -1;
  VORN_LOG(VORN_INFO, "MIMO file rename sucess.\n");
  return 0;
}

VORNPAL_API int vorn_device_pal_xlat_read(uint8_t *enable) {
  HexItem hex;
  if (enable == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return VORN_INVALID_PARAM;
  }
  if (!read_clat(hex)) return VORN_INVALID_PARAM;
  ItemBytes bytes(hex);
  VORN_LOG(VORN_INFO, "73567 enablePtr = [%d]\n", bytes.data[kClatFlag]);
  *enable = bytes.data[kClatFlag];
  return 0;
}

VORNPAL_API int vorn_device_pal_xlat_write(uint32_t enable) {
  HexItem hex;
  if (!read_clat(hex)) return VORN_INVALID_PARAM;
  ItemBytes bytes(hex);
  uint8_t &flag = bytes.data[kClatFlag];
  if (flag == enable) {
    VORN_LOG(VORN_ERR, "enablePtr already = xlat_op [%d].\n", static_cast<int>(enable));
    return -1;
  }
  // Flipped rather than assigned: the item knows only on and off.
  flag = flag != 0 ? 0 : 1;
  // An item too short to hold the flag grows to reach it.
  uint32_t len = std::max<uint32_t>(bytes.len, kClatFlag + 1);
  if (vorn_m2m_pal_write_nv_by_path(kClatItem, bytes.data, len) != 0) {
    VORN_LOG(VORN_ERR, "Write nv73567_item_enable fail.\n");
    return VORN_INVALID_PARAM;
  }
  return 0;
}

}  // extern "C"
