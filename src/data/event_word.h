// The 64-bit word that carries one event from the QMI thread to the event
// thread through the eventfd: the high 32 bits say what happened, the low 32
// bits name the heap record of the event.
//
// On the target a pointer is 32 bits wide and the low half is the record's
// address itself. A 64-bit host has no room for an address there, so the low
// half is a token instead: a slot in a table of the records in flight,
// handed back when the event thread takes the record. Either way a record
// named by a word is owned by whoever reads the word.
//
// The high words are far above half the counter's range, so the sum of two
// words overflows the eventfd counter: a second write would block until the
// event thread has read the first. That keeps one word one event; the
// writer (WriteEventFd) holds a second word back itself rather than block.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include <vornpal/data.h>

namespace vorn::data {

constexpr uint32_t EVENT_IPV4_CONNECTED = 0xFFFFEEEAu;
constexpr uint32_t EVENT_IPV6_CONNECTED = 0xFFFFEEEBu;
constexpr uint32_t EVENT_IPV4_DISCONNECTED = 0xFFFFEEECu;
constexpr uint32_t EVENT_IPV6_DISCONNECTED = 0xFFFFEEEDu;
constexpr uint32_t EVENT_EXIT = 0xFFEEFFEEu;

constexpr uint32_t high_of(uint64_t word) { return static_cast<uint32_t>(word >> 32); }
constexpr uint32_t low_of(uint64_t word) { return static_cast<uint32_t>(word); }
constexpr uint64_t word_of(uint32_t high, uint32_t low) {
  return (static_cast<uint64_t>(high) << 32) | low;
}

// The records in flight of a host whose pointers do not fit the low half.
// Tokens start at 1, so that 0 stays "no record".
class RecordTokens {
 public:
  uint32_t put(data_status_event *record) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!free_.empty()) {
      uint32_t token = free_.back();
      free_.pop_back();
      slots_[token - 1] = record;
      return token;
    }
    slots_.push_back(record);
    return static_cast<uint32_t>(slots_.size());
  }
  // The record of the token, which is free again; null for a token that
  // names nothing.
  data_status_event *take(uint32_t token) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (token == 0 || token > slots_.size() || slots_[token - 1] == nullptr) return nullptr;
    data_status_event *record = slots_[token - 1];
    slots_[token - 1] = nullptr;
    free_.push_back(token);
    return record;
  }
  // Records put and not taken.
  size_t in_flight() {
    std::lock_guard<std::mutex> lock(mutex_);
    return slots_.size() - free_.size();
  }

 private:
  std::mutex mutex_;
  std::vector<data_status_event *> slots_;
  std::vector<uint32_t> free_;
};

// The low half for a record, and the record of a low half.
struct RecordHalf {
#if UINTPTR_MAX == 0xFFFFFFFFu
  static uint32_t of(data_status_event *record) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(record));
  }
  static data_status_event *record(uint32_t low) {
    return reinterpret_cast<data_status_event *>(static_cast<uintptr_t>(low));
  }
  static constexpr bool kAddress = true;
#else
  static uint32_t of(data_status_event *record) {
    return record == nullptr ? 0 : tokens().put(record);
  }
  static data_status_event *record(uint32_t low) { return tokens().take(low); }
  static constexpr bool kAddress = false;
  static RecordTokens &tokens() {
    static RecordTokens table;
    return table;
  }
#endif
};

}  // namespace vorn::data
