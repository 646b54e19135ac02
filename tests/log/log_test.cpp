// The trace and watch channels as a daemon sees them: diag lines, console
// lines, /data/log_enable and the watch files.
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <regex>
#include <thread>

#include <vornpal/log.h>

#include "foundation/log_site.h"
#include "memory.h"
#include "vornpal_test.h"

namespace {

class LogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    vorn_set_log_level(1);
    vorn_set_log_tool_enable(1);
    vornsim::clear_diag();
  }
  void TearDown() override {
    vorn_set_log_level(1);
    vorn_set_log_tool_enable(1);
  }
};

// Log sites that carry "vorn" in their function's name.
void vorn_data_pal_connect_probe() { VORN_LOG(VORN_WARN, "connect %d\n", 7); }
void vorn_any_level_probe(int level) { VORN_LOG(level, "any level\n"); }

TEST_F(LogTest, DiagLinesCarryTheSiteRecordAndPassTheThreshold) {
  vorn_data_pal_connect_probe();
  auto lines = vornsim::diag_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text, "connect 7\n");
  EXPECT_EQ(lines[0].func, "vorn_data_pal_connect_probe");  // diag gets the plain name
  EXPECT_EQ(lines[0].ss_id, 65);
  EXPECT_EQ(lines[0].mask, 4u);
  EXPECT_EQ(lines[0].fmt, "VORN-FWA[%d] %s(): %s");
  EXPECT_EQ(lines[0].pid, static_cast<int>(getpid()));
  EXPECT_NE(lines[0].file.find("log_test.cpp"), std::string::npos);

  // The masks follow the levels; level 0 is below the default threshold 1.
  vornsim::clear_diag();
  for (int level = 0; level <= 4; ++level) vorn_any_level_probe(level);
  std::vector<uint32_t> masks;
  for (const auto &line : vornsim::diag_lines()) masks.push_back(line.mask);
  EXPECT_EQ(masks, (std::vector<uint32_t>{2, 4, 8, 16}));

  // Level -1 passes the highest threshold; 5 is kept from the filter only by
  // the threshold and has no mask.
  vorn_set_log_level(4);
  vornsim::clear_diag();
  vorn_any_level_probe(-1);
  vorn_any_level_probe(3);
  vorn_any_level_probe(5);
  masks.clear();
  for (const auto &line : vornsim::diag_lines()) masks.push_back(line.mask);
  EXPECT_EQ(masks, (std::vector<uint32_t>{0, 0}));
}

TEST_F(LogTest, ThresholdStoresOnlyOneToFour) {
  const std::pair<int, int> cases[] = {{1, 1}, {2, 2}, {4, 4}, {5, 0}, {-1, 0}, {0, 0}, {99, 0}};
  for (auto [given, stored] : cases) {
    vorn_set_log_level(given);
    EXPECT_EQ(vorn_get_log_level(), stored) << "given " << given;
  }
}

TEST_F(LogTest, SuppressedMessageLeavesTheBufferEmpty) {
  char buffer[VORN_LOG_MSG_BUF_SIZE] = {};
  vorn_set_log_level(3);
  EXPECT_EQ(vorn_log_printf(2, buffer, "f", 1, "dropped"), 0);
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(vorn_log_printf(3, buffer, "f", 1, "kept %d", 3), 1);
  EXPECT_STREQ(buffer, "kept 3");
  // A null buffer (a failed allocation in the macro) is survived.
  EXPECT_EQ(vorn_log_printf(3, nullptr, "f", 1, "lost"), 1);
}

TEST_F(LogTest, LogEnableFileHoldsTheInverseOfTheFlag) {
  vorn_set_log_tool_enable(0);
  EXPECT_EQ(vt::read_file("/data/log_enable"), "1");
  EXPECT_EQ(vorn_get_log_tool_enable(), 0);
  vorn_set_log_tool_enable(1);
  EXPECT_EQ(vt::read_file("/data/log_enable"), "0");
  vorn_set_log_tool_enable(7);
  EXPECT_EQ(vt::read_file("/data/log_enable"), "0");
  EXPECT_EQ(vorn_get_log_tool_enable(), 7);
}

// Diag comes up lazily and a failed start is retried with the next message.
// Run in a fresh process, where nothing has started diag yet.
TEST(LogFreshProcess, FailedDiagStartIsRetried) {
  VT_NEEDS_FRESH_PROCESS();
  EXPECT_EXIT(
      {
        vornsim::set_diag_init_ok(false);
        vorn_set_log_tool_enable(1);  // fails: writes "0" and leaves diag down
        bool file_ok = vt::read_file("/data/log_enable") == "0";
        int before = vornsim::diag_init_calls();
        vorn_any_level_probe(3);
        vorn_any_level_probe(3);
        bool retried = vornsim::diag_init_calls() == before + 2;
        vornsim::set_diag_init_ok(true);
        vorn_any_level_probe(3);
        vorn_any_level_probe(3);
        bool once = vornsim::diag_init_calls() == before + 3;
        // Lines still reach the sink while diag is down.
        bool delivered = vt::count_logged("any level\n") == 4;
        std::exit(file_ok && retried && once && delivered ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(LogTest, ConsoleLineFormatAndMaskedName) {
  vorn_set_log_tool_enable(0);
  vt::ConsoleCapture console;
  vorn_data_pal_connect_probe();
  char buffer[VORN_LOG_MSG_BUF_SIZE] = {};
  vorn_log_printf(-1, buffer, "vovornvornx_Vorn", 12, "minus one\n");
  auto lines = console.lines();
  ASSERT_EQ(lines.size(), 2u);
  std::smatch m;
  std::regex form(
      R"(^(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}) : -WRN- \| \[(\d+) \| (\d+)-([^\]]*)\] \| oem_data_pal_connect_probe (\d+) \| connect 7\n$)");
  ASSERT_TRUE(std::regex_match(lines[0], m, form)) << lines[0];
  EXPECT_EQ(std::stoi(m[2]), static_cast<int>(getpid()));
  EXPECT_EQ(std::stoi(m[3]), get_tid());
  EXPECT_EQ(m[4], vt::read_file("/proc/self/comm").substr(0, m[4].length()));
  // Overlapping and upper-case forms are not replaced twice or at all.
  EXPECT_NE(lines[1].find(" : (null) | "), std::string::npos) << lines[1];
  EXPECT_NE(lines[1].find("| vooemoemx_Vorn 12 | minus one\n"), std::string::npos) << lines[1];
  EXPECT_EQ(std::string(log_msg), lines[1]);
  EXPECT_EQ(lines[1].compare(0, 23, str_t), 0);
  EXPECT_TRUE(vornsim::diag_lines().empty());
}

TEST_F(LogTest, ConsoleShowsTheThreadNameAndKeepsLinesWholeAcrossThreads) {
  vorn_set_log_tool_enable(0);
  vt::ConsoleCapture console;
  constexpr int kThreads = 8, kLines = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      char name[16];
      std::snprintf(name, sizeof name, "logger%d", t);
      pthread_setname_np(pthread_self(), name);
      for (int i = 0; i < kLines; ++i) VORN_LOG(VORN_INFO, "thread %d line %d\n", t, i);
    });
  }
  for (auto &thread : threads) thread.join();
  auto lines = console.lines();
  ASSERT_EQ(lines.size(), static_cast<size_t>(kThreads * kLines));
  std::regex form(R"(^.* :  INFO \| \[\d+ \| \d+-logger(\d)\] \| .* \| thread (\d) line \d+\n$)");
  for (const auto &line : lines) {
    std::smatch m;
    ASSERT_TRUE(std::regex_match(line, m, form)) << line;
    EXPECT_EQ(m[1], m[2]);
  }
}

// What a console line held at the moment it was printed.
struct Printed {
  static inline size_t heap_before = 0;
  static inline size_t heap_grown = 0;
  static inline char line[4096];
  static void print(const char *text) {
    heap_grown = vt::heap_in_use() - heap_before;
    std::snprintf(line, sizeof line, "%s", text);
  }
};

TEST_F(LogTest, AnEmittedLineTakesNoHeapMemory) {
  vorn_set_log_tool_enable(0);
  set_print_interface(Printed::print);
  vorn_any_level_probe(3);  // the thread's first line
  Printed::heap_before = vt::heap_in_use();
  vorn_data_pal_connect_probe();
  set_print_interface(nullptr);
  EXPECT_EQ(Printed::heap_grown, 0u) << "held while the line was printed";
  EXPECT_NE(std::strstr(Printed::line, "| oem_data_pal_connect_probe "), nullptr) << Printed::line;
}

TEST_F(LogTest, LogMsgIsClearBeyondTheLastLine) {
  vorn_set_log_tool_enable(0);
  vt::ConsoleCapture console;
  char buffer[VORN_LOG_MSG_BUF_SIZE] = {};
  const std::string long_text(5000, 'x');
  vorn_log_printf(3, buffer, "f", 1, "%s", long_text.c_str());
  EXPECT_EQ(std::strlen(log_msg), sizeof log_msg - 1);  // cut to the buffer
  vorn_log_printf(3, buffer, "f", 2, "short\n");
  size_t length = std::strlen(log_msg);
  EXPECT_EQ(std::string(log_msg + length - 6), "short\n");
  EXPECT_EQ(std::count(log_msg + length, log_msg + sizeof log_msg, '\0'),
            static_cast<long>(sizeof log_msg - length));
  // A name too long for the line's own room is still masked whole.
  const std::string name = std::string(300, 'a') + "_vorn_tail";
  vorn_log_printf(3, buffer, name.c_str(), 3, "named\n");
  EXPECT_NE(std::string(log_msg).find(std::string(300, 'a') + "_oem_tail 3 | named\n"),
            std::string::npos);
}

// The thread's own name, not whatever a file under /proc says: the name is
// asked of the kernel for the thread itself.
TEST_F(LogTest, ConsoleNameComesFromTheThreadItself) {
  EXPECT_EXIT(
      {
        pthread_setname_np(pthread_self(), "own-name");
        char comm[64];
        std::snprintf(comm, sizeof comm, "/proc/%d/task/%d/comm", static_cast<int>(getpid()),
                      static_cast<int>(syscall(SYS_gettid)));
        vt::bind_over(comm, "impostor\n");
        vorn_set_log_tool_enable(0);
        set_print_interface(Printed::print);
        vorn_any_level_probe(3);
        std::exit(std::strstr(Printed::line, "-own-name] | ") != nullptr ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// A child of fork() logs its own process and thread ids, not its parent's.
TEST_F(LogTest, AChildOfForkLogsItsOwnIds) {
  vorn_any_level_probe(3);
  vorn_set_log_tool_enable(0);
  set_print_interface(Printed::print);
  vorn_any_level_probe(3);
  vorn_set_log_tool_enable(1);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    vornsim::clear_diag();
    vorn_any_level_probe(3);
    auto lines = vornsim::diag_lines();
    bool diag_pid = lines.size() == 1 && lines[0].pid == static_cast<int>(getpid());
    vorn_set_log_tool_enable(0);
    vorn_any_level_probe(3);
    char ids[64];
    std::snprintf(ids, sizeof ids, "[%d | %d-", static_cast<int>(getpid()),
                  static_cast<int>(syscall(SYS_gettid)));
    bool console_ids = std::strstr(Printed::line, ids) != nullptr;
    _exit(diag_pid && console_ids ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  set_print_interface(nullptr);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(LogTest, GetTidIsTheKernelThreadId) {
  EXPECT_EQ(get_tid(), static_cast<int>(syscall(SYS_gettid)));
  int other = 0;
  std::thread([&] { other = get_tid(); }).join();
  EXPECT_NE(other, get_tid());
}

class WatchTest : public ::testing::Test {
 protected:
  static constexpr const char *kA = "/data/oem/logs/fwawatchA.log";
  static constexpr const char *kB = "/data/oem/logs/fwawatchB.log";
  void SetUp() override {
    vt::remove_tree("/data/oem/logs");
    vt::remove_tree("/vornnv/data");
    vt::make_dirs("/data/oem/logs");
  }
  static void fill(const char *path, long size) {
    ASSERT_EQ(truncate(path, size), 0) << path;
  }
  static long size_of(const char *path) { return static_cast<long>(vt::read_file(path).size()); }
};

TEST_F(WatchTest, LineFormatAndOptionFile) {
  oem_watch("vorn_usim_init", 42, "usim qmi inited %s", "OK");
  std::regex form(R"(^\[\d+\.\d\d\] vorn_usim_init:42 usim qmi inited OK\n$)");
  EXPECT_TRUE(std::regex_match(vt::read_file(kA), form)) << vt::read_file(kA);

  // Only the value 0 switches the channel off; an empty file leaves it on.
  vt::write_file("/vornnv/data/fwawatch_option", "0\n");
  oem_watch("f", 1, "off");
  EXPECT_EQ(vt::read_file(kA).find("off"), std::string::npos);
  vt::write_file("/vornnv/data/fwawatch_option", "");
  oem_watch("f", 2, "empty");
  vt::write_file("/vornnv/data/fwawatch_option", "12");
  oem_watch("f", 3, "twelve");
  std::string content = vt::read_file(kA);
  EXPECT_NE(content.find("f:2 empty\n"), std::string::npos);
  EXPECT_NE(content.find("f:3 twelve\n"), std::string::npos);
}

TEST_F(WatchTest, AlternatesBetweenTheTwoFilesPastOneMebibyte) {
  oem_watch("f", 1, "first");
  fill(kA, 1048576);  // exactly 1 MiB is not full yet
  oem_watch("f", 2, "still A");
  EXPECT_NE(vt::read_file(kA).find("still A"), std::string::npos);

  fill(kA, 1048577);
  oem_watch("f", 3, "to B");
  EXPECT_NE(vt::read_file(kB).find("to B"), std::string::npos);

  // Both full: A is truncated first, the next time both are full B.
  fill(kB, 1048577);
  oem_watch("f", 4, "fresh A");
  EXPECT_LT(size_of(kA), 100);
  EXPECT_NE(vt::read_file(kA).find("fresh A"), std::string::npos);
  EXPECT_EQ(size_of(kB), 1048577);

  fill(kA, 1048577);
  oem_watch("f", 5, "fresh B");
  EXPECT_LT(size_of(kB), 100);
  EXPECT_NE(vt::read_file(kB).find("fresh B"), std::string::npos);
}

TEST_F(WatchTest, NoUptimeNoLine) {
  EXPECT_EXIT(
      {
        vt::bind_over("/proc/uptime", "not a number\n");
        oem_watch("f", 1, "lost");
        std::exit(vt::file_exists(kA) ? 1 : 0);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
