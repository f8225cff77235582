// The database module as KaDom sees it: everything passes through, and the tool keeps the connection.
#pragma once

#include <utility>

#include "karst/KaDatabase.h"
#include "karst/KaSmartPtr.h"

namespace karst::tool {

// Forwards to the real module, borrowed, which is attached already.
class TappedDatabase final : public KaDatabase {
 public:
  explicit TappedDatabase(KaDatabase& realModule) : real(realModule) {}

  // The connection that was opened last, together with the reference to it; empty when there was none.
  KaSmartPtr<KaDbConnection> TakeConnection() { return std::move(connection); }

  void Attach(KaHost*) override {}
  void Detach() override {}
  int32_t GetVersion() override { return real.GetVersion(); }

  bool OpenConnection(const KaChar* path, KaDbConnection** out) override {
    if (!real.OpenConnection(path, out)) return false;
    connection = KaSmartPtr<KaDbConnection>(*out);
    return true;
  }
  bool SetOption(const char* name, const char* value) override { return real.SetOption(name, value); }
  KaSqlFormatter* GetSqlFormatter() override { return real.GetSqlFormatter(); }

 private:
  KaDatabase& real;
  KaSmartPtr<KaDbConnection> connection;
};

}  // namespace karst::tool
