// The AT client's round trip over the loopback socket against the host's AT
// server, beside a bare UDP exchange of the same bytes.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=At
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include <vornpal/at.h>
#include <vornpal/log.h>
#include <vornpal/m2m.h>
#include <vornsim/sim.h>

#include "paired.h"
#include "quiet_modem.h"
#include "responder.h"

namespace {

atr::Answer fixed_ok(const std::string &) { return {{}, true, std::string("\r\nOK\r\n")}; }

void fresh_modem() {
  vorn_m2m_pal_deinit();
  bench::quiet_modem();
}

void BM_AtRoundTripFromModem(benchmark::State &state) {
  fresh_modem();
  atr::Responder server;
  if (!server.start()) return state.SkipWithError("127.0.0.1:5555 taken");
  for (auto _ : state) {
    char *reply = vorn_util_send_at("AT+CGMI");
    benchmark::DoNotOptimize(reply);
    std::free(reply);
  }
}
BENCHMARK(BM_AtRoundTripFromModem);

// The AT client against the same exchange with no library (one socket, one
// datagram each way) to one server, side by side (paired.h); the server's
// thread does part of the work, so on the wall clock.
void BM_AtRoundTripVsBareUdp(benchmark::State &state) {
  fresh_modem();
  atr::Responder server({}, fixed_ok);
  if (!server.start()) return state.SkipWithError("127.0.0.1:5555 taken");
  int fd = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(atr::kPort);
  inet_pton(AF_INET, atr::kAddress, &to.sin_addr);
  char reply[64];
  bench::paired(
      state, CLOCK_MONOTONIC, 32,
      [] {
        char *answer = vorn_util_send_at("AT");
        benchmark::DoNotOptimize(answer);
        std::free(answer);
      },
      [&] {
        sendto(fd, "AT\r", 3, 0, reinterpret_cast<sockaddr *>(&to), sizeof to);
        benchmark::DoNotOptimize(recv(fd, reply, sizeof reply, 0));
      });
  close(fd);
}
BENCHMARK(BM_AtRoundTripVsBareUdp);

}  // namespace
