// The family's start, sending, acknowledging and indications: what the
// daemon gets back, the requests that reached the modem, the events and
// the log lines.
#include <cstring>

#include "m2m/messages.h"
#include "sms_test.h"

namespace {

using namespace smst;
namespace sms = vorn::sms;
namespace wms = vornsim::wms;

// The event report of a message handed to the client, as built here.
wms_event_report_ind_msg_v01 routed(uint32_t format, const Bytes &tpdu, size_t smsc_octets) {
  wms_event_report_ind_msg_v01 ind{};
  ind.transfer_route_mt_message_valid = 1;
  ind.transfer_route_mt_message.ack_indicator = 1;
  ind.transfer_route_mt_message.transaction_id = 77;
  ind.transfer_route_mt_message.format = format;
  ind.transfer_route_mt_message.data_len = static_cast<uint32_t>(tpdu.size());
  std::memcpy(ind.transfer_route_mt_message.data, tpdu.data(), tpdu.size());
  ind.mt_message_smsc_address_valid = smsc_octets > 0;
  ind.mt_message_smsc_address.data_len = static_cast<uint32_t>(smsc_octets);
  for (size_t i = 0; i < smsc_octets; ++i) ind.mt_message_smsc_address.data[i] = static_cast<uint8_t>(0x91 + i);
  return ind;
}

TEST_F(SmsPalTest, InitOpensTheClientAndSetsTheApRoutes) {
  ASSERT_EQ(vorn_sms_pal_init(), 0);
  EXPECT_EQ(vornsim::counters().clients_live, 2) << "the WMS client and the M2M client of the model query";
  EXPECT_TRUE(vt::logged("SMS pal init success...\n"));
  EXPECT_TRUE(vt::logged("result:0, Project Name:VN5G-FWA100\n"));
  EXPECT_NE(vt::read_file("/dev/kmsg").find("oem:SMS qmi inited OK"), std::string::npos);
  const auto report = vornsim::requests(kWms, QMI_WMS_SET_EVENT_REPORT_REQ_V01).at(0).as<wms_set_event_report_req_msg_v01>();
  EXPECT_EQ(report.report_mt_message, 1);
  EXPECT_EQ(report.report_mwi_message, 1);
  EXPECT_EQ(report.report_call_control_info_valid, 0);
  const auto reg = vornsim::requests(kWms, QMI_WMS_INDICATION_REGISTER_REQ_V01).at(0).as<wms_indication_register_req_msg_v01>();
  EXPECT_EQ(reg.reg_message_waiting_events, 1);
  EXPECT_EQ(reg.reg_ims_pref_events_valid, 0);
  const std::vector<wms::Route> routes = wms::routes();
  const uint32_t kAcknowledgedByApplication[] = {1, 4, 4, 4, 4};
  for (size_t cls = 0; cls < routes.size(); ++cls) {
    EXPECT_EQ(routes[cls].memory, WMS_STORAGE_TYPE_NONE_V01);
    EXPECT_EQ(routes[cls].value, kAcknowledgedByApplication[cls]);
  }
  // A second init finds the client there, goes through its tries and ends
  // as a failed start would.
  forget_traffic();
  EXPECT_EQ(vorn_sms_pal_init(), 0);
  EXPECT_EQ(vt::count_logged("WMS qmi client init failed, error code: -1,0.\n"), 10);
  EXPECT_NE(vt::read_file("/dev/kmsg").find("oem:SMS qmi inited ERROR"), std::string::npos);
}

TEST_F(SmsPalTest, InitWithoutTheServiceAndOnNvModels) {
  vornsim::set_service_object_missing(vornsim::Svc::WMS, true);
  EXPECT_EQ(vorn_sms_pal_init(), 0) << "the model query's result";
  EXPECT_EQ(vt::count_logged("WMS service object(uim) not available.\n"), 10);
  EXPECT_NE(vt::read_file("/dev/kmsg").find("oem:SMS qmi inited ERROR"), std::string::npos);
  EXPECT_EQ(vornsim::requests(kWms).size(), 0u);
  EXPECT_EQ(vorn_sms_pal_send_msg(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, nullptr), VORN_FAILURE);

  vornsim::set_service_object_missing(vornsim::Svc::WMS, false);
  vt::answer<vorn::m2m::ModelName>(vt::kM2m, [](auto &resp) {
    std::strcpy(resp.text, "Z715k-EU");
    resp.len = 8;
  });
  ASSERT_EQ(vorn_sms_pal_init(), 0);
  for (const wms::Route &route : wms::routes()) EXPECT_EQ(route.memory, WMS_STORAGE_TYPE_NV_V01);
}

TEST_F(SmsPalTest, PrimaryClientTriesFourTimes) {
  start_family();
  EXPECT_EQ(vorn_sms_primary_client_init(), 0);
  EXPECT_EQ(count(QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01), 1u);
  vornsim::refuse_next(kWms, QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01, vornsim::kInternalError, 3);
  EXPECT_EQ(vorn_sms_primary_client_init(), 0);
  EXPECT_TRUE(vt::logged("SMS QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01 register failed, result: 1, error: 3, retry cnt: 3.\n"));
  vornsim::fail_next(kWms, QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01, vornsim::kTimeoutRc, vornsim::kAll);
  EXPECT_EQ(vorn_sms_primary_client_init(), VORN_FAILURE);
  EXPECT_EQ(count(QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01), 1u + 4 + 4);
}

TEST_F(SmsPalTest, SendRefusesBadPdusBeforeTheModem) {
  start_family();
  uint8_t big[300] = {};
  EXPECT_EQ(vorn_sms_pal_send_msg(nullptr, 10, 0, nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("NULL p_pdu.\n"));
  EXPECT_EQ(vorn_sms_pal_send_msg(big, 256, 0, nullptr), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("pdu_len err=256.\n"));
  EXPECT_EQ(vorn_sms_pal_send_msg(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), E_SMS_PAL_SEND_AND_SAVE, nullptr),
            VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("not support E_SMS_PAL_SEND_AND_SAVE.\n"));
  EXPECT_EQ(vorn_sms_pal_send_msg_ZNRD(big, -4, 0, nullptr, 0, 0), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_sms_pal_send_msg(big, -4, 0, nullptr), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("pdu_len err=-4.\n"));
  EXPECT_EQ(vorn_sms_pal_send_msg_ZNRD(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, nullptr, 0, 2),
            VORN_FAILURE);
  EXPECT_TRUE(vt::logged("is_ims err=2.\n"));
  EXPECT_EQ(vornsim::requests(kWms).size(), 0u);
}

TEST_F(SmsPalTest, SendGoesOutWithOneRetry) {
  start_family();
  uint32_t reference = 0;
  ASSERT_EQ(vorn_sms_pal_send_msg(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, &reference), 0);
  const auto req = vornsim::requests(kWms, QMI_WMS_RAW_SEND_REQ_V01).at(0).as<wms_raw_send_req_msg_v01>();
  EXPECT_EQ(req.raw_message_data.format, static_cast<uint32_t>(WMS_MESSAGE_FORMAT_GW_PP_V01));
  EXPECT_EQ(Bytes(req.raw_message_data.raw_message, req.raw_message_data.raw_message + req.raw_message_data.raw_message_len),
            kSubmit);
  EXPECT_EQ(wms::mo_messages().at(0).reference, reference);
  EXPECT_EQ(wms::mo_messages().at(0).tpdu[1], reference) << "the modem numbers the TPDU";

  // The network refuses once: the second try goes through.
  wms::reject_next_mo(0x15, 0xC5);
  EXPECT_EQ(vorn_sms_pal_send_msg(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, &reference), 0);
  EXPECT_TRUE(vt::logged("QMI_WMS_RAW_SEND_REQ_V01 failed:0, result: 1, error: 56.\n"));
  EXPECT_TRUE(vt::logged("rp_cause=21,tp_cause=197.\n"));
  EXPECT_EQ(count(QMI_WMS_RAW_SEND_REQ_V01), 3u);
  vornsim::fail_next(kWms, QMI_WMS_RAW_SEND_REQ_V01, vornsim::kTimeoutRc, 2);
  EXPECT_EQ(vorn_sms_pal_send_msg(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, &reference), VORN_FAILURE);
  EXPECT_EQ(count(QMI_WMS_RAW_SEND_REQ_V01), 5u);

  // On IMS, one try only.
  forget_traffic();
  wms::reject_next_mo(0x15, 0xC5);
  EXPECT_EQ(vorn_sms_pal_send_msg_ZNRD(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, &reference, 99, 1),
            VORN_FAILURE);
  EXPECT_TRUE(vt::logged("REPORT:sms_on_ims_valid=1,sms_on_ims=1.\n"));
  EXPECT_EQ(count(QMI_WMS_RAW_SEND_REQ_V01), 1u);
  EXPECT_EQ(vorn_sms_pal_send_msg_ZNRD(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, &reference, 99, 1), 0);
  EXPECT_TRUE(wms::mo_messages().back().on_ims);
}

// The library acknowledges from its callback only when the store is full,
// and then with the memory-exceeded causes; the network keeps the message
// and sends it again once there is room.
TEST_F(SmsPalTest, AcknowledgementsByTheDaemonAndByTheCallback) {
  start_family();
  EXPECT_EQ(vorn_sms_pal_send_ack(2, 1), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("invalid act_flag: 2.\n"));
  vorn_sms_pal_send_ack_async(0xFFFFFFFFu, 5);
  EXPECT_TRUE(vt::logged("invalid act_flag: -1.\n"));
  EXPECT_EQ(count(QMI_WMS_SEND_ACK_REQ_V01), 0u);

  ASSERT_EQ(vorn_sms_pal_store_full(0), 0);
  EXPECT_TRUE(vt::logged("oem_sms_pal_store_full:is_send_ack = 1;act_flag_full = 1\r\n"));
  EXPECT_EQ(wms::routes().at(1).value, static_cast<uint32_t>(WMS_ROUTE_TRANSFER_ONLY_V01));
  wms::deliver(kDeliver);
  ASSERT_TRUE(vt::eventually([] { return !wms::acks().empty(); }));
  vornsim::drain();
  const wms::Ack refused = wms::acks().at(0);
  EXPECT_FALSE(refused.success);
  EXPECT_EQ(refused.rp_cause, 0x16u);
  EXPECT_EQ(refused.tp_cause, 0xD3u);
  EXPECT_TRUE(vornsim::requests(kWms, QMI_WMS_SEND_ACK_REQ_V01).at(0).async);
  EXPECT_EQ(wms::waiting(), 1u) << "the centre keeps the refused message";
  ASSERT_EQ(events.taken().size(), 1u);
  EXPECT_EQ(events.taken()[0].id, E_oem_SMS_EVENT_NEW_AP_MSG);

  // Room again: the message comes back, for the daemon to acknowledge.
  take_events();
  ASSERT_EQ(vorn_sms_pal_store_full(1), 0);
  ASSERT_TRUE(vt::eventually([&] { return !events.taken().empty(); }));
  EXPECT_TRUE(vt::logged("  not need ack_ok   \n"));
  RouteMessage again = route_message(events.taken().at(0));
  EXPECT_EQ(Bytes(again.bytes.end() - static_cast<long>(kDeliver.size()), again.bytes.end()), kDeliver);
  EXPECT_EQ(vorn_sms_pal_send_ack(0, again.head.transaction_id), 0);
  EXPECT_EQ(vorn_sms_pal_send_ack(0, again.head.transaction_id), VORN_FAILURE) << "acknowledged already";
  EXPECT_EQ(wms::unacknowledged(), 0u);

  // The AT layer acknowledges with AT+CNMA itself.
  forget_traffic();
  ASSERT_EQ(vorn_sms_pal_set_msg_service_config(1, 2, 0, 1), 0);
  ASSERT_EQ(vorn_sms_pal_store_full(0), 0);
  wms::deliver(kDeliver);
  ASSERT_TRUE(vt::eventually([] { return vt::logged(" wait_for_ack AT+CNMA \n"); }));
  vornsim::drain();
  EXPECT_EQ(count(QMI_WMS_SEND_ACK_REQ_V01), 0u);
}

// A TPDU the library cannot decode is still handed on and acknowledged,
// and the next message arrives as usual.
TEST_F(SmsPalTest, MalformedMessagesFromTheNetwork) {
  start_family();
  wms::deliver({0x00, 0x0B, 0x91});
  wms::deliver(kDeliver);
  ASSERT_TRUE(vt::eventually([&] { return events.taken().size() == 2; }));
  EXPECT_TRUE(vt::logged(" DecodeGsmPduNew error  .\n"));
  for (const vt::Events::Event &event : events.taken()) {
    EXPECT_EQ(event.id, E_oem_SMS_EVENT_NEW_AP_MSG);
    EXPECT_EQ(vorn_sms_pal_send_ack(0, route_message(event).head.transaction_id), 0);
  }
  EXPECT_EQ(wms::unacknowledged(), 0u);
}

TEST_F(SmsPalTest, IndicationsBecomeEvents) {
  start_family();
  // Broadcast: no service centre octet, the TPDU behind the four numbers.
  const Bytes page(88, 0x11);
  vornsim::indicate(kWms, QMI_WMS_EVENT_REPORT_IND_V01, routed(WMS_MESSAGE_FORMAT_GW_BC_V01, page, 7));
  // A service centre field of 15 octets is cut to 11.
  vornsim::indicate(kWms, QMI_WMS_EVENT_REPORT_IND_V01, routed(WMS_MESSAGE_FORMAT_GW_PP_V01, kDeliver, 15));
  wms_event_report_ind_msg_v01 etws{};
  etws.etws_message_valid = 1;
  etws.etws_message.notification_type = 2;
  etws.etws_message.data_len = 5000;
  std::memset(etws.etws_message.data, 0xE7, sizeof etws.etws_message.data);
  vornsim::indicate(kWms, QMI_WMS_EVENT_REPORT_IND_V01, etws);
  wms_memory_full_ind_msg_v01 full{{5, 1}};
  vornsim::indicate(kWms, QMI_WMS_MEMORY_FULL_IND_V01, full);
  full.memory_full_info.storage_type = 1;
  vornsim::indicate(kWms, QMI_WMS_MEMORY_FULL_IND_V01, full);
  wms_transport_layer_info_ind_msg_v01 layer{1, 1, {1, 1}};
  vornsim::indicate(kWms, QMI_WMS_TRANSPORT_LAYER_INFO_IND_V01, layer);
  vornsim::indicate(kWms, QMI_WMS_TRANSPORT_NW_REG_INFO_IND_V01, wms_transport_nw_reg_info_ind_msg_v01{2});
  vornsim::indicate(kWms, QMI_WMS_SERVICE_READY_IND_V01, wms_service_ready_ind_msg_v01{1, 0, 0});
  vornsim::indicate(kWms, 99, full);
  vornsim::drain();
  vornsim::set_decode_fault(kWms, QMI_WMS_EVENT_REPORT_IND_V01, -1);
  vornsim::indicate(kWms, QMI_WMS_EVENT_REPORT_IND_V01, etws);

  const std::vector<vt::Events::Event> got = events.taken();
  // The event registry delivers no negative event: the memory-full report
  // of another storage is only logged.
  ASSERT_EQ(got.size(), 7u);
  for (const vt::Events::Event &event : got) EXPECT_TRUE(event.on_modem_thread);
  RouteMessage broadcast = route_message(got[0]);
  EXPECT_EQ(got[0].id, E_oem_SMS_EVENT_NEW_ROUTE_MSG);
  EXPECT_EQ(broadcast.head.route_format, static_cast<uint32_t>(SMS_FORMAT_GW_BC));
  EXPECT_EQ(got[0].size, static_cast<int>(16 + page.size()));
  EXPECT_EQ(broadcast.bytes, page);
  RouteMessage cut = route_message(got[1]);
  EXPECT_EQ(cut.head.pdu_data_len, kDeliver.size() + 12);
  EXPECT_EQ(cut.bytes[0], 11);
  EXPECT_EQ(cut.head.transaction_id, 77u);
  EXPECT_EQ(got[2].id, E_oem_SMS_EVENT_ETWS);
  ASSERT_EQ(got[2].data.size(), sizeof(sms_etws_event));
  EXPECT_EQ(got[2].data[sizeof(sms_etws_event) - 1], 0xE7) << "the data is bounded at 1252 bytes";
  EXPECT_EQ(got[3].id, E_oem_SMS_EVENT_MEMORY_FULL);
  EXPECT_EQ(got[3].data, (Bytes{1, 0, 0, 0}));
  for (size_t i = 4; i < 7; ++i) EXPECT_EQ(got[i].id, E_oem_SMS_EVENT_SERVICE_STATE);
  EXPECT_TRUE(vt::logged("MEMORY_FULL_IND:storage_type=5,message_mode=1.\n"));
  EXPECT_TRUE(vt::logged("TRANSPORT_LAYER_INFO:1,1,1,1.\n"));
  EXPECT_TRUE(vt::logged("TRANSPORT_NW_REG_INFO:transport_nw_reg_status=2.\n"));
  EXPECT_TRUE(vt::logged("SERVICE_READY:ready_status=1,0,0.\n"));
  EXPECT_TRUE(vt::logged("Info, unknown the indication msg_id: 99.\n"));
  EXPECT_TRUE(vt::logged("Error in decoding QMI_WMS_EVENT_REPORT_IND_V01, error = -1\n"));

  // The readiness the modem reported answers without a request.
  forget_traffic();
  uint32_t status = 0;
  EXPECT_EQ(vorn_sms_pal_get_service_status(&status), 0);
  EXPECT_EQ(status, 1u);
  EXPECT_EQ(vornsim::requests(kWms).size(), 0u);
}

TEST_F(SmsPalTest, ServiceCentreDomainAndReadiness) {
  start_family();
  char address[WMS_ADDRESS_DIGIT_MAX_V01 + 1];
  char type[WMS_ADDRESS_TYPE_MAX_V01 + 1];
  ASSERT_EQ(vorn_sms_pal_set_center_address("+4917200000", "145"), 0);
  ASSERT_EQ(vorn_sms_pal_get_center_address(address, type), 0);
  EXPECT_STREQ(address, "+4917200000");
  EXPECT_STREQ(type, "145");
  EXPECT_EQ(wms::centre_address(), "+4917200000");
  EXPECT_EQ(vorn_sms_pal_set_center_address("", nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("QMI_WMS_SET_SMSC_ADDRESS_REQ_V01 failed, result: 1, error: 17.\n"));

  for (uint32_t pref = 0; pref <= 3; ++pref) {
    ASSERT_EQ(vorn_sms_pal_set_domain_pref(pref), 0);
    EXPECT_EQ(vornsim::requests(kWms, QMI_WMS_SET_DOMAIN_PREF_CONFIG_REQ_V01).back()
                  .as<wms_set_domain_pref_config_req_msg_v01>().gw_domain_pref, 3 - pref);
    uint32_t read = 9;
    ASSERT_EQ(vorn_sms_pal_get_domain_pref(&read), 0);
    EXPECT_EQ(read, pref);
  }
  EXPECT_EQ(vorn_sms_pal_set_domain_pref(4), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("invalid domain_pref: 4.\n"));
  vt::answer<sms::GetDomainPref>(kWms, [](auto &) {});
  uint32_t read = 9;
  EXPECT_EQ(vorn_sms_pal_get_domain_pref(&read), VORN_SMS_DOMAIN_PREF_GET_FAILED) << "no outcome";
  vt::answer<sms::GetDomainPref>(kWms, [](auto &resp) {
    resp.gw_domain_pref_valid = 1;
    resp.gw_domain_pref = 7;
  });
  EXPECT_EQ(vorn_sms_pal_get_domain_pref(&read), VORN_SMS_DOMAIN_PREF_GET_FAILED);
  EXPECT_TRUE(vt::logged("invalid domain_pref: 7.\n"));
  EXPECT_EQ(read, 9u);
  vt::answer<sms::SetDomainPref>(kWms, [](auto &resp) { resp.gw_domain_pref_outcome = 1; });
  EXPECT_EQ(vorn_sms_pal_set_domain_pref(1), VORN_SMS_DOMAIN_PREF_SET_FAILED);

  // Not ready, then a modem that does not say: ready.
  vornsim::indicate(kWms, QMI_WMS_SERVICE_READY_IND_V01, wms_service_ready_ind_msg_v01{0, 0, 0});
  vornsim::drain();
  vt::answer<sms::GetServiceReady>(kWms, [](auto &resp) { resp.ready_status_valid = 1; });
  uint32_t status = 9;
  EXPECT_EQ(vorn_sms_pal_get_service_status(&status), 0);
  EXPECT_EQ(status, 0u);
  vt::answer<sms::GetServiceReady>(kWms, [](auto &) {});
  EXPECT_EQ(vorn_sms_pal_get_service_status(&status), 0);
  EXPECT_EQ(status, 1u);
}

}  // namespace
