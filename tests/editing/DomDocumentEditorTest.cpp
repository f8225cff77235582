#include "tests/editing/EditingFixture.h"

namespace karst::test {
namespace {

const std::string kInsertSql = "INSERT INTO Nodes_1 (parent_id,name_id) VALUES (-1,@NAME)";
const std::string kDeleteChildSql = "DELETE FROM Nodes_1 WHERE parent_id=@PARENT AND id=@CHILD";
const std::string kSetParentSql = "UPDATE Nodes_1 SET parent_id=@PARENT WHERE id=@CHILD";
const std::string kSetDataSql = "UPDATE Nodes_1 SET data=@BLOB WHERE id=@ELEM";
const std::string kSelectDataSql = "SELECT data FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
const std::string kRelease = "release statement ";
const std::string kAndRelease = "; release statement ";

class DomDocumentEditorTest : public EditingFixture {
 protected:
  // Runs an operation on each of the five shared statements.
  void UseAllStatements() {
    OpenElement();
    const int64_t id = CreateElement();
    EXPECT_TRUE(element->AppendChild(id) && element->DeleteChild(id) && element->RemoveAttribute(KA_TEXT("a")));
    EXPECT_TRUE(element->Commit());
    element.Reset();
    calls.Take();
  }
};

TEST_F(DomDocumentEditorTest, CreatesElementsInNoTree) {
  EXPECT_EQ(CreateElement(), 6);
  ExpectCalls("Prepare " + kInsertSql + "; BindInt64 0 2; Execute; GetLastInsertId; Reset");
  EXPECT_EQ(CreateElement(), 7);
  EXPECT_EQ(Table("id,parent_id,name_id,data", "Nodes_1 WHERE id>5"), "6,-1,2,NULL;7,-1,2,NULL");
  EXPECT_EQ(Tree(), "Root(a(b(c)),d)");
}

TEST_F(DomDocumentEditorTest, DeletesTheOneRow) {
  EXPECT_TRUE(editor->DeleteElement(2));
  ExpectCalls("Execute DELETE FROM Nodes_1 WHERE id=2");
  EXPECT_TRUE(editor->DeleteElement(99)) << "no such element";
  EXPECT_EQ(Table("id,parent_id", "Nodes_1"), "1,0;3,2;4,3;5,1");
  EXPECT_TRUE(editor->DeleteElement(1)) << "even the root";
}

TEST_F(DomDocumentEditorTest, OpensElementEditorsInScopesOfTheirOwn) {
  calls.Fail({.kind = "BeginTransaction", .outcome = Outcome::Hollow});
  KaSmartPtr<KaDomDocumentEditor> another;
  EXPECT_FALSE(document->OpenEditor(another.Out()));
  EXPECT_FALSE(editor->OpenElementEditor(1, element.Out()));
  EXPECT_FALSE(another || element);
  ExpectLog("3 Failed to obtain DOM database transaction.; 3 Failed to obtain DOM database transaction.");
  calls.ClearFaults();
  calls.Take();
  ASSERT_TRUE(editor->OpenElementEditor(99, element.Out())) << "the id is not looked up";
  ExpectCalls("BeginTransaction 2");
}

TEST_F(DomDocumentEditorTest, CommitReleasesTheStatementsAndThenCommits) {
  UseAllStatements();
  EXPECT_TRUE(editor->Commit());
  ExpectCalls(kRelease + kInsertSql + kAndRelease + kDeleteChildSql + kAndRelease + kSetParentSql + kAndRelease +
              kSetDataSql + kAndRelease + kSelectDataSql + "; Commit 1; release transaction 1");
  EXPECT_FALSE(editor->Commit());
  ExpectCalls("");
  EXPECT_EQ(CreateElement(), 7);
  ExpectCalls("Prepare " + kInsertSql + "; BindInt64 0 2; Execute; GetLastInsertId; Reset");
  EXPECT_EQ(Stored("id", "Nodes_1 WHERE id>5"), "7") << "durable at once";
}

TEST_F(DomDocumentEditorTest, ReleaseAbandons) {
  UseAllStatements();
  CreateElement();
  calls.Take();
  editor.Reset();
  ExpectCalls(kRelease + kSelectDataSql + kAndRelease + kSetDataSql + kAndRelease + kSetParentSql + kAndRelease +
              kDeleteChildSql + kAndRelease + kInsertSql + "; release transaction 1");
  EXPECT_EQ(Table("max(id)", "Nodes_1"), "5");
}

TEST_F(DomDocumentEditorTest, ARefusedCommitCanBeTriedAgain) {
  OpenElement();
  ASSERT_TRUE(element->AppendChild(CreateElement()));
  EXPECT_FALSE(editor->Commit()) << "the element editor has written and is open";
  EXPECT_TRUE(element->Commit());
  EXPECT_EQ(Stored("id", "Nodes_1 WHERE id>5"), "");
  calls.Fail({.kind = "Commit", .nth = 1});
  EXPECT_FALSE(editor->Commit());
  EXPECT_TRUE(element->AppendChild(4)) << "statements are prepared again";
  EXPECT_TRUE(editor->Commit());
  EXPECT_EQ(Stored("id,parent_id", "Nodes_1 WHERE id>3"), "4,1;5,1;6,1");
}

TEST_F(DomDocumentEditorTest, LivesAsLongAsItsElementEditors) {
  OpenElement();
  ASSERT_TRUE(element->AppendChild(4));
  editor.Reset();
  EXPECT_TRUE(element->AppendChild(5));
  EXPECT_EQ(calls.Alive("transaction"), 2);
  calls.Take();
  element.Reset();
  const std::string released = calls.Take();
  EXPECT_EQ(released.substr(released.find("release tr")), "release transaction 1; release transaction 2");
  EXPECT_EQ(Tree(), "Root(a(b(c)),d)");
}

}  // namespace
}  // namespace karst::test
