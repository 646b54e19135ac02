// The data interface as the kernel sees it: waiting for its address to come
// or go, the IPv6 settings that router advertisements must not change, the
// prefix route the kernel adds, and the RNDIS link's restart once IPv6 is up.
// The network manager outside the library configures the interface; the
// family only watches it through the device's own tools.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vornpal/data.h>
#include <vornpal/process.h>

#include "data/state.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "foundation/run.h"

namespace vorn::data {
namespace {

constexpr int kUpTries = 100;
constexpr int kDownTries = 50;
constexpr uint64_t kProbeGapUs = 100000;
constexpr size_t kLineSize = 320;
constexpr size_t kPathSize = 200;
constexpr size_t kCommandSize = 256;
constexpr unsigned long kRndisStop = 0xFF01;
constexpr unsigned long kRndisStart = 0xFF02;

// The first line of a command's output, without its line end; empty when
// there is none.
void first_line(const char *command, char (&line)[kLineSize]) {
  line[0] = '\0';
  FILE *pipe = popen(command, "r");
  if (pipe == nullptr) return;
  if (std::fgets(line, sizeof line, pipe) == nullptr) line[0] = '\0';
  pclose(pipe);
  line[std::strcspn(line, "\n")] = '\0';
}

void probe_command(int family, const char *name, char (&command)[kCommandSize]) {
  if (family == 0) {
    std::snprintf(command, sizeof command, "ip -4 addr | grep inet | grep %s", name);
  } else if (family == 1) {
    std::snprintf(command, sizeof command, "ifconfig %s | grep inet6 | grep Global", name);
  } else {
    std::snprintf(command, sizeof command, "ifconfig | grep %s", name);
  }
}

void write_zero(const char *name, const char *setting) {
  if (name == nullptr) return;
  char path[kPathSize];
  int len = std::snprintf(path, sizeof path, "/proc/sys/net/ipv6/conf/%s/%s", name, setting);
  if (len < 0 || static_cast<size_t>(len) >= sizeof path) {
    VORN_LOG(VORN_ERR, "Failed to allocate path\n");
    return;
  }
  VORN_LOG(VORN_DBUG, "set path %s to %s\n", path, "0");
  int fd = open(path, O_WRONLY);
  if (fd < 0) {
    VORN_LOG(VORN_ERR, "Failed to open %s: %s\n", path, std::strerror(errno));
    return;
  }
  ssize_t written = write(fd, "0", 1);
  if (written != 1) {
    int error = errno;
    VORN_LOG(VORN_ERR, "Failed to write %s: ret=%d, errno=%d:%s\n", path,
             static_cast<int>(written), error, std::strerror(error));
  }
  close(fd);
}

std::atomic<bool> rndis_running{false};
std::atomic<int> rndis_fd{-1};

void *rndis_restart(void *) {
  clk::sleep_s(2);
  int fd = rndis_fd.load();
  if (fd < 0) {
    fd = open("/dev/rndis_ctrl", O_RDWR);
    if (fd < 0) {
      rndis_running.store(false);
      return nullptr;
    }
    rndis_fd.store(fd);
  }
  ioctl(fd, kRndisStop, 0);
  clk::sleep_us(200000);
  ioctl(fd, kRndisStart, 0);
  rndis_running.store(false);
  return nullptr;
}

}  // namespace

void WaitForIntfUpDown(bool up, int family, const char *name) {
  if (name == nullptr || name[0] == '\0') return;
  char command[kCommandSize];
  probe_command(family, name, command);
  char line[kLineSize] = {};
  const int tries = up ? kUpTries : kDownTries;
  for (int i = 0; i < tries; ++i) {
    if (i > 0) clk::sleep_us(kProbeGapUs);
    first_line(command, line);
    if ((line[0] != '\0') == up) break;
  }
  VORN_LOG(VORN_DBUG, "line_buf=%s\n", line);
}

bool InterfaceHasAddress(const char *name) {
  char command[kCommandSize];
  char line[kLineSize];
  for (int family = 0; family < kFamilies; ++family) {
    probe_command(family, name, command);
    first_line(command, line);
    if (line[0] != '\0') return true;
  }
  return false;
}

void DeleteKernelRoute(const char *name) {
  if (name == nullptr || name[0] == '\0') return;
  char command[kCommandSize];
  std::snprintf(command, sizeof command,
                "ip -6 route | grep \"dev %s  proto kernel  metric 256\" | grep -v fe80", name);
  char line[kLineSize];
  first_line(command, line);
  if (std::strstr(line, name) == nullptr) return;
  char del[kCommandSize + kLineSize];
  std::snprintf(del, sizeof del, "ip -6 route del %s", line);
  vorn::run(del);
}

void StartRndisThread() {
  bool idle = false;
  if (!rndis_running.compare_exchange_strong(idle, true)) return;
  if (!vorn::start_worker(rndis_restart, nullptr, 0)) {
    VORN_LOG(VORN_ERR, "unable to create g_connect_thread return reason: %d\n", -1);
    rndis_running.store(false);
  }
}

}  // namespace vorn::data

extern "C" {

VORNPAL_API void vorn_set_ipv6_default_route(const char *name) {
  vorn::data::write_zero(name, "accept_ra_defrtr");
}

VORNPAL_API void vorn_set_ipv6_default_mtu(const char *name) {
  vorn::data::write_zero(name, "accept_ra_mtu");
}

}  // extern "C"
