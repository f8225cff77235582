#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <thread>
#include <vector>

#include "tests/framework/DatabaseFixture.h"
#include "tests/support/ScopeModel.h"

namespace karst::test {

namespace {

struct Event {
  char what;  // 'B'egin, 'W'rite, 'C'ommit, 'R'elease
  size_t scope;
  bool operator==(const Event&) const = default;
};

// A play of events, as the rules foretell it. The state is a bit for each row of the table.
class Prediction : public ScopeModel<int64_t> {
 public:
  // Begins in turn; everything else while the scope, or any scope, is held.
  bool Allows(Event event) const {
    if (event.what == 'B') return event.scope == Count();
    if (event.what != 'W') return event.scope < Count() && IsHeld(event.scope);
    for (size_t scope = 0; scope < Count(); ++scope) {
      if (IsHeld(scope)) return true;
    }
    return false;
  }

  // Plays an event and foretells the answer.
  bool Apply(Event event) {
    if (event.what == 'B') return Begin().has_value();
    if (event.what == 'C') return Commit(event.scope);
    if (event.what == 'R') return Abandon(event.scope), true;
    const bool answer = Write();
    state |= int64_t{answer} << rows++;
    return answer;
  }

 private:
  int rows = 0;
};

// Of what there may be in an order of events; commits for each scope.
struct Limits {
  std::ptrdiff_t scopes;
  std::ptrdiff_t writes;
  std::ptrdiff_t commits;
  int orders;  // that this makes
};

// Visits every order of events that begins all scopes and ends with none held.
void ForEveryOrder(const Prediction& model, Limits limits, std::vector<Event>& events,
                   const std::function<void()>& visit) {
  bool isOver = true;
  for (const char what : {'B', 'W', 'C', 'R'}) {
    const std::ptrdiff_t limit = what == 'W' ? limits.writes : what == 'C' ? limits.commits : 1;
    const auto scopes = static_cast<size_t>(what == 'W' ? 1 : limits.scopes);
    for (size_t scope = 0; scope < scopes; ++scope) {
      const Event event = {what, scope};
      if (!model.Allows(event)) continue;
      isOver = false;
      if (std::count(events.begin(), events.end(), event) == limit) continue;
      Prediction next = model;
      next.Apply(event);
      events.push_back(event);
      ForEveryOrder(next, limits, events, visit);
      events.pop_back();
    }
  }
  if (isOver) visit();
}

}  // namespace

// In both ways of locking.
class DatabaseScopesTest : public DatabaseFixture, public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(module.SetOption("locking", GetParam()) && module.SetOption("synchronous", "off"));
    ASSERT_TRUE(module.SetOption("busy_timeout", "0") && module.SetOption("journal", "requested"));
    connection = Open();
    ASSERT_TRUE(Run("PRAGMA journal_mode=MEMORY;CREATE TABLE T (v INTEGER UNIQUE)"));
  }

  // Plays an order on the module and on the model, and compares after each event what was answered and logged and what
  // the table holds; at the end also what another connection finds there.
  void Play(const std::vector<Event>& events, KaDbStatement& insert, KaDbStatement& sum) {
    Prediction model;
    std::vector<KaSmartPtr<KaDbTransaction>> held;
    std::string played;
    int64_t rows = 0;
    ASSERT_TRUE(Run("DELETE FROM T"));
    for (const auto [what, scope] : events) {
      played += what + std::to_string(scope) + ' ';
      bool answer = true;
      if (what == 'B') answer = static_cast<bool>(held.emplace_back(Begin(scope == 1)));
      if (what == 'W') answer = insert.BindInt64(0, rows++) && insert.Execute();
      if (what == 'C') answer = held[scope]->Commit();
      if (what == 'R') held[scope].Reset();
      insert.Reset();
      ASSERT_EQ(answer, model.Apply({what, scope})) << played;
      ASSERT_EQ(host.TakeLog().empty(), answer) << played;
      ASSERT_EQ(ReadInt(sum), model.state) << played;
    }
    const auto ours = std::exchange(connection, Open());
    ASSERT_EQ(ReadInt(*Prepare("SELECT ifnull(sum(1 << v), 0) FROM T")), model.state) << played;
    connection = ours;
  }

  static int64_t ReadInt(KaDbStatement& statement) {
    int64_t number = -1;
    EXPECT_TRUE(statement.Step() == 1 && statement.GetInt64(0, &number));
    statement.Reset();
    return number;
  }
};

// Wine keeps a closed file open as long as anybody holds a lock on it, so that few can be opened there; the thread
// sanitizer has nothing to find in one thread.
#if defined(_WIN32) || defined(__SANITIZE_THREAD__)
constexpr int kMostOrders = 2000;
#else
constexpr int kMostOrders = 100000;
#endif

TEST_P(DatabaseScopesTest, EveryOrderKeepsTheRules) {
  const auto insert = Prepare("INSERT INTO T VALUES (@V)");
  const auto sum = Prepare("SELECT ifnull(sum(1 << v), 0) FROM T");
  for (const Limits& limits : {Limits{2, 4, 2, 1103}, Limits{3, 3, 1, 10146}, Limits{4, 1, 1, 18139}}) {
    if (limits.orders > kMostOrders) continue;
    int orders = 0;
    std::vector<Event> events;
    ForEveryOrder({}, limits, events, [&] {
      ++orders;
      if (!HasFatalFailure()) Play(events, *insert, *sum);
    });
    EXPECT_EQ(orders, limits.orders);
  }
}

TEST_P(DatabaseScopesTest, AfterARollbackOfTheEngineNothingIsWrittenUntilAllLetGo) {
  for (const char* fatal : {"INSERT OR ROLLBACK INTO T VALUES (1)", "INSERT INTO T VALUES (zeroblob(1000000))"}) {
    SCOPED_TRACE(fatal);
    ASSERT_TRUE(Run("DELETE FROM T;INSERT INTO T VALUES (1);PRAGMA max_page_count=20"));
    auto outer = Begin();
    ASSERT_TRUE(Run("INSERT INTO T VALUES (2)"));
    auto inner = Begin();
    EXPECT_FALSE(Run("INSERT INTO T VALUES (3)") && Run(fatal));
    EXPECT_THAT(host.TakeLog(), ::testing::HasSubstr("; 3 KaDatabase: the engine rolled the transaction back"));
    for (auto* scope : {&inner, &outer}) {
      ExpectRefused((*scope)->Commit(), "cannot be committed");
      ExpectRefused(Run("INSERT INTO T VALUES (4)"), "nothing is written");
      ExpectRefused(Begin(), "no transaction begins");
      EXPECT_EQ(Rows("SELECT v FROM T"), "1") << "reading goes on";
      scope->Reset();
    }
    outer = Begin();
    EXPECT_TRUE(Run("INSERT INTO T VALUES (5)") && outer->Commit());
    EXPECT_EQ(Rows("SELECT v FROM T"), "1,5");
  }
}

TEST_P(DatabaseScopesTest, TransactionsInSqlNeedThatNoScopeIsHeld) {
  ExpectRefused(Run("BEGIN EXCLUSIVE;INSERT INTO T VALUES (1);INSERT INTO T VALUES (1);COMMIT"), "UNIQUE");
  ExpectRefused(Begin(), "within a transaction");
  EXPECT_EQ(Rows("SELECT v FROM T"), "1") << "nothing is rolled back for it";
  EXPECT_TRUE(Run("ROLLBACK;BEGIN;INSERT INTO T VALUES (2);COMMIT"));
  const auto scope = Begin();
  for (const char* sql : {"COMMIT", "ROLLBACK", "SAVEPOINT x", "BEGIN IMMEDIATE"}) {
    ExpectRefused(Run(sql), "cannot begin or end transactions");
  }
  EXPECT_TRUE(Run("INSERT INTO T VALUES (3)") && scope->Commit());
  EXPECT_EQ(Rows("SELECT v FROM T"), "2,3");
}

TEST_P(DatabaseScopesTest, WhoBeginsWaitsForItsTurn) {
  ASSERT_TRUE(module.SetOption("busy_timeout", "20000"));
  const auto theirs = Open();
  for (const bool inScope : {true, false}) {
    EXPECT_EQ(Rows("SELECT count(*) FROM T"), inScope ? "0" : "2") << "the lock is held from here on, if it is";
    auto first = Begin();
    ASSERT_TRUE(Run("INSERT INTO T SELECT count(*) FROM T"));
    auto second = std::async(std::launch::async, [&] {
      KaSmartPtr<KaDbTransaction> scope;
      return (!inScope || theirs->BeginTransaction(scope.Out())) &&
             theirs->Execute(KA_TEXT("INSERT INTO T SELECT count(*) FROM T")) && (!scope || scope->Commit());
    });
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout) << "it waits";
    EXPECT_TRUE(first->Commit());
    first.Reset();
    EXPECT_TRUE(second.get());
  }
  EXPECT_EQ(Rows("SELECT v FROM T"), "0,1,2,3");
}

// Two openers that both find no tables: what the first has made is not dropped by the second.
TEST_P(DatabaseScopesTest, SqlBeginsNoTransactionOnWhatOthersHaveChanged) {
  const auto theirs = Open();
  for (const char* begin : {"BEGIN EXCLUSIVE TRANSACTION", "BEGIN", "SAVEPOINT s"}) {
    SCOPED_TRACE(begin);
    const std::string found = Rows("SELECT v FROM T");
    ASSERT_TRUE(theirs->Execute(KA_TEXT("INSERT INTO T SELECT count(*) FROM T")));
    ExpectRefused(Run(begin + std::string(";DELETE FROM T")), "another connection has changed the file");
    EXPECT_NE(Rows("SELECT v FROM T"), found) << "and nothing was run";
    EXPECT_TRUE(Run(begin + std::string(";INSERT INTO T SELECT 10 + count(*) FROM T;COMMIT"))) << "now it is known";
    const auto statement = Prepare(begin);
    ASSERT_TRUE(theirs->Execute(KA_TEXT("INSERT INTO T SELECT count(*) FROM T")));
    ExpectRefused(statement->Execute(), "another connection has changed the file");
  }
  const auto ours = std::exchange(connection, Open());
  EXPECT_TRUE(Begin()) << "nothing stays locked";
}

TEST_P(DatabaseScopesTest, NoTransactionBeginsOverAChangeThatHasNotEnded) {
  const auto insert = Prepare("INSERT INTO T VALUES (1) RETURNING v");
  EXPECT_EQ(insert->Step(), 1);
  ExpectRefused(Begin(), "a statement that writes stands on a row");
  EXPECT_EQ(insert->Step(), 0);
  EXPECT_TRUE(Begin());
  EXPECT_EQ(Rows("SELECT v FROM T"), "1");
}

TEST_P(DatabaseScopesTest, AnAttachedFileIsNotLockedByAnIdleConnection) {
  ASSERT_TRUE(Run("ATTACH '" + Narrow(WidePath(folder / "other.db").c_str()) + "' AS other;CREATE TABLE other.U (v)"));
  EXPECT_EQ(Rows("SELECT 1 WHERE 2 NOT IN (SELECT v FROM T UNION SELECT v FROM U)"), "1");
  const auto ours = std::exchange(connection, Open("other.db"));
  EXPECT_TRUE(Run("INSERT INTO U VALUES (1)"));
  EXPECT_TRUE(Begin()->Commit());
}

TEST_P(DatabaseScopesTest, AnotherConnectionCanDelayACommit) {
  auto scope = Begin();
  auto later = Begin();
  const auto ours = std::exchange(connection, Open());
  ExpectRefused(Begin(), "SQLITE_BUSY");
  EXPECT_TRUE(scope->Commit());
  ExpectRefused(Begin(), "SQLITE_BUSY");  // the turn is the later scope's

  const auto reader = Prepare("SELECT v FROM T UNION ALL SELECT 1 UNION ALL SELECT 2");
  EXPECT_EQ(reader->Step(), 1);
  connection = ours;
  EXPECT_TRUE(Run("INSERT INTO T VALUES (7)") && !later->Commit());
  ExpectLine("SQLITE_BUSY");
  reader->Reset();
  EXPECT_TRUE(later->Commit());
  EXPECT_EQ(Rows("SELECT v FROM T"), "7");
}

TEST_P(DatabaseScopesTest, ATransactionThatMisreadCannotBeCommitted) {
  auto outer = Begin();
  ASSERT_TRUE(Run("INSERT INTO T VALUES (1)"));
  auto inner = Begin();
  const auto select = Prepare("SELECT v FROM T UNION ALL SELECT abs(-9223372036854775808)");
  EXPECT_TRUE(Run("INSERT INTO T VALUES (2)") && select->Step() == 1 && select->Step() == 1 && select->Step() < 0);
  EXPECT_LT(select->Step(), 0) << "it stays at the error";
  ExpectLine("integer overflow");
  ExpectRefused(inner->Commit(), "a statement that reads failed on its way");
  inner.Reset();
  EXPECT_TRUE(outer->Commit());
  EXPECT_EQ(Rows("SELECT v FROM T"), "1");
  outer = Begin();
  ASSERT_TRUE(Run("INSERT INTO T VALUES (-9223372036854775808)"));
  EXPECT_LT(Prepare("SELECT sum(abs(v)) FROM T")->Step(), 0) << "it reads rows before its first";
  ExpectLine("integer overflow");
  ExpectRefused(outer->Commit(), "a statement that reads failed on its way");
  outer.Reset();
  outer = Begin();
  const auto gone = Prepare("SELECT v FROM T");
  EXPECT_TRUE(Run("DROP TABLE T") && gone->Step() < 0);
  ExpectLine("no such table");
  EXPECT_TRUE(outer->Commit()) << "what could not start has read nothing";
}

TEST_P(DatabaseScopesTest, ConnectionsOfOneProcessOnlyWaitForEachOthersWork) {
  ASSERT_TRUE(module.SetOption("busy_timeout", "20000"));
  const auto work = [&](int64_t first) {
    for (int64_t v = first; v < first + 40; ++v) {
      const auto mine = Open();
      KaSmartPtr<KaDbTransaction> scope;
      KaSmartPtr<KaDbStatement> insert, count;
      EXPECT_TRUE(v % 3 != 1 || mine->BeginWriteTransaction(scope.Out()));
      EXPECT_TRUE(v % 3 != 2 || mine->BeginTransaction(scope.Out()));
      EXPECT_TRUE(mine->Prepare(KA_TEXT("INSERT INTO T VALUES (@V)"), insert.Out(), 0) && insert->BindInt64(0, v));
      EXPECT_TRUE(insert->Execute() && (!scope || scope->Commit()));
      EXPECT_TRUE(mine->Prepare(KA_TEXT("SELECT count(*) FROM T"), count.Out(), 0) && ReadInt(*count) > v - first);
    }
  };
  for (const int64_t first : {0, 1000}) {
    EXPECT_EQ(Rows("SELECT count(*) FROM T"), first == 0 ? "0" : "80") << "idle from here on";
    std::thread other(work, first + 500);
    work(first);
    other.join();
  }
}

// For the thread sanitizer, with the engine compiled in.
TEST_P(DatabaseScopesTest, NobodyReachesForAConnectionThatIsClosed) {
  ASSERT_TRUE(module.SetOption("busy_timeout", "20000"));
  std::atomic<bool> isDone = false;
  std::thread writer([&, theirs = Open()] {
    while (!isDone) EXPECT_TRUE(theirs->Execute(KA_TEXT("INSERT INTO T VALUES (NULL)")));
  });
  for (int round = 0; round < 400; ++round) {
    connection = Open();
    for (const char* kept : {"1", "2", "3", "4"})
      EXPECT_TRUE(Run(std::string("SELECT v+") + kept + " FROM T WHERE v=1"));
  }
  isDone = true;
  writer.join();
}

TEST_P(DatabaseScopesTest, AnotherProcessReadsAndWritesOnlyWhereNothingIsHeld) {
  const auto home = std::filesystem::current_path();
  static const auto program = std::filesystem::absolute(::testing::internal::GetArgvs()[0]).string();
  const auto command = program + " --gtest_also_run_disabled_tests --gtest_filter=OtherProcess.* > output";
  const auto other = [&] { return std::system(command.c_str()) == 0 ? ReadFile("answer") : "no answer"; };
  const std::string answer = GetParam() == std::string("shared") ? "reads writes" : "reads";
  std::filesystem::current_path(folder);
  for (const char* end : {"none", "commit", "abandon"}) {
    auto scope = *end == 'n' ? KaSmartPtr<KaDbTransaction>() : Begin(true);
    EXPECT_TRUE(Run("SELECT v FROM T") && (!scope || Run("DELETE FROM T")) && (*end != 'c' || scope->Commit()));
    scope.Reset();
    EXPECT_EQ(other(), answer) << end;
  }
  auto scope = Begin();
  ASSERT_TRUE(Run("INSERT INTO T VALUES (2)"));
  std::ofstream("patience") << "20000";
  auto waiting = std::async(std::launch::async, other);
  EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout) << "it waits for its turn";
  EXPECT_TRUE(scope->Commit());
  scope.Reset();
  connection.Reset();
  EXPECT_EQ(waiting.get(), "reads writes");
  std::filesystem::remove("patience");
  connection = Open();

  EXPECT_TRUE(Run("PRAGMA journal_mode=WAL;SELECT v FROM T"));
  EXPECT_EQ(other(), "reads writes") << "readers do not matter to it";
  EXPECT_EQ(Rows("SELECT count(*) FROM T"), answer == "reads" ? "3" : "5");
  std::filesystem::current_path(home);
}

// What the other process does, in the folder in which it is started.
TEST(OtherProcess, DISABLED_ReadsAndWrites) {
  KaSmartPtr<KaDbConnection> opened;
  const std::string patience = ReadFile("patience");
  ASSERT_TRUE(DatabaseModule().SetOption("busy_timeout", patience.empty() ? "0" : patience.c_str()));
  ASSERT_TRUE(DatabaseModule().OpenConnection(KA_TEXT("test.db"), opened.Out()));
  std::ofstream answer("answer");
  if (opened->Execute(KA_TEXT("SELECT v FROM T"))) answer << "reads";
  if (opened->Execute(KA_TEXT("INSERT INTO T VALUES (NULL)"))) answer << " writes";
}

INSTANTIATE_TEST_SUITE_P(Locking, DatabaseScopesTest, ::testing::Values("held", "shared"),
                         [](const auto& locking) { return std::string(locking.param); });

}  // namespace karst::test
