// The messages of the UIM service that the family uses: id, published name,
// structures with the sizes the service's decoder expects, time-out, and
// how the outcome is judged (src/qmi/message.h). Every request of the family
// reads the modem's `result` itself, so each is judged by the transport's
// code alone. Shared with the simulated modem and the tests.
#pragma once

#include <cstddef>

#include <vornpal/platform/user_identity_module_v01.h>
#include <vornpal/usim.h>

#include "qmi/message.h"

namespace vorn::usim {

using qmi::NoRequest;

// clang-format off
VORN_QMI_MESSAGE(EventReg, QMI_UIM_EVENT_REG_REQ_V01, uim_event_reg_req_msg_v01, uim_event_reg_resp_msg_v01, 4, 16, 3000, TransportCode);
VORN_QMI_MESSAGE(GetCardStatus, QMI_UIM_GET_CARD_STATUS_REQ_V01, NoRequest, uim_get_card_status_resp_msg_v01, 0, 10616, 3000, TransportCode);
VORN_QMI_MESSAGE(GetSlotsStatus, QMI_UIM_GET_SLOTS_STATUS_REQ_V01, uim_placeholder_req_msg_v01, uim_get_slots_status_resp_msg_v01, 1, 560, 3000, TransportCode);
VORN_QMI_MESSAGE(ReadTransparent, QMI_UIM_READ_TRANSPARENT_REQ_V01, uim_read_transparent_req_msg_v01, uim_read_transparent_resp_msg_v01, 76, 6224, 3000, TransportCode);
VORN_QMI_MESSAGE(ReadRecord, QMI_UIM_READ_RECORD_REQ_V01, uim_read_record_req_msg_v01, uim_read_record_resp_msg_v01, 76, 4384, 3000, TransportCode);
VORN_QMI_MESSAGE(SetPinProtection, QMI_UIM_SET_PIN_PROTECTION_REQ_V01, uim_set_pin_protection_req_msg_v01, uim_pin_resp_msg_v01, 76, 284, 3000, TransportCode);
VORN_QMI_MESSAGE(VerifyPin, QMI_UIM_VERIFY_PIN_REQ_V01, uim_verify_pin_req_msg_v01, uim_pin_resp_msg_v01, 336, 284, 3000, TransportCode);
VORN_QMI_MESSAGE(UnblockPin, QMI_UIM_UNBLOCK_PIN_REQ_V01, uim_unblock_pin_req_msg_v01, uim_pin_resp_msg_v01, 84, 284, 3000, TransportCode);
VORN_QMI_MESSAGE(ChangePin, QMI_UIM_CHANGE_PIN_REQ_V01, uim_change_pin_req_msg_v01, uim_pin_resp_msg_v01, 84, 284, 3000, TransportCode);
VORN_QMI_MESSAGE(OpenLogicalChannel, QMI_UIM_OPEN_LOGICAL_CHANNEL_REQ_V01, uim_open_logical_channel_req_msg_v01, uim_open_logical_channel_resp_msg_v01, 52, 1304, 1000, TransportCode);
VORN_QMI_MESSAGE(LogicalChannel, QMI_UIM_LOGICAL_CHANNEL_REQ_V01, uim_logical_channel_req_msg_v01, uim_logical_channel_resp_msg_v01, 56, 1304, 1000, TransportCode);
VORN_QMI_MESSAGE(SendApdu, QMI_UIM_SEND_APDU_REQ_V01, uim_send_apdu_req_msg_v01, uim_send_apdu_resp_msg_v01, 1056, 1052, 10000, TransportCode);
VORN_QMI_MESSAGE(SwitchSlot, QMI_UIM_SWITCH_SLOT_REQ_V01, uim_switch_slot_req_msg_v01, uim_result_resp_msg_v01, 8, 8, 3000, TransportCode);
VORN_QMI_MESSAGE(PowerDown, QMI_UIM_POWER_DOWN_REQ_V01, uim_power_down_req_msg_v01, uim_result_resp_msg_v01, 4, 8, 1000, TransportCode);
VORN_QMI_MESSAGE(PowerUp, QMI_UIM_POWER_UP_REQ_V01, uim_power_up_req_msg_v01, uim_result_resp_msg_v01, 12, 8, 1000, TransportCode);
VORN_QMI_MESSAGE(GetSimProfile, QMI_UIM_GET_SIM_PROFILE_REQ_V01, uim_slot_req_msg_v01, uim_get_sim_profile_resp_msg_v01, 4, 92, 5000, TransportCode);
VORN_QMI_MESSAGE(SetSimProfile, QMI_UIM_SET_SIM_PROFILE_REQ_V01, uim_set_sim_profile_req_msg_v01, uim_result_resp_msg_v01, 12, 8, 5000, TransportCode);
VORN_QMI_MESSAGE(GetProfileInfo, QMI_UIM_GET_PROFILE_INFO_REQ_V01, uim_profile_req_msg_v01, uim_get_profile_info_resp_msg_v01, 8, 1280, 5000, TransportCode);
VORN_QMI_MESSAGE(GetEid, QMI_UIM_GET_EID_REQ_V01, uim_slot_req_msg_v01, uim_get_eid_resp_msg_v01, 4, 32, 5000, TransportCode);
VORN_QMI_MESSAGE(DeleteProfile, QMI_UIM_DELETE_PROFILE_REQ_V01, uim_profile_req_msg_v01, uim_result_resp_msg_v01, 8, 8, 5000, TransportCode);
VORN_QMI_MESSAGE(EuiccMemoryReset, QMI_UIM_EUICC_MEMORY_RESET_REQ_V01, uim_euicc_memory_reset_req_msg_v01, uim_result_resp_msg_v01, 16, 8, 5000, TransportCode);
VORN_QMI_MESSAGE(AddProfile, QMI_UIM_ADD_PROFILE_REQ_V01, uim_add_profile_req_msg_v01, uim_result_resp_msg_v01, 532, 8, 5000, TransportCode);
VORN_QMI_MESSAGE(UpdateProfileNickname, QMI_UIM_UPDATE_PROFILE_NICKNAME_REQ_V01, uim_update_profile_nickname_req_msg_v01, uim_result_resp_msg_v01, 80, 8, 5000, TransportCode);
VORN_QMI_MESSAGE(EuiccDefaultServerAddress, QMI_UIM_EUICC_DEFAULT_SERVER_ADDRESS_REQ_V01, uim_euicc_default_server_address_req_msg_v01, uim_euicc_default_server_address_resp_msg_v01, 268, 532, 5000, TransportCode);
// The indications, decoded as the service's object decodes them.
VORN_QMI_INDICATION(StatusChangeInd, QMI_UIM_STATUS_CHANGE_IND_V01, uim_status_change_ind_msg_v01, 1272, "QMI_UIM_STATUS_CHANGE_IND_V01");
VORN_QMI_INDICATION(SlotStatusChangeInd, QMI_UIM_SLOT_STATUS_CHANGE_IND_V01, uim_slot_status_change_ind_msg_v01, 544, "QMI_UIM_SLOT_STATUS_CHANGE_IND_V01");
VORN_QMI_INDICATION(AddProfileInd, QMI_UIM_ADD_PROFILE_IND_V01, uim_add_profile_ind_msg_v01, 112, "QMI_UIM_ADD_PROFILE_IND_V01");
VORN_QMI_INDICATION(SendApduInd, QMI_UIM_SEND_APDU_IND_V01, uim_send_apdu_ind_msg_v01, 1036, "QMI_UIM_SEND_APDU_IND_V01");
// clang-format on

// Layouts that the library and the modem's decoder must share.
static_assert(sizeof(uim_app_info_type_v01) == 76, "application record");
static_assert(offsetof(uim_app_info_type_v01, pin1_state) == 60);
static_assert(sizeof(uim_card_info_type_v01) == 628, "card record");
static_assert(sizeof(uim_card_status_type_v01) == 1268, "card status");
static_assert(offsetof(uim_get_card_status_resp_msg_v01, card_status) == 12);
static_assert(sizeof(uim_physical_slot_status_type_v01) == 28, "slot entry");
static_assert(sizeof(uim_session_information_type_v01) == 40);
static_assert(sizeof(uim_file_id_type_v01) == 20);
static_assert(offsetof(uim_read_transparent_resp_msg_v01, read_result) == 12);
// The fortified copies bound a field by what is left of its structure.
static_assert(sizeof(uim_set_pin_protection_req_msg_v01) - offsetof(uim_set_pin_protection_req_msg_v01, set_pin_protection.pin_value) == 24);
static_assert(sizeof(uim_change_pin_req_msg_v01) - offsetof(uim_change_pin_req_msg_v01, change_pin.old_pin_value) == 36);
static_assert(sizeof(uim_unblock_pin_req_msg_v01) - offsetof(uim_unblock_pin_req_msg_v01, unblock_pin.puk_value) == 36);
static_assert(sizeof(uim_send_apdu_req_msg_v01) - offsetof(uim_send_apdu_req_msg_v01, apdu) == 1048);
static_assert(sizeof(uim_add_profile_req_msg_v01) - offsetof(uim_add_profile_req_msg_v01, confirmation_code) == 260);
static_assert(offsetof(uim_send_apdu_resp_msg_v01, long_response) == 1044);
static_assert(offsetof(uim_add_profile_ind_msg_v01, profile_download_status.error_cause) == 12);

// The family's records, as daemons and events carry them.
static_assert(sizeof(usim_slot_record) == 216, "the slot event's data");
static_assert(sizeof(usim_pinlock_info) == 20);
static_assert(sizeof(usim_state_record) == 244);
static_assert(sizeof(usim_status_payload) == 12, "the status event's data");
static_assert(sizeof(usim_info_record) == 432);
static_assert(offsetof(usim_info_record, ust) == 336);
static_assert(sizeof(esim_profile_entry) == 8);
static_assert(sizeof(esim_profile_info) == 80);

}  // namespace vorn::usim
