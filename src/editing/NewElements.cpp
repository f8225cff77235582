#include "src/editing/NewElements.h"

#include <algorithm>

#include "common/OutOfMemory.h"
#include "src/database/NodeTable.h"

namespace karst::impl {

void NewElements::Expect() {
  MakeRoom(parents);
  MakeRoom(hasChildren);
}

void NewElements::Created(int64_t id) {
  ForgetWhenStale();
  const bool follows = id == first + static_cast<int64_t>(parents.size());
  if (!follows || parents.size() == kMostRemembered) {
    Forget();
    first = id;
  }
  parents.push_back(kUnattached);
  hasChildren.push_back(id <= highestOtherParent);
  adopted = adopted || id <= highestOtherParent;
}

void NewElements::Appended(int64_t child, int64_t parent) {
  ForgetWhenStale();
  if (IsNew(child)) parents[Position(child)] = parent;
  if (!IsNew(parent)) {
    highestOtherParent = std::max(highestOtherParent, parent);
    return;
  }
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
  // What is remembered of deleted elements may go round in a circle.
  int64_t above = element;
  for (size_t steps = 0; above != ancestor && steps <= parents.size(); ++steps) {
    if (above == kUnattached) return true;
    if (!IsNew(above)) return ancestorIsNew && !adopted;
    above = parents[Position(above)];
  }
  return false;
}

void NewElements::ForgetWhenStale() {
  if (abandonedScopes == ledger->AbandonedScopes()) return;
  abandonedScopes = ledger->AbandonedScopes();
  Forget();
}

}  // namespace karst::impl
