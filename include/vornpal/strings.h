/* Bounded string copies and string helpers. */
#ifndef VORNPAL_STRINGS_H
#define VORNPAL_STRINGS_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/*
 * Clears size bytes of dest and copies at most size bytes of src, up to its
 * terminator: a text of size bytes or more is left without one.
 */
VORNPAL_API void vorn_string_memcpy(char *dest, const char *src, size_t size);

VORNPAL_END_DECLS

#endif
