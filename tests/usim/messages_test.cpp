// Every UIM request of the family reaches the modem as the family's
// message table describes it, with the sizes and time-outs of the service.
#include "message_rows.h"
#include "usim_test.h"

namespace {

using namespace usimt;
using vt::row;


// Calls that succeed on a plain answer (result 0, the rest zero).
const std::vector<vt::MessageRow> kPlainRows = {
    row<usim::EventReg>("init", [] { return vorn_usim_pal_init(); }, 4, 16, 3000, false),
    row<usim::VerifyPin>("unlock_pin", [] { return vorn_usim_pal_unlock_pin("1234"); }, 336, 284, 3000, false),
    row<usim::UnblockPin>("unlock_puk", [] { return vorn_usim_pal_unlock_puk("12345678", "1234"); }, 84, 284, 3000, false),
    row<usim::ChangePin>("modify_pin_code", [] { return vorn_usim_pal_modify_pin_code("1234", "4321"); }, 84, 284, 3000, false),
    row<usim::SetPinProtection>("pinlock_change", [] { return vorn_usim_pal_pinlock_change(1, "1234"); }, 76, 284, 3000, false),
    row<usim::LogicalChannel>("close_channel", [] { return vorn_usim_pal_close_channel(1); }, 56, 1304, 1000),
    row<usim::SwitchSlot>("switch_slot", [] { return vorn_usim_pal_switch_slot(0); }, 8, 8, 3000),
    row<usim::PowerDown>("power_down_ctrl", [] { return vorn_usim_pal_power_down_ctrl(1); }, 4, 8, 1000),
    row<usim::PowerUp>("power_on_ctrl", [] { return vorn_usim_pal_power_on_ctrl(1); }, 12, 8, 1000),
    row<usim::SetSimProfile>("enable_profile", [] { return vorn_esim_pal_enable_profile(2, 1); }, 12, 8, 5000),
    row<usim::DeleteProfile>("delete_profile", [] { return vorn_esim_pal_delete_profile(2, 2); }, 8, 8, 5000),
    row<usim::EuiccMemoryReset>("euicc_memory_reset", [] { return vorn_esim_pal_euicc_memory_reset(2); }, 16, 8, 5000),
    row<usim::AddProfile>("add_profile", [] { return vorn_esim_pal_add_profile(2, "1$a$b", nullptr); }, 532, 8, 5000),
    row<usim::UpdateProfileNickname>("update_profile_nickname", [] { return vorn_esim_pal_update_profile_nickname(2, 1, "n"); }, 80, 8, 5000),
    row<usim::EuiccDefaultServerAddress>("set_euicc_default_server_address", [] { return vorn_esim_pal_set_euicc_default_server_address(2, "a"); }, 268, 532, 5000),
};

// Calls that need a part of the answer marked valid.
struct AnsweredRow {
  const char *function;
  std::function<int()> call;
  unsigned id;
  size_t request_size;
  size_t response_size;
  unsigned timeout_ms;
  size_t valid_offset;  // the byte that marks the answer's content valid
  size_t count_offset = 0;  // a 32-bit count set to 1, when not 0
};

const AnsweredRow kAnsweredRows[] = {
    {"get_slot_status", [] { return vorn_get_slot_status(scratch_text, 64); }, QMI_UIM_GET_SLOTS_STATUS_REQ_V01, 1, 560, 3000,
     offsetof(uim_get_slots_status_resp_msg_v01, slot_status_valid),
     offsetof(uim_get_slots_status_resp_msg_v01, slot_status_len)},
    {"get_imsi", [] { return vorn_usim_pal_get_imsi(scratch_text, 15); }, QMI_UIM_READ_TRANSPARENT_REQ_V01, 76, 6224, 3000,
     offsetof(uim_read_transparent_resp_msg_v01, read_result_valid)},
    {"open_channel", [] { uint32_t id; return vorn_usim_pal_open_channel("F0564F524E0001", &id); },
     QMI_UIM_OPEN_LOGICAL_CHANNEL_REQ_V01, 52, 1304, 1000, offsetof(uim_open_logical_channel_resp_msg_v01, channel_id_valid)},
    {"send_apdu", [] { return vorn_usim_pal_send_apdu(1, "80F20000", 8, scratch_text, 64); }, QMI_UIM_SEND_APDU_REQ_V01, 1056,
     1052, 10000, offsetof(uim_send_apdu_resp_msg_v01, apdu_valid)},
    {"get_profile_list", [] { esim_profile_entry list[8]; int n; return vorn_esim_pal_get_profile_list(2, 8, list, &n); },
     QMI_UIM_GET_SIM_PROFILE_REQ_V01, 4, 92, 5000, offsetof(uim_get_sim_profile_resp_msg_v01, profile_info_valid)},
    {"get_eid", [] { scratch_text[0] = '\0'; return vorn_esim_pal_get_eid(scratch_text, 64, 2); }, QMI_UIM_GET_EID_REQ_V01, 4, 32, 5000,
     offsetof(uim_get_eid_resp_msg_v01, eid_value_valid)},
    {"get_euicc_default_server_address", [] { return vorn_esim_pal_get_euicc_default_server_address(2, scratch_text, 64); },
     QMI_UIM_EUICC_DEFAULT_SERVER_ADDRESS_REQ_V01, 268, 532, 5000,
     offsetof(uim_euicc_default_server_address_resp_msg_v01, default_smdp_address_valid)},
};

class UsimMessages : public UsimTest {};

TEST_F(UsimMessages, EachRequestHasItsIdSizesAndTimeout) {
  vt::expect_messages(kUim, kPlainRows);
  for (const AnsweredRow &r : kAnsweredRows) {
    SCOPED_TRACE(r.function);
    vornsim::reset();
    ASSERT_EQ(vorn_usim_pal_init(), 0);
    vornsim::clear_requests();
    size_t response_size = 0;
    vornsim::on(kUim, r.id, [&](const vornsim::Request &, void *resp, size_t len) {
      response_size = len;
      if (r.valid_offset < len) static_cast<uint8_t *>(resp)[r.valid_offset] = 1;
      const uint32_t one = 1;
      if (r.count_offset != 0) std::memcpy(static_cast<uint8_t *>(resp) + r.count_offset, &one, sizeof one);
      return 0;
    });
    EXPECT_EQ(r.call(), 0);
    auto sent = vornsim::requests(kUim, r.id);
    ASSERT_GE(sent.size(), 1u);
    EXPECT_EQ(sent[0].bytes.size(), r.request_size);
    EXPECT_EQ(sent[0].timeout_ms, r.timeout_ms);
    EXPECT_EQ(response_size, r.response_size);
  }
  // The card status has no request and a response of 10616 bytes.
  vornsim::reset();
  vornsim::clear_requests();
  usim_pinlock_info info{};
  vorn_usim_pal_get_pinlock_info(&info);
  auto sent = vornsim::requests(kUim, QMI_UIM_GET_CARD_STATUS_REQ_V01);
  ASSERT_FALSE(sent.empty());
  EXPECT_EQ(sent[0].bytes.size(), 0u);
  EXPECT_EQ(sent[0].timeout_ms, 3000u);
  static_assert(sizeof(usim::GetCardStatus::Resp) == 10616);
}

}  // namespace
