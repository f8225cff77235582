#include "karst/KaDomElement.h"

#include "karst/KaDomAttribute.h"
#include "karst/KaDomDocumentEditor.h"
#include "tests/support/DomFixture.h"

namespace karst::test {
namespace {

// Root 1, a 2, b 3, c 4, d 5, e 6.
class DomElementTest : public DomFixture {
 protected:
  void SetUp() override {
    ASSERT_TRUE(OpenNew() && Grow(1, "a(b,c,d),e") && Reopen());
    calls.Take();
  }
  KaSmartPtr<KaDomElement> Element(int64_t id) {
    KaSmartPtr<KaDomElement> element;
    EXPECT_TRUE(document->GetElement(id, element.Out()));
    return element;
  }
};

TEST_F(DomElementTest, TheRootReadsItsNameOnceAndHasNoParent) {
  KaSmartPtr<KaDomElement> root;
  ASSERT_TRUE(document->GetRootElement(root.Out()));
  EXPECT_EQ(Narrow(root->GetName()), "Root");
  EXPECT_EQ(root->GetNameId(), 1);
  calls.Take();
  EXPECT_EQ(Narrow(root->GetName()), "Root");
  EXPECT_FALSE(root->GetParent(nullptr));
  ExpectCalls("");
  EXPECT_FALSE(root->MoveNext());
  EXPECT_FALSE(root->MovePrevious());

  const auto element = Element(1);
  for (int i = 0; i < 2; ++i) EXPECT_FALSE(element->GetParent(nullptr));
  EXPECT_FALSE(element->MoveNext());
}

TEST_F(DomElementTest, WalksChildrenWithoutSql) {
  const auto a = Element(2);
  EXPECT_TRUE(a->GetFirstChild(nullptr));
  KaSmartPtr<KaDomElement> child, none;
  calls.Take();
  ASSERT_TRUE(a->GetFirstChild(child.Out()));
  const std::string row = "Step 1; GetInt64 0; GetInt64 1; ";
  ExpectCalls("BindInt64 0 2; " + row + row + row + "Step 0; Reset");
  std::string walk;
  const auto note = [&](bool moved) { walk += moved ? Narrow(child->GetName()) : "-"; };
  note(true);
  for (int i = 0; i < 3; ++i) note(child->MoveNext());
  EXPECT_EQ(child->GetId(), 5) << "stays on the last";
  for (int i = 0; i < 3; ++i) note(child->MovePrevious());
  EXPECT_EQ(walk, "bcd-cb-");
  EXPECT_TRUE(child->GetParent(nullptr));
  ExpectCalls("");
  EXPECT_FALSE(child->GetFirstChild(nullptr));
  EXPECT_FALSE(child->GetFirstChild(none.Out()));

  RunSql("DELETE FROM Nodes_1 WHERE id IN (2,4)");
  EXPECT_EQ(Narrow(a->GetName()), "a") << "what was read is kept";
  EXPECT_TRUE(child->MoveNext());
  EXPECT_EQ(Narrow(child->GetName()), "c");
}

TEST_F(DomElementTest, LoadsSiblingsAndParentsWhenAsked) {
  const auto c = Element(4);
  EXPECT_TRUE(c->MovePrevious());
  EXPECT_EQ(c->GetId(), 3);
  EXPECT_FALSE(c->MovePrevious());
  EXPECT_TRUE(c->MoveNext() && c->MoveNext());
  EXPECT_EQ(Narrow(c->GetName()), "d");
  EXPECT_FALSE(c->MoveNext());

  KaSmartPtr<KaDomElement> parent, top, none;
  ASSERT_TRUE(c->GetParent(parent.Out()));
  EXPECT_EQ(parent->GetId(), 2);
  EXPECT_EQ(parent->GetNameId(), -1);
  EXPECT_TRUE(parent->MoveNext());
  EXPECT_EQ(Narrow(parent->GetName()), "e");
  ASSERT_TRUE(parent->GetParent(top.Out()));
  EXPECT_FALSE(top->GetParent(none.Out()));
}

TEST_F(DomElementTest, ReportsWhatItCannotReadOnce) {
  struct Case {
    const char* sql;
    const char* name;  // of b's parent from then on
    std::string log;   // of reading that name, and of looking for the parent of b
  };
  const Case cases[] = {
      {"UPDATE Nodes_1 SET name_id=99, parent_id=0", "", ""},
      {"UPDATE Nodes_1 SET name_id=0, parent_id=0", "#Error", ""},
      {"UPDATE Nodes_1 SET name_id=-7, parent_id=-7", "#Error", "3 Invalid record: ElemID="},
      {"DELETE FROM Nodes_1", "#Error", "3 Record not found: ElemID="},
      {"DROP TABLE Nodes_1", "#Error", "3 Record not found: ElemID="},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(Reopen());
    KaSmartPtr<KaDomElement> a;
    const auto b = Element(3);
    ASSERT_TRUE(Element(3)->GetParent(a.Out()));
    RunSql(std::string("SAVEPOINT whole; ") + c.sql);
    for (const bool first : {true, false}) {
      EXPECT_EQ(Narrow(a->GetName()), c.name) << c.sql;
      ExpectLog(c.log.empty() || !first ? "" : c.log + "2.");
      EXPECT_FALSE(b->MoveNext() || b->GetParent(nullptr)) << c.sql;
      ExpectLog(c.log.empty() || !first ? "" : c.log + "3.");
    }
    RunSql("ROLLBACK TO whole; RELEASE whole");
  }
}

TEST_F(DomElementTest, AnElementInNoTreeIsAlone) {
  KaSmartPtr<KaDomDocumentEditor> editor;
  int64_t id = 0;
  ASSERT_TRUE(document->OpenEditor(editor.Out()));
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(editor->CreateElement(KA_TEXT("x"), &id));
  for (const bool movedFirst : {true, false}) {
    const auto lone = Element(id);
    EXPECT_FALSE(movedFirst && lone->MoveNext());
    EXPECT_FALSE(lone->GetParent(nullptr));
    ExpectLog("3 Invalid record: ElemID=8.");
    EXPECT_FALSE(lone->MoveNext());
    EXPECT_FALSE(lone->MovePrevious());
    EXPECT_EQ(lone->GetId(), id);
  }
}

TEST_F(DomElementTest, ACursorWhoseRowIsGoneStaysInTheList) {
  for (const char* gone : {"DELETE FROM Nodes_1 WHERE id=4", "UPDATE Nodes_1 SET parent_id=1 WHERE id=4"}) {
    const auto c = Element(4);
    ASSERT_TRUE(c->GetParent(nullptr));
    RunSql(gone);
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(c->MovePrevious());
    EXPECT_EQ(c->GetId(), 3);
    int moves = 0;
    while (moves < 5 && c->MoveNext()) ++moves;
    EXPECT_EQ(c->GetId(), 5);
    EXPECT_LT(moves, 3);
    RunSql("DELETE FROM Nodes_1 WHERE id=4; INSERT INTO Nodes_1 VALUES (4,2,4,NULL)");
  }
  calls.Fail({.kind = "GetInt64", .text = "parent_id=@ELEM", .nth = 2});
  KaSmartPtr<KaDomElement> child;
  ASSERT_TRUE(Element(2)->GetFirstChild(child.Out()));
  EXPECT_EQ(child->GetId(), 4) << "a row that cannot be read is skipped";
}

TEST_F(DomElementTest, HandsOutAttributesAsASnapshot) {
  KaSmartPtr<KaDomAttribute> attribute;
  RunSql(
      "UPDATE Nodes_1 SET data=X'' WHERE id=3;"
      "UPDATE Nodes_1 SET data=X'0200000000000000020000000300000007000000' WHERE id=4");
  for (int64_t id : {2, 3}) EXPECT_FALSE(Element(id)->GetFirstAttribute(attribute.Out())) << id;
  const auto c = Element(4);
  calls.Take();
  ASSERT_TRUE(c->GetFirstAttribute(attribute.Out()));
  ExpectCalls("BindInt64 0 4; Step 1; GetBlobSize 0; GetBlob 0; Reset");
  RunSql("UPDATE Nodes_1 SET data=NULL");
  Close();
  int32_t value = 0;
  EXPECT_TRUE(attribute->GetInt(&value));
  EXPECT_EQ(value, 7);
  EXPECT_EQ(attribute->GetUnit(), 3U);
  EXPECT_EQ(Narrow(attribute->GetName()), "a");
}

}  // namespace
}  // namespace karst::test
