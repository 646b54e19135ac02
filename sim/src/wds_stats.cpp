// The traffic side of the simulated WDS service: packet counters of each IP
// family that grow while a session carries traffic, the data bearer of the
// serving RAT, PDU session ids, and the MSISDN the network gives an APN.
#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornsim/nas.h>
#include <vornsim/sim.h>
#include <vornsim/wds_stats.h>

#include "data/messages.h"
#include "service_module.h"
#include "wds_clients.h"

namespace vornsim {
namespace {

namespace data = vorn::data;

constexpr uint64_t kPacketBytes = 1500;
constexpr uint8_t kPduIdMax = 15;
constexpr uint32_t kTech3gpp = 1;

struct State {
  // By family (4, 6).
  std::map<uint32_t, uint64_t> tx_bytes, rx_bytes, tx_packets, rx_packets;
  std::map<uint32_t, uint64_t> queued_tx, queued_rx;  // by family, for the next session
  std::map<std::string, Bytes> msisdn;  // by APN, as the answer carries it
  uint32_t next_pdu_id = 1;
  uint32_t last_rat_value = 0;  // the bearer of the last call; 0 none yet
  uint64_t last_so_mask = 0;

  template <class Visit>
  void values(Visit &&visit) {
    visit("tx_bytes", tx_bytes);
    visit("rx_bytes", rx_bytes);
    visit("tx_packets", tx_packets);
    visit("rx_packets", rx_packets);
    visit("queued_tx", queued_tx);
    visit("queued_rx", queued_rx);
    visit("msisdn", msisdn);
    visit("next_pdu_id", next_pdu_id);
    visit("last_rat_value", last_rat_value);
    visit("last_so_mask", last_so_mask);
  }
};

struct Bearer {
  const char *rat;
  uint32_t rat_value;
  uint64_t so_mask;
};

// Service options of the bearer on each RAT, as a call there reports them.
constexpr Bearer kBearers[] = {
    {"GSM", WDS_BEARER_TECH_RAT_EX_3GPP_GERAN_V01, 0x300},   // GSM, EDGE
    {"WCDMA", WDS_BEARER_TECH_RAT_EX_3GPP_WCDMA_V01, 0x47},  // WCDMA, HSDPA, HSUPA, HSPA
    {"LTE", WDS_BEARER_TECH_RAT_EX_3GPP_LTE_V01, 0x1000},    // LTE FDD
    {"ENDC", WDS_BEARER_TECH_RAT_EX_3GPP_LTE_V01, 0x11000},  // LTE FDD with the NR leg
    {"NR", WDS_BEARER_TECH_RAT_EX_3GPP_5G_V01, 0x20000},     // NR stand-alone
};

const Bearer *bearer_of(const std::string &rat) {
  for (const Bearer &b : kBearers)
    if (rat == b.rat) return &b;
  return nullptr;
}

Bytes bcd(const std::string &digits) {
  Bytes out;
  for (size_t i = 0; i < digits.size(); i += 2) {
    const uint8_t low = static_cast<uint8_t>(digits[i] - '0');
    const uint8_t high = i + 1 < digits.size() ? static_cast<uint8_t>(digits[i + 1] - '0') : 0xF;
    out.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  return out;
}

State factory_state() {
  State s;
  s.msisdn["internet"] = bcd("4915112345678");
  return s;
}

void install(ServiceModule<State> &m);
ServiceModule<State> module("wds_stats", Svc::WDS, factory_state, install);

// A client that never bound a family has no call to count: zeros.
wds::Traffic counters_of(State &s, int family) {
  if (family == 0) return {};
  const auto f = static_cast<uint32_t>(family);
  return {s.tx_bytes[f], s.rx_bytes[f], static_cast<uint32_t>(s.tx_packets[f]),
          static_cast<uint32_t>(s.rx_packets[f])};
}

void count_traffic(State &s, int family, uint64_t tx, uint64_t rx) {
  const auto f = static_cast<uint32_t>(family);
  s.tx_bytes[f] += tx;
  s.rx_bytes[f] += rx;
  s.tx_packets[f] += (tx + kPacketBytes - 1) / kPacketBytes;
  s.rx_packets[f] += (rx + kPacketBytes - 1) / kPacketBytes;
}

// Queued bytes flow once a session of their family is up.
void flow_queued(State &s, int family, bool in_session) {
  const auto f = static_cast<uint32_t>(family);
  if (!in_session || (s.queued_tx[f] == 0 && s.queued_rx[f] == 0)) return;
  count_traffic(s, family, s.queued_tx[f], s.queued_rx[f]);
  s.queued_tx[f] = s.queued_rx[f] = 0;
}

void fill_statistics(State &s, int family, wds_get_pkt_statistics_resp_msg_v01 &resp,
                     uint32_t mask) {
  const wds::Traffic c = counters_of(s, family);
  if (mask & QMI_WDS_MASK_STATS_TX_BYTES_OK_V01) {
    resp.tx_ok_bytes_count_valid = 1;
    resp.tx_ok_bytes_count = c.tx_bytes;
  }
  if (mask & QMI_WDS_MASK_STATS_RX_BYTES_OK_V01) {
    resp.rx_ok_bytes_count_valid = 1;
    resp.rx_ok_bytes_count = c.rx_bytes;
  }
  if (mask & QMI_WDS_MASK_STATS_TX_PACKETS_OK_V01) {
    resp.tx_ok_packet_count_valid = 1;
    resp.tx_ok_packet_count = c.tx_packets;
  }
  if (mask & QMI_WDS_MASK_STATS_RX_PACKETS_OK_V01) {
    resp.rx_ok_packet_count_valid = 1;
    resp.rx_ok_packet_count = c.rx_packets;
  }
  if (mask & QMI_WDS_MASK_STATS_TX_PKTS_DROPPED_V01) resp.tx_dropped_count_valid = 1;
  if (mask & QMI_WDS_MASK_STATS_RX_PKTS_DROPPED_V01) resp.rx_dropped_count_valid = 1;
}

// The current bearer while a call is up on a known RAT; the last one is
// remembered across calls, as the modem does.
void fill_bearer(State &s, wds_get_data_bearer_technology_ex_resp_msg_v01 &resp) {
  const bool in_call = wds::family_has_session(4) || wds::family_has_session(6);
  const Bearer *b = bearer_of(nas::registration().rat);
  if (in_call && b != nullptr) {
    resp.bearer_tech_valid = 1;
    resp.bearer_tech = {kTech3gpp, b->rat_value, b->so_mask};
    s.last_rat_value = b->rat_value;
    s.last_so_mask = b->so_mask;
  }
  if (s.last_rat_value != 0) {
    resp.last_bearer_tech_valid = 1;
    resp.last_bearer_tech = {kTech3gpp, s.last_rat_value, s.last_so_mask};
  }
}

void install(ServiceModule<State> &m) {
  on(Svc::WDS, data::GetPktStatistics::id, [](const Request &req, void *resp_buf, size_t len) {
    const auto request = req.as<wds_get_pkt_statistics_req_msg_v01>();
    const int family = wds::client_ip_family(req.client);
    const bool in_session = family != 0 && wds::family_has_session(family);
    wds_get_pkt_statistics_resp_msg_v01 resp{};
    module.with_state([&](State &s) {
      flow_queued(s, family, in_session);
      fill_statistics(s, family, resp, request.stats_mask);
    });
    std::memcpy(resp_buf, &resp, std::min(len, sizeof resp));
    return 0;
  });
  m.serve<data::GetBearerTechEx>([](State &s, const auto &, auto &resp) { fill_bearer(s, resp); });
  m.serve<data::AllocatePduSessionId>([](State &s, const auto &, auto &resp) {
    resp.pdu_session_id_valid = 1;
    resp.pdu_session_id = static_cast<uint8_t>(s.next_pdu_id);
    s.next_pdu_id = s.next_pdu_id >= kPduIdMax ? 1 : s.next_pdu_id + 1;
  });
  m.serve<data::GetApnMsisdn>([](State &s, const auto &req, auto &resp) {
    auto it = s.msisdn.find(field_text(req.apn_name));
    if (it == s.msisdn.end()) return;
    resp.msisdn_valid = 1;
    resp.msisdn_len = static_cast<uint32_t>(std::min<size_t>(it->second.size(), sizeof resp.msisdn));
    std::memcpy(resp.msisdn, it->second.data(), resp.msisdn_len);
  });
}

}  // namespace

namespace wds {

bool push_traffic(int family, uint64_t tx_bytes, uint64_t rx_bytes) {
  if (!family_has_session(family)) return false;
  module.with_state([&](State &s) { count_traffic(s, family, tx_bytes, rx_bytes); });
  return true;
}

void queue_traffic(int family, uint64_t tx_bytes, uint64_t rx_bytes) {
  module.with_state([&](State &s) {
    s.queued_tx[static_cast<uint32_t>(family)] += tx_bytes;
    s.queued_rx[static_cast<uint32_t>(family)] += rx_bytes;
  });
}

Traffic traffic(int family) {
  return module.with_state([family](State &s) { return counters_of(s, family); });
}

void reset_traffic() {
  module.with_state([](State &s) {
    s.tx_bytes.clear();
    s.rx_bytes.clear();
    s.tx_packets.clear();
    s.rx_packets.clear();
    s.queued_tx.clear();
    s.queued_rx.clear();
  });
}

uint64_t bearer_so_mask(const std::string &rat) {
  const Bearer *b = bearer_of(rat);
  return b == nullptr ? 0 : b->so_mask;
}

void set_apn_msisdn(const std::string &apn, const std::string &digits) {
  set_apn_msisdn_bytes(apn, bcd(digits));
}

void set_apn_msisdn_bytes(const std::string &apn, const std::vector<uint8_t> &bytes) {
  module.with_state([&](State &s) {
    if (bytes.empty()) {
      s.msisdn.erase(apn);
    } else {
      s.msisdn[apn] = bytes;
    }
  });
}

void set_next_pdu_session_id(uint8_t id) {
  module.with_state([id](State &s) { s.next_pdu_id = id == 0 || id > kPduIdMax ? 1 : id; });
}

}  // namespace wds
}  // namespace vornsim
