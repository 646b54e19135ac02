// USSD requests over the VOICE client (originate, with or without waiting,
// answer, cancel) and the session record they and the indications move.
#include <cstring>

#include <vornpal/strings.h>
#include <vornpal/text_conversion.h>
#include <vornpal/voice.h>

#include "foundation/log_site.h"
#include "voice/client.h"
#include "voice/ussd.h"

namespace {

namespace voice = vorn::voice;
namespace session = vorn::voice::session;

constexpr uint32_t kMaxText = VORN_VOICE_USSD_MAX_TEXT;
constexpr uint32_t kTextSizeMark = VORN_VOICE_USSD_UTF8_SIZE;

// g_ussd_data: see voice/ussd.h for why every access is atomic.
ussd_info g_ussd_data;

template <class T>
T load(const T &field) {
  return __atomic_load_n(&field, __ATOMIC_RELAXED);
}
template <class T>
void store(T &field, T value) {
  __atomic_store_n(&field, value, __ATOMIC_RELAXED);
}

// ---- preparing a text -------------------------------------------------------

// The text as it goes on the wire (ASCII as it is, anything else as UCS-2),
// or the result the function gives when it cannot go.
int prepare_text(const char *text, uint32_t length, uss_info_type_v02 &info,
                 const char *caller = __builtin_FUNCTION()) {
  if (!voice::voice_client().ready()) {
    VORN_LOG_AS(caller, VORN_ERR, "null oem_qmi_voice_handle\n");
    return VORN_UNAVAILABLE;
  }
  if (length > kMaxText) {
    VORN_LOG_AS(caller, VORN_ERR,
                "Received USSD charecters exceed maximum length:%d\n", static_cast<int>(kMaxText));
    return VORN_INVALID_PARAM;
  }
  // The ASCII test reads up to a terminator, which the caller's text need not have.
  char terminated[kMaxText + 1] = {};
  std::memcpy(terminated, text, length);
  if (vorn_util_UssdStringIsAscii(terminated) == 1) {
    info.uss_dcs = USS_DCS_ASCII_V02;
    info.uss_data_len = length;
    std::memcpy(info.uss_data, text, length);
    return VORN_OK;
  }
  uint16_t ucs2[QMI_VOICE_USS_DATA_MAX_V02 / 2] = {};
  size_t bytes = vorn_util_convert_utf8_to_ucs2(text, length, ucs2, sizeof ucs2);
  if (bytes == 0 || bytes > QMI_VOICE_USS_DATA_MAX_V02) {
    VORN_LOG_AS(caller, VORN_ERR,
                "Illegal UTF8 characters received, length = %d\n", static_cast<int>(bytes));
    return VORN_INVALID_PARAM;
  }
  info.uss_dcs = USS_DCS_UCS2_V02;
  info.uss_data_len = static_cast<uint32_t>(bytes);
  std::memcpy(info.uss_data, ucs2, bytes);
  return VORN_OK;
}

uint32_t domain_preference(uint32_t wanted, const char *caller) {
  VORN_LOG_AS(caller, VORN_INFO, "ussd_domain_pref = %d\n",
              static_cast<int>(wanted));
  if (wanted == VOICE_USSD_DOMAIN_PREF_CS_ONLY_V02 || wanted == VOICE_USSD_DOMAIN_PREF_PS_ONLY_V02)
    return wanted;
  return VOICE_USSD_DOMAIN_PREF_AUTOMATIC_V02;
}

template <class Req>
int prepare_origination(const char *text, uint32_t length, uint32_t domain_pref, Req &req,
                        const char *caller = __builtin_FUNCTION()) {
  int rc = prepare_text(text, length, req.uss_info, caller);
  if (rc != VORN_OK) return rc;
  req.ussd_domain_pref_valid = 1;
  req.ussd_domain_pref =
      static_cast<voice_ussd_domain_pref_enum_v02>(domain_preference(domain_pref, caller));
  return VORN_OK;
}

// ---- the session record around a request -------------------------------------

// The record is moved before the request goes out, because the network's
// answer can come on the QMI thread before the request returns; a failed
// request puts back what it moved, unless an indication moved it since.
class SessionMove {
 public:
  explicit SessionMove(const session::Fields &to) : before_(session::fields()), to_(to) {
    session::set(to);
  }
  void undo() {
    session::Fields now = session::fields();
    if (now.action_type == to_.action_type && now.ussd_state == to_.ussd_state &&
        now.ussd_status == to_.ussd_status)
      session::set(before_);
  }

 private:
  session::Fields before_;
  session::Fields to_;
};

// ---- what call control made of a synchronous origination ----------------------

uint32_t modification_of(const voice_orig_ussd_resp_msg_v02 &resp) {
  static constexpr uint32_t kByResultType[] = {1, 3, 16, 10};
  if (resp.cc_result_type_valid == 0) return 0;
  uint32_t type = voice::raw(resp.cc_result_type);
  VORN_LOG_AS("vorn_voice_pal_originate_ussd", VORN_INFO, "res_type = %d\n",
              static_cast<int>(type));
  return type < 4 ? kByResultType[type] : 0;
}

void fill_result(const voice_orig_ussd_resp_msg_v02 &resp, ussd_originate_result &result) {
  result.modification = modification_of(resp);
  if (resp.alpha_id_valid != 0) {
    uint32_t len = resp.alpha_id.alpha_text_len;
    if (len > sizeof result.alpha_text) len = sizeof result.alpha_text;
    result.alpha_dcs = voice::raw(resp.alpha_id.alpha_dcs);
    result.alpha_length = len;
    std::memcpy(result.alpha_text, resp.alpha_id.alpha_text, len);
  } else {
    result.alpha_dcs = 0;
    result.alpha_length = 0;
    std::memset(result.alpha_text, 0, sizeof result.alpha_text);
  }
  if (result.modification == 0) {
    // The reply text comes by indication; the response's copy is only shown.
    if (resp.uss_info_valid != 0)
      VORN_LOG_AS("vorn_voice_pal_originate_ussd", VORN_INFO, "USSD Orig resp dcs=%d , len=%d\n",
                  static_cast<int>(voice::raw(resp.uss_info.uss_dcs)),
                  static_cast<int>(resp.uss_info.uss_data_len));
    if (resp.uss_info_utf16_valid != 0)
      VORN_LOG_AS("vorn_voice_pal_originate_ussd", VORN_INFO, "USSD Orig resp, utf16 len=%d\n",
                  static_cast<int>(resp.uss_info_utf16_len));
    return;
  }
  result.call_id = 255;
  result.is_alpha_relayed = 0;
  if (resp.call_id_valid != 0) result.call_id = resp.call_id;
  result.is_ims_request = 0;
  if (resp.cc_sups_result_valid != 0) {
    result.ss_service_type = resp.cc_sups_result.service_type;
    result.ss_reason = resp.cc_sups_result.reason;
  }
  VORN_LOG_AS("vorn_voice_pal_originate_ussd", VORN_INFO, "org req altered. call_id: %d\n",
              result.call_id);
  VORN_LOG_AS("vorn_voice_pal_originate_ussd", VORN_INFO,
              "modification %d, call_id %d, is_ims_request %d\n",
              static_cast<int>(result.modification), result.call_id, result.is_ims_request);
  VORN_LOG_AS("vorn_voice_pal_originate_ussd", VORN_INFO, "... ss svc type %d, ss reason %d\n",
              static_cast<int>(result.ss_service_type), static_cast<int>(result.ss_reason));
  VORN_LOG_AS("vorn_voice_pal_originate_ussd", VORN_INFO, "... is_alpha_relayed %d\n",
              result.is_alpha_relayed);
}

}  // namespace

// ---- the record ------------------------------------------------------------------

namespace vorn::voice::session {

Fields fields() {
  return {load(g_ussd_data.action_type), load(g_ussd_data.ussd_state),
          load(g_ussd_data.ussd_status)};
}

void set(const Fields &fields) {
  store(g_ussd_data.action_type, fields.action_type);
  store(g_ussd_data.ussd_state, fields.ussd_state);
  store(g_ussd_data.ussd_status, fields.ussd_status);
}

void set_status(int32_t status) { store(g_ussd_data.ussd_status, status); }
void set_state(int32_t state) { store(g_ussd_data.ussd_state, state); }

void set_text(const char *utf8) {
  // At most 181 characters and the terminator, the rest of the field cleared.
  constexpr size_t kKept = VORN_VOICE_USSD_MAX_TEXT - 1;
  size_t len = strnlen(utf8, kKept);
  for (size_t i = 0; i < sizeof g_ussd_data.ussd_text; ++i)
    store(g_ussd_data.ussd_text[i], i < len ? utf8[i] : '\0');
  store(g_ussd_data.ussd_text_size, kTextSizeMark);
}

void copy_out(ussd_info &out) {
  Fields now = fields();
  out.action_type = now.action_type;
  out.ussd_state = now.ussd_state;
  out.ussd_status = now.ussd_status;
  for (size_t i = 0; i < sizeof out.ussd_text; ++i) out.ussd_text[i] = load(g_ussd_data.ussd_text[i]);
  out.ussd_text_size = load(g_ussd_data.ussd_text_size);
}

}  // namespace vorn::voice::session

extern "C" {

VORNPAL_API int vorn_voice_pal_originate_ussd(const char *text, uint32_t length,
                                              uint32_t domain_pref,
                                              ussd_originate_result *result) {
  if (text == nullptr || result == nullptr) return VORN_INVALID_PARAM;
  voice_orig_ussd_req_msg_v02 req{};
  int rc = prepare_origination(text, length, domain_pref, req);
  if (rc != VORN_OK) return rc;
  voice_orig_ussd_resp_msg_v02 resp;
  if (!voice::request<voice::OrigUssd>(voice::voice_client(), voice::Guard::FailAtOnce, req, resp))
    return VORN_FAILURE;
  fill_result(resp, *result);
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_originate_ussd_async(const char *text, uint32_t length,
                                                    uint32_t domain_pref) {
  if (text == nullptr) return VORN_INVALID_PARAM;
  voice_orig_ussd_no_wait_req_msg_v02 req{};
  int rc = prepare_origination(text, length, domain_pref, req);
  if (rc != VORN_OK) return rc;
  SessionMove move({VORN_USSD_ACTION_ORIGINATE, VORN_USSD_STATE_REQUEST_SENT, VORN_USSD_STATUS_NONE});
  voice_orig_ussd_no_wait_resp_msg_v02 resp;
  if (!voice::request<voice::OrigUssdNoWait>(voice::voice_client(), voice::Guard::FailAtOnce, req,
                                             resp)) {
    move.undo();
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_answer_ussd(const char *text, uint32_t length) {
  if (text == nullptr) return VORN_INVALID_PARAM;
  voice_answer_ussd_req_msg_v02 req{};
  int rc = prepare_text(text, length, req.uss_info);
  if (rc != VORN_OK) return rc;
  SessionMove move({VORN_USSD_ACTION_ANSWER, VORN_USSD_STATE_REQUEST_SENT, VORN_USSD_STATUS_NONE});
  voice_answer_ussd_resp_msg_v02 resp;
  if (!voice::request<voice::AnswerUssd>(voice::voice_client(), voice::Guard::FailAtOnce, req,
                                         resp)) {
    move.undo();
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_cancel_ussd(void) {
  if (!voice::voice_client().ready()) {
    VORN_LOG(VORN_ERR, "null oem_qmi_voice_handle\n");
    return VORN_UNAVAILABLE;
  }
  SessionMove move({VORN_USSD_ACTION_CANCEL, VORN_USSD_STATE_IDLE, VORN_USSD_STATUS_NONE});
  voice_cancel_ussd_resp_msg_v02 resp;
  if (!voice::request<voice::CancelUssd>(voice::voice_client(), voice::Guard::FailAtOnce, resp)) {
    move.undo();
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_update_ussd_info(uint32_t msg_id, uint32_t notification_type) {
  switch (msg_id) {
    case QMI_VOICE_USSD_IND_V02:
      if (notification_type == FURTHER_USER_ACTION_REQUIRED_V02) {
        session::set_status(VORN_USSD_STATUS_ANSWER_EXPECTED);
      } else if (notification_type == FURTHER_USER_ACTION_NOT_REQUIRED_V02) {
        session::set_status(VORN_USSD_STATUS_NO_FURTHER_ACTION);
        store(g_ussd_data.action_type, static_cast<int32_t>(VORN_USSD_ACTION_NONE));
      } else {
        session::set_status(VORN_USSD_STATUS_NONE);
      }
      break;
    case QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02: {
      int32_t sent = VORN_USSD_STATE_REQUEST_SENT;
      __atomic_compare_exchange_n(&g_ussd_data.ussd_state, &sent,
                                  static_cast<int32_t>(VORN_USSD_STATE_NO_WAIT_DONE), false,
                                  __ATOMIC_RELAXED, __ATOMIC_RELAXED);
      break;
    }
    case QMI_VOICE_USSD_RELEASE_IND_V02: {
      session::set_state(VORN_USSD_STATE_RECEIVED);
      int32_t action = load(g_ussd_data.action_type);
      if (action == VORN_USSD_ACTION_ORIGINATE) {
        session::set_status(VORN_USSD_STATUS_RELEASED_AFTER_ORIGINATE);
      } else if (action == VORN_USSD_ACTION_ANSWER || action == VORN_USSD_ACTION_CANCEL) {
        session::set_status(VORN_USSD_STATUS_RELEASED_AFTER_ANSWER);
      } else {
        VORN_LOG(VORN_INFO, "Info, g_ussd_data.action_type: %d.\n", static_cast<int>(action));
      }
      break;
    }
    default:
      VORN_LOG(VORN_INFO, "Info, unknown the ussd indication callback msg_id: %d.\n",
               static_cast<int>(msg_id));
  }
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_get_ussd_info(ussd_info *info) {
  if (info == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL.\n");
    return VORN_FAILURE;
  }
  session::copy_out(*info);
  return VORN_OK;
}

}  // extern "C"
