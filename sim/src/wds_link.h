// The data side of the simulated platform: the network manager that sets up
// the data interfaces of the WDS sessions in the sandbox's network
// namespace, one job after the other on a thread of its own, like the
// daemon it stands for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::wds_link {

struct Setup {
  uint32_t link;
  int family;  // 4 or 6
  std::string address;  // with its prefix length, "10.101.1.2/30"
  std::string gateway;
  uint32_t mtu;
};

// Makes the link (once), puts the session's address and default route on
// it and writes the link's marker.
void up(const Setup &setup);
// Takes the family's address and default route off the link.
void down(uint32_t link, int family);
// Forgets queued jobs and deletes the links made so far (the modem's reset).
void reset();

void set_enabled(bool on);
void settle();
std::vector<std::string> links();

// The data port of a link: mux id, or none.
void set_port(uint32_t link, int mux_id);
void set_port_missing(bool missing);

}  // namespace vornsim::wds_link
