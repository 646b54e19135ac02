// UTF-8 and UTF-16 at the edges of the SMS codec: the codec keeps text as
// UCS-2 (big-endian octets, or four hex digits a unit), the people and
// scripts around it write UTF-8. Header-only, so that the tools of this tree
// convert as the library reads UTF-8 (vorn_utf8_NumBytesInChar).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <vornpal/strings.h>

namespace vorn::sms {

// The code points of a UTF-8 text; a byte that starts no character counts
// as a character of its own.
inline std::vector<uint32_t> code_points(const std::string &utf8) {
  std::vector<uint32_t> out;
  for (size_t i = 0; i < utf8.size();) {
    auto lead = static_cast<uint8_t>(utf8[i]);
    int width = vorn_utf8_NumBytesInChar(lead);
    if (width <= 1) {
      out.push_back(lead);
      ++i;
      continue;
    }
    uint32_t c = lead & (0x7F >> width);
    for (int k = 1; k < width && i + k < utf8.size(); ++k)
      c = c << 6 | (static_cast<uint8_t>(utf8[i + k]) & 0x3F);
    out.push_back(c);
    i += static_cast<size_t>(width);
  }
  return out;
}

inline void append_utf8(std::string &out, uint32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | c >> 6);
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | c >> 12);
    out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | c >> 18);
    out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
    out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// The UTF-16 units of a code point: one, or a surrogate pair.
inline std::vector<uint16_t> utf16_units(uint32_t c) {
  if (c < 0x10000) return {static_cast<uint16_t>(c)};
  c -= 0x10000;
  return {static_cast<uint16_t>(0xD800 + (c >> 10)), static_cast<uint16_t>(0xDC00 + (c & 0x3FF))};
}

// Big-endian UTF-16 octets as UTF-8; an odd last octet is dropped.
inline std::string utf16be_to_utf8(const uint8_t *octets, size_t length) {
  std::string out;
  for (size_t i = 0; i + 1 < length; i += 2) {
    uint32_t c = static_cast<uint32_t>(octets[i] << 8 | octets[i + 1]);
    if (c >= 0xD800 && c < 0xDC00 && i + 3 < length) {
      c = 0x10000 + ((c - 0xD800) << 10) + ((octets[i + 2] << 8 | octets[i + 3]) - 0xDC00u);
      i += 2;
    }
    append_utf8(out, c);
  }
  return out;
}

}  // namespace vorn::sms
