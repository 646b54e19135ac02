// The eUICC's profiles: list, information, download with its progress
// events, nickname, enable, disable, delete, EID, memory reset and the
// default server address.
#include "usim_test.h"

namespace {

using namespace usimt;

constexpr uint32_t kEuicc = 2;

class UsimEsim : public UsimTest {
 protected:
  std::vector<uint32_t> profile_ids() {
    esim_profile_entry list[8] = {};
    int count = -1;
    EXPECT_EQ(vorn_esim_pal_get_profile_list(kEuicc, 8, list, &count), 0);
    std::vector<uint32_t> ids;
    for (int i = 0; i < count; ++i) ids.push_back(list[i].profile_id);
    return ids;
  }
  std::vector<uint32_t> download_events() {
    std::vector<uint32_t> values;
    for (const auto &event : events.taken()) {
      if (event.id != E_oem_USIM_EVENT_ADD_PROFILE) continue;
      uint32_t value = 99;
      if (event.data.size() == 4) std::memcpy(&value, event.data.data(), 4);
      values.push_back(value);
    }
    forget_events();
    return values;
  }
};

TEST_F(UsimEsim, ListAndInformation) {
  EXPECT_EQ(profile_ids(), (std::vector<uint32_t>{1, 2}));
  esim_profile_info info{};
  ASSERT_EQ(vorn_esim_pal_get_profile_info(kEuicc, 1, &info), 0);
  EXPECT_EQ(text(info.nickname), "Vorn Travel");
  EXPECT_EQ(info.profile_state, 1u);
  EXPECT_EQ(std::vector<uint8_t>(info.iccid, info.iccid + 10),
            bytes({0x98, 0x44, 0x05, 0x10, 0x10, 0x32, 0x54, 0x76, 0x98, 0xF5}));

  esim_profile_entry list[8];
  int count = 0;
  EXPECT_EQ(vorn_esim_pal_get_profile_list(kEuicc, 7, list, &count), -1);
  EXPECT_TRUE(vt::logged("profile info list array is too short\r\n"));
  EXPECT_EQ(vorn_esim_pal_get_profile_list(1, 8, list, &count), -1) << "slot 1 holds no eUICC";
  EXPECT_EQ(vorn_esim_pal_get_profile_list(kEuicc, 8, nullptr, &count), -1);
  EXPECT_TRUE(vt::logged("Error, param pointer is NULL.\n"));

  vornsim::clear_requests();
  for (uint32_t slot : {0u, 6u}) {
    EXPECT_EQ(vorn_esim_pal_enable_profile(slot, 1), -1);
    EXPECT_EQ(vorn_esim_pal_get_profile_info(slot, 1, &info), -1);
    EXPECT_EQ(vorn_esim_pal_euicc_memory_reset(slot), -1);
  }
  for (uint32_t id : {0u, 9u}) {
    EXPECT_EQ(vorn_esim_pal_enable_profile(kEuicc, id), -1);
    EXPECT_EQ(vorn_esim_pal_disable_profile(kEuicc, id), -1);
    EXPECT_EQ(vorn_esim_pal_get_profile_info(kEuicc, id, &info), -1);
    EXPECT_EQ(vorn_esim_pal_delete_profile(kEuicc, id), -1);
  }
  EXPECT_EQ(vornsim::requests(kUim).size(), 0u);
  EXPECT_TRUE(vt::logged("oem_qmi_uimi_add_profile param slot error\r\n"));
  EXPECT_TRUE(vt::logged("slot out of range!\r\n"));
  EXPECT_TRUE(vt::logged("tmp_profile_id is invalid!\r\n"));
  EXPECT_TRUE(vt::logged("profile id out of range!\r\n"));
}

// A download by activation code: progress events, 1 only at the end; the
// new profile has no nickname, so its information is incomplete until it
// gets one.
TEST_F(UsimEsim, DownloadNicknameEnableDelete) {
  listen();
  ASSERT_EQ(vorn_esim_pal_add_profile(kEuicc, "1$smdp.vorn.example$ABC-123", nullptr), 0);
  EXPECT_EQ(download_events(), (std::vector<uint32_t>{0, 0, 0, 1}));
  EXPECT_EQ(profile_ids(), (std::vector<uint32_t>{1, 2, 3}));
  esim_profile_info info{};
  EXPECT_EQ(vorn_esim_pal_get_profile_info(kEuicc, 3, &info), -1);
  EXPECT_TRUE(vt::logged("profile_nickname_valid error!\r\n"));
  EXPECT_EQ(info.profile_state, 0u);
  EXPECT_EQ(info.iccid[0], 0x98) << "filled all the same";

  EXPECT_EQ(vorn_esim_pal_update_profile_nickname(0, 3, std::string(64, 'n').c_str()), -1);
  EXPECT_TRUE(vt::logged("nickname len out of range\r\n"));
  EXPECT_FALSE(vt::logged("slot out of range!\r\n")) << "the length is tested first";
  ASSERT_EQ(vorn_esim_pal_update_profile_nickname(kEuicc, 3, std::string(63, 'n').c_str()), 0);
  ASSERT_EQ(vorn_esim_pal_get_profile_info(kEuicc, 3, &info), 0);
  EXPECT_EQ(text(info.nickname), std::string(63, 'n'));

  // Enabling one disables the other; the enabled one cannot be deleted.
  ASSERT_EQ(vorn_esim_pal_enable_profile(kEuicc, 3), 0);
  EXPECT_EQ(vorn_esim_pal_delete_profile(kEuicc, 3), -1);
  ASSERT_EQ(vorn_esim_pal_get_profile_info(kEuicc, 1, &info), 0);
  EXPECT_EQ(info.profile_state, 0u);
  ASSERT_EQ(vorn_esim_pal_disable_profile(kEuicc, 3), 0);
  ASSERT_EQ(vorn_esim_pal_delete_profile(kEuicc, 3), 0);
  EXPECT_EQ(profile_ids(), (std::vector<uint32_t>{1, 2}));
  auto sent = vornsim::requests(kUim, QMI_UIM_SET_SIM_PROFILE_REQ_V01);
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[1].as<uim_set_sim_profile_req_msg_v01>().enable_profile_valid, 1);
  EXPECT_EQ(sent[1].as<uim_set_sim_profile_req_msg_v01>().enable_profile, 0);
}

TEST_F(UsimEsim, DownloadsThatFail) {
  listen();
  // A code the modem cannot read: its error code is the result.
  EXPECT_EQ(vorn_esim_pal_add_profile(kEuicc, "garbage", nullptr), QMI_ERR_INVALID_ARG_V01);
  EXPECT_TRUE(vt::logged("add_profile_resp_msg.resp.result=(1) add_profile_resp_msg.resp.error=(17)\r\n"));
  // A matching id the server does not know: the download ends in failure.
  ASSERT_EQ(vorn_esim_pal_add_profile(kEuicc, "1$smdp.vorn.example$UNKNOWN-1", "1234"), 0);
  EXPECT_EQ(download_events(), (std::vector<uint32_t>{0, 0}));
  EXPECT_EQ(profile_ids(), (std::vector<uint32_t>{1, 2}));
  auto sent = vornsim::requests(kUim, QMI_UIM_ADD_PROFILE_REQ_V01);
  ASSERT_EQ(sent.size(), 2u);
  auto req = sent[1].as<uim_add_profile_req_msg_v01>();
  EXPECT_EQ(req.confirmation_code_valid, 1);
  EXPECT_EQ(std::string(req.confirmation_code, req.confirmation_code_len), "1234");

  // The code is cut at 255 bytes.
  vornsim::clear_requests();
  std::string code = "1$smdp.vorn.example$" + std::string(280, 'M');
  vorn_esim_pal_add_profile(kEuicc, code.c_str(), nullptr);
  sent = vornsim::requests(kUim, QMI_UIM_ADD_PROFILE_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].as<uim_add_profile_req_msg_v01>().activation_code_len, 255u);
  EXPECT_EQ(vorn_esim_pal_add_profile(kEuicc, nullptr, nullptr), -1);
  EXPECT_TRUE(vt::logged("oem_qmi_uimi_add_profile param NULL\r\n"));
  vornsim::fail_next(kUim, QMI_UIM_ADD_PROFILE_REQ_V01);
  EXPECT_EQ(vorn_esim_pal_add_profile(kEuicc, "1$a$b", nullptr), vornsim::kTimeoutRc);
}

TEST_F(UsimEsim, EidAndServerAddress) {
  char eid[40] = {};
  EXPECT_EQ(vorn_esim_pal_get_eid(eid, 31, kEuicc), -1);
  EXPECT_TRUE(vt::logged("Error, eid_string_len is too short.\n"));
  ASSERT_EQ(vorn_esim_pal_get_eid(eid, 32, kEuicc), 0);
  EXPECT_STREQ(eid, "89049032123451234512345678901235");
  std::strcpy(eid, "EID:");
  ASSERT_EQ(vorn_esim_pal_get_eid(eid, 32, kEuicc), 0);
  EXPECT_STREQ(eid, "EID:89049032123451234512345678901235") << "appended to what stood there";
  EXPECT_EQ(vorn_esim_pal_get_eid(eid, 32, 7), -1);
  EXPECT_TRUE(vt::logged("qmi_uim_get_eid return error\r\n"));

  char address[64];
  ASSERT_EQ(vorn_esim_pal_get_euicc_default_server_address(kEuicc, address, sizeof address), 0);
  EXPECT_STREQ(address, "smdp.vorn.example");
  ASSERT_EQ(vorn_esim_pal_set_euicc_default_server_address(kEuicc, "rsp.example.net"), 0);
  ASSERT_EQ(vorn_esim_pal_get_euicc_default_server_address(kEuicc, address, sizeof address), 0);
  EXPECT_STREQ(address, "rsp.example.net");
  EXPECT_EQ(vorn_esim_pal_set_euicc_default_server_address(kEuicc, std::string(255, 'a').c_str()), -1);
  EXPECT_TRUE(vt::logged("server_address out of len!\r\n"));

  // The reset clears the default address (option 4).
  ASSERT_EQ(vorn_esim_pal_euicc_memory_reset(kEuicc), 0);
  auto sent = vornsim::requests(kUim, QMI_UIM_EUICC_MEMORY_RESET_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].as<uim_euicc_memory_reset_req_msg_v01>().euicc_memory_reset_options.options, 4u);
  ASSERT_EQ(vorn_esim_pal_get_euicc_default_server_address(kEuicc, address, sizeof address), 0);
  EXPECT_STREQ(address, "");
  EXPECT_EQ(profile_ids(), (std::vector<uint32_t>{1, 2}));
  card::remove_card(card::kEuiccSlot);
  EXPECT_EQ(vorn_esim_pal_euicc_memory_reset(kEuicc), -1);
  EXPECT_TRUE(vt::logged("uim_euicc_memory_reset error:52\r\n"));
}

}  // namespace
