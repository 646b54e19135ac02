// The simulated modem: services, clients, synchronous and asynchronous
// requests, indications on a thread of the modem's own, and the diag sink.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include <vornpal/platform/diag.h>
#include <vornpal/platform/qmi_client.h>
#include <vornsim/sim.h>

#include "sim_internal.h"

struct qmi_idl_service_object {
  vornsim::Svc svc;
  uint32_t service_id;
};

struct qmi_client_struct {
  vornsim::Svc svc;
  bool notifier;
  bool connected;  // false for a handle left by a failed qmi_client_init_instance
  qmi_client_ind_cb ind_cb;
  void *ind_cb_data;
  qmi_client_os_params *os_params;
};

namespace vornsim {
namespace {

using Clock = std::chrono::steady_clock;
using Key = std::pair<int, unsigned>;

constexpr const char *kNames[kServiceCount] = {"WDS",  "NAS",  "WMS",  "UIM", "DMS",
                                               "VOICE", "IMSS", "IMSA", "M2M"};
constexpr uint32_t kInvalidCommand = 0x47;

qmi_idl_service_object g_objects[kServiceCount] = {
    {Svc::WDS, 0x01},  {Svc::NAS, 0x03},   {Svc::WMS, 0x05},  {Svc::UIM, 0x0B}, {Svc::DMS, 0x02},
    {Svc::VOICE, 0x09}, {Svc::IMSS, 0x12}, {Svc::IMSA, 0x21}, {Svc::M2M, 0xE6}};

Key key(Svc svc, unsigned id) { return {static_cast<int>(svc), id}; }

Clock::duration scaled_ms(uint64_t ms) { return std::chrono::microseconds(ms * 1000 / time_scale()); }

// One piece of work for the modem's delivery thread.
struct Task {
  Clock::time_point due;
  uint64_t generation;
  bool delivery;  // an indication or asynchronous answer (drain waits for these)
  std::function<void()> run;
};

struct Modem {
  std::mutex mutex;
  std::condition_variable changed;  // services, signals, tasks
  bool up[kServiceCount] = {true, true, true, true, true, true, true, true, true};
  bool object_missing[kServiceCount] = {};
  std::map<Key, Handler> handlers;
  std::map<Key, Fault> faults;
  std::map<Key, int> decode_faults;
  std::vector<Request> requests;
  std::set<qmi_client_struct *> clients;
  int releases_failed = 0;
  std::vector<unsigned> signal_waits;
  std::vector<int> xports;
  std::vector<std::string> accessor_calls;

  std::vector<DiagLine> diag;
  bool diag_echo = std::getenv("VORNSIM_DIAG_ECHO") != nullptr;
  bool diag_record = true;
  bool diag_init_ok = true;
  int diag_init_calls = 0;

  // Delivery thread.
  std::deque<Task> tasks;
  uint64_t generation = 0;
  int deliveries_pending = 0;
  bool stopping = false;
  std::thread thread;
  std::thread::id thread_id;
  std::vector<std::thread> late_answers;  // requests answered after their time-out

  ~Modem() {
    {
      std::lock_guard<std::mutex> lock(mutex);
      stopping = true;
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
    for (auto &late : late_answers)
      if (late.joinable()) late.join();
  }
};

Modem &modem() {
  static Modem instance;
  return instance;
}

std::vector<Module> &modules() {
  static std::vector<Module> list;
  return list;
}

void delivery_loop() {
  Modem &m = modem();
  std::unique_lock<std::mutex> lock(m.mutex);
  while (!m.stopping) {
    if (m.tasks.empty()) {
      m.changed.wait(lock);
      continue;
    }
    auto next = std::min_element(m.tasks.begin(), m.tasks.end(),
                                 [](const Task &a, const Task &b) { return a.due < b.due; });
    if (next->due > Clock::now()) {
      m.changed.wait_until(lock, next->due);
      continue;
    }
    Task task = std::move(*next);
    m.tasks.erase(next);
    if (task.generation == m.generation) {
      lock.unlock();
      task.run();
      lock.lock();
    }
    if (task.delivery) --m.deliveries_pending;
    m.changed.notify_all();
  }
}

// Queues work for the delivery thread; the caller holds the modem mutex.
void schedule_locked(Modem &m, Clock::duration delay, bool delivery, std::function<void()> run) {
  if (!m.thread.joinable()) {
    m.thread = std::thread(delivery_loop);
    m.thread_id = m.thread.get_id();
  }
  if (delivery) ++m.deliveries_pending;
  m.tasks.push_back(Task{Clock::now() + delay, m.generation, delivery, std::move(run)});
  m.changed.notify_all();
}

// Marks the service up or down; bringing it up signals its notifiers.
void set_up_locked(Modem &m, Svc svc, bool up) {
  m.up[static_cast<int>(svc)] = up;
  if (!up) return;
  for (qmi_client_struct *client : m.clients)
    if (client->notifier && client->svc == svc && client->os_params != nullptr)
      __atomic_store_n(&client->os_params->sig_set, 1u, __ATOMIC_SEQ_CST);
  m.changed.notify_all();
}

bool live_client_locked(Modem &m, qmi_client_type handle) {
  return handle != nullptr && m.clients.count(handle) != 0 && !handle->notifier;
}

// Takes one use of the message's fault, if any.
Fault take_fault_locked(Modem &m, Svc svc, unsigned id) {
  auto it = m.faults.find(key(svc, id));
  if (it == m.faults.end()) return Fault{};
  Fault fault = it->second;
  if (it->second.count > 0 && --it->second.count == 0) m.faults.erase(it);
  return fault;
}

// Runs the message's handler (or the fault's refusal) into resp.
int answer(const Handler &handler, const Fault &fault, const Request &req, void *resp,
           size_t resp_len) {
  if (resp != nullptr) std::memset(resp, 0, resp_len);
  if (fault.refuse) {
    refuse(resp, resp_len, fault.error);
    return QMI_NO_ERR;
  }
  if (!handler) {
    refuse(resp, resp_len, kInvalidCommand);
    return QMI_NO_ERR;
  }
  return handler(req, resp, resp_len);
}

qmi_client_struct *new_client_locked(Modem &m, Svc svc, bool notifier, bool connected,
                                     qmi_client_ind_cb cb, void *data,
                                     qmi_client_os_params *os) {
  auto *client = new qmi_client_struct{svc, notifier, connected, cb, data, os};
  m.clients.insert(client);
  return client;
}

}  // namespace

uint32_t time_scale() {
  static const uint32_t divisor = [] {
    const char *text = std::getenv("VORNPAL_TIME_SCALE");
    unsigned long value = text != nullptr ? std::strtoul(text, nullptr, 10) : 1;
    return value >= 1 && value <= 1000000 ? static_cast<uint32_t>(value) : 1u;
  }();
  return divisor;
}

const char *name(Svc svc) { return kNames[static_cast<int>(svc)]; }

std::optional<Svc> svc_from_name(const std::string &text) {
  for (int i = 0; i < kServiceCount; ++i)
    if (strcasecmp(text.c_str(), kNames[i]) == 0) return static_cast<Svc>(i);
  return std::nullopt;
}

void refuse(void *resp, size_t resp_len, uint32_t error) {
  if (resp == nullptr || resp_len < 8) return;
  uint32_t words[2] = {1, error};
  std::memcpy(resp, words, sizeof words);
}

ModuleRegistrar::ModuleRegistrar(const Module &module) { modules().push_back(module); }

void reset() {
  Modem &m = modem();
  std::vector<std::thread> late;
  {
    std::unique_lock<std::mutex> lock(m.mutex);
    // Queued work of the old modem is dropped; a delivery already running
    // is waited for.
    ++m.generation;
    for (const Task &task : m.tasks) m.deliveries_pending -= task.delivery ? 1 : 0;
    m.tasks.clear();
    m.changed.wait(lock, [&] { return m.deliveries_pending == 0; });
    late.swap(m.late_answers);
  }
  for (auto &thread : late) thread.join();
  {
    std::lock_guard<std::mutex> lock(m.mutex);
    m.handlers.clear();
    m.faults.clear();
    m.decode_faults.clear();
    m.requests.clear();
    m.releases_failed = 0;
    m.signal_waits.clear();
    m.xports.clear();
    m.accessor_calls.clear();
    m.diag.clear();
    m.diag_init_ok = true;
    m.diag_record = true;
    m.diag_init_calls = 0;
    std::fill(std::begin(m.object_missing), std::end(m.object_missing), false);
    for (int i = 0; i < kServiceCount; ++i) set_up_locked(m, static_cast<Svc>(i), true);
  }
  for (const Module &module : modules())
    if (module.reset != nullptr) module.reset();
}

void set_service_up(Svc svc, bool up) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  set_up_locked(m, svc, up);
}

bool service_up(Svc svc) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.up[static_cast<int>(svc)];
}

void service_up_after(Svc svc, unsigned ms) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  set_up_locked(m, svc, false);
  schedule_locked(m, scaled_ms(ms), false, [svc] { set_service_up(svc, true); });
}

void set_service_object_missing(Svc svc, bool missing) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.object_missing[static_cast<int>(svc)] = missing;
}

void on(Svc svc, unsigned msg_id, Handler handler) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.handlers[key(svc, msg_id)] = std::move(handler);
}

void set_fault(Svc svc, unsigned msg_id, const Fault &fault) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.faults[key(svc, msg_id)] = fault;
}

void clear_faults() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.faults.clear();
  m.decode_faults.clear();
}

void set_decode_fault(Svc svc, unsigned msg_id, int rc) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (rc == 0) {
    m.decode_faults.erase(key(svc, msg_id));
  } else {
    m.decode_faults[key(svc, msg_id)] = rc;
  }
}

std::vector<Request> requests() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.requests;
}

std::vector<Request> requests(Svc svc, std::optional<unsigned> msg_id) {
  std::vector<Request> all = requests();
  std::vector<Request> matching;
  for (Request &req : all)
    if (req.svc == svc && (!msg_id || req.msg_id == *msg_id)) matching.push_back(std::move(req));
  return matching;
}

void clear_requests() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.requests.clear();
}

void indicate(Svc svc, unsigned msg_id, const void *data, size_t len) {
  Modem &m = modem();
  auto bytes = std::make_shared<std::vector<uint8_t>>(
      static_cast<const uint8_t *>(data), static_cast<const uint8_t *>(data) + len);
  std::lock_guard<std::mutex> lock(m.mutex);
  schedule_locked(m, Clock::duration::zero(), true, [svc, msg_id, bytes] {
    Modem &mm = modem();
    std::vector<qmi_client_struct *> targets;
    {
      std::lock_guard<std::mutex> inner(mm.mutex);
      for (qmi_client_struct *client : mm.clients)
        if (client->svc == svc && client->connected && client->ind_cb != nullptr)
          targets.push_back(client);
    }
    for (qmi_client_struct *client : targets) {
      qmi_client_ind_cb cb;
      void *cb_data;
      {
        std::lock_guard<std::mutex> inner(mm.mutex);
        if (mm.clients.count(client) == 0) continue;  // released meanwhile
        cb = client->ind_cb;
        cb_data = client->ind_cb_data;
      }
      cb(client, msg_id, bytes->data(), static_cast<unsigned>(bytes->size()), cb_data);
    }
  });
}

void drain() {
  Modem &m = modem();
  std::unique_lock<std::mutex> lock(m.mutex);
  m.changed.wait(lock, [&] { return m.deliveries_pending == 0; });
}

bool on_modem_thread() { return std::this_thread::get_id() == modem().thread_id; }

Counters counters() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  Counters c{};
  for (qmi_client_struct *client : m.clients) ++(client->notifier ? c.notifiers_live : c.clients_live);
  c.releases_failed = m.releases_failed;
  c.signal_waits = m.signal_waits;
  c.xports = m.xports;
  c.accessor_calls = m.accessor_calls;
  return c;
}

std::vector<DiagLine> diag_lines() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.diag;
}

void clear_diag() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.diag.clear();
}

void set_diag_echo(bool echo) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.diag_echo = echo;
}

void set_diag_record(bool record) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.diag_record = record;
}

void set_diag_init_ok(bool ok) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.diag_init_ok = ok;
}

int diag_init_calls() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.diag_init_calls;
}

void save_state(const std::string &dir) {
  for (const Module &module : modules())
    if (module.save != nullptr) module.save(dir);
}

void load_state(const std::string &dir) {
  for (const Module &module : modules())
    if (module.load != nullptr) module.load(dir);
}

qmi_idl_service_object_type service_object(Svc svc, int32_t major, int32_t minor, int32_t tool) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  char call[64];
  std::snprintf(call, sizeof call, "%s %d.%d.%d", name(svc), major, minor, tool);
  m.accessor_calls.push_back(call);
  return m.object_missing[static_cast<int>(svc)] ? nullptr : &g_objects[static_cast<int>(svc)];
}

namespace {

// Which services are up survives between processes that share one modem.
void save_services(const std::string &dir) {
  FILE *f = std::fopen((dir + "/services").c_str(), "w");
  if (f == nullptr) return;
  for (int i = 0; i < kServiceCount; ++i)
    std::fprintf(f, "%s %d\n", kNames[i], service_up(static_cast<Svc>(i)) ? 1 : 0);
  std::fclose(f);
}

void load_services(const std::string &dir) {
  FILE *f = std::fopen((dir + "/services").c_str(), "r");
  if (f == nullptr) return;
  char svc_name[16];
  int up = 1;
  while (std::fscanf(f, "%15s %d", svc_name, &up) == 2)
    if (auto svc = svc_from_name(svc_name)) set_service_up(*svc, up != 0);
  std::fclose(f);
}

ModuleRegistrar services_module({"services", nullptr, save_services, load_services});

}  // namespace

}  // namespace vornsim

using namespace vornsim;

extern "C" {

__attribute__((visibility("default"))) void qmi_cci_qmux_xport_register(int xport_id) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.xports.push_back(xport_id);
}

__attribute__((visibility("default"))) int32_t qmi_idl_get_service_id(
    const qmi_idl_service_object_type service_object, uint32_t *service_id) {
  if (service_object == nullptr || service_id == nullptr) return QMI_CLIENT_PARAM_ERR;
  *service_id = service_object->service_id;
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_notifier_init(
    qmi_idl_service_object_type service_obj, qmi_client_os_params *os_params,
    qmi_client_type *user_handle) {
  if (service_obj == nullptr || os_params == nullptr || user_handle == nullptr)
    return QMI_CLIENT_PARAM_ERR;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  std::memset(os_params, 0, sizeof *os_params);
  *user_handle = new_client_locked(m, service_obj->svc, true, false, nullptr, nullptr, os_params);
  // A notifier of a service that is already up is signalled at once.
  if (m.up[static_cast<int>(service_obj->svc)])
    __atomic_store_n(&os_params->sig_set, 1u, __ATOMIC_SEQ_CST);
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_get_service_list(
    qmi_idl_service_object_type service_obj, qmi_service_info *service_info_array,
    unsigned int *num_entries, unsigned int *num_services) {
  if (service_obj == nullptr || num_services == nullptr) return QMI_CLIENT_PARAM_ERR;
  if (service_info_array != nullptr && num_entries == nullptr) return QMI_CLIENT_PARAM_ERR;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (!m.up[static_cast<int>(service_obj->svc)]) {
    *num_services = 0;
    if (num_entries != nullptr) *num_entries = 0;
    return QMI_SERVICE_ERR;
  }
  *num_services = 1;
  if (service_info_array != nullptr) {
    unsigned filled = *num_entries < 1 ? *num_entries : 1;
    for (unsigned i = 0; i < filled; ++i)
      service_info_array[i] = qmi_service_info{{service_obj->service_id, i, 0, 0}};
    *num_entries = filled;
  }
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) void qmi_cci_os_signal_wait(qmi_client_os_params *os_params,
                                                                   unsigned int timeout_ms) {
  Modem &m = modem();
  std::unique_lock<std::mutex> lock(m.mutex);
  m.signal_waits.push_back(timeout_ms);
  if (os_params == nullptr) return;
  auto signalled = [&] { return __atomic_load_n(&os_params->sig_set, __ATOMIC_SEQ_CST) != 0; };
  if (timeout_ms == 0) {
    m.changed.wait(lock, signalled);
  } else if (!m.changed.wait_for(lock, scaled_ms(timeout_ms), signalled)) {
    os_params->timed_out = 1;
  }
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_init(
    qmi_service_info *service_info, qmi_idl_service_object_type service_obj,
    qmi_client_ind_cb ind_cb, void *ind_cb_data, qmi_client_os_params *os_params,
    qmi_client_type *user_handle) {
  if (service_info == nullptr || service_obj == nullptr || user_handle == nullptr)
    return QMI_CLIENT_PARAM_ERR;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (!m.up[static_cast<int>(service_obj->svc)]) return QMI_SERVICE_ERR;
  *user_handle = new_client_locked(m, service_obj->svc, false, true, ind_cb, ind_cb_data, os_params);
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_init_instance(
    qmi_idl_service_object_type service_obj, unsigned int instance_id, qmi_client_ind_cb ind_cb,
    void *ind_cb_data, qmi_client_os_params *os_params, unsigned int timeout_ms,
    qmi_client_type *user_handle) {
  (void)instance_id;
  if (service_obj == nullptr || user_handle == nullptr) return QMI_CLIENT_PARAM_ERR;
  Modem &m = modem();
  std::unique_lock<std::mutex> lock(m.mutex);
  int index = static_cast<int>(service_obj->svc);
  bool up = m.changed.wait_for(lock, scaled_ms(timeout_ms), [&] { return m.up[index]; });
  // Like the platform's library, a failed connection still leaves a handle
  // that the caller has to release.
  *user_handle = new_client_locked(m, service_obj->svc, false, up, ind_cb, ind_cb_data, os_params);
  return up ? QMI_NO_ERR : QMI_TIMEOUT_ERR;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_release(
    qmi_client_type user_handle) {
  if (user_handle == nullptr) return QMI_CLIENT_PARAM_ERR;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (m.clients.erase(user_handle) == 0) {
    ++m.releases_failed;
    return QMI_CLIENT_INVALID_CLNT;
  }
  delete user_handle;
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_send_msg_sync(
    qmi_client_type user_handle, unsigned int msg_id, void *req_c_struct,
    unsigned int req_c_struct_len, void *resp_c_struct, unsigned int resp_c_struct_len,
    unsigned int timeout_msecs) {
  Modem &m = modem();
  Handler handler;
  Fault fault;
  Request req;
  {
    std::lock_guard<std::mutex> lock(m.mutex);
    if (!live_client_locked(m, user_handle)) return QMI_CLIENT_INVALID_CLNT;
    if (!user_handle->connected) return QMI_CLIENT_FW_NOT_UP;
    const auto *bytes = static_cast<const uint8_t *>(req_c_struct);
    req = Request{user_handle->svc, msg_id,
                  bytes != nullptr ? std::vector<uint8_t>(bytes, bytes + req_c_struct_len)
                                   : std::vector<uint8_t>{},
                  timeout_msecs, false};
    m.requests.push_back(req);
    if (!m.up[static_cast<int>(req.svc)]) return QMI_SERVICE_ERR;
    fault = take_fault_locked(m, req.svc, msg_id);
    auto it = m.handlers.find(key(req.svc, msg_id));
    if (it != m.handlers.end()) handler = it->second;
  }
  const auto timeout = scaled_ms(timeout_msecs);
  const auto delay = scaled_ms(fault.delay_ms);
  if (fault.delay_ms > 0 && delay >= timeout) {
    // The modem still acts on the request; its answer comes too late and is dropped.
    {
      std::lock_guard<std::mutex> lock(m.mutex);
      m.late_answers.emplace_back([handler, fault, req, delay, len = resp_c_struct_len] {
        std::this_thread::sleep_for(delay);
        std::vector<uint8_t> dropped(len);
        if (fault.transport_rc == 0) answer(handler, fault, req, dropped.data(), dropped.size());
      });
    }
    std::this_thread::sleep_for(timeout);
    return QMI_TIMEOUT_ERR;
  }
  if (fault.delay_ms > 0) std::this_thread::sleep_for(delay);
  if (fault.transport_rc != 0) return fault.transport_rc;

  // The handler answers into a buffer of its own: an answer later than the
  // caller's time-out is dropped.
  std::vector<uint8_t> answer_buf(resp_c_struct_len);
  auto started = Clock::now();
  int rc = answer(handler, fault, req, answer_buf.data(), answer_buf.size());
  if (Clock::now() - started > timeout) return QMI_TIMEOUT_ERR;
  if (rc == QMI_NO_ERR && resp_c_struct != nullptr)
    std::memcpy(resp_c_struct, answer_buf.data(), answer_buf.size());
  return rc;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_send_msg_async(
    qmi_client_type user_handle, unsigned int msg_id, void *req_c_struct,
    unsigned int req_c_struct_len, void *resp_c_struct, unsigned int resp_c_struct_len,
    qmi_client_recv_msg_async_cb resp_cb, void *resp_cb_data, qmi_txn_handle *txn_handle) {
  static std::atomic<uintptr_t> next_txn{1};
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (!live_client_locked(m, user_handle)) return QMI_CLIENT_INVALID_CLNT;
  if (!user_handle->connected) return QMI_CLIENT_FW_NOT_UP;
  const auto *bytes = static_cast<const uint8_t *>(req_c_struct);
  Request req{user_handle->svc, msg_id,
              bytes != nullptr ? std::vector<uint8_t>(bytes, bytes + req_c_struct_len)
                               : std::vector<uint8_t>{},
              0, true};
  m.requests.push_back(req);
  if (!m.up[static_cast<int>(req.svc)]) return QMI_SERVICE_ERR;
  Fault fault = take_fault_locked(m, req.svc, msg_id);
  Handler handler;
  auto it = m.handlers.find(key(req.svc, msg_id));
  if (it != m.handlers.end()) handler = it->second;
  if (txn_handle != nullptr)
    *txn_handle = reinterpret_cast<qmi_txn_handle>(next_txn.fetch_add(1));
  schedule_locked(m, scaled_ms(fault.delay_ms), true,
                  [=] {
                    int rc = fault.transport_rc;
                    if (rc == 0) rc = answer(handler, fault, req, resp_c_struct, resp_c_struct_len);
                    if (resp_cb != nullptr)
                      resp_cb(user_handle, msg_id, resp_c_struct, resp_c_struct_len, resp_cb_data, rc);
                  });
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) qmi_client_error_type qmi_client_message_decode(
    qmi_client_type user_handle, int req_resp_ind, unsigned int message_id, const void *msg_buf,
    unsigned int msg_buf_len, void *c_struct, unsigned int c_struct_len) {
  if (msg_buf == nullptr || c_struct == nullptr) return QMI_CLIENT_PARAM_ERR;
  Modem &m = modem();
  {
    std::lock_guard<std::mutex> lock(m.mutex);
    if (user_handle == nullptr || m.clients.count(user_handle) == 0) return QMI_CLIENT_INVALID_CLNT;
    if (req_resp_ind != QMI_IDL_INDICATION && req_resp_ind != QMI_IDL_RESPONSE &&
        req_resp_ind != QMI_IDL_REQUEST)
      return QMI_CLIENT_PARAM_ERR;
    auto fault = m.decode_faults.find(key(user_handle->svc, message_id));
    if (fault != m.decode_faults.end()) return fault->second;
  }
  std::memset(c_struct, 0, c_struct_len);
  std::memcpy(c_struct, msg_buf, std::min(msg_buf_len, c_struct_len));
  return QMI_NO_ERR;
}

__attribute__((visibility("default"))) int qmi_linux_get_conn_id_by_name_ex(const char *dev_id,
                                                                           int *ep_type, int *epid,
                                                                           int *mux_id) {
  int link = 0;
  if (dev_id == nullptr || ep_type == nullptr || epid == nullptr || mux_id == nullptr ||
      std::sscanf(dev_id, "rmnet_data%d", &link) != 1)
    return -1;
  *ep_type = 2;
  *epid = 1;
  *mux_id = link + 1;
  return 0;
}

__attribute__((visibility("default"))) int Diag_LSM_Init(uint8_t *pIEnv) {
  (void)pIEnv;
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  ++m.diag_init_calls;
  return m.diag_init_ok ? 1 : 0;
}

__attribute__((visibility("default"))) void msg_sprintf(const msg_const_type *const_blk, ...) {
  va_list args;
  va_start(args, const_blk);
  int pid = va_arg(args, int);
  const char *func = va_arg(args, const char *);
  const char *text = va_arg(args, const char *);
  va_end(args);
  DiagLine line{const_blk->desc.line, const_blk->desc.ss_id, const_blk->desc.ss_mask,
                const_blk->fmt != nullptr ? const_blk->fmt : "",
                const_blk->fname != nullptr ? const_blk->fname : "", pid,
                func != nullptr ? func : "", text != nullptr ? text : ""};
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (m.diag_echo)
    std::fprintf(stderr, "diag %s:%d %s(): %s", line.file.c_str(), line.line, line.func.c_str(),
                 line.text.c_str());
  if (m.diag_record) m.diag.push_back(std::move(line));
}

}  // extern "C"
