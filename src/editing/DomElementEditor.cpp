// The structure operations of the element editor, and its commit.
#include "src/editing/DomElementEditor.h"

#include "src/database/NodeTable.h"
#include "src/editing/SubtreeDeletion.h"
#include "src/module/WhileAttached.h"
#include "src/tree/ElementPath.h"

namespace karst::impl {

bool DomElementEditor::Commit() {
  if (!transaction.IsOpen()) return false;
  return WhileAttached([&] {
    if (attributes && !WriteAttributes()) return false;
    if (!transaction.Commit()) return false;
    transaction.Close();
    return true;
  });
}

bool DomElementEditor::WriteAttributes() {
  HostBlock buffer;
  size_t size = 0;
  if (!EncodeAttributes(*attributes, &buffer, &size)) return false;
  // The ids that were taken for the working copy must still mean the same names, also those of removed attributes.
  if (!Keywords().StoreMissing() || Keywords().Renumberings() != renumberings) return false;
  KaDbStatement* statement = documentEditor->SetDataStatement();
  if (statement == nullptr) return false;
  const StatementUse use(statement);
  // From the call on, the statement owns the block, whatever it answers.
  const bool bound = size != 0 ? statement->BindBlob(0, buffer.Detach(), static_cast<int32_t>(size), &HostBlock::Free)
                               : statement->BindNull(0);
  return bound && statement->BindInt64(1, elementId) && statement->Execute();
}

bool DomElementEditor::AppendChild(int64_t childId) {
  return WhileAttached([&] {
    if (childId == elementId) {
      LogFailure("Cannot append self as a child.");
      return false;
    }
    KaDbStatement* statement = documentEditor->SetParentStatement();
    bool above = false;
    if (statement == nullptr || !FindAbove(childId, &above) || above || !RunWithChild(statement, childId)) {
      LogFailure("Failed to append a DOM child element.");
      return false;
    }
    documentEditor->Created().Appended(childId, elementId);
    return true;
  });
}

bool DomElementEditor::FindAbove(int64_t id, bool* above) {
  *above = false;
  if (documentEditor->Created().IsCertainlyNotAbove(id, elementId)) return true;
  KaDbStatement* statement = documentEditor->SelectParentStatement();
  if (statement == nullptr) return false;
  ElementPath path;
  for (int64_t element = elementId; element > kNoParent && path.Enter(element);) {
    const StatementUse use(statement);
    if (!statement->BindInt64(0, element)) return false;
    const StepResult step = StepOnce(statement);
    if (step == StepResult::Failed) return false;
    if (step == StepResult::NoRow) return true;
    if (element == id) {
      *above = true;
      return true;
    }
    // A row that names no parent is where the way up ends.
    if (!statement->GetInt64(0, &element)) return true;
  }
  return true;
}

bool DomElementEditor::RunWithChild(KaDbStatement* statement, int64_t childId) {
  const StatementUse use(statement);
  return statement->BindInt64(0, elementId) && statement->BindInt64(1, childId) && statement->Execute();
}

bool DomElementEditor::Rename(const KaChar* name) {
  return WhileAttached([&] {
    if (name == nullptr || *name == 0) {
      LogFailure("Invalid DOM element name.");
      return false;
    }
    const int64_t nameId = Keywords().InternStored(name);
    SqlText sql("UPDATE Nodes_%lld SET name_id=%lld WHERE id=%lld",
                static_cast<long long>(documentEditor->DocumentId()), static_cast<long long>(nameId),
                static_cast<long long>(elementId));
    if (nameId != 0 && documentEditor->Connection()->Execute(sql.Get())) return true;
    LogFailure("Failed to rename a DOM element.");
    return false;
  });
}

bool DomElementEditor::DeleteChild(int64_t childId) {
  if (!IsAttached()) return false;
  KaDbStatement* statement = documentEditor->DeleteChildStatement();
  if (statement != nullptr && RunWithChild(statement, childId)) return true;
  LogFailure("Failed to delete a DOM child element.");
  return false;
}

bool DomElementEditor::DeleteChildren() {
  return WhileAttached([&] {
    TransactionScope scope;
    SubtreeDeletion deletion(documentEditor->Connection(), documentEditor->DocumentId());
    return scope.Begin(*Database(), TransactionScope::Kind::Plain) && deletion.Run(elementId) && scope.Commit();
  });
}

}  // namespace karst::impl
