#include "src/editing/DomDocumentEditor.h"

#include "src/editing/DomElementEditor.h"
#include "src/module/WhileAttached.h"

namespace karst::impl {

DomDocumentEditor::DomDocumentEditor(DomDatabase* database, int64_t documentId)
    : database(database), documentId(documentId), newElements(database->NewElementsOf(documentId).lock()) {
  if (newElements != nullptr) return;
  newElements = std::make_shared<NewElements>(database->Ledger());
  database->NewElementsOf(documentId) = newElements;
}

bool DomDocumentEditor::Commit() {
  if (!transaction.IsOpen() || !IsAttached()) return false;
  ReleaseStatements();
  if (!transaction.Commit()) return false;
  transaction.Close();
  // From here on others may write to the file, and the elements are as old as any.
  newElements->Forget();
  return true;
}

void DomDocumentEditor::ReleaseStatements() {
  insertElementStatement.Reset();
  deleteChildStatement.Reset();
  setParentStatement.Reset();
  setDataStatement.Reset();
  selectDataStatement.Reset();
  selectParentStatement.Reset();
}

bool DomDocumentEditor::CreateElement(const KaChar* name, int64_t* outId) {
  if (outId == nullptr || name == nullptr || *name == 0) return false;
  return WhileAttached([&] {
    const int64_t nameId = database->Keywords().InternStored(name);
    KaDbStatement* insert =
        Obtain(insertElementStatement, "INSERT INTO Nodes_%lld (parent_id,name_id) VALUES (-1,@NAME)");
    if (insert == nullptr) return false;
    newElements->Expect();
    const StatementUse use(insert);
    if (!InsertElement(insert, nameId)) {
      LogFailure("Failed to create a new DOM element.");
      return false;
    }
    *outId = Connection()->GetLastInsertId();
    if (transaction.IsOpen()) newElements->Created(*outId);
    return true;
  });
}

// No row is ever stored with the name id 0.
bool DomDocumentEditor::InsertElement(KaDbStatement* insert, int64_t nameId) {
  return nameId != 0 && insert->BindInt64(0, nameId) && insert->Execute();
}

bool DomDocumentEditor::DeleteElement(int64_t id) {
  if (!IsAttached()) return false;
  SqlText sql("DELETE FROM Nodes_%lld WHERE id=%lld", static_cast<long long>(documentId), static_cast<long long>(id));
  if (Connection()->Execute(sql.Get())) return true;
  LogFailure("Failed to delete a new DOM element.");
  return false;
}

bool DomDocumentEditor::OpenElementEditor(int64_t id, KaDomElementEditor** out) {
  if (out == nullptr) return false;
  return WhileAttached([&] {
    KaSmartPtr<DomElementEditor> editor(new DomElementEditor(this, id));
    if (!editor->Begin()) {
      LogFailure(kNoTransaction);
      return false;
    }
    *out = editor.Detach();
    return true;
  });
}

KaDbStatement* DomDocumentEditor::DeleteChildStatement() {
  return Obtain(deleteChildStatement, "DELETE FROM Nodes_%lld WHERE parent_id=@PARENT AND id=@CHILD");
}

KaDbStatement* DomDocumentEditor::SetParentStatement() {
  return Obtain(setParentStatement, "UPDATE Nodes_%lld SET parent_id=@PARENT WHERE id=@CHILD");
}

KaDbStatement* DomDocumentEditor::SetDataStatement() {
  return Obtain(setDataStatement, "UPDATE Nodes_%lld SET data=@BLOB WHERE id=@ELEM");
}

KaDbStatement* DomDocumentEditor::SelectDataStatement() {
  return Obtain(selectDataStatement, "SELECT data FROM Nodes_%lld WHERE id=@ELEM LIMIT 1");
}

KaDbStatement* DomDocumentEditor::SelectParentStatement() {
  return Obtain(selectParentStatement, "SELECT parent_id FROM Nodes_%lld WHERE id=@ELEM LIMIT 1");
}

KaDbStatement* DomDocumentEditor::Obtain(KaSmartPtr<KaDbStatement>& statement, const char* pattern) {
  if (PrepareOnce(Connection(), pattern, documentId, statement)) return statement.Get();
  LogFailure("Failed to compile SQL statement.");
  return nullptr;
}

}  // namespace karst::impl
