// Log settings and the watch files.
#include <climits>
#include <cstdio>
#include <string>

#include <vornpal/log.h>

#include "ctl.h"

namespace {

constexpr const char kLevelFile[] = "/data/.vornpalctl_log_level";
constexpr const char *kWatchFiles[] = {"/data/oem/logs/fwawatchA.log",
                                       "/data/oem/logs/fwawatchB.log"};

int log_level(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) {
    long long level = 0;
    if (!ctl::number_arg(args, 0, INT_MIN, INT_MAX, level))
      return ctl::fail(out, "not a level: " + args[0], 2);
    vorn_set_log_level(static_cast<int>(level));
    if (FILE *f = std::fopen(kLevelFile, "w")) {
      std::fprintf(f, "%d\n", vorn_get_log_level());
      std::fclose(f);
    }
  }
  out.field("level", vorn_get_log_level());
  return 0;
}

int log_tool(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) {
    long long enable = 0;
    if (!ctl::number_arg(args, 0, INT_MIN, INT_MAX, enable))
      return ctl::fail(out, "not a flag: " + args[0], 2);
    vorn_set_log_tool_enable(static_cast<int>(enable));
  }
  out.field("tool_enable", vorn_get_log_tool_enable());
  out.field("sink", vorn_get_log_tool_enable() ? "diag" : "console");
  return 0;
}

// Logs one line through the trace channel at the given level.
int log_say(const ctl::Args &args, ctl::Output &out) {
  long long level = 0;
  if (args.size() < 2 || !ctl::number_arg(args, 0, INT_MIN, INT_MAX, level))
    return ctl::fail(out, "usage: log say LEVEL TEXT", 2);
  std::string text = ctl::joined(args, 1);
  char buffer[VORN_LOG_MSG_BUF_SIZE] = {};
  int to_diag = vorn_log_printf(static_cast<int>(level), buffer, "vornpalctl", __LINE__, "%s\n",
                                text.c_str());
  out.field("passed", buffer[0] != '\0');
  out.field("channel", to_diag ? "diag" : "console");
  return 0;
}

int watch_add(const ctl::Args &args, ctl::Output &out) {
  std::string text = ctl::joined(args);
  oem_watch("vornpalctl", __LINE__, "%s", text.c_str());
  out.field("written", text);
  return 0;
}

int watch_show(const ctl::Args &, ctl::Output &out) {
  for (const char *path : kWatchFiles) {
    FILE *f = std::fopen(path, "r");
    if (f == nullptr) continue;
    char line[4096];
    while (std::fgets(line, sizeof line, f)) {
      std::string text(line);
      if (!text.empty() && text.back() == '\n') text.pop_back();
      out.line(text);
    }
    std::fclose(f);
  }
  return 0;
}

ctl::Registrar reg({
    {"log level", "[LEVEL]", "show or set the trace threshold (0-4)", log_level,
     "log level 2\n--json log level"},
    {"log tool", "[0|1]", "show or set the trace sink: 1 diag, 0 console", log_tool, "log tool 0"},
    {"log say", "LEVEL TEXT", "log one line through the trace channel", log_say,
     "log say 3 'daemon started'"},
    {"watchfile add", "TEXT", "append a milestone to the watch files", watch_add,
     "watchfile add 'bring-up done'"},
    {"watchfile show", "", "print the watch files", watch_show, "watchfile show"},
});

}  // namespace
