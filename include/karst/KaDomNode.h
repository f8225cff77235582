// What element cursors and attribute cursors have in common.
#pragma once

#include "karst/KaSmart.h"

namespace karst {

// A cursor over sibling nodes, each with a name. The operations speak of the node that is current.
//
// The siblings of an element are read at the first move, those of an attribute, and of an element from GetFirstChild,
// are there from the start. When an element is no longer among its siblings at that first move, because its row was
// deleted or moved, the cursor stands before the first sibling, which becomes the current node: MovePrevious answers
// false and MoveNext true, and the MoveNext after it goes on to the second. A root whose row was deleted stands alone,
// and where no siblings are left the cursor stays where it is: both answer false.
class KaDomNode : public KaSmart {
 public:
  // Slot 3. The name; never null. The text belongs to the database and stays valid as long as the database object
  // lives. An id that is not known yet is looked for in the file, where another connection may have added it. Empty for
  // an id without a name, and when the names cannot be read ("Error occurred in reading 'Keywords' table.", level 3).
  virtual const KaChar* GetName() = 0;
  // Slot 4. The id of the name in the file's dictionary.
  virtual int64_t GetNameId() = 0;
  // Slot 5. Moves to the next sibling. False: there is none, and the cursor stays where it is.
  virtual bool MoveNext() = 0;
  // Slot 6. Moves to the previous sibling. False: there is none, and the cursor stays where it is.
  virtual bool MovePrevious() = 0;
};

}  // namespace karst
