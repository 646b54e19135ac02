// The network family: the whole network information for a person, scans,
// registration, attach and detach, data roaming, and the family's events in
// `watch`.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <vornpal/m2m.h>
#include <vornpal/network.h>

#include "cmd_network.h"
#include "ctl.h"
#include "event_inbox.h"
#include "network/info_groups.h"

namespace {

using Clock = std::chrono::steady_clock;

// ---- events ------------------------------------------------------------------------

using Received = ctl::EventInbox::Event;

ctl::EventInbox inbox;
ctl::Emit watch_emit;

std::string name_of(const char *field, size_t size) { return std::string(field, strnlen(field, size)); }

std::string describe(uint32_t id, const void *data, uint32_t length) {
  char text[200];
  switch (id) {
    case VORN_NETWORK_EVENT_SIGNAL:
      if (length >= sizeof(vorn_network_signal_report)) {
        const auto *s = static_cast<const vorn_network_signal_report *>(data);
        std::snprintf(text, sizeof text, "signal lte %s rsrp %d rsrq %d snr %d, nr rsrp %d snr %d, umts rscp %d, gsm rssi %d",
                      s->lte_valid ? "on" : "off", s->lte_rsrp, s->lte_rsrq, s->lte_snr, s->nr_rsrp, s->nr_snr,
                      s->umts_rscp, s->gsm_rssi);
        return text;
      }
      break;
    case VORN_NETWORK_EVENT_NET_INFO:
    case VORN_NETWORK_EVENT_SERVING_SYSTEM:
      if (length >= sizeof(vorn_network_net_record)) {
        const auto *r = static_cast<const vorn_network_net_record *>(data);
        std::snprintf(text, sizeof text, "%s state %u radio %u plmn %d home %u cell 0x%llx name \"%s\"",
                      id == VORN_NETWORK_EVENT_NET_INFO ? "registration" : "serving system", r->reg_state, r->radio,
                      r->plmn, r->home, static_cast<unsigned long long>(r->cell_id),
                      name_of(r->long_name[0] ? r->long_name : r->short_name, VORN_NETWORK_NAME_LEN).c_str());
        return text;
      }
      break;
    case VORN_NETWORK_EVENT_CELL_INFO:
      if (length >= sizeof(vorn_network_cell_record)) {
        const auto *c = static_cast<const vorn_network_cell_record *>(data);
        std::snprintf(text, sizeof text, "cell radio %u id 0x%llx lac %d tac %d", c->radio,
                      static_cast<unsigned long long>(c->cell_id), c->lac, c->tac);
        return text;
      }
      break;
    case VORN_NETWORK_EVENT_RF_BAND:
      if (length >= sizeof(vorn_network_rf_band_report)) {
        const auto *b = static_cast<const vorn_network_rf_band_report *>(data);
        std::snprintf(text, sizeof text, "rf band: %u entries, first radio %u band code %u channel %u", b->words[0],
                      b->words[1], b->words[2], b->words[3]);
        return text;
      }
      break;
    case VORN_NETWORK_EVENT_SCAN_RESULT:
      if (length >= sizeof(vorn_network_scan_result)) {
        const auto *r = static_cast<const vorn_network_scan_result *>(data);
        std::snprintf(text, sizeof text, "scan status %u, %u networks", r->status, r->count);
        return text;
      }
      break;
    case VORN_NETWORK_EVENT_REGIST_RESP:
    case VORN_NETWORK_EVENT_MANUAL_REGIST_DONE:
      if (length >= 1) {
        std::snprintf(text, sizeof text, "%s, state %d",
                      id == VORN_NETWORK_EVENT_REGIST_RESP ? "registration answered" : "manual registration done",
                      *static_cast<const uint8_t *>(data));
        return text;
      }
      break;
    case VORN_NETWORK_EVENT_LTE_REJECT:
    case VORN_NETWORK_EVENT_NR_REJECT:
      if (length >= sizeof(vorn_network_reject_report)) {
        const auto *r = static_cast<const vorn_network_reject_report *>(data);
        std::snprintf(text, sizeof text, "%s reject: valid %d cause %d", id == VORN_NETWORK_EVENT_LTE_REJECT ? "LTE" : "NR",
                      r->reject_valid, r->reject_cause);
        return text;
      }
      break;
    default:
      break;
  }
  return "event " + std::to_string(id);
}

void on_event(uint32_t id, void *payload, uint32_t length, uint32_t) {
  if (watch_emit) watch_emit("network", describe(id, payload, length));
  inbox.add(id, payload, length);
}

}  // namespace

bool netctl::start_family(ctl::Output &out) {
  static int started = [] {
    vorn_network_pal_event_register(on_event, 0);
    int rc = vorn_network_pal_init();
    // The family's event thread logs until it is stopped: stop it before
    // the process's statics (the trace sink among them) go away.
    if (rc == 0) std::atexit([] { vorn_network_pal_deinit(); });
    return rc;
  }();
  if (started != 0) ctl::fail(out, "the network family did not start", started);
  return started == 0;
}

bool netctl::start_m2m(ctl::Output &out) {
  static const int started = [] {
    int rc = vorn_m2m_pal_init();
    if (rc == 0) std::atexit([] { vorn_m2m_pal_deinit(); });
    return rc;
  }();
  if (started != 0) ctl::fail(out, "the M2M family did not start", started);
  return started == 0;
}

namespace {

using netctl::start_family;

// ---- network info ------------------------------------------------------------------

const char *act_name(uint8_t act) {
  switch (act) {
    case VORN_NETWORK_ACT_GSM: return "GSM";
    case VORN_NETWORK_ACT_WCDMA:
    case VORN_NETWORK_ACT_WCDMA_CELL: return "WCDMA";
    case VORN_NETWORK_ACT_LTE: return "LTE";
    case VORN_NETWORK_ACT_NR: return "NR";
    case VORN_NETWORK_ACT_ENDC: return "LTE+NR (ENDC)";
    default: return "unknown";
  }
}

const char *state_name(uint32_t state) {
  switch (state) {
    case VORN_NETWORK_NOT_REGISTERED: return "not registered";
    case VORN_NETWORK_REGISTERED_HOME: return "registered, home";
    case VORN_NETWORK_SEARCHING: return "searching";
    case VORN_NETWORK_DENIED: return "denied";
    case VORN_NETWORK_REGISTERED_ROAMING: return "registered, roaming";
    default: return "unknown";
  }
}

std::string hex_id(uint64_t id) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(id));
  return text;
}

int info(const ctl::Args &, ctl::Output &out) {
  if (!start_family(out)) return 1;
  vorn_network_info info = vorn::network::every_group();
  int rc = vorn_network_pal_get_network_info(vorn_network_pal_get_usim_card_slot(), &info);
  if (rc != 0) return ctl::fail(out, "network information failed", rc);
  out.field("operator", name_of(info.long_name, sizeof info.long_name));
  out.field("operator_short", name_of(info.short_name, sizeof info.short_name));
  out.field("plmn", name_of(info.plmn_text, sizeof info.plmn_text));
  out.field("registration", state_name(info.sys_info.reg_state));
  out.field("ps", state_name(info.ps_info.reg_state));
  out.field("cs", state_name(info.cs_info.reg_state));
  if (info.ps_info.reject_cause != 0) out.field("reject_cause", static_cast<long long>(info.ps_info.reject_cause));
  out.field("roaming", info.sys_info.reg_state == VORN_NETWORK_REGISTERED_ROAMING);
  out.field("rat", act_name(info.access_tech));
  out.field("band", static_cast<long long>(info.band));
  if (info.band1 != 0) out.field("band_nr", static_cast<long long>(info.band1));
  out.field("bandwidth_mhz", static_cast<long long>(info.bandwidth));
  out.field("channel", static_cast<long long>(info.channel));
  out.field("pci", static_cast<long long>(info.pci));
  out.field("cell_id", hex_id(info.cell_id));
  out.field(info.access_tech == VORN_NETWORK_ACT_GSM || info.rat == VORN_NETWORK_RAT_WCDMA ? "lac" : "tac",
            hex_id(info.access_tech == VORN_NETWORK_ACT_GSM || info.rat == VORN_NETWORK_RAT_WCDMA ? info.lac : info.tac));
  out.field("csq", static_cast<long long>(info.signal.rssi));
  if (info.signal.lte.valid) {
    out.field("rsrp_dbm", static_cast<long long>(info.signal.lte.rsrp));
    out.field("rsrq_db", static_cast<long long>(info.signal.lte.rsrq));
    out.field("sinr_db", static_cast<long long>(info.signal.lte.snr));
  }
  if (info.rat == VORN_NETWORK_RAT_NR || info.access_tech == VORN_NETWORK_ACT_ENDC) {
    out.field("nr_rsrp_dbm", static_cast<long long>(info.nr_rsrp));
    out.field("nr_rsrq_db", static_cast<long long>(info.nr_rsrq));
    out.field("nr_sinr_db", static_cast<long long>(info.nr_snr));
  }
  if (info.signal.wcdma.valid) {
    out.field("rscp_dbm", static_cast<long long>(info.signal.wcdma.rscp));
    out.field("ecio", static_cast<long long>(info.signal.wcdma.ecio));
  }
  if (info.signal.gsm.valid) out.field("rssi_dbm", static_cast<long long>(info.signal.gsm.rssi));
  if (info.signal.ber != 99) out.field("ber", static_cast<long long>(info.signal.ber));
  out.field("lte_carriers", static_cast<long long>(info.lte_cc_num));
  for (uint8_t i = 0; i < info.scc_count && i < VORN_NETWORK_SCC_MAX; ++i)
    out.field("scc" + std::to_string(i), "band " + std::to_string(info.scc[i].band) + ", state " +
                                             std::to_string(info.scc[i].scell_state));
  out.field("neighbours", static_cast<long long>(info.neighbour_count));
  for (uint8_t i = 0; i < info.neighbour_count && i < VORN_NETWORK_NEIGHBOUR_MAX; ++i) {
    const vorn_network_neighbour &n = info.neighbour[i];
    out.field("neighbour" + std::to_string(i), std::string(act_name(n.access_tech)) + " channel " +
                                                   std::to_string(n.channel) + " pci " + std::to_string(n.pci) +
                                                   " rsrp " + std::to_string(n.rsrp));
  }
  if (info.tx_rx.tx_valid) out.field("tx_power", static_cast<long long>(info.tx_rx.tx_power));
  uint32_t attached = 0;
  vorn_network_pal_get_attach_state(0, &attached);
  out.field("ps_attached", attached == 1);
  return 0;
}

// ---- scans ---------------------------------------------------------------------------

struct NamedCode {
  const char *name;
  uint32_t code;
};
constexpr NamedCode kScanRats[] = {{"all", 0}, {"gsm", 1}, {"umts", 3}, {"lte", 5}, {"nr", 6}, {"lte-nr", 12}};

const char *entry_rat(uint32_t rat) {
  switch (rat) {
    case 1: return "GSM";
    case 3: return "UMTS";
    case 5: return "LTE";
    case 6: return "NR";
    default: return "?";
  }
}

int scan(const ctl::Args &args, ctl::Output &out) {
  uint32_t code = 0;
  if (!args.empty()) {
    bool found = false;
    for (const NamedCode &rat : kScanRats)
      if (args[0] == rat.name) code = rat.code, found = true;
    if (!found) return ctl::fail(out, "usage: network scan [all|gsm|umts|lte|nr|lte-nr]", 2);
  }
  if (!start_family(out)) return 1;
  size_t seen = inbox.count();
  vorn_network_scan_result request{};
  request.request[0] = code;
  int rc = vorn_network_pal_scan(0, &request);
  if (rc != 0) return ctl::fail(out, "the scan was not started", rc);
  // The modem reports what it found so far, a radio at a time; a quiet
  // spell after a report ends the scan.
  size_t reports = 0;
  auto start = Clock::now();
  while (Clock::now() - start < std::chrono::seconds(120)) {
    auto got = inbox.wait(
        seen, 12.0, [reports](const std::vector<Received> &now) { return now.size() > reports; },
        VORN_NETWORK_EVENT_SCAN_RESULT);
    if (got.size() <= reports) break;
    reports = got.size();
    if (!out.json()) out.line("report " + std::to_string(reports) + ": " + describe(VORN_NETWORK_EVENT_SCAN_RESULT, got.back().data.data(), static_cast<uint32_t>(got.back().data.size())));
  }
  vorn_network_scan_result result{};
  vorn_network_pal_get_scan_result(0, &result);
  out.field("status", static_cast<long long>(result.status));
  out.field("count", static_cast<long long>(result.count));
  for (uint8_t i = 0; i < result.count && i < VORN_NETWORK_SCAN_MAX; ++i) {
    const vorn_network_scan_entry &e = result.entry[i];
    static constexpr const char *kStates[] = {"unknown", "available", "current", "forbidden"};
    char line[200];
    std::snprintf(line, sizeof line, "%s %-4s %-9s %4d dBm %s%s", name_of(e.plmn_text, sizeof e.plmn_text).c_str(),
                  entry_rat(e.rat), e.cell_state < 4 ? kStates[e.cell_state] : "?", e.signal,
                  name_of(e.long_name[0] ? e.long_name : e.short_name, VORN_NETWORK_NAME_LEN).c_str(),
                  e.roaming ? " (roaming)" : "");
    out.field("network" + std::to_string(i), line);
  }
  return 0;
}

// ---- registration -----------------------------------------------------------------------

constexpr NamedCode kRegRats[] = {{"wcdma", 1}, {"lte", 2}, {"nr", 3}, {"gsm", 8}};

int register_network(const ctl::Args &args, ctl::Output &out) {
  vorn_network_reg_info reg{};
  bool automatic = args.size() == 1 && args[0] == "auto";
  if (!automatic) {
    if (args.size() != 2 || (args[0].size() != 5 && args[0].size() != 6))
      return ctl::fail(out, "usage: network register auto | network register PLMN gsm|wcdma|lte|nr", 2);
    for (const NamedCode &rat : kRegRats)
      if (args[1] == rat.name) reg.rat = rat.code;
    if (reg.rat == 0) return ctl::fail(out, "unknown radio: " + args[1], 2);
    std::snprintf(reg.plmn, sizeof reg.plmn, "%s", args[0].c_str());
  }
  if (!start_family(out)) return 1;
  if (automatic) {
    // Automatic selection still names a network the last scan listed.
    vorn_network_info now{};
    now.sys_info.valid = 1;
    vorn_network_pal_get_network_info(0, &now);
    std::snprintf(reg.plmn, sizeof reg.plmn, "%s", name_of(now.plmn_text, sizeof now.plmn_text).c_str());
  }
  size_t seen = inbox.count();
  int rc = vorn_network_pal_register(0, &reg);
  if (rc != 0) return ctl::fail(out, "the registration request failed", rc);
  auto answered = inbox.wait(
      seen, 10.0, [](const std::vector<Received> &got) { return !got.empty(); },
      VORN_NETWORK_EVENT_REGIST_RESP);
  out.field("answered", !answered.empty());
  // The network takes the request a moment later.
  auto reports = inbox.wait(
      seen, 5.0, [](const std::vector<Received> &got) { return !got.empty(); },
      VORN_NETWORK_EVENT_NET_INFO);
  vorn_network_info info{};
  info.sys_info.valid = 1;
  info.ps_info.valid = 1;
  vorn_network_pal_get_network_info(0, &info);
  out.field("registration", state_name(info.sys_info.reg_state));
  out.field("plmn", name_of(info.plmn_text, sizeof info.plmn_text));
  out.field("operator", name_of(info.long_name, sizeof info.long_name));
  out.field("rat", act_name(info.access_tech));
  if (info.ps_info.reject_cause != 0) out.field("reject_cause", static_cast<long long>(info.ps_info.reject_cause));
  return 0;
}

int attach(const ctl::Args &, ctl::Output &out) {
  if (!start_family(out)) return 1;
  int rc = vorn_network_pal_attach();
  if (rc != 0) return ctl::fail(out, "attach failed", rc);
  out.field("ps_attached", true);
  return 0;
}

int detach(const ctl::Args &, ctl::Output &out) {
  if (!start_family(out)) return 1;
  int rc = vorn_network_pal_dettach();
  if (rc != 0) return ctl::fail(out, "detach failed", rc);
  out.field("ps_attached", false);
  return 0;
}

int roaming(const ctl::Args &args, ctl::Output &out) {
  if (args.size() > 1 || (args.size() == 1 && args[0] != "on" && args[0] != "off"))
    return ctl::fail(out, "usage: network roaming [on|off]", 2);
  if (!start_family(out)) return 1;
  if (args.size() == 1) {
    int rc = vorn_network_pal_set_data_roaming_status(args[0] == "on" ? 1 : 0);
    if (rc != 0) return ctl::fail(out, "the modem refused the data-roaming switch", rc);
  }
  uint32_t enabled = 0;
  int rc = vorn_network_pal_get_data_roaming_status(&enabled);
  if (rc != 0) return ctl::fail(out, "the data-roaming switch cannot be read", rc);
  out.field("data_roaming", enabled != 0);
  return 0;
}

ctl::Registrar reg({
    {"network info", "", "the serving network: operator, radio, registration, cells, signal", info,
     "network info"},
    {"network scan", "[all|gsm|umts|lte|nr|lte-nr]", "scan for networks (the modem takes up to a minute)", scan,
     "network scan lte"},
    {"network register", "auto | PLMN gsm|wcdma|lte|nr", "register automatically or on one network", register_network,
     "network register 23205 lte\nnetwork register auto"},
    {"network attach", "", "attach to the packet domain", attach, "network attach"},
    {"network detach", "", "detach from the packet domain", detach, "network detach"},
    {"network roaming", "[on|off]", "show or switch data roaming", roaming, "network roaming off"},
});

void start_watch(const ctl::Emit &emit) {
  watch_emit = emit;
  ctl::Output quiet(false);
  start_family(quiet);
}

ctl::WatchRegistrar watch_source({"network", start_watch});

}  // namespace
