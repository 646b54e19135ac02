#include "ctl_run.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>

#include "vornpal_test.h"

namespace vt {

const char *tools_unavailable() {
  if (std::getenv("VORNPAL_BINARY_DIR") == nullptr) return "run through ctest to find the build's tools";
  if (emulated()) return "the build's tools are host programs";
  return nullptr;
}

std::string tool_path(const std::string &name) {
  const char *dir = std::getenv("VORNPAL_BINARY_DIR");
  return std::string(dir != nullptr ? dir : ".") + "/tools/" + name;
}

CtlRun ctl(const std::string &args, const std::string &environment) {
  CtlRun run{-1, ""};
  std::string command = tool_path("vornpalctl") + " " + args + " 2>&1";
  if (!environment.empty()) command = environment + " " + command;
  FILE *pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return run;
  char chunk[512];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) run.output.append(chunk, got);
  int status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

}  // namespace vt
