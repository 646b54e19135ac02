// USSD sessions with the simulated operator, end to end: the daemon's calls,
// the requests that reach the modem, the events (on the QMI library's
// thread) and the session record.
#include <vornpal/text_conversion.h>

#include "voice_test.h"

namespace {

using namespace voicet;

class Ussd : public VoiceTest {};

const std::string kMainMenu = "Vorn Mobile\n1 Balance\n2 Data bundles\n3 Language";
const std::string kBundles = "Data bundles:\n1 1 GB \u2013 5 \u20ac\n2 5 GB \u2013 15 \u20ac\n0 Back";
const std::string kActivated = "1 GB bundle activated \U0001F389 Enjoy!";
const std::string kBalance = "Balance: 12.50 EUR, valid until 31/12/2025.";
const std::string kStatement =
    "\u0412\u044b\u043f\u0438\u0441\u043a\u0430 \u0441\u0447\u0451\u0442\u0430: "
    "\u0431\u0430\u043b\u0430\u043d\u0441 12,50 \u20ac; \u0434\u0430\u043d\u043d\u044b\u0435 "
    "3,2 \u0413\u0411 \u0438\u0437 5 \u0413\u0411; \u0437\u0432\u043e\u043d\u043a\u0438 "
    "120 \u043c\u0438\u043d; SMS 45 \u0438\u0437 100. "
    "\u0422\u0430\u0440\u0438\u0444 \u00ab\u0412\u043e\u0440\u043d 5G\u00bb, "
    "\u0441\u043f\u0438\u0441\u0430\u043d\u0438\u0435 01.01.2026. "
    "\u0421\u043f\u0430\u0441\u0438\u0431\u043e!";

std::string text_of(const ussd_event &event) {
  return event.text_valid != 0 ? std::string(event.text, event.text_length) : "";
}

std::string text_of(const ussd_no_wait_event &event) {
  return event.text_valid != 0 ? std::string(event.text, event.text_length) : "";
}

// The network's packed GSM 7-bit form, read by the library's own GSM tables.
std::string unpacked(const uint8_t *packed, uint32_t len) {
  char utf8[400] = {};
  int n = vorn_util_convert_gsm_def_alpha_string_to_utf8(packed, static_cast<int>(len), utf8, sizeof utf8);
  return std::string(utf8, static_cast<size_t>(n));
}

void expect_session(int action, int state, int status) {
  ussd_info now = session();
  EXPECT_EQ(now.action_type, action);
  EXPECT_EQ(now.ussd_state, state);
  EXPECT_EQ(now.ussd_status, status);
}

void expect_on_modem_thread(const std::vector<vt::Events::Event> &list) {
  for (const auto &event : list) EXPECT_TRUE(event.on_modem_thread) << "event " << event.id;
}

TEST_F(Ussd, TwoLevelMenuCarriedByEventsAndAnswers) {
  ASSERT_EQ(vorn_voice_pal_originate_ussd_async("*123#", 5, 1), 0);
  auto sent = vornsim::requests(kVoice, QMI_VOICE_ORIG_USSD_NO_WAIT_REQ_V02);
  ASSERT_EQ(sent.size(), 1u);
  auto orig = sent[0].as<voice_orig_ussd_no_wait_req_msg_v02>();
  EXPECT_EQ(orig.uss_info.uss_dcs, USS_DCS_ASCII_V02);
  EXPECT_EQ(std::string(reinterpret_cast<char *>(orig.uss_info.uss_data), orig.uss_info.uss_data_len), "*123#");
  EXPECT_EQ(orig.ussd_domain_pref_valid, 1);
  EXPECT_EQ(orig.ussd_domain_pref, VOICE_USSD_DOMAIN_PREF_AUTOMATIC_V02);

  // The first level comes as GSM 7-bit: the modem gives it as ASCII, which
  // reaches the record but not the event's text.
  auto first = new_events();
  ASSERT_EQ(first.size(), 1u);
  EXPECT_EQ(first[0].id, VORN_VOICE_EVENT_USSD);
  auto question = as<ussd_event>(first[0]);
  EXPECT_EQ(question.notification_type, 2u);
  EXPECT_EQ(question.text_valid, 0);
  ASSERT_EQ(question.network_data_valid, 1);
  EXPECT_EQ(unpacked(question.network_data, question.network_data_len), kMainMenu);
  expect_session(VORN_USSD_ACTION_ORIGINATE, VORN_USSD_STATE_RECEIVED, VORN_USSD_STATUS_ANSWER_EXPECTED);
  EXPECT_EQ(std::string(session().ussd_text), kMainMenu);
  EXPECT_EQ(session().ussd_text_size, 366u);

  // The second level is UCS-2 (en dash and euro sign are not Latin-1).
  ASSERT_EQ(vorn_voice_pal_answer_ussd("2", 1), 0);
  auto second = new_events();
  ASSERT_EQ(second.size(), 1u);
  auto bundles = as<ussd_event>(second[0]);
  EXPECT_EQ(bundles.notification_type, 2u);
  EXPECT_EQ(text_of(bundles), kBundles);
  EXPECT_EQ(std::string(session().ussd_text), kBundles);
  expect_session(VORN_USSD_ACTION_ANSWER, VORN_USSD_STATE_RECEIVED, VORN_USSD_STATUS_ANSWER_EXPECTED);

  // The last answer ends the session: the outcome of the origination (a
  // character beyond the basic plane, so UTF-16), then the release.
  ASSERT_EQ(vorn_voice_pal_answer_ussd("1", 1), 0);
  auto last = new_events();
  ASSERT_EQ(last.size(), 3u);
  EXPECT_EQ(last[0].id, VORN_VOICE_EVENT_USSD);
  EXPECT_EQ(as<ussd_event>(last[0]).notification_type, 1u);
  EXPECT_EQ(text_of(as<ussd_event>(last[0])), kActivated);
  EXPECT_EQ(last[1].id, VORN_VOICE_EVENT_USSD_NO_WAIT);
  auto outcome = as<ussd_no_wait_event>(last[1]);
  EXPECT_EQ(text_of(outcome), kActivated);
  EXPECT_EQ(outcome.error_valid, 0);
  EXPECT_EQ(outcome.network_data_dcs, vornsim::voice::kDcsUcs2);
  EXPECT_EQ(last[2].id, VORN_VOICE_EVENT_USSD_RELEASE);
  EXPECT_EQ(as<ussd_release_event>(last[2]).release_cause, vornsim::voice::kCompleted);
  expect_session(VORN_USSD_ACTION_ANSWER, VORN_USSD_STATE_RECEIVED,
                 VORN_USSD_STATUS_RELEASED_AFTER_ANSWER);
  EXPECT_STREQ(session().ussd_text, "") << "the release clears the text";

  expect_on_modem_thread(events.taken());
  vornsim::voice::Session network = vornsim::voice::session();
  EXPECT_FALSE(network.open);
  EXPECT_EQ(network.received, (std::vector<std::string>{"*123#", "2", "1"}));
  for (const auto &req : vornsim::requests(kVoice, QMI_VOICE_ANSWER_USSD_REQ_V02)) {
    EXPECT_EQ(req.bytes.size(), 192u);
    EXPECT_EQ(req.timeout_ms, 10000u);
  }
}

TEST_F(Ussd, MenuAnswersInUcs2AndWrongChoices) {
  ASSERT_EQ(vorn_voice_pal_originate_ussd_async("*123#", 5, 2), 0);
  EXPECT_EQ(vornsim::requests(kVoice)[0].as<voice_orig_ussd_no_wait_req_msg_v02>().ussd_domain_pref,
            VOICE_USSD_DOMAIN_PREF_CS_ONLY_V02);
  new_events();
  ASSERT_EQ(vorn_voice_pal_answer_ussd("9", 1), 0);
  auto again = new_events();
  ASSERT_EQ(again.size(), 1u);
  EXPECT_EQ(std::string(session().ussd_text), "Invalid choice.\n" + kMainMenu);

  ASSERT_EQ(vorn_voice_pal_answer_ussd("3", 1), 0);
  new_events();
  // An answer outside ASCII goes out as UCS-2 and reaches the network intact.
  const std::string russian = "\u0414\u0430";
  vornsim::clear_requests();
  ASSERT_EQ(vorn_voice_pal_answer_ussd(russian.c_str(), static_cast<uint32_t>(russian.size())), 0);
  auto req = vornsim::requests(kVoice, QMI_VOICE_ANSWER_USSD_REQ_V02).at(0).as<voice_answer_ussd_req_msg_v02>();
  EXPECT_EQ(req.uss_info.uss_dcs, USS_DCS_UCS2_V02);
  EXPECT_EQ(req.uss_info.uss_data_len, 4u);
  EXPECT_EQ(vornsim::voice::session().received.back(), russian);
  new_events();
  vornsim::voice::network_release();
  auto released = new_events();
  ASSERT_EQ(released.size(), 1u);
  EXPECT_EQ(as<ussd_release_event>(released[0]).release_cause, vornsim::voice::kReleasedByNetwork);
  expect_session(VORN_USSD_ACTION_ANSWER, VORN_USSD_STATE_RECEIVED,
                 VORN_USSD_STATUS_RELEASED_AFTER_ANSWER);
}

TEST_F(Ussd, NetworkInitiatedRequestAnswered) {
  ASSERT_TRUE(vornsim::voice::network_request("Rate our service from 1 to 5", Coding::Gsm7));
  auto asked = new_events();
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(as<ussd_event>(asked[0]).notification_type, 2u);
  EXPECT_EQ(std::string(session().ussd_text), "Rate our service from 1 to 5");
  EXPECT_EQ(session().ussd_status, VORN_USSD_STATUS_ANSWER_EXPECTED);

  ASSERT_EQ(vorn_voice_pal_answer_ussd("5", 1), 0);
  auto thanked = new_events();
  ASSERT_EQ(thanked.size(), 2u);
  EXPECT_EQ(thanked[0].id, VORN_VOICE_EVENT_USSD);
  EXPECT_EQ(as<ussd_event>(thanked[0]).notification_type, 1u);
  EXPECT_EQ(thanked[1].id, VORN_VOICE_EVENT_USSD_RELEASE);
  // The notification ended the application's part: the release leaves the
  // status as the notification set it.
  expect_session(VORN_USSD_ACTION_NONE, VORN_USSD_STATE_RECEIVED, VORN_USSD_STATUS_NO_FURTHER_ACTION);
  EXPECT_TRUE(vt::logged("Info, g_ussd_data.action_type: 0.\n"));
  EXPECT_EQ(vornsim::voice::session().received, (std::vector<std::string>{"5"}));
  expect_on_modem_thread(events.taken());
}

// The session record as a callback of event 2 sees it.
ussd_info record_at_event;
void keep_record(int id, void *, int, void *user) {
  if (id == VORN_VOICE_EVENT_USSD) vorn_voice_pal_get_ussd_info(static_cast<ussd_info *>(user));
}

TEST_F(Ussd, NotificationsBalanceAndLongTexts) {
  // A notification in UCS-2 of more than the UCS-2 string holds: the modem
  // gives the UTF-16 form, which reaches the event whole and the record cut
  // to its 181 bytes.
  std::string notice;
  for (int i = 0; i < 16; ++i) notice += "\u0411\u043e\u043d\u0443\u0441 ";
  ASSERT_TRUE(vornsim::voice::network_notify(notice, Coding::Ucs2));
  auto noticed = new_events();
  ASSERT_EQ(noticed.size(), 2u);
  EXPECT_EQ(text_of(as<ussd_event>(noticed[0])), notice);
  ASSERT_EQ(noticed[1].id, VORN_VOICE_EVENT_USSD_RELEASE);

  // The balance, asked without waiting: outcome and release at once.
  ASSERT_EQ(vorn_voice_pal_originate_ussd_async("*100#", 5, 3), 0);
  auto balance = new_events();
  ASSERT_EQ(balance.size(), 3u);
  EXPECT_EQ(balance[0].id, VORN_VOICE_EVENT_USSD);
  EXPECT_EQ(balance[1].id, VORN_VOICE_EVENT_USSD_NO_WAIT);
  auto outcome = as<ussd_no_wait_event>(balance[1]);
  EXPECT_EQ(outcome.text_valid, 0) << "an ASCII text stays out of the events";
  EXPECT_EQ(outcome.network_data_dcs, vornsim::voice::kDcsGsm7);
  EXPECT_EQ(unpacked(outcome.network_data, outcome.network_data_len), kBalance);
  EXPECT_EQ(balance[2].id, VORN_VOICE_EVENT_USSD_RELEASE);
  expect_session(VORN_USSD_ACTION_ORIGINATE, VORN_USSD_STATE_RECEIVED,
                 VORN_USSD_STATUS_RELEASED_AFTER_ORIGINATE);

  // A code the network does not serve: the outcome carries its error.
  ASSERT_EQ(vorn_voice_pal_originate_ussd_async("*999#", 5, 1), 0);
  auto refused = new_events();
  ASSERT_EQ(refused.size(), 2u);
  EXPECT_EQ(refused[0].id, VORN_VOICE_EVENT_USSD_NO_WAIT);
  EXPECT_EQ(as<ussd_no_wait_event>(refused[0]).error_valid, 1);
  EXPECT_EQ(as<ussd_no_wait_event>(refused[0]).failure_cause, 0x22);
  EXPECT_TRUE(vt::logged("Received USSD Indication with no USSD string\n"));

  // The long statement, synchronously: the record stays as it was, the text
  // comes by indication.
  ASSERT_EQ(vorn_voice_pal_event_register(keep_record, &record_at_event), 0);
  ussd_info before = session();
  ussd_originate_result result;
  std::memset(&result, 0xA5, sizeof result);
  ASSERT_EQ(vorn_voice_pal_originate_ussd("*111#", 5, 1, &result), 0);
  EXPECT_EQ(result.modification, 0u);
  EXPECT_EQ(result.alpha_length, 0u);
  EXPECT_EQ(result.alpha_text[0], 0) << "alpha fields cleared";
  EXPECT_TRUE(vt::logged("USSD Orig resp, utf16 len=131\n"));
  ussd_info after = session();
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0) << "the synchronous origination leaves the record";
  auto statement = new_events();
  ASSERT_EQ(statement.size(), 2u);
  EXPECT_EQ(text_of(as<ussd_event>(statement[0])), kStatement);
  // The record kept 181 bytes while the text was the session's last news.
  EXPECT_EQ(std::string(record_at_event.ussd_text), kStatement.substr(0, 181));
  vorn_voice_pal_event_unregister(keep_record);
}

TEST_F(Ussd, SessionTimesOutAndCancelReleases) {
  vornsim::voice::set_session_timeout(2000);
  ASSERT_EQ(vorn_voice_pal_originate_ussd_async("*123#", 5, 1), 0);
  // The question, then the network gives up on it by itself.
  ASSERT_TRUE(vt::eventually([&] { return events.taken().size() >= seen() + 2; }));
  auto timed_out = new_events();
  ASSERT_EQ(timed_out.size(), 2u);
  EXPECT_EQ(as<ussd_event>(timed_out[0]).notification_type, 2u);
  auto release = as<ussd_release_event>(timed_out[1]);
  EXPECT_EQ(release.release_cause, vornsim::voice::kTimedOut);
  EXPECT_EQ(release.failure_cause, vornsim::voice::kNoResponseCause);
  expect_session(VORN_USSD_ACTION_ORIGINATE, VORN_USSD_STATE_RECEIVED,
                 VORN_USSD_STATUS_RELEASED_AFTER_ORIGINATE);
  // An answer to a session that is gone: refused, the record as it was.
  EXPECT_EQ(vorn_voice_pal_answer_ussd("1", 1), -1);
  EXPECT_TRUE(vt::logged("QMI_VOICE_ANSWER_USSD_REQ_V02 failed, result: 0,1, error: 82.\n"));
  expect_session(VORN_USSD_ACTION_ORIGINATE, VORN_USSD_STATE_RECEIVED,
                 VORN_USSD_STATUS_RELEASED_AFTER_ORIGINATE);

  vornsim::voice::set_session_timeout(3600 * 1000);
  ASSERT_EQ(vorn_voice_pal_originate_ussd_async("*123#", 5, 1), 0);
  new_events();
  ASSERT_EQ(vorn_voice_pal_cancel_ussd(), 0);
  EXPECT_EQ(vornsim::requests(kVoice, QMI_VOICE_CANCEL_USSD_REQ_V02).at(0).bytes.size(), 0u);
  auto cancelled = new_events();
  ASSERT_EQ(cancelled.size(), 1u);
  EXPECT_EQ(as<ussd_release_event>(cancelled[0]).release_cause, vornsim::voice::kCancelled);
  expect_session(VORN_USSD_ACTION_CANCEL, VORN_USSD_STATE_RECEIVED,
                 VORN_USSD_STATUS_RELEASED_AFTER_ANSWER);
  // Nothing left to cancel: the modem refuses.
  EXPECT_EQ(vorn_voice_pal_cancel_ussd(), -1);
  EXPECT_TRUE(vt::logged("QMI_VOICE_CANCEL_USSD_REQ_V02 failed, result: 0,1, error: 82.\n"));
  expect_session(VORN_USSD_ACTION_CANCEL, VORN_USSD_STATE_RECEIVED,
                 VORN_USSD_STATUS_RELEASED_AFTER_ANSWER);
}

TEST_F(Ussd, CallControlChangesASynchronousOrigination) {
  vt::serve<vv::OrigUssd>(kVoice, [](const auto &, auto &resp) {
    resp.cc_result_type_valid = 1;
    resp.cc_result_type = VOICE_CC_RESULT_TYPE_USSD_V02;
    resp.call_id_valid = 1;
    resp.call_id = 7;
    resp.cc_sups_result_valid = 1;
    resp.cc_sups_result = {21, 4};
    resp.alpha_id_valid = 1;
    resp.alpha_id.alpha_dcs = ALPHA_DCS_GSM_V02;
    resp.alpha_id.alpha_text_len = 3;
    std::memcpy(resp.alpha_id.alpha_text, "SIM", 3);
  });
  ussd_originate_result result{};
  ASSERT_EQ(vorn_voice_pal_originate_ussd("*135#", 5, 5, &result), 0);
  EXPECT_EQ(vornsim::requests(kVoice, QMI_VOICE_ORIG_USSD_REQ_V02).at(0).as<voice_orig_ussd_req_msg_v02>().ussd_domain_pref,
            VOICE_USSD_DOMAIN_PREF_AUTOMATIC_V02) << "a preference of 5 goes out as 1";
  EXPECT_TRUE(vt::logged("ussd_domain_pref = 5\n"));
  EXPECT_EQ(result.modification, 16u);
  EXPECT_EQ(result.call_id, 7);
  EXPECT_EQ(result.ss_service_type, 4u);
  EXPECT_EQ(result.ss_reason, 21u);
  EXPECT_EQ(result.alpha_dcs, static_cast<uint32_t>(ALPHA_DCS_GSM_V02));
  EXPECT_EQ(std::string(reinterpret_cast<char *>(result.alpha_text), result.alpha_length), "SIM");
  EXPECT_EQ(result.is_ims_request, 0);
  EXPECT_TRUE(vt::logged("org req altered. call_id: 7\n"));
  EXPECT_TRUE(vt::logged("modification 16, call_id 7, is_ims_request 0\n"));
  EXPECT_TRUE(vt::logged("... ss svc type 4, ss reason 21\n"));

  // Result types beyond the table, and no call id: nothing was changed, or
  // a call of unknown id.
  const std::pair<uint32_t, uint32_t> kTypes[] = {{0, 1}, {1, 3}, {3, 10}, {7, 0}};
  for (auto [type, modification] : kTypes) {
    vt::serve<vv::OrigUssd>(kVoice, [type = type](const auto &, auto &resp) {
      resp.cc_result_type_valid = 1;
      resp.cc_result_type = static_cast<voice_cc_result_type_enum_v02>(type);
    });
    ussd_originate_result changed{};
    ASSERT_EQ(vorn_voice_pal_originate_ussd("*135#", 5, 3, &changed), 0);
    EXPECT_EQ(changed.modification, modification) << "result type " << type;
    EXPECT_EQ(changed.call_id, modification != 0 ? 255 : 0);
  }
}

TEST_F(Ussd, RefusedTextsSendNothing) {
  ussd_originate_result result{};
  std::string long_text(183, '1');
  std::string just_fits(182, '1');
  EXPECT_EQ(vorn_voice_pal_originate_ussd(nullptr, 1, 1, &result), 3);
  EXPECT_EQ(vorn_voice_pal_originate_ussd("*100#", 5, 1, nullptr), 3);
  EXPECT_EQ(vorn_voice_pal_originate_ussd_async(nullptr, 1, 1), 3);
  EXPECT_EQ(vorn_voice_pal_answer_ussd(nullptr, 1), 3);
  EXPECT_EQ(vorn_voice_pal_originate_ussd_async(long_text.c_str(), 183, 1), 3);
  EXPECT_TRUE(vt::logged("Received USSD charecters exceed maximum length:182\n"));
  EXPECT_EQ(vorn_voice_pal_answer_ussd("\xff\xfe", 2), 3);
  EXPECT_EQ(vorn_voice_pal_originate_ussd("\xc3(", 2, 1, &result), 3);
  EXPECT_EQ(vt::count_logged("Illegal UTF8 characters received, length = 0\n"), 2);
  EXPECT_TRUE(vornsim::requests().empty());

  EXPECT_EQ(vorn_voice_pal_originate_ussd_async(just_fits.c_str(), 182, 1), 0)
      << "182 bytes is the longest text";
  EXPECT_EQ(vornsim::requests(kVoice, QMI_VOICE_ORIG_USSD_NO_WAIT_REQ_V02)
                .at(0).as<voice_orig_ussd_no_wait_req_msg_v02>().uss_info.uss_data_len,
            182u);
  // An answer without a session: the modem refuses, the record stays.
  new_events();
  ussd_info before = session();
  EXPECT_EQ(vorn_voice_pal_answer_ussd("1", 1), -1);
  ussd_info after = session();
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
  EXPECT_EQ(vorn_voice_pal_get_ussd_info(nullptr), -1);
  EXPECT_TRUE(vt::logged("Error, param pointer is NULL.\n"));
  EXPECT_EQ(vorn_voice_pal_update_ussd_info(99, 0), 0);
  EXPECT_TRUE(vt::logged("Info, unknown the ussd indication callback msg_id: 99.\n"));

  // A transport failure of the origination: -1, and the record as before.
  vornsim::fail_next(kVoice, QMI_VOICE_ORIG_USSD_NO_WAIT_REQ_V02);
  before = session();
  EXPECT_EQ(vorn_voice_pal_originate_ussd_async("*100#", 5, 1), -1);
  EXPECT_TRUE(vt::logged("QMI_VOICE_ORIG_USSD_NO_WAIT_REQ_V02 failed, result: -3,0, error: 0.\n"));
  after = session();
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

}  // namespace
