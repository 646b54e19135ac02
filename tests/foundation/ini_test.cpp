// Settings files: reading, writing, and surviving bad content.
#include <sys/stat.h>
#include <sys/time.h>
#include <vornpal/ini.h>

#include <cmath>
#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include "vornpal_test.h"

namespace {

const char kPath[] = "/data/ini/test.ini";

std::string get(const char *section, const char *key, const char *fallback = "none") {
  char value[INI_BUFFERSIZE];
  int length = ini_gets(section, key, fallback, value, sizeof value, kPath);
  EXPECT_EQ(length, static_cast<int>(std::string(value).size()));
  return value;
}

ino_t inode_of(const char *path) {
  struct stat st {};
  stat(path, &st);
  return st.st_ino;
}

TEST(Ini, ReadsValuesSectionsAndKeys) {
  vt::write_file(kPath,
                 "top = early ; comment\n"
                 "# full comment\n"
                 "[Radio]\n"
                 "  Band : 41   \n"
                 "hex=0x10\n"
                 "ratio=2.5\n"
                 "flag_y=yes\nflag_n=No\nflag_1=1\nflag_m=maybe\n"
                 "quoted=\"a;b \\\"c\\\" \"\n"
                 "[ Empty ]\n"
                 "[radio]\n"
                 "band=99\n");
  EXPECT_EQ(get(nullptr, "top"), "early");
  EXPECT_EQ(get("", "TOP"), "early");
  EXPECT_EQ(get("radio", "band"), "41");
  EXPECT_EQ(get("Radio", "quoted"), "a;b \"c\" ");
  EXPECT_EQ(get("Radio", "top"), "none");
  EXPECT_EQ(get("Radio", "ban"), "none");
  EXPECT_EQ(get("Missing", "band", nullptr), "");
  EXPECT_EQ(ini_getl("Radio", "hex", 0, kPath), 16);
  EXPECT_EQ(ini_getl("Radio", "band", 0, kPath), 41);
  EXPECT_EQ(ini_getl("Radio", "nothing", -5, kPath), -5);
  EXPECT_FLOAT_EQ(ini_getf("Radio", "ratio", 0.0f, kPath), 2.5f);
  EXPECT_EQ(ini_getbool("Radio", "flag_y", 7, kPath), 1);
  EXPECT_EQ(ini_getbool("Radio", "flag_n", 7, kPath), 0);
  EXPECT_EQ(ini_getbool("Radio", "flag_1", 7, kPath), 1);
  EXPECT_EQ(ini_getbool("Radio", "flag_m", 7, kPath), 7);

  char name[INI_BUFFERSIZE];
  EXPECT_EQ(ini_getsection(0, name, sizeof name, kPath), 5);
  EXPECT_STREQ(name, "Radio");
  EXPECT_EQ(ini_getsection(1, name, sizeof name, kPath), 5);
  EXPECT_STREQ(name, "Empty");
  EXPECT_EQ(ini_getsection(3, name, sizeof name, kPath), 0);
  EXPECT_EQ(ini_getkey("radio", 1, name, sizeof name, kPath), 3);
  EXPECT_STREQ(name, "hex");
  EXPECT_EQ(ini_getkey("Empty", 0, name, sizeof name, kPath), 0);
  char tiny[3];
  EXPECT_EQ(ini_gets("Radio", "ratio", "", tiny, sizeof tiny, kPath), 2);
  EXPECT_STREQ(tiny, "2.");
  EXPECT_EQ(ini_gets("Radio", "ratio", "", nullptr, 4, kPath), 0);

  std::vector<std::pair<std::string, std::string>> seen;
  EXPECT_EQ(ini_browse(
                [](const char *section, const char *key, const char *, void *data) {
                  auto *list =
                      static_cast<std::vector<std::pair<std::string, std::string>> *>(data);
                  list->emplace_back(section, key);
                  return list->size() < 3 ? 1 : 0;
                },
                &seen, kPath),
            1);
  EXPECT_EQ(seen, (std::vector<std::pair<std::string, std::string>>{
                      {"", "top"}, {"Radio", "Band"}, {"Radio", "hex"}}));
  EXPECT_EQ(ini_browse([](const char *, const char *, const char *, void *) { return 1; }, nullptr,
                       "/data/ini/none.ini"),
            0);
}

TEST(Ini, WritesKeepTheRestOfTheFile) {
  vt::remove_tree("/data/ini");
  vt::make_dirs("/data/ini");
  EXPECT_EQ(ini_puts("net", "apn", "internet", kPath), 1);
  EXPECT_EQ(vt::read_file(kPath), "[net]\napn=internet\n");
  EXPECT_EQ(ini_puts("net", "note", "a;b", kPath), 1);
  EXPECT_EQ(get("net", "note"), "a;b");
  EXPECT_EQ(ini_putl("net", "mtu", 1500, kPath), 1);
  EXPECT_EQ(ini_putf("radio", "gain", 1.5f, kPath), 1);
  EXPECT_EQ(ini_puts(nullptr, "first", "1", kPath), 1);
  EXPECT_EQ(vt::read_file(kPath),
            "first=1\n[net]\napn=internet\nnote=\"a;b\"\nmtu=1500\n\n[radio]\ngain=1.500000\n");

  // A same-length value is written in place; a longer one through a new
  // file that replaces the old.
  ino_t inode = inode_of(kPath);
  EXPECT_EQ(ini_puts("NET", "APN", "intranet", kPath), 1);
  EXPECT_EQ(inode_of(kPath), inode);
  EXPECT_EQ(ini_puts("net", "apn", "ims.example", kPath), 1);
  EXPECT_NE(inode_of(kPath), inode);
  EXPECT_EQ(get("net", "apn"), "ims.example");

  // An unchanged value writes nothing at all.
  timeval old_times[2] = {{1000000, 0}, {1000000, 0}};
  utimes(kPath, old_times);
  EXPECT_EQ(ini_puts("net", "mtu", "1500", kPath), 1);
  struct stat st {};
  stat(kPath, &st);
  EXPECT_EQ(st.st_mtime, 1000000);

  EXPECT_EQ(ini_puts("net", "note", nullptr, kPath), 1);
  EXPECT_EQ(ini_puts("net", "absent", nullptr, kPath), 1);
  EXPECT_EQ(ini_puts("radio", nullptr, nullptr, kPath), 1);
  EXPECT_EQ(ini_puts("gone", nullptr, nullptr, kPath), 1);
  EXPECT_EQ(vt::read_file(kPath), "first=1\n[net]\napn=ims.example\nmtu=1500\n\n");
  EXPECT_EQ(ini_puts("x", nullptr, nullptr, "/data/ini/never.ini"), 1);
  EXPECT_FALSE(vt::file_exists("/data/ini/never.ini"));
  EXPECT_EQ(ini_puts("x", "k", "v", "/data/ini/no-dir/x.ini"), 0);

  vt::write_file(kPath, "[a]\nk1: one\n\n\n[b]\nk=v\n");
  EXPECT_EQ(ini_puts("a", "k2", "two", kPath), 1);
  EXPECT_EQ(vt::read_file(kPath), "[a]\nk1: one\nk2=two\n\n\n[b]\nk=v\n");
  EXPECT_EQ(get("a", "k1"), "one");

  EXPECT_EXIT(ini_puts("a", "k", "v", nullptr), ::testing::KilledBySignal(SIGABRT), "Assertion");
}

TEST(Ini, SurvivesBadContent) {
  std::string binary;
  for (int i = 0; i < 4096; ++i) binary += static_cast<char>((i * 37 + 11) % 256);
  std::string long_value(3000, 'v');
  vt::write_file(kPath, binary + "\n[s]\nlong=" + long_value + "\nnext=ok\n[t" +
                            std::string("\nk=1\0z\n", 7) + "trunc=\"unterminated");
  EXPECT_EQ(get("s", "long"), long_value.substr(0, INI_BUFFERSIZE - 1 - 5));
  EXPECT_EQ(get("s", "next"), "ok");
  EXPECT_EQ(get("t", "k"), "1");
  EXPECT_EQ(get("t", "trunc"), "unterminated");
  EXPECT_EQ(get("nowhere", "k"), "none");

  // A rewrite carries long lines and odd bytes along untouched.
  std::string before = vt::read_file(kPath);
  EXPECT_EQ(ini_puts("s", "added", "1", kPath), 1);
  std::string after = vt::read_file(kPath);
  EXPECT_EQ(after.size(), before.size() + std::string("added=1\n").size());
  EXPECT_NE(after.find("long=" + long_value + "\nnext=ok\nadded=1\n[t"), std::string::npos);
  std::string huge_key(INI_BUFFERSIZE * 2, 'k');
  EXPECT_EQ(ini_puts("s", huge_key.c_str(), long_value.c_str(), kPath), 1);
  EXPECT_EQ(get("s", "next"), "ok");
}

}  // namespace
