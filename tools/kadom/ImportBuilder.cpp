#include "tools/kadom/ImportBuilder.h"

#include <algorithm>

namespace karst::tool {

namespace {

constexpr const KaChar* kTextName = KA_TEXT("_text");

// As many children wait in memory before they are appended.
constexpr size_t kMaxWaitingChildren = 4096;

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == text.npos;
}

KaText FromXml(std::string_view text) {
  return TextFromUser(text, "the XML document");
}

}  // namespace

ImportBuilder::ImportBuilder(Session& openSession, KaText name) : session(openSession), documentName(std::move(name)) {}

void ImportBuilder::StartElement(const char* name, const char* const* attributes) {
  OpenElement element;
  const KaText elementName = FromXml(name);
  if (path.empty()) {
    CreateDocument(elementName);
    element.id = 1;
  } else {
    if (!IsBlank(text)) AddTextChild();
    text.clear();
    element.id = CreateElement(elementName);
    AddChild(element.id);
  }
  for (; *attributes != nullptr; attributes += 2) {
    element.attributes.push_back({FromXml(attributes[0]), FromXml(attributes[1])});
  }
  path.push_back(std::move(element));
}

void ImportBuilder::AddText(std::string_view piece) {
  text += piece;
}

void ImportBuilder::EndElement() {
  OpenElement& element = path.back();
  if (element.isLeaf ? !text.empty() : !IsBlank(text)) {
    const bool isNameTaken = std::any_of(element.attributes.begin(), element.attributes.end(),
                                         [](const NamedText& attribute) { return attribute.name == kTextName; });
    if (element.isLeaf && !isNameTaken) {
      element.attributes.push_back({kTextName, FromXml(text)});
    } else {
      AddTextChild();
    }
  }
  text.clear();
  Write(element);
  path.pop_back();
}

void ImportBuilder::CreateDocument(const KaText& rootName) {
  if (!session.Database().CreateDocument(documentName.c_str(), rootName.c_str(), document.Out()) ||
      !document->OpenEditor(editor.Out())) {
    throw session.Fail("the document " + Quoted(documentName) + " cannot be created");
  }
  ++elementCount;
}

int64_t ImportBuilder::CreateElement(const KaText& name) {
  int64_t id = 0;
  if (!editor->CreateElement(name.c_str(), &id)) throw session.Fail("an element cannot be created");
  ++elementCount;
  return id;
}

void ImportBuilder::AddTextChild() {
  OpenElement child;
  child.id = CreateElement(kTextName);
  child.attributes.push_back({kTextName, FromXml(text)});
  Write(child);
  AddChild(child.id);
}

void ImportBuilder::AddChild(int64_t child) {
  OpenElement& parent = path.back();
  parent.children.push_back(child);
  parent.isLeaf = false;
  if (parent.children.size() == kMaxWaitingChildren) Write({parent.id, {}, std::exchange(parent.children, {})});
}

void ImportBuilder::Write(const OpenElement& element) {
  if (element.attributes.empty() && element.children.empty()) return;
  KaSmartPtr<KaDomElementEditor> elementEditor;
  if (!editor->OpenElementEditor(element.id, elementEditor.Out())) throw session.Fail("an element cannot be edited");
  WriteContent(*elementEditor, element);
  if (!elementEditor->Commit()) throw session.Fail("an element cannot be stored");
  attributeCount += element.attributes.size();
}

void ImportBuilder::WriteContent(KaDomElementEditor& elementEditor, const OpenElement& element) {
  for (const NamedText& attribute : element.attributes) {
    if (!elementEditor.SetText(attribute.name.c_str(), attribute.text.c_str())) {
      throw session.Fail("the attribute " + Quoted(attribute.name) + " cannot be set");
    }
  }
  for (const int64_t child : element.children) {
    if (!elementEditor.AppendChild(child)) throw session.Fail("an element cannot be appended");
  }
}

void ImportBuilder::Finish() {
  if (!editor->Commit()) throw session.Fail("the document cannot be stored");
  editor.Reset();
  if (!document->CreateIndexes()) throw session.Fail("the indexes cannot be created");
}

}  // namespace karst::tool
