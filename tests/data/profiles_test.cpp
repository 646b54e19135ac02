// Profiles as the modem keeps them: write, read, list, delete, the LTE
// attach parameters, and what a daemon's bad records get.
#include <string>

#include <vornpal/platform/vorn_m2m_service_v01.h>

#include "data_test.h"

namespace datat {
namespace {

using Profiles = DataTest;

const vornsim::wds::ProfileView *stored(const std::vector<vornsim::wds::ProfileView> &all,
                                        uint32_t index) {
  for (const auto &p : all)
    if (p.index == index) return &p;
  return nullptr;
}

TEST_F(Profiles, WriteReadAndListRoundTrip) {
  data_profile_settings s = profile("", VORN_DATA_PDP_IPV6, true);
  const std::string long_apn(70, 'a');
  std::snprintf(s.apn, sizeof s.apn, "%s", long_apn.c_str());
  s.authentication_preference = VORN_DATA_AUTH_CHAP;
  std::snprintf(s.username, sizeof s.username, "%s", "alice");
  std::snprintf(s.password, sizeof s.password, "%s", "s3cret");
  s.option_d_valid = 1;
  s.option_d = 7;
  ASSERT_EQ(vorn_data_pal_write_connect_setting(5, &s), 0);
  // The modem was asked whether the profile exists, the M2M service made
  // it, and the write went with the fields the record gave.
  EXPECT_EQ(count(QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01), 1u);
  EXPECT_EQ(vt::count(vt::kM2m, QMI_VORN_M2M_WDS_CREATE_PROFILE_REQ_V01), 1u);
  auto write = vornsim::requests(kWds, QMI_WDS_MODIFY_PROFILE_SETTINGS_REQ_V01).at(0);
  EXPECT_EQ(write.timeout_ms, 10000u);
  auto req = write.as<wds_modify_profile_settings_req_msg_v01>();
  EXPECT_EQ(req.profile.profile_index, 5);
  EXPECT_EQ(req.persistent_valid, 1);
  EXPECT_EQ(req.persistent, 1);
  EXPECT_EQ(req.im_cn_flag_valid, 1);
  EXPECT_EQ(req.im_cn_flag, 7u);
  EXPECT_EQ(req.clat_enabled_valid, 1);
  EXPECT_FALSE(req.ipv4_address_preference_valid);
  EXPECT_TRUE(vt::logged("Profile PDPType:2\n"));
  EXPECT_TRUE(vt::logged("Profile '5' saved on modem\n"));

  // The APN went with 62 bytes.
  const auto store = vornsim::wds::profiles();
  const auto *p = stored(store, 5);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->apn, long_apn.substr(0, 62));
  EXPECT_EQ(p->pdp_type, WDS_PDP_TYPE_PDP_IPV6_V01);
  EXPECT_EQ(p->username, "alice");
  EXPECT_TRUE(p->clat);

  data_profile_settings back{};
  ASSERT_EQ(vorn_data_pal_read_connect_setting(5, &back), 0);
  EXPECT_EQ(std::string(back.apn), long_apn.substr(0, 62));
  EXPECT_EQ(back.pdp_type, static_cast<uint32_t>(VORN_DATA_PDP_IPV6));
  EXPECT_EQ(back.authentication_preference, static_cast<uint32_t>(VORN_DATA_AUTH_CHAP));
  EXPECT_STREQ(back.username, "alice");
  EXPECT_STREQ(back.password, "s3cret");
  EXPECT_EQ(back.auth_valid, 1);
  EXPECT_EQ(back.pdp_type_valid, 1);

  // A PPP profile comes back as PPP from the list.
  data_profile_settings ppp = profile("dialup", VORN_DATA_PDP_PPP);
  ASSERT_EQ(vorn_data_pal_write_connect_setting(6, &ppp), 0);
  EXPECT_EQ(stored(vornsim::wds::profiles(), 6)->pdp_type, WDS_PDP_TYPE_PDP_PPP_V01);
  forget();
  data_profile_list list{};
  ASSERT_EQ(vorn_data_pal_get_profile_list(&list), 0);
  ASSERT_EQ(list.count, 4u);  // the factory's 1 and 2, then 5 and 6
  EXPECT_EQ(list.profiles[0].cid, 1);
  EXPECT_STREQ(list.profiles[0].profile_name, "internet");
  EXPECT_EQ(list.profiles[0].pdp_type, static_cast<uint32_t>(VORN_DATA_PDP_IPV4V6));
  EXPECT_EQ(list.profiles[2].cid, 5);
  EXPECT_EQ(list.profiles[2].option_d_valid, 1);
  EXPECT_EQ(list.profiles[2].option_d, 7u);
  EXPECT_EQ(list.profiles[2].clat_enabled, 1);
  EXPECT_EQ(list.profiles[3].pdp_type, static_cast<uint32_t>(VORN_DATA_PDP_PPP));
  EXPECT_STREQ(list.profiles[3].apn, "dialup");
  // The walk's queries wait 30 s each.
  for (const auto &q : vornsim::requests(kWds, QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01))
    EXPECT_EQ(q.timeout_ms, 30000u);
  EXPECT_TRUE(vt::logged("get_profile_list for profile_tech [0] returned [4] profile index\n"));

  EXPECT_EQ(vorn_data_pal_is_profile_defined(5), 1);
  EXPECT_TRUE(vt::logged("Profile 5 is defined\n"));
  EXPECT_EQ(vorn_data_pal_is_profile_defined(9), 0);
}

TEST_F(Profiles, ListsTheModemCannotHoldAndWalksThatStop) {
  vornsim::wds::fill_profiles(43);
  data_profile_list list{};
  list.count = 0xDEAD;
  EXPECT_EQ(vorn_data_pal_get_profile_list(&list), VORN_FAILURE);
  EXPECT_EQ(list.count, 0xDEADu);
  EXPECT_TRUE(vt::logged("get_profile_list for profile_tech [0] returned [43] profile index\n"));

  // A query that fails ends the walk: what came before stands.
  vornsim::wds::fill_profiles(3);
  vornsim::Fault third;
  third.refuse = true;
  third.error = QMI_ERR_INTERNAL_V01;
  third.after = 2;
  third.count = 1;
  vornsim::set_fault(kWds, QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01, third);
  std::memset(&list, 0, sizeof list);
  EXPECT_EQ(vorn_data_pal_get_profile_list(&list), 0);
  EXPECT_EQ(list.count, 3u);
  EXPECT_STREQ(list.profiles[1].apn, "apn2");
  EXPECT_EQ(list.profiles[2].cid, 0);
  EXPECT_TRUE(vt::logged("query_profile failed with error [1] qmi_err_code [3]\n"));
  EXPECT_EQ(vorn_data_pal_get_profile_list(nullptr), VORN_FAILURE);
}

TEST_F(Profiles, DeleteWaitsForTheCallToEnd) {
  data_profile_settings s = profile("gone", VORN_DATA_PDP_IPV4);
  ASSERT_EQ(vorn_data_pal_write_connect_setting(7, &s), 0);
  ASSERT_EQ(vorn_data_pal_connect(7), 0);
  ASSERT_TRUE(wait_call(7, 0, VORN_DATA_STATE_UP));
  // A write during the call is noted and goes through.
  ASSERT_EQ(vorn_data_pal_write_connect_setting(7, &s), 0);
  EXPECT_TRUE(vt::logged("Profile 7 has connected,state:2\n"));
  EXPECT_EQ(vorn_data_pal_delete_profile(7), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Data session is connected\n"));
  EXPECT_NE(stored(vornsim::wds::profiles(), 7), nullptr);
  ASSERT_EQ(vorn_data_pal_disconnect(7), 0);
  EXPECT_EQ(vorn_data_pal_delete_profile(7), 0);
  EXPECT_TRUE(vt::logged("Remove PROFILE SETTING request successfully!\r\n"));
  EXPECT_EQ(stored(vornsim::wds::profiles(), 7), nullptr);
  // Gone from the modem: deleting again is refused there.
  EXPECT_EQ(vorn_data_pal_delete_profile(7), VORN_FAILURE);
  EXPECT_EQ(vornsim::requests(kWds, QMI_WDS_DELETE_PROFILE_REQ_V01).back().timeout_ms, 5000u);
}

TEST_F(Profiles, AttachParameters) {
  data_profile_settings got{};
  ASSERT_EQ(vorn_data_pal_get_attach_params(&got), 0);
  EXPECT_STREQ(got.apn, "internet");
  EXPECT_EQ(got.pdp_type, 2u);

  // pdp_type 3 goes as the service's IPv4v6.
  data_profile_settings set = profile("attach.example", VORN_DATA_PDP_PPP);
  set.ip_support_type = 9;
  set.authentication_preference = VORN_DATA_AUTH_PAP;
  std::snprintf(set.username, sizeof set.username, "%s", "bob");
  forget();
  ASSERT_EQ(vorn_data_pal_set_attach_params(&set), 0);
  auto req = vornsim::requests(kWds, QMI_WDS_SET_ATTACH_PROFILE_INFO_REQ_V01)
                 .at(0)
                 .as<wds_set_attach_profile_info_req_msg_v01>();
  EXPECT_EQ(req.pdp_type, WDS_PDP_TYPE_PDP_IPV4V6_V01);
  EXPECT_EQ(req.ip_support_type, 2u);
  EXPECT_EQ(req.authentication_preference, 1);
  EXPECT_EQ(req.username_valid, 1);
  EXPECT_STREQ(req.username, "bob");
  std::memset(&got, 0, sizeof got);
  ASSERT_EQ(vorn_data_pal_get_attach_params(&got), 0);
  EXPECT_STREQ(got.apn, "attach.example");
  EXPECT_EQ(got.pdp_type, 2u);

  // No authentication: no credentials go.
  set.authentication_preference = 8;
  set.pdp_type = VORN_DATA_PDP_IPV6;
  forget();
  ASSERT_EQ(vorn_data_pal_set_attach_params(&set), 0);
  req = vornsim::requests(kWds, QMI_WDS_SET_ATTACH_PROFILE_INFO_REQ_V01)
            .at(0)
            .as<wds_set_attach_profile_info_req_msg_v01>();
  EXPECT_EQ(req.authentication_preference_valid, 1);
  EXPECT_EQ(req.authentication_preference, 0);
  EXPECT_EQ(req.username_valid, 0);
  EXPECT_EQ(req.pdp_type, WDS_PDP_TYPE_PDP_IPV6_V01);
  ASSERT_EQ(vorn_data_pal_get_attach_params(&got), 0);
  EXPECT_EQ(got.pdp_type, 1u);
}

TEST_F(Profiles, NullRecordsAndProfilesTheModemRefuses) {
  EXPECT_EQ(vorn_data_pal_read_connect_setting(3, nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("paramsRespPtr is invalid\r\n"));
  EXPECT_EQ(vorn_data_pal_write_connect_setting(3, nullptr), VORN_FAILURE);
  EXPECT_EQ(vorn_data_pal_get_attach_params(nullptr), VORN_FAILURE);
  EXPECT_EQ(vorn_data_pal_set_attach_params(nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("paramsReqPtr is invalid\r\n"));
  EXPECT_EQ(vorn_data_pal_get_interface_prefix(nullptr, 8), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("interfaceNameStr is invalid !\n"));
  char prefix[16];
  ASSERT_EQ(vorn_data_pal_get_interface_prefix(prefix, sizeof prefix), 0);
  EXPECT_STREQ(prefix, "rmnet_data");
  EXPECT_EQ(vorn_data_pal_event_register(nullptr, nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("Error, callback pointer is NULL\n"));
  EXPECT_EQ(vorn_data_pal_event_unregister(nullptr), VORN_FAILURE);
  vorn_data_pal_ind_notify(3, nullptr, 0);  // nothing to hand on

  // Profiles 0 and 43 are no profiles of the modem's.
  data_profile_settings s = profile("x", VORN_DATA_PDP_IPV4);
  for (int cid : {0, 43}) {
    EXPECT_EQ(vorn_data_pal_write_connect_setting(cid, &s), VORN_FAILURE);
    data_profile_settings back{};
    EXPECT_EQ(vorn_data_pal_read_connect_setting(cid, &back), VORN_FAILURE);
    EXPECT_TRUE(vt::logged("query_profile failed\n"));
    EXPECT_EQ(vorn_data_pal_is_profile_defined(cid), 0);
  }
  EXPECT_EQ(vornsim::wds::profiles().size(), 2u);
  EXPECT_TRUE(Collector::instance().events().empty());
}

}  // namespace
}  // namespace datat
