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

// The second database does not learn of names that the first adds, and must not give their ids away again.
TEST_F(LifeCycleTest, TwoDatabasesOnOneFileNeverMixNamesUp) {
  DatabaseModule().SetOption("busy_timeout", "0");
  KaSmartPtr<KaDomDatabase> database2;
  KaSmartPtr<KaDomDocument> document2;
  ASSERT_TRUE(OpenNew() && DomModule().OpenDatabase(WidePath(Path("test.db")).c_str(), database2.Out()));
  ASSERT_TRUE(database2->OpenDocument(KA_TEXT("Doc"), document2.Out()) && Grow(1, "a"));
  EXPECT_EQ(TreeOf(document2.Get()), "Root()") << "the name is not known here";
  KaSmartPtr<KaDomDocumentEditor> editor, editor2;
  KaSmartPtr<KaDomElementEditor> root2;
  int64_t id = 0;
  ASSERT_TRUE(document2->OpenEditor(editor2.Out()) && editor2->OpenElementEditor(1, root2.Out()));
  EXPECT_FALSE(editor2->CreateElement(KA_TEXT("b"), &id) || editor2->CreateElement(KA_TEXT("a"), &id));
  EXPECT_FALSE(root2->Rename(KA_TEXT("b")) || root2->SetInt(KA_TEXT("b"), 1, 0));
  EXPECT_TRUE(editor2->CreateElement(KA_TEXT("Root"), &id) && root2->AppendChild(id) && root2->Commit());
  EXPECT_TRUE(document->OpenEditor(editor.Out()) && !editor->CreateElement(KA_TEXT("a"), &id)) << "the other writes";
  EXPECT_TRUE(editor2->Commit() && editor->CreateElement(KA_TEXT("c"), &id) && editor->Commit());
  host.TakeLog();
  root2.Reset();
  editor2.Reset();
  document2.Reset();
  database2.Reset();
  editor.Reset();
  ASSERT_TRUE(Reopen() && Grow(1, "b"));
  EXPECT_EQ(TreeOf(document.Get()), "Root(a,Root,b)");
  EXPECT_EQ(Table("id,name", "Keywords"), "1,'Root';2,'a';3,'c';4,'b'");
  DatabaseModule().SetOption("busy_timeout", "5000");
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
