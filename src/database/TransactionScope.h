// A transaction, and the account that is kept of it.
#pragma once

#include <memory>

#include "src/database/ScopeLedger.h"
#include "src/module/Sql.h"

namespace karst::impl {

class DomDatabase;

// Holds a transaction of a database's connection. Closed → open (Begin) → committed (a successful Commit) → closed
// again (Close, or the destructor). Closing an open scope abandons it. However a scope ends, it is entered in the
// database's ledger, which the scope keeps alive; the database itself may be gone before.
class TransactionScope {
 public:
  enum class Kind { Plain, Write };

  TransactionScope() = default;
  TransactionScope(const TransactionScope&) = delete;
  TransactionScope& operator=(const TransactionScope&) = delete;
  ~TransactionScope() { Close(); }

  // Opens a closed scope. False: no transaction could be had; it stays closed.
  bool Begin(DomDatabase& database, Kind kind);
  bool IsOpen() const { return ledger != nullptr; }
  // False: not open, or the database refused and the scope is still open.
  bool Commit();
  // Releases the transaction.
  void Close();

 private:
  void Enter(bool kept);

  std::shared_ptr<ScopeLedger> ledger;  // while the scope is open
  size_t namesBefore = 0;
  KaSmartPtr<KaDbTransaction> transaction;
};

}  // namespace karst::impl
