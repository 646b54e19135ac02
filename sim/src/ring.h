// A record of the simulated modem that keeps only its last entries, so that
// a modem that serves millions of requests runs in constant memory. Slots are
// reused in place: an entry that owns storage (a request's bytes) keeps it
// for the next entry written there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace vornsim {

template <class T>
class Ring {
 public:
  explicit Ring(size_t capacity) : capacity_(capacity) {}

  // Starts over with room for `capacity` entries (0: none are kept).
  void set_capacity(size_t capacity) {
    std::vector<T>().swap(slots_);
    capacity_ = capacity;
    clear();
  }
  size_t capacity() const { return capacity_; }

  // The slot of a new entry, to be overwritten whole; the oldest entry falls
  // out when the ring is full. Null when nothing is kept.
  T *next() {
    if (capacity_ == 0) {
      ++dropped_;
      return nullptr;
    }
    size_t index;
    if (count_ < capacity_) {
      index = (first_ + count_) % capacity_;
      ++count_;
    } else {
      index = first_;
      first_ = (first_ + 1) % capacity_;
      ++dropped_;
    }
    if (index >= slots_.size()) slots_.resize(index + 1);
    return &slots_[index];
  }

  void push(T value) {
    if (T *slot = next()) *slot = std::move(value);
  }

  // The entries kept, oldest first.
  std::vector<T> items() const {
    std::vector<T> out;
    out.reserve(count_);
    for (size_t i = 0; i < count_; ++i) out.push_back(slots_[(first_ + i) % capacity_]);
    return out;
  }

  // Forgets the entries and the count of dropped ones; the slots' storage
  // stays for reuse.
  void clear() {
    first_ = 0;
    count_ = 0;
    dropped_ = 0;
  }

  // Entries that fell out, or were not kept, since the last clear.
  uint64_t dropped() const { return dropped_; }

 private:
  std::vector<T> slots_;
  size_t capacity_;
  size_t first_ = 0;
  size_t count_ = 0;
  uint64_t dropped_ = 0;
};

}  // namespace vornsim
