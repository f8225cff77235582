#include "framework/database/ScopeStack.h"

#include <algorithm>

#include "framework/database/Log.h"
#include "framework/database/StatementPool.h"

namespace karst::database {

using State = ScopeStack::Scope::State;

std::optional<ScopeStack::Handle> ScopeStack::Begin() {
  NoticeEngineRollback();
  if (!dead.empty()) {
    Log("no transaction begins while one is held whose work was undone");
    return std::nullopt;
  }
  if (spare.empty()) spare.emplace_back();
  if (open.empty() && !control.Begin()) return std::nullopt;
  spare.front() = Scope();
  open.splice(open.end(), spare, spare.begin());
  return std::prev(open.end());
}

bool ScopeStack::AdmitWrite(const CompiledStatement& statement) {
  if (IsEmpty()) return true;
  NoticeEngineRollback();
  if (!dead.empty()) {
    Log("nothing is written while a transaction is held whose work was undone, in \"%s\"", TextOf(statement).Text());
    return false;
  }
  Scope& innermost = open.back();
  if (innermost.wrote) return true;
  if (&innermost != &open.front() && !TakeSavepoint(innermost)) return false;
  innermost.wrote = true;
  return true;
}

bool ScopeStack::Commit(Handle scope) {
  NoticeEngineRollback();
  if (scope->state == State::Dead) {
    Log("a transaction whose work was undone cannot be committed");
    return false;
  }
  if (scope->misread) {
    Log("a transaction cannot be committed in which a statement that reads failed on its way");
    return false;
  }
  return scope == open.begin() ? CommitOutermost() : CommitInner(scope);
}

void ScopeStack::Abandon(Handle scope) noexcept {
  NoticeEngineRollback();
  if (scope->state == State::Dead) {
    dead.erase(scope);
  } else if (scope == open.begin()) {
    AbandonOutermost();
  } else {
    AbandonInner(scope);
  }
}

bool ScopeStack::KillAll() noexcept {
  Log("the engine rolled the transaction back, with all work that was not committed");
  depth = 0;
  KillFrom(open.begin());
  return true;
}

bool ScopeStack::CommitOutermost() {
  const auto isInTheWay = [](const Scope& scope) { return scope.wrote && scope.state == State::Open; };
  if (std::any_of(std::next(open.begin()), open.end(), isInTheWay)) {
    Log("a transaction cannot be committed while one inside it has written and is not committed");
    return false;
  }
  if (!control.Commit()) {
    NoticeEngineRollback();
    return false;
  }
  depth = 0;
  open.pop_front();
  open.remove_if([](const Scope& scope) { return scope.state == State::Committed; });
  BeginForOutermost();
  return true;
}

bool ScopeStack::CommitInner(Handle scope) {
  const bool isInnermost = std::next(scope) == open.end();
  if (scope->wrote && !isInnermost) {
    scope->state = State::Committed;
    return true;
  }
  if (scope->wrote && !FoldIntoEncloser(scope)) return false;
  Remove(scope);
  FoldCommitted();
  return true;
}

void ScopeStack::AbandonOutermost() {
  Handle lost = std::find_if(open.begin(), open.end(), [](const Scope& scope) { return scope.wrote; });
  if (lost == open.begin()) ++lost;
  control.RollBack();
  depth = 0;
  KillFrom(lost);
  open.pop_front();
  BeginForOutermost();
}

void ScopeStack::AbandonInner(Handle scope) {
  if (scope->wrote) {
    KillFrom(std::next(scope));
    if (!UndoSavepoint(scope->savepoint)) {
      control.RollBack();
      depth = 0;
      open.erase(scope);
      KillFrom(open.begin());
      return;
    }
  }
  open.erase(scope);
  FoldCommitted();
}

bool ScopeStack::TakeSavepoint(Scope& scope) {
  if (!control.TakeSavepoint(depth + 1)) {
    NoticeEngineRollback();
    return false;
  }
  scope.savepoint = ++depth;
  return true;
}

// Takes everything back that was done since the savepoint, and the savepoint itself.
bool ScopeStack::UndoSavepoint(size_t savepoint) {
  if (!control.RollBackToSavepoint(savepoint)) return false;
  depth = control.ReleaseSavepoint(savepoint) ? savepoint - 1 : savepoint;
  return true;
}

// Makes the work of the innermost scope its encloser's; the scope itself stays for the caller to remove. False: the
// engine rolled back, and all scopes are dead.
bool ScopeStack::FoldIntoEncloser(Handle innermost) {
  const Handle encloser = std::prev(innermost);
  if (!encloser->wrote && encloser != open.begin()) {
    encloser->savepoint = innermost->savepoint;
  } else if (control.ReleaseSavepoint(innermost->savepoint)) {
    depth = innermost->savepoint - 1;
  } else if (NoticeEngineRollback()) {
    return false;
  }
  encloser->wrote = true;
  return true;
}

// Folds every scope that has been waiting for the later ones to end.
void ScopeStack::FoldCommitted() {
  while (!open.empty() && open.back().state == State::Committed) {
    if (!FoldIntoEncloser(std::prev(open.end()))) return;
    open.pop_back();
  }
}

// The former outermost scope has ended: the first of those that are left takes its place.
void ScopeStack::BeginForOutermost() {
  if (!open.empty() && !control.BeginUnchanged()) KillFrom(open.begin());
}

void ScopeStack::Remove(Handle scope) {
  spare.splice(spare.begin(), open, scope);
  spare.erase(std::next(spare.begin()), spare.end());
}

void ScopeStack::Kill(Handle scope) {
  if (scope->state == State::Committed) {
    open.erase(scope);
    return;
  }
  scope->state = State::Dead;
  dead.splice(dead.end(), open, scope);
}

void ScopeStack::KillFrom(Handle first) {
  while (first != open.end()) Kill(first++);
}

}  // namespace karst::database
