// The AP message store: a write, a read and a delete of one message each
// as the library does them (the database opened and closed around every
// operation, under the store's mutex), beside their parts done with sqlite
// directly: the open and close with the table check alone, and the same
// statements on one open connection, with and without the commit's sync.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=SmsStore
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/sms.h>
#include <vornsim/sim.h>

namespace {

constexpr char kDatabase[] = "/data/sms_msg.db";
const std::vector<uint8_t> kPdu(160, 0x5A);

void fresh_store() {
  vornsim::set_diag_record(false);
  vorn_set_log_level(1);
  if (sms_store_handle *h = vorn_sms_store_init(SMS_STORE_KIND_SQLITE, 100)) vorn_sms_store_deinit(h);
  std::remove(kDatabase);
  vorn_sms_pal_ap_init();
}

void BM_SmsStoreWriteThenDelete(benchmark::State &state) {
  fresh_store();
  for (auto _ : state) {
    uint32_t index = 0;
    if (vorn_sms_pal_ap_write_msg(kPdu.data(), static_cast<uint32_t>(kPdu.size()), 0, &index) != 0)
      state.SkipWithError("write failed");
    if (vorn_sms_pal_ap_delete_msg(index, 0) != 0) state.SkipWithError("delete failed");
  }
  state.SetLabel("one write and one delete");
}
BENCHMARK(BM_SmsStoreWriteThenDelete)->Unit(benchmark::kMicrosecond);

void BM_SmsStoreRead(benchmark::State &state) {
  fresh_store();
  for (uint32_t i = 0; i < 50; ++i) vorn_sms_pal_ap_write_msg(kPdu.data(), static_cast<uint32_t>(kPdu.size()), 0, nullptr);
  sms_store_message record;
  for (auto _ : state) benchmark::DoNotOptimize(vorn_sms_pal_ap_read_msg(25, &record, 1));
}
BENCHMARK(BM_SmsStoreRead)->Unit(benchmark::kMicrosecond);

void BM_SmsStoreListAll(benchmark::State &state) {
  fresh_store();
  for (uint32_t i = 0; i < 50; ++i) vorn_sms_pal_ap_write_msg(kPdu.data(), static_cast<uint32_t>(kPdu.size()), 0, nullptr);
  sms_index_status pairs[100];
  for (auto _ : state) benchmark::DoNotOptimize(vorn_sms_pal_ap_get_valid_index(SMS_LIST_ALL, pairs, 100));
  state.SetLabel("50 messages, one status query each");
}
BENCHMARK(BM_SmsStoreListAll)->Unit(benchmark::kMicrosecond);

// What every operation pays before its statement.
void BM_SmsStoreSqliteOpenClose(benchmark::State &state) {
  fresh_store();
  for (auto _ : state) {
    sqlite3 *db = nullptr;
    sqlite3_open(kDatabase, &db);
    sqlite3_exec(db,
                 "create table if not exists sms_db (sms_index integer PRIMARY KEY autoincrement,"
                 "sms_format integer,sms_status integer,sms_extra_da varchar(300),sms_extra_time char(40),"
                 "sms_pdu_len integer,sms_pdu_data blob)",
                 nullptr, nullptr, nullptr);
    sqlite3_close(db);
  }
  state.SetLabel("open, table check, close");
}
BENCHMARK(BM_SmsStoreSqliteOpenClose)->Unit(benchmark::kMicrosecond);

// The statements alone, on one connection; `synchronous` 2 (FULL, sqlite's
// default and the library's) or 0 (OFF: no sync of journal and file).
void BM_SmsStoreSqliteStatementsOneConnection(benchmark::State &state) {
  fresh_store();
  sqlite3 *db = nullptr;
  sqlite3_open(kDatabase, &db);
  sqlite3_exec(db, state.range(0) == 0 ? "PRAGMA synchronous=OFF" : "PRAGMA synchronous=FULL", nullptr, nullptr, nullptr);
  sqlite3_stmt *insert = nullptr;
  sqlite3_prepare_v2(db, "insert into sms_db values(7, 1, 0, '', '',  160, ?)", -1, &insert, nullptr);
  for (auto _ : state) {
    sqlite3_reset(insert);
    sqlite3_bind_blob(insert, 1, kPdu.data(), static_cast<int>(kPdu.size()), SQLITE_STATIC);
    if (sqlite3_step(insert) != SQLITE_DONE) state.SkipWithError("insert failed");
    sqlite3_exec(db, "delete from sms_db where sms_index=7 ", nullptr, nullptr, nullptr);
  }
  sqlite3_finalize(insert);
  sqlite3_close(db);
  state.SetLabel(state.range(0) == 0 ? "insert and delete, no sync" : "insert and delete, synced");
}
BENCHMARK(BM_SmsStoreSqliteStatementsOneConnection)->Arg(2)->Arg(0)->Unit(benchmark::kMicrosecond);

}  // namespace
