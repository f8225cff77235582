// The module KaDom: documents of typed trees in one database file.
#pragma once

#include "karst/KaModule.h"

namespace karst {

class KaDomDatabase;

// The module object of the library "KaDom-v101-x64".
//
// Attach asks the host for the module "KaDatabase", version 101. When the host has none, or one that is not a
// KaDatabase, it logs "Failed to get a module: KaDatabase (v101)" at level 4. While the module is not attached to a
// host with a database module, every operation that needs them answers false, 0 or an empty text, here and on every
// object made earlier. The same is answered when memory ends in an operation ("Out of memory.", level 3): no exception
// leaves the module, and what is done afterwards finds file and objects in order.
class KaDom : public KaModule {
 public:
  // Slot 3. Opens the DOM database file at `path`; a file that does not exist is created. A file without a table named
  // "Xdb" receives the schema, and tables named Keywords, Documents and Nodes that it has are dropped: look into a
  // foreign file before opening it.
  //
  // True: `*out` carries one reference for the caller. False: `*out` is untouched; a null argument, or the file cannot
  // be opened or initialised ("Failed to initialize XML database.", level 3), or its names cannot all be read ("Error
  // occurred in reading 'Keywords' table.", level 3).
  virtual bool OpenDatabase(const KaChar* path, KaDomDatabase** out) = 0;
};

}  // namespace karst
