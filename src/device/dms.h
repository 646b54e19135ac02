// The device family's DMS client and its messages. Every DMS request of the
// family waits 5000 ms; the sizes are what the service's decoder expects, so
// a layout change breaks the build here, on the host as on the target.
#pragma once

#include <cstring>
#include <optional>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/qmi.h>
#include <vornpal/queue.h>

#include "qmi/request.h"

namespace vorn::device {

using qmi::NoRequest;

template <unsigned Id, class ReqT, class RespT>
struct DmsMessage {
  using Req = ReqT;
  using Resp = RespT;
  static constexpr unsigned id = Id;
  static constexpr unsigned timeout_ms = 5000;
};

template <class T>
constexpr size_t request_size() {
  if constexpr (std::is_same_v<T, NoRequest>) {
    return 0;
  } else {
    return sizeof(T);
  }
}

#define VORN_DMS_MESSAGE(tag, id, req, resp, req_size, resp_size)   \
  struct tag : DmsMessage<id, req, resp> {                          \
    static constexpr char name[] = #id;                             \
  };                                                                \
  static_assert(request_size<req>() == (req_size), #id ": request size"); \
  static_assert(sizeof(resp) == (resp_size), #id ": response size")

// clang-format off
VORN_DMS_MESSAGE(SetEventReport, QMI_DMS_SET_EVENT_REPORT_REQ_V01, dms_set_event_report_req_msg_v01, dms_set_event_report_resp_msg_v01, 21, 8);
VORN_DMS_MESSAGE(GetRevId, QMI_DMS_GET_DEVICE_REV_ID_REQ_V01, NoRequest, dms_get_device_rev_id_resp_msg_v01, 0, 540);
VORN_DMS_MESSAGE(GetMsisdn, QMI_DMS_GET_MSISDN_REQ_V01, NoRequest, dms_get_msisdn_resp_msg_v01, 0, 128);
VORN_DMS_MESSAGE(GetSerialNumbers, QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01, NoRequest, dms_get_device_serial_numbers_resp_msg_v01, 0, 368);
VORN_DMS_MESSAGE(GetOperatingMode, QMI_DMS_GET_OPERATING_MODE_REQ_V01, NoRequest, dms_get_operating_mode_resp_msg_v01, 0, 20);
VORN_DMS_MESSAGE(SetOperatingMode, QMI_DMS_SET_OPERATING_MODE_REQ_V01, dms_set_operating_mode_req_msg_v01, dms_set_operating_mode_resp_msg_v01, 16, 8);
VORN_DMS_MESSAGE(GetBandCapability, QMI_DMS_GET_BAND_CAPABILITY_REQ_V01, dms_get_band_capability_req_msg_v01, dms_get_band_capability_resp_msg_v01, 1, 1600);
VORN_DMS_MESSAGE(GetHwVersion, QMI_DMS_GET_HW_VERSION_REQ_V01, dms_get_hw_version_req_msg_v01, dms_get_hw_version_resp_msg_v01, 1, 76);
VORN_DMS_MESSAGE(SetFactorySerialNumber, QMI_DMS_SET_FACTORY_SERIAL_NUMBER_REQ_V01, dms_set_factory_serial_number_req_msg_v01, dms_set_factory_serial_number_resp_msg_v01, 40, 8);
// clang-format on
#undef VORN_DMS_MESSAGE

static_assert(sizeof(dms_event_report_ind_msg_v01) == 3824, "decoded DMS event report");

// Opens DMS (vorn_qmi_dms_init): the record, the service object, the client
// (waiting for the service without limit) and the operating-mode report.
// 0, or -1 with no record left behind.
int dms_init();
// Releases the client and the record (vorn_qmi_dms_exit).
void dms_exit();

// The registered client, opening DMS again first when there is none, so
// that a client that failed at init heals at the next query.
std::optional<qmi_client_type> dms_handle();

// One request on the family's client. The transport's code; the response
// is zeroed. QMI_CLIENT_INVALID_CLNT when DMS cannot be opened.
template <class Msg>
int send(typename Msg::Req &req, typename Msg::Resp &resp) {
  std::optional<qmi_client_type> handle = dms_handle();
  if (!handle) {
    std::memset(&resp, 0, sizeof resp);
    return QMI_CLIENT_INVALID_CLNT;
  }
  return qmi::send_sync(*handle, Msg::id, req, resp, Msg::timeout_ms);
}

template <class Msg>
int send(typename Msg::Resp &resp) {
  NoRequest none;
  return send<Msg>(none, resp);
}

// send, then vornQmi_CheckResponseCode under the message's name: 0 or -6.
template <class Msg>
int send_checked(typename Msg::Req &req, typename Msg::Resp &resp) {
  int rc = send<Msg>(req, resp);
  return vornQmi_CheckResponseCode(Msg::name, rc, resp.resp.result, resp.resp.error);
}

template <class Msg>
int send_checked(typename Msg::Resp &resp) {
  NoRequest none;
  return send_checked<Msg>(none, resp);
}

// The family's callbacks (vorn_device_pal_event_register).
list_type *event_list();
// The handlers of decoded DMS indications (vorn_qmi_dms_msg_register).
list_type *msg_handler_list();

}  // namespace vorn::device
