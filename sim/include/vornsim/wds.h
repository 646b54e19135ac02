// Control of the simulated modem's WDS service and of the data side of the
// simulated platform.
//
// The service keeps a store of 3GPP profiles (saved with the modem's state)
// and the LTE attach parameters, and runs one session per client for the IP
// family the client asks for, on the data port (mux id) it bound. A session
// that comes up has its addresses, gateway, DNS servers and MTU, reported as
// run-time settings and by the packet-service status indication. A client
// (of another process that shares the modem) that starts a profile's call
// of a family that is up already joins that call: its start succeeds with
// the connected report, on the call's link, and the link stays until the
// last client of the call stops.
//
// The platform's network manager is simulated too: when a session comes up
// it makes the data interface "rmnet_data<N>" (N = mux id - 1) a real link in
// the sandbox's network namespace (one end of a veth pair), puts the
// session's address and default route on it, sets its MTU and writes
// /tmp/netmgr_link<N>_ok; when the session ends it takes the family's
// address and route away. It also provides the device's ifconfig (busybox
// output) in /usr/local/sbin, which the library reads.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::wds {

struct ProfileView {
  uint32_t index;
  std::string name;
  std::string apn;
  uint32_t pdp_type;  // as the service codes it: 0 IPv4, 1 PPP, 2 IPv6, 3 IPv4v6
  uint32_t auth;      // bit 0 PAP, bit 1 CHAP
  std::string username;
  std::string password;
  bool clat_valid;
  bool clat;
};
std::vector<ProfileView> profiles();
// The factory store: profile 1 "internet" (IPv4v6), 2 "ims" (IPv6).
void restore_profiles();
// A store of `count` profiles, numbered from 1 (a store larger than the
// library accepts is a test case).
void fill_profiles(uint32_t count);

struct SessionView {
  uint32_t handle;   // pkt_data_handle
  uint32_t profile;
  int family;        // 4 or 6
  uint32_t link;     // N of rmnet_data<N>
  std::string address;
  std::string gateway;
  std::vector<std::string> dns;
  uint32_t mtu;
};
std::vector<SessionView> sessions();

// The report of a client's own start or stop reaches it before the answer
// returns.
//
// Faults of the session's start, on the next `count` starts: refused with
// "call failed" (14), with the call end reason and the verbose one (type,
// reason).
void fail_next_start(uint32_t call_end_reason, uint32_t verbose_type, uint32_t verbose_reason,
                     int count = 1);
// The network ends a call: the disconnected report with the reasons, to
// every client that shares it. False when the profile has no session of
// that family.
bool drop(uint32_t profile, int family, uint32_t call_end_reason, uint32_t verbose_type = 0,
          uint32_t verbose_reason = 0);
// IPv6 sessions report a link-local address (fe80::<id>); the network
// manager still puts the global one (the network's prefix) on the link.
void report_link_local(bool on);
// The MTU of new sessions (1500).
void set_mtu(uint32_t mtu);

// The data port of a link: its mux id (0: the link is not muxed) or no port
// at all (the lookup fails).
void set_port(uint32_t link, int mux_id);
void set_port_missing(bool missing);

// The network manager leaves links alone (an interface that never
// appears); on by default.
void set_network_manager(bool on);
// Waits until the network manager has done what it was asked.
void settle_links();
// Links the network manager made and has not deleted.
std::vector<std::string> links();

}  // namespace vornsim::wds
