#include "framework/database/Session.h"

#include "common/Utf.h"
#include "framework/database/FileCheck.h"
#include "framework/database/Log.h"

namespace karst::database {

namespace {

int OpenFlags(Options::Access access) {
  switch (access) {
    case Options::Access::ReadOnly:
      return SQLITE_OPEN_READONLY;
    case Options::Access::ReadWrite:
      return SQLITE_OPEN_READWRITE;
    case Options::Access::Create:
      break;
  }
  return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
}

// The engine's NORMAL can damage a file with a rollback journal. Its FULL cannot, but does not wait until the deletion
// of the journal is on the disk, so that a commit may be rolled back after a power cut; EXTRA does.
const char* SynchronousWord(Options::Synchronous synchronous) {
  switch (synchronous) {
    case Options::Synchronous::Off:
      return "OFF";
    case Options::Synchronous::Normal:
      return "FULL";
    case Options::Synchronous::Full:
      break;
  }
  return "EXTRA";
}

// A path names a file, also where the engine would see a URI or a database in memory.
std::string FileName(const std::string& path) {
  const bool isSpecial = path.starts_with(':') || path.starts_with("file:");
  return isSpecial ? "./" + path : path;
}

// Counting every allocation costs a sixth of a bulk build, and statement journals in temporary files a third of a large
// one. The engine refuses when somebody else in the process has started it already, and then it goes on with both.
void ConfigureProcessOnce() {
  constexpr int kNever = -1;
  [[maybe_unused]] static const int codes[] = {sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0),
                                               sqlite3_config(SQLITE_CONFIG_STMTJRNL_SPILL, kNever)};
}

// A connection is used by one thread at a time, so the engine need not lock.
EngineHandle OpenEngine(const std::string& path, Options::Access access) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(FileName(path).c_str(), &opened, OpenFlags(access) | SQLITE_OPEN_NOMUTEX, nullptr);
  EngineHandle engine(opened);
  if (code == SQLITE_OK) return engine;
  LogEngineError(opened, Excerpt(path));
  return nullptr;
}

bool Exec(sqlite3* engine, const char* sql) {
  return sqlite3_exec(engine, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool ExecOrLog(sqlite3* engine, const char* sql, const std::string& textForLog) {
  const bool done = Exec(engine, sql);
  if (!done) LogEngineError(engine, Excerpt(textForLog));
  return done;
}

// Takes the read lock while it runs, or until the end of the transaction.
constexpr const char* kReadSchema = "SELECT count(*) FROM sqlite_master";

}  // namespace

std::shared_ptr<Session> Session::Open(const std::string& path, const Options& options) {
  if (const char* refusal = RefusalOf(path)) {
    Log("%s: \"%s\"", refusal, Excerpt(path).Text());
    return nullptr;
  }
  ConfigureProcessOnce();
  EngineHandle engine = OpenEngine(path, options.access);
  if (engine == nullptr) return nullptr;
  sqlite3_extended_result_codes(engine.get(), 1);
  sqlite3_busy_timeout(engine.get(), options.busyTimeoutMilliseconds);

  auto session = std::make_shared<Session>(std::move(engine), options);
  const Use use(*session);
  const bool isOpen =
      session->TakeReadLock(options.locking == Options::Locking::Held, path) && session->Configure(options);
  return isOpen ? session : nullptr;
}

Session::Session(EngineHandle handle, const Options& options)
    : engine(std::move(handle)),
      keepsJournal(options.journal == Options::Journal::Durable),
      lock(engine.get()),
      scopes(engine.get(), lock, options.writeLock) {}

// Reads the schema, too: the engine itself would put that off until the first statement.
bool Session::TakeReadLock(bool holds, const std::string& path) {
  const int code = lock.Open(holds);
  if (code == SQLITE_OK) return lock.IsHeld() || ExecOrLog(Engine(), kReadSchema, path);
  LogEngineError(Engine(), Excerpt(path));
  return false;
}

bool Session::Configure(const Options& options) {
  std::string settings = "PRAGMA cache_size=-" + std::to_string(options.cacheKibibytes);
  settings += std::string(";PRAGMA synchronous=") + SynchronousWord(options.synchronous);
  settings += std::string(";PRAGMA cache_spill=") + (options.SpillsBeforeCommit() ? "ON" : "OFF");
  if (!ExecOrLog(Engine(), settings.c_str(), settings)) return false;
  sqlite3_set_authorizer(Engine(), &Session::Authorize, this);
  return true;
}

// The engine asks here while it compiles a statement.
int Session::Authorize(void* session, int action, const char* name, const char* value, const char*, const char*) {
  auto* const self = static_cast<Session*>(session);
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_FUNCTION:
    case SQLITE_RECURSIVE:
      return SQLITE_OK;
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
      self->actions.besideReaders = true;
      return SQLITE_OK;
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
      self->actions.controlsTransactions = true;
      return SQLITE_OK;
    case SQLITE_PRAGMA:
      return self->AuthorizePragma(name, value);
    default:
      self->actions.others = true;
      return SQLITE_OK;
  }
}

// Changing from one rollback journal to another needs no exclusive lock, so the read lock is kept: opening a file asks
// for such a change.
int Session::AuthorizePragma(const char* name, const char* value) {
  const bool isJournal = sqlite3_stricmp(name, "journal_mode") == 0;
  const bool isLogged = value != nullptr && sqlite3_stricmp(value, "wal") == 0;
  const bool isRollbackJournal = (isJournal && !isLogged) || sqlite3_stricmp(name, "journal_size_limit") == 0;
  (isRollbackJournal ? actions.besideReaders : actions.others) = true;
  return isJournal && value != nullptr && keepsJournal ? SQLITE_IGNORE : SQLITE_OK;
}

bool Session::Compile(const char* sql, Life life, CompiledStatement* out, const char** rest) {
  const unsigned flags = life == Life::Prepared ? SQLITE_PREPARE_PERSISTENT : 0;
  if (CompileText(sql, flags, out, rest) == SQLITE_OK) return true;
  ReportFailure(Excerpt(sql));
  return false;
}

int Session::CompileText(const char* sql, unsigned flags, CompiledStatement* out, const char** rest) {
  actions = {};
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(Engine(), sql, -1, flags, &statement, rest);
  out->handle.reset(statement);
  out->writes = statement != nullptr && sqlite3_stmt_readonly(statement) == 0;
  out->controlsTransactions = actions.controlsTransactions;
  out->needsNoReader = actions.others || (out->writes && !actions.besideReaders);
  return code;
}

bool Session::CompileNumbered(std::basic_string_view<KaChar> sql, CompiledStatement* out) {
  const std::optional<NumberedText> split = SplitNumber(sql);
  if (!split) return false;
  *out = pool.Take(split->pattern);
  if (out->handle == nullptr && !CompilePattern(split->pattern, out)) return false;
  out->number = split->number;
  sqlite3_bind_int64(out->handle.get(), 1, split->number);
  return true;
}

// Fails silently where the engine takes no parameter: compiled as it was given the text works, or tells why not.
bool Session::CompilePattern(std::basic_string_view<KaChar> pattern, CompiledStatement* out) {
  std::optional<std::string> sql = common::ToUtf8(pattern);
  if (!sql || !TakesNumber(*sql)) return false;
  *sql += '?';
  if (CompileText(sql->c_str(), SQLITE_PREPARE_PERSISTENT, out, nullptr) != SQLITE_OK) return false;
  if (sqlite3_bind_parameter_count(out->handle.get()) != 1 || out->needsNoReader) return false;
  out->pattern = pattern;
  out->generation = pool.Generation();
  return true;
}

void Session::Discard(CompiledStatement&& statement) noexcept {
  if (statement.IsPooled()) pool.GiveBack(std::move(statement));
}

int Session::AdmitRead(const CompiledStatement& statement) {
  if (lock.IsHeldToRead() || sqlite3_get_autocommit(Engine()) == 0) return SQLITE_OK;
  const int code = lock.TakeToRead();
  if (code != SQLITE_OK) ReportFailure(TextOf(statement));
  return code;
}

int Session::AdmitChange(const CompiledStatement& statement) {
  if (statement.controlsTransactions && !scopes.IsEmpty()) {
    Log("SQL cannot begin or end transactions while one is held, in \"%s\"", TextOf(statement).Text());
    return SQLITE_ABORT;
  }
  if (statement.controlsTransactions) versionToKeep = DataVersion(Engine());
  if (statement.controlsTransactions || statement.needsNoReader) {
    lock.Drop();
    pool.Clear();
  }
  if (!statement.writes && !statement.controlsTransactions) return SQLITE_OK;
  lock.AnnounceWrite();
  if (!lock.Loosen()) {
    ReportFailure(TextOf(statement));
    return SQLITE_ABORT;
  }
  return Guarded([&] { return scopes.AdmitWrite(statement); }) ? SQLITE_OK : SQLITE_ABORT;
}

int Session::FinishStart(const CompiledStatement& statement, int code) {
  if ((code & 0xFF) == SQLITE_BUSY && lock.IsHeld()) {
    // Beside a read lock the engine does not wait for another writer.
    lock.Drop();
    sqlite3_reset(statement.handle.get());
    code = sqlite3_step(statement.handle.get());
  }
  if (code == SQLITE_DONE && statement.controlsTransactions) return KeepBegun(statement);
  if (code != SQLITE_ROW && code != SQLITE_DONE) ReportFailure(TextOf(statement));
  return code;
}

// The read lock was let go before SQL began a transaction: what was read until then must still hold in it.
int Session::KeepBegun(const CompiledStatement& statement) {
  if (sqlite3_get_autocommit(Engine()) != 0) return SQLITE_DONE;
  const bool isLocked = sqlite3_txn_state(Engine(), "main") != SQLITE_TXN_NONE || Exec(Engine(), kReadSchema);
  if (isLocked && DataVersion(Engine()) == versionToKeep) return SQLITE_DONE;
  if (isLocked) {
    Log("another connection has changed the file since this one last read it, in \"%s\"", TextOf(statement).Text());
  } else {
    LogEngineError(Engine(), TextOf(statement));
  }
  Exec(Engine(), "ROLLBACK");
  return SQLITE_BUSY_SNAPSHOT;
}

bool Session::Run(const CompiledStatement& statement) {
  int code = Start(statement);
  while (code == SQLITE_ROW) code = Continue(statement);
  return code == SQLITE_DONE;
}

bool Session::Commit(ScopeStack::Handle scope) {
  const bool done = scopes.Commit(scope);
  if (!done) pool.Clear();  // the engine may have rolled back
  return done;
}

void Session::Abandon(ScopeStack::Handle scope) noexcept {
  scopes.Abandon(scope);
  pool.Clear();
}

void Session::ReportFailure(const Excerpt& sql) {
  LogEngineError(Engine(), sql);
  lock.Drop();  // after some errors the engine recovers only when nothing reads
  if (scopes.NoticeEngineRollback()) pool.Clear();
}

void Session::NoticeFailedStep(const CompiledStatement& statement, int code, bool isFirst) {
  const int primary = code & 0xFF;
  // Locked out, or naming what is not there any more: such a statement has not begun to read.
  const bool neverBegan = isFirst && (primary == SQLITE_BUSY || primary == SQLITE_LOCKED ||
                                      (primary == SQLITE_ERROR && !CanCompile(statement)));
  if (!statement.writes && !neverBegan) scopes.NoticeMisread();
}

bool Session::CanCompile(const CompiledStatement& statement) {
  sqlite3_stmt* again = nullptr;
  const int code = sqlite3_prepare_v2(Engine(), sqlite3_sql(statement.handle.get()), -1, &again, nullptr);
  return StatementHandle(again) != nullptr && code == SQLITE_OK;
}

}  // namespace karst::database
