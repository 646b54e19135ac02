// libFuzzer: vorn_sms_decode of any PDU in both directions, then what the
// daemons do with a decoded message: encode it again, SMS_Decode it, turn
// its user data into text.
//   first input octet: direction (bit 0 set: from the network), then the PDU
#include <cstdlib>
#include <memory>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/sms_codec.h>

namespace {

const sms_user_data_record *user_data(const sms_message_record &record,
                                      const sms_dcs_record *&dcs) {
  switch (record.kind) {
    case SMS_KIND_DELIVER:
    case SMS_KIND_RESERVED: dcs = &record.body.deliver.dcs; return &record.body.deliver.user_data;
    case SMS_KIND_SUBMIT: dcs = &record.body.submit.dcs; return &record.body.submit.user_data;
    case SMS_KIND_STATUS_REPORT:
      dcs = &record.body.status_report.dcs;
      return &record.body.status_report.user_data;
    default: return nullptr;
  }
}

void text_of(const sms_message_record &record) {
  const sms_dcs_record *dcs = nullptr;
  const sms_user_data_record *ud = user_data(record, dcs);
  if (ud == nullptr) return;
  if (ud->sm_len > sizeof ud->sm_data) abort();
  std::vector<uint8_t> buffer(ud->sm_data, ud->sm_data + ud->sm_len);
  buffer.push_back(0);
  std::vector<char> text(ud->sm_len * 4u + 1);
  DecodeData(buffer.data(), ud->sm_len, dcs->alphabet == SMS_ALPHABET_7BIT, text.data(),
             SMS_CHSET_UCS2);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vorn_set_log_level(4);  // failures log at level 3: keep the runs quiet
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1) return 0;
  uint32_t direction = (data[0] & 1) ? SMS_DIRECTION_MT : SMS_DIRECTION_MO;
  // A copy of exactly the PDU's size: a read past it is a sanitizer error.
  std::vector<uint8_t> pdu(data + 1, data + size);
  auto length = static_cast<uint32_t>(pdu.size());
  auto record = std::make_unique<sms_message_record>();
  if (vorn_sms_decode(direction, SMS_PROTOCOL_GW_PP, pdu.data(), length, record.get()) != 0)
    return 0;
  text_of(*record);

  sms_decode_context context{};
  context.pdu = pdu.data();
  context.pdu_length = length;
  SMS_Decode(&context);

  std::vector<uint8_t> out(SMS_PDU_BUFFER_SIZE + 32);
  uint32_t out_length = 0;
  if (vorn_sms_encode(SMS_PROTOCOL_GW_PP, out.data(), static_cast<uint32_t>(out.size()),
                      record.get(), &out_length) == 0) {
    if (out_length > out.size()) abort();
    auto again = std::make_unique<sms_message_record>();
    vorn_sms_decode(direction, SMS_PROTOCOL_GW_PP, out.data(), out_length, again.get());
  }
  return 0;
}
