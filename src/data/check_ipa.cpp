// The check-IPA thread: when the accelerator has failed, something outside
// the library writes /tmp/ipa_fail, and the thread puts the default route of
// profile 1's call back on its interface.
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <mutex>

#include "data/state.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "foundation/run.h"

namespace vorn::data {
namespace {

constexpr char kIpaFailFile[] = "/tmp/ipa_fail";
constexpr uint64_t kCheckPeriodSeconds = 10;
constexpr size_t kCheckStack = 0x10000;
constexpr uint32_t kRouteProfile = 1;

void ipv4_text(uint32_t address, char *text, size_t size) {
  std::snprintf(text, size, "%u.%u.%u.%u", address >> 24 & 0xFF, address >> 16 & 0xFF,
                address >> 8 & 0xFF, address & 0xFF);
}

int run_logged(const char *command) {
  const int ret = vorn::run(command);
  VORN_LOG(VORN_CRIT, "command is %s,ret %d\n", command, ret);
  return ret;
}

// The file stays until the route could be set, so a failed repair is tried
// again on the next round.
void repair_default_route() {
  VORN_LOG(VORN_DBUG, "exit file /tmp/ipa_fail\n");
  profile_ctx *ctx = GetProfileCtx(kRouteProfile);
  char name[kInterfaceNameSize];
  uint32_t gateway;
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    std::snprintf(name, sizeof name, "%s", ctx->runtime.interfaceName);
    gateway = ctx->runtime.settings.ipv4_gateway;
  }
  char command[160];
  std::snprintf(command, sizeof command, "ip route del default dev %s", name);
  run_logged(command);
  char via[16];
  ipv4_text(gateway, via, sizeof via);
  std::snprintf(command, sizeof command, "ip route add default via %s dev %s", via, name);
  if (run_logged(command) == 0) run_logged("rm -rf /tmp/ipa_fail");
}

void *vorn_data_pal_check_ipa_thread(void *) {
  for (;;) {
    clk::sleep_s(kCheckPeriodSeconds);
    if (access(kIpaFailFile, F_OK) == 0) repair_default_route();
  }
  return nullptr;
}

}  // namespace

void vorn_data_pal_check_ipa_thread_create() {
  static std::atomic<bool> started{false};
  bool expected = false;
  if (!started.compare_exchange_strong(expected, true)) return;
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) {
    VORN_LOG(VORN_ERR, "init thread attribute failed\n");
    started.store(false);
    return;
  }
  if (pthread_attr_setstacksize(&attr, kCheckStack) != 0) VORN_LOG(VORN_ERR, "set stack size failed\n");
  if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) != 0)
    VORN_LOG(VORN_ERR, "set setdetachstate failed\n");
  pthread_t thread;
  if (pthread_create(&thread, &attr, vorn_data_pal_check_ipa_thread, nullptr) != 0) {
    VORN_LOG(VORN_ERR, "Create pthread error!\n");
    started.store(false);
  }
  pthread_attr_destroy(&attr);
}

}  // namespace vorn::data
