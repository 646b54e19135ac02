/* Types shared by every QMI service: the response pair of a synchronous reply. */
#ifndef VORNPAL_PLATFORM_COMMON_V01_H
#define VORNPAL_PLATFORM_COMMON_V01_H

#include <stdint.h>

typedef enum {
  QMI_RESULT_SUCCESS_V01 = 0,
  QMI_RESULT_FAILURE_V01 = 1,
  QMI_RESULT_TYPE_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} qmi_result_type_v01;

typedef enum {
  QMI_ERR_NONE_V01 = 0x0000,
  QMI_ERR_MALFORMED_MSG_V01 = 0x0001,
  QMI_ERR_NO_MEMORY_V01 = 0x0002,
  QMI_ERR_INTERNAL_V01 = 0x0003,
  QMI_ERR_ABORTED_V01 = 0x0004,
  QMI_ERR_CLIENT_IDS_EXHAUSTED_V01 = 0x0005,
  QMI_ERR_INVALID_ARG_V01 = 0x0011,
  QMI_ERR_NO_EFFECT_V01 = 0x001A,
  QMI_ERR_DEVICE_NOT_READY_V01 = 0x0034,
  QMI_ERR_NOT_SUPPORTED_V01 = 0x005E,
  QMI_ERR_TYPE_MAX_ENUM_VAL_V01 = 0x7FFFFFFF
} qmi_error_type_v01;

/* First member of every response structure. */
typedef struct {
  qmi_result_type_v01 result;
  qmi_error_type_v01 error;
} qmi_response_type_v01;

#endif
