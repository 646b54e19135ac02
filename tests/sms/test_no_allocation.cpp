// The decode path takes no heap memory: malloc, calloc and realloc of this
// process are counted while the corpus is decoded. Sanitizer builds bring
// their own allocator, so the check runs in plain builds only.
#include <cstdlib>

#include "sms_test.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SMS_COUNT_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define SMS_COUNT_ALLOCATIONS 0
#endif
#endif
#ifndef SMS_COUNT_ALLOCATIONS
#define SMS_COUNT_ALLOCATIONS 1
#endif

namespace {

thread_local bool counting = false;  // static TLS of the executable: no allocation to reach it
thread_local long allocations = 0;

}  // namespace

#if SMS_COUNT_ALLOCATIONS
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *pointer, size_t size);

void *malloc(size_t size) {
  if (counting) ++allocations;
  return __libc_malloc(size);
}

void *calloc(size_t count, size_t size) {
  if (counting) ++allocations;
  return __libc_calloc(count, size);
}

void *realloc(void *pointer, size_t size) {
  if (counting) ++allocations;
  return __libc_realloc(pointer, size);
}
}  // extern "C"
#endif

namespace {

using namespace smst;

TEST(SmsDecode, TakesNoHeapMemory) {
  if (!SMS_COUNT_ALLOCATIONS) GTEST_SKIP() << "the sanitizer's allocator is in charge";
  std::vector<CorpusEntry> entries = corpus("handsets.txt");
  for (const CorpusEntry &entry : corpus("generated.txt")) entries.push_back(entry);
  sms_message_record record;
  sms_decode_context context{};
  int decoded = 0;
  counting = true;
  for (const CorpusEntry &entry : entries) {
    // A PDU without service centre logs that, and the simulated modem's diag
    // sink keeps the line in memory.
    if (entry.pdu[0] == 0) continue;
    auto length = static_cast<uint32_t>(entry.pdu.size());
    decoded += vorn_sms_decode(entry.decode_direction(), 1, entry.pdu.data(), length, &record) == 0;
    // SMS_Decode reads what applications keep: delivers and submits.
    if (entry.direction == "SR") continue;
    context.pdu = entry.pdu.data();
    context.pdu_length = length;
    EXPECT_EQ(0, SMS_Decode(&context));
  }
  counting = false;
  EXPECT_EQ(0, allocations);
  EXPECT_GE(decoded, 40);
  // The counter does count.
  counting = true;
  void *volatile block = std::malloc(16);
  counting = false;
  std::free(block);
  EXPECT_GT(allocations, 0);
}

}  // namespace
