// The document editor.
#pragma once

#include "karst/KaDomDocumentEditor.h"
#include "src/database/DomDatabase.h"
#include "src/database/TransactionScope.h"
#include "src/editing/NewElements.h"

namespace karst::impl {

inline constexpr const char* kNoTransaction = "Failed to obtain DOM database transaction.";

// Holds the document's outer transaction and the prepared statements that its element editors share. The statements are
// prepared on first use and released by Commit; the operations go on working after it.
class DomDocumentEditor final : public KaSmartImpl<KaDomDocumentEditor> {
 public:
  // Takes a reference to `database`.
  DomDocumentEditor(DomDatabase* database, int64_t documentId);

  // Begins the editor's transaction.
  bool Begin() { return transaction.Begin(*database, TransactionScope::Kind::Plain); }

  bool Commit() override;
  bool CreateElement(const KaChar* name, int64_t* outId) override;
  bool DeleteElement(int64_t id) override;
  bool OpenElementEditor(int64_t id, KaDomElementEditor** out) override;

  DomDatabase* Database() const { return database.Get(); }
  KaDbConnection* Connection() const { return database->Connection(); }
  int64_t DocumentId() const { return documentId; }
  NewElements& Created() const { return *newElements; }

  // The shared statements; null, and the failure logged, when one cannot be prepared. The user resets the statement.
  KaDbStatement* DeleteChildStatement();   // parent, child
  KaDbStatement* SetParentStatement();     // parent, child
  KaDbStatement* SetDataStatement();       // record, element
  KaDbStatement* SelectDataStatement();    // element
  KaDbStatement* SelectParentStatement();  // element

 private:
  ~DomDocumentEditor() override = default;

  KaDbStatement* Obtain(KaSmartPtr<KaDbStatement>& statement, const char* pattern);
  bool InsertElement(KaDbStatement* insert, int64_t nameId);
  void ReleaseStatements();

  // The order of members is the order of release, backwards.
  const KaSmartPtr<DomDatabase> database;
  const int64_t documentId;
  std::shared_ptr<NewElements> newElements;
  TransactionScope transaction;
  KaSmartPtr<KaDbStatement> insertElementStatement;
  KaSmartPtr<KaDbStatement> deleteChildStatement;
  KaSmartPtr<KaDbStatement> setParentStatement;
  KaSmartPtr<KaDbStatement> setDataStatement;
  KaSmartPtr<KaDbStatement> selectDataStatement;
  KaSmartPtr<KaDbStatement> selectParentStatement;
};

}  // namespace karst::impl
