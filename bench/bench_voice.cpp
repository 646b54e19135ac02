// The voice family's latency-critical paths beside their raw counterparts
// (paired.h): a USSD answer through the library against the raw round trip
// of the very request it makes, and a network text from indication to the
// daemon's callback (decode, conversion, event post) against a bare client
// that decodes the same indication.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=Voice
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include <vornpal/log.h>
#include <vornpal/platform/voice_service_v02.h>
#include <vornpal/voice.h>
#include <vornsim/sim.h>

#include "paired.h"
#include "voice/messages.h"

namespace {

namespace vv = vorn::voice;

// A fresh modem that keeps no record of requests and whose USSD answers are
// taken at once and lead nowhere, the family started, quiet logging.
void fresh_modem(int log_level = 1) {
  vornsim::reset();
  vornsim::set_diag_record(false);
  vornsim::set_request_record(0);
  vorn_set_log_level(log_level);
  vorn_voice_pal_init();
  vornsim::on(vornsim::Svc::VOICE, vv::AnswerUssd::id,
              [](const vornsim::Request &, void *, size_t) { return 0; });
}

// ASCII goes out as it is; anything else is converted to UCS-2 first.
void BM_VoiceAnswerUssdVsRaw(benchmark::State &state) {
  fresh_modem();
  const std::string text = state.range(0) == 0 ? std::string(160, '7')
                                               : std::string(60, ' ') + std::string(
                                                     "\u041e\u0442\u0432\u0435\u0442 \u2116 \u20ac");
  auto answer = [&] {
    benchmark::DoNotOptimize(vorn_voice_pal_answer_ussd(text.c_str(), static_cast<uint32_t>(text.size())));
  };
  bench::RawReplay raw(bench::requests_of(answer),
                       {{vornsim::Svc::VOICE, voice_get_service_object_internal_v02(2, 125, 6)}});
  raw.sized<vv::AnswerUssd>(vornsim::Svc::VOICE);
  if (std::string why = raw.incomplete(); !why.empty()) state.SkipWithError(why.c_str());
  bench::paired(state, CLOCK_THREAD_CPUTIME_ID, 64, answer, [&] { raw(); });
}
BENCHMARK(BM_VoiceAnswerUssdVsRaw)->ArgName("ucs2")->Arg(0)->Arg(1);

// An indication id that no table knows: the family passes it over at once,
// the bare client takes it for a USSD text.
constexpr unsigned kRawUssdInd = 0x00F0;

int delivered = 0;
void count_event(int, void *, int, void *) { ++delivered; }

// What a client with no library around it does with a USSD text: decode it.
void decode_raw_ussd(qmi_client_type handle, unsigned int msg_id, void *buf, unsigned int len, void *) {
  if (msg_id != kRawUssdInd) return;
  static voice_ussd_ind_msg_v02 ind;
  if (qmi_client_message_decode(handle, QMI_IDL_INDICATION, QMI_VOICE_USSD_IND_V02, buf, len, &ind,
                                sizeof ind) == QMI_NO_ERR)
    ++delivered;
}

// A question of 182 UTF-16 units (Cyrillic).
voice_ussd_ind_msg_v02 long_question() {
  voice_ussd_ind_msg_v02 ind{};
  ind.notification_type = FURTHER_USER_ACTION_REQUIRED_V02;
  ind.uss_info_utf16_valid = 1;
  ind.uss_info_utf16_len = QMI_VOICE_USS_DATA_MAX_V02;
  for (auto &unit : ind.uss_info_utf16) unit = 0x0436;
  return ind;
}

// Every indication reaches both clients, so each path sends one that only
// its own client acts on; the family's log stays below its INFO lines, which
// would otherwise count against the bare client's path. Timed from sending
// to delivery on the modem's thread.
void BM_VoiceUssdIndicationToEventVsRaw(benchmark::State &state) {
  fresh_modem(2);
  vorn_voice_pal_event_register(count_event, nullptr);
  qmi_client_type handle = nullptr;
  qmi_client_os_params os{};
  qmi_client_init_instance(voice_get_service_object_internal_v02(2, 125, 6), QMI_CLIENT_INSTANCE_ANY,
                           decode_raw_ussd, nullptr, &os, 1000, &handle);
  if (handle == nullptr) state.SkipWithError("no VOICE client");
  voice_ussd_ind_msg_v02 ind = long_question();
  delivered = 0;
  bench::paired(
      state, CLOCK_MONOTONIC, 16,
      [&] {
        vornsim::indicate(vornsim::Svc::VOICE, QMI_VOICE_USSD_IND_V02, ind);
        vornsim::drain();
      },
      [&] {
        vornsim::indicate(vornsim::Svc::VOICE, kRawUssdInd, ind);
        vornsim::drain();
      });
  state.counters["delivered"] = delivered;
  qmi_client_release(handle);
  vorn_voice_pal_event_unregister(count_event);
}
BENCHMARK(BM_VoiceUssdIndicationToEventVsRaw);

void BM_VoiceGetUssdInfo(benchmark::State &state) {
  ussd_info info;
  for (auto _ : state) benchmark::DoNotOptimize(vorn_voice_pal_get_ussd_info(&info));
}
BENCHMARK(BM_VoiceGetUssdInfo);

}  // namespace
