// The simulated network around the device: its cells, moving between them,
// coverage, signal, the network's rejections and the framework's SIM slot.
// Built with VORNPAL_CTL_HOST_MODEM only.
#include <cstdio>
#include <string>

#include <vornsim/dm_cache.h>
#include <vornsim/nas.h>

#include "ctl.h"

namespace {

namespace nas = vornsim::nas;

void show_registration(ctl::Output &out) {
  nas::Registration reg = nas::registration();
  static constexpr const char *kStates[] = {"not registered", "registered", "searching", "denied"};
  out.field("registration", reg.state < 4 ? kStates[reg.state] : "unknown");
  out.field("plmn", reg.plmn);
  out.field("rat", reg.rat);
  out.field("cell", reg.cell);
  out.field("roaming", reg.roaming);
  out.field("ps_attached", reg.ps_attached);
  out.field("reject_cause", static_cast<int>(reg.reject_cause));
  out.field("selection", reg.manual ? "manual" : "automatic");
}

int cells(const ctl::Args &, ctl::Output &out) {
  for (const nas::CellView &cell : nas::cells()) {
    if (out.json()) {
      out.field(cell.name, cell.plmn + " " + cell.rat + " band " + std::to_string(cell.band) + " channel " +
                               std::to_string(cell.channel) + " pci " + std::to_string(cell.pci) + " level " +
                               std::to_string(cell.level) + (cell.serving ? " serving" : ""));
      continue;
    }
    char line[200];
    std::snprintf(line, sizeof line, "%c %-18s %-6s %-5s band %-5u ch %-7u pci %-4u %4d dBm %4d dB sinr %3d%s%s",
                  cell.serving ? '*' : ' ', cell.name.c_str(), cell.plmn.c_str(), cell.rat.c_str(), cell.band,
                  cell.channel, cell.pci, cell.level, cell.quality, cell.sinr, cell.audible ? "" : " (not heard)",
                  cell.forbidden ? " (forbidden)" : "");
    out.line(line);
  }
  return 0;
}

int move(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 1) return ctl::fail(out, "usage: modem move CELL (see modem cells)", 2);
  if (!nas::move_to(args[0])) return ctl::fail(out, "unknown cell: " + args[0], 2);
  show_registration(out);
  return 0;
}

int signal(const ctl::Args &args, ctl::Output &out) {
  long long level = 0, quality = 0, sinr = 0;
  if (args.size() != 4 || !ctl::parse_number(args[1], level) || !ctl::parse_number(args[2], quality) ||
      !ctl::parse_number(args[3], sinr))
    return ctl::fail(out, "usage: modem signal CELL LEVEL_DBM QUALITY_DB SINR_DB", 2);
  if (!nas::set_signal(args[0], static_cast<int>(level), static_cast<int>(quality), static_cast<int>(sinr)))
    return ctl::fail(out, "unknown cell: " + args[0], 2);
  show_registration(out);
  return 0;
}

int coverage(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 1 || (args[0] != "on" && args[0] != "off"))
    return ctl::fail(out, "usage: modem coverage on|off", 2);
  nas::set_coverage(args[0] == "on");
  show_registration(out);
  return 0;
}

int reject(const ctl::Args &args, ctl::Output &out) {
  long long cause = 0;
  if (args.size() != 1 || !ctl::parse_number(args[0], cause) || cause < 0 || cause > 255)
    return ctl::fail(out, "usage: modem reject CAUSE (0 accepts again)", 2);
  nas::set_reject(static_cast<uint8_t>(cause));
  show_registration(out);
  return 0;
}

int restore(const ctl::Args &, ctl::Output &out) {
  nas::restore();
  show_registration(out);
  return 0;
}

int network(const ctl::Args &, ctl::Output &out) {
  show_registration(out);
  return 0;
}

int sim_slot(const ctl::Args &args, ctl::Output &out) {
  long long slot = 0;
  if (args.size() == 1) {
    if (!ctl::parse_number(args[0], slot) || slot < 0 || slot > 1)
      return ctl::fail(out, "usage: modem sim-slot [0|1]", 2);
    vornsim::set_dm_cache_word(vornsim::kActiveSimSlotKey, static_cast<uint32_t>(slot));
  }
  out.field("active_sim_slot", static_cast<long long>(vornsim::dm_cache_word(vornsim::kActiveSimSlotKey).value_or(0)));
  return 0;
}

ctl::ModemRegistrar reg({
    {"modem cells", "", "the cells the simulated device hears (* serving)", cells, "modem cells"},
    {"modem network", "", "the simulated network's view of the registration", network,
     "modem network"},
    {"modem move", "CELL", "move the device next to a cell", move, "modem move home-endc-b7-n78"},
    {"modem signal", "CELL LEVEL QUALITY SINR", "set a cell's signal (dBm, dB, dB)", signal,
     "modem signal home-endc-b7-n78 -95 -11 12"},
    {"modem coverage", "on|off", "drop or restore all radio coverage", coverage,
     "modem coverage off"},
    {"modem reject", "CAUSE", "the network rejects registrations with a 3GPP cause (0: accept)", reject,
     "modem reject 15"},
    {"modem restore", "", "the factory radio environment", restore, "modem restore"},
    {"modem sim-slot", "[0|1]", "the framework's active SIM slot", sim_slot, "modem sim-slot 1"},
});

}  // namespace
