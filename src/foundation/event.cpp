// Event registry of the PAL families, command-queue records and the counting
// semaphore.
#include <vornpal/event.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <new>
#include <vector>

#include "foundation/clock.h"
#include "foundation/containers.h"
#include "foundation/log_site.h"

// Layouts shared with the clients' 32-bit records.
static_assert(sizeof(vorn_cmn_sem_timeout) == 8 && offsetof(vorn_cmn_sem_timeout, usec) == 4);
static_assert(sizeof(vorn_cmd_q_data) <= VORN_CMD_Q_DATA_SIZE);
static_assert(offsetof(vorn_cmd_q_data, cmd_type) == 2 * sizeof(void *));

namespace {

using vorn::containers::Hold;

// The library's reaction to an exhausted heap where it cannot go on.
[[noreturn]] void out_of_memory(int line) {
  std::printf("%s, line: %d\n", __FILE__, line);
  std::fflush(stdout);
  std::abort();
}

template <class T>
T *allocate_zeroed(size_t bytes, int line) {
  void *block = std::calloc(1, bytes);
  if (block == nullptr) out_of_memory(line);
  return static_cast<T *>(block);
}

vorn_pal_event_node *node_of(list_link_type *link) {
  return reinterpret_cast<vorn_pal_event_node *>(link);
}

struct Registration {
  vorn_pal_event_callback callback;
  void *user_data;
};

// The registrations as they stand, taken under the list's mutex. Delivery
// then runs on the copy with no lock held, so callbacks may register and
// unregister (themselves included) and another thread may unregister while a
// delivery is under way without the walk ever reading a freed node.
std::vector<Registration> registrations_of(list_type *list) {
  vorn::containers::ensure_ready(list);
  std::vector<Registration> found;
  try {
    Hold hold(&list->mutex);
    found.reserve(list->size);
    for (list_link_type *link = list->front; link != nullptr; link = link->next) {
      vorn_pal_event_node *node = node_of(link);
      if (node->callback != nullptr) found.push_back({node->callback, node->user_data});
    }
  } catch (const std::bad_alloc &) {
    out_of_memory(__LINE__);
  }
  return found;
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
    return 3;
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
    return 3;
  }
  vorn::containers::ensure_ready(event_list);
  vorn_pal_event_node *found = nullptr;
  {
    // Search and removal under one hold, so that two unregistrations of one
    // callback never pick the same node.
    Hold hold(&event_list->mutex);
    list_link_type *before = nullptr;
    for (list_link_type *link = event_list->front; link != nullptr;
         before = link, link = link->next) {
      if (node_of(link)->callback != callback) continue;
      if (before != nullptr) {
        before->next = link->next;
      } else {
        event_list->front = link->next;
      }
      if (event_list->back == link) event_list->back = before;
      --event_list->size;
      found = node_of(link);
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
  std::vector<Registration> registrations = registrations_of(event_list);
  if (registrations.empty()) {
    VORN_LOG(VORN_ERR, "get list_node_link from event_list failed.\n");
  }
  for (const Registration &r : registrations) r.callback(event_id, data, size, r.user_data);
  std::free(data);
}

VORNPAL_API void vorn_pal_clean_event_list(list_type *event_list) {
  if (event_list == nullptr) return;
  while (list_size(event_list) > 0) {
    std::free(node_of(list_pop_front(event_list)));
  }
  Hold hold(&event_list->mutex);
  event_list->size = 0;
  event_list->front = nullptr;
}

// ---- command-queue records ---------------------------------------------------

VORNPAL_API vorn_cmd_q_data *vorn_malloc_cmd_q_data(uint32_t cmd_type) {
  size_t bytes = payload_size(cmd_type);
  if (bytes == 0) {
    VORN_LOG(VORN_ERR, "Invalid CMD type: %d\n", static_cast<int>(cmd_type));
    out_of_memory(__LINE__);
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
