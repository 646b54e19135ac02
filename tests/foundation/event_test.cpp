// The event registry, command-queue records and the counting semaphore.
#include <malloc.h>
#include <vornpal/event.h>
#include <vornpal/log.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "vornpal_test.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VT_SANITIZED_HEAP 1  // the sanitizer's heap checks ownership instead
#else
#define VT_SANITIZED_HEAP 0
#endif

namespace {

struct Delivery {
  int event_id;
  void *data;
  int size;
  void *user_data;
};

std::vector<Delivery> deliveries;

void record(int event_id, void *data, int size, void *user_data) {
  deliveries.push_back({event_id, data, size, user_data});
}

void record_again(int event_id, void *data, int size, void *user_data) {
  record(event_id, data, size, user_data);
}

list_type *self_removing_list = nullptr;
void remove_self(int event_id, void *data, int size, void *user_data) {
  record(event_id, data, size, user_data);
  vorn_pal_event_unregister(self_removing_list, remove_self);
}

// Bytes of the heap held in separate mappings: a large block shows there
// while it is allocated and leaves when it is freed.
size_t mapped_bytes() { return mallinfo2().hblkhd; }
constexpr size_t kLargeBlock = 4 << 20;

TEST(EventRegistry, DeliversOneBlockInOrderAndFreesIt) {
  deliveries.clear();
  list_type list{};
  int first = 1, second = 2;
  EXPECT_EQ(vorn_pal_event_register(&list, record, &first), 0);
  EXPECT_EQ(vorn_pal_event_register(&list, record_again, &second), 0);
  EXPECT_EQ(vorn_pal_event_register(&list, record, &second), 0);

  mallopt(M_MMAP_THRESHOLD, 1 << 20);
  size_t before = mapped_bytes();
  void *data = std::malloc(kLargeBlock);
  ASSERT_NE(data, nullptr);
  vorn_pal_post_event(&list, 7, data, 4);
  if (!VT_SANITIZED_HEAP) {
    EXPECT_EQ(mapped_bytes(), before);
  }
  ASSERT_EQ(deliveries.size(), 3u);
  EXPECT_EQ(deliveries[0].user_data, &first);
  EXPECT_EQ(deliveries[1].user_data, &second);
  for (const Delivery &d : deliveries) {
    EXPECT_EQ(d.event_id, 7);
    EXPECT_EQ(d.data, data);
    EXPECT_EQ(d.size, 4);
  }

  // A negative id ends the call: nothing delivered, the block stays the
  // poster's.
  deliveries.clear();
  void *kept = std::malloc(kLargeBlock);
  vorn_pal_post_event(&list, -1, kept, 4);
  EXPECT_TRUE(deliveries.empty());
  if (!VT_SANITIZED_HEAP) {
    EXPECT_GE(mapped_bytes(), before + kLargeBlock);
  }
  std::free(kept);

  // Of two registrations of one callback the older goes, whatever the data.
  EXPECT_EQ(vorn_pal_event_unregister(&list, record), 0);
  vorn_pal_post_event(&list, 1, nullptr, 0);
  ASSERT_EQ(deliveries.size(), 2u);
  EXPECT_EQ(deliveries[0].user_data, &second);
  EXPECT_EQ(deliveries[1].user_data, &second);
  EXPECT_EQ(deliveries[1].data, nullptr);
  EXPECT_EQ(vorn_pal_event_unregister(&list, remove_self), 0);

  vorn_pal_clean_event_list(&list);
  EXPECT_EQ(list_size(&list), 0u);
  void *orphan = std::malloc(kLargeBlock);
  vorn_pal_post_event(&list, 0, orphan, 4);
  EXPECT_TRUE(vt::logged("get list_node_link from event_list failed.\n"));
  if (!VT_SANITIZED_HEAP) {
    EXPECT_EQ(mapped_bytes(), before);
  }
}

TEST(EventRegistry, BadArgumentsAndSelfRemoval) {
  list_type list{};
  EXPECT_EQ(vorn_pal_event_register(nullptr, record, nullptr), 3);
  EXPECT_EQ(vorn_pal_event_register(&list, nullptr, nullptr), 3);
  EXPECT_EQ(vorn_pal_event_unregister(nullptr, record), 3);
  EXPECT_EQ(vt::count_logged("Error, callback pointer is NULL.\n"), 3);

  deliveries.clear();
  self_removing_list = &list;
  vorn_pal_event_register(&list, remove_self, nullptr);
  vorn_pal_event_register(&list, record, nullptr);
  vorn_pal_post_event(&list, 3, nullptr, 0);
  vorn_pal_post_event(&list, 4, nullptr, 0);
  ASSERT_EQ(deliveries.size(), 3u);
  EXPECT_EQ(deliveries[0].event_id, 3);
  EXPECT_EQ(deliveries[1].event_id, 3);
  EXPECT_EQ(deliveries[2].event_id, 4);
  EXPECT_EQ(list_size(&list), 1u);
  vorn_pal_clean_event_list(&list);
}

// A daemon's registration with its own heap data, freed when it unregisters.
struct Subscriber {
  int alive = 1;
};
list_type *walked_list = nullptr;
vorn_pal_event_callback dropped_later = nullptr;
Subscriber *dropped_data = nullptr;
vorn_pal_event_callback added_late = nullptr;

void subscriber(int event_id, void *data, int size, void *user_data) {
  record(event_id, data, size, user_data);
  EXPECT_EQ(static_cast<Subscriber *>(user_data)->alive, 1);
}
void subscriber_b(int event_id, void *data, int size, void *user_data) {
  subscriber(event_id, data, size, user_data);
}
void drop_later_one(int event_id, void *data, int size, void *user_data) {
  record(event_id, data, size, user_data);
  if (dropped_later == nullptr) return;
  vorn_pal_event_unregister(walked_list, dropped_later);
  delete dropped_data;
  dropped_later = nullptr;
}
void add_one(int event_id, void *data, int size, void *user_data) {
  record(event_id, data, size, user_data);
  if (added_late == nullptr) return;
  vorn_pal_event_register(walked_list, added_late, nullptr);
  added_late = nullptr;
}

TEST(EventRegistry, DeliveryFollowsTheListAsCallbacksChangeIt) {
  list_type list{};
  walked_list = &list;
  deliveries.clear();

  // A callback that unregisters a later one, whose data its owner then
  // frees: the later one is not called with it (ASan would see the read).
  dropped_data = new Subscriber;
  dropped_later = subscriber;
  vorn_pal_event_register(&list, drop_later_one, nullptr);
  vorn_pal_event_register(&list, subscriber, dropped_data);
  vorn_pal_event_register(&list, record, nullptr);
  vorn_pal_post_event(&list, 5, nullptr, 0);
  ASSERT_EQ(deliveries.size(), 2u);
  EXPECT_EQ(deliveries[1].event_id, 5) << "the one behind the removed node still gets it";
  EXPECT_EQ(list_size(&list), 2u);
  vorn_pal_clean_event_list(&list);

  // A callback registered during a delivery is reached in that delivery.
  deliveries.clear();
  added_late = record_again;
  vorn_pal_event_register(&list, add_one, nullptr);
  vorn_pal_post_event(&list, 6, nullptr, 0);
  ASSERT_EQ(deliveries.size(), 2u);
  EXPECT_EQ(deliveries[1].event_id, 6);
  vorn_pal_post_event(&list, 7, nullptr, 0);
  EXPECT_EQ(deliveries.size(), 4u);
  vorn_pal_clean_event_list(&list);

  // A callback that unregisters itself, then the one behind it: both go,
  // the walk goes on past them and the list ends empty of them.
  deliveries.clear();
  self_removing_list = &list;
  auto *behind = new Subscriber;
  dropped_data = behind;
  dropped_later = subscriber_b;
  vorn_pal_event_register(&list, remove_self, nullptr);
  vorn_pal_event_register(&list, drop_later_one, nullptr);
  vorn_pal_event_register(&list, subscriber_b, behind);
  vorn_pal_event_register(&list, record_again, nullptr);
  vorn_pal_post_event(&list, 8, nullptr, 0);
  ASSERT_EQ(deliveries.size(), 3u);
  EXPECT_EQ(list_size(&list), 2u);
  vorn_pal_post_event(&list, 9, nullptr, 0);
  EXPECT_EQ(deliveries.size(), 5u);
  vorn_pal_clean_event_list(&list);
}

// Registers itself once per call of `once_register`, unregisters on its first
// call: many walks at once stand on such nodes as they go.
list_type once_list;
std::atomic<int> once_calls{0};
void once(int, void *, int, void *) {
  ++once_calls;
  vorn_pal_event_unregister(&once_list, once);
}

TEST(EventRegistry, SelfRemovalUnderConcurrentWalks) {
  constexpr int kPosters = 3;
  constexpr int kPosts = 2000;
  std::atomic<int> posters_left{kPosters};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    int registered = 0;
    while (posters_left > 0 || registered < 10) {
      vorn_pal_event_register(&once_list, once, nullptr);
      ++registered;
      std::this_thread::yield();
    }
  });
  for (int t = 0; t < kPosters; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kPosts; ++i) vorn_pal_post_event(&once_list, i, nullptr, 0);
      --posters_left;
    });
  }
  for (auto &thread : threads) thread.join();
  // Whatever is left is delivered once more; then every node is gone.
  while (list_size(&once_list) > 0) vorn_pal_post_event(&once_list, 0, nullptr, 0);
  EXPECT_GT(once_calls.load(), 0);
  EXPECT_EQ(list_peek_front(&once_list), nullptr);
}

std::atomic<int> steady_calls{0};
std::atomic<int> churn_calls{0};
void steady(int, void *data, int size, void *) {
  // Every callback sees the poster's block whole until the last returns.
  EXPECT_EQ(std::memcmp(data, "event-payload", static_cast<size_t>(size)), 0);
  ++steady_calls;
}
void churn(int, void *, int, void *) { ++churn_calls; }

TEST(EventRegistry, PostersAndRegistrantsAtOnce) {
  static list_type list;
  constexpr int kPosters = 4;
  constexpr int kPosts = 1500;
  constexpr int kChurners = 4;
  vorn_pal_event_register(&list, steady, nullptr);
  std::atomic<bool> posting{true};
  std::vector<std::thread> threads;
  for (int t = 0; t < kChurners; ++t) {
    threads.emplace_back([&] {
      while (posting) {
        vorn_pal_event_register(&list, churn, nullptr);
        std::this_thread::yield();
        vorn_pal_event_unregister(&list, churn);
      }
    });
  }
  std::vector<std::thread> posters;
  for (int t = 0; t < kPosters; ++t) {
    posters.emplace_back([] {
      for (int i = 0; i < kPosts; ++i) {
        char *data = static_cast<char *>(std::malloc(14));
        std::memcpy(data, "event-payload", 14);
        vorn_pal_post_event(&list, i, data, 14);
      }
    });
  }
  for (auto &poster : posters) poster.join();
  posting = false;
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(steady_calls.load(), kPosters * kPosts);
  EXPECT_EQ(list_size(&list), 1u);
  vorn_pal_clean_event_list(&list);
}

TEST(CommandRecords, AllocateAndFreeByType) {
  for (uint32_t type : {0u, 4u, 5u}) {
    vorn_cmd_q_data *record = vorn_malloc_cmd_q_data(type);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->cmd_type, type);
    ASSERT_NE(record->payload, nullptr);
    EXPECT_EQ(static_cast<void **>(record->payload)[2], nullptr);
    if (type != 5) {
      // The free routine releases the pointer words and the table's data.
      auto **words = static_cast<void **>(record->payload);
      words[4] = std::malloc(16);
      words[6] = std::malloc(16);
      auto *table = static_cast<vorn_cmd_q_table *>(
          std::calloc(1, sizeof(vorn_cmd_q_table) + sizeof(vorn_cmd_q_table_entry)));
      table->count = 2;
      table->entries[0].data = std::malloc(8);
      table->entries[1].data = std::malloc(8);
      words[10] = table;
      vorn_free_cmd_q_data(record);
      EXPECT_EQ(table->entries[0].data, nullptr);
      EXPECT_EQ(table->entries[1].data, nullptr);
      std::free(table);
    } else {
      static_cast<void **>(record->payload)[2] = std::malloc(8);
      vorn_free_cmd_q_data(record);
    }
  }

  // Records of the clients' own types: the library knows how to free them.
  auto *client = static_cast<vorn_cmd_q_data *>(std::calloc(1, VORN_CMD_Q_DATA_SIZE));
  client->cmd_type = 99;
  void *payload = std::malloc(8);
  client->payload = payload;
  vorn_free_cmd_q_data(client);
  EXPECT_TRUE(vt::logged("Invalid CMD type: 99\n"));
  std::free(payload);  // an unknown type's payload stays the caller's
  vorn_free_cmd_q_data(nullptr);
  EXPECT_TRUE(vt::logged("oem_free_cmd_q_data invalid queue data\n"));

  EXPECT_EXIT(vorn_malloc_cmd_q_data(6), ::testing::KilledBySignal(SIGABRT), "");
}

TEST(Semaphore, CountsTimesOutAndWaitsWithoutLimit) {
  vorn_cmn_sem sem;
  ASSERT_EQ(vorn_cmn_sem_init(&sem), 0);
  EXPECT_EQ(vorn_cmn_sem_init(nullptr), 1);
  EXPECT_EQ(vorn_cmn_sem_post(nullptr), 1);
  EXPECT_EQ(vorn_cmn_sem_timedwait(nullptr, nullptr), 1);
  EXPECT_EQ(vorn_cmn_sem_reset_value(nullptr), 1);

  vorn_cmn_sem_post(&sem);
  vorn_cmn_sem_post(&sem);
  EXPECT_EQ(vorn_cmn_sem_timedwait(&sem, nullptr), 0);
  EXPECT_EQ(vorn_cmn_sem_timedwait(&sem, nullptr), 0);

  vorn_cmn_sem_timeout half_second{0, 500000};
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(vorn_cmn_sem_timedwait(&sem, &half_second), 2);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4));
  EXPECT_TRUE(vt::logged("Timed out waiting!\n"));

  vorn_cmn_sem_post(&sem);
  vorn_cmn_sem_post(&sem);
  EXPECT_EQ(vorn_cmn_sem_reset_value(&sem), 0);
  EXPECT_EQ(vorn_cmn_sem_timedwait(&sem, &half_second), 2);

  // A zero time-out is no limit: the wait ends only with the post.
  vorn_cmn_sem_timeout zero{0, 0};
  std::atomic<bool> posted{false};
  std::thread poster([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    posted = true;
    vorn_cmn_sem_post(&sem);
  });
  EXPECT_EQ(vorn_cmn_sem_timedwait(&sem, &zero), 0);
  EXPECT_TRUE(posted);
  poster.join();

  vorn_cmn_sem_timeout long_wait{30, 0};
  std::thread late([&] { vorn_cmn_sem_post(&sem); });
  EXPECT_EQ(vorn_cmn_sem_timedwait(&sem, &long_wait), 0);
  late.join();
  vorn_cmn_sem_deinit(&sem);
  EXPECT_EQ(sem.sem_cond_value, 0);
}

}  // namespace
