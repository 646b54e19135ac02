// Control of the simulated modem's NAS service: the radio environment the
// device sits in and the network's answers. Cells of several networks (the
// home network, a roaming partner, a forbidden one and one with a 3-digit
// MNC) on GSM, WCDMA, LTE, NR standalone and LTE with NR (ENDC), each with
// its band, channel, cell ids and signal. The device camps on the best cell
// that the selection allows (a suitable one, newest radio, strongest); a change that moves it sends the
// serving-system and system-info indications, a change of the serving
// cell's signal a signal indication. State is saved with the modem's.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::nas {

struct CellView {
  std::string name;  // e.g. "home-lte-b3"
  std::string plmn;  // "26201"
  std::string network;
  std::string rat;   // "GSM", "WCDMA", "LTE", "NR", "ENDC"
  uint32_t band;     // as the family numbers bands (LTE 100 + band, ...)
  uint32_t channel;
  uint32_t pci;
  uint64_t cell_id;
  uint32_t area;     // LAC or TAC
  int level;         // dBm: RSSI (GSM), RSCP (WCDMA), RSRP (LTE, NR)
  int quality;       // dB: Ec/Io (WCDMA), RSRQ (LTE, NR)
  int sinr;          // dB
  bool audible;
  bool serving;
  bool forbidden;
};
std::vector<CellView> cells();

// The named cell becomes the strongest one and the others too weak to camp
// on (the device moved next to it); false for an unknown name.
bool move_to(const std::string &cell);
bool set_signal(const std::string &cell, int level_dbm, int quality_db, int sinr_db);
// No cell is heard (false) or the environment is back (true).
void set_coverage(bool on);
// The network rejects registrations with this 3GPP cause; 0 accepts again.
void set_reject(uint8_t cause);
// The factory environment: signals, coverage, acceptance, automatic selection.
void restore();

struct Registration {
  uint32_t state;  // 0 not registered, 1 registered, 2 searching, 3 denied
  std::string plmn;
  std::string rat;
  std::string cell;
  bool roaming;
  bool ps_attached;
  uint8_t reject_cause;
  bool manual;
  uint32_t data_roaming;
};
Registration registration();

}  // namespace vornsim::nas
