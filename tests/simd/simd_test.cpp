// The daemon fixture's processes (simd_test.h).
#include "simd_test.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace simdt {
namespace {

bool listening(const std::string &path) {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::strncpy(addr.sun_path, path.c_str(), sizeof addr.sun_path - 1);
  bool ok = fd >= 0 && connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0;
  if (fd >= 0) close(fd);
  return ok;
}

pid_t spawn_daemon(const std::string &dir, const std::vector<std::string> &options) {
  vt::make_dirs(dir);
  const std::string program = vt::tool_path("vornsimd");
  pid_t pid = fork();
  if (pid != 0) return pid;
  int log = open((dir + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
  if (log >= 0) dup2(log, 2);
  unsetenv("VORNSIM_SOCKET");
  std::vector<std::string> args = {program, "--dir", dir};
  args.insert(args.end(), options.begin(), options.end());
  std::vector<char *> argv;
  for (auto &a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

// Starts the suite's daemon before the first test and makes this process
// its client; ends it after the last.
class SuiteDaemon : public ::testing::Environment {
 public:
  void SetUp() override {
    if (vt::tools_unavailable() != nullptr) return;
    daemon() = Daemon::start("/tmp/simd-suite", {"--max-queued-indications", "64"});
    if (daemon().pid != 0) setenv("VORNSIM_SOCKET", daemon().socket().c_str(), 1);
  }
  void TearDown() override {
    if (daemon().pid == 0) return;
    EXPECT_EQ(daemon().stop(SIGTERM), 0);
  }
  static Daemon &daemon() {
    static Daemon instance;
    return instance;
  }
};

::testing::Environment *const g_suite_daemon = ::testing::AddGlobalTestEnvironment(new SuiteDaemon);

}  // namespace

const Daemon &suite_daemon() { return SuiteDaemon::daemon(); }

Daemon Daemon::start(const std::string &dir, const std::vector<std::string> &options) {
  Daemon d;
  d.dir = dir;
  d.pid = spawn_daemon(dir, options);
  if (!vt::eventually([&] { return listening(d.socket()); }, 10000)) {
    d.stop(SIGKILL);
    d.pid = 0;
  }
  return d;
}

int Daemon::run_to_end(const std::string &dir) {
  pid_t pid = spawn_daemon(dir, {});
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int Daemon::stop(int signal) {
  if (pid == 0) return -1;
  kill(pid, signal);
  int status = 0;
  waitpid(pid, &status, 0);
  pid = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string Daemon::log() const { return vt::read_file(dir + "/log"); }

Peer::Peer(const std::string &socket) {
  int in[2], out[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) return;
  const std::string program = std::string(std::getenv("VORNPAL_BINARY_DIR")) + "/tests/simd_peer";
  pid_ = fork();
  if (pid_ == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    setenv("VORNSIM_SOCKET", socket.c_str(), 1);
    execl(program.c_str(), program.c_str(), static_cast<char *>(nullptr));
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  to_ = in[1];
  from_ = out[0];
  reader_ = std::thread([this] { read_lines(); });
}

Peer::~Peer() {
  if (to_ >= 0) {
    send("exit");
    close(to_);
  }
  if (pid_ > 0) {
    // A peer that does not end by itself (it hangs in a request) is killed.
    if (!vt::eventually([this] { return waitpid(pid_, nullptr, WNOHANG) == pid_; }, 5000)) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  if (reader_.joinable()) reader_.join();
  if (from_ >= 0) close(from_);
}

void Peer::read_lines() {
  std::string partial;
  char buf[512];
  ssize_t n;
  while ((n = read(from_, buf, sizeof buf)) > 0) {
    partial.append(buf, static_cast<size_t>(n));
    size_t end;
    while ((end = partial.find('\n')) != std::string::npos) {
      std::lock_guard<std::mutex> lock(mutex_);
      lines_.push_back(partial.substr(0, end));
      partial.erase(0, end + 1);
      changed_.notify_all();
    }
  }
}

void Peer::send(const std::string &command) {
  const std::string line = command + "\n";
  if (write(to_, line.data(), line.size()) < 0) ADD_FAILURE() << "the peer is gone";
}

std::string Peer::ask(const std::string &command) {
  send(command);
  std::unique_lock<std::mutex> lock(mutex_);
  std::string result = "timeout";
  changed_.wait_for(lock, std::chrono::seconds(10), [&] {
    for (; answered_ < lines_.size(); ++answered_) {
      if (lines_[answered_].rfind("ok ", 0) == 0) {
        result = lines_[answered_++].substr(3);
        return true;
      }
    }
    return false;
  });
  return result;
}

bool Peer::printed(const std::string &line, int ms) {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, std::chrono::milliseconds(ms), [&] {
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const std::string &l) { return l.rfind(line, 0) == 0; });
  });
}

void Peer::kill_hard() {
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  pid_ = 0;
  close(to_);
  to_ = -1;
}

}  // namespace simdt
