#include "vornpal_test.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>

#include <vornpal/log.h>

namespace vt {

std::string read_file(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

bool file_exists(const std::string &path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0;
}

void make_dirs(const std::string &path) {
  for (size_t pos = 1; pos != std::string::npos;) {
    pos = path.find('/', pos + 1);
    mkdir(path.substr(0, pos).c_str(), 0755);
  }
}

void write_file(const std::string &path, const std::string &content) {
  make_dirs(path.substr(0, path.rfind('/')));
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
  ASSERT_TRUE(out.good()) << "cannot write " << path;
}

void remove_tree(const std::string &path) { sh("rm -rf '" + path + "'"); }

std::vector<std::string> diag_texts() {
  std::vector<std::string> texts;
  for (const auto &line : vornsim::diag_lines()) texts.push_back(line.text);
  return texts;
}

int count_logged(const std::string &text) {
  int count = 0;
  for (const auto &line : vornsim::diag_lines()) count += line.text == text;
  return count;
}

bool logged(const std::string &text) { return count_logged(text) > 0; }

void bind_over(const std::string &target, const std::string &content) {
  static bool own_namespace = false;
  if (!own_namespace) {
    ASSERT_EQ(unshare(CLONE_NEWNS), 0) << "a mount namespace of the test's own";
    ASSERT_EQ(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    own_namespace = true;
  }
  static int serial = 0;
  std::string source = "/run/vt-bind-" + std::to_string(++serial);
  write_file(source, content);
  ASSERT_EQ(mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr), 0)
      << "bind over " << target;
}

namespace {
std::mutex console_mutex;
std::vector<std::string> console_lines;
void capture_line(const char *line) {
  std::lock_guard<std::mutex> lock(console_mutex);
  console_lines.emplace_back(line);
}
}  // namespace

ConsoleCapture::ConsoleCapture() {
  {
    std::lock_guard<std::mutex> lock(console_mutex);
    console_lines.clear();
  }
  set_print_interface(capture_line);
}

ConsoleCapture::~ConsoleCapture() { set_print_interface(nullptr); }

std::vector<std::string> ConsoleCapture::lines() const {
  std::lock_guard<std::mutex> lock(console_mutex);
  return console_lines;
}

bool eventually(const std::function<bool()> &done, int ms) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

void Events::record(int id, void *data, int size, void *user) {
  auto *self = static_cast<Events *>(user);
  auto *bytes = static_cast<const uint8_t *>(data);
  std::lock_guard<std::mutex> lock(self->mutex);
  self->list.push_back({id,
                        data != nullptr ? std::vector<uint8_t>(bytes, bytes + size)
                                        : std::vector<uint8_t>(),
                        size, data != nullptr, vornsim::on_modem_thread(),
                        std::this_thread::get_id()});
}

std::vector<Events::Event> Events::taken() {
  vornsim::drain();
  std::lock_guard<std::mutex> lock(mutex);
  return list;
}

bool emulated() { return std::getenv("VORNPAL_EMULATED") != nullptr; }

int sh(const std::string &command) {
  int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace vt
