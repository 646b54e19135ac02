// The AP message store in sqlite: /data/sms_msg.db, table sms_db, one row a
// message under the index that the used-info bitmap hands out. Every
// operation opens the database, works and closes it again, all under the
// store's mutex: a write that returned is committed to the file, and a
// process killed at any point leaves a database that sqlite's journal
// brings back to the last committed write.
#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "foundation/log_site.h"
#include "sms/store.h"

namespace {

constexpr char kDatabase[] = "/data/sms_msg.db";
constexpr char kTable[] = "sms_db";
constexpr size_t kStatementSize = 512;
constexpr uint32_t kStatusMax = SMS_STATUS_SENT;

// Columns of a row as "select *" gives them.
enum Column { kIndex = 0, kFormat, kStatus, kExtraDa, kExtraTime, kPduLen, kPduData };

std::atomic<sms_store_handle *> current{nullptr};
std::mutex store_mutex;
// The statement text, under store_mutex.
char statement[kStatementSize];

const char *format_statement(const char *format, ...) __attribute__((format(printf, 1, 2)));
const char *format_statement(const char *format, ...) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(statement, sizeof statement, format, args);
  va_end(args);
  return statement;
}

// The handle of an operation that waited for the mutex may have been closed
// meanwhile: under the mutex, only the current handle is used.
bool closed_meanwhile(const sms_store_handle *h) {
  if (h == current.load()) return false;
  VORN_LOG(VORN_ERR, "invalid handle:%p,%p\n", static_cast<const void *>(h),
           static_cast<void *>(current.load()));
  return true;
}

// The database of one operation: the mutex from open to close. With a
// handle, nothing is opened when that handle was closed meanwhile.
class Session {
 public:
  explicit Session(const sms_store_handle *h = nullptr) : lock_(store_mutex) {
    if (h != nullptr && closed_meanwhile(h)) return;
    int rc = sqlite3_open(kDatabase, &db_);
    if (rc != SQLITE_OK) {
      VORN_LOG(VORN_ERR, "sqlite3_open failed: %s\n", db_ != nullptr ? sqlite3_errmsg(db_) : "no memory");
      close();
      return;
    }
    char *error = nullptr;
    rc = sqlite3_exec(db_,
                      format_statement("create table if not exists %s (sms_index integer PRIMARY KEY "
                                       "autoincrement,sms_format integer,sms_status integer,"
                                       "sms_extra_da varchar(%d),sms_extra_time char(%d),"
                                       "sms_pdu_len integer,sms_pdu_data blob)",
                                       kTable, SMS_STORE_EXTRA_DA_SIZE, SMS_STORE_EXTRA_TIME_SIZE),
                      nullptr, nullptr, &error);
    if (rc != SQLITE_OK) {
      VORN_LOG(VORN_ERR, "[%d] create sms create table error, %s\n", rc, error != nullptr ? error : "");
      sqlite3_free(error);
      close();
    }
  }
  ~Session() { close(); }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  bool open() const { return db_ != nullptr; }
  sqlite3 *db() const { return db_; }

 private:
  void close() {
    if (db_ != nullptr) sqlite3_close(db_);
    db_ = nullptr;
  }
  std::lock_guard<std::mutex> lock_;
  sqlite3 *db_ = nullptr;
};

// A prepared statement, finalized with its scope.
class Statement {
 public:
  Statement(sqlite3 *db, const char *sql) : rc_(sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr)) {}
  ~Statement() { sqlite3_finalize(stmt_); }
  Statement(const Statement &) = delete;
  Statement &operator=(const Statement &) = delete;
  bool ok() const { return rc_ == SQLITE_OK && stmt_ != nullptr; }
  int rc() const { return rc_; }
  sqlite3_stmt *get() const { return stmt_; }

 private:
  sqlite3_stmt *stmt_ = nullptr;
  int rc_;
};

bool in_use(const sms_store_handle *h, uint32_t index) {
  return index < static_cast<uint32_t>(h->capacity) && (h->used_info->bytes[index] & 1) != 0;
}

void set_used(sms_store_handle *h, uint32_t index, bool used) {
  uint8_t &entry = h->used_info->bytes[index];
  entry = static_cast<uint8_t>(used ? (entry | 1) : (entry & ~1));
}

// The status of one row; false when there is no row or no answer.
bool row_status(sqlite3 *db, uint32_t index, uint32_t &status) {
  Statement stmt(db, format_statement("select sms_status from %s where sms_index=%d", kTable,
                                      static_cast<int>(index)));
  if (!stmt.ok() || sqlite3_step(stmt.get()) != SQLITE_ROW) return false;
  status = static_cast<uint32_t>(sqlite3_column_int(stmt.get(), 0));
  return true;
}

// A text column into a fixed field, cut so that it stays terminated.
template <size_t N>
void copy_text(char (&field)[N], const unsigned char *text) {
  std::memset(field, 0, N);
  if (text == nullptr) return;
  std::memcpy(field, text, strnlen(reinterpret_cast<const char *>(text), N - 1));
}

// A caller's text field, which need not be terminated.
template <size_t N>
std::string field_text(const char (&field)[N]) {
  return std::string(field, strnlen(field, N - 1));
}

// How a statement that carries a message's PDU failed, in the words of the
// insert and of the rewrite, and the operation that speaks in the log.
struct PduFailureTexts {
  const char *operation;
  const char *bind;  // index, sqlite's code
  const char *step;  // index, sqlite's code
};
constexpr PduFailureTexts kInsertFailures = {"sqlite_write", "index=%d bind_blob error, %d\n",
                                             "index=%d step failed rc: %d\n"};
constexpr PduFailureTexts kRewriteFailures = {"sqlite_modify_msg", "[%d] bind_blob error, rc: %d\n",
                                              "%d step failed rc: %d\n"};

// Binds the record's PDU to the statement's one parameter and runs it.
bool run_with_pdu(sqlite3 *db, const Statement &stmt, const sms_store_message &record, uint32_t index,
                  const PduFailureTexts &texts) {
  if (!stmt.ok()) {
    VORN_LOG_AS(texts.operation, VORN_ERR, "[%d] sms_store_get failed, %s\n", stmt.rc(), sqlite3_errmsg(db));
    return false;
  }
  int rc = sqlite3_bind_blob(stmt.get(), 1, record.sms_pdu_data, static_cast<int>(record.sms_pdu_len),
                             SQLITE_TRANSIENT);
  if (rc != SQLITE_OK) {
    VORN_LOG_AS(texts.operation, VORN_ERR, texts.bind, static_cast<int>(index), rc);
    return false;
  }
  rc = sqlite3_step(stmt.get());
  if (rc != SQLITE_DONE) {
    VORN_LOG_AS(texts.operation, VORN_ERR, texts.step, static_cast<int>(index), rc);
    return false;
  }
  return true;
}

bool list_takes(uint32_t list_flag, uint32_t status) {
  static constexpr uint32_t kStatusOfFlag[] = {SMS_STATUS_READ, SMS_STATUS_UNREAD, SMS_STATUS_SENT,
                                               SMS_STATUS_NOT_SENT};
  return list_flag == SMS_LIST_ALL || (list_flag < 4 && kStatusOfFlag[list_flag] == status);
}

bool outgoing(uint32_t status) { return status == SMS_STATUS_NOT_SENT || status == SMS_STATUS_SENT; }

// ---- the back end -----------------------------------------------------------------

void load_used_info(sms_store_handle *h) {
  Session session;
  if (!session.open()) return;
  Statement stmt(session.db(), format_statement("select sms_index from %s", kTable));
  if (!stmt.ok()) {
    VORN_LOG(VORN_ERR, "[%d] sms_store_get failed, %s\n", stmt.rc(), sqlite3_errmsg(session.db()));
    return;
  }
  while (sqlite3_step(stmt.get()) == SQLITE_ROW) {
    const int index = sqlite3_column_int(stmt.get(), 0);
    if (index < 0 || index >= h->capacity) {
      VORN_LOG(VORN_ERR, "[%d] index out of range, %d\n", h->capacity, index);
      continue;
    }
    set_used(h, static_cast<uint32_t>(index), true);
  }
}

sms_store_handle *sqlite_init(int32_t capacity) {
  std::lock_guard<std::mutex> once(*[] {
    static std::mutex init_mutex;
    return &init_mutex;
  }());
  if (sms_store_handle *h = current.load()) {
    VORN_LOG(VORN_INFO, "already open the sqlite db\n");
    return h;
  }
  if (capacity < 0) capacity = 0;
  auto *h = static_cast<sms_store_handle *>(std::calloc(1, sizeof(sms_store_handle)));
  auto *used = static_cast<sms_store_used_info *>(std::calloc(1, sizeof(sms_store_used_info)));
  auto *bytes = static_cast<uint8_t *>(std::calloc(static_cast<size_t>(capacity) + 1, 1));
  if (h == nullptr || used == nullptr || bytes == nullptr) {
    std::printf("%s, line: %d\n", __FILE__, __LINE__);
    std::fflush(stdout);
    std::abort();
  }
  used->bytes = bytes;
  used->size = capacity + 1;
  *h = {SMS_STORE_KIND_SQLITE, capacity, used};
  load_used_info(h);
  current.store(h);
  return h;
}

int sqlite_deinit(sms_store_handle *h) {
  std::lock_guard<std::mutex> lock(store_mutex);
  sms_store_handle *expected = current.load();
  if (h != expected) {
    VORN_LOG(VORN_ERR, "invalid handle:%p,%p\n", static_cast<void *>(h), static_cast<void *>(expected));
    return SMS_STORE_BAD_HANDLE;
  }
  current.store(nullptr);
  std::free(h->used_info->bytes);
  std::free(h->used_info);
  std::free(h);
  return SMS_STORE_OK;
}

// Only the walk takes the mutex: no database is needed.
int sqlite_info(sms_store_handle *h, sms_storage_info *info) {
  if (info == nullptr) return SMS_STORE_NOT_ALLOWED;
  std::lock_guard<std::mutex> lock(store_mutex);
  if (closed_meanwhile(h)) return SMS_STORE_BAD_HANDLE;
  uint32_t used = 0;
  for (int32_t i = 0; i < h->capacity; ++i) used += h->used_info->bytes[i] & 1;
  info->used = used;
  info->total = static_cast<uint32_t>(h->capacity);
  return SMS_STORE_OK;
}

int sqlite_read(sms_store_handle *h, uint32_t index, sms_store_message *record) {
  if (record == nullptr) return SMS_STORE_NOT_ALLOWED;
  Session session(h);
  if (!session.open()) return SMS_STORE_DB_FAILED;
  if (!in_use(h, index)) {
    VORN_LOG(VORN_ERR, "msg not exist:%d\n", static_cast<int>(index));
    return SMS_STORE_NO_MESSAGE;
  }
  Statement stmt(session.db(), format_statement("select * from %s where sms_index=%d", kTable,
                                                static_cast<int>(index)));
  if (!stmt.ok()) {
    VORN_LOG(VORN_ERR, "[%d] sms_store_get_first, %s\n", stmt.rc(), sqlite3_errmsg(session.db()));
    return SMS_STORE_DB_FAILED;
  }
  int rc = sqlite3_step(stmt.get());
  if (rc != SQLITE_ROW) {
    VORN_LOG(VORN_ERR, "sqlite3_step error, %d\n", rc);
    return SMS_STORE_NO_MESSAGE;
  }
  sqlite3_stmt *row = stmt.get();
  const int status = sqlite3_column_int(row, kStatus);
  if (status < 0 || static_cast<uint32_t>(status) > kStatusMax) {
    VORN_LOG(VORN_ERR, "invalid status:%d\n", status);
    return SMS_STORE_BAD_STATUS;
  }
  const int length = sqlite3_column_int(row, kPduLen);
  const void *blob = sqlite3_column_blob(row, kPduData);
  const int bytes = sqlite3_column_bytes(row, kPduData);
  if (length < 0 || length > SMS_STORE_PDU_MAX || length != bytes) {
    VORN_LOG(VORN_ERR, "pdu size not right:%d,%d\n", length, bytes);
    return SMS_STORE_BAD_PDU_SIZE;
  }
  std::memset(record, 0, sizeof *record);
  record->sms_status = static_cast<uint32_t>(status);
  record->sms_format = static_cast<uint32_t>(sqlite3_column_int(row, kFormat));
  record->sms_pdu_len = static_cast<uint32_t>(length);
  if (blob != nullptr) std::memcpy(record->sms_pdu_data, blob, static_cast<size_t>(length));
  copy_text(record->sms_extra_da, sqlite3_column_text(row, kExtraDa));
  copy_text(record->sms_extra_time, sqlite3_column_text(row, kExtraTime));
  return SMS_STORE_OK;
}

int sqlite_write(sms_store_handle *h, const sms_store_message *record, uint32_t *index) {
  if (record == nullptr) return SMS_STORE_NOT_ALLOWED;
  if (record->sms_pdu_len > SMS_STORE_PDU_MAX) return SMS_STORE_BAD_PDU_SIZE;
  Session session(h);
  if (!session.open()) return SMS_STORE_DB_FAILED;
  uint32_t free_index = 0;
  while (free_index < static_cast<uint32_t>(h->capacity) && in_use(h, free_index)) ++free_index;
  if (free_index >= static_cast<uint32_t>(h->capacity)) return SMS_STORE_FULL;
  const std::string da = field_text(record->sms_extra_da);
  const std::string time = field_text(record->sms_extra_time);
  Statement stmt(session.db(),
                 format_statement("insert into %s values(%d, %d, %d, '%s', '%s',  %d, ?)", kTable,
                                  static_cast<int>(free_index), static_cast<int>(record->sms_format),
                                  static_cast<int>(record->sms_status), da.c_str(), time.c_str(),
                                  static_cast<int>(record->sms_pdu_len)));
  if (!run_with_pdu(session.db(), stmt, *record, free_index, kInsertFailures)) return SMS_STORE_DB_FAILED;
  set_used(h, free_index, true);
  if (index != nullptr) *index = free_index;
  VORN_LOG(VORN_INFO, "insert result:index=%d\n", static_cast<int>(free_index));
  return SMS_STORE_OK;
}

int sqlite_delete(sms_store_handle *h, uint32_t index, uint32_t) {
  Session session(h);
  if (!session.open()) return SMS_STORE_DB_FAILED;
  if (!in_use(h, index)) {
    VORN_LOG(VORN_ERR, "msg not exist:%d\n", static_cast<int>(index));
    return SMS_STORE_NO_MESSAGE;
  }
  char *error = nullptr;
  int rc = sqlite3_exec(session.db(),
                        format_statement("delete from %s where sms_index=%d ", kTable, static_cast<int>(index)),
                        nullptr, nullptr, &error);
  if (rc != SQLITE_OK) {
    VORN_LOG(VORN_ERR, "[%d] sms_store_del error, %s\n", rc, error != nullptr ? error : "");
    sqlite3_free(error);
    return SMS_STORE_DB_FAILED;
  }
  set_used(h, index, false);
  return SMS_STORE_OK;
}

// Read and unread swap, and so do sent and not sent; nothing else changes.
int sqlite_modify(sms_store_handle *h, uint32_t index, uint32_t status) {
  Session session(h);
  if (!session.open()) return SMS_STORE_DB_FAILED;
  if (!in_use(h, index)) {
    VORN_LOG(VORN_ERR, "msg not exist:%d\n", static_cast<int>(index));
    return SMS_STORE_NO_MESSAGE;
  }
  uint32_t old_status = 0;
  if (!row_status(session.db(), index, old_status)) return SMS_STORE_DB_FAILED;
  if (old_status == status) return SMS_STORE_OK;
  if (old_status > kStatusMax || status > kStatusMax || (old_status ^ 1u) != status) {
    VORN_LOG(VORN_ERR, "invalid flag:%d,%d\n", static_cast<int>(old_status), static_cast<int>(status));
    return SMS_STORE_NOT_ALLOWED;
  }
  char *error = nullptr;
  int rc = sqlite3_exec(session.db(),
                        format_statement("update %s set sms_status=%d where sms_index=%d ", kTable,
                                         static_cast<int>(status), static_cast<int>(index)),
                        nullptr, nullptr, &error);
  if (rc != SQLITE_OK) {
    VORN_LOG(VORN_ERR, "[%d] sms_store_modify error, %s\n", rc, error != nullptr ? error : "");
    sqlite3_free(error);
    return SMS_STORE_DB_FAILED;
  }
  return SMS_STORE_OK;
}

// Only outgoing messages are rewritten, and stay outgoing.
int sqlite_modify_msg(sms_store_handle *h, uint32_t index, const sms_store_message *record) {
  if (record == nullptr) return SMS_STORE_NOT_ALLOWED;
  if (record->sms_pdu_len > SMS_STORE_PDU_MAX) return SMS_STORE_BAD_PDU_SIZE;
  Session session(h);
  if (!session.open()) return SMS_STORE_DB_FAILED;
  if (!in_use(h, index)) {
    VORN_LOG(VORN_ERR, "msg not exist:%d\n", static_cast<int>(index));
    return SMS_STORE_NO_MESSAGE;
  }
  uint32_t old_status = 0;
  if (!row_status(session.db(), index, old_status)) return SMS_STORE_DB_FAILED;
  if (!outgoing(old_status)) {
    VORN_LOG(VORN_ERR, "invalid status:%d\n", static_cast<int>(old_status));
    return SMS_STORE_BAD_STATUS;
  }
  if (!outgoing(record->sms_status)) {
    VORN_LOG(VORN_ERR, "invalid status:%d\n", static_cast<int>(record->sms_status));
    return SMS_STORE_NOT_ALLOWED;
  }
  const std::string da = field_text(record->sms_extra_da);
  const std::string time = field_text(record->sms_extra_time);
  VORN_LOG(VORN_INFO, "update:index=%d,extra_da=%s,extra_time=%s\n", static_cast<int>(index),
           da.c_str(), time.c_str());
  Statement stmt(session.db(),
                 format_statement("update %s set sms_status=%d, sms_extra_da='%s', sms_extra_time='%s', "
                                  "sms_pdu_len=%d, sms_pdu_data=:1 where sms_index=%d ",
                                  kTable, static_cast<int>(record->sms_status), da.c_str(), time.c_str(),
                                  static_cast<int>(record->sms_pdu_len), static_cast<int>(index)));
  if (!run_with_pdu(session.db(), stmt, *record, index, kRewriteFailures)) return SMS_STORE_DB_FAILED;
  return SMS_STORE_OK;
}

int sqlite_list(sms_store_handle *h, uint32_t list_flag, sms_index_status *pairs, uint32_t capacity) {
  Session session(h);
  if (!session.open()) return 0;
  const bool fill = pairs != nullptr && capacity > 0;
  uint32_t count = 0;
  for (uint32_t index = 0; index < static_cast<uint32_t>(h->capacity); ++index) {
    uint32_t status = 0;
    if (!in_use(h, index) || !row_status(session.db(), index, status) || !list_takes(list_flag, status))
      continue;
    if (fill) pairs[count] = {index, status};
    if (++count == capacity && fill) break;
  }
  return static_cast<int>(count);
}

}  // namespace

namespace vorn::sms {

sms_store_handle *sqlite_handle() { return current.load(); }

const StoreFunctions kSqliteStore = {sqlite_info,  sqlite_read,   sqlite_delete,
                                     sqlite_modify_msg, sqlite_write, sqlite_modify,
                                     sqlite_list,  sqlite_init,   sqlite_deinit};

}  // namespace vorn::sms
