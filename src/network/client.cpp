// The NAS client of the family, its start-up, the callbacks and the event
// thread "event_network_rx".
//
// Indications arrive on the modem's QMI thread, which a synchronous request
// of the same client must not block. So the handlers only decode and cache;
// every event is queued for the event thread, which completes registration
// reports with operator names (a synchronous query) and runs the callbacks.
// A callback may therefore call back into the family, and a slow callback
// never holds up the QMI thread.
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <memory>
#include <vector>

#include <vornpal/device.h>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "network/state.h"
#include "qmi/frame.h"

extern "C" void vorn_network_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id,
                                        void *ind_buf, unsigned int ind_buf_len,
                                        void *ind_cb_data);

namespace vorn::network {
namespace {

constexpr int kInitAttempts = 10;
constexpr unsigned kInitTimeoutMs = 3000;
constexpr size_t kStackSize = 0x10000;
constexpr int kEpollEvents = 12;
constexpr int kWriteTries = 6;
// Longest wait of deinit for the event thread to leave: a callback that
// runs on may take no longer.
constexpr auto kLeaveWait = std::chrono::seconds(5);

// ---- the client --------------------------------------------------------------

int connect_once(vorn_qmi_client *record) {
  static constexpr qmi::InstanceAttemptTexts kTexts = {
      "vorn_network_pal_init", "Network service object(nas) not available.\n",
      "Failed to init Network qmi client, error code: %d.\n"};
  return qmi::try_init_instance(qmi::Service::Nas, vorn_network_qmi_ind_cb, nullptr,
                                kInitTimeoutMs, record->handle, kTexts);
}

// A failed decoding returns without a word, except for the band report and
// the scan, which fail the scan.
constexpr const char *kSilent = "";
constexpr const char *kDecodeFailed = "Error, decode indication message failed.\n";

constexpr qmi::IndicationEntry failing(qmi::IndicationEntry entry) {
  entry.decode_failed = kDecodeFailed;
  entry.on_decode_failure = mark_scan_failed;
  return entry;
}

constexpr qmi::IndicationEntry kIndications[] = {
    qmi::decoded<ServingSystemInd, on_serving_system>(nullptr, kSilent),
    qmi::decoded<SysInfoInd, on_sys_info>(nullptr, kSilent),
    qmi::decoded<SigInfoInd, on_sig_info>(nullptr, kSilent),
    failing(qmi::owned<RfBandInfoInd, on_rf_band_info>()),
    qmi::decoded<LteCphyCaInd, on_cphy_ca>(nullptr, kSilent),
    failing(qmi::decoded<IncrementalScanInd, on_scan>()),
};

constexpr qmi::ClientSetup kSetup = {
    qmi::Service::Nas, connect_once, vorn_network_qmi_ind_cb, nullptr,
    kIndications, std::size(kIndications),
    {
        "vorn_network_pal_init", "vorn_network_pal_deinit", "vorn_network_qmi_ind_cb",
        {VORN_INFO, nullptr},
        "Error, oem_MALLOC network qmi info failed.\n",
        "Network service object(nas) not available.\n",
        {VORN_INFO, nullptr},
        "Network qmi client register failed.\n",
        {VORN_INFO, nullptr},
        {VORN_DBUG, "Network ind msg_id=0x%x, len=%d\n"},
        {VORN_DBUG, "Network default\n"},
        {VORN_DBUG, nullptr},
    },
};

qmi::ServiceClient nas_client{kSetup};

// ---- callbacks ------------------------------------------------------------------

struct EventNode {
  vorn_network_event_cb callback;
  uint32_t user;
};

// oem_network_event_list and the notify mutex. Recursive, so that a
// callback may register another callback.
std::recursive_mutex notify_mutex;
std::vector<EventNode> event_list;

int push_callback(vorn_network_event_cb callback, uint32_t user) {
  std::lock_guard<std::recursive_mutex> lock(notify_mutex);
  try {
    event_list.push_back({callback, user});
  } catch (const std::bad_alloc &) {
    return 1;
  }
  return event_list.empty() ? VORN_FAILURE : VORN_OK;
}

// ---- the event thread --------------------------------------------------------------

struct Item {
  uint32_t event;
  void *payload;
  uint32_t length;
};

// One run of the event thread: its descriptors and queue. The thread closes
// the descriptors and frees the queue when it leaves, so deinit never closes
// a descriptor that the thread still waits on.
struct Worker {
  int epoll_fd = -1;
  int event_fd = -1;
  std::mutex mutex;
  std::deque<Item> queue;
  bool exit = false;
  bool left = false;  // the thread is past its last use of the family
  std::condition_variable gone;
  pthread_t thread{};

  ~Worker() {
    for (Item &item : queue) std::free(item.payload);
    if (event_fd >= 0) close(event_fd);
    if (epoll_fd >= 0) close(epoll_fd);
  }
};

std::mutex worker_mutex;
std::shared_ptr<Worker> current_worker;  // epollFd and eventQueueFd

// WriteEventFd: the word only wakes the thread; the records are queued.
void write_event_fd(int fd, uint64_t word) {
  for (int tries = 0; tries < kWriteTries;) {
    ssize_t written = write(fd, &word, sizeof word);
    if (written == static_cast<ssize_t>(sizeof word)) return;
    if (written < 0 && errno == EINTR) continue;
    ++tries;
  }
  VORN_LOG(VORN_ERR, "write failed with more than %d times.\n", kWriteTries - 1);
}

// The names of a registration report: the cached ones, or those the modem
// gives for the current network when none are cached yet.
void fill_names(vorn_network_net_record &record) {
  State &s = state();
  std::lock_guard<std::mutex> lock(s.name_mutex);
  uint8_t now = s.re_state.load();
  if (s.pre_state.load() == now) return;
  s.pre_state.store(now);
  Operator op = cached_operator();
  if (op.plmn == 0) {
    vorn_network_info info{};
    info.sys_info.valid = 1;
    info.ps_info.valid = 1;
    info.cs_info.valid = 1;
    vorn_network_pal_get_network_info(0, &info);
    std::memcpy(op.short_name, info.short_name, sizeof op.short_name);
    std::memcpy(op.long_name, info.long_name, sizeof op.long_name);
  }
  std::memcpy(record.short_name, op.short_name, sizeof record.short_name);
  std::memcpy(record.long_name, op.long_name, sizeof record.long_name);
}

void deliver(Item &item) {
  if (item.event == VORN_NETWORK_EVENT_NET_INFO && item.payload != nullptr)
    fill_names(*static_cast<vorn_network_net_record *>(item.payload));
  notify(item.event, item.payload, item.length);
}

// The queued items, or false when the thread is to leave.
bool take(Worker &worker, std::deque<Item> &items) {
  std::lock_guard<std::mutex> lock(worker.mutex);
  if (worker.exit) return false;
  items.swap(worker.queue);
  return true;
}

void event_loop(Worker &worker) {
  epoll_event events[kEpollEvents];
  for (;;) {
    if (worker.epoll_fd < 0) {
      VORN_LOG(VORN_ERR, "epollFd is closed\n");
      return;
    }
    int ready = epoll_wait(worker.epoll_fd, events, kEpollEvents, -1);
    if (ready == 0) {
      VORN_LOG(VORN_ERR, "epoll_wait() returned zero!\n");
      continue;
    }
    if (ready < 0) {
      if (errno != EINTR) VORN_LOG(VORN_ERR, "epoll_wait() failed with errno %d (%m).\n", errno);
      continue;
    }
    uint64_t word = 0;
    if (read(worker.event_fd, &word, sizeof word) < 0 && errno != EINTR && errno != EAGAIN) {
      VORN_LOG(VORN_ERR, "read() failed with errno %d (%m).\n", errno);
      return;
    }
    std::deque<Item> items;
    if (!take(worker, items)) {
      VORN_LOG(VORN_INFO, "exit network rx thread\n");
      return;
    }
    for (Item &item : items) deliver(item);
  }
}

void *event_network_rx(void *arg) {
  std::unique_ptr<std::shared_ptr<Worker>> owner(static_cast<std::shared_ptr<Worker> *>(arg));
  prctl(PR_SET_NAME, "event_network_rx", 0, 0, 0);
  VORN_LOG(VORN_INFO, "event_data_rx_process\n");
  Worker &worker = **owner;
  event_loop(worker);
  std::lock_guard<std::mutex> lock(worker.mutex);
  worker.left = true;
  worker.gone.notify_all();
  return nullptr;
}

// The descriptors and the detached thread; without them init still
// succeeds, and events are dropped.
void start_worker() {
  auto worker = std::make_shared<Worker>();
  worker->epoll_fd = epoll_create1(0);
  worker->event_fd = eventfd(0, 0);
  epoll_event wanted{};
  wanted.events = EPOLLIN;
  wanted.data.fd = worker->event_fd;
  if (worker->epoll_fd < 0 || worker->event_fd < 0 ||
      epoll_ctl(worker->epoll_fd, EPOLL_CTL_ADD, worker->event_fd, &wanted) != 0) {
    VORN_LOG(VORN_ERR, "Error, init epoll and eventfd.\n");
    return;
  }
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  if (pthread_attr_setstacksize(&attr, kStackSize) != 0) VORN_LOG(VORN_ERR, "set stack size failed\n");
  if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) != 0)
    VORN_LOG(VORN_ERR, "set setdetachstate failed\n");
  auto *owner = new std::shared_ptr<Worker>(worker);
  int rc = pthread_create(&worker->thread, &attr, event_network_rx, owner);
  pthread_attr_destroy(&attr);
  if (rc != 0) {
    delete owner;
    VORN_LOG(VORN_ERR, "Error, init thread.\n");
    return;
  }
  std::lock_guard<std::mutex> lock(worker_mutex);
  current_worker = std::move(worker);
}

void stop_worker() {
  std::shared_ptr<Worker> worker;
  {
    std::lock_guard<std::mutex> lock(worker_mutex);
    worker.swap(current_worker);
  }
  if (!worker) return;
  {
    std::lock_guard<std::mutex> lock(worker->mutex);
    worker->exit = true;
  }
  write_event_fd(worker->event_fd, 1);
  // The thread stays detached, but deinit returns only once it has left
  // (unless deinit runs on it, from a callback), so that nothing of the
  // family runs after a daemon's deinit.
  if (pthread_equal(worker->thread, pthread_self())) return;
  std::unique_lock<std::mutex> lock(worker->mutex);
  worker->gone.wait_for(lock, kLeaveWait, [&] { return worker->left; });
}

// ---- start-up ------------------------------------------------------------------

int switch_on_indications() {
  nas_indication_register_req_msg_v01 req{};
  req.req_serving_system_valid = 1;
  req.req_serving_system = 1;
  req.sys_info_valid = 1;
  req.sys_info = 1;
  req.sig_info_valid = 1;  // its value stays 0
  req.reg_rf_band_info_valid = 1;
  req.reg_rf_band_info = 1;
  req.reg_lte_cphy_ca_valid = 1;
  req.reg_lte_cphy_ca = 1;
  nas_indication_register_resp_msg_v01 resp;
  Sent sent = send<IndicationRegister>(req, resp);
  if (sent.verdict == 0) return VORN_OK;
  VORN_LOG(VORN_ERR, "QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01 register failed, result: %d, error: %d.\n",
           static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error));
  VORN_LOG(VORN_ERR, "Network qmi event register failed, error code: %d.\n", sent.rc);
  return VORN_FAILURE;
}

// Reports when a value moves by 1 dB, LTE reports every 5th period.
void configure_signal_reports() {
  constexpr uint16_t kDelta = 10;
  nas_config_sig_info2_req_msg_v01 req{};
  req.gsm_rssi_delta_valid = 1;
  req.gsm_rssi_delta = kDelta;
  req.wcdma_rssi_delta_valid = 1;
  req.wcdma_rssi_delta = kDelta;
  req.lte_rssi_delta_valid = 1;
  req.lte_rssi_delta = kDelta;
  req.lte_rsrp_delta_valid = 1;
  req.lte_rsrp_delta = kDelta;
  req.nr5g_rsrp_delta_valid = 1;
  req.nr5g_rsrp_delta = kDelta;
  req.lte_sig_rpt_config_valid = 1;
  req.lte_sig_rpt_config.rpt_rate = 5;
  nas_config_sig_info2_resp_msg_v01 resp;
  Sent sent = send<ConfigSigInfo2>(req, resp);
  if (sent.verdict != 0) VORN_LOG(VORN_ERR, "Failed to register to NAS indications %d\n", sent.rc);
}

// Up to 10 tries a second apart. A client that is already up is not
// replaced: the tries run out and init fails.
int connect_client() {
  for (int attempt = 1; attempt <= kInitAttempts; ++attempt) {
    if (nas_client.ready()) {
      VORN_LOG(VORN_INFO, "Network client already initialized. Handle %d.\n",
               static_cast<int>(reinterpret_cast<intptr_t>(nas_client.handle())));
    } else if (nas_client.start() == 0) {
      return VORN_OK;
    }
    VORN_LOG(VORN_INFO, "waiting for modem up:%d.\n", attempt);
    clk::sleep_s(1);
  }
  VORN_LOG(VORN_ERR, "Network qmi client init failed, error code: %d.\n", -1);
  log::milestone(__func__, __LINE__, "network qmi inited ERROR");
  return VORN_FAILURE;
}

}  // namespace

qmi::ServiceClient &client() { return nas_client; }

State &state() {
  static State instance;
  return instance;
}

void notify(uint32_t event, void *payload, uint32_t length) {
  {
    std::lock_guard<std::recursive_mutex> lock(notify_mutex);
    // A callback may register another: walk by index.
    for (size_t i = 0; i < event_list.size(); ++i) {
      EventNode node = event_list[i];
      node.callback(event, payload, length, node.user);
    }
  }
  std::free(payload);
}

void post(uint32_t event, void *payload, uint32_t length) {
  std::shared_ptr<Worker> worker;
  {
    std::lock_guard<std::mutex> lock(worker_mutex);
    worker = current_worker;
  }
  if (!worker) {
    VORN_LOG(VORN_ERR, "Ivalid eventQueueFd\n");
    std::free(payload);
    return;
  }
  {
    std::lock_guard<std::mutex> lock(worker->mutex);
    worker->queue.push_back({event, payload, length});
  }
  write_event_fd(worker->event_fd, 1);
}

}  // namespace vorn::network

namespace net = vorn::network;

extern "C" {

void vorn_network_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void *ind_buf,
                             unsigned int ind_buf_len, void *) {
  net::client().dispatch(user_handle, msg_id, ind_buf, ind_buf_len);
}

VORNPAL_API int vorn_network_pal_init(void) {
  if (net::connect_client() != VORN_OK) return VORN_FAILURE;
  vorn::log::milestone(__func__, __LINE__, "network qmi inited OK");
  if (net::switch_on_indications() != VORN_OK) return VORN_FAILURE;
  VORN_LOG(VORN_INFO, "Network pal init success...\n");
  vorn_device_pal_get_band_capabilities(nullptr);
  net::configure_signal_reports();
  net::stop_worker();  // a worker of an earlier init leaves
  net::start_worker();
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_deinit(void) {
  net::client().release();
  net::stop_worker();
  return VORN_OK;
}

VORNPAL_API int vorn_network_pal_event_register(vorn_network_event_cb callback, uint32_t user) {
  if (callback == nullptr) return VORN_INVALID_PARAM;
  return net::push_callback(callback, user);
}

// Unlike its twin, a successful registration answers -1: daemons written
// against it test for that.
VORNPAL_API int vorn_network_al_event_register(vorn_network_event_cb callback, uint32_t user) {
  if (callback == nullptr) return VORN_INVALID_PARAM;
  int rc = net::push_callback(callback, user);
  return rc == 1 ? 1 : VORN_FAILURE;
}

VORNPAL_API int vorn_network_pal_event_unregister(vorn_network_event_cb callback) {
  (void)callback;
  return VORN_OK;
}

}  // extern "C"
