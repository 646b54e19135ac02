// What a test process holds in memory, for tests that a path allocates
// nothing or that a long run stays flat.
#pragma once

#include <cstddef>

namespace vt {

// Bytes of the heap in use now: the sanitizer's count of live allocations
// under ASan or TSan (their quarantine and shadow are not the program's), the
// C library's otherwise.
size_t heap_in_use();

// The process's resident memory; under a sanitizer, heap_in_use(), since the
// sanitizer's own memory grows with the work whatever the program keeps.
size_t memory_held();

}  // namespace vt
