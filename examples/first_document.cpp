// Makes a document, edits it and reads it back. Usage: first_document FILE.db
#include <cstdio>
#include <filesystem>

#include "karst/KaDom.h"
#include "karst/KaDomAttribute.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "karst/KaSmartPtr.h"
#include "common/Utf.h"
#include "framework/host/Host.h"

using karst::KaSmartPtr;
using karst::common::ToUtf16;
using karst::common::ToUtf8;

namespace {

// The root's child "wheel" gets a position in millimetres; the caller decides what unit codes mean.
constexpr uint32_t kMillimetre = 3;

bool Write(karst::KaDomDocument* document) {
  KaSmartPtr<karst::KaDomDocumentEditor> editor;
  if (!document->OpenEditor(editor.Out())) return false;

  int64_t wheel = 0;
  KaSmartPtr<karst::KaDomElementEditor> root;
  if (!editor->CreateElement(KA_TEXT("wheel"), &wheel)) return false;
  if (!editor->OpenElementEditor(1, root.Out())) return false;
  if (!root->AppendChild(wheel) || !root->Commit()) return false;

  const double position[] = {0.5, 2.25, -1.0};
  KaSmartPtr<karst::KaDomElementEditor> element;
  if (!editor->OpenElementEditor(wheel, element.Out())) return false;
  if (!element->SetDoubleArray(KA_TEXT("position"), position, 1, karst::ValueType::DoubleArray3, kMillimetre) ||
      !element->Commit()) {
    return false;
  }
  return editor->Commit();  // what is released without Commit is undone
}

bool Read(karst::KaDomDocument* document) {
  KaSmartPtr<karst::KaDomElement> root;
  KaSmartPtr<karst::KaDomElement> wheel;
  KaSmartPtr<karst::KaDomAttribute> position;
  const double* numbers = nullptr;
  size_t count = 0;
  if (!document->GetRootElement(root.Out()) || !root->GetFirstChild(wheel.Out()) ||
      !wheel->GetFirstAttribute(position.Out()) || !position->GetDoubleArray(&numbers, &count)) {
    return false;
  }
  std::printf("%s: %zu numbers, unit %u\n", ToUtf8(wheel->GetName())->c_str(), count, position->GetUnit());
  return true;
}

int Fail(const char* what) {
  std::fprintf(stderr, "first_document: %s\n", what);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return Fail("usage: first_document FILE.db");
  karst::host::Host host;
  auto* dom = host.GetModuleAs<karst::KaDom>("KaDom", 101);
  if (dom == nullptr) return Fail(host.LastError().c_str());

  KaSmartPtr<karst::KaDomDatabase> database;
  KaSmartPtr<karst::KaDomDocument> document;
  const auto path = ToUtf16(argv[1]);
  if (!path || !dom->OpenDatabase(path->c_str(), database.Out())) return Fail("cannot open the database");
  if (!database->CreateDocument(KA_TEXT("car"), KA_TEXT("vehicle"), document.Out())) return Fail("no document");
  return Write(document.Get()) && Read(document.Get()) ? 0 : Fail("cannot edit or read the document");
}
