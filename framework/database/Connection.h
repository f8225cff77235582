// A connection to a database file.
#pragma once

#include <memory>

#include "karst/KaDatabase.h"
#include "common/KaSmartImpl.h"
#include "framework/database/Session.h"

namespace karst::database {

class Connection final : public impl::KaSmartImpl<KaDbConnection> {
 public:
  explicit Connection(std::shared_ptr<Session> opened) : session(std::move(opened)) {}

  bool BeginWriteTransaction(KaDbTransaction** out) override { return Begin(out); }
  bool BeginTransaction(KaDbTransaction** out) override { return Begin(out); }
  bool Prepare(const KaChar* sql, KaDbStatement** out, int32_t reserved) override;
  bool Execute(const KaChar* sql) override;
  int64_t GetLastInsertId() override;

 private:
  ~Connection() override = default;

  void Unlisted6() override {}
  void Unlisted8() override {}
  void Unlisted9() override {}

  bool Begin(KaDbTransaction** out);
  bool CompileSingle(const KaChar* wide, CompiledStatement* out);
  bool HoldsStatement(const char* sql);
  bool RunOne(CompiledStatement&& statement);
  bool RunAll(const KaChar* wide);

  const std::shared_ptr<Session> session;
};

}  // namespace karst::database
