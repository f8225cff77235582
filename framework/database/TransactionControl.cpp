#include "framework/database/TransactionControl.h"

#include <string>

#include "framework/database/Log.h"

namespace karst::database {

bool TransactionControl::Prepare() {
  return rollBack != nullptr || (Compile(isExclusive ? "BEGIN EXCLUSIVE" : "BEGIN IMMEDIATE", &begin) &&
                                 Compile("COMMIT", &commit) && Compile("ROLLBACK", &rollBack));
}

// Otherwise the change of a statement that stands on a row would become part of the transaction.
bool TransactionControl::MayBegin() {
  if (InTransaction() || sqlite3_txn_state(engine, nullptr) != SQLITE_TXN_WRITE) return true;
  Log("no transaction begins while a statement that writes stands on a row");
  return false;
}

bool TransactionControl::Begin() {
  if (!MayBegin() || !Prepare()) return false;
  if (isExclusive) lock.AnnounceWrite();
  if (!lock.Loosen()) {
    LogEngineError(engine, Excerpt("COMMIT"));
    return false;
  }
  if (!RunBesideLock(begin.get())) return false;
  lock.Drop();
  return true;
}

// Beside a read lock the engine does not wait for another writer.
bool TransactionControl::RunBesideLock(sqlite3_stmt* statement) {
  if (!lock.IsHeld()) return Run(statement);
  const int code = sqlite3_step(statement);
  if (code == SQLITE_DONE) return sqlite3_reset(statement) == SQLITE_OK;
  lock.Drop();
  sqlite3_reset(statement);
  return Run(statement);
}

bool TransactionControl::BeginUnchanged() {
  const uint32_t version = DataVersion(engine);
  if (!Begin()) return false;
  if (DataVersion(engine) == version) return true;
  RollBack();
  Log("a transaction cannot go on because another connection has changed the file");
  return false;
}

bool TransactionControl::End(sqlite3_stmt* statement) {
  if (sqlite3_txn_state(engine, "main") != SQLITE_TXN_NONE) lock.TakeBesideOthers();  // else the next read takes it
  const bool done = Run(statement);
  if (!done || InTransaction()) lock.Drop();
  return done;
}

bool TransactionControl::TakeSavepoint(size_t ordinal) {
  if (savepoints.size() < ordinal) {
    Savepoint savepoint;
    if (!CompileSavepoint(ordinal, &savepoint)) return false;
    savepoints.push_back(std::move(savepoint));
  }
  return Run(savepoints[ordinal - 1].take.get());
}

bool TransactionControl::CompileSavepoint(size_t ordinal, Savepoint* out) {
  const std::string name = "s" + std::to_string(ordinal);
  return Compile(("SAVEPOINT " + name).c_str(), &out->take) && Compile(("RELEASE " + name).c_str(), &out->release) &&
         Compile(("ROLLBACK TO " + name).c_str(), &out->rollBack);
}

bool TransactionControl::Compile(const char* sql, StatementHandle* out) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(engine, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  out->reset(statement);
  if (code != SQLITE_OK) LogEngineError(engine, Excerpt(sql));
  return code == SQLITE_OK;
}

bool TransactionControl::Run(sqlite3_stmt* statement) {
  const bool done = sqlite3_step(statement) == SQLITE_DONE;
  if (!done) LogEngineError(engine, Excerpt(sqlite3_sql(statement)));
  sqlite3_reset(statement);  // repeats the error of the step
  return done;
}

}  // namespace karst::database
