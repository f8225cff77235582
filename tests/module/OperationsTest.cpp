// What holds for every operation that reaches outside the module: without a host, and when an outside call fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

struct Objects {
  KaSmartPtr<KaDomDocument> other;         // the same document
  KaSmartPtr<KaDomElement> root, single;   // nothing read yet; `single` is b, of `other`
  KaSmartPtr<KaDomAttribute> attribute;    // of the root, of `other`
  KaSmartPtr<KaDomDocumentEditor> editor;  // has written
  KaSmartPtr<KaDomElementEditor> element;  // of the root
  KaSmartPtr<KaDomElementEditor> writer;   // of a, with a working copy
};

// A world with the tree Root(a(b,c),d), ids 1 to 5, a text attribute at the root, and editors that are open.
class Scene : public DomWorld, public Objects {
 public:
  Scene();
  ~Scene() { End(); }

  // Releases everything; answers what is wrong with the books.
  std::string End() {
    static_cast<Objects&>(*this) = {};
    return Settle();
  }
  // All documents, as this connection and as another one see them.
  std::string State();
};

// What an operation leaves behind when it answers false.
enum class After {
  Nothing,
  OpenScope,  // what it wrote before the failing call stays in the open transaction
  Memory,     // the object remembers that it could not, and does not try again; an error of a step it forgets
};

struct Operation {
  const char* name;
  std::function<bool(Scene&)> run;
  std::vector<std::string> logs;  // what it may log when a call fails, as of RecordingHost::TakeLog; empty: nothing
  std::vector<std::string> ignores = {};  // calls, by a part of what they are, whose failure leaves less done
  After after = After::Nothing;
};

constexpr std::array<int32_t, 2> kInts{1, 2};
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

// A file whose names were read is opened with all of them.
bool OpensAgain(Scene& scene) {
  KaSmartPtr<KaDomDatabase> opened;
  KaSmartPtr<KaDomDocument> document;
  if (!DomModule().OpenDatabase(WidePath(scene.Path("old.db")).c_str(), opened.Out())) return false;
  scene.calls.ClearFaults();
  EXPECT_TRUE(opened->OpenDocument(KA_TEXT("Doc"), document.Out()) && TreeOf(document.Get()) == "Old");
  return true;
}

bool CreatesElement(Scene& scene) {
  int64_t id = -7;
  const bool answer = scene.editor->CreateElement(kNew, &id);
  EXPECT_EQ(id, answer ? 6 : -7);
  return answer;
}

Scene::Scene() {
  EXPECT_TRUE(OpenNew(KA_TEXT("Old"), "old.db") && OpenNew() && Grow(1, "a(b,c),d"));
  RunSql("UPDATE Nodes_1 SET data=X'020000000000000000000000780000' WHERE id=1");
  EXPECT_TRUE(Reopen() && database->OpenDocument(KA_TEXT("Doc"), other.Out()) && document->OpenEditor(editor.Out()));
  RunSql("UPDATE Nodes_1 SET name_id=name_id");
  EXPECT_TRUE(editor->OpenElementEditor(2, writer.Out()) && editor->OpenElementEditor(1, element.Out()));
  EXPECT_TRUE(writer->RemoveAllAttributes() && writer->SetInt(KA_TEXT("a"), 1, 0));
  EXPECT_TRUE(document->GetRootElement(root.Out()) && other->GetElement(3, single.Out()));
  KaSmartPtr<KaDomElement> again;
  EXPECT_TRUE(other->GetRootElement(again.Out()) && again->GetFirstAttribute(attribute.Out()));
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

std::vector<Operation> AllOperations() {
  const std::string compile = "3 Failed to compile SQL statement.";
  const std::string keyword = "3 Failed to insert a keyword.";
  const std::string create = "3 Failed to create a new DOM element.";
  const std::string append = "3 Failed to append a DOM child element.";
  const std::string erase = "3 Failed to delete a DOM child element.";
  const std::string rename = "3 Failed to rename a DOM element.";
  const std::string noScope = "3 Failed to obtain DOM database transaction.";
  const std::string noWriteScope = "3 Could not establish write transaction.";
  const std::vector<std::string> orphan = {"3 Record not found: ElemID=3.", "3 Invalid record: ElemID=3."};
  const std::vector<std::string> root = {"3 Record not found: ElemID=1.", "3 Invalid record: ElemID=1."};
  const std::vector<std::string> setter = {"", compile, keyword};
  const auto open = [](Scene& s, auto out) {
    return DomModule().OpenDatabase(WidePath(s.Path("new.db")).c_str(), out);
  };
  const auto createDocument = [](Scene& s, auto out) { return s.database->CreateDocument(KA_TEXT("Two"), kNew, out); };
  const auto openDocument = [](Scene& s, auto out) { return s.database->OpenDocument(KA_TEXT("Doc"), out); };
  const auto getParent = [](Scene& s, auto out) { return s.single->GetParent(out); };
  const auto openElement = [](Scene& s, auto out) { return s.editor->OpenElementEditor(1, out); };
  return {
      {"OpenDatabase", Hands<KaDomDatabase>(open), {"", "3 Failed to initialize XML database."}, {"PRAGMA"}},
      {"OpenDatabase again", OpensAgain, {"", "3 Error occurred in reading 'Keywords' table."}, {"PRAGMA"}},
      {"CreateDocument", Hands<KaDomDocument>(createDocument), {"", keyword, noWriteScope}, {"Keywords", "Commit"}},
      {"OpenDocument", Hands<KaDomDocument>(openDocument), {}, {"GetInt64"}},
      {"DeleteDocument",
       [](Scene& s) { return s.database->DeleteDocument(KA_TEXT("Doc")); },
       {"", noWriteScope},
       {"Execute", "Format D", "CreateString", "Commit", "GetInt64"}},
      {"CreateIndexes", [](Scene& s) { return s.document->CreateIndexes(); }, {}},
      {"OpenEditor", Hands<KaDomDocumentEditor>([](Scene& s, auto o) { return s.document->OpenEditor(o); }), {noScope}},
      {"GetRootElement", Hands<KaDomElement>([](Scene& s, auto o) { return s.document->GetRootElement(o); }), {}},
      {"GetElement", Hands<KaDomElement>([](Scene& s, auto o) { return s.document->GetElement(2, o); }), {}},
      {"GetName", [](Scene& s) { return Narrow(s.root->GetName()) == "Root"; }, root, {}, After::Memory},
      {"MoveNext", [](Scene& s) { return s.single->MoveNext(); }, {}, {}, After::Memory},
      {"GetParent", Hands<KaDomElement>(getParent), orphan, {}, After::Memory},
      {"GetFirstChild", Hands<KaDomElement>([](Scene& s, auto o) { return s.root->GetFirstChild(o); }), {}},
      {"has children", [](Scene& s) { return s.root->GetFirstChild(nullptr); }, {}},
      {"GetFirstAttribute", Hands<KaDomAttribute>([](Scene& s, auto o) { return s.root->GetFirstAttribute(o); }), {}},
      {"ExportXml", [](Scene& s) { return s.root->ExportXml(WidePath(s.Path("x.xml")).c_str()); }, root, {"Step"}},
      {"CreateElement", CreatesElement, {compile, create, keyword + "; " + create}},
      {"DeleteElement", [](Scene& s) { return s.editor->DeleteElement(2); }, {"3 Failed to delete a new DOM element."}},
      {"OpenElementEditor", Hands<KaDomElementEditor>(openElement), {noScope}},
      {"Commit of a document", [](Scene& s) { return s.editor->Commit(); }, {}},
      {"Commit of an element", [](Scene& s) { return s.writer->Commit(); }, {"", compile}, {}, After::OpenScope},
      {"AppendChild", [](Scene& s) { return s.element->AppendChild(4); }, {append, compile + "; " + append}},
      {"Rename", [](Scene& s) { return s.element->Rename(kNew); }, {rename, keyword + "; " + rename}},
      {"DeleteChild", [](Scene& s) { return s.element->DeleteChild(2); }, {erase, compile + "; " + erase}},
      {"DeleteChildren", [](Scene& s) { return s.element->DeleteChildren(); }, {}},
      {"SetInt", [](Scene& s) { return s.element->SetInt(kNew, 1, 0); }, setter},
      {"SetText", [](Scene& s) { return s.element->SetText(kNew, kNew); }, setter},
      {"SetIntArray", [](Scene& s) { return s.element->SetIntArray(kNew, kInts.data(), 1, 4, 0); }, setter},
      {"RemoveAttribute", [](Scene& s) { return s.element->RemoveAttribute(KA_TEXT("a")); }, {"", compile}},
      {"RemoveAllAttributes", [](Scene& s) { return s.element->RemoveAllAttributes(); }, {}},
  };
}

TEST(Operations, AnswerFalseWithoutHostOrDatabaseModule) {
  Scene scene;
  scene.host.Offer("KaDatabase 101", nullptr);
  for (const char* state : {"detached", "without a database module"}) {
    DomModule().Detach();
    if (*state == 'w') DomModule().Attach(&scene.host);
    scene.calls.Take();
    for (const Operation& operation : AllOperations()) {
      EXPECT_FALSE(operation.run(scene)) << operation.name << ' ' << state;
    }
    EXPECT_EQ(scene.calls.Take(), "") << state;
  }
  scene.host.Offer("KaDatabase 101", &scene.forwarding);
  DomModule().Attach(&scene.host);
  EXPECT_EQ(Narrow(scene.root->GetName()), "Root");
  EXPECT_TRUE(scene.element->Commit() && scene.writer->Commit() && scene.editor->Commit());
  EXPECT_EQ(scene.End(), "");
}

// Each outside call of each operation fails once. The operation answers false, changes nothing and works at the next
// try; or it answers true and has done all it does without the fault.
TEST(Operations, FailAsAWholeUnderEachFailingCall) {
  for (const Operation& operation : AllOperations()) {
    std::string before, after, names;
    bool done = false;
    for (int64_t n = 0; !done; ++n) {
      Scene scene;
      if (n == 0) before = scene.State();
      if (n > 0) scene.calls.FailCall(n);
      const bool answer = operation.run(scene);
      const std::string log = scene.host.TakeLog();
      const std::string hit = scene.calls.LatestHit();
      SCOPED_TRACE(std::string(operation.name) + " with " + hit);
      scene.calls.ClearFaults();
      const std::string state = scene.State();
      if (scene.calls.Hits() == 0) {
        EXPECT_TRUE(answer && log.empty());
        after = state;
        names = scene.Table("id,name", "Keywords");
        done = n > 0;
        continue;
      }
      const auto& logs = operation.logs;
      const bool mayBeSilent = answer || logs.empty();
      EXPECT_TRUE((log.empty() && mayBeSilent) || std::find(logs.begin(), logs.end(), log) != logs.end()) << log;
      const auto isHit = [&](const std::string& part) { return hit.find(part) != std::string::npos; };
      const auto& parts = operation.ignores;
      const bool ignores = std::any_of(parts.begin(), parts.end(), isHit);
      const bool isStep = hit.rfind("Step", 0) == 0;
      EXPECT_FALSE(answer && isStep && !ignores) << "an error is not the end of the rows";
      const bool tells = answer ? !ignores : operation.after != After::OpenScope;
      EXPECT_TRUE(!tells || state == (answer ? after : before)) << state;
      if (!answer && (operation.after != After::Memory || isStep)) {
        EXPECT_TRUE(operation.run(scene)) << "the next time";
        EXPECT_EQ(scene.State(), after) << "the next time";
        EXPECT_EQ(scene.Table("id,name", "Keywords"), names) << "the next time";
      }
      EXPECT_EQ(scene.End(), "");
    }
  }
}

}  // namespace
}  // namespace karst::test
