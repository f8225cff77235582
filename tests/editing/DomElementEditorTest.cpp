// The structure operations of the element editor, and its commit.
#include "tests/editing/EditingFixture.h"

namespace karst::test {
namespace {

const std::string kAppendFailed = "3 Failed to append a DOM child element.";
// Name id 2, an Int, unit 3, value 7, as it is bound and as the commit goes on.
const std::string kWrite =
    "BindBlob 0 0200000000000000020000000300000007000000; BindInt64 1 1; Execute; Reset; Commit 2; "
    "release transaction 2";

class DomElementEditorTest : public EditingFixture {
 protected:
  void SetUp() override {
    EditingFixture::SetUp();
    OpenElement();
  }
};

TEST_F(DomElementEditorTest, AppendsNewElementsWithoutAQuery) {
  const int64_t x = CreateElement();
  const int64_t y = CreateElement();
  KaSmartPtr<KaDomElementEditor> below;
  ASSERT_TRUE(editor->OpenElementEditor(x, below.Out()));
  calls.Take();
  EXPECT_TRUE(element->AppendChild(x) && below->AppendChild(y));
  ExpectCalls(
      "Prepare UPDATE Nodes_1 SET parent_id=@PARENT WHERE id=@CHILD; BindInt64 0 1; BindInt64 1 6; Execute; Reset; "
      "BindInt64 0 6; BindInt64 1 7; Execute; Reset");
  EXPECT_EQ(Tree(), "Root(a(b(c)),d,a(a))");
}

TEST_F(DomElementEditorTest, MovesElementsButNoneBelowItself) {
  EXPECT_TRUE(element->AppendChild(3));
  EXPECT_TRUE(element->AppendChild(5)) << "where it is already";
  EXPECT_TRUE(element->AppendChild(99)) << "no such element";
  EXPECT_EQ(Tree(), "Root(a,b(c),d)");
  calls.Take();
  EXPECT_FALSE(element->AppendChild(1));
  ExpectLog("3 Cannot append self as a child.");
  ExpectCalls("");

  const int64_t x = CreateElement();
  const int64_t y = CreateElement();
  OpenElement(4);
  ASSERT_TRUE(element->AppendChild(x));
  OpenElement(x);
  ASSERT_TRUE(element->AppendChild(y));
  OpenElement(y);
  for (int64_t above : {x, int64_t{4}, int64_t{3}, int64_t{1}}) {
    EXPECT_FALSE(element->AppendChild(above)) << above;
    ExpectLog(kAppendFailed);
  }
  OpenElement(4);
  EXPECT_FALSE(element->AppendChild(3));
  ExpectLog(kAppendFailed);
  EXPECT_TRUE(element->AppendChild(y) && element->AppendChild(2));
  EXPECT_EQ(Tree(), "Root(b(c(a,a,a)),d)");
}

TEST_F(DomElementEditorTest, RenamesAtOnce) {
  for (const KaChar* name : {static_cast<const KaChar*>(nullptr), KA_TEXT("")}) {
    EXPECT_FALSE(element->Rename(name));
    ExpectLog("3 Invalid DOM element name.");
  }
  EXPECT_TRUE(element->Rename(KA_TEXT("d")));
  ExpectCalls("Execute UPDATE Nodes_1 SET name_id=5 WHERE id=1");
  EXPECT_TRUE(element->Rename(KA_TEXT("new")));
  EXPECT_EQ(Tree(), "new(a(b(c)),d)");
}

TEST_F(DomElementEditorTest, DeletesOneChildRow) {
  EXPECT_TRUE(element->DeleteChild(2));
  ExpectCalls(
      "Prepare DELETE FROM Nodes_1 WHERE parent_id=@PARENT AND id=@CHILD; BindInt64 0 1; BindInt64 1 2; Execute; "
      "Reset");
  EXPECT_TRUE(element->DeleteChild(4)) << "not a child: nothing to delete";
  EXPECT_EQ(Table("id,parent_id", "Nodes_1"), "1,0;3,2;4,3;5,1");
  calls.Take();
  EXPECT_FALSE(element->Reserved1() || element->Reserved2());
  ExpectCalls("");
}

TEST_F(DomElementEditorTest, DeletesEverythingBelowDeepestFirst) {
  const auto children = [](int id) { return "SELECT id FROM Nodes_1 WHERE parent_id=" + std::to_string(id); };
  const auto enter = [&](int id) { return "; Step 1; GetInt64 0; Prepare " + children(id); };
  const auto leave = [&](int id) {
    return "; Step 0; Execute DELETE FROM Nodes_1 WHERE id=" + std::to_string(id) + "; release statement " +
           children(id);
  };
  EXPECT_TRUE(element->DeleteChildren());
  ExpectCalls("BeginTransaction 3; Prepare " + children(1) + enter(2) + enter(3) + enter(4) + leave(4) + leave(3) +
              leave(2) + enter(5) + leave(5) + "; Step 0; Commit 3; release statement " + children(1) +
              "; release transaction 3");
  EXPECT_EQ(Tree(), "Root");
  EXPECT_TRUE(element->DeleteChildren()) << "of a leaf";

  RunSql("INSERT INTO Nodes_1 (id,parent_id,name_id) VALUES (2,4,2),(3,2,3),(4,3,4)");
  OpenElement(2);
  EXPECT_FALSE(element->DeleteChildren()) << "a circle";
  EXPECT_EQ(Table("id,parent_id", "Nodes_1"), "1,0;2,4;3,2;4,3");
}

TEST_F(DomElementEditorTest, CommitsOnceAndWritesOnlyWhatWasLoaded) {
  EXPECT_TRUE(element->Commit());
  ExpectCalls("Commit 2; release transaction 2");
  EXPECT_FALSE(element->Commit());
  ExpectCalls("");
  EXPECT_TRUE(element->AppendChild(4)) << "structure operations go on";

  OpenElement();
  ASSERT_TRUE(element->SetInt(KA_TEXT("a"), 7, 3));
  calls.Take();
  EXPECT_TRUE(element->Commit());
  ExpectCalls("Prepare UPDATE Nodes_1 SET data=@BLOB WHERE id=@ELEM; " + kWrite);
  EXPECT_TRUE(element->SetInt(KA_TEXT("a"), 8, 3));
  EXPECT_FALSE(element->Commit()) << "what comes after the commit is never stored";

  OpenElement();
  ASSERT_TRUE(element->RemoveAllAttributes() && element->Commit());
  ExpectCalls("BindNull 0; BindInt64 1 1; Execute; Reset; Commit 2; release transaction 2");
  EXPECT_EQ(Table("data", "Nodes_1 WHERE id=1"), "NULL");
}

TEST_F(DomElementEditorTest, ReleaseAbandonsAndARefusedCommitDoesNot) {
  ASSERT_TRUE(element->SetInt(KA_TEXT("a"), 7, 3));
  calls.Fail({.kind = "Commit"});
  EXPECT_FALSE(element->Commit());
  calls.ClearFaults();
  calls.Take();
  EXPECT_TRUE(element->Commit());
  ExpectCalls(kWrite);

  OpenElement();
  ASSERT_TRUE(element->SetInt(KA_TEXT("a"), 9, 3) && element->Rename(KA_TEXT("d")) && element->AppendChild(4));
  calls.Take();
  element.Reset();
  ExpectCalls("release transaction 2");
  EXPECT_TRUE(editor->Commit());
  EXPECT_EQ(Stored("name_id,data", "Nodes_1 WHERE id=1"), "1,X'0200000000000000020000000300000007000000'");
  EXPECT_EQ(Tree(), "Root(a(b(c)),d)");
}

}  // namespace
}  // namespace karst::test
