// The fixture of the tests that use the loaded module KaDatabase.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/DomWorld.h"

namespace karst::test {

// A folder of its own, the module attached to a recording host, and one connection to a new file. Every message must
// have been expected, and options are back at their defaults afterwards.
class DatabaseFixture : public ::testing::Test {
 protected:
  DatabaseFixture() {
    module.Attach(&host);
    connection = Open();
  }

  ~DatabaseFixture() override {
    connection.Reset();
    EXPECT_EQ(host.TakeLog(), "") << "messages that nobody expected";
    const char* defaults[][2] = {{"access", "create"},     {"journal", "durable"},    {"synchronous", "full"},
                                 {"spill", "auto"},        {"cache_size", "65536"},   {"locking", "held"},
                                 {"busy_timeout", "5000"}, {"write_lock", "reserved"}};
    for (const auto& [name, value] : defaults) EXPECT_TRUE(module.SetOption(name, value));
    module.Detach();
  }

  KaSmartPtr<KaDbConnection> Open(const std::string& name = "test.db") {
    KaSmartPtr<KaDbConnection> opened;
    const bool answer = module.OpenConnection(WidePath(folder / name).c_str(), opened.Out());
    EXPECT_EQ(answer, static_cast<bool>(opened));
    return opened;
  }

  bool Run(const std::string& sql) { return connection->Execute(Wide(sql).c_str()); }

  KaSmartPtr<KaDbStatement> Prepare(const std::string& sql) {
    KaSmartPtr<KaDbStatement> statement;
    const bool answer = connection->Prepare(Wide(sql).c_str(), statement.Out(), 0);
    EXPECT_EQ(answer, static_cast<bool>(statement));
    return statement;
  }

  KaSmartPtr<KaDbTransaction> Begin(bool toWrite = false) {
    KaSmartPtr<KaDbTransaction> transaction;
    const bool answer = toWrite ? connection->BeginWriteTransaction(transaction.Out())
                                : connection->BeginTransaction(transaction.Out());
    EXPECT_EQ(answer, static_cast<bool>(transaction));
    return transaction;
  }

  // The first column as SQL literals, separated by ",".
  std::string Rows(const std::string& select) {
    const auto statement =
        Prepare("SELECT group_concat(quote(v)) FROM (SELECT 1 AS v WHERE 0 UNION ALL " + select + ")");
    return statement && statement->Step() == 1 ? TextOf(*statement) : "<refused>";
  }

  // Column 0 of the current row; "-" when there is no text.
  static std::string TextOf(KaDbStatement& statement) {
    KaSmartPtr<KaString> text;
    return statement.GetString(0, text.Out()) && text ? Narrow(text->GetText()) : "-";
  }

  // One line must have been logged since the last look, and `part` must be in it.
  void ExpectLine(const std::string& part) {
    using namespace ::testing;
    EXPECT_THAT(host.TakeLog(),
                AllOf(StartsWith("3 KaDatabase: "), HasSubstr(part), Not(HasSubstr("; 3 ")), Not(HasSubstr("\n"))));
  }
  template <class Answer>
  void ExpectRefused(const Answer& answer, const std::string& part) {
    EXPECT_FALSE(answer) << part;
    ExpectLine(part);
  }

  const TempFolder home;
  const std::filesystem::path& folder = home.path;
  CallLog calls;
  RecordingHost host{calls};
  KaDatabase& module = DatabaseModule();
  KaSmartPtr<KaDbConnection> connection;
};

}  // namespace karst::test
