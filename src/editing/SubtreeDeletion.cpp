#include "src/editing/SubtreeDeletion.h"

#include <vector>

#include "src/module/Sql.h"
#include "src/tree/ElementPath.h"

namespace karst::impl {

namespace {

// Walks down a subtree with a stack of its own: trees are deeper than call stacks.
class SubtreeDeletion {
 public:
  SubtreeDeletion(KaDbConnection* connection, int64_t documentId) : connection(connection), documentId(documentId) {}
  ~SubtreeDeletion() {
    while (!levels.empty()) levels.pop_back();
  }
  SubtreeDeletion(const SubtreeDeletion&) = delete;
  SubtreeDeletion& operator=(const SubtreeDeletion&) = delete;

  bool Run(int64_t elementId) {
    if (!Enter(elementId)) return false;
    for (;;) {
      KaDbStatement* children = levels.back().Get();
      if (StepToRow(children)) {
        int64_t child = 0;
        if (!children->GetInt64(0, &child) || !Enter(child)) return false;
        continue;
      }
      if (levels.size() == 1) return true;
      if (!DeleteRow(path.Last())) return false;
      levels.pop_back();
      path.Leave();
    }
  }

 private:
  bool Enter(int64_t id) {
    if (!path.Enter(id)) return false;
    SqlText sql("SELECT id FROM Nodes_%lld WHERE parent_id=%lld", static_cast<long long>(documentId),
                static_cast<long long>(id));
    KaSmartPtr<KaDbStatement> children;
    if (!Prepare(connection, sql, children)) return false;
    levels.push_back(std::move(children));
    return true;
  }

  bool DeleteRow(int64_t id) {
    SqlText sql("DELETE FROM Nodes_%lld WHERE id=%lld", static_cast<long long>(documentId), static_cast<long long>(id));
    return connection->Execute(sql.Get());
  }

  KaDbConnection* const connection;
  const int64_t documentId;
  ElementPath path;                               // the element of each level
  std::vector<KaSmartPtr<KaDbStatement>> levels;  // its children, being read
};

}  // namespace

bool DeleteDescendants(KaDbConnection* connection, int64_t documentId, int64_t elementId) {
  return SubtreeDeletion(connection, documentId).Run(elementId);
}

}  // namespace karst::impl
