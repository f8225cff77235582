// A transaction scope as its holder sees it.
#pragma once

#include <memory>
#include <optional>

#include "karst/KaDatabase.h"
#include "framework/database/Session.h"
#include "src/module/KaSmartImpl.h"

namespace karst::database {

// Holds a scope of the session's stack, and abandons it when it is released uncommitted.
class Transaction final : public impl::KaSmartImpl<KaDbTransaction> {
 public:
  // Without a scope, until Begin answers true.
  explicit Transaction(std::shared_ptr<Session> shared) : session(std::move(shared)) {}

  bool Begin(BeginMode mode) {
    scope = session->Scopes().Begin(mode);
    return scope.has_value();
  }

  bool Commit() override {
    if (!scope || !session->Scopes().Commit(*scope)) return false;
    scope.reset();
    return true;
  }

 private:
  ~Transaction() override {
    if (scope) session->Scopes().Abandon(*scope);
  }

  const std::shared_ptr<Session> session;
  std::optional<ScopeStack::Handle> scope;  // empty once it is committed
};

}  // namespace karst::database
