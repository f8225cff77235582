#include "src/module/Sql.h"

namespace karst::impl {

bool Prepare(KaDbConnection* connection, SqlText& sql, KaSmartPtr<KaDbStatement>& statement) {
  if (connection->Prepare(sql.Get(), statement.Out(), 0) && statement) return true;
  statement.Reset();
  return false;
}

bool PrepareOnce(KaDbConnection* connection, const char* pattern, int64_t documentId,
                 KaSmartPtr<KaDbStatement>& statement) {
  if (statement) return true;
  SqlText sql(pattern, static_cast<long long>(documentId));
  return Prepare(connection, sql, statement);
}

}  // namespace karst::impl
