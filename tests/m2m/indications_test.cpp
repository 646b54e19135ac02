// Indications of the vendor service as the daemon sees them: events on the
// modem's thread, and the reboot and backup workers that unsolicited texts
// start.
#include <pthread.h>
#include <sys/mount.h>

#include <chrono>
#include <functional>
#include <memory>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <vornpal/device.h>
#include <vornpal/platform/device_management_service_v01.h>

#include "device/messages.h"
#include "m2m_test.h"

namespace {

using namespace m2mt;
using vt::eventually;

// Stack and detach state of the thread a handler of the modem runs on.
struct ThreadShape {
  size_t stack = 0;
  int detach = -1;
  static ThreadShape of_this_thread() {
    ThreadShape shape;
    pthread_attr_t attr;
    if (pthread_getattr_np(pthread_self(), &attr) == 0) {
      pthread_attr_getstacksize(&attr, &shape.stack);
      pthread_attr_getdetachstate(&attr, &shape.detach);
      pthread_attr_destroy(&attr);
    }
    return shape;
  }
};

// The thread sanitizer grows every thread's stack by its own share.
void expect_worker_stack(size_t stack) {
#if defined(__SANITIZE_THREAD__)
  EXPECT_GE(stack, 65536u);
#else
  EXPECT_EQ(stack, 65536u);
#endif
}

class M2mIndications : public M2mTest {
 protected:
  void SetUp() override {
    M2mTest::SetUp();
    ASSERT_EQ(vorn_m2m_pal_init(), 0);
    ASSERT_EQ(vorn_m2m_pal_event_register(vt::Events::record, &events), 0);
    forget_traffic();
  }
  void TearDown() override {
    M2mTest::TearDown();
    // The reboot worker's operating mode opens the device family's client.
    vorn_device_pal_deinit();
  }
  std::vector<vt::Events::Event> taken() { return events.taken(); }
  static void unsolicited(const char *text) {
    vorn_m2m_event_report_ind_msg_v01 ind{};
    ind.unsol_atcmd_valid = 1;
    std::strncpy(ind.unsol_atcmd, text, sizeof ind.unsol_atcmd);
    vornsim::indicate(kM2m, QMI_VORN_M2M_EVENT_REPORT_IND_V01, ind);
  }
  vt::Events events;
};

TEST_F(M2mIndications, OneReportPostsEachPartInItsOrder) {
  vorn_m2m_event_report_ind_msg_v01 ind{};
  ind.report1_valid = 3;
  for (uint8_t i = 0; i < 8; ++i) ind.report1[i] = static_cast<uint8_t>(0xA0 + i);
  ind.report1_tail = 0x5C;
  ind.rmnet_act_valid = 1;
  ind.rmnet_act = 1;
  ind.wds_profile_idx_valid = 1;
  ind.wds_profile_idx = 3;
  ind.report4_valid = 1;
  ind.report4 = 44;
  ind.attach_status_valid = 1;
  ind.attach_status = 2;
  ind.report6_valid = 1;
  ind.report6 = 66;
  ind.datacall_status_valid = 1;
  ind.datacall_status = 9;
  vornsim::indicate(kM2m, QMI_VORN_M2M_EVENT_REPORT_IND_V01, ind);

  auto got = taken();
  std::vector<int> ids;
  for (const auto &event : got) ids.push_back(event.id);
  ASSERT_EQ(ids, (std::vector<int>{1, 0, 2, 4, 5, 6, 7}));
  std::vector<uint8_t> report1 = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0x5C, 0, 0, 0};
  EXPECT_EQ(got[0].data, report1);
  EXPECT_EQ(got[1].data, (std::vector<uint8_t>{0, 1})) << "no index: low byte 0";
  EXPECT_EQ(got[2].data, std::vector<uint8_t>{3});
  EXPECT_EQ(got[3].data, std::vector<uint8_t>{44});
  EXPECT_EQ(got[4].data, std::vector<uint8_t>{2});
  EXPECT_EQ(got[5].data, std::vector<uint8_t>{66});
  EXPECT_EQ(got[6].data, std::vector<uint8_t>{9});
  for (const auto &event : got) EXPECT_TRUE(event.on_modem_thread);
  EXPECT_TRUE(vt::logged("reprtInd.wds_profile_idx is 3.\n"));
  EXPECT_TRUE(vt::logged("receive attach status: 2.\n"));
}

TEST_F(M2mIndications, ScanCellsArriveAsOneRecord) {
  ASSERT_EQ(vorn_m2m_pal_scan_cell(), 0);
  auto got = taken();
  ASSERT_EQ(got.size(), 1u);
  ASSERT_EQ(got[0].id, VORN_M2M_EVENT_SCAN_CELLS);
  ASSERT_EQ(got[0].data.size(), sizeof(vorn_m2m_scan_cell_record));
  vorn_m2m_scan_cell_record scan;
  std::memcpy(&scan, got[0].data.data(), sizeof scan);
  ASSERT_EQ(scan.cell_count, 3);
  EXPECT_EQ(scan.cell[0].rat, 5u);
  EXPECT_EQ(scan.cell[0].pci, 101);
  EXPECT_EQ(scan.cell[2].cell_id, 0x00C0FFEEu);
  EXPECT_EQ(scan.cell[2].mnc, 410);
  EXPECT_EQ(scan.cell[1].mcc, 310);
  EXPECT_TRUE(vt::logged("cell count is 3.\n"));

  vorn_m2m_scan_cell_info_ind_msg_v01 many{};
  many.cell_count = 75;
  for (unsigned i = 0; i < VORN_M2M_SCAN_CELL_MAX_V01; ++i) {
    many.cell[i].pci = static_cast<uint16_t>(i);
    many.cell[i].further32[3] = 1000 + i;
  }
  vornsim::indicate(kM2m, QMI_VORN_M2M_SCAN_CELL_INFO_IND_V01, many);
  got = taken();
  ASSERT_EQ(got.size(), 2u);
  std::memcpy(&scan, got[1].data.data(), sizeof scan);
  EXPECT_EQ(scan.cell_count, 60) << "at most 60 cells";
  EXPECT_EQ(scan.cell[59].pci, 59);
  EXPECT_EQ(scan.cell[59].further32[3], 1059u) << "further fields pass through";
}

TEST_F(M2mIndications, NvReportsAndMalformedIndications) {
  auto report = std::make_unique<vorn_m2m_nv_cfg_report_ind_msg_v01>();
  report->item_count = 2;
  report->item[0].item_id = 73567;
  std::strcpy(report->item[0].item_file_path, "/nv/item_files/modem/a");
  report->item[0].data_len = 3;
  std::memcpy(report->item[0].data, "\x01\x02\x03", 3);
  std::memset(report->item[1].item_file_path, 'p', sizeof report->item[1].item_file_path);
  report->item[1].data_len = 9999;  // the service's length is bounded by the field
  vornsim::indicate(kM2m, QMI_VORN_M2M_NV_CFG_REPORT_IND_V01, report.get(), sizeof *report);
  vornsim::indicate(kM2m, QMI_VORN_M2M_NV_CFG_REPORT_IND_V01, report.get(), 0);
  vornsim::indicate(kM2m, 0x0099, report.get(), 16);
  vornsim::drain();
  vornsim::set_decode_fault(kM2m, QMI_VORN_M2M_EVENT_REPORT_IND_V01, -11);
  unsolicited("+CFUN=1,1");

  auto got = taken();
  ASSERT_EQ(got.size(), 1u);
  ASSERT_EQ(got[0].id, VORN_M2M_EVENT_NV_CHANGED);
  ASSERT_EQ(got[0].data.size(), sizeof(vorn_m2m_nv_cfg_report));
  auto copy = std::make_unique<vorn_m2m_nv_cfg_report>();
  std::memcpy(copy.get(), got[0].data.data(), sizeof *copy);
  EXPECT_EQ(copy->item_count, 2);
  EXPECT_EQ(copy->item[0].item_id, 73567u);
  EXPECT_STREQ(copy->item[0].item_file_path, "/nv/item_files/modem/a");
  EXPECT_EQ(std::string(reinterpret_cast<char *>(copy->item[0].data), 3), "\x01\x02\x03");
  EXPECT_EQ(copy->item[1].data_len, 4096u);
  EXPECT_EQ(std::string(copy->item[1].item_file_path, 128), std::string(128, 'p'));
  EXPECT_TRUE(vt::logged("Indication message empty.\n"));
  EXPECT_TRUE(vt::logged("Error in decoding QMI_oem_M2M_EVENT_REPORT_IND_V01, error = -11\n"));
  EXPECT_EQ(vt::read_file("/dev/kmsg").find("cread cfun"), std::string::npos)
      << "an undecodable report starts nothing";
}

// The nodes the reboot touches, as tmpfs stand-ins.
void reboot_nodes() {
  static bool mounted = false;
  if (!mounted) {
    for (const char *dir : {"/sys/power", "/sys/devices/platform"})
      ASSERT_EQ(mount("tmpfs", dir, "tmpfs", 0, nullptr), 0) << dir;
    mounted = true;
  }
  vt::write_file("/sys/power/autosleep", "mem\n");
  vt::write_file("/sys/devices/platform/8a00000.ssusb/mode", "peripheral\n");
  std::remove("/dev/rebooterdev");
}

TEST_F(M2mIndications, CfunTextInAnyCaseRebootsFromADetachedWorker) {
  reboot_nodes();
  std::mutex shape_mutex;
  std::vector<std::pair<uint32_t, ThreadShape>> mode_requests;
  vt::serve<vorn::device::SetOperatingMode>(vt::kDms, [&](const auto &req, auto &) {
    std::lock_guard<std::mutex> lock(shape_mutex);
    mode_requests.push_back({req.operating_mode, ThreadShape::of_this_thread()});
  });
  unsolicited("+CSQ: 20,99");
  unsolicited("+cfun: 1,1");
  ASSERT_TRUE(eventually([] { return vt::read_file("/dev/rebooterdev") == "SYS-REBOOT\n"; }));
  vornsim::drain();  // the handler writes its kernel-log line after starting the worker
  EXPECT_EQ(vt::read_file("/sys/power/autosleep"), "off\n");
  EXPECT_EQ(vt::read_file("/sys/devices/platform/8a00000.ssusb/mode"), "none\n");
  std::string kmsg = vt::read_file("/dev/kmsg");
  EXPECT_NE(kmsg.find("cread cfun thread ok\n"), std::string::npos);
  EXPECT_EQ(kmsg.find("cread rfnv"), std::string::npos) << "+CSQ starts nothing";
  EXPECT_TRUE(vt::logged("CFUN has been detected\n"));
  std::lock_guard<std::mutex> lock(shape_mutex);
  ASSERT_EQ(mode_requests.size(), 1u);
  EXPECT_EQ(mode_requests[0].first, 1u) << "low power before the reboot";
  expect_worker_stack(mode_requests[0].second.stack);
  EXPECT_EQ(mode_requests[0].second.detach, PTHREAD_CREATE_DETACHED);
}

TEST_F(M2mIndications, BackupTextCopiesTheIdentityFromAWorker) {
  for (const char *file : {"/data/imei", "/data/imei_bak", "/data/cfsn", "/data/cfsn_bak"})
    std::remove(file);
  std::mutex shape_mutex;
  ThreadShape worker;
  vt::answer<m2m::GetSn>(kM2m, [&](auto &answer) {
    std::lock_guard<std::mutex> lock(shape_mutex);
    worker = ThreadShape::of_this_thread();
    std::strcpy(answer.text, "VN5G-BACKUP-7");
    answer.len = 13;
  });
  unsolicited("+BACKUPRFNV");
  ASSERT_TRUE(eventually([] { return vt::read_file("/data/cfsn_bak") == "VN5G-BACKUP-7"; }));
  vornsim::drain();  // the handler writes its kernel-log line after starting the worker
  EXPECT_EQ(vt::read_file("/data/imei"), "861234050000011");
  EXPECT_EQ(vt::read_file("/data/imei01_bak"), "861234050000029");
  EXPECT_NE(vt::read_file("/dev/kmsg").find("cread rfnv thread ok\n"), std::string::npos);
  EXPECT_TRUE(vt::logged("+BACKUPRFNV has been detected\n"));
  std::lock_guard<std::mutex> lock(shape_mutex);
  expect_worker_stack(worker.stack);
  EXPECT_EQ(worker.detach, PTHREAD_CREATE_DETACHED);
}

}  // namespace
