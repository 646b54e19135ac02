// PIN and PUK: the card's counters from wrong PINs down to blocked and
// permanently blocked, the PUK with a new PIN, the events of each step, the
// forms refused before anything is sent, and the session by slot.
#include "usim_test.h"

namespace {

using namespace usimt;


class UsimPin : public UsimTest {
 protected:
  usim_pinlock_info pin_info() {
    usim_pinlock_info info{};
    EXPECT_EQ(vorn_usim_pal_get_pinlock_info(&info), 0);
    return info;
  }
  // The application states that the status events carried, in order.
  std::vector<uint32_t> reported_states() {
    std::vector<uint32_t> states;
    for (const auto &event : events.taken())
      if (event.id == E_oem_USIM_EVENT_USIM_STATUS_CHANGE) states.push_back(status_of(event).usim_state);
    forget_events();
    return states;
  }
  // Dual SIM as the modem's slot mapping item says, read by init.
  static void dual_sim(bool on) {
    const uint8_t mapping[] = {0, static_cast<uint8_t>(on ? 2 : 1)};
    ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(kSlotMapping, mapping, sizeof mapping), 0);
    card::set_dual_sim(on);
    ASSERT_EQ(vorn_usim_pal_init(), 0);
  }
};

TEST_F(UsimPin, WrongPinsBlockAndThePukUnblocks) {
  listen();
  card::set_pin_required(card::kUsimSlot, true);
  EXPECT_EQ(reported_states(), (std::vector<uint32_t>{UIM_APP_STATE_PIN1_OR_UPIN_REQ_V01}));
  usim_state_record state{};
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_PIN);
  EXPECT_EQ(state.pinlock.pin_state, UIM_PIN_STATE_ENABLED_NOT_VERIFIED_V01);

  for (int left = 2; left >= 0; --left) {
    SCOPED_TRACE(left);
    EXPECT_EQ(vorn_usim_pal_unlock_pin("0000"), -1);
    EXPECT_EQ(pin_info().pin_remain_times, left);
  }
  EXPECT_TRUE(vt::logged("Error, verify pin(error code:12).\n"));
  EXPECT_EQ(reported_states(), (std::vector<uint32_t>{2, 2, 3}));
  usim_pinlock_info info = pin_info();
  EXPECT_EQ(info.pin_state, UIM_PIN_STATE_BLOCKED_V01);
  EXPECT_EQ(info.puk_remain_times, 10);
  EXPECT_EQ(vorn_usim_pal_unlock_pin(card::kPin), -1) << "blocked: the right PIN no longer helps";
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_PUK);

  EXPECT_EQ(vorn_usim_pal_unlock_puk("87654321", "4321"), -1);
  EXPECT_EQ(pin_info().puk_remain_times, 9);
  EXPECT_TRUE(vt::logged("Error, unblock pin(qmi_error:0, result:1, error:0xc).\n"));
  ASSERT_EQ(vorn_usim_pal_unlock_puk(card::kPuk, "4321"), 0);
  info = pin_info();
  EXPECT_EQ(info.pin_state, UIM_PIN_STATE_ENABLED_VERIFIED_V01);
  EXPECT_EQ(info.pin_remain_times, 3);
  EXPECT_EQ(info.puk_remain_times, 10);
  EXPECT_EQ(card::pin(card::kUsimSlot).pin, "4321");
  auto last = reported_states();
  ASSERT_FALSE(last.empty());
  EXPECT_EQ(last.back(), UIM_APP_STATE_READY_V01);

  // The new PIN is the PIN now: change it, switch the request off and on.
  EXPECT_EQ(vorn_usim_pal_modify_pin_code("4321", "2468"), 0);
  EXPECT_EQ(vorn_usim_pal_modify_pin_code("4321", "1357"), -1);
  EXPECT_TRUE(vt::logged("Error, verify pin(error code:0),response.error 12.\n"));
  EXPECT_EQ(vorn_usim_pal_modify_pin_code("2468", "12ab"), -1) << "the card judges the new PIN's form";
  EXPECT_EQ(vorn_usim_pal_pinlock_change(2, "2468"), 0);
  EXPECT_EQ(pin_info().pin_state, UIM_PIN_STATE_DISABLED_V01);
  EXPECT_EQ(vorn_usim_pal_pinlock_change(1, "2468"), 0);
  EXPECT_EQ(pin_info().pin_state, UIM_PIN_STATE_ENABLED_VERIFIED_V01);
  EXPECT_EQ(vorn_usim_pal_pinlock_change(1, "2468"), -1) << "already on";
  EXPECT_TRUE(vt::logged("Error, set pin protection(qmi_error:0, result:1, error:0x1a).\n"));
}

TEST_F(UsimPin, TenWrongPuksBlockForGood) {
  listen();
  card::set_pin_required(card::kUsimSlot, true);
  for (int i = 0; i < 3; ++i) vorn_usim_pal_unlock_pin("9999");
  for (int i = 0; i < 10; ++i) EXPECT_EQ(vorn_usim_pal_unlock_puk("00000000", "1111"), -1);
  usim_pinlock_info info = pin_info();
  EXPECT_EQ(info.pin_state, UIM_PIN_STATE_PERMANENTLY_BLOCKED_V01);
  EXPECT_EQ(info.puk_remain_times, 0);
  auto states = reported_states();
  ASSERT_EQ(states.size(), 14u);
  EXPECT_EQ(states.back(), UIM_APP_STATE_PIN1_PERM_BLOCKED_V01);
  usim_state_record state{};
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_BLOCKED);
  EXPECT_EQ(vorn_usim_pal_unlock_puk(card::kPuk, "1111"), -1);
  EXPECT_EQ(reported_states(), std::vector<uint32_t>{}) << "a refused card reports nothing new";
}

// Forms refused before anything reaches the modem.
TEST_F(UsimPin, BadFormsAreRefusedUnsent) {
  struct Row {
    const char *pin;
    const char *puk;  // null: a PIN verification
    const char *log;
  };
  const Row rows[] = {
      {"123", nullptr, "Error, pin code length is incorrect: 3\n"},
      {"123456789", nullptr, "Error, pin code length is incorrect: 9\n"},
      {"12a4", nullptr, "Error, pin code include special symbol\n"},
      {"12 4", nullptr, "Error, pin code include special symbol\n"},
      {"1234", "123456789", "Error, puk code length is incorrect: 9\n"},
      {"1234", "", "Error, puk code include special symbol\n"},
      {"1234", "1234567x", "Error, puk code include special symbol\n"},
      {"123", "12345678", "Error, new pin code length is incorrect: 3\n"},
      {"12b45", "12345678", "Error, new pin code include special symbol\n"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.log);
    vornsim::clear_diag();
    int rc = row.puk == nullptr ? vorn_usim_pal_unlock_pin(row.pin) : vorn_usim_pal_unlock_puk(row.puk, row.pin);
    EXPECT_EQ(rc, VORN_INVALID_PARAM);
    EXPECT_TRUE(vt::logged(row.log));
  }
  EXPECT_EQ(vorn_usim_pal_unlock_pin(nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_usim_pal_unlock_puk(nullptr, "1234"), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_usim_pal_pinlock_change(1, nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_usim_pal_modify_pin_code("1234", nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_usim_pal_get_pinlock_info(nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vornsim::requests(kUim).size(), 0u);

  // A PUK of 8 digits with a PIN of 4 passes the checks and is sent.
  EXPECT_EQ(vorn_usim_pal_unlock_puk("87654321", "4321"), -1);
  auto sent = vornsim::requests(kUim, QMI_UIM_UNBLOCK_PIN_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  auto req = sent[0].as<uim_unblock_pin_req_msg_v01>();
  EXPECT_EQ(req.unblock_pin.pin_id, 1u);
  EXPECT_EQ(req.unblock_pin.puk_value_len, 8u);
  EXPECT_EQ(std::string(req.unblock_pin.new_pin_value, req.unblock_pin.new_pin_value_len), "4321");
}

TEST_F(UsimPin, PinValuesBeyondTheRequestAbort) {
  VT_NEEDS_FRESH_PROCESS();
  EXPECT_DEATH(vorn_usim_pal_pinlock_change(1, std::string(24, '1').c_str()), "buffer overflow detected");
  EXPECT_DEATH(vorn_usim_pal_modify_pin_code(std::string(36, '1').c_str(), "1234"), "buffer overflow detected");
}

// Dual SIM with slot 1 in use: its PIN goes to the secondary session.
TEST_F(UsimPin, SessionBySlotAndDualSim) {
  dual_sim(true);
  int enabled = -1;
  EXPECT_EQ(vorn_usim_pal_get_dualsim_en(&enabled), 0);
  EXPECT_EQ(enabled, 1);
  ASSERT_EQ(vorn_usim_pal_switch_slot(1), 0);
  vornsim::clear_requests();
  EXPECT_EQ(vorn_usim_pal_unlock_pin("1234"), 0);
  auto sent = vornsim::requests(kUim, QMI_UIM_VERIFY_PIN_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].as<uim_verify_pin_req_msg_v01>().session_information.session_type,
            static_cast<uint32_t>(UIM_SESSION_TYPE_SECONDARY_GW_V01));
  EXPECT_TRUE(vt::logged("Dual sim standby,use the chosen sim slot[1].\n"));
  EXPECT_TRUE(vt::logged("session type = 2.\n"));

  dual_sim(false);
  EXPECT_EQ(vorn_usim_pal_get_dualsim_en(&enabled), 0);
  EXPECT_EQ(enabled, 0);
  vornsim::clear_requests();
  EXPECT_EQ(vorn_usim_pal_unlock_pin("1234"), 0);
  sent = vornsim::requests(kUim, QMI_UIM_VERIFY_PIN_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].as<uim_verify_pin_req_msg_v01>().session_information.session_type, 0u);
}

}  // namespace
