// A small daemon as the framework has them: it starts the Device family,
// asks the modem who it is, and stops. On a host the simulated modem of
// vornpal-sim answers, switched on as the device's boot would.
#include <stdio.h>
#include <vornpal/device.h>
#include <vornpal/log.h>
#include <vornsim/sim.h>

int main() {
  vornsim::reset();
  vorn_set_log_level(3);
  if (vorn_device_pal_init() != 0) {
    fprintf(stderr, "daemon: the Device family did not start\n");
    return 1;
  }
  char maker[65] = "", model[33] = "";
  int rc = vorn_device_pal_get_mfr(maker, sizeof maker) | vorn_device_pal_get_model(model, sizeof model);
  vorn_device_pal_deinit();
  if (rc != 0) {
    fprintf(stderr, "daemon: identity queries failed\n");
    return 1;
  }
  printf("daemon: %s %s\n", maker, model);
  return 0;
}
