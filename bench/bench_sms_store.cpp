// The AP message store beside sqlite used directly (paired.h): a write and
// a delete, and a read, of one message each as the library does them (the
// database opened and closed around every operation, under the store's
// mutex), against the same statements through sqlite's own calls, opened and
// closed the same way or on one connection kept open, with and without the
// commit's sync. Timed on the wall clock: the sync waits for the disk.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=SmsStore
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/sms.h>
#include <vornsim/sim.h>

#include "paired.h"

namespace {

constexpr char kDatabase[] = "/data/sms_msg.db";
constexpr char kCreateTable[] =
    "create table if not exists sms_db (sms_index integer PRIMARY KEY autoincrement,"
    "sms_format integer,sms_status integer,sms_extra_da varchar(300),sms_extra_time char(40),"
    "sms_pdu_len integer,sms_pdu_data blob)";
// A row the library never hands out, so that both paths can share one table.
constexpr int kRawIndex = 999;
const std::vector<uint8_t> kPdu(160, 0x5A);

void fresh_store() {
  vornsim::set_diag_record(false);
  vornsim::set_request_record(0);
  vorn_set_log_level(1);
  if (sms_store_handle *h = vorn_sms_store_init(SMS_STORE_KIND_SQLITE, 100)) vorn_sms_store_deinit(h);
  std::remove(kDatabase);
  vorn_sms_pal_ap_init();
}

// sqlite on its own: one connection per operation as the library keeps
// them, or one for the whole run (`persistent`), with `synchronous` FULL
// (sqlite's default and the library's) or OFF.
class RawStore {
 public:
  RawStore(bool persistent, bool synced) : persistent_(persistent), synced_(synced) {
    if (persistent_) db_ = open();
  }
  ~RawStore() {
    if (persistent_) sqlite3_close(db_);
  }
  RawStore(const RawStore &) = delete;
  RawStore &operator=(const RawStore &) = delete;

  bool write(int index) {
    return operation([&](sqlite3 *db) {
      char sql[128];
      std::snprintf(sql, sizeof sql, "insert into sms_db values(%d, 1, 0, '', '',  %d, ?)", index,
                    static_cast<int>(kPdu.size()));
      sqlite3_stmt *insert = nullptr;
      sqlite3_prepare_v2(db, sql, -1, &insert, nullptr);
      sqlite3_bind_blob(insert, 1, kPdu.data(), static_cast<int>(kPdu.size()), SQLITE_TRANSIENT);
      bool done = sqlite3_step(insert) == SQLITE_DONE;
      sqlite3_finalize(insert);
      return done;
    });
  }
  bool remove(int index) {
    return operation([&](sqlite3 *db) {
      char sql[64];
      std::snprintf(sql, sizeof sql, "delete from sms_db where sms_index=%d ", index);
      return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    });
  }
  bool read(int index) {
    return operation([&](sqlite3 *db) {
      char sql[64];
      std::snprintf(sql, sizeof sql, "select * from sms_db where sms_index=%d", index);
      sqlite3_stmt *select = nullptr;
      sqlite3_prepare_v2(db, sql, -1, &select, nullptr);
      bool found = sqlite3_step(select) == SQLITE_ROW;
      if (found) benchmark::DoNotOptimize(sqlite3_column_blob(select, 6));
      sqlite3_finalize(select);
      return found;
    });
  }

 private:
  sqlite3 *open() const {
    sqlite3 *db = nullptr;
    sqlite3_open(kDatabase, &db);
    // FULL is sqlite's default, as the library leaves it.
    if (!synced_) sqlite3_exec(db, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
    sqlite3_exec(db, kCreateTable, nullptr, nullptr, nullptr);
    return db;
  }
  template <class Work>
  bool operation(Work work) {
    if (persistent_) return work(db_);
    sqlite3 *db = open();
    bool ok = work(db);
    sqlite3_close(db);
    return ok;
  }

  bool persistent_;
  bool synced_;
  sqlite3 *db_ = nullptr;
};

// Arguments: the raw connection kept open (1) or opened per operation (0),
// and its sync FULL (2) or OFF (0).
void BM_SmsStoreWriteDeleteVsSqlite(benchmark::State &state) {
  fresh_store();
  RawStore raw(state.range(0) != 0, state.range(1) != 0);
  bench::paired(
      state, CLOCK_MONOTONIC, 4,
      [&] {
        uint32_t index = 0;
        if (vorn_sms_pal_ap_write_msg(kPdu.data(), static_cast<uint32_t>(kPdu.size()), 0, &index) != 0 ||
            vorn_sms_pal_ap_delete_msg(index, 0) != 0)
          state.SkipWithError("the library's write or delete failed");
      },
      [&] {
        if (!raw.write(kRawIndex) || !raw.remove(kRawIndex)) state.SkipWithError("sqlite's insert or delete failed");
      });
}
BENCHMARK(BM_SmsStoreWriteDeleteVsSqlite)
    ->ArgNames({"persistent", "sync"})
    ->Args({0, 2})
    ->Args({1, 2})
    ->Args({1, 0})
    ->Unit(benchmark::kMicrosecond);

void BM_SmsStoreReadVsSqlite(benchmark::State &state) {
  fresh_store();
  for (uint32_t i = 0; i < 50; ++i) vorn_sms_pal_ap_write_msg(kPdu.data(), static_cast<uint32_t>(kPdu.size()), 0, nullptr);
  RawStore raw(state.range(0) != 0, true);
  sms_store_message record;
  bench::paired(
      state, CLOCK_MONOTONIC, 16, [&] { benchmark::DoNotOptimize(vorn_sms_pal_ap_read_msg(25, &record, 1)); },
      [&] { benchmark::DoNotOptimize(raw.read(25)); });
}
BENCHMARK(BM_SmsStoreReadVsSqlite)->ArgName("persistent")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_SmsStoreListAll(benchmark::State &state) {
  fresh_store();
  for (uint32_t i = 0; i < 50; ++i) vorn_sms_pal_ap_write_msg(kPdu.data(), static_cast<uint32_t>(kPdu.size()), 0, nullptr);
  sms_index_status pairs[100];
  for (auto _ : state) benchmark::DoNotOptimize(vorn_sms_pal_ap_get_valid_index(SMS_LIST_ALL, pairs, 100));
  state.SetLabel("50 messages, one status query each");
}
BENCHMARK(BM_SmsStoreListAll)->Unit(benchmark::kMicrosecond);

}  // namespace
