// What the settings pair reaches into: the cell lock of the EFS items.
#pragma once

#include <vornpal/network.h>

namespace vorn::network {

// A single lock or a list (the list when `multi` is given): 0, or -1.
int set_celllock(const vorn_network_cell_lock_info *single, const vorn_network_multi_cell_lock_info *multi);
// The single lock in force, into the setting's cell lock record.
void get_celllock(vorn_network_setting &setting);

}  // namespace vorn::network
