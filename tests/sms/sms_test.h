// Helpers of the SMS codec tests: hex, the corpus files, the GSM alphabet as
// the standard defines it (to compare septets with libgammu's text), and
// records built through the assembly functions.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vornpal/sms_codec.h>

namespace smst {

using Bytes = std::vector<uint8_t>;

Bytes unhex(const std::string &hex);
std::string hex(const uint8_t *data, size_t length);
inline std::string hex(const Bytes &data) { return hex(data.data(), data.size()); }

// One PDU of a corpus file: "DIR HEX [FLAG...] # note".
struct CorpusEntry {
  std::string where;      // file:line
  std::string direction;  // MT, SR or MO
  Bytes pdu;
  std::vector<std::string> flags;
  std::string note;
  bool has(const std::string &flag) const;
  uint32_t decode_direction() const {
    return direction == "MO" ? SMS_DIRECTION_MO : SMS_DIRECTION_MT;
  }
};
std::vector<CorpusEntry> corpus(const std::string &file);

// Septets (escapes included) as UTF-16 by GSM 03.38, and back; false when a
// character is not in the alphabet.
std::u16string septets_text(const uint8_t *septets, size_t count);
bool text_septets(const std::u16string &text, Bytes &septets);
std::u16string utf16(const std::string &utf8);

// Decoding that must succeed.
sms_message_record decoded(const Bytes &pdu, uint32_t direction = SMS_DIRECTION_MT);
Bytes encoded(const sms_message_record &record);

// An address as gammu shows it: "+" and digits, or the alphanumeric text.
std::string address_text(const sms_address_record &address);

// A submit or deliver record filled through the assembly functions: first
// octet fo, DCS, number, service centre.
sms_message_record message(uint32_t kind, int fo, uint8_t dcs, const char *number,
                           const char *smsc = "+447785016005", const char *validity = nullptr);
// User data of the record's body.
sms_user_data_record &user_data(sms_message_record &record);
void add_header(sms_message_record &record, const sms_udh_element &element);
sms_udh_element concat8(uint8_t ref, uint8_t total, uint8_t seq);
sms_udh_element concat16(uint16_t ref, uint8_t total, uint8_t seq);

}  // namespace smst
