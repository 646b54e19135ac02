// Every DMS request of the family reaches the modem as the family's message
// table describes it, with the sizes and the 5000 ms time-out of the
// service.
#include "device_test.h"
#include "message_rows.h"

namespace {

using namespace devt;
using vt::row;


const std::vector<vt::MessageRow> kRows = {
    row<dev::SetEventReport>("init", [] { vorn_device_pal_deinit(); return vorn_device_pal_init(); }, 21, 8, 5000, false),
    row<dev::GetRevId>("get_revid", [] { return vorn_device_pal_get_revid(scratch_text, 64); }, 0, 540, 5000),
    row<dev::GetMsisdn>("get_msisdn", [] { return vorn_deivce_pal_get_msisdn(scratch_text, 64); }, 0, 128, 5000),
    row<dev::GetSerialNumbers>("get_dev_ser_num", [] { return vorn_device_pal_get_dev_ser_num(scratch_text); }, 0, 368, 5000, false),
    row<dev::GetOperatingMode>("get_operating_mode", [] { return vorn_device_pal_get_operating_mode(&scratch_mode); }, 0, 20, 5000),
    row<dev::SetOperatingMode>("set_operating_mode", [] { return vorn_device_pal_set_operating_mode(1); }, 16, 8, 5000),
    row<dev::GetBandCapability>("get_band_capabilities", [] { return vorn_device_pal_get_band_capabilities(&scratch_caps); }, 1, 1600, 5000),
    row<dev::GetHwVersion>("get_hw_version", [] { return vorn_qmi_dms_get_hw_version(scratch_text); }, 1, 76, 5000),
    row<dev::SetFactorySerialNumber>("set_fsn", [] { return vorn_device_pal_set_fsn("X", 1); }, 40, 8, 5000),
};

class DeviceMessages : public DeviceTest {};

TEST_F(DeviceMessages, EachDmsRequestHasItsIdSizesAndTimeout) {
  ASSERT_EQ(vorn_device_pal_init(), 0);
  vt::expect_messages(kDms, kRows);
}

}  // namespace
