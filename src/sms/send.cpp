// Sending raw PDUs and acknowledging received ones, the service centre
// address, the domain preference and the service's readiness.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include <vornpal/sms.h>

#include "foundation/log_site.h"
#include "sms/client.h"

namespace {

namespace sms = vorn::sms;

constexpr int32_t kPduMax = 255;
constexpr uint8_t kRpCauseMemoryExceeded = 0x16;
constexpr uint8_t kTpCauseMemoryExceeded = 0xD3;
constexpr size_t kHexDumpBytes = 1252;
constexpr size_t kHexDumpText = 10240;

void log_send_failure(const wms_raw_send_resp_msg_v01 &resp, int rc) {
  VORN_LOG(VORN_ERR, "QMI_WMS_RAW_SEND_REQ_V01 failed:%d, result: %d, error: %d.\n", rc,
           static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
  if (resp.cause_code_valid)
    VORN_LOG(VORN_ERR, "cause_code=%d.\n", static_cast<int>(resp.cause_code));
  if (resp.error_class_valid)
    VORN_LOG(VORN_ERR, "error_class=%d.\n", static_cast<int>(resp.error_class));
  if (resp.message_delivery_failure_cause_valid)
    VORN_LOG(VORN_ERR, "message_delivery_failure_cause=%d.\n",
             static_cast<int>(resp.message_delivery_failure_cause));
  if (resp.gw_cause_info_valid)
    VORN_LOG(VORN_ERR, "rp_cause=%d,tp_cause=%d.\n", static_cast<int>(resp.gw_cause_info.rp_cause),
             static_cast<int>(resp.gw_cause_info.tp_cause));
}

// The checks both send functions share; 0 when the PDU may go out. A
// negative length is refused by both: it would be read as a huge one.
int check_pdu(const uint8_t *pdu, int32_t length, uint32_t mode) {
  if (pdu == nullptr || length == 0) {
    VORN_LOG(VORN_ERR, "NULL p_pdu.\n");
    return VORN_FAILURE;
  }
  vorn_debug_print_buf(pdu, length);
  if (mode == E_SMS_PAL_SEND_AND_SAVE) {
    VORN_LOG(VORN_ERR, "not support E_SMS_PAL_SEND_AND_SAVE.\n");
    return VORN_INVALID_PARAM;
  }
  if (length > kPduMax || length < 0) {
    VORN_LOG(VORN_ERR, "pdu_len err=%d.\n", length);
    return VORN_INVALID_PARAM;
  }
  return VORN_OK;
}

wms_raw_send_req_msg_v01 raw_send_request(const uint8_t *pdu, int32_t length) {
  wms_raw_send_req_msg_v01 req{};
  req.raw_message_data.format = WMS_MESSAGE_FORMAT_GW_PP_V01;
  req.raw_message_data.raw_message_len = static_cast<uint32_t>(length);
  std::memcpy(req.raw_message_data.raw_message, pdu, static_cast<size_t>(length));
  return req;
}

// One send; the message reference to *message_id on success.
bool send_once(wms_raw_send_req_msg_v01 &req, uint32_t *message_id) {
  wms_raw_send_resp_msg_v01 resp;
  sms::Sent sent = sms::send<sms::RawSend>(req, resp);
  if (sent.verdict != 0) {
    log_send_failure(resp, sent.rc);
    return false;
  }
  if (message_id != nullptr) *message_id = resp.message_id;
  return true;
}

// The acknowledgement of a received message; false for an unknown flag.
bool ack_request(uint32_t act_flag, uint32_t transaction_id, wms_send_ack_req_msg_v01 &req) {
  if (act_flag > 1) {
    VORN_LOG(VORN_ERR, "invalid act_flag: %d.\n", static_cast<int>(act_flag));
    return false;
  }
  req = {};
  req.ack_information.transaction_id = transaction_id;
  req.ack_information.message_protocol = WMS_MESSAGE_PROTOCOL_WCDMA_V01;
  req.ack_information.success = act_flag == 0 ? 1 : 0;
  if (act_flag == 1) {
    req.wms_3gpp_failure_information_valid = 1;
    req.wms_3gpp_failure_information.rp_cause = kRpCauseMemoryExceeded;
    req.wms_3gpp_failure_information.tp_cause = kTpCauseMemoryExceeded;
  }
  return true;
}

// An asynchronous acknowledgement's request and the room for its answer,
// which live until the answer came.
struct AckInFlight {
  wms_send_ack_req_msg_v01 req;
  wms_send_ack_resp_msg_v01 resp;
};

// Public values run against the modem's.
uint32_t flip_domain(uint32_t value) { return 3 - value; }

}  // namespace

extern "C" {

// The answer of an asynchronous acknowledgement, on the QMI library's thread.
static void vorn_sms_pal_send_ack_async_cb(qmi_client_type, unsigned int msg_id, void *resp_c_struct,
                                           unsigned int, void *resp_cb_data,
                                           qmi_client_error_type transp_err) {
  auto *in_flight = static_cast<AckInFlight *>(resp_cb_data);
  if (transp_err != QMI_NO_ERR && transp_err != -11) {
    VORN_LOG(VORN_ERR, "Transport ERROR CODE:%d\n", transp_err);
  } else if (msg_id == QMI_WMS_SEND_ACK_REQ_V01) {
    const auto *resp = static_cast<const wms_send_ack_resp_msg_v01 *>(resp_c_struct);
    VORN_LOG(VORN_INFO, "SEND_ACK result: %d, error: %d, failure_cause_valid=%d, failure_cause=%d.\n",
             static_cast<int>(resp->resp.result), static_cast<int>(resp->resp.error),
             resp->failure_cause_valid, static_cast<int>(resp->failure_cause));
  }
  delete in_flight;
}

VORNPAL_API int vorn_sms_pal_send_msg(const uint8_t *pdu, int32_t length, uint32_t mode,
                                      uint32_t *message_id) {
  if (int rc = check_pdu(pdu, length, mode); rc != VORN_OK) return rc;
  wms_raw_send_req_msg_v01 req = raw_send_request(pdu, length);
  for (int attempt = 0; attempt < 2; ++attempt)
    if (send_once(req, message_id)) return VORN_OK;
  return VORN_FAILURE;
}

VORNPAL_API int vorn_sms_pal_send_msg_ZNRD(const uint8_t *pdu, int32_t length, uint32_t mode,
                                           uint32_t *message_id, uint32_t, uint32_t is_ims) {
  if (int rc = check_pdu(pdu, length, mode); rc != VORN_OK) return rc;
  if (is_ims >= 2) {
    VORN_LOG(VORN_ERR, "is_ims err=%d.\n", static_cast<int>(is_ims));
    return VORN_FAILURE;
  }
  wms_raw_send_req_msg_v01 req = raw_send_request(pdu, length);
  req.sms_on_ims_valid = 1;
  req.sms_on_ims = static_cast<uint8_t>(is_ims);
  VORN_LOG(VORN_INFO, "REPORT:sms_on_ims_valid=%d,sms_on_ims=%d.\n", req.sms_on_ims_valid,
           req.sms_on_ims);
  return send_once(req, message_id) ? VORN_OK : VORN_FAILURE;
}

VORNPAL_API int vorn_sms_pal_send_ack(uint32_t act_flag, uint32_t transaction_id) {
  wms_send_ack_req_msg_v01 req;
  if (!ack_request(act_flag, transaction_id, req)) return VORN_INVALID_PARAM;
  wms_send_ack_resp_msg_v01 resp;
  sms::Sent sent = sms::send<sms::SendAck>(req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI_WMS_SEND_ACK_REQ_V01 failed:%d, result: %d, error: %d,transaction_id=%d.\n",
             sent.rc, static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error),
             static_cast<int>(transaction_id));
    VORN_LOG(VORN_ERR, "failure_cause_valid=%d,failure_cause=%d.\n", resp.failure_cause_valid,
             static_cast<int>(resp.failure_cause));
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API void vorn_sms_pal_send_ack_async(uint32_t act_flag, uint32_t transaction_id) {
  auto *in_flight = new (std::nothrow) AckInFlight{};
  if (in_flight == nullptr) return;
  if (!ack_request(act_flag, transaction_id, in_flight->req)) {
    delete in_flight;
    return;
  }
  qmi_txn_handle txn = nullptr;
  int rc = QMI_CLIENT_INVALID_CLNT;
  if (qmi_client_type handle = sms::client().handle(); handle != nullptr)
    rc = qmi_client_send_msg_async(handle, QMI_WMS_SEND_ACK_REQ_V01, &in_flight->req,
                                   sizeof in_flight->req, &in_flight->resp, sizeof in_flight->resp,
                                   vorn_sms_pal_send_ack_async_cb, in_flight, &txn);
  if (rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "QMI_WMS_SEND_ACK_REQ_V01 failed:%d, result: %d, error: %d,transaction_id=%d.\n",
             rc, 0, 0, static_cast<int>(transaction_id));
    delete in_flight;
  }
}

VORNPAL_API int vorn_sms_pal_set_msg_service_config(uint32_t cnmi_mode, uint32_t cnmi_mt,
                                                    uint32_t cnmi_ds, uint32_t csms_service) {
  sms::Config &c = sms::config();
  c.cnmi_mode.set(cnmi_mode);
  c.cnmi_mt.set(cnmi_mt);
  c.cnmi_ds.set(cnmi_ds);
  c.csms_service.set(csms_service);
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_set_msg_storage_ack(void) {
  VORN_LOG(VORN_INFO, "oem_sms_pal_set_msg_storage_ack\n");
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_get_center_address(char *address, char *type) {
  if (address == nullptr || type == nullptr) return VORN_FAILURE;
  wms_get_smsc_address_resp_msg_v01 resp;
  if (sms::send<sms::GetSmscAddress>(resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI_WMS_GET_SMSC_ADDRESS_REQ_V01 failed, result: %d, error: %d.\n",
             static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
    return VORN_FAILURE;
  }
  const wms_smsc_address_type_v01 &smsc = resp.smsc_address;
  std::memset(address, 0, WMS_ADDRESS_DIGIT_MAX_V01 + 1);
  std::memcpy(address, smsc.smsc_address_digits,
              std::min<size_t>(smsc.smsc_address_digits_len, WMS_ADDRESS_DIGIT_MAX_V01));
  std::memset(type, 0, WMS_ADDRESS_TYPE_MAX_V01 + 1);
  std::memcpy(type, smsc.smsc_address_type, WMS_ADDRESS_TYPE_MAX_V01);
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_set_center_address(const char *address, const char *type) {
  if (address == nullptr) return VORN_FAILURE;
  wms_set_smsc_address_req_msg_v01 req{};
  std::snprintf(req.smsc_address_digits, WMS_ADDRESS_DIGIT_MAX_V01 + 2, "%s", address);
  if (type != nullptr && type[0] != '\0') {
    req.smsc_address_type_valid = 1;
    std::snprintf(req.smsc_address_type, sizeof req.smsc_address_type, "%s", type);
  }
  wms_result_resp_msg_v01 resp;
  if (sms::send<sms::SetSmscAddress>(req, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI_WMS_SET_SMSC_ADDRESS_REQ_V01 failed, result: %d, error: %d.\n",
             static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_get_domain_pref(uint32_t *pref) {
  wms_get_domain_pref_config_resp_msg_v01 resp;
  if (sms::send<sms::GetDomainPref>(resp).verdict != 0 || !resp.gw_domain_pref_valid)
    return VORN_SMS_DOMAIN_PREF_GET_FAILED;
  if (resp.gw_domain_pref > 3) {
    VORN_LOG(VORN_ERR, "invalid domain_pref: %d.\n", static_cast<int>(resp.gw_domain_pref));
    return VORN_SMS_DOMAIN_PREF_GET_FAILED;
  }
  if (pref != nullptr) *pref = flip_domain(resp.gw_domain_pref);
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_set_domain_pref(uint32_t pref) {
  if (pref > 3) {
    VORN_LOG(VORN_ERR, "invalid domain_pref: %d.\n", static_cast<int>(pref));
    return VORN_FAILURE;
  }
  wms_set_domain_pref_config_req_msg_v01 req{};
  req.gw_domain_pref_valid = 1;
  req.gw_domain_pref = flip_domain(pref);
  wms_set_domain_pref_config_resp_msg_v01 resp;
  if (sms::send<sms::SetDomainPref>(req, resp).verdict != 0 || resp.gw_domain_pref_outcome != 0)
    return VORN_SMS_DOMAIN_PREF_SET_FAILED;
  return VORN_OK;
}

// A readiness the modem never reported is taken as ready: the queries are
// answered by modems that have the indications too.
VORNPAL_API int vorn_sms_pal_get_service_status(uint32_t *status) {
  sms::ServiceCache &c = sms::cache();
  if (c.ready_status.get() != 0) {
    if (status != nullptr) *status = 1;
    return VORN_OK;
  }
  wms_get_transport_layer_resp_msg_v01 layer;
  if (sms::send<sms::GetTransportLayer>(layer).verdict == 0) {
    c.registered_ind_valid.set(layer.registered_ind_valid);
    c.registered_ind.set(layer.registered_ind);
  } else {
    VORN_LOG(VORN_ERR, "vorn_sms_pat_query_transport_layer_status failed\n");
  }
  wms_get_transport_nw_reg_resp_msg_v01 reg;
  if (sms::send<sms::GetTransportNwReg>(reg).verdict == 0) {
    c.nw_reg_status_valid.set(reg.transport_nw_reg_status_valid);
    c.nw_reg_status.set(reg.transport_nw_reg_status);
  } else {
    VORN_LOG(VORN_ERR, "vorn_sms_pat_query_nw_reg_status failed\n");
  }
  wms_get_service_ready_status_resp_msg_v01 ready;
  if (sms::send<sms::GetServiceReady>(ready).verdict == 0) {
    c.ready_status_valid.set(ready.ready_status_valid);
    c.ready_status.set(ready.ready_status);
  } else {
    VORN_LOG(VORN_ERR, "vorn_sms_pat_query_ready_status failed\n");
  }
  if (status != nullptr)
    *status = c.ready_status.get() != 0 || c.ready_status_valid.get() == 0 ? 1 : 0;
  return VORN_OK;
}

// The walk stops at `length` too: a caller's shorter buffer is never read
// past its end.
VORNPAL_API void vorn_print_hex_array(const uint8_t *bytes, int length) {
  if (bytes == nullptr || length <= 0) return;
  const size_t count = std::min(kHexDumpBytes, static_cast<size_t>(length));
  std::unique_ptr<char[]> text(new (std::nothrow) char[kHexDumpText]);
  if (!text) return;
  size_t used = 0;
  for (size_t i = 0; i < count && used + 4 < kHexDumpText; ++i)
    used += static_cast<size_t>(std::snprintf(text.get() + used, kHexDumpText - used, "%02X ", bytes[i]));
  text[used] = '\0';
  VORN_LOG(VORN_DBUG, "%s\n", text.get());
}

}  // extern "C"
