// A transaction, and the account that is kept of it.
#pragma once

#include <memory>

#include "src/database/ScopeLedger.h"
#include "src/module/Sql.h"

namespace karst::impl {

class DomDatabase;

// Holds a transaction of a database's connection from Begin to its end. Closed → open (Begin) → closed again, by a
// successful Commit or by Abandon, which the destructor does too. Whatever happens is entered in the database's ledger,
// which the scope keeps alive; the database itself may be gone before.
class TransactionScope {
 public:
  enum class Kind { Plain, Write };

  TransactionScope() = default;
  TransactionScope(const TransactionScope&) = delete;
  TransactionScope& operator=(const TransactionScope&) = delete;
  ~TransactionScope() { Abandon(); }

  // Opens a closed scope. False: no transaction could be had; it stays closed.
  bool Begin(DomDatabase& database, Kind kind);
  bool IsOpen() const { return static_cast<bool>(transaction); }
  // False: closed already, or the database refused and the scope is still open.
  bool Commit();
  // Releases an open transaction without committing it.
  void Abandon();

 private:
  void End(bool kept);

  std::shared_ptr<ScopeLedger> ledger;
  size_t namesBefore = 0;
  KaSmartPtr<KaDbTransaction> transaction;
};

}  // namespace karst::impl
