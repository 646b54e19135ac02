// Control API of the simulated modem's VOICE service: the operator's USSD
// side, as tests and vornpalctl drive it.
//
// The simulated operator answers service codes the way a network does:
//   *100#   the balance, answered at once
//   *123#   a menu of two levels: 1 balance, 2 data bundles (a second menu),
//           3 language (a second menu); 0 goes back from a second menu
//   *111#   a long account statement in UCS-2
// Other codes are refused by the network. Texts that the GSM 7-bit alphabet
// holds come as GSM 7-bit, the others as UCS-2 (the modem adds the UTF-16
// form when the UCS-2 string cannot carry the text, e.g. for characters
// beyond the basic plane). A question left unanswered for the session
// time-out ends the session with a release.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::voice {

enum class Coding { Gsm7, Ucs2 };

// Release causes of the USSD release indication.
constexpr uint16_t kReleasedByNetwork = 0;
constexpr uint16_t kTimedOut = 1;
constexpr uint16_t kCancelled = 2;
constexpr uint16_t kCompleted = 3;
// The failure cause of a time-out (the network's "no response").
constexpr uint32_t kNoResponseCause = 0x22;

// Data coding schemes of the network's own form of a text (3GPP TS 23.038).
constexpr uint32_t kDcsGsm7 = 0x0F;
constexpr uint32_t kDcsUcs2 = 0x48;

// Events of the network. While no client of the modem listens for USSD
// reports, the modem keeps them (also across saved states) and hands them
// to the first client that switches the reports on.
//
// A notification of the network (no answer expected), then the release.
// False while a session is open.
bool network_notify(const std::string &text, Coding coding);
// A question of the network that opens a session; the application's answer
// is thanked for and the session released. False while a session is open.
bool network_request(const std::string &text, Coding coding);
// The network ends the open session. False when none is open (kept for
// later, and true, while no client listens).
bool network_release();

// How long the network waits for an answer, in modem milliseconds.
void set_session_timeout(unsigned ms);

struct Session {
  bool open;
  std::string question;               // the text that waits for an answer, or ""
  std::vector<std::string> received;  // what the application sent, in UTF-8, oldest first
};
Session session();

// The network's own form of a text: packed GSM 7-bit septets, or UCS-2
// big-endian.
std::vector<uint8_t> network_form(const std::string &text, Coding coding);

}  // namespace vornsim::voice
