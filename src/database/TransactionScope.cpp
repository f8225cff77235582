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
  namesBefore = database.Keywords().Size();
  ledger->Began();
  return true;
}

bool TransactionScope::Commit() {
  if (!IsOpen() || !transaction->Commit()) return false;
  Enter(true);
  return true;
}

void TransactionScope::Close() {
  transaction.Reset();
  if (IsOpen()) Enter(false);
}

void TransactionScope::Enter(bool kept) {
  ledger->Ended(namesBefore, kept);
  ledger.reset();
}

}  // namespace karst::impl
