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

constexpr int32_t kRow = 1;

// Whether a step of the statement yields a row.
inline bool StepToRow(KaDbStatement* statement) {
  return statement->Step() == kRow;
}

}  // namespace karst::impl
