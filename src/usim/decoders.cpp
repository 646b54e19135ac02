// Decoders of the card's elementary files. Their differences are on
// purpose: the framework's screens and AT answers were written against
// them (the IMSI's length follows the file, the SPN keeps the card's
// alphabet, the network name stays in septets).
#include "usim/decoders.h"

#include <cstddef>
#include <algorithm>
#include <cstring>
#include <initializer_list>

#include <vornpal/sms_user_data.h>

#include "foundation/log_site.h"

namespace {

constexpr char kHex[] = "0123456789ABCDEF";
constexpr uint8_t kFullNameTag = 0x43;
constexpr size_t kPnnBytes = 32;
constexpr int kSpnMax = 18;
constexpr int kGidBytes = 8;
constexpr int kMsisdnBytes = 10;
constexpr int kMsisdnFromEnd = 12;

// Writes into the record from `field` on, never past the record's end.
class FieldWriter {
 public:
  FieldWriter(usim_info_record *record, void *field)
      : field_(static_cast<uint8_t *>(field)),
        room_(sizeof *record - static_cast<size_t>(field_ - reinterpret_cast<uint8_t *>(record))) {}
  void put(size_t at, uint8_t byte) {
    if (at < room_) field_[at] = byte;
  }

 private:
  uint8_t *field_;
  size_t room_;
};

// Two hex characters a byte, low nibble first, from `from` on.
void put_swapped(FieldWriter &out, size_t at, const uint8_t *src, int from, int to) {
  for (int i = from; i < to; ++i) {
    out.put(at++, static_cast<uint8_t>(kHex[src[i] & 0x0F]));
    out.put(at++, static_cast<uint8_t>(kHex[src[i] >> 4]));
  }
}

int decode_iccid(const uint8_t *src, int len, usim_info_record *out) {
  if (len * 2 >= static_cast<int>(sizeof out->iccid)) {
    VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_ERR, "Error, source iccid buffer too short.\n");
    return -1;
  }
  std::memset(out->iccid, 0, sizeof out->iccid);
  FieldWriter iccid(out, out->iccid);
  put_swapped(iccid, 0, src, 0, len);
  return 0;
}

int decode_imsi(const uint8_t *src, int len, usim_info_record *out) {
  if (src[0] > 16) {
    VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_ERR, "Error, source imsi buffer too short.\n");
    return -1;
  }
  std::memset(out->imsi, 0, sizeof out->imsi);
  FieldWriter imsi(out, out->imsi);
  imsi.put(0, static_cast<uint8_t>(kHex[src[1] >> 4]));
  put_swapped(imsi, 1, src, 2, len);
  const int mnc_len = out->ad[3];
  VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_INFO, "len of mnc in the imsi:%d.\n", mnc_len);
  std::memset(out->plmn, 0, sizeof out->plmn);
  const size_t digits = mnc_len == 3 ? 6 : 5;
  std::memcpy(out->plmn, out->imsi, std::min(digits, strnlen(out->imsi, sizeof out->imsi)));
  VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_INFO, "Info, IMSI:[%s] PLMN:[%s].\n", out->imsi,
              out->plmn);
  return 0;
}

// Filler is skipped wherever it stands, not taken as the end.
int decode_msisdn(const uint8_t *src, int len, usim_info_record *out) {
  std::memset(out->msisdn, 0, sizeof out->msisdn);
  if (len <= 0) return 0;
  size_t at = 0;
  for (int i = 0; i < kMsisdnBytes; ++i) {
    const int index = len - kMsisdnFromEnd + i;
    if (index < 0) continue;
    for (uint8_t nibble : {static_cast<uint8_t>(src[index] & 0x0F), static_cast<uint8_t>(src[index] >> 4)})
      if (nibble <= 9) out->msisdn[at++] = static_cast<char>('0' + nibble);
  }
  return 0;
}

// The card's alphabet stays as it is: GSM default letters read as ASCII,
// and a UCS-2 name ends at its first zero byte.
int decode_spn(const uint8_t *src, usim_info_record *out) {
  std::memset(out->spn, 0, sizeof out->spn);
  for (int i = 0; i < kSpnMax && src[1 + i] != 0; ++i) out->spn[i] = static_cast<char>(src[1 + i]);
  for (char &c : out->spn)
    if (static_cast<uint8_t>(c) == 0xFF) c = 0;
  return 0;
}

int decode_language(const uint8_t *src, int len, usim_info_record *out) {
  std::memset(out->language, 0, sizeof out->language);
  FieldWriter language(out, out->language);
  for (int i = 0; i < len; ++i) {
    uint8_t c = src[i];
    if (c >= 0x20 && c <= 0x5E) c = static_cast<uint8_t>(c + 0x20);
    language.put(static_cast<size_t>(i), c);
  }
  return 0;
}

int decode_ad(const uint8_t *src, usim_info_record *out) {
  std::memcpy(out->ad, src, sizeof out->ad);
  VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_INFO, "Info, AD[3]:%d.\n", out->ad[3]);
  return 0;
}

int decode_ust(const uint8_t *src, int len, usim_info_record *out) {
  std::memset(out->ust, 0, sizeof out->ust);
  FieldWriter ust(out, out->ust);
  ust.put(0, static_cast<uint8_t>(len));
  for (int i = 0; i < len; ++i) ust.put(static_cast<size_t>(i) + 1, src[i]);
  return 0;
}

// The first 0xFF ends the identifier, as does a zero byte.
int decode_gid(const uint8_t *src, char (&field)[16]) {
  std::memset(field, 0, sizeof field);
  for (int i = 0; i < kGidBytes && src[i] != 0 && src[i] != 0xFF; ++i) field[i] = static_cast<char>(src[i]);
  return 0;
}

// The full network name in septets: ((length - 1) * 8) / 7 of them after
// the tag, the length and the coding byte.
int decode_pnn(const uint8_t *src, usim_info_record *out) {
  std::memset(out->pnn, 0, sizeof out->pnn);
  uint8_t record[kPnnBytes];
  std::memcpy(record, src, sizeof record);
  if (record[0] != kFullNameTag || record[1] == 0) return 0;
  const auto septets = static_cast<uint8_t>(((record[1] - 1) * 8) / 7);
  VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_INFO, "wms_ts_unpack_gw_7_bit_chars in.\n");
  const auto count = static_cast<uint8_t>(septets < sizeof out->pnn ? septets : sizeof out->pnn);
  unpack_gw_7_bit_chars(record + 3, count, sizeof out->pnn, 0,
                        reinterpret_cast<uint8_t *>(out->pnn));
  return 0;
}

}  // namespace

int vorn::usim::decode_siminfo(const uint8_t *src, int src_len, usim_info_record *out, int type) {
  if (out == nullptr) {
    VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_ERR, "Error, param pointer is NULL.\n");
    return VORN_INVALID_PARAM;
  }
  VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_DBUG, "siminfo_type = %d,decode_siminfo src_data_len %d.\n",
              type, src_len);
  if (src_len > kReadBufferSize) src_len = kReadBufferSize;
  switch (type) {
    case E_OEM_USIM_SIMINFO_TYPE_ICCID: return decode_iccid(src, src_len, out);
    case E_OEM_USIM_SIMINFO_TYPE_IMSI:
    case E_OEM_USIM_SIMINFO_TYPE_PLMN: return decode_imsi(src, src_len, out);
    case E_OEM_USIM_SIMINFO_TYPE_MSISDN: return decode_msisdn(src, src_len, out);
    case E_OEM_USIM_SIMINFO_TYPE_SPN: return decode_spn(src, out);
    case E_OEM_USIM_SIMINFO_TYPE_LANGUAGE: return decode_language(src, src_len, out);
    case E_OEM_USIM_SIMINFO_TYPE_AD: return decode_ad(src, out);
    case E_OEM_USIM_SIMINFO_TYPE_UST: return decode_ust(src, src_len, out);
    case E_OEM_USIM_SIMINFO_TYPE_GID1: return decode_gid(src, out->gid1);
    case E_OEM_USIM_SIMINFO_TYPE_GID2: return decode_gid(src, out->gid2);
    case E_OEM_USIM_SIMINFO_TYPE_PNN: return decode_pnn(src, out);
    default:
      VORN_LOG_AS("vorn_usim_decode_siminfo", VORN_ERR, "Error, Unkonw siminfo type(type:%d).\n", type);
      return 0;
  }
}
