// A database module that carries everything out on a real one, and remembers and refuses calls on the way.
#pragma once

#include "karst/KaDatabase.h"
#include "tests/support/CallLog.h"

namespace karst::test {

// Every call is in the log: "Prepare SELECT …", "BindInt64 0 5", "BindBlob 0 0A0B", "Step 1", "Reset", "Execute
// …" of a connection and "Execute" of a statement, "GetInt64 0", "BeginTransaction 1", "Commit 1", "release statement
// SELECT …", "release transaction 1", "release connection". Transactions are numbered by how many are open. What
// a fault refused ends in " (refused)". Format is admitted like every call but leaves no trace in the log.
//
// The kind of a call is the operation's name, its text the SQL text that it belongs to; for Format the template.
// BindBlob gives its block back also when it is refused.
//
// Violations: a parameterised statement that is bound or run again, or released, without having been reset; the last
// connection released before its statements; a reserved argument that is not 0; an unlisted slot.
class ForwardingDatabase final : public KaDatabase, private KaSqlFormatter {
 public:
  // `real` is borrowed, and attached already.
  ForwardingDatabase(CallLog& calls, KaDatabase& real) : calls(calls), real(real) {}

  // The real connection behind the one that the module opened last; null when that is gone. Borrowed.
  KaDbConnection* RealConnection() const { return realConnection; }

  void Attach(KaHost*) override {}
  void Detach() override {}
  int32_t GetVersion() override { return real.GetVersion(); }
  bool OpenConnection(const KaChar* path, KaDbConnection** out) override;
  bool SetOption(const char* name, const char* value) override { return real.SetOption(name, value); }
  KaSqlFormatter* GetSqlFormatter() override { return this; }

 private:
  class Connection;
  class Statement;
  class Transaction;

  bool Format(KaString** out, const char* format, ...) override;

  CallLog& calls;
  KaDatabase& real;
  KaDbConnection* realConnection = nullptr;
};

}  // namespace karst::test
