// The data family's state: the WDS client table, the profile contexts, and
// the steps its files share.
//
// Locks: wds_client_mutex guards the client tables (wds_clients,
// wds_service); context_mutex() guards the fields of every profile_ctx,
// which the QMI thread, the event thread and the callers' threads all
// write. Neither is held while a request waits for the modem or a command
// runs. session_mutex() makes the starts and stops of sessions take turns,
// since they share one semaphore and one set of wait flags.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include <vornpal/data.h>
#include <vornpal/qmi.h>
#include <vornpal/queue.h>
#include <vornpal/system.h>

#include "data/messages.h"

namespace vorn::data {

constexpr int kProfiles = VORN_DATA_PROFILE_MAX;
constexpr int kFamilies = 2;  // ipType 0 IPv4, 1 IPv6
constexpr uint8_t kNoRmnet = 255;
constexpr size_t kInterfaceNameSize = 21;
constexpr char kRmnetPrefix[] = "rmnet_data";
constexpr int kNoEndReason = 45;  // failureType at the start of a try

enum ConState : int32_t {
  kConUnknown = -1,
  kConDisconnected = 0,
  kConAuthenticating = 1,
  kConConnected = 2,
  kConSuspended = 3,
};

// One IP family's call.
struct call_state {
  uint32_t enable;
  uint32_t callRef;
  int32_t conState;
  uint32_t failureType;
  uint32_t failureCode;
  uint32_t verboseType;
  uint32_t verboseCode;
};

// Valid flags of runtime_settings, by index.
enum RuntimeFlag {
  kV4Address,
  kV6Address,
  kV4Gateway,
  kV6Gateway,
  kV4DnsPrimary,
  kV6DnsPrimary,
  kV4DnsSecondary,
  kV6DnsSecondary,
  kRuntimeFlags,
};

struct runtime_settings {
  uint8_t valid[kRuntimeFlags];
  uint32_t ipv4_address;
  uint8_t ipv6_address[16];
  uint32_t ipv4_gateway;
  uint8_t ipv6_gateway[16];
  uint32_t ipv4_dns_primary;
  uint8_t ipv6_dns_primary[16];
  uint32_t ipv4_dns_secondary;
  uint8_t ipv6_dns_secondary[16];
  uint32_t ipv4_mtu;
  uint32_t ipv6_mtu;
};

// The part of a context that a call's end clears.
struct call_runtime {
  char interfaceName[kInterfaceNameSize];
  uint32_t interface;
  runtime_settings settings;
};

struct profile_ctx {
  wds_client_info *clientInfoPtr[kFamilies];
  uint32_t profileIndex;
  call_state call[kFamilies];
  uint8_t mappedRmnetId;
  uint32_t link;  // the link number of the last call, kNoRmnet before one
  uint32_t activated;
  char apn[100];
  uint32_t authentication_preference;
  char username[65];
  char password[65];
  uint32_t pdp_type;
  uint32_t ip_support_type;
  char pdp_text[7];
  uint8_t clat_mirror;  // the last written record's clat_enabled
  call_runtime runtime;
  vorn_clk_time connect_time;
  vorn_clk_time disconnect_time;
  uint8_t clat_enabled;
  // Threads of the family's own that hold the context (PinnedCtx), and
  // whether deinit or a delete took it off the list meanwhile.
  uint32_t pins;
  bool retired;
};

// ---- the tables and the contexts (clients.cpp) --------------------------------

extern wds_client_info wds_clients[kProfiles][kFamilies];
extern wds_service_info wds_service[kFamilies];
extern std::mutex wds_client_mutex;

std::mutex &context_mutex();
std::mutex &session_mutex();
// The call of one IP family is down: its state and the run-time settings
// cleared. The caller holds context_mutex().
void clear_call(profile_ctx *ctx, int ipType);

// Null for an index above 42.
profile_ctx *FindProfileCtx(uint32_t index);
// Finds or creates; aborts when the heap is exhausted.
profile_ctx *GetProfileCtx(uint32_t index);
// Frees every context (deinit).
void FreeProfileContexts();
// Removes one context from the list and frees it.
void RemoveProfileCtx(profile_ctx *ctx);
// GetProfileCtx, and the context stays allocated until the unpin even when
// deinit or a delete frees the others meanwhile.
profile_ctx *PinProfileCtx(uint32_t index);
void UnpinProfileCtx(profile_ctx *ctx);

// The context of a profile for the span of one event on the QMI thread or
// the event thread, which a daemon's deinit or delete may overlap.
class PinnedCtx {
 public:
  explicit PinnedCtx(uint32_t index) : ctx_(PinProfileCtx(index)) {}
  ~PinnedCtx() { UnpinProfileCtx(ctx_); }
  PinnedCtx(const PinnedCtx &) = delete;
  PinnedCtx &operator=(const PinnedCtx &) = delete;
  profile_ctx *get() const { return ctx_; }

 private:
  profile_ctx *ctx_;
};

// A handle with one more reference, or null.
qmi_client_type GetWdsClient(uint32_t profileIndex, int ipType, bool create, bool map);
qmi_client_type mdc_qmi_GetDefaultWdsClient();
qmi_client_type mdc_qmi_GetWdsClientByPdptype(uint32_t pdptype);
void mdc_qmi_ReleaseWdsClient(qmi_client_type handle);
int GetProfileIndex(int ipType, uint32_t infoIndex);
// Unmaps the context's slot of the family (slot's profile 0, pointer cleared).
void UnmapWdsClient(profile_ctx *ctx, int ipType);
// Releases every client (deinit).
void ReleaseAllWdsClients();
// The profile of a handle (0 when it holds none) and its family.
uint32_t ProfileOfHandle(qmi_client_type handle);
// "rmnet_data<N>" of the context's link, or the mapped one; empty when the
// profile has no link yet.
void FormInterfaceName(const profile_ctx *ctx, char (&name)[kInterfaceNameSize]);
// The interface name a context's call uses: interfaceName when set,
// otherwise the formed one.
void CallInterfaceName(profile_ctx *ctx, char (&name)[kInterfaceNameSize]);

// The default client for one request, released when the scope ends.
class DefaultClient {
 public:
  DefaultClient() : handle_(mdc_qmi_GetDefaultWdsClient()) {}
  ~DefaultClient() {
    if (handle_ != nullptr) mdc_qmi_ReleaseWdsClient(handle_);
  }
  DefaultClient(const DefaultClient &) = delete;
  DefaultClient &operator=(const DefaultClient &) = delete;
  qmi_client_type get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }
  // True when there is a client; without one, logs so for the caller,
  // which then fails.
  bool usable() const;

 private:
  qmi_client_type handle_;
};

// ---- events (events.cpp) -----------------------------------------------------------

// Hands the record to the event thread; false (record kept by the caller)
// when no word could be written.
bool WriteEventFd(data_status_event *record, uint32_t high);
// A heap record of event 0 for the family's call; aborts on an exhausted heap.
data_status_event *NewStatusRecord(uint32_t profile, int ipType, int32_t data_state,
                                   const call_state &call);
// Event 0 with the failure of a start, at once on the caller's thread.
void ReportStartFailure(profile_ctx *ctx, int ipType);
// A 4-byte event with the profile index.
void PostProfileEvent(int event_id, uint32_t cid);

// ---- sessions (session.cpp, connect.cpp) ---------------------------------------------

struct SessionWaits {
  sem_t session_sem;
  std::atomic<bool> stop_wait{false};
  std::atomic<bool> start_wait{false};
  std::atomic<bool> start_connected{false};
  std::atomic<uint8_t> netmgr_waited{0};
};
SessionWaits &waits();

uint32_t MapCallEndReason(uint32_t reason);
int StartSession(uint32_t cid, int ipVersion, uint32_t &callRef);
int StopSession(uint32_t callRef, qmi_client_type client, int ipVersion);

// ---- run-time settings and the interface (runtime.cpp, interface.cpp) ------------------

void sync_data_info(profile_ctx *ctx, int ipType);
// family 0 IPv4, 1 IPv6, other: any address.
void WaitForIntfUpDown(bool up, int family, const char *name);
void DeleteKernelRoute(const char *name);
// An address of either family on the interface.
bool InterfaceHasAddress(const char *name);
void StartRndisThread();

// ---- the IPA (check_ipa.cpp) ------------------------------------------------------------

// Starts the check-IPA thread once for the life of the process.
void vorn_data_pal_check_ipa_thread_create();

}  // namespace vorn::data
