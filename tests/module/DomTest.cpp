// The module object, and what holds for every operation of every object.
#include <algorithm>

#include "framework/host/ModuleLibrary.h"
#include "tests/module/Operations.h"
#include "tests/support/DomFixture.h"

namespace karst::test {
namespace {

class DomTest : public DomFixture {};

TEST_F(DomTest, IsOneObjectAndReportsAMissingDatabaseModule) {
  EXPECT_EQ(host::LoadModule(KADOM_BIN_DIR, "KaDom", 101).module, &DomModule());
  for (int i = 0; i < 2; ++i) DomModule().Detach();
  EXPECT_EQ(DomModule().GetVersion(), 101) << "attached or not";

  for (KaModule* module : std::initializer_list<KaModule*>{nullptr, &DomModule()}) {
    host.Offer("KaDatabase", 101, module);
    for (int i = 0; i < 2; ++i) {
      DomModule().Attach(&host);
      ExpectLog("4 Failed to get a module: KaDatabase (v101)");
    }
    EXPECT_FALSE(Open());
  }
  host.Offer("KaDatabase", 101, &forwarding);
  DomModule().Attach(&host);
  EXPECT_TRUE(Open());
}

TEST_F(DomTest, OperationsRefuseNullBeforeAnySql) {
  ASSERT_FALSE(DomModule().OpenDatabase(nullptr, database.Out()));
  EXPECT_FALSE(DomModule().OpenDatabase(WidePath(Path("x.db")).c_str(), nullptr));
  KaSmartPtr<KaDomElement> root;
  KaSmartPtr<KaDomDocumentEditor> editor;
  int64_t id = 0;
  ASSERT_TRUE(OpenNew() && document->GetRootElement(root.Out()) && document->OpenEditor(editor.Out()));
  calls.Take();
  EXPECT_FALSE(database->CreateDocument(nullptr, KA_TEXT("Root"), nullptr));
  EXPECT_FALSE(database->OpenDocument(nullptr, nullptr) || database->DeleteDocument(nullptr));
  EXPECT_FALSE(document->OpenEditor(nullptr) || document->GetRootElement(nullptr) || document->GetElement(1, nullptr));
  EXPECT_FALSE(root->GetFirstAttribute(nullptr) || root->ExportXml(nullptr));
  EXPECT_FALSE(editor->CreateElement(nullptr, &id) || editor->CreateElement(KA_TEXT(""), &id));
  EXPECT_FALSE(editor->CreateElement(KA_TEXT("x"), nullptr) || editor->OpenElementEditor(1, nullptr));
  ExpectCalls("");
}

TEST(Operations, KeepWhatTheirObjectsWereMadeFrom) {
  Scene scene;
  EXPECT_EQ(scene.database->RefCount(), 5);  // ours, of two documents, the editor and the attribute cursor
  EXPECT_EQ(scene.document->RefCount(), 2);  // ours, the root's
  EXPECT_EQ(scene.editor->RefCount(), 3);    // ours, of two element editors
  EXPECT_EQ(scene.root->GetDocument(), scene.document.Get());
  EXPECT_EQ(scene.document->RefCount(), 2) << "GetDocument lends";

  scene.Close();
  scene.editor.Reset();
  scene.writer.Reset();
  scene.other.Reset();
  EXPECT_EQ(Narrow(scene.root->GetName()), "Root");
  EXPECT_TRUE(scene.element->AppendChild(3));
  scene.element.Reset();
  scene.root.Reset();
  scene.single.Reset();
  EXPECT_EQ(Narrow(scene.attribute->GetName()), "a");
  EXPECT_EQ(scene.calls.Alive("connection"), 1);
  scene.attribute.Reset();
  EXPECT_EQ(scene.calls.Alive("connection"), 0);
}

TEST(Operations, AnswerFalseWithoutHostOrDatabaseModule) {
  Scene scene;
  scene.host.Offer("KaDatabase", 101, nullptr);
  for (const char* state : {"detached", "without a database module"}) {
    DomModule().Detach();
    if (*state == 'w') DomModule().Attach(&scene.host);
    scene.calls.Take();
    for (const Operation& operation : AllOperations()) {
      EXPECT_FALSE(operation.run(scene)) << operation.name << ' ' << state;
    }
    EXPECT_EQ(scene.calls.Take(), "") << state;
  }
  scene.host.Offer("KaDatabase", 101, &scene.forwarding);
  DomModule().Attach(&scene.host);
  EXPECT_EQ(Narrow(scene.root->GetName()), "Root");
  EXPECT_TRUE(scene.element->Commit() && scene.writer->Commit() && scene.editor->Commit());
  EXPECT_EQ(scene.End(), "");
}

// Each outside call of each operation fails once. The operation answers false, changes nothing and works at the next
// try; or it answers true and has done all it does without the fault.
TEST(Operations, FailAsAWholeUnderEachFailingCall) {
  for (const Operation& operation : AllOperations()) {
    std::string before, after;
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
        EXPECT_TRUE(answer);
        EXPECT_EQ(log, "");
        after = state;
        done = n > 0;
        continue;
      }
      const auto& logs = operation.logs;
      const bool mayBeSilent = answer || logs.empty();
      EXPECT_TRUE((log.empty() && mayBeSilent) || std::find(logs.begin(), logs.end(), log) != logs.end()) << log;
      // Whatever Step answers but a row is the end of the rows: an error there cannot be told from it.
      const bool ignores = operation.failure == Failure::MayBeIgnored || hit.rfind("Step", 0) == 0;
      const bool tells = answer ? !ignores : operation.failure != Failure::StaysInScope;
      EXPECT_TRUE(!tells || state == (answer ? after : before)) << state;
      if (!answer && operation.failure != Failure::IsRemembered) {
        EXPECT_TRUE(operation.run(scene)) << "the next time";
        EXPECT_EQ(scene.State(), after) << "the next time";
      }
      EXPECT_EQ(scene.End(), "");
    }
  }
}

}  // namespace
}  // namespace karst::test
