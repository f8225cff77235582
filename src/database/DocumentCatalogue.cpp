// The operations of DomDatabase that create, open and delete documents.
#include "src/database/DomDatabase.h"
#include "src/database/NodeTable.h"
#include "src/database/TransactionScope.h"
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

bool PrepareLookup(KaDbConnection* connection, const NarrowName& name, KaSmartPtr<KaDbStatement>& lookup) {
  if (name.Get() == nullptr) return false;
  SqlText sql("SELECT id FROM Documents WHERE name='%q' LIMIT 1", name.Get());
  return Prepare(connection, sql, lookup);
}

}  // namespace

bool DomDatabase::CreateDocument(const KaChar* name, const KaChar* rootName, KaDomDocument** out) {
  if (name == nullptr || !IsAttached()) return false;
  TransactionScope scope;
  if (!scope.Begin(*this, TransactionScope::Kind::Write)) {
    LogFailure(kNoWriteTransaction);
    return false;
  }
  if (OpenDocument(name, out)) return true;

  int64_t documentId = 0;
  if (!InsertDocument(name, rootName, &documentId)) return false;
  if (out != nullptr) HandOut(new DomDocument(this, documentId), out);
  // The document has been handed out: its reads tell whether it was stored.
  scope.Commit();
  return true;
}

bool DomDatabase::InsertDocument(const KaChar* name, const KaChar* rootName, int64_t* documentId) {
  const NarrowName narrow(name);
  KaSmartPtr<KaDbStatement> lookup;
  if (!PrepareLookup(Connection(), narrow, lookup)) return false;
  if (StepToRow(lookup.Get())) {
    LogFailure("Document name \"%s\" is already taken.", narrow.Get());
    return false;
  }
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
  const int64_t nameId = InternKeyword(rootName);
  if (nameId != 0 && !StoreMissingKeywords()) return false;
  SqlText insert("INSERT INTO Nodes_%lld (name_id) VALUES (%d)", static_cast<long long>(documentId),
                 static_cast<int32_t>(nameId));
  return connection->Execute(insert.Get());
}

bool DomDatabase::OpenDocument(const KaChar* name, KaDomDocument** out) {
  if (name == nullptr || !IsAttached()) return false;
  KaSmartPtr<KaDbStatement> lookup;
  if (!PrepareLookup(Connection(), NarrowName(name), lookup) || !StepToRow(lookup.Get())) return false;
  if (out == nullptr) return true;
  int64_t documentId = 0;
  // An id that cannot be read stays 0: no table has that number, and every read of the document fails.
  lookup->GetInt64(0, &documentId);
  HandOut(new DomDocument(this, documentId), out);
  return true;
}

bool DomDatabase::DeleteDocument(const KaChar* name) {
  if (name == nullptr || !IsAttached()) return false;
  TransactionScope scope;
  if (!scope.Begin(*this, TransactionScope::Kind::Write)) {
    LogFailure(kNoWriteTransaction);
    return false;
  }
  KaSmartPtr<KaDomDocument> document;
  if (!OpenDocument(name, document.Out())) return true;

  // Each step goes on whatever the one before it answered: what can be deleted is deleted.
  const auto documentId = static_cast<long long>(document->GetId());
  SqlText deleteRow("DELETE FROM Documents WHERE id=%lld", documentId);
  connection->Execute(deleteRow.Get());
  SqlText dropTable("DROP TABLE IF EXISTS Nodes_%lld", documentId);
  connection->Execute(dropTable.Get());
  scope.Commit();
  return true;
}

}  // namespace karst::impl
