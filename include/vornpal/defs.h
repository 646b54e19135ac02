/* Common definitions of the libvornpal public headers. */
#ifndef VORNPAL_DEFS_H
#define VORNPAL_DEFS_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define VORNPAL_API __attribute__((visibility("default")))
#define VORNPAL_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define VORNPAL_API
#define VORNPAL_PRINTF(fmt, args)
#endif

#ifdef __cplusplus
#define VORNPAL_BEGIN_DECLS extern "C" {
#define VORNPAL_END_DECLS }
#else
#define VORNPAL_BEGIN_DECLS
#define VORNPAL_END_DECLS
#endif

/*
 * Result codes. Functions return plain int; a caller tests against
 * VORN_OK and relies on a finer meaning only where a function's comment
 * says so. Codes of one family only are named in that family's header.
 */
#define VORN_OK 0
/* A null pointer, an index out of range, no client, a failed request. */
#define VORN_FAILURE (-1)
/* The request failed at the QMI level: in the transport, or refused by the
 * modem. */
#define VORN_QMI_FAILURE (-6)
/* Not available now: no client handle, a store function not set, a wait
 * that timed out. */
#define VORN_UNAVAILABLE 2
#define VORN_INVALID_PARAM 3
/* A file could not be opened, read or written. */
#define VORN_FILE_OPEN_FAILED 4
#define VORN_FILE_READ_FAILED 6
#define VORN_FILE_WRITE_FAILED 7
/* Not supported on this platform: the fixed result of the functions kept
 * so that daemons link against one interface on every platform. */
#define VORN_NOT_SUPPORTED 302

#endif
