// Control of the traffic side of the simulated modem's WDS service: the
// packet counters of each IP family, the data bearer (which follows the
// serving RAT of the simulated network), the PDU session ids it hands out
// and the MSISDN the network gives each APN.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::wds {

struct Traffic {
  uint64_t tx_bytes;
  uint64_t rx_bytes;
  uint32_t tx_packets;
  uint32_t rx_packets;
};

// Bytes a session of the family (4 or 6) carried, counted in packets of up
// to 1500 bytes. False (nothing counted) when no session of that family is
// up: the modem counts only what a call carries.
bool push_traffic(int family, uint64_t tx_bytes, uint64_t rx_bytes);
// Bytes the next session of the family carries: counted once a session of
// the family is up when the counters are read (a run of vornpalctl queues
// them for the call of a later run).
void queue_traffic(int family, uint64_t tx_bytes, uint64_t rx_bytes);
// The counters of a family as the modem reports them.
Traffic traffic(int family);
// Both families back to zero.
void reset_traffic();

// The service-option mask the bearer of a call on the serving RAT reports
// ("GSM", "WCDMA", "LTE", "NR", "ENDC"); 0 for an unknown one.
uint64_t bearer_so_mask(const std::string &rat);

// The MSISDN the network gives an APN: digits (an odd count is padded with
// F), or the raw bytes of the answer, nibbles swapped as the modem sends
// them. An empty value takes the APN's number away.
void set_apn_msisdn(const std::string &apn, const std::string &digits);
void set_apn_msisdn_bytes(const std::string &apn, const std::vector<uint8_t> &bytes);

// The PDU session id the next allocation gives (ids run from 1 to 15).
void set_next_pdu_session_id(uint8_t id);

}  // namespace vornsim::wds
