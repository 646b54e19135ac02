/*
 * IPv6 look-ups of a network device over a NETLINK_ROUTE socket: the gateway
 * from a dump of the routing table, and the first global address from the
 * kernel's address messages. Each call opens and closes its own sockets, so
 * calls may run on several threads at once.
 */
#ifndef VORNPAL_IPV6_H
#define VORNPAL_IPV6_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* Room for an IPv6 address as text (INET6_ADDRSTRLEN), for both look-ups. */
#define VORN_IPV6_TEXT_SIZE 46

struct nlmsghdr;
struct rtattr;

/*
 * The IPv6 gateway of ifname: dumps the routing table and writes into out
 * (VORN_IPV6_TEXT_SIZE bytes) the gateway of each IPv6 route through ifname
 * that has one, so the last such route of the dump wins. 0 when the dump was
 * read, also when no route matched: out is then left as it was, so clear it
 * before the call. -1 for a null argument, an unknown interface, a socket
 * that failed or a dump the kernel refused; -12 with no memory for the
 * answer.
 */
VORNPAL_API int vorn_get_ipv6_default_gw(const char *ifname, char *out);

/*
 * Waits for the kernel to announce a global IPv6 address of ifname and
 * writes it into out (VORN_IPV6_TEXT_SIZE bytes) in full form, eight groups
 * of four hex digits ("2001:0db8:0000:...:0001"). Only addresses announced
 * during the call count: an address that the interface already has is
 * reported again when the kernel re-announces it (at the end of duplicate
 * address detection, for one). The wait ends at the first global address,
 * or 2 s after the last message with none; a link-local address announced
 * meanwhile is left in out. 0 when the wait ended, with or without an
 * address; -1 when it could not start (null argument, unknown interface,
 * socket failure).
 */
VORNPAL_API int vorn_check_global_ipv6_addr(const char *ifname, char *out);

/*
 * One route message of a dump: when it is an IPv6 route through ifname with
 * a gateway, writes the gateway into out (VORN_IPV6_TEXT_SIZE bytes) and
 * returns 0; otherwise -1. message must hold nlmsg_len bytes.
 */
VORNPAL_API int vorn_dump_route(const struct nlmsghdr *message, const char *ifname, char *out);

/*
 * Indexes the route attributes of block (length bytes) by type into table,
 * which has max + 1 entries and is cleared first; attributes of a type above
 * max are skipped, and of a repeated type the last one stays.
 */
VORNPAL_API void vorn_parse_rtattr(struct rtattr **table, int max, struct rtattr *block,
                                   int length);

VORNPAL_END_DECLS

#endif
