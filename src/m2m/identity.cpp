// Identity and product queries of the vendor service: texts of the module
// (manufacturer, model, versions, project), its clock and functionality
// level, and the factory serial number.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"
#include "m2m/client.h"

namespace {

using vorn::m2m::Guard;
namespace m2m = vorn::m2m;

constexpr const char kCfsnCache[] = "/tmp/cfsn";

// A text field of a response into the caller's buffer of `size` bytes,
// terminated whenever the buffer has room for the terminator.
template <size_t N>
void copy_text(char *out, size_t size, const char (&field)[N]) {
  vorn_string_memcpy(out, field, std::min(size, N));
}

// Identity texts: the field's capacity is what the caller's buffer must
// take. Lazy start without a second look; `null_result` for a NULL buffer.
template <class Msg>
int query_text(char *out, int null_result) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return null_result;
  }
  typename Msg::Resp resp;
  if (m2m::send<Msg>(Guard::LazyStartNoSecondLook, resp).verdict != 0) return -1;
  copy_text(out, sizeof resp.text, resp.text);
  return 0;
}

void write_cfsn_cache(const char *out, uint32_t size) {
  int fd = open(kCfsnCache, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) return;
  if (write(fd, out, size) != static_cast<ssize_t>(size))
    VORN_LOG(VORN_WARN, "write %s failed\n", kCfsnCache);
  close(fd);
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_m2m_pal_get_manufacturer(char *manufacturer) {
  return query_text<m2m::Manufacturer>(manufacturer, VORN_INVALID_PARAM);
}

VORNPAL_API int vorn_m2m_pal_get_hw_version(char *hw_version) {
  if (hw_version == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return VORN_INVALID_PARAM;
  }
  vorn_m2m_hw_version_req_msg_v01 req{};
  vorn_m2m_hw_version_resp_msg_v01 resp;
  if (m2m::send<m2m::HwVersion>(Guard::LazyStartNoSecondLook, req, resp).verdict != 0) return -1;
  copy_text(hw_version, sizeof resp.text, resp.text);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_model(char *model) {
  return query_text<m2m::ModelName>(model, -1);
}

VORNPAL_API int vorn_m2m_pal_get_project_name(char *project_name) {
  return query_text<m2m::ProjectName>(project_name, -1);
}

VORNPAL_API int vorn_m2m_pal_get_sub_ver(char *modem, uint32_t modem_size, char *cefs,
                                         uint32_t cefs_size) {
  if (modem == nullptr || cefs == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_get_subver_req_msg_v01 req{};
  vorn_m2m_get_subver_resp_msg_v01 resp;
  if (m2m::send<m2m::GetSubver>(Guard::LazyStart, req, resp).verdict != 0) return -1;
  copy_text(modem, modem_size, resp.modem);
  copy_text(cefs, cefs_size, resp.cefs);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_cclk_time(char *text, uint32_t size) {
  if (text == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return VORN_INVALID_PARAM;
  }
  vorn_m2m_get_cclk_time_req_msg_v01 req{};
  vorn_m2m_get_cclk_time_resp_msg_v01 resp;
  if (m2m::send<m2m::GetCclkTime>(Guard::LazyStartNoSecondLook, req, resp).verdict != 0)
    return -1;
  std::snprintf(text, size, "%04d.%02d.%02d-%02d:%02d:%02d", resp.year, resp.month, resp.day,
                resp.hour, resp.minute, resp.second);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_cfun_mode(uint8_t *cfun) {
  if (cfun == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_get_cfun_resp_msg_v01 resp;
  if (m2m::send<m2m::GetCfun>(Guard::LazyStart, resp).verdict != 0) return -1;
  *cfun = static_cast<uint8_t>(resp.cfun & 0xFF);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_set_cfun_mode(uint8_t cfun_mode) {
  vorn_m2m_set_cfun_mode_req_msg_v01 req{};
  req.cfun_mode = cfun_mode;
  vorn_m2m_set_cfun_mode_resp_msg_v01 resp;
  return m2m::send<m2m::SetCfunMode>(Guard::LazyStart, req, resp).verdict == 0 ? 0 : -1;
}

VORNPAL_API int vorn_m2m_pal_get_fsn(char *out, uint32_t size) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return VORN_INVALID_PARAM;
  }
  vorn_m2m_get_sn_resp_msg_v01 resp;
  if (m2m::send<m2m::GetSn>(Guard::LazyStartNoSecondLook, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "send qmi failed.\n");
    VORN_LOG(VORN_ERR, "Error, m2m get fsn\n");
    return -1;
  }
  std::memcpy(out, resp.text, std::min<size_t>({size, resp.len, sizeof resp.text}));
  if (size >= 1 && out[0] != '\0') write_cfsn_cache(out, size);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_set_fsn(const char *text, uint32_t len) {
  std::optional<qmi_client_type> handle = m2m::pass_guard(Guard::LazyStartNoSecondLook);
  if (text == nullptr || len == 0) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return VORN_INVALID_PARAM;
  }
  vorn_m2m_set_sn_req_msg_v01 req{};
  req.len = len;
  vorn::checked_memcpy(req.text, sizeof req.text, text, len);
  vorn_m2m_set_sn_resp_msg_v01 resp;
  m2m::Sent sent = m2m::send_on<m2m::SetSn>(handle.value_or(nullptr), req, resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "qmi send message fail rc = %d, error:%d\r\n", sent.rc,
             static_cast<int>(resp.resp.error));
  }
  return sent.verdict;
}

}  // extern "C"
