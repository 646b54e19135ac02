// The AP family: the daemon's messages in the store layer's sqlite store of
// 100 messages. The record a caller passes is copied into one of the
// library's own first, so that a length or text field out of bounds never
// reaches the database.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>

#include <vornpal/sms.h>

#include "foundation/log_site.h"
#include "sms/store.h"

namespace {

constexpr int32_t kCapacity = 100;

std::atomic<sms_store_handle *> g_sms_apps_store{nullptr};

// A handle that the store layer closed meanwhile is forgotten.
sms_store_handle *store() {
  sms_store_handle *h = g_sms_apps_store.load();
  if (h != nullptr && h != vorn::sms::sqlite_handle()) {
    g_sms_apps_store.compare_exchange_strong(h, nullptr);
    h = nullptr;
  }
  if (h == nullptr) VORN_LOG(VORN_ERR, "NULL g_sms_apps_store\n");
  return h;
}

// A new record in the AP's format; false when the caller's cannot be one.
bool copy_record(const sms_store_message &from, sms_store_message &to) {
  if (from.sms_pdu_len > SMS_STORE_PDU_MAX || from.sms_status > SMS_STATUS_SENT) return false;
  std::memset(&to, 0, sizeof to);
  to.sms_format = SMS_FORMAT_GW_PP;
  to.sms_status = from.sms_status;
  to.sms_pdu_len = from.sms_pdu_len;
  std::memcpy(to.sms_pdu_data, from.sms_pdu_data, from.sms_pdu_len);
  std::memcpy(to.sms_extra_da, from.sms_extra_da,
              strnlen(from.sms_extra_da, sizeof to.sms_extra_da - 1));
  std::memcpy(to.sms_extra_time, from.sms_extra_time,
              strnlen(from.sms_extra_time, sizeof to.sms_extra_time - 1));
  return true;
}

int stored(int rc) {
  if (rc == SMS_STORE_OK) return VORN_OK;
  VORN_LOG(VORN_ERR, "oem_sms_store_write error:%d\n", rc);
  return VORN_INVALID_PARAM;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_sms_pal_ap_init(void) {
  sms_store_handle *h = vorn_sms_store_init(SMS_STORE_KIND_SQLITE, kCapacity);
  if (h == nullptr) {
    VORN_LOG(VORN_ERR, "oem_sms_store_init error...\n");
    return VORN_FAILURE;
  }
  g_sms_apps_store.store(h);
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_ap_get_storage_info(sms_storage_info *info) {
  sms_store_handle *h = store();
  if (h == nullptr) return VORN_UNAVAILABLE;
  if (info == nullptr) return VORN_INVALID_PARAM;
  return vorn_sms_store_info(h, info) == SMS_STORE_OK ? VORN_OK : VORN_INVALID_PARAM;
}

VORNPAL_API int vorn_sms_pal_ap_read_msg(int32_t index, sms_store_message *records,
                                         uint32_t capacity) {
  sms_store_handle *h = store();
  if (h == nullptr || records == nullptr || capacity == 0) return 0;
  auto read = [h](uint32_t at, sms_store_message &record) {
    int rc = vorn_sms_store_read(h, at, &record);
    if (rc != SMS_STORE_OK) VORN_LOG(VORN_ERR, "oem_sms_store_read error:%d\n", rc);
    return rc == SMS_STORE_OK;
  };
  if (index != SMS_PAL_INDEX_ALL) return read(static_cast<uint32_t>(index), records[0]) ? 1 : VORN_INVALID_PARAM;
  std::unique_ptr<sms_index_status[]> pairs(new (std::nothrow) sms_index_status[kCapacity]);
  if (!pairs) return 0;
  const int listed = vorn_sms_store_list(h, SMS_LIST_ALL, pairs.get(), kCapacity);
  const uint32_t count = std::min(static_cast<uint32_t>(std::max(listed, 0)), capacity);
  for (uint32_t i = 0; i < count; ++i)
    if (!read(pairs[i].index, records[i])) return VORN_INVALID_PARAM;
  return static_cast<int>(count);
}

VORNPAL_API int vorn_sms_pal_ap_delete_msg(uint32_t index, uint32_t flag) {
  sms_store_handle *h = store();
  if (h == nullptr) return VORN_UNAVAILABLE;
  if (flag > 5) {
    VORN_LOG(VORN_ERR, "invalid delete_flag:%d ===\n", static_cast<int>(flag));
    return 1;
  }
  return vorn_sms_store_delete(h, index, flag);
}

VORNPAL_API int vorn_sms_pal_ap_modify_msg(uint32_t index, uint32_t status) {
  sms_store_handle *h = store();
  if (h == nullptr) return VORN_UNAVAILABLE;
  if (status > SMS_STATUS_SENT) {
    VORN_LOG(VORN_ERR, "invalid modify_flag:%d ===\n", static_cast<int>(status));
    return 1;
  }
  return vorn_sms_store_modify(h, index, status);
}

VORNPAL_API int vorn_sms_pal_ap_modify(uint32_t index, const sms_store_message *record) {
  sms_store_handle *h = store();
  if (h == nullptr) return VORN_UNAVAILABLE;
  sms_store_message copy;
  if (record == nullptr || !copy_record(*record, copy)) return VORN_INVALID_PARAM;
  return stored(vorn_sms_store_modify_msg(h, index, &copy));
}

VORNPAL_API int vorn_sms_pal_ap_write(const sms_store_message *record, uint32_t *index) {
  sms_store_handle *h = store();
  if (h == nullptr) return VORN_UNAVAILABLE;
  sms_store_message copy;
  if (record == nullptr || !copy_record(*record, copy)) return VORN_INVALID_PARAM;
  return stored(vorn_sms_store_write(h, &copy, index));
}

VORNPAL_API int vorn_sms_pal_ap_write_msg(const uint8_t *pdu, uint32_t length, uint32_t status,
                                          uint32_t *index) {
  sms_store_handle *h = store();
  if (h == nullptr) return VORN_UNAVAILABLE;
  if (pdu == nullptr || length == 0 || length > SMS_STORE_PDU_MAX || status > SMS_STATUS_SENT)
    return VORN_INVALID_PARAM;
  sms_store_message record{};
  record.sms_format = SMS_FORMAT_GW_PP;
  record.sms_status = status;
  record.sms_pdu_len = length;
  std::memcpy(record.sms_pdu_data, pdu, length);
  int rc = vorn_sms_store_write(h, &record, index);
  if (rc == SMS_STORE_FULL) {
    VORN_LOG(VORN_ERR, "oem_sms_store_write error:%d\n", rc);
    return VORN_SMS_AP_STORE_FULL;
  }
  return stored(rc);
}

VORNPAL_API int vorn_sms_pal_ap_get_valid_index(uint32_t list_flag, sms_index_status *pairs,
                                                uint32_t capacity) {
  if (list_flag > SMS_LIST_ALL) {
    VORN_LOG(VORN_ERR, "invalid list_flag:%d ===\n", static_cast<int>(list_flag));
    return 0;
  }
  sms_store_handle *h = store();
  if (h == nullptr) return 0;
  std::unique_ptr<sms_index_status[]> all(new (std::nothrow) sms_index_status[kCapacity]);
  if (!all) return 0;
  const int listed = vorn_sms_store_list(h, list_flag, all.get(), kCapacity);
  if (pairs == nullptr || capacity == 0 || listed <= 0) return std::max(listed, 0);
  const uint32_t count = std::min(static_cast<uint32_t>(listed), capacity);
  std::copy_n(all.get(), count, pairs);
  return static_cast<int>(count);
}

}  // extern "C"
