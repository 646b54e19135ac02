// What the other services of the simulated modem read of the M2M service's
// EFS store, as the modem software reads its own items: the NAS service's
// selection and locks live there.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vornsim::m2m_efs {

std::optional<std::vector<uint8_t>> item(const std::string &path);
void write(const std::string &path, const std::vector<uint8_t> &data);
// Cells (frequency, pci) of the vendor service's NR cell lock; empty when
// no lock is set.
std::vector<std::pair<uint32_t, uint32_t>> nr_lock_cells();
// Runs `hook` after every change of an item or of the NR cell lock, on the
// thread of the request and under the store's lock: the hook must only
// schedule its work.
void on_change(std::function<void()> hook);

}  // namespace vornsim::m2m_efs
