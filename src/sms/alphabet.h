// The GSM 7-bit default alphabet and its escape table, as the source of the
// exported character tables and of the conversions to and from UCS-2.
#pragma once

#include <cstdint>

namespace vorn::sms {

constexpr uint8_t kEscape = 27;
constexpr uint8_t kNoLatin1 = 255;

// Septet to Latin-1; kNoLatin1 for the Greek capitals (and 16, 18..26 in
// general), which Latin-1 lacks.
constexpr uint8_t kGsmLatin1[128] = {
    0x40,      0xA3,      0x24,      0xA5,      0xE8,      0xE9,      0xF9,      0xEC,
    0xF2,      0xC7,      0x0A,      0xD8,      0xF8,      0x0D,      0xC5,      0xE5,
    kNoLatin1, 0x5F,      kNoLatin1, kNoLatin1, kNoLatin1, kNoLatin1, kNoLatin1, kNoLatin1,
    kNoLatin1, kNoLatin1, kNoLatin1, 0x1B,      0xC6,      0xE6,      0xDF,      0xC9,
    ' ',       '!',       '"',       '#',       0xA4,      '%',       '&',       '\'',
    '(',       ')',       '*',       '+',       ',',       '-',       '.',       '/',
    '0',       '1',       '2',       '3',       '4',       '5',       '6',       '7',
    '8',       '9',       ':',       ';',       '<',       '=',       '>',       '?',
    0xA1,      'A',       'B',       'C',       'D',       'E',       'F',       'G',
    'H',       'I',       'J',       'K',       'L',       'M',       'N',       'O',
    'P',       'Q',       'R',       'S',       'T',       'U',       'V',       'W',
    'X',       'Y',       'Z',       0xC4,      0xD6,      0xD1,      0xDC,      0xA7,
    0xBF,      'a',       'b',       'c',       'd',       'e',       'f',       'g',
    'h',       'i',       'j',       'k',       'l',       'm',       'n',       'o',
    'p',       'q',       'r',       's',       't',       'u',       'v',       'w',
    'x',       'y',       'z',       0xE4,      0xF6,      0xF1,      0xFC,      0xE0,
};

struct EscapePair {
  uint8_t septet;  // behind the escape
  uint8_t latin1;
};

// The escape table as the system reads it: without form feed and euro sign,
// and with a second escape read as "(".
constexpr EscapePair kEscapes[] = {
    {20, '^'}, {27, '('}, {40, '{'}, {41, '}'}, {47, '\\'},
    {60, '['}, {61, '~'}, {62, ']'}, {64, '|'},
};

struct UnicodeSeptet {
  uint16_t unit;
  uint8_t septet;
  bool escaped;
};

// Characters of the alphabet outside Latin-1, for text given in UCS-2.
constexpr UnicodeSeptet kBeyondLatin1[] = {
    {0x0394, 16, false}, {0x03A6, 18, false}, {0x0393, 19, false}, {0x039B, 20, false},
    {0x03A9, 21, false}, {0x03A0, 22, false}, {0x03A8, 23, false}, {0x03A3, 24, false},
    {0x0398, 25, false}, {0x039E, 26, false}, {0x20AC, 101, true},
};

}  // namespace vorn::sms
