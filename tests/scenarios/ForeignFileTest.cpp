// Files that somebody else has written or broken: every operation answers and ends.
#include <algorithm>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

// Root(a(b,c),d), ids 1 to 5; a has the attribute a="x".
bool MakeGood(DomWorld& world) {
  if (!world.OpenNew() || !world.Grow(1, "a(b,c),d")) return false;
  world.RunSql("UPDATE Nodes_1 SET data=X'02000000000000000000000078000000' WHERE id=2");
  return true;
}

void Walk(DomWorld& world, int64_t id) {
  KaSmartPtr<KaDomElement> element, other;
  if (!world.document->GetElement(id, element.Out())) return;
  LabelOf(element.Get());
  EXPECT_TRUE(element->ExportXml(WidePath(world.Path("x.xml")).c_str()));
  if (element->GetParent(other.Out())) LabelOf(other.Get());
  int steps = 0;
  while (element->MoveNext() && steps < 20) ++steps;
  while (element->MovePrevious() && steps < 40) ++steps;
  EXPECT_LT(steps, 20);
}

// All that can be done with a document; it may answer false everywhere, but must end.
void UseAll(DomWorld& world) {
  for (int64_t id = 1; id < 9; ++id) Walk(world, id);
  KaSmartPtr<KaDomDocumentEditor> editor;
  KaSmartPtr<KaDomElementEditor> element;
  int64_t created = 0;
  ASSERT_TRUE(world.document->OpenEditor(editor.Out()));
  for (int64_t id = 0; id < 9; ++id) {
    ASSERT_TRUE(editor->OpenElementEditor(id, element.Out()));
    for (int64_t child = 0; child < 9; ++child) element->AppendChild(child);
    element->Rename(KA_TEXT("renamed"));
    element->SetInt(KA_TEXT("new"), 1, 0);
    element->Commit();
    element->DeleteChild(id + 1);
    element->DeleteChildren();
    editor->CreateElement(KA_TEXT("created"), &created);
  }
  element.Reset();
  editor->DeleteElement(2);
  editor->Commit();
  for (int64_t id = 1; id < 9; ++id) Walk(world, id);
}

// What breaks the file, what the root's export then is, without its line breaks and indentation ("-": the document
// cannot be opened), and whether everything below a can be deleted.
struct Break {
  const char* sql;
  std::string exported;
  bool deletes;
};

const std::string kRows =
    "CREATE TABLE T AS SELECT * FROM Nodes_1; DROP TABLE Nodes_1; ALTER TABLE T RENAME TO Nodes_1;";
const std::string kGood = R"(<Root><aa="x"><b/><c/></a><d/></Root>)";
const Break kBreaks[] = {
    {"UPDATE Nodes_1 SET parent_id=3 WHERE id=2", "<Root><d/></Root>", false},
    {"UPDATE Nodes_1 SET parent_id=3 WHERE id=1", kGood, false},
    {"UPDATE Nodes_1 SET parent_id=99 WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET parent_id='a' WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET name_id=99 WHERE id=2", R"(<Root><a="x"><b/><c/></><d/></Root>)", true},
    {"UPDATE Nodes_1 SET name_id=-5 WHERE id=2", R"(<Root><#Errora="x"><b/><c/></#Error><d/></Root>)", true},
    {"UPDATE Nodes_1 SET name_id=9223372036854775807 WHERE id=5", R"(<Root><aa="x"><b/><c/></a></></Root>)", true},
    {"UPDATE Nodes_1 SET name_id='a' WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET data=7 WHERE id=2", "<Root><a><b/><c/></a><d/></Root>", true},
    {"UPDATE Nodes_1 SET data=X'0200' WHERE id=2", "<Root><a><b/><c/></a><d/></Root>", true},
    {"UPDATE Nodes_1 SET id='x' WHERE id=3", R"(<Root><aa="x"><c/></a><d/></Root>)", false},
    {"UPDATE Nodes_1 SET id=4 WHERE id=3", R"(<Root><aa="x"><b/><c/></a><d/></Root>)", true},
    {"DELETE FROM Nodes_1 WHERE id=1", R"(<#Error><aa="x"><b/><c/></a><d/></#Error>)", true},
    {"DROP TABLE Nodes_1", "<#Error/>", false},
    {"UPDATE Keywords SET name=NULL WHERE id=2", R"(<Root><="x"><b/><c/></><d/></Root>)", true},
    {"UPDATE Keywords SET name=X'61' WHERE id=2", "-", false},
    {"DROP TABLE Keywords", R"(<><="x"></></></></></>)", true},
    {"DROP TABLE Documents", "-", false},
    {"DROP TABLE Documents; CREATE TABLE Documents (id,name); INSERT INTO Documents VALUES ('x','Doc')", "<#Error/>",
     false},
};

TEST(ForeignFile, EveryBreakIsAnswered) {
  for (const auto& [sql, exported, deletes] : kBreaks) {
    SCOPED_TRACE(sql);
    DomWorld world;
    ASSERT_TRUE(MakeGood(world));
    if (std::string(sql).find("SET id=") != std::string::npos) world.RunSql(kRows);
    world.RunSql(sql);
    EXPECT_EQ(world.Reopen(), exported != "-");
    if (world.document) {
      KaSmartPtr<KaDomElement> root;
      KaSmartPtr<KaDomDocumentEditor> editor;
      KaSmartPtr<KaDomElementEditor> element;
      ASSERT_TRUE(world.document->GetRootElement(root.Out()) && world.document->OpenEditor(editor.Out()));
      EXPECT_TRUE(root->ExportXml(WidePath(world.Path("x.xml")).c_str()));
      std::string xml = ReadFile(world.Path("x.xml"));
      std::erase_if(xml, [](char c) { return c == ' ' || c == '\r' || c == '\n'; });
      EXPECT_EQ(xml, exported);
      ASSERT_TRUE(editor->OpenElementEditor(2, element.Out()));
      element->AppendChild(5);
      EXPECT_EQ(element->DeleteChildren(), deletes);
      element.Reset();
      editor.Reset();
      UseAll(world);
    }
    if (world.database) world.database->CreateDocument(KA_TEXT("Two"), KA_TEXT("Root"), nullptr);
    if (world.database) world.database->DeleteDocument(KA_TEXT("Doc"));
    EXPECT_EQ(world.Settle(), "");
  }
}

}  // namespace
}  // namespace karst::test
