// NV items and EFS files through the library, against the modem's store.
#include <cstring>

#include "m2m_test.h"

namespace {

using namespace m2mt;

class M2mNv : public M2mTest {};

std::string read_item(const std::string &path, int hex_text, int *rc = nullptr) {
  char out[1024];
  std::memset(out, '#', sizeof out);
  uint32_t len = 9999;
  int result = vorn_m2m_pal_read_nv_by_path(path.c_str(), out, &len, hex_text);
  if (rc != nullptr) *rc = result;
  return result == 0 ? std::string(out, len) : std::string();
}

TEST_F(M2mNv, ReadGivesRawBytesOrHexadecimalWithoutTerminator) {
  const char item[] = "\x01\xAB\xFF";
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/test/three", item, 3), 0);

  char out[16];
  std::memset(out, '#', sizeof out);
  uint32_t len = 0;
  ASSERT_EQ(vorn_m2m_pal_read_nv_by_path("/nv/item_files/test/three", out, &len, 1), 0);
  EXPECT_EQ(len, 6u);
  EXPECT_EQ(std::string(out, 6), "01ABFF");
  EXPECT_EQ(out[6], '#') << "no terminator after the text";

  EXPECT_EQ(read_item("/nv/item_files/test/three", 0), std::string(item, 3));
  EXPECT_EQ(read_item("/nv/item_files/test/three", 2), std::string(item, 3)) << "2 is not 1";
  EXPECT_TRUE(vt::logged("item_file_path: /nv/item_files/test/three!\n"));
  EXPECT_TRUE(vt::logged("Receive nv value len 3\n"));
  EXPECT_TRUE(vt::logged("content: \x01\xAB\xFF, len = 3\n"));
}

TEST_F(M2mNv, PathsUpTo128CharactersGoOutUnterminated) {
  for (size_t len : {1u, 64u, 127u, 128u}) {
    std::string path = path_of_len(len);
    ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(path.c_str(), "v", 1), 0) << len;
    EXPECT_EQ(read_item(path, 0), "v") << len;
  }
  auto sent = vornsim::requests(kM2m, QMI_VORN_M2M_READ_NV_ITEM_REQ_V01).back();
  auto req = sent.as<vorn_m2m_read_nv_item_req_msg_v01>();
  EXPECT_EQ(std::string(req.item_file_path, 128), path_of_len(128)) << "all 128 bytes, no NUL";

  vornsim::clear_requests();
  std::string too_long = path_of_len(129);
  char out[8];
  uint32_t len = 0;
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_path(too_long.c_str(), out, &len, 0), -1);
  EXPECT_EQ(vorn_m2m_pal_write_nv_by_path(too_long.c_str(), "v", 1), -1);
  EXPECT_EQ(vt::count_logged("Parameter is error!\n"), 2);
  EXPECT_TRUE(vornsim::requests().empty());
}

TEST_F(M2mNv, EmptyItemsAndNullArguments) {
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/empty", "", 0), 0);
  auto req = vornsim::requests(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01)
                 .back()
                 .as<vorn_m2m_write_nv_item_req_msg_v01>();
  EXPECT_EQ(req.data_len, 0u);

  char out[4] = {'a', 'b', 'c', 'd'};
  uint32_t len = 77;
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_path("/nv/item_files/empty", out, &len, 1), 0);
  EXPECT_EQ(len, 0u);
  EXPECT_EQ(std::string(out, 4), "abcd") << "an empty item leaves out alone";

  vornsim::clear_requests();
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_path("/x", nullptr, &len, 0), -1);
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_path("/x", out, nullptr, 0), -1);
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_path(nullptr, out, &len, 0), -1);
  EXPECT_EQ(vorn_m2m_pal_write_nv_by_path("/x", nullptr, 1), -1);
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_nvid(1, 0, nullptr), -1);
  EXPECT_EQ(vorn_m2m_pal_read_nvstr_by_nvid(1, 0, nullptr), -1);
  EXPECT_EQ(vorn_m2m_pal_write_nv_by_nvid(1, 1, nullptr, 1), -1);
  EXPECT_EQ(vt::count_logged("Parameter is error!\n"), 7);
  EXPECT_TRUE(vornsim::requests().empty());
}

TEST_F(M2mNv, FailedReadLeavesTheOutputsAlone) {
  char out[4] = {'a', 'b', 'c', 'd'};
  uint32_t len = 77;
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_path("/nv/item_files/missing", out, &len, 0), -1);
  EXPECT_EQ(len, 77u);
  EXPECT_EQ(std::string(out, 4), "abcd");
  EXPECT_TRUE(vt::logged(
      "Sending QMI_VORN_M2M_READ_NV_ITEM_REQ_V01 failed: rc=0 (), resp.result=1.[0x01], "
      "resp.error=16.[0x10]\n"));

  vornsim::fail_next(kM2m, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01, QMI_TIMEOUT_ERR, vornsim::kAll);
  EXPECT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/x", "v", 1), -1);
}

TEST_F(M2mNv, FiveHundredBytesIsTheLargestItem) {
  std::string item;
  for (int i = 0; i < 500; ++i) item += static_cast<char>(i * 7);
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/big", item.data(), 500), 0);
  EXPECT_EQ(read_item("/nv/item_files/big", 0), item);
  EXPECT_EQ(read_item("/nv/item_files/big", 1), hex_of(item));

  EXPECT_DEATH(vorn_m2m_pal_write_nv_by_path("/nv/item_files/big", std::string(501, 'x').data(), 501),
               "buffer overflow detected");
  EXPECT_EQ(read_item("/nv/item_files/big", 0), item) << "the aborted write changed nothing";
}

TEST_F(M2mNv, RenameMovesAsideAndCountsARefusalAsSuccess) {
  ASSERT_EQ(vorn_m2m_pal_early_init(), 0);
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/odm/item", "old", 3), 0);
  EXPECT_EQ(vorn_m2m_pal_efs_rename("/nv/item_files/odm/item", "/nv/item_files/odm/item_del"), 0);
  int rc = 0;
  read_item("/nv/item_files/odm/item", 0, &rc);
  EXPECT_EQ(rc, -1);
  EXPECT_EQ(read_item("/nv/item_files/odm/item_del", 0), "old");

  // The modem refuses (nothing to rename, no new path): the caller sees 0.
  EXPECT_EQ(vorn_m2m_pal_efs_rename("/nv/item_files/odm/none", "/nv/item_files/odm/none_del"), 0);
  EXPECT_EQ(vorn_m2m_pal_efs_rename("/nv/item_files/odm/item_del", nullptr), 0);
  EXPECT_EQ(read_item("/nv/item_files/odm/item_del", 0), "old");
  EXPECT_FALSE(vt::logged("EFS file rename failed! qmi_err:0\n"));

  vornsim::fail_next(kM2m, QMI_VORN_M2M_EFS_RENAME_REQ_V01, QMI_SERVICE_ERR);
  EXPECT_EQ(vorn_m2m_pal_efs_rename("/a", "/b"), QMI_SERVICE_ERR);
  EXPECT_TRUE(vt::logged("EFS file rename failed! qmi_err:-2\n"));

  std::string path127 = path_of_len(127);
  EXPECT_EQ(vorn_m2m_pal_efs_rename("/nv/item_files/odm/item_del", path127.c_str()), 0);
  EXPECT_EQ(read_item(path127, 0), "old");
  EXPECT_DEATH(vorn_m2m_pal_efs_rename(path_of_len(128).c_str(), "/b"), "buffer overflow detected");
}

TEST_F(M2mNv, ItemsByNumber) {
  const uint8_t item[] = {0x12, 0x00, 0xAB};
  EXPECT_EQ(vorn_m2m_pal_write_nv_by_nvid(550, 1, item, 3), -1) << "no client yet";
  EXPECT_TRUE(vornsim::requests().empty());
  EXPECT_EQ(vornsim::counters().clients_live, 0) << "and none was started";

  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path("/nv/item_files/x", "v", 1), 0) << "this one starts it";
  EXPECT_EQ(vornsim::counters().clients_live, 1);
  EXPECT_EQ(vorn_m2m_pal_write_nv_by_nvid(550, 1, item, 0), -1);
  EXPECT_TRUE(vt::logged("Invalid input\n"));
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_nvid(550, 1, item, 3), 0);
  auto req = vornsim::requests(kM2m, QMI_VORN_M2M_NVRW_REQ_V01).back().as<vorn_m2m_nvrw_req_msg_v01>();
  EXPECT_EQ(req.word0, 550u);
  EXPECT_EQ(req.word1, 1u);
  EXPECT_EQ(std::memcmp(req.data, item, 3), 0);
  EXPECT_EQ(req.data[3], 0) << "zero-padded to 128 bytes";

  uint8_t hex[16] = {};
  ASSERT_EQ(vorn_m2m_pal_read_nv_by_nvid(550, 0, hex), 0);
  EXPECT_STREQ(reinterpret_cast<char *>(hex), "1200AB");
  char text[8];
  std::memset(text, '#', sizeof text);
  ASSERT_EQ(vorn_m2m_pal_read_nvstr_by_nvid(550, 0, text), 0);
  EXPECT_EQ(std::string(text, 4), std::string("\x12\0\0#", 4)) << "up to the first NUL, len zeroed";

  uint8_t untouched[4] = {'u', 'u', 'u', 'u'};
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_nvid(551, 0, untouched), 0) << "no such item";
  EXPECT_EQ(untouched[0], 'u');
  vornsim::refuse_next(kM2m, QMI_VORN_M2M_NVRW_REQ_V01, QMI_ERR_INTERNAL_V01);
  EXPECT_EQ(vorn_m2m_pal_read_nv_by_nvid(550, 0, hex), -1);
  EXPECT_TRUE(vt::logged("send qmi failed.\n"));

  uint8_t big[129] = {};
  EXPECT_DEATH(vorn_m2m_pal_write_nv_by_nvid(550, 1, big, 129), "buffer overflow detected");
}

}  // namespace
