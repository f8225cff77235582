#include "tools/kadom/Session.h"

#include <system_error>

#include "framework/host/PathText.h"
#include "tools/kadom/Files.h"

namespace karst::tool {

namespace {

constexpr int32_t kModuleVersion = 101;

const char* AccessOption(Access access) {
  switch (access) {
    case Access::Read:
      return "readonly";
    case Access::Edit:
      return "readwrite";
    case Access::Create:
      return "create";
  }
  return "";
}

bool Exists(const std::filesystem::path& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

// What a transaction that never ended has left beside a file.
bool HasUnfinishedJournal(std::filesystem::path file) {
  return Exists(file += "-journal");
}

}  // namespace

Session::Session(bool isVerbose) : log(isVerbose) {
  host.GetLogger()->SetSink([this](int32_t level, std::string_view message) { log.Add(level, message); });
  LoadModules();
}

void Session::LoadModules() {
  databaseModule = host.GetModuleAs<KaDatabase>("KaDatabase", kModuleVersion);
  if (databaseModule == nullptr) throw Failure(host.LastError());
  tappedDatabase.emplace(*databaseModule);
  host.Provide("KaDatabase", kModuleVersion, &*tappedDatabase);
  domModule = host.GetModuleAs<KaDom>("KaDom", kModuleVersion);
  if (domModule == nullptr) throw Failure(host.LastError());
  // A crash in the middle of a change must leave the file as it was.
  SetOption("journal", "durable");
}

void Session::SetOption(const char* name, const char* value) {
  if (!databaseModule->SetOption(name, value)) {
    throw Failure(std::string("the module KaDatabase refuses the option ") + name + "=" + value);
  }
}

FileKind Session::Look(const std::filesystem::path& file) {
  fileText = host::PathText(file);
  std::error_code error;
  if (!Exists(file)) return FileKind::Missing;
  if (std::filesystem::is_directory(file, error)) throw Fail("this is a folder");
  if (!std::filesystem::is_regular_file(file, error)) throw Fail("this is not a plain file");

  OpenFile(file, "rb").reset();  // says in the system's words why it cannot be read

  log.Forget();
  const KaSmartPtr<KaDbConnection> look = OpenForLook(file);
  if (HasRow(*look, KA_TEXT("SELECT name FROM sqlite_master WHERE type='table' AND name='Xdb' LIMIT 1"))) {
    return FileKind::Dom;
  }
  return HasRow(*look, KA_TEXT("SELECT name FROM sqlite_master LIMIT 1")) ? FileKind::Foreign : FileKind::Blank;
}

KaSmartPtr<KaDbConnection> Session::OpenForLook(const std::filesystem::path& file) {
  const KaText path = PathForModule(file);
  KaSmartPtr<KaDbConnection> look;
  SetOption("access", AccessOption(Access::Read));
  if (databaseModule->OpenConnection(path.c_str(), look.Out())) return look;
  // A transaction that a crash cut off is undone by the first one who may write, whoever owns the file.
  if (HasUnfinishedJournal(file)) {
    SetOption("access", AccessOption(Access::Edit));
    if (databaseModule->OpenConnection(path.c_str(), look.Out())) return look;
  }
  throw Fail("cannot be opened");
}

bool Session::HasRow(KaDbConnection& in, const KaChar* sql) {
  KaSmartPtr<KaDbStatement> statement;
  if (!in.Prepare(sql, statement.Out(), 0)) throw Fail("cannot be read");
  return Step(*statement);
}

void Session::Open(const std::filesystem::path& file, Access access) {
  fileText = host::PathText(file);
  log.Forget();
  SetOption("access", AccessOption(access));
  const bool isOpen = domModule->OpenDatabase(PathForModule(file).c_str(), database.Out());
  connection = tappedDatabase->TakeConnection();
  if (!isOpen) {
    connection.Reset();
    throw Fail("cannot be opened as a DOM database");
  }
}

void Session::OpenExisting(const std::filesystem::path& file, Access access) {
  switch (Look(file)) {
    case FileKind::Missing:
      throw Fail("there is no such file");
    case FileKind::Blank:
    case FileKind::Foreign:
      throw Fail("this is not a DOM database");
    case FileKind::Dom:
      break;
  }
  Open(file, access);
}

KaSmartPtr<KaDomDocument> Session::OpenDocument(const std::string& name) {
  const KaText wideName = TextFromUser(name, "the name of the document");
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
  const std::string& explanation = log.Explanation();
  return Failure(fileText + ": " + what + (explanation.empty() ? "" : ": " + explanation));
}

void Session::CheckComplete() const {
  if (!log.Explanation().empty()) throw Fail("something could not be read");
}

}  // namespace karst::tool
