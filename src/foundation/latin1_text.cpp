// Latin-1 texts of supplementary services to UTF-8.
#include <vornpal/text_conversion.h>

#include "foundation/log_site.h"

extern "C" {

VORNPAL_API int vorn_util_ss_ascii_to_utf8(const char *latin1, int length, char *utf8,
                                           size_t size) {
  if (latin1 == nullptr || utf8 == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid parameters; ascii_str = %p, utf8_str = %p\n",
             static_cast<const void *>(latin1), static_cast<void *>(utf8));
    return 0;
  }
  const size_t count = length > 0 ? static_cast<size_t>(length) : 0;
  // Every character could take two bytes; a size of 0 has no room for the
  // terminator either.
  if (size < 2 * count || size == 0) {
    VORN_LOG(VORN_ERR, "the utf8 str buffer length is not enough\n");
    return 0;
  }
  size_t written = 0;
  for (size_t i = 0; i < count; ++i) {
    const auto c = static_cast<uint8_t>(latin1[i]);
    if (c == '\r') {
      VORN_LOG(VORN_DBUG, "ignored charecter at index = %d \n", static_cast<int>(i));
    } else if (c < 0x80) {
      utf8[written++] = static_cast<char>(c);
    } else if (written + 2 < size) {
      utf8[written++] = static_cast<char>(0xC0 | c >> 6);
      utf8[written++] = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      VORN_LOG(VORN_WARN,
               "ignored extended character at index = %d not enough bytes. al: %uui: %u us: %u\n",
               static_cast<int>(i), static_cast<unsigned>(count), static_cast<unsigned>(written),
               static_cast<unsigned>(size));
    }
  }
  utf8[written] = '\0';
  return static_cast<int>(written);
}

}  // extern "C"
