#include "foundation/clock.h"

#include <cerrno>
#include <cstdlib>

namespace vorn::clk {

uint32_t scale() {
  static const uint32_t divisor = [] {
    const char *text = std::getenv("VORNPAL_TIME_SCALE");
    if (text == nullptr) return 1u;
    char *end = nullptr;
    unsigned long value = std::strtoul(text, &end, 10);
    return (end != text && *end == '\0' && value >= 1 && value <= 1000000)
               ? static_cast<uint32_t>(value)
               : 1u;
  }();
  return divisor;
}

uint64_t scaled_us(uint64_t us) { return us / scale(); }

void sleep_us(uint64_t us) {
  uint64_t scaled = scaled_us(us);
  timespec left{static_cast<time_t>(scaled / 1000000),
                static_cast<long>((scaled % 1000000) * 1000)};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

timespec deadline_after_ms(clockid_t clock, uint64_t ms) {
  uint64_t ns = ms * 1000000 / scale();
  timespec now{};
  clock_gettime(clock, &now);
  uint64_t total = static_cast<uint64_t>(now.tv_nsec) + ns % 1000000000;
  now.tv_sec += static_cast<time_t>(ns / 1000000000 + total / 1000000000);
  now.tv_nsec = static_cast<long>(total % 1000000000);
  return now;
}

}  // namespace vorn::clk
