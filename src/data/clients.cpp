// The WDS client table, one slot for each IP family of each profile that has
// a call, and the profile contexts.
//
// A slot is taken first-free; its row number is no profile index. The two
// families of one profile share a link number (the N of "rmnet_dataN"), and
// two profiles never do, so the bit masks of link numbers in use are kept
// per family and checked against each other.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <vornpal/strings.h>

#include "data/state.h"
#include "foundation/log_site.h"

namespace vorn::data {

wds_client_info wds_clients[kProfiles][kFamilies];
wds_service_info wds_service[kFamilies];
std::mutex wds_client_mutex;

namespace {

struct ProfileNode {
  list_link_type link;
  profile_ctx *ctx;
};

list_type profile_list;
// Makes find-or-create one step, so that two threads never create two
// contexts of one profile; guards the pins of the contexts too.
std::mutex creation_mutex;

constexpr uint32_t kLinkNumbers = 32;

int match_index(void *item, void *param) {
  const auto *node = static_cast<ProfileNode *>(item);
  return node->ctx != nullptr && node->ctx->profileIndex == *static_cast<uint32_t *>(param);
}

int match_ctx(void *item, void *param) { return static_cast<ProfileNode *>(item)->ctx == param; }

[[noreturn]] void out_of_memory(int line) {
  std::printf("%s, line: %d\n", __FILE__, line);
  std::abort();
}

// The bit of a link number; 0 for 32 and above.
uint32_t link_bit(uint32_t link) { return link < kLinkNumbers ? 1u << link : 0u; }

// Picks the link number of a new slot, under wds_client_mutex; false when
// none fits.
bool pick_link(const profile_ctx *ctx, int ipType, uint32_t &link) {
  wds_service_info &own = wds_service[ipType];
  const wds_service_info &other = wds_service[1 - ipType];
  if (ctx->mappedRmnetId < kNoRmnet) {
    // A mapping is a number, and the mask keeps 32 bits of them: the bit
    // of the number is compared with 32 as the mask's largest.
    const uint32_t bit = ctx->mappedRmnetId < kLinkNumbers ? 1u << ctx->mappedRmnetId : 0u;
    if (bit > kLinkNumbers) {
      VORN_LOG(VORN_ERR, "Bad mapping mappedRmnetId=%d\n", ctx->mappedRmnetId);
      return false;
    }
    if ((own.usedInfoIndex & bit) != 0) {
      VORN_LOG(VORN_ERR, "RMNET %d already in use\n", ctx->mappedRmnetId);
      return false;
    }
    link = ctx->mappedRmnetId;
    own.usedInfoIndex |= bit;
    own.infoIndex = link;
    return true;
  }
  VORN_LOG(VORN_DBUG, "usedInfoIndex = 0x%x\n", own.usedInfoIndex);
  for (uint32_t n = 0; n < kLinkNumbers; ++n) {
    const uint32_t bit = link_bit(n);
    if ((own.usedInfoIndex & bit) != 0) continue;
    if ((other.usedInfoIndex & bit) != 0 &&
        GetProfileIndex(1 - ipType, n) != static_cast<int>(ctx->profileIndex))
      continue;
    link = n;
    own.usedInfoIndex |= bit;
    own.infoIndex = n;
    return true;
  }
  return false;
}

// The reuse path of GetWdsClient, under wds_client_mutex.
qmi_client_type reuse_locked(profile_ctx *ctx, int ipType) {
  VORN_LOG(VORN_DBUG, "wdsclient in used with a profile => reuse the same\n");
  wds_client_info *slot = ctx->clientInfoPtr[ipType];
  if (slot == nullptr) {
    VORN_LOG(VORN_DBUG, "Profile %d not mapped (i.e. not started)\n", ctx->profileIndex);
    return nullptr;
  }
  if (slot->profileIndex != ctx->profileIndex) {
    VORN_LOG(VORN_ERR, "Bad allocation: profileIndex %d, clientInfoPtr->profileIndex %d\n",
             ctx->profileIndex, slot->profileIndex);
    return nullptr;
  }
  ++slot->refCount;
  return slot->handle;
}

// The scan of the default client: the first live handle, one more reference.
qmi_client_type find_live_locked(int only_family) {
  for (int row = 0; row < kProfiles; ++row) {
    for (int family = 0; family < kFamilies; ++family) {
      if (only_family >= 0 && family != only_family) continue;
      wds_client_info &slot = wds_clients[row][family];
      if (slot.handle == nullptr) continue;
      ++slot.refCount;
      return slot.handle;
    }
  }
  return nullptr;
}

void release_slot_locked(wds_client_info &slot, int family) {
  vornQmi_ReleaseService(slot.handle);
  wds_service[family].usedInfoIndex &= ~link_bit(slot.infoIndex);
  std::memset(&slot, 0, sizeof slot);
}

}  // namespace

std::mutex &context_mutex() {
  static std::mutex mutex;
  return mutex;
}

void clear_call(profile_ctx *ctx, int ipType) {
  call_state &call = ctx->call[ipType];
  call.enable = 0;
  call.callRef = 0;
  call.conState = kConDisconnected;
  std::memset(&ctx->runtime, 0, sizeof ctx->runtime);
}

std::mutex &session_mutex() {
  static std::mutex mutex;
  return mutex;
}

profile_ctx *FindProfileCtx(uint32_t index) {
  if (index > static_cast<uint32_t>(kProfiles)) {
    VORN_LOG(VORN_ERR, "profileIndex is invalid !\n");
    return nullptr;
  }
  list_link_type *link = list_linear_search(&profile_list, match_index, &index);
  return link != nullptr ? reinterpret_cast<ProfileNode *>(link)->ctx : nullptr;
}

namespace {

profile_ctx *find_or_create_locked(uint32_t index) {
  if (profile_ctx *found = FindProfileCtx(index)) return found;
  VORN_LOG(VORN_ERR, "not FindProfileCtx,need creat profileCtxPtr\n");
  auto *ctx = static_cast<profile_ctx *>(std::calloc(1, sizeof(profile_ctx)));
  auto *node = static_cast<ProfileNode *>(std::calloc(1, sizeof(ProfileNode)));
  if (ctx == nullptr || node == nullptr) out_of_memory(__LINE__);
  ctx->profileIndex = index;
  ctx->mappedRmnetId = kNoRmnet;
  ctx->link = kNoRmnet;
  ctx->call[0].conState = kConUnknown;
  ctx->call[1].conState = kConUnknown;
  ctx->runtime.interface = kNoRmnet;
  node->ctx = ctx;
  list_push_back(&profile_list, &node->link);
  return ctx;
}

// Off the list already: freed now, or by the last unpin.
void retire_locked(profile_ctx *ctx) {
  if (ctx->pins == 0) {
    std::free(ctx);
  } else {
    ctx->retired = true;
  }
}

}  // namespace

profile_ctx *GetProfileCtx(uint32_t index) {
  std::lock_guard<std::mutex> lock(creation_mutex);
  return find_or_create_locked(index);
}

profile_ctx *PinProfileCtx(uint32_t index) {
  std::lock_guard<std::mutex> lock(creation_mutex);
  profile_ctx *ctx = find_or_create_locked(index);
  ++ctx->pins;
  return ctx;
}

void UnpinProfileCtx(profile_ctx *ctx) {
  std::lock_guard<std::mutex> lock(creation_mutex);
  if (--ctx->pins == 0 && ctx->retired) std::free(ctx);
}

void RemoveProfileCtx(profile_ctx *ctx) {
  std::lock_guard<std::mutex> lock(creation_mutex);
  list_link_type *link = list_linear_search(&profile_list, match_ctx, ctx);
  if (link == nullptr) return;
  auto *node = reinterpret_cast<ProfileNode *>(link);
  node->ctx = nullptr;
  list_pop_item(&profile_list, link);
  std::free(node);
  retire_locked(ctx);
}

void FreeProfileContexts() {
  std::lock_guard<std::mutex> lock(creation_mutex);
  while (list_link_type *link = list_pop_front(&profile_list)) {
    auto *node = reinterpret_cast<ProfileNode *>(link);
    retire_locked(node->ctx);
    std::free(node);
  }
}

int GetProfileIndex(int ipType, uint32_t infoIndex) {
  for (int row = 0; row < kProfiles; ++row) {
    const wds_client_info &slot = wds_clients[row][ipType];
    if (slot.infoIndex == infoIndex && slot.handle != nullptr)
      return static_cast<int>(slot.profileIndex);
  }
  return -1;
}

qmi_client_type GetWdsClient(uint32_t profileIndex, int ipType, bool create, bool map) {
  profile_ctx *ctx = GetProfileCtx(profileIndex);
  if (ctx == nullptr) {
    VORN_LOG(VORN_ERR, "GetWdsClient get  profileCtxPtr fail\n");
    return nullptr;
  }
  std::lock_guard<std::mutex> lock(wds_client_mutex);
  wds_client_info *mapped = ctx->clientInfoPtr[ipType];
  if (!create || (mapped != nullptr && mapped->profileIndex == profileIndex))
    return reuse_locked(ctx, ipType);

  VORN_LOG(VORN_DBUG, "Search an empty channel\n");
  int row = 0;
  while (row < kProfiles && wds_clients[row][ipType].profileIndex != 0) ++row;
  if (row == kProfiles) return nullptr;
  VORN_LOG(VORN_DBUG, "index %d, ipType %d\n", row, ipType);
  wds_client_info &slot = wds_clients[row][ipType];

  if (slot.handle == nullptr) {
    uint32_t link = 0;
    if (!pick_link(ctx, ipType, link)) return nullptr;
    VORN_LOG(VORN_DBUG, " infoIndex %d\n", link);
    slot.refCount = 0;
    VORN_LOG(VORN_DBUG, "wdsclient[%d][%d] count reset %d \n", row, ipType, slot.refCount);
    int rc = vornQmi_InitQmiService(&slot, &wds_service[ipType]);
    if (rc != 0 || slot.handle == nullptr) {
      VORN_LOG(VORN_ERR, "No QMI client res %d\n", rc);
      slot.handle = nullptr;
      return nullptr;
    }
    slot.infoIndex = link;
  }

  VORN_LOG(VORN_DBUG, "qmiClient %p\n", static_cast<void *>(slot.handle));
  if (map) {
    ctx->clientInfoPtr[ipType] = &slot;
    ctx->link = slot.infoIndex;
    slot.profileIndex = profileIndex;
  }
  if (slot.handle != nullptr) {
    ++slot.refCount;
  } else {
    slot.refCount = 0;
  }
  return slot.handle;
}

bool DefaultClient::usable() const {
  if (handle_ != nullptr) return true;
  VORN_LOG(VORN_ERR, "wdsClient is invalid\r\n");
  return false;
}

qmi_client_type mdc_qmi_GetDefaultWdsClient() {
  {
    std::lock_guard<std::mutex> lock(wds_client_mutex);
    if (qmi_client_type handle = find_live_locked(-1)) {
      VORN_LOG(VORN_DBUG, "Find a WdsClient %p\n", static_cast<void *>(handle));
      return handle;
    }
  }
  return GetWdsClient(1, 0, true, false);
}

qmi_client_type mdc_qmi_GetWdsClientByPdptype(uint32_t pdptype) {
  const int family = (pdptype & 1u) != 0 ? 1 : 0;
  {
    std::lock_guard<std::mutex> lock(wds_client_mutex);
    for (int row = 0; row < kProfiles; ++row) {
      wds_client_info &slot = wds_clients[row][family];
      if (slot.handle == nullptr) continue;
      VORN_LOG(VORN_DBUG, "Find a WdsClient index %d ipType %d  serviceHandle %p\n", row, family,
               static_cast<void *>(slot.handle));
      ++slot.refCount;
      return slot.handle;
    }
  }
  VORN_LOG(VORN_DBUG, "return default WdsClient, pdptype %d\n", pdptype);
  return GetWdsClient(1, family, true, false);
}

void mdc_qmi_ReleaseWdsClient(qmi_client_type handle) {
  std::lock_guard<std::mutex> lock(wds_client_mutex);
  bool remove = true;
  for (uint32_t index = 0; index <= static_cast<uint32_t>(kProfiles); ++index) {
    profile_ctx *ctx = FindProfileCtx(index);
    if (ctx == nullptr) continue;
    for (int family = 0; family < kFamilies; ++family) {
      wds_client_info *slot = ctx->clientInfoPtr[family];
      if (slot == nullptr || slot->handle != handle) continue;
      VORN_LOG(VORN_DBUG, "WDSClient in use:%d\n", slot->refCount);
      if (--slot->refCount < 1) VORN_LOG(VORN_ERR, "WDSClient refcnt err:%d\n", slot->refCount);
      remove = false;
    }
  }
  VORN_LOG(VORN_DBUG, "removeWdsClient %d\n", remove ? 1 : 0);
  if (!remove) return;
  for (int row = 0; row < kProfiles; ++row) {
    for (int family = 0; family < kFamilies; ++family) {
      wds_client_info &slot = wds_clients[row][family];
      if (slot.handle == nullptr || slot.handle != handle) continue;
      VORN_LOG(VORN_DBUG, "Remove WdsClient [%d][%d] %p, %d\n", row, family,
               static_cast<void *>(handle), slot.refCount);
      if (--slot.refCount < 1) release_slot_locked(slot, family);
    }
  }
}

void UnmapWdsClient(profile_ctx *ctx, int ipType) {
  std::lock_guard<std::mutex> lock(wds_client_mutex);
  if (wds_client_info *slot = ctx->clientInfoPtr[ipType]) slot->profileIndex = 0;
  ctx->clientInfoPtr[ipType] = nullptr;
}

void ReleaseAllWdsClients() {
  for (int row = 0; row < kProfiles; ++row) {
    for (int family = 0; family < kFamilies; ++family) {
      qmi_client_type handle = nullptr;
      {
        std::lock_guard<std::mutex> lock(wds_client_mutex);
        handle = wds_clients[row][family].handle;
      }
      if (handle == nullptr) continue;
      profile_ctx *ctx = GetProfileCtx(static_cast<uint32_t>(row));
      {
        std::lock_guard<std::mutex> lock(wds_client_mutex);
        wds_clients[row][family].profileIndex = 0;
        for (int f = 0; f < kFamilies; ++f)
          if (ctx != nullptr && ctx->clientInfoPtr[f] == &wds_clients[row][family])
            ctx->clientInfoPtr[f] = nullptr;
      }
      mdc_qmi_ReleaseWdsClient(handle);
      // A slot whose handle other slots still count is dropped as well:
      // deinit leaves no client behind.
      std::lock_guard<std::mutex> lock(wds_client_mutex);
      wds_client_info &slot = wds_clients[row][family];
      if (slot.handle == handle) release_slot_locked(slot, family);
    }
  }
}

uint32_t ProfileOfHandle(qmi_client_type handle) {
  std::lock_guard<std::mutex> lock(wds_client_mutex);
  for (int family = 0; family < kFamilies; ++family)
    for (int row = 0; row < kProfiles; ++row) {
      const wds_client_info &slot = wds_clients[row][family];
      if (slot.handle == handle && slot.profileIndex != 0) return slot.profileIndex;
    }
  return 0;
}

void FormInterfaceName(const profile_ctx *ctx, char (&name)[kInterfaceNameSize]) {
  std::memset(name, 0, sizeof name);
  uint32_t link = kNoRmnet;
  {
    std::lock_guard<std::mutex> lock(wds_client_mutex);
    for (const wds_client_info *slot : ctx->clientInfoPtr)
      if (slot != nullptr) link = slot->infoIndex;
    // After the call the link it had; before any, the one it is tied to.
    if (link == kNoRmnet) link = ctx->link;
    if (link == kNoRmnet && ctx->mappedRmnetId != kNoRmnet) link = ctx->mappedRmnetId;
  }
  if (link == kNoRmnet) return;
  std::snprintf(name, sizeof name, "%s%u", kRmnetPrefix, link);
}

void CallInterfaceName(profile_ctx *ctx, char (&name)[kInterfaceNameSize]) {
  {
    std::lock_guard<std::mutex> lock(context_mutex());
    if (ctx->runtime.interfaceName[0] != '\0') {
      vorn_string_memcpy(name, ctx->runtime.interfaceName, sizeof name);
      name[sizeof name - 1] = '\0';
      return;
    }
  }
  FormInterfaceName(ctx, name);
}

}  // namespace vorn::data
