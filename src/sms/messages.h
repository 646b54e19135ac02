// The messages of the WMS service that the SMS family uses: id, published
// name, structures with the sizes the service's decoder expects, time-out
// (10000 ms, 20000 ms for the raw send) and how the outcome of each is judged
// (src/qmi/message.h). Most requests are judged without the frame's log
// line, because the family logs its own failure texts with the response's
// words. Shared with the simulated modem and the tests.
#pragma once

#include <cstddef>

#include <vornpal/platform/wireless_messaging_service_v01.h>

#include "qmi/message.h"

namespace vorn::sms {

using qmi::NoRequest;

// clang-format off
VORN_QMI_MESSAGE(SetEventReport, QMI_WMS_SET_EVENT_REPORT_REQ_V01, wms_set_event_report_req_msg_v01, wms_result_resp_msg_v01, 6, 8, 10000, Check);
VORN_QMI_MESSAGE(IndicationRegister, QMI_WMS_INDICATION_REGISTER_REQ_V01, wms_indication_register_req_msg_v01, wms_result_resp_msg_v01, 18, 8, 10000, Check);
VORN_QMI_MESSAGE(SetPrimaryClient, QMI_WMS_SET_PRIMARY_CLIENT_REQ_V01, wms_set_primary_client_req_msg_v01, wms_result_resp_msg_v01, 1, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(RawSend, QMI_WMS_RAW_SEND_REQ_V01, wms_raw_send_req_msg_v01, wms_raw_send_resp_msg_v01, 320, 52, 20000, TransportAndResult);
VORN_QMI_MESSAGE(SendAck, QMI_WMS_SEND_ACK_REQ_V01, wms_send_ack_req_msg_v01, wms_send_ack_resp_msg_v01, 28, 16, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetSmscAddress, QMI_WMS_GET_SMSC_ADDRESS_REQ_V01, NoRequest, wms_get_smsc_address_resp_msg_v01, 0, 36, 10000, TransportAndResult);
VORN_QMI_MESSAGE(SetSmscAddress, QMI_WMS_SET_SMSC_ADDRESS_REQ_V01, wms_set_smsc_address_req_msg_v01, wms_result_resp_msg_v01, 27, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetTransportLayer, QMI_WMS_GET_TRANSPORT_LAYER_INFO_REQ_V01, NoRequest, wms_get_transport_layer_resp_msg_v01, 0, 20, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetTransportNwReg, QMI_WMS_GET_TRANSPORT_NW_REG_INFO_REQ_V01, NoRequest, wms_get_transport_nw_reg_resp_msg_v01, 0, 16, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetServiceReady, QMI_WMS_GET_SERVICE_READY_STATUS_REQ_V01, NoRequest, wms_get_service_ready_status_resp_msg_v01, 0, 16, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetDomainPref, QMI_WMS_GET_DOMAIN_PREF_CONFIG_REQ_V01, NoRequest, wms_get_domain_pref_config_resp_msg_v01, 0, 24, 10000, TransportAndResult);
VORN_QMI_MESSAGE(SetDomainPref, QMI_WMS_SET_DOMAIN_PREF_CONFIG_REQ_V01, wms_set_domain_pref_config_req_msg_v01, wms_set_domain_pref_config_resp_msg_v01, 16, 24, 10000, Transport);
VORN_QMI_MESSAGE(SetRoutes, QMI_WMS_SET_ROUTES_REQ_V01, wms_set_routes_req_msg_v01, wms_result_resp_msg_v01, 172, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetRoutes, QMI_WMS_GET_ROUTES_REQ_V01, NoRequest, wms_get_routes_resp_msg_v01, 0, 180, 10000, TransportAndResult);
VORN_QMI_MESSAGE(GetStoreMaxSize, QMI_WMS_GET_STORE_MAX_SIZE_REQ_V01, wms_get_store_max_size_req_msg_v01, wms_get_store_max_size_resp_msg_v01, 12, 20, 10000, TransportAndResult);
VORN_QMI_MESSAGE(ListMessages, QMI_WMS_LIST_MESSAGES_REQ_V01, wms_list_messages_req_msg_v01, wms_list_messages_resp_msg_v01, 20, 2052, 10000, TransportAndResult);
VORN_QMI_MESSAGE(Delete, QMI_WMS_DELETE_REQ_V01, wms_delete_req_msg_v01, wms_result_resp_msg_v01, 28, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(ModifyTag, QMI_WMS_MODIFY_TAG_REQ_V01, wms_modify_tag_req_msg_v01, wms_result_resp_msg_v01, 20, 8, 10000, TransportAndResult);
VORN_QMI_MESSAGE(RawRead, QMI_WMS_RAW_READ_REQ_V01, wms_raw_read_req_msg_v01, wms_raw_read_resp_msg_v01, 16, 328, 10000, TransportAndResult);
VORN_QMI_MESSAGE(RawWrite, QMI_WMS_RAW_WRITE_REQ_V01, wms_raw_write_req_msg_v01, wms_raw_write_resp_msg_v01, 328, 12, 10000, TransportAndResult);
VORN_QMI_MESSAGE(SendFromMemStore, QMI_WMS_SEND_FROM_MEM_STORE_REQ_V01, wms_send_from_mem_store_req_msg_v01, wms_send_from_mem_store_resp_msg_v01, 12, 48, 10000, TransportAndResult);
// The indications; a failed decoding names them by the family's own texts.
VORN_QMI_INDICATION(EventReportInd, QMI_WMS_EVENT_REPORT_IND_V01, wms_event_report_ind_msg_v01, 1644, "QMI_WMS_EVENT_REPORT_IND_V01");
VORN_QMI_INDICATION(MemoryFullInd, QMI_WMS_MEMORY_FULL_IND_V01, wms_memory_full_ind_msg_v01, 8, "QMI_WMS_MEMORY_FULL_IND_V01");
VORN_QMI_INDICATION(TransportLayerInd, QMI_WMS_TRANSPORT_LAYER_INFO_IND_V01, wms_transport_layer_info_ind_msg_v01, 12, "QMI_WMS_TRANSPORT_LAYER_INFO_IND_V01");
VORN_QMI_INDICATION(TransportNwRegInd, QMI_WMS_TRANSPORT_NW_REG_INFO_IND_V01, wms_transport_nw_reg_info_ind_msg_v01, 4, "QMI_WMS_TRANSPORT_NW_REG_INFO_IND_V01");
VORN_QMI_INDICATION(ServiceReadyInd, QMI_WMS_SERVICE_READY_IND_V01, wms_service_ready_ind_msg_v01, 12, "QMI_WMS_SERVICE_READY_IND_V01");
// clang-format on

// Layouts the service's decoder and the modem agree on, on every target.
static_assert(offsetof(wms_event_report_ind_msg_v01, transfer_route_mt_message) == 16);
static_assert(offsetof(wms_event_report_ind_msg_v01, etws_message) == 352);
static_assert(offsetof(wms_event_report_ind_msg_v01, mt_message_smsc_address) == 1616);
static_assert(offsetof(wms_raw_send_resp_msg_v01, cause_code) == 12);
static_assert(offsetof(wms_send_ack_req_msg_v01, wms_3gpp_failure_information) == 16);
static_assert(sizeof(wms_set_route_list_tuple_type_v01) == 16);

}  // namespace vorn::sms
