#include "src/editing/SubtreeDeletion.h"

namespace karst::impl {

SubtreeDeletion::~SubtreeDeletion() {
  while (!levels.empty()) levels.pop_back();
}

bool SubtreeDeletion::Run(int64_t elementId) {
  if (!Enter(elementId)) return false;
  for (;;) {
    KaDbStatement* children = levels.back().Get();
    const StepResult step = StepOnce(children);
    if (step == StepResult::Failed) return false;
    if (step == StepResult::Row) {
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

bool SubtreeDeletion::Enter(int64_t id) {
  if (!path.Enter(id)) return false;
  SqlText sql("SELECT id FROM Nodes_%lld WHERE parent_id=%lld", static_cast<long long>(documentId),
              static_cast<long long>(id));
  KaSmartPtr<KaDbStatement> children;
  if (!Prepare(connection, sql, children)) return false;
  levels.push_back(std::move(children));
  return true;
}

bool SubtreeDeletion::DeleteRow(int64_t id) {
  SqlText sql("DELETE FROM Nodes_%lld WHERE id=%lld", static_cast<long long>(documentId), static_cast<long long>(id));
  return connection->Execute(sql.Get());
}

}  // namespace karst::impl
