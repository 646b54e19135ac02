// Fuzzes the key-log filter with arbitrary log files, filter ids and buffer
// sizes, and the log settings loader with an arbitrary settings file.
// Runs inside the sandbox (it writes /data).
#include <sys/stat.h>
#include <vornpal/keylog.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "sandbox_check.h"

namespace {

const char *const kFiles[] = {"/data/log_client_setting", "/data/oem/logs/fwa",
                              "/data/oem/logs/fwa1", "/data/oem/logs/fwa2", "/data/oem/logs/panic"};

void write_file(const char *path, const uint8_t *data, size_t size) {
  FILE *file = std::fopen(path, "wb");
  if (file == nullptr) std::abort();
  std::fwrite(data, 1, size, file);
  std::fclose(file);
}

// Ids worth reaching often: the panic client, the modules, the events and
// their gaps, and the edges of the accepted ranges.
unsigned int filter_id(const uint8_t *head) {
  static const unsigned int kIds[] = {0,   1,   3,   6,   7,   100, 101, 104,
                                      105, 201, 206, 403, 502, 604, 605};
  uint32_t raw = static_cast<uint32_t>(head[0]) | static_cast<uint32_t>(head[1]) << 8 |
                 static_cast<uint32_t>(head[2]) << 16 | static_cast<uint32_t>(head[3]) << 24;
  return (raw & 1) ? kIds[(raw >> 1) % (sizeof kIds / sizeof kIds[0])] : raw >> 1;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  require_sandbox();
  mkdir("/data/oem", 0755);
  mkdir("/data/oem/logs", 0755);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 6) return 0;
  unsigned int id = filter_id(data);
  size_t buffer_size = 1 + (static_cast<size_t>(data[4]) << 4 | data[5]);
  data += 6;
  size -= 6;

  // The rest is cut at 0xFF bytes into the settings file and the log files.
  size_t start = 0;
  for (const char *path : kFiles) {
    const void *mark = start < size ? std::memchr(data + start, 0xFF, size - start) : nullptr;
    size_t end =
        mark != nullptr ? static_cast<size_t>(static_cast<const uint8_t *>(mark) - data) : size;
    write_file(path, data + start, end - start);
    start = end < size ? end + 1 : size;
  }
  vorn_log_get_logsetting();
  vorn_set_log_client_setting(VORN_LOG_CLIENT_FWA, 1, 3, nullptr);
  vorn_set_log_client_setting(VORN_LOG_CLIENT_PANIC, 1, 2, nullptr);

  std::vector<char> buffer(buffer_size + 1, '\0');
  buffer[buffer_size] = '#';  // a byte past the size given: must stay
  vorn_keylog_filter(id, buffer.data(), static_cast<unsigned int>(buffer_size));
  if (buffer[buffer_size] != '#' || std::strlen(buffer.data()) >= buffer_size) std::abort();
  return 0;
}
