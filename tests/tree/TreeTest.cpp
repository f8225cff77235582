// Documents and elements as they are read.
#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

// Root 1, a 2, b 3, c 4, d 5, e 6.
class TreeTest : public DomFixture {
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

TEST_F(TreeTest, CreatesIndexesWhereTheyAreMissing) {
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(document->CreateIndexes());
  EXPECT_EQ(Stored("name", "sqlite_master WHERE type='index' AND tbl_name='Nodes_1' ORDER BY name"),
            "'IdxIdNodes_1';'IdxNameNodes_1';'IdxParentNodes_1'");
}

TEST_F(TreeTest, FindsElements) {
  KaSmartPtr<KaDomElement> element, root;
  for (int64_t id : {int64_t{0}, INT64_MIN}) EXPECT_FALSE(document->GetElement(id, element.Out()));
  ASSERT_TRUE(document->GetRootElement(root.Out()));
  EXPECT_TRUE(root->GetId() == 1 && root->GetNameId() == -1 && root->GetDocumentId() == 1 && !root->GetParent(nullptr));
  ExpectCalls("");
  EXPECT_FALSE(root->MoveNext() || root->MovePrevious() || document->GetElement(99, element.Out()));

  calls.Fail({.kind = "GetInt64", .nth = 1});
  ASSERT_TRUE(document->GetElement(2, element.Out())) << "the name is read later";
  EXPECT_EQ(element->GetNameId(), -1);
  EXPECT_EQ(Narrow(element->GetName()), "a");
}

TEST_F(TreeTest, WalksChildrenWithoutSql) {
  const auto a = Element(2);
  KaSmartPtr<KaDomElement> child, none;
  ASSERT_TRUE(a->GetFirstChild(child.Out()));
  calls.Take();
  std::string walk;
  const auto note = [&](bool moved) { walk += moved ? Narrow(child->GetName()) : "-"; };
  for (int i = 0; i < 3; ++i) note(child->MoveNext());
  for (int i = 0; i < 3; ++i) note(child->MovePrevious());
  EXPECT_EQ(walk, "cd-cb-");
  EXPECT_TRUE(child->GetParent(nullptr));
  ExpectCalls("");
  EXPECT_FALSE(child->GetFirstChild(nullptr) || child->GetFirstChild(none.Out()));
  RunSql("DELETE FROM Nodes_1 WHERE id IN (2,4)");
  EXPECT_EQ(Narrow(a->GetName()), "a") << "what was read is kept";
  EXPECT_TRUE(child->MoveNext() && Narrow(child->GetName()) == "c");
}

TEST_F(TreeTest, LoadsSiblingsAndParentsWhenAsked) {
  const auto c = Element(4);
  EXPECT_TRUE(c->MovePrevious() && c->GetId() == 3 && !c->MovePrevious());
  EXPECT_TRUE(c->MoveNext() && c->MoveNext() && Narrow(c->GetName()) == "d" && !c->MoveNext());
  KaSmartPtr<KaDomElement> parent, top;
  ASSERT_TRUE(c->GetParent(parent.Out()));
  EXPECT_TRUE(parent->GetId() == 2 && parent->GetNameId() == -1);
  EXPECT_TRUE(parent->MoveNext() && Narrow(parent->GetName()) == "e" && parent->GetParent(top.Out()));
  EXPECT_FALSE(top->GetParent(nullptr) || Element(1)->GetParent(nullptr) || Element(1)->MoveNext());
}

TEST_F(TreeTest, ReportsWhatItCannotReadOnce) {
  // What is broken, and the log of reading the name of b's parent, and of looking for the parent of b.
  const std::pair<const char*, std::string> cases[] = {
      {"UPDATE Nodes_1 SET name_id=0, parent_id=0", ""},
      {"UPDATE Nodes_1 SET name_id=-7, parent_id=-7", "3 Invalid record: ElemID="},
      {"DELETE FROM Nodes_1", "3 Record not found: ElemID="},
  };
  for (const auto& [sql, log] : cases) {
    ASSERT_TRUE(Reopen());
    KaSmartPtr<KaDomElement> a;
    const auto b = Element(3);
    ASSERT_TRUE(Element(3)->GetParent(a.Out()));
    RunSql(std::string("SAVEPOINT whole; ") + sql);
    for (const bool first : {true, false}) {
      EXPECT_EQ(Narrow(a->GetName()), "#Error") << sql;
      ExpectLog(log.empty() || !first ? "" : log + "2.");
      EXPECT_FALSE(b->MoveNext() || b->GetParent(nullptr)) << sql;
      ExpectLog(log.empty() || !first ? "" : log + "3.");
    }
    RunSql("ROLLBACK TO whole; RELEASE whole");
  }
}

TEST_F(TreeTest, AnElementInNoTreeIsAlone) {
  KaSmartPtr<KaDomDocumentEditor> editor;
  int64_t id = 0;
  ASSERT_TRUE(document->OpenEditor(editor.Out()));
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(editor->CreateElement(KA_TEXT("x"), &id));
  for (const bool movedFirst : {true, false}) {
    const auto lone = Element(id);
    EXPECT_FALSE((movedFirst && lone->MoveNext()) || lone->GetParent(nullptr));
    ExpectLog("3 Invalid record: ElemID=8.");
    EXPECT_FALSE(lone->MoveNext() || lone->MovePrevious());
    EXPECT_EQ(lone->GetId(), id);
  }
}

TEST_F(TreeTest, ACursorWhoseRowIsGoneStaysInTheList) {
  for (const char* gone : {"DELETE FROM Nodes_1 WHERE id=4", "UPDATE Nodes_1 SET parent_id=1 WHERE id=4"}) {
    const auto c = Element(4), next = Element(4);
    ASSERT_TRUE(c->GetParent(nullptr) && next->GetParent(nullptr));
    RunSql(gone);
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(c->MovePrevious());
    EXPECT_EQ(c->GetId(), 3);
    EXPECT_TRUE(c->MoveNext() && c->GetId() == 5 && !c->MoveNext());
    EXPECT_TRUE(next->MoveNext() && next->GetId() == 3);
    RunSql("DELETE FROM Nodes_1 WHERE id=4; INSERT INTO Nodes_1 VALUES (4,2,4,NULL)");
  }
  calls.Fail({.kind = "GetInt64", .text = "parent_id=@ELEM", .nth = 2});
  KaSmartPtr<KaDomElement> child;
  ASSERT_TRUE(Element(2)->GetFirstChild(child.Out()));
  EXPECT_EQ(child->GetId(), 4) << "a row that cannot be read is skipped";
}

TEST_F(TreeTest, HandsOutAttributesAsASnapshot) {
  KaSmartPtr<KaDomAttribute> attribute;
  RunSql(
      "UPDATE Nodes_1 SET data=X'' WHERE id=3;"
      "UPDATE Nodes_1 SET data=X'0200000000000000020000000300000007000000' WHERE id=4");
  EXPECT_FALSE(Element(3)->GetFirstAttribute(attribute.Out()));
  const auto c = Element(4);
  ASSERT_TRUE(c->GetFirstAttribute(attribute.Out()));
  RunSql("UPDATE Nodes_1 SET data=NULL");
  Close();
  int32_t value = 0;
  EXPECT_TRUE(attribute->GetInt(&value) && value == 7 && Narrow(attribute->GetName()) == "a");
}

}  // namespace
}  // namespace karst::test
