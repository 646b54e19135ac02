// Probes of the system against real things in the sandbox: its kernel
// command line (a file bound over it), bridges and addresses of its network
// namespace, processes, ping, files and clocks, checked against Debian's own
// tools where they answer the same question.
#include <arpa/inet.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/system.h>

#include "vornpal_test.h"

namespace {

struct DebugLog {
  DebugLog() {
    vorn_set_log_level(0);
    vornsim::clear_diag();
  }
  ~DebugLog() { vorn_set_log_level(1); }
};

// Standard output of a shell command inside the sandbox.
std::string output_of(const std::string &command) {
  std::string text;
  FILE *pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return text;
  char chunk[256];
  while (size_t got = std::fread(chunk, 1, sizeof chunk, pipe)) text.append(chunk, got);
  pclose(pipe);
  return text;
}

// In a death test's child, where the bind of /proc/cmdline stays: the
// exit code is the number of the first check that failed.
struct ChildChecks {
  int failed = 0;
  int count = 0;
  void check(bool ok) {
    ++count;
    if (!ok && failed == 0) failed = count;
  }
  [[noreturn]] void exit() { std::_Exit(failed); }
};

TEST(ProjectName, FromTheKernelCommandLine) {
  EXPECT_EXIT(
      {
        DebugLog debug;
        ChildChecks c;
        vt::bind_over("/proc/cmdline",
                      "console=ttyMSM0 vorn.project=VN5G-FWA100-NA\toem.project= OEMX quiet\n");
        char value[32] = {};
        c.check(vorn_get_project_name_cmdline(value, sizeof value) == 0);
        c.check(std::string(value) == "VN5G-FWA100-NA");
        c.check(vt::logged("Project Name: VN5G-FWA100-NA\n"));
        c.check(vorn_get_project_name_cmdline_oem_version(value, sizeof value) == 0);
        c.check(std::string(value) == "OEMX");
        char small[6];
        std::memset(small, 'x', sizeof small);
        c.check(odm_get_value_from_string("vorn.project", small, 4) == 0);
        c.check(std::string(small, 6) == "VN5Gxx");  // four bytes, no terminator
        c.check(odm_get_value_from_string("absent.key", value, sizeof value) == -1);
        c.check(vt::logged("Could not find oem.project in console=ttyMSM0 "
                           "vorn.project=VN5G-FWA100-NA\toem.project= OEMX quiet\n"));
        c.check(odm_get_value_from_string("quiet", value, sizeof value) == -1);  // empty value
        c.check(odm_get_value_from_string("vorn.project", nullptr, 4) == -1);
        c.check(vt::logged("NULL Pointer\n"));
        c.check(vorn_get_project_name_cmdline(nullptr, 4) == -1);
        c.exit();
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(ProjectName, FallbackAndLongCommandLine) {
  EXPECT_EXIT(
      {
        DebugLog debug;
        ChildChecks c;
        vt::bind_over("/proc/cmdline", "console=ttyMSM0 quiet\n");
        char value[64] = {};
        c.check(vorn_get_project_name_cmdline(value, sizeof value) == -1);  // no file either
        c.check(vt::logged("get project name from cmdline failed\n"));
        // The name in the second piece of 2048 bytes of the factory file.
        vt::write_file("/tmp/non_signal_info",
                       std::string(2100, '#') + "\nmodel=VN5G\nproject = VN5G-ALT extra\n");
        c.check(vorn_get_project_name_cmdline(value, sizeof value) == 0);
        c.check(std::string(value) == "VN5G-ALT");
        c.check(vt::logged("can't not match project\n"));
        c.check(vt::logged("Project Name: project = VN5G-ALT extra\n"));
        char para[VORN_PROJECT_PARA_SIZE];
        c.check(get_project_para(para) == 0 && std::string(para) == "VN5G-ALT");
        vt::write_file("/tmp/non_signal_info", "model=VN5G\n");
        c.check(get_project_para(para) == -1);
        // Only 2047 bytes of the command line count: a key behind them is
        // not found, a value across the end is cut there (bytes 2044-2046).
        vt::bind_over("/proc/cmdline", std::string(2100, 'a') + " vorn.project=LATE\n");
        c.check(odm_get_value_from_string("vorn.project", value, sizeof value) == -1);
        vt::bind_over("/proc/cmdline", std::string(2030, 'a') + " vorn.project=ABCDEFGH\n");
        c.check(odm_get_value_from_string("vorn.project", value, sizeof value) == 0);
        c.check(std::string(value) == "ABC");
        c.exit();
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(FileInt, RoundTripAndMissingFiles) {
  DebugLog debug;
  EXPECT_EQ(vorn_util_set_file_int_value("/data/level", -42), 0);
  EXPECT_EQ(vt::read_file("/data/level"), "-42");
  EXPECT_EQ(vorn_util_get_file_int_value("/data/level"), -42);
  EXPECT_TRUE(vt::logged("read content:-42\n"));
  vt::write_file("/data/level", "17 and more\n");
  EXPECT_EQ(vorn_util_get_file_int_value("/data/level"), 17);

  EXPECT_EQ(vorn_util_get_file_int_value("/data/none"), 0);
  EXPECT_TRUE(vt::logged("Not exist file=/data/none\n"));
  EXPECT_EQ(vorn_util_get_file_int_value(nullptr), 0);
  EXPECT_TRUE(vt::logged("Not exist file\n"));
  EXPECT_EQ(vorn_util_set_file_int_value("/data", 1), 7);
  EXPECT_TRUE(vt::logged("Not exist file=/data\n"));
  EXPECT_EQ(vorn_util_set_file_int_value(nullptr, 1), 7);
  EXPECT_EQ(vorn_util_set_file_int_value("/dev/full", 1), 7);
  EXPECT_TRUE(vt::logged("fwrite() failed, only [1] written, total_len=[1], reason=[No space left on device]28"));
}

TEST(MainBridge, AddressOfTheFirstBridgeThatHasOne) {
  DebugLog debug;
  uint32_t address = 0;
  EXPECT_EQ(vorn_util_get_main_bridge_addr(nullptr), -1);
  EXPECT_TRUE(vt::logged("if_addr is NULL\n"));
  ASSERT_EQ(vt::sh("ip link add br-lan type bridge"), 0);
  EXPECT_EQ(vorn_util_get_main_bridge_addr(&address), -1) << "a bridge without an address";

  ASSERT_EQ(vt::sh("ip addr add 192.168.225.1/24 dev br-lan"), 0);
  ASSERT_EQ(vorn_util_get_main_bridge_addr(&address), 0);
  char text[INET_ADDRSTRLEN];
  inet_ntop(AF_INET, &address, text, sizeof text);
  EXPECT_NE(output_of("ip -o -4 addr show dev br-lan").find(std::string("inet ") + text + "/24"),
            std::string::npos)
      << text;
  EXPECT_STREQ(text, "192.168.225.1");
  EXPECT_TRUE(vt::logged("getip:ifname=br-lan,ip=0x1E1A8C0\n"));

  ASSERT_EQ(vt::sh("ip link add bridge0 type bridge && ip addr add 10.1.2.3/8 dev bridge0"), 0);
  ASSERT_EQ(vorn_util_get_main_bridge_addr(&address), 0);
  EXPECT_EQ(address, inet_addr("10.1.2.3")) << "bridge0 comes first";
  vt::sh("ip link del bridge0; ip link del br-lan");
}

TEST(Ping, LoopbackAnswersAnUnroutedAddressDoesNot) {
  DebugLog debug;
  EXPECT_EQ(vorn_ping_state("127.0.0.1"), 0);
  EXPECT_EQ(vt::count_logged(">>>ping status:ping -c 2 -W 3 127.0.0.1 > /dev/null 2>&1>>>\n"), 1);
  // The sandbox's namespace has no route but loopback: every try fails.
  EXPECT_EQ(vorn_ping_state("198.51.100.7"), -1);
  EXPECT_EQ(vt::count_logged(">>>ping status:ping -c 2 -W 3 198.51.100.7 > /dev/null 2>&1>>>\n"), 3);
  EXPECT_EQ(vorn_ping_state(nullptr), 3);
}

TEST(ProcessId, OfAProcessTheTestStarted) {
  std::remove("/usr/local/sbin/ps");  // the real ps, not another test's stand-in
  const std::string tool = "/usr/local/sbin/vornprobe_sleep";
  ASSERT_EQ(vt::sh("cp /bin/sleep " + tool), 0);
  pid_t child = fork();
  if (child == 0) {
    execl(tool.c_str(), "vornprobe_sleep", "30", static_cast<char *>(nullptr));
    _exit(127);
  }
  ASSERT_GT(child, 0);
  // ps lists the child once it runs the new program.
  int found = -1;
  for (int i = 0; i < 200 && found != child; ++i) {
    found = oem_get_pid_by_name("vornprobe_sleep");
    if (found != child) usleep(10000);
  }
  EXPECT_EQ(found, child);
  EXPECT_EQ(std::to_string(found) + "\n", output_of("pgrep -x vornprobe_sleep"));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(oem_get_pid_by_name("vornprobe_sleep"), -1);
  EXPECT_EQ(oem_get_pid_by_name(nullptr), -1);
}

TEST(Directory, MadeWithParentsOnce) {
  DebugLog debug;
  oem_create_and_check_directory("/data/probe/a/b");
  struct stat info {};
  ASSERT_EQ(stat("/data/probe/a/b", &info), 0);
  EXPECT_TRUE(S_ISDIR(info.st_mode));
  EXPECT_TRUE(vt::logged("Directory /data/probe/a/b created.\n"));
  oem_create_and_check_directory("/data/probe/a/b");
  EXPECT_TRUE(vt::logged("Directory /data/probe/a/b already exists.\n"));
  vt::write_file("/data/probe/file", "x");
  oem_create_and_check_directory("/data/probe/file/sub");
  EXPECT_TRUE(vt::logged("Directory /data/probe/file/sub creation error.\n"));
  oem_create_and_check_directory(nullptr);
}

TEST(Clocks, AgreeWithTheSystem) {
  vorn_clk_time sum = vorn_clk_Add({1, 600000}, {2, 500000});
  EXPECT_EQ(sum.sec, 4);
  EXPECT_EQ(sum.usec, 100000);
  sum = vorn_clk_Add({1, 999999}, {0, 1});
  EXPECT_EQ(sum.sec, 2);
  EXPECT_EQ(sum.usec, 0);

  timespec mono{};
  clock_gettime(CLOCK_MONOTONIC, &mono);
  vorn_clk_time relative = vorn_clk_GetRelativeTime();
  EXPECT_GE(relative.sec, mono.tv_sec);
  EXPECT_LE(relative.sec, mono.tv_sec + 1);
  EXPECT_LT(relative.usec, 1000000);
  vorn_clk_time absolute = vorn_clk_GetAbsoluteTime();
  EXPECT_LE(std::labs(static_cast<long>(absolute.sec - std::time(nullptr))), 1);

  double uptime = 0;
  ASSERT_EQ(std::sscanf(vt::read_file("/proc/uptime").c_str(), "%lf", &uptime), 1);
  EXPECT_LE(std::labs(get_linuxuptime() - static_cast<long>(uptime)), 1);
}

TEST(Days, BetweenTwoDates) {
  EXPECT_EQ(get_days("2024-05-17", "2024-05-17"), 0);
  EXPECT_EQ(get_days("2024-02-28", "2024-03-01"), 2) << "a leap year";
  EXPECT_EQ(get_days("2024-03-01", "2024-02-28"), -2);
  EXPECT_EQ(get_days("2023-01-15", "2024-03-01"), std::stoi(output_of(
      "echo $(( ($(date -d 2024-03-01 +%s) - $(date -d 2023-01-15 +%s)) / 86400 ))")));
  EXPECT_EQ(get_days(nullptr, "2024-03-01"), 0);
}

}  // namespace
