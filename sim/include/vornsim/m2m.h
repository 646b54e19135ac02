// Control of the simulated modem's M2M service: its EFS store as the modem
// holds it, for tests and vornpalctl to look at what the library wrote.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vornsim::m2m {

// Every EFS item by path.
std::map<std::string, std::vector<uint8_t>> efs_items();
// One item; nullopt when there is none.
std::optional<std::vector<uint8_t>> efs_item(const std::string &path);

}  // namespace vornsim::m2m
