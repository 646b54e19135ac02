// IMEIs and serial number in the modem and their copies under /data: the
// backup worker, and the restore at every vorn_m2m_pal_init after the modem
// lost a value, with the files cut at every step of a backup.
#include <cstring>
#include <mutex>
#include <string>

#include "m2m_test.h"

namespace {

using namespace m2mt;

const char *const kFiles[] = {"/data/imei", "/data/imei_bak", "/data/imei01",
                              "/data/imei01_bak", "/data/cfsn", "/data/cfsn_bak"};

// The modem's IMEI store, which a test can empty as a modem that lost it.
struct ModemImeis {
  std::mutex mutex;
  std::string imei1 = "861234050000011", imei2 = "861234050000029";
  int writes = 0;

  void install() {
    vt::serve<m2m::Imei>(kM2m, [this](const auto &req, auto &resp) {
      std::lock_guard<std::mutex> lock(mutex);
      if (req.operation == 1) {
        ++writes;
        if (req.imei1[0] != '\0') imei1.assign(req.imei1, strnlen(req.imei1, 32));
        if (req.imei2[0] != '\0') imei2.assign(req.imei2, strnlen(req.imei2, 32));
        return;
      }
      resp.imei_valid = 1;
      std::memcpy(resp.imei1, imei1.data(), imei1.size());
      std::memcpy(resp.imei2, imei2.data(), imei2.size());
    });
  }
};

class IdentityBackup : public M2mTest {
 protected:
  void SetUp() override {
    M2mTest::SetUp();
    for (const char *file : kFiles) std::remove(file);
    modem.install();
  }
  // A modem that lost the serial number: the next query is refused.
  static void lose_serial() {
    vornsim::refuse_next(kM2m, QMI_VORN_M2M_GET_SN_REQ_V01, QMI_ERR_INTERNAL_V01);
  }
  static std::string serial_in_modem() {
    char serial[37] = {};
    EXPECT_EQ(vorn_m2m_pal_get_fsn(serial, 36), 0);
    return serial;
  }
  ModemImeis modem;
};

std::vector<vorn_m2m_imei_req_msg_v01> imei_writes() {
  std::vector<vorn_m2m_imei_req_msg_v01> writes;
  for (const auto &req : vornsim::requests(kM2m, QMI_VORN_M2M_IMEI_REQ_V01)) {
    auto imei = req.as<vorn_m2m_imei_req_msg_v01>();
    if (imei.operation == 1) writes.push_back(imei);
  }
  return writes;
}

TEST_F(IdentityBackup, ImeisReadAndWriteBothFields) {
  char imei1[32] = {}, imei2[32] = {};
  ASSERT_EQ(vorn_m2m_pal_read_imei(imei1, imei2), 0);
  EXPECT_STREQ(imei1, "861234050000011");
  EXPECT_STREQ(imei2, "861234050000029");

  ASSERT_EQ(vorn_m2m_pal_write_imei("356938035643809", nullptr), 0);
  ASSERT_EQ(vorn_m2m_pal_write_imei(nullptr, "356938035643817"), 0);
  ASSERT_EQ(vorn_m2m_pal_write_imei("", "356938035643825"), 0);
  auto writes = imei_writes();
  ASSERT_EQ(writes.size(), 3u);
  EXPECT_STREQ(writes[0].imei1, "356938035643809");
  EXPECT_STREQ(writes[0].imei2, "356938035643809") << "a single value fills both";
  EXPECT_STREQ(writes[1].imei1, "356938035643817");
  EXPECT_STREQ(writes[1].imei2, "356938035643817");
  EXPECT_STREQ(writes[2].imei1, "") << "an empty text leaves its field empty";
  EXPECT_STREQ(writes[2].imei2, "356938035643825");

  EXPECT_EQ(vorn_m2m_pal_write_imei(nullptr, nullptr), -1);
  EXPECT_TRUE(vt::logged("Parameter is error!\n"));
  EXPECT_EQ(vorn_m2m_pal_read_imei(imei1, nullptr), -1);
  EXPECT_TRUE(vt::logged("Input param error!.\n"));

  vornsim::fail_next(kM2m, QMI_VORN_M2M_IMEI_REQ_V01, -1);
  EXPECT_EQ(vorn_m2m_pal_read_imei(imei1, imei2), -1);
  EXPECT_TRUE(vt::logged("send qmi failed.\n"));

  vorn_m2m_pal_deinit();
  vornsim::set_service_object_missing(kM2m, true);
  EXPECT_EQ(vorn_m2m_pal_write_imei("1", "2"), -1);
  EXPECT_TRUE(vt::logged("m2m qmi not initialized!\n"));
}

TEST_F(IdentityBackup, ImeiOfTheModemWithoutAValueLeavesTheBuffers) {
  {
    std::lock_guard<std::mutex> lock(modem.mutex);
    modem.imei1.clear();
  }
  char imei1[32] = "kept", imei2[32] = "also kept";
  ASSERT_EQ(vorn_m2m_pal_read_imei(imei1, imei2), 0);
  EXPECT_STREQ(imei1, "kept");
  EXPECT_STREQ(imei2, "861234050000029");
}

TEST_F(IdentityBackup, OversizedSecondImeiAbortsBeforeTheModem) {
  VT_NEEDS_FRESH_PROCESS();
  std::string too_long(32, '9');
  EXPECT_DEATH(vorn_m2m_pal_write_imei("1", too_long.c_str()), "buffer overflow detected");
}

TEST_F(IdentityBackup, WorkerCopiesEachValueTwice) {
  EXPECT_EQ(vorn_thread_func_rfnv(nullptr), nullptr);
  EXPECT_EQ(vt::read_file("/data/imei"), "861234050000011");
  EXPECT_EQ(vt::read_file("/data/imei_bak"), "861234050000011");
  EXPECT_EQ(vt::read_file("/data/imei01"), "861234050000029");
  EXPECT_EQ(vt::read_file("/data/imei01_bak"), "861234050000029");
  EXPECT_EQ(vt::read_file("/data/cfsn"), "VN5G24A000123");
  EXPECT_EQ(vt::read_file("/data/cfsn_bak"), "VN5G24A000123");

  // An existing file is written in place: a longer old value keeps its tail.
  vt::write_file("/data/cfsn", "OLD-SERIAL-NUMBER-1234");
  ASSERT_EQ(vorn_m2m_pal_set_fsn("NEW-SN", 6), 0);
  vorn_thread_func_rfnv(nullptr);
  EXPECT_EQ(vt::read_file("/data/cfsn"), "NEW-SNRIAL-NUMBER-1234");
  EXPECT_EQ(vt::read_file("/data/cfsn_bak"), "NEW-SNA000123");
}

TEST_F(IdentityBackup, RestoreBringsBackWhatTheModemLost) {
  vorn_thread_func_rfnv(nullptr);
  {
    std::lock_guard<std::mutex> lock(modem.mutex);
    modem.imei1.clear();
    modem.imei2.clear();
  }
  lose_serial();
  vornsim::clear_requests();
  ASSERT_EQ(vorn_m2m_pal_init(), 0);
  auto writes = imei_writes();
  ASSERT_EQ(writes.size(), 1u) << "both IMEIs in one write";
  EXPECT_STREQ(writes[0].imei1, "861234050000011");
  EXPECT_STREQ(writes[0].imei2, "861234050000029");
  EXPECT_TRUE(vt::logged("try to restore IMEI1\n"));
  EXPECT_TRUE(vt::logged("try to restore IMEI2\n"));
  EXPECT_TRUE(vt::logged("try to restore CFSN\n"));
  auto serials = vornsim::requests(kM2m, QMI_VORN_M2M_SET_SN_REQ_V01);
  ASSERT_EQ(serials.size(), 1u);
  EXPECT_EQ(serials[0].as<vorn_m2m_set_sn_req_msg_v01>().len, 13u);
  EXPECT_EQ(serial_in_modem(), "VN5G24A000123");

  // A modem that holds its values is never compared with the files.
  vt::write_file("/data/imei", "000000000000000");
  vornsim::clear_requests();
  ASSERT_EQ(vorn_m2m_pal_init(), 0);
  EXPECT_TRUE(imei_writes().empty());
  EXPECT_EQ(vornsim::requests(kM2m, QMI_VORN_M2M_SET_SN_REQ_V01).size(), 0u);
}

TEST_F(IdentityBackup, RestoreSurvivesABackupCutAtEveryStep) {
  auto lose_imeis = [this] {
    std::lock_guard<std::mutex> lock(modem.mutex);
    modem.imei1.clear();
    modem.imei2.clear();
  };
  auto restore = [] {
    vornsim::clear_requests();
    vornsim::clear_diag();
    EXPECT_EQ(vorn_m2m_pal_init(), 0);
    return imei_writes();
  };

  // Cut before the first file: only a copy exists, which is never read.
  vt::write_file("/data/imei_bak", "861234050000011");
  lose_imeis();
  EXPECT_TRUE(restore().empty()) << "nothing to restore";
  EXPECT_TRUE(vt::logged("ret=0, imei=, imei1=\n")) << "the loss is reported";

  // Cut between a file and its copy: the file is enough.
  vt::write_file("/data/imei", "861234050000011");
  auto writes = restore();
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_STREQ(writes[0].imei1, "861234050000011");
  EXPECT_STREQ(writes[0].imei2, "") << "no second IMEI saved, none restored";

  // A zero-length file restores an empty value: the modem keeps nothing.
  lose_imeis();
  vt::write_file("/data/imei", "");
  writes = restore();
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_STREQ(writes[0].imei1, "");
  EXPECT_TRUE(vt::logged("read len=0\n"));

  // A file with trailing garbage is restored as it stands, cut to fit.
  lose_imeis();
  vt::write_file("/data/imei", "861234050000011" + std::string(30, 'Z'));
  vt::write_file("/data/imei01", "861234050000029");
  writes = restore();
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_EQ(std::string(writes[0].imei1), "861234050000011" + std::string(16, 'Z'));
  EXPECT_STREQ(writes[0].imei2, "861234050000029");
  EXPECT_TRUE(vt::logged("/data/imei holds 32 bytes, restoring the first 31\n"));

  lose_serial();
  vt::write_file("/data/cfsn", "VN5G24A000123\nXX");
  restore();
  EXPECT_EQ(serial_in_modem(), "VN5G24A000123\nXX") << "no newline is removed";
}

}  // namespace
