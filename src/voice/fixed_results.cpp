// Calls, DTMF and the voice settings are not served on this platform: these
// functions exist so that daemons link against one interface everywhere,
// and return a constant. Only ending a call reaches the modem.
#include <vornpal/voice.h>

#include "voice/client.h"

extern "C" {

VORNPAL_API int vorn_voice_pal_originate_ussd_v2(void) { return VORN_OK; }
VORNPAL_API int vorn_voice_pal_answer_ussd_v2(void) { return VORN_OK; }
VORNPAL_API int vorn_voice_pal_set_ims_ue_usage_setting(void) { return VORN_OK; }
VORNPAL_API int vorn_voice_pal_get_ims_ue_usage_setting(void) { return VORN_OK; }
VORNPAL_API int oem_voice_pal_ecc_list_get(void) { return VORN_OK; }
VORNPAL_API int oem_voice_pal_ecc_list_set(void) { return VORN_OK; }
VORNPAL_API int oem_voice_pal_clir_nv_set(void) { return VORN_OK; }
VORNPAL_API int oem_voice_pal_clir_nv_get(void) { return VORN_OK; }

VORNPAL_API int vorn_voice_pal_start_call(void) { return VORN_UNAVAILABLE; }
VORNPAL_API int vorn_voice_pal_start_dtmf(void) { return VORN_UNAVAILABLE; }
VORNPAL_API int vorn_voice_pal_end_dtmf(void) { return VORN_UNAVAILABLE; }
VORNPAL_API int vorn_voice_pal_set_call_forward(void) { return VORN_UNAVAILABLE; }
VORNPAL_API int vorn_voice_pal_hold_call(void) { return VORN_UNAVAILABLE; }
VORNPAL_API int vorn_voice_pal_resume_call(void) { return VORN_UNAVAILABLE; }
VORNPAL_API int vorn_voice_pal_exec_sups_action(void) { return VORN_UNAVAILABLE; }
VORNPAL_API int vorn_voice_pal_answer_call(void) { return VORN_UNAVAILABLE; }

VORNPAL_API int oem_voice_pal_colp_nv_set(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int oem_voice_pal_colp_nv_get(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int oem_voice_pal_clip_nv_set(void) { return VORN_NOT_SUPPORTED; }
VORNPAL_API int oem_voice_pal_clip_nv_get(void) { return VORN_NOT_SUPPORTED; }

VORNPAL_API int vorn_voice_pal_end_call(uint8_t call_id) {
  namespace voice = vorn::voice;
  if (!voice::voice_client().ready()) return VORN_UNAVAILABLE;
  voice_end_call_req_msg_v02 req{};
  req.call_id = call_id;
  voice_end_call_resp_msg_v02 resp;
  voice::Sent sent = voice::voice_client().send<voice::EndCall>(voice::Guard::None, req, resp);
  return vornQmi_CheckResponseCode(voice::EndCall::name, sent.rc, static_cast<int>(resp.resp.result),
                                   static_cast<int>(resp.resp.error));
}

}  // extern "C"
