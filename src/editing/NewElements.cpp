#include "src/editing/NewElements.h"

#include "src/database/NodeTable.h"

namespace karst::impl {

void NewElements::Created(int64_t id) {
  ForgetWhenStale();
  const bool follows = id == first + static_cast<int64_t>(parents.size());
  if (!follows || parents.size() == kMostRemembered) {
    Forget();
    first = id;
  }
  parents.push_back(kUnattached);
  hasChildren.push_back(false);
}

void NewElements::Appended(int64_t child, int64_t parent) {
  ForgetWhenStale();
  if (IsNew(child)) parents[Position(child)] = parent;
  if (!IsNew(parent)) return;
  hasChildren[Position(parent)] = true;
  if (!IsNew(child)) adopted = true;
}

void NewElements::Forget() {
  parents.clear();
  hasChildren.clear();
  adopted = false;
}

bool NewElements::IsCertainlyNotAbove(int64_t ancestor, int64_t element) {
  ForgetWhenStale();
  const bool ancestorIsNew = IsNew(ancestor);
  if (ancestorIsNew && !hasChildren[Position(ancestor)]) return true;
  for (int64_t above = element; above != ancestor; above = parents[Position(above)]) {
    if (above == kUnattached) return true;
    if (!IsNew(above)) return ancestorIsNew && !adopted;
  }
  return false;
}

void NewElements::ForgetWhenStale() {
  if (abandonedScopes == ledger->AbandonedScopes()) return;
  abandonedScopes = ledger->AbandonedScopes();
  Forget();
}

}  // namespace karst::impl
