// APDUs as hexadecimal text: the conversions of the channel functions.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorn::usim {

// 0-9, A-F, a-f; any other character counts as 0 (and is logged).
uint8_t hexchar_to_bin(char c);
// Bytes of `text`: (length + 1) / 2, the length taken modulo 65536. An
// odd last digit fills a high nibble. 0 for null, or when `size` is below
// the count (the buffer untouched); otherwise `size` bytes are zeroed first.
uint16_t hexstring_to_bin(const char *text, uint8_t *buffer, uint16_t size);
// Lowercase text of `len` bytes, terminated, in `size` bytes (zeroed first);
// what does not fit is left out.
void bin_to_hexstring(const uint8_t *bytes, uint16_t len, char *text, size_t size);
// The same into a heap block of (2 * len + 1) & 0xFFFF bytes; the caller
// frees it. Null when out of memory.
char *alloc_bin_to_hexstring(const uint8_t *bytes, uint16_t len);

}  // namespace vorn::usim
