// The AT exchange over a real UDP socket in the sandbox's network namespace,
// against the host's AT server answering from the simulated modem.
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

#include <vornpal/at.h>
#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>

#include "responder.h"
#include "vornpal_test.h"

namespace {

constexpr const char kFailure[] = "\r\nERROR\r\n";
// One wait of the client on the test clock (20 s scaled by 100).
constexpr auto kPassWait = std::chrono::milliseconds(200);

atr::Answer raw(const std::string &bytes) { return {{}, true, bytes}; }

class AtClient : public ::testing::Test {
 protected:
  void SetUp() override {
    vorn_set_log_level(0);
    vornsim::clear_diag();
    ASSERT_TRUE(server.start()) << "127.0.0.1:5555 taken";
  }
  void TearDown() override {
    server.stop();
    vorn_m2m_pal_deinit();
    vorn_set_log_level(1);
  }

  std::string send(const char *command) {
    std::unique_ptr<char, decltype(&std::free)> reply(vorn_util_send_at(command), &std::free);
    return reply.get();
  }

  void answer_with(const std::string &bytes) {
    server.set_answerer([bytes](const std::string &) { return raw(bytes); });
  }

  atr::Responder server;
};

TEST_F(AtClient, NormalisedCommandAnsweredFromTheModem) {
  EXPECT_EQ(send("at+cgmi\r\n"), "\r\nVorn Wireless\r\n\r\nOK\r\n");
  EXPECT_TRUE(vt::logged("send at cmd:[8,AT+CGMI\r]\n"));
  EXPECT_EQ(send("at+cfun=4\n"), "\r\nOK\r\n");
  EXPECT_EQ(send("AT+CFUN?\r"), "\r\n+CFUN: 4\r\n\r\nOK\r\n");
  EXPECT_EQ(send("AT+NOSUCH"), kFailure) << "the server's own ERROR ends the exchange";
  std::vector<std::string> expected = {"AT+CGMI\r", "AT+CFUN=4\r", "AT+CFUN?\r", "AT+NOSUCH\r"};
  EXPECT_EQ(server.received(), expected);
  auto set = vornsim::requests(vornsim::Svc::M2M, QMI_VORN_M2M_SET_CFUN_MODE_REQ_V01);
  ASSERT_EQ(set.size(), 1u);
  EXPECT_EQ(set[0].as<vorn_m2m_set_cfun_mode_req_msg_v01>().cfun_mode, 4);
  EXPECT_EQ(vt::count_logged("select fail:ret=0\n"), 0);

  EXPECT_EQ(send(nullptr), kFailure);
  EXPECT_TRUE(vt::logged("Invalid string parameter.\n"));
  EXPECT_EQ(server.received().size(), expected.size()) << "nothing sent for a null command";
}

TEST_F(AtClient, EchoIsRemoved) {
  server.set_mode({true, false, 1, 0, false});
  EXPECT_EQ(send("at+cgmm"), "VN5G-FWA100\r\n\r\nOK\r\n");
  // The echo and its line break fill the first datagram alone: the reply
  // starts empty and the second datagram brings the result.
  server.set_mode({true, false, 2, 0, false});
  answer_with("\r\nOK\r\n");
  EXPECT_EQ(send("at"), "OK\r\n");
  EXPECT_EQ(vt::count_logged("select fail:ret=0\n"), 0);
}

TEST_F(AtClient, FinalResultOnlyAtTheStartOfALine) {
  answer_with("\r\nLINK IS OK\r\n\r\nOK\r\n");
  EXPECT_EQ(send("AT+LINK"), "\r\nLINK IS OK\r\n\r\nOK\r\n");
  EXPECT_TRUE(vt::logged("no correct end:<\r\nLINK IS OK\r\n\r\nOK\r\n>,<OK\r\n>,<10>\r\n"));

  vornsim::clear_diag();
  answer_with("\r\nLINK IS OK\r\n");
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(send("AT+LINK"), kFailure);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 2 * kPassWait);
  EXPECT_EQ(vt::count_logged("select fail:ret=0\n"), 2) << "the text used the first pass";

  answer_with("\r\n+CME ERROR: 10\r\n");
  EXPECT_EQ(send("AT+CPIN?"), "\r\n+CME ERROR: 10\r\n");
  EXPECT_TRUE(vt::logged("no correct end:<\r\n+CME ERROR: 10\r\n>,<ERROR>,<7>\r\n"));
  answer_with("\r\nNO CARRIER\r\n");
  EXPECT_EQ(send("ATD123;"), "\r\nNO CARRIER\r\n");
}

TEST_F(AtClient, NumericResults) {
  server.set_mode({false, true, 1, 0, false});
  EXPECT_EQ(send("AT+CGMI"), "Vorn Wireless\r\n0\r");
  EXPECT_EQ(send("AT+NOSUCH"), "4\r");
  answer_with("3\r");
  EXPECT_EQ(send("ATD123;"), "3\r");
  answer_with("+CSQ: 23,99\r\n");
  EXPECT_EQ(send("AT+CSQ"), kFailure) << "a 3 inside a line is no result";
}

TEST_F(AtClient, AnswerInPiecesUsesOnePassEach) {
  server.set_mode({true, false, 3, 0, false});
  EXPECT_EQ(send("AT+CGSN"), "861234050000011\r\n\r\nOK\r\n");
  EXPECT_EQ(vt::count_logged("select fail:ret=0\n"), 0);
  server.set_mode({false, false, 4, 0, false});
  EXPECT_EQ(send("AT+CGSN"), kFailure) << "a fourth datagram comes after the third pass";
}

TEST_F(AtClient, SlowOrNoAnswerOnTheTestClock) {
  server.set_mode({false, false, 1, 25000, false});
  EXPECT_EQ(send("AT"), "\r\nOK\r\n");
  EXPECT_EQ(vt::count_logged("select fail:ret=0\n"), 1) << "answered in the second wait";

  vornsim::clear_diag();
  server.set_mode({false, false, 1, 0, true});
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(send("AT+CGMI"), kFailure);
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, 3 * kPassWait);
  EXPECT_LT(waited, 10 * kPassWait);
  EXPECT_EQ(vt::count_logged("select fail:ret=0\n"), 3);
  EXPECT_EQ(server.received().back(), "AT+CGMI\r");
}

TEST_F(AtClient, ReplyFillingTheBuffer) {
  std::string body(VORN_AT_REPLY_SIZE - 7, 'A');
  answer_with(body + "\r\nOK\r\n");
  std::string reply = send("AT+BIG");
  EXPECT_EQ(reply.size(), static_cast<size_t>(VORN_AT_REPLY_SIZE - 1));
  EXPECT_EQ(reply.substr(reply.size() - 6), "\r\nOK\r\n");

  answer_with(body + "A\r\nOK\r\n");
  EXPECT_EQ(send("AT+BIG"), kFailure) << "the final result is cut off at 2047 bytes";
  answer_with(std::string(5000, 'B'));
  EXPECT_EQ(send("AT+BIG"), kFailure);
}

TEST(AtParamStrip, StripsBothEnds) {
  char text[] = "  \"internet\" \r\n";
  char *kept = vorn_at_param_strip(text, " \"\r\n");
  EXPECT_EQ(kept, text + 3);
  EXPECT_STREQ(kept, "internet");
  EXPECT_EQ(text[11], '\0') << "the closing quote is overwritten";
  char all[] = "\"\"";
  EXPECT_STREQ(vorn_at_param_strip(all, "\""), "");
  EXPECT_EQ(vorn_at_param_strip(nullptr, " "), nullptr);
  EXPECT_EQ(vorn_at_param_strip(text, nullptr), text);
}

}  // namespace
