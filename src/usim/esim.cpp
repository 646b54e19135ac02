// The profiles of an eUICC: one synchronous request each; a download goes
// on in the modem and ends in an indication (event 3).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include <vornpal/usim.h>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"
#include "usim/client.h"

namespace {

namespace usim = vorn::usim;
namespace qmi = vorn::qmi;

constexpr uint32_t kQmiSlots[] = {1, 2, 3, 4, 5};
constexpr uint32_t kEidSlots[] = {1, 2, 3, 4, 5};
constexpr uint32_t kProfileIdMin = 1;
constexpr uint32_t kProfileIdMax = 8;
constexpr uint32_t kListMin = QMI_UIM_PROFILES_MAX_V01;
constexpr uint32_t kDownloadComplete = 4;
constexpr uint32_t kResetDefaultAddress = 4;
constexpr size_t kCodeMax = QMI_UIM_EUICC_DOWNLOAD_CODE_MAX_V01;
constexpr size_t kNicknameMax = QMI_UIM_EUICC_NICKNAME_MAX_V01;
constexpr size_t kAddressField = QMI_UIM_FQDN_MAX_V01 + 1;
constexpr uint32_t kEidMin = 32;

// get_qmi_slot_from_choose: the service's slot for a choice of 1 to 5, or -1.
int get_qmi_slot_from_choose(uint32_t choice, const uint32_t (&table)[5]) {
  if (choice < 1 || choice > std::size(table)) {
    VORN_LOG_AS("get_qmi_slot_from_choose", VORN_ERR, "oem_qmi_uimi_add_profile param slot error\r\n");
    return -1;
  }
  const uint32_t slot = table[choice - 1];
  VORN_LOG_AS("get_qmi_slot_from_choose", VORN_DBUG, "qmi_slot is %d\r\n", static_cast<int>(slot));
  return static_cast<int>(slot);
}

bool map_slot(uint32_t choice, uint32_t &slot) {
  const int mapped = get_qmi_slot_from_choose(choice, kQmiSlots);
  if (mapped < 0) {
    VORN_LOG_AS("vorn_esim_pal", VORN_ERR, "slot out of range!\r\n");
    return false;
  }
  slot = static_cast<uint32_t>(mapped);
  return true;
}

bool valid_profile(uint32_t id) { return id >= kProfileIdMin && id <= kProfileIdMax; }

// The send of the common form: -1 for the transport, -1 for a refusal
// (logged with the function's own text), 0.
template <class Msg>
int send_checked(const char *fn, typename Msg::Req &req, typename Msg::Resp &resp, const char *refused) {
  qmi::Sent sent = usim::send<Msg>(req, resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG_AS(fn, VORN_ERR, "qmi send message fail error\r\n");
    return -1;
  }
  if (resp.resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG_AS(fn, VORN_ERR, refused, static_cast<int>(resp.resp.error));
    return -1;
  }
  return 0;
}

int set_profile(uint32_t choice, uint32_t profile_id, bool enable) {
  const char *fn = enable ? "vorn_esim_pal_enable_profile" : "vorn_esim_pal_disable_profile";
  uim_set_sim_profile_req_msg_v01 req{};
  if (!map_slot(choice, req.slot)) return -1;
  if (!valid_profile(profile_id)) return -1;
  req.profile_id = profile_id;
  req.enable_profile_valid = 1;
  req.enable_profile = enable ? 1 : 0;
  uim_result_resp_msg_v01 resp;
  return send_checked<usim::SetSimProfile>(fn, req, resp, "set sim profile error:%d\r\n");
}

// vorn_qmi_uim_add_profile: 0, -1, the transport's code, or the modem's
// error code.
int add_profile(uint32_t choice, const char *code, const char *confirmation) {
  const char *fn = "vorn_qmi_uim_add_profile";
  if (code == nullptr) {
    VORN_LOG_AS(fn, VORN_ERR, "oem_qmi_uimi_add_profile param NULL\r\n");
    return -1;
  }
  const int slot = get_qmi_slot_from_choose(choice, kQmiSlots);
  if (slot < 0) return -1;
  auto req = std::make_unique<uim_add_profile_req_msg_v01>();
  req->slot = static_cast<uint32_t>(slot);
  const size_t code_len = std::strlen(code);
  req->activation_code_len = static_cast<uint32_t>(code_len < kCodeMax ? code_len : kCodeMax);
  std::memcpy(req->activation_code, code, req->activation_code_len);
  if (confirmation != nullptr) {
    const size_t len = std::strlen(confirmation);
    req->confirmation_code_valid = 1;
    req->confirmation_code_len = static_cast<uint32_t>(len);
    vorn::checked_memcpy(req->confirmation_code,
                         sizeof *req - offsetof(uim_add_profile_req_msg_v01, confirmation_code), confirmation, len);
  }
  uim_result_resp_msg_v01 resp;
  qmi::Sent sent = usim::send<usim::AddProfile>(*req, resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG_AS(fn, VORN_ERR, "qmi send message fail error:%d \n", sent.rc);
    return sent.rc;
  }
  if (resp.resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG_AS(fn, VORN_ERR, "add_profile_resp_msg.resp.result=(%x) add_profile_resp_msg.resp.error=(%d)\r\n",
                static_cast<unsigned>(resp.resp.result), static_cast<int>(resp.resp.error));
    return static_cast<int>(resp.resp.error);
  }
  VORN_LOG_AS(fn, VORN_INFO, "add_profile_req_msg is ok! \r\n");
  return 0;
}

bool null_param(const void *pointer) {
  if (pointer != nullptr) return false;
  VORN_LOG_AS("vorn_esim_pal", VORN_ERR, "Error, param pointer is NULL.\n");
  return true;
}

}  // namespace

// 1 only for a download that finished without an error cause.
void usim::on_add_profile(const uim_add_profile_ind_msg_v01 &ind) {
  auto *done = static_cast<uint32_t *>(std::calloc(1, sizeof(uint32_t)));
  if (done == nullptr) return;
  const auto &status = ind.profile_download_status;
  *done = status.download_status == kDownloadComplete && status.error_cause_valid == 0 &&
                  status.error_cause == 0
              ? 1
              : 0;
  notify(E_oem_USIM_EVENT_ADD_PROFILE, done, sizeof *done);
}

extern "C" {

VORNPAL_API int vorn_esim_pal_add_profile(uint32_t slot, const char *activation_code,
                                          const char *confirmation_code) {
  int rc = add_profile(slot, activation_code, confirmation_code);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "Error, oem_esim_al_add_profile fail.\r\n");
  } else {
    VORN_LOG(VORN_INFO, "success, oem_esim_al_add_profile ok.\r\n");
  }
  return rc;
}

VORNPAL_API int vorn_esim_pal_enable_profile(uint32_t slot, uint32_t profile_id) {
  return set_profile(slot, profile_id, true);
}

VORNPAL_API int vorn_esim_pal_disable_profile(uint32_t slot, uint32_t profile_id) {
  return set_profile(slot, profile_id, false);
}

VORNPAL_API int vorn_esim_pal_delete_profile(uint32_t slot, uint32_t profile_id) {
  uim_profile_req_msg_v01 req{};
  if (!map_slot(slot, req.slot)) return -1;
  if (!valid_profile(profile_id)) {
    VORN_LOG(VORN_ERR, "tmp_profile_id is invalid!\r\n");
    return -1;
  }
  req.profile_id = profile_id;
  uim_result_resp_msg_v01 resp;
  return send_checked<usim::DeleteProfile>(__func__, req, resp, "delete profile error:%d\r\n");
}

VORNPAL_API int vorn_esim_pal_get_profile_list(uint32_t slot, uint32_t capacity, esim_profile_entry *out,
                                               int *count) {
  if (null_param(out) || null_param(count)) return -1;
  if (capacity < kListMin) {
    VORN_LOG(VORN_ERR, "profile info list array is too short\r\n");
    return -1;
  }
  uim_slot_req_msg_v01 req{};
  if (!map_slot(slot, req.slot)) return -1;
  uim_get_sim_profile_resp_msg_v01 resp;
  if (send_checked<usim::GetSimProfile>(__func__, req, resp, "get sim profile error:%d\r\n") != 0) return -1;
  if (resp.profile_info_valid != 1) {
    VORN_LOG(VORN_ERR, "profile_info_valid error!\r\n");
    return -1;
  }
  const uint32_t len = resp.profile_info_len < kListMin ? resp.profile_info_len : kListMin;
  *count = static_cast<int>(len);
  for (uint32_t i = 0; i < len; ++i) {
    out[i].profile_id = resp.profile_info[i].profile_id;
    out[i].profile_type = resp.profile_info[i].profile_type;
    VORN_LOG(VORN_INFO, "profile id is[%d]\r\n", static_cast<int>(out[i].profile_id));
    VORN_LOG(VORN_INFO, "profile type is[%d]\r\n", static_cast<int>(out[i].profile_type));
  }
  return 0;
}

VORNPAL_API int vorn_esim_pal_get_profile_info(uint32_t slot, uint32_t profile_id, esim_profile_info *out) {
  if (null_param(out)) return -1;
  uim_profile_req_msg_v01 req{};
  if (!map_slot(slot, req.slot)) return -1;
  if (!valid_profile(profile_id)) {
    VORN_LOG(VORN_ERR, "profile id out of range!\r\n");
    return -1;
  }
  req.profile_id = profile_id;
  auto resp = std::make_unique<uim_get_profile_info_resp_msg_v01>();
  if (send_checked<usim::GetProfileInfo>("vorn_qmi_uim_get_profile_info", req, *resp,
                                         "get profile info error:%d\r\n") != 0)
    return -1;
  int result = 0;
  if (resp->profile_iccid_valid == 1) {
    const uint32_t len = resp->profile_iccid_len < sizeof out->iccid ? resp->profile_iccid_len : sizeof out->iccid;
    std::memcpy(out->iccid, resp->profile_iccid, len);
  } else {
    VORN_LOG_AS("vorn_qmi_uim_get_profile_info", VORN_ERR, "profile_iccid_valid error!\r\n");
  }
  if (resp->profile_state_valid == 1) {
    out->profile_state = resp->profile_state;
  } else {
    VORN_LOG_AS("vorn_qmi_uim_get_profile_info", VORN_ERR, "profile_state_valid error!\r\n");
    result = -1;
  }
  if (resp->profile_nickname_valid != 1) {
    VORN_LOG_AS("vorn_qmi_uim_get_profile_info", VORN_ERR, "profile_nickname_valid error!\r\n");
    return -1;
  }
  const uint32_t len = resp->profile_nickname_len < kNicknameMax ? resp->profile_nickname_len : kNicknameMax;
  std::memcpy(out->nickname, resp->profile_nickname, len);
  return result;
}

VORNPAL_API int vorn_esim_pal_update_profile_nickname(uint32_t slot, uint32_t profile_id, const char *nickname) {
  if (null_param(nickname)) return -1;
  const size_t len = std::strlen(nickname);
  if (len >= kNicknameMax) {
    VORN_LOG(VORN_ERR, "nickname len out of range\r\n");
    return -1;
  }
  uim_update_profile_nickname_req_msg_v01 req{};
  if (!map_slot(slot, req.slot)) return -1;
  if (!valid_profile(profile_id)) {
    VORN_LOG(VORN_ERR, "profile id out of range!\r\n");
    return -1;
  }
  req.profile_id = profile_id;
  req.nickname_valid = 1;
  req.nickname_len = static_cast<uint32_t>(len);
  std::memcpy(req.nickname, nickname, len);
  uim_result_resp_msg_v01 resp;
  return send_checked<usim::UpdateProfileNickname>(__func__, req, resp, "update nickname error:%d\r\n");
}

VORNPAL_API int vorn_esim_pal_get_eid(char *out, uint32_t capacity, uint32_t slot) {
  if (null_param(out)) return -1;
  if (capacity < kEidMin) {
    VORN_LOG(VORN_ERR, "Error, eid_string_len is too short.\n");
    return -1;
  }
  uim_slot_req_msg_v01 req{};
  const int mapped = get_qmi_slot_from_choose(slot, kEidSlots);
  uim_get_eid_resp_msg_v01 resp{};
  bool ok = mapped >= 0;
  if (ok) {
    req.slot = static_cast<uint32_t>(mapped);
    qmi::Sent sent = usim::send<usim::GetEid>(req, resp);
    ok = sent.rc == QMI_NO_ERR && resp.resp.result == QMI_RESULT_SUCCESS_V01;
  }
  if (!ok) {
    VORN_LOG(VORN_ERR, "qmi_uim_get_eid return error\r\n");
    return -1;
  }
  if (resp.eid_value_valid != 1) {
    VORN_LOG(VORN_ERR, "get_eid_resp_msg.eid_value_valid is false\r\n");
    VORN_LOG(VORN_ERR, "qmi_uim_get_eid return error\r\n");
    return -1;
  }
  uint8_t eid[QMI_UIM_EID_LEN_V01 + 1] = {};
  vorn::checked_memcpy(eid, sizeof eid, resp.eid_value,
                       resp.eid_value_len < QMI_UIM_EID_LEN_V01 ? resp.eid_value_len : QMI_UIM_EID_LEN_V01);
  if (resp.eid_value_len > sizeof eid) vorn::copy_overflow(__FILE__, __LINE__);
  for (size_t i = 0; i < QMI_UIM_EID_LEN_V01; ++i) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%2.2x", eid[i]);
    std::strcat(out, pair);
  }
  return 0;
}

VORNPAL_API int vorn_esim_pal_euicc_memory_reset(uint32_t slot) {
  uim_euicc_memory_reset_req_msg_v01 req{};
  if (!map_slot(slot, req.slot)) return -1;
  req.euicc_memory_reset_options_valid = 1;
  req.euicc_memory_reset_options.options = kResetDefaultAddress;
  req.euicc_memory_reset_options.reserved = 0;
  uim_result_resp_msg_v01 resp;
  if (send_checked<usim::EuiccMemoryReset>(__func__, req, resp, "uim_euicc_memory_reset error:%d\r\n") != 0)
    return -1;
  VORN_LOG(VORN_INFO, "euicc_memory_reset_resp_msg.resp.result is success.\r\n");
  return 0;
}

VORNPAL_API int vorn_esim_pal_set_euicc_default_server_address(uint32_t slot, const char *address) {
  if (null_param(address)) return -1;
  const size_t len = std::strlen(address);
  if (len + 1 >= kAddressField) {
    VORN_LOG(VORN_ERR, "server_address out of len!\r\n");
    return -1;
  }
  uim_euicc_default_server_address_req_msg_v01 req{};
  if (!map_slot(slot, req.slot)) return -1;
  req.default_smdp_address_valid = 1;
  req.default_smdp_address_len = static_cast<uint32_t>(len);
  std::memcpy(req.default_smdp_address, address, len);
  auto resp = std::make_unique<uim_euicc_default_server_address_resp_msg_v01>();
  if (send_checked<usim::EuiccDefaultServerAddress>(__func__, req, *resp,
                                                    "set euicc_default_server_address_resp_msg error:%d\r\n") != 0)
    return -1;
  VORN_LOG(VORN_INFO, "euicc_default_server_address_resp_msg.resp.result is success.\r\n");
  return 0;
}

VORNPAL_API int vorn_esim_pal_get_euicc_default_server_address(uint32_t slot, char *out, uint32_t capacity) {
  if (null_param(out)) return -1;
  uim_euicc_default_server_address_req_msg_v01 req{};
  if (!map_slot(slot, req.slot)) return -1;
  auto resp = std::make_unique<uim_euicc_default_server_address_resp_msg_v01>();
  if (send_checked<usim::EuiccDefaultServerAddress>(__func__, req, *resp,
                                                    "set euicc_default_server_address_resp_msg error:%d\r\n") != 0)
    return -1;
  if (resp->default_smdp_address_valid != 1) {
    VORN_LOG(VORN_ERR, "euicc default smdp address vaild error!\r\n");
    return -1;
  }
  VORN_LOG(VORN_INFO, "euicc_default_server_address_resp_msg.resp.result is success.\r\n");
  std::memset(out, 0, capacity);
  const size_t len = strnlen(resp->default_smdp_address, kAddressField);
  std::memcpy(out, resp->default_smdp_address, len < capacity ? len : capacity);
  return 0;
}

}  // extern "C"
