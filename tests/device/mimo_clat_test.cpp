// MIMO limit and CLAT switch: the names and bytes of the modem's EFS items
// after each switch, and what a switch that fails half way leaves.
#include <vornpal/platform/qmi_client.h>

#include "device_test.h"

namespace {

using namespace devt;

constexpr const char kLteItem[] = "/nv/item_files/modem/lte/rrc/efs/disable_4l_per_band";
constexpr const char kLteBackup[] = "/nv/item_files/modem/lte/rrc/efs/disable_4l_per_band_bk";
constexpr const char kNrItem[] = "/nv/item_files/modem/nr5g/RRC/cap_limit_rf_mimo";
constexpr const char kNrBackup[] = "/nv/item_files/modem/nr5g/RRC/cap_limit_rf_mimo_bk";
constexpr const char kClatItem[] = "/nv/item_files/datamodem/protocols/clat_config_info";
const std::string kLteBytes("\x01\x00\x00\x00\x02\x00", 6);
const std::string kClatBytes("\x01\x00\x00\x40\x00\x01", 6);

// An item's bytes as the modem holds them, or nullopt when it has none.
std::optional<std::string> item(const char *path) {
  char data[VORN_M2M_ITEM_MAX];
  uint32_t len = 0;
  if (vorn_m2m_pal_read_nv_by_path(path, data, &len, 0) != 0) return std::nullopt;
  return std::string(data, len);
}

std::pair<uint32_t, uint32_t> mimo() {
  uint32_t lte = 9, sa = 9;
  EXPECT_EQ(vorn_device_pal_get_mimo_nv(&lte, &sa), 0);
  return {lte, sa};
}

class MimoClat : public DeviceTest {};

TEST_F(MimoClat, MimoMovesItsItemToAndFromTheBackup) {
  EXPECT_EQ(mimo(), std::make_pair(0u, 0u)) << "the modem ships limited";
  EXPECT_TRUE(vt::logged("mimo file exist,LTE MIMO CLOSE.\n"));
  EXPECT_TRUE(vt::logged("mimo file exist, SA MIMO CLOSE.\n"));
  char text[VORN_DEVICE_MIMO_TEXT_SIZE];
  ASSERT_EQ(vorn_device_pal_read_mimo_nv("lte", text), 0);
  EXPECT_STREQ(text, "010000000200");

  ASSERT_EQ(vorn_device_pal_rename_4mimo("lte"), 0);
  EXPECT_TRUE(vt::logged("MIMO file rename sucess.\n"));
  EXPECT_EQ(item(kLteItem), std::nullopt);
  EXPECT_EQ(item(kLteBackup), kLteBytes);
  EXPECT_EQ(mimo(), std::make_pair(1u, 0u));
  EXPECT_TRUE(vt::logged("mimo file doesn't exist,LTE MIMO OPEN.\n"));
  EXPECT_EQ(vorn_device_pal_read_mimo_nv("LTE", text), 3);
  EXPECT_TRUE(vt::logged("read nv fail.\n"));

  EXPECT_EQ(vorn_device_pal_rename_4mimo("LTE"), -1);
  EXPECT_TRUE(vt::logged("MIMO file does't exist.\n"));
  EXPECT_EQ(count(kM2m, QMI_VORN_M2M_EFS_RENAME_REQ_V01), 1u) << "no second rename";

  ASSERT_EQ(vorn_device_pal_set_2mimo("Lte"), 0);
  EXPECT_TRUE(vt::logged("set 2MIMO NV.\n"));
  EXPECT_EQ(item(kLteItem), kLteBytes);
  EXPECT_EQ(item(kLteBackup), kLteBytes) << "the backup stays";
  EXPECT_EQ(mimo(), std::make_pair(0u, 0u));
  size_t writes = count(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01);
  EXPECT_EQ(vorn_device_pal_set_2mimo("lte"), -1);
  EXPECT_TRUE(vt::logged("4MIMO NV already exist.\n"));
  EXPECT_EQ(count(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01), writes) << "nothing written";

  // Any other kind is NR, whose backup does not exist yet.
  EXPECT_EQ(vorn_device_pal_set_2mimo("5G"), 3);
  EXPECT_TRUE(vt::logged("read sa nv fail."));
  ASSERT_EQ(vorn_device_pal_rename_4mimo("nr"), 0);
  EXPECT_EQ(item(kNrBackup), std::string("\x02", 1));
  EXPECT_EQ(mimo(), std::make_pair(0u, 1u));

  EXPECT_EQ(vorn_device_pal_read_mimo_nv(nullptr, text), 3);
  EXPECT_EQ(vorn_device_pal_read_mimo_nv("lte", nullptr), 3);
  EXPECT_EQ(vorn_device_pal_set_2mimo(nullptr), 3);
  EXPECT_EQ(vorn_device_pal_rename_4mimo(nullptr), -1);
  EXPECT_EQ(vorn_device_pal_get_mimo_nv(nullptr, nullptr), 0);
}

TEST_F(MimoClat, MimoSwitchFailingHalfWay) {
  // The rename is not delivered: the item stays where it was.
  vornsim::set_fault(kM2m, QMI_VORN_M2M_EFS_RENAME_REQ_V01, {QMI_TIMEOUT_ERR, false, 0, 0, 1});
  EXPECT_EQ(vorn_device_pal_rename_4mimo("lte"), -1);
  EXPECT_EQ(item(kLteItem), kLteBytes);
  EXPECT_EQ(item(kLteBackup), std::nullopt);
  // The modem refuses it: the transport succeeded, so the switch reports
  // success, and still the item stays.
  vornsim::set_fault(kM2m, QMI_VORN_M2M_EFS_RENAME_REQ_V01, {0, true, QMI_ERR_INTERNAL_V01, 0, 1});
  EXPECT_EQ(vorn_device_pal_rename_4mimo("lte"), 0);
  EXPECT_EQ(item(kLteItem), kLteBytes);
  EXPECT_EQ(mimo().first, 0u);

  // Restoring from the backup fails at the write: the backup is kept, so a
  // later try can still restore it.
  ASSERT_EQ(vorn_device_pal_rename_4mimo("lte"), 0);
  vornsim::set_fault(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, {0, true, QMI_ERR_INTERNAL_V01, 0, 1});
  EXPECT_EQ(vorn_device_pal_set_2mimo("lte"), 3);
  EXPECT_TRUE(vt::logged("Write 4MIMO NV fail.\n"));
  EXPECT_EQ(item(kLteItem), std::nullopt);
  EXPECT_EQ(item(kLteBackup), kLteBytes);
  EXPECT_EQ(vorn_device_pal_set_2mimo("lte"), 0);
  EXPECT_EQ(item(kLteItem), kLteBytes);

  // A modem that cannot be read counts as full MIMO.
  vornsim::set_fault(kM2m, QMI_VORN_M2M_READ_NV_ITEM_REQ_V01, {QMI_TIMEOUT_ERR});
  EXPECT_EQ(mimo(), std::make_pair(1u, 1u));
}

TEST_F(MimoClat, ClatFlagIsFlipped) {
  uint8_t enable = 9;
  ASSERT_EQ(vorn_device_pal_xlat_read(&enable), 0);
  EXPECT_EQ(enable, 0);
  EXPECT_TRUE(vt::logged("73567 enablePtr = [0]\n"));

  EXPECT_EQ(vorn_device_pal_xlat_write(0), -1);
  EXPECT_TRUE(vt::logged("enablePtr already = xlat_op [0].\n"));
  EXPECT_EQ(count(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01), 0u);

  // Any value that differs flips the flag: 2 turns 0 into 1 ...
  ASSERT_EQ(vorn_device_pal_xlat_write(2), 0);
  std::string on = kClatBytes;
  on[1] = 1;
  EXPECT_EQ(item(kClatItem), on) << "the other bytes pass through";
  ASSERT_EQ(vorn_device_pal_xlat_read(&enable), 0);
  EXPECT_EQ(enable, 1);
  // ... and 1 into 0.
  ASSERT_EQ(vorn_device_pal_xlat_write(2), 0);
  EXPECT_EQ(item(kClatItem), kClatBytes);

  vornsim::set_fault(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, {0, true, QMI_ERR_INTERNAL_V01, 0, 1});
  EXPECT_EQ(vorn_device_pal_xlat_write(1), 3);
  EXPECT_TRUE(vt::logged("Write nv73567_item_enable fail.\n"));
  EXPECT_EQ(item(kClatItem), kClatBytes);

  // An item too short for the flag grows to hold it.
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(kClatItem, "\x07", 1), 0);
  ASSERT_EQ(vorn_device_pal_xlat_write(1), 0);
  EXPECT_EQ(item(kClatItem), std::string("\x07\x01", 2));

  ASSERT_EQ(vorn_m2m_pal_efs_rename(kClatItem, (std::string(kClatItem) + "_del").c_str()), 0);
  EXPECT_EQ(vorn_device_pal_xlat_read(&enable), 3);
  EXPECT_TRUE(vt::logged("read nv fail."));
  EXPECT_EQ(vorn_device_pal_xlat_write(1), 3);
  EXPECT_EQ(vorn_device_pal_xlat_read(nullptr), 3);
}

}  // namespace
