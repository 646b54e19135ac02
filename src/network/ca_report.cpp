// The LTE carrier-aggregation report, merged with the secondary cell the
// modem last indicated, the band capabilities as plain lists and as the
// masks of the settings record, and the data capabilities of the bearer.
#include <algorithm>
#include <cstring>
#include <iterator>

#include <vornpal/data.h>
#include <vornpal/device.h>

#include "foundation/log_site.h"
#include "network/bands.h"
#include "network/messages.h"
#include "network/state.h"

namespace vorn::network {
namespace {

// GSM and UMTS bands by their bit in the modem's low band mask, in the
// order the list gives them.
struct BandBit {
  unsigned bit;
  uint32_t band;
};
constexpr BandBit kGsmUmtsBands[] = {{9, 900}, {7, 1800}, {21, 1900}, {19, 850}, {22, 1}, {23, 2},
                                     {24, 3},  {25, 4},   {26, 5},    {49, 8},   {60, 19}};
// The UMTS bits of the settings' mask, by the modem's bit.
struct UmtsBit {
  unsigned bit;
  uint32_t mask;
};
constexpr UmtsBit kUmtsMaskBits[] = {{22, 0x01}, {23, 0x02}, {24, 0x04}, {25, 0x08},
                                     {26, 0x10}, {49, VORN_NETWORK_UMTS_VIII}, {60, VORN_NETWORK_UMTS_XIX}};
constexpr unsigned kNrMasks = 5;
constexpr uint32_t kNrNumberMax = 320;
// The NR masks the settings record carries: the first, second and fifth.
constexpr unsigned kSettingNrMasks[] = {0, 1, 4};

constexpr bool has(uint64_t mask, unsigned bit) { return (mask >> bit & 1) != 0; }

struct List {
  vorn_network_capabilities_info &info;
  void add(uint32_t band) {
    if (info.band_list_len < VORN_NETWORK_CAP_BAND_MAX) info.band_list[info.band_list_len++] = band;
  }
};

// The NR masks follow the LTE ones in the capability record.
const uint64_t *nr_masks(const vorn_device_band_capabilities &caps) { return caps.reserved; }

void list_lte(const vorn_device_band_capabilities &caps, List &list) {
  if (caps.lte_band_mask[0] != 0)
    for (unsigned n = 0; n < 64; ++n)
      if (has(caps.lte_band_mask[0], n)) list.add(101 + n);
  // The count runs on from the first mask: bit 0 of the second stands where
  // the first one ended, bit 1 is band 165.
  if (caps.lte_band_mask[1] != 0)
    for (unsigned n = 0; n < 64; ++n)
      if (has(caps.lte_band_mask[1], n)) list.add(164 + n);
}

void list_nr(const vorn_device_band_capabilities &caps, List &list) {
  const uint64_t *masks = nr_masks(caps);
  for (unsigned m = 0; m < kNrMasks; ++m) {
    if (masks[m] == 0) continue;
    for (unsigned n = 0; n < 64; ++n) {
      uint32_t number = m * 64 + n + 1;
      if (number <= kNrNumberMax && has(masks[m], n)) list.add(nr_band_number(number));
    }
  }
}

void list_bands(vorn_network_capabilities_info &info) {
  vorn_device_band_capabilities caps{};
  vorn_device_pal_get_band_capabilities(&caps);
  List list{info};
  info.band_list_len = 0;
  if (caps.umts_band_mask != 0) {
    for (const BandBit &row : kGsmUmtsBands)
      if (has(caps.umts_band_mask, row.bit)) list.add(row.band);
    info.umts_mask = static_cast<uint32_t>(caps.umts_band_mask);
  }
  list_lte(caps, list);
  list_nr(caps, list);
}

// The data capability each service-option bit of the data bearer stands
// for; a set bit not listed counts as 0.
struct SoCapability {
  uint32_t bit;
  uint32_t value;
};
constexpr SoCapability kSoCapabilities[] = {{1, 5},   {2, 3},    {4, 4},   {8, 12},
                                            {16, 13}, {32, 13}, {512, 9}, {2048, 11}};

int list_data(vorn_network_capabilities_info &info) {
  uint64_t so_mask = 0;
  const int ret = vorn_data_pal_get_data_bearer_technology_ex(&so_mask);
  if (ret != 0) {
    VORN_LOG(VORN_ERR, "oem_data_pal_get_data_bearer_technology_ex error! ret:%d\n", ret);
    return -1;
  }
  VORN_LOG(VORN_INFO, "SO MASK :%d\n", static_cast<int>(so_mask));
  info.data_capabilities_len = 0;
  for (unsigned n = 0; n < 32; ++n) {
    const uint32_t bit = 1u << n;
    if ((so_mask & bit) == 0) continue;
    const SoCapability *row = std::find_if(std::begin(kSoCapabilities), std::end(kSoCapabilities),
                                           [bit](const SoCapability &c) { return c.bit == bit; });
    uint32_t value = 0;
    if (row != std::end(kSoCapabilities)) {
      value = row->value;
    } else {
      VORN_LOG(VORN_ERR, "so_mask is not optional.\n");
    }
    if (info.data_capabilities_len < VORN_NETWORK_CAP_DATA_MAX)
      info.data_capabilities[info.data_capabilities_len++] = value;
  }
  info.data_capabilities_valid = info.data_capabilities_len != 0 ? 1 : 0;
  VORN_LOG(VORN_INFO, "data_capabilities_len:%d,data_capabilities_valid:%d.\n",
           static_cast<int>(info.data_capabilities_len), static_cast<int>(info.data_capabilities_valid));
  return 0;
}

// One secondary cell of the answer; a deconfigured one that is the cell
// last indicated takes the indicated state.
void take_scell(const nas_lte_cphy_scell_entry_type_v01 &from, const State::SecondaryCell &cached,
                vorn_network_ca_scell &to) {
  VORN_LOG(VORN_DBUG, "before band is %d.\n", static_cast<int>(from.band));
  to.band = vorn_antennae_get_active_band_bandwith_info(from.band);
  VORN_LOG(VORN_DBUG, "Q27 project.\n");
  to.pci = from.pci;
  to.freq = from.freq;
  to.bandwidth = from.dl_bandwidth;
  to.ul_configured = from.ul_configured;
  to.scell_state = from.scell_state;
  VORN_LOG(VORN_DBUG, "resp scell_state = [%d].\n", static_cast<int>(to.scell_state));
  if (to.scell_state == 0 && from.pci == cached.pci && from.freq == cached.freq) {
    to.scell_state = cached.state;
    VORN_LOG(VORN_DBUG, "update scell_state = [%d].\n", static_cast<int>(to.scell_state));
  }
}

}  // namespace
}  // namespace vorn::network

namespace net = vorn::network;

extern "C" {

VORNPAL_API int vorn_network_pal_get_lte_cainfo(vorn_network_cainfo *info) {
  if (info == nullptr) {
    VORN_LOG(VORN_ERR, "pointer is empty.\n");
    return 3;
  }
  nas_get_lte_cphy_ca_info_resp_msg_v01 resp;
  if (net::send<net::GetLteCphyCaInfo>(resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "GET LTE CHPY fail.\n");
    return -1;
  }
  net::State::SecondaryCell cached;
  {
    // The indication thread rewrites the cache; the merge works on a copy.
    std::lock_guard<std::mutex> lock(net::state().cell_mutex);
    cached = net::state().scell;
  }
  info->pcell_pci = resp.pcell_info.pci;
  info->pcell_freq = resp.pcell_info.freq;
  uint32_t count = resp.scell_info_list_len < VORN_NETWORK_CA_SCELL_MAX ? resp.scell_info_list_len
                                                                        : VORN_NETWORK_CA_SCELL_MAX;
  info->count = count;
  VORN_LOG(VORN_DBUG, "ext_len = [%d].\n", static_cast<int>(count));
  VORN_LOG(VORN_DBUG, "scell pci=[%d],freq=[%d],scell_state=[%d].\n", cached.pci, cached.freq,
           static_cast<int>(cached.state));
  for (uint32_t i = 0; i < count; ++i) {
    net::take_scell(resp.scell_info_list[i], cached, info->scell[i]);
    VORN_LOG(VORN_DBUG, "after band[%d] is %d.\n", static_cast<int>(i), static_cast<int>(info->scell[i].band));
  }
  if (count == 0 && cached.state != 0) {
    info->scell[0] = {cached.pci, cached.freq, cached.bandwidth, cached.band, cached.state,
                      static_cast<uint8_t>(cached.extra), 0};
    info->pcell_freq = 1;
    info->count = 1;
  }
  return 0;
}

VORNPAL_API int vorn_network_pal_get_capabilities_info(uint32_t slot, vorn_network_capabilities_info *info) {
  (void)slot;
  if (info == nullptr) {
    VORN_LOG(VORN_ERR, "Error:Parameter is invalid!!!\n");
    return -1;
  }
  if (info->band_request == 0) return net::list_data(*info);
  net::list_bands(*info);
  return 0;
}

VORNPAL_API int oem_nw_pal_fill_band_capabilities(vorn_network_setting *setting) {
  if (setting == nullptr) return 0;
  vorn_device_band_capabilities caps{};
  vorn_device_pal_get_band_capabilities(&caps);
  if (!setting->umts_valid)
    for (const net::UmtsBit &row : net::kUmtsMaskBits)
      if (net::has(caps.umts_band_mask, row.bit)) setting->umts_mask |= row.mask;
  if (!setting->lte_valid)
    for (unsigned m = 0; m < 2; ++m)
      oem_network_pal_band_mask_extract(static_cast<uint32_t>(caps.lte_band_mask[m]),
                                        static_cast<uint32_t>(caps.lte_band_mask[m] >> 32),
                                        &setting->lte_mask[2 * m + 1], &setting->lte_mask[2 * m]);
  if (!setting->nr_info_valid) {
    const uint64_t *masks = net::nr_masks(caps);
    for (unsigned i = 0; i < 3; ++i) {
      uint64_t mask = masks[net::kSettingNrMasks[i]];
      oem_network_pal_band_mask_extract(static_cast<uint32_t>(mask), static_cast<uint32_t>(mask >> 32),
                                        &setting->nr_info.nr_mask[2 * i + 1], &setting->nr_info.nr_mask[2 * i]);
    }
  }
  return 0;
}

}  // extern "C"
