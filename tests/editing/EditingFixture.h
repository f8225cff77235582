// The fixture of the editors' tests.
#pragma once

#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElementEditor.h"
#include "tests/support/DomFixture.h"

namespace karst::test {

// The tree Root(a(b(c)),d), ids 1 to 5, and an editor of the document.
class EditingFixture : public DomFixture {
 protected:
  void SetUp() override {
    ASSERT_TRUE(OpenNew() && Grow(1, "a(b(c)),d") && document->OpenEditor(editor.Out()));
    calls.Take();
  }
  void TearDown() override {
    element.Reset();
    editor.Reset();
    DomFixture::TearDown();
  }

  // Commits the element editor, where there is one, and opens another.
  void OpenElement(int64_t id = 1) {
    if (element) element->Commit();
    ASSERT_TRUE(editor->OpenElementEditor(id, element.Out()));
    calls.Take();
  }
  int64_t CreateElement() {
    int64_t id = 0;
    EXPECT_TRUE(editor->CreateElement(KA_TEXT("a"), &id));
    return id;
  }
  // The tree as the transaction sees it.
  std::string Tree() { return TreeOf(document.Get()); }

  KaSmartPtr<KaDomDocumentEditor> editor;
  KaSmartPtr<KaDomElementEditor> element;
};

}  // namespace karst::test
