// Builds a document from what an XML file says.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElementEditor.h"
#include "tools/kadom/Session.h"
#include "tools/kadom/XmlInput.h"

namespace karst::tool {

// Elements become elements, in document order, so that their ids ascend in it. Attributes become Text attributes.
//
// Character data: an element that holds nothing but text keeps it as its attribute "_text", and also when it is blank.
// In an element with children each run of text that is not blank becomes a child "_text" with the attribute "_text",
// in its place; blank runs are dropped. Text also becomes such a child when the element has an attribute "_text".
//
// Only the path of open elements is in memory, with their attributes and the latest of their children: an element is
// written when it ends, and long lists of children on the way. Operations throw Failure when the database refuses.
class ImportBuilder final : public XmlReceiver {
 public:
  // The document will be named `documentName`. The session outlives the builder.
  ImportBuilder(Session& session, KaText documentName);

  void StartElement(const char* name, const char* const* attributes) override;
  void EndElement() override;
  void AddText(std::string_view piece) override;

  // Commits the document and creates its indexes. Called once, after the last element.
  void Finish();

  // What has been stored so far, "_text" elements and attributes included.
  uint64_t ElementCount() const { return elementCount; }
  uint64_t AttributeCount() const { return attributeCount; }

 private:
  struct NamedText {
    KaText name;
    KaText text;
  };
  // An element between its start and its end.
  struct OpenElement {
    int64_t id = 0;
    std::vector<NamedText> attributes;
    std::vector<int64_t> children;  // those that are not appended yet
    bool isLeaf = true;
  };

  void CreateDocument(const KaText& rootName);
  int64_t CreateElement(const KaText& name);
  void AddChild(int64_t child);
  void AddTextChild();
  void Write(const OpenElement& element);
  void WriteContent(KaDomElementEditor& editor, const OpenElement& element);

  Session& session;
  const KaText documentName;
  KaSmartPtr<KaDomDocument> document;
  KaSmartPtr<KaDomDocumentEditor> editor;
  std::vector<OpenElement> path;
  std::string text;  // the current run; no element starts or ends within it, so it is the innermost element's
  uint64_t elementCount = 0;
  uint64_t attributeCount = 0;
};

}  // namespace karst::tool
