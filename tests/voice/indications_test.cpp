// VOICE indications as the modem could send them, beyond what the simulated
// operator does: every text form and coding, limits, the fields handed on,
// and indications that are broken or too short.
#include "voice_test.h"

namespace {

using namespace voicet;

class UssdIndications : public VoiceTest {
 protected:
  // One indication, and the events it gave.
  template <class Ind>
  std::vector<vt::Events::Event> indicate(unsigned msg_id, const Ind &ind, size_t len = sizeof(Ind)) {
    vornsim::indicate(kVoice, msg_id, &ind, len);
    return new_events();
  }
};

voice_ussd_ind_msg_v02 question() {
  voice_ussd_ind_msg_v02 ind{};
  ind.notification_type = FURTHER_USER_ACTION_REQUIRED_V02;
  return ind;
}

void put_string(voice_ussd_ind_msg_v02 &ind, uss_dcs_enum_v02 dcs, const std::string &bytes) {
  ind.uss_info_valid = 1;
  ind.uss_info.uss_dcs = dcs;
  ind.uss_info.uss_data_len = static_cast<uint32_t>(bytes.size());
  std::memcpy(ind.uss_info.uss_data, bytes.data(), std::min(bytes.size(), sizeof ind.uss_info.uss_data));
}

std::string event_text(const vt::Events::Event &event) {
  auto ussd = as<ussd_event>(event);
  EXPECT_LE(ussd.text_length, sizeof ussd.text);
  return ussd.text_valid != 0 ? std::string(ussd.text, ussd.text_length) : "";
}

TEST_F(UssdIndications, EachFormOfTheNetworkText) {
  // The UTF-16 form wins over the USSD string.
  voice_ussd_ind_msg_v02 both = question();
  put_string(both, USS_DCS_ASCII_V02, "ignored");
  const char16_t hello[] = u"\u041f\u0440\u0438\u0432\u0435\u0442 \U0001F600";
  both.uss_info_utf16_valid = 1;
  both.uss_info_utf16_len = 9;
  std::memcpy(both.uss_info_utf16, hello, 18);
  auto got = indicate(QMI_VOICE_USSD_IND_V02, both);
  ASSERT_EQ(got.size(), 1u);
  EXPECT_EQ(event_text(got[0]), "\u041f\u0440\u0438\u0432\u0435\u0442 \U0001F600");
  EXPECT_STREQ(session().ussd_text, "\u041f\u0440\u0438\u0432\u0435\u0442 \U0001F600");

  // 8-bit strings are taken as they are; UCS-2 strings are big-endian, and
  // an odd last byte is left out.
  voice_ussd_ind_msg_v02 eight = question();
  put_string(eight, USS_DCS_8BIT_V02, "Top-up accepted");
  EXPECT_EQ(event_text(indicate(QMI_VOICE_USSD_IND_V02, eight).at(0)), "Top-up accepted");
  voice_ussd_ind_msg_v02 ucs2 = question();
  put_string(ucs2, USS_DCS_UCS2_V02, std::string("\x04\x1f\x04\x40\x04", 5));
  EXPECT_EQ(event_text(indicate(QMI_VOICE_USSD_IND_V02, ucs2).at(0)), "\u041f\u0440");

  // ASCII: Latin-1 into the record only; 181 bytes are the most converted.
  voice_ussd_ind_msg_v02 ascii = question();
  put_string(ascii, USS_DCS_ASCII_V02, "Men\xfc\r\n1 Ja");
  got = indicate(QMI_VOICE_USSD_IND_V02, ascii);
  ASSERT_EQ(got.size(), 1u);
  EXPECT_EQ(as<ussd_event>(got[0]).text_valid, 0);
  EXPECT_STREQ(session().ussd_text, "Men\u00fc\n1 Ja") << "carriage returns are dropped";
  put_string(ascii, USS_DCS_ASCII_V02, std::string(181, 'a'));
  indicate(QMI_VOICE_USSD_IND_V02, ascii);
  EXPECT_EQ(std::string(session().ussd_text), std::string(181, 'a'));
  put_string(ascii, USS_DCS_ASCII_V02, std::string(182, 'b'));
  got = indicate(QMI_VOICE_USSD_IND_V02, ascii);
  ASSERT_EQ(got.size(), 1u) << "a text too long is dropped, the event still goes";
  EXPECT_STREQ(session().ussd_text, "");
  EXPECT_EQ(session().ussd_status, VORN_USSD_STATUS_ANSWER_EXPECTED);

  // A length beyond the field is read as the field.
  voice_ussd_ind_msg_v02 claims = question();
  claims.uss_info_utf16_valid = 1;
  claims.uss_info_utf16_len = 5000;
  for (auto &unit : claims.uss_info_utf16) unit = u'\u0436';
  got = indicate(QMI_VOICE_USSD_IND_V02, claims);
  EXPECT_EQ(event_text(got.at(0)).size(), 364u);
  put_string(claims, USS_DCS_ASCII_V02, "");
  claims.uss_info_utf16_valid = 0;
  claims.uss_info.uss_data_len = 100000;
  indicate(QMI_VOICE_USSD_IND_V02, claims);
  EXPECT_STREQ(session().ussd_text, "") << "read as 182 bytes: too long for ASCII";

  // An unknown coding: no event, nothing expected of the user.
  voice_ussd_ind_msg_v02 unknown = question();
  put_string(unknown, static_cast<uss_dcs_enum_v02>(9), "x");
  EXPECT_TRUE(indicate(QMI_VOICE_USSD_IND_V02, unknown).empty());
  EXPECT_TRUE(vt::logged("Invalid USSD dcs : 9\n"));
  EXPECT_EQ(session().ussd_status, VORN_USSD_STATUS_NONE);

  // No text at all: the event goes without one.
  got = indicate(QMI_VOICE_USSD_IND_V02, question());
  ASSERT_EQ(got.size(), 1u);
  EXPECT_EQ(as<ussd_event>(got[0]).text_valid, 0);
  EXPECT_TRUE(vt::logged("Received USSD Indication with no USSD string\n"));
  EXPECT_EQ(session().ussd_status, VORN_USSD_STATUS_NONE);
  EXPECT_EQ(session().ussd_state, VORN_USSD_STATE_RECEIVED);
}

TEST_F(UssdIndications, FurtherFieldsAreHandedOn) {
  voice_ussd_ind_msg_v02 ind = question();
  put_string(ind, USS_DCS_8BIT_V02, "x");
  ind.network_data_valid = 1;
  ind.network_data_len = 9999;
  for (size_t i = 0; i < sizeof ind.network_data; ++i) ind.network_data[i] = static_cast<uint8_t>(i);
  ind.failure_cause_valid = 1;
  ind.failure_cause = 0x1234;
  ind.alpha_id_valid = 1;
  std::memset(ind.alpha_id, 'A', sizeof ind.alpha_id);
  ind.sip_error_code_valid = 1;
  ind.sip_error_code = 503;
  auto event = as<ussd_event>(indicate(QMI_VOICE_USSD_IND_V02, ind).at(0));
  EXPECT_EQ(event.network_data_len, 516u) << "cut to the field";
  EXPECT_EQ(std::memcmp(event.network_data, ind.network_data, 516), 0);
  EXPECT_EQ(event.failure_cause, 0x1234);
  EXPECT_EQ(std::memcmp(event.alpha_id, ind.alpha_id, 366), 0);
  EXPECT_EQ(event.sip_error_code, 503u);

  voice_orig_ussd_no_wait_ind_msg_v02 outcome{};
  outcome.cc_result_type_valid = 1;
  outcome.cc_result_type = VOICE_CC_RESULT_TYPE_SUPS_V02;
  outcome.alpha_id_valid = 1;
  outcome.alpha_id.alpha_text_len = 500;
  std::memset(outcome.alpha_id.alpha_text, 'B', sizeof outcome.alpha_id.alpha_text);
  outcome.network_data_valid = 1;
  outcome.network_data_dcs = 0x0F;
  outcome.network_data_len = 3;
  std::memcpy(outcome.network_data, "\xC8\x32\x1B", 3);
  auto got = indicate(QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02, outcome);
  ASSERT_EQ(got.size(), 1u) << "no text: only the outcome";
  auto no_wait = as<ussd_no_wait_event>(got[0]);
  EXPECT_EQ(no_wait.cc_result_type, 1u);
  EXPECT_EQ(no_wait.alpha_id_len, 182u);
  EXPECT_EQ(no_wait.alpha_id[181], 'B');
  EXPECT_EQ(no_wait.network_data_len, 3u);
  EXPECT_EQ(no_wait.error_valid, 0);
  EXPECT_EQ(no_wait.text_valid, 0);
}

TEST_F(UssdIndications, BrokenAndShortIndicationsGiveNoEvent) {
  voice_ussd_ind_msg_v02 ind = question();
  EXPECT_TRUE(indicate(QMI_VOICE_USSD_IND_V02, ind, 2).empty());
  EXPECT_TRUE(vt::logged("UIM status change ind decode failed err :-50\n"));
  voice_ussd_release_ind_msg_v02 release{};
  EXPECT_TRUE(indicate(QMI_VOICE_USSD_RELEASE_IND_V02, release, 1).empty());
  EXPECT_TRUE(vt::logged("USSD No wait status change ind decode failed err :-50\n"));
  voice_sups_ind_msg_v02 sups{};
  EXPECT_TRUE(indicate(QMI_VOICE_SUPS_IND_V02, sups, 4).empty());
  EXPECT_TRUE(vt::logged("SUPS status change ind decode failed err :-50\n"));
  EXPECT_TRUE(vt::logged("unsolicited_voice_ind msg id: 62\n"));

  // The outcome of an origination moves the record even when it cannot be
  // read (a modem that takes the origination and stays silent first).
  vt::answer<vv::OrigUssdNoWait>(kVoice, [](auto &) {});
  ASSERT_EQ(vorn_voice_pal_originate_ussd_async("*100#", 5, 1), 0);
  EXPECT_EQ(session().ussd_state, VORN_USSD_STATE_REQUEST_SENT);
  vornsim::set_decode_fault(kVoice, QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02, QMI_IDL_LIB_MISSING_TLV);
  voice_orig_ussd_no_wait_ind_msg_v02 outcome{};
  EXPECT_TRUE(indicate(QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02, outcome).empty());
  EXPECT_EQ(vt::count_logged("USSD No wait status change ind decode failed err :-50\n"), 2);
  EXPECT_EQ(session().ussd_state, VORN_USSD_STATE_NO_WAIT_DONE);
  // Only a waiting record changes so.
  vorn_voice_pal_update_ussd_info(QMI_VOICE_USSD_RELEASE_IND_V02, 0);
  vorn_voice_pal_update_ussd_info(QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02, 0);
  EXPECT_EQ(session().ussd_state, VORN_USSD_STATE_RECEIVED);
}

TEST_F(UssdIndications, CallControlTurnedIntoUssdFillsTheRecordOnly) {
  voice_sups_ind_msg_v02 sups{};
  sups.supplementary_service_info.service_type = VOICE_SUPS_SERVICE_TYPE_USSD_V02;
  sups.uss_info_valid = 1;
  sups.uss_info.uss_dcs = USS_DCS_ASCII_V02;
  sups.uss_info.uss_data_len = 5;
  std::memcpy(sups.uss_info.uss_data, "*#21#", 5);
  EXPECT_TRUE(indicate(QMI_VOICE_SUPS_IND_V02, sups).empty());
  EXPECT_STREQ(session().ussd_text, "*#21#");
  sups.supplementary_service_info.service_type = 1;
  std::memcpy(sups.uss_info.uss_data, "*#67#", 5);
  EXPECT_TRUE(indicate(QMI_VOICE_SUPS_IND_V02, sups).empty());
  EXPECT_STREQ(session().ussd_text, "*#21#") << "other services leave the record";
}

}  // namespace
