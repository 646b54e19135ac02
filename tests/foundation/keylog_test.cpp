// The key log: settings, line format, rotation, filter, panic log, and
// lines appended through the shell.
#include <sys/stat.h>
#include <vornpal/keylog.h>

#include <cctype>
#include <cstdio>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "vornpal_test.h"

namespace {

const char kSettings[] = "/data/log_client_setting";
const char kBase[] = "/data/oem/logs/fwa";
const char kPanic[] = "/data/oem/logs/panic";
constexpr size_t kTimeLength = 23;  // "YYYY-MM-DD hh:mm:ss.mmm"

void fresh_logs() {
  vt::remove_tree("/data/oem/logs");
  vt::make_dirs("/data/oem/logs");
}

std::vector<std::string> lines_of(const std::string &path) {
  std::vector<std::string> lines;
  std::istringstream in(vt::read_file(path));
  for (std::string line; std::getline(in, line);) lines.push_back(line + "\n");
  return lines;
}

// True when text starts with a time stamp "YYYY-MM-DD hh:mm:ss.mmm".
bool starts_with_time(const std::string &text) {
  const std::string shape = "dddd-dd-dd dd:dd:dd.ddd";
  if (text.size() < shape.size()) return false;
  for (size_t i = 0; i < shape.size(); ++i) {
    bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
    if (shape[i] == 'd' ? !digit : text[i] != shape[i]) return false;
  }
  return true;
}

std::string numbered(int n) { return kBase + std::to_string(n); }

// Bytes of the line that vorn_keylog_write_file(1, 103, text) writes.
size_t data_line_length(const std::string &text) {
  return kTimeLength + std::string(" | MODULE_DATA | EVENT_DATA_STATUS_CHANGE | ").size() +
         text.size() + 2;
}

// Fills the base file to `bytes` short of the 1 MiB limit.
void fill_base(size_t short_of) { vt::write_file(kBase, std::string((1 << 20) - short_of, 'x')); }

// Checks that the limits in force are the defaults: 1 MiB per file, two
// files (the base file and number 1).
void expect_default_limits() {
  fresh_logs();
  fill_base(data_line_length("edge"));
  vorn_keylog_write_file(1, 103, "edge");
  EXPECT_FALSE(vt::file_exists(numbered(1))) << "a line that reaches the limit rotates";
  EXPECT_EQ(vt::read_file(kBase).size(), 1u << 20);
  vorn_keylog_write_file(1, 103, "over");
  EXPECT_EQ(vt::read_file(numbered(1)).size(), 1u << 20);
  fill_base(0);
  vorn_keylog_write_file(1, 103, "again");
  EXPECT_TRUE(vt::file_exists(numbered(1)));
  EXPECT_FALSE(vt::file_exists(numbered(2)));
  EXPECT_EQ(lines_of(kBase).size(), 1u);
}

// Writes `count` key-log lines "line 0", "line 1", ... into fresh files.
void write_lines(int count) {
  fresh_logs();
  for (int i = 0; i < count; ++i) vorn_keylog_write_file(1, 103, "line %d", i);
}

std::string text_of_line(const std::string &path) {
  std::vector<std::string> lines = lines_of(path);
  if (lines.size() != 1) return "<" + std::to_string(lines.size()) + " lines>";
  return lines[0].substr(lines[0].rfind("| ") + 2);
}

TEST(KeyLog, SettingsAreReadAsTheyStand) {
  // Files without the keys give the defaults.
  std::string binary;
  for (int i = 0; i < 2000; ++i) binary += static_cast<char>((i * 53 + 7) % 256);
  for (const std::string &content : {binary, std::string("[fwa_client]\nlog_si"),
                                     std::string("[other]\nlog_size=5\n")}) {
    vt::write_file(kSettings, content);
    EXPECT_EQ(vorn_log_get_logsetting(), 0);
    expect_default_limits();
  }
  vt::remove_tree(kSettings);
  EXPECT_EQ(vorn_log_get_logsetting(), 0);
  expect_default_limits();

  // No digits is a size of 0: every line rotates; a negative count keeps no
  // numbered file, so the base file holds the last line alone.
  vt::write_file(kSettings, "[fwa_client]\nlog_size=abc\nlog_number=-4\n");
  vorn_log_get_logsetting();
  write_lines(3);
  EXPECT_EQ(text_of_line(kBase), "line 2\r\n");
  EXPECT_FALSE(vt::file_exists(numbered(1)));

  // A count of a thousand takes the first free numbers.
  vt::write_file(kSettings, "[fwa_client]\nlog_size=\nlog_number=1000\n");
  vorn_log_get_logsetting();
  write_lines(3);
  EXPECT_EQ(text_of_line(numbered(1)), "line 0\r\n");
  EXPECT_EQ(text_of_line(numbered(2)), "line 1\r\n");
  EXPECT_EQ(text_of_line(kBase), "line 2\r\n");

  // 4096 MiB wraps to a limit of 0 in 32 bits; with three files the oldest
  // goes.
  vt::write_file(kSettings, "[fwa_client]\nlog_size=4096\nlog_number=3 files\n");
  vorn_log_get_logsetting();
  write_lines(4);
  EXPECT_EQ(text_of_line(numbered(1)), "line 1\r\n");
  EXPECT_EQ(text_of_line(numbered(2)), "line 2\r\n");
  EXPECT_EQ(text_of_line(kBase), "line 3\r\n");
  EXPECT_FALSE(vt::file_exists(numbered(3)));

  // A size beyond 32 bits is the largest one, as on the target, whose long
  // has 32 bits: a full mebibyte does not rotate.
  vt::write_file(kSettings, "[fwa_client]\nlog_size=4294967297\n");
  vorn_log_get_logsetting();
  fresh_logs();
  fill_base(0);
  vorn_keylog_write_file(1, 103, "more");
  EXPECT_FALSE(vt::file_exists(numbered(1)));
  EXPECT_EQ(vt::read_file(kBase).size(), (1u << 20) + data_line_length("more"));
}

TEST(KeyLog, SettingsAreStoredAndLoaded) {
  vt::remove_tree(kSettings);
  EXPECT_EQ(vorn_set_log_client_setting(0, 3, 4, kSettings), 0);
  EXPECT_EQ(vorn_set_log_client_setting(1, 1, 2, kSettings), 0);
  EXPECT_EQ(vorn_set_log_client_setting(5, 9, 9, kSettings), 0);
  EXPECT_EQ(vt::read_file(kSettings),
            "[fwa_client]\nlog_size=3\nlog_number=4\n\n[panic_client]\nlog_size=1\n"
            "log_number=2\n");
  vt::write_file(kSettings, "[fwa_client]\nlog_size=1\nlog_number=3\n");
  EXPECT_EQ(vorn_log_get_logsetting(), 0);

  // Three files: the base file is the newest, number 1 the oldest.
  fresh_logs();
  for (char tag : {'a', 'b', 'c', 'd'}) {
    vt::write_file(kBase, std::string(1 << 20, tag));
    vorn_keylog_write_file(1, 103, "after %c", tag);
    EXPECT_EQ(lines_of(kBase).size(), 1u);
  }
  EXPECT_EQ(vt::read_file(numbered(1)).substr(0, 3), "ccc");
  EXPECT_EQ(vt::read_file(numbered(2)).substr(0, 3), "ddd");
  EXPECT_FALSE(vt::file_exists(numbered(3)));
  EXPECT_NE(vt::read_file(kBase).find("after d"), std::string::npos);

  // One file: a full base file is deleted and started anew.
  vorn_set_log_client_setting(0, 1, 1, nullptr);
  fresh_logs();
  fill_base(0);
  vorn_keylog_write_file(1, 103, "alone");
  EXPECT_EQ(lines_of(kBase).size(), 1u);
  EXPECT_FALSE(vt::file_exists(numbered(1)));
}

TEST(KeyLog, LinesAndFilter) {
  vt::remove_tree(kSettings);
  vorn_log_get_logsetting();
  fresh_logs();
  vorn_keylog_write_file(1, 103, "IPV4_CONENCTED");
  vorn_keylog_write_file(4, 401, "reg %d", 1);
  vorn_keylog_write_file(9, 999, "odd");
  vorn_keylog_write_file(6, 105, "no event row");
  std::vector<std::string> lines = lines_of(kBase);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_TRUE(starts_with_time(lines[0])) << lines[0];
  EXPECT_EQ(lines[0].substr(kTimeLength),
            " | MODULE_DATA | EVENT_DATA_STATUS_CHANGE | IPV4_CONENCTED\r\n");
  EXPECT_EQ(lines[1].substr(kTimeLength),
            " | MOUDLE_NETWORK | EVENT_NETWORK_REG_CHANGE | reg 1\r\n");
  EXPECT_EQ(lines[2].substr(kTimeLength), " | (null) |  | odd\r\n");
  EXPECT_EQ(lines[3].substr(kTimeLength), " | MOUDLE_USIM |  | no event row\r\n");

  char buffer[4096] = {};
  EXPECT_EQ(vorn_keylog_filter(1, buffer, sizeof buffer), 0);
  EXPECT_EQ(std::string(buffer), lines[0]);
  buffer[0] = '\0';
  vorn_keylog_filter(401, buffer, sizeof buffer);
  EXPECT_EQ(std::string(buffer), lines[1]);
  buffer[0] = '\0';
  vorn_keylog_filter(105, buffer, sizeof buffer);
  EXPECT_EQ(std::string(buffer), lines[0] + lines[1] + lines[2] + lines[3]);

  std::string before(buffer);
  EXPECT_EQ(vorn_keylog_filter(7, buffer, sizeof buffer), 0);
  EXPECT_EQ(vorn_keylog_filter(605, buffer, sizeof buffer), 0);
  EXPECT_EQ(std::string(buffer), before);
  EXPECT_TRUE(vt::logged("filter_id:7 out of range\n"));
  EXPECT_TRUE(vt::logged("filter_id:605 out of range\n"));

  // Collection stops at the first line that does not fit.
  std::vector<char> room(lines[0].size() + lines[1].size() + 1, '\0');
  vorn_keylog_filter(105, room.data(), static_cast<unsigned>(room.size()));
  EXPECT_EQ(std::string(room.data()), lines[0] + lines[1]);
  // A buffer with no terminator is left alone.
  std::vector<char> full(16, 'z');
  vorn_keylog_filter(105, full.data(), static_cast<unsigned>(full.size()));
  EXPECT_EQ(std::string(full.begin(), full.end()), std::string(16, 'z'));

  // Rotated files follow the base file, the highest number first.
  vorn_set_log_client_setting(0, 1, 3, nullptr);
  vt::write_file(numbered(1), "old | MODULE_DATA\n");
  vt::write_file(numbered(2), "mid | MODULE_DATA\n");
  buffer[0] = '\0';
  vorn_keylog_filter(1, buffer, sizeof buffer);
  EXPECT_EQ(std::string(buffer), lines[0] + "mid | MODULE_DATA\nold | MODULE_DATA\n");
}

TEST(KeyLog, PanicLogIsCopiedOnce) {
  vt::remove_tree(kSettings);
  vorn_log_get_logsetting();
  fresh_logs();
  vt::write_file("/usr/local/sbin/odm_upgrader",
                 "#!/bin/sh\n[ \"$1\" = panic_log ] || exit 1\ncat /data/panic_source\n");
  chmod("/usr/local/sbin/odm_upgrader", 0755);
  vt::write_file("/data/panic_source", "header\n[ 1.0] panic_log start\nplain\n[ 1.1] oops\n");
  EXPECT_EQ(vorn_paniclog_write_file(), 0);
  EXPECT_EQ(vt::read_file(kPanic), "[ 1.0] panic_log start\n[ 1.1] oops\n");
  EXPECT_EQ(vorn_paniclog_write_file(), 0);
  EXPECT_TRUE(vt::logged("no panic log to updata\n"));
  EXPECT_EQ(vt::read_file(kPanic), "[ 1.0] panic_log start\n[ 1.1] oops\n");

  vt::write_file("/data/panic_source", "[ 2.0] panic_log again\n");
  vorn_paniclog_write_file();
  EXPECT_EQ(vt::read_file(kPanic), "[ 1.0] panic_log start\n[ 1.1] oops\n[ 2.0] panic_log again\n");
  char buffer[256] = {};
  vorn_keylog_filter(0, buffer, sizeof buffer);
  EXPECT_EQ(std::string(buffer), vt::read_file(kPanic));
}

TEST(KeyLog, MessagesThroughTheShell) {
  EXPECT_EQ(vorn_write_msg2file("/data/msg.log", "hello there"), 0);
  char buffer[VORN_MSG2FILE_BUF_SIZE];
  vorn_write_msg2file_ex(buffer, "/data/msg.log", "vorn_data_pal_connect", "rc=%d", 5);
  EXPECT_STREQ(buffer, "rc=5");
  std::vector<std::string> lines = lines_of("/data/msg.log");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].substr(0, 1) + lines[0].substr(1 + kTimeLength), "[]hello there\n");
  EXPECT_EQ(lines[1].substr(1 + kTimeLength), "]oem_data_pal_connect: rc=5\n");
}

TEST(KeyLog, ManyWritersLoseAndTearNothing) {
  vt::write_file(kSettings, "[fwa_client]\nlog_size=1\nlog_number=3\n");
  vorn_log_get_logsetting();
  fresh_logs();
  constexpr int kThreads = 8;
  constexpr int kLines = 120;
  const std::string padding(1300, 'p');
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &padding] {
      for (int i = 0; i < kLines; ++i)
        vorn_keylog_write_file(5, 502, "w%d-%d %s", t, i, padding.c_str());
    });
  }
  for (auto &thread : threads) thread.join();

  // About 1.3 MiB was written: one rotation at least, three files at most,
  // and every line whole, once, in each writer's order (oldest file first).
  EXPECT_TRUE(vt::file_exists(numbered(1)));
  EXPECT_FALSE(vt::file_exists(numbered(3)));
  const std::string head = " | MOUDLE_SMS | EVENT_SMS_SMMFULL | w";
  const std::string tail = " " + padding + "\r\n";
  std::vector<int> next(kThreads, 0);
  int count = 0;
  for (const std::string &path : {numbered(1), numbered(2), std::string(kBase)}) {
    for (const std::string &line : lines_of(path)) {
      int t = -1, i = -1;
      ASSERT_TRUE(starts_with_time(line)) << path << ": " << line.substr(0, 80);
      ASSERT_EQ(line.compare(kTimeLength, head.size(), head), 0)
          << path << ": " << line.substr(0, 80);
      ASSERT_EQ(std::sscanf(line.c_str() + kTimeLength + head.size(), "%d-%d", &t, &i), 2);
      ASSERT_TRUE(t >= 0 && t < kThreads);
      std::string ids = std::to_string(t) + "-" + std::to_string(i);
      EXPECT_EQ(line.substr(kTimeLength + head.size() + ids.size()), tail);
      EXPECT_EQ(i, next[t]++);
      ++count;
    }
  }
  EXPECT_EQ(count, kThreads * kLines);
}

}  // namespace
