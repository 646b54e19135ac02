#include "foundation/run.h"

#include <pthread.h>

#include <cstring>

#include <vornpal/process.h>

#include "foundation/log_site.h"

namespace vorn {

int run(const char *command) {
  return vorn_system_call(command, static_cast<unsigned>(std::strlen(command)));
}

bool start_worker(void *(*fn)(void *), void *arg, size_t stack) {
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0)
    VORN_LOG(VORN_ERR, "oem_vlan_rx_thread_init init thread attribute failed\n");
  if (stack != 0 && pthread_attr_setstacksize(&attr, stack) != 0)
    VORN_LOG(VORN_ERR, "oem_vlan_rx_thread_init set stack size failed\n");
  if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) != 0)
    VORN_LOG(VORN_ERR, "oem_vlan_rx_thread_init set setdetachstate failed\n");
  pthread_t thread;
  int rc = pthread_create(&thread, &attr, fn, arg);
  pthread_attr_destroy(&attr);
  return rc == 0;
}

}  // namespace vorn
