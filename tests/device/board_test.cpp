// Battery and charger nodes (a tmpfs stand-in for /sys/class), the MAC items
// of the modem, and the Wi-Fi MAC file with its firmware copy.
#include <sys/stat.h>
#include <unistd.h>

#include "device_test.h"

namespace {

using namespace devt;

struct PowerCase {
  int (*read)(uint8_t *, uint32_t);
  const char *node;
  const char *null_text;
  const char *value;
};

const PowerCase kPower[] = {
    {vorn_pal_get_battery_vol, "/sys/class/power_supply/bms/voltage_now", "input null pointer batt_vol\n", "3800000\n"},
    {vorn_pal_get_battery_temp, "/sys/class/power_supply/bms/temp", "input null pointer batt_temp\n", "251\n"},
    {vorn_pal_get_battery_vol_percent, "/sys/class/power_supply/bms/capacity", "input null pointer batt_temp\n", "87\n"},
    {vorn_pal_get_charger_online, "/sys/class/power_supply/charger/online", "input null pointer chg_online\n", "1\n"},
    {vorn_pal_get_charge_status, "/sys/class/power_supply/charger/status", "input null pointer chg_status\n", "Charging\n"},
    {vorn_pal_get_charger_model_name, "/sys/class/power_supply/charger/model_name", "input null pointer chg_model_name\n", "smb1355\n"},
    {vorn_pal_ftm_charge_state, "/sys/class/power_supply/charger/present", "input null pointer chg_state\n", "1\n"},
};

class Board : public DeviceTest {};

TEST_F(Board, PowerNodesAsRawText) {
  scratch_over("/sys/class");
  vt::remove_tree("/sys/class/power_supply");
  for (const PowerCase &c : kPower) {
    uint8_t buffer[64];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(c.read(buffer, sizeof buffer), 4) << c.node;
    EXPECT_TRUE(vt::logged(std::string("open ") + c.node + " failed.\n"));
    EXPECT_TRUE(vt::logged(std::string("oem read ") + c.node + " failed\n"));

    vt::write_file(c.node, c.value);
    size_t len = std::strlen(c.value);
    ASSERT_EQ(c.read(buffer, sizeof buffer), 0) << c.node;
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), len), c.value);
    EXPECT_EQ(buffer[len], 'x') << "not terminated";
    std::memset(buffer, 'x', sizeof buffer);
    ASSERT_EQ(c.read(buffer, 2), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), 3), std::string(c.value, 2) + "x");

    // A null buffer is refused before the node is opened: a node that
    // cannot be opened would give 4.
    std::remove(c.node);
    EXPECT_EQ(c.read(nullptr, 8), -1);
    EXPECT_TRUE(vt::logged(c.null_text));
    vt::write_file(c.node, c.value);
  }
  // A node that opens but cannot be read.
  std::remove("/sys/class/power_supply/bms/temp");
  ASSERT_EQ(mkdir("/sys/class/power_supply/bms/temp", 0755), 0);
  uint8_t buffer[8];
  EXPECT_EQ(vorn_pal_get_battery_temp(buffer, sizeof buffer), -1);
  EXPECT_TRUE(vt::logged("read /sys/class/power_supply/bms/temp failed.\n"));
}

std::string item_bytes(const char *path) {
  char data[VORN_M2M_ITEM_MAX];
  uint32_t len = 0;
  if (vorn_m2m_pal_read_nv_by_path(path, data, &len, 0) != 0) return "(none)";
  return std::string(data, len);
}

TEST_F(Board, MacAddressesInTheModem) {
  const uint8_t eth[6] = {0x00, 0xA0, 0xC6, 0x11, 0x22, 0x33};
  const uint8_t bt[6] = {0x00, 0xA0, 0xC6, 0x44, 0x55, 0x66};
  uint8_t out[8];
  EXPECT_EQ(vorn_device_pal_get_mac_addr(out, sizeof out), 7) << "nothing stored yet";
  EXPECT_TRUE(vt::logged("con't read nv."));

  ASSERT_EQ(vorn_device_pal_set_mac_addr(eth, sizeof eth), 0);
  ASSERT_EQ(vorn_device_pal_set_bt_mac_addr(bt, sizeof bt), 0);
  EXPECT_EQ(item_bytes("/nv/item_files/odm/mac_addr"), std::string("\x00\xA0\xC6\x11\x22\x33", 6));
  EXPECT_EQ(item_bytes("/nv/item_files/odm/bt_mac_addr"), std::string("\x00\xA0\xC6\x44\x55\x66", 6));

  std::memset(out, 0xEE, sizeof out);
  ASSERT_EQ(vorn_device_pal_get_mac_addr(out, sizeof out), 0);
  EXPECT_EQ(std::memcmp(out, eth, 6), 0);
  EXPECT_EQ(out[6], 0xEE) << "only the item's 6 bytes";
  std::memset(out, 0xEE, sizeof out);
  ASSERT_EQ(vorn_device_pal_get_bt_mac_addr(out, 3), 0);
  EXPECT_EQ(std::memcmp(out, bt, 3), 0);
  EXPECT_EQ(out[3], 0xEE) << "only the size asked for";

  vornsim::set_fault(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, {0, true, QMI_ERR_INTERNAL_V01, 0, 1});
  EXPECT_EQ(vorn_device_pal_set_mac_addr(bt, sizeof bt), 7);
  EXPECT_TRUE(vt::logged("con't write nv."));
  EXPECT_EQ(item_bytes("/nv/item_files/odm/mac_addr"), std::string("\x00\xA0\xC6\x11\x22\x33", 6));
  size_t writes = count(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01);
  std::vector<uint8_t> oversized(VORN_M2M_ITEM_MAX + 1);
  EXPECT_EQ(vorn_device_pal_set_bt_mac_addr(oversized.data(), static_cast<uint32_t>(oversized.size())), 7);
  EXPECT_EQ(count(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01), writes);

  EXPECT_EQ(vorn_device_pal_get_mac_addr(nullptr, 6), -1);
  EXPECT_EQ(vorn_device_pal_set_mac_addr(nullptr, 6), -1);
  EXPECT_EQ(vorn_device_pal_get_bt_mac_addr(nullptr, 6), -1);
  EXPECT_EQ(vorn_device_pal_set_bt_mac_addr(nullptr, 6), -1);
}

// The Wi-Fi driver's file under /persist, its firmware copy a link to it as
// on the device, and bash as sh: the device's shell takes "echo -e".
void wlan_files() {
  static bool made = false;
  if (made) return;
  ASSERT_EQ(mount("/bin/bash", "/bin/sh", nullptr, MS_BIND, nullptr), 0);
  scratch_over("/lib/firmware");
  vt::make_dirs("/lib/firmware/wlan/qca_cld");
  vt::make_dirs("/persist");
  ASSERT_EQ(symlink("/persist/wlan_mac.bin", "/lib/firmware/wlan/qca_cld/wlan_mac.bin"), 0);
  made = true;
}

TEST_F(Board, WifiMacMix) {
  wlan_files();
  char mac0[13] = "00A0C6112233", mac1[13] = "00a0c611223F";
  uint8_t mix[12] = {};
  ASSERT_EQ(vorn_device_pal_analysis_wifi_mac(mac0, mac1, mix), 0);
  EXPECT_EQ(vt::read_file("/persist/wlan_mac.bin"),
            "Intf0MacAddress=00A0C6112233\nIntf1MacAddress=00a0c611223F\nEND\n");
  const uint8_t expected[12] = {0x01, 0x01, 0xAB, 0x01, 0xCD, 0x67, 0x12, 0x12, 0x23, 0x23, 0x34, 0x40};
  EXPECT_EQ(std::memcmp(mix, expected, sizeof mix), 0) << "digits 0 and 0 give 1; 3 and F give 0x40";
  EXPECT_STREQ(mac0, "00") << "the read-back fills the first bytes";
  EXPECT_STREQ(mac1, "00");
  EXPECT_EQ(std::string(mac0 + 4, 8), "C6112233");
  EXPECT_TRUE(vt::logged("wifimac0: 00,wifimac1: 00\n"));

  std::remove("/persist/wlan_mac.bin");
  char bad0[13] = "00A0C611223G", good[13] = "00A0C6112233", bad1[13] = "00:A0:C6:11:";
  EXPECT_EQ(vorn_device_pal_analysis_wifi_mac(bad0, good, mix), -1);
  EXPECT_EQ(vorn_device_pal_analysis_wifi_mac(bad0, bad1, mix), -2);
  EXPECT_FALSE(vt::file_exists("/persist/wlan_mac.bin")) << "a text that is no MAC never reaches the shell";
  EXPECT_EQ(vorn_device_pal_analysis_wifi_mac(nullptr, good, mix), -1);
  EXPECT_EQ(vorn_device_pal_analysis_wifi_mac(good, good, nullptr), -1);
}

}  // namespace
