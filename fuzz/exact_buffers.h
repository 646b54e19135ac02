// Shared by the text and netlink targets: every log line is formatted (the
// lines quote converted text, so they must stay inside the buffers too) but
// not kept, and inputs and outputs are heap blocks of exactly their size, so
// that any access beyond them is a sanitizer error.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <vornpal/log.h>
#include <vornsim/sim.h>

inline void quiet_full_logging() {
  vornsim::set_diag_record(false);
  vorn_set_log_level(0);
}

// The first input octet picks the output size: small sizes, the edges around
// the input's own length, or large.
inline size_t output_size(uint8_t pick, size_t length) {
  switch (pick >> 6) {
    case 0: return pick & 0x3F;
    case 1: {
      size_t around = 2 * length + (pick & 7);
      return around >= 3 ? around - 3 : 0;
    }
    case 2: return length + (pick & 7);
    default: return 4 * length + 4;
  }
}

// A block of exactly `size` bytes (one for size 0, never touched then).
struct Block {
  explicit Block(size_t size) : bytes(size == 0 ? 1 : size), size(size) {}
  template <class T>
  T *as() {
    return reinterpret_cast<T *>(bytes.data());
  }
  std::vector<uint8_t> bytes;
  size_t size;
};

// The converted text ends with its terminator inside the output.
inline void require_terminated(const char *text, size_t written, size_t size) {
  if (size > 0 && (written >= size || text[written] != '\0')) std::abort();
}
