#include "src/database/DomDatabase.h"

namespace karst::impl {

namespace {

constexpr const KaChar* kProbe = KA_TEXT("SELECT name FROM sqlite_master WHERE type='table' AND name='Xdb' LIMIT 1");

constexpr const KaChar* kKeywords = KA_TEXT("SELECT name FROM Keywords ORDER BY id");

constexpr const KaChar* kSchema = KA_TEXT(
    "BEGIN EXCLUSIVE TRANSACTION;"
    "DROP TABLE IF EXISTS XDB;"
    "DROP TABLE IF EXISTS Keywords;"
    "DROP TABLE IF EXISTS Nodes;"
    "DROP TABLE IF EXISTS Documents;"
    "CREATE TABLE Xdb (name TEXT,major INTEGER,minor INTEGER,release INTEGER);"
    "INSERT INTO Xdb (name,major,minor,release) VALUES ('XDB',0,0,1);"
    "CREATE TABLE Keywords (id INTEGER PRIMARY KEY,name TEXT);"
    "CREATE TABLE Documents (id INTEGER PRIMARY KEY AUTOINCREMENT,name TEXT,size INTEGER,timestamp DATETIME);"
    "CREATE INDEX IF NOT EXISTS IdxKeywords ON Keywords (id);"
    "COMMIT");

}  // namespace

DomDatabase::DomDatabase() : keywords(ledger.get()) {}

bool DomDatabase::Open(const KaChar* path) {
  if (!DatabaseModule()->OpenConnection(path, connection.Out()) || !connection) return false;
  keywords.Connect(Connection());

  // Their results are not looked at: an engine that refuses these settings still works.
  connection->Execute(KA_TEXT("PRAGMA journal_mode=MEMORY"));
  connection->Execute(KA_TEXT("PRAGMA journal_size_limit=-1"));

  switch (Probe()) {
    case StepResult::Row:
      return LoadKeywords();
    case StepResult::NoRow:
      return LayOut();
    case StepResult::Failed:
      break;
  }
  return false;
}

StepResult DomDatabase::Probe() {
  KaSmartPtr<KaDbStatement> probe;
  return connection->Prepare(kProbe, probe.Out(), 0) && probe ? StepOnce(probe.Get()) : StepResult::Failed;
}

bool DomDatabase::LayOut() {
  if (!connection->Execute(kSchema)) {
    LogFailure("Failed to initialize XML database.");
    return false;
  }
  keywords.LoadNothing();
  return true;
}

bool DomDatabase::LoadKeywords() {
  KaSmartPtr<KaDbStatement> select;
  const auto prepare = [&] { return connection->Prepare(kKeywords, select.Out(), 0) && select; };
  if (!prepare()) {
    // A file whose names cannot be queried opens without them; one that cannot be read at this moment does not open.
    if (Probe() != StepResult::Row) return false;
    if (!prepare()) return true;
  }
  return keywords.Load(select.Get());
}

}  // namespace karst::impl
