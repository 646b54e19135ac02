// Event registry of the PAL families, command-queue records and the counting
// semaphore.
#include <vornpal/event.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>

#include "foundation/abort_at.h"
#include "foundation/clock.h"
#include "foundation/containers.h"
#include "foundation/log_site.h"

// Layouts shared with the clients' 32-bit records.
static_assert(sizeof(vorn_cmn_sem_timeout) == 8 && offsetof(vorn_cmn_sem_timeout, usec) == 4);
static_assert(sizeof(vorn_cmd_q_data) <= VORN_CMD_Q_DATA_SIZE);
static_assert(offsetof(vorn_cmd_q_data, cmd_type) == 2 * sizeof(void *));

namespace {

using vorn::containers::Hold;

template <class T>
T *allocate_zeroed(size_t bytes, int line) {
  void *block = std::calloc(1, bytes);
  if (block == nullptr) vorn::abort_at(__FILE__, line);
  return static_cast<T *>(block);
}

vorn_pal_event_node *node_of(list_link_type *link) {
  return reinterpret_cast<vorn_pal_event_node *>(link);
}

// ---- delivery walk -----------------------------------------------------------
//
// A delivery walks the live list from the front and reads the next node after
// each callback, taking the list's mutex for each step only: callbacks run
// with no lock held, and what they register or unregister on the way is seen
// by the rest of the walk. The node a walk stands on must outlive the callback
// it calls, so an unregistration (or a clean) that meets such a node only
// clears its callback; the last walk to step off it unlinks and frees it.

// One delivery in progress. `at` changes only under the walked list's mutex.
struct Walk {
  list_type *list;
  list_link_type *at;
  Walk *next;
};

// Every walk in progress, on any list. Taken inside a list's mutex, never
// the other way round.
std::mutex walks_mutex;
Walk *walks = nullptr;

class WalkOn {
 public:
  explicit WalkOn(list_type *list) : walk_{list, nullptr, nullptr} {
    std::lock_guard<std::mutex> lock(walks_mutex);
    walk_.next = walks;
    walks = &walk_;
  }
  ~WalkOn() {
    std::lock_guard<std::mutex> lock(walks_mutex);
    Walk **slot = &walks;
    while (*slot != &walk_) slot = &(*slot)->next;
    *slot = walk_.next;
  }
  WalkOn(const WalkOn &) = delete;
  WalkOn &operator=(const WalkOn &) = delete;

  // Under the list's mutex.
  void stand_on(list_link_type *link) { walk_.at = link; }

 private:
  Walk walk_;
};

// Walks of the list standing on link; the caller holds the list's mutex.
int walks_on(list_type *list, list_link_type *link) {
  std::lock_guard<std::mutex> lock(walks_mutex);
  int count = 0;
  for (Walk *walk = walks; walk != nullptr; walk = walk->next) {
    count += walk->list == list && walk->at == link;
  }
  return count;
}

// Takes link out of the list if it is still in it; the caller holds the
// list's mutex.
void unlink_locked(list_type *list, list_link_type *link) {
  list_link_type *before = nullptr;
  for (list_link_type *at = list->front; at != link; before = at, at = at->next) {
    if (at == nullptr) return;
  }
  if (before != nullptr) {
    before->next = link->next;
  } else {
    list->front = link->next;
  }
  if (list->back == link) list->back = before;
  --list->size;
}

// Removes a registration the caller found under the list's mutex: at once,
// or, while a walk stands on it, by clearing its callback for that walk to
// finish. The node to free now, if any.
vorn_pal_event_node *retire_locked(list_type *list, list_link_type *link) {
  if (walks_on(list, link) > 0) {
    node_of(link)->callback = nullptr;
    return nullptr;
  }
  unlink_locked(list, link);
  return node_of(link);
}

// Moves the walk from link to the node behind it and returns that node with
// what to call there. A retired node that no other walk stands on goes now.
struct Step {
  list_link_type *link;
  vorn_pal_event_callback callback;
  void *user_data;
  vorn_pal_event_node *to_free;
};

Step step_locked(list_type *list, WalkOn &walk, list_link_type *from, list_link_type *to) {
  Step step{to, nullptr, nullptr, nullptr};
  walk.stand_on(to);
  if (from != nullptr && node_of(from)->callback == nullptr && walks_on(list, from) == 0) {
    unlink_locked(list, from);
    step.to_free = node_of(from);
  }
  if (to != nullptr) {
    step.callback = node_of(to)->callback;
    step.user_data = node_of(to)->user_data;
  }
  return step;
}

// ---- command-queue records ---------------------------------------------------

constexpr uint32_t kNoWord = ~0u;

// What vorn_free_cmd_q_data releases for a type: up to two pointer words of
// the payload, the entries of a table named by a payload word, the payload.
struct FreeRule {
  uint32_t cmd_type;
  bool frees_payload;
  uint32_t pointer_words[2];
  uint32_t table_word;
};

constexpr FreeRule kFreeRules[] = {
    {0, true, {4, 6}, 10},
    {4, true, {4, 6}, 10},
    {5, true, {2, kNoWord}, kNoWord},
    {6, false, {kNoWord, kNoWord}, kNoWord},
    {9, false, {kNoWord, kNoWord}, kNoWord},
    {7, true, {kNoWord, kNoWord}, kNoWord},
    {8, true, {kNoWord, kNoWord}, kNoWord},
    {10, true, {kNoWord, kNoWord}, kNoWord},
    {11, true, {kNoWord, kNoWord}, kNoWord},
    {12, true, {kNoWord, kNoWord}, kNoWord},
    {14, true, {kNoWord, kNoWord}, kNoWord},
    {13, true, {4, kNoWord}, kNoWord},
    {15, true, {0, kNoWord}, kNoWord},
};

const FreeRule *free_rule(uint32_t cmd_type) {
  for (const FreeRule &rule : kFreeRules) {
    if (rule.cmd_type == cmd_type) return &rule;
  }
  return nullptr;
}

// Payload sizes of the types the allocator makes: the 32-bit sizes, grown so
// that the pointer words the free routine reads lie inside the block.
constexpr size_t kWide = std::max<size_t>(VORN_CMD_Q_PAYLOAD_SIZE, 11 * sizeof(void *));
constexpr size_t kSmall = std::max<size_t>(VORN_CMD_Q_SMALL_PAYLOAD_SIZE, 3 * sizeof(void *));
constexpr size_t kRecord = std::max<size_t>(VORN_CMD_Q_DATA_SIZE, sizeof(vorn_cmd_q_data));

size_t payload_size(uint32_t cmd_type) {
  switch (cmd_type) {
    case 0:
    case 4:
      return kWide;
    case 5:
      return kSmall;
    default:
      return 0;
  }
}

void free_word(void **words, uint32_t index) {
  if (index == kNoWord || words[index] == nullptr) return;
  std::free(words[index]);
  words[index] = nullptr;
}

void free_table_entries(void **words, uint32_t index) {
  if (index == kNoWord || words[index] == nullptr) return;
  auto *table = static_cast<vorn_cmd_q_table *>(words[index]);
  for (int32_t i = 0; i < table->count; ++i) {
    std::free(table->entries[i].data);
    table->entries[i].data = nullptr;
  }
}

// ---- semaphore ---------------------------------------------------------------

// Deadline on the monotonic clock: the caller's seconds and microseconds,
// shortened by the library's time scale.
timespec deadline_after(const vorn_cmn_sem_timeout &timeout) {
  int64_t ns =
      (static_cast<int64_t>(timeout.sec) * 1000000000 + static_cast<int64_t>(timeout.usec) * 1000) /
      vorn::clk::scale();
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  int64_t total =
      static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec + std::max<int64_t>(ns, 0);
  return timespec{static_cast<time_t>(total / 1000000000), static_cast<long>(total % 1000000000)};
}

bool take_one(vorn_cmn_sem *sem) {
  if (sem->sem_cond_value <= 0) return false;
  --sem->sem_cond_value;
  return true;
}

}  // namespace

extern "C" {

// ---- event registry ----------------------------------------------------------

VORNPAL_API int vorn_pal_event_register(list_type *event_list, vorn_pal_event_callback callback,
                                        void *user_data) {
  if (event_list == nullptr || callback == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL.\n");
    return VORN_INVALID_PARAM;
  }
  auto *node = allocate_zeroed<vorn_pal_event_node>(sizeof(vorn_pal_event_node), __LINE__);
  node->callback = callback;
  node->user_data = user_data;
  list_push_back(event_list, &node->link);
  if (list_size(event_list) == 0) {
    VORN_LOG(VORN_ERR, "put new_event_node to oem_module_event_list failed.\n");
  }
  return 0;
}

VORNPAL_API int vorn_pal_event_unregister(list_type *event_list, vorn_pal_event_callback callback) {
  if (event_list == nullptr || callback == nullptr) {
    VORN_LOG(VORN_ERR, "Error, callback pointer is NULL.\n");
    return VORN_INVALID_PARAM;
  }
  vorn::containers::ensure_ready(event_list);
  vorn_pal_event_node *found = nullptr;
  {
    // Search and removal under one hold, so that two unregistrations of one
    // callback never pick the same node.
    Hold hold(&event_list->mutex);
    for (list_link_type *link = event_list->front; link != nullptr; link = link->next) {
      if (node_of(link)->callback != callback) continue;
      found = retire_locked(event_list, link);
      break;
    }
  }
  std::free(found);
  return 0;
}

VORNPAL_API void vorn_pal_post_event(list_type *event_list, int event_id, void *data, int size) {
  if (event_id < 0) return;
  if (event_list == nullptr) {
    std::free(data);
    return;
  }
  vorn::containers::ensure_ready(event_list);
  WalkOn walk(event_list);
  Step step;
  {
    Hold hold(&event_list->mutex);
    step = step_locked(event_list, walk, nullptr, event_list->front);
  }
  if (step.link == nullptr) {
    VORN_LOG(VORN_ERR, "get list_node_link from event_list failed.\n");
  }
  while (step.link != nullptr) {
    if (step.callback != nullptr) step.callback(event_id, data, size, step.user_data);
    list_link_type *from = step.link;
    {
      Hold hold(&event_list->mutex);
      step = step_locked(event_list, walk, from, from->next);
    }
    std::free(step.to_free);
  }
  std::free(data);
}

VORNPAL_API void vorn_pal_clean_event_list(list_type *event_list) {
  if (event_list == nullptr) return;
  vorn::containers::ensure_ready(event_list);
  list_link_type *freed = nullptr;
  {
    Hold hold(&event_list->mutex);
    list_link_type *link = event_list->front;
    while (link != nullptr) {
      list_link_type *next = link->next;
      if (walks_on(event_list, link) > 0) {
        // The walk on it ends there and frees it.
        node_of(link)->callback = nullptr;
        link->next = nullptr;
      } else {
        link->next = freed;
        freed = link;
      }
      link = next;
    }
    event_list->front = nullptr;
    event_list->back = nullptr;
    event_list->size = 0;
  }
  while (freed != nullptr) {
    list_link_type *next = freed->next;
    std::free(node_of(freed));
    freed = next;
  }
}

// ---- command-queue records ---------------------------------------------------

VORNPAL_API vorn_cmd_q_data *vorn_malloc_cmd_q_data(uint32_t cmd_type) {
  size_t bytes = payload_size(cmd_type);
  if (bytes == 0) {
    VORN_LOG(VORN_ERR, "Invalid CMD type: %d\n", static_cast<int>(cmd_type));
    vorn::abort_at();
  }
  void *payload = allocate_zeroed<void>(bytes, __LINE__);
  auto *record = allocate_zeroed<vorn_cmd_q_data>(kRecord, __LINE__);
  record->cmd_type = cmd_type;
  record->payload = payload;
  VORN_LOG(VORN_DBUG, "cmd_type = %d\n", static_cast<int>(cmd_type));
  return record;
}

VORNPAL_API void vorn_free_cmd_q_data(vorn_cmd_q_data *record) {
  if (record == nullptr) {
    VORN_LOG(VORN_ERR, "oem_free_cmd_q_data invalid queue data\n");
    return;
  }
  VORN_LOG(VORN_DBUG, "oem_free_cmd_q_data:cmd_type=%d, %p\n", static_cast<int>(record->cmd_type),
           static_cast<void *>(record));
  const FreeRule *rule = free_rule(record->cmd_type);
  if (rule == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid CMD type: %d\n", static_cast<int>(record->cmd_type));
  } else if (rule->frees_payload && record->payload != nullptr) {
    auto **words = static_cast<void **>(record->payload);
    free_word(words, rule->pointer_words[0]);
    free_word(words, rule->pointer_words[1]);
    free_table_entries(words, rule->table_word);
    std::free(record->payload);
  }
  std::free(record);
}

// ---- semaphore ---------------------------------------------------------------

VORNPAL_API int vorn_cmn_sem_init(vorn_cmn_sem *sem) {
  if (sem == nullptr) return 1;
  pthread_mutex_init(&sem->mutex, nullptr);
  pthread_condattr_init(&sem->attr);
  pthread_condattr_setclock(&sem->attr, CLOCK_MONOTONIC);
  pthread_cond_init(&sem->cond, &sem->attr);
  sem->sem_cond_value = 0;
  return 0;
}

VORNPAL_API void vorn_cmn_sem_deinit(vorn_cmn_sem *sem) {
  if (sem == nullptr) return;
  pthread_mutex_destroy(&sem->mutex);
  sem->sem_cond_value = 0;
}

VORNPAL_API int vorn_cmn_sem_post(vorn_cmn_sem *sem) {
  if (sem == nullptr) return 1;
  Hold hold(&sem->mutex);
  ++sem->sem_cond_value;
  pthread_cond_signal(&sem->cond);
  return 0;
}

VORNPAL_API int vorn_cmn_sem_reset_value(vorn_cmn_sem *sem) {
  if (sem == nullptr) return 1;
  Hold hold(&sem->mutex);
  sem->sem_cond_value = 0;
  return 0;
}

VORNPAL_API int vorn_cmn_sem_timedwait(vorn_cmn_sem *sem, const vorn_cmn_sem_timeout *timeout) {
  if (sem == nullptr) return 1;
  Hold hold(&sem->mutex);
  VORN_LOG(VORN_DBUG, "sem_cond_value=%d\n", sem->sem_cond_value);
  if (take_one(sem)) return 0;
  if (timeout != nullptr && (timeout->sec != 0 || timeout->usec != 0)) {
    timespec deadline = deadline_after(*timeout);
    // One wait only: a wake that finds nothing to take reports 1.
    if (pthread_cond_timedwait(&sem->cond, &sem->mutex, &deadline) == ETIMEDOUT) {
      VORN_LOG(VORN_INFO, "Timed out waiting!\n");
      return 2;
    }
    return take_one(sem) ? 0 : 1;
  }
  while (!take_one(sem)) pthread_cond_wait(&sem->cond, &sem->mutex);
  return 0;
}

}  // extern "C"
