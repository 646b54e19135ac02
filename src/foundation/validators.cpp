// IP address texts and validators.
#include <arpa/inet.h>
#include <regex.h>
#include <vornpal/strings.h>
#include <vornpal/validators.h>

#include <cstdio>
#include <cstring>

#include "foundation/log_site.h"

namespace {

constexpr int kIPv4TextSize = 16;
constexpr int kIPv6TextSize = 46;
constexpr const char kMacPattern[] = "^([0-9a-fA-F]{2})(([\\s:][0-9a-fA-F]{2}){5})$";

bool text_room(int size, int needed) {
  if (size >= needed) return true;
  VORN_LOG(VORN_ERR, "ipStr size is %d; must be at least %i\n", size, needed);
  return false;
}

bool parses_as(int family, const char *text) {
  if (text == nullptr || text[0] == '\0') return false;
  unsigned char address[16];
  return inet_pton(family, text, address) == 1;
}

}  // namespace

extern "C" {

VORNPAL_API int ConvertIPv4ArrayToStr(const uint8_t *bytes, char *text, int size) {
  if (bytes == nullptr) {
    VORN_LOG(VORN_ERR, "input ipNum is NULL now !!!\n");
    return -1;
  }
  if (text == nullptr || !text_room(size, kIPv4TextSize)) return -1;
  std::snprintf(text, static_cast<size_t>(size), "%u.%u.%u.%u", bytes[0], bytes[1], bytes[2],
                bytes[3]);
  return 0;
}

VORNPAL_API int ConvertIPv4NumToStr(uint32_t address, char *text, int size) {
  if (text == nullptr || !text_room(size, kIPv4TextSize)) return -1;
  in_addr network{htonl(address)};
  if (inet_ntop(AF_INET, &network, text, static_cast<socklen_t>(size)) == nullptr) {
    VORN_LOG(VORN_ERR, "Error converting %X to IP string\n", address);
    return -1;
  }
  return 0;
}

VORNPAL_API int ConvertIPv6NumToStr(const uint8_t *bytes, char *text, int size) {
  if (bytes == nullptr || text == nullptr || !text_room(size, kIPv6TextSize)) return -1;
  if (inet_ntop(AF_INET6, bytes, text, static_cast<socklen_t>(size)) == nullptr) {
    hex_BinaryToString(bytes, 16, text, static_cast<unsigned int>(size));
    VORN_LOG(VORN_ERR, "Error converting %s to IP string\n", text);
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_check_v4_ip(const char *text) { return parses_as(AF_INET, text) ? 1 : 0; }

VORNPAL_API int is_valid_ip(const char *text) { return parses_as(AF_INET, text) ? 1 : 0; }

VORNPAL_API int is_valid_ipv6(const char *text) { return parses_as(AF_INET6, text) ? 1 : 0; }

VORNPAL_API int Is_valid_SubnetMask(const char *text) {
  in_addr address{};
  if (text == nullptr || inet_pton(AF_INET, text, &address) != 1) return 0;
  uint32_t mask = ntohl(address.s_addr);
  // The complement of a mask with its ones at the top is 2^k - 1, which
  // shares no bit with the complement plus one (the negation).
  return ((0u - mask) & ~mask) == 0 ? 1 : 0;
}

VORNPAL_API int ereg(const char *pattern, const char *text) {
  if (pattern == nullptr || text == nullptr) return 1;
  regex_t compiled;
  if (regcomp(&compiled, pattern, REG_EXTENDED | REG_NOSUB) != 0) return 1;
  int matched = regexec(&compiled, text, 0, nullptr, 0);
  regfree(&compiled);
  return matched == 0 ? 0 : 1;
}

VORNPAL_API int Is_valid_Mac(const char *text) {
  if (ereg(kMacPattern, text) == 0) {
    VORN_LOG(VORN_DBUG, "Yes Match!!! \n");
    return 1;
  }
  VORN_LOG(VORN_ERR, "No Match!!! \n");
  return 0;
}

}  // extern "C"
