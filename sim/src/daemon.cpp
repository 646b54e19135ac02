// vornsimd (sim/include/vornsim/daemon.h): the engine of this process
// serves the processes that connect to its socket. Per connection a reader
// thread takes the frames, a pool of workers runs them on the engine (a
// request may wait for its time-out, a control call for the modem to
// drain), and a writer thread sends the answers, indications and service
// changes from a queue, so that a process that stops reading holds up no
// one else. A connection keeps the clients it made; when it closes (the
// process ended, or was killed) they are released, and nothing else is.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cerrno>
#include <cstdarg>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include <vornsim/daemon.h>

#include "backend.h"
#include "daemon_ops.h"
#include "engine.h"
#include "remote.h"
#include "wire.h"

namespace vornsim {
namespace {

using wire::Frame;
using wire::Header;
using wire::Type;

// A process that sends requests and never reads their answers is closed
// once this much waits for it.
constexpr size_t kMaxQueuedBytes = 64u << 20;
// Workers beyond this wait for one to be free.
constexpr size_t kMaxWorkers = 64;

void log(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
void log(const char *fmt, ...) {
  char line[512];
  va_list args;
  va_start(args, fmt);
  std::vsnprintf(line, sizeof line, fmt, args);
  va_end(args);
  std::fprintf(stderr, "vornsimd: %s\n", line);
}

// Workers that run the frames; more are made while all are busy.
class Pool {
 public:
  void post(std::function<void()> job) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (stopping_) return;  // the daemon ends: what comes now is not run
    jobs_.push_back(std::move(job));
    if (idle_ == 0 && threads_.size() < kMaxWorkers) {
      threads_.emplace_back([this] { work(); });
    } else {
      wake_.notify_one();
    }
  }
  void stop() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    wake_.notify_all();
    for (auto &t : threads_) t.join();
    threads_.clear();
  }

 private:
  void work() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      ++idle_;
      wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
      --idle_;
      if (jobs_.empty()) return;  // stopping, nothing left
      auto job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      job();
      lock.lock();
    }
  }
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> jobs_;
  std::vector<std::thread> threads_;
  size_t idle_ = 0;
  bool stopping_ = false;
};

class Connection {
 public:
  Connection(int fd, unsigned number, size_t max_indications)
      : fd_(fd), number_(number), max_indications_(max_indications) {
    writer_ = std::thread([this] { write_loop(); });
  }
  ~Connection() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      closed_ = true;
    }
    wake_.notify_all();
    if (writer_.joinable()) writer_.join();
    close(fd_);
  }

  int fd() const { return fd_; }
  unsigned number() const { return number_; }

  // Queues a frame for the process. Indications beyond the bound are
  // dropped; other frames are what a caller waits for, and always go.
  void push(Frame frame, bool indication) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) return;
    if (indication && queued_indications_ >= max_indications_) {
      if (dropped_++ == 0 || dropped_ % 1000 == 0)
        log("connection %u does not read its indications: %llu dropped", number_,
            static_cast<unsigned long long>(dropped_));
      return;
    }
    queued_bytes_ += frame.payload.size() + sizeof(Header);
    if (queued_bytes_ > kMaxQueuedBytes) {
      log("connection %u does not read its answers: closed", number_);
      closed_ = true;
      shutdown(fd_, SHUT_RDWR);
      wake_.notify_all();
      return;
    }
    if (indication) ++queued_indications_;
    queue_.push_back({std::move(frame), indication});
    wake_.notify_all();
  }

  void reply(uint32_t txn, int rc, uint32_t handle = 0, const void *payload = nullptr, size_t len = 0) {
    Frame frame;
    frame.header = wire::header(Type::kReply, txn);
    frame.header.rc = rc;
    frame.header.handle = handle;
    if (len != 0) frame.payload.assign(static_cast<const uint8_t *>(payload),
                                       static_cast<const uint8_t *>(payload) + len);
    push(std::move(frame), false);
  }

  // The clients this connection made, by the number the process knows.
  struct Client {
    qmi_client_type handle;
    uintptr_t ref;
  };
  uint32_t next_number() {
    std::lock_guard<std::mutex> lock(mutex_);
    return next_client_++;
  }
  // False when the connection closed meanwhile: the caller releases.
  bool keep(uint32_t number, const Client &client) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) return false;
    clients_[number] = client;
    return true;
  }
  bool find(uint32_t number, Client &client) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = clients_.find(number);
    if (it == clients_.end()) return false;
    client = it->second;
    return true;
  }
  bool take(uint32_t number, Client &client) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = clients_.find(number);
    if (it == clients_.end()) return false;
    client = it->second;
    clients_.erase(it);
    return true;
  }
  // Gives the writer up to `limit` to send what is queued (the answer to a
  // stop, for one), then ends the connection.
  void flush_and_end(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    wake_.wait_for(lock, limit, [this] { return (queue_.empty() && !writing_) || closed_; });
    shutdown(fd_, SHUT_RDWR);
  }

  // Closes the queue and gives the clients left.
  std::map<uint32_t, Client> close_queue() {
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    wake_.notify_all();
    std::map<uint32_t, Client> left;
    left.swap(clients_);
    return left;
  }

 private:
  struct Queued {
    Frame frame;
    bool indication;
  };

  void write_loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      wake_.wait(lock, [this] { return closed_ || !queue_.empty(); });
      if (queue_.empty()) return;
      Queued next = std::move(queue_.front());
      queue_.pop_front();
      writing_ = true;
      lock.unlock();
      const bool sent = wire::write_frame(fd_, next.frame.header, next.frame.payload.data(),
                                          next.frame.payload.size());
      lock.lock();
      writing_ = false;
      queued_bytes_ -= next.frame.payload.size() + sizeof(Header);
      if (next.indication) --queued_indications_;
      wake_.notify_all();
      if (!sent) {
        closed_ = true;
        queue_.clear();
        shutdown(fd_, SHUT_RDWR);
        return;
      }
    }
  }

  int fd_;
  unsigned number_;
  size_t max_indications_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Queued> queue_;
  size_t queued_indications_ = 0;
  size_t queued_bytes_ = 0;
  unsigned long long dropped_ = 0;
  bool closed_ = false;
  bool writing_ = false;
  uint32_t next_client_ = 1;
  std::map<uint32_t, Client> clients_;
  std::thread writer_;
};

// What the engine's callbacks carry for a client of a connection: a number
// looked up here, so that a callback racing the client's release finds
// nothing rather than freed memory.
struct ClientRef {
  std::weak_ptr<Connection> connection;
  uint32_t number;
  qmi_client_os_params os{};
};

struct Refs {
  std::mutex mutex;
  std::map<uintptr_t, ClientRef> refs;
  uintptr_t next = 1;
};
Refs &refs() {
  static Refs instance;
  return instance;
}

uintptr_t new_ref(const std::shared_ptr<Connection> &connection, uint32_t number,
                  qmi_client_os_params **os) {
  Refs &r = refs();
  std::lock_guard<std::mutex> lock(r.mutex);
  uintptr_t key = r.next++;
  ClientRef &ref = r.refs[key];
  ref.connection = connection;
  ref.number = number;
  *os = &ref.os;
  return key;
}

void drop_ref(uintptr_t key) {
  Refs &r = refs();
  std::lock_guard<std::mutex> lock(r.mutex);
  r.refs.erase(key);
}

void forward_indication(qmi_client_type handle, unsigned msg_id, void *buf, unsigned len, void *data) {
  std::shared_ptr<Connection> connection;
  uint32_t number = 0;
  {
    Refs &r = refs();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = r.refs.find(reinterpret_cast<uintptr_t>(data));
    if (it == r.refs.end()) return;
    connection = it->second.connection.lock();
    number = it->second.number;
  }
  if (!connection) return;
  Frame frame;
  frame.header = wire::header(Type::kIndication);
  frame.header.handle = number;
  frame.header.svc = static_cast<uint16_t>(handle->svc);
  frame.header.msg_id = msg_id;
  frame.header.extra = static_cast<uint32_t>(decode_verdict(handle->svc, QMI_IDL_INDICATION, msg_id, len));
  frame.payload.assign(static_cast<const uint8_t *>(buf), static_cast<const uint8_t *>(buf) + len);
  connection->push(std::move(frame), true);
}

struct AsyncAnswer {
  std::weak_ptr<Connection> connection;
  uint32_t txn;
  wire::Bytes resp;
};

void forward_async_answer(qmi_client_type, unsigned msg_id, void *resp, unsigned len, void *data, int rc) {
  std::unique_ptr<AsyncAnswer> answer(static_cast<AsyncAnswer *>(data));
  auto connection = answer->connection.lock();
  if (!connection) return;
  Frame frame;
  frame.header = wire::header(Type::kAsyncAnswer, answer->txn);
  frame.header.msg_id = msg_id;
  frame.header.rc = rc;
  if (rc == QMI_NO_ERR) frame.payload.assign(static_cast<uint8_t *>(resp), static_cast<uint8_t *>(resp) + len);
  connection->push(std::move(frame), false);
}

Frame services_frame(uint32_t mask) {
  Frame frame;
  frame.header = wire::header(Type::kServices);
  frame.header.extra = mask;
  return frame;
}

class Daemon {
 public:
  explicit Daemon(const DaemonOptions &options) : options_(options) {}

  int run();

  // A stop from a signal handler or a client.
  void request_stop() {
    const char byte = 's';
    if (write(stop_pipe_[1], &byte, 1) < 0) {
      // The pipe is full: a stop is already on its way.
    }
  }
  int stop_pipe_write() const { return stop_pipe_[1]; }

 private:
  bool take_lock();
  bool listen_socket();
  void accept_one();
  void serve_connection(std::shared_ptr<Connection> connection);
  void run_frame(const std::shared_ptr<Connection> &connection, Frame &frame);
  void init_client(const std::shared_ptr<Connection> &connection, const Frame &frame);
  void release_client(const std::shared_ptr<Connection> &connection, const Frame &frame);
  void request(const std::shared_ptr<Connection> &connection, Frame &frame);
  void control(const std::shared_ptr<Connection> &connection, const Frame &frame);
  void add_daemon_calls();
  // Joins the reader threads of connections that closed.
  void join_finished_readers();
  void save();

  DaemonOptions options_;
  std::string socket_path_;
  int lock_fd_ = -1;
  int listen_fd_ = -1;
  int stop_pipe_[2] = {-1, -1};
  Pool pool_;
  std::mutex connections_mutex_;
  std::condition_variable connections_changed_;
  std::list<std::shared_ptr<Connection>> connections_;
  std::map<unsigned, std::thread> readers_;  // by connection number
  std::vector<unsigned> finished_;
  unsigned next_connection_ = 1;
  std::atomic<bool> dirty_{true};
  std::mutex command_mutex_;
};

Daemon *g_daemon = nullptr;

void on_stop_signal(int) {
  if (g_daemon != nullptr) {
    const char byte = 's';
    ssize_t ignored = write(g_daemon->stop_pipe_write(), &byte, 1);
    (void)ignored;
  }
}

bool Daemon::take_lock() {
  const std::string path = options_.dir + "/" + kDaemonLock;
  lock_fd_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (lock_fd_ < 0) {
    log("cannot open %s: %s", path.c_str(), std::strerror(errno));
    return false;
  }
  if (flock(lock_fd_, LOCK_EX | LOCK_NB) != 0) {
    char pid[32] = {};
    ssize_t n = pread(lock_fd_, pid, sizeof pid - 1, 0);
    pid[n > 0 ? n : 0] = '\0';
    log("another daemon serves %s (pid %s)", options_.dir.c_str(), n > 0 ? pid : "?");
    close(lock_fd_);
    lock_fd_ = -1;
    return false;
  }
  const std::string pid = std::to_string(getpid()) + "\n";
  if (ftruncate(lock_fd_, 0) != 0 || pwrite(lock_fd_, pid.data(), pid.size(), 0) < 0)
    log("cannot write the pid to %s", path.c_str());
  return true;
}

bool Daemon::listen_socket() {
  socket_path_ = options_.dir + "/" + kDaemonSocket;
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  if (socket_path_.size() >= sizeof addr.sun_path) {
    log("socket path too long: %s", socket_path_.c_str());
    return false;
  }
  std::memcpy(addr.sun_path, socket_path_.c_str(), socket_path_.size() + 1);
  // The lock is ours: a socket left there is a dead daemon's.
  unlink(socket_path_.c_str());
  listen_fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listen_fd_ < 0 || bind(listen_fd_, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 ||
      listen(listen_fd_, 64) != 0) {
    log("cannot listen on %s: %s", socket_path_.c_str(), std::strerror(errno));
    return false;
  }
  return true;
}

void Daemon::save() {
  if (!dirty_.exchange(false)) return;
  save_state(options_.dir);
}

void Daemon::add_daemon_calls() {
  daemon_ops::add("stop_daemon", [this](codec::Reader &in, codec::Writer &) {
    if (!in.complete()) return false;
    request_stop();
    return true;
  });
  daemon_ops::add("run_in_daemon", [this](codec::Reader &in, codec::Writer &out) {
    std::vector<std::string> words;
    bool json = false;
    in.get(words);
    in.get(json);
    if (!in.complete()) return false;
    CommandResult result;
    if (options_.run_command) {
      std::lock_guard<std::mutex> lock(command_mutex_);
      result = options_.run_command(words, json);
    } else {
      result.status = 2;
      result.err = "vornsimd: this daemon runs no modem commands\n";
    }
    out.put(result.status), out.put(result.out), out.put(result.err);
    return true;
  });
}

int Daemon::run() {
  if (pipe2(stop_pipe_, O_CLOEXEC | O_NONBLOCK) != 0) return 1;
  mkdir(options_.dir.c_str(), 0755);
  if (!take_lock()) return 1;
  if (!listen_socket()) return 1;

  reset();
  load_state(options_.dir);
  add_daemon_calls();
  {
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    m.services_changed = [this](uint32_t mask) {
      std::lock_guard<std::mutex> connections(connections_mutex_);
      for (auto &connection : connections_) connection->push(services_frame(mask), false);
    };
  }
  log("serving %s", socket_path_.c_str());

  for (;;) {
    pollfd fds[2] = {{listen_fd_, POLLIN, 0}, {stop_pipe_[0], POLLIN, 0}};
    int n = poll(fds, 2, static_cast<int>(options_.save_interval_ms));
    if (n < 0 && errno != EINTR) break;
    if (fds[1].revents != 0) break;
    if (fds[0].revents & POLLIN) accept_one();
    join_finished_readers();
    save();
  }

  log("stopping");
  close(listen_fd_);
  unlink(socket_path_.c_str());
  // The work taken is done and answered (the stop's own answer too), then
  // the connections end.
  pool_.stop();
  {
    std::unique_lock<std::mutex> lock(connections_mutex_);
    for (auto &connection : connections_) connection->flush_and_end(std::chrono::milliseconds(500));
    connections_changed_.wait(lock, [this] { return connections_.empty(); });
  }
  join_finished_readers();
  {
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    m.services_changed = nullptr;
  }
  drain();
  dirty_ = true;
  save();
  close(lock_fd_);
  return 0;
}

void Daemon::accept_one() {
  int fd = accept4(listen_fd_, nullptr, nullptr, SOCK_CLOEXEC);
  if (fd < 0) return;
  std::shared_ptr<Connection> connection;
  {
    // The first frame says which services are up, under the modem's lock
    // so that no change slips in before it.
    Modem &m = modem();
    std::lock_guard<std::mutex> modem_lock(m.mutex);
    std::lock_guard<std::mutex> lock(connections_mutex_);
    connection = std::make_shared<Connection>(fd, next_connection_++, options_.max_queued_indications);
    connection->push(services_frame(up_mask_locked(m)), false);
    connections_.push_back(connection);
  }
  std::lock_guard<std::mutex> lock(connections_mutex_);
  readers_[connection->number()] = std::thread([this, connection] { serve_connection(connection); });
}

void Daemon::join_finished_readers() {
  std::vector<std::thread> finished;
  {
    std::lock_guard<std::mutex> lock(connections_mutex_);
    for (unsigned number : finished_) {
      auto it = readers_.find(number);
      if (it == readers_.end()) continue;
      finished.push_back(std::move(it->second));
      readers_.erase(it);
    }
    finished_.clear();
  }
  for (auto &t : finished) t.join();
}

void Daemon::serve_connection(std::shared_ptr<Connection> connection) {
  Frame frame;
  std::string error;
  while (wire::read_frame(connection->fd(), frame, error)) {
    dirty_ = true;
    auto job = std::make_shared<Frame>(std::move(frame));
    pool_.post([this, connection, job] { run_frame(connection, *job); });
    frame = Frame{};
  }
  if (!error.empty()) log("connection %u: %s: closed", connection->number(), error.c_str());
  // The process is gone (or sent what cannot be read): its clients go with it.
  auto left = connection->close_queue();
  for (auto &[number, client] : left) {
    local_backend().release(client.handle);
    drop_ref(client.ref);
  }
  if (!left.empty()) log("connection %u closed: released %zu clients", connection->number(), left.size());
  shutdown(connection->fd(), SHUT_RDWR);
  std::lock_guard<std::mutex> lock(connections_mutex_);
  connections_.remove(connection);
  finished_.push_back(connection->number());
  connections_changed_.notify_all();
}

void Daemon::run_frame(const std::shared_ptr<Connection> &connection, Frame &frame) {
  switch (static_cast<Type>(frame.header.type)) {
    case Type::kInitClient:
    case Type::kInitNotifier:
      return init_client(connection, frame);
    case Type::kRelease:
      return release_client(connection, frame);
    case Type::kSync:
    case Type::kAsync:
      return request(connection, frame);
    case Type::kControl:
      return control(connection, frame);
    default:
      log("connection %u: frame type %u is not a client's", connection->number(), frame.header.type);
      connection->reply(frame.header.txn, QMI_CLIENT_PARAM_ERR);
  }
}

void Daemon::init_client(const std::shared_ptr<Connection> &connection, const Frame &frame) {
  const Header &h = frame.header;
  const auto svc = static_cast<Svc>(h.svc);
  const uint32_t number = connection->next_number();
  qmi_client_os_params *os = nullptr;
  const uintptr_t ref = new_ref(connection, number, &os);
  qmi_client_type handle = nullptr;
  int rc;
  if (static_cast<Type>(h.type) == Type::kInitNotifier) {
    rc = local_backend().notifier_init(svc, os, &handle);
  } else {
    const bool wait = h.rc >= 0;
    rc = local_backend().init(svc, wait, wait ? static_cast<unsigned>(h.rc) : 0,
                              h.extra != 0 ? forward_indication : nullptr, reinterpret_cast<void *>(ref),
                              os, &handle);
  }
  if (handle == nullptr) {
    drop_ref(ref);
    return connection->reply(h.txn, rc);
  }
  if (!connection->keep(number, {handle, ref})) {
    local_backend().release(handle);
    drop_ref(ref);
    return;
  }
  connection->reply(h.txn, rc, number);
}

void Daemon::release_client(const std::shared_ptr<Connection> &connection, const Frame &frame) {
  Connection::Client client{};
  if (!connection->take(frame.header.handle, client)) {
    count_failed_release();
    return connection->reply(frame.header.txn, QMI_CLIENT_INVALID_CLNT);
  }
  int rc = local_backend().release(client.handle);
  drop_ref(client.ref);
  connection->reply(frame.header.txn, rc);
}

void Daemon::request(const std::shared_ptr<Connection> &connection, Frame &frame) {
  const Header &h = frame.header;
  Connection::Client client{};
  if (!connection->find(h.handle, client)) return connection->reply(h.txn, QMI_CLIENT_INVALID_CLNT);
  if (h.extra > wire::kMaxPayload) {
    log("connection %u: answer of %u bytes asked for: refused", connection->number(), h.extra);
    return connection->reply(h.txn, QMI_CLIENT_PARAM_ERR);
  }
  const void *req = frame.payload.empty() ? nullptr : frame.payload.data();
  const auto req_len = static_cast<unsigned>(frame.payload.size());
  if (static_cast<Type>(h.type) == Type::kAsync) {
    auto *answer = new AsyncAnswer{connection, h.txn, wire::Bytes(h.extra)};
    int rc = local_backend().send_async(client.handle, h.msg_id, req, req_len, answer->resp.data(),
                                        h.extra, forward_async_answer, answer, nullptr);
    if (rc != QMI_NO_ERR) delete answer;
    return connection->reply(h.txn, rc);
  }
  wire::Bytes resp(h.extra);
  int rc = local_backend().send_sync(client.handle, h.msg_id, req, req_len, resp.data(), h.extra,
                                     static_cast<unsigned>(h.rc));
  if (rc != QMI_NO_ERR) resp.clear();
  connection->reply(h.txn, rc, 0, resp.data(), resp.size());
}

void Daemon::control(const std::shared_ptr<Connection> &connection, const Frame &frame) {
  codec::Reader in(frame.payload);
  codec::Writer out;
  std::string error;
  if (!daemon_ops::run(in, out, error)) {
    log("connection %u: %s", connection->number(), error.c_str());
    return connection->reply(frame.header.txn, -1, 0, error.data(), error.size());
  }
  connection->reply(frame.header.txn, 0, 0, out.bytes().data(), out.bytes().size());
}

}  // namespace

int serve(const DaemonOptions &options) {
  remote::stay_local();
  Daemon daemon(options);
  g_daemon = &daemon;
  struct sigaction action {};
  action.sa_handler = on_stop_signal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
  int rc = daemon.run();
  g_daemon = nullptr;
  return rc;
}

bool using_daemon() { return remote::active(); }

CommandResult run_in_daemon(const std::vector<std::string> &words, bool json) {
  CommandResult result;
  codec::Writer call;
  call.put(std::string("run_in_daemon")), call.put(words), call.put(json);
  codec::Bytes reply;
  if (!remote::control(call.bytes(), reply)) {
    result.status = 1;
    result.err = "vornsim: the modem daemon did not run the command\n";
    return result;
  }
  codec::Reader in(reply);
  in.get(result.status), in.get(result.out), in.get(result.err);
  if (!in.complete()) result.status = 1;
  return result;
}

void stop_daemon() {
  codec::Writer call;
  call.put(std::string("stop_daemon"));
  codec::Bytes reply;
  remote::control(call.bytes(), reply);
}

}  // namespace vornsim
