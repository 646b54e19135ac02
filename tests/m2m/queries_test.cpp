// The connection through the vendor service, with the wait for the modem's
// report, its addresses, the regional switch and the routing-behind marker.
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "m2m_test.h"

namespace {

using namespace m2mt;
using Clock = std::chrono::steady_clock;

class M2mQueries : public M2mTest {
 protected:
  void SetUp() override {
    M2mTest::SetUp();
    std::remove("/tmp/ipv6_only");
    start_family();
  }
};

std::vector<vorn_m2m_rmnet_action_req_msg_v01> actions() {
  std::vector<vorn_m2m_rmnet_action_req_msg_v01> sent;
  for (const auto &req : vornsim::requests(kM2m, QMI_VORN_M2M_RMNET_ACTION_REQ_V01))
    sent.push_back(req.as<vorn_m2m_rmnet_action_req_msg_v01>());
  return sent;
}

// A modem that takes rmnet actions without ever reporting, in `state`.
void silent_modem(std::atomic<uint32_t> &state) {
  vornsim::on(kM2m, QMI_VORN_M2M_RMNET_ACTION_REQ_V01,
              [](const vornsim::Request &, void *, size_t) { return 0; });
  vt::answer<m2m::GetRmnetActive>(kM2m, [&state](auto &resp) { resp.active = state.load(); });
}

TEST_F(M2mQueries, ConnectAndDisconnectAProfile) {
  EXPECT_EQ(vorn_m2m_rmnet_action(1, 1, 0, 1, 2, 0), -1);
  EXPECT_EQ(vorn_m2m_rmnet_action(1, 1, 43, 1, 2, 0), -1);
  EXPECT_TRUE(vt::logged("profileIndex is invalid !\n"));
  EXPECT_TRUE(actions().empty());

  ASSERT_EQ(vorn_m2m_pal_connect(0x105, 0), 0);
  auto sent = actions();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].action, 1);
  EXPECT_EQ(sent[0].instance, 1);
  EXPECT_EQ(sent[0].profile_valid, 1);
  EXPECT_EQ(sent[0].profile, 5) << "the low byte of the profile";
  EXPECT_EQ(sent[0].family, 1);
  EXPECT_EQ(sent[0].third, 2);
  EXPECT_EQ(vorn_m2m_pal_connect(5, 0), -1) << "already connected";
  EXPECT_EQ(actions().size(), 1u);

  m2m_ip_info ip;
  std::memset(&ip, 0x55, sizeof ip);
  ASSERT_EQ(vorn_m2m_pal_get_ip(1, &ip), 0);
  EXPECT_EQ(ip.ipv4_valid, 1);
  EXPECT_STREQ(ip.ipv4_addr, "10.64.12.7");
  EXPECT_EQ(ip.ipv4_second.valid, 1);
  EXPECT_STREQ(ip.ipv4_second.text, "8.8.8.8");
  EXPECT_EQ(ip.ipv4_third.valid, 0);
  EXPECT_STREQ(ip.ipv4_third.text, "");
  EXPECT_STREQ(ip.ipv6_addr, "2001:db8:12:7::1");
  EXPECT_EQ(ip.instance, 1u);

  ASSERT_EQ(vorn_m2m_pal_disconnect(5), 0);
  EXPECT_EQ(actions().back().action, 0);
  EXPECT_EQ(actions().back().family, 3);
  EXPECT_EQ(vorn_m2m_pal_disconnect(5), -1);
  EXPECT_TRUE(vt::logged("Alreay data disconnect\n"));

  ASSERT_EQ(vorn_m2m_pal_connect(5, 2), 0);
  EXPECT_EQ(actions().back().family, 3);
  ASSERT_EQ(vorn_m2m_pal_disconnect(5), 0);
  vt::write_file("/tmp/ipv6_only", "");
  ASSERT_EQ(vorn_m2m_pal_connect(5, 2), 0);
  EXPECT_EQ(actions().back().family, 2) << "IPv6 alone";
}

TEST_F(M2mQueries, WithoutAReportTheStateDecides) {
  std::atomic<uint32_t> state{1};
  silent_modem(state);
  auto start = Clock::now();
  EXPECT_EQ(vorn_m2m_rmnet_action(1, 1, 3, 1, 2, 0), 0);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(45)) << "5 s on the fast clock";
  EXPECT_TRUE(vt::logged("rmnet_act=1. act is 1 \n"));

  state = 0;
  EXPECT_EQ(vorn_m2m_rmnet_action(1, 1, 3, 1, 2, 0), -1);
  EXPECT_EQ(vorn_m2m_rmnet_action(0, 1, 3, 1, 2, 0), 0);
  EXPECT_EQ(actions().size(), 3u) << "no stop after a start that left rmnet down";

  state = 2;
  EXPECT_EQ(vorn_m2m_rmnet_action(1, 1, 3, 1, 2, 0), -1);
  ASSERT_EQ(actions().size(), 5u);
  EXPECT_EQ(actions().back().action, 0) << "a start that ended elsewhere is stopped";
  state = 1;
  EXPECT_EQ(vorn_m2m_rmnet_action(0, 1, 3, 1, 2, 0), -1);
  EXPECT_EQ(actions().size(), 7u);
  EXPECT_EQ(actions().back().action, 0);
}

TEST_F(M2mQueries, AConcurrentActionThatTakesTheReportFallsBackToTheState) {
  std::atomic<uint32_t> state{0};
  int second_result = 99;
  vt::answer<m2m::GetRmnetActive>(kM2m, [&state](auto &resp) { resp.active = state.load(); });
  // Each action reports its state; the first one's report is taken by a
  // second action that starts while the first is still being answered.
  vornsim::on(kM2m, QMI_VORN_M2M_RMNET_ACTION_REQ_V01, [&](const vornsim::Request &req, void *, size_t) {
    auto action = req.as<vorn_m2m_rmnet_action_req_msg_v01>();
    state = action.action;
    vorn_m2m_event_report_ind_msg_v01 ind{};
    ind.rmnet_act_valid = 1;
    ind.rmnet_act = action.action;
    vornsim::indicate(kM2m, QMI_VORN_M2M_EVENT_REPORT_IND_V01, ind);
    if (action.instance == 1) {
      vornsim::drain();
      std::thread second([&] { second_result = vorn_m2m_rmnet_action(1, 2, 4, 1, 2, 0); });
      second.join();
    }
    return 0;
  });
  auto start = Clock::now();
  EXPECT_EQ(vorn_m2m_rmnet_action(1, 1, 3, 1, 2, 0), 0);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(45)) << "the first waited in vain";
  EXPECT_EQ(second_result, 0);
  EXPECT_EQ(vt::count_logged("rmnet_act=1. act is 1 \n"), 1) << "only the first checked the state";
}

TEST_F(M2mQueries, AddressesAndDnsAsText) {
  vt::answer<m2m::GetIp>(kM2m, [](auto &resp) {
    const uint8_t address[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x53};
    resp.ipv6_third_valid = 1;
    std::reverse_copy(address, address + 16, resp.ipv6_third);
    resp.ipv4_third_valid = 1;
    resp.ipv4_third = 0xC0A80101;
    std::memset(resp.ipv4_addr, 'a', sizeof resp.ipv4_addr);
    resp.ipv4_second_valid = 7;
  });
  m2m_ip_info ip{};
  ASSERT_EQ(vorn_m2m_pal_get_ip(2, &ip), 0);
  EXPECT_STREQ(ip.ipv6_third.text, "2001:db8::53") << "the modem's bytes come reversed";
  EXPECT_STREQ(ip.ipv4_third.text, "192.168.1.1");
  EXPECT_EQ(std::string(ip.ipv4_addr, 65), std::string(64, 'a') + "\x07")
      << "the byte behind the address comes along";
  EXPECT_EQ(ip.instance, 2u);
  EXPECT_EQ(vorn_m2m_pal_get_ip(2, nullptr), -1);

  char primary[64] = {}, secondary[64] = {};
  ASSERT_EQ(vorn_m2m_pal_get_dnscfg(primary, secondary), 0);
  EXPECT_STREQ(primary, "8.8.8.8");
  EXPECT_STREQ(secondary, "8.8.4.4");
  vornsim::on(kM2m, QMI_VORN_M2M_GET_DNSCFG_REQ_V01,
              [](const vornsim::Request &, void *, size_t) { return 0; });
  EXPECT_EQ(vorn_m2m_pal_get_dnscfg(primary, secondary), -1);
  EXPECT_TRUE(vt::logged("dns is empty\n"));
}

TEST_F(M2mQueries, RegionalSwitchAndRoutingBehind) {
  int mode = -5;
  EXPECT_EQ(vorn_m2m_pal_get_switchmode(&mode), -1) << "never switched";
  ASSERT_EQ(vorn_m2m_pal_set_switchmode(1), 0);
  char item[501] = {};
  uint32_t len = 0;
  ASSERT_EQ(vorn_m2m_pal_read_nv_by_path("/nv/item_files/rfnv/00030007", item, &len, 0), 0);
  EXPECT_EQ(std::string(item, len), "IC-RF");
  ASSERT_EQ(vorn_m2m_pal_read_nv_by_path("/nv/item_files/rfnv/00030007_BAK", item, &len, 0), 0);
  EXPECT_EQ(std::string(item, len), "FCC-RF") << "the old item moved aside";
  ASSERT_EQ(vorn_m2m_pal_read_nv_by_path("/policyman/hardware_band_filtering.xml", item, &len, 0), 0);
  EXPECT_EQ(std::string(item, len), "<bands region=\"IC\"/>");
  ASSERT_EQ(vorn_m2m_pal_get_switchmode(&mode), 0);
  EXPECT_EQ(mode, 1);

  vornsim::refuse_next(kM2m, QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01, QMI_ERR_INTERNAL_V01, vornsim::kAll);
  EXPECT_EQ(vorn_m2m_pal_set_switchmode(0), -2);
  ASSERT_EQ(vorn_m2m_pal_get_switchmode(&mode), 0);
  EXPECT_EQ(mode, 1) << "no flag after a failed switch";

  int value = -1;
  ASSERT_EQ(vorn_m2m_pal_enable_routing_behind(1), 0);
  EXPECT_EQ(vt::read_file("/data/ps_add_src_ip_on_qos_filters.txt"), "0");
  ASSERT_EQ(vorn_m2m_pal_read_routing_behind(&value), 0);
  EXPECT_EQ(value, 1);
  ASSERT_EQ(vorn_m2m_pal_enable_routing_behind(0), 0);
  ASSERT_EQ(vorn_m2m_pal_read_routing_behind(&value), 0);
  EXPECT_EQ(value, 0);
}

TEST_F(M2mQueries, SmsAcknowledgementWithAndWithoutAPdu) {
  vorn_m2m_sms_ack ack{};
  ack.transaction_id = 77;
  ack.success = 1;
  ASSERT_EQ(vorn_m2m_send_sms_pdu_ack(&ack), 0);
  ack.pdu_valid = 1;
  ack.pdu_len_valid = 1;
  ack.pdu_len = 3;
  std::memcpy(ack.pdu, "\x02\x00\x00", 3);
  ASSERT_EQ(vorn_m2m_send_sms_pdu_ack(&ack), 0);
  auto sent = vornsim::requests(kM2m, QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01);
  ASSERT_EQ(sent.size(), 2u);
  ASSERT_EQ(sent[0].bytes.size(), 276u);
  auto first = sent[0].as<vorn_m2m_sms_pdu_ack_req_msg_v01>();
  EXPECT_EQ(first.transaction_id, 77u);
  EXPECT_EQ(first.pdu_valid, 0) << "the PDU needs both flags";
  auto second = sent[1].as<vorn_m2m_sms_pdu_ack_req_msg_v01>();
  EXPECT_EQ(second.pdu_len, 3u);
  EXPECT_EQ(second.pdu[0], 2);

  ack.pdu_len = 256;
  EXPECT_EQ(vorn_m2m_send_sms_pdu_ack(&ack), 3);
  EXPECT_EQ(vornsim::requests(kM2m, QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01).size(), 2u);
  EXPECT_EQ(vorn_m2m_send_sms_pdu_ack(nullptr), -1);
  ack.pdu_len = 3;
  vornsim::refuse_next(kM2m, QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01, QMI_ERR_INTERNAL_V01, vornsim::kAll);
  EXPECT_EQ(vorn_m2m_send_sms_pdu_ack(&ack), -1);
  EXPECT_TRUE(vt::logged("QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01 failed:0, result: 1, error: 3,transaction_id=77.\n"));
}

}  // namespace
