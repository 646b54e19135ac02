// The voice family's fixture. The family has no deinit: its clients, once
// made, stay for the process. VoiceTest starts the family as a daemon does
// (init is idempotent) on a fresh modem, with every log line recorded and the
// family's events collected. Tests that need a family without clients run
// their body in a fresh process of the test binary (in_fresh_process).
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/voice.h>
#include <vornsim/ims.h>
#include <vornsim/voice.h>

#include <gtest/gtest-spi.h>

#include "vornpal_test.h"
#include "voice/messages.h"

namespace voicet {

namespace vv = vorn::voice;
using vornsim::voice::Coding;

constexpr vornsim::Svc kVoice = vornsim::Svc::VOICE;
constexpr vornsim::Svc kImss = vornsim::Svc::IMSS;
constexpr vornsim::Svc kImsa = vornsim::Svc::IMSA;
constexpr char kImsEnable[] = "/nv/item_files/ims/IMS_enable";

inline size_t count(vornsim::Svc svc, unsigned msg_id) { return vt::count(svc, msg_id); }

// Events of the family, decoded.
template <class T>
T as(const vt::Events::Event &event) {
  T value{};
  EXPECT_EQ(event.size, static_cast<int>(sizeof value)) << "event " << event.id;
  std::memcpy(&value, event.data.data(), std::min(event.data.size(), sizeof value));
  return value;
}

inline ussd_info session() {
  ussd_info info{};
  EXPECT_EQ(vorn_voice_pal_get_ussd_info(&info), 0);
  return info;
}

class VoiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vornsim::reset();
    vorn_set_log_level(0);
    // The tests answer the network at their own pace.
    vornsim::voice::set_session_timeout(3600 * 1000);
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    ASSERT_EQ(vorn_voice_pal_event_register(vt::Events::record, &events), 0);
    forget_traffic();
  }
  void TearDown() override {
    // Indications still queued would outlive the modem's reset.
    vornsim::drain();
    vorn_voice_pal_event_unregister(vt::Events::record);
    vorn_set_log_level(1);
  }
  static void forget_traffic() {
    vornsim::drain();
    vornsim::clear_requests();
    vornsim::clear_diag();
  }
  // The events since the last call, once the modem delivered its queue.
  std::vector<vt::Events::Event> new_events() {
    std::vector<vt::Events::Event> all = events.taken();
    std::vector<vt::Events::Event> fresh(all.begin() + static_cast<long>(seen_), all.end());
    seen_ = all.size();
    return fresh;
  }

  // How many events new_events() gave so far.
  size_t seen() const { return seen_; }

  vt::Events events;

 private:
  size_t seen_ = 0;
};

// A family without clients: the test's body runs in a fresh process of the
// test binary (natively; the emulator cannot re-execute it). The fixture
// makes no client, so that the child starts from nothing.
class VoiceFreshTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vornsim::reset();
    vorn_set_log_level(0);
  }
  void TearDown() override {
    vornsim::drain();
    vorn_set_log_level(1);
  }
  static void in_fresh_process(const std::function<void()> &body) {
    if (vt::emulated()) GTEST_SKIP() << "needs to re-execute the test binary";
    EXPECT_EXIT(
        {
          // The child's failures reach the parent through its standard error.
          ::testing::TestPartResultArray results;
          {
            ::testing::ScopedFakeTestPartResultReporter intercept(
                ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &results);
            body();
          }
          int failures = 0;
          for (int i = 0; i < results.size(); ++i) {
            const ::testing::TestPartResult &result = results.GetTestPartResult(i);
            if (!result.failed()) continue;
            ++failures;
            std::fprintf(stderr, "%s:%d: %s\n", result.file_name() ? result.file_name() : "?",
                         result.line_number(), result.message());
          }
          std::_Exit(failures == 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
  }
};

}  // namespace voicet
