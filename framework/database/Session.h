// What a connection shares with its statements and transactions.
#pragma once

#include <memory>
#include <string>

#include "framework/database/Engine.h"
#include "framework/database/Options.h"
#include "framework/database/ScopeStack.h"

namespace karst::database {

// An open file: the engine's handle and the transaction scopes on it. It lives until the connection and the last
// statement and transaction are gone, so each of them may be released last.
class Session {
 public:
  // Opens the file at `path` (UTF-8), takes the read lock and reads the schema. Null (logged): a file that is locked,
  // unreadable or not a database, or an option that the engine refuses.
  static std::shared_ptr<Session> Open(const std::string& path, const Options& options);

  // Takes an open engine over, for Open only.
  Session(EngineHandle handle, const Options& options);
  ~Session() = default;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  sqlite3* Engine() const { return engine.get(); }
  ScopeStack& Scopes() { return scopes; }

  // Compiles the first statement of `sql` and sets `*rest` behind it. True with an empty handle: nothing but blanks and
  // comments. False: logged.
  bool Compile(const char* sql, CompiledStatement* out, const char** rest);

  // Whether a statement that is about to start may run in this state of the transactions. False: logged.
  bool Admit(const CompiledStatement& statement) {
    return (!statement.writes && !statement.controlsTransactions) || AdmitChange(statement);
  }

  // Runs a statement to its end and ignores its rows. False: logged.
  bool Run(const CompiledStatement& statement);

  // The engine has just failed at `sql`: logs its error and notices what became of the transaction.
  void ReportFailure(const char* sql);

 private:
  static int Authorize(void* session, int action, const char* name, const char* value, const char*, const char*);

  bool Configure(const Options& options);
  bool AdmitChange(const CompiledStatement& statement);

  const EngineHandle engine;
  const bool keepsJournal;            // requests for another journal are ignored
  bool compilesTransactions = false;  // the text that is being compiled controls transactions
  ScopeStack scopes;
};

}  // namespace karst::database
