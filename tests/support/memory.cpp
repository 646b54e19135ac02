#include "memory.h"

#include <malloc.h>
#include <unistd.h>

#include <cstdio>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VT_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VT_SANITIZED 1
#endif
#endif

#ifdef VT_SANITIZED
// The sanitizers' runtime has it; GCC ships no header for it.
extern "C" size_t __sanitizer_get_current_allocated_bytes(void);
#endif

namespace vt {

size_t heap_in_use() {
#ifdef VT_SANITIZED
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

size_t memory_held() {
#ifdef VT_SANITIZED
  return heap_in_use();
#else
  size_t pages = 0, resident = 0;
  if (FILE *statm = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(statm, "%zu %zu", &pages, &resident) != 2) resident = 0;
    std::fclose(statm);
  }
  return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
#endif
}

}  // namespace vt
