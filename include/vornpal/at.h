/*
 * The AT server of the same machine, over its loopback socket (UDP,
 * 127.0.0.1 port 5555), and a helper for the parameters of AT commands.
 */
#ifndef VORNPAL_AT_H
#define VORNPAL_AT_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* Size of the reply of vorn_util_send_at, terminator included. */
#define VORN_AT_REPLY_SIZE 2048

/*
 * Sends one AT command to the AT server and waits for its final result.
 * The command goes out in upper case, a trailing "\r\n", "\n" or "\r"
 * replaced by one "\r". The server's echo of the command is removed.
 *
 * The reply is everything the server sent up to and including the final
 * result ("OK", "ERROR", "+CME ERROR:", "NO CARRIER", or the numeric codes
 * "0", "3" and "4") at the start of a line; at most 2047 bytes are kept.
 * Each datagram of the answer takes one wait of up to 20 s, and the call
 * gives up after three, so a command blocks for at most 60 s. Every
 * failure (no socket, nothing sent, no final result) gives
 * "\r\nERROR\r\n".
 *
 * Returns a heap block of VORN_AT_REPLY_SIZE bytes, which the caller frees
 * with free(). A null command gives the failure reply.
 */
VORNPAL_API char *vorn_util_send_at(const char *command);

/*
 * Strips members of characters from both ends of text: the trailing ones
 * are overwritten with zeros in place, and the result points at the first
 * character kept (inside text). Null text gives null; null characters
 * strips nothing.
 */
VORNPAL_API char *vorn_at_param_strip(char *text, const char *characters);

VORNPAL_END_DECLS

#endif
