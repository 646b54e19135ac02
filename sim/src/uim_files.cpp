// The cards' files, with the encodings the cards use: the test USIM of
// slot 0 and the eUICC of slot 1, and the two ways of reading them.
#include <algorithm>
#include <cstring>
#include <memory>

#include <vornsim/sim.h>
#include <vornsim/uim.h>

#include "uim_card.h"
#include "usim/messages.h"

namespace vornsim::uim {
namespace {

namespace usim = vorn::usim;

constexpr uint16_t kMf = 0x3F00;
constexpr uint16_t kDfGsm = 0x7F20;
constexpr uint16_t kAdfUsim = 0x7FFF;
constexpr uint16_t kEfIccid = 0x2FE2;

Bytes text_then(const std::string &text, size_t size, uint8_t fill = 0xFF) {
  Bytes out(text.begin(), text.end());
  out.resize(size, fill);
  return out;
}

Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes &part : parts) out.insert(out.end(), part.begin(), part.end());
  return out;
}

// The files of both cards that do not depend on the profile.
void common_files(Card &card) {
  card.files[0x6F05] = {'e', 'n', 'f', 'r'};                            // LI: English, French
  card.files[0x6F38] = {0x9E, 0x6B, 0x1D, 0x9C, 0x01, 0x00, 0x00, 0x10};  // UST
  card.files[0x6F3E] = {0x56, 0x4E, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};  // GID1 "VN"
  card.files[0x6F3F] = {0x12, 0x34, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};  // GID2
  // PNN record 1: full and short name "Vorn", GSM default alphabet packed
  // (coding byte 0x84: 4 spare bits in the last octet).
  card.records[0x6FC5u << 8 | 1] = {0x43, 0x05, 0x84, 0xD6, 0xB7, 0xDC, 0x0D, 0x45,
                                    0x05, 0x84, 0xD6, 0xB7, 0xDC, 0x0D, 0xFF, 0xFF};
  // OPL record 1: 310 260, every LAC, PNN record 1.
  card.records[0x6FC6u << 8 | 1] = {0x13, 0x00, 0x62, 0x00, 0x00, 0xFF, 0xFE, 0x01};
}

// A file or record request: its card, when the path suits the card's
// application; else the refusal.
template <class Req, class Resp>
Card *file_card(State &s, const Req &req, Resp &resp) {
  Card *card = session_card(s, req.session_information.session_type);
  if (card == nullptr || !answering(*card)) {
    refuse_with(resp, kErrDeviceNotReady);
    return nullptr;
  }
  const int slot = slot_of(s, *card);
  const uint32_t type = app_type(s, slot);
  const auto &file = req.file_id;
  auto element = [&file](int i) { return static_cast<uint16_t>(file.path[2 * i] | file.path[2 * i + 1] << 8); };
  bool path_ok = false;
  if (file.file_id == kEfIccid) {
    path_ok = file.path_len == 2 && element(0) == kMf;
  } else if (type != UIM_APP_TYPE_UNKNOWN_V01 && file.path_len == 4 && element(0) == kMf) {
    path_ok = element(1) == (type == UIM_APP_TYPE_SIM_V01 ? kDfGsm : kAdfUsim);
  }
  if (!path_ok) {
    refuse_with(resp, kErrFileNotFound);
    return nullptr;
  }
  // Only the ICCID is readable before the PIN.
  if (file.file_id != kEfIccid && app_state(*card) != UIM_APP_STATE_READY_V01) {
    refuse_with(resp, kErrAccessDenied);
    return nullptr;
  }
  return card;
}

void ok_status(uim_card_result_type_v01 &result) {
  result.sw1 = 0x90;
  result.sw2 = 0x00;
}

void read_transparent(State &s, const usim::ReadTransparent::Req &req, usim::ReadTransparent::Resp &resp) {
  Card *card = file_card(s, req, resp);
  if (card == nullptr) return;
  Bytes content;
  if (req.file_id.file_id == kEfIccid) {
    content = iccid_of(s, slot_of(s, *card));
  } else {
    auto it = card->files.find(req.file_id.file_id);
    if (it == card->files.end()) return refuse_with(resp, kErrFileNotFound);
    content = it->second;
  }
  const size_t offset = req.read_transparent.offset;
  if (offset > content.size()) return refuse_with(resp, kErrInvalidArg);
  size_t len = req.read_transparent.length == 0 ? content.size() - offset : req.read_transparent.length;
  if (offset + len > content.size()) return refuse_with(resp, kErrInvalidArg);
  len = std::min(len, sizeof resp.read_result.content);
  resp.card_result_valid = 1;
  ok_status(resp.card_result);
  resp.read_result_valid = 1;
  resp.read_result.content_len = static_cast<uint32_t>(len);
  if (len > 0) std::memcpy(resp.read_result.content, content.data() + offset, len);
}

void read_record(State &s, const usim::ReadRecord::Req &req, usim::ReadRecord::Resp &resp) {
  Card *card = file_card(s, req, resp);
  if (card == nullptr) return;
  auto it = card->records.find(static_cast<uint32_t>(req.file_id.file_id) << 8 | req.read_record.record);
  if (req.read_record.record == 0 || it == card->records.end()) return refuse_with(resp, kErrFileNotFound);
  size_t len = req.read_record.length == 0 ? it->second.size() : req.read_record.length;
  if (len > it->second.size()) return refuse_with(resp, kErrInvalidArg);
  resp.card_result_valid = 1;
  ok_status(resp.card_result);
  resp.read_result_valid = 1;
  resp.read_result.content_len = static_cast<uint32_t>(len);
  if (len > 0) std::memcpy(resp.read_result.content, it->second.data(), len);
}

}  // namespace

Card usim_card() {
  Card card;
  card.app_type = UIM_APP_TYPE_USIM_V01;
  card.files[kEfIccid] = {0x98, 0x94, 0x20, 0x00, 0x00, 0x21, 0x43, 0x65, 0x87, 0x09};
  // IMSI 310260123456789: length 8, parity 9 under the first digit.
  card.files[0x6F07] = {0x08, 0x39, 0x01, 0x62, 0x10, 0x32, 0x54, 0x76, 0x98};
  card.files[0x6FAD] = {0x00, 0x00, 0x00, 0x03};  // AD: MNC of three digits
  card.files[0x6F46] = concat({{0x01}, text_then("Vorn Mobile", 16)});
  common_files(card);
  // MSISDN record 1: alpha "Vorn" in 14 bytes, 7 BCD bytes, international.
  card.records[0x6F40u << 8 | 1] = concat({text_then("Vorn", 14),
                                           {0x07, 0x91, 0x51, 0x55, 0x21, 0x03, 0x40, 0xF2, 0xFF, 0xFF, 0xFF, 0xFF},
                                           {0xFF, 0xFF}});
  // LND record 1: the last number dialled, national.
  card.records[0x6F44u << 8 | 1] = concat({text_then("", 14),
                                           {0x05, 0x81, 0x55, 0x15, 0x32, 0xF4, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
                                           {0xFF, 0xFF}});
  return card;
}

Card euicc_card() {
  Card card;
  card.app_type = UIM_APP_TYPE_USIM_V01;
  // IMSI 234150123456789, a two-digit MNC.
  card.files[0x6F07] = {0x08, 0x29, 0x43, 0x51, 0x10, 0x32, 0x54, 0x76, 0x98};
  card.files[0x6FAD] = {0x00, 0x00, 0x00, 0x02};
  // SPN "Vorn" in UCS-2 (0x80 form).
  card.files[0x6F46] = {0x01, 0x80, 0x00, 0x56, 0x00, 0x6F, 0x00, 0x72, 0x00, 0x6E, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  common_files(card);
  return card;
}

void factory_profiles(State &s) {
  s.profile_iccid = {{1, "8944500101234567895"}, {2, "8944500202345678901"}};
  s.profile_nickname = {{1, "Vorn Travel"}, {2, "Vorn Home"}};
  s.profile_enabled = {{1, 1}, {2, 0}};
  s.eid = {0x89, 0x04, 0x90, 0x32, 0x12, 0x34, 0x51, 0x23, 0x45, 0x12, 0x34, 0x56, 0x78, 0x90, 0x12, 0x35};
  s.smdp_address = "smdp.vorn.example";
}

void install_files(Module &m) {
  m.serve<usim::ReadTransparent>(read_transparent);
  m.serve<usim::ReadRecord>(read_record);
}

}  // namespace vornsim::uim
