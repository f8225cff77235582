#include "src/database/DomDatabase.h"

namespace karst::impl {

namespace {

constexpr const KaChar* kProbe = KA_TEXT("SELECT name FROM sqlite_master WHERE type='table' AND name='Xdb' LIMIT 1");

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

  // The journal settings are wishes: an engine that refuses them still works.
  connection->Execute(KA_TEXT("PRAGMA journal_mode=MEMORY"));
  connection->Execute(KA_TEXT("PRAGMA journal_size_limit=-1"));

  KaSmartPtr<KaDbStatement> probe;
  if (!connection->Prepare(kProbe, probe.Out(), 0) || !probe) return false;
  if (StepToRow(probe.Get())) {
    probe.Reset();
    return keywords.Load(Connection());
  }
  if (connection->Execute(kSchema)) return true;
  LogFailure("Failed to initialize XML database.");
  return false;
}

}  // namespace karst::impl
