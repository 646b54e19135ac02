// The control API of the simulated modem (sim/include/vornsim/sim.h): what
// tests and vornpalctl do to the modem, and what they read back from it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <array>
#include <cstring>
#include <memory>
#include <strings.h>

#include <vornsim/sim.h>

#include "engine.h"
#include "remote.h"
#include "service_module.h"

namespace vornsim {
namespace {

constexpr const char *kNames[kServiceCount] = {"WDS",  "NAS",  "WMS",  "UIM", "DMS",
                                               "VOICE", "IMSS", "IMSA", "M2M"};

std::vector<Module> &modules() {
  static std::vector<Module> list;
  return list;
}

}  // namespace

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

void register_module(const Module &module) { modules().push_back(module); }

void reset() {
  if (remote::active()) {
    // The diag sink is this process's own.
    remote::call(&reset, "reset");
    return reset_diag();
  }
  Modem &m = modem();
  std::vector<std::thread> late;
  {
    std::unique_lock<std::mutex> lock(m.mutex);
    late = clear_locked(m, lock);
  }
  for (auto &thread : late) thread.join();
  {
    std::lock_guard<std::mutex> lock(m.mutex);
    m.handlers.clear();
    m.faults.clear();
    m.decode_faults.clear();
    m.requests.set_capacity(kRequestRecordDefault);
    m.releases_failed = 0;
    m.signal_waits.clear();
    m.xports.clear();
    m.accessor_calls.clear();
    std::fill(std::begin(m.object_missing), std::end(m.object_missing), false);
    for (int i = 0; i < kServiceCount; ++i) set_up_locked(m, static_cast<Svc>(i), true);
  }
  reset_diag();
  for (const Module &module : modules())
    if (module.reset) module.reset();
}

void set_service_up(Svc svc, bool up) {
  VORNSIM_REMOTE(set_service_up, svc, up);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  set_up_locked(m, svc, up);
}

bool service_up(Svc svc) {
  VORNSIM_REMOTE(service_up, svc);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.up[static_cast<int>(svc)];
}

void service_up_after(Svc svc, unsigned ms) {
  VORNSIM_REMOTE(service_up_after, svc, ms);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  set_up_locked(m, svc, false);
  schedule_locked(m, scaled_ms(ms), false, [svc] { set_service_up(svc, true); });
}

void set_service_object_missing(Svc svc, bool missing) {
  VORNSIM_REMOTE(set_service_object_missing, svc, missing);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.object_missing[static_cast<int>(svc)] = missing;
}

void on(Svc svc, unsigned msg_id, Handler handler) {
  if (remote::active()) {
    // A handler is code of this process: it cannot run in the daemon.
    std::fprintf(stderr, "vornsim: handlers stay in-process; %s %u has none of this process's with VORNSIM_SOCKET set\n",
                 name(svc), msg_id);
    std::abort();
  }
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.handlers[key(svc, msg_id)] = std::move(handler);
}

void set_fault(Svc svc, unsigned msg_id, const Fault &fault) {
  VORNSIM_REMOTE(set_fault, svc, msg_id, fault);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.faults[key(svc, msg_id)] = fault;
}

namespace {
void set_fault_next(Svc svc, unsigned msg_id, Fault fault, int count) {
  fault.count = count;
  set_fault(svc, msg_id, fault);
}
}  // namespace

void refuse_next(Svc svc, unsigned msg_id, uint32_t error, int count) {
  Fault fault;
  fault.refuse = true;
  fault.error = error;
  set_fault_next(svc, msg_id, fault, count);
}

void fail_next(Svc svc, unsigned msg_id, int rc, int count) {
  Fault fault;
  fault.transport_rc = rc;
  set_fault_next(svc, msg_id, fault, count);
}

void delay_next(Svc svc, unsigned msg_id, unsigned ms, int count) {
  Fault fault;
  fault.delay_ms = ms;
  set_fault_next(svc, msg_id, fault, count);
}

void clear_faults() {
  VORNSIM_REMOTE(clear_faults);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.faults.clear();
  m.decode_faults.clear();
}

void set_decode_fault(Svc svc, unsigned msg_id, int rc) {
  VORNSIM_REMOTE(set_decode_fault, svc, msg_id, rc);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (rc == 0) {
    m.decode_faults.erase(key(svc, msg_id));
  } else {
    m.decode_faults[key(svc, msg_id)] = rc;
  }
}

std::vector<Request> requests() {
  if (remote::active()) return remote::call(static_cast<std::vector<Request> (*)()>(&requests), "requests");
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.requests.items();
}

std::vector<Request> requests(Svc svc, std::optional<unsigned> msg_id) {
  std::vector<Request> all = requests();
  std::vector<Request> matching;
  for (Request &req : all)
    if (req.svc == svc && (!msg_id || req.msg_id == *msg_id)) matching.push_back(std::move(req));
  return matching;
}

void clear_requests() {
  VORNSIM_REMOTE(clear_requests);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.requests.clear();
}

void set_request_record(size_t capacity) {
  VORNSIM_REMOTE(set_request_record, capacity);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.requests.set_capacity(capacity);
}

uint64_t requests_dropped() {
  VORNSIM_REMOTE(requests_dropped);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.requests.dropped();
}

void indicate(Svc svc, unsigned msg_id, const void *data, size_t len) {
  VORNSIM_REMOTE(indicate_bytes, svc, msg_id, Bytes(static_cast<const uint8_t *>(data), static_cast<const uint8_t *>(data) + len));
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

void indicate_to(const void *client, unsigned msg_id, const void *data, size_t len) {
  VORNSIM_REMOTE(indicate_to_bytes, client, msg_id, Bytes(static_cast<const uint8_t *>(data), static_cast<const uint8_t *>(data) + len));
  Modem &m = modem();
  auto bytes = std::make_shared<std::vector<uint8_t>>(
      static_cast<const uint8_t *>(data), static_cast<const uint8_t *>(data) + len);
  std::lock_guard<std::mutex> lock(m.mutex);
  schedule_locked(m, Clock::duration::zero(), true, [client, msg_id, bytes] {
    Modem &mm = modem();
    qmi_client_ind_cb cb = nullptr;
    void *cb_data = nullptr;
    auto *target = static_cast<qmi_client_struct *>(const_cast<void *>(client));
    {
      std::lock_guard<std::mutex> inner(mm.mutex);
      if (mm.clients.count(target) == 0 || !target->connected) return;  // released meanwhile
      cb = target->ind_cb;
      cb_data = target->ind_cb_data;
    }
    if (cb != nullptr) cb(target, msg_id, bytes->data(), static_cast<unsigned>(bytes->size()), cb_data);
  });
}

bool client_live(const void *client) {
  VORNSIM_REMOTE(client_live, client);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  auto *handle = static_cast<qmi_client_struct *>(const_cast<void *>(client));
  return live_client_locked(m, handle) && handle->connected;
}

void drain() {
  if (remote::active()) {
    remote::call(&drain, "drain");
    return drain_remote_deliveries();
  }
  Modem &m = modem();
  std::unique_lock<std::mutex> lock(m.mutex);
  m.changed.wait(lock, [&] { return m.deliveries_pending == 0; });
}

bool on_modem_thread() {
  return std::this_thread::get_id() == modem().thread_id || on_remote_delivery_thread();
}

void indicate_bytes(Svc svc, unsigned msg_id, Bytes bytes) { indicate(svc, msg_id, bytes.data(), bytes.size()); }

void indicate_to_bytes(const void *client, unsigned msg_id, Bytes bytes) {
  indicate_to(client, msg_id, bytes.data(), bytes.size());
}

Counters counters() {
  VORNSIM_REMOTE(counters);
  Modem &m = modem();
  std::lock_guard<std::mutex> lock(m.mutex);
  Counters c{};
  for (qmi_client_struct *client : m.clients) ++(client->notifier ? c.notifiers_live : c.clients_live);
  c.releases_failed = m.releases_failed;
  c.signal_waits = m.signal_waits.items();
  c.xports = m.xports.items();
  c.accessor_calls = m.accessor_calls.items();
  return c;
}

void save_state(const std::string &dir) {
  VORNSIM_REMOTE(save_state, dir);
  for (const Module &module : modules())
    if (module.save) module.save(dir);
}

void load_state(const std::string &dir) {
  VORNSIM_REMOTE(load_state, dir);
  for (const Module &module : modules())
    if (module.load) module.load(dir);
}

// Which services are up survives between processes that share one modem,
// in the modules' saved form.
namespace {

template <class Visit>
void service_values(std::array<uint32_t, kServiceCount> &up, Visit &&visit) {
  for (int i = 0; i < kServiceCount; ++i) visit(kNames[i], up[i]);
}

void save_services(const std::string &dir) {
  std::array<uint32_t, kServiceCount> up{};
  for (int i = 0; i < kServiceCount; ++i) up[i] = service_up(static_cast<Svc>(i)) ? 1 : 0;
  saved::save(dir + "/services", [&up](auto &&visit) { service_values(up, visit); });
}

void load_services(const std::string &dir) {
  std::array<uint32_t, kServiceCount> up{};
  for (int i = 0; i < kServiceCount; ++i) up[i] = service_up(static_cast<Svc>(i)) ? 1 : 0;
  saved::load(dir + "/services", [&up](auto &&visit) { service_values(up, visit); });
  for (int i = 0; i < kServiceCount; ++i) set_service_up(static_cast<Svc>(i), up[i] != 0);
}

const bool services_registered = [] {
  register_module({"services", nullptr, save_services, load_services});
  return true;
}();

}  // namespace

}  // namespace vornsim
