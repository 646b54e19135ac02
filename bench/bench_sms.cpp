// The SMS codec against libgammu on the mixed corpus of the tests (delivers,
// submits and status reports; 7-bit, 8-bit and UCS-2; concatenated parts).
// Each benchmark times both codecs in the same iterations and reports PDUs
// per second of each and their ratio.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench
//   --benchmark_filter=Sms
#include <benchmark/benchmark.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/sms_codec.h>

#include "gammu_ref.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Pdu {
  uint32_t direction;
  gref::Bytes bytes;
};

// The PDUs of the corpus that both codecs read.
const std::vector<Pdu> &corpus() {
  static const std::vector<Pdu> pdus = [] {
    std::vector<Pdu> out;
    for (const char *file : {"handsets.txt", "generated.txt"}) {
      std::ifstream in(std::string(SMS_CORPUS_DIR) + "/" + file);
      for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string direction, hex;
        if (!(words >> direction >> hex) || direction[0] == '#') continue;
        Pdu pdu{direction == "MO" ? 1u : 2u, {}};
        for (size_t i = 0; i + 1 < hex.size(); i += 2)
          pdu.bytes.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
        if (gref::decode(pdu.bytes).ok) out.push_back(pdu);
      }
    }
    return out;
  }();
  return pdus;
}

// Both sides' time over the same iterations, as counters.
class Race {
 public:
  template <class Fn>
  void ours(Fn fn) {
    ours_ += timed(fn);
  }
  template <class Fn>
  void theirs(Fn fn) {
    theirs_ += timed(fn);
  }

  void report(benchmark::State &state, size_t pdus_per_round) const {
    double count = static_cast<double>(state.iterations() * pdus_per_round);
    double ours = count / std::chrono::duration<double>(ours_).count();
    double theirs = count / std::chrono::duration<double>(theirs_).count();
    state.counters["vornpal_pdus_per_s"] = ours;
    state.counters["gammu_pdus_per_s"] = theirs;
    state.counters["ratio"] = ours / theirs;
  }

 private:
  template <class Fn>
  static Clock::duration timed(Fn fn) {
    Clock::time_point start = Clock::now();
    fn();
    return Clock::now() - start;
  }

  Clock::duration ours_{}, theirs_{};
};

// Records to the PDU's text: with the text the comparison is like for like,
// since gammu always turns the user data into Unicode.
void BM_SmsDecode(benchmark::State &state) {
  bool with_text = state.range(0) != 0;
  vorn_set_log_level(4);
  const std::vector<Pdu> &pdus = corpus();
  auto record = std::make_unique<sms_message_record>();
  auto message = std::make_unique<GSM_SMSMessage>();
  char text[SMS_USER_DATA_SIZE * 4 + 1];
  Race race;
  for (auto _ : state) {
    race.ours([&] {
      for (const Pdu &pdu : pdus) {
        vorn_sms_decode(pdu.direction, SMS_PROTOCOL_GW_PP, pdu.bytes.data(),
                        static_cast<uint32_t>(pdu.bytes.size()), record.get());
        if (with_text && record->kind == SMS_KIND_DELIVER) {
          sms_user_data_record &ud = record->body.deliver.user_data;
          benchmark::DoNotOptimize(DecodeData(
              ud.sm_data, ud.sm_len, record->body.deliver.dcs.alphabet == 0, text, SMS_CHSET_UCS2));
        }
        benchmark::DoNotOptimize(record.get());
      }
    });
    race.theirs([&] {
      for (const Pdu &pdu : pdus) {
        size_t end = 0;
        GSM_DecodePDUFrame(nullptr, message.get(), pdu.bytes.data(), pdu.bytes.size(), &end, TRUE);
        benchmark::DoNotOptimize(message.get());
      }
    });
  }
  race.report(state, pdus.size());
}
BENCHMARK(BM_SmsDecode)->Arg(0)->Arg(1)->ArgName("with_text");

// Delivers and submits from each codec's own record to wire octets.
void BM_SmsEncode(benchmark::State &state) {
  vorn_set_log_level(4);
  std::vector<sms_message_record> records;
  std::vector<std::unique_ptr<GSM_SMSMessage>> messages;
  uint8_t out[256];
  for (const Pdu &pdu : corpus()) {
    sms_message_record record;
    uint32_t length = 0;
    if (vorn_sms_decode(pdu.direction, SMS_PROTOCOL_GW_PP, pdu.bytes.data(),
                        static_cast<uint32_t>(pdu.bytes.size()), &record) != 0 ||
        vorn_sms_encode(SMS_PROTOCOL_GW_PP, out, sizeof out, &record, &length) != 0)
      continue;
    auto message = std::make_unique<GSM_SMSMessage>();
    if (!gref::decode_raw(pdu.bytes, *message) || gref::encode(*message).empty()) continue;
    records.push_back(record);
    messages.push_back(std::move(message));
  }
  unsigned char frame[1000];
  Race race;
  for (auto _ : state) {
    race.ours([&] {
      for (const sms_message_record &record : records) {
        uint32_t length = 0;
        vorn_sms_encode(SMS_PROTOCOL_GW_PP, out, sizeof out, &record, &length);
        benchmark::DoNotOptimize(out);
      }
    });
    race.theirs([&] {
      for (auto &message : messages) {
        int length = 0;
        const GSM_SMSMessageLayout &layout =
            message->PDU == SMS_Deliver ? PHONE_SMSDeliver : PHONE_SMSSubmit;
        GSM_EncodeSMSFrame(nullptr, message.get(), frame, layout, &length, TRUE);
        benchmark::DoNotOptimize(frame);
      }
    });
  }
  race.report(state, records.size());
  state.counters["pdus"] = static_cast<double>(records.size());
}
BENCHMARK(BM_SmsEncode);

}  // namespace
