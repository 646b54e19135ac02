// Logical channels and APDUs as text: the applet's answers, GET RESPONSE,
// long responses assembled from pieces while the caller waits (another
// channel busy meanwhile), the pieces in any order, the time limit, and the
// text that is not what it should be.
#include <atomic>
#include <thread>

#include "usim_test.h"

namespace {

using namespace usimt;

constexpr size_t kOut = 10240;

// The applet's GET DATA answer: `length` bytes counting up, then 90 00.
std::string counting(size_t length) {
  std::string text;
  char pair[3];
  for (size_t i = 0; i < length; ++i) {
    std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned>(i & 0xFF));
    text += pair;
  }
  return text + "9000";
}

std::string get_data(size_t length) {
  char apdu[9];
  std::snprintf(apdu, sizeof apdu, "00CA%04X", static_cast<unsigned>(length));
  return apdu;
}

class UsimApdu : public UsimTest {
 protected:
  uint32_t open(const char *aid = card::kTestAppletAid) {
    uint32_t channel = 0;
    EXPECT_EQ(vorn_usim_pal_open_channel(aid, &channel), 0);
    return channel;
  }
  // The response text, or "rc N" when the call failed.
  std::string send(uint32_t channel, const std::string &apdu, size_t max = kOut) {
    std::vector<char> out(kOut + 1, '\0');
    int rc = vorn_usim_pal_send_apdu(static_cast<int>(channel), apdu.c_str(),
                                     static_cast<uint32_t>(apdu.size()), out.data(), static_cast<uint32_t>(max));
    return rc == 0 ? std::string(out.data()) : "rc " + std::to_string(rc);
  }
  // The modem answers the next APDU with a token for `total` bytes and
  // sends the given pieces (offset, length) of the counting pattern.
  static void long_answer(uint16_t total, std::vector<std::pair<uint16_t, uint32_t>> pieces) {
    vornsim::on(kUim, QMI_UIM_SEND_APDU_REQ_V01, [total, pieces](const vornsim::Request &, void *resp, size_t len) {
      usim::SendApdu::Resp answer{};
      answer.resp = {QMI_RESULT_FAILURE_V01, static_cast<qmi_error_type_v01>(68)};
      answer.long_response_valid = 1;
      answer.long_response = {77, total};
      std::memcpy(resp, &answer, std::min(len, sizeof answer));
      for (auto [offset, length] : pieces) {
        uim_send_apdu_ind_msg_v01 ind{};
        ind.token = 77;
        ind.total_length = total;
        ind.offset = offset;
        ind.apdu_len = length;
        for (uint32_t i = 0; i < length; ++i) ind.apdu[i] = static_cast<uint8_t>(offset + i);
        vornsim::indicate(kUim, QMI_UIM_SEND_APDU_IND_V01, ind);
      }
      return 0;
    });
  }
};

TEST_F(UsimApdu, SelectGetResponseAndShortAnswers) {
  const uint32_t channel = open();
  EXPECT_EQ(channel, 1u);
  EXPECT_TRUE(vt::logged("new channel_id =1.\n"));
  EXPECT_EQ(send(channel, "00A4040007F0564F524E0001"), "6F0B8407F0564F524E0001A5009000");
  auto sent = vornsim::requests(kUim, QMI_UIM_SEND_APDU_REQ_V01);
  ASSERT_EQ(sent.size(), 2u);
  auto get_response = sent[1].as<uim_send_apdu_req_msg_v01>();
  EXPECT_EQ(std::vector<uint8_t>(get_response.apdu, get_response.apdu + get_response.apdu_len),
            bytes({0x80, 0xC0, 0x00, 0x00, 0x0D}));
  EXPECT_EQ(get_response.channel_id, channel);
  EXPECT_EQ(get_response.procedure_bytes_valid, 1);
  EXPECT_EQ(send(channel, "80F20000"), "9000");
  EXPECT_EQ(send(channel, get_data(16)), counting(16));
  EXPECT_EQ(send(channel, "00DD0000"), "6D00");

  EXPECT_EQ(vorn_usim_pal_close_channel(channel), 0);
  EXPECT_EQ(vorn_usim_pal_close_channel(channel), -1);
  EXPECT_TRUE(vt::logged("Error, oem_esim_al_close_logical_channel failed.\n"));
  EXPECT_EQ(send(channel, "80F20000"), "rc -1");
  uint32_t kept = 99;
  EXPECT_EQ(vorn_usim_pal_open_channel("A0000000000001", &kept), -1);
  EXPECT_EQ(kept, 99u);
  EXPECT_TRUE(vt::logged("Error, can not get valid channel id\n"));
  EXPECT_EQ(vorn_usim_pal_open_channel(nullptr, &kept), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_usim_pal_open_channel("00", nullptr), VORN_INVALID_PARAM);
}

std::atomic<bool> caller_returned{false};
std::vector<bool> piece_seen_after_return;
std::mutex piece_mutex;
void on_piece(int id, void *, int, void *) {
  if (id != E_oem_USIM_EVENT_SEND_APDU) return;
  std::lock_guard<std::mutex> lock(piece_mutex);
  piece_seen_after_return.push_back(caller_returned.load());
}

// 2500 bytes in three pieces while another thread keeps channel 2 busy.
TEST_F(UsimApdu, LongResponseFromPiecesWhileAnotherChannelWorks) {
  listen();
  ASSERT_EQ(vorn_usim_pal_event_register(on_piece, nullptr), 0);
  const uint32_t first = open();
  const uint32_t second = open();
  ASSERT_NE(first, second);
  caller_returned = false;
  piece_seen_after_return.clear();
  std::atomic<bool> stop{false};
  std::vector<std::string> other;
  std::thread busy([&] {
    while (!stop) other.push_back(send(second, "80F20000"));
  });
  const std::string answer = send(first, get_data(2500));
  caller_returned = true;
  stop = true;
  busy.join();
  vornsim::drain();
  vorn_usim_pal_event_unregister(on_piece);

  EXPECT_EQ(answer, counting(2500));
  EXPECT_FALSE(other.empty());
  for (const std::string &text : other) EXPECT_EQ(text, "9000");
  std::vector<Events::Event> pieces;
  for (const auto &event : events.taken())
    if (event.id == E_oem_USIM_EVENT_SEND_APDU) pieces.push_back(event);
  ASSERT_EQ(pieces.size(), 3u);
  for (const auto &event : pieces) {
    EXPECT_TRUE(event.on_modem_thread);
    EXPECT_FALSE(event.had_data);
    EXPECT_EQ(event.size, 1036);
  }
  EXPECT_EQ(piece_seen_after_return, (std::vector<bool>{false, false, false}));
  EXPECT_TRUE(vt::logged("apdu ind done.total_lenth:2502 received_length:2502\r\n"));
}

// Pieces placed by offset, in any order as long as the last does not come
// first (a piece that reaches the end starts a new buffer when it is the
// first); one piece that covers the whole leaves the reassembly ready for
// the next long response.
TEST_F(UsimApdu, PiecesInAnyOrderAndASinglePiece) {
  const uint32_t channel = open();
  long_answer(3000, {{1000, 1000}, {2000, 1000}, {0, 1000}});
  std::string expected = counting(3000);
  expected.resize(expected.size() - 4);
  std::string got = send(channel, get_data(10));
  EXPECT_EQ(got.size(), expected.size());
  EXPECT_TRUE(got == expected) << "the pieces in their places";

  idle_reassembly();
  long_answer(1200, {{0, 1024}, {1024, 176}});
  expected = counting(1200);
  expected.resize(expected.size() - 4);
  EXPECT_EQ(send(channel, get_data(10)), expected);

  idle_reassembly();
  long_answer(900, {{0, 900}});
  expected = counting(900);
  expected.resize(expected.size() - 4);
  EXPECT_EQ(send(channel, get_data(10)), expected);
  EXPECT_TRUE(vt::logged("more_packet_flag:0\n"));
  long_answer(600, {{0, 600}});
  expected = counting(600);
  expected.resize(expected.size() - 4);
  EXPECT_EQ(send(channel, get_data(10)), expected) << "a single piece leaves no flag behind";
}

// A response that never completes ends the process after its 21 looks; so
// does a second long response after one of several pieces, which finds
// the flag still set and no buffer for its pieces.
TEST_F(UsimApdu, WhatEndsTheProcess) {
  VT_NEEDS_FRESH_PROCESS();
  EXPECT_DEATH(
      {
        card::lose_last_piece(true);
        uint32_t channel = 0;
        vorn_usim_pal_open_channel(card::kTestAppletAid, &channel);
        char out[kOut + 1];
        vorn_usim_pal_send_apdu(static_cast<int>(channel), "00CA0BB8", 8, out, kOut);
      },
      "buffer overflow detected");
  EXPECT_DEATH(
      {
        uint32_t channel = 0;
        vorn_usim_pal_open_channel(card::kTestAppletAid, &channel);
        char out[kOut + 1];
        if (vorn_usim_pal_send_apdu(static_cast<int>(channel), "00CA0BB8", 8, out, kOut) != 0) std::exit(3);
        vorn_usim_pal_send_apdu(static_cast<int>(channel), "00CA0BB8", 8, out, kOut);
        vornsim::drain();
      },
      "buffer overflow detected");
  // More than 5120 bytes do not fit the text buffer.
  EXPECT_DEATH(
      {
        uint32_t channel = 0;
        vorn_usim_pal_open_channel(card::kTestAppletAid, &channel);
        std::vector<char> out(3 * kOut);
        vorn_usim_pal_send_apdu(static_cast<int>(channel), "00CA1401", 8, out.data(), 3 * kOut);
      },
      "buffer overflow detected");
}

TEST_F(UsimApdu, TextThatIsNotWhatItShouldBe) {
  const uint32_t channel = open();
  // Non-hex digits count as 0, and an odd last digit is a high nibble.
  EXPECT_EQ(send(channel, "80ZZ"), "6700");
  EXPECT_TRUE(vt::logged("ERROR to transfer hexchar to bin"));
  EXPECT_EQ(send(channel, "80f2000"), "9000");
  auto sent = vornsim::requests(kUim, QMI_UIM_SEND_APDU_REQ_V01);
  ASSERT_EQ(sent.size(), 2u);
  auto req = sent[1].as<uim_send_apdu_req_msg_v01>();
  EXPECT_EQ(std::vector<uint8_t>(req.apdu, req.apdu + req.apdu_len), bytes({0x80, 0xF2, 0x00, 0x00}));

  vornsim::clear_requests();
  char out[16] = {};
  EXPECT_EQ(vorn_usim_pal_send_apdu(static_cast<int>(channel), "80F20000", 7, out, sizeof out), -1);
  EXPECT_TRUE(vt::logged("error, The input data length does not match the special length \r\n"));
  EXPECT_EQ(vorn_usim_pal_send_apdu(static_cast<int>(channel), nullptr, 0, out, sizeof out), -1);
  EXPECT_EQ(vorn_usim_pal_send_apdu(static_cast<int>(channel), "80F20000", 8, nullptr, 0), -1);
  EXPECT_EQ(vornsim::requests(kUim).size(), 0u);

  // Beyond 2048 digits the text converts to nothing.
  const std::string huge(2050, '0');
  EXPECT_EQ(send(channel, huge), "6700");
  EXPECT_TRUE(vt::logged("req_apdu_length:0\n"));
  // A maximum below the response leaves the tail zeros.
  std::string cut = send(channel, get_data(16), 8);
  EXPECT_EQ(cut, "00010203");

  // An AID too long for its buffer asks for a channel without AID; one too
  // long for the request is refused by the modem.
  uint32_t bare = 0;
  EXPECT_EQ(vorn_usim_pal_open_channel(std::string(130, 'A').c_str(), &bare), 0);
  EXPECT_TRUE(vt::logged("Buffer is too small for conversion (0x40 < 0x41)"));
  auto opened = vornsim::requests(kUim, QMI_UIM_OPEN_LOGICAL_CHANNEL_REQ_V01);
  ASSERT_FALSE(opened.empty());
  EXPECT_EQ(opened.back().as<uim_open_logical_channel_req_msg_v01>().aid_len, 0u);
  EXPECT_EQ(vorn_usim_pal_open_channel(std::string(66, 'A').c_str(), &bare), -1);
}

// The card leaves while channels are open: requests fail at once, and the
// reinserted card opens channels anew.
TEST_F(UsimApdu, CardRemovedUnderOpenChannels) {
  listen();
  const uint32_t channel = open();
  card::remove_card(card::kUsimSlot);
  EXPECT_EQ(send(channel, "80F20000"), "rc -1");
  uint32_t again = 0;
  EXPECT_EQ(vorn_usim_pal_open_channel(card::kTestAppletAid, &again), -1);
  card::insert_card(card::kUsimSlot);
  EXPECT_EQ(send(channel, "80F20000"), "rc -1") << "the old channel went with the card";
  EXPECT_EQ(open(), 1u);
  EXPECT_EQ(send(1, get_data(1100)), counting(1100));
  std::vector<int> ids = event_ids();
  EXPECT_EQ(std::count(ids.begin(), ids.end(), E_oem_USIM_EVENT_SEND_APDU), 2);
}

}  // namespace
