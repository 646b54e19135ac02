// The table of control calls vornsimd runs: one line a call, the function
// itself, which in the daemon's process runs on its own modem.
#include "daemon_ops.h"

#include <map>
#include <mutex>

#include <vornsim/dm_cache.h>
#include <vornsim/sim.h>
#include <vornsim/wms.h>

#include "engine.h"

namespace vornsim::daemon_ops {
namespace {

using codec::invoker;

struct Table {
  std::mutex mutex;
  std::map<std::string, codec::Invoke> calls = {
      {"reset", invoker(&reset)},
      {"set_service_up", invoker(&set_service_up)},
      {"service_up", invoker(&service_up)},
      {"service_up_after", invoker(&service_up_after)},
      {"set_service_object_missing", invoker(&set_service_object_missing)},
      {"set_fault", invoker(&set_fault)},
      {"clear_faults", invoker(&clear_faults)},
      {"set_decode_fault", invoker(&set_decode_fault)},
      {"requests", invoker(static_cast<std::vector<Request> (*)()>(&requests))},
      {"clear_requests", invoker(&clear_requests)},
      {"set_request_record", invoker(&set_request_record)},
      {"requests_dropped", invoker(&requests_dropped)},
      {"indicate_bytes", invoker(&indicate_bytes)},
      {"indicate_to_bytes", invoker(&indicate_to_bytes)},
      {"client_live", invoker(&client_live)},
      {"drain", invoker(&drain)},
      {"counters", invoker(&counters)},
      {"save_state", invoker(&save_state)},
      {"load_state", invoker(&load_state)},
      {"record_accessor", invoker(&record_accessor)},
      {"note_xport", invoker(&note_xport)},
      {"note_signal_wait", invoker(&note_signal_wait)},
      {"ipa_request", invoker(&ipa_request)},
      {"set_dm_cache_word", invoker(&set_dm_cache_word)},
      {"clear_dm_cache_word", invoker(&clear_dm_cache_word)},
      {"dm_cache_word", invoker(&dm_cache_word)},
      {"wms::deliver", invoker(&wms::deliver)},
      {"wms::hold", invoker(&wms::hold)},
      {"wms::waiting", invoker(&wms::waiting)},
      {"wms::release", invoker(&wms::release)},
  };
};

Table &table() {
  static Table instance;
  return instance;
}

}  // namespace

void add(const std::string &name, codec::Invoke invoke) {
  std::lock_guard<std::mutex> lock(table().mutex);
  table().calls[name] = std::move(invoke);
}

bool run(codec::Reader &in, codec::Writer &out, std::string &error) {
  std::string name;
  in.get(name);
  if (!in.ok()) {
    error = "a control call without a name";
    return false;
  }
  codec::Invoke invoke;
  {
    std::lock_guard<std::mutex> lock(table().mutex);
    auto it = table().calls.find(name);
    if (it == table().calls.end()) {
      error = "unknown control call " + name;
      return false;
    }
    invoke = it->second;
  }
  if (!invoke(in, out)) {
    error = "arguments of " + name + " do not fit";
    return false;
  }
  return true;
}

}  // namespace vornsim::daemon_ops
