// The modem of a process that uses vornsimd: one connection to the daemon,
// with a reader thread that hands answers to the callers waiting for them
// (by transaction id), and a delivery thread that runs indications and
// asynchronous answers in the order they came, as the modem's delivery
// thread does in a process of its own. A callback may make requests of its
// own: the reader is never the thread that runs it. An answer reaches its
// caller only after what came before it was delivered (a report of a start
// before the start's answer), unless the caller is the delivery thread.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "backend.h"
#include "engine.h"
#include "remote.h"
#include "wire.h"

namespace vornsim {
namespace {

using wire::Frame;
using wire::Header;
using wire::Type;

// How much longer than the request's own time-out a caller waits for the
// daemon, whose modem enforces that time-out itself.
constexpr auto kDaemonGrace = std::chrono::seconds(5);

std::atomic<bool> g_stay_local{false};

const char *socket_path() {
  const char *path = std::getenv("VORNSIM_SOCKET");
  return path != nullptr && *path != '\0' && !g_stay_local ? path : nullptr;
}

// The indication the reader thread is delivering: qmi_client_message_decode
// in its callback gives the daemon's verdict on it.
struct Delivering {
  qmi_client_type handle;
  unsigned msg_id;
  int verdict;
};
thread_local const Delivering *t_delivering = nullptr;

struct AsyncCall {
  qmi_client_type handle;
  unsigned msg_id;
  void *resp;
  unsigned resp_len;
  qmi_client_recv_msg_async_cb cb;
  void *cb_data;
};

class Connection {
 public:
  explicit Connection(const std::string &path) : path_(path) {
    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    if (fd_ < 0 || path.size() >= sizeof addr.sun_path) {
      fail_connect();
      return;
    }
    std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    if (connect(fd_, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
      fail_connect();
      return;
    }
    delivery_ = std::thread([this] { deliver_loop(); });
    reader_ = std::thread([this] { read_loop(); });
    // The daemon first says which services are up: a caller's first
    // question must not find them all down.
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, kDaemonGrace, [this] { return have_mask_ || gone_; }))
      std::fprintf(stderr, "vornsim: the modem daemon at %s does not greet\n", path_.c_str());
  }

  ~Connection() {
    if (fd_ >= 0) shutdown(fd_, SHUT_RDWR);
    if (reader_.joinable()) reader_.join();
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    changed_.notify_all();
    if (delivery_.joinable()) delivery_.join();
    if (fd_ >= 0) close(fd_);
  }

  // Sends a frame and waits for its reply; false when the daemon is gone or
  // did not answer within `wait`.
  bool round_trip(Header h, const void *payload, size_t len, Frame &reply,
                  std::optional<Clock::duration> wait = std::nullopt,
                  const std::function<void(uint32_t txn)> &before_send = nullptr,
                  bool discard_deliveries = false) {
    auto pending = std::make_shared<Pending>();
    pending->from_delivery = on_delivery_thread();
    pending->discard_deliveries = discard_deliveries;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (gone_) return false;
      h.txn = next_txn_++;
      if (next_txn_ == 0) next_txn_ = 1;
      pending_[h.txn] = pending;
    }
    if (before_send) before_send(h.txn);
    if (!send(h, payload, len)) {
      forget(h.txn);
      return false;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    auto done = [&] { return pending->done || gone_; };
    if (wait) {
      changed_.wait_for(lock, *wait, done);
    } else {
      changed_.wait(lock, done);
    }
    pending_.erase(h.txn);  // an answer that comes later is dropped
    if (!pending->done) return false;
    // A delivery of the old modem that is running is waited for.
    if (discard_deliveries && !pending->from_delivery) changed_.wait(lock, [this] { return !delivering_ || gone_; });
    reply = std::move(pending->reply);
    return true;
  }

  bool send(const Header &h, const void *payload, size_t len) {
    std::lock_guard<std::mutex> lock(write_mutex_);
    return fd_ >= 0 && wire::write_frame(fd_, h, payload, len);
  }

  void expect_async(uint32_t txn, const AsyncCall &call) {
    std::lock_guard<std::mutex> lock(mutex_);
    async_[txn] = call;
  }

  void forget_async(uint32_t txn) {
    std::lock_guard<std::mutex> lock(mutex_);
    async_.erase(txn);
  }

  void add_handle(qmi_client_type handle) {
    std::lock_guard<std::mutex> lock(mutex_);
    handles_[handle->remote_id] = handle;
    if (handle->notifier && (up_mask_ >> static_cast<int>(handle->svc) & 1u))
      __atomic_store_n(&handle->os_params->sig_set, 1u, __ATOMIC_SEQ_CST);
  }
  // False when the handle is not one of this process's.
  bool remove_handle(qmi_client_type handle) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = handles_.find(handle->remote_id);
    if (it == handles_.end() || it->second != handle) return false;
    handles_.erase(it);
    return true;
  }
  bool known(qmi_client_type handle) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = handles_.find(handle->remote_id);
    return it != handles_.end() && it->second == handle;
  }

  bool service_up(Svc svc) {
    std::lock_guard<std::mutex> lock(mutex_);
    return up_mask_ >> static_cast<int>(svc) & 1u;
  }

  void signal_wait(qmi_client_os_params *os, unsigned timeout_ms) {
    std::unique_lock<std::mutex> lock(mutex_);
    auto signalled = [&] { return __atomic_load_n(&os->sig_set, __ATOMIC_SEQ_CST) != 0; };
    if (timeout_ms == 0) {
      changed_.wait(lock, signalled);
    } else if (!changed_.wait_for(lock, scaled_ms(timeout_ms), signalled)) {
      os->timed_out = 1;
    }
  }

  bool on_delivery_thread() const { return std::this_thread::get_id() == delivery_id_.load(); }

  // Waits until what the daemon sent so far was delivered.
  void drain_local() {
    if (on_delivery_thread()) return;
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return (tasks_.empty() && !delivering_) || gone_; });
  }
  const std::string &path() const { return path_; }

 private:
  struct Pending {
    bool done = false;
    bool from_delivery = false;
    bool discard_deliveries = false;
    Frame reply;
  };

  void fail_connect() {
    std::fprintf(stderr, "vornsim: cannot reach the modem daemon at %s: %s\n", path_.c_str(),
                 std::strerror(errno));
    gone_ = true;
  }

  void forget(uint32_t txn) {
    std::lock_guard<std::mutex> lock(mutex_);
    pending_.erase(txn);
  }

  void deliver_loop() {
    delivery_id_ = std::this_thread::get_id();
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
      if (tasks_.empty()) return;
      Task task = std::move(tasks_.front());
      tasks_.pop_front();
      delivering_ = true;
      lock.unlock();
      task.run();
      lock.lock();
      delivering_ = false;
      changed_.notify_all();
    }
  }

  void queue(std::function<void()> task) {
    std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back({std::move(task), true});
    changed_.notify_all();
  }

  void read_loop() {
    Frame frame;
    std::string error;
    while (wire::read_frame(fd_, frame, error)) dispatch(frame);
    if (!error.empty()) std::fprintf(stderr, "vornsim: %s from the modem daemon\n", error.c_str());
    std::lock_guard<std::mutex> lock(mutex_);
    gone_ = true;
    changed_.notify_all();
  }

  void dispatch(Frame &frame) {
    switch (static_cast<Type>(frame.header.type)) {
      case Type::kReply:
        return answer(frame);
      case Type::kAsyncAnswer:
        return queue([this, f = std::move(frame)] { async_answer(f); });
      case Type::kIndication:
        return queue([this, f = std::move(frame)] { indication(f); });
      case Type::kServices:
        return services(frame.header.extra);
      default:
        std::fprintf(stderr, "vornsim: unexpected frame type %u from the modem daemon\n",
                     static_cast<unsigned>(frame.header.type));
    }
  }

  void answer(Frame &frame) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = pending_.find(frame.header.txn);
    if (it == pending_.end()) return;  // its caller gave up
    std::shared_ptr<Pending> pending = it->second;
    pending->reply = std::move(frame);
    if (pending->discard_deliveries) {
      // A fresh modem: what the old one sent and was not delivered is
      // dropped, as the modem of a process drops its queued work.
      tasks_.erase(std::remove_if(tasks_.begin(), tasks_.end(), [](const Task &t) { return t.delivery; }),
                   tasks_.end());
    }
    if (pending->from_delivery || pending->discard_deliveries || (tasks_.empty() && !delivering_)) {
      pending->done = true;
      changed_.notify_all();
      return;
    }
    // After the deliveries queued before it.
    tasks_.push_back({[this, pending] {
                        std::lock_guard<std::mutex> inner(mutex_);
                        pending->done = true;
                        changed_.notify_all();
                      },
                      false});
    changed_.notify_all();
  }

  void async_answer(const Frame &frame) {
    AsyncCall call{};
    {
      std::lock_guard<std::mutex> lock(mutex_);
      auto it = async_.find(frame.header.txn);
      if (it == async_.end()) return;
      call = it->second;
      async_.erase(it);
    }
    const int rc = frame.header.rc;
    if (rc == QMI_NO_ERR && call.resp != nullptr && call.resp_len != 0) {
      std::memset(call.resp, 0, call.resp_len);
      if (!frame.payload.empty())
        std::memcpy(call.resp, frame.payload.data(), std::min<size_t>(frame.payload.size(), call.resp_len));
    }
    if (call.cb != nullptr) call.cb(call.handle, call.msg_id, call.resp, call.resp_len, call.cb_data, rc);
  }

  void indication(const Frame &frame) {
    qmi_client_type handle = nullptr;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      auto it = handles_.find(frame.header.handle);
      if (it == handles_.end() || it->second->ind_cb == nullptr) return;  // released meanwhile
      handle = it->second;
    }
    Delivering delivering{handle, frame.header.msg_id, static_cast<int>(frame.header.extra)};
    t_delivering = &delivering;
    handle->ind_cb(handle, frame.header.msg_id, const_cast<uint8_t *>(frame.payload.data()),
                   static_cast<unsigned>(frame.payload.size()), handle->ind_cb_data);
    t_delivering = nullptr;
  }

  void services(uint32_t mask) {
    std::lock_guard<std::mutex> lock(mutex_);
    up_mask_ = mask;
    have_mask_ = true;
    for (const auto &entry : handles_) {
      qmi_client_type h = entry.second;
      if (h->notifier && h->os_params != nullptr && (mask >> static_cast<int>(h->svc) & 1u))
        __atomic_store_n(&h->os_params->sig_set, 1u, __ATOMIC_SEQ_CST);
    }
    changed_.notify_all();
  }

  std::string path_;
  int fd_ = -1;
  std::mutex write_mutex_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool gone_ = false;
  uint32_t next_txn_ = 1;
  std::map<uint32_t, std::shared_ptr<Pending>> pending_;
  std::map<uint32_t, AsyncCall> async_;
  std::map<uint32_t, qmi_client_type> handles_;
  uint32_t up_mask_ = 0;
  bool have_mask_ = false;
  struct Task {
    std::function<void()> run;
    bool delivery;  // an indication or asynchronous answer, not an answer's hand-over
  };
  std::deque<Task> tasks_;
  bool delivering_ = false;
  bool stopping_ = false;
  std::thread reader_;
  std::thread delivery_;
  std::atomic<std::thread::id> delivery_id_{};
};

Connection &connection() {
  static Connection instance(socket_path());
  return instance;
}

// A control call of the daemon's table, from the platform's side.
template <class R, class... A>
R control_call(R (*fn)(A...), const char *name, A... args) {
  return remote::call(fn, name, args...);
}

class RemoteBackend : public Backend {
 public:
  void xport_register(int xport_id) override {
    control_call(&note_xport, "note_xport", xport_id);
  }
  bool service_object(Svc svc, int32_t major, int32_t minor, int32_t tool) override {
    return control_call(&record_accessor, "record_accessor", svc, major, minor, tool);
  }
  bool service_up(Svc svc) override { return connection().service_up(svc); }

  qmi_client_error_type notifier_init(Svc svc, qmi_client_os_params *os,
                                      qmi_client_type *user_handle) override {
    std::memset(os, 0, sizeof *os);
    Header h = wire::header(Type::kInitNotifier);
    h.svc = static_cast<uint16_t>(svc);
    return make_client(h, svc, true, nullptr, nullptr, os, user_handle, std::nullopt);
  }

  void signal_wait(qmi_client_os_params *os, unsigned timeout_ms) override {
    control_call(&note_signal_wait, "note_signal_wait", timeout_ms);
    if (os != nullptr) connection().signal_wait(os, timeout_ms);
  }

  qmi_client_error_type init(Svc svc, bool wait, unsigned timeout_ms, qmi_client_ind_cb cb,
                             void *cb_data, qmi_client_os_params *os,
                             qmi_client_type *user_handle) override {
    Header h = wire::header(Type::kInitClient);
    h.svc = static_cast<uint16_t>(svc);
    h.rc = wait ? static_cast<int32_t>(timeout_ms) : -1;
    h.extra = cb != nullptr;
    return make_client(h, svc, false, cb, cb_data, os, user_handle, scaled_ms(timeout_ms) + kDaemonGrace);
  }

  qmi_client_error_type release(qmi_client_type handle) override {
    const bool ours = connection().remove_handle(handle);
    Header h = wire::header(Type::kRelease);
    // An unknown handle still reaches the daemon, which counts the failed release.
    h.handle = ours ? handle->remote_id : 0;
    Frame reply;
    if (!connection().round_trip(h, nullptr, 0, reply)) return QMI_CLIENT_TRANSPORT_ERR;
    if (ours) delete handle;
    return reply.header.rc;
  }

  qmi_client_error_type send_sync(qmi_client_type handle, unsigned msg_id, const void *req,
                                  unsigned req_len, void *resp, unsigned resp_len,
                                  unsigned timeout_ms) override {
    if (!connection().known(handle) || handle->notifier) return QMI_CLIENT_INVALID_CLNT;
    Header h = request_header(Type::kSync, handle, msg_id, resp_len);
    h.rc = static_cast<int32_t>(timeout_ms);
    Frame reply;
    if (!connection().round_trip(h, req, req != nullptr ? req_len : 0, reply,
                                 scaled_ms(timeout_ms) + kDaemonGrace))
      return QMI_TIMEOUT_ERR;
    if (reply.header.rc == QMI_NO_ERR && resp != nullptr && resp_len != 0) {
      std::memset(resp, 0, resp_len);
      if (!reply.payload.empty())
        std::memcpy(resp, reply.payload.data(), std::min<size_t>(reply.payload.size(), resp_len));
    }
    return reply.header.rc;
  }

  qmi_client_error_type send_async(qmi_client_type handle, unsigned msg_id, const void *req,
                                   unsigned req_len, void *resp, unsigned resp_len,
                                   qmi_client_recv_msg_async_cb cb, void *cb_data,
                                   qmi_txn_handle *txn) override {
    if (!connection().known(handle) || handle->notifier) return QMI_CLIENT_INVALID_CLNT;
    Header h = request_header(Type::kAsync, handle, msg_id, resp_len);
    Frame reply;
    // The answer comes under the request's transaction, and may come before
    // the acceptance is read: it is expected before the request goes.
    uint32_t number = 0;
    auto expect = [&](uint32_t txn_number) {
      number = txn_number;
      connection().expect_async(txn_number, AsyncCall{handle, msg_id, resp, resp_len, cb, cb_data});
    };
    if (!connection().round_trip(h, req, req != nullptr ? req_len : 0, reply, std::nullopt, expect)) {
      connection().forget_async(number);
      return QMI_CLIENT_TRANSPORT_ERR;
    }
    if (reply.header.rc != QMI_NO_ERR) {
      connection().forget_async(number);
    } else if (txn != nullptr) {
      *txn = reinterpret_cast<qmi_txn_handle>(static_cast<uintptr_t>(number));
    }
    return reply.header.rc;
  }

  qmi_client_error_type decode_check(qmi_client_type handle, int kind, unsigned msg_id,
                                     unsigned len) override {
    if (handle == nullptr || !connection().known(handle)) return QMI_CLIENT_INVALID_CLNT;
    if (kind != QMI_IDL_INDICATION && kind != QMI_IDL_RESPONSE && kind != QMI_IDL_REQUEST)
      return QMI_CLIENT_PARAM_ERR;
    (void)len;  // the daemon judged the length when it sent the indication
    const Delivering *d = t_delivering;
    if (kind == QMI_IDL_INDICATION && d != nullptr && d->handle == handle && d->msg_id == msg_id)
      return d->verdict;
    return QMI_NO_ERR;
  }

 private:
  static Header request_header(Type type, qmi_client_type handle, unsigned msg_id, unsigned resp_len) {
    Header h = wire::header(type);
    h.handle = handle->remote_id;
    h.svc = static_cast<uint16_t>(handle->svc);
    h.msg_id = msg_id;
    h.extra = resp_len;
    return h;
  }

  qmi_client_error_type make_client(const Header &h, Svc svc, bool notifier, qmi_client_ind_cb cb,
                                     void *cb_data, qmi_client_os_params *os,
                                     qmi_client_type *user_handle,
                                     std::optional<Clock::duration> wait) {
    Frame reply;
    if (!connection().round_trip(h, nullptr, 0, reply, wait)) return QMI_CLIENT_TRANSPORT_ERR;
    const int rc = reply.header.rc;
    if (reply.header.handle == 0) return rc;  // the daemon made no client
    auto *client = new qmi_client_struct{svc, notifier, !notifier && rc == QMI_NO_ERR, cb, cb_data, os};
    client->remote_id = reply.header.handle;
    connection().add_handle(client);
    *user_handle = client;
    return rc;
  }

};

}  // namespace

void note_xport(int xport_id) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.xports.push(xport_id);
}

void note_signal_wait(unsigned timeout_ms) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.signal_waits.push(timeout_ms);
}

Backend *remote_backend() {
  if (socket_path() == nullptr) return nullptr;
  static RemoteBackend instance;
  return &instance;
}

bool on_remote_delivery_thread() { return remote::active() && connection().on_delivery_thread(); }

void drain_remote_deliveries() {
  if (remote::active()) connection().drain_local();
}

namespace remote {

bool active() {
  static const bool remote = socket_path() != nullptr;
  return remote && !g_stay_local;
}

void stay_local() { g_stay_local = true; }

bool control(const codec::Bytes &call, codec::Bytes &result, bool fresh_modem) {
  Frame reply;
  if (!connection().round_trip(wire::header(Type::kControl), call.data(), call.size(), reply, std::nullopt,
                               nullptr, fresh_modem)) {
    std::fprintf(stderr, "vornsim: the modem daemon at %s does not answer\n", connection().path().c_str());
    return false;
  }
  if (reply.header.rc != 0) {
    std::fprintf(stderr, "vornsim: the modem daemon refused a control call: %.*s\n",
                 static_cast<int>(reply.payload.size()), reinterpret_cast<const char *>(reply.payload.data()));
    return false;
  }
  result = std::move(reply.payload);
  return true;
}

}  // namespace remote
}  // namespace vornsim
