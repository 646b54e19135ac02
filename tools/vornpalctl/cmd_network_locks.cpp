// The network settings and locks: rat mode, bands, registration mode and
// PLMN lock; the cell lock of the EFS items; the frequency lock. Bands are
// written as people write them: gsm900, w1 (WCDMA), b3 (LTE), n78 (NR).
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include <vornpal/network.h>

#include "cmd_network.h"
#include "ctl.h"

namespace {

// The settings and locks keep items in the M2M service's EFS store.
bool start_family(ctl::Output &out) { return netctl::start_family(out) && netctl::start_m2m(out); }

// ---- words and codes ---------------------------------------------------------------

struct Named {
  const char *name;
  uint32_t code;
};

constexpr Named kRatModes[] = {{"auto", 0},       {"wcdma", 1},     {"lte", 2},     {"wcdma-lte", 4},
                               {"gsm", 8},        {"gsm-wcdma", 9}, {"gsm-lte", 10}, {"gsm-wcdma-lte", 11}};
constexpr Named kOrderRats[] = {{"gsm", 0}, {"wcdma", 2}, {"lte", 3}};
constexpr Named kGsmBands[] = {{"gsm900", VORN_NETWORK_GSM_900},
                               {"gsm1800", VORN_NETWORK_GSM_1800},
                               {"gsm1900", VORN_NETWORK_GSM_1900},
                               {"gsm850", VORN_NETWORK_GSM_850}};
// The WCDMA bands the settings can select, by band number.
constexpr Named kUmtsBands[] = {{"w1", 0x01}, {"w2", 0x02}, {"w3", 0x04},          {"w4", 0x08},
                                {"w5", 0x10}, {"w6", 0x20}, {"w8", VORN_NETWORK_UMTS_VIII}, {"w19", VORN_NETWORK_UMTS_XIX}};
constexpr Named kCellLockRats[] = {{"lte", VORN_CELL_LOCK_LTE}, {"nr", VORN_CELL_LOCK_NR}, {"wcdma", VORN_CELL_LOCK_WCDMA}};

template <size_t N>
bool code_of(const Named (&table)[N], const std::string &name, uint32_t &code) {
  for (const Named &row : table)
    if (name == row.name) {
      code = row.code;
      return true;
    }
  return false;
}

template <size_t N>
const char *name_of(const Named (&table)[N], uint32_t code, const char *none = "unknown") {
  for (const Named &row : table)
    if (row.code == code) return row.name;
  return none;
}

std::vector<std::string> split(const std::string &text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (;;) {
    size_t end = text.find(separator, start);
    parts.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
    if (end == std::string::npos) return parts;
    start = end + 1;
  }
}

bool number_in(const std::string &text, long long min, long long max, uint32_t &value) {
  long long n = 0;
  if (!ctl::parse_number(text, n) || n < min || n > max) return false;
  value = static_cast<uint32_t>(n);
  return true;
}

// Options of the form --name VALUE after the positional words; false for
// an unknown option or one without its value.
struct Options {
  std::vector<std::string> words;
  std::vector<std::pair<std::string, std::string>> values;

  bool parse(const ctl::Args &args, std::initializer_list<const char *> known) {
    for (size_t i = 0; i < args.size(); ++i) {
      if (args[i].compare(0, 2, "--") != 0) {
        words.push_back(args[i]);
        continue;
      }
      bool ok = false;
      for (const char *name : known) ok = ok || args[i] == name;
      if (!ok || i + 1 >= args.size()) return false;
      values.emplace_back(args[i], args[i + 1]);
      ++i;
    }
    return true;
  }
  const std::string *get(const char *name) const {
    for (const auto &value : values)
      if (value.first == name) return &value.second;
    return nullptr;
  }
};

// ---- bands --------------------------------------------------------------------------

// One band of a --bands list into the record's masks.
bool add_band(const std::string &band, vorn_network_setting &setting) {
  uint32_t bit = 0;
  if (code_of(kGsmBands, band, bit)) {
    setting.gsm_valid = 1;
    setting.gsm_mask |= bit;
    return true;
  }
  if (code_of(kUmtsBands, band, bit)) {
    setting.umts_valid = 1;
    setting.umts_mask |= bit;
    return true;
  }
  uint32_t number = 0;
  if (band.size() > 1 && band[0] == 'b' && number_in(band.substr(1), 1, 256, number)) {
    uint32_t n = number - 1;  // bit n of the masks: band 101 + n
    setting.lte_valid = 1;
    setting.lte_mask[n / 32] |= uint32_t{1} << (n % 32);
    return true;
  }
  if (band.size() > 1 && band[0] == 'n' && number_in(band.substr(1), 1, 192, number)) {
    uint32_t n = number - 1;
    setting.nr_info_valid = 1;
    setting.nr_info.nr_valid = 1;
    setting.nr_info.nr_mask[n / 32] |= uint32_t{1} << (n % 32);
    return true;
  }
  return false;
}

// A band of the settings' list as people write it.
std::string band_text(uint32_t band) {
  switch (band) {
    case 900: case 1800: case 1900: case 850: return "gsm" + std::to_string(band);
    default: break;
  }
  if (band >= 1 && band <= 19) return "w" + std::to_string(band);
  if (band > 100 && band < 500) return "b" + std::to_string(band - 100);
  return std::to_string(band);
}

// ---- network setting ---------------------------------------------------------------

void show_setting(const vorn_network_setting &s, ctl::Output &out) {
  out.field("registration", s.regist_mode == 1 ? "manual" : "auto");
  out.field("rat_mode", s.rat_mode == 0xFFFFFFFFu ? "none" : name_of(kRatModes, s.rat_mode));
  if (s.primary_rat != 0 || s.secondary_rat != 0)
    out.field("rat_order", std::string(name_of(kOrderRats, s.primary_rat)) + "," + name_of(kOrderRats, s.secondary_rat));
  std::string bands;
  for (uint8_t i = 0; i < s.band_list_len && i < VORN_NETWORK_BAND_LIST_MAX; ++i)
    bands += (bands.empty() ? "" : ",") + band_text(s.band_list[i]);
  out.field("bands", bands);
  if (s.plmn_lock_enable)
    out.field("plmn_lock", std::string(s.plmn_lock, strnlen(s.plmn_lock, sizeof s.plmn_lock)));
  else
    out.field("plmn_lock", "off");
}

int setting_get(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) return ctl::fail(out, "usage: network setting get", 2);
  vorn_network_setting s{};
  s.regist_info_valid = s.band_info_valid = s.rat_info_valid = s.plmn_lock_info_valid = 1;
  if (!start_family(out)) return 1;
  int rc = vorn_network_pal_get_network_setting(vorn_network_pal_get_usim_card_slot(), &s);
  if (rc != 0) return ctl::fail(out, "the network setting cannot be read", rc);
  show_setting(s, out);
  return 0;
}

constexpr char kSetUsage[] =
    "usage: network setting set [--rat auto|wcdma|lte|wcdma-lte|gsm|gsm-wcdma|gsm-lte|gsm-wcdma-lte] "
    "[--order RAT,RAT] [--bands auto|BAND,...] [--registration auto|manual] [--plmn-lock PLMN|off]";

int setting_set(const ctl::Args &args, ctl::Output &out) {
  Options options;
  if (!options.parse(args, {"--rat", "--order", "--bands", "--registration", "--plmn-lock"}) ||
      !options.words.empty() || options.values.empty())
    return ctl::fail(out, kSetUsage, 2);
  if (!start_family(out)) return 1;
  vorn_network_setting s{};
  if (const std::string *rat = options.get("--rat")) {
    if (!code_of(kRatModes, *rat, s.rat_mode)) return ctl::fail(out, "unknown rat mode: " + *rat, 2);
    s.rat_info_valid = 1;
    if (const std::string *order = options.get("--order")) {
      std::vector<std::string> rats = split(*order, ',');
      uint32_t first = 0, second = 0;
      if (rats.size() != 2 || !code_of(kOrderRats, rats[0], first) || !code_of(kOrderRats, rats[1], second))
        return ctl::fail(out, "the order names two of gsm, wcdma, lte: " + *order, 2);
      s.rat_order_valid = 1;
      s.primary_rat = static_cast<uint8_t>(first);
      s.secondary_rat = static_cast<uint8_t>(second);
    }
  } else if (options.get("--order") != nullptr) {
    return ctl::fail(out, "--order goes with --rat", 2);
  }
  if (const std::string *bands = options.get("--bands")) {
    s.band_info_valid = 1;
    if (*bands != "auto") {
      s.band_mode = 1;
      for (const std::string &band : split(*bands, ','))
        if (!add_band(band, s)) return ctl::fail(out, "unknown band: " + band, 2);
    }
  }
  if (const std::string *mode = options.get("--registration")) {
    if (*mode != "auto" && *mode != "manual") return ctl::fail(out, kSetUsage, 2);
    s.regist_info_valid = 1;
    s.regist_mode = *mode == "manual" ? 1 : 0;
  }
  if (const std::string *plmn = options.get("--plmn-lock")) {
    s.plmn_lock_info_valid = 1;
    if (*plmn != "off") {
      if (plmn->size() != 5 && plmn->size() != 6) return ctl::fail(out, "a PLMN has 5 or 6 digits: " + *plmn, 2);
      s.plmn_lock_enable = 1;
      std::snprintf(s.plmn_lock, sizeof s.plmn_lock, "%s", plmn->c_str());
    }
  }
  int rc = vorn_network_pal_set_network_setting(vorn_network_pal_get_usim_card_slot(), &s);
  if (rc != 0) {
    if (s.nr_info_valid) return ctl::fail(out, "the modem selects no NR bands", rc);
    return ctl::fail(out, "the modem refused the setting", rc);
  }
  return setting_get({}, out);
}

// ---- cell lock ----------------------------------------------------------------------

// The SIM a lock is for is the framework's active one; --sim names the one
// the user means, and a lock for the other SIM is refused rather than
// written to the wrong items.
bool active_sim(const Options &options, ctl::Output &out, int &status) {
  uint32_t active = vorn_network_pal_get_usim_card_slot() + 1u;
  const std::string *sim = options.get("--sim");
  uint32_t wanted = active;
  if (sim != nullptr && !number_in(*sim, 1, 2, wanted)) {
    status = ctl::fail(out, "--sim is 1 or 2", 2);
    return false;
  }
  if (wanted != active) {
    status = ctl::fail(out, "SIM " + std::to_string(wanted) + " is not the active SIM (SIM " +
                                std::to_string(active) + ")", 1);
    return false;
  }
  out.field("sim", static_cast<long long>(active));
  return true;
}

// "n78" (or "78") to the band index of the NR lock.
bool nr_band_index(const std::string &text, uint32_t &index) {
  uint32_t band = 0;
  if (!number_in(text[0] == 'n' ? text.substr(1) : text, 1, 999, band)) return false;
  uint32_t value = band < 10 ? 500 + band : 5000 + band;
  for (const vorn_network_lock_code &row : vorn_sa_celllock_band_map)
    if (row.value == value) {
      index = row.code;
      return true;
    }
  return false;
}

bool scs_code(const std::string &khz, uint32_t &code) {
  uint32_t value = 0;
  if (!number_in(khz, 15, 240, value)) return false;
  for (const vorn_network_lock_code &row : vorn_bwlock_scs_map)
    if (row.value == value) {
      code = row.code;
      return true;
    }
  return false;
}

uint32_t scs_khz(uint32_t code) {
  for (const vorn_network_lock_code &row : vorn_bwlock_scs_map)
    if (row.code == code) return row.value;
  return 0;
}

constexpr char kCellLockUsage[] =
    "usage: network celllock set lte EARFCN [PCI] | nr ARFCN [PCI] --scs KHZ --band nBAND | wcdma UARFCN | "
    "list EARFCN:PCI,... [--nr ARFCN:PCI --scs KHZ --band nBAND]  [--sim 1|2]";

int apply_lock(vorn_network_setting &s, ctl::Output &out) {
  int rc = vorn_network_pal_set_network_setting(vorn_network_pal_get_usim_card_slot(), &s);
  if (rc != 0) return ctl::fail(out, "the cell lock was not written", rc);
  return 0;
}

int celllock_list(const std::string &cells, const Options &options, ctl::Output &out) {
  vorn_network_setting s{};
  vorn_network_multi_cell_lock_info &multi = s.cell_multi_lock_info;
  multi.enable = 1;
  for (const std::string &cell : split(cells, ',')) {
    std::vector<std::string> parts = split(cell, ':');
    if (multi.lte_count >= VORN_NETWORK_MULTI_CELL_MAX - 1)
      return ctl::fail(out, "at most " + std::to_string(VORN_NETWORK_MULTI_CELL_MAX - 1) + " LTE cells", 2);
    vorn_network_multi_cell &entry = multi.cell[multi.lte_count];
    if (parts.size() != 2 || !number_in(parts[0], 0, 0xFFFFFFFFll, entry.freq) ||
        !number_in(parts[1], 0, 0xFFFFFFFFll, entry.pci))
      return ctl::fail(out, "a cell is EARFCN:PCI: " + cell, 2);
    ++multi.lte_count;
  }
  if (const std::string *nr = options.get("--nr")) {
    std::vector<std::string> parts = split(*nr, ':');
    vorn_network_multi_cell &entry = multi.cell[multi.lte_count];
    uint32_t scs = 0, band = 0;
    const std::string *scs_text = options.get("--scs"), *band_text = options.get("--band");
    if (parts.size() != 2 || !number_in(parts[0], 0, 0xFFFFFFFFll, entry.freq) ||
        !number_in(parts[1], 0, 0xFFFFFFFFll, entry.pci) || scs_text == nullptr || band_text == nullptr ||
        !scs_code(*scs_text, scs) || !nr_band_index(*band_text, band))
      return ctl::fail(out, kCellLockUsage, 2);
    entry.scs = static_cast<uint16_t>(scs);
    entry.band = static_cast<uint16_t>(band);
    multi.nr_count = 1;
  }
  s.cell_multi_lock_info_valid = 1;
  if (int rc = apply_lock(s, out)) return rc;
  out.field("lte_cells", static_cast<long long>(multi.lte_count));
  out.field("nr_cells", static_cast<long long>(multi.nr_count));
  return 0;
}

int celllock_set(const ctl::Args &args, ctl::Output &out) {
  Options options;
  if (!options.parse(args, {"--scs", "--band", "--sim", "--nr"}) || options.words.size() < 2 ||
      options.words.size() > 3)
    return ctl::fail(out, kCellLockUsage, 2);
  const std::vector<std::string> &w = options.words;
  int status = 0;
  if (w[0] == "list") {
    if (w.size() != 2) return ctl::fail(out, kCellLockUsage, 2);
    if (!start_family(out) || !active_sim(options, out, status)) return status != 0 ? status : 1;
    return celllock_list(w[1], options, out);
  }
  vorn_network_setting s{};
  vorn_network_cell_lock_info &lock = s.cell_lock_info;
  lock.enable = 1;
  lock.action = VORN_CELL_LOCK_ACTION_NEW;
  if (!code_of(kCellLockRats, w[0], lock.rat) || !number_in(w[1], 0, 0xFFFFFFFFll, lock.arfcn) ||
      (w.size() == 3 && !number_in(w[2], 0, 0xFFFFFFFFll, lock.pci)) ||
      (lock.rat == VORN_CELL_LOCK_WCDMA && w.size() == 3))
    return ctl::fail(out, kCellLockUsage, 2);
  lock.type = w.size() == 3 ? VORN_CELL_LOCK_PCI : VORN_CELL_LOCK_FREQ;
  if (lock.rat == VORN_CELL_LOCK_NR) {
    const std::string *scs = options.get("--scs"), *band = options.get("--band");
    if (scs == nullptr || !scs_code(*scs, lock.scs)) return ctl::fail(out, "--scs is 15, 30, 60, 120 or 240", 2);
    if (lock.type == VORN_CELL_LOCK_PCI && (band == nullptr || !nr_band_index(*band, lock.band)))
      return ctl::fail(out, "--band names an NR band the lock knows, e.g. n78", 2);
  }
  if (!start_family(out) || !active_sim(options, out, status)) return status != 0 ? status : 1;
  s.cell_lock_info_valid = 1;
  if (int rc = apply_lock(s, out)) return rc;
  out.field("locked", true);
  return 0;
}

int celllock_get(const ctl::Args &args, ctl::Output &out) {
  Options options;
  if (!options.parse(args, {"--sim"}) || !options.words.empty()) return ctl::fail(out, "usage: network celllock get [--sim 1|2]", 2);
  int status = 0;
  if (!start_family(out) || !active_sim(options, out, status)) return status != 0 ? status : 1;
  vorn_network_setting s{};
  s.cell_lock_info_valid = 1;
  int rc = vorn_network_pal_get_network_setting(vorn_network_pal_get_usim_card_slot(), &s);
  if (rc != 0) return ctl::fail(out, "the cell lock cannot be read", rc);
  const vorn_network_cell_lock_info &lock = s.cell_lock_info;
  out.field("enabled", lock.enable == 1);
  if (lock.enable != 1) return 0;
  out.field("rat", name_of(kCellLockRats, lock.rat));
  out.field("type", lock.type == VORN_CELL_LOCK_PCI ? "pci" : "frequency");
  out.field("arfcn", static_cast<long long>(lock.arfcn));
  if (lock.type == VORN_CELL_LOCK_PCI) out.field("pci", static_cast<long long>(lock.pci));
  return 0;
}

int celllock_clear(const ctl::Args &args, ctl::Output &out) {
  Options options;
  if (!options.parse(args, {"--sim"}) || !options.words.empty()) return ctl::fail(out, "usage: network celllock clear [--sim 1|2]", 2);
  int status = 0;
  if (!start_family(out) || !active_sim(options, out, status)) return status != 0 ? status : 1;
  vorn_network_setting s{};
  s.cell_lock_info_valid = 1;
  s.cell_lock_info.action = VORN_CELL_LOCK_ACTION_TOGGLE;
  s.cell_lock_info.enable = 0;
  int rc = vorn_network_pal_set_network_setting(vorn_network_pal_get_usim_card_slot(), &s);
  if (rc != 0) return ctl::fail(out, "the cell lock was not cleared", rc);
  out.field("enabled", false);
  return 0;
}

// ---- frequency lock -----------------------------------------------------------------

constexpr char kFreqLockUsage[] =
    "usage: network freqlock set [--lte EARFCN[:PCI],...] [--nr nBAND:ARFCN:SCSKHZ[:PCI],...]";

int freqlock_set(const ctl::Args &args, ctl::Output &out) {
  Options options;
  const std::string *lte = nullptr, *nr = nullptr;
  if (!options.parse(args, {"--lte", "--nr"}) || !options.words.empty() ||
      ((lte = options.get("--lte")) == nullptr && (nr = options.get("--nr")) == nullptr))
    return ctl::fail(out, kFreqLockUsage, 2);
  nr = options.get("--nr");
  if (!start_family(out)) return 1;
  vorn_network_freqlock_info info{};
  info.enable = 1;
  info.rat = lte != nullptr && nr != nullptr ? VORN_NETWORK_LOCK_RAT_BOTH
             : lte != nullptr               ? VORN_NETWORK_LOCK_RAT_LTE
                                            : VORN_NETWORK_LOCK_RAT_NR;
  if (lte != nullptr) {
    std::vector<std::string> cells = split(*lte, ',');
    if (cells.size() > VORN_NETWORK_LOCK_LTE_MAX)
      return ctl::fail(out, "at most " + std::to_string(VORN_NETWORK_LOCK_LTE_MAX) + " LTE cells", 2);
    for (const std::string &cell : cells) {
      std::vector<std::string> parts = split(cell, ':');
      vorn_network_lte_lock_cell &entry = info.lte_cell[info.lte_count];
      if (parts.size() > 2 || !number_in(parts[0], 0, 0xFFFFFFFFll, entry.arfcn) ||
          (parts.size() == 2 && !number_in(parts[1], 0, 0xFFFFFFFFll, entry.pci)))
        return ctl::fail(out, "an LTE cell is EARFCN[:PCI]: " + cell, 2);
      ++info.lte_count;
    }
  }
  if (nr != nullptr) {
    std::vector<std::string> cells = split(*nr, ',');
    if (cells.size() > VORN_NETWORK_LOCK_NR_MAX)
      return ctl::fail(out, "at most " + std::to_string(VORN_NETWORK_LOCK_NR_MAX) + " NR cells", 2);
    for (const std::string &cell : cells) {
      std::vector<std::string> parts = split(cell, ':');
      vorn_network_nr_lock_cell &entry = info.nr_cell[info.nr_count];
      uint32_t scs = 0, pci = 0;
      if (parts.size() < 3 || parts.size() > 4 || parts[0].size() < 2 || parts[0][0] != 'n' ||
          !number_in(parts[0].substr(1), 1, 0xFFFF, entry.band) || !number_in(parts[1], 0, 0xFFFFFFFFll, entry.earfcn) ||
          !scs_code(parts[2], scs) || (parts.size() == 4 && !number_in(parts[3], 0, 0xFFFF, pci)))
        return ctl::fail(out, "an NR cell is nBAND:ARFCN:SCSKHZ[:PCI]: " + cell, 2);
      entry.scs = static_cast<uint16_t>(scs);
      entry.pci = static_cast<uint16_t>(pci);
      ++info.nr_count;
    }
  }
  int rc = vorn_network_pal_set_freqlock(&info);
  if (rc != 0) return ctl::fail(out, "the frequency lock was refused", rc);
  out.field("lte_cells", static_cast<long long>(info.lte_count));
  out.field("nr_cells", static_cast<long long>(info.nr_count));
  return 0;
}

int freqlock_get(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) return ctl::fail(out, "usage: network freqlock get", 2);
  if (!start_family(out)) return 1;
  vorn_network_freqlock_info info{};
  int rc = vorn_network_pal_get_freqlock(&info);
  if (rc != 0) return ctl::fail(out, "the frequency lock cannot be read", rc);
  std::string lte, nr;
  for (uint8_t i = 0; i < info.lte_count && i < VORN_NETWORK_LOCK_LTE_MAX; ++i)
    lte += (lte.empty() ? "" : ",") + std::to_string(info.lte_cell[i].arfcn) + ":" + std::to_string(info.lte_cell[i].pci);
  for (uint8_t i = 0; i < info.nr_count && i < VORN_NETWORK_LOCK_NR_MAX; ++i) {
    const vorn_network_nr_lock_cell &c = info.nr_cell[i];
    nr += (nr.empty() ? "n" : ",n") + std::to_string(c.band) + ":" + std::to_string(c.earfcn) + ":" +
          std::to_string(scs_khz(c.scs)) + ":" + std::to_string(c.pci);
  }
  out.field("lte", lte.empty() ? "none" : lte);
  out.field("nr", nr.empty() ? "none" : nr);
  return 0;
}

int freqlock_clear(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) return ctl::fail(out, "usage: network freqlock clear", 2);
  if (!start_family(out)) return 1;
  vorn_network_freqlock_info info{};
  info.rat = VORN_NETWORK_LOCK_RAT_BOTH;
  info.enable = 0;
  int rc = vorn_network_pal_set_freqlock(&info);
  if (rc != 0) return ctl::fail(out, "the frequency lock was not cleared", rc);
  out.field("lte", "none");
  out.field("nr", "none");
  return 0;
}

ctl::Registrar reg({
    {"network setting get", "", "rat mode, bands, registration mode and PLMN lock", setting_get},
    {"network setting set", "[--rat MODE] [--order RAT,RAT] [--bands auto|BAND,...] [--registration auto|manual] [--plmn-lock PLMN|off]",
     "change the selection (bands: gsm900 w1 b3 n78)", setting_set},
    {"network celllock set", "lte EARFCN [PCI] | nr ARFCN [PCI] --scs KHZ --band nBAND | wcdma UARFCN | list EARFCN:PCI,... [--sim 1|2]",
     "lock the active SIM on a cell or a frequency", celllock_set},
    {"network celllock get", "[--sim 1|2]", "the cell lock in force", celllock_get},
    {"network celllock clear", "[--sim 1|2]", "turn the cell lock off", celllock_clear},
    {"network freqlock set", "[--lte EARFCN[:PCI],...] [--nr nBAND:ARFCN:SCSKHZ[:PCI],...]", "lock on frequencies",
     freqlock_set},
    {"network freqlock get", "", "the frequency lock in force", freqlock_get},
    {"network freqlock clear", "", "turn the frequency lock off", freqlock_clear},
});

}  // namespace
