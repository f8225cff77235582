// A read-only cursor over the elements of a document.
#pragma once

#include "karst/KaDomNode.h"

namespace karst {

class KaDomAttribute;
class KaDomDocument;

// A cursor over elements that share one parent. It keeps its document alive.
//
// What a cursor has read it keeps: names, the parent and the list of siblings are read at most once, and later edits
// are seen by new cursors only.
//
// GetName answers "#Error" for an element that cannot be read, after one message at level 3: "Record not found:
// ElemID=%lld." or "Invalid record: ElemID=%lld.". When a read fails half-way the next call reads again. GetNameId is
// -1 until something has read it: cursors from GetElement and GetFirstChild know it from the start, others learn it at
// their first GetName. MoveNext and MovePrevious also answer false, silently, when the siblings cannot all be read.
class KaDomElement : public KaDomNode {
 public:
  // Slot 7. The document, borrowed: no reference is added, the caller must not release it.
  virtual KaDomDocument* GetDocument() = 0;
  // Slot 8. The id of the document.
  virtual int64_t GetDocumentId() = 0;
  // Slot 9. The id of the element: unique in its document, 1 for the root.
  virtual int64_t GetId() = 0;
  // Slot 10. Hands out a cursor on the first attribute; it works on a copy of its own of the attributes. True: `*out`
  // carries one reference for the caller. False, silently: `out` is null, the element has no attributes, or they
  // cannot be read.
  virtual bool GetFirstAttribute(KaDomAttribute** out) = 0;
  // Slot 11. Hands out a cursor on the parent; with a null `out` it answers whether there is one. False: the element
  // is the root or stands in no tree; an element that cannot be read logs as GetName does, once.
  virtual bool GetParent(KaDomElement** out) = 0;
  // Slot 12. Hands out a cursor on the first child, with the whole list of children loaded; with a null `out` it
  // answers whether there are children. False, silently: there are none, or they cannot all be read.
  virtual bool GetFirstChild(KaDomElement** out) = 0;
  // Slot 13. Writes the element and everything below it as XML text to the file at `path`, which is created or
  // overwritten. Texts and 32-bit integer arrays are written; attributes of other types are left out. Lines end in
  // CR LF. False: the file cannot be opened. Errors while writing are not detected.
  virtual bool ExportXml(const KaChar* path) = 0;
};

}  // namespace karst
