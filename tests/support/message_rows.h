// Table-driven checks of a family's messages: each row names an exported
// call and the message of the family's table (src/<family>/messages.h) it
// sends, with the sizes and time-out that the service documents, written
// out so that the table is checked, not restated.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "vornpal_test.h"

namespace vt {

struct MessageRow {
  const char *function;
  std::function<int()> call;
  unsigned id;
  size_t request_size;  // 0: no request structure
  size_t response_size;
  unsigned timeout_ms;
  bool alone;           // the call sends nothing else
};

template <class Msg>
MessageRow row(const char *function, std::function<int()> call, size_t request_size,
               size_t response_size, unsigned timeout_ms, bool alone = true) {
  return {function, std::move(call), Msg::id, request_size, response_size, timeout_ms, alone};
}

// Each call, answered plainly (result 0, the rest zero), succeeds and sends
// its message once, as its row says.
void expect_messages(vornsim::Svc svc, const std::vector<MessageRow> &rows);

}  // namespace vt
