// What a family's callback received, in arrival order. A family's collector
// builds its own Event record (with an `id`) in its callback and hands it to
// add(), which also runs the test's hook on the delivering thread.
#pragma once

#include <condition_variable>
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
      if (hook) ++hooks_running_;
    }
    if (!hook) return;
    hook(event);
    std::lock_guard<std::mutex> lock(mutex_);
    --hooks_running_;
    hooks_done_.notify_all();
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
  // Returns once no earlier hook runs any more: what a hook refers to may
  // then go away.
  void set_hook(Hook hook) {
    std::unique_lock<std::mutex> lock(mutex_);
    hook_ = std::move(hook);
    hooks_done_.wait(lock, [this] { return hooks_running_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable hooks_done_;
  std::vector<Event> events_;
  Hook hook_;
  int hooks_running_ = 0;
};

}  // namespace vt
