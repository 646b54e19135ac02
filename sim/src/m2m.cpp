// The vendor (M2M) service of the simulated modem: an EFS store keyed by
// path, NV items by number, the module's identity, and the settings that the
// service's messages read and change. The whole state is saved to and loaded
// from a directory, so that vornpalctl runs share one modem.
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <optional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornsim/m2m.h>
#include <vornsim/sim.h>

#include "m2m/messages.h"
#include "m2m_efs.h"
#include "service_module.h"

namespace vornsim {
namespace {

namespace m2m = vorn::m2m;
using vorn::qmi::NoRequest;

// Codes of the service's refusals.
constexpr qmi_error_type_v01 kBadArgument = QMI_ERR_INVALID_ARG_V01;
constexpr auto kNotFound = static_cast<qmi_error_type_v01>(0x0010);  // not provisioned

// word1 of the NV-by-number message.
constexpr uint32_t kNvrwRead = 0;
constexpr uint32_t kNvrwWrite = 1;
constexpr uint32_t kProfileMax = 42;

struct State {
  std::map<std::string, Bytes> efs;
  std::map<uint32_t, Bytes> nv;
  std::map<uint32_t, std::string> apn;  // by profile index

  std::string manufacturer = "Vorn Wireless";
  std::string model = "VN5G-FWA100";
  std::string hw_version = "V1.2";
  std::string project_name = "VN5G-FWA100-NA-00";
  std::string modem_version = "VN5GFWAR01A03";
  std::string cefs_version = "VN5GFWAR01A03_CEFS02";
  std::string auth_mode = "PAP_CHAP";
  std::string imei1 = "861234050000011";
  std::string imei2 = "861234050000029";
  std::string fsn = "VN5G24A000123";
  std::string sn = "SN2400000123";

  uint32_t cfun = 1;
  uint32_t ue_mode = 2;
  uint32_t act = 7;
  uint32_t uim_slot = 0;
  uint32_t w_disable = 0;
  uint32_t dhcp_gw = 0;
  uint32_t rmnet_active = 0;
  uint32_t active_profile = 0;
  uint32_t reports_enabled = 0;
  uint32_t backups = 0;
  std::array<uint32_t, 2> packet_report = {0, 0};
  std::array<uint32_t, 4> ipv6_format = {0, 0, 0, 0};
  std::array<uint32_t, 2> dns = {0x08080808, 0x08080404};  // 0 for none
  std::array<uint32_t, 2> netmask = {0xFFFFFF00, 0xFFFFFF00};
  std::array<uint32_t, 4> ant_sinr = {20, 18, 23, 17};
  // dl_rate, ul_rate, dl_bytes, ul_bytes, dl_state, ul_state, dl_max, ul_max
  std::array<uint64_t, 8> statistics = {0, 0, 0, 0, 0, 0, 0, 0};
  Bytes cell_lock = Bytes(sizeof(vorn_cell_lock_ext_list_v01), 0);

  // Everything is saved.
  template <class Visit>
  void values(Visit &&visit) {
    visit("efs", efs);
    visit("nv", nv);
    visit("apn", apn);
    visit("manufacturer", manufacturer);
    visit("model", model);
    visit("hw_version", hw_version);
    visit("project_name", project_name);
    visit("modem_version", modem_version);
    visit("cefs_version", cefs_version);
    visit("auth_mode", auth_mode);
    visit("imei1", imei1);
    visit("imei2", imei2);
    visit("fsn", fsn);
    visit("sn", sn);
    visit("cfun", cfun);
    visit("ue_mode", ue_mode);
    visit("act", act);
    visit("uim_slot", uim_slot);
    visit("w_disable", w_disable);
    visit("dhcp_gw", dhcp_gw);
    visit("rmnet_active", rmnet_active);
    visit("active_profile", active_profile);
    visit("reports_enabled", reports_enabled);
    visit("backups", backups);
    visit("packet_report", packet_report);
    visit("ipv6_format", ipv6_format);
    visit("dns", dns);
    visit("netmask", netmask);
    visit("ant_sinr", ant_sinr);
    visit("statistics", statistics);
    visit("cell_lock", cell_lock);
  }
};

// Items that the library's families copy into place.
const std::map<std::string, std::string> kFactoryItems = {
    {"/nv/item_files/odm/config0.ini", "[thermal]\nprofile=0\n"},
    {"/nv/item_files/odm/config1.ini", "[thermal]\nprofile=1\n"},
    {"/nv/item_files/odm/config2.ini", "[thermal]\nprofile=2\n"},
    {"/nv/item_files/therm_monitor/config.ini", "[thermal]\nprofile=0\n"},
    {"/nv/item_files/odm/00030007_for_IC", "IC-RF"},
    {"/nv/item_files/odm/00030007_for_FCC", "FCC-RF"},
    {"/nv/item_files/rfnv/00030007", "FCC-RF"},
    {"/nv/item_files/odm/hardware_band_filtering_for_IC.xml", "<bands region=\"IC\"/>"},
    {"/nv/item_files/odm/hardware_band_filtering_for_FCC.xml", "<bands region=\"FCC\"/>"},
    {"/policyman/hardware_band_filtering.xml", "<bands region=\"FCC\"/>"},
    {"/nv/item_files/datamodem/protocols/clat_config_info", std::string("\x01\x00\x00\x40\x00\x01", 6)},
    {"/nv/item_files/modem/lte/rrc/efs/disable_4l_per_band", std::string("\x01\x00\x00\x00\x02\x00", 6)},
    {"/nv/item_files/modem/nr5g/RRC/cap_limit_rf_mimo", std::string("\x02", 1)},
};

State factory_state() {
  State fresh;
  for (const auto &[path, text] : kFactoryItems) fresh.efs[path] = Bytes(text.begin(), text.end());
  return fresh;
}

// ---- small helpers ---------------------------------------------------------

template <class Resp>
void answer_text(Resp &resp, const std::string &text) {
  put_text(resp.text, text);
  resp.len = static_cast<uint32_t>(std::strlen(resp.text));
}


// ---- the EFS store and NV items --------------------------------------------

void read_item(State &s, const m2m::ReadNvItem::Req &req, m2m::ReadNvItem::Resp &resp) {
  auto item = s.efs.find(field_text(req.item_file_path));
  if (item == s.efs.end()) return refuse_with(resp, kNotFound);
  size_t len = std::min(item->second.size(), sizeof resp.data);
  resp.data_len = static_cast<uint32_t>(len);
  if (len > 0) std::memcpy(resp.data, item->second.data(), len);
}

std::mutex hook_mutex;
std::function<void()> change_hook;  // under hook_mutex

void changed() {
  std::lock_guard<std::mutex> lock(hook_mutex);
  if (change_hook) change_hook();
}

void write_item(State &s, const m2m::WriteNvItem::Req &req, m2m::WriteNvItem::Resp &resp) {
  std::string path = field_text(req.item_file_path);
  if (path.empty() || req.data_len > sizeof req.data) return refuse_with(resp, kBadArgument);
  s.efs[path] = Bytes(req.data, req.data + req.data_len);
  changed();
}

// Rename and copy share their checks; a rename onto an existing item
// replaces it, as the callers that move items aside expect.
template <class Resp>
bool move_item(State &s, const char (&from)[VORN_M2M_NV_PATH_MAX_V01],
               const char (&to)[VORN_M2M_NV_PATH_MAX_V01], bool keep_source, Resp &resp) {
  std::string source = field_text(from), target = field_text(to);
  auto item = s.efs.find(source);
  if (target.empty()) {
    refuse_with(resp, kBadArgument);
    return false;
  }
  if (item == s.efs.end()) {
    refuse_with(resp, kNotFound);
    return false;
  }
  Bytes data = item->second;
  if (!keep_source) s.efs.erase(item);
  s.efs[target] = std::move(data);
  changed();
  return true;
}

void rename_item(State &s, const m2m::EfsRename::Req &req, m2m::EfsRename::Resp &resp) {
  move_item(s, req.old_path, req.new_path, false, resp);
}

void copy_item(State &s, const m2m::CopyNvItem::Req &req, m2m::CopyNvItem::Resp &resp) {
  move_item(s, req.source_path, req.destination_path, true, resp);
}

// word0 is the item's number, word1 the direction. The request has no
// length: an item keeps its bytes up to the last non-zero one.
void nv_by_number(State &s, const m2m::Nvrw::Req &req, m2m::Nvrw::Resp &resp) {
  if (req.word1 == kNvrwWrite) {
    size_t len = sizeof req.data;
    while (len > 0 && req.data[len - 1] == 0) --len;
    s.nv[req.word0] = Bytes(req.data, req.data + len);
    return;
  }
  if (req.word1 != kNvrwRead) return refuse_with(resp, kBadArgument);
  auto item = s.nv.find(req.word0);
  if (item == s.nv.end()) return;  // data_valid 0
  resp.data_valid = 1;
  resp.data_len = static_cast<uint32_t>(std::min(item->second.size(), sizeof resp.data));
  if (resp.data_len > 0) std::memcpy(resp.data, item->second.data(), resp.data_len);
}

// ---- identity ----------------------------------------------------------------

void imei(State &s, const m2m::Imei::Req &req, m2m::Imei::Resp &resp) {
  if (req.operation == 1) {
    if (req.imei1[0] != '\0') s.imei1 = field_text(req.imei1);
    if (req.imei2[0] != '\0') s.imei2 = field_text(req.imei2);
    return;
  }
  resp.imei_valid = !s.imei1.empty() || !s.imei2.empty();
  put_text(resp.imei1, s.imei1);
  put_text(resp.imei2, s.imei2);
}

void get_fsn(State &s, const m2m::GetSn::Req &, m2m::GetSn::Resp &resp) {
  if (s.fsn.empty()) return refuse_with(resp, kNotFound);
  answer_text(resp, s.fsn);
}

void set_fsn(State &s, const m2m::SetSn::Req &req, m2m::SetSn::Resp &resp) {
  if (req.len == 0 || req.len > sizeof req.text) return refuse_with(resp, kBadArgument);
  s.fsn = std::string(req.text, strnlen(req.text, req.len));
}

void board_sn(State &s, const m2m::Sn::Req &, m2m::Sn::Resp &resp) {
  if (s.sn.empty()) return;
  resp.sn_valid = 1;
  resp.sn_len = static_cast<uint32_t>(std::min(s.sn.size(), sizeof resp.sn));
  std::memcpy(resp.sn, s.sn.data(), resp.sn_len);
}

void clock_now(State &, const m2m::GetCclkTime::Req &, m2m::GetCclkTime::Resp &resp) {
  time_t now = time(nullptr);
  tm utc{};
  gmtime_r(&now, &utc);
  resp.year = static_cast<uint16_t>(utc.tm_year + 1900);
  resp.month = static_cast<uint8_t>(utc.tm_mon + 1);
  resp.day = static_cast<uint8_t>(utc.tm_mday);
  resp.hour = static_cast<uint8_t>(utc.tm_hour);
  resp.minute = static_cast<uint8_t>(utc.tm_min);
  resp.second = static_cast<uint8_t>(utc.tm_sec);
}

// ---- connection --------------------------------------------------------------

bool valid_profile(uint32_t index) { return index >= 1 && index <= kProfileMax; }

void rmnet_action(State &s, const m2m::RmnetAction::Req &req, m2m::RmnetAction::Resp &resp) {
  if (req.action > 1 || (req.profile_valid && !valid_profile(req.profile)))
    return refuse_with(resp, kBadArgument);
  s.rmnet_active = req.action;
  s.active_profile = req.action == 1 && req.profile_valid ? req.profile : 0;
  if (s.reports_enabled == 0) return;
  vorn_m2m_event_report_ind_msg_v01 ind{};
  ind.rmnet_act_valid = 1;
  ind.rmnet_act = static_cast<uint8_t>(s.rmnet_active);
  ind.rmnet_act_index_valid = 1;
  ind.rmnet_act_index = req.instance;
  indicate(Svc::M2M, QMI_VORN_M2M_EVENT_REPORT_IND_V01, ind);
}

void get_ip(State &s, const m2m::GetIp::Req &, m2m::GetIp::Resp &resp) {
  if (s.rmnet_active == 0) return;
  resp.ipv4_valid = 1;
  put_text(resp.ipv4_addr, "10.64.12.7");
  resp.ipv4_second_valid = 1;
  resp.ipv4_second = s.dns[0];
  resp.ipv6_valid = 1;
  put_text(resp.ipv6_addr, "2001:db8:12:7::1");
}

// The cells around the simulated device; the answer comes as indication 58.
void scan_cells(State &, const m2m::ScanCell::Req &, m2m::ScanCell::Resp &) {
  struct Cell {
    uint8_t rat;
    uint16_t pci;
    uint32_t cell_id;
    uint16_t mcc, mnc;
  };
  static constexpr Cell kCells[] = {{5, 101, 0x01A2B301, 310, 260},
                                    {5, 214, 0x01A2B302, 310, 260},
                                    {6, 377, 0x00C0FFEE, 310, 410}};
  vorn_m2m_scan_cell_info_ind_msg_v01 ind{};
  for (const Cell &cell : kCells) {
    auto &entry = ind.cell[ind.cell_count++];
    entry.rat = cell.rat;
    entry.pci = cell.pci;
    entry.cell_id = cell.cell_id;
    entry.mcc = cell.mcc;
    entry.mnc = cell.mnc;
  }
  indicate(Svc::M2M, QMI_VORN_M2M_SCAN_CELL_INFO_IND_V01, ind);
}

// ---- radio reports --------------------------------------------------------------

// The current act word of the service: 0 GSM, 7 LTE, 11 NR, 13 ENDC.
constexpr uint32_t kActGsm = 0;
constexpr uint32_t kActNr = 11;

// An LTE primary carrier on band 3 with band 7 active and band 20
// configured; the secondary bands are numbered as the library numbers them.
void carriers(State &s, const m2m::GetCaInfo::Req &, m2m::GetCaInfo::Resp &resp) {
  if (s.act == kActGsm) return;  // no aggregation on GSM
  resp.pcell.band = s.act == kActNr ? 78 : 3;
  struct Secondary {
    uint32_t band;
    uint8_t state;
    uint8_t uplink;
  };
  constexpr Secondary kSecondaries[] = {{107, 2, 1}, {120, 1, 0}};
  for (const Secondary &cell : kSecondaries) {
    auto &scc = resp.scc[resp.ca_scc_list_len++];
    scc.band = cell.band;
    scc.scell_state = cell.state;
    scc.ul_configerd = cell.uplink;
  }
}

// LTE values always; NR values only where NR carries traffic.
void link_quality(State &s, const m2m::GetSigInfo::Req &, m2m::GetSigInfo::Resp &resp) {
  if (s.act == kActGsm) return;  // sig_info_valid 0
  resp.sig_info_valid = 1;
  resp.lte_cqi = 12;
  resp.lte_ri = 2;
  resp.lte_dlrank = 2;
  resp.lte_dlmcs = 22;
  resp.lte_ulmcs = 17;
  if (s.act < kActNr) return;
  resp.nr_valid = 1;
  resp.nr_cqi = 13;
  resp.nr_ri = 4;
  resp.nr_dlrank = 4;
  resp.nr_dlmcs = 25;
  resp.nr_ulmcs = 20;
}

// GSM neighbour details exist only while the module camps on GSM: then each
// of four neighbours has a 16-byte rx level block (rising levels 20 + n).
void gsm_details(State &s, const m2m::GetCellInfoExt::Req &, m2m::GetCellInfoExt::Resp &resp) {
  if (s.act != kActGsm) return;
  resp.cell_info_ext_valid = 1;
  resp.info[0] = 4;
  for (size_t i = 1; i < sizeof resp.info; ++i) resp.info[i] = static_cast<uint8_t>(20 + (i - 1) / 16);
}

// ---- registration of the handlers --------------------------------------------

void install(ServiceModule<State> &m) {
  m.serve<m2m::GetUimSelect>([](State &s, const NoRequest &, auto &resp) { resp.slot = s.uim_slot; });
  m.serve<m2m::GetIp>(get_ip);
  m.serve<m2m::GetProfileActive>([](State &s, const auto &req, auto &resp) {
        resp.active = s.rmnet_active != 0 && s.active_profile == req.profile_index;
      });
  m.serve<m2m::SetEventReport>([](State &s, const auto &req, auto &) {
        s.reports_enabled = 0;
        for (const auto &report : req.report) s.reports_enabled |= report.valid && report.enable;
      });
  m.serve<m2m::GetRmnetActive>([](State &s, const NoRequest &, auto &resp) { resp.active = s.rmnet_active; });
  m.serve<m2m::GetUeMode>([](State &s, const auto &, auto &resp) { resp.cemode = static_cast<uint8_t>(s.ue_mode); });
  m.serve<m2m::GetCurrentAct>([](State &s, const auto &, auto &resp) { resp.act = s.act; });
  m.serve<m2m::RmnetAction>(rmnet_action);
  m.serve<m2m::WdsCreateProfile>([](State &s, const auto &req, auto &resp) {
        if (!valid_profile(req.profile_index)) return refuse_with(resp, kBadArgument);
        s.apn.emplace(req.profile_index, "");
      });
  m.serve<m2m::ReadNvItem>(read_item);
  m.serve<m2m::WriteNvItem>(write_item);
  m.serve<m2m::GetDnscfg>([](State &s, const NoRequest &, auto &resp) {
        resp.primary_valid = s.dns[0] != 0;
        resp.primary = s.dns[0];
        resp.secondary_valid = s.dns[1] != 0;
        resp.secondary = s.dns[1];
      });
  m.serve<m2m::SetDhcpGw>([](State &s, const auto &req, auto &) { s.dhcp_gw = req.value; });
  m.serve<m2m::GetCclkTime>(clock_now);
  m.serve<m2m::GetCfun>([](State &s, const NoRequest &, auto &resp) { resp.cfun = s.cfun; });
  m.serve<m2m::GetSubver>([](State &s, const auto &, auto &resp) {
        put_text(resp.modem, s.modem_version);
        put_text(resp.cefs, s.cefs_version);
      });
  m.serve<m2m::SetDhcpNetmask>([](State &s, const auto &req, auto &) { s.netmask = {req.netmask[0], req.netmask[1]}; });
  m.serve<m2m::GetDhcpNetmask>([](State &s, const NoRequest &, auto &resp) {
        resp.netmask[0] = s.netmask[0];
        resp.netmask[1] = s.netmask[1];
      });
  m.serve<m2m::Nvrw>(nv_by_number);
  m.serve<m2m::Sn>(board_sn);
  m.serve<m2m::SmsPduAck>([](State &, const auto &req, auto &resp) {
        if (req.pdu_valid && req.pdu_len > sizeof req.pdu) refuse_with(resp, kBadArgument);
      });
  m.serve<m2m::WDisable>([](State &s, const auto &req, auto &) { s.w_disable = req.w_disable; });
  m.serve<m2m::Imei>(imei);
  m.serve<m2m::Manufacturer>([](State &s, const NoRequest &, auto &resp) { answer_text(resp, s.manufacturer); });
  m.serve<m2m::HwVersion>([](State &s, const auto &, auto &resp) { answer_text(resp, s.hw_version); });
  m.serve<m2m::ModelName>([](State &s, const NoRequest &, auto &resp) { answer_text(resp, s.model); });
  m.serve<m2m::GetSn>(get_fsn);
  m.serve<m2m::SetSn>(set_fsn);
  m.serve<m2m::SetUeMode>([](State &s, const auto &req, auto &resp) {
        if (req.mode > 3) return refuse_with(resp, kBadArgument);
        s.ue_mode = req.mode;
      });
  m.serve<m2m::GetPacketReportEvent>([](State &s, const auto &, auto &resp) {
        resp.modem_val = s.packet_report[0];
        resp.option_val = s.packet_report[1];
      });
  m.serve<m2m::SetPacketReportEvent>([](State &s, const auto &req, auto &) { s.packet_report = {req.modem_val, req.option_val}; });
  m.serve<m2m::EfsRename>(rename_item);
  m.serve<m2m::OtalogRm>([](State &s, const auto &, auto &) {
    for (auto it = s.efs.begin(); it != s.efs.end();)
      it = it->first.rfind("/data/otalog/", 0) == 0 ? s.efs.erase(it) : std::next(it);
  });
  m.serve<m2m::GetIpv6Format>([](State &s, const auto &, auto &resp) {
        std::memcpy(resp.format, s.ipv6_format.data(), sizeof resp.format);
      });
  m.serve<m2m::SetIpv6Format>([](State &s, const auto &req, auto &) {
        std::memcpy(s.ipv6_format.data(), req.format, sizeof req.format);
      });
  m.serve<m2m::GetCaInfo>(carriers);
  m.serve<m2m::BackupDeviceData>([](State &s, const auto &, auto &) { ++s.backups; });
  m.serve<m2m::CopyNvItem>(copy_item);
  m.serve<m2m::GetSigInfo>(link_quality);
  m.serve<m2m::GetAuthenticationMode>([](State &s, const auto &, auto &resp) { put_text(resp.mode, s.auth_mode); });
  m.serve<m2m::ScanCell>(scan_cells);
  m.serve<m2m::SetCfunMode>([](State &s, const auto &req, auto &resp) {
        if (req.cfun_mode != 0 && req.cfun_mode != 1 && req.cfun_mode != 4)
          return refuse_with(resp, kBadArgument);
        s.cfun = req.cfun_mode;
      });
  m.serve<m2m::GetStatis>([](State &s, const NoRequest &, auto &resp) {
        const auto &v = s.statistics;
        resp.dl_rate = static_cast<uint32_t>(v[0]);
        resp.ul_rate = static_cast<uint32_t>(v[1]);
        resp.dl_bytes = v[2];
        resp.ul_bytes = v[3];
        resp.dl_state = static_cast<uint32_t>(v[4]);
        resp.ul_state = static_cast<uint32_t>(v[5]);
        resp.dl_max_speed = v[6];
        resp.ul_max_speed = v[7];
      });
  m.serve<m2m::ProjectName>([](State &s, const NoRequest &, auto &resp) { answer_text(resp, s.project_name); });
  m.serve<m2m::SetCellLockExt>([](State &s, const auto &req, auto &resp) {
        if (req.lock.lock_count > VORN_M2M_CELL_LOCK_EXT_MAX_V01) return refuse_with(resp, kBadArgument);
        std::memcpy(s.cell_lock.data(), &req.lock, sizeof req.lock);
        changed();
      });
  m.serve<m2m::GetCellLockExt>([](State &s, const auto &, auto &resp) { std::memcpy(&resp.lock, s.cell_lock.data(), sizeof resp.lock); });
  m.serve<m2m::GetCellInfoExt>(gsm_details);
  m.serve<m2m::SetPrfmod>([](State &s, const auto &req, auto &resp) {
        if (req.profile_index < 0) return refuse_with(resp, kBadArgument);
        s.apn[static_cast<uint32_t>(req.profile_index)] = field_text(req.apn);
      });
  m.serve<m2m::GetAntSinr>([](State &s, const auto &, auto &resp) {
        for (size_t i = 0; i < 4; ++i) resp.ant_sinr[i] = static_cast<uint8_t>(s.ant_sinr[i]);
      });
}

ServiceModule<State> m2m_module("m2m", Svc::M2M, factory_state, install);

}  // namespace

namespace m2m_efs {

std::optional<std::vector<uint8_t>> item(const std::string &path) {
  return m2m_module.with_state([&](State &s) -> std::optional<std::vector<uint8_t>> {
    auto it = s.efs.find(path);
    if (it == s.efs.end()) return std::nullopt;
    return it->second;
  });
}

void write(const std::string &path, const std::vector<uint8_t> &data) {
  m2m_module.with_state([&](State &s) {
    s.efs[path] = data;
    return 0;
  });
}

std::vector<std::pair<uint32_t, uint32_t>> nr_lock_cells() {
  vorn_cell_lock_ext_list_v01 lock{};
  m2m_module.with_state([&](State &s) {
    std::memcpy(&lock, s.cell_lock.data(), sizeof lock);
    return 0;
  });
  std::vector<std::pair<uint32_t, uint32_t>> cells;
  for (size_t i = 0; i < lock.lock_count && i < VORN_M2M_CELL_LOCK_EXT_MAX_V01; ++i)
    cells.emplace_back(lock.entry[i].freq, lock.entry[i].pci);
  return cells;
}

void on_change(std::function<void()> hook) {
  std::lock_guard<std::mutex> lock(hook_mutex);
  change_hook = std::move(hook);
}

}  // namespace m2m_efs

namespace m2m {

std::map<std::string, std::vector<uint8_t>> efs_items() {
  return m2m_module.with_state([](State &s) { return s.efs; });
}

std::optional<std::vector<uint8_t>> efs_item(const std::string &path) { return m2m_efs::item(path); }

}  // namespace m2m
}  // namespace vornsim
