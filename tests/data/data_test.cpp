#include "data_test.h"

#include <dirent.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <vornpal/m2m.h>

namespace datat {

Collector &Collector::instance() {
  static Collector *collector = new Collector;
  return *collector;
}

void Collector::callback(int id, void *data, int size, void *user) {
  Event event{id, {}, data, {}, user};
  if (data != nullptr && size > 0)
    event.data.assign(static_cast<uint8_t *>(data), static_cast<uint8_t *>(data) + size);
  char name[17] = {};
  prctl(PR_GET_NAME, name, 0, 0, 0);
  event.thread = name;
  instance().add(std::move(event));
}

namespace {

std::string read_first(const std::string &path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  return line;
}

// The thread waits in epoll_wait. The kernel's name of the wait holds for
// any architecture, under qemu-arm too, where system call numbers do not.
bool in_epoll_wait(const std::string &task) {
  return read_first("/proc/self/task/" + task + "/wchan").find("epoll") != std::string::npos;
}

bool eventfd_empty() {
  DIR *fds = opendir("/proc/self/fd");
  if (fds == nullptr) return true;
  bool empty = true;
  while (dirent *entry = readdir(fds)) {
    char target[64] = {};
    std::string path = std::string("/proc/self/fd/") + entry->d_name;
    if (readlink(path.c_str(), target, sizeof target - 1) <= 0) continue;
    if (std::string(target) != "anon_inode:[eventfd]") continue;
    std::ifstream info(std::string("/proc/self/fdinfo/") + entry->d_name);
    std::string key, value;
    while (info >> key >> value)
      if (key == "eventfd-count:" && std::strtoull(value.c_str(), nullptr, 16) != 0) empty = false;
  }
  closedir(fds);
  return empty;
}

}  // namespace

bool event_thread_idle() {
  if (!eventfd_empty()) return false;
  DIR *tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return true;
  bool idle = true;
  while (dirent *entry = readdir(tasks)) {
    if (entry->d_name[0] == '.') continue;
    if (read_first(std::string("/proc/self/task/") + entry->d_name + "/comm") != "event_data_rx")
      continue;
    const bool waiting = in_epoll_wait(entry->d_name);
    idle = idle && waiting;
  }
  closedir(tasks);
  return idle && eventfd_empty();
}

void DataTest::settle() {
  vornsim::drain();
  vornsim::wds::settle_links();
  EXPECT_TRUE(vt::eventually(event_thread_idle, 30000)) << "the event thread stays busy";
}

bool DataTest::wait_call(int profile, int family, int state, int ms) {
  return vt::eventually(
      [&] {
        for (const data_status_event &e : statuses())
          if (e.profileIndex == profile && e.ip_call_type == family && e.data_state == state)
            return true;
        return false;
      },
      ms);
}

void DataTest::SetUp() {
  vt::eventually(event_thread_idle, 30000);
  vornsim::reset();
  vt::sh("rm -f /tmp/netmgr_link*_ok /tmp/ipv6_only /tmp/ipa_not_cfg");
  vorn_set_log_level(0);
  Collector::instance().clear();
  Collector::instance().set_hook(nullptr);
  ASSERT_EQ(vorn_data_pal_init(), 0);
  ASSERT_EQ(vorn_data_pal_event_register(&Collector::callback, &Collector::instance()), 0);
  forget();
}

void DataTest::TearDown() {
  settle();
  vorn_data_pal_deinit();
  vornsim::wds::settle_links();
  Collector::instance().set_hook(nullptr);
  vorn_set_log_level(1);
}

void DataTest::fresh_family() {
  vorn_data_pal_deinit();
  vorn_m2m_pal_deinit();
  vornsim::reset();
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  ASSERT_EQ(vorn_data_pal_init(), 0);
}

std::vector<data_status_event> DataTest::statuses() {
  std::vector<data_status_event> out;
  for (const Event &event : Collector::instance().of(VORN_DATA_EVENT_CALL_STATUS))
    out.push_back(event.status());
  return out;
}

data_status_event DataTest::wait_status(size_t n) {
  EXPECT_TRUE(Collector::instance().wait_for(VORN_DATA_EVENT_CALL_STATUS, n)) << "event 0 #" << n;
  auto all = statuses();
  return all.size() >= n ? all[n - 1] : data_status_event{};
}

data_profile_settings profile(const char *apn, uint32_t pdp_type, bool clat) {
  data_profile_settings s{};
  std::snprintf(s.apn, sizeof s.apn, "%s", apn);
  s.pdp_type = pdp_type;
  s.clat_valid = 1;
  s.clat_enabled = clat ? 1 : 0;
  return s;
}

std::string ip_json(const std::string &what) {
  std::string command = "ip -j " + what + " 2>/dev/null";
  FILE *pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "";
  std::string out;
  std::array<char, 4096> buffer;
  size_t got;
  while ((got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) out.append(buffer.data(), got);
  pclose(pipe);
  return out;
}

std::string first_line(const std::string &path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  return line;
}

std::vector<unsigned> request_ids() {
  std::vector<unsigned> ids;
  for (const vornsim::Request &req : vornsim::requests(kWds)) ids.push_back(req.msg_id);
  return ids;
}

}  // namespace datat
