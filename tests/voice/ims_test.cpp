// IMS state: the NV master switch, VoLTE over IMSS, the registration over
// IMSA, and the binding of new IMS clients to the active subscription.
#include <mutex>

#include <vornpal/platform/qmi_client.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>

#include <vornsim/dm_cache.h>

#include "voice_test.h"

namespace {

using namespace voicet;

class Ims : public VoiceTest {};
class ImsFresh : public VoiceFreshTest {};

void write_ims_enable(uint8_t value) {
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(kImsEnable, &value, 1), 0);
}

std::string ims_enable_hex() {
  char text[16] = {};
  uint32_t len = 0;
  if (vorn_m2m_pal_read_nv_by_path(kImsEnable, text, &len, 1) != 0) return "(none)";
  return std::string(text, len);
}

// The services' requests in the order they reached the modem.
std::vector<std::pair<vornsim::Svc, unsigned>> traffic() {
  std::vector<std::pair<vornsim::Svc, unsigned>> sent;
  for (const auto &req : vornsim::requests()) sent.emplace_back(req.svc, req.msg_id);
  return sent;
}

bool logged_starting(const std::string &prefix) {
  for (const std::string &text : vt::diag_texts())
    if (text.compare(0, prefix.size(), prefix) == 0) return true;
  return false;
}

// A milestone in the watch files.
bool watched(const std::string &text) {
  return (vt::read_file("/data/oem/logs/fwawatchA.log") + vt::read_file("/data/oem/logs/fwawatchB.log"))
             .find(text) != std::string::npos;
}

size_t position(const std::vector<std::pair<vornsim::Svc, unsigned>> &sent, vornsim::Svc svc, unsigned id) {
  for (size_t i = 0; i < sent.size(); ++i)
    if (sent[i] == std::make_pair(svc, id)) return i;
  return sent.size();
}

TEST_F(ImsFresh, SwitchedOffInNvAndBackOnWithoutARestart) {
  in_fresh_process([] {
    vt::make_dirs("/data/oem/logs");
    write_ims_enable(0);
    vornsim::clear_requests();
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    EXPECT_TRUE(vt::logged("ims_enable=00,out_len=2\n"));
    EXPECT_TRUE(vt::logged("ims not enabled...\n"));
    EXPECT_FALSE(vt::logged("VOICE pal init success...\n")) << "init ends at the switch";
    EXPECT_TRUE(vornsim::requests(kImss).empty());
    EXPECT_TRUE(vornsim::requests(kImsa).empty());

    // The family answers without asking the modem.
    uint32_t state = 7;
    EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
    EXPECT_EQ(state, 0u);
    EXPECT_TRUE(vt::logged("ims is disable !!!\n"));
    uint32_t registered = 9, status = 9;
    EXPECT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), -1) << "no IMSA client";
    EXPECT_TRUE(vt::logged("QMI_IMSA_GET_REGISTRATION_STATUS_REQ_V01 failed, result: -18,0, error: 0.\n"));
    EXPECT_EQ(registered, 9u);
    EXPECT_TRUE(vornsim::requests(kImss).empty());
    EXPECT_EQ(vornsim::counters().clients_live, 2) << "VOICE and M2M only";

    // Asking for VoLTE turns IMS on in NV, makes the IMS clients, then asks.
    vornsim::clear_requests();
    EXPECT_EQ(vorn_voice_pal_set_ims_state(1), 0);
    EXPECT_EQ(ims_enable_hex(), "01");
    auto sent = traffic();
    size_t nv_write = position(sent, vornsim::Svc::M2M, QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01);
    size_t bind = position(sent, kImss, QMI_IMS_BIND_SUBSCRIPTION_REQ_V01);
    size_t imsa_bind = position(sent, kImsa, QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01);
    size_t volte = position(sent, kImss, QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01);
    ASSERT_LT(volte, sent.size());
    EXPECT_LT(nv_write, bind);
    EXPECT_LT(bind, imsa_bind);
    EXPECT_LT(imsa_bind, volte);
    auto req = vornsim::requests(kImss, QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01)
                   .at(0).as<ims_settings_set_ims_service_enable_config_req_msg_v01>();
    EXPECT_EQ(req.volte_enabled_valid, 1);
    EXPECT_EQ(req.volte_enabled, 1);
    EXPECT_EQ(req.videotelephony_enabled_valid, 0) << "only VoLTE is set";
    EXPECT_TRUE(logged_starting("Voice client already initialized. Handle "));
    EXPECT_TRUE(logged_starting("IMS client inited success, handle "));
    EXPECT_TRUE(logged_starting("IMSA client inited success, handle "));
    EXPECT_TRUE(vt::logged("QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01 success.\n"));
    EXPECT_TRUE(vt::logged("QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 success.\n"));
    EXPECT_TRUE(vt::logged("VOICE pal init success...\n"));

    EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
    EXPECT_EQ(state, 1u);
    EXPECT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), 0);
    EXPECT_EQ(registered, 1u);
    EXPECT_EQ(status, static_cast<uint32_t>(IMSA_STATUS_REGISTERED_V01));
    EXPECT_TRUE(watched("voice qmi imas inited OK"));
  });
}

TEST_F(ImsFresh, SwitchingVolteOffAlsoTurnsImsOnInNv) {
  in_fresh_process([] {
    write_ims_enable(0);
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    EXPECT_EQ(vorn_voice_pal_set_ims_state(0), 0);
    EXPECT_EQ(ims_enable_hex(), "01");
    EXPECT_FALSE(vornsim::ims::volte_enabled());
    vornsim::drain();
    EXPECT_FALSE(vornsim::ims::registration().registered) << "no VoLTE, no registration";
    uint32_t state = 9, registered = 9, status = 9;
    EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
    EXPECT_EQ(state, 0u);
    EXPECT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), 0);
    EXPECT_EQ(registered, 0u);
    EXPECT_EQ(status, static_cast<uint32_t>(IMSA_STATUS_NOT_REGISTERED_V01));
  });
}

TEST_F(ImsFresh, PrimarySubscriptionWinsOverTheSecondary) {
  in_fresh_process([] {
    vornsim::ims::set_active_subscriptions(true, true, false);
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    auto bind = vornsim::requests(kImss, QMI_IMS_BIND_SUBSCRIPTION_REQ_V01);
    ASSERT_EQ(bind.size(), 1u);
    EXPECT_EQ(bind[0].bytes.size(), 4u);
    EXPECT_EQ(bind[0].as<ims_bind_subscription_req_msg_v01>().subscription_type,
              IMS_SUBSCRIPTION_TYPE_PRIMARY_V01);
    auto imsa_bind = vornsim::requests(kImsa, QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01);
    ASSERT_EQ(imsa_bind.size(), 1u);
    EXPECT_EQ(imsa_bind[0].bytes.size(), 8u);
    EXPECT_EQ(imsa_bind[0].as<imsa_set_bind_subscription_req_msg_v01>().bind_subs,
              IMSA_BIND_SUBSCRIPTION_TYPE_PRIMARY_V01);
    EXPECT_TRUE(vt::logged("set subscription type 0.\n"));
    EXPECT_EQ(vornsim::ims::imss_bound_subscription(), 0);
    EXPECT_EQ(vornsim::ims::imsa_bound_subscription(), 0);
  });
}

TEST_F(ImsFresh, SecondSubscriptionAloneAndNoneActive) {
  in_fresh_process([] {
    vornsim::ims::set_active_subscriptions(false, false, true);
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    EXPECT_EQ(vornsim::ims::imss_bound_subscription(), 2);
    EXPECT_EQ(vornsim::ims::imsa_bound_subscription(), 2);
  });
  in_fresh_process([] {
    vornsim::ims::set_active_subscriptions(false, false, false);
    vornsim::set_dm_cache_word(vornsim::kActiveSimSlotKey, 1);  // the device's active slot
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    EXPECT_EQ(vt::count_logged("no active subscription1.\n"), 2) << "IMSS and IMSA";
    EXPECT_TRUE(vornsim::requests(kImss, QMI_IMS_BIND_SUBSCRIPTION_REQ_V01).empty());
    EXPECT_TRUE(vornsim::requests(kImsa, QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01).empty());
    // The clients are there all the same.
    uint32_t state = 9;
    EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
    EXPECT_EQ(state, 1u);
  });
}

TEST_F(ImsFresh, FailedBindingLeavesTheClient) {
  in_fresh_process([] {
    vornsim::refuse_next(kImss, QMI_IMS_BIND_SUBSCRIPTION_REQ_V01);
    vornsim::fail_next(kImsa, QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01);
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    // Logged under the name of the status query, as it always was.
    EXPECT_TRUE(vt::logged("QMI_IMS_GET_ACTIVE_SUBSCRIPTION_STATUS_REQ_V01 failed, result: 0,1, error: 3.\n"));
    EXPECT_TRUE(vt::logged("QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01 failed, result: -3,0, error: 0.\n"));
    EXPECT_FALSE(vt::logged("QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01 success.\n"));
    EXPECT_TRUE(vt::logged("VOICE pal init success...\n"));
    uint32_t state = 9, registered = 9, status = 9;
    EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
    EXPECT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), 0);
    EXPECT_EQ(vornsim::ims::imss_bound_subscription(), -1);
  });
}

TEST_F(ImsFresh, ImsServiceAwayAtInitComesBackOnDemand) {
  in_fresh_process([] {
    vornsim::set_service_up(kImss, false);
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    EXPECT_EQ(vt::count_logged("Failed to init IMS qmi client, error code: -3.\n"), 10);
    EXPECT_TRUE(vt::logged("IMS qmi client init failed, error code: -3,10.\n"));
    EXPECT_TRUE(vt::logged("IMS qmi client init failed, error code: -3.\n"));
    EXPECT_TRUE(vt::read_file("/dev/kmsg").find("oem:voice qmi inited ERROR") != std::string::npos);
    EXPECT_EQ(vornsim::counters().clients_live, 2) << "no handle left behind";
    // USSD works regardless.
    EXPECT_EQ(vorn_voice_pal_originate_ussd_async("*100#", 5, 1), 0);

    vornsim::set_service_up(kImss, true);
    EXPECT_EQ(vorn_voice_pal_set_ims_state(1), 0) << "the client is made on demand";
    uint32_t state = 9;
    EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
    EXPECT_EQ(state, 1u);
  });
}

TEST_F(ImsFresh, VoiceServiceAwayAtInit) {
  in_fresh_process([] {
    vornsim::set_service_up(kVoice, false);
    ASSERT_EQ(vorn_voice_pal_init(), 0);
    EXPECT_EQ(vt::count_logged("qmi_client_init_instance error:-3 \n"), 10);
    EXPECT_TRUE(vt::logged("waiting for modem up:10.\n"));
    EXPECT_TRUE(vt::logged("VOICE pal init success...\n"));
    EXPECT_TRUE(vt::read_file("/dev/kmsg").find("oem:voice qmi inited ERROR") != std::string::npos);
    EXPECT_TRUE(vornsim::requests(kImss).empty()) << "init ends with the VOICE client";
    ussd_originate_result result{};
    EXPECT_EQ(vorn_voice_pal_originate_ussd("*100#", 5, 1, &result), 2);
    EXPECT_EQ(vorn_voice_pal_originate_ussd_async("*100#", 5, 1), 2);
    EXPECT_EQ(vorn_voice_pal_answer_ussd("1", 1), 2);
    EXPECT_EQ(vorn_voice_pal_cancel_ussd(), 2);
    EXPECT_EQ(vorn_voice_pal_end_call(1), 2);
    EXPECT_EQ(vt::count_logged("null oem_qmi_voice_handle\n"), 4);
    EXPECT_EQ(vornsim::counters().clients_live, 0) << "no handle left behind";
  });
}

TEST_F(Ims, VolteStateOverImss) {
  uint32_t state = 9;
  ASSERT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
  EXPECT_EQ(state, 1u);
  EXPECT_TRUE(vt::logged("GET_IMS_SERVICE_ENABLE, volte_enabled_valid:1,volte_enabled:1.\n"));
  EXPECT_TRUE(vt::logged("GET_IMS_SERVICE_ENABLE, options_config_enabled_valid:1,options_config_enabled:0.\n"));
  EXPECT_EQ(vorn_voice_pal_get_ims_state(nullptr), -1);
  EXPECT_TRUE(vt::logged("null state_ptr\n"));

  ASSERT_EQ(vorn_voice_pal_set_ims_state(0), 0);
  ASSERT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
  EXPECT_EQ(state, 0u);
  ASSERT_EQ(vorn_voice_pal_set_ims_state(7), 0);
  ASSERT_EQ(vorn_voice_pal_get_ims_state(&state), 0);
  EXPECT_EQ(state, 1u) << "any nonzero value switches VoLTE on";

  vornsim::refuse_next(kImss, QMI_IMS_SETTINGS_GET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01);
  EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), VORN_VOICE_IMS_GET_FAILED);
  EXPECT_TRUE(vt::logged(
      "QMI_IMS_SETTINGS_GET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 failed, result: 0,1, error: 3.\n"));
  vt::answer<vv::GetImsServiceEnableConfig>(kImss, [](auto &resp) { resp.volte_enabled = 1; });
  EXPECT_EQ(vorn_voice_pal_get_ims_state(&state), VORN_VOICE_IMS_GET_FAILED);
  EXPECT_TRUE(vt::logged("not valid volte_enabled_valid.\n"));

  vornsim::reset();
  vornsim::refuse_next(kImss, QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01,
                       QMI_ERR_INVALID_ARG_V01);
  EXPECT_EQ(vorn_voice_pal_set_ims_state(1), VORN_VOICE_IMS_SET_FAILED);
  EXPECT_TRUE(vt::logged(
      "QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 failed, result: 1, error: 17.\n"));
  EXPECT_TRUE(vt::logged("QMI_IMS_SETTINGS_SET_IMS_SERVICE_ENABLE_CONFIG_REQ_V01 , "
                         "settings_resp_valid: 0, settings_resp: 0.\n"));
}

TEST_F(Ims, RegistrationFollowsTheSettingsAndTheNetwork) {
  uint32_t registered = 9, status = 9;
  ASSERT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), 0);
  EXPECT_EQ(registered, 1u);
  EXPECT_EQ(status, 2u);
  EXPECT_TRUE(vt::logged("get ims_registered 1.\n"));
  EXPECT_TRUE(vt::logged("get ims_reg_status 2.\n"));
  EXPECT_EQ(vorn_voice_pal_get_imsa_state(nullptr, &status), -1);

  vornsim::ims::set_network_accepts(false);
  ASSERT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), 0);
  EXPECT_EQ(registered, 0u);
  EXPECT_EQ(status, 0u);

  // Fields the modem leaves out leave the caller's values.
  vt::answer<vv::ImsaGetRegistrationStatus>(kImsa, [](auto &) {});
  registered = 5;
  status = 6;
  ASSERT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), 0);
  EXPECT_EQ(registered, 5u);
  EXPECT_EQ(status, 6u);
  vornsim::fail_next(kImsa, QMI_IMSA_GET_REGISTRATION_STATUS_REQ_V01);
  EXPECT_EQ(vorn_voice_pal_get_imsa_state(&registered, &status), -1);
  EXPECT_TRUE(vt::logged("QMI_IMSA_GET_REGISTRATION_STATUS_REQ_V01 failed, result: -3,0, error: 0.\n"));
}

// A client of the services' own, as another program of the device would
// have, hears of each change.
std::vector<unsigned> heard;
std::mutex heard_mutex;
void hear(qmi_client_type, unsigned int msg_id, void *, unsigned int, void *) {
  std::lock_guard<std::mutex> lock(heard_mutex);
  heard.push_back(msg_id);
}

TEST_F(Ims, ChangesAreReportedToTheServicesClients) {
  qmi_client_type imss = nullptr, imsa = nullptr;
  qmi_client_os_params os{};
  ASSERT_EQ(qmi_client_init_instance(imss_get_service_object_internal_v01(1, 91, 6), 65535, hear,
                                     nullptr, &os, 1000, &imss), 0);
  ASSERT_EQ(qmi_client_init_instance(imsa_get_service_object_internal_v01(1, 44, 6), 65535, hear,
                                     nullptr, &os, 1000, &imsa), 0);
  ASSERT_EQ(vorn_voice_pal_set_ims_state(0), 0);
  ASSERT_TRUE(vt::eventually([] {
    std::lock_guard<std::mutex> lock(heard_mutex);
    return heard.size() == 2;
  }));
  {
    std::lock_guard<std::mutex> lock(heard_mutex);
    EXPECT_EQ(heard, (std::vector<unsigned>{QMI_IMS_SETTINGS_IMS_SERVICE_ENABLE_CONFIG_IND_V01,
                                            QMI_IMSA_REGISTRATION_STATUS_IND_V01}));
  }
  ASSERT_EQ(vorn_voice_pal_set_ims_state(0), 0);
  vornsim::drain();
  {
    std::lock_guard<std::mutex> lock(heard_mutex);
    EXPECT_EQ(heard.size(), 2u) << "no change, no report";
  }
  qmi_client_release(imss);
  qmi_client_release(imsa);
}

}  // namespace
