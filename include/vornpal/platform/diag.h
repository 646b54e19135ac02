/*
 * The platform's diagnostic channel (libdiag), as libvornpal imports it: one
 * constant record per log site and a variadic sink that takes the process id,
 * the function name and the formatted text.
 */
#ifndef VORNPAL_PLATFORM_DIAG_H
#define VORNPAL_PLATFORM_DIAG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Subsystem id of every libvornpal log site. */
#define VORN_DIAG_SSID 65

typedef struct {
  uint16_t line;
  uint16_t ss_id;
  uint32_t ss_mask;
} msg_desc_type;

typedef struct {
  msg_desc_type desc;
  const char *fmt;
  const char *fname;
} msg_const_type;

/* Nonzero when the diag library could be initialised. */
int Diag_LSM_Init(uint8_t *pIEnv);

/* Sends one line; the library passes (int pid, const char *func, const char *text). */
void msg_sprintf(const msg_const_type *const_blk, ...);

#ifdef __cplusplus
}
#endif

#endif
