#include "tools/kadom/Session.h"

#include <system_error>

#include "common/PathText.h"
#include "tools/kadom/File.h"
#include "tools/kadom/Interrupt.h"
#include "tools/kadom/PrivateFile.h"

namespace karst::tool {

namespace fs = std::filesystem;

namespace {

bool Exists(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

}  // namespace

Session::Session(const fs::path& file, bool isVerbose)
    : path(system::FollowLinks(file)), name(common::PathText(file)), modules(isVerbose) {}

FileKind Session::Look() {
  ClearLeftovers(path);
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::status_known(status)) throw FileFailure(name, error.message());
  if (!fs::exists(status)) return FileKind::Missing;
  if (fs::is_directory(status)) throw Fail("this is a folder");
  if (!fs::is_regular_file(status)) throw Fail("this is not a plain file");

  // Says in the system's words why it cannot be read.
  const system::Descriptor readable = system::OpenToRead(path);
  if (readable == system::kNone) throw LatestFileFailure(name);
  system::Close(readable);

  ClearJournal();
  const KaSmartPtr<KaDbConnection> look = Connect(path, Access::Read);
  if (HasRow(*look, KA_TEXT("SELECT name FROM sqlite_master WHERE type='table' AND name='Xdb' LIMIT 1"))) {
    return FileKind::Dom;
  }
  return HasRow(*look, KA_TEXT("SELECT name FROM sqlite_master LIMIT 1")) ? FileKind::Foreign : FileKind::Blank;
}

// The first who opens the file for writing takes back what a killed process has done to it, and removes the journal.
// One that has no meaning any more stays, and is removed when the journal mode changes: the engine waits for nobody
// then, and takes away no journal that another process uses.
void Session::ClearJournal() {
  if (!Exists(Companion(path, "-journal"))) return;
  const KaSmartPtr<KaDbConnection> repair = Connect(path, Access::Repair);
  repair->Execute(KA_TEXT("PRAGMA journal_mode=TRUNCATE"));
  repair->Execute(KA_TEXT("PRAGMA journal_mode=DELETE"));
}

KaSmartPtr<KaDbConnection> Session::Connect(const fs::path& file, Access access) {
  modules.Log().Forget();
  KaSmartPtr<KaDbConnection> opened;
  if (!modules.OpenConnection(file, access, &opened)) throw Fail("cannot be opened");
  return opened;
}

bool Session::HasRow(KaDbConnection& in, const KaChar* sql) {
  KaSmartPtr<KaDbStatement> statement;
  if (!in.Prepare(sql, statement.Out(), 0)) throw Fail("cannot be read");
  return Step(*statement);
}

void Session::OpenAt(const fs::path& file, Access access) {
  modules.Log().Forget();
  if (!modules.OpenDatabase(file, access, &database, &connection)) throw Fail("cannot be opened as a DOM database");
}

void Session::Open(Access access) {
  OpenAt(path, access);
}

void Session::OpenPrivate(const fs::path& file) {
  OpenAt(file, Access::Build);
}

void Session::Close() {
  database.Reset();
  connection.Reset();
}

void Session::OpenExisting(Access access) {
  switch (Look()) {
    case FileKind::Missing:
      throw Fail("there is no such file");
    case FileKind::Blank:
    case FileKind::Foreign:
      throw Fail("this is not a DOM database");
    case FileKind::Dom:
      break;
  }
  Open(access);
}

KaSmartPtr<KaDomDocument> Session::OpenDocument(const std::string& documentName) {
  const KaText wideName = TextFromUser(documentName, "the name of the document");
  KaSmartPtr<KaDomDocument> document;
  if (!database->OpenDocument(wideName.c_str(), document.Out())) {
    throw Fail("there is no document " + Quoted(wideName));
  }
  return document;
}

KaSmartPtr<KaDbStatement> Session::Prepare(const std::string& sql) {
  KaSmartPtr<KaDbStatement> statement;
  if (!connection->Prepare(TextFromUser(sql, "SQL").c_str(), statement.Out(), 0)) throw Fail("cannot be read");
  return statement;
}

bool Session::Step(KaDbStatement& statement) {
  const int32_t outcome = statement.Step();
  if (outcome < 0) throw Fail("cannot be read");
  return outcome == 1;
}

Failure Session::Fail(const std::string& what) const {
  CheckInterrupt();
  const std::string& explanation = modules.Log().Explanation();
  return FileFailure(name, what + (explanation.empty() ? "" : ": " + explanation));
}

void Session::CheckComplete() const {
  if (!modules.Log().Explanation().empty()) throw Fail("something could not be read");
}

fs::path Companion(const fs::path& file, const char* ending) {
  fs::path companion = file;
  return companion += ending;
}

}  // namespace karst::tool
