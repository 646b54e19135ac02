// libFuzzer: VOICE indications of any bytes through the voice family's
// callback (decoding, the choice and conversion of the network's text, the
// session record, the events), against the simulated modem.
//   first input octet: the indication (0 release, 1 USSD, 2 SUPS, 3 outcome
//   of an origination, modulo 4), then its bytes
#include <cstdlib>
#include <cstring>

#include <vornpal/log.h>
#include <vornpal/platform/voice_service_v02.h>
#include <vornpal/voice.h>
#include <vornsim/sim.h>

#include "sandbox_check.h"

namespace {

constexpr unsigned kIndications[] = {QMI_VOICE_USSD_RELEASE_IND_V02, QMI_VOICE_USSD_IND_V02,
                                     QMI_VOICE_SUPS_IND_V02, QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02};

// A text that a daemon reads as a C string must end inside its field.
template <size_t N>
void check_text(uint8_t valid, uint32_t length, const char (&text)[N]) {
  if (valid != 0 && (length > N || memchr(text, '\0', N) == nullptr)) std::abort();
}

void check_event(int id, void *data, int size, void *) {
  if (id == VORN_VOICE_EVENT_USSD) {
    if (size != static_cast<int>(sizeof(ussd_event))) std::abort();
    const auto *event = static_cast<const ussd_event *>(data);
    check_text(event->text_valid, event->text_length, event->text);
    if (event->network_data_len > sizeof event->network_data) std::abort();
  } else if (id == VORN_VOICE_EVENT_USSD_NO_WAIT) {
    if (size != static_cast<int>(sizeof(ussd_no_wait_event))) std::abort();
    const auto *outcome = static_cast<const ussd_no_wait_event *>(data);
    check_text(outcome->text_valid, outcome->text_length, outcome->text);
    if (outcome->alpha_id_len > sizeof outcome->alpha_id) std::abort();
  } else if (id != VORN_VOICE_EVENT_USSD_RELEASE) {
    std::abort();
  }
}

bool start() {
  require_sandbox();
  setenv("VORNPAL_TIME_SCALE", "100", 0);
  vornsim::reset();
  vornsim::set_diag_record(false);
  vorn_set_log_level(4);
  vorn_voice_pal_init();
  vorn_voice_pal_event_register(check_event, nullptr);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const bool started = start();
  (void)started;
  if (size == 0) return 0;
  vornsim::indicate(vornsim::Svc::VOICE, kIndications[data[0] % 4], data + 1, size - 1);
  vornsim::drain();
  ussd_info record;
  vorn_voice_pal_get_ussd_info(&record);
  if (std::memchr(record.ussd_text, '\0', sizeof record.ussd_text) == nullptr) std::abort();
  return 0;
}
