// libFuzzer: any units as UTF-16 into UTF-8, and any bytes (odd lengths too)
// as a UCS-2 buffer into UTF-8.
//   first octet: output size; then the units in the machine's byte order
// What converts strictly reads back to the same units.
#include <vornpal/text_conversion.h>

#include "exact_buffers.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  quiet_full_logging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1) return 0;
  const size_t out_size = output_size(data[0], size - 1);
  Block bytes(size - 1);
  std::memcpy(bytes.bytes.data(), data + 1, size - 1);

  for (vorn_conversion_flags flags : {VORN_CONVERSION_STRICT, VORN_CONVERSION_LENIENT}) {
    Block units(bytes.size / 2 * 2);
    std::memcpy(units.bytes.data(), bytes.bytes.data(), units.size);
    Block utf8(out_size);
    const uint16_t *source = units.as<uint16_t>();
    uint8_t *target = utf8.as<uint8_t>();
    vorn_conversion_result rc = vorn_util_ConvertUTF16toUTF8(
        &source, units.as<uint16_t>() + units.size / 2, &target, target + out_size, flags);
    if (rc > VORN_CONVERSION_SOURCE_ILLEGAL) std::abort();
    if (flags == VORN_CONVERSION_LENIENT) continue;  // replacements do not read back
    Block back(2 * static_cast<size_t>(source - units.as<uint16_t>()));
    const uint8_t *from = utf8.as<uint8_t>();
    uint16_t *to = back.as<uint16_t>();
    if (vorn_util_ConvertUTF8toUTF16(&from, target, &to, to + back.size / 2, flags) !=
            VORN_CONVERSION_OK ||
        std::memcmp(back.bytes.data(), units.bytes.data(), back.size) != 0)
      std::abort();
  }

  // The buffer form takes its length in bytes and must not read an odd last
  // one as half a unit.
  Block ucs2(bytes.size);
  std::memcpy(ucs2.bytes.data(), bytes.bytes.data(), bytes.size);
  Block utf8(out_size);
  size_t written = vorn_util_convert_ucs2_to_utf8(ucs2.as<uint16_t>(), ucs2.size,
                                                  utf8.as<char>(), out_size);
  require_terminated(utf8.as<char>(), written, out_size);
  return 0;
}
