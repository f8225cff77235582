#include "tests/support/ForwardingDatabase.h"

#include <cstdarg>
#include <string>
#include <utility>

#include "karst/KaSmartPtr.h"
#include "tests/support/RecordingHost.h"

namespace karst::test {

using impl::KaSmartImpl;

namespace {

// Notes a call that can fail and answers whether it is to be carried out.
bool Admit(CallLog& calls, const std::string& kind, const std::string& line, const std::string& sql) {
  const bool admitted = calls.Admit(kind, sql);
  calls.Note(admitted ? line : line + " (refused)");
  return admitted;
}

}  // namespace

class ForwardingDatabase::Transaction final : public KaSmartImpl<KaDbTransaction> {
 public:
  Transaction(CallLog& calls, KaSmartPtr<KaDbTransaction> real)
      : number(std::to_string(calls.Alive("transaction") + 1)), calls(calls), real(std::move(real)) {
    calls.Born("transaction");
  }

  bool Commit() override { return Admit(calls, "Commit", "Commit " + number, {}) && real->Commit(); }

  const std::string number;

 private:
  ~Transaction() override {
    calls.Note("release transaction " + number);
    calls.Gone("transaction");
  }

  CallLog& calls;
  const KaSmartPtr<KaDbTransaction> real;
};

class ForwardingDatabase::Statement final : public KaSmartImpl<KaDbStatement> {
 public:
  Statement(CallLog& calls, KaSmartPtr<KaDbStatement> real, std::string sql)
      : calls(calls), real(std::move(real)), sql(std::move(sql)) {
    calls.Born("statement");
  }

  bool BindBlob(int32_t index, void* data, int32_t size, KaReleaseBlob release) override {
    if (Bind("BindBlob", index, Hex(data, static_cast<size_t>(size)))) {
      return real->BindBlob(index, data, size, release);
    }
    release(data);
    return false;
  }
  bool BindText(int32_t index, const KaChar* text, int32_t reserved) override {
    if (reserved != 0) calls.Violation("BindText with a reserved argument");
    return Bind("BindText", index, Narrow(text)) && real->BindText(index, text, reserved);
  }
  bool BindInt64(int32_t index, int64_t value) override {
    return Bind("BindInt64", index, std::to_string(value)) && real->BindInt64(index, value);
  }
  bool BindNull(int32_t index) override { return Bind("BindNull", index, {}) && real->BindNull(index); }
  void Reset() override {
    calls.Note("Reset");
    state = State::Idle;
    real->Reset();
  }
  int32_t Step() override {
    state = State::Run;
    const bool admitted = calls.Admit("Step", sql);
    const int32_t result = admitted ? real->Step() : -1;
    calls.Note("Step " + std::to_string(result) + (admitted ? "" : " (refused)"));
    return result;
  }
  bool Execute() override {
    RequireNotRun("run");
    state = State::Run;
    return Admit(calls, "Execute", "Execute", sql) && real->Execute();
  }
  bool GetString(int32_t column, KaString** out) override {
    KaSmartPtr<KaString> text;
    if (!Read("GetString", column) || !real->GetString(column, text.Out())) return false;
    if (text) impl::HandOut(new CountedString(calls, text->GetText()), out);  // NULL leaves it as it was
    return true;
  }
  bool GetInt64(int32_t column, int64_t* out) override {
    return Read("GetInt64", column) && real->GetInt64(column, out);
  }
  bool GetBlob(int32_t column, void* buffer, uint64_t size) override {
    return Read("GetBlob", column) && real->GetBlob(column, buffer, size);
  }
  bool GetBlobSize(int32_t column, uint64_t* out) override {
    return Read("GetBlobSize", column) && real->GetBlobSize(column, out);
  }

 private:
  enum class State { Idle, Bound, Run };

  ~Statement() override {
    // Statements that are kept for reuse have parameters; those of one call embed their values.
    if (state != State::Idle && sql.find('@') != std::string::npos) calls.Violation("released without Reset: " + sql);
    calls.Note("release statement " + sql);
    calls.Gone("statement");
  }

  void RequireNotRun(const std::string& what) {
    if (state == State::Run) calls.Violation(what + " again without Reset: " + sql);
  }
  bool Bind(const std::string& kind, int32_t index, const std::string& value) {
    RequireNotRun("bound");
    state = State::Bound;
    const std::string line = kind + ' ' + std::to_string(index) + (value.empty() ? "" : " ") + value;
    return Admit(calls, kind, line, sql);
  }
  bool Read(const std::string& kind, int32_t column) {
    return Admit(calls, kind, kind + ' ' + std::to_string(column), sql);
  }

  void Unlisted3() override { calls.Violation("slot 3 of KaDbStatement"); }
  void Unlisted4() override { calls.Violation("slot 4 of KaDbStatement"); }
  void Unlisted5() override { calls.Violation("slot 5 of KaDbStatement"); }
  void Unlisted7() override { calls.Violation("slot 7 of KaDbStatement"); }
  void Unlisted9() override { calls.Violation("slot 9 of KaDbStatement"); }
  void Unlisted11() override { calls.Violation("slot 11 of KaDbStatement"); }
  void Unlisted15() override { calls.Violation("slot 15 of KaDbStatement"); }
  void Unlisted17() override { calls.Violation("slot 17 of KaDbStatement"); }
  void Unlisted18() override { calls.Violation("slot 18 of KaDbStatement"); }
  void Unlisted19() override { calls.Violation("slot 19 of KaDbStatement"); }
  void Unlisted21() override { calls.Violation("slot 21 of KaDbStatement"); }
  void Unlisted23() override { calls.Violation("slot 23 of KaDbStatement"); }

  CallLog& calls;
  const KaSmartPtr<KaDbStatement> real;
  const std::string sql;
  State state = State::Idle;
};

class ForwardingDatabase::Connection final : public KaSmartImpl<KaDbConnection> {
 public:
  Connection(ForwardingDatabase& owner, KaSmartPtr<KaDbConnection> real)
      : owner(owner), calls(owner.calls), real(std::move(real)) {
    owner.realConnection = this->real.Get();
    calls.Born("connection");
  }

  bool BeginWriteTransaction(KaDbTransaction** out) override {
    return Begin("BeginWriteTransaction", &KaDbConnection::BeginWriteTransaction, out);
  }
  bool BeginTransaction(KaDbTransaction** out) override {
    return Begin("BeginTransaction", &KaDbConnection::BeginTransaction, out);
  }
  bool Prepare(const KaChar* sql, KaDbStatement** out, int32_t reserved) override {
    if (reserved != 0) calls.Violation("Prepare with a reserved argument");
    const std::string text = Narrow(sql);
    KaSmartPtr<KaDbStatement> statement;
    if (!Admit(calls, "Prepare", "Prepare " + text, text)) return false;
    if (!real->Prepare(sql, statement.Out(), reserved) || !statement) return false;
    impl::HandOut(new Statement(calls, std::move(statement), text), out);
    return true;
  }
  bool Execute(const KaChar* sql) override {
    const std::string text = Narrow(sql);
    return Admit(calls, "Execute", "Execute " + text, text) && real->Execute(sql);
  }
  int64_t GetLastInsertId() override {
    calls.Note("GetLastInsertId");
    return real->GetLastInsertId();
  }

 private:
  ~Connection() override {
    const bool isLast = calls.Alive("connection") == 1;
    if (isLast && calls.Alive("statement") != 0) calls.Violation("connection released before its statements");
    if (owner.realConnection == real.Get()) owner.realConnection = nullptr;
    calls.Note("release connection");
    calls.Gone("connection");
  }

  bool Begin(const std::string& kind, bool (KaDbConnection::*begin)(KaDbTransaction**), KaDbTransaction** out) {
    KaSmartPtr<KaDbTransaction> inner;
    if (!calls.Admit(kind) || !(real.Get()->*begin)(inner.Out()) || !inner) {
      calls.Note(kind + " (refused)");
      return false;
    }
    auto* transaction = new Transaction(calls, std::move(inner));
    calls.Note(kind + ' ' + transaction->number);
    impl::HandOut(transaction, out);
    return true;
  }

  void Unlisted6() override { calls.Violation("slot 6 of KaDbConnection"); }
  void Unlisted8() override { calls.Violation("slot 8 of KaDbConnection"); }
  void Unlisted9() override { calls.Violation("slot 9 of KaDbConnection"); }

  ForwardingDatabase& owner;
  CallLog& calls;
  const KaSmartPtr<KaDbConnection> real;
};

bool ForwardingDatabase::OpenConnection(const KaChar* path, KaDbConnection** out) {
  const std::string file = Narrow(path);
  const std::string name = file.substr(file.find_last_of("/\\") + 1);
  if (!Admit(calls, "OpenConnection", "OpenConnection " + name, name)) return false;
  KaSmartPtr<KaDbConnection> connection;
  if (!real.OpenConnection(path, connection.Out()) || !connection) return false;
  impl::HandOut(new Connection(*this, std::move(connection)), out);
  return true;
}

// The arguments cannot be passed on as they came, so each is formatted here.
bool ForwardingDatabase::Format(KaString** out, const char* format, ...) {
  if (!calls.Admit("Format", format)) return false;
  std::string text;
  va_list arguments;
  va_start(arguments, format);
  for (std::string_view rest = format; !rest.empty();) {
    std::string_view piece = rest.substr(0, rest[0] != '%' ? rest.find('%') : rest.starts_with("%lld") ? 4 : 2);
    if (piece == "%lld") {
      text += std::to_string(va_arg(arguments, long long));
    } else if (piece == "%d") {
      text += std::to_string(va_arg(arguments, int));
    } else if (piece == "%s" || piece == "%q") {
      const std::string argument = va_arg(arguments, const char*);
      text += piece == "%s" ? argument : Replaced(argument, "'", "''");
    } else {
      text += piece;
    }
    rest.remove_prefix(piece.size());
  }
  va_end(arguments);
  impl::HandOut(new CountedString(calls, Wide(text)), out);
  return true;
}

}  // namespace karst::test
