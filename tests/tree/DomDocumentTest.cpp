#include "karst/KaDomAttribute.h"
#include "karst/KaDomElement.h"
#include "tests/support/DomFixture.h"

namespace karst::test {
namespace {

const std::string kElementSql = "SELECT name_id FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
const std::string kParentSql = "SELECT parent_id FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
const std::string kRecordSql = "SELECT parent_id,name_id FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
const std::string kChildrenSql = "SELECT id,name_id FROM Nodes_1 WHERE parent_id=@ELEM";
const std::string kDataSql = "SELECT data FROM Nodes_1 WHERE id=@ELEM LIMIT 1";

class DomDocumentTest : public DomFixture {
 protected:
  void SetUp() override {
    ASSERT_TRUE(OpenNew() && Grow(1, "a") && Reopen());
    calls.Take();
  }
};

TEST_F(DomDocumentTest, CreatesIndexesWhereTheyAreMissing) {
  EXPECT_TRUE(document->CreateIndexes());
  ExpectCalls(
      "Execute CREATE INDEX IF NOT EXISTS IdxIdNodes_1 ON Nodes_1 (id);CREATE INDEX IF NOT EXISTS IdxParentNodes_1 ON "
      "Nodes_1 (parent_id);CREATE INDEX IF NOT EXISTS IdxNameNodes_1 ON Nodes_1 (name_id);");
  EXPECT_TRUE(document->CreateIndexes());
  EXPECT_EQ(Stored("count(*)", "sqlite_master WHERE type='index' AND tbl_name='Nodes_1'"), "3");
}

TEST_F(DomDocumentTest, FindsElements) {
  KaSmartPtr<KaDomElement> element, root;
  for (int64_t id : {int64_t{0}, int64_t{-5}, INT64_MIN}) EXPECT_FALSE(document->GetElement(id, element.Out()));
  ASSERT_TRUE(document->GetRootElement(root.Out()));
  EXPECT_EQ(root->GetId(), 1);
  EXPECT_EQ(root->GetNameId(), -1);
  EXPECT_EQ(root->GetDocumentId(), 1);
  ExpectCalls("");

  EXPECT_FALSE(document->GetElement(99, element.Out()));
  ExpectCalls("Prepare " + kElementSql + "; BindInt64 0 99; Step 0; Reset");
  ASSERT_TRUE(document->GetElement(2, element.Out()));
  EXPECT_EQ(element->GetNameId(), 2);
  EXPECT_EQ(Narrow(element->GetName()), "a");
  ExpectCalls("BindInt64 0 2; Step 1; GetInt64 0; Reset");

  calls.Fail({.kind = "GetInt64", .nth = 1});
  ASSERT_TRUE(document->GetElement(2, element.Out())) << "the name is read later";
  EXPECT_EQ(element->GetNameId(), -1);
  EXPECT_EQ(Narrow(element->GetName()), "a");
  RunSql("DELETE FROM Nodes_1");
  EXPECT_TRUE(document->GetRootElement(root.Out()));
}

TEST_F(DomDocumentTest, PreparesEachReadStatementOnceAndReleasesThemInOrder) {
  for (int round = 0; round < 2; ++round) {
    KaSmartPtr<KaDomElement> root, element;
    KaSmartPtr<KaDomAttribute> attribute;
    ASSERT_TRUE(document->GetElement(2, element.Out()) && element->GetParent(nullptr));
    ASSERT_TRUE(document->GetRootElement(root.Out()));
    root->GetName();
    EXPECT_TRUE(root->GetFirstChild(nullptr));
    EXPECT_FALSE(root->GetFirstAttribute(attribute.Out()));
    if (round > 0) break;
    ExpectCalls("Prepare " + kElementSql + "; BindInt64 0 2; Step 1; GetInt64 0; Reset; Prepare " + kParentSql +
                "; BindInt64 0 2; Step 1; GetInt64 0; Reset; Prepare " + kRecordSql +
                "; BindInt64 0 1; Step 1; GetInt64 1; Reset; Prepare " + kChildrenSql +
                "; BindInt64 0 1; Step 1; Reset; Prepare " + kDataSql +
                "; BindInt64 0 1; Step 1; GetBlobSize 0; Reset");
  }
  EXPECT_EQ(calls.Take().find("Prepare"), std::string::npos);
  Close();
  const std::string release = "; release statement ";
  ExpectCalls("release statement " + kDataSql + release + kChildrenSql + release + kRecordSql + release + kParentSql +
              release + kElementSql + "; release connection");
}

}  // namespace
}  // namespace karst::test
