// vornpalctl: inspect and drive libvornpal from a shell. On the device it
// is the developer's diagnostic tool; on a host (VORNPAL_CTL_HOST_MODEM) it
// runs in the sandbox against the simulated modem (host_modem.h).
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

void print_help() {
  std::printf("%s\n%s\ncommands:\n", kUsage, kAbout);
  for (const Command &c : sorted_commands()) std::printf("  %-28s %-24s %s\n", c.path, c.usage, c.help);
}

// The command whose path matches the most leading words.
const Command *find(const Args &words, size_t &consumed) {
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

std::vector<Command> sorted_commands() {
  std::vector<Command> sorted = commands();
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Command &a, const Command &b) { return std::strcmp(a.path, b.path) < 0; });
  return sorted;
}

Registrar::Registrar(std::initializer_list<Command> list) {
  commands().insert(commands().end(), list.begin(), list.end());
}

WatchRegistrar::WatchRegistrar(const WatchSource &source) { sources().push_back(source); }
const std::vector<WatchSource> &watch_sources() { return sources(); }

}  // namespace ctl

int main(int argc, char **argv) {
  bool json = false;
  std::string state;  // the host modem's state directory
  ctl::Args words;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "--json") {
      json = true;
    } else if (arg == "--state" && i + 1 < argc) {
      state = argv[++i];
    } else if (arg == "-h" || arg == "--help") {
      ctl::print_help();
      return 0;
    } else if (arg == "--man") {
      ctl::print_manual();
      return 0;
    } else if (arg == "--bash-completion") {
      ctl::print_bash_completion();
      return 0;
    } else {
      words.push_back(arg);
    }
  }
  if (words.empty()) {
    ctl::print_help();
    return 2;
  }
  size_t consumed = 0;
  const ctl::Command *command = ctl::find(words, consumed);
  if (command == nullptr) {
    std::fprintf(stderr, "vornpalctl: unknown command '%s' (see vornpalctl --help)\n",
                 words[0].c_str());
    return 2;
  }
  auto run = [&] {
    ctl::apply_saved_log_settings();
    ctl::Output out(json);
    return command->run(ctl::Args(words.begin() + static_cast<long>(consumed), words.end()), out);
  };
#if VORNPAL_CTL_HOST_MODEM
  return ctl::host::run(argv, state, run);
#else
  (void)state;
  return run();
#endif
}
