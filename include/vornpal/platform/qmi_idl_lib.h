/* Service objects of the platform's generated QMI service libraries. */
#ifndef VORNPAL_PLATFORM_QMI_IDL_LIB_H
#define VORNPAL_PLATFORM_QMI_IDL_LIB_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qmi_idl_service_object *qmi_idl_service_object_type;

/* Codes of the IDL library that mean the modem runs another service version. */
#define QMI_IDL_LIB_UNRECOGNIZED_SERVICE_VERSION (-43)
#define QMI_IDL_LIB_INCOMPATIBLE_SERVICE_VERSION (-48)
#define QMI_IDL_LIB_MISSING_TLV (-50)

/* The library version every accessor is called with. */
#define QMI_IDL_LIB_VERSION 6

int32_t qmi_idl_get_service_id(const qmi_idl_service_object_type service_object,
                               uint32_t *service_id);

#ifdef __cplusplus
}
#endif

#endif
