// libFuzzer: the APDU text of vorn_usim_pal_send_apdu and the AID text of
// vorn_usim_pal_open_channel, against the simulated card's applet.
//   input[0] bit 0: an AID to open a channel to (else an APDU on channel 1)
//   the rest: the text
// Commands whose answer would come as a long response are left out: the
// library ends the process on a second one after a response of several
// pieces, and on any of more than 5120 bytes.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/usim.h>
#include <vornsim/sim.h>
#include <vornsim/uim.h>

#include "sandbox_check.h"

namespace {

uint8_t nibble(char c) {
  if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<uint8_t>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
  return 0;
}

// The applet answers GET DATA with as many bytes as P1P2 ask, and GET
// RESPONSE with what is left of one: both can make a long answer, so both are
// left out whatever the length, as is any text whose instruction byte the
// library might read differently from here.
bool asks_for_a_long_answer(const std::string &text) {
  if (text.size() < 4) return false;
  for (size_t i = 0; i < 4; ++i)
    if (nibble(text[i]) == 0 && text[i] != '0') return true;
  const uint8_t ins = static_cast<uint8_t>(nibble(text[2]) << 4 | nibble(text[3]));
  return ins == 0xCA || ins == 0xC0;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  require_sandbox();
  setenv("VORNPAL_TIME_SCALE", "100", 0);
  vornsim::reset();  // the modem's services with their handlers and cards
  vorn_set_log_level(4);
  vornsim::set_diag_record(false);
  if (vorn_usim_pal_init() != 0) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1 || size > 3000) return 0;
  std::string text(reinterpret_cast<const char *>(data + 1), size - 1);
  text = text.c_str();  // the text ends at its first zero, as the library reads it
  if (data[0] & 1) {
    uint32_t channel = 0;
    if (vorn_usim_pal_open_channel(text.c_str(), &channel) == 0) vorn_usim_pal_close_channel(channel);
    return 0;
  }
  if (asks_for_a_long_answer(text)) return 0;
  static uint32_t channel = 0;
  if (channel == 0 && vorn_usim_pal_open_channel(vornsim::uim::kTestAppletAid, &channel) != 0) std::abort();
  // The caller's buffer holds the whole response, as the library expects.
  std::vector<char> response(10241);
  vorn_usim_pal_send_apdu(static_cast<int>(channel), text.c_str(), static_cast<uint32_t>(text.size()),
                          response.data(), static_cast<uint32_t>(response.size() - 1));
  return 0;
}
