// libFuzzer: a USSD string of any data coding scheme into UTF-8.
//   first octet: output size; second: DCS; then the string
#include <vornpal/text_conversion.h>

#include "exact_buffers.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  quiet_full_logging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2) return 0;
  const size_t out_size = output_size(data[0], size - 2);
  const uint8_t dcs = data[1];
  Block text(size - 2);
  std::memcpy(text.bytes.data(), data + 2, text.size);
  Block utf8(out_size);
  size_t written = vorn_util_convert_ussd_string_to_utf8(dcs, text.as<uint8_t>(), text.size,
                                                         utf8.as<char>(), out_size);
  if (written > 0) require_terminated(utf8.as<char>(), written, out_size);
  // The ASCII test reads up to the terminator: give it one.
  Block terminated(text.size + 1);
  std::memcpy(terminated.bytes.data(), text.bytes.data(), text.size);
  terminated.as<char>()[text.size] = '\0';
  vorn_util_UssdStringIsAscii(terminated.as<char>());
  return 0;
}
