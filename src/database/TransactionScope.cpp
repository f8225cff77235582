#include "src/database/TransactionScope.h"

#include "src/database/DomDatabase.h"

namespace karst::impl {

bool TransactionScope::Begin(DomDatabase& database, Kind kind) {
  KaDbConnection* connection = database.Connection();
  KaDbTransaction** slot = transaction.Out();
  const bool begun = kind == Kind::Write ? connection->BeginWriteTransaction(slot) : connection->BeginTransaction(slot);
  if (!begun || !transaction) {
    transaction.Reset();
    return false;
  }
  ledger = database.Ledger();
  namesBefore = database.KeywordCount();
  ledger->Began();
  return true;
}

bool TransactionScope::Commit() {
  if (!transaction || !transaction->Commit()) return false;
  End(true);
  return true;
}

void TransactionScope::Abandon() {
  if (transaction) End(false);
}

void TransactionScope::End(bool kept) {
  transaction.Reset();
  ledger->Ended(namesBefore, kept);
  ledger.reset();
}

}  // namespace karst::impl
