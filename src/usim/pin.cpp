// PIN1 of the card: verify, unblock, change, protection on and off, and its
// state with the attempts left. Each operation sends one message; the card
// reports its new state by indication.
#include <cstring>

#include <vornpal/usim.h>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"
#include "usim/client.h"

namespace {

namespace usim = vorn::usim;
namespace qmi = vorn::qmi;

constexpr uint32_t kPin1 = 1;
constexpr size_t kPinMin = 4;
constexpr size_t kPinMax = 8;
constexpr size_t kPukMax = 8;

bool is_all_digits_manual(const char *text) {
  if (*text == '\0') return false;
  for (; *text != '\0'; ++text)
    if (*text < '0' || *text > '9') return false;
  return true;
}

// A session on the primary slot, or on the secondary one in dual SIM.
template <class Req>
void open_session(Req &req, uint32_t slot, const char *log_format) {
  req.session_information.session_type = usim::session_type(slot);
  VORN_LOG_AS("vorn_qmi_uim_pin", VORN_INFO, log_format, static_cast<int>(req.session_information.session_type));
}

// A value with its terminator into its field, bounded as the platform's
// fortified copy bounds it: by what is left of the request from the field on.
template <class Req>
void put_value(Req &req, char *field, uint32_t &len_field, const char *value) {
  const size_t len = std::strlen(value);
  const size_t room = sizeof req - static_cast<size_t>(field - reinterpret_cast<char *>(&req));
  vorn::checked_memcpy(field, room, value, len + 1);
  len_field = static_cast<uint32_t>(len);
}

bool refused(const char *fn, qmi::Sent sent, const uim_pin_resp_msg_v01 &resp, const char *format) {
  if (sent.rc == QMI_NO_ERR && resp.resp.result == QMI_RESULT_SUCCESS_V01) return false;
  VORN_LOG_AS(fn, VORN_ERR, format, sent.rc, static_cast<int>(resp.resp.result),
              static_cast<unsigned>(resp.resp.error));
  return true;
}

int verify_pin(const char *pin, uint32_t slot) {
  uim_verify_pin_req_msg_v01 req{};
  open_session(req, slot, "session type = %d.\n");
  req.verify_pin.pin_id = kPin1;
  put_value(req, req.verify_pin.pin_value, req.verify_pin.pin_value_len, pin);
  VORN_LOG_AS("vorn_qmi_uim_verify_pin", VORN_DBUG, "request param: pin_id[%d], pin_value[%s], pin_vaule_len[%d]\n",
              static_cast<int>(kPin1), pin, static_cast<int>(req.verify_pin.pin_value_len));
  uim_pin_resp_msg_v01 resp;
  qmi::Sent sent = usim::send<usim::VerifyPin>(req, resp);
  if (sent.rc != QMI_NO_ERR || resp.resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG_AS("vorn_qmi_uim_verify_pin", VORN_ERR, "Error, verify pin(error code:%d).\n",
                sent.rc != QMI_NO_ERR ? sent.rc : static_cast<int>(resp.resp.error));
    return -1;
  }
  return 0;
}

int unblock_pin(const char *puk, const char *new_pin, uint32_t slot) {
  uim_unblock_pin_req_msg_v01 req{};
  open_session(req, slot, "session type[%d].\n");
  req.unblock_pin.pin_id = kPin1;
  put_value(req, req.unblock_pin.puk_value, req.unblock_pin.puk_value_len, puk);
  put_value(req, req.unblock_pin.new_pin_value, req.unblock_pin.new_pin_value_len, new_pin);
  VORN_LOG_AS("vorn_qmi_uim_unblock_pin", VORN_DBUG, "new pin[%s] len[%d] puk[%s] len[%d]\r\n", new_pin,
              static_cast<int>(req.unblock_pin.new_pin_value_len), puk,
              static_cast<int>(req.unblock_pin.puk_value_len));
  uim_pin_resp_msg_v01 resp;
  return refused("vorn_qmi_uim_unblock_pin", usim::send<usim::UnblockPin>(req, resp), resp,
                 "Error, unblock pin(qmi_error:%d, result:%d, error:0x%x).\n")
             ? -1
             : 0;
}

int change_pin(const char *old_pin, const char *new_pin, uint32_t slot) {
  uim_change_pin_req_msg_v01 req{};
  open_session(req, slot, "session type = %d.\n");
  req.change_pin.pin_id = kPin1;
  put_value(req, req.change_pin.old_pin_value, req.change_pin.old_pin_value_len, old_pin);
  put_value(req, req.change_pin.new_pin_value, req.change_pin.new_pin_value_len, new_pin);
  uim_pin_resp_msg_v01 resp;
  qmi::Sent sent = usim::send<usim::ChangePin>(req, resp);
  if (sent.rc != QMI_NO_ERR || resp.resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG_AS("vorn_qmi_uim_change_pin", VORN_ERR, "Error, verify pin(error code:%d),response.error %d.\n",
                sent.rc, static_cast<int>(resp.resp.error));
    return -1;
  }
  return 0;
}

int set_pin_protection(bool on, const char *pin, uint32_t slot) {
  uim_set_pin_protection_req_msg_v01 req{};
  open_session(req, slot, "session type = %d.\n");
  req.set_pin_protection.pin_id = kPin1;
  req.set_pin_protection.pin_operation = on ? 1 : 0;
  put_value(req, req.set_pin_protection.pin_value, req.set_pin_protection.pin_value_len, pin);
  uim_pin_resp_msg_v01 resp;
  return refused("vorn_qmi_uim_set_pin_protection", usim::send<usim::SetPinProtection>(req, resp), resp,
                 "Error, set pin protection(qmi_error:%d, result:%d, error:0x%x).\n")
             ? -1
             : 0;
}

// A failure leaves slot 0, and the operation goes on there.
uint32_t slot_or_first(const char *fn) {
  uint32_t slot = 0;
  if (usim::active_slot(&slot) != 0) VORN_LOG_AS(fn, VORN_ERR, "Error, get active slot.\n");
  return slot;
}

// The application whose PIN counts: the first USIM, or else the first
// record (a SIM application is found only by standing first).
const uim_app_info_type_v01 &pin_application(const uim_card_info_type_v01 &card) {
  for (const uim_app_info_type_v01 &app : card.app_info)
    if (app.app_type == UIM_APP_TYPE_USIM_V01) return app;
  return card.app_info[0];
}

int decode_pinlock_info(usim_pinlock_info *out) {
  const char *fn = "vorn_usim_al_decode_pinlock_info";
  if (out == nullptr) return VORN_INVALID_PARAM;
  const uint32_t slot = slot_or_first(fn);
  uim_card_status_type_v01 status{};
  if (usim::get_card_status(status) != 0) {
    VORN_LOG_AS(fn, VORN_ERR, "Error, uim get card status.\n");
    return -1;
  }
  VORN_LOG_AS(fn, VORN_INFO, "slot number[%d].\n", static_cast<int>(status.card_info_len));
  const uim_card_info_type_v01 *card = nullptr;
  if (status.card_info_len == 1) {
    card = &status.card_info[0];
  } else if (status.card_info_len == 2 && slot < 2) {
    card = &status.card_info[slot];
  } else {
    VORN_LOG_AS(fn, VORN_ERR, "Error, invaild num_slot\n");
    return -1;
  }
  const uim_app_info_type_v01 &app = pin_application(*card);
  if (app.pin1_state > UIM_PIN_STATE_PERMANENTLY_BLOCKED_V01) {
    VORN_LOG_AS(fn, VORN_ERR, "Error, unknown pin state(pin_state = %d).\n", static_cast<int>(app.pin1_state));
    return -1;
  }
  out->pin_state = static_cast<int32_t>(app.pin1_state);
  out->pin_remain_times = app.pin1_retries;
  out->puk_remain_times = app.puk1_retries;
  out->pin2_remain_times = app.pin2_retries;
  out->puk2_remain_times = app.puk2_retries;
  VORN_LOG_AS(fn, VORN_INFO,
              "Info, pin_state = %d, pin_remain_times = %d, puk_remain_times = %d, pin2_remain_times = %d, puk_remain_times = %d\n",
              static_cast<int>(out->pin_state), static_cast<int>(out->pin_remain_times),
              static_cast<int>(out->puk_remain_times), static_cast<int>(out->pin2_remain_times),
              static_cast<int>(out->puk2_remain_times));
  return 0;
}

}  // namespace

uint32_t usim::session_type(uint32_t slot) {
  return slot == 1 && dual_sim_enabled.load() == 1 ? UIM_SESSION_TYPE_SECONDARY_GW_V01
                                                   : UIM_SESSION_TYPE_PRIMARY_GW_V01;
}

extern "C" {

VORNPAL_API int vorn_usim_pal_unlock_pin(const char *pin) {
  if (pin == nullptr) return VORN_INVALID_PARAM;
  const size_t len = std::strlen(pin);
  if (len < kPinMin || len > kPinMax) {
    VORN_LOG(VORN_ERR, "Error, pin code length is incorrect: %d\n", static_cast<int>(len));
    return VORN_INVALID_PARAM;
  }
  if (!is_all_digits_manual(pin)) {
    VORN_LOG(VORN_ERR, "Error, pin code include special symbol\n");
    return VORN_INVALID_PARAM;
  }
  if (verify_pin(pin, slot_or_first(__func__)) != 0) {
    VORN_LOG(VORN_ERR, "Error, verify pin failed.\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_usim_pal_unlock_puk(const char *puk, const char *new_pin) {
  if (puk == nullptr || new_pin == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL.\n");
    return VORN_INVALID_PARAM;
  }
  const size_t puk_len = std::strlen(puk);
  const size_t pin_len = std::strlen(new_pin);
  if (puk_len > kPukMax) {
    VORN_LOG(VORN_ERR, "Error, puk code length is incorrect: %d\n", static_cast<int>(puk_len));
    return VORN_INVALID_PARAM;
  }
  if (pin_len < kPinMin || pin_len > kPinMax) {
    VORN_LOG(VORN_ERR, "Error, new pin code length is incorrect: %d\n", static_cast<int>(pin_len));
    return VORN_INVALID_PARAM;
  }
  if (!is_all_digits_manual(puk)) {
    VORN_LOG(VORN_ERR, "Error, puk code include special symbol\n");
    return VORN_INVALID_PARAM;
  }
  if (!is_all_digits_manual(new_pin)) {
    VORN_LOG(VORN_ERR, "Error, new pin code include special symbol\n");
    return VORN_INVALID_PARAM;
  }
  if (unblock_pin(puk, new_pin, slot_or_first(__func__)) != 0) {
    VORN_LOG(VORN_ERR, "Error, unlock puk failed.\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_usim_pal_pinlock_change(int operation, const char *pin) {
  if (pin == nullptr) return VORN_INVALID_PARAM;
  if (set_pin_protection(operation == 1, pin, slot_or_first(__func__)) != 0) {
    VORN_LOG(VORN_ERR, "Error, set pin protection failed.\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_usim_pal_modify_pin_code(const char *old_pin, const char *new_pin) {
  if (old_pin == nullptr || new_pin == nullptr) return VORN_INVALID_PARAM;
  if (change_pin(old_pin, new_pin, slot_or_first(__func__)) != 0) {
    VORN_LOG(VORN_ERR, "Error, change pin failed.\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_usim_pal_get_pinlock_info(usim_pinlock_info *out) {
  return decode_pinlock_info(out);
}

}  // extern "C"
