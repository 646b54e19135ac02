// The one process-wide client of the vendor service (m2m_client) and the
// request pattern of the family: a guard, the typed request and response on
// the caller's stack, one send through the message table, one judgement.
#pragma once

#include "m2m/messages.h"
#include "qmi/service_client.h"

namespace vorn::m2m {

using qmi::Guard;
using qmi::Sent;
using qmi::send_on;

qmi::ServiceClient &client();

inline bool ready() { return client().ready(); }

// The handle to send on, or nullopt when the guard refuses.
inline std::optional<qmi_client_type> pass_guard(Guard guard) { return client().pass(guard); }

template <class Msg>
Sent send(Guard guard, typename Msg::Req &req, typename Msg::Resp &resp) {
  return client().send<Msg>(guard, req, resp);
}

template <class Msg>
Sent send(Guard guard, typename Msg::Resp &resp) {
  return client().send<Msg>(guard, resp);
}

// The identity restore at the end of every vorn_m2m_pal_init.
void restore_identity();

}  // namespace vorn::m2m

// The indication callback of the client; runs on the QMI library's thread.
extern "C" void vorn_qmi_m2m_ind_handler(qmi_client_type user_handle, unsigned int msg_id,
                                         void *ind_buf, unsigned int ind_buf_len,
                                         void *ind_cb_data);
