// The family's start and stop, its callbacks, and the event thread
// "event_data_rx".
//
// An indication arrives on the QMI library's thread, which a synchronous
// request of the same client must not block. So the indication only updates
// the context and writes one word to the eventfd; the event thread reads the
// run-time settings, waits for the interface, sets what the kernel must not
// take from router advertisements, and only then calls the callbacks. A
// callback may therefore call back into the family.
//
// The counter holds one word at a time, and the QMI thread never waits for
// the event thread to take it: a word that finds the counter full joins the
// words held back here, and the event thread moves the oldest of them into
// the counter as soon as it has read the one before. A blocking second write
// would hold the QMI thread for as long as the event thread probes the
// interface (seconds), and with it every later report of the modem: the one
// a stop waits for, and the answers to the event thread's own requests.
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <deque>
#include <cstdlib>
#include <cstring>

#include <vornpal/data.h>
#include <vornpal/event.h>

#include "data/event_word.h"
#include "data/state.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "qmi/message.h"

namespace vorn::data {
namespace {

constexpr size_t kStackSize = 0x10000;
constexpr int kEpollEvents = 12;
constexpr int kWriteTries = 6;

list_type data_event_list;
// epollFd and eventQueueFd: made once for the process, like the thread.
std::atomic<int> epollFd{-1};
std::atomic<int> eventQueueFd{-1};
std::mutex thread_mutex;  // init of the descriptors and the thread

// The words written and not yet handled to the end, and those that wait for
// the counter, under one mutex. Invariant: words wait only while the counter
// is full, or while the event thread is between its read and
// pass_next_word().
struct WordQueue {
  std::mutex mutex;
  std::deque<uint64_t> held;
  bool counter_full = false;
};

WordQueue &word_queue() {
  static auto *queue = new WordQueue;  // outlives the detached thread
  return *queue;
}

// The six tries of one write; the counter is empty, so it never blocks.
bool write_word(int fd, uint64_t word) {
  for (int tries = 0; tries < kWriteTries; ++tries) {
    ssize_t written = write(fd, &word, sizeof word);
    if (written == static_cast<ssize_t>(sizeof word)) return true;
    if (written < 0 && errno != EINTR) {
      VORN_LOG(VORN_ERR, "write() failed with errno %d (%m).\n", errno);
    } else {
      VORN_LOG(VORN_ERR, "write() returned %zd! (expected %zd)\n", written,
               static_cast<ssize_t>(sizeof word));
    }
  }
  VORN_LOG(VORN_ERR, "write failed with more than %d times.\n", kWriteTries - 1);
  // The word never left: the token goes back, and the record stays where
  // the target leaves it, allocated.
  RecordHalf::record(low_of(word));
  return false;
}

// On the event thread, right after a read emptied the counter: the oldest
// held word goes in.
void pass_next_word() {
  WordQueue &queue = word_queue();
  std::lock_guard<std::mutex> lock(queue.mutex);
  const int fd = eventQueueFd.load();
  while (!queue.held.empty()) {
    const uint64_t word = queue.held.front();
    queue.held.pop_front();
    if (fd >= 1 && write_word(fd, word)) return;
  }
  queue.counter_full = false;
}

// `emptied` tells whether the read took the counter's word.
uint64_t ReadEventFd(bool &emptied) {
  emptied = false;
  const int fd = eventQueueFd.load();
  if (fd < 1) {
    VORN_LOG(VORN_ERR, "Ivalid eventQueueFd\n");
    return 0;
  }
  uint64_t word = 0;
  ssize_t got = read(fd, &word, sizeof word);
  if (got == static_cast<ssize_t>(sizeof word)) {
    emptied = true;
    return word;
  }
  if (got < 0 && errno != EINTR) {
    VORN_LOG(VORN_ERR, "read() failed with errno %d (%m).\n", errno);
    return word_of(EVENT_EXIT, 0);
  }
  VORN_LOG(VORN_ERR, "read() returned %zd! (expected %zd)\n", got,
           static_cast<ssize_t>(sizeof word));
  return 0;
}

// The work of one word, on the event thread; the callbacks come last.
void handle_word(uint32_t high, data_status_event *record) {
  VORN_LOG(VORN_INFO, "cid=%d\n", record->profileIndex);
  // Held until the callbacks: a daemon may deinit or delete the profile
  // meanwhile, and the context is still read and written here.
  PinnedCtx pinned(static_cast<uint32_t>(record->profileIndex));
  profile_ctx *ctx = pinned.get();
  if (ctx == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid parameter!\n");
    std::free(record);
    return;
  }
  char name[kInterfaceNameSize];
  FormInterfaceName(ctx, name);
  switch (high) {
    case EVENT_IPV4_CONNECTED:
      sync_data_info(ctx, 0);
      WaitForIntfUpDown(true, 0, name);
      break;
    case EVENT_IPV6_CONNECTED:
      sync_data_info(ctx, 1);
      // Before and after the wait: the interface may come up with the
      // router advertisement's settings at either time.
      for (int pass = 0; pass < 2; ++pass) {
        vorn_set_ipv6_default_route(name);
        vorn_set_ipv6_default_mtu(name);
        DeleteKernelRoute(name);
        if (pass == 0) WaitForIntfUpDown(true, 1, name);
      }
      StartRndisThread();
      break;
    case EVENT_IPV4_DISCONNECTED:
      WaitForIntfUpDown(false, 0, name);
      clk::sleep_s(1);
      break;
    case EVENT_IPV6_DISCONNECTED:
      WaitForIntfUpDown(false, 1, name);
      clk::sleep_s(1);
      break;
  }
  vorn_data_pal_ind_notify(VORN_DATA_EVENT_CALL_STATUS, record, sizeof *record);
}

void *event_data_rx_process(void *) {
  prctl(PR_SET_NAME, "event_data_rx", 0, 0, 0);
  epoll_event events[kEpollEvents];
  for (;;) {
    const int epoll_fd = epollFd.load();
    if (epoll_fd < 0) {
      VORN_LOG(VORN_ERR, "epollFd is closed\n");
      return nullptr;
    }
    int ready = epoll_wait(epoll_fd, events, kEpollEvents, -1);
    if (ready == 0) {
      VORN_LOG(VORN_ERR, "epoll_wait() returned zero!\n");
      continue;
    }
    if (ready < 0) {
      if (errno != EINTR) VORN_LOG(VORN_ERR, "epoll_wait() failed.  errno = %d (%m).\n", errno);
      pthread_testcancel();
      continue;
    }
    pthread_testcancel();
    bool emptied = false;
    const uint64_t word = ReadEventFd(emptied);
    if (emptied) pass_next_word();
    const uint32_t high = high_of(word);
    VORN_LOG(VORN_INFO, "high_bits:0x%llx, low_bits:0x%x\n",
             static_cast<unsigned long long>(high), low_of(word));
    if ((high & ~1u) != EVENT_IPV4_CONNECTED && (high & ~1u) != EVENT_IPV4_DISCONNECTED) {
      VORN_LOG(VORN_ERR, "High_bits compare failed\n");
      if (high == EVENT_EXIT) {
        VORN_LOG(VORN_ERR, "exit rx thread\n");
        return nullptr;
      }
      continue;
    }
    data_status_event *record = RecordHalf::record(low_of(word));
    if (record == nullptr) continue;
    handle_word(high, record);
  }
}

void close_descriptors() {
  int fd = eventQueueFd.exchange(-1);
  if (fd >= 0) close(fd);
  fd = epollFd.exchange(-1);
  if (fd >= 0) close(fd);
}

// loop_event_thread_init: once for the process. A later init finds the
// thread running and keeps it.
void loop_event_thread_init() {
  std::lock_guard<std::mutex> lock(thread_mutex);
  if (eventQueueFd.load() >= 1) return;
  const int epoll_fd = epoll_create1(0);
  const int event_fd = eventfd(0, 0);
  epollFd.store(epoll_fd);
  eventQueueFd.store(event_fd);
  epoll_event wanted{};
  wanted.events = EPOLLIN;
  wanted.data.u64 = 0;
  if (epoll_fd < 0 || event_fd < 0 || epoll_ctl(epoll_fd, EPOLL_CTL_ADD, event_fd, &wanted) != 0) {
    VORN_LOG(VORN_ERR, "epoll_ctl(ADD) failed for fd %d. errno = %d (%m)\n", event_fd, errno);
    close_descriptors();
    return;
  }
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) {
    VORN_LOG(VORN_ERR, "init thread attribute failed\n");
    return;
  }
  if (pthread_attr_setstacksize(&attr, kStackSize) != 0) VORN_LOG(VORN_ERR, "set stack size failed\n");
  if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) != 0)
    VORN_LOG(VORN_ERR, "set setdetachstate failed\n");
  pthread_t thread;
  if (pthread_create(&thread, &attr, event_data_rx_process, nullptr) != 0) {
    VORN_LOG(VORN_ERR, "Error, init thread.\n");
    close_descriptors();
  }
  pthread_attr_destroy(&attr);
}

}  // namespace

bool WriteEventFd(data_status_event *record, uint32_t high) {
  const int fd = eventQueueFd.load();
  if (fd < 1) {
    VORN_LOG(VORN_ERR, "Ivalid eventQueueFd\n");
    return false;
  }
  const uint64_t word = word_of(high, RecordHalf::of(record));
  WordQueue &queue = word_queue();
  std::lock_guard<std::mutex> lock(queue.mutex);
  if (queue.counter_full) {
    queue.held.push_back(word);
    return true;
  }
  if (!write_word(fd, word)) return false;
  queue.counter_full = true;
  return true;
}

data_status_event *NewStatusRecord(uint32_t profile, int ipType, int32_t data_state,
                                   const call_state &call) {
  auto *record = static_cast<data_status_event *>(std::malloc(sizeof(data_status_event)));
  if (record == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC wds status change indication message.\n");
    return nullptr;
  }
  record->profileIndex = static_cast<int32_t>(profile);
  record->ip_call_type = ipType;
  record->data_state = data_state;
  record->failureType = static_cast<int32_t>(call.failureType);
  record->failureCode = static_cast<int32_t>(call.failureCode);
  record->verboseType = static_cast<int32_t>(call.verboseType);
  record->verboseCode = static_cast<int32_t>(call.verboseCode);
  return record;
}

void ReportStartFailure(profile_ctx *ctx, int ipType) {
  call_state call;
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    call = ctx->call[ipType];
  }
  data_status_event *record = NewStatusRecord(ctx->profileIndex, ipType, 0, call);
  if (record != nullptr) vorn_data_pal_ind_notify(VORN_DATA_EVENT_CALL_STATUS, record, sizeof *record);
}

void PostProfileEvent(int event_id, uint32_t cid) {
  auto *data = static_cast<uint32_t *>(std::malloc(sizeof(uint32_t)));
  if (data == nullptr) {
    std::printf("%s, line: %d\n", __FILE__, __LINE__);
    std::abort();
  }
  *data = cid;
  vorn_data_pal_ind_notify(event_id, data, sizeof *data);
}

}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API void vorn_data_pal_ind_notify(int event_id, void *payload, int size) {
  VORN_LOG(VORN_DBUG, "report event id=%d\n", event_id);
  if (payload == nullptr) return;
  vorn_pal_post_event(&data::data_event_list, event_id, payload, size);
}

VORNPAL_API int vorn_data_pal_event_register(vorn_pal_event_callback callback, void *user_data) {
  if (callback == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL\n");
    return VORN_FAILURE;
  }
  if (vorn_pal_event_register(&data::data_event_list, callback, user_data) != 0) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC new event node\n");
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_event_unregister(vorn_pal_event_callback callback) {
  if (callback == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL\n");
    return VORN_FAILURE;
  }
  vorn_pal_event_unregister(&data::data_event_list, callback);
  return VORN_OK;
}

VORNPAL_API int vorn_data_event_register(uint32_t mask) {
  data::DefaultClient client;
  if (!client.usable()) return VORN_FAILURE;
  wds_set_event_report_req_msg_v01 req{};
  req.data_call_status_change_valid = 1;
  req.data_call_status_change = 1;
  wds_set_event_report_resp_msg_v01 resp;
  vorn::qmi::Sent sent = vorn::qmi::send_on<data::SetEventReport>(client.get(), req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR,
             "Error, event register failed(even_mask = %d, error_code = 0x%x, result = %d).\n",
             static_cast<int>(mask), static_cast<unsigned>(sent.rc),
             static_cast<int>(resp.resp.result));
    return VORN_FAILURE;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_init(void) {
  {
    std::lock_guard<std::mutex> lock(data::wds_client_mutex);
    std::memset(data::wds_service, 0, sizeof data::wds_service);
    std::memset(data::wds_clients, 0, sizeof data::wds_clients);
  }
  vorn_data_pal_activate_context(1);
  data::loop_event_thread_init();
  int rc = vorn_data_event_register(1);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "data qmi event register failed, error code: %d.\n", rc);
    return rc;
  }
  VORN_LOG(VORN_INFO, "data pal init success...\n");
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_deinit(void) {
  vorn_pal_clean_event_list(&data::data_event_list);
  data::ReleaseAllWdsClients();
  data::FreeProfileContexts();
  return VORN_OK;
}

}  // extern "C"
