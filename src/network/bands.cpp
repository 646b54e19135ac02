// The band and bandwidth tables and the signal scales.
#include "network/bands.h"

#include <cmath>
#include <iterator>

#include <vornpal/network.h>

#include "foundation/log_site.h"

namespace vorn::network {
namespace {

struct BandRow {
  uint16_t code;
  uint16_t number;
};

// clang-format off
constexpr BandRow kGsmBands[] = {{43, 850}, {44, 900}, {45, 900}, {46, 900}, {47, 1800}, {48, 1900}};
constexpr BandRow kBands[] = {
    // WCDMA
    {80, 1}, {81, 2}, {82, 3}, {83, 4}, {84, 5}, {85, 6}, {86, 7}, {87, 8}, {88, 9}, {90, 10}, {91, 19},
    // LTE
    {120, 101}, {121, 102}, {122, 103}, {123, 104}, {124, 105}, {125, 106}, {126, 107}, {127, 108},
    {128, 109}, {129, 110}, {130, 111}, {131, 112}, {132, 113}, {133, 114}, {134, 117}, {135, 133},
    {136, 134}, {137, 135}, {138, 136}, {139, 137}, {140, 138}, {141, 139}, {142, 140}, {143, 118},
    {144, 119}, {145, 120}, {146, 121}, {147, 124}, {148, 125}, {149, 141}, {150, 142}, {151, 143},
    {152, 123}, {153, 126}, {154, 132}, {158, 128}, {159, 129}, {160, 130}, {161, 166}, {163, 146},
    {164, 127}, {165, 131}, {166, 171}, {167, 147}, {168, 148}, {169, 167}, {170, 168}, {171, 149},
    {172, 185}, {173, 172}, {174, 173}, {175, 186},
    // NR
    {250, 501}, {251, 502}, {252, 503}, {253, 505}, {254, 507}, {255, 508}, {256, 5020}, {257, 5028},
    {258, 5038}, {259, 5041}, {260, 5050}, {261, 5051}, {262, 5066}, {263, 5070}, {264, 5071},
    {265, 5074}, {266, 5075}, {267, 5076}, {268, 5077}, {269, 5078}, {270, 5079}, {271, 5080},
    {272, 5081}, {273, 5082}, {274, 5083}, {275, 5084}, {276, 5085}, {277, 5257}, {278, 5258},
    {279, 5259}, {280, 5260}, {281, 5261}, {282, 5012}, {283, 5025}, {284, 5034}, {285, 5039},
    {286, 5040}, {287, 5065}, {288, 5086}, {289, 5048}, {290, 5014},
};
// Codes 1 to 5 are LTE resource-block counts in tenths of a MHz; code 21 has no value.
constexpr int16_t kBandwidths[] = {6, 15, 25, 50, 75, 100, 0, 10, 15, 20, 25, 30, 40, 50, 60, 80,
                                   90, 100, 200, 400, 2, -1, 5, 10};
// clang-format on

template <size_t N>
std::optional<uint32_t> find(const BandRow (&rows)[N], uint32_t code) {
  for (const BandRow &row : rows)
    if (row.code == code) return row.number;
  return std::nullopt;
}

}  // namespace

std::optional<uint32_t> band_number(uint32_t band_code, bool with_gsm) {
  if (with_gsm) {
    if (auto gsm = find(kGsmBands, band_code)) return gsm;
  }
  return find(kBands, band_code);
}

std::optional<uint32_t> bandwidth_mhz(uint32_t code) {
  if (code >= std::size(kBandwidths) || kBandwidths[code] < 0) return std::nullopt;
  return static_cast<uint32_t>(kBandwidths[code]);
}

uint8_t csq_of(int value, int scale, int mode) {
  if (mode == 1) {
    if (value >= 26 && value <= 115)
      return static_cast<uint8_t>(std::floor((113 - 0.5235602094240838 * value) * scale / 100 + 0.5));
    if (value < 26) return 191;
    return value == 125 ? 199 : 0;
  }
  if (value >= 52 && value <= 112)
    return static_cast<uint8_t>(std::floor((182.26 - 1.6129032258064515 * value) * scale / 100 + 0.5));
  if (value < 52) return 31;
  return value == 125 ? 99 : 0;
}

int32_t sig_transfer(int32_t raw, int32_t max, int32_t fix) {
  int32_t value = raw + fix;
  if (value <= 0) return 0;
  return value > max ? max : value;
}

}  // namespace vorn::network

extern "C" VORNPAL_API uint32_t vorn_antennae_get_active_band_bandwith_info(uint32_t band_code) {
  if (auto number = vorn::network::band_number(band_code, false)) return *number;
  VORN_LOG(VORN_ERR, "Error, unknown antennae band:%d.\n", static_cast<int>(band_code));
  return 3;
}
