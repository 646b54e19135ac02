// The messages of the DMS service that the device family uses: id, published
// name, structures with the sizes the service's decoder expects, time-out
// (5000 ms for every DMS request of the family) and how the outcome of each
// is judged (src/qmi/message.h). Shared with the simulated modem and the
// tests.
#pragma once

#include <vornpal/platform/device_management_service_v01.h>

#include "qmi/message.h"

namespace vorn::device {

using qmi::NoRequest;

// clang-format off
VORN_QMI_MESSAGE(SetEventReport, QMI_DMS_SET_EVENT_REPORT_REQ_V01, dms_set_event_report_req_msg_v01, dms_set_event_report_resp_msg_v01, 21, 8, 5000, Transport);
VORN_QMI_MESSAGE(GetRevId, QMI_DMS_GET_DEVICE_REV_ID_REQ_V01, NoRequest, dms_get_device_rev_id_resp_msg_v01, 0, 540, 5000, TransportAndResult);
VORN_QMI_MESSAGE(GetMsisdn, QMI_DMS_GET_MSISDN_REQ_V01, NoRequest, dms_get_msisdn_resp_msg_v01, 0, 128, 5000, Check);
VORN_QMI_MESSAGE(GetSerialNumbers, QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01, NoRequest, dms_get_device_serial_numbers_resp_msg_v01, 0, 368, 5000, Check);
VORN_QMI_MESSAGE(GetOperatingMode, QMI_DMS_GET_OPERATING_MODE_REQ_V01, NoRequest, dms_get_operating_mode_resp_msg_v01, 0, 20, 5000, Transport);
VORN_QMI_MESSAGE(SetOperatingMode, QMI_DMS_SET_OPERATING_MODE_REQ_V01, dms_set_operating_mode_req_msg_v01, dms_set_operating_mode_resp_msg_v01, 16, 8, 5000, Transport);
VORN_QMI_MESSAGE(GetBandCapability, QMI_DMS_GET_BAND_CAPABILITY_REQ_V01, dms_get_band_capability_req_msg_v01, dms_get_band_capability_resp_msg_v01, 1, 1600, 5000, TransportAndResult);
VORN_QMI_MESSAGE(GetHwVersion, QMI_DMS_GET_HW_VERSION_REQ_V01, dms_get_hw_version_req_msg_v01, dms_get_hw_version_resp_msg_v01, 1, 76, 5000, Check);
VORN_QMI_MESSAGE(SetFactorySerialNumber, QMI_DMS_SET_FACTORY_SERIAL_NUMBER_REQ_V01, dms_set_factory_serial_number_req_msg_v01, dms_set_factory_serial_number_resp_msg_v01, 40, 8, 5000, Check);
VORN_QMI_INDICATION(EventReportInd, QMI_DMS_EVENT_REPORT_IND_V01, dms_event_report_ind_msg_v01, 3824, "dms_event_report_ind_msg_v01");
// clang-format on

}  // namespace vorn::device
