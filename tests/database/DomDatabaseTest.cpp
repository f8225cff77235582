// Opening: connection, schema, keywords.
#include "tests/support/DomFixture.h"

namespace karst::test {
namespace {

const std::string kProbe = "SELECT name FROM sqlite_master WHERE type='table' AND name='Xdb' LIMIT 1";
const std::string kConnect =
    "OpenConnection test.db; Execute PRAGMA journal_mode=MEMORY; Execute PRAGMA journal_size_limit=-1; Prepare " +
    kProbe;
const std::string kKeywords = "SELECT name FROM Keywords ORDER BY id";
const std::string kSchema =
    "BEGIN EXCLUSIVE TRANSACTION;DROP TABLE IF EXISTS XDB;DROP TABLE IF EXISTS Keywords;DROP TABLE IF EXISTS "
    "Nodes;DROP TABLE IF EXISTS Documents;CREATE TABLE Xdb (name TEXT,major INTEGER,minor INTEGER,release "
    "INTEGER);INSERT INTO Xdb (name,major,minor,release) VALUES ('XDB',0,0,1);CREATE TABLE Keywords (id INTEGER "
    "PRIMARY KEY,name TEXT);CREATE TABLE Documents (id INTEGER PRIMARY KEY AUTOINCREMENT,name TEXT,size "
    "INTEGER,timestamp DATETIME);CREATE INDEX IF NOT EXISTS IdxKeywords ON Keywords (id);COMMIT";

using DomDatabaseTest = DomFixture;

TEST_F(DomDatabaseTest, LaysOutANewFileAndReadsItsKeywordsLater) {
  EXPECT_FALSE(Open("no-such-folder/test.db"));
  calls.Take();
  ASSERT_TRUE(Open());
  ExpectCalls(kConnect + "; Step 0; Execute " + kSchema + "; release statement " + kProbe);
  EXPECT_EQ(Stored("name,major,minor,release", "Xdb"), "'XDB',0,0,1");
  ASSERT_TRUE(OpenNew());
  Close();
  calls.Take();
  ASSERT_TRUE(Open());
  ExpectCalls(kConnect + "; Step 1; release statement " + kProbe + "; Prepare " + kKeywords +
              "; Step 1; GetString 0; Step 0; release statement " + kKeywords);

  calls.Fail({.kind = "GetString"});
  EXPECT_FALSE(Open());
  ExpectLog("3 Error occurred in reading 'Keywords' table.");
  EXPECT_EQ(calls.Alive("connection"), 0);
  calls.ClearFaults();
  calls.Fail({.kind = "Prepare", .text = "Keywords"});
  EXPECT_TRUE(Open());
}

TEST_F(DomDatabaseTest, JudgesAFileByItsXdbTableAlone) {
  RunSql("CREATE TABLE Xdb (name TEXT); INSERT INTO Xdb VALUES ('other')");
  ASSERT_TRUE(Open());
  EXPECT_EQ(Stored("name", "Xdb"), "'other'");
  RunSql("DELETE FROM Xdb");
  ASSERT_TRUE(Open());
  EXPECT_EQ(Stored("name", "Xdb"), "");

  ASSERT_TRUE(Open("half.db"));
  RunSql(
      "DROP TABLE Xdb; INSERT INTO Documents (name) VALUES ('old'); INSERT INTO Keywords (name) VALUES ('old');"
      "CREATE TABLE Nodes (x); CREATE TABLE Nodes_3 (x); INSERT INTO Nodes_3 VALUES (5)");
  ASSERT_TRUE(Open("half.db"));
  EXPECT_EQ(Stored("name", "Xdb UNION SELECT name FROM Keywords UNION SELECT name FROM Documents"), "'XDB'");
  EXPECT_EQ(Stored("x", "Nodes_3"), "5");
  EXPECT_EQ(Stored("name", "sqlite_master WHERE name='Nodes'"), "");
}

}  // namespace
}  // namespace karst::test
