#include "framework/database/Session.h"

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

const char* SynchronousWord(Options::Synchronous synchronous) {
  switch (synchronous) {
    case Options::Synchronous::Off:
      return "OFF";
    case Options::Synchronous::Normal:
      return "NORMAL";
    case Options::Synchronous::Full:
      break;
  }
  return "FULL";
}

// A path names a file, also where the engine would see a URI or a database in memory.
std::string FileName(const std::string& path) {
  const bool isSpecial = path.starts_with(':') || path.starts_with("file:");
  return isSpecial ? "./" + path : path;
}

// A connection is used by one thread at a time, so the engine need not lock.
EngineHandle OpenEngine(const std::string& path, Options::Access access) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(FileName(path).c_str(), &opened, OpenFlags(access) | SQLITE_OPEN_NOMUTEX, nullptr);
  EngineHandle engine(opened);
  if (code == SQLITE_OK) return engine;
  LogEngineError(opened, path);
  return nullptr;
}

bool RunText(sqlite3* engine, const char* sql, const std::string& textForLog) {
  const bool done = sqlite3_exec(engine, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
  if (!done) LogEngineError(engine, textForLog);
  return done;
}

// Takes the read lock and reads the schema: the engine itself would put that off until the first statement.
bool ReadSchema(sqlite3* engine, const std::string& path) {
  return RunText(engine, "SELECT count(*) FROM sqlite_master", path);
}

}  // namespace

std::shared_ptr<Session> Session::Open(const std::string& path, const Options& options) {
  EngineHandle engine = OpenEngine(path, options.access);
  if (engine == nullptr) return nullptr;
  sqlite3_extended_result_codes(engine.get(), 1);
  sqlite3_busy_timeout(engine.get(), options.busyTimeoutMilliseconds);
  if (!ReadSchema(engine.get(), path)) return nullptr;

  auto session = std::make_shared<Session>(std::move(engine), options);
  return session->Configure(options) ? session : nullptr;
}

Session::Session(EngineHandle handle, const Options& options)
    : engine(std::move(handle)), keepsJournal(options.journal == Options::Journal::Durable), scopes(engine.get()) {}

bool Session::Configure(const Options& options) {
  std::string settings = "PRAGMA cache_size=-" + std::to_string(options.cacheKibibytes);
  settings += std::string(";PRAGMA synchronous=") + SynchronousWord(options.synchronous);
  settings += std::string(";PRAGMA cache_spill=") + (options.SpillsBeforeCommit() ? "ON" : "OFF");
  if (keepsJournal && options.access != Options::Access::ReadOnly) settings += ";PRAGMA journal_mode=DELETE";
  if (!RunText(Engine(), settings.c_str(), settings)) return false;
  sqlite3_set_authorizer(Engine(), &Session::Authorize, this);
  return scopes.Prepare();
}

// The engine asks here while it compiles a statement.
int Session::Authorize(void* session, int action, const char* name, const char* value, const char*, const char*) {
  auto* const self = static_cast<Session*>(session);
  switch (action) {
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
      self->compilesTransactions = true;
      return SQLITE_OK;
    case SQLITE_PRAGMA: {
      const bool asksForJournal = value != nullptr && sqlite3_stricmp(name, "journal_mode") == 0;
      return asksForJournal && self->keepsJournal ? SQLITE_IGNORE : SQLITE_OK;
    }
    default:
      return SQLITE_OK;
  }
}

bool Session::Compile(const char* sql, CompiledStatement* out, const char** rest) {
  compilesTransactions = false;
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v2(Engine(), sql, -1, &statement, rest);
  out->handle.reset(statement);
  if (code != SQLITE_OK) {
    ReportFailure(sql);
    return false;
  }
  out->writes = statement != nullptr && sqlite3_stmt_readonly(statement) == 0;
  out->controlsTransactions = compilesTransactions;
  return true;
}

bool Session::AdmitChange(const CompiledStatement& statement) {
  const char* const sql = sqlite3_sql(statement.handle.get());
  if (!statement.controlsTransactions) {
    return Guarded([&] { return scopes.AdmitWrite(sql); });
  }
  if (scopes.IsEmpty()) return true;
  Log("SQL cannot begin or end transactions while one is held, in \"%s\"", Excerpt(sql).Text());
  return false;
}

bool Session::Run(const CompiledStatement& statement) {
  if (!Admit(statement)) return false;
  int code = SQLITE_ROW;
  while (code == SQLITE_ROW) code = sqlite3_step(statement.handle.get());
  if (code == SQLITE_DONE) return true;
  ReportFailure(sqlite3_sql(statement.handle.get()));
  return false;
}

void Session::ReportFailure(const char* sql) {
  LogEngineError(Engine(), sql);
  scopes.NoticeEngineRollback();
}

}  // namespace karst::database
