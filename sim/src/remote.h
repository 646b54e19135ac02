// A process whose modem is vornsimd's (VORNSIM_SOCKET names the daemon's
// socket): its control calls go to the daemon, which runs them on its modem.
//
//   void set_service_up(Svc svc, bool up) {
//     VORNSIM_REMOTE(set_service_up, svc, up);
//     ... the engine of this process ...
//   }
//
// The daemon runs the call of that name through its table (daemon_ops.cpp).
#pragma once

#include <cstdio>
#include <string>
#include <utility>

#include "codec.h"

namespace vornsim::remote {

// True when this process uses the daemon's modem.
bool active();
// The daemon's process keeps its modem even when VORNSIM_SOCKET is set in
// its environment.
void stay_local();
// Sends a call and waits for its result bytes; false (after a line on
// standard error) when the daemon is gone or refused the call. A call that
// makes a fresh modem (fresh_modem) drops what the old one sent that was
// not delivered yet.
bool control(const codec::Bytes &call, codec::Bytes &result, bool fresh_modem = false);

template <class R, class... A, class... Given>
R call(R (*fn)(A...), const char *name, Given &&...given) {
  codec::Bytes result;
  const bool fresh_modem = std::string(name) == "reset";
  bool ok = control(codec::encode_call(fn, name, std::forward<Given>(given)...), result, fresh_modem);
  if constexpr (std::is_void_v<R>) {
    if (ok) codec::decode_result<void>(result, ok);
  } else {
    R value{};
    if (ok) value = codec::decode_result<R>(result, ok);
    if (!ok) std::fprintf(stderr, "vornsim: no result from the daemon for %s\n", name);
    return value;
  }
}

}  // namespace vornsim::remote

// In a control function: hands the call to the daemon when this process
// uses one. `fn` names the function as the daemon's table does.
#define VORNSIM_REMOTE(fn, ...)                                              \
  do {                                                                       \
    if (::vornsim::remote::active())                                         \
      return ::vornsim::remote::call(&fn, #fn, ##__VA_ARGS__);               \
  } while (0)
