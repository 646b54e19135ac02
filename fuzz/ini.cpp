// Fuzzes the settings-file reader and writer with arbitrary file content.
// Runs inside the sandbox (it writes under /tmp).
#include <unistd.h>
#include <vornpal/ini.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "sandbox_check.h"

namespace {

const std::string &file_path() {
  static const std::string path = "/tmp/fuzz-ini-" + std::to_string(getpid()) + ".ini";
  return path;
}

void write_file(const std::string &path, const uint8_t *data, size_t size) {
  FILE *file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) std::abort();
  std::fwrite(data, 1, size, file);
  std::fclose(file);
}

int count_keys(const char *, const char *key, const char *value, void *data) {
  *static_cast<size_t *>(data) += std::strlen(key) + std::strlen(value);
  return 1;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  require_sandbox();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string &path = file_path();
  write_file(path, data, size);

  char section[INI_BUFFERSIZE];
  char key[INI_BUFFERSIZE];
  char value[INI_BUFFERSIZE];
  for (int s = 0; s < 4 && ini_getsection(s, section, sizeof section, path.c_str()) > 0; ++s) {
    for (int k = 0; k < 4 && ini_getkey(section, k, key, sizeof key, path.c_str()) > 0; ++k) {
      int length = ini_gets(section, key, "default", value, sizeof value, path.c_str());
      if (length != static_cast<int>(std::strlen(value))) std::abort();
      ini_getl(section, key, 7, path.c_str());
      ini_getf(section, key, 1.5f, path.c_str());
      ini_getbool(section, key, 2, path.c_str());
    }
  }
  char small[3];
  ini_gets("", "key", "fallback", small, sizeof small, path.c_str());
  size_t seen = 0;
  ini_browse(count_keys, &seen, path.c_str());

  // Writes must keep the file readable and land where they were asked to.
  if (ini_getsection(0, section, sizeof section, path.c_str()) > 0 &&
      std::strpbrk(section, "[]=:;#") == nullptr && std::strlen(section) < 64) {
    ini_puts(section, "fuzz_key", "a;b \"c\"", path.c_str());
    ini_gets(section, "fuzz_key", "", value, sizeof value, path.c_str());
    if (std::strcmp(value, "a;b \"c\"") != 0) std::abort();
    ini_puts(section, "fuzz_key", nullptr, path.c_str());
    ini_puts(section, nullptr, nullptr, path.c_str());
  }
  ini_putl("fuzz", "number", 42, path.c_str());
  if (ini_getl("fuzz", "number", 0, path.c_str()) != 42) std::abort();
  return 0;
}
