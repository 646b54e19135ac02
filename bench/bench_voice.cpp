// The voice family's latency-critical paths: a USSD answer through the
// library against the simulated modem's raw round trip, and a network text
// from indication to the daemon's callback (decode, conversion, event post)
// against the same indication to a bare client.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=Voice
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include <vornpal/log.h>
#include <vornpal/platform/voice_service_v02.h>
#include <vornpal/voice.h>
#include <vornsim/sim.h>

#include "voice/messages.h"

namespace {

namespace vv = vorn::voice;

// A fresh modem whose USSD answers are taken at once and lead nowhere, the
// family started, quiet logging.
void fresh_modem() {
  vornsim::reset();
  vornsim::set_diag_record(false);
  vorn_set_log_level(1);
  vorn_voice_pal_init();
  vornsim::on(vornsim::Svc::VOICE, vv::AnswerUssd::id,
              [](const vornsim::Request &, void *, size_t) { return 0; });
}

void BM_VoiceRawAnswer(benchmark::State &state) {
  fresh_modem();
  qmi_client_type handle = nullptr;
  qmi_client_os_params os{};
  qmi_client_init_instance(voice_get_service_object_internal_v02(2, 125, 6), 65535, nullptr,
                           nullptr, &os, 1000, &handle);
  if (handle == nullptr) state.SkipWithError("no VOICE client");
  voice_answer_ussd_req_msg_v02 req{};
  req.uss_info.uss_dcs = USS_DCS_ASCII_V02;
  req.uss_info.uss_data_len = 1;
  req.uss_info.uss_data[0] = '1';
  for (auto _ : state) {
    voice_answer_ussd_resp_msg_v02 resp;
    benchmark::DoNotOptimize(qmi_client_send_msg_sync(handle, vv::AnswerUssd::id, &req, sizeof req,
                                                      &resp, sizeof resp, 10000));
  }
  qmi_client_release(handle);
}
BENCHMARK(BM_VoiceRawAnswer);

// ASCII goes out as it is; anything else is converted to UCS-2 first.
void BM_VoiceAnswerUssd(benchmark::State &state) {
  fresh_modem();
  const std::string text = state.range(0) == 0 ? std::string(160, '7')
                                               : std::string(60, ' ') + std::string(
                                                     "\u041e\u0442\u0432\u0435\u0442 \u2116 \u20ac");
  if (vorn_voice_pal_answer_ussd(text.c_str(), static_cast<uint32_t>(text.size())) != 0)
    state.SkipWithError("the answer does not reach the modem");
  for (auto _ : state)
    benchmark::DoNotOptimize(vorn_voice_pal_answer_ussd(text.c_str(), static_cast<uint32_t>(text.size())));
}
BENCHMARK(BM_VoiceAnswerUssd)->ArgName("ucs2")->Arg(0)->Arg(1);

int delivered = 0;
void count_delivery(qmi_client_type, unsigned int, void *, unsigned int, void *) { ++delivered; }
void count_event(int, void *, int, void *) { ++delivered; }

// A question of 182 UTF-16 units (Cyrillic), to a bare client or through
// the library to a registered callback.
voice_ussd_ind_msg_v02 long_question() {
  voice_ussd_ind_msg_v02 ind{};
  ind.notification_type = FURTHER_USER_ACTION_REQUIRED_V02;
  ind.uss_info_utf16_valid = 1;
  ind.uss_info_utf16_len = QMI_VOICE_USS_DATA_MAX_V02;
  for (auto &unit : ind.uss_info_utf16) unit = 0x0436;
  return ind;
}

void BM_VoiceRawIndication(benchmark::State &state) {
  vornsim::reset();
  vornsim::set_diag_record(false);
  qmi_client_type handle = nullptr;
  qmi_client_os_params os{};
  qmi_client_init_instance(voice_get_service_object_internal_v02(2, 125, 6), 65535,
                           count_delivery, nullptr, &os, 1000, &handle);
  voice_ussd_ind_msg_v02 ind = long_question();
  for (auto _ : state) {
    vornsim::indicate(vornsim::Svc::VOICE, QMI_VOICE_USSD_IND_V02, ind);
    vornsim::drain();
  }
  qmi_client_release(handle);
}
BENCHMARK(BM_VoiceRawIndication);

void BM_VoiceUssdIndicationToEvent(benchmark::State &state) {
  fresh_modem();
  vorn_voice_pal_event_register(count_event, nullptr);
  voice_ussd_ind_msg_v02 ind = long_question();
  for (auto _ : state) {
    vornsim::indicate(vornsim::Svc::VOICE, QMI_VOICE_USSD_IND_V02, ind);
    vornsim::drain();
  }
  vorn_voice_pal_event_unregister(count_event);
}
BENCHMARK(BM_VoiceUssdIndicationToEvent);

void BM_VoiceGetUssdInfo(benchmark::State &state) {
  ussd_info info;
  for (auto _ : state) benchmark::DoNotOptimize(vorn_voice_pal_get_ussd_info(&info));
}
BENCHMARK(BM_VoiceGetUssdInfo);

}  // namespace
