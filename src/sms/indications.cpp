// The WMS indications as the family's events. Everything here runs on the
// QMI library's thread: the automatic acknowledgement goes out
// asynchronously, so that the thread is never blocked by a request of the
// same client.
#include <algorithm>
#include <cstring>

#include <vornpal/sms.h>
#include <vornpal/sms_codec.h>

#include "foundation/log_site.h"
#include "sms/client.h"

namespace {

namespace sms = vorn::sms;

constexpr size_t kSmscMax = 11;

// Route formats of the event by WMS message format.
struct FormatPair {
  uint32_t wms;
  uint32_t route;
};
constexpr FormatPair kRouteFormats[] = {
    {WMS_MESSAGE_FORMAT_CDMA_V01, SMS_FORMAT_CDMA},
    {WMS_MESSAGE_FORMAT_GW_PP_V01, SMS_FORMAT_GW_PP},
    {WMS_MESSAGE_FORMAT_GW_BC_V01, SMS_FORMAT_GW_BC},
    {WMS_MESSAGE_FORMAT_MWI_V01, SMS_FORMAT_MWI},
};

uint32_t route_format_of(uint32_t wms_format) {
  for (const FormatPair &pair : kRouteFormats)
    if (pair.wms == wms_format) return pair.route;
  return wms_format;
}

void post_etws(const wms_etws_message_type_v01 &etws) {
  auto *event = static_cast<sms_etws_event *>(
      sms::event_block(sizeof(sms_etws_event), __FILE__, __LINE__));
  event->notification_type = etws.notification_type;
  event->data_len = etws.data_len;
  std::memcpy(event->data, etws.data,
              std::min<size_t>(etws.data_len, sizeof event->data));
  vorn_print_hex_array(event->data, static_cast<int>(event->data_len));
  sms::post(E_oem_SMS_EVENT_ETWS, event, sizeof *event);
}

void post_stored(const wms_message_memory_storage_identification_type_v01 &stored) {
  auto *event = static_cast<sms_stored_event *>(
      sms::event_block(sizeof(sms_stored_event), __FILE__, __LINE__));
  event->storage = stored.storage_type == WMS_STORAGE_TYPE_UIM_V01  ? SMS_STORAGE_UIM
                   : stored.storage_type == WMS_STORAGE_TYPE_NV_V01 ? SMS_STORAGE_NV
                                                                    : -1;
  event->index = stored.storage_index;
  sms::post(E_oem_SMS_EVENT_NEW_STORED_MSG, event, sizeof *event);
}

// The application acknowledges with AT+CNMA when the AT layer asked for
// direct delivery with acknowledgement.
bool application_acknowledges() {
  const sms::Config &c = sms::config();
  return c.cnmi_mode.get() != 0 && (c.cnmi_mt.get() == 2 || c.cnmi_ds.get() == 1) &&
         c.csms_service.get() == 1;
}

void acknowledge(const wms_transfer_route_mt_message_type_v01 &mt) {
  if (mt.ack_indicator != 0) return;
  if (application_acknowledges()) {
    VORN_LOG(VORN_INFO, " wait_for_ack AT+CNMA \n");
    return;
  }
  if (sms::config().is_send_ack.get() == 1) {
    vorn_sms_pal_send_ack_async(sms::config().act_flag_full.get(), mt.transaction_id);
  } else {
    VORN_LOG(VORN_INFO, "  not need ack_ok   \n");
  }
}

// The route message: the four numbers, then (but for broadcast) the
// service centre's length octet and address, then the TPDU.
void on_routed(const wms_event_report_ind_msg_v01 &ind) {
  const wms_transfer_route_mt_message_type_v01 &mt = ind.transfer_route_mt_message;
  const uint32_t tpdu_len = std::min<uint32_t>(mt.data_len, sizeof mt.data);
  const uint32_t format = route_format_of(mt.format);
  size_t smsc_len = 0;
  if (ind.mt_message_smsc_address_valid)
    smsc_len = std::min<size_t>({ind.mt_message_smsc_address.data_len, kSmscMax,
                                 sizeof ind.mt_message_smsc_address.data});
  const bool with_smsc = format != SMS_FORMAT_GW_BC;
  const uint32_t data_len = with_smsc ? tpdu_len + static_cast<uint32_t>(smsc_len) + 1 : tpdu_len;
  const size_t size = sizeof(sms_route_message) + data_len;
  auto *event = static_cast<uint8_t *>(sms::event_block(size, __FILE__, __LINE__));
  sms_route_message head = {format, mt.ack_indicator, mt.transaction_id, data_len};
  std::memcpy(event, &head, sizeof head);
  uint8_t *bytes = event + sizeof head;
  if (with_smsc) {
    *bytes++ = static_cast<uint8_t>(smsc_len);
    std::memcpy(bytes, ind.mt_message_smsc_address.data, smsc_len);
    bytes += smsc_len;
  }
  std::memcpy(bytes, mt.data, tpdu_len);

  acknowledge(mt);

  sms_message_record record;
  if (vorn_sms_decode(SMS_DIRECTION_MT, SMS_PROTOCOL_GW_PP, event + sizeof head, data_len,
                      &record) != 0)
    VORN_LOG(VORN_INFO, " DecodeGsmPduNew error  .\n");
  int id = E_oem_SMS_EVENT_NEW_ROUTE_MSG;
  if (record.kind != SMS_KIND_STATUS_REPORT && ind.mt_message.storage_type == SMS_STORAGE_AP) {
    VORN_LOG(VORN_INFO, "E_STORAGE_TYPE_AP  EVENT --  E_oem_SMS_EVENT_NEW_MT_MSG  \n");
    VORN_LOG(VORN_INFO, "call oem_pal_post_event E_oem_SMS_EVENT_NEW_AP_MSG to app .\n");
    id = E_oem_SMS_EVENT_NEW_AP_MSG;
  }
  sms::post(id, event, size);
  VORN_LOG(VORN_INFO, "EVENT_REPORT:transaction_id=%d,ack_indicator=%d.\n",
           static_cast<int>(mt.transaction_id), static_cast<int>(mt.ack_indicator));
}

}  // namespace

namespace vorn::sms {

void on_event_report(const wms_event_report_ind_msg_v01 &ind) {
  if (ind.etws_message_valid) post_etws(ind.etws_message);
  if (ind.mt_message_valid) {
    VORN_LOG(VORN_INFO, "EVENT_REPORT:mt_message_valid=%d,storage_type=%d,storage_index=%d.\n",
             ind.mt_message_valid, static_cast<int>(ind.mt_message.storage_type),
             static_cast<int>(ind.mt_message.storage_index));
    post_stored(ind.mt_message);
  }
  if (ind.transfer_route_mt_message_valid && ind.transfer_route_mt_message.data_len != 0)
    on_routed(ind);
  VORN_LOG(VORN_INFO, "EVENT_REPORT:sms_on_ims_valid=%d,sms_on_ims=%d.\n", ind.sms_on_ims_valid,
           ind.sms_on_ims);
}

void on_memory_full(const wms_memory_full_ind_msg_v01 &ind) {
  const uint32_t storage = ind.memory_full_info.storage_type;
  VORN_LOG(VORN_INFO, "MEMORY_FULL_IND:storage_type=%d,message_mode=%d.\n",
           static_cast<int>(storage), static_cast<int>(ind.memory_full_info.message_mode));
  if (storage != WMS_STORAGE_TYPE_UIM_V01 && storage != WMS_STORAGE_TYPE_NV_V01) {
    post(E_oem_SMS_EVENT_STORAGE_FULL_OTHER, nullptr, 0);
    return;
  }
  auto *event = static_cast<uint32_t *>(event_block(sizeof(uint32_t), __FILE__, __LINE__));
  *event = storage;
  post(E_oem_SMS_EVENT_MEMORY_FULL, event, sizeof *event);
}

void on_transport_layer(const wms_transport_layer_info_ind_msg_v01 &ind) {
  VORN_LOG(VORN_INFO, "TRANSPORT_LAYER_INFO:%d,%d,%d,%d.\n", ind.registered_ind,
           ind.transport_layer_info_valid, static_cast<int>(ind.transport_layer_info.transport_type),
           static_cast<int>(ind.transport_layer_info.transport_cap));
  cache().registered_ind_valid.set(1);
  cache().registered_ind.set(ind.registered_ind);
  post(E_oem_SMS_EVENT_SERVICE_STATE, nullptr, 0);
}

void on_transport_nw_reg(const wms_transport_nw_reg_info_ind_msg_v01 &ind) {
  VORN_LOG(VORN_INFO, "TRANSPORT_NW_REG_INFO:transport_nw_reg_status=%d.\n",
           static_cast<int>(ind.transport_nw_reg_status));
  cache().nw_reg_status_valid.set(1);
  cache().nw_reg_status.set(ind.transport_nw_reg_status);
  post(E_oem_SMS_EVENT_SERVICE_STATE, nullptr, 0);
}

void on_service_ready(const wms_service_ready_ind_msg_v01 &ind) {
  VORN_LOG(VORN_INFO, "SERVICE_READY:ready_status=%d,%d,%d.\n", static_cast<int>(ind.ready_status),
           ind.subscription_valid, static_cast<int>(ind.subscription));
  cache().ready_status_valid.set(1);
  cache().ready_status.set(ind.ready_status);
  post(E_oem_SMS_EVENT_SERVICE_STATE, nullptr, 0);
}

}  // namespace vorn::sms
