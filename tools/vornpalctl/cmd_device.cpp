// The device family: identity in one view, operating mode, reset.
#include <sys/mount.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <vornpal/device.h>
#include <vornpal/m2m.h>

#include "ctl.h"

namespace {

std::string text_or(int rc, const char *text) {
  return rc == 0 ? std::string(text) : "(failed: " + std::to_string(rc) + ")";
}

// LTE band numbers of the four mask words, in the family's bit layout.
std::string lte_bands(const vorn_device_band_capabilities &caps) {
  std::string list;
  for (unsigned word = 0; word < 4; ++word) {
    for (unsigned bit = 0; bit < 64; ++bit) {
      if ((caps.lte_band_mask[word] >> bit & 1) == 0) continue;
      unsigned band = word == 0 ? bit + 1 : word * 64 + bit + 1;
      list += (list.empty() ? "" : ",") + std::to_string(band);
    }
  }
  return list;
}

int info(const ctl::Args &, ctl::Output &out) {
  char revid[64] = {}, serial[36] = {}, fsn[40] = {}, mfr[129] = {}, model[33] = {},
       msisdn[64] = {}, hw_m2m[65] = {}, hw_dms[65] = {}, product[65] = {}, prefix[64] = {},
       wan[18] = {};
  out.field("revision", text_or(vorn_device_pal_get_revid(revid, sizeof revid), revid));
  int rc = vorn_device_pal_get_dev_ser_num(serial);
  out.field("imei", text_or(rc, serial));
  out.field("imei_svn", text_or(rc, std::string(serial + 33, strnlen(serial + 33, 3)).c_str()));
  out.field("fsn", text_or(vorn_device_pal_get_fsn(fsn, sizeof fsn - 1), fsn));
  out.field("manufacturer", text_or(vorn_device_pal_get_mfr(mfr, sizeof mfr - 1), mfr));
  out.field("model", text_or(vorn_device_pal_get_model(model, sizeof model - 1), model));
  out.field("msisdn", text_or(vorn_deivce_pal_get_msisdn(msisdn, sizeof msisdn), msisdn));
  out.field("hw_version", text_or(vorn_device_pal_get_hw_version(hw_m2m), hw_m2m));
  out.field("hw_version_dms", text_or(vorn_qmi_dms_get_hw_version(hw_dms), hw_dms));
  out.field("product", text_or(vorn_device_pal_get_product_description(product, sizeof product), product));
  out.field("product_prefix", text_or(vorn_device_pal_get_product_prefix_description(prefix), prefix));
  uint32_t mode = 0;
  rc = vorn_device_pal_get_operating_mode(&mode);
  out.field("operating_mode", text_or(rc, std::to_string(mode).c_str()));
  uint8_t cfun = 0;
  rc = vorn_device_pal_get_device_oprt_state(&cfun);
  out.field("cfun", text_or(rc, std::to_string(cfun).c_str()));
  vorn_device_band_capabilities caps{};
  vorn_device_pal_get_band_capabilities(&caps);
  char umts[24];
  std::snprintf(umts, sizeof umts, "0x%llx", static_cast<unsigned long long>(caps.umts_band_mask));
  out.field("umts_band_mask", umts);
  out.field("lte_bands", lte_bands(caps));
  out.field("wan_mac", vorn_device_pal_get_wan_hw_addr(wan) == 0 ? std::string(wan) : "(no eth1)");
  return 0;
}

int mode_get(const ctl::Args &, ctl::Output &out) {
  uint32_t mode = 0;
  int rc = vorn_device_pal_get_operating_mode(&mode);
  if (rc != 0) return ctl::fail(out, "cannot read the operating mode", rc);
  out.field("operating_mode", mode);
  return 0;
}

int mode_set(const ctl::Args &args, ctl::Output &out) {
  long long mode = 0;
  if (!ctl::number_arg(args, 0, 0, UINT32_MAX, mode))
    return ctl::fail(out, "usage: device mode set MODE (0 to 9)", 2);
  int rc = vorn_device_pal_set_operating_mode(static_cast<uint32_t>(mode));
  if (rc != 0) return ctl::fail(out, "cannot set mode " + args[0], rc);
  return mode_get(args, out);
}

// ---- reset inside the sandbox ------------------------------------------------

std::string file_text(const std::string &path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

void put_file(const std::string &path, const std::string &content) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
    mkdir(path.substr(0, slash).c_str(), 0755);
  std::ofstream(path, std::ios::trunc) << content;
}

std::string trimmed(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

constexpr const char *kNodes[] = {"/sys/power/autosleep",
                                  "/sys/module/msm_poweroff/parameters/download_mode",
                                  "/sys/devices/platform/8a00000.ssusb/mode"};

// The sysfs nodes of the reboot become files of a tmpfs, and "sys_reboot"
// a stand-in that records its call: nothing reaches the host.
bool prepare_reboot_stand_ins() {
  for (const char *dir : {"/sys/power", "/sys/module", "/sys/devices/platform"})
    if (mount("tmpfs", dir, "tmpfs", 0, nullptr) != 0) return false;
  put_file(kNodes[0], "mem\n");
  put_file(kNodes[1], "1");
  put_file(kNodes[2], "peripheral\n");
  put_file("/usr/local/sbin/sys_reboot", "#!/bin/sh\necho \"sys_reboot $*\" >> /tmp/sys_reboot.calls\n");
  chmod("/usr/local/sbin/sys_reboot", 0755);
  std::remove("/tmp/sys_reboot.calls");
  return true;
}

int reset(const ctl::Args &, ctl::Output &out) {
  if (!prepare_reboot_stand_ins()) return ctl::fail(out, "cannot make the stand-in nodes", 1);
  std::string kmsg_before = file_text("/dev/kmsg");
  int rc = vorn_device_pal_reset();
  out.field("result", rc);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (file_text("/tmp/sys_reboot.calls").empty() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  for (const char *node : kNodes) out.field(node, trimmed(file_text(node)));
  uint32_t mode = 0;
  if (vorn_device_pal_get_operating_mode(&mode) == 0) out.field("operating_mode", mode);
  std::istringstream kmsg(file_text("/dev/kmsg").substr(kmsg_before.size()));
  for (std::string line; std::getline(kmsg, line);) out.line("kmsg: " + line);
  std::istringstream calls(file_text("/tmp/sys_reboot.calls"));
  for (std::string line; std::getline(calls, line);) out.line("ran: " + line);
  return 0;
}

// ---- events of `watch` -----------------------------------------------------------

ctl::Emit device_emit;

void on_device_event(int id, void *data, int size, void *) {
  std::string text = "event " + std::to_string(id);
  if (id == VORN_DEVICE_EVENT_OPERATING_MODE && data != nullptr && size == 4) {
    uint32_t mode = 0;
    std::memcpy(&mode, data, sizeof mode);
    text = "operating mode " + std::to_string(mode);
  }
  device_emit("device", text);
}

void start_watch(const ctl::Emit &emit) {
  device_emit = emit;
  vorn_device_pal_event_register(on_device_event, nullptr);
  vorn_device_pal_init();
}

ctl::Registrar reg({
    {"device info", "", "every identity and product value", info, "device info"},
    {"device mode get", "", "the modem's operating mode", mode_get, "device mode get"},
    {"device mode set", "MODE", "set the operating mode (0 to 9)", mode_set, "device mode set 4"},
    {"device reset", "", "run the reboot sequence against stand-ins and show it", reset,
     "device reset"},
});

ctl::WatchRegistrar watch_source({"device", start_watch});

}  // namespace
