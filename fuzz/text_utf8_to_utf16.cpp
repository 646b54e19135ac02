// libFuzzer: any bytes as UTF-8 into UTF-16 and into a UCS-2 buffer.
//   first octet: output size; then the text
// What converts reads back to the same UTF-8.
#include <vornpal/text_conversion.h>

#include "exact_buffers.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  quiet_full_logging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1) return 0;
  const size_t out_size = output_size(data[0], size - 1);
  Block text(size - 1);
  std::memcpy(text.bytes.data(), data + 1, size - 1);

  for (vorn_conversion_flags flags : {VORN_CONVERSION_STRICT, VORN_CONVERSION_LENIENT}) {
    Block units(out_size);
    const uint8_t *source = text.as<uint8_t>();
    uint16_t *target = units.as<uint16_t>();
    vorn_conversion_result rc = vorn_util_ConvertUTF8toUTF16(
        &source, text.as<uint8_t>() + text.size, &target, target + out_size / 2, flags);
    if (rc > VORN_CONVERSION_SOURCE_ILLEGAL) std::abort();
    // Back: the units give exactly the bytes they came from.
    Block back(source - text.as<uint8_t>());
    const uint16_t *from = units.as<uint16_t>();
    uint8_t *to = back.as<uint8_t>();
    if (vorn_util_ConvertUTF16toUTF8(&from, target, &to, to + back.size, flags) !=
            VORN_CONVERSION_OK ||
        to != back.as<uint8_t>() + back.size ||
        std::memcmp(back.bytes.data(), text.bytes.data(), back.size) != 0)
      std::abort();
  }

  Block ucs2(out_size);
  size_t written =
      vorn_util_convert_utf8_to_ucs2(text.as<char>(), text.size, ucs2.as<uint16_t>(), out_size);
  if (out_size >= 2 && (written > out_size - 2 || ucs2.as<uint16_t>()[written / 2] != 0))
    std::abort();
  return 0;
}
