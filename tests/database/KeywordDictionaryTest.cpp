// Names and their ids, through the operations that intern and show them.
#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

// A document whose root has taken the id 1, and an editor of it.
class KeywordDictionaryTest : public DomFixture {
 protected:
  void SetUp() override { ASSERT_TRUE(OpenNew() && document->OpenEditor(editor.Out())); }
  void TearDown() override {
    editor.Reset();
    DomFixture::TearDown();
  }

  // The id under which a new element stores `name`; 0 when it cannot be created.
  int64_t Intern(const KaChar* name) {
    int64_t id = 0;
    if (!editor->CreateElement(name, &id)) return 0;
    return std::stoll(Table("name_id", "Nodes_1 WHERE id=" + std::to_string(id)));
  }

  KaSmartPtr<KaDomDocumentEditor> editor;
};

TEST_F(KeywordDictionaryTest, NumbersNamesInTheOrderOfFirstUse) {
  KaSmartPtr<KaDomElement> root;
  ASSERT_TRUE(document->GetRootElement(root.Out()));
  const KaChar* rootName = root->GetName();
  const std::pair<const KaChar*, int64_t> names[] = {
      {KA_TEXT("name"), 2}, {KA_TEXT("Name"), 3}, {KA_TEXT("name"), 2}, {KA_TEXT("Root"), 1}};
  for (const auto& [name, id] : names) EXPECT_EQ(Intern(name), id);
  for (int i = 4; i < 300; ++i) ASSERT_EQ(Intern(Wide("\u00e9\U0001F600" + std::to_string(i)).c_str()), i);
  EXPECT_EQ(root->GetName(), rootName);
  EXPECT_EQ(Narrow(rootName), "Root") << "the text stays where it is";
  ASSERT_TRUE(editor->Commit());
  EXPECT_EQ(Stored("id,name", "Keywords WHERE id<5"), "1,'Root';2,'name';3,'Name';4,'\u00e9\U0001F6004'");

  ASSERT_TRUE(Reopen() && document->OpenEditor(editor.Out()));
  EXPECT_EQ(Intern(KA_TEXT("\u00e9\U0001F6004")), 4);
  EXPECT_EQ(Intern(KA_TEXT("next")), 300);
}

TEST_F(KeywordDictionaryTest, StoresANewNameOnceAndAsksNothingForAKnownOne) {
  Intern(KA_TEXT("Root"));
  calls.Take();
  int64_t id = 0;
  ASSERT_TRUE(editor->CreateElement(KA_TEXT("new"), &id) && editor->CreateElement(KA_TEXT("new"), &id));
  EXPECT_EQ(CountOf("BindText", calls.Take()), 1);
  ASSERT_TRUE(database->CreateDocument(KA_TEXT("null"), nullptr, nullptr));
  ASSERT_TRUE(database->CreateDocument(KA_TEXT("empty"), KA_TEXT(""), nullptr));
  EXPECT_EQ(calls.Take().find("Keywords"), std::string::npos) << "the empty name has no row";
  EXPECT_EQ(Table("name_id", "Nodes_2 UNION ALL SELECT name_id FROM Nodes_3"), "0;0");
}

TEST_F(KeywordDictionaryTest, LoadsByPositionAndAnswersTheLaterOfDoubles) {
  editor.Reset();
  RunSql(
      "DELETE FROM Keywords; INSERT INTO Keywords VALUES (2,'a'),(3,'b'),(5,'x'),(6,'c'),(9,'x');"
      "INSERT INTO Nodes_1 (name_id) VALUES (3),(5),(6),(99),(-1),(0)");
  ASSERT_TRUE(Reopen() && document->OpenEditor(editor.Out()));
  EXPECT_EQ(Intern(KA_TEXT("x")), 5);
  calls.Take();
  EXPECT_EQ(ListingOf(document.Get()), "a x x   #Error #Error x");
  ExpectLog("3 Invalid record: ElemID=6.");
  KaSmartPtr<KaDomElement> sixth, nameless;
  ASSERT_TRUE(document->GetElement(4, sixth.Out()) && document->GetElement(5, nameless.Out()));
  RunSql("INSERT INTO Keywords VALUES (10,'later')");
  EXPECT_EQ(Narrow(sixth->GetName()), "later") << "an id that was looked for in vain before";
  calls.Take();
  for (int i = 0; i < 200; ++i) EXPECT_EQ(Narrow(nameless->GetName()), "");
  EXPECT_EQ(CountOf("Prepare SELECT name FROM Keywords", calls.Take()), 64) << "a broken file is not searched for ever";
}

TEST_F(KeywordDictionaryTest, StoresAbandonedNamesAgainBeforeTheNextUse) {
  ASSERT_EQ(Intern(KA_TEXT("lost")), 2);
  ASSERT_TRUE(document->OpenEditor(editor.Out())) << "the editor before is abandoned";
  EXPECT_EQ(Intern(KA_TEXT("next")), 3);
  EXPECT_EQ(Table("id,name", "Keywords"), "1,'Root';2,'lost';3,'next'");
  ASSERT_TRUE(document->OpenEditor(editor.Out()));
  RunSql("INSERT INTO Keywords VALUES (2,'theirs'); UPDATE Nodes_1 SET name_id=2");
  EXPECT_EQ(TreeOf(document.Get()), "theirs") << "the table counts";
  EXPECT_EQ(Intern(KA_TEXT("next")), 3);
  EXPECT_EQ(Intern(KA_TEXT("lost")), 4);
  ASSERT_TRUE(document->OpenEditor(editor.Out()));
  EXPECT_EQ(Intern(KA_TEXT("lost")), 4);
  EXPECT_EQ(Table("id,name", "Keywords"), "1,'Root';2,'theirs';3,'next';4,'lost'") << "all are stored again";
}

// An editor that has taken the id of an abandoned name does not store what it did with it once somebody else has given
// the id away.
TEST_F(KeywordDictionaryTest, NeverStoresAnIdThatHasComeToMeanAnotherName) {
  for (const bool removes : {false, true}) {
    KaSmartPtr<KaDomElementEditor> first, second;
    ASSERT_TRUE(document->OpenEditor(editor.Out()) && editor->OpenElementEditor(1, first.Out()));
    ASSERT_TRUE(editor->OpenElementEditor(1, second.Out()) && second->SetInt(KA_TEXT("lost"), 1, 0));
    second.Reset();
    RunSql(
        "INSERT INTO Keywords VALUES (2,'theirs');"
        "UPDATE Nodes_1 SET data=X'0200000000000000020000000300000007000000'");
    ASSERT_TRUE(removes ? first->RemoveAttribute(KA_TEXT("lost")) : first->SetInt(KA_TEXT("lost"), 1, 0));
    EXPECT_FALSE(first->Commit());
    EXPECT_EQ(TreeOf(document.Get()), "Root[theirs=7/3]");
    EXPECT_EQ(Intern(KA_TEXT("lost")), 3);
    first.Reset();
    editor.Reset();
    ASSERT_TRUE(Reopen());
  }
}

}  // namespace
}  // namespace karst::test
