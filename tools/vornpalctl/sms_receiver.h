// What the tool does with the family's events as a daemon would: a message
// handed to the AP is acknowledged and kept in the AP store, a message the
// modem stored is read from there, and each becomes a line for people. The
// work runs on a thread of its own, never on the QMI library's thread that
// posts the events.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ctl::sms {

class Receiver {
 public:
  using Report = std::function<void(const std::string &line)>;
  explicit Receiver(Report report);
  ~Receiver();
  Receiver(const Receiver &) = delete;
  Receiver &operator=(const Receiver &) = delete;

  // Waits until `count` messages arrived in all, or `ms` passed.
  bool wait_for(size_t count, int ms);

 private:
  struct Event {
    int id;
    std::vector<uint8_t> data;
  };
  static void on_event(int id, void *data, int size, void *self);
  void work();
  void handle(const Event &event);

  Report report_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Event> queue_;
  size_t messages_ = 0;
  bool stopping_ = false;
  std::thread worker_;
};

}  // namespace ctl::sms
