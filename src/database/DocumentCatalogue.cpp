// The operations of DomDatabase that create, open and delete documents.
#include "src/database/DomDatabase.h"
#include "src/database/NodeTable.h"
#include "src/database/TransactionScope.h"
#include "src/module/WhileAttached.h"
#include "src/tree/DomDocument.h"

namespace karst::impl {

namespace {

constexpr const char* kNoWriteTransaction = "Could not establish write transaction.";

// A wide name as narrow text in a block of the host.
class NarrowName {
 public:
  explicit NarrowName(const KaChar* name) {
    char* narrow = nullptr;
    Host()->GetStringFactory()->ToMultiByte(name, kCodePageUtf8, &narrow);
    block = HostBlock(narrow);
  }
  // Null when the name could not be converted.
  const char* Get() const { return reinterpret_cast<const char*>(block.Bytes()); }

 private:
  HostBlock block;
};

// The query for the document `name`; empty when it cannot be prepared.
KaSmartPtr<KaDbStatement> PrepareLookup(KaDbConnection* connection, const NarrowName& name) {
  KaSmartPtr<KaDbStatement> lookup;
  if (name.Get() == nullptr) return lookup;
  SqlText sql("SELECT id FROM Documents WHERE name='%q' LIMIT 1", name.Get());
  Prepare(connection, sql, lookup);
  return lookup;
}

// The document id in the row of a lookup. One that cannot be read stays 0: no table has that number, and every read of
// the document fails.
int64_t FoundId(KaDbStatement* lookup) {
  int64_t documentId = 0;
  lookup->GetInt64(0, &documentId);
  return documentId;
}

}  // namespace

bool DomDatabase::CreateDocument(const KaChar* name, const KaChar* rootName, KaDomDocument** out) {
  if (name == nullptr) return false;
  return WhileAttached([&] {
    TransactionScope scope;
    if (!scope.Begin(*this, TransactionScope::Kind::Write)) {
      LogFailure(kNoWriteTransaction);
      return false;
    }
    // A look that cannot be prepared is made up for by that of InsertDocument.
    if (const auto lookup = PrepareLookup(Connection(), NarrowName(name))) {
      const StepResult found = StepOnce(lookup.Get());
      if (found == StepResult::Row) HandOutFound(lookup.Get(), out);
      if (found != StepResult::NoRow) return found == StepResult::Row;
    }
    int64_t documentId = 0;
    if (!InsertDocument(name, rootName, &documentId)) return false;
    if (out != nullptr) HandOut(new DomDocument(this, documentId), out);
    // The document has been handed out: its reads tell whether it was stored.
    scope.Commit();
    return true;
  });
}

bool DomDatabase::InsertDocument(const KaChar* name, const KaChar* rootName, int64_t* documentId) {
  const NarrowName narrow(name);
  const auto lookup = PrepareLookup(Connection(), narrow);
  const StepResult found = lookup ? StepOnce(lookup.Get()) : StepResult::Failed;
  if (found == StepResult::Row) LogFailure("Document name \"%s\" is already taken.", narrow.Get());
  if (found != StepResult::NoRow) return false;
  SqlText insert("INSERT INTO Documents (name,size,timestamp) VALUES ('%q',-1, -1)", narrow.Get());
  if (!connection->Execute(insert.Get())) return false;
  *documentId = connection->GetLastInsertId();

  const NodeTableName table(*documentId);
  SqlText create(
      "CREATE TABLE %s (id INTEGER PRIMARY KEY AUTOINCREMENT,parent_id INTEGER DEFAULT 0,name_id INTEGER NOT NULL,"
      "data BLOB)",
      table.Get());
  return connection->Execute(create.Get()) && InsertRootElement(rootName, *documentId);
}

bool DomDatabase::InsertRootElement(const KaChar* rootName, int64_t documentId) {
  // A root name that cannot be stored leaves the root without a name.
  const int64_t nameId = keywords.InternStored(rootName);
  SqlText insert("INSERT INTO Nodes_%lld (name_id) VALUES (%d)", static_cast<long long>(documentId),
                 static_cast<int32_t>(nameId));
  return connection->Execute(insert.Get());
}

bool DomDatabase::OpenDocument(const KaChar* name, KaDomDocument** out) {
  if (name == nullptr) return false;
  return WhileAttached([&] {
    const auto lookup = PrepareLookup(Connection(), NarrowName(name));
    if (!lookup || StepOnce(lookup.Get()) != StepResult::Row) return false;
    HandOutFound(lookup.Get(), out);
    return true;
  });
}

void DomDatabase::HandOutFound(KaDbStatement* lookup, KaDomDocument** out) {
  if (out != nullptr) HandOut(new DomDocument(this, FoundId(lookup)), out);
}

bool DomDatabase::DeleteDocument(const KaChar* name) {
  if (name == nullptr) return false;
  return WhileAttached([&] {
    TransactionScope scope;
    if (!scope.Begin(*this, TransactionScope::Kind::Write)) {
      LogFailure(kNoWriteTransaction);
      return false;
    }
    auto lookup = PrepareLookup(Connection(), NarrowName(name));
    const StepResult found = lookup ? StepOnce(lookup.Get()) : StepResult::Failed;
    if (found != StepResult::Row) return found == StepResult::NoRow;
    const auto documentId = static_cast<long long>(FoundId(lookup.Get()));
    lookup.Reset();

    // Each step goes on whatever the one before it answered: what can be deleted is deleted.
    SqlText deleteRow("DELETE FROM Documents WHERE id=%lld", documentId);
    connection->Execute(deleteRow.Get());
    SqlText dropTable("DROP TABLE IF EXISTS Nodes_%lld", documentId);
    connection->Execute(dropTable.Get());
    scope.Commit();
    return true;
  });
}

}  // namespace karst::impl
