// libFuzzer: packed GSM 7-bit data and GSM septets one a byte into UTF-8,
// and the unpacker at any capacity.
//   first octet: output size; second: capacity of the unpacker; then the data
#include <vornpal/text_conversion.h>

#include "exact_buffers.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  quiet_full_logging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2 || size > 0x10000) return 0;
  const size_t out_size = output_size(data[0], size - 2);
  const int capacity = static_cast<int8_t>(data[1]) * 3;  // negative and beyond 255 too
  Block input(size - 2);
  std::memcpy(input.bytes.data(), data + 2, input.size);
  const int length = static_cast<int>(input.size);

  Block septets(capacity < 0 || capacity > 254 ? 255 : static_cast<size_t>(capacity));
  int count = vorn_util_ussd_unpack(septets.as<uint8_t>(), capacity, input.as<uint8_t>(), length);
  if (count < 0 || static_cast<size_t>(count) > septets.size || count > length + length / 7)
    std::abort();
  for (int i = 0; i < count; ++i)
    if (septets.as<uint8_t>()[i] > 127) std::abort();

  Block packed_text(out_size);
  int written = vorn_util_convert_gsm_def_alpha_string_to_utf8(input.as<uint8_t>(), length,
                                                              packed_text.as<char>(), out_size);
  if (written > 0) require_terminated(packed_text.as<char>(), static_cast<size_t>(written), out_size);

  Block septet_text(out_size);
  written = vorn_util_convert_gsm8bit_alpha_string_to_utf8(input.as<uint8_t>(), length,
                                                          septet_text.as<char>(), out_size);
  if (written > 0) require_terminated(septet_text.as<char>(), static_cast<size_t>(written), out_size);
  return 0;
}
