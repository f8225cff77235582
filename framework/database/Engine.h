// Owners of the engine's handles.
#pragma once

#include <sqlite3.h>

#include <memory>

namespace karst::database {

struct CloseEngine {
  void operator()(sqlite3* engine) const { sqlite3_close_v2(engine); }
};
using EngineHandle = std::unique_ptr<sqlite3, CloseEngine>;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

// A statement with what decides whether it may run.
struct CompiledStatement {
  StatementHandle handle;             // empty: the text held no statement
  bool writes = false;                // may change the file
  bool controlsTransactions = false;  // BEGIN, COMMIT, ROLLBACK, SAVEPOINT, RELEASE
};

}  // namespace karst::database
