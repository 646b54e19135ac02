// Control API of the simulated modem's UIM service: two physical slots,
// slot 0 a USIM card and slot 1 an eUICC with profiles, their files, PIN and
// PUK with their counters, insertion, removal and card errors, the
// logical channels and the long responses of their applet.
//
// Every change of a card is reported to the clients that registered for
// card or slot reports, as the modem would.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vornsim::uim {

constexpr int kUsimSlot = 0;
constexpr int kEuiccSlot = 1;

// The files of the test card (slot 0), as the card holds them.
constexpr char kIccid[] = "89490200001234567890";
constexpr char kImsi[] = "310260123456789";
constexpr char kMsisdn[] = "15551230042";
constexpr char kPin[] = "1234";
constexpr char kPuk[] = "12345678";
constexpr int kPinTries = 3;
constexpr int kPukTries = 10;
// The applet on both cards, and the eUICC's own (ISD-R).
constexpr char kTestAppletAid[] = "F0564F524E0001";
constexpr char kIsdRAid[] = "A0000005591010FFFFFFFF8900000100";
// An APDU response longer than this goes by token, in pieces.
constexpr size_t kApduFieldMax = 1024;

// ---- cards -----------------------------------------------------------------

void remove_card(int slot);
void insert_card(int slot);
// The card stops answering: card state error with this error code.
void card_error(int slot, uint32_t error_code = 3);
// The physical slot in use (single SIM).
int active_slot();
// Both slots in use at once: the card report then holds two cards.
void set_dual_sim(bool on);
// The card's application: 1 SIM (files under 7F20), 2 USIM (under 7FFF).
void set_app_type(int slot, uint32_t app_type);

// Files of a card: transparent content, or the records of a linear file.
void set_file(int slot, uint16_t file_id, const std::vector<uint8_t> &content);
void set_records(int slot, uint16_t file_id, const std::vector<std::vector<uint8_t>> &records);
void remove_file(int slot, uint16_t file_id);
std::vector<uint8_t> file(int slot, uint16_t file_id);

// ---- PIN ---------------------------------------------------------------------

struct Pin {
  bool enabled;
  bool verified;
  int pin_tries;  // 0: blocked
  int puk_tries;  // 0: permanently blocked
  std::string pin;
  std::string puk;
};
Pin pin(int slot);
// The PIN request on or off, the PIN still to be entered, counters full.
void set_pin_required(int slot, bool required);

// ---- channels and long responses ----------------------------------------------------

// Bytes of each piece of a long response, and modem milliseconds between
// pieces (0: all at once, after the answer).
void set_piece_size(size_t bytes);
void set_piece_delay_ms(unsigned ms);
// The last piece of each long response is lost: it never completes.
void lose_last_piece(bool lose);
// Channels open now, by id, with their AIDs in hexadecimal.
std::vector<std::pair<int, std::string>> channels();

// ---- eUICC -----------------------------------------------------------------------------

struct Profile {
  uint32_t id;
  std::string iccid;  // digits
  std::string nickname;
  bool enabled;
};
std::vector<Profile> profiles();
std::string eid();

}  // namespace vornsim::uim
