#include "sms_test.h"

#include <fstream>
#include <sstream>

#include "gammu_ref.h"

namespace smst {
namespace {

// GSM 03.38 default alphabet and its escape table.
constexpr char16_t kGsm[] =
    u"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ\x1b"
    u"ÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿"
    u"abcdefghijklmnopqrstuvwxyzäöñüà";
static_assert(sizeof kGsm / sizeof kGsm[0] == 129);

struct Escaped {
  uint8_t septet;
  char16_t unit;
};
constexpr Escaped kEscaped[] = {{10, u'\f'}, {20, u'^'}, {40, u'{'}, {41, u'}'}, {47, u'\\'},
                                {60, u'['},  {61, u'~'}, {62, u']'}, {64, u'|'}, {101, u'€'}};

}  // namespace

Bytes unhex(const std::string &hex) {
  Bytes out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    out.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return out;
}

std::string hex(const uint8_t *data, size_t length) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (size_t i = 0; i < length; ++i) {
    out += kDigits[data[i] >> 4];
    out += kDigits[data[i] & 15];
  }
  return out;
}

bool CorpusEntry::has(const std::string &flag) const {
  for (const auto &f : flags)
    if (f == flag) return true;
  return false;
}

std::vector<CorpusEntry> corpus(const std::string &file) {
  std::ifstream in(std::string(SMS_CORPUS_DIR) + "/" + file);
  EXPECT_TRUE(in.good()) << file;
  std::vector<CorpusEntry> entries;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    size_t hash = line.find('#');
    std::istringstream words(line.substr(0, hash));
    CorpusEntry entry;
    std::string pdu;
    if (!(words >> entry.direction >> pdu)) continue;
    entry.where = file + ":" + std::to_string(number);
    entry.pdu = unhex(pdu);
    for (std::string flag; words >> flag;) entry.flags.push_back(flag);
    if (hash != std::string::npos) entry.note = line.substr(hash + 1);
    entries.push_back(entry);
  }
  return entries;
}

std::u16string septets_text(const uint8_t *septets, size_t count) {
  std::u16string out;
  for (size_t i = 0; i < count; ++i) {
    if (septets[i] != 27 || i + 1 == count) {
      out += kGsm[septets[i] & 0x7F];
      continue;
    }
    uint8_t next = septets[++i];
    char16_t unit = u' ';
    for (const Escaped &e : kEscaped)
      if (e.septet == next) unit = e.unit;
    out += unit;
  }
  return out;
}

bool text_septets(const std::u16string &text, Bytes &septets) {
  septets.clear();
  for (char16_t unit : text) {
    bool found = false;
    for (uint8_t s = 0; s < 128 && !found; ++s)
      if (kGsm[s] == unit && s != 27) {
        septets.push_back(s);
        found = true;
      }
    for (const Escaped &e : kEscaped)
      if (!found && e.unit == unit) {
        septets.insert(septets.end(), {27, e.septet});
        found = true;
      }
    if (!found) return false;
  }
  return true;
}

std::u16string utf16(const std::string &utf8) {
  std::u16string out;
  for (size_t i = 0; i < utf8.size();) {
    auto byte = static_cast<uint8_t>(utf8[i]);
    int extra = byte < 0x80 ? 0 : byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
    uint32_t c = extra == 0 ? byte : byte & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) c = c << 6 | (static_cast<uint8_t>(utf8[i + k]) & 0x3F);
    i += static_cast<size_t>(extra) + 1;
    if (c >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
  }
  return out;
}

sms_message_record decoded(const Bytes &pdu, uint32_t direction) {
  sms_message_record record;
  EXPECT_EQ(0, vorn_sms_decode(direction, SMS_PROTOCOL_GW_PP, pdu.data(),
                               static_cast<uint32_t>(pdu.size()), &record))
      << hex(pdu);
  return record;
}

Bytes encoded(const sms_message_record &record) {
  uint8_t out[200];
  uint32_t length = 0;
  EXPECT_EQ(0, vorn_sms_encode(SMS_PROTOCOL_GW_PP, out, sizeof out, &record, &length));
  return Bytes(out, out + length);
}

std::string address_text(const sms_address_record &address) {
  if (address.digit_mode == 1)
    return gref::utf8(septets_text(address.digits, address.number_of_digits));
  char text[SMS_ADDRESS_TEXT_SIZE];
  uint8_t type = 0;
  EXPECT_EQ(0, DecodeAddrToStr(address, text, &type));
  return text;
}

sms_message_record message(uint32_t kind, int fo, uint8_t dcs, const char *number, const char *smsc,
                           const char *validity) {
  sms_message_record record{};
  record.kind = kind;
  EXPECT_EQ(0, vorn_sms_fill_pdu_fields(&record, fo, 0, dcs, validity));
  sms_address_record &address = kind == SMS_KIND_SUBMIT ? record.body.submit.destination_address
                                                        : record.body.deliver.originating_address;
  EXPECT_EQ(1, vorn_sms_str_to_addr(&address, number, nullptr, 1));
  EXPECT_EQ(1, vorn_sms_str_to_addr(&record.sc_address, smsc, nullptr, 1));
  return record;
}

sms_user_data_record &user_data(sms_message_record &record) {
  return record.kind == SMS_KIND_SUBMIT ? record.body.submit.user_data
                                        : record.body.deliver.user_data;
}

void add_header(sms_message_record &record, const sms_udh_element &element) {
  sms_user_data_record &ud = user_data(record);
  ud.headers[ud.num_headers++] = element;
  // SMS_SUBMIT_UDHI and SMS_DELIVER_UDHI are the same bit.
  (record.kind == SMS_KIND_SUBMIT ? record.body.submit.flags : record.body.deliver.flags) |=
      SMS_SUBMIT_UDHI;
}

sms_udh_element concat8(uint8_t ref, uint8_t total, uint8_t seq) {
  sms_udh_element e{};
  e.header_id = SMS_UDH_CONCAT_8;
  e.body.concat_8 = {ref, total, seq};
  return e;
}

sms_udh_element concat16(uint16_t ref, uint8_t total, uint8_t seq) {
  sms_udh_element e{};
  e.header_id = SMS_UDH_CONCAT_16;
  e.body.concat_16 = {ref, total, seq};
  return e;
}

}  // namespace smst
