/* IP address texts and validators of addresses, masks and MAC addresses. */
#ifndef VORNPAL_VALIDATORS_H
#define VORNPAL_VALIDATORS_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* Dotted text of 4 bytes; text needs at least 16 bytes. 0 or -1. */
VORNPAL_API int ConvertIPv4ArrayToStr(const uint8_t *bytes, char *text, int size);
/* Dotted text of an address in host order; text needs 16 bytes. 0 or -1. */
VORNPAL_API int ConvertIPv4NumToStr(uint32_t address, char *text, int size);
/* Text of 16 address bytes; text needs 46 bytes. 0 or -1. */
VORNPAL_API int ConvertIPv6NumToStr(const uint8_t *bytes, char *text, int size);

/* 1 for a valid IPv4 text, 0 otherwise (null and empty included). */
VORNPAL_API int vorn_check_v4_ip(const char *text);
VORNPAL_API int is_valid_ip(const char *text);
/* 1 for a valid IPv6 text, 0 otherwise. */
VORNPAL_API int is_valid_ipv6(const char *text);
/* 1 for an IPv4 mask whose ones are all at the top (0.0.0.0 and
 * 255.255.255.255 included), 0 otherwise. */
VORNPAL_API int Is_valid_SubnetMask(const char *text);

/* Extended regular expression match: 0 on a match, 1 on none (a pattern
 * that does not compile matches nothing). */
VORNPAL_API int ereg(const char *pattern, const char *text);
/* 1 when text matches ^([0-9a-fA-F]{2})(([\s:][0-9a-fA-F]{2}){5})$ (as an
 * extended expression, where the bracket holds '\', 's' and ':'), so
 * "00:11:22:33:44:55" is valid and "00-11-22-33-44-55" is not. */
VORNPAL_API int Is_valid_Mac(const char *text);

VORNPAL_END_DECLS

#endif
