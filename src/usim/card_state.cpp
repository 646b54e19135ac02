// The card and slot reports of the modem turned into the family's card
// state, slot record and status events.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <vornpal/usim.h>

#include "foundation/log_site.h"
#include "usim/client.h"

namespace {

namespace usim = vorn::usim;
namespace qmi = vorn::qmi;

constexpr uint32_t kMaxSlots = 2;
constexpr size_t kUrcSize = 64;
constexpr uint32_t kAppsPerCard = QMI_UIM_APPS_MAX_V01;

bool is_sim_or_usim(uint32_t app_type) {
  return app_type == UIM_APP_TYPE_SIM_V01 || app_type == UIM_APP_TYPE_USIM_V01;
}

// The first SIM or USIM application of a card, or -1.
int find_gsm_app(const uim_card_info_type_v01 &card) {
  for (uint32_t i = 0; i < kAppsPerCard; ++i)
    if (is_sim_or_usim(card.app_info[i].app_type)) return static_cast<int>(i);
  return -1;
}

struct StateRow {
  uint32_t app_state;
  int32_t card_state;
};
constexpr StateRow kAppStates[] = {
    {UIM_APP_STATE_DETECTED_V01, E_oem_USIM_APP_STATE_DETECTED},
    {UIM_APP_STATE_PIN1_OR_UPIN_REQ_V01, E_oem_USIM_APP_STATE_PIN},
    {UIM_APP_STATE_PUK1_OR_PUK_REQ_V01, E_oem_USIM_APP_STATE_PUK},
    {UIM_APP_STATE_PIN1_PERM_BLOCKED_V01, E_oem_USIM_APP_STATE_BLOCKED},
    {UIM_APP_STATE_ILLEGAL_V01, E_oem_USIM_APP_STATE_READY},
    {UIM_APP_STATE_READY_V01, E_oem_USIM_APP_STATE_READY},
};

int32_t map_app_state(uint32_t app_state) {
  for (const StateRow &row : kAppStates)
    if (row.app_state == app_state) return row.card_state;
  VORN_LOG_AS("vorn_usim_al_decode_card_info", VORN_ERR,
              "Error, unknown card state(app_state = %d).\n", static_cast<int>(app_state));
  return -1;
}

int32_t map_app_type(uint32_t app_type) {
  if (app_type <= UIM_APP_TYPE_ISIM_V01) return static_cast<int32_t>(app_type);
  VORN_LOG_AS("vorn_usim_al_decode_card_info", VORN_ERR, "Error, unknown app type(app_type = %d).\n",
              static_cast<int>(app_type));
  return -1;
}

// Two characters a byte, low nibble first: the BCD swap of the file undone.
void render_iccid(const uint8_t *bytes, uint32_t len, char (&out)[64]) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::memset(out, 0, sizeof out);
  for (uint32_t i = 0; i < len && 2 * i + 1 < sizeof out; ++i) {
    out[2 * i] = kDigits[bytes[i] & 0x0F];
    out[2 * i + 1] = kDigits[bytes[i] >> 4];
  }
}

// vorn_usim_al_decode_card_info: 0 or -1.
int decode_card_info(const uim_card_status_type_v01 &status, uint32_t slot, usim_state_record &out) {
  const uim_card_info_type_v01 *card = nullptr;
  if (status.card_info_len == 1) {
    card = &status.card_info[0];
  } else if (status.card_info_len == 2 && slot < kMaxSlots) {
    card = &status.card_info[slot];
  } else {
    VORN_LOG_AS("vorn_usim_al_decode_card_info", VORN_ERR, "Error, invaild num_slot:%d\n",
                static_cast<int>(status.card_info_len));
    return -1;
  }
  const int app = find_gsm_app(*card);
  switch (card->card_state) {
    case UIM_CARD_STATE_ABSENT_V01:
    case UIM_CARD_STATE_ERROR_V01:
      out.card_state = E_oem_USIM_APP_STATE_ABSENT;
      break;
    case UIM_CARD_STATE_PRESENT_V01:
      if (app < 0) {
        VORN_LOG_AS("vorn_usim_al_decode_card_info", VORN_ERR, "Error, app_num is invaild :%d\n", app);
        return -1;
      }
      out.card_state = map_app_state(card->app_info[app].app_state);
      break;
    default:
      VORN_LOG_AS("vorn_usim_al_decode_card_info", VORN_ERR,
                  "Error, unknown message card state(msg_card_state = %d).\n",
                  static_cast<int>(card->card_state));
      return -1;
  }
  // An absent card has no application: its type means nothing.
  out.card_type = map_app_type(card->app_info[app < 0 ? 0 : app].app_type);
  usim::usim_card_type.store(out.card_type);
  return 0;
}

// What indication 50 reports: the first card, whatever slot is active.
bool status_payload(const uim_status_change_ind_msg_v01 &ind, usim_status_payload &out) {
  if (ind.card_status_valid == 0) {
    VORN_LOG_AS("vorn_uim_qmi_card_status_change_ind_proc", VORN_ERR, "Card status invalid.\n");
    VORN_LOG_AS("vorn_uim_qmi_card_status_change_ind_proc", VORN_ERR,
                "Error, decode card status change ind message.\n");
    return false;
  }
  const uim_card_info_type_v01 &card = ind.card_status.card_info[0];
  int app = find_gsm_app(card);
  if (app < 0) app = 0;
  out.usim_state = card.app_info[app].app_state;
  out.card_state = card.card_state;
  out.error_code = card.error_code;
  VORN_LOG_AS("vorn_usim_al_proc_card_status", VORN_INFO, "app state: %d, app type: %d.\n",
              static_cast<int>(card.app_info[app].app_state),
              static_cast<int>(card.app_info[app].app_type));
  return true;
}

}  // namespace

int usim::get_card_status(uim_card_status_type_v01 &out) {
  // 10 KB: too large for the stacks of the daemons' threads.
  auto resp = std::make_unique<uim_get_card_status_resp_msg_v01>();
  qmi::Sent sent = send<GetCardStatus>(*resp);
  if (sent.rc != QMI_NO_ERR || resp->resp.result != QMI_RESULT_SUCCESS_V01 ||
      resp->card_status_valid != 1) {
    VORN_LOG_AS("vorn_qmi_uim_get_card_status", VORN_ERR,
                "Error, get card status(qmi_error:%d, result:%d, error:0x%x).\n", sent.rc,
                static_cast<int>(resp->resp.result), static_cast<unsigned>(resp->resp.error));
    return -1;
  }
  std::memcpy(&out, &resp->card_status, sizeof out);
  return 0;
}

int usim::proc_slot_info(const uim_physical_slot_status_type_v01 *entries, uint32_t count,
                         usim_slot_record &record) {
  if (count == 0) {
    VORN_LOG_AS("vorn_usim_proc_slot_info", VORN_ERR, "UIM process slot status invalid parameter.\n");
    return VORN_INVALID_PARAM;
  }
  record.slot_num = static_cast<int32_t>(count < kMaxSlots ? count : kMaxSlots);
  int32_t active = 0;
  for (int32_t i = 0; i < record.slot_num; ++i) {
    const uim_physical_slot_status_type_v01 &entry = entries[i];
    usim_physical_slot &slot = record.slots[i];
    slot.physical_slot_state = static_cast<int32_t>(entry.physical_slot_state);
    slot.physical_card_status = static_cast<int32_t>(entry.physical_card_status);
    if (entry.physical_slot_state == UIM_PHYSICAL_SLOT_STATE_ACTIVE_V01) {
      record.active_slot_idx = i;
      ++active;
    }
    uint32_t len = entry.iccid_len < QMI_UIM_ICCID_LEN_MAX_V01 ? entry.iccid_len : QMI_UIM_ICCID_LEN_MAX_V01;
    render_iccid(entry.iccid, len, slot.iccid);
  }
  char urc[kUrcSize] = {};
  std::snprintf(urc, sizeof urc, "+GTSLOTSTATUS: %d,%d,%d\r\n+GTSLOTSTATUS: %d,%d,%d", 0,
                record.slots[0].physical_slot_state, record.slots[0].physical_card_status, 1,
                record.slots[1].physical_slot_state, record.slots[1].physical_card_status);
  std::memcpy(record.slot_urc, urc, sizeof record.slot_urc);
  VORN_LOG_AS("vorn_usim_proc_slot_info", VORN_INFO, "URC [%s]\r\n", urc);
  // Every slot claims to be active: slot 1 wins when its card is present.
  if (active == record.slot_num) {
    VORN_LOG_AS("vorn_usim_proc_slot_info", VORN_INFO, "Calibrate active_slot_idx\n");
    record.active_slot_idx = 0;
    if (record.slot_num > 1 &&
        record.slots[1].physical_card_status == UIM_PHYSICAL_CARD_STATE_PRESENT_V01)
      record.active_slot_idx = 1;
  }
  VORN_LOG_AS("vorn_usim_proc_slot_info", VORN_INFO, "active_slot_idx: %d\n", record.active_slot_idx);
  return 0;
}

int usim::get_slot_info(usim_slot_record &out) {
  uim_placeholder_req_msg_v01 req{};
  uim_get_slots_status_resp_msg_v01 resp;
  qmi::Sent sent = send<GetSlotsStatus>(req, resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG_AS("vorn_usim_get_slot_info", VORN_ERR, "UIM get slots status failed, error code: %d.\n",
                sent.rc);
    return -1;
  }
  if (resp.slot_status_valid == 0) {
    VORN_LOG_AS("vorn_usim_convert_qmi2vorn_card_slot_info", VORN_ERR,
                "UIM convert_qmi2vorn_card_slot_info invalid slot status.\n");
    return -1;
  }
  std::memset(&out, 0, sizeof out);
  uint32_t count = resp.slot_status_len < QMI_UIM_PHYSICAL_SLOTS_MAX_V01 ? resp.slot_status_len
                                                                         : QMI_UIM_PHYSICAL_SLOTS_MAX_V01;
  int rc = proc_slot_info(resp.slot_status, count, out);
  if (rc != 0) {
    VORN_LOG_AS("vorn_usim_convert_qmi2vorn_card_slot_info", VORN_ERR,
                "UIM convert card slot info failed, error: %d.\n", rc);
    return -1;
  }
  return 0;
}

int usim::get_card_info(usim_state_record &out, uint32_t slot) {
  uim_card_status_type_v01 status{};
  if (get_card_status(status) != 0 || decode_card_info(status, slot, out) != 0) {
    VORN_LOG_AS("vorn_usim_get_card_info", VORN_ERR, "Error, decode card info.\n");
    return -1;
  }
  VORN_LOG_AS("vorn_usim_get_card_info", VORN_INFO, "Info, card_state = %d, card_type = %d.\n",
              static_cast<int>(out.card_state), static_cast<int>(out.card_type));
  if (get_slot_info(out.slot_info) != 0) {
    VORN_LOG_AS("vorn_usim_get_card_info", VORN_ERR, "Error, get slot info.\n");
    return -1;
  }
  return 0;
}

void usim::on_status_change(const uim_status_change_ind_msg_v01 &ind) {
  auto *payload = static_cast<usim_status_payload *>(std::calloc(1, sizeof(usim_status_payload)));
  if (payload == nullptr) {
    VORN_LOG_AS("vorn_uim_qmi_ind_cb", VORN_ERR, "Error, oem_MALLOC usim card info data.\n");
    return;
  }
  if (!status_payload(ind, *payload)) {
    std::free(payload);
    return;
  }
  notify(E_oem_USIM_EVENT_USIM_STATUS_CHANGE, payload, sizeof *payload);
}

void usim::on_slot_status_change(const uim_slot_status_change_ind_msg_v01 &ind) {
  const char *fn = "vorn_uim_qmi_slot_status_change_ind_proc";
  if (ind.slot_status_valid == 0) {
    VORN_LOG_AS(fn, VORN_ERR, "Slot status invalid.\n");
    VORN_LOG_AS(fn, VORN_ERR, "Error, decode slot status change ind message.\n");
    return;
  }
  auto *record = static_cast<usim_slot_record *>(std::calloc(1, sizeof(usim_slot_record)));
  if (record == nullptr) {
    VORN_LOG_AS("vorn_uim_qmi_ind_cb", VORN_ERR, "Error, oem_MALLOC usim slot info data.\n");
    return;
  }
  uint32_t count = ind.slot_status_len < QMI_UIM_PHYSICAL_SLOTS_MAX_V01 ? ind.slot_status_len
                                                                        : QMI_UIM_PHYSICAL_SLOTS_MAX_V01;
  int rc = proc_slot_info(ind.slot_status, count, *record);
  if (rc != 0) {
    VORN_LOG_AS(fn, VORN_ERR, "UIM proc slot status failed, error: %d.\n", rc);
    std::free(record);
    return;
  }
  notify(E_oem_USIM_EVENT_SLOT_STATUS_CHANGE, record, sizeof *record);
}

extern "C" {

VORNPAL_API int vorn_usim_pal_get_usim_state(usim_state_record *out) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Error,invalid pointer.\n");
    return VORN_INVALID_PARAM;
  }
  uint32_t slot = 0;
  if (usim::active_slot(&slot) != 0) {
    VORN_LOG(VORN_ERR, "Error,Get active slot fail.\n");
    return -1;
  }
  int result = usim::get_card_info(*out, slot);
  if (result != 0) VORN_LOG(VORN_ERR, "Error,fail to get card info!\n");
  // The PIN part is attempted after a card failure too.
  int pin = vorn_usim_pal_get_pinlock_info(&out->pinlock);
  if (pin != 0) {
    VORN_LOG(VORN_ERR, "Error,fail to get pinlock info!\n");
    result = pin;
  }
  return result;
}

VORNPAL_API int vorn_get_slot_status(char *out, uint32_t len) {
  if (out == nullptr) return -1;
  usim_slot_record record{};
  if (usim::get_slot_info(record) != 0) return -1;
  std::memcpy(out, record.slot_urc, len < sizeof record.slot_urc ? len : sizeof record.slot_urc);
  return 0;
}

}  // extern "C"
