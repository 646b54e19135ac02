// The voice family's three QMI clients, each one ServiceClient kept for the
// process: VOICE (USSD, with the family's callback list), IMSS (IMS
// settings) and IMSA (IMS registration). They are made by
// vorn_voice_pal_init, ten tries each, and never released.
#pragma once

#include <cstdint>
#include <cstring>

#include "qmi/service_client.h"
#include "voice/messages.h"

namespace vorn::voice {

using qmi::Guard;
using qmi::Sent;

qmi::ServiceClient &voice_client();
qmi::ServiceClient &imss_client();
qmi::ServiceClient &imsa_client();

// An enumerated field as the modem sent it, also a value that the
// enumeration does not name: reading one through the enumeration's type
// would be undefined.
template <class E>
uint32_t raw(const E &field) {
  static_assert(sizeof(E) == sizeof(uint32_t), "enumerations of the services are 32-bit");
  uint32_t value;
  std::memcpy(&value, &field, sizeof value);
  return value;
}

// A client handle as the family's log lines show it ("handle %d").
inline int handle_number(qmi_client_type handle) {
  return static_cast<int>(reinterpret_cast<intptr_t>(handle));
}

// "<name> failed, result: <rc>,<result>, error: <error>." at level 3, in
// the name of `caller`.
void log_failed_request(const char *caller, const char *name, const Sent &sent,
                        const qmi_response_type_v01 &resp);

// One request whose failure is logged as above; true when it succeeded.
// `name` is the message's own unless the caller's log has always named
// another.
template <class Msg>
bool request(qmi::ServiceClient &client, Guard guard, typename Msg::Req &req,
             typename Msg::Resp &resp, const char *name = Msg::name,
             const char *caller = __builtin_FUNCTION()) {
  Sent sent = client.send<Msg>(guard, req, resp);
  if (sent.verdict == 0) return true;
  log_failed_request(caller, name, sent, resp.resp);
  return false;
}

template <class Msg>
bool request(qmi::ServiceClient &client, Guard guard, typename Msg::Resp &resp,
             const char *caller = __builtin_FUNCTION()) {
  qmi::NoRequest none;
  return request<Msg>(client, guard, none, resp, Msg::name, caller);
}

// Binds a new IMS client to the active subscription; a failure is logged
// and leaves the client as it is.
void vorn_voice_pal_bind_subscription();
void vorn_voice_pal_imsa_bind_subscription();

// 1 when the NV item switches IMS off; a missing item counts as on.
int vorn_voice_pal_is_ims_disable();

}  // namespace vorn::voice

// The VOICE client's indication callback; runs on the QMI library's thread.
extern "C" void vorn_unsolicited_voice_ind(qmi_client_type user_handle, unsigned int msg_id,
                                           void *ind_buf, unsigned int ind_buf_len,
                                           void *ind_cb_data);

