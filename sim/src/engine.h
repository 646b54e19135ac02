// The engine of the simulated modem: its state (services, clients,
// handlers, faults, recordings), the delivery thread that runs indications
// and asynchronous answers, and the steps the platform's functions share.
// Everything here is under Modem::mutex unless a name says otherwise.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <vornpal/platform/qmi_client.h>
#include <vornsim/sim.h>

#include "ring.h"

struct qmi_idl_service_object {
  vornsim::Svc svc;
  uint32_t service_id;
};

struct qmi_client_struct {
  vornsim::Svc svc;
  bool notifier;
  bool connected;  // false for a handle left by a failed qmi_client_init_instance
  qmi_client_ind_cb ind_cb;
  void *ind_cb_data;
  qmi_client_os_params *os_params;
  uint32_t remote_id = 0;  // the daemon's number of it, in a process that uses vornsimd
};

namespace vornsim {

using Clock = std::chrono::steady_clock;
using Key = std::pair<int, unsigned>;

inline Key key(Svc svc, unsigned id) { return {static_cast<int>(svc), id}; }

// Entries kept of each record of the clients' calls (Counters).
constexpr size_t kCallRecord = 1024;

// The divisor of VORNPAL_TIME_SCALE, as the library uses it.
uint32_t time_scale();
// Modem milliseconds as a duration of the host's clock.
Clock::duration scaled_ms(uint64_t ms);

// One piece of work for the modem's delivery thread.
struct Task {
  Clock::time_point due;
  uint64_t generation;
  bool delivery;  // an indication or asynchronous answer (drain waits for these)
  std::function<void()> run;
};

struct Modem {
  std::mutex mutex;
  std::condition_variable changed;  // services, signals, tasks
  bool up[kServiceCount] = {true, true, true, true, true, true, true, true, true};
  bool object_missing[kServiceCount] = {};
  std::map<Key, Handler> handlers;
  std::map<Key, Fault> faults;
  std::map<Key, int> decode_faults;
  Ring<Request> requests{kRequestRecordDefault};
  std::set<qmi_client_struct *> clients;
  int releases_failed = 0;
  // What the clients did, kept like the requests: the last entries only.
  Ring<unsigned> signal_waits{kCallRecord};
  Ring<int> xports{kCallRecord};
  Ring<std::string> accessor_calls{kCallRecord};

  // Delivery thread.
  std::deque<Task> tasks;
  uint64_t generation = 0;
  int deliveries_pending = 0;
  bool stopping = false;
  std::thread thread;
  std::thread::id thread_id;
  std::vector<std::thread> late_answers;  // requests answered after their time-out
  // Told of every change of the services up (a mask by Svc), under the
  // mutex: vornsimd passes it on to its clients' processes.
  std::function<void(uint32_t up_mask)> services_changed;

  ~Modem();
};

Modem &modem();

// Queues work for the delivery thread.
void schedule_locked(Modem &m, Clock::duration delay, bool delivery, std::function<void()> run);
// Marks the service up or down; bringing it up signals its notifiers.
void set_up_locked(Modem &m, Svc svc, bool up);
// Forgets the work and the records of the modem before a reset; waits for a
// delivery that is running. Returns the late answers still to be joined.
std::vector<std::thread> clear_locked(Modem &m, std::unique_lock<std::mutex> &lock);

uint32_t up_mask_locked(const Modem &m);
// A release of a handle the modem does not know (Counters::releases_failed).
void count_failed_release();
bool live_client_locked(Modem &m, qmi_client_type handle);
qmi_client_struct *new_client_locked(Modem &m, Svc svc, bool notifier, bool connected,
                                     qmi_client_ind_cb cb, void *data, qmi_client_os_params *os);
// Keeps the request in the record.
void record_locked(Modem &m, const Request &req);
// The handler of a request that reached a service that is up, and the
// fault that applies to it (taking one use of the fault).
std::pair<Handler, Fault> take_answer_locked(Modem &m, const Request &req);

// Runs the message's handler (or the fault's refusal) into resp.
int answer(const Handler &handler, const Fault &fault, const Request &req, void *resp,
           size_t resp_len);

// Records the accessor call; false when a test made the service's object
// missing.
bool record_accessor(Svc svc, int32_t major, int32_t minor, int32_t tool);
// The service's object through the backend (null when it is missing).
qmi_idl_service_object_type service_object(Svc svc, int32_t major, int32_t minor, int32_t tool);

// The calls of a process that uses vornsimd, recorded in the daemon's
// modem as the engine records its own process's.
void note_xport(int xport_id);
void note_signal_wait(unsigned timeout_ms);
// True on the thread that runs the daemon's indications in such a process.
bool on_remote_delivery_thread();
// Waits until the indications and answers the daemon sent so far were
// delivered in such a process.
void drain_remote_deliveries();

// indicate() and indicate_to() with the message as a value, as the
// daemon's table takes them.
void indicate_bytes(Svc svc, unsigned msg_id, std::vector<uint8_t> bytes);
void indicate_to_bytes(const void *client, unsigned msg_id, std::vector<uint8_t> bytes);

// The simulated IPA driver's answer to a request (ipa.cpp): 0 or an errno.
int ipa_request(uint32_t code, std::vector<uint8_t> argument);

// The diag sink's records, cleared with the modem.
void reset_diag();

}  // namespace vornsim
