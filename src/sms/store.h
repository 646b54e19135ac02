// The store layer's back ends: each kind of store gives one row of
// functions, in the order of the dispatch table (store.cpp).
#pragma once

#include <vornpal/sms.h>

namespace vorn::sms {

struct StoreFunctions {
  int (*info)(sms_store_handle *, sms_storage_info *);
  int (*read)(sms_store_handle *, uint32_t, sms_store_message *);
  int (*remove)(sms_store_handle *, uint32_t, uint32_t);
  int (*modify_msg)(sms_store_handle *, uint32_t, const sms_store_message *);
  int (*write)(sms_store_handle *, const sms_store_message *, uint32_t *);
  int (*modify)(sms_store_handle *, uint32_t, uint32_t);
  int (*list)(sms_store_handle *, uint32_t, sms_index_status *, uint32_t);
  sms_store_handle *(*init)(int32_t);
  int (*deinit)(sms_store_handle *);
};

// The sqlite back end on /data/sms_msg.db (store_sqlite.cpp).
extern const StoreFunctions kSqliteStore;
// Its open handle, or null once vorn_sms_store_deinit closed it.
sms_store_handle *sqlite_handle();

}  // namespace vorn::sms
