// Write access to one document.
#pragma once

#include "karst/KaDomEditor.h"

namespace karst {

class KaDomElementEditor;

// An editor of a document, with a transaction that is open from the start. Element editors that it made keep it alive.
//
// Commit answers true once the database module has committed everything that was committed through this editor: from
// then on it is stored as safely as that module stores anything. What becomes of element editors that are still open is
// up to that module: with the project's own KaDatabase, Commit answers false while one of them has written and is
// neither committed nor released.
// Slots 4 to 6 also work after Commit. The database module then stores each change by itself or, while another
// transaction is open on the connection, together with that one.
//
// A statement that cannot be prepared logs "Failed to compile SQL statement." at level 3 and the operation answers
// false.
class KaDomDocumentEditor : public KaDomEditor {
 public:
  // Slot 4. Creates an element named `name` outside the tree (AppendChild attaches it) and stores its id in `*outId`.
  // False, silently: `name` is null or empty, or `outId` is null. False with "Failed to create a new DOM element."
  // (level 3): the database refused. `*outId` is written on success only.
  virtual bool CreateElement(const KaChar* name, int64_t* outId) = 0;
  // Slot 5. Deletes the element `id`, wherever it stands, and nothing below it. True also when there is no such
  // element. False: "Failed to delete a new DOM element." (level 3).
  virtual bool DeleteElement(int64_t id) = 0;
  // Slot 6. Hands out an editor for the element `id`, with a transaction inside this editor's. The id is not looked up.
  // True: `*out` carries one reference for the caller. False: `out` is null, or no transaction could be begun ("Failed
  // to obtain DOM database transaction.", level 3).
  virtual bool OpenElementEditor(int64_t id, KaDomElementEditor** out) = 0;
};

}  // namespace karst
