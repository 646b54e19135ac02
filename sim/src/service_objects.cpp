// The generated accessors of the nine service objects.
#include <vornpal/platform/device_management_service_v01.h>
#include <vornpal/platform/ip_multimedia_subsystem_application_v01.h>
#include <vornpal/platform/ip_multimedia_subsystem_settings_v01.h>
#include <vornpal/platform/network_access_service_v01.h>
#include <vornpal/platform/user_identity_module_v01.h>
#include <vornpal/platform/voice_service_v02.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornpal/platform/wireless_messaging_service_v01.h>

#include "sim_internal.h"

#define VORNSIM_ACCESSOR(fn, svc)                                                         \
  extern "C" __attribute__((visibility("default"))) qmi_idl_service_object_type fn(       \
      int32_t idl_maj_version, int32_t idl_min_version, int32_t library_version) {       \
    return vornsim::service_object(vornsim::Svc::svc, idl_maj_version, idl_min_version,   \
                                   library_version);                                      \
  }

VORNSIM_ACCESSOR(wds_get_service_object_internal_v01, WDS)
VORNSIM_ACCESSOR(nas_get_service_object_internal_v01, NAS)
VORNSIM_ACCESSOR(wms_get_service_object_internal_v01, WMS)
VORNSIM_ACCESSOR(uim_get_service_object_internal_v01, UIM)
VORNSIM_ACCESSOR(dms_get_service_object_internal_v01, DMS)
VORNSIM_ACCESSOR(voice_get_service_object_internal_v02, VOICE)
VORNSIM_ACCESSOR(imss_get_service_object_internal_v01, IMSS)
VORNSIM_ACCESSOR(imsa_get_service_object_internal_v01, IMSA)
VORNSIM_ACCESSOR(vorn_m2m_get_service_object_internal_v01, M2M)
