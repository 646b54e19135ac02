// Binding the IMS clients to the active subscription: the IMS stack serves
// only the subscription a client is bound to. The modem says which
// subscriptions have IMS active; the primary wins over the secondary, the
// secondary over the tertiary. A failed binding leaves the client unbound
// but in place.
#include <optional>

#include <vornpal/network.h>

#include "foundation/log_site.h"
#include "voice/client.h"

namespace {

namespace voice = vorn::voice;

template <class Resp>
std::optional<uint32_t> active_subscription(const Resp &resp) {
  if (resp.active_on_primary_subscription_valid != 0 && resp.active_on_primary_subscription != 0)
    return 0;
  if (resp.active_on_secondary_subscription_valid != 0 &&
      resp.active_on_secondary_subscription != 0)
    return 1;
  if (resp.active_on_tertiary_subscription_valid != 0 && resp.active_on_tertiary_subscription != 0)
    return 2;
  return std::nullopt;
}

template <class Resp>
void log_active(const Resp &resp, const char *caller) {
  VORN_LOG_AS(caller, VORN_DBUG, "active_on_primary_subscription_valid:%d,active_on_primary_subscription:%d.\n",
              resp.active_on_primary_subscription_valid, resp.active_on_primary_subscription);
  VORN_LOG_AS(caller, VORN_DBUG,
              "active_on_secondary_subscription_valid:%d,active_on_secondary_subscription:%d.\n",
              resp.active_on_secondary_subscription_valid, resp.active_on_secondary_subscription);
  VORN_LOG_AS(caller, VORN_DBUG,
              "active_on_tertiary_subscription_valid:%d,active_on_tertiary_subscription:%d.\n",
              resp.active_on_tertiary_subscription_valid, resp.active_on_tertiary_subscription);
}

template <class Resp>
std::optional<uint32_t> chosen_subscription(const Resp &resp, const char *caller) {
  log_active(resp, caller);
  std::optional<uint32_t> type = active_subscription(resp);
  if (!type) VORN_LOG_AS(caller, VORN_ERR, "no active subscription%d.\n",
                       static_cast<int>(vorn_network_pal_get_usim_card_slot()));
  return type;
}

}  // namespace

void voice::vorn_voice_pal_bind_subscription() {
  ims_get_active_subscription_status_req_msg_v01 status_req{};
  ims_get_active_subscription_status_rsp_msg_v01 status;
  if (!request<ImsGetActiveSubscriptionStatus>(imss_client(), Guard::None, status_req, status))
    return;
  VORN_LOG(VORN_DBUG, "common_resp_valid:%d,common_resp:%d.\n", status.common_resp_valid,
           static_cast<int>(raw(status.common_resp)));
  std::optional<uint32_t> type = chosen_subscription(status, __func__);
  if (!type) return;
  ims_bind_subscription_req_msg_v01 bind{};
  bind.subscription_type = static_cast<ims_subscription_type_enum_v01>(*type);
  ims_bind_subscription_rsp_msg_v01 bound;
  // Its failure has always been logged under the status query's name.
  request<ImsBindSubscription>(imss_client(), Guard::None, bind, bound,
                               ImsGetActiveSubscriptionStatus::name);
}

void voice::vorn_voice_pal_imsa_bind_subscription() {
  imsa_get_active_subscription_status_req_msg_v01 status_req{};
  imsa_get_active_subscription_status_resp_msg_v01 status;
  if (!request<ImsaGetActiveSubscriptionStatus>(imsa_client(), Guard::None, status_req, status))
    return;
  std::optional<uint32_t> type = chosen_subscription(status, __func__);
  if (!type) return;
  VORN_LOG(VORN_INFO, "set subscription type %d.\n", static_cast<int>(*type));
  imsa_set_bind_subscription_req_msg_v01 bind{};
  bind.bind_subs = static_cast<imsa_bind_subscription_type_enum_v01>(*type);
  imsa_set_bind_subscription_resp_msg_v01 bound;
  if (request<ImsaSetBindSubscription>(imsa_client(), Guard::None, bind, bound))
    VORN_LOG(VORN_INFO, "QMI_IMSA_SET_BIND_SUBSCRIPTION_REQ_V01 success.\n");
}
