// Settings and small queries of the vendor service, and the family's
// fixed-result functions.
#include <cstring>
#include <iterator>

#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"
#include "m2m/client.h"

namespace {

using vorn::m2m::Guard;
namespace m2m = vorn::m2m;

constexpr uint8_t kUeModeMax = 3;
constexpr uint8_t kSinrMax = 250;

constexpr const char *kThermalConfigs[] = {"/nv/item_files/odm/config0.ini",
                                           "/nv/item_files/odm/config1.ini",
                                           "/nv/item_files/odm/config2.ini"};
constexpr const char kThermalTarget[] = "/nv/item_files/therm_monitor/config.ini";

bool null_output(const void *out) {
  if (out != nullptr) return false;
  VORN_LOG(VORN_ERR, "Parameter is error!\n");
  return true;
}

// A request of a placeholder byte; the answer is in `resp`.
template <class Msg>
m2m::Sent query(Guard guard, typename Msg::Resp &resp) {
  typename Msg::Req req{};
  return m2m::send<Msg>(guard, req, resp);
}

// A request whose response holds nothing but the verdict: 0 or -1.
template <class Msg>
int command(Guard guard, typename Msg::Req &req) {
  typename Msg::Resp resp;
  return m2m::send<Msg>(guard, req, resp).verdict == 0 ? 0 : -1;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_m2m_pal_set_ue_mode(uint8_t mode) {
  vorn_m2m_set_ue_mode_req_msg_v01 req{};
  req.mode = mode;
  vorn_m2m_set_ue_mode_resp_msg_v01 resp;
  return m2m::send<m2m::SetUeMode>(Guard::None, req, resp).verdict;
}

VORNPAL_API int vorn_m2m_pal_get_ue_mode(uint8_t *mode) {
  if (null_output(mode)) return -1;
  vorn_m2m_get_ue_mode_resp_msg_v01 resp;
  int rc = query<m2m::GetUeMode>(Guard::None, resp).verdict;
  if (rc == QMI_NO_ERR && resp.cemode <= kUeModeMax) *mode = resp.cemode;
  return rc;
}

VORNPAL_API int vorn_m2m_pal_set_packet_report_event(uint32_t modem_val, uint32_t option_val) {
  vorn_m2m_set_packet_report_event_req_msg_v01 req{modem_val, option_val};
  vorn_m2m_set_packet_report_event_resp_msg_v01 resp;
  return m2m::send<m2m::SetPacketReportEvent>(Guard::None, req, resp).verdict;
}

VORNPAL_API int vorn_m2m_pal_get_packet_report_event(uint32_t *modem_val, uint32_t *option_val) {
  if (null_output(modem_val) || null_output(option_val)) return -1;
  vorn_m2m_get_packet_report_event_resp_msg_v01 resp;
  int rc = query<m2m::GetPacketReportEvent>(Guard::None, resp).verdict;
  if (rc != QMI_NO_ERR) return rc;
  *modem_val = resp.modem_val;
  *option_val = resp.option_val;
  return rc;
}

VORNPAL_API int vorn_m2m_pal_set_ipv6_format(const uint32_t format[4]) {
  if (null_output(format)) return -1;
  vorn_m2m_set_ipv6_format_req_msg_v01 req{};
  std::memcpy(req.format, format, sizeof req.format);
  vorn_m2m_set_ipv6_format_resp_msg_v01 resp;
  return m2m::send<m2m::SetIpv6Format>(Guard::None, req, resp).verdict;
}

VORNPAL_API int vorn_m2m_pal_get_ipv6_format(uint32_t format[4]) {
  if (null_output(format)) return -1;
  vorn_m2m_get_ipv6_format_resp_msg_v01 resp;
  int rc = query<m2m::GetIpv6Format>(Guard::None, resp).verdict;
  if (rc == QMI_NO_ERR) std::memcpy(format, resp.format, sizeof resp.format);
  return rc;
}

VORNPAL_API int vorn_m2m_pal_otalog_rm(void) {
  vorn_m2m_otalog_rm_req_msg_v01 req{};
  return command<m2m::OtalogRm>(Guard::None, req);
}

VORNPAL_API int vorn_m2m_pal_set_w_disable(uint8_t w_disable) {
  vorn_m2m_w_disable_req_msg_v01 req{w_disable};
  return command<m2m::WDisable>(Guard::None, req);
}

VORNPAL_API int vorn_m2m_pal_set_dhcpgw(uint8_t value) {
  vorn_m2m_set_dhcp_gw_req_msg_v01 req{value};
  return command<m2m::SetDhcpGw>(Guard::None, req);
}

VORNPAL_API int vorn_m2m_pal_set_wan_netmask(uint32_t first, uint32_t second) {
  vorn_m2m_set_dhcp_netmask_req_msg_v01 req{{first, second}};
  return command<m2m::SetDhcpNetmask>(Guard::LazyStart, req);
}

VORNPAL_API int vorn_m2m_pal_get_wan_netmask(uint32_t *first, uint32_t *second) {
  if (null_output(first) || null_output(second)) return -1;
  vorn_m2m_get_dhcp_netmask_resp_msg_v01 resp;
  if (m2m::send<m2m::GetDhcpNetmask>(Guard::LazyStart, resp).verdict != 0) return -1;
  *first = resp.netmask[0];
  *second = resp.netmask[1];
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_auth_mode(char *mode) {
  if (null_output(mode)) return -1;
  vorn_m2m_get_authentication_mode_resp_msg_v01 resp;
  if (query<m2m::GetAuthenticationMode>(Guard::None, resp).verdict != 0) return -1;
  vorn_string_memcpy(mode, resp.mode, sizeof resp.mode);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_set_apn(int32_t profile_index, const char *apn) {
  if (apn == nullptr || profile_index < 0) {
    VORN_LOG(VORN_ERR, "oem_m2m_pal_set_apn failed: invalid param\n");
    return VORN_INVALID_PARAM;
  }
  vorn_m2m_set_prfmod_req_msg_v01 req{};
  req.profile_index = profile_index;
  vorn::checked_strcpy(req.apn, apn);
  return command<m2m::SetPrfmod>(Guard::None, req);
}

VORNPAL_API int vorn_m2m_pal_get_ant_sinr(uint32_t sinr[4]) {
  if (sinr == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return VORN_INVALID_PARAM;
  }
  if (!m2m::ready()) {
    VORN_LOG(VORN_ERR, "QMI handle invalid\n");
    return -1;
  }
  vorn_m2m_get_ant_sinr_resp_msg_v01 resp;
  if (query<m2m::GetAntSinr>(Guard::FailAtOnce, resp).verdict != 0) return -1;
  for (int i = 0; i < 4; ++i) {
    sinr[i] = resp.ant_sinr[i];
    if (resp.ant_sinr[i] > kSinrMax) {
      VORN_LOG(VORN_WARN, "vorn_m2m_pal_get_ant_sinr:ant_sinr[%d]:%d !!!\n", i, resp.ant_sinr[i]);
      sinr[i] = 0;
    }
  }
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_profile_active(uint8_t profile_index, uint8_t *active) {
  if (null_output(active)) return -1;
  vorn_m2m_get_profile_active_req_msg_v01 req{profile_index};
  vorn_m2m_get_profile_active_resp_msg_v01 resp;
  if (m2m::send<m2m::GetProfileActive>(Guard::LazyStart, req, resp).verdict != 0) return -1;
  *active = static_cast<uint8_t>(resp.active & 0xFF);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_rmnet_active(uint32_t *active) {
  if (null_output(active)) return -1;
  vorn_m2m_get_rmnet_active_resp_msg_v01 resp;
  if (m2m::send<m2m::GetRmnetActive>(Guard::LazyStart, resp).verdict != 0) return -1;
  *active = resp.active;
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_uim_select(uint8_t *slot) {
  if (null_output(slot)) return -1;
  vorn_m2m_get_uim_select_resp_msg_v01 resp;
  if (m2m::send<m2m::GetUimSelect>(Guard::LazyStart, resp).verdict != 0) return -1;
  *slot = static_cast<uint8_t>(resp.slot & 0xFF);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_create_wds_profile(uint8_t profile_type, uint8_t profile_index) {
  vorn_m2m_wds_create_profile_req_msg_v01 req{profile_type, profile_index};
  return command<m2m::WdsCreateProfile>(Guard::LazyStart, req);
}

VORNPAL_API int vorn_m2m_pal_get_current_act(uint8_t *act) {
  if (null_output(act)) return -1;
  vorn_m2m_get_current_act_resp_msg_v01 resp;
  if (query<m2m::GetCurrentAct>(Guard::LazyStart, resp).verdict != 0) return -1;
  *act = static_cast<uint8_t>(resp.act & 0xFF);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_scan_cell(void) {
  vorn_m2m_scan_cell_resp_msg_v01 resp;
  return query<m2m::ScanCell>(Guard::None, resp).verdict;
}

VORNPAL_API int vorn_m2m_pal_scan_celllock(void) {
  if (!m2m::ready() && vorn_m2m_pal_early_init() != 0) return -1;
  return vorn_m2m_pal_scan_cell();
}

VORNPAL_API int vorn_m2m_pal_set_thermal_mode(int mode) {
  if (mode < 0 || mode >= static_cast<int>(std::size(kThermalConfigs))) {
    VORN_LOG(VORN_ERR, "thermal_mode:%d\n", mode);
    return VORN_INVALID_PARAM;
  }
  vorn_m2m_copy_nv_item_req_msg_v01 req{};
  vorn::checked_strcpy(req.source_path, kThermalConfigs[mode]);
  vorn::checked_strcpy(req.destination_path, kThermalTarget);
  return command<m2m::CopyNvItem>(Guard::LazyStart, req);
}

// Kept so that daemons link on every platform: callers take 0 as an answer
// and go on with the output as they prepared it.
VORNPAL_API int vorn_m2m_pal_common_request(int request_code, const void *input,
                                            uint32_t input_len, void *output) {
  (void)request_code;
  (void)input;
  (void)input_len;
  (void)output;
  return 0;
}

VORNPAL_API int vorn_m2m_pal_sn_imei_sync(void) { return 0; }

VORNPAL_API int vorn_m2m_pal_write2raw(void) { return 0; }

}  // extern "C"
