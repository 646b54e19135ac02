// Messages kept by the modem, on the SIM or in its NV, through WMS. The AP
// storage (2) is the store layer's: these functions leave it alone.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include <vornpal/sms.h>

#include "foundation/log_site.h"
#include "sms/client.h"

namespace {

namespace sms = vorn::sms;

constexpr int32_t kPduMax = 255;
constexpr uint32_t kUnknownStatus = 0xFFFFFFFFu;

// Public status and WMS tag, both ways.
constexpr uint32_t kTagOfStatus[] = {WMS_TAG_TYPE_MT_NOT_READ_V01, WMS_TAG_TYPE_MT_READ_V01,
                                     WMS_TAG_TYPE_MO_NOT_SENT_V01, WMS_TAG_TYPE_MO_SENT_V01};

bool tag_of_status(uint32_t status, uint32_t &tag) {
  if (status >= std::size(kTagOfStatus)) return false;
  tag = kTagOfStatus[status];
  return true;
}

bool status_of_tag(uint32_t tag, uint32_t &status) {
  for (uint32_t s = 0; s < std::size(kTagOfStatus); ++s)
    if (kTagOfStatus[s] == tag) {
      status = s;
      return true;
    }
  return false;
}

struct FormatPair {
  uint32_t wms;
  uint32_t stored;
};
constexpr FormatPair kFormats[] = {
    {WMS_MESSAGE_FORMAT_CDMA_V01, SMS_FORMAT_CDMA},
    {WMS_MESSAGE_FORMAT_GW_PP_V01, SMS_FORMAT_GW_PP},
    {WMS_MESSAGE_FORMAT_GW_BC_V01, SMS_FORMAT_GW_BC},
    {WMS_MESSAGE_FORMAT_MWI_V01, SMS_FORMAT_MWI},
};

bool modem_storage(uint32_t storage) {
  if (storage <= SMS_STORAGE_NV) return true;
  VORN_LOG(VORN_ERR, "invalid storage_type=%d.\n", static_cast<int>(storage));
  return false;
}

template <class Resp>
void log_failure(const char *name, const Resp &resp) {
  VORN_LOG(VORN_ERR, "%s failed, result: %d, error: %d.\n", name, static_cast<int>(resp.resp.result),
           static_cast<int>(resp.resp.error));
}

// One request in GSM/WCDMA message mode; a refusal is logged under `name`.
template <class Msg>
bool send_gw(typename Msg::Req &req, typename Msg::Resp &resp, const char *name = Msg::name) {
  req.message_mode_valid = 1;
  req.message_mode = WMS_MESSAGE_MODE_GW_V01;
  if (sms::send<Msg>(req, resp).verdict == 0) return true;
  log_failure(name, resp);
  return false;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_sms_pal_get_storage_info(uint32_t storage, sms_storage_info *info) {
  if (storage == SMS_STORAGE_AP) return VORN_OK;
  if (storage > SMS_STORAGE_AP) {
    VORN_LOG(VORN_ERR, "invalid storage_type=%d.\n", static_cast<int>(storage));
    return VORN_INVALID_PARAM;
  }
  if (info == nullptr) return VORN_FAILURE;
  wms_get_store_max_size_req_msg_v01 req{};
  req.storage_type = storage;
  wms_get_store_max_size_resp_msg_v01 resp;
  if (!send_gw<sms::GetStoreMaxSize>(req, resp)) return VORN_FAILURE;
  info->total = resp.mem_store_max_size;
  info->used = resp.free_slots_valid ? resp.mem_store_max_size - resp.free_slots
                                     : resp.mem_store_max_size;
  sms::check_msg_storage();
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_get_valid_index(uint32_t storage, uint32_t list_flag,
                                             sms_index_status *pairs, uint32_t capacity) {
  if (storage == SMS_STORAGE_AP || !modem_storage(storage)) return 0;
  wms_list_messages_req_msg_v01 req{};
  req.storage_type = storage;
  if (list_flag <= SMS_LIST_NOT_SENT) {
    req.tag_type_valid = 1;
    req.tag_type = list_flag;  // the list flags are the tags' own numbers
  }
  auto resp = std::make_unique<wms_list_messages_resp_msg_v01>();
  if (!send_gw<sms::ListMessages>(req, *resp)) return 0;
  const uint32_t count = std::min<uint32_t>(resp->message_tuple_len, WMS_MESSAGE_TUPLE_MAX_V01);
  for (uint32_t i = 0; i < count; ++i)
    VORN_LOG(VORN_DBUG, "LIST_MESSAGES[%d]:index=%d,tag_type=%d\n", static_cast<int>(i),
             static_cast<int>(resp->message_tuple[i].message_index),
             static_cast<int>(resp->message_tuple[i].tag_type));
  if (pairs == nullptr || capacity < 1) return static_cast<int>(count);
  const uint32_t written = std::min(count, capacity);
  for (uint32_t i = 0; i < written; ++i) {
    pairs[i].index = resp->message_tuple[i].message_index;
    if (!status_of_tag(resp->message_tuple[i].tag_type, pairs[i].status))
      pairs[i].status = kUnknownStatus;
  }
  return static_cast<int>(written);
}

VORNPAL_API int vorn_sms_pal_delete_msg(uint32_t storage, uint32_t index, uint32_t flag) {
  if (storage == SMS_STORAGE_AP) return VORN_UNAVAILABLE;
  if (!modem_storage(storage)) return VORN_FAILURE;
  wms_delete_req_msg_v01 req{};
  req.storage_type = storage;
  if (flag == 0) {
    req.index_valid = 1;
    req.index = index;
  } else if (flag <= 4) {
    req.tag_type_valid = 1;
    req.tag_type = flag - 1;
  } else {
    VORN_LOG(VORN_ERR, "invalid del_flag: %d.\n", static_cast<int>(flag));
    return VORN_FAILURE;
  }
  wms_result_resp_msg_v01 resp;
  return send_gw<sms::Delete>(req, resp) ? VORN_OK : VORN_FAILURE;
}

VORNPAL_API int vorn_sms_pal_modify_msg(uint32_t storage, uint32_t index, uint32_t flag) {
  if (storage == SMS_STORAGE_AP) return VORN_UNAVAILABLE;
  if (!modem_storage(storage)) return VORN_FAILURE;
  wms_modify_tag_req_msg_v01 req{};
  if (!tag_of_status(flag, req.wms_message_tag.tag_type)) {
    VORN_LOG(VORN_ERR, "invalid modify_flag: %d.\n", static_cast<int>(flag));
    return VORN_INVALID_PARAM;
  }
  req.wms_message_tag.storage_type = storage;
  req.wms_message_tag.storage_index = index;
  wms_result_resp_msg_v01 resp;
  // The modem's own tools name this failure as a delete's.
  return send_gw<sms::ModifyTag>(req, resp, "QMI_WMS_DELETE_REQ_V01") ? VORN_OK : VORN_FAILURE;
}

VORNPAL_API int vorn_sms_pal_modify(uint32_t storage, uint32_t index,
                                    const sms_store_message *record) {
  if (record == nullptr) return VORN_FAILURE;
  return vorn_sms_pal_modify_msg(storage, index, record->sms_status);
}

VORNPAL_API int vorn_sms_pal_read_msg(uint32_t storage, int32_t index, sms_store_message *record) {
  if (index == SMS_PAL_INDEX_ALL) {
    VORN_LOG(VORN_ERR, "not support SMS_PAL_INDEX_ALL\n");
    return 0;
  }
  if (record == nullptr) {
    VORN_LOG(VORN_ERR, "NULL p_sms_msg.\n");
    return 0;
  }
  if (storage == SMS_STORAGE_AP || !modem_storage(storage)) return 0;
  wms_raw_read_req_msg_v01 req{};
  req.message_memory_storage_identification = {storage, static_cast<uint32_t>(index)};
  wms_raw_read_resp_msg_v01 resp;
  if (!send_gw<sms::RawRead>(req, resp)) return 0;
  const wms_read_raw_message_data_type_v01 &data = resp.raw_message_data;
  std::memset(record, 0, sizeof *record);
  record->sms_pdu_len = std::min<uint32_t>(data.data_len, kPduMax);
  std::memcpy(record->sms_pdu_data, data.data, record->sms_pdu_len);
  const FormatPair *format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                          [&](const FormatPair &f) { return f.wms == data.format; });
  if (format != std::end(kFormats)) {
    record->sms_format = format->stored;
  } else {
    VORN_LOG(VORN_ERR, "invalid format=%d.\n", static_cast<int>(data.format));
  }
  if (!status_of_tag(data.tag_type, record->sms_status)) {
    VORN_LOG(VORN_ERR, "invalid tag_type=%d.\n", static_cast<int>(data.tag_type));
    return 0;
  }
  return 1;
}

VORNPAL_API int vorn_sms_pal_write_msg(uint32_t storage, const uint8_t *pdu, int32_t length,
                                       uint32_t status, uint32_t *index) {
  if (pdu == nullptr || length <= 0) {
    VORN_LOG(VORN_ERR, "NULL pdu_ptr.\n");
    return VORN_FAILURE;
  }
  if (length > kPduMax) {
    VORN_LOG(VORN_ERR, "pdu_len err=%d.\n", length);
    return VORN_INVALID_PARAM;
  }
  if (storage == SMS_STORAGE_AP) return VORN_UNAVAILABLE;
  if (!modem_storage(storage)) return VORN_FAILURE;
  wms_raw_write_req_msg_v01 req{};
  if (!tag_of_status(status, req.tag_type)) {
    VORN_LOG(VORN_ERR, "invalid write_flag: %d.\n", static_cast<int>(status));
    return VORN_FAILURE;
  }
  req.tag_type_valid = 1;
  wms_raw_message_write_data_type_v01 &data = req.raw_message_write_data;
  data.storage_type = storage;
  data.format = WMS_MESSAGE_FORMAT_GW_PP_V01;
  data.raw_message_len = static_cast<uint32_t>(length);
  std::memcpy(data.raw_message, pdu, static_cast<size_t>(length));
  wms_raw_write_resp_msg_v01 resp;
  if (sms::send<sms::RawWrite>(req, resp).verdict != 0) {
    log_failure("QMI_WMS_RAW_WRITE_REQ_V01", resp);
    return VORN_FAILURE;
  }
  VORN_LOG(VORN_INFO, "QMI_WMS_RAW_WRITE_REQ_V01 success:storage_index=%d.\n",
           static_cast<int>(resp.storage_index));
  if (index != nullptr) *index = resp.storage_index;
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_write(uint32_t storage, const sms_store_message *record,
                                   uint32_t *index) {
  if (record == nullptr) return VORN_FAILURE;
  return vorn_sms_pal_write_msg(storage, record->sms_pdu_data,
                                static_cast<int32_t>(record->sms_pdu_len), record->sms_status, index);
}

VORNPAL_API int vorn_sms_pal_send_sms_storage_msg(uint32_t storage, uint32_t index,
                                                  uint32_t *message_id) {
  if (!modem_storage(storage)) return VORN_FAILURE;
  wms_send_from_mem_store_req_msg_v01 req{};
  req.send_from_mem_store_data = {storage, index, WMS_MESSAGE_MODE_GW_V01};
  wms_send_from_mem_store_resp_msg_v01 resp;
  if (sms::send<sms::SendFromMemStore>(req, resp).verdict != 0) {
    log_failure("QMI_WMS_SEND_FROM_MEM_STORE_REQ_V01", resp);
    if (resp.cause_code_valid)
      VORN_LOG(VORN_ERR, "cause_code=%d.\n", static_cast<int>(resp.cause_code));
    if (resp.error_class_valid)
      VORN_LOG(VORN_ERR, "error_class=%d.\n", static_cast<int>(resp.error_class));
    if (resp.gw_cause_info_valid)
      VORN_LOG(VORN_ERR, "rp_cause=%d,tp_cause=%d.\n", static_cast<int>(resp.gw_cause_info.rp_cause),
               static_cast<int>(resp.gw_cause_info.tp_cause));
    if (resp.message_delivery_failure_type_valid)
      VORN_LOG(VORN_ERR, "message_delivery_failure_type=%d.\n",
               static_cast<int>(resp.message_delivery_failure_type));
    return VORN_SMS_SEND_FROM_STORE_FAILED;
  }
  if (message_id != nullptr && resp.message_id_valid) *message_id = resp.message_id;
  return VORN_OK;
}

}  // extern "C"
