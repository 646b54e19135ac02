// The run-time settings of a call (addresses, gateways, DNS servers, MTU):
// read from the modem once a session is up, kept in the profile's context
// until the call ends, and handed to clients on request.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <strings.h>

#include <vornpal/data.h>
#include <vornpal/strings.h>

#include "data/state.h"
#include "foundation/log_site.h"

namespace vorn::data {
namespace {

constexpr uint8_t kPrefixLength = 64;

int GetRuntimeSettings(qmi_client_type client, wds_get_runtime_settings_resp_msg_v01 &resp) {
  if (client == nullptr) {
    VORN_LOG_AS("GetRuntimeSettings", VORN_ERR, "wdsClient is NULL !\n");
    return VORN_FAILURE;
  }
  wds_get_runtime_settings_req_msg_v01 req{};
  req.requested_settings_valid = 1;
  req.requested_settings = kRuntimeMask;
  int rc = qmi::send_on<RuntimeSettings>(client, req, resp).verdict;
  mdc_qmi_ReleaseWdsClient(client);
  return rc;
}

void copy_v4(runtime_settings &s, RuntimeFlag flag, uint32_t &to, uint8_t valid, uint32_t value) {
  if (!valid) return;
  to = value;
  s.valid[flag] = 1;
}

void copy_v6(runtime_settings &s, RuntimeFlag flag, uint8_t (&to)[16], uint8_t valid,
             const uint8_t (&value)[16]) {
  if (!valid) return;
  std::memcpy(to, value, sizeof to);
  s.valid[flag] = 1;
}

void ConvertIPv6NumToStr(const uint8_t (&address)[16], char (&text)[INET6_ADDRSTRLEN]) {
  if (inet_ntop(AF_INET6, address, text, sizeof text) == nullptr) text[0] = '\0';
}

// The first global IPv6 address of an interface whose name begins with
// `name`; false when there is none.
bool get_global_ipv6addr(const char *name, uint8_t (&address)[16]) {
  ifaddrs *list = nullptr;
  if (getifaddrs(&list) != 0) {
    VORN_LOG(VORN_ERR, "getifaddrs failed\n");
    return false;
  }
  std::unique_ptr<ifaddrs, void (*)(ifaddrs *)> owner(list, freeifaddrs);
  for (ifaddrs *it = list; it != nullptr; it = it->ifa_next) {
    if (it->ifa_addr == nullptr || it->ifa_addr->sa_family != AF_INET6) continue;
    if (std::strncmp(it->ifa_name, name, std::strlen(name)) != 0) continue;
    const auto *in6 = reinterpret_cast<const sockaddr_in6 *>(it->ifa_addr);
    const uint8_t *bytes = in6->sin6_addr.s6_addr;
    const uint16_t head = static_cast<uint16_t>((bytes[0] << 8) | bytes[1]);
    if ((head & 0xFFC0) == 0xFE80) continue;
    std::memcpy(address, bytes, sizeof address);
    char text[INET6_ADDRSTRLEN];
    ConvertIPv6NumToStr(address, text);
    VORN_LOG(VORN_INFO, "Iface :%s ---global addr %s----\n", it->ifa_name, text);
    return true;
  }
  return false;
}

// The address of the family into `info`; false when the call has none.
bool copy_address(profile_ctx *ctx, int ip_family, const char *name, connect_info &info) {
  std::unique_lock<std::mutex> lock(context_mutex());
  runtime_settings &s = ctx->runtime.settings;
  if (ip_family == 0) {
    if (!s.valid[kV4Address]) return false;
    info.ipv4_address_valid = 1;
    info.ipv4_address = s.ipv4_address;
    return true;
  }
  if (!s.valid[kV6Address]) return false;
  info.ipv6_address_valid = 1;
  std::memcpy(info.ipv6_address, s.ipv6_address, sizeof info.ipv6_address);
  info.ipv6_prefix_length = kPrefixLength;
  lock.unlock();
  char text[INET6_ADDRSTRLEN];
  ConvertIPv6NumToStr(info.ipv6_address, text);
  if (strncasecmp(text, "FE80", 4) != 0) return true;
  // The modem may give the link-local address; the interface has the one
  // the network's prefix made.
  uint8_t global[16];
  if (!get_global_ipv6addr(name, global)) return true;
  std::memcpy(info.ipv6_address, global, sizeof global);
  lock.lock();
  std::memcpy(s.ipv6_address, global, sizeof global);
  return true;
}

void copy_gateway(const runtime_settings &s, int ip_family, connect_info &info) {
  if (ip_family == 0 && s.valid[kV4Gateway]) {
    info.ipv4_gateway_valid = 1;
    info.ipv4_gateway = s.ipv4_gateway;
  } else if (ip_family == 1 && s.valid[kV6Gateway]) {
    info.ipv6_gateway_valid = 1;
    std::memcpy(info.ipv6_gateway, s.ipv6_gateway, sizeof info.ipv6_gateway);
    info.ipv6_gateway_prefix_length = kPrefixLength;
  }
}

void copy_dns(const runtime_settings &s, int ip_family, connect_info &info) {
  if (ip_family == 0) {
    if (s.valid[kV4DnsPrimary]) {
      info.ipv4_dns_primary_valid = 1;
      info.ipv4_dns_primary = s.ipv4_dns_primary;
    }
    if (s.valid[kV4DnsSecondary]) {
      info.ipv4_dns_secondary_valid = 1;
      info.ipv4_dns_secondary = s.ipv4_dns_secondary;
    }
  } else if (ip_family == 1) {
    if (s.valid[kV6DnsPrimary]) {
      info.ipv6_dns_primary_valid = 1;
      std::memcpy(info.ipv6_dns_primary, s.ipv6_dns_primary, sizeof info.ipv6_dns_primary);
    }
    if (s.valid[kV6DnsSecondary]) {
      info.ipv6_dns_secondary_valid = 1;
      std::memcpy(info.ipv6_dns_secondary, s.ipv6_dns_secondary, sizeof info.ipv6_dns_secondary);
    }
  }
}

}  // namespace

void sync_data_info(profile_ctx *ctx, int ipType) {
  if (ctx == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid parameter!\n");
    return;
  }
  VORN_LOG(VORN_INFO, "ip_family:%d, profile:%d!\n", ipType, ctx->profileIndex);
  qmi_client_type client = GetWdsClient(ctx->profileIndex, ipType, false, false);
  auto resp = std::make_unique<wds_get_runtime_settings_resp_msg_v01>();
  int rc = GetRuntimeSettings(client, *resp);
  VORN_LOG(VORN_INFO, "GetRuntimeSettings return %d!\n", rc);
  if (rc != 0) return;
  const wds_get_runtime_settings_resp_msg_v01 &r = *resp;
  std::lock_guard<std::mutex> lock(context_mutex());
  runtime_settings &s = ctx->runtime.settings;
  copy_v4(s, kV4Address, s.ipv4_address, r.ipv4_address_valid, r.ipv4_address);
  copy_v4(s, kV4Gateway, s.ipv4_gateway, r.ipv4_gateway_addr_valid, r.ipv4_gateway_addr);
  copy_v4(s, kV4DnsPrimary, s.ipv4_dns_primary, r.primary_DNS_IPv4_address_valid,
          r.primary_DNS_IPv4_address);
  copy_v4(s, kV4DnsSecondary, s.ipv4_dns_secondary, r.secondary_DNS_IPv4_address_valid,
          r.secondary_DNS_IPv4_address);
  copy_v6(s, kV6Address, s.ipv6_address, r.ipv6_addr_valid, r.ipv6_addr.ipv6_addr);
  copy_v6(s, kV6Gateway, s.ipv6_gateway, r.ipv6_gateway_addr_valid, r.ipv6_gateway_addr.ipv6_addr);
  copy_v6(s, kV6DnsPrimary, s.ipv6_dns_primary, r.primary_dns_IPv6_address_valid,
          r.primary_dns_IPv6_address);
  copy_v6(s, kV6DnsSecondary, s.ipv6_dns_secondary, r.secondary_dns_IPv6_address_valid,
          r.secondary_dns_IPv6_address);
  if (r.mtu_valid) (ipType == 0 ? s.ipv4_mtu : s.ipv6_mtu) = r.mtu;
}

}  // namespace vorn::data

namespace data = vorn::data;

extern "C" {

VORNPAL_API int vorn_data_pal_get_runtime_connect_info(int cid, uint32_t mask, int ip_family,
                                                       connect_info *info) {
  data::profile_ctx *ctx = data::GetProfileCtx(static_cast<uint32_t>(cid));
  if (ctx == nullptr || info == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid parameter!\n");
    return VORN_FAILURE;
  }
  char name[data::kInterfaceNameSize];
  data::CallInterfaceName(ctx, name);
  vorn_set_ipv6_default_route(name);
  vorn_set_ipv6_default_mtu(name);
  data::DeleteKernelRoute(name);

  if ((mask & VORN_DATA_INFO_MTU) != 0 && (ip_family == 0 || ip_family == 1)) {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    info->mtu_valid = 1;
    info->mtu = ip_family == 0 ? ctx->runtime.settings.ipv4_mtu : ctx->runtime.settings.ipv6_mtu;
  }
  if ((mask & VORN_DATA_INFO_ADDRESS) != 0 && (ip_family == 0 || ip_family == 1) &&
      !data::copy_address(ctx, ip_family, name, *info))
    return VORN_FAILURE;
  {
    std::lock_guard<std::mutex> lock(data::context_mutex());
    if ((mask & VORN_DATA_INFO_GATEWAY) != 0) data::copy_gateway(ctx->runtime.settings, ip_family, *info);
    if ((mask & VORN_DATA_INFO_DNS) != 0) data::copy_dns(ctx->runtime.settings, ip_family, *info);
  }
  if ((mask & VORN_DATA_INFO_INTERFACE) != 0) {
    std::memset(info->interfaceName, 0, sizeof info->interfaceName);
    std::memcpy(info->interfaceName, name, sizeof info->interfaceName);
    VORN_LOG(VORN_INFO, "CID:%d, interfaceNameStr:%s\n", cid, name);
  }
  return VORN_OK;
}

VORNPAL_API int vorn_data_pal_get_interface_prefix(char *text, size_t size) {
  if (text == nullptr) {
    VORN_LOG(VORN_ERR, "interfaceNameStr is invalid !\n");
    return VORN_FAILURE;
  }
  vorn_string_memcpy(text, data::kRmnetPrefix, size);
  return VORN_OK;
}

}  // extern "C"
