// Text and PDUs of the sms commands: UTF-8 text split into the submit or
// deliver PDUs of its parts (GSM 7-bit, with the Spanish national single
// shift table when the text needs it, or UCS-2), and the text of a decoded
// message for people. Conversions go through the library's vorn_util_ and
// codec functions.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <vornpal/sms_codec.h>

namespace ctl::sms {

using Bytes = std::vector<uint8_t>;

enum class Alphabet { kGsm7, kUcs2, kOctets };

struct EncodeOptions {
  std::string number, text, smsc, validity = "167";
  Alphabet alphabet = Alphabet::kGsm7;
  int message_class = -1;
  bool status_report = false, ref16 = false, deliver = false;
  long long ref = -1;
  std::vector<sms_udh_element> headers;  // ports
};

// The PDUs of the text's parts (service centre part first: the given
// centre, or an empty one), or an error text.
bool encode_parts(const EncodeOptions &o, std::vector<Bytes> &pdus, std::string &error);

// The text of decoded user data: escapes, the national single shift table
// its header names, UCS-2; 8-bit data as hex.
std::string user_text(const sms_dcs_record &dcs, const sms_user_data_record &ud);

// An address as "+" and digits, or its alphanumeric text.
std::string address_text(const sms_address_record &address);

// One line about a PDU (service centre part first) for people: kind,
// address, part and text.
std::string describe(const uint8_t *pdu, size_t length);

}  // namespace ctl::sms
