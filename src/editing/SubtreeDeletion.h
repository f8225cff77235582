// Deleting everything below an element.
#pragma once

#include <vector>

#include "src/module/Sql.h"
#include "src/tree/ElementPath.h"

namespace karst::impl {

// Deletes the elements below one, deepest first, with a stack of its own: trees are deeper than call stacks. Keeps one
// statement open for each level; what is left of them goes with the object.
class SubtreeDeletion {
 public:
  // `connection` is borrowed.
  SubtreeDeletion(KaDbConnection* connection, int64_t documentId) : connection(connection), documentId(documentId) {}
  SubtreeDeletion(const SubtreeDeletion&) = delete;
  SubtreeDeletion& operator=(const SubtreeDeletion&) = delete;
  ~SubtreeDeletion();

  // Deletes everything below `elementId`, not itself. Called once. False: a statement failed, or the elements form a
  // circle; the caller's transaction then undoes what was deleted.
  bool Run(int64_t elementId);

 private:
  bool Enter(int64_t id);
  bool DeleteRow(int64_t id);

  KaDbConnection* const connection;
  const int64_t documentId;
  ElementPath path;                               // the element of each level
  std::vector<KaSmartPtr<KaDbStatement>> levels;  // its children, being read
};

}  // namespace karst::impl
