// Small looks at the system around the library: integers in files, the
// main bridge's address, reachability, process ids, directories, clocks and
// dates, and the product's feature predicates.
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include <vornpal/files.h>
#include <vornpal/process.h>
#include <vornpal/system.h>

#include "foundation/decimal_text.h"
#include "foundation/log_site.h"
#include "foundation/unique_fd.h"

namespace {

constexpr size_t kIntFileMax = 256;
constexpr const char *kBridges[] = {"bridge0", "br-lan", "brlan0"};
constexpr int kPingTries = 3;
constexpr int64_t kUsPerSecond = 1000000;
constexpr long kSecondsPerDay = 86400;

struct FileCloser {
  void operator()(FILE *file) const { std::fclose(file); }
};

FILE *open_int_file(const char *path, const char *mode) {
  if (path == nullptr) {
    VORN_LOG(VORN_ERR, "Not exist file\n");
    return nullptr;
  }
  FILE *file = std::fopen(path, mode);
  if (file == nullptr) VORN_LOG(VORN_ERR, "Not exist file=%s\n", path);
  return file;
}

// The IPv4 address of one interface, or false when it has none.
bool interface_address(int fd, const char *name, uint32_t &address) {
  ifreq request{};
  std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
  request.ifr_addr.sa_family = AF_INET;
  if (ioctl(fd, SIOCGIFADDR, &request) != 0) return false;
  sockaddr_in inet{};
  std::memcpy(&inet, &request.ifr_addr, sizeof inet);
  address = inet.sin_addr.s_addr;
  return true;
}

vorn_clk_time from_timespec(const timespec &now) {
  return {static_cast<int64_t>(now.tv_sec), static_cast<int64_t>(now.tv_nsec / 1000)};
}

// Midnight of a "YYYY-MM-DD" date in local time.
time_t midnight_of(const char *date) {
  int year = 0, month = 0, day = 0;
  std::sscanf(date, "%d-%d-%d", &year, &month, &day);
  tm fields{};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_util_get_file_int_value(const char *path) {
  std::unique_ptr<FILE, FileCloser> file(open_int_file(path, "r"));
  if (!file) return 0;
  char content[kIntFileMax + 1] = {};
  std::fread(content, 1, kIntFileMax, file.get());
  VORN_LOG(VORN_DBUG, "read content:%s\n", content);
  return static_cast<int>(std::strtol(content, nullptr, 10));
}

VORNPAL_API int vorn_util_set_file_int_value(const char *path, int value) {
  std::unique_ptr<FILE, FileCloser> file(open_int_file(path, "w"));
  if (!file) return VORN_FILE_WRITE_FAILED;
  vorn::DecimalText decimal(value);
  size_t written = std::fwrite(decimal.text, 1, decimal.length, file.get());
  // The stream buffers: a full disk shows only when it is flushed.
  if (written != decimal.length || std::fflush(file.get()) != 0) {
    int error = errno;
    VORN_LOG(VORN_ERR, "fwrite() failed, only [%d] written, total_len=[%d], reason=[%s]%d",
             static_cast<int>(written), static_cast<int>(decimal.length), std::strerror(error), error);
    return VORN_FILE_WRITE_FAILED;
  }
  return 0;
}

VORNPAL_API int vorn_util_get_main_bridge_addr(uint32_t *if_addr) {
  if (if_addr == nullptr) {
    VORN_LOG(VORN_ERR, "if_addr is NULL\n");
    return -1;
  }
  vorn::UniqueFd fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!fd.open()) return -1;
  for (const char *bridge : kBridges) {
    uint32_t address = 0;
    if (!interface_address(fd.get(), bridge, address)) continue;
    VORN_LOG(VORN_INFO, "getip:ifname=%s,ip=0x%X\n", bridge, address);
    *if_addr = address;
    return 0;
  }
  return -1;
}

VORNPAL_API int vorn_ping_state(const char *host) {
  if (host == nullptr) return VORN_INVALID_PARAM;
  char command[256];
  int len = std::snprintf(command, sizeof command, "ping -c 2 -W 3 %s > /dev/null 2>&1", host);
  if (len < 0 || static_cast<size_t>(len) >= sizeof command) return -1;
  for (int attempt = 0; attempt < kPingTries; ++attempt) {
    VORN_LOG(VORN_DBUG, ">>>ping status:%s>>>\n", command);
    if (vorn_system_call_ex(command, static_cast<unsigned>(len)) == 0) return 0;
  }
  return -1;
}

VORNPAL_API int oem_get_pid_by_name(const char *name) {
  if (name == nullptr) return -1;
  char command[256];
  std::snprintf(command, sizeof command, "ps -e | grep %s | grep -v grep", name);
  FILE *pipe = popen(command, "r");
  if (pipe == nullptr) {
    VORN_LOG(VORN_ERR, "command popen error!!!\n");
    return -1;
  }
  char line[256] = {};
  bool got_line = std::fgets(line, sizeof line, pipe) != nullptr;
  // The rest of the listing is not wanted, but ps must not block on it.
  for (char rest[256]; std::fgets(rest, sizeof rest, pipe) != nullptr;) {
  }
  pclose(pipe);
  int pid = -1;
  if (!got_line || std::sscanf(line, "%d", &pid) != 1) return -1;
  return pid;
}

VORNPAL_API void oem_create_and_check_directory(const char *path) {
  if (path == nullptr) return;
  struct stat info {};
  if (stat(path, &info) == 0) {
    VORN_LOG(VORN_DBUG, "Directory %s already exists.\n", path);
    return;
  }
  if (dir_make_path(path, 0777) == 0) {
    VORN_LOG(VORN_INFO, "Directory %s created.\n", path);
  } else {
    VORN_LOG(VORN_ERR, "Directory %s creation error.\n", path);
  }
}

VORNPAL_API vorn_clk_time vorn_clk_GetRelativeTime(void) {
  timespec now{};
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
    std::printf("clock_gettime() failed. errno = %d (%m)\n", errno);
    return {0, 0};
  }
  return from_timespec(now);
}

VORNPAL_API vorn_clk_time vorn_clk_GetAbsoluteTime(void) {
  timespec now{};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
    VORN_LOG(VORN_CRIT, "CLOCK_REALTIME is not supported for Absolute time\n");
    return {0, 0};
  }
  return from_timespec(now);
}

VORNPAL_API vorn_clk_time vorn_clk_Add(vorn_clk_time first, vorn_clk_time second) {
  vorn_clk_time sum = {first.sec + second.sec, first.usec + second.usec};
  if (sum.usec >= kUsPerSecond) {
    sum.usec -= kUsPerSecond;
    sum.sec += 1;
  }
  return sum;
}

VORNPAL_API long get_linuxuptime(void) {
  struct sysinfo info {};
  if (sysinfo(&info) != 0) return 0;
  return info.uptime;
}

VORNPAL_API int get_days(const char *first, const char *second) {
  if (first == nullptr || second == nullptr) return 0;
  double seconds = std::difftime(midnight_of(second), midnight_of(first));
  return static_cast<int>(static_cast<long>(seconds) / kSecondsPerDay);
}

VORNPAL_API int vorn_support_730K(void) { return 0; }
VORNPAL_API int vorn_support_SK730_GL(void) { return 0; }
VORNPAL_API int vorn_support_SG730C(void) { return 0; }
VORNPAL_API int vorn_support_RUD_LED(void) { return 0; }
VORNPAL_API int vorn_support_PRIMARY_INTERFACE(void) { return 0; }
VORNPAL_API int vorn_support_SECONDARY_INTERFACE(void) { return 0; }
VORNPAL_API int vorn_support_USB_DETECT(void) { return 0; }
VORNPAL_API int vorn_support_RUD_FAN(void) { return 0; }

}  // extern "C"

static_assert(sizeof(vorn_clk_time) == 16, "vorn_clk_time is the same on every target");
