// The connection through the vendor service (rmnet start and stop with the
// wait for the modem's report), its addresses, the traffic counters, the
// regional RF switch, the routing-behind marker and the SMS acknowledgement.
#include <arpa/inet.h>
#include <semaphore.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/checked_copy.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "m2m/client.h"
#include "m2m/indications.h"

namespace {

using vorn::m2m::Guard;
namespace m2m = vorn::m2m;

constexpr uint32_t kProfileMin = 1;
constexpr uint32_t kProfileMax = 42;
constexpr uint64_t kReportWaitMs = 5000;
constexpr uint8_t kStart = 1;
constexpr uint8_t kStop = 0;
constexpr uint8_t kInstance = 1;
constexpr uint8_t kThird = 2;
constexpr const char kIpv6Only[] = "/tmp/ipv6_only";
constexpr const char kRoutingBehind[] = "/data/ps_add_src_ip_on_qos_filters.txt";
constexpr const char kSwitchFlag[] = "/nv/item_files/odm/SWITCH_UPDATE_FLAG";
constexpr size_t kSwitchFlagSize = 10;

static_assert(sizeof(m2m_ip_info) == 592 && offsetof(m2m_ip_info, instance) == 588,
              "m2m_ip_info");
static_assert(sizeof(vorn_m2m_statis) == 48, "traffic counters");

// ---- rmnet -------------------------------------------------------------------

int vorn_qmi_m2m_rmnet_action(uint8_t action, uint8_t instance, uint8_t profile, uint8_t family,
                              uint8_t third) {
  vorn_m2m_rmnet_action_req_msg_v01 req{};
  req.action = action;
  req.instance = instance;
  req.profile_valid = profile != 0;
  req.profile = profile;
  req.family_valid = family != 0;
  req.family = family;
  req.third_valid = third != 0;
  req.third = third;
  vorn_m2m_rmnet_action_resp_msg_v01 resp;
  if (m2m::send<m2m::RmnetAction>(Guard::LazyStart, req, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "Error, m2m rmnet action %d failed \r\n", action);
    return -1;
  }
  return 0;
}

// Reports left from earlier actions must not answer this one.
void drain_reports(sem_t *reports) {
  int count = 0;
  sem_getvalue(reports, &count);
  VORN_LOG(VORN_DBUG, "ok_sem count is %d\n", count);
  for (int i = 0; i < count; ++i) sem_trywait(reports);
}

// True when the modem reported within the wait; an error other than the
// time-out counts as a report too.
bool report_came(sem_t *reports) {
  timespec deadline = vorn::clk::deadline_after_ms(CLOCK_REALTIME, kReportWaitMs);
  int rc;
  do {
    rc = sem_timedwait(reports, &deadline);
  } while (rc != 0 && errno == EINTR);
  return rc == 0 || errno != ETIMEDOUT;
}

uint32_t rmnet_state() {
  uint32_t active = 0;
  vorn_m2m_pal_get_rmnet_active(&active);
  return active;
}

bool rmnet_is_active() { return rmnet_state() != 0; }

// ---- rendering ---------------------------------------------------------------

// IPv4 values come in host order, most significant byte first in the text.
void ConvertIPv4NumToStr(uint32_t address, char *text, size_t size) {
  std::snprintf(text, size, "%u.%u.%u.%u", address >> 24 & 0xFF, address >> 16 & 0xFF,
                address >> 8 & 0xFF, address & 0xFF);
}

// The service gives IPv6 values least significant byte first.
void ConvertCustomIPv6NumToStr(const uint8_t (&address)[16], char *text, size_t size) {
  uint8_t network[16];
  std::reverse_copy(std::begin(address), std::end(address), network);
  if (inet_ntop(AF_INET6, network, text, static_cast<socklen_t>(size)) != nullptr) return;
  char hex[33] = {};
  for (size_t i = 0; i < sizeof network; ++i)
    std::snprintf(hex + 2 * i, sizeof hex - 2 * i, "%02x", network[i]);
  VORN_LOG(VORN_ERR, "Error converting %s to IP string\n", hex);
  std::memset(text, 0, size);
}

// The address texts are copied one byte past their field, so that the
// valid byte behind each comes along, as the service's own clients read it.
template <class Field>
void copy_with_next_byte(char *out, size_t out_size, const vorn_m2m_get_ip_resp_msg_v01 &resp,
                         size_t offset, const Field &) {
  static_assert(sizeof(Field) + 1 <= sizeof(vorn_m2m_get_ip_resp_msg_v01));
  std::memcpy(out, reinterpret_cast<const char *>(&resp) + offset,
              std::min(out_size, sizeof(Field) + 1));
}

// ---- switch mode ----------------------------------------------------------------

struct RegionalSet {
  const char *rf_source;
  const char *band_filter_source;
};
constexpr RegionalSet kIcSet{"/nv/item_files/odm/00030007_for_IC",
                             "/nv/item_files/odm/hardware_band_filtering_for_IC.xml"};
constexpr RegionalSet kFccSet{"/nv/item_files/odm/00030007_for_FCC",
                              "/nv/item_files/odm/hardware_band_filtering_for_FCC.xml"};
constexpr const char kRfItem[] = "/nv/item_files/rfnv/00030007";
constexpr const char kBandFilter[] = "/policyman/hardware_band_filtering.xml";

bool copy_item(const char *from, const char *to) {
  vorn_m2m_copy_nv_item_req_msg_v01 req{};
  vorn::checked_strcpy(req.source_path, from);
  vorn::checked_strcpy(req.destination_path, to);
  vorn_m2m_copy_nv_item_resp_msg_v01 resp;
  return m2m::send<m2m::CopyNvItem>(Guard::LazyStart, req, resp).verdict == 0;
}

// Moves the item aside (its result does not matter: a first switch has no
// item to move) and copies the set's item into place.
bool replace_item(const char *item, const char *source) {
  std::string aside = std::string(item) + (std::strcmp(item, kRfItem) == 0 ? "_BAK" : "_bak");
  vorn_m2m_pal_efs_rename(item, aside.c_str());
  return copy_item(source, item);
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_m2m_rmnet_action(uint8_t action, uint8_t instance, int profile,
                                      uint8_t family, uint8_t third, int unused) {
  (void)unused;
  if (profile < static_cast<int>(kProfileMin) || profile > static_cast<int>(kProfileMax)) {
    VORN_LOG(VORN_ERR, "profileIndex is invalid !\n");
    return -1;
  }
  sem_t *reports = m2m::ok_sem();
  drain_reports(reports);
  if (vorn_qmi_m2m_rmnet_action(action, instance, static_cast<uint8_t>(profile), family, third) != 0)
    return -1;
  if (report_came(reports)) return 0;

  // No report in time, or another action took it: the state decides.
  uint32_t state = rmnet_state();
  VORN_LOG(VORN_INFO, "rmnet_act=%d. act is %d \n", static_cast<int>(state), action);
  if (action == kStart && state == 1) return 0;
  if (action == kStop && state == 0) return 0;
  if (!(action == kStart && state == 0))
    vorn_qmi_m2m_rmnet_action(kStop, instance, static_cast<uint8_t>(profile), family, third);
  return -1;
}

VORNPAL_API int vorn_m2m_pal_connect(int profile, int pdp_type) {
  VORN_LOG(VORN_INFO, "profileIndex is %d,pdp_type is %d\n", profile, pdp_type);
  if (rmnet_is_active()) return -1;
  uint8_t family = 3;
  if (pdp_type == 0) family = 1;
  if (pdp_type == 1) family = 2;
  if (pdp_type == 2) family = access(kIpv6Only, F_OK) == 0 ? 2 : 3;
  int rc = vorn_m2m_rmnet_action(kStart, kInstance, profile & 255, family, kThird, 0);
  if (rc != 0) return rc;
  return rmnet_is_active() ? 0 : -1;
}

VORNPAL_API int vorn_m2m_pal_disconnect(int profile) {
  if (!rmnet_is_active()) {
    VORN_LOG(VORN_INFO, "Alreay data disconnect\n");
    return -1;
  }
  int rc = vorn_m2m_rmnet_action(kStop, kInstance, profile & 255, 3, kThird, 0);
  if (rc != 0) VORN_LOG(VORN_ERR, " data disconnect fail\n");
  return rc;
}

VORNPAL_API int vorn_m2m_pal_get_ip(uint8_t instance, m2m_ip_info *out) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_get_ip_req_msg_v01 req{};
  req.instance = instance;
  vorn_m2m_get_ip_resp_msg_v01 resp;
  if (m2m::send<m2m::GetIp>(Guard::LazyStart, req, resp).verdict != 0) return -1;
  std::memset(out, 0, sizeof *out);
  out->ipv4_valid = resp.ipv4_valid;
  copy_with_next_byte(out->ipv4_addr, sizeof out->ipv4_addr, resp,
                      offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv4_addr), resp.ipv4_addr);
  out->ipv6_valid = resp.ipv6_valid;
  copy_with_next_byte(out->ipv6_addr, sizeof out->ipv6_addr, resp,
                      offsetof(vorn_m2m_get_ip_resp_msg_v01, ipv6_addr), resp.ipv6_addr);
  out->instance = instance;
  struct Ipv4 {
    uint8_t valid;
    uint32_t value;
    m2m_ip_text_v4 &to;
  } ipv4[] = {{resp.ipv4_second_valid, resp.ipv4_second, out->ipv4_second},
              {resp.ipv4_third_valid, resp.ipv4_third, out->ipv4_third}};
  for (Ipv4 &address : ipv4) {
    if (address.valid == 0) continue;
    address.to.valid = address.valid;
    ConvertIPv4NumToStr(address.value, address.to.text, sizeof address.to.text);
  }
  struct Ipv6 {
    uint8_t valid;
    const uint8_t (&value)[16];
    m2m_ip_text_v6 &to;
  } ipv6[] = {{resp.ipv6_second_valid, resp.ipv6_second, out->ipv6_second},
              {resp.ipv6_third_valid, resp.ipv6_third, out->ipv6_third}};
  for (Ipv6 &address : ipv6) {
    if (address.valid == 0) continue;
    address.to.valid = address.valid;
    ConvertCustomIPv6NumToStr(address.value, address.to.text, sizeof address.to.text);
  }
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_dnscfg(char *primary, char *secondary) {
  if (primary == nullptr || secondary == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_get_dnscfg_resp_msg_v01 resp;
  if (m2m::send<m2m::GetDnscfg>(Guard::LazyStart, resp).verdict != 0) return -1;
  if (resp.primary_valid) ConvertIPv4NumToStr(resp.primary, primary, VORN_M2M_DNS_TEXT_SIZE);
  if (resp.secondary_valid) ConvertIPv4NumToStr(resp.secondary, secondary, VORN_M2M_DNS_TEXT_SIZE);
  if (!resp.primary_valid && !resp.secondary_valid) {
    VORN_LOG(VORN_ERR, "dns is empty\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_m2m_pal_get_statis_cfg(vorn_m2m_statis *statis) {
  if (statis == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_get_statis_resp_msg_v01 resp;
  if (m2m::send<m2m::GetStatis>(Guard::LazyStart, resp).verdict != 0) return -1;
  *statis = {resp.dl_rate,  resp.ul_rate,  resp.dl_bytes,     resp.ul_bytes,
             resp.dl_state, resp.ul_state, resp.dl_max_speed, resp.ul_max_speed};
  return 0;
}

VORNPAL_API int vorn_m2m_pal_set_switchmode(int mode) {
  const RegionalSet &set = mode == 1 ? kIcSet : kFccSet;
  int failed = 0;
  failed += replace_item(kRfItem, set.rf_source) ? 0 : 1;
  failed += replace_item(kBandFilter, set.band_filter_source) ? 0 : 1;
  if (failed == 0) {
    char flag[kSwitchFlagSize] = {};
    std::snprintf(flag, sizeof flag, "%d", mode);
    vorn_m2m_pal_write_nv_by_path(kSwitchFlag, flag, sizeof flag);
  }
  return -failed;
}

VORNPAL_API int vorn_m2m_pal_get_switchmode(int *mode) {
  if (mode == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  char flag[VORN_M2M_ITEM_MAX + 1] = {};
  uint32_t len = 0;
  if (vorn_m2m_pal_read_nv_by_path(kSwitchFlag, flag, &len, 0) != 0 || len == 0) return -1;
  *mode = static_cast<int>(std::strtol(flag, nullptr, 10));
  return 0;
}

VORNPAL_API int vorn_m2m_send_sms_pdu_ack(const vorn_m2m_sms_ack *ack) {
  if (ack == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_sms_pdu_ack_req_msg_v01 req{};
  req.transaction_id = ack->transaction_id;
  req.message_protocol = ack->message_protocol;
  req.failure_cause = ack->failure_cause;
  req.success = ack->success;
  req.sms_on_ims = ack->sms_on_ims;
  if (ack->pdu_valid && ack->pdu_len_valid) {
    if (ack->pdu_len > sizeof req.pdu) return VORN_INVALID_PARAM;
    req.pdu_valid = 1;
    req.pdu_len_valid = 1;
    req.pdu_len = ack->pdu_len;
    std::memcpy(req.pdu, ack->pdu, ack->pdu_len);
  }
  vorn_m2m_sms_pdu_ack_resp_msg_v01 resp;
  m2m::Sent sent = m2m::send<m2m::SmsPduAck>(Guard::None, req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR,
             "QMI_VORN_M2M_SMS_PDU_ACK_REQ_V01 failed:%d, result: %d, error: %d,transaction_id=%d.\n",
             sent.rc, static_cast<int>(resp.resp.result), static_cast<int>(resp.resp.error),
             static_cast<int>(ack->transaction_id));
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_m2m_pal_enable_routing_behind(int enable) {
  FILE *file = std::fopen(kRoutingBehind, "w");
  if (file == nullptr) return -1;
  // The file holds the opposite: "0" means that routing behind is on.
  std::fputc(enable != 0 ? '0' : '1', file);
  return std::fclose(file) == 0 ? 0 : -1;
}

VORNPAL_API int vorn_m2m_pal_read_routing_behind(int *value) {
  if (value == nullptr) return -1;
  FILE *file = std::fopen(kRoutingBehind, "r");
  if (file == nullptr) return -1;
  int stored = 0;
  int got = std::fscanf(file, "%d", &stored);
  std::fclose(file);
  if (got != 1) return -1;
  *value = !stored;
  return 0;
}

}  // extern "C"
