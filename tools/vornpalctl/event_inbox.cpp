#include "event_inbox.h"

#include <chrono>

namespace ctl {

void EventInbox::add(uint32_t id, const void *data, size_t size) {
  Event event{id, {}};
  if (data != nullptr && size > 0)
    event.data.assign(static_cast<const uint8_t *>(data), static_cast<const uint8_t *>(data) + size);
  std::lock_guard<std::mutex> lock(mutex_);
  events_.push_back(std::move(event));
  changed_.notify_all();
}

size_t EventInbox::count() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return events_.size();
}

std::vector<EventInbox::Event> EventInbox::since_locked(size_t seen, std::optional<uint32_t> id) const {
  std::vector<Event> got;
  for (size_t i = seen; i < events_.size(); ++i)
    if (!id || events_[i].id == *id) got.push_back(events_[i]);
  return got;
}

std::vector<EventInbox::Event> EventInbox::since(size_t seen, std::optional<uint32_t> id) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return since_locked(seen, id);
}

std::vector<EventInbox::Event> EventInbox::wait(size_t seen, double seconds, const Done &done,
                                                std::optional<uint32_t> id) const {
  using Clock = std::chrono::steady_clock;
  const auto deadline =
      Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait_until(lock, deadline, [&] { return done(since_locked(seen, id)); });
  return since_locked(seen, id);
}

}  // namespace ctl
