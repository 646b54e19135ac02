// The record layer: TPDUs of each type to and from their records, and the
// entry points that add the service centre address.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include <vornpal/sms_codec.h>

#include "foundation/log_site.h"
#include "sms/pdu.h"
#include "sms/septets.h"

// The daemons allocate these records by the sizes they have on the target;
// none holds a pointer, so the layout is the same on 32 and 64 bits.
static_assert(sizeof(sms_message_record) == SMS_MESSAGE_RECORD_SIZE);
static_assert(sizeof(sms_user_data_record) == SMS_USER_DATA_RECORD_SIZE);
static_assert(offsetof(sms_message_record, sc_address) == 8);
static_assert(offsetof(sms_message_record, first_octet) == 76);
static_assert(offsetof(sms_message_record, body) == 80);
static_assert(sizeof(sms_address_record) == 68);
static_assert(sizeof(sms_dcs_record) == 28);
static_assert(sizeof(sms_timestamp) == 7);
static_assert(sizeof(sms_validity_record) == 20);
static_assert(sizeof(sms_udh_element) == 232);
static_assert(offsetof(sms_user_data_record, sm_len) == 1628);
static_assert(offsetof(sms_deliver_record, user_data) == 136);
static_assert(offsetof(sms_submit_record, user_data) == 156);
static_assert(offsetof(sms_status_report_record, user_data) == 172);
static_assert(sizeof(sms_flat_message) == 272);

namespace {

using namespace vorn::sms;

constexpr uint8_t kReturnCallPid = 0x5F;

constexpr FlagBit kStatusReportBits[] = {{SMS_STATUS_REPORT_UDHI, kFoUdhi},
                                         {SMS_STATUS_REPORT_SRQ, kFoSrr}};
constexpr FlagBit kCommandBits[] = {{SMS_COMMAND_UDHI, kFoUdhi}, {SMS_COMMAND_SRR, kFoSrr}};

int truncated(uint32_t length) {
  VORN_LOG(VORN_ERR, "invalid data size=%d", length);
  return SMS_ERR_TRUNCATED;
}

int truncated_field(const char *text) {
  VORN_LOG(VORN_ERR, "%s", text);
  return SMS_ERR_TRUNCATED;
}

// The address at `at` (digit count first) and one octet behind it lie inside
// the TPDU.
bool address_fits(const uint8_t *tpdu, uint32_t at, uint32_t length) {
  return (tpdu[at] + 1u) / 2 + at + 2 < length;
}

int address_truncated(const uint8_t *tpdu, uint32_t at, uint32_t length) {
  VORN_LOG(VORN_ERR, "SMS_TS_DEBUG : pos = %d, IE Length = %d, PDU Len = %d", at, tpdu[at], length);
  return SMS_ERR_TRUNCATED;
}

// The UDL octet is at pos: its septets or octets must lie inside the TPDU.
bool user_data_fits(const sms_dcs_record &dcs, const uint8_t *tpdu, uint32_t pos, uint32_t length) {
  uint32_t udl = tpdu[pos];
  size_t octets = dcs.alphabet != SMS_ALPHABET_7BIT ? udl : vorn::sms::packed_octets(udl);
  if (pos + 1 + octets <= length) return true;
  VORN_LOG(VORN_ERR, "SMS_TS_DEBUG : pos = %d, IE Length = %d, PDU Len = %d", pos, udl, length);
  return false;
}

// Decoded octets of DecodeGwUserData: below 141 is success, 255 a bad header.
constexpr uint8_t kBadHeader = 255;
bool user_data_ok(uint8_t decoded, uint8_t udl) {
  if (decoded <= SMS_USER_DATA_MAX_OCTETS) return true;
  if (decoded != kBadHeader)
    VORN_LOG(VORN_ERR, "User Data Length has exceeded capacity: UDL = %d", udl);
  return false;
}

// The first byte of the validity union: the year of a relative or absolute
// period, the extension flag of an enhanced one.
uint8_t &first_validity_byte(sms_validity_record &validity) {
  return *reinterpret_cast<uint8_t *>(&validity.period);
}

const sms_timestamp &validity_time(const sms_validity_record &validity) {
  return validity.format == SMS_VALIDITY_ENHANCED ? validity.period.enhanced.time
                                                  : validity.period.timestamp;
}

int DecodeGsmPduNew(uint32_t direction, const uint8_t *pdu, uint32_t length,
                    sms_message_record *record) {
  if (length == 0) {
    VORN_LOG(VORN_ERR, "wrong data size:%d", length);
    return SMS_ERR_EMPTY;
  }
  std::memset(record, 0, sizeof *record);
  uint8_t sc_octets = pdu[0];
  if (sc_octets > SMS_SC_ADDRESS_MAX_OCTETS) {
    VORN_LOG(VORN_ERR, "smsc len:%d", sc_octets);
    return SMS_ERR_MALFORMED;
  }
  if (length < sc_octets + 1u) {
    VORN_LOG(VORN_ERR, "wrong data size:%d", length);
    return SMS_ERR_MALFORMED;
  }
  uint32_t consumed = 1;
  if (sc_octets == 0) {
    VORN_LOG(VORN_DBUG, "Zero Length SC address");
  } else {
    // On the wire the length counts octets; DecodeAddress wants digits.
    uint8_t address[SMS_SC_ADDRESS_MAX_OCTETS + 1] = {};
    std::memcpy(address, pdu, sc_octets + 1u);
    address[0] = static_cast<uint8_t>((sc_octets - 1) * 2 - ((pdu[sc_octets] >> 4) == 0x0F));
    consumed = sc_octets + 1u;
    if (DecodeAddress(address, &record->sc_address) != consumed) {
      VORN_LOG(VORN_ERR, "Invalid BCD address Length");
      return SMS_ERR_MALFORMED;
    }
  }
  if (length < consumed) {
    VORN_LOG(VORN_ERR, "sms msg len err:%d,%d", length, consumed);
    return SMS_ERR_MALFORMED;
  }
  const uint8_t *tpdu = pdu + consumed;
  uint32_t tpdu_length = length - consumed;
  record->tpdu_length = static_cast<uint8_t>(std::min<uint32_t>(tpdu_length, 255));
  if (tpdu_length == 0) {
    VORN_LOG(VORN_ERR, "zero raw ts data");
    return SMS_ERR_MALFORMED;
  }
  record->first_octet = tpdu[0];
  auto &body = record->body;
  switch (tpdu[0] & kMtiMask) {
    case 0: record->kind = SMS_KIND_DELIVER; return DecodeDeliver(tpdu, tpdu_length, &body.deliver);
    case 1: record->kind = SMS_KIND_SUBMIT; return DecodeSummit(tpdu, tpdu_length, &body.submit);
    case 2:
      if (direction == SMS_DIRECTION_MT) {
        record->kind = SMS_KIND_STATUS_REPORT;
        return DecodeStatusReport(tpdu, tpdu_length, &body.status_report);
      }
      record->kind = SMS_KIND_COMMAND;
      return DecodeCommand(tpdu, tpdu_length, &body.command);
    default:
      record->kind = SMS_KIND_RESERVED;
      return DecodeDeliver(tpdu, tpdu_length, &body.deliver);
  }
}

int EncodeGsmPduNew(uint8_t *output, uint32_t output_size, const sms_message_record *record,
                    uint32_t *output_length) {
  int sc_length = put_service_centre(output, output_size, &record->sc_address);
  if (sc_length < 0) return sc_length;
  uint8_t tpdu[SMS_TPDU_MAX_LENGTH];
  int tpdu_length;
  switch (record->kind) {
    case SMS_KIND_DELIVER: tpdu_length = EncodeDeliver(&record->body.deliver, tpdu); break;
    case SMS_KIND_SUBMIT: tpdu_length = EncodeSubmit(&record->body.submit, tpdu); break;
    default: return SMS_ERR_UNSUPPORTED;
  }
  if (tpdu_length < 0) {
    VORN_LOG(VORN_ERR, "ENcode error:res=%d", tpdu_length);
    return SMS_ERR_FAULT;
  }
  uint32_t total = static_cast<uint32_t>(sc_length + tpdu_length);
  if (total > output_size) {
    VORN_LOG(VORN_ERR, "overflow:%d,%d", total, output_size);
    return SMS_ERR_OVERFLOW;
  }
  std::memcpy(output + sc_length, tpdu, static_cast<size_t>(tpdu_length));
  *output_length = total;
  return 0;
}

}  // namespace

int vorn::sms::put_service_centre(uint8_t *output, uint32_t output_size,
                                  const sms_address_record *sc) {
  std::memset(output, 0xFF, output_size);
  uint8_t address[2 + SMS_ADDRESS_MAX_DIGITS];
  uint8_t length = EncodeAddress(sc, address);
  if (length == 0) return SMS_ERR_MALFORMED;
  if (output_size <= length) {
    VORN_LOG(VORN_ERR, "Exceed Max Data Length, Pack SIM SMS Failed");
    return SMS_ERR_OVERFLOW;
  }
  // On the wire the length counts the octets behind it: the type and 1 to
  // 10 octets of digits.
  address[0] = static_cast<uint8_t>(length - 1);
  if (static_cast<uint8_t>(address[0] - 2) > 9) {
    VORN_LOG(VORN_ERR, "Invalid SC address Length:%d", address[0]);
    return SMS_ERR_MALFORMED;
  }
  std::memcpy(output, address, length);
  return length;
}

extern "C" {

VORNPAL_API int DecodeDeliver(const uint8_t *tpdu, uint32_t length, sms_deliver_record *deliver) {
  if (tpdu == nullptr || deliver == nullptr || length == 0)
    return truncated_field("invalid param size in sms_ts_decode_deliver");
  uint8_t first_octet = tpdu[0];
  uint8_t mti = first_octet & kMtiMask;
  if (mti == 1 || mti == 2) {
    VORN_LOG(VORN_ERR, "invalid pdu type=%d", mti);
    return SMS_ERR_WRONG_TYPE;
  }
  deliver->flags = flags_of(first_octet, kDeliverBits);
  if (length == 1) return truncated(length);
  if (!address_fits(tpdu, 1, length))
    return truncated_field("invalid param size in sms_ts_decode_deliver");
  uint8_t address_octets = DecodeAddress(tpdu + 1, &deliver->originating_address);
  if (address_octets == 0) return SMS_ERR_TRUNCATED;
  uint32_t pos = 1u + address_octets;
  if (pos >= length) return truncated(length);
  deliver->pid = tpdu[pos++];
  if (pos >= length) return truncated(length);
  deliver->raw_dcs = tpdu[pos];
  DecodeDcs(tpdu + pos++, &deliver->dcs);
  if (deliver->dcs.msg_waiting_kind != 0 && deliver->pid == kReturnCallPid) {
    deliver->dcs.msg_waiting = SMS_MSG_WAITING_STORE;
    deliver->dcs.msg_waiting_active = 1;
    deliver->dcs.msg_waiting_kind = 0;
  }
  if (pos + 6 >= length) return truncated_field("invalid param size in sms_ts_decode_deliver");
  if (DecodeTimestamp(tpdu + pos, &deliver->scts) == 0) {
    VORN_LOG(VORN_ERR, "invalid param value in sms_ts_decode_deliver");
    return SMS_ERR_INVALID;
  }
  pos += 7;
  if (pos >= length) return truncated(length);
  if (!user_data_fits(deliver->dcs, tpdu, pos, length)) return SMS_ERR_TRUNCATED;
  uint8_t decoded = DecodeGwUserData(&deliver->dcs, tpdu[pos], tpdu + pos + 1,
                                     (first_octet & kFoUdhi) != 0, &deliver->user_data);
  if (!user_data_ok(decoded, tpdu[pos])) return SMS_ERR_TRUNCATED;
  dsatetsismsi_timestamp(deliver->scts, deliver->scts_text);
  return 0;
}

VORNPAL_API int DecodeSummit(const uint8_t *tpdu, uint32_t length, sms_submit_record *submit) {
  if (tpdu == nullptr || submit == nullptr || length < 3) return truncated(length);
  uint8_t first_octet = tpdu[0];
  submit->flags = flags_of(first_octet, kSubmitBits);
  submit->validity.format = (first_octet >> 3) & 0x03;
  submit->message_reference = tpdu[1];
  if (!address_fits(tpdu, 2, length)) return address_truncated(tpdu, 2, length);
  uint8_t address_octets = DecodeAddress(tpdu + 2, &submit->destination_address);
  if (address_octets == 0) return SMS_ERR_TRUNCATED;
  uint32_t pos = 2u + address_octets;
  if (pos >= length) return truncated(length);
  submit->pid = tpdu[pos++];
  if (pos >= length) return truncated(length);
  submit->raw_dcs = tpdu[pos];
  DecodeDcs(tpdu + pos++, &submit->dcs);
  if (pos >= length) return truncated(length);
  uint32_t format = submit->validity.format;
  bool seven_octets = format == SMS_VALIDITY_ENHANCED || format == SMS_VALIDITY_ABSOLUTE;
  if (seven_octets && pos + 6 >= length) return truncated(length);
  if (format != SMS_VALIDITY_NONE) submit->raw_validity_octet = tpdu[pos];
  uint8_t validity_octets = DecodeGwValidity(tpdu + pos, &submit->validity);
  // Daemons read the period one off in its first byte, for every format:
  // a submit without validity reads 255 there.
  --first_validity_byte(submit->validity);
  if (validity_octets == 0 && format != SMS_VALIDITY_NONE) return SMS_ERR_TRUNCATED;
  pos += validity_octets;
  if (pos >= length) return truncated(length);
  if (!user_data_fits(submit->dcs, tpdu, pos, length)) return SMS_ERR_BAD_SUBMIT_DATA;
  uint8_t decoded = DecodeGwUserData(&submit->dcs, tpdu[pos], tpdu + pos + 1,
                                     (first_octet & kFoUdhi) != 0, &submit->user_data);
  if (!user_data_ok(decoded, tpdu[pos])) return SMS_ERR_BAD_SUBMIT_DATA;
  dsatetsismsi_timestamp(validity_time(submit->validity), submit->validity_text);
  return 0;
}

VORNPAL_API int DecodeStatusReport(const uint8_t *tpdu, uint32_t length,
                                   sms_status_report_record *report) {
  if (tpdu == nullptr || report == nullptr || length < 3) return truncated(length);
  uint8_t first_octet = tpdu[0];
  report->flags = flags_of(first_octet, kStatusReportBits);
  if ((first_octet & kFoMms) == 0) report->flags |= SMS_STATUS_REPORT_NO_MMS;
  report->message_reference = tpdu[1];
  if (!address_fits(tpdu, 2, length)) return address_truncated(tpdu, 2, length);
  uint8_t address_octets = DecodeAddress(tpdu + 2, &report->recipient_address);
  if (address_octets == 0) return SMS_ERR_TRUNCATED;
  uint32_t pos = 2u + address_octets;
  for (sms_timestamp *time : {&report->scts, &report->discharge_time}) {
    if (pos + 6 >= length) return truncated(length);
    DecodeTimestamp(tpdu + pos, time);
    pos += 7;
  }
  if (pos >= length) return truncated(length);
  report->status = tpdu[pos++];
  if (pos < length) {
    uint8_t indicator = tpdu[pos++];
    report->parameter_indicator = indicator;
    // 0 and 255 announce nothing.
    if (static_cast<uint8_t>(indicator - 1) < 254) {
      if (indicator & 0x01) {
        if (pos >= length) return truncated(length);
        report->pid = tpdu[pos++];
      }
      if (indicator & 0x02) {
        if (pos >= length) return truncated(length);
        DecodeDcs(tpdu + pos++, &report->dcs);
      }
      if (indicator & 0x04) {
        if (pos >= length) return truncated(length);
        if (!user_data_fits(report->dcs, tpdu, pos, length)) return SMS_ERR_TRUNCATED;
        uint8_t decoded = DecodeGwUserData(&report->dcs, tpdu[pos], tpdu + pos + 1,
                                           (first_octet & kFoUdhi) != 0, &report->user_data);
        if (!user_data_ok(decoded, tpdu[pos])) return SMS_ERR_TRUNCATED;
      }
    }
  }
  dsatetsismsi_timestamp(report->scts, report->scts_text);
  dsatetsismsi_timestamp(report->discharge_time, report->discharge_text);
  return 0;
}

VORNPAL_API int DecodeCommand(const uint8_t *tpdu, uint32_t length, sms_command_record *command) {
  if (tpdu == nullptr || command == nullptr || length == 0) return truncated(length);
  command->flags = flags_of(tpdu[0], kCommandBits);
  uint32_t *fields[] = {&command->message_reference, &command->pid, &command->command_type,
                        &command->message_number};
  uint32_t pos = 1;
  for (uint32_t *field : fields) {
    if (pos >= length) return truncated(length);
    *field = tpdu[pos++];
  }
  if (pos >= length || !address_fits(tpdu, pos, length)) return truncated(length);
  uint8_t address_octets = DecodeAddress(tpdu + pos, &command->destination_address);
  if (address_octets == 0) return SMS_ERR_TRUNCATED;
  pos += address_octets;
  uint8_t data_length = std::min<uint8_t>(tpdu[pos], SMS_COMMAND_DATA_MAX);
  if (pos + data_length >= length) return truncated(length);
  command->command_data_length = data_length;
  std::memcpy(command->command_data, tpdu + pos + 1, data_length);
  return 0;
}

VORNPAL_API int EncodeDeliver(const sms_deliver_record *deliver, uint8_t *out) {
  if (deliver == nullptr || out == nullptr) {
    VORN_LOG(VORN_ERR, "NULL param");
    return SMS_ERR_INVALID;
  }
  std::memset(out, 0, SMS_TPDU_MAX_LENGTH);
  // The flag means "more messages" here, which is TP-MMS clear.
  out[0] = first_octet_of(deliver->flags ^ SMS_DELIVER_MMS, kDeliverBits);
  uint32_t pos = 1;
  uint8_t address_octets = EncodeAddress(&deliver->originating_address, out + pos);
  if (address_octets == 0) {
    VORN_LOG(VORN_ERR, "EncodeAddress err");
    return SMS_ERR_FAULT;
  }
  pos += address_octets;
  out[pos++] = static_cast<uint8_t>(deliver->pid);
  pos += EncodeDcs(&deliver->dcs, out + pos);
  if (EncodeTimestamp(&deliver->scts, out + pos) == 0) {
    VORN_LOG(VORN_ERR, "EncodeTimestamp err");
    return SMS_ERR_EMPTY;
  }
  pos += 7;
  if (ComputeUserDataLength(&deliver->dcs, &deliver->user_data) > SMS_USER_DATA_MAX_OCTETS) {
    VORN_LOG(VORN_ERR, "User Data Length has exceeded capacity");
    return SMS_ERR_FAULT;
  }
  return static_cast<int>(pos + EncodeUserData(&deliver->dcs, &deliver->user_data, out + pos));
}

VORNPAL_API int EncodeSubmit(const sms_submit_record *submit, uint8_t *out) {
  if (submit == nullptr || out == nullptr) {
    VORN_LOG(VORN_ERR, "NULL param");
    return SMS_ERR_INVALID;
  }
  uint32_t format = submit->validity.format;
  if (format > SMS_VALIDITY_ABSOLUTE) return SMS_ERR_MALFORMED;
  std::memset(out, 0, SMS_TPDU_MAX_LENGTH);
  out[0] = static_cast<uint8_t>(1 | format << 3 | first_octet_of(submit->flags, kSubmitBits));
  out[1] = static_cast<uint8_t>(submit->message_reference);
  uint32_t pos = 2;
  uint8_t address_octets = EncodeAddress(&submit->destination_address, out + pos);
  if (address_octets == 0) {
    VORN_LOG(VORN_ERR, "EncodeAddress err");
    return SMS_ERR_FAULT;
  }
  pos += address_octets;
  out[pos++] = static_cast<uint8_t>(submit->pid);
  pos += EncodeDcs(&submit->dcs, out + pos);
  uint8_t validity_octets = EncodeGwValidity(&submit->validity, out + pos);
  if (validity_octets == 0 && format != SMS_VALIDITY_NONE) {
    VORN_LOG(VORN_ERR, "EncodeGwValidity err");
    return SMS_ERR_INVALID;
  }
  pos += validity_octets;
  if (ComputeUserDataLength(&submit->dcs, &submit->user_data) > SMS_USER_DATA_MAX_OCTETS) {
    VORN_LOG(VORN_ERR, "User Data Length has exceeded capacity");
    return SMS_ERR_OVERFLOW;
  }
  return static_cast<int>(pos + EncodeUserData(&submit->dcs, &submit->user_data, out + pos));
}

VORNPAL_API int vorn_sms_decode(uint32_t direction, int32_t protocol, const uint8_t *pdu,
                                uint32_t length, sms_message_record *record) {
  if (pdu == nullptr || record == nullptr) {
    VORN_LOG(VORN_ERR, "NULL param");
    return SMS_ERR_INVALID;
  }
  int rc;
  switch (protocol) {
    case SMS_PROTOCOL_GW_PP: rc = DecodeGsmPduNew(direction, pdu, length, record); break;
    case SMS_PROTOCOL_GW_CB: return vorn::sms::decode_cell_broadcast(pdu, length, record);
    case SMS_PROTOCOL_CDMA: return vorn::sms::refuse_cdma(record);
    default: VORN_LOG(VORN_ERR, "Protocol %d not supported", protocol); return SMS_ERR_UNSUPPORTED;
  }
  if (rc != 0) VORN_LOG(VORN_ERR, "Could not decode GSM PDU message");
  return rc;
}

VORNPAL_API int vorn_sms_encode(int32_t protocol, uint8_t *output, uint32_t output_size,
                                const sms_message_record *record, uint32_t *output_length) {
  int rc = SMS_ERR_INVALID;
  if (protocol != SMS_PROTOCOL_GW_PP) {
    VORN_LOG(VORN_ERR, "Protocol %d not supported", protocol);
    rc = SMS_ERR_UNSUPPORTED;
  } else if (output != nullptr && record != nullptr && output_length != nullptr) {
    rc = EncodeGsmPduNew(output, output_size, record, output_length);
  }
  if (rc != 0) VORN_LOG(VORN_ERR, "Could not ENCode GSM PDU message");
  return rc;
}

}  // extern "C"
