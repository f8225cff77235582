// A transaction scope as its holder sees it.
#pragma once

#include <memory>
#include <optional>

#include "karst/KaDatabase.h"
#include "common/KaSmartImpl.h"
#include "framework/database/Session.h"

namespace karst::database {

// Holds a scope of the session's stack, and abandons it when it is released uncommitted.
class Transaction final : public impl::KaSmartImpl<KaDbTransaction> {
 public:
  // Without a scope, until Begin answers true.
  explicit Transaction(std::shared_ptr<Session> shared) : session(std::move(shared)) {}

  bool Begin() {
    use.emplace(*session);
    scope = session->Begin();
    if (!scope) use.reset();
    return scope.has_value();
  }

  bool Commit() override {
    if (!scope || !session->Commit(*scope)) return false;
    scope.reset();
    use.reset();
    return true;
  }

 private:
  ~Transaction() override {
    if (scope) session->Abandon(*scope);
  }

  const std::shared_ptr<Session> session;
  std::optional<Session::Use> use;          // while there is a scope
  std::optional<ScopeStack::Handle> scope;  // empty once it is committed
};

}  // namespace karst::database
