// The command table of vornpalctl: the families register their commands
// here, and the tool (main.cpp) and the modem daemon find and run them.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <vornpal/log.h>

#include "ctl.h"
#if VORNPAL_CTL_HOST_MODEM
#include "host_modem.h"
#endif

namespace ctl {
namespace {

std::vector<Command> &commands() {
  static std::vector<Command> list;
  return list;
}

std::vector<WatchSource> &sources() {
  static std::vector<WatchSource> list;
  return list;
}


}  // namespace

const Command *find_command(const Args &words, size_t &consumed) {
  const Command *best = nullptr;
  for (const Command &c : commands()) {
    Args path;
    for (const char *p = c.path; *p;) {
      const char *space = std::strchr(p, ' ');
      size_t len = space ? static_cast<size_t>(space - p) : std::strlen(p);
      path.emplace_back(p, len);
      p += len + (space ? 1 : 0);
    }
    if (path.size() > words.size() || (best && path.size() <= consumed)) continue;
    if (std::equal(path.begin(), path.end(), words.begin())) {
      best = &c;
      consumed = path.size();
    }
  }
  return best;
}

namespace {

// Settings of the tool itself that the library keeps only in memory.
void apply_saved_log_settings() {
  if (FILE *f = std::fopen("/data/.vornpalctl_log_level", "r")) {
    int level = 1;
    if (std::fscanf(f, "%d", &level) == 1) vorn_set_log_level(level);
    std::fclose(f);
  }
  // /data/log_enable holds the inverse of the flag.
  if (FILE *f = std::fopen("/data/log_enable", "r")) {
    int c = std::fgetc(f);
    std::fclose(f);
    if (c == '0' || c == '1') vorn_set_log_tool_enable(c == '0' ? 1 : 0);
  }
}

}  // namespace

#if VORNPAL_CTL_HOST_MODEM
const char *const kUsage = "usage: vornpalctl [--json] [--state DIR] COMMAND [ARG]...\n";
const char *const kAbout = host::kAbout;
#else
const char *const kUsage = "usage: vornpalctl [--json] COMMAND [ARG]...\n";
const char *const kAbout = "Drives libvornpal on this device.\n";
#endif

void print_help() {
  std::printf("%s\n%s\ncommands:\n", kUsage, kAbout);
  for (const Command &c : sorted_commands()) std::printf("  %-28s %-24s %s\n", c.path, c.usage, c.help);
}

std::vector<Command> sorted_commands() {
  std::vector<Command> sorted = commands();
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Command &a, const Command &b) { return std::strcmp(a.path, b.path) < 0; });
  return sorted;
}

Registrar::Registrar(std::initializer_list<Command> list) {
  commands().insert(commands().end(), list.begin(), list.end());
}

ModemRegistrar::ModemRegistrar(std::initializer_list<Command> list) {
  for (Command command : list) {
    command.in_modem = true;
    commands().push_back(command);
  }
}

int run_words(const Args &words, bool json) {
  size_t consumed = 0;
  const Command *command = find_command(words, consumed);
  if (command == nullptr) {
    print_err("vornpalctl: unknown command '" + (words.empty() ? std::string() : words[0]) +
              "' (see vornpalctl --help)\n");
    return 2;
  }
  apply_saved_log_settings();
  Output out(json);
  return command->run(Args(words.begin() + static_cast<long>(consumed), words.end()), out);
}

WatchRegistrar::WatchRegistrar(const WatchSource &source) { sources().push_back(source); }
const std::vector<WatchSource> &watch_sources() { return sources(); }

}  // namespace ctl

