// The simulated IPA driver. The library opens /dev/ipa and makes requests
// on it with ioctl; on a host the simulated platform takes the process's
// ioctl calls, answers those made on that file (and the Ethernet
// controller's private request on "eth0") as the drivers would, and passes
// every other call on to the C library.
#include <dlfcn.h>
#include <net/if.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include <vornpal/platform/ipa.h>
#include <vornsim/ipa.h>

#include "remote.h"
#include "service_module.h"

namespace vornsim {
namespace {

constexpr char kDevice[] = IPA_DEVICE_PATH;

struct State {
  std::map<uint32_t, Bytes> requests;  // by order: the code (4 bytes), then the argument
  std::map<uint32_t, uint32_t> fail_error;  // by code
  std::map<uint32_t, uint32_t> fail_count;  // by code
  std::map<std::string, uint32_t> vlan_ifaces;      // name: VLAN id
  std::map<std::string, uint32_t> bridge_mappings;  // "<bridge>:<id>": address
  uint32_t present = 1;

  template <class Visit>
  void values(Visit &&visit) {
    visit("requests", requests);
    visit("fail_error", fail_error);
    visit("fail_count", fail_count);
    visit("vlan_ifaces", vlan_ifaces);
    visit("bridge_mappings", bridge_mappings);
    visit("present", present);
  }
};

void make_device(bool present) {
  if (present) {
    if (FILE *node = std::fopen(kDevice, "a")) std::fclose(node);
  } else {
    unlink(kDevice);
  }
}

void install(ServiceModule<State> &) { make_device(true); }
ServiceModule<State> module("ipa", Svc::WDS, [] { return State{}; }, install);

// The size of each request's argument, as the driver reads it.
size_t argument_size(unsigned long code) {
  switch (code) {
    case IPA_IOC_SET_LAN_CONFIG:
      return sizeof(ipa_ioc_lan_config);
    case IPA_IOC_ADD_BRIDGE_VLAN_MAPPING:
    case IPA_IOC_DEL_BRIDGE_VLAN_MAPPING:
      return sizeof(ipa_ioc_bridge_vlan_mapping_info);
    case IPA_IOC_ADD_VLAN_IFACE:
    case IPA_IOC_DEL_VLAN_IFACE:
      return sizeof(ipa_ioc_vlan_iface_info);
    case NEUTRINO_IOCTL:
      return sizeof(neutrino_ioctl_vlan);
    default:
      return 0;
  }
}

bool kernel_link(const std::string &name) { return if_nametoindex(name.c_str()) != 0; }

template <size_t N>
std::string name_of(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

// The driver's answer: 0, or an errno.
int answer(State &s, unsigned long code, const void *arg) {
  switch (code) {
    case IPA_IOC_SET_LAN_CONFIG:
      return 0;
    case IPA_IOC_ADD_VLAN_IFACE:
    case IPA_IOC_DEL_VLAN_IFACE: {
      const auto *info = static_cast<const ipa_ioc_vlan_iface_info *>(arg);
      const std::string name = name_of(info->name);
      if (code == IPA_IOC_DEL_VLAN_IFACE) return s.vlan_ifaces.erase(name) == 1 ? 0 : ENOENT;
      if (!kernel_link(name)) return ENODEV;
      return s.vlan_ifaces.emplace(name, info->vlan_id).second ? 0 : EEXIST;
    }
    case IPA_IOC_ADD_BRIDGE_VLAN_MAPPING:
    case IPA_IOC_DEL_BRIDGE_VLAN_MAPPING: {
      const auto *info = static_cast<const ipa_ioc_bridge_vlan_mapping_info *>(arg);
      const std::string bridge = name_of(info->bridge_name);
      const std::string key = bridge + ":" + std::to_string(info->vlan_id);
      if (code == IPA_IOC_DEL_BRIDGE_VLAN_MAPPING) return s.bridge_mappings.erase(key) == 1 ? 0 : ENOENT;
      if (!kernel_link(bridge)) return ENODEV;
      return s.bridge_mappings.emplace(key, info->bridge_ipv4).second ? 0 : EEXIST;
    }
    case NEUTRINO_IOCTL:
      return 0;
    default:
      return ENOTTY;
  }
}

}  // namespace

// The driver's answer to a request and its argument's bytes (as many as
// the driver reads): 0 or an errno. Modem state: a process that uses
// vornsimd asks the daemon.
int ipa_request(uint32_t code, Bytes argument) {
  const void *arg = argument.empty() ? nullptr : argument.data();
  const size_t size = argument_size(code);
  if (remote::active()) return remote::call(&ipa_request, "ipa_request", code, argument);
  return module.with_state([&](State &s) {
    Bytes record(4 + size);
    const auto word = static_cast<uint32_t>(code);
    std::memcpy(record.data(), &word, 4);
    if (size != 0 && arg != nullptr) std::memcpy(record.data() + 4, arg, size);
    const uint32_t order = s.requests.empty() ? 0 : s.requests.rbegin()->first + 1;
    s.requests[order] = record;
    auto failing = s.fail_count.find(word);
    if (failing != s.fail_count.end() && failing->second > 0) {
      --failing->second;
      return static_cast<int>(s.fail_error[word]);
    }
    if (arg == nullptr) return EFAULT;
    return answer(s, code, arg);
  });
}

namespace {

// Records the request and answers it: the ioctl result, errno set.
int serve_request(unsigned long code, const void *arg) {
  const size_t size = argument_size(code);
  Bytes argument;
  if (arg != nullptr && size != 0)
    argument.assign(static_cast<const uint8_t *>(arg), static_cast<const uint8_t *>(arg) + size);
  else if (arg != nullptr)
    argument.assign(1, 0);  // a request without argument bytes still has an argument
  int error = ipa_request(static_cast<uint32_t>(code), argument);
  if (error == 0) return 0;
  errno = error;
  return -1;
}

bool same_file(int fd, const char *path) {
  struct stat by_fd {}, by_path {};
  if (fstat(fd, &by_fd) != 0 || stat(path, &by_path) != 0) return false;
  return by_fd.st_dev == by_path.st_dev && by_fd.st_ino == by_path.st_ino;
}

bool is_socket(int fd) {
  struct stat st {};
  return fstat(fd, &st) == 0 && S_ISSOCK(st.st_mode);
}

}  // namespace

namespace ipa {

std::vector<RequestView> requests() {
  return module.with_state([](State &s) {
    std::vector<RequestView> out;
    for (const auto &[order, record] : s.requests) {
      if (record.size() < 4) continue;
      uint32_t code;
      std::memcpy(&code, record.data(), 4);
      out.push_back({code, Bytes(record.begin() + 4, record.end())});
    }
    return out;
  });
}

void clear_requests() {
  module.with_state([](State &s) { s.requests.clear(); });
}

void fail_next(uint32_t code, int error, int count) {
  module.with_state([&](State &s) {
    s.fail_error[code] = static_cast<uint32_t>(error);
    s.fail_count[code] = static_cast<uint32_t>(count);
  });
}

std::vector<std::string> vlan_ifaces() {
  return module.with_state([](State &s) {
    std::vector<std::string> out;
    for (const auto &entry : s.vlan_ifaces) out.push_back(entry.first);
    return out;
  });
}

std::vector<std::string> bridge_mappings() {
  return module.with_state([](State &s) {
    std::vector<std::string> out;
    for (const auto &entry : s.bridge_mappings) out.push_back(entry.first);
    return out;
  });
}

void set_device_present(bool present) {
  module.with_state([present](State &s) { s.present = present ? 1 : 0; });
  make_device(present);
}

}  // namespace ipa
}  // namespace vornsim

extern "C" int ioctl(int fd, unsigned long request, ...) {
  va_list args;
  va_start(args, request);
  void *arg = va_arg(args, void *);
  va_end(args);
  using Real = int (*)(int, unsigned long, ...);
  static const auto real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "ioctl"));
  const unsigned code = static_cast<unsigned>(request);
  if ((code & 0xFF00u) == 0xCF00u && vornsim::same_file(fd, vornsim::kDevice))
    return vornsim::serve_request(request, arg);
  if (request == NEUTRINO_IOCTL && vornsim::is_socket(fd) && arg != nullptr) {
    const auto *req = static_cast<const ifreq *>(arg);
    if (std::strncmp(req->ifr_name, "eth0", IFNAMSIZ) == 0)
      return vornsim::serve_request(request, req->ifr_data);
  }
  return real(fd, request, arg);
}
