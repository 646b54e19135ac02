// The messages of the VOICE, IMSS and IMSA services that the voice family
// uses: id, published name, structures with the sizes the services'
// decoders expect, time-out and how the outcome of each is judged
// (src/qmi/message.h). Shared with the simulated modem and the tests.
//
// USSD and IMS requests are judged by the transport's code and the result
// word alone, because each function logs its own failure line with both.
#pragma once

#include <cstddef>

#include <vornpal/platform/ip_multimedia_subsystem_application_v01.h>
#include <vornpal/platform/ip_multimedia_subsystem_settings_v01.h>
#include <vornpal/platform/voice_service_v02.h>
#include <vornpal/voice.h>

#include "qmi/message.h"

// The IMS service settings in the order of the service's messages, each
// a valid flag `<name>_valid` and a value: X(name) for each.
#define VORN_IMS_SERVICE_SETTINGS(X) \
  X(volte_enabled) \
  X(videotelephony_enabled) \
  X(mobile_data_enabled) \
  X(service_mask_by_network_enabled) \
  X(wifi_calling_enabled) \
  X(call_mode_preference) \
  X(wifi_calling_in_roaming_enabled) \
  X(wifi_provisioning_id) \
  X(ims_service_enabled) \
  X(ut_enabled) \
  X(sms_enabled) \
  X(dan_enabled) \
  X(ussd_enabled) \
  X(mwi_enabled) \
  X(presence_enabled) \
  X(autoconfig_enabled) \
  X(xdm_client_enabled) \
  X(rcs_messaging_enabled) \
  X(call_mode_pref_roam_enabled) \
  X(rtt_enabled) \
  X(call_mode_roam_preference) \
  X(carrier_config_enabled) \
  X(call_mode_preference_ext) \
  X(call_mode_roam_preference_ext) \
  X(mmtel_call_composer_config_enabled) \
  X(options_config_enabled)

namespace vorn::voice {

using qmi::NoRequest;

// clang-format off
// VOICE
VORN_QMI_MESSAGE(IndicationRegister, QMI_VOICE_INDICATION_REGISTER_REQ_V02, voice_indication_register_req_msg_v02, voice_indication_register_resp_msg_v02, 60, 8, 10000, TransportCode);
VORN_QMI_MESSAGE(EndCall, QMI_VOICE_END_CALL_REQ_V02, voice_end_call_req_msg_v02, voice_end_call_resp_msg_v02, 1, 12, 3000, TransportCode);
VORN_QMI_MESSAGE(OrigUssd, QMI_VOICE_ORIG_USSD_REQ_V02, voice_orig_ussd_req_msg_v02, voice_orig_ussd_resp_msg_v02, 200, 800, 10000, TransportAndResult);
VORN_QMI_MESSAGE(AnswerUssd, QMI_VOICE_ANSWER_USSD_REQ_V02, voice_answer_ussd_req_msg_v02, voice_answer_ussd_resp_msg_v02, 192, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(CancelUssd, QMI_VOICE_CANCEL_USSD_REQ_V02, NoRequest, voice_cancel_ussd_resp_msg_v02, 0, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(OrigUssdNoWait, QMI_VOICE_ORIG_USSD_NO_WAIT_REQ_V02, voice_orig_ussd_no_wait_req_msg_v02, voice_orig_ussd_no_wait_resp_msg_v02, 200, 8, 10000, TransportAndResult);
// The decoders' names in the log are those the family has always used.
VORN_QMI_INDICATION(UssdReleaseInd, QMI_VOICE_USSD_RELEASE_IND_V02, voice_ussd_release_ind_msg_v02, 8, "QMI_VOICE_USSD_RELEASE_IND_V02");
VORN_QMI_INDICATION(UssdInd, QMI_VOICE_USSD_IND_V02, voice_ussd_ind_msg_v02, 1472, "QMI_VOICE_USSD_IND_V02");
VORN_QMI_INDICATION(SupsInd, QMI_VOICE_SUPS_IND_V02, voice_sups_ind_msg_v02, 576, "QMI_VOICE_SUPS_IND_V02");
VORN_QMI_INDICATION(OrigUssdNoWaitInd, QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02, voice_orig_ussd_no_wait_ind_msg_v02, 1308, "QMI_VOICE_ORIG_USSD_NO_WAIT_IND_V02");

// IMSS
VORN_QMI_MESSAGE(SetImsServiceEnableConfig, QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01, ims_settings_set_ims_service_enable_config_req_msg_v01, ims_settings_set_ims_service_enable_config_rsp_msg_v01, 96, 16, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetImsServiceEnableConfig, QMI_IMS_SETTINGS_GET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01, ims_settings_get_ims_service_enable_config_req_msg_v01, ims_settings_get_ims_service_enable_config_rsp_msg_v01, 1, 112, 10000, TransportAndResult);
VORN_QMI_MESSAGE(ImsBindSubscription, QMI_IMS_BIND_SUBSCRIPTION_REQ_V01, ims_bind_subscription_req_msg_v01, ims_bind_subscription_rsp_msg_v01, 4, 16, 10000, TransportAndResult);
VORN_QMI_MESSAGE(ImsGetActiveSubscriptionStatus, QMI_IMS_GET_ACTIVE_SUBSCRIPTION_STATUS_REQ_V01, ims_get_active_subscription_status_req_msg_v01, ims_get_active_subscription_status_rsp_msg_v01, 1, 24, 10000, TransportAndResult);
// Not read by the library (its IMSS client takes no indications); the
// simulated modem sends it to every client.
VORN_QMI_INDICATION(ImsServiceEnableConfigInd, QMI_IMS_SETTINGS_IMS_SERVICE_ENABLE_CONFIG_IND_V01, ims_settings_ims_service_enable_config_ind_msg_v01, 96, "QMI_IMS_SETTINGS_IMS_SERVICE_ENABLE_CONFIG_IND_V01");

// IMSA
VORN_QMI_MESSAGE(ImsaGetRegistrationStatus, QMI_IMSA_GET_REGISTRATION_STATUS_REQ_V01, imsa_get_registration_status_req_msg_v01, imsa_get_registration_status_resp_msg_v01, 1, 7980, 10000, TransportAndResult);
VORN_QMI_MESSAGE(ImsaSetBindSubscription, QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01, imsa_set_bind_subscription_req_msg_v01, imsa_set_bind_subscription_resp_msg_v01, 8, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(ImsaGetActiveSubscriptionStatus, QMI_IMSA_GET_ACTIVE_SUBSCRIPTION_STATUS_REQ_V01, imsa_get_active_subscription_status_req_msg_v01, imsa_get_active_subscription_status_resp_msg_v01, 1, 16, 10000, TransportAndResult);
// Not read by the library either; for the simulated modem and the tests.
VORN_QMI_INDICATION(ImsaRegistrationStatusInd, QMI_IMSA_REGISTRATION_STATUS_IND_V01, imsa_registration_status_ind_msg_v01, 20, "QMI_IMSA_REGISTRATION_STATUS_IND_V01");
// clang-format on

// The records the family hands to its callers and clients.
static_assert(sizeof(ussd_info) == 200, "session record");
static_assert(offsetof(ussd_info, ussd_text) == 12 && offsetof(ussd_info, ussd_text_size) == 196);
static_assert(sizeof(ussd_event) == 1276, "event 2");
static_assert(offsetof(ussd_event, text) == 12 && offsetof(ussd_event, network_data) == 384);
static_assert(offsetof(ussd_event, sip_error_code) == 1272);
static_assert(sizeof(ussd_no_wait_event) == 1108, "event 3");
static_assert(offsetof(ussd_no_wait_event, alpha_id) == 24);
static_assert(offsetof(ussd_no_wait_event, network_data) == 228);
static_assert(offsetof(ussd_no_wait_event, text) == 740);
static_assert(sizeof(ussd_release_event) == 8, "event 4");
static_assert(sizeof(ussd_originate_result) == 208);
static_assert(offsetof(ussd_originate_result, alpha_text) == 24);
static_assert(offsetof(ussd_originate_result, is_ims_request) == 206);

// Fields the family reads at the offsets the services give them.
static_assert(offsetof(voice_indication_register_req_msg_v02, call_events_valid) == 6);
static_assert(offsetof(voice_indication_register_req_msg_v02, ussd_notification_events_valid) == 12);
static_assert(offsetof(voice_indication_register_req_msg_v02, sups_events) == 15);
static_assert(offsetof(voice_orig_ussd_resp_msg_v02, uss_info) == 216);
static_assert(offsetof(voice_orig_ussd_resp_msg_v02, uss_info_utf16) == 436);
static_assert(offsetof(ims_settings_get_ims_service_enable_config_rsp_msg_v01, volte_enabled) == 17);
static_assert(offsetof(imsa_get_registration_status_resp_msg_v01, ims_reg_status) == 16);
static_assert(offsetof(ims_get_active_subscription_status_rsp_msg_v01, active_on_tertiary_subscription) == 21);

}  // namespace vorn::voice
