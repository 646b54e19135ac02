// Shell commands and child processes, run for real inside the sandbox.
#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vornpal/log.h>
#include <vornpal/process.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "vornpal_test.h"

namespace {

// A stand-in program in the sandbox's writable /usr/local/sbin.
std::string install_tool(const std::string &name, const std::string &body) {
  std::string path = "/usr/local/sbin/" + name;
  vt::write_file(path, "#!/bin/sh\n" + body + "\n");
  chmod(path.c_str(), 0755);
  return path;
}

bool logged_containing(const std::string &part) {
  for (const std::string &text : vt::diag_texts()) {
    if (text.find(part) != std::string::npos) return true;
  }
  return false;
}

int lines_from(const std::string &func) {
  int count = 0;
  for (const auto &line : vornsim::diag_lines()) count += line.func == func;
  return count;
}

int open_descriptors() {
  int count = 0;
  DIR *dir = opendir("/proc/self/fd");
  while (dirent *entry = readdir(dir)) count += entry->d_name[0] != '.';
  closedir(dir);
  return count;
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct DebugLevel {
  DebugLevel() { vorn_set_log_level(0); }
  ~DebugLevel() { vorn_set_log_level(1); }
};

TEST(Process, SystemCallReportsStatusWords) {
  EXPECT_EQ(vorn_system_call("true", 3), -1);
  EXPECT_TRUE(vt::logged("System call length mismatch: 4 != 3\n"));
  EXPECT_EQ(vorn_system_call("true", 4), 0);
  EXPECT_EQ(vorn_system_call("exit 3", 6), 768);
  EXPECT_TRUE(vt::logged("run shell script fail=768, script exit code: 3\n"));
  EXPECT_EQ(vorn_system_call("kill -9 $$", 10), 9);
  EXPECT_TRUE(vt::logged("result=9, exit status = [0]\n"));

  EXPECT_EQ(vorn_system_call_ex("exit 3", 6), 3);
  EXPECT_EQ(vorn_system_call_ex("true", 4), 0);
  EXPECT_EQ(vorn_system_call_ex("true", 2), -1);
  EXPECT_TRUE(vt::logged("system call length mismatch: 4 != 2\n"));

  char buffer[64];
  EXPECT_EQ(vorn_system_call_var_arg(buffer, sizeof buffer, "echo %s > /tmp/var_arg", "hello"), 0);
  EXPECT_EQ(vt::read_file("/tmp/var_arg"), "hello\n");
  // A formatter cut short still runs what it built.
  EXPECT_EQ(vorn_system_call_var_arg(buffer, 12, "exit %d; echo never", 4), 1024);
  EXPECT_STREQ(buffer, "exit 4; ech");
}

TEST(Process, PopenCollectsWhatFits) {
  char result[64];
  EXPECT_EQ(vorn_popen_call("printf 'a\\nb\\n'", result, sizeof result), 0);
  EXPECT_STREQ(result, "a\nb\n");

  char small[8];
  EXPECT_EQ(vorn_popen_call("printf 12345678901234567890", small, sizeof small), 0);
  EXPECT_STREQ(small, "123456");
  EXPECT_TRUE(vt::logged("result_buf Exceeded max len.\n"));

  // Every size returns, the tiny ones too, with what fits.
  auto collect = [](unsigned size) {
    char small_result[4] = {'z', 'z', 'z', 'z'};
    EXPECT_EQ(vorn_popen_call("printf 'ab\\ncd\\n'", small_result, size), 0);
    return std::string(small_result, sizeof small_result);
  };
  EXPECT_EXIT(
      {
        alarm(10);
        for (unsigned size = 0; size <= 4; ++size) collect(size);
        std::_Exit(0);
      },
      ::testing::ExitedWithCode(0), "")
      << "a small result buffer makes the call hang";
  if (!HasFailure()) {
    EXPECT_EQ(collect(0), std::string("zzzz", 4));
    EXPECT_EQ(collect(1), std::string("\0zzz", 4));
    EXPECT_EQ(collect(2), std::string("a\0zz", 4));
    EXPECT_EQ(collect(3), std::string("ab\0z", 4));
    EXPECT_EQ(collect(4), std::string("ab\n\0", 4));
  }

  EXPECT_EQ(vorn_popen_call("sleep 0.05; touch /tmp/popen_ran", nullptr, 0), 0);
  EXPECT_TRUE(vt::file_exists("/tmp/popen_ran"));
  EXPECT_EQ(vorn_popen_call(nullptr, result, sizeof result), -1);
  EXPECT_TRUE(vt::logged("popen call:(null) fail[parameter invaild!]\n"));

  DebugLevel debug;
  EXPECT_EQ(vorn_popen_call_ex("echo late", result, sizeof result), 0);
  EXPECT_STREQ(result, "late\n");
  char four[4];
  EXPECT_EQ(vorn_popen_call_ex("echo abcdef; echo more", four, sizeof four), 0);
  EXPECT_STREQ(four, "abc");
  EXPECT_TRUE(vt::logged("len=3,4\n"));
  EXPECT_EQ(vorn_popen_call_ex("echo x", nullptr, 4), -1);
}

TEST(Process, SystemCall3RunsAllowedProgramsWithoutShell) {
  char output[64];
  EXPECT_EQ(vorn_ds_system_call3("wget x", 0, output, sizeof output, 1), -1);
  EXPECT_EQ(lines_from("vorn_ds_exec_internal"), 0);

  EXPECT_EQ(vorn_ds_system_call3("echo hello  world $HOME", 0, output, sizeof output, 1), 0);
  EXPECT_STREQ(output, "hello world $HOME\n");
  EXPECT_TRUE(vt::logged("(): Executing command \"echo hello  world $HOME\"\n"));
  EXPECT_TRUE(logged_containing("Process exited normally with rc=0"));
  EXPECT_GT(lines_from("vorn_ds_exec_internal"), 0);

  char tiny[4];
  EXPECT_EQ(vorn_ds_system_call3("echo hello", 0, tiny, sizeof tiny, 0), 0);
  EXPECT_STREQ(tiny, "hel");

  std::string both = install_tool("vt-both", "echo out; echo err >&2; exit 3");
  EXPECT_EQ(vorn_ds_system_call3(both.c_str(), 0, output, sizeof output, 0), -1);
  EXPECT_STREQ(output, "out\nerr\n");
  EXPECT_TRUE(logged_containing("Process exited normally with rc=3"));

  // Kept by the directory test ("/bin" inside the word), then not found.
  EXPECT_EQ(vorn_ds_system_call3("/opt/bin/tool a", 0, output, sizeof output, 0), -1);
  EXPECT_TRUE(vt::logged("exec() failed: 2:No such file or directory\nDying\n"));

  std::string words = "echo";
  for (int i = 1; i < 32; ++i) words += " w" + std::to_string(i);
  EXPECT_EQ(vorn_ds_system_call3(words.c_str(), 0, nullptr, 0, 0), 0);
  EXPECT_EQ(vorn_ds_system_call3((words + " w32").c_str(), 0, output, sizeof output, 0), -1);
  EXPECT_TRUE(vt::logged("(): command is too long\n"));

  std::string too_long = "echo " + std::string(507, 'x');
  EXPECT_EQ(vorn_ds_system_call3(too_long.c_str(), 0, output, sizeof output, 0), -1);
  EXPECT_TRUE(logged_containing("unable to re-direct stderr: command string too long."));
}

TEST(Process, SilentChildIsKilledSlowWriterIsNot) {
  // The program keeps a pipe to the caller open after it closed its outputs:
  // the call waits on it, and its silence is what gets it killed.
  std::string silent = install_tool("vt-silent", "exec >&- 2>&-; exec sleep 30");
  char output[64];
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(vorn_ds_system_call3(silent.c_str(), 0, output, sizeof output, 0), -1);
  double waited = seconds_since(start);
  EXPECT_GE(waited, 1.9);
  EXPECT_LT(waited, 10.0);
  EXPECT_TRUE(logged_containing("ds_exec kill()ed pid"));

  std::string slow =
      install_tool("vt-slow", "for i in 1 2 3 4 5 6; do printf .; sleep 0.5; done; echo done");
  start = std::chrono::steady_clock::now();
  EXPECT_EQ(vorn_ds_system_call3(slow.c_str(), 0, output, sizeof output, 0), 0);
  EXPECT_GE(seconds_since(start), 2.9);
  EXPECT_STREQ(output, "......done\n");

  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

// Runs every kind of call `rounds` times, then `per_thread` calls on each of
// four threads at once, and checks that nothing is left behind: no child to
// reap, no descriptor open.
void expect_calls_leave_nothing(int rounds, int per_thread) {
  std::string failing = install_tool("vt-fail", "echo no; exit 1");
  vornsim::set_diag_record(false);
  int before = open_descriptors();
  char output[32];
  int failures = 0;
  for (int i = 0; i < rounds; ++i) {
    failures += vorn_system_call("true", 4) != 0;
    failures += vorn_popen_call("echo x", output, sizeof output) != 0;
    failures += vorn_ds_system_call3("echo x", 0, output, sizeof output, 0) != 0;
    failures += vorn_ds_system_call3(failing.c_str(), 0, output, sizeof output, 0) != -1;
    failures += vorn_ds_system_call3("/opt/bin/missing", 0, output, sizeof output, 0) != -1;
  }
  EXPECT_EQ(failures, 0);

  // Children started at the same moment by other threads never hold each
  // other's pipes: each call sees its own output, and none waits for a kill.
  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  auto start = std::chrono::steady_clock::now();
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, per_thread, &wrong] {
      for (int i = 0; i < per_thread; ++i) {
        std::string text = "t" + std::to_string(t) + "-" + std::to_string(i);
        char got[32];
        int rc = vorn_ds_system_call3(("echo " + text).c_str(), 0, got, sizeof got, 0);
        wrong[t] += rc != 0 || got != text + "\n";
      }
    });
  }
  for (auto &thread : threads) thread.join();
  vornsim::set_diag_record(true);
  EXPECT_EQ(wrong, std::vector<int>(4, 0));
  EXPECT_LT(seconds_since(start), 60.0);
  EXPECT_EQ(open_descriptors(), before);
  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(Process, CallsLeaveNoZombieOrDescriptor) { expect_calls_leave_nothing(20, 10); }

// Thousands of children: outside the regular suite (ctest -L soak).
TEST(ProcessSoak, DISABLED_ThousandsOfCallsLeaveNoZombieOrDescriptor) {
  expect_calls_leave_nothing(500, 100);
}

}  // namespace
