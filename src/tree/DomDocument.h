// The document object.
#pragma once

#include "karst/KaDomDocument.h"
#include "src/database/DomDatabase.h"

namespace karst::impl {

// Stands for one document. Owns the prepared statements through which all its elements read the element table; each is
// prepared on first use and idle between operations.
class DomDocument final : public KaSmartImpl<KaDomDocument> {
 public:
  // Takes a reference to `database`.
  DomDocument(DomDatabase* database, int64_t documentId) : database(database), documentId(documentId) {}

  bool CreateIndexes() override;
  int64_t GetId() override { return documentId; }
  bool OpenEditor(KaDomDocumentEditor** out) override;
  bool GetRootElement(KaDomElement** out) override;
  bool GetElement(int64_t id, KaDomElement** out) override;

  DomDatabase* Database() const { return database.Get(); }

  // The shared read statements. Their one parameter is an element id; null when the statement cannot be prepared. The
  // user resets the statement when it is done.
  KaDbStatement* ElementStatement();   // name_id
  KaDbStatement* ParentStatement();    // parent_id
  KaDbStatement* RecordStatement();    // parent_id, name_id
  KaDbStatement* ChildrenStatement();  // id, name_id of every child
  KaDbStatement* DataStatement();      // data

 private:
  ~DomDocument() override = default;

  KaDbStatement* Obtain(KaSmartPtr<KaDbStatement>& statement, const char* pattern);

  // The order of members is the order of release, backwards.
  const KaSmartPtr<DomDatabase> database;
  KaSmartPtr<KaDbStatement> elementStatement;
  KaSmartPtr<KaDbStatement> parentStatement;
  KaSmartPtr<KaDbStatement> recordStatement;
  KaSmartPtr<KaDbStatement> childrenStatement;
  KaSmartPtr<KaDbStatement> dataStatement;
  const int64_t documentId;
};

}  // namespace karst::impl
