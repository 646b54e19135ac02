// The device's settings and board values: MIMO limit, CLAT, battery and
// charger nodes, MAC addresses.
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include <vornpal/device.h>

#include "ctl.h"

namespace {

bool valid_kind(const std::string &kind) { return kind == "lte" || kind == "nr"; }

// The library takes any text but "LTE" as NR; the tool names both.
const char *library_kind(const std::string &kind) { return kind == "lte" ? "LTE" : "NR"; }

void mimo_item(ctl::Output &out, const std::string &kind) {
  char text[VORN_DEVICE_MIMO_TEXT_SIZE] = {};
  int rc = vorn_device_pal_read_mimo_nv(library_kind(kind), text);
  out.field(kind + "_item", rc == 0 ? std::string(text) : "(none)");
}

int mimo_get(const ctl::Args &, ctl::Output &out) {
  uint32_t lte = 0, sa = 0;
  vorn_device_pal_get_mimo_nv(&lte, &sa);
  out.field("lte_mimo", lte == 1 ? "full" : "limited");
  out.field("nr_mimo", sa == 1 ? "full" : "limited");
  mimo_item(out, "lte");
  mimo_item(out, "nr");
  return 0;
}

int mimo_switch(const ctl::Args &args, ctl::Output &out, int (*fn)(const char *), const char *name) {
  if (args.size() != 1 || !valid_kind(args[0]))
    return ctl::fail(out, std::string("usage: device mimo ") + name + " lte|nr", 2);
  int rc = fn(library_kind(args[0]));
  if (rc != 0) return ctl::fail(out, std::string("mimo ") + name + " " + args[0] + " failed", rc);
  return mimo_get({}, out);
}

int mimo_set(const ctl::Args &args, ctl::Output &out) {
  return mimo_switch(args, out, vorn_device_pal_set_2mimo, "set");
}

int mimo_clear(const ctl::Args &args, ctl::Output &out) {
  return mimo_switch(args, out, vorn_device_pal_rename_4mimo, "clear");
}

int clat_get(const ctl::Args &, ctl::Output &out) {
  uint8_t enable = 0;
  int rc = vorn_device_pal_xlat_read(&enable);
  if (rc != 0) return ctl::fail(out, "cannot read the CLAT item", rc);
  out.field("clat", enable != 0 ? "on" : "off");
  return 0;
}

int clat_write(ctl::Output &out, uint32_t enable) {
  int rc = vorn_device_pal_xlat_write(enable);
  if (rc == -1) out.line(std::string("already ") + (enable != 0 ? "on" : "off"));
  else if (rc != 0) return ctl::fail(out, "cannot write the CLAT item", rc);
  return clat_get({}, out);
}

int clat_on(const ctl::Args &, ctl::Output &out) { return clat_write(out, 1); }
int clat_off(const ctl::Args &, ctl::Output &out) { return clat_write(out, 0); }

// ---- battery and charger -------------------------------------------------------

struct PowerValue {
  const char *name;
  int (*read)(uint8_t *, uint32_t);
};

constexpr PowerValue kPowerValues[] = {
    {"battery_voltage_uv", vorn_pal_get_battery_vol},
    {"battery_temp_decidegc", vorn_pal_get_battery_temp},
    {"battery_capacity_percent", vorn_pal_get_battery_vol_percent},
    {"charger_online", vorn_pal_get_charger_online},
    {"charge_status", vorn_pal_get_charge_status},
    {"charger_model", vorn_pal_get_charger_model_name},
    {"charger_present", vorn_pal_ftm_charge_state},
};

int battery(const ctl::Args &, ctl::Output &out) {
  for (const PowerValue &value : kPowerValues) {
    uint8_t text[64] = {};
    int rc = value.read(text, sizeof text - 1);
    std::string shown(reinterpret_cast<char *>(text));
    while (!shown.empty() && shown.back() == '\n') shown.pop_back();
    out.field(value.name, rc == 0 ? shown : "(no node: " + std::to_string(rc) + ")");
  }
  return 0;
}

// ---- MAC addresses -------------------------------------------------------------------

constexpr size_t kMacBytes = 6;

// "aa:bb:cc:dd:ee:ff" (or with "-", or none) into six bytes.
bool parse_mac(const std::string &text, uint8_t (&mac)[kMacBytes]) {
  std::string digits;
  for (char c : text) {
    if (c == ':' || c == '-') continue;
    if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    digits += c;
  }
  if (digits.size() != 2 * kMacBytes) return false;
  for (size_t i = 0; i < kMacBytes; ++i) mac[i] = static_cast<uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
  return true;
}

std::string mac_text(const uint8_t (&mac)[kMacBytes]) {
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

struct MacItem {
  const char *name;
  int (*get)(uint8_t *, uint32_t);
  int (*set)(const uint8_t *, uint32_t);
};

constexpr MacItem kMacItems[] = {
    {"eth", vorn_device_pal_get_mac_addr, vorn_device_pal_set_mac_addr},
    {"bt", vorn_device_pal_get_bt_mac_addr, vorn_device_pal_set_bt_mac_addr},
};

void show_mac(const MacItem &item, ctl::Output &out) {
  uint8_t mac[kMacBytes] = {};
  int rc = item.get(mac, sizeof mac);
  out.field(std::string(item.name) + "_mac", rc == 0 ? mac_text(mac) : "(not stored)");
}

// The Wi-Fi driver's file and its firmware copy live where the sandbox
// has nothing: make them, the copy a link to the file as on the device.
// The device's shell takes "echo -e"; the host's dash would print the
// option, so bash stands in for sh here.
bool prepare_wlan_files() {
  if (mount("/bin/bash", "/bin/sh", nullptr, MS_BIND, nullptr) != 0) return false;
  mkdir("/persist", 0755);
  if (mount("tmpfs", "/lib/firmware", "tmpfs", 0, nullptr) != 0) return false;
  mkdir("/lib/firmware/wlan", 0755);
  mkdir("/lib/firmware/wlan/qca_cld", 0755);
  return symlink("/persist/wlan_mac.bin", "/lib/firmware/wlan/qca_cld/wlan_mac.bin") == 0;
}

int wifi_mac(const std::string &macs, ctl::Output &out) {
  size_t comma = macs.find(',');
  std::string first = macs.substr(0, comma), second = comma == std::string::npos ? "" : macs.substr(comma + 1);
  if (first.size() != 12 || second.size() != 12)
    return ctl::fail(out, "usage: device mac wifi --set MAC0,MAC1 (12 hexadecimal digits each)", 2);
  if (!prepare_wlan_files()) return ctl::fail(out, "cannot make the Wi-Fi driver's files", 1);
  char mac0[13] = {}, mac1[13] = {};
  std::memcpy(mac0, first.data(), 12);
  std::memcpy(mac1, second.data(), 12);
  uint8_t mix[12] = {};
  int rc = vorn_device_pal_analysis_wifi_mac(mac0, mac1, mix);
  if (rc != 0) return ctl::fail(out, "not hexadecimal: " + macs, rc);
  std::ifstream file("/persist/wlan_mac.bin");
  for (std::string line; std::getline(file, line);) out.line("wlan_mac.bin: " + line);
  out.field("mix", ctl::hex(mix, sizeof mix));
  return 0;
}

int mac(const ctl::Args &args, ctl::Output &out) {
  const std::string usage = "usage: device mac [eth|bt|wifi] [--set MAC]";
  ctl::Args rest = args;
  std::string which;
  if (!rest.empty() && rest[0] != "--set") {
    which = rest[0];
    rest.erase(rest.begin());
  }
  std::string value;
  if (rest.size() == 2 && rest[0] == "--set") value = rest[1];
  else if (!rest.empty()) return ctl::fail(out, usage, 2);
  if (which == "wifi") {
    if (value.empty()) return ctl::fail(out, "usage: device mac wifi --set MAC0,MAC1", 2);
    return wifi_mac(value, out);
  }
  if (!value.empty() && which.empty()) return ctl::fail(out, usage, 2);
  bool shown = false;
  for (const MacItem &item : kMacItems) {
    if (!which.empty() && which != item.name) continue;
    if (!value.empty()) {
      uint8_t bytes[kMacBytes];
      if (!parse_mac(value, bytes)) return ctl::fail(out, "not a MAC address: " + value, 2);
      int rc = item.set(bytes, sizeof bytes);
      if (rc != 0) return ctl::fail(out, std::string("cannot store the ") + item.name + " MAC", rc);
    }
    show_mac(item, out);
    shown = true;
  }
  return shown ? 0 : ctl::fail(out, usage, 2);
}

ctl::Registrar reg({
    {"device mimo get", "", "MIMO of LTE and NR: full or limited, and the limiting items", mimo_get,
     "device mimo get"},
    {"device mimo set", "lte|nr", "limit MIMO: restore the limiting item from its backup", mimo_set,
     "device mimo set lte"},
    {"device mimo clear", "lte|nr", "full MIMO: move the limiting item to its backup", mimo_clear,
     "device mimo clear lte"},
    {"device clat get", "", "the CLAT (464XLAT) switch", clat_get, "device clat get"},
    {"device clat on", "", "turn CLAT on", clat_on, "device clat on"},
    {"device clat off", "", "turn CLAT off", clat_off, "device clat off"},
    {"device battery", "", "battery and charger values from sysfs", battery, "device battery"},
    {"device mac", "[eth|bt|wifi] [--set MAC]", "MAC addresses (wifi: --set MAC0,MAC1)", mac,
     "device mac\ndevice mac bt --set 00:a0:c6:44:55:66"},
});

}  // namespace
