#include "tests/support/ForwardingDatabase.h"

#include <algorithm>
#include <cstdarg>
#include <string>
#include <string_view>
#include <utility>

#include "src/module/KaSmartImpl.h"
#include "src/module/KaSmartPtr.h"
#include "tests/support/CountedString.h"
#include "tests/support/Text.h"

namespace karst::test {

using impl::KaSmartImpl;
using impl::KaSmartPtr;

namespace {

constexpr int32_t kFailedStep = -1;

// Hands a copy of a real string out, so that it is in the books.
void HandOutCopy(CallLog& calls, KaSmartPtr<KaString>& real, KaString** out) {
  CountedString::HandOut(calls, real->GetText(), out);
}

// The length of the leading piece of a format that ends with its first conversion, and that conversion's letter with
// its length before it: 'd', 's', 'q', 'L' for lld, or NUL where none follows.
std::pair<size_t, char> NextPiece(std::string_view format) {
  for (size_t i = 0; i + 1 < format.size(); ++i) {
    if (format[i] != '%') continue;
    if (format[i + 1] == '%') {
      ++i;
    } else if (format.substr(i + 1, 3) == "lld") {
      return {i + 4, 'L'};
    } else {
      return {i + 2, format[i + 1]};
    }
  }
  return {format.size(), '\0'};
}

}  // namespace

class ForwardingDatabase::Transaction final : public KaSmartImpl<KaDbTransaction> {
 public:
  Transaction(ForwardingDatabase& owner, KaSmartPtr<KaDbTransaction> real) : owner(owner), real(std::move(real)) {
    auto& numbers = owner.transactionNumbers;
    const auto free = std::find(numbers.begin(), numbers.end(), false);
    index = static_cast<size_t>(free - numbers.begin());
    if (free == numbers.end()) numbers.push_back(true);
    numbers[index] = true;
    owner.calls.Born("transaction");
  }

  std::string Number() const { return std::to_string(index + 1); }

  bool Commit() override {
    return owner.Admit("Commit", "Commit " + Number(), {}) == Outcome::Forward && real->Commit();
  }

 private:
  ~Transaction() override {
    owner.calls.Note("release transaction " + Number());
    owner.calls.Gone("transaction");
    owner.transactionNumbers[index] = false;
  }

  ForwardingDatabase& owner;
  const KaSmartPtr<KaDbTransaction> real;
  size_t index = 0;
};

class ForwardingDatabase::Statement final : public KaSmartImpl<KaDbStatement> {
 public:
  Statement(ForwardingDatabase& owner, KaSmartPtr<KaDbStatement> real, std::string sql, std::shared_ptr<int> siblings)
      : owner(owner), real(std::move(real)), sql(std::move(sql)), siblings(std::move(siblings)) {
    owner.calls.Born("statement");
    ++*this->siblings;
  }

  bool BindBlob(int32_t index, void* data, int32_t size, KaReleaseBlob release) override {
    if (Bind("BindBlob", index, Hex(data, static_cast<size_t>(size)))) {
      return real->BindBlob(index, data, size, release);
    }
    release(data);
    return false;
  }
  bool BindText(int32_t index, const KaChar* text, int32_t reserved) override {
    if (reserved != 0) owner.calls.Violation("BindText with a reserved argument");
    return Bind("BindText", index, Narrow(text)) && real->BindText(index, text, reserved);
  }
  bool BindInt64(int32_t index, int64_t value) override {
    return Bind("BindInt64", index, std::to_string(value)) && real->BindInt64(index, value);
  }
  bool BindNull(int32_t index) override { return Bind("BindNull", index, {}) && real->BindNull(index); }
  void Reset() override {
    owner.calls.Note("Reset");
    state = State::Idle;
    real->Reset();
  }
  int32_t Step() override {
    state = State::Run;
    const Outcome outcome = owner.calls.Admit("Step", sql);
    const int32_t result = outcome == Outcome::Forward ? real->Step() : kFailedStep;
    owner.calls.Note("Step " + std::to_string(result) + (outcome == Outcome::Forward ? "" : " (refused)"));
    return result;
  }
  bool Execute() override {
    RequireNotRun("run");
    state = State::Run;
    return owner.Admit("Execute", "Execute", sql) == Outcome::Forward && real->Execute();
  }
  bool GetString(int32_t column, KaString** out) override {
    if (!Read("GetString", column)) return false;
    KaSmartPtr<KaString> text;
    if (!real->GetString(column, text.Out())) return false;
    HandOutCopy(owner.calls, text, out);
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
    if (state != State::Idle && sql.find('@') != std::string::npos) {
      owner.calls.Violation("released without Reset: " + sql);
    }
    owner.calls.Note("release statement " + sql);
    owner.calls.Gone("statement");
    --*siblings;
  }

  void RequireNotRun(const std::string& what) {
    if (state == State::Run) owner.calls.Violation(what + " again without Reset: " + sql);
  }
  bool Bind(const std::string& kind, int32_t index, const std::string& value) {
    RequireNotRun("bound");
    state = State::Bound;
    const std::string line = kind + ' ' + std::to_string(index) + (value.empty() ? "" : " ") + value;
    return owner.Admit(kind, line, sql) == Outcome::Forward;
  }
  bool Read(const std::string& kind, int32_t column) {
    return owner.Admit(kind, kind + ' ' + std::to_string(column), sql) == Outcome::Forward;
  }

  void Unlisted3() override { owner.calls.Violation("KaDbStatement slot 3"); }
  void Unlisted4() override { owner.calls.Violation("KaDbStatement slot 4"); }
  void Unlisted5() override { owner.calls.Violation("KaDbStatement slot 5"); }
  void Unlisted7() override { owner.calls.Violation("KaDbStatement slot 7"); }
  void Unlisted9() override { owner.calls.Violation("KaDbStatement slot 9"); }
  void Unlisted11() override { owner.calls.Violation("KaDbStatement slot 11"); }
  void Unlisted15() override { owner.calls.Violation("KaDbStatement slot 15"); }
  void Unlisted17() override { owner.calls.Violation("KaDbStatement slot 17"); }
  void Unlisted18() override { owner.calls.Violation("KaDbStatement slot 18"); }
  void Unlisted19() override { owner.calls.Violation("KaDbStatement slot 19"); }
  void Unlisted21() override { owner.calls.Violation("KaDbStatement slot 21"); }
  void Unlisted23() override { owner.calls.Violation("KaDbStatement slot 23"); }

  ForwardingDatabase& owner;
  const KaSmartPtr<KaDbStatement> real;
  const std::string sql;
  const std::shared_ptr<int> siblings;  // how many statements of the same connection are alive
  State state = State::Idle;
};

class ForwardingDatabase::Connection final : public KaSmartImpl<KaDbConnection> {
 public:
  Connection(ForwardingDatabase& owner, KaSmartPtr<KaDbConnection> real) : owner(owner), real(std::move(real)) {
    owner.realConnection = this->real.Get();
    owner.calls.Born("connection");
  }

  bool BeginWriteTransaction(KaDbTransaction** out) override {
    return Begin("BeginWriteTransaction", &KaDbConnection::BeginWriteTransaction, out);
  }
  bool BeginTransaction(KaDbTransaction** out) override {
    return Begin("BeginTransaction", &KaDbConnection::BeginTransaction, out);
  }
  bool Prepare(const KaChar* sql, KaDbStatement** out, int32_t reserved) override {
    if (reserved != 0) owner.calls.Violation("Prepare with a reserved argument");
    const std::string text = Narrow(sql);
    const Outcome outcome = owner.Admit("Prepare", "Prepare " + text, text);
    KaSmartPtr<KaDbStatement> statement;
    if (outcome != Outcome::Forward) return outcome == Outcome::Hollow;
    if (!real->Prepare(sql, statement.Out(), reserved) || !statement) return false;
    impl::HandOut(new Statement(owner, std::move(statement), text, statements), out);
    return true;
  }
  bool Execute(const KaChar* sql) override {
    const std::string text = Narrow(sql);
    return owner.Admit("Execute", "Execute " + text, text) == Outcome::Forward && real->Execute(sql);
  }
  int64_t GetLastInsertId() override {
    owner.calls.Note("GetLastInsertId");
    return real->GetLastInsertId();
  }

 private:
  using BeginOperation = bool (KaDbConnection::*)(KaDbTransaction** out);

  ~Connection() override {
    if (*statements != 0) owner.calls.Violation("connection released before its statements");
    if (owner.realConnection == real.Get()) owner.realConnection = nullptr;
    owner.calls.Note("release connection");
    owner.calls.Gone("connection");
  }

  bool Begin(const std::string& kind, BeginOperation begin, KaDbTransaction** out) {
    const Outcome outcome = owner.calls.Admit(kind);
    KaSmartPtr<KaDbTransaction> inner;
    if (outcome != Outcome::Forward || !(real.Get()->*begin)(inner.Out()) || !inner) {
      owner.calls.Note(kind + " (refused)");
      return outcome == Outcome::Hollow;
    }
    auto* transaction = new Transaction(owner, std::move(inner));
    owner.calls.Note(kind + ' ' + transaction->Number());
    impl::HandOut(transaction, out);
    return true;
  }

  void Unlisted6() override { owner.calls.Violation("KaDbConnection slot 6"); }
  void Unlisted8() override { owner.calls.Violation("KaDbConnection slot 8"); }
  void Unlisted9() override { owner.calls.Violation("KaDbConnection slot 9"); }

  ForwardingDatabase& owner;
  const KaSmartPtr<KaDbConnection> real;
  const std::shared_ptr<int> statements = std::make_shared<int>(0);
};

bool ForwardingDatabase::OpenConnection(const KaChar* path, KaDbConnection** out) {
  const std::string file = Narrow(path);
  const std::string name = file.substr(file.find_last_of("/\\") + 1);
  if (Admit("OpenConnection", "OpenConnection " + name, name) != Outcome::Forward) return false;
  KaSmartPtr<KaDbConnection> connection;
  if (!real.OpenConnection(path, connection.Out()) || !connection) return false;
  impl::HandOut(new Connection(*this, std::move(connection)), out);
  return true;
}

// The arguments cannot be passed on as they came, so each conversion is formatted by itself.
bool ForwardingDatabase::Format(KaString** out, const char* format, ...) {
  if (calls.Admit("Format", format) != Outcome::Forward) return false;
  KaSqlFormatter* formatter = real.GetSqlFormatter();
  KaText text;
  bool formatted = true;
  va_list arguments;
  va_start(arguments, format);
  for (std::string_view rest = format; !rest.empty() && formatted;) {
    const auto [length, conversion] = NextPiece(rest);
    const std::string piece(rest.substr(0, length));
    KaSmartPtr<KaString> result;
    if (conversion == 'L') {
      formatter->Format(result.Out(), piece.c_str(), va_arg(arguments, long long));
    } else if (conversion == 'd') {
      formatter->Format(result.Out(), piece.c_str(), va_arg(arguments, int));
    } else if (conversion == 's' || conversion == 'q') {
      formatter->Format(result.Out(), piece.c_str(), va_arg(arguments, const char*));
    } else {
      if (conversion != '\0') calls.Violation("Format with an unlisted conversion: " + piece);
      formatter->Format(result.Out(), piece.c_str());
    }
    formatted = static_cast<bool>(result);
    if (formatted) text += result->GetText();
    rest.remove_prefix(length);
  }
  va_end(arguments);
  if (formatted) CountedString::HandOut(calls, std::move(text), out);
  return formatted;
}

Outcome ForwardingDatabase::Admit(const std::string& kind, const std::string& line, const std::string& sql) {
  const Outcome outcome = calls.Admit(kind, sql);
  calls.Note(outcome == Outcome::Forward ? line : line + " (refused)");
  return outcome;
}

}  // namespace karst::test
