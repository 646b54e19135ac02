// The word that carries an event from the QMI thread to the event thread:
// the record's address in the low half on the 32-bit target, a token of the
// record on a 64-bit host; and the counter that holds a second word back.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "data/event_word.h"
#include "data_test.h"

namespace datat {
namespace {

namespace dw = vorn::data;

TEST(EventWord, CarriesTheRecordWhereItRuns) {
  auto *record = static_cast<data_status_event *>(std::calloc(1, sizeof(data_status_event)));
  record->profileIndex = 7;
  const uint64_t word = dw::word_of(dw::EVENT_IPV6_CONNECTED, dw::RecordHalf::of(record));
  EXPECT_EQ(dw::high_of(word), 0xFFFFEEEBu);
  if (sizeof(void *) == 4) {
    EXPECT_TRUE(dw::RecordHalf::kAddress);
    EXPECT_EQ(dw::low_of(word), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(record)));
  } else {
    EXPECT_FALSE(dw::RecordHalf::kAddress);
    EXPECT_NE(dw::low_of(word), 0u);
  }
  data_status_event *back = dw::RecordHalf::record(dw::low_of(word));
  ASSERT_EQ(back, record);
  EXPECT_EQ(back->profileIndex, 7);
  std::free(back);
  // No record: the low half is 0, and 0 names no record.
  EXPECT_EQ(dw::RecordHalf::of(nullptr), 0u);
  EXPECT_EQ(dw::RecordHalf::record(0), nullptr);
}

TEST(EventWord, TokensAreReusedAndTakenOnce) {
  dw::RecordTokens tokens;
  data_status_event a{}, b{};
  const uint32_t ta = tokens.put(&a);
  const uint32_t tb = tokens.put(&b);
  EXPECT_NE(ta, tb);
  EXPECT_EQ(tokens.in_flight(), 2u);
  EXPECT_EQ(tokens.take(ta), &a);
  EXPECT_EQ(tokens.take(ta), nullptr);  // taken already
  EXPECT_EQ(tokens.put(&a), ta);        // the free slot again
  EXPECT_EQ(tokens.take(tb), &b);
  EXPECT_EQ(tokens.take(ta), &a);
  EXPECT_EQ(tokens.in_flight(), 0u);
  EXPECT_EQ(tokens.take(99), nullptr);
}

TEST(EventWord, ASecondWordWaitsForTheRead) {
  const int fd = eventfd(0, 0);
  ASSERT_GE(fd, 0);
  const uint64_t first = dw::word_of(dw::EVENT_IPV4_CONNECTED, 1);
  const uint64_t second = dw::word_of(dw::EVENT_IPV4_DISCONNECTED, 2);
  ASSERT_EQ(write(fd, &first, sizeof first), 8);
  // The sum would pass the counter's limit: a blocking writer waits, a
  // non-blocking one is told to.
  fcntl(fd, F_SETFL, O_NONBLOCK);
  EXPECT_EQ(write(fd, &second, sizeof second), -1);
  EXPECT_EQ(errno, EAGAIN);
  uint64_t read_back = 0;
  ASSERT_EQ(read(fd, &read_back, sizeof read_back), 8);
  EXPECT_EQ(read_back, first);  // one word, one event
  EXPECT_EQ(write(fd, &second, sizeof second), 8);
  ASSERT_EQ(read(fd, &read_back, sizeof read_back), 8);
  EXPECT_EQ(read_back, second);
  close(fd);
}

}  // namespace
}  // namespace datat
