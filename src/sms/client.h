// The family's one WMS client, its configuration words and the service
// caches that the indication callback keeps. The words are atomics read and
// written without ordering: the callback on the QMI thread may read a value
// the application is changing, which costs at most one acknowledgement.
#pragma once

#include <atomic>
#include <cstdint>

#include "qmi/service_client.h"
#include "sms/messages.h"

namespace vorn::sms {

using qmi::Guard;
using qmi::Sent;

qmi::ServiceClient &client();

// send<Msg>(req, resp), or send<Msg>(resp) for a message without request.
template <class Msg, class... Parts>
Sent send(Parts &...parts) {
  return client().send<Msg>(Guard::None, parts...);
}

constexpr uint32_t kActFlagUnset = 0xFFFFFFFFu;

struct Word {
  std::atomic<uint32_t> value;
  uint32_t get() const { return value.load(std::memory_order_relaxed); }
  void set(uint32_t v) { value.store(v, std::memory_order_relaxed); }
};

struct Config {
  Word storage_type{{2}};  // receive storage: 0 UIM, 1 NV, 2 AP
  Word act_flag_full{{kActFlagUnset}};
  Word is_send_ack{{0}};
  Word cnmi_mode{{0}};
  Word cnmi_mt{{0}};
  Word cnmi_ds{{0}};
  Word csms_service{{0}};
};
Config &config();

// What the modem last said about the SMS transport and readiness.
struct ServiceCache {
  Word registered_ind_valid{{0}};
  Word registered_ind{{0}};
  Word nw_reg_status_valid{{0}};
  Word nw_reg_status{{0}};
  Word ready_status_valid{{0}};
  Word ready_status{{0}};
};
ServiceCache &cache();

// Posts an event to the family's callbacks (data: a heap block or null).
void post(int event, void *data, size_t size);

// Heap block of an event payload; an exhausted heap ends the process.
void *event_block(size_t size, const char *file, int line);

// Reads the routes back and sets them again when the modem lost them.
void check_msg_storage();

// Indication handlers (indications.cpp), on the QMI library's thread.
void on_event_report(const wms_event_report_ind_msg_v01 &ind);
void on_memory_full(const wms_memory_full_ind_msg_v01 &ind);
void on_transport_layer(const wms_transport_layer_info_ind_msg_v01 &ind);
void on_transport_nw_reg(const wms_transport_nw_reg_info_ind_msg_v01 &ind);
void on_service_ready(const wms_service_ready_ind_msg_v01 &ind);

}  // namespace vorn::sms

// The indication callback of the WMS client.
extern "C" void vorn_sms_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                                    unsigned int ind_buf_len, void *ind_cb_data);
