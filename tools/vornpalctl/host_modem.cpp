// The host's device: the sandbox, the state directory and the simulated
// modem's daemon (see host_modem.h).
#include "host_modem.h"

#include <fcntl.h>
#include <link.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <vornsim/daemon.h>
#include <vornsim/sim.h>

#include "ctl.h"

namespace ctl::host {
namespace {

// How long a starting daemon may take to listen.
constexpr auto kDaemonStart = std::chrono::seconds(10);
// The sandbox's process id, beside the socket.
constexpr char kNsFile[] = "vornsimd.ns";
constexpr char kLogFile[] = "vornsimd.log";

std::string default_state_dir() {
  if (const char *dir = std::getenv("VORNPALCTL_STATE")) return dir;
  if (const char *home = std::getenv("HOME")) return std::string(home) + "/.local/state/vornpalctl";
  return ".vornpalctl";
}

std::string self_path() {
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return "";
  self[n] = '\0';
  return self;
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

[[noreturn]] void exec_args(std::vector<std::string> args, const char *what) {
  std::vector<char *> cargs;
  for (auto &a : args) cargs.push_back(a.data());
  cargs.push_back(nullptr);
  execvp(cargs[0], cargs.data());
  std::fprintf(stderr, "vornpalctl: cannot %s: %s\n", what, std::strerror(errno));
  _exit(1);
}

// The sandbox command line that runs this program with `words`.
std::vector<std::string> sandbox_args(const std::string &self, const std::string &state,
                                      const std::vector<std::string> &options,
                                      const std::vector<std::string> &words) {
  std::vector<std::string> args = {sandbox_script(self), "--state", state};
  for (const std::string &dir : loaded_dirs(self)) {
    args.emplace_back("--expose");
    args.push_back(dir);
  }
  args.insert(args.end(), options.begin(), options.end());
  args.emplace_back("--");
  args.push_back(self);
  args.insert(args.end(), words.begin(), words.end());
  return args;
}

std::vector<std::string> words_of(char **argv) {
  std::vector<std::string> words;
  for (char **a = argv + 1; *a; ++a) words.emplace_back(*a);
  return words;
}

struct Paths {
  std::string state;
  std::string modem;  // the store, bound as /vornsim
  std::string socket;
  std::string ns;
  std::string log;
};

Paths paths_of(const std::string &state_dir) {
  Paths p;
  p.state = state_dir;
  mkdir(p.state.c_str(), 0755);
  char real[PATH_MAX];
  if (realpath(p.state.c_str(), real) != nullptr) p.state = real;
  p.modem = p.state + "/modem";
  mkdir(p.modem.c_str(), 0755);
  p.socket = p.modem + "/" + vornsim::kDaemonSocket;
  p.ns = p.modem + "/" + kNsFile;
  p.log = p.modem + "/" + kLogFile;
  return p;
}

bool socket_answers(const std::string &path) {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  if (fd < 0 || path.size() >= sizeof addr.sun_path) return false;
  std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
  bool ok = connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0;
  close(fd);
  return ok;
}

// The sandbox process of the running daemon, or 0.
pid_t daemon_sandbox(const Paths &p) {
  std::ifstream in(p.ns);
  long pid = 0;
  if (!(in >> pid) || pid <= 0 || kill(static_cast<pid_t>(pid), 0) != 0) return 0;
  return socket_answers(p.socket) ? static_cast<pid_t>(pid) : 0;
}

// Reads bwrap's {"child-pid": N} from fd.
pid_t read_child_pid(int fd) {
  std::string info;
  char buf[256];
  ssize_t n;
  while ((n = read(fd, buf, sizeof buf)) > 0) {
    info.append(buf, static_cast<size_t>(n));
    if (info.find('}') != std::string::npos) break;
  }
  size_t at = info.find("child-pid");
  if (at == std::string::npos) return 0;
  at = info.find(':', at);
  return at == std::string::npos ? 0 : static_cast<pid_t>(std::atol(info.c_str() + at + 1));
}

void write_ns(const Paths &p, pid_t pid) {
  std::ofstream out(p.ns, std::ios::trunc);
  out << pid << "\n";
}

// Starts the sandbox that runs `modem serve`: detached with its output in
// the daemon's log, or in the foreground. Gives the sandbox's pid (and the
// starter's child, to wait for, in the foreground).
pid_t start_serving(const std::string &self, const Paths &p, bool detach, pid_t &child) {
  int info[2];
  if (pipe(info) != 0) return 0;
  child = fork();
  if (child < 0) return 0;
  if (child == 0) {
    close(info[0]);
    if (info[1] != 3) {
      dup2(info[1], 3);
      close(info[1]);
    }
    std::vector<std::string> options = {"--info-fd", "3"};
    if (detach) {
      setsid();
      options.emplace_back("--detach");
      int log = open(p.log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
      int null = open("/dev/null", O_RDONLY);
      if (log >= 0) dup2(log, 1), dup2(log, 2);
      if (null >= 0) dup2(null, 0);
    }
    exec_args(sandbox_args(self, p.state, options, {"modem", "serve"}), "start the sandbox");
  }
  close(info[1]);
  pid_t sandbox = read_child_pid(info[0]);
  close(info[0]);
  if (sandbox > 0) write_ns(p, sandbox);
  return sandbox;
}

// The running daemon's sandbox, started when none runs.
pid_t ensure_daemon(const std::string &self, const Paths &p) {
  if (pid_t running = daemon_sandbox(p)) return running;
  pid_t starter = 0;
  pid_t sandbox = start_serving(self, p, true, starter);
  if (sandbox <= 0) {
    std::fprintf(stderr, "vornpalctl: cannot start the modem daemon (see %s)\n", p.log.c_str());
    return 0;
  }
  const auto deadline = std::chrono::steady_clock::now() + kDaemonStart;
  while (!socket_answers(p.socket)) {
    int status = 0;
    if (waitpid(starter, &status, WNOHANG) == starter || std::chrono::steady_clock::now() > deadline) {
      std::fprintf(stderr, "vornpalctl: the modem daemon did not start (see %s)\n", p.log.c_str());
      return 0;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return sandbox;
}

// Runs this program with `words` inside the daemon's sandbox, as its client.
[[noreturn]] void enter(const std::string &self, pid_t sandbox, const std::vector<std::string> &words) {
  setenv("VORNPAL_SANDBOX", "1", 1);
  setenv("VORNSIM_SOCKET", (std::string(kModemStore) + "/" + vornsim::kDaemonSocket).c_str(), 1);
  std::vector<std::string> args = {"nsenter", "-t", std::to_string(sandbox), "-m", "-n", "-i", "-u",
                                   "-p",      "-r", "-w", "--", self};
  args.insert(args.end(), words.begin(), words.end());
  exec_args(args, "enter the modem's sandbox (nsenter)");
}

bool is(const Command &command, const char *path) { return std::strcmp(command.path, path) == 0; }

int outside(char **argv, const std::string &state_dir, const Command &command) {
  const std::string self = self_path();
  if (self.empty()) return 1;
  const Paths p = paths_of(state_dir.empty() ? default_state_dir() : state_dir);
  const auto words = words_of(argv);
  if (is(command, "modem serve")) {
    if (daemon_sandbox(p) != 0) {
      std::fprintf(stderr, "vornpalctl: a modem daemon already serves %s\n", p.state.c_str());
      return 1;
    }
    pid_t child = 0;
    if (start_serving(self, p, false, child) <= 0) return 1;
    int status = 0;
    waitpid(child, &status, 0);
    unlink(p.ns.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
  }
  if (is(command, "modem stop")) {
    pid_t sandbox = daemon_sandbox(p);
    if (sandbox == 0) {
      std::fprintf(stderr, "vornpalctl: no modem daemon runs for %s\n", p.state.c_str());
      return 0;
    }
    pid_t child = fork();
    if (child == 0) enter(self, sandbox, words);
    int status = 0;
    waitpid(child, &status, 0);
    // The daemon saves its state and ends; its sandbox goes with it.
    for (int i = 0; i < 500 && kill(sandbox, 0) == 0; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    unlink(p.ns.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
  }
  pid_t sandbox = ensure_daemon(self, p);
  if (sandbox == 0) return 1;
  enter(self, sandbox, words);
}

}  // namespace

int run_in_daemon(const std::vector<std::string> &words, bool json) {
  vornsim::CommandResult result = vornsim::run_in_daemon(words, json);
  std::fputs(result.out.c_str(), stdout);
  std::fputs(result.err.c_str(), stderr);
  return result.status;
}

vornsim::CommandResult run_modem_command(const std::vector<std::string> &words, bool json) {
  vornsim::CommandResult result;
  size_t consumed = 0;
  const Command *command = find_command(words, consumed);
  if (command == nullptr || !command->in_modem) {
    result.status = 2;
    result.err = "vornpalctl: not a command of the modem: " + joined(words) + "\n";
    return result;
  }
  Capture capture;
  result.status = run_words(words, json);
  result.out = capture.out;
  result.err = capture.err;
  return result;
}

int run(char **argv, const std::string &state_dir, const Command &command,
        const std::function<int()> &local, const std::function<int()> &in_daemon) {
  const char *sandboxed = std::getenv("VORNPAL_SANDBOX");
  if (sandboxed == nullptr || std::strcmp(sandboxed, "1") != 0) return outside(argv, state_dir, command);

  // What the device's boot would have made.
  mkdir("/data/oem", 0755);
  mkdir("/data/oem/logs", 0755);
  if (vornsim::using_daemon()) {
    int rc = command.in_modem ? in_daemon() : local();
    // Indications still on their way would reach the library while the
    // process ends and its statics go.
    if (!is(command, "modem stop")) vornsim::drain();
    return rc;
  }
  if (is(command, "modem serve") || is(command, "modem run")) return local();
  // A modem of this process only, loaded from the store and saved after.
  vornsim::reset();
  vornsim::load_state(kModemStore);
  int rc = local();
  vornsim::drain();
  vornsim::save_state(kModemStore);
  return rc;
}

}  // namespace ctl::host
