// The element cursor.
#pragma once

#include <vector>

#include "karst/KaDomElement.h"
#include "src/tree/DomDocument.h"

namespace karst::impl {

// A cursor over the children of one parent.
//
// Until the list of siblings is loaded, `cursor` is -1 and `self` is the current element. GetFirstChild makes cursors
// with the list loaded; the others load it when they are first moved.
class DomElement final : public KaSmartImpl<KaDomElement> {
 public:
  // The name id of an element whose row has not been read, and of one whose row could not be read.
  static constexpr int64_t kNameNotRead = -1;
  static constexpr int64_t kNameUnreadable = 0;

  struct Sibling {
    int64_t id;
    int64_t nameId;
  };

  // A cursor on one element, its siblings not loaded. Takes a reference to `document`.
  DomElement(DomDocument* document, int64_t parentId, Sibling self)
      : document(document), parentId(parentId), self(self) {}
  // A cursor on the first of `siblings`, all the children of `parentId`; there is at least one.
  DomElement(DomDocument* document, int64_t parentId, std::vector<Sibling> siblings)
      : document(document), parentId(parentId), self(siblings.front()), siblings(std::move(siblings)), cursor(0) {}

  const KaChar* GetName() override;
  int64_t GetNameId() override { return Current().nameId; }
  bool MoveNext() override;
  bool MovePrevious() override;

  KaDomDocument* GetDocument() override { return document.Get(); }
  int64_t GetDocumentId() override { return document->GetId(); }
  int64_t GetId() override { return Current().id; }
  bool GetFirstAttribute(KaDomAttribute** out) override;
  bool GetParent(KaDomElement** out) override;
  bool GetFirstChild(KaDomElement** out) override;
  bool ExportXml(const KaChar* path) override;

 private:
  enum class ReadResult { Value, Invalid, NotFound, Failed };

  ~DomElement() override = default;

  const Sibling& Current() const { return cursor < 0 ? self : siblings[static_cast<size_t>(cursor)]; }
  Sibling& Current() { return cursor < 0 ? self : siblings[static_cast<size_t>(cursor)]; }

  static ReadResult WithoutRow(StepResult step);
  ReadResult ReadRecord(int64_t* nameId);
  ReadResult ReadParent(int64_t id, int64_t* parent);
  bool LearnParent();
  bool LoadSiblings();
  bool ReadSiblings();
  void StandAlone();
  // False: not all of them could be read.
  bool ReadChildren(KaDbStatement* statement, int64_t parent, std::vector<Sibling>* children);
  void LogUnreadable(ReadResult result);

  const KaSmartPtr<DomDocument> document;
  int64_t parentId;
  Sibling self;
  std::vector<Sibling> siblings;
  int32_t cursor = -1;
};

}  // namespace karst::impl
