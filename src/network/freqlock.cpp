// The frequency lock: LTE through the modem's cell configuration messages,
// NR through the vendor service or the list form of the NR PCI lock item;
// and the last lock the modem recorded, read back from its odm items.
#include <cstring>

#include <vornpal/m2m.h>

#include "foundation/log_site.h"
#include "network/efs.h"
#include "network/state.h"

namespace vorn::network {
namespace {

constexpr uint32_t kLtePciMax = 503;
constexpr uint32_t kNrPciMax = 1007;
constexpr uint32_t kNrArfcnMax = 3279165;
constexpr uint8_t kLastInUse = 8;  // in-use markers 1 to 8 count as entries

bool asks_for_nr(uint8_t rat) { return rat == VORN_NETWORK_LOCK_RAT_NR || rat == VORN_NETWORK_LOCK_RAT_BOTH; }
bool asks_for_lte(uint8_t rat) { return rat == VORN_NETWORK_LOCK_RAT_LTE || rat == VORN_NETWORK_LOCK_RAT_BOTH; }

bool lte_cells_valid(const vorn_network_freqlock_info &info) {
  if (info.enable != 1) return true;
  if (info.lte_count == 0 || info.lte_count > VORN_NETWORK_LOCK_LTE_MAX) return false;
  for (uint8_t i = 0; i < info.lte_count; ++i)
    if (info.lte_cell[i].pci > kLtePciMax) return false;
  return true;
}

bool nr_cells_valid(const vorn_network_freqlock_info &info) {
  if (info.enable != 1) return true;
  if (info.nr_count > VORN_NETWORK_LOCK_NR_MAX) return false;
  for (uint8_t i = 0; i < info.nr_count; ++i) {
    const vorn_network_nr_lock_cell &cell = info.nr_cell[i];
    if (cell.pci > kNrPciMax || cell.earfcn > kNrArfcnMax || cell.band == 0) return false;
  }
  return true;
}

// The LTE part: a lock of the given cells, or an unlock (an empty list).
// The modem's refusal is only logged.
int set_lte(const vorn_network_freqlock_info &info) {
  if (!lte_cells_valid(info)) {
    VORN_LOG(VORN_ERR, "Error:lte lock Parameter is invalid!!!");
    return -1;
  }
  nas_set_cell_config_req_msg_v01 req{};
  if (info.enable == 1) {
    VORN_LOG(VORN_DBUG, "lte freq lock!!!");
    req.lte_cell_list_len = info.lte_count;
    for (uint8_t i = 0; i < info.lte_count; ++i)
      req.lte_cell_list[i] = {info.lte_cell[i].arfcn, info.lte_cell[i].pci & 0xFFFF};
  } else {
    VORN_LOG(VORN_DBUG, "lte freq unlock!!!");
  }
  req.apply_valid = 1;
  req.apply = 1;
  nas_set_cell_config_resp_msg_v01 resp;
  Sent sent = send<SetCellConfig>(req, resp);
  if (sent.verdict == 0)
    VORN_LOG(VORN_DBUG, "QMI_NAS_SET_CELL_CONFIG_REQ_MSG_V01 success !!! \n");
  else
    VORN_LOG(VORN_ERR, "QMI_NAS_SET_CELL_CONFIG_REQ_MSG_V01 failed! qmi_err:%d\n",
             sent.rc != 0 ? sent.rc : static_cast<int>(resp.resp.error));
  return 0;
}

void get_lte(vorn_network_freqlock_info &info) {
  nas_get_cell_lock_config_resp_msg_v01 resp;
  Sent sent = send<GetCellLockConfig>(resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI_NAS_GET_CELL_LOCK_CONFIG_REQ_MSG_V01 failed! qmi_err:%d\n",
             sent.rc != 0 ? sent.rc : static_cast<int>(resp.resp.error));
    return;
  }
  if (!resp.lte_cell_list_valid || resp.lte_cell_list_len == 0) return;
  uint32_t count = resp.lte_cell_list_len < VORN_NETWORK_LOCK_LTE_MAX ? resp.lte_cell_list_len : VORN_NETWORK_LOCK_LTE_MAX;
  info.lte_count = static_cast<uint8_t>(count);
  for (uint32_t i = 0; i < count; ++i)
    info.lte_cell[i] = {resp.lte_cell_list[i].earfcn, resp.lte_cell_list[i].pci};
}

bool invalid(const void *info) {
  if (info != nullptr) return false;
  VORN_LOG(VORN_ERR, "Error:Parameter is invalid!!!");
  return true;
}

}  // namespace
}  // namespace vorn::network

namespace net = vorn::network;
namespace efs = vorn::network::efs;

extern "C" {

VORNPAL_API int vorn_network_pal_set_freqlock(const vorn_network_freqlock_info *info) {
  if (net::invalid(info)) return -1;
  if (net::asks_for_lte(info->rat) && net::set_lte(*info) != 0) return -1;
  if (net::asks_for_nr(info->rat)) {
    if (!net::nr_cells_valid(*info)) {
      VORN_LOG(VORN_ERR, "Error:Parameter is invalid!!!");
      return -1;
    }
    if (vorn_m2m_pal_set_cell_lock_ext_info(info) != 0) {
      VORN_LOG(VORN_ERR, "oem_m2m_pal_set_cell_lock_ext_info failed! \n");
      return -1;
    }
  }
  return 0;
}

VORNPAL_API int vorn_network_pal_get_freqlock(vorn_network_freqlock_info *info) {
  if (net::invalid(info)) return -1;
  net::get_lte(*info);
  if (vorn_m2m_pal_get_cell_lock_ext_info(info) != 0) {
    VORN_LOG(VORN_ERR, "oem_m2m_pal_get_cell_lock_ext_info failed! \n");
    return -1;
  }
  return 0;
}

VORNPAL_API int oem_network_pal_set_freqlock_ext(const vorn_network_freqlock_info *info) {
  VORN_LOG(VORN_DBUG, "enter pal set ceclllockext");
  if (net::invalid(info)) return -1;
  if (info->rat == VORN_NETWORK_LOCK_RAT_LTE) return net::set_lte(*info);
  if (info->rat != VORN_NETWORK_LOCK_RAT_NR) return 0;
  if (!net::nr_cells_valid(*info)) {
    VORN_LOG(VORN_ERR, "Error:Parameter is invalid!!!");
    return -1;
  }
  uint8_t list[efs::kNrListLen] = {};
  if (info->enable == 1) {
    for (uint8_t i = 0; i < info->nr_count; ++i) {
      const vorn_network_nr_lock_cell &cell = info->nr_cell[i];
      uint8_t *entry = list + i * efs::kNrEntryLen;
      entry[0] = 1;
      efs::put16(entry + 2, cell.pci);
      efs::put32(entry + 20, cell.earfcn);
      efs::put16(entry + 24, cell.scs + 1u);
      efs::put16(entry + 26, cell.band - 1);
    }
  } else {
    VORN_LOG(VORN_DBUG, "nr freq unlock!!!");
  }
  if (!efs::write(efs::kNrPciLock, list, sizeof list)) {
    VORN_LOG(VORN_ERR, "In disable both pci & earfcn, Writing 5g PCI EFS failed");
    return -1;
  }
  return 0;
}

VORNPAL_API int oem_network_pal_get_freqlock_ext(vorn_network_freqlock_info *info) {
  VORN_LOG(VORN_DBUG, "enter celllockext get ext");
  if (net::invalid(info)) return -1;
  net::get_lte(*info);
  VORN_LOG(VORN_DBUG, "lte celllock get ext end");
  uint8_t list[efs::kNrListLen] = {};
  if (!efs::read(efs::kNrPciLock, list, sizeof list)) {
    VORN_LOG(VORN_ERR, "5g PCI EFS read fail");
    return -1;
  }
  uint8_t count = 0;
  for (; count < VORN_NETWORK_LOCK_NR_MAX; ++count) {
    const uint8_t *entry = list + count * efs::kNrEntryLen;
    if (entry[0] < 1 || entry[0] > net::kLastInUse) break;
    vorn_network_nr_lock_cell &cell = info->nr_cell[count];
    cell.pci = static_cast<uint16_t>(efs::get16(entry + 2));
    cell.earfcn = efs::get32(entry + 20);
    cell.band = efs::get16(entry + 26) + 1;
    cell.scs = static_cast<uint16_t>(efs::get16(entry + 24) - 1);
  }
  info->nr_count = count;
  VORN_LOG(VORN_DBUG, "nr celllock get pal num %d", count);
  return 0;
}

VORNPAL_API int vorn_network_pal_get_celllock_last_cfg(vorn_network_setting *setting) {
  if (net::invalid(setting)) return -1;
  uint8_t rat[1] = {};
  if (!efs::read(efs::kLastRat, rat, sizeof rat)) {
    VORN_LOG(VORN_ERR, "Failed to created EFS file");
    return -1;
  }
  vorn_network_cell_lock_info &lock = setting->cell_lock_info;
  lock.rat = rat[0];
  if (rat[0] != 0) {
    uint8_t item[12] = {};
    if (!efs::read(efs::kLastNrPci, item, sizeof item)) return -1;
    lock.pci = efs::get32(item);
    lock.arfcn = efs::get32(item + 4);
    lock.scs = efs::get16(item + 8);
    lock.band = efs::get16(item + 10);
  } else {
    uint8_t item[8] = {};
    if (!efs::read(efs::kLastPci, item, sizeof item)) return -1;
    lock.arfcn = efs::get32(item);
    lock.pci = efs::get32(item + 4);
  }
  lock.type = 0;
  VORN_LOG(VORN_DBUG, "rat = %d,type = %d,arfcn = %d,pci = %d", static_cast<int>(lock.rat),
           static_cast<int>(lock.type), static_cast<int>(lock.arfcn), static_cast<int>(lock.pci));
  return 0;
}

}  // extern "C"
