// One WDS session of one IP family: the start with its request order (mux
// port, IP family, start) and its handshake with the indication, and the
// stop. The caller holds session_mutex(): the semaphore and the wait flags
// serve one start or stop at a time.
#include <semaphore.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>

#include <vornpal/keylog.h>
#include <vornpal/strings.h>
#include <vornpal/system.h>

#include "data/state.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "foundation/run.h"

namespace vorn::data {
namespace {

constexpr int kNetmgrTries = 30;
constexpr uint64_t kNetmgrGapUs = 200000;
constexpr uint32_t kNetmgrLinks = 8;
constexpr uint64_t kIndicationWaitMs = 2000;
constexpr int kFastFailureSeconds = 1;
constexpr unsigned kRetryAfterSeconds = 3;
constexpr uint32_t kErrorNoEffect = QMI_ERR_NO_EFFECT_V01;
constexpr uint32_t kErrorCallFailed = 14;
constexpr int kKeylogData = 1;
constexpr int kKeylogStartFailure = 104;
constexpr char kAdminApn[] = "vzwadmin";

struct EndReasonRow {
  uint32_t reason;
  uint32_t type;
};

constexpr EndReasonRow kEndReasons[] = {
    {1, 45},    {2, 14},    {3, 0},     {5, 14},    {10, 7},    {515, 0},   {1000, 9},
    {1002, 0},  {1003, 16}, {1004, 3},  {1005, 4},  {1006, 12}, {1007, 13}, {1008, 14},
    {1009, 16}, {1010, 17}, {1011, 43}, {1012, 1},  {1013, 5},  {1014, 21}, {1015, 8},
    {1016, 9},  {1017, 10}, {1018, 11}, {1019, 15}, {1020, 19}, {1021, 20}, {1022, 21},
    {1023, 22}, {1024, 23}, {1025, 24}, {1026, 35}, {1027, 36}, {1028, 37}, {1029, 38},
    {1030, 42}, {1031, 40}, {1032, 41}, {1033, 39}, {1034, 34}, {1036, 18},
};
constexpr uint32_t kUnlistedReason = 44;

// Waits for the indication that a start or stop expects: 2 s of absolute
// time, the wait repeated when a signal breaks it. False only for a
// time-out: any other failure of the wait counts as the indication.
bool wait_for_indication() {
  timespec deadline = clk::deadline_after_ms(CLOCK_REALTIME, kIndicationWaitMs);
  int rc;
  do {
    rc = sem_timedwait(&waits().session_sem, &deadline);
  } while (rc != 0 && errno == EINTR);
  return !(rc != 0 && errno == ETIMEDOUT);
}

// sem_init of the session semaphore for one wait: the semaphore lives for
// the process and is emptied here, so a late post from the QMI thread
// never meets a semaphore being made.
void reset_semaphore() {
  while (sem_trywait(&waits().session_sem) == 0) {
  }
}

// Seconds of the code's own time since `since`: the time scale shortens the
// modem's answers, so a host second is worth `scale` of them.
int64_t code_seconds_since(std::chrono::steady_clock::time_point since) {
  auto host = std::chrono::steady_clock::now() - since;
  auto us = std::chrono::duration_cast<std::chrono::microseconds>(host).count();
  return static_cast<int64_t>(us) * clk::scale() / 1000000;
}

void unmap_and_release(profile_ctx *ctx, int ipType, qmi_client_type client) {
  UnmapWdsClient(ctx, ipType);
  mdc_qmi_ReleaseWdsClient(client);
}

// BindMux: false when the port cannot be found or bound.
bool bind_mux(qmi_client_type client, const char *name, int &ep_type) {
  int epid = -1;
  int mux_id = 0;
  ep_type = 0;
  int rc = qmi_linux_get_conn_id_by_name_ex(name, &ep_type, &epid, &mux_id);
  if (rc < 0) return false;
  VORN_LOG(VORN_DBUG, "conn_id %d ep_type %d epid %d mux_id %d\n", rc, ep_type, epid, mux_id);
  if (mux_id < 1) return true;
  wds_bind_mux_data_port_req_msg_v01 req{};
  req.ep_id_valid = epid != -1 ? 1 : 0;
  req.ep_id.ep_type = static_cast<uint32_t>(ep_type);
  req.ep_id.iface_id = static_cast<uint32_t>(epid);
  req.mux_id_valid = 1;
  req.mux_id = static_cast<uint8_t>(mux_id);
  wds_bind_mux_data_port_resp_msg_v01 resp;
  return qmi::send_on<BindMuxDataPort>(client, req, resp).verdict == 0;
}

bool set_ip_family(qmi_client_type client, int ipVersion) {
  wds_set_client_ip_family_pref_req_msg_v01 req{};
  req.ip_preference = static_cast<uint32_t>(ipVersion);
  wds_set_client_ip_family_pref_resp_msg_v01 resp;
  if (qmi::send_on<SetClientIpFamilyPref>(client, req, resp).verdict == 0) return true;
  VORN_LOG(VORN_ERR, "Unable to set IP family to %0X\n", static_cast<unsigned>(ipVersion));
  return false;
}

// The network manager sets a link up once in the life of the process; the
// first start on the link gives it up to 6 s.
void wait_for_netmgr(uint32_t link) {
  if (link >= kNetmgrLinks) return;
  const uint8_t bit = static_cast<uint8_t>(1u << link);
  if ((waits().netmgr_waited.load() & bit) != 0) return;
  char path[64];
  std::snprintf(path, sizeof path, "/tmp/netmgr_link%d_ok", static_cast<int>(link));
  int found = -1;
  for (int i = 0; i < kNetmgrTries; ++i) {
    found = access(path, F_OK);
    if (found == 0) break;
    clk::sleep_us(kNetmgrGapUs);
  }
  waits().netmgr_waited.fetch_or(bit);
  VORN_LOG(VORN_DBUG, "wait for netmgrd done:%d,%d\n", static_cast<int>(link), found);
}

void store_failure(profile_ctx *ctx, int ipType, int ipVersion,
                   const wds_start_network_interface_resp_msg_v01 &resp) {
  std::lock_guard<std::mutex> lock(context_mutex());
  call_state &call = ctx->call[ipType];
  if (resp.call_end_reason_valid) {
    call.failureCode = resp.call_end_reason;
    call.failureType = MapCallEndReason(resp.call_end_reason);
    VORN_LOG(VORN_ERR, "Data connection failure Call End provided %d, Code %d\n",
             static_cast<int>(call.failureType), static_cast<int>(call.failureCode));
  }
  if (resp.verbose_call_end_reason_valid) {
    call.verboseType = resp.verbose_call_end_reason.call_end_reason_type;
    call.verboseCode = resp.verbose_call_end_reason.call_end_reason;
    VORN_LOG(VORN_ERR, "Data connection failure Verbose Call End provided Type %d, Verbose %d\n",
             static_cast<int>(call.verboseType), static_cast<int>(call.verboseCode));
    vorn_keylog_write_file(kKeylogData, kKeylogStartFailure, "IPTYPE:%d-(%d,%d)", ipVersion,
                           static_cast<int>(call.verboseType), static_cast<int>(call.verboseCode));
  }
}

void set_interface_name(profile_ctx *ctx, const char *name) {
  std::lock_guard<std::mutex> lock(context_mutex());
  vorn_string_memcpy(ctx->runtime.interfaceName, name, sizeof ctx->runtime.interfaceName);
}

void end_wait() { waits().start_wait.store(false); }

}  // namespace

SessionWaits &waits() {
  static SessionWaits *instance = [] {
    auto *w = new SessionWaits;
    sem_init(&w->session_sem, 0, 0);
    return w;
  }();
  return *instance;
}

uint32_t MapCallEndReason(uint32_t reason) {
  for (const EndReasonRow &row : kEndReasons)
    if (row.reason == reason) return row.type;
  return kUnlistedReason;
}

int StartSession(uint32_t cid, int ipVersion, uint32_t &callRef) {
  const int ipType = ipVersion == 4 ? 0 : 1;
  VORN_LOG(VORN_DBUG, "enter function StartSession\n");
  profile_ctx *ctx = GetProfileCtx(cid);
  bool kept = false;
  {
    std::lock_guard<std::mutex> lock(wds_client_mutex);
    kept = ctx->clientInfoPtr[ipType] != nullptr;
  }
  qmi_client_type client = GetWdsClient(cid, ipType, true, true);
  if (client == nullptr) return VORN_QMI_FAILURE;
  // A client kept mapped after the last session (the modem said "no
  // effect", or the network ended the call) still holds that session's
  // reference: the session to come needs no second one.
  if (kept) mdc_qmi_ReleaseWdsClient(client);
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    call_state &call = ctx->call[ipVersion == 6 ? 1 : 0];
    call.failureType = kNoEndReason;
    call.failureCode = 0;
    call.verboseType = 0;
    call.verboseCode = 0;
  }
  char name[kInterfaceNameSize];
  FormInterfaceName(ctx, name);
  VORN_LOG(VORN_INFO, "rmnetString: %s\n", name);

  int ep_type = 0;
  if (!bind_mux(client, name, ep_type)) {
    unmap_and_release(ctx, ipType, client);
    return VORN_QMI_FAILURE;
  }
  VORN_LOG(VORN_INFO, "Start session profile %d IP %d wdsClient %p\n", cid, ipVersion,
           static_cast<void *>(client));
  if (!set_ip_family(client, ipVersion)) {
    unmap_and_release(ctx, ipType, client);
    return VORN_QMI_FAILURE;
  }

  wds_start_network_interface_req_msg_v01 req{};
  req.ip_family_preference_valid = 1;
  req.ip_family_preference = static_cast<uint32_t>(ipVersion);
  req.technology_preference_valid = 1;
  req.technology_preference = 1;
  req.profile_index_valid = 1;
  req.profile_index = static_cast<uint8_t>(cid);
  req.enable_autoconnect_valid = 1;
  req.enable_autoconnect = 0;
  if (ep_type == DATA_EP_TYPE_BAM_DMUX_V01) {
    req.call_type_valid = 1;
    req.call_type = WDS_CALL_TYPE_EMBEDDED_CALL_V01;
  }

  waits().start_connected.store(false);
  waits().start_wait.store(true);
  uint32_t link = 0;
  if (std::sscanf(name, "rmnet_data%u", &link) == 1) wait_for_netmgr(link);

  VORN_LOG(VORN_INFO, "Starting session for IPv%d profileIndex[%u]\n", ipVersion, cid);
  reset_semaphore();
  const auto started = std::chrono::steady_clock::now();
  wds_start_network_interface_resp_msg_v01 resp;
  qmi::Sent sent = qmi::send_on<StartNetworkInterface>(client, req, resp);
  if (sent.verdict != 0 && code_seconds_since(started) < kFastFailureSeconds) {
    // The modem refused at once: it may still have been busy with the
    // previous call, so it gets one more try.
    clk::sleep_s(kRetryAfterSeconds);
    sent = qmi::send_on<StartNetworkInterface>(client, req, resp);
  }

  if (sent.verdict == 0) {
    if (!wait_for_indication()) {
      unmap_and_release(ctx, ipType, client);
      end_wait();
      return VORN_QMI_FAILURE;
    }
    set_interface_name(ctx, name);
    char apn[sizeof ctx->apn];
    {
      std::lock_guard<std::mutex> lock(context_mutex());
      std::memcpy(apn, ctx->apn, sizeof apn);
    }
    apn[sizeof apn - 1] = '\0';
    VORN_LOG(VORN_DBUG, "apn:%s apn1:%s\n", apn, kAdminApn);
    if (std::strncmp(apn, kAdminApn, std::size(kAdminApn) - 1) == 0)
      vorn::run("touch /tmp/ipa_not_cfg");
    callRef = resp.pkt_data_handle;
    end_wait();
    return VORN_OK;
  }

  if (waits().start_connected.exchange(false)) {
    VORN_LOG(VORN_INFO, "Started session for IPv%d profileIndex[%u]\n", ipVersion, cid);
    set_interface_name(ctx, name);
    end_wait();
    return VORN_OK;
  }
  if (resp.resp.result != QMI_RESULT_SUCCESS_V01 && resp.resp.error == kErrorNoEffect) {
    VORN_LOG(VORN_ERR, "Data connection failure reason not available\n");
    end_wait();
    return VORN_DATA_NO_EFFECT;
  }
  unmap_and_release(ctx, ipType, client);
  if (resp.resp.result == QMI_RESULT_FAILURE_V01 && resp.resp.error == kErrorCallFailed) {
    store_failure(ctx, ipType, ipVersion, resp);
  } else {
    VORN_LOG(VORN_ERR, "Data connection failure reason not available\n");
  }
  end_wait();
  return VORN_QMI_FAILURE;
}

int StopSession(uint32_t callRef, qmi_client_type client, int ipVersion) {
  VORN_LOG(VORN_DBUG, "Stopping session for IPv%d (callRef %X) wdsClient %p\n", ipVersion, callRef,
           static_cast<void *>(client));
  waits().stop_wait.store(true);
  reset_semaphore();
  wds_stop_network_interface_req_msg_v01 req{};
  req.pkt_data_handle = callRef;
  wds_stop_network_interface_resp_msg_v01 resp;
  int result = qmi::send_on<StopNetworkInterface>(client, req, resp).verdict == 0 ? VORN_OK
                                                                                   : VORN_FAILURE;
  if (result == VORN_OK && !wait_for_indication()) {
    VORN_LOG(VORN_ERR, "Semaphore timeout\n");
    waits().stop_wait.store(false);
    result = VORN_FAILURE;
  }
  int value = 0;
  sem_getvalue(&waits().session_sem, &value);
  VORN_LOG(VORN_DBUG, "sem = %d\n", value);
  return result;
}

}  // namespace vorn::data
