// Owners of the engine's handles.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>

#include "karst/KaTypes.h"

namespace karst::database {

struct CloseEngine {
  void operator()(sqlite3* engine) const { sqlite3_close_v2(engine); }
};
using EngineHandle = std::unique_ptr<sqlite3, CloseEngine>;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

// A number that differs from an earlier one when another connection has changed the file between the readings of this
// connection that they belong to: as of its latest reading, without reading now.
inline uint32_t DataVersion(sqlite3* engine) {
  uint32_t version = 0;
  sqlite3_file_control(engine, "main", SQLITE_FCNTL_DATA_VERSION, &version);
  return version;
}

// A statement with what decides whether it may run.
struct CompiledStatement {
  StatementHandle handle;             // empty: the text held no statement
  bool writes = false;                // may change the file
  bool controlsTransactions = false;  // BEGIN, COMMIT, ROLLBACK, SAVEPOINT, RELEASE
  bool needsNoReader = false;         // cannot run beside the statement that holds the read lock, or changes the schema

  // Of a statement from the pool: its only parameter is the number that ends the text, and is none of its user's.
  std::basic_string<KaChar> pattern;  // the text up to that number, otherwise empty
  int64_t number = 0;
  uint32_t generation = 0;

  bool IsBesideReaders() const { return !controlsTransactions && !needsNoReader; }
  bool IsPooled() const { return !pattern.empty(); }
};

}  // namespace karst::database
