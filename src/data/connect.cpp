// Data calls: connect and disconnect, synchronous and on their own threads
// ("async_connect", "async_disconnect"), and the activation of a profile.
// A call is one session per IP family, IPv4 first; the family's type and
// CLAT setting of the profile choose which.
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <mutex>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include <vornpal/data.h>
#include <vornpal/network.h>

#include "data/state.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "foundation/run.h"

namespace vorn::data {
namespace {

constexpr unsigned kAfterIpv4FailureSeconds = 2;

bool valid_cid(int cid) { return cid >= 1 && cid <= kProfiles; }

void *ref_text(uint32_t ref) { return reinterpret_cast<void *>(static_cast<uintptr_t>(ref)); }

// The session of one family is up: the call's record and its settings.
void mark_up(profile_ctx *ctx, int ipType, uint32_t ref) {
  std::lock_guard<std::mutex> lock(context_mutex());
  ctx->call[ipType].enable = 1;
  ctx->call[ipType].callRef = ref;
}

bool enabled(profile_ctx *ctx, int ipType) {
  std::lock_guard<std::mutex> lock(context_mutex());
  return ctx->call[ipType].enable != 0;
}

void set_enable(profile_ctx *ctx, int ipType, uint32_t value) {
  std::lock_guard<std::mutex> lock(context_mutex());
  ctx->call[ipType].enable = value;
}

// StartSessionIPV4 and StartSessionIPV6.
int start_one(profile_ctx *ctx, int ipType) {
  if (enabled(ctx, ipType)) {
    VORN_LOG(VORN_ERR, ipType == 0 ? "IPV4 Data session is already connected\n"
                                   : "IPV6 Data session is already connected\n");
    return VORN_DATA_ALREADY_CONNECTED;
  }
  uint32_t ref = 0;
  int rc = StartSession(ctx->profileIndex, ipType == 0 ? 4 : 6, ref);
  if (rc != 0) {
    ReportStartFailure(ctx, ipType);
    return rc;
  }
  mark_up(ctx, ipType, ref);
  set_enable(ctx, 1 - ipType, 0);
  VORN_LOG(VORN_INFO, ipType == 0 ? "IPV4 Data session connected\n" : "IPv6 Data session connected\n");
  sync_data_info(ctx, ipType);
  return VORN_OK;
}

int start_dual(profile_ctx *ctx) {
  const bool v4_was_up = enabled(ctx, 0);
  const bool v6_was_up = enabled(ctx, 1);
  if (v4_was_up && v6_was_up) {
    VORN_LOG(VORN_ERR, "Data session is already connected\n");
    return VORN_DATA_ALREADY_CONNECTED;
  }
  uint32_t ref = 0;
  // A family that was up before this call counts as not started by it.
  int v4 = VORN_FAILURE;
  if (!v4_was_up) {
    v4 = StartSession(ctx->profileIndex, 4, ref);
    if (v4 != 0) {
      VORN_LOG(VORN_ERR, "Unable to start IPv4 profile\n");
      set_enable(ctx, 0, 0);
      clk::sleep_s(kAfterIpv4FailureSeconds);
    } else {
      mark_up(ctx, 0, ref);
      sync_data_info(ctx, 0);
    }
  }
  int v6 = VORN_OK;
  if (!v6_was_up) {
    v6 = StartSession(ctx->profileIndex, 6, ref);
    if (v6 != 0) {
      VORN_LOG(VORN_ERR, "Unable to start IPv6 session\n");
      set_enable(ctx, 1, 0);
    } else {
      mark_up(ctx, 1, ref);
      VORN_LOG(VORN_INFO, "IPv6 Data session connected\n");
      sync_data_info(ctx, 1);
      if (v4 == 0) return VORN_OK;
    }
  }
  if (v4 != 0 && !v4_was_up) {
    ReportStartFailure(ctx, 0);
    if (v6_was_up) return VORN_FAILURE;
    if (v6 == 0) return VORN_OK;
  }
  if (v6 != 0) ReportStartFailure(ctx, 1);
  if (v4_was_up && v6 == 0) return VORN_OK;
  return v4 == 0 ? VORN_OK : VORN_FAILURE;
}

struct Choice {
  uint32_t pdp_type;
  uint8_t clat;
};

Choice choice_of(profile_ctx *ctx) {
  std::lock_guard<std::mutex> lock(context_mutex());
  return {ctx->pdp_type, ctx->clat_enabled};
}

// The start of a call by the profile's type. `ipv6_only` is the marker
// file's say for dual-stack profiles without CLAT.
int start_call(profile_ctx *ctx, bool ipv6_only) {
  const Choice c = choice_of(ctx);
  std::lock_guard<std::mutex> sessions(session_mutex());
  switch (c.pdp_type) {
    case VORN_DATA_PDP_IPV4:
      return start_one(ctx, 0);
    case VORN_DATA_PDP_IPV6:
      return c.clat != 0 ? start_dual(ctx) : start_one(ctx, 1);
    case VORN_DATA_PDP_IPV4V6:
      return ipv6_only && c.clat == 0 ? start_one(ctx, 1) : start_dual(ctx);
    default:
      VORN_LOG(VORN_ERR, "Unknown PDP type %d\n", c.pdp_type);
      return VORN_FAILURE;
  }
}

int connect_ctx(int cid) {
  profile_ctx *ctx = GetProfileCtx(static_cast<uint32_t>(cid));
  if (ctx == nullptr) {
    VORN_LOG(VORN_ERR, "profileCtxPtr is invalid !\n");
    return VORN_FAILURE;
  }
  vorn::run("rm -rf /tmp/ipa_not_cfg");
  const Choice c = choice_of(ctx);
  VORN_LOG(VORN_DBUG, "cid:%d,pdp_type:%d,clat_enabled:%d\n", cid, c.pdp_type, c.clat);
  return start_call(ctx, access("/tmp/ipv6_only", F_OK) == 0);
}

// Stops one family's session and forgets its client; -1 leaves it as it was.
int stop_family(profile_ctx *ctx, int cid, int ipType) {
  qmi_client_type client = GetWdsClient(static_cast<uint32_t>(cid), ipType, false, false);
  if (client == nullptr) {
    VORN_LOG(VORN_ERR, "Bad wdsClient\n");
    return VORN_FAILURE;
  }
  uint32_t ref;
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    ref = ctx->call[ipType].callRef;
  }
  if (StopSession(ref, client, ipType == 0 ? 4 : 6) != 0) {
    mdc_qmi_ReleaseWdsClient(client);  // this lookup's reference
    return VORN_FAILURE;
  }
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    clear_call(ctx, ipType);
  }
  UnmapWdsClient(ctx, ipType);
  // Once for this lookup, once for the session's own reference.
  mdc_qmi_ReleaseWdsClient(client);
  mdc_qmi_ReleaseWdsClient(client);
  return VORN_OK;
}

// ---- the threads of the asynchronous calls -----------------------------------

struct AsyncSlot {
  std::mutex mutex;
  bool running = false;
  std::atomic<int> cid{0};
};
AsyncSlot connect_slot;
AsyncSlot disconnect_slot;

void leave(AsyncSlot &slot) {
  std::lock_guard<std::mutex> lock(slot.mutex);
  slot.running = false;
}

void *vorn_async_connect_thread_proc(void *) {
  prctl(PR_SET_NAME, "async_connect", 0, 0, 0);
  const int cid = connect_slot.cid.load();
  profile_ctx *ctx = GetProfileCtx(static_cast<uint32_t>(cid));
  if (ctx == nullptr) {
    VORN_LOG(VORN_CRIT, "profileCtxPtr is invalid !\n");
    leave(connect_slot);
    return nullptr;
  }
  const uint32_t pdp_type = choice_of(ctx).pdp_type;
  if (pdp_type > VORN_DATA_PDP_IPV4V6) {
    VORN_LOG(VORN_ERR, "Unknown PDP type %d\n", pdp_type);
    leave(connect_slot);
    return nullptr;
  }
  // This path starts both families of a dual-stack profile whatever the
  // IPv6-only marker says.
  int rc = start_call(ctx, false);
  int event = VORN_DATA_EVENT_CONNECT_FAILED;
  if (rc == 0) {
    char name[kInterfaceNameSize];
    CallInterfaceName(ctx, name);
    WaitForIntfUpDown(true, -1, name);
    if (InterfaceHasAddress(name)) event = VORN_DATA_EVENT_CONNECT_DONE;
  }
  PostProfileEvent(event, static_cast<uint32_t>(cid));
  leave(connect_slot);
  return nullptr;
}

void *vorn_async_disconnect_thread_proc(void *) {
  prctl(PR_SET_NAME, "async_disconnect", 0, 0, 0);
  const int cid = disconnect_slot.cid.load();
  char name[kInterfaceNameSize] = {};
  if (profile_ctx *ctx = valid_cid(cid) ? GetProfileCtx(static_cast<uint32_t>(cid)) : nullptr)
    CallInterfaceName(ctx, name);
  VORN_LOG(VORN_INFO, "cid is %d and interfaceNameStr:%s\n !\n", cid, name);
  int event = VORN_DATA_EVENT_DISCONNECT_FAILED;
  if (vorn_data_pal_disconnect(cid) == 0) {
    WaitForIntfUpDown(false, -1, name);
    clk::sleep_s(1);
    char command[64];
    std::snprintf(command, sizeof command, "ifconfig %s down", name);
    int rc = vorn::run(command);
    if (rc != 0) {
      VORN_LOG(VORN_ERR, "excute ifconfig rmnet_data0 down failed! ret=%d\n", rc);
    } else {
      VORN_LOG(VORN_INFO, "excute ifconfig rmnet_data0 down successfully!");
    }
    event = VORN_DATA_EVENT_DISCONNECT_DONE;
  }
  PostProfileEvent(event, static_cast<uint32_t>(cid));
  leave(disconnect_slot);
  return nullptr;
}

// Starts the slot's thread unless one runs: 0, or the creation's failure.
int start_async(AsyncSlot &slot, void *(*proc)(void *), const char *failed) {
  std::lock_guard<std::mutex> lock(slot.mutex);
  if (slot.running) return VORN_OK;
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  int rc = pthread_create(&thread, &attr, proc, nullptr);
  pthread_attr_destroy(&attr);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, failed, rc);
    return rc;
  }
  slot.running = true;
  return VORN_OK;
}

bool network_ready(int &result) {
  vorn_network_info info{};
  info.sys_info.valid = 1;
  result = vorn_network_pal_get_network_info(vorn_network_pal_get_usim_card_slot(), &info);
  if (result != 0) return true;  // no answer: the check is skipped
  const uint32_t state = info.sys_info.reg_state;
  VORN_LOG(VORN_DBUG, "reg_state:%d!\n", state);
  // Registered at home (1) or roaming (5).
  if ((state & ~4u) == 1) return true;
  VORN_LOG(VORN_ERR, "network is not ready!\n");
  return false;
}

}  // namespace
}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API int vorn_data_pal_connect(int cid) {
  if (!data::valid_cid(cid)) {
    VORN_LOG(VORN_ERR, "INVALID cid=%d!\n", cid);
    return VORN_FAILURE;
  }
  data::vorn_data_pal_check_ipa_thread_create();
  return data::connect_ctx(cid);
}

VORNPAL_API int vorn_data_pal_connect_with_apn(int cid, const data_profile_settings *settings) {
  if (!data::valid_cid(cid)) {
    VORN_LOG(VORN_ERR, "INVALID cid=%d!\n", cid);
    return VORN_FAILURE;
  }
  int rc = vorn_data_pal_write_connect_setting(cid, settings);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "Write profile failed: %d\n", rc);
    return rc;
  }
  data::vorn_data_pal_check_ipa_thread_create();
  return data::connect_ctx(cid);
}

VORNPAL_API int vorn_data_pal_async_connect(int cid) {
  VORN_LOG(VORN_INFO, "enter function oem_data_pal_async_connect !\n");
  data::connect_slot.cid.store(cid);
  if (!data::valid_cid(cid)) {
    VORN_LOG(VORN_ERR, "INVALID profileindex=%d!\n", cid);
    return VORN_FAILURE;
  }
  data::vorn_data_pal_check_ipa_thread_create();
  int result = VORN_OK;
  if (!data::network_ready(result)) return VORN_FAILURE;
  int rc = data::start_async(data::connect_slot, data::vorn_async_connect_thread_proc,
                             "unable to create g_connect_thread return reason: %d\n");
  return rc != 0 ? rc : result;
}

VORNPAL_API int vorn_data_pal_disconnect(int cid) {
  if (!data::valid_cid(cid)) {
    VORN_LOG(VORN_ERR, "INVALID cid=%d!\n", cid);
    return VORN_FAILURE;
  }
  data::profile_ctx *ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  if (ctx == nullptr) {
    VORN_LOG(VORN_ERR, "profileCtxPtr is invalid !\n");
    return VORN_FAILURE;
  }
  std::lock_guard<std::mutex> sessions(data::session_mutex());
  data::call_state v4, v6;
  {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    v4 = ctx->call[0];
    v6 = ctx->call[1];
  }
  VORN_LOG(VORN_INFO, "cid=%d,ipv4enable=%d,ip4vcallRef=%p,ipv6enable=%d,ip6vcallRef=%p\n", cid,
           v4.enable, data::ref_text(v4.callRef), v6.enable, data::ref_text(v6.callRef));
  if ((v4.enable == 0 && v6.enable == 0) || (v4.enable != 0 && v4.callRef == 0) ||
      (v6.enable != 0 && v6.callRef == 0)) {
    VORN_LOG(VORN_ERR, "Check profile %d callContext invalid\n", cid);
    return VORN_FAILURE;
  }
  for (int ipType = 0; ipType < data::kFamilies; ++ipType) {
    if ((ipType == 0 ? v4 : v6).enable == 0) continue;
    if (data::stop_family(ctx, cid, ipType) != 0) return VORN_FAILURE;
  }
  data::waits().stop_wait.store(false);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_async_disconnect(int cid) {
  VORN_LOG(VORN_INFO, "enter function oem_data_pal_async_disconnect !\n");
  {
    std::lock_guard<std::mutex> lock(data::disconnect_slot.mutex);
    data::disconnect_slot.cid.store(cid);
  }
  return data::start_async(data::disconnect_slot, data::vorn_async_disconnect_thread_proc,
                           "unable to create g_disconnect_thread return reason: %d\n");
}

VORNPAL_API int vorn_data_pal_activate_context(int cid) {
  data::profile_ctx *ctx = data::FindProfileCtx(static_cast<uint32_t>(cid));
  if (ctx == nullptr) ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  data::DefaultClient client;
  if (!client) {
    VORN_LOG(VORN_ERR, "Failed to get WDS client\n");
    return VORN_FAILURE;
  }
  auto req = std::make_unique<wds_modify_profile_settings_req_msg_v01>();
  req->profile.profile_type = WDS_PROFILE_TYPE_3GPP_V01;
  req->profile.profile_index = static_cast<uint8_t>(cid);
  req->persistent_valid = 1;
  req->persistent = 1;
  wds_modify_profile_settings_resp_msg_v01 resp;
  if (vorn::qmi::send_on<data::ModifyProfileSettings>(client.get(), *req, resp).verdict != 0)
    return VORN_FAILURE;
  VORN_LOG(VORN_INFO, "Profile '%d' saved on modem\n", cid);
  std::lock_guard<std::mutex> lock(data::context_mutex());
  ctx->activated = static_cast<uint8_t>(cid);
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_data_call_cid_get(void) {
  VORN_LOG(VORN_DBUG, "%s\n", "vorn_data_pal_data_call_cid_get");
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_data_call_get(void) {
  VORN_LOG(VORN_DBUG, "%s\n", "vorn_data_pal_data_call_get");
  return VORN_OK;
}

}  // extern "C"
