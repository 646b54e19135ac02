/* VORN_M2M service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_VORN_M2M_SERVICE_V01_H
#define VORNPAL_PLATFORM_VORN_M2M_SERVICE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VORN_M2M_SERVICE_ID_V01 0xE6

qmi_idl_service_object_type vorn_m2m_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

#ifdef __cplusplus
}
#endif

#endif
