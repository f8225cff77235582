#include "tests/module/Operations.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/Text.h"

namespace karst::test {

namespace {

constexpr std::array<int32_t, 2> kInts{1, 2};
constexpr std::array<int64_t, 2> kLongs{1, 2};
constexpr std::array<double, 2> kDoubles{1, 2};
constexpr const KaChar* kNew = KA_TEXT("new");

// An operation with an out-slot: it must be filled on success only, with one reference.
template <class Object, class Call>
auto Hands(Call call) {
  return [call](Scene& scene) {
    KaSmartPtr<Object> out;
    const bool answer = call(scene, out.Out());
    EXPECT_EQ(static_cast<bool>(out), answer);
    EXPECT_EQ(out ? out->RefCount() : 1, 1);
    return answer;
  };
}

// An operation of the element editor.
template <class Call>
auto Edits(Call call) {
  return [call](Scene& scene) { return call(scene.element.Get()); };
}

bool CreatesElement(Scene& scene) {
  int64_t id = -7;
  const bool answer = scene.editor->CreateElement(kNew, &id);
  EXPECT_EQ(id, answer ? 6 : -7);
  return answer;
}

}  // namespace

Scene::Scene() {
  EXPECT_TRUE(OpenNew() && Grow(1, "a(b,c),d"));
  RunSql("UPDATE Nodes_1 SET data=X'020000000000000000000000780000' WHERE id=1");
  EXPECT_TRUE(Reopen() && database->OpenDocument(KA_TEXT("Doc"), other.Out()) && document->OpenEditor(editor.Out()));
  RunSql("UPDATE Nodes_1 SET name_id=name_id");
  EXPECT_TRUE(editor->OpenElementEditor(2, writer.Out()) && editor->OpenElementEditor(1, element.Out()));
  EXPECT_TRUE(writer->RemoveAllAttributes() && writer->SetInt(KA_TEXT("a"), 1, 0));
  EXPECT_TRUE(document->GetRootElement(root.Out()) && other->GetElement(3, single.Out()));
  KaSmartPtr<KaDomElement> again;
  EXPECT_TRUE(other->GetRootElement(again.Out()) && again->GetFirstAttribute(attribute.Out()));
}

std::string Scene::End() {
  attribute.Reset();
  root.Reset();
  single.Reset();
  writer.Reset();
  element.Reset();
  editor.Reset();
  other.Reset();
  return Settle();
}

std::string Scene::State() {
  const std::pair<const char*, const char*> tables[] = {{"id,name", "Documents"},
                                                        {"id,parent_id,name_id,data", "Nodes_1"},
                                                        {"id,parent_id,name_id,data", "Nodes_2"},
                                                        {"name", "sqlite_master WHERE name LIKE 'Idx%' ORDER BY name"}};
  std::string state;
  for (const auto& [columns, from] : tables) state += Table(columns, from) + '\n' + Stored(columns, from) + '\n';
  return state;
}

const std::vector<Operation>& AllOperations() {
  using enum Failure;
  static const std::string kCompile = "3 Failed to compile SQL statement.";
  static const std::string kKeyword = "3 Failed to insert a keyword.";
  static const std::string kCreate = "3 Failed to create a new DOM element.";
  static const std::string kAppend = "3 Failed to append a DOM child element.";
  static const std::string kDelete = "3 Failed to delete a DOM child element.";
  static const std::string kRename = "3 Failed to rename a DOM element.";
  static const std::string kNoScope = "3 Failed to obtain DOM database transaction.";
  static const std::string kNoWriteScope = "3 Could not establish write transaction.";
  static const std::vector<std::string> kOrphan = {"3 Record not found: ElemID=3.", "3 Invalid record: ElemID=3."};
  static const std::vector<std::string> kRoot = {"", "3 Record not found: ElemID=1.", "3 Invalid record: ElemID=1."};
  static const std::vector<std::string> kSetter = {"", kCompile, kKeyword};
  static const std::vector<Operation> operations = {
      {"OpenDatabase",
       MayBeIgnored,
       Hands<KaDomDatabase>(
           [](Scene& s, auto out) { return DomModule().OpenDatabase(WidePath(s.Path("new.db")).c_str(), out); }),
       {"", "3 Failed to initialize XML database."}},
      {"CreateDocument",
       MayBeIgnored,
       Hands<KaDomDocument>([](Scene& s, auto out) { return s.database->CreateDocument(KA_TEXT("Two"), kNew, out); }),
       {"", kKeyword, kNoWriteScope}},
      {"OpenDocument",
       MayBeIgnored,
       Hands<KaDomDocument>([](Scene& s, auto out) { return s.database->OpenDocument(KA_TEXT("Doc"), out); }),
       {}},
      {"DeleteDocument",
       MayBeIgnored,
       [](Scene& s) { return s.database->DeleteDocument(KA_TEXT("Doc")); },
       {"", kNoWriteScope}},
      {"CreateIndexes", IsWhole, [](Scene& s) { return s.document->CreateIndexes(); }, {}},
      {"OpenEditor",
       IsWhole,
       Hands<KaDomDocumentEditor>([](Scene& s, auto out) { return s.document->OpenEditor(out); }),
       {kNoScope}},
      {"GetRootElement",
       IsWhole,
       Hands<KaDomElement>([](Scene& s, auto out) { return s.document->GetRootElement(out); }),
       {}},
      {"GetElement",
       IsWhole,
       Hands<KaDomElement>([](Scene& s, auto out) { return s.document->GetElement(2, out); }),
       {}},
      {"GetName", IsRemembered, [](Scene& s) { return Narrow(s.root->GetName()) == "Root"; }, kRoot},
      {"MoveNext", IsRemembered, [](Scene& s) { return s.single->MoveNext(); }, {}},
      {"GetParent", IsRemembered, Hands<KaDomElement>([](Scene& s, auto out) { return s.single->GetParent(out); }),
       kOrphan},
      {"GetFirstChild",
       MayBeIgnored,
       Hands<KaDomElement>([](Scene& s, auto out) { return s.root->GetFirstChild(out); }),
       {}},
      {"has children", IsWhole, [](Scene& s) { return s.root->GetFirstChild(nullptr); }, {}},
      {"GetFirstAttribute",
       IsWhole,
       Hands<KaDomAttribute>([](Scene& s, auto out) { return s.root->GetFirstAttribute(out); }),
       {}},
      {"ExportXml", MayBeIgnored, [](Scene& s) { return s.root->ExportXml(WidePath(s.Path("x.xml")).c_str()); }, kRoot},
      {"CreateElement", IsWhole, CreatesElement, {kCompile, kCreate, kKeyword + "; " + kCreate}},
      {"DeleteElement",
       IsWhole,
       [](Scene& s) { return s.editor->DeleteElement(2); },
       {"3 Failed to delete a new DOM element."}},
      {"OpenElementEditor",
       IsWhole,
       Hands<KaDomElementEditor>([](Scene& s, auto out) { return s.editor->OpenElementEditor(1, out); }),
       {kNoScope}},
      {"Commit of a document", IsWhole, [](Scene& s) { return s.editor->Commit(); }, {}},
      {"Commit of an element", StaysInScope, [](Scene& s) { return s.writer->Commit(); }, {"", kCompile}},
      {"AppendChild", IsWhole, Edits([](auto* e) { return e->AppendChild(4); }), {kAppend, kCompile + "; " + kAppend}},
      {"Rename", IsWhole, Edits([](auto* e) { return e->Rename(kNew); }), {kRename, kKeyword + "; " + kRename}},
      {"DeleteChild", IsWhole, Edits([](auto* e) { return e->DeleteChild(2); }), {kDelete, kCompile + "; " + kDelete}},
      {"DeleteChildren", IsWhole, Edits([](auto* e) { return e->DeleteChildren(); }), {}},
      {"SetInt", IsWhole, Edits([](auto* e) { return e->SetInt(kNew, 1, 0); }), kSetter},
      {"SetInt64", IsWhole, Edits([](auto* e) { return e->SetInt64(kNew, 1, 0); }), kSetter},
      {"SetDouble", IsWhole, Edits([](auto* e) { return e->SetDouble(kNew, 1, 0); }), kSetter},
      {"SetText", IsWhole, Edits([](auto* e) { return e->SetText(kNew, kNew); }), kSetter},
      {"SetIntArray", IsWhole, Edits([](auto* e) { return e->SetIntArray(kNew, kInts.data(), 1, 4, 0); }), kSetter},
      {"SetInt64Array", IsWhole, Edits([](auto* e) { return e->SetInt64Array(kNew, kLongs.data(), 1, 9, 0); }),
       kSetter},
      {"SetDoubleArray", IsWhole, Edits([](auto* e) { return e->SetDoubleArray(kNew, kDoubles.data(), 1, 14, 0); }),
       kSetter},
      {"RemoveAttribute", IsWhole, Edits([](auto* e) { return e->RemoveAttribute(KA_TEXT("a")); }), {"", kCompile}},
      {"RemoveAllAttributes", IsWhole, Edits([](auto* e) { return e->RemoveAllAttributes(); }), {}},
  };
  return operations;
}

}  // namespace karst::test
