/* WDS service: service object and the message structures libvornpal uses. */
#ifndef VORNPAL_PLATFORM_WIRELESS_DATA_SERVICE_V01_H
#define VORNPAL_PLATFORM_WIRELESS_DATA_SERVICE_V01_H

#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define WDS_SERVICE_ID_V01 0x01

qmi_idl_service_object_type wds_get_service_object_internal_v01(int32_t idl_maj_version,
    int32_t idl_min_version, int32_t library_version);

#ifdef __cplusplus
}
#endif

#endif
