// The one client of a QMI service that a family keeps for the process.
//
// A family describes its client once, as a constant ClientSetup, and keeps one
// ServiceClient beside its message table (src/<family>/messages.h):
//
//   constexpr qmi::IndicationEntry kIndications[] = {
//       qmi::decoded<nas::ServingSystemInd, on_serving_system>(),
//   };
//   constexpr qmi::ClientSetup kSetup = {
//       qmi::Service::Nas, register_nas, vorn_network_qmi_ind_cb, nullptr,
//       kIndications, std::size(kIndications), {texts...}};
//   qmi::ServiceClient nas_client{kSetup};
//
// and its functions then read:
//
//   nas_resp_msg resp;
//   if (nas_client.send<nas::GetServingSystem>(Guard::LazyStart, req, resp).verdict != 0)
//     return -1;
//
// What the client does for the family:
// - start(): makes the client record, gets the service object, waits for the
//   service and connects (setup.register_client: vorn_qmi_register with the
//   family's limit, vorn_odm_qmi_register, ...), then runs setup.on_registered
//   (switching reports on). Concurrent starters wait for the one start in
//   progress; the record is published at once and read without a lock.
// - the guard of each request (Guard): start lazily, fail at once, or send on
//   whatever there is.
// - release(): the handle and the record.
// - indications: setup.indication_callback is the family's named C callback,
//   which hands everything to dispatch(); dispatch() decodes each known
//   message with qmi_client_message_decode into a zeroed heap block of its
//   decoded structure and calls the entry's handler (table IndicationEntry).
// - the family's callback list on the event registry (callbacks(), post()).
//
// The family's own init calls start() and leaves its start-up milestone
// (vorn::log::milestone, e.g. "device qmi inited OK") once the rest of its
// init is done; a lazy start leaves none.
//
// The log lines of start, release and dispatch carry the family's own names
// and texts (ClientTexts), so that each family's output stays its own.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <mutex>
#include <optional>

#include <vornpal/event.h>
#include <vornpal/qmi.h>

#include "qmi/frame.h"
#include "qmi/message.h"

namespace vorn::qmi {

// What a request does when the client is not (yet) registered.
enum class Guard {
  LazyStart,              // start it; -1 and nothing sent when it still is not registered
  LazyStartNoSecondLook,  // start it, then send on whatever handle the start left
  FailAtOnce,             // -1 and nothing sent, no start
  None,                   // send on whatever handle there is
};

// A log line of the client: nothing when `text` is null.
struct LogText {
  int level;
  const char *text;
};

struct ClientTexts {
  // The family's functions as the log lines of start, release and dispatch
  // show them.
  const char *start_name;
  const char *release_name;
  const char *indication_name;
  LogText already_started;
  const char *no_memory;           // the record cannot be allocated (level 3)
  const char *no_service_object;   // level 3
  LogText object_found;
  const char *register_failed;     // level 3; may be null
  LogText nothing_to_release;
  LogText indication_received;     // format with the message id and the length
  LogText indication_unknown;      // a message the table does not know
  LogText indication_empty;        // a known message without bytes; null: decoded as it is
};

// A decoded indication: a zeroed heap block of the decoded structure. A
// handler may take the block (release()) to hand it on, e.g. to an event
// post; otherwise it is freed after the handler.
class Decoded {
 public:
  Decoded(void *data, size_t size) : data_(data), size_(size) {}
  Decoded(const Decoded &) = delete;
  Decoded &operator=(const Decoded &) = delete;
  ~Decoded() { std::free(data_); }
  template <class T>
  const T &as() const {
    return *static_cast<const T *>(data_);
  }
  void *data() const { return data_; }
  size_t size() const { return size_; }
  void *release() {
    void *data = data_;
    data_ = nullptr;
    return data;
  }

 private:
  void *data_;
  size_t size_;
};

// One row of a family's indication table.
struct IndicationEntry {
  unsigned msg_id;
  size_t decoded_size;
  const char *decode_name;  // in "Error in decoding %s, error = %i\n"
  void (*handle)(Decoded &decoded);
  const char *announce;     // logged at level 1 before decoding; may be null
  // The family's own line for a failed decoding (it may take the error as
  // one %d), in place of the line above; "" for none; may be null.
  const char *decode_failed = nullptr;
  void (*on_decode_failure)() = nullptr;  // after the failure is logged; may be null
};

// A row whose handler reads the decoded structure of table entry Ind.
template <class Ind, void (*Fn)(const typename Ind::Decoded &)>
constexpr IndicationEntry decoded(const char *announce = nullptr,
                                  const char *decode_failed = nullptr) {
  return {Ind::id, sizeof(typename Ind::Decoded), Ind::name,
          [](Decoded &block) { Fn(block.as<typename Ind::Decoded>()); }, announce, decode_failed};
}

// A row whose handler takes the decoded block itself.
template <class Ind, void (*Fn)(Decoded &)>
constexpr IndicationEntry owned(const char *announce = nullptr,
                                const char *decode_failed = nullptr) {
  return {Ind::id, sizeof(typename Ind::Decoded), Ind::name, Fn, announce, decode_failed};
}

struct ClientSetup {
  Service service;
  // Waits for the service and connects client->handle; 0 on success.
  int (*register_client)(vorn_qmi_client *client);
  qmi_client_ind_cb indication_callback;
  // Runs once the client is registered, under the start's lock; may be null.
  void (*on_registered)();
  const IndicationEntry *indications;
  size_t indication_count;
  ClientTexts texts;
};

class ServiceClient {
 public:
  explicit constexpr ServiceClient(const ClientSetup &setup) : setup_(setup) {}
  ServiceClient(const ServiceClient &) = delete;
  ServiceClient &operator=(const ServiceClient &) = delete;

  // 0 when the client is registered on return, -1 otherwise (the record is
  // then gone again).
  int start();
  // Releases the handle and frees the record: 0, or -1 when there was none.
  int release();
  bool ready() const;
  // The registered client's handle, or null.
  qmi_client_type handle() const;
  // The handle a request may go out on, or nullopt when the guard refuses.
  std::optional<qmi_client_type> pass(Guard guard);

  // The guard, then one request judged as its message says.
  template <class Msg>
  Sent send(Guard guard, typename Msg::Req &req, typename Msg::Resp &resp) {
    std::optional<qmi_client_type> on = pass(guard);
    if (!on) return not_sent<Msg>(resp);
    return send_on<Msg>(*on, req, resp);
  }
  // Messages without a request structure.
  template <class Msg>
  Sent send(Guard guard, typename Msg::Resp &resp) {
    static_assert(std::is_same_v<typename Msg::Req, NoRequest>, "this message has a request");
    NoRequest none;
    return send<Msg>(guard, none, resp);
  }

  // The body of the family's indication callback; runs on the QMI
  // library's thread.
  void dispatch(qmi_client_type handle, unsigned msg_id, const void *buf, unsigned len) const;

  // The family's callbacks: usable while still zeroed, so registrations
  // made before the family's init are kept.
  list_type *callbacks() { return &callbacks_; }
  // Hands `data` (a heap block, or null with size 0) to every callback.
  void post(int event, void *data, size_t size) {
    vorn_pal_post_event(&callbacks_, event, data, static_cast<int>(size));
  }

 private:
  vorn_qmi_client *start_locked(int &result);

  const ClientSetup &setup_;
  std::atomic<vorn_qmi_client *> record_{nullptr};
  std::mutex start_mutex_;
  list_type callbacks_{};
};

}  // namespace vorn::qmi
