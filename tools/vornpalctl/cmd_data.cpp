// The data family: profiles on the modem, calls brought up and down, and
// what a call has (interface, addresses, gateway, DNS servers, MTU).
//
// A call lives as long as the WDS clients of the process that made it: the
// modem ends it when the run that connected exits. So `data connect` shows
// the call once it is up, keeps it for --hold seconds and takes it down;
// `data disconnect`, `data status` and `data settings` answer for the calls
// of the run they are in.
#include <arpa/inet.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <vornpal/data.h>
#include <vornpal/network.h>

#include "ctl.h"
#include "event_inbox.h"

namespace {

using Received = ctl::EventInbox::Event;

ctl::EventInbox inbox;
ctl::Emit watch_emit;

const char *state_name(int state) {
  static constexpr const char *kStates[] = {"down", "changing", "up"};
  return state >= 0 && state <= 2 ? kStates[state] : "unknown";
}

std::string describe(int id, const void *data, int size) {
  char text[200];
  if (id == VORN_DATA_EVENT_CALL_STATUS && size >= static_cast<int>(sizeof(data_status_event))) {
    const auto *e = static_cast<const data_status_event *>(data);
    std::snprintf(text, sizeof text, "profile %d IPv%d %s (failure type %d, code %d, verbose %d/%d)",
                  e->profileIndex, e->ip_call_type == 0 ? 4 : 6, state_name(e->data_state), e->failureType,
                  e->failureCode, e->verboseType, e->verboseCode);
    return text;
  }
  static const std::map<int, const char *> kNames = {
      {VORN_DATA_EVENT_CONNECT_DONE, "connected"},
      {VORN_DATA_EVENT_CONNECT_FAILED, "connect failed"},
      {VORN_DATA_EVENT_DISCONNECT_DONE, "disconnected"},
      {VORN_DATA_EVENT_DISCONNECT_FAILED, "disconnect failed"},
  };
  auto name = kNames.find(id);
  if (name != kNames.end() && size >= 4) {
    uint32_t cid = 0;
    std::memcpy(&cid, data, sizeof cid);
    std::snprintf(text, sizeof text, "profile %u %s", cid, name->second);
    return text;
  }
  return "event " + std::to_string(id);
}

void on_event(int id, void *data, int size, void *) {
  if (watch_emit) watch_emit("data", describe(id, data, size));
  inbox.add(static_cast<uint32_t>(id), data, size > 0 ? static_cast<size_t>(size) : 0);
}

// The family, started once for the command, with the event collector.
bool start_family(ctl::Output &out) {
  static int started = [] {
    int rc = vorn_data_pal_init();
    vorn_data_pal_event_register(on_event, nullptr);
    return rc;
  }();
  if (started != 0) ctl::fail(out, "the data family did not start", started);
  return started == 0;
}

bool profile_arg(const ctl::Args &args, size_t index, int &cid) {
  long long value = 0;
  if (!ctl::number_arg(args, index, 0, 255, value)) return false;
  cid = static_cast<int>(value);
  return true;
}

bool has_flag(const ctl::Args &args, const char *flag) {
  for (const std::string &arg : args)
    if (arg == flag) return true;
  return false;
}

// The value after `--name`, or `fallback`.
std::string option(const ctl::Args &args, const std::string &name, const std::string &fallback) {
  for (size_t i = 0; i + 1 < args.size(); ++i)
    if (args[i] == name) return args[i + 1];
  return fallback;
}

const char *pdp_name(uint32_t type) {
  static constexpr const char *kTypes[] = {"ipv4", "ipv6", "ipv4v6", "ppp"};
  return type < 4 ? kTypes[type] : "unknown";
}

std::string auth_name(uint32_t auth) {
  static constexpr const char *kAuth[] = {"none", "pap", "chap", "pap+chap"};
  return auth < 4 ? kAuth[auth] : std::to_string(auth);
}

std::string text_of(const char *field, size_t size) { return std::string(field, strnlen(field, size)); }

void show_profile(ctl::Output &out, const data_profile_settings &s, const std::string &prefix) {
  out.field(prefix + "apn", text_of(s.apn, sizeof s.apn));
  out.field(prefix + "type", pdp_name(s.pdp_type));
  out.field(prefix + "auth", auth_name(s.authentication_preference));
  out.field(prefix + "username", text_of(s.username, sizeof s.username));
  if (s.clat_valid) out.field(prefix + "clat", s.clat_enabled != 0);
}

int profile_list(const ctl::Args &, ctl::Output &out) {
  if (!start_family(out)) return 1;
  data_profile_list list{};
  int rc = vorn_data_pal_get_profile_list(&list);
  if (rc != 0) return ctl::fail(out, "the profile list cannot be read", rc);
  for (uint32_t i = 0; i < list.count && i < VORN_DATA_PROFILE_MAX; ++i) {
    const data_profile_settings &s = list.profiles[i];
    const std::string name = text_of(s.profile_name, sizeof s.profile_name);
    if (out.json()) {
      show_profile(out, s, "profile" + std::to_string(s.cid) + "_");
      out.field("profile" + std::to_string(s.cid) + "_name", name);
      continue;
    }
    char line[200];
    std::snprintf(line, sizeof line, "%2u %-16s %-24s %-7s %s", s.cid, name.c_str(),
                  text_of(s.apn, sizeof s.apn).c_str(), pdp_name(s.pdp_type),
                  auth_name(s.authentication_preference).c_str());
    out.line(line);
  }
  return 0;
}

int profile_get(const ctl::Args &args, ctl::Output &out) {
  int cid = 0;
  if (args.size() != 1 || !profile_arg(args, 0, cid)) return ctl::fail(out, "usage: data profile get PROFILE", 2);
  if (!start_family(out)) return 1;
  data_profile_settings s{};
  int rc = vorn_data_pal_read_connect_setting(cid, &s);
  if (rc != 0) return ctl::fail(out, "profile " + std::to_string(cid) + " cannot be read", rc);
  out.field("profile", cid);
  show_profile(out, s, "");
  return 0;
}

int profile_set(const ctl::Args &args, ctl::Output &out) {
  static const char *kUsage =
      "usage: data profile set PROFILE APN [--type ipv4|ipv6|ipv4v6|ppp] [--auth none|pap|chap|both] "
      "[--user NAME] [--password SECRET] [--clat on|off]";
  int cid = 0;
  if (args.size() < 2 || !profile_arg(args, 0, cid)) return ctl::fail(out, kUsage, 2);
  static const std::map<std::string, uint32_t> kTypes = {
      {"ipv4", VORN_DATA_PDP_IPV4}, {"ipv6", VORN_DATA_PDP_IPV6}, {"ipv4v6", VORN_DATA_PDP_IPV4V6}, {"ppp", VORN_DATA_PDP_PPP}};
  static const std::map<std::string, uint32_t> kAuth = {{"none", 0}, {"pap", 1}, {"chap", 2}, {"both", 3}};
  auto type = kTypes.find(option(args, "--type", "ipv4v6"));
  auto auth = kAuth.find(option(args, "--auth", "none"));
  const std::string clat = option(args, "--clat", "");
  const std::string user = option(args, "--user", "");
  const std::string password = option(args, "--password", "");
  if (type == kTypes.end() || auth == kAuth.end() || (!clat.empty() && clat != "on" && clat != "off") ||
      args[1].size() >= sizeof(data_profile_settings::apn) || user.size() >= 65 || password.size() >= 65)
    return ctl::fail(out, kUsage, 2);
  if (!start_family(out)) return 1;
  data_profile_settings s{};
  std::snprintf(s.apn, sizeof s.apn, "%s", args[1].c_str());
  s.pdp_type = type->second;
  s.authentication_preference = auth->second;
  std::snprintf(s.username, sizeof s.username, "%s", user.c_str());
  std::snprintf(s.password, sizeof s.password, "%s", password.c_str());
  s.clat_valid = clat.empty() ? 0 : 1;
  s.clat_enabled = clat == "on" ? 1 : 0;
  int rc = vorn_data_pal_write_connect_setting(cid, &s);
  if (rc != 0) return ctl::fail(out, "the modem did not take profile " + std::to_string(cid), rc);
  return profile_get({args[0]}, out);
}

int profile_delete(const ctl::Args &args, ctl::Output &out) {
  int cid = 0;
  if (args.size() != 1 || !profile_arg(args, 0, cid)) return ctl::fail(out, "usage: data profile delete PROFILE", 2);
  if (!start_family(out)) return 1;
  int rc = vorn_data_pal_delete_profile(cid);
  if (rc != 0) return ctl::fail(out, "profile " + std::to_string(cid) + " cannot be deleted", rc);
  out.field("deleted", cid);
  return 0;
}

std::string v4_text(uint32_t host_order) {
  in_addr a{htonl(host_order)};
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &a, text, sizeof text) != nullptr ? text : "";
}

std::string v6_text(const uint8_t *bytes, int prefix = -1) {
  char text[INET6_ADDRSTRLEN];
  if (inet_ntop(AF_INET6, bytes, text, sizeof text) == nullptr) return "";
  return prefix >= 0 ? std::string(text) + "/" + std::to_string(prefix) : text;
}

// The settings of both families; false when neither has an address.
bool show_settings(int cid, ctl::Output &out) {
  constexpr uint32_t kAll = VORN_DATA_INFO_DNS | VORN_DATA_INFO_GATEWAY | VORN_DATA_INFO_MTU | VORN_DATA_INFO_INTERFACE;
  connect_info v4{}, v6{};
  const bool has4 = vorn_data_pal_get_runtime_connect_info(cid, kAll | VORN_DATA_INFO_ADDRESS, 0, &v4) == 0;
  if (!has4) vorn_data_pal_get_runtime_connect_info(cid, kAll, 0, &v4);
  const bool has6 = vorn_data_pal_get_runtime_connect_info(cid, kAll | VORN_DATA_INFO_ADDRESS, 1, &v6) == 0;
  if (!has6) vorn_data_pal_get_runtime_connect_info(cid, kAll, 1, &v6);
  out.field("profile", cid);
  out.field("interface", text_of(v4.interfaceName, sizeof v4.interfaceName));
  if (has4) {
    out.field("ipv4_address", v4_text(v4.ipv4_address));
    if (v4.ipv4_gateway_valid) out.field("ipv4_gateway", v4_text(v4.ipv4_gateway));
    std::string dns;
    if (v4.ipv4_dns_primary_valid) dns = v4_text(v4.ipv4_dns_primary);
    if (v4.ipv4_dns_secondary_valid) dns += (dns.empty() ? "" : " ") + v4_text(v4.ipv4_dns_secondary);
    out.field("ipv4_dns", dns);
    out.field("ipv4_mtu", static_cast<long long>(v4.mtu));
  }
  if (has6) {
    out.field("ipv6_address", v6_text(v6.ipv6_address, v6.ipv6_prefix_length));
    if (v6.ipv6_gateway_valid) out.field("ipv6_gateway", v6_text(v6.ipv6_gateway));
    std::string dns;
    if (v6.ipv6_dns_primary_valid) dns = v6_text(v6.ipv6_dns_primary);
    if (v6.ipv6_dns_secondary_valid) dns += (dns.empty() ? "" : " ") + v6_text(v6.ipv6_dns_secondary);
    out.field("ipv6_dns", dns);
    out.field("ipv6_mtu", static_cast<long long>(v6.mtu));
  }
  return has4 || has6;
}

int settings(const ctl::Args &args, ctl::Output &out) {
  int cid = 0;
  if (args.size() != 1 || !profile_arg(args, 0, cid)) return ctl::fail(out, "usage: data settings PROFILE", 2);
  if (!start_family(out)) return 1;
  if (!show_settings(cid, out)) out.field("call", "down (no call of this run)");
  return 0;
}

int status(const ctl::Args &args, ctl::Output &out) {
  int cid = 0;
  if (args.size() != 1 || !profile_arg(args, 0, cid)) return ctl::fail(out, "usage: data status PROFILE", 2);
  if (!start_family(out)) return 1;
  connect_info v4{}, v6{};
  out.field("profile", cid);
  out.field("ipv4", vorn_data_pal_get_runtime_connect_info(cid, VORN_DATA_INFO_ADDRESS, 0, &v4) == 0 ? "up" : "down");
  out.field("ipv6", vorn_data_pal_get_runtime_connect_info(cid, VORN_DATA_INFO_ADDRESS, 1, &v6) == 0 ? "up" : "down");
  return 0;
}

// The call-status events of the run after `seen`, printed.
void show_events(size_t seen, ctl::Output &out) {
  for (const Received &e : inbox.since(seen))
    out.line(describe(static_cast<int>(e.id), e.data.data(), static_cast<int>(e.data.size())));
}

// Families of the profile's call that are up in this run.
size_t families_up(int cid) {
  size_t up = 0;
  for (int family = 0; family < 2; ++family) {
    connect_info info{};
    up += vorn_data_pal_get_runtime_connect_info(cid, VORN_DATA_INFO_ADDRESS, family, &info) == 0;
  }
  return up;
}

int disconnect_call(int cid, bool async, ctl::Output &out) {
  const size_t families = families_up(cid);
  const size_t seen = inbox.count();
  int rc = async ? vorn_data_pal_async_disconnect(cid) : vorn_data_pal_disconnect(cid);
  if (rc != 0) return ctl::fail(out, "no call of profile " + std::to_string(cid) + " to end in this run", rc);
  // The call is down once its events came: event 0 of each family that was
  // up, and event 4 or 5 of the thread.
  inbox.wait(seen, 15, [async, families](const std::vector<Received> &got) {
    size_t status = 0;
    bool thread_done = !async;
    for (const Received &e : got) {
      status += e.id == VORN_DATA_EVENT_CALL_STATUS;
      thread_done = thread_done || e.id == VORN_DATA_EVENT_DISCONNECT_DONE ||
                    e.id == VORN_DATA_EVENT_DISCONNECT_FAILED;
    }
    return thread_done && status >= families;
  });
  show_events(seen, out);
  return 0;
}

int connect(const ctl::Args &args, ctl::Output &out) {
  static const char *kUsage = "usage: data connect PROFILE [--async] [--hold SECONDS]";
  int cid = 0;
  long long hold = 0;
  if (args.empty() || !profile_arg(args, 0, cid) ||
      !ctl::parse_number(option(args, "--hold", "0"), hold) || hold < 0)
    return ctl::fail(out, kUsage, 2);
  const bool async = has_flag(args, "--async");
  if (!start_family(out)) return 1;
  // The asynchronous connect asks the network family whether the device is
  // registered, as in a daemon that runs both.
  if (async && vorn_network_pal_init() != 0) return ctl::fail(out, "the network family did not start", -1);
  // The call takes the profile's type as the modem has it.
  data_profile_settings stored{};
  vorn_data_pal_read_connect_setting(cid, &stored);
  const size_t seen = inbox.count();
  int rc = async ? vorn_data_pal_async_connect(cid) : vorn_data_pal_connect(cid);
  if (rc != 0 && rc != VORN_DATA_ALREADY_CONNECTED) {
    show_events(seen, out);
    return ctl::fail(out, "profile " + std::to_string(cid) + " did not connect", rc);
  }
  // Up once its interface has settled: event 0 (or 2 and 3 of the thread).
  inbox.wait(seen, 30, [async](const std::vector<Received> &events) {
    for (const Received &e : events)
      if (async ? e.id == VORN_DATA_EVENT_CONNECT_DONE || e.id == VORN_DATA_EVENT_CONNECT_FAILED
                : e.id == VORN_DATA_EVENT_CALL_STATUS)
        return true;
    return false;
  });
  // A dual-stack call has an event for each family.
  const size_t families = stored.pdp_type == VORN_DATA_PDP_IPV4V6 ? 2 : 1;
  inbox.wait(seen, 15, [families](const std::vector<Received> &events) {
    size_t status = 0;
    for (const Received &e : events) status += e.id == VORN_DATA_EVENT_CALL_STATUS;
    return status >= families;
  });
  show_events(seen, out);
  show_settings(cid, out);
  if (hold > 0) std::this_thread::sleep_for(std::chrono::seconds(hold));
  // The run ends, and the modem would end the call with its clients: end it
  // as a daemon does.
  return disconnect_call(cid, false, out);
}

int disconnect(const ctl::Args &args, ctl::Output &out) {
  int cid = 0;
  if (args.empty() || !profile_arg(args, 0, cid)) return ctl::fail(out, "usage: data disconnect PROFILE [--async]", 2);
  if (!start_family(out)) return 1;
  return disconnect_call(cid, has_flag(args, "--async"), out);
}

ctl::Registrar reg({
    {"data profile list", "", "the modem's profiles", profile_list, "data profile list"},
    {"data profile get", "PROFILE", "one profile's settings", profile_get, "data profile get 1"},
    {"data profile set", "PROFILE APN [--type T] [--auth A] [--user U] [--password P] [--clat on|off]",
     "write a profile (type ipv4|ipv6|ipv4v6|ppp, auth none|pap|chap|both)", profile_set,
     "data profile set 2 internet.example --type ipv4v6 --auth chap --user web --password web"},
    {"data profile delete", "PROFILE", "delete a profile", profile_delete, "data profile delete 2"},
    {"data connect", "PROFILE [--async] [--hold SECONDS]",
     "bring a call up, show what it has, keep it for SECONDS and end it", connect,
     "data connect 1 --hold 5"},
    {"data disconnect", "PROFILE [--async]", "end a call of this run", disconnect, "data disconnect 1"},
    {"data status", "PROFILE", "which families of the profile's call are up in this run", status, "data status 1"},
    {"data settings", "PROFILE", "interface, addresses, gateway, DNS and MTU of the profile's call", settings,
     "data settings 1"},
});

void start_watch(const ctl::Emit &emit) {
  watch_emit = emit;
  ctl::Output quiet(false);
  start_family(quiet);
}

ctl::WatchRegistrar watch_source({"data", start_watch});

}  // namespace
