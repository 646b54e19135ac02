// Control of the simulated IPA driver ("/dev/ipa") and of the Ethernet
// controller's private request on "eth0".
//
// The simulated platform makes /dev/ipa a file in the sandbox and answers
// the requests made on it (and the controller's request on a socket) in
// place of the kernel, as the driver would: a VLAN interface or a bridge
// mapping must name a link that exists in the sandbox's network namespace,
// and may not be added twice or removed when absent. Every request is kept
// with its code and the bytes of its argument, in order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::ipa {

struct RequestView {
  uint32_t code;
  std::vector<uint8_t> argument;
};
std::vector<RequestView> requests();
void clear_requests();

// The next `count` requests with this code fail with errno `error`
// (EAGAIN makes the Ethernet controller busy).
void fail_next(uint32_t code, int error, int count = 1);

// The VLAN interfaces and the bridge mappings ("<bridge>:<vlan id>") the
// driver holds.
std::vector<std::string> vlan_ifaces();
std::vector<std::string> bridge_mappings();

// The device node is there (the default) or not.
void set_device_present(bool present);

}  // namespace vornsim::ipa
