// Control API of the simulated modem's WMS service and of the SMS centre
// behind it, for tests and vornpalctl.
//
// The centre takes MO messages (raw sends and sends from the store), gives
// each a message reference and, when the submit asks for one, sends a status
// report back. A submit to the device's own number (the DMS MSISDN) comes
// back as an MT deliver. MT messages go where the routes the library set
// say for their class: stored on the SIM or in NV and announced, or
// transferred to the client, which must acknowledge them unless the route
// has the modem do it. An MT message waits at the centre while no client
// has switched the MT reports on, and one that was refused or never
// acknowledged is sent again when a client next sets its routes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::wms {

using Bytes = std::vector<uint8_t>;

// ---- the network side ----------------------------------------------------------

// An MT message (a deliver or status-report TPDU) from the network.
void deliver(const Bytes &tpdu);

// While held, MT messages (from deliver() and from loops back to the
// device's own number) wait at the centre.
void hold(bool on);
// Messages waiting at the centre.
size_t waiting();
// Sends the waiting messages, in the order of `order` (positions in the
// waiting list; empty: as they came).
void release(const std::vector<size_t> &order = {});

// An MO message the centre accepted.
struct Mo {
  uint16_t reference;
  Bytes tpdu;
  bool on_ims;
};
std::vector<Mo> mo_messages();
// The next MO message is refused by the network with these causes.
void reject_next_mo(uint32_t rp_cause, uint32_t tp_cause);

// Acknowledgements that reached the modem.
struct Ack {
  uint32_t transaction_id;
  bool success;
  uint32_t rp_cause;
  uint32_t tp_cause;
};
std::vector<Ack> acks();
// Messages transferred to the client and not acknowledged yet.
size_t unacknowledged();

// The device's own number (DMS MSISDN) and the centre's address.
std::string own_number();
std::string centre_address();

// ---- the modem's stores ----------------------------------------------------------

constexpr uint32_t kUim = 0;
constexpr uint32_t kNv = 1;

struct Stored {
  uint32_t index;
  uint32_t tag;
  uint32_t format;
  Bytes pdu;  // as written: a service centre part, then the TPDU
};
std::vector<Stored> stored(uint32_t storage);
void set_capacity(uint32_t storage, uint32_t capacity);
// Writes to the store fail (the modem answers with a memory failure).
void fail_writes(uint32_t storage, bool fail);

// The routes as the library last set them: per class 0..4, memory and value.
struct Route {
  uint32_t memory;
  uint32_t value;
};
std::vector<Route> routes();

}  // namespace vornsim::wms
