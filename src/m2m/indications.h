// What the indications of the vendor service become: the family's events,
// and the hand-over to the callers that wait for an rmnet report.
#pragma once

#include <semaphore.h>

#include <vornpal/platform/vorn_m2m_service_v01.h>

namespace vorn::m2m {

// The handlers of the client's indication table, on the QMI library's thread.
void on_event_report(const vorn_m2m_event_report_ind_msg_v01 &ind);
void on_nv_report(const vorn_m2m_nv_cfg_report_ind_msg_v01 &decoded);
void on_scan_cells(const vorn_m2m_scan_cell_info_ind_msg_v01 &decoded);

// Posted for every rmnet state report, before event 0 goes out.
sem_t *ok_sem();

}  // namespace vorn::m2m
