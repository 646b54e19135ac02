// The read-only queries of the family: how long a call has been up, which
// calls are up, why the last one ended, the bearer, the EPS bearers, the
// PDU session id and the MSISDN of the attach APN.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <vornpal/data.h>
#include <vornpal/m2m.h>

#include "data/state.h"
#include "foundation/log_site.h"

namespace vorn::data {
namespace {

constexpr int kEpsRequest = 16;
constexpr char kPrivateDnsItem[] = "/nv/item_files/odm/private_dns_string";
constexpr size_t kPrivateDnsSize = 12;

bool valid_cid(int cid) {
  if (cid >= 1 && cid <= kProfiles) return true;
  VORN_LOG(VORN_ERR, "INVALID cid=%d!\n", cid);
  return false;
}

// Whole seconds from start to end; the microseconds only borrow.
int64_t whole_seconds(const vorn_clk_time &start, const vorn_clk_time &end) {
  if (end.usec < start.usec)
    return end.sec - start.sec - 1 + (end.usec - start.usec + 1000000) / 1000000;
  return end.sec - start.sec + (end.usec - start.usec) / 1000000;
}

// 0 IPv4 alone, 1 IPv6 alone, 2 both; -1 when neither is connected.
int connected_families(const profile_ctx &ctx) {
  const bool v4 = ctx.call[0].conState == kConConnected;
  const bool v6 = ctx.call[1].conState == kConConnected;
  if (v4 && v6) return 2;
  if (v4) return 0;
  if (v6) return 1;
  return -1;
}

// Appends to a terminated text of `size` bytes, cutting at its end.
template <class... Args>
void append(char *text, size_t size, const char *format, Args... args) {
  const size_t used = std::strlen(text);
  if (used + 1 < size) std::snprintf(text + used, size - used, format, args...);
}

void swap_nibbles(uint8_t *byte) { *byte = static_cast<uint8_t>((*byte << 4) | (*byte >> 4)); }

}  // namespace
}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API int vorn_data_pal_get_call_duration(int cid, uint64_t *duration) {
  if (duration == nullptr) {
    VORN_LOG(VORN_ERR, "failed for param\n");
    return VORN_FAILURE;
  }
  if (!data::valid_cid(cid)) return VORN_FAILURE;
  data::profile_ctx *ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  if (ctx == nullptr) {
    VORN_LOG(VORN_ERR, "profileIndex %d is invalid !\n", cid);
    return VORN_FAILURE;
  }
  vorn_clk_time start, end;
  {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    start = ctx->connect_time;
    end = ctx->disconnect_time;
  }
  // A call that is still up is measured to now.
  if (end.sec == 0 && end.usec == 0) end = vorn_clk_GetRelativeTime();
  *duration = static_cast<uint64_t>(data::whole_seconds(start, end));
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_is_connected(int cid, int ip_type) {
  if (!data::valid_cid(cid)) return 0;
  std::lock_guard<std::mutex> lock(data::context_mutex());
  const data::profile_ctx *ctx = data::FindProfileCtx(static_cast<uint32_t>(cid));
  if (ctx == nullptr) return 0;
  switch (ip_type) {
    case 0:
    case 1:
      return ctx->call[ip_type].enable != 0 ? 1 : 0;
    case 2:
      return ctx->call[0].enable != 0 || ctx->call[1].enable != 0 ? 1 : 0;
    default:
      return 0;
  }
}

VORNPAL_API int vorn_data_pal_get_active_status(data_status_event **list, int *count) {
  if (count == nullptr) {
    VORN_LOG(VORN_ERR, "INVALID data_size_ptr!\n");
    return VORN_FAILURE;
  }
  data_status_event found[data::kProfiles]{};
  int n = 0;
  {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    for (uint32_t index = 0; index <= static_cast<uint32_t>(data::kProfiles); ++index) {
      const data::profile_ctx *ctx = data::FindProfileCtx(index);
      if (ctx == nullptr) continue;
      VORN_LOG(VORN_INFO, "ipv4:%d,ipv6:%d!\n", ctx->call[0].conState, ctx->call[1].conState);
      const int families = data::connected_families(*ctx);
      if (families < 0 || n == data::kProfiles) continue;
      found[n] = {static_cast<int32_t>(ctx->profileIndex), families, VORN_DATA_STATE_UP, 0, 0, 0,
                  0};
      VORN_LOG(VORN_DBUG, "CID:%d,state:%d,ip_type:%d!\n", found[n].profileIndex,
               found[n].data_state, families);
      ++n;
    }
  }
  auto *block = static_cast<data_status_event *>(std::malloc(sizeof(data_status_event) * n));
  if (block == nullptr && n != 0) {
    std::printf("%s, line: %d\n", __FILE__, __LINE__);
    std::abort();
  }
  if (n != 0) std::memcpy(block, found, sizeof(data_status_event) * n);
  for (int i = 0; i < n; ++i)
    VORN_LOG(VORN_DBUG, "p_conn_info.cid=%d,p_conn_info.ip_call_type=%d\n", block[i].profileIndex,
             block[i].ip_call_type);
  if (list != nullptr) {
    *list = block;
  } else {
    std::free(block);
  }
  *count = n;
  return VORN_OK;
}

VORNPAL_API void vorn_data_pal_get_connection_failure_reason(int cid, int ip_version,
                                                             data_call_failure *failure) {
  if (ip_version < 0 || ip_version > 1) {
    VORN_LOG(VORN_ERR, "INVALID ip_version=%d!\n", ip_version);
    return;
  }
  if (failure == nullptr) return;
  data::profile_ctx *ctx =
      cid >= 0 && cid <= data::kProfiles ? data::GetProfileCtx(static_cast<uint32_t>(cid)) : nullptr;
  if (ctx == nullptr) {
    *failure = {};
    return;
  }
  std::lock_guard<std::mutex> lock(data::context_mutex());
  const data::call_state &call = ctx->call[ip_version];
  *failure = {call.failureType, call.failureCode, call.verboseType, call.verboseCode};
}

VORNPAL_API int vorn_data_pal_get_data_bearer_technology_ex(uint64_t *so_mask) {
  if (so_mask == nullptr) {
    VORN_LOG(VORN_CRIT, "so_mask is NULL\r\n");
    return VORN_FAILURE;
  }
  data::DefaultClient client;
  wds_get_data_bearer_technology_ex_req_msg_v01 req{};
  wds_get_data_bearer_technology_ex_resp_msg_v01 resp{};
  const vorn::qmi::Sent sent = vorn::qmi::send_on<data::GetBearerTechEx>(client.get(), req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_CRIT, "QMI fail.rc=[%d],resp = [%d]!\r\n", sent.rc,
             static_cast<int>(resp.resp.result));
    return VORN_FAILURE;
  }
  if (resp.bearer_tech_valid) {
    *so_mask = resp.bearer_tech.so_mask;
  } else if (resp.last_bearer_tech_valid) {
    *so_mask = resp.last_bearer_tech.so_mask;
  } else {
    VORN_LOG(VORN_CRIT, "bearer_tech invalid!\r\n");
    return VORN_FAILURE;
  }
  VORN_LOG(VORN_CRIT, "QMI get bearer technology so mask = [%d]!\r\n", static_cast<int>(*so_mask));
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_get_eps_bearer_details(eps_bearer_info *info, int *count) {
  VORN_LOG(VORN_DBUG, "Enter data_pal_get_eps_bearer_details\r\n");
  if (info == nullptr || count == nullptr) return VORN_FAILURE;
  // Records the modem leaves alone read as empty.
  std::memset(info, 0, sizeof(eps_bearer_info) * VORN_DATA_EPS_BEARERS);
  const int ret = vorn_m2m_pal_common_request(data::kEpsRequest, nullptr, 0, info);
  if (ret != 0) {
    VORN_LOG(VORN_ERR, "m2m_pal_common_request fail ret = %d\n", ret);
    return VORN_FAILURE;
  }
  int used = 0;
  for (int i = 0; i < VORN_DATA_EPS_BEARERS; ++i) {
    const eps_bearer_info &b = info[i];
    VORN_LOG(VORN_DBUG, " i = %d,LTE EPS: bearer_id = [%d]\r\n", i, b.bearer_id);
    if (b.bearer_id == 0) continue;
    VORN_LOG(VORN_DBUG, "bearer_type = [%d]\r\n", b.bearer_type);
    VORN_LOG(VORN_DBUG, "LTE EPS: ul_ambr = [%d],dl_ambr = [%d]\r\n", b.ul_ambr, b.dl_ambr);
    VORN_LOG(VORN_DBUG, "LTE EPS: qci = [%d]\r\n", b.qci);
    VORN_LOG(VORN_DBUG, "LTE EPS: dl_gbr = [%d],ul_gbr = [%d].\r\n", b.dl_gbr, b.ul_gbr);
    ++used;
  }
  *count = used;
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_get_error_messages(char *text) {
  VORN_LOG(VORN_DBUG, "enter oem_send_data_error_messages_to_recovery\n");
  if (text == nullptr) return VORN_OK;
  constexpr size_t kSize = VORN_DATA_ERROR_TEXT_SIZE;
  std::snprintf(text, kSize, "DATA_ERROR_CODE:");
  {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    for (uint32_t index = 0; index <= static_cast<uint32_t>(data::kProfiles); ++index) {
      const data::profile_ctx *ctx = data::FindProfileCtx(index);
      if (ctx == nullptr) continue;
      bool named = false;
      for (int family = 0; family < data::kFamilies; ++family) {
        const data::call_state &call = ctx->call[family];
        if (call.verboseCode == 0 && call.verboseType == 0) continue;
        if (!named) data::append(text, kSize, "PROFILE:%d ", static_cast<int>(ctx->profileIndex));
        named = true;
        data::append(text, kSize, "IPTYPE:%d,(%d,%d) ", family, static_cast<int>(call.verboseCode),
                     static_cast<int>(call.verboseType));
      }
    }
  }
  VORN_LOG(VORN_DBUG, "get datacall error messages %s.\n", text);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_get_pdu_connection_session_id(uint8_t *id) {
  VORN_LOG(VORN_DBUG, "Enter oem_data_pal_get_pdu_connection_session_id\n");
  if (id == nullptr) return VORN_FAILURE;
  data::DefaultClient client;
  wds_allocate_pdu_session_id_req_msg_v01 req{};
  wds_allocate_pdu_session_id_resp_msg_v01 resp{};
  const vorn::qmi::Sent sent =
      vorn::qmi::send_on<data::AllocatePduSessionId>(client.get(), req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "QMI Send error QMI_WDS_ALLOCATE_PDU_SESSION_ID_REQ_V01, rc=%i\n", sent.rc);
    return VORN_FAILURE;
  }
  if (!resp.pdu_session_id_valid) {
    VORN_LOG(VORN_ERR, "Error in wds_allocate_pdu_session_id_resp_msg_v01.pdu_session_id_valid\n");
    return VORN_FAILURE;
  }
  *id = resp.pdu_session_id;
  VORN_LOG(VORN_DBUG, "Current pdu connection session id is %d\n", *id);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_get_msisdn(char *text) {
  if (text == nullptr) {
    VORN_LOG(VORN_ERR, "msisdn is NULL\n");
    return VORN_FAILURE;
  }
  data_profile_settings attach{};
  const int res = vorn_data_pal_get_attach_params(&attach);
  if (res != 0) {
    VORN_LOG(VORN_ERR, "get attach params failed res=%d\n", res);
    return res;
  }
  if (attach.apn[0] == '\0') return VORN_DATA_NO_MSISDN;
  data::DefaultClient client;
  if (!client) {
    VORN_LOG(VORN_ERR, "wdsClient is NULL !\n");
    return VORN_FAILURE;
  }
  auto req = std::make_unique<wds_get_apn_msisdn_info_req_msg_v01>();
  auto resp = std::make_unique<wds_get_apn_msisdn_info_resp_msg_v01>();
  std::strncpy(req->apn_name, attach.apn, sizeof req->apn_name - 1);
  const vorn::qmi::Sent sent = vorn::qmi::send_on<data::GetApnMsisdn>(client.get(), *req, *resp);
  if (sent.verdict != 0) return sent.rc != 0 ? sent.rc : sent.verdict;
  if (!resp->msisdn_valid || resp->msisdn_len == 0) {
    VORN_LOG(VORN_ERR, "apn msisdn invalid or empty\n");
    return VORN_DATA_NO_MSISDN;
  }
  if (resp->msisdn_len > QMI_WDS_MSISDN_MAX_V01) return VORN_FAILURE;
  std::string digits;
  for (uint32_t i = 0; i < resp->msisdn_len; ++i) {
    uint8_t byte = resp->msisdn[i];
    data::swap_nibbles(&byte);
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02X", byte);
    digits += pair;
  }
  VORN_LOG(VORN_DBUG, "get msisdn_buff_len %d\r\n", static_cast<int>(digits.size()));
  // An odd count of digits is padded with F.
  if (!digits.empty() && digits.back() == 'F') digits.pop_back();
  std::memcpy(text, digits.c_str(), digits.size() + 1);
  VORN_LOG(VORN_DBUG, "get msisdn %s\r\n", text);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_set_prdnscfg(const uint8_t *config) {
  if (config == nullptr) return VORN_FAILURE;
  return vorn_m2m_pal_write_nv_by_path(data::kPrivateDnsItem, config, data::kPrivateDnsSize);
}

}  // extern "C"
