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
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornsim/sim.h>

#include "service_state.h"

namespace vornsim {
namespace {

using Bytes = std::vector<uint8_t>;

// A message without a request structure.
struct None {};

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
};

std::mutex state_mutex;
State state;

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

template <class Req, class Resp>
void serve(unsigned id, void (*fn)(State &, const Req &, Resp &)) {
  on(Svc::M2M, id, guarded(state_mutex, state, fn));
}

// ---- the EFS store and NV items --------------------------------------------

void read_item(State &s, const vorn_m2m_read_nv_item_req_msg_v01 &req,
               vorn_m2m_read_nv_item_resp_msg_v01 &resp) {
  auto item = s.efs.find(field_text(req.item_file_path));
  if (item == s.efs.end()) return refuse_with(resp, kNotFound);
  size_t len = std::min(item->second.size(), sizeof resp.data);
  resp.data_len = static_cast<uint32_t>(len);
  if (len > 0) std::memcpy(resp.data, item->second.data(), len);
}

void write_item(State &s, const vorn_m2m_write_nv_item_req_msg_v01 &req,
                vorn_m2m_write_nv_item_resp_msg_v01 &resp) {
  std::string path = field_text(req.item_file_path);
  if (path.empty() || req.data_len > sizeof req.data) return refuse_with(resp, kBadArgument);
  s.efs[path] = Bytes(req.data, req.data + req.data_len);
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
  return true;
}

void rename_item(State &s, const vorn_m2m_efs_rename_req_msg_v01 &req,
                 vorn_m2m_efs_rename_resp_msg_v01 &resp) {
  move_item(s, req.old_path, req.new_path, false, resp);
}

void copy_item(State &s, const vorn_m2m_copy_nv_item_req_msg_v01 &req,
               vorn_m2m_copy_nv_item_resp_msg_v01 &resp) {
  move_item(s, req.source_path, req.destination_path, true, resp);
}

// word0 is the item's number, word1 the direction. The request has no
// length: an item keeps its bytes up to the last non-zero one.
void nv_by_number(State &s, const vorn_m2m_nvrw_req_msg_v01 &req, vorn_m2m_nvrw_resp_msg_v01 &resp) {
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

void imei(State &s, const vorn_m2m_imei_req_msg_v01 &req, vorn_m2m_imei_resp_msg_v01 &resp) {
  if (req.operation == 1) {
    if (req.imei1[0] != '\0') s.imei1 = field_text(req.imei1);
    if (req.imei2[0] != '\0') s.imei2 = field_text(req.imei2);
    return;
  }
  resp.imei_valid = !s.imei1.empty() || !s.imei2.empty();
  put_text(resp.imei1, s.imei1);
  put_text(resp.imei2, s.imei2);
}

void get_fsn(State &s, const None &, vorn_m2m_get_sn_resp_msg_v01 &resp) {
  if (s.fsn.empty()) return refuse_with(resp, kNotFound);
  answer_text(resp, s.fsn);
}

void set_fsn(State &s, const vorn_m2m_set_sn_req_msg_v01 &req, vorn_m2m_set_sn_resp_msg_v01 &resp) {
  if (req.len == 0 || req.len > sizeof req.text) return refuse_with(resp, kBadArgument);
  s.fsn = std::string(req.text, strnlen(req.text, req.len));
}

void board_sn(State &s, const vorn_m2m_sn_req_msg_v01 &, vorn_m2m_sn_resp_msg_v01 &resp) {
  if (s.sn.empty()) return;
  resp.sn_valid = 1;
  resp.sn_len = static_cast<uint32_t>(std::min(s.sn.size(), sizeof resp.sn));
  std::memcpy(resp.sn, s.sn.data(), resp.sn_len);
}

void clock_now(State &, const vorn_m2m_get_cclk_time_req_msg_v01 &,
               vorn_m2m_get_cclk_time_resp_msg_v01 &resp) {
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

void rmnet_action(State &s, const vorn_m2m_rmnet_action_req_msg_v01 &req,
                  vorn_m2m_rmnet_action_resp_msg_v01 &resp) {
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

void get_ip(State &s, const vorn_m2m_get_ip_req_msg_v01 &, vorn_m2m_get_ip_resp_msg_v01 &resp) {
  if (s.rmnet_active == 0) return;
  resp.ipv4_valid = 1;
  put_text(resp.ipv4_addr, "10.64.12.7");
  resp.ipv4_second_valid = 1;
  resp.ipv4_second = s.dns[0];
  resp.ipv6_valid = 1;
  put_text(resp.ipv6_addr, "2001:db8:12:7::1");
}

// The cells around the simulated device; the answer comes as indication 58.
void scan_cells(State &, const vorn_m2m_placeholder_req_msg_v01 &, vorn_m2m_result_resp_msg_v01 &) {
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
void carriers(State &s, const vorn_m2m_placeholder_req_msg_v01 &, vorn_m2m_get_ca_info_resp_msg_v01 &resp) {
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
void link_quality(State &s, const vorn_m2m_placeholder_req_msg_v01 &, vorn_m2m_get_sig_info_resp_msg_v01 &resp) {
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
void gsm_details(State &s, const vorn_m2m_placeholder_req_msg_v01 &, vorn_m2m_get_cell_info_ext_resp_msg_v01 &resp) {
  if (s.act != kActGsm) return;
  resp.cell_info_ext_valid = 1;
  resp.info[0] = 4;
  for (size_t i = 1; i < sizeof resp.info; ++i) resp.info[i] = static_cast<uint8_t>(20 + (i - 1) / 16);
}

// ---- registration of the handlers --------------------------------------------

void install_handlers() {
  using P = vorn_m2m_placeholder_req_msg_v01;
  using R = vorn_m2m_result_resp_msg_v01;
  serve<None, vorn_m2m_get_uim_select_resp_msg_v01>(
      QMI_VORN_M2M_GET_UIM_SELECT_REQ_V01, [](State &s, const None &, auto &resp) { resp.slot = s.uim_slot; });
  serve<vorn_m2m_get_ip_req_msg_v01, vorn_m2m_get_ip_resp_msg_v01>(QMI_VORN_M2M_GET_IP_REQ_V01, get_ip);
  serve<vorn_m2m_get_profile_active_req_msg_v01, vorn_m2m_get_profile_active_resp_msg_v01>(
      QMI_VORN_M2M_GET_PROFILE_ACTIVE_REQ_V01, [](State &s, const auto &req, auto &resp) {
        resp.active = s.rmnet_active != 0 && s.active_profile == req.profile_index;
      });
  serve<vorn_m2m_set_event_report_req_msg_v01, R>(
      QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01, [](State &s, const auto &req, R &) {
        s.reports_enabled = 0;
        for (const auto &report : req.report) s.reports_enabled |= report.valid && report.enable;
      });
  serve<None, vorn_m2m_get_rmnet_active_resp_msg_v01>(
      QMI_VORN_M2M_GET_RMNET_ACTIVE_REQ_V01,
      [](State &s, const None &, auto &resp) { resp.active = s.rmnet_active; });
  serve<P, vorn_m2m_get_ue_mode_resp_msg_v01>(
      QMI_VORN_M2M_GET_UE_MODE_REQ_V01,
      [](State &s, const P &, auto &resp) { resp.cemode = static_cast<uint8_t>(s.ue_mode); });
  serve<P, vorn_m2m_get_current_act_resp_msg_v01>(
      QMI_VORN_M2M_GET_CURRENT_ACT_REQ_V01, [](State &s, const P &, auto &resp) { resp.act = s.act; });
  serve<vorn_m2m_rmnet_action_req_msg_v01, R>(QMI_VORN_M2M_RMNET_ACTION_REQ_V01, rmnet_action);
  serve<vorn_m2m_wds_create_profile_req_msg_v01, R>(
      QMI_VORN_M2M_WDS_CREATE_PROFILE_REQ_V01, [](State &s, const auto &req, R &resp) {
        if (!valid_profile(req.profile_index)) return refuse_with(resp, kBadArgument);
        s.apn.emplace(req.profile_index, "");
      });
  serve<vorn_m2m_read_nv_item_req_msg_v01, vorn_m2m_read_nv_item_resp_msg_v01>(
      QMI_VORN_M2M_READ_NV_ITEM_REQ_V01, read_item);
  serve<vorn_m2m_write_nv_item_req_msg_v01, R>(QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, write_item);
  serve<None, vorn_m2m_get_dnscfg_resp_msg_v01>(
      QMI_VORN_M2M_GET_DNSCFG_REQ_V01, [](State &s, const None &, auto &resp) {
        resp.primary_valid = s.dns[0] != 0;
        resp.primary = s.dns[0];
        resp.secondary_valid = s.dns[1] != 0;
        resp.secondary = s.dns[1];
      });
  serve<vorn_m2m_set_dhcp_gw_req_msg_v01, R>(
      QMI_VORN_M2M_SET_DHCP_GW_REQ_V01, [](State &s, const auto &req, R &) { s.dhcp_gw = req.value; });
  serve<P, vorn_m2m_get_cclk_time_resp_msg_v01>(QMI_VORN_M2M_GET_CCLK_TIME_REQ_V01, clock_now);
  serve<None, vorn_m2m_get_cfun_resp_msg_v01>(
      QMI_VORN_M2M_GET_CFUN_REQ_V01, [](State &s, const None &, auto &resp) { resp.cfun = s.cfun; });
  serve<P, vorn_m2m_get_subver_resp_msg_v01>(
      QMI_VORN_M2M_GET_SUBVER_RESP_V01, [](State &s, const P &, auto &resp) {
        put_text(resp.modem, s.modem_version);
        put_text(resp.cefs, s.cefs_version);
      });
  serve<vorn_m2m_set_dhcp_netmask_req_msg_v01, R>(
      QMI_VORN_M2M_SET_DHCP_NETMASK_REQ_V01,
      [](State &s, const auto &req, R &) { s.netmask = {req.netmask[0], req.netmask[1]}; });
  serve<None, vorn_m2m_get_dhcp_netmask_resp_msg_v01>(
      QMI_VORN_M2M_GET_DHCP_NETMASK_REQ_V01, [](State &s, const None &, auto &resp) {
        resp.netmask[0] = s.netmask[0];
        resp.netmask[1] = s.netmask[1];
      });
  serve<vorn_m2m_nvrw_req_msg_v01, vorn_m2m_nvrw_resp_msg_v01>(QMI_VORN_M2M_NVRW_REQ_V01, nv_by_number);
  serve<vorn_m2m_sn_req_msg_v01, vorn_m2m_sn_resp_msg_v01>(QMI_VORN_M2M_SN_REQ_V01, board_sn);
  serve<vorn_m2m_sms_pdu_ack_req_msg_v01, R>(
      QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01, [](State &, const auto &req, R &resp) {
        if (req.pdu_valid && req.pdu_len > sizeof req.pdu) refuse_with(resp, kBadArgument);
      });
  serve<vorn_m2m_w_disable_req_msg_v01, R>(
      QMI_VORN_M2M_W_DISABLE_REQ_V01, [](State &s, const auto &req, R &) { s.w_disable = req.w_disable; });
  serve<vorn_m2m_imei_req_msg_v01, vorn_m2m_imei_resp_msg_v01>(QMI_VORN_M2M_IMEI_REQ_V01, imei);
  serve<None, vorn_m2m_manufacturer_resp_msg_v01>(
      QMI_VORN_M2M_MANUFACTURER_REQ_V01, [](State &s, const None &, auto &resp) { answer_text(resp, s.manufacturer); });
  serve<P, vorn_m2m_hw_version_resp_msg_v01>(
      QMI_VORN_M2M_HW_VERSION_REQ_V01, [](State &s, const P &, auto &resp) { answer_text(resp, s.hw_version); });
  serve<None, vorn_m2m_model_name_resp_msg_v01>(
      QMI_VORN_M2M_MODEL_NAME_REQ_V01, [](State &s, const None &, auto &resp) { answer_text(resp, s.model); });
  serve<None, vorn_m2m_get_sn_resp_msg_v01>(QMI_VORN_M2M_GET_SN_REQ_V01, get_fsn);
  serve<vorn_m2m_set_sn_req_msg_v01, R>(QMI_VORN_M2M_SET_SN_REQ_V01, set_fsn);
  serve<vorn_m2m_set_ue_mode_req_msg_v01, R>(
      QMI_VORN_M2M_SET_UE_MODE_REQ_V01, [](State &s, const auto &req, R &resp) {
        if (req.mode > 3) return refuse_with(resp, kBadArgument);
        s.ue_mode = req.mode;
      });
  serve<P, vorn_m2m_get_packet_report_event_resp_msg_v01>(
      QMI_VORN_M2M_GET_PACKET_REPORT_EVENT_REQ_V01, [](State &s, const P &, auto &resp) {
        resp.modem_val = s.packet_report[0];
        resp.option_val = s.packet_report[1];
      });
  serve<vorn_m2m_set_packet_report_event_req_msg_v01, R>(
      QMI_VORN_M2M_SET_PACKET_REPORT_EVENT_REQ_V01,
      [](State &s, const auto &req, R &) { s.packet_report = {req.modem_val, req.option_val}; });
  serve<vorn_m2m_efs_rename_req_msg_v01, R>(QMI_VORN_M2M_EFS_RENAME_REQ_V01, rename_item);
  serve<P, R>(QMI_VORN_M2M_OTALOG_RM_REQ_V01, [](State &s, const P &, R &) {
    for (auto it = s.efs.begin(); it != s.efs.end();)
      it = it->first.rfind("/data/otalog/", 0) == 0 ? s.efs.erase(it) : std::next(it);
  });
  serve<P, vorn_m2m_get_ipv6_format_resp_msg_v01>(
      QMI_VORN_M2M_GET_IPV6_FORMAT_REQ_V01, [](State &s, const P &, auto &resp) {
        std::memcpy(resp.format, s.ipv6_format.data(), sizeof resp.format);
      });
  serve<vorn_m2m_set_ipv6_format_req_msg_v01, R>(
      QMI_VORN_M2M_SET_IPV6_FORMAT_REQ_V01, [](State &s, const auto &req, R &) {
        std::memcpy(s.ipv6_format.data(), req.format, sizeof req.format);
      });
  serve<P, vorn_m2m_get_ca_info_resp_msg_v01>(QMI_VORN_M2M_GET_CA_INFO_REQ_V01, carriers);
  serve<P, R>(QMI_VORN_M2M_BACKUP_DEVICE_DATA_REQ_V01, [](State &s, const P &, R &) { ++s.backups; });
  serve<vorn_m2m_copy_nv_item_req_msg_v01, R>(QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01, copy_item);
  serve<P, vorn_m2m_get_sig_info_resp_msg_v01>(QMI_VORN_M2M_GET_SIG_INFO_REQ_V01, link_quality);
  serve<P, vorn_m2m_get_authentication_mode_resp_msg_v01>(
      QMI_VORN_M2M_GET_AUTHENTICATION_MODE_REQ_V01,
      [](State &s, const P &, auto &resp) { put_text(resp.mode, s.auth_mode); });
  serve<P, R>(QMI_VORN_M2M_SCAN_CELL_REQ_V01, scan_cells);
  serve<vorn_m2m_set_cfun_mode_req_msg_v01, R>(
      QMI_VORN_M2M_SET_CFUN_MODE_REQ_V01, [](State &s, const auto &req, R &resp) {
        if (req.cfun_mode != 0 && req.cfun_mode != 1 && req.cfun_mode != 4)
          return refuse_with(resp, kBadArgument);
        s.cfun = req.cfun_mode;
      });
  serve<None, vorn_m2m_get_statis_resp_msg_v01>(
      QMI_VORN_M2M_GET_STATIS_REQ_V01, [](State &s, const None &, auto &resp) {
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
  serve<None, vorn_m2m_project_name_resp_msg_v01>(
      QMI_VORN_M2M_PROJECT_NAME_REQ_V01, [](State &s, const None &, auto &resp) { answer_text(resp, s.project_name); });
  serve<vorn_set_cell_lock_ext_req_msg_v01, R>(
      QMI_VORN_SET_CELL_LOCK_EXT_REQ_V01, [](State &s, const auto &req, R &resp) {
        if (req.lock.lock_count > VORN_M2M_CELL_LOCK_EXT_MAX_V01) return refuse_with(resp, kBadArgument);
        std::memcpy(s.cell_lock.data(), &req.lock, sizeof req.lock);
      });
  serve<P, vorn_get_cell_lock_ext_resp_msg_v01>(
      QMI_VORN_GET_CELL_LOCK_EXT_REQ_V01,
      [](State &s, const P &, auto &resp) { std::memcpy(&resp.lock, s.cell_lock.data(), sizeof resp.lock); });
  serve<P, vorn_m2m_get_cell_info_ext_resp_msg_v01>(QMI_VORN_M2M_GET_CELL_INFO_EXT_REQ_V01, gsm_details);
  serve<vorn_m2m_set_prfmod_req_msg_v01, R>(
      QMI_VORN_M2M_SET_PRFMOD_REQ_V01, [](State &s, const auto &req, R &resp) {
        if (req.profile_index < 0) return refuse_with(resp, kBadArgument);
        s.apn[static_cast<uint32_t>(req.profile_index)] = field_text(req.apn);
      });
  serve<P, vorn_m2m_get_ant_sinr_resp_msg_v01>(
      QMI_VORN_M2M_GET_ANT_SINR_REQ_V01, [](State &s, const P &, auto &resp) {
        for (size_t i = 0; i < 4; ++i) resp.ant_sinr[i] = static_cast<uint8_t>(s.ant_sinr[i]);
      });
}

// ---- persistence ---------------------------------------------------------------

std::string to_hex(const uint8_t *data, size_t len) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out = len == 0 ? "-" : "";
  for (size_t i = 0; i < len; ++i) {
    out += kDigits[data[i] >> 4];
    out += kDigits[data[i] & 15];
  }
  return out;
}

// A damaged state file loads what it can: no exception leaves the modem.
Bytes from_hex(const std::string &text) {
  Bytes out;
  if (text == "-") return out;
  for (size_t i = 0; i + 1 < text.size(); i += 2) {
    char pair[3] = {text[i], text[i + 1], '\0'};
    out.push_back(static_cast<uint8_t>(std::strtoul(pair, nullptr, 16)));
  }
  return out;
}

uint32_t number_of(const std::string &text) {
  return static_cast<uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
}

std::string hex_of(const std::string &text) {
  return to_hex(reinterpret_cast<const uint8_t *>(text.data()), text.size());
}
std::string hex_of(const Bytes &bytes) { return to_hex(bytes.data(), bytes.size()); }

// Every named value of the state, for the writer and the reader alike.
template <class Visit>
void named_values(State &s, Visit &&visit) {
  visit("manufacturer", s.manufacturer);
  visit("model", s.model);
  visit("hw_version", s.hw_version);
  visit("project_name", s.project_name);
  visit("modem_version", s.modem_version);
  visit("cefs_version", s.cefs_version);
  visit("auth_mode", s.auth_mode);
  visit("imei1", s.imei1);
  visit("imei2", s.imei2);
  visit("fsn", s.fsn);
  visit("sn", s.sn);
  visit("cfun", s.cfun);
  visit("ue_mode", s.ue_mode);
  visit("act", s.act);
  visit("uim_slot", s.uim_slot);
  visit("w_disable", s.w_disable);
  visit("dhcp_gw", s.dhcp_gw);
  visit("rmnet_active", s.rmnet_active);
  visit("active_profile", s.active_profile);
  visit("reports_enabled", s.reports_enabled);
  visit("backups", s.backups);
  visit("packet_report", s.packet_report);
  visit("ipv6_format", s.ipv6_format);
  visit("dns", s.dns);
  visit("netmask", s.netmask);
  visit("ant_sinr", s.ant_sinr);
  visit("statistics", s.statistics);
  visit("cell_lock", s.cell_lock);
}

template <class T>
struct IsArray : std::false_type {};
template <class T, size_t N>
struct IsArray<std::array<T, N>> : std::true_type {};

std::string store_file(const std::string &dir) { return dir + "/m2m"; }

void save(const std::string &dir) {
  std::lock_guard<std::mutex> lock(state_mutex);
  std::ofstream out(store_file(dir), std::ios::trunc);
  if (!out) return;
  for (const auto &[path, data] : state.efs) out << "efs " << hex_of(path) << ' ' << hex_of(data) << '\n';
  for (const auto &[number, data] : state.nv) out << "nv " << number << ' ' << hex_of(data) << '\n';
  for (const auto &[index, apn] : state.apn) out << "apn " << index << ' ' << hex_of(apn) << '\n';
  named_values(state, [&](const char *name, auto &value) {
    using T = std::decay_t<decltype(value)>;
    out << "set " << name;
    if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, Bytes>) {
      out << ' ' << hex_of(value);
    } else if constexpr (IsArray<T>::value) {
      for (auto word : value) out << ' ' << word;
    } else {
      out << ' ' << value;
    }
    out << '\n';
  });
}

void load_value(State &s, const std::string &wanted, std::istringstream &line) {
  named_values(s, [&](const char *name, auto &value) {
    if (wanted != name) return;
    using T = std::decay_t<decltype(value)>;
    if constexpr (std::is_same_v<T, std::string>) {
      std::string hex;
      line >> hex;
      Bytes bytes = from_hex(hex);
      value.assign(bytes.begin(), bytes.end());
    } else if constexpr (std::is_same_v<T, Bytes>) {
      std::string hex;
      line >> hex;
      Bytes bytes = from_hex(hex);
      if (bytes.size() == value.size()) value = bytes;
    } else if constexpr (IsArray<T>::value) {
      for (auto &word : value) line >> word;
    } else {
      line >> value;
    }
  });
}

void load(const std::string &dir) {
  std::ifstream in(store_file(dir));
  if (!in) return;  // a modem never saved keeps its factory state
  State loaded;
  std::string text;
  while (std::getline(in, text)) {
    std::istringstream line(text);
    std::string kind, key, value;
    line >> kind >> key;
    if (kind == "efs" && line >> value) {
      Bytes path = from_hex(key);
      loaded.efs[std::string(path.begin(), path.end())] = from_hex(value);
    } else if (kind == "nv" && line >> value) {
      loaded.nv[number_of(key)] = from_hex(value);
    } else if (kind == "apn" && line >> value) {
      Bytes apn = from_hex(value);
      loaded.apn[number_of(key)] = std::string(apn.begin(), apn.end());
    } else if (kind == "set") {
      load_value(loaded, key, line);
    }
  }
  std::lock_guard<std::mutex> lock(state_mutex);
  state = std::move(loaded);
}

void reset_service() {
  {
    std::lock_guard<std::mutex> lock(state_mutex);
    state = factory_state();
  }
  install_handlers();
}

ModuleRegistrar m2m_module({"m2m", reset_service, save, load});

}  // namespace
}  // namespace vornsim
