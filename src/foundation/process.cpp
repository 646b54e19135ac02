// Shell commands and child processes.
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vornpal/process.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "foundation/unique_fd.h"

namespace {

// ---- exit status words -------------------------------------------------------

int signal_part(int status) { return status & 0x7f; }
int exit_code(int status) { return (status >> 8) & 0xff; }

struct PipeStream {
  FILE *file;
  ~PipeStream() {
    if (file != nullptr) pclose(file);
  }
  // Closes the stream and waits for the command: its status word.
  int close() {
    FILE *open_file = file;
    file = nullptr;
    return pclose(open_file);
  }
};

// ---- programs run without a shell --------------------------------------------

constexpr size_t kCommandMax = 512;
constexpr size_t kMaxArguments = 32;
// The limit is the child's allowed silence, a property of the commands run
// rather than a pacing wait of the library: it stays real under a time
// scale, since a scaled limit of milliseconds would kill commands that are
// still starting up.
constexpr int kInactivityLimitMs = 2000;

constexpr const char *kTrustedDirectories[] = {"/system/bin", "/bin", "/usr/bin", "/sbin",
                                               "/usr/sbin"};

struct AllowedProgram {
  const char *word;
  const char *path;
};

constexpr AllowedProgram kAllowedPrograms[] = {
    {"iptables", "/usr/sbin/iptables"},
    {"ip6tables", "/usr/sbin/ip6tables"},
    {"ip", "/sbin/ip"},
    {"ndc", "ndc"},
    {"ifconfig", "/sbin/ifconfig"},
    {"tc", "/sbin/tc"},
    {"rm", "/bin/rm"},
    {"echo", "/bin/echo"},
    {"ls", "/bin/ls"},
    {"sleep", "/bin/sleep"},
};

// The program path of the command's first word, or "" when it may not run.
std::string resolve_program(const std::string &word) {
  for (const char *directory : kTrustedDirectories) {
    if (word.find(directory) != std::string::npos) return word;
  }
  for (const AllowedProgram &program : kAllowedPrograms) {
    if (word == program.word) return program.path;
  }
  return "";
}

std::string first_word(const char *command) {
  const char *start = command + std::strspn(command, " ");
  return std::string(start, std::strcspn(start, " "));
}

// The words of the command (empty ones skipped), the first one replaced by
// the program path. False when there are more than the child may take.
bool split_arguments(const char *command, const std::string &program,
                     std::vector<std::string> &arguments) {
  for (const char *at = command; *at != '\0';) {
    size_t length = std::strcspn(at, " ");
    if (length > 0) {
      if (arguments.size() == kMaxArguments) return false;
      arguments.emplace_back(at, length);
    }
    at += length + (at[length] == ' ' ? 1 : 0);
  }
  if (arguments.empty()) return false;
  arguments[0] = program;
  return true;
}

using Fd = vorn::UniqueFd;

struct Pipe {
  Fd read_end;
  Fd write_end;
  // Both ends close on exec, so children that other threads start at the
  // same moment never hold them; the child of this call re-opens its own.
  bool make() {
    int fds[2];
    int ret = pipe2(fds, O_CLOEXEC);
    VORN_LOG(VORN_DBUG, "ret=%d\n", ret);
    if (ret != 0) return false;
    read_end.reset(fds[0]);
    write_end.reset(fds[1]);
    return true;
  }
};

// What the child does between vfork and exec. It runs on the caller's
// memory while the caller's thread waits, so it makes system calls only: no
// allocation, no lock. A handler of the caller would run on that memory as
// well, so every handled signal goes back to its default before the caller's
// mask returns. The first pipe stays open in the program, so that its end
// tells the parent that the program is gone; an exec failure sends errno
// through it.
[[noreturn]] void run_child(char *const argv[], int status_fd, int output_fd,
                            const sigset_t &caller_mask) {
  struct sigaction default_action {};
  default_action.sa_handler = SIG_DFL;
  for (int sig = 1; sig < NSIG; ++sig) {
    struct sigaction action {};
    if (sigaction(sig, nullptr, &action) != 0) continue;
    if (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN)
      sigaction(sig, &default_action, nullptr);
  }
  sigprocmask(SIG_SETMASK, &caller_mask, nullptr);
  dup2(output_fd, STDOUT_FILENO);
  dup2(output_fd, STDERR_FILENO);
  fcntl(status_fd, F_SETFD, 0);
  execvp(argv[0], argv);
  int error = errno;
  if (write(status_fd, &error, sizeof error) < 0) _exit(-1);
  _exit(-1);
}

// Starts the child without a copy of the caller's address space, which a
// daemon with a large heap would pay for at every command; the caller's
// thread is held until the program runs. Signals stay blocked meanwhile so
// that none reaches a handler in the child before it has reset them.
pid_t start_child(char *const argv[], int status_fd, int output_fd) {
  sigset_t all, caller_mask;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &caller_mask);
  pid_t pid = vfork();
  if (pid == 0) run_child(argv, status_fd, output_fd, caller_mask);
  pthread_sigmask(SIG_SETMASK, &caller_mask, nullptr);
  return pid;
}

// Collects the child's output until both pipes are closed, or kills the
// child after kInactivityLimitMs of silence. Returns false after a kill or a
// failed poll. status_bytes receives what came through the first pipe.
bool drain_child(pid_t pid, Pipe &status_pipe, Pipe &output_pipe, char *output,
                 unsigned int output_size, std::string &status_bytes) {
  size_t kept = 0;
  if (output != nullptr && output_size > 0) output[0] = '\0';
  std::array<Fd *, 2> ends = {&status_pipe.read_end, &output_pipe.read_end};
  while (ends[0]->open() || ends[1]->open()) {
    pollfd fds[2];
    for (size_t i = 0; i < ends.size(); ++i) fds[i] = {ends[i]->get(), POLLIN, 0};
    int ready = poll(fds, 2, kInactivityLimitMs);
    if (ready < 0 && errno == EINTR) {
      VORN_LOG(VORN_INFO, "(): select() was interrupted, continuing");
      continue;
    }
    if (ready < 0) {
      int error = errno;
      VORN_LOG(VORN_INFO, "[cpid:%d] Failed to select() -> %d:%s\n", static_cast<int>(getpid()),
               error, std::strerror(error));
      return false;
    }
    if (ready == 0) {
      if (kill(pid, SIGKILL) == 0) {
        VORN_LOG(VORN_INFO, "[cpid:%d] ds_exec kill()ed pid %d with SIGKILL\n",
                 static_cast<int>(getpid()), static_cast<int>(pid));
      } else {
        int error = errno;
        VORN_LOG(VORN_INFO, "[cpid:%d] ds_exec tried kill(); failed with error %d - %s\n",
                 static_cast<int>(getpid()), error, std::strerror(error));
      }
      return false;
    }
    for (size_t i = 0; i < ends.size(); ++i) {
      if (fds[i].revents == 0) continue;
      char chunk[256];
      ssize_t got = read(fds[i].fd, chunk, sizeof chunk);
      if (got <= 0) {
        if (got < 0 && errno == EINTR) continue;
        ends[i]->reset();
        continue;
      }
      if (i == 0) {
        status_bytes.append(chunk, static_cast<size_t>(got));
      } else if (output != nullptr && output_size > 0) {
        size_t room = output_size - 1 - kept;
        size_t take = std::min(room, static_cast<size_t>(got));
        std::memcpy(output + kept, chunk, take);
        kept += take;
        output[kept] = '\0';
      }
    }
  }
  return true;
}

int wait_for(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

// The half of vorn_ds_system_call3 that starts and watches the child.
int vorn_ds_exec_internal(const char *command, const std::string &program, char *output,
                          unsigned int output_size, bool log_command) {
  std::string child_command(command);
  if (log_command) VORN_LOG(VORN_INFO, "(): Executing command \"%s\"\n", child_command.c_str());
  std::vector<std::string> arguments;
  if (!split_arguments(child_command.c_str(), program, arguments)) {
    VORN_LOG(VORN_INFO, "(): command is too long\n");
    return -1;
  }
  std::vector<char *> argv;
  for (std::string &argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  Pipe status_pipe;
  Pipe output_pipe;
  if (!status_pipe.make() || !output_pipe.make()) return -1;
  pid_t pid = start_child(argv.data(), status_pipe.write_end.get(), output_pipe.write_end.get());
  if (pid < 0) return -1;

  VORN_LOG(VORN_INFO, "[cpid:%d] Spawned child PID(%d) command:\"%s\"\n",
           static_cast<int>(getpid()), static_cast<int>(pid), child_command.c_str());
  status_pipe.write_end.reset();
  output_pipe.write_end.reset();
  std::string status_bytes;
  bool finished = drain_child(pid, status_pipe, output_pipe, output, output_size, status_bytes);
  if (!finished) {
    // A killed child is reaped at once; one left by a failed poll is reaped
    // when it ends.
    status_pipe.read_end.reset();
    output_pipe.read_end.reset();
    if (waitpid(pid, nullptr, WNOHANG) == 0) {
      kill(pid, SIGKILL);
      wait_for(pid);
    }
    return -1;
  }
  int status = wait_for(pid);
  if (status_bytes.size() == sizeof(int)) {
    int error = 0;
    std::memcpy(&error, status_bytes.data(), sizeof error);
    VORN_LOG(VORN_INFO, "exec() failed: %d:%s\nDying\n", error, std::strerror(error));
  }
  if (status >= 0 && WIFEXITED(status)) {
    VORN_LOG(VORN_INFO, "[cpid:%d] Process exited normally with rc=%d\n",
             static_cast<int>(getpid()), WEXITSTATUS(status));
    return WEXITSTATUS(status) == 0 ? 0 : -1;
  }
  VORN_LOG(VORN_INFO, "(): [cpid:%d] wait_pid = %d\n", static_cast<int>(getpid()),
           static_cast<int>(pid));
  return -1;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_system_call(const char *command, unsigned int length) {
  size_t actual = command != nullptr ? std::strlen(command) : 0;
  if (command == nullptr || actual != length) {
    VORN_LOG(VORN_ERR, "System call length mismatch: %d != %d\n", static_cast<int>(actual),
             static_cast<int>(length));
    return -1;
  }
  VORN_LOG(VORN_DBUG, "System call: %s\n", command);
  int status = std::system(command);
  if (status == -1) {
    VORN_LOG(VORN_ERR, "system error!\n");
    return -1;
  }
  if (signal_part(status) != 0) {
    VORN_LOG(VORN_ERR, "result=%d, exit status = [%d]\n", status, exit_code(status));
    return status;
  }
  if (exit_code(status) == 0) {
    VORN_LOG(VORN_DBUG, "run shell script successfully result=%d.\n", status);
    return 0;
  }
  VORN_LOG(VORN_ERR, "run shell script fail=%d, script exit code: %d\n", status, exit_code(status));
  return status;
}

VORNPAL_API int vorn_system_call_var_arg(char *buffer, unsigned int size, const char *format, ...) {
  if (buffer == nullptr || format == nullptr || size == 0) return -1;
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, size, format, args);
  va_end(args);
  return vorn_system_call(buffer, static_cast<unsigned int>(std::strlen(buffer)));
}

VORNPAL_API int vorn_system_call_ex(const char *command, unsigned int length) {
  size_t actual = command != nullptr ? std::strlen(command) : 0;
  if (command == nullptr || actual != length) {
    VORN_LOG(VORN_ERR, "system call length mismatch: %d != %d\n", static_cast<int>(actual),
             static_cast<int>(length));
    return -1;
  }
  VORN_LOG(VORN_DBUG, "system call: %s\n", command);
  PipeStream stream{popen(command, "w")};
  if (stream.file == nullptr) {
    int error = errno;
    VORN_LOG(VORN_ERR, "system command failed\n");
    VORN_LOG(VORN_ERR, "system command failed, rc=%d errno: %d\n", -1, error);
    return -1;
  }
  int status = stream.close();
  int rc = status == -1 ? -1 : signal_part(status) != 0 ? status : exit_code(status);
  if (rc != 0) VORN_LOG(VORN_ERR, "system command failed, rc=%d errno: %d\n", rc, errno);
  return rc;
}

VORNPAL_API int vorn_popen_call(const char *command, char *result, unsigned int size) {
  if (command == nullptr) {
    VORN_LOG(VORN_ERR, "popen call:%s fail[%s]\n", "(null)", "parameter invaild!");
    return -1;
  }
  PipeStream stream{popen(command, "r")};
  if (stream.file == nullptr) {
    VORN_LOG(VORN_ERR, "popen call:%s fail[%s]\n", command, std::strerror(errno));
    return -1;
  }
  if (result != nullptr) {
    // Lines are read in pieces of at most size - 2 bytes, and of one byte
    // for a result of two bytes: a piece of none would never end the loop.
    // A result under two bytes holds no text, and nothing is read.
    size_t line_size = std::max<size_t>(size, 2);
    std::unique_ptr<char, decltype(&std::free)> line(
        static_cast<char *>(std::calloc(1, line_size)), &std::free);
    if (line == nullptr) {
      VORN_LOG(VORN_ERR, "result_str is NULL!");
      return -1;
    }
    if (size > 0) std::memset(result, 0, size);
    int line_limit = static_cast<int>(std::min<size_t>(std::max<size_t>(size - 1, 2), INT_MAX));
    while (size >= 2 && std::fgets(line.get(), line_limit, stream.file)) {
      if (size <= std::strlen(result) + std::strlen(line.get())) {
        VORN_LOG(VORN_ERR, "result_buf Exceeded max len.\n");
        break;
      }
      std::strcat(result, line.get());
      VORN_LOG(VORN_DBUG, "Line string:%s", line.get());
    }
  }
  VORN_LOG(VORN_DBUG, "popen call: %s success. result string:%s\n", command,
           (result != nullptr && size > 0) ? result : "");
  stream.close();
  return 0;
}

VORNPAL_API int vorn_popen_call_ex(const char *command, char *result, unsigned int size) {
  if (command == nullptr || result == nullptr) {
    VORN_LOG(VORN_ERR, "popen call:%s fail[%s]\n", command != nullptr ? command : "(null)",
             "parameter invaild!");
    return -1;
  }
  PipeStream stream{popen(command, "r")};
  if (stream.file == nullptr) {
    VORN_LOG(VORN_ERR, "popen call:%s fail[%s]\n", command, std::strerror(errno));
    return -1;
  }
  vorn::clk::sleep_s(1);
  if (size == 0) return 0;
  std::memset(result, 0, size);
  size_t length = 0;
  char line[512];
  while (std::fgets(line, sizeof line, stream.file)) {
    std::snprintf(result + length, size - length, "%s", line);
    length = std::strlen(result);
    if (length >= size - 1) {
      VORN_LOG(VORN_DBUG, "len=%d,%d\n", static_cast<int>(length), static_cast<int>(size));
      break;
    }
  }
  return 0;
}

VORNPAL_API int vorn_ds_system_call3(const char *command, uint32_t, char *output,
                                     unsigned int output_size, unsigned char log_command) {
  if (command == nullptr) return -1;
  if (std::strlen(command) >= kCommandMax) {
    VORN_LOG(VORN_ERR,
             "unable to re-direct stderr: command string too long.Command string was: %s\n",
             command);
    return -1;
  }
  std::string program = resolve_program(first_word(command));
  if (program.empty()) return -1;
  return vorn_ds_exec_internal(command, program, output, output_size, log_command != 0);
}

}  // extern "C"
