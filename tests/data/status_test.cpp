// What a daemon reads about its calls: duration, connection state, the
// reasons a call failed, the bearer of the serving RAT, the PDU session id
// and the MSISDN the network gave the attach APN.
#include <vornpal/m2m.h>
#include <vornpal/network.h>
#include <vornpal/system.h>
#include <vornpal/usim.h>
#include <vornsim/m2m.h>
#include <vornsim/nas.h>
#include <vornsim/uim.h>
#include <vornsim/wds_stats.h>

#include "data_test.h"
#include "request_failures.h"

namespace datat {
namespace {

constexpr unsigned kBearerMsg = QMI_WDS_GET_DATA_BEARER_TECHNOLOGY_EX_REQ_V01;
constexpr unsigned kPduIdMsg = QMI_WDS_ALLOCATE_PDU_SESSION_ID_REQ_V01;
constexpr unsigned kMsisdnMsg = QMI_WDS_GET_APN_MSISDN_INFO_REQ_V01;

uint64_t status_duration(int cid) {
  uint64_t seconds = ~0ull;
  EXPECT_EQ(vorn_data_pal_get_call_duration(cid, &seconds), 0);
  return seconds;
}

// Waits until the relative clock has gone on by `ms` real milliseconds.
bool status_clock_passes(int64_t ms) {
  const vorn_clk_time start = vorn_clk_GetRelativeTime();
  return vt::eventually(
      [&] {
        const vorn_clk_time now = vorn_clk_GetRelativeTime();
        return (now.sec - start.sec) * 1000 + (now.usec - start.usec) / 1000 >= ms;
      },
      ms + 5000);
}

using Status = DataTest;

TEST_F(Status, StateAndDurationOfACall) {
  // Before any call.
  data_status_event *list = nullptr;
  int n = -1;
  ASSERT_EQ(vorn_data_pal_get_active_status(&list, &n), 0);
  EXPECT_EQ(n, 0);
  free(list);
  EXPECT_EQ(vorn_data_pal_is_connected(1, 2), 0);
  EXPECT_EQ(vorn_data_pal_get_active_status(&list, nullptr), -1);
  EXPECT_TRUE(vt::logged("INVALID data_size_ptr!\n"));

  data_profile_settings dual = profile("internet", VORN_DATA_PDP_IPV4V6);
  ASSERT_EQ(vorn_data_pal_write_connect_setting(1, &dual), 0);

  ASSERT_EQ(vorn_data_pal_connect(1), 0);
  ASSERT_TRUE(wait_call(1, 0, VORN_DATA_STATE_UP));
  ASSERT_TRUE(wait_call(1, 1, VORN_DATA_STATE_UP));
  EXPECT_EQ(vorn_data_pal_is_connected(1, 0), 1);
  EXPECT_EQ(vorn_data_pal_is_connected(1, 1), 1);
  EXPECT_EQ(vorn_data_pal_is_connected(1, 2), 1);
  EXPECT_EQ(vorn_data_pal_is_connected(1, 3), 0);
  EXPECT_EQ(vorn_data_pal_is_connected(2, 2), 0);
  EXPECT_EQ(vorn_data_pal_is_connected(43, 0), 0);
  EXPECT_TRUE(vt::logged("INVALID cid=43!\n"));

  ASSERT_EQ(vorn_data_pal_get_active_status(&list, &n), 0);
  ASSERT_EQ(n, 1);
  EXPECT_EQ(list[0].profileIndex, 1);
  EXPECT_EQ(list[0].ip_call_type, 2);
  EXPECT_EQ(list[0].data_state, VORN_DATA_STATE_UP);
  free(list);

  // A running call is measured to now.
  ASSERT_TRUE(vt::eventually([] { return status_duration(1) >= 1; }, 10000));

  // An ended call keeps its duration.
  ASSERT_EQ(vorn_data_pal_disconnect(1), 0);
  ASSERT_TRUE(vt::eventually([] { return vorn_data_pal_is_connected(1, 2) == 0; }));
  const uint64_t ended = status_duration(1);
  EXPECT_GE(ended, 1u);
  ASSERT_TRUE(status_clock_passes(1200));
  EXPECT_EQ(status_duration(1), ended);
  ASSERT_EQ(vorn_data_pal_get_active_status(&list, &n), 0);
  EXPECT_EQ(n, 0);
  free(list);

  uint64_t seconds = 0;
  EXPECT_EQ(vorn_data_pal_get_call_duration(1, nullptr), -1);
  EXPECT_TRUE(vt::logged("failed for param\n"));
  EXPECT_EQ(vorn_data_pal_get_call_duration(0, &seconds), -1);
  EXPECT_TRUE(vt::logged("INVALID cid=0!\n"));
}

TEST_F(Status, ReasonsOfAFailedStart) {
  data_profile_settings s = profile("bad", VORN_DATA_PDP_IPV4);
  ASSERT_EQ(vorn_data_pal_write_connect_setting(5, &s), 0);
  vornsim::wds::fail_next_start(1014, WDS_VCER_TYPE_3GPP_SPEC_DEFINED_V01, 33, 2);
  ASSERT_EQ(vorn_data_pal_connect(5), VORN_QMI_FAILURE);

  data_call_failure failure{};
  vorn_data_pal_get_connection_failure_reason(5, 0, &failure);
  EXPECT_EQ(failure.failureType, 21u);
  EXPECT_EQ(failure.failureCode, 1014u);
  EXPECT_EQ(failure.verboseType, 6u);
  EXPECT_EQ(failure.verboseCode, 33u);
  // Not touched for a bad family; nothing to do for a null record.
  failure = {9, 9, 9, 9};
  vorn_data_pal_get_connection_failure_reason(5, 2, &failure);
  EXPECT_EQ(failure.failureType, 9u);
  EXPECT_TRUE(vt::logged("INVALID ip_version=2!\n"));
  vorn_data_pal_get_connection_failure_reason(5, 0, nullptr);

  char text[VORN_DATA_ERROR_TEXT_SIZE];
  ASSERT_EQ(vorn_data_pal_get_error_messages(text), 0);
  EXPECT_STREQ(text, "DATA_ERROR_CODE:PROFILE:5 IPTYPE:0,(33,6) ");
  EXPECT_TRUE(vt::logged("get datacall error messages DATA_ERROR_CODE:PROFILE:5 IPTYPE:0,(33,6) .\n"));
}

TEST_F(Status, BearerFollowsTheServingRat) {
  uint64_t mask = 0;
  EXPECT_EQ(vorn_data_pal_get_data_bearer_technology_ex(nullptr), -1);
  EXPECT_TRUE(vt::logged("so_mask is NULL\r\n"));
  // No call yet: neither a current nor a last bearer, and so no data
  // capabilities in the network family's report.
  EXPECT_EQ(vorn_data_pal_get_data_bearer_technology_ex(&mask), -1);
  EXPECT_TRUE(vt::logged("bearer_tech invalid!\r\n"));
  vorn_network_capabilities_info caps{};
  EXPECT_EQ(vorn_network_pal_get_capabilities_info(0, &caps), -1);
  EXPECT_TRUE(vt::logged("oem_data_pal_get_data_bearer_technology_ex error! ret:-1\n"));

  ASSERT_EQ(vorn_data_pal_connect(1), 0);
  ASSERT_TRUE(wait_call(1, 0, VORN_DATA_STATE_UP));
  const std::string rat = vornsim::nas::registration().rat;
  ASSERT_EQ(vorn_data_pal_get_data_bearer_technology_ex(&mask), 0);
  EXPECT_EQ(mask, vornsim::wds::bearer_so_mask(rat));
  EXPECT_NE(mask, 0u);
  const auto req = vornsim::requests(kWds, kBearerMsg).back();
  EXPECT_EQ(req.bytes.size(), 1u);
  EXPECT_EQ(req.timeout_ms, 5000u);

  ASSERT_TRUE(vornsim::nas::move_to("home-nr-n41"));
  ASSERT_EQ(vorn_data_pal_get_data_bearer_technology_ex(&mask), 0);
  EXPECT_EQ(mask, vornsim::wds::bearer_so_mask("NR"));
  ASSERT_TRUE(vornsim::nas::move_to("home-wcdma-b1"));
  ASSERT_EQ(vorn_data_pal_get_data_bearer_technology_ex(&mask), 0);
  EXPECT_EQ(mask, vornsim::wds::bearer_so_mask("WCDMA"));
  // WCDMA, HSDPA and HSUPA are listed; HSPA has no value of its own.
  ASSERT_EQ(vorn_network_pal_get_capabilities_info(0, &caps), 0);
  EXPECT_EQ(std::vector<uint32_t>(caps.data_capabilities, caps.data_capabilities + caps.data_capabilities_len),
            (std::vector<uint32_t>{5, 3, 4, 0}));
  EXPECT_EQ(caps.data_capabilities_valid, 1);
  EXPECT_TRUE(vt::logged("so_mask is not optional.\n"));

  // After the call, the last bearer answers.
  ASSERT_EQ(vorn_data_pal_disconnect(1), 0);
  ASSERT_TRUE(vt::eventually([] { return vornsim::wds::sessions().empty(); }));
  ASSERT_TRUE(vornsim::nas::move_to("home-lte-b3"));
  ASSERT_EQ(vorn_data_pal_get_data_bearer_technology_ex(&mask), 0);
  EXPECT_EQ(mask, vornsim::wds::bearer_so_mask("WCDMA"));

  vornsim::refuse_next(kWds, kBearerMsg);
  EXPECT_EQ(vorn_data_pal_get_data_bearer_technology_ex(&mask), -1);
  EXPECT_TRUE(vt::logged("QMI fail.rc=[0],resp = [1]!\r\n"));
}

TEST_F(Status, PduSessionIdAndMsisdn) {
  uint8_t id = 0;
  vornsim::wds::set_next_pdu_session_id(5);
  ASSERT_EQ(vorn_data_pal_get_pdu_connection_session_id(&id), 0);
  EXPECT_EQ(id, 5);
  EXPECT_TRUE(vt::logged("Current pdu connection session id is 5\n"));
  ASSERT_EQ(vorn_data_pal_get_pdu_connection_session_id(&id), 0);
  EXPECT_EQ(id, 6);
  const auto req = vornsim::requests(kWds, kPduIdMsg).back();
  EXPECT_EQ(req.bytes.size(), 1u);
  EXPECT_EQ(req.timeout_ms, 5000u);
  vornsim::refuse_next(kWds, kPduIdMsg);
  EXPECT_EQ(vorn_data_pal_get_pdu_connection_session_id(&id), -1);
  EXPECT_TRUE(vt::logged("QMI Send error QMI_WDS_ALLOCATE_PDU_SESSION_ID_REQ_V01, rc=0\n"));

  // The nibbles of each byte are swapped; the pad F is cut.
  char text[512];
  vornsim::wds::set_apn_msisdn_bytes("internet", {0x21, 0x43, 0xF5});
  ASSERT_EQ(vorn_data_pal_get_msisdn(text), 0);
  EXPECT_STREQ(text, "12345");
  auto sent = vornsim::requests(kWds, kMsisdnMsg).back();
  EXPECT_EQ(sent.bytes.size(), 152u);
  EXPECT_EQ(sent.timeout_ms, 10000u);
  EXPECT_STREQ(sent.as<wds_get_apn_msisdn_info_req_msg_v01>().apn_name, "internet");
  vornsim::wds::set_apn_msisdn("internet", "491701234567");
  ASSERT_EQ(vorn_data_pal_get_msisdn(text), 0);
  EXPECT_STREQ(text, "491701234567");

  // AT+CNUM falls back to it when the card has no MSISDN.
  ASSERT_EQ(vorn_usim_pal_init(), 0);
  vornsim::uim::remove_file(vornsim::uim::kUsimSlot, 0x6F40);
  char cnum[64] = {};
  ASSERT_EQ(oem_usim_pal_cnum_get(cnum), 0);
  EXPECT_STREQ(cnum, " ,\"491701234567\",129");
  vorn_usim_pal_deinit();

  // No number for the APN.
  vornsim::wds::set_apn_msisdn("internet", "");
  EXPECT_EQ(vorn_data_pal_get_msisdn(text), VORN_DATA_NO_MSISDN);
  EXPECT_TRUE(vt::logged("apn msisdn invalid or empty\n"));
  // An empty attach APN is not asked about.
  data_profile_settings attach = profile("", VORN_DATA_PDP_IPV4V6);
  ASSERT_EQ(vorn_data_pal_set_attach_params(&attach), 0);
  vornsim::clear_requests();
  EXPECT_EQ(vorn_data_pal_get_msisdn(text), VORN_DATA_NO_MSISDN);
  EXPECT_EQ(count(kMsisdnMsg), 0u);
  EXPECT_EQ(vorn_data_pal_get_msisdn(nullptr), -1);
  EXPECT_TRUE(vt::logged("msisdn is NULL\n"));
}

TEST_F(Status, EachQueryFailingInTurn) {
  uint8_t id = 0;
  char text[512];
  uint64_t tx = 0, rx = 0;
  vt::FailureFamily family;
  family.fresh = fresh_family;
  // A failed IPv6 read of the counters leaves the IPv4 numbers.
  const vt::MessageResult kSecondReadFails{kWds, QMI_WDS_GET_PKT_STATISTICS_REQ_V01, 0, 0, 1};
  const vt::FailureCase cases[] = {
      {"vorn_data_pal_oper_statistics", [&] { return vorn_data_pal_oper_statistics(0, 0, &tx, &rx); },
       VORN_FAILURE, VORN_FAILURE, true, {kSecondReadFails}},
      {"vorn_data_pal_get_pdu_connection_session_id",
       [&] { return vorn_data_pal_get_pdu_connection_session_id(&id); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_data_pal_get_msisdn", [&] { return vorn_data_pal_get_msisdn(text); }, VORN_FAILURE,
       VORN_FAILURE, true,
       {{kWds, kMsisdnMsg, vornsim::kTimeoutRc, VORN_FAILURE}}},
  };
  for (const auto &c : cases) vt::expect_request_failures(c, family);
}

TEST_F(Status, SettingsAndFixedResults) {
  const uint8_t dns[12] = {'d', 'n', 's', '.', 'e', 'x', 'a', 'm', 'p', 'l', 'e', 0};
  ASSERT_EQ(vorn_data_pal_set_prdnscfg(dns), 0);
  auto item = vornsim::m2m::efs_item("/nv/item_files/odm/private_dns_string");
  ASSERT_TRUE(item.has_value());
  EXPECT_EQ(*item, std::vector<uint8_t>(dns, dns + 12));

  eps_bearer_info bearers[VORN_DATA_EPS_BEARERS];
  std::memset(bearers, 0xAA, sizeof bearers);
  int used = -1;
  ASSERT_EQ(vorn_data_pal_get_eps_bearer_details(bearers, &used), 0);
  EXPECT_EQ(used, 0);
  EXPECT_TRUE(vt::logged(" i = 7,LTE EPS: bearer_id = [0]\r\n"));

  int word = 0x5A;
  EXPECT_EQ(vorn_data_pal_set_data_loopback(1), -1);
  EXPECT_EQ(vorn_data_pal_get_data_loopback(&word), -1);
  EXPECT_EQ(word, 0x5A);
  EXPECT_EQ(vorn_data_pal_get_modem_state(), 1);
  const int zero_results[] = {
      vorn_data_pal_get_pdu_detail_info(1, &word), vorn_data_pal_set_ippass_mode(1),
      vorn_data_pal_get_ippass_mode(&word),        vorn_data_pal_set_odhcpd_relay(1),
      vorn_data_pal_set_odhcpd_server(1),          vorn_data_pal_add_v6_brlan_prefix("2001:db8::/64"),
      vorn_data_pal_del_v6_brlan_prefix("2001:db8::/64"), vorn_data_pal_restart_rdnis(),
      vorn_data_pal_update_odhcpd_setting(),       vorn_data_pal_oper_traffic_info(1, &word),
      vorn_data_pal_get_traffic_info_by_profile(1, &word), vorn_data_pal_support_odhcpd(),
  };
  for (int r : zero_results) EXPECT_EQ(r, 0);
  EXPECT_EQ(word, 0x5A);
}

}  // namespace
}  // namespace datat
