// Messages on the SIM and in the modem's NV: writing, reading, listing,
// tags, deletion by index and by status, sizes, sending from the store, and
// the routes that a modem which lost them gets back.
#include <cstring>

#include "sms_test.h"

namespace {

using namespace smst;
namespace sms = vorn::sms;
namespace wms = vornsim::wms;

// A submit to +49171234567 with its service centre part.

int write(uint32_t storage, uint32_t status, uint32_t *index = nullptr) {
  return vorn_sms_pal_write_msg(storage, kSubmit.data(), static_cast<int32_t>(kSubmit.size()), status, index);
}

TEST_F(SmsPalTest, ModemStoresKeepMessagesWithTheirStatus) {
  start_family();
  for (uint32_t storage : {SMS_STORAGE_UIM, SMS_STORAGE_NV}) {
    SCOPED_TRACE(storage);
    for (uint32_t status = 0; status < 4; ++status) {
      uint32_t index = 99;
      ASSERT_EQ(write(storage, status, &index), 0);
      EXPECT_EQ(index, status);
      sms_store_message record{};
      ASSERT_EQ(vorn_sms_pal_read_msg(storage, static_cast<int32_t>(index), &record), 1);
      EXPECT_EQ(record.sms_status, status);
      EXPECT_EQ(record.sms_format, static_cast<uint32_t>(SMS_FORMAT_GW_PP));
      EXPECT_EQ(Bytes(record.sms_pdu_data, record.sms_pdu_data + record.sms_pdu_len), kSubmit);
    }
    EXPECT_EQ(wms::stored(storage).at(0).tag, static_cast<uint32_t>(WMS_TAG_TYPE_MT_NOT_READ_V01));
    sms_index_status pairs[8] = {};
    ASSERT_EQ(vorn_sms_pal_get_valid_index(storage, SMS_LIST_SENT, pairs, 8), 1);
    EXPECT_EQ(pairs[0].index, 3u);
    EXPECT_EQ(pairs[0].status, static_cast<uint32_t>(SMS_STATUS_SENT));
    EXPECT_EQ(vorn_sms_pal_get_valid_index(storage, SMS_LIST_ALL, nullptr, 0), 4);
    EXPECT_EQ(vorn_sms_pal_get_valid_index(storage, SMS_LIST_ALL, pairs, 2), 2);

    ASSERT_EQ(vorn_sms_pal_modify_msg(storage, 0, SMS_STATUS_READ), 0);
    sms_store_message record{};
    record.sms_status = SMS_STATUS_NOT_SENT;
    ASSERT_EQ(vorn_sms_pal_modify(storage, 3, &record), 0);
    EXPECT_EQ(vorn_sms_pal_get_valid_index(storage, SMS_LIST_READ, pairs, 8), 2);
    EXPECT_EQ(vorn_sms_pal_get_valid_index(storage, SMS_LIST_NOT_SENT, pairs, 8), 2);

    sms_storage_info info{};
    ASSERT_EQ(vorn_sms_pal_get_storage_info(storage, &info), 0);
    EXPECT_EQ(info.used, 4u);
    EXPECT_EQ(info.total, storage == SMS_STORAGE_UIM ? 20u : 50u);

    ASSERT_EQ(vorn_sms_pal_delete_msg(storage, 1, 0), 0);
    ASSERT_EQ(vorn_sms_pal_delete_msg(storage, 0, 4), 0);  // every unsent one
    ASSERT_EQ(wms::stored(storage).size(), 1u);
    EXPECT_EQ(wms::stored(storage)[0].index, 0u);
    EXPECT_EQ(vorn_sms_pal_delete_msg(storage, 7, 0), VORN_FAILURE);
    EXPECT_TRUE(vt::logged("QMI_WMS_DELETE_REQ_V01 failed, result: 1, error: 32.\n"));
  }
}

TEST_F(SmsPalTest, ModemStoresRefuseBadInput) {
  start_family();
  uint8_t big[300] = {1};
  sms_store_message record{};
  EXPECT_EQ(vorn_sms_pal_write_msg(SMS_STORAGE_NV, nullptr, 5, 0, nullptr), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("NULL pdu_ptr.\n"));
  EXPECT_EQ(vorn_sms_pal_write_msg(SMS_STORAGE_NV, big, 256, 0, nullptr), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("pdu_len err=256.\n"));
  EXPECT_EQ(write(SMS_STORAGE_NV, 4), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("invalid write_flag: 4.\n"));
  EXPECT_EQ(vorn_sms_pal_modify_msg(SMS_STORAGE_NV, 0, 4), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("invalid modify_flag: 4.\n"));
  EXPECT_EQ(vorn_sms_pal_delete_msg(SMS_STORAGE_NV, 0, 5), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("invalid del_flag: 5.\n"));
  EXPECT_EQ(vorn_sms_pal_read_msg(SMS_STORAGE_NV, SMS_PAL_INDEX_ALL, &record), 0);
  EXPECT_TRUE(vt::logged("not support SMS_PAL_INDEX_ALL\n"));
  EXPECT_EQ(vorn_sms_pal_read_msg(SMS_STORAGE_NV, 0, nullptr), 0);
  EXPECT_TRUE(vt::logged("NULL p_sms_msg.\n"));
  sms_storage_info info{};
  EXPECT_EQ(vorn_sms_pal_get_storage_info(3, &info), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("invalid storage_type=3.\n"));
  EXPECT_EQ(vorn_sms_pal_set_receive_msg_storage(3), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("invalid storage_type.\n"));
  // The AP storage is not the modem's.
  EXPECT_EQ(write(SMS_STORAGE_AP, 0), VORN_UNAVAILABLE);
  EXPECT_EQ(vorn_sms_pal_delete_msg(SMS_STORAGE_AP, 0, 0), VORN_UNAVAILABLE);
  EXPECT_EQ(vorn_sms_pal_modify_msg(SMS_STORAGE_AP, 0, 0), VORN_UNAVAILABLE);
  EXPECT_EQ(vorn_sms_pal_read_msg(SMS_STORAGE_AP, 0, &record), 0);
  EXPECT_EQ(vorn_sms_pal_get_valid_index(SMS_STORAGE_AP, SMS_LIST_ALL, nullptr, 0), 0);
  EXPECT_EQ(vorn_sms_pal_get_storage_info(SMS_STORAGE_AP, &info), 0);
  EXPECT_EQ(vornsim::requests(kWms).size(), 0u);

  // A full SIM, and an NV that fails its writes.
  wms::set_capacity(wms::kUim, 1);
  EXPECT_EQ(write(SMS_STORAGE_UIM, 0), 0);
  EXPECT_EQ(write(SMS_STORAGE_UIM, 0), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("QMI_WMS_RAW_WRITE_REQ_V01 failed, result: 1, error: 33.\n"));
  wms::fail_writes(wms::kNv, true);
  EXPECT_EQ(write(SMS_STORAGE_NV, 0), VORN_FAILURE);
  EXPECT_TRUE(wms::stored(wms::kNv).empty());
  EXPECT_EQ(vorn_sms_pal_read_msg(SMS_STORAGE_NV, 0, &record), 0);
}

// Routed to a full store, a message stays at the centre and the memory-full
// event goes out; it arrives once there is room.
TEST_F(SmsPalTest, AFullModemStoreKeepsTheMessageAtTheCentre) {
  start_family();
  ASSERT_EQ(vorn_sms_pal_set_receive_msg_storage(SMS_STORAGE_UIM), 0);
  wms::set_capacity(wms::kUim, 0);
  wms::deliver(unhex("040C9194511132547600006211221000000002C834"));
  ASSERT_TRUE(vt::eventually([&] { return !events.taken().empty(); }));
  EXPECT_EQ(events.taken()[0].id, E_oem_SMS_EVENT_MEMORY_FULL);
  EXPECT_EQ(wms::waiting(), 1u);
  take_events();
  wms::set_capacity(wms::kUim, 5);
  ASSERT_EQ(vorn_sms_pal_set_receive_msg_storage(SMS_STORAGE_UIM), 0);
  ASSERT_TRUE(vt::eventually([&] { return !events.taken().empty(); }));
  EXPECT_EQ(events.taken()[0].id, E_oem_SMS_EVENT_NEW_STORED_MSG);
  EXPECT_EQ(wms::stored(wms::kUim).size(), 1u);
}

TEST_F(SmsPalTest, SendingFromTheModemStore) {
  start_family();
  uint32_t index = 0;
  ASSERT_EQ(write(SMS_STORAGE_NV, SMS_STATUS_NOT_SENT, &index), 0);
  uint32_t reference = 0;
  ASSERT_EQ(vorn_sms_pal_send_sms_storage_msg(SMS_STORAGE_NV, index, &reference), 0);
  EXPECT_EQ(wms::mo_messages().at(0).reference, reference);
  EXPECT_EQ(wms::stored(wms::kNv).at(0).tag, static_cast<uint32_t>(WMS_TAG_TYPE_MO_SENT_V01));
  wms::reject_next_mo(0x2A, 0x00);
  EXPECT_EQ(vorn_sms_pal_send_sms_storage_msg(SMS_STORAGE_NV, index, &reference), VORN_SMS_SEND_FROM_STORE_FAILED);
  EXPECT_TRUE(vt::logged("rp_cause=42,tp_cause=0.\n"));
  EXPECT_EQ(vorn_sms_pal_send_sms_storage_msg(SMS_STORAGE_NV, 33, &reference), VORN_SMS_SEND_FROM_STORE_FAILED);
  EXPECT_EQ(vorn_sms_pal_send_sms_storage_msg(SMS_STORAGE_AP, 0, &reference), VORN_FAILURE);
}

// Routes for each storage and configuration, and a modem that lost them.
TEST_F(SmsPalTest, RoutesFollowStorageAndConfiguration) {
  start_family();
  struct Case {
    uint32_t storage, mt, csms;
    bool library_acks;
    uint32_t values[5];
  };
  const Case kCases[] = {
      {SMS_STORAGE_NV, 0, 0, false, {1, 1, 1, 1, 1}}, {SMS_STORAGE_UIM, 3, 0, false, {1, 1, 1, 2, 1}},
      {SMS_STORAGE_NV, 2, 1, false, {3, 2, 1, 2, 2}}, {SMS_STORAGE_NV, 2, 0, false, {3, 3, 1, 3, 3}},
      {SMS_STORAGE_AP, 0, 0, true, {1, 2, 2, 2, 2}},  {SMS_STORAGE_AP, 2, 1, false, {1, 4, 4, 4, 4}},
  };
  for (const Case &c : kCases) {
    ASSERT_EQ(vorn_sms_pal_set_msg_service_config(1, c.mt, 3, c.csms), 0);
    ASSERT_EQ(vorn_sms_pal_store_full(c.library_acks ? 0 : 1), 0);
    ASSERT_EQ(vorn_sms_pal_set_receive_msg_storage(c.storage), 0);
    const auto routes = wms::routes();
    for (size_t cls = 0; cls < 5; ++cls) EXPECT_EQ(routes[cls].value, c.values[cls]) << "class " << cls;
    EXPECT_EQ(vornsim::requests(kWms, QMI_WMS_SET_ROUTES_REQ_V01).back().as<wms_set_routes_req_msg_v01>().transfer_ind, 1u);
  }
  int32_t storage = -1;
  EXPECT_EQ(vorn_sms_pal_get_receive_msg_storage(&storage, 0), 5);
  EXPECT_EQ(storage, SMS_STORAGE_AP);

  // A modem that answers with routes of its own gets the library's again.
  vt::answer<sms::GetRoutes>(kWms, [](auto &resp) {
    resp.route_list_len = 1;
    resp.route_list[0] = {0, 0, WMS_STORAGE_TYPE_NV_V01, 1};
  });
  forget_traffic();
  EXPECT_EQ(vorn_sms_pal_get_receive_msg_storage(&storage, 0), 1);
  EXPECT_EQ(storage, SMS_STORAGE_AP);
  EXPECT_EQ(count(QMI_WMS_SET_ROUTES_REQ_V01), 1u);
  EXPECT_TRUE(vt::logged("sms route[0]:route_type=0,route_class=0,route_memory=1,route_value=1.\n"));
  vornsim::refuse_next(kWms, QMI_WMS_SET_ROUTES_REQ_V01);
  EXPECT_EQ(vorn_sms_pal_store_full(1), VORN_FAILURE);
  EXPECT_TRUE(vt::logged("QMI_WMS_GET_STORE_MAX_SIZE_REQ_V01 failed, result: 1, error: 3.\n"));
  EXPECT_TRUE(vt::logged("pal_set_recv_msg_storage failed:-1\r\n"));
}

// Classes 0 to 2 under the routes of +CNMI=1,2 with +CSMS=1 and NV
// storage: class 0 handed over and acknowledged by the modem, class 1
// handed over for the application's AT+CNMA, class 2 stored in NV.
TEST_F(SmsPalTest, ClassesGoWhereTheirRoutesSay) {
  start_family();
  ASSERT_EQ(vorn_sms_pal_set_msg_service_config(1, 2, 0, 1), 0);
  ASSERT_EQ(vorn_sms_pal_set_receive_msg_storage(SMS_STORAGE_NV), 0);
  for (const char *dcs : {"10", "11", "12"})
    wms::deliver(unhex(std::string("040C9194511132547600") + dcs + "6211221000000002C834"));
  ASSERT_TRUE(vt::eventually([&] { return events.taken().size() == 3; }));
  const std::vector<vt::Events::Event> got = take_events();
  EXPECT_EQ(got[0].id, E_oem_SMS_EVENT_NEW_ROUTE_MSG);
  EXPECT_EQ(route_message(got[0]).head.ack_indicator, 1u);
  EXPECT_EQ(got[1].id, E_oem_SMS_EVENT_NEW_ROUTE_MSG);
  EXPECT_EQ(route_message(got[1]).head.ack_indicator, 0u);
  EXPECT_TRUE(vt::logged(" wait_for_ack AT+CNMA \n"));
  EXPECT_EQ(got[2].id, E_oem_SMS_EVENT_NEW_STORED_MSG);
  EXPECT_EQ(got[2].data, (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(wms::stored(wms::kNv).size(), 1u);
  EXPECT_EQ(wms::unacknowledged(), 1u) << "class 1 waits for the application";
  EXPECT_EQ(count(QMI_WMS_SEND_ACK_REQ_V01), 0u);
}

}  // namespace
