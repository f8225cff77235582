// What both kinds of editors have in common.
#pragma once

#include "karst/KaSmart.h"

namespace karst {

// An editor bound to a transaction of its own. Releasing it without a successful Commit abandons what was done in that
// transaction; nothing rolls back explicitly.
class KaDomEditor : public KaSmart {
 public:
  // Slot 3. Commits the editor's transaction. False: it is committed already, or the database refused, and then Commit
  // may be called again.
  virtual bool Commit() = 0;
};

}  // namespace karst
