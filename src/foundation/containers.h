// Shared pieces of the locked containers: the lazy initialisation of zeroed
// lists and a scoped hold of a container's pthread mutex.
#pragma once

#include <pthread.h>
#include <vornpal/queue.h>

namespace vorn::containers {

constexpr uint32_t kMagic = 1;

// Makes a zeroed (or destroyed) list usable. Safe when several threads meet a
// zeroed list at once: only one of them initialises it.
void ensure_ready(list_type *list);
void ensure_ready(ordered_list_type *list);

class Hold {
 public:
  explicit Hold(pthread_mutex_t *mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
  ~Hold() { pthread_mutex_unlock(mutex_); }
  Hold(const Hold &) = delete;
  Hold &operator=(const Hold &) = delete;

 private:
  pthread_mutex_t *mutex_;
};

}  // namespace vorn::containers
