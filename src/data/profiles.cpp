// Profiles: the numbered connection settings that the modem keeps, with a
// copy of what a call needs in the profile's context; the LTE attach
// parameters; the tie of a profile to a fixed data interface. Every request
// goes out on the default client, for 3GPP profiles (type 0).
#include <cstdlib>
#include <cstring>
#include <memory>

#include <vornpal/data.h>
#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "data/state.h"
#include "foundation/log_site.h"

namespace vorn::data {
namespace {

constexpr size_t kWriteApnMax = 62;
constexpr size_t kCredentialMax = 128;
constexpr size_t kAttachApnMax = 151;

// Record pdp_type to the profile's PDP type, and back.
// The caller's record; none logs `text` and the call fails.
bool given(const void *record, const char *text) {
  if (record != nullptr) return true;
  VORN_LOG(VORN_ERR, "%s", text);
  return false;
}

uint32_t wire_pdp(uint32_t pdp_type) {
  switch (pdp_type) {
    case VORN_DATA_PDP_IPV6:
      return WDS_PDP_TYPE_PDP_IPV6_V01;
    case VORN_DATA_PDP_IPV4V6:
      return WDS_PDP_TYPE_PDP_IPV4V6_V01;
    case VORN_DATA_PDP_PPP:
      return WDS_PDP_TYPE_PDP_PPP_V01;
    default:
      return WDS_PDP_TYPE_PDP_IPV4_V01;
  }
}

uint32_t record_pdp(uint32_t wire) {
  switch (wire) {
    case WDS_PDP_TYPE_PDP_PPP_V01:
      return VORN_DATA_PDP_PPP;
    case WDS_PDP_TYPE_PDP_IPV6_V01:
      return VORN_DATA_PDP_IPV6;
    case WDS_PDP_TYPE_PDP_IPV4V6_V01:
      return VORN_DATA_PDP_IPV4V6;
    default:
      return VORN_DATA_PDP_IPV4;
  }
}

// Copies at most `limit` bytes of a text field into another field.
template <size_t N, size_t M>
void copy_text(char (&to)[N], const char (&from)[M], size_t limit = N) {
  size_t len = strnlen(from, M);
  if (len > limit) len = limit;
  if (len > N) len = N;
  std::memset(to, 0, N);
  std::memcpy(to, from, len);
}

// The context's copy of the profile (the write's step 6, and the reads').
void update_context(profile_ctx *ctx, uint32_t cid, const data_profile_settings &s,
                    const uint8_t *clat) {
  std::lock_guard<std::mutex> lock(context_mutex());
  ctx->activated = static_cast<uint8_t>(cid);
  std::memcpy(ctx->apn, s.apn, sizeof ctx->apn);
  ctx->authentication_preference = s.authentication_preference;
  std::memcpy(ctx->username, s.username, sizeof ctx->username);
  std::memcpy(ctx->password, s.password, sizeof ctx->password);
  ctx->pdp_type = s.pdp_type;
  ctx->ip_support_type = s.ip_support_type;
  std::memcpy(ctx->pdp_text, s.pdp_text, sizeof ctx->pdp_text);
  ctx->clat_mirror = s.clat_enabled;
  if (clat != nullptr) ctx->clat_enabled = *clat;
}

bool query_profile_on(qmi_client_type client, uint32_t cid, wds_get_profile_settings_resp_msg_v01 &resp,
                      bool listing) {
  wds_get_profile_settings_req_msg_v01 req{};
  req.profile.profile_type = WDS_PROFILE_TYPE_3GPP_V01;
  req.profile.profile_index = static_cast<uint8_t>(cid);
  return (listing ? qmi::send_on<ListProfileSettings>(client, req, resp)
                  : qmi::send_on<GetProfileSettings>(client, req, resp))
             .verdict == 0;
}

int IsProfileDefined(uint32_t cid) {
  DefaultClient client;
  if (!client) {
    VORN_LOG(VORN_ERR, "wdsClient is invalid\r\n");
    return 0;
  }
  auto resp = std::make_unique<wds_get_profile_settings_resp_msg_v01>();
  if (!query_profile_on(client.get(), cid, *resp, false)) return 0;
  profile_ctx *ctx = GetProfileCtx(cid);
  std::lock_guard<std::mutex> lock(context_mutex());
  VORN_LOG(VORN_DBUG, "clat_enabled [%d]\n", ctx->clat_enabled);
  if (resp->clat_enabled_valid) ctx->clat_enabled = resp->clat_enabled != 0 ? 1 : 0;
  return 1;
}

// The fields of the settings response into a record: the read's subset, or
// (listing) every field the modem gave.
void fill_record(const wds_get_profile_settings_resp_msg_v01 &r, data_profile_settings &s,
                 bool listing) {
  s.pdp_type_valid = r.pdp_type_valid;
  s.pdp_type = r.pdp_type_valid ? record_pdp(r.pdp_type) : uint32_t{VORN_DATA_PDP_IPV4};
  s.apn_valid = r.apn_name_valid;
  if (r.apn_name_valid) copy_text(s.apn, r.apn_name);
  s.username_valid = r.username_valid;
  if (r.username_valid) copy_text(s.username, r.username);
  s.password_valid = r.password_valid;
  if (r.password_valid) copy_text(s.password, r.password);
  s.auth_valid = r.authentication_preference_valid;
  s.authentication_preference =
      r.authentication_preference_valid ? r.authentication_preference & 0x3u : 0;
  if (!listing) return;
  if (r.authentication_preference_valid) s.authentication_preference = r.authentication_preference;
  if (r.profile_name_valid) copy_text(s.profile_name, r.profile_name);
  s.ipv4_address_preference_valid = r.ipv4_address_preference_valid;
  s.ipv4_address_preference = r.ipv4_address_preference;
  s.pdp_data_compression_valid = r.pdp_data_compression_type_valid;
  s.pdp_data_compression = r.pdp_data_compression_type;
  s.pdp_hdr_compression_valid = r.pdp_hdr_compression_type_valid;
  s.pdp_hdr_compression = r.pdp_hdr_compression_type;
  s.option_d_valid = r.im_cn_flag_valid;
  s.option_d = r.im_cn_flag;
  s.option_e_valid = r.apn_disabled_flag_valid;
  s.option_e = r.apn_disabled_flag;
  s.clat_valid = r.clat_enabled_valid;
  s.clat_enabled = r.clat_enabled;
}

void fill_modify(const data_profile_settings &s, uint32_t cid,
                 wds_modify_profile_settings_req_msg_v01 &req) {
  req.profile.profile_type = WDS_PROFILE_TYPE_3GPP_V01;
  req.profile.profile_index = static_cast<uint8_t>(cid);
  req.persistent_valid = 1;
  req.persistent = 1;
  req.apn_name_valid = 1;
  copy_text(req.apn_name, s.apn, kWriteApnMax);
  req.pdp_type_valid = 1;
  req.pdp_type = wire_pdp(s.pdp_type);
  VORN_LOG(VORN_DBUG, "Profile PDPType:%d\n", req.pdp_type);
  const uint32_t auth = s.authentication_preference;
  req.authentication_preference_valid = 1;
  req.authentication_preference = auth >= 1 && auth <= 3 ? static_cast<uint8_t>(auth) : 0;
  VORN_LOG(VORN_DBUG, "Profile Auth:%d\n", req.authentication_preference);
  req.username_valid = 1;
  copy_text(req.username, s.username, kCredentialMax);
  VORN_LOG(VORN_DBUG, "Profile username:%s\n", req.username);
  req.password_valid = 1;
  copy_text(req.password, s.password, kCredentialMax);
  VORN_LOG(VORN_DBUG, "Profile password:%s\n", req.password);
  req.ipv4_address_preference_valid = s.ipv4_address_preference_valid;
  if (s.ipv4_address_preference_valid) req.ipv4_address_preference = s.ipv4_address_preference;
  req.pdp_data_compression_type_valid = s.pdp_data_compression_valid;
  if (s.pdp_data_compression_valid) req.pdp_data_compression_type = s.pdp_data_compression;
  req.pdp_hdr_compression_type_valid = s.pdp_hdr_compression_valid;
  if (s.pdp_hdr_compression_valid) req.pdp_hdr_compression_type = s.pdp_hdr_compression;
  req.im_cn_flag_valid = s.option_d_valid;
  if (s.option_d_valid) req.im_cn_flag = s.option_d;
  req.apn_disabled_flag_valid = s.option_e_valid;
  if (s.option_e_valid) req.apn_disabled_flag = s.option_e;
  req.clat_enabled_valid = s.clat_valid;
  if (s.clat_valid) req.clat_enabled = s.clat_enabled;
}

void clear_mapping(uint8_t link) {
  std::lock_guard<std::mutex> lock(wds_client_mutex);
  for (uint32_t index = 0; index <= static_cast<uint32_t>(kProfiles); ++index) {
    profile_ctx *ctx = FindProfileCtx(index);
    if (ctx == nullptr || ctx->mappedRmnetId != link) continue;
    ctx->mappedRmnetId = kNoRmnet;
    return;
  }
}

}  // namespace
}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API int vorn_data_pal_is_profile_defined(int cid) {
  if (data::IsProfileDefined(static_cast<uint32_t>(cid)) == 0) return 0;
  VORN_LOG(VORN_INFO, "Profile %i is defined\n", cid);
  return 1;
}

VORNPAL_API int vorn_data_pal_write_connect_setting(int cid, const data_profile_settings *settings) {
  if (!data::given(settings, "paramsReqPtr is invalid\r\n")) return VORN_FAILURE;
  data::profile_ctx *ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    for (const data::call_state &call : ctx->call)
      if (call.conState == data::kConConnected)
        VORN_LOG(VORN_DBUG, "Profile %d has connected,state:%d\n", cid, call.conState);
  }
  if (data::IsProfileDefined(static_cast<uint32_t>(cid)) == 0) {
    if (vorn_m2m_pal_create_wds_profile(0, static_cast<uint8_t>(cid)) != 0)
      VORN_LOG(VORN_ERR, "Error creating empty profile %i\n", cid);
  } else {
    VORN_LOG(VORN_INFO, "Profile %i is defined\n", cid);
  }
  data::DefaultClient client;
  if (!client.usable()) return VORN_FAILURE;
  auto req = std::make_unique<wds_modify_profile_settings_req_msg_v01>();
  data::fill_modify(*settings, static_cast<uint32_t>(cid), *req);
  wds_modify_profile_settings_resp_msg_v01 resp;
  if (vorn::qmi::send_on<data::ModifyProfileSettings>(client.get(), *req, resp).verdict != 0)
    return VORN_FAILURE;
  VORN_LOG(VORN_INFO, "Profile '%d' saved on modem\n", cid);
  data::update_context(ctx, static_cast<uint32_t>(cid), *settings, nullptr);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_read_connect_setting(int cid, data_profile_settings *settings) {
  VORN_LOG(VORN_INFO, "---enter read data pal profile!\n");
  data::profile_ctx *ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  if (!data::given(settings, "paramsRespPtr is invalid\r\n")) return VORN_FAILURE;
  data::DefaultClient client;
  if (!client.usable()) return VORN_FAILURE;
  auto resp = std::make_unique<wds_get_profile_settings_resp_msg_v01>();
  if (!data::query_profile_on(client.get(), static_cast<uint32_t>(cid), *resp, false)) {
    VORN_LOG(VORN_ERR, "query_profile failed\n");
    return VORN_FAILURE;
  }
  data::fill_record(*resp, *settings, false);
  VORN_LOG(VORN_DBUG, "APN:%s\n", settings->apn);
  VORN_LOG(VORN_DBUG, "userName:%s\n", settings->username);
  VORN_LOG(VORN_DBUG, "password:%s\n", settings->password);
  VORN_LOG(VORN_DBUG, "authentication_preference [%d]\n", settings->authentication_preference);
  const uint8_t clat = resp->clat_enabled;
  data::update_context(ctx, static_cast<uint32_t>(cid), *settings,
                       resp->clat_enabled_valid ? &clat : nullptr);
  VORN_LOG(VORN_DBUG, "clat_enabled [%d]\n", clat);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_delete_profile(int cid) {
  data::profile_ctx *ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  VORN_LOG(VORN_INFO, "Function Enter\r\n");
  if (ctx == nullptr) {
    VORN_LOG(VORN_ERR, "profileCtxPtr is invalid\r\n");
    return VORN_FAILURE;
  }
  {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    if (ctx->call[0].enable != 0 || ctx->call[1].enable != 0) {
      VORN_LOG(VORN_ERR, "Data session is connected\n");
      return VORN_FAILURE;
    }
  }
  {
    data::DefaultClient client;
    wds_delete_profile_req_msg_v01 req{};
    req.profile.profile_type = WDS_PROFILE_TYPE_3GPP_V01;
    req.profile.profile_index = static_cast<uint8_t>(cid);
    wds_delete_profile_resp_msg_v01 resp;
    if (vorn::qmi::send_on<data::DeleteProfile>(client.get(), req, resp).verdict != 0)
      return VORN_FAILURE;
  }
  VORN_LOG(VORN_INFO, "Remove PROFILE SETTING request successfully!\r\n");
  // A call the network dropped keeps its clients mapped: they go with the
  // context.
  for (int ipType = 0; ipType < data::kFamilies; ++ipType) {
    qmi_client_type handle = nullptr;
    {
      std::lock_guard<std::mutex> lock(data::wds_client_mutex);
      if (ctx->clientInfoPtr[ipType] != nullptr) handle = ctx->clientInfoPtr[ipType]->handle;
    }
    if (handle == nullptr) continue;
    data::UnmapWdsClient(ctx, ipType);
    data::mdc_qmi_ReleaseWdsClient(handle);
  }
  data::RemoveProfileCtx(ctx);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_get_profile_list(data_profile_list *list) {
  if (!data::given(list, "paramsRespPtr is invalid\r\n")) return VORN_FAILURE;
  data::DefaultClient client;
  if (!client.usable()) return VORN_FAILURE;
  wds_get_profile_list_req_msg_v01 req{};
  req.profile_type_valid = 1;
  req.profile_type = WDS_PROFILE_TYPE_3GPP_V01;
  auto resp = std::make_unique<wds_get_profile_list_resp_msg_v01>();
  if (vorn::qmi::send_on<data::GetProfileList>(client.get(), req, *resp).verdict != 0)
    return VORN_FAILURE;
  const uint32_t count = resp->profile_list_len;
  VORN_LOG(VORN_INFO, "get_profile_list for profile_tech [%d] returned [%d] profile index\n",
           WDS_PROFILE_TYPE_3GPP_V01, count);
  if (count > static_cast<uint32_t>(data::kProfiles)) return VORN_FAILURE;
  list->count = count;
  auto settings = std::make_unique<wds_get_profile_settings_resp_msg_v01>();
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t cid = resp->profile_list[i].profile_index;
    if (!data::query_profile_on(client.get(), cid, *settings, true)) {
      VORN_LOG(VORN_ERR, "query_profile failed with error [%d] qmi_err_code [%d]\n",
               static_cast<int>(settings->resp.result), static_cast<int>(settings->resp.error));
      break;
    }
    VORN_LOG(VORN_INFO, "successfully queried 3GPP profile [%d]\n", cid);
    data_profile_settings &record = list->profiles[i];
    std::memset(&record, 0, sizeof record);
    record.cid = static_cast<uint8_t>(cid);
    data::fill_record(*settings, record, true);
    VORN_LOG(VORN_DBUG, "clat_enabled:%d\n", record.clat_enabled);
    if (data::profile_ctx *ctx = data::GetProfileCtx(cid)) {
      const uint8_t clat = record.clat_enabled;
      data::update_context(ctx, cid, record, settings->clat_enabled_valid ? &clat : nullptr);
    }
  }
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_get_attach_params(data_profile_settings *settings) {
  if (!data::given(settings, "paramsRespPtr is invalid\r\n")) return VORN_FAILURE;
  data::DefaultClient client;
  wds_get_lte_attach_params_resp_msg_v01 resp;
  vorn::qmi::NoRequest none;
  if (vorn::qmi::send_on<data::GetLteAttachParams>(client.get(), none, resp).verdict != 0)
    return VORN_FAILURE;
  settings->pdp_type = resp.ip_type == 1 || resp.ip_type == 2 ? resp.ip_type : 0;
  VORN_LOG(VORN_DBUG, "pdp_type: [%d]\n", settings->pdp_type);
  if (resp.apn_string_valid) {
    data::copy_text(settings->apn, resp.apn_string);
    VORN_LOG(VORN_DBUG, "APN: [%s]\n", settings->apn);
  }
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_set_attach_params(const data_profile_settings *settings) {
  if (!data::given(settings, "paramsReqPtr is invalid\r\n")) return VORN_FAILURE;
  data::DefaultClient client;
  auto req = std::make_unique<wds_set_attach_profile_info_req_msg_v01>();
  static constexpr uint32_t kWirePdp[] = {WDS_PDP_TYPE_PDP_IPV4_V01, WDS_PDP_TYPE_PDP_IPV6_V01,
                                          WDS_PDP_TYPE_PDP_IPV4V6_V01};
  req->pdp_type_valid = 1;
  req->pdp_type = settings->pdp_type < 3 ? kWirePdp[settings->pdp_type] : WDS_PDP_TYPE_PDP_IPV4V6_V01;
  req->ip_support_type_valid = 1;
  req->ip_support_type = settings->ip_support_type <= 2 ? settings->ip_support_type : 2;
  req->apn_name_valid = 1;
  data::copy_text(req->apn_name, settings->apn, data::kAttachApnMax);
  const uint32_t auth = settings->authentication_preference;
  req->authentication_preference_valid = 1;
  req->authentication_preference = auth >= 1 && auth <= 3 ? static_cast<uint8_t>(auth) : 0;
  if (req->authentication_preference != 0) {
    req->username_valid = 1;
    data::copy_text(req->username, settings->username, data::kCredentialMax);
    req->password_valid = 1;
    data::copy_text(req->password, settings->password, data::kCredentialMax);
  }
  wds_set_attach_profile_info_resp_msg_v01 resp;
  if (vorn::qmi::send_on<data::SetAttachProfileInfo>(client.get(), *req, resp).verdict != 0)
    return VORN_FAILURE;
  return VORN_OK;
}

VORNPAL_API void vorn_data_pal_check_ia_apn_profile(void) {}

VORNPAL_API int vorn_data_MapProfileOnNetworkInterface(int cid, const char *name) {
  data::profile_ctx *ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  const size_t prefix = sizeof data::kRmnetPrefix - 1;
  if (name == nullptr || std::strncmp(name, data::kRmnetPrefix, prefix) != 0) {
    VORN_LOG(VORN_ERR, "Unknown rmnet interface %s %s %d\n", name != nullptr ? name : "(null)",
             data::kRmnetPrefix, cid);
    return VORN_FAILURE;
  }
  const auto link = static_cast<uint8_t>(std::strtol(name + prefix, nullptr, 10));
  if (link == data::kNoRmnet) {
    VORN_LOG(VORN_ERR, "Bad rmnet index %d\n", link);
    return VORN_FAILURE;
  }
  data::clear_mapping(link);
  {
    std::lock_guard<std::mutex> lock(data::wds_client_mutex);
    ctx->mappedRmnetId = link;
  }
  VORN_LOG(VORN_WARN, "mapped RmnetId: %d\n", link);
  return VORN_OK;
}

VORNPAL_API void vorn_data_ClearProfileNetIntf(uint8_t link) { data::clear_mapping(link); }

}  // extern "C"
