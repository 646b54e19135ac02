// libFuzzer: Latin-1 text into UTF-8 at any output size. What fits reads
// back: each character is one byte, or two for those above 127.
//   first octet: output size; then the text
#include <vornpal/text_conversion.h>

#include "exact_buffers.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  quiet_full_logging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1 || size > 0x10000) return 0;
  const size_t out_size = output_size(data[0], size - 1);
  Block text(size - 1);
  std::memcpy(text.bytes.data(), data + 1, text.size);
  Block utf8(out_size);
  int written = vorn_util_ss_ascii_to_utf8(text.as<char>(), static_cast<int>(text.size),
                                           utf8.as<char>(), out_size);
  if (written < 0) std::abort();
  if (out_size < 2 * text.size || out_size == 0) {
    if (written != 0) std::abort();
    return 0;
  }
  require_terminated(utf8.as<char>(), static_cast<size_t>(written), out_size);
  // Every byte of the text but carriage returns is there, in order, up to
  // the one left out for lack of room.
  const uint8_t *out = utf8.as<uint8_t>();
  size_t at = 0;
  for (size_t i = 0; i < text.size && at < static_cast<size_t>(written); ++i) {
    uint8_t c = text.as<uint8_t>()[i];
    if (c == '\r') continue;
    if (c < 0x80) {
      if (out[at++] != c) std::abort();
    } else if (out[at] != (0xC0 | c >> 6) || out[at + 1] != (0x80 | (c & 0x3F))) {
      std::abort();
    } else {
      at += 2;
    }
  }
  return 0;
}
