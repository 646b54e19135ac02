// Fails each request of an exported call in turn and checks what the daemon
// is promised: the call's documented result, no client left behind, the
// modem and the family's files as they were, and a library that works again
// once the modem does.
//
//   const vt::FailureCase kCases[] = {
//       {"vorn_m2m_pal_get_cfun_mode", [] { return vorn_m2m_pal_get_cfun_mode(&cfun); }, -1, -1},
//   };
//   for (const auto &c : kCases) vt::expect_request_failures(c, family);
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "vornpal_test.h"

namespace vt {

// A result that differs from the call's usual one when this message fails
// (only its n-th request of the call, when `occurrence` is not -1).
struct MessageResult {
  vornsim::Svc svc;
  unsigned msg_id;
  int on_transport_failure;
  int on_refusal;
  int occurrence = -1;
};

struct FailureCase {
  const char *name;
  std::function<int()> call;
  int on_transport_failure;  // the result when the transport fails a request
  int on_refusal;            // the result when the modem refuses one
  // Calls of several steps keep what their earlier requests did; for the
  // others a failure leaves the modem and the files untouched.
  bool atomic = true;
  std::vector<MessageResult> except = {};
  // Runs after the family's fresh start, before each run of the call.
  std::function<void()> prepare = nullptr;
};

struct FailureFamily {
  // A fresh modem and the family as a daemon finds it before the call.
  std::function<void()> fresh;
  // Files of the device that the family keeps (caches, backups).
  std::vector<std::string> files;
};

// Records the requests the call makes on a fresh modem; then for each of
// them in turn, on a fresh modem again, fails that one (by the transport,
// then by refusal) and checks the call's result, the modem's clients, the
// modem's store and the family's files, and that the call, run again once
// the modem is itself again, gives its clean result.
void expect_request_failures(const FailureCase &c, const FailureFamily &family);

}  // namespace vt
