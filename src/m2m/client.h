// The one process-wide client of the vendor service, and the request
// pattern of the family: guard, typed request and response on the caller's
// stack, one synchronous send, one judgement.
#pragma once

#include <cstring>
#include <optional>

#include <vornpal/event.h>
#include <vornpal/qmi.h>

#include "m2m/messages.h"

namespace vorn::m2m {

// What a function does when the client is not (yet) registered.
enum class Guard {
  LazyStart,              // start it; -1 when it still is not registered
  LazyStartNoSecondLook,  // start it, then send on whatever handle the start left
  FailAtOnce,             // -1, no start
  None,                   // send on whatever handle there is
};

// The handle of the registered client, or null.
qmi_client_type registered_handle();
bool ready();

// The handle to send on, or nullopt when the guard refuses.
std::optional<qmi_client_type> pass_guard(Guard guard);

// Result of a request: `verdict` by the message's judgement (-1 also when
// the guard refused and nothing was sent), `rc` the transport's code.
struct Sent {
  int verdict;
  int rc;
};

// One request on `handle`, judged as the message is.
template <class Msg>
Sent send_on(qmi_client_type handle, typename Msg::Req &req, typename Msg::Resp &resp) {
  int rc = qmi::send_sync(handle, Msg::id, req, resp, Msg::timeout_ms);
  int result = static_cast<int>(resp.resp.result);
  switch (Msg::judge) {
    case Judge::Check: {
      int checked = vornQmi_CheckResponseCode(Msg::name, rc, result, resp.resp.error);
      return {checked == 0 ? 0 : -1, rc};
    }
    case Judge::Transport:
      return {rc, rc};
    case Judge::TransportAndResult:
      return {rc != QMI_NO_ERR || result != 0 ? -1 : 0, rc};
  }
  return {-1, rc};
}

// The guard, then the request.
template <class Msg>
Sent send(Guard guard, typename Msg::Req &req, typename Msg::Resp &resp) {
  std::optional<qmi_client_type> handle = pass_guard(guard);
  if (!handle) {
    std::memset(&resp, 0, sizeof resp);
    return {-1, QMI_CLIENT_INVALID_CLNT};
  }
  return send_on<Msg>(*handle, req, resp);
}

// Messages without a request structure.
template <class Msg>
Sent send(Guard guard, typename Msg::Resp &resp) {
  static_assert(std::is_same_v<typename Msg::Req, NoRequest>, "this message has a request");
  NoRequest none;
  return send<Msg>(guard, none, resp);
}

// m2m_event_list, the family's callbacks: initialised by the first
// vorn_m2m_pal_init, cleaned by vorn_m2m_pal_deinit.
list_type *event_list();
void init_event_list();
void clean_event_list();
// The identity restore at the end of every vorn_m2m_pal_init.
void restore_identity();

}  // namespace vorn::m2m

// The indication callback of the client; runs on the QMI library's thread.
extern "C" void vorn_qmi_m2m_ind_handler(qmi_client_type user_handle, unsigned int msg_id,
                                         void *ind_buf, unsigned int ind_buf_len,
                                         void *ind_cb_data);
