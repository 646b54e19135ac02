// The networks and cells the simulated device can hear, and the choice of
// the serving cell.
#include "nas_cells.h"

#include <cstring>

namespace vornsim::nas {

const Network kNetworks[5] = {
    {262, 1, false, Kind::Home, "Vorn", "Vorn Mobile"},
    {232, 5, false, Kind::Partner, "Alpen", "Alpen Mobil Roaming"},
    {262, 3, false, Kind::Forbidden, "Blocked", "Blocked Networks"},
    {310, 410, true, Kind::Partner, "Across", "Across Wireless"},
    {0, 0, false, Kind::Forbidden, "", ""},
};

// clang-format off
const Cell kCells[kCellCount] = {
    // name               net  rat         band  channel  pci  cell id       area    level q   sinr  NR leg
    {"home-gsm-900",       0, Rat::Gsm,    45,   62,      35,  0x1A2B,       0x1001, -75,  0,  0,    0, 0, 0},
    {"home-wcdma-b1",      0, Rat::Wcdma,  80,   10700,   301, 0x0123ABC,    0x1002, -85,  -6, 0,    0, 0, 0},
    {"home-lte-b3",        0, Rat::Lte,    122,  1300,    101, 0x01A2D01,    0x2001, -88,  -9, 14,   0, 0, 0},
    {"home-endc-b7-n78",   0, Rat::Endc,   126,  3100,    102, 0x01A2D02,    0x2001, -92,  -10, 12,  269, 636666, 501},
    {"home-nr-n41",        0, Rat::NrSa,   259,  504990,  601, 0x123456789,  0x3001, -118, -11, 9,   0, 0, 0},
    {"partner-lte-b20",    1, Rat::Lte,    145,  6300,    201, 0x0B00201,    0x4001, -100, -12, 6,   0, 0, 0},
    {"partner-wcdma-b8",   1, Rat::Wcdma,  87,   3011,    77,  0x0B10077,    0x4002, -98,  -8, 0,    0, 0, 0},
    {"blocked-lte-b3",     2, Rat::Lte,    122,  1575,    301, 0x0C00301,    0x5001, -82,  -8, 16,   0, 0, 0},
    {"across-lte-b25",     3, Rat::Lte,    148,  8365,    401, 0x0D00401,    0x6001, -112, -14, 2,   0, 0, 0},
};
// clang-format on

Radio factory_radio() {
  Radio radio;
  for (size_t i = 0; i < kCellCount; ++i) {
    radio.level[i] = kCells[i].level;
    radio.quality[i] = kCells[i].quality;
    radio.sinr[i] = kCells[i].sinr;
  }
  return radio;
}

bool audible(const Radio &radio, size_t cell) { return radio.coverage && radio.level[cell] > kAudible; }

namespace {

uint32_t mode_bit(Rat rat) {
  switch (rat) {
    case Rat::Gsm: return kModeGsm;
    case Rat::Wcdma: return kModeUmts;
    case Rat::Lte:
    case Rat::Endc: return kModeLte;
    case Rat::NrSa: return kModeNr;
  }
  return 0;
}

bool band_allowed(const Cell &cell, const Constraints &c) {
  uint32_t band = band_number(cell.band_code);
  if (auto bit = gsm_umts_band_bit(band)) return (c.band_pref >> *bit) & 1;
  if (band > 100 && band <= 356) {
    unsigned n = band - 101;  // LTE band n + 1
    return (c.lte_band_pref[n / 64] >> (n % 64)) & 1;
  }
  return true;
}

bool lock_allows(const Lock &lock, const Cell &cell) {
  for (const Locked &one : lock)
    if (one.channel == cell.channel && (!one.pci || *one.pci == cell.pci)) return true;
  return false;
}

const std::vector<Lock> *locks_of(Rat rat, const Constraints &c) {
  switch (rat) {
    case Rat::Wcdma: return &c.wcdma_locks;
    case Rat::Lte:
    case Rat::Endc: return &c.lte_locks;
    case Rat::NrSa: return &c.nr_locks;
    case Rat::Gsm: break;
  }
  return nullptr;
}

bool allowed(const Cell &cell, const Constraints &c) {
  const Network &net = kNetworks[cell.network];
  if (!(c.mode_pref & mode_bit(cell.rat))) return false;
  if (!band_allowed(cell, c)) return false;
  if (const std::vector<Lock> *locks = locks_of(cell.rat, c))
    for (const Lock &lock : *locks)
      if (!lock_allows(lock, cell)) return false;
  if (!c.manual) return net.kind != Kind::Forbidden;
  if (net.mcc != c.mcc || net.mnc != c.mnc) return false;
  if (!c.manual_rat) return true;
  // ENDC cells carry LTE registrations.
  return *c.manual_rat == cell.rat || (*c.manual_rat == Rat::Lte && cell.rat == Rat::Endc);
}

}  // namespace

namespace {

// Reselection priority: the newer radio wins among suitable cells.
int rank(Rat rat) {
  switch (rat) {
    case Rat::Gsm: return 1;
    case Rat::Wcdma: return 2;
    case Rat::Lte:
    case Rat::Endc: return 3;
    case Rat::NrSa: return 4;
  }
  return 0;
}

struct Preference {
  bool suitable;
  int rank;
  int level;
  bool operator>(const Preference &o) const {
    if (suitable != o.suitable) return suitable;
    if (rank != o.rank) return rank > o.rank;
    return level > o.level;
  }
};

}  // namespace

std::optional<size_t> pick_serving(const Radio &radio, const Constraints &constraints) {
  std::optional<size_t> best;
  Preference best_pref{};
  for (size_t i = 0; i < kCellCount; ++i) {
    if (!audible(radio, i) || !allowed(kCells[i], constraints)) continue;
    Preference pref{radio.level[i] > kSuitable, rank(kCells[i].rat), radio.level[i]};
    if (!best || pref > best_pref) {
      best = i;
      best_pref = pref;
    }
  }
  return best;
}

std::optional<size_t> cell_by_name(const char *name) {
  for (size_t i = 0; i < kCellCount; ++i)
    if (std::strcmp(kCells[i].name, name) == 0) return i;
  return std::nullopt;
}

std::optional<size_t> network_of(uint16_t mcc, uint16_t mnc) {
  for (size_t i = 0; i + 1 < std::size(kNetworks); ++i)
    if (kNetworks[i].mcc == mcc && kNetworks[i].mnc == mnc) return i;
  return std::nullopt;
}

const char *rat_name(Rat rat) {
  static constexpr const char *kNames[] = {"GSM", "WCDMA", "LTE", "NR", "ENDC"};
  return kNames[static_cast<int>(rat)];
}

uint32_t band_number(uint32_t code) {
  struct Row {
    uint32_t code, number;
  };
  static constexpr Row kRows[] = {{45, 900}, {80, 1},     {87, 8},     {122, 103}, {126, 107},
                                  {145, 120}, {148, 125}, {259, 5041}, {269, 5078}};
  for (const Row &row : kRows)
    if (row.code == code) return row.number;
  return 0;
}

std::optional<unsigned> gsm_umts_band_bit(uint32_t band) {
  struct Row {
    uint32_t band;
    unsigned bit;
  };
  static constexpr Row kRows[] = {{900, 9},  {1800, 7}, {1900, 21}, {850, 19}, {1, 22}, {2, 23},
                                  {3, 24},   {4, 25},   {5, 26},    {6, 27},   {8, 49}, {19, 60}};
  for (const Row &row : kRows)
    if (row.band == band) return row.bit;
  return std::nullopt;
}

}  // namespace vornsim::nas
