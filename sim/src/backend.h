// Where the platform's QMI functions find the modem: in this process (the
// engine, as unit tests use it), or in vornsimd when VORNSIM_SOCKET names
// its socket, so that several processes share one modem at the same time.
// platform.cpp checks the arguments and hands each call to backend().
#pragma once

#include <cstddef>
#include <cstdint>

#include <vornpal/platform/qmi_client.h>
#include <vornsim/sim.h>

namespace vornsim {

class Backend {
 public:
  virtual ~Backend() = default;
  virtual void xport_register(int xport_id) = 0;
  // Records the accessor call; false when a test made the object missing.
  virtual bool service_object(Svc svc, int32_t major, int32_t minor, int32_t tool) = 0;
  virtual bool service_up(Svc svc) = 0;
  virtual qmi_client_error_type notifier_init(Svc svc, qmi_client_os_params *os,
                                              qmi_client_type *handle) = 0;
  virtual void signal_wait(qmi_client_os_params *os, unsigned timeout_ms) = 0;
  // qmi_client_init (wait false: the service must be up now) and
  // qmi_client_init_instance (waits up to timeout_ms for it).
  virtual qmi_client_error_type init(Svc svc, bool wait, unsigned timeout_ms, qmi_client_ind_cb cb,
                                     void *cb_data, qmi_client_os_params *os,
                                     qmi_client_type *handle) = 0;
  virtual qmi_client_error_type release(qmi_client_type handle) = 0;
  virtual qmi_client_error_type send_sync(qmi_client_type handle, unsigned msg_id, const void *req,
                                          unsigned req_len, void *resp, unsigned resp_len,
                                          unsigned timeout_ms) = 0;
  virtual qmi_client_error_type send_async(qmi_client_type handle, unsigned msg_id, const void *req,
                                           unsigned req_len, void *resp, unsigned resp_len,
                                           qmi_client_recv_msg_async_cb cb, void *cb_data,
                                           qmi_txn_handle *txn) = 0;
  // The result of decoding a message of `len` bytes (the bytes are then
  // copied by the caller).
  virtual qmi_client_error_type decode_check(qmi_client_type handle, int kind, unsigned msg_id,
                                             unsigned len) = 0;
};

Backend &backend();
Backend &local_backend();
// Null unless VORNSIM_SOCKET is set (and this process is not the daemon).
Backend *remote_backend();

// What decoding a message of `len` bytes gives in the engine: a decode
// fault a test set, or a missing mandatory part of an indication.
qmi_client_error_type decode_verdict(Svc svc, int kind, unsigned msg_id, size_t len);

}  // namespace vornsim
