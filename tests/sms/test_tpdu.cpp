// The record layer: whole PDUs to records and back, bad input, encoder
// refusals.
#include <cstring>
#include <set>

#include "sms_test.h"
#include "vornpal_test.h"

namespace {

using namespace smst;

int flag_value(const CorpusEntry &entry, const std::string &name) {
  for (const std::string &flag : entry.flags)
    if (flag.rfind(name + "=", 0) == 0) return std::stoi(flag.substr(name.size() + 1));
  ADD_FAILURE() << entry.where << " has no " << name;
  return 1;
}

TEST(SmsDecode, MalformedInputGivesItsCodeAndStaysInside) {
  for (const CorpusEntry &entry : corpus("malformed.txt")) {
    SCOPED_TRACE(entry.where + entry.note);
    // An input of exactly its own size: a read past it is a sanitizer error.
    std::vector<uint8_t> pdu(entry.pdu);
    auto length = static_cast<uint32_t>(pdu.size());
    sms_message_record record;
    EXPECT_EQ(flag_value(entry, "rc"),
              vorn_sms_decode(entry.decode_direction(), 1, pdu.data(), length, &record));
    EXPECT_EQ(flag_value(entry, "kind"), static_cast<int>(record.kind));
    int flat = smsPdu_Decode(1, pdu.data(), length, &record);
    EXPECT_EQ(flag_value(entry, "flat"), flat);
    if (flat != 0) {
      EXPECT_EQ(SMS_KIND_UNDECODABLE, record.kind);
    }
  }
  EXPECT_TRUE(vt::logged("smsc len:12"));
  EXPECT_TRUE(vt::logged("zero raw ts data"));
  EXPECT_TRUE(vt::logged("Could not decode GSM PDU message"));
  EXPECT_TRUE(vt::logged("SMS_TS_DEBUG : pos = 19, IE Length = 160, PDU Len = 25"));

  // What fuzzing found stays decodable into one of the codec's results.
  const std::set<int> codes = {0, -6, -9, -10, -13, -15, -18, -23, -24, -25};
  for (const CorpusEntry &entry : corpus("fuzz_finds.txt")) {
    SCOPED_TRACE(entry.where + entry.note);
    std::vector<uint8_t> pdu(entry.pdu);
    auto length = static_cast<uint32_t>(pdu.size());
    sms_message_record record;
    EXPECT_EQ(
        1u, codes.count(vorn_sms_decode(entry.decode_direction(), 1, pdu.data(), length, &record)));
    EXPECT_LE(record.kind, 7u);
    EXPECT_EQ(1u, codes.count(smsPdu_Decode(1, pdu.data(), length, &record)));
  }

  sms_message_record record;
  uint8_t nothing = 0;
  EXPECT_EQ(SMS_ERR_EMPTY, vorn_sms_decode(2, 1, &nothing, 0, &record));
  EXPECT_TRUE(vt::logged("wrong data size:0"));
  EXPECT_EQ(SMS_ERR_UNSUPPORTED, vorn_sms_decode(2, 9, &nothing, 1, &record));
  EXPECT_TRUE(vt::logged("Protocol 9 not supported"));
  EXPECT_EQ(SMS_ERR_UNSUPPORTED, vorn_sms_decode(2, SMS_PROTOCOL_CDMA, &nothing, 1, &record));
  EXPECT_EQ(SMS_KIND_UNDECODABLE, record.kind);
}

// Delivers and submits with relative validity read and written back give
// the same octets, TP-MMS of a deliver flipped as the codec does by design.
TEST(SmsDecode, RecordsEncodeBackToTheirPdus) {
  int checked = 0;
  for (const char *file : {"handsets.txt", "generated.txt"}) {
    for (const CorpusEntry &entry : corpus(file)) {
      SCOPED_TRACE(entry.where + entry.note);
      sms_message_record record = decoded(entry.pdu, entry.decode_direction());
      if (entry.pdu[0] == 0) {  // default service centre: vorn_sms_encode wants one
        EXPECT_EQ(0, record.sc_address.number_of_digits);
        continue;
      }
      if (entry.has("minus-zero")) continue;  // a zone of -0 is written back as +0
      Bytes expected = entry.pdu;
      size_t first_octet = entry.pdu[0] + 1u;
      if (record.kind == SMS_KIND_DELIVER) {
        expected[first_octet] ^= 0x04;
      } else if (record.kind != SMS_KIND_SUBMIT ||
                 record.body.submit.validity.format != SMS_VALIDITY_RELATIVE ||
                 record.body.submit.raw_validity_octet >= 245) {
        continue;  // the decoder's change to the validity's first byte stays
      }
      EXPECT_EQ(hex(expected), hex(encoded(record)));
      ++checked;
    }
  }
  EXPECT_GE(checked, 30);
}

TEST(SmsDecode, RecordsOfEachKind) {
  // Submit without validity: the first byte of the validity union reads 255.
  sms_message_record r = decoded(unhex("0001000B915121551532F400000361F118"), 1);
  EXPECT_EQ(SMS_KIND_SUBMIT, r.kind);
  EXPECT_EQ(0, r.sc_address.number_of_digits);
  EXPECT_EQ(255, r.body.submit.validity.period.timestamp.year);

  // Status report with PID, DCS and user data.
  r = decoded(unhex(
      "079144775810065002070A81602143658732101001000000321010010000000007000009E4323B6D2FCBCB64"));
  const sms_status_report_record &report = r.body.status_report;
  EXPECT_EQ(SMS_KIND_STATUS_REPORT, r.kind);
  EXPECT_EQ(SMS_STATUS_REPORT_NO_MMS, report.flags);
  EXPECT_EQ(7u, report.message_reference);
  EXPECT_EQ(7u, report.parameter_indicator);
  EXPECT_STREQ("23/01/01,10:00:00+00", report.discharge_text);
  EXPECT_EQ(9, report.user_data.sm_len);

  // The same TPDU from a handset is a command.
  r = decoded(unhex("0002010001050D91945111325476F803616263"), SMS_DIRECTION_MO);
  EXPECT_EQ(SMS_KIND_COMMAND, r.kind);
  EXPECT_EQ(5u, r.body.command.message_number);
  EXPECT_EQ(3, r.body.command.command_data_length);
  EXPECT_EQ(0, std::memcmp("abc", r.body.command.command_data, 3));

  // A call-back waiting indication: PID 5F with a DCS kind.
  r = decoded(unhex("0791447758100650040C919471016700005FC9321150412090400100"));
  EXPECT_EQ(SMS_MSG_WAITING_STORE, r.body.deliver.dcs.msg_waiting);
  EXPECT_EQ(1, r.body.deliver.dcs.msg_waiting_active);
  EXPECT_EQ(0u, r.body.deliver.dcs.msg_waiting_kind);

  // A cell broadcast page.
  Bytes page = unhex("4011001A0F11C8329BFD06");  // "Hello"
  page.resize(88, 0x1A);
  ASSERT_EQ(0, vorn_sms_decode(1, SMS_PROTOCOL_GW_CB, page.data(), 88, &r));
  EXPECT_EQ(SMS_KIND_CELL_BROADCAST, r.kind);
  EXPECT_EQ(0x1A, r.body.broadcast.message_id & 0xFF);
  EXPECT_STREQ("Hello", std::string(r.body.broadcast.text, 5).c_str());
}

TEST(SmsEncode, RefusalsAndTheirCodes) {
  sms_message_record r = message(SMS_KIND_SUBMIT, 0x11, 0x00, "+4915112345678");
  sms_user_data_record &ud = user_data(r);
  uint8_t out[200];
  uint32_t length = 0;

  // 160 septets pass the length test, 161 do not; a header leaves 153.
  ud.sm_len = 160;
  EXPECT_EQ(0, vorn_sms_encode(1, out, sizeof out, &r, &length));
  EXPECT_EQ(0xA0, out[length - 141]);
  ud.sm_len = 161;
  EXPECT_EQ(SMS_ERR_FAULT, vorn_sms_encode(1, out, sizeof out, &r, &length));
  EXPECT_TRUE(vt::logged("User Data Length has exceeded capacity"));
  EXPECT_TRUE(vt::logged("ENcode error:res=-9"));
  ud.sm_len = 153;
  add_header(r, concat8(1, 2, 1));
  EXPECT_EQ(0, vorn_sms_encode(1, out, sizeof out, &r, &length));
  ud.sm_len = 154;
  EXPECT_EQ(SMS_ERR_FAULT, vorn_sms_encode(1, out, sizeof out, &r, &length));
  ud.sm_len = 10;

  EXPECT_EQ(SMS_ERR_OVERFLOW, vorn_sms_encode(1, out, 20, &r, &length));
  EXPECT_TRUE(vt::logged("overflow:38,20"));
  EXPECT_EQ(SMS_ERR_OVERFLOW, vorn_sms_encode(1, out, 8, &r, &length));
  EXPECT_TRUE(vt::logged("Exceed Max Data Length, Pack SIM SMS Failed"));
  EXPECT_EQ(SMS_ERR_UNSUPPORTED, vorn_sms_encode(2, out, sizeof out, &r, &length));
  EXPECT_TRUE(vt::logged("Could not ENCode GSM PDU message"));

  // An empty service centre writes 2 octets and fails the length test.
  sms_message_record no_sc = r;
  no_sc.sc_address.number_of_digits = 0;
  EXPECT_EQ(SMS_ERR_MALFORMED, vorn_sms_encode(1, out, sizeof out, &no_sc, &length));
  EXPECT_TRUE(vt::logged("Invalid SC address Length:1"));
  EXPECT_EQ(0xFF, out[5]);  // the output was filled first

  // Submit: a TP-VPF above 3, an absolute validity that is no time.
  sms_message_record bad = r;
  bad.body.submit.validity.format = 4;
  EXPECT_EQ(SMS_ERR_MALFORMED, EncodeSubmit(&bad.body.submit, out));
  bad.body.submit.validity.format = SMS_VALIDITY_ABSOLUTE;
  bad.body.submit.validity.period.timestamp = {0x24, 0x13, 0x01, 0, 0, 0, 0};
  EXPECT_EQ(SMS_ERR_INVALID, EncodeSubmit(&bad.body.submit, out));
  bad.body.submit.destination_address.number_of_digits = 21;
  EXPECT_EQ(SMS_ERR_FAULT, EncodeSubmit(&bad.body.submit, out));
  EXPECT_TRUE(vt::logged("EncodeAddress err"));

  // Deliver: a time stamp that cannot be written, too much user data.
  sms_message_record deliver = message(SMS_KIND_DELIVER, 0x04, 0x04, "+4915112345678");
  deliver.body.deliver.scts = {0x24, 0x02, 0x30, 0x25, 0, 0, 0};
  EXPECT_EQ(SMS_ERR_EMPTY, EncodeDeliver(&deliver.body.deliver, out));
  EXPECT_TRUE(vt::logged("EncodeTimestamp err"));
  deliver.body.deliver.scts = {0x24, 0x02, 0x29, 0x23, 0, 0, 0};
  deliver.body.deliver.user_data.sm_len = 141;
  EXPECT_EQ(SMS_ERR_FAULT, EncodeDeliver(&deliver.body.deliver, out));
  EXPECT_EQ(SMS_ERR_INVALID, EncodeDeliver(nullptr, out));
  EXPECT_TRUE(vt::logged("NULL param"));
}

}  // namespace
