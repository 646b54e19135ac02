// The request pattern shared by the QMI families: a typed request and
// response on the caller's stack, one synchronous send, one classification.
#pragma once

#include <cstring>
#include <type_traits>

#include <vornpal/platform/qmi_client.h>
#include <vornpal/qmi.h>

namespace vorn::qmi {

// Marker for a message that has no request structure (NULL, length 0).
struct NoRequest {};

// Sends `req` and waits at most timeout_ms for `resp`; the response is zeroed
// first. Returns the transport's code.
template <class Req, class Resp>
int send_sync(qmi_client_type handle, unsigned msg_id, Req &req, Resp &resp,
              unsigned timeout_ms) {
  static_assert(std::is_trivially_copyable_v<Resp>, "responses are plain structures");
  std::memset(&resp, 0, sizeof resp);
  if constexpr (std::is_same_v<Req, NoRequest>) {
    return qmi_client_send_msg_sync(handle, msg_id, nullptr, 0, &resp, sizeof resp, timeout_ms);
  } else {
    static_assert(std::is_trivially_copyable_v<Req>, "requests are plain structures");
    return qmi_client_send_msg_sync(handle, msg_id, &req, sizeof req, &resp, sizeof resp,
                                    timeout_ms);
  }
}

// send_sync followed by vornQmi_CheckResponseCode under the message's name:
// 0 or -6. Every response starts with the `resp` pair.
template <class Req, class Resp>
int send_checked(const char *name, qmi_client_type handle, unsigned msg_id, Req &req,
                 Resp &resp, unsigned timeout_ms) {
  int rc = send_sync(handle, msg_id, req, resp, timeout_ms);
  return vornQmi_CheckResponseCode(name, rc, resp.resp.result, resp.resp.error);
}

}  // namespace vorn::qmi
