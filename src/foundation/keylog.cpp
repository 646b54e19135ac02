// Key log: rotated per-client log files, the panic log, and lines appended
// to any file through the shell.
#include <sys/time.h>
#include <unistd.h>
#include <vornpal/ini.h>
#include <vornpal/keylog.h>
#include <vornpal/process.h>
#include <vornpal/strings.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <mutex>
#include <string>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"

namespace {

constexpr const char kSettingsFile[] = "/data/log_client_setting";
constexpr size_t kNameBytes = 64;
constexpr size_t kLineBytes = 1500;
constexpr size_t kFilterLineBytes = 512;
constexpr size_t kPanicLineBytes = 128;
constexpr size_t kMsg2FileCommandBytes = 2048;
constexpr size_t kMsg2FileLineBytes = 2 * VORN_MSG2FILE_BUF_SIZE;
constexpr size_t kMsg2FileExCommandBytes = 3 * VORN_MSG2FILE_BUF_SIZE;

struct log_client_setting {
  char name[kNameBytes];
  int32_t file_size;
  int32_t file_numer;
};

static_assert(sizeof(log_client_setting) == 72);

struct LogClient {
  const char *section;
  const char *base_path;
};

constexpr LogClient kLogClients[] = {
    {"fwa_client", "/data/oem/logs/fwa"},
    {"panic_client", "/data/oem/logs/panic"},
};
constexpr int kClientCount = sizeof kLogClients / sizeof kLogClients[0];

constexpr const char *kModuleNames[] = {"MODULE_DATA",    "MOUDLE_FOTA", "MOUDLE_GNSS",
                                        "MOUDLE_NETWORK", "MOUDLE_SMS",  "MOUDLE_USIM"};
constexpr int kFirstModule = 1;
constexpr int kLastModule = 6;

struct EventName {
  int id;
  const char *name;
};

constexpr EventName kEventNames[] = {
    {101, "EVENT_DATA_DEFAULT_ROUTE"},
    {102, "EVENT_DATA_DNSMASQ_STATUS"},
    {103, "EVENT_DATA_STATUS_CHANGE"},
    {104, "EVENT_DATA_REQUEST_FAIL_CODE"},
    {201, "EVENT_FOTA_DOWNLOAD_FIAL"},
    {202, "EVENT_FOTA_FW_INVAILD"},
    {203, "EVENT_FOTA_VERSION_MISAMATCH"},
    {204, "EVENT_FOTA_NO_ENOUGH_SPACE"},
    {205, "EVENT_FOTA_NETWORK_FAIL"},
    {206, "EVENT_FOTA_PACKAGE_CHECK_FAIL"},
    {301, "EVENT_GNSS_STATUS_CHANGE"},
    {401, "EVENT_NETWORK_REG_CHANGE"},
    {402, "EVENT_NETWORK_RAT_CHANGE"},
    {403, "EVENT_NETWORK_REG_REJECT_CODE"},
    {501, "EVENT_SMS_CENTER_ADDRESS"},
    {502, "EVENT_SMS_SMMFULL"},
    {601, "EVENT_USIM_REMOVED"},
    {602, "EVENT_USIM_INSERTED"},
    {603, "EVENT_USIM_LOCKED"},
    {604, "EVENT_USIM_RECOVERY_FAIL"},
};
constexpr int kFirstEvent = 101;
constexpr int kLastEvent = 604;

// The limits in force, all zero until a client loads them.
log_client_setting settings[kClientCount];
std::mutex settings_mutex;
// Held across a key-log line's whole file update, rotation included.
std::mutex keylog_mutex;

log_client_setting settings_of(int client) {
  std::lock_guard<std::mutex> lock(settings_mutex);
  return settings[client];
}

const char *module_name(int module_id) {
  if (module_id < kFirstModule || module_id > kLastModule) return nullptr;
  return kModuleNames[module_id - kFirstModule];
}

// Copies the event's name into out (kNameBytes); out is left as it is for
// a number without a name.
int vorn_keylog_event_name(int event_id, char *out) {
  for (const EventName &event : kEventNames) {
    if (event.id == event_id) vorn_string_memcpy(out, event.name, kNameBytes);
  }
  return 0;
}

// Local time as "YYYY-MM-DD hh:mm:ss.mmm".
std::string local_time_text() {
  timeval now{};
  gettimeofday(&now, nullptr);
  time_t seconds = now.tv_sec;
  tm local{};
  localtime_r(&seconds, &local);
  char text[kNameBytes];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", local.tm_year + 1900,
                local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(now.tv_usec / 1000));
  return text;
}

std::string numbered(const log_client_setting &setting, int number) {
  return setting.name + std::to_string(number);
}

// Size of the file, -1 when it cannot be opened.
long file_size(const char *path) {
  FILE *file = std::fopen(path, "r");
  if (file == nullptr) return -1;
  long size = std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
  std::fclose(file);
  return size;
}

// Makes room for a new base file: it becomes the first free number, or,
// with every number taken, the newest one after the others move down and
// the oldest goes.
void vorn_logfile_backup(const log_client_setting &setting) {
  for (int number = 1; number < setting.file_numer; ++number) {
    std::string name = numbered(setting, number);
    if (access(name.c_str(), F_OK) != 0) {
      std::rename(setting.name, name.c_str());
      return;
    }
  }
  if (setting.file_numer > 1) {
    for (int number = 2; number < setting.file_numer; ++number) {
      std::rename(numbered(setting, number).c_str(), numbered(setting, number - 1).c_str());
    }
    std::rename(setting.name, numbered(setting, setting.file_numer - 1).c_str());
    return;
  }
  std::string command = std::string("rm -rf ") + setting.name;
  vorn_system_call(command.c_str(), static_cast<unsigned int>(command.size()));
}

bool append_to(const char *path, const char *text) {
  FILE *file = std::fopen(path, "a+");
  if (file == nullptr) return false;
  std::fputs(text, file);
  std::fflush(file);
  std::fclose(file);
  return true;
}

int vorn_log_write_file(const char *text, int log_client) {
  log_client_setting setting = settings_of(log_client);
  // Sizes as 32-bit words: a missing file (-1) wraps below the limit.
  uint32_t size = static_cast<uint32_t>(file_size(setting.name));
  uint32_t limit = static_cast<uint32_t>(setting.file_size) << 20;
  if (static_cast<uint32_t>(std::strlen(text)) + size > limit) vorn_logfile_backup(setting);
  return append_to(setting.name, text) ? 0 : -1;
}

// A setting as strtol reads it, whatever it holds: the files are written by
// the framework's web interface, and its users get what they wrote. A value
// beyond 32 bits is held as the target's 32-bit long holds it.
int32_t setting_value(const char *text) {
  long value = std::strtol(text, nullptr, 10);
  return static_cast<int32_t>(
      std::clamp<long>(value, std::numeric_limits<int32_t>::min(),
                       std::numeric_limits<int32_t>::max()));
}

void load_client(int client) {
  const LogClient &source = kLogClients[client];
  char size_text[kNameBytes];
  char number_text[kNameBytes];
  ini_gets(source.section, "log_size", "1", size_text, sizeof size_text, kSettingsFile);
  ini_gets(source.section, "log_number", "2", number_text, sizeof number_text, kSettingsFile);
  log_client_setting loaded{};
  loaded.file_size = setting_value(size_text);
  loaded.file_numer = setting_value(number_text);
  vorn::checked_strcpy(loaded.name, source.base_path);
  std::lock_guard<std::mutex> lock(settings_mutex);
  settings[client] = loaded;
}

// Appends the lines of path that hold `search` to buffer; false once a line
// did not fit, which ends the collection.
bool collect_matches(const std::string &path, const char *search, char *buffer,
                     size_t buffer_size) {
  FILE *file = std::fopen(path.c_str(), "r");
  if (file == nullptr) return true;
  char line[kFilterLineBytes];
  bool room = true;
  while (room && std::fgets(line, sizeof line, file) != nullptr) {
    if (std::strstr(line, search) == nullptr) continue;
    size_t used = strnlen(buffer, buffer_size);
    size_t length = std::strlen(line);
    room = buffer_size > used + length;
    if (room) std::memcpy(buffer + used, line, length + 1);
  }
  std::fclose(file);
  return room;
}

// The panic lines that the modem reports, at most kLineBytes - 1 bytes.
std::string modem_panic_text() {
  std::string text;
  FILE *pipe = popen("odm_upgrader panic_log", "r");
  if (pipe == nullptr) return text;
  char line[kPanicLineBytes];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    if (std::strchr(line, '[') == nullptr) continue;
    if (text.size() + std::strlen(line) > kLineBytes - 1) break;
    text += line;
  }
  // The rest of the output is not wanted; drain it so that pclose does not
  // wait on a writer blocked by a full pipe.
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
  }
  pclose(pipe);
  return text;
}

// True when the panic client's base file already begins with text.
bool panic_file_starts_with(const log_client_setting &setting, const std::string &text,
                            bool &file_exists) {
  FILE *file = std::fopen(setting.name, "r");
  file_exists = file != nullptr;
  if (!file_exists) return false;
  char stored[kLineBytes + 1] = {};
  size_t got = std::fread(stored, 1, kLineBytes, file);
  std::fclose(file);
  return got >= text.size() && std::memcmp(stored, text.data(), text.size()) == 0;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_write_msg2file(const char *path, const char *message) {
  if (path == nullptr || message == nullptr) return -1;
  char command[kMsg2FileCommandBytes];
  std::snprintf(command, sizeof command, "echo \"[%s]%s\" >> %s", local_time_text().c_str(),
                message, path);
  return vorn_system_call(command, static_cast<unsigned int>(std::strlen(command)));
}

VORNPAL_API void vorn_write_msg2file_ex(char *buffer, const char *path, const char *func,
                                        const char *format, ...) {
  if (buffer == nullptr || path == nullptr || format == nullptr) return;
  std::string time_text = local_time_text();
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, VORN_MSG2FILE_BUF_SIZE, format, args);
  va_end(args);
  std::unique_ptr<char, decltype(&std::free)> line(
      static_cast<char *>(std::calloc(1, kMsg2FileLineBytes)), &std::free);
  std::unique_ptr<char, decltype(&std::free)> command(
      static_cast<char *>(std::calloc(1, kMsg2FileExCommandBytes)), &std::free);
  if (line == nullptr || command == nullptr) return;
  std::unique_ptr<char, decltype(&std::free)> name(vorn::log::mask_name(func), &std::free);
  if (name != nullptr) {
    std::snprintf(line.get(), kMsg2FileLineBytes, "[%s]%s: %s", time_text.c_str(), name.get(),
                  buffer);
  }
  std::snprintf(command.get(), kMsg2FileExCommandBytes, "echo \"%s\" >> %s", line.get(), path);
  vorn_system_call(command.get(), static_cast<unsigned int>(std::strlen(command.get())));
}

VORNPAL_API int vorn_set_log_client_setting(int log_client, int32_t log_size, int32_t log_number,
                                            const char *config_file) {
  if (log_client < 0 || log_client >= kClientCount) return 0;
  if (config_file != nullptr) {
    const char *section = kLogClients[log_client].section;
    ini_putl(section, "log_size", log_size, config_file);
    ini_putl(section, "log_number", log_number, config_file);
  }
  std::lock_guard<std::mutex> lock(settings_mutex);
  settings[log_client].file_size = log_size;
  settings[log_client].file_numer = log_number;
  return 0;
}

VORNPAL_API int vorn_log_get_logsetting(void) {
  for (int client = 0; client < kClientCount; ++client) load_client(client);
  return 0;
}

VORNPAL_API int vorn_keylog_write_file(int module_id, int event_id, const char *format, ...) {
  std::lock_guard<std::mutex> lock(keylog_mutex);
  char event[kNameBytes] = {};
  char text[kLineBytes] = {};
  char line[kLineBytes] = {};
  const char *module = module_name(module_id);
  if (event_id >= kFirstEvent && event_id <= kLastEvent) vorn_keylog_event_name(event_id, event);
  if (format != nullptr) {
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
  }
  // A line longer than the buffer is cut to what fits.
  if (std::snprintf(line, sizeof line, "%s | %s | %s | %s\r\n", local_time_text().c_str(),
                    module != nullptr ? module : "(null)", event, text) < 0)
    line[0] = '\0';
  vorn_log_write_file(line, VORN_LOG_CLIENT_FWA);
  return 0;
}

VORNPAL_API int vorn_keylog_filter(unsigned int filter_id, char *buffer, unsigned int buffer_size) {
  int client = VORN_LOG_CLIENT_FWA;
  char search[kNameBytes] = {};
  int id = filter_id > INT_MAX ? -1 : static_cast<int>(filter_id);
  if (id == 0) {
    client = VORN_LOG_CLIENT_PANIC;
  } else if (module_name(id) != nullptr) {
    vorn_string_memcpy(search, module_name(id), sizeof search);
  } else if (id >= kFirstEvent && id <= kLastEvent) {
    vorn_keylog_event_name(id, search);
  } else {
    VORN_LOG(VORN_ERR, "filter_id:%d out of range\n", static_cast<int>(filter_id));
    return 0;
  }
  if (buffer == nullptr || buffer_size == 0) return 0;
  log_client_setting setting = settings_of(client);
  if (!collect_matches(setting.name, search, buffer, buffer_size)) return 0;
  for (int number = setting.file_numer - 1; number >= 1; --number) {
    if (!collect_matches(numbered(setting, number), search, buffer, buffer_size)) return 0;
  }
  return 0;
}

VORNPAL_API int vorn_paniclog_write_file(void) {
  std::string text = modem_panic_text();
  log_client_setting setting = settings_of(VORN_LOG_CLIENT_PANIC);
  bool file_exists = false;
  bool stored = panic_file_starts_with(setting, text, file_exists);
  if (file_exists && (stored || text.find("panic_log") == std::string::npos)) {
    VORN_LOG(VORN_INFO, "no panic log to updata\n");
    return 0;
  }
  vorn_log_write_file(text.c_str(), VORN_LOG_CLIENT_PANIC);
  return 0;
}

}  // extern "C"
