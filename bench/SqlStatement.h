// The engine's handles for the contenders in plain C.
#pragma once

#include <sqlite3.h>

#include "bench/Contender.h"

namespace karst::bench {

class SqlStatement {
 public:
  SqlStatement() = default;
  SqlStatement(sqlite3* engine, const char* sql, unsigned flags) {
    sqlite3_stmt* compiled = nullptr;
    if (sqlite3_prepare_v3(engine, sql, -1, flags, &compiled, nullptr) != SQLITE_OK) Fail(sqlite3_errmsg(engine));
    handle.reset(compiled);
  }

  explicit operator bool() const { return handle != nullptr; }

  // Parameters count from 1, columns from 0.
  void Bind(int parameter, int64_t value) { Check(sqlite3_bind_int64(handle.get(), parameter, value)); }
  // The engine does not copy what it is given here.
  void BindBlob(int parameter, const void* bytes, size_t size) {
    Check(sqlite3_bind_blob(handle.get(), parameter, bytes, static_cast<int>(size), SQLITE_STATIC));
  }

  // True: there is a row.
  bool Step() {
    const int code = sqlite3_step(handle.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) Fail(sqlite3_errmsg(sqlite3_db_handle(handle.get())));
    return code == SQLITE_ROW;
  }
  void Reset() { sqlite3_reset(handle.get()); }
  // Runs to the end, and is ready again.
  void Run() {
    while (Step()) {
    }
    Reset();
  }

  int64_t Int(int column) { return sqlite3_column_int64(handle.get(), column); }
  const uint8_t* Bytes(int column) { return static_cast<const uint8_t*>(sqlite3_column_blob(handle.get(), column)); }
  size_t ByteCount(int column) { return static_cast<size_t>(sqlite3_column_bytes(handle.get(), column)); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  void Check(int code) {
    if (code != SQLITE_OK) Fail(sqlite3_errmsg(sqlite3_db_handle(handle.get())));
  }

  std::unique_ptr<sqlite3_stmt, Finalize> handle;
};

}  // namespace karst::bench
