#include "network_test.h"

namespace nett {

Collector &Collector::instance() {
  static Collector *collector = [] {
    auto *c = new Collector;
    EXPECT_EQ(vorn_network_pal_event_register(&Collector::callback, 7), 0);
    return c;
  }();
  return *collector;
}

void Collector::callback(uint32_t id, void *payload, uint32_t length, uint32_t user) {
  EXPECT_EQ(user, 7u);
  Event event{id, {}, {}, vornsim::on_modem_thread()};
  if (payload != nullptr)
    event.data.assign(static_cast<uint8_t *>(payload), static_cast<uint8_t *>(payload) + length);
  char name[17] = {};
  prctl(PR_GET_NAME, name, 0, 0, 0);
  event.thread = name;
  instance().add(std::move(event));
}

void NetworkTest::settle() {
  vornsim::drain();
  // An event posted by the last indication reaches the callbacks on the
  // event thread: a marker indication behind it shows when it has.
  static uint32_t markers = 0;
  nas_rf_band_info_ind_msg_v01 marker{};
  marker.info.reserved[1] = 0xFEED0000u + ++markers;
  const uint32_t mark = marker.info.reserved[1];
  vornsim::indicate(kNas, QMI_NAS_RF_BAND_INFO_IND_V01, marker);
  vornsim::drain();
  EXPECT_TRUE(vt::eventually([mark] {
    for (const Event &event : Collector::instance().of(VORN_NETWORK_EVENT_RF_BAND))
      if (event.as<vorn_network_rf_band_report>().words[14] == mark) return true;
    return false;
  }));
}

vorn_network_info NetworkTest::info_of(bool all_groups) {
  vorn_network_info info{};
  info.cell_valid = 1;
  info.sys_info.valid = 1;
  info.ps_info.valid = 1;
  info.cs_info.valid = 1;
  if (all_groups) {
    info.signal.valid = 1;
    info.carrier_valid = 1;
    info.tx_rx.valid = 1;
  }
  EXPECT_EQ(vorn_network_pal_get_network_info(0, &info), 0);
  return info;
}

nas_sys_info_ind_msg_v01 sys_info_ind(const char *mcc, const char *mnc) {
  nas_sys_info_ind_msg_v01 ind{};
  ind.info.lte_sys_info_valid = 1;
  nas_3gpp_sys_info_type_v01 &part = ind.info.lte_sys_info;
  part.network_id_valid = 1;
  std::memset(part.mcc, 0xFF, sizeof part.mcc);
  std::memset(part.mnc, 0xFF, sizeof part.mnc);
  std::memcpy(part.mcc, mcc, std::min(strlen(mcc), sizeof part.mcc));
  std::memcpy(part.mnc, mnc, std::min(strlen(mnc), sizeof part.mnc));
  return ind;
}

nas_serving_system_ind_msg_v01 serving_ind(uint32_t radio_if, bool with_indicator, uint32_t indicator) {
  nas_serving_system_ind_msg_v01 ind{};
  ind.info.serving_system.registration_state = NAS_REGISTERED_V01;
  ind.info.serving_system.cs_attach_state = NAS_ATTACHED_V01;
  ind.info.serving_system.ps_attach_state = NAS_ATTACHED_V01;
  if (radio_if != 0) {
    ind.info.serving_system.radio_if_len = 1;
    ind.info.serving_system.radio_if[0] = radio_if;
  }
  ind.info.roaming_indicator_valid = with_indicator;
  ind.info.roaming_indicator = indicator;
  ind.info.cell_id_valid = 1;
  ind.info.cell_id = 0xABCDE;
  ind.info.tac_valid = 1;
  ind.info.tac = 0x77;
  return ind;
}

}  // namespace nett
