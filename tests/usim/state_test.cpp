// Card and slot state: the query, the slot report with its status line,
// and the events of insertion, removal and card errors.
#include "usim_test.h"

namespace {

using namespace usimt;

class UsimState : public UsimTest {};

TEST_F(UsimState, ReadyUsimInSlotZero) {
  usim_state_record state{};
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_READY);
  EXPECT_EQ(state.card_type, UIM_APP_TYPE_USIM_V01);
  EXPECT_EQ(state.slot_info.slot_num, 2);
  EXPECT_EQ(state.slot_info.active_slot_idx, 0);
  EXPECT_EQ(text(state.slot_info.slots[0].iccid), "89490200001234567890");
  EXPECT_EQ(text(state.slot_info.slots[1].iccid), "8944500101234567895F") << "the profile's filler shows as F";
  EXPECT_EQ(text(state.slot_info.slot_urc), "+GTSLOTSTATUS: 0,1,2\r\n+GTSLOTSTATUS: 1,0,2");
  EXPECT_EQ(state.pinlock.pin_state, UIM_PIN_STATE_DISABLED_V01);
  EXPECT_EQ(state.pinlock.pin_remain_times, 3);
  EXPECT_EQ(state.pinlock.puk_remain_times, 10);

  char line[64] = {};
  ASSERT_EQ(vorn_get_slot_status(line, sizeof line), 0);
  EXPECT_STREQ(line, "+GTSLOTSTATUS: 0,1,2\r\n+GTSLOTSTATUS: 1,0,2");
  EXPECT_EQ(vorn_usim_pal_get_usim_state(nullptr), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("Error,invalid pointer.\n"));
}

// The slot report of the modem as the family reads it; the table's rows
// are the modem's answers to message 71.
TEST_F(UsimState, SlotReportCalibratesTheActiveSlot) {
  struct Row {
    std::vector<std::pair<uint32_t, uint32_t>> slots;  // state, card status
    int slot_num;
    int active;
    const char *urc;
  };
  const Row rows[] = {
      {{{1, 2}, {1, 2}}, 2, 1, "+GTSLOTSTATUS: 0,1,2\r\n+GTSLOTSTATUS: 1,1,2"},
      {{{1, 1}, {1, 1}}, 2, 0, "+GTSLOTSTATUS: 0,1,1\r\n+GTSLOTSTATUS: 1,1,1"},
      {{{1, 2}}, 1, 0, "+GTSLOTSTATUS: 0,1,2\r\n+GTSLOTSTATUS: 1,0,0"},
      {{{0, 2}, {0, 2}, {1, 2}}, 2, 0, "+GTSLOTSTATUS: 0,0,2\r\n+GTSLOTSTATUS: 1,0,2"},
      {{{0, 1}, {1, 2}}, 2, 1, "+GTSLOTSTATUS: 0,0,1\r\n+GTSLOTSTATUS: 1,1,2"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.urc);
    vt::answer<usim::GetSlotsStatus>(kUim, [&row](auto &resp) {
      resp.slot_status_valid = 1;
      resp.slot_status_len = static_cast<uint32_t>(row.slots.size());
      for (size_t i = 0; i < row.slots.size(); ++i) {
        resp.slot_status[i].physical_slot_state = row.slots[i].first;
        resp.slot_status[i].physical_card_status = row.slots[i].second;
      }
    });
    usim_state_record state{};
    EXPECT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
    EXPECT_EQ(state.slot_info.slot_num, row.slot_num);
    EXPECT_EQ(state.slot_info.active_slot_idx, row.active);
    EXPECT_EQ(text(state.slot_info.slot_urc), row.urc);
  }
  EXPECT_GT(vt::count_logged("Calibrate active_slot_idx\n"), 0);
}

// Application state 6 is ready through the query, 6 through the event; a
// card without a SIM or USIM application fails the query and the event
// reports its first record.
TEST_F(UsimState, ApplicationStatesByQueryAndByEvent) {
  listen();
  auto card_with = [](uint32_t type, uint32_t app_state) {
    uim_status_change_ind_msg_v01 ind{};
    ind.card_status_valid = 1;
    ind.card_status.card_info_len = 1;
    ind.card_status.card_info[0].card_state = UIM_CARD_STATE_PRESENT_V01;
    ind.card_status.card_info[0].app_info_len = 1;
    ind.card_status.card_info[0].app_info[0].app_type = type;
    ind.card_status.card_info[0].app_info[0].app_state = app_state;
    return ind;
  };
  const auto illegal = card_with(UIM_APP_TYPE_USIM_V01, UIM_APP_STATE_ILLEGAL_V01);
  vt::answer<usim::GetCardStatus>(kUim, [&illegal](auto &resp) {
    resp.card_status_valid = 1;
    resp.card_status = illegal.card_status;
  });
  usim_state_record state{};
  EXPECT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_READY);
  vornsim::indicate(kUim, QMI_UIM_STATUS_CHANGE_IND_V01, illegal);
  const auto isim_only = card_with(UIM_APP_TYPE_ISIM_V01, UIM_APP_STATE_DETECTED_V01);
  vornsim::indicate(kUim, QMI_UIM_STATUS_CHANGE_IND_V01, isim_only);
  auto got = events.taken();
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(status_of(got[0]).usim_state, UIM_APP_STATE_ILLEGAL_V01);
  EXPECT_EQ(status_of(got[1]).usim_state, UIM_APP_STATE_DETECTED_V01);
  EXPECT_EQ(got[1].size, 12);
  EXPECT_TRUE(got[0].on_modem_thread);

  vt::answer<usim::GetCardStatus>(kUim, [&isim_only](auto &resp) {
    resp.card_status_valid = 1;
    resp.card_status = isim_only.card_status;
  });
  EXPECT_EQ(vorn_usim_pal_get_usim_state(&state), -1);
  EXPECT_TRUE(vt::logged("Error, app_num is invaild :-1\n"));
}

// Registering while the card is ready tells every callback at once, on the
// registering thread; an unknown callback unregisters with 0.
TEST_F(UsimState, RegisteringWhileReadyRaisesTheStatusToAll) {
  Events other;
  ASSERT_EQ(vorn_usim_pal_event_register(Events::record, &events), 0);
  ++registrations_;
  EXPECT_EQ(events.taken().size(), 1u);
  ASSERT_EQ(vorn_usim_pal_event_register(Events::record, &other), 0);
  ++registrations_;
  auto first = events.taken();
  auto second = other.taken();
  ASSERT_EQ(first.size(), 2u) << "told again when the second registered";
  ASSERT_EQ(second.size(), 1u);
  EXPECT_EQ(second[0].id, E_oem_USIM_EVENT_USIM_STATUS_CHANGE);
  EXPECT_EQ(status_of(second[0]).usim_state, 7u);
  EXPECT_EQ(status_of(second[0]).card_state, 0u);
  EXPECT_EQ(second[0].thread, std::this_thread::get_id());

  auto unknown = [](int, void *, int, void *) {};
  EXPECT_EQ(vorn_usim_pal_event_unregister(unknown), 0);
  EXPECT_EQ(vorn_usim_pal_event_unregister(nullptr), -1);
  EXPECT_EQ(vorn_usim_pal_event_register(nullptr, nullptr), VORN_INVALID_PARAM);
  vornsim::indicate(kUim, 0x99, uim_placeholder_req_msg_v01{});
  EXPECT_EQ(events.taken().size(), 2u);
  EXPECT_TRUE(vt::logged("Info, unknown the indication msg_id: 153.\n"));
}

// Removal, an error and reinsertion: the events in order, each query
// answering the card as it stands, nothing stale afterwards.
TEST_F(UsimState, RemovalErrorAndReinsertion) {
  listen();
  card::remove_card(card::kUsimSlot);
  usim_state_record state{};
  EXPECT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_ABSENT);
  EXPECT_EQ(state.pinlock.pin_state, UIM_PIN_STATE_UNKNOWN_V01) << "a card without applications";
  EXPECT_EQ(state.slot_info.slots[0].physical_card_status, UIM_PHYSICAL_CARD_STATE_ABSENT_V01);
  char imsi[16] = {};
  EXPECT_EQ(vorn_usim_pal_get_imsi(imsi, 15), -1);

  card::insert_card(card::kUsimSlot);
  card::card_error(card::kUsimSlot, 3);
  card::insert_card(card::kUsimSlot);
  auto got = events.taken();
  std::vector<std::pair<int, uint32_t>> seen;
  for (const auto &event : got)
    seen.emplace_back(event.id, event.id == 1 ? status_of(event).card_state : 0u);
  const std::vector<std::pair<int, uint32_t>> expected = {
      {1, UIM_CARD_STATE_ABSENT_V01}, {2, 0}, {1, UIM_CARD_STATE_PRESENT_V01}, {2, 0},
      {1, UIM_CARD_STATE_ERROR_V01}, {1, UIM_CARD_STATE_PRESENT_V01}, {2, 0}};
  EXPECT_EQ(seen, expected);
  for (const auto &event : got) EXPECT_TRUE(event.on_modem_thread);
  usim_slot_record slots{};
  ASSERT_EQ(got[1].data.size(), sizeof slots);
  std::memcpy(&slots, got[1].data.data(), sizeof slots);
  EXPECT_EQ(slots.slots[0].physical_card_status, UIM_PHYSICAL_CARD_STATE_ABSENT_V01);
  EXPECT_EQ(status_of(got[4]).error_code, 3u);

  ASSERT_EQ(vorn_usim_pal_get_imsi(imsi, 15), 0);
  EXPECT_STREQ(imsi, card::kImsi);
  EXPECT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_READY);
}

// A report the modem cut short or left invalid: logged, nothing raised,
// the query fails cleanly.
TEST_F(UsimState, ShortAndInvalidReports) {
  listen();
  uim_status_change_ind_msg_v01 invalid{};
  vornsim::indicate(kUim, QMI_UIM_STATUS_CHANGE_IND_V01, invalid);
  uim_slot_status_change_ind_msg_v01 no_slots{};
  vornsim::indicate(kUim, QMI_UIM_SLOT_STATUS_CHANGE_IND_V01, no_slots);
  no_slots.slot_status_valid = 1;
  vornsim::indicate(kUim, QMI_UIM_SLOT_STATUS_CHANGE_IND_V01, no_slots);
  vornsim::drain();
  vornsim::set_decode_fault(kUim, QMI_UIM_STATUS_CHANGE_IND_V01, -1);
  card::remove_card(card::kUsimSlot);
  EXPECT_TRUE(eventually([] { return vt::logged("UIM status change ind decode failed err :-1\n"); }));
  auto got = events.taken();
  ASSERT_EQ(got.size(), 1u) << "only the slot report of the removal";
  EXPECT_EQ(got[0].id, E_oem_USIM_EVENT_SLOT_STATUS_CHANGE);
  EXPECT_TRUE(vt::logged("Card status invalid.\n"));
  EXPECT_TRUE(vt::logged("Slot status invalid.\n"));
  EXPECT_TRUE(vt::logged("UIM process slot status invalid parameter.\n"));
  EXPECT_TRUE(vt::logged("UIM proc slot status failed, error: 3.\n"));

  // A card status answer shorter than its message: without the report the
  // query fails, and so it does when the answer cannot be decoded at all.
  for (int rc : {0, QMI_IDL_LIB_MISSING_TLV}) {
    SCOPED_TRACE(rc);
    vornsim::clear_diag();
    vornsim::on(kUim, QMI_UIM_GET_CARD_STATUS_REQ_V01, [rc](const vornsim::Request &, void *resp, size_t len) {
      std::memset(resp, 0, len < 12 ? len : 12);
      return rc;
    });
    usim_state_record state{};
    EXPECT_EQ(vorn_usim_pal_get_usim_state(&state), -1);
    EXPECT_TRUE(vt::logged("Error, decode card info.\n"));
    EXPECT_TRUE(vt::logged("Error, uim get card status.\n"));
    EXPECT_TRUE(vt::logged("Error,fail to get pinlock info!\n")) << "the PIN part is tried all the same";
  }
}

// The client lives for the process: a later init finds it, even without
// the service's object, and only a transport failure of the event
// registration fails it.
TEST_F(UsimState, LaterInitsFindTheClient) {
  vornsim::set_service_object_missing(kUim, true);
  EXPECT_EQ(vorn_usim_pal_init(), 0);
  auto texts = vt::diag_texts();
  EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [](const std::string &text) {
    return text.rfind("UIM client already initialized. Handle ", 0) == 0;
  }));
  vornsim::set_service_object_missing(kUim, false);
  vornsim::fail_next(kUim, QMI_UIM_EVENT_REG_REQ_V01);
  EXPECT_EQ(vorn_usim_pal_init(), -1);
  EXPECT_TRUE(vt::logged("UIM qmi event register failed, error code: -3.\n"));
  EXPECT_EQ(vorn_usim_pal_init(), 0);
  EXPECT_NE(vt::read_file("/dev/kmsg").find("oem:usim qmi inited OK"), std::string::npos);
  EXPECT_EQ(vorn_usim_pal_deinit(), 0);
  EXPECT_EQ(oem_get_sim_status(), 0);
  EXPECT_EQ(oem_usim_pal_eid_get(), 0);
  EXPECT_EQ(oem_sende_at_cmd(), 0);
}

}  // namespace
