// A library path beside the raw path it stands on, measured like with like:
// the same modem, state and recording for both, in alternating rounds of
// `batch` operations each with the order swapped every round, so that neither
// the order nor what one path leaves behind decides the figure. Reports the
// time of one operation of each (lib_ns, raw_ns) and their ratio.
#pragma once

#include <time.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <vornpal/platform/qmi_client.h>
#include <vornsim/sim.h>

namespace bench {

// CLOCK_THREAD_CPUTIME_ID where both paths run on the calling thread (the
// simulated modem answers there), so that other load on the machine does not
// count; CLOCK_MONOTONIC where a server thread does part of the work.
inline int64_t now_ns(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

// As paired(), for two paths that cannot stand side by side on the modem:
// two clients of one service would each take the other's indications.
// `to_lib` and `to_raw` set the modem up for the next batch of that path and
// are not timed.
template <class Lib, class Raw, class ToLib, class ToRaw>
void paired_apart(benchmark::State &state, clockid_t clock, int batch, Lib lib, Raw raw, ToLib to_lib,
                  ToRaw to_raw) {
  int64_t lib_ns = 0, raw_ns = 0, rounds = 0;
  auto timed = [&](auto &op, int64_t &total) {
    int64_t start = now_ns(clock);
    for (int i = 0; i < batch; ++i) op();
    total += now_ns(clock) - start;
  };
  auto lib_batch = [&] {
    to_lib();
    timed(lib, lib_ns);
  };
  auto raw_batch = [&] {
    to_raw();
    timed(raw, raw_ns);
  };
  for (auto _ : state) {
    if (rounds++ % 2 == 0) {
      lib_batch();
      raw_batch();
    } else {
      raw_batch();
      lib_batch();
    }
  }
  const double ops = static_cast<double>(rounds) * batch;
  state.counters["lib_ns"] = static_cast<double>(lib_ns) / ops;
  state.counters["raw_ns"] = static_cast<double>(raw_ns) / ops;
  state.counters["ratio"] = raw_ns > 0 ? static_cast<double>(lib_ns) / static_cast<double>(raw_ns) : 0;
}

template <class Lib, class Raw>
void paired(benchmark::State &state, clockid_t clock, int batch, Lib lib, Raw raw) {
  paired_apart(state, clock, batch, lib, raw, [] {}, [] {});
}

// The requests one call of a library path makes once it is warm (a first
// call may start a client), as the modem received them, so that the raw
// path can send the very same bytes. The modem keeps no record again
// afterwards.
template <class Call>
std::vector<vornsim::Request> requests_of(Call call) {
  call();
  vornsim::set_request_record(vornsim::kRequestRecordDefault);
  call();
  std::vector<vornsim::Request> sent = vornsim::requests();
  vornsim::set_request_record(0);
  return sent;
}

// Recorded requests sent again one after the other, with no library around
// them, on clients of their own: one per service named. Each answer lands in
// a buffer of the size the library gives that message (sized<Msg>), since
// the modem clears the whole buffer before it answers.
class RawReplay {
 public:
  RawReplay(std::vector<vornsim::Request> requests,
            std::initializer_list<std::pair<vornsim::Svc, qmi_idl_service_object_type>> services)
      : requests_(std::move(requests)) {
    for (const auto &[svc, object] : services) {
      qmi_client_os_params os{};
      qmi_client_type handle = nullptr;
      if (qmi_client_init_instance(object, QMI_CLIENT_INSTANCE_ANY, nullptr, nullptr, &os, 3000, &handle) == 0)
        handles_.emplace_back(svc, handle);
    }
  }
  ~RawReplay() {
    for (auto &entry : handles_) qmi_client_release(entry.second);
  }
  RawReplay(const RawReplay &) = delete;
  RawReplay &operator=(const RawReplay &) = delete;

  // Messages of a library table (src/<family>/messages.h), all of `svc`.
  template <class... Msgs>
  RawReplay &sized(vornsim::Svc svc) {
    (add_size(svc, Msgs::id, sizeof(typename Msgs::Resp)), ...);
    return *this;
  }

  // Why the raw path would measure less than the library does, or empty:
  // nothing was recorded, or a request has no client or no size to go on.
  std::string incomplete() const {
    if (requests_.empty()) return "the library sent no request";
    std::string missing;
    for (const vornsim::Request &req : requests_) {
      std::string what = std::string(vornsim::name(req.svc)) + " message " + std::to_string(req.msg_id);
      if (handle(req.svc) == nullptr) missing += what + " has no raw client; ";
      if (response_size(req) == 0) missing += what + " has no response size; ";
    }
    return missing;
  }
  size_t size() const { return requests_.size(); }

  void operator()() {
    for (vornsim::Request &req : requests_) {
      benchmark::DoNotOptimize(qmi_client_send_msg_sync(
          handle(req.svc), req.msg_id, req.bytes.empty() ? nullptr : req.bytes.data(),
          static_cast<unsigned>(req.bytes.size()), response_.data(), static_cast<unsigned>(response_size(req)),
          req.timeout_ms != 0 ? req.timeout_ms : 10000));
    }
  }

 private:
  struct ResponseSize {
    vornsim::Svc svc;
    unsigned msg_id;
    size_t bytes;
  };

  void add_size(vornsim::Svc svc, unsigned msg_id, size_t bytes) {
    sizes_.push_back({svc, msg_id, bytes});
    if (bytes > response_.size()) response_.resize(bytes);
  }
  qmi_client_type handle(vornsim::Svc svc) const {
    for (const auto &entry : handles_)
      if (entry.first == svc) return entry.second;
    return nullptr;
  }
  size_t response_size(const vornsim::Request &req) const {
    for (const ResponseSize &size : sizes_)
      if (size.svc == req.svc && size.msg_id == req.msg_id) return size.bytes;
    return 0;
  }

  std::vector<vornsim::Request> requests_;
  std::vector<std::pair<vornsim::Svc, qmi_client_type>> handles_;
  std::vector<ResponseSize> sizes_;
  std::vector<uint8_t> response_;
};

}  // namespace bench
