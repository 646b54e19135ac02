// The WDS service of the simulated modem: the profile store and the LTE
// attach parameters (saved with the modem), and the data sessions of its
// clients. Each client binds a data port, chooses an IP family and starts
// one session; the session gets addresses from the network and is reported
// by the packet-service status indication to that client, connected and,
// when it ends, disconnected with the reasons. A session whose client went
// away ends with it.
#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <vornpal/platform/wireless_data_service_v01.h>
#include <vornsim/sim.h>
#include <vornsim/wds.h>

#include "data/messages.h"
#include "service_module.h"
#include "wds_link.h"

namespace vornsim {
namespace {

namespace data = vorn::data;
using vorn::qmi::NoRequest;

constexpr uint32_t kProfileMax = 42;
constexpr auto kCallFailed = static_cast<qmi_error_type_v01>(14);
constexpr auto kOutOfCall = static_cast<qmi_error_type_v01>(0x0F);
constexpr auto kInvalidHandle = static_cast<qmi_error_type_v01>(0x09);
constexpr auto kExtendedInternal = static_cast<qmi_error_type_v01>(0x51);
constexpr uint32_t kProfileNotFound = 0x0401;  // extended error: no such profile
constexpr uint32_t kClientEnded = 2;           // call end reason of a stop
constexpr uint32_t kTechLte = 0x8004;

// A profile as the store keeps it (saved as its bytes).
struct StoredProfile {
  char name[QMI_WDS_PROFILE_NAME_MAX_V01 + 1];
  char apn[QMI_WDS_APN_NAME_MAX_V01 + 1];
  char username[QMI_WDS_USER_NAME_MAX_V01 + 1];
  char password[QMI_WDS_PASSWORD_MAX_V01 + 1];
  uint32_t pdp_type;
  uint32_t auth;
  uint32_t ipv4_pref, data_comp, hdr_comp, im_cn;
  uint8_t ipv4_pref_valid, data_comp_valid, hdr_comp_valid, im_cn_valid;
  uint8_t apn_disabled_valid, apn_disabled, clat_valid, clat, persistent;
};

struct Client {
  uint32_t family = 4;
  int mux_id = 0;  // 0: not bound
  uint32_t link() const { return mux_id > 0 ? static_cast<uint32_t>(mux_id - 1) : 0; }
};

// One session; a later change adds its traffic counters here.
struct Session {
  const void *client;
  uint32_t profile;
  int family;
  uint32_t link;
  uint32_t mtu;
};

struct StartFailure {
  uint32_t reason, verbose_type, verbose_reason;
};

struct State {
  std::map<uint32_t, Bytes> profiles;  // StoredProfile by index
  std::string attach_apn = "internet";
  uint32_t attach_ip_type = 2;  // IPv4v6 as the attach parameters code it
  uint32_t attach_ip_support = 2;
  uint32_t attach_auth = 0;
  std::string attach_username;
  std::string attach_password;

  // Not saved: they live with the process's clients.
  std::map<const void *, Client> clients;
  std::map<uint32_t, Session> sessions;  // by pkt_data_handle
  uint32_t next_handle = 0x5A000001;
  // Saved, so that a fault set by one run of vornpalctl meets the next.
  std::map<uint32_t, Bytes> start_failures;  // StartFailure by order
  uint32_t link_local = 0;
  uint32_t mtu = 1500;

  template <class Visit>
  void values(Visit &&visit) {
    visit("profiles", profiles);
    visit("attach_apn", attach_apn);
    visit("attach_ip_type", attach_ip_type);
    visit("attach_ip_support", attach_ip_support);
    visit("attach_auth", attach_auth);
    visit("attach_username", attach_username);
    visit("attach_password", attach_password);
    visit("start_failures", start_failures);
    visit("link_local", link_local);
    visit("mtu", mtu);
  }
};

Bytes stored(const StoredProfile &p) {
  const auto *bytes = reinterpret_cast<const uint8_t *>(&p);
  return Bytes(bytes, bytes + sizeof p);
}

// An optional field of a request into the stored profile, when present.
template <class From, class To>
void take_optional(uint8_t present, const From &value, uint8_t &stored_valid, To &stored) {
  if (!present) return;
  stored_valid = 1;
  stored = static_cast<To>(value);
}

StoredProfile profile_of(const Bytes &bytes) {
  StoredProfile p{};
  std::memcpy(&p, bytes.data(), std::min(bytes.size(), sizeof p));
  return p;
}

StoredProfile named(const char *name, const char *apn, uint32_t pdp_type) {
  StoredProfile p{};
  put_text(p.name, name);
  put_text(p.apn, apn);
  p.pdp_type = pdp_type;
  p.persistent = 1;
  return p;
}

void factory_profiles(State &s) {
  s.profiles.clear();
  s.profiles[1] = stored(named("internet", "internet", WDS_PDP_TYPE_PDP_IPV4V6_V01));
  s.profiles[2] = stored(named("ims", "ims", WDS_PDP_TYPE_PDP_IPV6_V01));
}

State factory_state() {
  State s;
  factory_profiles(s);
  return s;
}

// ---- the network's addresses of a session --------------------------------------

std::string v4_text(uint32_t host_order) {
  in_addr a{htonl(host_order)};
  char text[INET_ADDRSTRLEN];
  inet_ntop(AF_INET, &a, text, sizeof text);
  return text;
}

std::string v6_text(const uint8_t (&bytes)[16]) {
  char text[INET6_ADDRSTRLEN];
  inet_ntop(AF_INET6, bytes, text, sizeof text);
  return text;
}

// 10.(100+link).(profile).0/30: the gateway .1, the device .2.
uint32_t v4_address(const Session &s, uint32_t host) {
  return (10u << 24) | ((100u + s.link) << 16) | (s.profile << 8) | host;
}
constexpr uint32_t kV4Dns[2] = {0xC0000235, 0xC0000236};  // 192.0.2.53, .54

// 2001:db8:(100+link):(profile)::/64: the gateway ::1, the device ::2.
void v6_address(const Session &s, uint8_t host, uint8_t (&out)[16]) {
  std::memset(out, 0, sizeof out);
  out[0] = 0x20;
  out[1] = 0x01;
  out[2] = 0x0d;
  out[3] = 0xb8;
  out[4] = static_cast<uint8_t>((100 + s.link) >> 8);
  out[5] = static_cast<uint8_t>(100 + s.link);
  out[6] = static_cast<uint8_t>(s.profile >> 8);
  out[7] = static_cast<uint8_t>(s.profile);
  out[15] = host;
}
void v6_dns(int n, uint8_t (&out)[16]) {
  std::memset(out, 0, sizeof out);
  out[0] = 0x20;
  out[1] = 0x01;
  out[2] = 0x0d;
  out[3] = 0xb8;
  out[14] = 0x00;
  out[15] = static_cast<uint8_t>(0x53 + n);
}

wds_link::Setup link_setup(const Session &s) {
  if (s.family == 6) {
    uint8_t a[16], g[16];
    v6_address(s, 2, a);
    v6_address(s, 1, g);
    return {s.link, 6, v6_text(a) + "/64", v6_text(g), s.mtu};
  }
  return {s.link, 4, v4_text(v4_address(s, 2)) + "/30", v4_text(v4_address(s, 1)), s.mtu};
}

wds_pkt_srvc_status_ind_msg_v01 status_ind(int family, uint32_t status) {
  wds_pkt_srvc_status_ind_msg_v01 ind{};
  ind.status.connection_status = status;
  ind.ip_family_valid = 1;
  ind.ip_family = static_cast<uint32_t>(family);
  ind.tech_name_valid = 1;
  ind.tech_name = kTechLte;
  return ind;
}

// Ends a session: its link goes down and its client hears why.
// True while a session (of any client) still uses the link for the family.
bool link_in_use(const State &s, uint32_t link, int family) {
  return std::any_of(s.sessions.begin(), s.sessions.end(), [&](const auto &entry) {
    return entry.second.link == link && entry.second.family == family;
  });
}

// A session's link goes down with the last session that shares it.
void leave_link(const State &s, const Session &session) {
  if (!link_in_use(s, session.link, session.family)) wds_link::down(session.link, session.family);
}

void end_session(State &s, std::map<uint32_t, Session>::iterator it, const StartFailure &why) {
  const Session session = it->second;
  s.sessions.erase(it);
  leave_link(s, session);
  auto ind = status_ind(session.family, WDS_CONNECTION_STATUS_DISCONNECTED_V01);
  ind.call_end_reason_valid = 1;
  ind.call_end_reason = why.reason;
  if (why.verbose_type != 0) {
    ind.verbose_call_end_reason_valid = 1;
    ind.verbose_call_end_reason = {why.verbose_type, why.verbose_reason};
  }
  indicate_to(session.client, QMI_WDS_PKT_SRVC_STATUS_IND_V01, &ind, sizeof ind);
}

// Sessions of clients that were released end with them.
void forget_gone_clients(State &s) {
  for (auto it = s.sessions.begin(); it != s.sessions.end();) {
    if (client_live(it->second.client)) {
      ++it;
      continue;
    }
    const Session gone = it->second;
    it = s.sessions.erase(it);
    leave_link(s, gone);
  }
  for (auto it = s.clients.begin(); it != s.clients.end();)
    it = client_live(it->first) ? std::next(it) : s.clients.erase(it);
}

std::map<uint32_t, Session>::iterator session_of_client(State &s, const void *client) {
  return std::find_if(s.sessions.begin(), s.sessions.end(),
                      [client](const auto &entry) { return entry.second.client == client; });
}

// ---- handlers ------------------------------------------------------------------------

void install(ServiceModule<State> &m);
ServiceModule<State> module("wds", Svc::WDS, factory_state, install);

// Answers Msg with fn(state, client, request, response) under the state's
// lock: the service keeps what it knows of each client.
// The reports queued so far reach their clients; a request made from the
// modem's own thread (inside a callback) cannot wait for that thread.
void deliver_reports() {
  if (!on_modem_thread()) drain();
}

// With kReportFirst the reports it queued reach the client before the
// answer (see start()).
constexpr bool kReportFirst = true;

template <class Msg, class Fn>
void serve_client(Fn fn, bool report_first = false) {
  using Req = typename Msg::Req;
  using Resp = typename Msg::Resp;
  on(Svc::WDS, Msg::id, [fn, report_first](const Request &req, void *resp, size_t len) {
    auto typed = std::make_unique<Resp>();
    const Req request = req.as<Req>();
    module.with_state([&](State &s) { fn(s, req.client, request, *typed); });
    if (report_first) deliver_reports();
    std::memcpy(resp, typed.get(), std::min(len, sizeof(Resp)));
    return 0;
  });
}

// The start: the session, its link, and the connected report. A report of
// the client's own start or stop reaches it before the answer returns, as
// it may from a modem: the library waits 2 s for a report that is late,
// which the test clock makes 20 ms, and a busy scheduler must not decide
// the outcome.
int start(const Request &req, void *resp_buf, size_t len) {
  auto resp = std::make_unique<wds_start_network_interface_resp_msg_v01>();
  const auto request = req.as<wds_start_network_interface_req_msg_v01>();
  module.with_state([&](State &s) {
    forget_gone_clients(s);
    // An answer that comes after the client gave up finds it gone: the
    // modem drops the call with it.
    if (!client_live(req.client)) return refuse_with(*resp, QMI_ERR_INTERNAL_V01);
    if (!s.start_failures.empty()) {
      StartFailure f{};
      const Bytes &bytes = s.start_failures.begin()->second;
      std::memcpy(&f, bytes.data(), std::min(bytes.size(), sizeof f));
      s.start_failures.erase(s.start_failures.begin());
      refuse_with(*resp, kCallFailed);
      resp->call_end_reason_valid = 1;
      resp->call_end_reason = f.reason;
      resp->verbose_call_end_reason_valid = f.verbose_type != 0;
      resp->verbose_call_end_reason = {f.verbose_type, f.verbose_reason};
      return;
    }
    const uint32_t profile = request.profile_index_valid ? request.profile_index : 1;
    Client &client = s.clients[req.client];
    const int family = request.ip_family_preference_valid
                           ? static_cast<int>(request.ip_family_preference)
                           : static_cast<int>(client.family);
    if (s.profiles.count(profile) == 0) {
      refuse_with(*resp, kCallFailed);
      resp->call_end_reason_valid = 1;
      resp->call_end_reason = 1004;
      return;
    }
    if (session_of_client(s, req.client) != s.sessions.end()) {
      refuse_with(*resp, QMI_ERR_NO_EFFECT_V01);
      return;
    }
    const uint32_t handle = s.next_handle++;
    Session session{req.client, profile, family == 6 ? 6 : 4, client.link(), s.mtu};
    auto shared = std::find_if(s.sessions.begin(), s.sessions.end(), [&](const auto &entry) {
      return entry.second.profile == profile && entry.second.family == session.family;
    });
    if (shared != s.sessions.end()) {
      // The call is up already, made by another client (another process on
      // the device): this client joins it, on its link, and the call lasts
      // until its last client stops.
      session.link = shared->second.link;
      session.mtu = shared->second.mtu;
      s.sessions[handle] = session;
      resp->pkt_data_handle = handle;
      auto ind = status_ind(session.family, WDS_CONNECTION_STATUS_CONNECTED_V01);
      indicate_to(req.client, QMI_WDS_PKT_SRVC_STATUS_IND_V01, &ind, sizeof ind);
      return;
    }
    s.sessions[handle] = session;
    resp->pkt_data_handle = handle;
    wds_link::up(link_setup(session));
    auto ind = status_ind(session.family, WDS_CONNECTION_STATUS_CONNECTED_V01);
    indicate_to(req.client, QMI_WDS_PKT_SRVC_STATUS_IND_V01, &ind, sizeof ind);
  });
  deliver_reports();
  std::memcpy(resp_buf, resp.get(), std::min(len, sizeof *resp));
  return 0;
}

void fill_runtime(const Session &session, bool link_local,
                  wds_get_runtime_settings_resp_msg_v01 &resp) {
  resp.mtu_valid = 1;
  resp.mtu = session.mtu;
  if (session.family == 4) {
    resp.ipv4_address_valid = 1;
    resp.ipv4_address = v4_address(session, 2);
    resp.ipv4_gateway_addr_valid = 1;
    resp.ipv4_gateway_addr = v4_address(session, 1);
    resp.ipv4_subnet_mask_valid = 1;
    resp.ipv4_subnet_mask = 0xFFFFFFFC;
    resp.primary_DNS_IPv4_address_valid = 1;
    resp.primary_DNS_IPv4_address = kV4Dns[0];
    resp.secondary_DNS_IPv4_address_valid = 1;
    resp.secondary_DNS_IPv4_address = kV4Dns[1];
    return;
  }
  resp.ipv6_addr_valid = 1;
  v6_address(session, 2, resp.ipv6_addr.ipv6_addr);
  if (link_local) {
    // The interface id alone, under the link-local prefix.
    std::memset(resp.ipv6_addr.ipv6_addr, 0, 8);
    resp.ipv6_addr.ipv6_addr[0] = 0xfe;
    resp.ipv6_addr.ipv6_addr[1] = 0x80;
  }
  resp.ipv6_addr.ipv6_prefix_length = 64;
  resp.ipv6_gateway_addr_valid = 1;
  v6_address(session, 1, resp.ipv6_gateway_addr.ipv6_addr);
  resp.ipv6_gateway_addr.ipv6_prefix_length = 64;
  resp.primary_dns_IPv6_address_valid = 1;
  v6_dns(0, resp.primary_dns_IPv6_address);
  resp.secondary_dns_IPv6_address_valid = 1;
  v6_dns(1, resp.secondary_dns_IPv6_address);
}

template <class Resp>
void profile_missing(Resp &resp) {
  refuse_with(resp, kExtendedInternal);
  resp.extended_error_code_valid = 1;
  resp.extended_error_code = kProfileNotFound;
}

bool valid_index(uint32_t index) { return index >= 1 && index <= kProfileMax; }

void modify(State &s, const wds_modify_profile_settings_req_msg_v01 &req,
            wds_modify_profile_settings_resp_msg_v01 &resp) {
  const uint32_t index = req.profile.profile_index;
  if (req.profile.profile_type != WDS_PROFILE_TYPE_3GPP_V01 || !valid_index(index))
    return profile_missing(resp);
  // The vendor's creation of an empty profile and this modification end in
  // one stored profile: a profile the store lacks is made here.
  StoredProfile p = s.profiles.count(index) ? profile_of(s.profiles[index]) : StoredProfile{};
  if (req.profile_name_valid) put_text(p.name, field_text(req.profile_name));
  if (req.apn_name_valid) put_text(p.apn, field_text(req.apn_name));
  if (req.pdp_type_valid) p.pdp_type = req.pdp_type;
  if (req.username_valid) put_text(p.username, field_text(req.username));
  if (req.password_valid) put_text(p.password, field_text(req.password));
  if (req.authentication_preference_valid) p.auth = req.authentication_preference;
  take_optional(req.ipv4_address_preference_valid, req.ipv4_address_preference, p.ipv4_pref_valid, p.ipv4_pref);
  take_optional(req.pdp_data_compression_type_valid, req.pdp_data_compression_type, p.data_comp_valid, p.data_comp);
  take_optional(req.pdp_hdr_compression_type_valid, req.pdp_hdr_compression_type, p.hdr_comp_valid, p.hdr_comp);
  take_optional(req.im_cn_flag_valid, req.im_cn_flag, p.im_cn_valid, p.im_cn);
  take_optional(req.apn_disabled_flag_valid, req.apn_disabled_flag, p.apn_disabled_valid, p.apn_disabled);
  take_optional(req.clat_enabled_valid, req.clat_enabled, p.clat_valid, p.clat);
  if (req.persistent_valid) p.persistent = req.persistent;
  s.profiles[index] = stored(p);
}

void settings_of(const StoredProfile &p, wds_get_profile_settings_resp_msg_v01 &resp) {
  resp.profile_name_valid = 1;
  std::memcpy(resp.profile_name, p.name, sizeof resp.profile_name);
  resp.pdp_type_valid = 1;
  resp.pdp_type = p.pdp_type;
  resp.apn_name_valid = 1;
  std::memcpy(resp.apn_name, p.apn, sizeof resp.apn_name);
  resp.username_valid = 1;
  std::memcpy(resp.username, p.username, sizeof resp.username);
  resp.password_valid = 1;
  std::memcpy(resp.password, p.password, sizeof resp.password);
  resp.authentication_preference_valid = 1;
  resp.authentication_preference = static_cast<uint8_t>(p.auth);
  resp.ipv4_address_preference_valid = p.ipv4_pref_valid;
  resp.ipv4_address_preference = p.ipv4_pref;
  resp.pdp_data_compression_type_valid = p.data_comp_valid;
  resp.pdp_data_compression_type = p.data_comp;
  resp.pdp_hdr_compression_type_valid = p.hdr_comp_valid;
  resp.pdp_hdr_compression_type = p.hdr_comp;
  resp.im_cn_flag_valid = p.im_cn_valid;
  resp.im_cn_flag = p.im_cn;
  resp.apn_disabled_flag_valid = p.apn_disabled_valid;
  resp.apn_disabled_flag = p.apn_disabled;
  resp.persistent_valid = 1;
  resp.persistent = p.persistent;
  resp.clat_enabled_valid = p.clat_valid;
  resp.clat_enabled = p.clat;
}

void install(ServiceModule<State> &m) {
  wds_link::reset();
  m.serve<data::SetEventReport>([](State &, const auto &, auto &) {});
  serve_client<data::BindMuxDataPort>([](State &s, const void *client, const auto &req, auto &resp) {
    if (!req.mux_id_valid || req.mux_id == 0) return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
    s.clients[client].mux_id = req.mux_id;
  });
  serve_client<data::SetClientIpFamilyPref>(
      [](State &s, const void *client, const auto &req, auto &resp) {
        if (req.ip_preference != 4 && req.ip_preference != 6)
          return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
        s.clients[client].family = req.ip_preference;
      });
  on(Svc::WDS, data::StartNetworkInterface::id, start);
  serve_client<data::StopNetworkInterface>(
      [](State &s, const void *client, const auto &req, auto &resp) {
        auto it = s.sessions.find(req.pkt_data_handle);
        if (it == s.sessions.end() || it->second.client != client)
          return refuse_with(resp, kInvalidHandle);
        end_session(s, it, {kClientEnded, WDS_VCER_TYPE_INTERNAL_V01, kClientEnded});
      },
      kReportFirst);
  serve_client<data::RuntimeSettings>([](State &s, const void *client, const auto &, auto &resp) {
    auto it = session_of_client(s, client);
    if (it == s.sessions.end()) return refuse_with(resp, kOutOfCall);
    fill_runtime(it->second, s.link_local != 0, resp);
  });
  m.serve<data::ModifyProfileSettings>(modify);
  m.serve<data::DeleteProfile>([](State &s, const auto &req, auto &resp) {
    if (s.profiles.erase(req.profile.profile_index) == 0) profile_missing(resp);
  });
  m.serve<data::GetProfileSettings>([](State &s, const auto &req, auto &resp) {
    auto it = s.profiles.find(req.profile.profile_index);
    if (req.profile.profile_type != WDS_PROFILE_TYPE_3GPP_V01 || it == s.profiles.end())
      return profile_missing(resp);
    settings_of(profile_of(it->second), resp);
  });
  m.serve<data::GetProfileList>([](State &s, const auto &, auto &resp) {
    for (const auto &[index, bytes] : s.profiles) {
      if (resp.profile_list_len == QMI_WDS_PROFILE_LIST_MAX_V01) break;
      wds_profile_info_type_v01 &entry = resp.profile_list[resp.profile_list_len++];
      entry.profile_type = WDS_PROFILE_TYPE_3GPP_V01;
      entry.profile_index = static_cast<uint8_t>(index);
      std::memcpy(entry.profile_name, profile_of(bytes).name, sizeof entry.profile_name);
    }
  });
  m.serve<data::GetLteAttachParams>([](State &s, const NoRequest &, auto &resp) {
    resp.apn_string_valid = 1;
    put_text(resp.apn_string, s.attach_apn);
    resp.ip_type_valid = 1;
    // The attach parameters code the IP type as 0 IPv4, 1 IPv6, 2 IPv4v6.
    resp.ip_type = s.attach_ip_type;
  });
  m.serve<data::SetAttachProfileInfo>([](State &s, const auto &req, auto &resp) {
    if (!req.pdp_type_valid || req.pdp_type > WDS_PDP_TYPE_PDP_IPV4V6_V01 ||
        req.pdp_type == WDS_PDP_TYPE_PDP_PPP_V01)
      return refuse_with(resp, QMI_ERR_INVALID_ARG_V01);
    static constexpr uint32_t kAttachType[] = {0, 0, 1, 2};
    s.attach_ip_type = kAttachType[req.pdp_type];
    if (req.ip_support_type_valid) s.attach_ip_support = req.ip_support_type;
    if (req.apn_name_valid) s.attach_apn = field_text(req.apn_name);
    if (req.authentication_preference_valid) s.attach_auth = req.authentication_preference;
    if (req.username_valid) s.attach_username = field_text(req.username);
    if (req.password_valid) s.attach_password = field_text(req.password);
  });
}

}  // namespace

namespace wds {

std::vector<ProfileView> profiles() {
  return module.with_state([](State &s) {
    std::vector<ProfileView> out;
    for (const auto &[index, bytes] : s.profiles) {
      StoredProfile p = profile_of(bytes);
      out.push_back({index, field_text(p.name), field_text(p.apn), p.pdp_type, p.auth,
                     field_text(p.username), field_text(p.password), p.clat_valid != 0,
                     p.clat != 0});
    }
    return out;
  });
}

void restore_profiles() {
  module.with_state([](State &s) { factory_profiles(s); });
}

void fill_profiles(uint32_t count) {
  module.with_state([count](State &s) {
    s.profiles.clear();
    for (uint32_t i = 1; i <= count; ++i) {
      std::string name = "profile" + std::to_string(i);
      s.profiles[i] = stored(named(name.c_str(), ("apn" + std::to_string(i)).c_str(),
                                   WDS_PDP_TYPE_PDP_IPV4_V01));
    }
  });
}

std::vector<SessionView> sessions() {
  return module.with_state([](State &s) {
    forget_gone_clients(s);
    std::vector<SessionView> out;
    for (const auto &[handle, session] : s.sessions) {
      wds_link::Setup setup = link_setup(session);
      std::vector<std::string> dns;
      if (session.family == 4) {
        dns = {v4_text(kV4Dns[0]), v4_text(kV4Dns[1])};
      } else {
        uint8_t d[16];
        v6_dns(0, d);
        dns.push_back(v6_text(d));
        v6_dns(1, d);
        dns.push_back(v6_text(d));
      }
      out.push_back({handle, session.profile, session.family, session.link, setup.address,
                     setup.gateway, dns, session.mtu});
    }
    return out;
  });
}

void fail_next_start(uint32_t call_end_reason, uint32_t verbose_type, uint32_t verbose_reason,
                     int count) {
  module.with_state([&](State &s) {
    const StartFailure f{call_end_reason, verbose_type, verbose_reason};
    const auto *bytes = reinterpret_cast<const uint8_t *>(&f);
    uint32_t next = s.start_failures.empty() ? 0 : s.start_failures.rbegin()->first + 1;
    for (int i = 0; i < count; ++i) s.start_failures[next++] = Bytes(bytes, bytes + sizeof f);
  });
}

bool drop(uint32_t profile, int family, uint32_t call_end_reason, uint32_t verbose_type,
          uint32_t verbose_reason) {
  return module.with_state([&](State &s) {
    // The network ends the call for every client that shares it.
    bool dropped = false;
    for (;;) {
      auto it = std::find_if(s.sessions.begin(), s.sessions.end(), [&](const auto &entry) {
        return entry.second.profile == profile && entry.second.family == family;
      });
      if (it == s.sessions.end()) return dropped;
      end_session(s, it, {call_end_reason, verbose_type, verbose_reason});
      dropped = true;
    }
  });
}

void report_link_local(bool on) {
  module.with_state([on](State &s) { s.link_local = on ? 1 : 0; });
}

void set_mtu(uint32_t mtu) {
  module.with_state([mtu](State &s) { s.mtu = mtu; });
}

void set_port(uint32_t link, int mux_id) { wds_link::set_port(link, mux_id); }
void set_port_missing(bool missing) { wds_link::set_port_missing(missing); }
void set_network_manager(bool on) { wds_link::set_enabled(on); }
void settle_links() { wds_link::settle(); }
std::vector<std::string> links() { return wds_link::links(); }

}  // namespace wds
}  // namespace vornsim

namespace vornsim::wds {

int client_ip_family(const void *client) {
  return module.with_state([client](State &s) {
    auto it = s.clients.find(client);
    return it == s.clients.end() ? 0 : static_cast<int>(it->second.family);
  });
}

bool family_has_session(int family) {
  return module.with_state([family](State &s) {
    forget_gone_clients(s);
    return std::any_of(s.sessions.begin(), s.sessions.end(),
                       [family](const auto &entry) { return entry.second.family == family; });
  });
}

}  // namespace vornsim::wds
