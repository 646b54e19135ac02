// Bounded string copies and string helpers.
#include <cstring>

#include <vornpal/strings.h>

#include "foundation/log_site.h"

extern "C" {

VORNPAL_API void vorn_string_memcpy(char *dest, const char *src, size_t size) {
  if (dest == nullptr || src == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid string parameter.\n");
    return;
  }
  std::memset(dest, 0, size);
  std::memcpy(dest, src, strnlen(src, size));
}

}  // extern "C"
