#include <fstream>
#include <map>
#include <tuple>

#include "tests/framework/DatabaseFixture.h"

namespace karst::test {

using DatabaseTest = DatabaseFixture;

TEST_F(DatabaseTest, TextGoesInAndOutUnchangedOrNotAtAll) {
  const auto statement = Prepare("SELECT @T || hex(@T)");
  const char* cases[][2] = {
      {"", ""}, {"'", "'27"}, {"\u00E9\uFFFF", "\u00E9\uFFFFC3A9EFBFBF"}, {"\U0001F600", "\U0001F600F09F9880"}};
  for (const auto& [text, answer] : cases) {
    EXPECT_TRUE(statement->BindText(0, Wide(text).c_str(), 0) && statement->Step() == 1);
    EXPECT_EQ(TextOf(*statement), answer);
    statement->Reset();
  }
  EXPECT_FALSE(statement->BindText(0, nullptr, 0));
  for (const KaText& text : {KaText{u'a', 0xD83D}, KaText{0xD83D, u'a'}, KaText{0xDE00}, KaText{0xDE00, 0xD83D}}) {
    KaSmartPtr<KaDbStatement> prepared;
    KaSmartPtr<KaDbConnection> opened;
    ExpectRefused(statement->BindText(0, text.c_str(), 0), "unpaired surrogate, in \"SELECT @T");
    ExpectRefused(connection->Prepare((Wide("SELECT 1 --") + text).c_str(), prepared.Out(), 0), "unpaired surrogate");
    ExpectRefused(connection->Execute((Wide("SELECT 1 --") + text).c_str()), "unpaired surrogate");
    ExpectRefused(module.OpenConnection((WidePath(folder / "never") + text).c_str(), opened.Out()),
                  "unpaired surrogate");
  }
}

TEST_F(DatabaseTest, ColumnsAreReadAsWhatTheyAre) {
  // What GetInt64, GetString and GetBlob answer: "-" for false, "none" for true without a string.
  KaSmartPtr<KaDbStatement> statement;
  const auto read = [&](int32_t column) {
    int64_t integer = -1;
    uint64_t size = 77;
    KaSmartPtr<KaString> text;
    std::string answers = statement->GetInt64(column, &integer) ? std::to_string(integer) : "-";
    answers += statement->GetString(column, text.Out()) ? (text ? " " + Narrow(text->GetText()) : " none") : " -";
    std::string bytes(statement->GetBlobSize(column, &size) ? size : 0, '?');
    EXPECT_FALSE(statement->GetBlob(column, bytes.data(), size + 1));
    return answers + (statement->GetBlob(column, bytes.data(), size) ? " " + Hex(bytes.data(), size) : " -");
  };
  for (const std::string line : {"7:7 - -", "7.5:- - -", "'7':- 7 37", "'':-  ", "x'0102':- - 0102", "NULL:- none ",
                                 "CAST(x'EDA080' AS TEXT):- - EDA080", "CAST(x'610062' AS TEXT):- - 610062"}) {
    SCOPED_TRACE(line);
    statement = Prepare("SELECT " + line.substr(0, line.find(':')));
    EXPECT_EQ(read(0), "- - -") << "before the first row";
    ASSERT_EQ(statement->Step(), 1);
    EXPECT_EQ(read(0), line.substr(line.find(':') + 1));
    if (line[0] == 'C') ExpectLine("column 0 is not valid UTF-8");
    EXPECT_EQ(read(-1) + read(1), "- - -- - -") << "there is one column";
    EXPECT_TRUE(statement->Step() == 0 && statement->Step() == 0) << "it stays at the end";
    EXPECT_EQ(read(0), "- - -") << "behind the last row";
  }
}

TEST_F(DatabaseTest, StatementsRunOncePerReset) {
  ASSERT_TRUE(Run("CREATE TABLE T (v INTEGER PRIMARY KEY)"));
  const auto insert = Prepare("INSERT INTO T VALUES (@V)");
  EXPECT_TRUE(insert->BindInt64(0, 5) && insert->Execute() && connection->GetLastInsertId() == 5);
  EXPECT_EQ(insert->Step(), 0);
  ExpectRefused(insert->Execute(), "was not reset");
  ExpectRefused(insert->BindInt64(0, 6), "was not reset");
  insert->Reset();
  EXPECT_TRUE(insert->BindInt64(0, 5) && !insert->Execute());
  ExpectLine("UNIQUE constraint failed: T.v (SQLITE_CONSTRAINT, extended 1555) in \"INSERT INTO T VALUES (@V)\"");
  EXPECT_EQ(insert->Step(), -1555);
  insert->Reset();
  EXPECT_TRUE(insert->Execute()) << "nothing is bound any more: NULL takes the next id";
  EXPECT_EQ(Rows("SELECT v FROM T"), "5,6");
}

TEST_F(DatabaseTest, PrepareTakesOneStatementAndExecuteSeveral) {
  const std::string unknown = "no such table: X (SQLITE_ERROR, extended 1) in \"SELECT * FROM X\"";
  // The text, then what Prepare and Execute log; "" when they succeed.
  const std::string cases[][3] = {{"", "no statement to prepare", "no statement to run"},
                                  {"/**/;SELECT 1; ;-- end", "", ""},
                                  {"SELECT @X;SELECT 1=5", "more than one statement", ""},
                                  {"SELECT 1;rubbish", "more than one statement", "near \"rubbish\""},
                                  {"SELECT * FROM X", unknown, unknown}};
  for (const auto& [sql, prepareLog, executeLog] : cases) {
    SCOPED_TRACE(sql);
    EXPECT_EQ(static_cast<bool>(Prepare(sql)), prepareLog.empty());
    if (!prepareLog.empty()) ExpectLine(prepareLog);
    EXPECT_EQ(Run(sql), executeLog.empty());
    if (!executeLog.empty()) ExpectLine(executeLog);
  }
  EXPECT_FALSE(Run("CREATE TABLE T (v UNIQUE);INSERT INTO T VALUES (1);INSERT INTO T VALUES (1);DELETE FROM T"));
  ExpectLine("in \"INSERT INTO T VALUES (1);\"");
  EXPECT_EQ(Rows("SELECT v FROM T"), "1");
}

TEST_F(DatabaseTest, TextsThatDifferInANumberAreWhatTheySay) {
  ASSERT_TRUE(Run("CREATE TABLE T (v INTEGER PRIMARY KEY, t TEXT);INSERT INTO T VALUES (5,'5'),(7,'a=5'),(8,'05')"));
  // What follows on WHERE, and the first text.
  const char* cases[][2] = {{"v=5", "5"},        {"v=7", "a=5"},
                            {"v=08", "05"},      {"v=9223372036854775808", "-"},
                            {"v=8 --v=5", "05"}, {"t<>'?' AND v=7", "a=5"},
                            {"v==7", "a=5"}};
  for (int round = 0; round < 2; ++round) {
    for (const auto& [condition, text] : cases) {
      const auto statement = Prepare(std::string("SELECT t FROM T WHERE ") + condition);
      for (int i = 0; i < 2; statement->Reset(), ++i) {
        EXPECT_EQ(statement->Step() == 1 ? TextOf(*statement) : "-", text) << condition;
      }
      for (const int32_t index : {-1, 0}) ExpectRefused(statement->BindInt64(index, 7), "there is no parameter");
    }
  }
  std::map<std::string, KaSmartPtr<KaDbStatement>> open;
  for (int64_t v = 100; v < 300; ++v) {
    const std::string number = std::to_string(v);
    ASSERT_TRUE(Run("INSERT INTO T VALUES (" + number + ",'')"));
    ASSERT_TRUE(Run("UPDATE T SET t='" + number + "' WHERE v=" + number));
    open[number] = Prepare("SELECT t FROM T WHERE v=" + number);
  }
  for (const auto& [number, each] : open) EXPECT_TRUE(each->Step() == 1 && TextOf(*each) == number);
  ExpectRefused(Prepare("SELECT x FROM T WHERE v=5"), "extended 1) in \"SELECT x FROM T WHERE v=5\"");
  ExpectRefused(Run("SELECT abs(-9223372036854775808) FROM T WHERE v=5"), "FROM T WHERE v=5\"");
  open.clear();
  auto scope = Begin();
  EXPECT_TRUE(Run("ALTER TABLE T RENAME TO U") && Prepare("DELETE FROM U WHERE v=5")->Execute());
  ExpectRefused(Prepare("SELECT t FROM T WHERE v=7"), "no such table: T");
  scope.Reset();
  ExpectRefused(Prepare("DELETE FROM U WHERE v=5"), "no such table: U");
  EXPECT_TRUE(Run("DELETE FROM T WHERE v=5;DROP TABLE T"));
}

TEST_F(DatabaseTest, ABoundBlockIsReleasedExactlyOnce) {
  static std::map<void*, int> releases;
  const KaReleaseBlob release = [](void* data) { ++releases[data]; };
  char block[] = "bytes";
  using Case = std::tuple<int32_t, void*, int32_t, bool, const char*>;
  for (const auto& [index, data, size, answer, stored] :
       {Case{0, block, 3, true, "X'627974'"}, Case{0, block, 0, true, "X''"}, Case{0, nullptr, 0, true, "NULL"},
        Case{0, nullptr, 5, false, "NULL"}, Case{0, block, -1, false, "NULL"}, Case{1, block, 3, false, "NULL"}}) {
    SCOPED_TRACE(std::to_string(index) + " " + std::to_string(size));
    releases.clear();
    const auto statement = Prepare("SELECT quote(@B)");
    EXPECT_EQ(statement->BindBlob(index, data, size, release), answer);
    EXPECT_EQ(host.TakeLog().empty(), index == 0) << "the engine's own refusals are logged";
    EXPECT_EQ(releases[data], answer && data != nullptr ? 0 : 1) << "kept while it is bound";
    EXPECT_EQ(statement->Step(), 1);
    EXPECT_EQ(TextOf(*statement), stored);
    statement->Reset();
    EXPECT_EQ(releases[data], 1);
  }
}

TEST_F(DatabaseTest, TheFormatterMakesWideText) {
  KaSqlFormatter* formatter = module.GetSqlFormatter();
  KaSmartPtr<KaString> text;
  const char* none = nullptr;
  EXPECT_TRUE(formatter->Format(text.Out(), "%d|%lld|%s|%q|%Q|%.*s|%%|%5.1f", -1, -5000000000LL, "'\u00E9'", "it's",
                                none, 2, "abc", 0.5));
  EXPECT_EQ(Narrow(text->GetText()), "-1|-5000000000|'\u00E9'|it''s|NULL|ab|%|  0.5");
  for (size_t length = 140; length < 200; ++length) {  // short results are made in another way than long ones
    const std::string run(length, 'x');
    EXPECT_TRUE(formatter->Format(text.Out(), (run + "%lld" + "%d" + "y").c_str(), INT64_MIN, INT32_MIN));
    EXPECT_EQ(Narrow(text->GetText()), run + "-9223372036854775808-2147483648y");
  }
  KaString* untouched = text.Get();
  for (const char* refused : {"%lld%q", "%lld%n", "%lld%", "%ld"}) {
    ExpectRefused(formatter->Format(&untouched, refused, 1LL, none), refused);
  }
  ExpectRefused(formatter->Format(&untouched, "%s", "\xFF"), "not valid UTF-8");
  EXPECT_FALSE(formatter->Format(&untouched, nullptr) || formatter->Format(nullptr, "x"));
  EXPECT_EQ(untouched, text.Get());
}

TEST_F(DatabaseTest, OptionsReachTheEngine) {
  // Set on top of each other: name, value, the PRAGMA that tells of it and how what it tells begins.
  const char* options[][4] = {{"busy_timeout", "123", "busy_timeout", "123"},
                              {"cache_size", "777", "cache_size", "-777"},
                              {"synchronous", "normal", "synchronous", "2"},
                              {"synchronous", "full", "synchronous", "3"},
                              {"synchronous", "off", "synchronous", "0"},
                              {"spill", "auto", "cache_spill", "1"},
                              {"journal", "durable", "journal_mode", "'delete'"},
                              {"spill", "off", "cache_spill", "0"},
                              {"spill", "on", "cache_spill", "1"},
                              {"journal", "requested", "journal_mode", "'memory'"},
                              {"spill", "auto", "cache_spill", "0"}};
  for (const auto& [name, value, pragma, told] : options) {
    ASSERT_TRUE(module.SetOption(name, value));
    connection = Open();
    EXPECT_TRUE(Run("PRAGMA journal_mode=MEMORY"));
    EXPECT_THAT(Rows(std::string("SELECT * FROM pragma_") + pragma), ::testing::StartsWith(told)) << name;
  }
  const char* refused[][2] = {{"busy_timeout", "-1"}, {"busy_timeout", "12x"}, {"cache_size", "99999999999"},
                              {"cache_size", "0"},    {"journal", "MEMORY"},   {"journals", "durable"},
                              {"spill", nullptr},     {nullptr, "on"}};
  for (const auto& [name, value] : refused) EXPECT_FALSE(module.SetOption(name, value));
}

TEST_F(DatabaseTest, OpeningRefusesWhatItCannotRead) {
  KaSmartPtr<KaDbConnection> opened;
  EXPECT_FALSE(module.OpenConnection(nullptr, opened.Out()) || module.OpenConnection(KA_TEXT(""), opened.Out()));
  ExpectRefused(module.OpenConnection(WidePath(folder / "test.db").c_str(), nullptr) || Open("."), "not a plain file");
  for (const size_t size : {size_t{1}, size_t{511}, size_t{512}, size_t{2000}}) {
    std::ofstream(folder / "foreign.txt") << std::string(size, 'x');
    ExpectRefused(Open("foreign.txt"), size < 512 ? "too short for a database" : "SQLITE_NOTADB");
    EXPECT_EQ(ReadFile(folder / "foreign.txt"), std::string(size, 'x'));
  }
  if (std::filesystem::exists("/dev/null")) {
    EXPECT_FALSE(module.OpenConnection(KA_TEXT("/dev/null"), opened.Out()));
    ExpectLine("this is not a plain file: \"/dev/null\"");
  }
  ASSERT_TRUE(module.SetOption("busy_timeout", "0") && Run("CREATE TABLE T (v);BEGIN EXCLUSIVE"));
  ExpectRefused(Open(), "database is locked (SQLITE_BUSY, extended 5) in \"" + folder.string());
  ASSERT_TRUE(Run("INSERT INTO T VALUES (1);COMMIT") && module.SetOption("access", "readwrite"));
  ExpectRefused(Open("new.db"), "SQLITE_CANTOPEN");
  EXPECT_FALSE(std::filesystem::exists(folder / "new.db"));
}

TEST_F(DatabaseTest, AnErrorIsOneLineAndNoneWithoutAHost) {
  std::string sql = "SELECT\n";
  sql.resize(198, '1');
  EXPECT_FALSE(Prepare(sql + "\U0001F600 x"));
  ExpectLine("in \"" + sql.replace(6, 1, " ") + "\u2026\"");  // cut between two characters
  module.Detach();
  EXPECT_TRUE(!Run("rubbish") && Run("SELECT 1") && module.GetVersion() == 101);
  module.Attach(&host);
}

}  // namespace karst::test
