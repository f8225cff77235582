// What a connection shares with its statements and transactions.
#pragma once

#include <memory>
#include <string>

#include "framework/database/Engine.h"
#include "framework/database/Options.h"
#include "framework/database/ReadLock.h"
#include "framework/database/ScopeStack.h"
#include "framework/database/StatementPool.h"

namespace karst::database {

// An open file: the engine's handle, the read lock, the statements to be used again and the transaction scopes. It
// lives until the connection and the last statement and transaction are gone, so each of them may be released last.
class Session {
 public:
  // Whoever calls the session or its engine has one of these. A statement on a row and a transaction that holds a scope
  // keep theirs.
  class Use {
   public:
    explicit Use(Session& used) : lock(used.lock) { lock.Enter(); }
    ~Use() { lock.Leave(); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    ReadLock& lock;
  };

  // Opens the file at `path` (UTF-8), takes the read lock and reads the schema. Null (logged): a file that is locked,
  // unreadable or not a database, or an option that the engine refuses.
  static std::shared_ptr<Session> Open(const std::string& path, const Options& options);

  // Takes an open engine over, for Open only.
  Session(EngineHandle handle, const Options& options);
  ~Session() { lock.Close(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  sqlite3* Engine() const { return engine.get(); }

  std::optional<ScopeStack::Handle> Begin() { return scopes.Begin(); }
  bool Commit(ScopeStack::Handle scope);
  void Abandon(ScopeStack::Handle scope) noexcept;

  // Whether a statement is going to live on or to run once, at once.
  enum class Life { Prepared, OneShot };
  // Compiles the first statement of `sql` and sets `*rest` behind it. True with an empty handle: nothing but blanks and
  // comments. False: logged.
  bool Compile(const char* sql, Life life, CompiledStatement* out, const char** rest);
  // Compiles a text that differs from others in its last number only, or takes a statement of theirs. False (not
  // logged): this text is none of them. May throw std::bad_alloc.
  bool CompileNumbered(std::basic_string_view<KaChar> sql, CompiledStatement* out);
  // Keeps a pooled statement for later. What is left in `statement` is the caller's to destroy, while it uses the
  // session.
  void Discard(CompiledStatement&& statement) noexcept;

  // The first step of a statement, if the state of the transactions and locks allows it: SQLITE_ROW, SQLITE_DONE, or an
  // error, which is logged.
  int Start(const CompiledStatement& statement) {
    const int refusal = Admit(statement);
    if (refusal != SQLITE_OK) return refusal;
    const int code = sqlite3_step(statement.handle.get());
    const bool isStarted = code == SQLITE_ROW || (code == SQLITE_DONE && !statement.controlsTransactions);
    return isStarted ? code : FinishStart(statement, code);
  }
  // A further step: as Start.
  int Continue(const CompiledStatement& statement) {
    const int code = sqlite3_step(statement.handle.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) ReportFailure(TextOf(statement));
    return code;
  }
  // Runs a statement to its end and ignores its rows. False: logged.
  bool Run(const CompiledStatement& statement);

  // The engine has just failed at `sql`: logs its error and notices what became of locks and transaction.
  void ReportFailure(const Excerpt& sql);
  // A statement has answered `code` to somebody who steps through its rows. After an error the innermost scope cannot
  // be committed any more, unless the statement writes or has read nothing.
  void NoticeFailedStep(const CompiledStatement& statement, int code, bool isFirst);

 private:
  // What the engine told of the text that is being compiled.
  struct Actions {
    bool controlsTransactions = false;
    bool besideReaders = false;  // changes that can be made beside statements on a row, as those of rows
    bool others = false;         // beyond these and reading
  };

  static int Authorize(void* session, int action, const char* name, const char* value, const char*, const char*);
  int AuthorizePragma(const char* name, const char* value);

  bool Configure(const Options& options);
  bool TakeReadLock(bool holds, const std::string& path);
  bool CompilePattern(std::basic_string_view<KaChar> pattern, CompiledStatement* out);
  int CompileText(const char* sql, unsigned flags, CompiledStatement* out, const char** rest);
  // Whether a statement may start: a code of the engine, logged unless it is SQLITE_OK.
  int Admit(const CompiledStatement& statement) {
    // The innermost scope's first change has announced the writing and taken the lock's own transaction out of the way.
    if (statement.writes && statement.IsBesideReaders() && scopes.IsWriting() && !lock.IsHeldToRead()) return SQLITE_OK;
    return statement.writes || statement.controlsTransactions || statement.needsNoReader ? AdmitChange(statement)
                                                                                         : AdmitRead(statement);
  }
  int AdmitRead(const CompiledStatement& statement);
  int AdmitChange(const CompiledStatement& statement);
  int FinishStart(const CompiledStatement& statement, int code);
  int KeepBegun(const CompiledStatement& statement);
  bool CanCompile(const CompiledStatement& statement);

  const EngineHandle engine;
  const bool keepsJournal;  // requests for another journal are ignored
  Actions actions;
  uint32_t versionToKeep = 0;  // the file's, see DataVersion, when SQL that controls transactions was admitted
  ReadLock lock;
  StatementPool pool;
  ScopeStack scopes;
};

}  // namespace karst::database
