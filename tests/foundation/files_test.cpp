// File access with the library's result codes, and the system helpers.
#include <sys/stat.h>
#include <vornpal/files.h>

#include <cstring>
#include <string>

#include "vornpal_test.h"

namespace {

TEST(Files, ReadAndWriteWithResultCodes) {
  vt::write_file("/data/files/value", "12\n");
  char buffer[16] = {};
  EXPECT_EQ(vorn_read_file("/data/files/value", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "12");
  EXPECT_EQ(vorn_read_file("/data/files/missing", buffer, sizeof buffer), 4);
  EXPECT_TRUE(vt::logged("open /data/files/missing failed.\n"));
  EXPECT_EQ(vorn_read_file("/data/files", buffer, sizeof buffer), 6);
  EXPECT_TRUE(vt::logged("read /data/files failed.\n"));

  char counted[16] = {};
  EXPECT_EQ(vorn_read_file_with_reading_length_returned("/data/files/value", counted, 16), 2);
  EXPECT_STREQ(counted, "12");
  EXPECT_EQ(vorn_read_file_with_reading_length_returned("/data/files/value", counted, 1), 1);
  EXPECT_EQ(vorn_read_file_with_reading_length_returned("/data/files/missing", counted, 4), -1);

  // No creation, no truncation: the old tail stays.
  vt::write_file("/data/files/ten", "0123456789");
  EXPECT_EQ(vorn_write_file("/data/files/ten", "abc", 3), 0);
  EXPECT_EQ(vt::read_file("/data/files/ten"), "abc3456789");
  EXPECT_EQ(vorn_write_file_sync("/data/files/ten", "XY", 2), 0);
  EXPECT_EQ(vt::read_file("/data/files/ten"), "XYc3456789");
  EXPECT_EQ(vorn_write_file("/data/files/new", "abc", 3), 4);
  EXPECT_FALSE(vt::file_exists("/data/files/new"));
  EXPECT_EQ(vorn_write_file_sync_create("/data/files/new", "abc", 3), 0);
  EXPECT_EQ(vt::read_file("/data/files/new"), "abc");
  EXPECT_EQ(vorn_write_file("/dev/full", "abc", 3), 7);
  EXPECT_TRUE(vt::logged("write /dev/full failed.\n"));

  EXPECT_EQ(vorn_ioctl_file("/data/files/missing", 0x5401, nullptr), 4);
  EXPECT_EQ(vorn_ioctl_file("/data/files/ten", 0x5401, buffer), -1);
  EXPECT_TRUE(vt::logged("ioctl cmd 21505 failed.\n"));
  EXPECT_EQ(vorn_irig_b_ioctl(nullptr), -1);
  EXPECT_TRUE(vt::logged("input error.\r\n"));
  EXPECT_EQ(vorn_irig_b_ioctl(buffer), -1);
  EXPECT_TRUE(vt::logged("open /dev/vorn_irig_b_config fail.\r\n"));
}

TEST(Files, DirectoryPaths) {
  EXPECT_EQ(dir_make_path("/a/b/", 0755), 0);
  struct stat st {};
  ASSERT_EQ(stat("/a/b", &st), 0);
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  EXPECT_EQ(dir_make_path("/a/b", 0755), 0);

  vt::write_file("/data/plain", "x");
  EXPECT_EQ(dir_make_path("/data/plain/sub", 0755), -1);
  EXPECT_TRUE(vt::logged("Could not create directory '/data/plain/sub'.\n"));
  std::string deep = "/data/" + std::string(600, 'd');
  EXPECT_EQ(dir_make_path(deep.c_str(), 0755), -1);
  EXPECT_TRUE(vt::logged("Directory path overflowed.\n"));
}

TEST(Files, FlashTypeAndProcessCount) {
  vt::bind_over("/proc/partitions", "major minor  #blocks  name\n  31  0  512 mtdblock0\n");
  EXPECT_EQ(get_flash_type(), 1);

  vt::write_file("/usr/local/sbin/ps",
                 "#!/bin/sh\necho '  1 root  init'\necho ' 20 root  netmgrd'\n"
                 "echo ' 21 root  netmgrd -i'\n");
  chmod("/usr/local/sbin/ps", 0755);
  EXPECT_EQ(vorn_check_process_exist("netmgrd"), 2);
  EXPECT_EQ(vorn_check_process_exist("atfwd"), 0);
}

}  // namespace
