// The library's reaction where it cannot go on (an exhausted heap where an
// event or a reply must be built, a copy given no buffer): the source path and
// line of the call on standard output, then abort.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace vorn {

[[noreturn]] inline void abort_at(const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
  std::printf("%s, line: %d\n", file, line);
  std::fflush(stdout);
  std::abort();
}

}  // namespace vorn
