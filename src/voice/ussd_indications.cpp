// VOICE indications that carry USSD news: the network's text (a question
// or a notification), the outcome of an origination that did not wait, the
// release of the session, and a supplementary-service report that call
// control turned into USSD. Each becomes events of the family, posted from
// the QMI library's thread, and moves the session record.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vornpal/text_conversion.h>
#include <vornpal/voice.h>

#include "foundation/log_site.h"
#include "voice/client.h"
#include "voice/ussd.h"

namespace {

namespace voice = vorn::voice;
namespace session = vorn::voice::session;

constexpr size_t kWorkSize = VORN_VOICE_USSD_UTF8_SIZE;
// An ASCII text longer than this is not converted.
constexpr uint32_t kAsciiMax = 181;
// Data coding schemes (3GPP TS 23.038) of the modem's 8-bit and UCS-2 forms.
constexpr uint8_t kDcs8Bit = 0x94;
constexpr uint8_t kDcsUcs2 = 0x98;

// An exhausted heap where an event must go out is not survivable.
[[noreturn]] void out_of_memory(int line) {
  std::printf("%s, line: %d\n", __FILE__, line);
  std::fflush(stdout);
  std::abort();
}

template <class T>
T *event_block(int line = __builtin_LINE()) {
  auto *block = static_cast<T *>(std::calloc(1, sizeof(T)));
  if (block == nullptr) out_of_memory(line);
  return block;
}

template <class T>
void post(int event, T *block) {
  voice::voice_client().post(event, block, sizeof(T));
}

// The network's text in UTF-8, chosen from the forms an indication carries:
// the UTF-16 form when there is one, otherwise the USSD string by its coding.
struct NetworkText {
  enum class Form { None, Ascii, Converted, UnknownCoding };
  Form form = Form::None;
  size_t length = 0;
  char utf8[kWorkSize] = {};

  // A text that also goes into the events: ASCII texts do not.
  bool for_events() const { return form == Form::Converted && length > 0; }
};

size_t from_uss_info(const uss_info_type_v02 &info, NetworkText &text) {
  uint32_t len = std::min<uint32_t>(info.uss_data_len, QMI_VOICE_USS_DATA_MAX_V02);
  switch (voice::raw(info.uss_dcs)) {
    case USS_DCS_ASCII_V02:
      text.form = NetworkText::Form::Ascii;
      if (len > kAsciiMax) return 0;
      return static_cast<size_t>(vorn_util_ss_ascii_to_utf8(
          reinterpret_cast<const char *>(info.uss_data), static_cast<int>(len), text.utf8,
          kWorkSize));
    case USS_DCS_8BIT_V02:
      text.form = NetworkText::Form::Converted;
      return vorn_util_convert_ussd_string_to_utf8(kDcs8Bit, info.uss_data, len, text.utf8,
                                                   kWorkSize);
    case USS_DCS_UCS2_V02:
      text.form = NetworkText::Form::Converted;
      return vorn_util_convert_ussd_string_to_utf8(kDcsUcs2, info.uss_data, len, text.utf8,
                                                   kWorkSize);
    default:
      text.form = NetworkText::Form::UnknownCoding;
      VORN_LOG_AS("vorn_unsolicited_voice_ind", VORN_ERR, "Invalid USSD dcs : %d\n",
                  static_cast<int>(voice::raw(info.uss_dcs)));
      return 0;
  }
}

template <class Ind>
NetworkText network_text(const Ind &ind) {
  NetworkText text;
  if (ind.uss_info_utf16_valid != 0) {
    uint32_t units = std::min<uint32_t>(ind.uss_info_utf16_len, QMI_VOICE_USS_DATA_MAX_V02);
    text.form = NetworkText::Form::Converted;
    text.length = vorn_util_convert_ucs2_to_utf8(ind.uss_info_utf16, units * 2u, text.utf8,
                                                 kWorkSize);
  } else if (ind.uss_info_valid != 0) {
    text.length = from_uss_info(ind.uss_info, text);
  }
  if (text.length > kWorkSize) {
    text.length = kWorkSize;
    text.utf8[kWorkSize - 1] = '\0';
  }
  return text;
}

// The text into an event's fields.
template <class Event>
void put_text(const NetworkText &text, Event &event) {
  if (!text.for_events()) return;
  event.text_valid = 1;
  event.text_length = static_cast<uint32_t>(text.length);
  std::memcpy(event.text, text.utf8, std::min(text.length, sizeof event.text));
}

// A block of `len` bytes into a field, cut to the field.
template <size_t N>
uint32_t put_block(uint8_t (&field)[N], const uint8_t *data, uint32_t len) {
  uint32_t kept = std::min<uint32_t>(len, N);
  std::memcpy(field, data, kept);
  return kept;
}

// ---- the further fields, handed on as the modem gave them ---------------------------

void copy_further(const voice_ussd_ind_msg_v02 &ind, ussd_event &event) {
  if ((event.network_data_valid = ind.network_data_valid) != 0)
    event.network_data_len = put_block(event.network_data, ind.network_data, ind.network_data_len);
  if ((event.failure_cause_valid = ind.failure_cause_valid) != 0)
    event.failure_cause = ind.failure_cause;
  if ((event.alpha_id_valid = ind.alpha_id_valid) != 0)
    std::memcpy(event.alpha_id, ind.alpha_id, sizeof event.alpha_id);
  if ((event.sip_error_code_valid = ind.sip_error_code_valid) != 0)
    event.sip_error_code = ind.sip_error_code;
}

void copy_further(const voice_orig_ussd_no_wait_ind_msg_v02 &ind, ussd_no_wait_event &event) {
  if ((event.error_valid = ind.error_valid) != 0) event.error = voice::raw(ind.error);
  if ((event.cc_result_type_valid = ind.cc_result_type_valid) != 0)
    event.cc_result_type = voice::raw(ind.cc_result_type);
  if ((event.alpha_id_valid = ind.alpha_id_valid) != 0)
    event.alpha_id_len =
        put_block(event.alpha_id, ind.alpha_id.alpha_text, ind.alpha_id.alpha_text_len);
  if ((event.failure_cause_valid = ind.failure_cause_valid) != 0)
    event.failure_cause = ind.failure_cause;
  if ((event.sip_error_code_valid = ind.sip_error_code_valid) != 0)
    event.sip_error_code = ind.sip_error_code;
  if ((event.network_data_valid = ind.network_data_valid) != 0) {
    event.network_data_dcs = ind.network_data_dcs;
    event.network_data_len = put_block(event.network_data, ind.network_data, ind.network_data_len);
  }
}

void no_text() {
  VORN_LOG_AS("vorn_unsolicited_voice_ind", VORN_INFO,
              "Received USSD Indication with no USSD string\n");
}

}  // namespace

namespace vorn::voice {

void on_ussd(const voice_ussd_ind_msg_v02 &ind) {
  auto *event = event_block<ussd_event>();
  event->notification_type = voice::raw(ind.notification_type);
  copy_further(ind, *event);
  vorn_voice_pal_update_ussd_info(QMI_VOICE_USSD_IND_V02, event->notification_type);

  NetworkText text = network_text(ind);
  if (text.form == NetworkText::Form::UnknownCoding) {
    session::set_status(VORN_USSD_STATUS_NONE);
    std::free(event);
    return;
  }
  if (text.form == NetworkText::Form::None) {
    session::set_status(VORN_USSD_STATUS_NONE);
    no_text();
  }
  put_text(text, *event);
  session::set_state(VORN_USSD_STATE_RECEIVED);
  session::set_text(text.utf8);
  post(VORN_VOICE_EVENT_USSD, event);
}

void on_orig_no_wait(const voice_orig_ussd_no_wait_ind_msg_v02 &ind) {
  auto *outcome = event_block<ussd_no_wait_event>();
  copy_further(ind, *outcome);
  NetworkText text = network_text(ind);
  if (text.form == NetworkText::Form::UnknownCoding) session::set_status(VORN_USSD_STATUS_NONE);
  put_text(text, *outcome);
  if (text.length > 0) {
    auto *reply = event_block<ussd_event>();
    reply->notification_type = FURTHER_USER_ACTION_NOT_REQUIRED_V02;
    put_text(text, *reply);
    post(VORN_VOICE_EVENT_USSD, reply);
  }
  post(VORN_VOICE_EVENT_USSD_NO_WAIT, outcome);
  session::set_text(text.utf8);
  if (text.length == 0) no_text();
}

void on_ussd_release(const voice_ussd_release_ind_msg_v02 &ind) {
  vorn_voice_pal_update_ussd_info(QMI_VOICE_USSD_RELEASE_IND_V02, 0);
  auto *release = event_block<ussd_release_event>();
  release->release_cause = ind.release_cause;
  release->failure_cause = ind.failure_cause_valid != 0 ? ind.failure_cause : 0;
  post(VORN_VOICE_EVENT_USSD_RELEASE, release);
  // A release carries no text: the record's text is cleared with it.
  session::set_text("");
}

void on_sups(const voice_sups_ind_msg_v02 &ind) {
  if (ind.supplementary_service_info.service_type != VOICE_SUPS_SERVICE_TYPE_USSD_V02) return;
  session::set_text(network_text(ind).utf8);
}

}  // namespace vorn::voice
