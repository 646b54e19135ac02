// Radio reports of the vendor service that complete the Network family's
// records (carrier aggregation, link quality, GSM details) and the NR cell
// lock that only this service can set.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include <vornpal/m2m.h>

#include "foundation/log_site.h"
#include "m2m/client.h"

namespace {

using vorn::m2m::Guard;
namespace m2m = vorn::m2m;

// The records mirror the service's blocks, so that they are copied whole.
static_assert(sizeof(vorn_network_pcc_record) == sizeof(vorn_m2m_ca_pcell_info_v01));
static_assert(sizeof(vorn_network_scc_record) == sizeof(vorn_m2m_ca_scell_info_v01));
static_assert(sizeof(vorn_network_scc_record) == 48);
static_assert(VORN_NETWORK_SCC_MAX == VORN_M2M_CA_SCC_MAX_V01);
static_assert(VORN_NETWORK_CELL_INFO_EXT_SIZE ==
              sizeof(vorn_m2m_get_cell_info_ext_resp_msg_v01::info));
static_assert(sizeof(vorn_cell_lock_ext_entry_v01) == 20);
static_assert(offsetof(vorn_cell_lock_ext_list_v01, entry) == 4);
static_assert(offsetof(vorn_network_freqlock_info, nr_count) == 4);
static_assert(offsetof(vorn_network_freqlock_info, nr_cell) == 248);
static_assert(sizeof(vorn_network_freqlock_info) == 344);
static_assert(offsetof(vorn_m2m_get_sig_info_resp_msg_v01, lte_cqi) == 9);
static_assert(offsetof(vorn_m2m_get_sig_info_resp_msg_v01, nr_cqi) == 15);

// ---- link quality ----------------------------------------------------------

using SigResp = vorn_m2m_get_sig_info_resp_msg_v01;

// One value of the answer, where it goes in the record, and how it is logged.
struct LinkValue {
  uint8_t SigResp::*from;
  uint8_t vorn_network_info::*to;
  const char *log;
};

constexpr LinkValue kLte[] = {
    {&SigResp::lte_cqi, &vorn_network_info::lte_cqi, "lte_cqi is :%d\n"},
    {&SigResp::lte_ri, &vorn_network_info::lte_ri, "lte_ri is :%d\n"},
    {&SigResp::lte_dlrank, &vorn_network_info::lte_dlrank, "lte_dlrank is :%d\n"},
    {&SigResp::lte_dlmcs, &vorn_network_info::lte_dlmcs, "lte_dlmcs is :%d\n"},
    {&SigResp::lte_ulmcs, &vorn_network_info::lte_ulmcs, "lte_ulmcs is :%d\n"},
};
constexpr LinkValue kNsaNr[] = {
    {&SigResp::nr_cqi, &vorn_network_info::nsa_nr_cqi, "nsa nr_cqi is  :%d\n"},
    {&SigResp::nr_ri, &vorn_network_info::nsa_nr_ri, "nsa nr_ri is  :%d\n"},
    {&SigResp::nr_dlrank, &vorn_network_info::nsa_nr_dlrank, "nsa nr_dlrank is  :%d\n"},
    {&SigResp::nr_dlmcs, &vorn_network_info::nsa_nr_dlmcs, "nsa nr_dlmcs is  :%d\n"},
    {&SigResp::nr_ulmcs, &vorn_network_info::nsa_nr_ulmcs, "nsa nr_ulmcs is  :%d\n"},
};
constexpr LinkValue kSaNr[] = {
    {&SigResp::nr_cqi, &vorn_network_info::nr_cqi, "nr_cqi is  :%d\n"},
    {&SigResp::nr_ri, &vorn_network_info::nr_ri, "nr_ri is  :%d\n"},
    {&SigResp::nr_dlrank, &vorn_network_info::nr_dlrank, "nr_dlrank is  :%d\n"},
    {&SigResp::nr_dlmcs, &vorn_network_info::nr_dlmcs, "nr_dlmcs is  :%d\n"},
    {&SigResp::nr_ulmcs, &vorn_network_info::nr_ulmcs, "nr_ulmcs is  :%d\n"},
};

template <size_t N>
void fill_link(const LinkValue (&values)[N], const SigResp &resp, vorn_network_info &info) {
  for (const LinkValue &value : values) {
    info.*value.to = resp.*value.from;
    VORN_LOG(VORN_DBUG, value.log, resp.*value.from);
  }
}

// The NR values count only when the modem marks them valid.
template <size_t N>
void fill_nr(const LinkValue (&values)[N], const SigResp &resp, vorn_network_info &info) {
  if (resp.nr_valid) fill_link(values, resp, info);
}

// ---- cell lock ---------------------------------------------------------------

bool asks_for_nr_lock(const vorn_network_freqlock_info &info) {
  return info.rat == VORN_NETWORK_LOCK_RAT_NR && info.enable == 1;
}

size_t nr_cells_of(uint8_t count) {
  return std::min<size_t>(count, std::min<size_t>(VORN_NETWORK_LOCK_NR_MAX,
                                                  VORN_M2M_CELL_LOCK_EXT_MAX_V01));
}

bool null_record(const void *record) {
  if (record != nullptr) return false;
  VORN_LOG(VORN_ERR, "Parameter is error!\n");
  return true;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_m2m_pal_get_cainfo(vorn_network_info *info) {
  if (null_record(info)) return -1;
  vorn_m2m_get_ca_info_req_msg_v01 req{};
  vorn_m2m_get_ca_info_resp_msg_v01 resp;
  if (m2m::send<m2m::GetCaInfo>(Guard::LazyStart, req, resp).verdict != 0) return -1;
  std::memcpy(&info->pcc, &resp.pcell, sizeof info->pcc);
  size_t count = std::min<size_t>(resp.ca_scc_list_len, VORN_NETWORK_SCC_MAX);
  if (count < resp.ca_scc_list_len)
    VORN_LOG(VORN_WARN, "ca_scc_list_len %d cut to %d\n", resp.ca_scc_list_len,
             static_cast<int>(count));
  info->scc_count = static_cast<uint8_t>(count);
  std::memcpy(info->scc, resp.scc, count * sizeof info->scc[0]);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_cell_sig_info(int unused, vorn_network_info *info) {
  (void)unused;
  if (info == nullptr) {
    VORN_LOG(VORN_ERR, "error : sig_info is null\n");
    return -1;
  }
  vorn_m2m_get_sig_info_req_msg_v01 req{};
  SigResp resp;
  if (m2m::send<m2m::GetSigInfo>(Guard::LazyStart, req, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "error : QMI_OEM_M2M_GET_SIG_INFO_REQ_V01 is fail : result %d , error %d\n",
             static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
    return -1;
  }
  if (resp.sig_info_valid == 0) return 0;
  switch (info->access_tech) {
    case VORN_NETWORK_ACT_LTE:
      fill_link(kLte, resp, *info);
      break;
    case VORN_NETWORK_ACT_ENDC:
      fill_link(kLte, resp, *info);
      fill_nr(kNsaNr, resp, *info);
      break;
    case VORN_NETWORK_ACT_NR:
      fill_nr(kSaNr, resp, *info);
      break;
    default:
      break;  // no link values for the older radios
  }
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_cell_info_ext(vorn_network_info *info) {
  if (null_record(info)) return -1;
  vorn_m2m_get_cell_info_ext_req_msg_v01 req{};
  vorn_m2m_get_cell_info_ext_resp_msg_v01 resp;
  if (m2m::send<m2m::GetCellInfoExt>(Guard::None, req, resp).verdict != 0) return -1;
  if (resp.cell_info_ext_valid == 0) return 0;
  info->cell_info_ext_valid = resp.cell_info_ext_valid;
  std::memcpy(info->cell_info_ext, resp.info, sizeof info->cell_info_ext);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_set_cell_lock_ext_info(const vorn_network_freqlock_info *info) {
  if (null_record(info)) return -1;
  // Anything but an NR lock goes out as the empty list, which unlocks.
  vorn_set_cell_lock_ext_req_msg_v01 req{};
  if (asks_for_nr_lock(*info)) {
    size_t count = nr_cells_of(info->nr_count);
    req.lock.lock_valid = 1;
    req.lock.lock_count = static_cast<uint8_t>(count);
    req.lock.list_valid = 1;
    for (size_t i = 0; i < count; ++i) {
      vorn_cell_lock_ext_entry_v01 &entry = req.lock.entry[i];
      entry.freq_valid = 1;
      entry.pci_valid = 1;
      entry.freq = info->nr_cell[i].earfcn;
      entry.pci = info->nr_cell[i].pci;
    }
  }
  vorn_set_cell_lock_ext_resp_msg_v01 resp;
  return m2m::send<m2m::SetCellLockExt>(Guard::None, req, resp).verdict;
}

VORNPAL_API int vorn_m2m_pal_get_cell_lock_ext_info(vorn_network_freqlock_info *info) {
  if (null_record(info)) return -1;
  vorn_get_cell_lock_ext_req_msg_v01 req{};
  vorn_get_cell_lock_ext_resp_msg_v01 resp;
  if (m2m::send<m2m::GetCellLockExt>(Guard::None, req, resp).verdict != 0) return -1;
  if (resp.lock.lock_valid != 1) {
    info->nr_count = 0;
    return 0;
  }
  size_t count = nr_cells_of(resp.lock.lock_count);
  info->nr_count = static_cast<uint8_t>(count);
  for (size_t i = 0; i < count; ++i) {
    info->nr_cell[i].earfcn = resp.lock.entry[i].freq;
    info->nr_cell[i].pci = static_cast<uint16_t>(resp.lock.entry[i].pci);
  }
  return 0;
}

}  // extern "C"
