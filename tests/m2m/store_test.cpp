// The simulated modem's store: what it keeps, and that a saved modem comes
// back whole in a later process.
#include <cstring>

#include "m2m_test.h"

namespace {

using namespace m2mt;

class M2mStore : public M2mTest {};

std::string read_item(const std::string &path) {
  char out[512];
  uint32_t len = 0;
  if (vorn_m2m_pal_read_nv_by_path(path.c_str(), out, &len, 0) != 0) return "<none>";
  return std::string(out, len);
}

TEST_F(M2mStore, SavedStateComesBackAfterAFreshModem) {
  const std::string binary("\x00\x01\n \xFF", 5);
  std::string long_path = path_of_len(128);
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/ims/IMS_enable", "\x01", 1), 0);
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(long_path.c_str(), binary.data(), 5), 0);
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/empty", "", 0), 0);
  const uint8_t nv[] = {'A', 'P', 'N'};
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_nvid(6853, 1, nv, 3), 0);
  ASSERT_EQ(vorn_m2m_pal_set_cfun_mode(0), 0);
  ASSERT_EQ(vorn_m2m_pal_set_fsn("SAVED-SN", 8), 0);

  vt::make_dirs("/tmp/m2m-store");
  vornsim::save_state("/tmp/m2m-store");
  ASSERT_EQ(vorn_m2m_pal_deinit(), 0);
  vornsim::reset();
  EXPECT_EQ(read_item("/nv/item_files/ims/IMS_enable"), "<none>") << "a fresh modem";

  vornsim::load_state("/tmp/m2m-store");
  EXPECT_EQ(read_item("/nv/item_files/ims/IMS_enable"), "\x01");
  EXPECT_EQ(read_item(long_path), binary);
  EXPECT_EQ(read_item("/nv/item_files/empty"), "");
  char apn[8] = {};
  ASSERT_EQ(vorn_m2m_pal_read_nvstr_by_nvid(6853, 0, apn), 0);
  EXPECT_STREQ(apn, "APN");
  uint8_t cfun = 1;
  ASSERT_EQ(vorn_m2m_pal_get_cfun_mode(&cfun), 0);
  EXPECT_EQ(cfun, 0);
  char serial[36] = {};
  ASSERT_EQ(vorn_m2m_pal_get_fsn(serial, sizeof serial), 0);
  EXPECT_STREQ(serial, "SAVED-SN");
}

TEST_F(M2mStore, CopyAndRenameFollowTheFileSystem) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  vorn_m2m_copy_nv_item_req_msg_v01 copy{};
  std::strcpy(copy.source_path, "/nv/item_files/odm/none");
  std::strcpy(copy.destination_path, "/nv/item_files/odm/copy");
  vorn_m2m_copy_nv_item_resp_msg_v01 resp{};
  // Through the raw client, as only the library's copy functions send it.
  qmi_client_type handle = nullptr;
  vorn_qmi_client probe{};
  probe.service_object = vorn_m2m_get_service_object_internal_v01(1, 1, 6);
  ASSERT_EQ(vorn_qmi_register(&probe, 1), 0);
  handle = probe.handle;
  ASSERT_EQ(qmi_client_send_msg_sync(handle, QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01, &copy, sizeof copy,
                                     &resp, sizeof resp, 10000),
            0);
  EXPECT_EQ(resp.resp.result, QMI_RESULT_FAILURE_V01) << "no source";

  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/odm/none", "src", 3), 0);
  ASSERT_EQ(qmi_client_send_msg_sync(handle, QMI_VORN_M2M_COPY_NV_ITEM_REQ_V01, &copy, sizeof copy,
                                     &resp, sizeof resp, 10000),
            0);
  EXPECT_EQ(resp.resp.result, QMI_RESULT_SUCCESS_V01);
  EXPECT_EQ(read_item("/nv/item_files/odm/copy"), "src");
  EXPECT_EQ(read_item("/nv/item_files/odm/none"), "src") << "a copy keeps its source";

  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/odm/target", "old", 3), 0);
  EXPECT_EQ(vorn_m2m_pal_efs_rename("/nv/item_files/odm/copy", "/nv/item_files/odm/target"), 0);
  EXPECT_EQ(read_item("/nv/item_files/odm/target"), "src") << "a rename replaces its target";
  vorn_qmi_unregister(&probe);
}

}  // namespace
