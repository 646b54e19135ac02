// The simulated network manager and the platform's data port look-up.
//
// A link is one end ("rmnet_data<N>") of a veth pair whose other end
// ("mdm_port<N>") stands for the modem; both are up, so the kernel treats the
// link as a working interface with its own IPv6 settings. The commands are
// the ones a network manager script would run: ip, in one batch per job.
#include <sys/stat.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "wds_link.h"

namespace vornsim::wds_link {
namespace {

constexpr char kIfconfigPath[] = "/usr/local/sbin/ifconfig";
// The device's ifconfig is busybox's: "inet addr:" and "Scope:Global". The
// library's probes grep for those words, so the sandbox gets a stand-in that
// prints an interface's addresses that way and hands any other use to the
// host's ifconfig.
constexpr char kIfconfig[] = R"(#!/bin/sh
# ifconfig as the device's busybox prints an interface's addresses.
if [ $# -ne 1 ]; then exec /usr/sbin/ifconfig "$@"; fi
if ! ip link show dev "$1" >/dev/null 2>&1; then
  echo "ifconfig: $1: error fetching interface information: Device not found" >&2
  exit 1
fi
ip -o addr show dev "$1" | awk -v dev="$1" '
  BEGIN { print dev "    Link encap:UNSPEC" }
  { scope = ""; for (i = 4; i <= NF; i++) if ($i == "scope") scope = $(i + 1) }
  $3 == "inet" { split($4, a, "/"); print "          inet addr:" a[1] "  Mask:/" a[2] }
  $3 == "inet6" {
    s = scope == "global" ? "Global" : scope == "link" ? "Link" : scope
    print "          inet6 addr: " $4 " Scope:" s
  }'
)";

struct Manager {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> jobs;
  bool busy = false;
  bool enabled = true;
  bool stopping = false;
  std::set<uint32_t> made;
  std::map<uint32_t, int> ports;
  bool port_missing = false;
  std::thread thread;

  ~Manager() {
    {
      std::lock_guard<std::mutex> lock(mutex);
      stopping = true;
      jobs.clear();
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
  }
};

Manager &manager() {
  static Manager instance;
  return instance;
}

std::string name_of(uint32_t link) { return "rmnet_data" + std::to_string(link); }
std::string peer_of(uint32_t link) { return "mdm_port" + std::to_string(link); }

// Runs a batch of ip commands; errors (an address already gone) are the
// network manager's to ignore.
void run_batch(int family, const std::string &batch) {
  std::string command = std::string("ip ") + (family == 6 ? "-6 " : family == 4 ? "-4 " : "") +
                        "-force -batch - >/dev/null 2>&1 <<'EOF'\n" + batch + "EOF\n";
  int rc = std::system(command.c_str());
  (void)rc;
}

void install_ifconfig() {
  if (access(kIfconfigPath, X_OK) == 0) return;
  std::ofstream out(kIfconfigPath, std::ios::trunc);
  if (!out) return;
  out << kIfconfig;
  out.close();
  chmod(kIfconfigPath, 0755);
}

void loop() {
  Manager &m = manager();
  std::unique_lock<std::mutex> lock(m.mutex);
  for (;;) {
    m.changed.wait(lock, [&] { return m.stopping || !m.jobs.empty(); });
    if (m.stopping) return;
    auto job = std::move(m.jobs.front());
    m.jobs.pop_front();
    m.busy = true;
    lock.unlock();
    job();
    lock.lock();
    m.busy = false;
    m.changed.notify_all();
  }
}

void queue(std::function<void()> job) {
  Manager &m = manager();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (!m.enabled) return;
  if (!m.thread.joinable()) m.thread = std::thread(loop);
  m.jobs.push_back(std::move(job));
  m.changed.notify_all();
}

void bring_up(const Setup &s) {
  install_ifconfig();
  const std::string dev = name_of(s.link);
  // One batch, the address before the link goes up: a probe that waits for
  // the link to be listed as up then finds its address with it. A link
  // that is there already refuses the add; the batch goes on. Without a
  // family option ip takes each address's family from the address.
  std::string batch;
  batch += "link add " + dev + " type veth peer name " + peer_of(s.link) + "\n";
  batch += "link set " + peer_of(s.link) + " up\n";
  batch += "link set " + dev + " mtu " + std::to_string(s.mtu) + "\n";
  batch += "addr add " + s.address + " dev " + dev + (s.family == 6 ? " nodad\n" : "\n");
  batch += "link set " + dev + " up\n";
  batch += "route replace default via " + s.gateway + " dev " + dev + " metric " +
           std::to_string(100 + s.link) + "\n";
  run_batch(0, batch);
  {
    Manager &m = manager();
    std::lock_guard<std::mutex> lock(m.mutex);
    m.made.insert(s.link);
  }
  std::ofstream("/tmp/netmgr_link" + std::to_string(s.link) + "_ok") << "1\n";
}

void take_down(uint32_t link, int family) {
  const std::string dev = name_of(link);
  if (family == 6) {
    run_batch(6, "route del default dev " + dev + "\naddr flush dev " + dev + " scope global\n");
  } else {
    run_batch(4, "route flush dev " + dev + "\naddr flush dev " + dev + "\n");
  }
  // With no call left on it the link goes down, as the device's network
  // manager leaves an idle data interface; the next session sets it up.
  const std::string idle = "[ -z \"$(ip -o addr show dev " + dev + " scope global)\" ] && ip link set dev " +
                           dev + " down >/dev/null 2>&1";
  int rc = std::system(idle.c_str());
  (void)rc;
}

}  // namespace

void up(const Setup &setup) {
  queue([setup] { bring_up(setup); });
}

void down(uint32_t link, int family) {
  queue([link, family] { take_down(link, family); });
}

void reset() {
  Manager &m = manager();
  std::set<uint32_t> made;
  {
    std::unique_lock<std::mutex> lock(m.mutex);
    m.jobs.clear();
    m.changed.wait(lock, [&] { return !m.busy; });
    made.swap(m.made);
    m.enabled = true;
    m.ports.clear();
    m.port_missing = false;
  }
  std::string batch;
  for (uint32_t link : made) batch += "link del " + name_of(link) + "\n";
  if (!batch.empty()) run_batch(0, batch);
}

void set_enabled(bool on) {
  Manager &m = manager();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.enabled = on;
}

void settle() {
  Manager &m = manager();
  std::unique_lock<std::mutex> lock(m.mutex);
  m.changed.wait(lock, [&] { return m.jobs.empty() && !m.busy; });
}

std::vector<std::string> links() {
  Manager &m = manager();
  std::lock_guard<std::mutex> lock(m.mutex);
  std::vector<std::string> out;
  for (uint32_t link : m.made) out.push_back(name_of(link));
  return out;
}

void set_port(uint32_t link, int mux_id) {
  Manager &m = manager();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.ports[link] = mux_id;
}

void set_port_missing(bool missing) {
  Manager &m = manager();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.port_missing = missing;
}

}  // namespace vornsim::wds_link

// The port of a data interface: the modem's end of "rmnet_data<N>" is the
// mux channel N + 1 of the PCIe endpoint, unless a test changed it.
extern "C" __attribute__((visibility("default"))) int qmi_linux_get_conn_id_by_name_ex(
    const char *dev_id, int *ep_type, int *epid, int *mux_id) {
  int link = 0;
  if (dev_id == nullptr || ep_type == nullptr || epid == nullptr || mux_id == nullptr ||
      std::sscanf(dev_id, "rmnet_data%d", &link) != 1 || link < 0)
    return -1;
  auto &m = vornsim::wds_link::manager();
  std::lock_guard<std::mutex> lock(m.mutex);
  if (m.port_missing) return -1;
  auto port = m.ports.find(static_cast<uint32_t>(link));
  *ep_type = 2;
  *epid = 1;
  *mux_id = port != m.ports.end() ? port->second : link + 1;
  return 0;
}
