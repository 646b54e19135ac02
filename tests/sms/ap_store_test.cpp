// The AP store against the real sqlite file /data/sms_msg.db, read back by
// Debian's sqlite3 tool: indexes, capacity, status changes, rows damaged
// behind the library's back, a writer killed mid-write, and four threads at
// once.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <atomic>
#include <cstring>
#include <map>
#include <thread>

#include "sms_test.h"

namespace {

using namespace smst;

// What the sqlite3 tool prints for a statement on the store's file.
std::string sqlite(const std::string &sql) {
  std::string command = "sqlite3 /data/sms_msg.db \"" + sql + "\" 2>&1";
  std::string out;
  if (FILE *pipe = popen(command.c_str(), "r")) {
    char buffer[512];
    while (size_t n = fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, n);
    pclose(pipe);
  }
  return out;
}

Bytes pdu_of(uint32_t seed, size_t length = 40) {
  Bytes pdu(length);
  for (size_t i = 0; i < length; ++i) pdu[i] = static_cast<uint8_t>(seed * 31 + i);
  return pdu;
}

int write_pdu(const Bytes &pdu, uint32_t status, uint32_t *index) {
  return vorn_sms_pal_ap_write_msg(pdu.data(), static_cast<uint32_t>(pdu.size()), status, index);
}

// The store's handle again, with the used-info bitmap loaded from the file.
void reopen_store() {
  ASSERT_EQ(vorn_sms_store_deinit(ap_handle()), 0);
  ASSERT_EQ(vorn_sms_pal_ap_init(), 0);
}

TEST_F(SmsPalTest, ApStoreKeepsMessagesUnderTheLowestFreeIndex) {
  fresh_ap_store();
  for (uint32_t i = 0; i < 3; ++i) {
    uint32_t index = 99;
    ASSERT_EQ(write_pdu(pdu_of(i), i, &index), 0);
    EXPECT_EQ(index, i);
  }
  ASSERT_EQ(vorn_sms_pal_ap_delete_msg(1, 0), 0);
  uint32_t index = 99;
  ASSERT_EQ(write_pdu(pdu_of(7, 256), SMS_STATUS_SENT, &index), 0);
  EXPECT_EQ(index, 1u) << "the lowest free index is used again";

  sms_store_message record{};
  ASSERT_EQ(vorn_sms_pal_ap_read_msg(1, &record, 1), 1);
  EXPECT_EQ(Bytes(record.sms_pdu_data, record.sms_pdu_data + record.sms_pdu_len), pdu_of(7, 256));
  EXPECT_EQ(record.sms_status, static_cast<uint32_t>(SMS_STATUS_SENT));
  EXPECT_EQ(record.sms_format, static_cast<uint32_t>(SMS_FORMAT_GW_PP));
  EXPECT_EQ(sqlite("select sms_index, sms_format, sms_status, sms_pdu_len, length(sms_pdu_data) from sms_db order by sms_index"),
            "0|1|0|40|40\n1|1|3|256|256\n2|1|2|40|40\n");
  EXPECT_EQ(sqlite("select hex(sms_pdu_data) from sms_db where sms_index=2"), hex(pdu_of(2)) + "\n");

  sms_storage_info info{};
  ASSERT_EQ(vorn_sms_pal_ap_get_storage_info(&info), 0);
  EXPECT_EQ(info.used, 3u);
  EXPECT_EQ(info.total, 100u);
  sms_index_status pairs[4] = {};
  EXPECT_EQ(vorn_sms_pal_ap_get_valid_index(SMS_LIST_NOT_SENT, pairs, 4), 1);
  EXPECT_EQ(pairs[0].index, 2u);
  EXPECT_EQ(vorn_sms_pal_ap_get_valid_index(SMS_LIST_ALL, nullptr, 0), 3);

  // A record's own text fields go to their columns; a too long one is cut.
  sms_store_message outgoing{};
  outgoing.sms_status = SMS_STATUS_NOT_SENT;
  outgoing.sms_pdu_len = 3;
  std::snprintf(outgoing.sms_extra_time, sizeof outgoing.sms_extra_time, "26/11/22,10:00:00+04");
  std::memset(outgoing.sms_extra_da, '5', sizeof outgoing.sms_extra_da);
  ASSERT_EQ(vorn_sms_pal_ap_write(&outgoing, &index), 0);
  EXPECT_EQ(sqlite("select length(sms_extra_da), sms_extra_time from sms_db where sms_index=3"),
            "299|26/11/22,10:00:00+04\n");
}

TEST_F(SmsPalTest, ApStoreHoldsAHundredMessages) {
  fresh_ap_store();
  for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(write_pdu(pdu_of(i), 0, nullptr), 0) << i;
  uint32_t index = 1234;
  EXPECT_EQ(write_pdu(pdu_of(100), 0, &index), VORN_SMS_AP_STORE_FULL);
  EXPECT_EQ(index, 1234u);
  EXPECT_EQ(vorn_sms_store_write(ap_handle(), nullptr, nullptr), SMS_STORE_NOT_ALLOWED);
  sms_store_message record{};
  record.sms_pdu_len = 1;
  EXPECT_EQ(vorn_sms_store_write(ap_handle(), &record, &index), SMS_STORE_FULL);
  EXPECT_EQ(vorn_sms_pal_ap_write(&record, &index), VORN_INVALID_PARAM);
  EXPECT_EQ(sqlite("select count(*) from sms_db"), "100\n");
  std::vector<sms_store_message> all(120);
  EXPECT_EQ(vorn_sms_pal_ap_read_msg(SMS_PAL_INDEX_ALL, all.data(), 120), 100);
  EXPECT_EQ(Bytes(all[99].sms_pdu_data, all[99].sms_pdu_data + 40), pdu_of(99));
}

TEST_F(SmsPalTest, ApStoreAllowsOnlyItsStatusChanges) {
  fresh_ap_store();
  uint32_t incoming = 0, outgoing = 0;
  ASSERT_EQ(write_pdu(pdu_of(1), SMS_STATUS_UNREAD, &incoming), 0);
  ASSERT_EQ(write_pdu(pdu_of(2), SMS_STATUS_NOT_SENT, &outgoing), 0);
  EXPECT_EQ(vorn_sms_pal_ap_modify_msg(incoming, SMS_STATUS_READ), 0);
  EXPECT_EQ(vorn_sms_pal_ap_modify_msg(incoming, SMS_STATUS_READ), 0);
  EXPECT_EQ(vorn_sms_pal_ap_modify_msg(incoming, SMS_STATUS_UNREAD), 0);
  EXPECT_EQ(vorn_sms_pal_ap_modify_msg(incoming, SMS_STATUS_SENT), SMS_STORE_NOT_ALLOWED);
  EXPECT_TRUE(vt::logged("invalid flag:0,3\n"));
  EXPECT_EQ(vorn_sms_pal_ap_modify_msg(incoming, 4), 1);
  EXPECT_TRUE(vt::logged("invalid modify_flag:4 ===\n"));
  EXPECT_EQ(vorn_sms_pal_ap_modify_msg(outgoing, SMS_STATUS_SENT), 0);
  EXPECT_EQ(vorn_sms_pal_ap_modify_msg(77, SMS_STATUS_READ), SMS_STORE_NO_MESSAGE);
  EXPECT_EQ(sqlite("select sms_status from sms_db order by sms_index"), "0\n3\n");

  // Only outgoing messages are rewritten, and stay outgoing.
  sms_store_message replacement{};
  replacement.sms_status = SMS_STATUS_NOT_SENT;
  replacement.sms_pdu_len = 5;
  std::memcpy(replacement.sms_pdu_data, "\x01\x02\x03\x04\x05", 5);
  std::snprintf(replacement.sms_extra_da, sizeof replacement.sms_extra_da, "+4915112345678");
  EXPECT_EQ(vorn_sms_pal_ap_modify(outgoing, &replacement), 0);
  EXPECT_EQ(sqlite("select sms_status, sms_extra_da, hex(sms_pdu_data) from sms_db where sms_index=1"),
            "2|+4915112345678|0102030405\n");
  EXPECT_EQ(vorn_sms_store_modify_msg(ap_handle(), incoming, &replacement), SMS_STORE_BAD_STATUS);
  replacement.sms_status = SMS_STATUS_READ;
  EXPECT_EQ(vorn_sms_store_modify_msg(ap_handle(), outgoing, &replacement), SMS_STORE_NOT_ALLOWED);
  EXPECT_EQ(vorn_sms_pal_ap_modify(outgoing, &replacement), VORN_INVALID_PARAM);
}

// Rows changed behind the library's back give the store's codes, and the
// rows around them stay readable.
TEST_F(SmsPalTest, ApStoreReportsDamagedRows) {
  fresh_ap_store();
  for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(write_pdu(pdu_of(i), SMS_STATUS_READ, nullptr), 0);
  sqlite("update sms_db set sms_status=7 where sms_index=0");
  sqlite("update sms_db set sms_pdu_len=41 where sms_index=1");
  sqlite("insert into sms_db values(150, 1, 0, '', '', 1, x'00')");
  sms_store_message record{};
  EXPECT_EQ(vorn_sms_store_read(ap_handle(), 0, &record), SMS_STORE_BAD_STATUS);
  EXPECT_TRUE(vt::logged("invalid status:7\n"));
  EXPECT_EQ(vorn_sms_store_read(ap_handle(), 1, &record), SMS_STORE_BAD_PDU_SIZE);
  EXPECT_TRUE(vt::logged("pdu size not right:41,40\n"));
  EXPECT_EQ(vorn_sms_pal_ap_read_msg(0, &record, 1), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("oem_sms_store_read error:5\n"));
  EXPECT_EQ(vorn_sms_pal_ap_read_msg(2, &record, 1), 1);
  EXPECT_EQ(Bytes(record.sms_pdu_data, record.sms_pdu_data + record.sms_pdu_len), pdu_of(2));

  // A row beyond the capacity is seen when the store is loaded, and left alone.
  reopen_store();
  EXPECT_TRUE(vt::logged("[100] index out of range, 150\n"));
  sms_storage_info info{};
  ASSERT_EQ(vorn_sms_pal_ap_get_storage_info(&info), 0);
  EXPECT_EQ(info.used, 3u);
  EXPECT_EQ(vorn_sms_store_read(ap_handle(), 150, &record), SMS_STORE_NO_MESSAGE);
  EXPECT_EQ(sqlite("select count(*) from sms_db where sms_index=150"), "1\n");
}

// Every write that returned is in the file, whatever moment the writer died.
TEST_F(SmsPalTest, ApStoreSurvivesAWriterKilledMidWrite) {
  fresh_ap_store();
  int acked[2];
  ASSERT_EQ(pipe(acked), 0);
  vorn_set_log_level(4);
  pid_t writer = fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    close(acked[0]);
    for (uint32_t round = 0;; ++round) {
      uint32_t index = 0;
      int rc = write_pdu(pdu_of(round, 200), SMS_STATUS_UNREAD, &index);
      if (rc == 0) {
        uint32_t done[2] = {index, round};
        if (write(acked[1], done, sizeof done) != sizeof done) _exit(1);
      } else if (rc == VORN_SMS_AP_STORE_FULL) {
        vorn_sms_pal_ap_delete_msg(round % 100, 0);
      }
    }
  }
  close(acked[1]);
  std::map<uint32_t, uint32_t> written;  // index -> round of the last returned write
  uint32_t done[2];
  while (written.size() < 60 && read(acked[0], done, sizeof done) == sizeof done) written[done[0]] = done[1];
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
  while (read(acked[0], done, sizeof done) == sizeof done) written[done[0]] = done[1];
  close(acked[0]);
  vorn_set_log_level(0);

  EXPECT_EQ(sqlite("PRAGMA integrity_check"), "ok\n");
  reopen_store();
  for (const auto &[index, round] : written) {
    sms_store_message record{};
    ASSERT_EQ(vorn_sms_pal_ap_read_msg(static_cast<int32_t>(index), &record, 1), 1) << index;
    EXPECT_EQ(Bytes(record.sms_pdu_data, record.sms_pdu_data + record.sms_pdu_len), pdu_of(round, 200)) << index;
  }
  uint32_t index = 0;
  EXPECT_EQ(write_pdu(pdu_of(1), 0, &index), 0) << "the store takes writes again";
}

// Writers and readers at once: each thread reads back what it wrote, and
// the used-info bitmap and the table end in agreement.
TEST_F(SmsPalTest, ApStoreKeepsBitmapAndTableTogetherUnderFourThreads) {
  fresh_ap_store();
  std::atomic<int> mismatches{0};
  auto worker = [&](uint32_t id) {
    for (uint32_t round = 0; round < 25; ++round) {
      const Bytes pdu = pdu_of(id * 1000 + round);
      uint32_t index = 0;
      if (write_pdu(pdu, SMS_STATUS_UNREAD, &index) != 0) {
        ++mismatches;
        continue;
      }
      sms_store_message record{};
      if (vorn_sms_pal_ap_read_msg(static_cast<int32_t>(index), &record, 1) != 1 ||
          Bytes(record.sms_pdu_data, record.sms_pdu_data + record.sms_pdu_len) != pdu)
        ++mismatches;
      sms_storage_info info{};
      vorn_sms_pal_ap_get_storage_info(&info);
      if (round % 2 == 0 && vorn_sms_pal_ap_delete_msg(index, 0) != 0) ++mismatches;
    }
  };
  std::vector<std::thread> threads;
  for (uint32_t id = 0; id < 4; ++id) threads.emplace_back(worker, id);
  for (std::thread &t : threads) t.join();
  EXPECT_EQ(mismatches.load(), 0);

  sms_index_status pairs[100];
  const int listed = vorn_sms_pal_ap_get_valid_index(SMS_LIST_ALL, pairs, 100);
  EXPECT_EQ(listed, 4 * 12);
  std::string from_bitmap;
  for (int i = 0; i < listed; ++i) from_bitmap += std::to_string(pairs[i].index) + "\n";
  EXPECT_EQ(sqlite("select sms_index from sms_db order by sms_index"), from_bitmap);
  sms_storage_info info{};
  ASSERT_EQ(vorn_sms_pal_ap_get_storage_info(&info), 0);
  EXPECT_EQ(info.used, static_cast<uint32_t>(listed));
}

TEST_F(SmsPalTest, ApStoreRefusesBadInput) {
  // Before the store is opened.
  if (sms_store_handle *h = ap_handle()) vorn_sms_store_deinit(h);
  uint8_t pdu[300] = {1};
  EXPECT_EQ(vorn_sms_pal_ap_write_msg(pdu, 10, 0, nullptr), VORN_UNAVAILABLE);
  EXPECT_TRUE(vt::logged("NULL g_sms_apps_store\n"));
  EXPECT_EQ(vorn_sms_pal_ap_get_valid_index(SMS_LIST_ALL, nullptr, 0), 0);

  fresh_ap_store();
  EXPECT_EQ(vorn_sms_pal_ap_write_msg(nullptr, 10, 0, nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_sms_pal_ap_write_msg(pdu, 0, 0, nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_sms_pal_ap_write_msg(pdu, 257, 0, nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_sms_pal_ap_write_msg(pdu, 10, 4, nullptr), VORN_INVALID_PARAM);
  sms_store_message record{};
  record.sms_pdu_len = 300;
  EXPECT_EQ(vorn_sms_pal_ap_write(&record, nullptr), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_sms_store_write(ap_handle(), &record, nullptr), SMS_STORE_BAD_PDU_SIZE);
  EXPECT_EQ(vorn_sms_pal_ap_read_msg(100, &record, 1), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("msg not exist:100\n"));
  EXPECT_EQ(vorn_sms_pal_ap_read_msg(-7, &record, 1), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_sms_pal_ap_delete_msg(5000, 0), SMS_STORE_NO_MESSAGE);
  EXPECT_EQ(vorn_sms_pal_ap_delete_msg(0, 6), 1);
  EXPECT_TRUE(vt::logged("invalid delete_flag:6 ===\n"));
  EXPECT_EQ(vorn_sms_pal_ap_get_valid_index(5, nullptr, 0), 0);
  EXPECT_TRUE(vt::logged("invalid list_flag:5 ===\n"));
  sms_store_handle stranger = {SMS_STORE_KIND_SQLITE, 100, nullptr};
  EXPECT_EQ(vorn_sms_store_deinit(&stranger), SMS_STORE_BAD_HANDLE);
  EXPECT_EQ(vorn_sms_store_init(0, 10), nullptr);
  EXPECT_EQ(vorn_sms_store_info(nullptr, nullptr), VORN_UNAVAILABLE);
}

// A database that cannot be written: the codes and log lines, and nothing
// lost of what was stored before.
TEST_F(SmsPalTest, ApStoreOnAnUnwritableDatabase) {
  fresh_ap_store();
  ASSERT_EQ(write_pdu(pdu_of(1), 0, nullptr), 0);
  ASSERT_EQ(std::rename("/data/sms_msg.db", "/data/sms_msg.kept"), 0);
  ASSERT_EQ(mkdir("/data/sms_msg.db", 0755), 0);
  EXPECT_EQ(write_pdu(pdu_of(2), 0, nullptr), VORN_INVALID_PARAM);
  EXPECT_TRUE(vt::logged("oem_sms_store_write error:3\n"));
  sms_store_message record{};
  EXPECT_EQ(vorn_sms_pal_ap_read_msg(0, &record, 1), VORN_INVALID_PARAM);
  EXPECT_EQ(vorn_sms_pal_ap_get_valid_index(SMS_LIST_ALL, nullptr, 0), 0);
  bool open_failed = false;
  for (const std::string &text : vt::diag_texts())
    open_failed |= text.rfind("sqlite3_open failed: ", 0) == 0 || text.find("create sms create table error") != std::string::npos;
  EXPECT_TRUE(open_failed);
  ASSERT_EQ(rmdir("/data/sms_msg.db"), 0);
  ASSERT_EQ(std::rename("/data/sms_msg.kept", "/data/sms_msg.db"), 0);
  ASSERT_EQ(vorn_sms_pal_ap_read_msg(0, &record, 1), 1);
  EXPECT_EQ(Bytes(record.sms_pdu_data, record.sms_pdu_data + record.sms_pdu_len), pdu_of(1));
}

}  // namespace
