// IMS state over the IMSS and IMSA clients, and the NV item that switches
// the whole of IMS. Asking to change the IMS state turns IMS on in NV first
// and makes the IMS clients that are missing, without a restart.
#include <strings.h>

#include <cstring>

#include <vornpal/m2m.h>
#include <vornpal/voice.h>

#include "foundation/log_site.h"
#include "voice/client.h"

namespace {

namespace voice = vorn::voice;

constexpr char kImsEnableItem[] = "/nv/item_files/ims/IMS_enable";
// Hexadecimal text of the item that reads as a switch; longer is not one.
constexpr uint32_t kSwitchTextMax = 20;

int vorn_voice_pal_force_enable_ims() {
  const uint8_t on = 1;
  int rc = vorn_m2m_pal_write_nv_by_path(kImsEnableItem, &on, sizeof on);
  if (rc != 0) VORN_LOG(VORN_ERR, "m2m_write_nv_item err=%s\n", kImsEnableItem);
  return rc;
}

// Makes the IMSS client on demand: 0 when it exists afterwards.
int vorn_voice_pal_check_ims_service() {
  if (voice::imss_client().ready()) return VORN_OK;
  bool init = true;
  if (voice::vorn_voice_pal_is_ims_disable() == 1) {
    int rc = vorn_voice_pal_force_enable_ims();
    if (rc != 0) {
      VORN_LOG(VORN_ERR, "pal_force_enable_ims err=%d\n", rc);
      init = false;
    }
  }
  if (init) {
    int rc = vorn_voice_pal_init();
    if (rc != 0) VORN_LOG(VORN_ERR, "oem_voice_pal_init err=%d\n", rc);
  }
  if (!voice::imss_client().ready()) {
    VORN_LOG(VORN_ERR, "null oem_qmi_ims_handle\n");
    return VORN_FAILURE;
  }
  return VORN_OK;
}

// The settings of the response as the log shows them, in its order.
template <class Resp, class Log>
void each_setting(const Resp &r, Log &&log) {
#define VORN_IMS_SETTING(name) log(#name, r.name##_valid, static_cast<int>(r.name));
  VORN_IMS_SERVICE_SETTINGS(VORN_IMS_SETTING)
#undef VORN_IMS_SETTING
}

}  // namespace

int voice::vorn_voice_pal_is_ims_disable() {
  // Room for the longest item as text, so that any item reads safely.
  char text[1024] = {};
  uint32_t len = 0;
  int rc = vorn_m2m_pal_read_nv_by_path(kImsEnableItem, text, &len, 1);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "m2m_read_nv_item err=%d,out_len=%d\n", rc, static_cast<int>(len));
    return 0;
  }
  if (len >= kSwitchTextMax) return 0;
  text[len] = '\0';
  VORN_LOG(VORN_INFO, "ims_enable=%s,out_len=%d\n", text, static_cast<int>(len));
  return strcasecmp(text, "00") == 0 ? 1 : 0;
}

extern "C" {

VORNPAL_API int vorn_voice_pal_get_ims_state(uint32_t *state) {
  if (state == nullptr) {
    VORN_LOG(VORN_ERR, "null state_ptr\n");
    return VORN_FAILURE;
  }
  if (voice::vorn_voice_pal_is_ims_disable() == 1) {
    VORN_LOG(VORN_ERR, "ims is disable !!!\n");
    *state = 0;
    return VORN_OK;
  }
  if (vorn_voice_pal_check_ims_service() != 0) {
    VORN_LOG(VORN_ERR, "null oem_qmi_ims_handle\n");
    return VORN_FAILURE;
  }
  ims_settings_get_ims_service_enable_config_req_msg_v01 req{};
  ims_settings_get_ims_service_enable_config_rsp_msg_v01 resp;
  if (!voice::request<voice::GetImsServiceEnableConfig>(voice::imss_client(), voice::Guard::None,
                                                         req, resp))
    return VORN_VOICE_IMS_GET_FAILED;
  if (resp.volte_enabled_valid == 0) {
    VORN_LOG(VORN_ERR, "not valid volte_enabled_valid.\n");
    return VORN_VOICE_IMS_GET_FAILED;
  }
  *state = resp.volte_enabled != 0 ? 1 : 0;
  each_setting(resp, [](const char *name, int valid, int value) {
    VORN_LOG_AS("vorn_voice_pal_get_ims_state", VORN_DBUG,
                "GET_IMS_SERVICE_ENABLE, %s_valid:%d,%s:%d.\n", name, valid, name, value);
  });
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_set_ims_state(uint32_t enable) {
  if (vorn_voice_pal_check_ims_service() != 0) {
    VORN_LOG(VORN_ERR, "null oem_qmi_ims_handle\n");
    return VORN_FAILURE;
  }
  ims_settings_set_ims_service_enable_config_req_msg_v01 req{};
  req.volte_enabled_valid = 1;
  req.volte_enabled = enable != 0 ? 1 : 0;
  ims_settings_set_ims_service_enable_config_rsp_msg_v01 resp;
  voice::Sent sent =
      voice::imss_client().send<voice::SetImsServiceEnableConfig>(voice::Guard::None, req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR,
             "QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 failed, result: %d, error: %d.\n",
             sent.rc != QMI_NO_ERR ? sent.rc : static_cast<int>(resp.resp.result),
             static_cast<int>(resp.resp.error));
    VORN_LOG(VORN_ERR,
             "QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 , settings_resp_valid: %d, "
             "settings_resp: %d.\n",
             resp.settings_resp_valid, static_cast<int>(voice::raw(resp.settings_resp)));
    return VORN_VOICE_IMS_SET_FAILED;
  }
  VORN_LOG(VORN_INFO, "QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 success.\n");
  return VORN_OK;
}

VORNPAL_API int vorn_voice_pal_get_imsa_state(uint32_t *ims_registered, uint32_t *ims_reg_status) {
  if (ims_registered == nullptr || ims_reg_status == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL.\n");
    return VORN_FAILURE;
  }
  imsa_get_registration_status_req_msg_v01 req{};
  imsa_get_registration_status_resp_msg_v01 resp;
  if (!voice::request<voice::ImsaGetRegistrationStatus>(voice::imsa_client(), voice::Guard::None,
                                                         req, resp))
    return VORN_FAILURE;
  if (resp.ims_registered_valid != 0) {
    *ims_registered = resp.ims_registered;
    VORN_LOG(VORN_INFO, "get ims_registered %d.\n", static_cast<int>(*ims_registered));
  }
  if (resp.ims_reg_status_valid != 0) {
    *ims_reg_status = voice::raw(resp.ims_reg_status);
    VORN_LOG(VORN_INFO, "get ims_reg_status %d.\n", static_cast<int>(*ims_reg_status));
  }
  return VORN_OK;
}

}  // extern "C"
