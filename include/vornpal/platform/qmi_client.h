/*
 * The platform's QMI client library, as libvornpal imports it. On the target
 * the platform's libqmi_cci provides these symbols; on a development host the
 * simulated modem does.
 */
#ifndef VORNPAL_PLATFORM_QMI_CLIENT_H
#define VORNPAL_PLATFORM_QMI_CLIENT_H

#include <stdint.h>
#include <vornpal/platform/qmi_idl_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qmi_client_struct *qmi_client_type;
typedef int qmi_client_error_type;
typedef void *qmi_txn_handle;

/* Transport and library codes returned by the operations below. */
#define QMI_NO_ERR 0
#define QMI_INTERNAL_ERR (-1)
#define QMI_SERVICE_ERR (-2)
#define QMI_TIMEOUT_ERR (-3)
#define QMI_EXTENDED_ERR (-4)
#define QMI_PORT_NOT_OPEN_ERR (-5)
#define QMI_MEMCOPY_ERROR (-13)
#define QMI_INVALID_TXN (-14)
#define QMI_CLIENT_ALLOC_FAILURE (-15)
#define QMI_CLIENT_TRANSPORT_ERR (-16)
#define QMI_CLIENT_PARAM_ERR (-17)
#define QMI_CLIENT_INVALID_CLNT (-18)
#define QMI_CLIENT_FW_NOT_UP (-19)
#define QMI_CLIENT_INVALID_SIG (-20)
#define QMI_XPORT_BUSY_ERR (-21)

/* Message kinds for qmi_client_message_decode. */
#define QMI_IDL_REQUEST 0
#define QMI_IDL_RESPONSE 1
#define QMI_IDL_INDICATION 2

/* Instance id meaning "any instance". */
#define QMI_CLIENT_INSTANCE_ANY 0xffff

/* Transports for qmi_cci_qmux_xport_register. */
#define QMI_CLIENT_QMUX_RMNET_INSTANCE_0 129
#define QMI_CLIENT_QMUX_RMNET_USB_INSTANCE_0 130
#define QMI_CLIENT_QMUX_RMNET_SMUX_INSTANCE_0 131

/*
 * Signal of a notifier. The first word is the "signal set" flag, which a
 * caller clears before each poll of the service list.
 */
typedef struct {
  uint32_t sig_set;
  uint32_t timed_out;
  uint32_t reserved[2];
} qmi_client_os_params;

#define QMI_CCI_OS_SIGNAL_CLEAR(os) __atomic_store_n(&(os)->sig_set, 0u, __ATOMIC_SEQ_CST)

/* Opaque description of one service instance, from the service list. */
typedef struct {
  uint32_t info[4];
} qmi_service_info;

typedef void (*qmi_client_ind_cb)(qmi_client_type user_handle, unsigned int msg_id,
                                  void *ind_buf, unsigned int ind_buf_len,
                                  void *ind_cb_data);

typedef void (*qmi_client_recv_msg_async_cb)(qmi_client_type user_handle,
                                             unsigned int msg_id, void *resp_c_struct,
                                             unsigned int resp_c_struct_len,
                                             void *resp_cb_data,
                                             qmi_client_error_type transp_err);

void qmi_cci_qmux_xport_register(int xport_id);

qmi_client_error_type qmi_client_notifier_init(qmi_idl_service_object_type service_obj,
                                               qmi_client_os_params *os_params,
                                               qmi_client_type *user_handle);

qmi_client_error_type qmi_client_get_service_list(qmi_idl_service_object_type service_obj,
                                                  qmi_service_info *service_info_array,
                                                  unsigned int *num_entries,
                                                  unsigned int *num_services);

/* Waits for the signal of os_params; a time-out of 0 waits without limit. */
void qmi_cci_os_signal_wait(qmi_client_os_params *os_params, unsigned int timeout_ms);

qmi_client_error_type qmi_client_init(qmi_service_info *service_info,
                                      qmi_idl_service_object_type service_obj,
                                      qmi_client_ind_cb ind_cb, void *ind_cb_data,
                                      qmi_client_os_params *os_params,
                                      qmi_client_type *user_handle);

qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type service_obj,
                                               unsigned int instance_id,
                                               qmi_client_ind_cb ind_cb, void *ind_cb_data,
                                               qmi_client_os_params *os_params,
                                               unsigned int timeout_ms,
                                               qmi_client_type *user_handle);

qmi_client_error_type qmi_client_release(qmi_client_type user_handle);

qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type user_handle,
                                               unsigned int msg_id, void *req_c_struct,
                                               unsigned int req_c_struct_len,
                                               void *resp_c_struct,
                                               unsigned int resp_c_struct_len,
                                               unsigned int timeout_msecs);

qmi_client_error_type qmi_client_send_msg_async(qmi_client_type user_handle,
                                                unsigned int msg_id, void *req_c_struct,
                                                unsigned int req_c_struct_len,
                                                void *resp_c_struct,
                                                unsigned int resp_c_struct_len,
                                                qmi_client_recv_msg_async_cb resp_cb,
                                                void *resp_cb_data,
                                                qmi_txn_handle *txn_handle);

qmi_client_error_type qmi_client_message_decode(qmi_client_type user_handle,
                                                int req_resp_ind, unsigned int message_id,
                                                const void *msg_buf, unsigned int msg_buf_len,
                                                void *c_struct, unsigned int c_struct_len);

int qmi_linux_get_conn_id_by_name_ex(const char *dev_id, int *ep_type, int *epid,
                                     int *mux_id);

#ifdef __cplusplus
}
#endif

#endif
