#include "framework/database/Connection.h"

#include <optional>
#include <string>

#include "karst/KaSmartPtr.h"
#include "common/Utf.h"
#include "framework/database/Log.h"
#include "framework/database/Statement.h"
#include "framework/database/Transaction.h"

namespace karst::database {

namespace {

// Nothing (logged): it is not valid UTF-16.
std::optional<std::string> ReadSql(const KaChar* sql) {
  std::optional<std::string> text = common::ToUtf8(sql);
  if (!text) Log("an SQL text holds an unpaired surrogate");
  return text;
}

}  // namespace

bool Connection::Begin(KaDbTransaction** out) {
  if (out == nullptr) return false;
  return Guarded([&] {
    // Made first, so that nothing can fail once the scope is open.
    KaSmartPtr<Transaction> transaction(new Transaction(session));
    if (!transaction->Begin()) return false;
    *out = transaction.Detach();
    return true;
  });
}

bool Connection::Prepare(const KaChar* sql, KaDbStatement** out, int32_t) {
  if (sql == nullptr || out == nullptr) return false;
  return Guarded([&] {
    const Session::Use use(*session);
    CompiledStatement compiled;
    if (!session->CompileNumbered(sql, &compiled) && !CompileSingle(sql, &compiled)) return false;
    impl::HandOut(new Statement(session, std::move(compiled)), out);
    return true;
  });
}

bool Connection::Execute(const KaChar* sql) {
  if (sql == nullptr) return false;
  return Guarded([&] {
    const Session::Use use(*session);
    CompiledStatement numbered;
    return session->CompileNumbered(sql, &numbered) ? RunOne(std::move(numbered)) : RunAll(sql);
  });
}

int64_t Connection::GetLastInsertId() {
  const Session::Use use(*session);
  return sqlite3_last_insert_rowid(session->Engine());
}

bool Connection::CompileSingle(const KaChar* wide, CompiledStatement* out) {
  const std::optional<std::string> text = ReadSql(wide);
  if (!text) return false;
  const char* const sql = text->c_str();
  const char* rest = sql;
  if (!session->Compile(sql, Session::Life::Prepared, out, &rest)) return false;
  if (out->handle == nullptr) {
    Log("there is no statement to prepare in \"%s\"", Excerpt(sql).Text());
    return false;
  }
  if (HoldsStatement(rest)) {
    Log("there is more than one statement to prepare in \"%s\"", Excerpt(sql).Text());
    return false;
  }
  return true;
}

// Whether there is anything but blanks, comments and semicolons.
bool Connection::HoldsStatement(const char* sql) {
  while (*sql != '\0') {
    sqlite3_stmt* statement = nullptr;
    const int code = sqlite3_prepare_v2(session->Engine(), sql, -1, &statement, &sql);
    const StatementHandle owner(statement);
    if (code != SQLITE_OK || statement != nullptr) return true;
  }
  return false;
}

bool Connection::RunOne(CompiledStatement&& statement) {
  const bool done = session->Run(statement);
  session->Discard(std::move(statement));
  return done;
}

bool Connection::RunAll(const KaChar* wide) {
  const std::optional<std::string> text = ReadSql(wide);
  if (!text) return false;
  const char* sql = text->c_str();
  bool any = false;
  while (*sql != '\0') {
    CompiledStatement statement;
    if (!session->Compile(sql, Session::Life::OneShot, &statement, &sql)) return false;
    if (statement.handle == nullptr) continue;
    if (!session->Run(statement)) return false;
    any = true;
  }
  // Refused: an empty text is mostly one that could not be formatted.
  if (!any) Log("there is no statement to run in \"%s\"", Excerpt(*text).Text());
  return any;
}

}  // namespace karst::database
