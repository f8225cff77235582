// SQL texts and prepared statements.
#pragma once

#include "src/module/Attachment.h"

namespace karst::impl {

// A SQL text made by the database module's formatter.
class SqlText {
 public:
  // Formats `pattern` (%q, %s: narrow text; %d; %lld: long long). Requires an attached module.
  template <class... Arguments>
  explicit SqlText(const char* pattern, Arguments... arguments) {
    DatabaseModule()->GetSqlFormatter()->Format(text.Out(), pattern, arguments...);
  }

  // The text; empty when the formatter produced nothing.
  const KaChar* Get() { return TextOf(text); }

 private:
  KaSmartPtr<KaString> text;
};

// Compiles `sql` into `statement`; on false `statement` is empty.
bool Prepare(KaDbConnection* connection, SqlText& sql, KaSmartPtr<KaDbStatement>& statement);

// Compiles `pattern`, with the document id filled in, into `statement` unless that is done already. On false
// `statement` stays empty and the next call tries again.
bool PrepareOnce(KaDbConnection* connection, const char* pattern, int64_t documentId,
                 KaSmartPtr<KaDbStatement>& statement);

// Resets a cached statement when its use ends, so that it is idle between operations.
class StatementUse {
 public:
  explicit StatementUse(KaDbStatement* statement) : statement(statement) {}
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;
  ~StatementUse() { statement->Reset(); }

 private:
  KaDbStatement* const statement;
};

// What a step of a statement came to.
enum class StepResult {
  Row,
  NoRow,   // there is no row, or no further one
  Failed,  // an error: it says nothing about the rows
};

inline StepResult StepOnce(KaDbStatement* statement) {
  constexpr int32_t kRow = 1;
  const int32_t step = statement->Step();
  if (step == kRow) return StepResult::Row;
  return step < 0 ? StepResult::Failed : StepResult::NoRow;
}

}  // namespace karst::impl
