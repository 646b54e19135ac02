// Slots: switching to the eUICC and back, the dual-SIM setting, card power
// and the UIM configuration bytes.
#include "usim_test.h"

namespace {

using namespace usimt;

constexpr char kRecovery[] = "/nv/item_files/modem/uim/uimdrv/uim_extended_recovery_config";

class UsimSlots : public UsimTest {
 protected:
  void item(const char *path, std::vector<uint8_t> content) {
    ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(path, content.data(), static_cast<uint32_t>(content.size())), 0);
  }
};

// The eUICC's enabled profile becomes the card: its IMSI with a two-digit
// MNC, its UCS-2 SPN kept as the card has it.
TEST_F(UsimSlots, SwitchToTheEuiccAndBack) {
  listen();
  ASSERT_EQ(vorn_usim_pal_switch_slot(1), 0);
  EXPECT_TRUE(vt::logged("switch slot success.\n"));
  auto sent = vornsim::requests(kUim, QMI_UIM_SWITCH_SLOT_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].as<uim_switch_slot_req_msg_v01>().logical_slot, 1u);
  EXPECT_EQ(sent[0].as<uim_switch_slot_req_msg_v01>().physical_slot, 2u);
  EXPECT_EQ(event_ids(), (std::vector<int>{1, 2}));

  usim_state_record state{};
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.slot_info.active_slot_idx, 1);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_READY);
  EXPECT_EQ(text(state.slot_info.slot_urc), "+GTSLOTSTATUS: 0,0,2\r\n+GTSLOTSTATUS: 1,1,2");
  usim_info_record info{};
  ASSERT_EQ(vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_IMSI, &info), 0);
  EXPECT_EQ(text(info.imsi), "234150123456789");
  EXPECT_EQ(text(info.plmn), "23415");
  ASSERT_EQ(vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_SPN, &info), 0);
  EXPECT_EQ(text(info.spn), "\x80");
  ASSERT_EQ(vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_ICCID, &info), 0);
  EXPECT_EQ(text(info.iccid), "8944500101234567895F");

  ASSERT_EQ(vorn_usim_pal_switch_slot(0), 0);
  EXPECT_EQ(card::active_slot(), 0);
  EXPECT_EQ(vorn_usim_pal_switch_slot(0), 0) << "the modem's refusal of no effect is not a failure";
  vornsim::clear_requests();
  EXPECT_EQ(vorn_usim_pal_switch_slot(2), -1);
  EXPECT_TRUE(vt::logged("slot is invalid.\n"));
  EXPECT_EQ(vornsim::requests(kUim).size(), 0u);
  vornsim::fail_next(kUim, QMI_UIM_SWITCH_SLOT_REQ_V01);
  EXPECT_EQ(vorn_usim_pal_switch_slot(1), -1);
  EXPECT_TRUE(vt::logged("Error, switch slot failed.\n"));
  EXPECT_EQ(card::active_slot(), 0);
}

// Power of slot 1 only; a card powered down reports an error and no state.
TEST_F(UsimSlots, CardPower) {
  listen();
  EXPECT_EQ(vorn_usim_pal_power_down_ctrl(0), -1);
  EXPECT_EQ(vorn_usim_pal_power_on_ctrl(2), -1);
  EXPECT_EQ(vornsim::requests(kUim).size(), 0u);
  ASSERT_EQ(vorn_usim_pal_power_down_ctrl(1), 0);
  auto got = events.taken();
  ASSERT_FALSE(got.empty());
  EXPECT_EQ(status_of(got[0]).card_state, UIM_CARD_STATE_ERROR_V01);
  EXPECT_EQ(status_of(got[0]).error_code, 1u);
  usim_state_record state{};
  vorn_usim_pal_get_usim_state(&state);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_ABSENT);
  ASSERT_EQ(vorn_usim_pal_power_on_ctrl(1), 0);
  EXPECT_EQ(vorn_usim_pal_power_on_ctrl(1), 0) << "already on: only the transport counts";
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_state, E_oem_USIM_APP_STATE_READY);
  vornsim::fail_next(kUim, QMI_UIM_POWER_DOWN_REQ_V01);
  EXPECT_EQ(vorn_usim_pal_power_down_ctrl(1), -1);
  auto power = vornsim::requests(kUim, QMI_UIM_POWER_UP_REQ_V01);
  ASSERT_FALSE(power.empty());
  EXPECT_EQ(power[0].as<uim_power_up_req_msg_v01>().slot, 1u);
}

TEST_F(UsimSlots, ConfigurationBytesAndTheDualSimSetting) {
  item(kHwConfig, {0, 1, 2, 3, 4, 5, 6, 0x01, 0x05, 9});
  item(kRecovery, {0, 0x01});
  uint8_t value = 0xEE;
  EXPECT_EQ(vorn_usim_pal_diag_read_nv(0, &value), 0);
  EXPECT_EQ(value, 0x05);
  EXPECT_EQ(vorn_usim_pal_diag_read_nv(1, &value), 0);
  EXPECT_EQ(value, 0x01);
  EXPECT_EQ(vorn_usim_pal_diag_read_nv(2, &value), 0);
  EXPECT_EQ(value, 0x01);
  EXPECT_TRUE(vt::logged("read nv[00010203040506010509] len[20]\r\n"));
  EXPECT_EQ(vorn_usim_pal_diag_read_nv(3, &value), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_usim_pal_diag_read_nv(4, &value), -1);
  EXPECT_TRUE(vt::logged("Parameter is error!\n"));
  EXPECT_EQ(vorn_usim_pal_convert_nv_to_binary("/nv/item_files/none", 0, &value), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("read nv fail."));

  struct Row {
    uint8_t item;
    int enabled;
  };
  for (Row row : {Row{2, 1}, Row{1, 0}, Row{3, 3}, Row{1, 0}}) {
    item(kSlotMapping, {0, row.item});
    ASSERT_EQ(vorn_usim_pal_init(), 0);
    int enabled = -1;
    EXPECT_EQ(vorn_usim_pal_get_dualsim_en(&enabled), 0);
    EXPECT_EQ(enabled, row.enabled) << "item value " << int(row.item);
  }
  vornsim::reset();
  ASSERT_EQ(vorn_usim_pal_init(), 0);
  int enabled = -1;
  vorn_usim_pal_get_dualsim_en(&enabled);
  EXPECT_EQ(enabled, 0) << "an unreadable item leaves the setting as it was";
  EXPECT_TRUE(vt::logged("read dual sim nv fail."));
}

// In dual SIM a failed switch still names the slot for the next requests.
TEST_F(UsimSlots, AFailedSwitchStillChoosesTheSlot) {
  item(kSlotMapping, {0, 2});
  card::set_dual_sim(true);
  ASSERT_EQ(vorn_usim_pal_init(), 0);
  ASSERT_EQ(vorn_usim_pal_switch_slot(0), 0);
  vornsim::fail_next(kUim, QMI_UIM_SWITCH_SLOT_REQ_V01);
  EXPECT_EQ(vorn_usim_pal_switch_slot(1), -1);
  usim_state_record state{};
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(text(state.slot_info.slot_urc), "+GTSLOTSTATUS: 0,1,2\r\n+GTSLOTSTATUS: 1,1,2");
  EXPECT_EQ(state.slot_info.active_slot_idx, 1) << "both active, slot 1 present";
  EXPECT_TRUE(vt::logged("Dual sim standby,use the chosen sim slot[1].\n"));
  item(kSlotMapping, {0, 1});
  ASSERT_EQ(vorn_usim_pal_init(), 0);
}

}  // namespace
