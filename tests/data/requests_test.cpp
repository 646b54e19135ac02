// Every exported function of the family that sends a request: the message
// each sends, as the service documents it, and what a daemon gets when each
// of its requests fails in turn.
#include <vornpal/m2m.h>

#include "data_test.h"
#include "message_rows.h"
#include "request_failures.h"

namespace datat {
namespace {

using vt::row;

data_profile_settings record = profile("internet", VORN_DATA_PDP_IPV4V6);
data_profile_list list;

using Requests = DataTest;

TEST_F(Requests, EachCallSendsItsMessage) {
  const std::vector<vt::MessageRow> rows = {
      row<data::SetEventReport>("vorn_data_event_register", [] { return vorn_data_event_register(1); }, 40, 8, 100000),
      row<data::ModifyProfileSettings>("vorn_data_pal_activate_context", [] { return vorn_data_pal_activate_context(1); }, 3120, 16, 10000),
      row<data::ModifyProfileSettings>("vorn_data_pal_write_connect_setting", [] { return vorn_data_pal_write_connect_setting(2, &record); }, 3120, 16, 10000, false),
      row<data::GetProfileSettings>("vorn_data_pal_read_connect_setting", [] { return vorn_data_pal_read_connect_setting(2, &record); }, 8, 3136, 10000),
      row<data::DeleteProfile>("vorn_data_pal_delete_profile", [] { return vorn_data_pal_delete_profile(2); }, 8, 16, 5000),
      row<data::GetProfileList>("vorn_data_pal_get_profile_list", [] { return vorn_data_pal_get_profile_list(&list); }, 184, 14300, 30000),
      row<data::GetProfileSettings>("vorn_data_pal_is_profile_defined", [] { return vorn_data_pal_is_profile_defined(2) == 1 ? 0 : -1; }, 8, 3136, 10000),
      row<data::GetLteAttachParams>("vorn_data_pal_get_attach_params", [] { return vorn_data_pal_get_attach_params(&record); }, 0, 228, 10000),
      row<data::SetAttachProfileInfo>("vorn_data_pal_set_attach_params", [] { return vorn_data_pal_set_attach_params(&record); }, 1232, 16, 10000),
  };
  vt::expect_messages(kWds, rows);
}

TEST_F(Requests, EachRequestFailingInTurn) {
  vt::FailureFamily family;
  family.fresh = fresh_family;
  // Whether the profile exists is only asked: a failed answer means "no".
  const vt::MessageResult kQueryIsOnlyAsked{kWds, QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01, 0, 0};
  const vt::FailureCase cases[] = {
      {"vorn_data_event_register", [] { return vorn_data_event_register(1); }, VORN_FAILURE, VORN_OK},
      {"vorn_data_pal_activate_context", [] { return vorn_data_pal_activate_context(1); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_data_pal_write_connect_setting", [] { return vorn_data_pal_write_connect_setting(2, &record); },
       VORN_FAILURE, VORN_FAILURE, false, {kQueryIsOnlyAsked}},
      {"vorn_data_pal_read_connect_setting", [] { return vorn_data_pal_read_connect_setting(2, &record); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_data_pal_delete_profile", [] { return vorn_data_pal_delete_profile(2); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_data_pal_get_profile_list", [] { return vorn_data_pal_get_profile_list(&list); }, VORN_FAILURE, VORN_FAILURE,
       true, {{kWds, QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01, 0, 0}}},
      {"vorn_data_pal_is_profile_defined", [] { return vorn_data_pal_is_profile_defined(2); }, 0, 0},
      {"vorn_data_pal_get_attach_params", [] { return vorn_data_pal_get_attach_params(&record); }, VORN_FAILURE, VORN_FAILURE},
      {"vorn_data_pal_set_attach_params", [] { return vorn_data_pal_set_attach_params(&record); }, VORN_FAILURE, VORN_FAILURE},
  };
  for (const auto &c : cases) vt::expect_request_failures(c, family);
}

}  // namespace
}  // namespace datat
