// UCS-2 buffers to and from UTF-8, over the reference converters: a text
// that is cut or broken keeps what converted before the fault.
#include <vornpal/text_conversion.h>

#include <cstring>

#include "foundation/log_site.h"

namespace {

constexpr const char kTruncated[] = "String has been truncated. Buffer size of %zu not large enough\n";

}  // namespace

extern "C" {

VORNPAL_API size_t vorn_util_convert_utf8_to_ucs2(const char *utf8, size_t length, uint16_t *ucs2,
                                                  size_t size) {
  if (utf8 == nullptr || ucs2 == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid parameters. utf8str: %p, ucs2str: %p\n",
             static_cast<const void *>(utf8), static_cast<void *>(ucs2));
    return 0;
  }
  // Two bytes stay free for the terminating zero unit.
  if (size < sizeof(uint16_t)) {
    VORN_LOG(VORN_ERR, kTruncated, size);
    return 0;
  }
  const size_t capacity = (size - sizeof(uint16_t)) / sizeof(uint16_t);
  const auto *source = reinterpret_cast<const uint8_t *>(utf8);
  uint16_t *target = ucs2;
  vorn_conversion_result rc = vorn_util_ConvertUTF8toUTF16(&source, source + length, &target,
                                                           ucs2 + capacity, VORN_CONVERSION_STRICT);
  if (rc == VORN_CONVERSION_TARGET_EXHAUSTED) {
    VORN_LOG(VORN_ERR, kTruncated, size);
  } else if (rc != VORN_CONVERSION_OK) {
    VORN_LOG(VORN_ERR, "Error in converting utf8 string to ucs2\n");
  }
  size_t written = static_cast<size_t>(target - ucs2) * sizeof(uint16_t);
  if (written > size - sizeof(uint16_t)) {
    VORN_LOG(VORN_CRIT,
             "Bug in qcril_cm_ss_ConvertUTF16toUTF8. Buffer overrun detected. Size %zu greater "
             "than %zu\n",
             written, size - sizeof(uint16_t));
    written = size - sizeof(uint16_t);
  }
  ucs2[written / sizeof(uint16_t)] = 0;
  return written;
}

VORNPAL_API size_t vorn_util_convert_ucs2_to_utf8(const uint16_t *ucs2, size_t length, char *utf8,
                                                  size_t size) {
  if (utf8 == nullptr) {
    VORN_LOG(VORN_ERR, "utf8str or utf8Start is NULL\n");
    return 0;
  }
  // One byte stays free for the terminator.
  if (size == 0) {
    VORN_LOG(VORN_DBUG, kTruncated, size);
    return 0;
  }
  if (ucs2 == nullptr) {
    VORN_LOG(VORN_ERR, "Error in converting ucs2 string to utf8\n");
    utf8[0] = '\0';
    return 0;
  }
  // A unit needs both its bytes: an odd last byte cannot be read.
  const uint16_t *source = ucs2;
  auto *start = reinterpret_cast<uint8_t *>(utf8);
  uint8_t *target = start;
  vorn_conversion_result rc =
      vorn_util_ConvertUTF16toUTF8(&source, ucs2 + length / sizeof(uint16_t), &target,
                                   start + size - 1, VORN_CONVERSION_LENIENT);
  if (rc == VORN_CONVERSION_TARGET_EXHAUSTED) {
    VORN_LOG(VORN_DBUG, kTruncated, size);
  } else if (rc != VORN_CONVERSION_OK) {
    VORN_LOG(VORN_ERR, "Error in converting ucs2 string to utf8\n");
  }
  *target = '\0';
  return static_cast<size_t>(target - start);
}

}  // extern "C"
