#include "framework/database/ReadLock.h"

#include <string_view>
#include <thread>
#include <utility>

namespace karst::database {

namespace {

// Needs the schema, but opens no table before its first row.
constexpr const char* kHold = "SELECT 1 UNION ALL SELECT count(*) FROM sqlite_master";

// Among the engine's names of databases, behind "main" and "temp".
constexpr int kFirstAttached = 2;

int Compile(sqlite3* engine, const char* sql, StatementHandle* out) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(engine, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  out->reset(statement);
  return code;
}

bool RunOnce(sqlite3_stmt* statement) {
  const bool done = sqlite3_step(statement) == SQLITE_DONE;
  sqlite3_reset(statement);
  return done;
}

}  // namespace

int ReadLock::Open(bool holds) {
  const std::optional<FileIdentity> identity = IdentityOf(engine);
  if (!identity) return SQLITE_OK;
  std::shared_ptr<SharedFile> joined = SharedFile::Of(*identity);
  joined->Join(this);
  file = std::move(joined);
  if (!holds) return SQLITE_OK;

  StatementHandle compiled;
  const std::pair<const char*, StatementHandle*> texts[] = {
      {"PRAGMA main.journal_mode", &journalMode}, {"BEGIN", &begin}, {"COMMIT", &commit}, {kHold, &compiled}};
  for (const auto& [sql, statement] : texts) {
    const int code = Compile(engine, sql, statement);
    if (code != SQLITE_OK) return code;
  }
  SetBusy();  // the engine is in use
  hold = std::move(compiled);
  return Take();
}

void ReadLock::Close() {
  Enter();  // for good
  if (file == nullptr) return;
  file->Part(this);
  if (announced) file->EndWrite();
}

int ReadLock::Take() {
  // What is read of an attached file would stay locked, too, as long as the lock is held.
  if (sqlite3_db_name(engine, kFirstAttached) != nullptr) return SQLITE_OK;
  if (file->Writers() > (announced ? 1 : 0)) return SQLITE_OK;
  const int code = sqlite3_step(hold.get());
  if (code != SQLITE_ROW) {
    sqlite3_reset(hold.get());
    return code;
  }
  holder = Holder::Statement;
  if (!IsWriteAheadLogged()) return SQLITE_OK;
  // Readers of such a file keep nobody from writing, and would see the old state for as long as they hold the lock.
  Drop();
  hold.reset();
  busy = false;
  return SQLITE_OK;
}

int ReadLock::TakeToRead() {
  // A statement that is writing by itself must be able to commit by itself.
  if (hold == nullptr || sqlite3_txn_state(engine, nullptr) == SQLITE_TXN_WRITE) return SQLITE_OK;
  const int code = TakeBesideOthers();
  if (holder == Holder::Statement && RunOnce(begin.get())) {
    sqlite3_reset(hold.get());
    holder = Holder::Transaction;
  }
  return code;
}

bool ReadLock::Loosen() {
  if (holder != Holder::Transaction) return true;
  const bool stands = sqlite3_step(hold.get()) == SQLITE_ROW;
  EndTransaction();
  if (holder == Holder::Nobody && stands) {
    holder = Holder::Statement;
  } else {
    sqlite3_reset(hold.get());
  }
  return holder != Holder::Transaction;
}

void ReadLock::Drop() {
  if (holder == Holder::Transaction) {
    EndTransaction();
  } else if (holder == Holder::Statement) {
    sqlite3_reset(hold.get());
    holder = Holder::Nobody;
  }
}

void ReadLock::EndTransaction() {
  // After some errors the engine has ended it already.
  if (sqlite3_get_autocommit(engine) != 0 || RunOnce(commit.get())) holder = Holder::Nobody;
}

void ReadLock::AnnounceWrite() {
  if (announced || file == nullptr) return;
  announced = true;
  file->BeginWrite(this);
}

void ReadLock::DropIfIdle() {
  if (busy.exchange(true)) return;
  Drop();
  busy = false;
}

void ReadLock::SetBusy() {
  while (busy.exchange(true)) std::this_thread::yield();
}

void ReadLock::LeaveIdle() {
  if (announced && (holder == Holder::Transaction || sqlite3_get_autocommit(engine) != 0)) {
    announced = false;
    file->EndWrite();
  }
  if (hold == nullptr) return;
  busy = false;
  if (file->Writers() != 0) DropIfIdle();
}

bool ReadLock::IsWriteAheadLogged() {
  const bool isRead = sqlite3_step(journalMode.get()) == SQLITE_ROW;
  const auto* mode = reinterpret_cast<const char*>(sqlite3_column_text(journalMode.get(), 0));
  const bool isLogged = isRead && mode != nullptr && std::string_view(mode) == "wal";
  sqlite3_reset(journalMode.get());
  return isLogged;
}

}  // namespace karst::database
