// The locked intrusive containers, as the families and daemons use them.
#include <vornpal/queue.h>

#include <thread>
#include <vector>

#include "vornpal_test.h"

namespace {

struct Item {
  list_link_type link;
  int value;
};

struct Ranked {
  ordered_list_link_type link;
  int tag;
};

struct Queued {
  q_link_type link;
  int value;
};

std::vector<int> values_of(list_type *list) {
  std::vector<int> values;
  for (list_link_type *at = list_peek_front(list); at != nullptr; at = list_peek_next(list, at)) {
    values.push_back(reinterpret_cast<Item *>(at)->value);
  }
  return values;
}

std::vector<int> tags_of(ordered_list_type *list) {
  std::vector<int> tags;
  for (auto *at = ordered_list_peek_front(list); at != nullptr;
       at = ordered_list_peek_next(list, at)) {
    tags.push_back(reinterpret_cast<Ranked *>(at)->tag);
  }
  return tags;
}

std::vector<int> values_of(q_type *q) {
  std::vector<int> values;
  for (void *at = q_check(q); at != nullptr; at = q_next(q, static_cast<q_link_type *>(at))) {
    values.push_back(static_cast<Queued *>(at)->value);
  }
  return values;
}

int value_is(void *item, void *param) {
  return static_cast<Queued *>(item)->value == *static_cast<int *>(param);
}

int first_even(void *item, void *) { return static_cast<Queued *>(item)->value % 2 == 0; }

TEST(Containers, ZeroedListWorksAndKeepsEndsRight) {
  list_type list{};
  Item a{{}, 1}, b{{}, 2}, c{{}, 3}, d{{}, 4};
  list_push_back(&list, &a.link);
  EXPECT_EQ(list.magic, 1u);
  EXPECT_EQ(list_pop_back(&list), &a.link);
  EXPECT_EQ(list.front, nullptr);
  EXPECT_EQ(list.back, nullptr);

  list_push_back(&list, &b.link);
  list_push_front(&list, &a.link);
  list_push_after(&list, &d.link, &b.link);
  list_push_before(&list, &c.link, &d.link);
  EXPECT_EQ(values_of(&list), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(list_peek_back(&list), &d.link);
  EXPECT_EQ(list_peek_prev(&list, &c.link), &b.link);
  EXPECT_EQ(list_peek_prev(&list, &a.link), nullptr);
  int wanted = 3;
  EXPECT_EQ(list_linear_search(
                &list,
                [](void *item, void *param) {
                  return static_cast<int>(reinterpret_cast<Item *>(item)->value ==
                                          *static_cast<int *>(param));
                },
                &wanted),
            &c.link);

  list_type tail{};
  list_split(&list, &c.link, &tail);
  EXPECT_EQ(values_of(&list), (std::vector<int>{1, 2}));
  EXPECT_EQ(values_of(&tail), (std::vector<int>{3, 4}));
  EXPECT_EQ(list_size(&tail), 2u);
  list_merge(&list, &tail);
  EXPECT_EQ(values_of(&list), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(list_size(&tail), 0u);
  EXPECT_EQ(tail.magic, 1u);

  list_pop_item(&list, &d.link);
  EXPECT_EQ(list_peek_back(&list), &c.link);
  EXPECT_EQ(list_pop_front(&list), &a.link);
  EXPECT_EQ(list_pop_front(&list), &b.link);
  list_pop_item(&list, &c.link);
  EXPECT_EQ(list.back, nullptr);
  EXPECT_EQ(list_pop_front(&list), nullptr);
  list_destroy(&list);
  EXPECT_EQ(list.magic, 0u);
}

TEST(Containers, OrderedPushFollowsTheListType) {
  struct Case {
    uint32_t order, kind;
    std::vector<uint32_t> weights;
    std::vector<int> expected_tags;
  };
  const Case cases[] = {
      {ORDERED_LIST_ASCENDING, ORDERED_LIST_PUSH_SORT, {5, 5}, {1, 0}},
      {ORDERED_LIST_ASCENDING, ORDERED_LIST_PUSH_AFTER, {5, 5}, {0, 1}},
      {ORDERED_LIST_ASCENDING, ORDERED_LIST_PUSH_SORT, {7, 3, 9, 3, 5}, {3, 1, 4, 0, 2}},
      {ORDERED_LIST_DESCENDING, ORDERED_LIST_PUSH_SORT, {7, 3, 9, 3, 5}, {2, 0, 4, 3, 1}},
      {ORDERED_LIST_ASCENDING, ORDERED_LIST_PUSH_AFTER, {7, 3, 9, 3, 1}, {4, 1, 3, 0, 2}},
      {ORDERED_LIST_DESCENDING, ORDERED_LIST_PUSH_AFTER, {7, 3, 9, 7, 10}, {4, 2, 0, 3, 1}},
  };
  for (const Case &c : cases) {
    ordered_list_type list{};
    ordered_list_init(&list, c.order, c.kind);
    std::vector<Ranked> items(c.weights.size());
    for (size_t i = 0; i < items.size(); ++i) {
      items[i].tag = static_cast<int>(i);
      ordered_list_push(&list, &items[i].link, c.weights[i]);
    }
    EXPECT_EQ(tags_of(&list), c.expected_tags) << "type " << (c.order | c.kind);
    EXPECT_EQ(ordered_list_size(&list), items.size());
    EXPECT_EQ(ordered_list_peek_prev(&list, ordered_list_peek_front(&list)), nullptr);
    ordered_list_destroy(&list);
  }

  // A zeroed list sorts ascending, new elements before equals; a list of a
  // type outside the four takes its first element and nothing after it.
  ordered_list_type zeroed{};
  Ranked x{{}, 0}, y{{}, 1}, z{{}, 2};
  ordered_list_push(&zeroed, &x.link, 4);
  ordered_list_push(&zeroed, &y.link, 2);
  ordered_list_push(&zeroed, &z.link, 4);
  EXPECT_EQ(tags_of(&zeroed), (std::vector<int>{1, 2, 0}));
  EXPECT_EQ(ordered_list_pop_back(&zeroed), &x.link);
  ordered_list_pop_item(&zeroed, &y.link);
  EXPECT_EQ(tags_of(&zeroed), (std::vector<int>{2}));

  ordered_list_type odd{};
  ordered_list_init(&odd, 0, ORDERED_LIST_PUSH_SORT);
  ordered_list_push(&odd, &x.link, 1);
  ordered_list_push(&odd, &y.link, 2);
  EXPECT_EQ(tags_of(&odd), (std::vector<int>{0}));
  EXPECT_EQ(y.link.weight, 2u);
}

TEST(Containers, QueueRingOperations) {
  q_type q;
  ASSERT_EQ(q_init(&q), &q);
  std::vector<Queued> items(5);
  for (int i = 0; i < 5; ++i) {
    items[i].value = i;
    q_put(&q, q_link(&items[i], &items[i].link));
  }
  EXPECT_EQ(q_cnt(&q), 5);
  EXPECT_EQ(q_next(&q, &items[4].link), nullptr);
  EXPECT_EQ(q_last_check(&q), &items[4]);

  Queued extra{{}, 9};
  q_insert(&q, &extra.link, &items[2].link);
  EXPECT_EQ(values_of(&q), (std::vector<int>{0, 1, 9, 2, 3, 4}));
  q_delete(&q, &extra.link);
  EXPECT_EQ(extra.link.next, nullptr);
  EXPECT_EQ(q_delete_ext(&q, &items[3].link), 1);
  EXPECT_EQ(values_of(&q), (std::vector<int>{0, 1, 2, 4}));

  EXPECT_EQ(q_get(&q), &items[0]);
  EXPECT_EQ(items[0].link.next, nullptr);
  EXPECT_EQ(q_last_get(&q), &items[4]);
  int two = 2;
  EXPECT_EQ(q_linear_search(&q, value_is, &two), &items[2]);

  // The recursive mutex lets the deleting walks finish.
  int removed = -1;
  EXPECT_EQ(q_linear_delete_new(
                &q, value_is, &two,
                [](void *item, void *param) {
                  *static_cast<int *>(param) = static_cast<Queued *>(item)->value;
                },
                &removed),
            &items[2]);
  EXPECT_EQ(removed, 2);
  EXPECT_EQ(q_linear_delete_new(&q, value_is, &two, nullptr, nullptr), nullptr);

  q_type other;
  q_init(&other);
  Queued six{{}, 6}, seven{{}, 7};
  q_put(&other, &six.link);
  q_put(&other, &seven.link);
  q_m_put(&q, &other);
  EXPECT_EQ(values_of(&q), (std::vector<int>{1, 6, 7}));
  EXPECT_EQ(q_cnt(&other), 0);
  EXPECT_EQ(q_check(&other), nullptr);

  int marker = 0;
  q_linear_delete(&q, first_even, &marker, [](void *item, void *param) {
    *static_cast<int *>(param) = static_cast<Queued *>(item)->value;
  });
  EXPECT_EQ(marker, 6);
  EXPECT_EQ(values_of(&q), (std::vector<int>{1, 7}));
  EXPECT_EQ(q_last_check(&q), &seven);
  EXPECT_EQ(q_get_ext(&q), &items[1]);
  EXPECT_EQ(q_get(&q), &seven);
  EXPECT_EQ(q_get(&q), nullptr);

  q_destroy(&q);
  q_destroy(&other);
  EXPECT_EQ(q.next, nullptr);
  q_type never_initialised{};
  EXPECT_EQ(q_get(&never_initialised), nullptr);

  testing::internal::CaptureStdout();
  q_put(nullptr, &six.link);
  EXPECT_EQ(q_check(nullptr), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "...in file vorn-app-utils/queue/queueAssertion failed...\n"
            "...in file vorn-app-utils/queue/queueAssertion failed...\n");
}

TEST(Containers, ZeroedListUnderManyThreads) {
  static list_type list;  // zeroed, first met by all threads at once
  constexpr int kThreads = 8;
  constexpr int kPerThread = 2000;
  std::vector<std::vector<Item>> items(kThreads, std::vector<Item>(kPerThread));
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        list_push_back(&list, &items[t][i].link);
        if (i % 2 == 1) list_pop_front(&list);
      }
    });
  }
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(list_size(&list), static_cast<uint32_t>(kThreads * kPerThread / 2));
  EXPECT_EQ(values_of(&list).size(), static_cast<size_t>(kThreads * kPerThread / 2));
}

}  // namespace
