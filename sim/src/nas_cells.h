// The radio environment of the simulated NAS service: the networks, their
// cells, and the one choice of the serving cell from the environment and the
// selection's constraints (RAT, bands, a lock to one cell). Everything that
// restricts where the device camps goes through pick_serving().
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace vornsim::nas {

enum class Kind : uint8_t { Home, Partner, Forbidden };
enum class Rat : uint8_t { Gsm, Wcdma, Lte, NrSa, Endc };

struct Network {
  uint16_t mcc;
  uint16_t mnc;
  bool three_digit;
  Kind kind;
  const char *short_name;
  const char *long_name;
};

struct Cell {
  const char *name;
  uint8_t network;     // index into kNetworks
  Rat rat;
  uint32_t band_code;  // the NAS active band code
  uint32_t channel;
  uint32_t pci;        // BSIC for GSM, PSC for WCDMA
  uint64_t cell_id;
  uint32_t area;       // LAC or TAC
  int level;           // factory dBm
  int quality;
  int sinr;
  // The NR leg of an ENDC cell.
  uint32_t nr_band_code;
  uint32_t nr_channel;
  uint32_t nr_pci;
};

extern const Network kNetworks[5];
constexpr size_t kCellCount = 9;
extern const Cell kCells[kCellCount];
constexpr uint8_t kHome = 0;

// Below this a cell is not heard; above the second it is good enough to
// camp on, and the newest radio among such cells serves.
constexpr int kAudible = -125;
constexpr int kSuitable = -115;

// What a cell sounds like now.
struct Radio {
  bool coverage = true;
  std::array<int32_t, kCellCount> level{};
  std::array<int32_t, kCellCount> quality{};
  std::array<int32_t, kCellCount> sinr{};
};
Radio factory_radio();
bool audible(const Radio &radio, size_t cell);

// Radio interface masks of the mode preference.
constexpr uint32_t kModeGsm = 4, kModeUmts = 8, kModeLte = 16, kModeNr = 64;

// One cell or one frequency a lock allows.
struct Locked {
  uint32_t channel;
  std::optional<uint32_t> pci;  // none: any cell on the channel
};
// The cells a lock allows; a cell of the lock's technology must match one.
using Lock = std::vector<Locked>;

struct Constraints {
  uint32_t mode_pref = 0xFFFF;  // kMode* bits; NR standalone needs kModeNr or an unset preference
  uint64_t band_pref = ~uint64_t{0};  // GSM and UMTS band bits of the selection
  std::array<uint64_t, 4> lte_band_pref = {~uint64_t{0}, ~uint64_t{0}, ~uint64_t{0}, ~uint64_t{0}};
  // Locks by technology; every lock of a cell's technology must allow it
  // (an ENDC cell counts as LTE).
  std::vector<Lock> wcdma_locks, lte_locks, nr_locks;
  bool manual = false;
  uint16_t mcc = 0;
  uint16_t mnc = 0;
  std::optional<Rat> manual_rat;
};

// The serving cell: among the audible cells that the constraints allow, a
// suitable one before others, then the newest radio, then the strongest.
// Automatic selection never picks a forbidden network.
std::optional<size_t> pick_serving(const Radio &radio, const Constraints &constraints);

std::optional<size_t> cell_by_name(const char *name);
std::optional<size_t> network_of(uint16_t mcc, uint16_t mnc);
const char *rat_name(Rat rat);
// The band number of a NAS band code, as the library shows it.
uint32_t band_number(uint32_t band_code);
// A band number's bit in the GSM/UMTS band preference; nullopt for LTE, NR
// and unknown bands.
std::optional<unsigned> gsm_umts_band_bit(uint32_t band);

}  // namespace vornsim::nas
