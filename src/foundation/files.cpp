// File access with the library's result codes, and small system helpers.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vornpal/files.h>
#include <vornpal/strings.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/log_site.h"
#include "foundation/unique_fd.h"

namespace {

constexpr const char kIrigDevice[] = "/dev/vorn_irig_b_config";
constexpr unsigned long kIrigConfigRequest = 0x40325A1E;
constexpr size_t kPathMax = 512;

// Opens path; descriptor 0 counts as a failure as well (it is closed). The
// failure is logged.
vorn::UniqueFd open_logged(const char *path, int flags, mode_t mode = 0) {
  int fd = path != nullptr ? ::open(path, flags | O_CLOEXEC, mode) : -1;
  if (fd == 0) ::close(fd);
  if (fd < 1) {
    VORN_LOG(VORN_ERR, "open %s failed.\n", path != nullptr ? path : "(null)");
    return vorn::UniqueFd();
  }
  return vorn::UniqueFd(fd);
}

// One read; a newline as the last byte read becomes a zero byte and does
// not count. -1 when the read fails.
ssize_t read_once(int fd, void *buffer, size_t length) {
  ssize_t got = ::read(fd, buffer, length);
  auto *bytes = static_cast<char *>(buffer);
  if (got > 0 && bytes[got - 1] == '\n') {
    bytes[got - 1] = '\0';
    --got;
  }
  return got;
}

int write_with(const char *path, const void *data, unsigned int length, int flags) {
  vorn::UniqueFd fd = open_logged(path, O_WRONLY | flags, 0777);
  if (!fd.open()) return VORN_FILE_OPEN_FAILED;
  const auto *bytes = static_cast<const char *>(data);
  for (size_t written = 0; written < length;) {
    ssize_t n = bytes != nullptr ? ::write(fd.get(), bytes + written, length - written) : -1;
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      VORN_LOG(VORN_ERR, "write %s failed.\n", path);
      return VORN_FILE_WRITE_FAILED;
    }
    written += static_cast<size_t>(n);
  }
  return VORN_OK;
}

// Runs a shell pipeline and reads its first line; false when popen failed.
bool first_line_of(const char *command, char *line, int size) {
  FILE *pipe = popen(command, "r");
  if (pipe == nullptr) return false;
  line[0] = '\0';
  if (std::fgets(line, size, pipe) == nullptr) line[0] = '\0';
  // Whatever else the command prints is not needed; drain it so that it
  // does not block on a full pipe before pclose.
  char rest[256];
  while (std::fgets(rest, sizeof rest, pipe) != nullptr) {
  }
  pclose(pipe);
  return true;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_read_file(const char *path, void *buffer, unsigned int length) {
  vorn::UniqueFd fd = open_logged(path, O_RDONLY);
  if (!fd.open()) return VORN_FILE_OPEN_FAILED;
  if (buffer == nullptr || read_once(fd.get(), buffer, length) < 0) {
    VORN_LOG(VORN_ERR, "read %s failed.\n", path);
    return VORN_FILE_READ_FAILED;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_read_file_with_reading_length_returned(const char *path, void *buffer,
                                                            int length) {
  vorn::UniqueFd fd = open_logged(path, O_RDONLY);
  if (!fd.open()) return -1;
  if (buffer == nullptr || length < 0) {
    VORN_LOG(VORN_ERR, "read %s failed.\n", path);
    return -1;
  }
  ssize_t got = read_once(fd.get(), buffer, static_cast<size_t>(length));
  if (got < 0) VORN_LOG(VORN_ERR, "read %s failed.\n", path);
  return static_cast<int>(got);
}

VORNPAL_API int vorn_write_file(const char *path, const void *data, unsigned int length) {
  return write_with(path, data, length, 0);
}

VORNPAL_API int vorn_write_file_sync(const char *path, const void *data, unsigned int length) {
  return write_with(path, data, length, O_DSYNC);
}

VORNPAL_API int vorn_write_file_sync_create(const char *path, const void *data,
                                            unsigned int length) {
  return write_with(path, data, length, O_DSYNC | O_CREAT);
}

VORNPAL_API int vorn_ioctl_file(const char *path, unsigned long request, void *argument) {
  vorn::UniqueFd fd = open_logged(path, O_RDWR);
  if (!fd.open()) return VORN_FILE_OPEN_FAILED;
  if (ioctl(fd.get(), request, argument) != 0) {
    VORN_LOG(VORN_ERR, "ioctl cmd %ld failed.\n", static_cast<long>(request));
    return -1;
  }
  return VORN_OK;
}

VORNPAL_API int vorn_irig_b_ioctl(void *config) {
  if (config == nullptr) {
    VORN_LOG(VORN_ERR, "input error.\r\n");
    return -1;
  }
  vorn::UniqueFd fd(::open(kIrigDevice, O_RDWR | O_CLOEXEC));
  if (!fd.open()) {
    VORN_LOG(VORN_ERR, "open %s fail.\r\n", kIrigDevice);
    return -1;
  }
  if (ioctl(fd.get(), kIrigConfigRequest, config) != 0) {
    VORN_LOG(VORN_ERR, "ioctl cmd fail.\r\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int dir_make_path(const char *path, unsigned int mode) {
  if (path == nullptr) return -1;
  char copy[kPathMax];
  if (vorn_utf8_Copy(copy, path, sizeof copy, nullptr) != 0) {
    VORN_LOG(VORN_ERR, "Directory path overflowed.\n");
    return -1;
  }
  size_t length = std::strlen(copy);
  if (length > 1 && copy[length - 1] == '/') copy[--length] = '\0';
  auto make = [mode](const char *prefix) {
    if (mkdir(prefix, static_cast<mode_t>(mode)) == 0 || errno == EEXIST) return true;
    VORN_LOG(VORN_ERR, "Could not create directory '%s'.\n", prefix);
    return false;
  };
  // From the second character on, so that an absolute path never tries "/".
  for (size_t i = 1; i < length; ++i) {
    if (copy[i] != '/') continue;
    copy[i] = '\0';
    bool made = make(copy);
    copy[i] = '/';
    if (!made) return -1;
  }
  return (length > 0 && make(copy)) ? 0 : -1;
}

VORNPAL_API int get_flash_type(void) {
  char line[256];
  if (!first_line_of("cat /proc/partitions 2>/dev/null | grep mtd", line, sizeof line)) return 4;
  return line[0] != '\0' ? 1 : 0;
}

VORNPAL_API int vorn_check_process_exist(const char *name) {
  if (name == nullptr) return -1;
  char command[256];
  std::snprintf(command, sizeof command, "ps | grep -v grep | grep -c %s", name);
  char line[64];
  if (!first_line_of(command, line, sizeof line)) return 0;
  if (line[0] == '\0') return -1;
  return std::atoi(line);
}

}  // extern "C"
