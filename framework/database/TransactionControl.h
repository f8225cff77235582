// The engine's transaction commands, compiled once for a connection.
#pragma once

#include <cstddef>
#include <vector>

#include "framework/database/Engine.h"
#include "framework/database/Options.h"
#include "framework/database/ReadLock.h"

namespace karst::database {

// Runs transaction commands. Each answers whether the engine did it, and logs the engine's error otherwise.
//
// The engine's transaction takes the read lock over from the connection when it begins, and leaves it there when it
// ends, with no moment in between at which another process could write.
//
// Savepoints are named by their place on the engine's stack: s1, s2, ... Ending one ends those above it, too.
class TransactionControl {
 public:
  // Both are borrowed and outlive this object.
  TransactionControl(sqlite3* borrowed, ReadLock& readLock, Options::WriteLock lockAtBegin)
      : engine(borrowed), lock(readLock), isExclusive(lockAtBegin == Options::WriteLock::Exclusive) {}

  // Whether the engine is inside a transaction, whoever began it.
  bool InTransaction() const { return sqlite3_get_autocommit(engine) == 0; }

  // Begins a transaction with the write lock, and waits for it as long as the engine waits for locks. The read lock is
  // let go only to wait: an engine that holds one refuses at once instead. Compiles, when it is the first, whatever can
  // end a transaction, so that ending one never depends on memory being there: a connection that only reads needs none
  // of it.
  bool Begin();
  // The same for work that goes on from an earlier transaction. False also when another connection has changed the file
  // since this one last read it; then there is no transaction.
  bool BeginUnchanged();
  // The others end what Begin has begun.
  bool Commit() { return End(commit.get()); }
  bool RollBack() { return End(rollBack.get()); }

  // Takes the savepoint number `ordinal`, counted from 1. May throw std::bad_alloc; the others do not.
  bool TakeSavepoint(size_t ordinal);
  // Both for a savepoint that was taken.
  bool ReleaseSavepoint(size_t ordinal) { return Run(savepoints[ordinal - 1].release.get()); }
  bool RollBackToSavepoint(size_t ordinal) { return Run(savepoints[ordinal - 1].rollBack.get()); }

 private:
  struct Savepoint {
    StatementHandle take;
    StatementHandle release;
    StatementHandle rollBack;
  };

  bool Prepare();
  bool MayBegin();
  bool Compile(const char* sql, StatementHandle* out);
  bool CompileSavepoint(size_t ordinal, Savepoint* out);
  bool End(sqlite3_stmt* statement);
  bool Run(sqlite3_stmt* statement);
  bool RunBesideLock(sqlite3_stmt* statement);

  sqlite3* const engine;
  ReadLock& lock;
  const bool isExclusive;
  StatementHandle begin;
  StatementHandle commit;
  StatementHandle rollBack;
  std::vector<Savepoint> savepoints;
};

}  // namespace karst::database
