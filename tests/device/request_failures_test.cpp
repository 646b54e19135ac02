// Every exported function of the family that sends a request, with each of
// its requests (over DMS and over the vendor service) failing in turn: the
// documented result, no client left behind, the modem's store and the /tmp
// copies as they were, and a family that works again once the modem does.
#include "device_test.h"
#include "request_failures.h"

namespace {

using namespace devt;
using vt::FailureCase;

constexpr int kFailed = VORN_FAILURE;

const char *const kCaches[] = {"/tmp/imei", "/tmp/imei_svn", "/tmp/revid", "/tmp/cfsn",
                               "/tmp/vorn_project_name"};

uint8_t cfun;
device_data data;

vt::FailureFamily family() {
  vt::FailureFamily family;
  family.fresh = [] {
    vorn_device_pal_deinit();
    vorn_m2m_pal_deinit();
    vornsim::reset();
    for (const char *cache : kCaches) std::remove(cache);
    ASSERT_EQ(vorn_device_pal_init(), 0);
    for (const char *cache : kCaches) std::remove(cache);
  };
  family.files.assign(std::begin(kCaches), std::end(kCaches));
  return family;
}

void without_clients() {
  vorn_device_pal_deinit();
  vorn_m2m_pal_deinit();
}

const FailureCase kCases[] = {
    // Init stands on DMS alone: what fails after the client is open is logged.
    {"vorn_device_pal_init", [] { return vorn_device_pal_init(); }, VORN_OK, VORN_OK, false, {}, without_clients},
    {"vorn_device_pal_get_dev_ser_num", [] { return vorn_device_pal_get_dev_ser_num(scratch_text); }, kFailed, kFailed},
    {"vorn_device_pal_set_dev_ser_num", [] { return vorn_device_pal_set_dev_ser_num("356938035643809"); },
     VORN_FILE_WRITE_FAILED, VORN_FILE_WRITE_FAILED},
    {"vorn_device_pal_get_revid", [] { return vorn_device_pal_get_revid(scratch_text, 64); }, kFailed, kFailed},
    {"vorn_device_pal_get_fsn", [] { return vorn_device_pal_get_fsn(scratch_text, 64); }, kFailed, kFailed},
    {"vorn_device_pal_set_fsn", [] { return vorn_device_pal_set_fsn("VN5G-X", 6); }, kFailed, kFailed},
    {"vorn_device_pal_get_mfr", [] { return vorn_device_pal_get_mfr(scratch_text, 128); }, kFailed, kFailed},
    {"vorn_device_pal_get_model", [] { return vorn_device_pal_get_model(scratch_text, 64); }, kFailed, kFailed},
    {"vorn_deivce_pal_get_msisdn", [] { return vorn_deivce_pal_get_msisdn(scratch_text, 64); }, kFailed, kFailed},
    {"vorn_device_pal_get_hw_version", [] { return vorn_device_pal_get_hw_version(scratch_text); }, kFailed, kFailed},
    {"vorn_qmi_dms_get_hw_version", [] { return vorn_qmi_dms_get_hw_version(scratch_text); }, kFailed, kFailed},
    // The cache keeps the last answer; the call itself always succeeds.
    {"vorn_device_pal_get_band_capabilities", [] { return vorn_device_pal_get_band_capabilities(&scratch_caps); }, VORN_OK, VORN_OK},
    {"vorn_device_pal_get_product_description", [] { return vorn_device_pal_get_product_description(scratch_text, 64); }, kFailed, kFailed},
    {"vorn_device_pal_get_product_prefix_description", [] { return vorn_device_pal_get_product_prefix_description(scratch_text); }, kFailed, kFailed},
    // Each value is read on its own; what could be read leaves its copy.
    {"vorn_device_pal_data_get", [] { return vorn_device_pal_data_get(&data); }, VORN_OK, VORN_OK, false},
    // A refusal of the operating mode is only logged.
    {"vorn_device_pal_set_operating_mode", [] { return vorn_device_pal_set_operating_mode(1); }, kFailed, VORN_OK},
    {"vorn_device_pal_get_operating_mode", [] { return vorn_device_pal_get_operating_mode(&scratch_mode); }, kFailed, VORN_OK},
    // Without the current level the new one is set regardless.
    {"vorn_device_pal_set_device_oprt_state", [] { return vorn_device_pal_set_device_oprt_state(4); }, kFailed, kFailed, false,
     {{kM2m, QMI_VORN_M2M_GET_CFUN_REQ_V01, VORN_OK, VORN_OK}}},
    {"vorn_device_pal_get_device_oprt_state", [] { return vorn_device_pal_get_device_oprt_state(&cfun); }, kFailed, kFailed},
    {"vorn_device_pal_reset", [] { return vorn_device_pal_reset(); }, VORN_OK, VORN_OK},
    {"vorn_device_pal_backup_device_data", [] { return vorn_device_pal_backup_device_data(); }, kFailed, kFailed},
};

class DeviceRequestFailures : public DeviceTest {};

TEST_F(DeviceRequestFailures, EachRequestOfEachCallFailsInTurn) {
  const vt::FailureFamily device_family = family();
  for (const FailureCase &c : kCases) vt::expect_request_failures(c, device_family);
}

}  // namespace
