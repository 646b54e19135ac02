#include "usim/apdu_text.h"

#include <cstdlib>
#include <cstring>

#include "foundation/log_site.h"

namespace vorn::usim {

uint8_t hexchar_to_bin(char c) {
  if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<uint8_t>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
  VORN_LOG_AS("uim_hexchar_to_bin", VORN_ERR, "ERROR to transfer hexchar to bin");
  return 0;
}

uint16_t hexstring_to_bin(const char *text, uint8_t *buffer, uint16_t size) {
  if (text == nullptr || buffer == nullptr) {
    VORN_LOG_AS("uim_hexstring_to_bin", VORN_ERR, "Error, param pointer is NULL.\n");
    return 0;
  }
  const auto length = static_cast<uint16_t>(std::strlen(text));
  const auto count = static_cast<uint16_t>((length + 1u) / 2u);
  if (size < count) {
    VORN_LOG_AS("uim_hexstring_to_bin", VORN_ERR, "Buffer is too small for conversion (0x%x < 0x%x)",
                static_cast<unsigned>(size), static_cast<unsigned>(count));
    return 0;
  }
  std::memset(buffer, 0, size);
  for (uint16_t i = 0; i < length; ++i) {
    const uint8_t nibble = hexchar_to_bin(text[i]);
    buffer[i / 2] |= static_cast<uint8_t>(i % 2 == 0 ? nibble << 4 : nibble);
  }
  return count;
}

void bin_to_hexstring(const uint8_t *bytes, uint16_t len, char *text, size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  if (text == nullptr || size == 0) return;
  std::memset(text, 0, size);
  for (size_t i = 0; i < len && 2 * i + 2 < size; ++i) {
    text[2 * i] = kDigits[bytes[i] >> 4];
    text[2 * i + 1] = kDigits[bytes[i] & 0x0F];
  }
}

char *alloc_bin_to_hexstring(const uint8_t *bytes, uint16_t len) {
  const size_t size = (2u * len + 1u) & 0xFFFFu;
  auto *text = static_cast<char *>(std::malloc(size == 0 ? 1 : size));
  if (text == nullptr) return nullptr;
  if (size == 0) {
    text[0] = '\0';
    return text;
  }
  bin_to_hexstring(bytes, len, text, size);
  return text;
}

}  // namespace vorn::usim
