// The device family's client, events and identity queries as a daemon sees
// them.
#include "device_test.h"

namespace {

using namespace devt;

class DeviceIdentity : public DeviceTest {};

TEST_F(DeviceIdentity, InitOpensDmsStartsM2mAndAsksForModeReports) {
  ASSERT_EQ(vorn_device_pal_init(), 0);
  auto reports = vornsim::requests(kDms, QMI_DMS_SET_EVENT_REPORT_REQ_V01);
  ASSERT_EQ(reports.size(), 1u);
  ASSERT_EQ(reports[0].bytes.size(), 21u);
  auto req = reports[0].as<dms_set_event_report_req_msg_v01>();
  EXPECT_EQ(req.report_oprt_mode_state_valid, 1);
  EXPECT_EQ(req.report_oprt_mode_state, 1);
  EXPECT_EQ(std::count(reports[0].bytes.begin(), reports[0].bytes.end(), 1), 2)
      << "no other report is switched on";
  EXPECT_EQ(reports[0].timeout_ms, 5000u);
  EXPECT_EQ(count(kM2m, QMI_VORN_M2M_SET_EVENT_REPORT_REQ_V01), 1u) << "the M2M client started";
  EXPECT_TRUE(vt::logged("DMS set event report successful\r\n"));
  EXPECT_TRUE(vt::logged("device_pal_init OK\r\n"));
  EXPECT_NE(vt::read_file("/dev/kmsg").find("oem:device qmi inited OK"), std::string::npos);
}

TEST_F(DeviceIdentity, FailedOpenIsReportedAndHealsAtTheNextQuery) {
  vornsim::set_service_object_missing(kDms, true);
  EXPECT_EQ(vorn_device_pal_init(), -1);
  EXPECT_TRUE(vt::logged("Error, get dms serivce object failed\n"));
  EXPECT_TRUE(vt::logged("Error, oem_qmi_dms_init failed\n"));
  EXPECT_EQ(vornsim::requests(kDms).size(), 0u);

  vornsim::set_service_object_missing(kDms, false);
  vornsim::refuse_next(kDms, QMI_DMS_SET_EVENT_REPORT_REQ_V01, QMI_ERR_INTERNAL_V01, vornsim::kAll);
  char revision[64] = {};
  ASSERT_EQ(vorn_device_pal_get_revid(revision, sizeof revision), 0);
  EXPECT_STREQ(revision, "VN5GFWAR01A03M4G.01");
  EXPECT_EQ(count(kDms, QMI_DMS_SET_EVENT_REPORT_REQ_V01), 1u) << "the query opened DMS first";
  EXPECT_TRUE(vt::logged("DMS set event report fail, erorr:3\n"));
}

TEST_F(DeviceIdentity, OperatingModeReportsBecomeEventsOnTheModemThread) {
  static int context = 7;
  ASSERT_EQ(vorn_device_pal_event_register(Events::record, &events), 0);
  ASSERT_EQ(vorn_device_pal_init(), 0);
  ASSERT_EQ(vorn_device_pal_set_operating_mode(DMS_OP_MODE_LOW_POWER_V01), 0);

  dms_event_report_ind_msg_v01 no_mode{};
  no_mode.power_state_valid = 1;
  vornsim::indicate(kDms, QMI_DMS_EVENT_REPORT_IND_V01, no_mode);
  vornsim::indicate(kDms, 0x0002, no_mode);
  vornsim::drain();
  vornsim::set_decode_fault(kDms, QMI_DMS_EVENT_REPORT_IND_V01, -11);
  vornsim::indicate(kDms, QMI_DMS_EVENT_REPORT_IND_V01, no_mode);

  auto got = events.taken();
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(got[0].id, VORN_DEVICE_EVENT_OPERATING_MODE);
  ASSERT_EQ(got[0].size, 4);
  uint32_t mode = 0;
  std::memcpy(&mode, got[0].data.data(), 4);
  EXPECT_EQ(mode, 1u);
  EXPECT_TRUE(got[0].on_modem_thread);
  EXPECT_EQ(got[1].id, VORN_DEVICE_EVENT_OPERATING_MODE);
  EXPECT_FALSE(got[1].had_data);
  EXPECT_EQ(got[1].size, 0);
  EXPECT_TRUE(vt::logged("Info, dms qmi indication msg_id:1\n"));
  EXPECT_TRUE(vt::logged("qmi_dms receive can not recognize indication\r\n"));
  EXPECT_TRUE(vt::logged("Error in decoding dms_event_report_ind_msg_v01, error = -11\n"));

  EXPECT_EQ(vorn_device_pal_event_register(nullptr, &context), -1);
  EXPECT_TRUE(vt::logged("Error, callback pointer is NULL\n"));
  EXPECT_EQ(vorn_device_pal_event_unregister(nullptr), -1);
  EXPECT_EQ(vorn_device_pal_event_unregister([](int, void *, int, void *) {}), 0);
  EXPECT_EQ(vorn_device_pal_event_unregister(Events::record), 0);
  vornsim::set_decode_fault(kDms, QMI_DMS_EVENT_REPORT_IND_V01, 0);
  ASSERT_EQ(vorn_device_pal_set_operating_mode(DMS_OP_MODE_ONLINE_V01), 0);
  EXPECT_EQ(events.taken().size(), 2u) << "nothing after unregistering";

  ASSERT_EQ(vorn_device_pal_init(), 0);
  ASSERT_EQ(vorn_device_pal_event_register(Events::record, &events), 0);
  ASSERT_EQ(vorn_device_pal_set_operating_mode(DMS_OP_MODE_LOW_POWER_V01), 0);
  EXPECT_EQ(events.taken().size(), 3u) << "a second init does not double the events";
}

void serial_numbers(const char *imei, const char *svn) {
  vt::answer<dev::GetSerialNumbers>(kDms, [=](auto &resp) {
    resp.imei_valid = imei != nullptr;
    if (imei != nullptr) std::strcpy(resp.imei, imei);
    resp.imeisv_svn_valid = svn != nullptr;
    if (svn != nullptr) std::strcpy(resp.imeisv_svn, svn);
  });
}

std::string svn_for(const char *hex) {
  serial_numbers("356938035643809", hex);
  char out[36] = {};
  EXPECT_EQ(vorn_device_pal_get_dev_ser_num(out), 0);
  return std::string(out + 33, strnlen(out + 33, 3));
}

TEST_F(DeviceIdentity, SerialNumbersShowTheSvnInDecimalAndLeaveCopies) {
  char out[36];
  std::memset(out, '#', sizeof out);
  ASSERT_EQ(vorn_device_pal_get_dev_ser_num(out), 0);
  EXPECT_STREQ(out, "861234050000011");
  EXPECT_STREQ(out + 33, "05");
  EXPECT_EQ(vt::read_file("/tmp/imei"), std::string("861234050000011") + std::string(18, '\0'));
  EXPECT_EQ(vt::read_file("/tmp/imei_svn"), std::string("05\0", 3));

  EXPECT_EQ(svn_for("0A"), "10");
  EXPECT_EQ(svn_for("9"), "09");
  EXPECT_EQ(svn_for("1F"), "31");

  serial_numbers("356938035643809", nullptr);
  vt::answer<dev::GetRevId>(kDms, [](auto &resp) {
    std::strcpy(resp.device_rev_id, "VN5G.R01.07");
  });
  ASSERT_EQ(vorn_device_pal_get_dev_ser_num(out), 0);
  EXPECT_STREQ(out + 33, "07") << "the revision stands in for the SVN";
  EXPECT_TRUE(vt::logged(" svn info not valid\r\n"));

  serial_numbers(nullptr, nullptr);
  std::remove("/tmp/imei");
  ASSERT_EQ(vorn_device_pal_get_dev_ser_num(out), 0);
  EXPECT_STREQ(out, "");
  EXPECT_FALSE(vt::file_exists("/tmp/imei")) << "an empty IMEI leaves no copy";

  EXPECT_EQ(vorn_device_pal_get_dev_ser_num(nullptr), 3);
  vornsim::fail_next(kDms, QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01, -3, vornsim::kAll);
  EXPECT_EQ(vorn_device_pal_get_dev_ser_num(out), -1);
  EXPECT_TRUE(vt::logged("Error, dms get device serial number\r\n"));
}

TEST_F(DeviceIdentity, RevisionPhoneNumberAndHardwareVersion) {
  char revision[8];
  std::memset(revision, '#', sizeof revision);
  ASSERT_EQ(vorn_device_pal_get_revid(revision, sizeof revision), 0);
  EXPECT_STREQ(revision, "VN5GFWA");
  EXPECT_EQ(vt::read_file("/tmp/revid"), std::string("VN5GFWA\0", 8));
  EXPECT_EQ(vorn_device_pal_get_revid(nullptr, 8), -1);
  EXPECT_TRUE(vt::logged("revision NULL pointer\r\n"));
  vornsim::refuse_next(kDms, QMI_DMS_GET_DEVICE_REV_ID_REQ_V01, QMI_ERR_INTERNAL_V01);
  EXPECT_EQ(vorn_device_pal_get_revid(revision, sizeof revision), -1);
  EXPECT_TRUE(vt::logged("revision info is invaild!\r\n"));
  EXPECT_TRUE(vt::logged("Error, dms get revid\r\n"));
  vornsim::fail_next(kDms, QMI_DMS_GET_DEVICE_REV_ID_REQ_V01, -1);
  EXPECT_EQ(vorn_device_pal_get_revid(revision, sizeof revision), -1);
  EXPECT_TRUE(vt::logged("qmi send message false erorr:-1\r\n"));

  char number[5];
  ASSERT_EQ(vorn_deivce_pal_get_msisdn(number, sizeof number), 0);
  EXPECT_STREQ(number, "+155");
  EXPECT_EQ(vorn_deivce_pal_get_msisdn(nullptr, 5), -1);

  char hw[65] = {};
  ASSERT_EQ(vorn_qmi_dms_get_hw_version(hw), 0);
  EXPECT_STREQ(hw, "VN5G-HW-V1.2");
  EXPECT_EQ(vorn_qmi_dms_get_hw_version(nullptr), 3);
  ASSERT_EQ(vorn_device_pal_get_hw_version(hw), 0);
  EXPECT_STREQ(hw, "V1.2") << "the vendor service's own text";
  EXPECT_EQ(vorn_device_pal_get_hw_version(nullptr), -1);
  EXPECT_TRUE(vt::logged("Error, m2m get hw_version\n"));
}

TEST_F(DeviceIdentity, SerialMakerAndModelComeThroughM2m) {
  char fsn[33];
  ASSERT_EQ(vorn_device_pal_get_fsn(fsn, sizeof fsn), 0);
  EXPECT_STREQ(fsn, "VN5G24A000123");
  EXPECT_EQ(vt::read_file("/tmp/cfsn").size(), sizeof fsn);
  EXPECT_EQ(vorn_device_pal_get_fsn(nullptr, 33), 3);

  char maker[65], model[6];
  ASSERT_EQ(vorn_device_pal_get_mfr(maker, sizeof maker), 0);
  EXPECT_STREQ(maker, "Vorn Wireless");
  ASSERT_EQ(vorn_device_pal_get_model(model, sizeof model), 0);
  EXPECT_EQ(std::string(model, 6), "VN5G-F") << "cut to the caller's size";
  vornsim::refuse_next(kM2m, QMI_VORN_M2M_MODEL_NAME_REQ_V01, QMI_ERR_INTERNAL_V01);
  EXPECT_EQ(vorn_device_pal_get_model(model, sizeof model), -1);
  EXPECT_TRUE(vt::logged("Error, dms get modelid\n"));
  EXPECT_EQ(vorn_device_pal_get_mfr(nullptr, 1), -1);
  EXPECT_TRUE(vt::logged("Error, dms get mfr\n"));
}

TEST_F(DeviceIdentity, FactorySerialGoesOverDmsAtMost36Bytes) {
  ASSERT_EQ(vorn_device_pal_set_fsn("VN5G-NEW-1", 10), 0);
  std::string long_text(40, 'S');
  ASSERT_EQ(vorn_device_pal_set_fsn(long_text.c_str(), 40), 0);
  ASSERT_EQ(vorn_device_pal_set_fsn("SHORT", 30), 0) << "the length never reads past the text";
  auto sent = vornsim::requests(kDms, QMI_DMS_SET_FACTORY_SERIAL_NUMBER_REQ_V01);
  ASSERT_EQ(sent.size(), 3u);
  auto first = sent[0].as<dms_set_factory_serial_number_req_msg_v01>();
  EXPECT_EQ(first.fsn_len, 10u);
  EXPECT_EQ(std::string(first.fsn, 10), "VN5G-NEW-1");
  EXPECT_EQ(sent[1].as<dms_set_factory_serial_number_req_msg_v01>().fsn_len, 36u);
  EXPECT_EQ(sent[2].as<dms_set_factory_serial_number_req_msg_v01>().fsn_len, 5u);

  EXPECT_EQ(vorn_device_pal_set_fsn(nullptr, 4), 3);
  EXPECT_EQ(vorn_device_pal_set_fsn("", 0), 3);
  EXPECT_EQ(count(kDms, QMI_DMS_SET_FACTORY_SERIAL_NUMBER_REQ_V01), 3u);
  vornsim::refuse_next(kDms, QMI_DMS_SET_FACTORY_SERIAL_NUMBER_REQ_V01, QMI_ERR_INTERNAL_V01, vornsim::kAll);
  EXPECT_EQ(vorn_device_pal_set_fsn("X", 1), -1);
}

TEST_F(DeviceIdentity, BandCapabilitiesMapLteBandsIntoFourWords) {
  vt::answer<dev::GetBandCapability>(kDms, [](auto &resp) {
    resp.band_capability = 0x380;
    const uint16_t bands[] = {1, 64, 65, 128, 129, 192, 193, 200, 256, 300};
    resp.supported_lte_bands_valid = 1;
    resp.supported_lte_bands_len = sizeof bands / sizeof bands[0];
    std::memcpy(resp.supported_lte_bands, bands, sizeof bands);
  });
  vorn_device_band_capabilities caps;
  std::memset(&caps, 0xEE, sizeof caps);
  ASSERT_EQ(vorn_device_pal_get_band_capabilities(&caps), 0);
  EXPECT_EQ(caps.umts_band_mask, 0x380u);
  EXPECT_EQ(caps.lte_band_mask[0], (1ULL << 63) | 1ULL);
  EXPECT_EQ(caps.lte_band_mask[1], 1ULL) << "band 65; band 128 has no bit";
  EXPECT_EQ(caps.lte_band_mask[2], 1ULL) << "band 129; band 192 has no bit";
  EXPECT_EQ(caps.lte_band_mask[3], 1ULL | (1ULL << 7)) << "bands 193 and 200";
  for (uint64_t word : caps.reserved) EXPECT_EQ(word, 0u);
  EXPECT_TRUE(vt::logged("default lte test2[1] 64\r\n"));

  vornsim::refuse_next(kDms, QMI_DMS_GET_BAND_CAPABILITY_REQ_V01, QMI_ERR_INTERNAL_V01, vornsim::kAll);
  vorn_device_band_capabilities kept{};
  EXPECT_EQ(vorn_device_pal_get_band_capabilities(&kept), 0);
  EXPECT_EQ(std::memcmp(&kept, &caps, sizeof caps), 0) << "a failure keeps the cached value";
  EXPECT_TRUE(vt::logged("bandmask info is invaild\r\n"));
}

void project_name(const char *name) {
  std::remove("/tmp/vorn_project_name");
  vt::answer<m2m::ProjectName>(kM2m, [=](auto &resp) {
    std::strcpy(resp.text, name);
    resp.len = static_cast<uint32_t>(std::strlen(name));
  });
}

std::string description() {
  char out[128] = {};
  EXPECT_EQ(vorn_device_pal_get_product_description(out, sizeof out), 0);
  return out;
}

TEST_F(DeviceIdentity, ProductNameIsCachedAndShownWithoutATrailing00) {
  project_name("VN5G-FWA-X1-00");
  EXPECT_EQ(description(), "VN5G-FWA-X1");
  EXPECT_EQ(vt::read_file("/tmp/vorn_project_name"), "VN5G-FWA-X1-00");
  EXPECT_EQ(description(), "VN5G-FWA-X1");
  EXPECT_EQ(count(kM2m, QMI_VORN_M2M_PROJECT_NAME_REQ_V01), 1u) << "the second came from /tmp";

  project_name("VN5G-FWA");
  EXPECT_EQ(description(), "VN5G-FWA");
  project_name("VN5G-FWA-X1-EU");
  EXPECT_EQ(description(), "VN5G-FWA-X1-EU");
  project_name("VN5G-FWA-X1");
  EXPECT_EQ(description(), "VN5G-FWA-X1");

  std::string a(20, 'a'), b(20, 'b'), c(20, 'c'), d(20, 'd');
  vt::write_file("/tmp/vorn_project_name", a + "-" + b + "-" + c + "-" + d);
  EXPECT_EQ(description(), a + "-" + b + "-" + c + "-d") << "the copy is read up to 64 bytes";

  char prefix[64] = {};
  ASSERT_EQ(vorn_device_pal_get_product_prefix_description(prefix), 0);
  EXPECT_EQ(std::string(prefix), a);

  project_name("X");
  vornsim::refuse_next(kM2m, QMI_VORN_M2M_PROJECT_NAME_REQ_V01, QMI_ERR_INTERNAL_V01, vornsim::kAll);
  char out[64];
  EXPECT_EQ(vorn_device_pal_get_product_description(out, sizeof out), -1);
  EXPECT_TRUE(vt::logged("oem_m2m_pal_get_project_name fail.\n"));
  EXPECT_EQ(vorn_device_pal_get_product_prefix_description(prefix), -1);
  EXPECT_TRUE(vt::logged("oem_device_pal_get_product_description fail.\n"));
}

TEST_F(DeviceIdentity, WanAddressOfEth1) {
  char address[18] = {};
  EXPECT_LT(vorn_device_pal_get_wan_hw_addr(address), 0) << "no eth1 yet";
  ASSERT_EQ(vt::sh("ip link add eth1 type veth peer name eth1peer && ip link set eth1 address 02:1a:2b:3c:4d:5e"), 0);
  ASSERT_EQ(vorn_device_pal_get_wan_hw_addr(address), 0);
  EXPECT_STREQ(address, "02:1a:2b:3c:4d:5e");
  vt::sh("ip link del eth1");
  EXPECT_EQ(vorn_device_pal_get_wan_hw_addr(nullptr), -1);
}

TEST_F(DeviceIdentity, DataGetCollectsEveryValue) {
  device_data data;
  std::memset(&data, 0, sizeof data);
  ASSERT_EQ(vorn_device_pal_set_operating_mode(DMS_OP_MODE_LOW_POWER_V01), 0);
  ASSERT_EQ(vorn_device_pal_data_get(&data), 0);
  EXPECT_STREQ(data.mfr, "Vorn Wireless");
  EXPECT_STREQ(data.revid, "VN5GFWAR01A03M4G.01");
  EXPECT_STREQ(data.fsn, "VN5G24A000123");
  EXPECT_STREQ(data.model, "VN5G-FWA100");
  EXPECT_STREQ(data.imei, "861234050000011");
  EXPECT_EQ(std::string(data.imei_svn, 2), "05");
  EXPECT_EQ(data.operating_mode, 1u);
  EXPECT_EQ(data.valid, 1u);

  vornsim::refuse_next(kM2m, QMI_VORN_M2M_MANUFACTURER_REQ_V01, QMI_ERR_INTERNAL_V01, vornsim::kAll);
  EXPECT_EQ(vorn_device_pal_data_get(&data), 0) << "a failed value only logs";
  EXPECT_TRUE(vt::logged("Error, init to get mfr failed\r\n"));
}

}  // namespace
