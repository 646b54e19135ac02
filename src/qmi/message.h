// The messages of a QMI service, described once, and the one typed send.
//
// A family lists the messages it uses in src/<family>/messages.h, one line
// each, in the namespace of the family:
//
//   VORN_QMI_MESSAGE(GetCfun, QMI_VORN_M2M_GET_CFUN_REQ_V01, NoRequest,
//                    vorn_m2m_get_cfun_resp_msg_v01, 0, 12, 3000, Check);
//   VORN_QMI_INDICATION(EventReportInd, QMI_VORN_M2M_EVENT_REPORT_IND_V01,
//                       vorn_m2m_event_report_ind_msg_v01, 168,
//                       "QMI_oem_M2M_EVENT_REPORT_IND_V01");
//
// A line gives the message's id and published name (the text of the id), its
// request and response structures with the sizes the service's decoder
// expects (asserted at compile time, so a layout that differs on the target
// breaks the armhf build), its time-out in milliseconds and how the outcome
// becomes the calling function's result (Judge). The library sends by it
// (ServiceClient::send<GetCfun>), the simulated modem answers by it
// (serve<GetCfun> in sim/src) and the tests name requests by it, so a request
// type cannot differ between the three.
//
// This header is shared with sim/ and tests/: it holds declarations and
// templates only.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

#include <vornpal/platform/qmi_client.h>
#include <vornpal/qmi.h>

namespace vorn::qmi {

// The request of a message that has none: NULL and length 0 on the wire.
struct NoRequest {};

// How the outcome of a request becomes the calling function's result.
enum class Judge {
  Check,               // vornQmi_CheckResponseCode under the message's name: 0, or -1
  Transport,           // -1 when the transport failed; a refusal counts as success
  TransportCode,       // the transport's code as it stands; a refusal counts as success
  TransportAndResult,  // -1 when the transport's code or `result` is non-zero, unlogged
};

// Bytes of a request as it goes on the wire: none for NoRequest.
template <class T>
constexpr size_t wire_size() {
  if constexpr (std::is_same_v<T, NoRequest>) {
    return 0;
  } else {
    return sizeof(T);
  }
}

template <unsigned Id, class ReqT, class RespT, unsigned TimeoutMs, Judge J>
struct Message {
  using Req = ReqT;
  using Resp = RespT;
  static constexpr unsigned id = Id;
  static constexpr unsigned timeout_ms = TimeoutMs;
  static constexpr Judge judge = J;
};

template <unsigned Id, class DecodedT>
struct Indication {
  using Decoded = DecodedT;
  static constexpr unsigned id = Id;
};

// `name` is the message's published name: the text of its id.
#define VORN_QMI_MESSAGE(tag, id, req, resp, req_size, resp_size, timeout, judgement)         \
  struct tag : ::vorn::qmi::Message<id, req, resp, timeout, ::vorn::qmi::Judge::judgement> { \
    static constexpr char name[] = #id;                                                      \
  };                                                                                         \
  static_assert(::vorn::qmi::wire_size<req>() == (req_size), #id ": request size");         \
  static_assert(sizeof(resp) == (resp_size), #id ": response size")

// `decode_name` is how a failed decoding names the indication in the log.
#define VORN_QMI_INDICATION(tag, id, decoded, decoded_size, decode_name) \
  struct tag : ::vorn::qmi::Indication<id, decoded> {                    \
    static constexpr char name[] = decode_name;                          \
  };                                                                     \
  static_assert(sizeof(decoded) == (decoded_size), #id ": decoded size")

// A request's outcome: `verdict` by the message's judgement (-1 also when
// the client's guard refused and nothing was sent), `rc` the transport's code.
struct Sent {
  int verdict;
  int rc;
};

// Judges an answered (or failed) request as its message says.
template <class Msg>
Sent judged(int rc, const typename Msg::Resp &resp) {
  const int result = static_cast<int>(resp.resp.result);
  switch (Msg::judge) {
    case Judge::Check: {
      int checked = vornQmi_CheckResponseCode(Msg::name, rc, result, resp.resp.error);
      return {checked == 0 ? 0 : -1, rc};
    }
    case Judge::Transport:
      return {rc == QMI_NO_ERR ? 0 : -1, rc};
    case Judge::TransportCode:
      return {rc, rc};
    case Judge::TransportAndResult:
      return {rc != QMI_NO_ERR || result != 0 ? -1 : 0, rc};
  }
  return {-1, rc};
}

// One synchronous request on `handle`, judged; the response is zeroed first.
// A null handle never reaches the platform: it fails as an unknown client.
template <class Msg>
Sent send_on(qmi_client_type handle, typename Msg::Req &req, typename Msg::Resp &resp) {
  using Req = typename Msg::Req;
  using Resp = typename Msg::Resp;
  static_assert(std::is_trivially_copyable_v<Resp>, "responses are plain structures");
  std::memset(&resp, 0, sizeof resp);
  int rc = QMI_CLIENT_INVALID_CLNT;
  if (handle != nullptr) {
    if constexpr (std::is_same_v<Req, NoRequest>) {
      rc = qmi_client_send_msg_sync(handle, Msg::id, nullptr, 0, &resp, sizeof resp,
                                    Msg::timeout_ms);
    } else {
      static_assert(std::is_trivially_copyable_v<Req>, "requests are plain structures");
      rc = qmi_client_send_msg_sync(handle, Msg::id, &req, sizeof req, &resp, sizeof resp,
                                    Msg::timeout_ms);
    }
  }
  return judged<Msg>(rc, resp);
}

// The outcome of a request that its guard kept from being sent.
template <class Msg>
Sent not_sent(typename Msg::Resp &resp) {
  std::memset(&resp, 0, sizeof resp);
  return {-1, QMI_CLIENT_INVALID_CLNT};
}

}  // namespace vorn::qmi
