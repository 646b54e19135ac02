// What a family's callback received, in arrival order. A family's collector
// builds its own Event record (with an `id`) in its callback and hands it to
// add(), which also runs the test's hook on the delivering thread.
#pragma once

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "vornpal_test.h"

namespace vt {

template <class Event>
class EventLog {
 public:
  using Id = decltype(Event::id);
  using Hook = std::function<void(const Event &)>;

  // Keeps `event`, then runs the hook outside the lock, so that a hook may
  // call back into the family and wait.
  void add(Event event) {
    Hook hook;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      events_.push_back(event);
      hook = hook_;
    }
    if (hook) hook(event);
  }
  void clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    events_.clear();
  }
  std::vector<Event> events() {
    std::lock_guard<std::mutex> lock(mutex_);
    return events_;
  }
  std::vector<Event> of(Id id) {
    std::vector<Event> out;
    for (Event &event : events())
      if (event.id == id) out.push_back(std::move(event));
    return out;
  }
  // Waits (real time) until `n` events of `id` arrived.
  bool wait_for(Id id, size_t n = 1, int ms = 5000) {
    return eventually([&] { return of(id).size() >= n; }, ms);
  }
  void set_hook(Hook hook) {
    std::lock_guard<std::mutex> lock(mutex_);
    hook_ = std::move(hook);
  }

 private:
  std::mutex mutex_;
  std::vector<Event> events_;
  Hook hook_;
};

}  // namespace vt
