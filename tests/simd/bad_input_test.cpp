// What the daemon does with frames it cannot take and with a process that
// never reads: a clear line in its log, that connection closed or its
// indications dropped, and the daemon up with its state intact.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

#include <vornpal/platform/device_management_service_v01.h>
#include <vornsim/dm_cache.h>

#include "raw_client.h"
#include "simd_test.h"
#include "codec.h"
#include "wire.h"

namespace simdt {
namespace {

using vornsim::Svc;
namespace wire = vornsim::wire;

int connect_raw() {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::strncpy(addr.sun_path, suite_daemon().socket().c_str(), sizeof addr.sun_path - 1);
  if (connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

// Sends the bytes and reads until the daemon closes the connection; false
// when it did not within 5 s.
bool closed_after(const void *bytes, size_t len) {
  int fd = connect_raw();
  if (fd < 0 || write(fd, bytes, len) != static_cast<ssize_t>(len)) return false;
  shutdown(fd, SHUT_WR);  // nothing more comes: a short frame stays short
  timeval limit{5, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  char buf[256];
  ssize_t n;
  while ((n = read(fd, buf, sizeof buf)) > 0) {
  }
  const bool reset = n < 0 && errno == ECONNRESET;  // closed with our bytes unread
  close(fd);
  return n == 0 || reset;
}

bool logged(const std::string &text) {
  return vt::eventually([&] { return suite_daemon().log().find(text) != std::string::npos; });
}

void still_serves() {
  RawClient client;
  std::string number;
  EXPECT_EQ(client.msisdn(number), QMI_NO_ERR);
  EXPECT_EQ(number, "+15551230042");
  EXPECT_EQ(vornsim::dm_cache_word(77), std::optional<uint32_t>(1977)) << "the modem's state was lost";
}

TEST_F(DaemonTest, DamagedFramesCloseOnlyTheirConnection) {
  vornsim::set_dm_cache_word(77, 1977);
  const char junk[40] = "GET / HTTP/1.0\r\n\r\n";
  EXPECT_TRUE(closed_after(junk, sizeof junk));
  EXPECT_TRUE(logged("bad magic"));

  wire::Header h = wire::header(wire::Type::kSync);
  h.length = 100;  // announced, never sent
  EXPECT_TRUE(closed_after(&h, 12));
  EXPECT_TRUE(logged("truncated frame header"));
  EXPECT_TRUE(closed_after(&h, sizeof h));
  EXPECT_TRUE(logged("truncated frame (100 payload bytes announced)"));

  h.length = wire::kMaxPayload + 1;
  EXPECT_TRUE(closed_after(&h, sizeof h));
  EXPECT_TRUE(logged("exceeds the limit"));

  wire::Header unknown = wire::header(wire::Type::kInitClient);
  unknown.svc = 200;
  EXPECT_TRUE(closed_after(&unknown, sizeof unknown));
  EXPECT_TRUE(logged("unknown service 200"));
  wire::Header type = wire::header(static_cast<wire::Type>(99));
  EXPECT_TRUE(closed_after(&type, sizeof type));
  EXPECT_TRUE(logged("unknown frame type 99"));
  still_serves();
}

TEST_F(DaemonTest, UnknownControlCallAndUnknownClientAreRefused) {
  vornsim::set_dm_cache_word(77, 1977);
  int fd = connect_raw();
  ASSERT_GE(fd, 0);
  vornsim::codec::Writer call;
  call.put(std::string("format_the_modem"));
  wire::Header h = wire::header(wire::Type::kControl, 5);
  ASSERT_TRUE(wire::write_frame(fd, h, call.bytes().data(), call.bytes().size()));
  wire::Header sync = wire::header(wire::Type::kSync, 6);
  sync.handle = 12345;  // no client of this connection
  sync.extra = 16;
  ASSERT_TRUE(wire::write_frame(fd, sync, nullptr, 0));
  // A known call whose arguments are cut short: the service, not whether up.
  vornsim::codec::Writer short_call;
  short_call.put(std::string("set_service_up"));
  short_call.put(Svc::DMS);
  ASSERT_TRUE(wire::write_frame(fd, wire::header(wire::Type::kControl, 7), short_call.bytes().data(),
                                short_call.bytes().size()));
  std::map<uint32_t, wire::Frame> replies;
  wire::Frame frame;
  std::string error;
  while (replies.size() < 3 && wire::read_frame(fd, frame, error))
    if (frame.header.type == static_cast<uint16_t>(wire::Type::kReply)) replies[frame.header.txn] = frame;
  close(fd);
  ASSERT_EQ(replies.size(), 3u) << error;
  EXPECT_EQ(replies[5].header.rc, -1);
  EXPECT_EQ(std::string(replies[5].payload.begin(), replies[5].payload.end()),
            "unknown control call format_the_modem");
  EXPECT_EQ(replies[6].header.rc, QMI_CLIENT_INVALID_CLNT);
  EXPECT_EQ(replies[7].header.rc, -1);
  EXPECT_TRUE(logged("arguments of set_service_up do not fit"));
  EXPECT_TRUE(vornsim::service_up(Svc::DMS)) << "a call with damaged arguments ran";
  EXPECT_TRUE(logged("unknown control call format_the_modem"));
  still_serves();
}

// The suite's daemon queues 64 indications for a process at most.
TEST_F(DaemonTest, ProcessThatNeverReadsHoldsUpNoOne) {
  vornsim::set_dm_cache_word(77, 1977);
  const int before = vornsim::counters().clients_live;
  int fd = connect_raw();
  ASSERT_GE(fd, 0);
  wire::Header init = wire::header(wire::Type::kInitClient, 1);
  init.svc = static_cast<uint16_t>(Svc::DMS);
  init.rc = 1000;
  init.extra = 1;  // it has an indication callback, and never reads
  ASSERT_TRUE(wire::write_frame(fd, init, nullptr, 0));
  ASSERT_TRUE(vt::eventually([&] { return vornsim::counters().clients_live == before + 1; }));

  RawClient reader;
  std::vector<uint8_t> big(8192, 0x5A);
  // In rounds that a reading process takes whole, however slow its reading.
  for (int round = 0; round < 8; ++round) {
    for (int i = 0; i < 50; ++i) vornsim::indicate(Svc::DMS, QMI_DMS_EVENT_REPORT_IND_V01, big.data(), big.size());
    vornsim::drain();
  }
  EXPECT_EQ(reader.indications(), 400u) << "a reading process lost indications to one that does not read";
  EXPECT_TRUE(logged("does not read its indications"));
  still_serves();

  close(fd);
  EXPECT_TRUE(vt::eventually([&] { return vornsim::counters().clients_live == before + 1; }))
      << "the silent process's client outlived its connection";
}

}  // namespace
}  // namespace simdt
