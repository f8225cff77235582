// Files that somebody else has written or broken: every operation answers and ends.
#include <algorithm>
#include <fstream>

#include "karst/KaDomAttribute.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "tests/support/DomFixture.h"

namespace karst::test {
namespace {

// Root(a(b,c),d), ids 1 to 5; a has the attribute a="x".
bool MakeGood(DomWorld& world) {
  if (!world.OpenNew() || !world.Grow(1, "a(b,c),d")) return false;
  world.RunSql("UPDATE Nodes_1 SET data=X'02000000000000000000000078000000' WHERE id=2");
  return true;
}

void ReadAttributes(KaDomElement* element) {
  KaSmartPtr<KaDomAttribute> cursor;
  if (!element->GetFirstAttribute(cursor.Out())) return;
  const KaChar* text = KA_TEXT("");
  for (int steps = 0; steps < 20; ++steps) {
    EXPECT_TRUE(cursor->GetName() != nullptr && (!cursor->GetText(&text) || Narrow(text).size() < 1000));
    EXPECT_FALSE(cursor->GetInt(nullptr) && cursor->GetDouble(nullptr));
    if (!cursor->MoveNext()) return;
  }
  ADD_FAILURE() << "attributes without an end";
}

void Walk(DomWorld& world, int64_t id) {
  KaSmartPtr<KaDomElement> element, other;
  if (!world.document->GetElement(id, element.Out())) return;
  EXPECT_NE(element->GetName(), nullptr);
  ReadAttributes(element.Get());
  EXPECT_TRUE(element->ExportXml(WidePath(world.Path("x.xml")).c_str()));
  std::filesystem::remove(world.Path("x.xml"));  // a new file is had sooner than an emptied one
  int steps = 0;
  if (element->GetParent(other.Out())) other->GetName();
  for (bool more = element->GetFirstChild(other.Out()); more && steps < 20; more = other->MoveNext()) ++steps;
  while (element->MoveNext() && steps < 20) ++steps;
  while (element->MovePrevious() && steps < 40) ++steps;
  EXPECT_LT(steps, 20);
  element->GetName();
}

void Edit(DomWorld& world) {
  KaSmartPtr<KaDomDocumentEditor> editor;
  KaSmartPtr<KaDomElementEditor> element;
  if (!world.document->OpenEditor(editor.Out())) return;
  int64_t created = 0;
  for (int64_t id = 0; id < 9; ++id) {
    if (!editor->OpenElementEditor(id, element.Out())) continue;
    for (int64_t child = 0; child < 9; ++child) element->AppendChild(child);
    element->Rename(KA_TEXT("renamed"));
    element->SetInt(KA_TEXT("new"), 1, 0);
    element->RemoveAttribute(KA_TEXT("a"));
    element->Commit();
    element->DeleteChild(id + 1);
    element->DeleteChildren();
    editor->CreateElement(KA_TEXT("created"), &created);
  }
  element.Reset();
  editor->DeleteElement(2);
  editor->Commit();
}

// All that can be done with a file; it may answer false everywhere, but must end.
void UseAll(DomWorld& world) {
  for (int64_t id = -1; id < 9 && world.document; ++id) Walk(world, id);
  if (world.document) Edit(world);
  for (int64_t id = 1; id < 9 && world.document; ++id) Walk(world, id);
  if (!world.database) return;
  world.database->CreateDocument(KA_TEXT("Two"), KA_TEXT("Root"), nullptr);
  world.database->DeleteDocument(KA_TEXT("Doc"));
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
    {"", kGood, true},
    {"UPDATE Nodes_1 SET parent_id=2 WHERE id=2", "<Root><d/></Root>", false},
    {"UPDATE Nodes_1 SET parent_id=3 WHERE id=2", "<Root><d/></Root>", false},
    {"UPDATE Nodes_1 SET parent_id=3 WHERE id=1", kGood, false},
    {"UPDATE Nodes_1 SET parent_id=1 WHERE id=1", kGood, true},
    {"UPDATE Nodes_1 SET parent_id=99 WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET parent_id=NULL WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET parent_id='a' WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET parent_id=X'01' WHERE id>1", "<Root/>", true},
    {"UPDATE Nodes_1 SET parent_id=1.5 WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET name_id=99 WHERE id=2", R"(<Root><a="x"><b/><c/></><d/></Root>)", true},
    {"UPDATE Nodes_1 SET name_id=-5 WHERE id=2", R"(<Root><#Errora="x"><b/><c/></#Error><d/></Root>)", true},
    {"UPDATE Nodes_1 SET name_id=9223372036854775807 WHERE id=5", R"(<Root><aa="x"><b/><c/></a></></Root>)", true},
    {"UPDATE Nodes_1 SET name_id='a' WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET data='aaaaaaaaaaaaaaaa' WHERE id=2", "<Root><a><b/><c/></a><d/></Root>", true},
    {"UPDATE Nodes_1 SET data=7 WHERE id=2", "<Root><a><b/><c/></a><d/></Root>", true},
    {"UPDATE Nodes_1 SET data=X'0200' WHERE id=2", "<Root><a><b/><c/></a><d/></Root>", true},
    {"UPDATE Nodes_1 SET name_id=NULL WHERE id=2", "<Root><d/></Root>", true},
    {"UPDATE Nodes_1 SET id=NULL WHERE id=3", R"(<Root><aa="x"><c/></a><d/></Root>)", false},
    {"UPDATE Nodes_1 SET id='x' WHERE id=3", R"(<Root><aa="x"><c/></a><d/></Root>)", false},
    {"UPDATE Nodes_1 SET id=-3 WHERE id=3", kGood, true},
    {"UPDATE Nodes_1 SET id=4 WHERE id=3", R"(<Root><aa="x"><b/><c/></a><d/></Root>)", true},
    {"DELETE FROM Nodes_1 WHERE id=1", R"(<#Error><aa="x"><b/><c/></a><d/></#Error>)", true},
    {"DROP TABLE Nodes_1", "<#Error/>", false},
    {"DROP TABLE Nodes_1; CREATE VIEW Nodes_1 AS SELECT 1 id,1 parent_id,1 name_id,1 data", "<Root/>", true},
    {"DROP TABLE Nodes_1; CREATE TABLE Nodes_1 (id,parent_id)", "<#Error/>", true},
    {"UPDATE Keywords SET id=id*7; INSERT INTO Keywords VALUES (50,'a')", kGood, true},
    {"UPDATE Keywords SET name=NULL WHERE id=2", R"(<Root><="x"><b/><c/></><d/></Root>)", true},
    {"UPDATE Keywords SET name=X'61' WHERE id=2", "-", false},
    {"DROP TABLE Keywords", R"(<><="x"></></></></></>)", true},
    {"DROP TABLE Documents", "-", false},
    {"DROP TABLE Documents; CREATE TABLE Documents (id,name); INSERT INTO Documents VALUES ('x','Doc')", "<#Error/>",
     false},
    {"UPDATE Documents SET name=NULL", "-", false},
};

TEST(ForeignFile, EveryBreakIsAnswered) {
  for (const auto& [sql, exported, deletes] : kBreaks) {
    SCOPED_TRACE(sql);
    DomWorld world;
    ASSERT_TRUE(MakeGood(world));
    const std::string text = sql;
    if (text.find("SET id=") != text.npos || text.find("name_id=NULL") != text.npos) world.RunSql(kRows);
    if (!text.empty()) world.RunSql(text);
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
      EXPECT_EQ(element->DeleteChildren(), deletes);
    }
    UseAll(world);
    EXPECT_EQ(world.Settle(), "");
  }
}

// A file cut off anywhere, and one with a page of rubbish.
TEST(ForeignFile, BrokenBytesAreSurvived) {
  DomWorld world;
  ASSERT_TRUE(MakeGood(world));
  world.Close();
  DatabaseModule().SetOption("busy_timeout", "0");
  const std::string good = ReadFile(world.Path("test.db"));
  ASSERT_GT(good.size(), 20'000U);
  for (size_t at = 0; at < good.size(); at += 2048) {
    for (const int way : {0, 1, 2, 3}) {
      std::string bytes = good;
      if (way == 0) bytes.resize(at);
      const size_t end = std::min(bytes.size(), at + 200);
      for (size_t i = at; i < end; ++i) bytes[i] = static_cast<char>(way == 1 ? 0 : way == 2 ? 0xFF : i * 37 >> 3);
      const std::string name = std::to_string(at) + '_' + std::to_string(way);
      std::ofstream(world.Path(name), std::ios::binary) << bytes;
      if (world.Open(name)) world.database->OpenDocument(KA_TEXT("Doc"), world.document.Out());
      UseAll(world);
      world.Close();
      world.calls.Take();
    }
  }
  DatabaseModule().SetOption("busy_timeout", "5000");
  EXPECT_EQ(world.Settle(), "");
}

}  // namespace
}  // namespace karst::test
