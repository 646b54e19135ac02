// Logical channels to the cards' applications and the applet behind them:
// SELECT by AID (answered with 61xx, the FCI waiting for GET RESPONSE),
// GET DATA of any length (P1P2 bytes of a counting pattern), STATUS. An
// answer too long for one response goes by token, in pieces by indication.
#include <algorithm>
#include <cstring>
#include <memory>

#include <vornsim/sim.h>
#include <vornsim/uim.h>

#include "engine.h"
#include "uim_card.h"
#include "usim/messages.h"

namespace vornsim::uim {
namespace {

namespace usim = vorn::usim;

constexpr uint32_t kMaxChannels = 3;
constexpr uint8_t kSelect = 0xA4;
constexpr uint8_t kGetResponse = 0xC0;
constexpr uint8_t kGetData = 0xCA;
constexpr uint8_t kStatus = 0xF2;

Bytes unhex(const char *text) { return saved::unhex(text); }

Bytes sw(uint8_t sw1, uint8_t sw2) { return {sw1, sw2}; }

// The applications of a card: the test applet, and ISD-R on the eUICC.
bool hosts(int slot, const Bytes &aid) {
  if (aid == unhex(kTestAppletAid)) return true;
  return slot == kEuiccSlot && aid == unhex(kIsdRAid);
}

// FCI template: the application's AID (tag 84) and empty proprietary data.
Bytes fci(const Bytes &aid) {
  Bytes out;
  out.reserve(aid.size() + 6);
  for (uint8_t byte : {uint8_t{0x6F}, static_cast<uint8_t>(aid.size() + 4), uint8_t{0x84},
                       static_cast<uint8_t>(aid.size())})
    out.push_back(byte);
  for (uint8_t byte : aid) out.push_back(byte);
  out.push_back(0xA5);
  out.push_back(0x00);
  return out;
}

// The applet of one channel: `aid` what it selected, `pending` what waits
// for GET RESPONSE.
Bytes applet_answer(int slot, Bytes &aid, Bytes &pending, const Bytes &apdu) {
  if (apdu.size() < 4) return sw(0x67, 0x00);
  const uint8_t ins = apdu[1];
  switch (ins) {
    case kSelect: {
      if (apdu[2] != 0x04 || apdu.size() < 5) return sw(0x6A, 0x86);
      Bytes selected(apdu.begin() + 5, apdu.begin() + std::min<size_t>(apdu.size(), 5u + apdu[4]));
      if (!hosts(slot, selected)) return sw(0x6A, 0x82);
      aid = selected;
      pending = fci(aid);
      return sw(0x61, static_cast<uint8_t>(pending.size()));
    }
    case kGetResponse: {
      if (pending.empty()) return sw(0x69, 0x85);
      size_t le = apdu.size() > 4 && apdu[4] != 0 ? apdu[4] : pending.size();
      Bytes out(pending.begin(), pending.begin() + std::min(le, pending.size()));
      pending.clear();
      out.push_back(0x90);
      out.push_back(0x00);
      return out;
    }
    case kGetData: {
      const size_t length = static_cast<size_t>(apdu[2]) << 8 | apdu[3];
      Bytes out(length);
      for (size_t i = 0; i < length; ++i) out[i] = static_cast<uint8_t>(i);
      out.push_back(0x90);
      out.push_back(0x00);
      return out;
    }
    case kStatus: return sw(0x90, 0x00);
    default: return sw(0x6D, 0x00);
  }
}

Card *channel_card(State &s, uint32_t slot) {
  if (slot != UIM_SLOT_1_V01) return nullptr;
  Card *card = session_card(s, UIM_SESSION_TYPE_PRIMARY_GW_V01);
  return card != nullptr && answering(*card) ? card : nullptr;
}

void open_channel(State &s, const usim::OpenLogicalChannel::Req &req, usim::OpenLogicalChannel::Resp &resp) {
  Card *card = channel_card(s, req.slot);
  if (card == nullptr) return refuse_with(resp, kErrDeviceNotReady);
  if (req.aid_valid && req.aid_len > QMI_UIM_AID_MAX_V01) return refuse_with(resp, kErrInvalidArg);
  Bytes aid(req.aid, req.aid + (req.aid_valid ? req.aid_len : 0));
  if (!aid.empty() && !hosts(slot_of(s, *card), aid)) return refuse_with(resp, kErrFileNotFound);
  uint32_t id = 1;
  while (id <= kMaxChannels && s.channel_aid.count(id) != 0) ++id;
  if (id > kMaxChannels) return refuse_with(resp, kErrInsufficientResources);
  s.channel_aid[id] = aid;
  s.channel_pending.erase(id);
  resp.channel_id_valid = 1;
  resp.channel_id = static_cast<uint8_t>(id);
  resp.card_result_valid = 1;
  resp.card_result = {0x90, 0x00};
  if (!aid.empty()) {
    Bytes select = fci(aid);
    resp.select_response_valid = 1;
    resp.select_response_len = static_cast<uint32_t>(select.size());
    std::memcpy(resp.select_response, select.data(), select.size());
  }
}

void close_channel(State &s, const usim::LogicalChannel::Req &req, usim::LogicalChannel::Resp &resp) {
  if (channel_card(s, req.slot) == nullptr) return refuse_with(resp, kErrDeviceNotReady);
  if (!req.channel_id_valid || s.channel_aid.erase(req.channel_id) == 0) return refuse_with(resp, kErrInvalidArg);
  s.channel_pending.erase(req.channel_id);
  resp.card_result_valid = 1;
  resp.card_result = {0x90, 0x00};
}

// The pieces of a long answer, on the modem's thread after the answer.
void send_pieces(const State &s, uint32_t token, const Bytes &answer) {
  const size_t piece = std::clamp<size_t>(s.piece_size, 1, kApduFieldMax);
  size_t count = (answer.size() + piece - 1) / piece;
  if (s.lose_last_piece && count > 0) --count;
  for (size_t k = 0; k < count; ++k) {
    auto ind = std::make_shared<uim_send_apdu_ind_msg_v01>();
    ind->token = token;
    ind->total_length = static_cast<uint16_t>(answer.size());
    ind->offset = static_cast<uint16_t>(k * piece);
    ind->apdu_len = static_cast<uint32_t>(std::min(piece, answer.size() - k * piece));
    std::memcpy(ind->apdu, answer.data() + k * piece, ind->apdu_len);
    if (s.piece_delay_ms == 0) {
      indicate(Svc::UIM, QMI_UIM_SEND_APDU_IND_V01, *ind);
      continue;
    }
    Modem &m = modem();
    std::lock_guard<std::mutex> lock(m.mutex);
    schedule_locked(m, scaled_ms(uint64_t{s.piece_delay_ms} * (k + 1)), true,
                    [ind] { indicate(Svc::UIM, QMI_UIM_SEND_APDU_IND_V01, *ind); });
  }
}

void send_apdu(State &s, const usim::SendApdu::Req &req, usim::SendApdu::Resp &resp) {
  Card *card = channel_card(s, req.slot);
  if (card == nullptr) return refuse_with(resp, kErrDeviceNotReady);
  if (req.apdu_len > QMI_UIM_APDU_DATA_MAX_V01) return refuse_with(resp, kErrInvalidArg);
  // Channel 0, the basic channel, is always open.
  const uint32_t id = req.channel_id_valid ? req.channel_id : 0;
  if (id != 0 && s.channel_aid.count(id) == 0) return refuse_with(resp, kErrInvalidArg);
  Bytes answer = applet_answer(slot_of(s, *card), s.channel_aid[id], s.channel_pending[id],
                               Bytes(req.apdu, req.apdu + req.apdu_len));
  if (answer.size() <= kApduFieldMax) {
    resp.apdu_valid = 1;
    resp.apdu_len = static_cast<uint32_t>(answer.size());
    std::memcpy(resp.apdu, answer.data(), answer.size());
    return;
  }
  const uint32_t token = s.next_token++;
  refuse_with(resp, kErrInsufficientResources);
  resp.long_response_valid = 1;
  resp.long_response.token = token;
  resp.long_response.total_length = static_cast<uint16_t>(answer.size());
  send_pieces(s, token, answer);
}

}  // namespace

void install_channels(Module &m) {
  m.serve<usim::OpenLogicalChannel>(open_channel);
  m.serve<usim::LogicalChannel>(close_channel);
  m.serve<usim::SendApdu>(send_apdu);
}

void set_piece_size(size_t bytes) {
  module().with_state([&](State &s) { s.piece_size = bytes; });
}

void set_piece_delay_ms(unsigned ms) {
  module().with_state([&](State &s) { s.piece_delay_ms = ms; });
}

void lose_last_piece(bool lose) {
  module().with_state([&](State &s) { s.lose_last_piece = lose; });
}

std::vector<std::pair<int, std::string>> channels() {
  return module().with_state([](State &s) {
    std::vector<std::pair<int, std::string>> out;
    for (const auto &[id, aid] : s.channel_aid)
      if (id != 0) out.emplace_back(static_cast<int>(id), saved::hex(aid.data(), aid.size()));
    return out;
  });
}

}  // namespace vornsim::uim
