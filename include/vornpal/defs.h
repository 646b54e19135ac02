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

#endif
