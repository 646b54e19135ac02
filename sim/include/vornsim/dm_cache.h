// The framework's data cache (vorn_dm_cache_read) as the simulated platform
// keeps it: 32-bit words by key, saved with the modem's state.
#pragma once

#include <cstdint>
#include <optional>

namespace vornsim {

constexpr uint32_t kActiveSimSlotKey = 0x70002;

void set_dm_cache_word(uint32_t key, uint32_t value);
// Removes the value: a read of the key then fails.
void clear_dm_cache_word(uint32_t key);
std::optional<uint32_t> dm_cache_word(uint32_t key);

}  // namespace vornsim
