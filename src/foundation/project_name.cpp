// The project name: a key of the kernel command line, with the file that
// the factory tools leave under /tmp as the fallback.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <vornpal/strings.h>
#include <vornpal/system.h>

#include "foundation/log_site.h"
#include "foundation/unique_fd.h"

namespace {

constexpr const char kCmdline[] = "/proc/cmdline";
constexpr size_t kCmdlineMax = 2047;
constexpr const char kNonSignalInfo[] = "/tmp/non_signal_info";
constexpr size_t kInfoPiece = 2048;
constexpr const char kProjectWord[] = "project";

// Up to `room` bytes of the file, terminated; a /proc file may come in
// several reads. False when it cannot be opened.
bool read_head(const char *path, char *text, size_t room) {
  vorn::UniqueFd fd(::open(path, O_RDONLY | O_CLOEXEC));
  if (!fd.open()) return false;
  size_t kept = 0;
  while (kept < room) {
    ssize_t got = ::read(fd.get(), text + kept, room - kept);
    if (got <= 0) break;
    kept += static_cast<size_t>(got);
  }
  text[kept] = '\0';
  return true;
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// The next piece of the file that names the project, or false at its end.
bool find_project_piece(int fd, char (&piece)[kInfoPiece + 1], const char *&found) {
  for (;;) {
    ssize_t got = ::read(fd, piece, kInfoPiece);
    if (got <= 0) return false;
    piece[got] = '\0';
    found = std::strstr(piece, kProjectWord);
    if (found != nullptr) return true;
    VORN_LOG(VORN_DBUG, "can't not match %s\n", kProjectWord);
  }
}

// get_project_para into a buffer of `size` bytes (at most the documented
// VORN_PROJECT_PARA_SIZE), terminated.
int project_from_info_file(char *value, size_t size) {
  vorn::UniqueFd fd(::open(kNonSignalInfo, O_RDONLY | O_CLOEXEC));
  if (!fd.open()) return -1;
  char piece[kInfoPiece + 1];
  const char *found = nullptr;
  if (!find_project_piece(fd.get(), piece, found)) return -1;
  size_t line_len = std::strcspn(found, "\n");
  VORN_LOG(VORN_INFO, "Project Name: %.*s\n", static_cast<int>(line_len), found);
  // The value is the word behind the first "=" from the match on.
  const char *equals = std::strchr(found, '=');
  value[0] = '\0';
  if (equals == nullptr) return 0;
  const char *word = equals + 1;
  while (*word == '\n' || is_blank(*word)) ++word;
  size_t len = std::min(std::strcspn(word, " \t\r\n"), size - 1);
  std::memcpy(value, word, len);
  value[len] = '\0';
  return 0;
}

int project_name_by_key(const char *key, char *value, uint32_t size) {
  if (value == nullptr) {
    VORN_LOG(VORN_ERR, "NULL Pointer\n");
    return -1;
  }
  if (odm_get_value_from_string(key, value, size) == 0) {
    VORN_LOG(VORN_INFO, "Project Name: %.*s\n", static_cast<int>(strnlen(value, size)), value);
    return 0;
  }
  VORN_LOG(VORN_ERR, "get project name from cmdline failed\n");
  if (size == 0) return -1;
  char fallback[VORN_PROJECT_PARA_SIZE];
  if (project_from_info_file(fallback, std::min<size_t>(size, sizeof fallback)) != 0) return -1;
  vorn_string_memcpy(value, fallback, size);
  return 0;
}

}  // namespace

extern "C" {

VORNPAL_API int odm_get_value_from_string(const char *key, char *value, uint32_t size) {
  if (value == nullptr || key == nullptr || key[0] == '\0') {
    VORN_LOG(VORN_ERR, "NULL Pointer\n");
    return -1;
  }
  char cmdline[kCmdlineMax + 1];
  if (!read_head(kCmdline, cmdline, kCmdlineMax)) cmdline[0] = '\0';
  size_t len = std::strlen(cmdline);
  if (len > 0 && cmdline[len - 1] == '\n') cmdline[len - 1] = '\0';
  const char *found = std::strstr(cmdline, key);
  if (found == nullptr) {
    VORN_LOG(VORN_ERR, "Could not find oem.project in %s\n", cmdline);
    return -1;
  }
  const char *start = found + std::strlen(key);
  while (*start == '=' || is_blank(*start)) ++start;
  size_t word = std::strcspn(start, " \t");
  if (word == 0 || size == 0) return -1;
  // The value stands in the line: copy only its own bytes.
  std::memset(value, 0, size);
  std::memcpy(value, start, std::min<size_t>(word, size));
  return 0;
}

VORNPAL_API int get_project_para(char *value) {
  if (value == nullptr) {
    VORN_LOG(VORN_ERR, "NULL Pointer\n");
    return -1;
  }
  return project_from_info_file(value, VORN_PROJECT_PARA_SIZE);
}

VORNPAL_API int vorn_get_project_name_cmdline(char *value, uint32_t size) {
  return project_name_by_key("vorn.project", value, size);
}

VORNPAL_API int vorn_get_project_name_cmdline_oem_version(char *value, uint32_t size) {
  return project_name_by_key("oem.project", value, size);
}

}  // extern "C"
