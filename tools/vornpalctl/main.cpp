// vornpalctl: inspect and drive libvornpal from a shell. On a host it runs in
// the sandbox against the simulated modem, with its state (the /data and
// /tmp of the device, the modem's store) kept in a directory between runs.
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornsim/sim.h>

#include "ctl.h"

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

constexpr const char kModemStore[] = "/vornsim";

std::string default_state_dir() {
  if (const char *dir = std::getenv("VORNPALCTL_STATE")) return dir;
  if (const char *home = std::getenv("HOME")) return std::string(home) + "/.local/state/vornpalctl";
  return ".vornpalctl";
}

void print_help() {
  std::printf(
      "usage: vornpalctl [--json] [--state DIR] COMMAND [ARG]...\n\n"
      "Drives libvornpal against the simulated modem. State (the device's /data and\n"
      "/tmp, the modem's store) lives in DIR, by default $VORNPALCTL_STATE or\n"
      "~/.local/state/vornpalctl.\n\ncommands:\n");
  std::vector<Command> sorted = commands();
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Command &a, const Command &b) { return std::strcmp(a.path, b.path) < 0; });
  for (const Command &c : sorted) std::printf("  %-28s %-24s %s\n", c.path, c.usage, c.help);
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

// Directories of this program and of the libraries it loaded (libvornpal and
// the simulated modem may live in a build tree that the sandbox would hide).
std::set<std::string> loaded_dirs(const std::string &self) {
  std::set<std::string> dirs = {self.substr(0, self.rfind('/'))};
  dl_iterate_phdr(
      [](dl_phdr_info *info, size_t, void *data) {
        std::string path = info->dlpi_name != nullptr ? info->dlpi_name : "";
        if (path.size() > 1 && path[0] == '/')
          static_cast<std::set<std::string> *>(data)->insert(path.substr(0, path.rfind('/')));
        return 0;
      },
      &dirs);
  return dirs;
}

// Re-runs this program inside the sandbox with the state directory bound.
int run_in_sandbox(char **argv, const std::string &state) {
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return 1;
  self[n] = '\0';
  std::vector<std::string> args = {VORNPAL_SANDBOX_SCRIPT, "--state", state};
  for (const std::string &dir : loaded_dirs(self)) {
    args.emplace_back("--expose");
    args.push_back(dir);
  }
  args.emplace_back("--");
  args.emplace_back(self);
  for (char **a = argv + 1; *a; ++a) args.emplace_back(*a);
  std::vector<char *> cargs;
  for (auto &a : args) cargs.push_back(a.data());
  cargs.push_back(nullptr);
  execv(cargs[0], cargs.data());
  std::perror("vornpalctl: cannot start the sandbox");
  return 1;
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

Registrar::Registrar(std::initializer_list<Command> list) {
  commands().insert(commands().end(), list.begin(), list.end());
}

WatchRegistrar::WatchRegistrar(const WatchSource &source) { sources().push_back(source); }
const std::vector<WatchSource> &watch_sources() { return sources(); }

}  // namespace ctl

int main(int argc, char **argv) {
  bool json = false;
  std::string state = ctl::default_state_dir();
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
  const char *sandboxed = std::getenv("VORNPAL_SANDBOX");
  if (sandboxed == nullptr || std::strcmp(sandboxed, "1") != 0)
    return ctl::run_in_sandbox(argv, state);

  // What the device's boot would have made.
  mkdir("/data/oem", 0755);
  mkdir("/data/oem/logs", 0755);
  vornsim::reset();
  vornsim::load_state(ctl::kModemStore);
  ctl::apply_saved_log_settings();
  int rc;
  {
    ctl::Output out(json);
    rc = command->run(ctl::Args(words.begin() + static_cast<long>(consumed), words.end()), out);
  }
  vornsim::save_state(ctl::kModemStore);
  return rc;
}
