/*
 * QMI client frame: how a family makes, uses and releases a QMI client, and
 * the one classification of the outcome of a synchronous request.
 */
#ifndef VORNPAL_QMI_H
#define VORNPAL_QMI_H

#include <vornpal/defs.h>
#include <vornpal/platform/qmi_client.h>

VORNPAL_BEGIN_DECLS

/* Instance id given wherever a family asks for "any instance". */
#define VORN_QMI_ANY_INSTANCE 65535
/* Capacity of a WDS service list. */
#define VORN_WDS_SERVICE_LIST_MAX 42

/* A client made by vorn_qmi_register / vorn_odm_qmi_register. */
typedef struct {
  qmi_idl_service_object_type service_object;
  qmi_client_ind_cb ind_cb;
  void *ind_cb_data;
  qmi_client_type handle;
  uint32_t registered;
} vorn_qmi_client;

/* One WDS client slot of the data family. */
typedef struct {
  qmi_client_type handle;
  qmi_client_type notifier;
  qmi_client_os_params os_params;
  int32_t refCount;
  uint32_t infoIndex;
  uint32_t profileIndex;
} wds_client_info;

/* The WDS service of one IP family, with its service list. */
typedef struct {
  qmi_idl_service_object_type service_object;
  qmi_service_info service_list[VORN_WDS_SERVICE_LIST_MAX];
  uint32_t infoIndex;
  uint32_t num_services;
  uint32_t usedInfoIndex;
} wds_service_info;

/*
 * Classifies a synchronous request: 0 when rc and result are both 0,
 * otherwise logs the failure at level 4 and returns VORN_QMI_FAILURE (-6).
 */
VORNPAL_API int vornQmi_CheckResponseCode(const char *name, int rc, int result, int error);

/*
 * Waits for the client's service (wait_limit tries of 1 s; 0 waits without
 * limit) and connects. 0, the first failing code of the QMI library, -1 or
 * VORN_QMI_FAILURE.
 */
VORNPAL_API int vorn_qmi_register(vorn_qmi_client *client, unsigned int wait_limit);
/* Releases the client's handle; always 0. */
VORNPAL_API int vorn_qmi_unregister(vorn_qmi_client *client);
/* As vorn_qmi_register, always without a limit, with the device family's texts. */
VORNPAL_API int vorn_odm_qmi_register(vorn_qmi_client *client);

/*
 * Makes a WDS client in client_slot, making the family's service list first
 * when service has none. 0, or -1 before the first connection try; after ten
 * failed tries it returns 0 with client_slot->handle left 0.
 */
VORNPAL_API int vornQmi_InitQmiService(wds_client_info *client_slot,
                                       wds_service_info *service);
VORNPAL_API void vornQmi_ReleaseService(qmi_client_type handle);

/* Logs len bytes as hexadecimal, eight to a line, at level 0. */
VORNPAL_API void vorn_debug_print_buf(const uint8_t *buf, int len);

VORNPAL_END_DECLS

#endif
