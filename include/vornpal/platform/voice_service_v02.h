/* VOICE service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_VOICE_SERVICE_V02_H
#define VORNPAL_PLATFORM_VOICE_SERVICE_V02_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VOICE_SERVICE_ID_V02 0x09

qmi_idl_service_object_type voice_get_service_object_internal_v02(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

#ifdef __cplusplus
}
#endif

#endif
