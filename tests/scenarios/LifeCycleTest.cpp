// Objects that outlive what they stand for, two databases on one file, references counted by two threads.
#include <atomic>
#include <thread>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

using LifeCycleTest = DomFixture;

TEST_F(LifeCycleTest, ObjectsKeepWhatTheyWereMadeFrom) {
  KaSmartPtr<KaDomDocumentEditor> editor;
  KaSmartPtr<KaDomElementEditor> element;
  KaSmartPtr<KaDomElement> root;
  ASSERT_TRUE(OpenNew() && document->OpenEditor(editor.Out()) && editor->OpenElementEditor(1, element.Out()));
  ASSERT_TRUE(document->GetRootElement(root.Out()));
  EXPECT_EQ(root->GetDocument(), document.Get());
  EXPECT_EQ(document->RefCount(), 2) << "ours and the root's: GetDocument lends";
  Close();
  editor.Reset();
  EXPECT_EQ(Narrow(root->GetName()), "Root");
  root.Reset();
  EXPECT_TRUE(element->Rename(KA_TEXT("new")));
}

TEST_F(LifeCycleTest, TwoDatabasesOnOneFileSeeTheNamesOfEachOther) {
  KaSmartPtr<KaDomDatabase> database2;
  KaSmartPtr<KaDomDocument> document2;
  ASSERT_TRUE(OpenNew() && DomModule().OpenDatabase(WidePath(Path("test.db")).c_str(), database2.Out()));
  ASSERT_TRUE(database2->OpenDocument(KA_TEXT("Doc"), document2.Out()));
  for (const char* name : {"a", "b", "b,c", "d"}) {
    ASSERT_TRUE(Grow(1, name)) << "the id of the new name is taken";
    std::swap(document, document2);
  }
  ASSERT_TRUE(Grow(1, "e"));
  for (KaDomDocument* each : {document.Get(), document2.Get()}) EXPECT_EQ(TreeOf(each), "Root(a,b,b,c,d,e)");
  EXPECT_EQ(Table("id,name", "Keywords"), "1,'Root';2,'a';3,'b';4,'c';5,'d';6,'e'");
  calls.Take();
  for (KaDomDocument* each : {document.Get(), document2.Get()}) EXPECT_EQ(TreeOf(each), "Root(a,b,b,c,d,e)");
  EXPECT_EQ(calls.Take().find("Keywords"), std::string::npos) << "what has been met costs nothing";
  document2.Reset();
}

// What is known of new elements is of no use once a move of theirs has been undone.
TEST_F(LifeCycleTest, AnUndoneMoveIsForgotten) {
  KaSmartPtr<KaDomDocumentEditor> editor;
  KaSmartPtr<KaDomElementEditor> root, upper, lower;
  int64_t above = 0, below = 0;
  ASSERT_TRUE(OpenNew() && document->OpenEditor(editor.Out()) && editor->CreateElement(KA_TEXT("a"), &above));
  ASSERT_TRUE(editor->CreateElement(KA_TEXT("b"), &below) && editor->OpenElementEditor(above, upper.Out()));
  ASSERT_TRUE(upper->AppendChild(below) && upper->Commit() && editor->OpenElementEditor(1, root.Out()));
  ASSERT_TRUE(root->AppendChild(below));
  root.Reset();
  ASSERT_TRUE(editor->OpenElementEditor(below, lower.Out()));
  EXPECT_FALSE(lower->AppendChild(above));
  ExpectLog("3 Failed to append a DOM child element.");
}

// The disk is full: the engine rolls everything back, and nothing is written until every editor has been released.
TEST_F(LifeCycleTest, NamesStayTrueWhenTheEngineRollsBack) {
  KaSmartPtr<KaDomDocumentEditor> editor, another;
  KaSmartPtr<KaDomElementEditor> root, inner;
  const auto open = [&] { return document->OpenEditor(editor.Out()) && editor->OpenElementEditor(1, root.Out()); };
  const auto sets = [&](const KaChar* name, const KaText& text) { return root->SetText(name, text.c_str()); };
  int64_t id = 0;
  for (const bool byCommit : {false, true}) {
    ASSERT_TRUE(OpenNew(KA_TEXT("Root"), byCommit ? "b.db" : "a.db") && Grow(1, "a") && open());
    const std::string stored = Stored("id,name_id,data", "Nodes_1");
    RunSql("PRAGMA max_page_count=" + Table("page_count+4", "pragma_page_count"));
    ASSERT_TRUE(editor->CreateElement(KA_TEXT("lost"), &id) && sets(KA_TEXT("late"), KA_TEXT("late")));
    ASSERT_TRUE(sets(KA_TEXT("a"), KaText(1 << 20, 'x')));
    while (!byCommit && editor->CreateElement(KA_TEXT("a"), &id)) continue;
    for (int i = 0; i < 2; ++i) EXPECT_FALSE(root->Commit() || editor->Commit());
    for (const KaChar* name : {KA_TEXT("a"), KA_TEXT("new")}) {
      EXPECT_FALSE(editor->CreateElement(name, &id) || root->Rename(name));
    }
    EXPECT_FALSE(sets(KA_TEXT("new"), {}) || document->OpenEditor(another.Out()));
    EXPECT_FALSE(editor->OpenElementEditor(1, inner.Out()) || editor->DeleteElement(2) || root->AppendChild(2));
    EXPECT_FALSE(root->DeleteChildren() || database->CreateDocument(KA_TEXT("Two"), KA_TEXT("a"), nullptr));
    EXPECT_EQ(Stored("id,name_id,data", "Nodes_1"), stored);
    EXPECT_EQ(ListingOf(document.Get()), "Root a") << "reading goes on";
    host.TakeLog();
    root.Reset();
    editor.Reset();
    RunSql("PRAGMA max_page_count=100000");
    ASSERT_TRUE(open() && editor->CreateElement(KA_TEXT("kept"), &id) && sets(KA_TEXT("new"), KA_TEXT("new")));
    EXPECT_TRUE(sets(KA_TEXT("late"), KA_TEXT("late")) && root->Commit() && editor->Commit());
    root.Reset();
    editor.Reset();
    ASSERT_TRUE(Reopen());
    EXPECT_EQ(ListingOf(document.Get()), "Root[late=late][new=new] a kept");
  }
}

TEST_F(LifeCycleTest, TwoThreadsCountOneObject) {
  ASSERT_TRUE(OpenNew());
  KaSmartPtr<KaDomElement> element;
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(document->GetRootElement(element.Out()));
    std::atomic<int> waiting{2};
    const auto churn = [&waiting](KaSmartPtr<KaDomElement> mine) {
      --waiting;
      while (waiting > 0) std::this_thread::yield();  // both start at once
      for (int i = 0; i < 50'000; ++i) KaSmartPtr<KaDomElement> another(mine);
    };
    std::thread first(churn, element), second(churn, element);
    element.Reset();
    first.join();
    second.join();
    ASSERT_EQ(document->RefCount(), 1) << "the element is gone, once";
  }
}

}  // namespace
}  // namespace karst::test
