#include "gammu_ref.h"

#include <cstring>
#include <mutex>
#include <vector>

namespace gref {
namespace {

void init_gammu() {
  static std::once_flag once;
  std::call_once(once, [] { GSM_InitLocales(nullptr); });
}

// gammu keeps text as big-endian UCS-2 units, terminated by a zero unit.
std::u16string units(const unsigned char *text, size_t count) {
  std::u16string out;
  for (size_t i = 0; i < count; ++i)
    out += static_cast<char16_t>(text[2 * i] << 8 | text[2 * i + 1]);
  return out;
}

std::u16string units(const unsigned char *text) {
  size_t count = 0;
  while (text[2 * count] != 0 || text[2 * count + 1] != 0) ++count;
  return units(text, count);
}

Time time_of(const GSM_DateTime &t) {
  return {t.Year, t.Month, t.Day, t.Hour, t.Minute, t.Second, t.Timezone};
}

Coding coding_of(GSM_Coding_Type coding) {
  switch (coding) {
    case SMS_Coding_Unicode_No_Compression: return Coding::kUcs2;
    case SMS_Coding_Default_No_Compression: return Coding::kDefault;
    case SMS_Coding_8bit: return Coding::kEightBit;
    default: return Coding::kOther;
  }
}

}  // namespace

// gammu's own encoder, so that the library's texts are checked against an
// independent one.
std::string utf8(const std::u16string &text) {
  std::vector<unsigned char> units(2 * text.size() + 2, 0);
  for (size_t i = 0; i < text.size(); ++i) {
    units[2 * i] = static_cast<unsigned char>(text[i] >> 8);
    units[2 * i + 1] = static_cast<unsigned char>(text[i] & 0xFF);
  }
  std::vector<char> out(4 * text.size() + 1, 0);
  EncodeUTF8(out.data(), units.data());
  return out.data();
}

bool decode_raw(const Bytes &pdu, GSM_SMSMessage &sms) {
  init_gammu();
  std::memset(&sms, 0, sizeof sms);
  size_t end = 0;
  return GSM_DecodePDUFrame(nullptr, &sms, pdu.data(), pdu.size(), &end, TRUE) == ERR_NONE;
}

Message decode(const Bytes &pdu) {
  Message m;
  GSM_SMSMessage sms;
  if (!decode_raw(pdu, sms)) return m;
  m.ok = true;
  m.type = sms.PDU == SMS_Deliver         ? Type::kDeliver
           : sms.PDU == SMS_Status_Report ? Type::kStatusReport
                                          : Type::kSubmit;
  m.coding = coding_of(sms.Coding);
  m.message_class = sms.Class;
  m.number = utf8(units(sms.Number));
  m.smsc = utf8(units(sms.SMSC.Number));
  // Length counts octets, or septets with their escapes; text is terminated.
  if (sms.Coding == SMS_Coding_8bit) {
    m.text = std::u16string(sms.Text, sms.Text + sms.Length);
  } else {
    m.text = units(sms.Text);
  }
  // gammu keeps a "~" of UCS-2 text as "~~", its own escape.
  if (sms.Coding == SMS_Coding_Unicode_No_Compression) {
    for (size_t at = 0; (at = m.text.find(u"~~", at)) != std::u16string::npos; ++at)
      m.text.erase(at, 1);
  }
  if (sms.UDH.Type != UDH_NoUDH) m.udh.assign(sms.UDH.Text, sms.UDH.Text + sms.UDH.Length);
  m.id8 = sms.UDH.ID8bit;
  m.id16 = sms.UDH.ID16bit;
  m.part = sms.UDH.PartNumber;
  m.all_parts = sms.UDH.AllParts;
  m.time = time_of(sms.DateTime);
  m.smsc_time = time_of(sms.SMSCTime);
  m.delivery_status = sms.DeliveryStatus;
  m.message_reference = sms.MessageReference;
  if (sms.SMSC.Validity.Format == SMS_Validity_RelativeFormat)
    m.relative_validity = sms.SMSC.Validity.Relative;
  return m;
}

// GSM_EncodeSMSFrame fills a frame of fixed field positions; the wire PDU
// takes the fields in their order, each as long as it is.
Bytes encode(GSM_SMSMessage &sms) {
  init_gammu();
  const GSM_SMSMessageLayout &layout = sms.PDU == SMS_Deliver ? PHONE_SMSDeliver : PHONE_SMSSubmit;
  unsigned char frame[1000] = {};
  int length = 0;
  if (GSM_EncodeSMSFrame(nullptr, &sms, frame, layout, &length, TRUE) != ERR_NONE) return {};
  Bytes pdu;
  auto take = [&](int at, size_t n) { pdu.insert(pdu.end(), frame + at, frame + at + n); };
  take(layout.SMSCNumber, frame[layout.SMSCNumber] + 1u);
  take(layout.firstbyte, 1);
  if (layout.TPMR != 255) take(layout.TPMR, 1);
  take(layout.Number, 2 + (frame[layout.Number] + 1u) / 2);
  take(layout.TPPID, 1);
  take(layout.TPDCS, 1);
  if (sms.PDU == SMS_Deliver) take(layout.DateTime, 7);
  if (sms.PDU == SMS_Submit && (frame[layout.firstbyte] & 0x18) == 0x10) take(layout.TPVP, 1);
  take(layout.TPUDL, 1);
  take(layout.Text, static_cast<size_t>(length - layout.Text));
  return pdu;
}

}  // namespace gref
