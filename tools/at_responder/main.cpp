// at_responder: an AT server on UDP 127.0.0.1:5555 for the library's AT
// client, answering from the simulated modem. Run it in the sandbox, beside
// the program under test:
//
//   tools/sandbox/vornpal-sandbox --expose build -- sh -c
//     'build/tools/at_responder --echo & sleep 0.2; build/tools/vornpalctl at AT+CGMI'
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <vornsim/sim.h>

#include "responder.h"

namespace {

volatile std::sig_atomic_t stop_requested = 0;

void request_stop(int) { stop_requested = 1; }

void usage(FILE *out) {
  std::fprintf(out,
               "usage: at_responder [--echo] [--numeric] [--pieces N] [--delay MS] [--silent]\n"
               "                    [--state DIR]\n\n"
               "Serves AT commands on UDP 127.0.0.1:5555 until SIGINT or SIGTERM, answering\n"
               "AT, AT+CGMI, AT+CGMM, AT+CGMR, AT+CGSN, AT+CFUN?, AT+CFUN=<n> and AT+CSQ from\n"
               "the simulated modem (its state loaded from DIR, default /vornsim), ERROR to\n"
               "anything else. Each command received is printed on a line.\n\n"
               "  --echo      repeat the command before the answer\n"
               "  --numeric   result codes 0 and 4 (ATV0)\n"
               "  --pieces N  send each reply in N datagrams (1 to 64)\n"
               "  --delay MS  answer MS modem milliseconds late (divided by VORNPAL_TIME_SCALE)\n"
               "  --silent    answer nothing\n");
}

bool parse(int argc, char **argv, atr::Mode &mode, std::string &state) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  for (size_t i = 0; i < args.size(); ++i) {
    if (auto taken = atr::take_mode_option(args, i, mode)) {
      if (!*taken) return false;
    } else if (args[i] == "--state" && i + 1 < args.size()) {
      state = args[++i];
    } else {
      return false;
    }
  }
  return true;
}

std::string shown(const std::string &bytes) {
  std::string text;
  for (char c : bytes) text += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
  return text;
}

}  // namespace

int main(int argc, char **argv) {
  atr::Mode mode;
  std::string state = "/vornsim";
  if (argc > 1 && (std::strcmp(argv[1], "-h") == 0 || std::strcmp(argv[1], "--help") == 0)) {
    usage(stdout);
    return 0;
  }
  if (!parse(argc, argv, mode, state)) {
    usage(stderr);
    return 2;
  }
  vornsim::reset();
  vornsim::load_state(state);
  atr::Responder responder(mode);
  responder.on_served([](const std::string &command) {
    std::printf("%s\n", shown(command).c_str());
    std::fflush(stdout);
  });
  if (!responder.start()) {
    std::fprintf(stderr, "at_responder: 127.0.0.1:5555 is taken\n");
    return 1;
  }
  std::signal(SIGINT, request_stop);
  std::signal(SIGTERM, request_stop);
  while (stop_requested == 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  responder.stop();
  vornsim::save_state(state);
  return 0;
}
