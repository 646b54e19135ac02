// The DMS service of the simulated modem: the device's identity (serial
// numbers, revision, phone number, hardware version, factory serial), its
// band capabilities, and the operating mode with its transitions, reported
// by indication to clients that switched the report on.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornsim/sim.h>

#include "device/messages.h"
#include "service_module.h"

namespace vornsim {
namespace {

namespace dev = vorn::device;
using vorn::qmi::NoRequest;

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

  // What is saved: the identity and the mode, not the radio's capabilities.
  template <class Visit>
  void values(Visit &&visit) {
    visit("imei", imei);
    visit("imeisv_svn", imeisv_svn);
    visit("meid", meid);
    visit("revision", revision);
    visit("msisdn", msisdn);
    visit("hw_version", hw_version);
    visit("fsn", fsn);
    visit("operating_mode", operating_mode);
    visit("mode_reports", mode_reports);
  }
};

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
void set_mode(State &s, const dev::SetOperatingMode::Req &req, dev::SetOperatingMode::Resp &resp) {
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

void serial_numbers(State &s, const dev::GetSerialNumbers::Req &, dev::GetSerialNumbers::Resp &resp) {
  resp.imei_valid = !s.imei.empty();
  put_text(resp.imei, s.imei);
  resp.meid_valid = !s.meid.empty();
  put_text(resp.meid, s.meid);
  resp.imeisv_svn_valid = !s.imeisv_svn.empty();
  put_text(resp.imeisv_svn, s.imeisv_svn);
}

void band_capability(State &s, const dev::GetBandCapability::Req &, dev::GetBandCapability::Resp &resp) {
  resp.band_capability = s.umts_band_mask;
  resp.lte_band_capability_valid = 1;
  for (uint16_t band : s.lte_bands)
    if (band >= 1 && band <= 64) resp.lte_band_capability |= uint64_t{1} << (band - 1);
  resp.supported_lte_bands_valid = !s.lte_bands.empty();
  resp.supported_lte_bands_len =
      static_cast<uint32_t>(std::min<size_t>(s.lte_bands.size(), QMI_DMS_LTE_BAND_LIST_MAX_V01));
  std::copy_n(s.lte_bands.begin(), resp.supported_lte_bands_len, resp.supported_lte_bands);
}

void install(ServiceModule<State> &m) {
  m.serve<dev::SetEventReport>([](State &s, const auto &req, auto &) {
    if (req.report_oprt_mode_state_valid) s.mode_reports = req.report_oprt_mode_state;
  });
  m.serve<dev::GetRevId>([](State &s, const auto &, auto &resp) { put_text(resp.device_rev_id, s.revision); });
  m.serve<dev::GetMsisdn>([](State &s, const auto &, auto &resp) { put_text(resp.voice_number, s.msisdn); });
  m.serve<dev::GetSerialNumbers>(serial_numbers);
  m.serve<dev::GetOperatingMode>([](State &s, const auto &, auto &resp) {
    resp.operating_mode = static_cast<dms_operating_mode_enum_v01>(s.operating_mode);
  });
  m.serve<dev::SetOperatingMode>(set_mode);
  m.serve<dev::GetBandCapability>(band_capability);
  m.serve<dev::GetHwVersion>([](State &s, const auto &, auto &resp) {
    put_text(resp.hw_version, s.hw_version);
    resp.hw_version_len = static_cast<uint32_t>(std::strlen(resp.hw_version));
  });
  m.serve<dev::SetFactorySerialNumber>([](State &s, const auto &req, auto &resp) {
    if (req.fsn_len == 0 || req.fsn_len > sizeof req.fsn) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
    s.fsn = std::string(req.fsn, strnlen(req.fsn, req.fsn_len));
  });
}

ServiceModule<State> dms_module("dms", Svc::DMS, [] { return State{}; }, install);

}  // namespace
}  // namespace vornsim
