// libFuzzer: smsPdu_Decode of any PDU, as a point-to-point message and as a
// cell broadcast page. The flat view's texts must stay terminated.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/sms_codec.h>

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vorn_set_log_level(4);  // failures log at level 3: keep the runs quiet
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // A copy of exactly the input's size: a read past it is a sanitizer error.
  std::vector<uint8_t> pdu(data, data + size);
  auto length = static_cast<uint32_t>(size);
  auto record = std::make_unique<sms_message_record>();
  if (smsPdu_Decode(SMS_PROTOCOL_GW_PP, pdu.data(), length, record.get()) == 0) {
    const sms_flat_message &flat = record->body.flat;
    if (std::memchr(flat.address, 0, sizeof flat.address) == nullptr ||
        std::memchr(flat.timestamp, 0, sizeof flat.timestamp) == nullptr ||
        flat.text_length >= sizeof flat.text || flat.text[flat.text_length] != '\0')
      abort();
  }
  if (smsPdu_Decode(SMS_PROTOCOL_GW_CB, pdu.data(), length, record.get()) == 0 &&
      record->body.broadcast.text_length >= sizeof record->body.broadcast.text)
    abort();
  return 0;
}
