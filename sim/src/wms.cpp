// The WMS service of the simulated modem: the SIM and NV message stores
// with their capacities and tags, the routes of new messages, the service
// centre address, the domain preference and the service's readiness. The
// SMS centre that sends and delivers is in wms_centre.cpp.
#include <algorithm>
#include <cstring>

#include <vornsim/sim.h>
#include <vornsim/wms.h>

#include "sms/messages.h"
#include "wms_state.h"

namespace vornsim::wms_sim {
namespace {

namespace sms = vorn::sms;
using vorn::qmi::NoRequest;

// Refusals of the store, by the service's codes.
constexpr auto kInvalidIndex = static_cast<qmi_error_type_v01>(0x0020);
constexpr auto kStoreFull = static_cast<qmi_error_type_v01>(0x0021);
constexpr auto kMemoryFailure = static_cast<qmi_error_type_v01>(0x0022);
constexpr uint32_t kTagMax = WMS_TAG_TYPE_MO_NOT_SENT_V01;

uint32_t lowest_free(const std::map<uint32_t, Bytes> &store, uint32_t capacity) {
  uint32_t index = 0;
  while (index < capacity && store.count(index) != 0) ++index;
  return index;
}

uint32_t capacity_of(const State &s, uint32_t storage) { return s.capacity[storage]; }

// ---- the stores ----------------------------------------------------------------

void raw_write(State &s, const sms::RawWrite::Req &req, sms::RawWrite::Resp &resp) {
  const wms_raw_message_write_data_type_v01 &data = req.raw_message_write_data;
  std::map<uint32_t, Bytes> *store = s.store(data.storage_type);
  if (store == nullptr || data.raw_message_len == 0 || data.raw_message_len > sizeof data.raw_message ||
      (req.tag_type_valid && req.tag_type > kTagMax))
    return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  if (s.failing[data.storage_type] != 0) return refuse_with(resp, kMemoryFailure);
  uint32_t index = lowest_free(*store, capacity_of(s, data.storage_type));
  if (index >= capacity_of(s, data.storage_type)) return refuse_with(resp, kStoreFull);
  uint32_t tag = req.tag_type_valid ? req.tag_type : WMS_TAG_TYPE_MO_NOT_SENT_V01;
  (*store)[index] = stored_bytes(tag, data.format, data.raw_message, data.raw_message_len);
  resp.storage_index = index;
}

const Bytes *find(State &s, uint32_t storage, uint32_t index) {
  std::map<uint32_t, Bytes> *store = s.store(storage);
  if (store == nullptr) return nullptr;
  auto it = store->find(index);
  return it == store->end() ? nullptr : &it->second;
}

void raw_read(State &s, const sms::RawRead::Req &req, sms::RawRead::Resp &resp) {
  const auto &where = req.message_memory_storage_identification;
  const Bytes *message = find(s, where.storage_type, where.storage_index);
  if (message == nullptr) return refuse_with(resp, kInvalidIndex);
  wms_read_raw_message_data_type_v01 &data = resp.raw_message_data;
  data.tag_type = (*message)[0];
  data.format = (*message)[1];
  data.data_len = static_cast<uint32_t>(std::min(message->size() - 2, sizeof data.data));
  std::memcpy(data.data, message->data() + 2, data.data_len);
}

void modify_tag(State &s, const sms::ModifyTag::Req &req, sms::ModifyTag::Resp &resp) {
  const wms_message_tag_type_v01 &tag = req.wms_message_tag;
  std::map<uint32_t, Bytes> *store = s.store(tag.storage_type);
  if (store == nullptr || tag.tag_type > kTagMax) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  auto it = store->find(tag.storage_index);
  if (it == store->end()) return refuse_with(resp, kInvalidIndex);
  it->second[0] = static_cast<uint8_t>(tag.tag_type);
}

void remove(State &s, const sms::Delete::Req &req, sms::Delete::Resp &resp) {
  std::map<uint32_t, Bytes> *store = s.store(req.storage_type);
  if (store == nullptr) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  if (req.index_valid) {
    if (store->erase(req.index) == 0) return refuse_with(resp, kInvalidIndex);
    return;
  }
  for (auto it = store->begin(); it != store->end();)
    it = !req.tag_type_valid || it->second[0] == req.tag_type ? store->erase(it) : std::next(it);
}

void list(State &s, const sms::ListMessages::Req &req, sms::ListMessages::Resp &resp) {
  std::map<uint32_t, Bytes> *store = s.store(req.storage_type);
  if (store == nullptr) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  for (const auto &[index, message] : *store) {
    if (req.tag_type_valid && message[0] != req.tag_type) continue;
    if (resp.message_tuple_len == WMS_MESSAGE_TUPLE_MAX_V01) break;
    resp.message_tuple[resp.message_tuple_len++] = {index, message[0]};
  }
}

void store_size(State &s, const sms::GetStoreMaxSize::Req &req, sms::GetStoreMaxSize::Resp &resp) {
  std::map<uint32_t, Bytes> *store = s.store(req.storage_type);
  if (store == nullptr) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  resp.mem_store_max_size = capacity_of(s, req.storage_type);
  resp.free_slots_valid = 1;
  resp.free_slots = resp.mem_store_max_size - static_cast<uint32_t>(store->size());
}

// ---- routes and settings --------------------------------------------------------

void set_routes(State &s, const sms::SetRoutes::Req &req, sms::SetRoutes::Resp &resp) {
  if (req.route_list_tuple_len > WMS_ROUTE_TUPLE_MAX_V01) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  for (uint32_t i = 0; i < req.route_list_tuple_len; ++i) {
    const wms_set_route_list_tuple_type_v01 &t = req.route_list_tuple[i];
    if (t.route_class >= kClasses || t.route_value > WMS_ROUTE_TRANSFER_TO_CLIENT_V01)
      return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  }
  for (uint32_t i = 0; i < req.route_list_tuple_len; ++i) {
    const wms_set_route_list_tuple_type_v01 &t = req.route_list_tuple[i];
    s.routes[t.route_class * 2] = t.route_memory;
    s.routes[t.route_class * 2 + 1] = t.route_value;
  }
  if (req.transfer_ind_valid) s.transfer_ind = req.transfer_ind;
  // A client with the routes it wants gets what waited for it.
  if (s.mt_reports != 0 && !s.hold) deliver_waiting(s, {});
}

void get_routes(State &s, const NoRequest &, sms::GetRoutes::Resp &resp) {
  resp.route_list_len = kClasses;
  for (uint32_t cls = 0; cls < kClasses; ++cls)
    resp.route_list[cls] = {0, cls, s.routes[cls * 2], s.routes[cls * 2 + 1]};
  resp.transfer_ind_valid = 1;
  resp.transfer_ind = s.transfer_ind;
}

void get_smsc(State &s, const NoRequest &, sms::GetSmscAddress::Resp &resp) {
  wms_smsc_address_type_v01 &smsc = resp.smsc_address;
  std::memcpy(smsc.smsc_address_type, s.smsc_type.data(),
              std::min(s.smsc_type.size(), sizeof smsc.smsc_address_type));
  smsc.smsc_address_digits_len =
      static_cast<uint32_t>(std::min(s.smsc.size(), sizeof smsc.smsc_address_digits));
  std::memcpy(smsc.smsc_address_digits, s.smsc.data(), smsc.smsc_address_digits_len);
}

void set_smsc(State &s, const sms::SetSmscAddress::Req &req, sms::SetSmscAddress::Resp &resp) {
  std::string digits = field_text(req.smsc_address_digits);
  if (digits.empty() || digits.size() > WMS_ADDRESS_DIGIT_MAX_V01)
    return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  s.smsc = digits;
  if (req.smsc_address_type_valid) s.smsc_type = field_text(req.smsc_address_type);
}

void install(ServiceModule<State> &m) {
  m.serve<sms::RawWrite>(raw_write);
  m.serve<sms::RawRead>(raw_read);
  m.serve<sms::ModifyTag>(modify_tag);
  m.serve<sms::Delete>(remove);
  m.serve<sms::ListMessages>(list);
  m.serve<sms::GetStoreMaxSize>(store_size);
  m.serve<sms::SetRoutes>(set_routes);
  m.serve<sms::GetRoutes>(get_routes);
  m.serve<sms::GetSmscAddress>(get_smsc);
  m.serve<sms::SetSmscAddress>(set_smsc);
  m.serve<sms::GetDomainPref>([](State &s, const NoRequest &, auto &resp) {
    resp.gw_domain_pref_valid = 1;
    resp.gw_domain_pref = s.gw_domain_pref;
  });
  m.serve<sms::SetDomainPref>([](State &s, const auto &req, auto &resp) {
    if (!req.gw_domain_pref_valid) return;
    resp.gw_domain_pref_outcome_valid = 1;
    if (req.gw_domain_pref > 3) {
      resp.gw_domain_pref_outcome = 1;
      return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
    }
    s.gw_domain_pref = req.gw_domain_pref;
  });
  m.serve<sms::SetPrimaryClient>([](State &, const auto &, auto &) {});
  m.serve<sms::IndicationRegister>([](State &, const auto &, auto &) {});
  m.serve<sms::GetTransportLayer>([](State &, const NoRequest &, auto &resp) {
    resp.registered_ind_valid = 1;
    resp.registered_ind = 1;
    resp.transport_layer_info_valid = 1;
    resp.transport_layer_info = {1, 1};  // IMS, GW
  });
  m.serve<sms::GetTransportNwReg>([](State &, const NoRequest &, auto &resp) {
    resp.transport_nw_reg_status_valid = 1;
    resp.transport_nw_reg_status = 2;  // full service
  });
  m.serve<sms::GetServiceReady>([](State &, const NoRequest &, auto &resp) {
    resp.ready_status_valid = 1;
    resp.ready_status = 1;  // 3GPP ready
  });
  install_centre(m);
}

ServiceModule<State> wms_module("wms", Svc::WMS, [] { return State{}; }, install);

}  // namespace

ServiceModule<State> &module() { return wms_module; }

}  // namespace vornsim::wms_sim

namespace vornsim::wms {

using wms_sim::State;

std::vector<Stored> stored(uint32_t storage) {
  return wms_sim::module().with_state([storage](State &s) {
    std::vector<Stored> out;
    if (std::map<uint32_t, Bytes> *store = s.store(storage))
      for (const auto &[index, bytes] : *store)
        out.push_back({index, bytes[0], bytes[1], Bytes(bytes.begin() + 2, bytes.end())});
    return out;
  });
}

void set_capacity(uint32_t storage, uint32_t capacity) {
  wms_sim::module().with_state([=](State &s) {
    if (storage <= kNv) s.capacity[storage] = capacity;
  });
}

void fail_writes(uint32_t storage, bool fail) {
  wms_sim::module().with_state([=](State &s) {
    if (storage <= kNv) s.failing[storage] = fail ? 1 : 0;
  });
}

std::vector<Route> routes() {
  return wms_sim::module().with_state([](State &s) {
    std::vector<Route> out;
    for (uint32_t cls = 0; cls < wms_sim::kClasses; ++cls)
      out.push_back({s.routes[cls * 2], s.routes[cls * 2 + 1]});
    return out;
  });
}

}  // namespace vornsim::wms
