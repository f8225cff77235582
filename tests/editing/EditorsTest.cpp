// The editors of documents and elements: what they write, when, and what of it stays.
#include <array>
#include <functional>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

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
  EXPECT_TRUE(CreateElement() == 6 && CreateElement() == 7);
  EXPECT_TRUE(editor->DeleteElement(2) && editor->DeleteElement(99) && element->DeleteChild(5));
  EXPECT_TRUE(element->DeleteChild(4)) << "not a child: nothing to delete";
  EXPECT_EQ(Table("id,parent_id,name_id,data", "Nodes_1"), "1,0,1,NULL;3,2,3,NULL;4,3,4,NULL;6,-1,2,NULL;7,-1,2,NULL");
  EXPECT_FALSE(element->Reserved1() || element->Reserved2());
  OpenElement(99);
  EXPECT_FALSE(element->SetInt(kA, 1, 0)) << "the id is looked up now";
  EXPECT_TRUE(element->RemoveAllAttributes() && element->SetInt(kA, 1, 0) && element->Commit());
}

TEST_F(EditorsTest, ReleaseTheirStatementsBeforeTheScopeEnds) {
  for (const bool commits : {false, true}) {
    const int64_t id = CreateElement();
    EXPECT_TRUE(element->AppendChild(id) && element->DeleteChild(id) && element->RemoveAttribute(kA));
    EXPECT_TRUE(element->Commit());
    element.Reset();
    CreateElement();
    calls.Take();
    EXPECT_TRUE(commits ? editor->Commit() && !editor->Commit() : document->OpenEditor(editor.Out()));
    const std::string ended = calls.Take();
    EXPECT_EQ(CountOf("release statement", ended.substr(0, ended.find(" transaction"))), 5) << ended;
    if (!commits) OpenElement();
  }
  EXPECT_EQ(CreateElement(), 8);
  EXPECT_EQ(Stored("id", "Nodes_1 WHERE id>5"), "7;8") << "durable at once";
  RunSql("UPDATE Nodes_1 SET parent_id=7 WHERE id=8");  // others may write now
  OpenElement(8);
  EXPECT_FALSE(element->AppendChild(7));
  ExpectLog("3 Failed to append a DOM child element.");
}

TEST_F(EditorsTest, AppendElementsButNoneBelowItself) {
  EXPECT_TRUE(element->AppendChild(3) && element->AppendChild(5));
  EXPECT_EQ(Tree(), "Root(a,b(c),d)");
  for (const int64_t missing : {99, -1, 0}) {
    RunSql("UPDATE Nodes_1 SET parent_id=" + std::to_string(missing) + " WHERE id=1");
    EXPECT_TRUE(element->AppendChild(missing)) << "no element: nothing to do";
    EXPECT_EQ(CountOf("BindInt64 1 " + std::to_string(missing) + "; Execute", calls.Take()), 1) << missing;
  }
  EXPECT_FALSE(element->AppendChild(1));
  ExpectLog("3 Cannot append self as a child.");

  const int64_t x = CreateElement();
  const int64_t y = CreateElement();
  KaSmartPtr<KaDomElementEditor> below;
  OpenElement(4);
  ASSERT_TRUE(editor->OpenElementEditor(x, below.Out()));
  calls.Take();
  EXPECT_TRUE(element->AppendChild(x) && below->AppendChild(y) && below->Commit());
  EXPECT_EQ(CountOf("Prepare", calls.Take()), 0) << "what is new is known";
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

// A circle of 4 elements, and 20 levels below it: more than what of a path is searched one by one.
TEST_F(EditorsTest, EndOnACircleOfAnElementThatWasCreatedLater) {
  ASSERT_TRUE(editor->Commit() && Grow(4, "a(a(a(a(a(a(a(a(a(a(a(a(a(a(a(a(a(a(a(a"));
  RunSql("UPDATE Nodes_1 SET parent_id=26 WHERE id=2");  // as an editor of the element 26 appends it
  ASSERT_TRUE(document->OpenEditor(editor.Out()));
  OpenElement(4);
  EXPECT_TRUE(element->AppendChild(CreateElement()));
  calls.Fail({.kind = "Step", .nth = 999});
  OpenElement(25);
  EXPECT_TRUE(element->AppendChild(5));
  OpenElement(3);
  EXPECT_FALSE(element->DeleteChildren());
  EXPECT_EQ(Table("count(*)", "Nodes_1"), "26");
  EXPECT_EQ(calls.Hits(), 0) << "nothing goes round";
}

TEST_F(EditorsTest, RenameAtOnce) {
  EXPECT_FALSE(element->Rename(nullptr) || element->Rename(KA_TEXT("")));
  ExpectLog("3 Invalid DOM element name.; 3 Invalid DOM element name.");
  EXPECT_TRUE(element->Rename(KA_TEXT("d")));
  EXPECT_TRUE(element->Rename(KA_TEXT("new")));
  EXPECT_EQ(Tree(), "new(a(b(c)),d)");
}

TEST_F(EditorsTest, DeleteEverythingBelowDeepestFirst) {
  EXPECT_TRUE(element->DeleteChildren());
  const std::string deletes = calls.Take();
  for (size_t at = 0; const char* id : {"=4", "=3", "=2", "=5"}) {
    at = deletes.find("DELETE FROM Nodes_1 WHERE id" + std::string(id), at);
    EXPECT_NE(at, std::string::npos) << id;
  }
  EXPECT_EQ(Tree(), "Root");
}

TEST_F(EditorsTest, CommitAnElementOnceAndWriteOnlyWhatWasLoaded) {
  EXPECT_TRUE(element->Commit());
  ExpectCalls("Commit 2; release transaction 2");
  EXPECT_FALSE(element->Commit());
  ExpectCalls("");
  EXPECT_TRUE(element->AppendChild(4)) << "structure operations go on";

  OpenElement();
  ASSERT_TRUE(element->SetInt(kA, 7, 3));
  calls.Fail({.kind = "Commit", .nth = 1});
  EXPECT_FALSE(element->Commit());
  EXPECT_TRUE(element->Commit());
  EXPECT_TRUE(element->SetInt(kA, 8, 3) && !element->Commit()) << "what comes after the commit is never stored";
  EXPECT_EQ(Record(), "02000000 00000000 02000000 03000000 07000000");
  ASSERT_TRUE(element->RemoveAllAttributes() && element->Commit());
  EXPECT_EQ(Table("data", "Nodes_1 WHERE id=1"), "NULL");
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
  EXPECT_EQ(CountOf("GetBlobSize", calls.Take()), 1);
  EXPECT_TRUE(element->SetInt(kA, 2, 0) && element->SetText(kB, KA_TEXT("")));
  ExpectCalls("");
  EXPECT_EQ(Record(), "02000000 00000000 02000000 00000000 02000000 03000000 00000000 00000000 0000");

  EXPECT_TRUE(element->RemoveAttribute(kA));
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
