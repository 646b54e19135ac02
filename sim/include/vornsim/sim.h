// Control API of the simulated modem.
//
// The simulated modem implements the platform boundary that libvornpal
// imports (the QMI client library, the service objects and the diag sink) on
// a development host. Tests and vornpalctl drive it through this API.
//
// Messages are the plain C structures of the service headers: a request's
// bytes are the request structure as the client passed it, and a handler
// fills the response structure in place.
//
// Durations given here are modem milliseconds; like the library's own waits
// they are divided by VORNPAL_TIME_SCALE.
//
// In a process that uses the modem daemon (VORNSIM_SOCKET, see
// <vornsim/daemon.h>) the calls act on the daemon's modem, shared with the
// other processes, except on(), whose handler is code of this process (it
// aborts with a message there), and the diag sink, which stays each
// process's own. A request's `client` is then the daemon's handle: compare
// it, or give it back to indicate_to() and client_live().
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace vornsim {

enum class Svc { WDS, NAS, WMS, UIM, DMS, VOICE, IMSS, IMSA, M2M };
constexpr int kServiceCount = 9;
const char *name(Svc svc);
std::optional<Svc> svc_from_name(const std::string &name);

// A request as it reached the modem.
struct Request {
  Svc svc;
  unsigned msg_id;
  std::vector<uint8_t> bytes;
  unsigned timeout_ms;  // 0 for asynchronous requests
  bool async;
  const void *client = nullptr;  // the handle it came on

  // The request structure, zero-extended when the client sent fewer bytes.
  template <class T>
  T as() const {
    static_assert(std::is_trivially_copyable_v<T>);
    T value{};
    if (!bytes.empty())
      std::memcpy(&value, bytes.data(), bytes.size() < sizeof value ? bytes.size() : sizeof value);
    return value;
  }
};

// A handler answers one message: it fills `resp` (zeroed, resp_len bytes,
// starting with the result and error words) and returns the transport code,
// normally 0.
using Handler = std::function<int(const Request &req, void *resp, size_t resp_len)>;

// Typed form: the request and response structures of the service header.
template <class Req, class Resp>
Handler typed(std::function<void(const Req &, Resp &)> fn) {
  return [fn](const Request &req, void *resp, size_t resp_len) {
    Resp typed_resp{};
    std::memcpy(&typed_resp, resp, resp_len < sizeof typed_resp ? resp_len : sizeof typed_resp);
    fn(req.as<Req>(), typed_resp);
    std::memcpy(resp, &typed_resp, resp_len < sizeof typed_resp ? resp_len : sizeof typed_resp);
    return 0;
  };
}

// Sets the result and error words at the start of a response.
void refuse(void *resp, size_t resp_len, uint32_t error);

// QMI_ERR_INTERNAL and the transport's time-out, the usual faults; a count
// of every request from now on.
constexpr uint32_t kInternalError = 3;
constexpr int kTimeoutRc = -3;
constexpr int kAll = -1;

// A fault on one message. Applies to the next `count` requests (-1: all)
// after the first `after` requests, which go through.
struct Fault {
  int transport_rc = 0;     // nonzero: returned to the client, no response
  bool refuse = false;      // answer with result 1 and `error`, the handler is not run
  uint32_t error = 0;
  unsigned delay_ms = 0;    // the answer comes this late
  int count = -1;
  int after = 0;
};

// --- the modem as a whole ---------------------------------------------------

// A fresh modem: every service up, every service's default handlers and
// state, no faults, recordings cleared, diag reset. Waits until nothing of
// the previous modem is in flight.
void reset();

// Services that come and go. Bringing a service up signals its notifiers.
void set_service_up(Svc svc, bool up);
bool service_up(Svc svc);
// The service comes up `ms` after this call (it is down until then).
void service_up_after(Svc svc, unsigned ms);
// The accessor of the service's object returns null.
void set_service_object_missing(Svc svc, bool missing);

// --- messages ---------------------------------------------------------------

void on(Svc svc, unsigned msg_id, Handler handler);
void set_fault(Svc svc, unsigned msg_id, const Fault &fault);
void clear_faults();

// The faults by name, on the next `count` requests of one message (-1: all):
// the modem refuses them with `error` (its handler does not run); the
// transport fails them with `rc` (-3 is the platform's time-out); or the
// answers come `ms` modem milliseconds late (a time-out when that is longer
// than the request's own).
void refuse_next(Svc svc, unsigned msg_id, uint32_t error = kInternalError, int count = 1);
void fail_next(Svc svc, unsigned msg_id, int rc = kTimeoutRc, int count = 1);
void delay_next(Svc svc, unsigned msg_id, unsigned ms, int count = 1);
// Decoding of this indication fails with `rc` (0 to stop failing).
void set_decode_fault(Svc svc, unsigned msg_id, int rc);

// The requests that reached the modem, oldest first. The modem keeps the
// last kRequestRecordDefault of them; older ones fall out and are counted.
std::vector<Request> requests();
std::vector<Request> requests(Svc svc, std::optional<unsigned> msg_id = std::nullopt);
// Forgets the requests kept and the count of dropped ones.
void clear_requests();
constexpr size_t kRequestRecordDefault = 4096;
// Keeps the last `capacity` requests from now on (0: none, as benchmarks
// want); clears the record. reset() restores the default.
void set_request_record(size_t capacity);
// Requests that fell out of the record, or were not kept, since it was last
// cleared.
uint64_t requests_dropped();

// An indication to every client of the service, delivered on the modem's
// own thread.
void indicate(Svc svc, unsigned msg_id, const void *data, size_t len);
template <class T>
void indicate(Svc svc, unsigned msg_id, const T &ind) {
  indicate(svc, msg_id, &ind, sizeof ind);
}
// An indication to one client (the handle a request came on), as services
// that keep state per client send them; nothing when it is gone by then.
void indicate_to(const void *client, unsigned msg_id, const void *data, size_t len);
// True while the client (a request's handle) is connected and not released.
bool client_live(const void *client);
// Waits until every queued indication and asynchronous answer was delivered.
void drain();
// True when the calling thread is the modem's delivery thread.
bool on_modem_thread();

// --- what the clients did ---------------------------------------------------

// Each list keeps the last 1024 calls.
struct Counters {
  int clients_live;          // connected clients not yet released
  int notifiers_live;        // notifiers not yet released
  int releases_failed;       // releases of unknown or already released handles
  std::vector<unsigned> signal_waits;      // time-out of each qmi_cci_os_signal_wait
  std::vector<int> xports;                 // qmi_cci_qmux_xport_register calls
  std::vector<std::string> accessor_calls; // "WDS 1.187.6" for each accessor call
};
Counters counters();

// --- diag sink --------------------------------------------------------------

struct DiagLine {
  int line;
  int ss_id;
  uint32_t mask;
  std::string fmt;
  std::string file;
  int pid;
  std::string func;
  std::string text;
  int64_t steady_ns;  // when the sink got it, on std::chrono::steady_clock
};
// The lines handed to the sink, oldest first; the last kDiagRecord are kept.
constexpr size_t kDiagRecord = 4096;
std::vector<DiagLine> diag_lines();
void clear_diag();
// Lines are also written to standard error.
void set_diag_echo(bool echo);
// Lines are kept for diag_lines() (the default); benchmarks turn this off.
void set_diag_record(bool record);
// Diag_LSM_Init succeeds only when ok; returns the calls so far.
void set_diag_init_ok(bool ok);
int diag_init_calls();

// --- service state modules --------------------------------------------------
//
// Each service with state of its own (NV store, calls, SIM, ...) registers a
// module (sim/src/service_module.h): reset installs its default handlers on
// a fresh modem, save and load keep its state in a directory so that
// several processes can share one modem in turn.
struct Module {
  const char *name;
  std::function<void()> reset;
  std::function<void(const std::string &dir)> save;
  std::function<void(const std::string &dir)> load;
};
void register_module(const Module &module);

// State of every module to and from `dir`.
void save_state(const std::string &dir);
void load_state(const std::string &dir);

}  // namespace vornsim
