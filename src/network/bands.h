// Band numbers and signal scales of the family, in one place: the NAS band
// codes as the family numbers bands (GSM by MHz, WCDMA 1 to 19, LTE 100 +
// band, NR 500 + band below 10 and 5000 + band from 10 on), the bandwidth
// codes in MHz, and the conversions of dBm values to the CSQ-style scales
// that AT clients show.
#pragma once

#include <cstdint>
#include <optional>

namespace vorn::network {

// A NAS active band code as the family numbers it; nullopt for a code of
// no known band. With GSM codes when `with_gsm`.
std::optional<uint32_t> band_number(uint32_t band_code, bool with_gsm);
// An NR band as the family numbers it.
constexpr uint32_t nr_band_number(uint32_t band) { return band < 10 ? 500 + band : 5000 + band; }
// A NAS bandwidth code in MHz; nullopt for an unknown code.
std::optional<uint32_t> bandwidth_mhz(uint32_t code);

// ConvertCsqRssi: `value` is the negated dBm. Mode 1 is the TD-SCDMA scale
// (0 to 191), any other mode the 0 to 31 scale.
uint8_t csq_of(int value, int scale, int mode);
// vorn_sig_transer: raw + fix, limited to max when positive, else 0.
int32_t sig_transfer(int32_t raw, int32_t max, int32_t fix);

}  // namespace vorn::network
