// The editors of documents and elements: what they write, when, and what of it stays.
#include <array>
#include <functional>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

const std::string kInsert = "INSERT INTO Nodes_1 (parent_id,name_id) VALUES (-1,@NAME)";
const std::string kDeleteChild = "DELETE FROM Nodes_1 WHERE parent_id=@PARENT AND id=@CHILD";
const std::string kSetParent = "UPDATE Nodes_1 SET parent_id=@PARENT WHERE id=@CHILD";
const std::string kSetData = "UPDATE Nodes_1 SET data=@BLOB WHERE id=@ELEM";
const std::string kSelectData = "SELECT data FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
constexpr const KaChar* kA = KA_TEXT("a");
constexpr const KaChar* kB = KA_TEXT("b");

// The tree Root(a(b(c)),d), ids and ids of names 1 to 5, an editor of the document and one of the root.
class EditorsTest : public DomFixture {
 protected:
  void SetUp() override {
    ASSERT_TRUE(OpenNew() && Grow(1, "a(b(c)),d") && document->OpenEditor(editor.Out()));
    OpenElement();
  }
  void TearDown() override {
    element.Reset();
    editor.Reset();
    DomFixture::TearDown();
  }

  // Commits the element editor, where there is one, and opens another.
  void OpenElement(int64_t id = 1) {
    if (element) element->Commit();
    ASSERT_TRUE(editor->OpenElementEditor(id, element.Out()));
    calls.Take();
  }
  int64_t CreateElement() {
    int64_t id = 0;
    EXPECT_TRUE(editor->CreateElement(kA, &id));
    return id;
  }
  // The tree as the transaction sees it.
  std::string Tree() { return TreeOf(document.Get()); }
  // Commits the element editor and opens another; answers the stored bytes in groups of 4.
  std::string Record() {
    OpenElement();
    const std::string literal = Table("data", "Nodes_1 WHERE id=1");
    std::string hex = literal.substr(2, literal.size() - 3);
    for (size_t i = 8; i < hex.size(); i += 9) hex.insert(i, " ");
    return hex;
  }

  KaSmartPtr<KaDomDocumentEditor> editor;
  KaSmartPtr<KaDomElementEditor> element;
};

TEST_F(EditorsTest, CreateElementsInNoTreeAndDeleteSingleRows) {
  EXPECT_EQ(CreateElement(), 6);
  ExpectCalls("Prepare " + kInsert + "; BindInt64 0 2; Execute; GetLastInsertId; Reset");
  EXPECT_EQ(CreateElement(), 7);
  calls.Take();
  EXPECT_TRUE(editor->DeleteElement(2) && editor->DeleteElement(99) && element->DeleteChild(5));
  ExpectCalls("Execute DELETE FROM Nodes_1 WHERE id=2; Execute DELETE FROM Nodes_1 WHERE id=99; Prepare " +
              kDeleteChild + "; BindInt64 0 1; BindInt64 1 5; Execute; Reset");
  EXPECT_TRUE(element->DeleteChild(4)) << "not a child: nothing to delete";
  EXPECT_EQ(Table("id,parent_id,name_id,data", "Nodes_1"), "1,0,1,NULL;3,2,3,NULL;4,3,4,NULL;6,-1,2,NULL;7,-1,2,NULL");
  calls.Take();
  EXPECT_FALSE(element->Reserved1() || element->Reserved2());
  ExpectCalls("");
  OpenElement(99);
  EXPECT_FALSE(element->SetInt(kA, 1, 0)) << "the id is looked up now";
  EXPECT_TRUE(element->RemoveAllAttributes() && element->SetInt(kA, 1, 0) && element->Commit());
}

TEST_F(EditorsTest, ReleaseTheirStatementsBeforeTheScopeEnds) {
  std::string released, backwards;
  for (const auto& sql : {kInsert, kDeleteChild, kSetParent, kSetData, kSelectData}) {
    released += "release statement " + sql + "; ";
    backwards = "release statement " + sql + "; " + backwards;
  }
  for (const bool committed : {false, true}) {
    const int64_t id = CreateElement();
    EXPECT_TRUE(element->AppendChild(id) && element->DeleteChild(id) && element->RemoveAttribute(kA));
    EXPECT_TRUE(element->Commit());
    element.Reset();
    CreateElement();
    calls.Take();
    if (committed) break;
    editor.Reset();
    ExpectCalls(backwards + "release transaction 1");
    ASSERT_TRUE(document->OpenEditor(editor.Out()));
    OpenElement();
  }
  EXPECT_TRUE(editor->Commit());
  ExpectCalls(released + "Commit 1; release transaction 1");
  EXPECT_FALSE(editor->Commit());
  EXPECT_EQ(CreateElement(), 8);
  ExpectCalls("Prepare " + kInsert + "; BindInt64 0 2; Execute; GetLastInsertId; Reset");
  EXPECT_EQ(Stored("id", "Nodes_1 WHERE id>5"), "7;8") << "durable at once";
  RunSql("UPDATE Nodes_1 SET parent_id=7 WHERE id=8");  // others may write now
  OpenElement(8);
  EXPECT_FALSE(element->AppendChild(7));
  ExpectLog("3 Failed to append a DOM child element.");
}

TEST_F(EditorsTest, AppendElementsButNoneBelowItself) {
  EXPECT_TRUE(element->AppendChild(3) && element->AppendChild(5) && element->AppendChild(99));
  EXPECT_EQ(Tree(), "Root(a,b(c),d)");
  calls.Take();
  EXPECT_FALSE(element->AppendChild(1));
  ExpectLog("3 Cannot append self as a child.");
  ExpectCalls("");

  const int64_t x = CreateElement();
  const int64_t y = CreateElement();
  KaSmartPtr<KaDomElementEditor> below;
  OpenElement(4);
  ASSERT_TRUE(editor->OpenElementEditor(x, below.Out()));
  calls.Take();
  EXPECT_TRUE(element->AppendChild(x) && below->AppendChild(y) && below->Commit());
  const std::string bind = "BindInt64 0 4; BindInt64 1 6; Execute; Reset; BindInt64 0 6; BindInt64 1 7; Execute; Reset";
  ExpectCalls(bind + "; Commit 3; release transaction 3");
  OpenElement(y);
  for (int64_t above : {x, int64_t{4}, int64_t{3}, int64_t{1}}) {
    EXPECT_FALSE(element->AppendChild(above)) << above;
    ExpectLog("3 Failed to append a DOM child element.");
  }
  EXPECT_TRUE(element->AppendChild(2));
  EXPECT_EQ(Tree(), "Root(b(c(a(a(a)))),d)");
  OpenElement(8);
  EXPECT_TRUE(element->AppendChild(5));
  EXPECT_EQ(CreateElement(), 8) << "it has a child from the start";
  OpenElement(5);
  EXPECT_FALSE(element->AppendChild(8));
  ExpectLog("3 Failed to append a DOM child element.");
}

TEST_F(EditorsTest, RenameAtOnce) {
  EXPECT_FALSE(element->Rename(nullptr) || element->Rename(KA_TEXT("")));
  ExpectLog("3 Invalid DOM element name.; 3 Invalid DOM element name.");
  EXPECT_TRUE(element->Rename(KA_TEXT("d")));
  ExpectCalls("Execute UPDATE Nodes_1 SET name_id=5 WHERE id=1");
  EXPECT_TRUE(element->Rename(KA_TEXT("new")));
  EXPECT_EQ(Tree(), "new(a(b(c)),d)");
}

TEST_F(EditorsTest, DeleteEverythingBelowDeepestFirst) {
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

  RunSql("INSERT INTO Nodes_1 (id,parent_id,name_id) VALUES (2,4,2),(3,2,3),(4,3,4)");
  OpenElement(2);
  EXPECT_FALSE(element->DeleteChildren()) << "a circle";
  EXPECT_EQ(Table("id,parent_id", "Nodes_1"), "1,0;2,4;3,2;4,3");
}

TEST_F(EditorsTest, CommitAnElementOnceAndWriteOnlyWhatWasLoaded) {
  const std::string write =
      "BindBlob 0 0200000000000000020000000300000007000000; BindInt64 1 1; Execute; Reset; Commit 2";
  const std::string release = "; release transaction 2";
  EXPECT_TRUE(element->Commit());
  ExpectCalls("Commit 2" + release);
  EXPECT_FALSE(element->Commit());
  ExpectCalls("");
  EXPECT_TRUE(element->AppendChild(4)) << "structure operations go on";

  OpenElement();
  ASSERT_TRUE(element->SetInt(kA, 7, 3));
  calls.Take();
  calls.Fail({.kind = "Commit", .nth = 1});
  EXPECT_FALSE(element->Commit());
  ExpectCalls("Prepare " + kSetData + "; " + write + " (refused)");
  EXPECT_TRUE(element->Commit());
  ExpectCalls(write + release);
  EXPECT_TRUE(element->SetInt(kA, 8, 3) && !element->Commit()) << "what comes after the commit is never stored";
  EXPECT_EQ(Record(), "02000000 00000000 02000000 03000000 07000000");

  ASSERT_TRUE(element->RemoveAllAttributes() && element->Commit());
  ExpectCalls("BindNull 0; BindInt64 1 1; Execute; Reset; Commit 2" + release);
  OpenElement();
  ASSERT_TRUE(element->SetInt(kA, 9, 3));
  calls.Take();
  element.Reset();
  ExpectCalls("release transaction 2");
}

TEST_F(EditorsTest, RefusedValuesLeaveTheAttributeAlone) {
  constexpr std::array<int32_t, 3> kInts{1, -1, 3};
  ASSERT_TRUE(element->SetInt(kA, 5, 0));
  const int64_t calm = calls.Count();
  for (const KaChar* unnamed : {static_cast<const KaChar*>(nullptr), KA_TEXT("")}) {
    EXPECT_FALSE(element->SetInt(unnamed, 1, 0) || element->SetText(unnamed, kB));
  }
  EXPECT_FALSE(element->SetIntArray(kA, kInts.data(), 0, 3, 0) || element->SetIntArray(kA, nullptr, 1, 3, 0));
  EXPECT_FALSE(element->SetText(kA, nullptr) || element->SetText(KA_TEXT("new"), nullptr));
  ExpectLog("");
  EXPECT_FALSE(element->SetIntArray(kA, kInts.data(), 1, 7, 0));
  ExpectLog("3 Invalid value type: 7");
  EXPECT_FALSE(element->RemoveAttribute(nullptr));
  EXPECT_EQ(calls.Count(), calm) << "nothing is allocated, and no name stored, for what is refused";
  calls.Fail({.kind = "Allocate"});
  EXPECT_FALSE(element->SetText(kA, kB) || element->SetIntArray(kA, kInts.data(), 1, 3, 0));
  calls.ClearFaults();
  EXPECT_EQ(Record(), "02000000 00000000 02000000 00000000 05000000");
}

TEST_F(EditorsTest, ReadTheRecordOnceAndWriteItInTheOrderOfNames) {
  EXPECT_TRUE(element->SetInt(kB, 1, 0));
  ExpectCalls("Prepare " + kSelectData + "; BindInt64 0 1; Step 1; GetBlobSize 0; Reset");
  EXPECT_TRUE(element->SetInt(kA, 2, 0) && element->SetText(kB, KA_TEXT("")));
  ExpectCalls("");
  EXPECT_EQ(Record(), "02000000 00000000 02000000 00000000 02000000 03000000 00000000 00000000 0000");

  EXPECT_TRUE(element->RemoveAttribute(kA));
  ExpectCalls("BindInt64 0 1; Step 1; GetBlobSize 0; GetBlob 0; Reset");
  EXPECT_TRUE(element->RemoveAttribute(KA_TEXT("Root"))) << "it has no such attribute";
  EXPECT_EQ(Record(), "03000000 00000000 00000000 0000");
  EXPECT_TRUE(element->RemoveAllAttributes());
  ExpectCalls("");
  EXPECT_TRUE(element->SetInt(kA, 1, 0));
  EXPECT_EQ(Record(), "02000000 00000000 02000000 00000000 01000000") << "what was never read is gone";
  EXPECT_TRUE(element->RemoveAttribute(kA) && element->Commit());
  EXPECT_EQ(Table("data", "Nodes_1 WHERE id=1"), "NULL");
}

}  // namespace
}  // namespace karst::test
