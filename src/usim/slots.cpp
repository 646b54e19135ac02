// Which physical slot is in use, switching it, dual SIM, card power and the
// bytes of the modem's UIM configuration items.
#include <cstring>
#include <iterator>

#include <vornpal/m2m.h>
#include <vornpal/usim.h>

#include "foundation/log_site.h"
#include "usim/apdu_text.h"
#include "usim/client.h"

namespace {

namespace usim = vorn::usim;
namespace qmi = vorn::qmi;

constexpr char kSlotMapping[] = "/nv/item_files/modem/uim/uimdrv/uim_extended_slot_mapping_config";
constexpr size_t kItemBytes = 512;
// The item's hexadecimal form holds two characters a byte.
constexpr size_t kItemText = 2 * kItemBytes;

struct ConfigItem {
  const char *path;
  uint32_t index;
};
// By function code: SIM swap, hot swap, extended recovery, none.
constexpr ConfigItem kConfigItems[] = {
    {"/nv/item_files/modem/uim/uimdrv/uim_hw_config", 8},
    {"/nv/item_files/modem/uim/uimdrv/uim_hw_config", 7},
    {"/nv/item_files/modem/uim/uimdrv/uim_extended_recovery_config", 1},
    {"", 0},
};

template <class Msg>
int send_power(uint32_t slot) {
  if (slot != UIM_SLOT_1_V01) return -1;
  typename Msg::Req req{};
  req.slot = slot;
  uim_result_resp_msg_v01 resp;
  return usim::send<Msg>(req, resp).rc == QMI_NO_ERR ? 0 : -1;
}

}  // namespace

void usim::dualsim_init() {
  uint8_t value = 0;
  if (vorn_usim_pal_convert_nv_to_binary(kSlotMapping, 1, &value) != 0) {
    VORN_LOG_AS("vorn_usim_pal_dualsim_init", VORN_ERR, "read dual sim nv fail.");
    return;
  }
  // The mapping's 2 means both slots in use, 1 one of them.
  int32_t enabled = value == 2 ? 1 : value == 1 ? 0 : value;
  dual_sim_enabled.store(enabled);
  VORN_LOG_AS("vorn_usim_pal_dualsim_init", VORN_INFO, "init dual sim = [%d].", static_cast<int>(enabled));
}

int usim::active_slot(uint32_t *slot) {
  const char *fn = "vorn_usim_active_slot";
  if (slot == nullptr) {
    VORN_LOG_AS(fn, VORN_ERR, "slot is null.\n");
    return -1;
  }
  *slot = 0;
  // A failed report counts as one card.
  uim_card_status_type_v01 status{};
  get_card_status(status);
  if (dual_sim_enabled.load() == 0 || status.card_info_len != 2) {
    usim_slot_record record{};
    if (get_slot_info(record) != 0) {
      VORN_LOG_AS(fn, VORN_ERR, "Error, get slot info.\n");
      return -1;
    }
    *slot = static_cast<uint32_t>(record.active_slot_idx);
  } else {
    *slot = chosen_slot.load();
    VORN_LOG_AS(fn, VORN_INFO, "Dual sim standby,use the chosen sim slot[%d].\n", static_cast<int>(*slot));
  }
  VORN_LOG_AS(fn, VORN_INFO, "active_slot:%d\n", static_cast<int>(*slot));
  return 0;
}

extern "C" {

VORNPAL_API int vorn_usim_pal_convert_nv_to_binary(const char *path, uint32_t index, uint8_t *out) {
  char text[kItemText + 1] = {};
  uint32_t len = 0;
  if (path == nullptr || out == nullptr || vorn_m2m_pal_read_nv_by_path(path, text, &len, 1) != 0) {
    VORN_LOG(VORN_ERR, "read nv fail.");
    return VORN_INVALID_PARAM;
  }
  VORN_LOG(VORN_INFO, "read nv[%s] len[%d]\r\n", text, static_cast<int>(len));
  uint8_t bytes[kItemBytes] = {};
  usim::hexstring_to_bin(text, bytes, sizeof bytes);
  if (index >= sizeof bytes) {
    VORN_LOG(VORN_ERR, "read nv fail.");
    return VORN_INVALID_PARAM;
  }
  *out = bytes[index];
  VORN_LOG(VORN_INFO, "transform_ptr = [%d]\n", *out);
  return 0;
}

VORNPAL_API int vorn_usim_pal_diag_read_nv(uint32_t function, uint8_t *out) {
  if (function >= std::size(kConfigItems)) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  const ConfigItem &item = kConfigItems[function];
  return vorn_usim_pal_convert_nv_to_binary(item.path, item.index, out);
}

VORNPAL_API int vorn_usim_pal_switch_slot(uint32_t slot) {
  if (slot > 1) {
    VORN_LOG(VORN_ERR, "slot is invalid.\n");
    return -1;
  }
  // Taken before anything is sent: a failed switch still names this slot.
  usim::chosen_slot.store(slot);
  uim_switch_slot_req_msg_v01 req{};
  req.logical_slot = UIM_SLOT_1_V01;
  req.physical_slot = slot == 1 ? UIM_SLOT_2_V01 : UIM_SLOT_1_V01;
  uim_result_resp_msg_v01 resp;
  qmi::Sent sent = usim::send<usim::SwitchSlot>(req, resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG_AS("vorn_qmi_uim_switch_slot", VORN_ERR, "UIM switch slot failed, result: %d, error: %d.\n",
                static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
    VORN_LOG(VORN_ERR, "Error, switch slot failed.\n");
    return -1;
  }
  VORN_LOG(VORN_INFO, "switch slot success.\n");
  return 0;
}

VORNPAL_API int vorn_usim_pal_get_dualsim_en(int *enabled) {
  if (enabled != nullptr) *enabled = usim::dual_sim_enabled.load();
  return 0;
}

VORNPAL_API int vorn_usim_pal_power_down_ctrl(uint32_t slot) { return send_power<usim::PowerDown>(slot); }

VORNPAL_API int vorn_usim_pal_power_on_ctrl(uint32_t slot) { return send_power<usim::PowerUp>(slot); }

}  // extern "C"
