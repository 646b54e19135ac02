// Helpers shared by the simulated services that keep state of their own.
#pragma once

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>

#include <vornpal/platform/common_v01.h>
#include <vornsim/sim.h>

namespace vornsim {

template <class Resp>
void refuse_with(Resp &resp, qmi_error_type_v01 error) {
  resp.resp.result = QMI_RESULT_FAILURE_V01;
  resp.resp.error = error;
}

// The text of a fixed field, which need not be terminated.
template <size_t N>
std::string field_text(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

// A text into a fixed field, cut so that the terminator fits.
template <size_t N>
void put_text(char (&field)[N], const std::string &text) {
  size_t len = std::min(text.size(), N - 1);
  std::memcpy(field, text.data(), len);
  field[len] = '\0';
}

// A typed handler over a service's state. Handlers run on the clients'
// threads, several at once: each holds the state's mutex for its whole answer.
template <class State, class Req, class Resp>
Handler guarded(std::mutex &mutex, State &state, void (*fn)(State &, const Req &, Resp &)) {
  return typed<Req, Resp>([&mutex, &state, fn](const Req &req, Resp &resp) {
    std::lock_guard<std::mutex> lock(mutex);
    fn(state, req, resp);
  });
}

}  // namespace vornsim
