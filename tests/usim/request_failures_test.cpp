// Every exported function of the family that sends a request, with each of
// its requests failing in turn (in the transport, then refused): the
// documented result, no client left behind, the modem's store as it was
// where the call is one step, and a family that works again once the modem
// does.
#include "request_failures.h"
#include "usim_test.h"

namespace {

using namespace usimt;
using vt::FailureCase;
using vt::MessageResult;

constexpr vornsim::Svc kM2m = vornsim::Svc::M2M;

usim_state_record state;
usim_pinlock_info pinlock;
usim_info_record info;
esim_profile_entry profiles[8];
esim_profile_info profile;
int count_out;
uint32_t channel;

vt::FailureFamily family() {
  vt::FailureFamily family;
  family.fresh = [] {
    vornsim::reset();
    ASSERT_EQ(vorn_usim_pal_init(), 0);
    ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  };
  return family;
}

void open_channel() { ASSERT_EQ(vorn_usim_pal_open_channel(vornsim::uim::kTestAppletAid, &channel), 0); }
void pin_required() { vornsim::uim::set_pin_required(vornsim::uim::kUsimSlot, true); }
void powered_down() { ASSERT_EQ(vorn_usim_pal_power_down_ctrl(1), 0); }
void hw_config() {
  const uint8_t bytes[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(kHwConfig, bytes, sizeof bytes), 0);
}
void ignore(int, void *, int, void *) {}
int register_once() {
  int rc = vorn_usim_pal_event_register(ignore, nullptr);
  vorn_usim_pal_event_unregister(ignore);
  return rc;
}

constexpr unsigned kCardStatus = QMI_UIM_GET_CARD_STATUS_REQ_V01;
constexpr unsigned kSlots = QMI_UIM_GET_SLOTS_STATUS_REQ_V01;
constexpr unsigned kTransparent = QMI_UIM_READ_TRANSPARENT_REQ_V01;
constexpr int kRefusedAsInternal = vornsim::kInternalError;

// The active slot's look at the card status never decides anything.
const std::vector<MessageResult> kActiveSlotSteps = {{kUim, kCardStatus, 0, 0, 0}};

const FailureCase kCases[] = {
    // Only the transport's answer to the event registration counts; the
    // dual-SIM setting that cannot be read is only logged.
    {"vorn_usim_pal_init", [] { return vorn_usim_pal_init(); }, 0, 0, true, {{kUim, QMI_UIM_EVENT_REG_REQ_V01, -1, 0}}},
    {"vorn_usim_pal_event_register", register_once, 0, 0},
    {"vorn_usim_pal_get_usim_state", [] { return vorn_usim_pal_get_usim_state(&state); }, -1, -1, true,
     {{kUim, kCardStatus, 0, 0, 0}, {kUim, kCardStatus, 0, 0, 2}, {kUim, kSlots, 0, 0, 2}}},
    {"vorn_get_slot_status", [] { return vorn_get_slot_status(scratch_text, 64); }, -1, -1},
    {"vorn_usim_pal_get_usim_info", [] { return vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_IMSI, &info); }, -1, -1,
     true, {{kUim, kTransparent, 0, 0, 0}}},
    {"vorn_usim_pal_get_imsi", [] { return vorn_usim_pal_get_imsi(scratch_text, 15); }, -1, -1},
    // Without the card's number AT+CNUM has nothing to say, and says so with 0.
    {"oem_usim_pal_cnum_get", [] { return oem_usim_pal_cnum_get(scratch_text); }, 0, 0},
    {"vorn_usim_pal_get_pinlock_info", [] { return vorn_usim_pal_get_pinlock_info(&pinlock); }, -1, -1, true,
     {{kUim, kCardStatus, 0, 0, 0}, {kUim, kSlots, 0, 0, 0}}},
    // A PIN operation goes on with slot 0 when the active slot is unknown.
    {"vorn_usim_pal_unlock_pin", [] { return vorn_usim_pal_unlock_pin("1234"); }, 0, 0, false,
     {{kUim, QMI_UIM_VERIFY_PIN_REQ_V01, -1, -1}}, pin_required},
    {"vorn_usim_pal_unlock_puk", [] { return vorn_usim_pal_unlock_puk("12345678", "4321"); }, 0, 0, false,
     {{kUim, QMI_UIM_UNBLOCK_PIN_REQ_V01, -1, -1}}},
    {"vorn_usim_pal_pinlock_change", [] { return vorn_usim_pal_pinlock_change(1, "1234"); }, 0, 0, false,
     {{kUim, QMI_UIM_SET_PIN_PROTECTION_REQ_V01, -1, -1}}},
    {"vorn_usim_pal_modify_pin_code", [] { return vorn_usim_pal_modify_pin_code("1234", "4321"); }, 0, 0, false,
     {{kUim, QMI_UIM_CHANGE_PIN_REQ_V01, -1, -1}}, pin_required},
    {"vorn_usim_pal_open_channel", [] { return vorn_usim_pal_open_channel("F0564F524E0001", &channel); }, -1, -1},
    {"vorn_usim_pal_close_channel", [] { return vorn_usim_pal_close_channel(channel); }, -1, -1, true, {}, open_channel},
    {"vorn_usim_pal_send_apdu", [] { return vorn_usim_pal_send_apdu(static_cast<int>(channel), "00A4040007F0564F524E0001", 24, scratch_text, 100); },
     -1, -1, true, {}, open_channel},
    // The switch and the card's power count the transport only.
    {"vorn_usim_pal_switch_slot", [] { return vorn_usim_pal_switch_slot(1); }, -1, 0},
    {"vorn_usim_pal_power_down_ctrl", [] { return vorn_usim_pal_power_down_ctrl(1); }, -1, 0},
    {"vorn_usim_pal_power_on_ctrl", [] { return vorn_usim_pal_power_on_ctrl(1); }, -1, 0, true, {}, powered_down},
    {"vorn_usim_pal_diag_read_nv", [] { uint8_t b; return vorn_usim_pal_diag_read_nv(0, &b); }, VORN_INVALID_PARAM,
     VORN_INVALID_PARAM, true, {}, hw_config},
    // A download's result is the transport's code, or the modem's error.
    {"vorn_esim_pal_add_profile", [] { return vorn_esim_pal_add_profile(2, "1$smdp.vorn.example$X", nullptr); },
     vornsim::kTimeoutRc, kRefusedAsInternal},
    {"vorn_esim_pal_enable_profile", [] { return vorn_esim_pal_enable_profile(2, 2); }, -1, -1},
    {"vorn_esim_pal_disable_profile", [] { return vorn_esim_pal_disable_profile(2, 1); }, -1, -1},
    {"vorn_esim_pal_delete_profile", [] { return vorn_esim_pal_delete_profile(2, 2); }, -1, -1},
    {"vorn_esim_pal_get_profile_list", [] { return vorn_esim_pal_get_profile_list(2, 8, profiles, &count_out); }, -1, -1},
    {"vorn_esim_pal_get_profile_info", [] { return vorn_esim_pal_get_profile_info(2, 1, &profile); }, -1, -1},
    {"vorn_esim_pal_update_profile_nickname", [] { return vorn_esim_pal_update_profile_nickname(2, 1, "Trip"); }, -1, -1},
    {"vorn_esim_pal_get_eid", [] { scratch_text[0] = '\0'; return vorn_esim_pal_get_eid(scratch_text, 64, 2); }, -1, -1},
    {"vorn_esim_pal_euicc_memory_reset", [] { return vorn_esim_pal_euicc_memory_reset(2); }, -1, -1},
    {"vorn_esim_pal_set_euicc_default_server_address", [] { return vorn_esim_pal_set_euicc_default_server_address(2, "x.example"); }, -1, -1},
    {"vorn_esim_pal_get_euicc_default_server_address", [] { return vorn_esim_pal_get_euicc_default_server_address(2, scratch_text, 64); }, -1, -1},
};

class UsimRequestFailures : public UsimTest {};

TEST_F(UsimRequestFailures, EachRequestOfEachCallFailsInTurn) {
  const vt::FailureFamily usim_family = family();
  for (const FailureCase &c : kCases) vt::expect_request_failures(c, usim_family);
}

}  // namespace
