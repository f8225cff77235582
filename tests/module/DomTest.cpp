// The module object.
#include "framework/host/ModuleLibrary.h"
#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

using DomTest = DomFixture;

TEST_F(DomTest, IsOneObjectAndReportsAMissingDatabaseModule) {
  EXPECT_EQ(host::LoadModule(KADOM_BIN_DIR, "KaDom", 101).module, &DomModule());
  for (int i = 0; i < 2; ++i) DomModule().Detach();
  EXPECT_EQ(DomModule().GetVersion(), 101) << "attached or not";

  for (KaModule* module : std::initializer_list<KaModule*>{nullptr, &DomModule()}) {
    host.Offer("KaDatabase 101", module);
    for (int i = 0; i < 2; ++i) {
      DomModule().Attach(&host);
      ExpectLog("4 Failed to get a module: KaDatabase (v101)");
    }
    EXPECT_FALSE(Open());
  }
  host.Offer("KaDatabase 101", &forwarding);
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

}  // namespace
}  // namespace karst::test
