/* The framework's data cache: values that the framework's daemons publish
 * for each other, read by key. The platform provides it. */
#ifndef VORNPAL_PLATFORM_DM_CACHE_H
#define VORNPAL_PLATFORM_DM_CACHE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The active SIM slot (a 32-bit word): 0 SIM1, 1 SIM2. */
#define VORN_DM_CACHE_ACTIVE_SIM_SLOT 0x70002

/* Copies at most `length` bytes of the value of `key` into `buffer`: 0, or
 * non-zero when the key holds no value. */
int vorn_dm_cache_read(uint32_t key, void *buffer, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
