#include "src/tree/DomDocument.h"

#include "src/database/NodeTable.h"
#include "src/editing/DomDocumentEditor.h"
#include "src/module/WhileAttached.h"
#include "src/tree/DomElement.h"

namespace karst::impl {

bool DomDocument::CreateIndexes() {
  return WhileAttached([&] {
    const NodeTableName table(documentId);
    const char* name = table.Get();
    SqlText sql(
        "CREATE INDEX IF NOT EXISTS IdxId%s ON %s (id);"
        "CREATE INDEX IF NOT EXISTS IdxParent%s ON %s (parent_id);"
        "CREATE INDEX IF NOT EXISTS IdxName%s ON %s (name_id);",
        name, name, name, name, name, name);
    return database->Connection()->Execute(sql.Get());
  });
}

bool DomDocument::OpenEditor(KaDomDocumentEditor** out) {
  if (out == nullptr) return false;
  return WhileAttached([&] {
    const KaSmartPtr<DomDocumentEditor> editor(new DomDocumentEditor(Database(), documentId));
    if (!editor->Begin()) {
      LogFailure(kNoTransaction);
      return false;
    }
    HandOut(editor.Get(), out);
    return true;
  });
}

bool DomDocument::GetRootElement(KaDomElement** out) {
  if (out == nullptr) return false;
  return WhileAttached([&] {
    HandOut(new DomElement(this, kNoParent, {kRootElementId, DomElement::kNameNotRead}), out);
    return true;
  });
}

bool DomDocument::GetElement(int64_t id, KaDomElement** out) {
  if (id < kRootElementId || out == nullptr) return false;
  return WhileAttached([&] {
    KaDbStatement* statement = ElementStatement();
    if (statement == nullptr) return false;
    const StatementUse use(statement);
    if (!statement->BindInt64(0, id) || StepOnce(statement) != StepResult::Row) return false;
    int64_t nameId = DomElement::kNameNotRead;
    // A name that cannot be read now is read, and reported, by GetName.
    statement->GetInt64(0, &nameId);
    HandOut(new DomElement(this, kUnattached, {id, nameId}), out);
    return true;
  });
}

KaDbStatement* DomDocument::ElementStatement() {
  return Obtain(elementStatement, "SELECT name_id FROM Nodes_%lld WHERE id=@ELEM LIMIT 1");
}

KaDbStatement* DomDocument::ParentStatement() {
  return Obtain(parentStatement, "SELECT parent_id FROM Nodes_%lld WHERE id=@ELEM LIMIT 1");
}

KaDbStatement* DomDocument::RecordStatement() {
  return Obtain(recordStatement, "SELECT parent_id,name_id FROM Nodes_%lld WHERE id=@ELEM LIMIT 1");
}

KaDbStatement* DomDocument::ChildrenStatement() {
  return Obtain(childrenStatement, "SELECT id,name_id FROM Nodes_%lld WHERE parent_id=@ELEM");
}

KaDbStatement* DomDocument::DataStatement() {
  return Obtain(dataStatement, "SELECT data FROM Nodes_%lld WHERE id=@ELEM LIMIT 1");
}

KaDbStatement* DomDocument::Obtain(KaSmartPtr<KaDbStatement>& statement, const char* pattern) {
  return PrepareOnce(database->Connection(), pattern, documentId, statement) ? statement.Get() : nullptr;
}

}  // namespace karst::impl
