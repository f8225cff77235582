// One document: the way into its element tree.
#pragma once

#include "karst/KaSmart.h"

namespace karst {

class KaDomDocumentEditor;
class KaDomElement;

// A document of a DOM database. Elements and their objects keep it alive; it keeps its database alive.
class KaDomDocument : public KaSmart {
 public:
  // Slot 3. Creates the indexes of the document's element table, those that are missing. Without them every look for
  // children reads the whole table. Best called after a bulk build. False: the engine refused.
  virtual bool CreateIndexes() = 0;
  // Slot 4. The document id: unique in the file, never given out again.
  virtual int64_t GetId() = 0;
  // Slot 5. Hands out an editor with a transaction of its own. True: `*out` carries one reference for the caller.
  // False: `out` is null, or no transaction could be begun ("Failed to obtain DOM database transaction.", level 3).
  virtual bool OpenEditor(KaDomDocumentEditor** out) = 0;
  // Slot 6. Hands out a cursor on the root element, whose id is 1, without reading the file. False: `out` is null.
  virtual bool GetRootElement(KaDomElement** out) = 0;
  // Slot 7. Hands out a cursor on the element `id`, in the tree or not. False: `id` is below 1, `out` is null, or there
  // is no such element. Logs nothing.
  virtual bool GetElement(int64_t id, KaDomElement** out) = 0;
};

}  // namespace karst
