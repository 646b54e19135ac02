// Copies into fixed-size fields that treat an oversized value as a
// programming error: the process aborts before anything is written, as the
// platform's fortified copies do.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vorn {

[[noreturn]] inline void copy_overflow(const char *file, int line) {
  std::fprintf(stderr, "*** buffer overflow detected ***: %s, line: %d\n", file, line);
  std::abort();
}

// memcpy of len bytes into a field of dest_size bytes.
inline void checked_memcpy(void *dest, size_t dest_size, const void *src, size_t len,
                           const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (len > dest_size) copy_overflow(file, line);
  if (len > 0) std::memcpy(dest, src, len);
}

// strcpy of src, terminator included, into a field of dest_size bytes.
inline void checked_strcpy(char *dest, size_t dest_size, const char *src,
                           const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
  checked_memcpy(dest, dest_size, src, std::strlen(src) + 1, file, line);
}

template <size_t N>
void checked_strcpy(char (&dest)[N], const char *src, const char *file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
  checked_strcpy(dest, N, src, file, line);
}

}  // namespace vorn
