// The simulated modem's engine: state, delivery thread, faults and the
// record of what reached the modem.
#include "engine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vornsim {
namespace {

// The answer of a message that has no handler.
constexpr uint32_t kInvalidCommand = 0x47;

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

// Takes one use of the message's fault, if any: the requests it lets
// through first, then the ones it hits.
Fault take_fault_locked(Modem &m, Svc svc, unsigned id) {
  auto it = m.faults.find(key(svc, id));
  if (it == m.faults.end()) return Fault{};
  if (it->second.after > 0) {
    --it->second.after;
    return Fault{};
  }
  Fault fault = it->second;
  if (it->second.count > 0 && --it->second.count == 0) m.faults.erase(it);
  return fault;
}

}  // namespace

Modem::~Modem() {
  {
    std::lock_guard<std::mutex> lock(mutex);
    stopping = true;
  }
  changed.notify_all();
  if (thread.joinable()) thread.join();
  for (auto &late : late_answers)
    if (late.joinable()) late.join();
}

Modem &modem() {
  static Modem instance;
  return instance;
}

uint32_t time_scale() {
  static const uint32_t divisor = [] {
    const char *text = std::getenv("VORNPAL_TIME_SCALE");
    unsigned long value = text != nullptr ? std::strtoul(text, nullptr, 10) : 1;
    return value >= 1 && value <= 1000000 ? static_cast<uint32_t>(value) : 1u;
  }();
  return divisor;
}

Clock::duration scaled_ms(uint64_t ms) { return std::chrono::microseconds(ms * 1000 / time_scale()); }

void schedule_locked(Modem &m, Clock::duration delay, bool delivery, std::function<void()> run) {
  if (!m.thread.joinable()) {
    m.thread = std::thread(delivery_loop);
    m.thread_id = m.thread.get_id();
  }
  if (delivery) ++m.deliveries_pending;
  m.tasks.push_back(Task{Clock::now() + delay, m.generation, delivery, std::move(run)});
  m.changed.notify_all();
}

void set_up_locked(Modem &m, Svc svc, bool up) {
  const bool changed = m.up[static_cast<int>(svc)] != up;
  m.up[static_cast<int>(svc)] = up;
  if (changed && m.services_changed) m.services_changed(up_mask_locked(m));
  if (!up) return;
  for (qmi_client_struct *client : m.clients)
    if (client->notifier && client->svc == svc && client->os_params != nullptr)
      __atomic_store_n(&client->os_params->sig_set, 1u, __ATOMIC_SEQ_CST);
  m.changed.notify_all();
}

std::vector<std::thread> clear_locked(Modem &m, std::unique_lock<std::mutex> &lock) {
  // Queued work of the old modem is dropped; a delivery already running is
  // waited for.
  ++m.generation;
  for (const Task &task : m.tasks) m.deliveries_pending -= task.delivery ? 1 : 0;
  m.tasks.clear();
  m.changed.wait(lock, [&] { return m.deliveries_pending == 0; });
  std::vector<std::thread> late;
  late.swap(m.late_answers);
  return late;
}

uint32_t up_mask_locked(const Modem &m) {
  uint32_t mask = 0;
  for (int i = 0; i < kServiceCount; ++i) mask |= m.up[i] ? 1u << i : 0u;
  return mask;
}

void count_failed_release() {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  ++m.releases_failed;
}

bool live_client_locked(Modem &m, qmi_client_type handle) {
  return handle != nullptr && m.clients.count(handle) != 0 && !handle->notifier;
}

qmi_client_struct *new_client_locked(Modem &m, Svc svc, bool notifier, bool connected,
                                     qmi_client_ind_cb cb, void *data, qmi_client_os_params *os) {
  auto *client = new qmi_client_struct{svc, notifier, connected, cb, data, os};
  m.clients.insert(client);
  return client;
}

void record_locked(Modem &m, const Request &req) {
  if (Request *slot = m.requests.next()) *slot = req;  // reuses the slot's storage
}

std::pair<Handler, Fault> take_answer_locked(Modem &m, const Request &req) {
  Fault fault = take_fault_locked(m, req.svc, req.msg_id);
  Handler handler;
  auto it = m.handlers.find(key(req.svc, req.msg_id));
  if (it != m.handlers.end()) handler = it->second;
  return {handler, fault};
}

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

bool record_accessor(Svc svc, int32_t major, int32_t minor, int32_t tool) {
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  char call[64];
  std::snprintf(call, sizeof call, "%s %d.%d.%d", name(svc), major, minor, tool);
  m.accessor_calls.push(call);
  return !m.object_missing[static_cast<int>(svc)];
}

}  // namespace vornsim
