// What the whole device does: the modem's operating mode over DMS, the
// functionality level over the vendor service, the reboot, the download
// modes, the factory restore and the small switches in sysfs and /data.
// The commands and paths are the device's own: the tests find them in the
// sandbox.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include <vornpal/device.h>
#include <vornpal/files.h>
#include <vornpal/m2m.h>
#include <vornpal/process.h>

#include "device/client.h"
#include "device/reboot.h"
#include "foundation/clock.h"
#include "foundation/decimal_text.h"
#include "foundation/log_site.h"
#include "foundation/run.h"

namespace {

namespace dev = vorn::device;

constexpr const char kDownloadModeNode[] = "/sys/module/msm_poweroff/parameters/download_mode";
constexpr const char kDiagFifo[] = "/tmp/diagen.fifo";
constexpr const char kRfClockNode[] = "/sys/devices/platform/soc:qcom,rf_clk3/clk3_on_off";
constexpr const char kRfHwVersionNode[] = "/sys/devices/platform/soc:vorn_hwver/hwver";
constexpr const char kUpgrader[] = "/usr/bin/odm_upgrader";
constexpr const char kMmcDevice[] = "/dev/mmcblk0";

constexpr uint32_t kOperatingModeMax = 9;
constexpr unsigned kRfClockTextSize = 20;
constexpr unsigned kRfHwVersionSize = 128;

struct DownloadMode {
  const char *mode;
  const char *command;
};
// Searched by the leading part of a name; the null row ends the table.
constexpr DownloadMode kDownloadModes[] = {
    {"edl", "sys_reboot edl &"},
    {"recovery", "sys_reboot recovery &"},
    {"fastboot", "sys_reboot bootloader &"},
    {nullptr, nullptr},
};

int write_decimal(const char *path, int value) {
  vorn::DecimalText decimal(value);
  return vorn_write_file(path, decimal.text, decimal.length);
}

int vorn_qmi_dms_set_operationg_mode(uint32_t mode) {
  if (mode > kOperatingModeMax) {
    VORN_LOG(VORN_ERR, "operating_mode is error\r\n");
    return -1;
  }
  dms_set_operating_mode_req_msg_v01 req{};
  req.operating_mode = static_cast<dms_operating_mode_enum_v01>(mode);
  dms_set_operating_mode_resp_msg_v01 resp;
  dev::Sent sent = dev::send<dev::SetOperatingMode>(req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "qmi send message fail error:%d\r\n", sent.rc);
    return -1;
  }
  // The modem's refusal is only reported: callers cycle modes and go on.
  if (resp.resp.result != QMI_RESULT_SUCCESS_V01)
    VORN_LOG(VORN_ERR, "operating mode set invaild\r\n");
  return 0;
}

int vorn_qmi_dms_get_operationg_mode(uint32_t *mode) {
  if (mode == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\r\n");
    return -1;
  }
  dms_get_operating_mode_resp_msg_v01 resp;
  dev::Sent sent = dev::send<dev::GetOperatingMode>(resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "qmi send message fail error:%d\r\n", sent.rc);
    return -1;
  }
  if (resp.resp.result == QMI_RESULT_SUCCESS_V01) {
    *mode = static_cast<uint32_t>(resp.operating_mode);
  } else {
    VORN_LOG(VORN_ERR, "operating mode info is invaild\r\n");
  }
  return 0;
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_device_pal_set_operating_mode(uint32_t mode) {
  if (vorn_qmi_dms_set_operationg_mode(mode) != 0) {
    VORN_LOG(VORN_ERR, "Error, dms set operation mode \r\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_device_pal_get_operating_mode(uint32_t *mode) {
  if (vorn_qmi_dms_get_operationg_mode(mode) != 0) {
    VORN_LOG(VORN_ERR, "Error, dms get operation mode\r\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_device_pal_set_device_oprt_state(uint32_t cfun) {
  VORN_LOG(VORN_INFO, "enter function oem_device_pal_set_device_oprt_state,cfun type = [%d]\r\n",
           static_cast<int>(cfun));
  uint8_t current = 0;
  if (vorn_m2m_pal_get_cfun_mode(&current) == 0 && current == cfun) {
    VORN_LOG(VORN_INFO, "set same value of cfun mode!\r\n");
    return 0;
  }
  if (vorn_m2m_pal_set_cfun_mode(static_cast<uint8_t>(cfun & 0xFF)) != 0) {
    VORN_LOG(VORN_ERR, "Error, dms set operation mode:%d \r\n", static_cast<int>(cfun));
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_device_pal_get_device_oprt_state(uint8_t *cfun) {
  int rc = vorn_m2m_pal_get_cfun_mode(cfun);
  if (rc != 0) VORN_LOG(VORN_ERR, "oem_m2m_al_get_cfun_mode fail");
  return rc;
}

VORNPAL_API int vorn_device_pal_reset(void) {
  vorn_device_pal_set_dumpen(0);
  vorn::device::reboot(vorn::device::RebootBy::Reset);
  return VORN_OK;
}

VORNPAL_API int vorn_device_pal_restore_factory_setting(void) {
  if (access(kUpgrader, F_OK) == 0) vorn::run("odm_upgrader set_efs2_restore");
  return 0;
}

VORNPAL_API int vorn_device_pal_set_gtdlmode(const char *mode) {
  if (mode == nullptr) return VORN_INVALID_PARAM;
  const DownloadMode *row = kDownloadModes;
  while (row->mode != nullptr && std::strncmp(row->mode, mode, std::strlen(mode)) != 0) ++row;
  if (row->mode == nullptr) return VORN_INVALID_PARAM;
  VORN_LOG(VORN_WARN, "%s=%s\n", row->mode, row->command);
  vorn::run(row->command);
  return 0;
}

VORNPAL_API int vorn_device_pal_set_dumpen(int value) {
  return write_decimal(kDownloadModeNode, value);
}

VORNPAL_API int vorn_device_pal_set_diagen(int value) {
  if (access(kDiagFifo, F_OK) != 0 && mkfifo(kDiagFifo, 0664) != 0) {
    VORN_LOG(VORN_ERR, "fifo create failed!\n");
    return -1;
  }
  return write_decimal(kDiagFifo, value);
}

VORNPAL_API int vorn_device_pal_set_adben(const int *enable) {
  vorn::run(enable == nullptr ? "rm -rf /data/adbdlock" : "touch /data/adbdlock");
  return 0;
}

VORNPAL_API int vorn_device_pal_set_rfclk3(uint32_t on) {
  const char *state = on != 0 ? "open" : "close";
  int rc = vorn_write_file(kRfClockNode, state, static_cast<unsigned>(std::strlen(state)));
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "set rfclk error! ret is %d.\n", rc);
    return rc;
  }
  return 0;
}

VORNPAL_API int vorn_device_pal_get_rfclk_value(uint32_t *on) {
  if (on == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return -1;
  }
  char text[kRfClockTextSize] = {};
  vorn_popen_call("cat /sys/devices/platform/soc:qcom,rf_clk3/clk3_on_off", text, sizeof text);
  text[std::strcspn(text, "\n")] = '\0';
  *on = std::strcmp(text, "open") == 0 ? 1 : 0;
  return 0;
}

VORNPAL_API int vorn_read_gtrfhwver_func(char *out) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return -1;
  }
  return vorn_read_file(kRfHwVersionNode, out, kRfHwVersionSize);
}

VORNPAL_API void vorn_device_pal_ftestmode_clear_writen(const char *path, const char *text,
                                                        uint32_t length) {
  if (path == nullptr || text == nullptr) return;
  if (std::strlen(text) != length) {
    VORN_LOG(VORN_DBUG, "\r\nlen doesnt match\r\n");
    return;
  }
  int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_SYNC, 0777);
  if (fd < 0 || write(fd, text, length) != static_cast<ssize_t>(length))
    VORN_LOG(VORN_DBUG, "\r\noem write error\r\n");
  if (fd >= 0) close(fd);
}

VORNPAL_API int vorn_device_pal_set_gtsd(void) { return access(kMmcDevice, F_OK) == 0 ? 0 : 1; }

VORNPAL_API int vorn_device_pal_rebind_mmc(void) {
  vorn::run("echo \"8804000.sdhci\" > /sys/bus/platform/drivers/sdhci_msm/unbind");
  vorn::clk::sleep_s(1);
  vorn::run("echo \"8804000.sdhci\" > /sys/bus/platform/drivers/sdhci_msm/bind");
  VORN_LOG(VORN_INFO, "rebind mmc!\n");
  return 0;
}

VORNPAL_API int vorn_device_pal_backup_device_data(void) {
  VORN_LOG(VORN_ERR, "Enter oem_device_pal_backup_device_data \n");
  return vorn_m2m_pal_backup_device_data();
}

VORNPAL_API int vorn_device_pal_set_nitz_update(void) {
  VORN_LOG(VORN_DBUG, "FWA not support,go to modem.\n");
  return VORN_NOT_SUPPORTED;
}

VORNPAL_API int vorn_device_pal_get_nitz_update(void) {
  VORN_LOG(VORN_DBUG, "FWA not support,go to modem.\n");
  return VORN_NOT_SUPPORTED;
}

}  // extern "C"
