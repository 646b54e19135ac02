// Key log: write lines, search them, show and set the clients' limits.
#include <vornpal/ini.h>
#include <vornpal/keylog.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "ctl.h"

namespace {

constexpr const char kSettingsFile[] = "/data/log_client_setting";
constexpr const char *kClientSections[] = {"fwa_client", "panic_client"};
constexpr unsigned int kDefaultFilterBytes = 16384;

// The text of a search result, one output line per log line.
void print_lines(ctl::Output &out, const std::string &text) {
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    out.line(line);
    start = end + 1;
  }
}

int keylog_write(const ctl::Args &args, ctl::Output &out) {
  long long module = 0;
  long long event = 0;
  if (!ctl::number_arg(args, 0, INT_MIN, INT_MAX, module) ||
      !ctl::number_arg(args, 1, INT_MIN, INT_MAX, event))
    return ctl::fail(out, "usage: keylog write MODULE EVENT [TEXT]", 2);
  vorn_log_get_logsetting();
  std::string text = ctl::joined(args, 2);
  vorn_keylog_write_file(static_cast<int>(module), static_cast<int>(event), "%s", text.c_str());
  out.field("module", static_cast<int>(module));
  out.field("event", static_cast<int>(event));
  out.field("text", text);
  return 0;
}

int keylog_filter(const ctl::Args &args, ctl::Output &out) {
  long long id = 0;
  long long size = kDefaultFilterBytes;
  if (args.empty() || !ctl::parse_number(args[0], id) ||
      (args.size() > 1 && (!ctl::parse_number(args[1], size) || size < 1)))
    return ctl::fail(out, "usage: keylog filter ID [BYTES]", 2);
  if (id < 0 || (id > 6 && id < 101) || id > 604)
    return ctl::fail(out, "filter id out of range: " + args[0], 2);
  vorn_log_get_logsetting();
  std::vector<char> buffer(static_cast<size_t>(size), '\0');
  vorn_keylog_filter(static_cast<unsigned int>(id), buffer.data(),
                     static_cast<unsigned int>(buffer.size()));
  print_lines(out, buffer.data());
  return 0;
}

int keylog_settings(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) {
    long long client = 0, size = 0, number = 0;
    if (args.size() != 3 || !ctl::number_arg(args, 0, 0, 1, client) ||
        !ctl::number_arg(args, 1, INT32_MIN, INT32_MAX, size) ||
        !ctl::number_arg(args, 2, INT32_MIN, INT32_MAX, number))
      return ctl::fail(out, "usage: keylog settings [CLIENT(0|1) SIZE_MIB FILES]", 2);
    vorn_set_log_client_setting(static_cast<int>(client), static_cast<int32_t>(size),
                                static_cast<int32_t>(number), kSettingsFile);
  }
  for (const char *section : kClientSections) {
    out.field(std::string(section) + ".log_size",
              static_cast<long long>(ini_getl(section, "log_size", 1, kSettingsFile)));
    out.field(std::string(section) + ".log_number",
              static_cast<long long>(ini_getl(section, "log_number", 2, kSettingsFile)));
  }
  return 0;
}

int keylog_panic(const ctl::Args &, ctl::Output &out) {
  vorn_log_get_logsetting();
  vorn_paniclog_write_file();
  std::vector<char> buffer(kDefaultFilterBytes, '\0');
  vorn_keylog_filter(0, buffer.data(), static_cast<unsigned int>(buffer.size()));
  print_lines(out, buffer.data());
  return 0;
}

ctl::Registrar reg({
    {"keylog write", "MODULE EVENT [TEXT]", "write a key-log line (modules 1-6, events 101-604)",
     keylog_write, "keylog write 2 201 'link up'"},
    {"keylog filter", "ID [BYTES]", "print key-log lines: 0 panic, 1-6 module, 101-604 event",
     keylog_filter, "keylog filter 2"},
    {"keylog settings", "[CLIENT SIZE FILES]", "show or set the log clients' limits",
     keylog_settings, "keylog settings\nkeylog settings 0 65536 3"},
    {"keylog panic", "", "copy the modem's panic log and print it", keylog_panic, "keylog panic"},
});

}  // namespace
