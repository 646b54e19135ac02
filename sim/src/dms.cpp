// The DMS service of the simulated modem: the device's identity (serial
// numbers, revision, phone number, hardware version, factory serial), its
// band capabilities, and the operating mode with its transitions, reported
// by indication to clients that switched the report on.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornsim/sim.h>

#include "service_state.h"

namespace vornsim {
namespace {

struct None {};

constexpr auto kInvalidTransition = static_cast<qmi_error_type_v01>(0x0041);
constexpr uint32_t kModeMax = DMS_OP_MODE_CAMP_ONLY_V01;

struct State {
  std::string imei = "861234050000011";
  std::string imeisv_svn = "05";  // hexadecimal, as the modem gives it
  std::string meid = "A1000012345678";
  std::string revision = "VN5GFWAR01A03M4G.01";
  std::string msisdn = "+15551230042";
  std::string hw_version = "VN5G-HW-V1.2";
  std::string fsn = "VN5G24A000123";
  uint32_t operating_mode = DMS_OP_MODE_ONLINE_V01;
  uint32_t mode_reports = 0;
  uint64_t umts_band_mask = 0x0002000000400380ULL;
  std::vector<uint16_t> lte_bands = {1, 2, 3, 4, 5, 7, 8, 12, 13, 14, 17, 20, 25, 26,
                                     28, 29, 30, 38, 40, 41, 42, 43, 46, 48, 66, 71};
};

std::mutex state_mutex;
State state;

template <class Req, class Resp>
void serve(unsigned id, void (*fn)(State &, const Req &, Resp &)) {
  on(Svc::DMS, id, guarded(state_mutex, state, fn));
}

// ---- operating mode ----------------------------------------------------------

void report_mode(const State &s) {
  if (s.mode_reports == 0) return;
  dms_event_report_ind_msg_v01 ind{};
  ind.operating_mode_valid = 1;
  ind.operating_mode = static_cast<dms_operating_mode_enum_v01>(s.operating_mode);
  indicate(Svc::DMS, QMI_DMS_EVENT_REPORT_IND_V01, ind);
}

// Offline is left only by a reset or a shutdown; a reset passes through
// "resetting" and comes back online; a mode in force has no effect.
void set_mode(State &s, const dms_set_operating_mode_req_msg_v01 &req,
              dms_set_operating_mode_resp_msg_v01 &resp) {
  uint32_t wanted = static_cast<uint32_t>(req.operating_mode);
  if (wanted > kModeMax) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
  if (wanted == s.operating_mode) return refuse_with(resp, QMI_ERR_NO_EFFECT_V01);
  if (s.operating_mode == DMS_OP_MODE_OFFLINE_V01 && wanted != DMS_OP_MODE_RESETTING_V01 &&
      wanted != DMS_OP_MODE_SHUTTING_DOWN_V01)
    return refuse_with(resp, kInvalidTransition);
  s.operating_mode = wanted;
  report_mode(s);
  if (wanted == DMS_OP_MODE_RESETTING_V01) {
    s.operating_mode = DMS_OP_MODE_ONLINE_V01;
    report_mode(s);
  }
}

// ---- identity ------------------------------------------------------------------

void serial_numbers(State &s, const None &, dms_get_device_serial_numbers_resp_msg_v01 &resp) {
  resp.imei_valid = !s.imei.empty();
  put_text(resp.imei, s.imei);
  resp.meid_valid = !s.meid.empty();
  put_text(resp.meid, s.meid);
  resp.imeisv_svn_valid = !s.imeisv_svn.empty();
  put_text(resp.imeisv_svn, s.imeisv_svn);
}

void band_capability(State &s, const dms_get_band_capability_req_msg_v01 &,
                     dms_get_band_capability_resp_msg_v01 &resp) {
  resp.band_capability = s.umts_band_mask;
  resp.lte_band_capability_valid = 1;
  for (uint16_t band : s.lte_bands)
    if (band >= 1 && band <= 64) resp.lte_band_capability |= uint64_t{1} << (band - 1);
  resp.supported_lte_bands_valid = !s.lte_bands.empty();
  resp.supported_lte_bands_len =
      static_cast<uint32_t>(std::min<size_t>(s.lte_bands.size(), QMI_DMS_LTE_BAND_LIST_MAX_V01));
  std::copy_n(s.lte_bands.begin(), resp.supported_lte_bands_len, resp.supported_lte_bands);
}

void install_handlers() {
  serve<dms_set_event_report_req_msg_v01, dms_set_event_report_resp_msg_v01>(
      QMI_DMS_SET_EVENT_REPORT_REQ_V01, [](State &s, const auto &req, auto &) {
        if (req.report_oprt_mode_state_valid) s.mode_reports = req.report_oprt_mode_state;
      });
  serve<None, dms_get_device_rev_id_resp_msg_v01>(
      QMI_DMS_GET_DEVICE_REV_ID_REQ_V01,
      [](State &s, const None &, auto &resp) { put_text(resp.device_rev_id, s.revision); });
  serve<None, dms_get_msisdn_resp_msg_v01>(
      QMI_DMS_GET_MSISDN_REQ_V01,
      [](State &s, const None &, auto &resp) { put_text(resp.voice_number, s.msisdn); });
  serve<None, dms_get_device_serial_numbers_resp_msg_v01>(QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01,
                                                          serial_numbers);
  serve<None, dms_get_operating_mode_resp_msg_v01>(
      QMI_DMS_GET_OPERATING_MODE_REQ_V01, [](State &s, const None &, auto &resp) {
        resp.operating_mode = static_cast<dms_operating_mode_enum_v01>(s.operating_mode);
      });
  serve<dms_set_operating_mode_req_msg_v01, dms_set_operating_mode_resp_msg_v01>(
      QMI_DMS_SET_OPERATING_MODE_REQ_V01, set_mode);
  serve<dms_get_band_capability_req_msg_v01, dms_get_band_capability_resp_msg_v01>(
      QMI_DMS_GET_BAND_CAPABILITY_REQ_V01, band_capability);
  serve<dms_get_hw_version_req_msg_v01, dms_get_hw_version_resp_msg_v01>(
      QMI_DMS_GET_HW_VERSION_REQ_V01, [](State &s, const auto &, auto &resp) {
        put_text(resp.hw_version, s.hw_version);
        resp.hw_version_len = static_cast<uint32_t>(std::strlen(resp.hw_version));
      });
  serve<dms_set_factory_serial_number_req_msg_v01, dms_set_factory_serial_number_resp_msg_v01>(
      QMI_DMS_SET_FACTORY_SERIAL_NUMBER_REQ_V01, [](State &s, const auto &req, auto &resp) {
        if (req.fsn_len == 0 || req.fsn_len > sizeof req.fsn)
          return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
        s.fsn = std::string(req.fsn, strnlen(req.fsn, req.fsn_len));
      });
}

// ---- persistence -----------------------------------------------------------------
//
// One "name value" line per value; texts are stored as one token each, with
// "-" for an empty one (identity texts hold no spaces).

template <class Visit>
void named_values(State &s, Visit &&visit) {
  visit("imei", s.imei);
  visit("imeisv_svn", s.imeisv_svn);
  visit("meid", s.meid);
  visit("revision", s.revision);
  visit("msisdn", s.msisdn);
  visit("hw_version", s.hw_version);
  visit("fsn", s.fsn);
  visit("operating_mode", s.operating_mode);
  visit("mode_reports", s.mode_reports);
}

std::string store_file(const std::string &dir) { return dir + "/dms"; }

void save(const std::string &dir) {
  std::lock_guard<std::mutex> lock(state_mutex);
  std::ofstream out(store_file(dir), std::ios::trunc);
  if (!out) return;
  named_values(state, [&](const char *name, auto &value) {
    out << name << ' ';
    if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) {
      out << (value.empty() ? "-" : value);
    } else {
      out << value;
    }
    out << '\n';
  });
}

void load(const std::string &dir) {
  std::ifstream in(store_file(dir));
  if (!in) return;  // a modem never saved keeps its factory state
  State loaded;
  std::string text;
  while (std::getline(in, text)) {
    std::istringstream line(text);
    std::string wanted;
    line >> wanted;
    named_values(loaded, [&](const char *name, auto &value) {
      if (wanted != name) return;
      line >> value;
      if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) {
        if (value == "-") value.clear();
      }
    });
  }
  std::lock_guard<std::mutex> lock(state_mutex);
  state = std::move(loaded);
}

void reset_service() {
  {
    std::lock_guard<std::mutex> lock(state_mutex);
    state = State{};
  }
  install_handlers();
}

ModuleRegistrar dms_module({"dms", reset_service, save, load});

}  // namespace
}  // namespace vornsim
