// The family's requests as the services document them, what a failed
// request does to each call, the start's own requests, and the functions of
// fixed result.
#include <vornpal/platform/vorn_m2m_service_v01.h>

#include "message_rows.h"
#include "request_failures.h"
#include "voice_test.h"

namespace {

using namespace voicet;

class VoiceMessages : public VoiceTest {};

TEST_F(VoiceMessages, EachCallSendsItsMessage) {
  ussd_originate_result result{};
  uint32_t value = 0, other = 0;
  vt::expect_messages(kVoice, {
      vt::row<vv::OrigUssd>("vorn_voice_pal_originate_ussd",
                            [&] { return vorn_voice_pal_originate_ussd("*100#", 5, 1, &result); }, 200, 800, 10000),
      vt::row<vv::OrigUssdNoWait>("vorn_voice_pal_originate_ussd_async",
                                  [] { return vorn_voice_pal_originate_ussd_async("*100#", 5, 1); }, 200, 8, 10000),
      vt::row<vv::AnswerUssd>("vorn_voice_pal_answer_ussd",
                              [] { return vorn_voice_pal_answer_ussd("1", 1); }, 192, 8, 10000),
      vt::row<vv::CancelUssd>("vorn_voice_pal_cancel_ussd", [] { return vorn_voice_pal_cancel_ussd(); }, 0, 8, 10000),
      vt::row<vv::EndCall>("vorn_voice_pal_end_call", [] { return vorn_voice_pal_end_call(3); }, 1, 12, 3000),
  });
  vt::expect_messages(kImss, {
      vt::row<vv::SetImsServiceEnableConfig>("vorn_voice_pal_set_ims_state",
                                             [] { return vorn_voice_pal_set_ims_state(1); }, 96, 16, 10000),
  });
  vt::expect_messages(kImsa, {
      vt::row<vv::ImsaGetRegistrationStatus>("vorn_voice_pal_get_imsa_state",
                                             [&] { return vorn_voice_pal_get_imsa_state(&value, &other); }, 1, 7980, 10000),
  });
  // The VoLTE query needs an answer that reports VoLTE.
  ASSERT_EQ(vorn_voice_pal_get_ims_state(&value), 0);
  auto query = vornsim::requests(kImss, QMI_IMS_SETTINGS_GET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01);
  ASSERT_EQ(query.size(), 1u);
  EXPECT_EQ(query[0].bytes.size(), 1u);
  EXPECT_EQ(query[0].timeout_ms, 10000u);
  EXPECT_EQ(vornsim::requests(vornsim::Svc::M2M).size(), 1u) << "the NV switch, read first";
}

TEST_F(VoiceMessages, EndingACallIsClassifiedByTheFrame) {
  EXPECT_EQ(vorn_voice_pal_end_call(1), VORN_QMI_FAILURE) << "no call is up";
  EXPECT_TRUE(vt::logged("Sending QMI_VOICE_END_CALL_REQ_V02 failed: rc=0 (), resp.result=1.[0x01], "
                         "resp.error=41.[0x29]\n"));
  vt::answer<vv::EndCall>(kVoice, [](auto &resp) { resp.call_id_valid = 1; resp.call_id = 4; });
  EXPECT_EQ(vorn_voice_pal_end_call(4), 0);
  EXPECT_EQ(vornsim::requests(kVoice, QMI_VOICE_END_CALL_REQ_V02).back().as<voice_end_call_req_msg_v02>().call_id, 4);
  EXPECT_TRUE(vt::logged("QMI_VOICE_END_CALL_REQ_V02 sent to Modem\n"));
}

TEST_F(VoiceMessages, InitAgainKeepsItsClientsAndSwitchesReportsOn) {
  ASSERT_EQ(vorn_voice_pal_init(), 0);
  EXPECT_EQ(vornsim::requests(kImss).size(), 0u) << "no new IMS client, no binding";
  EXPECT_EQ(vornsim::requests(kImsa).size(), 0u);
  auto reg = vornsim::requests(kVoice, QMI_VOICE_INDICATION_REGISTER_REQ_V02);
  ASSERT_EQ(reg.size(), 1u);
  ASSERT_EQ(reg[0].bytes.size(), 60u);
  EXPECT_EQ(reg[0].timeout_ms, 10000u);
  for (size_t i = 0; i < reg[0].bytes.size(); ++i)
    EXPECT_EQ(reg[0].bytes[i], (i == 6 || i == 7 || (i >= 12 && i <= 15)) ? 1 : 0) << "byte " << i;
  EXPECT_TRUE(vt::logged("VOICE pal init start...\n"));
  EXPECT_TRUE(vt::logged("Error code:0, result:0\n"));
  EXPECT_TRUE(vt::logged("VOICE pal init success...\n"));

  // The reports cannot be switched on: logged, and init goes on.
  vornsim::fail_next(kVoice, QMI_VOICE_INDICATION_REGISTER_REQ_V02);
  ASSERT_EQ(vorn_voice_pal_init(), 0);
  EXPECT_TRUE(vt::logged("Voice: send_msg_sync error: -3\n"));
  vornsim::refuse_next(kVoice, QMI_VOICE_INDICATION_REGISTER_REQ_V02);
  ASSERT_EQ(vorn_voice_pal_init(), 0);
  EXPECT_TRUE(vt::logged("Error code:3, result:1\n"));

  int first = 0;
  EXPECT_EQ(vorn_voice_pal_event_register(nullptr, &first), 3);
  EXPECT_EQ(vorn_voice_pal_event_unregister(nullptr), 3);
}

TEST_F(VoiceMessages, FixedResults) {
  using Fixed = int (*)();
  const std::pair<Fixed, int> kFixed[] = {
      {vorn_voice_pal_originate_ussd_v2, 0}, {vorn_voice_pal_answer_ussd_v2, 0},
      {vorn_voice_pal_set_ims_ue_usage_setting, 0}, {vorn_voice_pal_get_ims_ue_usage_setting, 0},
      {oem_voice_pal_ecc_list_get, 0}, {oem_voice_pal_ecc_list_set, 0},
      {oem_voice_pal_clir_nv_set, 0}, {oem_voice_pal_clir_nv_get, 0},
      {vorn_voice_pal_start_call, 2}, {vorn_voice_pal_start_dtmf, 2},
      {vorn_voice_pal_end_dtmf, 2}, {vorn_voice_pal_set_call_forward, 2},
      {vorn_voice_pal_hold_call, 2}, {vorn_voice_pal_resume_call, 2},
      {vorn_voice_pal_exec_sups_action, 2}, {vorn_voice_pal_answer_call, 2},
      {oem_voice_pal_colp_nv_set, 302}, {oem_voice_pal_colp_nv_get, 302},
      {oem_voice_pal_clip_nv_set, 302}, {oem_voice_pal_clip_nv_get, 302},
  };
  for (const auto &[call, result] : kFixed) EXPECT_EQ(call(), result);
  EXPECT_TRUE(vornsim::requests().empty());
  EXPECT_TRUE(vt::diag_texts().empty());
}

TEST_F(VoiceMessages, FailedRequests) {
  static uint32_t value, other;
  static ussd_originate_result result;
  const vt::FailureFamily family{[] {
                                   vornsim::reset();
                                   vornsim::voice::set_session_timeout(3600 * 1000);
                                   vorn_voice_pal_init();
                                   vornsim::drain();
                                 },
                                 {}};
  auto open_session = [] {
    vorn_voice_pal_originate_ussd_async("*123#", 5, 1);
    vornsim::drain();
  };
  const vt::FailureCase kCases[] = {
      {"vorn_voice_pal_originate_ussd", [] { return vorn_voice_pal_originate_ussd("*100#", 5, 1, &result); }, -1, -1},
      {"vorn_voice_pal_originate_ussd_async", [] { return vorn_voice_pal_originate_ussd_async("*100#", 5, 1); }, -1, -1},
      {"vorn_voice_pal_answer_ussd", [] { return vorn_voice_pal_answer_ussd("2", 1); }, -1, -1, true, {}, open_session},
      {"vorn_voice_pal_cancel_ussd", [] { return vorn_voice_pal_cancel_ussd(); }, -1, -1, true, {}, open_session},
      {"vorn_voice_pal_end_call", [] { return vorn_voice_pal_end_call(1); }, -6, -6},
      // A switch that cannot be read counts as on.
      {"vorn_voice_pal_get_ims_state", [] { return vorn_voice_pal_get_ims_state(&value); }, 1501, 1501, true,
       {{vornsim::Svc::M2M, QMI_VORN_M2M_READ_NV_ITEM_REQ_V01, 0, 0}}},
      {"vorn_voice_pal_set_ims_state", [] { return vorn_voice_pal_set_ims_state(0); }, 1500, 1500},
      {"vorn_voice_pal_get_imsa_state", [] { return vorn_voice_pal_get_imsa_state(&value, &other); }, -1, -1},
  };
  for (const auto &c : kCases) vt::expect_request_failures(c, family);
}

}  // namespace
