// Where the modem puts new messages: the route of each message class for
// the receive storage, the acknowledgement that goes with it, and the repair
// of a modem that lost the routes the library set.
#include <algorithm>

#include <vornpal/sms.h>

#include "foundation/log_site.h"
#include "sms/client.h"

namespace {

namespace sms = vorn::sms;

constexpr uint32_t kClasses = 5;  // classes 0..3 and 4 (none)

using RouteValues = uint32_t[kClasses];

// Receipt action per message class.
constexpr RouteValues kStoreAll = {1, 1, 1, 1, 1};
constexpr RouteValues kStoreClass3Direct = {1, 1, 1, 2, 1};
constexpr RouteValues kDirectWithCsms = {3, 2, 1, 2, 2};
constexpr RouteValues kDirectWithoutCsms = {3, 3, 1, 3, 3};
constexpr RouteValues kApAckedByLibrary = {1, 2, 2, 2, 2};
constexpr RouteValues kApAckedByApplication = {1, 4, 4, 4, 4};

const RouteValues &route_values(uint32_t storage) {
  const sms::Config &c = sms::config();
  if (storage == SMS_STORAGE_AP)
    return c.is_send_ack.get() == 1 ? kApAckedByLibrary : kApAckedByApplication;
  switch (c.cnmi_mt.get()) {
    case 3: return kStoreClass3Direct;
    case 2: return c.csms_service.get() != 0 ? kDirectWithCsms : kDirectWithoutCsms;
    default: return kStoreAll;
  }
}

uint32_t route_memory(uint32_t storage) {
  static constexpr uint32_t kMemory[] = {WMS_STORAGE_TYPE_UIM_V01, WMS_STORAGE_TYPE_NV_V01,
                                         WMS_STORAGE_TYPE_NONE_V01};
  return kMemory[storage];
}

// The storage a route's memory names; -1 for none the library knows.
int32_t storage_of_memory(uint32_t memory) {
  switch (memory) {
    case WMS_STORAGE_TYPE_UIM_V01: return SMS_STORAGE_UIM;
    case WMS_STORAGE_TYPE_NV_V01: return SMS_STORAGE_NV;
    case WMS_STORAGE_TYPE_NONE_V01: return SMS_STORAGE_AP;
    default: return -1;
  }
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_sms_pal_set_receive_msg_storage(uint32_t storage) {
  if (storage > SMS_STORAGE_AP) {
    VORN_LOG(VORN_ERR, "invalid storage_type.\n");
    return VORN_INVALID_PARAM;
  }
  sms::config().storage_type.set(storage);
  const RouteValues &values = route_values(storage);
  wms_set_routes_req_msg_v01 req{};
  req.route_list_tuple_len = kClasses;
  for (uint32_t cls = 0; cls < kClasses; ++cls)
    req.route_list_tuple[cls] = {0, cls, route_memory(storage), values[cls]};
  req.transfer_ind_valid = 1;
  req.transfer_ind = (sms::config().cnmi_ds.get() & ~2u) != 0 ? 1 : 0;
  wms_result_resp_msg_v01 resp;
  if (sms::send<sms::SetRoutes>(req, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI_WMS_GET_STORE_MAX_SIZE_REQ_V01 failed, result: %d, error: %d.\n",
             static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
    return VORN_FAILURE;
  }
  VORN_LOG(VORN_INFO, "set storage_type success.\n");
  return VORN_OK;
}

VORNPAL_API int vorn_sms_pal_get_receive_msg_storage(int32_t *storage, uint32_t) {
  if (storage == nullptr) return VORN_FAILURE;
  wms_get_routes_resp_msg_v01 resp;
  if (sms::send<sms::GetRoutes>(resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI_WMS_GET_ROUTES_REQ_V01 failed, result: %d, error: %d.\n",
             static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
    return VORN_FAILURE;
  }
  const uint32_t count = std::min<uint32_t>(resp.route_list_len, WMS_ROUTE_TUPLE_MAX_V01);
  for (uint32_t i = 0; i < count; ++i) {
    const wms_set_route_list_tuple_type_v01 &r = resp.route_list[i];
    VORN_LOG(VORN_INFO, "sms route[%d]:route_type=%d,route_class=%d,route_memory=%d,route_value=%d.\n",
             static_cast<int>(i), static_cast<int>(r.route_type), static_cast<int>(r.route_class),
             static_cast<int>(r.route_memory), static_cast<int>(r.route_value));
  }
  int result = static_cast<int>(count);
  *storage = count > 0 ? storage_of_memory(resp.route_list[0].route_memory) : -1;
  if (*storage < 0) result = 0;
  // A modem that lost the library's routes gets them again.
  const uint32_t wanted = sms::config().storage_type.get();
  if (*storage != static_cast<int32_t>(wanted)) {
    vorn_sms_pal_set_receive_msg_storage(wanted);
    *storage = static_cast<int32_t>(wanted);
  }
  return result;
}

VORNPAL_API int vorn_sms_pal_store_full(uint32_t room_available) {
  sms::Config &c = sms::config();
  const uint32_t refuse = room_available == 0 ? 1 : 0;
  c.act_flag_full.set(refuse);
  c.is_send_ack.set(refuse);
  VORN_LOG(VORN_INFO, "oem_sms_pal_store_full:is_send_ack = %d;act_flag_full = %d\r\n",
           static_cast<int>(refuse), static_cast<int>(refuse));
  int rc = vorn_sms_pal_set_receive_msg_storage(c.storage_type.get());
  if (rc != VORN_OK) VORN_LOG(VORN_ERR, "pal_set_recv_msg_storage failed:%d\r\n", rc);
  return rc;
}

}  // extern "C"

namespace vorn::sms {

// After a look at a store: the routes must still name the library's storage.
void check_msg_storage() {
  int32_t storage = -1;
  vorn_sms_pal_get_receive_msg_storage(&storage, 0);
  const uint32_t wanted = config().storage_type.get();
  if (storage == static_cast<int32_t>(wanted)) return;
  VORN_LOG(VORN_INFO, "pal set storage = %d\r\n", static_cast<int>(wanted));
  int rc = vorn_sms_pal_set_receive_msg_storage(wanted);
  if (rc != VORN_OK) VORN_LOG(VORN_ERR, "pal_set_recv_msg_storage failed:%d\r\n", rc);
}

}  // namespace vorn::sms
