// Opening: connection, schema, keywords; creating, opening and deleting documents.
#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

class DomDatabaseTest : public DomFixture {
 protected:
  bool Create(const KaChar* name) { return database->CreateDocument(name, KA_TEXT("Root"), document.Out()); }
};

TEST_F(DomDatabaseTest, LaysOutANewFileAndReadsItsKeywordsLater) {
  EXPECT_FALSE(Open("no-such-folder/test.db"));
  ASSERT_TRUE(OpenNew());
  EXPECT_EQ(Stored("name,major,minor,release", "Xdb"), "'XDB',0,0,1");
  Close();
  calls.Take();
  ASSERT_TRUE(Open());
  EXPECT_EQ(calls.Take().find("BEGIN"), std::string::npos);

  calls.Fail({.kind = "GetString"});
  EXPECT_FALSE(Open());
  ExpectLog("3 Error occurred in reading 'Keywords' table.");
  EXPECT_EQ(calls.Alive("connection"), 0);
  calls.ClearFaults();
  calls.Fail({.kind = "Prepare", .text = "FROM Keywords", .nth = 1});
  EXPECT_TRUE(Reopen());
  calls.Take();
  EXPECT_TRUE(TreeOf(document.Get()) == "Root" && CountOf("Keywords", calls.Take()) == 0) << "the second try read them";
  calls.Fail({.kind = "Prepare", .text = "FROM Keywords"});
  EXPECT_TRUE(Reopen()) << "a file whose names cannot be queried opens without them";
  calls.Fail({.kind = "Prepare", .text = "sqlite_master", .nth = 2});
  EXPECT_FALSE(Open()) << "a file that cannot be read does not";
}

TEST_F(DomDatabaseTest, JudgesAFileByItsXdbTableAlone) {
  RunSql("CREATE TABLE Xdb (name TEXT); INSERT INTO Xdb VALUES ('other')");
  ASSERT_TRUE(Open());
  EXPECT_EQ(Stored("name", "Xdb"), "'other'");
  ASSERT_TRUE(Open("half.db"));
  RunSql(
      "DROP TABLE Xdb; INSERT INTO Documents (name) VALUES ('old'); INSERT INTO Keywords (name) VALUES ('old');"
      "CREATE TABLE Nodes (x); CREATE TABLE Nodes_3 (x); INSERT INTO Nodes_3 VALUES (5)");
  ASSERT_TRUE(Open("half.db"));
  EXPECT_EQ(Stored("name", "Xdb UNION SELECT name FROM Keywords UNION SELECT name FROM Documents"), "'XDB'");
  EXPECT_EQ(Stored("x", "Nodes_3"), "5");
  EXPECT_EQ(Stored("name", "sqlite_master WHERE name='Nodes'"), "");
}

TEST_F(DomDatabaseTest, CreatesInOneWriteTransaction) {
  ASSERT_TRUE(Open() && Create(KA_TEXT("Tom's")));
  EXPECT_EQ(document->GetId(), 1);
  EXPECT_EQ(Stored("id,name,size,timestamp", "Documents"), "1,'Tom''s',-1,-1");
  EXPECT_EQ(Stored("id,parent_id,name_id,data", "Nodes_1"), "1,0,1,NULL");

  KaSmartPtr<KaDomDocument> same;
  calls.Take();
  EXPECT_TRUE(database->CreateDocument(KA_TEXT("Tom's"), KA_TEXT("Other"), same.Out()));
  EXPECT_EQ(CountOf("Execute", calls.Take()), 0);
  EXPECT_NE(same.Get(), document.Get());
  EXPECT_EQ(TreeOf(same.Get()), "Root");
}

// Somebody else lays out the file and stores a document, at each step between the first look and the schema script.
TEST_F(DomDatabaseTest, NeverDropsWhatAnotherOpenerHasMade) {
  for (const auto& [step, opens] :
       {std::pair{"PRAGMA", true}, std::pair{"sqlite_master", true}, std::pair{"BEGIN", false}}) {
    SCOPED_TRACE(step);
    const std::string name = step + std::string(".db");
    KaSmartPtr<KaDomDatabase> theirs;
    calls.Before({.kind = *step == 's' ? "Prepare" : "Execute", .text = step}, [&] {
      ASSERT_TRUE(DomModule().OpenDatabase(WidePath(Path(name)).c_str(), theirs.Out()));
      ASSERT_TRUE(theirs->CreateDocument(KA_TEXT("Doc"), KA_TEXT("Root"), nullptr));
    });
    EXPECT_EQ(Open(name), opens);
    ExpectLog(opens ? "" : "3 Failed to initialize XML database.");
    theirs.Reset();
    ASSERT_TRUE(Open(name) && database->OpenDocument(KA_TEXT("Doc"), document.Out())) << "the next try finds it";
    EXPECT_EQ(TreeOf(document.Get()), "Root");
  }
}

TEST_F(DomDatabaseTest, FindsNamesExactly) {
  ASSERT_TRUE(Open());
  const KaChar* const names[] = {KA_TEXT("a"), KA_TEXT(""), KA_TEXT("100%s \u00e9 \"x\"")};
  for (const KaChar* name : names) EXPECT_TRUE(database->CreateDocument(name, KA_TEXT("Root"), nullptr));
  EXPECT_EQ(Stored("id,name", "Documents ORDER BY id"), "1,'a';2,'';3,'100%s \u00e9 \"x\"'");
  for (const KaChar* name : names) EXPECT_TRUE(database->OpenDocument(name, nullptr));
  for (const KaChar* name : {KA_TEXT("A"), KA_TEXT("a "), KA_TEXT("%")}) {
    EXPECT_FALSE(database->OpenDocument(name, nullptr) || database->OpenDocument(name, document.Out()));
  }
}

TEST_F(DomDatabaseTest, DeletesInOneWriteTransaction) {
  ASSERT_TRUE(Open() && Create(KA_TEXT("Tom's")) && document->CreateIndexes());
  EXPECT_TRUE(database->DeleteDocument(KA_TEXT("Tom's")));
  EXPECT_EQ(Stored("name", "sqlite_master WHERE tbl_name LIKE 'Nodes%'"), "");
  EXPECT_EQ(TreeOf(document.Get()), "#Error");
  ExpectLog("3 Record not found: ElemID=1.");

  calls.Take();
  EXPECT_TRUE(database->DeleteDocument(KA_TEXT("Tom's"))) << "nothing to delete";
  EXPECT_EQ(calls.Take().find("Commit"), std::string::npos);
  ASSERT_TRUE(Create(KA_TEXT("Tom's")));
  EXPECT_EQ(document->GetId(), 2) << "ids are not given out again";
}

TEST_F(DomDatabaseTest, SomeFailuresDoNotStopIt) {
  ASSERT_TRUE(Open());
  calls.Fail({.kind = "Execute", .text = "INTO Keywords"});
  EXPECT_TRUE(Create(KA_TEXT("Nameless")));
  ExpectLog("3 Failed to insert a keyword.");
  calls.ClearFaults();
  KaSmartPtr<KaDomDocumentEditor> editor;
  int64_t id = 0;
  ASSERT_TRUE(document->OpenEditor(editor.Out()) && editor->CreateElement(KA_TEXT("Root"), &id));
  editor.Reset();
  calls.Fail({.kind = "Execute", .text = "INTO Keywords"});
  EXPECT_TRUE(Create(KA_TEXT("Known"))) << "the name is known, and its row is gone";
  ExpectLog("3 Failed to insert a keyword.");
  EXPECT_EQ(Stored("name_id", "Nodes_1 UNION ALL SELECT name_id FROM Nodes_2"), "0;0");
  calls.ClearFaults();
  calls.Fail({.kind = "Commit"});
  EXPECT_TRUE(Create(KA_TEXT("Lost")) && document) << "a failing commit does not change the answer";
  calls.Fail({.kind = "Prepare", .text = "FROM Documents", .nth = 1});
  EXPECT_FALSE(Create(KA_TEXT("Nameless"))) << "the first look failed, the second finds it";
  ExpectLog("3 Document name \"Nameless\" is already taken.");
  calls.ClearFaults();
  calls.Fail({.kind = "Execute", .text = "DELETE FROM Documents"});
  EXPECT_TRUE(database->DeleteDocument(KA_TEXT("Nameless")));
  EXPECT_EQ(Stored("name", "Documents WHERE id=1 UNION SELECT name FROM sqlite_master WHERE name='Nodes_1'"),
            "'Nameless'");
}

}  // namespace
}  // namespace karst::test
