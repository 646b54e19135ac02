// The operator's side of USSD in the simulated modem: its service codes and
// menus, and the codings of texts between the network, the modem and the
// application.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <vornsim/voice.h>

namespace vornsim::ussd {

using voice::Coding;

// The network's reply: a final text, or a question (`question` names it
// for the answer).
struct Reply {
  std::string text;  // UTF-8
  Coding coding;
  std::string question;
};

// The reply to a service code; nullopt for a code the network does not know.
std::optional<Reply> dial(const std::string &code);
// The reply to the answer `text` of question `question`.
Reply answer(const std::string &question, const std::string &text);
// The question of a network-initiated request.
Reply request(const std::string &text, Coding coding);

// ---- codings -----------------------------------------------------------------

std::u32string code_points(const std::string &utf8);
std::string utf8(const std::u32string &points);
// UTF-16 units of a text (pairs for characters beyond the basic plane).
std::u16string utf16(const std::string &utf8);
// One byte a character, for characters up to U+00FF ('?' for the others).
std::string latin1(const std::string &utf8);
// Septets of the GSM default alphabet, packed; '?' for characters it lacks.
std::vector<uint8_t> gsm7_packed(const std::string &utf8);
// UCS-2 in the machine's byte order, as the application sends it.
std::string from_ucs2_machine(const uint8_t *data, size_t bytes);

}  // namespace vornsim::ussd
