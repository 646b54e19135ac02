// Each exported function that sends a request: the message, sizes and
// time-out it goes out with, and what the daemon is promised when that
// request fails in the transport or is refused by the modem.
#include "m2m/messages.h"
#include "message_rows.h"
#include "request_failures.h"
#include "sms_test.h"

namespace {

using namespace smst;
namespace sms = vorn::sms;
namespace wms = vornsim::wms;
using vt::FailureCase;
using vt::MessageResult;

uint32_t word;
int32_t storage;
sms_storage_info info;
sms_index_status pairs[8];
sms_store_message record;
char address[32], type[8];

int send_raw() { return vorn_sms_pal_send_msg(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, &word); }
int write_nv() { return vorn_sms_pal_write_msg(SMS_STORAGE_NV, kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 2, &word); }
int read_nv() { return vorn_sms_pal_read_msg(SMS_STORAGE_NV, 0, &record) == 1 ? 0 : -1; }

// The readiness the family keeps from the modem's last word: not ready, so
// that the status is asked for.
void not_ready() {
  vornsim::indicate(kWms, QMI_WMS_SERVICE_READY_IND_V01, wms_service_ready_ind_msg_v01{0, 0, 0});
  vornsim::drain();
}
int service_status() {
  not_ready();
  return vorn_sms_pal_get_service_status(&word);
}

TEST_F(SmsPalTest, RequestsGoOutAsTheServiceDescribesThem) {
  start_family();
  vt::expect_messages(kWms, {
      vt::row<sms::SetEventReport>("vorn_sms_event_register", vorn_sms_event_register, 6, 8, 10000, false),
      vt::row<sms::IndicationRegister>("vorn_sms_event_register", vorn_sms_event_register, 18, 8, 10000, false),
      vt::row<sms::SetPrimaryClient>("vorn_sms_primary_client_init", vorn_sms_primary_client_init, 1, 8, 10000),
      vt::row<sms::RawSend>("vorn_sms_pal_send_msg", send_raw, 320, 52, 20000),
      vt::row<sms::SendAck>("vorn_sms_pal_send_ack", [] { return vorn_sms_pal_send_ack(1, 5); }, 28, 16, 10000),
      vt::row<sms::GetSmscAddress>("vorn_sms_pal_get_center_address", [] { return vorn_sms_pal_get_center_address(address, type); }, 0, 36, 10000),
      vt::row<sms::SetSmscAddress>("vorn_sms_pal_set_center_address", [] { return vorn_sms_pal_set_center_address("+1555", "145"); }, 27, 8, 10000),
      vt::row<sms::SetDomainPref>("vorn_sms_pal_set_domain_pref", [] { return vorn_sms_pal_set_domain_pref(1); }, 16, 24, 10000),
      vt::row<sms::SetRoutes>("vorn_sms_pal_set_receive_msg_storage", [] { return vorn_sms_pal_set_receive_msg_storage(2); }, 172, 8, 10000),
      vt::row<sms::GetRoutes>("vorn_sms_pal_get_receive_msg_storage", [] { return vorn_sms_pal_get_receive_msg_storage(&storage, 0); }, 0, 180, 10000, false),
      vt::row<sms::GetStoreMaxSize>("vorn_sms_pal_get_storage_info", [] { return vorn_sms_pal_get_storage_info(1, &info); }, 12, 20, 10000, false),
      vt::row<sms::ListMessages>("vorn_sms_pal_get_valid_index", [] { return vorn_sms_pal_get_valid_index(1, 4, pairs, 8); }, 20, 2052, 10000),
      vt::row<sms::Delete>("vorn_sms_pal_delete_msg", [] { return vorn_sms_pal_delete_msg(1, 0, 0); }, 28, 8, 10000),
      vt::row<sms::ModifyTag>("vorn_sms_pal_modify_msg", [] { return vorn_sms_pal_modify_msg(1, 0, 1); }, 20, 8, 10000),
      vt::row<sms::RawRead>("vorn_sms_pal_read_msg", read_nv, 16, 328, 10000),
      vt::row<sms::RawWrite>("vorn_sms_pal_write_msg", write_nv, 328, 12, 10000),
      vt::row<sms::SendFromMemStore>("vorn_sms_pal_send_sms_storage_msg", [] { return vorn_sms_pal_send_sms_storage_msg(1, 0, &word); }, 12, 48, 10000),
      vt::row<sms::GetTransportLayer>("vorn_sms_pal_get_service_status", service_status, 0, 20, 10000, false),
      vt::row<sms::GetTransportNwReg>("vorn_sms_pal_get_service_status", service_status, 0, 16, 10000, false),
      vt::row<sms::GetServiceReady>("vorn_sms_pal_get_service_status", service_status, 0, 16, 10000, false),
  });
  vornsim::reset();
  vt::expect_messages(kWms, {vt::row<sms::GetDomainPref>("vorn_sms_pal_get_domain_pref", [] {
    return vorn_sms_pal_get_domain_pref(&word) == VORN_SMS_DOMAIN_PREF_GET_FAILED ? 0 : -1;
  }, 0, 24, 10000)});
}

vt::FailureFamily family() {
  vt::FailureFamily family;
  family.fresh = [] {
    vorn_sms_pal_deinit();
    vornsim::reset();
    ASSERT_EQ(vorn_sms_pal_init(), 0);
    vornsim::drain();
  };
  return family;
}

void without_client() { vorn_sms_pal_deinit(); }
void one_in_nv() { ASSERT_EQ(write_nv(), 0); }
// After a modem restart the daemon switches the reports on again.
void one_to_acknowledge() {
  ASSERT_EQ(vorn_sms_event_register(), 0);
  ASSERT_EQ(vorn_sms_pal_set_receive_msg_storage(SMS_STORAGE_AP), 0);
  wms::deliver(kDeliver);
  ASSERT_TRUE(vt::eventually([] { return wms::unacknowledged() == 1; }));
  vornsim::drain();
}

TEST_F(SmsPalTest, FailedRequestsGiveTheDocumentedResults) {
  const MessageResult kModelQuery = {vornsim::Svc::M2M, vorn::m2m::ModelName::id, VORN_OK, VORN_OK};
  const MessageResult kRoutesCheck = {kWms, QMI_WMS_GET_ROUTES_REQ_V01, VORN_OK, VORN_OK};
  const FailureCase kCases[] = {
      {"vorn_sms_pal_init", vorn_sms_pal_init, VORN_FAILURE, VORN_FAILURE, true, {kModelQuery}, without_client},
      {"vorn_sms_event_register", vorn_sms_event_register, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_primary_client_init", vorn_sms_primary_client_init, VORN_OK, VORN_OK},
      {"vorn_sms_pal_send_msg", send_raw, VORN_OK, VORN_OK, false},
      {"vorn_sms_pal_send_msg_ZNRD", [] { return vorn_sms_pal_send_msg_ZNRD(kSubmit.data(), static_cast<int32_t>(kSubmit.size()), 0, &word, 0, 0); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_pal_send_ack", [] { return vorn_sms_pal_send_ack(0, 1); }, VORN_FAILURE, VORN_FAILURE, true, {}, one_to_acknowledge},
      {"vorn_sms_pal_get_center_address", [] { return vorn_sms_pal_get_center_address(address, type); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_pal_set_center_address", [] { return vorn_sms_pal_set_center_address("+4917200000", nullptr); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_pal_get_domain_pref", [] { return vorn_sms_pal_get_domain_pref(&word); }, VORN_SMS_DOMAIN_PREF_GET_FAILED, VORN_SMS_DOMAIN_PREF_GET_FAILED},
      // A refusal without an outcome is no failure of the preference.
      {"vorn_sms_pal_set_domain_pref", [] { return vorn_sms_pal_set_domain_pref(0); }, VORN_SMS_DOMAIN_PREF_SET_FAILED, VORN_OK},
      {"vorn_sms_pal_get_service_status", [] { return vorn_sms_pal_get_service_status(&word); }, VORN_OK, VORN_OK, true, {}, not_ready},
      {"vorn_sms_pal_set_receive_msg_storage", [] { return vorn_sms_pal_set_receive_msg_storage(1); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_pal_store_full", [] { return vorn_sms_pal_store_full(1); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_pal_get_receive_msg_storage", [] { return vorn_sms_pal_get_receive_msg_storage(&storage, 0); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_pal_get_storage_info", [] { return vorn_sms_pal_get_storage_info(1, &info); }, VORN_FAILURE, VORN_FAILURE, true, {kRoutesCheck}},
      {"vorn_sms_pal_get_valid_index", [] { return vorn_sms_pal_get_valid_index(1, 4, pairs, 8); }, 0, 0, true, {}, one_in_nv},
      {"vorn_sms_pal_delete_msg", [] { return vorn_sms_pal_delete_msg(1, 0, 0); }, VORN_FAILURE, VORN_FAILURE, true, {}, one_in_nv},
      {"vorn_sms_pal_modify_msg", [] { return vorn_sms_pal_modify_msg(1, 0, 1); }, VORN_FAILURE, VORN_FAILURE, true, {}, one_in_nv},
      {"vorn_sms_pal_read_msg", read_nv, VORN_FAILURE, VORN_FAILURE, true, {}, one_in_nv},
      {"vorn_sms_pal_write_msg", write_nv, VORN_FAILURE, VORN_FAILURE},
      {"vorn_sms_pal_send_sms_storage_msg", [] { return vorn_sms_pal_send_sms_storage_msg(1, 0, &word); }, VORN_SMS_SEND_FROM_STORE_FAILED, VORN_SMS_SEND_FROM_STORE_FAILED, true, {}, one_in_nv},
  };
  for (const FailureCase &c : kCases) vt::expect_request_failures(c, family());
}

}  // namespace
