// The indication callback of every WDS client. It runs on the QMI library's
// thread: it updates the profile's call, wakes a start or stop that waits
// for this report, and hands a record to the event thread. Nothing here
// waits for the modem.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vornpal/keylog.h>
#include <vornpal/process.h>
#include <vornpal/system.h>

#include "data/event_word.h"
#include "data/state.h"
#include "foundation/log_site.h"

namespace vorn::data {
namespace {

constexpr int kKeylogData = 1;
constexpr int kKeylogCallState = 103;

int32_t new_state_of(uint32_t connection_status) {
  switch (connection_status) {
    case WDS_CONNECTION_STATUS_CONNECTED_V01:
      return kConConnected;
    case WDS_CONNECTION_STATUS_SUSPENDED_V01:
      return kConSuspended;
    case WDS_CONNECTION_STATUS_AUTHENTICATING_V01:
      return kConAuthenticating;
    default:
      return kConDisconnected;
  }
}

int32_t data_state_of(uint32_t connection_status) {
  switch (connection_status) {
    case WDS_CONNECTION_STATUS_CONNECTED_V01:
      return VORN_DATA_STATE_UP;
    case WDS_CONNECTION_STATUS_SUSPENDED_V01:
    case WDS_CONNECTION_STATUS_AUTHENTICATING_V01:
      return VORN_DATA_STATE_CHANGING;
    default:
      return VORN_DATA_STATE_DOWN;
  }
}

// The first character of a command's output is a count above 0.
bool counted(const char *command) {
  char out[16] = {};
  if (vorn_popen_call(command, out, sizeof out) != 0) return false;
  return out[0] != '\0' && out[0] != '0' && out[0] != '\n';
}

// A drop reported with no profile may be the default profile's call that a
// bridge (USB ECM or RNDIS) carries.
bool default_call_bridged() {
  return counted("brctl show | grep -c 'ecm0'") || counted("brctl show | grep -c 'rndis0'");
}

char yes_no(int32_t state) { return state == kConConnected ? 'Y' : 'N'; }

void log_connect_status(const profile_ctx &ctx) {
  switch (ctx.pdp_type) {
    case VORN_DATA_PDP_IPV4:
      VORN_LOG(VORN_INFO, "Connect status Ipv4 %c\n", yes_no(ctx.call[0].conState));
      break;
    case VORN_DATA_PDP_IPV6:
      VORN_LOG(VORN_INFO, "Connect status Ipv6 %c\n", yes_no(ctx.call[1].conState));
      break;
    default:
      VORN_LOG(VORN_INFO, "Connect status Ipv4 %c, Ipv6 %c\n", yes_no(ctx.call[0].conState),
               yes_no(ctx.call[1].conState));
      break;
  }
}

void wake(std::atomic<bool> &flag) {
  bool expected = true;
  if (flag.compare_exchange_strong(expected, false)) sem_post(&waits().session_sem);
}

// The call went down: steps 8 and 9.
void mark_down(profile_ctx *ctx, int ipType, const wds_pkt_srvc_status_ind_msg_v01 &ind) {
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    clear_call(ctx, ipType);
    ctx->disconnect_time = vorn_clk_GetRelativeTime();
    call_state &call = ctx->call[ipType];
    if (ind.call_end_reason_valid) {
      call.failureCode = ind.call_end_reason;
      call.failureType = MapCallEndReason(ind.call_end_reason);
    }
    if (ind.verbose_call_end_reason_valid) {
      call.verboseType = ind.verbose_call_end_reason.call_end_reason_type;
      call.verboseCode = ind.verbose_call_end_reason.call_end_reason;
    }
  }
  wake(waits().stop_wait);
}

data_status_event *decode_data_info(uint32_t profile, int ipType,
                                    const wds_pkt_srvc_status_ind_msg_v01 &ind,
                                    const call_state &call) {
  data_status_event *record =
      NewStatusRecord(profile, ipType, data_state_of(ind.status.connection_status), call);
  if (record == nullptr) return nullptr;
  VORN_LOG(VORN_DBUG, "src_data->status.connection_status=%i\n",
           static_cast<int>(ind.status.connection_status));
  VORN_LOG(VORN_DBUG, "src_data->status.reconfiguration_required=%i\n",
           static_cast<int>(ind.status.reconfiguration_required));
  VORN_LOG(VORN_DBUG, "src_data->call_end_reason=%i\n", static_cast<int>(ind.call_end_reason));
  VORN_LOG(VORN_DBUG, "src_data->ip_family=%i\n", static_cast<int>(ind.ip_family));
  VORN_LOG(VORN_DBUG, "src_data->tech_name=%i\n", static_cast<int>(ind.tech_name));
  VORN_LOG(VORN_DBUG, "src_data->verbose_call_end_reason.call_end_reason_type=%i\n",
           static_cast<int>(ind.verbose_call_end_reason.call_end_reason_type));
  VORN_LOG(VORN_DBUG, "src_data->verbose_call_end_reason.call_end_reason=%i\n",
           static_cast<int>(ind.verbose_call_end_reason.call_end_reason));
  VORN_LOG(VORN_INFO, "profileIndex = %d, ip_call_type = %d, data_state = %d.\n",
           record->profileIndex, record->ip_call_type, record->data_state);
  return record;
}

void keylog_state(int ipType, int32_t data_state) {
  const char *text = "";
  if (data_state == VORN_DATA_STATE_UP) text = ipType == 0 ? "IPV4_CONENCTED" : "IPV6_CONENCTED";
  if (data_state == VORN_DATA_STATE_DOWN)
    text = ipType == 0 ? "IPV4_DISCONENCTED" : "IPV6_DISCONENCTED";
  vorn_keylog_write_file(kKeylogData, kKeylogCallState, "%s", text);
}

void on_status(qmi_client_type handle, const void *buf, unsigned len, uint32_t profile) {
  wds_pkt_srvc_status_ind_msg_v01 ind;
  int rc = qmi_client_message_decode(handle, QMI_IDL_INDICATION, PktSrvcStatusInd::id, buf, len,
                                     &ind, sizeof ind);
  if (rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "Error in decoding QMI_WDS_PKT_SRVC_STATUS_IND_V01, rc=%i\n", rc);
    return;
  }
  const int32_t newState = new_state_of(ind.status.connection_status);
  VORN_LOG(VORN_INFO, "profile index: %d, newState:%d, ip_family:ipv%d\n", profile, newState,
           static_cast<int>(ind.ip_family));
  const int ipType = ind.ip_family_valid && ind.ip_family != WDS_IP_FAMILY_IPV4_V01 ? 1 : 0;
  if (ipType == 0) ind.ip_family = WDS_IP_FAMILY_IPV4_V01;
  VORN_LOG(VORN_INFO, "ipVersion:%d\n", static_cast<int>(ind.ip_family));

  if (profile == 0 && (newState != kConDisconnected || !default_call_bridged())) {
    VORN_LOG(VORN_INFO, "newState:%d\n", newState);
    return;
  }
  // Kept while this report is handled: deinit may run on another thread.
  PinnedCtx pinned(profile);
  profile_ctx *ctx = pinned.get();
  if (profile == 0) {
    int32_t state;
    {
      std::lock_guard<std::mutex> lock(context_mutex());
      state = ctx->call[ipType].conState;
    }
    if (state != kConConnected) {
      VORN_LOG(VORN_INFO, "Default profile state:%d\n", state);
      return;
    }
  } else {
    VORN_LOG(VORN_DBUG, "profileCtxPtr:%p\n", static_cast<void *>(ctx));
  }

  if (newState == kConConnected) {
    if (waits().start_wait.load()) {
      waits().start_connected.store(true);
      wake(waits().start_wait);
    }
    std::lock_guard<std::mutex> lock(context_mutex());
    ctx->connect_time = vorn_clk_GetRelativeTime();
    ctx->disconnect_time = vorn_clk_time{};
    ctx->call[ipType].conState = kConConnected;
    log_connect_status(*ctx);
  } else if (newState != kConDisconnected) {
    std::lock_guard<std::mutex> lock(context_mutex());
    ctx->call[ipType].conState = newState;
  } else {
    mark_down(ctx, ipType, ind);
  }

  call_state call;
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    call = ctx->call[ipType];
  }
  data_status_event *record = decode_data_info(ctx->profileIndex, ipType, ind, call);
  if (record == nullptr) return;
  const int32_t data_state = record->data_state;
  const uint32_t high = newState == kConConnected
                            ? (ipType == 0 ? EVENT_IPV4_CONNECTED : EVENT_IPV6_CONNECTED)
                            : (ipType == 0 ? EVENT_IPV4_DISCONNECTED : EVENT_IPV6_DISCONNECTED);
  WriteEventFd(record, high);
  keylog_state(ipType, data_state);
}

}  // namespace
}  // namespace vorn::data

extern "C" void vorn_data_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id,
                                     void *ind_buf, unsigned int ind_buf_len, void *) {
  namespace data = vorn::data;
  const uint32_t profile = data::ProfileOfHandle(user_handle);
  VORN_LOG(VORN_DBUG, "wdsClient: %p, profile index: %d, msg_id:%d\n",
           static_cast<void *>(user_handle), profile, msg_id);
  if (msg_id != data::PktSrvcStatusInd::id) {
    VORN_LOG(VORN_ERR, "It is not QMI_WDS_PKT_SRVC_STATUS_IND_V01 indication\n");
    return;
  }
  data::on_status(user_handle, ind_buf, ind_buf_len, profile);
}
