// Pieces of the codec that more than one entry point uses.
#pragma once

#include <cstdint>

#include <vornpal/sms_records.h>

namespace vorn::sms {

// Bits of the first octet of a TPDU.
constexpr uint8_t kMtiMask = 0x03;
constexpr uint8_t kFoMms = 0x04;  // TP-MMS of deliver and status report; TP-RD of submit
constexpr uint8_t kFoSrr = 0x20;  // TP-SRI, TP-SRR, TP-SRQ
constexpr uint8_t kFoUdhi = 0x40;
constexpr uint8_t kFoRp = 0x80;

// Record flags from first-octet bits and back, by table.
struct FlagBit {
  uint8_t flag;
  uint8_t first_octet;
};

constexpr FlagBit kDeliverBits[] = {{SMS_DELIVER_MMS, kFoMms},
                                    {SMS_DELIVER_RP, kFoRp},
                                    {SMS_DELIVER_UDHI, kFoUdhi},
                                    {SMS_DELIVER_SRI, kFoSrr}};
constexpr FlagBit kSubmitBits[] = {{SMS_SUBMIT_RD, kFoMms},
                                   {SMS_SUBMIT_SRR, kFoSrr},
                                   {SMS_SUBMIT_UDHI, kFoUdhi},
                                   {SMS_SUBMIT_RP, kFoRp}};

template <size_t N>
constexpr uint8_t flags_of(uint8_t first_octet, const FlagBit (&bits)[N]) {
  uint8_t flags = 0;
  for (const FlagBit &bit : bits)
    if (first_octet & bit.first_octet) flags |= bit.flag;
  return flags;
}

template <size_t N>
constexpr uint8_t first_octet_of(uint8_t flags, const FlagBit (&bits)[N]) {
  uint8_t first_octet = 0;
  for (const FlagBit &bit : bits)
    if (flags & bit.flag) first_octet |= bit.first_octet;
  return first_octet;
}

// Fills output with 0xFF and writes the service centre address at its start
// with the octet count that the wire carries. Returns the octets written or a
// negative code.
int put_service_centre(uint8_t *output, uint32_t output_size, const sms_address_record *sc);

// A cell broadcast page (protocol 3) into record->body.broadcast: kind 4, or
// kind 7 and a negative code.
int decode_cell_broadcast(const uint8_t *page, uint32_t length, sms_message_record *record);

// Protocol 2 belongs to the CDMA codec, which this library does not carry:
// kind 7 and -18.
int refuse_cdma(sms_message_record *record);

}  // namespace vorn::sms
