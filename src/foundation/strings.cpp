// Bounded string copies and string helpers.
#include <strings.h>
#include <vornpal/strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/abort_at.h"
#include "foundation/log_site.h"

namespace {

constexpr size_t kReplaceBuffer = 1024;

// Value of a hexadecimal digit, -1 for any other character.
int hex_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool all_hex(const char *text, size_t length) {
  return std::all_of(text, text + length, [](char c) { return hex_value(c) >= 0; });
}

int compare_prefix(const char *a, const char *b, size_t length, bool ignore_case) {
  return ignore_case ? strncasecmp(a, b, length) : std::strncmp(a, b, length);
}

bool is_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

}  // namespace

extern "C" {

VORNPAL_API void vorn_string_memcpy(char *dest, const char *src, size_t size) {
  if (dest == nullptr || src == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid string parameter.\n");
    return;
  }
  std::memset(dest, 0, size);
  std::memcpy(dest, src, strnlen(src, size));
}

// ---- copies and edits ----------------------------------------------------------

VORNPAL_API size_t vorn_strlcpy(char *dest, const char *src, size_t size) {
  if (dest == nullptr || src == nullptr) return 0;
  size_t length = std::strlen(src);
  if (size > 0) {
    size_t copied = std::min(length, size - 1);
    std::memcpy(dest, src, copied);
    dest[copied] = '\0';
  }
  return length;
}

VORNPAL_API size_t vorn_strlcat(char *dest, const char *src, size_t size) {
  if (dest == nullptr || src == nullptr) return 0;
  size_t used = strnlen(dest, size);
  if (used == size) return size + std::strlen(src);
  return used + vorn_strlcpy(dest + used, src, size - used);
}

VORNPAL_API int replace_str(char *text, const char *old_text, const char *new_text) {
  if (text == nullptr || old_text == nullptr || new_text == nullptr) return -1;
  const char *found = std::strstr(text, old_text);
  if (found == nullptr) return -1;
  char result[kReplaceBuffer] = {};
  std::snprintf(result, sizeof result, "%.*s%s%s", static_cast<int>(found - text), text, new_text,
                found + std::strlen(old_text));
  vorn_string_memcpy(text, result, std::strlen(result));
  return 0;
}

VORNPAL_API char *strsep(char **stringp, const char *delim) __THROW {
  if (*stringp == nullptr) return nullptr;
  char *token = *stringp;
  char *end = token + std::strcspn(token, delim);
  if (*end == '\0') {
    *stringp = nullptr;
  } else {
    *end = '\0';
    *stringp = end + 1;
  }
  return token;
}

VORNPAL_API int split_string_to_array(char *text, const char *delimiters, char **array,
                                      int skip_empty) {
  if (text == nullptr || array == nullptr || delimiters == nullptr) return -1;
  int count = 0;
  for (char *rest = text; rest != nullptr;) {
    char *token = strsep(&rest, delimiters);
    if ((skip_empty & 1) != 0 && *token == '\0') continue;
    array[count++] = token;
  }
  return count;
}

VORNPAL_API int vorn_strip_quotes_out(const char *in_str, char *out_str, size_t size) {
  if (in_str == nullptr || out_str == nullptr) return 0;
  if (in_str[0] != '"') {
    VORN_LOG(VORN_ERR, "The in_str must be quoted\n");
    return 0;
  }
  const char *inner = in_str + 1;
  size_t length = std::strcspn(inner, "\"");
  if (inner[length] != '"' || length + 1 > size) {
    VORN_LOG(VORN_ERR, "The in_str has opened quotes, or out_str is small: %d\n",
             static_cast<int>(size));
    return 0;
  }
  if (inner[length + 1] != '\0') {
    VORN_LOG(VORN_ERR, "String is not terminated after end quote found\n");
    return 0;
  }
  std::memcpy(out_str, inner, length);
  out_str[length] = '\0';
  return 1;
}

VORNPAL_API char *vorn_trim_string(char *text) {
  if (text == nullptr) return nullptr;
  size_t length = std::strlen(text);
  size_t start = 0;
  while (start < length && is_space(text[start])) ++start;
  size_t end = length;
  while (end > start && is_space(text[end - 1])) --end;
  std::memmove(text, text + start, end - start);
  text[end - start] = '\0';
  return text;
}

VORNPAL_API int starts_with(const char *text, const char *prefix, int ignore_case) {
  if (text == nullptr || prefix == nullptr) return 0;
  size_t length = std::strlen(prefix);
  if (length > std::strlen(text)) return 0;
  return compare_prefix(text, prefix, length, ignore_case != 0) == 0 ? 1 : 0;
}

VORNPAL_API int ends_with(const char *text, const char *suffix, int ignore_case) {
  if (text == nullptr || suffix == nullptr) return 0;
  size_t text_length = std::strlen(text);
  size_t length = std::strlen(suffix);
  if (length > text_length) return 0;
  return compare_prefix(text + text_length - length, suffix, length, ignore_case != 0) == 0 ? 1 : 0;
}

VORNPAL_API int tolowercase(int c) { return (c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c; }

VORNPAL_API char *vorn_string_toupper(char *text) {
  if (text == nullptr) return nullptr;
  for (char *at = text; *at != '\0'; ++at) {
    *at = static_cast<char>(std::toupper(static_cast<unsigned char>(*at)));
  }
  return text;
}

// ---- hexadecimal -----------------------------------------------------------------

VORNPAL_API char DecToHex(int digit) {
  if (digit >= 0 && digit <= 9) return static_cast<char>('0' + digit);
  if (digit >= 10 && digit <= 15) return static_cast<char>('A' + digit - 10);
  return 0;
}

VORNPAL_API int hex_BinaryToString(const uint8_t *bytes, unsigned int count, char *text,
                                   unsigned int size) {
  if (bytes == nullptr || text == nullptr) return -1;
  if (static_cast<uint64_t>(count) * 2 + 1 > size) return -1;
  for (unsigned int i = 0; i < count; ++i) {
    text[2 * i] = DecToHex(bytes[i] >> 4);
    text[2 * i + 1] = DecToHex(bytes[i] & 0x0F);
  }
  text[2 * count] = '\0';
  return static_cast<int>(2 * count);
}

VORNPAL_API int vorn_hex_BinaryToString(const uint8_t *bytes, unsigned int count, char *text,
                                        unsigned int size) {
  if (bytes != nullptr && text != nullptr && static_cast<uint64_t>(count) * 2 + 1 > size) {
    VORN_LOG(VORN_ERR, "Hex string array (%u) is too small to convert (%u) bytes\n", size, count);
  }
  return hex_BinaryToString(bytes, count, text, size);
}

VORNPAL_API int vorn_hex_StringToBinary(const char *text, unsigned int length, uint8_t *bytes,
                                        unsigned int size) {
  if (text == nullptr || bytes == nullptr) return -1;
  if (length % 2 != 0) {
    VORN_LOG(VORN_DBUG, "The input stringLength=%u is not a multiple of 2\n", length);
    return -1;
  }
  if (length / 2 > size) {
    VORN_LOG(VORN_DBUG,
             "The stringLength (%u) is too long to convert into a byte array of length (%u)\n",
             length, size);
    return -1;
  }
  if (!all_hex(text, length)) {
    VORN_LOG(VORN_DBUG, "Invalid string to convert (%s)\n", text);
    return -1;
  }
  for (unsigned int i = 0; i < length / 2; ++i) {
    bytes[i] = static_cast<uint8_t>(hex_value(text[2 * i]) << 4 | hex_value(text[2 * i + 1]));
  }
  return static_cast<int>(length / 2);
}

VORNPAL_API int vorn_change_hexstr_to_str(const char *text, uint8_t *bytes) {
  if (text == nullptr || bytes == nullptr) return -1;
  size_t length = std::strlen(text);
  if (length % 2 != 0 || !all_hex(text, length)) return -1;
  for (size_t i = 0; i < length; ++i) {
    bytes[i / 2] |= static_cast<uint8_t>(hex_value(text[i]) << (i % 2 == 0 ? 4 : 0));
  }
  return 0;
}

VORNPAL_API int vorn_hex_HexaToInteger(const char *text) {
  if (text == nullptr) return -1;
  int value = 0;
  for (const char *at = text; *at != '\0'; ++at) {
    int digit = hex_value(*at);
    if (digit < 0) return -1;
    value = value * 16 + digit;
    if (value > 0x7FFFFFF && at[1] != '\0') return -1;
  }
  return value;
}

VORNPAL_API int htoi(const char *text) {
  if (text == nullptr) return 0;
  if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 2;
  unsigned int value = 0;
  for (; *text != '\0'; ++text) {
    char c = static_cast<char>(tolowercase(static_cast<unsigned char>(*text)));
    unsigned int digit = 0;
    if (c >= '0' && c <= '9') {
      digit = static_cast<unsigned int>(c - '0');
    } else if (c >= 'a' && c <= 'z') {
      digit = static_cast<unsigned int>(c - 'a' + 10);
    } else {
      break;
    }
    value = value * 16 + digit;
  }
  return static_cast<int>(value);
}

// ---- UTF-8 ---------------------------------------------------------------------------

VORNPAL_API int vorn_utf8_NumBytesInChar(uint8_t lead) {
  if (lead < 0x80) return 1;
  if ((lead & 0xE0) == 0xC0) return 2;
  if ((lead & 0xF0) == 0xE0) return 3;
  if ((lead & 0xF8) == 0xF0) return 4;
  return 0;
}

VORNPAL_API int vorn_utf8_Copy(char *dest, const char *src, size_t dest_size, size_t *count) {
  if (dest == nullptr) vorn::abort_at();
  if (src == nullptr) vorn::abort_at();
  if (dest_size == 0) vorn::abort_at();
  size_t copied = 0;
  int result = 0;
  while (src[copied] != '\0') {
    int width = vorn_utf8_NumBytesInChar(static_cast<uint8_t>(src[copied]));
    if (width == 0) {
      dest[0] = '\0';
      if (count != nullptr) *count = 0;
      return 0;
    }
    // A character cut by the terminator ends the text.
    if (strnlen(src + copied, static_cast<size_t>(width)) < static_cast<size_t>(width)) break;
    if (copied + static_cast<size_t>(width) >= dest_size) {
      result = -1;
      break;
    }
    std::memcpy(dest + copied, src + copied, static_cast<size_t>(width));
    copied += static_cast<size_t>(width);
  }
  dest[copied] = '\0';
  if (count != nullptr) *count = copied;
  return result;
}

}  // extern "C"
