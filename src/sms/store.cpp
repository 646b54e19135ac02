// The store layer: every call goes to the back end of the handle's kind
// through one table. Only the sqlite kind has functions; an empty slot
// answers with its fixed result.
#include <cstdio>
#include <cstdlib>

#include "sms/store.h"

namespace {

namespace sms = vorn::sms;

constexpr sms::StoreFunctions kEmpty = {};
const sms::StoreFunctions *const kBackEnds[] = {&kEmpty, &kEmpty, &kEmpty, &sms::kSqliteStore};
constexpr uint32_t kKinds = 4;

// A kind outside the table is a programming error of the caller.
const sms::StoreFunctions &back_end(uint32_t kind, int line) {
  if (kind >= kKinds) {
    std::printf("%s, line: %d\n", __FILE__, line);
    std::fflush(stdout);
    std::abort();
  }
  return *kBackEnds[kind];
}

// The slot of a handle's back end; a null handle has none.
template <class Fn>
Fn slot(const sms_store_handle *handle, Fn sms::StoreFunctions::*member, int line) {
  if (handle == nullptr) return nullptr;
  return back_end(handle->store_kind, line).*member;
}

}  // namespace

extern "C" {

VORNPAL_API sms_store_handle *vorn_sms_store_init(uint32_t kind, int32_t capacity) {
  auto fn = back_end(kind, __LINE__).init;
  return fn != nullptr ? fn(capacity) : nullptr;
}

VORNPAL_API int vorn_sms_store_deinit(sms_store_handle *handle) {
  auto fn = slot(handle, &sms::StoreFunctions::deinit, __LINE__);
  return fn != nullptr ? fn(handle) : VORN_UNAVAILABLE;
}

VORNPAL_API int vorn_sms_store_info(sms_store_handle *handle, sms_storage_info *info) {
  auto fn = slot(handle, &sms::StoreFunctions::info, __LINE__);
  return fn != nullptr ? fn(handle, info) : VORN_UNAVAILABLE;
}

VORNPAL_API int vorn_sms_store_read(sms_store_handle *handle, uint32_t index,
                                    sms_store_message *record) {
  auto fn = slot(handle, &sms::StoreFunctions::read, __LINE__);
  return fn != nullptr ? fn(handle, index, record) : VORN_UNAVAILABLE;
}

VORNPAL_API int vorn_sms_store_delete(sms_store_handle *handle, uint32_t index, uint32_t flag) {
  auto fn = slot(handle, &sms::StoreFunctions::remove, __LINE__);
  return fn != nullptr ? fn(handle, index, flag) : VORN_UNAVAILABLE;
}

VORNPAL_API int vorn_sms_store_modify_msg(sms_store_handle *handle, uint32_t index,
                                          const sms_store_message *record) {
  auto fn = slot(handle, &sms::StoreFunctions::modify_msg, __LINE__);
  return fn != nullptr ? fn(handle, index, record) : VORN_UNAVAILABLE;
}

VORNPAL_API int vorn_sms_store_write(sms_store_handle *handle, const sms_store_message *record,
                                     uint32_t *index) {
  auto fn = slot(handle, &sms::StoreFunctions::write, __LINE__);
  return fn != nullptr ? fn(handle, record, index) : VORN_UNAVAILABLE;
}

VORNPAL_API int vorn_sms_store_modify(sms_store_handle *handle, uint32_t index, uint32_t status) {
  auto fn = slot(handle, &sms::StoreFunctions::modify, __LINE__);
  return fn != nullptr ? fn(handle, index, status) : VORN_UNAVAILABLE;
}

VORNPAL_API int vorn_sms_store_list(sms_store_handle *handle, uint32_t list_flag,
                                    sms_index_status *pairs, uint32_t capacity) {
  auto fn = slot(handle, &sms::StoreFunctions::list, __LINE__);
  return fn != nullptr ? fn(handle, list_flag, pairs, capacity) : 0;
}

}  // extern "C"
