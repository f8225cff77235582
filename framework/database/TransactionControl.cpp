#include "framework/database/TransactionControl.h"

#include <string>

#include "framework/database/Log.h"

namespace karst::database {

bool TransactionControl::Prepare() {
  return rollBack != nullptr || (Compile("BEGIN", &begin) && Compile("BEGIN IMMEDIATE", &beginImmediate) &&
                                 Compile("COMMIT", &commit) && Compile("ROLLBACK", &rollBack));
}

bool TransactionControl::Begin(BeginMode mode) {
  if (!Prepare()) return false;
  lock.DropUnlessAlone();
  if (mode == BeginMode::Deferred && lock.HandTransactionOver()) return true;
  if (mode == BeginMode::Immediate) lock.AnnounceWrite();
  if (!lock.Loosen()) {
    LogEngineError(engine, Excerpt("COMMIT"));
    return false;
  }
  if (!Run(mode == BeginMode::Immediate ? beginImmediate.get() : begin.get())) return false;
  lock.Drop();
  return true;
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
