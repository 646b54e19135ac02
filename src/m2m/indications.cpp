// The indication callback of the vendor service's client. It runs on the
// QMI library's thread, decodes the three indications the service sends and
// turns them into the family's events; an unsolicited "+CFUN" or
// "+BACKUPRFNV" text starts a detached worker that reboots the device or
// backs up its identity.
#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <vornpal/device.h>
#include <vornpal/event.h>
#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "device/reboot.h"
#include "foundation/abort_at.h"
#include "foundation/log_site.h"
#include "foundation/run.h"
#include "m2m/client.h"
#include "m2m/indications.h"

namespace {

constexpr size_t kWorkerStack = 65536;
constexpr size_t kReport1Size = 12;

static_assert(sizeof(vorn_m2m_nv_cfg_report) == 42324, "NV report handed on");
static_assert(sizeof(vorn_m2m_scan_cell_record) == 2408 && sizeof(vorn_m2m_scan_cell_entry) == 40,
              "scan handed on");

template <class T>
T *event_block(size_t size = sizeof(T)) {
  return static_cast<T *>(std::calloc(1, size));
}

void post(int event, void *data, size_t size) { vorn::m2m::client().post(event, data, size); }

// A one-byte event; a failed allocation drops it.
void post_byte(int event, uint8_t value) {
  auto *data = event_block<uint8_t>();
  if (data == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC event_data.\n");
    return;
  }
  *data = value;
  post(event, data, 1);
}

void on_unsolicited_text(const char (&field)[64]) {
  char text[sizeof field + 1] = {};
  std::memcpy(text, field, sizeof field);
  VORN_LOG(VORN_INFO, "receive unsol atcmd: %s.\n", text);
  if (strncasecmp(text, "+CFUN", 5) == 0) {
    VORN_LOG(VORN_INFO, "CFUN has been detected\n");
    vorn::device::reboot(vorn::device::RebootBy::ModemReport);
  } else if (std::strncmp(text, "+BACKUPRFNV", 11) == 0) {
    VORN_LOG(VORN_INFO, "%s has been detected\n", text);
    vorn::run(vorn::start_worker(vorn_thread_func_rfnv, nullptr, kWorkerStack)
                  ? "echo \"cread rfnv thread ok\" > /dev/kmsg"
                  : "echo \"cread rfnv thread err\" > /dev/kmsg");
  }
}

}  // namespace

namespace vorn::m2m {

// ---- the three indications --------------------------------------------------

// Each part of a report stands alone: one report can post several events.
void on_event_report(const vorn_m2m_event_report_ind_msg_v01 &ind) {
  VORN_LOG(VORN_INFO, "receive uim_select=%d, rmnet_act=%d, attach_status is %d,the struct size is %d\n",
           ind.uim_select, ind.rmnet_act, ind.attach_status, static_cast<int>(sizeof ind));
  if (ind.report1_valid != 0) {
    auto *data = event_block<uint8_t>(kReport1Size);
    if (data == nullptr) vorn::abort_at();  // an event must go out
    std::memcpy(data, ind.report1, sizeof ind.report1);
    data[sizeof ind.report1] = ind.report1_tail;
    post(VORN_M2M_EVENT_REPORT1, data, kReport1Size);
  }
  if (ind.rmnet_act_valid == 1) {
    auto *data = event_block<uint8_t>(2);
    if (data == nullptr) {
      VORN_LOG(VORN_ERR, "Error, oem_MALLOC event_data.\n");
      return;
    }
    VORN_LOG(VORN_INFO, "rmnet_act:%d\n", ind.rmnet_act);
    data[1] = ind.rmnet_act;
    if (ind.rmnet_act_index_valid == 1) {
      data[0] = ind.rmnet_act_index;
      VORN_LOG(VORN_INFO, "rmnet_act_index:%d\n", ind.rmnet_act_index);
    }
    sem_post(vorn::m2m::ok_sem());
    post(VORN_M2M_EVENT_RMNET, data, 2);
  }
  if (ind.wds_profile_idx_valid == 1) {
    VORN_LOG(VORN_INFO, "reprtInd.wds_profile_idx is %d.\n", ind.wds_profile_idx);
    post_byte(VORN_M2M_EVENT_WDS_PROFILE, ind.wds_profile_idx);
  }
  if (ind.report4_valid == 1) post_byte(VORN_M2M_EVENT_REPORT4, ind.report4);
  if (ind.unsol_atcmd_valid == 1) on_unsolicited_text(ind.unsol_atcmd);
  if (ind.attach_status_valid == 1) {
    VORN_LOG(VORN_INFO, "receive attach status: %d.\n", ind.attach_status);
    VORN_LOG(VORN_INFO, "indicatin is %d. attach status is %d\n", ind.attach_status_valid,
             ind.attach_status);
    post_byte(VORN_M2M_EVENT_ATTACH, ind.attach_status);
  }
  if (ind.report6_valid == 1) post_byte(VORN_M2M_EVENT_REPORT6, ind.report6);
  if (ind.datacall_status_valid == 1) {
    VORN_LOG(VORN_INFO, "datacall_status is %d %d .\n", ind.datacall_status_valid,
             ind.datacall_status);
    post_byte(VORN_M2M_EVENT_DATACALL, ind.datacall_status);
  }
}

void on_nv_report(const vorn_m2m_nv_cfg_report_ind_msg_v01 &decoded) {
  auto *report = event_block<vorn_m2m_nv_cfg_report>();
  if (report == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC event_data.\n");
    return;
  }
  report->item_count = std::min<uint8_t>(decoded.item_count, VORN_M2M_NV_CFG_REPORT_MAX_V01);
  for (unsigned i = 0; i < report->item_count; ++i) {
    const vorn_m2m_nv_cfg_item_v01 &from = decoded.item[i];
    vorn_m2m_nv_cfg_item &to = report->item[i];
    to.item_id = from.item_id;
    to.data_len = std::min<uint32_t>(from.data_len, sizeof to.data);
    vorn_string_memcpy(to.item_file_path, from.item_file_path, sizeof to.item_file_path);
    std::memcpy(to.data, from.data, to.data_len);
    VORN_LOG(VORN_DBUG, "nv path is %.128s len is %d.\n", to.item_file_path,
             static_cast<int>(to.data_len));
    VORN_LOG(VORN_DBUG, "nv buf is %.*s len is %d.\n", static_cast<int>(to.data_len),
             reinterpret_cast<const char *>(to.data), static_cast<int>(to.data_len));
  }
  post(VORN_M2M_EVENT_NV_CHANGED, report, sizeof *report);
}

void on_scan_cells(const vorn_m2m_scan_cell_info_ind_msg_v01 &decoded) {
  auto *record = event_block<vorn_m2m_scan_cell_record>();
  if (record == nullptr) {
    VORN_LOG(VORN_ERR, "Error, oem_MALLOC event_data.\n");
    return;
  }
  record->cell_count = std::min<uint8_t>(decoded.cell_count, VORN_M2M_SCAN_CELL_MAX_V01);
  for (unsigned i = 0; i < record->cell_count; ++i) {
    const vorn_m2m_scan_cell_entry_v01 &from = decoded.cell[i];
    vorn_m2m_scan_cell_entry &to = record->cell[i];
    to.rat = from.rat;
    to.pci = from.pci;
    to.cell_id = from.cell_id;
    to.mcc = from.mcc;
    to.mnc = from.mnc;
    std::copy(std::begin(from.further16), std::end(from.further16), to.further16);
    std::copy(std::begin(from.further32), std::end(from.further32), to.further32);
    VORN_LOG(VORN_DBUG, "cell rat is %d.\n", static_cast<int>(to.rat));
    VORN_LOG(VORN_DBUG, "cell pci is %d.\n", to.pci);
    VORN_LOG(VORN_DBUG, "cell cell_id is %d.\n", static_cast<int>(to.cell_id));
    VORN_LOG(VORN_DBUG, "cell mcc is %d.\n", to.mcc);
    VORN_LOG(VORN_DBUG, "cell mnc is %d.\n", to.mnc);
  }
  VORN_LOG(VORN_DBUG, "cell count is %d.\n", record->cell_count);
  post(VORN_M2M_EVENT_SCAN_CELLS, record, sizeof *record);
}

sem_t *ok_sem() {
  static struct Semaphore {
    Semaphore() { sem_init(&sem, 0, 0); }
    sem_t sem;
  } semaphore;
  return &semaphore.sem;
}

}  // namespace vorn::m2m
