// The exported tables between the GSM 7-bit default alphabet (3GPP TS 23.038)
// and Latin-1. Each table is generated at compile time from the alphabet and
// the short lists of places where the system's tables depart from it.
#include <cstdint>

#include <vornpal/sms_user_data.h>

#include "sms/alphabet.h"

namespace vorn::sms {
namespace {

constexpr uint8_t kNoForm = 255;

constexpr uint8_t ascii7to8(int septet) {
  uint8_t latin1 = kGsmLatin1[septet];
  return latin1 == kNoLatin1 ? '?' : latin1;
}

constexpr uint8_t gsm7_to_ira_at(int septet) { return kGsmLatin1[septet]; }

constexpr uint8_t gsm7_to_ira_ext_at(int septet) {
  for (const EscapePair &pair : kEscapes)
    if (pair.septet == septet) return pair.latin1;
  return kNoForm;
}

struct Override {
  uint8_t from;
  uint8_t to;
};

// Latin-1 to septet: '@' is a blank because the converter's next stage ends
// a string at 0; '[' and the control 30 map as the AT layer has always had
// them; the characters of the escape table have no plain septet.
constexpr Override kIraOverrides[] = {
    {64, 32},   {91, 196},  {30, 30},   {92, 255}, {93, 255}, {94, 255}, {123, 255},
    {124, 255}, {125, 255}, {126, 255}, {36, 2},   {95, 17},  {96, 96},  {161, 64},
    {163, 1},   {164, 36},  {165, 3},   {167, 95}, {191, 96},
};

template <size_t N>
constexpr int find_override(const Override (&list)[N], int c) {
  for (const Override &o : list)
    if (o.from == c) return o.to;
  return -1;
}

constexpr uint8_t ira_to_gsm7_at(int c) {
  if (int to = find_override(kIraOverrides, c); to >= 0) return static_cast<uint8_t>(to);
  for (int septet = 0; septet < 128; ++septet)
    if (kGsmLatin1[septet] != kNoLatin1 && kGsmLatin1[septet] == c)
      return static_cast<uint8_t>(septet);
  return kNoForm;
}

constexpr uint8_t ira_to_gsm7_ext_at(int c) {
  if (c > 127) return ira_to_gsm7_at(c);
  for (const EscapePair &pair : kEscapes)
    if (pair.latin1 == c && pair.septet != kEscape) return pair.septet;
  return kNoForm;
}

// ASCII that a terminal in the GSM character set shows as it stands.
constexpr Override kShowOverrides[] = {{36, 36}, {64, 64}, {95, 95}, {126, 126}};
constexpr Override kShowExtOverrides[] = {{36, 2},  {91, 91},   {92, 92},   {93, 93},   {94, 94},
                                          {96, 96}, {123, 123}, {124, 124}, {125, 125}, {126, 126}};

constexpr uint8_t show_gsm7_to_ira_at(int c) {
  int to = find_override(kShowOverrides, c);
  return to >= 0 ? static_cast<uint8_t>(to) : ira_to_gsm7_at(c);
}

constexpr uint8_t show_gsm7_to_ira_ext_at(int c) {
  int to = find_override(kShowExtOverrides, c);
  return to >= 0 ? static_cast<uint8_t>(to) : ira_to_gsm7_ext_at(c);
}

// Ascii8to7: bit 7 of a value asks for the escape septet first.
constexpr uint8_t kEscaped = 0x80;

constexpr Override kAsciiOverrides[] = {
    {10, 10},
    {12, kEscaped | 10},
    {13, 13},
    {36, 2},
    {64, 0},
    {91, kEscaped | 60},
    {92, kEscaped | 47},
    {93, kEscaped | 62},
    {94, kEscaped | 20},
    {95, 17},
    {96, 217},
    {123, kEscaped | 40},
    {124, kEscaped | 64},
    {125, kEscaped | 41},
    {126, kEscaped | 61},
    {127, 63},
};

struct Fold {
  uint8_t first;
  uint8_t last;
  uint8_t septet;
};

// Windows-1252 and Latin-1 folded to the nearest septet.
constexpr Fold kFolds[] = {
    {0x82, 0x82, 0x27}, {0x83, 0x83, 0x66}, {0x84, 0x84, 0x22}, {0x8A, 0x8A, 0x53},
    {0x8B, 0x8B, 0x27}, {0x8C, 0x8C, 0xD6}, {0x91, 0x92, 0x27}, {0x93, 0x94, 0x22},
    {0x95, 0x95, 0x2A}, {0x96, 0x97, 0x2D}, {0x98, 0x98, 0x27}, {0x9A, 0x9A, 0x73},
    {0x9B, 0x9B, 0x27}, {0x9C, 0x9C, 0x6F}, {0x9F, 0x9F, 0x59}, {0xA0, 0xA0, 0x20},
    {0xA1, 0xA1, 0x40}, {0xA2, 0xA2, 0x63}, {0xA3, 0xA3, 0x01}, {0xA4, 0xA4, 0x24},
    {0xA5, 0xA5, 0x03}, {0xA6, 0xA6, 0x21}, {0xA7, 0xA7, 0x5F}, {0xA8, 0xA8, 0x22},
    {0xAB, 0xAB, 0x3C}, {0xAD, 0xAD, 0x2D}, {0xB2, 0xB2, 0x32}, {0xB3, 0xB3, 0x33},
    {0xB4, 0xB4, 0x27}, {0xB5, 0xB5, 0x75}, {0xB9, 0xB9, 0x31}, {0xBB, 0xBB, 0x3E},
    {0xBF, 0xBF, 0x60}, {0xC0, 0xC3, 0x41}, {0xC4, 0xC4, 0x5B}, {0xC5, 0xC5, 0x0E},
    {0xC6, 0xC6, 0x1C}, {0xC7, 0xC7, 0x09}, {0xC8, 0xCB, 0x1F}, {0xCC, 0xCF, 0x49},
    {0xD0, 0xD0, 0x44}, {0xD1, 0xD1, 0x5D}, {0xD2, 0xD5, 0x4F}, {0xD6, 0xD6, 0x5C},
    {0xD7, 0xD7, 0x2A}, {0xD8, 0xD8, 0x0B}, {0xD9, 0xDB, 0x55}, {0xDC, 0xDC, 0x5E},
    {0xDD, 0xDD, 0x59}, {0xDF, 0xDF, 0x1E}, {0xE0, 0xE0, 0x7F}, {0xE1, 0xE3, 0x61},
    {0xE4, 0xE4, 0x7B}, {0xE5, 0xE5, 0x0F}, {0xE6, 0xE6, 0x1D}, {0xE7, 0xE7, 0x09},
    {0xE8, 0xE8, 0x04}, {0xE9, 0xE9, 0x05}, {0xEA, 0xEB, 0x65}, {0xEC, 0xED, 0x07},
    {0xEE, 0xEF, 0x69}, {0xF1, 0xF1, 0x7D}, {0xF2, 0xF2, 0x08}, {0xF3, 0xF5, 0x6F},
    {0xF6, 0xF6, 0x18}, {0xF7, 0xF7, 0x2F}, {0xF8, 0xF8, 0x0C}, {0xF9, 0xF9, 0x06},
    {0xFA, 0xFB, 0x75}, {0xFC, 0xFC, 0x7E}, {0xFD, 0xFD, 0x79}, {0xFF, 0xFF, 0x79},
};

constexpr uint8_t ascii8to7_at(int c) {
  if (int to = find_override(kAsciiOverrides, c); to >= 0) return static_cast<uint8_t>(to);
  if (c < 32) return '?';
  if (c < 127) return static_cast<uint8_t>(c);
  for (const Fold &fold : kFolds)
    if (c >= fold.first && c <= fold.last) return fold.septet;
  return '?';
}

}  // namespace
}  // namespace vorn::sms

// One initializer per index: the exported tables stay plain C arrays.
#define SMS_ROW8(f, n) f(n), f(n + 1), f(n + 2), f(n + 3), f(n + 4), f(n + 5), f(n + 6), f(n + 7)
#define SMS_ROW32(f, n) SMS_ROW8(f, n), SMS_ROW8(f, n + 8), SMS_ROW8(f, n + 16), SMS_ROW8(f, n + 24)
#define SMS_TABLE128(f) SMS_ROW32(f, 0), SMS_ROW32(f, 32), SMS_ROW32(f, 64), SMS_ROW32(f, 96)
#define SMS_TABLE256(f) \
  SMS_TABLE128(f), SMS_ROW32(f, 128), SMS_ROW32(f, 160), SMS_ROW32(f, 192), SMS_ROW32(f, 224)

using namespace vorn::sms;

extern "C" {

const uint8_t Ascii7to8[128] = {SMS_TABLE128(ascii7to8)};
const uint8_t gsm7_to_ira[128] = {SMS_TABLE128(gsm7_to_ira_at)};
const uint8_t gsm7_to_ira_ext[128] = {SMS_TABLE128(gsm7_to_ira_ext_at)};
const uint8_t ira_to_gsm7[256] = {SMS_TABLE256(ira_to_gsm7_at)};
const uint8_t ira_to_gsm7_ext[256] = {SMS_TABLE256(ira_to_gsm7_ext_at)};
const uint8_t show_gsm7_to_ira[256] = {SMS_TABLE256(show_gsm7_to_ira_at)};
const uint8_t show_gsm7_to_ira_ext[256] = {SMS_TABLE256(show_gsm7_to_ira_ext_at)};
const uint8_t Ascii8to7[256] = {SMS_TABLE256(ascii8to7_at)};

}  // extern "C"
