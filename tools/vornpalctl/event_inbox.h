// The events a family's callback received while a command runs, kept in
// order with their bytes, so that the command can wait for the ones its
// request causes (a call coming up, a scan's results).
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace ctl {

class EventInbox {
 public:
  struct Event {
    uint32_t id;
    std::vector<uint8_t> data;
  };
  using Done = std::function<bool(const std::vector<Event> &)>;

  // From the family's callback, on whatever thread it runs.
  void add(uint32_t id, const void *data, size_t size);
  size_t count() const;
  // The events after the first `seen` (of `id` only, when given).
  std::vector<Event> since(size_t seen, std::optional<uint32_t> id = std::nullopt) const;
  // The same, once `done` holds for them or `seconds` pass.
  std::vector<Event> wait(size_t seen, double seconds, const Done &done,
                          std::optional<uint32_t> id = std::nullopt) const;

 private:
  std::vector<Event> since_locked(size_t seen, std::optional<uint32_t> id) const;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Event> events_;
};

}  // namespace ctl
