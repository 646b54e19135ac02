// The device family's DMS client (dms_qmi_info) and its request pattern.
// Every query reopens DMS first when there is no registered client, so that
// a client that failed at init heals at the next query, and then sends on
// whatever the reopening left.
#pragma once

#include "device/messages.h"
#include "qmi/service_client.h"

namespace vorn::device {

using qmi::Sent;

qmi::ServiceClient &dms();

template <class Msg>
Sent send(typename Msg::Req &req, typename Msg::Resp &resp) {
  return dms().send<Msg>(qmi::Guard::LazyStartNoSecondLook, req, resp);
}

template <class Msg>
Sent send(typename Msg::Resp &resp) {
  return dms().send<Msg>(qmi::Guard::LazyStartNoSecondLook, resp);
}

}  // namespace vorn::device
