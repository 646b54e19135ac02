// IMEIs and serial number in the modem and their copies under /data: the
// backup worker, and the restore at every vorn_m2m_pal_init after the modem
// lost a value, with the files cut at every step of a backup.
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "m2m_test.h"

// The file system calls that order a backup's steps pass through here, so
// that a test can stop the world before and after each one, as a power cut
// would, and look at the files. Unarmed, they only pass the call on.
namespace cut {

std::atomic<bool> armed{false};
std::function<void(const std::string &step)> at_step;
// Files (device and inode) flushed since their last change, with the size
// they had then.
std::map<std::pair<dev_t, ino_t>, off_t> flushed;
int unflushed_renames = 0;

void step(const std::string &name) {
  if (armed && at_step) at_step(name);
}

template <class Fn>
Fn next_symbol(const char *name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

void note_flushed(int fd) {
  struct stat st{};
  if (armed && fstat(fd, &st) == 0) flushed[{st.st_dev, st.st_ino}] = st.st_size;
}

}  // namespace cut

extern "C" int rename(const char *from, const char *to) {
  static auto real = cut::next_symbol<int (*)(const char *, const char *)>("rename");
  struct stat st{};
  if (cut::armed && stat(from, &st) == 0) {
    auto found = cut::flushed.find({st.st_dev, st.st_ino});
    cut::unflushed_renames += found == cut::flushed.end() || found->second != st.st_size;
  }
  cut::step(std::string("before rename to ") + to);
  int rc = real(from, to);
  cut::step(std::string("after rename to ") + to);
  return rc;
}

extern "C" int fsync(int fd) {
  static auto real = cut::next_symbol<int (*)(int)>("fsync");
  cut::step("before fsync");
  int rc = real(fd);
  cut::note_flushed(fd);
  cut::step("after fsync");
  return rc;
}

extern "C" int fdatasync(int fd) {
  static auto real = cut::next_symbol<int (*)(int)>("fdatasync");
  cut::step("before fdatasync");
  int rc = real(fd);
  cut::note_flushed(fd);
  cut::step("after fdatasync");
  return rc;
}

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

  lose_serial();
  vt::write_file("/data/cfsn", "VN5G24A000123\nXX");
  restore();
  EXPECT_EQ(serial_in_modem(), "VN5G24A000123\nXX") << "no newline is removed";
}

using Files = std::map<std::string, std::optional<std::string>>;

Files identity_files() {
  Files files;
  for (const char *file : kFiles) {
    files[file] = vt::file_exists(file) ? std::optional<std::string>(vt::read_file(file))
                                        : std::nullopt;
  }
  return files;
}

void put_identity_files(const Files &files) {
  for (const auto &[path, content] : files) {
    std::remove(path.c_str());
    if (content) vt::write_file(path, *content);
  }
}

TEST_F(IdentityBackup, BackupCutAtAnyStepLeavesAWholeValue) {
  struct Value {
    const char *file;
    std::string old_text, new_text;
  };
  const Value values[] = {
      {"/data/imei", "8612340500000119876", "861234050000011"},
      {"/data/imei01", "8612340500000299876", "861234050000029"},
      {"/data/cfsn", "VN5G24A000123-REWORKED", "VN5G24A000123"},
  };
  auto set_modem = [this](const std::string &imei1, const std::string &imei2,
                          const std::string &serial) {
    {
      std::lock_guard<std::mutex> lock(modem.mutex);
      modem.imei1 = imei1;
      modem.imei2 = imei2;
    }
    ASSERT_EQ(vorn_m2m_pal_set_fsn(serial.c_str(), static_cast<uint32_t>(serial.size())), 0);
  };
  set_modem(values[0].old_text, values[1].old_text, values[2].old_text);
  vorn_thread_func_rfnv(nullptr);
  for (const Value &value : values) {
    ASSERT_EQ(vt::read_file(value.file), value.old_text);
    ASSERT_EQ(vt::read_file(value.file + std::string("_bak")), value.old_text);
  }

  // The shorter values over the longer ones, with the files taken at every
  // step of the way.
  set_modem(values[0].new_text, values[1].new_text, values[2].new_text);
  std::vector<std::pair<std::string, Files>> cuts;
  cut::at_step = [&cuts](const std::string &step) { cuts.emplace_back(step, identity_files()); };
  cut::flushed.clear();
  cut::unflushed_renames = 0;
  cut::armed = true;
  vorn_thread_func_rfnv(nullptr);
  cut::armed = false;
  cut::at_step = nullptr;

  for (const Value &value : values) {
    EXPECT_EQ(vt::read_file(value.file), value.new_text) << "only the new value";
    EXPECT_EQ(vt::read_file(value.file + std::string("_bak")), value.new_text);
  }
  EXPECT_FALSE(cuts.empty()) << "the backup is made in steps a power cut can fall between";
  EXPECT_EQ(cut::unflushed_renames, 0) << "a value takes its name only once it is on disk";

  // After a cut, each file holds the old or the new value whole, and a
  // modem that lost everything gets one of them back.
  auto whole = [](const Value &value, const std::optional<std::string> &text) {
    return text && (*text == value.old_text || *text == value.new_text);
  };
  for (const auto &[step, files] : cuts) {
    SCOPED_TRACE("power cut " + step);
    for (const Value &value : values) {
      EXPECT_TRUE(whole(value, files.at(value.file))) << value.file;
      EXPECT_TRUE(whole(value, files.at(value.file + std::string("_bak")))) << value.file;
    }
    put_identity_files(files);
    {
      std::lock_guard<std::mutex> lock(modem.mutex);
      modem.imei1.clear();
      modem.imei2.clear();
    }
    lose_serial();
    vorn_m2m_pal_deinit();
    vornsim::clear_requests();
    ASSERT_EQ(vorn_m2m_pal_init(), 0);
    auto writes = imei_writes();
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_TRUE(whole(values[0], std::string(writes[0].imei1)));
    EXPECT_TRUE(whole(values[1], std::string(writes[0].imei2)));
    auto serials = vornsim::requests(kM2m, QMI_VORN_M2M_SET_SN_REQ_V01);
    ASSERT_EQ(serials.size(), 1u);
    auto set_sn = serials[0].as<vorn_m2m_set_sn_req_msg_v01>();
    EXPECT_TRUE(whole(values[2], std::string(set_sn.text, std::min<size_t>(set_sn.len, 36))));
  }
}

TEST_F(IdentityBackup, LongFilesRestoreTheirFirst32Bytes) {
  {
    std::lock_guard<std::mutex> lock(modem.mutex);
    modem.imei1.clear();
    modem.imei2.clear();
  }
  lose_serial();
  const std::string imei1 = "861234050000011" + std::string(30, 'Z');
  const std::string imei2 = "861234050000029" + std::string(30, 'Y');
  const std::string serial = "VN5G24A000123-" + std::string(30, 'S');
  vt::write_file("/data/imei", imei1);
  vt::write_file("/data/imei01", imei2);
  vt::write_file("/data/cfsn", serial);
  ASSERT_EQ(vorn_m2m_pal_init(), 0);

  // The first IMEI fills its field; the second one's field would take no
  // terminator after 32 bytes, so it gets 31.
  auto writes = imei_writes();
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_EQ(std::string(writes[0].imei1, sizeof writes[0].imei1), imei1.substr(0, 32));
  EXPECT_EQ(std::string(writes[0].imei2), imei2.substr(0, 31));
  EXPECT_TRUE(vt::logged("/data/imei01 holds 32 bytes, restoring the first 31\n"));
  EXPECT_EQ(vt::count_logged("/data/imei holds 32 bytes, restoring the first 31\n"), 0);

  auto serials = vornsim::requests(kM2m, QMI_VORN_M2M_SET_SN_REQ_V01);
  ASSERT_EQ(serials.size(), 1u);
  auto set_sn = serials[0].as<vorn_m2m_set_sn_req_msg_v01>();
  EXPECT_EQ(set_sn.len, 32u);
  EXPECT_EQ(std::string(set_sn.text, 32), serial.substr(0, 32));
}

}  // namespace
