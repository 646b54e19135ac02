#include "message_rows.h"

namespace vt {

void expect_messages(vornsim::Svc svc, const std::vector<MessageRow> &rows) {
  for (const MessageRow &row : rows) {
    SCOPED_TRACE(row.function);
    vornsim::clear_requests();
    size_t response_size = 0;
    vornsim::on(svc, row.id, [&](const vornsim::Request &, void *, size_t resp_len) {
      response_size = resp_len;
      return 0;
    });
    EXPECT_EQ(row.call(), 0);
    auto sent = row.alone ? vornsim::requests() : vornsim::requests(svc, row.id);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].msg_id, row.id);
    EXPECT_EQ(sent[0].bytes.size(), row.request_size);
    EXPECT_EQ(response_size, row.response_size);
    EXPECT_EQ(sent[0].timeout_ms, row.timeout_ms);
    vornsim::reset();  // the row's handler goes with its response_size
  }
}

}  // namespace vt
