// The host's device: the sandbox, the state directory and the simulated
// modem's store (see host_modem.h).
#include "host_modem.h"

#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <vornsim/sim.h>

namespace ctl::host {
namespace {

std::string default_state_dir() {
  if (const char *dir = std::getenv("VORNPALCTL_STATE")) return dir;
  if (const char *home = std::getenv("HOME")) return std::string(home) + "/.local/state/vornpalctl";
  return ".vornpalctl";
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

// The sandbox script installed beside this program, or else the source
// tree's (a build tree has no copy).
std::string sandbox_script(const std::string &self) {
  std::string beside = self.substr(0, self.rfind('/')) + "/vornpal-sandbox";
  return access(beside.c_str(), X_OK) == 0 ? beside : VORNPAL_SANDBOX_SCRIPT;
}

// Re-runs this program inside the sandbox with the state directory bound.
int run_in_sandbox(char **argv, const std::string &state) {
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return 1;
  self[n] = '\0';
  std::vector<std::string> args = {sandbox_script(self), "--state", state};
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

}  // namespace

int run(char **argv, const std::string &state_dir, const std::function<int()> &command) {
  const char *sandboxed = std::getenv("VORNPAL_SANDBOX");
  if (sandboxed == nullptr || std::strcmp(sandboxed, "1") != 0)
    return run_in_sandbox(argv, state_dir.empty() ? default_state_dir() : state_dir);

  // What the device's boot would have made.
  mkdir("/data/oem", 0755);
  mkdir("/data/oem/logs", 0755);
  vornsim::reset();
  vornsim::load_state(kModemStore);
  int rc = command();
  // Indications still on their way would reach the library while the
  // process ends and its statics go.
  vornsim::drain();
  vornsim::save_state(kModemStore);
  return rc;
}

}  // namespace ctl::host
