// Locked intrusive containers: the circular queue, the singly linked list and
// the weight-ordered list.
#include <vornpal/queue.h>

#include <cstdio>
#include <mutex>

#include "foundation/containers.h"

namespace vorn::containers {
namespace {

// One lock for every lazy initialisation: it is taken only while a list is
// still zeroed, so contention does not matter.
std::mutex lazy_init_mutex;

template <class List>
bool is_ready(List *list) {
  return __atomic_load_n(&list->magic, __ATOMIC_ACQUIRE) == kMagic;
}

template <class List>
void mark_ready(List *list) {
  __atomic_store_n(&list->magic, kMagic, __ATOMIC_RELEASE);
}

template <class List, class Init>
void ensure_ready_with(List *list, Init init) {
  if (is_ready(list)) return;
  std::lock_guard<std::mutex> lock(lazy_init_mutex);
  if (!is_ready(list)) init();
}

}  // namespace

void ensure_ready(list_type *list) {
  ensure_ready_with(list, [list] { list_init(list); });
}

void ensure_ready(ordered_list_type *list) {
  ensure_ready_with(
      list, [list] { ordered_list_init(list, ORDERED_LIST_ASCENDING, ORDERED_LIST_PUSH_SORT); });
}

}  // namespace vorn::containers

namespace {

using vorn::containers::ensure_ready;
using vorn::containers::Hold;

// ---- queue helpers -----------------------------------------------------------

// The queue's own assertion: it reports a null argument on standard output
// and the operation then does nothing.
bool present(const void *pointer) {
  if (pointer != nullptr) return true;
  std::printf("...in file vorn-app-utils/queue/queueAssertion failed...\n");
  std::fflush(stdout);
  return false;
}

// The header is the ring's sentinel: its first two words mirror a link's, but
// it is only ever reached through these two helpers.
q_link_type *sentinel(q_type *q) { return reinterpret_cast<q_link_type *>(q); }

q_link_type *&next_of(q_type *q, q_link_type *link) {
  return link == sentinel(q) ? q->next : link->next;
}

q_link_type *&prev_of(q_type *q, q_link_type *link) {
  return link == sentinel(q) ? q->prev : link->prev;
}

// cnt is read without the lock by q_cnt, so every access is atomic.
int count_of(q_type *q) { return __atomic_load_n(&q->cnt, __ATOMIC_RELAXED); }
void add_count(q_type *q, int delta) { __atomic_fetch_add(&q->cnt, delta, __ATOMIC_RELAXED); }
void set_count(q_type *q, int value) { __atomic_store_n(&q->cnt, value, __ATOMIC_RELAXED); }

void make_empty_ring(q_type *q) {
  q->next = sentinel(q);
  q->prev = sentinel(q);
  set_count(q, 0);
}

void unlink_locked(q_type *q, q_link_type *link) {
  next_of(q, link->prev) = link->next;
  prev_of(q, link->next) = link->prev;
  link->next = nullptr;
  add_count(q, -1);
}

// Removes the first element; keep_next leaves its next word as it was.
void *get_first(q_type *q, bool keep_next) {
  if (!present(q)) return nullptr;
  Hold hold(&q->mutex);
  if (q->next == nullptr || count_of(q) <= 0) return nullptr;  // destroyed or empty
  q_link_type *first = q->next;
  q_link_type *follower = first->next;
  if (follower == nullptr) {
    // The element's link was cleared while it stood in the queue: the ring
    // behind it is lost, so the queue ends here.
    std::printf("link_ptr->next_ptr is NULL\n");
    make_empty_ring(q);
    return first;
  }
  q->next = follower;
  prev_of(q, follower) = sentinel(q);
  add_count(q, -1);
  if (!keep_next) first->next = nullptr;
  return first;
}

// ---- list helpers ------------------------------------------------------------

// The link in front of `link`, null when link is the front or not in list.
template <class Link>
Link *walk_to_predecessor(Link *front, Link *link) {
  if (front == link) return nullptr;
  Link *at = front;
  while (at != nullptr && at->next != link) at = at->next;
  return at;
}

// Number of links from `link` to the end.
template <class Link>
uint32_t count_from(Link *link) {
  uint32_t count = 0;
  for (; link != nullptr; link = link->next) ++count;
  return count;
}

template <class Link>
bool contains(Link *front, Link *link) {
  for (Link *at = front; at != nullptr; at = at->next) {
    if (at == link) return true;
  }
  return false;
}

// ---- ordered list helpers ----------------------------------------------------

struct PushMode {
  uint32_t type;
  bool ascending;
  bool after_equals;
};

constexpr PushMode kPushModes[] = {
    {ORDERED_LIST_ASCENDING | ORDERED_LIST_PUSH_SORT, true, false},
    {ORDERED_LIST_DESCENDING | ORDERED_LIST_PUSH_SORT, false, false},
    {ORDERED_LIST_ASCENDING | ORDERED_LIST_PUSH_AFTER, true, true},
    {ORDERED_LIST_DESCENDING | ORDERED_LIST_PUSH_AFTER, false, true},
};

const PushMode *push_mode(uint32_t type) {
  for (const PushMode &mode : kPushModes) {
    if (mode.type == type) return &mode;
  }
  return nullptr;
}

// True when an element of weight `held` stays in front of a new element of
// weight `weight` under the mode.
bool stays_ahead(const PushMode &mode, uint32_t held, uint32_t weight) {
  if (held == weight) return mode.after_equals;
  return mode.ascending ? held < weight : held > weight;
}

void unlink_ordered(ordered_list_type *list, ordered_list_link_type *link) {
  if (link->prev != nullptr) {
    link->prev->next = link->next;
  } else {
    list->front = link->next;
  }
  if (link->next != nullptr) {
    link->next->prev = link->prev;
  } else {
    list->back = link->prev;
  }
  --list->size;
}

}  // namespace

namespace {

// A value of a list read under its lock; a zeroed list is made usable first.
template <class List, class Read>
auto read_locked(List *list, Read read) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  return read();
}

}  // namespace

extern "C" {

// ---- q_type ------------------------------------------------------------------

VORNPAL_API q_type *q_init(q_type *q) {
  if (!present(q)) return nullptr;
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&q->mutex, &attr);
  pthread_mutexattr_destroy(&attr);
  make_empty_ring(q);
  return q;
}

VORNPAL_API void q_destroy(q_type *q) {
  if (!present(q)) return;
  {
    Hold hold(&q->mutex);
    q->next = nullptr;
    q->prev = nullptr;
    set_count(q, 0);
  }
  pthread_mutex_destroy(&q->mutex);
}

VORNPAL_API q_link_type *q_link(void *, q_link_type *link) {
  if (!present(link)) return nullptr;
  link->next = nullptr;
  link->prev = nullptr;
  return link;
}

VORNPAL_API void q_put(q_type *q, q_link_type *link) {
  if (!present(q) || !present(link)) return;
  Hold hold(&q->mutex);
  link->next = sentinel(q);
  link->prev = q->prev;
  next_of(q, q->prev) = link;
  q->prev = link;
  add_count(q, 1);
}

VORNPAL_API void *q_get(q_type *q) { return get_first(q, false); }

VORNPAL_API void *q_get_ext(q_type *q) { return get_first(q, true); }

VORNPAL_API void *q_last_get(q_type *q) {
  if (!present(q)) return nullptr;
  Hold hold(&q->mutex);
  if (q->next == nullptr || count_of(q) <= 0) return nullptr;
  q_link_type *last = q->prev;
  unlink_locked(q, last);
  return last;
}

VORNPAL_API void *q_next(q_type *q, q_link_type *link) {
  if (!present(q) || !present(link)) return nullptr;
  Hold hold(&q->mutex);
  q_link_type *follower = link->next;
  return follower == sentinel(q) ? nullptr : follower;
}

VORNPAL_API void q_insert(q_type *q, q_link_type *link, q_link_type *before) {
  if (!present(q) || !present(link) || !present(before)) return;
  Hold hold(&q->mutex);
  link->next = before;
  link->prev = prev_of(q, before);
  next_of(q, link->prev) = link;
  prev_of(q, before) = link;
  add_count(q, 1);
}

VORNPAL_API void q_delete(q_type *q, q_link_type *link) {
  if (!present(q) || !present(link)) return;
  Hold hold(&q->mutex);
  if (link->next == nullptr) return;  // not in a queue
  unlink_locked(q, link);
}

VORNPAL_API int q_delete_ext(q_type *q, q_link_type *link) {
  q_delete(q, link);
  return 1;
}

VORNPAL_API void *q_check(q_type *q) {
  if (!present(q)) return nullptr;
  Hold hold(&q->mutex);
  return (count_of(q) > 0 && q->next != sentinel(q)) ? q->next : nullptr;
}

VORNPAL_API void *q_last_check(q_type *q) {
  if (!present(q)) return nullptr;
  Hold hold(&q->mutex);
  return (count_of(q) > 0 && q->prev != sentinel(q)) ? q->prev : nullptr;
}

VORNPAL_API int q_cnt(q_type *q) {
  if (!present(q)) return 0;
  return count_of(q);
}

VORNPAL_API void q_m_put(q_type *dest, q_type *src) {
  if (!present(dest) || !present(src) || dest == src) return;
  Hold hold_src(&src->mutex);
  Hold hold_dest(&dest->mutex);
  int moved = q_cnt(src);
  if (moved <= 0) return;
  q_link_type *first = src->next;
  q_link_type *last = src->prev;
  first->prev = dest->prev;
  next_of(dest, dest->prev) = first;
  last->next = sentinel(dest);
  dest->prev = last;
  add_count(dest, moved);
  make_empty_ring(src);
}

VORNPAL_API void *q_linear_search(q_type *q, q_compare_func_type compare, void *param) {
  if (!present(q) || compare == nullptr) return nullptr;
  void *item = q_check(q);
  while (item != nullptr && compare(item, param) == 0) {
    item = q_next(q, static_cast<q_link_type *>(item));
  }
  return item;
}

// The walk holds the queue's mutex while q_check and q_next take it again:
// the mutex is recursive for this.
VORNPAL_API void *q_linear_delete_new(q_type *q, q_compare_func_type compare, void *param,
                                      q_action_func_type action, void *action_param) {
  if (q == nullptr || compare == nullptr) return nullptr;
  q_link_type *found = nullptr;
  {
    Hold hold(&q->mutex);
    for (void *item = q_check(q); item != nullptr;
         item = q_next(q, static_cast<q_link_type *>(item))) {
      if (compare(item, param) != 0) {
        found = static_cast<q_link_type *>(item);
        break;
      }
    }
    if (found == nullptr) return nullptr;
    if (found == q->next) {
      q_get(q);
    } else {
      unlink_locked(q, found);
    }
  }
  if (action != nullptr) action(found, action_param);
  return found;
}

VORNPAL_API void q_linear_delete(q_type *q, q_compare_func_type compare, void *param,
                                 q_action_func_type action) {
  if (q == nullptr || compare == nullptr) return;
  q_link_type *found = nullptr;
  {
    Hold hold(&q->mutex);
    for (void *item = q_check(q); item != nullptr;
         item = q_next(q, static_cast<q_link_type *>(item))) {
      if (compare(item, nullptr) != 0) {
        found = static_cast<q_link_type *>(item);
        break;
      }
    }
    if (found == nullptr) return;
    unlink_locked(q, found);
  }
  if (action != nullptr) action(found, param);
}

// ---- list_type ---------------------------------------------------------------

VORNPAL_API void list_init(list_type *list) {
  pthread_mutex_init(&list->mutex, nullptr);
  list->front = nullptr;
  list->back = nullptr;
  list->size = 0;
  __atomic_store_n(&list->magic, vorn::containers::kMagic, __ATOMIC_RELEASE);
}

VORNPAL_API void list_destroy(list_type *list) {
  pthread_mutex_destroy(&list->mutex);
  list->front = nullptr;
  list->back = nullptr;
  list->size = 0;
  __atomic_store_n(&list->magic, 0u, __ATOMIC_RELEASE);
}

VORNPAL_API void list_push_front(list_type *list, list_link_type *link) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  link->next = list->front;
  list->front = link;
  if (list->back == nullptr) list->back = link;
  ++list->size;
}

VORNPAL_API void list_push_back(list_type *list, list_link_type *link) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  link->next = nullptr;
  if (list->back != nullptr) {
    list->back->next = link;
  } else {
    list->front = link;
  }
  list->back = link;
  ++list->size;
}

VORNPAL_API list_link_type *list_pop_front(list_type *list) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  list_link_type *first = list->front;
  if (first == nullptr) return nullptr;
  list->front = first->next;
  if (list->front == nullptr) list->back = nullptr;
  --list->size;
  return first;
}

VORNPAL_API list_link_type *list_pop_back(list_type *list) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  list_link_type *last = list->back;
  if (last == nullptr) return nullptr;
  list_link_type *before = walk_to_predecessor(list->front, last);
  if (before != nullptr) {
    before->next = nullptr;
  } else {
    list->front = nullptr;
  }
  list->back = before;
  --list->size;
  return last;
}

VORNPAL_API uint32_t list_size(list_type *list) {
  return read_locked(list, [&] { return list->size; });
}

VORNPAL_API list_link_type *list_peek_front(list_type *list) {
  return read_locked(list, [&] { return list->front; });
}

VORNPAL_API list_link_type *list_peek_back(list_type *list) {
  return read_locked(list, [&] { return list->back; });
}

VORNPAL_API list_link_type *list_peek_next(list_type *list, list_link_type *link) {
  return read_locked(list, [&] { return link->next; });
}

VORNPAL_API list_link_type *list_peek_prev(list_type *list, list_link_type *link) {
  return read_locked(list, [&] { return walk_to_predecessor(list->front, link); });
}

VORNPAL_API void list_push_before(list_type *list, list_link_type *link, list_link_type *at) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  if (list->front == at) {
    link->next = at;
    list->front = link;
    if (list->back == nullptr) list->back = link;
    ++list->size;
    return;
  }
  list_link_type *before = walk_to_predecessor(list->front, at);
  if (before == nullptr) return;  // at is not in the list
  link->next = at;
  before->next = link;
  ++list->size;
}

VORNPAL_API void list_push_after(list_type *list, list_link_type *link, list_link_type *at) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  link->next = at->next;
  at->next = link;
  if (list->back == at) list->back = link;
  ++list->size;
}

VORNPAL_API void list_pop_item(list_type *list, list_link_type *link) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  if (list->front == link) {
    list->front = link->next;
    if (list->front == nullptr) list->back = nullptr;
    --list->size;
    return;
  }
  list_link_type *before = walk_to_predecessor(list->front, link);
  if (before == nullptr) return;  // not in the list
  before->next = link->next;
  if (list->back == link) list->back = before;
  --list->size;
}

VORNPAL_API list_link_type *list_linear_search(list_type *list, list_compare_func_type compare,
                                               void *param) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  for (list_link_type *at = list->front; at != nullptr; at = at->next) {
    if (compare(at, param) != 0) return at;
  }
  return nullptr;
}

VORNPAL_API void list_merge(list_type *dest, list_type *src) {
  ensure_ready(dest);
  ensure_ready(src);
  if (dest == src) return;
  Hold hold_dest(&dest->mutex);
  Hold hold_src(&src->mutex);
  if (src->front == nullptr) return;
  if (dest->back != nullptr) {
    dest->back->next = src->front;
  } else {
    dest->front = src->front;
  }
  dest->back = src->back;
  dest->size += src->size;
  src->front = nullptr;
  src->back = nullptr;
  src->size = 0;
}

VORNPAL_API void list_split(list_type *list, list_link_type *link, list_type *dest) {
  ensure_ready(list);
  ensure_ready(dest);
  if (list == dest) return;
  Hold hold_list(&list->mutex);
  Hold hold_dest(&dest->mutex);
  if (!contains(list->front, link)) return;
  list_link_type *before = walk_to_predecessor(list->front, link);
  uint32_t moved = count_from(link);
  dest->front = link;
  dest->back = list->back;
  dest->size = moved;
  if (before != nullptr) {
    before->next = nullptr;
  } else {
    list->front = nullptr;
  }
  list->back = before;
  list->size -= moved;
}

// ---- ordered_list_type -------------------------------------------------------

VORNPAL_API void ordered_list_init(ordered_list_type *list, uint32_t order, uint32_t kind) {
  pthread_mutex_init(&list->mutex, nullptr);
  list->front = nullptr;
  list->back = nullptr;
  list->size = 0;
  list->type = order | kind;
  __atomic_store_n(&list->magic, vorn::containers::kMagic, __ATOMIC_RELEASE);
}

VORNPAL_API void ordered_list_destroy(ordered_list_type *list) {
  pthread_mutex_destroy(&list->mutex);
  list->front = nullptr;
  list->back = nullptr;
  list->size = 0;
  list->type = 0;
  __atomic_store_n(&list->magic, 0u, __ATOMIC_RELEASE);
}

VORNPAL_API void ordered_list_push_after(ordered_list_type *list, ordered_list_link_type *link,
                                         ordered_list_link_type *at) {
  link->prev = at;
  link->next = at->next;
  if (at->next != nullptr) {
    at->next->prev = link;
  } else {
    list->back = link;
  }
  at->next = link;
  ++list->size;
}

VORNPAL_API void ordered_list_push_before(ordered_list_type *list, ordered_list_link_type *link,
                                          ordered_list_link_type *at) {
  link->next = at;
  link->prev = at->prev;
  if (at->prev != nullptr) {
    at->prev->next = link;
  } else {
    list->front = link;
  }
  at->prev = link;
  ++list->size;
}

VORNPAL_API void ordered_list_push(ordered_list_type *list, ordered_list_link_type *link,
                                   uint32_t weight) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  link->weight = weight;
  if (list->front == nullptr) {
    link->next = nullptr;
    link->prev = nullptr;
    list->front = link;
    list->back = link;
    list->size = 1;
    return;
  }
  const PushMode *mode = push_mode(list->type);
  if (mode == nullptr) return;
  if (stays_ahead(*mode, list->back->weight, weight)) {
    ordered_list_push_after(list, link, list->back);
    return;
  }
  // The tail does not stay ahead, so the walk stops at an element.
  ordered_list_link_type *at = list->front;
  while (stays_ahead(*mode, at->weight, weight)) at = at->next;
  ordered_list_push_before(list, link, at);
}

VORNPAL_API ordered_list_link_type *ordered_list_pop_front(ordered_list_type *list) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  ordered_list_link_type *first = list->front;
  if (first != nullptr) unlink_ordered(list, first);
  return first;
}

VORNPAL_API ordered_list_link_type *ordered_list_pop_back(ordered_list_type *list) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  ordered_list_link_type *last = list->back;
  if (last != nullptr) unlink_ordered(list, last);
  return last;
}

VORNPAL_API uint32_t ordered_list_size(ordered_list_type *list) {
  return read_locked(list, [&] { return list->size; });
}

VORNPAL_API ordered_list_link_type *ordered_list_peek_front(ordered_list_type *list) {
  return read_locked(list, [&] { return list->front; });
}

VORNPAL_API ordered_list_link_type *ordered_list_peek_back(ordered_list_type *list) {
  return read_locked(list, [&] { return list->back; });
}

VORNPAL_API ordered_list_link_type *ordered_list_peek_next(ordered_list_type *list,
                                                           ordered_list_link_type *link) {
  return read_locked(list, [&] { return link->next; });
}

VORNPAL_API ordered_list_link_type *ordered_list_peek_prev(ordered_list_type *list,
                                                           ordered_list_link_type *link) {
  return read_locked(list, [&] { return link->prev; });
}

VORNPAL_API void ordered_list_pop_item(ordered_list_type *list, ordered_list_link_type *link) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  if (contains(list->front, link)) unlink_ordered(list, link);
}

VORNPAL_API ordered_list_link_type *ordered_list_linear_search(
    ordered_list_type *list, ordered_list_compare_func_type compare, void *param) {
  ensure_ready(list);
  Hold hold(&list->mutex);
  for (ordered_list_link_type *at = list->front; at != nullptr; at = at->next) {
    if (compare(at, param) != 0) return at;
  }
  return nullptr;
}

VORNPAL_API void ordered_list_split(ordered_list_type *list, ordered_list_link_type *link,
                                    ordered_list_type *dest) {
  ensure_ready(list);
  ensure_ready(dest);
  if (list == dest) return;
  Hold hold_list(&list->mutex);
  Hold hold_dest(&dest->mutex);
  if (!contains(list->front, link)) return;
  ordered_list_link_type *before = link->prev;
  uint32_t moved = count_from(link);
  dest->front = link;
  dest->back = list->back;
  dest->size = moved;
  link->prev = nullptr;
  if (before != nullptr) {
    before->next = nullptr;
  } else {
    list->front = nullptr;
  }
  list->back = before;
  list->size -= moved;
}

}  // extern "C"
