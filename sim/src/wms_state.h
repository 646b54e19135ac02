// The state of the simulated WMS service, shared by its two files: the
// service's messages and stores (wms.cpp) and the SMS centre behind it
// (wms_centre.cpp).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <vornpal/platform/wireless_messaging_service_v01.h>
#include <vornsim/wms.h>

#include "service_module.h"

namespace vornsim::wms_sim {

using wms::Ack;
using wms::Mo;

constexpr uint32_t kClasses = 5;  // message classes 0..3 and 4 (none)

// A stored message's bytes: tag, format, then the PDU as written.
inline Bytes stored_bytes(uint32_t tag, uint32_t format, const uint8_t *pdu, size_t len) {
  Bytes bytes = {static_cast<uint8_t>(tag), static_cast<uint8_t>(format)};
  bytes.insert(bytes.end(), pdu, pdu + len);
  return bytes;
}

struct State {
  std::map<uint32_t, Bytes> uim;  // by index
  std::map<uint32_t, Bytes> nv;
  std::array<uint32_t, 2> capacity = {20, 50};
  std::array<uint32_t, 2> failing = {0, 0};
  // Memory and value per class, as the factory sets them: store in NV.
  std::array<uint32_t, kClasses * 2> routes = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
  uint32_t transfer_ind = 0;
  std::string smsc = "+15550000100";
  std::string smsc_type = "145";
  uint32_t gw_domain_pref = 1;
  uint32_t next_reference = 1;
  uint32_t next_transaction = 1;
  uint32_t next_waiting = 1;
  std::map<uint32_t, Bytes> waiting;   // MT TPDUs at the centre, in order
  std::map<uint32_t, Bytes> unacked;   // by transaction id

  // What one modem session sees and the tests read; not saved.
  uint32_t mt_reports = 0;
  bool hold = false;
  bool reject_mo = false;
  wms_gw_cause_info_type_v01 rejection{};
  std::vector<Mo> mo;
  std::vector<Ack> acks;

  template <class Visit>
  void values(Visit &&visit) {
    visit("uim", uim);
    visit("nv", nv);
    visit("capacity", capacity);
    visit("routes", routes);
    visit("transfer_ind", transfer_ind);
    visit("smsc", smsc);
    visit("smsc_type", smsc_type);
    visit("gw_domain_pref", gw_domain_pref);
    visit("next_reference", next_reference);
    visit("next_transaction", next_transaction);
    visit("next_waiting", next_waiting);
    visit("waiting", waiting);
    visit("unacked", unacked);
  }

  std::map<uint32_t, Bytes> *store(uint32_t storage) {
    return storage == WMS_STORAGE_TYPE_UIM_V01 ? &uim : storage == WMS_STORAGE_TYPE_NV_V01 ? &nv : nullptr;
  }
};

ServiceModule<State> &module();

// The centre (wms_centre.cpp): its handlers, and an MT message sent on or
// kept waiting.
void install_centre(ServiceModule<State> &m);
void deliver_or_wait(State &s, const Bytes &tpdu);
void deliver_waiting(State &s, const std::vector<size_t> &order);

}  // namespace vornsim::wms_sim
