// Data settings kept in NV items: the customised MTU, data roaming and the
// report of data connections. Items are read as hexadecimal text and written
// as bytes, and an item that holds the value already is not written again.
#include <strings.h>

#include <cstdio>
#include <cstring>

#include <vornpal/data.h>
#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/log_site.h"

namespace vorn::data {
namespace {

constexpr char kMtuItem[] = "/nv/item_files/odm/vorn_customized_mtu";
constexpr char kRoamItem[] = "/nv/item_files/odm/oem_data_roam_cfg";
constexpr char kDataConnItem[] = "/nv/item_files/odm/gtset_report_data_connect_enable";
constexpr int kMtuFailure = 3;
constexpr uint32_t kMtuLimit = 0x10000;
constexpr char kFlagOn[] = "01000000";
constexpr char kFlagOff[] = "00000000";
constexpr uint32_t kFlagTextLength = 8;

// The item as terminated hexadecimal text (two characters a byte).
struct HexItem {
  char text[1001] = {};
  uint32_t length = 0;
  int rc = -1;
};

HexItem read_hex(const char *path) {
  HexItem item;
  item.rc = vorn_m2m_pal_read_nv_by_path(path, item.text, &item.length, 1);
  if (item.length >= sizeof item.text) item.length = sizeof item.text - 1;
  item.text[item.length] = '\0';
  return item;
}

int write_hex(const char *path, const char *text, uint32_t length) {
  uint8_t bytes[500] = {};
  vorn_change_hexstr_to_str(text, bytes);
  return vorn_m2m_pal_write_nv_by_path(path, bytes, length / 2);
}

// The procedure the flag items share. An item that cannot be read yet is
// written as four zero bytes whatever the wanted value: a first write only
// makes the item, as the device's other tools expect.
int set_flag_item(const char *path, int enable) {
  HexItem item = read_hex(path);
  const char *wanted = enable != 0 ? kFlagOn : kFlagOff;
  if (item.rc == 0 && item.length > 0) {
    if (strncasecmp(item.text, wanted, item.length) == 0) return VORN_OK;
    std::snprintf(item.text, sizeof item.text, "%s", wanted);
  } else {
    item.length = kFlagTextLength;
    std::memset(item.text, 0, sizeof item.text);
  }
  return write_hex(path, item.text, item.length);
}

}  // namespace
}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API int vorn_data_pal_set_mtu_cfg(uint32_t mtu) {
  VORN_LOG(VORN_ERR, "oem_data_pal_set_mtu_cfg,mtu:%d.", static_cast<int>(mtu));
  if (mtu >= data::kMtuLimit) {
    VORN_LOG(VORN_ERR, "mtu value outof range.");
    return data::kMtuFailure;
  }
  data::HexItem item = data::read_hex(data::kMtuItem);
  if (item.rc != 0) {
    VORN_LOG(VORN_ERR, "read nv fail.");
    return data::kMtuFailure;
  }
  // NV keeps the value little-endian.
  char wanted[5];
  std::snprintf(wanted, sizeof wanted, "%02x%02x", mtu & 0xFF, mtu >> 8 & 0xFF);
  if (strncasecmp(item.text, wanted, sizeof wanted) == 0) {
    VORN_LOG(VORN_ERR, "set same mtu value\n");
    return VORN_OK;
  }
  if (data::write_hex(data::kMtuItem, wanted, item.length) != 0) {
    VORN_LOG(VORN_ERR, "Write NV fail.\n");
    return data::kMtuFailure;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_set_roamcfg(int enable) {
  return data::set_flag_item(data::kRoamItem, enable);
}

VORNPAL_API int vorn_data_pal_set_dataconnen(int enable) {
  return data::set_flag_item(data::kDataConnItem, enable);
}

VORNPAL_API int vorn_data_pal_get_dataconnen(int *enable) {
  if (enable == nullptr) return VORN_FAILURE;
  data::HexItem item = data::read_hex(data::kDataConnItem);
  if (item.rc != 0) return item.rc;
  *enable = strncasecmp(item.text, data::kFlagOn, data::kFlagTextLength) == 0 ? 1 : 0;
  return item.rc;
}

}  // extern "C"
