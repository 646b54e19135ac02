// libgammu as the independent reference codec of the SMS tests and the
// benchmark: its reading of a PDU in plain values, and its encoder laid out
// as a wire PDU.
#pragma once

#include <gammu.h>

#include <cstdint>
#include <string>
#include <vector>

namespace gref {

using Bytes = std::vector<uint8_t>;

enum class Type { kDeliver, kStatusReport, kSubmit };
enum class Coding { kUcs2, kDefault, kEightBit, kOther };

struct Time {
  int year, month, day, hour, minute, second;
  int zone_seconds;
};

// What gammu reads from a PDU that starts with its service centre address.
struct Message {
  bool ok = false;
  Type type = Type::kDeliver;
  Coding coding = Coding::kOther;
  int message_class = -1;  // -1: none
  std::string number;      // UTF-8, "+" for international numbers
  std::string smsc;
  std::u16string text;  // UTF-16; octets one per unit for 8-bit data
  Bytes udh;            // UDHL octet and elements, empty without a header
  int id8 = -1, id16 = -1, part = -1, all_parts = 0;
  Time time{};       // SCTS
  Time smsc_time{};  // status report: discharge time
  int delivery_status = 0;
  int message_reference = 0;
  int relative_validity = -1;  // submit with relative validity
};

Message decode(const Bytes &pdu);

// gammu's encoder for a message it decoded itself, as a wire PDU (empty
// when gammu refuses).
Bytes encode(GSM_SMSMessage &sms);

// gammu's own message for a PDU.
bool decode_raw(const Bytes &pdu, GSM_SMSMessage &sms);

std::string utf8(const std::u16string &text);

}  // namespace gref
