// Operating mode, functionality level, reboot, download modes, factory
// restore and the small switches. sysfs nodes are tmpfs stand-ins,
// "sys_reboot" and "odm_upgrader" record their arguments.
#include <fcntl.h>
#include <unistd.h>

#include "device_test.h"

namespace {

using namespace devt;

class DeviceOperation : public DeviceTest {};

uint32_t modem_mode() {
  uint32_t mode = 99;
  EXPECT_EQ(vorn_device_pal_get_operating_mode(&mode), 0);
  return mode;
}

TEST_F(DeviceOperation, OperatingModeOverDms) {
  EXPECT_EQ(vorn_device_pal_set_operating_mode(10), -1);
  EXPECT_TRUE(vt::logged("operating_mode is error\r\n"));
  EXPECT_TRUE(vt::logged("Error, dms set operation mode \r\n"));
  EXPECT_EQ(count(kDms, QMI_DMS_SET_OPERATING_MODE_REQ_V01), 0u);

  ASSERT_EQ(vorn_device_pal_set_operating_mode(DMS_OP_MODE_OFFLINE_V01), 0);
  auto sent = vornsim::requests(kDms, QMI_DMS_SET_OPERATING_MODE_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].bytes.size(), 16u);
  EXPECT_EQ(sent[0].timeout_ms, 5000u);
  EXPECT_EQ(sent[0].as<dms_set_operating_mode_req_msg_v01>().operating_mode, DMS_OP_MODE_OFFLINE_V01);
  EXPECT_EQ(modem_mode(), 3u);

  EXPECT_EQ(vorn_device_pal_set_operating_mode(DMS_OP_MODE_ONLINE_V01), 0)
      << "a refusal by the modem counts as success";
  EXPECT_TRUE(vt::logged("operating mode set invaild\r\n"));
  EXPECT_EQ(modem_mode(), 3u) << "offline is left only by a reset";
  ASSERT_EQ(vorn_device_pal_set_operating_mode(DMS_OP_MODE_RESETTING_V01), 0);
  EXPECT_EQ(modem_mode(), 0u);

  vornsim::refuse_next(kDms, QMI_DMS_GET_OPERATING_MODE_REQ_V01, QMI_ERR_INTERNAL_V01);
  uint32_t mode = 42;
  EXPECT_EQ(vorn_device_pal_get_operating_mode(&mode), 0);
  EXPECT_EQ(mode, 42u) << "a refused query leaves the caller's value";
  EXPECT_TRUE(vt::logged("operating mode info is invaild\r\n"));
  EXPECT_EQ(vorn_device_pal_get_operating_mode(nullptr), -1);
  EXPECT_TRUE(vt::logged("Error, param pointer is NULL\r\n"));

  vornsim::fail_next(kDms, QMI_DMS_SET_OPERATING_MODE_REQ_V01, -3, vornsim::kAll);
  vornsim::fail_next(kDms, QMI_DMS_GET_OPERATING_MODE_REQ_V01, -3, vornsim::kAll);
  EXPECT_EQ(vorn_device_pal_set_operating_mode(1), -1);
  EXPECT_TRUE(vt::logged("qmi send message fail error:-3\r\n"));
  EXPECT_EQ(vorn_device_pal_get_operating_mode(&mode), -1);
  EXPECT_TRUE(vt::logged("Error, dms get operation mode\r\n"));
}

TEST_F(DeviceOperation, FunctionalityLevelOverM2m) {
  EXPECT_EQ(vorn_device_pal_set_device_oprt_state(1), 0);
  EXPECT_TRUE(vt::logged("set same value of cfun mode!\r\n"));
  EXPECT_EQ(count(kM2m, QMI_VORN_M2M_SET_CFUN_MODE_REQ_V01), 0u);

  ASSERT_EQ(vorn_device_pal_set_device_oprt_state(0x104), 0);
  auto sent = vornsim::requests(kM2m, QMI_VORN_M2M_SET_CFUN_MODE_REQ_V01);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].as<vorn_m2m_set_cfun_mode_req_msg_v01>().cfun_mode, 4) << "the low byte";
  uint8_t cfun = 0;
  ASSERT_EQ(vorn_device_pal_get_device_oprt_state(&cfun), 0);
  EXPECT_EQ(cfun, 4);

  EXPECT_EQ(vorn_device_pal_set_device_oprt_state(9), -1);
  EXPECT_TRUE(vt::logged("Error, dms set operation mode:9 \r\n"));
  EXPECT_EQ(vorn_device_pal_get_device_oprt_state(nullptr), -1);
  EXPECT_TRUE(vt::logged("oem_m2m_al_get_cfun_mode fail"));
}

// The device's own nodes, as tmpfs stand-ins.
void device_nodes() {
  for (const char *dir : {"/sys/power", "/sys/module", "/sys/devices/platform", "/sys/bus/platform/drivers"})
    scratch_over(dir);
  vt::write_file("/sys/power/autosleep", "mem\n");
  vt::write_file("/sys/module/msm_poweroff/parameters/download_mode", "1");
  vt::write_file("/sys/devices/platform/8a00000.ssusb/mode", "peripheral\n");
}

TEST_F(DeviceOperation, ResetRunsTheRebootSequenceFromAThread) {
  device_nodes();
  stand_in("sys_reboot");
  EXPECT_EQ(vorn_device_pal_reset(), 0);
  ASSERT_TRUE(eventually([] { return !calls_of("sys_reboot").empty(); }));
  EXPECT_EQ(calls_of("sys_reboot"), "\n") << "once, without arguments";
  EXPECT_EQ(vt::read_file("/sys/module/msm_poweroff/parameters/download_mode"), "0");
  EXPECT_EQ(vt::read_file("/sys/power/autosleep"), "off\n");
  EXPECT_EQ(vt::read_file("/sys/devices/platform/8a00000.ssusb/mode"), "none\n");
  EXPECT_NE(vt::read_file("/dev/kmsg").find("cread cfun thread ok\n"), std::string::npos);
  auto modes = vornsim::requests(kDms, QMI_DMS_SET_OPERATING_MODE_REQ_V01);
  ASSERT_EQ(modes.size(), 1u);
  EXPECT_EQ(modes[0].as<dms_set_operating_mode_req_msg_v01>().operating_mode, DMS_OP_MODE_LOW_POWER_V01);
}

TEST_F(DeviceOperation, DownloadModesByLeadingName) {
  stand_in("sys_reboot");
  const std::pair<const char *, const char *> cases[] = {
      {"rec", "recovery"}, {"fastboot", "bootloader"}, {"", "edl"}, {"edl", "edl"}};
  std::string expected;
  for (const auto &[mode, argument] : cases) {
    EXPECT_EQ(vorn_device_pal_set_gtdlmode(mode), 0) << mode;
    expected += std::string(argument) + "\n";
    ASSERT_TRUE(eventually([&] { return calls_of("sys_reboot") == expected; })) << mode;
  }
  EXPECT_TRUE(vt::logged("recovery=sys_reboot recovery &\n"));
  EXPECT_EQ(vorn_device_pal_set_gtdlmode("x"), 3);
  EXPECT_EQ(vorn_device_pal_set_gtdlmode("edlx"), 3);
  EXPECT_EQ(vorn_device_pal_set_gtdlmode(nullptr), 3);
  EXPECT_EQ(calls_of("sys_reboot"), expected);
}

TEST_F(DeviceOperation, FactoryRestoreOnlyWithTheUpgraderInstalled) {
  stand_in("odm_upgrader");
  EXPECT_EQ(vorn_device_pal_restore_factory_setting(), 0);
  EXPECT_EQ(calls_of("odm_upgrader"), "") << "no /usr/bin/odm_upgrader, nothing happens";

  ASSERT_EQ(vt::sh("mkdir -p /run/usrbin/upper /run/usrbin/work && mount -t overlay overlay "
                   "-o lowerdir=/usr/bin,upperdir=/run/usrbin/upper,workdir=/run/usrbin/work /usr/bin"),
            0);
  stand_in("odm_upgrader", "/usr/bin");
  EXPECT_EQ(vorn_device_pal_restore_factory_setting(), 0);
  EXPECT_EQ(calls_of("odm_upgrader"), "set_efs2_restore\n");
  vt::sh("umount -l /usr/bin");
}

TEST_F(DeviceOperation, SmallSwitches) {
  device_nodes();
  EXPECT_EQ(vorn_device_pal_set_dumpen(0), 0);
  EXPECT_EQ(vt::read_file("/sys/module/msm_poweroff/parameters/download_mode"), "0");
  EXPECT_EQ(vorn_device_pal_set_dumpen(1), 0);
  EXPECT_EQ(vt::read_file("/sys/module/msm_poweroff/parameters/download_mode"), "1");

  vt::write_file("/sys/devices/platform/soc:qcom,rf_clk3/clk3_on_off", "");
  uint32_t on = 7;
  ASSERT_EQ(vorn_device_pal_set_rfclk3(2), 0);
  ASSERT_EQ(vorn_device_pal_get_rfclk_value(&on), 0);
  EXPECT_EQ(on, 1u);
  ASSERT_EQ(vorn_device_pal_set_rfclk3(0), 0);
  EXPECT_EQ(vt::read_file("/sys/devices/platform/soc:qcom,rf_clk3/clk3_on_off"), "close");
  ASSERT_EQ(vorn_device_pal_get_rfclk_value(&on), 0);
  EXPECT_EQ(on, 0u);
  std::remove("/sys/devices/platform/soc:qcom,rf_clk3/clk3_on_off");
  EXPECT_EQ(vorn_device_pal_set_rfclk3(1), 4) << "the node is never created";
  EXPECT_TRUE(vt::logged("set rfclk error! ret is 4.\n"));

  int zero = 0;
  EXPECT_EQ(vorn_device_pal_set_adben(&zero), 0);
  EXPECT_TRUE(vt::file_exists("/data/adbdlock"));
  EXPECT_EQ(vorn_device_pal_set_adben(nullptr), 0);
  EXPECT_FALSE(vt::file_exists("/data/adbdlock"));

  vt::write_file("/sys/devices/platform/soc:vorn_hwver/hwver", "RF-V3\n");
  char hwver[128] = {};
  ASSERT_EQ(vorn_read_gtrfhwver_func(hwver), 0);
  EXPECT_STREQ(hwver, "RF-V3");

  vt::write_file("/sys/bus/platform/drivers/sdhci_msm/unbind", "");
  vt::write_file("/sys/bus/platform/drivers/sdhci_msm/bind", "");
  EXPECT_EQ(vorn_device_pal_rebind_mmc(), 0);
  EXPECT_EQ(vt::read_file("/sys/bus/platform/drivers/sdhci_msm/unbind"), "8804000.sdhci\n");
  EXPECT_EQ(vt::read_file("/sys/bus/platform/drivers/sdhci_msm/bind"), "8804000.sdhci\n");
  EXPECT_TRUE(vt::logged("rebind mmc!\n"));

  EXPECT_EQ(vorn_device_pal_set_gtsd(), 1);
  vt::write_file("/dev/mmcblk0", "");
  EXPECT_EQ(vorn_device_pal_set_gtsd(), 0);
  std::remove("/dev/mmcblk0");

  vorn_device_pal_ftestmode_clear_writen("/data/ftest", "cleared", 7);
  EXPECT_EQ(vt::read_file("/data/ftest"), "cleared");
  vorn_device_pal_ftestmode_clear_writen("/data/ftest", "other", 9);
  EXPECT_EQ(vt::read_file("/data/ftest"), "cleared");
  EXPECT_TRUE(vt::logged("\r\nlen doesnt match\r\n"));
  vorn_device_pal_ftestmode_clear_writen("/nonexistent/dir/file", "x", 1);
  EXPECT_TRUE(vt::logged("\r\noem write error\r\n"));
}

TEST_F(DeviceOperation, DiagSwitchGoesThroughItsFifo) {
  std::remove("/tmp/diagen.fifo");
  std::string received;
  std::thread reader([&] {
    ASSERT_TRUE(eventually([] { return vt::file_exists("/tmp/diagen.fifo"); }));
    int fd = open("/tmp/diagen.fifo", O_RDONLY);
    ASSERT_GE(fd, 0);
    char buffer[16] = {};
    ssize_t got = read(fd, buffer, sizeof buffer - 1);
    if (got > 0) received.assign(buffer, static_cast<size_t>(got));
    close(fd);
  });
  EXPECT_EQ(vorn_device_pal_set_diagen(5), 0);
  reader.join();
  EXPECT_EQ(received, "5");
  struct stat info {};
  ASSERT_EQ(stat("/tmp/diagen.fifo", &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
}

}  // namespace
