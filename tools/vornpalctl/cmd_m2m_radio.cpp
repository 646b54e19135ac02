// Radio reports of the vendor service: carrier aggregation, link quality and
// the NR cell lock.
#include <string>

#include <vornpal/m2m.h>
#include <vornpal/network.h>

#include "ctl.h"

namespace {

const char *scell_state_name(uint8_t state) {
  static const char *const kNames[] = {"deconfigured", "configured", "active"};
  return state < 3 ? kNames[state] : "unknown";
}

int carriers(const ctl::Args &, ctl::Output &out) {
  vorn_network_info info{};
  int rc = vorn_m2m_pal_get_cainfo(&info);
  if (rc != 0) return ctl::fail(out, "cannot read the carrier aggregation", rc);
  out.field("pcc_band", info.pcc.band);
  out.field("scc_count", static_cast<unsigned>(info.scc_count));
  for (unsigned i = 0; i < info.scc_count; ++i) {
    const vorn_network_scc_record &scc = info.scc[i];
    out.line("scc " + std::to_string(i) + ": band " + std::to_string(scc.band) + " " +
             scell_state_name(scc.scell_state) + (scc.ul_configerd ? ", uplink" : ""));
  }
  return 0;
}

struct Radio {
  const char *name;
  uint8_t access_tech;
};
constexpr Radio kRadios[] = {
    {"lte", VORN_NETWORK_ACT_LTE}, {"nsa", VORN_NETWORK_ACT_ENDC}, {"sa", VORN_NETWORK_ACT_NR}};

// The radio the modem serves on, when the caller names none.
bool serving_radio(const ctl::Args &args, uint8_t &access_tech) {
  if (args.empty()) {
    uint8_t act = VORN_NETWORK_ACT_LTE;
    vorn_m2m_pal_get_current_act(&act);
    access_tech = act;
    return true;
  }
  for (const Radio &radio : kRadios) {
    if (args[0] != radio.name) continue;
    access_tech = radio.access_tech;
    return true;
  }
  return false;
}

void link_fields(ctl::Output &out, const std::string &prefix, const uint8_t (&values)[5]) {
  static const char *const kNames[] = {"cqi", "ri", "dlrank", "dlmcs", "ulmcs"};
  for (size_t i = 0; i < 5; ++i) out.field(prefix + kNames[i], static_cast<unsigned>(values[i]));
}

int signal(const ctl::Args &args, ctl::Output &out) {
  vorn_network_info info{};
  if (!serving_radio(args, info.access_tech)) return ctl::fail(out, "usage: m2m signal [lte|nsa|sa]", 2);
  int rc = vorn_m2m_pal_get_cell_sig_info(0, &info);
  if (rc != 0) return ctl::fail(out, "cannot read the link quality", rc);
  out.field("access_tech", static_cast<unsigned>(info.access_tech));
  const uint8_t lte[5] = {info.lte_cqi, info.lte_ri, info.lte_dlrank, info.lte_dlmcs, info.lte_ulmcs};
  const uint8_t nsa[5] = {info.nsa_nr_cqi, info.nsa_nr_ri, info.nsa_nr_dlrank, info.nsa_nr_dlmcs,
                          info.nsa_nr_ulmcs};
  const uint8_t sa[5] = {info.nr_cqi, info.nr_ri, info.nr_dlrank, info.nr_dlmcs, info.nr_ulmcs};
  switch (info.access_tech) {
    case VORN_NETWORK_ACT_ENDC:
      link_fields(out, "lte_", lte);
      link_fields(out, "nsa_nr_", nsa);
      break;
    case VORN_NETWORK_ACT_LTE:
      link_fields(out, "lte_", lte);
      break;
    case VORN_NETWORK_ACT_NR:
      link_fields(out, "nr_", sa);
      break;
    default:
      out.line("no link values on this radio");
  }
  return 0;
}

int cell_lock(const ctl::Args &, ctl::Output &out) {
  vorn_network_freqlock_info lock{};
  vorn_m2m_pal_early_init();  // the query does not start the client itself
  int rc = vorn_m2m_pal_get_cell_lock_ext_info(&lock);
  if (rc != 0) return ctl::fail(out, "cannot read the NR cell lock", rc);
  out.field("nr_count", static_cast<unsigned>(lock.nr_count));
  for (unsigned i = 0; i < lock.nr_count; ++i)
    out.line("cell " + std::to_string(i) + ": earfcn " + std::to_string(lock.nr_cell[i].earfcn) +
             " pci " + std::to_string(lock.nr_cell[i].pci));
  return 0;
}

// EARFCN:PCI pairs lock the NR cells; no pair unlocks.
int set_cell_lock(const ctl::Args &args, ctl::Output &out) {
  vorn_network_freqlock_info lock{};
  lock.rat = VORN_NETWORK_LOCK_RAT_NR;
  lock.enable = args.empty() ? 0 : 1;
  if (args.size() > VORN_NETWORK_LOCK_NR_MAX) return ctl::fail(out, "at most 8 cells", 2);
  for (const std::string &pair : args) {
    size_t colon = pair.find(':');
    long long earfcn = 0, pci = 0;
    if (colon == std::string::npos || !ctl::parse_number(pair.substr(0, colon), earfcn) ||
        !ctl::parse_number(pair.substr(colon + 1), pci) || earfcn < 0 || pci < 0 || pci > 1007)
      return ctl::fail(out, "usage: m2m celllock-set [EARFCN:PCI ...]", 2);
    lock.nr_cell[lock.nr_count++] = {0, static_cast<uint32_t>(earfcn), 0, static_cast<uint16_t>(pci)};
  }
  vorn_m2m_pal_early_init();
  int rc = vorn_m2m_pal_set_cell_lock_ext_info(&lock);
  if (rc != 0) return ctl::fail(out, "cannot set the NR cell lock", rc);
  out.field("locked_cells", static_cast<unsigned>(lock.nr_count));
  return 0;
}

ctl::Registrar reg({
    {"m2m ca", "", "carrier aggregation: primary and secondary carriers", carriers, "m2m ca"},
    {"m2m signal", "[lte|nsa|sa]", "link quality (CQI, rank, MCS) of the serving radio", signal,
     "m2m signal nsa"},
    {"m2m celllock", "", "NR cells the modem is locked to", cell_lock, "m2m celllock"},
    {"m2m celllock-set", "[EARFCN:PCI ...]", "lock to NR cells; no cell unlocks", set_cell_lock,
     "m2m celllock-set 627264:101 630000:7\nm2m celllock-set"},
});

}  // namespace
